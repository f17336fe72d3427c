// The detection of the installed Outlook, and of the embedded client where there is none.
#include "mapi/text/uKwMAPIUtils.hpp"
#include "tests/core/FakeClient.hpp"

namespace deftmapi::test
{

namespace
{

constexpr auto machine = TKwRegistryRoot::rrLocalMachine;
constexpr auto processView = TKwRegistryView::rvProcess;
constexpr auto otherView = TKwRegistryView::rvOther;

class LibraryOutlook : public LibraryTest
{
protected:
    void SetOffice(const WideString& key, const WideString& name, const WideString& value,
                   TKwRegistryView view = processView)
    {
        Platform.SetValue(machine, u"SOFTWARE\\Microsoft\\Office\\" + key, name, value, view);
    }
    static std::string Describe()
    {
        const TKwOutlookInfo info = KwGetOutlookInfo();
        return std::to_string(info.Version) + " " + KwToUtf8(info.VersionNumber) + " " +
               KwToUtf8(info.VersionNumberEx) + " " + std::to_string(info.Bitness) + " mode " +
               std::to_string(info.Mode) + " " + KwToUtf8(info.InstallRoot) + " " + KwToUtf8(info.MAPIDLL);
    }
};

TEST_F(LibraryOutlook, NamesEachEdition)
{
    const struct
    {
        const char16_t* Number;
        TKwOutlookMajorVersion Version;
    } editions[] = {{u"8.0", OL97},    {u"8.5", OL98},    {u"9.0", OL2000},  {u"10.0", OL2002}, {u"11.0", OL2003},
                    {u"12.0", OL2007}, {u"14.0", OL2010}, {u"15.0", OL2013}, {u"16.0", OL2016}};
    EXPECT_EQ(KwGetOutlookInfo().Version, NoOutlookInstalled);
    for (const auto& edition : editions) {
        SetOffice(WideString(edition.Number) + u"\\Outlook\\InstallRoot", u"Path", u"C:\\Office\\", otherView);
        const TKwOutlookInfo info = KwGetOutlookInfo();
        EXPECT_EQ(info.Version, edition.Version) << "the newest";
        EXPECT_EQ(info.VersionNumber, edition.Number);
        EXPECT_EQ(info.InstallRoot, u"C:\\Office\\");
        EXPECT_EQ(info.Mode, olmNA);
        EXPECT_EQ(info.Bitness, 32u) << "found in the 32-bit half";
    }
    Platform.SetValue(machine, u"SOFTWARE\\Classes\\Outlook.Application\\CurVer", u"", u"Outlook.Application.12");
    EXPECT_EQ(KwGetOutlookInfo().Version, OL2007) << "the current one";
    Platform.SetValue(machine, u"SOFTWARE\\Classes\\Outlook.Application\\CurVer", u"", u"Outlook.Application.13");
    EXPECT_EQ(KwGetOutlookInfo().Version, OL2016) << "the current one is not there";
}

TEST_F(LibraryOutlook, AClassicInstallation)
{
    Platform.SetEnvironment(u"CommonProgramFiles", u"C:\\Common");
    Platform.SetEnvironment(u"CommonProgramFiles(x86)", u"C:\\Common32");
    SetOffice(u"14.0\\Outlook\\InstallRoot", u"Path", u"C:\\Office\\Office14\\");
    SetOffice(u"14.0\\Common\\ProductVersion", u"LastProduct", u"14.0.7015.1000");
    EXPECT_EQ(Describe(), "7 14.0 14.0.7015.1000 64 mode 0 C:\\Office\\Office14\\ ");

    AddFile(u"C:\\Office\\Office14\\olmapi32.dll");
    EXPECT_EQ(KwGetOutlookInfo().MAPIDLL, u"C:\\Office\\Office14\\olmapi32.dll");
    AddFile(u"C:\\Common\\System\\MSMAPI\\1033\\msmapi32.dll");
    AddFile(u"C:\\Common\\System\\MSMAPI\\1031\\msmapi32.dll");
    AddFile(u"C:\\Common32\\System\\MSMAPI\\1033\\msmapi32.dll", false);
    EXPECT_EQ(KwGetOutlookInfo().MAPIDLL, u"C:\\Common\\System\\MSMAPI\\1033\\msmapi32.dll");
    Platform.Locale = 1031;
    EXPECT_EQ(KwGetOutlookInfo().MAPIDLL, u"C:\\Common\\System\\MSMAPI\\1031\\msmapi32.dll");
    SetOffice(u"14.0\\Outlook", u"Bitness", u"x86");
    EXPECT_EQ(KwGetOutlookInfo().Bitness, 32u);
    EXPECT_EQ(KwGetOutlookInfo().MAPIDLL, u"C:\\Common32\\System\\MSMAPI\\1033\\msmapi32.dll");
    // A 32-bit process sees the folder of the other half under another name.
    SetOffice(u"14.0\\Outlook", u"Bitness", u"x64");
    Platform.SetEnvironment(u"CommonProgramW6432", u"C:\\Common64");
    AddFile(u"C:\\Common64\\System\\MSMAPI\\1033\\msmapi32.dll");
    EXPECT_EQ(KwGetOutlookInfo().MAPIDLL, u"C:\\Common64\\System\\MSMAPI\\1033\\msmapi32.dll");
    AddFile(u"D:\\own.dll");
    Platform.SetValue(machine, u"Software\\Clients\\Mail\\Microsoft Outlook", u"DLLPath", u"D:\\own.dll", otherView);
    EXPECT_EQ(KwGetOutlookInfo().MAPIDLL, u"D:\\own.dll") << "what is registered comes first";
}

TEST_F(LibraryOutlook, AStreamedInstallation)
{
    const WideString root = u"C:\\Program Files\\Microsoft Office\\root\\Office16\\";
    SetOffice(u"ClickToRun\\REGISTRY\\MACHINE\\Software\\Microsoft\\Office\\16.0\\Outlook\\InstallRoot", u"Path", root);
    SetOffice(u"ClickToRun\\Configuration", u"Platform", u"x64");
    SetOffice(u"ClickToRun\\Configuration", u"VersionToReport", u"16.0.10356.20006");
    EXPECT_EQ(KwGetOutlookInfo().Mode, olmNA) << "no product";
    const std::pair<const char16_t*, TKwOutlookMajorVersion> products[] = {
        {u"O365ProPlusRetail,VisioPro2016Volume", OL2016},
        {u"Outlook2019Volume", OL2019},
        {u"Word2016,ProPlus2021", OL2019}};
    for (const auto& [ids, version] : products) {
        SetOffice(u"ClickToRun\\Configuration", u"ProductReleaseIds", ids);
        EXPECT_EQ(KwGetOutlookInfo().Version, version);
        EXPECT_EQ(KwGetOutlookInfo().Mode, olmClickToRun);
    }
    AddFile(
        u"C:\\Program Files\\Microsoft Office\\root\\VFS\\ProgramFilesCommonX64\\System\\MSMAPI\\1033\\msmapi32.dll");
    EXPECT_EQ(Describe(), "10 16.0 16.0.10356.20006 64 mode 3 C:\\Program Files\\Microsoft Office\\root\\Office16\\ "
                          "C:\\Program Files\\Microsoft "
                          "Office\\root\\VFS\\ProgramFilesCommonX64\\System\\MSMAPI\\1033\\msmapi32.dll");

    // Another product is streamed; this Outlook is not.
    SetOffice(u"16.0\\Outlook\\InstallRoot", u"Path", u"C:\\Program Files\\Microsoft Office\\Office16\\");
    EXPECT_EQ(KwGetOutlookInfo().Mode, olmNA);
    EXPECT_EQ(KwGetOutlookInfo().Version, OL2016);
    SetOffice(u"16.0\\Outlook\\InstallRoot", u"Path", u"C:\\Program Files\\WindowsApps\\Outlook\\Office16\\");
    EXPECT_EQ(KwGetOutlookInfo().Mode, olmWindowsStoreApp);
}

TEST_F(LibraryOutlook, TheModesOfOldEditions)
{
    for (const WideString& number : {WideString(u"8.5"), WideString(u"9.0")}) {
        SetOffice(number + u"\\Outlook\\InstallRoot", u"Path", u"C:\\Office\\");
        EXPECT_EQ(KwGetOutlookInfo().Mode, olmNA);
        SetOffice(number + u"\\Outlook\\Setup", u"MailSupport", u"0");
        EXPECT_EQ(KwGetOutlookInfo().Mode, olmIMO);
        SetOffice(number + u"\\Outlook\\Setup", u"MailSupport", u"1");
        EXPECT_EQ(KwGetOutlookInfo().Mode, olmCW);
        EXPECT_EQ(KwGetOutlookInfo().Bitness, 32u);
    }
}

TEST_F(LibraryOutlook, WithoutOutlookTheEmbeddedClient)
{
    EXPECT_EQ(Describe(), "0   0 mode 0  ");
    Platform.OwnModuleFileName = u"/app/bin/program";
    const auto found = [] { return KwToUtf8(KwGetOutlookInfo().MAPIDLL); };
    EXPECT_EQ(found(), "");
    // From the last resort to the first choice.
    const std::string name = DEFTMAPI_TEST_CLIENT_FILE_NAME;
    Platform.SetFile(KwFromUtf8(DEFTMAPI_TEST_INSTALL_LIBDIR "/" + name), "");
    EXPECT_EQ(found(), DEFTMAPI_TEST_INSTALL_LIBDIR "/" + name);
    Platform.SetFile(KwFromUtf8("/app/bin/../lib/" + name), "");
    EXPECT_EQ(found(), "/app/bin/../lib/" + name);
    Platform.SetFile(KwFromUtf8("/app/bin/" + name), "");
    EXPECT_EQ(found(), "/app/bin/" + name);
    Platform.SetEnvironment(u"DEFTMAPI_CLIENT", u"");
    EXPECT_EQ(found(), "/app/bin/" + name) << "an empty variable names nothing";
    Platform.SetEnvironment(u"DEFTMAPI_CLIENT", u"/nowhere/client.so");
    EXPECT_EQ(found(), "/nowhere/client.so") << "so that loading it says that it does not exist";

    SetOffice(u"16.0\\Outlook\\InstallRoot", u"Path", u"C:\\Office\\");
    EXPECT_EQ(found(), "") << "an installed Outlook is not replaced";
}

} // namespace

} // namespace deftmapi::test
