// Where the client library is found: registrations, Outlook's places, and the list of clients.
#include "tests/core/FakeClient.hpp"

namespace deftmapi::test
{

namespace
{

constexpr auto user = TKwRegistryRoot::rrCurrentUser;
constexpr auto machine = TKwRegistryRoot::rrLocalMachine;
constexpr auto otherView = TKwRegistryView::rvOther;

const WideString mailKey = u"Software\\Clients\\Mail";
const WideString outlook = u"Microsoft Outlook";
const WideString classic64 = u"C:\\Program Files\\Common Files\\System\\MSMAPI\\1033\\msmapi32.dll";
const WideString classic32 = u"C:\\Program Files (x86)\\Common Files\\System\\MSMAPI\\1033\\msmapi32.dll";

class LibrarySearch : public LibraryTest
{
protected:
    void Register(TKwRegistryRoot root, const WideString& client, const WideString& value, const WideString& path,
                  TKwRegistryView view = TKwRegistryView::rvProcess)
    {
        Platform.SetValue(root, mailKey + (client.empty() ? u"" : u"\\") + client, value, path, view);
    }
    void InstallOffice(const WideString& version, const WideString& folder)
    {
        Platform.SetValue(machine, u"SOFTWARE\\Microsoft\\Office\\" + version + u"\\Outlook\\InstallRoot", u"Path",
                          folder);
    }
    void InstallStreamed(const WideString& version, const WideString& products)
    {
        InstallOffice(version, u"C:\\Program Files\\Microsoft Office\\root\\Office16\\");
        Platform.SetValue(machine,
                          u"SOFTWARE\\Microsoft\\Office\\" +
                              (version == u"15.0" ? WideString(u"15.0\\") : WideString()) +
                              u"ClickToRun\\Configuration",
                          u"ProductReleaseIds", products);
    }
};

TEST_F(LibrarySearch, TakesTheRegisteredLibrary)
{
    AddFile(u"C:\\Mail\\ex.dll");
    AddFile(u"C:\\Mail\\plain.dll");
    AddFile(u"C:\\Mail\\user.dll");
    Platform.SetEnvironment(u"MailFolder", u"C:\\Mail");

    EXPECT_EQ(KwFindMAPIDll(u"Postman"), u"");
    Register(machine, u"Postman", u"DLLPath", u"%MailFolder%\\plain.dll");
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), u"C:\\Mail\\plain.dll");
    Register(machine, u"Postman", u"DLLPathEx", u"%MailFolder%\\ex.dll");
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), u"C:\\Mail\\ex.dll");
    Register(machine, u"Postman", u"DLLPathEx", u"C:\\Mail\\gone.dll");
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), u"C:\\Mail\\plain.dll");
    Register(user, u"Postman", u"DLLPath", u"C:\\Mail\\user.dll");
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), u"C:\\Mail\\user.dll");
    EXPECT_EQ(KwFindMAPIDll(machine, u"postman"), u"C:\\Mail\\plain.dll");
    Register(user, u"Postman", u"DLLPath", u"C:\\Mail\\gone.dll");
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), u"C:\\Mail\\plain.dll") << "nothing under the user: the machine's";
    EXPECT_EQ(KwFindMAPIDll(u"Somebody else"), u"");
}

TEST_F(LibrarySearch, ChecksWhatIsNotOutlooks)
{
    const struct
    {
        bool Is64Bit;
        std::vector<std::string> Exports;
        bool Passes;
    } cases[] = {{true, {"MAPIInitialize", "MAPILogonEx", "Other"}, true},
                 {false, {"MAPIInitialize", "MAPILogonEx"}, false},
                 {true, {"MAPIInitialize"}, false},
                 {true, {"MAPILogonEx"}, false},
                 {true, {}, false}};
    const WideString file = u"C:\\Mail\\a.dll";
    for (const WideString& client : {WideString(u"Postman"), WideString(), outlook})
        Register(machine, client, u"DLLPathEx", file);
    for (const auto& row : cases) {
        AddFile(file, row.Is64Bit, row.Exports);
        EXPECT_EQ(KwFindMAPIDll(u"Postman"), row.Passes ? file : u"");
        EXPECT_EQ(KwFindMAPIDll(u""), row.Passes ? file : u"") << "the list's own values";
        EXPECT_EQ(KwFindMAPIDll(machine, u"microsoft outlook"), file) << "trusted";
    }
    Platform.SetFile(file, "no library");
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), u"");
    Platform.SetFile(file, MakeElfImage({}, {"MAPIInitialize", "MAPILogonEx"}));
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), file);
}

