// Notifications of tables: which events for which change, on which thread, from this process and from another one.
#include "client/notify/Journal.hpp"
#include "client/notify/TableFeed.hpp"
#include "tests/client/NotifyFixture.hpp"
#include "tests/client/TableConditions.hpp"

#include <gmock/gmock.h>
#include <random>

namespace deftmapi::client::test
{
namespace
{

using Lines = std::vector<std::u16string>;

TEST_F(NotifyTest, NothingArrivesBeforeItIsDispatched)
{
    Start(false);
    auto table = Contents();
    const auto connection = Advise(*table, FSink.Get());
    const Bytes a = AddMessage(u"a");
    const Bytes b = AddMessage(u"b");
    EXPECT_TRUE(FSink->Take().empty());
    std::thread([] { Dispatch(); }).join(); // of another thread
    EXPECT_TRUE(FSink->Take().empty());
    Dispatch();
    auto events = FSink->Take();
    EXPECT_EQ(Describe(events), (Lines{u"added a", u"added b"}));
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].prior, std::nullopt);
    EXPECT_EQ(events[1].prior, events[0].key);
    EXPECT_EQ(events[0].row.size(), 2u);
    EXPECT_EQ(std::get<Bytes>(events[1].row[1].data), events[1].key);
    EXPECT_EQ(events[0].thread, std::this_thread::get_id());

    SetSubject(a, u"z");
    EXPECT_EQ(Dispatched(), Lines{u"modified z"});
    Delete(b);
    AddMessage(u"hidden", MAPI_ASSOCIATED);
    EXPECT_EQ(RowCount(*table), 1u); // a call of the table dispatches in passing
    events = FSink->Take();
    EXPECT_EQ(Describe(events), Lines{u"deleted"});
    EXPECT_TRUE(events.at(0).row.empty());

    EXPECT_EQ(table->Unadvise(connection), S_OK);
    EXPECT_EQ(table->Unadvise(connection), MAPI_E_NOT_FOUND);
    AddMessage(u"c");
    EXPECT_EQ(Dispatched(), Lines());
}

