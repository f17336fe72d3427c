// Internal: the one client library of the process, and the slots through which its functions are called.
#pragma once

#include "mapi/core/ThreadCounts.hpp"
#include "mapi/core/uKwMAPILib.hpp"

#include <atomic>
#include <mutex>

namespace deftmapi
{

/// The process-wide state. Every member but Sessions is read and written under Lock.
struct TKwMAPIModuleState
{
    std::recursive_mutex Lock;
    TKwModule Module = nullptr;
    WideString FileName;
    bool ExtendedAvailable = false;
    bool UnloadWithLastUninit = false;
    bool MAPIInitializeCalled = false; ///< ends with the first thread that uninitialises
    std::int32_t InitializeCount = 0;
    bool RunningOnUninit = false; ///< a round of callbacks is under way, on the thread that holds Lock
    bool RunningOnUnload = false;
    bool UnloadAfterUninit = false; ///< asked for by an on-uninit callback
    std::vector<TKwMAPICallback> OnUninit;
    std::vector<TKwMAPICallback> OnUnload;
    TKwThreadCounts Sessions; ///< those that are logged on. Has a lock of its own: a logoff may run in a callback of
                              ///< the client, for whose end a thread may be waiting that holds Lock
};
TKwMAPIModuleState& KwMAPIModuleState();

using TKwMAPILibraryGuard = std::lock_guard<std::recursive_mutex>;

/// The state of the calling thread. Trivially destructible: a thread-local destructor would keep the library's own
/// module loaded until the thread ends.
struct TKwMAPIThreadState
{
    bool Initialized = false;
    bool MultiThreadNotifications = false;
    bool NTService = false;
    bool NoCoInit = false;
    bool MAPIInitializeCalled = false;
    bool Extended = false; ///< MAPIInitialize was really called
};
TKwMAPIThreadState& KwMAPIThreadState() noexcept;

/// KwLoadMAPIDLL that answers false when the system cannot load the library. `fileName` receives the name that was
/// tried. @throws  as KwLoadMAPIDLL for every other reason
[[nodiscard]] bool KwTryLoadMAPIDLL(WideString& fileName, bool& isExtendedMAPI, bool unloadWithLastUninit);

/// The address of one function of the client library, looked up on first use. Slots are constant-initialised objects of
/// static storage duration; each that holds an address is chained to the others, so that unloading empties them and a
/// library loaded later is looked up anew.
class TKwMAPISlot
{
public:
    /// @param name       the function's plain name
    /// @param decorated  the 32-bit export name that is tried first, or null
    constexpr explicit TKwMAPISlot(const char* name, const char* decorated = nullptr) noexcept
        : FName(name), FDecorated(decorated)
    {}
    TKwMAPISlot(const TKwMAPISlot&) = delete;
    TKwMAPISlot& operator=(const TKwMAPISlot&) = delete;

    /// REQUIRES: the library lock is held.
    static void ForgetAll() noexcept;

protected:
    void* Address()
    {
        void* const address = FAddress.load(std::memory_order_acquire);
        return address != nullptr ? address : Resolve();
    }

private:
    void* Resolve();

    const char* const FName;
    const char* const FDecorated;
    std::atomic<void*> FAddress{nullptr};
    TKwMAPISlot* FNext = nullptr; ///< the next slot that holds an address

    static TKwMAPISlot* FFirst;
};

/// A slot with its function's type.
template <typename Function>
class TKwMAPIFunction : public TKwMAPISlot
{
public:
    using TKwMAPISlot::TKwMAPISlot;

    /// Calls the function. @throws EMAPI_CALL_FAILED  the loaded library does not have it
    template <typename... Args>
    auto operator()(Args... args)
    {
        return reinterpret_cast<Function>(Address())(args...);
    }
};

} // namespace deftmapi
