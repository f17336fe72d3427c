// The session: logon options, logon and logoff with their events, and the way to message stores.
//
// An application creates a session first and keeps it for as long as it works with MAPI. Every object that a session
// gives out holds a reference on it, so the client library stays initialised until the last of them is gone; logging
// off makes them all inactive at once.
#pragma once

#include "mapi/core/ComObject.hpp"
#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/core/uKwMAPILib.hpp"
#include "mapi/headers/uKwEdkMdbH.hpp"
#include "mapi/headers/uKwMAPIComH.hpp"
#include "mapi/headers/uKwMAPIFormH.hpp"
#include "mapi/headers/uKwMAPISessionH.hpp"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <vector>

namespace deftmapi
{

/// Logoff options.
class DEFTMAPI_API TKwMAPILogoffInfoImpl final : public TKwMAPIObject, public virtual IKwMAPILogoffInfo
{
public:
    TKwMAPILogoffInfoImpl() : TKwMAPIObject(nullptr) {}

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPILogoffInfoImpl"; }
    [[nodiscard]] WordBool Get_Shared() const noexcept override { return FShared; }
    void Set_Shared(WordBool value) noexcept override { FShared = value; }
    [[nodiscard]] WordBool Get_ShowLogoffDialog() const noexcept override { return FShowLogoffDialog; }
    void Set_ShowLogoffDialog(WordBool value) noexcept override { FShowLogoffDialog = value; }
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
    [[nodiscard]] WordBool Get_##Name() const noexcept override                                                        \
    {                                                                                                                  \
        return F##Name;                                                                                                \
    }                                                                                                                  \
    void Set_##Name(WordBool value) noexcept override                                                                  \
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
    [[nodiscard]] WordBool Get_Shared() const noexcept override
    {
        return FShared;
    }
    void Set_Shared(WordBool value) noexcept override;
    [[nodiscard]] WordBool Get_NTService() const noexcept override
    {
        return FNTService;
    }
    void Set_NTService(WordBool value) noexcept override;
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

/// What the MAPI clients of this machine are.
class DEFTMAPI_API TKwMAPIInfo final : public TKwMAPIObject, public virtual IKwMAPIInfo
{
public:
    TKwMAPIInfo() : TKwMAPIObject(nullptr) {}

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIInfo"; }
    [[nodiscard]] WideString Get_Version() const override;
    [[nodiscard]] WideString Get_DllFileName() const override;
    [[nodiscard]] WordBool Get_ExtendedMAPI() const override;
    [[nodiscard]] WideString Get_DefaultClient() const override;
    [[nodiscard]] std::vector<WideString> GetClients() const override;
    [[nodiscard]] WideString Get_OutlookVersion() const override;
};

class TSession;

/// What a session that is logged on is. It does not keep its session alive, and every operation needs the logon.
class DEFTMAPI_API TKwMAPISessionInfo final : public TKwMAPIObject, public virtual IKwMAPISessionInfo
{
public:
    explicit TKwMAPISessionInfo(TSession& session);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPISessionInfo"; }
    /// As the row of the MAPI subsystem in the status table names it.
    [[nodiscard]] WideString Get_ProfileName() override;
    [[nodiscard]] WordBool Get_ConnectedToExchange() override;
    /// As the profile has it now, connected to Exchange: its connection flags say it (0x8000 of
    /// PR_PROFILE_CONNECT_FLAGS and 0x4000 of PR_PROFILE_UI_STATE), or the default store says that it is a local one
    /// (STORE_LOCALSTORE).
    [[nodiscard]] WordBool Get_CachedExchangeMode() override;
    /// PR_PROFILE_HOME_SERVER of the profile's global section.
    /// @throws EMAPI_NOT_SUPPORTED  "The ServerName can only be used when connected to an Exchange Server!"
    [[nodiscard]] WideString ServerName() override;
    [[nodiscard]] TKwRef<IKwMAPIProp> Get_Identity() override;

private:
    TSession& CheckSession(WideView methodName) const;
};

/// The client library without a session: the six operations, forwarded. MAPIInitialize initialises for Extended MAPI
/// with the default options.
class DEFTMAPI_API TKwMAPISessionProxy final : public TKwMAPIObject, public virtual IKwMAPISessionProxy
{
public:
    TKwMAPISessionProxy() : TKwMAPIObject(nullptr) {}

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPISessionProxy"; }
    /// The library stays loaded until MAPIUnload.
    void MAPILoad(const WideString& fileName, WordBool& extendedMAPI, WordBool& loaded) override;
    [[nodiscard]] WordBool MAPILoaded() const override;
    void MAPIInitialize() override;
    [[nodiscard]] WordBool MAPIInitialized() const override;
    void MAPIUnitialize() override;
    void MAPIUnload() override;
};

/// A stream of the application's as an IStream, for MAPI calls that read from one or write into one. Failures of the
/// stream are results: STG_E_READFAULT, STG_E_WRITEFAULT, STG_E_SEEKERROR. Writing behind the end fills the gap with
/// zeros, 256 MB of them at most.
class DEFTMAPI_API TKwMAPIStreamAdapter final
    : public TKwComObject<mapi::IStream, mapi::IID_ISequentialStream, mapi::IID_IStream>
{
public:
    /// Starts at the stream's position. REQUIRES: nobody else moves the stream while the adapter is in use.
    [[nodiscard]] static TKwComPtr<TKwMAPIStreamAdapter> Create(std::shared_ptr<std::iostream> stream);

    mapi::HRESULT DEFTMAPI_STDCALL Read(void* buffer, mapi::ULONG count, mapi::ULONG* read) override;
    mapi::HRESULT DEFTMAPI_STDCALL Write(const void* buffer, mapi::ULONG count, mapi::ULONG* written) override;
    mapi::HRESULT DEFTMAPI_STDCALL Seek(mapi::LARGE_INTEGER move, mapi::DWORD origin,
                                        mapi::ULARGE_INTEGER* newPosition) override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyTo(mapi::IStream* target, mapi::ULARGE_INTEGER count, mapi::ULARGE_INTEGER* read,
                                          mapi::ULARGE_INTEGER* written) override;
    /// Flushes the stream.
    mapi::HRESULT DEFTMAPI_STDCALL Commit(mapi::DWORD flags) override;
    /// Tells the size, and neither name nor times.
    mapi::HRESULT DEFTMAPI_STDCALL Stat(mapi::STATSTG* stat, mapi::DWORD flags) override;

    // Refused: a stream of the standard library has none of these.
    mapi::HRESULT DEFTMAPI_STDCALL SetSize(mapi::ULARGE_INTEGER size) override;
    mapi::HRESULT DEFTMAPI_STDCALL Revert() override;
    mapi::HRESULT DEFTMAPI_STDCALL LockRegion(mapi::ULARGE_INTEGER offset, mapi::ULARGE_INTEGER count,
                                              mapi::DWORD lockType) override;
    mapi::HRESULT DEFTMAPI_STDCALL UnlockRegion(mapi::ULARGE_INTEGER offset, mapi::ULARGE_INTEGER count,
                                                mapi::DWORD lockType) override;
    mapi::HRESULT DEFTMAPI_STDCALL Clone(mapi::IStream** stream) override;

private:
    explicit TKwMAPIStreamAdapter(std::shared_ptr<std::iostream> stream);
    ~TKwMAPIStreamAdapter() override = default;

    std::shared_ptr<std::iostream> FStream;
    std::uint64_t FPosition = 0;
};

/// What the flush-queues event carries.
struct TOutlookFlushQueusEventParams
{
    mapi::ULONG Flags = 0; ///< as given to FlushQueues
};
using POutlookFlushQueusEventParams = TOutlookFlushQueusEventParams*;

/// The session component.
/// REQUIRES: created, logged on, logged off and destroyed on one thread. With MultiThreadedNotifications a logoff that
/// a notification causes runs on the client's thread, and so may the end of a session whose last reference it drops. As
/// only a thread itself can uninitialise MAPI for it, the thread then stays initialised until its next session ends, or
/// until it calls MAPIUnitialize.
class DEFTMAPI_API TSession final : public TKwMAPISessionBase, public virtual IKwMAPISession
{
public:
    TSession();
    /// A new session, not logged on.
    [[nodiscard]] static TKwRef<IKwMAPISession> Create();

