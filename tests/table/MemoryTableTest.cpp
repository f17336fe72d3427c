// Tables in memory: moving, changing, finding, ordering and copying rows.
#include "mapi/table/uKwMAPIMemoryTable.hpp"
#include "tests/table/TableFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TMemoryTableTest : public TTableTest
{
protected:
    TMemoryTableTest() : Rows(KwMake<TKwMAPIMemoryTable>(Prop.Get()))
    {
        Rows->Get_Fields()->Add(PR_DISPLAY_NAME);
        Rows->Get_Fields()->Add(PR_RECIPIENT_TYPE);
        Rows->Get_Fields()->Add(PR_ENTRYID);
    }
    void Add(const char16_t* name, std::int32_t type)
    {
        Rows->Insert();
        Rows->SetFieldValue(PR_DISPLAY_NAME, name);
        Rows->SetFieldValue(PR_RECIPIENT_TYPE, type);
    }
    [[nodiscard]] WideString Name() { return Rows->GetFieldValue(PR_DISPLAY_NAME).AsStringW(); }
    /// The names from the first row to the end.
    [[nodiscard]] static WideString Names(IKwMAPITable& table)
    {
        WideString names;
        for (table.First(); !table.Get_EOF(); table.Next())
            names += table.GetFieldValue(PR_DISPLAY_NAME).AsStringW() + u" ";
        return names;
    }

    TKwRef<TKwMAPIMemoryTable> Rows;
};

const TCaught atEnd = Failure("EMAPI_CALL_FAILED", 0x80004005, "The table is EOF!");

TEST_F(TMemoryTableTest, WhatIsInsertedIsCurrentAndLast)
{
    EXPECT_TRUE(Rows->Get_EOF());
    EXPECT_FALSE(Rows->GetModified());
    Add(u"Anna", rtTo);
    Add(u"Bert", rtCC);
    EXPECT_EQ(Name(), u"Bert");
    EXPECT_FALSE(Rows->Get_EOF());
    EXPECT_EQ(Rows->Get_RowCount(), 2);
    EXPECT_TRUE(Rows->GetModified());
    EXPECT_EQ(Names(*Rows), u"Anna Bert ");
    EXPECT_TRUE(Rows->GetFieldValue(PR_ENTRYID).IsEmpty());

    const auto type = Rows->Get_Fields()->FieldByName(PR_RECIPIENT_TYPE);
    Rows->First();
    type->Set_Value(u"3"); // becomes what the property is
    EXPECT_EQ(type->Get_Value().Kind(), TKwVarKind::vkLongInt);
    EXPECT_EQ(type->Get_AsInteger(), 3);
    EXPECT_EQ(Catch([&] { type->Set_Value(u"three"); }).ClassName, "EKwConvertError");
    EXPECT_EQ(type->Get_AsInteger(), 3);
    type->Set_Value(TKwNull{});
    EXPECT_TRUE(type->Get_Value().IsEmpty());
}

TEST_F(TMemoryTableTest, Moving)
{
    for (const char16_t* name : {u"1", u"2", u"3", u"4"})
        Add(name, rtTo);
    Rows->Last();
    EXPECT_EQ(Name(), u"4");
    EXPECT_FALSE(Rows->Get_EOF());
    Rows->Next();
    EXPECT_TRUE(Rows->Get_EOF());
    EXPECT_EQ(Name(), u"4");
    Rows->Next();
    Rows->Previous();
    EXPECT_EQ(Name(), u"3");
    EXPECT_FALSE(Rows->Get_EOF());
    Rows->MoveBy(tbkBeginning, 1);
    EXPECT_EQ(Name(), u"2");
    Rows->MoveBy(tbkCurrentRelative, -5);
    EXPECT_EQ(Name(), u"1");
    Rows->MoveBy(tbkEnd, -2);
    EXPECT_EQ(Name(), u"3");
    Rows->MoveBy(tbkCurrentRelative, std::numeric_limits<std::int32_t>::max());
    EXPECT_TRUE(Rows->Get_EOF());

    WordBool found = false;
    Rows->SeekRow(tbkBeginning, 2, found);
    EXPECT_TRUE(found);
    EXPECT_EQ(Name(), u"3");
    Rows->SeekRow(tbkCurrentRelative, -3, found);
    EXPECT_FALSE(found);
    Rows->SeekRow(tbkEnd, 0, found);
    EXPECT_FALSE(found);
    EXPECT_TRUE(Rows->Get_EOF());
    EXPECT_EQ(Catch([&] { Rows->SeekRow(static_cast<TKwMapiTableBookmark>(5), 0, found); }).Code, 0x80070057u);

    Rows->Close();
    EXPECT_FALSE(Rows->Get_Active());
    EXPECT_EQ(Name(), u"1");
    EXPECT_TRUE(Rows->Get_Active());
}

