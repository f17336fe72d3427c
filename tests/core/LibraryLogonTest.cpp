// Logging on and off through either interface.
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIdefsH.hpp"
#include "tests/core/FakeClient.hpp"
#include "tests/session/ScriptedClient.hpp"

namespace deftmapi::test
{

namespace
{

using TCalls = std::vector<std::string>;

class LibraryLogon : public LibraryTest
{
protected:
    static constexpr mapi::ULONG Extended = mapi::MAPI_EXTENDED;
    static constexpr mapi::ULONG Wide = mapi::MAPI_UNICODE;

    TCaught Logon(WideView profile, WideView password, mapi::ULONG flags)
    {
        return Catch([&] { KwMAPILogon(9, profile, password, flags, Session, Handle); });
    }
    void TearDown() override
    {
        Session.Reset();
        LibraryTest::TearDown();
    }

    std::shared_ptr<TScriptedCalls> Calls = std::make_shared<TScriptedCalls>();
    TKwComPtr<TScriptedMAPISession> Object{new TScriptedMAPISession(Calls)};
    TKwComPtr<mapi::IMAPISession> Session;
    mapi::LHANDLE Handle = 0;
};

TEST_F(LibraryLogon, NeedsALoadedLibraryAndAnInitialisedThread)
{
    EXPECT_EQ(Logon(u"", u"", Extended),
              (TCaught{"EMAPI_CALL_FAILED", "MAPI hasn't been loaded yet!\r\nYou must first load the MAPI dll.",
                       0x80004005}));
    AddClient(u"B.dll");
    Load(u"B.dll");
    EXPECT_EQ(
        Logon(u"", u"", Extended),
        (TCaught{"EMAPI_CALL_FAILED",
                 "MAPI hasn't been initialized yet!\r\nYou must initialize MAPI before calling any MAPI functions.",
                 0x80004005}));
    EXPECT_TRUE(Log.Take().empty());
}

TEST_F(LibraryLogon, ThroughExtendedMAPI)
{
    AddClient(u"MAPI32.dll");
    KwMAPIInitialize(false, false, true, false);
    Log.Take();
    Log.Session = Object.Get();
    Handle = 5;
    EXPECT_EQ(Logon(u"Müller", u"geheim€", Extended | Wide | 1), TCaught{});
    EXPECT_EQ(Log.Take(), TCalls{"MAPILogonEx(0x9, L'Müller', L'geheim€', 0x80000021)"});
    EXPECT_EQ(Session.Get(), Object.Get());
    EXPECT_EQ(Object->RefCount(), 2u);
    EXPECT_EQ(Handle, 0u);

    KwMAPILogoff(9, 1, Session, Handle);
    EXPECT_EQ(Session, nullptr);
    EXPECT_EQ(Object->RefCount(), 1u);
    KwMAPILogoff(9, 1, Session, Handle);
    EXPECT_EQ(Calls->Take(), "Logoff(9,0x00000001)");

    Log.Session = nullptr;
    EXPECT_EQ(Logon(u"M\u00FCller", u"", Extended), TCaught{});
    EXPECT_EQ(Log.Take(), TCalls{"MAPILogonEx(0x9, 'M\xFCller', null, 0x20)"}) << "in the code page of the system";
    EXPECT_EQ(Logon(u"", u"", Extended | Wide), TCaught{});
    EXPECT_EQ(Log.Take(), TCalls{"MAPILogonEx(0x9, null, null, 0x80000020)"});
}

TEST_F(LibraryLogon, ThroughSimpleMAPI)
{
    AddClient(u"MAPI32.dll");
    KwMAPIInitialize(false, false, true, false);
    Log.Take();
    Log.SimpleHandle = 42;
    EXPECT_EQ(Logon(u"M\u00FCller", u"x", Wide | 1), TCaught{}) << "the flags do not ask for extended MAPI";
    EXPECT_EQ(Log.Take(), TCalls{"MAPILogon(0x9, 'M\xFCller', 'x', 0x1)"});
    EXPECT_EQ(Session, nullptr);
    EXPECT_EQ(Handle, 42u);
    KwMAPILogoff(9, 2, Session, Handle);
    EXPECT_EQ(Handle, 0u);
    EXPECT_EQ(Log.Take(), TCalls{"MAPILogoff(0x2a, 0x9, 0x2)"});
    KwMAPILogoff(9, 2, Session, Handle);
    EXPECT_TRUE(Log.Take().empty());

    KwMAPIUninitialize(true);
    AddSimpleClient(u"simple.dll");
    Load(u"simple.dll");
    KwMAPIInitialize(false, false, false, false);
    Log.Take();
    EXPECT_EQ(Logon(u"", u"", Extended | Wide | 2), TCaught{}) << "the library does not offer extended MAPI";
    EXPECT_EQ(Log.Take(), TCalls{"MAPILogon(0x9, null, null, 0x2)"});
}

TEST_F(LibraryLogon, ReportsWhatTheClientReports)
{
    AddClient(u"MAPI32.dll");
    KwMAPIInitialize(false, false, true, false);
    Log.LogonResult = mapi::MAPI_E_LOGON_FAILED;
    Session = TKwComPtr<mapi::IMAPISession>(Object.Get());
    EXPECT_EQ(
        Logon(u"a", u"b", Extended),
        (TCaught{"EMAPI_LOGON_FAILED",
                 "uKwMAPILib.KwMAPILogon has raised the following exception:\r\nThe logon did not succeed, either "
                 "because one or more of the logon-parameters were invalid \r\nor because there were too many sessions "
                 "open already. (-2147221231)",
                 0x80040111}));
    EXPECT_EQ(Session, nullptr) << "an old session is not left behind";
    EXPECT_EQ(Object->RefCount(), 1u);

    // A warning is a failure, too; the session that came with it is dropped.
    Log.LogonResult = mapi::MAPI_W_NO_SERVICE;
    Log.Session = Object.Get();
    EXPECT_EQ(Logon(u"a", u"b", Extended).ClassName, "EMAPI_W_NO_SERVICE");
    EXPECT_EQ(Session, nullptr);
    EXPECT_EQ(Object->RefCount(), 1u);

    Log.SimpleResult = 3;
    EXPECT_EQ(Logon(u"a", u"b", 0), (TCaught{"EMAPI_LOGON_FAILURE", "Failed to logon.", 3}));
    EXPECT_EQ(Handle, 0u);

    Calls->Next("Logoff", mapi::MAPI_E_NETWORK_ERROR);
    Session = TKwComPtr<mapi::IMAPISession>(Object.Get());
    EXPECT_EQ(Catch([&] { KwMAPILogoff(0, 0, Session, Handle); }).ClassName, "EMAPI_NETWORK_ERROR");
    EXPECT_EQ(Session, nullptr) << "cleared all the same";
    EXPECT_EQ(Object->RefCount(), 1u);
    Handle = 42;
    Log.SimpleResult = 19;
    EXPECT_EQ(Catch([&] { KwMAPILogoff(0, 0, Session, Handle); }).ClassName, "EMAPI_INVALID_SESSION");
    EXPECT_EQ(Handle, 0u);
}

} // namespace

} // namespace deftmapi::test