    [[nodiscard]] WideString GetClassName() const override { return u"TSession"; }

    // State.
    [[nodiscard]] WordBool Get_Active() const noexcept override { return FActive.load(); }
    /// Does nothing, and fires nothing, when the session is in that state already. A logon that fails leaves the
    /// session inactive, and what needs no logon (message files, profile administration) as it was.
    ///
    /// Logon and logoff never overlap. A logoff that is asked for during a logon (once the session is active), by a
    /// sink or a notification, is done at its end, after AfterLogon; when the logon was a sink's in a logoff, at the
    /// end of that. On the session's own thread both wait for a logoff that runs on the client's.
    ///
    /// Each event is told to all sinks. What the first one of them raises is raised when all have been told.
    /// @throws EMAPI_LOGON_FAILED  no such profile, wrong password, …
    /// @throws EMAPI_CALL_FAILED   the client library cannot be loaded or offers no Extended MAPI
    void Set_Active(WordBool active) override;
    void Logon() override { Set_Active(true); }
    void Logoff() override { Set_Active(false); }
    /// While logged on: how the session was logged on. Else what the option says.
    [[nodiscard]] WordBool UsesExtendedMAPI() const noexcept override
    {
        return FActive ? WordBool(FExtendedLogon) : FLogonInfo->Get_UseExtendedMAPI();
    }
    [[nodiscard]] WordBool Get_ConnectedToExchange() const noexcept override { return FConnectedToExchange; }
    [[nodiscard]] TKwRef<IKwMAPILogonInfo> Get_LogonInfo() override { return FLogonInfo; }
    [[nodiscard]] TKwRef<IKwMAPILogoffInfo> Get_LogoffInfo() override { return FLogoffInfo; }
    [[nodiscard]] TKwRef<IKwMAPIInfo> Get_MAPIInfo() override { return FMAPIInfo; }
    /// The same object until the logoff. @throws EMAPI_NO_ACCESS  not logged on
    [[nodiscard]] TKwRef<IKwMAPISessionInfo> GetSessionInfo() override;
    /// As found at logon.
    [[nodiscard]] bool Get_CachedExchangeMode() const noexcept { return FCachedExchangeMode; }
    /// The one window of every call that may show a dialog: ParentWindow, else the application's (GetAppHandle). It is
    /// fetched at logon and kept until the logoff; only Set_ParentWindow changes it meanwhile.
    [[nodiscard]] mapi::ULONG_PTR GetParentWindow() const override;
    [[nodiscard]] mapi::ULONG_PTR Get_ParentWindow() const override { return FParentWindow; }
    void Set_ParentWindow(mapi::ULONG_PTR window) override;
    /// As set with SetAppHandle.
    [[nodiscard]] mapi::ULONG_PTR GetAppHandle() const override;
    [[nodiscard]] mapi::ULONG_PTR Get_AppHandle() const override { return GetAppHandle(); }
    [[nodiscard]] WideString Get_MAPIClient() const override { return FMAPIClient; }
    /// Another client's library than the loaded one replaces it at once. This thread is then no longer initialised, and
    /// stays so until the next logon or MAPIInitialize.
    /// @throws EMAPI_CALL_FAILED        the session is active, or the loaded library is in use by another session or
    ///                                  thread: nothing has changed then; or the other library does not do: none is
    ///                                  loaded then
    /// @throws EMAPI_INVALID_PARAMETER  there is no such client on this system
    void Set_MAPIClient(WideView client) override;
    [[nodiscard]] WideString Get_Version() const override;

