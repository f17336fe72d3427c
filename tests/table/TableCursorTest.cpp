// Moving through a table: which row is current, and which calls that costs.
#include "tests/table/TableFixture.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace deftmapi::test
{
namespace
{

using TTableCursorTest = TTableTest;

TEST_F(TTableCursorTest, WalkReadsOneBatchAtATimeAndEndsOnTheLastRow)
{
    Table->First();
    EXPECT_EQ(Calls->Take(), "SetColumns([0x0E080003],0)\nGetRowCount(0)\nSeekRow(0,0)\nQueryRows(20,0)");
    std::vector<std::string> callsAfterRow(46);
    for (std::int32_t row = 1; row <= 45; ++row) {
        ASSERT_FALSE(Table->Get_EOF());
        ASSERT_EQ(Row(), row);
        Table->Next();
        callsAfterRow[static_cast<std::size_t>(row)] = Calls->Take();
    }
    EXPECT_EQ(callsAfterRow[20], "QueryRows(20,0)");
    EXPECT_EQ(callsAfterRow[40], "QueryRows(20,0)");
    EXPECT_EQ(callsAfterRow[45], "QueryRows(20,0)\nQueryRows(-1,0)");
    for (const std::size_t row : {1, 19, 21, 39, 41, 44})
        EXPECT_EQ(callsAfterRow[row], "") << "row " << row;
    EXPECT_TRUE(Table->Get_EOF());
    EXPECT_EQ(Row(), 45);
}

TEST_F(TTableCursorTest, NothingMovesAtEOFUntilFirst)
{
    Start();
    Table->Last();
    EXPECT_EQ(Calls->Take(), "SeekRow(2,0)\nQueryRows(20,1)\nQueryRows(-1,1)");
    EXPECT_TRUE(Table->Get_EOF());
    EXPECT_EQ(Row(), 45);
    Table->Next();
    Table->Previous();
    Table->MoveBy(tbkBeginning, 3);
    EXPECT_EQ(Calls->Take(), "");
    EXPECT_EQ(Row(), 45);
    Table->First();
    EXPECT_FALSE(Table->Get_EOF());
    EXPECT_EQ(Row(), 1);
}

TEST_F(TTableCursorTest, MovingBackOntoTheFirstCachedRowReadsAgain)
{
    Start();
    Table->Next();
    Table->Next();
    Table->Previous();
    EXPECT_EQ(Calls->Take(), "");
    EXPECT_EQ(Row(), 2);
    Table->Previous();
    EXPECT_EQ(Calls->Take(), "SeekRow(1,-20)\nQueryRows(20,1)");
    EXPECT_EQ(Row(), 1);
    Table->MoveBy(tbkCurrentRelative, 0);
    EXPECT_EQ(Calls->Take(), "");
}

TEST_F(TTableCursorTest, AtTheEndRelativeSeeksCountFromTheLastRow)
{
    Start();
    WordBool found = false;
    Table->Last(); // its read does not advance
    Table->SeekRow(tbkCurrentRelative, -1, found);
    EXPECT_TRUE(found);
    EXPECT_EQ(Row(), 44);
    for (Table->First(); !Table->Get_EOF();) // its last read advances
        Table->Next();
    Table->SeekRow(tbkCurrentRelative, 0, found);
    EXPECT_TRUE(found);
    EXPECT_EQ(Row(), 45);
    Table->SeekRow(tbkCurrentRelative, std::numeric_limits<std::int32_t>::max(), found);
    EXPECT_FALSE(found);
    Table->First();
    Table->Next();
    Table->MoveBy(tbkCurrentRelative, std::numeric_limits<std::int32_t>::max());
    EXPECT_TRUE(Table->Get_EOF());
}

TEST_F(TTableCursorTest, AFieldTakenOutOfTheListReadsNothing)
{
    const auto fields = Table->Get_Fields();
    const std::function<void()> ways[] = {[&] { fields->Remove(*Number); }, [&] { fields->Delete(0); },
                                          [&] { fields->Clear(); }};
    for (const auto& takeOut : ways) {
        Table->Close();
        fields->Clear();
        Number = fields->Add(PR_MESSAGE_SIZE);
        fields->Add(PR_SUBJECT);
        Start();
        EXPECT_EQ(Row(), 1);
        takeOut();
        EXPECT_EQ(Catch([&] { return Row(); }),
                  Failure("EMAPI_INVALID_PARAMETER", 0x80070057,
                          "The requested field \"PR_MESSAGE_SIZE\" is not a field of this table!"));
    }
}

TEST_F(TTableCursorTest, RelativeMovesCountFromTheCurrentRow)
{
    Start();
    Table->MoveBy(tbkCurrentRelative, 18);
    EXPECT_EQ(Row(), 19);
    EXPECT_EQ(Calls->Take(), "");
    Table->MoveBy(tbkCurrentRelative, 5); // leaves the batch, whose end the MAPI position stands at
    EXPECT_EQ(Calls->Take(), "SeekRow(1,3)\nQueryRows(20,1)");
    EXPECT_EQ(Row(), 24);
    Table->MoveBy(tbkCurrentRelative, -10);
    EXPECT_EQ(Calls->Take(), "SeekRow(1,-10)\nQueryRows(20,1)");
    EXPECT_EQ(Row(), 14);
    // The batch was read without advancing; what comes after it must still come after it.
    for (std::int32_t row = 14; row <= 45; ++row, Table->Next())
        ASSERT_EQ(Row(), row);
    EXPECT_TRUE(Table->Get_EOF());
}

TEST_F(TTableCursorTest, MovesFromEachOriginAndPastTheEnds)
{
    struct TMove
    {
        TKwMapiTableBookmark Origin;
        std::int32_t Count;
        const char* Calls;
        std::int32_t Row;
        bool EOFSet;
    };
    const TMove moves[] = {
        {tbkCurrentRelative, -3, "SeekRow(1,-23)\nSeekRow(0,0)\nQueryRows(20,1)", 1, false},
        {tbkBeginning, 30, "SeekRow(0,30)\nQueryRows(20,0)", 31, false},
        {tbkCurrentRelative, -30, "SeekRow(1,-45)\nQueryRows(20,1)", 1, false},
        {tbkEnd, -5, "SeekRow(2,-5)\nQueryRows(20,1)", 41, false},
        {tbkCurrentRelative, 100, "SeekRow(1,100)\nSeekRow(2,0)\nQueryRows(20,1)\nQueryRows(-1,1)", 45, true},
        {tbkEnd, 1, "SeekRow(2,1)\nQueryRows(20,1)\nQueryRows(-1,1)", 45, true},
        {tbkBeginning, 50, "SeekRow(0,50)\nQueryRows(20,0)\nQueryRows(-1,0)", 45, true},
    };
    Start();
    for (const TMove& move : moves) {
        if (Table->Get_EOF())
            Start();
        Table->MoveBy(move.Origin, move.Count);
        EXPECT_EQ(Calls->Take(), move.Calls) << move.Origin << ' ' << move.Count;
        EXPECT_EQ(Row(), move.Row) << move.Origin << ' ' << move.Count;
        EXPECT_EQ(Table->Get_EOF(), move.EOFSet) << move.Origin << ' ' << move.Count;
    }
}

TEST_F(TTableCursorTest, EveryMoveOpensAnInactiveTable)
{
    Table->MoveBy(tbkBeginning, 7); // opening stands at the first row, and that is all
    EXPECT_TRUE(Table->Get_Active());
    EXPECT_EQ(Row(), 1);
    Table->Close();
    EXPECT_FALSE(Table->Get_Active());
    Table->Next();
    EXPECT_EQ(Row(), 2);
    Table->Close();
    EXPECT_EQ(Row(), 1); // reading a field, too
    Table->Close();
    static_cast<void>(Calls->Take());
    EXPECT_EQ(Table->Get_RowCount(), 45);
    EXPECT_EQ(Table->Get_RowCount(), 45);
    EXPECT_EQ(Calls->Count("GetRowCount"), 1u);
}

TEST_F(TTableCursorTest, EmptyTableIsAtItsEnd)
{
    Object->Rows.clear();
    Table->First();
    EXPECT_TRUE(Table->Get_EOF());
    EXPECT_EQ(Table->Get_RowCount(), 0);
    const TCaught none =
        Failure("EMAPI_CALL_FAILED", 0x80004005, "No record has been retrieved yet! Is the table active and not EOF?");
    EXPECT_EQ(Catch([&] { return Row(); }), none);
    EXPECT_EQ(Catch([&] { Table->CheckEOF(); }), Failure("EMAPI_CALL_FAILED", 0x80004005, "The table is EOF!"));
    Table->Last();
    EXPECT_TRUE(Table->Get_EOF());
}

TEST_F(TTableCursorTest, SeekRowFindsARowOrSaysThatItIsNotThere)
{
    Start();
    WordBool found = false;
    Table->SeekRow(tbkBeginning, 11, found);
    EXPECT_EQ(Calls->Take(), "SeekRow(0,11)\nQueryRows(1,0)");
    EXPECT_TRUE(found);
    EXPECT_EQ(Row(), 12);
    Table->SeekRow(tbkCurrentRelative, 2, found);
    EXPECT_TRUE(found);
    EXPECT_EQ(Row(), 14);
    Table->SeekRow(tbkEnd, -1, found);
    EXPECT_TRUE(found);
    EXPECT_EQ(Row(), 45);
    Table->SeekRow(tbkBeginning, 45, found);
    EXPECT_FALSE(found);
    EXPECT_TRUE(Table->Get_EOF());
    Table->SeekRow(tbkCurrentRelative, -100, found);
    EXPECT_FALSE(found);
    EXPECT_EQ(Catch([&] { Table->SeekRow(static_cast<TKwMapiTableBookmark>(3), 0, found); }).ClassName,
              "EMAPI_INVALID_PARAMETER");
}

TEST_F(TTableCursorTest, AWalkReadsEachBatchOnce)
{
    for (const std::int32_t count : {0, 1, 19, 20, 21, 40, 45, 61}) {
        for (const std::int32_t batch : {1, 7, 20, 100}) {
            const TKwComPtr<TScriptedTable> object = NewTable(count);
            Table = KwMake<TKwMAPITable>(*Prop, object.Get(), nullptr);
            Number = Table->Get_Fields()->Add(PR_MESSAGE_SIZE);
            Table->Set_BatchSize(batch);
            static_cast<void>(Calls->Take());
            std::int32_t rows = 0;
            for (Table->First(); !Table->Get_EOF(); Table->Next())
                EXPECT_EQ(Row(), ++rows);
            EXPECT_EQ(rows, count);
            // The batches with rows, one without, and the step back onto the last row.
            EXPECT_EQ(Calls->Count("QueryRows"), static_cast<std::size_t>((count + batch - 1) / batch + 2))
                << count << " in " << batch;
            EXPECT_EQ(Calls->Count("SeekRow"), 1u);
        }
    }
}

TEST_F(TTableCursorTest, ClientsMayReturnFewerRowsThanAskedFor)
{
    Object->MostRows = 6;
    std::int32_t rows = 0;
    for (Table->First(); !Table->Get_EOF(); Table->Next())
        ASSERT_EQ(Row(), ++rows);
    EXPECT_EQ(rows, 45);
    EXPECT_EQ(Calls->Count("QueryRows"), 10u);
    Table->First();
    Table->MoveBy(tbkCurrentRelative, 10); // past what came, within what was asked for
    EXPECT_EQ(Row(), 11);
    Table->MoveBy(tbkCurrentRelative, -4);
    EXPECT_EQ(Row(), 7);
    for (rows = 7; rows <= 20; ++rows, Table->Next())
        ASSERT_EQ(Row(), rows);
    Table->Last();
    EXPECT_EQ(Row(), 45);
}

TEST_F(TTableCursorTest, BatchSizeIsTakenAsGiven)
{
    EXPECT_EQ(Table->Get_BatchSize(), 20);
    for (const std::int32_t size : {7, 0, -1}) { // not corrected
        Table->Set_BatchSize(size);
        EXPECT_EQ(Table->Get_BatchSize(), size);
    }
    EXPECT_EQ(Table->Get_CursorType(), ctDynamic);
}

TEST_F(TTableCursorTest, ApproximateCountIsCountedByWalking)
{
    Calls->Next("GetRowCount", mapi::MAPI_W_APPROX_COUNT);
    Table->Open();
    EXPECT_EQ(Calls->Take(), "SetColumns([0x0E080003],0)\nGetRowCount(0)\nSeekRow(0,0)\nSeekRow(1,20)\nSeekRow(1,20)\n"
                             "SeekRow(1,20)\nSeekRow(1,20)");
    EXPECT_EQ(Table->Get_RowCount(), 45);
    Table->First();
    EXPECT_EQ(Row(), 1);
}

TEST_F(TTableCursorTest, SortBeginsAnew)
{
    Start();
    Table->Last();
    static_cast<void>(Calls->Take());
    Object->Rows.pop_back();
    Table->Sort(PR_SUBJECT, true);
    EXPECT_EQ(Calls->Take(), "SortTable(0x0037001F:1,0)\nGetRowCount(0)");
    EXPECT_FALSE(Table->Get_EOF());
    EXPECT_EQ(Table->Get_RowCount(), 44);
    EXPECT_EQ(Row(), 1);
    Table->Sort(PR_MESSAGE_SIZE, false);
    EXPECT_EQ(Calls->Take(), "SeekRow(0,0)\nQueryRows(20,0)\nSortTable(0x0E080003:0,0)\nGetRowCount(0)");
}

TEST_F(TTableCursorTest, LogoffLeavesATableWithoutRows)
{
    Start();
    Session->Set_Active(false);
    EXPECT_EQ(Table->MAPITable(), nullptr);
    EXPECT_EQ(TScriptedAllocator::Live(), 0u);
    EXPECT_TRUE(Table->Get_EOF());
    EXPECT_FALSE(Table->Get_Active());
    EXPECT_EQ(Table->Get_RowCount(), 0);
    Table->First();
    Table->Next();
    WordBool found = true;
    Table->SeekRow(tbkBeginning, 0, found);
    EXPECT_FALSE(found);
    EXPECT_EQ(Catch([&] { Table->Open(); }),
              Failure("EMAPI_CALL_FAILED", 0x80004005, "Cannot open the table. There is no MAPIOBJECT!"));
    EXPECT_EQ(Catch([&] { return Row(); }).ClassName, "EMAPI_CALL_FAILED");
}

} // namespace
} // namespace deftmapi::test
