#include "client/store/MessageRecords.hpp"

#include "client/entry/Guard.hpp"
#include "client/store/MessageMerge.hpp"

#include <algorithm>
#include <limits>

namespace deftmapi::client
{
namespace
{

constexpr auto sNoMessage = u"The message does not exist.";
constexpr auto sFolderDeleted = u"The folder of the message has been deleted.";
constexpr auto sNoTarget = u"The folder that the message is to be moved to has been deleted.";
constexpr auto sDeleted = u"The message has been deleted since it was opened.";
constexpr auto sContradiction = u"The flags contradict each other.";
constexpr auto sNoReceipt = u"Receipts cannot be sent: there is no transport.";
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

/// Columns of text and of bytes hold nothing else.
bool IsOfColumn(const Prop& prop, ULONG columnTag)
{
    const ULONG type = columnTag & 0xFFFF;
    return prop.Type() == type || (type != mapi::PT_UNICODE && type != mapi::PT_BINARY);
}

bool IsWholeInColumn(const Prop& prop)
{
    const MessageColumn* column = FindMessageColumn(prop.Id());
    return column && IsOfColumn(prop, column->tag) && FitsColumn(prop);
}

/// A binary value as its column takes it.
Bytes ColumnBytesOf(const Prop& prop)
{
    if (const auto* bytes = std::get_if<Bytes>(&prop.data))
        return FitsColumn(prop) ? *bytes : Bytes();
    const auto* blob = std::get_if<BlobPtr>(&prop.data); // written through a stream, of whatever size
    return blob && (*blob)->Size() <= ColumnBytes ? (*blob)->ReadAll() : Bytes();
}

/// @param texts  keeps what is bound
void BindColumn(Query& query, int index, const Prop* prop, std::vector<std::string>& texts)
{
    const auto bindText = [&](WideView text) { query.BindLastingText(index, texts.emplace_back(PackText(text))); };
    if (!prop) {
        query.BindNull(index);
    } else if (const auto* number = std::get_if<std::int64_t>(&prop->data)) {
        query.Bind(index, *number);
    } else if (const auto* text = std::get_if<WideString>(&prop->data)) {
        bindText(FitsColumn(*prop) ? WideView(*text) : WideView(*text).substr(0, limits::TableText));
    } else if (prop->Type() == mapi::PT_BINARY) {
        query.BindBlob(index, ColumnBytesOf(*prop));
    } else if (const auto* blob = std::get_if<BlobPtr>(&prop->data); blob && prop->Type() == mapi::PT_UNICODE) {
        WideString start(limits::TableText, u'\0');
        start.resize((*blob)->Read(0, start.data(), start.size() * 2) / 2);
        bindText(start);
    } else {
        query.BindNull(index);
    }
}

/// What a message is indexed by, as its row has it: columns subject and search_key from this one on.
struct StoredValues
{
    StoredValues() = default;
    StoredValues(const Query& query, int column)
    {
        if (!query.IsNull(column))
            subject = query.Text(column);
        const auto key = query.Blob(column + 1);
        searchKey.assign(key.begin(), key.end());
    }
    [[nodiscard]] IndexedValues View() const
    {
        return {subject ? std::optional<std::string_view>(*subject) : std::nullopt, searchKey};
    }
    [[nodiscard]] bool operator==(const IndexedValues& other) const
    {
        return View().subject == other.subject &&
               std::equal(searchKey.begin(), searchKey.end(), other.searchKey.begin(), other.searchKey.end());
    }

