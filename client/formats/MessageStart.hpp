// Finds where the header of a message begins, and tells messages from anything else, before the parser sees a byte.
#pragma once

#include "client/formats/ByteSource.hpp"
#include "client/formats/MimeTree.hpp"

namespace deftmapi::client::mime
{

/// Offset of the first header field. A byte order mark, blank lines, an mbox line ("From someone ...") and one line
/// that is no field are skipped and noted.
/// @throws Failure  MAPI_E_CORRUPT_DATA: more text, the end or a control character comes before the first field
[[nodiscard]] std::uint64_t FindMessageStart(TByteSource& source, TMimeState& state);

} // namespace deftmapi::client::mime
