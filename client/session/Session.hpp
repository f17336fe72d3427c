// Logging on, and IMAPISession. A session always is its own: it is not joined by later log-ons.
#pragma once

#include "client/session/Profiles.hpp"
#include "support/uKwRef.hpp"

namespace deftmapi::client
{

/// MAPILogonEx. A profile name that is given counts, also with MAPI_USE_DEFAULT; without one it is the default profile
/// when MAPI_USE_DEFAULT asks for it. No dialog is ever shown, so what only a dialog could find out is
/// MAPI_E_LOGON_FAILED.
/// @throws Failure  MAPI_E_LOGON_FAILED, MAPI_E_UNKNOWN_FLAGS; as Profiles
[[nodiscard]] TKwComPtr<mapi::IMAPISession> LogOn(const WideString& profile, const WideString& password, ULONG flags);

} // namespace deftmapi::client
