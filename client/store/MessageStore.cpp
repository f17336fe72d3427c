// IMsgStore, and what all objects of a store share.
#include "client/notify/StoreFeed.hpp"
#include "client/store/Attachment.hpp"
#include "client/store/Folder.hpp"
#include "client/store/PropertyStream.hpp"
#include "client/store/StoreObjects.hpp"
#include "client/table/MemorySource.hpp"
#include "client/table/Table.hpp"

#include <algorithm>
#include <set>

namespace deftmapi::client
{
namespace
{

constexpr auto sNoEvents = u"A store does not tell of events of this kind.";
constexpr auto sNoConnection = u"There is no notification of this connection number.";
constexpr auto sNoMail = u"The notification names no new message of this store.";
constexpr auto sNoQueue = u"This store has no outgoing queue.";
constexpr auto sReadOnly = u"The store was opened for reading only.";
constexpr auto sBadInterface = u"The object does not support the interface that was asked for.";
constexpr auto sNoFolder = u"The folder does not exist.";
constexpr auto sEmbedded = u"An embedded message is opened through its attachment.";
constexpr auto sSoftDeletes = u"The store does not keep deleted items.";
constexpr auto sStoreEntry = u"A message store is opened through the session.";
constexpr auto sDefaultClass = u"The default receive folder can be changed but not removed.";
constexpr auto sBadClass = u"The text is no name of a message class.";
constexpr auto sProvider = u"Deft store";

constexpr ULONG IdentityList[] = {tag::EntryId,        tag::RecordKey,  tag::InstanceKey,      tag::StoreEntryId,
                                  tag::StoreRecordKey, tag::ObjectType, tag::MappingSignature, tag::StoreSupportMask};

constexpr ULONG StoreTags[] = {tag::EntryId,          tag::RecordKey,       tag::StoreEntryId,     tag::StoreRecordKey,
                               tag::MappingSignature, tag::ObjectType,      tag::StoreSupportMask, tag::DefaultStore,
                               tag::MdbProvider,      tag::ValidFolderMask, tag::StoreState,       tag::Access,
                               tag::AccessLevel,      tag::ResourceFlags,   tag::ProviderDisplay};

// The special folders cannot be deleted, so all of them are always valid.
constexpr ULONG AllFoldersValid = mapi::FOLDER_IPM_SUBTREE_VALID | mapi::FOLDER_IPM_INBOX_VALID |
                                  mapi::FOLDER_IPM_OUTBOX_VALID | mapi::FOLDER_IPM_WASTEBASKET_VALID |
                                  mapi::FOLDER_IPM_SENTMAIL_VALID | mapi::FOLDER_VIEWS_VALID |
                                  mapi::FOLDER_COMMON_VIEWS_VALID | mapi::FOLDER_FINDER_VALID;

constexpr ULONG OpenEntryFlags = mapi::MAPI_BEST_ACCESS | mapi::MAPI_DEFERRED_ERRORS | mapi::MAPI_MODIFY |
                                 mapi::MAPI_CACHE_ONLY | mapi::MAPI_NO_CACHE | mapi::SHOW_SOFT_DELETES;

/// Parts of printable ASCII characters with dots between them, 255 characters at most; or nothing, for the default.
bool IsClassName(const WideString& name)
{
    const auto isPrintable = [](char16_t c) { return c >= u' ' && c < 0x7F; };
    const bool emptyPart = name.starts_with(u'.') || name.ends_with(u'.') || name.find(u"..") != WideString::npos;
    return name.size() <= 255 && !emptyPart && std::all_of(name.begin(), name.end(), isPrintable);
}

class StoreObject final : public PropertyObject<mapi::IMsgStore>
{
public:
    StoreObject(StorePtr store, bool writable, bool isDefault)
        : PropertyObject(std::move(store), writable), FDefault(isDefault)
    {}
    ~StoreObject() override;

