// Logging on and off: the steps and their order, the state and the failures of a session, and its stores.
#include "tests/session/SessionFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

TEST_F(TSessionTest, LogonAndLogoffFlagsAtFirst)
{
    const auto logon = Session->Get_LogonInfo();
    const auto logoff = Session->Get_LogoffInfo();
    EXPECT_EQ(logon->Flags(), 0x00100063u);
    EXPECT_EQ(logoff->Flags(), TKwVariant(1));
    logon->Set_Shared(false);
    EXPECT_FALSE(logoff->Get_Shared()) << "follows the option of the logon";
    logoff->Set_ShowLogoffDialog(true);
    logon->Set_Shared(true);
    EXPECT_EQ(logoff->Flags(), TKwVariant(3));
}

TEST_F(TSessionTest, LogonFlagsOfServices)
{
    const auto logon = Session->Get_LogonInfo();
    logon->Set_Shared(true);
    logon->Set_ShowPasswordDialog(true);
    logon->Set_ShowServiceDialog(true);
    logon->Set_NTService(true);
    EXPECT_FALSE(logon->Get_Shared());
    EXPECT_EQ(logon->Flags(), 0x00118062u);
    logon->Set_NTService(false);
    EXPECT_TRUE(logon->Get_NoMail());
}

TEST_F(TSessionTest, StepsOfLogonAndLogoff)
{
    Session->Get_LogonInfo()->Set_ProfileName(u"Profil Ä");
    Session->Get_LogonInfo()->Set_Password(u"secret");
    Session->Set_ParentWindow(99);
    Session->Logon();
    EXPECT_EQ(Take(), "BeforeLogon()\nMAPIInitialize(0x00000008)\n"
                      "MAPILogonEx(99,\"Profil Ä\",\"secret\",0x80100063)\nAdvise(,0x80000000)\n"
                      "AdminServices(0x00000000)\nAfterLogon(active)");
    EXPECT_TRUE(Session->Get_Active());
    EXPECT_EQ(Session->Get_MAPIOBJECT(), Client.Get());
    Session->Logon();
    EXPECT_EQ(Take(), "");

    Session->Logoff();
    EXPECT_EQ(Take(), "BeforeLogoff(active)\nUnadvise(7)\nLogoff(99,0x00000001)\nAfterLogoff()");
    EXPECT_FALSE(Session->Get_Active());
    EXPECT_EQ(Client->RefCount(), 1u);
    Session->Logoff();
    EXPECT_EQ(Take(), "");
    Session->Logon(); // once more, on the initialised library
    EXPECT_EQ(Calls->Count("MAPIInitialize"), 0u);
}

TEST_F(TSessionTest, TheWindowIsThatOfTheLogonUnlessAnotherIsSet)
{
    const auto window = [&] {
        static_cast<void>(Take());
        static_cast<void>(Session->OpenMsgStore(StrToEntryID(u"0A"), alReadOnly));
        const std::string first = Calls->Lines().front();
        EXPECT_EQ("OpenMsgStore(" + std::to_string(Session->GetParentWindow()) + ",0A,0x00000000)", first);
        return Session->GetParentWindow();
    };
    SetAppHandle(11);
    EXPECT_EQ(Session->Get_AppHandle(), 11u);
    EXPECT_EQ(Session->GetParentWindow(), 11u);
    EXPECT_EQ(Session->Get_ParentWindow(), 0u) << "none is set";
    Session->Logon();
    SetAppHandle(12);
    EXPECT_EQ(window(), 11u) << "fetched at logon";
    Session->Set_ParentWindow(5);
    EXPECT_EQ(window(), 5u);
    EXPECT_EQ(Session->Get_ParentWindow(), 5u);
    Session->Logoff();
    EXPECT_EQ(Calls->Count("Logoff"), 1u);
    EXPECT_NE(Take().find("\nLogoff(5,"), std::string::npos);
    Session->Set_ParentWindow(0);
    EXPECT_EQ(Session->GetParentWindow(), 12u);
    SetAppHandle(0);
}

