// How tables that keep something of 64 messages in one row number these rows: by the list that the messages are in,
// then by their row identifiers without the last bits. The pages of a list follow each other in the order of its
// messages.
#pragma once

#include "client/entry/Guard.hpp"
#include "client/store/Database.hpp"

namespace deftmapi::client
{

/// One of the two lists of a folder: its ordinary or its associated messages.
struct MessageList
{
    std::int64_t folder = 0;
    bool associated = false;
};

namespace pages
{

inline constexpr int SlotBits = 6;
inline constexpr std::int64_t Slots = std::int64_t{1} << SlotBits;
/// Bits of a number that tell the pages of one list apart.
inline constexpr int PageBits = 34;
inline constexpr std::int64_t FolderLimit = std::int64_t{1} << (62 - PageBits);
inline constexpr std::int64_t RowLimit = std::int64_t{1} << (PageBits + SlotBits);
inline constexpr std::int64_t PageMask = (std::int64_t{1} << PageBits) - 1;

static_assert(PageBits == 34 && SlotBits == 6); // as statements have them

inline constexpr auto sNoNumber = u"The store is damaged: a message or folder has a number below zero.";
inline constexpr auto sTooMany = u"The store has given out all numbers for messages or folders.";

/// @throws Failure  MAPI_E_TOO_BIG
[[nodiscard]] inline std::int64_t First(const MessageList& list)
{
    if (list.folder >= FolderLimit)
        Fail(mapi::MAPI_E_TOO_BIG, sTooMany);
    return (list.folder * 2 + std::int64_t{list.associated}) << PageBits;
}
[[nodiscard]] inline std::int64_t Last(const MessageList& list)
{
    return First(list) | PageMask;
}
/// @throws Failure  MAPI_E_TOO_BIG; MAPI_E_CORRUPT_STORE numbers that no store gives out
[[nodiscard]] inline std::int64_t PageOf(const MessageList& list, std::int64_t row)
{
    if (row < 0 || list.folder < 0)
        Fail(mapi::MAPI_E_CORRUPT_STORE, sNoNumber);
    if (row >= RowLimit)
        Fail(mapi::MAPI_E_TOO_BIG, sTooMany);
    return First(list) | (row >> SlotBits);
}
[[nodiscard]] inline std::uint8_t SlotOf(std::int64_t row)
{
    return static_cast<std::uint8_t>(row & (Slots - 1));
}
[[nodiscard]] inline MessageList ListOf(std::int64_t page)
{
    return {page >> (PageBits + 1), ((page >> PageBits) & 1) != 0};
}
/// The row identifier that has slot 0.
[[nodiscard]] inline std::int64_t FirstRow(std::int64_t page)
{
    return (page & PageMask) << SlotBits;
}

} // namespace pages
} // namespace deftmapi::client