TEST_F(NotifyTest, AdvisingIsRefusedWhereNothingCanCome)
{
    Start(false);
    auto table = Contents();
    ULONG_PTR connection = 7;
    EXPECT_EQ(table->Advise(fnevNewMail, FSink.Get(), &connection), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(connection, 0u);
    EXPECT_EQ(table->Advise(fnevTableModified, nullptr, &connection), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(table->Advise(fnevTableModified, FSink.Get(), nullptr), MAPI_E_INVALID_PARAMETER);
    Ptr<IMAPITable> fixed;
    ASSERT_EQ(FStore->GetReceiveFolderTable(0, Out(fixed)), S_OK);
    EXPECT_EQ(fixed->Advise(fnevTableModified, FSink.Get(), &connection), MAPI_E_NO_SUPPORT);
}

TEST_F(NotifyTest, RowsThatStartOrStopFittingComeAndGo)
{
    Start(false);
    const Bytes b = AddMessage(u"match b");
    const Bytes d = AddMessage(u"other d");
    auto table = Contents(true);
    ASSERT_EQ(table->Restrict(Starts(Text(tag::Subject, u"match")), 0), S_OK);
    Advise(*table, FSink.Get());
    TableModel model;
    model.Load(*table);
    static_cast<void>(FSink->Take());

    SetSubject(d, u"match a");
    AddMessage(u"other");
    Dispatch();
    auto events = FSink->Take();
    EXPECT_EQ(Describe(events), Lines{u"added match a"});
    model.Apply(events, *table);
    SetSubject(d, u"match z"); // to another place
    Dispatch();
    events = FSink->Take();
    EXPECT_EQ(Describe(events), Lines{u"modified match z"});
    model.Apply(events, *table);
    EXPECT_EQ(model.Names(), (Lines{u"match b", u"match z"}));
    SetSubject(b, u"no match");
    EXPECT_EQ(Dispatched(), Lines{u"deleted"});
}

TEST_F(NotifyTest, TheRowHasTheColumnsAndTheWidthOfTheTable)
{
    Start(false);
    auto table = Watched();
    constexpr ULONG NarrowSubject = (tag::Subject & 0xFFFF0000u) | PT_STRING8;
    ASSERT_EQ(table->SetColumns(Tags{tag::Subject, PT_NULL, tag::MessageFlags, 0x7FFE001F}, 0), S_OK);
    AddMessage(u"one");
    Dispatch();
    auto events = FSink->Take();
    ASSERT_EQ(events.size(), 1u); // a synchronous call is not told of
    ASSERT_EQ(events[0].row.size(), 4u);
    EXPECT_EQ(events[0].row[1].tag, PT_NULL);
    EXPECT_EQ(events[0].row[2].tag, tag::MessageFlags);
    EXPECT_EQ(events[0].row[3].tag, 0x7FFE000Au);
    ASSERT_EQ(table->SetColumns(Tags{NarrowSubject}, TBL_ASYNC), S_OK);
    Dispatch();
    ASSERT_EQ(SortBy(*table, tag::Subject, TBL_ASYNC), S_OK);
    ASSERT_EQ(table->Restrict(nullptr, TBL_ASYNC), S_OK);
    EXPECT_EQ(Dispatched(), (Lines{u"columns set", u"sorted", u"restricted"}));
}

TEST_F(NotifyTest, FoldersTellOfTheirFoldersAndCounters)
{
    Start(false);
    Ptr<IMAPITable> table;
    ASSERT_EQ(FInbox->GetHierarchyTable(MAPI_UNICODE | CONVENIENT_DEPTH, Out(table)), S_OK);
    ASSERT_EQ(table->SetColumns(Tags{tag::DisplayName, tag::ContentCount, tag::Subfolders}, 0), S_OK);
    Advise(*table, FSink.Get());
    auto m = NewFolder(*FInbox, u"m");
    auto deep = NewFolder(*m, u"deep");
    auto a = NewFolder(*FInbox, u"a");
    Dispatch();
    auto events = FSink->Take();
    EXPECT_EQ(Describe(events), (Lines{u"added a", u"added m", u"added deep"}));
    EXPECT_EQ(NumberAt(events.at(1).row, 2), 1);

    ASSERT_EQ(EmptyMessage(*deep)->SaveChanges(0), S_OK);
    Dispatch();
    events = FSink->Take();
    EXPECT_EQ(Describe(events), Lines{u"modified deep"});
    EXPECT_EQ(NumberAt(events.at(0).row, 1), 1);
    EXPECT_EQ(events.at(0).prior, (Bytes(Get(*m, tag::InstanceKey).Blob())));

    Set(*a, {Text(tag::DisplayName, u"z")});
    EXPECT_EQ(Dispatched(), Lines{u"modified z"});
    Set(*m, {Text(tag::DisplayName, u"zz")}); // its subfolder goes along
    EXPECT_EQ(Dispatched(), Lines{u"reload"});
    const Bytes id = Get(*m, tag::EntryId).Blob();
    ASSERT_EQ(FInbox->DeleteFolder(static_cast<ULONG>(id.size()), AsEntry(id), 0, nullptr, DEL_FOLDERS | DEL_MESSAGES),
              S_OK);
    EXPECT_EQ(Dispatched(), (Lines{u"deleted", u"deleted"}));
}

TEST_F(NotifyTest, TooMuchAtOnceIsAReload)
{
    Start(false);
    auto table = Watched();
    auto parent = OpenFolder(Get(*FInbox, tag::ParentEntryId).Blob());
    Ptr<IMAPITable> folders;
    ASSERT_EQ(parent->GetHierarchyTable(MAPI_UNICODE, Out(folders)), S_OK);
    ASSERT_EQ(folders->SetColumns(Tags{tag::DisplayName, tag::ContentCount}, 0), S_OK);
    const Ptr<RecordingSink> folderSink{new RecordingSink};
    const Bytes first = AddMessage(u"first");
    Dispatch();
    static_cast<void>(FSink->Take());
    // One entry more than the journal keeps, about one row: what came before them is lost.
    StorePtr file = StoreFile::Open(OnlyStoreFile());
    file->Db().Execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                       std::to_string(JournalKept + 2048) +
                       ") INSERT INTO journal (kind, object, folder) SELECT 3, 1, 3 FROM n");
    file.reset();
    EXPECT_EQ(Dispatched(), Lines{u"reload"});
    Delete(first);
    EXPECT_EQ(Dispatched(), Lines{u"deleted"});

    OtherProcess other(OnlyStoreFile());
    ASSERT_EQ(other.Do("burst " + std::to_string(MaximumRowEvents)), "ok");
    Dispatch();
    EXPECT_EQ(FSink->Take().size(), MaximumRowEvents);
    Advise(*folders, folderSink.Get());
    ASSERT_EQ(other.Do("burst " + std::to_string(MaximumRowEvents + 1)), "ok");
    EXPECT_EQ(Dispatched(), Lines{u"reload"});
    // To the tree of folders it is one row.
    const auto rows = folderSink->Take();
    EXPECT_EQ(Describe(rows), Lines{u"modified Inbox"});
    EXPECT_EQ(NumberAt(rows.at(0).row, 1), std::int64_t{2 * MaximumRowEvents + 1});
    AddMessage(u"one more");
    EXPECT_EQ(Dispatched(), Lines{u"added one more"});

    // A file that was put back as it had been: its numbers are smaller than those that were seen.
    file = StoreFile::Open(OnlyStoreFile());
    file->Db().Execute("DELETE FROM journal WHERE seq > (SELECT max(seq) - 1 FROM journal)");
    file.reset();
    EXPECT_EQ(Dispatched(), Lines{u"reload"});
}

TEST_F(NotifyTest, ATableWithARowPerValueIsReadAnew)
{
    Start(false);
    constexpr ULONG Words = 0x6801101F;
    auto table = Contents();
    ASSERT_EQ(SortBy(*table, Words | MVI_FLAG, 0), S_OK);
    Advise(*table, FSink.Get());
    AddMessage(u"a");
    EXPECT_EQ(Dispatched(), Lines{u"reload"});
    ASSERT_EQ(SortBy(*table, tag::Subject, 0), S_OK);
    AddMessage(u"b");
    EXPECT_EQ(Dispatched(), Lines{u"added b"});
}

TEST_F(NotifyTest, TheTablesOfStoresAndResourcesTellOfChanges)
{
    auto session = LogOnToNew(u"p");
    Ptr<IMAPITable> tables[2] = {StoresTable(*session), {}};
    ASSERT_EQ(session->GetStatusTable(Unicode, Out(tables[1])), S_OK);
    const Ptr<RecordingSink> sinks[2] = {Ptr<RecordingSink>(new RecordingSink), Ptr<RecordingSink>(new RecordingSink)};
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(tables[i]->SetColumns(Tags{tag::DisplayName, tag::DefaultStore, tag::ResourceFlags}, 0), S_OK);
        Advise(*tables[i], sinks[i].Get());
    }
    const auto expect = [&](const Lines& lines, const char* why = "") {
        Dispatch();
        for (const auto& sink : sinks)
            EXPECT_EQ(Describe(sink->Take()), lines) << why;
    };
    expect({});
    // By another session of the process.
    auto other = LogOnTo(u"p");
    auto services = Services(*other);
    MAPIUID uid = AddService(*services);
    expect({}, "it has no store yet");
    const auto rename = [&](const char16_t* name) {
        SPropValue value = Text(tag::DisplayName, name);
        ASSERT_EQ(services->ConfigureMsgService(&uid, 0, 0, 1, &value), S_OK);
    };
    rename(u"Archive");
    expect({u"added Archive"});
    EXPECT_EQ(Rows(*tables[0], {tag::DisplayName}).size(), 2u) << "the table that was open has it, too";
    rename(u"Old mail");
    expect({u"modified Old mail"});
    const Bytes second = Stores(*session).at(1).id;
    ASSERT_EQ(session->SetDefaultStore(MAPI_DEFAULT_STORE, static_cast<ULONG>(second.size()), AsEntry(second)), S_OK);
    expect({u"modified Personal Folders", u"modified Old mail"});
    ASSERT_EQ(Create(u"another"), S_OK);
    expect({}, "a profile that is none of the session's");
    ASSERT_EQ(services->DeleteMsgService(&uid), S_OK);
    expect({u"deleted", u"modified Personal Folders"}, "which is the default store now");
    ASSERT_EQ(Admin()->DeleteProfile(W(u"p"), Unicode), S_OK);
    expect({}, "the session keeps the stores that it had");
    ASSERT_EQ(session->Logoff(0, 0, 0), S_OK);
    EXPECT_EQ(sinks[0]->AddRef(), 2u) << "the logoff ends the connections";
    sinks[0]->Release();
}

