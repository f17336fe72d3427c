// Text conversions and comparisons that must give the same answer in every locale; therefore nothing of <locale> or
// <cwctype> is used, the case tables are our own.
#include "support/uKwText.hpp"

#include "support/CaseTables.hpp"

#include <algorithm>
#include <iterator>

namespace deftmapi
{

namespace
{

constexpr char32_t replacement = 0xFFFD;

constexpr bool IsHighSurrogate(char16_t c) noexcept
{
    return c >= 0xD800 && c <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char16_t c) noexcept
{
    return c >= 0xDC00 && c <= 0xDFFF;
}

/// Reads one code point and moves on; a lone surrogate is returned as it is.
char32_t NextCodePoint(WideView text, std::size_t& position) noexcept
{
    const char16_t first = text[position++];
    if (IsHighSurrogate(first) && position < text.size() && IsLowSurrogate(text[position]))
        return 0x10000 + ((static_cast<char32_t>(first) - 0xD800) << 10) + (text[position++] - 0xDC00u);
    return first;
}

void AppendUtf16(WideString& text, char32_t c)
{
    if (c < 0x10000) {
        text.push_back(static_cast<char16_t>(c));
        return;
    }
    c -= 0x10000;
    text.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
    text.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
}

void AppendUtf8(std::string& text, char32_t c)
{
    const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (c < 0x80) {
        put(c);
        return;
    }
    if (c < 0x800)
        put(0xC0 | (c >> 6));
    else {
        if (c < 0x10000)
            put(0xE0 | (c >> 12));
        else {
            put(0xF0 | (c >> 18));
            put(0x80 | ((c >> 12) & 0x3F));
        }
        put(0x80 | ((c >> 6) & 0x3F));
    }
    put(0x80 | (c & 0x3F));
}

/// Length of the well-formed UTF-8 sequence at `position` (the code point in c), or 0. Overlong forms, surrogates and
/// what lies past U+10FFFF are not well-formed.
std::size_t Utf8Sequence(std::string_view text, std::size_t position, char32_t& c) noexcept
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[position + i]); };
    const unsigned first = byte(0);
    std::size_t length = 0;
    unsigned lowest = 0x80; // bounds of the second byte
    unsigned highest = 0xBF;
    if (first < 0x80)
        length = 1;
    else if (first >= 0xC2 && first <= 0xDF)
        length = 2;
    else if (first >= 0xE0 && first <= 0xEF) {
        length = 3;
        lowest = first == 0xE0 ? 0xA0 : 0x80;
        highest = first == 0xED ? 0x9F : 0xBF;
    } else if (first >= 0xF0 && first <= 0xF4) {
        length = 4;
        lowest = first == 0xF0 ? 0x90 : 0x80;
        highest = first == 0xF4 ? 0x8F : 0xBF;
    }
    if (length == 0 || position + length > text.size())
        return 0;
    c = length == 1 ? first : first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (byte(i) < lowest || byte(i) > highest)
            return 0;
        c = (c << 6) | (byte(i) & 0x3Fu);
        lowest = 0x80;
        highest = 0xBF;
    }
    return length;
}

template <std::size_t N>
char32_t Map(const casetables::TKwCaseRange (&table)[N], char32_t c) noexcept
{
    const auto* it =
        std::upper_bound(std::begin(table), std::end(table), c,
                         [](char32_t value, const casetables::TKwCaseRange& r) { return value < r.First; });
    if (it == std::begin(table))
        return c;
    --it;
    if (c > it->Last || (c - it->First) % it->Stride != 0)
        return c;
    return static_cast<char32_t>(static_cast<std::int64_t>(c) + it->Delta);
}

char32_t Fold(char32_t c) noexcept
{
    if (c < 0x80)
        return c >= 'A' && c <= 'Z' ? c + 32 : c;
    return Map(casetables::FoldRanges, c);
}

char32_t Upper(char32_t c) noexcept
{
    if (c < 0x80)
        return c >= 'a' && c <= 'z' ? c - 32 : c;
    return Map(casetables::UpperRanges, c);
}

char32_t Lower(char32_t c) noexcept
{
    if (c < 0x80)
        return c >= 'A' && c <= 'Z' ? c + 32 : c;
    return Map(casetables::LowerRanges, c);
}

template <typename Mapping>
WideString MapText(WideView text, Mapping mapping)
{
    WideString result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();)
        AppendUtf16(result, mapping(NextCodePoint(text, i)));
    return result;
}

/// Length in code units of the stretch at the beginning of text that equals prefix, or npos. A folding pair can differ
/// in its number of code units, so that the length need not be the prefix's.
std::size_t MatchPrefix(WideView prefix, WideView text) noexcept
{
    std::size_t p = 0;
    std::size_t t = 0;
    while (p < prefix.size()) {
        if (t >= text.size() || Fold(NextCodePoint(prefix, p)) != Fold(NextCodePoint(text, t)))
            return WideView::npos;
    }
    return t;
}

std::size_t Find(WideView what, WideView text, std::size_t& length) noexcept
{
    for (std::size_t i = 0; i <= text.size();) {
        length = MatchPrefix(what, text.substr(i));
        if (length != WideView::npos)
            return i;
        if (i == text.size())
            break;
        NextCodePoint(text, i);
    }
    return WideView::npos;
}

} // namespace

std::string KwToUtf8(WideView text)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const char32_t c = NextCodePoint(text, i);
        AppendUtf8(result, c >= 0xD800 && c <= 0xDFFF ? replacement : c);
    }
    return result;
}

WideString KwFromUtf8(std::string_view text)
{
    WideString result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        char32_t c = replacement;
        const std::size_t length = Utf8Sequence(text, i, c);
        AppendUtf16(result, length == 0 ? replacement : c);
        i += length == 0 ? 1 : length;
    }
    return result;
}

bool KwSameText(WideView a, WideView b) noexcept
{
    return MatchPrefix(a, b) == b.size();
}

WideString KwUpperCase(WideView text)
{
    return MapText(text, Upper);
}

WideString KwLowerCase(WideView text)
{
    return MapText(text, Lower);
}

WideView KwTrim(WideView text) noexcept
{
    while (!text.empty() && text.front() <= 0x20)
        text.remove_prefix(1);
    while (!text.empty() && text.back() <= 0x20)
        text.remove_suffix(1);
    return text;
}

WideString KwReplaceFirstText(WideView text, WideView what, WideView with)
{
    std::size_t length = 0;
    const std::size_t position = what.empty() ? WideView::npos : Find(what, text, length);
    WideString result(text);
    if (position != WideView::npos)
        result.replace(position, length, with);
    return result;
}

bool KwStartsText(WideView prefix, WideView text) noexcept
{
    return MatchPrefix(prefix, text) != WideView::npos;
}

std::size_t KwPosText(WideView what, WideView text) noexcept
{
    std::size_t length = 0;
    return Find(what, text, length);
}

} // namespace deftmapi
