// Reference counting, owner notification and the silent-server-exception switch.
//
// While an object is being destroyed its count stands at a large offset, so that references which its own destruction
// takes and drops (a virtual call that makes a TKwRef of *this) never reach zero a second time.
#include "support/uKwComObj.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr std::uint32_t destroyingOffset = 0x40000000;
constexpr std::size_t slotsBeforeCompaction = 32;

std::atomic<std::size_t> liveObjects{0};
thread_local int silentDisableDepth = 0;

struct THandler
{
    std::mutex Lock;
    TKwServerExceptionHandler Handler = nullptr;
    void* Context = nullptr;
};

THandler& ServerExceptionHandler()
{
    static THandler handler;
    return handler;
}

} // namespace

TKwAutoIntfObject::TKwAutoIntfObject(TKwAutoIntfObject* owner, TKwKeepAlive keepAlive)
{
    if (owner != nullptr) {
        owner->Link(*this);
        FOwner = owner;
        if (keepAlive == TKwKeepAlive::kaOwner)
            FOwnerRef = TKwRef<TKwAutoIntfObject>(owner);
    }
    ++liveObjects;
}

TKwAutoIntfObject::~TKwAutoIntfObject()
{
    NotifyChildren();
    if (FOwner != nullptr)
        FOwner->Unlink(*this);
    --liveObjects;
}

void TKwAutoIntfObject::AddRef() const noexcept
{
    FRefCount.fetch_add(1, std::memory_order_relaxed);
}

void TKwAutoIntfObject::Release() const noexcept
{
    // In one step from the last reference to the offset: at no moment may another thread find a count of zero, add a
    // reference of its own and destroy the object a second time when it drops it.
    std::uint32_t count = FRefCount.load(std::memory_order_relaxed);
    while (!FRefCount.compare_exchange_weak(count, count == 1 ? destroyingOffset : count - 1, std::memory_order_acq_rel,
                                            std::memory_order_relaxed))
    {}
    if (count != 1)
        return;
    auto* self = const_cast<TKwAutoIntfObject*>(this);
    self->BeforeDestruction();
    delete self;
}

std::int32_t TKwAutoIntfObject::ReferencesLeft() const noexcept
{
    const std::uint32_t count = FRefCount.load();
    return static_cast<std::int32_t>(count >= destroyingOffset / 2 ? count - destroyingOffset : count);
}

std::size_t TKwAutoIntfObject::LiveObjects() noexcept
{
    return liveObjects.load();
}

void TKwAutoIntfObject::NotifyChildren() noexcept
{
    if (FNotifying)
        return;
    FNotifying = true;
    // A child's reaction may destroy other children, which clears their slots, or create new ones, which extends the
    // list.
    for (std::size_t i = 0; i < FChildren.size(); ++i) {
        TKwAutoIntfObject* child = std::exchange(FChildren[i], nullptr);
        if (child == nullptr)
            continue;
        --FLiveChildren;
        child->FOwner = nullptr;
        child->FOwnerDestroyed = true;
        // A reference that the owner got while it was being destroyed goes with it.
        static_cast<void>(child->FOwnerRef.Detach());
        child->DoOwnerDestroyed();
    }
    FChildren.clear();
    FNotifying = false;
}

void TKwAutoIntfObject::Link(TKwAutoIntfObject& child)
{
    // Compaction renumbers the slots, so it must not happen under the walk of NotifyChildren.
    if (!FNotifying && FChildren.size() >= slotsBeforeCompaction && FChildren.size() / 2 >= FLiveChildren) {
        FChildren.erase(std::remove(FChildren.begin(), FChildren.end(), nullptr), FChildren.end());
        for (std::size_t i = 0; i < FChildren.size(); ++i)
            FChildren[i]->FSlot = i;
    }
    FChildren.push_back(&child);
    child.FSlot = FChildren.size() - 1;
    ++FLiveChildren;
}

void TKwAutoIntfObject::Unlink(TKwAutoIntfObject& child) noexcept
{
    FChildren[child.FSlot] = nullptr;
    --FLiveChildren;
}

void KwDisableSilentServerExceptions() noexcept
{
    ++silentDisableDepth;
}

void KwEnableSilentServerExceptions() noexcept
{
    if (silentDisableDepth > 0)
        --silentDisableDepth;
}

bool KwSilentServerExceptionsEnabled() noexcept
{
    return silentDisableDepth == 0;
}

void KwSetServerExceptionHandler(TKwServerExceptionHandler handler, void* context) noexcept
{
    THandler& current = ServerExceptionHandler();
    const std::lock_guard lock(current.Lock);
    current.Handler = handler;
    current.Context = context;
}

void KwReportServerException(std::exception_ptr exception) noexcept
{
    TKwServerExceptionHandler handler = nullptr;
    void* context = nullptr;
    {
        THandler& current = ServerExceptionHandler();
        const std::lock_guard lock(current.Lock);
        handler = current.Handler;
        context = current.Context;
    }
    if (handler == nullptr)
        return;
    try {
        handler(std::move(exception), context);
    } catch (...) {
        // The handler is the last stop: there is nobody left to report its own failure to.
    }
}

} // namespace deftmapi