    std::optional<std::string> subject;
    Bytes searchKey;
};

/// A message as counters see it, and what it is indexed by.
struct StoredMessage
{
    CountedMessage counted;
    std::int64_t version = 0;
    std::int64_t status = 0;
    StoredValues values;
};

std::optional<StoredMessage> ReadStored(Database& database, std::int64_t row)
{
    // What another program left there of another type is indexed by nothing.
    static const std::string sql = "SELECT m.folder, m.associated, " + FlagsExpression +
                                   ", m.version, m.status, iif(typeof(m.subject) = 'text', m.subject, NULL), "
                                   "iif(typeof(m.search_key) = 'blob', m.search_key, NULL) "
                                   "FROM messages m WHERE m.id = ?1";
    Query query = database.Prepare(sql);
    if (!query.Bind(1, row).Step())
        return std::nullopt;
    return StoredMessage{{row, query.Number(0), query.Number(1) != 0, query.Number(2)},
                         query.Number(3),
                         query.Number(4),
                         StoredValues(query, 5)};
}

bool FolderExists(StoreFile& store, std::int64_t row)
{
    return store.Db().Prepare("SELECT 1 FROM folders WHERE id = ?1").Bind(1, row).Step();
}

std::uint64_t AttachmentSize(const AttachmentState& attachment, std::uint64_t embedded)
{
    return attachment.props.Size() + embedded;
}

/// Takes a message back to what it was before it was written, unless that succeeded: it is to be saved again as it is.
class WhatWritingChanges
{
public:
    explicit WhatWritingChanges(MessageState& message)
        : FMessage(&message), FRow(message.row), FVersion(message.version), FFolder(message.folder),
          FAttachments(message.attachments)
    {
        for (std::size_t i = 0; i < std::size(Tags); ++i)
            if (const Prop* prop = message.props.Find(Tags[i] >> 16))
                FNumbers[i] = std::get<std::int64_t>(prop->data);
    }
    ~WhatWritingChanges()
    {
        if (!FMessage)
            return;
        FMessage->row = FRow;
        FMessage->version = FVersion;
        FMessage->folder = FFolder;
        FMessage->attachments = std::move(FAttachments);
        for (std::size_t i = 0; i < std::size(Tags); ++i) {
            if (FNumbers[i])
                FMessage->props.Set(LongProp(Tags[i], *FNumbers[i])); // it is there: no memory is needed
            else
                FMessage->props.Erase(Tags[i] >> 16);
        }
    }
    WhatWritingChanges(const WhatWritingChanges&) = delete;
    WhatWritingChanges& operator=(const WhatWritingChanges&) = delete;
    void Forget() { FMessage = nullptr; }

private:
    static constexpr ULONG Tags[] = {tag::MessageFlags, tag::MessageStatus, tag::MessageSize, tag::LastModification};

    MessageState* FMessage;
    std::int64_t FRow;
    std::int64_t FVersion;
    std::int64_t FFolder;
    std::vector<AttachmentState> FAttachments;
    std::optional<std::int64_t> FNumbers[std::size(Tags)];
};

/// Attachments that were written and where: told to those who hold them when all of it is durable.
using WrittenAttachments = std::vector<std::pair<std::shared_ptr<AttachmentPlace>, AttachmentPlace>>;

class Writer
{
public:
    Writer(StoreFile& store, WrittenAttachments& written) : FStore(store), FWritten(written) {}

    void Write(MessageState& message, std::int64_t attachment)
    {
        const bool isNew = message.row == 0;
        if (!isNew)
            CheckVersion(message);
        else if (message.folder && !FolderExists(FStore, message.folder))
            Fail(mapi::MAPI_E_OBJECT_DELETED, sFolderDeleted);
        std::uint64_t size = message.props.Size() + WriteRecipients(message);
        if (isNew) {
            SetSize(message, size);
            Insert(message, attachment);
            if (!message.attachments.empty()) { // they need the row
                SetSize(message, size + WriteAttachments(message));
                Query update = FStore.Db().Prepare("UPDATE messages SET size = ?2 WHERE id = ?1");
                update.Bind(1, message.row).Bind(2, message.props.Number(tag::MessageSize)).Run();
            }
        } else {
            size += WriteAttachments(message);
            message.props.Set(LongProp(tag::LastModification, Now()));
            SetSize(message, size);
            Update(message);
        }
        WriteBag(message, isNew);
    }

private:
    static void SetSize(MessageState& message, std::uint64_t size)
    {
        const auto limited = std::min<std::uint64_t>(size, std::numeric_limits<std::int32_t>::max());
        message.props.Set(LongProp(tag::MessageSize, static_cast<std::int64_t>(limited)));
    }

