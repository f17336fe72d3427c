// Sessions: options of logon and logoff, the sinks of session events, and what is known of a session or of MAPI.
#pragma once

#include "mapi/interfaces/Stores.hpp"

namespace deftmapi
{

/// Logon options. Their effect on each other: see TKwMAPILogonInfoImpl.
class IKwMAPILogonInfo : public virtual IKwMAPIObject
{
public:
#define DEFTMAPI_OPTION(Name)                                                                                          \
    [[nodiscard]] virtual WordBool Get_##Name() const noexcept = 0;                                                    \
    virtual void Set_##Name(WordBool value) noexcept = 0;
    DEFTMAPI_OPTION(Shared)
    DEFTMAPI_OPTION(ProfileRequired)
    DEFTMAPI_OPTION(UseExtendedMAPI)
    DEFTMAPI_OPTION(ForceDownload)
    DEFTMAPI_OPTION(ShowLogonDialog)
    DEFTMAPI_OPTION(NewSession)
    DEFTMAPI_OPTION(NoMail)
    DEFTMAPI_OPTION(NTService)
    DEFTMAPI_OPTION(ShowPasswordDialog)
    DEFTMAPI_OPTION(ShowServiceDialog)
    DEFTMAPI_OPTION(ShortTimeOut)
    DEFTMAPI_OPTION(MultiThreadedNotifications)
#undef DEFTMAPI_OPTION
    [[nodiscard]] virtual WideString Get_ProfileName() const = 0;
    virtual void Set_ProfileName(WideView name) = 0;
    [[nodiscard]] virtual WideString Get_Password() const = 0;
    virtual void Set_Password(WideView password) = 0;
    /// The MAPILogonEx flags of these options, without MAPI_UNICODE.
    [[nodiscard]] virtual mapi::ULONG Flags() const noexcept = 0;
};

class IKwMAPILogoffInfo : public virtual IKwMAPIObject
{
public:
    [[nodiscard]] virtual WordBool Get_Shared() const noexcept = 0;
    virtual void Set_Shared(WordBool value) noexcept = 0;
    [[nodiscard]] virtual WordBool Get_ShowLogoffDialog() const noexcept = 0;
    virtual void Set_ShowLogoffDialog(WordBool value) noexcept = 0;
    /// An integer value: MAPI_LOGOFF_SHARED and MAPI_LOGOFF_UI as the options say.
    [[nodiscard]] virtual TKwVariant Flags() const = 0;
};

/// Sinks of session events. Each call names the session.
class IKwMAPISessionDEvents : public virtual IKwInterface
{
public:
    /// FlushQueues could not make MAPI flush, and the client is Outlook: the application may do it through Outlook.
    /// @param flags  as given to FlushQueues
    virtual void OutlookFlushQueus(IKwMAPISession& session, mapi::ULONG flags) = 0;
    virtual void BeforeLogon(IKwMAPISession& session) = 0;
    virtual void AfterLogon(IKwMAPISession& session) = 0;
    virtual void BeforeLogoff(IKwMAPISession& session) = 0;
    virtual void AfterLogoff(IKwMAPISession& session) = 0;
};

/// Facts about the MAPI clients of this machine, each read when it is asked for. Needs no logon.
class IKwMAPIInfo : public virtual IKwMAPIObject
{
public:
    /// Of the MAPI subsystem, for example "1.0.0.1".
    [[nodiscard]] virtual WideString Get_Version() const = 0;
    /// The client library that is loaded; empty when none is.
    [[nodiscard]] virtual WideString Get_DllFileName() const = 0;
    /// True when the loaded library offers Extended MAPI.
    [[nodiscard]] virtual WordBool Get_ExtendedMAPI() const = 0;
    /// The system's default mail client; empty where none is set.
    [[nodiscard]] virtual WideString Get_DefaultClient() const = 0;
    /// The installed mail clients; Set_MAPIClient of the session takes those whose library offers what it needs.
    [[nodiscard]] virtual std::vector<WideString> GetClients() const = 0;
    /// For example "16.0"; empty when Outlook is not installed.
    [[nodiscard]] virtual WideString Get_OutlookVersion() const = 0;
};

/// Facts about a session that is logged on. It belongs to the session: of no use once that has ended.
class IKwMAPISessionInfo : public virtual IKwMAPIObject
{
public:
    [[nodiscard]] virtual WideString Get_ProfileName() = 0;
    [[nodiscard]] virtual WordBool Get_ConnectedToExchange() = 0;
    /// True when Outlook keeps a local copy of the Exchange mailbox and works with that.
    [[nodiscard]] virtual WordBool Get_CachedExchangeMode() = 0;
    /// The Exchange server of the mailbox. @throws EMAPI_NOT_SUPPORTED  not connected to Exchange
    [[nodiscard]] virtual WideString ServerName() = 0;
    /// The address-book entry of the profile's user.
    /// @throws EMAPI_NOT_FOUND    no message service of the profile supplies an identity
    /// @throws EMAPI_CALL_FAILED  it names something else than a user
    [[nodiscard]] virtual TKwRef<IKwMAPIProp> Get_Identity() = 0;
};

/// Loading of the MAPI client library and its initialisation for the calling thread.
class IKwMAPISessionProxy : public virtual IKwMAPIObject
{
public:
    /// @param fileName  empty finds the default library
    /// @param loaded    receives false when the system cannot load it
    virtual void MAPILoad(const WideString& fileName, WordBool& extendedMAPI, WordBool& loaded) = 0;
    [[nodiscard]] virtual WordBool MAPILoaded() const = 0;
    virtual void MAPIInitialize() = 0;
    [[nodiscard]] virtual WordBool MAPIInitialized() const = 0;
    virtual void MAPIUnitialize() = 0;
    virtual void MAPIUnload() = 0;
};

/// The object an application creates first (TSession::Create in mapi/session/uKwDeftMAPI.hpp).
class IKwMAPISession : public virtual IKwMAPISessionBase, public virtual IKwMAPISessionProxy
{
public:
    virtual void Logon() = 0;
    virtual void Logoff() = 0;
    virtual void Set_Active(WordBool active) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPILogonInfo> Get_LogonInfo() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPILogoffInfo> Get_LogoffInfo() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIInfo> Get_MAPIInfo() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPISessionInfo> GetSessionInfo() = 0;
    /// As set; 0 when none is. GetParentWindow is the one that dialogs get.
    [[nodiscard]] virtual mapi::ULONG_PTR Get_ParentWindow() const = 0;
    /// The window that MAPI dialogs get as parent; 0 for the application's (GetAppHandle). Set while logged on, it
    /// counts at once.
    virtual void Set_ParentWindow(mapi::ULONG_PTR window) = 0;
    /// The same as GetAppHandle.
    [[nodiscard]] virtual mapi::ULONG_PTR Get_AppHandle() const = 0;
    [[nodiscard]] virtual WideString Get_MAPIClient() const = 0;
    virtual void Set_MAPIClient(WideView client) = 0;
    /// For example "8.2.3.13 64-bit".
    [[nodiscard]] virtual WideString Get_Version() const = 0;

