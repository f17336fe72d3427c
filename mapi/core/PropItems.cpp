// The cache: finding and making items, and the list of modified ones.
#include "mapi/core/uKwMAPIBase.hpp"

#include "mapi/core/PropRegistry.hpp"
#include "mapi/core/uKwMAPIProps.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr auto sNamedTag = u"The PropByTag does not support named properties!";
constexpr auto sIndex = u"List index out of bounds (%d)";

mapi::ULONG EightBit(mapi::ULONG tag)
{
    const mapi::ULONG type = mapi::PROP_TYPE(tag);
    return KwIsWideTextType(type) ? mapi::CHANGE_PROP_TYPE(tag, KwTwinTextType(type)) : tag;
}

/// The codes by which a store says that it has no tag for a name; all others say that it could not tell.
bool IsUnknownName(mapi::HRESULT code)
{
    return code == mapi::MAPI_E_NOT_FOUND || code == mapi::MAPI_E_NO_SUPPORT || code == mapi::MAPI_W_ERRORS_RETURNED;
}

WideString NameOf(const mapi::MAPINAMEID& nameID)
{
    const WideString set = KwGuidToStr(nameID.lpguid != nullptr ? *nameID.lpguid : IID_EMPTY);
    if (nameID.ulKind == mapi::MNID_STRING)
        return KwFormat(u"%s:%s", {set, nameID.Kind.lpwstrName != nullptr ? nameID.Kind.lpwstrName : u""});
    return KwFormat(u"%s:0x%.8x", {set, nameID.Kind.lID});
}

} // namespace

TKwMAPIPropItems::TKwMAPIPropItems(TKwMAPIProp& prop) : TKwMAPIObject(&prop) {}

TKwMAPIPropItems::~TKwMAPIPropItems()
{
    Clear();
    NotifyChildren();
}

WideString TKwMAPIPropItems::GetClassName() const
{
    return u"TKwMAPIPropItems";
}

TKwMAPIProp& TKwMAPIPropItems::Prop() const noexcept
{
    return *static_cast<TKwMAPIProp*>(Owner());
}

void TKwMAPIPropItems::CheckActive(WideView methodName) const
{
    TKwMAPIObject::CheckActive(methodName);
    Prop().CheckActive(methodName);
}

bool TKwMAPIPropItems::DisableUnicode() const noexcept
{
    return Owner() != nullptr ? Prop().DisableUnicode() : TKwMAPIObject::DisableUnicode();
}

bool TKwMAPIPropItems::IsNamedTag(mapi::ULONG tag) noexcept
{
    constexpr mapi::ULONG firstNamed = 0x8000;
    return mapi::PROP_ID(tag) >= firstNamed;
}

std::int32_t TKwMAPIPropItems::Get_Count()
{
    CheckActive(u"Get_Count");
    return static_cast<std::int32_t>(FItems.size());
}

TKwRef<IKwMAPIProperty> TKwMAPIPropItems::Get_Item(std::int32_t index)
{
    CheckActive(u"Get_Item");
    return At(index);
}

const TKwRef<TKwMAPIPropItem>& TKwMAPIPropItems::At(std::int32_t index) const
{
    if (index < 0 || static_cast<std::size_t>(index) >= FItems.size())
        throw EKwListError(sIndex, {index}, mapi::MAPI_E_INVALID_PARAMETER);
    return FItems[static_cast<std::size_t>(index)];
}

TKwMAPIPropItem& TKwMAPIPropItems::Append(mapi::ULONG tag, const TKwMAPIPropInfo* info, WideString name)
{
    TKwRef<TKwMAPIPropItem> item = KwMake<TKwMAPIPropItem>(*this, tag, info, std::move(name));
    TKwMAPIPropItem& added = *FItems.emplace_back(std::move(item));
    try {
        FByTag.try_emplace(tag, &added);
    } catch (...) {
        FItems.pop_back();
        throw;
    }
    return added;
}

