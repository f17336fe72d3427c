// Objects with properties: what goes through the cache, what goes past it, and saving.
#include "mapi/core/uKwMAPIBase.hpp"

#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNoWriteAccess = u"You don't have readwrite access!";
constexpr auto sExchangeOnly = u"This property is only supported by Exchange!";
constexpr auto sNoDefinitions = u"You must specify at least 1 property definition!";
constexpr auto sFewerValues = u"%d property values were requested, however only %d values were returned!";
constexpr auto sObjectChanged = u"%s.SaveChanges failed!\r\nThe object has changed since it was opened.";
constexpr auto sObjectDeleted = u"%s.SaveChanges failed!\r\nThe object has been deleted since it was opened.";
// MAPI_E_CORRUPT_DATA gets the text of a lost connection: that is what providers mean by it here.
constexpr auto sNetworkError =
    u"%s.SaveChanges failed!\r\nMessage store providers that use a client-server model for their implementation "
    u"might\r\nreturn this error when a network connection is lost or the server is not running.";
constexpr auto sCannotKeepOpen =
    u"%s.SaveChanges failed!\r\nSaveChanges cannot keep the object open for read-only access, if KEEP_OPEN_READONLY "
    u"is set, or read/write access, if KEEP_OPEN_READWRITE is set. No changes are committed.";
constexpr auto sNoShowProcedure =
    u"%s.DisplayProperties failed.\r\nNo procedure has been registered with SetShowPropertiesProc!";

constexpr auto unit = u"uKwMAPIBase";
mapi::ULONG SaveFlags(TKwMAPISaveMethod saveMethod)
{
    switch (saveMethod) {
    case smKeepReadOnly:
        return mapi::KEEP_OPEN_READONLY;
    case smKeepReadWrite:
        return mapi::KEEP_OPEN_READWRITE;
    case smForceSave:
        return mapi::FORCE_SAVE | mapi::KEEP_OPEN_READWRITE;
    case smClose:
        break;
    }
    return 0;
}

/// The tag with the text type of the other width; tags of other types as they are.
mapi::ULONG WithOtherWidth(mapi::ULONG tag)
{
    const mapi::ULONG base = mapi::PROP_TYPE(tag) & ~mapi::MV_FLAG;
    return base == mapi::PT_UNICODE || base == mapi::PT_STRING8 ? tag ^ mapi::PT_STRING8 ^ mapi::PT_UNICODE : tag;
}

TKwShowPropertiesProc& ShowPropertiesProc()
{
    static TKwShowPropertiesProc proc;
    return proc;
}

} // namespace

void SetShowPropertiesProc(TKwShowPropertiesProc proc)
{
    ShowPropertiesProc() = std::move(proc);
}

TKwMAPIProp::TKwMAPIProp(TKwAutoIntfObject* createdBy, TKwKeepAlive keepAlive) : TKwMAPIWrapper(createdBy, keepAlive) {}

TKwMAPIProp::~TKwMAPIProp()
{
    // While this part of the object still exists: what the children look at when they are told.
    NotifyChildren();
}

void TKwMAPIProp::SetMAPIOBJECT(mapi::IUnknown* object)
{
    if (FItems)
        FItems->Clear();
    TKwMAPIWrapper::SetMAPIOBJECT(object);
}

mapi::HRESULT TKwMAPIProp::CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error)
{
    return MAPIProp().GetLastError(result, flags, error);
}

// ---- Access

void TKwMAPIProp::SetAccessLevel(TKwMAPIAccessLevel level, bool writeGranted) noexcept
{
    FAccessLevel = level;
    FWriteGranted = writeGranted;
}

TKwMAPIAccessLevel TKwMAPIProp::Get_AccessLevel() const
{
    CheckActive(u"Get_AccessLevel");
    return FAccessLevel;
}

void TKwMAPIProp::CheckAccessLevel(TKwMAPIAccessLevel level) const
{
    CheckActive(u"CheckAccessLevel");
    if (level == alReadWrite && !FWriteGranted)
        CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sNoWriteAccess)->Raise();
}

// ---- Through the cache

TKwMAPIPropItems& TKwMAPIProp::Items()
{
    if (!FItems)
        FItems = KwMake<TKwMAPIPropItems>(*this);
    return *FItems;
}

TKwRef<IKwMAPIProperties> TKwMAPIProp::Get_Properties()
{
    CheckActive(u"Get_Properties");
    return TKwRef<IKwMAPIProperties>(&Items());
}

TKwRef<IKwMAPIProperty> TKwMAPIProp::PropByName(TKwMAPIPropDef def)
{
    return Items().PropByName(def);
}

