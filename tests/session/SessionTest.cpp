// Logging on and off: the steps and their order, the events between them, what failures leave, and the session's
// stores.
#include "mapi/DeftMAPI.hpp"
#include "tests/session/FailureNames.hpp"
#include "tests/session/ScriptedClient.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <tuple>

namespace deftmapi::test
{
namespace
{

TCaught Failure(const char* className, std::uint32_t code, const char* message)
{
    return {className, message, code, false};
}

/// Writes the events into the log of calls and does what the test says.
class TEventSink final : public TKwAutoIntfObject, public virtual IKwMAPISessionDEvents
{
public:
    explicit TEventSink(TCallsRef calls) : FCalls(std::move(calls)) {}
    std::function<void(const std::string& event, IKwMAPISession& session)> OnEvent;

    void BeforeLogon(IKwMAPISession& session) override { Note("BeforeLogon", session); }
    void AfterLogon(IKwMAPISession& session) override { Note("AfterLogon", session); }
    void BeforeLogoff(IKwMAPISession& session) override { Note("BeforeLogoff", session); }
    void AfterLogoff(IKwMAPISession& session) override { Note("AfterLogoff", session); }
    void OutlookFlushQueus(IKwMAPISession& session, mapi::ULONG flags) override
    {
        Note("OutlookFlushQueus " + Hex(flags), session);
    }

private:
    void Note(const std::string& event, IKwMAPISession& session)
    {
        FCalls->Enter(event, session.Get_Active() ? "active" : "");
        if (OnEvent)
            OnEvent(event, session);
    }
    TCallsRef FCalls;
};

class TSessionTest : public TScriptedClientTest
{
protected:
    TSessionTest() : Session(KwMake<TSession>()), Events(KwMake<TEventSink>(Calls))
    {
        Session->Set_MAPIClient(ClientName);
        Session->DEventConnect(Events, true);
    }
    void LogonQuietly()
    {
        Session->Logon();
        static_cast<void>(Take());
    }
    void Notify(mapi::ULONG eventType)
    {
        const TKwComPtr<mapi::IMAPIAdviseSink> sink = Client->Sink;
        mapi::NOTIFICATION notification{};
        notification.ulEventType = eventType;
        sink->OnNotify(1, &notification);
    }

