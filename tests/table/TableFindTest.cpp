// Filtering and searching: the calls, the bookmark that searches go on from, and the failures.
#include "tests/table/RestrictionFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TTableFindTest : public TRestrictionFixture
{
protected:
    TTableFindTest() : Node(Exists(PR_SUBJECT))
    {
        FindRowsDivisibleBy(10);
        Table->Open();
        static_cast<void>(Calls->Take());
    }
    /// From now on a table that is fetched again has so many rows, of which the same ones fit.
    void FetchAnother(int rows)
    {
        const TKwComPtr<TScriptedTable> fresh = NewTable(rows);
        fresh->Matches = Object->Matches;
        Table = KwMake<TKwMAPITable>(*Prop, Object.Get(), [fresh] { return TKwComPtr<mapi::IMAPITable>(fresh.Get()); });
        Number = Table->Get_Fields()->Add(PR_MESSAGE_SIZE);
        Node = Exists(PR_SUBJECT);
    }
    void FindRowsDivisibleBy(std::int32_t number)
    {
        Object->Matches = [number](const TScriptedTable::TRow& row) { return row[0].Value().Value.l % number == 0; };
    }
    using TFind = void (TKwMAPITable::*)(const TKwRef<IKwMAPIRestriction>&, WordBool&);
    /// The row that the search finds, or 0.
    [[nodiscard]] std::int32_t Found(TFind find)
    {
        WordBool found = false;
        (Table.Get()->*find)(Node, found);
        return found ? Row() : 0;
    }

    TKwRef<IKwMAPIRestriction> Node;
};

TEST_F(TTableFindTest, SearchesGoOnFromTheRowFoundLast)
{
    EXPECT_EQ(Found(&TKwMAPITable::FindFirst), 10);
    EXPECT_EQ(Calls->Take(), "FindRow(exist(0x0037001F),0,0)\nCreateBookmark()\nQueryRows(1,0)\nCreateBookmark()");
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 20);
    EXPECT_EQ(Calls->Take(), "FindRow(exist(0x0037001F),4,0)\nFreeBookmark(3)\nCreateBookmark()\nQueryRows(1,0)\n"
                             "FreeBookmark(4)\nCreateBookmark()");
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 30);
    static_cast<void>(Calls->Take());
    EXPECT_EQ(Found(&TKwMAPITable::FindPrevious), 20);
    EXPECT_EQ(Calls->Take(), "SeekRow(7,0)\nFindRow(exist(0x0037001F),1,1)\nFreeBookmark(7)\nCreateBookmark()\n"
                             "QueryRows(1,0)\nFreeBookmark(8)\nCreateBookmark()");
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 30);
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 40);
    EXPECT_FALSE(Table->Get_EOF());
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 0);
    EXPECT_TRUE(Table->Get_EOF());
    EXPECT_EQ(Found(&TKwMAPITable::FindPrevious), 30); // the last success counts
    EXPECT_FALSE(Table->Get_EOF());
    EXPECT_EQ(Object->Bookmarks.size(), 2u);
    Table->Close();
    EXPECT_TRUE(Object->Bookmarks.empty());
}

TEST_F(TTableFindTest, SearchesWithoutABookmarkBeginAtTheirEnd)
{
    EXPECT_EQ(Found(&TKwMAPITable::FindLast), 40);
    EXPECT_EQ(Calls->Take(), "FindRow(exist(0x0037001F),2,1)\nCreateBookmark()\nQueryRows(1,0)\nCreateBookmark()");
    Table->Close();
    static_cast<void>(Calls->Take());
    EXPECT_EQ(Found(&TKwMAPITable::FindPrevious), 40);
    EXPECT_EQ(Calls->Take(), "SetColumns([0x0E080003],0)\nGetRowCount(0)\nFindRow(exist(0x0037001F),2,1)\n"
                             "CreateBookmark()\nQueryRows(1,0)\nCreateBookmark()");
    std::vector<std::int32_t> backwards;
    for (std::int32_t row = Row(); row != 0; row = Found(&TKwMAPITable::FindPrevious))
        backwards.push_back(row);
    EXPECT_EQ(backwards, (std::vector<std::int32_t>{40, 30, 20, 10}));
    Table->Close();
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 10);
    Table->Next();
    EXPECT_EQ(Row(), 11);
}

TEST_F(TTableFindTest, FindRowFromTheCurrentRow)
{
    WordBool found = false;
    Table->MoveBy(tbkBeginning, 24); // opens, reads a batch: the MAPI position is behind it
    Table->MoveBy(tbkCurrentRelative, 5);
    ASSERT_EQ(Row(), 30);
    Table->FindRow(Node, tbkCurrentRelative, true, found);
    EXPECT_TRUE(found);
    EXPECT_EQ(Row(), 30);
    Table->FindRow(Node, tbkCurrentRelative, false, found);
    EXPECT_TRUE(found);
    EXPECT_EQ(Row(), 20);
    Table->FindRow(Node, tbkEnd, false, found);
    EXPECT_EQ(Row(), 40);
    // Only what was moved to counts as the first row: a loop goes on behind what it has found.
    std::vector<std::int32_t> forwards;
    for (Table->FindRow(Node, tbkBeginning, true, found); found; Table->FindRow(Node, tbkCurrentRelative, true, found))
        forwards.push_back(Row());
    EXPECT_EQ(forwards, (std::vector<std::int32_t>{10, 20, 30, 40}));
}