    // The client library.

    /// The library stays loaded until MAPIUnload.
    void MAPILoad(const WideString& fileName, WordBool& extendedMAPI, WordBool& loaded) override;
    [[nodiscard]] WordBool MAPILoaded() const override;
    /// Initialises MAPI for this thread with the logon options; while logged on, with those of the logon. Loads the
    /// library of MAPIClient when none is loaded.
    void MAPIInitialize() override;
    [[nodiscard]] WordBool MAPIInitialized() const override;
    void MAPIUnitialize() override;
    /// Sessions that are not logged on drop their MAPI objects, as at a logoff, before the library goes: by this, by
    /// Set_MAPIClient or with the last thread that is uninitialised. REQUIRES: nobody uses such an object meanwhile.
    /// @throws EMAPI_CALL_FAILED  a thread is still initialised; nothing has changed
    void MAPIUnload() override;

    // Stores and entries.
    [[nodiscard]] TKwRef<IKwMAPITable> GetMsgStoresTable() override;
    /// @throws EMAPI_CALL_FAILED  "Failed to determine the default messagestore!"
    [[nodiscard]] TKwMAPIEntryID GetDefaultMsgStoreID() override;
    /// @throws EMAPI_NOT_FOUND  the profile has no such store
    void SetDefaultMsgStore(const TKwMAPIEntryID& entryID) override;
    [[nodiscard]] TKwMAPIEntryID GetPublicFoldersMsgStoreID() override;
    [[nodiscard]] TKwRef<IKwMAPIMsgStore> OpenMsgStore(const TKwMAPIEntryID& entryID,
                                                       TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] TKwRef<IKwMAPIMsgStore> OpenDefaultMsgStore(TKwMAPIAccessLevel accessLevel) override;
    /// The organisation and site of the mailbox are those of the profile's own (PR_PROFILE_MAILBOX).
    /// @throws EMAPI_NOT_SUPPORTED  not connected to Exchange
    [[nodiscard]] TKwRef<IKwMAPIMsgStore> OpenOtherUsersMsgStore(WideView userName,
                                                                 TKwMAPIAccessLevel accessLevel) override;
    /// @throws EMAPI_INTERFACE_NOT_SUPPORTED  the default store is not one of Exchange
    [[nodiscard]] TKwComPtr<mapi::IExchangeManageStore> OpenExchangeManageStore() override;
    /// @throws EMAPI_CALL_FAILED  "The given EntryID can't be opened!": it is no store, folder or message
    /// @throws as OpenEntryEx
    [[nodiscard]] TKwRef<IKwMAPIProp> OpenEntry(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel) override;
    /// @throws EMAPI_INVALID_PARAMETER  "An invalid (empty) EntryID was specified!"
    /// @throws EMAPI_NOT_FOUND, EMAPI_NO_ACCESS and others
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenEntryEx(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                        mapi::ULONG flags, TKwMAPIObjectType& objectType) override;
    WordBool FindEntry(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel,
                       TKwRef<IKwMAPIProp>& object) override;
    WordBool FindEntryEx(const TKwMAPIEntryID& entryID, const mapi::GUID* iid, mapi::ULONG flags,
                         TKwMAPIObjectType& objectType, TKwComPtr<mapi::IUnknown>& object) override;
    [[nodiscard]] WordBool CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b) override;

