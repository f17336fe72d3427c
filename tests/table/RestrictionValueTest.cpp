// Filter expressions with values: the conversion for each property type, and the texts of content restrictions.
#include "mapi/core/uKwMAPIEntryID.hpp"
#include "tests/table/RestrictionFixture.hpp"

#include <cstring>
#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TRestrictionValueTest : public TRestrictionFixture
{
protected:
    TRestrictionValueTest() : Content(Make<IKwMAPIRestrictionContent>(rtContent))
    {
        Property = Make<IKwMAPIRestrictionProperty>(rtProperty);
        Property->Set_Operator(oEqual);
    }
    /// The value that the record compares a property of the type with.
    const mapi::SPropValue& Built(mapi::ULONG type, const TKwVariant& value)
    {
        Property->Set_PropDef(RegisterProp(u"PR_RESTRICTION_TEST", 0x6A70, type).Hash);
        Property->Set_Value(value);
        const mapi::SPropertyRestriction& record = RecordOf(Property)->res.resProperty;
        EXPECT_EQ(record.relop, 4u);
        EXPECT_EQ(record.ulPropTag, mapi::PROP_TAG(type, 0x6A70));
        EXPECT_EQ(record.lpProp->ulPropTag, record.ulPropTag);
        EXPECT_EQ(record.lpProp->dwAlignPad, 0u);
        return *record.lpProp;
    }
    static std::uint64_t Ticks(const mapi::SPropValue& value)
    {
        return std::uint64_t{value.Value.ft.dwHighDateTime} << 32 | value.Value.ft.dwLowDateTime;
    }

    TKwRef<IKwMAPIRestrictionContent> Content;
    TKwRef<IKwMAPIRestrictionProperty> Property;
};

TEST_F(TRestrictionValueTest, Numbers)
{
    EXPECT_EQ(Built(mapi::PT_I2, u"-7").Value.i, -7);
    EXPECT_EQ(Built(mapi::PT_I2, {}).Value.i, 0);
    EXPECT_EQ(Catch([&] { Built(mapi::PT_I2, 40000); }).ClassName, "EKwConvertError");
    EXPECT_EQ(Built(mapi::PT_LONG, -1).Value.l, -1);
    EXPECT_EQ(Built(mapi::PT_LONG, -1).Value.ul, 0xFFFFFFFFu);
    EXPECT_EQ(Built(mapi::PT_LONG, std::int64_t{0xFFFFFFFF}).Value.ul, 0xFFFFFFFFu);
    EXPECT_EQ(Built(mapi::PT_LONG, u"2147483648").Value.ul, 0x80000000u);
    EXPECT_EQ(Catch([&] { Built(mapi::PT_LONG, std::int64_t{0x100000000}); }).ClassName, "EKwConvertError");
    Property->Set_Operator(oGreaterThan); // there an unsigned number would be a negative one
    EXPECT_EQ(Catch([&] { return RecordOf(Property); }).ClassName, "EKwConvertError");
    Property->Set_Value(std::int64_t{0xFFFFFFFF});
    EXPECT_EQ(Catch([&] { return RecordOf(Property); }).ClassName, "EKwConvertError");
    Property->Set_Operator(oEqual);
    EXPECT_EQ(Built(mapi::PT_LONG, TKwNull{}).Value.l, 0);
    EXPECT_EQ(Built(mapi::PT_R4, 0.5).Value.flt, 0.5f);
    EXPECT_EQ(Built(mapi::PT_R4, TKwNull{}).Value.flt, 0.0f);
    EXPECT_EQ(Built(mapi::PT_DOUBLE, u"2.25").Value.dbl, 2.25);
    EXPECT_EQ(Built(mapi::PT_DOUBLE, {}).Value.dbl, 0.0);
    EXPECT_EQ(Built(mapi::PT_APPTIME, TKwDate{45000.5}).Value.at, 45000.5);
    EXPECT_EQ(Built(mapi::PT_BOOLEAN, true).Value.b, 1);
    EXPECT_EQ(Built(mapi::PT_BOOLEAN, 0).Value.b, 0);
    EXPECT_EQ(Catch([&] { Built(mapi::PT_LONG, u"many"); }).ClassName, "EKwConvertError");
}

TEST_F(TRestrictionValueTest, WideNumbersKeepWhatTheRecordHas)
{
    EXPECT_EQ(Built(mapi::PT_I8, std::int64_t{5}).Value.li.QuadPart, 0);
    Built(mapi::PT_SYSTIME, TKwFileTime{0x0102030405060708});
    EXPECT_EQ(Built(mapi::PT_I8, std::int64_t{5}).Value.li.QuadPart, 0x0102030405060708);
}

TEST_F(TRestrictionValueTest, TimesAreTakenAsUTC)
{
    const TKwFileTime time = KwIsoToFileTime(u"2024-02-29T12:30:15.250Z");
    const TKwDate date = KwFileTimeToDate(time);
    EXPECT_EQ(Ticks(Built(mapi::PT_SYSTIME, date)), time.Ticks);
    EXPECT_EQ(Ticks(Built(mapi::PT_SYSTIME, date.Days)), time.Ticks); // a double is a date
    EXPECT_EQ(Ticks(Built(mapi::PT_SYSTIME, static_cast<std::int64_t>(time.Ticks))), time.Ticks);
    EXPECT_EQ(Ticks(Built(mapi::PT_SYSTIME, time)), time.Ticks);
    EXPECT_EQ(Ticks(Built(mapi::PT_SYSTIME, u"133000000000000000")), 133000000000000000u);
}

