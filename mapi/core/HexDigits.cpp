// Two roads with one result: blocks of 16 digits with SSE2, which every x86-64 has, and a table for short rests and for
// other processors. The last block of a long input overlaps the one before instead of leaving a rest.
#include "mapi/core/HexDigits.hpp"

#include <algorithm>
#include <array>
#include <type_traits>

#if defined(__SSE2__) || defined(_M_X64)
#define DEFTMAPI_HEX_SSE2
#include <emmintrin.h>
#endif

namespace deftmapi
{

namespace
{

constexpr char upperDigits[] = "0123456789ABCDEF";
constexpr std::uint8_t noDigit = 0xFF;

/// The value of each digit, noDigit for every other character below 256.
constexpr auto digitValues = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(noDigit);
    for (std::uint8_t i = 0; i < 10; ++i)
        values[static_cast<std::size_t>('0' + i)] = i;
    for (std::uint8_t i = 0; i < 6; ++i)
        values[static_cast<std::size_t>('A' + i)] = values[static_cast<std::size_t>('a' + i)] =
            static_cast<std::uint8_t>(10 + i);
    return values;
}();

template <typename Char>
std::uint8_t DigitValue(Char c) noexcept
{
    const auto unit = static_cast<std::uint16_t>(static_cast<std::make_unsigned_t<Char>>(c));
    return unit < digitValues.size() ? digitValues[unit] : noDigit;
}

template <typename Char>
void WriteByTable(const std::uint8_t* bytes, std::size_t count, Char* digits) noexcept
{
    for (std::size_t i = 0; i < count; ++i) {
        digits[2 * i] = static_cast<Char>(upperDigits[bytes[i] >> 4]);
        digits[2 * i + 1] = static_cast<Char>(upperDigits[bytes[i] & 0xF]);
    }
}

template <typename Char>
bool ReadByTable(const Char* digits, std::size_t count, std::uint8_t* bytes) noexcept
{
    std::uint8_t seen = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t high = DigitValue(digits[2 * i]);
        const std::uint8_t low = DigitValue(digits[2 * i + 1]);
        seen |= high | low;
        bytes[i] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return seen <= 0xF;
}

#ifdef DEFTMAPI_HEX_SSE2

constexpr std::size_t writeBlock = 16; // bytes
constexpr std::size_t readBlock = 8;   // bytes

void Store(void* to, __m128i value) noexcept
{
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

__m128i Load(const void* from) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

__m128i DigitsOf(__m128i nibbles) noexcept
{
    const __m128i letters = _mm_and_si128(_mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9)), _mm_set1_epi8('A' - '9' - 1));
    return _mm_add_epi8(_mm_add_epi8(nibbles, _mm_set1_epi8('0')), letters);
}

template <typename Char>
void WriteBlock(const std::uint8_t* bytes, Char* digits) noexcept
{
    const __m128i low4 = _mm_set1_epi8(0xF);
    const __m128i block = Load(bytes);
    const __m128i high = DigitsOf(_mm_and_si128(_mm_srli_epi16(block, 4), low4));
    const __m128i low = DigitsOf(_mm_and_si128(block, low4));
    const __m128i first = _mm_unpacklo_epi8(high, low);
    const __m128i second = _mm_unpackhi_epi8(high, low);
    if constexpr (sizeof(Char) == 1) {
        Store(digits, first);
        Store(digits + 16, second);
    } else {
        const __m128i zero = _mm_setzero_si128();
        Store(digits, _mm_unpacklo_epi8(first, zero));
        Store(digits + 8, _mm_unpackhi_epi8(first, zero));
        Store(digits + 16, _mm_unpacklo_epi8(second, zero));
        Store(digits + 24, _mm_unpackhi_epi8(second, zero));
    }
}

/// Returns a mask whose bytes are all ones where a digit was read.
template <typename Char>
__m128i ReadBlock(const Char* digits, std::uint8_t* bytes) noexcept
{
    __m128i text;
    if constexpr (sizeof(Char) == 1)
        text = Load(digits);
    else
        text = _mm_packus_epi16(Load(digits), Load(digits + 8)); // what is above 255 becomes 0 or 255: no digits either
    const __m128i decimal = _mm_sub_epi8(text, _mm_set1_epi8('0'));
    const __m128i isDecimal = _mm_cmpeq_epi8(_mm_min_epu8(decimal, _mm_set1_epi8(9)), decimal);
    const __m128i letter = _mm_sub_epi8(_mm_or_si128(text, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
    const __m128i isLetter = _mm_cmpeq_epi8(_mm_min_epu8(letter, _mm_set1_epi8(5)), letter);
    const __m128i nibbles = _mm_or_si128(_mm_and_si128(isDecimal, decimal),
                                         _mm_and_si128(isLetter, _mm_add_epi8(letter, _mm_set1_epi8(10))));
    // Each pair of nibbles is a 16-bit number with the upper nibble in its low byte.
    const __m128i pairs = _mm_or_si128(_mm_slli_epi16(nibbles, 4), _mm_srli_epi16(nibbles, 8));
    const __m128i packed = _mm_packus_epi16(_mm_and_si128(pairs, _mm_set1_epi16(0xFF)), _mm_setzero_si128());
    _mm_storel_epi64(static_cast<__m128i*>(static_cast<void*>(bytes)), packed);
    return _mm_or_si128(isDecimal, isLetter);
}

template <typename Char>
void Write(const std::uint8_t* bytes, std::size_t count, Char* digits) noexcept
{
    if (count < writeBlock)
        return WriteByTable(bytes, count, digits);
    for (std::size_t i = 0; i + writeBlock < count; i += writeBlock)
        WriteBlock(bytes + i, digits + 2 * i);
    WriteBlock(bytes + (count - writeBlock), digits + 2 * (count - writeBlock));
}

template <typename Char>
bool Read(const Char* digits, std::size_t count, std::uint8_t* bytes) noexcept
{
    if (count < readBlock)
        return ReadByTable(digits, count, bytes);
    __m128i valid = _mm_set1_epi8(-1);
    for (std::size_t i = 0; i + readBlock < count; i += readBlock)
        valid = _mm_and_si128(valid, ReadBlock(digits + 2 * i, bytes + i));
    valid = _mm_and_si128(valid, ReadBlock(digits + 2 * (count - readBlock), bytes + (count - readBlock)));
    return _mm_movemask_epi8(valid) == 0xFFFF;
}

#else

template <typename Char>
void Write(const std::uint8_t* bytes, std::size_t count, Char* digits) noexcept
{
    WriteByTable(bytes, count, digits);
}

template <typename Char>
bool Read(const Char* digits, std::size_t count, std::uint8_t* bytes) noexcept
{
    return ReadByTable(digits, count, bytes);
}

#endif

} // namespace

void KwWriteHex(const std::uint8_t* bytes, std::size_t count, char* digits) noexcept
{
    Write(bytes, count, digits);
}

void KwWriteHex(const std::uint8_t* bytes, std::size_t count, char16_t* digits) noexcept
{
    Write(bytes, count, digits);
}

bool KwReadHex(const char* digits, std::size_t count, std::uint8_t* bytes) noexcept
{
    return Read(digits, count, bytes);
}

bool KwReadHex(const char16_t* digits, std::size_t count, std::uint8_t* bytes) noexcept
{
    return Read(digits, count, bytes);
}

} // namespace deftmapi
