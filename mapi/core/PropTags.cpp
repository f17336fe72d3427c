// Tags of definitions, named properties resolved against one object's store, and the names of the property types.
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIConstantsH.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sTagOfNamed = u"The uKwMAPIProps.GetPropTag does not support named properties!";
constexpr auto sNamedUnsupported = u"Named Property %s requested, however Named Properties are not supported!";
constexpr auto sNotActive = u"%s.%s failed.\r\nThe object is not, or no longer, active!";
constexpr auto sInvalidType = u"Invalid PropType";
constexpr auto sMethod = u"GetPropTag";

struct TTypeName
{
    std::uint32_t Type;
    WideView Name;
};

constexpr TTypeName typeNames[] = {
    {mapi::PT_UNSPECIFIED, u"dtUnknown"},
    {mapi::PT_NULL, u"dtNull"},
    {mapi::PT_I2, u"dtSmallInt"},
    {mapi::PT_LONG, u"dtLongInt"},
    {mapi::PT_R4, u"dtSingle"},
    {mapi::PT_DOUBLE, u"dtDouble"},
    {mapi::PT_CURRENCY, u"dtCurrency"},
    {mapi::PT_APPTIME, u"dtAppTime"},
    {mapi::PT_ERROR, u"dtError"},
    {mapi::PT_BOOLEAN, u"dtBoolean"},
    {mapi::PT_OBJECT, u"dtObject"},
    {mapi::PT_I8, u"dtInt64"},
    {mapi::PT_STRING8, u"dtAnsiString"},
    {mapi::PT_UNICODE, u"dtWideString"},
    {mapi::PT_SYSTIME, u"dtSysTime"},
    {mapi::PT_CLSID, u"dtGUID"},
    {mapi::PT_SVREID, u"dtServerEntryID"},
    {mapi::PT_SRESTRICTION, u"dtRestriction"},
    {mapi::PT_ACTIONS, u"dtActions"},
    {mapi::PT_BINARY, u"dtBinary"},
    {mapi::PT_FILE_HANDLE, u"dtFileHandle"},
    {mapi::PT_FILE_EA, u"dtFileEA"},
    {mapi::PT_VIRTUAL, u"dtVirtual"},
    {mapi::PT_MV_I2, u"dtMvSmallInt"},
    {mapi::PT_MV_LONG, u"dtMvLongInt"},
    {mapi::PT_MV_R4, u"dtMvSingle"},
    {mapi::PT_MV_DOUBLE, u"dtMvDouble"},
    {mapi::PT_MV_CURRENCY, u"dtMvCurrency"},
    {mapi::PT_MV_APPTIME, u"dtMvAppTime"},
    {mapi::PT_MV_I8, u"dtMvInt64"},
    {mapi::PT_MV_STRING8, u"dtMvAnsiString"},
    {mapi::PT_MV_UNICODE, u"dtMvWideString"},
    {mapi::PT_MV_SYSTIME, u"dtMvSysTime"},
    {mapi::PT_MV_CLSID, u"dtMvGUID"},
    {mapi::PT_MV_BINARY, u"dtMvBinary"},
};

/// Asks the object for the tag of one named property. On success the identifier is in the upper 16 bits of `tag`.
mapi::HRESULT AskForTag(const TKwMAPIPropInfo& info, IKwMAPIProp& prop, mapi::IUnknown& object, mapi::ULONG& tag)
{
    TKwComPtr<mapi::IMAPIProp> mapiProp;
    if (const mapi::HRESULT hr = object.QueryInterface(mapi::IID_IMAPIProp, OutVoid(mapiProp)); hr != mapi::S_OK)
        return hr;

    mapi::GUID set = info.PropSet();
    WideString name(info.StringName());
    mapi::MAPINAMEID nameID{};
    nameID.lpguid = &set;
    nameID.ulKind = info.PropKind;
    if (info.PropKind == mapi::MNID_STRING)
        nameID.Kind.lpwstrName = name.data();
    else
        nameID.Kind.lID = static_cast<mapi::LONG>(info.Identifier());

    mapi::LPMAPINAMEID names[] = {&nameID};
    mapi::LPSPropTagArray tags = nullptr;
    const mapi::HRESULT hr = mapiProp->GetIDsFromNames(1, names, mapi::MAPI_CREATE, &tags);
    // Warnings bring an array, too.
    const bool hasTag = tags != nullptr && tags->cValues == 1;
    if (hasTag)
        tag = tags->aulPropTag[0];
    if (tags != nullptr)
        prop.FreeBuffer(tags);
    // Success without what was asked for is a provider's fault that must not pass for tag 0.
    return hr == mapi::S_OK && !hasTag ? mapi::MAPI_E_CALL_FAILED : hr;
}

} // namespace

mapi::ULONG GetPropTag(const TKwMAPIPropInfo& info)
{
    if (info.Named)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sTagOfNamed)->Raise();
    return mapi::PROP_TAG(info.PropType, info.Identifier());
}

mapi::ULONG GetPropTag(TKwMAPIPropDef def)
{
    return GetPropTag(GetPropInfo(def));
}

mapi::ULONG _GetPropTag(const TKwMAPIPropInfo& info, IKwMAPIProp* prop, bool raiseOnError)
{
    if (!info.Named)
        return GetPropTag(info);
    if (prop == nullptr) {
        if (raiseOnError)
            CreateKwMAPIException(mapi::MAPI_E_NO_SUPPORT, sNamedUnsupported, {info.PropName()})->Raise();
        return 0;
    }
    mapi::IUnknown* object = prop->Get_MAPIOBJECT();
    if (object == nullptr) {
        if (raiseOnError)
            CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sNotActive, {prop->GetClassName(), sMethod})->Raise();
        return 0;
    }
    mapi::ULONG tag = 0;
    const mapi::HRESULT hr = AskForTag(info, *prop, *object, tag);
    if (hr != mapi::S_OK) {
        if (raiseOnError)
            CheckMAPIResult(*prop, sMethod, hr);
        return 0;
    }
    return mapi::PROP_TAG(info.PropType, mapi::PROP_ID(tag));
}

WideView PropTypeToStr(std::uint32_t type) noexcept
{
    for (const TTypeName& entry : typeNames)
        if (entry.Type == type)
            return entry.Name;
    return sInvalidType;
}

} // namespace deftmapi
