// The session's notification sink; see SessionSink.hpp.
#include "mapi/session/SessionSink.hpp"

#include "mapi/headers/uKwMAPIguidH.hpp"

namespace deftmapi
{

mapi::HRESULT DEFTMAPI_STDCALL TSession::TSink::QueryInterface(mapi::REFIID iid, void** object)
{
    if (object == nullptr)
        return mapi::MAPI_E_INVALID_PARAMETER;
    *object = nullptr;
    if (iid != mapi::IID_IUnknown && iid != mapi::IID_IMAPIAdviseSink)
        return mapi::MAPI_E_INTERFACE_NOT_SUPPORTED;
    *object = static_cast<mapi::IMAPIAdviseSink*>(this);
    AddRef();
    return mapi::S_OK;
}

mapi::ULONG DEFTMAPI_STDCALL TSession::TSink::Release()
{
    const mapi::ULONG left = --FRefCount;
    if (left == 0)
        delete this;
    return left;
}

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
