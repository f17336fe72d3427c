// Number forms and their exact comparison. The bounds of the conversions are tested on the floating-point side with
// powers of two, which a double holds exactly; INT64_MAX itself it does not.
#include "support/VariantNumbers.hpp"

#include "support/uKwExceptions.hpp"
#include "support/VariantErrors.hpp"

#include <charconv>
#include <cmath>
#include <limits>

namespace deftmapi::variantnumbers
{

namespace
{

constexpr std::int64_t currencyScale = 10000;
constexpr double twoTo63 = 9223372036854775808.0;

std::int64_t RoundToInteger(double value)
{
    if (!(value >= -twoTo63 && value < twoTo63))
        RaiseOutOfRange();
    // nearbyint follows the rounding mode of the thread, which an application may have changed; the remainder does not.
    double whole = std::floor(value);
    const double fraction = value - whole;
    if (fraction > 0.5 || (fraction == 0.5 && std::fmod(whole, 2.0) != 0.0))
        whole += 1.0;
    if (!(whole < twoTo63))
        RaiseOutOfRange();
    return static_cast<std::int64_t>(whole);
}

bool SameIntegerAndDouble(std::int64_t a, double b) noexcept
{
    return b >= -twoTo63 && b < twoTo63 && b == std::floor(b) && static_cast<std::int64_t>(b) == a;
}

template <typename T>
WideString CharsOf(T value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return WideString(buffer, result.ptr);
}

WideString CurrencyToText(TKwCurrency value)
{
    const bool negative = value.Units < 0;
    const std::uint64_t units =
        negative ? 0 - static_cast<std::uint64_t>(value.Units) : static_cast<std::uint64_t>(value.Units);
    WideString result = negative ? u"-" : u"";
    result += CharsOf(units / currencyScale);
    WideString fraction = CharsOf(units % currencyScale);
    fraction.insert(0, 4 - fraction.size(), u'0');
    fraction.erase(fraction.find_last_not_of(u'0') + 1);
    if (!fraction.empty())
        result += u"." + fraction;
    return result;
}

/// An exact currency for texts such as "-12.3456", which a double would only approximate.
std::optional<TKwCurrency> ParseCurrency(std::string_view text)
{
    const std::size_t point = text.find('.');
    if (point == std::string_view::npos || text.size() - point - 1 > 4 ||
        text.find_first_not_of("-.0123456789") != text.npos)
        return std::nullopt;
    if (text.find_first_of("0123456789") == text.npos)
        return std::nullopt;
    std::string digits(text.substr(0, point));
    digits += text.substr(point + 1);
    digits.append(4 - (text.size() - point - 1), '0');
    TKwCurrency result;
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), result.Units);
    if (parsed.ec != std::errc() || parsed.ptr != digits.data() + digits.size())
        return std::nullopt;
    return result;
}

} // namespace

std::optional<TNumber> NumberOf(const TKwVariant& v) noexcept
{
    switch (v.Kind()) {
    case TKwVarKind::vkSmallInt:
        return TNumber{std::int64_t{*v.TryGet<std::int16_t>()}};
    case TKwVarKind::vkLongInt:
        return TNumber{std::int64_t{*v.TryGet<std::int32_t>()}};
    case TKwVarKind::vkInt64:
        return TNumber{*v.TryGet<std::int64_t>()};
    case TKwVarKind::vkSingle:
        return TNumber{double{*v.TryGet<float>()}, true};
    case TKwVarKind::vkDouble:
        return TNumber{*v.TryGet<double>()};
    case TKwVarKind::vkCurrency:
        return TNumber{*v.TryGet<TKwCurrency>()};
    case TKwVarKind::vkBoolean:
        return TNumber{std::int64_t{*v.TryGet<bool>() ? -1 : 0}};
    default:
        return std::nullopt;
    }
}

