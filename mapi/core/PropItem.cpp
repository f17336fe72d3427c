// One cached property: its value, read on first access, and the views of it.
#include "mapi/core/uKwMAPIBase.hpp"

#include "mapi/core/PropRegistry.hpp"
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/core/uKwMAPIProps.hpp"

#include <array>
#include <cstring>

namespace deftmapi
{

namespace
{

constexpr auto sDetached = u"Failed to execute %s.%s!\r\nThe parentobject of this instance has been destroyed!";
constexpr auto sUnsupportedType = u"The PropList does not support data of type %d!";

bool HasVariantForm(mapi::ULONG type)
{
    switch (type & ~mapi::MV_FLAG) {
    case mapi::PT_OBJECT:
    case mapi::PT_SRESTRICTION:
    case mapi::PT_ACTIONS:
    case mapi::PT_FILE_HANDLE:
    case mapi::PT_FILE_EA:
    case mapi::PT_VIRTUAL:
        return false;
    default:
        return true;
    }
}

} // namespace

TKwMAPIPropItem::TKwMAPIPropItem(TKwMAPIPropItems& items, mapi::ULONG tag, const TKwMAPIPropInfo* info, WideString name)
    : TKwMAPIObject(&items), FTag(tag), FReadTag(tag), FInfo(info), FName(std::move(name))
{}

TKwMAPIPropItem::~TKwMAPIPropItem() = default;

WideString TKwMAPIPropItem::GetClassName() const
{
    return u"TKwMAPIPropItem";
}

TKwMAPIPropItems& TKwMAPIPropItem::Items() const noexcept
{
    return *static_cast<TKwMAPIPropItems*>(Owner());
}

void TKwMAPIPropItem::CheckActive(WideView methodName) const
{
    TKwMAPIObject::CheckActive(methodName);
    Items().CheckActive(methodName);
    if (FDetached)
        CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sDetached, {GetClassName(), methodName})->Raise();
}

bool TKwMAPIPropItem::DisableUnicode() const noexcept
{
    return Owner() != nullptr ? Items().DisableUnicode() : TKwMAPIObject::DisableUnicode();
}

TKwMAPIPropDef TKwMAPIPropItem::Get_PropDef() const
{
    return FInfo != nullptr ? FInfo->Hash : 0;
}

WideString TKwMAPIPropItem::Get_PropName() const
{
    return FInfo != nullptr ? WideString(FInfo->PropName()) : FName;
}

// ---- Reading

void TKwMAPIPropItem::Accept(const mapi::SPropValue& value, mapi::ULONG tag)
{
    FReadTag = tag;
    const mapi::ULONG type = mapi::PROP_TYPE(value.ulPropTag);
    if (type == mapi::PT_ERROR) {
        FError = value.Value.err;
        if (FError == mapi::MAPI_E_NOT_FOUND)
            FState = TState::Known;
        else
            FState = FError == mapi::MAPI_E_NOT_ENOUGH_MEMORY ? TState::Large : TState::Failed;
        FValue = {};
        return;
    }
    if (mapi::PROP_TYPE(FTag) == mapi::PT_UNSPECIFIED) {
        FTag = FReadTag = mapi::CHANGE_PROP_TYPE(FTag, type);
        Items().FByTag.try_emplace(FTag, this); // found under both, so that nobody adds a second item for it
    }
    TKwVariant read = KwPropValueToVariant(value);
    // An 8-bit provider's answer to a property of wide text.
    if (mapi::PROP_TYPE(FTag) == mapi::PT_UNICODE && type == mapi::PT_STRING8)
        read = read.AsStringW();
    FValue = std::move(read);
    FState = HasVariantForm(type) ? TState::Known : TState::Large;
    FError = 0;
}

void TKwMAPIPropItem::Probe()
{
    if (FState != TState::Unread)
        return;
    std::vector<mapi::ULONG> tags{FTag};
    const TKwMAPIBuffer<mapi::SPropValue> value = Items().Prop().ReadExactly(tags);
    Accept(*value, tags.front());
}

