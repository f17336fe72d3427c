// Administration of the message services of a profile.
#include "mapi/admin/SectionOpener.hpp"
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/core/uKwMAPIPropValue.hpp"
#include "mapi/session/TextArg.hpp"
#include "support/platform/uKwPlatform.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr auto sNoSession = u"No session has been assigned (%s.%s)!";
constexpr auto sInactive = u"The session is not active!";
constexpr auto sInvalidUID = u"An invalid ServiceUID was provided!";
constexpr auto sNoSuchService = u"The MAPIUID pointed to by lpUID does not match that of an existing message service.";
constexpr auto sNoEntryPoint = u"The message service does not have an entry point function.";
constexpr auto sServiceError = u"An error specific to a message service. To get the MAPIERROR structure describing the "
                               u"error, the client application should call the IMsgServiceAdmin::GetLastError method.";
constexpr auto sNotLocated = u"%s.CreateMsgService failed! Unable to locate the newly created service";
constexpr auto sNoSuchFile = u"%s.AddPstFileToCurrentProfile failed!\r\nThe given file \"%s\" does not exist";

constexpr auto PersonalFolders = u"MSPST MS";

/// The settings of the profile itself, which the global section keeps.
constexpr TKwMAPIPropDef ProfileSettings[] = {PR_PROFILE_CONFIG_FLAGS, PR_PROFILE_CONNECT_FLAGS, PR_PROFILE_UI_STATE};

bool IsProfileSetting(TKwMAPIPropDef def)
{
    return std::any_of(std::begin(ProfileSettings), std::end(ProfileSettings), [def](TKwMAPIPropDef setting) {
        return SameProp(GetPropInfo(setting), GetPropInfo(def), true);
    });
}

mapi::MAPIUID RequireServiceUID(const TKwMAPIEntryID& serviceUID)
{
    const std::optional<mapi::MAPIUID> uid = AsUID(serviceUID);
    if (!uid)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sInvalidUID)->Raise();
    return *uid;
}

} // namespace

TKwMAPIAdminServices::TKwMAPIAdminServices(TKwMAPISessionBase& session, mapi::IMsgServiceAdmin* admin, bool ofSession)
    : TKwMAPIWrapper(&session), FOfSession(ofSession)
{
    SetSession(&session);
    SetMAPIOBJECT(admin);
}

mapi::HRESULT TKwMAPIAdminServices::CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error)
{
    return Get_MAPIOBJECT() != nullptr ? Admin().GetLastError(result, flags, error) : mapi::S_OK;
}

void TKwMAPIAdminServices::CheckActive(WideView methodName) const
{
    CheckActive(methodName, FOfSession);
    TKwMAPIWrapper::CheckActive(methodName);
}

void TKwMAPIAdminServices::CheckActive(WideView methodName, bool loggedOn) const
{
    if (Session() == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_UNCONFIGURED, sNoSession, {GetClassName(), methodName})->Raise();
    if (loggedOn && !Session()->Get_Active())
        CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sInactive)->Raise();
}

// ---- Tables

TKwComPtr<mapi::IMAPITable> TKwMAPIAdminServices::OpenMsgServiceTable()
{
    CheckActive(u"GetMsgServiceTable");
    TKwComPtr<mapi::IMAPITable> table;
    CheckMAPIResult(*this, u"GetMsgServiceTable",
                    WithCharWidth(0, [&](mapi::ULONG flags) { return Admin().GetMsgServiceTable(flags, Out(table)); }));
    return table;
}

TKwRef<IKwMAPITable> TKwMAPIAdminServices::GetMsgServiceTable()
{
    return KwMake<TKwMAPITable>(*this, OpenMsgServiceTable().Get(), [this] { return OpenMsgServiceTable(); });
}

TKwComPtr<mapi::IMAPITable> TKwMAPIAdminServices::OpenProviderTable()
{
    CheckActive(u"GetProviderTable");
    TKwComPtr<mapi::IMAPITable> table;
    CheckMAPIResult(*this, u"GetProviderTable",
                    WithCharWidth(0, [&](mapi::ULONG flags) { return Admin().GetProviderTable(flags, Out(table)); }));
    return table;
}

TKwRef<IKwMAPITable> TKwMAPIAdminServices::GetProviderTable()
{
    return KwMake<TKwMAPITable>(*this, OpenProviderTable().Get(), [this] { return OpenProviderTable(); });
}

