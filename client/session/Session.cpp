#include "client/session/Session.hpp"

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"
#include "client/session/DataFolder.hpp"
#include "client/session/ProfileSection.hpp"
#include "client/session/ServiceAdmin.hpp"
#include "client/session/SharedSessions.hpp"
#include "client/session/Status.hpp"
#include "client/store/StoreObjects.hpp"
#include "client/table/Table.hpp"
#include "client/table/WatchedRows.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace deftmapi::client
{
namespace
{

constexpr auto sNoDefault = u"There is no default profile.";
constexpr auto sNoProfileName = u"No profile was named, and there is nobody to ask: the client shows no dialogs.";
constexpr auto sEnded = u"The session has been logged off.";
constexpr auto sNoStore = u"The profile has no message store of this entry identifier.";
constexpr auto sReplaced = u"The file of the message store holds another store now.";
constexpr auto sUnknownProvider = u"No provider of the profile knows the entry identifier.";
constexpr auto sNotAStore = u"The entry identifier does not name a message store.";
constexpr auto sNoAddressBook = u"There is no address book.";
constexpr auto sNoOptions = u"There is no transport that has message options.";
constexpr auto sNoIdentity = u"No message service of the profile supplies an identity.";
constexpr auto sNoForms = u"The client shows no forms.";
constexpr auto sNoEvents = u"The session tells only of its own end and of critical errors.";
constexpr auto sNoConnection = u"There is no notification of this connection number.";
constexpr auto sNoRole = u"A store can only be made the default store of its profile.";

constexpr ULONG LogonFlags = mapi::MAPI_ALLOW_OTHERS | mapi::MAPI_APP_PROFILE | mapi::MAPI_BG_SESSION |
                             mapi::MAPI_EXPLICIT_PROFILE | mapi::MAPI_EXTENDED | mapi::MAPI_FORCE_DOWNLOAD |
                             mapi::MAPI_LOGON_UI | mapi::MAPI_NEW_SESSION | mapi::MAPI_NO_MAIL | mapi::MAPI_NT_SERVICE |
                             mapi::MAPI_PASSWORD_UI | mapi::MAPI_SERVICE_UI_ALWAYS | mapi::MAPI_TIMEOUT_SHORT |
                             mapi::MAPI_UNICODE | mapi::MAPI_USE_DEFAULT;
constexpr ULONG OpenStoreFlags = mapi::MAPI_BEST_ACCESS | mapi::MAPI_DEFERRED_ERRORS | mapi::MDB_NO_DIALOG |
                                 mapi::MDB_NO_MAIL | mapi::MDB_TEMPORARY | mapi::MDB_WRITE | mapi::MDB_ONLINE;
constexpr ULONG OpenEntryFlags = mapi::MAPI_BEST_ACCESS | mapi::MAPI_DEFERRED_ERRORS | mapi::MAPI_MODIFY |
                                 mapi::MAPI_CACHE_ONLY | mapi::MAPI_NO_CACHE;

constexpr ULONG StoreColumns[] = {tag::InstanceKey,   tag::EntryId,      tag::RecordKey,   tag::ObjectType,
                                  tag::DisplayName,   tag::DefaultStore, tag::MdbProvider, tag::ProviderDisplay,
                                  tag::ResourceFlags, tag::ResourceType, tag::ServiceUid,  tag::ProviderUid};

std::span<const std::uint8_t> Span(ULONG size, const mapi::ENTRYID* id)
{
    return {reinterpret_cast<const std::uint8_t*>(id), id ? size : 0};
}

std::vector<Props> StoreRows(const std::vector<StoreService>& services)
{
    std::vector<Props> rows;
    for (const StoreService& service : services) {
        if (!service.store)
            continue;
        const auto* raw = reinterpret_cast<const std::uint8_t*>(&service.row);
        const ULONG resource = mapi::STATUS_NO_PRIMARY_IDENTITY | (service.isDefault ? mapi::STATUS_DEFAULT_STORE : 0);
        rows.push_back(
            {BinaryProp(tag::InstanceKey, Bytes(raw, raw + sizeof service.row)),
             BinaryProp(tag::EntryId, MakeEntryId({service.store->uid, EntryKind::Store, 0})),
             BinaryProp(tag::RecordKey, ToBytes(service.store->uid)), LongProp(tag::ObjectType, mapi::MAPI_STORE),
             TextProp(tag::DisplayName, service.store->displayName), LongProp(tag::DefaultStore, service.isDefault),
             BinaryProp(tag::MdbProvider, ToBytes(ProviderUniqueId)),
             TextProp(tag::ProviderDisplay, StoreServiceDisplay), LongProp(tag::ResourceFlags, resource),
             LongProp(tag::ResourceType, mapi::MAPI_STORE_PROVIDER),
             BinaryProp(tag::ServiceUid, ToBytes(service.service)),
             BinaryProp(tag::ProviderUid, ToBytes(service.provider))});
    }
    return rows;
}

/// Profiles have the name of a store for the tables of those who have not opened it. Where it cannot be written now the
/// store is renamed and opened all the same, and the next one who opens it comes back to it.
void NoteName(Profiles& profiles, std::int64_t service, const WideString& name)
{
    try {
        profiles.StoreRenamed(service, name);
    } catch (const Failure&) {
        return;
    }
}

/// The services of a profile as they are now; after it was deleted those that it had. Thread-safe.
class ProfileServices
{
public:
    ProfileServices(ProfilesPtr profiles, ProfileId profile, std::vector<StoreService> services)
        : FProfiles(std::move(profiles)), FProfile(profile), FServices(std::move(services))
    {}

    [[nodiscard]] std::vector<StoreService> Read()
    {
        const std::lock_guard lock(FLock);
        try {
            FServices = FProfiles->Services(FProfile);
        } catch (const Failure& failure) {
            if (failure.Code() != mapi::MAPI_E_NOT_FOUND)
                throw;
        }
        return FServices;
    }

private:
    std::mutex FLock;
    ProfilesPtr FProfiles;
    ProfileId FProfile;
    std::vector<StoreService> FServices;
};

class Session final : public ComObject<mapi::IMAPISession>
{
public:
    explicit Session(SharedSessionPtr shared)
        : FShared(std::move(shared)), FProfiles(FShared->ProfilesOf()), FProfile(FShared->Profile()),
          FName(FShared->Name()),
          FReader(std::make_shared<ProfileServices>(FProfiles, FProfile, FShared->ServicesAtLogon()))
    {}

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMAPISession;
    }

    ~Session() override { Dispatcher::Instance().RemoveAll(this); }
    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT code, ULONG flags,
                                                mapi::LPMAPIERROR* error) noexcept override
    {
        return FLast.Get(code, flags, error);
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetMsgStoresTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenMsgStore(mapi::ULONG_PTR, ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid,
                                                ULONG flags, mapi::LPMDB* store) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenAddressBook(mapi::ULONG_PTR, mapi::LPCIID, ULONG,
                                                   mapi::LPADRBOOK* book) noexcept override
    {
        return NoSupport(sNoAddressBook, book);
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenProfileSection(mapi::LPMAPIUID uid, mapi::LPCIID iid, ULONG flags,
                                                      mapi::LPPROFSECT* section) noexcept override
    {
        return Run([&] {
            Require(section, u"lppProfSect");
            *section = nullptr;
            *section = OpenSection(FProfiles, FProfile, uid, iid, flags).Detach();
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetStatusTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override
    {
        return Run([&] {
            Require(table, u"lppTable");
            *table = nullptr;
            RequireFlags(flags, mapi::MAPI_UNICODE);
            const auto rows = [name = FName](const std::vector<StoreService>& services) {
                return StatusRows(name, services);
            };
            *table = Watch(StatusColumns(), rows, flags).Detach();
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, ULONG flags, ULONG* type,
                                             mapi::LPUNKNOWN* object) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CompareEntryIDs(ULONG size1, mapi::LPENTRYID id1, ULONG size2, mapi::LPENTRYID id2,
                                                   ULONG flags, ULONG* result) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Advise(ULONG size, mapi::LPENTRYID id, ULONG mask, mapi::LPMAPIADVISESINK sink,
                                          mapi::ULONG_PTR* connection) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Unadvise(mapi::ULONG_PTR connection) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL MessageOptions(mapi::ULONG_PTR, ULONG, mapi::LPTSTR,
                                                  mapi::LPMESSAGE) noexcept override
    {
        return NoSupport(sNoOptions);
    }
    mapi::HRESULT DEFTMAPI_STDCALL QueryDefaultMessageOpt(mapi::LPTSTR, ULONG, ULONG* count,
                                                          mapi::LPSPropValue* options) noexcept override
    {
        if (count)
            *count = 0;
        return NoSupport(sNoOptions, options);
    }
    mapi::HRESULT DEFTMAPI_STDCALL EnumAdrTypes(ULONG flags, ULONG* count, mapi::LPTSTR** types) noexcept override
    {
        return Run([&] {
            Require(count, u"lpcAdrTypes");
            Require(types, u"lpppszAdrTypes");
            *count = 0; // the types that the active transports deliver to; there is no transport
            *types = nullptr;
            RequireFlags(flags, mapi::MAPI_UNICODE);
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL QueryIdentity(ULONG* size, mapi::LPENTRYID* id) noexcept override
    {
        return Run([&] {
            Require(size, u"lpcbEntryID");
            Require(id, u"lppEntryID");
            *size = 0;
            *id = nullptr;
            Fail(mapi::MAPI_E_NOT_FOUND, sNoIdentity);
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL Logoff(mapi::ULONG_PTR, ULONG flags, ULONG reserved) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetDefaultStore(ULONG flags, ULONG size, mapi::LPENTRYID id) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL AdminServices(ULONG flags, mapi::LPSERVICEADMIN* admin) noexcept override
    {
        return Run([&] {
            Require(admin, u"lppServiceAdmin");
            *admin = nullptr;
            RequireFlags(flags, mapi::MAPI_UNICODE);
            *admin = NewServiceAdmin(FProfiles, FProfile).Detach();
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL ShowForm(mapi::ULONG_PTR, mapi::LPMDB, mapi::LPMAPIFOLDER, mapi::LPCIID,
                                            mapi::ULONG_PTR, mapi::LPMESSAGE, ULONG, ULONG, ULONG, ULONG,
                                            mapi::LPSTR) noexcept override
    {
        return NoSupport(sNoForms);
    }
    mapi::HRESULT DEFTMAPI_STDCALL PrepareForm(mapi::LPCIID, mapi::LPMESSAGE, mapi::ULONG_PTR* token) noexcept override
    {
        if (token)
            *token = 0;
        return NoSupport(sNoForms);
    }

private:
    template <typename Body>
    mapi::HRESULT RunLocked(Body&& body) noexcept
    {
        const std::lock_guard lock(FLock);
        return Guard(FLast, [&] {
            if (FEnded)
                Fail(mapi::MAPI_E_INVALID_OBJECT, sEnded);
            return body();
        });
    }
    template <typename Body>
    mapi::HRESULT Run(Body&& body) noexcept
    {
        const mapi::HRESULT result = RunLocked(std::forward<Body>(body));
        Dispatcher::Instance().DeliverInPassing(); // at last: a sink may release the session
        return result;
    }
    /// A store of the profile.
    struct Opened
    {
        StorePtr file;
        bool isDefault;
    };
    /// `find` under the lock of the session, `open` under that of the store which it gave, if any: never both, since
    /// who holds the store's may be in a call that tells its progress and use the session from there.
    template <typename Find, typename Open>
    mapi::HRESULT RunInStore(Find&& find, Open&& open) noexcept
    {
        std::optional<Opened> opened;
        mapi::HRESULT result = RunLocked([&] { opened = find(); });
        if (opened) {
            const std::lock_guard lock(opened->file->Lock());
            result = Guard(FLast, [&] { open(*opened); });
        }
        Dispatcher::Instance().DeliverInPassing();
        return result;
    }
    mapi::HRESULT NoSupport(WideView text) noexcept
    {
        return Run([&] { Fail(mapi::MAPI_E_NO_SUPPORT, text); });
    }
    template <typename T>
    mapi::HRESULT NoSupport(WideView text, T** object) noexcept
    {
        if (object)
            *object = nullptr;
        return NoSupport(text);
    }

    /// The services as they are now; after the profile was deleted those that it had.
    const std::vector<StoreService>& Services();
    [[nodiscard]] const StoreService& ServiceOf(const Uid& store);
    [[nodiscard]] Opened OpenFile(const Uid& store);
    using RowsOf = std::function<std::vector<Props>(const std::vector<StoreService>& services)>;
    /// A table over the profile's services that tells of their changes.
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> Watch(std::vector<ULONG> columns, RowsOf rowsOf, ULONG flags);

    std::recursive_mutex FLock;
    SharedSessionPtr FShared; // with this one alone as long as nobody joins
    ProfilesPtr FProfiles;
    ProfileId FProfile;
    WideString FName;                         // of the profile, at the logon
    std::shared_ptr<ProfileServices> FReader; // tables may outlive the session
    std::vector<StoreService> FServices;
    std::map<Bytes, StorePtr> FStores; // one connection per store for all objects of the session
    std::set<Dispatcher::Connection> FConnections;
    bool FEnded = false;
    LastError FLast;
};

const std::vector<StoreService>& Session::Services()
{
    FServices = FReader->Read();
    return FServices;
}

const StoreService& Session::ServiceOf(const Uid& store)
{
    for (const StoreService& service : Services()) {
        if (service.store && service.store->uid == store)
            return service;
    }
    Fail(mapi::MAPI_E_NOT_FOUND, sNoStore);
}

Session::Opened Session::OpenFile(const Uid& store)
{
    const StoreService& service = ServiceOf(store);
    const Bytes key = ToBytes(store);
    if (const auto open = FStores.find(key); open != FStores.end())
        return {open->second, service.isDefault};
    StorePtr opened = StoreFile::Open(service.store->file);
    if (opened->Id() != store)
        Fail(mapi::MAPI_E_NOT_FOUND, sReplaced);
    opened->OnRenamed = [profiles = FProfiles, row = service.row](const WideString& name) {
        NoteName(*profiles, row, name);
    };
    // Somebody whose profiles are elsewhere may have renamed it.
    if (const WideString name = opened->DisplayName(); name != service.store->displayName)
        NoteName(*FProfiles, service.row, name);
    return {FStores.emplace(key, std::move(opened)).first->second, service.isDefault};
}

mapi::HRESULT Session::GetMsgStoresTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept
{
    return Run([&] {
        Require(table, u"lppTable");
        *table = nullptr;
        RequireFlags(flags, mapi::MAPI_UNICODE);
        *table = Watch({std::begin(StoreColumns), std::end(StoreColumns)}, StoreRows, flags).Detach();
    });
}

TKwComPtr<mapi::IMAPITable> Session::Watch(std::vector<ULONG> columns, RowsOf rowsOf, ULONG flags)
{
    auto origin = std::make_shared<WatchedRows::Origin>();
    origin->columns = std::move(columns);
    origin->read = [reader = FReader, rowsOf = std::move(rowsOf)] { return rowsOf(reader->Read()); };
    origin->stamp = &Profiles::Changes;
    origin->owner = this;
    const bool unicode = (flags & mapi::MAPI_UNICODE) != 0;
    return TKwComPtr<mapi::IMAPITable>(new Table(std::make_shared<WatchedRows>(std::move(origin)), unicode));
}

mapi::HRESULT Session::OpenMsgStore(mapi::ULONG_PTR, ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, ULONG flags,
                                    mapi::LPMDB* store) noexcept
{
    const auto find = [&]() -> Opened {
        Require(store, u"lppMDB");
        *store = nullptr;
        RequireFlags(flags, OpenStoreFlags);
        const EntryReference entry = RequireEntryId(size, id);
        if (entry.kind != EntryKind::Store)
            Fail(mapi::MAPI_E_INVALID_ENTRYID, sNotAStore);
        RequireInterface(iid, {&mapi::IID_IMsgStore, &mapi::IID_IMAPIProp});
        return OpenFile(entry.store);
    };
    return RunInStore(find, [&](const Opened& opened) {
        const bool writable = (flags & (mapi::MDB_WRITE | mapi::MAPI_BEST_ACCESS)) != 0;
        *store = OpenStoreObject(opened.file, writable, opened.isDefault).Detach();
    });
}

mapi::HRESULT Session::OpenEntry(ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, ULONG flags, ULONG* type,
                                 mapi::LPUNKNOWN* object) noexcept
{
    std::optional<EntryReference> entry;
    const auto find = [&]() -> std::optional<Opened> {
        Require(type, u"lpulObjType");
        Require(object, u"lppUnk");
        *type = 0;
        *object = nullptr;
        RequireFlags(flags, OpenEntryFlags);
        if (!id || size == 0)
            Fail(mapi::MAPI_E_INVALID_ENTRYID, sUnknownProvider);
        entry = ParseEntryId(Span(size, id));
        if (!entry)
            Fail(mapi::MAPI_E_UNKNOWN_ENTRYID, sUnknownProvider);
        if (entry->kind == EntryKind::Status) {
            *object = OpenStatus(FName, Services(), *entry, iid).Detach();
            *type = mapi::MAPI_STATUS;
            return std::nullopt;
        }
        return OpenFile(entry->store);
    };
    return RunInStore(find, [&](const Opened& opened) {
        if (entry->kind == EntryKind::Store) {
            RequireInterface(iid, {&mapi::IID_IMsgStore, &mapi::IID_IMAPIProp});
            const bool writable = (flags & (mapi::MAPI_MODIFY | mapi::MAPI_BEST_ACCESS)) != 0;
            *object = OpenStoreObject(opened.file, writable, opened.isDefault).Detach();
            *type = mapi::MAPI_STORE;
        } else {
            *object = OpenStoreEntry(opened.file, true, size, id, iid, flags, type).Detach();
        }
    });
}

mapi::HRESULT Session::CompareEntryIDs(ULONG size1, mapi::LPENTRYID id1, ULONG size2, mapi::LPENTRYID id2, ULONG flags,
                                       ULONG* result) noexcept
{
    return Run([&] {
        Require(result, u"lpulResult");
        *result = 0;
        RequireFlags(flags, 0);
        const auto first = ParseEntryId(Span(size1, id1));
        const auto second = ParseEntryId(Span(size2, id2));
        if (!first && !second)
            Fail(mapi::MAPI_E_UNKNOWN_ENTRYID, sUnknownProvider);
        *result = first && second && *first == *second;
    });
}

mapi::HRESULT Session::Advise(ULONG size, mapi::LPENTRYID id, ULONG mask, mapi::LPMAPIADVISESINK sink,
                              mapi::ULONG_PTR* connection) noexcept
{
    return Run([&] {
        Require(connection, u"lpulConnection");
        *connection = 0;
        Require(sink, u"lpAdviseSink");
        if (id || size || mask == 0 || mask & ~(mapi::fnevExtended | mapi::fnevCriticalError))
            Fail(mapi::MAPI_E_NO_SUPPORT, sNoEvents);
        *connection = Dispatcher::Instance().Add(FShared->NewListener(this, mask), sink, this);
        FConnections.insert(*connection);
    });
}

mapi::HRESULT Session::Unadvise(mapi::ULONG_PTR connection) noexcept
{
    const mapi::HRESULT result = Run([&] {
        if (FConnections.erase(connection) == 0)
            Fail(mapi::MAPI_E_NOT_FOUND, sNoConnection);
    });
    // Outside the lock: a callback that is waited for may want it.
    if (result == mapi::S_OK)
        Dispatcher::Instance().Remove(connection);
    return result;
}

mapi::HRESULT Session::Logoff(mapi::ULONG_PTR, ULONG flags, ULONG reserved) noexcept
{
    std::map<Bytes, StorePtr> stores;
    SharedSessionPtr shared; // whoever keeps this object keeps nothing that could still be joined
    std::unique_lock lock(FLock);
    const mapi::HRESULT result = Guard(FLast, [&] {
        if (FEnded)
            Fail(mapi::MAPI_E_INVALID_OBJECT, sEnded);
        RequireFlags(flags, mapi::MAPI_LOGOFF_SHARED | mapi::MAPI_LOGOFF_UI);
        RequireFlags(reserved, 0);
        FEnded = true;
        FConnections.clear();
        shared.swap(FShared);
        stores.swap(FStores); // objects that are still open keep theirs
    });
    lock.unlock();
    if (result != mapi::S_OK)
        return result;
    Dispatcher::Instance().RemoveAll(this);
    if ((flags & mapi::MAPI_LOGOFF_SHARED) != 0)
        shared->End(this);
    // Nobody is notified any more; a callback that runs now may want the lock.
    for (const auto& [id, store] : stores)
        Dispatcher::Instance().RemoveAll(store.get());
    return result;
}

mapi::HRESULT Session::SetDefaultStore(ULONG flags, ULONG size, mapi::LPENTRYID id) noexcept
{
    return Run([&] {
        if (flags != mapi::MAPI_DEFAULT_STORE)
            Fail(mapi::MAPI_E_NO_SUPPORT, sNoRole);
        if (size == 0) {
            FProfiles->SetDefaultStore(FProfile, nullptr);
            return;
        }
        const EntryReference entry = RequireEntryId(size, id);
        if (entry.kind != EntryKind::Store)
            Fail(mapi::MAPI_E_INVALID_ENTRYID, sNotAStore);
        FProfiles->SetDefaultStore(FProfile, &entry.store);
    });
}

} // namespace

TKwComPtr<mapi::IMAPISession> LogOn(const WideString& profile, const WideString& password, ULONG flags)
{
    RequireFlags(flags, LogonFlags);
    const std::filesystem::path home = DataFolder();
    if ((flags & mapi::MAPI_NEW_SESSION) == 0) {
        // Whatever profile is named: the session that is there is the one to use.
        if (SharedSessionPtr shared = SharedSession::Find(home))
            return {new Session(std::move(shared))};
    }
    ProfilesPtr profiles = OpenProfiles((flags & mapi::MAPI_TIMEOUT_SHORT) != 0 ? ShortLockWait : LockWait);
    WideString name = profile;
    if (name.empty() && !(flags & mapi::MAPI_USE_DEFAULT))
        Fail(mapi::MAPI_E_LOGON_FAILED, sNoProfileName);
    if (name.empty())
        name = profiles->DefaultName();
    if (name.empty())
        Fail(mapi::MAPI_E_LOGON_FAILED, sNoDefault);
    const ProfileId id = profiles->LogOn(name, password);
    auto services = profiles->Services(id);
    profiles->SetLockWait(LockWait); // only the logon is in a hurry
    const auto shared = std::make_shared<SharedSession>(std::move(profiles), id, name, std::move(services));
    if ((flags & mapi::MAPI_ALLOW_OTHERS) != 0)
        SharedSession::Offer(home, shared);
    return {new Session(shared)};
}

} // namespace deftmapi::client
