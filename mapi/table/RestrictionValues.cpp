// The nodes of filter expressions that compare with a value.
#include "mapi/core/uKwMAPIEntryID.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "mapi/headers/uKwMAPITableConstantsH.hpp"
#include "mapi/table/uKwMAPITable.hpp"
#include "support/uKwEncoding.hpp"

#include <algorithm>
#include <limits>

namespace deftmapi
{

namespace
{

constexpr auto sUnsupportedProperty = u"You can not use this property in a property restriction!";

bool IsComparable(mapi::ULONG type) noexcept
{
    switch (type) {
    case mapi::PT_I2:
    case mapi::PT_LONG:
    case mapi::PT_R4:
    case mapi::PT_DOUBLE:
    case mapi::PT_APPTIME:
    case mapi::PT_BOOLEAN:
    case mapi::PT_I8:
    case mapi::PT_STRING8:
    case mapi::PT_UNICODE:
    case mapi::PT_SYSTIME:
    case mapi::PT_CLSID:
    case mapi::PT_BINARY:
    case mapi::PT_MV_UNICODE:
        return true;
    default:
        return false;
    }
}

TKwVariant ZeroIfUnset(const TKwVariant& value)
{
    return value.IsEmptyOrNull() ? TKwVariant(std::int32_t{0}) : value;
}

/// Bits that are compared for being the same may be given as a number without a sign. Which is larger is asked of
/// numbers with one: what does not fit there is refused when it is converted.
TKwVariant LongOf(const TKwVariant& value, TKwMAPIOperator relation)
{
    const TKwVariant number = ZeroIfUnset(value);
    if (relation != oEqual && relation != oNotEqual)
        return number;
    const std::int64_t wide = number.AsLargeInteger();
    const bool isUnsigned = wide > std::numeric_limits<std::int32_t>::max() &&
                            wide <= std::int64_t{std::numeric_limits<std::uint32_t>::max()};
    return isUnsigned ? TKwVariant(static_cast<std::int32_t>(static_cast<std::uint32_t>(wide))) : number;
}

/// Dates and numbers of days count in UTC, as file times do.
TKwVariant TimeOf(const TKwVariant& value)
{
    if (value.TryGet<TKwFileTime>() != nullptr)
        return value;
    if (const auto* date = value.TryGet<TKwDate>())
        return KwDateToFileTime(*date);
    if (const auto* days = value.TryGet<double>())
        return KwDateToFileTime(TKwDate{*days});
    return TKwFileTime{static_cast<std::uint64_t>(value.AsLargeInteger())};
}

TKwVariant BytesOf(const TKwVariant& value)
{
    if (const auto* text = value.TryGet<TKwAnsiText>())
        return EntryIDToArr(StrToEntryID(text->Text));
    if (const auto* text = value.TryGet<WideString>())
        return EntryIDToArr(StrToEntryID(*text));
    return value.IsArray() ? value.AsBytes() : EntryIDToArr(value);
}

/// The lines of a text, which end with CR LF, CR or LF; what follows the last of these is a line unless it is empty.
TKwVariant LinesOf(const TKwVariant& value)
{
    const WideString text = value.AsStringW();
    TKwVariant::Array lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find_first_of(u"\r\n", begin), text.size());
        lines.emplace_back(text.substr(begin, end - begin));
        begin = end + (text.compare(end, 2, u"\r\n") == 0 ? 2 : 1);
    }
    return lines;
}

/// The value in the kind that the type takes; nothing for types whose values are left as they are.
std::optional<TKwVariant> ValueFor(mapi::ULONG type, const TKwVariant& value, TKwMAPIOperator relation)
{
    switch (type) {
    case mapi::PT_I2:
    case mapi::PT_R4:
    case mapi::PT_DOUBLE:
        return ZeroIfUnset(value);
    case mapi::PT_LONG:
        return LongOf(value, relation);
    case mapi::PT_APPTIME:
    case mapi::PT_BOOLEAN:
    case mapi::PT_STRING8:
    case mapi::PT_UNICODE:
    case mapi::PT_CLSID:
        return value;
    case mapi::PT_SYSTIME:
        return TimeOf(value);
    case mapi::PT_BINARY:
        return BytesOf(value);
    case mapi::PT_MV_UNICODE:
        return LinesOf(value);
    default:
        return std::nullopt;
    }
}

} // namespace

// ---- TKwMAPIRestrictionContent

TKwMAPIRestrictionContent::TKwMAPIRestrictionContent(TKwMAPITableBase& table) : TKwMAPIRestriction(table, rtContent) {}

void TKwMAPIRestrictionContent::Set_PropDef(TKwMAPIPropDef def)
{
    FProp = {def, ResolveTag(def)};
}

void TKwMAPIRestrictionContent::Set_Value(WideView value)
{
    FAnsiValue = TKwEncoding(0).FromWide(value);
    FWideValue = value;
}

void TKwMAPIRestrictionContent::Build(mapi::SRestriction& record)
{
    // A multi-valued property is compared value by value, each with a single text.
    FValueRecord.ulPropTag = FProp.Tag & ~mapi::MV_FLAG;
    FValueRecord.dwAlignPad = 0;
    if (mapi::PROP_TYPE(FValueRecord.ulPropTag) == mapi::PT_STRING8)
        FValueRecord.Value.lpszA = FAnsiValue.data();
    else
        FValueRecord.Value.lpszW = FWideValue.data();
    mapi::ULONG fuzzyLevel = static_cast<mapi::ULONG>(FMatchType);
    if (FCase)
        fuzzyLevel |= mapi::FL_IGNORECASE;
    if (FAccent)
        fuzzyLevel |= mapi::FL_IGNORENONSPACE;
    if (FLoose)
        fuzzyLevel |= mapi::FL_LOOSE;
    record.res.resContent = {fuzzyLevel, FProp.Tag, &FValueRecord};
}

// ---- TKwMAPIRestrictionProperty

TKwMAPIRestrictionProperty::TKwMAPIRestrictionProperty(TKwMAPITableBase& table) : TKwMAPIRestriction(table, rtProperty)
{}

void TKwMAPIRestrictionProperty::Set_PropDef(TKwMAPIPropDef def)
{
    FProp = {def, ResolveTag(def)};
    if (!IsComparable(mapi::PROP_TYPE(FProp.Tag)))
        CreateKwMAPIException(mapi::MAPI_E_NO_SUPPORT, sUnsupportedProperty)->Raise();
}

void TKwMAPIRestrictionProperty::Build(mapi::SRestriction& record)
{
    if (const std::optional<TKwVariant> value = ValueFor(mapi::PROP_TYPE(FProp.Tag), FValue, FOperator)) {
        FConverted = TKwMAPIPropValue(FProp.Tag, *value);
        FValueRecord.Value = FConverted->Value().Value;
    }
    FValueRecord.ulPropTag = FProp.Tag;
    FValueRecord.dwAlignPad = 0;
    record.res.resProperty = {static_cast<mapi::ULONG>(FOperator), FProp.Tag, &FValueRecord};
}

} // namespace deftmapi
