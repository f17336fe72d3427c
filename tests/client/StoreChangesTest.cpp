// The counters of folders and the journal: right after whatever happened to messages, by whomever, however it ended.
#include "tests/client/StoreFixture.hpp"

#include "client/store/MessageRecords.hpp"

#include <functional>
#include <map>
#include <random>

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

class StoreChangesTest : public StoreTest
{
protected:
    static constexpr auto InboxRow = static_cast<std::int64_t>(SpecialFolder::Inbox);

    /// Folders whose counters are not what counting gives.
    [[nodiscard]] std::int64_t WrongFolders() const
    {
        return Db().Scalar(
            "SELECT count(*) FROM folders f WHERE content_count <> "
            "(SELECT count(*) FROM messages m WHERE m.folder = f.id AND associated = 0) OR unread_count <> "
            "(SELECT count(*) FROM messages m WHERE m.folder = f.id AND associated = 0 AND (flags & 1) = 0) OR "
            "associated_count <> (SELECT count(*) FROM messages m WHERE m.folder = f.id AND associated = 1)");
    }
    /// Whether the packed subjects are what they would be, were they made anew.
    [[nodiscard]] bool ArePagesRight() const
    {
        const auto pages = [this] {
            std::map<std::int64_t, Bytes> all;
            Query query = Db().Prepare("SELECT id, texts FROM subject_pages");
            while (query.Step())
                all.emplace(query.Number(0), Bytes(query.Blob(1).begin(), query.Blob(1).end()));
            return all;
        };
        const auto kept = pages();
        const Transaction given(Db()); // up
        Db().Execute("DELETE FROM subject_pages");
        FillSubjectPages(Db());
        return kept == pages();
    }
    [[nodiscard]] std::int64_t Entries() const { return LastJournalNumber(Db()); }
    [[nodiscard]] std::vector<JournalEntry> EntriesAfter(std::int64_t number) const
    {
        std::vector<JournalEntry> entries;
        EXPECT_TRUE(ReadJournal(Db(), number, [&entries](const JournalEntry& entry) {
            entries.push_back(entry);
            return true;
        }));
        return entries;
    }
    /// Saves so many new messages in the caller's transaction. @returns their rows
    std::vector<std::int64_t> AddMany(std::size_t count, std::int64_t folder = InboxRow) const
    {
        std::vector<std::int64_t> rows;
        for (std::size_t i = 0; i < count; ++i) {
            MessageState message = client::NewMessage(folder, false);
            SaveMessage(*FStoreFile, message, false);
            rows.push_back(message.row);
        }
        return rows;
    }
    static Ptr<IMAPIFolder> Create(IMAPIFolder& parent, const char16_t* name)
    {
        Ptr<IMAPIFolder> folder;
        EXPECT_EQ(parent.CreateFolder(FOLDER_GENERIC, const_cast<char16_t*>(name), nullptr, nullptr, MAPI_UNICODE,
                                      Out(folder)),
                  S_OK);
        return folder;
    }
};

/// One user of the store: a connection of its own, two folders, and random things done to them.
class RandomUser
{
public:
    RandomUser(Ptr<IMsgStore> store, std::vector<Bytes> folders, unsigned seed)
        : FStore(std::move(store)), FRandom(seed)
    {
        for (const Bytes& id : folders)
            FFolders.push_back(Open<IMAPIFolder>(id));
    }

