// The file under the store: damaged, foreign and newer files, a full disk, a killed writer, two writers, failing
// memory.
#include "client/store/SchemaVersions.hpp"
#include "tests/client/TableConditions.hpp"

#include <csignal>
#include <random>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace deftmapi::client::test
{
namespace
{

void WriteFile(const std::filesystem::path& file, const Bytes& bytes)
{
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

HRESULT OpenResult(const std::filesystem::path& file)
{
    LastError last;
    return Guard(last, [&] {
        auto store = StoreFile::Open(file);
        auto inbox = OpenFolderRow(store, static_cast<std::int64_t>(SpecialFolder::Inbox), true);
        Get(*inbox, tag::DisplayName);
    });
}

class StoreFileTest : public StoreTest
{
protected:
    /// A message in which everything follows from its number: subject, a large body, a recipient, an attachment.
    static Ptr<IMessage> Numbered(IMAPIFolder& folder, std::uint32_t number)
    {
        auto message = NewMessage(folder, (u"message " + Digits(number)).c_str());
        Set(*message,
            {Binary(tag::Html, Pattern(10000 + number % 7 * 9000, number)), Long(tag::IconIndex, LONG(number))});
        EXPECT_EQ(Modify(*message, MODRECIP_ADD, {{Digits(number).c_str(), u"r@example.org"}}), S_OK);
        ULONG num = 0;
        Ptr<IAttach> attachment;
        EXPECT_EQ(message->CreateAttach(nullptr, 0, &num, Out(attachment)), S_OK);
        Set(*attachment, {Binary(tag::AttachDataBin, Pattern(12000, number + 1))});
        EXPECT_EQ(attachment->SaveChanges(0), S_OK);
        return message;
    }
    static void ExpectWhole(IMessage& message)
    {
        const auto number = static_cast<std::uint32_t>(Get(message, tag::IconIndex).Number());
        EXPECT_EQ(Get(message, tag::Subject).Wide(), u"message " + Digits(number));
        EXPECT_EQ(Get(message, tag::DisplayTo).Wide(), Digits(number));
        const Bytes body = Pattern(10000 + number % 7 * 9000, number);
        Bytes read(body.size());
        ASSERT_EQ(OpenStream(message, tag::Html, 0)->Read(read.data(), static_cast<ULONG>(read.size()), nullptr), S_OK);
        EXPECT_TRUE(read == body);
        Ptr<IAttach> attachment;
        ASSERT_EQ(message.OpenAttach(0, nullptr, 0, Out(attachment)), S_OK);
        EXPECT_TRUE(Get(*attachment, tag::AttachDataBin).Blob() == Pattern(12000, number + 1));
        Ptr<IMAPITable> table;
        ASSERT_EQ(message.GetRecipientTable(MAPI_UNICODE, Out(table)), S_OK);
        EXPECT_EQ(Rows(*table, {tag::DisplayName}).size(), 1u);
    }
    static std::u16string Digits(std::uint32_t number)
    {
        const std::string text = std::to_string(number);
        return {text.begin(), text.end()};
    }
    void ExpectAllWhole()
    {
        auto inbox = Inbox();
        const auto rows = Rows(*ContentsTable(*inbox), {tag::EntryId});
        EXPECT_EQ(rows.size(), static_cast<std::size_t>(Get(*inbox, tag::ContentCount).Number()));
        for (const auto& row : rows)
            ExpectWhole(*OpenMessage(std::get<Bytes>(row[0].data), 0));
        // Nothing lies about that no message owns.
        EXPECT_EQ(Db().Scalar("SELECT count(*) FROM bags WHERE message NOT IN (SELECT id FROM messages)"), 0);
        EXPECT_EQ(Db().Scalar("SELECT count(*) FROM attachments WHERE message NOT IN (SELECT id FROM messages)"), 0);
        EXPECT_EQ(Db().Scalar("SELECT count(*) FROM chunks WHERE (id >> 20) NOT IN (SELECT id FROM large_values)"), 0);
        Query check = Db().Prepare("PRAGMA integrity_check");
        ASSERT_TRUE(check.Step());
        EXPECT_EQ(check.Text(0), "ok");
    }
};

TEST_F(StoreFileTest, ForeignDamagedAndNewerFilesAreRefusedAndLeftAlone)
{
    Close();
    const auto file = File();
    const Bytes good = ReadFile(file);
    const auto expect = [&](const Bytes& content, HRESULT result) {
        WriteFile(file, content);
        EXPECT_EQ(OpenResult(file), result);
        EXPECT_TRUE(ReadFile(file) == content);
        EXPECT_FALSE(std::filesystem::exists(file.string() + "-wal"));
    };
    expect({}, MAPI_E_CORRUPT_STORE);
    expect(Pattern(20000), MAPI_E_CORRUPT_STORE);
    Bytes foreign = good;
    foreign[71] ^= 1; // application id
    expect(foreign, MAPI_E_CORRUPT_STORE);
    Bytes newer = good;
    newer[63] = 200; // user version
    expect(newer, MAPI_E_VERSION);
    expect(Bytes(good.begin(), good.begin() + 50), MAPI_E_CORRUPT_STORE);
    std::filesystem::remove(file);
    EXPECT_EQ(OpenResult(file), MAPI_E_NOT_FOUND);
    EXPECT_FALSE(std::filesystem::exists(file));

    // Damage inside: whatever page it hits, an answer and no crash.
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        Bytes damaged = good;
        for (int i = 0; i < 200; ++i)
            damaged[100 + random() % (damaged.size() - 100)] = static_cast<std::uint8_t>(random());
        WriteFile(file, damaged);
        const HRESULT result = OpenResult(file);
        EXPECT_TRUE(result == S_OK || Failed(result));
        std::filesystem::remove(file.string() + "-wal");
        std::filesystem::remove(file.string() + "-shm");
    }
}

TEST_F(StoreFileTest, AFullDiskLosesNothing)
{
    auto inbox = Inbox();
    const Bytes first = Save(*Numbered(*inbox, 1));
    auto changed = OpenMessage(first);
    Set(*changed, {Text(tag::ConversationTopic, u"not to be seen"), Binary(tag::Html, Pattern(400000))});
    Db().Execute("PRAGMA max_page_count = " + std::to_string(Db().Scalar("PRAGMA page_count") + 5));
    EXPECT_EQ(changed->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_NOT_ENOUGH_DISK);
    auto second = Numbered(*inbox, 2);
    EXPECT_EQ(second->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_NOT_ENOUGH_DISK);
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 1);
    EXPECT_EQ(Get(*OpenMessage(first, 0), tag::ConversationTopic).Error(), MAPI_E_NOT_FOUND);
    ExpectAllWhole();
    // With room again the same object saves what it holds.
    Db().Execute("PRAGMA max_page_count = 1000000");
    Save(*second);
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 2);
    ExpectAllWhole();
}