TEST_F(NotifyTest, AFailureIsToldOnceAndWhatHappenedMeanwhileAfterIt)
{
    Start(false);
    auto table = Watched();
    StorePtr file = StoreFile::Open(OnlyStoreFile());
    file->Db().Execute("ALTER TABLE journal RENAME COLUMN seq TO elsewhere");
    AddMessage(u"a");
    Dispatch();
    Dispatch();
    const auto events = FSink->Take();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].type, TABLE_ERROR);
    EXPECT_TRUE(Failed(events[0].result));
    file->Db().Execute("ALTER TABLE journal RENAME COLUMN elsewhere TO seq");
    AddMessage(u"b");
    EXPECT_EQ(Dispatched(), (Lines{u"added a", u"added b"}));
}

/// A table, its sink and what a program makes of what the sink is told.
struct Followed
{
    Followed(Ptr<IMAPITable> what, ULONG nameTag) : table(std::move(what)), model(nameTag), expected(nameTag)
    {
        ULONG_PTR connection = 0;
        EXPECT_EQ(table->Advise(fnevTableModified, sink.Get(), &connection), S_OK);
        model.Load(*table);
    }
    void Check(int round)
    {
        model.Apply(sink->Take(), *table);
        expected.Load(*table);
        EXPECT_EQ(model.Names(), expected.Names()) << "round " << round;
    }

