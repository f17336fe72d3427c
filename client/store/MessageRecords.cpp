#include "client/store/MessageRecords.hpp"

#include "client/entry/Guard.hpp"

#include <algorithm>
#include <limits>

namespace deftmapi::client
{
namespace
{

constexpr auto sNoMessage = u"The message does not exist.";
constexpr auto sFolderDeleted = u"The folder of the message has been deleted.";
constexpr auto sDeleted = u"The message has been deleted since it was opened.";
constexpr auto sChanged = u"The message has been changed by someone else since it was opened.";

/// Longer texts keep their beginning in the column, for tables, and the whole in the packed list.
constexpr std::size_t ColumnText = 2048;
/// Longer binary values leave the column empty and are in the packed list; tables do not show them either.
constexpr std::size_t ColumnBytes = limits::TableBinary;

constexpr MessageColumn Columns[] = {
    {tag::MessageFlags, "flags"},
    {tag::MessageStatus, "status"},
    {tag::MessageSize, "size"},
    {tag::HasAttach, "has_attach"},
    {tag::Importance, "importance"},
    {tag::Priority, "priority"},
    {tag::Sensitivity, "sensitivity"},
    {tag::IconIndex, "icon_index"},
    {tag::FlagStatus, "flag_status"},
    {tag::LastVerb, "last_verb"},
    {tag::ClientSubmitTime, "submit_time"},
    {tag::DeliveryTime, "delivery_time"},
    {tag::CreationTime, "created"},
    {tag::LastModification, "modified"},
    {tag::MessageClass, "message_class"},
    {tag::Subject, "subject"},
    {tag::SubjectPrefix, "subject_prefix"},
    {tag::NormalizedSubject, "normalized_subject"},
    {tag::ConversationTopic, "topic"},
    {tag::ConversationIndex, "conversation_index"},
    {tag::SenderName, "sender_name"},
    {tag::SenderEmail, "sender_email"},
    {tag::SenderAddrType, "sender_addrtype"},
    {tag::SentRepName, "sent_rep_name"},
    {tag::SentRepEmail, "sent_rep_email"},
    {tag::DisplayTo, "display_to"},
    {tag::DisplayCc, "display_cc"},
    {tag::DisplayBcc, "display_bcc"},
    {tag::InternetMessageId, "internet_id"},
    {tag::SearchKey, "search_key"},
};
constexpr int FirstColumn = 5; // parameters and columns before those of the properties

std::string ColumnList(const char* before, const char* after)
{
    std::string list;
    for (const auto& column : Columns)
        list.append(before).append(column.name).append(after);
    return list;
}

bool FitsColumn(const Prop& prop)
{
    if (const auto* text = std::get_if<WideString>(&prop.data))
        return text->size() <= ColumnText;
    if (const auto* bytes = std::get_if<Bytes>(&prop.data))
        return bytes->size() <= ColumnBytes;
    return std::holds_alternative<std::int64_t>(prop.data);
}

bool IsWholeInColumn(const Prop& prop)
{
    return FindMessageColumn(prop.Id()) && FitsColumn(prop);
}

void BindColumn(Query& query, int index, const Prop* prop)
{
    if (!prop) {
        query.BindNull(index);
    } else if (const auto* number = std::get_if<std::int64_t>(&prop->data)) {
        query.Bind(index, *number);
    } else if (const auto* text = std::get_if<WideString>(&prop->data)) {
        query.BindText(index,
                       PackText(FitsColumn(*prop) ? WideView(*text) : WideView(*text).substr(0, limits::TableText)));
    } else if (const auto* bytes = std::get_if<Bytes>(&prop->data)) {
        query.BindBlob(index, FitsColumn(*prop) ? std::span(*bytes) : std::span<const std::uint8_t>());
    } else if (const auto* blob = std::get_if<BlobPtr>(&prop->data); blob && prop->Type() == mapi::PT_UNICODE) {
        WideString start(limits::TableText, u'\0');
        start.resize((*blob)->Read(0, start.data(), start.size() * 2) / 2);
        query.BindText(index, PackText(start));
    } else if (blob && prop->Type() == mapi::PT_BINARY) { // written through a stream, of whatever size
        query.BindBlob(index, (*blob)->Size() <= ColumnBytes ? (*blob)->ReadAll() : Bytes());
    } else {
        query.BindNull(index);
    }
}

std::uint64_t AttachmentSize(const AttachmentState& attachment, std::uint64_t embedded)
{
    return attachment.props.Size() + embedded;
}

class Writer
{
public:
    Writer(StoreFile& store, bool force) : FStore(store), FForce(force) {}

