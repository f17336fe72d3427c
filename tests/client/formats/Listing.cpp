// Properties are listed in the order of their tags. What is derived from another listed property (entry identifiers and
// search keys of addresses) is checked against it and listed only when it does not agree.
#include "tests/client/formats/Listing.hpp"

#include "client/formats/MimeOptions.hpp"
#include "client/formats/MimeTags.hpp"
#include "client/formats/Recipients.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "support/uKwEncoding.hpp"

#include <chrono>
#include <cstdio>
#include <iterator>

namespace deftmapi::client::mime::test
{

namespace
{

std::string TagName(ULONG propTag)
{
    if (const TKwMAPIPropInfo* info = FindProp(propTag, true))
        return KwToUtf8(info->PropName());
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", propTag);
    return text;
}

std::uint32_t Crc32(std::string_view bytes)
{
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char c : bytes) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320u : 0u);
    }
    return ~crc;
}

std::string DataText(std::string_view bytes)
{
    char text[64];
    std::snprintf(text, sizeof text, "%zu bytes, CRC %08X", bytes.size(), Crc32(bytes));
    return text;
}

/// Text on one line; what a person could not see is escaped.
std::string Quoted(WideView text)
{
    std::string result = "\"";
    for (const char c : KwToUtf8(text)) {
        char escaped[8];
        if (c == '\r')
            result += "\\r";
        else if (c == '\n')
            result += "\\n";
        else if (c == '"' || c == '\\')
            result.append("\\").push_back(c);
        else if (c >= 0 && c < ' ' && std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned>(c)) > 0)
            result += escaped;
        else
            result.push_back(c);
    }
    return result + '"';
}

std::string TimeText(std::uint64_t ticks)
{
    using namespace std::chrono;
    const auto time = sys_days(year(1601) / 1 / 1) + seconds(ticks / 10'000'000);
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss<seconds> clock(time - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

std::string Hex(std::string_view bytes)
{
    std::string result;
    for (const char c : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        result += digits;
    }
    return result;
}

const TValue* Find(const TValues& values, ULONG propTag)
{
    const auto it = values.find(propTag);
    return it != values.end() ? &it->second : nullptr;
}

/// True when the identifier and the search key of an address say what its name and address say.
bool Agrees(const TValues& values, ULONG entryId, ULONG searchKey, ULONG name, ULONG type, ULONG address)
{
    const TValue *id = Find(values, entryId), *key = Find(values, searchKey), *text = Find(values, name),
                 *kind = Find(values, type), *mail = Find(values, address);
    if (id == nullptr || key == nullptr || text == nullptr || kind == nullptr || mail == nullptr ||
        kind->Text != u"SMTP")
        return false;
    const TRecipient recipient{text->Text, mail->Text};
    return id->Bytes == OneOffEntryId(recipient) && key->Bytes == SmtpSearchKey(recipient);
}

void ListLines(const std::string& head, WideView text, std::size_t indent, std::string& out)
{
    out += head + ":\n";
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'\n'), text.size() - 1);
        out.append(indent + 2, ' ') += Quoted(text.substr(0, end + 1)) + '\n';
        text.remove_prefix(end + 1);
    }
}

void ListValue(ULONG propTag, const TValue& value, std::size_t indent, unsigned codePage, std::string& out)
{
    const std::string head = std::string(indent, ' ') + TagName(propTag);
    switch (PROP_TYPE(propTag)) {
    case PT_LONG:
    case PT_BOOLEAN:
        out += head + ": " + std::to_string(value.Number) + '\n';
        break;
    case PT_SYSTIME:
        out += head + ": " + TimeText(value.Time) + '\n';
        break;
    case PT_UNICODE:
        if (propTag == tag::Body)
            ListLines(head, value.Text, indent, out);
        else
            out += head + ": " + Quoted(value.Text) + '\n';
        break;
    default:
        if (propTag == tag::Html)
            ListLines(head, TKwEncoding(codePage).ToWide(value.Bytes), indent, out);
        else if (propTag == tag::AttachDataBin)
            out += head + ": " + DataText(value.Bytes) + '\n';
        else
            out += head + ": " + Hex(value.Bytes) + '\n';
        break;
    }
}

} // namespace

