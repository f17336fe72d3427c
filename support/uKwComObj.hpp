// TKwAutoIntfObject: the base of every object that the library hands out by interface. It supplies reference counting,
// owner notification and event-connection lists; beside it stand the silent-server-exception switches.
#pragma once

#include "support/uKwExport.hpp"
#include "support/uKwRef.hpp"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <utility>
#include <vector>

namespace deftmapi
{

/// Whether an object keeps its owner alive.
enum class TKwKeepAlive
{
    kaNone, ///< plain back-reference; the object learns of the owner's end through OwnerDestroyed
    kaOwner ///< the object holds a counted reference on its owner
};

/// Reference-counted object with an optional owner.
/// Threads: counting may happen on any thread; owner and children are linked and unlinked on one thread.
class DEFTMAPI_API TKwAutoIntfObject : public virtual IKwInterface
{
public:
    explicit TKwAutoIntfObject(TKwAutoIntfObject* owner = nullptr, TKwKeepAlive keepAlive = TKwKeepAlive::kaNone);

    void AddRef() const noexcept final;
    void Release() const noexcept final;
    [[nodiscard]] std::uint32_t RefCount() const noexcept { return FRefCount.load(); }

    /// The owner, or null when there was none or it has been destroyed. Adds no reference.
    [[nodiscard]] TKwAutoIntfObject* Owner() const noexcept { return FOwner; }
    /// True once an owner that this object had was destroyed.
    [[nodiscard]] bool OwnerDestroyed() const noexcept { return FOwnerDestroyed; }
    /// Objects of this class that are alive in the process; tests compare it before and after.
    [[nodiscard]] static std::size_t LiveObjects() noexcept;

protected:
    ~TKwAutoIntfObject() override;
    /// The references that are held now, those apart that count as held for the object's destruction. Not 0 in a
    /// destructor when somebody is left with a reference to what is no more.
    [[nodiscard]] std::int32_t ReferencesLeft() const noexcept;
    /// Called once when the last reference is gone, before any destructor runs: virtual calls still reach the derived
    /// class and references taken and dropped here do not destroy again.
    virtual void BeforeDestruction() noexcept {}
    /// Called when the owner is being destroyed; OwnerDestroyed() is already true.
    virtual void DoOwnerDestroyed() noexcept {}
    /// Tells every child, in the order of creation, that this object is no more. The destructor does it; a class calls
    /// it earlier when its own members must still exist while the children are told.
    void NotifyChildren() noexcept;

private:
    void Link(TKwAutoIntfObject& child);
    void Unlink(TKwAutoIntfObject& child) noexcept;

    mutable std::atomic<std::uint32_t> FRefCount{0};
    TKwAutoIntfObject* FOwner = nullptr;
    TKwRef<TKwAutoIntfObject> FOwnerRef; // set with kaOwner only
    bool FOwnerDestroyed = false;
    std::vector<TKwAutoIntfObject*> FChildren; // in the order of creation; null where a child has gone
    std::size_t FLiveChildren = 0;
    bool FNotifying = false;
    std::size_t FSlot = 0; // this object's place in the owner's FChildren: a session may own very many objects
};

/// The sinks connected to one outgoing interface, in the order of connection. Thread-safe: sinks are called on a copy
/// of the list and without the lock, so that a sink may connect or disconnect while it is called.
/// REQUIRES: no null sink is connected.
template <typename Sink>
class TKwEventConnections
{
public:
    /// Connects (a sink connected twice is called twice) or disconnects (the first connection of the sink).
    /// Returns false when a sink to be disconnected was not connected. Holds a reference while connected.
    bool Connect(const TKwRef<Sink>& sink, bool connect)
    {
        const std::lock_guard lock(FLock);
        if (connect) {
            FSinks.push_back(sink);
            return true;
        }
        for (auto it = FSinks.begin(); it != FSinks.end(); ++it) {
            if (*it == sink) {
                FSinks.erase(it);
                return true;
            }
        }
        return false;
    }
    /// Calls call(sink) for each sink that is connected now and still is when its turn comes. What the call throws ends
    /// the walk. On another thread a sink may still be called when Connect has disconnected it: between its turn and
    /// its call there is no lock.
    template <typename Call>
    void ForEach(Call&& call) const
    {
        for (const TKwRef<Sink>& sink : Snapshot())
            if (Contains(sink))
                call(*sink);
    }
    void DisconnectAll()
    {
        std::vector<TKwRef<Sink>> sinks; // released without the lock: their ends may call back
        const std::lock_guard lock(FLock);
        sinks.swap(FSinks);
    }
    [[nodiscard]] std::size_t Count() const
    {
        const std::lock_guard lock(FLock);
        return FSinks.size();
    }

private:
    [[nodiscard]] std::vector<TKwRef<Sink>> Snapshot() const
    {
        const std::lock_guard lock(FLock);
        return FSinks;
    }
    [[nodiscard]] bool Contains(const TKwRef<Sink>& sink) const
    {
        const std::lock_guard lock(FLock);
        return std::find(FSinks.begin(), FSinks.end(), sink) != FSinks.end();
    }

    mutable std::mutex FLock;
    std::vector<TKwRef<Sink>> FSinks;
};

// Silent server exceptions: while enabled (the default) an exception that leaves an event sink called by a foreign
// server is swallowed at that boundary and reported to the handler set below; while disabled it passes on to the
// caller. The switch is per thread and counts: as many enables as disables restore it.
DEFTMAPI_API void KwDisableSilentServerExceptions() noexcept;
DEFTMAPI_API void KwEnableSilentServerExceptions() noexcept;
[[nodiscard]] DEFTMAPI_API bool KwSilentServerExceptionsEnabled() noexcept;

/// Receives what was swallowed, on the thread where it happened. An exception that leaves the handler is ignored.
using TKwServerExceptionHandler = void (*)(std::exception_ptr exception, void* context);
/// Sets the handler (null: none, the default). Process-wide; thread-safe.
DEFTMAPI_API void KwSetServerExceptionHandler(TKwServerExceptionHandler handler, void* context) noexcept;
/// Passes an exception to the handler.
DEFTMAPI_API void KwReportServerException(std::exception_ptr exception) noexcept;

/// Calls an event sink at the boundary to a foreign server: the one place where the switch above takes effect.
/// Returns false when an exception was swallowed.
template <typename Call>
bool KwCallServerSink(Call&& call)
{
    if (!KwSilentServerExceptionsEnabled()) {
        std::forward<Call>(call)();
        return true;
    }
    try {
        std::forward<Call>(call)();
        return true;
    } catch (...) {
        KwReportServerException(std::current_exception());
        return false;
    }
}

} // namespace deftmapi
