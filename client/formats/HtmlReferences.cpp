// A plain search is enough: a reference that stands in a comment hides a picture that nobody would miss.
#include "client/formats/HtmlReferences.hpp"

#include "client/formats/AsciiText.hpp"
#include "support/uKwEncoding.hpp"

#include <algorithm>

namespace deftmapi::client::mime
{

namespace
{

std::string PercentDecoded(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 && HexValue(text[i + 2]) >= 0) {
            result.push_back(static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2])));
            i += 2;
        } else {
            result.push_back(text[i]);
        }
    }
    return result;
}

} // namespace

THtmlReferences::THtmlReferences(std::string_view html, unsigned codePage) : FHtml(html)
{
    if (codePage == 1200 || codePage == 1201) {
        FConverted = KwToUtf8(TKwEncoding(codePage).ToWide(html));
        FHtml = FConverted;
    }

    constexpr std::string_view scheme = "cid:";
    for (std::size_t at = FHtml.find(':'); at != std::string_view::npos; at = FHtml.find(':', at + 1)) {
        if (at < 3 || !SameAscii(FHtml.substr(at - 3, scheme.size()), scheme))
            continue;
        const std::size_t end = FHtml.find_first_of("\"'<>() \t\r\n", at + 1);
        const std::string_view id = FHtml.substr(at + 1, end == std::string_view::npos ? end : end - at - 1);
        if (!id.empty())
            FContentIDs.insert(PercentDecoded(id));
    }
}

bool THtmlReferences::Location(const std::string& location) const
{
    return !location.empty() && FHtml.find(location) != std::string_view::npos;
}

} // namespace deftmapi::client::mime