void TKwMAPIPropItem::ReadLarge()
{
    const mapi::ULONG type = mapi::PROP_TYPE(FReadTag);
    if (!HasVariantForm(type))
        return; // an object: there is nothing that a variant could hold
    if (type != mapi::PT_UNICODE && type != mapi::PT_STRING8 && type != mapi::PT_BINARY)
        RaiseMAPIResult(Items().Prop(), u"GetProps", FError);
    const TKwComPtr<mapi::IStream> stream = Items().Prop().OpenStream(FReadTag, alReadOnly, false);
    TKwBytes bytes;
    std::array<std::uint8_t, 64 * 1024> chunk;
    for (mapi::ULONG read = 1; read != 0;) {
        read = 0;
        const mapi::HRESULT hr = stream->Read(chunk.data(), static_cast<mapi::ULONG>(chunk.size()), &read);
        if (hr != mapi::S_FALSE) // fewer bytes than asked for
            CheckMAPIResult(Items().Prop(), u"Read", hr);
        bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + read);
    }
    if (type == mapi::PT_BINARY) {
        FValue = std::move(bytes);
    } else if (type == mapi::PT_STRING8) {
        std::string text(bytes.begin(), bytes.end());
        text.erase(text.find_last_not_of('\0') + 1); // some providers store the end mark
        FValue = TKwAnsiText{std::move(text)};
        if (Get_DataType() == mapi::PT_UNICODE)
            FValue = FValue.AsStringW();
    } else {
        WideString text(bytes.size() / sizeof(char16_t), u'\0');
        std::memcpy(text.data(), bytes.data(), text.size() * sizeof(char16_t));
        text.erase(text.find_last_not_of(u'\0') + 1);
        FValue = std::move(text);
    }
    FState = TState::Known;
    FError = 0;
}

void TKwMAPIPropItem::Load()
{
    Probe();
    if (FState == TState::Failed)
        RaiseMAPIResult(Items().Prop(), u"GetProps", FError);
    if (FState == TState::Large)
        ReadLarge();
}

void TKwMAPIPropItem::Forget() noexcept
{
    FValue = {};
    FMAPIValue.reset();
    FState = TState::Unread;
    FError = 0;
}

void TKwMAPIPropItem::Detach() noexcept
{
    Forget();
    FModified = false;
    FDetached = true;
}

bool TKwMAPIPropItem::HasValue()
{
    CheckActive(u"HasValue");
    Probe();
    if (FState == TState::Failed)
        RaiseMAPIResult(Items().Prop(), u"GetProps", FError);
    return FState == TState::Large || !FValue.IsEmptyOrNull();
}

TKwVariant TKwMAPIPropItem::Get_Value()
{
    CheckActive(u"Get_Value");
    Load();
    return FValue;
}

// ---- Writing

void TKwMAPIPropItem::Set_Value(const TKwVariant& value)
{
    CheckActive(u"Set_Value");
    // A list is replaced by its values, so that later changes of the list do not change the property.
    TKwVariant copy = value.Kind() == TKwVarKind::vkInterface ? TKwVariant(KwElementsOf(value)) : value;
    std::optional<TKwMAPIPropValue> mapiValue;
    if (!copy.IsEmptyOrNull())
        mapiValue.emplace(FTag, copy);
    MarkModified();
    FValue = std::move(copy);
    FMAPIValue = std::move(mapiValue);
    FState = TState::Known;
    FError = 0;
}

void TKwMAPIPropItem::RequireValue() const
{
    // The property is there, but it is an object: nothing that could be written, and no sign to delete it.
    if (FState == TState::Large)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sUnsupportedType, {mapi::PROP_TYPE(FTag)})->Raise();
}

void TKwMAPIPropItem::MarkModified()
{
    if (FModified)
        return;
    Items().FModified.push_back(this);
    FModified = true;
}

void TKwMAPIPropItem::SetModified(WordBool modified)
{
    CheckActive(u"SetModified");
    if (modified == FModified)
        return;
    if (!modified) {
        std::erase(Items().FModified, this);
        FModified = false;
        return;
    }
    Load(); // a modified property is written, and an unread one would be taken for deleted
    RequireValue();
    MarkModified();
}

