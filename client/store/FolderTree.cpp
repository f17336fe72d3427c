// What a folder does with its subfolders: create, copy, move, delete; and emptying.
#include "client/store/Folder.hpp"

namespace deftmapi::client
{
namespace
{

constexpr auto sNoSearch = u"The store has no search folders.";
constexpr auto sBadType = u"Only generic folders can be created.";
constexpr auto sNoName = u"A folder needs a name.";
constexpr auto sNameTaken = u"There is a folder of this name already.";
constexpr auto sSpecial = u"The folders that every store has cannot be deleted or moved.";
constexpr auto sHasFolders = u"The folder has subfolders.";
constexpr auto sHasMessages = u"The folder has messages.";
constexpr auto sCycle = u"A folder cannot be moved or copied into itself or below itself.";
constexpr auto sNoFolder = u"The folder does not exist.";

bool IsSpecial(std::int64_t row)
{
    return row <= static_cast<std::int64_t>(SpecialFolder::Last);
}

std::vector<std::int64_t> Children(StoreFile& store, std::int64_t row)
{
    std::vector<std::int64_t> rows;
    Query query = store.Db().Prepare("SELECT id FROM folders WHERE parent = ?1");
    query.Bind(1, row);
    while (query.Step())
        rows.push_back(query.Number(0));
    return rows;
}

/// @returns 0 when there is none
std::int64_t ChildOfName(StoreFile& store, std::int64_t parent, const WideString& name)
{
    Query query = store.Db().Prepare("SELECT id FROM folders WHERE parent = ?1 AND name_key = ?2");
    query.Bind(1, parent).BindText(2, PackText(KwUpperCase(name)));
    return query.Step() ? query.Number(0) : 0;
}

std::int64_t InsertFolder(StoreFile& store, std::int64_t parent, const WideString& name, const PropertyBag& props)
{
    Database& database = store.Db();
    std::int64_t row = 0;
    {
        Query insert = database.Prepare("INSERT INTO folders (parent, type, name, name_key, created, modified, props) "
                                        "VALUES (?1, ?2, ?3, ?4, ?5, ?5, x'')");
        insert.Bind(1, parent).Bind(2, mapi::FOLDER_GENERIC).BindText(3, PackText(name));
        insert.BindText(4, PackText(KwUpperCase(name))).Bind(5, Now()).Run();
        row = database.LastRow();
    }
    const Bytes packed = store.Pack({LargeOwner::Folder, row}, props, [](const Prop& prop) {
        return prop.tag != tag::DisplayName && prop.tag != tag::CreationTime && prop.tag != tag::LastModification;
    });
    database.Prepare("UPDATE folders SET props = ?2 WHERE id = ?1").Bind(1, row).BindBlob(2, packed).Run();
    return row;
}

bool IsBelow(StoreFile& store, std::int64_t row, std::int64_t ancestor)
{
    while (row != 0 && row != ancestor) {
        Query query = store.Db().Prepare("SELECT parent FROM folders WHERE id = ?1");
        row = query.Bind(1, row).Step() ? query.Number(0) : 0;
    }
    return row == ancestor;
}

void CopyTree(StoreFile& store, std::int64_t from, std::int64_t parent, const WideString& name, bool deep)
{
    const FolderRow source = LoadFolder(store, from);
    const std::int64_t row = InsertFolder(store, parent, name, source.props);
    std::vector<std::int64_t> messages;
    {
        Query query = store.Db().Prepare("SELECT id FROM messages WHERE folder = ?1");
        query.Bind(1, from);
        while (query.Step())
            messages.push_back(query.Number(0));
    }
    for (const std::int64_t message : messages) {
        MessageState copy = CopyOfMessage(store, message, row);
        SaveMessage(store, copy, false);
    }
    if (!deep)
        return;
    for (const std::int64_t child : Children(store, from))
        CopyTree(store, child, row, LoadFolder(store, child).props.Text(tag::DisplayName), true);
}

} // namespace

void PurgeFolder(StoreFile& store, std::int64_t row)
{
    // The bulk goes in pieces, each a transaction of its own; what came meanwhile goes with the folder.
    for (const std::int64_t child : Children(store, row))
        PurgeFolder(store, child);
    PurgeMessages(store, row, true);
    Transaction transaction(store.Db());
    for (const std::int64_t child : Children(store, row))
        PurgeFolder(store, child);
    PurgeMessages(store, row, true);
    store.DropLargeValues({LargeOwner::Folder, row});
    store.Db().Prepare("DELETE FROM receive_folders WHERE folder = ?1").Bind(1, row).Run();
    store.Db().Prepare("DELETE FROM folders WHERE id = ?1").Bind(1, row).Run();
    transaction.Commit();
}

mapi::HRESULT FolderObject::CreateFolder(ULONG type, mapi::LPTSTR name, mapi::LPTSTR comment, mapi::LPCIID iid,
                                         ULONG flags, mapi::LPMAPIFOLDER* folder) noexcept
{
    return Run([&] {
        Require(folder, u"lppFolder");
        *folder = nullptr;
        RequireFlags(flags, mapi::MAPI_UNICODE | mapi::OPEN_IF_EXISTS | mapi::MAPI_DEFERRED_ERRORS);
        RequireInterface(iid, {&mapi::IID_IMAPIFolder, &mapi::IID_IMAPIContainer, &mapi::IID_IMAPIProp});
        if (type == mapi::FOLDER_SEARCH)
            Fail(mapi::MAPI_E_NO_SUPPORT, sNoSearch);
        if (type != mapi::FOLDER_GENERIC)
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sBadType);
        Require(name, u"lpszFolderName");
        const WideString text = TextParameter(name, flags);
        if (text.empty())
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoName);
        RequireWritable();
        Transaction transaction(FStore->Db());
        Refresh(); // nobody deletes the folder any more
        std::int64_t row = ChildOfName(*FStore, FRow, text);
        if (row != 0 && !(flags & mapi::OPEN_IF_EXISTS))
            Fail(mapi::MAPI_E_COLLISION, sNameTaken);
        if (row == 0) {
            PropertyBag props;
            if (comment)
                props.Set(TextProp(tag::Comment, TextParameter(comment, flags)));
            row = InsertFolder(*FStore, FRow, text, props);
        }
        transaction.Commit();
        *folder = OpenFolderRow(FStore, row, true).Detach();
    });
}

