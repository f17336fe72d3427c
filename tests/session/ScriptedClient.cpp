#include "tests/session/ScriptedClient.hpp"

#include "mapi/core/uKwMAPIProps.hpp"

#include <cstring>

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
      ProfAdmin(new TScriptedProfAdmin(Calls))
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
    EXPECT_FALSE(KwMAPIInitialized()) << "the last session of a thread uninitialises it";
    if (KwMAPIInitialized())
        KwMAPIUninitialize(true);
    KwUnloadDLL();
    EXPECT_EQ(Platform.OpenModules(), 0);
}

// ---- TScriptedMAPISession

TScriptedMAPISession::TScriptedMAPISession(TCallsRef calls)
    : TScriptedUnknown({mapi::IID_IMAPISession}), Stores(new TScriptedTable(calls)), Store(new TScriptedStore(calls)),
      Status(new TScriptedTable(calls)), Sections(calls), FCalls(std::move(calls))
{}

mapi::HRESULT TScriptedMAPISession::GetLastError(mapi::HRESULT, mapi::ULONG flags, mapi::LPMAPIERROR* error)
{
    *error = ErrorRecord(Error, u"Client", flags);
    return mapi::S_OK;
}

mapi::HRESULT TScriptedMAPISession::Done(const char* method, mapi::HRESULT result)
{
    if (OnCall)
        OnCall(method);
    return result;
}

mapi::HRESULT TScriptedMAPISession::GetMsgStoresTable(mapi::ULONG flags, mapi::LPMAPITABLE* table)
{
    if (const auto result = FCalls->Enter("GetMsgStoresTable", Hex(flags)))
        return *result;
    *table = TKwComPtr<mapi::IMAPITable>(Stores.Get()).Detach();
    return Done("GetMsgStoresTable");
}

mapi::HRESULT TScriptedMAPISession::OpenMsgStore(mapi::ULONG_PTR window, mapi::ULONG size, mapi::LPENTRYID id,
                                                 mapi::LPCIID, mapi::ULONG flags, mapi::LPMDB* store)
{
    const mapi::HRESULT result =
        FCalls->Enter("OpenMsgStore", std::to_string(window) + "," + HexOf(size, id) + "," + Hex(flags))
            .value_or(mapi::S_OK);
    if (mapi::Failed(result))
        return result;
    *store = TKwComPtr<mapi::IMsgStore>(Store.Get()).Detach();
    return Done("OpenMsgStore", result);
}

mapi::HRESULT TScriptedMAPISession::OpenAddressBook(mapi::ULONG_PTR window, mapi::LPCIID, mapi::ULONG flags,
                                                    mapi::LPADRBOOK* book)
{
    *book = TKwComPtr<mapi::IAddrBook>(AddressBook).Detach();
    return Done("OpenAddressBook", FCalls->Enter("OpenAddressBook", std::to_string(window) + "," + Hex(flags))
                                       .value_or(*book != nullptr ? mapi::S_OK : mapi::MAPI_E_NO_SUPPORT));
}

mapi::HRESULT TScriptedMAPISession::OpenProfileSection(mapi::LPMAPIUID uid, mapi::LPCIID, mapi::ULONG flags,
                                                       mapi::LPPROFSECT* section)
{
    return Done("OpenProfileSection", Sections.Open("OpenProfileSection", uid, flags, section));
}

mapi::HRESULT TScriptedMAPISession::GetStatusTable(mapi::ULONG flags, mapi::LPMAPITABLE* table)
{
    if (const auto result = FCalls->Enter("GetStatusTable", Hex(flags)))
        return *result;
    *table = TKwComPtr<mapi::IMAPITable>(Status.Get()).Detach();
    return Done("GetStatusTable");
}

mapi::HRESULT TScriptedMAPISession::OpenEntry(mapi::ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, mapi::ULONG flags,
                                              mapi::ULONG* type, mapi::LPUNKNOWN* object)
{
    if (const auto result = FCalls->Enter(
            "OpenEntry", HexOf(size, id) + "," +
                             (iid != nullptr && *iid == mapi::IID_IMAPIStatus ? "IMAPIStatus" : "") + "," + Hex(flags)))
        return *result;
    const auto found = Entries.find(std::string(reinterpret_cast<const char*>(id), size));
    if (found == Entries.end())
        return mapi::MAPI_E_UNKNOWN_ENTRYID;
    *type = found->second.Type;
    *object = TKwComPtr<mapi::IUnknown>(found->second.Object).Detach();
    return Done("OpenEntry");
}

