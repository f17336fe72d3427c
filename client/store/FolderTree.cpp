// What a folder does with its subfolders: create, copy and move.
#include "client/store/Transfer.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr auto sBadType = u"Only generic folders and search folders can be created.";
constexpr auto sOtherType = u"There is a folder of this name already, but of another type.";
constexpr auto sNoName = u"A folder needs a name.";
constexpr auto sNameTaken = u"There is a folder of this name already.";
constexpr auto sSpecial = u"The folders that every store has cannot be moved.";
constexpr auto sCycle = u"A folder cannot be moved or copied into itself or below itself.";

/// @returns 0 when there is none
std::int64_t ChildOfName(StoreFile& store, std::int64_t parent, const WideString& name)
{
    Query query = store.Db().Prepare("SELECT id FROM folders WHERE parent = ?1 AND name_key = ?2");
    query.Bind(1, parent).BindText(2, PackText(KwUpperCase(name)));
    return query.Step() ? query.Number(0) : 0;
}

bool IsBelow(StoreFile& store, std::int64_t row, std::int64_t ancestor)
{
    while (row != 0 && row != ancestor) {
        Query query = store.Db().Prepare("SELECT parent FROM folders WHERE id = ?1");
        row = query.Bind(1, row).Step() ? query.Number(0) : 0;
    }
    return row == ancestor;
}

/// The search folders that are to look in this folder or in one above it.
std::vector<std::int64_t> SearchesAbove(StoreFile& store, std::int64_t folder)
{
    Query query = store.Db().Prepare(
        "WITH RECURSIVE up(id) AS (SELECT ?1 UNION ALL SELECT f.parent FROM up JOIN folders f ON f.id = up.id WHERE "
        "f.parent IS NOT NULL) SELECT DISTINCT search FROM search_scopes WHERE folder IN up ORDER BY search");
    return query.Bind(1, folder).Numbers();
}

void MoveFolder(StoreFile& store, std::int64_t row, std::int64_t parent, const WideString& name)
{
    Query update = store.Db().Prepare("UPDATE folders SET parent = ?2, name = ?3, name_key = ?4, modified = ?5, "
                                      "version = version + 1 WHERE id = ?1");
    update.Bind(1, row).Bind(2, parent).BindText(3, PackText(name)).BindText(4, PackText(KwUpperCase(name)));
    update.Bind(5, Now()).Run();
}

} // namespace

std::vector<std::int64_t> ChildFolders(StoreFile& store, std::int64_t row)
{
    return store.Db().Prepare("SELECT id FROM folders WHERE parent = ?1").Bind(1, row).Numbers();
}

std::vector<std::int64_t> Subtree(StoreFile& store, std::vector<std::int64_t> rows)
{
    for (std::size_t next = 0; next < rows.size();) {
        std::sort(rows.begin() + static_cast<std::ptrdiff_t>(next), rows.end());
        for (const std::size_t level = rows.size(); next < level; ++next) {
            const auto children = ChildFolders(store, rows[next]);
            rows.insert(rows.end(), children.begin(), children.end());
        }
    }
    return rows;
}

std::int64_t CountSteps(StoreFile& store, const std::vector<std::int64_t>& folders)
{
    std::int64_t count = 0;
    for (const std::int64_t folder : folders) {
        const FolderRow state = LoadFolder(store, folder);
        count += 1 + (state.IsSearch() ? 0 : state.contents + state.associated);
    }
    return count;
}

std::int64_t InsertFolder(StoreFile& store, std::int64_t parent, ULONG type, const WideString& name,
                          const PropertyBag& props)
{
    Database& database = store.Db();
    // The row is known beforehand, so that listeners are told of one change: nobody else inserts meanwhile.
    const std::int64_t row = database.Scalar("SELECT seq + 1 FROM sqlite_sequence WHERE name = 'folders'");
    const Bytes packed = store.Pack({LargeOwner::Folder, row}, props, [](const Prop& prop) {
        return prop.tag != tag::DisplayName && prop.tag != tag::CreationTime && prop.tag != tag::LastModification;
    });
    Query insert = database.Prepare("INSERT INTO folders (id, parent, type, name, name_key, created, modified, props) "
                                    "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?6, ?7)");
    insert.Bind(1, row).Bind(2, parent).Bind(3, type).BindText(4, PackText(name));
    insert.BindText(5, PackText(KwUpperCase(name))).Bind(6, Now()).BindBlob(7, packed).Run();
    return row;
}