    void Step(std::vector<Bytes>& messages)
    {
        IMAPIFolder& folder = *FFolders[FRandom() % FFolders.size()];
        IMAPIFolder& other = *FFolders[FRandom() % FFolders.size()];
        std::vector<SBinary> chosen;
        for (Bytes& id : messages)
            if (FRandom() % 3 == 0)
                chosen.push_back({static_cast<ULONG>(id.size()), id.data()});
        ENTRYLIST list{static_cast<ULONG>(chosen.size()), chosen.data()};
        switch (FRandom() % 9) {
        case 0:
        case 1:
            Add(folder, messages);
            break;
        case 2:
            EXPECT_TRUE(Succeeded(folder.SetReadFlags(&list, 0, nullptr, FRandom() % 2 ? CLEAR_READ_FLAG : 0)));
            break;
        case 3:
            EXPECT_EQ(folder.SetReadFlags(nullptr, 0, nullptr, FRandom() % 2 ? CLEAR_READ_FLAG : 0), S_OK);
            break;
        case 4: // into the same folder, too
            EXPECT_TRUE(Succeeded(folder.CopyMessages(&list, nullptr, &other, 0, nullptr, MESSAGE_MOVE)));
            break;
        case 5:
            EXPECT_TRUE(Succeeded(folder.CopyMessages(&list, nullptr, &other, 0, nullptr, 0)));
            break;
        case 6:
            for (const SBinary& id : chosen)
                Change(Bytes(id.lpb, id.lpb + id.cb), folder);
            break;
        case 7:
            if (FRandom() % 4 == 0) {
                EXPECT_EQ(folder.EmptyFolder(0, nullptr, FRandom() % 2 ? DEL_ASSOCIATED : 0), S_OK);
            }
            break;
        default:
            if (chosen.size() > 2)
                list.cValues = 2;
            EXPECT_TRUE(Succeeded(folder.DeleteMessages(&list, 0, nullptr, 0)));
        }
    }

private:
    /// Short, long and too long for a page or a column.
    std::u16string Subject()
    {
        static const std::size_t lengths[] = {0, 5, 40, 252, 253, 254, 255, 256, 2048, 2049};
        static const std::u16string letters = u"aZéß日ıЖ";
        return std::u16string(lengths[FRandom() % std::size(lengths)], letters[FRandom() % letters.size()]);
    }
    template <typename Interface>
    Ptr<Interface> Open(const Bytes& id)
    {
        ULONG type = 0;
        Ptr<Interface> object;
        FStore->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, MAPI_MODIFY, &type,
                          reinterpret_cast<LPUNKNOWN*>(Out(object)));
        return object;
    }

    void Add(IMAPIFolder& folder, std::vector<Bytes>& messages)
    {
        Ptr<IMessage> message;
        EXPECT_EQ(folder.CreateMessage(nullptr, FRandom() % 4 == 0 ? MAPI_ASSOCIATED : 0, Out(message)), S_OK);
        Set(*message, {Long(tag::MessageFlags, FRandom() % 2 ? MSGFLAG_READ : 0)});
        if (FRandom() % 5)
            Set(*message, {Text(tag::Subject, Subject().c_str())});
        if (FRandom() % 3 == 0) { // a message inside, which no folder counts
            ULONG number = 0;
            Ptr<IAttach> attachment;
            Ptr<IMessage> embedded;
            EXPECT_EQ(message->CreateAttach(nullptr, 0, &number, Out(attachment)), S_OK);
            EXPECT_EQ(attachment->OpenProperty(tag::AttachDataObj, &IID_IMessage, 0, MAPI_CREATE | MAPI_MODIFY,
                                               reinterpret_cast<LPUNKNOWN*>(Out(embedded))),
                      S_OK);
            EXPECT_EQ(embedded->SaveChanges(0), S_OK);
            EXPECT_EQ(attachment->SaveChanges(0), S_OK);
        }
        EXPECT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        messages.push_back(Get(*message, tag::EntryId).Blob());
    }

    void Change(const Bytes& id, IMAPIFolder& folder)
    {
        auto message = Open<IMessage>(id);
        if (!message)
            return; // deleted meanwhile
        if (FRandom() % 8)
            Set(*message, {Text(tag::Subject, Subject().c_str())});
        else
            EXPECT_EQ(message->DeleteProps(Tags{tag::Subject}, nullptr), S_OK);
        EXPECT_EQ(message->SetReadFlag(FRandom() % 2 ? CLEAR_READ_FLAG : 0), S_OK);
        EXPECT_EQ(message->SaveChanges(0), S_OK);
        ULONG before = 0;
        EXPECT_EQ(folder.SetMessageStatus(static_cast<ULONG>(id.size()), AsEntry(id), MSGSTATUS_TAGGED,
                                          MSGSTATUS_TAGGED, &before),
                  S_OK);
    }

    Ptr<IMsgStore> FStore;
    std::mt19937 FRandom;
    std::vector<Ptr<IMAPIFolder>> FFolders;
};

