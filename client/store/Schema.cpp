#include "client/store/Schema.hpp"

#include "client/entry/Guard.hpp"
#include "client/store/EntryIds.hpp"
#include "client/store/PropertyBag.hpp"
#include "client/store/SchemaVersions.hpp"
#include "client/store/SortedIndexes.hpp"

#include <array>
#include <cstring>
#include <fstream>
#include <map>
#include <mutex>
#include <unistd.h>

namespace deftmapi::client
{
namespace
{

constexpr auto sMissing = u"The store file does not exist: ";
constexpr auto sNoStore = u"The file is damaged or is no message store: ";
constexpr auto sNewer = u"The message store was written by a newer version of this program: ";

// Step 1: the first layout. A step that has been published is never changed; a new layout is a new step.
constexpr const char* Step1[] = {
    R"(CREATE TABLE store (
        id INTEGER PRIMARY KEY CHECK (id = 1),
        uid BLOB NOT NULL,
        hierarchy INTEGER NOT NULL DEFAULT 0,
        props BLOB NOT NULL))",
    R"(CREATE TABLE folders (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        parent INTEGER REFERENCES folders(id),
        type INTEGER NOT NULL,
        name TEXT NOT NULL,
        name_key TEXT NOT NULL,
        created INTEGER NOT NULL,
        modified INTEGER NOT NULL,
        version INTEGER NOT NULL DEFAULT 0,
        membership INTEGER NOT NULL DEFAULT 0,
        changes INTEGER NOT NULL DEFAULT 0,
        content_count INTEGER NOT NULL DEFAULT 0,
        unread_count INTEGER NOT NULL DEFAULT 0,
        associated_count INTEGER NOT NULL DEFAULT 0,
        props BLOB NOT NULL,
        UNIQUE (parent, name_key)))",
    R"(CREATE TABLE messages (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        folder INTEGER REFERENCES folders(id),
        attachment INTEGER,
        associated INTEGER NOT NULL DEFAULT 0,
        version INTEGER NOT NULL DEFAULT 0,
        flags INTEGER NOT NULL DEFAULT 0,
        status INTEGER NOT NULL DEFAULT 0,
        size INTEGER NOT NULL DEFAULT 0,
        has_attach INTEGER NOT NULL DEFAULT 0,
        importance INTEGER,
        priority INTEGER,
        sensitivity INTEGER,
        icon_index INTEGER,
        flag_status INTEGER,
        last_verb INTEGER,
        submit_time INTEGER,
        delivery_time INTEGER,
        created INTEGER,
        modified INTEGER,
        message_class TEXT,
        subject TEXT,
        subject_prefix TEXT,
        normalized_subject TEXT,
        topic TEXT,
        conversation_index BLOB,
        sender_name TEXT,
        sender_email TEXT,
        sender_addrtype TEXT,
        sent_rep_name TEXT,
        sent_rep_email TEXT,
        display_to TEXT,
        display_cc TEXT,
        display_bcc TEXT,
        internet_id TEXT,
        search_key BLOB))",
    "CREATE INDEX messages_folder ON messages (folder, associated) WHERE folder IS NOT NULL",
    R"(CREATE TABLE bags (
        message INTEGER PRIMARY KEY,
        props BLOB NOT NULL,
        recipients BLOB))",
    R"(CREATE TABLE attachments (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        message INTEGER NOT NULL,
        num INTEGER NOT NULL,
        size INTEGER NOT NULL,
        embedded INTEGER,
        props BLOB NOT NULL,
        UNIQUE (message, num)))",
    // owner: LargeOwner, the row of the object and what kind of object it is in one number.
    R"(CREATE TABLE large_values (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        owner INTEGER NOT NULL,
        size INTEGER NOT NULL))",
    "CREATE INDEX large_values_owner ON large_values (owner)",
    // id: number of the value times 2^20 plus number of the chunk.
    "CREATE TABLE chunks (id INTEGER PRIMARY KEY, data BLOB NOT NULL)",
    R"(CREATE TABLE named_props (
        id INTEGER PRIMARY KEY,
        set_guid BLOB NOT NULL,
        lid INTEGER,
        name TEXT))",
    "CREATE UNIQUE INDEX named_props_lid ON named_props (set_guid, lid) WHERE lid IS NOT NULL",
    "CREATE UNIQUE INDEX named_props_name ON named_props (set_guid, name) WHERE name IS NOT NULL",
    R"(CREATE TABLE receive_folders (
        class_key TEXT PRIMARY KEY,
        class TEXT NOT NULL,
        folder INTEGER NOT NULL))",
    // The counters of a folder are kept by the database itself, so that no way of changing a message can miss them.
    R"(CREATE TRIGGER message_added AFTER INSERT ON messages WHEN NEW.folder IS NOT NULL BEGIN
        UPDATE folders SET membership = membership + 1, changes = changes + 1,
            content_count = content_count + (NEW.associated = 0),
            unread_count = unread_count + (NEW.associated = 0 AND (NEW.flags & 1) = 0),
            associated_count = associated_count + (NEW.associated <> 0)
        WHERE id = NEW.folder; END)",
    R"(CREATE TRIGGER message_removed AFTER DELETE ON messages WHEN OLD.folder IS NOT NULL BEGIN
        UPDATE folders SET membership = membership + 1, changes = changes + 1,
            content_count = content_count - (OLD.associated = 0),
            unread_count = unread_count - (OLD.associated = 0 AND (OLD.flags & 1) = 0),
            associated_count = associated_count - (OLD.associated <> 0)
        WHERE id = OLD.folder; END)",
    R"(CREATE TRIGGER message_changed AFTER UPDATE ON messages WHEN NEW.folder IS OLD.folder AND NEW.folder IS NOT NULL BEGIN
        UPDATE folders SET changes = changes + 1,
            unread_count = unread_count + (NEW.associated = 0) * (((NEW.flags & 1) = 0) - ((OLD.flags & 1) = 0))
        WHERE id = NEW.folder; END)",
    R"(CREATE TRIGGER message_moved AFTER UPDATE ON messages WHEN NEW.folder IS NOT OLD.folder BEGIN
        UPDATE folders SET membership = membership + 1, changes = changes + 1,
            content_count = content_count - (OLD.associated = 0),
            unread_count = unread_count - (OLD.associated = 0 AND (OLD.flags & 1) = 0),
            associated_count = associated_count - (OLD.associated <> 0)
        WHERE id = OLD.folder;
        UPDATE folders SET membership = membership + 1, changes = changes + 1,
            content_count = content_count + (NEW.associated = 0),
            unread_count = unread_count + (NEW.associated = 0 AND (NEW.flags & 1) = 0),
            associated_count = associated_count + (NEW.associated <> 0)
        WHERE id = NEW.folder; END)",
    R"(CREATE TRIGGER folder_added AFTER INSERT ON folders BEGIN
        UPDATE store SET hierarchy = hierarchy + 1; END)",
    R"(CREATE TRIGGER folder_removed AFTER DELETE ON folders BEGIN
        UPDATE store SET hierarchy = hierarchy + 1; END)",
    R"(CREATE TRIGGER folder_changed AFTER UPDATE OF parent, name, props ON folders BEGIN
        UPDATE store SET hierarchy = hierarchy + 1; END)",
};

