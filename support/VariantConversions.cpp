// The conversions of TKwVariant, one per target form.
#include "support/uKwEncoding.hpp"
#include "support/uKwExceptions.hpp"
#include "support/uKwVariant.hpp"
#include "support/VariantErrors.hpp"
#include "support/VariantNumbers.hpp"

#include <limits>

namespace deftmapi
{

using namespace variantnumbers;

namespace
{

constexpr auto sNoConversion = u"A value of type %s cannot be converted to %s!";
constexpr auto sNoNumber = u"\"%s\" is not a number!";
constexpr auto sNoTime = u"\"%s\" is not a date or time!";
constexpr auto sOutOfRange = u"The value is out of range!";
constexpr auto sTrue = u"True";
constexpr auto sFalse = u"False";
constexpr std::int32_t typeMismatch = static_cast<std::int32_t>(0x80020005);
constexpr std::int32_t overflow = static_cast<std::int32_t>(0x8002000A);
constexpr std::size_t longestQuote = 80;

constexpr const char16_t* kindNames[] = {u"Empty",      u"Null",       u"SmallInt", u"LongInt",  u"Int64",    u"Single",
                                         u"Double",     u"Currency",   u"Date",     u"FileTime", u"Boolean",  u"Error",
                                         u"WideString", u"AnsiString", u"Bytes",    u"Array",    u"Interface"};

[[noreturn]] void RaiseKind(const TKwVariant& v, WideView to)
{
    RaiseNoConversion(kindNames[static_cast<std::size_t>(v.Kind())], to);
}

bool IsText(const TKwVariant& v) noexcept
{
    return v.Kind() == TKwVarKind::vkWideString || v.Kind() == TKwVarKind::vkAnsiString;
}

/// The number that the variant is, spells (text) or stands for (Empty; a date is its number of days).
TNumber ToNumber(const TKwVariant& v, WideView target)
{
    if (const auto number = NumberOf(v))
        return *number;
    if (v.IsEmpty())
        return {std::int64_t{0}};
    if (const auto* date = v.TryGet<TKwDate>())
        return {date->Days};
    if (const auto* time = v.TryGet<TKwFileTime>())
        return {KwFileTimeToDate(*time).Days};
    if (!IsText(v))
        RaiseKind(v, target);
    const WideString text = v.AsStringW();
    const WideView trimmed = KwTrim(text);
    if (KwSameText(trimmed, sTrue))
        return {std::int64_t{-1}};
    if (KwSameText(trimmed, sFalse))
        return {std::int64_t{0}};
    return ParseNumber(text);
}

} // namespace

namespace variantnumbers
{

void RaiseNoConversion(WideView from, WideView to)
{
    throw EKwConvertError(sNoConversion, {from, to}, typeMismatch);
}

void RaiseNoNumber(WideView text)
{
    throw EKwConvertError(sNoNumber, {text.substr(0, longestQuote)}, typeMismatch);
}

void RaiseNoTime(WideView text)
{
    throw EKwConvertError(sNoTime, {text.substr(0, longestQuote)}, typeMismatch);
}

void RaiseOutOfRange()
{
    throw EKwConvertError(sOutOfRange, overflow);
}

} // namespace variantnumbers

std::int32_t TKwVariant::AsInteger() const
{
    const std::int64_t value = ToInteger(ToNumber(*this, u"LongInt"));
    if (value < std::numeric_limits<std::int32_t>::min() || value > std::numeric_limits<std::int32_t>::max())
        RaiseOutOfRange();
    return static_cast<std::int32_t>(value);
}

std::int64_t TKwVariant::AsLargeInteger() const
{
    return ToInteger(ToNumber(*this, u"Int64"));
}

double TKwVariant::AsFloat() const
{
    return ToDouble(ToNumber(*this, u"Double"));
}

bool TKwVariant::AsBoolean() const
{
    return ToDouble(ToNumber(*this, u"Boolean")) != 0;
}

TKwCurrency TKwVariant::AsCurrency() const
{
    return ToCurrency(ToNumber(*this, u"Currency"));
}

WideString TKwVariant::AsStringW() const
{
    if (const auto* text = TryGet<WideString>())
        return *text;
    if (const auto* text = TryGet<TKwAnsiText>())
        return TKwEncoding().ToWide(text->Text);
    if (const auto* boolean = TryGet<bool>())
        return *boolean ? sTrue : sFalse;
    if (const auto number = NumberOf(*this))
        return NumberToText(*number);
    if (Kind() == TKwVarKind::vkDate || Kind() == TKwVarKind::vkFileTime)
        return KwFileTimeToIso(AsFileTime());
    if (!IsEmpty())
        RaiseKind(*this, u"WideString");
    return {};
}

std::string TKwVariant::AsStringA(unsigned codePage) const
{
    const auto* text = TryGet<TKwAnsiText>();
    if (text != nullptr && (codePage == 0 || codePage == TKwEncoding::SystemCodePage()))
        return text->Text;
    return TKwEncoding(codePage).FromWide(AsStringW());
}

TKwDate TKwVariant::AsDateTime() const
{
    if (const auto* date = TryGet<TKwDate>())
        return *date;
    if (const auto* time = TryGet<TKwFileTime>())
        return KwFileTimeToDate(*time);
    if (IsText(*this))
        return KwFileTimeToDate(KwIsoToFileTime(AsStringW()));
    if (IsEmpty())
        return {};
    const auto number = NumberOf(*this);
    if (!number || Kind() == TKwVarKind::vkBoolean)
        RaiseKind(*this, u"Date");
    return {ToDouble(*number)};
}

TKwFileTime TKwVariant::AsFileTime() const
{
    if (const auto* time = TryGet<TKwFileTime>())
        return *time;
    if (IsText(*this))
        return KwIsoToFileTime(AsStringW());
    if (IsEmpty())
        return {};
    return KwDateToFileTime(AsDateTime());
}

TKwBytes TKwVariant::AsBytes() const
{
    if (const auto* bytes = TryGet<TKwBytes>())
        return *bytes;
    const auto* array = TryGet<Array>();
    if (array == nullptr && !IsEmpty())
        RaiseKind(*this, u"Bytes");
    TKwBytes result;
    if (array == nullptr)
        return result;
    result.reserve(array->size());
    for (const TKwVariant& element : *array) {
        const std::int64_t value = element.AsLargeInteger();
        if (value < 0 || value > 0xFF)
            RaiseOutOfRange();
        result.push_back(static_cast<std::uint8_t>(value));
    }
    return result;
}

TKwVariant::Array TKwVariant::AsArray() const
{
    if (const auto* array = TryGet<Array>())
        return *array;
    if (IsEmptyOrNull())
        RaiseKind(*this, u"Array");
    return {*this};
}

} // namespace deftmapi
