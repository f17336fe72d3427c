#include "client/store/Folder.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr auto sNoFolder = u"The folder does not exist.";
constexpr auto sDeleted = u"The folder has been deleted since it was opened.";
constexpr auto sSearch = u"A search folder shows messages of other folders and keeps none of its own.";
constexpr auto sNoSort = u"The store keeps no default sort order for a folder.";
constexpr auto sNoTable = u"The property can only be opened as a table.";
constexpr auto sNoName = u"A folder needs a name.";
constexpr auto sNameTaken = u"There is a folder of this name already.";
constexpr auto sSoftDeletes = u"The store does not keep deleted items.";

constexpr ULONG CreateAccess =
    mapi::MAPI_ACCESS_CREATE_HIERARCHY | mapi::MAPI_ACCESS_CREATE_CONTENTS | mapi::MAPI_ACCESS_CREATE_ASSOCIATED;
constexpr ULONG FullAccess =
    mapi::MAPI_ACCESS_MODIFY | mapi::MAPI_ACCESS_READ | mapi::MAPI_ACCESS_DELETE | CreateAccess;

constexpr ULONG FolderTags[] = {tag::EntryId,
                                tag::RecordKey,
                                tag::InstanceKey,
                                tag::StoreEntryId,
                                tag::StoreRecordKey,
                                tag::MappingSignature,
                                tag::ObjectType,
                                tag::StoreSupportMask,
                                tag::FolderType,
                                tag::ContentCount,
                                tag::ContentUnread,
                                tag::Subfolders,
                                tag::FolderStatus,
                                tag::ContainerHierarchy,
                                tag::ContainerContents,
                                tag::AssociatedContents,
                                tag::AssociatedCount,
                                tag::ParentEntryId,
                                tag::Access,
                                tag::AccessLevel};

} // namespace

FolderRow LoadFolder(StoreFile& store, std::int64_t row)
{
    Query query =
        store.Db().Prepare("SELECT parent, type, content_count, unread_count, associated_count, name, created, "
                           "modified, props, EXISTS (SELECT 1 FROM folders c WHERE c.parent = f.id) "
                           "FROM folders f WHERE id = ?1");
    if (!query.Bind(1, row).Step())
        Fail(mapi::MAPI_E_NOT_FOUND, sNoFolder);
    FolderRow folder;
    folder.row = row;
    folder.parent = query.Number(0);
    folder.type = static_cast<ULONG>(query.Number(1));
    folder.contents = query.Number(2);
    folder.unread = query.Number(3);
    folder.associated = query.Number(4);
    const StoreChanges::Counts pending = store.Changes().Pending(row);
    folder.contents += pending.contents;
    folder.unread += pending.unread;
    folder.associated += pending.associated;
    folder.hasSubfolders = query.Number(9) != 0;
    store.Unpack(query.Blob(8), folder.props);
    folder.props.Set(TextProp(tag::DisplayName, UnpackText(query.Text(5))));
    folder.props.Set(LongProp(tag::CreationTime, query.Number(6)));
    folder.props.Set(LongProp(tag::LastModification, query.Number(7)));
    return folder;
}

