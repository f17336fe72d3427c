// How tables order rows and show values.
#pragma once

#include "client/store/PropertyValues.hpp"

namespace deftmapi::client
{

/// Whether the row with the sort keys `a` stands before that with `b`; the keys are in the order of `sort`.
[[nodiscard]] bool IsRowBefore(const Props& a, const Props& b, const std::vector<mapi::SSortOrder>& sort);
/// Reads the beginning of a large value: sort keys need no more of a text than the row shows.
void ShortenValue(Prop& prop);
/// The value as the table shows it in a column; an error property for what the row does not have.
[[nodiscard]] Prop ShownValue(ULONG column, Prop value, bool unicode);

} // namespace deftmapi::client