TEST_F(TSessionTest, EverythingOfTheSessionIsInactiveAfterLogoff)
{
    LogonQuietly();
    const auto store = Session->OpenMsgStore(StrToEntryID(u"0A0B"), alReadWrite);
    const auto inbox = store->OpenFolderByType(ftInbox, alReadWrite);
    const auto message = inbox->CreateMessage(u"IPM.Note");
    const auto table = inbox->GetContentsTable();
    table->First();
    Session->Logoff();
    const auto inactive = [](const char* name) {
        return std::string(name) + " failed.\r\nThe object is not, or no longer, active!";
    };
    EXPECT_EQ(Catch([&] { return store->GetFolderID(ftInbox); }).Message, inactive("TKwMAPIMsgStore.GetFolderID"));
    EXPECT_EQ(Catch([&] { return inbox->GetContentsTable(); }).Message, inactive("TKwMAPIFolder.GetContentsTable"));
    EXPECT_EQ(Catch([&] { message->Set_Subject(u"x"); }).Message,
              inactive("TKwMAPIMessage.Set_Subject") +
                  "\r\nPlease note that you cannot access a mailmessage after submitting it!");
    EXPECT_TRUE(table->Get_EOF());
    EXPECT_EQ(TScriptedAllocator::Live(), 0u);
}

TEST_F(TSessionTest, FailedLogonLeavesTheSessionInactive)
{
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 20);
        Calls->FailNth(n, mapi::MAPI_E_NETWORK_ERROR);
        const TCaught caught = Catch([&] { Session->Logon(); });
        if (!Calls->Failed()) {
            EXPECT_EQ(caught, TCaught{});
            break;
        }
        // An event is no call that fails.
        const bool isEvent =
            Calls->Lines().back().starts_with("BeforeLogon") || Calls->Lines().back().starts_with("AfterLogon");
        EXPECT_EQ(caught.ClassName, isEvent ? "" : "EMAPI_NETWORK_ERROR") << n;
        EXPECT_EQ(Session->Get_Active(), isEvent);
        Session->Logoff();
        EXPECT_EQ(Session->Get_MAPIOBJECT(), nullptr);
        EXPECT_EQ(Client->RefCount(), 1u);
        EXPECT_FALSE(Client->Sink);
        static_cast<void>(Take());
    }
}

TEST_F(TSessionTest, LogoffThatFailsStillEndsTheSession)
{
    for (const char* call : {"Unadvise", "Logoff"}) {
        LogonQuietly();
        Calls->Next(call, mapi::MAPI_E_NETWORK_ERROR);
        EXPECT_EQ(Catch([&] { Session->Logoff(); }).ClassName, "EMAPI_NETWORK_ERROR") << call;
        EXPECT_FALSE(Session->Get_Active());
        EXPECT_EQ(Calls->Count("AfterLogoff"), 1u);
        EXPECT_EQ(Client->RefCount(), 1u);
    }
}

TEST_F(TSessionTest, DestructionLogsOffWithoutEvents)
{
    LogonQuietly();
    {
        const auto other = TSession::Create();
        other->Logon();
        static_cast<void>(Take());
    }
    EXPECT_EQ(Take(), "Unadvise(7)\nLogoff(0,0x00000001)");
    EXPECT_TRUE(KwMAPIInitialized());
    Client->Sink.Reset();
    Session.Reset();
    EXPECT_EQ(Take(), "Unadvise(7)\nLogoff(0,0x00000001)\nMAPIUninitialize()");
    EXPECT_FALSE(KwMAPIInitialized());
}

TEST_F(TSessionTest, TheSessionInfoIsThatOfOneLogon)
{
    TKwRef<IKwMAPISessionInfo> info;
    Events->OnEvent = [&](const std::string& event, IKwMAPISession& session) {
        if (event == "BeforeLogoff")
            info = session.GetSessionInfo();
    };
    Session->Logon();
    const auto first = Session->GetSessionInfo();
    EXPECT_EQ(Session->GetSessionInfo(), first);
    Session->Logoff();
    EXPECT_NE(info, first);
    Session->Logon();
    EXPECT_NE(Session->GetSessionInfo(), info) << "asked for at the logoff, and gone with it";
    Events->OnEvent = nullptr;
}

