// From the bytes of a text part to wide text: character sets, declared, wrong or missing; line ends; flowed text.
#pragma once

#include "client/formats/MimeTree.hpp"
#include "support/uKwText.hpp"

namespace deftmapi::client::mime
{

/// A text and the code page that it was read with.
struct TDecodedText
{
    WideString Text;
    unsigned CodePage = 0;
};

/// Converts a text part. A character set that is missing, unknown or plainly wrong is replaced by UTF-8 where the bytes
/// are well-formed UTF-8 and by windows-1252 otherwise, which loses no byte. A byte order mark is not part of the text.
[[nodiscard]] TDecodedText DecodeText(std::string_view bytes, const std::string& charset, TMimeState& state);

/// The code page in which HTML must be read: of the declared character set, else of a byte order mark, else of a meta
/// element, else as DecodeText chooses.
[[nodiscard]] unsigned HtmlCodePage(std::string_view bytes, const std::string& charset, TMimeState& state);

/// The text with CR LF at the end of every line.
[[nodiscard]] WideString WithCrLf(WideView text);

/// Flowed text with its soft line ends removed; quoted lines keep their marks.
/// @param deleteSpace  the blank before a soft line end is not part of the text
[[nodiscard]] WideString Unflow(WideView text, bool deleteSpace);

} // namespace deftmapi::client::mime
