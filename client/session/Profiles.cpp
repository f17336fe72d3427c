#include "client/session/Profiles.hpp"

#include "client/entry/Guard.hpp"
#include "client/notify/Dispatcher.hpp"
#include "client/session/DataFolder.hpp"
#include "client/session/PasswordHash.hpp"
#include "client/store/StoreFile.hpp"
#include "client/store/StoreObjects.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace deftmapi::client
{
namespace
{

constexpr auto sForeign = u"The file of the profiles is damaged or belongs to another program.";
constexpr auto sNewer = u"The file of the profiles was written by a newer version of this program.";
constexpr auto sNoName = u"A profile needs a name.";
constexpr auto sBadName = u"A profile name neither begins nor ends with a blank and has no control characters.";
constexpr auto sLongName = u"A profile name has at most 64 characters.";
constexpr auto sLongPassword = u"A profile password has at most 64 characters.";
constexpr auto sExists = u"There is a profile of this name already.";
constexpr auto sNoProfile = u"There is no profile of this name.";
constexpr auto sProfileGone = u"The profile has been deleted.";
constexpr auto sBadLogon = u"There is no profile of this name, or the password is wrong.";
constexpr auto sBadPassword = u"The password is wrong.";
constexpr auto sNoService = u"The profile has no message service of this identifier.";
constexpr auto sNoStore = u"The profile has no store of this identifier.";
constexpr auto sHasStore = u"The message service has another store already.";
constexpr auto sStoreTaken = u"Another message service of the profile has this store already.";
constexpr auto sNotAFile = u"The place of the store is not a file.";
constexpr auto sReplaced = u"The file of the message store holds another store now.";
constexpr auto sNotRenamed = u"The message store could not be given its new display name.";

/// "DfMP", PRAGMA application_id of profiles.db.
constexpr std::int64_t ApplicationId = 0x44664D50;
constexpr std::int64_t Version = 2;

/// The display name of the store that a new profile gets.
constexpr auto NewStoreName = u"Personal Folders";

// Step 1: the first layout. A step that has been published is never changed.
constexpr const char* Step1[] = {
    R"(CREATE TABLE profiles (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        name TEXT NOT NULL,
        name_key TEXT NOT NULL UNIQUE,
        is_default INTEGER NOT NULL,
        salt BLOB,
        rounds INTEGER,
        hash BLOB))",
    R"(CREATE TABLE services (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        profile INTEGER NOT NULL REFERENCES profiles(id),
        uid BLOB NOT NULL UNIQUE,
        provider BLOB NOT NULL,
        display_name TEXT NOT NULL,
        is_default INTEGER NOT NULL DEFAULT 0,
        store_uid BLOB,
        store_file TEXT,
        store_name TEXT,
        UNIQUE (profile, store_uid)))",
};

// Step 2: sections.
constexpr const char* Step2[] = {
    R"(CREATE TABLE sections (
        profile INTEGER NOT NULL REFERENCES profiles(id),
        uid BLOB NOT NULL,
        props BLOB NOT NULL,
        PRIMARY KEY (profile, uid)) WITHOUT ROWID)",
};

constexpr std::span<const char* const> Steps[] = {Step1, Step2};
static_assert(std::size(Steps) == Version);

constinit std::atomic<std::int64_t> GChanges = 1;

void RequireName(const WideString& name)
{
    if (name.empty())
        Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoName);
    if (name.size() > mapi::cchProfileNameMax)
        Fail(mapi::MAPI_E_STRING_TOO_LONG, sLongName);
    const bool control = std::any_of(name.begin(), name.end(), [](char16_t c) { return c < u' ' || c == 0x7F; });
    if (control || name.front() == u' ' || name.back() == u' ')
        Fail(mapi::MAPI_E_INVALID_PARAMETER, sBadName);
}

/// What is stored of a password: nothing of an empty one.
std::optional<PasswordRecord> NewPassword(const WideString& password)
{
    if (password.size() > mapi::cchProfilePassMax)
        Fail(mapi::MAPI_E_STRING_TOO_LONG, sLongPassword);
    return password.empty() ? std::nullopt : std::optional(PasswordRecord::Make(password));
}