TEST_F(StoreFileTest, WhatWasConfirmedSurvivesAKill)
{
    std::mt19937 random(42);
    Close(); // no connection crosses the fork
    std::vector<Bytes> confirmed;
    for (int round = 0; round < 6; ++round) {
        int pipes[2];
        ASSERT_EQ(::pipe(pipes), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(pipes[0]);
            auto file = StoreFile::Open(File());
            auto inbox = OpenFolderRow(file, static_cast<std::int64_t>(SpecialFolder::Inbox), true);
            for (std::uint32_t i = 0;; ++i) {
                const Bytes id = Save(*Numbered(*inbox, static_cast<std::uint32_t>(round) * 100000 + i));
                if (id.size() != 48 || ::write(pipes[1], id.data(), id.size()) != 48)
                    ::_exit(1);
            }
        }
        ::close(pipes[1]);
        // The child is killed in the middle of the work that follows a random number of confirmations.
        const std::size_t wanted = confirmed.size() + 2 + random() % 12;
        Bytes id(48);
        while (confirmed.size() < wanted && ::read(pipes[0], id.data(), id.size()) == 48)
            confirmed.push_back(id);
        for (auto spin = random() % 3000; spin > 0; --spin)
            std::this_thread::yield();
        ::kill(child, SIGKILL);
        while (::read(pipes[0], id.data(), id.size()) == 48)
            confirmed.push_back(id);
        ::close(pipes[0]);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer failed by itself";
    }
    Reopen();
    for (const Bytes& id : confirmed)
        ExpectWhole(*OpenMessage(id, 0));
    EXPECT_GE(Get(*Inbox(), tag::ContentCount).Number(), static_cast<LONG>(confirmed.size()));
    ExpectAllWhole();
}

