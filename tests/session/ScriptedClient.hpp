// A MAPI client library of doubles behind the real entry points: what a session logs on to in a test.
#pragma once

#include "mapi/DeftMAPI.hpp"
#include "tests/core/Caught.hpp"
#include "tests/session/ScriptedAdmin.hpp"
#include "tests/session/ScriptedObjects.hpp"
#include "tests/support/LeakChecked.hpp"
#include "tests/support/ModuleImages.hpp"
#include "tests/support/TestPlatform.hpp"

#include <cstring>

namespace deftmapi::test
{

class TScriptedMAPISession;

/// A sink that does nothing; tests override what they need.
class TQuietSessionSink : public TKwAutoIntfObject, public virtual IKwMAPISessionDEvents
{
public:
    void BeforeLogon(IKwMAPISession&) override {}
    void AfterLogon(IKwMAPISession&) override {}
    void BeforeLogoff(IKwMAPISession&) override {}
    void AfterLogoff(IKwMAPISession&) override {}
    void OutlookFlushQueus(IKwMAPISession&, mapi::ULONG) override {}
};

/// A platform on which the client "TestMail" is registered; its library logs on to a scripted session. Ends with the
/// library unloaded.
class TScriptedClientTest : public TLeakChecked
{
protected:
    static constexpr auto DllName = u"C:\\mail\\client.dll";
    static constexpr auto ClientName = u"TestMail";

    TScriptedClientTest();
    ~TScriptedClientTest() override;

    [[nodiscard]] TFakeModule& Module() { return Platform.AddModule(DllName); }
    [[nodiscard]] std::string Take() { return Calls->Take(); }
    void LogonQuietly()
    {
        Session->Logon();
        static_cast<void>(Take());
    }
    /// Registers a client of that name whose library is at that place.
    void RegisterClient(const WideString& name, const WideString& path = DllName);
    /// A second client, "Other", with a library of its own (C:\\other.dll) that can do the same.
    TFakeModule& AddOther();

    TCallsRef Calls;
    TTestPlatform Platform;
    TKwComPtr<TScriptedMAPISession> Client;  ///< what MAPILogonEx gives out
    TKwComPtr<TScriptedProfAdmin> ProfAdmin; ///< what MAPIAdminProfiles gives out

private:
    TKwPlatformOverride FOverride{Platform};

protected:
    TKwRef<TSession> Session; ///< of that client, not logged on
};

/// There, and good for nothing that a derived double does not add.
class TScriptedAddressBook : public TScriptedPropOf<mapi::IAddrBook>
{
public:
    explicit TScriptedAddressBook(TCallsRef calls)
        : TScriptedPropOf(std::move(calls), {mapi::IID_IAddrBook, mapi::IID_IMAPIProp}, "book.")
    {}
    DEFTMAPI_REFUSED(OpenEntry, mapi::ULONG, mapi::LPENTRYID, mapi::LPCIID, mapi::ULONG, mapi::ULONG*, mapi::LPUNKNOWN*)
    DEFTMAPI_REFUSED(CompareEntryIDs, mapi::ULONG, mapi::LPENTRYID, mapi::ULONG, mapi::LPENTRYID, mapi::ULONG,
                     mapi::ULONG*)
    DEFTMAPI_REFUSED(Advise, mapi::ULONG, mapi::LPENTRYID, mapi::ULONG, mapi::LPMAPIADVISESINK, mapi::ULONG_PTR*)
    DEFTMAPI_REFUSED(Unadvise, mapi::ULONG_PTR)
    DEFTMAPI_REFUSED(CreateOneOff, mapi::LPTSTR, mapi::LPTSTR, mapi::LPTSTR, mapi::ULONG, mapi::ULONG*,
                     mapi::LPENTRYID*)
    DEFTMAPI_REFUSED(NewEntry, mapi::ULONG_PTR, mapi::ULONG, mapi::ULONG, mapi::LPENTRYID, mapi::ULONG, mapi::LPENTRYID,
                     mapi::ULONG*, mapi::LPENTRYID*)
    DEFTMAPI_REFUSED(ResolveName, mapi::ULONG_PTR, mapi::ULONG, mapi::LPTSTR, mapi::LPADRLIST)
    DEFTMAPI_REFUSED(Address, mapi::ULONG_PTR*, mapi::LPADRPARM, mapi::LPADRLIST*)
    DEFTMAPI_REFUSED(Details, mapi::ULONG_PTR*, mapi::LPFNDISMISS, mapi::LPVOID, mapi::ULONG, mapi::LPENTRYID,
                     mapi::LPFNBUTTON, mapi::LPVOID, mapi::LPTSTR, mapi::ULONG)
    DEFTMAPI_REFUSED(RecipOptions, mapi::ULONG_PTR, mapi::ULONG, mapi::LPADRENTRY)
    DEFTMAPI_REFUSED(QueryDefaultRecipOpt, mapi::LPTSTR, mapi::ULONG, mapi::ULONG*, mapi::LPSPropValue*)
    DEFTMAPI_REFUSED(GetPAB, mapi::ULONG*, mapi::LPENTRYID*)
    DEFTMAPI_REFUSED(SetPAB, mapi::ULONG, mapi::LPENTRYID)
    DEFTMAPI_REFUSED(GetDefaultDir, mapi::ULONG*, mapi::LPENTRYID*)
    DEFTMAPI_REFUSED(SetDefaultDir, mapi::ULONG, mapi::LPENTRYID)
    DEFTMAPI_REFUSED(GetSearchPath, mapi::ULONG, mapi::LPSRowSet*)
    DEFTMAPI_REFUSED(SetSearchPath, mapi::ULONG, mapi::LPSRowSet)
    DEFTMAPI_REFUSED(PrepareRecips, mapi::ULONG, mapi::LPSPropTagArray, mapi::LPADRLIST)

private:
    mapi::HRESULT Refused(const char* method) { return Bag.Refuse(method, ""); }
};

class TScriptedMAPISession final : public TScriptedUnknown<mapi::IMAPISession>
{
public:
    explicit TScriptedMAPISession(TCallsRef calls)
        : TScriptedUnknown({mapi::IID_IMAPISession}), Stores(new TScriptedTable(calls)),
          Store(new TScriptedStore(calls)), Status(new TScriptedTable(calls)), Sections(calls), FCalls(std::move(calls))
    {}

