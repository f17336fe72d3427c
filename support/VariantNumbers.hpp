// The numeric core of TKwVariant: every number is an integer, a currency or a floating-point value, and is compared and
// converted without a detour through a less exact form.
#pragma once

#include "support/uKwVariant.hpp"

#include <optional>
#include <variant>

namespace deftmapi::variantnumbers
{

/// A number in its most exact form. `Single` remembers that the value came from 32 bits, which decides its decimal
/// text.
struct TNumber
{
    std::variant<std::int64_t, TKwCurrency, double> Value;
    bool Single = false;
};

/// The number that a variant of a numeric kind (Boolean included: 0 and -1) holds.
[[nodiscard]] std::optional<TNumber> NumberOf(const TKwVariant& v) noexcept;
/// The number that the text spells: decimal digits, an optional sign, fraction and exponent; blanks around it are
/// ignored.
/// @throws EKwConvertError  the text is no number
[[nodiscard]] TNumber ParseNumber(WideView text);
/// The shortest decimal text that reads back as the same number.
[[nodiscard]] WideString NumberToText(const TNumber& number);

[[nodiscard]] bool SameNumber(const TNumber& a, const TNumber& b) noexcept;

// Halves go to the even neighbour. @throws EKwConvertError  out of range, or not a number
[[nodiscard]] std::int64_t ToInteger(const TNumber& number);
[[nodiscard]] double ToDouble(const TNumber& number) noexcept;
[[nodiscard]] TKwCurrency ToCurrency(const TNumber& number);

} // namespace deftmapi::variantnumbers