TEST_F(StoreFileTest, ASecondConnectionDoesNotCostTheFirstItsLocks)
{
    Close();
    int orders[2];
    ASSERT_EQ(::pipe(orders), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::close(orders[1]);
        char order = 0;
        if (::read(orders[0], &order, 1) != 1)
            ::_exit(1);
        // As the last user this process would write the log back and remove it; it is not the last one.
        ::_exit(Failed(OpenResult(File())));
    }
    ::close(orders[0]);
    Reopen();
    auto inbox = Inbox();
    Save(*Numbered(*inbox, 1));
    OpenAnother().Reset();
    EXPECT_EQ(::write(orders[1], "x", 1), 1);
    ::close(orders[1]);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_TRUE(std::filesystem::exists(File().string() + "-wal"));
    Save(*Numbered(*inbox, 2));
    inbox.Reset();
    Reopen();
    EXPECT_EQ(Get(*Inbox(), tag::ContentCount).Number(), 2);
    ExpectAllWhole();
}

TEST_F(StoreFileTest, TwoConnectionsAndThreadsWriteAtOnce)
{
    constexpr int Messages = 40;
    const Bytes inboxId = InboxId();
    const auto work = [&](std::uint32_t start) {
        auto inbox = Opened<IMAPIFolder>(*OpenAnother(), inboxId);
        for (std::uint32_t i = 0; i < Messages; ++i)
            Save(*Numbered(*inbox, start + i));
    };
    std::thread first(work, 1000);
    std::thread second(work, 2000);
    // A third thread shares this test's connection with the main one.
    std::thread third([&] {
        auto inbox = Inbox();
        for (std::uint32_t i = 0; i < Messages; ++i)
            Save(*Numbered(*inbox, 3000 + i));
    });
    auto inbox = Inbox();
    for (std::uint32_t i = 0; i < Messages; ++i)
        Save(*Numbered(*inbox, 4000 + i));
    first.join();
    second.join();
    third.join();
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 4 * Messages);
    ExpectAllWhole();
}

TEST_F(StoreFileTest, EveryFailingAllocationIsReportedAndLeavesNothing)
{
    auto inbox = Inbox();
    const Bytes id = Save(*Numbered(*inbox, 5));
    int failures = 0;
    for (long n = 1; n < 1000; ++n) {
        const std::size_t buffers = LiveBuffers();
        const std::size_t objects = LiveObjects();
        FailAllocation(n);
        const HRESULT result = [&] {
            ULONG type = 0;
            Ptr<IMessage> message;
            if (const HRESULT hr = FStore->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, 0, &type,
                                                     reinterpret_cast<LPUNKNOWN*>(Out(message))))
                return hr;
            ULONG count = 0;
            MapiBuffer<SPropValue> values;
            if (const HRESULT hr = message->GetProps(nullptr, 0, &count, values.Out()); Failed(hr))
                return hr;
            Ptr<IMAPITable> table;
            if (const HRESULT hr = inbox->GetContentsTable(0, Out(table)))
                return hr;
            RowSet rows;
            if (const HRESULT hr = table->QueryRows(10, 0, rows.Out()))
                return hr;
            MapiBuffer<SPropTagArray> columns;
            return table->QueryColumns(TBL_ALL_COLUMNS, columns.Out());
        }();
        FailAllocation(0);
        EXPECT_EQ(LiveBuffers(), buffers) << n;
        EXPECT_EQ(LiveObjects(), objects) << n;
        if (result == S_OK)
            break;
        EXPECT_EQ(result, MAPI_E_NOT_ENOUGH_MEMORY) << n;
        ++failures;
    }
    EXPECT_GE(failures, 4);
}

