// Administration of message services: what is asked of the client, which service is found to be the new one, and the
// texts of refusals.
#include "mapi/DeftMAPI.hpp"
#include "tests/session/FailureNames.hpp"
#include "tests/session/ScriptedClient.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

TKwMAPIEntryID Uid(char digit)
{
    return StrToEntryID(std::string(32, digit));
}

class TAdminServicesTest : public TScriptedClientTest
{
protected:
    TAdminServicesTest()
    {
        Client->Services = TKwComPtr<TScriptedServiceAdmin>(new TScriptedServiceAdmin(Calls));
        Session->Logon();
        Services = Session->GetAdminServices();
        static_cast<void>(Take());
    }
    void AddService(TScriptedServiceAdmin& admin, char uid)
    {
        const std::string bytes(16, static_cast<char>((uid - '0') * 0x11));
        admin.Services->AddRow({BinaryValue(GetPropTag(PR_SERVICE_UID), bytes)});
    }
    void AddProvider(char uid, char service)
    {
        Client->Services->Providers->AddRow({BinaryValue(GetPropTag(PR_PROVIDER_UID), std::string(16, uid)),
                                             BinaryValue(GetPropTag(PR_SERVICE_UID), std::string(16, service))});
    }
    /// The logged calls without those of tables.
    [[nodiscard]] std::string TakeCalls()
    {
        return TakeLines(*Calls, [](const std::string& line) {
            for (const char* method : {"AdminServices", "GetMsgServiceTable", "CreateMsgService", "ConfigureMsgService",
                                       "DeleteMsgService", "services.OpenProfileSection", "provider.OpenProfileSection",
                                       "AdminProviders", "section.SetProps", "section.SaveChanges"})
                if (line.starts_with(method))
                    return true;
            return false;
        });
    }

    TKwRef<IKwMAPIAdminServices> Services;
};

TEST_F(TAdminServicesTest, TheNewServiceIsTheFirstThatWasNotThere)
{
    AddService(*Client->Services, '1');
    AddService(*Client->Services, '2');
    Session->Set_ParentWindow(9);
    // Another process adds one at the same time: the first in the order of the table is taken.
    Client->Services->OnCreate = [&] {
        AddService(*Client->Services, '4');
        AddService(*Client->Services, '3');
    };
    EXPECT_EQ(Services->CreateMsgService(u"CONTAB", u"Kontakte Ä", false), Uid('4'));
    EXPECT_EQ(TakeCalls(), "GetMsgServiceTable(0x80000000)\n"
                           "CreateMsgService(\"CONTAB\",\"Kontakte Ä\",9,0x80000000)\n"
                           "AdminServices(0x00000000)\nGetMsgServiceTable(0x80000000)\n");
    Client->Services->OnCreate = [] {};
    EXPECT_EQ(Catch([&] { return Services->CreateMsgService(u"CONTAB", u"", true); }),
              (TCaught{"EMAPI_CALL_FAILED",
                       "TKwMAPIAdminServices.CreateMsgService failed! Unable to locate the newly created service",
                       0x80004005}));
    EXPECT_NE(TakeCalls().find("CreateMsgService(\"CONTAB\",null,9,0x80000002)"), std::string::npos);
}

TEST_F(TAdminServicesTest, ServicesOfANamedProfile)
{
    const auto named = Session->GetProfileAdmin()->GetAdminServices(u"Other", u"pw", true);
    EXPECT_NE(Take().find("profile.AdminServices(\"Other\",\"pw\",0,0x80000008)"), std::string::npos);
    ProfAdmin->Services->OnCreate = [&] { AddService(*ProfAdmin->Services, '7'); };
    EXPECT_EQ(named->CreateMsgService(u"CONTAB", u"", false), Uid('7'));
    EXPECT_EQ(Calls->Count("AdminServices"), 0u) << "the session's profile is another one";
    Session->Logoff();
    EXPECT_EQ(Catch([&] { return Services->GetMsgServiceTable(); }),
              (TCaught{"EMAPI_NO_ACCESS", "The session is not active!", 0x80070005}));
    // Without a logon the profile is administered all the same.
    const auto again = Session->GetProfileAdmin()->GetAdminServices(u"Other", u"", false);
    EXPECT_EQ(again->GetMsgServiceTable()->Get_RowCount(), 1);
    const auto unbound = KwMake<TKwMAPIAdminServices>(*Session, ProfAdmin->Services.Get(), false);
    unbound->SetSession(nullptr);
    EXPECT_EQ(Catch([&] { return unbound->GetMsgServiceTable(); }),
              (TCaught{"EMAPI_UNCONFIGURED", "No session has been assigned (TKwMAPIAdminServices.GetMsgServiceTable)!",
                       0x8004011C}));
}

