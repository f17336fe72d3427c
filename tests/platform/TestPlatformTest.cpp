// The platform in memory, where other tests rely on it: paths of keys, views, files and modules; and the rules that it
// shares with the real ones.
#include "tests/support/TestPlatform.hpp"

#include <gtest/gtest.h>

using namespace deftmapi;
using namespace deftmapi::test;

namespace
{

constexpr auto user = TKwRegistryRoot::rrCurrentUser;
constexpr auto machine = TKwRegistryRoot::rrLocalMachine;
constexpr auto own = TKwRegistryView::rvProcess;
constexpr auto other = TKwRegistryView::rvOther;

} // namespace

TEST(TestPlatformTest, Registry)
{
    TTestPlatform platform;
    platform.SetValue(machine, u"\\Software\\Clients\\Mail\\Zeta", u"DLLPathEx", u"C:\\z.dll");
    platform.SetValue(machine, u"Software\\Clients\\Mail\\Alpha", u"", u"Alpha Mail");
    platform.AddKey(machine, u"SOFTWARE\\Clients\\Mail\\Beta", other);
    EXPECT_TRUE(platform.RegistryKeyExists(machine, own, u"software\\clients"));
    EXPECT_FALSE(platform.RegistryKeyExists(user, own, u"Software"));
    EXPECT_FALSE(platform.RegistryKeyExists(machine, own, u"Software\\Clients\\Mail\\Beta"));
    EXPECT_EQ(platform.RegistrySubKeys(machine, own, u"Software\\Clients\\Mail"),
              (std::vector<WideString>{u"Zeta", u"Alpha"}));
    EXPECT_EQ(platform.RegistrySubKeys(machine, other, u"\\Software\\Clients\\Mail\\"),
              std::vector<WideString>{u"Beta"});
    EXPECT_EQ(platform.RegistryValue(machine, own, u"Software\\Clients\\MAIL\\zeta", u"dllpathex"), u"C:\\z.dll");
    EXPECT_EQ(platform.RegistryValue(machine, own, u"Software\\Clients\\Mail\\Alpha", u""), u"Alpha Mail");
    EXPECT_EQ(platform.RegistryValue(machine, own, u"Software\\Clients\\Mail\\Zeta", u"DLLPath"), std::nullopt);
    EXPECT_EQ(platform.RegistryValue(machine, own, u"Nowhere", u"x"), std::nullopt);
}

TEST(TestPlatformTest, FilesAndModules)
{
    TTestPlatform platform;
    platform.SetFile(u"C:\\Office\\1031\\msmapi32.dll", "a");
    platform.SetFile(u"C:\\Office\\1033\\MSMAPI32.DLL", "0123456789");
    platform.SetFile(u"C:\\Office2\\msmapi32.dll", "c");
    EXPECT_EQ(platform.FindFiles(u"C:\\Office", u"msmapi32.dll"),
              (std::vector<WideString>{u"C:\\Office\\1031\\msmapi32.dll", u"C:\\Office\\1033\\MSMAPI32.DLL"}));
    EXPECT_EQ(platform.ReadFile(u"c:\\office\\1033\\msmapi32.dll", 8, 100), "89");
    EXPECT_EQ(platform.ReadFile(u"c:\\office\\1033\\msmapi32.dll", 10, 1), "");
    EXPECT_EQ(platform.ReadFile(u"C:\\none", 0, 1), std::nullopt);
    platform.CaseInsensitiveFiles = false;
    EXPECT_FALSE(platform.FileExists(u"c:\\office\\1033\\msmapi32.dll"));
    platform.CaseInsensitiveFiles = true;

    int dummy = 0;
    TFakeModule& module = platform.AddModule(u"A.dll");
    module.Exports["MAPIInitialize"] = &dummy;
    platform.AddModule(u"broken.dll").Refusal = u"no";
    WideString reason;
    EXPECT_EQ(platform.LoadModule(u"missing.dll", reason), nullptr);
    EXPECT_FALSE(reason.empty());
    EXPECT_EQ(platform.LoadModule(u"broken.dll", reason), nullptr);
    EXPECT_EQ(reason, u"no");
    const TKwModule loaded = platform.LoadModule(u"a.DLL", reason);
    EXPECT_EQ(platform.FindExport(loaded, "MAPIInitialize"), &dummy);
    EXPECT_EQ(platform.FindExport(loaded, "MAPILogonEx"), nullptr);
    EXPECT_EQ(platform.OpenModules(), 1);
    platform.FreeModule(loaded);
    EXPECT_EQ(module.Loads, 1);
    EXPECT_EQ(platform.OpenModules(), 0);
}

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
