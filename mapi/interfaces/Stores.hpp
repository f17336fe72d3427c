// Containers, folders and message stores, the sinks of store events, and the out-of-office assistant.
#pragma once

#include "mapi/interfaces/Messages.hpp"

namespace mapi
{
struct IExchangeExportChanges; // Exchange's own, see uKwEdkMdbH.hpp
struct IExchangeManageStore;
} // namespace mapi

namespace deftmapi
{

class IKwMAPIContainer : public virtual IKwMAPIProp
{
public:
    [[nodiscard]] virtual TKwMAPIContainerType Get_ContainerType() = 0;
    [[nodiscard]] virtual WideString Get_ContainerClass() = 0;
    virtual void Set_ContainerClass(WideView containerClass) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetContentsTable() = 0;
    /// @param deep  all levels below the container in one table, each folder before its own subfolders
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetHierarchyTable(WordBool deep) = 0;
    /// An object of the container as it comes from MAPI.
    /// @param iid         the interface asked for; null for the standard one of the object
    /// @param flags       MAPI_MODIFY, MAPI_BEST_ACCESS, …
    /// @param objectType  receives its kind
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                              mapi::ULONG flags, TKwMAPIObjectType& objectType) = 0;
};

class IKwMAPIFolder : public virtual IKwMAPIContainer
{
public:
    /// The store that this folder was opened from, or null for a folder wrapped on its own.
    [[nodiscard]] virtual TKwRef<IKwMAPIMsgStore> GetMsgStore() = 0;
    [[nodiscard]] virtual TKwMAPIFolderType Get_FolderType() = 0;
    [[nodiscard]] virtual WideString Get_DefaultMessageClass() = 0;

    // Subfolders. They are named by their entry identifiers; showProgress lets the store show a dialog.

    /// @param openIfExists  an existing folder of the name is opened instead of failing
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> CreateFolder(WideView containerClass, WideView AFolderName,
                                                             WideView comment, WordBool openIfExists) = 0;
    /// The same with the container class of a kind of folder.
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> CreateFolderByType(TKwMAPIFolderType folderType, WideView AFolderName,
                                                                   WideView comment, WordBool openIfExists) = 0;
    /// Copies a subfolder with its messages into another folder, which may be one of another store.
    /// @param newName         empty: the copy has the name of the original
    /// @param move            the original goes
    /// @param copySubFolders  the folders below it go with it; those of a folder that is moved always do
    virtual void CopyFolder(const TKwMAPIEntryID& entryID, IKwMAPIFolder& destination, WideView newName, WordBool move,
                            WordBool copySubFolders, WordBool showProgress) = 0;
    virtual void DeleteFolder(const TKwMAPIEntryID& entryID, WordBool ADeleteMessages, WordBool ADeleteSubFolders,
                              WordBool showProgress) = 0;
    /// Deletes all messages and subfolders of this folder.
    /// @param deleteAssociated  and the hidden messages that are kept beside its contents
    virtual void EmptyFolder(WordBool deleteAssociated, WordBool showProgress) = 0;

    // Messages.

    /// Not on disk until SaveChanges. An empty class means the folder's default.
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> CreateMessage(WideView messageClass) = 0;
    /// Reads a message file (.eml or .msg) into a new message of this folder, which is saved before it is returned;
    /// when reading fails nothing is left behind.
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> ImportMessage(const WideString& fileName) = 0;
    /// Copies a message into another folder. @param move  the original goes
    virtual void CopyMessage(const TKwMAPIEntryID& entryID, IKwMAPIFolder& destination, WordBool move) = 0;
    /// Looks for a message of this folder by its search key, which a copy shares with its original.
    /// @param message  receives the first one, or null
    /// @return false when there is none
    virtual WordBool SearchMessage(const TKwVariant& searchKey, TKwMAPIAccessLevel accessLevel,
                                   TKwRef<IKwMAPIMessage>& message) = 0;
    virtual void DeleteMessage(const TKwMAPIEntryID& entryID) = 0;
    /// MSGSTATUS_… bits, which belong to the message's row in this folder.
    [[nodiscard]] virtual mapi::ULONG Get_MessageStatus(const TKwMAPIEntryID& entryID) = 0;
    /// Replaces all bits.
    virtual void Set_MessageStatus(const TKwMAPIEntryID& entryID, mapi::ULONG status) = 0;