const mapi::SPropValue& TKwMAPIPropItem::GetMAPIValue()
{
    CheckActive(u"GetMAPIValue");
    Load();
    RequireValue();
    if (!FMAPIValue) {
        if (FValue.IsEmptyOrNull())
            FMAPIValue.emplace(mapi::CHANGE_PROP_TYPE(FTag, mapi::PT_ERROR), TKwErrorCode{mapi::MAPI_E_NOT_FOUND});
        else
            FMAPIValue.emplace(FTag, FValue);
    }
    return FMAPIValue->Value();
}

void TKwMAPIPropItem::SetMAPIValue(const mapi::SPropValue& value)
{
    const mapi::ULONG type = mapi::PROP_TYPE(value.ulPropTag);
    if (type == mapi::PT_ERROR || !HasVariantForm(type))
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sUnsupportedType, {type})->Raise();
    Set_Value(KwPropValueToVariant(value));
}

// ---- Views

std::int32_t TKwMAPIPropItem::Get_AsInteger()
{
    return Get_Value().AsInteger();
}

void TKwMAPIPropItem::Set_AsInteger(std::int32_t value)
{
    Set_Value(value);
}

std::int64_t TKwMAPIPropItem::Get_AsLargeInteger()
{
    return Get_Value().AsLargeInteger();
}

void TKwMAPIPropItem::Set_AsLargeInteger(std::int64_t value)
{
    Set_Value(value);
}

WideString TKwMAPIPropItem::Get_AsString()
{
    return Get_Value().AsStringW();
}

void TKwMAPIPropItem::Set_AsString(WideView value)
{
    Set_Value(value);
}

std::string TKwMAPIPropItem::Get_AsStringA()
{
    return Get_Value().AsStringA();
}

void TKwMAPIPropItem::Set_AsStringA(std::string_view value)
{
    Set_Value(TKwAnsiText{std::string(value)});
}

WideString TKwMAPIPropItem::Get_AsStringW()
{
    return Get_Value().AsStringW();
}

void TKwMAPIPropItem::Set_AsStringW(WideView value)
{
    Set_Value(value);
}

WordBool TKwMAPIPropItem::Get_AsBoolean()
{
    return Get_Value().AsBoolean();
}

void TKwMAPIPropItem::Set_AsBoolean(WordBool value)
{
    Set_Value(value);
}

TKwDate TKwMAPIPropItem::Get_AsDateTime()
{
    return Get_Value().AsDateTime();
}

void TKwMAPIPropItem::Set_AsDateTime(TKwDate value)
{
    Set_Value(value);
}

mapi::SYSTEMTIME TKwMAPIPropItem::Get_AsSystemTime()
{
    return KwFileTimeToSystemTime(Get_Value().AsFileTime());
}

void TKwMAPIPropItem::Set_AsSystemTime(const mapi::SYSTEMTIME& value)
{
    Set_Value(KwSystemTimeToFileTime(value));
}

double TKwMAPIPropItem::Get_AsFloat()
{
    return Get_Value().AsFloat();
}

void TKwMAPIPropItem::Set_AsFloat(double value)
{
    Set_Value(value);
}

mapi::GUID TKwMAPIPropItem::Get_AsGUID()
{
    return KwStrToGuid(Get_Value().AsStringW());
}

void TKwMAPIPropItem::Set_AsGUID(const mapi::GUID& value)
{
    Set_Value(KwGuidToStr(value));
}

TKwRef<IKwMAPIValueList> TKwMAPIPropItem::Get_AsList()
{
    const TKwVariant value = Get_Value();
    TKwRef<TKwMAPIValueList> list = KwMake<TKwMAPIValueList>();
    if (!value.IsEmptyOrNull())
        for (const TKwVariant& element : value.AsArray())
            list->Add(element);
    list->First();
    return list;
}

void TKwMAPIPropItem::Set_AsList(IKwMAPIValueList& list)
{
    Set_Value(TKwRef<IKwInterface>(&list));
}

} // namespace deftmapi
