// How folders and messages go: deleting a folder and emptying one. Each is one transaction, however large: who is
// killed in the middle has deleted nothing, and nobody can move a folder out of what is being deleted.
#include "client/store/Transfer.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr auto sSpecial = u"The folders that every store has cannot be deleted.";
constexpr auto sHasFolders = u"The folder has subfolders.";
constexpr auto sHasMessages = u"The folder, or one below it, has messages.";
constexpr auto sNoFolder = u"The folder does not exist.";

void DeleteMessagesIn(StoreFile& store, std::int64_t folder, bool withAssociated, ProgressMeter& meter)
{
    Query query = store.Db().Prepare("SELECT id FROM messages WHERE folder = ?1 AND associated <= ?2");
    const auto rows = query.Bind(1, folder).Bind(2, std::int64_t{withAssociated}).Numbers();
    for (const std::int64_t row : rows) {
        DeleteMessageRow(store, row);
        meter.Step();
    }
}

bool HasMessages(StoreFile& store, const std::vector<std::int64_t>& folders)
{
    return std::any_of(folders.begin(), folders.end(), [&store](std::int64_t row) {
        const FolderRow folder = LoadFolder(store, row);
        return folder.contents != 0 && !folder.IsSearch();
    });
}

/// @param rows  with all that lie below them, parents before their children
void DeleteFolders(StoreFile& store, const std::vector<std::int64_t>& rows, ProgressMeter& meter)
{
    Database& database = store.Db();
    // In the order of the file, in which folders and what they hold mostly came: a tree from its ends is all over it.
    std::vector<std::int64_t> inFile = rows;
    std::sort(inFile.begin(), inFile.end());
    for (const std::int64_t row : inFile)
        DeleteMessagesIn(store, row, true, meter);
    // Triggers write the entries of folders at once: listeners hear of what was in a folder before they hear of it.
    store.Changes().Flush();
    for (auto it = rows.rbegin(); it != rows.rend(); ++it) {
        store.DropLargeValues({LargeOwner::Folder, *it});
        store.Searches().Drop(*it);
        // Messages without a class of their own always have somewhere to go.
        Query inbox = database.Prepare("UPDATE receive_folders SET folder = ?2 WHERE folder = ?1 AND class_key = ''");
        inbox.Bind(1, *it).Bind(2, static_cast<std::int64_t>(SpecialFolder::Inbox)).Run();
        database.Prepare("DELETE FROM receive_folders WHERE folder = ?1").Bind(1, *it).Run();
        database.Prepare("DELETE FROM folders WHERE id = ?1").Bind(1, *it).Run();
        meter.Step();
    }
}

} // namespace

bool IsSpecialFolder(std::int64_t row)
{
    return row <= static_cast<std::int64_t>(SpecialFolder::Last);
}

void DeleteSubtree(StoreFile& store, std::int64_t row, ProgressMeter& meter)
{
    DeleteFolders(store, Subtree(store, {row}), meter);
}

mapi::HRESULT FolderObject::DeleteFolder(ULONG size, mapi::LPENTRYID id, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS progress,
                                         ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::DEL_FOLDERS | mapi::DEL_MESSAGES | mapi::DEL_ASSOCIATED | mapi::FOLDER_DIALOG |
                                mapi::DELETE_HARD_DELETE);
        RequireWritable();
        const std::int64_t row = FStore->RowOf(size, id, EntryKind::Folder);
        if (IsSpecialFolder(row))
            Fail(mapi::MAPI_E_NO_ACCESS, sSpecial);
        Transaction transaction(FStore->Db());
        const FolderRow folder = LoadFolder(*FStore, row);
        if (folder.parent != FRow)
            Fail(mapi::MAPI_E_NOT_FOUND, sNoFolder);
        if (folder.hasSubfolders && !(flags & mapi::DEL_FOLDERS))
            Fail(mapi::MAPI_E_HAS_FOLDERS, sHasFolders);
        const auto folders = Subtree(*FStore, {row});
        if (!(flags & mapi::DEL_MESSAGES) && HasMessages(*FStore, folders))
            Fail(mapi::MAPI_E_HAS_MESSAGES, sHasMessages);
        ProgressMeter meter(progress, progress ? CountSteps(*FStore, folders) : 0, {&FStore->Db()});
        DeleteFolders(*FStore, folders, meter);
        transaction.Commit();
    });
}

mapi::HRESULT FolderObject::EmptyFolder(mapi::ULONG_PTR, mapi::LPMAPIPROGRESS progress, ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::DEL_ASSOCIATED | mapi::FOLDER_DIALOG | mapi::DELETE_HARD_DELETE);
        RequireWritable();
        Transaction transaction(FStore->Db());
        Refresh();
        RequireNoSearch(FState);
        std::vector<std::int64_t> children = ChildFolders(*FStore, FRow);
        const bool kept = std::erase_if(children, IsSpecialFolder) != 0;
        const auto folders = Subtree(*FStore, std::move(children));
        const bool withAssociated = (flags & mapi::DEL_ASSOCIATED) != 0;
        const std::int64_t here = FState.contents + (withAssociated ? FState.associated : 0);
        ProgressMeter meter(progress, progress ? CountSteps(*FStore, folders) + here : 0, {&FStore->Db()});
        DeleteFolders(*FStore, folders, meter);
        DeleteMessagesIn(*FStore, FRow, withAssociated, meter);
        transaction.Commit();
        return kept ? mapi::MAPI_W_PARTIAL_COMPLETION : mapi::S_OK;
    });
}

} // namespace deftmapi::client
