// The two ways in which the rows of a contents table are kept in order.
//
// Where an index gives the order, a place is the sort value and the row identifier of a row, rows are read from there
// by the index, and nothing is kept: opening costs the same for any size of folder and changes of rows cost nothing.
// For every other order, and where another index finds the few rows that fit, one statement gives the vector of rows.
#pragma once

#include "client/store/MessageRows.hpp"
#include "client/table/RowSource.hpp"

namespace deftmapi::client
{

/// @param rows  must outlive the order
[[nodiscard]] std::unique_ptr<RowOrder> MakeContentsOrder(const MessageRows& rows, const TableView& view);

/// An order that an index gives.
struct IndexedKey
{
    ULONG tag;               ///< 0: the natural order
    std::string_view source; ///< gives the rows in this order
    std::string_view alone;  ///< the same for statements that ask for nothing else of them
    const char* column;      ///< what the rows are sorted by, of that source; null: by the row identifier
    const char* anywhere;    ///< the same of every source; where it is text, its collation with it
    bool hasNull;            ///< rows may have no value, and stand before all others
};
/// Null: no index gives the order.
[[nodiscard]] const IndexedKey* FindIndexedKey(const TableView& view, MessageCondition::Path path);
[[nodiscard]] std::unique_ptr<RowOrder> MakeIndexOrder(const MessageRows& rows, const TableView& view,
                                                       const IndexedKey& key,
                                                       std::unique_ptr<MessageCondition> condition);

} // namespace deftmapi::client
