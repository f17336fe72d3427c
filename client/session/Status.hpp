// The status table of a session and the objects behind its rows: the MAPI subsystem, the spooler, one row for each
// store provider.
#pragma once

#include "client/session/Profiles.hpp"
#include "support/uKwRef.hpp"

namespace deftmapi::client
{

/// The columns of the status table.
[[nodiscard]] std::vector<ULONG> StatusColumns();
/// Its rows for a profile of that name with these services.
[[nodiscard]] std::vector<Props> StatusRows(const WideString& profile, const std::vector<StoreService>& services);

/// The object behind a row. The spooler has no transports: its queues are empty, and flushing them is done at once.
/// @throws Failure  MAPI_E_NOT_FOUND the profile has no such resource; MAPI_E_INTERFACE_NOT_SUPPORTED
[[nodiscard]] TKwComPtr<mapi::IUnknown> OpenStatus(const WideString& profile, const std::vector<StoreService>& services,
                                                   const EntryReference& entry, mapi::LPCIID iid);

} // namespace deftmapi::client
