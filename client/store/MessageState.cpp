#include "client/store/MessageState.hpp"

#include "client/entry/Guard.hpp"
#include "client/store/EntryIds.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::client
{
namespace
{

constexpr ULONG AttachmentHidden = 0x7FFE000B;
constexpr auto sDamaged = u"The stored recipients of a message are damaged.";

void PutNumber(Bytes& out, std::uint32_t value)
{
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&value);
    out.insert(out.end(), bytes, bytes + sizeof value);
}

std::uint32_t TakeNumber(std::span<const std::uint8_t>& in)
{
    std::uint32_t value;
    if (in.size() < sizeof value)
        Fail(mapi::MAPI_E_CORRUPT_DATA, sDamaged);
    std::memcpy(&value, in.data(), sizeof value);
    in = in.subspan(sizeof value);
    return value;
}

/// One to three characters without digits, then a colon and a blank: "RE: ", "FW: ", "AW: ".
std::size_t PrefixLength(WideView subject)
{
    for (std::size_t i = 0; i < subject.size() && i <= 3; ++i) {
        if (subject[i] == u':')
            return i >= 1 && i + 1 < subject.size() && subject[i + 1] == u' ' ? i + 2 : 0;
        if (subject[i] <= u' ' || (subject[i] >= u'0' && subject[i] <= u'9'))
            return 0;
    }
    return 0;
}

Bytes NumberKey(ULONG number)
{
    const auto* raw = reinterpret_cast<const std::uint8_t*>(&number);
    return Bytes(raw, raw + sizeof number);
}

} // namespace

PropertyBag Recipient::Shown() const
{
    PropertyBag shown = props;
    shown.Set(LongProp(tag::RowId, rowId));
    shown.Set(BinaryProp(tag::InstanceKey, NumberKey(rowId)));
    return shown;
}

PropertyBag AttachmentState::Shown() const
{
    PropertyBag shown = props;
    if (!props.Find(tag::AttachSize >> 16))
        shown.Set(LongProp(tag::AttachSize, static_cast<std::int64_t>(props.Size())));
    shown.Set(LongProp(tag::AttachNum, num));
    shown.Set(BinaryProp(tag::RecordKey, NumberKey(num)));
    shown.Set(BinaryProp(tag::InstanceKey, NumberKey(num)));
    shown.Set(LongProp(tag::ObjectType, mapi::MAPI_ATTACH));
    return shown;
}

bool MessageState::IsChanged() const
{
    return row == 0 || changed || recipientsChanged || !removedAttachments.empty() ||
           std::any_of(attachments.begin(), attachments.end(), [](const auto& a) { return a.changed; });
}

void AttachmentState::Locate()
{
    if (!place || place->row == 0)
        return;
    num = place->num;
    row = place->row;
}

void AttachmentState::TakeChanges(const AttachmentState& other)
{
    props.TakeFrom(other.props, other.changedProps);
    changedProps.insert(other.changedProps.begin(), other.changedProps.end());
    if (other.changedProps.contains(tag::AttachDataObj >> 16))
        embedded = other.embedded;
    place = other.place;
    changed = true;
}

AttachmentState* MessageState::FindAttachment(ULONG num)
{
    const auto it = std::find_if(attachments.begin(), attachments.end(), [num](const auto& a) { return a.num == num; });
    return it == attachments.end() ? nullptr : &*it;
}

MessageState NewMessage(std::int64_t folder, bool associated)
{
    MessageState message;
    message.folder = folder;
    message.associated = associated;
    message.recipientsLoaded = true;
    message.attachmentsLoaded = true;
    const std::int64_t now = Now();
    PropertyBag& props = message.props;
    props.Set(TextProp(tag::MessageClass, u"IPM.Note"));
    props.Set(LongProp(tag::MessageFlags, mapi::MSGFLAG_READ | mapi::MSGFLAG_UNSENT | mapi::MSGFLAG_UNMODIFIED |
                                              (associated ? mapi::MSGFLAG_ASSOCIATED : 0)));
    props.Set(LongProp(tag::MessageStatus, 0));
    props.Set(LongProp(tag::HasAttach, 0));
    props.Set(LongProp(tag::Importance, mapi::IMPORTANCE_NORMAL));
    props.Set(LongProp(tag::Priority, mapi::PRIO_NORMAL));
    props.Set(LongProp(tag::Sensitivity, mapi::SENSITIVITY_NONE));
    props.Set(LongProp(tag::CreationTime, now));
    props.Set(LongProp(tag::LastModification, now));
    props.Set(BinaryProp(tag::SearchKey, ToBytes(NewUid())));
    for (const ULONG names : {tag::DisplayTo, tag::DisplayCc, tag::DisplayBcc})
        props.Set(TextProp(names, u""));
    return message;
}

