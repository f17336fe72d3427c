// The decoders work character by character, so that memory does not depend on the length of lines.
#include "client/formats/TransferDecoder.hpp"

#include "client/formats/AsciiText.hpp"

#include <algorithm>
#include <utility>

namespace deftmapi::client::mime
{

namespace
{

constexpr std::size_t maxPendingBlanks = 1024;
constexpr std::size_t maxUULine = 128; // 61 characters are the longest legal line

int Base64Value(char c) noexcept
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    return c == '/' ? 63 : -1;
}

char Byte(std::uint32_t value) noexcept
{
    return static_cast<char>(value & 0xFF);
}

} // namespace

TTransferDecoder::TTransferDecoder(std::string_view encoding)
{
    const std::string name = LowerAscii(TrimAscii(encoding));
    if (name == "base64")
        FKind = TKind::Base64;
    else if (name == "quoted-printable")
        FKind = TKind::QuotedPrintable;
    else if (name == "x-uuencode" || name == "uuencode" || name == "x-uue")
        FKind = TKind::UUEncode;
    else if (!name.empty() && name != "7bit" && name != "8bit" && name != "binary")
        FDamage = mdUnknownTransferEncoding;
}

void TTransferDecoder::Feed(std::string_view bytes, std::string& out)
{
    switch (FKind) {
    case TKind::Identity:
        out.append(bytes);
        break;
    case TKind::Base64:
        FeedBase64(bytes, out);
        break;
    case TKind::QuotedPrintable:
        FeedQuotedPrintable(bytes, out);
        break;
    case TKind::UUEncode:
        FeedUUEncode(bytes, out);
        break;
    }
}

void TTransferDecoder::Finish(std::string& out)
{
    if (FKind == TKind::Base64 && FCount > 0) {
        // A group without its padding, or a lone character that holds no whole byte.
        FDamage |= mdTransferEncoding;
        if (FCount >= 2)
            out.push_back(Byte(FCount == 2 ? FBits >> 4 : FBits >> 10));
        if (FCount == 3)
            out.push_back(Byte(FBits >> 2));
        FCount = 0;
    } else if (FKind == TKind::QuotedPrintable && FQuoted == TQuoted::FirstDigit) {
        FDamage |= mdTransferEncoding;
        out.push_back('=');
        out.push_back(FDigit);
        FQuoted = TQuoted::Text;
    } else if (FKind == TKind::UUEncode) {
        UULine(out);
        if (!FBlockEnded)
            FDamage |= mdTransferEncoding;
    }
}

void TTransferDecoder::FeedBase64(std::string_view bytes, std::string& out)
{
    for (const char c : bytes) {
        const int value = Base64Value(c);
        if (value >= 0) {
            if (FPadded) {
                // Two encoded texts in a row: read the second one, too.
                FPadded = false;
                FDamage |= mdTransferEncoding;
            }
            FBits = (FBits << 6) | static_cast<std::uint32_t>(value);
            if (++FCount == 4) {
                out.push_back(Byte(FBits >> 16));
                out.push_back(Byte(FBits >> 8));
                out.push_back(Byte(FBits));
                FCount = 0;
                FBits = 0;
            }
        } else if (c == '=') {
            if (FCount >= 2)
                out.push_back(Byte(FCount == 2 ? FBits >> 4 : FBits >> 10));
            if (FCount == 3)
                out.push_back(Byte(FBits >> 2));
            if (FCount == 1 || (FCount == 0 && !FPadded))
                FDamage |= mdTransferEncoding;
            FPadded = true;
            FCount = 0;
            FBits = 0;
        } else if (!IsBlankAscii(c)) {
            FDamage |= mdTransferEncoding;
        }
    }
}

/// Takes one character inside an escape. False: the escape was none, and `c` is ordinary text.
bool TTransferDecoder::QuotedPrintableSequence(char c, std::string& out)
{
    switch (std::exchange(FQuoted, TQuoted::Text)) {
    case TQuoted::Text:
        return false;
    case TQuoted::Equals:
        if (HexValue(c) >= 0) {
            FDigit = c;
            FQuoted = TQuoted::FirstDigit;
            return true;
        }
        if (c == '\r' || c == '\n' || c == ' ' || c == '\t') {
            if (c != '\n')
                FQuoted = c == '\r' ? TQuoted::SoftReturn : TQuoted::SoftBlank;
            return true;
        }
        out.push_back('=');
        break;
    case TQuoted::FirstDigit:
        if (HexValue(c) >= 0) {
            out.push_back(Byte(static_cast<std::uint32_t>(HexValue(FDigit) * 16 + HexValue(c))));
            return true;
        }
        out.push_back('=');
        out.push_back(FDigit);
        break;
    case TQuoted::SoftBlank:
        if (c == ' ' || c == '\t' || c == '\r') {
            FQuoted = c == '\r' ? TQuoted::SoftReturn : TQuoted::SoftBlank;
            return true;
        }
        if (c == '\n')
            return true;
        out.append("= ");
        break;
    case TQuoted::SoftReturn:
        return c == '\n';
    }
    FDamage |= mdTransferEncoding;
    return false;
}

void TTransferDecoder::FeedQuotedPrintable(std::string_view bytes, std::string& out)
{
    for (const char c : bytes) {
        if (QuotedPrintableSequence(c, out))
            continue;
        if (c == ' ' || c == '\t') {
            FPending.push_back(c);
            if (FPending.size() < maxPendingBlanks)
                continue;
        }
        // Blanks at the end of a line were added on the way.
        if (c != '\r' && c != '\n')
            out.append(FPending);
        FPending.clear();
        if (c == '=')
            FQuoted = TQuoted::Equals;
        else if (c != ' ' && c != '\t')
            out.push_back(c);
    }
}

void TTransferDecoder::FeedUUEncode(std::string_view bytes, std::string& out)
{
    for (const char c : bytes) {
        if (c == '\n')
            UULine(out);
        else if (c != '\r' && FPending.size() < maxUULine)
            FPending.push_back(c);
    }
}

/// Decodes the collected line. Spaces at its end may have been lost on the way; they stand for zero bits.
void TTransferDecoder::UULine(std::string& out)
{
    const std::string line = std::exchange(FPending, {});
    if (FBlockEnded || line.empty())
        return;
    if (!FInBlock) {
        FInBlock = line.starts_with("begin ");
        return;
    }
    if (line == "end") {
        FBlockEnded = true;
        return;
    }

    const auto value = [&line, this](std::size_t i) -> std::uint32_t {
        if (i >= line.size())
            return 0;
        if (line[i] < ' ' || line[i] > '`')
            FDamage |= mdTransferEncoding;
        return static_cast<std::uint32_t>(line[i] - ' ') & 0x3F;
    };
    std::size_t left = value(0);
    for (std::size_t i = 1; left > 0; i += 4) {
        const std::uint32_t bits = (value(i) << 18) | (value(i + 1) << 12) | (value(i + 2) << 6) | value(i + 3);
        for (int shift = 16; shift >= 0 && left > 0; shift -= 8, --left)
            out.push_back(Byte(bits >> shift));
    }
}

} // namespace deftmapi::client::mime