TEST_F(TAdminServicesTest, ConfiguringAService)
{
    Client->Services->Sections.Add("13DBB0C8AA05101A9BB000AA002FC45A");
    const auto properties = Session->CreatePropValueList();
    properties->AddValue(PR_DISPLAY_NAME_A, WideString(u"Name"));
    Services->ConfigureMsgService(Uid('1'), {}, *properties);
    EXPECT_EQ(TakeCalls(), "services.OpenProfileSection(13DBB0C8AA05101A9BB000AA002FC45A,0x00000000)\n"
                           "ConfigureMsgService(11111111111111111111111111111111,0,0x80000000,0x3001001E='Name')\n");
    properties->AddValue(PR_PROFILE_CONFIG_FLAGS, 5);
    Services->ConfigureMsgService(Uid('1'), {.Show = true, .Allow = true, .ReadOnly = true}, *properties);
    EXPECT_EQ(TakeCalls(), "services.OpenProfileSection(13DBB0C8AA05101A9BB000AA002FC45A,0x00000001)\n"
                           "ConfigureMsgService(11111111111111111111111111111111,0,0x8000001A,0x3001001E='Name',"
                           "0x66010003=5)\n"
                           "section.SetProps(0x66010003=5)\nsection.SaveChanges(0x00000000)\n")
        << "what is of the profile is kept with the profile";

    const std::pair<mapi::HRESULT, const char*> failures[] = {
        {mapi::MAPI_E_NOT_FOUND, "The MAPIUID pointed to by lpUID does not match that of an existing message service."},
        {mapi::MAPI_E_NOT_INITIALIZED, "The message service does not have an entry point function."},
        {mapi::MAPI_E_EXTENDED_ERROR,
         "An error specific to a message service. To get the MAPIERROR structure describing the error, the client "
         "application should call the IMsgServiceAdmin::GetLastError method."}};
    ExpectTexts(*Calls, "ConfigureMsgService", "", failures,
                [&] { Services->ConfigureMsgService(Uid('1'), {}, *properties); });
    EXPECT_EQ(TakeCalls().find("SetProps"), std::string::npos) << "a refusal changes nothing of the profile";
    const TCaught invalid{"EMAPI_INVALID_PARAMETER", "An invalid ServiceUID was provided!", 0x80070057};
    for (const TKwMAPIEntryID& bad : {TKwMAPIEntryID(TKwNull{}), StrToEntryID(u"11")}) {
        EXPECT_EQ(Catch([&] { Services->ConfigureMsgService(bad, {}, *properties); }), invalid);
        EXPECT_EQ(Catch([&] { Services->DeleteMsgService(bad); }), invalid);
    }
    EXPECT_EQ(TakeCalls(), "");
    Services->DeleteMsgService(Uid('2'));
    EXPECT_EQ(TakeCalls(), "DeleteMsgService(22222222222222222222222222222222)\n");
}