    // Stores and entries.

    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetMsgStoresTable() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetDefaultMsgStoreID() = 0;
    /// Makes a store the default store of the profile; Null leaves the profile without one.
    virtual void SetDefaultMsgStore(const TKwMAPIEntryID& entryID) = 0;
    /// Null when the profile has no public folders.
    [[nodiscard]] virtual TKwMAPIEntryID GetPublicFoldersMsgStoreID() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIMsgStore> OpenMsgStore(const TKwMAPIEntryID& entryID,
                                                               TKwMAPIAccessLevel accessLevel) = 0;
    /// On Simple MAPI a store with the Inbox, the Outbox and the IPM root, of which the Inbox alone can be looked into.
    [[nodiscard]] virtual TKwRef<IKwMAPIMsgStore> OpenDefaultMsgStore(TKwMAPIAccessLevel accessLevel) = 0;
    /// The mailbox of another user on the same Exchange server.
    /// @param userName  the mailbox's alias, or its distinguished name ("/o=…")
    [[nodiscard]] virtual TKwRef<IKwMAPIMsgStore> OpenOtherUsersMsgStore(WideView userName,
                                                                         TKwMAPIAccessLevel accessLevel) = 0;
    /// Store management of the default store's Exchange server.
    [[nodiscard]] virtual TKwComPtr<mapi::IExchangeManageStore> OpenExchangeManageStore() = 0;
    /// The store, folder or message of an identifier.
    [[nodiscard]] virtual TKwRef<IKwMAPIProp> OpenEntry(const TKwMAPIEntryID& entryID,
                                                        TKwMAPIAccessLevel accessLevel) = 0;
    /// Any object, as it comes from the client.
    /// @param iid         the interface asked for; null for the standard one of the object
    /// @param objectType  receives its kind
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenEntryEx(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                                mapi::ULONG flags, TKwMAPIObjectType& objectType) = 0;
    /// OpenEntry for an identifier that may be stale, or of a store that the session has not opened yet: every store of
    /// the profile is asked. False, and a null object, when none knows it.
    virtual WordBool FindEntry(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel,
                               TKwRef<IKwMAPIProp>& object) = 0;
    virtual WordBool FindEntryEx(const TKwMAPIEntryID& entryID, const mapi::GUID* iid, mapi::ULONG flags,
                                 TKwMAPIObjectType& objectType, TKwComPtr<mapi::IUnknown>& object) = 0;
    [[nodiscard]] virtual WordBool CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b) = 0;