    TKwRef<TSession> Session;
    TKwRef<TEventSink> Events;
};

TEST_F(TSessionTest, LogonFlags)
{
    const auto logon = Session->Get_LogonInfo();
    const auto logoff = Session->Get_LogoffInfo();
    EXPECT_EQ(logon->Flags(), 0x00100063u);
    EXPECT_EQ(logoff->Flags(), TKwVariant(1));

    using TSetter = void (IKwMAPILogonInfo::*)(bool);
    const std::pair<TSetter, mapi::ULONG> changes[] = {
        {&IKwMAPILogonInfo::Set_ForceDownload, 0x00101063},
        {&IKwMAPILogonInfo::Set_NoMail, 0x00108063},
        {&IKwMAPILogonInfo::Set_ShowPasswordDialog, 0x00120063},
        {&IKwMAPILogonInfo::Set_ShowServiceDialog, 0x00102063},
        {&IKwMAPILogonInfo::Set_Shared, 0x0010006B},
        {&IKwMAPILogonInfo::Set_ProfileRequired, 0x00100033},
    };
    for (const auto& [set, flags] : changes) {
        (logon.Get()->*set)(true);
        EXPECT_EQ(logon->Flags(), flags);
        (logon.Get()->*set)(false);
    }
    EXPECT_FALSE(logoff->Get_Shared()); // follows the logon option
    logon->Set_ShortTimeOut(false);
    logon->Set_NewSession(false);
    logon->Set_ShowLogonDialog(false);
    EXPECT_EQ(logon->Flags(), 0x60u);
    logoff->Set_ShowLogoffDialog(true);
    logon->Set_Shared(true);
    EXPECT_EQ(logoff->Flags(), TKwVariant(3));
}

TEST_F(TSessionTest, LogonFlagsOfServicesAndOfSimpleMAPI)
{
    const auto logon = Session->Get_LogonInfo();
    logon->Set_Shared(true);
    logon->Set_ShowPasswordDialog(true);
    logon->Set_ShowServiceDialog(true);
    logon->Set_NTService(true);
    EXPECT_FALSE(logon->Get_Shared());
    EXPECT_TRUE(logon->Get_NoMail());
    EXPECT_EQ(logon->Flags(), 0x00118062u);
    logon->Set_Shared(true); // a service never allows others in
    logon->Set_ShowLogonDialog(true);
    EXPECT_EQ(logon->Flags(), 0x00118062u);
    logon->Set_NTService(false);
    EXPECT_TRUE(logon->Get_NoMail());
    logon->Set_UseExtendedMAPI(false);
    EXPECT_EQ(logon->Flags(), 1u);
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
    EXPECT_EQ(Catch([&] { static_cast<void>(store->GetFolderID(ftInbox)); }).Message,
              inactive("TKwMAPIMsgStore.GetFolderID"));
    EXPECT_EQ(Catch([&] { static_cast<void>(inbox->GetContentsTable()); }).Message,
              inactive("TKwMAPIFolder.GetContentsTable"));
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

TEST_F(TSessionTest, AnExceptionOfAnEventSinkEndsTheLogon)
{
    Events->OnEvent = [](const std::string& event, IKwMAPISession&) {
        if (event == "AfterLogon")
            throw EKwException(u"no", 1);
    };
    EXPECT_EQ(Catch([&] { Session->Logon(); }).Message, "no");
    EXPECT_FALSE(Session->Get_Active());
    EXPECT_FALSE(Session->Get_ExecutingEvents());
    EXPECT_EQ(Calls->Count("Logoff"), 1u);
    Session->DEventConnect(Events, false);
    Session->Logon();
    EXPECT_TRUE(Session->Get_Active());
}

TEST_F(TSessionTest, ASinkThatRaisesTakesNoEventFromTheOthers)
{
    const auto last = KwMake<TEventSink>(Calls);
    const auto second = KwMake<TEventSink>(Calls);
    Session->DEventConnect(second, true);
    Session->DEventConnect(last, true);
    std::string raises;
    std::string told;
    const auto raise = [&](const char16_t* text) {
        return [&raises, text](const std::string& event, IKwMAPISession&) {
            if (event == raises)
                throw EKwException(text, 1);
        };
    };
    Events->OnEvent = raise(u"first");
    second->OnEvent = raise(u"second");
    last->OnEvent = [&](const std::string& event, IKwMAPISession&) {
        told += event + ";";
        EXPECT_TRUE(Session->Get_ExecutingEvents()) << event;
    };
    for (const char* event : {"BeforeLogon", "AfterLogon", "BeforeLogoff", "AfterLogoff"}) {
        raises = event;
        told.clear();
        const TCaught caught = Catch([&] {
            Session->Logon();
            Session->Logoff();
        });
        EXPECT_EQ(caught.Message, "first") << event;
        EXPECT_NE(told.find(raises + ";"), std::string::npos) << told;
        EXPECT_FALSE(Session->Get_Active());
        EXPECT_FALSE(Session->Get_ExecutingEvents());
        EXPECT_EQ(Client->RefCount(), 1u);
    }
    for (const auto& sink : {Events, second, last})
        sink->OnEvent = nullptr;
}

TEST_F(TSessionTest, AFailedLogonTakesAlongWhatASinkHadOpened)
{
    TKwRef<IKwMAPIMsgStore> store;
    Events->OnEvent = [&](const std::string& event, IKwMAPISession& session) {
        if (event != "AfterLogon")
            return;
        store = session.OpenMsgStore(StrToEntryID(u"0A0B"), alReadWrite);
        throw EKwException(u"no", 1);
    };
    EXPECT_EQ(Catch([&] { Session->Logon(); }).Message, "no");
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(store->Get_MAPIOBJECT(), nullptr);
    EXPECT_EQ(Catch([&] { static_cast<void>(store->GetInboxFolderID()); }).Code, 0x80070005u);
    EXPECT_EQ(Client->RefCount(), 1u);
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

TEST_F(TSessionTest, ASinkMayAskForWhatIsJustBeingDone)
{
    Events->OnEvent = [](const std::string& event, IKwMAPISession& session) {
        event.ends_with("Logon") ? session.Logon() : session.Logoff();
    };
    Session->Logon();
    EXPECT_TRUE(Session->Get_Active());
    Session->Logoff();
    EXPECT_FALSE(Session->Get_Active());
    EXPECT_EQ(Calls->Count("MAPILogonEx"), 1u);
    EXPECT_EQ(Calls->Count("Logoff"), 1u);
    EXPECT_EQ(Calls->Count("BeforeLogoff"), 1u);
}

TEST_F(TSessionTest, ASinkMayReleaseTheSessionOrLogItOff)
{
    Events->OnEvent = [this](const std::string& event, IKwMAPISession& session) {
        if (event == "AfterLogon")
            session.Logoff();
        if (event == "AfterLogoff")
            Session.Reset();
    };
    Session->Logon();
    EXPECT_FALSE(Session);
    EXPECT_EQ(Calls->Count("AfterLogoff"), 1u);
    EXPECT_EQ(Client->RefCount(), 1u);
}

TEST_F(TSessionTest, TheEndOfASharedSessionLogsOff)
{
    LogonQuietly();
    Notify(mapi::fnevExtended);
    EXPECT_TRUE(Session->Get_Active()); // it is this session's own
    Session->Logoff();

    Session->Get_LogonInfo()->Set_NewSession(false);
    LogonQuietly();
    Notify(mapi::fnevCriticalError);
    EXPECT_TRUE(Session->Get_Active());
    Notify(mapi::fnevExtended);
    EXPECT_FALSE(Session->Get_Active());
    EXPECT_EQ(Take(), "BeforeLogoff(active)\nUnadvise(7)\nLogoff(0,0x00000001)\nAfterLogoff()");

    // On the client's thread, as with MultiThreadedNotifications.
    LogonQuietly();
    std::thread([&] { Notify(mapi::fnevExtended); }).join();
    EXPECT_FALSE(Session->Get_Active());
    Session->Logon();
    const TKwComPtr<mapi::IMAPIAdviseSink> kept = Client->Sink;
    Session.Reset();
    mapi::NOTIFICATION late{};
    late.ulEventType = mapi::fnevExtended;
    EXPECT_EQ(kept->OnNotify(1, &late), 0u); // the session is gone
}

TEST_F(TSessionTest, ALogoffDuringTheLogonIsDoneAtItsEnd)
{
    const std::string inOrder = "BeforeLogon()\n%MAPILogonEx(0,null,null,0x80100061)\nAdvise(,0x80000000)\n"
                                "AdminServices(0x00000000)\nAfterLogon(active)\nBeforeLogoff(active)\n"
                                "Unadvise(7)\nLogoff(0,0x00000001)\nAfterLogoff()";
    const auto expected = [&](const char* initialization) {
        std::string text = inOrder;
        return text.replace(text.find('%'), 1, initialization);
    };
    Session->Get_LogonInfo()->Set_NewSession(false);
    // The shared session has ended before this one listens: the client tells it at once, here or on its own thread.
    Client->OnCall = [&](const std::string& method) {
        if (method == "Advise")
            Notify(mapi::fnevExtended);
    };
    Session->Logon();
    EXPECT_FALSE(Session->Get_Active());
    EXPECT_EQ(Take(), expected("MAPIInitialize(0x00000008)\n"));
    Client->OnCall = [&](const std::string& method) {
        if (method == "Advise")
            std::thread([&] { Notify(mapi::fnevExtended); }).join();
    };
    Session->Logon();
    EXPECT_FALSE(Session->Get_Active());
    EXPECT_EQ(Take(), expected(""));
    EXPECT_EQ(Client->RefCount(), 1u);
    // One that no longer counts: the logon for which it was asked has failed.
    Client->OnCall = nullptr;
    Events->OnEvent = [](const std::string& event, IKwMAPISession& session) {
        if (event != "AfterLogon")
            return;
        session.Logoff();
        throw EKwException(u"no", 1);
    };
    EXPECT_EQ(Catch([&] { Session->Logon(); }).Message, "no");
    Events->OnEvent = nullptr;
    Session->Logon();
    EXPECT_TRUE(Session->Get_Active());
}

TEST_F(TSessionTest, ALogoffOfALogonThatASinkMadeInALogoffIsDoneAtItsEnd)
{
    // Asked for by a sink of that logon, or when it is done.
    for (const bool inLogon : {true, false}) {
        int logons = 0;
        Events->OnEvent = [&](const std::string& event, IKwMAPISession& session) {
            if (event == "AfterLogoff" && ++logons < 3) {
                session.Logon();
                EXPECT_TRUE(session.Get_Active());
                if (!inLogon)
                    session.Logoff();
            }
            if ((event == "AfterLogon" && logons > 0 && inLogon) || event == "BeforeLogoff")
                session.Logoff();
        };
        Session->Logon();
        static_cast<void>(Take());
        Session->Logoff();
        EXPECT_FALSE(Session->Get_Active());
        EXPECT_EQ(logons, 3);
        EXPECT_EQ(Calls->Count("Logoff"), 3u);
        EXPECT_EQ(Calls->Lines().back(), "AfterLogoff()");
        EXPECT_EQ(Client->RefCount(), 1u);
    }
    // One that is wanted stays.
    bool once = true;
    Events->OnEvent = [&](const std::string& event, IKwMAPISession& session) {
        if (event == "AfterLogoff" && std::exchange(once, false))
            session.Logon();
    };
    Session->Logon();
    Session->Logoff();
    EXPECT_TRUE(Session->Get_Active());
    Session->Logoff();
    EXPECT_FALSE(Session->Get_Active());
    Events->OnEvent = nullptr;
}

TEST_F(TSessionTest, ALogoffOnTheClientsThreadIsWaitedFor)
{
    Session->Get_LogonInfo()->Set_NewSession(false);
    LogonQuietly();
    std::atomic<bool> underway = false;
    Events->OnEvent = [&](const std::string& event, IKwMAPISession&) {
        if (event != "BeforeLogoff")
            return;
        underway = true;
        for (int i = 0; i < 10'000; ++i) // for whoever does not wait
            std::this_thread::yield();
    };
    std::thread client([&] { Notify(mapi::fnevExtended); });
    while (!underway)
        std::this_thread::yield();
    Session->Logon();
    EXPECT_TRUE(Session->Get_Active()) << "after the logoff, and not instead of it";
    client.join();
    EXPECT_TRUE(Session->Get_Active());
    EXPECT_EQ(Calls->Count("AfterLogoff"), 1u);
    EXPECT_EQ(Calls->Lines().back(), "AfterLogon(active)");
    Events->OnEvent = nullptr;
}

TEST_F(TSessionTest, ACallInWhichTheSessionEndsGivesNothing)
{
    Session->Get_LogonInfo()->Set_NewSession(false);
    Client->Services = TKwComPtr<TScriptedServiceAdmin>(new TScriptedServiceAdmin(Calls));
    Client->AddressBook = TKwComPtr<mapi::IAddrBook>(new TScriptedAddressBook(Calls));
    Client->Sections.Add("13DBB0C8AA05101A9BB000AA002FC45A");
    Client->Entries["\x0A"] = {mapi::MAPI_STORE, TKwComPtr<mapi::IUnknown>(Client->Store.Get())};
    Client->Identity = "\x0A";
    const TKwMAPIEntryID id = StrToEntryID(u"0A");
    const TKwMAPIEntryID other = StrToEntryID(u"0B");
    TKwRef<IKwMAPIProp> found;
    const std::tuple<const char*, const char*, std::function<void()>> operations[] = {
        {"OpenMsgStore", "OpenMsgStore", [&] { static_cast<void>(Session->OpenMsgStore(id, alReadOnly)); }},
        {"GetMsgStoresTable", "GetMsgStoresTable", [&] { static_cast<void>(Session->GetMsgStoresTable()); }},
        {"GetStatusTable", "GetStatusTable", [&] { static_cast<void>(Session->GetStatusTable()); }},
        {"OpenEntry", "OpenEntry", [&] { static_cast<void>(Session->OpenEntry(id, alReadOnly)); }},
        {"OpenEntry", "OpenEntry", [&] { static_cast<void>(Session->FindEntry(id, alReadOnly, found)); }},
        {"CompareEntryIDs", "CompareEntryIDs", [&] { static_cast<void>(Session->CompareEntryIDs(id, other)); }},
        {"SetDefaultStore", "SetDefaultMsgStore", [&] { Session->SetDefaultMsgStore(id); }},
        {"QueryIdentity", "QueryIdentity", [&] { static_cast<void>(Session->GetSessionInfo()->Get_Identity()); }},
        {"AdminServices", "GetAdminServices", [&] { static_cast<void>(Session->GetAdminServices()); }},
        {"OpenAddressBook", "OpenAddressBook", [&] { static_cast<void>(Session->OpenAddressBook()); }},
        {"OpenProfileSection", "OpenProfileSection", [&] {
             static_cast<void>(
                 Session->OpenProfileSection(StrToEntryID(u"13DBB0C8AA05101A9BB000AA002FC45A"), alReadOnly));
         }}};
    for (const auto& [call, method, operation] : operations) {
        LogonQuietly();
        Client->OnCall = [&, name = call](const std::string& made) {
            if (made == name)
                Notify(mapi::fnevExtended);
        };
        EXPECT_EQ(Catch(operation),
                  Failure("EMAPI_NO_ACCESS", 0x80070005,
                          ("You must logon before you can execute " + std::string(method) + "!").c_str()));
        EXPECT_FALSE(Session->Get_Active());
        EXPECT_EQ(Client->RefCount(), 1u) << call;
        Client->OnCall = nullptr;
    }
    EXPECT_FALSE(found);
    Client->Entries.clear();
    EXPECT_EQ(Client->Store->RefCount(), 1u);
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
    EXPECT_EQ(Catch([&] { static_cast<void>(Session->GetMsgStoresTable()); }),
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
    EXPECT_EQ(Catch([&] { static_cast<void>(Session->GetMsgStoresTable()); }).ClassName, "EMAPI_NOT_SUPPORTED");
    Session->Logoff();
    EXPECT_EQ(Take(), "BeforeLogoff(active)\nMAPILogoff(42,0x00000000)\nAfterLogoff()");
    // What was initialised for Simple MAPI is initialised anew.
    Session->Logon();
    EXPECT_TRUE(Take().starts_with("BeforeLogon()\nMAPIInitialize(0x00000008)\nMAPILogonEx("));
    info->Set_UseExtendedMAPI(false);
    EXPECT_NE(Session->GetMsgStoresTable(), nullptr);
}

TEST_F(TSessionTest, WhatASinkOpensBeforeTheLogoffIsInactiveAfterIt)
{
    LogonQuietly();
    TKwRef<IKwMAPITable> kept;
    Events->OnEvent = [&](const std::string& event, IKwMAPISession& session) {
        if (event == "BeforeLogoff")
            kept = session.GetMsgStoresTable();
    };
    Session->Logoff();
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(Client->Stores->RefCount(), 1u) << "nothing of the client is kept";
    Events->OnEvent = {};
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
    const std::pair<const char*, std::function<void()>> operations[] = {
        {"GetMsgStoresTable", [&] { static_cast<void>(Session->GetMsgStoresTable()); }},
        {"GetDefaultMsgStoreID", [&] { static_cast<void>(Session->GetDefaultMsgStoreID()); }},
        {"SetDefaultMsgStore", [&] { Session->SetDefaultMsgStore(id); }},
        {"OpenMsgStore", [&] { static_cast<void>(Session->OpenMsgStore(id, alReadOnly)); }},
        {"OpenEntry", [&] { static_cast<void>(Session->OpenEntry(id, alReadOnly)); }},
        {"OpenEntryEx", [&] { static_cast<void>(Session->OpenEntryEx(id, nullptr, 0, type)); }},
        {"FindEntry", [&] { Session->FindEntry(id, alReadOnly, found); }},
        {"FindEntryEx", [&] { Session->FindEntryEx(id, nullptr, 0, type, object); }},
        {"GetPublicFoldersMsgStoreID", [&] { static_cast<void>(Session->GetPublicFoldersMsgStoreID()); }},
        {"OpenExchangeManageStore", [&] { static_cast<void>(Session->OpenExchangeManageStore()); }},
        {"OpenOtherUsersMsgStore", [&] { static_cast<void>(Session->OpenOtherUsersMsgStore(u"x", alReadOnly)); }},
        {"CompareEntryIDs", [&] { static_cast<void>(Session->CompareEntryIDs(id, id)); }},
        {"OpenAddressBook", [&] { static_cast<void>(Session->OpenAddressBook()); }},
        {"GetStatusTable", [&] { static_cast<void>(Session->GetStatusTable()); }},
        {"GetAdminServices", [&] { static_cast<void>(Session->GetAdminServices()); }},
        {"OpenProfileSection", [&] { static_cast<void>(Session->OpenProfileSection(id, alReadOnly)); }},
        {"GetFormManager", [&] { static_cast<void>(Session->GetFormManager()); }},
        {"FlushQueues", [&] { Session->FlushQueues(0); }}};
    for (const auto& [name, operation] : operations)
        EXPECT_EQ(Catch(operation),
                  Failure("EMAPI_NO_ACCESS", 0x80070005,
                          ("You must logon before you can execute " + std::string(name) + "!").c_str()));
    const std::pair<const char*, std::function<void()>> ofBoth[] = {
        {"OpenDefaultMsgStore", [&] { static_cast<void>(Session->OpenDefaultMsgStore(alReadOnly)); }},
        {"CreateMessage", [&] { static_cast<void>(Session->CreateMessage(ftInbox, u"")); }},
        {"CreateMailMessage", [&] { static_cast<void>(Session->CreateMailMessage()); }},
    };
    for (const auto& [name, operation] : ofBoth)
        EXPECT_EQ(Catch(operation).Message, "You must logon before you can execute " + std::string(name) + "!");
    EXPECT_EQ(Take(), "");
    // Simple MAPI has none of the others.
    Session->Get_LogonInfo()->Set_UseExtendedMAPI(false);
    Session->Logon();
    for (const auto& [name, operation] : operations)
        EXPECT_EQ(Catch(operation).Message,
                  "The " + std::string(name) + " can only be used in combination with Extended MAPI!");
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
    const TKwMAPIEntryID id = StrToEntryID(u"0A");
    const TKwMAPIEntryID section = StrToEntryID(KwGlobalProfileSection);
    const TNamedOperation operations[] = {
        {"GetMsgStoresTable", "GetMsgStoresTable", [&] { static_cast<void>(Session->GetMsgStoresTable()); }},
        {"OpenMsgStore", "OpenMsgStore", [&] { static_cast<void>(Session->OpenMsgStore(id, alReadOnly)); }},
        {"SetDefaultStore", "SetDefaultStore", [&] { Session->SetDefaultMsgStore(id); }},
        {"OpenEntry", "OpenEntry", [&] { static_cast<void>(Session->OpenEntry(id, alReadOnly)); }},
        {"CompareEntryIDs", "CompareEntryIDs",
         [&] { static_cast<void>(Session->CompareEntryIDs(id, StrToEntryID(u"0B"))); }},
        {"OpenAddressBook", "OpenAddressBook", [&] { static_cast<void>(Session->OpenAddressBook()); }},
        {"GetStatusTable", "GetStatusTable", [&] { static_cast<void>(Session->GetStatusTable()); }},
        {"AdminServices", "GetAdminServices", [&] { static_cast<void>(Session->GetAdminServices()); }},
        {"OpenProfileSection", "OpenProfileSection",
         [&] { static_cast<void>(Session->OpenProfileSection(section, alReadOnly)); }},
        {"QueryIdentity", "QueryIdentity", [&] { static_cast<void>(Session->GetSessionInfo()->Get_Identity()); }}};
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

TEST_F(TSessionTest, AnotherClientReplacesTheLoadedLibrary)
{
    LogonQuietly();
    Session->Logoff();
    AddOther();
    Session->Set_MAPIClient(u"Other");
    EXPECT_EQ(KwCurrentMAPIDllFileName(), u"C:\\other.dll");
    EXPECT_EQ(Module().Open(), 0);
    Session->Logon();
    EXPECT_TRUE(Session->Get_Active());
}

// ---- Stores

TEST_F(TSessionTest, TheDefaultStoreIsTheRowThatSaysSo)
{
    LogonQuietly();
    EXPECT_EQ(Catch([&] { static_cast<void>(Session->GetDefaultMsgStoreID()); }),
              Failure("EMAPI_CALL_FAILED", 0x80004005, "Failed to determine the default messagestore!"));
    const auto row = [](std::string_view id, bool isDefault) {
        mapi::SPropValue flag{};
        flag.ulPropTag = GetPropTag(PR_DEFAULT_STORE);
        flag.Value.b = isDefault ? 1 : 0;
        return std::vector{BinaryValue(GetPropTag(PR_ENTRYID), id), flag};
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
    for (const auto& [code, text] : failures) {
        Calls->Next("OpenMsgStore", code);
        const TCaught caught = Catch([&] { static_cast<void>(Session->OpenMsgStore(id, alReadOnly)); });
        EXPECT_EQ(caught.Message, std::string("TSession.OpenMsgStore failed!\r\n") + text);
        EXPECT_EQ(caught.Code, static_cast<std::uint32_t>(code));
    }
    Calls->Next("OpenMsgStore", mapi::MAPI_E_CORRUPT_STORE);
    EXPECT_EQ(Catch([&] { static_cast<void>(Session->OpenMsgStore(id, alReadOnly)); }).ClassName,
              "EMAPI_CORRUPT_STORE");
    EXPECT_EQ(Catch([&] { static_cast<void>(Session->OpenMsgStore(TKwNull{}, alReadOnly)); }).Message,
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