void DeriveSubject(PropertyBag& props, bool explicitPrefix)
{
    const Prop* subject = props.Find(tag::Subject >> 16);
    if (!subject) {
        props.Erase(tag::NormalizedSubject >> 16);
        return;
    }
    // A subject so long that it is streamed has no prefix worth finding.
    const auto* text = std::get_if<WideString>(&subject->data);
    const WideString whole = text ? *text : WideString();
    WideString prefix = props.Text(tag::SubjectPrefix);
    if (!explicitPrefix || whole.compare(0, prefix.size(), prefix) != 0)
        prefix = whole.substr(0, PrefixLength(whole));
    const WideString normalized = whole.substr(prefix.size());
    props.Set(TextProp(tag::SubjectPrefix, std::move(prefix)));
    props.Set(TextProp(tag::NormalizedSubject, normalized));
}

void DeriveDisplayNames(MessageState& message)
{
    const std::pair<std::int64_t, ULONG> lists[] = {
        {mapi::MAPI_TO, tag::DisplayTo}, {mapi::MAPI_CC, tag::DisplayCc}, {mapi::MAPI_BCC, tag::DisplayBcc}};
    for (const auto& [type, display] : lists) {
        WideString names;
        for (const Recipient& recipient : message.recipients) {
            // The upper bits of the type say who has had the message already.
            if ((recipient.props.Number(tag::RecipientType, mapi::MAPI_TO) & 0x0FFFFFFF) != type)
                continue;
            WideString name = recipient.props.Text(tag::DisplayName);
            if (name.empty())
                name = recipient.props.Text(tag::EmailAddress);
            names.append(names.empty() ? u"" : u"; ").append(name);
        }
        message.props.Set(TextProp(display, std::move(names)));
    }
}

void DeriveHasAttach(MessageState& message)
{
    const bool any = std::any_of(message.attachments.begin(), message.attachments.end(),
                                 [](const auto& a) { return a.props.Number(AttachmentHidden) == 0; });
    message.props.Set(LongProp(tag::HasAttach, any));
    const std::int64_t flags = message.props.Number(tag::MessageFlags) & ~std::int64_t{mapi::MSGFLAG_HASATTACH};
    message.props.Set(LongProp(tag::MessageFlags, flags | (any ? mapi::MSGFLAG_HASATTACH : 0)));
}

Bytes PackRecipients(const std::vector<Recipient>& recipients)
{
    Bytes packed;
    PutNumber(packed, static_cast<std::uint32_t>(recipients.size()));
    for (const Recipient& recipient : recipients) {
        Bytes props;
        for (const auto& [id, prop] : recipient.props)
            PackProp(prop, props);
        PutNumber(packed, recipient.rowId);
        PutNumber(packed, static_cast<std::uint32_t>(props.size()));
        packed.insert(packed.end(), props.begin(), props.end());
    }
    return packed;
}

std::vector<Recipient> UnpackRecipients(std::span<const std::uint8_t> packed)
{
    std::vector<Recipient> recipients;
    if (packed.empty())
        return recipients;
    for (std::uint32_t left = TakeNumber(packed); left > 0; --left) {
        Recipient recipient;
        recipient.rowId = TakeNumber(packed);
        const std::uint32_t size = TakeNumber(packed);
        if (size > packed.size())
            Fail(mapi::MAPI_E_CORRUPT_DATA, sDamaged);
        UnpackProps(
            packed.first(size), [](const auto&) { return std::make_shared<MemoryBlob>(Bytes()); }, nullptr,
            [&recipient](Prop prop) { recipient.props.Set(std::move(prop)); });
        packed = packed.subspan(size);
        recipients.push_back(std::move(recipient));
    }
    return recipients;
}

} // namespace deftmapi::client
