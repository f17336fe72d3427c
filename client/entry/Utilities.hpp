// What the utility exports do: the COM allocator, reading a table whole, conversation indexes.
#pragma once

#include "client/store/PropertyValues.hpp"

namespace deftmapi::client
{

/// The one COM allocator of the process. It lives as long as the module; counting its references changes nothing.
[[nodiscard]] mapi::IMalloc& DefaultMalloc() noexcept;

/// Reads every row of a table of any provider. Null parameters leave the table's columns, restriction and order as they
/// are.
/// @param maximum  rows above which the table is too big; 0 is no limit
/// @returns MAPI_E_TABLE_TOO_BIG, or the result of the table's method that failed
mapi::HRESULT QueryAllRows(mapi::IMAPITable* table, mapi::LPSPropTagArray columns, mapi::LPSRestriction restriction,
                           mapi::LPSSortOrderSet order, mapi::LONG maximum, mapi::LPSRowSet* rows) noexcept;

/// PR_CONVERSATION_INDEX of an answer to `parent`, or of a new conversation when parent is none.
/// @param now  FILETIME
[[nodiscard]] Bytes NextConversationIndex(std::span<const std::uint8_t> parent, std::int64_t now);

} // namespace deftmapi::client
