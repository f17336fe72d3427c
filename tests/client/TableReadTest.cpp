// What rows show and what searches find where the store takes a short way: values that did not fit their column, types
// that columns ask for, searches that look near by before they ask an index.
#include "client/store/Database.hpp"
#include "tests/client/TableConditions.hpp"

namespace deftmapi::client::test
{
namespace
{

constexpr ULONG BagText = 0x6700001F;
constexpr ULONG BagBytes = 0x67010102;
constexpr ULONG BagGuid = 0x67020048;
constexpr ULONG BagReal = 0x67030005;
constexpr ULONG BagTexts = 0x6704101F;
constexpr ULONG BagShort = 0x67050002;

class TableReadTest : public ContentsTest
{
protected:
    void SortByTime(ULONG direction)
    {
        ASSERT_EQ(FTable->SortTable(SortKeys{{tag::DeliveryTime, direction}}, 0), S_OK);
    }
    /// Says that the folder has changed, as every change in the file does.
    void Touch(const std::string& counters = "")
    {
        FillIndexes(Db());
        Db().Execute("UPDATE folders SET changes = changes + 1" + counters + " WHERE id = 3");
    }
    /// The time of the row at the position, which stays.
    std::int64_t TimeHere()
    {
        RowSet rows;
        EXPECT_EQ(FTable->QueryRows(1, TBL_NOADVANCE, rows.Out()), S_OK);
        return rows->cRows ? rows->aRow[0].lpProps[0].Value.ft.dwLowDateTime : -1;
    }
};

TEST_F(TableReadTest, RowsShowValuesInTheTypesThatColumnsAskFor)
{
    const std::u16string pair = u"\xD83D\xDE00";
    const std::u16string mixed = u"Grüße " + pair + u" 日本";
    const std::u16string split = std::u16string(254, u'é') + pair; // the 255th unit is half of a character
    const GUID guid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    const std::vector<const char16_t*> words = {u"red", mixed.c_str()};
    SPropValue guidValue{};
    guidValue.ulPropTag = BagGuid;
    guidValue.Value.lpguid = const_cast<GUID*>(&guid);
    SPropValue real{};
    real.ulPropTag = BagReal;
    real.Value.dbl = 2.5;
    SPropValue number{};
    number.ulPropTag = BagShort;
    number.Value.i = -2;
    for (const bool last : {false, true}) {
        auto message = NewMessage(*FInbox, mixed.c_str());
        Set(*message, {Text(tag::SenderName, split.c_str()), Text(BagText, split.c_str()), Texts(BagTexts, words),
                       guidValue, real, number, Long(tag::Importance, last ? 2 : 1)});
        Save(*message);
    }
    const ULONG narrowName = CHANGE_PROP_TYPE(tag::SenderName, PT_STRING8);
    const ULONG wrongType = CHANGE_PROP_TYPE(tag::Importance, PT_UNICODE);
    const ULONG anyText = CHANGE_PROP_TYPE(tag::Subject, PT_UNSPECIFIED);
    const ULONG narrowTexts = CHANGE_PROP_TYPE(BagTexts, PT_MV_STRING8);
    ASSERT_EQ(FTable->SetColumns(Tags{tag::Subject, narrowName, wrongType, anyText, BagText, BagTexts, narrowTexts,
                                      BagGuid, BagReal, BagShort, 0x00000001, tag::DeliveryTime, tag::Importance},
                                 0),
              S_OK);
    for (const LONG direction : {2, -2}) { // forwards and then backwards: the same rows in the same order
        RowSet rows;
        ASSERT_EQ(FTable->QueryRows(direction, 0, rows.Out()), S_OK);
        ASSERT_EQ(rows->cRows, 2u);
        for (ULONG i = 0; i < 2; ++i) {
            const SPropValue* row = rows->aRow[i].lpProps;
            ASSERT_EQ(rows->aRow[i].cValues, 13u);
            EXPECT_EQ(row[0].ulPropTag, tag::Subject);
            EXPECT_EQ(std::u16string(row[0].Value.lpszW), mixed);
            EXPECT_EQ(row[1].ulPropTag, narrowName);
            EXPECT_EQ(std::string(row[1].Value.lpszA).substr(0, 254), std::string(254, '\xE9'));
            EXPECT_EQ(row[2].ulPropTag, CHANGE_PROP_TYPE(tag::Importance, PT_ERROR));
            EXPECT_EQ(row[2].Value.err, MAPI_E_NOT_FOUND);
            EXPECT_EQ(row[3].ulPropTag, tag::Subject);
            EXPECT_EQ(std::u16string(row[3].Value.lpszW), mixed);
            EXPECT_EQ(std::u16string(row[4].Value.lpszW), split.substr(0, 255));
            ASSERT_EQ(row[5].Value.MVszW.cValues, 2u);
            EXPECT_EQ(std::u16string(row[5].Value.MVszW.lppszW[1]), mixed);
            EXPECT_EQ(std::string(row[6].Value.MVszA.lppszA[0]), "red");
            EXPECT_EQ(*row[7].Value.lpguid, guid);
            EXPECT_EQ(row[8].Value.dbl, 2.5);
            EXPECT_EQ(row[9].Value.i, -2);
            EXPECT_EQ(row[10].ulPropTag, ULONG{PT_NULL});
            EXPECT_EQ(row[11].ulPropTag, CHANGE_PROP_TYPE(tag::DeliveryTime, PT_ERROR));
            EXPECT_EQ(row[12].Value.l, i ? 2 : 1);
        }
    }
}

TEST_F(TableReadTest, BytesTooLargeForARowAreAnErrorAndEmptyOnesAreEmpty)
{
    for (const std::size_t size : {0, 4096, 4097, 20000}) {
        auto message = NewMessage(*FInbox, u"bytes");
        const Bytes bytes = Pattern(size);
        Set(*message, {Binary(tag::ConversationIndex, bytes), Binary(BagBytes, bytes)});
        Save(*message);
    }
    // By index, and as a vector: two keys.
    for (const ULONG keys : {1, 2}) {
        SortKeys order{{tag::DeliveryTime, TABLE_SORT_ASCEND}, {tag::MessageSize, TABLE_SORT_ASCEND}};
        order->cSorts = keys;
        ASSERT_EQ(FTable->SortTable(order, 0), S_OK);
        const auto rows = Rows(*FTable, {tag::ConversationIndex, BagBytes});
        ASSERT_EQ(rows.size(), 4u);
        for (const std::size_t column : {0, 1}) {
            EXPECT_EQ(std::get<Bytes>(rows[0][column].data).size(), 0u);
            EXPECT_EQ(std::get<Bytes>(rows[1][column].data), Pattern(4096));
            for (const std::size_t row : {2, 3}) {
                EXPECT_TRUE(rows[row][column].IsError());
                EXPECT_EQ(NumberAt(rows[row], column), MAPI_E_NOT_ENOUGH_MEMORY);
            }
        }
    }
}

TEST_F(TableReadTest, ASearchByACommonBeginningFindsTheNearestRow)
{
    // 12,000 rows; in the file in another order than by time.
    constexpr std::int64_t Count = 12000;
    Database& db = Db();
    db.Execute("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 11999) "
               "INSERT INTO messages (folder, delivery_time, subject, version) "
               "SELECT 3, (i * 7919) % 12000, 'hay', 1 FROM n");
    Touch(", content_count = 12000");
    const auto mark = [&](const std::string& where) {
        db.Execute("UPDATE messages SET subject = 'hay'");
        db.Execute("UPDATE messages SET subject = 'Needle' WHERE " + where);
        Touch();
    };
    ASSERT_EQ(FTable->SetColumns(Tags{tag::DeliveryTime}, 0), S_OK);
    const Condition needle = Starts(Text(tag::Subject, u"need"));
    const auto find = [&](LONG from, ULONG flags) -> std::int64_t {
        EXPECT_EQ(FTable->SeekRow(BOOKMARK_BEGINNING, from, nullptr), S_OK);
        return FTable->FindRow(needle, BOOKMARK_CURRENT, flags) == S_OK ? TimeHere() : -1;
    };
    SortByTime(TABLE_SORT_ASCEND);
    mark("delivery_time % 10 = 7"); // many, everywhere
    EXPECT_EQ(find(0, 0), 7);
    EXPECT_EQ(find(8, 0), 17);
    EXPECT_EQ(find(17, 0), 17) << "the row at the place belongs to the search";
    EXPECT_EQ(find(17, DIR_BACKWARD), 7);
    EXPECT_EQ(find(Count, DIR_BACKWARD), 11997);
    EXPECT_EQ(find(3, DIR_BACKWARD), -1);
    mark("delivery_time >= 11000"); // many, but far away
    EXPECT_EQ(find(5, 0), 11000);
    EXPECT_EQ(find(5, DIR_BACKWARD), -1);
    SortByTime(TABLE_SORT_DESCEND);
    EXPECT_EQ(find(Count, DIR_BACKWARD), 11000);
    EXPECT_EQ(find(2000, 0), -1);
    mark("delivery_time = 100"); // one
    EXPECT_EQ(find(0, 0), 100);
    // Rows of one value fill what is looked at; the nearest that fits is the last of them.
    SortByTime(TABLE_SORT_ASCEND);
    db.Execute("UPDATE messages SET delivery_time = 0 WHERE id <= 6000");
    mark("id = 6000 OR delivery_time > 0");
    EXPECT_EQ(find(0, 0), 0);
    EXPECT_EQ(find(1, 0), 0) << "from the middle of the equal values";
}

TEST_F(TableReadTest, ARestrictionOfManyPartsIsDecidedHoweverItIsNested)
{
    for (const LONG importance : {0, 1, 2}) {
        auto message = NewMessage(*FInbox, u"some");
        Set(*message, {Long(tag::Importance, importance), Long(tag::Sensitivity, importance * 7)});
        Save(*message);
    }
    // 200 times 200 alternatives, of which only the last of each 200 is true, for one message.
    constexpr ULONG Parts = 200;
    const auto equals = [](ULONG tag, LONG number) { return Is(Long(tag, number)); };
    std::vector<Condition> all;
    for (ULONG i = 0; i < Parts; ++i) {
        std::vector<Condition> some;
        for (ULONG k = 1; k < Parts; ++k)
            some.push_back(equals(i % 2 ? tag::Importance : tag::Sensitivity, static_cast<LONG>(1000 + k)));
        some.push_back(equals(tag::Importance, i == 0 ? 2 : static_cast<LONG>(1 + i % 2)));
        some.push_back(equals(tag::Sensitivity, 14));
        all.push_back(Or(some));
    }
    ASSERT_EQ(FTable->Restrict(And(all), 0), S_OK);
    const auto rows = Rows(*FTable, {tag::Importance});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(NumberAt(rows[0], 0), 2);
    // Chains within chains: 12 levels of 199 parts beside the next level.
    Condition inner = equals(tag::Importance, 1);
    for (int level = 0; level < 12; ++level) {
        std::vector<Condition> some = {inner};
        for (int k = 0; k < 198; ++k)
            some.push_back(equals(tag::Importance, level % 2 ? 1 : 1000));
        inner = level % 2 ? And(some) : Or(some);
    }
    ASSERT_EQ(FTable->Restrict(inner, 0), S_OK);
    const auto deep = Rows(*FTable, {tag::Importance});
    ASSERT_EQ(deep.size(), 1u);
    EXPECT_EQ(NumberAt(deep[0], 0), 1);
}

TEST_F(TableReadTest, AnOpenTableFollowsChangesAsANewOneShowsThem)
{
    // Orders that no index gives, and a restriction; so many rows that single changes are put in their places.
    Database& db = Db();
    db.Execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 600) "
               "INSERT INTO messages (folder, importance, subject, flags, version) "
               "SELECT 3, i % 3, 'subject ' || (i * 7919) % 100, i % 2, 1 FROM n");
    db.Execute("INSERT INTO bags (message, props) SELECT id, x'' FROM messages");
    Touch(", content_count = 600, unread_count = 300");
    SortKeys byKeys{
        {tag::Importance, TABLE_SORT_DESCEND}, {BagText, TABLE_SORT_ASCEND}, {tag::Subject, TABLE_SORT_DESCEND}};
    const auto prepared = [&](bool sorted) {
        auto table = ContentsTable(*FInbox);
        EXPECT_EQ(table->Restrict(Unread(), 0), S_OK);
        if (sorted) {
            EXPECT_EQ(table->SortTable(byKeys, 0), S_OK);
        }
        return table;
    };
    const auto keysOf = [](IMAPITable& table) {
        std::vector<Bytes> keys;
        for (const Props& row : Rows(table, {tag::InstanceKey}, 200))
            keys.push_back(std::get<Bytes>(row[0].data));
        return keys;
    };
    std::vector<Ptr<IMAPITable>> open(2);
    for (const bool sorted : {false, true}) {
        open[sorted] = prepared(sorted);
        ASSERT_EQ(keysOf(*open[sorted]).size(), 300u);
    }
    std::vector<Ptr<IMessage>> messages;
    for (int step = 0; step < 40; ++step) {
        const auto subject = u"subject " + std::u16string(1, static_cast<char16_t>(u'0' + step % 10));
        Ptr<IMessage> message;
        if (step % 4 == 1) { // one that is there changes its values and its place
            message = messages[static_cast<std::size_t>(step) / 2 % messages.size()];
            Set(*message, {Long(tag::Importance, step % 3), Text(BagText, subject.c_str())});
        } else {
            message = NewMessage(*FInbox, subject.c_str());
            Set(*message, {Long(tag::Importance, step % 3)});
            messages.push_back(message);
        }
        ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        if (step % 4 == 2) {
            ASSERT_EQ(messages.front()->SetReadFlag(step % 8 == 2 ? 0 : CLEAR_READ_FLAG), S_OK);
        }
        if (step % 4 == 3) {
            const Bytes id = Get(*messages.back(), tag::EntryId).Blob();
            messages.pop_back();
            Delete(id);
        }
        if (step % 3 == 0)
            continue; // several changes at once
        for (const bool sorted : {false, true})
            ASSERT_EQ(keysOf(*open[sorted]), keysOf(*prepared(sorted))) << step;
    }
}

