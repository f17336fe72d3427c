// Doubles of the administration: profiles, message services, providers, sections of a profile, and the spooler.
#pragma once

#include "tests/session/ScriptedObjects.hpp"

#include <functional>

namespace deftmapi::test
{

class TScriptedSection final : public TScriptedPropOf<mapi::IProfSect>
{
public:
    explicit TScriptedSection(TCallsRef calls)
        : TScriptedPropOf(std::move(calls), {mapi::IID_IMAPIProp, mapi::IID_IProfSect}, "section.")
    {}
};

/// The sections of a profile, by the hexadecimal text of their identifier. One that is asked for with MAPI_MODIFY is
/// made when it is missing.
class TScriptedSections
{
public:
    explicit TScriptedSections(TCallsRef calls) : FCalls(std::move(calls)) {}
    TScriptedSection& Add(const std::string& uid);
    [[nodiscard]] mapi::HRESULT Open(const std::string& label, const mapi::MAPIUID* uid, mapi::ULONG flags,
                                     mapi::LPPROFSECT* section);

private:
    TCallsRef FCalls;
    std::map<std::string, TKwComPtr<TScriptedSection>> FSections;
};

class TScriptedServiceAdmin final : public TScriptedUnknown<mapi::IMsgServiceAdmin>
{
public:
    explicit TScriptedServiceAdmin(TCallsRef calls);

    TKwComPtr<TScriptedTable> Services;
    TKwComPtr<TScriptedTable> Providers;
    TScriptedSections Sections;
    std::function<void()> OnCreate; ///< what a new service does to the tables

    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR* error) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetMsgServiceTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateMsgService(mapi::LPTSTR service, mapi::LPTSTR displayName,
                                                    mapi::ULONG_PTR window, mapi::ULONG flags) override;
    mapi::HRESULT DEFTMAPI_STDCALL DeleteMsgService(mapi::LPMAPIUID uid) override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyMsgService(mapi::LPMAPIUID, mapi::LPTSTR, mapi::LPCIID, mapi::LPCIID,
                                                  mapi::LPVOID, mapi::ULONG_PTR, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL RenameMsgService(mapi::LPMAPIUID, mapi::ULONG, mapi::LPTSTR) override;
    mapi::HRESULT DEFTMAPI_STDCALL ConfigureMsgService(mapi::LPMAPIUID uid, mapi::ULONG_PTR window, mapi::ULONG flags,
                                                       mapi::ULONG count, mapi::LPSPropValue values) override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenProfileSection(mapi::LPMAPIUID uid, mapi::LPCIID, mapi::ULONG flags,
                                                      mapi::LPPROFSECT* section) override;
    mapi::HRESULT DEFTMAPI_STDCALL MsgServiceTransportOrder(mapi::ULONG, mapi::LPMAPIUID, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL AdminProviders(mapi::LPMAPIUID uid, mapi::ULONG flags,
                                                  mapi::LPPROVIDERADMIN* admin) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetPrimaryIdentity(mapi::LPMAPIUID, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetProviderTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override;

private:
    TCallsRef FCalls;
};

/// Logs what it is asked; nothing else happens unless a result is set.
class TScriptedProfAdmin final : public TScriptedUnknown<mapi::IProfAdmin>
{
public:
    explicit TScriptedProfAdmin(TCallsRef calls);

    TKwComPtr<TScriptedTable> Profiles;
    TKwComPtr<TScriptedServiceAdmin> Services; ///< of every profile
    WideString Error;                          ///< the text of the last failure

    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR* error) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetProfileTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateProfile(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::ULONG_PTR window,
                                                 mapi::ULONG flags) override;
    mapi::HRESULT DEFTMAPI_STDCALL DeleteProfile(mapi::LPTSTR profile, mapi::ULONG flags) override;
    mapi::HRESULT DEFTMAPI_STDCALL ChangeProfilePassword(mapi::LPTSTR profile, mapi::LPTSTR oldPassword,
                                                         mapi::LPTSTR newPassword, mapi::ULONG flags) override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyProfile(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::LPTSTR newName,
                                               mapi::ULONG_PTR window, mapi::ULONG flags) override;
    mapi::HRESULT DEFTMAPI_STDCALL RenameProfile(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::LPTSTR newName,
                                                 mapi::ULONG_PTR window, mapi::ULONG flags) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetDefaultProfile(mapi::LPTSTR profile, mapi::ULONG flags) override;
    mapi::HRESULT DEFTMAPI_STDCALL AdminServices(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::ULONG_PTR window,
                                                 mapi::ULONG flags, mapi::LPSERVICEADMIN* admin) override;

private:
    TCallsRef FCalls;
};

class TScriptedSpooler final : public TScriptedPropOf<mapi::IMAPIStatus>
{
public:
    explicit TScriptedSpooler(TCallsRef calls);

    mapi::HRESULT DEFTMAPI_STDCALL ValidateState(mapi::ULONG_PTR, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL SettingsDialog(mapi::ULONG_PTR, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL ChangePassword(mapi::LPTSTR, mapi::LPTSTR, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL FlushQueues(mapi::ULONG_PTR window, mapi::ULONG size, mapi::LPENTRYID transport,
                                               mapi::ULONG flags) override;

private:
    TCallsRef FCalls;
};

} // namespace deftmapi::test
