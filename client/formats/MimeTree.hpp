// The structure of a MIME message as plain data: header fields, types, names, and for each leaf the range of bytes that
// holds its (still encoded) content. The source behind knows the parser library; nothing else does.
#pragma once

#include "client/formats/ByteSource.hpp"
#include "client/formats/MimeOptions.hpp"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace deftmapi::client::mime
{

/// A header field as it stands in the text.
struct THeaderField
{
    std::string Name;
    std::string RawValue; ///< after the colon; folded, without the last line end
};

struct TMimeMessage;

/// One MIME entity. Texts are UTF-8.
struct TMimePart
{
    enum class TKind
    {
        Leaf,
        Multipart,
        Message ///< an attached message that needs no transfer decoding
    };

    TKind Kind = TKind::Leaf;
    std::string Type = "text"; ///< lower case
    std::string Subtype = "plain";
    std::string Charset;
    std::string Start;        ///< content identifier of the root of a multipart/related, without brackets
    std::string Format;       ///< "flowed" for flowed text, lower case
    bool DeleteSpace = false; ///< flowed text: the blank before a soft break is not part of the text
    std::string Disposition;  ///< lower case, empty when not given
    std::string FileName;     ///< of the disposition, else the name of the content type
    std::string ContentID;    ///< without brackets
    std::string ContentLocation;
    std::string TransferEncoding;

    std::uint64_t Begin = 0; ///< content of a leaf: a range of the source
    std::uint64_t End = 0;
    std::string Preamble;  ///< content of a leaf that was a multipart without parts; used when the range is empty
    std::size_t Level = 0; ///< multiparts and messages around this part

    std::vector<std::unique_ptr<TMimePart>> Parts; ///< of a multipart
    std::unique_ptr<TMimeMessage> Message;         ///< of an attached message

    [[nodiscard]] bool Is(std::string_view type, std::string_view subtype) const noexcept
    {
        return Type == type && Subtype == subtype;
    }
    [[nodiscard]] std::string MimeType() const { return Type + '/' + Subtype; }
};

struct TMimeMessage
{
    std::vector<THeaderField> Header;
    std::unique_ptr<TMimePart> Body; ///< null when there is nothing after the header

    /// The raw value of the first field of that name, or null.
    [[nodiscard]] const std::string* Field(std::string_view name) const noexcept;
};

/// What is left of the limits that count over the whole message, and the damage found so far.
struct TMimeState
{
    explicit TMimeState(const TMimeOptions& options)
        : Options(options), PartsLeft(options.MaxParts), FieldsLeft(options.MaxHeaderFields),
          AttachmentsLeft(options.MaxAttachments)
    {}

    const TMimeOptions& Options;
    std::size_t PartsLeft;
    std::size_t FieldsLeft;
    std::size_t AttachmentsLeft;
    TMimeDamage Damage = 0;
};

/// Reads the structure of the message in `source`; content stays where it is.
/// @param depth  levels already used by the message that this one is attached to
/// @throws Failure  MAPI_E_CORRUPT_DATA: this is no message, not one header field can be found
[[nodiscard]] std::unique_ptr<TMimeMessage> ParseMime(TByteSource& source, TMimeState& state, std::size_t depth);

/// One address of a list.
struct TMimeAddress
{
    std::string Name; ///< UTF-8, may be empty
    std::string Address;
};

// Decoding of raw field values. All results are UTF-8 on one line: control characters, which encoded words can smuggle
// in, become blanks.

/// Unstructured text with encoded words.
[[nodiscard]] std::string DecodeHeaderText(const std::string& raw, TMimeState& state);
/// An address list; groups are replaced by their members, entries without an address are left out.
[[nodiscard]] std::vector<TMimeAddress> DecodeAddresses(const std::string& raw, TMimeState& state);
/// A date as 100 ns since 1601 UTC. Empty (and mdDate set) when it cannot be read or lies before 1601.
[[nodiscard]] std::optional<std::uint64_t> DecodeDate(const std::string& raw, TMimeState& state);

} // namespace deftmapi::client::mime
