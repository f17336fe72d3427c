#include "client/notify/StoreFeed.hpp"

#include "client/entry/Guard.hpp"
#include "client/store/PropertyTags.hpp"

namespace deftmapi::client
{
namespace
{

mapi::ULONG EventOf(const JournalEntry& entry)
{
    switch (entry.kind) {
    case JournalKind::MessageAdded:
    case JournalKind::FolderAdded:
        return entry.source ? mapi::fnevObjectCopied : mapi::fnevObjectCreated;
    case JournalKind::MessageDeleted:
    case JournalKind::FolderDeleted:
        return mapi::fnevObjectDeleted;
    case JournalKind::MessageMoved:
    case JournalKind::FolderMoved:
        return mapi::fnevObjectMoved;
    case JournalKind::SearchDone:
        return mapi::fnevSearchComplete;
    case JournalKind::NewMail:
        return mapi::fnevNewMail;
    default:
        return mapi::fnevObjectModified;
    }
}

/// The folder in which the object lies now, 0 when it is gone.
std::int64_t ParentOf(Database& database, EntryKind kind, std::int64_t row)
{
    Query query = database.Prepare(kind == EntryKind::Folder ? "SELECT parent FROM folders WHERE id = ?1"
                                                             : "SELECT folder FROM messages WHERE id = ?1");
    return query.Bind(1, row).Step() ? query.Number(0) : 0;
}

/// An event of an object; identifiers that are empty are left out.
struct ObjectEvent
{
    mapi::ULONG event = 0;
    mapi::ULONG type = 0;
    Bytes entry;
    Bytes parent;
    Bytes oldEntry = {};
    Bytes oldParent = {};
    std::vector<mapi::ULONG> tags = {};
};

void Point(Bytes& id, mapi::ULONG& size, mapi::LPENTRYID& entry)
{
    size = static_cast<mapi::ULONG>(id.size());
    entry = id.empty() ? nullptr : reinterpret_cast<mapi::LPENTRYID>(id.data());
}

void Add(NotificationBatch& batch, ObjectEvent told)
{
    mapi::NOTIFICATION item{};
    item.ulEventType = told.event;
    auto& object = item.info.obj;
    object.ulObjType = told.type;
    Point(told.entry, object.cbEntryID, object.lpEntryID);
    Point(told.parent, object.cbParentID, object.lpParentID);
    Point(told.oldEntry, object.cbOldID, object.lpOldID);
    Point(told.oldParent, object.cbOldParentID, object.lpOldParentID);
    if (!told.tags.empty()) {
        told.tags.insert(told.tags.begin(), static_cast<mapi::ULONG>(told.tags.size()));
        object.lpPropTagArray = reinterpret_cast<mapi::LPSPropTagArray>(told.tags.data());
    }
    batch.AddCopy(item);
}

void AddError(NotificationBatch& batch, Bytes store, mapi::HRESULT code)
{
    mapi::NOTIFICATION item{};
    item.ulEventType = mapi::fnevCriticalError;
    Point(store, item.info.err.cbEntryID, item.info.err.lpEntryID);
    item.info.err.scode = code;
    batch.AddCopy(item);
}

} // namespace

StoreFeed::StoreFeed(StorePtr store, mapi::ULONG mask, std::optional<EntryReference> object)
    : FStore(std::move(store)), FMask(mask), FObject(std::move(object))
{
    const std::lock_guard lock(FStore->Lock());
    const Snapshot snapshot(FStore->Db());
    FSeen = LastJournalNumber(FStore->Db());
    if (IsForMessage())
        FMark = LookAtMessage();
}

StoreFeed::Mark StoreFeed::LookAtMessage() const
{
    static const auto& sql = *new std::string("SELECT m.folder, m.version, " + FlagsExpression +
                                              ", m.status FROM messages m WHERE m.id = ?1");
    Query query = FStore->Db().Prepare(sql);
    if (!query.Bind(1, FObject->row).Step())
        return {};
    return {query.Number(0), query.Number(1), query.Number(2), query.Number(3)};
}

void StoreFeed::TellMessage(const Mark& now, NotificationBatch& batch)
{
    const mapi::ULONG event = now.folder == 0              ? mapi::fnevObjectDeleted
                              : now.folder != FMark.folder ? mapi::fnevObjectMoved
                                                           : mapi::fnevObjectModified;
    // An entry of its own, before or after the one for all, has told of the same unless it is gone since.
    if (now == FMark || !(FMask & event) || FOwn & event)
        return;
    const Bytes id = FStore->EntryIdOf(EntryKind::Message, FObject->row);
    ObjectEvent told{event, mapi::MAPI_MESSAGE, id, FolderId(now.folder ? now.folder : FMark.folder)};
    if (event == mapi::fnevObjectMoved) {
        told.oldEntry = id;
        told.oldParent = FolderId(FMark.folder);
    }
    Add(batch, std::move(told));
}

Bytes StoreFeed::FolderId(std::int64_t row) const
{
    return row ? FStore->EntryIdOf(EntryKind::Folder, row) : Bytes();
}

bool StoreFeed::Wants(EntryKind kind, std::int64_t row, std::int64_t parent, std::int64_t oldParent) const
{
    if (!FObject)
        return true;
    if (kind == FObject->kind && row == FObject->row)
        return true;
    return FObject->kind == EntryKind::Folder && (parent == FObject->row || oldParent == FObject->row);
}

NotificationBatch StoreFeed::Collect() noexcept
{
    const std::lock_guard lock(FLock);
    NotificationBatch batch;
    LastError failure;
    const mapi::HRESULT hr = Guard(failure, [&] {
        NotificationBatch changes; // all of them or none: a failure in the middle must not tell half
        const std::int64_t seen = FSeen;
        try {
            CollectChanges(changes);
        } catch (...) {
            FSeen = seen;
            throw;
        }
        FFailing = false;
        batch.Append(std::move(changes));
    });
    if (mapi::Failed(hr) && !std::exchange(FFailing, true) && FMask & mapi::fnevCriticalError) // once
        Guard(failure, [&] { AddError(batch, FStore->EntryIdOf(EntryKind::Store, 0), hr); });
    return batch;
}

void StoreFeed::CollectChanges(NotificationBatch& batch)
{
    const std::lock_guard lock(FStore->Lock());
    Database& database = FStore->Db();
    const Snapshot snapshot(database);
    const std::int64_t last = LastJournalNumber(database);
    if (last == FSeen)
        return;
    FCounted.clear();
    std::vector<JournalEntry> entries;
    // Numbers go back only when the file has been put in the place of a newer one.
    const bool known = FSeen < last && ReadJournal(database, FSeen, [&entries](const JournalEntry& entry) {
                           entries.push_back(entry);
                           return true;
                       });
    FSeen = last;
    FBulk = false;
    FOwn = 0;
    const Mark now = IsForMessage() ? LookAtMessage() : Mark();
    if (!known) {
        FMark = now;
        return TellStore(batch);
    }
    for (const JournalEntry& entry : entries)
        Tell(entry, batch);
    if (IsForMessage() && FBulk)
        TellMessage(now, batch);
    if (FMask & mapi::fnevObjectModified)
        TellCounters(batch);
    FMark = now;
}

void StoreFeed::TellStore(NotificationBatch& batch) const
{
    if (FMask & mapi::fnevObjectModified)
        Add(batch, {mapi::fnevObjectModified, mapi::MAPI_STORE, FStore->EntryIdOf(EntryKind::Store, 0), {}});
}

void StoreFeed::Tell(const JournalEntry& entry, NotificationBatch& batch)
{
    if (entry.kind == JournalKind::StoreModified) {
        if (!FObject)
            TellStore(batch);
        return;
    }
    if (entry.IsMessage()) {
        for (const std::int64_t folder : {entry.folder, entry.other}) {
            if (folder)
                FCounted.emplace(folder, false).first->second |= !entry.associated;
        }
    }
    FBulk |= entry.kind == JournalKind::FolderBulk;
    if (entry.isLink || entry.kind == JournalKind::FolderBulk)
        return; // the counters of the folder tell of it
    const mapi::ULONG event = EventOf(entry);
    const EntryKind kind =
        entry.IsMessage() || entry.kind == JournalKind::NewMail ? EntryKind::Message : EntryKind::Folder;
    if (IsForMessage() && kind == EntryKind::Message && entry.object == FObject->row)
        FOwn |= event;
    const std::int64_t oldParent = entry.source ? ParentOf(FStore->Db(), kind, entry.source) : entry.other;
    if (!(FMask & event) || !Wants(kind, entry.object, entry.folder, oldParent))
        return;
    if (entry.kind == JournalKind::NewMail)
        return TellNewMail(entry, batch);
    ObjectEvent told{event, static_cast<mapi::ULONG>(kind), FStore->EntryIdOf(kind, entry.object),
                     FolderId(entry.folder)};
    if (event == mapi::fnevObjectMoved || event == mapi::fnevObjectCopied) {
        told.oldEntry = FStore->EntryIdOf(kind, entry.source ? entry.source : entry.object);
        told.oldParent = FolderId(oldParent);
    }
    Add(batch, std::move(told));
}

void StoreFeed::TellNewMail(const JournalEntry& entry, NotificationBatch& batch)
{
    static const auto& sql =
        *new std::string("SELECT m.folder, m.message_class, " + FlagsExpression + " FROM messages m WHERE m.id = ?1");
    Query query = FStore->Db().Prepare(sql);
    if (!query.Bind(1, entry.object).Step())
        return; // deleted meanwhile
    Bytes id = FStore->EntryIdOf(EntryKind::Message, entry.object);
    Bytes folder = FStore->EntryIdOf(EntryKind::Folder, query.Number(0));
    WideString messageClass = UnpackText(query.Text(1));
    mapi::NOTIFICATION item{};
    item.ulEventType = mapi::fnevNewMail;
    auto& mail = item.info.newmail;
    Point(id, mail.cbEntryID, mail.lpEntryID);
    Point(folder, mail.cbParentID, mail.lpParentID);
    mail.ulFlags = mapi::MAPI_UNICODE;
    mail.lpszMessageClass = messageClass.data();
    mail.ulMessageFlags = static_cast<mapi::ULONG>(query.Number(2));
    batch.AddCopy(item);
}

void StoreFeed::TellCounters(NotificationBatch& batch)
{
    for (const auto& [folder, ordinary] : FCounted) {
        const std::int64_t parent = ParentOf(FStore->Db(), EntryKind::Folder, folder);
        if (parent == 0 && folder != static_cast<std::int64_t>(SpecialFolder::Root))
            continue; // deleted meanwhile
        if (FObject && !(FObject->kind == EntryKind::Folder && FObject->row == folder))
            continue;
        std::vector<mapi::ULONG> tags = {tag::AssociatedCount};
        if (ordinary)
            tags = {tag::ContentCount, tag::ContentUnread};
        Add(batch, {mapi::fnevObjectModified,
                    mapi::MAPI_FOLDER,
                    FStore->EntryIdOf(EntryKind::Folder, folder),
                    parent ? FStore->EntryIdOf(EntryKind::Folder, parent) : Bytes(),
                    {},
                    {},
                    tags});
    }
}

} // namespace deftmapi::client