    // Other services.

    [[nodiscard]] virtual TKwComPtr<mapi::IAddrBook> OpenAddressBook() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIStatusTable> GetStatusTable() = 0;
    /// Profile administration; works without a logon.
    [[nodiscard]] virtual TKwRef<IKwMAPIProfileAdmin> GetProfileAdmin() = 0;
    /// The message services of the profile that is logged on to.
    [[nodiscard]] virtual TKwRef<IKwMAPIAdminServices> GetAdminServices() = 0;
    /// A section of the profile. With alReadWrite a section that is missing is made by the client.
    /// @param uid  its 16 bytes
    [[nodiscard]] virtual TKwRef<IKwMAPIProfSect> OpenProfileSection(const TKwMAPIEntryID& uid,
                                                                     TKwMAPIAccessLevel accessLevel) = 0;
    // The same as those of the profile administration; without a logon, too.
    [[nodiscard]] virtual WideString GetDefaultProfile() = 0;
    [[nodiscard]] virtual WideString GetProfiles(WideView separator) = 0;
    [[nodiscard]] virtual WordBool HasDefaultProfile() = 0;
    [[nodiscard]] virtual TKwComPtr<mapi::IMAPIFormMgr> GetFormManager() = 0;
    /// Asks the spooler to send and fetch mail at once. @param flags  FLUSH_… of MAPI
    virtual void FlushQueues(mapi::ULONG flags) = 0;
    /// The folder dialog of the application's user interface, made by the procedure set with SetCreateFolderDialogProc.
    [[nodiscard]] virtual TKwRef<IKwInterface> CreateFolderDialog() = 0;

    // Factories.

    /// A new message in a special folder of the default store; not on disk until it is saved.
    /// @param messageClass  empty for the default of the folder
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> CreateMessage(TKwMAPIFolderType folderType, WideView messageClass) = 0;
    /// A new mail ("IPM.Note") in the Outbox of the default store, to be filled and submitted.
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> CreateMailMessage() = 0;
    /// A new message in a compound file (.msg), which must not exist yet. It is written when the message is saved.
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> CreateMsgFile(const WideString& fileName, WideView messageClass) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> OpenMsgFile(const WideString& fileName,
                                                             TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIEntryIDList> CreateEntryIDList() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIPropList> CreatePropList() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIValueList> CreateValueList() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIPropValueList> CreatePropValueList() = 0;
    /// Registers the definition of a property, as the functions of uKwMAPIProps do: by tag, by name, by number.
    virtual TKwMAPIPropDef RegisterProp(WideView name, std::uint16_t id, std::uint32_t type) = 0;
    virtual TKwMAPIPropDef RegisterProp(WideView name, const mapi::GUID& set, WideView stringName,
                                        std::uint32_t type) = 0;
    virtual TKwMAPIPropDef RegisterProp(WideView name, const mapi::GUID& set, std::uint32_t numericId,
                                        std::uint32_t type) = 0;

    // Errors.

    /// @throws EMAPI_NO_ACCESS  not logged on
    virtual void CheckActive(WideView methodName) const = 0;
    /// @throws EMAPI_NOT_SUPPORTED  the session runs on Simple MAPI
    virtual void CheckUsingExtendedMAPI(WideView methodName) const = 0;
    /// Returns when the result is 0. @throws what it stands for, with the client's own text where it has one
    virtual void CheckLastError(WideView methodName, mapi::HRESULT result) = 0;

    /// Connects or disconnects a sink; the session holds a reference while it is connected.
    /// @throws EMAPI_INVALID_PARAMETER  null is to be connected
    virtual void DEventConnect(const TKwRef<IKwMAPISessionDEvents>& sink, WordBool connect) = 0;
};

} // namespace deftmapi
