// What the MIME reader accepts and what it reports: limits, strictness, and the flag word in which it notes whatever
// was wrong with the text. Reading is tolerant: a flag never costs the other properties of the message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace deftmapi::client::mime
{

/// What was found wrong; bits of TMimeDamage.
enum TMimeDamageBit : std::uint32_t
{
    mdLeadingData = 1u << 0,    ///< blank lines, a byte order mark or an mbox line stood before the header
    mdHeaderSyntax = 1u << 1,   ///< a header line is no field, or has an impossible name; the line is left out
    mdHeader8Bit = 1u << 2,     ///< a field holds 8-bit text without saying in which character set
    mdEncodedWord = 1u << 3,    ///< an encoded word cannot be decoded
    mdDuplicateField = 1u << 4, ///< a field that may stand once stands twice; the first one counts
    mdAddress = 1u << 5,        ///< an address list is malformed; the readable addresses are kept
    mdDate = 1u << 6,           ///< a date is unreadable or outside the representable range
    mdContentType = 1u << 7,    ///< a content type is malformed
    mdParameter = 1u << 8,      ///< a parameter is malformed or doubled
    mdMultipart = 1u << 9,      ///< a multipart has no boundary or no part; its text is kept as plain text
    mdTruncated = 1u << 10,     ///< the text ends before the last boundary
    mdStructure = 1u << 11,     ///< other faults of structure: parts without content, a message without a header
    mdTransferEncoding =
        1u << 12, ///< base64, quoted-printable or uuencoded data is damaged; the readable bytes are kept
    mdUnknownTransferEncoding = 1u << 13, ///< the transfer encoding is not known; the bytes are kept as they are
    mdUnknownCharset = 1u << 14,          ///< the character set of a text is not known; see DecodeText
    mdCharsetMismatch = 1u << 15,         ///< a text is not what its character set says
    mdDepthLimit = 1u << 16,              ///< parts nested deeper than MaxDepth were left out
    mdPartLimit = 1u << 17,               ///< parts beyond MaxParts were left out
    mdHeaderLimit = 1u << 18,             ///< header fields beyond MaxHeaderBytes or MaxHeaderFields were left out
    mdAttachmentLimit = 1u << 19,         ///< attachments beyond MaxAttachments were left out
    mdBodyLimit = 1u << 20,               ///< a body longer than MaxBodyBytes was kept as an attachment
    mdEmbedded = 1u << 21                 ///< an attached message is unreadable and was kept as a file
};
using TMimeDamage = std::uint32_t;

/// Limits and strictness. Every limit is inclusive: exactly so much is still read.
struct TMimeOptions
{
    /// Any damage makes the reading fail with MAPI_E_CORRUPT_DATA. For tests.
    bool Strict = false;
    /// Levels of multiparts and attached messages. A message without any has depth 1.
    std::size_t MaxDepth = 64;
    /// MIME entities of the whole message, multiparts and attached messages included.
    std::size_t MaxParts = 10'000;
    /// Raw size of the header of one message, in bytes.
    std::size_t MaxHeaderBytes = 1u << 20;
    /// Header fields of the whole message, those of the parts included.
    std::size_t MaxHeaderFields = 100'000;
    /// Attachments of the whole message, those of attached messages included.
    std::size_t MaxAttachments = 5'000;
    /// Size in bytes of one text that may become (part of) a body. Bodies are converted in memory, attachments are
    /// streamed.
    std::size_t MaxBodyBytes = 64u << 20;
    /// Receipt time of a message without any date, as 100 ns since 1601 UTC; empty: the system clock.
    std::function<std::uint64_t()> Now;
};

} // namespace deftmapi::client::mime