mapi::HRESULT TScriptedMAPISession::CompareEntryIDs(mapi::ULONG size1, mapi::LPENTRYID id1, mapi::ULONG size2,
                                                    mapi::LPENTRYID id2, mapi::ULONG flags, mapi::ULONG* result)
{
    if (const auto failure =
            FCalls->Enter("CompareEntryIDs", HexOf(size1, id1) + "," + HexOf(size2, id2) + "," + Hex(flags)))
        return *failure;
    *result = SameIDs; // a provider may call identifiers of different bytes the same
    return Done("CompareEntryIDs");
}

mapi::HRESULT TScriptedMAPISession::Advise(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG mask,
                                           mapi::LPMAPIADVISESINK sink, mapi::ULONG_PTR* connection)
{
    if (const auto result = FCalls->Enter("Advise", HexOf(size, id) + "," + Hex(mask)))
        return *result;
    Sink = TKwComPtr<mapi::IMAPIAdviseSink>(sink);
    *connection = 7;
    return Done("Advise");
}

mapi::HRESULT TScriptedMAPISession::Unadvise(mapi::ULONG_PTR connection)
{
    Sink.Reset();
    return FCalls->Enter("Unadvise", std::to_string(connection)).value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedMAPISession::MessageOptions(mapi::ULONG_PTR, mapi::ULONG, mapi::LPTSTR, mapi::LPMESSAGE)
{
    return mapi::MAPI_E_NO_SUPPORT;
}

mapi::HRESULT TScriptedMAPISession::QueryDefaultMessageOpt(mapi::LPTSTR, mapi::ULONG, mapi::ULONG*, mapi::LPSPropValue*)
{
    return mapi::MAPI_E_NO_SUPPORT;
}

mapi::HRESULT TScriptedMAPISession::EnumAdrTypes(mapi::ULONG, mapi::ULONG*, mapi::LPTSTR**)
{
    return mapi::MAPI_E_NO_SUPPORT;
}

mapi::HRESULT TScriptedMAPISession::QueryIdentity(mapi::ULONG* size, mapi::LPENTRYID* id)
{
    if (const auto result = FCalls->Enter("QueryIdentity", ""))
        return *result;
    if (Identity.empty())
        return mapi::MAPI_E_NOT_FOUND;
    *size = static_cast<mapi::ULONG>(Identity.size());
    *id = static_cast<mapi::LPENTRYID>(TScriptedAllocator::Allocate(*size));
    std::memcpy(*id, Identity.data(), Identity.size());
    return Done("QueryIdentity");
}

mapi::HRESULT TScriptedMAPISession::Logoff(mapi::ULONG_PTR window, mapi::ULONG flags, mapi::ULONG)
{
    return FCalls->Enter("Logoff", std::to_string(window) + "," + Hex(flags)).value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedMAPISession::SetDefaultStore(mapi::ULONG flags, mapi::ULONG size, mapi::LPENTRYID id)
{
    return Done("SetDefaultStore",
                FCalls->Enter("SetDefaultStore", HexOf(size, id) + "," + Hex(flags)).value_or(mapi::S_OK));
}

mapi::HRESULT TScriptedMAPISession::AdminServices(mapi::ULONG flags, mapi::LPSERVICEADMIN* admin)
{
    if (const auto result = FCalls->Enter("AdminServices", Hex(flags)))
        return *result;
    if (!Services)
        return mapi::MAPI_E_NO_SUPPORT;
    *admin = TKwComPtr<mapi::IMsgServiceAdmin>(Services.Get()).Detach();
    return Done("AdminServices");
}

mapi::HRESULT TScriptedMAPISession::ShowForm(mapi::ULONG_PTR, mapi::LPMDB, mapi::LPMAPIFOLDER, mapi::LPCIID,
                                             mapi::ULONG_PTR, mapi::LPMESSAGE, mapi::ULONG, mapi::ULONG, mapi::ULONG,
                                             mapi::ULONG, mapi::LPSTR)
{
    return mapi::MAPI_E_NO_SUPPORT;
}

mapi::HRESULT TScriptedMAPISession::PrepareForm(mapi::LPCIID, mapi::LPMESSAGE, mapi::ULONG_PTR*)
{
    return mapi::MAPI_E_NO_SUPPORT;
}

} // namespace deftmapi::test
