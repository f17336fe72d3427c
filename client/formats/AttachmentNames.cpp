// Senders put whole paths into file names, some of them on purpose; only what follows the last separator is kept.
#include "client/formats/AttachmentNames.hpp"

#include "client/formats/MapiCalls.hpp"

#include <algorithm>
#include <iterator>

namespace deftmapi::client::mime
{

namespace
{

constexpr std::size_t maxName = 255; // longest name that common file systems take

struct TExtension
{
    std::string_view MimeType;
    WideView Extension;
};
// Only types that really arrive without a name.
constexpr TExtension extensions[] = {
    {"text/plain", u".txt"},
    {"text/html", u".htm"},
    {"text/calendar", u".ics"},
    {"text/csv", u".csv"},
    {"text/vcard", u".vcf"},
    {"text/x-vcard", u".vcf"},
    {"text/enriched", u".txt"},
    {"text/rfc822-headers", u".txt"},
    {"text/xml", u".xml"},
    {"application/xml", u".xml"},
    {"application/json", u".json"},
    {"application/pdf", u".pdf"},
    {"application/zip", u".zip"},
    {"application/rtf", u".rtf"},
    {"image/jpeg", u".jpg"},
    {"image/png", u".png"},
    {"image/gif", u".gif"},
    {"image/bmp", u".bmp"},
    {"image/tiff", u".tif"},
    {"image/svg+xml", u".svg"},
    {"audio/mpeg", u".mp3"},
    {"audio/wav", u".wav"},
    {"video/mp4", u".mp4"},
    {"message/rfc822", u".eml"},
    {"message/global", u".eml"},
    {"application/pgp-signature", u".asc"},
    {"application/pkcs7-signature", u".p7s"},
    {"application/x-pkcs7-signature", u".p7s"},
    {"application/pkcs7-mime", u".p7m"},
    {"application/x-pkcs7-mime", u".p7m"},
    {"message/delivery-status", u".txt"},
    {"message/disposition-notification", u".txt"},
};

WideString MadeUpName(const TMimePart& part, std::size_t number)
{
    const std::string type = part.MimeType();
    const auto* known = std::find_if(std::begin(extensions), std::end(extensions),
                                     [&type](const TExtension& entry) { return entry.MimeType == type; });
    std::string digits = std::to_string(number + 1);
    digits.insert(0, digits.size() < 5 ? 5 - digits.size() : 0, '0');
    WideString name = u"ATT" + KwFromUtf8(digits);
    return name.append(known != std::end(extensions) ? known->Extension : WideView(u".dat"));
}

/// Without path, control characters and the characters that no file system of the platform takes.
WideString HarmlessName(WideString name)
{
    if (const std::size_t separator = name.find_last_of(u"/\\"); separator != WideString::npos)
        name.erase(0, separator + 1);
    std::erase_if(name, [](char16_t c) { return c < u' ' || c == 0x7F; });
    for (char16_t& c : name)
        if (WideView(u"<>:\"|?*").find(c) != WideView::npos)
            c = u'_';
    name = KwTrim(name);
    if (name.size() > maxName) {
        const std::size_t dot = name.rfind(u'.');
        const std::size_t tail = dot != WideString::npos && name.size() - dot <= 16 ? name.size() - dot : 0;
        name.erase(maxName - tail, name.size() - maxName);
    }
    return name.find_first_not_of(u'.') == WideString::npos ? WideString() : name;
}

bool IsShortCharacter(char16_t c) noexcept
{
    return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') ||
           (c < 0x80 && WideView(u"!#$%&'()-@^_`{}~").find(c) != WideView::npos);
}

bool AllShort(WideView text) noexcept
{
    return std::all_of(text.begin(), text.end(), IsShortCharacter);
}

WideString ShortPart(WideView text, std::size_t size)
{
    WideString result;
    for (const char16_t c : text) {
        if (result.size() == size)
            break;
        if (c == u' ' || c == u'.')
            continue;
        // Outside ASCII one mark for each character: the second half of a pair adds none.
        if (IsShortCharacter(c))
            result.push_back(c);
        else if (c < 0xDC00 || c > 0xDFFF)
            result.push_back(u'_');
    }
    return result;
}

WideString ShortName(WideView name, WideView extension)
{
    const WideView stem = name.substr(0, name.size() - extension.size());
    const WideView suffix = extension.empty() ? extension : extension.substr(1);
    if (!stem.empty() && stem.size() <= 8 && suffix.size() <= 3 && AllShort(stem) && AllShort(suffix))
        return WideString(name);
    WideString result = ShortPart(stem, 6);
    if (result.empty())
        result = u"ATT";
    result = KwUpperCase(result.append(u"~1"));
    if (!suffix.empty())
        result.append(u".").append(KwUpperCase(ShortPart(suffix, 3)));
    return result;
}

} // namespace

TAttachmentName NameAttachment(const TMimePart& part, std::size_t number)
{
    TAttachmentName result;
    result.LongName = HarmlessName(KwFromUtf8(part.FileName));
    if (result.LongName.empty())
        result.LongName = MadeUpName(part, number);
    const std::size_t dot = result.LongName.rfind(u'.');
    if (dot != WideString::npos && dot + 1 < result.LongName.size())
        result.Extension = result.LongName.substr(dot);
    result.ShortName = ShortName(result.LongName, result.Extension);
    return result;
}

} // namespace deftmapi::client::mime
