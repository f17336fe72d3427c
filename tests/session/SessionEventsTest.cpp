// What happens in the middle of a logon, a logoff or a call: what sinks do there, and what raises in them; the client's
// word that the shared session has ended; logoffs during logons and the other way round.
#include "tests/session/SessionFixture.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace deftmapi::test
{
namespace
{

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
    EXPECT_EQ(Catch([&] { return store->GetInboxFolderID(); }).Code, 0x80070005u);
    EXPECT_EQ(Client->RefCount(), 1u);
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
    TKwRef<IKwMAPIProp> found;
    std::vector<TNamedOperation> operations = Operations();
    operations.emplace_back("OpenEntry", "OpenEntry",
                            [&] { Session->FindEntry(StrToEntryID(u"0A"), alReadOnly, found); });
    operations.emplace_back("QueryIdentity", "QueryIdentity",
                            [&] { return Session->GetSessionInfo()->Get_Identity(); });
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

} // namespace
} // namespace deftmapi::test
