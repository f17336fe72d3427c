// Conversions and equality of values.
#include "support/uKwComObj.hpp"
#include "support/uKwExceptions.hpp"
#include "support/uKwVariant.hpp"
#include "tests/support/TestPlatform.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace deftmapi;

namespace
{

constexpr auto largest64 = std::numeric_limits<std::int64_t>::max();
constexpr auto smallest64 = std::numeric_limits<std::int64_t>::min();
constexpr auto largest32 = std::numeric_limits<std::int32_t>::max();

TKwVariant Text(const char16_t* text)
{
    return TKwVariant(text);
}
TKwVariant Ansi(std::string text)
{
    return TKwVariant(TKwAnsiText{std::move(text)});
}

class TThing : public TKwAutoIntfObject
{};

} // namespace

TEST(VariantTest, KindsFollowTheStoredType)
{
    EXPECT_EQ(TKwVariant().Kind(), TKwVarKind::vkEmpty);
    EXPECT_EQ(TKwVariant(TKwNull{}).Kind(), TKwVarKind::vkNull);
    EXPECT_EQ(TKwVariant(std::int16_t{1}).Kind(), TKwVarKind::vkSmallInt);
    EXPECT_EQ(TKwVariant(1).Kind(), TKwVarKind::vkLongInt);
    EXPECT_EQ(TKwVariant(std::int64_t{1}).Kind(), TKwVarKind::vkInt64);
    EXPECT_EQ(TKwVariant(1.0f).Kind(), TKwVarKind::vkSingle);
    EXPECT_EQ(TKwVariant(1.0).Kind(), TKwVarKind::vkDouble);
    EXPECT_EQ(TKwVariant(TKwCurrency{1}).Kind(), TKwVarKind::vkCurrency);
    EXPECT_EQ(TKwVariant(TKwDate{1}).Kind(), TKwVarKind::vkDate);
    EXPECT_EQ(TKwVariant(TKwFileTime{1}).Kind(), TKwVarKind::vkFileTime);
    EXPECT_EQ(TKwVariant(true).Kind(), TKwVarKind::vkBoolean);
    EXPECT_EQ(TKwVariant(TKwErrorCode{1}).Kind(), TKwVarKind::vkError);
    EXPECT_EQ(TKwVariant(u"x").Kind(), TKwVarKind::vkWideString);
    EXPECT_EQ(Ansi("x").Kind(), TKwVarKind::vkAnsiString);
    EXPECT_EQ(TKwVariant(TKwBytes{1}).Kind(), TKwVarKind::vkBytes);
    EXPECT_EQ(TKwVariant(TKwVariant::Array{}).Kind(), TKwVarKind::vkArray);
    EXPECT_EQ(TKwVariant(TKwRef<IKwInterface>()).Kind(), TKwVarKind::vkInterface);
    static_assert(!std::is_constructible_v<TKwVariant, const char*>, "a pointer must not become a Boolean");
    static_assert(!std::is_constructible_v<TKwVariant, int*>);
}

TEST(VariantTest, BooleansOfInterfacesAreSixteenBits)
{
    const WordBool yes = true;
    const WordBool no;
    EXPECT_EQ(static_cast<std::uint16_t>(yes), 65535);
    EXPECT_EQ(static_cast<std::uint16_t>(no), 0);
    EXPECT_TRUE(yes && !no && yes == true && no == false && yes != no);
    EXPECT_EQ(TKwVariant(yes).Kind(), TKwVarKind::vkBoolean);
    EXPECT_TRUE(TKwVariant(yes).AsBoolean());
    EXPECT_FALSE(TKwVariant(no).AsBoolean());
}

