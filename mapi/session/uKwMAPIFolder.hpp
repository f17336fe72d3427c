// Folders: their kind, subfolders, messages and tables.
#pragma once

#include "mapi/headers/uKwEdkMdbH.hpp"
#include "mapi/session/uKwMAPIContainer.hpp"

namespace deftmapi
{

/// Wraps one IMAPIFolder.
class DEFTMAPI_API TKwMAPIFolder final : public TKwMAPIContainer, public virtual IKwMAPIFolder
{
public:
    /// @param createdBy  the store (or, for a folder on its own, whatever it comes from) and its session; kept alive
    explicit TKwMAPIFolder(TKwMAPIWrapper& createdBy);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIFolder"; }
    void SetMAPIOBJECT(mapi::IUnknown* object) override;

    [[nodiscard]] TKwRef<IKwMAPIMsgStore> GetMsgStore() override;
    /// By container class, else by identifier. Worked out once; ftPlain is not kept.
    [[nodiscard]] TKwMAPIFolderType Get_FolderType() override;
    [[nodiscard]] WideString Get_DefaultMessageClass() override;

    /// The container class is given to a new folder; an existing one (openIfExists) gets it only when it has none.
    /// @throws EMAPI_COLLISION  the name is taken
    [[nodiscard]] TKwRef<IKwMAPIFolder> CreateFolder(WideView containerClass, WideView AFolderName, WideView comment,
                                                     WordBool openIfExists) override;
    /// The classes are IPF.Appointment, IPF.Journal, IPF.StickyNote and IPF.Task; every other type, ftContact included,
    /// makes a folder for mail (IPF.Note).
    [[nodiscard]] TKwRef<IKwMAPIFolder> CreateFolderByType(TKwMAPIFolderType folderType, WideView AFolderName,
                                                           WideView comment, WordBool openIfExists) override;
    /// move, copySubFolders and showProgress are FOLDER_MOVE, COPY_SUBFOLDERS and FOLDER_DIALOG of the platform.
    /// @throws EMAPI_COLLISION             the destination has a folder of that name
    /// @throws EMAPI_BAD_CHARWIDTH         the store takes the name neither in wide nor in 8-bit text
    /// @throws EMAPI_DECLINE_COPY          the store leaves copying to somebody else
    /// @throws EMAPI_W_PARTIAL_COMPLETION  not all of it was copied
    void CopyFolder(const TKwMAPIEntryID& entryID, IKwMAPIFolder& destination, WideView newName, WordBool move,
                    WordBool copySubFolders, WordBool showProgress) override;
    /// @throws EMAPI_HAS_FOLDERS, EMAPI_HAS_MESSAGES  the folder is not empty and the option was not given
    void DeleteFolder(const TKwMAPIEntryID& entryID, WordBool ADeleteMessages, WordBool ADeleteSubFolders,
                      WordBool showProgress) override;
    /// @throws EKwMAPIException  MAPI_W_PARTIAL_COMPLETION: not all of it was deleted
    void EmptyFolder(WordBool deleteAssociated, WordBool showProgress) override;

    /// Without a class the message gets that of the kind of folder. In a plain folder this is made from the folder's
    /// container class, and is empty where the folder has none: name a class for what is to be shown as a message.
    /// @throws EMAPI_NO_ACCESS  no class was given and the kind of folder has none
    [[nodiscard]] TKwRef<IKwMAPIMessage> CreateMessage(WideView messageClass) override;
    /// A compound file is known by its content, everything else is taken for a MIME message.
    /// @throws EMAPI_INVALID_PARAMETER  the file is not there or cannot be read
    /// @throws EMAPI_NOT_SUPPORTED      a MIME message, and the client has no MIME converter
    /// @throws the class of the client's result, with a text that names the file
    [[nodiscard]] TKwRef<IKwMAPIMessage> ImportMessage(const WideString& fileName) override;
    /// ImportMessage without the saving: who drops the message has left no trace.
    /// @param asker  named with its method in the texts of failures
    [[nodiscard]] TKwRef<IKwMAPIMessage> ReadMessageFile(TKwMAPIWrapper& asker, WideView methodName,
                                                         const WideString& fileName);
    void CopyMessage(const TKwMAPIEntryID& entryID, IKwMAPIFolder& destination, WordBool move) override;
    /// Null and empty keys are found nowhere. What this folder was opened for limits what the message can be opened
    /// for.
    WordBool SearchMessage(const TKwVariant& searchKey, TKwMAPIAccessLevel accessLevel,
                           TKwRef<IKwMAPIMessage>& message) override;
    /// The identifier of that message, or Null.
    [[nodiscard]] TKwMAPIEntryID FindBySearchKey(const TKwVariant& searchKey);
    void DeleteMessage(const TKwMAPIEntryID& entryID) override;
    [[nodiscard]] mapi::ULONG Get_MessageStatus(const TKwMAPIEntryID& entryID) override;
    void Set_MessageStatus(const TKwMAPIEntryID& entryID, mapi::ULONG status) override;

