// Administration of profiles; see uKwMAPIAdmin.hpp.
#include "mapi/admin/uKwMAPIAdmin.hpp"

#include "mapi/core/uKwMAPIxH.hpp"
#include "mapi/session/TextArg.hpp"
#include "mapi/table/uKwMAPITable.hpp"
#include "support/platform/uKwPlatform.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr auto sProfileExists = u"The specified new profile already exists.";
constexpr auto sNoSuchProfile = u"The specified profile does not exist.";

// Where Windows keeps the profiles of its MAPI subsystem: what a session without Extended MAPI reads.
constexpr auto ProfilesKeyNT =
    u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Windows Messaging Subsystem\\Profiles";
constexpr auto ProfilesKey = u"SOFTWARE\\Microsoft\\Windows Messaging Subsystem\\Profiles";

constexpr auto CurrentUser = TKwRegistryRoot::rrCurrentUser;
constexpr auto OwnView = TKwRegistryView::rvProcess;

WideString RegisteredProfilesKey()
{
    return KwPlatform().IsWindowsNT() ? ProfilesKeyNT : ProfilesKey;
}

WideString RegisteredDefaultProfile()
{
    return KwPlatform()
        .RegistryValue(CurrentUser, OwnView, RegisteredProfilesKey(), u"DefaultProfile")
        .value_or(WideString());
}

} // namespace

TKwMAPIProfileAdmin::TKwMAPIProfileAdmin(TKwMAPISessionBase& session) : TKwMAPIWrapper(&session)
{
    SetSession(&session);
}

void TKwMAPIProfileAdmin::SetSession(TKwMAPISessionBase* session)
{
    SetMAPIOBJECT(nullptr);
    TKwMAPIWrapper::SetSession(session);
    if (session != nullptr && session->UsesExtendedMAPI())
        static_cast<void>(Admin());
}

mapi::IProfAdmin& TKwMAPIProfileAdmin::Admin()
{
    if (Get_MAPIOBJECT() == nullptr) {
        TKwComPtr<mapi::IProfAdmin> admin;
        CheckMAPIResult(GetClassName(), u"MAPIAdminProfiles", MAPIAdminProfiles(0, Out(admin)), this);
        SetMAPIOBJECT(admin.Get());
    }
    return MAPIObjectAs<mapi::IProfAdmin>();
}

mapi::HRESULT TKwMAPIProfileAdmin::CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error)
{
    return Get_MAPIOBJECT() != nullptr ? Admin().GetLastError(result, flags, error) : mapi::S_OK;
}

TKwRef<IKwMAPIAdminServices> TKwMAPIProfileAdmin::GetAdminServices(WideView profileName, WideView password,
                                                                   WordBool showDialog)
{
    CheckExtendedMAPI(u"GetAdminServices");
    TKwComPtr<mapi::IMsgServiceAdmin> services;
    CheckMAPIResult(*this, u"GetAdminServices",
                    WithCharWidth(showDialog ? mapi::MAPI_DIALOG : 0, [&](mapi::ULONG flags) {
                        return Admin().AdminServices(TKwMAPITextArg(profileName, flags).Get(),
                                                     TKwMAPITextArg(password, flags).Get(), GetParentWindow(), flags,
                                                     Out(services));
                    }));
    return KwMake<TKwMAPIAdminServices>(*Session(), services.Get(), false);
}

void TKwMAPIProfileAdmin::CreateProfile(WideView name, WideView password, WordBool defaultServices, WordBool showDialog)
{
    CheckExtendedMAPI(u"CreateProfile");
    const mapi::ULONG options =
        (defaultServices ? mapi::MAPI_DEFAULT_SERVICES : 0) | (showDialog ? mapi::MAPI_DIALOG : 0);
    const mapi::HRESULT hr = WithCharWidth(options, [&](mapi::ULONG flags) {
        return Admin().CreateProfile(TKwMAPITextArg(name, flags).Get(), TKwMAPITextArg(password, flags).Get(),
                                     GetParentWindow(), flags);
    });
    CheckName(u"CreateProfile", hr, name);
}

/// Checks a result for which the platform has one code for a name that is taken and for profiles that may not be
/// changed; which of them it is, the list of profiles tells.
void TKwMAPIProfileAdmin::CheckName(WideView methodName, mapi::HRESULT result, WideView newName)
{
    if (result == mapi::MAPI_E_COLLISION)
        CreateKwMAPIException(result, sProfileExists)->Raise();
    try {
        CheckMAPIResult(*this, methodName, result);
    } catch (const EKwMAPIException&) {
        if (result != mapi::MAPI_E_NO_ACCESS)
            throw;
        const std::vector<WideString> names = GetProfiles();
        if (std::none_of(names.begin(), names.end(), [&](const WideString& name) { return KwSameText(name, newName); }))
            throw;
        CreateKwMAPIException(result, sProfileExists)->Raise();
    }
}

void TKwMAPIProfileAdmin::DeleteProfile(WideView name)
{
    CheckExtendedMAPI(u"DeleteProfile");
    const mapi::HRESULT hr = WithCharWidth(
        0, [&](mapi::ULONG flags) { return Admin().DeleteProfile(TKwMAPITextArg(name, flags).Get(), flags); });
    if (hr == mapi::MAPI_E_NOT_FOUND)
        CreateKwMAPIException(hr, sNoSuchProfile)->Raise();
    CheckMAPIResult(*this, u"DeleteProfile", hr);
}