    void CheckVersion(MessageState& message)
    {
        auto stored = ReadStored(FStore.Db(), message.row);
        if (!stored)
            Fail(mapi::MAPI_E_OBJECT_DELETED, sDeleted);
        if (stored->version != message.version)
            Fail(mapi::MAPI_E_OBJECT_CHANGED, sChanged);
        FBefore = std::move(*stored);
        message.folder = FBefore.counted.folder;
        if (message.folder == 0)
            return; // of an embedded message everything is changed by opening it
        // These are changed without the message being opened, and an open message does not undo it.
        constexpr std::int64_t Outside = mapi::MSGFLAG_READ | mapi::MSGFLAG_RN_PENDING | mapi::MSGFLAG_NRN_PENDING;
        const std::int64_t flags = message.props.Number(tag::MessageFlags) & ~Outside;
        message.props.Set(LongProp(tag::MessageFlags, flags | (FBefore.counted.flags & Outside)));
        message.props.Set(LongProp(tag::MessageStatus, FBefore.status));
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

    void WriteBag(const MessageState& message, bool isNew)
    {
        const Bytes props = FStore.Pack(
            {LargeOwner::Message, message.row}, message.props, [](const Prop& prop) { return !IsWholeInColumn(prop); },
            isNew);
        const char* sql = isNew ? "INSERT INTO bags (message, props, recipients) VALUES (?1, ?2, ?3)"
                          : message.recipientsChanged ? "UPDATE bags SET props = ?2, recipients = ?3 WHERE message = ?1"
                                                      : "UPDATE bags SET props = ?2 WHERE message = ?1";
        Query query = FStore.Db().Prepare(sql);
        query.Bind(1, message.row).BindBlob(2, props);
        if (!FRecipients.empty())
            query.BindBlob(3, FRecipients);
        query.Run();
    }

    [[nodiscard]] static std::int64_t Flags(const MessageState& message)
    {
        return message.props.Number(tag::MessageFlags);
    }

    void BindColumns(Query& query, const MessageState& message)
    {
        FTexts.clear();
        FTexts.reserve(std::size(Columns)); // what is bound may not move
        int parameter = FirstColumn;
        FValues = {};
        for (const auto& column : Columns) {
            const std::size_t texts = FTexts.size();
            const Prop* prop = message.props.Find(column.tag >> 16);
            if (prop && !IsOfColumn(*prop, column.tag))
                prop = nullptr;
            if (column.tag == tag::SearchKey && prop) {
                FValues.searchKey = FSearchKey = ColumnBytesOf(*prop);
                query.BindBlob(parameter, FSearchKey);
            } else {
                BindColumn(query, parameter, prop, FTexts);
            }
            if (column.tag == tag::Subject && FTexts.size() > texts)
                FValues.subject = FTexts.back();
            if (column.tag == tag::MessageFlags && message.folder)
                query.Bind(parameter, Flags(message) | mapi::MSGFLAG_READ); // UnreadPages has the rest of it
            ++parameter;
        }
    }

    /// Everything in one statement: each index and each listener meets the row once, as it is.
    void Insert(MessageState& message, std::int64_t attachment)
    {
        static const std::string sql = "INSERT INTO messages (attachment, folder, version, associated" +
                                       ColumnList(", ", "") + ") VALUES (?1, ?2, ?3, ?4" +
                                       [] {
                                           std::string list;
                                           for (std::size_t i = 0; i < std::size(Columns); ++i)
                                               list.append(", ?").append(std::to_string(FirstColumn + i));
                                           return list;
                                       }() +
                                       ")";
        Query insert = FStore.Db().Prepare(sql);
        message.version = 1;
        if (attachment)
            insert.Bind(1, attachment);
        if (message.folder)
            insert.Bind(2, message.folder);
        insert.Bind(3, message.version).Bind(4, message.associated);
        BindColumns(insert, message);
        insert.Run();
        message.row = FStore.Db().LastRow();
        FStore.Changes().Added({message.row, message.folder, message.associated, Flags(message)}, FValues);
    }

    void Update(MessageState& message)
    {
        static const std::string sql = "UPDATE messages SET version = ?3" + [] {
            std::string list;
            int parameter = FirstColumn;
            for (const auto& column : Columns)
                list.append(", ").append(column.name).append(" = ?").append(std::to_string(parameter++));
            return list;
        }() + " WHERE id = ?1";
        Query update = FStore.Db().Prepare(sql);
        ++message.version;
        update.Bind(1, message.row).Bind(3, message.version);
        BindColumns(update, message);
        update.Run();
        FStore.Changes().Changed(FBefore.counted, Flags(message));
        if (!(FBefore.values == FValues))
            FStore.Changes().Reindex(FBefore.counted, FBefore.values.View(), FValues);
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
            // Of a new one no row counts: its attachments may have learned theirs from a save before, with which the
            // message that was written then goes.
            const bool isNew = attachment.embedded->row == 0;
            MessageState embedded = isNew ? *AsNew(*attachment.embedded) : *attachment.embedded;
            if (attachment.embeddedRow && embedded.row != attachment.embeddedRow)
                DeleteMessageRow(FStore, attachment.embeddedRow);
            else if (embedded.row &&
                     IsOutdated(FStore, embedded)) // its object has been saved before, or see SaveMessage
                embedded = OntoStored(FStore, embedded);
            Writer(FStore, FWritten).Write(embedded, attachment.row);
            attachment.embeddedRow = embedded.row;
            embeddedSize = static_cast<std::uint64_t>(embedded.props.Number(tag::MessageSize));
        } else if (attachment.embeddedRow && attachment.changedProps.contains(tag::AttachDataObj >> 16)) {
            DeleteMessageRow(FStore, attachment.embeddedRow); // deleted, or data has taken its place
            attachment.embeddedRow = 0;
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
        if (attachment.place)
            FWritten.emplace_back(attachment.place, AttachmentPlace{attachment.num, attachment.row});
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
    WrittenAttachments& FWritten;
    StoredMessage FBefore;
    std::vector<std::string> FTexts; // packed, of the statement that runs
    Bytes FSearchKey;                // of it, too
    IndexedValues FValues;           // what they have of these
    Bytes FRecipients;               // packed by WriteRecipients, written by WriteBag
};

} // namespace

std::span<const MessageColumn> MessageColumns()
{
    return Columns;
}

const MessageColumn* FindMessageColumn(ULONG id)
{
    // One byte per identifier up to the last one that has a column: this is asked for every property of every message.
    static const auto& index = *new auto([] { // sessions may outlive the static objects
        std::vector<std::uint8_t> numbers;
        for (std::size_t i = 0; i < std::size(Columns); ++i) {
            const std::size_t at = Columns[i].tag >> 16;
            numbers.resize(std::max(numbers.size(), at + 1));
            numbers[at] = static_cast<std::uint8_t>(i + 1);
        }
        return numbers;
    }());
    return id < index.size() && index[id] != 0 ? &Columns[index[id] - 1] : nullptr;
}

std::string ExpressionOf(const MessageColumn& column)
{
    return column.tag == tag::MessageFlags ? FlagsExpression : std::string("m.").append(column.name);
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

std::string ListOf(std::span<const std::int64_t> rows)
{
    std::string list = "[";
    for (const std::int64_t row : rows)
        list.append(list.size() == 1 ? "" : ",").append(std::to_string(row));
    return list.append("]");
}

MessageState LoadMessage(StoreFile& store, std::int64_t row)
{
    static const auto& sql = *new std::string("SELECT m.version, m.folder, m.associated, b.props" + [] {
        std::string list;
        for (const auto& column : Columns)
            list.append(", ").append(ExpressionOf(column));
        return list;
    }() + " FROM messages m JOIN bags b ON b.message = m.id WHERE m.id = ?1");
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
        attachment.place = std::make_shared<AttachmentPlace>(AttachmentPlace{attachment.num, attachment.row});
        store.Unpack(query.Blob(3), attachment.props);
        message.nextAttachment = std::max(message.nextAttachment, attachment.num + 1);
        attachments.push_back(std::move(attachment));
    }
    message.attachments = std::move(attachments);
    message.attachmentsLoaded = true;
}

void SaveMessage(StoreFile& store, MessageState& message, bool force)
{
    WrittenAttachments written;
    Transaction transaction(store.Db());
    if (force && message.row != 0 && IsOutdated(store, message)) {
        MessageState merged = OntoStored(store, message);
        Writer(store, written).Write(merged, 0);
        transaction.Commit();
        message.version = merged.version;
    } else {
        WhatWritingChanges before(message);
        Writer(store, written).Write(message, 0);
        transaction.Commit();
        before.Forget();
    }
    for (const auto& [place, now] : written)
        *place = now;
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
    const auto stored = ReadStored(database, row);
    if (!stored)
        return false;
    database.Prepare("DELETE FROM messages WHERE id = ?1").Bind(1, row).Run();
    store.Changes().Removed(stored->counted, stored->values.View());
    return true;
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
    constexpr ULONG others = mapi::CLEAR_READ_FLAG | mapi::SUPPRESS_RECEIPT;
    if ((flags & mapi::GENERATE_RECEIPT_ONLY && flags & others) || (flags & others) == others)
        Fail(mapi::MAPI_E_INVALID_PARAMETER, sContradiction);
    if (flags & mapi::GENERATE_RECEIPT_ONLY)
        Fail(mapi::MAPI_E_NO_SUPPORT, sNoReceipt);
    const bool pendingOnly = (flags & (mapi::CLEAR_RN_PENDING | mapi::CLEAR_NRN_PENDING)) != 0;
    if (flags & mapi::CLEAR_READ_FLAG)
        clear |= mapi::MSGFLAG_READ;
    else if (!pendingOnly)
        set |= mapi::MSGFLAG_READ;
    if (flags & (mapi::CLEAR_RN_PENDING | mapi::SUPPRESS_RECEIPT))
        clear |= mapi::MSGFLAG_RN_PENDING;
    if (flags & mapi::CLEAR_NRN_PENDING)
        clear |= mapi::MSGFLAG_NRN_PENDING;
}

namespace
{

/// Changes the flags of messages that are given in the order of their row identifiers.
class FlagsWriter
{
public:
    FlagsWriter(StoreFile& store, const ReadFlagChange& change) : FStore(store), FChange(change), FPages(store.Db()) {}