    /// On Simple MAPI the Inbox alone can list its messages.
    [[nodiscard]] TKwRef<IKwMAPITable> GetContentsTable() override;
    [[nodiscard]] TKwRef<IKwMAPITable> GetAssociatedContentsTable() override;

    // @throws EMAPI_NOT_SUPPORTED  "This ICS functionality is only available when connected to an Exchange server!"
    [[nodiscard]] TKwComPtr<mapi::IExchangeExportChanges> GetContentsSynchronizer() override;
    [[nodiscard]] TKwComPtr<mapi::IExchangeExportChanges> GetHierarchySynchronizer() override;

    /// True when the container of Outlook's address book lists this folder.
    /// @throws EMAPI_NOT_SUPPORTED  the session has no address book
    [[nodiscard]] WordBool Get_OutlookAddressbookFolder() override;
    /// Adds an entry for this folder to that container, or deletes it. Does nothing when it is as wanted.
    /// @throws EMAPI_NOT_SUPPORTED  "The Set_OutlookAddressbookFolder can only be used for folders of type
    /// IPF.Contact!"
    /// @throws EMAPI_NOT_FOUND      the profile does not have Outlook's address book
    void Set_OutlookAddressbookFolder(WordBool value) override;

private:
    [[nodiscard]] mapi::IMAPIFolder& MAPIFolder() const noexcept { return MAPIObjectAs<mapi::IMAPIFolder>(); }
    [[nodiscard]] TKwMAPIFolderType TypeByClass();
    [[nodiscard]] TKwMAPIFolderType TypeByIdentifier();
    [[nodiscard]] WideString ClassFromContainer();
    [[nodiscard]] TKwComPtr<mapi::IMessage> CreateMAPIMessage(mapi::ULONG flags);
    [[nodiscard]] TKwComPtr<mapi::IMAPIFolder> DestinationOf(IKwMAPIFolder& destination, WideView methodName);
    [[nodiscard]] TKwComPtr<mapi::IExchangeExportChanges> OpenSynchronizer(WideView methodName, TKwMAPIPropDef def);
    [[nodiscard]] TKwComPtr<mapi::IAddrBook> OpenAddressBook(WideView methodName);
    [[nodiscard]] TKwComPtr<mapi::IABContainer> OpenABContainer(WideView methodName, mapi::IAddrBook& addressBook,
                                                                const TKwMAPIEntryID& entryID,
                                                                TKwMAPIAccessLevel accessLevel);
    /// The entry for this folder in Outlook's address book, or Null.
    /// @param container  receives the identifier of that address book; Null when there is none
    [[nodiscard]] TKwMAPIEntryID FindInAddressBook(WideView methodName, mapi::IAddrBook& addressBook,
                                                   TKwMAPIEntryID& container);

    TKwMAPIFolderType FFolderType = ftPlain;
};

/// Wraps a folder that was opened elsewhere.
/// @param owner   an object of the session that the folder belongs to; kept alive
/// @param folder  a reference is added
[[nodiscard]] DEFTMAPI_API TKwRef<IKwMAPIFolder> WrapMAPIFolder(TKwMAPIWrapper& owner, mapi::IMAPIFolder* folder);

} // namespace deftmapi