    mapi::HRESULT DEFTMAPI_STDCALL Advise(ULONG size, mapi::LPENTRYID id, ULONG mask, mapi::LPMAPIADVISESINK sink,
                                          mapi::ULONG_PTR* connection) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Unadvise(mapi::ULONG_PTR connection) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CompareEntryIDs(ULONG size1, mapi::LPENTRYID id1, ULONG size2, mapi::LPENTRYID id2,
                                                   ULONG flags, ULONG* result) noexcept override
    {
        return Run([&] {
            Require(result, u"lpulResult");
            *result = 0;
            RequireFlags(flags, 0);
            *result = SameEntry(size1, id1, size2, id2);
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, ULONG flags, ULONG* type,
                                             mapi::LPUNKNOWN* object) noexcept override
    {
        return Run([&] {
            Require(object, u"lppUnk");
            *object = nullptr;
            Require(type, u"lpulObjType");
            *object = OpenStoreEntry(FStore, FWritable, size, id, iid, flags, type).Detach();
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL SetReceiveFolder(mapi::LPTSTR messageClass, ULONG flags, ULONG size,
                                                    mapi::LPENTRYID id) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetReceiveFolder(mapi::LPTSTR messageClass, ULONG flags, ULONG* size,
                                                    mapi::LPENTRYID* id, mapi::LPTSTR* explicitClass) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetReceiveFolderTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL StoreLogoff(ULONG* flags) noexcept override
    {
        std::set<mapi::ULONG_PTR> connections;
        const mapi::HRESULT result = Run([&] {
            Require(flags, u"lpulFlags");
            *flags = mapi::LOGOFF_COMPLETE; // nothing is ever under way
            connections.swap(FConnections);
        });
        for (const mapi::ULONG_PTR connection : connections)
            Dispatcher::Instance().Remove(connection);
        return result;
    }
    mapi::HRESULT DEFTMAPI_STDCALL AbortSubmit(ULONG, mapi::LPENTRYID, ULONG) noexcept override
    {
        return NoSupport(sNoQueue);
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetOutgoingQueue(ULONG, mapi::LPMAPITABLE*) noexcept override
    {
        return NoSupport(sNoQueue);
    }
    mapi::HRESULT DEFTMAPI_STDCALL SetLockState(mapi::LPMESSAGE, ULONG) noexcept override
    {
        return NoSupport(sNoQueue);
    }
    mapi::HRESULT DEFTMAPI_STDCALL FinishedMsg(ULONG, ULONG, mapi::LPENTRYID) noexcept override
    {
        return NoSupport(sNoQueue);
    }
    mapi::HRESULT DEFTMAPI_STDCALL NotifyNewMail(mapi::LPNOTIFICATION notification) noexcept override;

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMsgStore || iid == mapi::IID_IMAPIProp;
    }
    // One transaction for a stream, not one for each piece that is written.
    [[nodiscard]] bool WaitsForCommit() const override { return true; }

protected:
    void Refresh() override
    {
        FProps.Clear();
        Query query = FStore->Db().Prepare("SELECT props FROM store");
        if (query.Step())
            FStore->Unpack(query.Blob(0), FProps);
    }
    const PropertyBag& Read() override { return FProps; }
    PropertyBag& Write() override { return FProps; }
    void Changed(std::span<const ULONG> ids) override
    {
        Transaction transaction(FStore->Db());
        PutOntoStored(ids);
        const Bytes packed = FStore->Pack({LargeOwner::Store, 0}, FProps);
        FStore->Db().Prepare("UPDATE store SET props = ?1").BindBlob(1, packed).Run();
        AddStoreModified(FStore->Db());
        transaction.Commit();
        if (FStore->OnRenamed && std::find(ids.begin(), ids.end(), tag::DisplayName >> 16) != ids.end())
            FStore->OnRenamed(FProps.Text(tag::DisplayName));
    }
    std::optional<Prop> Computed(ULONG id) override;
    std::vector<ULONG> ComputedTags() const override { return {std::begin(StoreTags), std::end(StoreTags)}; }
    mapi::HRESULT CheckChange(ULONG tag, bool) override
    {
        const bool computed =
            std::any_of(std::begin(StoreTags), std::end(StoreTags), [tag](ULONG t) { return t >> 16 == tag >> 16; });
        return computed ? mapi::MAPI_E_COMPUTED : mapi::S_OK;
    }

private:
    mapi::HRESULT NoSupport(WideView text) noexcept
    {
        return Run([&] { Fail(mapi::MAPI_E_NO_SUPPORT, text); });
    }

    bool FDefault;
    PropertyBag FProps;
    std::set<mapi::ULONG_PTR> FConnections;
};

StoreObject::~StoreObject()
{
    for (const mapi::ULONG_PTR connection : FConnections)
        Dispatcher::Instance().Remove(connection);
}

mapi::HRESULT StoreObject::Advise(ULONG size, mapi::LPENTRYID id, ULONG mask, mapi::LPMAPIADVISESINK sink,
                                  mapi::ULONG_PTR* connection) noexcept
{
    return Run([&] {
        Require(connection, u"lpulConnection");
        *connection = 0;
        Require(sink, u"lpAdviseSink");
        if (mask & (mapi::fnevTableModified | mapi::fnevStatusObjectModified | mapi::fnevExtended))
            Fail(mapi::MAPI_E_NO_SUPPORT, sNoEvents);
        RequireFlags(mask, StoreEvents);
        if (mask == 0)
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoEvents);
        std::optional<EntryReference> object;
        if (size != 0) {
            object = RequireEntryId(size, id);
            if (object->kind == EntryKind::Store && object->store == FStore->Id())
                object.reset();
            else
                object->row = FStore->RowOf(size, id, object->kind);
        }
        auto feed = std::make_shared<StoreFeed>(FStore->ForListeners(), mask, object);
        std::set<mapi::ULONG_PTR> prepared{0}; // so that nothing can fail after the sink is known
        const mapi::ULONG_PTR number = Dispatcher::Instance().Add(std::move(feed), sink, FStore.get());
        auto node = prepared.extract(prepared.begin());
        node.value() = number;
        FConnections.insert(std::move(node));
        *connection = number;
    });
}

mapi::HRESULT StoreObject::Unadvise(mapi::ULONG_PTR connection) noexcept
{
    const mapi::HRESULT result = Run([&] {
        if (FConnections.erase(connection) == 0)
            Fail(mapi::MAPI_E_NOT_FOUND, sNoConnection);
    });
    // Outside the lock: a callback that is waited for may want it. After the log-off the connection is gone already.
    if (result == mapi::S_OK)
        Dispatcher::Instance().Remove(connection);
    return result;
}

mapi::HRESULT StoreObject::NotifyNewMail(mapi::LPNOTIFICATION notification) noexcept
{
    return Run([&] {
        Require(notification, u"lpNotification");
        RequireWritable();
        if (notification->ulEventType != mapi::fnevNewMail)
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoMail);
        const auto& mail = notification->info.newmail;
        const std::int64_t row = FStore->RowOf(mail.cbEntryID, mail.lpEntryID, EntryKind::Message);
        Transaction transaction(FStore->Db());
        Query query = FStore->Db().Prepare("SELECT folder FROM messages WHERE id = ?1 AND folder IS NOT NULL");
        if (!query.Bind(1, row).Step())
            Fail(mapi::MAPI_E_NOT_FOUND, sNoMail);
        AddToJournal(FStore->Db(), JournalKind::NewMail, row, query.Number(0));
        query.Reset();
        transaction.Commit();
    });
}

std::optional<Prop> StoreObject::Computed(ULONG id)
{
    switch (id) {
    case tag::EntryId >> 16:
        return BinaryProp(tag::EntryId, FStore->EntryIdOf(EntryKind::Store, 0));
    case tag::RecordKey >> 16:
        return BinaryProp(tag::RecordKey, ToBytes(FStore->Id()));
    case tag::ObjectType >> 16:
        return LongProp(tag::ObjectType, mapi::MAPI_STORE);
    case tag::DefaultStore >> 16:
        return LongProp(tag::DefaultStore, FDefault);
    case tag::MdbProvider >> 16:
        return BinaryProp(tag::MdbProvider, ToBytes(ProviderUniqueId));
    case tag::ProviderDisplay >> 16:
        return TextProp(tag::ProviderDisplay, sProvider);
    case tag::ValidFolderMask >> 16:
        return LongProp(tag::ValidFolderMask, AllFoldersValid);
    case tag::StoreState >> 16:
        return LongProp(tag::StoreState, FStore->Searches().IsNeeded() ? mapi::STORE_HAS_SEARCHES : 0);
    case tag::ResourceFlags >> 16:
        return LongProp(tag::ResourceFlags, FDefault ? mapi::STATUS_DEFAULT_STORE : 0);
    case tag::Access >> 16:
        return LongProp(tag::Access,
                        FWritable ? mapi::MAPI_ACCESS_MODIFY | mapi::MAPI_ACCESS_READ : mapi::MAPI_ACCESS_READ);
    case tag::AccessLevel >> 16:
        return LongProp(tag::AccessLevel, FWritable ? mapi::MAPI_MODIFY : 0);
    case tag::StoreSupportMask >> 16:
        return LongProp(tag::StoreSupportMask,
                        FWritable
                            ? StoreSupport
                            : (StoreSupport & ~(mapi::STORE_MODIFY_OK | mapi::STORE_CREATE_OK)) | mapi::STORE_READONLY);
    default:
        return IdentityProperty(*FStore, EntryKind::Store, 0, id);
    }
}

mapi::HRESULT StoreObject::SetReceiveFolder(mapi::LPTSTR messageClass, ULONG flags, ULONG size,
                                            mapi::LPENTRYID id) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::MAPI_UNICODE);
        RequireWritable();
        const WideString name = TextParameter(messageClass, flags);
        if (!IsClassName(name))
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sBadClass);
        const std::string key = PackText(KwUpperCase(name));
        Transaction transaction(FStore->Db());
        if (size == 0) {
            if (name.empty())
                Fail(mapi::MAPI_E_INVALID_PARAMETER, sDefaultClass);
            FStore->Db().Prepare("DELETE FROM receive_folders WHERE class_key = ?1").BindText(1, key).Run();
        } else {
            const FolderRow folder = LoadFolder(*FStore, FStore->RowOf(size, id, EntryKind::Folder));
            RequireNoSearch(folder);
            Query insert = FStore->Db().Prepare("INSERT OR REPLACE INTO receive_folders VALUES (?1, ?2, ?3)");
            insert.BindText(1, key).BindText(2, PackText(name)).Bind(3, folder.row).Run();
        }
        transaction.Commit();
    });
}

