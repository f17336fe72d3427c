// PE files (DLLs of Windows): machine type and named exports. Addresses in the file are those of the loaded image; the
// section table tells where their bytes are in the file.
#include "support/platform/ModuleBytes.hpp"

namespace deftmapi::modules
{

namespace
{

constexpr std::uint64_t mzSignature = 0x5A4D;
constexpr std::uint64_t peSignature = 0x00004550;
constexpr std::uint64_t magic32 = 0x010B;
constexpr std::uint64_t magic64 = 0x020B;
constexpr std::uint64_t fileHeaderSize = 20;
constexpr std::uint64_t sectionSize = 40;
constexpr std::uint64_t mostSections = 256; // linkers make a few dozen; every name is looked up in all of them

// Offsets within the headers.
constexpr std::uint64_t newHeaderField = 0x3C;
constexpr std::uint64_t sectionCountField = 2;
constexpr std::uint64_t optionalSizeField = 16;

struct TSection
{
    std::uint64_t Address;
    std::uint64_t Size;
    std::uint64_t Offset;
};

/// Offset in the file of an image address, or nothing. What lies before the first section is mapped one to one.
std::optional<std::uint64_t> OffsetOf(const std::vector<TSection>& sections, std::uint64_t headerSize,
                                      std::uint64_t address)
{
    for (const TSection& section : sections)
        if (address >= section.Address && address - section.Address < section.Size)
            return section.Offset + (address - section.Address);
    return address < headerSize ? std::optional(address) : std::nullopt;
}

std::vector<TSection> ReadSections(TModuleBytes& bytes, std::uint64_t table, std::uint64_t count)
{
    std::vector<TSection> sections;
    for (std::uint64_t i = 0; i < count && i < mostSections; ++i) {
        const std::uint64_t header = table + i * sectionSize;
        const auto rawOffset = bytes.Number(header + 20, 4);
        if (!rawOffset)
            break;
        sections.push_back({bytes.NumberOrZero(header + 12, 4), bytes.NumberOrZero(header + 16, 4), *rawOffset});
    }
    return sections;
}

} // namespace

bool ReadPeModule(TModuleBytes& bytes, TKwModuleInfo& info)
{
    bytes.SetBigEndian(false);
    if (bytes.NumberOrZero(0, 2) != mzSignature)
        return false;
    const auto header = bytes.Number(newHeaderField, 4);
    if (!header || bytes.NumberOrZero(*header, 4) != peSignature)
        return false;
    const std::uint64_t fileHeader = *header + 4;
    const std::uint64_t optional = fileHeader + fileHeaderSize;
    const std::uint64_t magic = bytes.NumberOrZero(optional, 2);
    if (magic != magic32 && magic != magic64)
        return false;

    info.FileFormat = TKwModuleInfo::Format::PE;
    info.Is64Bit = magic == magic64;
    info.Machine = static_cast<std::uint16_t>(bytes.NumberOrZero(fileHeader, 2));

    const std::uint64_t optionalSize = bytes.NumberOrZero(fileHeader + optionalSizeField, 2);
    const std::uint64_t headerSize = bytes.NumberOrZero(optional + 60, 4);
    const std::uint64_t directoryCount = bytes.NumberOrZero(optional + (info.Is64Bit ? 108 : 92), 4);
    const std::uint64_t exportEntry = optional + (info.Is64Bit ? 112 : 96);
    if (directoryCount == 0 || exportEntry + 8 > optional + optionalSize)
        return true;

    const std::vector<TSection> sections =
        ReadSections(bytes, optional + optionalSize, bytes.NumberOrZero(fileHeader + sectionCountField, 2));
    const std::uint64_t exportAddress = bytes.NumberOrZero(exportEntry, 4);
    const auto directory = OffsetOf(sections, headerSize, exportAddress);
    if (exportAddress == 0 || !directory)
        return true;
    const std::uint64_t nameCount = bytes.NumberOrZero(*directory + 24, 4);
    const auto nameTable = OffsetOf(sections, headerSize, bytes.NumberOrZero(*directory + 32, 4));
    if (!nameTable)
        return true;

    TExportList exports(info.Exports, mostExportText);
    for (std::uint64_t i = 0; i < nameCount && i < mostExports; ++i) {
        const auto nameAddress = bytes.Number(*nameTable + i * 4, 4);
        if (!nameAddress)
            break;
        const auto nameOffset = OffsetOf(sections, headerSize, *nameAddress);
        auto name = nameOffset ? bytes.Text(*nameOffset) : std::nullopt;
        if (name && !exports.Add(std::move(*name)))
            break;
    }
    return true;
}

} // namespace deftmapi::modules
