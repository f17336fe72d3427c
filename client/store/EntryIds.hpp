// Entry identifiers of the client's stores: 48 bytes that name the provider, the store, the kind of object and its row.
// Row numbers are never used twice, so an identifier never comes to mean another object.
#pragma once

#include "client/store/PropertyValues.hpp"

namespace deftmapi::client
{

/// The provider's own identifier: bytes 4 to 19 of every entry identifier, and PR_MDB_PROVIDER.
inline constexpr mapi::MAPIUID ProviderUniqueId = {
    {0xD3, 0x5A, 0x7C, 0x1E, 0x94, 0x40, 0x4B, 0x6F, 0xA2, 0x18, 0x0E, 0xC5, 0x67, 0x9B, 0x31, 0xF8}};

using Uid = mapi::MAPIUID;

enum class EntryKind : std::uint16_t
{
    Store = mapi::MAPI_STORE,
    Folder = mapi::MAPI_FOLDER,
    Message = mapi::MAPI_MESSAGE,
    Status = mapi::MAPI_STATUS ///< a row of the status table; `row` is its resource type
};

struct EntryReference
{
    Uid store{};
    EntryKind kind = EntryKind::Store;
    std::int64_t row = 0; ///< 0 for the store itself

    friend bool operator==(const EntryReference&, const EntryReference&) = default;
};

[[nodiscard]] Bytes MakeEntryId(const EntryReference& reference);
/// @returns nothing for an identifier of another provider or version. @throws Failure  MAPI_E_INVALID_ENTRYID when it
/// is damaged (too short, unknown kind)
[[nodiscard]] std::optional<EntryReference> ParseEntryId(std::span<const std::uint8_t> id);
/// The same for parameters of a call. @throws Failure  MAPI_E_INVALID_ENTRYID also for identifiers of other providers
[[nodiscard]] EntryReference RequireEntryId(ULONG size, const mapi::ENTRYID* id);
/// A copy of the identifier in MAPI memory.
[[nodiscard]] MapiBuffer<mapi::ENTRYID> ExportEntryId(const Bytes& id);

/// Store identifier and row: PR_RECORD_KEY of folders and messages.
[[nodiscard]] Bytes MakeRecordKey(const EntryReference& reference);
[[nodiscard]] Bytes ToBytes(const Uid& uid);
/// A random identifier.
[[nodiscard]] Uid NewUid();

} // namespace deftmapi::client
