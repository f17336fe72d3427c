// Fields: finding them, their columns, their values, and what is left of them without their table.
#include "mapi/table/uKwMAPIMemoryTable.hpp"
#include "tests/table/TableFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TTableFieldsTest : public TTableTest
{
protected:
    TTableFieldsTest() { Object->Rows.clear(); }
    [[nodiscard]] TKwRef<IKwMAPITableFields> Fields() { return Table->Get_Fields(); }
    [[nodiscard]] WideString Text(TKwMAPIPropDef def) { return Table->GetFieldValue(def).AsStringW(); }
};

TEST_F(TTableFieldsTest, FieldsAreFoundByDefinitionThenTagThenTheOtherTextForm)
{
    Fields()->Clear();
    const auto subjectW = Fields()->Add(PR_SUBJECT_W);
    const auto bodyA = Fields()->Add(PR_BODY_A);
    const auto body = Fields()->Add(PR_BODY);
    EXPECT_EQ(Fields()->FieldByName(PR_SUBJECT), subjectW);
    EXPECT_EQ(Fields()->FieldByName(PR_SUBJECT_A), subjectW);
    EXPECT_EQ(Fields()->FieldByName(PR_BODY_A), bodyA);
    EXPECT_EQ(Fields()->FieldByName(PR_BODY_W), body);
    EXPECT_EQ(Catch([&] { return Fields()->FieldByName(PR_MESSAGE_SIZE); }),
              Failure("EMAPI_INVALID_PARAMETER", 0x80070057, "There is no field PR_MESSAGE_SIZE!"));

    Fields()->Remove(*bodyA);
    EXPECT_EQ(Fields()->FieldByName(PR_BODY_A), body);
    Fields()->Delete(0);
    ASSERT_EQ(Fields()->Get_Count(), 1);
    EXPECT_EQ(Fields()->Get_Item(0)->Get_PropName(), u"PR_BODY");
    EXPECT_EQ(Catch([&] { Fields()->Delete(1); }).ClassName, "EKwListError");
    EXPECT_EQ(Catch([&] { return Fields()->Get_Item(-1); }).ClassName, "EKwListError");
}

TEST_F(TTableFieldsTest, ValuesOfTheCurrentRow)
{
    const TKwBytes id{0x0A, 0x0B};
    mapi::SPropValue entryID{};
    entryID.ulPropTag = GetPropTag(PR_ENTRYID);
    entryID.Value.bin = {2, const_cast<mapi::BYTE*>(id.data())};
    Object->AddRow({LongValue(GetPropTag(PR_MESSAGE_SIZE), 7), TextValue(GetPropTag(PR_SUBJECT), u"Größe"), entryID});
    const auto subject = Fields()->Add(PR_SUBJECT);
    Fields()->Add(PR_ENTRYID);
    Fields()->Add(PR_IMPORTANCE);
    EXPECT_EQ(subject->Get_AsString(), u"Größe");
    EXPECT_EQ(Number->Get_AsInteger(), 7);
    EXPECT_EQ(Table->GetFieldValue(PR_ENTRYID).AsBytes(), id);
    EXPECT_TRUE(Table->GetFieldValue(PR_IMPORTANCE).IsEmpty());
    EXPECT_EQ(Table->GetFieldValue(PR_IMPORTANCE).AsInteger(), 0);
}

TEST_F(TTableFieldsTest, TheOtherTextFormStandsInForAColumnWithoutAValue)
{
    Object->AddRow({TextValue(GetPropTag(PR_SUBJECT_A), "eight bit")});
    Fields()->Add(PR_SUBJECT_W);
    Fields()->Add(PR_SUBJECT_A);
    EXPECT_EQ(Text(PR_SUBJECT_W), u"eight bit");
    Object->AddRow({TextValue(GetPropTag(PR_SUBJECT_W), u"wide")});
    Table->Next();
    EXPECT_EQ(Text(PR_SUBJECT_A), u"wide");
    EXPECT_EQ(Text(PR_SUBJECT_W), u"wide");

    // Lists of texts are no different.
    const TKwMAPIPropDef wide = RegisterProp(u"PR_FIELDS_LIST", 0x6A73, mapi::PT_MV_UNICODE).Hash;
    const TKwMAPIPropDef narrow = RegisterProp(u"PR_FIELDS_LIST_A", 0x6A73, mapi::PT_MV_STRING8).Hash;
    std::string texts[] = {"red", "green"};
    mapi::LPSTR pointers[] = {texts[0].data(), texts[1].data()};
    mapi::SPropValue list{};
    list.ulPropTag = GetPropTag(narrow);
    list.Value.MVszA = {2, pointers};
    Object->Rows.clear();
    Object->AddRow({list});
    Table->Close();
    Fields()->Add(wide);
    Fields()->Add(narrow);
    EXPECT_EQ(Table->GetFieldValue(wide), (TKwVariant::Array{TKwAnsiText{"red"}, TKwAnsiText{"green"}}));
}

