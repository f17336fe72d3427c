// Auxiliary interfaces that stores and sessions may offer.
#pragma once

#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace mapi
{

DEFTMAPI_INTERFACES_BEGIN

/// Tells whether an attachment may be opened.
struct IAttachmentSecurity : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL IsAttachmentBlocked(LPCWSTR pwszFileName, BOOL* pfBlocked) = 0;
};

/// A wrapper around the object of another process; UnwrapNoRef does not add a reference.
struct IProxyStoreObject : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder1() = 0;
    virtual HRESULT DEFTMAPI_STDCALL UnwrapNoRef(LPVOID* ppvObject) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder2() = 0;
};

/// The session behind an object.
struct IMAPIGetSession : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetMAPISession(LPUNKNOWN* lppSession) = 0;
};

/// A signed or encrypted message; the base message is the one without protection.
struct IMAPISecureMessage : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder1() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder2() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder3() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder4() = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetBaseMessage(LPMESSAGE* ppmsg) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder5() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder6() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder7() = 0;
};

/// Administration of the contacts address book.
struct IContabAdmin : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL RemoveStore(ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
};

/// What a store can do beyond its support mask.
struct IMSCapabilities : IUnknown
{
    virtual ULONG DEFTMAPI_STDCALL GetCapabilities(MSCAP_SELECTOR mscapSelector) = 0;
};

/// Fast shutdown, called by the client.
struct IMAPIClientShutdown : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL QueryFastShutdown() = 0;
    virtual HRESULT DEFTMAPI_STDCALL NotifyProcessShutdown() = 0;
    virtual HRESULT DEFTMAPI_STDCALL DoFastShutdown() = 0;
};

/// Fast shutdown, implemented by the provider.
struct IMAPIProviderShutdown : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL QueryFastShutdown() = 0;
    virtual HRESULT DEFTMAPI_STDCALL NotifyProcessShutdown() = 0;
    virtual HRESULT DEFTMAPI_STDCALL DoFastShutdown() = 0;
};

DEFTMAPI_INTERFACES_END

} // namespace mapi