TEST_F(StoreFileTest, AStoreThatAnotherProgramUpgradedIsReadAndNotWritten)
{
    auto inbox = Inbox();
    auto message = Numbered(*inbox, 1);
    Database other(File(), Database::Mode::Open);
    other.Execute("PRAGMA user_version = " + std::to_string(schema::Version + 1));
    EXPECT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_VERSION);
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 0);
    other.Execute("PRAGMA user_version = " + std::to_string(schema::Version));
    Save(*message);
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 1);
}

TEST_F(StoreFileTest, StoresOfEarlierVersionsAreBroughtUpToDate)
{
    for (std::int64_t version = 1; version < schema::Version; ++version) {
        SCOPED_TRACE(version);
        Close();
        std::filesystem::remove(File());
        CreateStoreFileOfVersion(File(), ToBytes(NewUid()), u"Old store", version);
        {
            Database old(File(), Database::Mode::Open);
            Transaction transaction(old);
            for (int i = 1; i <= 200; ++i) { // 150 ordinary ones, 100 of which are unread
                Query insert = old.Prepare("INSERT INTO messages (id, folder, associated, flags, subject, version, "
                                           "delivery_time) VALUES (?1, 3, ?2, ?3, ?4, 1, ?5)");
                insert.Bind(1, i).Bind(2, i > 150).Bind(3, i % 3 == 0).Bind(5, 1000 - i);
                insert.BindText(4, i % 10 == 0 ? "the Wanted one" : "another").Run();
                old.Prepare("INSERT INTO bags (message, props) VALUES (?1, x'')").Bind(1, i).Run();
            }
            if (version >= 4) // until then triggers counted
                old.Execute("UPDATE folders SET content_count = 150, unread_count = 100, associated_count = 50, "
                            "changes = 200 WHERE id = 3");
            transaction.Commit();
        }
        Reopen();
        EXPECT_EQ(Db().Scalar("PRAGMA user_version"), schema::Version);
        auto inbox = Inbox();
        const auto expect = [&](LONG contents, LONG unread, std::size_t wanted) {
            EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), contents);
            EXPECT_EQ(Get(*inbox, tag::ContentUnread).Number(), unread);
            EXPECT_EQ(Get(*inbox, tag::AssociatedCount).Number(), 50);
            auto table = ContentsTable(*inbox);
            EXPECT_EQ(table->SortTable(SortKeys{{tag::DeliveryTime, TABLE_SORT_ASCEND}}, 0), S_OK);
            EXPECT_EQ(Rows(*table, {tag::Subject}, 50).size(), static_cast<std::size_t>(contents));
            EXPECT_EQ(table->Restrict(Has(Text(tag::Subject, u"WANTED")), 0), S_OK);
            EXPECT_EQ(Rows(*table, {tag::Subject}, 50).size(), wanted);
            EXPECT_EQ(table->Restrict(Unread(), 0), S_OK);
            EXPECT_EQ(Rows(*table, {tag::Subject}, 50).size(), static_cast<std::size_t>(unread));
        };
        expect(150, 100, 15);
        const std::int64_t entries = Db().Scalar("SELECT max(seq) FROM journal");
        auto message = NewMessage(*inbox, u"also wanted");
        Set(*message, {Long(tag::MessageFlags, 0)});
        Save(*message);
        EXPECT_EQ(Db().Scalar("SELECT max(seq) FROM journal"), entries + 1);
        expect(151, 101, 16);
        EXPECT_EQ(inbox->SetReadFlags(nullptr, 0, nullptr, 0), S_OK);
        expect(151, 0, 16);
        EXPECT_EQ(inbox->EmptyFolder(0, nullptr, 0), S_OK);
        expect(0, 0, 0);
    }
}