    TKwComPtr<TScriptedTable> Stores;
    TKwComPtr<TScriptedStore> Store;           ///< what OpenMsgStore gives
    TKwComPtr<TScriptedServiceAdmin> Services; ///< null: no service administration
    TKwComPtr<TScriptedTable> Status;
    TKwComPtr<mapi::IAddrBook> AddressBook; ///< null: none can be opened
    TScriptedSections Sections;
    std::map<std::string, TScriptedStore::TEntry> Entries; ///< what OpenEntry gives, by the bytes of the identifier
    std::function<void(const std::string& method)> OnCall; ///< when a call has its result and is about to return
    WideString Error;                                      ///< the text of the last failure
    std::string Identity;                                  ///< of the user; empty: no service supplies one
    TKwComPtr<mapi::IMAPIAdviseSink> Sink;                 ///< the one advised last, until it is unadvised
    mapi::ULONG SameIDs = 1;                               ///< what CompareEntryIDs says of all identifiers

    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG flags, mapi::LPMAPIERROR* error) override
    {
        *error = ErrorRecord(Error, u"Client", flags);
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetMsgStoresTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override
    {
        return Done("GetMsgStoresTable", Give(*FCalls, "GetMsgStoresTable", Hex(flags), Stores, table));
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenMsgStore(mapi::ULONG_PTR window, mapi::ULONG size, mapi::LPENTRYID id,
                                                mapi::LPCIID, mapi::ULONG flags, mapi::LPMDB* store) override
    {
        const mapi::HRESULT result =
            FCalls->Enter("OpenMsgStore", std::to_string(window) + "," + HexOf(size, id) + "," + Hex(flags))
                .value_or(mapi::S_OK);
        if (mapi::Failed(result))
            return result;
        *store = TKwComPtr<mapi::IMsgStore>(Store.Get()).Detach();
        return Done("OpenMsgStore", result);
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenAddressBook(mapi::ULONG_PTR window, mapi::LPCIID, mapi::ULONG flags,
                                                   mapi::LPADRBOOK* book) override
    {
        *book = TKwComPtr<mapi::IAddrBook>(AddressBook).Detach();
        return Done("OpenAddressBook", FCalls->Enter("OpenAddressBook", std::to_string(window) + "," + Hex(flags))
                                           .value_or(*book != nullptr ? mapi::S_OK : mapi::MAPI_E_NO_SUPPORT));
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenProfileSection(mapi::LPMAPIUID uid, mapi::LPCIID, mapi::ULONG flags,
                                                      mapi::LPPROFSECT* section) override
    {
        return Done("OpenProfileSection", Sections.Open("OpenProfileSection", uid, flags, section));
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetStatusTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override
    {
        return Done("GetStatusTable", Give(*FCalls, "GetStatusTable", Hex(flags), Status, table));
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenEntry(mapi::ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, mapi::ULONG flags,
                                             mapi::ULONG* type, mapi::LPUNKNOWN* object) override
    {
        if (const auto result =
                FCalls->Enter("OpenEntry", HexOf(size, id) + "," +
                                               (iid != nullptr && *iid == mapi::IID_IMAPIStatus ? "IMAPIStatus" : "") +
                                               "," + Hex(flags)))
            return *result;
        const auto found = Entries.find(std::string(reinterpret_cast<const char*>(id), size));
        if (found == Entries.end())
            return mapi::MAPI_E_UNKNOWN_ENTRYID;
        *type = found->second.Type;
        *object = TKwComPtr<mapi::IUnknown>(found->second.Object).Detach();
        return Done("OpenEntry");
    }
    mapi::HRESULT DEFTMAPI_STDCALL CompareEntryIDs(mapi::ULONG size1, mapi::LPENTRYID id1, mapi::ULONG size2,
                                                   mapi::LPENTRYID id2, mapi::ULONG flags, mapi::ULONG* result) override
    {
        if (const auto failure =
                FCalls->Enter("CompareEntryIDs", HexOf(size1, id1) + "," + HexOf(size2, id2) + "," + Hex(flags)))
            return *failure;
        *result = SameIDs; // a provider may call identifiers of different bytes the same
        return Done("CompareEntryIDs");
    }
    mapi::HRESULT DEFTMAPI_STDCALL Advise(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG mask,
                                          mapi::LPMAPIADVISESINK sink, mapi::ULONG_PTR* connection) override
    {
        if (const auto result = FCalls->Enter("Advise", HexOf(size, id) + "," + Hex(mask)))
            return *result;
        Sink = TKwComPtr<mapi::IMAPIAdviseSink>(sink);
        *connection = 7;
        return Done("Advise");
    }
    mapi::HRESULT DEFTMAPI_STDCALL Unadvise(mapi::ULONG_PTR connection) override
    {
        Sink.Reset();
        return FCalls->Enter("Unadvise", std::to_string(connection)).value_or(mapi::S_OK);
    }
    DEFTMAPI_REFUSED(MessageOptions, mapi::ULONG_PTR, mapi::ULONG, mapi::LPTSTR, mapi::LPMESSAGE)
    DEFTMAPI_REFUSED(QueryDefaultMessageOpt, mapi::LPTSTR, mapi::ULONG, mapi::ULONG*, mapi::LPSPropValue*)
    DEFTMAPI_REFUSED(EnumAdrTypes, mapi::ULONG, mapi::ULONG*, mapi::LPTSTR**)
    mapi::HRESULT DEFTMAPI_STDCALL QueryIdentity(mapi::ULONG* size, mapi::LPENTRYID* id) override
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
    mapi::HRESULT DEFTMAPI_STDCALL Logoff(mapi::ULONG_PTR window, mapi::ULONG flags, mapi::ULONG reserved) override
    {
        EXPECT_EQ(reserved, 0u);
        return FCalls->Enter("Logoff", std::to_string(window) + "," + Hex(flags)).value_or(mapi::S_OK);
    }
    mapi::HRESULT DEFTMAPI_STDCALL SetDefaultStore(mapi::ULONG flags, mapi::ULONG size, mapi::LPENTRYID id) override
    {
        return Done("SetDefaultStore",
                    FCalls->Enter("SetDefaultStore", HexOf(size, id) + "," + Hex(flags)).value_or(mapi::S_OK));
    }
    mapi::HRESULT DEFTMAPI_STDCALL AdminServices(mapi::ULONG flags, mapi::LPSERVICEADMIN* admin) override
    {
        const mapi::HRESULT result = Give(*FCalls, "AdminServices", Hex(flags), Services, admin);
        return Done("AdminServices", result == mapi::MAPI_E_NOT_FOUND ? mapi::MAPI_E_NO_SUPPORT : result);
    }
    DEFTMAPI_REFUSED(ShowForm, mapi::ULONG_PTR, mapi::LPMDB, mapi::LPMAPIFOLDER, mapi::LPCIID, mapi::ULONG_PTR,
                     mapi::LPMESSAGE, mapi::ULONG, mapi::ULONG, mapi::ULONG, mapi::ULONG, mapi::LPSTR)
    DEFTMAPI_REFUSED(PrepareForm, mapi::LPCIID, mapi::LPMESSAGE, mapi::ULONG_PTR*)

private:
    mapi::HRESULT Refused(const char* method) { return FCalls->Enter(method, "").value_or(mapi::MAPI_E_NO_SUPPORT); }
    mapi::HRESULT Done(const char* method, mapi::HRESULT result = mapi::S_OK);

    TCallsRef FCalls;
};

} // namespace deftmapi::test
