// IMAPIFolder. A folder has no state of its own in memory: properties are read afresh for each call and written at
// once, one transaction per call.
#pragma once

#include "client/store/MessageRecords.hpp"
#include "client/store/StoreObjects.hpp"

namespace deftmapi::client
{

/// A row of table folders.
struct FolderRow
{
    std::int64_t row = 0;
    std::int64_t parent = 0; ///< 0 for the root folder
    ULONG type = 0;
    std::int64_t contents = 0;
    std::int64_t unread = 0;
    std::int64_t associated = 0;
    bool hasSubfolders = false;

    [[nodiscard]] bool IsSearch() const { return type == mapi::FOLDER_SEARCH; }

    PropertyBag props; ///< with PR_DISPLAY_NAME and the times
};
/// @throws Failure  MAPI_E_NOT_FOUND
[[nodiscard]] FolderRow LoadFolder(StoreFile& store, std::int64_t row);
/// A property of the folder that is not in its bag, as objects and hierarchy tables show it.
[[nodiscard]] std::optional<Prop> FolderProperty(const StoreFile& store, const FolderRow& folder, bool writable,
                                                 ULONG id);
[[nodiscard]] std::span<const ULONG> FolderPropertyTags();
class ProgressMeter;

/// The folders that every store has: they are never deleted or moved.
[[nodiscard]] bool IsSpecialFolder(std::int64_t row);
/// Properties by which a store or its Inbox finds the special folders: in another store, or at a copy of the Inbox,
/// they would name folders of somebody else.
[[nodiscard]] bool NamesSpecialFolder(ULONG id);
[[nodiscard]] std::vector<std::int64_t> ChildFolders(StoreFile& store, std::int64_t row);
/// The folders and all below them, parents before their children; each level in the order of the file, which is how a
/// large tree is read and deleted fast. REQUIRES: none of the folders is below another.
[[nodiscard]] std::vector<std::int64_t> Subtree(StoreFile& store, std::vector<std::int64_t> rows);
/// Adds a folder. REQUIRES: a transaction is open, and the name is free. @returns its row
std::int64_t InsertFolder(StoreFile& store, std::int64_t parent, ULONG type, const WideString& name,
                          const PropertyBag& props);
/// @throws Failure  MAPI_E_NO_ACCESS a search folder keeps nothing of its own
void RequireNoSearch(const FolderRow& folder);
/// Removes a folder with everything in and below it; each message and folder is a step of the meter.
/// REQUIRES: a transaction is open.
void DeleteSubtree(StoreFile& store, std::int64_t row, ProgressMeter& meter);

/// What the folder objects of this client know each other by when one is handed to another as a destination. It gives
/// the IMAPIFolder of a FolderObject and means nothing to anybody else.
inline constexpr mapi::IID IID_OwnFolder = {
    0x8D3E51B6, 0x2C7A, 0x4F09, {0x9B, 0x64, 0x17, 0xE0, 0xD2, 0x5A, 0xC8, 0x3F}};

class FolderObject final : public PropertyObject<mapi::IMAPIFolder>
{
public:
    FolderObject(StorePtr store, std::int64_t row, bool writable)
        : PropertyObject(std::move(store), writable), FRow(row)
    {}

    mapi::HRESULT DEFTMAPI_STDCALL GetContentsTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetHierarchyTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, ULONG flags, ULONG* type,
                                             mapi::LPUNKNOWN* object) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetSearchCriteria(mapi::LPSRestriction restriction, mapi::LPENTRYLIST containers,
                                                     ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetSearchCriteria(ULONG flags, mapi::LPSRestriction* restriction,
                                                     mapi::LPENTRYLIST* containers, ULONG* state) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateMessage(mapi::LPCIID iid, ULONG flags,
                                                 mapi::LPMESSAGE* message) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyMessages(mapi::LPENTRYLIST list, mapi::LPCIID iid, mapi::LPVOID destination,
                                                mapi::ULONG_PTR, mapi::LPMAPIPROGRESS progress,
                                                ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL DeleteMessages(mapi::LPENTRYLIST list, mapi::ULONG_PTR,
                                                  mapi::LPMAPIPROGRESS progress, ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateFolder(ULONG type, mapi::LPTSTR name, mapi::LPTSTR comment, mapi::LPCIID iid,
                                                ULONG flags, mapi::LPMAPIFOLDER* folder) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyFolder(ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid,
                                              mapi::LPVOID destination, mapi::LPTSTR name, mapi::ULONG_PTR,
                                              mapi::LPMAPIPROGRESS progress, ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL DeleteFolder(ULONG size, mapi::LPENTRYID id, mapi::ULONG_PTR,
                                                mapi::LPMAPIPROGRESS progress, ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetReadFlags(mapi::LPENTRYLIST list, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS progress,
                                                ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetMessageStatus(ULONG size, mapi::LPENTRYID id, ULONG flags,
                                                    ULONG* status) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetMessageStatus(ULONG size, mapi::LPENTRYID id, ULONG status, ULONG mask,
                                                    ULONG* old) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SaveContentsSort(mapi::LPSSortOrderSet, ULONG) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL EmptyFolder(mapi::ULONG_PTR, mapi::LPMAPIPROGRESS progress,
                                               ULONG flags) noexcept override;

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMAPIFolder || iid == mapi::IID_IMAPIContainer || iid == mapi::IID_IMAPIProp ||
               iid == IID_OwnFolder;
    }
    // One transaction for a stream, not one for each piece that is written.
    [[nodiscard]] bool WaitsForCommit() const override { return true; }

protected:
    void Refresh() override;
    const PropertyBag& Read() override { return FState.props; }
    PropertyBag& Write() override { return FState.props; }
    void Changed(std::span<const ULONG> ids) override;
    std::optional<Prop> Computed(ULONG id) override { return FolderProperty(*FStore, FState, FWritable, id); }
    std::vector<ULONG> ComputedTags() const override
    {
        const auto tags = FolderPropertyTags();
        return {tags.begin(), tags.end()};
    }
    mapi::HRESULT CheckChange(ULONG tag, bool deleting) override;
    TKwComPtr<mapi::IUnknown> OpenObject(ULONG tag, const mapi::IID& iid, ULONG options, ULONG flags) override;

private:
    [[nodiscard]] Contents ContentsOf(bool associated) const
    {
        return associated ? Contents::Associated : FState.IsSearch() ? Contents::Found : Contents::Ordinary;
    }
    /// The rows that the list names; entries that are no messages of this store are counted in `bad`.
    [[nodiscard]] std::vector<std::int64_t> MessageRows(const mapi::ENTRYLIST* list, std::size_t& bad);
    /// The folder object handed in by the caller. @throws Failure  MAPI_E_NO_SUPPORT it belongs to another provider,
    /// MAPI_E_NO_ACCESS it was opened for reading only
    [[nodiscard]] static TKwComPtr<FolderObject> Destination(mapi::LPVOID destination, mapi::LPCIID iid);
    [[nodiscard]] bool IsOfStore(const FolderObject& other) const { return FStore->IsSameFile(*other.FStore); }
    [[nodiscard]] bool CopyFolderAcross(std::int64_t row, FolderObject& target, const WideString& name, ULONG flags,
                                        ProgressMeter& meter);
    [[nodiscard]] std::size_t CopyMessagesAcross(const std::vector<std::int64_t>& rows, FolderObject& target, bool move,
                                                 ProgressMeter& meter);

    std::int64_t FRow;
    FolderRow FState;
};

} // namespace deftmapi::client
