// The POSIX platform against the real system: a folder of its own, a library of its own, the process's environment.
#include "support/platform/PosixParts.hpp"
#include "support/platform/uKwPlatform.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <dlfcn.h>
#include <unistd.h>

using namespace deftmapi;
namespace fs = std::filesystem;

namespace
{

IKwPlatform& System()
{
    return KwSystemPlatform();
}

WideString Name(const fs::path& path)
{
    return KwFromUtf8(path.string());
}

class PosixFilesTest : public testing::Test
{
protected:
    const test::TemporaryFolder Temporary;
    const fs::path Folder = Temporary.Path();
};

/// Sets an environment variable for the life of the object.
class TVariable
{
public:
    TVariable(const char* name, const char* value) : FName(name)
    {
        if (const char* old = std::getenv(name))
            FOld = old;
        Set(value);
    }
    ~TVariable() { Set(FOld ? FOld->c_str() : nullptr); }
    TVariable(const TVariable&) = delete;
    TVariable& operator=(const TVariable&) = delete;

private:
    void Set(const char* value)
    {
        if (value != nullptr)
            ::setenv(FName, value, 1);
        else
            ::unsetenv(FName);
    }
    const char* FName;
    std::optional<std::string> FOld;
};

} // namespace

TEST_F(PosixFilesTest, ReadsPartsOfFiles)
{
    Temporary.Write("gr\xC3\xBC\xC3\x9F"
                    "e.bin",
                    "0123456789");
    const WideString name = Name(Folder) + u"/gr\u00FC\u00DFe.bin";
    EXPECT_TRUE(System().FileExists(name));
    EXPECT_EQ(System().ReadFile(name, 0, 4), "0123");
    EXPECT_EQ(System().ReadFile(name, 8, 100), "89");
    EXPECT_EQ(System().ReadFile(name, 10, 1), "");
    EXPECT_EQ(System().ReadFile(name, UINT64_MAX, SIZE_MAX), "");
    EXPECT_EQ(System().ReadFile(name, 5, SIZE_MAX), "56789"); // the count is not believed when memory is taken
    EXPECT_FALSE(System().FileExists(Name(Folder)));          // a folder is no file
    EXPECT_EQ(System().ReadFile(Name(Folder), 0, 1), std::nullopt);
    EXPECT_EQ(System().ReadFile(name + u"x", 0, 1), std::nullopt);
}

TEST_F(PosixFilesTest, FindsFilesBelowAFolder)
{
    Temporary.Write("a/1031/msmapi32.dll", "");
    Temporary.Write("a/1033/MSMAPI32.DLL", "");
    Temporary.Write("a/other.dll", "");
    Temporary.Write("MsMapi32.dll", "");
    fs::create_directories(Folder / "b" / "msmapi32.dll");       // a folder of that name
    fs::create_directory_symlink(Folder, Folder / "a" / "loop"); // leads back up
    std::vector<WideString> found = System().FindFiles(Name(Folder), u"msmapi32.dll");
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<WideString>{Name(Folder / "MsMapi32.dll"), Name(Folder / "a/1031/msmapi32.dll"),
                                              Name(Folder / "a/1033/MSMAPI32.DLL")}));
    EXPECT_TRUE(System().FindFiles(Name(Folder / "none"), u"x").empty());
}

