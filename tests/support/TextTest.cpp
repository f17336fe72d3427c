// UTF-8 and UTF-16, and comparisons without regard to case.
#include "support/uKwText.hpp"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

using namespace deftmapi;
using namespace std::literals;

TEST(TextTest, EveryCodePointSurvivesUtf8)
{
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF)
            continue;
        WideString wide;
        if (c < 0x10000)
            wide.push_back(static_cast<char16_t>(c));
        else
            wide = {static_cast<char16_t>(0xD7C0 + (c >> 10)), static_cast<char16_t>(0xDC00 + (c & 0x3FF))};
        const std::string utf8 = KwToUtf8(wide);
        ASSERT_EQ(utf8.size(), c < 0x80 ? 1u : c < 0x800 ? 2u : c < 0x10000 ? 3u : 4u) << std::hex << std::uint32_t{c};
        ASSERT_EQ(KwFromUtf8(utf8), wide) << std::hex << std::uint32_t{c};
    }
}

TEST(TextTest, DamagedTextBecomesReplacementCharacters)
{
    const WideString lone{u'a', 0xD83D, u'b', 0xDE00, 0xD83D};
    EXPECT_EQ(KwToUtf8(lone), "a\xEF\xBF\xBD"
                              "b\xEF\xBF\xBD\xEF\xBF\xBD");

    const WideString r(1, u'\xFFFD');
    EXPECT_EQ(KwFromUtf8("a\x80z"), u"a" + r + u"z");         // a continuation alone
    EXPECT_EQ(KwFromUtf8("\xC0\x80"), r + r);                 // overlong
    EXPECT_EQ(KwFromUtf8("\xE0\x9F\xBF"), r + r + r);         // overlong
    EXPECT_EQ(KwFromUtf8("\xF0\x8F\xBF\xBF"), r + r + r + r); // overlong
    EXPECT_EQ(KwFromUtf8("\xED\xA0\x80"), r + r + r);         // a surrogate
    EXPECT_EQ(KwFromUtf8("\xF4\x90\x80\x80"), r + r + r + r); // past the last code point
    EXPECT_EQ(KwFromUtf8("\xE2\x82"), r + r);                 // cut off
    EXPECT_EQ(KwFromUtf8("\xE2\x82\x41"), r + r + u"A");      // interrupted
    EXPECT_EQ(KwFromUtf8("\xFF\xC3\xA4"), r + u"\u00E4");     // what follows is kept
    EXPECT_EQ(KwFromUtf8("a\0b"sv), u"a\0b"sv);
}

TEST(TextTest, SameTextFoldsTheScriptsThatHaveCase)
{
    EXPECT_TRUE(KwSameText(u"MAPI32.dll", u"mapi32.DLL"));
    EXPECT_TRUE(KwSameText(u"\u00C4\u00D6\u00DC\u0141\u0178", u"\u00E4\u00F6\u00FC\u0142\u00FF")); // Latin
    EXPECT_TRUE(KwSameText(u"\u01C4", u"\u01C5"));             // a digraph and its title form
    EXPECT_TRUE(KwSameText(u"\u03A3\u03AC", u"\u03C2\u0386")); // Greek, final sigma
    EXPECT_TRUE(KwSameText(u"\u0416\u0401", u"\u0436\u0451")); // Cyrillic
    EXPECT_TRUE(KwSameText(u"\u0531", u"\u0561"));             // Armenian
    EXPECT_TRUE(KwSameText(u"\u1C90", u"\u10D0"));             // Georgian
    EXPECT_TRUE(KwSameText(u"\U00010400", u"\U00010428"));     // beyond the BMP
    EXPECT_TRUE(KwSameText(u"\u1E9E", u"\u00DF"));

    EXPECT_FALSE(KwSameText(u"\u0131", u"I")); // the dotless i is a letter of its own everywhere
    EXPECT_FALSE(KwSameText(u"\u0130", u"i"));
    EXPECT_FALSE(KwSameText(u"\u00DF", u"ss"));
    EXPECT_FALSE(KwSameText(u"\u00E4", u"a"));
    EXPECT_FALSE(KwSameText(u"@", u"`")); // next to the letters, 32 apart
    EXPECT_FALSE(KwSameText(u"[", u"{"));
    EXPECT_FALSE(KwSameText(u"ab", u"abc"));
    EXPECT_FALSE(KwSameText(u"abc", u"ab"));
    EXPECT_TRUE(KwSameText(u"", u""));
}

TEST(TextTest, UpperAndLowerCase)
{
    EXPECT_EQ(KwUpperCase(u"stra\u00DFe \u0131 \u03C2 \u00FF \U00010428"), u"STRA\u00DF"
                                                                           u"E I \u03A3 \u0178 \U00010400");
    EXPECT_EQ(KwLowerCase(u"\u0102\u0103\u1C90\u0416 7"), u"\u0103\u0103\u10D0\u0436 7");
    EXPECT_EQ(KwLowerCase(WideString{0xDC00, u'A', 0xD800}), (WideString{0xDC00, u'a', 0xD800}));
    // A pair in a stretch of alternating letters is mapped only from its own side.
    EXPECT_EQ(KwLowerCase(u"\u0101"), u"\u0101");
    EXPECT_EQ(KwUpperCase(u"\u0100"), u"\u0100");
}

TEST(TextTest, FoldingDoesNotAskTheLocale)
{
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const char* set = std::setlocale(LC_ALL, "tr_TR.UTF-8");
    EXPECT_TRUE(KwSameText(u"TITLE", u"title"));
    EXPECT_EQ(KwLowerCase(u"I"), u"i");
    std::setlocale(LC_ALL, before.c_str());
    if (set == nullptr)
        GTEST_SKIP() << "the Turkish locale is not installed; only the default one was tried";
}

TEST(TextTest, Trim)
{
    EXPECT_EQ(KwTrim(u" \t\r\n a b \x01\x20"), u"a b");
    EXPECT_EQ(KwTrim(u" \t "), u"");
    EXPECT_EQ(KwTrim(u"\u00A0x"), u"\u00A0x"); // the no-break space is text
}

TEST(TextTest, FindAndReplace)
{
    EXPECT_EQ(KwPosText(u"office\\", u"C:\\Program Files\\OFFICE\\x"), 17u);
    EXPECT_EQ(KwPosText(u"", u"abc"), 0u);
    EXPECT_EQ(KwPosText(u"", u""), 0u);
    EXPECT_EQ(KwPosText(u"abcd", u"abc"), WideView::npos);
    EXPECT_EQ(KwPosText(u"aab", u"aaaab"), 2u);
    EXPECT_EQ(KwPosText(u"c", u"\U0001F600C"), 2u); // in code units

    EXPECT_TRUE(KwStartsText(u"ipm.note", u"IPM.Note.Special"));
    EXPECT_FALSE(KwStartsText(u"IPM.Note.Special", u"IPM.Note"));
    EXPECT_TRUE(KwStartsText(u"", u""));

    EXPECT_EQ(KwReplaceFirstText(u"aXbxc", u"x", u"--"), u"a--bxc");
    EXPECT_EQ(KwReplaceFirstText(u"abc", u"x", u"--"), u"abc");
    EXPECT_EQ(KwReplaceFirstText(u"abc", u"", u"--"), u"abc");
    EXPECT_EQ(KwReplaceFirstText(u"RE: RE: a", u"re: ", u""), u"RE: a");
}