void BindPassword(Query& query, const std::optional<PasswordRecord>& password)
{
    if (password)
        query.BindBlob(2, password->salt).Bind(3, password->rounds).BindBlob(4, password->hash);
}

template <typename Record>
Record FromBlob(std::span<const std::uint8_t> blob)
{
    Record record{};
    if (blob.size() != sizeof record)
        Fail(mapi::MAPI_E_CORRUPT_STORE, sForeign);
    std::memcpy(&record, blob.data(), sizeof record);
    return record;
}

std::string NameKey(const WideString& name)
{
    return PackText(KwUpperCase(name));
}

/// A file that goes away again unless it was kept.
class NewFile
{
public:
    explicit NewFile(std::filesystem::path file) : FFile(std::move(file)) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile()
    {
        std::error_code ignored; // it is a leftover in either case
        if (!FFile.empty())
            std::filesystem::remove(FFile, ignored);
    }
    void Keep() { FFile.clear(); }

private:
    std::filesystem::path FFile;
};

/// Gives the store in the file another display name.
void RenameStore(const std::filesystem::path& file, const Uid& uid, const WideString& name)
{
    const StorePtr store = StoreFile::Open(file);
    if (store->Id() != uid)
        Fail(mapi::MAPI_E_NOT_FOUND, sReplaced);
    if (store->DisplayName() == name)
        return;
    const auto object = OpenStoreObject(store, true, false);
    mapi::SPropValue value{};
    value.ulPropTag = tag::DisplayName;
    value.Value.lpszW = const_cast<char16_t*>(name.c_str()); // it is read only
    const mapi::HRESULT result = object->SetProps(1, &value, nullptr);
    if (result != mapi::S_OK)
        Fail(result, sNotRenamed);
}

} // namespace

ProfilesPtr OpenProfiles(std::chrono::milliseconds wait)
{
    return std::make_shared<Profiles>(DataFolder(), wait);
}

Profiles::Profiles(std::filesystem::path folder, std::chrono::milliseconds wait)
    : FFolder(std::move(folder)), FDatabase(MakePrivateFile(FFolder / "profiles.db"), Database::Mode::Create)
{
    FDatabase.SetLockWait(wait);
    Prepare();
}

void Profiles::SetLockWait(std::chrono::milliseconds wait)
{
    const std::lock_guard lock(FLock);
    FDatabase.SetLockWait(wait);
}

void Profiles::Prepare()
{
    // Rollback journal: a small file that changes seldom, and no companions beside it while nobody writes. EXTRA syncs
    // the folder, too, when the journal goes.
    FDatabase.Execute("PRAGMA synchronous = EXTRA");
    std::int64_t version = 0;
    const auto isCurrent = [&] {
        version = FDatabase.Scalar("PRAGMA user_version");
        const bool ours = FDatabase.Scalar("PRAGMA application_id") == ApplicationId;
        if (ours && version > Version)
            Fail(mapi::MAPI_E_VERSION, sNewer);
        if (!ours && (version != 0 || FDatabase.Scalar("SELECT count(*) FROM sqlite_schema") != 0))
            Fail(mapi::MAPI_E_CORRUPT_STORE, sForeign);
        if (!ours)
            version = 0;
        return version == Version;
    };
    {
        // What is read must be of one moment: another process may be making the file just now.
        const Snapshot snapshot(FDatabase);
        if (isCurrent())
            return;
    }
    Transaction transaction(FDatabase);
    if (isCurrent())
        return; // another process was first
    for (; version < Version; ++version)
        for (const char* statement : Steps[static_cast<std::size_t>(version)])
            FDatabase.Execute(statement);
    FDatabase.Execute("PRAGMA application_id = " + std::to_string(ApplicationId));
    FDatabase.Execute("PRAGMA user_version = " + std::to_string(Version));
    transaction.Commit();
    SyncFolder(FFolder);
}

std::int64_t Profiles::Changes() noexcept
{
    return GChanges;
}

void Profiles::Commit(Transaction& transaction)
{
    transaction.Commit();
    ++GChanges; // not before: who looks then must find what has changed
    Dispatcher::Instance().Wake();
}

// ---- Profiles