    /// The hidden messages that are kept beside the contents.
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetAssociatedContentsTable() = 0;

    // Incremental change synchronisation with an Exchange server: the exporter that the server offers for this folder.
    [[nodiscard]] virtual TKwComPtr<mapi::IExchangeExportChanges> GetContentsSynchronizer() = 0;
    [[nodiscard]] virtual TKwComPtr<mapi::IExchangeExportChanges> GetHierarchySynchronizer() = 0;

    /// Whether this contacts folder is shown in Outlook's address book.
    [[nodiscard]] virtual WordBool Get_OutlookAddressbookFolder() = 0;
    virtual void Set_OutlookAddressbookFolder(WordBool value) = 0;
};

/// Sinks of store events, in the order of their methods. Each call names the store. An identifier that the store did
/// not tell is Null. Threads: called on the thread on which the client delivers notifications. That is the thread which
/// initialised MAPI, while it dispatches them, unless multi-threaded notifications were asked for. A sink may
/// disconnect itself or others, and on the thread of the store drop the last reference on it.
class IKwMAPIMsgStoreDEvents : public virtual IKwInterface
{
public:
    /// The session ended: the store is not active any more.
    virtual void _OnSessionLogoff(IKwMAPIMsgStore& store) = 0;
    virtual void _OnNewMessage(IKwMAPIMsgStore& store, const TKwMAPIEntryID& folderID, const TKwMAPIEntryID& messageID,
                               const WideString& messageClass) = 0;
    // The object, its folder, where it was before (of what was moved or copied), and the properties that changed, as
    // far as the store tells.
    virtual void _OnObjectCreated(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                                  const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                                  const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) = 0;
    virtual void _OnObjectDeleted(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                                  const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                                  const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) = 0;
    virtual void _OnObjectModified(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                                   const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                                   const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) = 0;
    virtual void _OnObjectMoved(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                                const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                                const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) = 0;
    virtual void _OnObjectCopied(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                                 const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                                 const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) = 0;
};

class IKwMAPIMsgStore : public virtual IKwMAPIProp
{
public:
    // Special folders: their identifiers, Null when the store has none of the kind.

    /// The folder that new messages of no special class arrive in, in MAPI memory.
    /// @param size  receives the number of bytes
    virtual void GetReceiveFolder(mapi::ULONG& size, TKwMAPIBuffer<mapi::ENTRYID>& entryID) = 0;
    /// Whether the store tells that folder: the result of asking, which is not raised.
    [[nodiscard]] virtual mapi::HRESULT GetReceiveFolder() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetReceiveFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetInboxFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetOutboxFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetIPMRootFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetCommonFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetPersonalFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetSearchFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetSentItemsFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetDeletedFolderID() = 0;
    /// What the Inbox names; unlike GetFolderID it does not look for a folder of the class in a store without an Inbox.
    [[nodiscard]] virtual TKwMAPIEntryID GetContactFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetFolderID(TKwMAPIFolderType folderType) = 0;
    /// The same.
    [[nodiscard]] virtual TKwMAPIEntryID Get_FolderID(TKwMAPIFolderType folderType) = 0;

    // Opening.

