// The code page of HTML that comes as bytes; see HtmlCodePage.hpp.
#include "mapi/message/HtmlCodePage.hpp"

#include "support/uKwEncoding.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr unsigned Utf8 = 65001;
constexpr unsigned Utf16LittleEndian = 1200;
constexpr unsigned Utf16BigEndian = 1201;

/// Browsers look no further for the character set either.
constexpr std::size_t SearchedBytes = 1024;

struct TMark
{
    std::string_view Bytes;
    unsigned CodePage;
};
constexpr TMark Marks[] = {{"\xEF\xBB\xBF", Utf8}, {"\xFF\xFE", Utf16LittleEndian}, {"\xFE\xFF", Utf16BigEndian}};

const TMark* FindMark(std::string_view html) noexcept
{
    for (const TMark& mark : Marks)
        if (html.starts_with(mark.Bytes))
            return &mark;
    return nullptr;
}

char LowerAscii(char c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string_view SkipAny(std::string_view text, std::string_view characters) noexcept
{
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
    return text;
}

/// What follows the next "charset" and its equals sign, or nothing.
std::string_view AfterCharset(std::string_view& text) noexcept
{
    constexpr std::string_view Word = "charset";
    const auto found = std::search(text.begin(), text.end(), Word.begin(), Word.end(),
                                   [](char a, char b) { return LowerAscii(a) == b; });
    if (found == text.end()) {
        text = {};
        return {};
    }
    text.remove_prefix(static_cast<std::size_t>(found - text.begin()) + Word.size());
    const std::string_view rest = SkipAny(text, " \t\r\n");
    return rest.starts_with('=') ? SkipAny(rest.substr(1), " \t\r\n\"'") : std::string_view{};
}

} // namespace

unsigned KwHtmlCodePage(std::string_view html) noexcept
{
    if (const TMark* mark = FindMark(html))
        return mark->CodePage;
    std::string_view text = html.substr(0, SearchedBytes);
    while (!text.empty()) {
        const std::string_view value = AfterCharset(text);
        const std::string_view name = value.substr(0, value.find_first_of(" \t\r\n\"';>/"));
        if (const unsigned codePage = TKwEncoding::CodePageOfCharset(name); codePage != 0)
            return codePage;
    }
    return 0;
}

WideString KwDecodeHtml(std::string_view html, unsigned declaredCodePage)
{
    if (const TMark* mark = FindMark(html))
        return TKwEncoding(mark->CodePage).ToWide(html.substr(mark->Bytes.size()));
    unsigned codePage = declaredCodePage;
    if (codePage == 0 || !TKwEncoding(codePage).IsKnown())
        codePage = KwHtmlCodePage(html);
    if (!TKwEncoding(codePage).IsKnown())
        codePage = 0;
    return TKwEncoding(codePage).ToWide(html);
}

} // namespace deftmapi