TEST_F(TTableFieldsTest, ColumnsThatAreNotThere)
{
    Object->AddRow({LongValue(GetPropTag(PR_MESSAGE_SIZE), 1)});
    Start();
    Fields()->Add(PR_SUBJECT); // too late for this opening
    EXPECT_EQ(Catch([&] { return Text(PR_SUBJECT); }),
              Failure("EMAPI_INVALID_PARAMETER", 0x80070057,
                      "The requested field \"PR_SUBJECT\" is not a field of this table!"));
    Object->ValuesKeptBack = 1;
    Table->First();
    EXPECT_EQ(Catch([&] { return Row(); }),
              Failure("EMAPI_INVALID_PARAMETER", 0x80070057, "Field PR_MESSAGE_SIZE has an invalid FieldIndex!"));
}

TEST_F(TTableFieldsTest, WithoutUnicodeColumnsAreEightBit)
{
    Prop->SetDisableUnicode(true);
    Object->AddRow({TextValue(GetPropTag(PR_SUBJECT_A), "eight bit")});
    Table = KwMake<TKwMAPITable>(*Prop, Object.Get(), nullptr);
    Fields()->Add(PR_SUBJECT);
    EXPECT_EQ(Text(PR_SUBJECT), u"eight bit");
    EXPECT_EQ(Calls->Lines().front(), "SetColumns([0x0037001E],0)");
    Table->Sort(PR_SUBJECT, false);
    EXPECT_EQ(Calls->Count("SortTable"), 1u);
}

TEST_F(TTableFieldsTest, NamedColumns)
{
    const TKwMAPIPropInfo& info = GetPropInfo(NPR_COMMON_REMINDER_DATE);
    mapi::GUID set = info.PropSet();
    mapi::MAPINAMEID name{&set, mapi::MNID_ID, {}};
    name.Kind.lID = static_cast<mapi::LONG>(info.Identifier());
    const mapi::ULONG tag = Bag().IdOfName(name) | info.PropType;
    Object->Columns = {tag, GetPropTag(PR_MESSAGE_SIZE)};

    // Asked for by definition: the store tells the tag. Found among the table's columns: the store tells the name.
    Fields()->Add(NPR_COMMON_REMINDER_DATE);
    Table->Open();
    EXPECT_EQ(Object->Columns, (std::vector<mapi::ULONG>{GetPropTag(PR_MESSAGE_SIZE), tag}));
    Table->Close();
    Object->Columns = {tag, GetPropTag(PR_MESSAGE_SIZE), 0x9999001F};
    Table->QueryColumns();
    EXPECT_EQ(Calls->Count("GetNamesFromIDs"), 1u);
    ASSERT_EQ(Fields()->Get_Count(), 2); // nobody knows the name of the third
    // Several definitions may share one identity; the first of them stands for it.
    EXPECT_TRUE(SameProp(GetPropInfo(Fields()->Get_Item(0)->Get_PropDef()), info, true));
    EXPECT_EQ(Fields()->FieldByName(NPR_COMMON_REMINDER_DATE), Fields()->Get_Item(0));
    EXPECT_EQ(Fields()->Get_Item(1)->Get_PropDef(), PR_MESSAGE_SIZE);

    Calls->Next("GetNamesFromIDs", mapi::MAPI_E_NO_SUPPORT);
    Table->QueryColumns();
    EXPECT_EQ(Fields()->Get_Count(), 1);
    Bag().LoseNames = true;
    Table->QueryColumns();
    EXPECT_EQ(Fields()->Get_Count(), 1) << "a number without the names is none";
    Calls->Next("GetNamesFromIDs", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch([&] { Table->QueryColumns(); }).ClassName, "EMAPI_NETWORK_ERROR");
}

TEST_F(TTableFieldsTest, OutliveTheirTableAndSaySo)
{
    const auto fields = Fields();
    const auto owner = TKwRef<TTestProp>(Prop);
    Table.Reset();
    const TCaught fieldGone =
        Failure("EMAPI_CALL_FAILED", 0x80004005, "The table this field belongs to has been destroyed!");
    const TCaught fieldsGone =
        Failure("EMAPI_CALL_FAILED", 0x80004005, "The table this fieldlist belongs to has been destroyed!");
    EXPECT_EQ(Catch([&] { return Number->Get_Value(); }), fieldGone);
    EXPECT_EQ(Catch([&] { return Number->Get_PropName(); }), fieldGone);
    EXPECT_EQ(Catch([&] { return Number->Get_PropDef(); }), fieldGone);
    EXPECT_EQ(Catch([&] { return fields->Get_Count(); }), fieldsGone);
    EXPECT_EQ(Catch([&] { return fields->Add(PR_SUBJECT); }), fieldsGone);
    EXPECT_EQ(Catch([&] { return fields->FieldByName(PR_SUBJECT); }), fieldsGone);
    EXPECT_EQ(Catch([&] { fields->Clear(); }), fieldsGone);
}

