// The object that the client calls when something happens to a session.
#pragma once

#include "mapi/core/ComObject.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"

#include <mutex>

namespace deftmapi
{

/// Threads: called on any thread of the client. Detach waits for a notification in progress on another thread, so that
/// the session outlives it.
class TSession::TSink final : public TKwComObject<mapi::IMAPIAdviseSink, mapi::IID_IMAPIAdviseSink>
{
public:
    explicit TSink(TSession& session) : FSession(&session) {}

    mapi::ULONG DEFTMAPI_STDCALL OnNotify(mapi::ULONG count, mapi::LPNOTIFICATION notifications) override;

    void Detach() noexcept;

private:
    ~TSink() override = default;

    std::recursive_mutex FLock; // a notification may detach its own sink by logging off
    TSession* FSession;
};

} // namespace deftmapi
