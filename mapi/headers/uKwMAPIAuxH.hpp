// Auxiliary interfaces that stores and sessions may offer.
#pragma once

#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace mapi
{

/// Tells whether an attachment may be opened.
struct IAttachmentSecurity : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL IsAttachmentBlocked(LPCWSTR pwszFileName, BOOL* pfBlocked) = 0;

protected:
    ~IAttachmentSecurity() = default;
};

/// A wrapper around the object of another process; UnwrapNoRef does not add a reference.
struct IProxyStoreObject : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder1() = 0;
    virtual HRESULT DEFTMAPI_STDCALL UnwrapNoRef(LPVOID* ppvObject) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder2() = 0;

protected:
    ~IProxyStoreObject() = default;
};

/// The session behind an object.
struct IMAPIGetSession : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetMAPISession(LPUNKNOWN* lppSession) = 0;

protected:
    ~IMAPIGetSession() = default;
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

protected:
    ~IMAPISecureMessage() = default;
};

/// Administration of the contacts address book.
struct IContabAdmin : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL RemoveStore(ULONG cbEntryID, LPENTRYID lpEntryID) = 0;

protected:
    ~IContabAdmin() = default;
};

/// What a store can do beyond its support mask.
struct IMSCapabilities : IUnknown
{
    virtual ULONG DEFTMAPI_STDCALL GetCapabilities(MSCAP_SELECTOR mscapSelector) = 0;

protected:
    ~IMSCapabilities() = default;
};

/// Fast shutdown, called by the client.
struct IMAPIClientShutdown : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL QueryFastShutdown() = 0;
    virtual HRESULT DEFTMAPI_STDCALL NotifyProcessShutdown() = 0;
    virtual HRESULT DEFTMAPI_STDCALL DoFastShutdown() = 0;

protected:
    ~IMAPIClientShutdown() = default;
};

/// Fast shutdown, implemented by the provider.
struct IMAPIProviderShutdown : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL QueryFastShutdown() = 0;
    virtual HRESULT DEFTMAPI_STDCALL NotifyProcessShutdown() = 0;
    virtual HRESULT DEFTMAPI_STDCALL DoFastShutdown() = 0;

protected:
    ~IMAPIProviderShutdown() = default;
};

} // namespace mapi