    void Write(MessageState& message, std::int64_t attachment)
    {
        if (message.row == 0)
            Insert(message, attachment);
        else
            CheckVersion(message);
        std::uint64_t size = WriteAttachments(message) + message.props.Size();
        size += WriteRecipients(message);
        if (message.version > 0)
            message.props.Set(LongProp(tag::LastModification, Now()));
        const auto limited = std::min<std::uint64_t>(size, std::numeric_limits<std::int32_t>::max());
        message.props.Set(LongProp(tag::MessageSize, static_cast<std::int64_t>(limited)));
        WriteColumns(message);
        WriteBag(message);
    }

private:
    void Insert(MessageState& message, std::int64_t attachment)
    {
        if (message.folder) {
            Query folder = FStore.Db().Prepare("SELECT 1 FROM folders WHERE id = ?1");
            if (!folder.Bind(1, message.folder).Step())
                Fail(mapi::MAPI_E_OBJECT_DELETED, sFolderDeleted);
        }
        // The folder is set with the other columns, so that the folder's counters see the message's true flags.
        Query insert = FStore.Db().Prepare("INSERT INTO messages (attachment, associated) VALUES (?1, ?2)");
        if (attachment)
            insert.Bind(1, attachment);
        insert.Bind(2, message.associated).Run();
        message.row = FStore.Db().LastRow();
        message.version = 0;
    }

    void CheckVersion(MessageState& message)
    {
        Query query = FStore.Db().Prepare("SELECT version, folder, flags, status FROM messages WHERE id = ?1");
        query.Bind(1, message.row);
        if (!query.Step())
            Fail(mapi::MAPI_E_OBJECT_DELETED, sDeleted);
        if (query.Number(0) != message.version && !FForce)
            Fail(mapi::MAPI_E_OBJECT_CHANGED, sChanged);
        message.version = query.Number(0);
        message.folder = query.Number(1);
        // These are changed without the message being opened, and an open message does not undo it.
        const std::int64_t flags = message.props.Number(tag::MessageFlags) & ~std::int64_t{mapi::MSGFLAG_READ};
        message.props.Set(LongProp(tag::MessageFlags, flags | (query.Number(2) & mapi::MSGFLAG_READ)));
        message.props.Set(LongProp(tag::MessageStatus, query.Number(3)));
    }

    std::uint64_t WriteRecipients(const MessageState& message)
    {
        if (!message.recipientsChanged && message.version > 0) {
            Query query = FStore.Db().Prepare("SELECT length(recipients) FROM bags WHERE message = ?1");
            return query.Bind(1, message.row).Step() ? static_cast<std::uint64_t>(query.Number(0)) : 0;
        }
        FRecipients = message.recipients.empty() ? Bytes() : PackRecipients(message.recipients);
        return FRecipients.size();
    }

