// Message texts that several kinds of tables raise.
#pragma once

#include "support/uKwText.hpp"

namespace deftmapi
{

inline constexpr WideView sNoRecord = u"No record has been retrieved yet! Is the table active and not EOF?";
inline constexpr WideView sNotAField = u"The requested field \"%s\" is not a field of this table!";

} // namespace deftmapi
