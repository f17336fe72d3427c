// Decisions a reader would not guess: the sender is who stands in Sender, else From, and the represented sender the
// other way round; the delivery time is that of the topmost Received field, which the last host wrote; "X-Unsent: 1" is
// how mail programs save drafts, so it alone keeps a message unsent.
#include "client/formats/HeaderProps.hpp"

#include "client/formats/AsciiText.hpp"
#include "client/formats/BodyText.hpp"
#include "client/formats/MimeTags.hpp"
#include "client/formats/Recipients.hpp"
#include "client/formats/TransferDecoder.hpp"

#include <algorithm>
#include <chrono>
#include <optional>

namespace deftmapi::client::mime
{

namespace
{

constexpr auto sNoteClass = u"IPM.Note";
constexpr auto sSmtp = u"SMTP";
constexpr std::size_t conversationIndexHeader = 22;

WideString HeaderText(const TMimeMessage& message, std::string_view name, TMimeState& state)
{
    const std::string* raw = message.Field(name);
    return raw != nullptr ? KwFromUtf8(DecodeHeaderText(*raw, state)) : WideString();
}

/// The addresses of all fields of that name.
std::vector<TMimeAddress> Addresses(const TMimeMessage& message, std::string_view name, TMimeState& state)
{
    std::vector<TMimeAddress> result;
    for (const THeaderField& field : message.Header) {
        if (!SameAscii(field.Name, name))
            continue;
        auto more = DecodeAddresses(field.RawValue, state);
        std::move(more.begin(), more.end(), std::back_inserter(result));
    }
    return result;
}

std::uint64_t SystemNow()
{
    using TTicks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    constexpr std::int64_t ticksFrom1601To1970 = 116'444'736'000'000'000;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<TTicks>(now).count() + ticksFrom1601To1970);
}

void AddSubject(const TMimeMessage& message, TPropList& props, TMimeState& state)
{
    const WideString subject = HeaderText(message, "Subject", state);
    const TSubject split = SplitSubject(subject);
    const WideString topic = HeaderText(message, "Thread-Topic", state);
    props.AddText(tag::Subject, subject);
    props.AddText(tag::SubjectPrefix, split.Prefix);
    props.AddText(tag::NormalizedSubject, split.Normalized);
    props.AddText(tag::ConversationTopic, topic.empty() ? split.Normalized : WideView(topic));

    if (const std::string* raw = message.Field("Thread-Index")) {
        TTransferDecoder decoder("base64");
        std::string index;
        decoder.Feed(*raw, index);
        decoder.Finish(index);
        if (decoder.Damage() == 0 && index.size() >= conversationIndexHeader)
            props.AddBinary(tag::ConversationIndex, index);
    }
}

void AddTimes(const TMimeMessage& message, TPropList& props, TMimeState& state)
{
    std::optional<std::uint64_t> sent;
    std::optional<std::uint64_t> received;
    if (const std::string* raw = message.Field("Date"))
        sent = DecodeDate(*raw, state);
    if (const std::string* raw = message.Field("Received"))
        if (const std::size_t semicolon = raw->rfind(';'); semicolon != std::string::npos)
            received = DecodeDate(raw->substr(semicolon + 1), state);

    if (sent)
        props.AddTime(tag::ClientSubmitTime, *sent);
    if (!received)
        received = sent;
    if (!received)
        received = state.Options.Now ? state.Options.Now() : SystemNow();
    props.AddTime(tag::MessageDeliveryTime, *received);
}

struct TSenderTags
{
    mapi::ULONG Name, AddrType, Address, EntryId, SearchKey;
};
constexpr TSenderTags senderTags{tag::SenderName, tag::SenderAddrType, tag::SenderEmailAddress, tag::SenderEntryId,
                                 tag::SenderSearchKey};
constexpr TSenderTags representedTags{tag::SentReprName, tag::SentReprAddrType, tag::SentReprEmailAddress,
                                      tag::SentReprEntryId, tag::SentReprSearchKey};

void AddSender(const TMimeAddress& address, const TSenderTags& tags, TPropList& props)
{
    const TRecipient sender = MakeRecipient(address);
    props.AddText(tags.Name, sender.Name);
    props.AddText(tags.AddrType, sSmtp);
    props.AddText(tags.Address, sender.Address);
    props.AddBinary(tags.EntryId, OneOffEntryId(sender));
    props.AddBinary(tags.SearchKey, SmtpSearchKey(sender));
}

void AddSenders(const TMimeMessage& message, TPropList& props, TMimeState& state)
{
    const auto from = Addresses(message, "From", state);
    const auto sender = Addresses(message, "Sender", state);
    if (from.empty() && sender.empty()) {
        // A sender without a readable address still has a name to show.
        const WideString name = HeaderText(message, message.Field("From") != nullptr ? "From" : "Sender", state);
        if (!name.empty()) {
            props.AddText(tag::SenderName, name);
            props.AddText(tag::SentReprName, name);
        }
    } else {
        AddSender(sender.empty() ? from.front() : sender.front(), senderTags, props);
        AddSender(from.empty() ? sender.front() : from.front(), representedTags, props);
    }

    std::vector<TRecipient> replyTo;
    WideString names;
    for (const TMimeAddress& address : Addresses(message, "Reply-To", state)) {
        replyTo.push_back(MakeRecipient(address));
        // ";" separates the names, so none may contain it. The identifier keeps the name as it is.
        WideString name = replyTo.back().Name;
        std::replace(name.begin(), name.end(), u';', u',');
        names.append(names.empty() ? u"" : u";").append(name);
    }
    if (!replyTo.empty()) {
        props.AddBinary(tag::ReplyRecipientEntries, FlatEntryList(replyTo));
        props.AddText(tag::ReplyRecipientNames, names);
    }
}

/// The first word of a field in lower case, or an empty text.
std::string FirstWord(const TMimeMessage& message, std::string_view name)
{
    const std::string* raw = message.Field(name);
    if (raw == nullptr)
        return {};
    const std::string_view text = TrimAscii(*raw);
    return LowerAscii(text.substr(0, text.find_first_of(" \t\r\n(;,")));
}

std::optional<mapi::LONG> ImportanceOf(const TMimeMessage& message)
{
    for (const std::string_view name : {"Importance", "X-MSMail-Priority"}) {
        const std::string word = FirstWord(message, name);
        if (word == "high")
            return mapi::IMPORTANCE_HIGH;
        if (word == "normal")
            return mapi::IMPORTANCE_NORMAL;
        if (word == "low")
            return mapi::IMPORTANCE_LOW;
    }
    const std::string grade = FirstWord(message, "X-Priority");
    if (grade.empty() || grade.front() < '1' || grade.front() > '5')
        return std::nullopt;
    return grade.front() < '3'   ? mapi::IMPORTANCE_HIGH
           : grade.front() > '3' ? mapi::IMPORTANCE_LOW
                                 : mapi::IMPORTANCE_NORMAL;
}

std::optional<mapi::LONG> PriorityOf(const TMimeMessage& message)
{
    const std::string word = FirstWord(message, "Priority");
    if (word == "urgent")
        return mapi::PRIO_URGENT;
    if (word == "normal")
        return mapi::PRIO_NORMAL;
    if (word == "non-urgent")
        return mapi::PRIO_NONURGENT;
    return std::nullopt;
}

void AddImportance(const TMimeMessage& message, TPropList& props)
{
    // Importance is 0 to 2 where priority is -1 to 1: each stands in for the other.
    const auto importance = ImportanceOf(message);
    const auto priority = PriorityOf(message);
    props.AddLong(tag::Importance, importance ? *importance
                                   : priority ? *priority + 1
                                              : mapi::LONG{mapi::IMPORTANCE_NORMAL});
    props.AddLong(tag::Priority, priority ? *priority : importance ? *importance - 1 : mapi::PRIO_NORMAL);

    const std::string word = FirstWord(message, "Sensitivity");
    mapi::ULONG sensitivity = mapi::SENSITIVITY_NONE;
    if (word == "personal")
        sensitivity = mapi::SENSITIVITY_PERSONAL;
    else if (word == "private")
        sensitivity = mapi::SENSITIVITY_PRIVATE;
    else if (word == "company-confidential")
        sensitivity = mapi::SENSITIVITY_COMPANY_CONFIDENTIAL;
    props.AddLong(tag::Sensitivity, static_cast<mapi::LONG>(sensitivity));
}

void AddRawHeader(const TMimeMessage& message, TPropList& props, TMimeState& state)
{
    std::string text;
    for (const THeaderField& field : message.Header)
        text.append(field.Name).append(":").append(field.RawValue).append("\r\n");
    const bool plain = IsPlainAscii(text);
    if (!plain)
        state.Damage |= mdHeader8Bit;
    // The fallback of text without a character set; what it would note about bodies does not concern the header.
    TMimeState scratch(state.Options);
    props.AddText(tag::TransportHeaders, WithCrLf(DecodeText(text, {}, scratch).Text));
}

} // namespace

TSubject SplitSubject(WideView subject) noexcept
{
    constexpr std::size_t longestPrefix = 3;
    const std::size_t colon = subject.substr(0, longestPrefix + 1).find(u':');
    if (colon == 0 || colon == WideView::npos || colon + 1 >= subject.size() || subject[colon + 1] != u' ')
        return {{}, subject};
    const WideView letters = subject.substr(0, colon);
    if (std::any_of(letters.begin(), letters.end(), [](char16_t c) { return c <= u' ' || (c >= u'0' && c <= u'9'); }))
        return {{}, subject};
    return {subject.substr(0, colon + 2), subject.substr(colon + 2)};
}

void AddHeaderProps(const TMimeMessage& message, bool embedded, TPropList& props, TMimeState& state)
{
    props.AddText(tag::MessageClass, sNoteClass);
    mapi::ULONG flags = mapi::MSGFLAG_UNMODIFIED;
    if (embedded)
        flags |= mapi::MSGFLAG_READ;
    if (FirstWord(message, "X-Unsent") == "1")
        flags = mapi::MSGFLAG_UNSENT | mapi::MSGFLAG_READ;
    props.AddLong(tag::MessageFlags, static_cast<mapi::LONG>(flags));

    AddSubject(message, props, state);
    constexpr std::pair<std::string_view, mapi::ULONG> identifiers[] = {{"Message-ID", tag::InternetMessageId},
                                                                        {"In-Reply-To", tag::InReplyToId},
                                                                        {"References", tag::InternetReferences}};
    for (const auto& [name, propTag] : identifiers)
        if (const WideString text = HeaderText(message, name, state); !text.empty())
            props.AddText(propTag, text);
    AddTimes(message, props, state);
    AddSenders(message, props, state);
    AddImportance(message, props);
    AddRawHeader(message, props, state);
}

void AddHeaderRecipients(const TMimeMessage& message, mapi::IMessage& target, TMimeState& state)
{
    constexpr std::pair<std::string_view, mapi::ULONG> kinds[] = {
        {"To", mapi::MAPI_TO}, {"Cc", mapi::MAPI_CC}, {"Bcc", mapi::MAPI_BCC}};
    mapi::LONG rowId = 0;
    for (const auto& [name, type] : kinds)
        AddRecipients(target, Addresses(message, name, state), static_cast<mapi::LONG>(type), rowId);
}

} // namespace deftmapi::client::mime