mapi::HRESULT StoreObject::GetReceiveFolder(mapi::LPTSTR messageClass, ULONG flags, ULONG* size, mapi::LPENTRYID* id,
                                            mapi::LPTSTR* explicitClass) noexcept
{
    return Run([&] {
        Require(size, u"lpcbEntryID");
        Require(id, u"lppEntryID");
        *size = 0;
        *id = nullptr;
        if (explicitClass)
            *explicitClass = nullptr;
        RequireFlags(flags, mapi::MAPI_UNICODE);
        // The longest registered class that the given one equals or begins with, part by part; at last the default "".
        const WideString given = TextParameter(messageClass, flags);
        if (!IsClassName(given))
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sBadClass);
        WideString name = KwUpperCase(given);
        for (;;) {
            Query query = FStore->Db().Prepare("SELECT folder, class FROM receive_folders WHERE class_key = ?1");
            if (query.BindText(1, PackText(name)).Step()) {
                const Bytes entry = FStore->EntryIdOf(EntryKind::Folder, query.Number(0));
                auto exported = ExportEntryId(entry);
                if (explicitClass) {
                    const Prop text = TextProp(tag::MessageClass, UnpackText(query.Text(1)));
                    const auto value = Convert(text, mapi::PT_UNSPECIFIED, (flags & mapi::MAPI_UNICODE) != 0);
                    const BlobPtr bytes = StreamContent(*value);
                    auto buffer = AllocateAs<char>(static_cast<std::size_t>(bytes->Size()) + sizeof(char16_t));
                    bytes->Read(0, buffer.Get(), static_cast<std::size_t>(bytes->Size()));
                    *explicitClass = buffer.Detach();
                }
                *size = static_cast<ULONG>(entry.size());
                *id = exported.Detach();
                return;
            }
            if (name.empty())
                Fail(mapi::MAPI_E_NOT_FOUND, sNoFolder);
            const std::size_t dot = name.rfind(u'.');
            name.resize(dot == WideString::npos ? 0 : dot);
        }
    });
}

