// The layout of a store file and the numbered steps that bring an older file up to date.
//
// messages has columns of its own for what contents tables show, sort by and restrict on; everything else of an object
// is one packed list (PropertyBag) in bags, apart from the columns so that a walk over a folder does not read it.
// Values above Limits::Inline bytes lie in chunks. Row identifiers are AUTOINCREMENT: never used twice.
#pragma once

#include "client/store/Database.hpp"

namespace deftmapi::client
{

namespace schema
{
/// "DfMS", PRAGMA application_id of a store file.
inline constexpr std::uint32_t ApplicationId = 0x44664D53;
/// PRAGMA user_version that this program writes.
inline constexpr int Version = 7;
} // namespace schema

/// Sizes that decide where a value lives and how it is handed out.
namespace limits
{
/// A text or binary value of more bytes than this is stored in chunks.
inline constexpr std::uint64_t Inline = 8 * 1024;
/// Bytes per chunk.
inline constexpr std::size_t Chunk = 64 * 1024;
/// GetProps gives text and binary values up to this many bytes; larger ones are MAPI_E_NOT_ENOUGH_MEMORY and must be
/// opened as a stream.
inline constexpr std::uint64_t GetProps = 32 * 1024;
/// Tables cut text off after this many characters, as the platform's tables do.
inline constexpr std::size_t TableText = 255;
/// Tables give binary values up to this many bytes, else MAPI_E_NOT_ENOUGH_MEMORY.
inline constexpr std::size_t TableBinary = 4096;
} // namespace limits

/// Folder rows that every store has; they are inserted first, in this order, when the store is made.
enum class SpecialFolder : std::int64_t
{
    Root = 1,
    IpmSubtree,
    Inbox,
    Outbox,
    SentItems,
    DeletedItems,
    Drafts,
    Calendar,
    Contacts,
    Journal,
    Notes,
    Tasks,
    JunkEmail,
    SyncIssues,
    Conflicts,
    LocalFailures,
    ServerFailures,
    Finder,
    CommonViews,
    Views,
    Last = Views
};

/// Makes a new store at `file`; it appears there complete or not at all.
void CreateStoreFile(const std::filesystem::path& file, std::span<const std::uint8_t> storeUid,
                     const std::u16string& displayName);
/// Looks at the header without touching the file. @throws Failure  MAPI_E_NOT_FOUND no file, MAPI_E_CORRUPT_STORE not a
/// store file, MAPI_E_VERSION written by a newer version
void CheckStoreFile(const std::filesystem::path& file);

/// Marks a store file as in use by this process, for as long as a connection to it is open; checks it first.
/// While the mark is there nobody here may open the file but SQLite: closing any descriptor of a file drops all of the
/// process's record locks on it, and another process would then take the store for unused and remove its log.
class StoreFileUse
{
public:
    /// @throws Failure  as CheckStoreFile
    explicit StoreFileUse(const std::filesystem::path& file);
    ~StoreFileUse();
    /// Alike for all connections to a file.
    [[nodiscard]] const std::string& Key() const { return FKey; }
    StoreFileUse(const StoreFileUse&) = delete;
    StoreFileUse& operator=(const StoreFileUse&) = delete;

private:
    std::string FKey;
};

/// Settings of a connection, and the upgrade steps. REQUIRES: a StoreFileUse of the file is held.
/// @throws Failure  as CheckStoreFile
void PrepareConnection(Database& database);

} // namespace deftmapi::client
