// Variants to SPropValues and back, for every type; the text of an SPropValue is made by the scripted MAPI, which does
// not use the code under test.
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/core/uKwMAPIPropValue.hpp"
#include "tests/core/WrapperFixture.hpp"

#include <cstring>
#include <limits>

namespace deftmapi::test
{

namespace
{

constexpr mapi::ULONG Tag(mapi::ULONG type)
{
    return mapi::PROP_TAG(type, 0x6001);
}

/// The value part of the MAPI form.
std::string Built(mapi::ULONG type, const TKwVariant& value)
{
    return TextOf(TKwMAPIPropValue(Tag(type), value).Value()).substr(11);
}

struct TRoundTrip
{
    mapi::ULONG Type;
    TKwVariant Value;
    const char* Text;
};

using A = TKwVariant::Array;
const TKwBytes bytes{0x0A, 0x00, 0xFF};
constexpr auto guidText = u"{00062008-1234-ABCD-C000-000000000046}";

const TRoundTrip roundTrips[] = {
    {mapi::PT_I2, std::int16_t{-7}, "-7"},
    {mapi::PT_LONG, std::int32_t{-70000}, "-70000"},
    {mapi::PT_I8, std::int64_t{-70000000000}, "-70000000000L"},
    {mapi::PT_R4, 1.5F, "1.5"},
    {mapi::PT_DOUBLE, -2.25, "-2.25"},
    {mapi::PT_CURRENCY, TKwCurrency{-12345}, "-12345c"},
    {mapi::PT_APPTIME, TKwDate{45000.5}, "45000.5d"},
    {mapi::PT_BOOLEAN, true, "true"},
    {mapi::PT_BOOLEAN, false, "false"},
    {mapi::PT_SYSTIME, TKwFileTime{0x01DA0102030405}, "521172840285189t"},
    {mapi::PT_UNICODE, u"Grüße \U0001F600", "\"Grüße \U0001F600\""},
    {mapi::PT_UNICODE, u"", "\"\""},
    {mapi::PT_STRING8, TKwAnsiText{"plain"}, "'plain'"},
    {mapi::PT_BINARY, bytes, "[0A00FF]"},
    {mapi::PT_BINARY, TKwBytes{}, "[]"},
    {mapi::PT_SVREID, bytes, "[0A00FF]"},
    {mapi::PT_CLSID, guidText, "guid [082006003412CDABC000000000000046]"},
    {mapi::PT_MV_I2, A{std::int16_t{1}, std::int16_t{-2}}, "{1,-2}"},
    {mapi::PT_MV_LONG, A{std::int32_t{1}, std::int32_t{-2}, std::int32_t{1}}, "{1,-2,1}"},
    {mapi::PT_MV_I8, A{std::int64_t{1} << 40}, "{1099511627776L}"},
    {mapi::PT_MV_R4, A{0.5F, 1.5F}, "{0.5,1.5}"},
    {mapi::PT_MV_DOUBLE, A{0.25, -1.5}, "{0.25,-1.5}"},
    {mapi::PT_MV_CURRENCY, A{TKwCurrency{5}}, "{5c}"},
    {mapi::PT_MV_APPTIME, A{TKwDate{1.5}}, "{1.5d}"},
    {mapi::PT_MV_SYSTIME, A{TKwFileTime{1}, TKwFileTime{std::uint64_t{1} << 33}}, "{1t,8589934592t}"},
    {mapi::PT_MV_UNICODE, A{u"a", u"ä", u""}, "{\"a\",\"ä\",\"\"}"},
    {mapi::PT_MV_STRING8, A{TKwAnsiText{"a"}, TKwAnsiText{"bc"}}, "{'a','bc'}"},
    {mapi::PT_MV_BINARY, A{bytes, TKwBytes{}}, "{[0A00FF],[]}"},
    {mapi::PT_MV_CLSID, A{guidText}, "{guid [082006003412CDABC000000000000046]}"},
    {mapi::PT_MV_UNICODE, A{}, "{}"},
};

TEST(ValueBuffersTest, ValuesOfEveryTypeGoThereAndBack)
{
    for (const TRoundTrip& given : roundTrips) {
        SCOPED_TRACE(given.Text);
        TKwMAPIPropValue built(Tag(given.Type), given.Value);
        const TKwMAPIPropValue moved = std::move(built); // short texts must not be left behind
        EXPECT_EQ(TextOf(moved.Value()).substr(11), given.Text);
        const TKwVariant back = KwPropValueToVariant(moved.Value());
        EXPECT_EQ(back.Kind(), given.Value.Kind());
        EXPECT_EQ(back, given.Value);
    }
}

TEST(ValueBuffersTest, ValuesOfOtherKindsAreConverted)
{
    EXPECT_EQ(Built(mapi::PT_LONG, u"12"), "12");
    EXPECT_EQ(Built(mapi::PT_BOOLEAN, 17), "true");
    EXPECT_EQ(Built(mapi::PT_UNICODE, TKwAnsiText{"\xE4"}), "\"ä\"");
    EXPECT_EQ(Built(mapi::PT_STRING8, u"Tür"), "'T\xFCr'");
    EXPECT_EQ(Built(mapi::PT_UNICODE, 5), "\"5\"");
    EXPECT_EQ(Built(mapi::PT_SYSTIME, TKwDate{0}), "94353120000000000t"); // 1899-12-30
    EXPECT_EQ(Built(mapi::PT_APPTIME, TKwFileTime{94353120000000000}), "0d");
    EXPECT_EQ(Built(mapi::PT_ERROR, TKwErrorCode{mapi::MAPI_E_NOT_FOUND}), "error 0x8004010F");
    EXPECT_EQ(Built(mapi::PT_CLSID, TKwBytes(16, 0x11)), "guid [11111111111111111111111111111111]");
    EXPECT_EQ(Built(mapi::PT_MV_LONG, 5), "{5}") << "a single value is an array of one";

    const TKwRef<TKwMAPIValueList> list = KwMake<TKwMAPIValueList>();
    list->Add(u"one");
    list->Add(2);
    EXPECT_EQ(Built(mapi::PT_MV_UNICODE, TKwRef<IKwInterface>(list)), "{\"one\",\"2\"}");
}

TEST(ValueBuffersTest, WhatDoesNotFitTheTypeIsRefused)
{
    const auto refused = [](mapi::ULONG type, const TKwVariant& value) {
        return Catch([&] { (void)Built(type, value); }).ClassName == "EKwConvertError";
    };
    EXPECT_EQ(Built(mapi::PT_I2, 32767), "32767");
    EXPECT_TRUE(refused(mapi::PT_I2, 32768));
    EXPECT_TRUE(refused(mapi::PT_I2, -32769));
    EXPECT_TRUE(refused(mapi::PT_MV_I2, A{1, 40000}));
    EXPECT_TRUE(refused(mapi::PT_LONG, std::int64_t{1} << 31));
    EXPECT_TRUE(refused(mapi::PT_LONG, u"x"));
    EXPECT_TRUE(refused(mapi::PT_R4, 1e300));
    EXPECT_EQ(Built(mapi::PT_R4, std::numeric_limits<double>::infinity()), "inf");
    EXPECT_TRUE(refused(mapi::PT_CLSID, u"{00062008-1234-ABCD-C000-00000000004}"));
    EXPECT_TRUE(refused(mapi::PT_CLSID, TKwBytes(15, 0)));
    EXPECT_TRUE(refused(mapi::PT_SYSTIME, true));
    EXPECT_TRUE(refused(mapi::PT_MV_LONG, TKwRef<IKwInterface>(KwMake<TKwMAPIEntryIDList>())));
}

TEST(ValueBuffersTest, TypesWithoutABufferNameTheirNumber)
{
    const auto message = [](mapi::ULONG type) { return Catch([&] { (void)Built(type, 1); }); };
    EXPECT_EQ(message(mapi::PT_OBJECT),
              Failure("EMAPI_INVALID_PARAMETER", 0x80070057, "The PropList does not support data of type 13!"));
    for (const auto& [type, number] :
         {std::pair(mapi::PT_SRESTRICTION, "253"), std::pair(mapi::PT_ACTIONS, "254"),
          std::pair(mapi::PT_UNSPECIFIED, "0"), std::pair(mapi::PT_MV_I2 | mapi::MV_INSTANCE, "12290")})
        EXPECT_EQ(message(type).Message, std::string("The PropList does not support data of type ") + number + "!");
}

TEST(ValueBuffersTest, ForeignValuesAreReadWithCare)
{
    EXPECT_TRUE(KwPropValueToVariant(ErrorValue(Tag(mapi::PT_LONG), mapi::MAPI_E_NOT_FOUND)).IsEmpty());
    EXPECT_TRUE(KwPropValueToVariant(ErrorValue(Tag(mapi::PT_LONG), mapi::MAPI_E_CALL_FAILED)).IsEmpty());
    EXPECT_TRUE(KwPropValueToVariant(LongValue(Tag(mapi::PT_OBJECT), 1)).IsEmpty());
    EXPECT_TRUE(KwPropValueToVariant(LongValue(Tag(mapi::PT_NULL), 0)).IsNull());
    EXPECT_TRUE(
        KwPropValueToVariant(TextValue(Tag(mapi::PT_UNICODE), static_cast<const char16_t*>(nullptr))).IsEmpty());
    EXPECT_TRUE(KwPropValueToVariant(LongValue(Tag(mapi::PT_CLSID), 0)).IsEmpty());

    mapi::SPropValue value{};
    value.ulPropTag = Tag(mapi::PT_BINARY);
    value.Value.bin = {4, nullptr};
    EXPECT_EQ(KwPropValueToVariant(value), TKwBytes());
    value.ulPropTag = Tag(mapi::PT_BOOLEAN);
    value.Value.b = 0xFFFF; // how some providers write true
    EXPECT_EQ(KwPropValueToVariant(value), true);
    char16_t* texts[] = {nullptr};
    value.ulPropTag = Tag(mapi::PT_MV_UNICODE);
    value.Value.MVszW = {1, texts};
    const TKwVariant::Array array = KwPropValueToVariant(value).AsArray();
    ASSERT_EQ(array.size(), 1u);
    EXPECT_TRUE(array[0].IsEmpty());

    // A table's column with one row per value.
    EXPECT_EQ(KwPropValueToVariant(TextValue(Tag(mapi::PT_MV_UNICODE | mapi::MV_INSTANCE), u"one")), u"one");
}

TEST(ValueBuffersTest, OnlyAWholeGuidInBracesIsOne)
{
    const WideString text = u"{00062008-aBcD-0000-C000-000000000046}";
    EXPECT_TRUE(SameGuid(KwStrToGuid(text), mapi::MakeGuid(0x00062008, 0xABCD, 0, 0xC000, 0x46)));
    for (std::size_t i = 0; i < text.size(); ++i) {
        for (const char16_t wrong : {u'g', u'G', u'`', u'@', u'/', u':', u' '}) {
            WideString other = text;
            other[i] = wrong;
            EXPECT_EQ(Catch([&] { (void)KwStrToGuid(other); }).ClassName, "EKwConvertError") << KwToUtf8(other);
        }
    }
    for (const WideView part : {WideView(text).substr(1), WideView(text).substr(0, 37), WideView(), WideView(u"{}")})
        EXPECT_EQ(Catch([&] { (void)KwStrToGuid(part); }).ClassName, "EKwConvertError") << KwToUtf8(part);
    EXPECT_EQ(Catch([&] { (void)KwStrToGuid(text + u"}"); }).ClassName, "EKwConvertError");
}

TEST(ValueBuffersTest, CalendarTimesCountInUtcAndKeepMilliseconds)
{
    const mapi::SYSTEMTIME leapDay{2024, 2, 4, 29, 23, 59, 58, 999}; // a Thursday
    const TKwFileTime time = KwSystemTimeToFileTime(leapDay);
    EXPECT_EQ(KwFileTimeToIso(time), u"2024-02-29T23:59:58.9990000Z");
    const mapi::SYSTEMTIME back = KwFileTimeToSystemTime(time);
    EXPECT_EQ(std::memcmp(&back, &leapDay, sizeof back), 0);
    EXPECT_EQ(KwFileTimeToSystemTime({0}).wYear, 1601);
    EXPECT_EQ(KwFileTimeToSystemTime({0}).wDayOfWeek, 1); // a Monday

    const auto refused = [](mapi::SYSTEMTIME bad) {
        return Catch([&] { (void)KwSystemTimeToFileTime(bad); }).ClassName == "EKwConvertError";
    };
    EXPECT_TRUE(refused({2023, 2, 0, 29, 0, 0, 0, 0}));
    EXPECT_TRUE(refused({1600, 12, 0, 31, 0, 0, 0, 0}));
    EXPECT_TRUE(refused({2023, 1, 0, 1, 24, 0, 0, 0}));
    EXPECT_TRUE(refused({2023, 1, 0, 1, 0, 60, 0, 0}));
    EXPECT_TRUE(refused({2023, 1, 0, 1, 0, 0, 60, 0}));
    EXPECT_TRUE(refused({2023, 1, 0, 1, 0, 0, 0, 1000}));
    EXPECT_TRUE(refused({2023, 13, 0, 1, 0, 0, 0, 0}));
    EXPECT_TRUE(refused({30828, 1, 0, 1, 0, 0, 0, 0}));
    const mapi::SYSTEMTIME last{30827, 12, 5, 31, 23, 59, 59, 999};
    const mapi::SYSTEMTIME lastBack = KwFileTimeToSystemTime(KwSystemTimeToFileTime(last));
    EXPECT_EQ(std::memcmp(&lastBack, &last, sizeof last), 0);
    EXPECT_EQ(Catch([] { (void)KwFileTimeToSystemTime({UINT64_MAX}); }).ClassName, "EKwConvertError");
}

} // namespace

} // namespace deftmapi::test