TEST_F(TAdminServicesTest, FailuresNameTheOperation)
{
    AddProvider('\x11', '\x22');
    const auto properties = Session->CreatePropValueList();
    const TNamedOperation operations[] = {
        {"GetMsgServiceTable", "GetMsgServiceTable", [&] { return Services->GetMsgServiceTable(); }},
        {"GetProviderTable", "GetProviderTable", [&] { return Services->GetProviderTable(); }},
        {"CreateMsgService", "CreateMsgService", [&] { return Services->CreateMsgService(u"X", u"", false); }},
        {"ConfigureMsgService", "ConfigureMsgService",
         [&] { Services->ConfigureMsgService(Uid('1'), {}, *properties); }},
        {"DeleteMsgService", "DeleteMsgService", [&] { Services->DeleteMsgService(Uid('1')); }},
        {"services.OpenProfileSection", "OpenProfileSection",
         [&] { return Services->OpenProfileSection(Uid('1'), alReadOnly); }},
        {"AdminProviders", "OpenProviderProfileSection",
         [&] { return Services->OpenProviderProfileSection(Uid('1'), alReadOnly); }}};
    ExpectFailuresNameTheOperation(*Calls, "TKwMAPIAdminServices", operations);
}

TEST_F(TAdminServicesTest, PersonalFolders)
{
    Client->Services->OnCreate = [&] { AddService(*Client->Services, '5'); };
    EXPECT_EQ(
        Catch([&] { return Services->AddPstFileToCurrentProfile(u"C:\\none.pst", u"P", false); }),
        (TCaught{"EMAPI_INVALID_PARAMETER",
                 "TKwMAPIAdminServices.AddPstFileToCurrentProfile failed!\r\nThe given file \"C:\\none.pst\" does "
                 "not exist",
                 0x80070057}));
    EXPECT_EQ(TakeCalls(), "") << "before anything is made";
    Platform.SetFile(u"C:\\some.pst", "!BDN");
    EXPECT_EQ(Services->AddPstFileToCurrentProfile(u"C:\\some.pst", u"Archiv", false), Uid('5'));
    const std::string calls = TakeCalls();
    EXPECT_NE(calls.find("CreateMsgService(\"MSPST MS\",\"Archiv\",0,0x80000000)\n"), std::string::npos);
    EXPECT_NE(calls.find("ConfigureMsgService(55555555555555555555555555555555,0,0x80000000,"
                         "0x6700001F=\"C:\\some.pst\",0x3001001E='Archiv')\n"),
              std::string::npos)
        << calls;
    // What cannot be set up is taken back; that this fails, too, hides nothing.
    Client->Services->OnCreate = [&] { AddService(*Client->Services, '6'); };
    for (const auto& result : {std::optional<mapi::HRESULT>(), std::optional(mapi::MAPI_E_NETWORK_ERROR)}) {
        Calls->Next("ConfigureMsgService", mapi::MAPI_E_NO_ACCESS);
        Calls->Next("DeleteMsgService", result);
        EXPECT_EQ(Catch([&] { return Services->AddPstFileToCurrentProfile(u"C:\\some.pst", u"P", false); }).ClassName,
                  "EMAPI_NO_ACCESS");
        EXPECT_NE(TakeCalls().find("DeleteMsgService(66666666666666666666666666666666)"), std::string::npos);
        Client->Services->OnCreate = [&] { AddService(*Client->Services, '6'); };
        Client->Services->Services->Rows.pop_back();
    }
}

TEST_F(TAdminServicesTest, TheSectionOfAProviderIsOpenedThroughItsService)
{
    AddProvider('\x11', '\x22');
    AddProvider('\x33', '\x44');
    const auto section = Services->OpenProviderProfileSection(Uid('3'), alReadWrite);
    EXPECT_EQ(TakeCalls(), "AdminProviders(44444444444444444444444444444444,0x80000000)\n"
                           "provider.OpenProfileSection(33333333333333333333333333333333,0x00000001)\n");
    EXPECT_EQ(section->Get_AccessLevel(), alReadWrite);
    EXPECT_EQ(Catch([&] { return Services->OpenProviderProfileSection(Uid('9'), alReadOnly); }).ClassName,
              "EMAPI_NOT_FOUND");
    EXPECT_EQ(Catch([&] { return Services->OpenProfileSection(StrToEntryID(u"00"), alReadOnly); }).Message,
              "An invalid ProfileUID was provided!");
    Session->Logoff();
    EXPECT_EQ(Catch([&] { return section->PropByName(PR_DISPLAY_NAME)->Get_Value(); }).ClassName, "EMAPI_NO_ACCESS");
}

} // namespace
} // namespace deftmapi::test