TEST(VariantTest, NumbersConvertWithARangeCheck)
{
    EXPECT_EQ(TKwVariant(std::int16_t{-7}).AsInteger(), -7);
    EXPECT_EQ(TKwVariant(std::int64_t{largest32}).AsInteger(), largest32);
    EXPECT_THROW(static_cast<void>(TKwVariant(std::int64_t{largest32} + 1).AsInteger()), EKwConvertError);
    EXPECT_EQ(TKwVariant(true).AsInteger(), -1);
    EXPECT_EQ(TKwVariant(TKwCurrency{25000}).AsInteger(), 2); // halves go to the even neighbour
    EXPECT_EQ(TKwVariant(TKwCurrency{35000}).AsInteger(), 4);
    EXPECT_EQ(TKwVariant(TKwCurrency{-25001}).AsInteger(), -3);
    EXPECT_EQ(TKwVariant(2.5).AsInteger(), 2);
    EXPECT_EQ(TKwVariant(3.5).AsInteger(), 4);
    EXPECT_EQ(TKwVariant(-2.5).AsInteger(), -2);
    EXPECT_EQ(TKwVariant(-2.6).AsInteger(), -3);
    EXPECT_EQ(TKwVariant(2.4f).AsInteger(), 2);

    EXPECT_EQ(TKwVariant(-9223372036854775808.0).AsLargeInteger(), smallest64);
    EXPECT_THROW(static_cast<void>(TKwVariant(9223372036854775808.0).AsLargeInteger()), EKwConvertError);
    EXPECT_THROW(static_cast<void>(TKwVariant(std::nan("")).AsLargeInteger()), EKwConvertError);
    EXPECT_THROW(static_cast<void>(TKwVariant(HUGE_VAL).AsInteger()), EKwConvertError);

    EXPECT_EQ(TKwVariant(-12.5).AsCurrency(), (TKwCurrency{-125000}));
    EXPECT_EQ(TKwVariant(std::int64_t{922337203685477}).AsCurrency(), (TKwCurrency{9223372036854770000}));
    EXPECT_THROW(static_cast<void>(TKwVariant(std::int64_t{922337203685478}).AsCurrency()), EKwConvertError);
    EXPECT_THROW(static_cast<void>(TKwVariant(1e15).AsCurrency()), EKwConvertError);
    EXPECT_DOUBLE_EQ(TKwVariant(TKwCurrency{-12345}).AsFloat(), -1.2345);
    EXPECT_TRUE(TKwVariant(0.5).AsBoolean());
    EXPECT_FALSE(TKwVariant(std::int64_t{0}).AsBoolean());
}

TEST(VariantTest, TextConvertsToNumbers)
{
    EXPECT_EQ(Text(u" 42 ").AsInteger(), 42);
    EXPECT_EQ(Text(u"+42").AsInteger(), 42);
    EXPECT_EQ(Text(u"-42").AsLargeInteger(), -42);
    EXPECT_EQ(Text(u"9223372036854775807").AsLargeInteger(), largest64);
    EXPECT_THROW(static_cast<void>(Text(u"9223372036854775808").AsLargeInteger()), EKwConvertError);
    EXPECT_EQ(Ansi("1e3").AsInteger(), 1000);
    EXPECT_EQ(Text(u"-12.3456").AsCurrency(), (TKwCurrency{-123456}));
    EXPECT_EQ(Text(u"922337203685477.5807").AsCurrency(), (TKwCurrency{largest64})); // exact, not through a double
    EXPECT_DOUBLE_EQ(Text(u"0.1").AsFloat(), 0.1);
    EXPECT_DOUBLE_EQ(Text(u".5").AsFloat(), 0.5);
    EXPECT_TRUE(Text(u"TRUE").AsBoolean());
    EXPECT_FALSE(Text(u"false").AsBoolean());
    EXPECT_TRUE(Text(u"2").AsBoolean());
    for (const auto* text : {u"", u" ", u"x", u"4x", u"--4", u"+-4", u"nan", u"inf", u"0x10", u"1,5", u"1.2.3",
                             u"\u0664", u"-", u".", u"-.", u"1e999"})
        EXPECT_THROW(static_cast<void>(Text(text).AsFloat()), EKwConvertError) << KwToUtf8(text);
}

