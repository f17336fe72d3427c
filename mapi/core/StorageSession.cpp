// The session of messages in structured storage.
#include "mapi/core/uKwMAPIBase.hpp"

#include "mapi/core/uKwMAPIIMessageH.hpp"
#include "mapi/core/uKwMAPIxH.hpp"
#include "mapi/headers/uKwMAPIComH.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sReferencesLeft = u"TKwMAPIStorageSession.Destroy; Recount <> 0";
constexpr auto sNoMalloc = u"%s.%s failed.\r\nThe MAPI library gave no memory allocator!";

} // namespace

TKwMAPIStorageSession::TKwMAPIStorageSession(TKwAutoIntfObject* createdBy, TKwKeepAlive keepAlive)
    : TKwMAPISessionBase(createdBy, keepAlive)
{}

TKwMAPIStorageSession::~TKwMAPIStorageSession()
{
    if (ReferencesLeft() != 0)
        KwReportServerException(std::make_exception_ptr(EKwAssertionFailed(sReferencesLeft, mapi::MAPI_E_CALL_FAILED)));
    if (FMsgSession == nullptr)
        return;
    try {
        CloseIMsgSession(FMsgSession);
    } catch (...) {
        KwReportServerException(std::current_exception());
    }
}

WideString TKwMAPIStorageSession::GetClassName() const
{
    return u"TKwMAPIStorageSession";
}

mapi::IMalloc* TKwMAPIStorageSession::GetMemAllocIntf()
{
    if (!FMalloc) {
        FMalloc = TKwComPtr<mapi::IMalloc>(MAPIGetDefaultMalloc(), KwAdopt);
        if (!FMalloc)
            CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNoMalloc, {GetClassName(), u"GetMemAllocIntf"})->Raise();
    }
    return FMalloc.Get();
}

mapi::LPMSGSESS TKwMAPIStorageSession::GetMsgSession()
{
    if (FMsgSession == nullptr) {
        mapi::LPMSGSESS opened = nullptr; // of no meaning when the call fails
        CheckMAPIResult(GetClassName(), u"OpenIMsgSession", OpenIMsgSession(GetMemAllocIntf(), 0, &opened));
        FMsgSession = opened;
    }
    return FMsgSession;
}

} // namespace deftmapi
