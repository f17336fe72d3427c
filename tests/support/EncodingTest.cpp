// Code pages (ours and the platform's), character-set names, and the 8-bit text stream.
#include "support/uKwEncoding.hpp"
#include "support/uKwExceptions.hpp"
#include "support/uKwStringStream.hpp"
#include "tests/support/TestPlatform.hpp"

#include <gtest/gtest.h>

#include <thread>

using namespace deftmapi;
using namespace std::literals;

namespace
{

std::string AllBytes()
{
    std::string result;
    for (int i = 0; i < 256; ++i)
        result.push_back(static_cast<char>(i));
    return result;
}

} // namespace

TEST(EncodingTest, SingleByteCodePagesRoundTrip)
{
    for (const unsigned codePage : {1252u, 28591u}) {
        const TKwEncoding encoding(codePage);
        const WideString wide = encoding.ToWide(AllBytes());
        ASSERT_EQ(wide.size(), 256u);
        EXPECT_EQ(encoding.FromWide(wide), AllBytes()) << codePage;
        EXPECT_TRUE(encoding.CanEncode(wide));
    }
    EXPECT_EQ(TKwEncoding(1252).ToWide("\x80\x9F\x81\xE4"), u"\u20AC\u0178\u0081\u00E4");
    EXPECT_EQ(TKwEncoding(28591).ToWide("\x80\xE4"), u"\u0080\u00E4");
    EXPECT_EQ(TKwEncoding(20127).ToWide("a\x80"), u"a\uFFFD");
}

TEST(EncodingTest, WhatACodePageLacksBecomesAQuestionMark)
{
    EXPECT_EQ(TKwEncoding(1252).FromWide(u"\u20AC\u0416\U0001F600."),
              "\x80??."); // one mark per character, not per code unit
    EXPECT_EQ(TKwEncoding(28591).FromWide(u"\u20AC\u00E4"), "?\xE4");
    EXPECT_EQ(TKwEncoding(20127).FromWide(u"\u00E4"), "?");
    EXPECT_FALSE(TKwEncoding(1252).CanEncode(u"\u0416"));
    EXPECT_TRUE(TKwEncoding(1252).CanEncode(u"?"));
    EXPECT_FALSE(TKwEncoding(65001).CanEncode(WideString{0xD800}));
    EXPECT_TRUE(TKwEncoding(65001).CanEncode(u"\U0001F600"));
    EXPECT_FALSE(TKwEncoding(1251).CanEncode(u"\u0416\u00E4\u0416"));
}

TEST(EncodingTest, Utf16)
{
    EXPECT_EQ(TKwEncoding(1200).FromWide(u"A\u20AC"), "A\0\xAC\x20"sv);
    EXPECT_EQ(TKwEncoding(1201).FromWide(u"A\u20AC"), "\0A\x20\xAC"sv);
    EXPECT_EQ(TKwEncoding(1200).ToWide("A\0\xAC\x20"sv), u"A\u20AC");
    EXPECT_EQ(TKwEncoding(1201).ToWide("\0A\x20"sv), u"A\uFFFD"); // half a unit at the end
}