    // Other services.
    [[nodiscard]] TKwComPtr<mapi::IAddrBook> OpenAddressBook() override;
    [[nodiscard]] TKwRef<IKwMAPIStatusTable> GetStatusTable() override;
    /// Loads and initialises MAPI when that has not been done; needs no logon.
    [[nodiscard]] TKwRef<IKwMAPIProfileAdmin> GetProfileAdmin() override;
    [[nodiscard]] TKwRef<IKwMAPIAdminServices> GetAdminServices() override;
    /// @throws EMAPI_INVALID_PARAMETER  "An invalid ProfileUID was provided!"
    [[nodiscard]] TKwRef<IKwMAPIProfSect> OpenProfileSection(const TKwMAPIEntryID& uid,
                                                             TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] WideString GetDefaultProfile() override;
    [[nodiscard]] WideString GetProfiles(WideView separator) override;
    [[nodiscard]] WordBool HasDefaultProfile() override;
    /// @throws EMAPI_NOT_SUPPORTED  "The FormManager is only supported by Microsoft Outlook!!"
    [[nodiscard]] TKwComPtr<mapi::IMAPIFormMgr> GetFormManager() override;
    /// With Outlook the event OutlookFlushQueus is fired when MAPI cannot do it.
    /// @throws EMAPI_NO_SUPPORT  there is no spooler, or it cannot, and the client is not Outlook
    /// @throws EMAPI_BUSY        it is flushing already
    void FlushQueues(mapi::ULONG flags) override;
    /// @throws EMAPI_NOT_SUPPORTED  no procedure is set
    [[nodiscard]] TKwRef<IKwInterface> CreateFolderDialog() override;