TNumber ParseNumber(WideView text)
{
    const WideView trimmed = KwTrim(text);
    std::string digits;
    for (const char16_t c : trimmed)
        digits.push_back(c < 0x80 ? static_cast<char>(c) : '?');
    std::string_view view = digits;
    if (view.size() > 1 && view[0] == '+' && view[1] != '-')
        view.remove_prefix(1);
    const char* const end = view.data() + view.size();
    // from_chars would also take "inf" and "nan", which are no decimal texts.
    if (view.empty() || view.find_first_not_of("+-.0123456789eE") != view.npos)
        RaiseNoNumber(text);
    std::int64_t integer = 0;
    const auto asInteger = std::from_chars(view.data(), end, integer);
    if (asInteger.ec == std::errc() && asInteger.ptr == end)
        return {integer};
    if (const auto currency = ParseCurrency(view))
        return {*currency};
    double value = 0;
    const auto asDouble = std::from_chars(view.data(), end, value);
    if (asDouble.ec == std::errc::result_out_of_range)
        RaiseOutOfRange();
    if (asDouble.ec != std::errc() || asDouble.ptr != end)
        RaiseNoNumber(text);
    return {value};
}

WideString NumberToText(const TNumber& number)
{
    if (const auto* integer = std::get_if<std::int64_t>(&number.Value))
        return CharsOf(*integer);
    if (const auto* currency = std::get_if<TKwCurrency>(&number.Value))
        return CurrencyToText(*currency);
    const double value = std::get<double>(number.Value);
    return number.Single ? CharsOf(static_cast<float>(value)) : CharsOf(value);
}

bool SameNumber(const TNumber& a, const TNumber& b) noexcept
{
    const auto* integerA = std::get_if<std::int64_t>(&a.Value);
    const auto* integerB = std::get_if<std::int64_t>(&b.Value);
    const auto* currencyA = std::get_if<TKwCurrency>(&a.Value);
    const auto* currencyB = std::get_if<TKwCurrency>(&b.Value);
    if (integerA != nullptr && integerB != nullptr)
        return *integerA == *integerB;
    if (currencyA != nullptr && currencyB != nullptr)
        return *currencyA == *currencyB;
    if (integerA != nullptr && currencyB != nullptr)
        return currencyB->Units % currencyScale == 0 && currencyB->Units / currencyScale == *integerA;
    if (integerA != nullptr)
        return SameIntegerAndDouble(*integerA, std::get<double>(b.Value));
    if (integerB != nullptr)
        return SameNumber(b, a);
    return ToDouble(a) == ToDouble(b);
}

std::int64_t ToInteger(const TNumber& number)
{
    if (const auto* integer = std::get_if<std::int64_t>(&number.Value))
        return *integer;
    if (const auto* currency = std::get_if<TKwCurrency>(&number.Value)) {
        std::int64_t whole = currency->Units / currencyScale;
        const std::int64_t rest = std::abs(currency->Units % currencyScale);
        if (rest > currencyScale / 2 || (rest == currencyScale / 2 && whole % 2 != 0))
            whole += currency->Units < 0 ? -1 : 1;
        return whole;
    }
    return RoundToInteger(std::get<double>(number.Value));
}

double ToDouble(const TNumber& number) noexcept
{
    if (const auto* integer = std::get_if<std::int64_t>(&number.Value))
        return static_cast<double>(*integer);
    if (const auto* currency = std::get_if<TKwCurrency>(&number.Value))
        return static_cast<double>(currency->Units) / static_cast<double>(currencyScale);
    return std::get<double>(number.Value);
}

TKwCurrency ToCurrency(const TNumber& number)
{
    if (const auto* currency = std::get_if<TKwCurrency>(&number.Value))
        return *currency;
    if (const auto* integer = std::get_if<std::int64_t>(&number.Value)) {
        if (*integer > std::numeric_limits<std::int64_t>::max() / currencyScale ||
            *integer < std::numeric_limits<std::int64_t>::min() / currencyScale)
            RaiseOutOfRange();
        return {*integer * currencyScale};
    }
    return {RoundToInteger(std::get<double>(number.Value) * static_cast<double>(currencyScale))};
}

} // namespace deftmapi::variantnumbers
