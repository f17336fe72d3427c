#include "tests/session/ScriptedAdmin.hpp"

namespace deftmapi::test
{

namespace
{

std::string UidText(const mapi::MAPIUID* uid)
{
    return uid != nullptr ? HexOf(sizeof *uid, uid) : "null";
}

/// A reference on the object goes to the caller.
template <typename Interface, typename Object>
mapi::HRESULT Give(const TKwComPtr<Object>& object, Interface** result)
{
    *result = TKwComPtr<Interface>(object.Get()).Detach();
    return mapi::S_OK;
}

/// Opens the sections of the service it is of, under a name of its own in the log.
class TScriptedProviderAdmin final : public TScriptedUnknown<mapi::IProviderAdmin>
{
public:
    TScriptedProviderAdmin(TCallsRef calls, TKwComPtr<TScriptedServiceAdmin> services)
        : TScriptedUnknown({mapi::IID_IProviderAdmin}), FCalls(std::move(calls)), FServices(std::move(services))
    {}
    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR* error) override
    {
        *error = nullptr;
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetProviderTable(mapi::ULONG flags, mapi::LPMAPITABLE*) override
    {
        return FCalls->Enter("provider.GetProviderTable", Hex(flags)).value_or(mapi::MAPI_E_NO_SUPPORT);
    }
    mapi::HRESULT DEFTMAPI_STDCALL CreateProvider(mapi::LPTSTR, mapi::ULONG, mapi::LPSPropValue, mapi::ULONG_PTR,
                                                  mapi::ULONG, mapi::MAPIUID*) override
    {
        return FCalls->Enter("provider.CreateProvider", "").value_or(mapi::MAPI_E_NO_SUPPORT);
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteProvider(mapi::LPMAPIUID) override
    {
        return FCalls->Enter("provider.DeleteProvider", "").value_or(mapi::MAPI_E_NO_SUPPORT);
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenProfileSection(mapi::LPMAPIUID uid, mapi::LPCIID, mapi::ULONG flags,
                                                      mapi::LPPROFSECT* section) override
    {
        return FServices->Sections.Open("provider.OpenProfileSection", uid, flags, section);
    }

private:
    TCallsRef FCalls;
    TKwComPtr<TScriptedServiceAdmin> FServices;
};

} // namespace

// ---- TScriptedSections

TScriptedSection& TScriptedSections::Add(const std::string& uid)
{
    TKwComPtr<TScriptedSection>& section = FSections[uid];
    if (!section)
        section = TKwComPtr<TScriptedSection>(new TScriptedSection(FCalls));
    return *section;
}

mapi::HRESULT TScriptedSections::Open(const std::string& label, const mapi::MAPIUID* uid, mapi::ULONG flags,
                                      mapi::LPPROFSECT* section)
{
    *section = nullptr;
    if (const auto result = FCalls->Enter(label, UidText(uid) + "," + Hex(flags)))
        return *result;
    if ((flags & mapi::MAPI_MODIFY) != 0)
        Add(UidText(uid));
    const auto found = FSections.find(UidText(uid));
    return found != FSections.end() ? Give(found->second, section) : mapi::MAPI_E_NOT_FOUND;
}

// ---- TScriptedServiceAdmin

TScriptedServiceAdmin::TScriptedServiceAdmin(TCallsRef calls)
    : TScriptedUnknown({mapi::IID_IMsgServiceAdmin}), Services(new TScriptedTable(calls)),
      Providers(new TScriptedTable(calls)), Sections(calls), FCalls(std::move(calls))
{}

mapi::HRESULT TScriptedServiceAdmin::GetLastError(mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR* error)
{
    *error = nullptr;
    return mapi::S_OK;
}

mapi::HRESULT TScriptedServiceAdmin::GetMsgServiceTable(mapi::ULONG flags, mapi::LPMAPITABLE* table)
{
    if (const auto result = FCalls->Enter("GetMsgServiceTable", Hex(flags)))
        return *result;
    return Give(Services, table);
}

mapi::HRESULT TScriptedServiceAdmin::CreateMsgService(mapi::LPTSTR service, mapi::LPTSTR displayName,
                                                      mapi::ULONG_PTR window, mapi::ULONG flags)
{
    if (const auto result =
            FCalls->Enter("CreateMsgService", TextArgument(service, flags) + "," + TextArgument(displayName, flags) +
                                                  "," + std::to_string(window) + "," + Hex(flags)))
        return *result;
    if (OnCreate)
        OnCreate();
    return mapi::S_OK;
}

mapi::HRESULT TScriptedServiceAdmin::DeleteMsgService(mapi::LPMAPIUID uid)
{
    return FCalls->Enter("DeleteMsgService", UidText(uid)).value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedServiceAdmin::CopyMsgService(mapi::LPMAPIUID, mapi::LPTSTR, mapi::LPCIID, mapi::LPCIID,
                                                    mapi::LPVOID, mapi::ULONG_PTR, mapi::ULONG)
{
    return FCalls->Enter("CopyMsgService", "").value_or(mapi::MAPI_E_NO_SUPPORT);
}

mapi::HRESULT TScriptedServiceAdmin::RenameMsgService(mapi::LPMAPIUID, mapi::ULONG, mapi::LPTSTR)
{
    return FCalls->Enter("RenameMsgService", "").value_or(mapi::MAPI_E_NO_SUPPORT);
}

mapi::HRESULT TScriptedServiceAdmin::ConfigureMsgService(mapi::LPMAPIUID uid, mapi::ULONG_PTR window, mapi::ULONG flags,
                                                         mapi::ULONG count, mapi::LPSPropValue values)
{
    std::string arguments = UidText(uid) + "," + std::to_string(window) + "," + Hex(flags);
    for (mapi::ULONG i = 0; i < count; ++i)
        arguments += "," + TextOf(values[i]);
    return FCalls->Enter("ConfigureMsgService", arguments).value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedServiceAdmin::OpenProfileSection(mapi::LPMAPIUID uid, mapi::LPCIID, mapi::ULONG flags,
                                                        mapi::LPPROFSECT* section)
{
    return Sections.Open("services.OpenProfileSection", uid, flags, section);
}

mapi::HRESULT TScriptedServiceAdmin::MsgServiceTransportOrder(mapi::ULONG, mapi::LPMAPIUID, mapi::ULONG)
{
    return FCalls->Enter("MsgServiceTransportOrder", "").value_or(mapi::MAPI_E_NO_SUPPORT);
}

mapi::HRESULT TScriptedServiceAdmin::AdminProviders(mapi::LPMAPIUID uid, mapi::ULONG flags,
                                                    mapi::LPPROVIDERADMIN* admin)
{
    if (const auto result = FCalls->Enter("AdminProviders", UidText(uid) + "," + Hex(flags)))
        return *result;
    return Give(
        TKwComPtr<TScriptedProviderAdmin>(new TScriptedProviderAdmin(FCalls, TKwComPtr<TScriptedServiceAdmin>(this))),
        admin);
}

mapi::HRESULT TScriptedServiceAdmin::SetPrimaryIdentity(mapi::LPMAPIUID, mapi::ULONG)
{
    return FCalls->Enter("SetPrimaryIdentity", "").value_or(mapi::MAPI_E_NO_SUPPORT);
}

mapi::HRESULT TScriptedServiceAdmin::GetProviderTable(mapi::ULONG flags, mapi::LPMAPITABLE* table)
{
    if (const auto result = FCalls->Enter("GetProviderTable", Hex(flags)))
        return *result;
    return Give(Providers, table);
}

// ---- TScriptedProfAdmin

TScriptedProfAdmin::TScriptedProfAdmin(TCallsRef calls)
    : TScriptedUnknown({mapi::IID_IProfAdmin}), Profiles(new TScriptedTable(calls)),
      Services(new TScriptedServiceAdmin(calls)), FCalls(std::move(calls))
{}

mapi::HRESULT TScriptedProfAdmin::GetLastError(mapi::HRESULT, mapi::ULONG flags, mapi::LPMAPIERROR* error)
{
    *error = ErrorRecord(Error, u"Profiles", flags);
    return mapi::S_OK;
}

mapi::HRESULT TScriptedProfAdmin::GetProfileTable(mapi::ULONG flags, mapi::LPMAPITABLE* table)
{
    if (const auto result = FCalls->Enter("GetProfileTable", Hex(flags)))
        return *result;
    return Give(Profiles, table);
}

mapi::HRESULT TScriptedProfAdmin::CreateProfile(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::ULONG_PTR window,
                                                mapi::ULONG flags)
{
    return FCalls
        ->Enter("CreateProfile", TextArgument(profile, flags) + "," + TextArgument(password, flags) + "," +
                                     std::to_string(window) + "," + Hex(flags))
        .value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedProfAdmin::DeleteProfile(mapi::LPTSTR profile, mapi::ULONG flags)
{
    return FCalls->Enter("DeleteProfile", TextArgument(profile, flags) + "," + Hex(flags)).value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedProfAdmin::ChangeProfilePassword(mapi::LPTSTR profile, mapi::LPTSTR oldPassword,
                                                        mapi::LPTSTR newPassword, mapi::ULONG flags)
{
    return FCalls
        ->Enter("ChangeProfilePassword", TextArgument(profile, flags) + "," + TextArgument(oldPassword, flags) + "," +
                                             TextArgument(newPassword, flags) + "," + Hex(flags))
        .value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedProfAdmin::CopyProfile(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::LPTSTR newName,
                                              mapi::ULONG_PTR window, mapi::ULONG flags)
{
    return FCalls
        ->Enter("CopyProfile", TextArgument(profile, flags) + "," + TextArgument(password, flags) + "," +
                                   TextArgument(newName, flags) + "," + std::to_string(window) + "," + Hex(flags))
        .value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedProfAdmin::RenameProfile(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::LPTSTR newName,
                                                mapi::ULONG_PTR window, mapi::ULONG flags)
{
    return FCalls
        ->Enter("RenameProfile", TextArgument(profile, flags) + "," + TextArgument(password, flags) + "," +
                                     TextArgument(newName, flags) + "," + std::to_string(window) + "," + Hex(flags))
        .value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedProfAdmin::SetDefaultProfile(mapi::LPTSTR profile, mapi::ULONG flags)
{
    return FCalls->Enter("SetDefaultProfile", TextArgument(profile, flags) + "," + Hex(flags)).value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedProfAdmin::AdminServices(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::ULONG_PTR window,
                                                mapi::ULONG flags, mapi::LPSERVICEADMIN* admin)
{
    if (const auto result =
            FCalls->Enter("profile.AdminServices", TextArgument(profile, flags) + "," + TextArgument(password, flags) +
                                                       "," + std::to_string(window) + "," + Hex(flags)))
        return *result;
    return Give(Services, admin);
}

// ---- TScriptedSpooler

TScriptedSpooler::TScriptedSpooler(TCallsRef calls)
    : TScriptedPropOf(calls, {mapi::IID_IMAPIProp, mapi::IID_IMAPIStatus}, "spooler."), FCalls(calls)
{}

mapi::HRESULT TScriptedSpooler::ValidateState(mapi::ULONG_PTR, mapi::ULONG)
{
    return FCalls->Enter("ValidateState", "").value_or(mapi::MAPI_E_NO_SUPPORT);
}

mapi::HRESULT TScriptedSpooler::SettingsDialog(mapi::ULONG_PTR, mapi::ULONG)
{
    return FCalls->Enter("SettingsDialog", "").value_or(mapi::MAPI_E_NO_SUPPORT);
}

mapi::HRESULT TScriptedSpooler::ChangePassword(mapi::LPTSTR, mapi::LPTSTR, mapi::ULONG)
{
    return FCalls->Enter("ChangePassword", "").value_or(mapi::MAPI_E_NO_SUPPORT);
}

mapi::HRESULT TScriptedSpooler::FlushQueues(mapi::ULONG_PTR window, mapi::ULONG size, mapi::LPENTRYID transport,
                                            mapi::ULONG flags)
{
    return FCalls->Enter("FlushQueues", std::to_string(window) + "," + HexOf(size, transport) + "," + Hex(flags))
        .value_or(mapi::S_OK);
}

} // namespace deftmapi::test
