// What every platform shares: the expansion of names in texts, and overriding.
#include "tests/support/TestPlatform.hpp"

#include <gtest/gtest.h>

using namespace deftmapi;
using namespace deftmapi::test;

TEST(TestPlatformTest, ExpandEnvironment)
{
    TTestPlatform platform;
    platform.SetEnvironment(u"ProgramFiles", u"C:\\Program Files");
    platform.SetEnvironment(u"Empty", u"");
    EXPECT_EQ(platform.ExpandEnvironment(u"%PROGRAMFILES%\\x"), u"C:\\Program Files\\x");
    EXPECT_EQ(platform.ExpandEnvironment(u"%None%\\x"), u"%None%\\x");
    EXPECT_EQ(platform.ExpandEnvironment(u"100% of %ProgramFiles%"), u"100% of C:\\Program Files");
    EXPECT_EQ(platform.ExpandEnvironment(u"%none%ProgramFiles%"), u"%noneC:\\Program Files");
    EXPECT_EQ(platform.ExpandEnvironment(u"a%Empty%b%%c%"), u"ab%%c%");
    EXPECT_EQ(platform.ExpandEnvironment(u"50%"), u"50%");
    EXPECT_EQ(platform.ExpandEnvironment(u""), u"");
}

TEST(TestPlatformTest, OverridesNest)
{
    TTestPlatform outer;
    {
        const TKwPlatformOverride first(outer);
        EXPECT_EQ(&KwPlatform(), &outer);
        TTestPlatform inner;
        {
            const TKwPlatformOverride second(inner);
            EXPECT_EQ(&KwPlatform(), &inner);
            EXPECT_NE(&KwSystemPlatform(), &inner);
        }
        EXPECT_EQ(&KwPlatform(), &outer);
    }
    EXPECT_EQ(&KwPlatform(), &KwSystemPlatform());
}