TEST_F(LibrarySearch, LooksBehindOutlooksStub)
{
    const WideString stub = u"C:\\Program Files\\Microsoft Office\\Office14\\OLMAPI32.DLL";
    const WideString german = u"C:\\Program Files\\Microsoft Office\\a\\1031\\MSMAPI32.DLL";
    const WideString english = u"C:\\Program Files\\Microsoft Office\\b\\1033\\msmapi32.dll";
    AddFile(stub);
    AddFile(u"C:\\Program Files\\Elsewhere\\1033\\msmapi32.dll");
    Register(machine, outlook, u"DLLPathEx", stub);
    EXPECT_EQ(KwFindMAPIDll(machine, outlook), stub) << "nothing behind it";
    AddFile(german);
    EXPECT_EQ(KwFindMAPIDll(machine, outlook), german) << "not the user's language, but the only one";
    AddFile(english);
    EXPECT_EQ(KwFindMAPIDll(machine, outlook), english);
    Platform.Locale = 1031;
    EXPECT_EQ(KwFindMAPIDll(machine, outlook), german);

    // Whoever registers the stub is looked for behind it. Another client's find must stand the check, and neither the
    // stub nor the next find stands in for it.
    Register(machine, u"Postman", u"DLLPath", stub);
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), german);
    AddFile(german, false);
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), u"");
    EXPECT_EQ(KwFindMAPIDll(machine, outlook), german);

    const WideString moved = u"D:\\Mail\\olmapi32.dll";
    AddFile(moved);
    Register(machine, outlook, u"DLLPathEx", moved);
    EXPECT_EQ(KwFindMAPIDll(machine, outlook), moved) << "not in a folder of Office";
    const WideString shouted = u"C:\\PROGRAM FILES\\MICROSOFT OFFICE\\olmapi32.dll";
    AddFile(shouted);
    Register(machine, outlook, u"DLLPathEx", shouted);
    EXPECT_EQ(KwFindMAPIDll(machine, outlook), shouted) << "the folder's name counts with its case";
}

TEST_F(LibrarySearch, KnowsWhereEachEditionPutsIt)
{
    const WideString streamed64 =
        u"C:\\Program Files\\Microsoft Office\\root\\VFS\\ProgramFilesCommonX64\\system\\msmapi\\1033\\msmapi32.dll";
    const WideString streamed32 = u"C:\\Program Files (x86)\\Microsoft "
                                  u"Office\\root\\VFS\\ProgramFilesCommonX86\\system\\msmapi\\1033\\msmapi32.dll";
    const WideString old64 =
        u"C:\\Program Files\\Microsoft Office 15\\root\\vfs\\ProgramFilesCommonX64\\SYSTEM\\MSMAPI\\1033\\msmapi32.dll";
    const WideString old32 = u"C:\\Program Files (x86)\\Microsoft Office "
                             u"15\\root\\vfs\\ProgramFilesCommonX86\\SYSTEM\\MSMAPI\\1033\\msmapi32.dll";
    for (const WideString& file : {streamed64, old64, classic64})
        AddFile(file);
    for (const WideString& file : {streamed32, old32, classic32})
        AddFile(file, false);
    const auto find = [this](bool process64) {
        Platform.Process64Bit = process64;
        EXPECT_EQ(KwFindMAPIDll(u""), KwFindMAPIDll(outlook));
        EXPECT_EQ(KwFindMAPIDll(u"Postman"), u"");
        return KwFindMAPIDll(outlook);
    };
    EXPECT_EQ(find(true), classic64);
    EXPECT_EQ(find(false), classic32);
    InstallStreamed(u"15.0", u"O365HomePremRetail");
    EXPECT_EQ(find(true), old64);
    EXPECT_EQ(find(false), old32);
    for (const char16_t* products : {u"O365ProPlusRetail", u"Outlook2019Volume"}) {
        InstallStreamed(u"16.0", products);
        EXPECT_EQ(find(true), streamed64);
        EXPECT_EQ(find(false), streamed32);
    }

    // A candidate that fails the check is dropped. What the detection found in its own way is the last resort; it is
    // not checked, so that an application can tell its user of the other bitness.
    AddFile(streamed64, false);
    EXPECT_TRUE(KwSameText(find(true), streamed64));
    AddFile(u"C:\\Mail\\olmapi32.dll");
    InstallOffice(u"16.0", u"C:\\Mail");
    EXPECT_EQ(find(true), classic64);
    for (const char* only : {"MAPIInitialize", "MAPILogonEx"}) {
        AddFile(classic64, true, {only});
        EXPECT_EQ(find(true), u"C:\\Mail\\olmapi32.dll") << "what has no extended MAPI is passed over";
    }
    Platform.Files.erase(classic64);
    EXPECT_EQ(find(true), u"C:\\Mail\\olmapi32.dll");
    Platform.Files.erase(u"C:\\Mail\\olmapi32.dll");
    EXPECT_EQ(find(true), u"");
}

