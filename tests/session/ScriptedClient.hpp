// A MAPI client library of doubles behind the real entry points: what a session logs on to in a test.
#pragma once

#include "mapi/core/uKwMAPILib.hpp"
#include "tests/core/Caught.hpp"
#include "tests/session/ScriptedAdmin.hpp"
#include "tests/session/ScriptedObjects.hpp"
#include "tests/support/LeakChecked.hpp"
#include "tests/support/ModuleImages.hpp"
#include "tests/support/TestPlatform.hpp"

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
};

/// There, and not asked for anything.
class TScriptedAddressBook final : public TScriptedPropOf<mapi::IAddrBook>
{
public:
    explicit TScriptedAddressBook(TCallsRef calls)
        : TScriptedPropOf(std::move(calls), {mapi::IID_IAddrBook, mapi::IID_IMAPIProp}, "book.")
    {}

    using R = mapi::HRESULT;
    static constexpr R No = mapi::MAPI_E_NO_SUPPORT;
    R DEFTMAPI_STDCALL OpenEntry(mapi::ULONG, mapi::LPENTRYID, mapi::LPCIID, mapi::ULONG, mapi::ULONG*,
                                 mapi::LPUNKNOWN*) override
    {
        return No;
    }
    R DEFTMAPI_STDCALL CompareEntryIDs(mapi::ULONG, mapi::LPENTRYID, mapi::ULONG, mapi::LPENTRYID, mapi::ULONG,
                                       mapi::ULONG*) override
    {
        return No;
    }
    R DEFTMAPI_STDCALL Advise(mapi::ULONG, mapi::LPENTRYID, mapi::ULONG, mapi::LPMAPIADVISESINK,
                              mapi::ULONG_PTR*) override
    {
        return No;
    }
    R DEFTMAPI_STDCALL Unadvise(mapi::ULONG_PTR) override { return No; }
    R DEFTMAPI_STDCALL CreateOneOff(mapi::LPTSTR, mapi::LPTSTR, mapi::LPTSTR, mapi::ULONG, mapi::ULONG*,
                                    mapi::LPENTRYID*) override
    {
        return No;
    }
    R DEFTMAPI_STDCALL NewEntry(mapi::ULONG_PTR, mapi::ULONG, mapi::ULONG, mapi::LPENTRYID, mapi::ULONG,
                                mapi::LPENTRYID, mapi::ULONG*, mapi::LPENTRYID*) override
    {
        return No;
    }
    R DEFTMAPI_STDCALL ResolveName(mapi::ULONG_PTR, mapi::ULONG, mapi::LPTSTR, mapi::LPADRLIST) override { return No; }
    R DEFTMAPI_STDCALL Address(mapi::ULONG_PTR*, mapi::LPADRPARM, mapi::LPADRLIST*) override { return No; }
    R DEFTMAPI_STDCALL Details(mapi::ULONG_PTR*, mapi::LPFNDISMISS, mapi::LPVOID, mapi::ULONG, mapi::LPENTRYID,
                               mapi::LPFNBUTTON, mapi::LPVOID, mapi::LPTSTR, mapi::ULONG) override
    {
        return No;
    }
    R DEFTMAPI_STDCALL RecipOptions(mapi::ULONG_PTR, mapi::ULONG, mapi::LPADRENTRY) override { return No; }
    R DEFTMAPI_STDCALL QueryDefaultRecipOpt(mapi::LPTSTR, mapi::ULONG, mapi::ULONG*, mapi::LPSPropValue*) override
    {
        return No;
    }
    R DEFTMAPI_STDCALL GetPAB(mapi::ULONG*, mapi::LPENTRYID*) override { return No; }
    R DEFTMAPI_STDCALL SetPAB(mapi::ULONG, mapi::LPENTRYID) override { return No; }
    R DEFTMAPI_STDCALL GetDefaultDir(mapi::ULONG*, mapi::LPENTRYID*) override { return No; }
    R DEFTMAPI_STDCALL SetDefaultDir(mapi::ULONG, mapi::LPENTRYID) override { return No; }
    R DEFTMAPI_STDCALL GetSearchPath(mapi::ULONG, mapi::LPSRowSet*) override { return No; }
    R DEFTMAPI_STDCALL SetSearchPath(mapi::ULONG, mapi::LPSRowSet) override { return No; }
    R DEFTMAPI_STDCALL PrepareRecips(mapi::ULONG, mapi::LPSPropTagArray, mapi::LPADRLIST) override { return No; }
};