mapi::HRESULT StoreObject::GetReceiveFolderTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept
{
    return Run([&] {
        Require(table, u"lppTable");
        *table = nullptr;
        RequireFlags(flags, mapi::MAPI_UNICODE | mapi::MAPI_DEFERRED_ERRORS);
        std::vector<Props> rows;
        Query query = FStore->Db().Prepare("SELECT folder, class FROM receive_folders ORDER BY class_key");
        while (query.Step()) {
            const Bytes entry = FStore->EntryIdOf(EntryKind::Folder, query.Number(0));
            rows.push_back(
                {BinaryProp(tag::EntryId, entry), TextProp(tag::MessageClass, UnpackText(query.Text(1))),
                 BinaryProp(tag::RecordKey, MakeRecordKey({FStore->Id(), EntryKind::Folder, query.Number(0)}))});
        }
        auto source = std::make_shared<MemorySource>(
            std::vector<ULONG>{tag::EntryId, tag::MessageClass, tag::RecordKey}, std::move(rows));
        *table = TKwComPtr<mapi::IMAPITable>(new Table(std::move(source), (flags & mapi::MAPI_UNICODE) != 0)).Detach();
    });
}

} // namespace

std::optional<Prop> IdentityProperty(const StoreFile& store, EntryKind kind, std::int64_t row, ULONG id)
{
    switch (id) {
    case tag::StoreEntryId >> 16:
        return BinaryProp(tag::StoreEntryId, store.EntryIdOf(EntryKind::Store, 0));
    case tag::StoreRecordKey >> 16:
    case tag::MappingSignature >> 16:
        return BinaryProp(id << 16 | mapi::PT_BINARY, ToBytes(store.Id()));
    case tag::StoreSupportMask >> 16:
        return LongProp(tag::StoreSupportMask, StoreSupport);
    case tag::ObjectType >> 16:
        return LongProp(tag::ObjectType, static_cast<std::int64_t>(kind));
    default:
        break;
    }
    if (row == 0)
        return std::nullopt;
    switch (id) {
    case tag::EntryId >> 16:
        return BinaryProp(tag::EntryId, store.EntryIdOf(kind, row));
    case tag::RecordKey >> 16:
        return BinaryProp(tag::RecordKey, MakeRecordKey({store.Id(), kind, row}));
    case tag::InstanceKey >> 16: {
        const auto* raw = reinterpret_cast<const std::uint8_t*>(&row);
        return BinaryProp(tag::InstanceKey, Bytes(raw, raw + sizeof row));
    }
    default:
        return std::nullopt;
    }
}

