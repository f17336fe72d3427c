// What the objects of a store share: the properties that all have, opening by entry identifier, checks of interfaces.
#pragma once

#include "client/store/PropertyObject.hpp"

namespace deftmapi::client
{

/// PR_STORE_SUPPORT_MASK: only what is true. No STORE_SUBMIT_OK, no categories.
inline constexpr ULONG StoreSupport = mapi::STORE_ENTRYID_UNIQUE | mapi::STORE_MODIFY_OK | mapi::STORE_CREATE_OK |
                                      mapi::STORE_ATTACH_OK | mapi::STORE_OLE_OK | mapi::STORE_MV_PROPS_OK |
                                      mapi::STORE_RTF_OK | mapi::STORE_RESTRICTION_OK | mapi::STORE_SORT_OK |
                                      mapi::STORE_HTML_OK | mapi::STORE_NOTIFY_OK | mapi::STORE_SEARCH_OK |
                                      mapi::STORE_UNICODE_OK | mapi::STORE_LOCALSTORE;

/// The properties that name an object and its store, or nothing for other identifiers. `row` 0 has no names of its own.
[[nodiscard]] std::optional<Prop> IdentityProperty(const StoreFile& store, EntryKind kind, std::int64_t row, ULONG id);
/// The tags of IdentityProperty for an object that has a row.
[[nodiscard]] std::span<const ULONG> IdentityTags();

/// @throws Failure  MAPI_E_INTERFACE_NOT_SUPPORTED when iid is given and `object` does not have it
void RequireInterface(mapi::LPCIID iid, std::initializer_list<const mapi::IID*> supported);

/// IMsgStore::OpenEntry, IMAPIContainer::OpenEntry and IMAPISession::OpenEntry for folders and messages. An empty
/// identifier opens the root folder. `writable`: the store was opened for writing.
/// @param type  set when the object is there
/// @throws Failure  MAPI_E_NOT_FOUND, MAPI_E_NO_ACCESS, MAPI_E_UNKNOWN_ENTRYID, MAPI_E_INVALID_ENTRYID,
/// MAPI_E_UNKNOWN_FLAGS; MAPI_E_NO_SUPPORT deleted items are asked for
[[nodiscard]] TKwComPtr<mapi::IUnknown> OpenStoreEntry(const StorePtr& store, bool writable, ULONG size,
                                                       const mapi::ENTRYID* id, mapi::LPCIID iid, ULONG flags,
                                                       ULONG* type);
/// The interface objects of the parts.
[[nodiscard]] TKwComPtr<mapi::IMAPIFolder> OpenFolderRow(const StorePtr& store, std::int64_t row, bool writable);
[[nodiscard]] TKwComPtr<mapi::IMessage> OpenMessageRow(const StorePtr& store, std::int64_t row, bool writable);
[[nodiscard]] TKwComPtr<mapi::IMsgStore> OpenStoreObject(const StorePtr& store, bool writable, bool isDefault);
/// CompareEntryIDs: equal when both name the same object. @throws Failure  MAPI_E_INVALID_ENTRYID
[[nodiscard]] bool SameEntry(ULONG size1, const mapi::ENTRYID* id1, ULONG size2, const mapi::ENTRYID* id2);

enum class Contents
{
    Ordinary,
    Associated,
    Found ///< what a search folder shows
};
/// Contents of a folder; its rows follow what happens in the store.
[[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenContentsTable(const StorePtr& store, std::int64_t folder,
                                                            Contents contents, bool unicode);
/// Subfolders of a folder, with `deep` those at every depth.
[[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenHierarchyTable(const StorePtr& store, std::int64_t folder, bool deep,
                                                             bool unicode);

} // namespace deftmapi::client