TKwMAPIPropItem* TKwMAPIPropItems::FindPropByDef(const TKwMAPIPropInfo& info)
{
    const TKwMAPIPropInfo& own = PI(info.Hash);
    if (const auto known = FByDef.find(own.Hash); known != FByDef.end())
        return known->second;
    TKwMAPIPropItem* found = nullptr;
    if (!own.Named) {
        const auto byTag = FByTag.find(::deftmapi::GetPropTag(own));
        found = byTag != FByTag.end() ? byTag->second : nullptr;
    } else {
        const auto same = std::find_if(FItems.begin(), FItems.end(), [&](const TKwRef<TKwMAPIPropItem>& item) {
            return item->FInfo != nullptr && item->FInfo->Named && SameProp(*item->FInfo, own, true);
        });
        found = same != FItems.end() ? same->Get() : nullptr;
    }
    if (found != nullptr)
        FByDef.emplace(own.Hash, found);
    return found;
}

TKwRef<IKwMAPIProperty> TKwMAPIPropItems::FindPropByDef(TKwMAPIPropDef def)
{
    CheckActive(u"FindPropByDef");
    return TKwRef<IKwMAPIProperty>(FindPropByDef(GetPropInfo(def)));
}

TKwRef<TKwMAPIPropItem> TKwMAPIPropItems::FindOrAdd(const TKwMAPIPropInfo& info, bool raiseOnUnknownName)
{
    if (TKwMAPIPropItem* found = FindPropByDef(info))
        return TKwRef<TKwMAPIPropItem>(found);
    const TKwMAPIPropInfo& own = PI(info.Hash);
    mapi::ULONG tag = 0;
    try {
        tag = _GetPropTag(own, &Prop(), true);
    } catch (const EKwMAPIException& error) {
        if (raiseOnUnknownName || !IsUnknownName(error.ErrorCode()))
            throw;
        return nullptr;
    }
    // A named property that was cached when no definition was known for it.
    const auto byTag = FByTag.find(tag);
    TKwMAPIPropItem& item = byTag != FByTag.end() ? *byTag->second : Append(tag, &own, {});
    if (item.FInfo == nullptr)
        item.FInfo = &own;
    FByDef.emplace(own.Hash, &item);
    return TKwRef<TKwMAPIPropItem>(&item);
}

TKwRef<TKwMAPIPropItem> TKwMAPIPropItems::PropByName(const TKwMAPIPropInfo& info)
{
    CheckActive(u"PropByName");
    return FindOrAdd(info, true);
}

TKwRef<IKwMAPIProperty> TKwMAPIPropItems::PropByName(TKwMAPIPropDef def)
{
    CheckActive(u"PropByName");
    return FindOrAdd(GetPropInfo(def), true);
}

TKwRef<IKwMAPIProperty> TKwMAPIPropItems::Add(TKwMAPIPropDef def)
{
    CheckActive(u"Add");
    return FindOrAdd(GetPropInfo(def), true);
}

TKwRef<IKwMAPIProperty> TKwMAPIPropItems::FindPropByTag(mapi::ULONG tag)
{
    CheckActive(u"FindPropByTag");
    const auto found = FByTag.find(DisableUnicode() ? EightBit(tag) : tag);
    return TKwRef<IKwMAPIProperty>(found != FByTag.end() ? found->second : nullptr);
}

TKwRef<IKwMAPIProperty> TKwMAPIPropItems::PropByTag(mapi::ULONG tag, WordBool create)
{
    CheckActive(u"PropByTag");
    if (IsNamedTag(tag))
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNamedTag)->Raise();
    if (DisableUnicode())
        tag = EightBit(tag);
    if (const auto found = FByTag.find(tag); found != FByTag.end())
        return TKwRef<IKwMAPIProperty>(found->second);
    if (!create)
        return nullptr;
    return TKwRef<IKwMAPIProperty>(&Append(tag, FindProp(tag, true), KwFormat(u"0x%.8x", {tag})));
}

