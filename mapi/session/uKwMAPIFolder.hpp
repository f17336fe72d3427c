// Folders: their kind, subfolders, messages and tables.
#pragma once

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
    /// The access asked for. With alBestAccess the folder tells whether writing is possible.
    void SetOpenedAs(TKwMAPIAccessLevel accessLevel);

    [[nodiscard]] TKwRef<IKwMAPIMsgStore> GetMsgStore() override;
    /// By container class, else by identifier. Worked out once; ftPlain is not kept.
    [[nodiscard]] TKwMAPIFolderType Get_FolderType() override;
    [[nodiscard]] WideString Get_DefaultMessageClass() override;

    /// The container class is given to a new folder; an existing one (openIfExists) gets it only when it has none.
    /// @throws EMAPI_COLLISION  the name is taken
    [[nodiscard]] TKwRef<IKwMAPIFolder> CreateFolder(WideView containerClass, WideView AFolderName, WideView comment,
                                                     bool openIfExists) override;
    /// @throws EMAPI_HAS_FOLDERS, EMAPI_HAS_MESSAGES  the folder is not empty and the option was not given
    void DeleteFolder(const TKwMAPIEntryID& entryID, bool ADeleteMessages, bool ADeleteSubFolders,
                      bool showProgress) override;

    [[nodiscard]] TKwRef<IKwMAPIMessage> CreateMessage(WideView messageClass) override;
    /// @throws EMAPI_INVALID_PARAMETER  the file is not there or cannot be read
    /// @throws EMAPI_NOT_SUPPORTED      the client has no MIME converter, or the file is no MIME message file
    /// @throws the class of the converter's result, with a text that names the file
    [[nodiscard]] TKwRef<IKwMAPIMessage> ImportMessage(const WideString& fileName) override;
    void DeleteMessage(const TKwMAPIEntryID& entryID) override;

    [[nodiscard]] TKwRef<IKwMAPITable> GetAssociatedContentsTable() override;

private:
    [[nodiscard]] mapi::IMAPIFolder& MAPIFolder() const noexcept { return MAPIObjectAs<mapi::IMAPIFolder>(); }
    [[nodiscard]] TKwMAPIFolderType TypeByClass();
    [[nodiscard]] TKwMAPIFolderType TypeByIdentifier();
    [[nodiscard]] WideString ClassFromContainer();
    [[nodiscard]] TKwComPtr<mapi::IMessage> CreateMAPIMessage(mapi::ULONG flags);

    TKwMAPIFolderType FFolderType = ftPlain;
};

/// Wraps a folder that was opened elsewhere.
/// @param owner   an object of the session that the folder belongs to; kept alive
/// @param folder  a reference is added
[[nodiscard]] DEFTMAPI_API TKwRef<IKwMAPIFolder> WrapMAPIFolder(TKwMAPIWrapper& owner, mapi::IMAPIFolder* folder);

} // namespace deftmapi
