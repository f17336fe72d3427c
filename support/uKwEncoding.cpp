// Code pages. The ones that every mail store uses are converted here, so that they behave alike on every system; the
// rest is the platform's. Code page 1252 maps its five unassigned bytes to the control characters of the same number,
// as mail clients do.
#include "support/uKwEncoding.hpp"

#include "support/platform/uKwPlatform.hpp"
#include "support/uKwExceptions.hpp"

#include <algorithm>
#include <array>
#include <iterator>

namespace deftmapi
{

namespace
{

constexpr auto sUnknownCodePage = u"The code page %d is not known!";
constexpr std::int32_t invalidArgument = static_cast<std::int32_t>(0x80070057);

constexpr unsigned cpUtf16 = 1200;
constexpr unsigned cpUtf16BigEndian = 1201;
constexpr unsigned cpWestern = 1252;
constexpr unsigned cpAscii = 20127;
constexpr unsigned cpLatin1 = 28591;
constexpr unsigned cpUtf8 = 65001;
constexpr char16_t replacement = 0xFFFD;

// The bytes 0x80 to 0x9F of code page 1252.
constexpr std::array<char16_t, 32> westernHigh = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                  0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                  0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                  0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr bool IsSurrogate(char16_t c) noexcept
{
    return (c & 0xF800) == 0xD800;
}
/// True when a well-formed surrogate pair begins at `position`.
constexpr bool IsPair(WideView text, std::size_t position) noexcept
{
    return (text[position] & 0xFC00) == 0xD800 && position + 1 < text.size() && (text[position + 1] & 0xFC00) == 0xDC00;
}

/// The byte of one BMP character in a single-byte code page of ours, or -1.
int ToByte(unsigned codePage, char16_t c) noexcept
{
    if (c < 0x80)
        return c;
    if (codePage == cpAscii || IsSurrogate(c))
        return -1;
    if (codePage == cpLatin1)
        return c < 0x100 ? c : -1;
    if (c >= 0xA0 && c < 0x100)
        return c;
    const auto* it = std::find(westernHigh.begin(), westernHigh.end(), c);
    return it != westernHigh.end() ? 0x80 + static_cast<int>(it - westernHigh.begin()) : -1;
}

char16_t FromByte(unsigned codePage, unsigned char byte) noexcept
{
    if (codePage == cpAscii && byte >= 0x80)
        return replacement;
    return codePage == cpWestern && byte >= 0x80 && byte < 0xA0 ? westernHigh[byte - 0x80u] : byte;
}

bool IsOwn(unsigned codePage) noexcept
{
    constexpr unsigned own[] = {cpUtf16, cpUtf16BigEndian, cpWestern, cpAscii, cpLatin1, cpUtf8};
    return std::find(std::begin(own), std::end(own), codePage) != std::end(own);
}

/// Converts with our own tables; sets lossy when something had to be replaced.
std::string OwnFromWide(unsigned codePage, WideView text, bool& lossy)
{
    std::string result;
    if (codePage == cpUtf8)
        result = KwToUtf8(text);
    else
        result.reserve(codePage == cpUtf16 || codePage == cpUtf16BigEndian ? text.size() * 2 : text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (codePage == cpUtf16 || codePage == cpUtf16BigEndian) {
            // A lone surrogate is kept: these code pages can hold it.
            const char low = static_cast<char>(c & 0xFF);
            const char high = static_cast<char>(c >> 8);
            result.push_back(codePage == cpUtf16 ? low : high);
            result.push_back(codePage == cpUtf16 ? high : low);
            continue;
        }
        const bool pair = IsPair(text, i);
        i += pair ? 1 : 0;
        if (codePage == cpUtf8) {
            lossy = lossy || (!pair && IsSurrogate(c));
            continue;
        }
        const int byte = ToByte(codePage, c);
        lossy = lossy || byte < 0;
        result.push_back(byte < 0 ? '?' : static_cast<char>(byte));
    }
    return result;
}

WideString OwnToWide(unsigned codePage, std::string_view bytes)
{
    if (codePage == cpUtf8)
        return KwFromUtf8(bytes);
    const auto at = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    WideString result;
    if (codePage == cpUtf16 || codePage == cpUtf16BigEndian) {
        const std::size_t low = codePage == cpUtf16 ? 0 : 1;
        result.reserve(bytes.size() / 2 + 1);
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
            result.push_back(static_cast<char16_t>(at(i + low) | (at(i + 1 - low) << 8)));
        if (bytes.size() % 2 != 0)
            result.push_back(replacement);
        return result;
    }
    result.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i)
        result.push_back(FromByte(codePage, at(i)));
    return result;
}

std::string Convert(unsigned codePage, WideView text, bool& lossy)
{
    if (IsOwn(codePage))
        return OwnFromWide(codePage, text, lossy);
    std::string result;
    if (!KwPlatform().WideToCodePage(codePage, text, result, &lossy))
        throw EKwConvertError(sUnknownCodePage, {codePage}, invalidArgument);
    return result;
}

} // namespace

TKwEncoding::TKwEncoding(unsigned codePage) noexcept : FCodePage(codePage != 0 ? codePage : SystemCodePage()) {}

bool TKwEncoding::IsKnown() const noexcept
{
    if (IsOwn(FCodePage))
        return true;
    WideString text;
    return KwPlatform().CodePageToWide(FCodePage, {}, text);
}

std::string TKwEncoding::FromWide(WideView text) const
{
    bool lossy = false;
    return Convert(FCodePage, text, lossy);
}

WideString TKwEncoding::ToWide(std::string_view bytes) const
{
    if (IsOwn(FCodePage))
        return OwnToWide(FCodePage, bytes);
    WideString result;
    if (!KwPlatform().CodePageToWide(FCodePage, bytes, result))
        throw EKwConvertError(sUnknownCodePage, {FCodePage}, invalidArgument);
    return result;
}

bool TKwEncoding::CanEncode(WideView text) const
{
    bool lossy = false;
    static_cast<void>(Convert(FCodePage, text, lossy));
    return !lossy;
}

unsigned TKwEncoding::SystemCodePage() noexcept
{
    return KwPlatform().AnsiCodePage();
}

} // namespace deftmapi
