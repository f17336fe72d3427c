// Message stores: special folders, folders by identifier, type or path, and messages.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace deftmapi
{

/// Wraps one opened IMsgStore.
class DEFTMAPI_API TKwMAPIMsgStore final : public TKwMAPIProp, public virtual IKwMAPIMsgStore
{
public:
    explicit TKwMAPIMsgStore(TKwMAPISessionBase& session);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIMsgStore"; }
    /// Also switches Unicode off for this object and all that is opened from it when the store cannot handle it.
    void SetMAPIOBJECT(mapi::IUnknown* object) override;
    /// The access asked for. With alBestAccess the store tells whether writing is possible.
    void SetOpenedAs(TKwMAPIAccessLevel accessLevel);

    // Special folders.
    [[nodiscard]] TKwMAPIEntryID GetInboxFolderID() override;
    /// The folder that new messages of no special class arrive in; Null when the store receives none.
    [[nodiscard]] TKwMAPIEntryID GetReceiveFolderID();
    /// @throws EMAPI_INVALID_PARAMETER  "You have specified an invalid FolderType": not exactly one of the known bits
    /// @throws EMAPI_NOT_SUPPORTED      not available on Simple MAPI
    [[nodiscard]] TKwMAPIEntryID GetFolderID(TKwMAPIFolderType folderType) override;

    // Opening. alReadWrite on a store that was opened read-only is refused.
    [[nodiscard]] TKwRef<IKwMAPIFolder> OpenFolder(const TKwMAPIEntryID& entryID,
                                                   TKwMAPIAccessLevel accessLevel) override;
    /// @throws EMAPI_NOT_FOUND  the store has no folder of this type
    [[nodiscard]] TKwRef<IKwMAPIFolder> OpenFolderByType(TKwMAPIFolderType folderType,
                                                         TKwMAPIAccessLevel accessLevel) override;
    /// @throws EMAPI_INVALID_PARAMETER  unknown keyword, or no folder of that name; names match without regard to case
    [[nodiscard]] TKwRef<IKwMAPIFolder> OpenFolderByPath(WideView path, TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] TKwRef<IKwMAPIMessage> OpenMessage(const TKwMAPIEntryID& entryID,
                                                     TKwMAPIAccessLevel accessLevel) override;
    /// Null opens the root folder of the store.
    /// @param iid    null asks for the standard interface of the object's kind
    /// @param flags  MAPI_MODIFY, MAPI_BEST_ACCESS, …
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                      mapi::ULONG flags, mapi::ULONG& objectType) override;
    [[nodiscard]] bool CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b) override;

private:
    [[nodiscard]] mapi::IMsgStore& MsgStore() const noexcept { return MAPIObjectAs<mapi::IMsgStore>(); }
    [[nodiscard]] TKwMAPIEntryID ReceiveFolderID(WideView methodName);
    [[nodiscard]] TKwMAPIEntryID FolderIDFromInbox(TKwMAPIFolderType folderType);
    [[nodiscard]] TKwMAPIEntryID FindFolderOfClass(WideView containerClass);
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenObject(WideView methodName, const TKwMAPIEntryID& entryID,
                                                       const mapi::GUID& iid, TKwMAPIAccessLevel accessLevel,
                                                       mapi::ULONG objectType);
};

} // namespace deftmapi
