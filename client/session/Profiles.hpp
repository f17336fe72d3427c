// The profiles of one data folder: their names, passwords and message services, in one small database (profiles.db).
// Every change is one transaction, so that a profile is there whole or not at all, also with several processes at work.
#pragma once

#include "client/store/Database.hpp"
#include "client/store/EntryIds.hpp"
#include "client/store/PropertyBag.hpp"

#include <memory>
#include <mutex>

namespace deftmapi::client
{

/// The name of the one kind of message service that there is: a store in a file.
inline constexpr auto StoreServiceName = u"DEFTSTORE";
/// PR_PROVIDER_DISPLAY, and the display name of the service that new profiles get.
inline constexpr auto StoreServiceDisplay = u"Deft store";

struct ProfileEntry
{
    WideString name;
    bool isDefault = false;
};

/// A message service and its only provider, the store.
struct StoreService
{
    std::int64_t row = 0; ///< stable, never used twice
    Uid service{};
    Uid provider{};
    WideString displayName; ///< of the service
    /// The store; none until the service is configured.
    struct Store
    {
        Uid uid{};
        std::filesystem::path file;
        WideString displayName;
    };
    std::optional<Store> store;
    bool isDefault = false; ///< holds the default store of its profile
};

/// The identifier of a profile; never used twice.
using ProfileId = std::int64_t;

/// Thread-safe. Names are compared without regard to case.
class Profiles
{
public:
    /// Another number after this process has changed a profile or its services; not for sections.
    [[nodiscard]] static std::int64_t Changes() noexcept;

    /// Opens profiles.db in the folder, and makes it when it is missing.
    /// @throws Failure  MAPI_E_CORRUPT_STORE the file is damaged or of another program, MAPI_E_VERSION written by a
    /// newer version; it is left alone
    /// @param wait  for other processes that hold the file's lock
    explicit Profiles(std::filesystem::path folder, std::chrono::milliseconds wait = LockWait);
    /// From now on. Whoever could not wait is done.
    void SetLockWait(std::chrono::milliseconds wait);

    [[nodiscard]] std::vector<ProfileEntry> List();
    /// The name of the default profile, empty when there is none.
    [[nodiscard]] WideString DefaultName();

    /// Makes a profile, with `services` one that has a new store. The first profile becomes the default.
    /// @throws Failure  MAPI_E_NO_ACCESS the name is taken; MAPI_E_INVALID_PARAMETER, MAPI_E_STRING_TOO_LONG bad name
    /// or password
    void Create(const WideString& name, const WideString& password, bool services);
    /// Removes a profile. Its store files stay: see AddStore for how another profile gets them.
    /// @throws Failure  MAPI_E_NOT_FOUND
    void Delete(const WideString& name);
    /// @throws Failure  MAPI_E_NOT_FOUND, MAPI_E_LOGON_FAILED the old password is wrong
    void ChangePassword(const WideString& name, const WideString& oldPassword, const WideString& newPassword);
    /// The copy has services of its own that use the same stores, and the same password.
    /// @throws Failure  as Create; MAPI_E_NOT_FOUND, MAPI_E_LOGON_FAILED
    void Copy(const WideString& name, const WideString& password, const WideString& newName);
    /// @throws Failure  as Create; MAPI_E_NOT_FOUND, MAPI_E_LOGON_FAILED
    void Rename(const WideString& name, const WideString& password, const WideString& newName);
    /// Makes a profile the default; an empty name leaves none. @throws Failure  MAPI_E_NOT_FOUND
    void SetDefault(const WideString& name);

    /// The profile to work with. A profile without a password does not look at the one given.
    /// @throws Failure  MAPI_E_LOGON_FAILED there is no such profile or the password is wrong
    [[nodiscard]] ProfileId LogOn(const WideString& name, const WideString& password);

    /// @throws Failure  MAPI_E_NOT_FOUND the profile was deleted
    [[nodiscard]] WideString Name(ProfileId profile);

    /// The services in the order of their creation. @throws Failure  MAPI_E_NOT_FOUND the profile was deleted
    [[nodiscard]] std::vector<StoreService> Services(ProfileId profile);
    /// Adds a service without a store. @throws Failure  MAPI_E_NOT_FOUND the profile was deleted
    Uid AddService(ProfileId profile, const WideString& displayName);
    /// Gives the service a store: an existing file or a new one at that place. A relative place counts from the stores
    /// folder; an empty one is a new file there. The first store of a profile is its default store. A display name is
    /// taken over by the profile and by the store itself, also when the service has its store already; an empty one
    /// changes nothing.
    /// @throws Failure  MAPI_E_NOT_FOUND no such service; MAPI_E_NO_ACCESS the service has another store;
    /// MAPI_E_COLLISION another service of the profile has this store; as CheckStoreFile
    void SetStore(ProfileId profile, const Uid& service, const std::filesystem::path& place,
                  const WideString& displayName);
    /// The store of the service has another display name: all services that have the store show it. Nothing happens
    /// when there is no such service any more. @param service  StoreService::row
    void StoreRenamed(std::int64_t service, const WideString& displayName);
    /// Removes a service; the file of its store stays. The first of the others becomes the default store when this one
    /// was. @throws Failure  MAPI_E_NOT_FOUND
    void DeleteService(ProfileId profile, const Uid& service);
    /// Makes a store the default store; without one, the profile has none. @throws Failure  MAPI_E_NOT_FOUND
    void SetDefaultStore(ProfileId profile, const Uid* store);

    /// What is kept of a section; nothing when nothing was ever kept of it.
    [[nodiscard]] std::optional<PropertyBag> Section(ProfileId profile, const Uid& uid);
    /// Changes a section, or makes it, in one transaction. What `change` leaves holds no blobs.
    /// @throws Failure  MAPI_E_NOT_FOUND the profile was deleted
    void ChangeSection(ProfileId profile, const Uid& uid, const std::function<void(PropertyBag&)>& change);

private:
    /// Commits, and lets those know who watch.
    static void Commit(Transaction& transaction);
    void Prepare();
    [[nodiscard]] std::filesystem::path StoresFolder() const { return FFolder / "stores"; }
    [[nodiscard]] std::optional<ProfileId> Find(const WideString& name);
    /// @throws Failure  MAPI_E_NOT_FOUND there is no such profile; MAPI_E_LOGON_FAILED `password` (null: not asked) is
    /// wrong
    [[nodiscard]] ProfileId RequireProfile(const WideString& name, const WideString* password);
    void RequireProfile(ProfileId profile);
    void RequireFree(const WideString& name, ProfileId except);
    [[nodiscard]] bool PasswordFits(ProfileId profile, const WideString& password);
    [[nodiscard]] ProfileId InsertProfile(const WideString& name);
    [[nodiscard]] std::int64_t InsertService(ProfileId profile, const Uid& uid, const WideString& displayName);
    /// @param made  whether the file was made now
    [[nodiscard]] StoreService::Store FindStore(const std::filesystem::path& place, const WideString& displayName,
                                                bool& made);
    void AttachStore(ProfileId profile, std::int64_t service, const StoreService::Store& store);
    [[nodiscard]] StoreService RequireService(ProfileId profile, const Uid& service);

    std::recursive_mutex FLock;
    std::filesystem::path FFolder;
    Database FDatabase;
};
using ProfilesPtr = std::shared_ptr<Profiles>;

/// The profiles of the data folder that the environment names.
[[nodiscard]] ProfilesPtr OpenProfiles(std::chrono::milliseconds wait = LockWait);

} // namespace deftmapi::client