TKwRef<IKwMAPIProperty> TKwMAPIProp::PropByName(const TKwMAPIPropInfo& info)
{
    return Items().PropByName(info);
}

WordBool TKwMAPIProp::HasProp(TKwMAPIPropDef def)
{
    return Items().HasProp(def);
}

WordBool TKwMAPIProp::HasProp(TKwMAPIPropDef def, TKwRef<IKwMAPIProperty>& prop)
{
    prop.Reset();
    if (!HasProp(def))
        return false;
    prop = PropByName(def);
    return true;
}

void TKwMAPIProp::DeleteProperty(TKwMAPIPropDef def)
{
    Items().DeleteProperty(def);
}

WordBool TKwMAPIProp::GetModified() const
{
    CheckActive(u"GetModified");
    return FItems && FItems->GetModified();
}

mapi::ULONG TKwMAPIProp::GetPropTag(TKwMAPIPropDef def)
{
    return GetPropTag(PI(def));
}

mapi::ULONG TKwMAPIProp::GetPropTag(const TKwMAPIPropInfo& info)
{
    CheckActive(u"GetPropTag");
    return _GetPropTag(DisableUnicode() ? PI(info.Hash) : info, this, true);
}

TKwMAPIEntryID TKwMAPIProp::Get_EntryID()
{
    TKwVariant value = PropByName(PR_ENTRYID)->Get_Value();
    return value.IsEmpty() ? TKwMAPIEntryID(TKwNull{}) : value;
}

TKwVariant TKwMAPIProp::Get_RecordKey()
{
    return PropByName(PR_RECORD_KEY)->Get_Value();
}

TKwVariant TKwMAPIProp::Get_SearchKey()
{
    return PropByName(PR_SEARCH_KEY)->Get_Value();
}

void TKwMAPIProp::Set_SearchKey(const TKwVariant& value)
{
    PropByName(PR_SEARCH_KEY)->Set_Value(value);
}

TKwVariant TKwMAPIProp::Get_SourceKey()
{
    CheckActive(u"Get_SourceKey");
    if (!Session()->Get_ConnectedToExchange())
        CreateKwMAPIException(KwNotSupported, sExchangeOnly)->Raise();
    return PropByName(PR_SOURCE_KEY)->Get_Value();
}

void TKwMAPIProp::ResetProperties()
{
    CheckActive(u"ResetProperties");
    if (FItems)
        FItems->Clear();
}

std::vector<mapi::ULONG> TKwMAPIProp::GetPropList()
{
    CheckActive(u"GetPropList");
    TKwMAPIBuffer<mapi::SPropTagArray> list(*this);
    const mapi::HRESULT hr =
        WithCharWidth(0, [&](mapi::ULONG flags) { return MAPIProp().GetPropList(flags, Out(list)); });
    CheckMAPIResult(*this, u"GetPropList", hr);
    if (!list)
        return {};
    return {list->aulPropTag, list->aulPropTag + list->cValues};
}

void TKwMAPIProp::RetrieveAllProperties()
{
    CheckActive(u"RetrieveAllProperties");
    const std::vector<mapi::ULONG> tags = GetPropList();
    std::vector<mapi::ULONG> named;
    std::copy_if(tags.begin(), tags.end(), std::back_inserter(named), TKwMAPIPropItems::IsNamedTag);
    mapi::ULONG count = 0;
    const TKwMAPIBuffer<mapi::MAPINAMEID*> names = NamesOf(named, count);
    TKwMAPIPropItems& items = Items();
    mapi::ULONG nextNamed = 0;
    for (const mapi::ULONG tag : tags) {
        if (!TKwMAPIPropItems::IsNamedTag(tag)) {
            items.PropByTag(tag, true);
            continue;
        }
        const mapi::MAPINAMEID* name = names && nextNamed < count ? names.Get()[nextNamed] : nullptr;
        ++nextNamed;
        if (name != nullptr && name->lpguid != nullptr)
            items.PropByTag(tag, *name);
        else
            items.UnnamedByTag(tag);
    }
}

TKwMAPIBuffer<mapi::MAPINAMEID*> TKwMAPIProp::NamesOf(const std::vector<mapi::ULONG>& tags, mapi::ULONG& count)
{
    TKwMAPIBuffer<mapi::MAPINAMEID*> names(*this);
    if (tags.empty())
        return names;
    TKwMAPITagArray array(tags);
    mapi::SPropTagArray* asked = array.Get();
    const mapi::HRESULT hr = MAPIProp().GetNamesFromIDs(&asked, nullptr, 0, &count, Out(names));
    // The warning says that some tag has no name; such a property is cached without a definition.
    if (hr != mapi::MAPI_W_ERRORS_RETURNED)
        CheckMAPIResult(*this, u"GetNamesFromIDs", hr);
    return names;
}

