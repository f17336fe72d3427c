// Failures of the calls below a table: their texts, the one retry, and that nothing leaks whatever fails.
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/session/uKwMAPIContainer.hpp"
#include "tests/table/TableFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TTableFailureTest : public TTableTest
{
protected:
    /// A table that can be fetched again; the new one has other rows, so that a test sees which one it reads.
    void MakeReopenable()
    {
        Fresh = NewTable(3);
        Fresh->Columns = {GetPropTag(PR_ENTRYID)};
        Table = KwMake<TKwMAPITable>(*Prop, Object.Get(), [this] {
            ++Reopened;
            return TKwComPtr<mapi::IMAPITable>(Fresh.Get());
        });
        Number = Table->Get_Fields()->Add(PR_MESSAGE_SIZE);
    }

    TKwComPtr<TScriptedTable> Fresh;
    int Reopened = 0;
};

const TCaught columnsBusy =
    Failure("EMAPI_BUSY", 0x8004010B,
            "TKwMAPITable.Open failed!\r\nAnother operation is in progress that prevents the Field setting "
            "operation from starting.\r\nEither the operation in progress should be allowed to complete or it "
            "should be stopped");

TEST_F(TTableFailureTest, OpenFallsBackToTheColumnsOfTheTable)
{
    Object->KnowsOnlyColumns = true;
    Table->Get_Fields()->Add(PR_SUBJECT);
    Table->Open();
    EXPECT_EQ(Calls->Take(), "SetColumns([0x0E080003,0x0037001F],0)\nQueryColumns(0)\nSetColumns([0x0E080003],0)\n"
                             "GetRowCount(0)");
    ASSERT_EQ(Table->Get_Fields()->Get_Count(), 1);
    EXPECT_EQ(Table->GetFieldValue(PR_MESSAGE_SIZE).AsInteger(), 1);

    const auto plain = KwMake<TKwMAPITable>(*Prop, Object.Get(), nullptr);
    static_cast<void>(Calls->Take());
    plain->Open();
    EXPECT_EQ(Calls->Take(), "QueryColumns(0)\nGetRowCount(0)");
    EXPECT_EQ(plain->GetFieldValue(PR_MESSAGE_SIZE).AsInteger(), 1);
}

TEST_F(TTableFailureTest, OpenFailures)
{
    Calls->Next("SetColumns", mapi::MAPI_E_BUSY);
    EXPECT_EQ(Catch([&] { Table->Open(); }), columnsBusy);
    Calls->Next("SetColumns", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { Table->Open(); }).Message.substr(0, 65),
              "TKwMAPITable.Open has raised the following exception:\r\nThe caller");
    Calls->Next("GetRowCount", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Catch([&] { Table->Open(); }),
              Failure("EMAPI_NO_SUPPORT", 0x80040102,
                      "TKwMAPITable.Open failed!\r\nThe table cannot calculate the number of rows."));
    Calls->Next("GetRowCount", mapi::MAPI_E_BUSY);
    EXPECT_EQ(Catch([&] { Table->Open(); }),
              Failure("EMAPI_BUSY", 0x8004010B,
                      "TKwMAPITable.Open failed!\r\nAnother operation is in progress that prevents the row count "
                      "retrieval operation from starting. \r\nEither the operation in progress should be allowed to "
                      "complete or it should be stopped."));
    EXPECT_FALSE(Table->Get_Active());
    Table->Open();
    EXPECT_TRUE(Table->Get_Active());
}

TEST_F(TTableFailureTest, OpenTriesTheColumnsOfTheTableOnce)
{
    Calls->Next("SetColumns", mapi::MAPI_E_INVALID_PARAMETER);
    Calls->Next("SetColumns", mapi::MAPI_E_INVALID_PARAMETER);
    const TCaught invalid = Catch([&] { Table->Open(); });
    EXPECT_EQ(invalid.ClassName, "EMAPI_INVALID_PARAMETER");
    EXPECT_EQ(invalid.Message.rfind("TKwMAPITable.Open has raised the following exception:\r\n", 0), 0u) << invalid;
    EXPECT_EQ(Calls->Take(), "SetColumns([0x0E080003],0)\nQueryColumns(0)\nSetColumns([0x0E080003],0)");
    EXPECT_FALSE(Table->Get_Active());

    Calls->Next("SetColumns", mapi::MAPI_E_INVALID_PARAMETER);
    Calls->Next("SetColumns", mapi::MAPI_E_BUSY);
    EXPECT_EQ(Catch([&] { Table->Open(); }), columnsBusy);
    EXPECT_EQ(Calls->Count("SetColumns"), 2u);
    EXPECT_FALSE(Table->Get_Active());
}

