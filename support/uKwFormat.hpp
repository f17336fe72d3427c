// KwFormat: the patterns of the message texts. Exactly what those texts use, with the argument rules they rely on:
//   %s %d %x        the next argument as text, decimal, hexadecimal (lower case)
//   %N:…            argument N (from 0); the following unnumbered ones go on from N + 1
//   %W.P…           width W (blanks on the left; '-' on the right), precision P: least number of digits for %d and %x,
//                   greatest number of characters for %s
//   %%              a per cent sign
#pragma once

#include "support/uKwText.hpp"

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <variant>

namespace deftmapi
{

/// One argument: text, or an integer. %x of a negative 32-bit number shows its 32-bit pattern.
class DEFTMAPI_API TKwFormatArg
{
public:
    TKwFormatArg(WideView text) : FValue(WideString(text)) {}
    TKwFormatArg(const WideString& text) : FValue(text) {}
    TKwFormatArg(const char16_t* text) : FValue(WideString(text)) {}
    template <std::integral T>
    requires(!std::same_as<T, bool> && !std::same_as<T, char16_t>) TKwFormatArg(T number)
        : FValue(static_cast<std::int64_t>(number)), FBytes(sizeof(T))
    {}

    [[nodiscard]] const std::variant<WideString, std::int64_t>& Value() const noexcept { return FValue; }
    /// Size of the integer type in bytes: how many hexadecimal digits a negative number shows.
    [[nodiscard]] unsigned Bytes() const noexcept { return FBytes; }

private:
    std::variant<WideString, std::int64_t> FValue;
    unsigned FBytes = 0;
};

/// Formats. @throws EKwConvertError  the pattern is malformed, lacks an argument, or an argument has the wrong type
[[nodiscard]] DEFTMAPI_API WideString KwFormat(WideView pattern, std::initializer_list<TKwFormatArg> args);

} // namespace deftmapi