// ---- Past the cache

std::vector<mapi::ULONG> TKwMAPIProp::TagsOf(std::span<const TKwMAPIPropDef> defs)
{
    std::vector<mapi::ULONG> tags;
    tags.reserve(defs.size());
    for (const TKwMAPIPropDef def : defs)
        tags.push_back(GetPropTag(def));
    return tags;
}

TKwMAPIBuffer<mapi::SPropValue> TKwMAPIProp::ReadTags(std::vector<mapi::ULONG>& tags, mapi::ULONG& returned)
{
    TKwMAPIBuffer<mapi::SPropValue> values(*this);
    bool again = false;
    const mapi::HRESULT hr = WithCharWidth(0, [&](mapi::ULONG flags) {
        // The flag counts for tags without a type only; the width of the others is in the tag.
        if (again)
            for (mapi::ULONG& tag : tags)
                tag = WithOtherWidth(tag);
        again = true;
        returned = 0;
        TKwMAPITagArray array(tags);
        return MAPIProp().GetProps(array.Get(), flags, &returned, Out(values));
    });
    // The warning says that some property could not be had; its value says why.
    if (hr != mapi::MAPI_W_ERRORS_RETURNED)
        CheckMAPIResult(*this, u"GetProps", hr);
    if (!values)
        returned = 0;
    return values;
}

TKwMAPIBuffer<mapi::SPropValue> TKwMAPIProp::ReadExactly(std::vector<mapi::ULONG>& tags)
{
    mapi::ULONG returned = 0;
    TKwMAPIBuffer<mapi::SPropValue> values = ReadTags(tags, returned);
    if (returned < tags.size())
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sFewerValues, {tags.size(), returned})->Raise();
    return values;
}

TKwMAPIBuffer<mapi::SPropValue> TKwMAPIProp::GetPropValueArray(std::span<const TKwMAPIPropDef> defs,
                                                               mapi::ULONG& returned)
{
    CheckActive(u"GetPropValueArray");
    KwAssert(!defs.empty(), sNoDefinitions, unit);
    std::vector<mapi::ULONG> tags = TagsOf(defs);
    return ReadTags(tags, returned);
}

std::vector<TKwVariant> TKwMAPIProp::GetPropValues(const std::vector<TKwMAPIPropDef>& defs)
{
    CheckActive(u"GetPropValues");
    KwAssert(!defs.empty(), sNoDefinitions, unit);
    std::vector<mapi::ULONG> tags = TagsOf(defs);
    const TKwMAPIBuffer<mapi::SPropValue> read = ReadExactly(tags);
    std::vector<TKwVariant> values;
    values.reserve(defs.size());
    for (std::size_t i = 0; i < defs.size(); ++i) {
        const mapi::SPropValue& value = read.Get()[i];
        const bool failed =
            mapi::PROP_TYPE(value.ulPropTag) == mapi::PT_ERROR && value.Value.err != mapi::MAPI_E_NOT_FOUND;
        values.push_back(failed ? TKwVariant(TKwErrorCode{value.Value.err}) : KwPropValueToVariant(value));
    }
    return values;
}

void TKwMAPIProp::GetPropValues(IKwMAPIPropValueList& list)
{
    CheckActive(u"GetPropValues");
    std::vector<TKwMAPIPropDef> defs;
    for (std::int32_t i = 0, count = list.Get_Count(); i < count; ++i)
        defs.push_back(list.Get_Item(i));
    if (defs.empty())
        return;
    const std::vector<TKwVariant> values = GetPropValues(defs);
    for (std::size_t i = 0; i < values.size(); ++i)
        list.Set_Value(static_cast<std::int32_t>(i), values[i]);
}

void TKwMAPIProp::SetPropValues(IKwMAPIPropValueList& list)
{
    CheckActive(u"SetPropValues");
    std::vector<TKwMAPIPropValue> backed;
    std::vector<mapi::SPropValue> values;
    std::vector<mapi::ULONG> deleted;
    for (std::int32_t i = 0, count = list.Get_Count(); i < count; ++i) {
        const mapi::ULONG tag = GetPropTag(list.Get_Item(i));
        const TKwVariant value = list.Get_Value(i);
        if (value.IsEmptyOrNull()) {
            deleted.push_back(tag);
            continue;
        }
        values.push_back(backed.emplace_back(tag, value).Value());
    }
    // Before the calls: also one that fails may have written some of the values.
    if (FItems) {
        for (const mapi::SPropValue& value : values)
            FItems->ForgetTag(value.ulPropTag);
        for (const mapi::ULONG tag : deleted)
            FItems->ForgetTag(tag);
    }
    CheckProblems(u"SetProps", WriteValues(values));
    CheckProblems(u"DeleteProps", DeleteTags(deleted));
}