class TScriptedMAPISession final : public TScriptedUnknown<mapi::IMAPISession>
{
public:
    explicit TScriptedMAPISession(TCallsRef calls);

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

    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR* error) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetMsgStoresTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenMsgStore(mapi::ULONG_PTR window, mapi::ULONG size, mapi::LPENTRYID id,
                                                mapi::LPCIID iid, mapi::ULONG flags, mapi::LPMDB* store) override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenAddressBook(mapi::ULONG_PTR, mapi::LPCIID, mapi::ULONG,
                                                   mapi::LPADRBOOK*) override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenProfileSection(mapi::LPMAPIUID, mapi::LPCIID, mapi::ULONG,
                                                      mapi::LPPROFSECT*) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetStatusTable(mapi::ULONG, mapi::LPMAPITABLE*) override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenEntry(mapi::ULONG, mapi::LPENTRYID, mapi::LPCIID, mapi::ULONG, mapi::ULONG*,
                                             mapi::LPUNKNOWN*) override;
    mapi::HRESULT DEFTMAPI_STDCALL CompareEntryIDs(mapi::ULONG size1, mapi::LPENTRYID id1, mapi::ULONG size2,
                                                   mapi::LPENTRYID id2, mapi::ULONG flags,
                                                   mapi::ULONG* result) override;
    mapi::HRESULT DEFTMAPI_STDCALL Advise(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG mask,
                                          mapi::LPMAPIADVISESINK sink, mapi::ULONG_PTR* connection) override;
    mapi::HRESULT DEFTMAPI_STDCALL Unadvise(mapi::ULONG_PTR connection) override;
    mapi::HRESULT DEFTMAPI_STDCALL MessageOptions(mapi::ULONG_PTR, mapi::ULONG, mapi::LPTSTR, mapi::LPMESSAGE) override;
    mapi::HRESULT DEFTMAPI_STDCALL QueryDefaultMessageOpt(mapi::LPTSTR, mapi::ULONG, mapi::ULONG*,
                                                          mapi::LPSPropValue*) override;
    mapi::HRESULT DEFTMAPI_STDCALL EnumAdrTypes(mapi::ULONG, mapi::ULONG*, mapi::LPTSTR**) override;
    mapi::HRESULT DEFTMAPI_STDCALL QueryIdentity(mapi::ULONG*, mapi::LPENTRYID*) override;
    mapi::HRESULT DEFTMAPI_STDCALL Logoff(mapi::ULONG_PTR window, mapi::ULONG flags, mapi::ULONG reserved) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetDefaultStore(mapi::ULONG, mapi::ULONG, mapi::LPENTRYID) override;
    mapi::HRESULT DEFTMAPI_STDCALL AdminServices(mapi::ULONG flags, mapi::LPSERVICEADMIN* admin) override;
    mapi::HRESULT DEFTMAPI_STDCALL ShowForm(mapi::ULONG_PTR, mapi::LPMDB, mapi::LPMAPIFOLDER, mapi::LPCIID,
                                            mapi::ULONG_PTR, mapi::LPMESSAGE, mapi::ULONG, mapi::ULONG, mapi::ULONG,
                                            mapi::ULONG, mapi::LPSTR) override;
    mapi::HRESULT DEFTMAPI_STDCALL PrepareForm(mapi::LPCIID, mapi::LPMESSAGE, mapi::ULONG_PTR*) override;

private:
    mapi::HRESULT Done(const char* method, mapi::HRESULT result = mapi::S_OK);

    TCallsRef FCalls;
};

} // namespace deftmapi::test