TEST_F(TTableFieldsTest, DisplayFieldsNeedsAProcedure)
{
    const TCaught absent = Failure("EMAPI_NOT_SUPPORTED", 26,
                                   "TKwMAPITable.DisplayFields failed.\r\nThe user-interface module is absent: no "
                                   "procedure has been registered with SetShowFieldsProc!");
    EXPECT_EQ(Catch([&] { Table->DisplayFields(); }), absent);
    IKwMAPITable* shown = nullptr;
    SetShowFieldsProc([&](IKwMAPITable& table) {
        shown = &table;
        SetShowFieldsProc({});
    });
    Table->DisplayFields();
    EXPECT_EQ(shown, static_cast<IKwMAPITable*>(Table.Get()));
    EXPECT_EQ(Catch([&] { Table->DisplayFields(); }), absent);
}

/// A kind of table that offers nothing of its own.
class TPlainTable final : public TKwMAPITableBase
{
public:
    explicit TPlainTable(TKwMAPIWrapper& owner) : TKwMAPITableBase(&owner) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TPlainTable"; }
    void Open() override {}
    void Close() override {}
    [[nodiscard]] WordBool Get_Active() const noexcept override { return true; }
    void First() override {}
    void Next() override {}
    void Previous() override {}
    void Last() override {}
    void MoveBy(TKwMapiTableBookmark, std::int32_t) override {}
    [[nodiscard]] WordBool Get_EOF() override { return false; }
    [[nodiscard]] std::int32_t Get_RowCount() override { return 0; }
    [[nodiscard]] std::int32_t Get_BatchSize() const noexcept override { return 0; }
    void Set_BatchSize(std::int32_t) noexcept override {}
    [[nodiscard]] TKwMAPICursorType Get_CursorType() const noexcept override { return ctOpenForwardOnly; }
    void QueryColumns() override {}
    const mapi::SPropValue& GetFieldValueEx(TKwMAPITableField&) override { return FValue; }

private:
    mapi::SPropValue FValue{};
};

TEST_F(TTableFieldsTest, KindsOfTablesRefuseWhatTheyDoNotOffer)
{
    const auto plain = KwMake<TPlainTable>(*Prop);
    const TKwRef<IKwMAPITable> memory = KwMake<TKwMAPIMemoryTable>();
    const TCaught refused = Failure("EMAPI_NOT_SUPPORTED", 26, "This method is not supported by this table!");
    WordBool found = false;
    const auto node = Table->CreateRestriction(rtExists);
    struct TOperation
    {
        const char* Name;
        std::function<void(IKwMAPITable&)> Call;
        bool InMemory = false; ///< what a table in memory offers
    };
    const TOperation operations[] = {{"SeekRow", [&](auto& table) { table.SeekRow(tbkBeginning, 0, found); }, true},
                                     {"Sort", [&](auto& table) { table.Sort(PR_SUBJECT, false); }, true},
                                     {"Sort by keys",
                                      [&](auto& table) {
                                          table.Sort(std::vector<TKwMAPISortKey>{{PR_SUBJECT, false}});
                                      },
                                      true},
                                     {"Insert", [&](auto& table) { table.Insert(); }, true},
                                     {"Delete", [&](auto& table) { table.Delete(); }, true},
                                     {"CreateRestriction", [&](auto& table) { return table.CreateRestriction(rtAnd); }},
                                     {"Filter", [&](auto& table) { table.Filter(node); }},
                                     {"Filter with none", [&](auto& table) { table.Filter(nullptr); }},
                                     {"FindFirst", [&](auto& table) { table.FindFirst(node, found); }},
                                     {"FindLast", [&](auto& table) { table.FindLast(node, found); }},
                                     {"FindNext", [&](auto& table) { table.FindNext(node, found); }},
                                     {"FindPrevious", [&](auto& table) { table.FindPrevious(node, found); }},
                                     {"FindRow", [&](auto& table) { table.FindRow(node, tbkBeginning, true, found); }},
                                     {"Advise", [&](auto& table) { table.Advise(); }},
                                     {"DEventConnect", [&](auto& table) { table.DEventConnect(nullptr, true); }}};
    for (const TOperation& operation : operations) {
        SCOPED_TRACE(operation.Name);
        EXPECT_EQ(Catch([&] { operation.Call(*plain); }), refused);
        if (!operation.InMemory) {
            EXPECT_EQ(Catch([&] { operation.Call(*memory); }), refused);
        }
    }
    EXPECT_EQ(Catch([&] { plain->SetFieldValue(PR_SUBJECT, u"x"); }).Message, "The table is readonly!");
    EXPECT_EQ(Catch([&] { plain->Set_CursorType(ctDynamic); }).Message, "The CursorType is a readonly property!");
    EXPECT_NO_THROW(plain->CheckEOF());
}

} // namespace
} // namespace deftmapi::test