TEST_F(TSessionTest, ConnectedToExchange)
{
    Client->Services = TKwComPtr<TScriptedServiceAdmin>(new TScriptedServiceAdmin(Calls));
    TScriptedTable& services = *Client->Services->Services;
    const mapi::ULONG name = GetPropTag(PR_SERVICE_NAME_A);
    services.AddRow({TextValue(name, "MSPST MS")});
    LogonQuietly();
    EXPECT_FALSE(Session->Get_ConnectedToExchange());
    Session->Logoff();
    services.AddRow({TextValue(name, "MSEMS")});
    LogonQuietly();
    EXPECT_TRUE(Session->Get_ConnectedToExchange());
    Session->Logoff();
    EXPECT_FALSE(Session->Get_ConnectedToExchange());

    RegisterClient(u"exchangemapi");
    Session->Set_MAPIClient(u"exchangemapi");
    LogonQuietly();
    EXPECT_TRUE(Session->Get_ConnectedToExchange());
    EXPECT_EQ(Calls->Count("AdminServices"), 0u);
    Session->Logoff();
    Platform.SetValue(TKwRegistryRoot::rrCurrentUser, u"Software\\Clients\\Mail", u"", u"ExchangeMAPI");
    Session->Set_MAPIClient(u"");
    static_cast<void>(Take());
    Session->Logon();
    EXPECT_TRUE(Session->Get_ConnectedToExchange()) << "the system's default client";
    EXPECT_EQ(Calls->Count("AdminServices"), 0u);
}

TEST_F(TSessionTest, WithoutSupportForNotificationsThereAreNone)
{
    Calls->Next("Advise", mapi::MAPI_E_NO_SUPPORT);
    LogonQuietly();
    EXPECT_TRUE(Session->Get_Active());
    Session->Logoff();
    EXPECT_EQ(Calls->Count("Unadvise"), 0u);
}

TEST_F(TSessionTest, SimpleMAPI)
{
    Session->Get_LogonInfo()->Set_UseExtendedMAPI(false);
    Session->Logon();
    EXPECT_EQ(Take(), "BeforeLogon()\nMAPILogon(0x00000001)\nAfterLogon(active)");
    EXPECT_EQ(Catch([&] { return Session->GetMsgStoresTable(); }),
              Failure("EMAPI_NOT_SUPPORTED", 26,
                      "The GetMsgStoresTable can only be used in combination with Extended MAPI!"));
    Session->Logoff();
    EXPECT_EQ(Take(), "BeforeLogoff(active)\nMAPILogoff(42,0x00000000)\nAfterLogoff()");
}

TEST_F(TSessionTest, HowASessionWasLoggedOnCountsUntilItEnds)
{
    const auto info = Session->Get_LogonInfo();
    info->Set_UseExtendedMAPI(false);
    LogonQuietly();
    info->Set_UseExtendedMAPI(true);
    EXPECT_EQ(Catch([&] { return Session->GetMsgStoresTable(); }).ClassName, "EMAPI_NOT_SUPPORTED");
    Session->Logoff();
    EXPECT_EQ(Take(), "BeforeLogoff(active)\nMAPILogoff(42,0x00000000)\nAfterLogoff()");
    // What was initialised for Simple MAPI is initialised anew.
    Session->Logon();
    EXPECT_TRUE(Take().starts_with("BeforeLogon()\nMAPIInitialize(0x00000008)\nMAPILogonEx("));
    info->Set_UseExtendedMAPI(false);
    EXPECT_NE(Session->GetMsgStoresTable(), nullptr);
}

TEST_F(TSessionTest, LibrariesThatDoNotDo)
{
    Module().Exports.erase("MAPILogonEx");
    EXPECT_EQ(Catch([&] { Session->Logon(); }),
              Failure("EMAPI_CALL_FAILED", 0x80004005,
                      "Extended MAPI is not supported by the loaded MAPI library (C:\\mail\\client.dll)!"));
    EXPECT_FALSE(Session->MAPILoaded());
    EXPECT_FALSE(Session->Get_Active());
    Module().Refusal = u"broken";
    EXPECT_EQ(Catch([&] { Session->Logon(); }).Message, "Failed to load the MAPI library (C:\\mail\\client.dll)!");
    EXPECT_EQ(Catch([&] { Session->Set_MAPIClient(u"Nobody"); }),
              Failure("EMAPI_INVALID_PARAMETER", 0x80070057,
                      "TSession.SetMAPIClient failed. \"Nobody\" is not installed on this system!"));
    EXPECT_EQ(Session->Get_MAPIClient(), ClientName);
}

