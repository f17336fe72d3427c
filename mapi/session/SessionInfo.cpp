// Facts about the clients of the machine and about a session, and the client library without a session.
#include "mapi/core/MAPIModule.hpp"
#include "mapi/core/OutlookInfo.hpp"
#include "mapi/core/uKwMAPIEntryID.hpp"
#include "mapi/core/uKwMAPILib.hpp"
#include "mapi/core/uKwMAPIMemory.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNeedsExchange = u"The %s can only be used when connected to an Exchange Server!";
constexpr auto sWrongIdentity = u"%s.QueryIdentity failed, because the wrong object was returned (%d)!";

/// The address-book entry of a user.
class TKwMAPIIdentity final : public TKwMAPIProp
{
public:
    TKwMAPIIdentity(TSession& session, mapi::IMAPIProp* user) : TKwMAPIProp(&session)
    {
        SetSession(&session);
        SetMAPIOBJECT(user);
    }
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIIdentity"; }
};

} // namespace

// ---- TKwMAPIInfo

WideString TKwMAPIInfo::Get_Version() const
{
    return KwGetMAPIInfo().Version;
}

WideString TKwMAPIInfo::Get_DllFileName() const
{
    return KwCurrentMAPIDllFileName();
}

WordBool TKwMAPIInfo::Get_ExtendedMAPI() const
{
    return KwExtendedMAPIAvailable();
}

WideString TKwMAPIInfo::Get_DefaultClient() const
{
    return KwGetMAPIInfo().DefaultClient;
}

std::vector<WideString> TKwMAPIInfo::GetClients() const
{
    std::vector<WideString> names;
    for (TKwMAPIClient& client : KwGetMAPIClients())
        names.push_back(std::move(client.Name));
    return names;
}

WideString TKwMAPIInfo::Get_OutlookVersion() const
{
    return KwGetOutlookInfo().VersionNumber;
}

// ---- TKwMAPISessionInfo

TKwMAPISessionInfo::TKwMAPISessionInfo(TSession& session) : TKwMAPIObject(&session) {}

TSession& TKwMAPISessionInfo::CheckSession(WideView methodName) const
{
    CheckActive(methodName);
    auto& session = static_cast<TSession&>(*Owner());
    session.CheckActive(methodName);
    session.CheckUsingExtendedMAPI(methodName);
    return session;
}

WideString TKwMAPISessionInfo::Get_ProfileName()
{
    const auto status = CheckSession(u"Get_ProfileName").GetStatusTable();
    status->Get_Fields()->Add(PR_DISPLAY_NAME);
    if (status->GetEntryID(mrtSubsystem).IsNull())
        return {};
    return status->GetFieldValue(PR_DISPLAY_NAME).AsStringW();
}

WordBool TKwMAPISessionInfo::Get_ConnectedToExchange()
{
    return CheckSession(u"Get_ConnectedToExchange").Get_ConnectedToExchange();
}

WordBool TKwMAPISessionInfo::Get_CachedExchangeMode()
{
    TSession& session = CheckSession(u"Get_CachedExchangeMode");
    return session.Get_ConnectedToExchange() && session.DetectCachedMode();
}

WideString TKwMAPISessionInfo::ServerName()
{
    TSession& session = CheckSession(u"ServerName");
    if (!session.Get_ConnectedToExchange())
        CreateKwMAPIException(KwNotSupported, sNeedsExchange, {u"ServerName"})->Raise();
    const auto global = session.FindGlobalSection();
    return global ? global->PropByName(PR_PROFILE_HOME_SERVER)->Get_Value().AsStringW() : WideString();
}

TKwRef<IKwMAPIProp> TKwMAPISessionInfo::Get_Identity()
{
    TSession& session = CheckSession(u"Get_Identity");
    mapi::ULONG size = 0;
    TKwMAPIBuffer<mapi::ENTRYID> id(session);
    CheckMAPIResult(session, u"QueryIdentity", session.CallSession(u"QueryIdentity", [&](auto& client) {
        return client.QueryIdentity(&size, Out(id));
    }));
    TKwMAPIObjectType type = otUnknown;
    const auto user = session.OpenEntryEx(BinToEntryID(static_cast<std::int32_t>(size), id.Get()), nullptr, 0, type);
    if (type != otRecipient)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sWrongIdentity,
                              {session.GetClassName(), static_cast<std::int32_t>(type)})
            ->Raise();
    TKwComPtr<mapi::IMAPIProp> prop;
    CheckMAPIResult(session, u"QueryInterface", user->QueryInterface(mapi::IID_IMAPIProp, OutVoid(prop)));
    return KwMake<TKwMAPIIdentity>(session, prop.Get());
}

// ---- TKwMAPISessionProxy

void TKwMAPISessionProxy::MAPILoad(const WideString& fileName, WordBool& extendedMAPI, WordBool& loaded)
{
    WideString name = fileName;
    bool extended = false;
    extendedMAPI = false;
    loaded = KwTryLoadMAPIDLL(name, extended, false);
    extendedMAPI = extended;
}

WordBool TKwMAPISessionProxy::MAPILoaded() const
{
    return KwMAPIModule() != nullptr;
}

void TKwMAPISessionProxy::MAPIInitialize()
{
    // What was initialised for Simple MAPI is no initialisation for Extended MAPI, though its options are the same.
    if (KwMAPIInitialized() && !KwMAPIThreadState().Extended)
        KwMAPIUninitialize(false);
    KwMAPIInitialize(false, false, true, true);
}

WordBool TKwMAPISessionProxy::MAPIInitialized() const
{
    return KwMAPIInitialized();
}

void TKwMAPISessionProxy::MAPIUnitialize()
{
    KwMAPIUninitialize(false);
}

void TKwMAPISessionProxy::MAPIUnload()
{
    KwUnloadDLL();
}

} // namespace deftmapi
