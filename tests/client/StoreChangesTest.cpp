// The counters of folders and the journal: right after whatever happened to messages, by whomever, however it ended.
#include "client/store/MessageRecords.hpp"
#include "tests/client/FolderFixture.hpp"

#include <functional>
#include <map>
#include <random>

namespace deftmapi::client::test
{
namespace
{

class StoreChangesTest : public FolderCalls
{
protected:
    static constexpr auto InboxRow = static_cast<std::int64_t>(SpecialFolder::Inbox);

    /// Whether all that finds messages is what it would be, were it made anew.
    [[nodiscard]] bool AreIndexesRight() const
    {
        const auto all = [this] {
            std::vector<SqlValue> values;
            for (const char* sql :
                 {"SELECT id, texts, 0, 0 FROM subject_pages", "SELECT search_key, id, 0, 0 FROM search_keys",
                  "SELECT folder, associated, subject, id FROM subjects", "SELECT id, unread, 0, 0 FROM unread_pages"})
            {
                Query query = Db().Prepare(sql);
                while (query.Step()) {
                    for (int i = 0; i < 4; ++i)
                        values.push_back(query.Value(i));
                }
            }
            return values;
        };
        const auto kept = all();
        const Transaction given(Db()); // up
        // The flags say what the pages say of messages that there are; the rest of these would be missing.
        Db().Execute("UPDATE messages AS m SET flags = flags & ~1 WHERE " + std::string(UnreadExpression));
        Db().Execute("DELETE FROM unread_pages");
        FillIndexes(Db());
        return kept == all();
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
    void ExpectRight() const
    {
        ExpectWhole(*FStoreFile);
        EXPECT_TRUE(AreIndexesRight());
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
            FFolders.push_back(Opened<IMAPIFolder>(*FStore, id));
    }

    void Step(std::vector<Bytes>& messages)
    {
        IMAPIFolder& folder = *FFolders[FRandom() % FFolders.size()];
        IMAPIFolder& other = *FFolders[FRandom() % FFolders.size()];
        std::vector<Bytes> chosen;
        std::copy_if(messages.begin(), messages.end(), std::back_inserter(chosen),
                     [this](const Bytes&) { return FRandom() % 3 == 0; });
        Ids list(chosen);
        switch (FRandom() % 9) {
        case 0:
        case 1:
            Add(folder, messages);
            break;
        case 2:
            EXPECT_TRUE(Succeeded(folder.SetReadFlags(list, 0, nullptr, FRandom() % 2 ? CLEAR_READ_FLAG : 0)));
            break;
        case 3:
            EXPECT_EQ(folder.SetReadFlags(nullptr, 0, nullptr, FRandom() % 2 ? CLEAR_READ_FLAG : 0), S_OK);
            break;
        case 4: // into the same folder, too
            EXPECT_TRUE(Succeeded(folder.CopyMessages(list, nullptr, &other, 0, nullptr, MESSAGE_MOVE)));
            break;
        case 5:
            EXPECT_TRUE(Succeeded(folder.CopyMessages(list, nullptr, &other, 0, nullptr, 0)));
            break;
        case 6:
            for (const Bytes& id : chosen)
                Change(id, folder);
            break;
        case 7:
            if (FRandom() % 4 == 0) {
                EXPECT_EQ(folder.EmptyFolder(0, nullptr, FRandom() % 2 ? DEL_ASSOCIATED : 0), S_OK);
            }
            break;
        default:
            chosen.resize(std::min<std::size_t>(chosen.size(), 2));
            EXPECT_TRUE(Succeeded(folder.DeleteMessages(Ids(chosen), 0, nullptr, 0)));
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
    void Add(IMAPIFolder& folder, std::vector<Bytes>& messages)
    {
        auto message = EmptyMessage(folder, FRandom() % 4 == 0 ? MAPI_ASSOCIATED : 0);
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
        ULONG type = 0;
        Ptr<IMessage> message;
        if (FStore->OpenEntry(48, AsEntry(id), nullptr, MAPI_MODIFY, &type, reinterpret_cast<LPUNKNOWN*>(Out(message))))
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
    auto second = NewFolder(*FInbox, u"second");
    const Bytes id = IdOf(*second);
    const std::vector<Bytes> folders = {Get(*NewFolder(*FInbox, u"first"), tag::EntryId).Blob(), id};
    RandomUser one(FStore, folders, 1);
    RandomUser two(OpenAnother(), folders, 2);
    std::vector<Bytes> messages;
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
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
        ExpectRight();
        if (round % 10 == 9) {
            EXPECT_EQ(Entries(), entries);
        }
    }
    EXPECT_GT(Entries(), 200);
    // A copy of the whole folder counts for itself, and what is deleted with its folder is gone from all.
    AddMany(3, FStoreFile->RowOf(48, AsEntry(id), EntryKind::Folder));
    ASSERT_EQ(Copy(*second, *FInbox, u"copy", COPY_SUBFOLDERS), S_OK);
    ExpectRight();
    ASSERT_EQ(Delete(*FInbox, id, DEL_MESSAGES), S_OK);
    ExpectRight();
}

TEST_F(StoreChangesTest, InsideATransactionItsOwnChangesCountAlready)
{
    auto table = ContentsTable(*FInbox);
    EXPECT_TRUE(Rows(*table, {tag::EntryId}).empty());
    {
        Transaction transaction(Db());
        AddMany(2);
        EXPECT_EQ(Get(*FInbox, tag::ContentCount).Number(), 2);
        ASSERT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
        EXPECT_EQ(Rows(*table, {tag::EntryId}).size(), 2u);
        AddMany(1);
        EXPECT_EQ(Get(*FInbox, tag::ContentCount).Number(), 3);
        transaction.Commit();
    }
    EXPECT_EQ(Get(*FInbox, tag::ContentCount).Number(), 3);
    ExpectWhole(*FStoreFile);
    EXPECT_EQ(Entries(), Db().Scalar("SELECT count(*) FROM journal"));
}

TEST_F(StoreChangesTest, AFailureInsideTakesTheWholeTransactionBack)
{
    const Bytes id = Save(*NewMessage(*FInbox, u"one"));
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
    EXPECT_EQ(Get(*FInbox, tag::ContentCount).Number(), 1);
    EXPECT_EQ(Entries(), entries);
    AddMany(1);
    EXPECT_EQ(Get(*FInbox, tag::ContentCount).Number(), 2);
    EXPECT_EQ(Entries(), entries + 1);
    ExpectWhole(*FStoreFile);
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
    ExpectWhole(*FStoreFile);
}

TEST_F(StoreChangesTest, ManyChangesOfAFolderAreOneEntry)
{
    const std::int64_t target =
        FStoreFile->RowOf(48, AsEntry(Get(*NewFolder(*FInbox, u"target"), tag::EntryId).Blob()), EntryKind::Folder);
    std::int64_t seen = Entries();
    const auto inOne = [&](const std::function<void()>& body) {
        Transaction transaction(Db());
        body();
        transaction.Commit();
        const auto entries = EntriesAfter(seen);
        seen = Entries();
        ExpectWhole(*FStoreFile);
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

} // namespace
} // namespace deftmapi::client::test
