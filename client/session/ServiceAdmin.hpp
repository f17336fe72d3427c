// IMsgServiceAdmin: the message services of one profile. There is one kind of service, a store in a file ("DEFTSTORE");
// it is configured with PR_PST_PATH, the file, which may exist already, and PR_DISPLAY_NAME, the name of a new store.
#pragma once

#include "client/session/Profiles.hpp"
#include "support/uKwRef.hpp"

namespace deftmapi::client
{

[[nodiscard]] TKwComPtr<mapi::IMsgServiceAdmin> NewServiceAdmin(ProfilesPtr profiles, ProfileId profile);

} // namespace deftmapi::client
