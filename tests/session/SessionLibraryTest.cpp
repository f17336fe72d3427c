// A session and the client library under it: how MAPI is initialised, libraries that do not do, what is told of the
// installed clients, what only some clients offer, and sessions that end on the client's own thread.
#include "mapi/DeftMAPI.hpp"
#include "tests/session/ScriptedClient.hpp"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace deftmapi::test
{
namespace
{

constexpr auto User = TKwRegistryRoot::rrCurrentUser;
constexpr auto Machine = TKwRegistryRoot::rrLocalMachine;

/// Runs when the session has logged off.
class TAfterLogoff final : public TQuietSessionSink
{
public:
    std::function<void()> Action;
    void AfterLogoff(IKwMAPISession&) override { Action(); }
};

class TSessionLibraryTest : public TScriptedClientTest
{
protected:
    TSessionLibraryTest() { Session.Reset(); } // each test makes its own
    [[nodiscard]] static TKwRef<TSession> NewSession()
    {
        auto session = KwMake<TSession>();
        session->Set_MAPIClient(ClientName);
        return session;
    }
    static mapi::ULONG Tell(mapi::IMAPIAdviseSink& sink)
    {
        mapi::NOTIFICATION end{};
        end.ulEventType = mapi::fnevExtended;
        return sink.OnNotify(1, &end);
    }
    /// How the thread was initialised since the last time.
    [[nodiscard]] std::string Initializations()
    {
        return TakeLines(
            *Calls, [](const std::string& line) { return line.find("nitialize(") != std::string::npos; }, ";");
    }
};

TEST_F(TSessionLibraryTest, TheOptionsOfTheLogonInitialiseTheThread)
{
    auto session = NewSession();
    const auto info = session->Get_LogonInfo();
    const auto logonTwice = [&] {
        for (int i = 0; i < 2; ++i) {
            session->Logon();
            session->Logoff();
        }
        return Initializations();
    };
    info->Set_MultiThreadedNotifications(true);
    EXPECT_EQ(logonTwice(), "MAPIInitialize(0x00000009);");
    info->Set_NTService(true);
    EXPECT_EQ(logonTwice(), "MAPIUninitialize();MAPIInitialize(0x00010009);") << "the options have changed";
    info->Set_MultiThreadedNotifications(false);
    EXPECT_EQ(logonTwice(), "MAPIUninitialize();MAPIInitialize(0x00010008);");
    info->Set_UseExtendedMAPI(false);
    EXPECT_EQ(logonTwice(), "");
}

TEST_F(TSessionLibraryTest, TwoSessionsOfOneThreadShareItsOptions)
{
    auto first = NewSession();
    auto second = NewSession();
    second->Get_LogonInfo()->Set_MultiThreadedNotifications(true);
    first->Logon();
    EXPECT_EQ(Initializations(), "MAPIInitialize(0x00000008);");
    EXPECT_EQ(Catch([&] { second->Logon(); }).Message,
              "There are still active MAPI sessions in this thread. You must close these sessions first!");
    EXPECT_FALSE(second->Get_Active());
    EXPECT_TRUE(first->Get_Active());
    EXPECT_NE(first->GetMsgStoresTable(), nullptr);
    EXPECT_EQ(Initializations(), "");
    first->Logoff();
    second->Logon();
    EXPECT_EQ(Initializations(), "MAPIUninitialize();MAPIInitialize(0x00000009);");
    EXPECT_EQ(Catch([&] { first->Logon(); }).ClassName, "EMAPI_CALL_FAILED");
    second->Logoff();
}

TEST_F(TSessionLibraryTest, OptionsThatChangeWhileLoggedOnAreThoseOfTheNextLogon)
{
    auto session = NewSession();
    session->Logon();
    const auto info = session->Get_LogonInfo();
    info->Set_MultiThreadedNotifications(true);
    info->Set_NTService(true);
    static_cast<void>(Take());
    EXPECT_NE(session->GetProfileAdmin(), nullptr);
    const auto store = session->OpenMsgStore(StrToEntryID(u"0A"), alReadOnly);
    EXPECT_EQ(Calls->Lines().front(), "OpenMsgStore(0,0A,0x00000000)");
    EXPECT_EQ(Initializations(), "");
    session->Logoff();
    session->Logon();
    EXPECT_EQ(Initializations(), "MAPIUninitialize();MAPIInitialize(0x00010009);");
}

TEST_F(TSessionLibraryTest, ObjectsGoBeforeTheirLibrary)
{
    auto owner = NewSession();
    auto other = NewSession();
    other->MAPIInitialize();
    EXPECT_EQ(KwCurrentMAPIDllFileName(), DllName) << "the library of the client, as for a logon";
    auto admin = owner->GetProfileAdmin();
    EXPECT_EQ(Catch([&] { other->MAPIUnload(); }).Message,
              "MAPI is still initialized!\r\nYou must first unitialize MAPI on all threads!");
    EXPECT_EQ(admin->Get_MAPIOBJECT(), ProfAdmin.Get()) << "what is refused changes nothing";
    other->MAPIUnitialize();
    other->MAPIUnload();
    EXPECT_EQ(admin->Get_MAPIOBJECT(), nullptr) << "whichever session unloads";
    EXPECT_EQ(ProfAdmin->RefCount(), 1u);

    // A library that nobody has loaded in so many words goes with the last thread.
    RegisterClient(u"Microsoft Outlook");
    KwMAPIInitialize(false, false, true, true);
    admin = owner->GetProfileAdmin();
    owner->MAPIUnitialize();
    EXPECT_FALSE(owner->MAPILoaded());
    EXPECT_EQ(admin->Get_MAPIOBJECT(), nullptr);
    EXPECT_EQ(ProfAdmin->RefCount(), 1u);

    admin = owner->GetProfileAdmin();
    AddOther();
    other->Set_MAPIClient(u"Other");
    EXPECT_EQ(admin->Get_MAPIOBJECT(), nullptr) << "another client's library has taken its place";
}

TEST_F(TSessionLibraryTest, ALibraryInUseElsewhereIsNotReplaced)
{
    auto session = NewSession();
    session->MAPIInitialize();
    AddOther();
    static_cast<void>(Take());
    std::promise<void> initialized;
    std::promise<void> leave;
    std::thread elsewhere([&] {
        KwMAPIInitialize(false, false, true, true);
        initialized.set_value();
        leave.get_future().wait();
        KwMAPIUninitialize(false);
    });
    initialized.get_future().wait();
    EXPECT_EQ(Catch([&] { session->Set_MAPIClient(u"Other"); }).Message,
              "MAPI is still initialized!\r\nYou must first unitialize MAPI on all threads!");
    EXPECT_TRUE(session->MAPIInitialized()) << "nothing has changed";
    EXPECT_EQ(session->Get_MAPIClient(), ClientName);
    EXPECT_EQ(Calls->Count("MAPIUninitialize"), 0u);
    leave.set_value();
    elsewhere.join();
    session->Set_MAPIClient(u"Other");
    EXPECT_EQ(KwCurrentMAPIDllFileName(), u"C:\\other.dll");
    EXPECT_EQ(Module().Open(), 0);
    EXPECT_FALSE(session->MAPIInitialized());
    session->Logon();
    EXPECT_TRUE(session->Get_Active());
    session->Logoff();
    session->MAPIUnitialize();
    // A library that goes with its last thread is gone before it is unloaded.
    session->MAPIUnload();
    RegisterClient(u"Microsoft Outlook");
    KwMAPIInitialize(false, false, true, true);
    session->Set_MAPIClient(u"Other");
    EXPECT_EQ(KwCurrentMAPIDllFileName(), u"C:\\other.dll");
}

TEST_F(TSessionLibraryTest, AnotherClientWhoseLibraryDoesNotDo)
{
    auto session = NewSession();
    session->Logon();
    session->Logoff();
    TFakeModule& other = AddOther();
    other.Exports.erase("MAPILogonEx");
    const auto change = [&] { return Catch([&] { session->Set_MAPIClient(u"Other"); }); };
    EXPECT_EQ(change(),
              (TCaught{"EMAPI_CALL_FAILED",
                       "Extended MAPI is not supported by the loaded MAPI library (C:\\other.dll)!", 0x80004005}));
    EXPECT_FALSE(session->MAPILoaded());
    EXPECT_EQ(session->Get_MAPIClient(), ClientName) << "the client stays what it was";
    session->Logon();
    EXPECT_EQ(KwCurrentMAPIDllFileName(), DllName);
    session->Logoff();

    other.Refusal = u"broken";
    const TCaught refused{"EMAPI_CALL_FAILED", "Failed to load the MAPI library (C:\\other.dll)!", 0x80004005};
    EXPECT_EQ(change(), refused);
    session->Set_MAPIClient(u"Other"); // nothing is loaded: the logon will
    EXPECT_EQ(Catch([&] { session->Logon(); }), refused);
    EXPECT_FALSE(session->Get_Active());
    WordBool extended = true;
    WordBool loaded = true;
    session->MAPILoad(u"C:\\other.dll", extended, loaded);
    EXPECT_FALSE(extended || loaded);
    EXPECT_EQ(Catch([&] { session->MAPILoad(u"C:\\none.dll", extended, loaded); }).ClassName,
              "EMAPI_INVALID_PARAMETER");
}

TEST_F(TSessionLibraryTest, WhatIsInstalledIsTold)
{
    auto session = NewSession();
    const auto info = session->Get_MAPIInfo();
    EXPECT_EQ(info->Get_Version(), u"1.0.0.0") << "nothing is loaded";
    EXPECT_EQ(info->Get_DefaultClient(), u"");
    EXPECT_EQ(info->Get_OutlookVersion(), u"");
    AddOther();
    Platform.SetValue(Machine, u"Software\\Clients\\Mail", u"", u"TestMail");
    EXPECT_EQ(info->Get_DefaultClient(), u"TestMail");
    Platform.SetValue(User, u"Software\\Clients\\Mail", u"", u"Other");
    EXPECT_EQ(info->Get_DefaultClient(), u"Other") << "the user's choice comes first";
    EXPECT_EQ(info->GetClients().size(), 2u);
    session->Logon();
    EXPECT_EQ(info->Get_Version(), u"1.0.0.1");
    Platform.SetValue(Machine, u"SOFTWARE\\Classes\\Outlook.Application\\CurVer", u"", u"Outlook.Application.16");
    Platform.SetValue(Machine, u"SOFTWARE\\Microsoft\\Office\\16.0\\Outlook\\InstallRoot", u"Path", u"C:\\Office16\\");
    EXPECT_EQ(info->Get_OutlookVersion(), u"16.0");
}

// ---- What only some clients offer

/// Not asked for anything.
class TFormManager final : public TScriptedUnknown<mapi::IMAPIFormMgr>
{
public:
    TFormManager() : TScriptedUnknown({mapi::IID_IMAPIFormMgr}) {}
    DEFTMAPI_REFUSED(GetLastError, mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR*)
    DEFTMAPI_REFUSED(LoadForm, mapi::ULONG_PTR, mapi::ULONG, mapi::LPCSTR, mapi::ULONG, mapi::ULONG, mapi::LPMAPIFOLDER,
                     mapi::LPMAPIMESSAGESITE, mapi::LPMESSAGE, mapi::LPMAPIVIEWCONTEXT, mapi::REFIID, mapi::LPVOID*)
    DEFTMAPI_REFUSED(ResolveMessageClass, mapi::LPCSTR, mapi::ULONG, mapi::LPMAPIFOLDER, mapi::LPMAPIFORMINFO*)
    DEFTMAPI_REFUSED(ResolveMultipleMessageClasses, mapi::LPSMESSAGECLASSARRAY, mapi::ULONG, mapi::LPMAPIFOLDER,
                     mapi::LPSMAPIFORMINFOARRAY*)
    DEFTMAPI_REFUSED(CalcFormPropSet, mapi::LPSMAPIFORMINFOARRAY, mapi::ULONG, mapi::LPMAPIFORMPROPARRAY*)
    DEFTMAPI_REFUSED(CreateForm, mapi::ULONG_PTR, mapi::ULONG, mapi::LPMAPIFORMINFO, mapi::REFIID, mapi::LPVOID*)
    DEFTMAPI_REFUSED(SelectForm, mapi::ULONG_PTR, mapi::ULONG, mapi::LPCTSTR, mapi::LPMAPIFOLDER, mapi::LPMAPIFORMINFO*)
    DEFTMAPI_REFUSED(SelectMultipleForms, mapi::ULONG_PTR, mapi::ULONG, mapi::LPCTSTR, mapi::LPMAPIFOLDER,
                     mapi::LPSMAPIFORMINFOARRAY, mapi::LPSMAPIFORMINFOARRAY*)
    DEFTMAPI_REFUSED(SelectFormContainer, mapi::ULONG_PTR, mapi::ULONG, mapi::LPMAPIFORMCONTAINER*)
    DEFTMAPI_REFUSED(OpenFormContainer, mapi::HFRMREG, mapi::LPUNKNOWN, mapi::LPMAPIFORMCONTAINER*)
    DEFTMAPI_REFUSED(PrepareForm, mapi::ULONG_PTR, mapi::ULONG, mapi::LPMAPIFORMINFO)
    DEFTMAPI_REFUSED(IsInConflict, mapi::ULONG, mapi::ULONG, mapi::LPCSTR, mapi::LPMAPIFOLDER)

private:
    static mapi::HRESULT Refused(const char*) { return mapi::MAPI_E_NO_SUPPORT; }
};

mapi::IMAPISession* AskedForForms = nullptr;
mapi::IMAPIFormMgr* CurrentForms = nullptr;

mapi::HRESULT DEFTMAPI_STDCALL OpenFormMgr(mapi::LPMAPISESSION session, mapi::IMAPIFormMgr** manager)
{
    AskedForForms = session;
    if (CurrentForms == nullptr)
        return mapi::MAPI_E_NOT_FOUND;
    CurrentForms->AddRef();
    *manager = CurrentForms;
    return mapi::S_OK;
}

mapi::HRESULT DEFTMAPI_STDCALL OpenFormMgrAsTheSessionEnds(mapi::LPMAPISESSION session, mapi::IMAPIFormMgr** manager)
{
    const mapi::HRESULT hr = OpenFormMgr(session, manager);
    mapi::NOTIFICATION end{};
    end.ulEventType = mapi::fnevExtended;
    const TKwComPtr<mapi::IMAPIAdviseSink> sink = dynamic_cast<TScriptedMAPISession&>(*session).Sink;
    sink->OnNotify(1, &end);
    return hr;
}

TEST_F(TSessionLibraryTest, OutlookHasAFormManager)
{
    RegisterClient(u"Microsoft OUTLOOK");
    auto session = NewSession();
    session->Set_MAPIClient(u"Microsoft OUTLOOK");
    session->Logon();
    EXPECT_EQ(Catch([&] { return session->GetFormManager(); }).Message,
              "The loaded MAPI library does not support \"MAPIOpenFormMgr\"!");
    Module().Export("MAPIOpenFormMgr", &OpenFormMgr);
    EXPECT_EQ(Catch([&] { return session->GetFormManager(); }).ClassName, "EMAPI_NOT_FOUND");
    const TKwComPtr<TFormManager> forms(new TFormManager);
    CurrentForms = forms.Get();
    EXPECT_EQ(session->GetFormManager().Get(), forms.Get());
    EXPECT_EQ(AskedForForms, Client.Get());
    EXPECT_EQ(forms->RefCount(), 1u) << "what was given out has been released";

    // Outlook as the system's default client does as well. The session ends in the middle of the call.
    session->Logoff();
    session->Set_MAPIClient(u"");
    Platform.SetValue(User, u"Software\\Clients\\Mail", u"", u"Microsoft Outlook");
    session->Get_LogonInfo()->Set_NewSession(false);
    session->MAPIUnitialize();
    session->MAPIUnload(); // forgets the entry point
    Module().Export("MAPIOpenFormMgr", &OpenFormMgrAsTheSessionEnds);
    session->Logon();
    EXPECT_EQ(Catch([&] { return session->GetFormManager(); }).Message,
              "You must logon before you can execute GetFormManager!");
    EXPECT_EQ(forms->RefCount(), 1u);
    CurrentForms = nullptr;
}

TEST_F(TSessionLibraryTest, AnAddressBookThatLacksAProviderIsStillOne)
{
    const TKwComPtr<TScriptedAddressBook> book(new TScriptedAddressBook(Calls));
    Client->AddressBook = TKwComPtr<mapi::IAddrBook>(book.Get());
    auto session = NewSession();
    session->Set_ParentWindow(5);
    session->Logon();
    static_cast<void>(Take());
    EXPECT_EQ(session->OpenAddressBook().Get(), book.Get());
    Calls->Next("OpenAddressBook", mapi::MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(session->OpenAddressBook().Get(), book.Get());
    EXPECT_EQ(Take(), "OpenAddressBook(5,0x00000000)\nOpenAddressBook(5,0x00000000)");
    session->Logoff();
    session->Get_LogonInfo()->Set_NTService(true);
    session->Logon();
    EXPECT_EQ(session->OpenAddressBook().Get(), book.Get());
    EXPECT_EQ(Calls->Lines().back(), "OpenAddressBook(5,0x00000001)") << "nobody sees the dialogs of a service";
    EXPECT_EQ(book->RefCount(), 2u);
    Client->AddressBook.Reset();
}

// ---- Sessions that end on the client's thread

TEST_F(TSessionLibraryTest, TheCountsOfItsThreadAreRightWhereverASessionEnds)
{
    auto session = NewSession();
    session->Get_LogonInfo()->Set_NewSession(false);
    session->Get_LogonInfo()->Set_MultiThreadedNotifications(true);
    session->Logon();
    const TKwComPtr<mapi::IMAPIAdviseSink> sink = Client->Sink;
    const auto events = KwMake<TAfterLogoff>();
    std::uint32_t inSink = 0;
    events->Action = [&] {
        inSink = Catch([] { KwMAPIUninitialize(false); }).Code; // nothing of this thread
        session.Reset();
    };
    session->DEventConnect(events, true);
    std::thread([&] { Tell(*sink); }).join();
    EXPECT_FALSE(session);
    EXPECT_EQ(inSink, 0u);
    EXPECT_TRUE(KwMAPIInitialized()) << "no other thread can uninitialise this one";
    EXPECT_EQ(Client->RefCount(), 1u);
    // Whoever comes next finds a thread without sessions.
    NewSession().Reset();
    EXPECT_FALSE(KwMAPIInitialized());

    // Logged off there, and ended here.
    session = NewSession();
    session->Get_LogonInfo()->Set_NewSession(false);
    session->Logon();
    std::thread([client = Client->Sink] { Tell(*client); }).join();
    EXPECT_FALSE(session->Get_Active());
    session->MAPIUnitialize();
    EXPECT_FALSE(KwMAPIInitialized());
    session->Logon();
    EXPECT_EQ(Catch([] { KwMAPIUninitialize(false); }).ClassName, "EMAPI_CALL_FAILED") << "one session is open";
    session.Reset();
    EXPECT_FALSE(KwMAPIInitialized());
}

TEST_F(TSessionLibraryTest, ALogoffThatMeetsTheEndOfItsSession)
{
    for (int i = 0; i < 200; ++i) {
        auto session = NewSession();
        session->Get_LogonInfo()->Set_NewSession(false);
        session->Logon();
        const TKwComPtr<mapi::IMAPIAdviseSink> sink = Client->Sink;
        static_cast<void>(Take());
        std::atomic<bool> ready = false;
        std::thread client([&] {
            ready = true;
            Tell(*sink);
        });
        while (!ready)
            std::this_thread::yield();
        session.Reset();
        client.join();
        ASSERT_EQ(Calls->Count("Logoff"), 1u) << "once, by whichever came first";
        ASSERT_EQ(Client->RefCount(), 1u);
        if (KwMAPIInitialized()) // the last reference went with the notification
            KwMAPIUninitialize(false);
    }
}

} // namespace
} // namespace deftmapi::test
