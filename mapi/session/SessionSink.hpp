// The object that the client calls when something happens to a session.
#pragma once

#include "mapi/session/uKwDeftMAPI.hpp"

#include <atomic>
#include <mutex>

namespace deftmapi
{

/// Threads: called on any thread of the client. Detach waits for a notification in progress on another thread, so that
/// the session outlives it.
class TSession::TSink final : public mapi::IMAPIAdviseSink
{
public:
    explicit TSink(TSession& session) : FSession(&session) {}

    mapi::HRESULT DEFTMAPI_STDCALL QueryInterface(mapi::REFIID iid, void** object) override;
    mapi::ULONG DEFTMAPI_STDCALL AddRef() override { return ++FRefCount; }
    mapi::ULONG DEFTMAPI_STDCALL Release() override;
    mapi::ULONG DEFTMAPI_STDCALL OnNotify(mapi::ULONG count, mapi::LPNOTIFICATION notifications) override;

    void Detach() noexcept;

private:
    ~TSink() = default;

    std::atomic<mapi::ULONG> FRefCount{0};
    std::recursive_mutex FLock; // a notification may detach its own sink by logging off
    TSession* FSession;
};

} // namespace deftmapi