std::vector<ProfileEntry> Profiles::List()
{
    const std::lock_guard lock(FLock);
    std::vector<ProfileEntry> entries;
    Query query = FDatabase.Prepare("SELECT name, is_default FROM profiles ORDER BY name_key");
    while (query.Step())
        entries.push_back({UnpackText(query.Text(0)), query.Number(1) != 0});
    return entries;
}

WideString Profiles::DefaultName()
{
    const std::lock_guard lock(FLock);
    Query query = FDatabase.Prepare("SELECT name FROM profiles WHERE is_default");
    return query.Step() ? UnpackText(query.Text(0)) : WideString();
}

void Profiles::Create(const WideString& name, const WideString& password, bool services)
{
    RequireName(name);
    const auto record = NewPassword(password);
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    RequireFree(name, 0);
    const ProfileId profile = InsertProfile(name);
    {
        Query query = FDatabase.Prepare("UPDATE profiles SET salt = ?2, rounds = ?3, hash = ?4 WHERE id = ?1");
        query.Bind(1, profile);
        BindPassword(query, record);
        query.Run();
    }
    StoreService::Store store;
    if (services) {
        bool made = false;
        store = FindStore({}, NewStoreName, made);
        NewFile file(store.file);
        AttachStore(profile, InsertService(profile, NewUid(), StoreServiceDisplay), store);
        Commit(transaction);
        file.Keep();
        return;
    }
    Commit(transaction);
}

void Profiles::Delete(const WideString& name)
{
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    const ProfileId profile = RequireProfile(name, nullptr);
    FDatabase.Prepare("DELETE FROM sections WHERE profile = ?1").Bind(1, profile).Run();
    FDatabase.Prepare("DELETE FROM services WHERE profile = ?1").Bind(1, profile).Run();
    FDatabase.Prepare("DELETE FROM profiles WHERE id = ?1").Bind(1, profile).Run();
    Commit(transaction);
}

void Profiles::ChangePassword(const WideString& name, const WideString& oldPassword, const WideString& newPassword)
{
    const auto record = NewPassword(newPassword);
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    const ProfileId profile = RequireProfile(name, &oldPassword);
    {
        Query query = FDatabase.Prepare("UPDATE profiles SET salt = ?2, rounds = ?3, hash = ?4 WHERE id = ?1");
        query.Bind(1, profile);
        BindPassword(query, record);
        query.Run();
    }
    Commit(transaction);
}

void Profiles::Copy(const WideString& name, const WideString& password, const WideString& newName)
{
    RequireName(newName);
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    const ProfileId source = RequireProfile(name, &password);
    RequireFree(newName, 0);
    const ProfileId copy = InsertProfile(newName);
    FDatabase
        .Prepare("UPDATE profiles SET (salt, rounds, hash) = (SELECT salt, rounds, hash FROM profiles WHERE id = ?1) "
                 "WHERE id = ?2")
        .Bind(1, source)
        .Bind(2, copy)
        .Run();
    FDatabase.Prepare("INSERT INTO sections SELECT ?1, uid, props FROM sections WHERE profile = ?2")
        .Bind(1, copy)
        .Bind(2, source)
        .Run();
    for (const StoreService& service : Services(source)) {
        const std::int64_t row = InsertService(copy, NewUid(), service.displayName);
        if (service.store)
            AttachStore(copy, row, *service.store);
        // The sections of the service and of its provider go by their new identifiers.
        for (const auto& [column, uid] : {std::pair{"uid", service.service}, std::pair{"provider", service.provider}})
            FDatabase
                .Prepare("UPDATE sections SET uid = (SELECT " + std::string(column) +
                         " FROM services WHERE id = ?1) WHERE profile = ?2 AND uid = ?3")
                .Bind(1, row)
                .Bind(2, copy)
                .BindBlob(3, ToBytes(uid))
                .Run();
        FDatabase.Prepare("UPDATE services SET is_default = ?1 WHERE id = ?2")
            .Bind(1, service.isDefault)
            .Bind(2, row)
            .Run();
    }
    Commit(transaction);
}

