// Orders: by index, by several keys, by each value of a multiple property; places that hold while rows come and go.
#include "client/store/ContentsOrder.hpp"
#include "tests/client/TableConditions.hpp"

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace deftmapi::client::test
{
namespace
{

constexpr ULONG Keywords = 0x6702101F;
constexpr ULONG Keyword = Keywords | MV_INSTANCE;
constexpr std::uint64_t Noon = 132000000000000000ULL;

class TableOrderTest : public ContentsTest
{
protected:
    /// @param time  added to noon; negative: not delivered
    Bytes Add(const char16_t* subject, int time, LONG flags = 0)
    {
        auto message = NewMessage(*FInbox, subject);
        Set(*message, {Long(tag::MessageFlags, flags)});
        if (time >= 0)
            Set(*message, {Time(tag::DeliveryTime, Noon + static_cast<ULONG>(time))});
        return Save(*message);
    }
    std::u16string Subjects(LONG batch = 3)
    {
        std::u16string all;
        for (const Props& row : Rows(*FTable, {tag::Subject}, batch))
            all += WideAt(row, 0);
        return all;
    }
    std::u16string Read(LONG count, ULONG flags = 0)
    {
        RowSet rows;
        EXPECT_EQ(FTable->QueryRows(count, flags, rows.Out()), S_OK);
        std::u16string all;
        for (ULONG i = 0; i < rows->cRows; ++i)
            all += rows->aRow[i].lpProps[0].Value.lpszW;
        return all;
    }
    LONG Seek(BOOKMARK origin, LONG rows, HRESULT expected = S_OK)
    {
        LONG sought = 0;
        EXPECT_EQ(FTable->SeekRow(origin, rows, &sought), expected);
        return sought;
    }
    void AddWith(const char16_t* subject, const std::vector<const char16_t*>& words)
    {
        auto message = NewMessage(*FInbox, subject);
        if (!words.empty())
            Set(*message, {Texts(Keywords, words)});
        Save(*message);
    }
    void SortBy(SortKeys keys) { ASSERT_EQ(FTable->SortTable(keys, 0), S_OK); }
    void ExpectFound(const Condition& wanted, BOOKMARK from, ULONG flags, ULONG row)
    {
        EXPECT_EQ(FTable->FindRow(wanted, from, flags), S_OK);
        EXPECT_EQ(Position(), row);
    }
};

TEST_F(TableOrderTest, AnIndexOrdersRowsWithEqualAndMissingValues)
{
    Add(u"d", 7);
    Add(u"a", -1);
    Add(u"e", 7);
    Add(u"c", 1);
    Add(u"f", 9);
    Add(u"b", -1);
    for (const LONG batch : {1, 2, 4, 100}) {
        SortBy({{tag::DeliveryTime, TABLE_SORT_ASCEND}});
        EXPECT_EQ(Subjects(batch), u"abcdef");
        EXPECT_EQ(Read(-batch), std::u16string(u"abcdef").substr(static_cast<std::size_t>(std::max(0L, 6L - batch))));
        SortBy({{tag::DeliveryTime, TABLE_SORT_DESCEND}});
        EXPECT_EQ(Subjects(batch), u"fedcba");
    }
    // Every way of moving, from every row to every other.
    for (LONG from = 0; from <= 6; ++from) {
        for (LONG to = -1; to <= 7; ++to) {
            const LONG target = std::clamp<LONG>(to, 0, 6);
            SortBy({{tag::DeliveryTime, TABLE_SORT_DESCEND}}); // nothing is known of rows and places
            ASSERT_EQ(Seek(BOOKMARK_BEGINNING, from), from);
            EXPECT_EQ(Seek(BOOKMARK_CURRENT, to - from), target - from) << from << " to " << to;
            EXPECT_EQ(Read(1, TBL_NOADVANCE), std::u16string(u"fedcba").substr(static_cast<std::size_t>(target), 1));
            EXPECT_EQ(Position(), static_cast<ULONG>(target));
            EXPECT_EQ(Seek(BOOKMARK_END, to - 6), target - 6);
            EXPECT_EQ(Position(), static_cast<ULONG>(target));
        }
    }
    SortBy({{tag::Subject, TABLE_SORT_DESCEND}});
    EXPECT_EQ(Subjects(2), u"fedcba");
}

TEST_F(TableOrderTest, PlacesHoldWhileRowsChange)
{
    const std::u16string letters = u"abcdefgh";
    std::vector<Bytes> ids;
    for (std::size_t i = 0; i < letters.size(); ++i)
        ids.push_back(Add(letters.substr(i, 1).c_str(), static_cast<int>(i) * 10, MSGFLAG_READ));
    ASSERT_EQ(FTable->SetColumns(Tags{tag::Subject}, 0), S_OK);
    // By index, and as a vector: a second key keeps the index from giving the order.
    for (const auto& order : {SortKeys{{tag::DeliveryTime, TABLE_SORT_ASCEND}},
                              SortKeys{{tag::DeliveryTime, TABLE_SORT_ASCEND}, {tag::Subject, TABLE_SORT_ASCEND}}})
    {
        SortBy(order);
        Seek(BOOKMARK_BEGINNING, 3);
        BOOKMARK atD = 0;
        ASSERT_EQ(FTable->CreateBookmark(&atD), S_OK);
        EXPECT_EQ(Read(2), u"de");
        const Bytes before = Add(u"x", 5);
        EXPECT_EQ(Position(), 6u);
        EXPECT_EQ(Read(1), u"f");
        EXPECT_EQ(Seek(atD, 1), 1);
        EXPECT_EQ(Read(1), u"e");
        Delete(ids[3]);
        EXPECT_EQ(Seek(atD, 0, MAPI_W_POSITION_CHANGED), 0);
        EXPECT_EQ(Read(2), u"ef");
        // A search from there begins with the row behind the lost one, backwards with the one in front of it.
        const auto find = [&](const char16_t* subject, ULONG flags) {
            return FTable->FindRow(Is(Text(tag::Subject, subject)), atD, flags);
        };
        struct
        {
            const char16_t* subject;
            ULONG flags;
            ULONG row;
        } const searches[] = {{u"e", 0, 4}, {u"g", 0, 6}, {u"c", DIR_BACKWARD, 3}, {u"a", DIR_BACKWARD, 0}};
        for (const auto& search : searches) {
            EXPECT_EQ(find(search.subject, search.flags), MAPI_W_POSITION_CHANGED) << search.row;
            EXPECT_EQ(Position(), search.row);
            EXPECT_EQ(Read(1, TBL_NOADVANCE), search.subject);
        }
        EXPECT_EQ(find(u"c", 0), MAPI_E_NOT_FOUND);
        EXPECT_EQ(find(u"e", DIR_BACKWARD), MAPI_E_NOT_FOUND);
        EXPECT_EQ(Position(), 0u) << "a search in vain moves nothing";
        EXPECT_EQ(Seek(atD, 0, MAPI_W_POSITION_CHANGED), 0) << "told again as long as it is so";
        // What comes after the last row is seen by who has read to the end.
        EXPECT_EQ(Read(100), u"efgh");
        const Bytes last = Add(u"z", 1000);
        EXPECT_EQ(Read(100), u"z");
        EXPECT_EQ(FTable->FreeBookmark(atD), S_OK);
        EXPECT_EQ(Seek(atD, 0, MAPI_E_INVALID_BOOKMARK), 0);
        Delete(before);
        Delete(last);
        ids[3] = Add(u"d", 30);
    }
}

TEST_F(TableOrderTest, ATableThatIsReadToItsEndMeanwhileShowsEachRowOnce)
{
    constexpr ULONG Extra = 0x6700001F; // has no column
    SortKeys orders[] = {{{tag::DeliveryTime, TABLE_SORT_DESCEND}},
                         {{tag::Importance, TABLE_SORT_ASCEND}, {tag::DeliveryTime, TABLE_SORT_DESCEND}},
                         {{Extra, TABLE_SORT_DESCEND}, {tag::Subject, TABLE_SORT_ASCEND}},
                         {{Keyword, TABLE_SORT_ASCEND}},
                         {}};
    std::mt19937 random(11);
    const char16_t* const words[] = {u"one", u"Two", u"three"};
    const auto change = [&](IMessage& message) {
        const std::u16string extra(1 + random() % 3, u'x');
        Set(message, {Long(tag::Importance, LONG(random() % 3)), Time(tag::DeliveryTime, Noon + random() % 50),
                      Text(Extra, extra.c_str())});
        std::vector<const char16_t*> list(1 + random() % 2);
        for (auto& word : list)
            word = words[random() % 3];
        Set(message, {Texts(Keywords, list)});
        return Save(message);
    };
    for (SortKeys& order : orders) {
        const bool byKeyword = order->cSorts == 1 && order->aSort[0].ulPropTag == Keyword;
        const ULONG shownTag = byKeyword ? Keyword : tag::Subject;
        ASSERT_EQ(FInbox->EmptyFolder(0, nullptr, 0), S_OK);
        std::vector<Bytes> all;
        for (int i = 0; i < 60; ++i)
            all.push_back(change(*NewMessage(*FInbox, i % 2 ? u"a subject" : u"another subject")));
        ASSERT_EQ(FTable->SetColumns(Tags{shownTag, tag::EntryId, tag::InstanceKey}, 0), S_OK);
        SortBy(order);
        const Condition part = Has(Text(tag::Subject, u"s"));
        ASSERT_EQ(FTable->Restrict(order->cSorts ? nullptr : static_cast<LPSRestriction>(part), 0), S_OK);
        std::map<Bytes, int> shown;
        std::set<Bytes> touched;
        Bytes last;
        const auto remove = [&](Bytes id) { // one of all
            touched.insert(id);
            std::erase(all, id);
            Delete(id);
        };
        for (;;) {
            RowSet rows;
            ASSERT_EQ(FTable->QueryRows(2, 0, rows.Out()), S_OK);
            if (rows->cRows == 0)
                break;
            for (ULONG i = 0; i < rows->cRows; ++i) {
                last = BytesOf(rows->aRow[i].lpProps[1].Value.bin);
                ++shown[BytesOf(rows->aRow[i].lpProps[2].Value.bin)];
            }
            switch (random() % 4) {
            case 0: // the row that was read last, and others
                remove(last);
                remove(all[random() % all.size()]);
                break;
            case 1:
                all.push_back(change(*NewMessage(*FInbox, u"a subject of later")));
                touched.insert(all.back());
                break;
            case 2:
                touched.insert(last);
                change(*OpenMessage(last));
                break;
            default:
                break;
            }
            ASSERT_LT(shown.size(), 1000u);
        }
        int untouched = 0;
        for (const Props& row : Rows(*FTable, {tag::EntryId, tag::InstanceKey, shownTag})) {
            if (touched.contains(std::get<Bytes>(row[0].data)))
                continue;
            ++untouched;
            EXPECT_EQ(shown[std::get<Bytes>(row[1].data)], 1) << order->cSorts << " " << untouched;
        }
        EXPECT_GT(untouched, 10);
    }
}

TEST_F(TableOrderTest, ABookmarkFollowsItsRowAndLosesItToARestriction)
{
    Add(u"a", 10);
    const Bytes b = Add(u"b", 20);
    Add(u"c", 30);
    ASSERT_EQ(FTable->SetColumns(Tags{tag::Subject}, 0), S_OK);
    SortBy({{tag::DeliveryTime, TABLE_SORT_ASCEND}});
    ASSERT_EQ(FTable->Restrict(Unread(), 0), S_OK);
    Seek(BOOKMARK_BEGINNING, 1);
    BOOKMARK atB = 0;
    ASSERT_EQ(FTable->CreateBookmark(&atB), S_OK);
    auto message = OpenMessage(b);
    Set(*message, {Time(tag::DeliveryTime, Noon + 40)});
    Save(*message);
    EXPECT_EQ(Subjects(), u"acb");
    EXPECT_EQ(Seek(atB, 0), 0);
    EXPECT_EQ(Read(9), u"b");
    ASSERT_EQ(message->SetReadFlag(0), S_OK);
    EXPECT_EQ(Seek(atB, 0, MAPI_W_POSITION_CHANGED), 0);
    EXPECT_EQ(Subjects(), u"ac");
    ASSERT_EQ(message->SetReadFlag(CLEAR_READ_FLAG), S_OK);
    EXPECT_EQ(Seek(atB, 0), 0) << "it fits again";
}

TEST_F(TableOrderTest, EachValueOfAMultiplePropertyMakesARow)
{
    AddWith(u"1", {u"red", u"Blue"});
    AddWith(u"2", {});
    AddWith(u"3", {u"green", u"red"});
    SortKeys byWord{{Keyword, TABLE_SORT_ASCEND}};
    SortBy(byWord);
    const auto rows = Rows(*FTable, {Keyword, tag::Subject, tag::InstanceKey, Keywords}, 2);
    ASSERT_EQ(rows.size(), 5u);
    const std::u16string subjects[] = {u"2", u"1", u"3", u"1", u"3"};
    const std::u16string words[] = {u"(none)", u"Blue", u"green", u"red", u"red"};
    std::set<Bytes> keys;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(WideAt(rows[i], 1), subjects[i]);
        EXPECT_EQ(WideAt(rows[i], 0), words[i]);
        if (i > 0) {
            EXPECT_EQ(rows[i][0].tag, CHANGE_PROP_TYPE(Keywords, PT_UNICODE));
            EXPECT_EQ(std::get<std::vector<WideString>>(rows[i][3].data).size(), 2u);
        }
        keys.insert(std::get<Bytes>(rows[i][2].data));
    }
    EXPECT_EQ(keys.size(), rows.size()) << "instance keys tell the rows apart";
    ASSERT_EQ(FTable->SetColumns(Tags{Keyword, CHANGE_PROP_TYPE(0x67030000, PT_MV_LONG | MV_INSTANCE)}, 0),
              MAPI_E_TOO_COMPLEX);
    byWord->cCategories = 1;
    EXPECT_EQ(FTable->SortTable(byWord, 0), MAPI_E_TOO_COMPLEX);
    // Without the sort order the columns alone decide.
    ASSERT_EQ(FTable->SetColumns(Tags{tag::Subject}, 0), S_OK);
    SortBy({});
    EXPECT_EQ(Subjects(), u"123");
    EXPECT_EQ(Rows(*FTable, {Keyword}).size(), 5u);
}

TEST_F(TableOrderTest, IdentifiersAreKeysLikeOthers)
{
    for (const char16_t* subject : {u"b", u"a", u"c"})
        Add(subject, 7);
    for (const ULONG identity : {tag::EntryId, tag::InstanceKey, tag::RecordKey}) {
        SortBy({{tag::DeliveryTime, TABLE_SORT_ASCEND}, {identity, TABLE_SORT_DESCEND}, {tag::Subject, 0}});
        EXPECT_EQ(Subjects(), u"cab") << identity;
        SortBy({{tag::DeliveryTime, TABLE_SORT_ASCEND}, {identity, TABLE_SORT_ASCEND}, {tag::Subject, 0}});
        EXPECT_EQ(Subjects(), u"bac") << "the subjects come after it";
    }
}

TEST_F(TableOrderTest, RowsOfSingleValuesAreFoundAndRestrictedByTheirOwn)
{
    AddWith(u"1", {u"red", u"Blue"});
    AddWith(u"2", {u"green", u"red"});
    AddWith(u"3", {});
    SortBy({{Keyword, TABLE_SORT_ASCEND}});
    const auto words = [&] {
        std::u16string all;
        for (const Props& row : Rows(*FTable, {Keyword, tag::Subject}, 2))
            all += WideAt(row, 0) + WideAt(row, 1) + u" ";
        return all;
    };
    ASSERT_EQ(words(), u"(none)3 Blue1 green2 red1 red2 ");
    constexpr ULONG OneWord = CHANGE_PROP_TYPE(Keywords, PT_UNICODE);
    const auto isRed = [](ULONG named) { return Is(Text(OneWord, u"RED"), RELOP_EQ, named); };
    for (const ULONG named : {Keyword, OneWord}) {
        ASSERT_EQ(FTable->Restrict(isRed(named), 0), S_OK);
        EXPECT_EQ(words(), u"red1 red2 ");
        ASSERT_EQ(FTable->Restrict(Not(isRed(named)), 0), S_OK);
        EXPECT_EQ(words(), u"(none)3 Blue1 green2 ");
        ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
        ExpectFound(isRed(named), BOOKMARK_BEGINNING, 0, 3);
        ExpectFound(Not(isRed(named)), BOOKMARK_END, DIR_BACKWARD, 2);
    }
    // A text that its column has not whole is decided whole.
    AddWith((std::u16string(3000, u'x') + u"the end").c_str(), {u"red"});
    const Condition both = And({isRed(OneWord), Has(Text(tag::Subject, u"the end"), FL_SUBSTRING)});
    ASSERT_EQ(FTable->Restrict(both, 0), S_OK);
    EXPECT_EQ(Count(), 1u);
    ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
    ASSERT_EQ(FTable->FindRow(both, BOOKMARK_BEGINNING, 0), S_OK);
    ASSERT_EQ(FTable->SetColumns(Tags{Keyword, tag::Subject, tag::EntryId}, 0), S_OK);
    RowSet longOne;
    ASSERT_EQ(FTable->QueryRows(1, 0, longOne.Out()), S_OK);
    Delete(BytesOf(longOne->aRow[0].lpProps[2].Value.bin));
    ASSERT_EQ(FTable->Restrict(isRed(Keywords), 0), S_OK); // of the message: any of its values
    EXPECT_EQ(words(), u"Blue1 green2 red1 red2 ");
    ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
    // Each row is found by the key that it shows.
    const auto rows = Rows(*FTable, {Keyword, tag::InstanceKey});
    ASSERT_EQ(rows.size(), 5u);
    for (ULONG i = 0; i < 5; ++i) {
        const auto key = std::get<Bytes>(rows[i][1].data);
        ExpectFound(Is(Binary(tag::InstanceKey, key)), BOOKMARK_BEGINNING, 0, i);
    }
}

TEST_F(TableOrderTest, SearchesGoBothWaysFromAnyPlaceInEveryOrder)
{
    std::vector<Bytes> ids;
    for (int i = 0; i < 200; ++i)
        ids.push_back(Add(i % 50 == 7 ? u"Needle" : u"hay", i, i % 2 ? LONG(MSGFLAG_READ) : 0));
    const SPropValue needle = Text(tag::Subject, u"need");
    for (const auto& order : {SortKeys{}, SortKeys{{tag::DeliveryTime, TABLE_SORT_ASCEND}},
                              SortKeys{{tag::DeliveryTime, TABLE_SORT_ASCEND}, {tag::Subject, TABLE_SORT_ASCEND}}})
    {
        SortBy(order);
        for (const Condition& wanted : {Starts(needle), Has(needle)}) {
            ExpectFound(wanted, BOOKMARK_BEGINNING, 0, 7);
            ExpectFound(wanted, BOOKMARK_CURRENT, 0, 7); // the search begins with the row at the place
            Seek(BOOKMARK_CURRENT, 1);
            ExpectFound(wanted, BOOKMARK_CURRENT, 0, 57);
            ExpectFound(wanted, BOOKMARK_CURRENT, DIR_BACKWARD, 7);
            ExpectFound(wanted, BOOKMARK_END, DIR_BACKWARD, 157);
            Seek(BOOKMARK_CURRENT, 1);
            EXPECT_EQ(FTable->FindRow(wanted, BOOKMARK_CURRENT, 0), MAPI_E_NOT_FOUND);
            EXPECT_EQ(Position(), 158u);
        }
        ExpectFound(Is(Binary(tag::EntryId, ids[123])), BOOKMARK_BEGINNING, 0, 123);
    }
}

TEST_F(TableOrderTest, EachKindOfQuestionHasItsIndex)
{
    const MessageRows rows{FStoreFile, static_cast<std::int64_t>(SpecialFolder::Inbox), false};
    const SPropValue text = Text(tag::Subject, u"Report");
    const Bytes key(16, 1);
    const auto planOf = [&](const SqlPiece& statement) {
        SqlPiece explain{"EXPLAIN QUERY PLAN ", {}};
        Query query = rows.Start(explain.Add(statement));
        std::string plan;
        while (query.Step())
            plan.append(query.Text(3)).append("; ");
        return plan;
    };
    const auto conditionOf = [&](std::vector<Condition> parts) {
        return MessageCondition(rows, std::make_shared<const Restriction>(Restriction::Parse(*And(std::move(parts)))));
    };
    const auto planFor = [&](const MessageCondition& condition) {
        SqlPiece statement{"SELECT m.id FROM ", {}};
        statement.Add(condition.Source()).Add(" WHERE ").Add(rows.Membership());
        return planOf(statement.Add(condition.Sql()));
    };
    const auto expect = [](const std::string& plan, std::string_view part, bool inIt = true) {
        EXPECT_EQ(plan.find(part) != plan.npos, inIt) << part << " in " << plan;
    };
    constexpr auto ByRow = "SEARCH m USING INTEGER PRIMARY KEY (rowid=?)";
    {
        MessageCondition unread = conditionOf({Unread()});
        SqlPiece inOrder{"SELECT m.id FROM ", {}};
        inOrder.Add(source::ByDelivery).Add(" WHERE ").Add(rows.Membership()).Add(unread.Sql());
        const std::string plan = planOf(inOrder.Add(" ORDER BY m.delivery_time DESC, m.id DESC"));
        expect(plan, "COVERING INDEX messages_delivery (folder=? AND associated=?)");
        expect(plan, "TEMP B-TREE", false);
        ASSERT_TRUE(unread.MayBeFew());
        unread.TakePartIfFew();
        expect(planFor(unread), ByRow);
    }
    const MessageCondition beginning = conditionOf({Unread(), Starts(text)});
    expect(planFor(beginning), "PRIMARY KEY (folder=? AND associated=? AND subject>? AND subject<?)");
    const std::string found = planFor(conditionOf({Unread(), Starts(text), Is(Binary(tag::SearchKey, key))}));
    expect(found, ByRow);
    expect(found, "search_keys USING PRIMARY KEY (search_key=?)");
    MessageCondition part = conditionOf({Unread(), Has(text, FL_SUBSTRING)});
    ASSERT_TRUE(part.MayBeFew());
    part.TakePartIfFew();
    expect(planFor(part), ByRow);
    // The order of the subjects needs no sorter, and counting it no messages.
    SqlPiece sorted{"SELECT m.id, m.flags FROM messages_by_subject m WHERE ", {}};
    sorted.Add(rows.Membership()).Add(" AND m.subject_key > ? ORDER BY m.subject_key DESC, m.id DESC LIMIT 50");
    const std::string plan = planOf(sorted.AddValue(std::string("b")));
    expect(plan, "s USING PRIMARY KEY (folder=? AND associated=? AND subject>?)");
    expect(plan, "x USING INTEGER PRIMARY KEY (rowid=?)");
    expect(plan, "TEMP B-TREE", false);
    SqlPiece counted{"SELECT count(*) FROM ", {}};
    counted.Add(beginning.CountingSource()).Add(" WHERE ").Add(rows.Membership());
    expect(planOf(counted.Add(beginning.Sql())), "messages", false);
}

} // namespace
} // namespace deftmapi::client::test
