// Tables: walking, seeking, bookmarks, order, restrictions, and what happens to an open table when its folder changes.
#include "client/table/Restriction.hpp"
#include "tests/client/StoreFixture.hpp"

#include <algorithm>

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

class TableTest : public StoreTest
{
protected:
    static constexpr int Count = 45;

    void SetUp() override
    {
        StoreTest::SetUp();
        FInbox = Inbox();
        for (int i = 0; i < Count; ++i) {
            const std::u16string subject =
                (i % 2 ? u"odd " : u"Even ") + std::u16string(1, static_cast<char16_t>(u'A' + i % 26));
            auto message = NewMessage(*FInbox, subject.c_str());
            Set(*message,
                {Long(tag::Importance, i % 3), Time(tag::DeliveryTime, 132000000000000000ULL + static_cast<ULONG>(i)),
                 Long(tag::MessageFlags, i % 5 ? LONG(MSGFLAG_READ) : 0)});
            if (i % 4 == 0)
                Set(*message, {Text(Extra, u"extra")});
            FIds.push_back(Save(*message));
        }
        ASSERT_EQ(FInbox->GetContentsTable(MAPI_UNICODE, Out(FTable)), S_OK);
    }
    void TearDown() override
    {
        FTable.Reset();
        FInbox.Reset();
        StoreTest::TearDown();
    }
    void Delete(int i)
    {
        SBinary entry{static_cast<ULONG>(FIds[static_cast<std::size_t>(i)].size()),
                      FIds[static_cast<std::size_t>(i)].data()};
        ENTRYLIST list{1, &entry};
        ASSERT_EQ(FInbox->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    }
    [[nodiscard]] ULONG Rowcount() const
    {
        ULONG count = 0;
        EXPECT_EQ(FTable->GetRowCount(0, &count), S_OK);
        return count;
    }
    [[nodiscard]] std::uint64_t Position() const
    {
        ULONG row = 0;
        ULONG numerator = 0;
        ULONG denominator = 0;
        EXPECT_EQ(FTable->QueryPosition(&row, &numerator, &denominator), S_OK);
        return row;
    }
    /// The delivery time counts the messages in the order of their creation.
    static std::int64_t IndexOf(const SRow& row)
    {
        return static_cast<std::int64_t>(row.lpProps[0].Value.ft.dwLowDateTime) - First();
    }
    static std::int64_t First() { return static_cast<std::int64_t>(132000000000000000ULL & 0xFFFFFFFF); }

    static constexpr ULONG Extra = 0x6700001F; // has no column of its own
    Ptr<IMAPIFolder> FInbox;
    Ptr<IMAPITable> FTable;
    std::vector<Bytes> FIds;
};

TEST_F(TableTest, WalksForwardsAndBackwardsFromAnyPosition)
{
    ASSERT_EQ(FTable->SetColumns(Tags{tag::DeliveryTime, tag::Subject, Extra, 0x6701000B}, 0), S_OK);
    EXPECT_EQ(Rowcount(), static_cast<ULONG>(Count));
    RowSet rows;
    ASSERT_EQ(FTable->QueryRows(20, 0, rows.Out()), S_OK);
    ASSERT_EQ(rows->cRows, 20u);
    EXPECT_EQ(IndexOf(rows->aRow[0]), 0);
    EXPECT_EQ(std::u16string(rows->aRow[0].lpProps[2].Value.lpszW), u"extra");
    EXPECT_EQ(rows->aRow[1].lpProps[2].ulPropTag, CHANGE_PROP_TYPE(Extra, PT_ERROR));
    EXPECT_EQ(rows->aRow[1].lpProps[2].Value.err, MAPI_E_NOT_FOUND);
    ASSERT_EQ(FTable->QueryRows(100, TBL_NOADVANCE, rows.Out()), S_OK);
    EXPECT_EQ(rows->cRows, 25u);
    EXPECT_EQ(Position(), 20u);
    ASSERT_EQ(FTable->QueryRows(-5, 0, rows.Out()), S_OK);
    ASSERT_EQ(rows->cRows, 5u);
    EXPECT_EQ(IndexOf(rows->aRow[0]), 15); // the order stays that of the table
    EXPECT_EQ(Position(), 15u);
    LONG sought = 0;
    EXPECT_EQ(FTable->SeekRow(BOOKMARK_END, -1, &sought), S_OK);
    EXPECT_EQ(sought, -1);
    ASSERT_EQ(FTable->QueryRows(10, 0, rows.Out()), S_OK);
    EXPECT_EQ(rows->cRows, 1u);
    ASSERT_EQ(FTable->QueryRows(10, 0, rows.Out()), S_OK);
    EXPECT_EQ(rows->cRows, 0u);
    EXPECT_EQ(FTable->SeekRow(BOOKMARK_CURRENT, -1000, &sought), S_OK);
    EXPECT_EQ(sought, -Count);
    EXPECT_EQ(FTable->SeekRowApprox(1, 3), S_OK);
    EXPECT_EQ(Position(), 15u);
    EXPECT_EQ(FTable->QueryRows(0, 0, rows.Out()), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(FTable->SetColumns(Tags{}, 0), MAPI_E_INVALID_PARAMETER);
}

TEST_F(TableTest, SortsByColumnsAndByPropertiesWithoutOne)
{
    struct
    {
        ULONG cSorts = 3;
        ULONG cCategories = 0;
        ULONG cExpanded = 0;
        SSortOrder aSort[3] = {
            {Extra, TABLE_SORT_ASCEND}, {tag::Importance, TABLE_SORT_DESCEND}, {tag::Subject, TABLE_SORT_ASCEND}};
    } order;
    ASSERT_EQ(FTable->SortTable(reinterpret_cast<LPSSortOrderSet>(&order), 0), S_OK);
    const auto rows = Rows(*FTable, {Extra, tag::Importance, tag::Subject});
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(Count));
    // Rows without the property come first.
    EXPECT_TRUE(rows[0][0].IsError());
    EXPECT_FALSE(rows.back()[0].IsError());
    for (std::size_t i = 1; i < rows.size(); ++i) {
        const bool sameExtra = rows[i][0].IsError() == rows[i - 1][0].IsError();
        EXPECT_TRUE(sameExtra || !rows[i][0].IsError());
        if (!sameExtra)
            continue;
        EXPECT_LE(NumberAt(rows[i], 1), NumberAt(rows[i - 1], 1));
        if (NumberAt(rows[i], 1) == NumberAt(rows[i - 1], 1)) {
            EXPECT_LE(KwUpperCase(WideAt(rows[i - 1], 2)), KwUpperCase(WideAt(rows[i], 2)));
        }
    }
    MapiBuffer<SSortOrderSet> current;
    ASSERT_EQ(FTable->QuerySortOrder(current.Out()), S_OK);
    EXPECT_EQ(current->cSorts, 3u);
    order.cCategories = 1;
    EXPECT_EQ(FTable->SortTable(reinterpret_cast<LPSSortOrderSet>(&order), 0), MAPI_E_TOO_COMPLEX);
}

TEST_F(TableTest, RestrictsAndFindsWithEveryKindOfCondition)
{
    SPropValue two = Long(tag::Importance, 2);
    SPropValue text = Text(tag::Subject, u"ODD");
    SPropValue extra = Text(Extra, u"extra");
    SRestriction importance{};
    importance.rt = RES_PROPERTY;
    importance.res.resProperty = {RELOP_EQ, tag::Importance, &two};
    SRestriction odd{};
    odd.rt = RES_CONTENT;
    odd.res.resContent = {FL_PREFIX | FL_IGNORECASE, tag::Subject, &text};
    SRestriction oddCase = odd;
    oddCase.res.resContent.ulFuzzyLevel = FL_PREFIX;
    SRestriction unread{};
    unread.rt = RES_BITMASK;
    unread.res.resBitMask = {BMR_EQZ, tag::MessageFlags, MSGFLAG_READ};
    SRestriction exist{};
    exist.rt = RES_EXIST;
    exist.res.resExist = {0, Extra, 0};
    SRestriction isExtra{};
    isExtra.rt = RES_PROPERTY;
    isExtra.res.resProperty = {RELOP_EQ, Extra, &extra};
    SRestriction notExist{};
    notExist.rt = RES_NOT;
    notExist.res.resNot = {0, &exist};
    SRestriction size{};
    size.rt = RES_SIZE;
    size.res.resSize = {RELOP_GT, tag::Subject, 1000};
    SRestriction compare{};
    compare.rt = RES_COMPAREPROPS;
    compare.res.resCompareProps = {RELOP_EQ, tag::Subject, tag::NormalizedSubject};
    SRestriction both[] = {importance, odd};
    SRestriction andAll{};
    andAll.rt = RES_AND;
    andAll.res.resAnd = {2, both};
    SRestriction orAll{};
    orAll.rt = RES_OR;
    orAll.res.resOr = {2, both};
    SRestriction sub{};
    sub.rt = RES_SUBRESTRICTION;

    int importances = 0;
    int odds = 0;
    int ands = 0;
    int unreads = 0;
    for (int i = 0; i < Count; ++i) {
        importances += i % 3 == 2;
        odds += i % 2 == 1;
        ands += i % 3 == 2 && i % 2 == 1;
        unreads += i % 5 == 0;
    }
    const std::pair<SRestriction*, int> cases[] = {{&importance, importances},
                                                   {&odd, odds},
                                                   {&oddCase, 0},
                                                   {&unread, unreads},
                                                   {&exist, 12},
                                                   {&isExtra, 12},
                                                   {&notExist, Count - 12},
                                                   {&size, 0},
                                                   {&compare, Count},
                                                   {&andAll, ands},
                                                   {&orAll, importances + odds - ands}};
    for (const auto& [restriction, expected] : cases) {
        ASSERT_EQ(FTable->Restrict(restriction, 0), S_OK);
        EXPECT_EQ(Rowcount(), static_cast<ULONG>(expected)) << restriction->rt;
    }
    sub.rt = RES_COUNT;
    EXPECT_EQ(FTable->Restrict(&sub, 0), MAPI_E_TOO_COMPLEX);
    EXPECT_EQ(Rowcount(), static_cast<ULONG>(cases[10].second)) << "the refused restriction changes nothing";
    ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
    EXPECT_EQ(Rowcount(), static_cast<ULONG>(Count));

    ASSERT_EQ(FTable->FindRow(&andAll, BOOKMARK_BEGINNING, 0), S_OK);
    EXPECT_EQ(Position(), 5u);
    ASSERT_EQ(FTable->FindRow(&isExtra, BOOKMARK_END, DIR_BACKWARD), S_OK);
    EXPECT_EQ(Position(), 44u);
    ASSERT_EQ(FTable->FindRow(&isExtra, BOOKMARK_CURRENT, DIR_BACKWARD), S_OK);
    EXPECT_EQ(Position(), 40u);
    EXPECT_EQ(FTable->FindRow(&size, BOOKMARK_BEGINNING, 0), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Position(), 40u);
}

TEST_F(TableTest, DeepRestrictionsEndAtTheLimit)
{
    SRestriction leaf{};
    leaf.rt = RES_EXIST;
    leaf.res.resExist = {0, tag::Subject, 0};
    std::vector<SRestriction> nested(Restriction::MaximumDepth);
    nested[0] = leaf;
    for (std::size_t i = 1; i < nested.size(); ++i) {
        nested[i].rt = RES_NOT;
        nested[i].res.resNot = {0, &nested[i - 1]};
    }
    EXPECT_EQ(FTable->Restrict(&nested.back(), 0), S_OK);
    SRestriction onePast{};
    onePast.rt = RES_NOT;
    onePast.res.resNot = {0, &nested.back()};
    EXPECT_EQ(FTable->Restrict(&onePast, 0), MAPI_E_TOO_COMPLEX);
}

TEST_F(TableTest, BookmarksAndThePositionStayAtTheirRows)
{
    ASSERT_EQ(FTable->SetColumns(Tags{tag::DeliveryTime}, 0), S_OK);
    ASSERT_EQ(FTable->SeekRow(BOOKMARK_BEGINNING, 10, nullptr), S_OK);
    BOOKMARK ten = 0;
    ASSERT_EQ(FTable->CreateBookmark(&ten), S_OK);
    ASSERT_EQ(FTable->SeekRow(BOOKMARK_BEGINNING, 20, nullptr), S_OK);
    Delete(3);
    Save(*NewMessage(*FInbox, u"new"));
    EXPECT_EQ(Rowcount(), static_cast<ULONG>(Count));
    EXPECT_EQ(Position(), 19u);
    RowSet rows;
    ASSERT_EQ(FTable->QueryRows(1, 0, rows.Out()), S_OK);
    EXPECT_EQ(IndexOf(rows->aRow[0]), 20);
    EXPECT_EQ(FTable->SeekRow(ten, 0, nullptr), S_OK);
    EXPECT_EQ(Position(), 9u);
    Delete(10);
    EXPECT_EQ(FTable->SeekRow(ten, 0, nullptr), MAPI_W_POSITION_CHANGED);
    EXPECT_EQ(FTable->FreeBookmark(ten), S_OK);
    EXPECT_EQ(FTable->FreeBookmark(ten), MAPI_E_INVALID_BOOKMARK);
    EXPECT_EQ(FTable->SeekRow(ten, 0, nullptr), MAPI_E_INVALID_BOOKMARK);
}

TEST_F(TableTest, OtherConnectionsChangesArrive)
{
    const ULONG before = Rowcount();
    auto other = OpenAnother();
    const Bytes id = InboxId();
    ULONG type = 0;
    Ptr<IMAPIFolder> inbox;
    ASSERT_EQ(other->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, MAPI_MODIFY, &type,
                               reinterpret_cast<LPUNKNOWN*>(Out(inbox))),
              S_OK);
    Save(*NewMessage(*inbox, u"from elsewhere"));
    EXPECT_EQ(Rowcount(), before + 1);
}

