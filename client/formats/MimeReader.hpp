// Fills a message from MIME text. The reader knows messages and attachments by their published interfaces only, so it
// works on those of any store.
#pragma once

#include "client/formats/MimeOptions.hpp"
#include "mapi/headers/uKwMAPIHeaders.hpp"

namespace deftmapi::client::mime
{

/// Reads the MIME text from the stream's current position to its end and sets properties, recipients and attachments of
/// `message`. The message is not saved: after a failure the caller drops it, and nothing remains. Attachments are
/// copied in pieces; what is held in memory is the structure of the text and one body at a time (at most MaxBodyBytes).
/// @returns what was wrong with the text
/// @throws Failure  MAPI_E_CORRUPT_DATA: this is no message, or it is damaged and the options are strict; any failure
/// code
///                  of the stream or of the message
TMimeDamage ReadMime(mapi::IStream& stream, mapi::IMessage& message, const TMimeOptions& options = {});

} // namespace deftmapi::client::mime
