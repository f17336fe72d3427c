#include "tests/session/ScriptedClient.hpp"

namespace deftmapi::test
{

namespace
{

// What the exported functions work on; set for the life of a fixture.
TScriptedCalls* CurrentCalls = nullptr;
TScriptedMAPISession* CurrentSession = nullptr;
TScriptedProfAdmin* CurrentAdmin = nullptr;

mapi::HRESULT DEFTMAPI_STDCALL Initialize(mapi::LPVOID options)
{
    const auto* given = static_cast<const mapi::MAPIINIT_0*>(options);
    return CurrentCalls->Enter("MAPIInitialize", given != nullptr ? Hex(given->ulFlags) : "null").value_or(mapi::S_OK);
}

void DEFTMAPI_STDCALL Uninitialize()
{
    CurrentCalls->Enter("MAPIUninitialize", "");
}

mapi::HRESULT DEFTMAPI_STDCALL LogonEx(mapi::ULONG_PTR window, mapi::LPTSTR profile, mapi::LPTSTR password,
                                       mapi::ULONG flags, mapi::LPMAPISESSION* session)
{
    if (const auto result =
            CurrentCalls->Enter("MAPILogonEx", std::to_string(window) + "," + TextArgument(profile, flags) + "," +
                                                   TextArgument(password, flags) + "," + Hex(flags)))
        return *result;
    CurrentSession->AddRef();
    *session = CurrentSession;
    return mapi::S_OK;
}

mapi::HRESULT DEFTMAPI_STDCALL AdminProfiles(mapi::ULONG, mapi::LPPROFADMIN* admin)
{
    CurrentAdmin->AddRef();
    *admin = CurrentAdmin;
    return mapi::S_OK;
}

mapi::ULONG DEFTMAPI_STDCALL SimpleLogon(mapi::ULONG_PTR, mapi::LPSTR, mapi::LPSTR, mapi::FLAGS flags, mapi::ULONG,
                                         mapi::LPLHANDLE handle)
{
    *handle = 42;
    return static_cast<mapi::ULONG>(CurrentCalls->Enter("MAPILogon", Hex(flags)).value_or(0));
}

mapi::ULONG DEFTMAPI_STDCALL SimpleLogoff(mapi::LHANDLE handle, mapi::ULONG_PTR, mapi::FLAGS flags, mapi::ULONG)
{
    return static_cast<mapi::ULONG>(
        CurrentCalls->Enter("MAPILogoff", std::to_string(handle) + "," + Hex(flags)).value_or(0));
}

} // namespace

// ---- TScriptedClientTest

TScriptedClientTest::TScriptedClientTest()
    : Calls(std::make_shared<TScriptedCalls>()), Client(new TScriptedMAPISession(Calls)),
      ProfAdmin(new TScriptedProfAdmin(Calls)), Session(KwMake<TSession>())
{
    CurrentCalls = Calls.get();
    CurrentSession = Client.Get();
    CurrentAdmin = ProfAdmin.Get();
    RegisterClient(ClientName);
    Platform.SetFile(DllName, MakePeImage(true, {"MAPIInitialize", "MAPILogonEx"}));
    TFakeModule& module = Module();
    module.Export("MAPIInitialize", &Initialize);
    module.Export("MAPIUninitialize", &Uninitialize);
    module.Export("MAPILogonEx", &LogonEx);
    module.Export("MAPIAdminProfiles", &AdminProfiles);
    module.Export("MAPILogon", &SimpleLogon);
    module.Export("MAPILogoff", &SimpleLogoff);
    module.Export("MAPIAllocateBuffer", &TScriptedAllocator::MAPIAllocateBuffer);
    module.Export("MAPIAllocateMore", &TScriptedAllocator::MAPIAllocateMore);
    module.Export("MAPIFreeBuffer", &TScriptedAllocator::MAPIFreeBuffer);
    Session->Set_MAPIClient(ClientName);
}

void TScriptedClientTest::RegisterClient(const WideString& name, const WideString& path)
{
    Platform.SetValue(TKwRegistryRoot::rrCurrentUser, u"Software\\Clients\\Mail\\" + name, u"DLLPathEx", path);
}

TFakeModule& TScriptedClientTest::AddOther()
{
    constexpr auto path = u"C:\\other.dll";
    RegisterClient(u"Other", path);
    Platform.SetFile(path, MakePeImage(true, {"MAPIInitialize", "MAPILogonEx"}));
    TFakeModule& other = Platform.AddModule(path);
    other.Exports = Module().Exports;
    return other;
}

TScriptedClientTest::~TScriptedClientTest()
{
    Session.Reset();
    EXPECT_FALSE(KwMAPIInitialized()) << "the last session of a thread uninitialises it";
    if (KwMAPIInitialized())
        KwMAPIUninitialize(true);
    KwUnloadDLL();
    EXPECT_EQ(Platform.OpenModules(), 0);
}

// ---- TScriptedMAPISession

mapi::HRESULT TScriptedMAPISession::Done(const char* method, mapi::HRESULT result)
{
    if (OnCall)
        OnCall(method);
    return result;
}

} // namespace deftmapi::test
