// The Windows platform against the real system (or Wine): a registry key and a folder of its own, the system's
// libraries. Texts of the system differ between versions, so only their shape is looked at.
#include "support/platform/uKwPlatform.hpp"
#include "support/uKwEncoding.hpp"
#include "tests/support/ModuleImages.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#undef FreeModule

using namespace deftmapi;
namespace fs = std::filesystem;

namespace
{

constexpr auto user = TKwRegistryRoot::rrCurrentUser;
constexpr auto own = TKwRegistryView::rvProcess;
constexpr auto testKey = L"Software\\DeftMAPI-Test";

IKwPlatform& System()
{
    return KwSystemPlatform();
}

WideString Name(const fs::path& path)
{
    return path.u16string();
}

class WindowsRegistryTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(::RegCreateKeyW(HKEY_CURRENT_USER, testKey, &FKey), ERROR_SUCCESS);
        HKEY child = nullptr;
        for (const wchar_t* name : {L"Alpha", L"Beta"}) {
            ASSERT_EQ(::RegCreateKeyW(FKey, name, &child), ERROR_SUCCESS);
            ::RegCloseKey(child);
        }
    }
    void TearDown() override
    {
        for (const wchar_t* name : {L"Alpha", L"Beta"})
            ::RegDeleteKeyW(FKey, name);
        ::RegCloseKey(FKey);
        ::RegDeleteKeyW(HKEY_CURRENT_USER, testKey);
    }
    void Set(const wchar_t* name, DWORD type, const void* data, std::size_t size)
    {
        ASSERT_EQ(::RegSetValueExW(FKey, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)),
                  ERROR_SUCCESS);
    }

private:
    HKEY FKey = nullptr;
};

class WindowsFilesTest : public testing::Test
{
protected:
    const test::TemporaryFolder Temporary;
    const fs::path Folder = Temporary.Path();
};

} // namespace

TEST_F(WindowsRegistryTest, KeysAndValues)
{
    Set(L"", REG_SZ, L"default", sizeof L"default");
    Set(L"path", REG_EXPAND_SZ, L"%SystemRoot%\\x", sizeof L"%SystemRoot%\\x");
    Set(L"unended", REG_SZ, L"abc", 3 * sizeof(wchar_t));
    const DWORD number = 4000000000u;
    Set(L"number", REG_DWORD, &number, sizeof number);
    Set(L"binary", REG_BINARY, "x", 1);
    const WideString key = u"Software\\DeftMAPI-Test";
    EXPECT_TRUE(System().RegistryKeyExists(user, own, key));
    EXPECT_TRUE(System().RegistryKeyExists(user, own, u"\\" + key)); // the leading backslash is taken off
    EXPECT_FALSE(System().RegistryKeyExists(user, own, key + u"\\Gamma"));
    EXPECT_EQ(System().RegistrySubKeys(user, own, key), (std::vector<WideString>{u"Alpha", u"Beta"}));
    EXPECT_TRUE(System().RegistrySubKeys(user, own, key + u"\\Gamma").empty());
    EXPECT_EQ(System().RegistryValue(user, own, key, u""), u"default");
    EXPECT_EQ(System().RegistryValue(user, own, key, u"PATH"), u"%SystemRoot%\\x"); // as it stands
    EXPECT_EQ(System().RegistryValue(user, own, key, u"unended"), u"abc");
    EXPECT_EQ(System().RegistryValue(user, own, key, u"number"), u"4000000000");
    EXPECT_EQ(System().RegistryValue(user, own, key, u"binary"), std::nullopt);
    EXPECT_EQ(System().RegistryValue(user, own, key, u"none"), std::nullopt);
    EXPECT_EQ(System().RegistryValue(user, own, key + u"\\Gamma", u""), std::nullopt);
}

TEST_F(WindowsFilesTest, ReadsAndFinds)
{
    Temporary.Write(L"a\\1031\\msmapi32.dll", "0123456789");
    Temporary.Write(L"a\\1033\\MSMAPI32.DLL", "");
    Temporary.Write(L"msmapi32.dll\\gr\u00FC\u00DFe.bin", "0123456789"); // a folder of that name
    const WideString file = Name(Folder / L"msmapi32.dll\\gr\u00FC\u00DFe.bin");
    EXPECT_TRUE(System().FileExists(file));
    EXPECT_FALSE(System().FileExists(Name(Folder)));
    EXPECT_EQ(System().ReadFile(file, 8, 100), "89");
    EXPECT_EQ(System().ReadFile(file, 10, 1), "");
    EXPECT_EQ(System().ReadFile(file, UINT64_MAX, SIZE_MAX), "");
    EXPECT_EQ(System().ReadFile(file + u"x", 0, 1), std::nullopt);
    std::vector<WideString> found = System().FindFiles(Name(Folder), u"msmapi32.dll");
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<WideString>{Name(Folder / L"a\\1031\\msmapi32.dll"),
                                              Name(Folder / L"a\\1033\\MSMAPI32.DLL")}));
}