TEST(EncodingTest, CodePagesOfThePlatform)
{
    const std::tuple<unsigned, const char*, const char16_t*> cases[] = {
        {1251, "\xCF\xF0\xE8", u"\u041F\u0440\u0438"},
        {28605, "\xA4", u"\u20AC"},
        {874, "\xA1", u"\u0E01"},
        {437, "\x84", u"\u00E4"},
        {20866, "\xF0", u"\u041F"},
        {932, "\x93\xFA\x96\x7B", u"\u65E5\u672C"},
        {936, "\xD6\xD0\xCE\xC4", u"\u4E2D\u6587"},
        {949, "\xC7\xD1", u"\uD55C"},
        {950, "\xA4\xA4", u"\u4E2D"},
        {51932, "\xC6\xFC", u"\u65E5"},
        {51949, "\xC7\xD1", u"\uD55C"},
        {54936, "\x94\x39\xFC\x36", u"\U0001F600"},
    };
    int known = 0;
    for (const auto& [codePage, bytes, text] : cases) {
        const TKwEncoding encoding(codePage);
        if (!encoding.IsKnown())
            continue; // a system may lack some of them
        ++known;
        EXPECT_EQ(encoding.ToWide(bytes), text) << codePage;
        EXPECT_EQ(encoding.FromWide(text), bytes) << codePage;
        EXPECT_TRUE(encoding.CanEncode(text)) << codePage;
        EXPECT_EQ(encoding.FromWide(u""), "");
        EXPECT_EQ(encoding.ToWide(""), u"");
    }
    EXPECT_GE(known, 10);
}

TEST(EncodingTest, OneQuestionMarkPerCharacterThatThePlatformLacks)
{
    EXPECT_EQ(TKwEncoding(1251).FromWide(u"\u041F\u4E2D\u041F"), "\xCF?\xCF");
    EXPECT_EQ(TKwEncoding(1251).FromWide(u"\u041F\U0001F600\u041F"), "\xCF?\xCF");
    EXPECT_EQ(TKwEncoding(1251).FromWide(WideString{0x041F, 0xD83D, 0x041F, 0xD83D}), "\xCF?\xCF?");
    EXPECT_FALSE(TKwEncoding(1251).CanEncode(u"\u041F\u4E2D"));
    EXPECT_TRUE(TKwEncoding(1251).CanEncode(u"\u041F?"));
}

TEST(EncodingTest, DamagedMultiByteTextIsKeptAroundTheDamage)
{
    EXPECT_EQ(TKwEncoding(932).ToWide("\x93\xFA\x93"), u"\u65E5\uFFFD"); // cut off
    const TKwEncoding gb(54936);
    if (gb.IsKnown()) {
        EXPECT_EQ(gb.ToWide("a\xFF\xFFz"), u"a\uFFFD\uFFFDz"); // no lead byte
    }
}

TEST(EncodingTest, StatefulCodePagesCloseTheirState)
{
    const TKwEncoding jis(50220);
    if (!jis.IsKnown())
        GTEST_SKIP() << "this system has no ISO 2022 code pages";
    const std::string encoded = jis.FromWide(u"a\u65E5");
    EXPECT_EQ(encoded, "a\x1B$BF|\x1B(B");
    // The same thread uses the same converter again: nothing of the last text may remain.
    EXPECT_EQ(jis.ToWide("\x1B$BF|"), u"\u65E5");
    EXPECT_EQ(jis.ToWide("F|"), u"F|");
    EXPECT_EQ(jis.FromWide(u"\u65E5\U0001F600b"), "\x1B$BF|\x1B(B?b");
    const TKwEncoding utf7(65000);
    EXPECT_EQ(utf7.ToWide(utf7.FromWide(u"\u00E4\u65E5")), u"\u00E4\u65E5");
}

TEST(EncodingTest, UnknownCodePages)
{
    const TKwEncoding unknown(12345);
    EXPECT_FALSE(unknown.IsKnown());
    EXPECT_THROW(static_cast<void>(unknown.FromWide(u"")), EKwConvertError);
    EXPECT_THROW(static_cast<void>(unknown.ToWide("a")), EKwConvertError);
    EXPECT_THROW(static_cast<void>(unknown.CanEncode(u"a")), EKwConvertError);
    for (const unsigned known : {1252u, 65001u, 1251u, 932u, 28592u, 65000u})
        EXPECT_TRUE(TKwEncoding(known).IsKnown()) << known;
}

TEST(EncodingTest, CodePageZeroIsTheSystems)
{
    test::TTestPlatform platform;
    platform.CodePage = 1251;
    const TKwPlatformOverride override(platform);
    EXPECT_EQ(TKwEncoding().CodePage(), 1251u);
    EXPECT_EQ(TKwEncoding(0).FromWide(u"\u041F"), "\xCF");
    EXPECT_EQ(TKwEncoding::SystemCodePage(), 1251u);
}