// Step 2: the journal that listeners read (client/notify/Journal.hpp has the kinds and the number of entries kept).
// Counters of folders are not entered: the entries of messages tell whose have changed.
constexpr const char* Step2[] = {
    R"(CREATE TABLE journal (
        seq INTEGER PRIMARY KEY AUTOINCREMENT,
        kind INTEGER NOT NULL,
        object INTEGER NOT NULL,
        folder INTEGER,
        other INTEGER,
        associated INTEGER NOT NULL DEFAULT 0))",
    R"(CREATE TRIGGER journal_trim AFTER INSERT ON journal WHEN NEW.seq % 1024 = 0 BEGIN
        DELETE FROM journal WHERE seq <= NEW.seq - 16384; END)",
    R"(CREATE TRIGGER journal_message_added AFTER INSERT ON messages WHEN NEW.folder IS NOT NULL BEGIN
        INSERT INTO journal (kind, object, folder, associated) VALUES (1, NEW.id, NEW.folder, NEW.associated); END)",
    R"(CREATE TRIGGER journal_message_removed AFTER DELETE ON messages WHEN OLD.folder IS NOT NULL BEGIN
        INSERT INTO journal (kind, object, folder, associated) VALUES (2, OLD.id, OLD.folder, OLD.associated); END)",
    R"(CREATE TRIGGER journal_message_changed AFTER UPDATE ON messages
        WHEN NEW.folder IS NOT NULL OR OLD.folder IS NOT NULL BEGIN
        INSERT INTO journal (kind, object, folder, other, associated) VALUES (
            CASE WHEN NEW.folder IS OLD.folder THEN 3 WHEN OLD.folder IS NULL THEN 1 WHEN NEW.folder IS NULL THEN 2
                ELSE 4 END,
            NEW.id, ifnull(NEW.folder, OLD.folder),
            CASE WHEN NEW.folder IS NOT OLD.folder AND NEW.folder IS NOT NULL THEN OLD.folder END,
            NEW.associated); END)",
    R"(CREATE TRIGGER journal_folder_added AFTER INSERT ON folders BEGIN
        INSERT INTO journal (kind, object, folder) VALUES (5, NEW.id, NEW.parent); END)",
    R"(CREATE TRIGGER journal_folder_removed AFTER DELETE ON folders BEGIN
        INSERT INTO journal (kind, object, folder) VALUES (6, OLD.id, OLD.parent); END)",
    R"(CREATE TRIGGER journal_folder_changed AFTER UPDATE OF parent, name, props ON folders BEGIN
        INSERT INTO journal (kind, object, folder, other) VALUES (
            CASE WHEN NEW.parent IS OLD.parent THEN 7 ELSE 8 END, NEW.id, NEW.parent,
            CASE WHEN NEW.parent IS NOT OLD.parent THEN OLD.parent END); END)",
};

