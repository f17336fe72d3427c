// Watches the text of a message while the parser library reads it, and tells when to end it early. The library's
// objects would otherwise grow to hundreds of times the size of a hostile text (empty parts, empty fields), and its
// time with the square of the number of parameters of a field.
#pragma once

#include "client/formats/MimeTree.hpp"

#include <unordered_set>

namespace deftmapi::client::mime
{

/// Counts parts, fields and parameters of one text. Parts and fields may exceed their limits twice over here: the exact
/// limits are applied when the structure is copied.
class TParseGuard
{
public:
    /// @param start  offset of the first byte that the parser reads
    TParseGuard(TMimeState& state, std::uint64_t start) : FState(state), FScanned(start) {}

    /// A header field was read.
    void CountField() noexcept;
    /// Lines of this boundary are counted from now on.
    void AddBoundary(std::string boundary);
    /// The parser reads the piece at `offset`. A piece that it reads again is not counted again.
    void Scan(std::uint64_t offset, std::string_view bytes);

    /// True when the text must end here; the reason is in the damage word.
    [[nodiscard]] bool Stopped() const noexcept { return FStopped; }
    /// Offset of the first byte that was not given to Scan.
    [[nodiscard]] std::uint64_t Scanned() const noexcept { return FScanned; }

private:
    void Stop(TMimeDamage damage) noexcept;
    void TakeLinePiece(std::string_view piece);
    void EndLine();
    [[nodiscard]] bool IsBoundary() const;

    TMimeState& FState;
    std::uint64_t FScanned;
    std::unordered_set<std::string> FBoundaries;
    std::size_t FParts = 0;
    std::size_t FFields = 0;
    std::string FLine;          // start of the current line, as far as it matters
    bool FContentField = false; // in a (possibly folded) field whose name begins with "Content-"
    std::size_t FParameters = 0;
    bool FStopped = false;
};

} // namespace deftmapi::client::mime
