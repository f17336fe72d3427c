#include "client/store/EntryIds.hpp"

#include "client/entry/Guard.hpp"

#include <cstring>
#include <mutex>
#include <random>

namespace deftmapi::client
{
namespace
{

constexpr auto sInvalid = u"The entry identifier is damaged or belongs to another provider.";

// Layout as it lies in memory; all numbers little-endian.
struct Layout
{
    std::uint8_t flags[4];
    Uid provider;
    std::uint16_t version;
    EntryKind kind;
    Uid store;
    std::uint8_t row[8];
};
static_assert(sizeof(Layout) == 48);
constexpr std::uint16_t Version = 1;

} // namespace

Bytes MakeEntryId(const EntryReference& reference)
{
    Layout layout{{}, ProviderUniqueId, Version, reference.kind, reference.store, {}};
    std::memcpy(layout.row, &reference.row, sizeof layout.row);
    Bytes id(sizeof layout);
    std::memcpy(id.data(), &layout, sizeof layout);
    return id;
}

std::optional<EntryReference> ParseEntryId(std::span<const std::uint8_t> id)
{
    Layout layout;
    if (id.size() < sizeof layout.flags + sizeof layout.provider)
        Fail(mapi::MAPI_E_INVALID_ENTRYID, sInvalid);
    if (std::memcmp(id.data() + sizeof layout.flags, &ProviderUniqueId, sizeof ProviderUniqueId) != 0)
        return std::nullopt;
    if (id.size() != sizeof layout)
        Fail(mapi::MAPI_E_INVALID_ENTRYID, sInvalid);
    std::memcpy(&layout, id.data(), sizeof layout);
    if (layout.version != Version)
        return std::nullopt;
    EntryReference reference{layout.store, layout.kind, 0};
    std::memcpy(&reference.row, layout.row, sizeof layout.row);
    const bool known = layout.kind == EntryKind::Store || layout.kind == EntryKind::Folder ||
                       layout.kind == EntryKind::Message || layout.kind == EntryKind::Status;
    if (!known || reference.row < 0)
        Fail(mapi::MAPI_E_INVALID_ENTRYID, sInvalid);
    return reference;
}

EntryReference RequireEntryId(ULONG size, const mapi::ENTRYID* id)
{
    if (!id || size == 0)
        Fail(mapi::MAPI_E_INVALID_ENTRYID, sInvalid);
    const auto reference = ParseEntryId({reinterpret_cast<const std::uint8_t*>(id), size});
    if (!reference)
        Fail(mapi::MAPI_E_INVALID_ENTRYID, sInvalid);
    return *reference;
}

MapiBuffer<mapi::ENTRYID> ExportEntryId(const Bytes& id)
{
    auto buffer = AllocateAs<mapi::ENTRYID>(id.size());
    std::memcpy(static_cast<void*>(buffer.Get()), id.data(), id.size());
    return buffer;
}

Bytes MakeRecordKey(const EntryReference& reference)
{
    Bytes key = ToBytes(reference.store);
    const auto* row = reinterpret_cast<const std::uint8_t*>(&reference.row);
    key.insert(key.end(), row, row + sizeof reference.row);
    return key;
}

Bytes ToBytes(const Uid& uid)
{
    return Bytes(uid.ab, uid.ab + sizeof uid.ab);
}

Uid NewUid()
{
    // Opening the device costs more than the numbers do. It holds no state that a fork could double.
    static auto& device = *new std::random_device; // sessions may outlive the static objects
    static auto& lock = *new std::mutex;
    const std::lock_guard guard(lock);
    Uid uid;
    for (std::size_t i = 0; i < sizeof uid.ab; i += 4) {
        const std::uint32_t word = device();
        std::memcpy(uid.ab + i, &word, sizeof word);
    }
    return uid;
}

} // namespace deftmapi::client
