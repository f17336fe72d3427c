// One opened store file: its connection, its lock, its large values and its property names.
// Every object of a store holds its StoreFile and takes the lock for the length of a call, so that objects may be used
// from any thread; other sessions and processes have connections of their own.
#pragma once

#include "client/store/Database.hpp"
#include "client/store/EntryIds.hpp"
#include "client/store/PropertyBag.hpp"
#include "client/store/PropertyHome.hpp"
#include "client/store/Schema.hpp"
#include "client/store/SearchFolders.hpp"
#include "client/store/StoreChanges.hpp"

#include <functional>
#include <memory>
#include <mutex>

namespace deftmapi::client
{

/// Whose large values: the row of an object and its kind.
struct LargeOwner
{
    enum Kind : std::int64_t
    {
        Message,
        Attachment,
        Folder,
        Store
    };
    Kind kind;
    std::int64_t row;

    [[nodiscard]] std::int64_t Key() const { return row * 4 + kind; }
};

class StoreFile final : public PropertyHome, public std::enable_shared_from_this<StoreFile>
{
public:
    /// @throws Failure  as CheckStoreFile
    [[nodiscard]] static std::shared_ptr<StoreFile> Open(const std::filesystem::path& file);

    [[nodiscard]] Database& Db() { return FDatabase; }
    /// Who changes rows of messages tells it here, inside the same transaction.
    [[nodiscard]] StoreChanges& Changes() { return FChanges; }
    [[nodiscard]] SearchFolders& Searches() { return FSearches; }
    [[nodiscard]] const Uid& Id() const { return FId; }
    /// Whether both are connections to one file; a copy of a file has the same identifier.
    [[nodiscard]] bool IsSameFile(const StoreFile& other) const { return FUse.Key() == other.FUse.Key(); }
    /// PR_DISPLAY_NAME of the store object.
    [[nodiscard]] WideString DisplayName();
    /// Told of each new display name when it is kept, under this file's lock: profiles have copies of it.
    std::function<void(const WideString& name)> OnRenamed;
    /// The same store over another connection, for those who listen to it: it sees only what is durable. All who listen
    /// share it. REQUIRES: the lock is held.
    [[nodiscard]] std::shared_ptr<StoreFile> ForListeners();
    [[nodiscard]] std::shared_ptr<Spool> NewSpool() const override { return std::make_shared<Spool>(FFolder); }

    [[nodiscard]] Bytes EntryIdOf(EntryKind kind, std::int64_t row) const { return MakeEntryId({FId, kind, row}); }
    /// The row that the identifier names in this store. @throws Failure  MAPI_E_INVALID_ENTRYID damaged, of another
    /// provider or kind; MAPI_E_UNKNOWN_ENTRYID of another store
    [[nodiscard]] std::int64_t RowOf(ULONG size, const mapi::ENTRYID* id, EntryKind kind) const;

    /// Decodes a packed list; large values become blobs that read from this file.
    void Unpack(std::span<const std::uint8_t> packed, const std::function<bool(ULONG id)>& wanted,
                const std::function<void(Prop)>& sink);
    void Unpack(std::span<const std::uint8_t> packed, PropertyBag& bag);
    /// Encodes the properties that `take` accepts (null: all), writes the large ones among them and drops those of the
    /// owner that are no longer used; one that is new has none yet. REQUIRES: a transaction is open.
    [[nodiscard]] Bytes Pack(const LargeOwner& owner, const PropertyBag& bag,
                             const std::function<bool(const Prop&)>& take = nullptr, bool isNew = false);
    /// False when the value lay in this store and is there no more.
    [[nodiscard]] bool IsThere(const Prop& prop);
    /// Removes every large value of the owner. REQUIRES: a transaction is open.
    void DropLargeValues(const LargeOwner& owner);

    /// The identifier (0x8000 to 0xFFFE) of a property name, or 0 when it has none and `create` is not set.
    /// @throws Failure  MAPI_E_TOO_BIG no identifiers are left
    [[nodiscard]] ULONG IdOfName(const mapi::GUID& set, std::int64_t lid, const WideString* name, bool create);
    struct Name
    {
        mapi::GUID set{};
        bool isText = false;
        mapi::LONG lid = 0;
        WideString text;
    };
    /// The name of an identifier, or null.
    [[nodiscard]] std::shared_ptr<const Name> NameOfId(ULONG id);
    /// All names, by identifier.
    [[nodiscard]] std::vector<ULONG> AllNameIds();

    explicit StoreFile(const std::filesystem::path& file); ///< use Open

private:
    friend class SavedBlob;

    LargeReference WriteLarge(const LargeOwner& owner, const Blob& blob);
    void DropValue(std::int64_t valueId);

    std::filesystem::path FFile;
    std::filesystem::path FFolder;
    std::weak_ptr<StoreFile> FForListeners;
    StoreFileUse FUse; // outlives the connection
    Database FDatabase;
    StoreChanges FChanges{FDatabase};
    SearchFolders FSearches{*this};
    Uid FId{};
    std::unordered_map<std::string, ULONG> FIdsByName; // key: set, kind and name in bytes
    std::unordered_map<ULONG, std::shared_ptr<const Name>> FNamesById;
};
using StorePtr = std::shared_ptr<StoreFile>;

} // namespace deftmapi::client