TEST(PosixPlatformTest, LoadsModulesPrivately)
{
    WideString reason = u"old";
    const TKwModule module = System().LoadModule(KwFromUtf8(TEST_MODULE), reason);
    ASSERT_NE(module, nullptr) << KwToUtf8(reason);
    EXPECT_TRUE(reason.empty());
    using TAnswer = int();
    auto* answer = reinterpret_cast<TAnswer*>(System().FindExport(module, "DeftmapiTestAnswer"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(System().FindExport(module, "DeftmapiTestHidden"), nullptr);
    EXPECT_EQ(System().FindExport(nullptr, "malloc"), nullptr);
    EXPECT_EQ(::dlsym(RTLD_DEFAULT, "DeftmapiTestAnswer"), nullptr); // nobody else sees its symbols
    EXPECT_EQ(System().ModuleFileNameOf(reinterpret_cast<void*>(answer)), Name(fs::canonical(TEST_MODULE)));
    System().FreeModule(module);
    EXPECT_EQ(::dlopen(TEST_MODULE, RTLD_NOW | RTLD_NOLOAD), nullptr); // it is gone
    System().FreeModule(nullptr);
}

TEST(PosixPlatformTest, NamesTheMainProgram)
{
    const auto* inTheProgram = reinterpret_cast<const void*>(&System);
    EXPECT_EQ(System().ModuleFileNameOf(inTheProgram), Name(fs::canonical("/proc/self/exe")));
}

TEST(PosixPlatformTest, NamesTheMainProgramThatWasCalledByABareName)
{
    const fs::path program = fs::canonical("/proc/self/exe");
    const std::string path = program.parent_path().string() + ":" + std::getenv("PATH");
    const TVariable found("PATH", path.c_str());
    const fs::path elsewhere = fs::temp_directory_path();
    const std::string command = "cd '" + elsewhere.string() + "' && " + program.filename().string() +
                                " --gtest_filter=PosixPlatformTest.NamesTheMainProgram >/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

TEST(PosixPlatformTest, SaysWhyAModuleDoesNotLoad)
{
    WideString reason;
    EXPECT_EQ(System().LoadModule(u"/nowhere/at/all.so", reason), nullptr);
    EXPECT_NE(reason.find(u"/nowhere/at/all.so"), WideString::npos);
    int onTheStack = 0;
    EXPECT_TRUE(System().ModuleFileNameOf(&onTheStack).empty());
    EXPECT_EQ(System().Is64BitProcess(), sizeof(void*) == 8);
}

TEST(PosixPlatformTest, RegistryIsEmpty)
{
    for (const auto root : {TKwRegistryRoot::rrCurrentUser, TKwRegistryRoot::rrLocalMachine}) {
        EXPECT_FALSE(System().RegistryKeyExists(root, TKwRegistryView::rvProcess, u"Software"));
        EXPECT_EQ(System().RegistryValue(root, TKwRegistryView::rvOther, u"Software", u""), std::nullopt);
        EXPECT_TRUE(System().RegistrySubKeys(root, TKwRegistryView::rvProcess, u"").empty());
    }
}

TEST(PosixPlatformTest, Environment)
{
    const TVariable variable("DEFTMAPI_TEST_VARIABLE", "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(System().Environment(u"DEFTMAPI_TEST_VARIABLE"), u"gr\u00FC\u00DF");
    EXPECT_EQ(System().Environment(u"DEFTMAPI_TEST_NONE"), std::nullopt);
    EXPECT_EQ(System().ExpandEnvironment(u"<%DEFTMAPI_TEST_VARIABLE%>"), u"<gr\u00FC\u00DF>");
}

TEST(PosixPlatformTest, LocaleComesFromTheEnvironment)
{
    const TVariable all("LC_ALL", nullptr);
    const TVariable messages("LC_MESSAGES", nullptr);
    {
        const TVariable lang("LANG", "de_AT.UTF-8@euro");
        EXPECT_EQ(System().DefaultLocale(), 0x0C07u);
        const TVariable overriding("LC_ALL", "pt_BR");
        EXPECT_EQ(System().DefaultLocale(), 0x0416u);
    }
    for (const char* none : {"C", "POSIX", "C.UTF-8", "", "xx_YY"}) {
        const TVariable lang("LANG", none);
        EXPECT_EQ(System().DefaultLocale(), 1033u) << none;
    }
    const TVariable unset("LANG", nullptr);
    EXPECT_EQ(System().DefaultLocale(), 1033u);
    EXPECT_EQ(posix::LocaleOfName("fr_XX.UTF-8"), 0x040Cu); // an unknown territory: the language's default
    EXPECT_EQ(posix::LocaleOfName("ja"), 0x0411u);
    EXPECT_EQ(posix::LocaleOfName("e"), 0u);
}

TEST(PosixPlatformTest, SystemMessages)
{
    const auto text = [](std::uint32_t code) { return System().SystemMessage(static_cast<std::int32_t>(code)); };
    EXPECT_EQ(text(1), u"Incorrect function.");
    EXPECT_FALSE(text(2).empty());
    EXPECT_EQ(text(0x80070002), text(2)); // an HRESULT of facility Win32 has the text of its error
    EXPECT_NE(text(2), text(3));
    for (const std::uint32_t general : {0x80004001u, 0x80004003u, 0x8000FFFFu, 0x800401F0u, 0x80040154u, 0x80030002u,
                                        0x80030050u, 0x8007000Eu, 0x80070005u, 0x80070057u, 193u, 126u})
        EXPECT_FALSE(text(general).empty()) << std::hex << general;
    // Codes that only MAPI knows have none; 0 is no error.
    for (const std::uint32_t none :
         {0u, 0x80040104u, 0x8004010Fu, 0x80040119u, 0x80040603u, 0x00040380u, 0x8007FFFFu, 0xFFFFFFFFu})
        EXPECT_TRUE(text(none).empty()) << std::hex << none;
}
