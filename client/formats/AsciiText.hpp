// Small helpers for protocol text. Header syntax is ASCII whatever the locale says, so <cctype> is not used.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace deftmapi::client::mime
{

[[nodiscard]] constexpr bool IsBlankAscii(char c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

[[nodiscard]] constexpr bool IsControlAscii(char c) noexcept
{
    return (c >= 0 && c < ' ') || c == 0x7F;
}

[[nodiscard]] constexpr char LowerAscii(char c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

[[nodiscard]] inline std::string LowerAscii(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char c) { return LowerAscii(c); });
    return result;
}

[[nodiscard]] constexpr std::string_view TrimAscii(std::string_view text) noexcept
{
    while (!text.empty() && IsBlankAscii(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlankAscii(text.back()))
        text.remove_suffix(1);
    return text;
}

[[nodiscard]] constexpr bool SameAscii(std::string_view a, std::string_view b) noexcept
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

[[nodiscard]] constexpr bool StartsAscii(std::string_view text, std::string_view prefix) noexcept
{
    return text.size() >= prefix.size() && SameAscii(text.substr(0, prefix.size()), prefix);
}

/// Value of a hexadecimal digit, or -1.
[[nodiscard]] constexpr int HexValue(char c) noexcept
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = LowerAscii(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

[[nodiscard]] constexpr bool IsPlainAscii(std::string_view text) noexcept
{
    return std::none_of(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0x80) != 0; });
}

} // namespace deftmapi::client::mime
