// Preparation of encoded words ("=?charset?B?…?=") for the parser library.
//
// The library joins neighbouring words of one character set before it decodes them, which is right for characters that
// senders split between words, but with base64 it stops at the padding of the first word. Words in base64 are therefore
// rewritten in the other encoding, byte for byte, before the library sees them.
#pragma once

#include "client/formats/MimeOptions.hpp"

#include <string>
#include <string_view>

namespace deftmapi::client::mime
{

/// The header text with every base64 word rewritten as a Q word. Sets mdEncodedWord in `damage` for words whose base64
/// is damaged or whose character set is unknown.
[[nodiscard]] std::string RewriteEncodedWords(std::string_view raw, TMimeDamage& damage);

} // namespace deftmapi::client::mime