// Step 3: what contents tables are sorted, restricted and searched by. The row identifier is the last column of each.
constexpr const char* Step3[] = {
    "CREATE INDEX messages_delivery ON messages (folder, associated, delivery_time) WHERE folder IS NOT NULL",
    "CREATE INDEX messages_unread ON messages (folder, associated, delivery_time) "
    "WHERE folder IS NOT NULL AND (flags & 1) = 0",
    "CREATE INDEX messages_subject ON messages (folder, associated, subject COLLATE deft_fold) "
    "WHERE folder IS NOT NULL",
    "CREATE INDEX messages_search_key ON messages (search_key) WHERE folder IS NOT NULL",
};

// Step 4: the counters of folders and the journal entries of messages are written once per transaction (StoreChanges)
// instead of once per row. Folders are few: their triggers stay.
constexpr const char* Step4[] = {
    "DROP TRIGGER message_added",           "DROP TRIGGER message_removed",
    "DROP TRIGGER message_changed",         "DROP TRIGGER message_moved",
    "DROP TRIGGER journal_message_added",   "DROP TRIGGER journal_message_removed",
    "DROP TRIGGER journal_message_changed",
};

// Step 5: search folders: what each looks for, where, and the messages that it shows.
constexpr const char* Step5[] = {
    "CREATE TABLE searches (folder INTEGER PRIMARY KEY, restriction BLOB NOT NULL, state INTEGER NOT NULL)",
    "CREATE TABLE search_scopes (search INTEGER, folder INTEGER, PRIMARY KEY (search, folder)) WITHOUT ROWID",
    "CREATE TABLE search_links (search INTEGER, message INTEGER, PRIMARY KEY (search, message)) WITHOUT ROWID",
    "CREATE INDEX search_links_message ON search_links (message)",
};

// Step 6: the subjects packed for searches (SubjectPages).
constexpr const char* Step6[] = {"CREATE TABLE subject_pages (id INTEGER PRIMARY KEY, texts BLOB NOT NULL)"};

