// TKwVariant: one value of any kind that a property can have, with the conversions and the equality that the library
// relies on.
#pragma once

#include "support/uKwRef.hpp"
#include "support/uKwText.hpp"

#include <compare>
#include <concepts>
#include <cstdint>
#include <span>
#include <variant>
#include <vector>

namespace deftmapi
{

using TKwBytes = std::vector<std::uint8_t>;

/// A Boolean that crosses an interface: 16 bits, true reads as 65535. It is made of a C++ one, and is true as one.
class WordBool
{
public:
    constexpr WordBool() noexcept = default;
    constexpr WordBool(bool value) noexcept : FValue(value ? 0xFFFF : 0) {}
    constexpr operator std::uint16_t() const noexcept { return FValue; }
    /// As Booleans; compared with a number it is 0 or 65535.
    template <std::same_as<bool> T>
    [[nodiscard]] friend constexpr bool operator==(WordBool a, T b) noexcept
    {
        return (a.FValue != 0) == b;
    }

private:
    std::uint16_t FValue = 0;
};
static_assert(sizeof(WordBool) == 2);

/// 100-nanosecond intervals since 1601-01-01 00:00 UTC.
struct TKwFileTime
{
    std::uint64_t Ticks = 0;
    auto operator<=>(const TKwFileTime&) const = default;
};
/// Days since 1899-12-30 00:00; the fraction is the time of day (also for negative values).
struct TKwDate
{
    double Days = 0;
    auto operator<=>(const TKwDate&) const = default;
};
/// A number of ten-thousandths.
struct TKwCurrency
{
    std::int64_t Units = 0;
    auto operator<=>(const TKwCurrency&) const = default;
};
/// A 32-bit result code held as a value (the value of a property that could not be had).
struct TKwErrorCode
{
    std::int32_t Code = 0;
    auto operator<=>(const TKwErrorCode&) const = default;
};
/// 8-bit text; the code page is the context's (the system ANSI code page where nothing says otherwise).
struct TKwAnsiText
{
    std::string Text;
    bool operator==(const TKwAnsiText&) const = default;
};
/// Null: known to have no value. Empty (a default-constructed variant): not set at all.
struct TKwNull
{
    bool operator==(const TKwNull&) const = default;
};

/// In the order of the alternatives of TKwVariant's storage.
enum class TKwVarKind
{
    vkEmpty,
    vkNull,
    vkSmallInt,
    vkLongInt,
    vkInt64,
    vkSingle,
    vkDouble,
    vkCurrency,
    vkDate,
    vkFileTime,
    vkBoolean,
    vkError,
    vkWideString,
    vkAnsiString,
    vkBytes,
    vkArray,
    vkInterface
};

/// A value. Copying copies the content; an interface adds a reference.
class DEFTMAPI_API TKwVariant
{
public:
    using Array = std::vector<TKwVariant>;

    TKwVariant() noexcept = default;
    TKwVariant(TKwNull) : FValue(TKwNull{}) {}
    TKwVariant(std::int16_t v) : FValue(v) {}
    TKwVariant(std::int32_t v) : FValue(v) {}
    TKwVariant(std::int64_t v) : FValue(v) {}
    TKwVariant(float v) : FValue(v) {}
    TKwVariant(double v) : FValue(v) {}
    TKwVariant(TKwCurrency v) : FValue(v) {}
    TKwVariant(TKwDate v) : FValue(v) {}
    TKwVariant(TKwFileTime v) : FValue(v) {}
    TKwVariant(bool v) : FValue(v) {}
    TKwVariant(WordBool v) : FValue(v == true) {}
    TKwVariant(TKwErrorCode v) : FValue(v) {}
    TKwVariant(WideString v) : FValue(std::move(v)) {}
    TKwVariant(WideView v) : FValue(WideString(v)) {}
    TKwVariant(const char16_t* v) : FValue(WideString(v)) {}
    TKwVariant(TKwAnsiText v) : FValue(std::move(v)) {}
    TKwVariant(TKwBytes v) : FValue(std::move(v)) {}
    TKwVariant(std::span<const std::uint8_t> v) : FValue(TKwBytes(v.begin(), v.end())) {}
    TKwVariant(Array v) : FValue(std::move(v)) {}
    TKwVariant(TKwRef<IKwInterface> v) : FValue(std::move(v)) {}
    TKwVariant(const void*) = delete; // keeps pointers from turning into Booleans