void Profiles::Rename(const WideString& name, const WideString& password, const WideString& newName)
{
    RequireName(newName);
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    const ProfileId profile = RequireProfile(name, &password);
    RequireFree(newName, profile);
    FDatabase.Prepare("UPDATE profiles SET name = ?2, name_key = ?3 WHERE id = ?1")
        .Bind(1, profile)
        .BindText(2, PackText(newName))
        .BindText(3, NameKey(newName))
        .Run();
    Commit(transaction);
}

void Profiles::SetDefault(const WideString& name)
{
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    const ProfileId profile = name.empty() ? 0 : RequireProfile(name, nullptr);
    FDatabase.Prepare("UPDATE profiles SET is_default = (id = ?1)").Bind(1, profile).Run();
    Commit(transaction);
}

ProfileId Profiles::LogOn(const WideString& name, const WideString& password)
{
    const std::lock_guard lock(FLock);
    const auto profile = Find(name);
    if (!profile || !PasswordFits(*profile, password))
        Fail(mapi::MAPI_E_LOGON_FAILED, sBadLogon);
    return *profile;
}

std::optional<ProfileId> Profiles::Find(const WideString& name)
{
    Query query = FDatabase.Prepare("SELECT id FROM profiles WHERE name_key = ?1");
    query.BindText(1, NameKey(name));
    return query.Step() ? std::optional(query.Number(0)) : std::nullopt;
}

ProfileId Profiles::RequireProfile(const WideString& name, const WideString* password)
{
    const auto profile = Find(name);
    if (!profile)
        Fail(mapi::MAPI_E_NOT_FOUND, sNoProfile);
    if (password && !PasswordFits(*profile, *password))
        Fail(mapi::MAPI_E_LOGON_FAILED, sBadPassword);
    return *profile;
}

void Profiles::RequireProfile(ProfileId profile)
{
    Query query = FDatabase.Prepare("SELECT 1 FROM profiles WHERE id = ?1");
    if (!query.Bind(1, profile).Step())
        Fail(mapi::MAPI_E_NOT_FOUND, sProfileGone);
}

void Profiles::RequireFree(const WideString& name, ProfileId except)
{
    const auto other = Find(name);
    if (other && *other != except)
        Fail(mapi::MAPI_E_NO_ACCESS, sExists);
}

bool Profiles::PasswordFits(ProfileId profile, const WideString& password)
{
    Query query = FDatabase.Prepare("SELECT salt, rounds, hash FROM profiles WHERE id = ?1");
    if (!query.Bind(1, profile).Step())
        return false; // deleted in between
    if (query.IsNull(2))
        return true;
    PasswordRecord record;
    record.salt = FromBlob<decltype(record.salt)>(query.Blob(0));
    record.rounds = static_cast<std::uint32_t>(query.Number(1));
    record.hash = FromBlob<Digest>(query.Blob(2));
    return record.Fits(password);
}

ProfileId Profiles::InsertProfile(const WideString& name)
{
    FDatabase
        .Prepare("INSERT INTO profiles (name, name_key, is_default) "
                 "VALUES (?1, ?2, NOT EXISTS (SELECT 1 FROM profiles))")
        .BindText(1, PackText(name))
        .BindText(2, NameKey(name))
        .Run();
    return FDatabase.LastRow();
}

WideString Profiles::Name(ProfileId profile)
{
    const std::lock_guard lock(FLock);
    Query query = FDatabase.Prepare("SELECT name FROM profiles WHERE id = ?1");
    if (!query.Bind(1, profile).Step())
        Fail(mapi::MAPI_E_NOT_FOUND, sProfileGone);
    return UnpackText(query.Text(0));
}

// ---- Sections

std::optional<PropertyBag> Profiles::Section(ProfileId profile, const Uid& uid)
{
    const std::lock_guard lock(FLock);
    Query query = FDatabase.Prepare("SELECT props FROM sections WHERE profile = ?1 AND uid = ?2");
    if (!query.Bind(1, profile).BindBlob(2, ToBytes(uid)).Step())
        return std::nullopt;
    PropertyBag bag;
    const auto noLarge = [](const LargeReference&) -> BlobPtr { Fail(mapi::MAPI_E_CORRUPT_STORE, sForeign); };
    UnpackProps(query.Blob(0), noLarge, nullptr, [&bag](Prop prop) { bag.Set(std::move(prop)); });
    return bag;
}

