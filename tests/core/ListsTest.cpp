// The lists: records and cursor on one of them, then what each typed list adds.
#include "mapi/core/uKwMAPILists.hpp"
#include "tests/core/Caught.hpp"

#include <gtest/gtest.h>

#include <functional>

namespace
{

using namespace deftmapi;
using deftmapi::test::Catch;
using deftmapi::test::TCaught;

const TCaught listIsEOF{"EMAPI_CALL_FAILED", "The list is EOF!", 0x80004005, false};

template <typename List, typename Value>
std::int32_t IndexIn(const List& list, const Value& value)
{
    std::int32_t index = -2;
    list.IndexOf(value, index);
    return index;
}

class ListsTest : public testing::Test
{
protected:
    ~ListsTest() override
    {
        Values.Reset();
        EXPECT_EQ(TKwAutoIntfObject::LiveObjects(), Before);
    }

    void Fill(std::int32_t count)
    {
        for (std::int32_t i = 0; i < count; ++i)
            Values->Add(TKwVariant(i));
    }
    /// The values in list order, checked forwards, backwards and by index.
    std::vector<std::int32_t> Content()
    {
        std::vector<std::int32_t> forwards, backwards, indexed;
        for (Values->First(); !Values->Get_EOF(); Values->Next())
            forwards.push_back(Values->Get_CurrentRecord().AsInteger());
        for (Values->Last(); !Values->Get_EOF(); Values->Previous())
            backwards.insert(backwards.begin(), Values->Get_CurrentRecord().AsInteger());
        for (std::int32_t i = 0; i < Values->Get_Count(); ++i)
            indexed.push_back(Values->Get_Item(i).AsInteger());
        EXPECT_EQ(forwards, backwards);
        EXPECT_EQ(forwards, indexed);
        return forwards;
    }
    using TNumbers = std::vector<std::int32_t>;