    [[nodiscard]] TKwVarKind Kind() const noexcept { return static_cast<TKwVarKind>(FValue.index()); }
    [[nodiscard]] bool IsEmpty() const noexcept { return Kind() == TKwVarKind::vkEmpty; }
    [[nodiscard]] bool IsNull() const noexcept { return Kind() == TKwVarKind::vkNull; }
    [[nodiscard]] bool IsEmptyOrNull() const noexcept { return Kind() <= TKwVarKind::vkNull; }
    [[nodiscard]] bool IsBytes() const noexcept { return Kind() == TKwVarKind::vkBytes; }
    [[nodiscard]] bool IsArray() const noexcept { return Kind() == TKwVarKind::vkArray; }

    /// The stored alternative, or null when the variant holds another kind. Owned by the variant.
    template <typename T>
    [[nodiscard]] const T* TryGet() const noexcept
    {
        return std::get_if<T>(&FValue);
    }

    // Conversions. Numbers convert to each other (with a range check), to and from their decimal text, Booleans are 0
    // and -1 (any number but 0 is true; "True"/"False" as text); dates and file times convert to each other and to ISO
    // 8601 text, and either is its number of days as a number (a file time to the millisecond); 8-bit text converts
    // through the system ANSI code page. Empty converts to 0, "" and false. Halves round to the even neighbour; decimal
    // texts are the shortest that read back as the same number, with a point whatever the locale.
    /// @throws EKwConvertError  0x80020005: the value is Null or of a kind or text that does not convert; 0x8002000A:
    /// it is
    ///                          out of range
    [[nodiscard]] std::int32_t AsInteger() const;
    [[nodiscard]] std::int64_t AsLargeInteger() const;
    [[nodiscard]] double AsFloat() const;
    [[nodiscard]] bool AsBoolean() const;
    [[nodiscard]] TKwCurrency AsCurrency() const;
    [[nodiscard]] WideString AsStringW() const;
    [[nodiscard]] std::string AsStringA(unsigned codePage = 0) const;
    [[nodiscard]] TKwDate AsDateTime() const;
    [[nodiscard]] TKwFileTime AsFileTime() const;
    /// Bytes as they are; an array of small numbers byte by byte.
    [[nodiscard]] TKwBytes AsBytes() const;
    /// The elements; a single value (not Empty or Null) is an array of one.
    [[nodiscard]] Array AsArray() const;

    /// Variant equality: numbers by value whatever their kind, texts by code units (8-bit text converted), Empty equals
    /// Empty and Null equals Null, arrays element-wise, bytes byte-wise. A text equals a number,
    /// Boolean or time that it spells, and a date equals a file time that it cannot tell apart. Values that do not
    /// convert to each other differ; Empty and Null differ from each other and from everything else.
    friend DEFTMAPI_API bool operator==(const TKwVariant& a, const TKwVariant& b) noexcept;

private:
    std::variant<std::monostate, TKwNull, std::int16_t, std::int32_t, std::int64_t, float, double, TKwCurrency, TKwDate,
                 TKwFileTime, bool, TKwErrorCode, WideString, TKwAnsiText, TKwBytes, Array, TKwRef<IKwInterface>>
        FValue;
};

/// File time to date. Both are UTC. A date keeps milliseconds; the sub-millisecond part of a file time does not survive
/// the way there and back.
[[nodiscard]] DEFTMAPI_API TKwDate KwFileTimeToDate(TKwFileTime time) noexcept;
/// Date to file time, rounded to milliseconds. @throws EKwConvertError  the year is not one of 1601 to 30827
[[nodiscard]] DEFTMAPI_API TKwFileTime KwDateToFileTime(TKwDate date);
/// "2024-01-31T10:20:30Z", with ".1234567" before the Z only when the fraction is not zero. Years past 9999 have five
/// digits.
[[nodiscard]] DEFTMAPI_API WideString KwFileTimeToIso(TKwFileTime time);
/// Parses that form: also a date alone, a blank for the T, no seconds, any number of fraction digits (cut off after the
/// seventh), and an offset from UTC instead of the Z; without either the time is UTC.
/// @throws EKwConvertError  0x80020005: the text is no ISO 8601 date or date-time; 0x8002000A: before 1601 or past the
/// last tick
[[nodiscard]] DEFTMAPI_API TKwFileTime KwIsoToFileTime(WideView text);

} // namespace deftmapi