TEST_F(TMemoryTableTest, DeletingMakesTheNextRowCurrent)
{
    for (const char16_t* name : {u"1", u"2", u"3"})
        Add(name, rtTo);
    Rows->First();
    Rows->Delete();
    EXPECT_EQ(Name(), u"2");
    Rows->Next();
    Rows->Delete();
    EXPECT_TRUE(Rows->Get_EOF());
    EXPECT_EQ(Catch([&] { Rows->Delete(); }), atEnd);
    EXPECT_EQ(Catch([&] { Rows->SetFieldValue(PR_DISPLAY_NAME, u"x"); }), atEnd);
    EXPECT_EQ(Names(*Rows), u"2 ");
    Rows->First();
    Rows->Delete();
    EXPECT_EQ(Rows->Get_RowCount(), 0);
    EXPECT_EQ(
        Catch([&] { return Name(); }),
        Failure("EMAPI_CALL_FAILED", 0x80004005, "No record has been retrieved yet! Is the table active and not EOF?"));
    Add(u"4", rtTo);
    Rows->SetModified(false);
    Rows->Clear();
    EXPECT_TRUE(Rows->GetModified());
    EXPECT_EQ(Names(*Rows), u"");
}

TEST_F(TMemoryTableTest, Locating)
{
    Add(u"Anna", rtTo);
    Rows->SetFieldValue(PR_ENTRYID, TKwBytes{1, 2});
    Add(u"Bert", rtCC);
    Add(u"Anna", rtCC);
    WordBool found = false;
    Rows->Locate(PR_ENTRYID, TKwBytes{1, 2}, found);
    EXPECT_TRUE(found);
    EXPECT_EQ(Name(), u"Anna");
    Rows->Locate({{PR_DISPLAY_NAME, u"Anna"}, {PR_RECIPIENT_TYPE, 2}}, found);
    EXPECT_TRUE(found);
    EXPECT_TRUE(Rows->GetFieldValue(PR_ENTRYID).IsEmpty());
    Rows->Locate(PR_DISPLAY_NAME, u"Carl", found);
    EXPECT_FALSE(found);
    EXPECT_EQ(Rows->GetFieldValue(PR_RECIPIENT_TYPE).AsInteger(), 2); // nothing moved
    Rows->Locate(PR_ENTRYID, TKwNull{}, found);                       // the first without one
    EXPECT_EQ(Name(), u"Bert");
    EXPECT_EQ(Catch([&] { Rows->Locate(PR_SUBJECT, u"x", found); }).Message, "There is no field PR_SUBJECT!");
    Rows->Locate({{PR_DISPLAY_NAME, u"Anna"}, {PR_RECIPIENT_TYPE, u"2"}}, found); // as the column keeps it
    EXPECT_TRUE(found);
    EXPECT_THROW(Rows->Locate(PR_RECIPIENT_TYPE, u"two", found), EKwExceptionBase);
}

