// Items of named properties whose tag and name are known, so that the object need not be asked.
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "tests/core/WrapperFixture.hpp"

namespace deftmapi::test
{

namespace
{

class PropertyCacheNamesTest : public TWrapperTest
{
protected:
    IKwMAPIProperties& Items() { return *Prop->Get_Properties(); }

    const TPropName ReminderDate{PSETID_Common, 0x8502};
};

TEST_F(PropertyCacheNamesTest, ATagWithItsNameIsTheItemOfTheDefinition)
{
    Bag().Set(LongValue(0x81230040, 7));
    const TKwRef<IKwMAPIProperty> item = Items().PropByTag(0x81230040, ReminderDate);
    EXPECT_EQ(item->Get_PropTag(), 0x81230040u);
    EXPECT_TRUE(SameProp(GetPropInfo(item->Get_PropDef()), GetPropInfo(NPR_COMMON_REMINDER_DATE), true));
    EXPECT_EQ(Property(NPR_COMMON_REMINDER_DATE).Get(), item.Get());
    EXPECT_EQ(Items().PropByTag(0x81230040, ReminderDate).Get(), item.Get());
    EXPECT_EQ(Items().PropByTag(0x84560040, ReminderDate).Get(), item.Get()) << "the name decides";
    EXPECT_EQ(Items().Get_Count(), 1);
    EXPECT_EQ(Calls->Take(), "") << "the object was not asked for the tag";
    static_cast<void>(item->Get_Value());
    EXPECT_EQ(Calls->Take(), "GetProps([0x81230040],0x80000000)");
}

TEST_F(PropertyCacheNamesTest, NamesWithoutADefinitionAreShownInFull)
{
    const TKwRef<IKwMAPIProperty> text = Items().PropByTag(0x8001001F, TPropName(PSETID_Common, u"x-strange"));
    EXPECT_EQ(text->Get_PropDef(), 0u);
    EXPECT_EQ(text->Get_PropName(), u"{00062008-0000-0000-C000-000000000046}:x-strange");
    EXPECT_EQ(Items().PropByTag(0x80020003, TPropName(PSETID_Common, 0x7777))->Get_PropName(),
              u"{00062008-0000-0000-C000-000000000046}:0x00007777");
    EXPECT_EQ(Items().FindPropByTag(0x8001001F).Get(), text.Get());
    TPropName withoutSet(PSETID_Common, 3);
    withoutSet.lpguid = nullptr;
    EXPECT_EQ(Items().PropByTag(0x80030003, withoutSet)->Get_PropName(),
              u"{00000000-0000-0000-0000-000000000000}:0x00000003");
}

TEST_F(PropertyCacheNamesTest, WhatIsDefinedLaterTakesTheItemOver)
{
    const mapi::ULONG id = Bag().IdOfName(TPropName(PSETID_Common, u"x-later"));
    const TKwRef<IKwMAPIProperty> item = Items().PropByTag(id | mapi::PT_UNICODE, TPropName(PSETID_Common, u"x-later"));
    item->Set_AsString(u"pending");
    const TKwMAPIPropDef later = RegisterProp(PSETID_Common, u"NPR_TEST_LATER", u"x-later", mapi::PT_UNICODE).Hash;
    EXPECT_EQ(Property(later).Get(), item.Get());
    EXPECT_EQ(item->Get_PropDef(), later);
    EXPECT_EQ(item->Get_PropName(), u"NPR_TEST_LATER");
    EXPECT_EQ(Items().Get_Count(), 1) << "or the change would be written twice";
}

TEST_F(PropertyCacheNamesTest, WithoutUnicodeTheTagIsEightBit)
{
    Prop->SetDisableUnicode(true);
    const TKwRef<IKwMAPIProperty> text = Items().PropByTag(0x8001001F, TPropName(PSETID_Common, u"x-eight-bit"));
    EXPECT_EQ(text->Get_PropTag(), 0x8001001Eu);
    EXPECT_EQ(Items().PropByTag(0x8001001E, TPropName(PSETID_Common, u"x-eight-bit")).Get(), text.Get());
}

} // namespace

} // namespace deftmapi::test