    Ptr<IMAPITable> table;
    Ptr<RecordingSink> sink{new RecordingSink};
    TableModel model;
    TableModel expected;
};

TEST_F(NotifyTest, ATableThatFollowsItsEventsIsTheTableReadAnew)
{
    Start(false);
    OtherProcess other(OnlyStoreFile());
    std::vector<Followed> all;
    all.emplace_back(Contents(), tag::Subject);
    all.emplace_back(Contents(true), tag::Subject); // by an index
    all.emplace_back(Contents(), tag::Subject);
    SortKeys twoKeys{{tag::MessageFlags, TABLE_SORT_DESCEND}, {tag::Subject, TABLE_SORT_DESCEND}}; // no index has it
    ASSERT_EQ(all[2].table->SortTable(twoKeys, 0), S_OK);
    for (const bool sorted : {false, true}) {
        all.emplace_back(Contents(sorted), tag::Subject);
        ASSERT_EQ(all.back().table->Restrict(Is(Text(tag::Subject, u"m"), RELOP_LT), 0), S_OK);
    }

    std::mt19937 random(20240601);
    std::vector<Bytes> ids;
    for (int round = 0; round < 50 && !HasFailure(); ++round) {
        for (auto step = random() % 6; step-- > 0;) {
            const std::u16string text(1, static_cast<char16_t>(u'a' + random() % 26));
            const auto at = ids.empty() ? 0 : random() % ids.size();
            switch (random() % 6) {
            case 0:
                other.Do("add " + KwToUtf8(text));
                break;
            case 1:
                other.Do("rename " + KwToUtf8(text));
                break;
            case 2:
                ids.push_back(AddMessage(text.c_str()));
                break;
            case 3:
                if (!ids.empty())
                    SetSubject(ids[at], text.c_str());
                break;
            case 4:
                if (!ids.empty()) {
                    EXPECT_EQ(OpenMessage(ids[at])->SetReadFlag(random() % 2 ? CLEAR_READ_FLAG : 0), S_OK);
                }
                break;
            default:
                if (!ids.empty()) {
                    Delete(ids[at]);
                    ids.erase(ids.begin() + static_cast<std::ptrdiff_t>(at));
                }
            }
        }
        Dispatch();
        for (Followed& followed : all)
            followed.Check(round);
    }
}

