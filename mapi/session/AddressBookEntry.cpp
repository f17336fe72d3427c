// Identifiers of Outlook's own address book: four zero bytes, the provider, its version and the type of the entry, all
// numbers of four bytes with the lowest first. Containers go on with 16 bytes of the provider's instance and the
// identifier of their folder; people and lists with the number of the address, a size, and so many bytes of the
// message's identifier.
#include "mapi/session/AddressBookEntry.hpp"

#include "mapi/headers/uKwMAPIguidH.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi
{

namespace
{

constexpr std::size_t ProviderAt = 4;
constexpr std::size_t VersionAt = 20;
constexpr std::size_t TypeAt = 24;
constexpr std::size_t FolderAt = 44;
constexpr std::size_t MessageSizeAt = 32;
constexpr std::size_t MessageAt = 36;
constexpr std::uint32_t Version = 3;

/// REQUIRES: there are four bytes.
std::uint32_t NumberAt(const TKwBytes& bytes, std::size_t offset)
{
    std::uint32_t number = 0;
    for (std::size_t i = 4; i-- > 0;)
        number = number << 8 | bytes[offset + i];
    return number;
}

TKwBytes MessageOf(const TKwBytes& bytes)
{
    if (bytes.size() < MessageAt)
        return {};
    const std::size_t size = NumberAt(bytes, MessageSizeAt);
    if (size > bytes.size() - MessageAt)
        return {};
    const auto first = bytes.begin() + MessageAt;
    return {first, first + static_cast<std::ptrdiff_t>(size)};
}

} // namespace

std::optional<TKwContactEntry> KwParseContactEntry(const TKwBytes& bytes)
{
    const auto* provider = reinterpret_cast<const std::uint8_t*>(&mapi::MUIDCONTAB);
    if (bytes.size() < TypeAt + 4 || NumberAt(bytes, 0) != 0 || NumberAt(bytes, VersionAt) != Version ||
        !std::equal(provider, provider + sizeof mapi::MUIDCONTAB, bytes.begin() + ProviderAt))
        return std::nullopt;
    TKwContactEntry entry{static_cast<TKwContactEntryType>(NumberAt(bytes, TypeAt)), {}};
    switch (entry.Type) {
    case TKwContactEntryType::Folder:
        if (bytes.size() > FolderAt)
            entry.EntryID.assign(bytes.begin() + FolderAt, bytes.end());
        break;
    case TKwContactEntryType::Contact:
    case TKwContactEntryType::DistList:
        entry.EntryID = MessageOf(bytes);
        break;
    default:
        break;
    }
    return entry;
}

} // namespace deftmapi
