// Bytes to upper-case hexadecimal digits and back, for the text form of entry identifiers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace deftmapi
{

/// Writes 2 * count digits.
void KwWriteHex(const std::uint8_t* bytes, std::size_t count, char* digits) noexcept;
void KwWriteHex(const std::uint8_t* bytes, std::size_t count, char16_t* digits) noexcept;

/// Reads 2 * count digits of either case. False when one of them is no digit; the bytes are undefined then.
[[nodiscard]] bool KwReadHex(const char* digits, std::size_t count, std::uint8_t* bytes) noexcept;
[[nodiscard]] bool KwReadHex(const char16_t* digits, std::size_t count, std::uint8_t* bytes) noexcept;

/// True for 0-9, A-F and a-f.
[[nodiscard]] constexpr bool KwIsHexDigit(char16_t c) noexcept
{
    return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'F') || (c >= u'a' && c <= u'f');
}

} // namespace deftmapi