void TKwMAPIProfileAdmin::SetDefaultProfile(WideView name)
{
    CheckExtendedMAPI(u"SetDefaultProfile");
    const mapi::HRESULT hr = WithCharWidth(
        0, [&](mapi::ULONG flags) { return Admin().SetDefaultProfile(TKwMAPITextArg(name, flags).Get(), flags); });
    if (hr == mapi::MAPI_E_NOT_FOUND)
        CreateKwMAPIException(hr, sNoSuchProfile)->Raise();
    CheckMAPIResult(*this, u"SetDefaultProfile", hr);
}

void TKwMAPIProfileAdmin::RenameProfile(WideView name, WideView password, WideView newName)
{
    CheckExtendedMAPI(u"RenameProfile");
    const mapi::HRESULT hr = WithCharWidth(0, [&](mapi::ULONG flags) {
        return Admin().RenameProfile(TKwMAPITextArg(name, flags).Get(), TKwMAPITextArg(password, flags).Get(),
                                     TKwMAPITextArg(newName, flags).Get(), GetParentWindow(), flags);
    });
    if (hr == mapi::MAPI_E_NOT_FOUND)
        CreateKwMAPIException(hr, sNoSuchProfile)->Raise();
    CheckName(u"RenameProfile", hr, newName);
}

void TKwMAPIProfileAdmin::CopyProfile(WideView name, WideView password, WideView newName)
{
    CheckExtendedMAPI(u"CopyProfile");
    const mapi::HRESULT hr = WithCharWidth(0, [&](mapi::ULONG flags) {
        return Admin().CopyProfile(TKwMAPITextArg(name, flags).Get(), TKwMAPITextArg(password, flags).Get(),
                                   TKwMAPITextArg(newName, flags).Get(), GetParentWindow(), flags);
    });
    if (hr == mapi::MAPI_E_NOT_FOUND)
        CreateKwMAPIException(hr, sNoSuchProfile)->Raise();
    CheckName(u"CopyProfile", hr, newName);
}

void TKwMAPIProfileAdmin::ChangeProfilePassword(WideView name, WideView oldPassword, WideView newPassword)
{
    CheckExtendedMAPI(u"ChangeProfilePassword");
    const mapi::HRESULT hr = WithCharWidth(0, [&](mapi::ULONG flags) {
        return Admin().ChangeProfilePassword(TKwMAPITextArg(name, flags).Get(),
                                             TKwMAPITextArg(oldPassword, flags).Get(),
                                             TKwMAPITextArg(newPassword, flags).Get(), flags);
    });
    if (hr == mapi::MAPI_E_NOT_FOUND)
        CreateKwMAPIException(hr, sNoSuchProfile)->Raise();
    CheckMAPIResult(*this, u"ChangeProfilePassword", hr);
}

TKwComPtr<mapi::IMAPITable> TKwMAPIProfileAdmin::OpenProfileTable(WideView methodName)
{
    CheckExtendedMAPI(methodName);
    TKwComPtr<mapi::IMAPITable> table;
    CheckMAPIResult(*this, methodName,
                    WithCharWidth(0, [&](mapi::ULONG flags) { return Admin().GetProfileTable(flags, Out(table)); }));
    return table;
}

TKwRef<IKwMAPITable> TKwMAPIProfileAdmin::GetProfileTable()
{
    return KwMake<TKwMAPITable>(*this, OpenProfileTable(u"GetProfileTable").Get(),
                                [this] { return OpenProfileTable(u"GetProfileTable"); });
}

TKwRef<IKwMAPITable> TKwMAPIProfileAdmin::Profiles(WideView methodName)
{
    const auto table = KwMake<TKwMAPITable>(*this, OpenProfileTable(methodName).Get(), nullptr);
    table->Get_Fields()->Add(PR_DEFAULT_PROFILE);
    table->Get_Fields()->Add(PR_DISPLAY_NAME);
    return table;
}

WideString TKwMAPIProfileAdmin::GetDefaultProfile()
{
    CheckActive(u"GetDefaultProfile");
    if (!Session()->UsesExtendedMAPI())
        return RegisteredDefaultProfile();
    const auto table = Profiles(u"GetDefaultProfile");
    for (table->First(); !table->Get_EOF(); table->Next())
        if (table->GetFieldValue(PR_DEFAULT_PROFILE).AsBoolean())
            return table->GetFieldValue(PR_DISPLAY_NAME).AsStringW();
    return {};
}

WordBool TKwMAPIProfileAdmin::HasDefaultProfile()
{
    CheckActive(u"HasDefaultProfile");
    if (!Session()->UsesExtendedMAPI())
        return !RegisteredDefaultProfile().empty();
    const auto table = Profiles(u"HasDefaultProfile");
    for (table->First(); !table->Get_EOF(); table->Next())
        if (table->GetFieldValue(PR_DEFAULT_PROFILE).AsBoolean())
            return true;
    return false;
}

std::vector<WideString> TKwMAPIProfileAdmin::GetProfiles()
{
    CheckActive(u"GetProfiles");
    if (!Session()->UsesExtendedMAPI())
        return KwPlatform().RegistrySubKeys(CurrentUser, OwnView, RegisteredProfilesKey());
    std::vector<WideString> names;
    const auto table = Profiles(u"GetProfiles");
    for (table->First(); !table->Get_EOF(); table->Next())
        names.push_back(table->GetFieldValue(PR_DISPLAY_NAME).AsStringW());
    return names;
}

WideString TKwMAPIProfileAdmin::GetProfiles(WideView separator)
{
    WideString joined;
    for (const WideString& name : GetProfiles()) {
        if (!joined.empty())
            joined += separator;
        joined += name;
    }
    return joined;
}

} // namespace deftmapi