    // Factories.
    [[nodiscard]] TKwRef<IKwMAPIMessage> CreateMessage(TKwMAPIFolderType folderType, WideView messageClass) override;
    [[nodiscard]] TKwRef<IKwMAPIMessage> CreateMailMessage() override;
    // Compound files need a client library or a system that has structured storage and MAPI's messages on it.
    // @throws EMAPI_NO_SUPPORT  there is no structured storage
    [[nodiscard]] TKwRef<IKwMAPIMessage> CreateMsgFile(const WideString& fileName, WideView messageClass) override;
    [[nodiscard]] TKwRef<IKwMAPIMessage> OpenMsgFile(const WideString& fileName,
                                                     TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] TKwRef<IKwMAPIEntryIDList> CreateEntryIDList() override;
    [[nodiscard]] TKwRef<IKwMAPIPropList> CreatePropList() override;
    [[nodiscard]] TKwRef<IKwMAPIValueList> CreateValueList() override;
    [[nodiscard]] TKwRef<IKwMAPIPropValueList> CreatePropValueList() override;
    TKwMAPIPropDef RegisterProp(WideView name, std::uint16_t id, std::uint32_t type) override;
    TKwMAPIPropDef RegisterProp(WideView name, const mapi::GUID& set, WideView stringName, std::uint32_t type) override;
    TKwMAPIPropDef RegisterProp(WideView name, const mapi::GUID& set, std::uint32_t numericId,
                                std::uint32_t type) override;

    void DEventConnect(const TKwRef<IKwMAPISessionDEvents>& sink, WordBool connect) override;

    /// @throws EMAPI_NO_ACCESS  "You must logon before you can execute …!"
    void CheckActive(WideView methodName) const override;
    /// @throws EMAPI_NOT_SUPPORTED  "The … can only be used in combination with Extended MAPI!"
    void CheckUsingExtendedMAPI(WideView methodName) const override;
    void CheckLastError(WideView methodName, mapi::HRESULT result) override
    {
        TKwMAPISessionBase::CheckLastError(methodName, result);
    }

    /// The session of MAPILogon; 0 unless the session was logged on to Simple MAPI.
    [[nodiscard]] mapi::LHANDLE SimpleMAPIHandle() const noexcept { return FSessionHandle; }

    /// What the client notifies this session of: the end of a shared session that it joined logs it off.
    void OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications);

protected:
    ~TSession() override;
    void BeforeDestruction() noexcept override;
    mapi::HRESULT CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error) override;

