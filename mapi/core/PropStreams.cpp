// Properties opened as interfaces, for values that are objects or too large to be read at once.
#include "mapi/core/uKwMAPIBase.hpp"

#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sInterfaceNotSupported =
    u"%s.OpenProperty failed!\r\nThe requested interface is not supported for this property.";
constexpr auto sNoAccess =
    u"%s.OpenProperty failed!\r\nThe caller has insufficient permissions to access the property.";
constexpr auto sNoSupport = u"%s.OpenProperty failed!\r\nThe object cannot provide access to this property through the "
                            u"requested interface.";
constexpr auto sNotFound = u"%s.OpenProperty failed!\r\nThe requested property does not exist and MAPI_CREATE was not "
                           u"set in the ulFlags parameter.";
constexpr auto sUnspecified = u"%s.OpenProperty failed!\r\nThe property type in the tag is set to PT_UNSPECIFIED.";

struct TFailure
{
    mapi::HRESULT Code;
    const char16_t* Text;
};

constexpr TFailure failures[] = {
    {mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, sInterfaceNotSupported},
    {mapi::MAPI_E_NO_ACCESS, sNoAccess},
    {mapi::MAPI_E_NO_SUPPORT, sNoSupport},
    {mapi::MAPI_E_NOT_FOUND, sNotFound},
    {mapi::MAPI_E_INVALID_PARAMETER, sUnspecified},
};

} // namespace

TKwComPtr<mapi::IUnknown> TKwMAPIProp::OpenProperty(mapi::ULONG tag, const mapi::GUID& iid, mapi::ULONG writeOptions,
                                                    mapi::ULONG readOptions, TKwMAPIAccessLevel accessLevel,
                                                    bool create)
{
    TKwComPtr<mapi::IUnknown> property;
    const bool write = create || accessLevel != alReadOnly;
    const mapi::ULONG flags = (write ? mapi::MAPI_MODIFY : 0) | (create ? mapi::MAPI_CREATE : 0);
    mapi::HRESULT hr = MAPIProp().OpenProperty(tag, &iid, write ? writeOptions : readOptions, flags, Out(property));
    bool writable = write;
    if (hr == mapi::MAPI_E_NO_ACCESS && accessLevel == alBestAccess) {
        hr = MAPIProp().OpenProperty(tag, &iid, readOptions, 0, Out(property));
        writable = false;
    }
    for (const TFailure& failure : failures)
        if (hr == failure.Code)
            CreateKwMAPIException(hr, failure.Text, {GetClassName()})->Raise();
    CheckMAPIResult(*this, u"OpenProperty", hr);
    // What is written through the interface passes the cache by.
    if (writable && FItems)
        FItems->ForgetTag(tag);
    return property;
}

TKwComPtr<mapi::IUnknown> TKwMAPIProp::OpenIntfPropertyByTag(mapi::ULONG tag, const mapi::GUID& iid,
                                                             mapi::ULONG interfaceOptions,
                                                             TKwMAPIAccessLevel accessLevel, WordBool create)
{
    CheckActive(u"OpenIntfProperty");
    return OpenProperty(tag, iid, interfaceOptions, interfaceOptions, accessLevel, create);
}

TKwComPtr<mapi::IUnknown> TKwMAPIProp::OpenIntfProperty(TKwMAPIPropDef def, const mapi::GUID& iid,
                                                        mapi::ULONG interfaceOptions, TKwMAPIAccessLevel accessLevel,
                                                        WordBool create)
{
    CheckActive(u"OpenIntfProperty");
    return OpenProperty(GetPropTag(def), iid, interfaceOptions, interfaceOptions, accessLevel, create);
}

TKwComPtr<mapi::IStream> TKwMAPIProp::OpenBinProperty(TKwMAPIPropDef def, TKwMAPIAccessLevel accessLevel,
                                                      WordBool create)
{
    CheckActive(u"OpenBinProperty");
    return OpenStream(GetPropTag(def), accessLevel, create);
}

TKwComPtr<mapi::IStream> TKwMAPIProp::OpenStream(mapi::ULONG tag, TKwMAPIAccessLevel accessLevel, bool create)
{
    TKwComPtr<mapi::IUnknown> property =
        OpenProperty(tag, mapi::IID_IStream, mapi::STGM_READWRITE, mapi::STGM_READ, accessLevel, create);
    // OpenProperty gives the interface that was asked for, under the type of the parameter.
    return TKwComPtr<mapi::IStream>(static_cast<mapi::IStream*>(property.Detach()), KwAdopt);
}

} // namespace deftmapi
