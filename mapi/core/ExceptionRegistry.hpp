// Internal: fills the exception registry's category "MAPI".
#pragma once

#include "support/uKwText.hpp"

namespace deftmapi
{

inline constexpr WideView KwMAPIExceptionCategory = u"MAPI";

/// Registers the classes of all MAPI codes, the first time it is called. Thread-safe.
void KwRegisterMAPIExceptions();

} // namespace deftmapi
