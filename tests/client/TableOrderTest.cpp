// Orders: by index, by several keys, by each value of a multiple property; places that hold while rows come and go.
#include "client/store/ContentsOrder.hpp"
#include "tests/client/StoreFixture.hpp"

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

constexpr ULONG Keywords = 0x6702101F;
constexpr ULONG Keyword = Keywords | MV_INSTANCE;
constexpr std::uint64_t Noon = 132000000000000000ULL;

struct Sort
{
    ULONG cSorts;
    ULONG cCategories = 0;
    ULONG cExpanded = 0;
    SSortOrder aSort[3];
    operator LPSSortOrderSet() { return reinterpret_cast<LPSSortOrderSet>(this); }
};

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
    ULONG Position()
    {
        ULONG row = 0;
        ULONG ignored = 0;
        EXPECT_EQ(FTable->QueryPosition(&row, &ignored, &ignored), S_OK);
        return row;
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
    Sort byTime{1, 0, 0, {{tag::DeliveryTime, TABLE_SORT_ASCEND}}};
    for (const LONG batch : {1, 2, 4, 100}) {
        byTime.aSort[0].ulOrder = TABLE_SORT_ASCEND;
        ASSERT_EQ(FTable->SortTable(byTime, 0), S_OK);
        EXPECT_EQ(Subjects(batch), u"abcdef");
        EXPECT_EQ(Read(-batch), std::u16string(u"abcdef").substr(static_cast<std::size_t>(std::max(0L, 6L - batch))));
        byTime.aSort[0].ulOrder = TABLE_SORT_DESCEND;
        ASSERT_EQ(FTable->SortTable(byTime, 0), S_OK);
        EXPECT_EQ(Subjects(batch), u"fedcba");
    }
    // Every way of moving, from every row to every other.
    for (LONG from = 0; from <= 6; ++from) {
        for (LONG to = -1; to <= 7; ++to) {
            const LONG target = std::clamp<LONG>(to, 0, 6);
            ASSERT_EQ(FTable->SortTable(byTime, 0), S_OK); // nothing is known of rows and places
            ASSERT_EQ(Seek(BOOKMARK_BEGINNING, from), from);
            EXPECT_EQ(Seek(BOOKMARK_CURRENT, to - from), target - from) << from << " to " << to;
            EXPECT_EQ(Read(1, TBL_NOADVANCE), std::u16string(u"fedcba").substr(static_cast<std::size_t>(target), 1));
            EXPECT_EQ(Position(), static_cast<ULONG>(target));
            EXPECT_EQ(Seek(BOOKMARK_END, to - 6), target - 6);
            EXPECT_EQ(Position(), static_cast<ULONG>(target));
        }
    }
    Sort bySubject{1, 0, 0, {{tag::Subject, TABLE_SORT_DESCEND}}};
    ASSERT_EQ(FTable->SortTable(bySubject, 0), S_OK);
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
    Sort orders[] = {{1, 0, 0, {{tag::DeliveryTime, TABLE_SORT_ASCEND}}},
                     {2, 0, 0, {{tag::DeliveryTime, TABLE_SORT_ASCEND}, {tag::Subject, TABLE_SORT_ASCEND}}}};
    for (Sort& order : orders) {
        ASSERT_EQ(FTable->SortTable(order, 0), S_OK);
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
    SPropValue some = Text(tag::Subject, u"s");
    SRestriction part{};
    part.rt = RES_CONTENT;
    part.res.resContent = {FL_SUBSTRING | FL_IGNORECASE, tag::Subject, &some};
    Sort orders[] = {{1, 0, 0, {{tag::DeliveryTime, TABLE_SORT_DESCEND}}},
                     {2, 0, 0, {{tag::Importance, TABLE_SORT_ASCEND}, {tag::DeliveryTime, TABLE_SORT_DESCEND}}},
                     {2, 0, 0, {{Extra, TABLE_SORT_DESCEND}, {tag::Subject, TABLE_SORT_ASCEND}}},
                     {1, 0, 0, {{Keyword, TABLE_SORT_ASCEND}}},
                     {0, 0, 0, {}}};
    std::mt19937 random(11);
    std::u16string words[] = {u"one", u"Two", u"three"};
    const auto change = [&](IMessage& message) {
        const std::u16string extra(1 + random() % 3, u'x');
        Set(message, {Long(tag::Importance, LONG(random() % 3)), Time(tag::DeliveryTime, Noon + random() % 50),
                      Text(Extra, extra.c_str())});
        LPWSTR list[] = {words[random() % 3].data(), words[random() % 3].data()};
        SPropValue value{};
        value.ulPropTag = Keywords;
        value.Value.MVszW = {1 + static_cast<ULONG>(random() % 2), list};
        Set(message, {value});
        return Save(message);
    };
    for (Sort& order : orders) {
        ASSERT_EQ(FInbox->EmptyFolder(0, nullptr, 0), S_OK);
        std::vector<Bytes> all;
        for (int i = 0; i < 60; ++i)
            all.push_back(change(*NewMessage(*FInbox, i % 2 ? u"a subject" : u"another subject")));
        ASSERT_EQ(
            FTable->SetColumns(
                Tags{order.aSort[0].ulPropTag == Keyword ? Keyword : tag::Subject, tag::EntryId, tag::InstanceKey}, 0),
            S_OK);
        ASSERT_EQ(FTable->SortTable(order, 0), S_OK);
        ASSERT_EQ(FTable->Restrict(order.cSorts ? nullptr : &part, 0), S_OK);
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
                const auto bytes = [&](ULONG column) {
                    const SBinary& value = rows->aRow[i].lpProps[column].Value.bin;
                    return Bytes(value.lpb, value.lpb + value.cb);
                };
                last = bytes(1);
                ++shown[bytes(2)];
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
        for (const Props& row : Rows(*FTable, {tag::EntryId, tag::InstanceKey,
                                               order.aSort[0].ulPropTag == Keyword ? Keyword : tag::Subject}))
        {
            if (touched.contains(std::get<Bytes>(row[0].data)))
                continue;
            ++untouched;
            EXPECT_EQ(shown[std::get<Bytes>(row[1].data)], 1) << order.cSorts << " " << untouched;
        }
        EXPECT_GT(untouched, 10);
    }
}

TEST_F(TableOrderTest, ABookmarkFollowsItsRowAndLosesItToARestriction)
{
    Add(u"a", 10);
    const Bytes b = Add(u"b", 20);
    Add(u"c", 30);
    SRestriction unread{};
    unread.rt = RES_BITMASK;
    unread.res.resBitMask = {BMR_EQZ, tag::MessageFlags, MSGFLAG_READ};
    Sort byTime{1, 0, 0, {{tag::DeliveryTime, TABLE_SORT_ASCEND}}};
    ASSERT_EQ(FTable->SetColumns(Tags{tag::Subject}, 0), S_OK);
    ASSERT_EQ(FTable->SortTable(byTime, 0), S_OK);
    ASSERT_EQ(FTable->Restrict(&unread, 0), S_OK);
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
    const auto add = [&](const char16_t* subject, std::vector<const char16_t*> words) {
        auto message = NewMessage(*FInbox, subject);
        SPropValue value{};
        value.ulPropTag = Keywords;
        value.Value.MVszW = {static_cast<ULONG>(words.size()),
                             reinterpret_cast<LPWSTR*>(const_cast<char16_t**>(words.data()))};
        if (!words.empty())
            Set(*message, {value});
        Save(*message);
    };
    add(u"1", {u"red", u"Blue"});
    add(u"2", {});
    add(u"3", {u"green", u"red"});
    Sort byWord{1, 0, 0, {{Keyword, TABLE_SORT_ASCEND}}};
    ASSERT_EQ(FTable->SortTable(byWord, 0), S_OK);
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
    byWord.cCategories = 1;
    EXPECT_EQ(FTable->SortTable(byWord, 0), MAPI_E_TOO_COMPLEX);
    // Without the sort order the columns alone decide.
    Sort none{0, 0, 0, {}};
    ASSERT_EQ(FTable->SetColumns(Tags{tag::Subject}, 0), S_OK);
    ASSERT_EQ(FTable->SortTable(none, 0), S_OK);
    EXPECT_EQ(Subjects(), u"123");
    EXPECT_EQ(Rows(*FTable, {Keyword}).size(), 5u);
}

TEST_F(TableOrderTest, IdentifiersAreKeysLikeOthers)
{
    for (const char16_t* subject : {u"b", u"a", u"c"})
        Add(subject, 7);
    for (const ULONG identity : {tag::EntryId, tag::InstanceKey, tag::RecordKey}) {
        Sort order{
            3, 0, 0, {{tag::DeliveryTime, TABLE_SORT_ASCEND}, {identity, TABLE_SORT_DESCEND}, {tag::Subject, 0}}};
        ASSERT_EQ(FTable->SortTable(order, 0), S_OK);
        EXPECT_EQ(Subjects(), u"cab") << identity;
        order.aSort[1].ulOrder = TABLE_SORT_ASCEND;
        ASSERT_EQ(FTable->SortTable(order, 0), S_OK);
        EXPECT_EQ(Subjects(), u"bac") << "the subjects come after it";
    }
}

TEST_F(TableOrderTest, RowsOfSingleValuesAreFoundAndRestrictedByTheirOwn)
{
    const auto add = [&](const char16_t* subject, std::vector<const char16_t*> words) {
        auto message = NewMessage(*FInbox, subject);
        SPropValue value{};
        value.ulPropTag = Keywords;
        value.Value.MVszW = {static_cast<ULONG>(words.size()),
                             reinterpret_cast<LPWSTR*>(const_cast<char16_t**>(words.data()))};
        Set(*message, {value});
        Save(*message);
    };
    add(u"1", {u"red", u"Blue"});
    add(u"2", {u"green", u"red"});
    Save(*NewMessage(*FInbox, u"3"));
    Sort byWord{1, 0, 0, {{Keyword, TABLE_SORT_ASCEND}}};
    ASSERT_EQ(FTable->SortTable(byWord, 0), S_OK);
    const auto words = [&] {
        std::u16string all;
        for (const Props& row : Rows(*FTable, {Keyword, tag::Subject}, 2))
            all += WideAt(row, 0) + WideAt(row, 1) + u" ";
        return all;
    };
    ASSERT_EQ(words(), u"(none)3 Blue1 green2 red1 red2 ");
    SPropValue red = Text(CHANGE_PROP_TYPE(Keywords, PT_UNICODE), u"RED");
    SRestriction isRed{};
    isRed.rt = RES_PROPERTY;
    isRed.res.resProperty = {RELOP_EQ, Keyword, &red};
    SRestriction notRed{};
    notRed.rt = RES_NOT;
    notRed.res.resNot = {0, &isRed};
    for (const ULONG named : {Keyword, CHANGE_PROP_TYPE(Keywords, PT_UNICODE)}) {
        isRed.res.resProperty.ulPropTag = named;
        ASSERT_EQ(FTable->Restrict(&isRed, 0), S_OK);
        EXPECT_EQ(words(), u"red1 red2 ");
        ASSERT_EQ(FTable->Restrict(&notRed, 0), S_OK);
        EXPECT_EQ(words(), u"(none)3 Blue1 green2 ");
        ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
        ASSERT_EQ(FTable->FindRow(&isRed, BOOKMARK_BEGINNING, 0), S_OK);
        EXPECT_EQ(Position(), 3u);
        ASSERT_EQ(FTable->FindRow(&notRed, BOOKMARK_END, DIR_BACKWARD), S_OK);
        EXPECT_EQ(Position(), 2u);
    }
    // A text that its column has not whole is decided whole.
    add((std::u16string(3000, u'x') + u"the end").c_str(), {u"red"});
    SPropValue end = Text(tag::Subject, u"the end");
    SRestriction parts[2] = {isRed, {}};
    parts[1].rt = RES_CONTENT;
    parts[1].res.resContent = {FL_SUBSTRING, tag::Subject, &end};
    SRestriction both{};
    both.rt = RES_AND;
    both.res.resAnd = {2, parts};
    ASSERT_EQ(FTable->Restrict(&both, 0), S_OK);
    EXPECT_EQ(Count(), 1u);
    ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
    ASSERT_EQ(FTable->FindRow(&both, BOOKMARK_BEGINNING, 0), S_OK);
    ASSERT_EQ(FTable->SetColumns(Tags{Keyword, tag::Subject, tag::EntryId}, 0), S_OK);
    RowSet longOne;
    ASSERT_EQ(FTable->QueryRows(1, 0, longOne.Out()), S_OK);
    const SBinary& entry = longOne->aRow[0].lpProps[2].Value.bin;
    Delete(Bytes(entry.lpb, entry.lpb + entry.cb));
    isRed.res.resProperty.ulPropTag = Keywords; // of the message: any of its values
    ASSERT_EQ(FTable->Restrict(&isRed, 0), S_OK);
    EXPECT_EQ(words(), u"Blue1 green2 red1 red2 ");
    ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
    // Each row is found by the key that it shows.
    const auto rows = Rows(*FTable, {Keyword, tag::InstanceKey});
    ASSERT_EQ(rows.size(), 5u);
    for (ULONG i = 0; i < 5; ++i) {
        const auto key = std::get<Bytes>(rows[i][1].data);
        SPropValue value = Binary(tag::InstanceKey, key);
        SRestriction byKey{};
        byKey.rt = RES_PROPERTY;
        byKey.res.resProperty = {RELOP_EQ, tag::InstanceKey, &value};
        ASSERT_EQ(FTable->FindRow(&byKey, BOOKMARK_BEGINNING, 0), S_OK) << i;
        EXPECT_EQ(Position(), i);
    }
}

TEST_F(TableOrderTest, SearchesGoBothWaysFromAnyPlaceInEveryOrder)
{
    std::vector<Bytes> ids;
    for (int i = 0; i < 200; ++i)
        ids.push_back(Add(i % 50 == 7 ? u"Needle" : u"hay", i, i % 2 ? LONG(MSGFLAG_READ) : 0));
    SPropValue needle = Text(tag::Subject, u"need");
    SRestriction prefix{};
    prefix.rt = RES_CONTENT;
    prefix.res.resContent = {FL_PREFIX | FL_IGNORECASE, tag::Subject, &needle};
    SRestriction inside = prefix;
    inside.res.resContent.ulFuzzyLevel = FL_SUBSTRING | FL_IGNORECASE;
    Sort orders[] = {{0, 0, 0, {}},
                     {1, 0, 0, {{tag::DeliveryTime, TABLE_SORT_ASCEND}}},
                     {2, 0, 0, {{tag::DeliveryTime, TABLE_SORT_ASCEND}, {tag::Subject, TABLE_SORT_ASCEND}}}};
    for (Sort& order : orders) {
        ASSERT_EQ(FTable->SortTable(order, 0), S_OK);
        for (SRestriction* wanted : {&prefix, &inside}) {
            ASSERT_EQ(FTable->FindRow(wanted, BOOKMARK_BEGINNING, 0), S_OK);
            EXPECT_EQ(Position(), 7u);
            ASSERT_EQ(FTable->FindRow(wanted, BOOKMARK_CURRENT, 0), S_OK);
            EXPECT_EQ(Position(), 7u) << "the search begins with the row at the place";
            Seek(BOOKMARK_CURRENT, 1);
            ASSERT_EQ(FTable->FindRow(wanted, BOOKMARK_CURRENT, 0), S_OK);
            EXPECT_EQ(Position(), 57u);
            ASSERT_EQ(FTable->FindRow(wanted, BOOKMARK_CURRENT, DIR_BACKWARD), S_OK);
            EXPECT_EQ(Position(), 7u);
            ASSERT_EQ(FTable->FindRow(wanted, BOOKMARK_END, DIR_BACKWARD), S_OK);
            EXPECT_EQ(Position(), 157u);
            Seek(BOOKMARK_CURRENT, 1);
            EXPECT_EQ(FTable->FindRow(wanted, BOOKMARK_CURRENT, 0), MAPI_E_NOT_FOUND);
            EXPECT_EQ(Position(), 158u);
        }
        SPropValue entry = Binary(tag::EntryId, ids[123]);
        SRestriction byId{};
        byId.rt = RES_PROPERTY;
        byId.res.resProperty = {RELOP_EQ, tag::EntryId, &entry};
        ASSERT_EQ(FTable->FindRow(&byId, BOOKMARK_BEGINNING, 0), S_OK);
        EXPECT_EQ(Position(), 123u);
    }
}

TEST_F(TableOrderTest, EachKindOfQuestionHasItsIndex)
{
    const MessageRows rows{FStoreFile, static_cast<std::int64_t>(SpecialFolder::Inbox), false};
    SPropValue text = Text(tag::Subject, u"Report");
    const Bytes key(16, 1);
    SPropValue search = Binary(tag::SearchKey, key);
    SRestriction parts[3] = {};
    parts[0].rt = RES_BITMASK;
    parts[0].res.resBitMask = {BMR_EQZ, tag::MessageFlags, MSGFLAG_READ};
    parts[1].rt = RES_CONTENT;
    parts[1].res.resContent = {FL_PREFIX | FL_IGNORECASE, tag::Subject, &text};
    parts[2].rt = RES_PROPERTY;
    parts[2].res.resProperty = {RELOP_EQ, tag::SearchKey, &search};
    SRestriction all{};
    all.rt = RES_AND;
    const std::string_view expected[] = {"messages_unread (folder=? AND associated=?)",
                                         "messages_subject (folder=? AND associated=? AND subject>? AND subject<?)",
                                         "messages_search_key (search_key=?)"};
    for (ULONG count = 1; count <= 3; ++count) {
        all.res.resAnd = {count, parts};
        const MessageCondition condition(rows, std::make_shared<const Restriction>(Restriction::Parse(all)));
        SqlPiece statement{"EXPLAIN QUERY PLAN SELECT m.id FROM messages m", {}};
        statement.Add(MessageCondition::IndexOf(condition.BestPath()));
        statement.Add(" WHERE ").Add(rows.Membership()).Add(condition.Sql());
        Query plan = rows.Start(statement);
        ASSERT_TRUE(plan.Step());
        EXPECT_NE(plan.Text(3).find(expected[count - 1]), std::string_view::npos) << plan.Text(3);
    }
    parts[1].res.resContent.ulFuzzyLevel = FL_SUBSTRING;
    all.res.resAnd = {2, parts};
    MessageCondition condition(rows, std::make_shared<const Restriction>(Restriction::Parse(all)));
    ASSERT_TRUE(condition.AsksForPart());
    condition.TakePartIfFew();
    SqlPiece statement{"EXPLAIN QUERY PLAN SELECT m.id FROM messages m", {}};
    statement.Add(MessageCondition::IndexOf(condition.BestPath()));
    Query plan = rows.Start(statement.Add(" WHERE ").Add(rows.Membership()).Add(condition.Sql()));
    ASSERT_TRUE(plan.Step());
    EXPECT_NE(plan.Text(3).find("INTEGER PRIMARY KEY (rowid=?)"), std::string_view::npos) << plan.Text(3);
}

} // namespace
} // namespace deftmapi::client::test