TEST_F(LibrarySearch, EndsAtTheEmbeddedClient)
{
    Platform.SetEnvironment(u"DEFTMAPI_CLIENT", u"/opt/client.so");
    EXPECT_EQ(KwFindMAPIDll(u""), u"/opt/client.so");
    EXPECT_EQ(KwFindMAPIDll(outlook), u"/opt/client.so");
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), u"");
}

TEST_F(LibrarySearch, EachRootTakesAllStepsBeforeTheNext)
{
    const WideString own = u"C:\\Mail\\own.dll";
    AddFile(own);
    Register(machine, outlook, u"DLLPathEx", own);
    EXPECT_EQ(KwFindMAPIDll(outlook), own);
    AddFile(classic64);
    EXPECT_EQ(KwFindMAPIDll(user, outlook), classic64) << "the well-known place belongs to the user's round";
    EXPECT_EQ(KwFindMAPIDll(machine, outlook), own);
    EXPECT_EQ(KwFindMAPIDll(outlook), classic64) << "the machine's registration comes after it";
    Register(user, outlook, u"DLLPath", u"%Mail%\\gone.dll");
    EXPECT_EQ(KwFindMAPIDll(outlook), classic64);

    // Another client's round ends with its registration.
    AddFile(u"C:\\Mail\\32.dll", false);
    Register(user, u"Postman", u"DLLPathEx", u"C:\\Mail\\32.dll");
    EXPECT_EQ(KwFindMAPIDll(user, u"Postman"), u"");
    Register(machine, u"Postman", u"DLLPathEx", own);
    EXPECT_EQ(KwFindMAPIDll(u"Postman"), own);

    // The detection's own find is the last step of the first round.
    Platform.Files.erase(classic64);
    Platform.SetEnvironment(u"DEFTMAPI_CLIENT", u"/opt/client.so");
    EXPECT_EQ(KwFindMAPIDll(user, u""), u"/opt/client.so");
    Register(machine, u"", u"DLLPathEx", own);
    EXPECT_EQ(KwFindMAPIDll(machine, u""), own);
    EXPECT_EQ(KwFindMAPIDll(u""), u"/opt/client.so");
}

TEST_F(LibrarySearch, LoadsAClientThatTheSearchDrops)
{
    WideString file;
    bool isExtendedMAPI = true;
    AddFile(u"C:\\Mail\\simple.dll", true, {"MAPISendMail"});
    AddSimpleClient(u"C:\\Mail\\simple.dll");
    Register(user, u"Simple", u"DLLPath", u"C:\\Mail\\simple.dll");
    EXPECT_EQ(KwFindMAPIDll(u"Simple"), u"");
    KwLoadMAPIClientDLL(u"Simple", file, isExtendedMAPI, false);
    EXPECT_EQ(file, u"C:\\Mail\\simple.dll");
    EXPECT_FALSE(isExtendedMAPI);
    KwUnloadDLL();

    AddFile(u"C:\\Mail\\32.dll", false);
    Register(machine, u"Old", u"DLLPathEx", u"C:\\Mail\\32.dll");
    EXPECT_EQ(KwMAPIClientDLLBitness(u"Old", file), 32u);
    Platform.AddModule(u"C:\\Mail\\32.dll").Refusal = u"%1 is not a valid Win32 application.";
    EXPECT_EQ(Catch([&] { KwLoadMAPIClientDLL(u"Old", file, isExtendedMAPI, false); }).Message.substr(0, 47),
              "Failed to load the MAPI DLL (C:\\Mail\\32.dll)!\r\n");
    EXPECT_EQ(KwMAPIModule(), nullptr);
}

