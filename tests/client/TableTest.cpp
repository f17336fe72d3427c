// Tables: walking, seeking, bookmarks, order, restrictions, and what happens to an open table when its folder changes.
#include "client/table/Restriction.hpp"
#include "tests/client/TableConditions.hpp"

#include <cstring>

namespace deftmapi::client::test
{
namespace
{

class TableTest : public ContentsTest
{
protected:
    static constexpr int Messages = 45;

    void SetUp() override
    {
        ContentsTest::SetUp();
        for (int i = 0; i < Messages; ++i) {
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
    }
    /// The delivery time counts the messages in the order of their creation.
    static std::int64_t IndexOf(const SRow& row)
    {
        return static_cast<std::int64_t>(row.lpProps[0].Value.ft.dwLowDateTime) - (132000000000000000 & 0xFFFFFFFF);
    }

    static constexpr ULONG Extra = 0x6700001F; // has no column of its own
    std::vector<Bytes> FIds;
};

TEST_F(TableTest, WalksForwardsAndBackwardsFromAnyPosition)
{
    ASSERT_EQ(FTable->SetColumns(Tags{tag::DeliveryTime, tag::Subject, Extra, 0x6701000B}, 0), S_OK);
    EXPECT_EQ(Count(), static_cast<ULONG>(Messages));
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
    EXPECT_EQ(sought, -Messages);
    EXPECT_EQ(FTable->SeekRowApprox(1, 3), S_OK);
    EXPECT_EQ(Position(), 15u);
    EXPECT_EQ(FTable->QueryRows(0, 0, rows.Out()), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(FTable->SetColumns(Tags{}, 0), MAPI_E_INVALID_PARAMETER);
}

TEST_F(TableTest, SortsByColumnsAndByPropertiesWithoutOne)
{
    SortKeys order{
        {Extra, TABLE_SORT_ASCEND}, {tag::Importance, TABLE_SORT_DESCEND}, {tag::Subject, TABLE_SORT_ASCEND}};
    ASSERT_EQ(FTable->SortTable(order, 0), S_OK);
    const auto rows = Rows(*FTable, {Extra, tag::Importance, tag::Subject});
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(Messages));
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
    const ULONG kept = order->aSort[0].ulPropTag;
    const auto expectOrder = [&](ULONG keys) {
        MapiBuffer<SSortOrderSet> current;
        ASSERT_EQ(FTable->QuerySortOrder(current.Out()), S_OK);
        ASSERT_EQ(current->cSorts, keys);
        EXPECT_EQ(std::memcmp(current->aSort, order->aSort, keys * sizeof(SSortOrder)), 0) << keys;
    };
    expectOrder(3);
    order->cSorts = 2;
    ASSERT_EQ(FTable->SortTable(order, 0), S_OK);
    expectOrder(2);
    order->cSorts = 1;
    order->cCategories = 1;
    EXPECT_EQ(FTable->SortTable(order, 0), MAPI_E_TOO_COMPLEX);
    order->cCategories = 0;
    order->cExpanded = 1;
    EXPECT_EQ(FTable->SortTable(order, 0), MAPI_E_TOO_COMPLEX);
    order->cExpanded = 0;
    order->aSort[0].ulPropTag = tag::MessageRecipients;
    EXPECT_EQ(FTable->SortTable(order, 0), MAPI_E_TOO_COMPLEX);
    order->aSort[0].ulPropTag = kept;
    expectOrder(2); // the refused ones change nothing
}

TEST_F(TableTest, RowsOfCategoriesAreNeitherOpenedNorClosed)
{
    BYTE key[8] = {};
    SRowSet leftOver{};
    LPSRowSet rows = &leftOver;
    ULONG number = 0;
    EXPECT_EQ(FTable->ExpandRow(sizeof key, key, 1, 0, &rows, &number), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(rows, nullptr);
    EXPECT_EQ(FTable->CollapseRow(sizeof key, key, 0, &number), MAPI_E_NO_SUPPORT);
    LPBYTE state = nullptr;
    EXPECT_EQ(FTable->GetCollapseState(0, sizeof key, key, &number, &state), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(state, nullptr);
    BOOKMARK bookmark = 0;
    EXPECT_EQ(FTable->SetCollapseState(0, sizeof key, key, &bookmark), MAPI_E_NO_SUPPORT);
    MapiBuffer<MAPIERROR> error;
    ASSERT_EQ(FTable->GetLastError(MAPI_E_NO_SUPPORT, MAPI_UNICODE, error.Out()), S_OK);
    EXPECT_TRUE(error) << "it says why";
}

TEST_F(TableTest, RestrictsAndFindsWithEveryKindOfCondition)
{
    const Condition importance = Is(Long(tag::Importance, 2));
    const Condition odd = Has(Text(tag::Subject, u"ODD"), FL_PREFIX | FL_IGNORECASE);
    const Condition isExtra = Is(Text(Extra, u"extra"));
    const Condition longOnes = Size(RELOP_GT, tag::Subject, 1000);
    const Condition both = And({importance, odd});
    int importances = 0;
    int odds = 0;
    int ands = 0;
    int unreads = 0;
    for (int i = 0; i < Messages; ++i) {
        importances += i % 3 == 2;
        odds += i % 2 == 1;
        ands += i % 3 == 2 && i % 2 == 1;
        unreads += i % 5 == 0;
    }
    const std::pair<Condition, int> cases[] = {{importance, importances},
                                               {odd, odds},
                                               {Has(Text(tag::Subject, u"ODD"), FL_PREFIX), 0},
                                               {Unread(), unreads},
                                               {Exists(Extra), 12},
                                               {isExtra, 12},
                                               {Not(Exists(Extra)), Messages - 12},
                                               {longOnes, 0},
                                               {Compare(RELOP_EQ, tag::Subject, tag::NormalizedSubject), Messages},
                                               {both, ands},
                                               {Or({importance, odd}), importances + odds - ands}};
    for (const auto& [restriction, expected] : cases) {
        ASSERT_EQ(FTable->Restrict(restriction, 0), S_OK);
        EXPECT_EQ(Count(), static_cast<ULONG>(expected)) << restriction->rt;
    }
    EXPECT_EQ(FTable->Restrict(Condition(RES_COUNT), 0), MAPI_E_TOO_COMPLEX);
    EXPECT_EQ(Count(), static_cast<ULONG>(cases[10].second)) << "the refused restriction changes nothing";
    ASSERT_EQ(FTable->Restrict(nullptr, 0), S_OK);
    EXPECT_EQ(Count(), static_cast<ULONG>(Messages));

    ASSERT_EQ(FTable->FindRow(both, BOOKMARK_BEGINNING, 0), S_OK);
    EXPECT_EQ(Position(), 5u);
    ASSERT_EQ(FTable->FindRow(isExtra, BOOKMARK_END, DIR_BACKWARD), S_OK);
    EXPECT_EQ(Position(), 44u);
    ASSERT_EQ(FTable->FindRow(isExtra, BOOKMARK_CURRENT, DIR_BACKWARD), S_OK);
    EXPECT_EQ(Position(), 40u);
    EXPECT_EQ(FTable->FindRow(longOnes, BOOKMARK_BEGINNING, 0), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Position(), 40u);
}

TEST_F(TableTest, DeepRestrictionsEndAtTheLimit)
{
    Condition nested = Exists(tag::Subject);
    for (std::size_t i = 1; i < Restriction::MaximumDepth; ++i)
        nested = Not(nested);
    EXPECT_EQ(FTable->Restrict(nested, 0), S_OK);
    EXPECT_EQ(FTable->Restrict(Not(nested), 0), MAPI_E_TOO_COMPLEX);
}

TEST_F(TableTest, BookmarksAndThePositionStayAtTheirRows)
{
    ASSERT_EQ(FTable->SetColumns(Tags{tag::DeliveryTime}, 0), S_OK);
    ASSERT_EQ(FTable->SeekRow(BOOKMARK_BEGINNING, 10, nullptr), S_OK);
    BOOKMARK ten = 0;
    ASSERT_EQ(FTable->CreateBookmark(&ten), S_OK);
    ASSERT_EQ(FTable->SeekRow(BOOKMARK_BEGINNING, 20, nullptr), S_OK);
    Delete(FIds[3]);
    Save(*NewMessage(*FInbox, u"new"));
    EXPECT_EQ(Count(), static_cast<ULONG>(Messages));
    EXPECT_EQ(Position(), 19u);
    RowSet rows;
    ASSERT_EQ(FTable->QueryRows(1, 0, rows.Out()), S_OK);
    EXPECT_EQ(IndexOf(rows->aRow[0]), 20);
    EXPECT_EQ(FTable->SeekRow(ten, 0, nullptr), S_OK);
    EXPECT_EQ(Position(), 9u);
    Delete(FIds[10]);
    EXPECT_EQ(FTable->SeekRow(ten, 0, nullptr), MAPI_W_POSITION_CHANGED);
    for (const BOOKMARK always : {BOOKMARK_BEGINNING, BOOKMARK_CURRENT, BOOKMARK_END}) {
        EXPECT_EQ(FTable->FreeBookmark(always), S_OK) << always;
        EXPECT_EQ(FTable->SeekRow(always, 0, nullptr), S_OK) << always;
    }
    EXPECT_EQ(FTable->FreeBookmark(ten), S_OK);
    EXPECT_EQ(FTable->FreeBookmark(ten), MAPI_E_INVALID_BOOKMARK);
    EXPECT_EQ(FTable->SeekRow(ten, 0, nullptr), MAPI_E_INVALID_BOOKMARK);
}

TEST_F(TableTest, AssociatedMessagesHaveATableOfTheirOwnAndTextIsCutAt255)
{
    const std::u16string longText(5000, u'x');
    auto hidden = EmptyMessage(*FInbox, MAPI_ASSOCIATED);
    Set(*hidden, {Text(tag::Subject, longText.c_str()), Text(Extra, longText.c_str())});
    const Bytes id = Save(*hidden);
    EXPECT_EQ(Get(*OpenMessage(id, 0), tag::Subject).Wide(), longText);
    EXPECT_EQ(Count(), static_cast<ULONG>(Messages));
    EXPECT_EQ(Get(*FInbox, tag::ContentCount).Number(), Messages);
    EXPECT_EQ(Get(*FInbox, tag::AssociatedCount).Number(), 1);
    const auto rows = Rows(*ContentsTable(*FInbox, MAPI_ASSOCIATED),
                           {tag::Subject, Extra, CHANGE_PROP_TYPE(tag::MessageClass, PT_STRING8), tag::EntryId});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(WideAt(rows[0], 0).size(), 255u);
    EXPECT_EQ(WideAt(rows[0], 1).size(), 255u);
    EXPECT_EQ(std::get<Bytes>(rows[0][3].data), id);
}

} // namespace
} // namespace deftmapi::client::test