TEST_F(TMemoryTableTest, SortingIsStableAndPutsMissingValuesFirst)
{
    Add(u"bert", 2);
    Add(u"Anna", 2);
    Add(u"Carl", 1);
    Add(u"BERT", 1);
    Rows->Insert();
    Rows->SetFieldValue(PR_RECIPIENT_TYPE, 1);
    Rows->Sort(PR_DISPLAY_NAME, false);
    EXPECT_EQ(Names(*Rows), u" Anna bert BERT Carl ");
    Rows->Sort({{PR_RECIPIENT_TYPE, true}, {PR_DISPLAY_NAME, false}});
    EXPECT_EQ(Names(*Rows), u"Anna bert  BERT Carl ");
    Rows->Sort(PR_DISPLAY_NAME, true);
    EXPECT_EQ(Names(*Rows), u"Carl bert BERT Anna  ");
    EXPECT_EQ(Catch([&] { Rows->Sort(PR_SUBJECT, false); }).Message, "There is no field PR_SUBJECT!");
}

TEST_F(TMemoryTableTest, SortingByEveryKindOfValue)
{
    const std::vector<std::pair<mapi::ULONG, std::vector<TKwVariant>>> kinds{
        {mapi::PT_I2, {std::int16_t{-3}, std::int16_t{4}}},
        {mapi::PT_I8, {std::int64_t{-5}, std::int64_t{1} << 40}},
        {mapi::PT_DOUBLE, {-0.5, 0.25}},
        {mapi::PT_BOOLEAN, {false, true}},
        {mapi::PT_CURRENCY, {TKwCurrency{1}, TKwCurrency{2}}},
        {mapi::PT_SYSTIME, {TKwFileTime{1}, TKwFileTime{2}}},
        {mapi::PT_STRING8, {TKwAnsiText{"a"}, TKwAnsiText{"B"}}},
        {mapi::PT_BINARY, {TKwBytes{1, 255}, TKwBytes{2}}},
        {mapi::PT_MV_LONG, {TKwVariant::Array{1, 2}, TKwVariant::Array{1, 2, 0}}},
    };
    for (const auto& [type, values] : kinds) {
        const TKwMAPIPropDef def = RegisterProp(u"PR_SORT_TEST", 0x6A80, type).Hash;
        const auto table = KwMake<TKwMAPIMemoryTable>();
        table->Get_Fields()->Add(def);
        for (const std::size_t i : {1, 0}) {
            table->Insert();
            table->SetFieldValue(def, values[i]);
        }
        table->Sort(def, false);
        EXPECT_EQ(table->GetFieldValue(def), values[0]) << type;
        table->Next();
        EXPECT_EQ(table->GetFieldValue(def), values[1]) << type;
    }
}