TEST_F(TTableFindTest, FindPreviousNeedsThePlaceOfTheRowOnly)
{
    Object->Rows.resize(40);
    FindRowsDivisibleBy(1);
    std::vector<std::int32_t> deleted;
    for (std::int32_t row = Found(&TKwMAPITable::FindLast); row > 35; row = Found(&TKwMAPITable::FindPrevious)) {
        deleted.push_back(row);
        Object->Delete(row - 1);
    }
    EXPECT_EQ(deleted, (std::vector<std::int32_t>{40, 39, 38, 37, 36}));
}

TEST_F(TTableFindTest, SearchFailures)
{
    WordBool found = true;
    Calls->Next("FindRow", mapi::MAPI_W_POSITION_CHANGED);
    Table->FindFirst(Node, found);
    EXPECT_FALSE(found);
    EXPECT_FALSE(Table->Get_EOF());
    Calls->Next("FindRow", mapi::MAPI_E_INVALID_BOOKMARK);
    Table->FindFirst(Node, found);
    EXPECT_FALSE(found);
    EXPECT_TRUE(Table->Get_EOF());
    Calls->Next("FindRow", mapi::MAPI_E_TOO_COMPLEX);
    const TCaught complex = Catch([&] { Table->FindLast(Node, found); });
    EXPECT_EQ(complex.ClassName, "EMAPI_TOO_COMPLEX");
    EXPECT_EQ(complex.Message.substr(0, 32), "TKwMAPITable.FindFirst has raise");
    Calls->Next("CreateBookmark", mapi::MAPI_E_UNABLE_TO_COMPLETE);
    EXPECT_EQ(Catch([&] { Table->FindFirst(Node, found); }).ClassName, "EMAPI_UNABLE_TO_COMPLETE");
    EXPECT_EQ(Catch([&] { Table->FindFirst(nullptr, found); }).Code, 0x80070057u);

    EXPECT_EQ(Found(&TKwMAPITable::FindFirst), 10);
    Object->Bookmarks.clear(); // the client has dropped it
    EXPECT_EQ(Found(&TKwMAPITable::FindPrevious), 0);
    EXPECT_TRUE(Table->Get_EOF());
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 0);
    EXPECT_EQ(Found(&TKwMAPITable::FindFirst), 10);
    static_cast<void>(Calls->Take());
    Table->Sort(PR_MESSAGE_SIZE, false); // bookmarks end with the order that they are of
    EXPECT_EQ(Calls->Count("FreeBookmark"), 2u);
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 10);
    Table->Sort(PR_MESSAGE_SIZE, false);
    EXPECT_EQ(Found(&TKwMAPITable::FindPrevious), 40);
}

TEST_F(TTableFindTest, FilterOpensTheTableAnew)
{
    Table->First();
    Table->Last();
    EXPECT_EQ(Found(&TKwMAPITable::FindFirst), 10);
    static_cast<void>(Calls->Take());
    Table->Filter(Node);
    EXPECT_EQ(Calls->Take(), "FreeBookmark(3)\nFreeBookmark(4)\nRestrict(exist(0x0037001F),0)\n"
                             "SetColumns([0x0E080003],0)\nGetRowCount(0)");
    EXPECT_TRUE(Table->Get_Active());
    EXPECT_FALSE(Table->Get_EOF());
    Table->Next();
    EXPECT_EQ(Row(), 1);
    const TCaught filtered = Failure("EMAPI_CALL_FAILED", 0x80004005, "The table is already filtered!");
    for (const TFind find :
         {&TKwMAPITable::FindFirst, &TKwMAPITable::FindNext, &TKwMAPITable::FindPrevious, &TKwMAPITable::FindLast})
        EXPECT_EQ(Catch([&] { return Found(find); }), filtered);
    WordBool found = false;
    EXPECT_EQ(Catch([&] { Table->FindRow(Node, tbkCurrentRelative, true, found); }), filtered);
    EXPECT_EQ(Row(), 1); // a refused search moves nothing

    Calls->Next("Restrict", mapi::MAPI_E_BUSY); // of taking it away
    EXPECT_EQ(Catch([&] { Table->Filter(nullptr); }).Message.substr(0, 33), "TKwMAPITable.SetFiltered failed!\r");
    EXPECT_EQ(Catch([&] { return Found(&TKwMAPITable::FindFirst); }), filtered);
    static_cast<void>(Calls->Take());
    Table->Filter(Exists(PR_BODY));
    EXPECT_EQ(Calls->Take(), "Restrict(none,0)\nRestrict(exist(0x1000001F),0)\nSetColumns([0x0E080003],0)\n"
                             "GetRowCount(0)");
    Table->Filter(nullptr);
    EXPECT_EQ(Calls->Take(), "Restrict(none,0)\nSetColumns([0x0E080003],0)\nGetRowCount(0)");
    EXPECT_EQ(Found(&TKwMAPITable::FindFirst), 10);
}