void Profiles::ChangeSection(ProfileId profile, const Uid& uid, const std::function<void(PropertyBag&)>& change)
{
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    RequireProfile(profile);
    PropertyBag bag = Section(profile, uid).value_or(PropertyBag());
    change(bag);
    Bytes packed;
    for (const auto& [id, prop] : bag)
        PackProp(prop, packed);
    FDatabase.Prepare("INSERT OR REPLACE INTO sections (profile, uid, props) VALUES (?1, ?2, ?3)")
        .Bind(1, profile)
        .BindBlob(2, ToBytes(uid))
        .BindBlob(3, packed)
        .Run();
    transaction.Commit();
}

// ---- Services

std::vector<StoreService> Profiles::Services(ProfileId profile)
{
    const std::lock_guard lock(FLock);
    const Snapshot snapshot(FDatabase);
    RequireProfile(profile);
    std::vector<StoreService> services;
    Query query =
        FDatabase.Prepare("SELECT id, uid, provider, display_name, is_default, store_uid, store_file, store_name "
                          "FROM services WHERE profile = ?1 ORDER BY id");
    query.Bind(1, profile);
    while (query.Step()) {
        StoreService& service = services.emplace_back();
        service.row = query.Number(0);
        service.service = FromBlob<Uid>(query.Blob(1));
        service.provider = FromBlob<Uid>(query.Blob(2));
        service.displayName = UnpackText(query.Text(3));
        service.isDefault = query.Number(4) != 0;
        if (query.IsNull(5))
            continue;
        // An absolute place stays what it is when it is put behind the folder.
        service.store = {FromBlob<Uid>(query.Blob(5)),
                         StoresFolder() / std::filesystem::path(KwFromUtf8(query.Text(6))), UnpackText(query.Text(7))};
    }
    return services;
}

Uid Profiles::AddService(ProfileId profile, const WideString& displayName)
{
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    RequireProfile(profile);
    const Uid uid = NewUid();
    static_cast<void>(InsertService(profile, uid, displayName));
    Commit(transaction);
    return uid;
}

std::int64_t Profiles::InsertService(ProfileId profile, const Uid& uid, const WideString& displayName)
{
    FDatabase.Prepare("INSERT INTO services (profile, uid, provider, display_name) VALUES (?1, ?2, ?3, ?4)")
        .Bind(1, profile)
        .BindBlob(2, ToBytes(uid))
        .BindBlob(3, ToBytes(NewUid()))
        .BindText(4, PackText(displayName))
        .Run();
    return FDatabase.LastRow();
}

StoreService::Store Profiles::FindStore(const std::filesystem::path& place, const WideString& displayName, bool& made)
{
    made = false;
    StoreService::Store store;
    const Uid uid = NewUid();
    if (place.empty()) {
        constexpr char digits[] = "0123456789abcdef";
        std::string name;
        for (const std::uint8_t byte : uid.ab)
            name.append({digits[byte >> 4], digits[byte & 15]});
        store.file = StoresFolder() / (name + ".db");
    } else {
        store.file = (StoresFolder() / place).lexically_normal();
    }
    if (!store.file.has_filename() || std::filesystem::is_directory(store.file))
        Fail(mapi::MAPI_E_INVALID_PARAMETER, sNotAFile);
    if (std::filesystem::exists(store.file)) {
        const StorePtr existing = StoreFile::Open(store.file);
        store.uid = existing->Id();
        store.displayName = existing->DisplayName();
        return store;
    }
    MakePrivateFolder(store.file.parent_path());
    CreateStoreFile(store.file, uid.ab, displayName);
    NewFile file(store.file);
    SyncFolder(store.file.parent_path());
    file.Keep();
    made = true;
    store.uid = uid;
    store.displayName = displayName;
    return store;
}

