// Deleting trees of folders: all of it or nothing, whoever is killed or writes at the same time.
#include "client/notify/StoreFeed.hpp"
#include "tests/client/FolderFixture.hpp"

#include <csignal>
#include <random>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

class FolderDeleteTest : public FolderCalls
{
protected:
    /// A folder with a tree below it and messages in every folder.
    static Ptr<IMAPIFolder> Grow(IMAPIFolder& parent, const char16_t* name, int width, int depth)
    {
        auto folder = Create(parent, name);
        Save(*NewMessage(*folder, u"in it"));
        for (int i = 0; i < width && depth > 0; ++i)
            Grow(*folder, std::u16string(1, static_cast<char16_t>(u'a' + i)).c_str(), width, depth - 1);
        return folder;
    }
};

TEST_F(FolderDeleteTest, AKillLeavesAllOfATreeOrNothing)
{
    std::mt19937 random(7);
    auto inbox = Inbox();
    int gone = 0;
    for (int round = 0; round < 6; ++round) {
        const Bytes id = IdOf(*Grow(*inbox, u"tree", 3, 3));
        const auto count = [&] {
            return std::pair(Db().Scalar("SELECT count(*) FROM folders"), Db().Scalar("SELECT count(*) FROM messages"));
        };
        const auto before = count();
        inbox.Reset();
        FStore.Reset();
        FStoreFile.reset(); // no connection crosses the fork
        int pipes[2];
        ASSERT_EQ(::pipe(pipes), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            auto file = StoreFile::Open(File());
            auto parent = OpenFolderRow(file, static_cast<std::int64_t>(SpecialFolder::Inbox), true);
            if (::write(pipes[1], "x", 1) != 1)
                ::_exit(1);
            const HRESULT result = round % 2 ? Delete(*parent, id, DEL_FOLDERS | DEL_MESSAGES)
                                             : parent->EmptyFolder(0, nullptr, DEL_ASSOCIATED);
            if (result != S_OK)
                ::_exit(2);
            for (;;)
                ::pause();
        }
        char ready = 0;
        ASSERT_EQ(::read(pipes[0], &ready, 1), 1);
        for (auto spin = random() % 40000; spin > 0; --spin)
            std::this_thread::yield();
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        ::close(pipes[0]);
        ::close(pipes[1]);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the deleting process failed by itself";
        FStoreFile = StoreFile::Open(File());
        FStore = OpenStoreObject(FStoreFile, true, true);
        inbox = Inbox();
        ExpectWhole(*FStoreFile);
        if (count() != before) {
            ++gone;
            EXPECT_EQ(Db().Scalar("SELECT count(*) FROM messages"), 0);
            EXPECT_EQ(Children(*inbox).size(), 0u);
        }
        EXPECT_EQ(inbox->EmptyFolder(0, nullptr, 0), S_OK);
    }
    RecordProperty("gone", gone);
}

TEST_F(FolderDeleteTest, NobodyWritesIntoWhatIsBeingDeleted)
{
    // Three users of the file: one deletes and makes the same folder again, one adds to it, one moves folders in and
    // out.
    std::atomic<bool> stop{false};
    Create(*Inbox(), u"shelf");
    const auto open = [](const StorePtr& file, const char* name) -> Ptr<IMAPIFolder> {
        Query query = file->Db().Prepare("SELECT id FROM folders WHERE name = ?1 AND parent <> 1");
        query.BindText(1, name);
        const std::int64_t row = query.Step() ? query.Number(0) : 0;
        query.Reset();
        try {
            return row ? OpenFolderRow(file, row, true) : nullptr;
        } catch (const Failure&) {
            return nullptr; // deleted just now
        }
    };
    const auto user = [&](const std::function<void(const StorePtr&, IMAPIFolder&)>& step) {
        return std::jthread([this, &stop, step] {
            auto file = StoreFile::Open(File());
            auto inbox = OpenFolderRow(file, static_cast<std::int64_t>(SpecialFolder::Inbox), true);
            while (!stop)
                step(file, *inbox);
        });
    };
    {
        const auto writer = user([&](const StorePtr& file, IMAPIFolder&) {
            auto busy = open(file, "busy");
            if (!busy)
                return;
            Ptr<IMessage> message;
            Ptr<IMAPIFolder> sub;
            if (busy->CreateMessage(nullptr, 0, Out(message)) == S_OK)
                message->SaveChanges(0);
            busy->CreateFolder(FOLDER_GENERIC, const_cast<char16_t*>(u"sub"), nullptr, nullptr, MAPI_UNICODE, Out(sub));
        });
        const auto mover = user([&](const StorePtr& file, IMAPIFolder&) {
            auto sub = open(file, "sub");
            auto shelf = open(file, "shelf");
            auto busy = open(file, "busy");
            if (sub && shelf && busy)
                Copy(*sub, std::rand() % 2 ? *shelf : *busy, nullptr, FOLDER_MOVE);
        });
        auto inbox = Inbox();
        for (int i = 0; i < 60; ++i) {
            const ULONG flags = i % 2 ? DEL_FOLDERS | DEL_MESSAGES : 0;
            const auto busy = Create(*inbox, u"busy", OPEN_IF_EXISTS);
            const HRESULT result = Delete(*inbox, IdOf(*busy), flags);
            EXPECT_TRUE(result == S_OK || (!flags && (result == MAPI_E_HAS_FOLDERS || result == MAPI_E_HAS_MESSAGES)))
                << std::hex << result;
            if (i % 10 == 9)
                open(FStoreFile, "shelf")->EmptyFolder(0, nullptr, 0);
        }
        stop = true;
    }
    ExpectWhole(*FStoreFile);
}