std::vector<TKwMAPIEntryID> TKwMAPIAdminServices::ServiceUIDs()
{
    std::vector<TKwMAPIEntryID> uids;
    const auto services = GetMsgServiceTable();
    services->Get_Fields()->Add(PR_SERVICE_UID);
    for (services->First(); !services->Get_EOF(); services->Next())
        uids.push_back(services->GetFieldValue(PR_SERVICE_UID));
    return uids;
}

// ---- Services

TKwMAPIEntryID TKwMAPIAdminServices::CreateMsgService(WideView serviceName, WideView displayName, WordBool showDialog)
{
    CheckActive(u"CreateMsgService");
    const std::vector<TKwMAPIEntryID> before = ServiceUIDs();
    CheckMAPIResult(
        *this, u"CreateMsgService", WithCharWidth(showDialog ? mapi::SERVICE_UI_ALWAYS : 0, [&](mapi::ULONG flags) {
            return Admin().CreateMsgService(TKwMAPITextArg(serviceName, flags).Get(),
                                            TKwMAPITextArg(displayName, flags).Get(), GetParentWindow(), flags);
        }));
    // An administration shows the services as they were when it was opened, with some clients.
    auto* session = FOfSession ? dynamic_cast<IKwMAPISession*>(Session()) : nullptr;
    std::vector<TKwMAPIEntryID> after;
    if (session != nullptr && session->Get_Active()) {
        const auto fresh = session->GetAdminServices();
        after = dynamic_cast<TKwMAPIAdminServices&>(*fresh).ServiceUIDs();
    } else {
        after = ServiceUIDs();
    }
    for (const TKwMAPIEntryID& uid : after)
        if (std::find(before.begin(), before.end(), uid) == before.end())
            return uid;
    CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNotLocated, {GetClassName()})->Raise();
}

void TKwMAPIAdminServices::ConfigureMsgService(const TKwMAPIEntryID& serviceUID, const TKwMAPIServiceDialogs& dialogs,
                                               IKwMAPIPropValueList& properties)
{
    mapi::ULONG flags = 0;
    if (dialogs.Show)
        flags |= mapi::SERVICE_UI_ALWAYS;
    if (dialogs.Allow)
        flags |= mapi::SERVICE_UI_ALLOWED;
    if (dialogs.ReadOnly)
        flags |= mapi::MSG_SERVICE_UI_READ_ONLY;
    CheckActive(u"ConfigureMsgService");
    Configure(serviceUID, flags, properties);
}

void TKwMAPIAdminServices::Configure(const TKwMAPIEntryID& serviceUID, mapi::ULONG flags,
                                     IKwMAPIPropValueList& properties)
{
    mapi::MAPIUID uid = RequireServiceUID(serviceUID);
    std::vector<TKwMAPIPropValue> backed;
    std::vector<mapi::SPropValue> values;
    std::vector<std::int32_t> settings;
    for (std::int32_t i = 0, count = properties.Get_Count(); i < count; ++i) {
        const TKwMAPIPropDef def = properties.Get_Item(i);
        values.push_back(backed.emplace_back(GetPropTag(GetPropInfo(def)), properties.Get_Value(i)).Value());
        if (IsProfileSetting(def))
            settings.push_back(i);
    }
    // Before the service is changed: what cannot be written to the profile must not be half done.
    const auto global = FindGlobalSection(settings.empty() ? alReadOnly : alReadWrite);
    const mapi::HRESULT hr = WithCharWidth(flags, [&](mapi::ULONG width) {
        return Admin().ConfigureMsgService(&uid, GetParentWindow(), width, static_cast<mapi::ULONG>(values.size()),
                                           values.data());
    });
    switch (hr) {
    case mapi::MAPI_E_NOT_FOUND:
        CreateKwMAPIException(hr, sNoSuchService)->Raise();
    case mapi::MAPI_E_NOT_INITIALIZED:
        CreateKwMAPIException(hr, sNoEntryPoint)->Raise();
    case mapi::MAPI_E_EXTENDED_ERROR:
        CreateKwMAPIException(hr, sServiceError)->Raise();
    default:
        CheckMAPIResult(*this, u"ConfigureMsgService", hr);
    }
    if (!global || settings.empty())
        return;
    for (const std::int32_t i : settings)
        global->PropByName(properties.Get_Item(i))->Set_Value(properties.Get_Value(i));
    global->SaveChanges(smClose);
}