void Profiles::AttachStore(ProfileId profile, std::int64_t service, const StoreService::Store& store)
{
    for (const StoreService& other : Services(profile)) {
        if (other.row != service && other.store && other.store->uid == store.uid)
            Fail(mapi::MAPI_E_COLLISION, sStoreTaken);
    }
    // Stores that lie in the data folder move with it.
    const std::filesystem::path inside = store.file.lexically_relative(StoresFolder());
    const bool isInside = !inside.empty() && *inside.begin() != "..";
    FDatabase
        .Prepare("UPDATE services SET store_uid = ?2, store_file = ?3, store_name = ?4, is_default = "
                 "NOT EXISTS (SELECT 1 FROM services WHERE profile = ?5 AND is_default) WHERE id = ?1")
        .Bind(1, service)
        .BindBlob(2, ToBytes(store.uid))
        .BindText(3, KwToUtf8((isInside ? inside : store.file).u16string()))
        .BindText(4, PackText(store.displayName))
        .Bind(5, profile)
        .Run();
}

StoreService Profiles::RequireService(ProfileId profile, const Uid& service)
{
    for (StoreService& candidate : Services(profile)) {
        if (candidate.service == service)
            return std::move(candidate);
    }
    Fail(mapi::MAPI_E_NOT_FOUND, sNoService);
}

void Profiles::SetStore(ProfileId profile, const Uid& service, const std::filesystem::path& place,
                        const WideString& displayName)
{
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    const StoreService current = RequireService(profile, service);
    if (current.store) {
        if (!place.empty() && (StoresFolder() / place).lexically_normal() != current.store->file.lexically_normal())
            Fail(mapi::MAPI_E_NO_ACCESS, sHasStore);
        if (displayName.empty())
            return;
        // The store first: when it cannot be renamed the profile keeps the old name, too.
        RenameStore(current.store->file, current.store->uid, displayName);
        StoreRenamed(current.row, displayName);
        Commit(transaction);
        return;
    }
    bool made = false;
    StoreService::Store store = FindStore(place, displayName.empty() ? NewStoreName : displayName, made);
    NewFile file(made ? store.file : std::filesystem::path());
    const bool renamed = !made && !displayName.empty();
    if (renamed)
        store.displayName = displayName;
    AttachStore(profile, current.row, store);
    if (renamed)
        RenameStore(store.file, store.uid, displayName);
    Commit(transaction);
    file.Keep();
}

void Profiles::StoreRenamed(std::int64_t service, const WideString& displayName)
{
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    // Other profiles, copies of this one say, may have the same store.
    FDatabase
        .Prepare("UPDATE services SET store_name = ?2 WHERE (store_uid, store_file) = "
                 "(SELECT store_uid, store_file FROM services WHERE id = ?1)")
        .Bind(1, service)
        .BindText(2, PackText(displayName))
        .Run();
    Commit(transaction);
}

void Profiles::DeleteService(ProfileId profile, const Uid& service)
{
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    const StoreService current = RequireService(profile, service);
    FDatabase.Prepare("DELETE FROM sections WHERE profile = ?1 AND uid IN (?2, ?3)")
        .Bind(1, profile)
        .BindBlob(2, ToBytes(current.service))
        .BindBlob(3, ToBytes(current.provider))
        .Run();
    FDatabase.Prepare("DELETE FROM services WHERE id = ?1").Bind(1, current.row).Run();
    // An application that opens its default store finds one as long as there are stores.
    if (current.isDefault)
        FDatabase
            .Prepare("UPDATE services SET is_default = 1 WHERE id = (SELECT min(id) FROM services WHERE profile = ?1 "
                     "AND store_uid IS NOT NULL)")
            .Bind(1, profile)
            .Run();
    Commit(transaction);
}

void Profiles::SetDefaultStore(ProfileId profile, const Uid* store)
{
    const std::lock_guard lock(FLock);
    Transaction transaction(FDatabase);
    std::int64_t chosen = 0;
    for (const StoreService& service : Services(profile)) {
        if (store && service.store && service.store->uid == *store)
            chosen = service.row;
    }
    if (store && chosen == 0)
        Fail(mapi::MAPI_E_NOT_FOUND, sNoStore);
    FDatabase.Prepare("UPDATE services SET is_default = (id = ?1) WHERE profile = ?2")
        .Bind(1, chosen)
        .Bind(2, profile)
        .Run();
    Commit(transaction);
}

} // namespace deftmapi::client