TEST_F(StoreChangesTest, CountersAndPagesStayRightWhateverTwoUsersDo)
{
    auto inbox = Inbox();
    auto first = Create(*inbox, u"first");
    auto second = Create(*inbox, u"second");
    const Bytes id = Get(*second, tag::EntryId).Blob();
    const std::vector<Bytes> folders = {Get(*first, tag::EntryId).Blob(), id};
    RandomUser one(FStore, folders, 1);
    RandomUser two(OpenAnother(), folders, 2);
    std::vector<Bytes> messages;
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        const std::int64_t entries = Entries();
        if (round % 10 == 9) { // many calls in a transaction that is given up
            const std::size_t count = messages.size();
            const Transaction transaction(Db());
            for (int i = 0; i < 3; ++i)
                one.Step(messages);
            messages.resize(count);
        } else {
            (round % 2 ? one : two).Step(messages);
        }
        EXPECT_EQ(WrongFolders(), 0) << "round " << round;
        EXPECT_TRUE(ArePagesRight()) << "round " << round;
        if (round % 10 == 9) {
            EXPECT_EQ(Entries(), entries);
        }
    }
    EXPECT_GT(Entries(), 200);
    // A copy of the whole folder counts for itself, and what is deleted with its folder is gone from all.
    AddMany(3, FStoreFile->RowOf(48, AsEntry(id), EntryKind::Folder));
    ASSERT_EQ(inbox->CopyFolder(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, inbox.Get(),
                                const_cast<char16_t*>(u"copy"), 0, nullptr, MAPI_UNICODE | COPY_SUBFOLDERS),
              S_OK);
    EXPECT_EQ(WrongFolders(), 0);
    EXPECT_TRUE(ArePagesRight());
    ASSERT_EQ(inbox->DeleteFolder(static_cast<ULONG>(id.size()), AsEntry(id), 0, nullptr, DEL_MESSAGES), S_OK);
    EXPECT_EQ(WrongFolders(), 0);
    EXPECT_TRUE(ArePagesRight());
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM messages WHERE folder NOT IN (SELECT id FROM folders)"), 0);
}

TEST_F(StoreChangesTest, InsideATransactionItsOwnChangesCountAlready)
{
    auto inbox = Inbox();
    Ptr<IMAPITable> table;
    ASSERT_EQ(inbox->GetContentsTable(MAPI_UNICODE, Out(table)), S_OK);
    EXPECT_TRUE(Rows(*table, {tag::EntryId}).empty());
    {
        Transaction transaction(Db());
        AddMany(2);
        EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 2);
        ASSERT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
        EXPECT_EQ(Rows(*table, {tag::EntryId}).size(), 2u);
        AddMany(1);
        EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 3);
        transaction.Commit();
    }
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 3);
    EXPECT_EQ(WrongFolders(), 0);
    EXPECT_EQ(Entries(), Db().Scalar("SELECT count(*) FROM journal"));
}

TEST_F(StoreChangesTest, AFailureInsideTakesTheWholeTransactionBack)
{
    auto inbox = Inbox();
    const Bytes id = Save(*NewMessage(*inbox, u"one"));
    auto stale = OpenMessage(id);
    Set(*stale, {Text(tag::Subject, u"stale")});
    auto fresh = OpenMessage(id);
    Set(*fresh, {Text(tag::Subject, u"fresh")});
    Save(*fresh);
    const std::int64_t entries = Entries();
    {
        Transaction transaction(Db());
        AddMany(1);
        EXPECT_EQ(stale->SaveChanges(0), MAPI_E_OBJECT_CHANGED);
        MessageState more = client::NewMessage(InboxRow, false);
        EXPECT_THROW(SaveMessage(*FStoreFile, more, false), Failure);
        EXPECT_EQ(more.row, 0); // it can be saved again
        EXPECT_THROW(transaction.Commit(), Failure);
    }
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 1);
    EXPECT_EQ(Entries(), entries);
    AddMany(1);
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 2);
    EXPECT_EQ(Entries(), entries + 1);
    EXPECT_EQ(WrongFolders(), 0);
}

TEST_F(StoreChangesTest, ATallyThatCannotBeWrittenDoomsItsTransaction)
{
    {
        Transaction transaction(Db());
        AddMany(1);
        Db().Execute("ALTER TABLE journal RENAME TO elsewhere");
        EXPECT_THROW(Snapshot snapshot(Db()), Failure);
        Db().Execute("ALTER TABLE elsewhere RENAME TO journal");
        EXPECT_THROW(transaction.Commit(), Failure);
    }
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM messages"), 0);
    AddMany(1);
    EXPECT_EQ(WrongFolders(), 0);
}