// Step 7: which messages are unread is kept apart from their rows (UnreadPages), and indexes whose order has nothing to
// do with that of the messages are tables of ours (SortedIndexes).
constexpr const char* Step7[] = {
    "DROP INDEX messages_unread",
    "DROP INDEX messages_subject",
    "DROP INDEX messages_search_key",
    // What other programs left there: these columns are compared as what they are.
    "UPDATE messages SET subject = CAST(subject AS TEXT) WHERE typeof(subject) = 'blob'",
    R"(UPDATE messages SET search_key = CAST(search_key AS BLOB)
        WHERE typeof(search_key) <> 'blob' AND search_key IS NOT NULL)",
    "CREATE TABLE unread_pages (id INTEGER PRIMARY KEY, unread INTEGER NOT NULL)",
    // No type: for a message without a subject it is the number 0, which stands before all texts.
    R"(CREATE TABLE subjects (folder INTEGER, associated INTEGER, subject COLLATE deft_fold, id INTEGER,
        PRIMARY KEY (folder, associated, subject, id)) WITHOUT ROWID)",
    "CREATE TABLE search_keys (search_key BLOB, id INTEGER, PRIMARY KEY (search_key, id)) WITHOUT ROWID",
    // CROSS JOIN: always in the order of the subjects.
    R"(CREATE VIEW messages_by_subject AS SELECT s.id, s.folder, s.associated, s.subject AS subject_key,
        iif(typeof(s.subject) = 'text', s.subject, NULL) AS subject, x.flags, x.status, x.size, x.has_attach,
        x.importance, x.priority, x.sensitivity, x.icon_index, x.flag_status, x.last_verb, x.submit_time,
        x.delivery_time, x.created, x.modified, x.message_class, x.subject_prefix, x.normalized_subject, x.topic,
        x.conversation_index, x.sender_name, x.sender_email, x.sender_addrtype, x.sent_rep_name, x.sent_rep_email,
        x.display_to, x.display_cc, x.display_bcc, x.internet_id, x.search_key
        FROM subjects s CROSS JOIN messages x ON x.id = s.id)",
};

struct Step
{
    std::span<const char* const> statements;
    void (*fill)(Database& database) = nullptr; // what statements cannot say
};
constexpr Step Steps[] = {{Step1}, {Step2}, {Step3}, {Step4}, {Step5}, {Step6}, {Step7, FillIndexes}};
static_assert(std::size(Steps) == schema::Version);

/// Runs the steps after `from` up to `to` inside the caller's transaction.
void RunSteps(Database& database, std::int64_t from, std::int64_t to = schema::Version)
{
    for (std::int64_t step = from; step < to; ++step) {
        for (const char* statement : Steps[step].statements)
            database.Execute(statement);
        if (Steps[step].fill)
            Steps[step].fill(database);
    }
    database.Execute("PRAGMA user_version = " + std::to_string(to));
}

struct SpecialFolderRow
{
    SpecialFolder id;
    SpecialFolder parent;
    const char16_t* name;
    const char16_t* containerClass;
};

constexpr auto Sub = SpecialFolder::IpmSubtree;
constexpr SpecialFolderRow SpecialFolders[] = {
    {SpecialFolder::IpmSubtree, SpecialFolder::Root, u"Top of Personal Folders", u"IPF.Note"},
    {SpecialFolder::Inbox, Sub, u"Inbox", u"IPF.Note"},
    {SpecialFolder::Outbox, Sub, u"Outbox", u"IPF.Note"},
    {SpecialFolder::SentItems, Sub, u"Sent Items", u"IPF.Note"},
    {SpecialFolder::DeletedItems, Sub, u"Deleted Items", u"IPF.Note"},
    {SpecialFolder::Drafts, Sub, u"Drafts", u"IPF.Note"},
    {SpecialFolder::Calendar, Sub, u"Calendar", u"IPF.Appointment"},
    {SpecialFolder::Contacts, Sub, u"Contacts", u"IPF.Contact"},
    {SpecialFolder::Journal, Sub, u"Journal", u"IPF.Journal"},
    {SpecialFolder::Notes, Sub, u"Notes", u"IPF.StickyNote"},
    {SpecialFolder::Tasks, Sub, u"Tasks", u"IPF.Task"},
    {SpecialFolder::JunkEmail, Sub, u"Junk E-mail", u"IPF.Note"},
    {SpecialFolder::SyncIssues, Sub, u"Sync Issues", u"IPF.Note"},
    {SpecialFolder::Conflicts, SpecialFolder::SyncIssues, u"Conflicts", u"IPF.Note"},
    {SpecialFolder::LocalFailures, SpecialFolder::SyncIssues, u"Local Failures", u"IPF.Note"},
    {SpecialFolder::ServerFailures, SpecialFolder::SyncIssues, u"Server Failures", u"IPF.Note"},
    {SpecialFolder::Finder, SpecialFolder::Root, u"Search Root", nullptr},
    {SpecialFolder::CommonViews, SpecialFolder::Root, u"Common Views", nullptr},
    {SpecialFolder::Views, SpecialFolder::Root, u"Views", nullptr},
};

Bytes FolderEntry(const Uid& store, SpecialFolder folder)
{
    return MakeEntryId({store, EntryKind::Folder, static_cast<std::int64_t>(folder)});
}