std::optional<Prop> FolderProperty(const StoreFile& store, const FolderRow& folder, bool writable, ULONG id)
{
    switch (id) {
    case tag::FolderType >> 16:
        return LongProp(tag::FolderType, folder.type);
    case tag::ContentCount >> 16:
        return LongProp(tag::ContentCount, folder.contents);
    case tag::ContentUnread >> 16:
        return LongProp(tag::ContentUnread, folder.unread);
    case tag::AssociatedCount >> 16:
        return LongProp(tag::AssociatedCount, folder.associated);
    case tag::Subfolders >> 16:
        return LongProp(tag::Subfolders, folder.hasSubfolders);
    case tag::FolderStatus >> 16:
        return LongProp(tag::FolderStatus, 0);
    case tag::ContainerHierarchy >> 16:
    case tag::ContainerContents >> 16:
    case tag::AssociatedContents >> 16:
        return Prop{id << 16 | mapi::PT_OBJECT, {}};
    case tag::ParentEntryId >> 16: // the root folder is its own parent
        return BinaryProp(tag::ParentEntryId,
                          store.EntryIdOf(EntryKind::Folder, folder.parent ? folder.parent : folder.row));
    case tag::Access >> 16:
        return LongProp(tag::Access, !writable           ? mapi::MAPI_ACCESS_READ
                                     : folder.IsSearch() ? FullAccess & ~CreateAccess
                                                         : FullAccess);
    case tag::AccessLevel >> 16:
        return LongProp(tag::AccessLevel, writable ? mapi::MAPI_MODIFY : 0);
    default:
        return IdentityProperty(store, EntryKind::Folder, folder.row, id);
    }
}

bool NamesSpecialFolder(ULONG id)
{
    constexpr ULONG AdditionalRenEx = 0x36D90102; // further folders, and those of free times: others may have set them
    constexpr ULONG FreeBusy = 0x36E41102;
    constexpr ULONG Tags[] = {tag::IpmSubtree, tag::IpmOutbox,     tag::IpmWastebasket, tag::IpmSentMail,
                              tag::Views,      tag::CommonViews,   tag::Finder,         tag::IpmAppointment,
                              tag::IpmContact, tag::IpmJournal,    tag::IpmNote,        tag::IpmTask,
                              tag::IpmDrafts,  tag::AdditionalRen, AdditionalRenEx,     FreeBusy};
    return std::any_of(std::begin(Tags), std::end(Tags), [id](ULONG tag) { return tag >> 16 == id; });
}

void RequireNoSearch(const FolderRow& folder)
{
    if (folder.IsSearch())
        Fail(mapi::MAPI_E_NO_ACCESS, sSearch);
}

std::span<const ULONG> FolderPropertyTags()
{
    return FolderTags;
}

void FolderObject::Refresh()
{
    try {
        FState = LoadFolder(*FStore, FRow);
    } catch (const Failure& failure) {
        if (failure.Code() != mapi::MAPI_E_NOT_FOUND)
            throw;
        Fail(mapi::MAPI_E_OBJECT_DELETED, sDeleted);
    }
}

void FolderObject::Changed(std::span<const ULONG> ids)
{
    Transaction transaction(FStore->Db());
    PutOntoStored(ids);
    const WideString name = FState.props.Text(tag::DisplayName);
    if (name.empty() && FState.parent != 0)
        Fail(mapi::MAPI_E_BAD_VALUE, sNoName);
    const bool renamed = std::find(ids.begin(), ids.end(), tag::DisplayName >> 16) != ids.end();
    const Bytes props = FStore->Pack({LargeOwner::Folder, FRow}, FState.props, [](const Prop& prop) {
        return prop.tag != tag::DisplayName && prop.tag != tag::CreationTime && prop.tag != tag::LastModification;
    });
    const std::string key = PackText(KwUpperCase(name));
    if (renamed && FState.parent != 0) {
        Query taken = FStore->Db().Prepare("SELECT 1 FROM folders WHERE parent = ?1 AND name_key = ?2 AND id <> ?3");
        if (taken.Bind(1, FState.parent).BindText(2, key).Bind(3, FRow).Step())
            Fail(mapi::MAPI_E_COLLISION, sNameTaken);
    }
    Query update = FStore->Db().Prepare("UPDATE folders SET props = ?2, name = ?3, name_key = ?4, modified = ?5, "
                                        "version = version + 1 WHERE id = ?1");
    update.Bind(1, FRow).BindBlob(2, props).BindText(3, PackText(name)).BindText(4, key).Bind(5, Now()).Run();
    transaction.Commit();
}