TEST_F(TSessionTest, StateErrors)
{
    const TKwMAPIEntryID id = StrToEntryID(u"0A");
    TKwMAPIObjectType type = otUnknown;
    TKwRef<IKwMAPIProp> found;
    TKwComPtr<mapi::IUnknown> object;
    std::vector<TNamedOperation> operations = Operations();
    for (const auto& [name, action] : std::initializer_list<std::pair<const char*, std::function<void()>>>{
             {"GetDefaultMsgStoreID", [&] { return Session->GetDefaultMsgStoreID(); }},
             {"CompareEntryIDs", [&] { return Session->CompareEntryIDs(id, id); }}, // which needs no client
             {"OpenProfileSection", [&] { return Session->OpenProfileSection(id, alReadOnly); }}, // which is none
             {"OpenEntryEx", [&] { return Session->OpenEntryEx(id, nullptr, 0, type); }},
             {"FindEntry", [&] { Session->FindEntry(id, alReadOnly, found); }},
             {"FindEntryEx", [&] { Session->FindEntryEx(id, nullptr, 0, type, object); }},
             {"GetPublicFoldersMsgStoreID", [&] { return Session->GetPublicFoldersMsgStoreID(); }},
             {"OpenExchangeManageStore", [&] { return Session->OpenExchangeManageStore(); }},
             {"OpenOtherUsersMsgStore", [&] { return Session->OpenOtherUsersMsgStore(u"x", alReadOnly); }},
             {"GetFormManager", [&] { return Session->GetFormManager(); }},
             {"FlushQueues", [&] { Session->FlushQueues(0); }}})
        operations.emplace_back("", name, action);
    const auto notLoggedOn = [](const std::string& method) {
        return "You must logon before you can execute " + method + "!";
    };
    for (const auto& [call, method, action] : operations)
        EXPECT_EQ(Catch(action), Failure("EMAPI_NO_ACCESS", 0x80070005, notLoggedOn(method).c_str()));
    const std::pair<const char*, std::function<void()>> ofBoth[] = {
        {"OpenDefaultMsgStore", [&] { return Session->OpenDefaultMsgStore(alReadOnly); }},
        {"CreateMessage", [&] { return Session->CreateMessage(ftInbox, u""); }},
        {"CreateMailMessage", [&] { return Session->CreateMailMessage(); }},
        {"GetSessionInfo", [&] { return Session->GetSessionInfo(); }}};
    for (const auto& [method, action] : ofBoth)
        EXPECT_EQ(Catch(action).Message, notLoggedOn(method));
    EXPECT_EQ(Take(), "");
    // Simple MAPI has none of the others.
    Session->Get_LogonInfo()->Set_UseExtendedMAPI(false);
    Session->Logon();
    for (const auto& [call, method, action] : operations)
        EXPECT_EQ(Catch(action).Message,
                  "The " + std::string(method) + " can only be used in combination with Extended MAPI!");
    Session->Logoff();
    Session->Get_LogonInfo()->Set_UseExtendedMAPI(true);
    EXPECT_EQ(Session->Get_Version(), u"8.2.3.13 64-bit");
    LogonQuietly();
    EXPECT_EQ(Catch([&] { Session->Set_MAPIClient(u""); }),
              Failure("EMAPI_CALL_FAILED", 0x80004005,
                      "TSession.SetMAPIClient failed, because the session is already active. Please logoff first!"));
}

TEST_F(TSessionTest, FailuresNameTheOperationAndTheClientsText)
{
    Client->Identity = "\x0A";
    LogonQuietly();
    std::vector<TNamedOperation> operations = Operations();
    std::get<1>(operations[2]) = "SetDefaultStore"; // by the client's name of it
    operations.emplace_back("QueryIdentity", "QueryIdentity",
                            [&] { return Session->GetSessionInfo()->Get_Identity(); });
    ExpectFailuresNameTheOperation(*Calls, "TSession", operations);
    Client->Error = u"No line";
    EXPECT_EQ(Catch([&] { Session->CheckLastError(u"OpenEntry", mapi::MAPI_E_NETWORK_ERROR); }),
              Failure("EMAPI_NETWORK_ERROR", 0x80040115, "Component Client caused: No line (TSession.OpenEntry)"));
    Session->Logoff();
    EXPECT_NE(Catch([&] {
                  Session->CheckLastError(u"OpenEntry", mapi::MAPI_E_NETWORK_ERROR);
              }).Message.find("MAPI_E_NETWORK_ERROR"),
              std::string::npos)
        << "nobody is left to ask";
}

// ---- Stores

