// The state behind uKwMAPILib, and the look-up of entry points.
#include "mapi/core/MAPIModule.hpp"

#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNotExported = u"The loaded MAPI library does not support \"%s\"!";

constinit thread_local TKwMAPIThreadState threadState;

} // namespace

constinit TKwMAPISlot* TKwMAPISlot::FFirst = nullptr;

TKwMAPIModuleState& KwMAPIModuleState()
{
    // Never destroyed: a session that an application keeps in a global ends after all of the library's own statics.
    static TKwMAPIModuleState& state = *new TKwMAPIModuleState;
    return state;
}

TKwMAPIThreadState& KwMAPIThreadState() noexcept
{
    return threadState;
}

void* TKwMAPISlot::Resolve()
{
    TKwMAPIModuleState& state = KwMAPIModuleState();
    const TKwMAPILibraryGuard guard(state.Lock);
    if (void* const already = FAddress.load(std::memory_order_relaxed))
        return already;

    void* found = nullptr;
    if (state.Module != nullptr) {
        if (FDecorated != nullptr)
            found = KwPlatform().FindExport(state.Module, FDecorated);
        if (found == nullptr)
            found = KwPlatform().FindExport(state.Module, FName);
    }
    if (found == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNotExported, {KwFromUtf8(FName)})->Raise();

    FNext = FFirst;
    FFirst = this;
    FAddress.store(found, std::memory_order_release);
    return found;
}

void TKwMAPISlot::ForgetAll() noexcept
{
    while (FFirst != nullptr) {
        TKwMAPISlot& slot = *FFirst;
        FFirst = std::exchange(slot.FNext, nullptr);
        slot.FAddress.store(nullptr, std::memory_order_release);
    }
}

} // namespace deftmapi
