// ISO-8859-1 is read as windows-1252: where the two differ, the former has control characters that no mail contains.
#include "client/formats/BodyText.hpp"

#include "client/formats/AsciiText.hpp"
#include "support/uKwEncoding.hpp"

#include <optional>

namespace deftmapi::client::mime
{

namespace
{

constexpr unsigned cpUtf16 = 1200;
constexpr unsigned cpUtf16BigEndian = 1201;
constexpr unsigned cpWestern = 1252;
constexpr unsigned cpAscii = 20127;
constexpr unsigned cpLatin1 = 28591;
constexpr unsigned cpUtf8 = 65001;
constexpr std::size_t metaSearch = 4096;

struct TUtf8Count
{
    std::size_t Good = 0; // well-formed sequences of several bytes
    std::size_t Bad = 0;  // bytes that belong to none
};

TUtf8Count CountUtf8(std::string_view text) noexcept
{
    TUtf8Count count;
    const auto at = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    for (std::size_t i = 0; i < text.size();) {
        const unsigned first = at(i);
        const std::size_t length = first < 0x80   ? 1
                                   : first < 0xC2 ? 0
                                   : first < 0xE0 ? 2
                                   : first < 0xF0 ? 3
                                   : first < 0xF5 ? 4
                                                  : 0;
        bool good = length > 0 && i + length <= text.size();
        for (std::size_t k = 1; good && k < length; ++k)
            good = (at(i + k) & 0xC0) == 0x80;
        if (good && length >= 3) {
            const unsigned second = at(i + 1);
            good = !(first == 0xE0 && second < 0xA0) && !(first == 0xED && second >= 0xA0) &&
                   !(first == 0xF0 && second < 0x90) && !(first == 0xF4 && second >= 0x90);
        }
        if (!good)
            ++count.Bad;
        else if (length > 1)
            ++count.Good;
        i += good ? length : 1;
    }
    return count;
}

unsigned GuessCodePage(std::string_view bytes) noexcept
{
    if (IsPlainAscii(bytes))
        return cpAscii;
    return CountUtf8(bytes).Bad == 0 ? cpUtf8 : cpWestern;
}

struct TMark
{
    unsigned CodePage;
    std::size_t Size;
};

std::optional<TMark> ByteOrderMark(std::string_view bytes) noexcept
{
    if (bytes.starts_with("\xEF\xBB\xBF"))
        return TMark{cpUtf8, 3};
    if (bytes.starts_with("\xFF\xFE"))
        return TMark{cpUtf16, 2};
    if (bytes.starts_with("\xFE\xFF"))
        return TMark{cpUtf16BigEndian, 2};
    return std::nullopt;
}

/// The code page of a character set, or 0 when there is none that can be converted.
unsigned KnownCodePage(std::string_view charset)
{
    const unsigned codePage = TKwEncoding::CodePageOfCharset(charset);
    return codePage != 0 && TKwEncoding(codePage).IsKnown() ? codePage : 0;
}

/// The code page to use for bytes that claim to be in `charset`.
unsigned ChooseCodePage(std::string_view bytes, const std::string& charset, TMimeState& state)
{
    unsigned codePage = charset.empty() ? cpAscii : KnownCodePage(charset);
    const auto mark = ByteOrderMark(bytes);
    if (mark && (codePage == cpUtf16 || codePage == cpUtf16BigEndian || charset.empty()))
        return mark->CodePage;
    if (codePage == 0) {
        state.Damage |= mdUnknownCharset;
        return GuessCodePage(bytes);
    }
    if (codePage == cpAscii && !IsPlainAscii(bytes)) {
        state.Damage |= charset.empty() ? mdUnknownCharset : mdCharsetMismatch;
        return GuessCodePage(bytes);
    }
    if (codePage == cpUtf8) {
        const TUtf8Count count = CountUtf8(bytes);
        if (count.Bad > 0)
            state.Damage |= mdCharsetMismatch;
        // A few broken bytes in UTF-8 are no reason to misread all the others.
        if (count.Bad > count.Good)
            codePage = cpWestern;
    }
    return codePage;
}

std::string MetaCharset(std::string_view html)
{
    const std::string head = LowerAscii(html.substr(0, metaSearch));
    for (std::size_t meta = head.find("<meta"); meta != std::string::npos; meta = head.find("<meta", meta + 1)) {
        const std::string_view element = std::string_view(head).substr(meta, head.find('>', meta) - meta);
        std::size_t at = element.find("charset");
        if (at == std::string_view::npos)
            continue;
        at = element.find_first_not_of(" \t\r\n=\"'", at + 7);
        if (at != std::string_view::npos)
            return std::string(element.substr(at, element.find_first_of(" \t\r\n\"'/;>", at) - at));
    }
    return {};
}

} // namespace

TDecodedText DecodeText(std::string_view bytes, const std::string& charset, TMimeState& state)
{
    TDecodedText result;
    result.CodePage = ChooseCodePage(bytes, charset, state);
    if (const auto mark = ByteOrderMark(bytes); mark && mark->CodePage == result.CodePage)
        bytes.remove_prefix(mark->Size);
    result.Text = TKwEncoding(result.CodePage == cpLatin1 ? cpWestern : result.CodePage).ToWide(bytes);
    if (result.CodePage != cpUtf8 && result.Text.find(u'\xFFFD') != WideString::npos)
        state.Damage |= mdCharsetMismatch;
    return result;
}

unsigned HtmlCodePage(std::string_view bytes, const std::string& charset, TMimeState& state)
{
    if (charset.empty() && !ByteOrderMark(bytes)) {
        const std::string meta = MetaCharset(bytes);
        if (!meta.empty())
            return ChooseCodePage(bytes, meta, state);
    }
    return ChooseCodePage(bytes, charset, state);
}

WideString WithCrLf(WideView text)
{
    WideString result;
    result.reserve(text.size() + text.size() / 32);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool pair = text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n';
        if (text[i] != u'\r' && text[i] != u'\n') {
            result.push_back(text[i]);
            continue;
        }
        result.append(u"\r\n");
        i += pair ? 1 : 0;
    }
    return result;
}

WideString Unflow(WideView text, bool deleteSpace)
{
    constexpr WideView signature = u"-- ";
    WideString result;
    std::size_t openDepth = 0;
    bool open = false; // the line before ended softly
    while (!text.empty()) {
        const std::size_t end = text.find(u'\n');
        WideView line = text.substr(0, end);
        const bool hasEnd = end != WideView::npos;
        text.remove_prefix(hasEnd ? end + 1 : text.size());
        if (line.ends_with(u'\r'))
            line.remove_suffix(1);

        std::size_t depth = 0;
        while (depth < line.size() && line[depth] == u'>')
            ++depth;
        line.remove_prefix(depth);
        if (line.starts_with(u' '))
            line.remove_prefix(1);

        const bool joins = open && depth == openDepth && line != signature;
        if (open && !joins)
            result.append(u"\r\n");
        if (!joins && depth > 0)
            result.append(depth, u'>').push_back(u' ');
        open = line.ends_with(u' ') && line != signature && hasEnd;
        if (open && deleteSpace)
            line.remove_suffix(1);
        openDepth = depth;
        result.append(line);
        if (!open && hasEnd)
            result.append(u"\r\n");
    }
    return result;
}

} // namespace deftmapi::client::mime