void TKwMAPIAdminServices::DeleteMsgService(const TKwMAPIEntryID& serviceUID)
{
    CheckActive(u"DeleteMsgService");
    mapi::MAPIUID uid = RequireServiceUID(serviceUID);
    CheckMAPIResult(*this, u"DeleteMsgService", Admin().DeleteMsgService(&uid));
}

TKwMAPIEntryID TKwMAPIAdminServices::AddPstFileToCurrentProfile(const WideString& fileName, WideView displayName,
                                                                WordBool showDialog)
{
    CheckActive(u"AddPstFileToCurrentProfile");
    if (!KwPlatform().FileExists(fileName))
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoSuchFile, {GetClassName(), fileName})->Raise();
    const TKwMAPIEntryID service = CreateMsgService(PersonalFolders, displayName, false);
    const auto properties = KwMake<TKwMAPIPropValueList>();
    properties->AddValue(PR_PST_PATH, fileName);
    properties->AddValue(PR_DISPLAY_NAME_A, WideString(displayName));
    try {
        ConfigureMsgService(service, {.Allow = showDialog}, *properties);
    } catch (...) {
        try {
            DeleteMsgService(service); // a service without its file would be in everybody's way
        } catch (...) {
            KwReportServerException(std::current_exception()); // the caller is told what failed first
        }
        throw;
    }
    return service;
}

// ---- Sections

TKwRef<IKwMAPIProfSect> TKwMAPIAdminServices::OpenProfileSection(const TKwMAPIEntryID& uid,
                                                                 TKwMAPIAccessLevel accessLevel)
{
    CheckActive(u"OpenProfileSection");
    return OpenSection(uid, accessLevel, false);
}

TKwRef<IKwMAPIProfSect> TKwMAPIAdminServices::FindGlobalSection(TKwMAPIAccessLevel accessLevel)
{
    return OpenSection(StrToEntryID(KwGlobalProfileSection), accessLevel, true);
}

TKwRef<IKwMAPIProfSect> TKwMAPIAdminServices::OpenSection(const TKwMAPIEntryID& uid, TKwMAPIAccessLevel accessLevel,
                                                          bool mayBeMissing)
{
    return OpenSectionWith(*this, u"OpenProfileSection", uid, accessLevel, mayBeMissing,
                           [this](mapi::MAPIUID* id, mapi::ULONG flags, mapi::IProfSect** section) {
                               return Admin().OpenProfileSection(id, nullptr, flags, section);
                           });
}

TKwRef<IKwMAPIProfSect> TKwMAPIAdminServices::OpenProviderProfileSection(const TKwMAPIEntryID& uid,
                                                                         TKwMAPIAccessLevel accessLevel)
{
    constexpr auto method = u"OpenProviderProfileSection";
    CheckActive(method);
    const auto openWith = [&](auto&& call) {
        return OpenSectionWith(*this, method, uid, accessLevel, false, std::forward<decltype(call)>(call));
    };
    const auto providers = GetProviderTable();
    providers->Get_Fields()->Add(PR_PROVIDER_UID);
    providers->Get_Fields()->Add(PR_SERVICE_UID);
    for (providers->First(); !providers->Get_EOF(); providers->Next()) {
        if (!(providers->GetFieldValue(PR_PROVIDER_UID) == uid))
            continue;
        mapi::MAPIUID service = RequireServiceUID(providers->GetFieldValue(PR_SERVICE_UID));
        TKwComPtr<mapi::IProviderAdmin> admin;
        CheckMAPIResult(*this, method, WithCharWidth(0, [&](mapi::ULONG flags) {
            return Admin().AdminProviders(&service, flags, Out(admin));
        }));
        return openWith([&](mapi::MAPIUID* id, mapi::ULONG flags, mapi::IProfSect** section) {
            return admin->OpenProfileSection(id, nullptr, flags, section);
        });
    }
    return openWith([](mapi::MAPIUID*, mapi::ULONG, mapi::IProfSect**) { return mapi::MAPI_E_NOT_FOUND; });
}

} // namespace deftmapi
