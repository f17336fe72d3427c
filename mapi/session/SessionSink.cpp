// The session's notification sink; see SessionSink.hpp.
#include "mapi/session/SessionSink.hpp"

namespace deftmapi
{

mapi::ULONG DEFTMAPI_STDCALL TSession::TSink::OnNotify(mapi::ULONG count, mapi::LPNOTIFICATION notifications)
{
    const TKwComPtr<TSink> self(this);
    const std::lock_guard lock(FLock);
    if (FSession == nullptr)
        return 0;
    // Nothing may be thrown through the client's code.
    try {
        FSession->OnNotify(count, notifications);
    } catch (...) {
        KwReportServerException(std::current_exception());
    }
    return 0;
}

void TSession::TSink::Detach() noexcept
{
    const std::lock_guard lock(FLock);
    FSession = nullptr;
}

} // namespace deftmapi