TKwRef<IKwMAPIProperty> TKwMAPIPropItems::PropByTag(mapi::ULONG tag, const mapi::MAPINAMEID& nameID)
{
    CheckActive(u"PropByTag");
    if (DisableUnicode())
        tag = EightBit(tag);
    const TKwMAPIPropInfo* info = FindProp(tag, nameID, true);
    if (TKwMAPIPropItem* found = info != nullptr ? FindPropByDef(*info) : nullptr)
        return TKwRef<IKwMAPIProperty>(found);
    if (const auto found = FByTag.find(tag); found != FByTag.end())
        return TKwRef<IKwMAPIProperty>(found->second);
    return TKwRef<IKwMAPIProperty>(&Append(tag, info, NameOf(nameID)));
}

void TKwMAPIPropItems::UnnamedByTag(mapi::ULONG tag)
{
    if (DisableUnicode())
        tag = EightBit(tag);
    if (!FByTag.contains(tag))
        Append(tag, nullptr, KwFormat(u"0x%.8x", {tag}));
}

WordBool TKwMAPIPropItems::HasProp(TKwMAPIPropDef def)
{
    CheckActive(u"HasProp");
    // A name that the store does not give a tag for is no property of the object.
    const TKwRef<TKwMAPIPropItem> item = FindOrAdd(GetPropInfo(def), false);
    return item && item->HasValue();
}

void TKwMAPIPropItems::DeleteProperty(TKwMAPIPropDef def)
{
    DeleteProperty(GetPropInfo(def));
}

void TKwMAPIPropItems::DeleteProperty(const TKwMAPIPropInfo& info)
{
    CheckActive(u"DeleteProperty");
    FindOrAdd(info, true)->Set_Value({});
}

void TKwMAPIPropItems::Delete(std::int32_t index)
{
    CheckActive(u"Delete");
    const TKwRef<TKwMAPIPropItem> item = At(index);
    std::erase(FModified, item.Get());
    std::erase_if(FByDef, [&](const auto& entry) { return entry.second == item.Get(); });
    std::erase_if(FByTag, [&](const auto& entry) { return entry.second == item.Get(); });
    FItems.erase(FItems.begin() + index);
    item->Detach();
}

void TKwMAPIPropItems::Clear() noexcept
{
    for (const TKwRef<TKwMAPIPropItem>& item : FItems)
        item->Detach();
    FModified.clear();
    FByDef.clear();
    FByTag.clear();
    FItems.clear();
}

void TKwMAPIPropItems::ForgetUnmodified() noexcept
{
    for (const TKwRef<TKwMAPIPropItem>& item : FItems)
        if (!item->FModified)
            item->Forget();
}

void TKwMAPIPropItems::ForgetTag(mapi::ULONG tag) noexcept
{
    // By identifier: the same property may be cached under its text type of the other width, too.
    for (const TKwRef<TKwMAPIPropItem>& item : FItems)
        if (mapi::PROP_ID(item->FTag) == mapi::PROP_ID(tag) && !item->FModified)
            item->Forget();
}

void TKwMAPIPropItems::MarkWritten(const std::vector<TKwRef<TKwMAPIPropItem>>& written,
                                   const mapi::SPropProblemArray* problems) noexcept
{
    for (const TKwRef<TKwMAPIPropItem>& item : written)
        item->FModified = false;
    for (mapi::ULONG i = 0; problems != nullptr && i < problems->cProblem; ++i) {
        const mapi::SPropProblem& problem = problems->aProblem[i];
        if (problem.scode != mapi::S_OK && problem.ulIndex < written.size())
            written[problem.ulIndex]->FModified = true;
    }
    std::erase_if(FModified, [](const TKwMAPIPropItem* item) { return !item->FModified; });
}

} // namespace deftmapi
