// The lists of the wrappers that belong to a session, the walk at logoff, and the session's MAPI memory.
#include "mapi/core/uKwMAPIBase.hpp"

#include "mapi/core/FirstFailure.hpp"
#include "mapi/core/uKwMAPIH.hpp"

#include <algorithm>

namespace deftmapi
{

// ---- TKwMAPIWrapperList

bool TKwMAPIWrapperList::Add(TKwMAPIWrapper& wrapper)
{
    constexpr std::size_t entriesBeforeCompaction = 32;
    if (FOrder.size() >= entriesBeforeCompaction && FOrder.size() / 2 >= FIndex.size()) {
        std::erase(FOrder, nullptr);
        for (std::size_t i = 0; i < FOrder.size(); ++i)
            FIndex[FOrder[i]] = i;
    }
    const auto [place, added] = FIndex.try_emplace(&wrapper, FOrder.size());
    if (!added)
        return false;
    try {
        FOrder.push_back(&wrapper);
    } catch (...) {
        FIndex.erase(place);
        throw;
    }
    return true;
}

void TKwMAPIWrapperList::Remove(const TKwMAPIWrapper* wrapper) noexcept
{
    const auto found = FIndex.find(wrapper);
    if (found == FIndex.end())
        return;
    FOrder[found->second] = nullptr;
    FIndex.erase(found);
}

std::vector<TKwMAPIWrapper*> TKwMAPIWrapperList::Snapshot() const
{
    std::vector<TKwMAPIWrapper*> wrappers;
    wrappers.reserve(FIndex.size());
    std::copy_if(FOrder.begin(), FOrder.end(), std::back_inserter(wrappers),
                 [](const TKwMAPIWrapper* wrapper) { return wrapper != nullptr; });
    return wrappers;
}

// ---- TKwMAPISessionBase

TKwMAPISessionBase::TKwMAPISessionBase(TKwAutoIntfObject* createdBy, TKwKeepAlive keepAlive)
    : TKwMAPIWrapper(createdBy, keepAlive)
{}

TKwMAPISessionBase::~TKwMAPISessionBase() = default;

IKwMAPISessionBase* TKwMAPISessionBase::Get_Session() const noexcept
{
    return const_cast<TKwMAPISessionBase*>(this);
}

TKwMAPISessionBase* TKwMAPISessionBase::Session() const noexcept
{
    return const_cast<TKwMAPISessionBase*>(this);
}

void TKwMAPISessionBase::LogoffNotification(TKwMAPIWrapper& wrapper)
{
    FLogoffList.Add(wrapper);
}

void TKwMAPISessionBase::RemoveLogoffNotification(const TKwMAPIWrapper& wrapper) noexcept
{
    FLogoffList.Remove(&wrapper);
}

void TKwMAPISessionBase::Set_Active(WordBool active)
{
    if (active)
        return;
    TFirstFailure failure;
    const std::vector<TKwMAPIWrapper*> wrappers = FLogoffList.Snapshot();
    for (auto it = wrappers.rbegin(); it != wrappers.rend(); ++it) {
        // A pointer that is no longer in the list must not be touched: the wrapper may be gone.
        if (!FLogoffList.Contains(*it))
            continue;
        const TKwRef<TKwMAPIWrapper> wrapper(*it);
        failure.Keep([&] {
            try {
                wrapper->SetMAPIOBJECT(nullptr);
            } catch (...) {
                wrapper->TKwMAPIWrapper::SetMAPIOBJECT(nullptr); // inactive all the same
                throw;
            }
        });
    }
    failure.Raise();
}

void TKwMAPISessionBase::SetExecutingEvents(bool executing) noexcept
{
    if (executing) {
        ++FExecutingEvents;
        return;
    }
    int calls = FExecutingEvents;
    while (calls > 0 && !FExecutingEvents.compare_exchange_weak(calls, calls - 1)) {
    }
}

void* TKwMAPISessionBase::AllocateBuffer(mapi::ULONG size)
{
    void* buffer = nullptr;
    CheckMAPIResult(GetClassName(), u"AllocateBuffer", MAPIAllocateBuffer(size, &buffer));
    return buffer;
}

void* TKwMAPISessionBase::AllocateMore(mapi::ULONG size, void* parent)
{
    void* buffer = nullptr;
    CheckMAPIResult(GetClassName(), u"AllocateMore", MAPIAllocateMore(size, parent, &buffer));
    return buffer;
}

void TKwMAPISessionBase::FreeBuffer(void* buffer)
{
    if (buffer != nullptr)
        CheckMAPIResult(GetClassName(), u"FreeBuffer", static_cast<mapi::HRESULT>(MAPIFreeBuffer(buffer)));
}

} // namespace deftmapi
