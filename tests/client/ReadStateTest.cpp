// Which messages are unread is kept apart from their rows: whoever asks, in whatever way, must be told the same.
#include "client/store/MessageRecords.hpp"
#include "tests/client/FolderFixture.hpp"
#include "tests/client/TableConditions.hpp"

#include <map>
#include <random>
#include <set>

namespace deftmapi::client::test
{
namespace
{

class ReadStateTest : public ContentsTest
{
protected:
    using Marks = std::map<Bytes, bool>; // by entry identifier: unread

    void SetUp() override
    {
        ContentsTest::SetUp();
        FOther = NewFolder(*FInbox, u"other");
    }
    void TearDown() override
    {
        FOther.Reset();
        ContentsTest::TearDown();
    }
    /// @returns its entry identifier
    static Bytes Add(IMAPIFolder& folder, int number, bool unread, ULONG flags = 0)
    {
        auto message = EmptyMessage(folder, flags);
        const std::u16string subject(1, static_cast<char16_t>(u'a' + number % 7));
        Set(*message, {Text(tag::Subject, subject.c_str()),
                       Time(tag::DeliveryTime, (1ULL << 32) + static_cast<unsigned>(number * 7919 % 101)),
                       Long(tag::MessageFlags, unread ? 0 : static_cast<LONG>(MSGFLAG_READ))});
        return Save(*message);
    }
    static bool IsUnread(const Prop& flags) { return (std::get<std::int64_t>(flags.data) & MSGFLAG_READ) == 0; }
    static Marks Shown(IMAPITable& table)
    {
        Marks marks;
        for (const Props& row : Rows(table, {tag::EntryId, tag::MessageFlags}, 50))
            EXPECT_TRUE(marks.emplace(std::get<Bytes>(row[0].data), IsUnread(row[1])).second) << "shown twice";
        return marks;
    }
    static Marks Only(const Marks& all, bool unread)
    {
        Marks marks;
        std::copy_if(all.begin(), all.end(), std::inserter(marks, marks.end()),
                     [unread](const auto& mark) { return mark.second == unread; });
        return marks;
    }

    /// Asked for together with something else, in every order; of the subjects "a" to "g" those that begin with "b".
    static void ExpectParts(IMAPITable& table, const Marks& expected)
    {
        Marks all;
        for (const Props& row : Rows(table, {tag::EntryId, tag::Subject}, 50)) {
            const auto& id = std::get<Bytes>(row[0].data);
            if (expected.at(id) && WideAt(row, 1) == u"b")
                all[id] = true;
        }
        const Condition begins = Starts(Text(tag::Subject, u"B"));
        const Condition bare = Bits(BMR_EQZ, tag::MessageFlags, MSGFLAG_HASATTACH);
        const std::pair<Condition, Marks> cases[] = {{And({Unread(), bare}), Only(expected, true)},
                                                     {And({Unread(), begins}), all},
                                                     {And({Unread(), begins, bare}), all}};
        for (const auto& [both, shown] : cases) {
            const std::size_t size = shown.size();
            for (const ULONG tag : {ULONG{0}, tag::DeliveryTime, tag::Subject, tag::Importance}) {
                SortKeys order{{tag, TABLE_SORT_DESCEND}};
                order->cSorts = tag ? 1 : 0;
                ASSERT_EQ(table.SortTable(order, 0), S_OK);
                ASSERT_EQ(table.Restrict(both, 0), S_OK);
                EXPECT_EQ(RowCount(table), size);
                EXPECT_EQ(Shown(table), shown);
                LONG moved = 0;
                ASSERT_EQ(table.SeekRow(BOOKMARK_END, -3, &moved), S_OK);
                EXPECT_EQ(static_cast<std::size_t>(-moved), std::min<std::size_t>(3, size));
                EXPECT_EQ(RowAt(table), size - std::min<std::size_t>(3, size));
                ASSERT_EQ(table.Restrict(nullptr, 0), S_OK);
            }
        }
    }

