// The session: logon options, logon and logoff with their events, and the way to message stores.
//
// An application creates a session first and keeps it for as long as it works with MAPI. Every object that a session
// gives out holds a reference on it, so the client library stays initialised until the last of them is gone; logging
// off makes them all inactive at once.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwMAPISessionH.hpp"

#include <thread>

namespace deftmapi
{

/// Logoff options.
class DEFTMAPI_API TKwMAPILogoffInfoImpl final : public TKwMAPIObject, public virtual IKwMAPILogoffInfo
{
public:
    TKwMAPILogoffInfoImpl() : TKwMAPIObject(nullptr) {}

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPILogoffInfoImpl"; }
    [[nodiscard]] bool Get_Shared() const noexcept override { return FShared; }
    void Set_Shared(bool value) noexcept override { FShared = value; }
    [[nodiscard]] bool Get_ShowLogoffDialog() const noexcept override { return FShowLogoffDialog; }
    void Set_ShowLogoffDialog(bool value) noexcept override { FShowLogoffDialog = value; }
    [[nodiscard]] TKwVariant Flags() const override;

private:
    bool FShared = true;
    bool FShowLogoffDialog = false;
};

/// Logon options. Setters store what they are given, with two exceptions that keep the options consistent: a service
/// (NTService) is not shared, shows nothing and starts no spooler; Shared is also an option of the logoff.
class DEFTMAPI_API TKwMAPILogonInfoImpl final : public TKwMAPIObject, public virtual IKwMAPILogonInfo
{
public:
    explicit TKwMAPILogonInfoImpl(TKwRef<TKwMAPILogoffInfoImpl> logoffInfo);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPILogonInfoImpl"; }

#define DEFTMAPI_OPTION(Name, Default)                                                                                 \
public:                                                                                                                \
    [[nodiscard]] bool Get_##Name() const noexcept override                                                            \
    {                                                                                                                  \
        return F##Name;                                                                                                \
    }                                                                                                                  \
    void Set_##Name(bool value) noexcept override                                                                      \
    {                                                                                                                  \
        F##Name = value;                                                                                               \
    }                                                                                                                  \
                                                                                                                       \
private:                                                                                                               \
    bool F##Name = Default;

    DEFTMAPI_OPTION(ProfileRequired, false)
    DEFTMAPI_OPTION(UseExtendedMAPI, true)
    DEFTMAPI_OPTION(ForceDownload, false)
    DEFTMAPI_OPTION(ShowLogonDialog, true)
    DEFTMAPI_OPTION(NewSession, true)
    DEFTMAPI_OPTION(NoMail, false)
    DEFTMAPI_OPTION(ShowPasswordDialog, false)
    DEFTMAPI_OPTION(ShowServiceDialog, false)
    DEFTMAPI_OPTION(ShortTimeOut, true)
    DEFTMAPI_OPTION(MultiThreadedNotifications, false)
#undef DEFTMAPI_OPTION

public:
    [[nodiscard]] bool Get_Shared() const noexcept override
    {
        return FShared;
    }
    void Set_Shared(bool value) noexcept override;
    [[nodiscard]] bool Get_NTService() const noexcept override
    {
        return FNTService;
    }
    void Set_NTService(bool value) noexcept override;
    [[nodiscard]] WideString Get_ProfileName() const override
    {
        return FProfileName;
    }
    void Set_ProfileName(WideView name) override
    {
        FProfileName = name;
    }
    [[nodiscard]] WideString Get_Password() const override
    {
        return FPassword;
    }
    void Set_Password(WideView password) override
    {
        FPassword = password;
    }
    [[nodiscard]] mapi::ULONG Flags() const noexcept override;

private:
    TKwRef<TKwMAPILogoffInfoImpl> FLogoffInfo;
    bool FShared = false;
    bool FNTService = false;
    WideString FProfileName;
    WideString FPassword;
};

/// The session component.
/// REQUIRES: created, logged on, logged off and destroyed on one thread. With MultiThreadedNotifications a logoff that
/// a notification causes runs on the client's thread.
class DEFTMAPI_API TSession final : public TKwMAPISessionBase, public virtual IKwMAPISession
{
public:
    TSession();
    /// A new session, not logged on.
    [[nodiscard]] static TKwRef<IKwMAPISession> Create();

    [[nodiscard]] WideString GetClassName() const override { return u"TSession"; }