TEST_F(TTableFindTest, FilterFailuresLeaveTheTableUnfiltered)
{
    Calls->Next("Restrict", mapi::MAPI_E_BUSY);
    EXPECT_EQ(Catch([&] { Table->Filter(Node); }),
              Failure("EMAPI_BUSY", 0x8004010B,
                      "TKwMAPITable.SetFiltered failed!\r\nAnother operation is in progress that prevents the Field "
                      "setting operation from starting.\r\nEither the operation in progress should be allowed to "
                      "complete or it should be stopped"));
    Calls->Next("Restrict", mapi::MAPI_E_TOO_COMPLEX);
    EXPECT_EQ(Catch([&] { Table->Filter(Node); }),
              Failure("EMAPI_TOO_COMPLEX", 0x80040117,
                      "TKwMAPITable.SetFiltered failed!\r\nThe table cannot perform the operation, because the "
                      "restiction is too complicated."));
    Calls->Next("Restrict", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { Table->Filter(Node); }).Message.substr(0, 36), "TKwMAPITable.Restrict has raised the");
    EXPECT_EQ(Catch([&] { Table->Filter(Make<IKwMAPIRestrictionNot>(rtNot)); }).Code, 0x80070057u);
    EXPECT_EQ(Found(&TKwMAPITable::FindFirst), 10);
    Session->Set_Active(false);
    WordBool found = true;
    Table->FindFirst(Node, found);
    EXPECT_FALSE(found);
    EXPECT_EQ(Catch([&] { Table->Filter(Node); }).ClassName, "EMAPI_CALL_FAILED");
}

TEST_F(TTableFindTest, AFetchedTableIsFilteredAndSortedAsTheOldOneWas)
{
    FetchAnother(3);
    Table->Sort({{PR_SUBJECT, true}, {PR_MESSAGE_SIZE, false}});
    Table->Filter(Node);
    static_cast<void>(Calls->Take());
    Calls->Next("QueryRows", mapi::MAPI_E_END_OF_SESSION);
    Table->First();
    EXPECT_EQ(Calls->Take(), "SeekRow(0,0)\nQueryRows(20,0)\nSortTable(0x0037001F:1 0x0E080003:0,0)\n"
                             "Restrict(exist(0x0037001F),0)\nSetColumns([0x0E080003],0)\nQueryRows(20,0)");
    EXPECT_EQ(Row(), 1);
}

TEST_F(TTableFindTest, ABookmarkGoesWithItsTable)
{
    FetchAnother(25);
    EXPECT_EQ(Found(&TKwMAPITable::FindLast), 40);
    Calls->Next("SeekRow", mapi::MAPI_E_END_OF_SESSION);
    Table->Last();
    static_cast<void>(Calls->Take());
    Table->First();
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 10) << "as nothing was found in this one";
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 20);
    EXPECT_EQ(Calls->Count("FreeBookmark"), 2u) << "its own";
}

TEST_F(TTableFindTest, ARowThatIsLostWithItsSessionIsNotFound)
{
    FetchAnother(25);
    Calls->Next("QueryRows", mapi::MAPI_E_END_OF_SESSION); // the search has found its row in the old table
    WordBool found = true;
    Table->FindFirst(Node, found);
    EXPECT_FALSE(found) << "row 1 of the new table does not fit";
    EXPECT_EQ(Calls->Count("CreateBookmark"), Calls->Count("FreeBookmark") + 1) << "one went with the old table";
    EXPECT_EQ(Found(&TKwMAPITable::FindNext), 10);
}

TEST_F(TTableFindTest, NoCallThatFailsLeaksOrLosesABookmark)
{
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 100);
        Calls->FailNth(n, mapi::MAPI_E_NOT_ENOUGH_MEMORY);
        static_cast<void>(Catch([&] {
            Table->Filter(Node);
            Table->Filter(nullptr);
            static_cast<void>(Found(&TKwMAPITable::FindFirst));
            static_cast<void>(Found(&TKwMAPITable::FindNext));
            static_cast<void>(Found(&TKwMAPITable::FindPrevious));
        }));
        const bool failed = Calls->Failed();
        Calls->FailNth(0, 0);
        Table->Filter(nullptr);
        EXPECT_EQ(Found(&TKwMAPITable::FindLast), 40) << n;
        if (!failed)
            break;
    }
}

} // namespace
} // namespace deftmapi::test