    /// Every way of asking a folder gives what the marks say, in every order.
    static void ExpectMarks(IMAPIFolder& folder, const Marks& expected, ULONG flags = 0)
    {
        const auto table = ContentsTable(folder, flags);
        for (SortKeys order :
             {SortKeys{}, SortKeys{{tag::DeliveryTime, TABLE_SORT_DESCEND}},
              SortKeys{{tag::Subject, TABLE_SORT_ASCEND}}, SortKeys{{tag::Importance, TABLE_SORT_ASCEND}}})
        {
            ASSERT_EQ(table->SortTable(order, 0), S_OK);
            EXPECT_EQ(Shown(*table), expected);
            ASSERT_EQ(table->SetColumns(Tags{tag::EntryId}, 0), S_OK);
            for (const bool unread : {true, false}) {
                const Marks wanted = Only(expected, unread);
                const Condition asking = Bits(unread ? BMR_EQZ : BMR_NEZ, tag::MessageFlags, MSGFLAG_READ);
                // Found one by one, from either end.
                for (const ULONG direction : {ULONG{0}, ULONG{DIR_BACKWARD}}) {
                    std::size_t found = 0;
                    BOOKMARK from = direction ? BOOKMARK_END : BOOKMARK_BEGINNING;
                    while (found <= wanted.size() && table->FindRow(asking, from, direction) == S_OK) {
                        RowSet rows;
                        ASSERT_EQ(table->QueryRows(1, direction ? TBL_NOADVANCE : 0, rows.Out()), S_OK);
                        EXPECT_TRUE(wanted.contains(BytesOf(rows->aRow[0].lpProps[0].Value.bin)));
                        from = BOOKMARK_CURRENT;
                        ++found;
                    }
                    EXPECT_EQ(found, wanted.size());
                }
                ASSERT_EQ(table->Restrict(asking, 0), S_OK);
                EXPECT_EQ(RowCount(*table), wanted.size());
                EXPECT_EQ(Shown(*table), wanted);
                ASSERT_EQ(table->Restrict(nullptr, 0), S_OK);
                ASSERT_EQ(table->SetColumns(Tags{tag::EntryId}, 0), S_OK);
            }
        }
        ExpectParts(*table, expected);
        const auto unread = static_cast<LONG>(Only(expected, true).size());
        if (!(flags & MAPI_ASSOCIATED)) {
            EXPECT_EQ(Get(folder, tag::ContentUnread).Number(), unread);
        }
    }
    void ExpectMarks(const Marks& inbox, const Marks& other)
    {
        ExpectMarks(*FInbox, inbox);
        ExpectMarks(*FOther, other);
        for (const Marks& marks : {inbox, other}) {
            for (const auto& [id, unread] : marks)
                EXPECT_EQ((Get(*OpenMessage(id), tag::MessageFlags).Number() & MSGFLAG_READ) == 0, unread);
        }
    }
    static HRESULT Mark(IMAPIFolder& folder, const std::vector<Bytes>& ids, ULONG flags)
    {
        return folder.SetReadFlags(Ids(ids), 0, nullptr, flags);
    }