private:
    class TSink;
    friend class TKwMAPISessionInfo;

    /// @throws EMAPI_NO_ACCESS  the session has ended, perhaps in the middle of an operation that dispatched its end
    [[nodiscard]] mapi::IMAPISession& MAPISession() const;
    /// Calls the client's session, which is kept for it. The client may deliver notifications before it returns, so the
    /// session may have ended: what the call gave is of no use then.
    /// @throws EMAPI_NO_ACCESS  the session is not, or no longer, logged on
    template <typename Call>
    mapi::HRESULT CallSession(WideView methodName, Call&& call)
    {
        const TKwComPtr<mapi::IMAPISession> session(&MAPISession());
        const mapi::HRESULT hr = std::forward<Call>(call)(*session);
        if (Get_MAPIOBJECT() != session.Get())
            RaiseMustLogon(methodName);
        return hr;
    }
    [[noreturn]] static void RaiseMustLogon(WideView methodName);
    /// CheckActive and CheckUsingExtendedMAPI.
    void CheckReady(WideView methodName) const;
    /// Whether to ask nobody anything.
    [[nodiscard]] bool IsService() const noexcept
    {
        return FActive ? WordBool(FServiceLogon) : FLogonInfo->Get_NTService();
    }
    [[nodiscard]] bool GetCanUseUnicode() const noexcept { return UsesExtendedMAPI(); }
    void DoLogon();
    /// @param fromClient  the client asks, by a notification: it must not be kept waiting
    void DoLogoff(bool fromClient);
    [[nodiscard]] mapi::ULONG_PTR FreshWindow() const;
    void AwaitLogoffElsewhere(std::unique_lock<std::mutex>& lock);
    void DropOpenedSince(const std::vector<TKwRef<TKwMAPIWrapper>>& before);
    void InternalLogon();
    void LogonSteps(std::vector<TKwRef<TKwMAPIWrapper>>& openBefore);
    void InternalLogoff();
    void InternalLogoff2();
    void ForgetLogon() noexcept;
    void EnsureLibrary();
    static void BeforeUnload();
    void DetachSink() noexcept;
    void LoadLibrary(const WideString& path);
    void AdviseSession();
    void UnadviseSession();
    [[nodiscard]] WideString ClientName() const;
    [[nodiscard]] bool DetectExchange();
    [[nodiscard]] bool DetectCachedMode();
    [[nodiscard]] TKwRef<IKwMAPIMsgStore> OpenStore(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel,
                                                    mapi::ULONG options);
    [[nodiscard]] TKwRef<IKwMAPIProfSect> OpenSection(const TKwMAPIEntryID& uid, TKwMAPIAccessLevel accessLevel,
                                                      bool mayBeMissing);
    [[nodiscard]] TKwRef<IKwMAPIProfSect> FindGlobalSection();
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenStatusTable();
    [[nodiscard]] TKwComPtr<mapi::IMAPIStatus> OpenSpooler();
    [[nodiscard]] TKwMAPIEntryID FindMsgStore(TKwMAPIPropDef def, const TKwVariant& value);
    [[nodiscard]] mapi::HRESULT CallOpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid, mapi::ULONG flags,
                                              mapi::ULONG& objectType, TKwComPtr<mapi::IUnknown>& object);
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenObject(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                       mapi::ULONG flags, TKwMAPIObjectType& objectType);
    [[nodiscard]] TKwRef<IKwMAPIProp> WrapEntry(TKwMAPIObjectType objectType, mapi::IUnknown& object,
                                                TKwMAPIAccessLevel accessLevel);
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenMsgStoresTable();
    void DoBeforeLogon();
    void DoAfterLogon();
    void DoBeforeLogoff();
    void DoAfterLogoff();
    void OutlookFlushQueusEvent(mapi::ULONG flags);
    using TEventHandler = void (*)(IKwMAPISessionDEvents& sink, TSession& session, void* data);
    void TriggerEvent(TEventHandler handler, void* data = nullptr);

    TKwRef<TKwMAPILogoffInfoImpl> FLogoffInfo;
    TKwRef<TKwMAPILogonInfoImpl> FLogonInfo;
    TKwRef<TKwMAPIInfo> FMAPIInfo;
    TKwRef<TKwMAPISessionInfo> FSessionInfo;
    TKwEventConnections<IKwMAPISessionDEvents> FEvents;
    TKwComPtr<TSink> FSink; // until the next logon: to wait for a logoff that it has started
    WideString FMAPIClient;
    std::atomic<mapi::ULONG_PTR> FParentWindow{0};
    std::atomic<mapi::ULONG_PTR> FLogonWindow{0}; // 0: none, or not logged on
    mapi::LHANDLE FSessionHandle = 0;
    mapi::ULONG_PTR FConnection = 0;
    const TKwMAPIThread FHomeThread = KwMAPIThread();
    TKwMAPIThread FLogonThread = 0;
    // A notification logs off on the client's thread.
    std::atomic<bool> FActive{false};
    std::mutex FStateLock; // for what follows
    std::condition_variable FLogoffDone;
    bool FLoggingOn = false;
    bool FLoggingOff = false;
    bool FLogoffAsked = false;      // while logging on, or for what follows
    bool FLoggedOnInLogoff = false; // by a sink
    TKwMAPIThread FLogoffThread = 0;
    std::mutex FSinkLock; // for FSink and FConnection
    bool FExtendedLogon = false;
    bool FMultiThreadedLogon = false;
    bool FServiceLogon = false;
    std::atomic<bool> FCounted{false}; // in the logon thread's session count
    bool FJoinedSession = false;
    bool FServiceAlone = false; // logged on as a Windows service that shares its session with nobody
    bool FConnectedToExchange = false;
    bool FCachedExchangeMode = false;
    std::atomic<bool> FDestroying{false};
};

/// Makes sessions, and counts those that live: a program that unloads the library asks before it does.
class DEFTMAPI_API TKwMAPIAutoObjectFactory
{
public:
    /// A new session, not logged on.
    [[nodiscard]] static TKwRef<IKwMAPISession> CreateComObject();
    /// Of all threads.
    [[nodiscard]] static std::int32_t LiveSessions() noexcept;
};

/// The same as TKwMAPIAutoObjectFactory::CreateComObject.
[[nodiscard]] DEFTMAPI_API TKwRef<IKwMAPISession> CoSessionCreate();

/// The window that MAPI dialogs belong to when a session has no ParentWindow: the application's main window.
/// Process-wide; 0, for none, until it is set.
DEFTMAPI_API void SetAppHandle(mapi::ULONG_PTR window) noexcept;

/// Makes the folder dialog of the application's user interface for a session.
using TKwCreateFolderDialogProc = std::function<TKwRef<IKwInterface>(IKwMAPISession& session)>;
/// Sets the procedure of CreateFolderDialog; an empty one removes it. Process-wide, set before it is used.
DEFTMAPI_API void SetCreateFolderDialogProc(TKwCreateFolderDialogProc proc);

} // namespace deftmapi
