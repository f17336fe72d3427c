#include "client/store/MessageMerge.hpp"

#include "client/store/MessageRecords.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr ULONG DataId = tag::AttachDataObj >> 16;

bool AreThere(StoreFile& store, const PropertyBag& props)
{
    return std::all_of(props.begin(), props.end(), [&store](const auto& entry) { return store.IsThere(entry.second); });
}

bool IsWhole(StoreFile& store, const AttachmentState& attachment);

/// Whether the state can be written without what the store had of it.
bool IsWhole(StoreFile& store, const MessageState& message)
{
    return message.recipientsLoaded && message.attachmentsLoaded && AreThere(store, message.props) &&
           std::all_of(message.attachments.begin(), message.attachments.end(),
                       [&store](const auto& attachment) { return IsWhole(store, attachment); });
}

bool IsWhole(StoreFile& store, const AttachmentState& attachment)
{
    if (!AreThere(store, attachment.props))
        return false;
    return attachment.embedded ? IsWhole(store, *attachment.embedded)
                               : attachment.embeddedRow == 0 || attachment.changedProps.contains(DataId);
}

void MakeNew(AttachmentState& attachment)
{
    attachment.row = 0;
    attachment.embeddedRow = 0;
    attachment.changed = true;
    if (attachment.embedded)
        attachment.embedded = AsNew(*attachment.embedded);
}

/// A changed attachment of which the store has a row.
void PutOnto(StoreFile& store, AttachmentState& stored, const AttachmentState& attachment)
{
    stored.TakeChanges(attachment);
    if (!stored.embedded || stored.embedded->row == 0 || stored.embedded->row == stored.embeddedRow)
        return;
    // The other has put something else in the place of the embedded message.
    if (IsWhole(store, *stored.embedded)) {
        stored.embedded = AsNew(*stored.embedded);
    } else {
        stored.embedded = nullptr;
        stored.changedProps.erase(DataId);
    }
}

void PutAttachments(StoreFile& store, MessageState& merged, const MessageState& message)
{
    LoadAttachments(store, merged);
    merged.nextAttachment = std::max(merged.nextAttachment, message.nextAttachment);
    for (const std::int64_t row : message.removedAttachments) {
        if (std::erase_if(merged.attachments, [row](const auto& attachment) { return attachment.row == row; }))
            merged.removedAttachments.push_back(row);
    }
    for (AttachmentState attachment : message.attachments) {
        if (!attachment.changed)
            continue;
        attachment.Locate();
        const auto same = std::find_if(merged.attachments.begin(), merged.attachments.end(),
                                       [&attachment](const auto& other) { return other.IsSame(attachment); });
        if (same != merged.attachments.end()) {
            PutOnto(store, *same, attachment);
        } else if (attachment.row == 0 || IsWhole(store, attachment)) {
            MakeNew(attachment);
            if (merged.FindAttachment(attachment.num))
                attachment.num = merged.nextAttachment++;
            merged.attachments.push_back(std::move(attachment));
        }
    }
    DeriveHasAttach(merged);
}

} // namespace

std::shared_ptr<const MessageState> AsNew(const MessageState& message)
{
    auto copy = std::make_shared<MessageState>(message);
    copy->row = 0;
    copy->version = 0;
    copy->removedAttachments.clear();
    for (AttachmentState& attachment : copy->attachments)
        MakeNew(attachment);
    return copy;
}

bool IsOutdated(StoreFile& store, const MessageState& message)
{
    Query query = store.Db().Prepare("SELECT version FROM messages WHERE id = ?1");
    return query.Bind(1, message.row).Step() && query.Number(0) != message.version;
}

MessageState OntoStored(StoreFile& store, const MessageState& message)
{
    MessageState merged = LoadMessage(store, message.row);
    const auto& ids = message.changedProps;
    merged.props.TakeFrom(message.props, ids);
    if (ids.contains(tag::Subject >> 16) || ids.contains(tag::SubjectPrefix >> 16)) {
        const ULONG prefix = tag::SubjectPrefix >> 16;
        DeriveSubject(merged.props, ids.contains(prefix) && merged.props.Find(prefix));
    }
    const std::int64_t flags = merged.props.Number(tag::MessageFlags);
    merged.props.Set(LongProp(tag::MessageFlags, flags & ~std::int64_t{mapi::MSGFLAG_UNMODIFIED}));
    if (message.recipientsChanged) {
        merged.recipients = message.recipients;
        merged.recipientsLoaded = true;
        merged.recipientsChanged = true;
        DeriveDisplayNames(merged);
    }
    const bool attachments =
        !message.removedAttachments.empty() ||
        std::any_of(message.attachments.begin(), message.attachments.end(), [](const auto& a) { return a.changed; });
    if (attachments)
        PutAttachments(store, merged, message);
    merged.changed = true;
    return merged;
}

} // namespace deftmapi::client
