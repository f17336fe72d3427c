// Message stores: special folders, folders by identifier, type, name or path, messages, and what happens in the store
// as events.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwEdkMdbH.hpp"

#include <atomic>
#include <memory>

namespace deftmapi
{

enum class TKwContactEntryType : mapi::ULONG;
struct TKwMAPISpecialFolder;

/// Wraps one opened IMsgStore. On Simple MAPI it has none: three folders that are named by their types are all there
/// is.
class DEFTMAPI_API TKwMAPIMsgStore final : public TKwMAPIProp, public virtual IKwMAPIMsgStore
{
public:
    explicit TKwMAPIMsgStore(TKwMAPISessionBase& session);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIMsgStore"; }
    /// Also switches Unicode off for this object and all that is opened from it when the store cannot handle it. A
    /// store that loses its object, as at the session's logoff, ends its notifications before and tells its sinks
    /// after.
    void SetMAPIOBJECT(mapi::IUnknown* object) override;
    /// The access asked for. With alBestAccess the store tells whether writing is possible.
    void SetOpenedAs(TKwMAPIAccessLevel accessLevel);

    // Special folders.
    void GetReceiveFolder(mapi::ULONG& size, TKwMAPIBuffer<mapi::ENTRYID>& entryID) override;
    [[nodiscard]] mapi::HRESULT GetReceiveFolder() override;
    [[nodiscard]] TKwMAPIEntryID GetReceiveFolderID() override;
    [[nodiscard]] TKwMAPIEntryID GetInboxFolderID() override;
    [[nodiscard]] TKwMAPIEntryID GetOutboxFolderID() override { return GetFolderID(ftOutbox); }
    [[nodiscard]] TKwMAPIEntryID GetIPMRootFolderID() override { return GetFolderID(ftIPMRoot); }
    [[nodiscard]] TKwMAPIEntryID GetCommonFolderID() override { return GetFolderID(ftCommon); }
    [[nodiscard]] TKwMAPIEntryID GetPersonalFolderID() override { return GetFolderID(ftPersonal); }
    [[nodiscard]] TKwMAPIEntryID GetSearchFolderID() override { return GetFolderID(ftSearch); }
    [[nodiscard]] TKwMAPIEntryID GetSentItemsFolderID() override { return GetFolderID(ftSentItems); }
    [[nodiscard]] TKwMAPIEntryID GetDeletedFolderID() override { return GetFolderID(ftDeleted); }
    [[nodiscard]] TKwMAPIEntryID GetContactFolderID() override;
    /// @throws EMAPI_INVALID_PARAMETER  "You have specified an invalid FolderType": not exactly one of the known bits
    /// @throws EMAPI_NOT_SUPPORTED      not available on Simple MAPI
    [[nodiscard]] TKwMAPIEntryID GetFolderID(TKwMAPIFolderType folderType) override;
    [[nodiscard]] TKwMAPIEntryID Get_FolderID(TKwMAPIFolderType folderType) override { return GetFolderID(folderType); }

    /// The kind of a folder by its identifier: the first of the special folders that are not known by their class alone
    /// which has it; ftPlain when none has.
    [[nodiscard]] TKwMAPIFolderType FindFolderType(const TKwMAPIEntryID& entryID);

