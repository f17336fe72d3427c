// Properties are listed in the order of their tags. What is derived from another listed property (entry identifiers and
// search keys of addresses) is checked against it and listed only when it does not agree.
#include "tests/client/formats/Listing.hpp"

#include "client/formats/MimeOptions.hpp"
#include "client/formats/MimeTags.hpp"
#include "client/formats/Recipients.hpp"
#include "support/uKwEncoding.hpp"

#include <cstdio>
#include <iterator>

namespace deftmapi::client::mime::test
{

namespace
{

struct TName
{
    mapi::ULONG Tag;
    const char* Name;
};
constexpr TName names[] = {
    {tag::Importance, "PR_IMPORTANCE"},
    {tag::MessageClass, "PR_MESSAGE_CLASS"},
    {tag::Priority, "PR_PRIORITY"},
    {tag::Sensitivity, "PR_SENSITIVITY"},
    {tag::Subject, "PR_SUBJECT"},
    {tag::ClientSubmitTime, "PR_CLIENT_SUBMIT_TIME"},
    {tag::SentReprSearchKey, "PR_SENT_REPRESENTING_SEARCH_KEY"},
    {tag::SubjectPrefix, "PR_SUBJECT_PREFIX"},
    {tag::SentReprEntryId, "PR_SENT_REPRESENTING_ENTRYID"},
    {tag::SentReprName, "PR_SENT_REPRESENTING_NAME"},
    {tag::ReplyRecipientEntries, "PR_REPLY_RECIPIENT_ENTRIES"},
    {tag::ReplyRecipientNames, "PR_REPLY_RECIPIENT_NAMES"},
    {tag::SentReprAddrType, "PR_SENT_REPRESENTING_ADDRTYPE"},
    {tag::SentReprEmailAddress, "PR_SENT_REPRESENTING_EMAIL_ADDRESS"},
    {tag::ConversationTopic, "PR_CONVERSATION_TOPIC"},
    {tag::ConversationIndex, "PR_CONVERSATION_INDEX"},
    {tag::TransportHeaders, "PR_TRANSPORT_MESSAGE_HEADERS"},
    {tag::SenderEntryId, "PR_SENDER_ENTRYID"},
    {tag::SenderName, "PR_SENDER_NAME"},
    {tag::SenderSearchKey, "PR_SENDER_SEARCH_KEY"},
    {tag::SenderAddrType, "PR_SENDER_ADDRTYPE"},
    {tag::SenderEmailAddress, "PR_SENDER_EMAIL_ADDRESS"},
    {tag::MessageDeliveryTime, "PR_MESSAGE_DELIVERY_TIME"},
    {tag::MessageFlags, "PR_MESSAGE_FLAGS"},
    {tag::NormalizedSubject, "PR_NORMALIZED_SUBJECT"},
    {tag::Body, "PR_BODY"},
    {tag::Html, "PR_HTML"},
    {tag::NativeBodyInfo, "PR_NATIVE_BODY_INFO"},
    {tag::InternetMessageId, "PR_INTERNET_MESSAGE_ID"},
    {tag::InternetReferences, "PR_INTERNET_REFERENCES"},
    {tag::InReplyToId, "PR_IN_REPLY_TO_ID"},
    {tag::DisplayName, "PR_DISPLAY_NAME"},
    {tag::AttachDataBin, "PR_ATTACH_DATA_BIN"},
    {tag::AttachExtension, "PR_ATTACH_EXTENSION"},
    {tag::AttachFileName, "PR_ATTACH_FILENAME"},
    {tag::AttachMethod, "PR_ATTACH_METHOD"},
    {tag::AttachLongFileName, "PR_ATTACH_LONG_FILENAME"},
    {tag::RenderingPosition, "PR_RENDERING_POSITION"},
    {tag::AttachMimeTag, "PR_ATTACH_MIME_TAG"},
    {tag::AttachContentId, "PR_ATTACH_CONTENT_ID"},
    {tag::AttachContentLocation, "PR_ATTACH_CONTENT_LOCATION"},
    {tag::AttachFlags, "PR_ATTACH_FLAGS"},
    {tag::InternetCodePage, "PR_INTERNET_CPID"},
    {tag::MsgEditorFormat, "PR_MSG_EDITOR_FORMAT"},
    {tag::AttachmentHidden, "PR_ATTACHMENT_HIDDEN"},
};

std::string TagName(mapi::ULONG propTag)
{
    for (const TName& name : names)
        if (name.Tag == propTag)
            return name.Name;
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
    // Civil date from a day count, so that the listing does not depend on the C library's range.
    const std::uint64_t seconds = ticks / 10'000'000;
    const std::uint64_t days = seconds / 86'400 + 584'694; // since 0000-03-01
    const std::uint64_t era = days / 146'097;
    const std::uint64_t dayOfEra = days % 146'097;
    const std::uint64_t year = (dayOfEra - dayOfEra / 1'460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const std::uint64_t dayOfYear = dayOfEra - (365 * year + year / 4 - year / 100);
    const std::uint64_t monthIndex = (5 * dayOfYear + 2) / 153;
    const std::uint64_t month = monthIndex < 10 ? monthIndex + 3 : monthIndex - 9;
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u",
                  static_cast<unsigned>(year + era * 400 + (month <= 2 ? 1 : 0)), static_cast<unsigned>(month),
                  static_cast<unsigned>(dayOfYear - (153 * monthIndex + 2) / 5 + 1),
                  static_cast<unsigned>(seconds / 3600 % 24), static_cast<unsigned>(seconds / 60 % 60),
                  static_cast<unsigned>(seconds % 60));
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

const TValue* Find(const TValues& values, mapi::ULONG propTag)
{
    const auto it = values.find(propTag);
    return it != values.end() ? &it->second : nullptr;
}

/// True when the identifier and the search key of an address say what its name and address say.
bool Agrees(const TValues& values, mapi::ULONG entryId, mapi::ULONG searchKey, mapi::ULONG name, mapi::ULONG type,
            mapi::ULONG address)
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

void ListValue(mapi::ULONG propTag, const TValue& value, std::size_t indent, unsigned codePage, std::string& out)
{
    const std::string head = std::string(indent, ' ') + TagName(propTag);
    switch (mapi::PROP_TYPE(propTag)) {
    case mapi::PT_LONG:
    case mapi::PT_BOOLEAN:
        out += head + ": " + std::to_string(value.Number) + '\n';
        break;
    case mapi::PT_SYSTIME:
        out += head + ": " + TimeText(value.Time) + '\n';
        break;
    case mapi::PT_UNICODE:
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
    mapi::LONG rowId = 0;
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