    // State.
    [[nodiscard]] bool Get_Active() const noexcept override { return FActive; }
    /// Does nothing, and fires nothing, when the session is in that state already. A logon that fails leaves the
    /// session inactive.
    /// @throws EMAPI_LOGON_FAILED  no such profile, wrong password, …
    /// @throws EMAPI_CALL_FAILED   the client library cannot be loaded or offers no Extended MAPI
    void Set_Active(bool active) override;
    void Logon() override { Set_Active(true); }
    void Logoff() override { Set_Active(false); }
    [[nodiscard]] bool UsesExtendedMAPI() const noexcept override { return FLogonInfo->Get_UseExtendedMAPI(); }
    [[nodiscard]] bool Get_ConnectedToExchange() const noexcept override { return FConnectedToExchange; }
    [[nodiscard]] TKwRef<IKwMAPILogonInfo> Get_LogonInfo() override { return FLogonInfo; }
    [[nodiscard]] TKwRef<IKwMAPILogoffInfo> Get_LogoffInfo() override { return FLogoffInfo; }
    [[nodiscard]] mapi::ULONG_PTR GetParentWindow() const override;
    void Set_ParentWindow(mapi::ULONG_PTR window) override { FParentWindow = window; }
    [[nodiscard]] WideString Get_MAPIClient() const override { return FMAPIClient; }
    /// Another client's library than the loaded one replaces it at once.
    /// @throws EMAPI_CALL_FAILED        the session is active
    /// @throws EMAPI_INVALID_PARAMETER  there is no such client on this system
    void Set_MAPIClient(WideView client) override;
    [[nodiscard]] WideString Get_Version() const override;

    // The client library.
    void MAPILoad(const WideString& fileName, bool& extendedMAPI, bool& loaded) override;
    [[nodiscard]] bool MAPILoaded() const override;
    /// Initialises MAPI for this thread with the logon options.
    void MAPIInitialize() override;
    [[nodiscard]] bool MAPIInitialized() const override;
    void MAPIUnitialize() override;
    void MAPIUnload() override;

    // Stores.
    [[nodiscard]] TKwRef<IKwMAPITable> GetMsgStoresTable() override;
    [[nodiscard]] TKwMAPIEntryID GetDefaultMsgStoreID() override;
    [[nodiscard]] TKwRef<IKwMAPIMsgStore> OpenMsgStore(const TKwMAPIEntryID& entryID,
                                                       TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] TKwRef<IKwMAPIMsgStore> OpenDefaultMsgStore(TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] bool CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b) override;

    /// Loads and initialises MAPI when that has not been done; needs no logon.
    [[nodiscard]] TKwRef<IKwMAPIProfileAdmin> GetProfileAdmin() override;

    [[nodiscard]] TKwRef<IKwMAPIEntryIDList> CreateEntryIDList() override;
    [[nodiscard]] TKwRef<IKwMAPIPropList> CreatePropList() override;
    [[nodiscard]] TKwRef<IKwMAPIValueList> CreateValueList() override;
    [[nodiscard]] TKwRef<IKwMAPIPropValueList> CreatePropValueList() override;

    void DEventConnect(const TKwRef<IKwMAPISessionDEvents>& sink, bool connect) override;

    /// @throws EMAPI_NO_ACCESS  "You must logon before you can execute …!"
    void CheckActive(WideView methodName) const override;
    /// @throws EMAPI_NOT_SUPPORTED  "The … can only be used in combination with Extended MAPI!"
    void CheckUsingExtendedMAPI(WideView methodName) const;

    /// What the client notifies this session of: the end of a shared session that it joined logs it off.
    void OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications);

protected:
    ~TSession() override;
    void BeforeDestruction() noexcept override;
    mapi::HRESULT CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error) override;

private:
    class TSink;
    using TEventHandler = void (IKwMAPISessionDEvents::*)(IKwMAPISession&);

    [[nodiscard]] mapi::IMAPISession& MAPISession() const noexcept { return MAPIObjectAs<mapi::IMAPISession>(); }
    [[nodiscard]] bool GetCanUseUnicode() const noexcept { return UsesExtendedMAPI(); }
    void InternalLogon();
    void LogonSteps();
    void InternalLogoff();
    void InternalLogoff2();
    void ForgetLogon() noexcept;
    void ReleaseSessionCount() noexcept;
    void EnsureLibrary();
    void LoadLibrary(const WideString& path);
    void AdviseSession();
    void UnadviseSession();
    [[nodiscard]] bool DetectExchange();
    [[nodiscard]] bool HasMessageService(WideView serviceName);
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenMsgStoresTable();
    void TriggerEvent(TEventHandler handler);

    TKwRef<TKwMAPILogoffInfoImpl> FLogoffInfo;
    TKwRef<TKwMAPILogonInfoImpl> FLogonInfo;
    TKwEventConnections<IKwMAPISessionDEvents> FEvents;
    TKwComPtr<TSink> FSink;
    WideString FMAPIClient;
    mapi::ULONG_PTR FParentWindow = 0;
    mapi::ULONG_PTR FLogonWindow = 0;
    mapi::LHANDLE FSessionHandle = 0;
    mapi::ULONG_PTR FConnection = 0;
    std::thread::id FLogonThread;
    bool FActive = false;
    bool FLoggingOn = false;
    bool FLoggingOff = false;
    bool FCounted = false; // in the logon thread's session count
    bool FJoinedSession = false;
    bool FConnectedToExchange = false;
    bool FDestroying = false;
};

/// The same as TSession::Create, for callers that want no class.
[[nodiscard]] DEFTMAPI_API TKwRef<IKwMAPISession> CoSessionCreate();

} // namespace deftmapi
