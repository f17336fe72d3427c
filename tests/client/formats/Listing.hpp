// A message as text, for comparison with an expected listing: every property by name, recipients, attachments.
#pragma once

#include "tests/client/formats/MemoryMessage.hpp"

namespace deftmapi::client::mime::test
{

/// The bits of a damage word by name, or "none".
[[nodiscard]] std::string DamageText(std::uint32_t damage);

/// Lists a saved message; attached messages are indented below their attachment. Attachment data is given by size and
/// CRC-32.
[[nodiscard]] std::string ListMessage(const TMessageState& message, std::size_t indent = 0);

} // namespace deftmapi::client::mime::test