TEST_F(TTableFailureTest, RowCountFailuresNameTheOperationThatCounts)
{
    const auto failing = [&](auto&& action) {
        Calls->Next("GetRowCount", mapi::MAPI_E_NETWORK_ERROR);
        return Catch(action).Message;
    };
    const auto named = [](const std::string& operation) {
        return "TKwMAPITable." + operation +
               " has raised the following exception:\r\nMAPI_E_NETWORK_ERROR (-2147221227=0x80040115)";
    };
    EXPECT_EQ(failing([&] { Table->Open(); }), named("Open"));
    EXPECT_EQ(failing([&] { Table->Sort(PR_MESSAGE_SIZE, false); }), named("Sort"));

    MakeReopenable();
    Start();
    Calls->Next("QueryRows", mapi::MAPI_E_END_OF_SESSION);
    Table->First();
    ASSERT_EQ(Reopened, 1);
    EXPECT_EQ(failing([&] { return Table->Get_RowCount(); }), named("Get_RowCount"));
}

TEST_F(TTableFailureTest, QueryRowsFailures)
{
    Start();
    Calls->Next("QueryRows", mapi::MAPI_E_BUSY);
    EXPECT_EQ(Catch([&] { Table->Last(); }),
              Failure("EMAPI_BUSY", 0x8004010B,
                      "TKwMAPITable.QueryRows failed!\r\nAnother operation is in progress that prevents the row "
                      "retrieval operation from starting. \r\nEither the operation in progress should be allowed to "
                      "complete or it should be stopped!"));
    Calls->Next("QueryRows", mapi::MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(Catch([&] { Table->First(); }),
              Failure("EMAPI_INVALID_PARAMETER", 0x80070057,
                      "TKwMAPITable.QueryRows failed!\r\nThe rows could not be read, because of an invalid Fieldname"
                      "\r\nThe RowCount is set to zero."));
    EXPECT_EQ(Table->Get_RowCount(), 0);
    Calls->Next("QueryRows", mapi::MAPI_E_CORRUPT_DATA);
    EXPECT_EQ(Catch([&] { Table->First(); }).Message.substr(0, 75),
              "TKwMAPITable.QueryRows has raised the following exception:\r\nMAPI_E_CORRUPT_");
}

TEST_F(TTableFailureTest, CorruptDataOfAnExchangeAddressBookIsExplained)
{
    const TCaught plain = Failure("EMAPI_CORRUPT_DATA", 0x8004011B,
                                  "TKwMAPITable.QueryRows has raised the following exception:\r\nMAPI_E_CORRUPT_DATA "
                                  "(-2147221221=0x8004011b)");
    const TCaught explained = Failure(
        "EMAPI_CORRUPT_DATA", 0x8004011B,
        "TKwMAPITable.QueryRows failed because of corrupt data!\r\nThis can happen when the contents of the GAL "
        "is read from an Exchange Server on which Outlook is installed.\r\nIn this case the problem can be "
        "solved by uninstalling Outlook on the Exchange Server.\r\nIt can also happen when using unpatched "
        "versions of Outlook 2003 or 2007.\r\nIn this case the problem can be solved by installing the "
        "servicepacks.");
    for (const bool exchange : {true, false}) {
        Session->ConnectedToExchange = exchange;
        for (const mapi::ULONG type : {mapi::MAPI_ABCONT, mapi::MAPI_FOLDER, mapi::MAPI_DISTLIST}) {
            const TKwComPtr<TScriptedProp> object = NewObject();
            object->Bag.Set(LongValue(GetPropTag(PR_OBJECT_TYPE), static_cast<std::int32_t>(type)));
            const auto container = KwMake<TKwMAPIContainer>(*Session);
            container->SetMAPIOBJECT(object.Get());
            const auto table = KwMake<TKwMAPITable>(*container, Object.Get(), nullptr);
            table->Get_Fields()->Add(PR_MESSAGE_SIZE);
            Calls->Next("QueryRows", mapi::MAPI_E_CORRUPT_DATA);
            EXPECT_EQ(Catch([&] { table->First(); }), exchange && type == mapi::MAPI_ABCONT ? explained : plain)
                << exchange << " " << type;
        }
    }
}

TEST_F(TTableFailureTest, ReadAtTheEndRaisesOnlyWhenAskedTo)
{
    Start();
    std::int32_t sought = 0;
    for (const bool raise : {false, true}) {
        for (const mapi::HRESULT hr : {mapi::MAPI_E_INVALID_PARAMETER, mapi::MAPI_E_NETWORK_ERROR, mapi::MAPI_E_BUSY}) {
            Table->First();
            Table->MAPISeekRow(tbkEnd, 0, sought);
            Calls->Next("QueryRows", std::nullopt);
            Calls->Next("QueryRows", hr);
            const TCaught caught = Catch([&] { EXPECT_FALSE(Table->GetRowset(1, true, raise)); });
            const bool raises = hr == mapi::MAPI_E_BUSY || (raise && hr == mapi::MAPI_E_NETWORK_ERROR);
            EXPECT_EQ(caught.Code, raises ? static_cast<std::uint32_t>(hr) : 0u) << raise;
            EXPECT_TRUE(Table->Get_EOF());
        }
    }
}

TEST_F(TTableFailureTest, SeekFailures)
{
    Start();
    std::int32_t sought = 5;
    Calls->Next("SeekRow", mapi::MAPI_E_BUSY);
    EXPECT_EQ(Catch([&] { Table->Last(); }),
              Failure("EMAPI_BUSY", 0x8004010B,
                      "TKwMAPITable.MAPISeekRow failed!\r\nAnother operation is in progress that prevents the row "
                      "seeking operation from starting.\r\nEither the operation in progress should be allowed to "
                      "complete or it should be stopped."));
    Calls->Next("SeekRow", mapi::MAPI_E_TIMEOUT);
    EXPECT_EQ(Catch([&] { Table->MAPISeekRow(tbkEnd, 0, sought); }).ClassName, "EMAPI_TIMEOUT");

    Table->First();
    Calls->Next("SeekRow", mapi::MAPI_E_INVALID_BOOKMARK);
    Table->MAPISeekRow(tbkCurrentRelative, 3, sought);
    EXPECT_EQ(sought, 0);
    EXPECT_TRUE(Table->Get_EOF());
    EXPECT_EQ(TScriptedAllocator::Live(), 0u); // whatever a seek brings, the cached rows are gone

    Bag().Error = u"Rows went away";
    Bag().Component = u"Store";
    Calls->Next("SeekRow", mapi::MAPI_W_POSITION_CHANGED);
    EXPECT_EQ(Catch([&] { Table->MAPISeekRow(tbkEnd, 0, sought); }).Message,
              "Component Store caused: Rows went away (TTestProp.MAPISeekRow)");

    // An owner that is no property object, like a session, has no text of its own.
    const auto table = KwMake<TKwMAPITable>(*Session, Object.Get(), nullptr);
    Calls->Next("SeekRow", mapi::MAPI_W_POSITION_CHANGED);
    EXPECT_EQ(Catch([&] { table->MAPISeekRow(tbkEnd, 0, sought); }),
              Failure("EMAPI_W_POSITION_CHANGED", 0x00040481,
                      "TKwMAPITable.MAPISeekRow has raised the following exception:\r\nMAPI_W_POSITION_CHANGED "
                      "(263297)"));
}

TEST_F(TTableFailureTest, EndOfSessionFetchesTheTableAgainOnce)
{
    MakeReopenable();
    Table->Sort(PR_MESSAGE_SIZE, true);
    Calls->Next("SortTable", mapi::MAPI_E_TOO_COMPLEX);
    EXPECT_EQ(Catch([&] { Table->Sort(PR_SUBJECT, false); }).Message,
              "TKwMAPITable.Sort has raised the following exception:\r\nMAPI_E_TOO_COMPLEX (-2147221225=0x80040117)");
    Start();
    Calls->Next("QueryRows", mapi::MAPI_E_END_OF_SESSION);
    Table->First();
    EXPECT_EQ(Calls->Take(), "SeekRow(0,0)\nQueryRows(20,0)\nSortTable(0x0E080003:1,0)\nSetColumns([0x0E080003],0)\n"
                             "QueryRows(20,0)");
    EXPECT_EQ(Reopened, 1);
    EXPECT_EQ(Table->MAPITable(), Fresh.Get());
    EXPECT_EQ(Row(), 1);
    EXPECT_EQ(Table->Get_RowCount(), 3);

    Calls->Next("SeekRow", mapi::MAPI_E_END_OF_SESSION);
    Table->Last();
    EXPECT_EQ(Reopened, 2);
    EXPECT_EQ(Row(), 3);

    std::int32_t sought = 0;
    Calls->Next("SeekRow", mapi::MAPI_E_END_OF_SESSION);
    Table->MAPISeekRow(tbkBeginning, 0, sought); // a seek to where a fetched table stands needs no table
    EXPECT_EQ(Reopened, 2);

    Calls->Next("QueryRows", mapi::MAPI_E_END_OF_SESSION);
    Calls->Next("QueryRows", mapi::MAPI_E_END_OF_SESSION);
    EXPECT_EQ(Catch([&] { Table->First(); }).ClassName, "EMAPI_END_OF_SESSION");
    EXPECT_EQ(Reopened, 3);
}

TEST_F(TTableFailureTest, AfterAFetchThatFailsNoRowOfTheOldTableIsShown)
{
    enum class TFailure
    {
        NoTable,
        Raises,
        NoColumns
    };
    const char* const raised[] = {"EMAPI_END_OF_SESSION", "EMAPI_NETWORK_ERROR", "EMAPI_NO_ACCESS"};
    for (const char* const method : {"SeekRow", "QueryRows"}) {
        for (const TFailure failure : {TFailure::NoTable, TFailure::Raises, TFailure::NoColumns}) {
            SCOPED_TRACE(method + std::string(" ") + raised[static_cast<int>(failure)]);
            const TKwComPtr<TScriptedTable> fresh = NewTable(0);
            fresh->AddRow({LongValue(GetPropTag(PR_MESSAGE_SIZE), 100)});
            Table = KwMake<TKwMAPITable>(*Prop, Object.Get(), [&]() -> TKwComPtr<mapi::IMAPITable> {
                if (failure == TFailure::Raises)
                    CreateKwMAPIException(mapi::MAPI_E_NETWORK_ERROR, u"gone")->Raise();
                return TKwComPtr<mapi::IMAPITable>(failure == TFailure::NoTable ? nullptr : fresh.Get());
            });
            Number = Table->Get_Fields()->Add(PR_MESSAGE_SIZE);
            Table->First();
            Table->Next();
            EXPECT_EQ(Row(), 2);
            Calls->Next(method, mapi::MAPI_E_END_OF_SESSION);
            if (failure == TFailure::NoColumns)
                Calls->Next("SetColumns", mapi::MAPI_E_NO_ACCESS);
            WordBool found = true;
            EXPECT_EQ(Catch([&] { Table->SeekRow(tbkEnd, -1, found); }).ClassName, raised[static_cast<int>(failure)]);
            EXPECT_FALSE(found);
            EXPECT_EQ(TScriptedAllocator::Live(), 0u) << "rows of the old table";
            switch (failure) {
            case TFailure::NoTable:
                EXPECT_TRUE(Table->Get_EOF());
                EXPECT_EQ(Table->Get_RowCount(), 0);
                EXPECT_EQ(Catch([&] { return Row(); }),
                          Failure("EMAPI_CALL_FAILED", 0x80004005,
                                  "No record has been retrieved yet! Is the table active and not EOF?"));
                break;
            case TFailure::Raises: // the old table is still the one there is
                EXPECT_EQ(Row(), 1);
                break;
            case TFailure::NoColumns: // the new one is, and gets its columns when it is read
                EXPECT_EQ(Row(), 100);
                EXPECT_EQ(Table->Get_RowCount(), 1);
            }
        }
    }
}

TEST_F(TTableFailureTest, NoCallThatFailsLeaksOrLeavesATableThatCannotGoOn)
{
    MakeReopenable();
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 100);
        Table->Close();
        Calls->FailNth(n, n % 2 == 0 ? mapi::MAPI_E_END_OF_SESSION : mapi::MAPI_E_NOT_ENOUGH_MEMORY);
        const TCaught caught = Catch([&] {
            for (Table->First(); !Table->Get_EOF(); Table->Next())
                static_cast<void>(Row());
        });
        const bool failed = Calls->Failed();
        Calls->FailNth(0, 0);
        std::int32_t rows = 0;
        for (Table->First(); !Table->Get_EOF(); Table->Next())
            ++rows;
        EXPECT_EQ(rows, Reopened == 0 ? 45 : 3) << n << " " << caught;
        if (!failed)
            break;
    }
}

} // namespace
} // namespace deftmapi::test