TEST_F(NotifyTest, AFolderTreeThatFollowsItsEventsIsTheTreeReadAnew)
{
    Start(false);
    const auto hierarchy = [this](ULONG flags) {
        Ptr<IMAPITable> table;
        EXPECT_EQ(FInbox->GetHierarchyTable(MAPI_UNICODE | flags, Out(table)), S_OK);
        return table;
    };
    std::vector<Followed> all;
    all.emplace_back(hierarchy(0), tag::DisplayName);
    all.emplace_back(hierarchy(CONVENIENT_DEPTH), tag::DisplayName);
    all.emplace_back(hierarchy(CONVENIENT_DEPTH), tag::DisplayName);
    ASSERT_EQ(SortBy(*all[2].table, tag::ContentCount, 0), S_OK);

    std::mt19937 random(20240602);
    std::vector<Bytes> ids = {Get(*FInbox, tag::EntryId).Blob()}; // some do not exist any more
    for (int round = 0; round < 50 && !HasFailure(); ++round) {
        for (auto step = random() % 4; step-- > 0;) {
            std::u16string name = u"f";
            for (int i = 0; i < 3; ++i)
                name += static_cast<char16_t>(u'a' + random() % 26);
            const Bytes& one = ids[random() % ids.size()];
            const Bytes& two = ids[random() % ids.size()];
            const auto open = [this](const Bytes& id) {
                ULONG type = 0;
                Ptr<IMAPIFolder> folder;
                FStore->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, MAPI_MODIFY, &type,
                                  reinterpret_cast<LPUNKNOWN*>(Out(folder)));
                return folder;
            };
            auto folder = open(one);
            auto target = open(two);
            if (!folder || !target)
                continue;
            switch (random() % 6) {
            case 0:
                if (one != ids[0])
                    FInbox->DeleteFolder(static_cast<ULONG>(one.size()), AsEntry(one), 0, nullptr,
                                         DEL_FOLDERS | DEL_MESSAGES); // those that lie deeper are refused
                break;
            case 1:
                if (one != ids[0])
                    folder->CopyFolder(static_cast<ULONG>(one.size()), AsEntry(one), nullptr, target.Get(),
                                       W(name.c_str()), 0, nullptr, FOLDER_MOVE | MAPI_UNICODE); // cycles are refused
                break;
            case 2:
                if (one != ids[0])
                    Set(*folder, {Text(tag::DisplayName, name.c_str())});
                break;
            case 3:
                ASSERT_EQ(EmptyMessage(*folder)->SaveChanges(0), S_OK);
                break;
            default:
                ids.push_back(Get(*NewFolder(*folder, name.c_str()), tag::EntryId).Blob());
            }
        }
        Dispatch();
        for (Followed& followed : all)
            followed.Check(round);
    }
    EXPECT_GT(all[1].expected.Names().size(), 10u);
}

} // namespace
} // namespace deftmapi::client::test
