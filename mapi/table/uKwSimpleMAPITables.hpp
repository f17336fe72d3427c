// The tables of Simple MAPI folders. Simple MAPI has no tables of its own: their rows are in memory, and nothing that
// is done to them reaches the client.
#pragma once

#include "mapi/table/uKwMAPIMemoryTable.hpp"

namespace deftmapi
{

/// Simple MAPI has no identifiers of folders: the four bytes of the type, the lowest first, stand for the folder.
[[nodiscard]] DEFTMAPI_API TKwMAPIEntryID KwSimpleMAPIFolderID(TKwMAPIFolderType folderType);
/// The type that an identifier stands for; 0 when it is none of those.
[[nodiscard]] DEFTMAPI_API TKwMAPIFolderType KwSimpleMAPIFolderType(const TKwMAPIEntryID& entryID);

/// The folders below one of the three that Simple MAPI knows: the IPM root has the Inbox and the Outbox, these have
/// none. Columns: PR_ENTRYID, PR_DISPLAY_NAME, PR_FOLDER_TYPE (the type of the special folder), PR_DEPTH (1).
class DEFTMAPI_API TKwSimpleMAPIFolderHierachieTable final : public TKwMAPIMemoryTable
{
public:
    /// @param owner  the folder; kept alive
    TKwSimpleMAPIFolderHierachieTable(TKwMAPIObject& owner, TKwMAPIFolderType folderType);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwSimpleMAPIFolderHierachieTable"; }
    /// @throws EMAPI_NO_ACCESS  always: "The table is readonly!"
    void Edit() override;

private:
    bool FReadOnly = false;
};

/// The messages of the Inbox, read from the client when the table opens. Columns: PR_ENTRYID (the bytes of the
/// message's identifier, which are 8-bit text), PR_SUBJECT, PR_MESSAGE_CLASS, PR_SENDER_NAME, PR_SENDER_EMAIL_ADDRESS,
/// PR_MESSAGE_DELIVERY_TIME, PR_MESSAGE_FLAGS (MSGFLAG_READ). It is filtered by a bit-mask restriction only.
class DEFTMAPI_API TKwSimpleMAPIFolderContentTable final : public TKwMAPIMemoryTable
{
public:
    /// @param owner    the folder; kept alive
    /// @param session  of MAPILogon
    /// @param window   the parent of dialogs
    TKwSimpleMAPIFolderContentTable(TKwMAPIObject& owner, mapi::LHANDLE session, mapi::ULONG_PTR window);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwSimpleMAPIFolderContentTable"; }
    /// Reads the rows anew when the table is closed.
    void Open() override;
    /// @throws EMAPI_NO_ACCESS  always: "The table is readonly!"
    void Edit() override;
    /// @throws EMAPI_NOT_SUPPORTED  another kind than rtBitmask
    [[nodiscard]] TKwRef<IKwMAPIRestriction> CreateRestriction(TKwMAPIRestrictionType type) override;
    /// Null shows all rows. The filter stays when the table is closed and opened again. @throws EMAPI_NOT_SUPPORTED the
    /// restriction is none of Simple MAPI
    void Filter(const TKwRef<IKwMAPIRestriction>& restriction) override;

private:
    void AddMessage(const char* id);

    mapi::LHANDLE FSession;
    mapi::ULONG_PTR FWindow;
    bool FReadOnly = true;
    TKwMAPIRowPredicate FFilter; // empty: all rows are shown
};

} // namespace deftmapi