    // Opening. alReadWrite on a store that was opened read-only is refused.
    /// Null opens the root folder of the store.
    /// @param iid    null asks for the standard interface of the object's kind
    /// @param flags  MAPI_MODIFY, MAPI_BEST_ACCESS, …
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                      mapi::ULONG flags, mapi::ULONG& objectType) override;
    /// @throws EMAPI_INVALID_PARAMETER  there is no identifier, or it is that of something else
    [[nodiscard]] TKwRef<IKwMAPIContainer> OpenContainer(const TKwMAPIEntryID& entryID,
                                                         TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] TKwRef<IKwMAPIFolder> OpenFolder(const TKwMAPIEntryID& entryID,
                                                   TKwMAPIAccessLevel accessLevel) override;
    /// @throws EMAPI_NOT_FOUND  the store has no folder of this type
    [[nodiscard]] TKwRef<IKwMAPIFolder> OpenFolderByType(TKwMAPIFolderType folderType,
                                                         TKwMAPIAccessLevel accessLevel) override;
    /// @throws EMAPI_NOT_FOUND  there is no folder of that name
    [[nodiscard]] TKwRef<IKwMAPIFolder> OpenFolderByName(WideView name, TKwMAPIAccessLevel accessLevel) override;
    /// @throws EMAPI_INVALID_PARAMETER  unknown keyword, or no folder of that name; names match without regard to case
    [[nodiscard]] TKwRef<IKwMAPIFolder> OpenFolderByPath(WideView path, TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] WordBool CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b) override;

    // Messages.
    [[nodiscard]] TKwRef<IKwMAPIMessage> CreateMessage(TKwMAPIFolderType folderType, WideView messageClass) override;
    [[nodiscard]] TKwRef<IKwMAPIMessage> OpenMessage(const TKwMAPIEntryID& entryID,
                                                     TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] TKwComPtr<mapi::IMessage> OpenRawMessage(const TKwMAPIEntryID& entryID,
                                                           TKwMAPIAccessLevel accessLevel) override;
    WordBool FindMessage(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel,
                         TKwRef<IKwMAPIMessage>& message) override;
    WordBool SearchMessage(const TKwVariant& searchKey, TKwMAPIAccessLevel accessLevel,
                           TKwRef<IKwMAPIMessage>& message) override;
    /// @throws as TKwMAPIFolder::ImportMessage
    [[nodiscard]] TKwRef<IKwMAPIMessage> OpenSavedMessage(const WideString& fileName,
                                                          TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] TKwRef<IKwMAPIMessage> OpenDroppedMessage(mapi::IStorage& storage,
                                                            TKwMAPIAccessLevel accessLevel) override;
    /// @throws EMAPI_COLLISION  the file exists already
    void SaveDroppedMessage(mapi::IStorage& storage, const WideString& fileName) override;

    // Outlook's address book. @throws EMAPI_INVALID_PARAMETER  the identifier is of another kind or of another store
    [[nodiscard]] TKwRef<IKwMAPIFolder> FindABFolder(const TKwMAPIEntryID& containerID,
                                                     TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] TKwRef<IKwMAPIMessage> FindABContact(const TKwMAPIEntryID& entryID,
                                                       TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] TKwRef<IKwMAPIMessage> FindABDistList(const TKwMAPIEntryID& entryID,
                                                        TKwMAPIAccessLevel accessLevel) override;

    // Exchange.
    /// @throws EMAPI_INTERFACE_NOT_SUPPORTED  the store is not one of Exchange
    [[nodiscard]] TKwComPtr<mapi::IExchangeManageStore> Get_AsExchangeManageStore() override;
    [[nodiscard]] TKwMAPIExchangeType Get_ExchangeStoreType() override;
    /// @throws EMAPI_NOT_SUPPORTED  the store is no mailbox on an Exchange server
    [[nodiscard]] TKwRef<IKwMAPIOOF> OpenOOF() override;
    [[nodiscard]] WideString GetMRMConfig() override;

    // Events.
    void DEventConnect(const TKwRef<IKwMAPIMsgStoreDEvents>& sink, WordBool connect) override;
    /// Counts the sinks: notifications begin with the first and end with the last. DEventConnect calls it.
    void EventSinkChanged(bool connected);
    /// @throws EMAPI_CALL_FAILED    "The messagestore notification system has already been activated!"
    /// @throws EMAPI_NOT_SUPPORTED  the store does not notify, or is that of the public folders
    void Advise();
    /// Ends notifications: on return no sink is being called on another thread. Does nothing when they are off.
    void UnAdvise();
    [[nodiscard]] WordBool Get_Advised() const noexcept override;
    /// What the client calls through the advise sink: hands each notification to its dispatcher. What a sink throws
    /// leaves it (see KwCallServerSink) when all have been called. A sink may destroy the store: nothing more is called
    /// then.
    void OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications);

    /// What an object notification tells.
    struct TObjectEvent
    {
        TKwMAPIEntryID EntryID = TKwNull{};
        TKwMAPIObjectType ObjectType = otUnknown;
        TKwMAPIEntryID ParentID = TKwNull{};
        TKwMAPIEntryID OldID = TKwNull{};
        TKwMAPIEntryID OldParentID = TKwNull{};
        TKwRef<IKwMAPIPropList> Properties;
    };
    // The dispatchers: each calls every connected sink, in the order of their connection.
    void DoOnSessionLogoff();
    void DoOnNewMessage(const TKwMAPIEntryID& folderID, const TKwMAPIEntryID& messageID,
                        const WideString& messageClass);
    void DoOnObjectCreated(const TObjectEvent& event);
    void DoOnObjectDeleted(const TObjectEvent& event);
    void DoOnObjectModified(const TObjectEvent& event);
    void DoOnObjectMoved(const TObjectEvent& event);
    void DoOnObjectCopied(const TObjectEvent& event);

protected:
    ~TKwMAPIMsgStore() override;
    /// A store that nobody holds any more tells its sinks nothing. It ends on the thread that drops the last reference,
    /// which waits for what the client is delivering on another one.
    void BeforeDestruction() noexcept override;

private:
    [[nodiscard]] mapi::IMsgStore& MsgStore() const noexcept { return MAPIObjectAs<mapi::IMsgStore>(); }
    [[nodiscard]] mapi::HRESULT CallGetReceiveFolder(mapi::ULONG& size, TKwMAPIBuffer<mapi::ENTRYID>& entryID);
    [[nodiscard]] TKwMAPIEntryID ReceiveFolderID(WideView methodName);
    [[nodiscard]] TKwRef<IKwMAPIFolder> OpenReceiveFolder();
    [[nodiscard]] TKwMAPIEntryID FolderIDFromInbox(const TKwMAPISpecialFolder& special, IKwMAPIFolder* inbox);
    [[nodiscard]] TKwMAPIEntryID FindFolderOfClass(WideView containerClass);
    void CheckStoreAccess(bool write);
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenObject(WideView methodName, const TKwMAPIEntryID& entryID,
                                                       const mapi::GUID& iid, TKwMAPIAccessLevel accessLevel,
                                                       mapi::ULONG objectType);
    [[nodiscard]] TKwMAPIEntryID _SearchMessage(IKwMAPIFolder& folder, const TKwVariant& searchKey);
    [[nodiscard]] TKwMAPIEntryID FromAddressBook(WideView methodName, const TKwMAPIEntryID& entryID,
                                                 TKwContactEntryType type);
    [[nodiscard]] std::uint32_t SupportMask();
    void CheckCanAdvise();
    [[nodiscard]] mapi::HRESULT EndConnection(mapi::ULONG_PTR connection);
    [[nodiscard]] mapi::HRESULT EndAdvise();
    void EndAdviseQuietly() noexcept;
    void OnStoreEvent(const mapi::NOTIFICATION& told);

    const std::shared_ptr<TKwAdvised<TKwMAPIMsgStore, IKwMAPIMsgStoreDEvents>> FAdvised;
    std::atomic<std::int32_t> FSinkCount = 0; // a sink on the client's thread may be the last to go
};

} // namespace deftmapi
