// The pattern language of the message texts at its edges; the texts themselves are tested where they are raised.
#include "support/uKwExceptions.hpp"
#include "support/uKwFormat.hpp"

#include <gtest/gtest.h>

#include <limits>

using namespace deftmapi;

TEST(FormatTest, ArgumentsContinueAfterANumberedOne)
{
    EXPECT_EQ(KwFormat(u"%s %0:s %s", {u"a", u"b"}), u"a a b");
    EXPECT_EQ(KwFormat(u"%1:s%0:s%s", {u"a", u"b"}), u"bab");
    EXPECT_EQ(KwFormat(u"100%% of %s%%", {u"x"}), u"100% of x%");
    EXPECT_EQ(KwFormat(u"%s", {u"%d %s"}), u"%d %s"); // an argument is never a pattern
}

TEST(FormatTest, WidthAndPrecision)
{
    EXPECT_EQ(KwFormat(u"[%5d][%-5d][%.3d][%6.3d]", {42, 42, 42, -42}), u"[   42][42   ][042][  -042]");
    EXPECT_EQ(KwFormat(u"[%4s][%-4s][%.2s][%0:-4.1s]", {u"ab", u"ab", u"abc"}), u"[  ab][ab  ][ab][a   ]");
    EXPECT_EQ(KwFormat(u"%x %.2x %.0d", {0, 0xA, 0}), u"0 0a ");
}

TEST(FormatTest, NumbersAtTheirLimits)
{
    const std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(KwFormat(u"%d %x", {smallest, smallest}), u"-9223372036854775808 8000000000000000");
    EXPECT_EQ(KwFormat(u"%x %x %x %x", {std::int8_t{-1}, std::int16_t{-1}, std::int32_t{-1}, std::int64_t{-1}}),
              u"ff ffff ffffffff ffffffffffffffff");
    EXPECT_EQ(KwFormat(u"%d %x", {0x80040119u, std::uint16_t{65535}}), u"2147746073 ffff");
    EXPECT_EQ(KwFormat(u"%d=0x%1:.8x", {static_cast<std::int32_t>(0x80040119), 1}), u"-2147221223=0x00000001");
}

TEST(FormatTest, MisfitsRaise)
{
    for (const auto* pattern : {u"%s%s", u"%1:s", u"%", u"%5", u"%.s", u"%q", u"%d", u"%x", u"%99999d", u"%0:", u"%-"})
        EXPECT_THROW(static_cast<void>(KwFormat(pattern, {u"text"})), EKwConvertError) << KwToUtf8(pattern);
    EXPECT_THROW(static_cast<void>(KwFormat(u"%s", {5})), EKwConvertError);
    EXPECT_EQ(KwFormat(u"no arguments used", {u"text"}), u"no arguments used");
}