mapi::HRESULT FolderObject::CheckChange(ULONG tag, bool deleting)
{
    const ULONG id = tag >> 16;
    const bool computed =
        std::any_of(std::begin(FolderTags), std::end(FolderTags), [id](ULONG t) { return t >> 16 == id; });
    if (computed || id == tag::CreationTime >> 16 || id == tag::LastModification >> 16)
        return mapi::MAPI_E_COMPUTED;
    if (id == tag::DisplayName >> 16 && (deleting || tag != tag::DisplayName))
        return deleting ? mapi::MAPI_E_NO_ACCESS : mapi::MAPI_E_UNEXPECTED_TYPE;
    return mapi::S_OK;
}

TKwComPtr<mapi::IUnknown> FolderObject::OpenObject(ULONG tag, const mapi::IID& iid, ULONG options, ULONG flags)
{
    if (tag != tag::ContainerContents && tag != tag::ContainerHierarchy && tag != tag::AssociatedContents)
        return PropertyObject::OpenObject(tag, iid, options, flags);
    if (iid != mapi::IID_IMAPITable)
        Fail(mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, sNoTable);
    const bool unicode = (options & mapi::MAPI_UNICODE) != 0;
    if (tag == tag::ContainerHierarchy)
        return OpenHierarchyTable(FStore, FRow, (options & mapi::CONVENIENT_DEPTH) != 0, unicode);
    return OpenContentsTable(FStore, FRow, ContentsOf(tag == tag::AssociatedContents), unicode);
}

mapi::HRESULT FolderObject::GetContentsTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept
{
    return Run([&] {
        Require(table, u"lppTable");
        *table = nullptr;
        RequireFlags(flags,
                     mapi::MAPI_UNICODE | mapi::MAPI_ASSOCIATED | mapi::MAPI_DEFERRED_ERRORS | mapi::SHOW_SOFT_DELETES);
        if (flags & mapi::SHOW_SOFT_DELETES)
            Fail(mapi::MAPI_E_NO_SUPPORT, sSoftDeletes);
        Query query = FStore->Db().Prepare("SELECT type FROM folders WHERE id = ?1"); // nothing else is asked for
        if (!query.Bind(1, FRow).Step())
            Fail(mapi::MAPI_E_OBJECT_DELETED, sDeleted);
        FState.type = static_cast<ULONG>(query.Number(0));
        query.Reset();
        *table = OpenContentsTable(FStore, FRow, ContentsOf((flags & mapi::MAPI_ASSOCIATED) != 0),
                                   (flags & mapi::MAPI_UNICODE) != 0)
                     .Detach();
    });
}

mapi::HRESULT FolderObject::GetHierarchyTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept
{
    return Run([&] {
        Require(table, u"lppTable");
        *table = nullptr;
        RequireFlags(flags, mapi::MAPI_UNICODE | mapi::CONVENIENT_DEPTH | mapi::MAPI_DEFERRED_ERRORS |
                                mapi::SHOW_SOFT_DELETES);
        if (flags & mapi::SHOW_SOFT_DELETES)
            Fail(mapi::MAPI_E_NO_SUPPORT, sSoftDeletes);
        Refresh();
        *table =
            OpenHierarchyTable(FStore, FRow, (flags & mapi::CONVENIENT_DEPTH) != 0, (flags & mapi::MAPI_UNICODE) != 0)
                .Detach();
    });
}

mapi::HRESULT FolderObject::OpenEntry(ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, ULONG flags, ULONG* type,
                                      mapi::LPUNKNOWN* object) noexcept
{
    return Run([&] {
        Require(object, u"lppUnk");
        *object = nullptr;
        Require(type, u"lpulObjType");
        *object = OpenStoreEntry(FStore, FWritable, size, id, iid, flags, type).Detach();
    });
}

mapi::HRESULT FolderObject::SaveContentsSort(mapi::LPSSortOrderSet, ULONG) noexcept
{
    return Run([&] { Fail(mapi::MAPI_E_NO_SUPPORT, sNoSort); });
}

} // namespace deftmapi::client
