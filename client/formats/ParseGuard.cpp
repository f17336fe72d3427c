// The guard does not know whether a line belongs to a header. Two thousand semicolons in one folded "Content-" line are
// no text that anybody writes, so taking such a line in a body for a field does no harm.
#include "client/formats/ParseGuard.hpp"

#include "client/formats/AsciiText.hpp"

#include <algorithm>

namespace deftmapi::client::mime
{

namespace
{

constexpr std::size_t maxBoundaryLine = 8 * 1024;
constexpr std::size_t maxParameters = 2'000;
constexpr std::size_t slack = 100;
constexpr std::string_view contentPrefix = "content-";

} // namespace

void TParseGuard::Stop(TMimeDamage damage) noexcept
{
    FStopped = true;
    FState.Damage |= damage;
}

void TParseGuard::CountField() noexcept
{
    if (++FFields > FState.Options.MaxHeaderFields * 2 + slack)
        Stop(mdHeaderLimit);
}

void TParseGuard::AddBoundary(std::string boundary)
{
    if (FBoundaries.size() <= FState.Options.MaxParts)
        FBoundaries.insert(std::move(boundary));
}

void TParseGuard::Scan(std::uint64_t offset, std::string_view bytes)
{
    if (offset > FScanned || offset + bytes.size() <= FScanned)
        return;
    bytes.remove_prefix(static_cast<std::size_t>(FScanned - offset));
    FScanned += bytes.size();
    while (!bytes.empty()) {
        const std::size_t end = bytes.find('\n');
        TakeLinePiece(bytes.substr(0, end));
        if (end == std::string_view::npos)
            break;
        EndLine();
        bytes.remove_prefix(end + 1);
    }
}

void TParseGuard::TakeLinePiece(std::string_view piece)
{
    // A line that is not folded onto the one before begins a new field.
    if (FLine.empty() && !piece.empty() && piece.front() != ' ' && piece.front() != '\t') {
        FContentField = false;
        FParameters = 0;
    }
    const std::size_t kept = FLine.empty() || FLine.starts_with('-') ? maxBoundaryLine : contentPrefix.size();
    if (FLine.size() < kept)
        FLine.append(piece.substr(0, kept - FLine.size()));
    FContentField = FContentField || StartsAscii(FLine, contentPrefix);
    if (!FContentField)
        return;
    FParameters += static_cast<std::size_t>(std::count(piece.begin(), piece.end(), ';'));
    if (FParameters > maxParameters)
        Stop(mdHeaderLimit);
}

void TParseGuard::EndLine()
{
    if (IsBoundary() && ++FParts > FState.Options.MaxParts * 2 + slack)
        Stop(mdPartLimit);
    FLine.clear();
}

bool TParseGuard::IsBoundary() const
{
    std::string_view line = TrimAscii(FLine);
    if (!line.starts_with("--"))
        return false;
    line.remove_prefix(2);
    if (FBoundaries.contains(std::string(line)))
        return true;
    return line.ends_with("--") && FBoundaries.contains(std::string(line.substr(0, line.size() - 2)));
}

} // namespace deftmapi::client::mime
