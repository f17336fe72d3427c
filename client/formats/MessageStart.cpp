// A field needs a name of printable characters and a colon. Control characters before the first field mean binary data:
// without that rule any large file would by chance contain a "field" somewhere.
#include "client/formats/MessageStart.hpp"

#include "client/entry/Guard.hpp"
#include "client/formats/AsciiText.hpp"

#include <array>

namespace deftmapi::client::mime
{

namespace
{

constexpr auto sNoMessage = u"This is not a MIME message: it has no header field.";
constexpr std::size_t pieceSize = 16 * 1024;
constexpr std::size_t maxLine = 1000; // the start of a line decides; the rest is only skipped

[[noreturn]] void RaiseNoMessage()
{
    Fail(mapi::MAPI_E_CORRUPT_DATA, sNoMessage);
}

bool IsField(std::string_view line) noexcept
{
    const std::size_t colon = line.find(':');
    if (colon == 0 || colon == std::string_view::npos)
        return false;
    std::string_view name = line.substr(0, colon);
    while (name.ends_with(' ') || name.ends_with('\t'))
        name.remove_suffix(1);
    for (const char c : name)
        if (c <= ' ' || c > '~')
            return false;
    return !name.empty();
}

bool IsBinary(std::string_view line) noexcept
{
    // ESC belongs to raw ISO-2022 text.
    return std::any_of(line.begin(), line.end(),
                       [](char c) { return c >= 0 && c < ' ' && !IsBlankAscii(c) && c != '\x1B'; });
}

} // namespace

std::uint64_t FindMessageStart(TByteSource& source, TMimeState& state)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    std::array<char, pieceSize> piece{};
    std::uint64_t offset = 0;
    std::uint64_t lineStart = 0;
    std::string line;
    bool skippedLine = false;
    if (const std::size_t got = source.Read(0, std::span(piece).first(byteOrderMark.size()));
        std::string_view(piece.data(), got) == byteOrderMark)
    {
        offset = lineStart = byteOrderMark.size();
        state.Damage |= mdLeadingData;
    }

    // True when the search goes on with the next line.
    const auto take = [&]() -> bool {
        if (IsField(line))
            return false;
        if (IsBinary(line))
            RaiseNoMessage();
        const std::string_view text = TrimAscii(line);
        // One line may be foreign, such as the answer of a server; more of them, or a blank line after one, are just
        // text.
        if (skippedLine)
            RaiseNoMessage();
        if (text.empty() || text.starts_with("From ") || text.starts_with(">From ")) {
            state.Damage |= mdLeadingData;
        } else {
            skippedLine = true;
            state.Damage |= mdHeaderSyntax;
        }
        line.clear();
        return true;
    };

    while (const std::size_t got = source.Read(offset, piece)) {
        for (std::size_t i = 0; i < got; ++i) {
            if (piece[i] == '\n') {
                if (!take())
                    return lineStart;
                lineStart = offset + i + 1;
            } else if (line.size() < maxLine) {
                line.push_back(piece[i]);
            }
        }
        offset += got;
    }
    if (!IsField(line))
        RaiseNoMessage();
    return lineStart;
}

} // namespace deftmapi::client::mime