// ---- Saving

TKwMAPIBuffer<mapi::SPropProblemArray> TKwMAPIProp::WriteValues(std::vector<mapi::SPropValue>& values)
{
    TKwMAPIBuffer<mapi::SPropProblemArray> problems(*this);
    if (values.empty())
        return problems;
    const mapi::HRESULT hr = MAPIProp().SetProps(static_cast<mapi::ULONG>(values.size()), values.data(), Out(problems));
    CheckMAPIResult(*this, u"SetProps", hr);
    return problems;
}

TKwMAPIBuffer<mapi::SPropProblemArray> TKwMAPIProp::DeleteTags(const std::vector<mapi::ULONG>& tags)
{
    TKwMAPIBuffer<mapi::SPropProblemArray> problems(*this);
    if (tags.empty())
        return problems;
    TKwMAPITagArray array(tags);
    CheckMAPIResult(*this, u"DeleteProps", MAPIProp().DeleteProps(array.Get(), Out(problems)));
    // What was not there is deleted, as was wanted.
    for (mapi::ULONG i = 0; problems && i < problems->cProblem; ++i)
        if (problems->aProblem[i].scode == mapi::MAPI_E_NOT_FOUND)
            problems->aProblem[i].scode = mapi::S_OK;
    return problems;
}

void TKwMAPIProp::CheckProblems(WideView methodName, const TKwMAPIBuffer<mapi::SPropProblemArray>& problems)
{
    for (mapi::ULONG i = 0; problems && i < problems->cProblem; ++i)
        CheckMAPIResult(*this, methodName, problems->aProblem[i].scode);
}

void TKwMAPIProp::PersistPendingChanges()
{
    CheckActive(u"PersistPendingChanges");
    if (!GetModified())
        return;
    std::vector<TKwRef<TKwMAPIPropItem>> written;
    std::vector<TKwRef<TKwMAPIPropItem>> deleted;
    std::vector<mapi::SPropValue> values;
    std::vector<mapi::ULONG> tags;
    for (TKwMAPIPropItem* item : FItems->FModified) {
        if (item->Deletes()) {
            deleted.emplace_back(item);
            tags.push_back(item->FTag);
        } else {
            written.emplace_back(item);
            values.push_back(item->GetMAPIValue());
        }
    }
    const TKwMAPIBuffer<mapi::SPropProblemArray> unwritten = WriteValues(values);
    FItems->MarkWritten(written, unwritten.Get());
    CheckProblems(u"SetProps", unwritten);
    const TKwMAPIBuffer<mapi::SPropProblemArray> undeleted = DeleteTags(tags);
    FItems->MarkWritten(deleted, undeleted.Get());
    CheckProblems(u"DeleteProps", undeleted);
}

void TKwMAPIProp::SaveChanges(TKwMAPISaveMethod saveMethod)
{
    CheckActive(u"SaveChanges");
    PersistPendingChanges();
    const mapi::HRESULT hr = MAPIProp().SaveChanges(SaveFlags(saveMethod));
    switch (hr) {
    case mapi::MAPI_E_OBJECT_CHANGED:
        CreateKwMAPIException(hr, sObjectChanged, {GetClassName()})->Raise();
    case mapi::MAPI_E_OBJECT_DELETED:
        CreateKwMAPIException(hr, sObjectDeleted, {GetClassName()})->Raise();
    case mapi::MAPI_E_CORRUPT_DATA:
        CreateKwMAPIException(hr, sNetworkError, {GetClassName()})->Raise();
    case mapi::MAPI_E_NO_ACCESS:
        CreateKwMAPIException(hr, sCannotKeepOpen, {GetClassName()})->Raise();
    default:
        CheckMAPIResult(*this, u"SaveChanges", hr);
    }
    if (saveMethod == smKeepReadOnly)
        SetAccessLevel(alReadOnly);
    // An object that was not kept open cannot be read any more; what the cache knows of it stays.
    if (FItems && saveMethod != smClose)
        FItems->ForgetUnmodified();
}

void TKwMAPIProp::DisplayProperties()
{
    CheckActive(u"DisplayProperties");
    const TKwShowPropertiesProc proc = ShowPropertiesProc(); // a copy: the procedure may set another one
    if (!proc)
        CreateKwMAPIException(KwNotSupported, sNoShowProcedure, {GetClassName()})->Raise();
    proc(*this);
}

} // namespace deftmapi