    /// @param stored  as column flags has them
    void Apply(std::int64_t row, const MessageList& list, std::int64_t stored)
    {
        const bool unread = FPages.IsUnread(list, row);
        const std::int64_t before = unread ? stored & ~std::int64_t{mapi::MSGFLAG_READ} : stored;
        const std::int64_t after = FChange.Apply(before);
        if (after == before)
            return;
        FPages.Set(list, row, (after & mapi::MSGFLAG_READ) == 0);
        if ((after | mapi::MSGFLAG_READ) != stored)
            FStored.emplace_back(row, after | mapi::MSGFLAG_READ);
        FStore.Changes().Changed({row, list.folder, list.associated, before}, after);
    }
    void Finish()
    {
        FPages.Write();
        for (const auto& [row, flags] : FStored)
            FStore.Db().Prepare("UPDATE messages SET flags = ?2 WHERE id = ?1").Bind(1, row).Bind(2, flags).Run();
    }

private:
    StoreFile& FStore;
    const ReadFlagChange& FChange;
    UnreadPages FPages;
    std::vector<std::pair<std::int64_t, std::int64_t>> FStored; // rows and what their columns are to have
};

} // namespace

std::size_t SetReadFlagsOf(StoreFile& store, std::vector<std::int64_t> rows, const ReadFlagChange& change)
{
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    FlagsWriter writer(store, change);
    std::size_t found = 0;
    Query query = store.Db().Prepare("SELECT m.id, m.folder, m.associated, m.flags FROM json_each(?1) j "
                                     "CROSS JOIN messages m ON m.id = j.value WHERE m.folder IS NOT NULL");
    query.BindText(1, ListOf(rows));
    for (; query.Step(); ++found)
        writer.Apply(query.Number(0), {query.Number(1), query.Number(2) != 0}, query.Number(3));
    writer.Finish();
    return rows.size() - found;
}

void SetReadFlagsIn(StoreFile& store, std::int64_t folder, const ReadFlagChange& change)
{
    FlagsWriter writer(store, change);
    Query query = store.Db().Prepare("SELECT id, flags FROM messages WHERE folder = ?1 AND associated = 0 ORDER BY id");
    query.Bind(1, folder);
    while (query.Step())
        writer.Apply(query.Number(0), {folder, false}, query.Number(1));
    writer.Finish();
}

std::int64_t SetStatusOf(StoreFile& store, std::int64_t row, std::int64_t status, std::int64_t mask)
{
    const auto stored = ReadStored(store.Db(), row);
    if (!stored || !stored->counted.folder)
        Fail(mapi::MAPI_E_NOT_FOUND, sNoMessage);
    Query update = store.Db().Prepare("UPDATE messages SET status = ?2 WHERE id = ?1");
    update.Bind(1, row).Bind(2, (stored->status & ~mask) | (status & mask)).Run();
    store.Changes().Changed(stored->counted, stored->counted.flags);
    return stored->status;
}

bool MoveMessage(StoreFile& store, std::int64_t row, std::int64_t folder)
{
    if (!FolderExists(store, folder))
        Fail(mapi::MAPI_E_OBJECT_DELETED, sNoTarget);
    const auto stored = ReadStored(store.Db(), row);
    if (!stored || !stored->counted.folder)
        return false;
    Query move = store.Db().Prepare("UPDATE messages SET folder = ?2, version = version + 1 WHERE id = ?1");
    move.Bind(1, row).Bind(2, folder).Run();
    store.Changes().Moved(stored->counted, folder, stored->values.View());
    return true;
}

} // namespace deftmapi::client