TEST_F(TRestrictionValueTest, TextsAndBytes)
{
    EXPECT_STREQ(Built(mapi::PT_STRING8, u"Größe").Value.lpszA, "Gr\xF6\xDF"
                                                                "e");
    EXPECT_EQ(std::u16string(Built(mapi::PT_UNICODE, u"Größe").Value.lpszW), u"Größe");
    EXPECT_EQ(std::u16string(Built(mapi::PT_UNICODE, 42).Value.lpszW), u"42");

    const auto bytesOf = [](const mapi::SPropValue& value) {
        return TKwBytes(value.Value.bin.lpb, value.Value.bin.lpb + value.Value.bin.cb);
    };
    const TKwBytes id{0x00, 0xAB, 0x10};
    EXPECT_EQ(bytesOf(Built(mapi::PT_BINARY, id)), id);
    EXPECT_EQ(bytesOf(Built(mapi::PT_BINARY, u"00ab10")), id);
    EXPECT_EQ(bytesOf(Built(mapi::PT_BINARY, TKwAnsiText{"00AB10"})), id);
    EXPECT_EQ(Built(mapi::PT_BINARY, TKwNull{}).Value.bin.cb, 0u);
    EXPECT_EQ(Catch([&] { Built(mapi::PT_BINARY, u"nothing"); }).ClassName, "EKwConvertError");

    const mapi::GUID guid = *Built(mapi::PT_CLSID, u"{00062008-0000-0000-C000-000000000046}").Value.lpguid;
    EXPECT_TRUE(SameGuid(guid, mapi::PSETID_Common));
}

TEST_F(TRestrictionValueTest, LinesBecomeTheValuesOfATextList)
{
    const auto lines = [&](const char16_t* text) {
        const mapi::SWStringArray& values = Built(mapi::PT_MV_UNICODE, text).Value.MVszW;
        std::vector<WideString> result;
        for (mapi::ULONG i = 0; i < values.cValues; ++i)
            result.emplace_back(values.lppszW[i]);
        return result;
    };
    using TLines = std::vector<WideString>;
    EXPECT_EQ(lines(u"a\r\nb"), (TLines{u"a", u"b"}));
    EXPECT_EQ(lines(u"a\n\rb\r\n"), (TLines{u"a", u"", u"b"}));
    EXPECT_EQ(lines(u"\n"), (TLines{u""}));
    EXPECT_EQ(lines(u""), TLines{});
}

TEST_F(TRestrictionValueTest, TypesThatCanNotBeCompared)
{
    const TKwMAPIPropDef object = RegisterProp(u"PR_RESTRICTION_OBJECT", 0x6A71, mapi::PT_OBJECT).Hash;
    EXPECT_EQ(Catch([&] { Property->Set_PropDef(object); }),
              Failure("EMAPI_NO_SUPPORT", 0x80040102, "You can not use this property in a property restriction!"));
    EXPECT_EQ(Property->Get_PropDef(), object);
    for (const mapi::ULONG type : {mapi::PT_MV_LONG, mapi::PT_MV_STRING8, mapi::PT_CURRENCY, mapi::PT_NULL})
        EXPECT_EQ(Catch([&] { Built(type, 1); }).Code, 0x80040102u) << type;
}

TEST_F(TRestrictionValueTest, ContentOfTexts)
{
    Content->Set_PropDef(PR_SUBJECT);
    Content->Set_Value(u"Größe");
    EXPECT_EQ(Record(Content), "content(0x00000000,0x0037001F,0x0037001F=\"Größe\")");
    Content->Set_MatchType(smtPrefix);
    Content->Set_CaseInsensitive(1);
    Content->Set_AccentInsensitive(true);
    Content->Set_LooseCompare(true);
    EXPECT_EQ(RecordOf(Content)->res.resContent.ulFuzzyLevel, 0x00070002u);
    EXPECT_EQ(Content->Get_CaseInsensitive(), 65535);
    EXPECT_EQ(Content->Get_LooseCompare(), 65535);
    EXPECT_EQ(Content->Get_Value(), u"Größe");

    Content->Set_PropDef(PR_SUBJECT_A);
    EXPECT_STREQ(RecordOf(Content)->res.resContent.lpProp->Value.lpszA, "Gr\xF6\xDF"
                                                                        "e");
}

TEST_F(TRestrictionValueTest, EachFuzzyLevelIsABitOfItsOwn)
{
    Content->Set_PropDef(PR_SUBJECT);
    Content->Set_Value(u"x");
    for (const mapi::ULONG level : {0x00010000u, 0x00020000u, 0x00040000u}) {
        const auto set = [level](mapi::ULONG bit) { return level == bit ? 65535 : 0; };
        Content->Set_CaseInsensitive(set(0x00010000));
        Content->Set_AccentInsensitive(set(0x00020000));
        Content->Set_LooseCompare(set(0x00040000));
        EXPECT_EQ(RecordOf(Content)->res.resContent.ulFuzzyLevel, level);
        EXPECT_EQ(Content->Get_CaseInsensitive(), set(0x00010000)) << level;
        EXPECT_EQ(Content->Get_AccentInsensitive(), set(0x00020000)) << level;
        EXPECT_EQ(Content->Get_LooseCompare(), set(0x00040000)) << level;
    }
}

TEST_F(TRestrictionValueTest, ContentOfTextLists)
{
    const TKwMAPIPropDef list = RegisterProp(u"PR_RESTRICTION_LIST", 0x6A72, mapi::PT_MV_UNICODE).Hash;
    Content->Set_PropDef(list);
    Content->Set_Value(u"red");
    EXPECT_EQ(Record(Content), "content(0x00000000,0x6A72101F,0x6A72001F=\"red\")");
}

} // namespace
} // namespace deftmapi::test