    void WriteBag(const MessageState& message)
    {
        const Bytes props = FStore.Pack({LargeOwner::Message, message.row}, message.props,
                                        [](const Prop& prop) { return !IsWholeInColumn(prop); });
        if (message.version == 1 || message.recipientsChanged) {
            Query query =
                FStore.Db().Prepare("INSERT OR REPLACE INTO bags (message, props, recipients) VALUES (?1, ?2, ?3)");
            query.Bind(1, message.row).BindBlob(2, props);
            if (!FRecipients.empty())
                query.BindBlob(3, FRecipients);
            query.Run();
        } else {
            Query query = FStore.Db().Prepare("UPDATE bags SET props = ?2 WHERE message = ?1");
            query.Bind(1, message.row).BindBlob(2, props).Run();
        }
    }

    void WriteColumns(MessageState& message)
    {
        static const std::string sql = "UPDATE messages SET folder = ?2, version = ?3" + [] {
            std::string list;
            int parameter = FirstColumn;
            for (const auto& column : Columns)
                list.append(", ").append(column.name).append(" = ?").append(std::to_string(parameter++));
            return list;
        }() + " WHERE id = ?1";
        Query update = FStore.Db().Prepare(sql);
        ++message.version;
        update.Bind(1, message.row).Bind(3, message.version);
        if (message.folder)
            update.Bind(2, message.folder);
        int parameter = FirstColumn;
        for (const auto& column : Columns)
            BindColumn(update, parameter++, message.props.Find(column.tag >> 16));
        update.Run();
    }

    std::uint64_t WriteAttachments(MessageState& message)
    {
        for (const std::int64_t row : message.removedAttachments)
            Remove(row);
        if (!message.attachmentsLoaded) {
            Query query = FStore.Db().Prepare("SELECT total(size) FROM attachments WHERE message = ?1");
            return query.Bind(1, message.row).Step() ? static_cast<std::uint64_t>(query.Number(0)) : 0;
        }
        std::uint64_t total = 0;
        for (AttachmentState& attachment : message.attachments) {
            if (attachment.changed)
                WriteAttachment(message, attachment);
            total += static_cast<std::uint64_t>(attachment.props.Number(tag::AttachSize));
        }
        return total;
    }

    void WriteAttachment(const MessageState& message, AttachmentState& attachment)
    {
        Database& database = FStore.Db();
        if (attachment.row == 0) {
            Query insert =
                database.Prepare("INSERT INTO attachments (message, num, size, props) VALUES (?1, ?2, 0, x'')");
            insert.Bind(1, message.row).Bind(2, attachment.num).Run();
            attachment.row = database.LastRow();
        }
        std::uint64_t embeddedSize = 0;
        if (attachment.embedded) {
            MessageState embedded = *attachment.embedded;
            if (attachment.embeddedRow && embedded.row != attachment.embeddedRow)
                DeleteMessageRow(FStore, attachment.embeddedRow);
            // Nobody reaches an embedded message but through its parent, whose version has been checked.
            Writer(FStore, true).Write(embedded, attachment.row);
            attachment.embeddedRow = embedded.row;
            embeddedSize = static_cast<std::uint64_t>(embedded.props.Number(tag::MessageSize));
        } else if (attachment.embeddedRow) {
            Query query = database.Prepare("SELECT size FROM messages WHERE id = ?1");
            embeddedSize =
                query.Bind(1, attachment.embeddedRow).Step() ? static_cast<std::uint64_t>(query.Number(0)) : 0;
        }
        const auto size = static_cast<std::int64_t>(AttachmentSize(attachment, embeddedSize));
        attachment.props.Set(
            LongProp(tag::AttachSize, std::min<std::int64_t>(size, std::numeric_limits<std::int32_t>::max())));
        const Bytes props = FStore.Pack({LargeOwner::Attachment, attachment.row}, attachment.props);
        Query update = database.Prepare("UPDATE attachments SET size = ?2, embedded = ?3, props = ?4 WHERE id = ?1");
        update.Bind(1, attachment.row).Bind(2, size).BindBlob(4, props);
        if (attachment.embeddedRow)
            update.Bind(3, attachment.embeddedRow);
        update.Run();
    }