TEST_F(StoreFileTest, NamesThatWereRolledBackAreForgotten)
{
    const GUID set{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    ULONG id = 0;
    {
        const Transaction given(Db()); // up
        id = FStoreFile->IdOfName(set, 1, nullptr, true);
        EXPECT_EQ(FStoreFile->IdOfName(set, 1, nullptr, false), id);
        ASSERT_TRUE(FStoreFile->NameOfId(id));
        EXPECT_EQ(FStoreFile->NameOfId(id)->lid, 1);
    }
    EXPECT_EQ(FStoreFile->IdOfName(set, 1, nullptr, false), 0u);
    EXPECT_FALSE(FStoreFile->NameOfId(id));
    EXPECT_EQ(FStoreFile->IdOfName(set, 2, nullptr, true), id);
    EXPECT_EQ(FStoreFile->NameOfId(id)->lid, 2);
}

TEST_F(StoreFileTest, IdentifiersOfOthersAreToldApart)
{
    auto inbox = Inbox();
    Bytes id = Save(*NewMessage(*inbox, u"x"));
    const auto open = [&](const Bytes& entry) {
        ULONG type = 0;
        Ptr<IUnknown> object;
        return FStore->OpenEntry(static_cast<ULONG>(entry.size()), AsEntry(entry), nullptr, 0, &type, Out(object));
    };
    EXPECT_EQ(open(id), S_OK);
    Bytes other = id;
    other[30] ^= 1; // another store
    EXPECT_EQ(open(other), MAPI_E_UNKNOWN_ENTRYID);
    other = id;
    other[5] ^= 1; // another provider
    EXPECT_EQ(open(other), MAPI_E_INVALID_ENTRYID);
    EXPECT_EQ(open(Bytes(id.begin(), id.end() - 1)), MAPI_E_INVALID_ENTRYID);
    other = id;
    other[40] = 99; // no such row
    EXPECT_EQ(open(other), MAPI_E_NOT_FOUND);
    // Flags that are wrong; what kind it is is only told of what was opened.
    for (const bool ofFolder : {false, true}) {
        for (const auto& [flags, result] :
             {std::pair{ULONG{0x80}, MAPI_E_UNKNOWN_FLAGS}, std::pair{SHOW_SOFT_DELETES, MAPI_E_NO_SUPPORT},
              std::pair{ULONG{MAPI_DEFERRED_ERRORS}, MAPI_E_NOT_FOUND}})
        {
            ULONG type = 77;
            Ptr<IUnknown> object;
            EXPECT_EQ(ofFolder ? inbox->OpenEntry(48, AsEntry(other), nullptr, flags, &type, Out(object))
                               : FStore->OpenEntry(48, AsEntry(other), nullptr, flags, &type, Out(object)),
                      result);
            EXPECT_EQ(type, 77u);
        }
    }
    ULONG same = 0;
    EXPECT_EQ(FStore->CompareEntryIDs(48, AsEntry(id), 48, AsEntry(other), 0, &same), S_OK);
    EXPECT_EQ(same, 0u);
    EXPECT_EQ(FStore->CompareEntryIDs(48, AsEntry(id), 48, AsEntry(id), 0, &same), S_OK);
    EXPECT_EQ(same, 1u);
}

TEST(Allocator, OnlyRootsThatAreThereCarryBlocks)
{
    const std::size_t before = LiveBuffers();
    void* root = nullptr;
    void* more = nullptr;
    void* none = nullptr;
    ASSERT_EQ(AllocateBuffer(16, &root), S_OK);
    ASSERT_EQ(AllocateMore(1000, root, &more), S_OK);
    EXPECT_EQ(LiveBuffers(), before + 1);
    EXPECT_EQ(AllocateMore(8, more, &none), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(FreeBuffer(root), 0u);
    EXPECT_EQ(AllocateMore(8, root, &none), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(LiveBuffers(), before);
}

} // namespace
} // namespace deftmapi::client::test