std::string DamageText(std::uint32_t damage)
{
    static constexpr const char* bits[] = {"LeadingData",      "HeaderSyntax",    "Header8Bit",     "EncodedWord",
                                           "DuplicateField",   "Address",         "Date",           "ContentType",
                                           "Parameter",        "Multipart",       "Truncated",      "Structure",
                                           "TransferEncoding", "UnknownEncoding", "UnknownCharset", "CharsetMismatch",
                                           "DepthLimit",       "PartLimit",       "HeaderLimit",    "AttachmentLimit",
                                           "BodyLimit",        "Embedded"};
    std::string result;
    for (std::size_t i = 0; i < 32; ++i)
        if ((damage >> i & 1) != 0)
            result += (result.empty() ? "" : " ") + (i < std::size(bits) ? std::string(bits[i]) : std::to_string(i));
    return result.empty() ? "none" : result;
}

std::string ListMessage(const TMessageState& message, std::size_t indent)
{
    const TValues& values = message.Values;
    const bool sender = Agrees(values, tag::SenderEntryId, tag::SenderSearchKey, tag::SenderName, tag::SenderAddrType,
                               tag::SenderEmailAddress);
    const bool represented = Agrees(values, tag::SentReprEntryId, tag::SentReprSearchKey, tag::SentReprName,
                                    tag::SentReprAddrType, tag::SentReprEmailAddress);
    const TValue* htmlCodePage = Find(values, tag::InternetCodePage);
    const unsigned codePage = htmlCodePage != nullptr ? static_cast<unsigned>(htmlCodePage->Number) : 0;
    std::string out;
    for (const auto& [propTag, value] : values) {
        const bool ofSender =
            propTag == tag::SenderEntryId || propTag == tag::SenderSearchKey || propTag == tag::SenderAddrType;
        const bool ofRepresented =
            propTag == tag::SentReprEntryId || propTag == tag::SentReprSearchKey || propTag == tag::SentReprAddrType;
        if ((ofSender && sender) || (ofRepresented && represented))
            continue;
        if (propTag == tag::TransportHeaders)
            ListValue(propTag, {0, 0, value.Text.substr(0, 60), {}}, indent, codePage, out);
        else
            ListValue(propTag, value, indent, codePage, out);
    }
    const std::string pad(indent, ' ');
    LONG rowId = 0;
    for (const TRow& row : message.Recipients) {
        static constexpr const char* kinds[] = {"From", "To", "Cc", "Bcc"};
        const TValue *kind = Find(row, tag::RecipientType), *name = Find(row, tag::DisplayName),
                     *address = Find(row, tag::EmailAddress), *number = Find(row, tag::RowId),
                     *smtp = Find(row, tag::SmtpAddress);
        const bool whole =
            kind != nullptr && kind->Number >= 0 && kind->Number <= 3 && row.size() == 11 &&
            Agrees(row, tag::EntryId, tag::SearchKey, tag::DisplayName, tag::AddrType, tag::EmailAddress) &&
            number != nullptr && number->Number == rowId++ && smtp != nullptr && smtp->Text == address->Text;
        out +=
            pad +
            (whole ? std::string(kinds[kind->Number]) + ": " + Quoted(name->Text) + " <" + KwToUtf8(address->Text) + ">"
                   : std::string("bad recipient row")) +
            '\n';
    }
    std::size_t number = 0;
    for (const auto& attachment : message.Attachments) {
        out += pad + "attachment " + std::to_string(number++) + (attachment ? "\n" : " was never saved\n");
        if (!attachment)
            continue;
        for (const auto& [propTag, value] : attachment->Values)
            ListValue(propTag, value, indent + 2, 0, out);
        if (attachment->Message)
            out += pad + "  message\n" + ListMessage(*attachment->Message, indent + 4);
    }
    return out;
}

} // namespace deftmapi::client::mime::test