TEST_F(FolderDeleteTest, TheDefaultReceiveFolderFallsBackToTheInbox)
{
    auto inbox = Inbox();
    auto folder = Create(*inbox, u"incoming");
    const Bytes id = IdOf(*folder);
    const auto size = static_cast<ULONG>(id.size());
    for (const char16_t* messageClass : {u"", u"IPM.Task"})
        ASSERT_EQ(FStore->SetReceiveFolder(const_cast<char16_t*>(messageClass), MAPI_UNICODE, size, AsEntry(id)), S_OK);
    EXPECT_EQ(InboxId(), id);
    EXPECT_EQ(Delete(*inbox, id, 0), S_OK);
    EXPECT_EQ(InboxId(), IdOf(*inbox));
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM receive_folders"), 1);
}

std::vector<ULONG> EventsOf(StoreFeed& feed, ULONG type)
{
    NotificationBatch batch = feed.Collect();
    std::vector<ULONG> events;
    for (ULONG i = 0; i < batch.Count(); ++i) {
        if (type == 0 || batch.Data()[i].info.obj.ulObjType == type)
            events.push_back(type ? batch.Data()[i].ulEventType : batch.Data()[i].info.obj.ulObjType);
    }
    return events;
}

TEST_F(FolderDeleteTest, ListenersHearOfMessagesBeforeTheFoldersThatTheyWereIn)
{
    auto inbox = Inbox();
    const Bytes id = IdOf(*Grow(*inbox, u"tree", 2, 1));
    StoreFeed feed(FStoreFile->ForListeners(), fnevObjectDeleted, std::nullopt);
    EXPECT_EQ(Delete(*inbox, id, DEL_FOLDERS | DEL_MESSAGES), S_OK);
    EXPECT_EQ(EventsOf(feed, 0),
              (std::vector<ULONG>{MAPI_MESSAGE, MAPI_MESSAGE, MAPI_MESSAGE, MAPI_FOLDER, MAPI_FOLDER, MAPI_FOLDER}));
}

TEST_F(FolderDeleteTest, ASinkOfOneMessageHearsOfItAmongManyOthers)
{
    auto inbox = Inbox();
    auto folder = Create(*inbox, u"full");
    auto target = Create(*inbox, u"target");
    std::vector<Bytes> ids;
    for (std::size_t i = 0; i <= JournalBulk; ++i)
        ids.push_back(Save(*NewMessage(*folder, u"m")));
    StoreFeed feed(FStoreFile->ForListeners(), StoreEvents, ParseEntryId(ids[7]));
    StoreFeed deletions(FStoreFile->ForListeners(), fnevObjectDeleted, ParseEntryId(ids[7]));
    EXPECT_EQ(folder->SetReadFlags(nullptr, 0, nullptr, CLEAR_READ_FLAG), S_OK);
    EXPECT_EQ(EventsOf(feed, MAPI_MESSAGE), std::vector<ULONG>{fnevObjectModified});
    EXPECT_EQ(CopyMessages(*folder, ids, *target, MESSAGE_MOVE), S_OK);
    EXPECT_EQ(EventsOf(feed, MAPI_MESSAGE), std::vector<ULONG>{fnevObjectMoved});
    Save(*NewMessage(*target, u"another"));
    EXPECT_EQ(EventsOf(feed, MAPI_MESSAGE), std::vector<ULONG>{});
    EXPECT_EQ(target->EmptyFolder(0, nullptr, 0), S_OK);
    EXPECT_EQ(EventsOf(feed, MAPI_MESSAGE), std::vector<ULONG>{fnevObjectDeleted});
    EXPECT_EQ(EventsOf(deletions, MAPI_MESSAGE), std::vector<ULONG>{fnevObjectDeleted});
}

TEST_F(FolderDeleteTest, MoreChangesThanTheJournalKeepsAreOneEntryForEachFolder)
{
    constexpr std::int64_t Folders = 100;
    const std::int64_t before = LastJournalNumber(Db());
    {
        Transaction transaction(Db());
        for (std::int64_t i = 0; i < 3 * JournalKept; ++i)
            FStoreFile->Changes().Changed({i, 1000 + i % Folders, false, 0}, 0);
        transaction.Commit();
    }
    EXPECT_EQ(LastJournalNumber(Db()) - before, Folders);
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM journal WHERE kind = 9"), Folders);
}

} // namespace
} // namespace deftmapi::client::test