TEST(VariantTest, NumbersConvertToTheirDecimalText)
{
    EXPECT_EQ(TKwVariant(smallest64).AsStringW(), u"-9223372036854775808");
    EXPECT_EQ(TKwVariant(0.1).AsStringW(), u"0.1");
    EXPECT_EQ(TKwVariant(0.1f).AsStringW(), u"0.1");
    EXPECT_EQ(TKwVariant(-2.0).AsStringW(), u"-2");
    EXPECT_EQ(TKwVariant(TKwCurrency{smallest64}).AsStringW(), u"-922337203685477.5808");
    EXPECT_EQ(TKwVariant(TKwCurrency{-500}).AsStringW(), u"-0.05");
    EXPECT_EQ(TKwVariant(TKwCurrency{20000}).AsStringW(), u"2");
    EXPECT_EQ(TKwVariant(true).AsStringW(), u"True");
    EXPECT_EQ(TKwVariant(false).AsStringW(), u"False");
    EXPECT_EQ(TKwVariant(5).AsStringA(), "5");
}

TEST(VariantTest, EmptyConvertsAndNullDoesNot)
{
    const TKwVariant empty;
    EXPECT_EQ(empty.AsInteger(), 0);
    EXPECT_EQ(empty.AsFloat(), 0.0);
    EXPECT_EQ(empty.AsStringW(), u"");
    EXPECT_FALSE(empty.AsBoolean());
    EXPECT_EQ(empty.AsCurrency(), TKwCurrency{});
    EXPECT_TRUE(empty.AsBytes().empty());
    const TKwVariant others[] = {TKwVariant(TKwNull{}), TKwVariant(TKwErrorCode{5}), TKwVariant(TKwBytes{1}),
                                 TKwVariant(TKwRef<IKwInterface>(KwMake<TThing>()))};
    for (const TKwVariant& v : others) {
        EXPECT_THROW(static_cast<void>(v.AsInteger()), EKwConvertError);
        EXPECT_THROW(static_cast<void>(v.AsFloat()), EKwConvertError);
        EXPECT_THROW(static_cast<void>(v.AsBoolean()), EKwConvertError);
        EXPECT_THROW(static_cast<void>(v.AsStringW()), EKwConvertError);
        EXPECT_THROW(static_cast<void>(v.AsDateTime()), EKwConvertError);
        EXPECT_THROW(static_cast<void>(v.AsFileTime()), EKwConvertError);
    }
    EXPECT_THROW(static_cast<void>(TKwVariant(TKwNull{}).AsBytes()), EKwConvertError);
    EXPECT_THROW(static_cast<void>(TKwVariant(TKwNull{}).AsArray()), EKwConvertError);
    EXPECT_THROW(static_cast<void>(TKwVariant().AsArray()), EKwConvertError);
    EXPECT_THROW(static_cast<void>(TKwVariant(5).AsBytes()), EKwConvertError);
}

TEST(VariantTest, AnsiTextIsInTheSystemCodePage)
{
    test::TTestPlatform platform;
    platform.CodePage = 1251;
    const TKwPlatformOverride override(platform);
    EXPECT_EQ(Ansi("\xCF").AsStringW(), u"\u041F");
    EXPECT_EQ(Ansi("\xCF").AsStringA(), "\xCF");
    EXPECT_EQ(Ansi("\xCF").AsStringA(65001), "\xD0\x9F");
    EXPECT_EQ(Text(u"\u041F").AsStringA(), "\xCF");
    EXPECT_EQ(Text(u"\u041F").AsStringA(1252), "?");
    EXPECT_EQ(Ansi("\xCF"), Text(u"\u041F"));
    EXPECT_NE(Ansi("\xCF"), Text(u"\u043F"));
}

TEST(VariantTest, BytesAndArrays)
{
    const TKwVariant::Array numbers{TKwVariant(1), TKwVariant(std::int16_t{255}), TKwVariant(u"7")};
    EXPECT_EQ(TKwVariant(numbers).AsBytes(), (TKwBytes{1, 255, 7}));
    EXPECT_THROW(static_cast<void>(TKwVariant(TKwVariant::Array{TKwVariant(256)}).AsBytes()), EKwConvertError);
    EXPECT_THROW(static_cast<void>(TKwVariant(TKwVariant::Array{TKwVariant(-1)}).AsBytes()), EKwConvertError);
    EXPECT_EQ(TKwVariant(numbers).AsArray().size(), 3u);
    const auto single = TKwVariant(u"x").AsArray();
    ASSERT_EQ(single.size(), 1u);
    EXPECT_EQ(single[0], Text(u"x"));
    EXPECT_EQ(TKwVariant(TKwBytes{1, 2}).AsArray().size(), 1u); // bytes are one value, not many
}

