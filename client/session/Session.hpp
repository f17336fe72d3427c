// Logging on, and IMAPISession. A session that allows others (MAPI_ALLOW_OTHERS) is joined by later log-ons of the
// process that want no session of their own.
#pragma once

#include "client/session/Profiles.hpp"
#include "support/uKwRef.hpp"

namespace deftmapi::client
{

/// MAPILogonEx. Without MAPI_NEW_SESSION the session that others may join is joined, whatever profile is named. Else a
/// profile name that is given counts, also with MAPI_USE_DEFAULT; without one it is the default profile
/// when MAPI_USE_DEFAULT asks for it. No dialog is ever shown, so what only a dialog could find out is
/// MAPI_E_LOGON_FAILED. While another process writes to the file of the profiles the logon waits for it 20 seconds,
/// with MAPI_TIMEOUT_SHORT 3.
/// @throws Failure  MAPI_E_LOGON_FAILED, MAPI_E_UNKNOWN_FLAGS, MAPI_E_TIMEOUT; as Profiles
[[nodiscard]] TKwComPtr<mapi::IMAPISession> LogOn(const WideString& profile, const WideString& password, ULONG flags);

} // namespace deftmapi::client
