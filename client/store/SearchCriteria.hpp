// Restrictions as bytes: what a search folder looks for, as the application gave it, comments included.
#pragma once

#include "client/store/PropertyValues.hpp"

namespace deftmapi::client
{

/// @throws Failure  as Restriction::Parse: only what can be evaluated is kept
[[nodiscard]] Bytes PackRestriction(const mapi::SRestriction& restriction);
/// In one MAPI buffer with blocks linked to it; text and its tags are wide, or 8-bit without `unicode`.
/// @throws Failure  MAPI_E_CORRUPT_DATA
[[nodiscard]] MapiBuffer<mapi::SRestriction> UnpackRestriction(std::span<const std::uint8_t> packed, bool unicode);

} // namespace deftmapi::client