    /// The object behind an identifier as it comes from the store; its MAPI object type in objectType.
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                              mapi::ULONG flags, mapi::ULONG& objectType) = 0;
    /// A folder, address-book container or distribution list.
    [[nodiscard]] virtual TKwRef<IKwMAPIContainer> OpenContainer(const TKwMAPIEntryID& entryID,
                                                                 TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> OpenFolder(const TKwMAPIEntryID& entryID,
                                                           TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> OpenFolderByType(TKwMAPIFolderType folderType,
                                                                 TKwMAPIAccessLevel accessLevel) = 0;
    /// The first folder of that name below the IPM root, at any depth; else the special folder with that keyword
    /// ("SentItems"). Both without regard to case.
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> OpenFolderByName(WideView name, TKwMAPIAccessLevel accessLevel) = 0;
    /// "//[Inbox]/Project A": an optional "//", an optional special-folder keyword in brackets, then display names.
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> OpenFolderByPath(WideView path, TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual WordBool CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b) = 0;

    // Messages.

    /// A new message in a special folder; not on disk until it is saved.
    /// @param messageClass  empty for the default of the folder
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> CreateMessage(TKwMAPIFolderType folderType, WideView messageClass) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> OpenMessage(const TKwMAPIEntryID& entryID,
                                                             TKwMAPIAccessLevel accessLevel) = 0;
    /// The message as it comes from the store.
    [[nodiscard]] virtual TKwComPtr<mapi::IMessage> OpenRawMessage(const TKwMAPIEntryID& entryID,
                                                                   TKwMAPIAccessLevel accessLevel) = 0;
    /// OpenMessage for an identifier that may be stale. False, and a null message, when the store does not know it.
    virtual WordBool FindMessage(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel,
                                 TKwRef<IKwMAPIMessage>& message) = 0;
    /// Looks for a message by its search key, folder by folder from the IPM root on: a message keeps that key when it
    /// is moved and gets another identifier. False, and a null message, when there is none.
    virtual WordBool SearchMessage(const TKwVariant& searchKey, TKwMAPIAccessLevel accessLevel,
                                   TKwRef<IKwMAPIMessage>& message) = 0;
    /// A message file. A compound file (.msg) is opened itself. A MIME message (.eml) is read into a new message of the
    /// Inbox, which is there to be looked at and gone unless it is saved.
    /// @param accessLevel  of the compound file
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> OpenSavedMessage(const WideString& fileName,
                                                                  TKwMAPIAccessLevel accessLevel) = 0;
    // A message that was dropped on the application: the structured storage that the data object of a drag operation
    // gives as its file contents.
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> OpenDroppedMessage(mapi::IStorage& storage,
                                                                    TKwMAPIAccessLevel accessLevel) = 0;
    /// Writes it to a compound file (.msg), which must not exist yet.
    virtual void SaveDroppedMessage(mapi::IStorage& storage, const WideString& fileName) = 0;

    // Outlook's address book shows contacts folders of stores. These lead from its entries back into this store.

    /// @param containerID  a container of that address book
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> FindABFolder(const TKwMAPIEntryID& containerID,
                                                             TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> FindABContact(const TKwMAPIEntryID& entryID,
                                                               TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> FindABDistList(const TKwMAPIEntryID& entryID,
                                                                TKwMAPIAccessLevel accessLevel) = 0;

    // Exchange.

    /// The store's own management interface.
    [[nodiscard]] virtual TKwComPtr<mapi::IExchangeManageStore> Get_AsExchangeManageStore() = 0;
    [[nodiscard]] virtual TKwMAPIExchangeType Get_ExchangeStoreType() = 0;
    /// The out-of-office assistant of this mailbox.
    [[nodiscard]] virtual TKwRef<IKwMAPIOOF> OpenOOF() = 0;
    /// The retention policy of this mailbox as the server describes it (XML); empty when there is none.
    [[nodiscard]] virtual WideString GetMRMConfig() = 0;

    // Events.

    /// Connects or disconnects a sink; the store holds a reference while it is connected. The store is notified by MAPI
    /// while at least one sink is connected. A sink whose connecting fails is not connected.
    /// A sink that is disconnected, also by another one, is told nothing more. With multi-threaded notifications that
    /// holds for the last sink only, whose disconnecting waits for what is being delivered: an event that is being
    /// delivered on the client's thread may still reach any other.
    /// @throws EMAPI_INVALID_PARAMETER  null is to be connected
    virtual void DEventConnect(const TKwRef<IKwMAPIMsgStoreDEvents>& sink, WordBool connect) = 0;
    /// True while MAPI notifies the store.
    [[nodiscard]] virtual WordBool Get_Advised() const noexcept = 0;
};

/// The out-of-office assistant: whether replies are sent, and what they say.
class IKwMAPIOOF : public virtual IKwMAPIObject
{
public:
    [[nodiscard]] virtual WordBool Get_OutOfOffice() = 0;
    /// Takes effect at once.
    virtual void Set_OutOfOffice(WordBool value) = 0;
    /// The text of the replies; empty when none was ever set.
    [[nodiscard]] virtual WideString Get_Text() = 0;
    virtual void Set_Text(WideView text) = 0;
};

} // namespace deftmapi