/// PR_IPM_…_ENTRYID and PR_ADDITIONAL_REN_ENTRYIDS as they stand on the Inbox and on the root folder.
void PackFolderLinks(const Uid& store, Bytes& out)
{
    const std::pair<ULONG, SpecialFolder> links[] = {
        {tag::IpmAppointment, SpecialFolder::Calendar}, {tag::IpmContact, SpecialFolder::Contacts},
        {tag::IpmJournal, SpecialFolder::Journal},      {tag::IpmNote, SpecialFolder::Notes},
        {tag::IpmTask, SpecialFolder::Tasks},           {tag::IpmDrafts, SpecialFolder::Drafts}};
    for (const auto& [tag, folder] : links)
        PackProp(BinaryProp(tag, FolderEntry(store, folder)), out);
    // The order is fixed: conflicts, sync issues, local failures, server failures, junk e-mail.
    std::vector<Bytes> more;
    for (const auto folder : {SpecialFolder::Conflicts, SpecialFolder::SyncIssues, SpecialFolder::LocalFailures,
                              SpecialFolder::ServerFailures, SpecialFolder::JunkEmail})
        more.push_back(FolderEntry(store, folder));
    PackProp({tag::AdditionalRen, std::move(more)}, out);
}

void InsertFolder(Database& database, SpecialFolder id, std::optional<SpecialFolder> parent, ULONG type,
                  const WideString& name, const Bytes& props)
{
    Query insert = database.Prepare("INSERT INTO folders (id, parent, type, name, name_key, created, modified, props) "
                                    "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?6, ?7)");
    insert.Bind(1, static_cast<std::int64_t>(id));
    if (parent)
        insert.Bind(2, static_cast<std::int64_t>(*parent));
    insert.Bind(3, type).BindText(4, PackText(name)).BindText(5, PackText(KwUpperCase(name))).Bind(6, Now());
    insert.BindBlob(7, props).Run();
}

void Populate(Database& database, const Uid& store, const WideString& displayName)
{
    const std::pair<ULONG, SpecialFolder> links[] = {{tag::IpmSubtree, SpecialFolder::IpmSubtree},
                                                     {tag::IpmOutbox, SpecialFolder::Outbox},
                                                     {tag::IpmWastebasket, SpecialFolder::DeletedItems},
                                                     {tag::IpmSentMail, SpecialFolder::SentItems},
                                                     {tag::Views, SpecialFolder::Views},
                                                     {tag::CommonViews, SpecialFolder::CommonViews},
                                                     {tag::Finder, SpecialFolder::Finder}};
    Bytes props;
    PackProp(TextProp(tag::DisplayName, displayName), props);
    for (const auto& [tag, folder] : links)
        PackProp(BinaryProp(tag, FolderEntry(store, folder)), props);
    Query insert = database.Prepare("INSERT INTO store (id, uid, props) VALUES (1, ?1, ?2)");
    insert.BindBlob(1, ToBytes(store)).BindBlob(2, props).Run();

    Bytes rootProps;
    PackFolderLinks(store, rootProps);
    InsertFolder(database, SpecialFolder::Root, std::nullopt, mapi::FOLDER_ROOT, u"", rootProps);
    for (const auto& row : SpecialFolders) {
        Bytes folderProps;
        if (row.containerClass)
            PackProp(TextProp(tag::ContainerClass, row.containerClass), folderProps);
        if (row.id == SpecialFolder::Inbox)
            PackFolderLinks(store, folderProps);
        InsertFolder(database, row.id, row.parent, mapi::FOLDER_GENERIC, row.name, folderProps);
    }
    database.Execute("INSERT INTO receive_folders VALUES ('', '', " +
                     std::to_string(static_cast<int>(SpecialFolder::Inbox)) + ")");
}

std::uint32_t BigEndian(const unsigned char* at)
{
    return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
}

WideString Named(WideView text, const std::filesystem::path& file)
{
    return WideString(text).append(file.u16string());
}

