// Deleting trees of folders: all of it or nothing, whoever is killed or writes at the same time.
#include "client/notify/StoreFeed.hpp"
#include "client/store/MessageRecords.hpp"
#include "tests/client/FolderFixture.hpp"
#include "tests/client/TableConditions.hpp"

#include <csignal>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace deftmapi::client::test
{
namespace
{

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
    constexpr int Folders = 3000;
    const std::int64_t top = [&] {
        Transaction transaction(Db());
        std::vector<std::int64_t> rows = {static_cast<std::int64_t>(SpecialFolder::Inbox)};
        for (std::size_t i = 0; i < Folders; ++i) {
            const WideString name = KwFromUtf8(std::to_string(i));
            rows.push_back(InsertFolder(*FStoreFile, rows[(i + 8) / 9], FOLDER_GENERIC, name, {}));
            if (i % 4 == 0) {
                MessageState message = client::NewMessage(rows.back(), i % 8 == 0);
                SaveMessage(*FStoreFile, message, false);
            }
        }
        transaction.Commit();
        return rows[1];
    }();
    const Bytes id = FStoreFile->EntryIdOf(EntryKind::Folder, top);
    const auto count = [&] {
        return std::pair(Db().Scalar("SELECT count(*) FROM folders"), Db().Scalar("SELECT count(*) FROM messages"));
    };
    const auto before = count();
    constexpr std::size_t Steps = Folders + Folders / 4;
    // Where the call stands when its process is killed: at the beginning, among the messages, among the folders, before
    // the commit; at last it has returned.
    for (const std::size_t report : {std::size_t{1}, Steps / 9, Steps / 2, Steps + 1, Steps + 2}) {
        SCOPED_TRACE(report);
        FInbox.Reset();
        FStore.Reset();
        FStoreFile.reset(); // no connection crosses the fork
        int pipes[2];
        ASSERT_EQ(::pipe(pipes), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const auto wait = [&pipes](char state) {
                if (::write(pipes[1], &state, 1) == 1)
                    for (;;)
                        ::pause();
                ::_exit(1);
            };
            auto file = StoreFile::Open(File());
            auto parent = OpenSpecial(file);
            Ptr<RecordingProgress> progress(new RecordingProgress);
            progress->onReport = [&](std::size_t number) {
                if (number == report)
                    wait('i');
            };
            const HRESULT result = report % 2 ? Delete(*parent, id, DEL_FOLDERS | DEL_MESSAGES, progress.Get())
                                              : parent->EmptyFolder(0, progress.Get(), DEL_ASSOCIATED);
            wait(result == S_OK ? 'r' : 'f');
        }
        ::close(pipes[1]);
        char state = 0;
        EXPECT_EQ(::read(pipes[0], &state, 1), 1);
        EXPECT_EQ(state, report > Steps + 1 ? 'r' : 'i');
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ::close(pipes[0]);
        FStoreFile = StoreFile::Open(File());
        FStore = OpenStoreObject(FStoreFile, true, true);
        FInbox = Inbox();
        ExpectWhole(*FStoreFile);
        if (report > Steps + 1)
            EXPECT_EQ(count(), std::pair(before.first - Folders, std::int64_t{0}));
        else
            EXPECT_EQ(count(), before);
    }
}

TEST_F(FolderDeleteTest, NobodyWritesIntoWhatIsBeingDeleted)
{
    // Three users of the file: one deletes and makes the same folder again, one adds to it, one moves folders in and
    // out.
    std::atomic<bool> stop{false};
    Create(*FInbox, u"shelf");
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
            auto inbox = OpenSpecial(file);
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
        for (int i = 0; i < 60; ++i) {
            const ULONG flags = i % 2 ? DEL_FOLDERS | DEL_MESSAGES : 0;
            const auto busy = Create(*FInbox, u"busy", OPEN_IF_EXISTS);
            const HRESULT result = Delete(*FInbox, IdOf(*busy), flags);
            EXPECT_TRUE(result == S_OK || (!flags && (result == MAPI_E_HAS_FOLDERS || result == MAPI_E_HAS_MESSAGES)))
                << std::hex << result;
            if (i % 10 == 9)
                open(FStoreFile, "shelf")->EmptyFolder(0, nullptr, 0);
        }
        stop = true;
    }
    ExpectWhole(*FStoreFile);
}

TEST_F(FolderDeleteTest, WhatASearchShowsIsNoMessageOfTheTree)
{
    auto top = Create(*FInbox, u"top");
    auto search = Create(*top, u"search", 0, S_OK, FOLDER_SEARCH);
    Save(*NewMessage(*FInbox, u"elsewhere"));
    ASSERT_EQ(search->SetSearchCriteria(Exists(tag::Subject), Ids({IdOf(*FInbox)}), 0), S_OK);
    ASSERT_EQ(Get(*search, tag::ContentCount).Number(), 1);
    EXPECT_EQ(Delete(*FInbox, IdOf(*top), DEL_FOLDERS), S_OK);
}

TEST_F(FolderDeleteTest, EmptyingAFolderTellsItsProgressToTheEndWhateverIsKept)
{
    auto subtree = OpenFolder(Get(*FStore, tag::IpmSubtree).Blob());
    Grow(*subtree, u"tree", 2, 1);
    Save(*NewMessage(*FInbox, u"stays with its folder"));
    Save(*NewMessage(*subtree, u"goes"));
    Save(*EmptyMessage(*subtree, MAPI_ASSOCIATED));
    for (const auto& [flags, steps] : {std::pair{ULONG{0}, 7u}, std::pair{DEL_ASSOCIATED, 1u}}) {
        Ptr<RecordingProgress> progress(new RecordingProgress);
        EXPECT_EQ(subtree->EmptyFolder(0, progress.Get(), flags), MAPI_W_PARTIAL_COMPLETION);
        EXPECT_EQ(progress->reports.back().value, 1000u);
        EXPECT_EQ(progress->reports.back().count, steps);
        EXPECT_EQ(progress->reports.back().total, steps);
    }
    EXPECT_EQ(Contents(*FInbox).size(), 1u);
}

TEST_F(FolderDeleteTest, TheDefaultReceiveFolderFallsBackToTheInbox)
{
    auto folder = Create(*FInbox, u"incoming");
    const Bytes id = IdOf(*folder);
    const auto size = static_cast<ULONG>(id.size());
    for (const char16_t* messageClass : {u"", u"IPM.Task"})
        ASSERT_EQ(FStore->SetReceiveFolder(const_cast<char16_t*>(messageClass), MAPI_UNICODE, size, AsEntry(id)), S_OK);
    EXPECT_EQ(InboxId(), id);
    EXPECT_EQ(Delete(*FInbox, id, 0), S_OK);
    EXPECT_EQ(InboxId(), IdOf(*FInbox));
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
    const Bytes id = IdOf(*Grow(*FInbox, u"tree", 2, 1));
    StoreFeed feed(FStoreFile->ForListeners(), fnevObjectDeleted, std::nullopt);
    EXPECT_EQ(Delete(*FInbox, id, DEL_FOLDERS | DEL_MESSAGES), S_OK);
    EXPECT_EQ(EventsOf(feed, 0),
              (std::vector<ULONG>{MAPI_MESSAGE, MAPI_MESSAGE, MAPI_MESSAGE, MAPI_FOLDER, MAPI_FOLDER, MAPI_FOLDER}));
}

TEST_F(FolderDeleteTest, ASinkOfOneMessageHearsOfItAmongManyOthers)
{
    auto folder = Create(*FInbox, u"full");
    auto target = Create(*FInbox, u"target");
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