TEST(VariantTest, NumbersAreEqualByValue)
{
    EXPECT_EQ(TKwVariant(std::int16_t{5}), TKwVariant(5.0));
    EXPECT_EQ(TKwVariant(5), TKwVariant(TKwCurrency{50000}));
    EXPECT_EQ(TKwVariant(TKwCurrency{15000}), TKwVariant(1.5f));
    EXPECT_EQ(TKwVariant(true), TKwVariant(-1));
    EXPECT_NE(TKwVariant(true), TKwVariant(1));
    EXPECT_NE(TKwVariant(TKwCurrency{50001}), TKwVariant(5));
    // Near 2^63 a detour through a double would call different numbers equal.
    EXPECT_NE(TKwVariant(largest64), TKwVariant(9223372036854775808.0));
    EXPECT_NE(TKwVariant(largest64 - 1), TKwVariant(largest64));
    EXPECT_EQ(TKwVariant(smallest64), TKwVariant(-9223372036854775808.0));
    EXPECT_NE(TKwVariant(std::int64_t{9007199254740993}), TKwVariant(9007199254740992.0));
    EXPECT_NE(TKwVariant(std::nan("")), TKwVariant(std::nan("")));
    EXPECT_EQ(TKwVariant(0.0), TKwVariant(-0.0));
    EXPECT_NE(TKwVariant(0.1f), TKwVariant(0.1));
}

TEST(VariantTest, OtherKindsAreEqualWhereTheyConvert)
{
    EXPECT_EQ(Text(u"5"), TKwVariant(5));
    EXPECT_EQ(TKwVariant(5.5), Ansi("5.50"));
    EXPECT_EQ(Text(u"true"), TKwVariant(true));
    EXPECT_NE(Text(u"maybe"), TKwVariant(true));
    EXPECT_NE(Text(u"five"), TKwVariant(5));
    EXPECT_NE(Text(u"abc"), Text(u"ABC"));

    EXPECT_EQ(TKwVariant(), TKwVariant());
    EXPECT_EQ(TKwVariant(TKwNull{}), TKwVariant(TKwNull{}));
    EXPECT_NE(TKwVariant(), TKwVariant(TKwNull{}));
    EXPECT_NE(TKwVariant(), TKwVariant(0));
    EXPECT_NE(TKwVariant(), Text(u""));
    EXPECT_NE(TKwVariant(TKwNull{}), TKwVariant(0));
    EXPECT_EQ(TKwVariant(TKwErrorCode{5}), TKwVariant(TKwErrorCode{5}));
    EXPECT_NE(TKwVariant(TKwErrorCode{5}), TKwVariant(5));

    using Array = TKwVariant::Array;
    EXPECT_EQ(TKwVariant(Array{TKwVariant(1), Text(u"a")}), TKwVariant(Array{TKwVariant(1.0), Ansi("a")}));
    EXPECT_NE(TKwVariant(Array{TKwVariant(1)}), TKwVariant(Array{TKwVariant(1), TKwVariant(2)}));
    EXPECT_NE(TKwVariant(Array{TKwVariant(1)}), TKwVariant(1));
    EXPECT_EQ(TKwVariant(Array{TKwVariant(1), TKwVariant(2)}), TKwVariant(TKwBytes{1, 2}));
    EXPECT_NE(TKwVariant(TKwBytes{1, 2}), TKwVariant(TKwBytes{1, 3}));
    EXPECT_NE(TKwVariant(TKwBytes{}), TKwVariant());

    const TKwRef<IKwInterface> a = KwMake<TThing>();
    const TKwRef<IKwInterface> b = KwMake<TThing>();
    EXPECT_EQ(TKwVariant(a), TKwVariant(a));
    EXPECT_NE(TKwVariant(a), TKwVariant(b));
}
