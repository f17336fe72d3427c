// TKwStringStream: 8-bit text with a code page, read character by character, appendable and positionable.
#pragma once

#include "support/uKwEncoding.hpp"

namespace deftmapi
{

/// REQUIRES: one thread at a time.
class DEFTMAPI_API TKwStringStream
{
public:
    explicit TKwStringStream(unsigned codePage = 0) : FEncoding(codePage) {}
    explicit TKwStringStream(std::string text, unsigned codePage = 0) : FText(std::move(text)), FEncoding(codePage) {}

    [[nodiscard]] const std::string& Text() const noexcept { return FText; }
    [[nodiscard]] std::string TakeText() noexcept;
    [[nodiscard]] const TKwEncoding& Encoding() const noexcept { return FEncoding; }
    void SetCodePage(unsigned codePage) noexcept { FEncoding = TKwEncoding(codePage); }
    /// In bytes.
    [[nodiscard]] std::size_t Size() const noexcept { return FText.size(); }
    [[nodiscard]] std::size_t Position() const noexcept { return FPosition; }
    /// Sets the position; past the end means at the end.
    void Seek(std::size_t position) noexcept;
    [[nodiscard]] bool AtEnd() const noexcept { return FPosition >= FText.size(); }

    /// Reads one byte. Returns false at the end and leaves c alone.
    bool ReadChar(char& c) noexcept;
    /// The next byte without moving; 0 at the end.
    [[nodiscard]] char PeekChar() const noexcept { return AtEnd() ? '\0' : FText[FPosition]; }
    /// Up to count bytes.
    [[nodiscard]] std::string Read(std::size_t count);

    /// Appends at the end, whatever the position.
    void Append(std::string_view text) { FText.append(text); }
    void Append(char c) { FText.push_back(c); }
    /// Appends wide text converted to the stream's code page. @throws EKwConvertError  the code page is unknown
    void AppendWide(WideView text) { FText.append(FEncoding.FromWide(text)); }
    void Clear() noexcept;

private:
    std::string FText;
    std::size_t FPosition = 0;
    TKwEncoding FEncoding;
};

} // namespace deftmapi