void ReadHeader(const std::filesystem::path& file)
{
    // Offsets of the SQLite file header: magic 0, user version 60, application id 68.
    std::array<unsigned char, 100> header{};
    std::ifstream in(file, std::ios::binary);
    if (!in && !std::filesystem::exists(file))
        Fail(mapi::MAPI_E_NOT_FOUND, Named(sMissing, file));
    in.read(reinterpret_cast<char*>(header.data()), header.size());
    if (!in || std::memcmp(header.data(), "SQLite format 3", 16) != 0 ||
        BigEndian(&header[68]) != schema::ApplicationId || BigEndian(&header[60]) == 0)
        Fail(mapi::MAPI_E_CORRUPT_STORE, Named(sNoStore, file));
    if (BigEndian(&header[60]) > static_cast<std::uint32_t>(schema::Version))
        Fail(mapi::MAPI_E_VERSION, Named(sNewer, file));
}

/// Connections of this process, by file.
struct Uses
{
    std::mutex lock;
    std::map<std::string, int> counts;
};

Uses& AllUses()
{
    static auto& uses = *new Uses; // sessions may outlive the static objects
    return uses;
}

std::string KeyOf(const std::filesystem::path& file)
{
    std::error_code ignored;
    const auto canonical = std::filesystem::weakly_canonical(file, ignored);
    return (canonical.empty() ? file : canonical).string();
}

} // namespace

void CreateStoreFile(const std::filesystem::path& file, std::span<const std::uint8_t> storeUid,
                     const std::u16string& displayName)
{
    CreateStoreFileOfVersion(file, storeUid, displayName, schema::Version);
}

void CreateStoreFileOfVersion(const std::filesystem::path& file, std::span<const std::uint8_t> storeUid,
                              const std::u16string& displayName, std::int64_t version)
{
    Uid uid;
    std::memcpy(&uid, storeUid.data(), sizeof uid);
    const std::filesystem::path draft = file.string() + "." + std::to_string(::getpid()) + ".new";
    std::filesystem::remove(draft);
    {
        Database database(draft, Database::Mode::Create);
        // From the beginning: of several connections that switch a file at once, all but one are refused without a
        // wait.
        database.Execute("PRAGMA journal_mode = WAL");
        database.Execute("PRAGMA synchronous = FULL");
        Transaction transaction(database);
        RunSteps(database, 0, version);
        Populate(database, uid, displayName);
        database.Execute("PRAGMA application_id = " + std::to_string(schema::ApplicationId));
        transaction.Commit();
    }
    std::filesystem::permissions(draft, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    std::filesystem::rename(draft, file);
}

void CheckStoreFile(const std::filesystem::path& file)
{
    Uses& uses = AllUses();
    const std::lock_guard lock(uses.lock);
    if (!uses.counts.contains(KeyOf(file))) // what is in use has been checked
        ReadHeader(file);
}

StoreFileUse::StoreFileUse(const std::filesystem::path& file) : FKey(KeyOf(file))
{
    Uses& uses = AllUses();
    const std::lock_guard lock(uses.lock);
    if (!uses.counts.contains(FKey))
        ReadHeader(file);
    ++uses.counts[FKey];
}

StoreFileUse::~StoreFileUse()
{
    Uses& uses = AllUses();
    const std::lock_guard lock(uses.lock);
    if (--uses.counts.find(FKey)->second == 0)
        uses.counts.erase(FKey);
}

void PrepareConnection(Database& database)
{
    // Before anything is written: with a connection open in this process the header was not looked at.
    if (database.Scalar("PRAGMA application_id") != schema::ApplicationId)
        Fail(mapi::MAPI_E_CORRUPT_STORE, sNoStore);
    if (database.Scalar("PRAGMA user_version") > schema::Version)
        Fail(mapi::MAPI_E_VERSION, sNewer);
    database.Execute("PRAGMA journal_mode = WAL");
    database.Execute("PRAGMA synchronous = FULL");
    // Sorting a large folder by what has no index must not be held in memory whole.
    database.Execute("PRAGMA temp_store = FILE");
    // 32 MB, taken as needed: walks in an order of their own come back to pages again and again. 32 MB of log before it
    // is copied: a bulk load changes the pages of its indexes many times.
    database.Execute("PRAGMA cache_size = -32000");
    database.Execute("PRAGMA wal_autocheckpoint = 8000");
    if (database.Scalar("PRAGMA user_version") < schema::Version) {
        {
            Transaction transaction(database);
            RunSteps(database, database.Scalar("PRAGMA user_version"));
            transaction.Commit();
        }
        // The header of the file itself must tell the version: CheckStoreFile does not read the log.
        database.Execute("PRAGMA wal_checkpoint(TRUNCATE)");
    }
    database.SetVersion(schema::Version);
}

} // namespace deftmapi::client