TEST(EncodingTest, LongTextsAndSeveralThreads)
{
    // Longer than any buffer of a converter, with a two-byte character across every boundary.
    WideString text(1, u'x');
    for (int i = 0; i < 5000; ++i)
        text += u"\u4E2D";
    std::vector<std::thread> threads;
    for (const unsigned codePage : {932u, 936u, 949u})
        threads.emplace_back([&text, codePage] {
            const TKwEncoding encoding(codePage);
            for (int i = 0; i < 20; ++i)
                EXPECT_EQ(encoding.ToWide(encoding.FromWide(text)), text) << codePage;
        });
    for (auto& thread : threads)
        thread.join();
}

TEST(EncodingTest, CharsetNames)
{
    const std::pair<const char*, unsigned> expected[] = {
        {"utf-8", 65001},        {"UTF8", 65001},
        {"us-ascii", 20127},     {"ISO-8859-1", 28591},
        {"iso8859-15", 28605},   {"ISO_8859-1:1987", 28591},
        {"iso-8859-8-i", 38598}, {"iso-8859-8-e", 28598},
        {"latin1", 28591},       {"windows-1251", 1251},
        {"CP1252", 1252},        {"x-cp1250", 1250},
        {"Shift_JIS", 932},      {"iso-2022-jp", 50220},
        {"EUC-KR", 51949},       {"gb2312", 936},
        {"GB18030", 54936},      {"big5", 950},
        {"koi8-r", 20866},       {"KOI8-U", 21866},
        {"ibm437", 437},         {"utf-16le", 1200},
        {"utf-16be", 1201},      {"utf-7", 65000},
        {"windows-874", 874},    {"", 0},
        {"klingon", 0},          {"iso-8859-12", 0},
        {"iso-8859-", 0},        {"windows-1259", 0},
        {"cp99999999999", 0},
    };
    for (const auto& [name, codePage] : expected)
        EXPECT_EQ(TKwEncoding::CodePageOfCharset(name), codePage) << name;
    EXPECT_EQ(TKwEncoding::CodePageOfCharset(std::string(1000, 'x')), 0u);
}

TEST(StringStreamTest, ReadsAppendsAndSeeks)
{
    TKwStringStream stream("ab", 1251);
    char c = 'z';
    EXPECT_EQ(stream.PeekChar(), 'a');
    EXPECT_TRUE(stream.ReadChar(c));
    EXPECT_EQ(c, 'a');
    stream.Append('c'); // at the end, whatever the position
    stream.Append("de");
    stream.AppendWide(u"\u041F");
    EXPECT_EQ(stream.Position(), 1u);
    EXPECT_EQ(stream.Read(3), "bcd");
    EXPECT_EQ(stream.Read(100), "e\xCF");
    EXPECT_TRUE(stream.AtEnd());
    EXPECT_EQ(stream.PeekChar(), '\0');
    c = 'z';
    EXPECT_FALSE(stream.ReadChar(c));
    EXPECT_EQ(c, 'z');
    stream.Seek(2);
    EXPECT_EQ(stream.Read(1), "c");
    stream.Seek(1000);
    EXPECT_EQ(stream.Position(), stream.Size());
    EXPECT_EQ(stream.TakeText(), "abcde\xCF");
    EXPECT_EQ(stream.Size(), 0u);
    EXPECT_TRUE(stream.AtEnd());
    stream.SetCodePage(65001);
    stream.AppendWide(u"\u041F");
    EXPECT_EQ(stream.Text(), "\xD0\x9F");
    EXPECT_EQ(stream.Encoding().CodePage(), 65001u);
    stream.Clear();
    EXPECT_EQ(stream.Size(), 0u);
}
