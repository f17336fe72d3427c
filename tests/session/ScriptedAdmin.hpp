// Doubles of the administration: profiles, message services, providers, sections of a profile, and the spooler.
#pragma once

#include "tests/session/ScriptedObjects.hpp"

#include <functional>

namespace deftmapi::test
{

[[nodiscard]] std::string UidText(const mapi::MAPIUID* uid);

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
    explicit TScriptedServiceAdmin(TCallsRef calls)
        : TScriptedUnknown({mapi::IID_IMsgServiceAdmin}), Services(new TScriptedTable(calls)),
          Providers(new TScriptedTable(calls)), Sections(calls), FCalls(std::move(calls))
    {}

    TKwComPtr<TScriptedTable> Services;
    TKwComPtr<TScriptedTable> Providers;
    TScriptedSections Sections;
    std::function<void()> OnCreate; ///< what a new service does to the tables

    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR* error) override
    {
        *error = nullptr;
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetMsgServiceTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override
    {
        return Give(*FCalls, "GetMsgServiceTable", Hex(flags), Services, table);
    }
    mapi::HRESULT DEFTMAPI_STDCALL CreateMsgService(mapi::LPTSTR service, mapi::LPTSTR displayName,
                                                    mapi::ULONG_PTR window, mapi::ULONG flags) override
    {
        if (const auto result = FCalls->Enter("CreateMsgService", TextArgument(service, flags) + "," +
                                                                      TextArgument(displayName, flags) + "," +
                                                                      std::to_string(window) + "," + Hex(flags)))
            return *result;
        if (OnCreate)
            OnCreate();
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteMsgService(mapi::LPMAPIUID uid) override
    {
        return FCalls->Enter("DeleteMsgService", UidText(uid)).value_or(mapi::S_OK);
    }
    mapi::HRESULT DEFTMAPI_STDCALL ConfigureMsgService(mapi::LPMAPIUID uid, mapi::ULONG_PTR window, mapi::ULONG flags,
                                                       mapi::ULONG count, mapi::LPSPropValue values) override
    {
        std::string arguments = UidText(uid) + "," + std::to_string(window) + "," + Hex(flags);
        for (mapi::ULONG i = 0; i < count; ++i)
            arguments += "," + TextOf(values[i]);
        return FCalls->Enter("ConfigureMsgService", arguments).value_or(mapi::S_OK);
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenProfileSection(mapi::LPMAPIUID uid, mapi::LPCIID, mapi::ULONG flags,
                                                      mapi::LPPROFSECT* section) override
    {
        return Sections.Open("services.OpenProfileSection", uid, flags, section);
    }
    mapi::HRESULT DEFTMAPI_STDCALL AdminProviders(mapi::LPMAPIUID uid, mapi::ULONG flags,
                                                  mapi::LPPROVIDERADMIN* admin) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetProviderTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override
    {
        return Give(*FCalls, "GetProviderTable", Hex(flags), Providers, table);
    }
    DEFTMAPI_REFUSED(CopyMsgService, mapi::LPMAPIUID, mapi::LPTSTR, mapi::LPCIID, mapi::LPCIID, mapi::LPVOID,
                     mapi::ULONG_PTR, mapi::ULONG)
    DEFTMAPI_REFUSED(RenameMsgService, mapi::LPMAPIUID, mapi::ULONG, mapi::LPTSTR)
    DEFTMAPI_REFUSED(MsgServiceTransportOrder, mapi::ULONG, mapi::LPMAPIUID, mapi::ULONG)
    DEFTMAPI_REFUSED(SetPrimaryIdentity, mapi::LPMAPIUID, mapi::ULONG)

private:
    mapi::HRESULT Refused(const char* method) { return FCalls->Enter(method, "").value_or(mapi::MAPI_E_NO_SUPPORT); }

    TCallsRef FCalls;
};

/// Logs what it is asked; nothing else happens unless a result is set.
class TScriptedProfAdmin final : public TScriptedUnknown<mapi::IProfAdmin>
{
public:
    explicit TScriptedProfAdmin(TCallsRef calls)
        : TScriptedUnknown({mapi::IID_IProfAdmin}), Profiles(new TScriptedTable(calls)),
          Services(new TScriptedServiceAdmin(calls)), FCalls(std::move(calls))
    {}

    TKwComPtr<TScriptedTable> Profiles;
    TKwComPtr<TScriptedServiceAdmin> Services; ///< of every profile
    WideString Error;                          ///< the text of the last failure

    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG flags, mapi::LPMAPIERROR* error) override
    {
        *error = ErrorRecord(Error, u"Profiles", flags);
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetProfileTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override
    {
        return Give(*FCalls, "GetProfileTable", Hex(flags), Profiles, table);
    }
    mapi::HRESULT DEFTMAPI_STDCALL CreateProfile(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::ULONG_PTR window,
                                                 mapi::ULONG flags) override
    {
        return Log("CreateProfile", {profile, password}, flags, window);
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteProfile(mapi::LPTSTR profile, mapi::ULONG flags) override
    {
        return Log("DeleteProfile", {profile}, flags);
    }
    mapi::HRESULT DEFTMAPI_STDCALL ChangeProfilePassword(mapi::LPTSTR profile, mapi::LPTSTR oldPassword,
                                                         mapi::LPTSTR newPassword, mapi::ULONG flags) override
    {
        return Log("ChangeProfilePassword", {profile, oldPassword, newPassword}, flags);
    }
    mapi::HRESULT DEFTMAPI_STDCALL CopyProfile(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::LPTSTR newName,
                                               mapi::ULONG_PTR window, mapi::ULONG flags) override
    {
        return Log("CopyProfile", {profile, password, newName}, flags, window);
    }
    mapi::HRESULT DEFTMAPI_STDCALL RenameProfile(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::LPTSTR newName,
                                                 mapi::ULONG_PTR window, mapi::ULONG flags) override
    {
        return Log("RenameProfile", {profile, password, newName}, flags, window);
    }
    mapi::HRESULT DEFTMAPI_STDCALL SetDefaultProfile(mapi::LPTSTR profile, mapi::ULONG flags) override
    {
        return Log("SetDefaultProfile", {profile}, flags);
    }
    mapi::HRESULT DEFTMAPI_STDCALL AdminServices(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::ULONG_PTR window,
                                                 mapi::ULONG flags, mapi::LPSERVICEADMIN* admin) override
    {
        const mapi::HRESULT hr = Log("profile.AdminServices", {profile, password}, flags, window);
        return hr == mapi::S_OK ? Give(Services, admin) : hr;
    }

private:
    mapi::HRESULT Log(const char* method, std::initializer_list<mapi::LPTSTR> texts, mapi::ULONG flags,
                      std::optional<mapi::ULONG_PTR> window = {});

    TCallsRef FCalls;
};

class TScriptedSpooler final : public TScriptedPropOf<mapi::IMAPIStatus>
{
public:
    explicit TScriptedSpooler(TCallsRef calls)
        : TScriptedPropOf(calls, {mapi::IID_IMAPIProp, mapi::IID_IMAPIStatus}, "spooler."), FCalls(calls)
    {}

    mapi::HRESULT DEFTMAPI_STDCALL FlushQueues(mapi::ULONG_PTR window, mapi::ULONG size, mapi::LPENTRYID transport,
                                               mapi::ULONG flags) override
    {
        return FCalls->Enter("FlushQueues", std::to_string(window) + "," + HexOf(size, transport) + "," + Hex(flags))
            .value_or(mapi::S_OK);
    }
    DEFTMAPI_REFUSED(ValidateState, mapi::ULONG_PTR, mapi::ULONG)
    DEFTMAPI_REFUSED(SettingsDialog, mapi::ULONG_PTR, mapi::ULONG)
    DEFTMAPI_REFUSED(ChangePassword, mapi::LPTSTR, mapi::LPTSTR, mapi::ULONG)

private:
    mapi::HRESULT Refused(const char* method) { return Bag.Refuse(method, ""); }

    TCallsRef FCalls;
};

} // namespace deftmapi::test