TEST_F(TSessionTest, TheDefaultStoreIsTheRowThatSaysSo)
{
    LogonQuietly();
    EXPECT_EQ(Catch([&] { return Session->GetDefaultMsgStoreID(); }),
              Failure("EMAPI_CALL_FAILED", 0x80004005, "Failed to determine the default messagestore!"));
    const auto row = [](std::string_view id, bool isDefault) {
        return std::vector{BinaryValue(GetPropTag(PR_ENTRYID), id), BoolValue(GetPropTag(PR_DEFAULT_STORE), isDefault)};
    };
    Client->Stores->AddRow(row("\x0A", false));
    Client->Stores->AddRow(row("\x0B", true));
    EXPECT_EQ(EntryIDToStr(Session->GetDefaultMsgStoreID()), u"0B");
    Calls->Next("GetMsgStoresTable", mapi::MAPI_E_BAD_CHARWIDTH);
    static_cast<void>(Take());
    const auto store = Session->OpenDefaultMsgStore(alBestAccess);
    EXPECT_EQ(Take().substr(0, 64), "GetMsgStoresTable(0x80000000)\nGetMsgStoresTable(0x00000000)\nSetC");
    EXPECT_EQ(store->PropByName(PR_DISPLAY_NAME)->Get_AsString(), u"Store");
    EXPECT_EQ(Take(), ""); // read while opening
}

TEST_F(TSessionTest, OpenMsgStore)
{
    LogonQuietly();
    const TKwMAPIEntryID id = StrToEntryID(u"0A0B");
    const std::pair<TKwMAPIAccessLevel, const char*> access[] = {{alReadOnly, "OpenMsgStore(0,0A0B,0x00000000)"},
                                                                 {alReadWrite, "OpenMsgStore(0,0A0B,0x00000004)"},
                                                                 {alBestAccess, "OpenMsgStore(0,0A0B,0x00000010)"}};
    for (const auto& [level, call] : access) {
        const auto store = Session->OpenMsgStore(id, level);
        EXPECT_EQ(Calls->Lines().front(), call);
        EXPECT_EQ(store->Get_AccessLevel(), level);
        static_cast<void>(Take());
    }
    Calls->Next("OpenMsgStore", mapi::MAPI_W_ERRORS_RETURNED);
    EXPECT_TRUE(Session->OpenMsgStore(id, alReadOnly)) << "a warning comes with the store";
    const std::pair<mapi::HRESULT, const char*> failures[] = {
        {mapi::MAPI_E_NOT_FOUND, "The message store indicated by MsgStoreID does not exist."},
        {mapi::MAPI_E_NO_ACCESS,
         "An attempt was made to access a message store for which the user has insufficient permissions."},
        {mapi::MAPI_E_UNCONFIGURED, "OpenMsgStore has insufficient configuration information to open the message store "
                                    "without the user's help."},
        {mapi::MAPI_E_FAILONEPROVIDER,
         "Check if the Cached Exchange Mode has been enabled. If not, enable the cache and try it again!."},
    };
    ExpectTexts(*Calls, "OpenMsgStore", "TSession.OpenMsgStore failed!\r\n", failures,
                [&] { return Session->OpenMsgStore(id, alReadOnly); });
    EXPECT_EQ(Catch([&] { return Session->OpenMsgStore(TKwNull{}, alReadOnly); }).Message,
              "An invalid (empty) EntryID was specified!");
    Session->Logoff();
    Session->Get_LogonInfo()->Set_NTService(true);
    LogonQuietly();
    static_cast<void>(Session->OpenMsgStore(id, alReadOnly));
    EXPECT_EQ(Calls->Lines().front(), "OpenMsgStore(0,0A0B,0x00000001)") << "nobody sees the dialogs of a service";
}

TEST_F(TSessionTest, CompareEntryIDsAsksTheClientUnlessOneIsEmpty)
{
    LogonQuietly();
    EXPECT_TRUE(Session->CompareEntryIDs(StrToEntryID(u"0A"), StrToEntryID(u"0B")));
    EXPECT_EQ(Take(), "CompareEntryIDs(0A,0B,0x00000000)");
    EXPECT_FALSE(Session->CompareEntryIDs(StrToEntryID(u"0A"), TKwNull{}));
    EXPECT_TRUE(Session->CompareEntryIDs(TKwNull{}, TKwNull{}));
    EXPECT_EQ(Take(), "");
}

} // namespace
} // namespace deftmapi::test