    void Remove(std::int64_t row)
    {
        std::int64_t embedded = 0;
        {
            Query query = FStore.Db().Prepare("SELECT embedded FROM attachments WHERE id = ?1");
            if (query.Bind(1, row).Step())
                embedded = query.Number(0);
        }
        if (embedded)
            DeleteMessageRow(FStore, embedded);
        FStore.DropLargeValues({LargeOwner::Attachment, row});
        Query remove = FStore.Db().Prepare("DELETE FROM attachments WHERE id = ?1");
        remove.Bind(1, row).Run();
    }

    StoreFile& FStore;
    bool FForce;
    Bytes FRecipients; // packed by WriteRecipients, written by WriteBag
};

} // namespace

std::span<const MessageColumn> MessageColumns()
{
    return Columns;
}

const MessageColumn* FindMessageColumn(ULONG id)
{
    static const auto index = [] {
        std::unordered_map<ULONG, const MessageColumn*> map;
        for (const auto& column : Columns)
            map.emplace(column.tag >> 16, &column);
        return map;
    }();
    const auto it = index.find(id);
    return it == index.end() ? nullptr : it->second;
}

std::optional<Prop> ReadColumn(const Query& query, int index, const MessageColumn& column)
{
    if (query.IsNull(index))
        return std::nullopt;
    switch (column.tag & 0xFFFF) {
    case mapi::PT_UNICODE:
        return TextProp(column.tag, UnpackText(query.Text(index)));
    case mapi::PT_BINARY: {
        const auto bytes = query.Blob(index);
        return BinaryProp(column.tag, Bytes(bytes.begin(), bytes.end()));
    }
    default:
        return LongProp(column.tag, query.Number(index));
    }
}

MessageState LoadMessage(StoreFile& store, std::int64_t row)
{
    static const std::string sql = "SELECT m.version, m.folder, m.associated, b.props" + ColumnList(", m.", "") +
                                   " FROM messages m JOIN bags b ON b.message = m.id WHERE m.id = ?1";
    Query query = store.Db().Prepare(sql);
    if (!query.Bind(1, row).Step())
        Fail(mapi::MAPI_E_NOT_FOUND, sNoMessage);
    MessageState message;
    message.row = row;
    message.version = query.Number(0);
    message.folder = query.Number(1);
    message.associated = query.Number(2) != 0;
    int index = 4;
    for (const auto& column : Columns) {
        if (auto prop = ReadColumn(query, index++, column))
            message.props.Set(std::move(*prop));
    }
    store.Unpack(query.Blob(3), message.props); // after the columns: what was cut there is whole here
    return message;
}

void LoadRecipients(StoreFile& store, MessageState& message)
{
    if (message.recipientsLoaded)
        return;
    Query query = store.Db().Prepare("SELECT recipients FROM bags WHERE message = ?1");
    if (query.Bind(1, message.row).Step())
        message.recipients = UnpackRecipients(query.Blob(0));
    message.recipientsLoaded = true;
}

void LoadAttachments(StoreFile& store, MessageState& message)
{
    if (message.attachmentsLoaded)
        return;
    Query query =
        store.Db().Prepare("SELECT id, num, embedded, props FROM attachments WHERE message = ?1 ORDER BY num");
    query.Bind(1, message.row);
    std::vector<AttachmentState> attachments;
    while (query.Step()) {
        AttachmentState attachment;
        attachment.row = query.Number(0);
        attachment.num = static_cast<ULONG>(query.Number(1));
        attachment.embeddedRow = query.Number(2);
        store.Unpack(query.Blob(3), attachment.props);
        message.nextAttachment = std::max(message.nextAttachment, attachment.num + 1);
        attachments.push_back(std::move(attachment));
    }
    message.attachments = std::move(attachments);
    message.attachmentsLoaded = true;
}

void SaveMessage(StoreFile& store, MessageState& message, bool force)
{
    MessageState work = message;
    Transaction transaction(store.Db());
    Writer(store, force).Write(work, 0);
    transaction.Commit();
    message = std::move(work);
}

bool DeleteMessageRow(StoreFile& store, std::int64_t row)
{
    Database& database = store.Db();
    std::vector<std::pair<std::int64_t, std::int64_t>> attachments;
    {
        Query query = database.Prepare("SELECT id, embedded FROM attachments WHERE message = ?1");
        query.Bind(1, row);
        while (query.Step())
            attachments.emplace_back(query.Number(0), query.Number(1));
    }
    for (const auto& [id, embedded] : attachments) {
        store.DropLargeValues({LargeOwner::Attachment, id});
        if (embedded)
            DeleteMessageRow(store, embedded);
    }
    if (!attachments.empty())
        database.Prepare("DELETE FROM attachments WHERE message = ?1").Bind(1, row).Run();
    store.DropLargeValues({LargeOwner::Message, row});
    database.Prepare("DELETE FROM bags WHERE message = ?1").Bind(1, row).Run();
    database.Prepare("DELETE FROM messages WHERE id = ?1").Bind(1, row).Run();
    return database.Changes() > 0;
}

MessageState CopyOfMessage(StoreFile& store, std::int64_t row, std::int64_t folder)
{
    MessageState copy = LoadMessage(store, row);
    LoadRecipients(store, copy);
    LoadAttachments(store, copy);
    for (AttachmentState& attachment : copy.attachments) {
        if (attachment.embeddedRow)
            attachment.embedded = std::make_shared<MessageState>(CopyOfMessage(store, attachment.embeddedRow, 0));
        attachment.row = 0;
        attachment.embeddedRow = 0;
        attachment.changed = true;
    }
    copy.row = 0;
    copy.version = 0;
    copy.folder = folder;
    copy.changed = true;
    copy.recipientsChanged = true;
    return copy;
}

ReadFlagChange::ReadFlagChange(ULONG flags)
{
    if (flags & mapi::GENERATE_RECEIPT_ONLY)
        return;
    const bool pendingOnly = (flags & (mapi::CLEAR_RN_PENDING | mapi::CLEAR_NRN_PENDING)) != 0;
    if (flags & mapi::CLEAR_READ_FLAG)
        clear |= mapi::MSGFLAG_READ;
    else if (!pendingOnly)
        set |= mapi::MSGFLAG_READ;
    if (flags & mapi::CLEAR_RN_PENDING)
        clear |= mapi::MSGFLAG_RN_PENDING;
    if (flags & mapi::CLEAR_NRN_PENDING)
        clear |= mapi::MSGFLAG_NRN_PENDING;
}

bool SetReadFlagOf(StoreFile& store, std::int64_t row, const ReadFlagChange& change)
{
    Query update = store.Db().Prepare("UPDATE messages SET flags = (flags & ~?2) | ?3 WHERE id = ?1");
    update.Bind(1, row).Bind(2, change.clear).Bind(3, change.set).Run();
    return store.Db().Changes() > 0;
}

std::size_t SetReadFlagsOf(StoreFile& store, std::vector<std::int64_t> rows, const ReadFlagChange& change)
{
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::string list;
    for (const std::int64_t row : rows)
        list.append(list.empty() ? "[" : ",").append(std::to_string(row));
    list.append(list.empty() ? "[]" : "]");
    Query update = store.Db().Prepare("UPDATE messages SET flags = (flags & ~?2) | ?3 WHERE id IN "
                                      "(SELECT value FROM json_each(?1)) AND flags <> ((flags & ~?2) | ?3)");
    update.BindText(1, list).Bind(2, change.clear).Bind(3, change.set).Run();
    Query count = store.Db().Prepare("SELECT count(*) FROM messages WHERE id IN (SELECT value FROM json_each(?1))");
    return count.BindText(1, list).Step() ? rows.size() - static_cast<std::size_t>(count.Number(0)) : rows.size();
}

} // namespace deftmapi::client
