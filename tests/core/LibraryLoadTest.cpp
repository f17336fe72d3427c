// Loading and unloading the client library.
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/core/uKwMAPIxH.hpp"
#include "tests/core/FakeClient.hpp"

namespace deftmapi::test
{

namespace
{

using LibraryLoad = LibraryTest;

TEST_F(LibraryLoad, ReportsWhatItLoaded)
{
    TFakeModule& client = AddClient(u"B.dll");
    WideString name = u"  B.dll \t";
    bool isExtendedMAPI = false;
    KwLoadMAPIDLL(name, isExtendedMAPI, false);
    EXPECT_EQ(name, u"B.dll");
    EXPECT_TRUE(isExtendedMAPI);
    EXPECT_TRUE(KwExtendedMAPIAvailable());
    EXPECT_EQ(KwMAPIModule(), &client);
    EXPECT_EQ(KwCurrentMAPIDllFileName(), u"B.dll");

    isExtendedMAPI = false;
    name = u"b.DLL";
    KwLoadMAPIDLL(name, isExtendedMAPI, true);
    EXPECT_TRUE(isExtendedMAPI);
    EXPECT_EQ(client.Loads, 1);

    AddClient(u"A.dll");
    EXPECT_EQ(Load(u"A.dll"),
              (TCaught{"EMAPI_CALL_FAILED", "Failed to load (A.dll)! You must first unload B.dll.", 0x80004005}));
    EXPECT_EQ(KwCurrentMAPIDllFileName(), u"B.dll");

    KwUnloadDLL();
    EXPECT_EQ(KwCurrentMAPIDllFileName(), u"");
    EXPECT_FALSE(KwExtendedMAPIAvailable());
    EXPECT_EQ(client.Open(), 0);
    EXPECT_EQ(Load(u"A.dll"), TCaught{});
}

TEST_F(LibraryLoad, FailsWithTheReasonAPersonNeeds)
{
    int attempts = 0;
    Platform.OnLoad = [&attempts](const WideString&) { ++attempts; };
    EXPECT_EQ(
        Load(u"C:\\Mail\\a.dll"),
        (TCaught{"EMAPI_INVALID_PARAMETER",
                 "Failed to load the given MAPI dll (C:\\Mail\\a.dll)!\r\nThe file does not exist.", 0x80070057}));
    EXPECT_EQ(Load(u"/opt/a.so").Code, 0x80070057u);
    EXPECT_EQ(attempts, 0);

    AddFile(u"C:\\Mail\\a.dll");
    Platform.AddModule(u"C:\\Mail\\a.dll").Refusal = u"A dependency is missing.";
    EXPECT_EQ(
        Load(u"C:\\Mail\\a.dll"),
        (TCaught{"EMAPI_CALL_FAILED",
                 "Failed to load the MAPI DLL (C:\\Mail\\a.dll)!\r\nCheck if the the Microsoft Visual C++ "
                 "Redistributable is installed (VC_redist.x64.exe/VC_redist.x86.exe), install the latest version if "
                 "this is not the case.\r\nIn some cases it may be necessary to repair the Outlook installation.",
                 0x80004005}));
    EXPECT_EQ(attempts, 1);
    EXPECT_EQ(KwMAPIModule(), nullptr);
}

TEST_F(LibraryLoad, TellsExtendedFromSimpleMAPI)
{
    const auto offersExtended = [](WideString name) {
        bool isExtendedMAPI = true;
        KwLoadMAPIDLL(name, isExtendedMAPI, false);
        KwUnloadDLL();
        return isExtendedMAPI;
    };
    AddSimpleClient(u"simple.dll");
    EXPECT_FALSE(offersExtended(u"simple.dll"));
    AddClient(u"half.dll").Exports.erase("MAPILogonEx");
    EXPECT_FALSE(offersExtended(u"half.dll"));
    AddClient(u"half2.dll").Exports.erase("MAPIInitialize");
    EXPECT_FALSE(offersExtended(u"half2.dll"));

    // A library of the other bitness, loaded as data say, is never called.
    AddClient(u"C:\\x\\32.dll");
    AddFile(u"C:\\x\\32.dll", false);
    EXPECT_FALSE(offersExtended(u"C:\\x\\32.dll"));
    Platform.Process64Bit = false;
    EXPECT_TRUE(offersExtended(u"C:\\x\\32.dll"));
}

TEST_F(LibraryLoad, WithoutANameTakesTheDefault)
{
    AddClient(u"MAPI32.dll");
    AddClient(u"C:\\Mail\\own.dll");
    WideString name;
    bool isExtendedMAPI = false;
    KwLoadMAPIDLL(name, isExtendedMAPI, false);
    EXPECT_EQ(name, u"MAPI32.dll") << "nothing is installed";
    KwUnloadDLL();

    Platform.SetEnvironment(u"DEFTMAPI_CLIENT", u"C:\\Mail\\gone.dll");
    name = u" ";
    KwLoadMAPIDLL(name, isExtendedMAPI, false);
    EXPECT_EQ(name, u"MAPI32.dll") << "what was found does not exist";
    KwUnloadDLL();

    AddFile(u"C:\\Mail\\own.dll");
    Platform.SetValue(Root, u"Software\\Clients\\Mail\\Microsoft Outlook", u"DLLPathEx", u"C:\\Mail\\own.dll");
    Platform.ClearEnvironment(u"DEFTMAPI_CLIENT");
    name.clear();
    KwLoadMAPIDLL(name, isExtendedMAPI, false);
    EXPECT_EQ(name, u"C:\\Mail\\own.dll");

    // While something is loaded the default counts as if it had been named.
    name.clear();
    KwLoadMAPIDLL(name, isExtendedMAPI, false);
    EXPECT_EQ(name, u"C:\\Mail\\own.dll");
    Platform.Files.clear();
    EXPECT_EQ(Load(u"").Message, "Failed to load (MAPI32.dll)! You must first unload C:\\Mail\\own.dll.");
    EXPECT_EQ(KwCurrentMAPIDllFileName(), u"C:\\Mail\\own.dll");
}

TEST_F(LibraryLoad, UnloadingRunsTheCallbacksWhileTheLibraryIsThere)
{
    const TKwMAPICallback first = [] { Log.Calls.emplace_back(KwMAPIModule() != nullptr ? "first" : "late"); };
    const TKwMAPICallback second = [] { Log.Calls.emplace_back("second"); };
    const TKwMAPICallback third = [] { Log.Calls.emplace_back("third"); };
    KwRegisterOnUnload(first);
    KwRegisterOnUnload(second);
    KwRegisterOnUnload(third);
    KwUnRegisterOnUnload(second);
    KwUnRegisterOnUnload(second);

    KwUnloadDLL();
    EXPECT_TRUE(Log.Take().empty()) << "nothing was loaded";
    AddClient(u"B.dll");
    Load(u"B.dll");
    KwUnloadDLL();
    EXPECT_EQ(Log.Take(), (std::vector<std::string>{"first", "third"}));
    KwUnRegisterOnUnload(first);
    KwUnRegisterOnUnload(third);
}

TEST_F(LibraryLoad, DescribesWhatIsLoaded)
{
    TKwMAPILibraryInfo info = KwGetMAPIInfo();
    EXPECT_FALSE(info.Loaded);
    EXPECT_EQ(info.DefaultClient, u"");
    EXPECT_EQ(info.Version, u"1.0.0.0");

    AddClient(u"B.dll");
    Load(u"B.dll");
    Platform.SetValue(Root, u"Software\\Clients\\Mail", u"", u"Microsoft Outlook");
    info = KwGetMAPIInfo();
    EXPECT_TRUE(info.Loaded);
    EXPECT_TRUE(info.ExtendedMAPI);
    EXPECT_EQ(info.DllFileName, u"B.dll");
    EXPECT_EQ(info.DefaultClient, u"Microsoft Outlook");
    EXPECT_EQ(info.Version, u"1.0.0.1");

    Platform.SetValue(TKwRegistryRoot::rrCurrentUser, u"Software\\Clients\\Mail", u"", u"");
    EXPECT_EQ(KwGetMAPIInfo().DefaultClient, u"Microsoft Outlook") << "the user has chosen none";
    Platform.SetValue(TKwRegistryRoot::rrCurrentUser, u"Software\\Clients\\Mail", u"", u"ExchangeMAPI");
    Platform.SetValue(Root, u"Software\\Microsoft\\Windows Messaging Subsystem", u"MAPIXVER", u"1.0.0.9");
    info = KwGetMAPIInfo();
    EXPECT_EQ(info.DefaultClient, u"ExchangeMAPI");
    EXPECT_EQ(info.Version, u"1.0.0.9");
}

TEST(LibraryClient, TheSystemsOwnLibraryExportsWhatIsAskedFor)
{
    WideString fileName = u"MAPI32.dll";
    WideString reason;
    const TKwModule module = KwSystemPlatform().LoadModule(fileName, reason);
    if (module == nullptr)
        GTEST_SKIP() << "this system has no MAPI library of its own";
    KwSystemPlatform().FreeModule(module);

    bool isExtendedMAPI = false;
    KwLoadMAPIDLL(fileName, isExtendedMAPI, false);
    EXPECT_TRUE(isExtendedMAPI);
    void* block = nullptr;
    MAPIAllocateBuffer(100, &block);
    EXPECT_NE(block, nullptr);
    MAPIFreeBuffer(block);
    FreeProws(nullptr);
    FreePadrlist(nullptr);
    KwUnloadDLL();
}

} // namespace

} // namespace deftmapi::test