TEST_F(StoreChangesTest, ManyChangesOfAFolderAreOneEntry)
{
    auto inbox = Inbox();
    const std::int64_t target =
        FStoreFile->RowOf(48, AsEntry(Get(*Create(*inbox, u"target"), tag::EntryId).Blob()), EntryKind::Folder);
    std::int64_t seen = Entries();
    const auto inOne = [&](const std::function<void()>& body) {
        Transaction transaction(Db());
        body();
        transaction.Commit();
        const auto entries = EntriesAfter(seen);
        seen = Entries();
        EXPECT_EQ(WrongFolders(), 0);
        return entries;
    };
    std::vector<std::int64_t> rows;
    auto entries = inOne([&] { rows = AddMany(JournalBulk); });
    EXPECT_EQ(entries.size(), JournalBulk);
    EXPECT_EQ(entries.back().object, rows.back());

    entries = inOne([&] {
        const auto more = AddMany(JournalBulk + 1);
        rows.insert(rows.end(), more.begin(), more.end());
    });
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].kind, JournalKind::FolderBulk);
    EXPECT_EQ(entries[0].folder, InboxRow);
    EXPECT_FALSE(entries[0].associated);

    // What has too many changes does not take the entries of other folders along.
    entries = inOne([&] {
        EXPECT_EQ(SetReadFlagsOf(*FStoreFile, rows, ReadFlagChange(CLEAR_READ_FLAG)), 0u);
        AddMany(1, target);
        EXPECT_TRUE(MoveMessage(*FStoreFile, rows[0], target));
    });
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].kind, JournalKind::MessageAdded);
    EXPECT_EQ(entries[1].kind, JournalKind::MessageMoved);
    EXPECT_EQ(entries[1].other, InboxRow);
    EXPECT_EQ(entries[2].kind, JournalKind::FolderBulk);
    EXPECT_EQ(entries[2].folder, InboxRow);
    // Marking again changes nothing and tells nothing.
    EXPECT_TRUE(inOne([&] { SetReadFlagsIn(*FStoreFile, InboxRow, ReadFlagChange(CLEAR_READ_FLAG)); }).empty());
}

TEST_F(StoreChangesTest, AStoreWhoseTriggersCountedIsTakenOver)
{
    Save(*NewMessage(*Inbox(), u"before"));
    // The triggers that files of version 3 have.
    for (const char* trigger :
         {"message_added AFTER INSERT ON messages WHEN NEW.folder IS NOT NULL BEGIN UPDATE folders SET content_count = "
          "content_count + (NEW.associated = 0), unread_count = unread_count + (NEW.associated = 0 AND "
          "(NEW.flags & 1) = 0) WHERE id = NEW.folder; END",
          "message_removed AFTER DELETE ON messages WHEN OLD.folder IS NOT NULL BEGIN UPDATE folders SET content_count "
          "= content_count - (OLD.associated = 0) WHERE id = OLD.folder; END",
          "message_changed AFTER UPDATE ON messages BEGIN UPDATE folders SET changes = changes + 1 "
          "WHERE id = NEW.folder; END",
          "message_moved AFTER UPDATE ON messages WHEN NEW.folder IS NOT OLD.folder BEGIN UPDATE folders SET "
          "content_count = content_count + 1 WHERE id = NEW.folder; END",
          "journal_message_added AFTER INSERT ON messages BEGIN INSERT INTO journal (kind, object, folder) "
          "VALUES (1, NEW.id, NEW.folder); END",
          "journal_message_removed AFTER DELETE ON messages BEGIN INSERT INTO journal (kind, object, folder) "
          "VALUES (2, OLD.id, OLD.folder); END",
          "journal_message_changed AFTER UPDATE ON messages BEGIN INSERT INTO journal (kind, object, folder) "
          "VALUES (3, NEW.id, NEW.folder); END"})
        Db().Execute("CREATE TRIGGER " + std::string(trigger));
    for (const char* later : {"searches", "search_scopes", "search_links", "subject_pages"})
        Db().Execute(std::string("DROP TABLE ") + later);
    Db().Execute("PRAGMA user_version = 3");
    Db().Execute("INSERT INTO messages (folder, flags) VALUES (3, 0)");
    Db().Execute("INSERT INTO bags VALUES (" + std::to_string(Db().LastRow()) + ", x'', NULL)");
    FStore.Reset();
    FStoreFile.reset();

    FStoreFile = StoreFile::Open(File());
    FStore = OpenStoreObject(FStoreFile, true, true);
    EXPECT_EQ(Db().Scalar("PRAGMA user_version"), schema::Version);
    const std::int64_t entries = Entries();
    Save(*NewMessage(*Inbox(), u"after"));
    EXPECT_EQ(Get(*Inbox(), tag::ContentCount).Number(), 3);
    EXPECT_EQ(Get(*Inbox(), tag::ContentUnread).Number(), 1);
    EXPECT_EQ(WrongFolders(), 0);
    EXPECT_EQ(Entries(), entries + 1);
}

} // namespace
} // namespace deftmapi::client::test