    Ptr<IMAPIFolder> FOther;
};

TEST_F(ReadStateTest, EveryWayOfAskingGivesTheSameWhateverHappens)
{
    Marks inbox;
    Marks other;
    Marks hidden;
    for (int i = 0; i < 180; ++i)
        inbox[Add(*FInbox, i, i % 60 == 0)] = i % 60 == 0; // few
    for (int i = 0; i < 5; ++i)
        hidden[Add(*FInbox, i, i < 3, MAPI_ASSOCIATED)] = i < 3;
    ExpectMarks(inbox, other);
    ExpectMarks(*FInbox, hidden, MAPI_ASSOCIATED);

    std::mt19937 random(7);
    const auto some = [&random](const Marks& marks, unsigned of) {
        std::vector<Bytes> ids;
        for (const auto& [id, unread] : marks) {
            if (random() % of == 0)
                ids.push_back(id);
        }
        return ids;
    };
    for (int round = 0; round < 8; ++round) {
        SCOPED_TRACE(round);
        ASSERT_GT(inbox.size(), 20u);
        const bool unread = round % 2 == 0;
        const auto marked = some(inbox, round < 2 ? 1 : 3); // at first many
        ASSERT_EQ(Mark(*FInbox, marked, unread ? CLEAR_READ_FLAG : 0), S_OK);
        for (const Bytes& id : marked)
            inbox[id] = unread;
        for (const Bytes& id : some(inbox, 20)) { // out of the folder, in one way or another
            if (round % 3 == 0) {
                Delete(id);
            } else {
                ASSERT_EQ(FInbox->CopyMessages(Ids({id}), nullptr, FOther.Get(), 0, nullptr, MESSAGE_MOVE), S_OK);
                other[id] = inbox[id];
            }
            inbox.erase(id);
        }
        const auto changed = some(inbox, 30); // saving what was opened before it was marked does not take that back
        for (const Bytes& id : changed) {
            auto message = OpenMessage(id);
            ASSERT_EQ(Mark(*FInbox, {id}, unread ? 0 : CLEAR_READ_FLAG), S_OK);
            Set(*message, {Text(tag::Subject, u"another")});
            ASSERT_EQ(message->SaveChanges(FORCE_SAVE), S_OK);
            inbox[id] = !unread;
        }
        ExpectMarks(inbox, other);
    }
    ASSERT_EQ(FOther->SetReadFlags(nullptr, 0, nullptr, 0), S_OK);
    ASSERT_EQ(FInbox->SetReadFlags(nullptr, 0, nullptr, CLEAR_READ_FLAG), S_OK);
    for (auto* marks : {&inbox, &other}) {
        for (auto& [id, unread] : *marks)
            unread = marks == &inbox;
    }
    ExpectMarks(inbox, other);
    ExpectMarks(*FInbox, hidden, MAPI_ASSOCIATED);
    ASSERT_EQ(FOther->EmptyFolder(0, nullptr, 0), S_OK);
    ASSERT_EQ(FInbox->EmptyFolder(0, nullptr, DEL_ASSOCIATED), S_OK);
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM unread_pages"), 0);
    EXPECT_EQ(Db().Scalar("SELECT (SELECT count(*) FROM subjects) + (SELECT count(*) FROM search_keys)"), 0);
}

TEST_F(ReadStateTest, MarkingManyIsSeenAtOnceOrNotAtAll)
{
    constexpr int Many = 200;
    std::vector<Bytes> ids;
    for (int i = 0; i < Many; ++i)
        ids.push_back(Add(*FInbox, i, true));
    Database another(File(), Database::Mode::Open);
    const auto unread = [&another] {
        return another.Scalar("SELECT unread_count FROM folders WHERE id = " +
                              std::to_string(static_cast<std::int64_t>(SpecialFolder::Inbox)));
    };
    Ptr<RecordingProgress> progress(new RecordingProgress);
    std::set<std::int64_t> seen;
    progress->onReport = [&](std::size_t) { seen.insert(unread()); };
    ASSERT_EQ(FInbox->SetReadFlags(Ids(ids), 0, progress.Get(), 0), S_OK);
    EXPECT_GT(progress->reports.size(), 3u);
    EXPECT_EQ(seen, std::set<std::int64_t>{Many}) << "while it is going on";
    EXPECT_EQ(unread(), 0);
    progress->reports.clear();
    progress->cancelAfter = 3;
    EXPECT_EQ(FInbox->SetReadFlags(Ids(ids), 0, progress.Get(), CLEAR_READ_FLAG), MAPI_E_USER_CANCEL);
    EXPECT_EQ(unread(), 0);
    ExpectMarks(*FInbox, [&ids] {
        Marks marks;
        for (const Bytes& id : ids)
            marks[id] = false;
        return marks;
    }());
}

TEST_F(ReadStateTest, MessagesFarApartAreRememberedApart)
{
    // So that what is remembered of them would lie in the same place of a small memory, and of a large one.
    std::vector<std::int64_t> rows;
    for (std::int64_t i = 1; i < 300; ++i)
        rows.push_back(i * 4096 - i % 64);
    for (std::int64_t i = 1; i < 20; ++i)
        rows.push_back((i << 30) + 5);
    Transaction transaction(Db());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        Query insert =
            Db().Prepare("INSERT INTO messages (id, folder, flags, size, version) VALUES (?1, 3, ?2, ?3, 1)");
        insert.Bind(1, rows[i]).Bind(2, i % 3 == 0).Bind(3, i % 3 == 0).Run();
    }
    FillIndexes(Db());
    Db().Execute("UPDATE folders SET changes = changes + 1, content_count = (SELECT count(*) FROM messages), "
                 "unread_count = (SELECT count(*) FROM messages WHERE size = 0) WHERE id = 3");
    transaction.Commit();
    for (int turn = 0; turn < 2; ++turn) {
        std::size_t count = 0;
        for (const Props& row : Rows(*FTable, {tag::MessageFlags, tag::MessageSize}, 50)) {
            EXPECT_EQ(IsUnread(row[0]), NumberAt(row, 1) == 0);
            ++count;
        }
        EXPECT_EQ(count, rows.size());
    }
}

TEST_F(ReadStateTest, AnOpenTableForgetsWhatItHasSeen)
{
    // Somebody else's changes, and those of a transaction that is taken back.
    Marks marks;
    for (int i = 0; i < 70; ++i)
        marks[Add(*FInbox, i, false)] = false;
    EXPECT_EQ(Shown(*FTable), marks);
    ASSERT_EQ(Mark(*Opened<IMAPIFolder>(*OpenAnother(), InboxId()), {marks.begin()->first, marks.rbegin()->first},
                   CLEAR_READ_FLAG),
              S_OK);
    marks.begin()->second = true;
    marks.rbegin()->second = true;
    EXPECT_EQ(Shown(*FTable), marks);
    {
        const Transaction given(Db()); // up
        SetReadFlagsIn(*FStoreFile, static_cast<std::int64_t>(SpecialFolder::Inbox), ReadFlagChange(CLEAR_READ_FLAG));
        EXPECT_EQ(Only(Shown(*FTable), true).size(), marks.size());
        SetReadFlagsIn(*FStoreFile, static_cast<std::int64_t>(SpecialFolder::Inbox), ReadFlagChange(0));
        EXPECT_EQ(Only(Shown(*FTable), true).size(), 0u);
    }
    EXPECT_EQ(Shown(*FTable), marks);
}

TEST_F(ReadStateTest, WhatATransactionIndexesIsFoundInItAndGoneWithIt)
{
    const Bytes key(16, 7);
    ASSERT_EQ(FTable->SortTable(SortKeys{{tag::Subject, TABLE_SORT_ASCEND}}, 0), S_OK);
    const auto subjects = [&] {
        std::u16string all;
        for (const Props& row : Rows(*FTable, {tag::Subject}))
            all.append(WideAt(row, 0)).append(u" ");
        return all;
    };
    const auto isFound = [&] {
        return FTable->FindRow(Is(Binary(tag::SearchKey, key)), BOOKMARK_BEGINNING, 0) == S_OK;
    };
    const auto change = [](IMessage& message, const char16_t* subject) {
        Set(message, {Text(tag::Subject, subject)});
        ASSERT_EQ(message.SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    };
    Save(*NewMessage(*FInbox, u"middle"));
    {
        const Transaction given(Db()); // up
        auto message = NewMessage(*FInbox, u"first");
        Set(*message, {Binary(tag::SearchKey, key)});
        const Bytes id = Save(*message);
        EXPECT_EQ(subjects(), u"first middle ");
        EXPECT_TRUE(isFound());
        // Another value in the place of one that is not written yet, and the first one again.
        auto opened = OpenMessage(id);
        Set(*opened, {Binary(tag::SearchKey, Bytes(16, 8))});
        change(*opened, u"SECOND");
        Set(*opened, {Binary(tag::SearchKey, key)});
        change(*opened, u"second");
        change(*opened, u"SECOND");
        EXPECT_EQ(subjects(), u"middle SECOND ");
        EXPECT_TRUE(isFound());
        EXPECT_EQ(opened->DeleteProps(Tags{tag::Subject}, nullptr), S_OK);
        ASSERT_EQ(opened->SaveChanges(0), S_OK);
        EXPECT_EQ(subjects(), u"(none) middle ") << "before all that have one";
    }
    EXPECT_EQ(subjects(), u"middle ");
    EXPECT_FALSE(isFound());
    EXPECT_EQ(Db().Scalar("SELECT count(*) FROM subjects"), 1);
}

} // namespace
} // namespace deftmapi::client::test
