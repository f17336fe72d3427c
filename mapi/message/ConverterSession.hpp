// The MIME converter of the mail client.
#pragma once

#include "mapi/headers/uKwConverterSessionH.hpp"
#include "support/uKwRef.hpp"

namespace deftmapi
{

/// A new converter. REQUIRES: MAPI is loaded.
/// @throws EMAPI_NOT_SUPPORTED  "The IConverterSession is not supported by your Outlook version!"
[[nodiscard]] TKwComPtr<mapi::IConverterSession> KwCreateConverterSession();

} // namespace deftmapi