TEST_F(LibrarySearch, LoadsAClientByItsName)
{
    WideString file;
    bool isExtendedMAPI = false;
    const auto load = [&](WideView client) {
        return Catch([&] { KwLoadMAPIClientDLL(client, file, isExtendedMAPI, false); });
    };
    const TCaught notLocated{"EMAPI_CALL_FAILED",
                             "Failed to locate the MAPI dll for the client \"Post 100%\"!\r\nCheck the value of the "
                             "\"\\Software\\Clients\\Mail\\Post 100%\\DllPath\" or \"\\Software\\Clients\\Mail\\Post "
                             "100%\\DllPathEx\" registry key.",
                             0x80004005};
    EXPECT_EQ(load(u"Post 100%"), notLocated);
    EXPECT_EQ(Catch([&] { KwMAPIClientDLLBitness(u"Post 100%", file); }), notLocated);

    Register(machine, u"Postman", u"DLLPathEx", u"C:\\Mail\\a.dll");
    AddFile(u"C:\\Mail\\a.dll");
    AddClient(u"C:\\Mail\\a.dll");
    EXPECT_EQ(load(u"Postman"), TCaught{});
    EXPECT_EQ(file, u"C:\\Mail\\a.dll");
    EXPECT_TRUE(isExtendedMAPI);
    EXPECT_EQ(KwCurrentMAPIDllFileName(), file);

    Register(machine, u"Other", u"DLLPathEx", u"C:\\Mail\\b.dll");
    AddFile(u"C:\\Mail\\b.dll");
    EXPECT_EQ(load(u"Other").Message, "Failed to load (C:\\Mail\\b.dll)! You must first unload C:\\Mail\\a.dll.");
}

TEST_F(LibrarySearch, TellsTheBitness)
{
    WideString file;
    Register(machine, outlook, u"DLLPathEx", u"C:\\Mail\\a.dll");
    AddFile(u"C:\\Mail\\a.dll", false);
    EXPECT_EQ(KwMAPIClientDLLBitness(outlook, file), 32u);
    EXPECT_EQ(file, u"C:\\Mail\\a.dll");
    AddFile(u"C:\\Mail\\a.dll", true);
    EXPECT_EQ(KwMAPIClientDLLBitness(outlook, file), 64u);
    Platform.SetFile(u"C:\\Mail\\a.dll", "text");
    EXPECT_EQ(KwMAPIClientDLLBitness(outlook, file), 0u);
    Platform.Files.clear();
    Platform.SetEnvironment(u"DEFTMAPI_CLIENT", u"C:\\Mail\\gone.dll");
    EXPECT_EQ(
        Catch([&] { KwMAPIClientDLLBitness(outlook, file); }),
        (TCaught{"EMAPI_INVALID_PARAMETER",
                 "Failed to check the bitness of the given MAPI dll (C:\\Mail\\gone.dll)!\r\nThe file does not exist.",
                 0x80070057}));
}

TEST_F(LibrarySearch, ListsTheClients)
{
    EXPECT_TRUE(KwGetMAPIClients().empty());
    AddFile(u"C:\\Mail\\full.dll");
    AddFile(u"C:\\Mail\\simple.dll", true, {"MAPISendMail"});
    AddFile(u"C:\\Mail\\32.dll", false);
    AddFile(classic64);
    Register(user, u"", u"", u"postman");
    Register(user, u"Postman", u"DLLPath", u"C:\\Mail\\simple.dll");
    Register(machine, u"Links only", u"shell", u"open");
    Register(machine, u"PackagedMail", u"DLLPath", u"C:\\Mail\\full.dll");
    Register(machine, u"Store Mail", u"DLLPath", u"C:\\Mail\\full.dll");
    Register(machine, u"Store Mail", u"PackagedMail", u"1");
    Register(machine, u"POSTMAN", u"DLLPathEx", u"C:\\Mail\\full.dll");
    Register(machine, u"Full", u"DLLPathEx", u"C:\\Mail\\full.dll");
    Register(machine, outlook, u"DLLPathEx", u"C:\\Mail\\gone.dll");
    Register(machine, u"Old", u"DLLPathEx", u"C:\\Mail\\32.dll", otherView);
    Register(machine, u"Full", u"DLLPathEx", u"C:\\Mail\\32.dll", otherView);

    std::vector<std::string> lines;
    for (const TKwMAPIClient& client : KwGetMAPIClients())
        lines.push_back(KwToUtf8(client.Name) + (client.API == ciExtendedMAPI ? " extended " : " simple ") +
                        std::to_string(client.Bitness) + " " + KwToUtf8(client.DllFileName) +
                        (client.Root == user ? " user" : " machine") + (client.View == otherView ? " other" : "") +
                        (client.IsDefault ? " default" : ""));
    EXPECT_EQ(lines, (std::vector<std::string>{
                         "Postman simple 64 C:\\Mail\\simple.dll user default",
                         "Full extended 64 C:\\Mail\\full.dll machine",
                         "Microsoft Outlook extended 64 " + KwToUtf8(classic64) + " machine",
                         "Old extended 32 C:\\Mail\\32.dll machine other",
                     }));
}

} // namespace

} // namespace deftmapi::test