std::span<const ULONG> IdentityTags()
{
    return IdentityList;
}

void RequireInterface(mapi::LPCIID iid, std::initializer_list<const mapi::IID*> supported)
{
    if (!iid || *iid == mapi::IID_IUnknown)
        return;
    if (std::none_of(supported.begin(), supported.end(), [iid](const mapi::IID* own) { return *own == *iid; }))
        Fail(mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, sBadInterface);
}

TKwComPtr<mapi::IMAPIFolder> OpenFolderRow(const StorePtr& store, std::int64_t row, bool writable)
{
    Query query = store->Db().Prepare("SELECT 1 FROM folders WHERE id = ?1");
    if (!query.Bind(1, row).Step())
        Fail(mapi::MAPI_E_NOT_FOUND, sNoFolder);
    return {new FolderObject(store, row, writable)};
}

TKwComPtr<mapi::IMessage> OpenMessageRow(const StorePtr& store, std::int64_t row, bool writable)
{
    MessageState message = LoadMessage(*store, row);
    if (message.folder == 0)
        Fail(mapi::MAPI_E_NOT_FOUND, sEmbedded);
    return {new MessageObject(store, std::move(message), writable, nullptr)};
}

TKwComPtr<mapi::IMsgStore> OpenStoreObject(const StorePtr& store, bool writable, bool isDefault)
{
    return {new StoreObject(store, writable, isDefault)};
}

bool SameEntry(ULONG size1, const mapi::ENTRYID* id1, ULONG size2, const mapi::ENTRYID* id2)
{
    const auto bytes = [](ULONG size, const mapi::ENTRYID* id) {
        if (!id || size == 0)
            Fail(mapi::MAPI_E_INVALID_ENTRYID, u"An entry identifier is missing.");
        return std::span(reinterpret_cast<const std::uint8_t*>(id), size);
    };
    const auto first = bytes(size1, id1);
    const auto second = bytes(size2, id2);
    return std::equal(first.begin(), first.end(), second.begin(), second.end());
}

TKwComPtr<mapi::IUnknown> OpenStoreEntry(const StorePtr& store, bool writable, ULONG size, const mapi::ENTRYID* id,
                                         mapi::LPCIID iid, ULONG flags, ULONG* type)
{
    RequireFlags(flags, OpenEntryFlags);
    if (flags & mapi::SHOW_SOFT_DELETES)
        Fail(mapi::MAPI_E_NO_SUPPORT, sSoftDeletes);
    EntryReference entry{store->Id(), EntryKind::Folder, static_cast<std::int64_t>(SpecialFolder::Root)};
    if (size != 0)
        entry = RequireEntryId(size, id);
    if (flags & mapi::MAPI_MODIFY && !writable)
        Fail(mapi::MAPI_E_NO_ACCESS, sReadOnly);
    const bool modify = writable && (flags & (mapi::MAPI_MODIFY | mapi::MAPI_BEST_ACCESS)) != 0;
    if (entry.kind == EntryKind::Store)
        Fail(mapi::MAPI_E_INVALID_ENTRYID, sStoreEntry);
    const std::int64_t row = size == 0 ? entry.row : store->RowOf(size, id, entry.kind);
    TKwComPtr<mapi::IUnknown> object;
    if (entry.kind == EntryKind::Folder) {
        RequireInterface(iid, {&mapi::IID_IMAPIFolder, &mapi::IID_IMAPIContainer, &mapi::IID_IMAPIProp});
        object = OpenFolderRow(store, row, modify);
    } else {
        RequireInterface(iid, {&mapi::IID_IMessage, &mapi::IID_IMAPIProp});
        object = OpenMessageRow(store, row, modify);
    }
    *type = static_cast<ULONG>(entry.kind);
    return object;
}

} // namespace deftmapi::client