TEST_F(TableReadTest, ManyBookmarksFollowTheirRowsThroughAChange)
{
    constexpr ULONG Count = 40; // messages, each in two rows
    constexpr ULONG Word = BagTexts | MV_INSTANCE;
    const auto add = [&](const std::u16string& first, const std::u16string& second) {
        auto message = NewMessage(*FInbox, u"any");
        Set(*message, {Texts(BagTexts, {first.c_str(), second.c_str()})});
        return Save(*message);
    };
    std::vector<Bytes> ids;
    for (ULONG i = 0; i < Count; ++i) {
        const std::u16string letter(1, static_cast<char16_t>(u'\u4E00' + i));
        ids.push_back(add(u"a" + letter, u"b" + letter));
    }
    ASSERT_EQ(FTable->SortTable(SortKeys{{Word, TABLE_SORT_ASCEND}}, 0), S_OK);
    ASSERT_EQ(FTable->SetColumns(Tags{Word}, 0), S_OK);
    const auto wordHere = [&] {
        RowSet rows;
        EXPECT_EQ(FTable->QueryRows(1, TBL_NOADVANCE, rows.Out()), S_OK);
        return rows->cRows ? std::u16string(rows->aRow[0].lpProps[0].Value.lpszW) : std::u16string();
    };
    std::vector<std::pair<BOOKMARK, std::u16string>> places;
    for (ULONG i = 0; i < 2 * Count; ++i) {
        ASSERT_EQ(FTable->SeekRow(BOOKMARK_BEGINNING, static_cast<LONG>(i), nullptr), S_OK);
        ASSERT_EQ(FTable->CreateBookmark(&places.emplace_back(0, wordHere()).first), S_OK);
    }
    add(u"0", u"1"); // before all
    Delete(ids[5]);
    for (ULONG i = 0; i < 2 * Count; ++i) {
        const bool gone = i % Count == 5;
        ASSERT_EQ(FTable->SeekRow(places[i].first, 0, nullptr), gone ? MAPI_W_POSITION_CHANGED : S_OK) << i;
        if (!gone) {
            ASSERT_EQ(wordHere(), places[i].second) << i;
        }
    }
}

TEST_F(TableReadTest, BeginningsEndWhereTheNextLetterBegins)
{
    // Around the letters that have two cases, and a letter whose upper case is ASCII.
    const std::u16string subjects[] = {u"mail_",      u"mail`", u"maila", u"mailA", u"mail{", u"mailz",
                                       u"mail\u0131", u"MAILI", u"mai",   u"mail",  u"main",  u"mailé"};
    for (const auto& subject : subjects)
        Save(*NewMessage(*FInbox, subject.c_str()));
    const std::u16string prefixes[] = {u"mail", u"mail`", u"mailZ", u"mail@", u"MAILi", u"mailé", u"mail_"};
    for (const auto& prefix : prefixes) {
        std::size_t expected = 0;
        for (const auto& subject : subjects)
            expected += KwUpperCase(subject).starts_with(KwUpperCase(prefix));
        ASSERT_EQ(FTable->Restrict(Starts(Text(tag::Subject, prefix.c_str())), 0), S_OK);
        EXPECT_EQ(Rows(*FTable, {tag::Subject}).size(), expected) << KwToUtf8(prefix);
    }
}

} // namespace
} // namespace deftmapi::client::test