mapi::HRESULT FolderObject::CopyFolder(ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, mapi::LPVOID destination,
                                       mapi::LPTSTR name, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::MAPI_UNICODE | mapi::FOLDER_MOVE | mapi::COPY_SUBFOLDERS | mapi::FOLDER_DIALOG |
                                mapi::MAPI_DECLINE_OK);
        RequireWritable();
        const std::int64_t row = FStore->RowOf(size, id, EntryKind::Folder);
        const std::int64_t target = DestinationRow(destination, iid);
        const bool move = (flags & mapi::FOLDER_MOVE) != 0;
        if (move && IsSpecial(row))
            Fail(mapi::MAPI_E_NO_ACCESS, sSpecial);
        // From here on nobody else moves a folder: what is looked at stays as it is until the end.
        Transaction transaction(FStore->Db());
        const FolderRow source = LoadFolder(*FStore, row);
        static_cast<void>(LoadFolder(*FStore, target)); // it must still be there
        if ((move || flags & mapi::COPY_SUBFOLDERS) && IsBelow(*FStore, target, row))
            Fail(mapi::MAPI_E_FOLDER_CYCLE, sCycle);
        WideString text = TextParameter(name, flags);
        if (text.empty())
            text = source.props.Text(tag::DisplayName);
        const std::int64_t taken = ChildOfName(*FStore, target, text);
        if (taken != 0 && !(move && taken == row))
            Fail(mapi::MAPI_E_COLLISION, sNameTaken);
        if (move) {
            Query update =
                FStore->Db().Prepare("UPDATE folders SET parent = ?2, name = ?3, name_key = ?4, modified = ?5, "
                                     "version = version + 1 WHERE id = ?1");
            update.Bind(1, row).Bind(2, target).BindText(3, PackText(text)).BindText(4, PackText(KwUpperCase(text)));
            update.Bind(5, Now()).Run();
        } else {
            CopyTree(*FStore, row, target, text, (flags & mapi::COPY_SUBFOLDERS) != 0);
        }
        transaction.Commit();
    });
}

mapi::HRESULT FolderObject::DeleteFolder(ULONG size, mapi::LPENTRYID id, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS,
                                         ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::DEL_FOLDERS | mapi::DEL_MESSAGES | mapi::FOLDER_DIALOG | mapi::DELETE_HARD_DELETE);
        RequireWritable();
        const std::int64_t row = FStore->RowOf(size, id, EntryKind::Folder);
        if (IsSpecial(row))
            Fail(mapi::MAPI_E_NO_ACCESS, sSpecial);
        // What must be kept is decided on what is there when nobody else writes any more. When all may go, the bulk
        // goes in pieces instead.
        constexpr ULONG everything = mapi::DEL_FOLDERS | mapi::DEL_MESSAGES;
        std::optional<Transaction> decided;
        if ((flags & everything) != everything)
            decided.emplace(FStore->Db());
        const FolderRow folder = LoadFolder(*FStore, row);
        if (folder.parent != FRow)
            Fail(mapi::MAPI_E_NOT_FOUND, sNoFolder);
        if (folder.hasSubfolders && !(flags & mapi::DEL_FOLDERS))
            Fail(mapi::MAPI_E_HAS_FOLDERS, sHasFolders);
        if (folder.contents != 0 && !(flags & mapi::DEL_MESSAGES))
            Fail(mapi::MAPI_E_HAS_MESSAGES, sHasMessages);
        PurgeFolder(*FStore, row);
        if (decided)
            decided->Commit();
    });
}

mapi::HRESULT FolderObject::EmptyFolder(mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::DEL_ASSOCIATED | mapi::FOLDER_DIALOG | mapi::DELETE_HARD_DELETE);
        RequireWritable();
        Refresh();
        bool kept = false;
        for (const std::int64_t child : Children(*FStore, FRow)) {
            if (IsSpecial(child))
                kept = true;
            else
                PurgeFolder(*FStore, child);
        }
        PurgeMessages(*FStore, FRow, (flags & mapi::DEL_ASSOCIATED) != 0);
        return kept ? mapi::MAPI_W_PARTIAL_COMPLETION : mapi::S_OK;
    });
}

} // namespace deftmapi::client
