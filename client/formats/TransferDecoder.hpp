// Decoding of content transfer encodings in pieces. The decoder never fails: what cannot be read is skipped, and the
// damage is remembered.
#pragma once

#include "client/formats/MimeOptions.hpp"

#include <string>
#include <string_view>

namespace deftmapi::client::mime
{

/// Turns the encoded bytes of one part into its content.
class TTransferDecoder
{
public:
    enum class TKind
    {
        Identity,
        Base64,
        QuotedPrintable,
        UUEncode
    };

    /// @param encoding  the value of Content-Transfer-Encoding, in any case; an unknown one is read as identity
    explicit TTransferDecoder(std::string_view encoding);

    /// Decodes the next piece and appends the result to `out`.
    void Feed(std::string_view bytes, std::string& out);
    /// Ends the content: what was held back is appended.
    void Finish(std::string& out);

    [[nodiscard]] TKind Kind() const noexcept { return FKind; }
    /// mdTransferEncoding or mdUnknownTransferEncoding, or 0.
    [[nodiscard]] TMimeDamage Damage() const noexcept { return FDamage; }

private:
    enum class TQuoted
    {
        Text,
        Equals,     // after "="
        FirstDigit, // after "=" and one digit
        SoftBlank,  // blanks between "=" and the end of the line
        SoftReturn  // after "=" and CR
    };

    void FeedBase64(std::string_view bytes, std::string& out);
    void FeedQuotedPrintable(std::string_view bytes, std::string& out);
    bool QuotedPrintableSequence(char c, std::string& out);
    void FeedUUEncode(std::string_view bytes, std::string& out);
    void UULine(std::string& out);

    TKind FKind = TKind::Identity;
    TMimeDamage FDamage = 0;
    // base64: the group being read
    std::uint32_t FBits = 0;
    int FCount = 0;
    bool FPadded = false;
    // quoted-printable: where in an escape we are, and the blanks that vanish if the line ends after them;
    // uuencode: the line being read and the place in the block
    TQuoted FQuoted = TQuoted::Text;
    char FDigit = 0;
    std::string FPending;
    bool FInBlock = false;
    bool FBlockEnded = false;
};

} // namespace deftmapi::client::mime
