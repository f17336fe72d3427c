// What stands between the client's notifications and an object that gets them.
#pragma once

#include "mapi/core/ComObject.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"
#include "support/uKwComObj.hpp"

#include <mutex>

namespace deftmapi
{

/// The object that the client calls: hands notifications to Owner::OnNotify, one at a time, until the owner detaches
/// itself. The client may keep it for longer.
/// Threads: called on any thread of the client. Detach waits for a notification in progress on another thread, so that
/// the owner outlives it.
template <typename Owner>
class TKwNotifySink : public TKwComObject<mapi::IMAPIAdviseSink, mapi::IID_IMAPIAdviseSink>
{
public:
    explicit TKwNotifySink(Owner& owner) : FOwner(&owner) {}

    mapi::ULONG DEFTMAPI_STDCALL OnNotify(mapi::ULONG count, mapi::LPNOTIFICATION notifications) override
    {
        const TKwComPtr<TKwNotifySink> self(this);
        const std::lock_guard lock(FLock);
        for (mapi::ULONG i = 0; i < count && FOwner != nullptr; ++i) {
            // Nothing may be thrown through the client's code.
            try {
                FOwner->OnNotify(1, &notifications[i]);
            } catch (...) {
                KwReportServerException(std::current_exception());
            }
        }
        return 0;
    }

    void Detach() noexcept
    {
        const std::lock_guard lock(FLock);
        FOwner = nullptr;
    }

protected:
    ~TKwNotifySink() override = default;

private:
    std::recursive_mutex FLock; // a notification may detach its own sink
    Owner* FOwner;
};

} // namespace deftmapi
