// Finding and rewriting encoded words.
#include "client/formats/EncodedWords.hpp"

#include "client/formats/AsciiText.hpp"
#include "client/formats/TransferDecoder.hpp"
#include "support/uKwEncoding.hpp"

namespace deftmapi::client::mime
{

namespace
{

struct TWord
{
    std::string_view Charset;
    char Encoding = 0; // lower case
    std::string_view Data;
    std::size_t Size = 0; // of the whole word; 0: there is no word here
};

/// The encoded word at the start of `text`.
TWord WordAt(std::string_view text) noexcept
{
    const std::size_t charsetEnd = text.find('?', 2);
    if (charsetEnd == std::string_view::npos || charsetEnd == 2 || charsetEnd + 2 >= text.size() ||
        text[charsetEnd + 2] != '?')
        return {};
    TWord word;
    word.Charset = text.substr(2, charsetEnd - 2);
    word.Encoding = LowerAscii(text[charsetEnd + 1]);
    const std::size_t data = charsetEnd + 3;
    const std::size_t end = text.find("?=", data);
    if (end == std::string_view::npos || word.Charset.find_first_of(" \t\r\n\"<>") != std::string_view::npos)
        return {};
    word.Data = text.substr(data, end - data);
    word.Size = end + 2;
    return word;
}

bool IsPlainInQ(char c) noexcept
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

std::string QEncoded(std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    result.reserve(bytes.size() * 3);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (IsPlainInQ(c))
            result.push_back(c);
        else
            result.append("=").append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
    }
    return result;
}

} // namespace

std::string RewriteEncodedWords(std::string_view raw, TMimeDamage& damage)
{
    std::string result;
    result.reserve(raw.size());
    for (std::size_t at = raw.find("=?"); at != std::string_view::npos; at = raw.find("=?")) {
        result.append(raw.substr(0, at));
        raw.remove_prefix(at);
        const TWord word = WordAt(raw);
        if (word.Size == 0 || (word.Encoding != 'b' && word.Encoding != 'q')) {
            result.append(raw.substr(0, 2));
            raw.remove_prefix(2);
            continue;
        }
        // A language may follow the character set: "utf-8*en".
        if (TKwEncoding::CodePageOfCharset(word.Charset.substr(0, word.Charset.find('*'))) == 0)
            damage |= mdEncodedWord;
        if (word.Encoding == 'q') {
            result.append(raw.substr(0, word.Size));
        } else {
            TTransferDecoder decoder("base64");
            std::string bytes;
            decoder.Feed(word.Data, bytes);
            decoder.Finish(bytes);
            if (decoder.Damage() != 0)
                damage |= mdEncodedWord;
            result.append("=?").append(word.Charset).append("?Q?").append(QEncoded(bytes)).append("?=");
        }
        raw.remove_prefix(word.Size);
    }
    return result.append(raw);
}

} // namespace deftmapi::client::mime