TEST_F(TableTest, AssociatedMessagesHaveATableOfTheirOwnAndTextIsCutAt255)
{
    const std::u16string longText(5000, u'x');
    Ptr<IMessage> hidden;
    ASSERT_EQ(FInbox->CreateMessage(nullptr, MAPI_ASSOCIATED, Out(hidden)), S_OK);
    Set(*hidden, {Text(tag::Subject, longText.c_str()), Text(Extra, longText.c_str())});
    const Bytes id = Save(*hidden);
    EXPECT_EQ(Get(*OpenMessage(id, 0), tag::Subject).Wide(), longText);
    EXPECT_EQ(Rowcount(), static_cast<ULONG>(Count));
    EXPECT_EQ(Get(*FInbox, tag::ContentCount).Number(), Count);
    EXPECT_EQ(Get(*FInbox, tag::AssociatedCount).Number(), 1);
    Ptr<IMAPITable> table;
    ASSERT_EQ(FInbox->GetContentsTable(MAPI_UNICODE | MAPI_ASSOCIATED, Out(table)), S_OK);
    const auto rows =
        Rows(*table, {tag::Subject, Extra, CHANGE_PROP_TYPE(tag::MessageClass, PT_STRING8), tag::EntryId});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(WideAt(rows[0], 0).size(), 255u);
    EXPECT_EQ(WideAt(rows[0], 1).size(), 255u);
    EXPECT_EQ(std::get<Bytes>(rows[0][3].data), id);
}

} // namespace
} // namespace deftmapi::client::test
