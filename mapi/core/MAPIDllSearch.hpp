// Internal: what the registry says of a mail client's library.
#pragma once

#include "support/platform/uKwPlatform.hpp"

namespace deftmapi
{

inline constexpr WideView KwOutlookClientName = u"Microsoft Outlook";

/// The library that a client registered: its "DLLPathEx", else its "DLLPath", environment variables expanded, whichever
/// names a file that exists; else an empty text. An empty client reads the values of the list of clients itself.
[[nodiscard]] WideString KwRegisteredMAPIDll(TKwRegistryRoot root, TKwRegistryView view, WideView client);

} // namespace deftmapi
