// How tables order rows and show values.
#pragma once

#include "client/store/PropertyValues.hpp"
#include "client/table/Restriction.hpp"

#include <memory>

namespace deftmapi::client
{

/// What a table shows: its columns, which rows and in which order.
struct ShownView
{
    std::vector<ULONG> columns;
    std::shared_ptr<const Restriction> restriction; ///< null: all rows
    std::vector<mapi::SSortOrder> sort;
    bool unicode = false; ///< the width of text whose column was named without a type
};

/// Whether the row with the sort keys `a` stands before that with `b`; the keys are in the order of `sort`.
[[nodiscard]] bool IsRowBefore(const Props& a, const Props& b, const std::vector<mapi::SSortOrder>& sort);
/// Reads the beginning of a large value: sort keys need no more of a text than the row shows.
void ShortenValue(Prop& prop);
/// The value as the table shows it in a column; an error property for what the row does not have.
[[nodiscard]] Prop ShownValue(ULONG column, const Prop& value, bool unicode);

} // namespace deftmapi::client