TEST_F(TMemoryTableTest, FilteringHidesRows)
{
    Add(u"Anna", rtTo);
    Add(u"Bert", rtCC);
    Add(u"Carl", rtTo);
    Rows->FilterRows(
        [](const IKwMAPIMemoryRow& row) { return row.GetFieldValue(PR_RECIPIENT_TYPE).AsInteger() == rtTo; });
    EXPECT_EQ(Rows->Get_RowCount(), 2);
    EXPECT_EQ(Names(*Rows), u"Anna Carl ");
    WordBool found = true;
    Rows->Locate(PR_DISPLAY_NAME, u"Bert", found);
    EXPECT_FALSE(found);
    Add(u"Dora", rtCC);
    Rows->First();
    Rows->Delete();
    Rows->Sort(PR_DISPLAY_NAME, true);
    EXPECT_EQ(Names(*Rows), u"Dora Carl ");
    Rows->FilterRows(nullptr);
    EXPECT_EQ(Names(*Rows), u"Dora Carl Bert ");
    EXPECT_THROW(Rows->FilterRows([](const IKwMAPIMemoryRow&) -> bool { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_EQ(Rows->Get_RowCount(), 3);
}

TEST_F(TMemoryTableTest, CopyingFromAMAPITable)
{
    Rows->CopyFrom(*Table);
    EXPECT_EQ(Rows->Get_RowCount(), 45);
    ASSERT_EQ(Rows->Get_Fields()->Get_Count(), 1);
    Rows->Last();
    EXPECT_EQ(Rows->GetFieldValue(PR_MESSAGE_SIZE).AsInteger(), 45);
    Rows->CopyDataFrom(*Rows); // into itself
    EXPECT_EQ(Rows->Get_RowCount(), 90);

    Calls->Next("QueryRows", std::nullopt);
    Calls->Next("QueryRows", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch([&] { Rows->CopyDataFrom(*Table); }).ClassName, "EMAPI_NETWORK_ERROR");
    EXPECT_EQ(Rows->Get_RowCount(), 90);
    Rows->Get_Fields()->Add(PR_DISPLAY_NAME);
    Calls->Next("QueryRows", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch([&] { Rows->CopyFrom(*Table); }).ClassName, "EMAPI_NETWORK_ERROR");
    EXPECT_EQ(Rows->Get_RowCount(), 90);
    EXPECT_EQ(Rows->Get_Fields()->Get_Count(), 2);
    Session->Set_Active(false); // the table is gone
    EXPECT_EQ(Catch([&] { Rows->CopyFrom(*Table); }).Message, "Cannot open the table. There is no MAPIOBJECT!");
    EXPECT_EQ(Rows->Get_RowCount(), 90);
}

TEST_F(TMemoryTableTest, CopyingTakesTheFieldsThatBothHave)
{
    Add(u"Anna", rtTo);
    const auto other = KwMake<TKwMAPIMemoryTable>();
    other->Get_Fields()->Add(PR_SUBJECT);
    other->Get_Fields()->Add(PR_DISPLAY_NAME);
    other->CopyDataFrom(*Rows);
    EXPECT_EQ(Names(*other), u"Anna ");
    other->CopyFrom(*Rows);
    EXPECT_EQ(Names(*other), u"Anna ");
    EXPECT_EQ(other->Get_Fields()->Get_Count(), 3);
}

TEST_F(TMemoryTableTest, ValuesBelongToTheRowAndNotToTheField)
{
    Add(u"Anna", rtTo);
    const auto field = Rows->Get_Fields()->FieldByName(PR_DISPLAY_NAME);
    Rows->Get_Fields()->Remove(*field);
    EXPECT_EQ(Catch([&] { return Name(); }).Message, "There is no field PR_DISPLAY_NAME!");
    Rows->Get_Fields()->Add(PR_DISPLAY_NAME);
    EXPECT_EQ(Name(), u"Anna");
    EXPECT_EQ(Rows->GetFieldValue(PR_DISPLAY_NAME_A).AsStringW(), u"Anna"); // the field in its other text form
}

/// As a recipient table does: changes need a field, and every change asks first.
class TGuardedTable final : public TKwMAPIMemoryTable
{
public:
    void Edit() override
    {
        if (Locked)
            CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, u"locked")->Raise();
    }
    bool Locked = true;
};

TEST_F(TMemoryTableTest, EveryChangeCallsEditFirst)
{
    const auto table = KwMake<TGuardedTable>();
    table->Get_Fields()->Add(PR_DISPLAY_NAME);
    table->Locked = false;
    table->Insert();
    table->SetModified(false);
    table->Locked = true;
    EXPECT_EQ(Catch([&] { table->Insert(); }).Message, "locked");
    EXPECT_EQ(Catch([&] { table->Delete(); }).Message, "locked");
    EXPECT_EQ(Catch([&] { table->SetFieldValue(PR_DISPLAY_NAME, u"x"); }).Message, "locked");
    EXPECT_EQ(Catch([&] { table->Clear(); }).Message, "locked");
    EXPECT_EQ(Catch([&] { table->CopyDataFrom(*Rows); }).Message, "locked");
    EXPECT_EQ(table->Get_RowCount(), 1);
    EXPECT_FALSE(table->GetModified());
}

} // namespace
} // namespace deftmapi::test