mapi::HRESULT FolderObject::CreateFolder(ULONG type, mapi::LPTSTR name, mapi::LPTSTR comment, mapi::LPCIID iid,
                                         ULONG flags, mapi::LPMAPIFOLDER* folder) noexcept
{
    return Run([&] {
        Require(folder, u"lppFolder");
        *folder = nullptr;
        RequireFlags(flags, mapi::MAPI_UNICODE | mapi::OPEN_IF_EXISTS | mapi::MAPI_DEFERRED_ERRORS);
        RequireInterface(iid, {&mapi::IID_IMAPIFolder, &mapi::IID_IMAPIContainer, &mapi::IID_IMAPIProp});
        if (type != mapi::FOLDER_GENERIC && type != mapi::FOLDER_SEARCH)
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sBadType);
        Require(name, u"lpszFolderName");
        const WideString text = TextParameter(name, flags);
        if (text.empty())
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoName);
        RequireWritable();
        Transaction transaction(FStore->Db());
        Refresh(); // nobody deletes the folder any more
        RequireNoSearch(FState);
        std::int64_t row = ChildOfName(*FStore, FRow, text);
        if (row != 0 && !(flags & mapi::OPEN_IF_EXISTS))
            Fail(mapi::MAPI_E_COLLISION, sNameTaken);
        if (row != 0 && LoadFolder(*FStore, row).IsSearch() != (type == mapi::FOLDER_SEARCH))
            Fail(mapi::MAPI_E_COLLISION, sOtherType);
        if (row == 0) {
            PropertyBag props;
            if (comment)
                props.Set(TextProp(tag::Comment, TextParameter(comment, flags)));
            row = InsertFolder(*FStore, FRow, type, text, props);
        }
        transaction.Commit();
        *folder = OpenFolderRow(FStore, row, true).Detach();
    });
}

bool FolderObject::CopyFolderAcross(std::int64_t row, FolderObject& target, const WideString& name, ULONG flags,
                                    ProgressMeter& meter)
{
    const bool move = (flags & mapi::FOLDER_MOVE) != 0;
    StoreFile& to = *target.FStore;
    Transfer transfer(*FStore, to, meter);
    {
        Transaction transaction(to.Db());
        const Snapshot snapshot(FStore->Db());
        target.Refresh(); // it must still be there
        RequireNoSearch(target.FState);
        const WideString text = name.empty() ? LoadFolder(*FStore, row).props.Text(tag::DisplayName) : name;
        if (text.empty())
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoName);
        if (ChildOfName(to, target.FRow, text) != 0)
            Fail(mapi::MAPI_E_COLLISION, sNameTaken);
        transfer.CopyFolder(row, target.FRow, text, move || (flags & mapi::COPY_SUBFOLDERS) != 0);
        transaction.Commit();
    }
    return !move || transfer.RemoveFolder();
}

mapi::HRESULT FolderObject::CopyFolder(ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, mapi::LPVOID destination,
                                       mapi::LPTSTR name, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS progress,
                                       ULONG flags) noexcept
{
    return Guard(FLast, [&] {
        RequireFlags(flags, mapi::MAPI_UNICODE | mapi::FOLDER_MOVE | mapi::COPY_SUBFOLDERS | mapi::FOLDER_DIALOG |
                                mapi::MAPI_DECLINE_OK);
        const bool move = (flags & mapi::FOLDER_MOVE) != 0;
        const bool deep = (flags & mapi::COPY_SUBFOLDERS) != 0;
        if (move)
            RequireWritable();
        const TKwComPtr<FolderObject> target = Destination(destination, iid);
        const BothLocks locks(*FStore, *target->FStore);
        const std::int64_t row = FStore->RowOf(size, id, EntryKind::Folder);
        if (move && IsSpecialFolder(row))
            Fail(mapi::MAPI_E_NO_ACCESS, sSpecial);
        WideString text = TextParameter(name, flags);
        const std::vector<Database*> stores = {&FStore->Db(), &target->FStore->Db()};
        if (!IsOfStore(*target)) {
            const auto folders = move || deep ? Subtree(*FStore, {row}) : std::vector{row};
            ProgressMeter meter(progress, progress ? CountSteps(*FStore, folders) : 0, stores);
            return CopyFolderAcross(row, *target, text, flags, meter) ? mapi::S_OK : mapi::MAPI_W_PARTIAL_COMPLETION;
        }
        // From here on nobody else moves a folder: what is looked at stays as it is until the end.
        StoreFile& store = *target->FStore;
        Transaction transaction(store.Db());
        const FolderRow source = LoadFolder(store, row);
        target->Refresh(); // it must still be there
        RequireNoSearch(target->FState);
        if ((move || deep) && IsBelow(store, target->FRow, row))
            Fail(mapi::MAPI_E_FOLDER_CYCLE, sCycle);
        if (text.empty())
            text = source.props.Text(tag::DisplayName);
        if (text.empty())
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoName);
        const std::int64_t taken = ChildOfName(store, target->FRow, text);
        if (taken != 0 && !(move && taken == row))
            Fail(mapi::MAPI_E_COLLISION, sNameTaken);
        std::int64_t steps = 1;
        if (progress && !move)
            steps = CountSteps(store, deep ? Subtree(store, {row}) : std::vector{row});
        ProgressMeter meter(progress, steps, stores);
        if (move) {
            MoveFolder(store, row, target->FRow, text);
            if (SearchesAbove(store, target->FRow) != SearchesAbove(store, source.parent))
                store.Searches().FolderMoved(row);
            meter.Step();
        } else {
            Transfer(store, store, meter).CopyFolder(row, target->FRow, text, deep);
        }
        transaction.Commit();
        return mapi::S_OK;
    });
}

} // namespace deftmapi::client