    std::size_t Before = TKwAutoIntfObject::LiveObjects();
    TKwRef<TKwMAPIValueList> Values = KwMake<TKwMAPIValueList>();
};

TEST_F(ListsTest, EveryListSaysWhenItsCursorIsPastTheEnd)
{
    const auto check = [](auto list, auto add, auto... readers) {
        SCOPED_TRACE(KwToUtf8(list->GetClassName()));
        const auto expectEOF = [&](bool expected) {
            EXPECT_EQ(list->Get_EOF(), expected);
            for (const std::function<void()>& read : {std::function<void()>(readers)...})
                EXPECT_EQ(Catch(read), expected ? listIsEOF : TCaught{});
        };
        EXPECT_EQ(list->Get_Count(), 0);
        EXPECT_EQ(list->GetFirstItem(), nullptr);
        EXPECT_EQ(list->GetLastItem(), nullptr);
        expectEOF(true);
        list->First();
        expectEOF(true);
        list->Last();
        list->Next();
        list->Previous();
        expectEOF(true);
        EXPECT_EQ(Catch([&] { list->DeleteRecord(); }), listIsEOF);
        add();
        expectEOF(false);
        list->Next();
        expectEOF(true);
        list->Next();
        list->Last();
        expectEOF(false);
        list->Previous();
        expectEOF(true);
        EXPECT_EQ(Catch([&] { list->DeleteRecord(); }), listIsEOF);
        list->First();
        list->DeleteRecord();
        expectEOF(true);
        EXPECT_EQ(list->Get_Count(), 0);
    };
    const auto entryIDs = KwMake<TKwMAPIEntryIDList>();
    check(
        entryIDs, [&] { entryIDs->Add(TKwBytes{1}); }, [&] { (void)entryIDs->Get_CurrentRecord(); });
    check(
        Values, [&] { Values->Add(TKwVariant(1)); }, [&] { (void)Values->Get_CurrentRecord(); });
    const auto props = KwMake<TKwMAPIPropList>();
    check(
        props, [&] { props->Add(PR_SUBJECT); }, [&] { (void)props->Get_CurrentRecord(); },
        [&] { (void)props->GetCurrentRecord(); });
    const auto propValues = KwMake<TKwMAPIPropValueList>();
    check(
        propValues, [&] { propValues->Add(PR_SUBJECT); }, [&] { (void)propValues->Get_CurrentRecord(); },
        [&] { (void)propValues->GetCurrentRecord(); }, [&] { (void)propValues->Get_CurrentValue(); },
        [&] { propValues->Set_CurrentValue(TKwVariant(1)); });
}

TEST_F(ListsTest, WhatIsAddedBecomesCurrent)
{
    Fill(3);
    EXPECT_EQ(Values->Get_CurrentRecord().AsInteger(), 2);
    EXPECT_EQ(Values->GetCurrentItem(), Values->GetLastItem());
    Values->First();
    Values->Add(TKwVariant(1));
    EXPECT_EQ(Values->Get_CurrentRecord().AsInteger(), 0) << "nothing was added, so the cursor stays";
    EXPECT_EQ(Content(), (TNumbers{0, 1, 2}));
}

TEST_F(ListsTest, IndexesOutsideTheListFail)
{
    Fill(3);
    const auto outOfBounds = [](const char* index) {
        return TCaught{"EKwListError", std::string("List index out of bounds (") + index + ")", 0x80070057, false};
    };
    EXPECT_EQ(Catch([&] { (void)Values->Get_Item(3); }), outOfBounds("3"));
    EXPECT_EQ(Catch([&] { (void)Values->Get_Item(-1); }), outOfBounds("-1"));
    EXPECT_EQ(Catch([&] { Values->Delete(3); }), outOfBounds("3"));
    EXPECT_EQ(Content(), (TNumbers{0, 1, 2}));
}

TEST_F(ListsTest, DeletingMovesTheCursorOnlyWhenItStandsThere)
{
    Fill(5);
    Values->First();
    Values->Next();
    Values->DeleteRecord(); // 1
    EXPECT_EQ(Values->Get_CurrentRecord().AsInteger(), 2);
    Values->Delete(0); // 0, in front of the cursor
    EXPECT_EQ(Values->Get_CurrentRecord().AsInteger(), 2);
    Values->Delete(2); // 4, the last
    EXPECT_EQ(Values->Get_CurrentRecord().AsInteger(), 2);
    EXPECT_EQ(Content(), (TNumbers{2, 3}));
    Values->Last();
    Values->DeleteRecord();
    EXPECT_TRUE(Values->Get_EOF());
    EXPECT_EQ(Content(), (TNumbers{2}));
    Values->First();
    Values->DeleteRecord();
    EXPECT_TRUE(Values->Get_EOF());
    EXPECT_EQ(Content(), TNumbers{});
    Fill(2);
    EXPECT_EQ(Content(), (TNumbers{0, 1})) << "an emptied list begins anew";
    Values->Clear();
    EXPECT_TRUE(Values->Get_EOF());
    EXPECT_EQ(Values->Get_Count(), 0);
}

TEST_F(ListsTest, RecordsOfOthersAreRefused)
{
    Fill(1);
    const auto other = KwMake<TKwMAPIValueList>();
    other->Add(TKwVariant(1));
    EXPECT_EQ(Catch([&] { Values->RemoveRecord(nullptr); }).ClassName, "EKwAssertionFailed");
    EXPECT_EQ(Catch([&] { Values->RemoveRecord(other->GetFirstItem()); }).ClassName, "EKwAssertionFailed");
    EXPECT_EQ(other->Get_Count(), 1);
    Values->RemoveRecord(Values->GetFirstItem());
    EXPECT_EQ(Values->Get_Count(), 0);
}

TEST_F(ListsTest, ValuesAreEqualAsVariantsAre)
{
    Values->Add(TKwVariant(u"seven"));
    Values->Add(TKwVariant(std::int16_t{7}));
    Values->Add(TKwVariant(std::int64_t{7}));
    Values->Add(TKwVariant(TKwVariant::Array{TKwVariant(1), TKwVariant(u"a")}));
    Values->Add(TKwVariant(TKwVariant::Array{TKwVariant(1), TKwVariant(u"a")}));
    Values->Add(TKwVariant(TKwVariant::Array{TKwVariant(1), TKwVariant(u"b")}));
    Values->Add(TKwVariant(TKwVariant::Array{TKwVariant(1)}));
    Values->Add(TKwNull{});
    Values->Add(TKwNull{});
    EXPECT_EQ(Values->Get_Count(), 6);
    EXPECT_EQ(IndexIn(*Values, TKwVariant(7.0)), 1);
    EXPECT_EQ(IndexIn(*Values, TKwVariant(TKwVariant::Array{TKwVariant(1), TKwVariant(u"b")})), 3);
    EXPECT_EQ(IndexIn(*Values, TKwVariant(u"7")), 1) << "a text that reads as the number is equal to it";
    Values->Add(TKwVariant(u"7.0"));
    EXPECT_EQ(Values->Get_Count(), 6);
    EXPECT_EQ(IndexIn(*Values, TKwVariant(u"07 apples")), -1);
    EXPECT_EQ(IndexIn(*Values, TKwVariant(8)), -1);
    Values->Remove(TKwVariant(8));
    Values->Remove(TKwVariant(u"seven"));
    EXPECT_EQ(IndexIn(*Values, TKwVariant(7)), 0);

    const auto other = KwMake<TKwMAPIValueList>();
    other->Add(TKwVariant(99));
    Values->AssignTo(*other);
    EXPECT_EQ(other->Get_Count(), 5);
    EXPECT_EQ(IndexIn(*other, TKwVariant(99)), -1);
    Values->AssignTo(*Values);
    EXPECT_EQ(Values->Get_Count(), 5) << "a list assigned to itself keeps its values";
}

TEST_F(ListsTest, EntryIdentifiersAreThereOnce)
{
    const auto list = KwMake<TKwMAPIEntryIDList>();
    list->Add(TKwBytes{1, 2, 3});
    list->Add(TKwBytes{1, 2, 3});
    list->Add(TKwBytes{1, 2});
    EXPECT_EQ(list->Get_Count(), 2);
    EXPECT_EQ(IndexIn(*list, TKwMAPIEntryID(TKwBytes{1, 2})), 1);
    EXPECT_EQ(IndexIn(*list, TKwMAPIEntryID(TKwBytes{1})), -1);
    EXPECT_EQ(list->Get_CurrentRecord(), TKwMAPIEntryID(TKwBytes{1, 2}));

    std::uint8_t a[] = {9, 8, 7};
    std::uint8_t b[] = {6};
    mapi::SBinary binaries[] = {{3, a}, {1, b}, {3, a}, {0, nullptr}};
    list->Import(mapi::SBinaryArray{4, binaries});
    ASSERT_EQ(list->Get_Count(), 3);
    EXPECT_EQ(list->Get_Item(0), TKwMAPIEntryID(TKwBytes{9, 8, 7}));
    EXPECT_EQ(list->Get_Item(1), TKwMAPIEntryID(TKwBytes{6}));
    EXPECT_TRUE(list->Get_Item(2).IsNull());
    list->Remove(TKwBytes{9, 8, 7});
    list->Remove(TKwBytes{9, 8, 7});

    const auto other = KwMake<TKwMAPIEntryIDList>();
    other->Add(TKwBytes{5});
    list->AssignTo(*other);
    EXPECT_EQ(other->Get_Count(), 2);
    EXPECT_EQ(other->Get_Item(0), TKwMAPIEntryID(TKwBytes{6}));
}

TEST_F(ListsTest, DefinitionsAreFoundByEitherWidth)
{
    const auto list = KwMake<TKwMAPIPropList>();
    list->Add(PR_ENTRYID);
    list->Add(PR_SUBJECT);
    list->Add(GetPropInfo(PR_SUBJECT_A));
    EXPECT_EQ(list->Get_Count(), 3) << "definitions may repeat";
    EXPECT_EQ(IndexIn(*list, PR_SUBJECT_A), 1);
    EXPECT_EQ(IndexIn(*list, GetPropInfo(PR_SUBJECT_W)), 1);
    EXPECT_EQ(IndexIn(*list, PR_BODY), -1);
    EXPECT_EQ(list->Get_Item(2), PR_SUBJECT_A);
    EXPECT_EQ(&list->GetItem(1), &GetPropInfo(PR_SUBJECT));
    EXPECT_EQ(list->Get_CurrentRecord(), PR_SUBJECT_A);
    EXPECT_EQ(Catch([&] { list->Add(TKwMAPIPropDef{0xF000000000000001}); }).ClassName, "EMAPI_INVALID_PARAMETER");

    const auto other = KwMake<TKwMAPIPropList>();
    list->AssignTo(*other);
    EXPECT_EQ(other->Get_Count(), 3);
    list->Remove(PR_SUBJECT_A); // the first that is equal
    EXPECT_EQ(list->Get_Item(1), PR_SUBJECT_A);

    // So are arrays of texts; an array is not the single text of its definition.
    list->Clear();
    list->Add(NPR_COMPANIES_A);
    EXPECT_EQ(IndexIn(*list, NPR_COMPANIES), 0);
    EXPECT_EQ(IndexIn(*list, RegisterProp(PSETID_Common, u"NPR_TEST_COMPANY", 0x8539u, 0x001F)), -1);
    EXPECT_EQ(IndexIn(*list, RegisterProp(PSETID_Common, u"NPR_TEST_COMPANY_A", 0x8539u, 0x001E)), -1);
}

TEST_F(ListsTest, PropertyValuesAreReadAndWrittenByIndexAndCursor)
{
    const auto list = KwMake<TKwMAPIPropValueList>();
    list->Add(PR_SUBJECT);
    list->AddValue(PR_MESSAGE_FLAGS, TKwVariant(1));
    EXPECT_TRUE(list->Get_Value(0).IsEmpty());
    list->Set_Value(0, TKwVariant(u"Hello"));
    EXPECT_EQ(list->Get_Value(0).AsStringW(), u"Hello");
    EXPECT_EQ(list->Get_CurrentValue().AsInteger(), 1);
    list->Set_CurrentValue(TKwVariant(5));
    EXPECT_EQ(list->Get_Value(1).AsInteger(), 5);
    EXPECT_EQ(list->Get_CurrentRecord(), PR_MESSAGE_FLAGS);
    EXPECT_EQ(IndexIn(*list, PR_SUBJECT_A), 0);

    TKwMAPIPropValueRecord* record = list->PropByName(GetPropInfo(PR_SUBJECT_A));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->Info->Hash, PR_SUBJECT);
    EXPECT_EQ(list->PropByName(GetPropInfo(PR_BODY)), nullptr);

    EXPECT_EQ(Catch([&] { list->Set_Value(2, TKwVariant(1)); }).ClassName, "EKwListError");
    list->Remove(PR_SUBJECT);
    EXPECT_EQ(list->Get_Item(0), PR_MESSAGE_FLAGS);
}

} // namespace