TEST_F(WindowsFilesTest, SaysWhyAModuleDoesNotLoad)
{
    WideString reason;
    EXPECT_EQ(System().LoadModule(Name(Folder / L"none.dll"), reason), nullptr);
    EXPECT_FALSE(reason.empty());
    Temporary.Write(L"wrong.dll", test::MakePeImage(false, {"x"})); // the other bitness, and no real library either
    EXPECT_EQ(System().LoadModule(Name(Folder / L"wrong.dll"), reason), nullptr);
    EXPECT_FALSE(reason.empty());
}

TEST_F(WindowsFilesTest, LoadsByARelativeNameAndLeavesTheErrorModeAlone)
{
    wchar_t system[MAX_PATH] = {};
    ASSERT_NE(::GetSystemDirectoryW(system, MAX_PATH), 0u);
    std::filesystem::create_directories(Folder / L"sub");
    std::filesystem::copy_file(std::filesystem::path(system) / L"mapi32.dll", Folder / L"sub" / L"copy.dll");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(Folder);
    DWORD oldMode = 0;
    ::SetThreadErrorMode(SEM_NOGPFAULTERRORBOX, &oldMode);
    WideString reason;
    for (const WideString name : {u"sub\\copy.dll", u".\\sub/copy.dll"}) {
        const TKwModule module = System().LoadModule(name, reason);
        EXPECT_NE(module, nullptr) << KwToUtf8(name) << ": " << KwToUtf8(reason);
        System().FreeModule(module);
    }
    EXPECT_EQ(System().LoadModule(u"sub\\none.dll", reason), nullptr);
    EXPECT_EQ(::GetThreadErrorMode(), static_cast<DWORD>(SEM_NOGPFAULTERRORBOX));
    ::SetThreadErrorMode(oldMode, nullptr);
    std::filesystem::current_path(before);
}

TEST(WindowsPlatformTest, Modules)
{
    WideString reason;
    const TKwModule module = System().LoadModule(u"mapi32.dll", reason);
    ASSERT_NE(module, nullptr) << KwToUtf8(reason);
    void* address = System().FindExport(module, "MAPIInitialize");
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(System().FindExport(module, "NoSuchExport"), nullptr);
    EXPECT_EQ(System().FindExport(nullptr, "MAPIInitialize"), nullptr);
    const WideString fileName = System().ModuleFileNameOf(address);
    EXPECT_NE(KwPosText(u"mapi32.dll", fileName), WideView::npos) << KwToUtf8(fileName);

    const TKwModuleInfo info = KwReadModuleInfo(fileName);
    EXPECT_EQ(info.FileFormat, TKwModuleInfo::Format::PE);
    EXPECT_EQ(info.Is64Bit, System().Is64BitProcess());
    EXPECT_TRUE(info.HasExport("MAPIInitialize"));
    EXPECT_TRUE(info.HasExport("MAPILogonEx"));
    System().FreeModule(module);
    int onTheStack = 0;
    EXPECT_TRUE(System().ModuleFileNameOf(&onTheStack).empty());
}

TEST(WindowsPlatformTest, EnvironmentLocaleAndTexts)
{
    const std::wstring longValue(1000, L'x');
    ::SetEnvironmentVariableW(L"DEFTMAPI_TEST_VARIABLE", longValue.c_str());
    EXPECT_EQ(System().Environment(u"deftmapi_test_variable"), WideString(1000, u'x'));
    ::SetEnvironmentVariableW(L"DEFTMAPI_TEST_VARIABLE", L"");
    EXPECT_EQ(System().Environment(u"DEFTMAPI_TEST_VARIABLE"), u"");
    ::SetEnvironmentVariableW(L"DEFTMAPI_TEST_VARIABLE", nullptr);
    EXPECT_EQ(System().Environment(u"DEFTMAPI_TEST_VARIABLE"), std::nullopt);
    EXPECT_EQ(System().ExpandEnvironment(u"%DEFTMAPI_TEST_NONE%"), u"%DEFTMAPI_TEST_NONE%");
    EXPECT_EQ(System().DefaultLocale(), ::GetUserDefaultLCID());

    const WideString text = System().SystemMessage(2);
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(KwTrim(text), text); // no line break at its end
    EXPECT_TRUE(System().SystemMessage(0x2FFFFFFF).empty());
}
