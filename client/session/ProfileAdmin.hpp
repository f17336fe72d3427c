// IProfAdmin: what MAPIAdminProfiles gives. No method shows a dialog; the flags that ask for one change nothing.
#pragma once

#include "client/session/Profiles.hpp"
#include "support/uKwRef.hpp"

namespace deftmapi::client
{

[[nodiscard]] TKwComPtr<mapi::IProfAdmin> NewProfileAdmin(ProfilesPtr profiles);

} // namespace deftmapi::client
