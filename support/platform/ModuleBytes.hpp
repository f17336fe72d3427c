// Reading of module files by bytes. Nothing in such a file is believed: every offset is checked against what the file
// really holds, and what a reader may collect is bounded by the file's size.
#pragma once

#include "support/platform/uKwPlatform.hpp"

#include <map>

namespace deftmapi::modules
{

/// Cached random access to a file through KwPlatform().ReadFile. Memory is bounded by the file's size.
class TModuleBytes
{
public:
    explicit TModuleBytes(WideString fileName) : FFileName(std::move(fileName)) {}

    /// Numbers are little-endian unless this says otherwise.
    void SetBigEndian(bool bigEndian) noexcept { FBigEndian = bigEndian; }

    /// Copies `count` bytes at `offset`; false when the file does not have them all.
    [[nodiscard]] bool Read(std::uint64_t offset, void* buffer, std::size_t count);
    /// A number of 1, 2, 4 or 8 bytes at `offset`; nothing past the end of the file.
    [[nodiscard]] std::optional<std::uint64_t> Number(std::uint64_t offset, unsigned size);
    /// As Number, and 0 past the end: for fields where 0 is as bad as none.
    [[nodiscard]] std::uint64_t NumberOrZero(std::uint64_t offset, unsigned size)
    {
        return Number(offset, size).value_or(0);
    }
    /// The zero-terminated text at `offset`; nothing when it is longer than any name of an export can be or runs out of
    /// the file.
    [[nodiscard]] std::optional<std::string> Text(std::uint64_t offset);

private:
    [[nodiscard]] const std::string& Page(std::uint64_t number);

    WideString FFileName;
    std::map<std::uint64_t, std::string> FPages;
    std::optional<std::uint64_t> FLastPage; // the page at which the file ends, once it was seen
    bool FBigEndian = false;
};

/// The exports found so far. Add refuses more text than `limit` bytes in all, so that a damaged file with a million
/// names that share one long text cannot fill the memory.
class TExportList
{
public:
    TExportList(std::vector<std::string>& exports, std::size_t limit) : FExports(exports), FRoom(limit) {}
    [[nodiscard]] bool Add(std::string name);

private:
    std::vector<std::string>& FExports;
    std::size_t FRoom;
};

inline constexpr std::size_t mostExportText = std::size_t{64} << 20;
inline constexpr std::uint64_t mostExports = 1'000'000;

/// Each returns false when the file is not of its format (the header does not fit); then info is unchanged.
[[nodiscard]] bool ReadPeModule(TModuleBytes& bytes, TKwModuleInfo& info);
[[nodiscard]] bool ReadElfModule(TModuleBytes& bytes, TKwModuleInfo& info);

} // namespace deftmapi::modules
