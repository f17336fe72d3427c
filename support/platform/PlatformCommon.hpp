// What every implementation of the platform shares.
#pragma once

#include "support/platform/uKwPlatform.hpp"

namespace deftmapi
{

/// Replaces each %NAME% that platform.Environment knows; everything else stays, a lone per cent sign included.
[[nodiscard]] DEFTMAPI_API WideString KwExpandPercentNames(IKwPlatform& platform, const WideString& text);

} // namespace deftmapi
