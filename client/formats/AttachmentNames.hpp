// File names of attachments: taken from the message but made harmless, made up where there is none, and shortened to
// the eight-plus-three form that PR_ATTACH_FILENAME still has.
#pragma once

#include "client/formats/MimeTree.hpp"
#include "support/uKwText.hpp"

namespace deftmapi::client::mime
{

struct TAttachmentName
{
    WideString LongName;
    WideString ShortName; ///< at most eight characters, a dot, three characters; ASCII
    WideString Extension; ///< with its dot, or empty
};

/// @param number  of the attachment in its message, from 0; it makes the name of a nameless part ("ATT00001.txt")
[[nodiscard]] TAttachmentName NameAttachment(const TMimePart& part, std::size_t number);

} // namespace deftmapi::client::mime
