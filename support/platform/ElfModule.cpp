// ELF files (shared objects of POSIX systems): machine type and the symbols that a dynamic look-up finds. The dynamic
// symbol table is found through the section headers; a file without them is read the way the loader does, through its
// dynamic segment.
#include "support/platform/ModuleBytes.hpp"

#include <algorithm>

namespace deftmapi::modules
{

namespace
{

constexpr std::uint64_t elfSignature = 0x464C457F; // 0x7F "ELF", read as a little-endian number
constexpr std::uint64_t sectionDynSym = 11;
constexpr std::uint64_t segmentLoad = 1;
constexpr std::uint64_t segmentDynamic = 2;
constexpr std::uint64_t mostDynamicEntries = 4096;
constexpr std::uint64_t mostSymbols = 4'000'000;
constexpr std::uint64_t mostBuckets = 4'000'000;

constexpr std::uint64_t tagNull = 0;
constexpr std::uint64_t tagHash = 4;
constexpr std::uint64_t tagStrTab = 5;
constexpr std::uint64_t tagSymTab = 6;
constexpr std::uint64_t tagStrSize = 10;
constexpr std::uint64_t tagGnuHash = 0x6FFFFEF5;

/// A table of symbols and the table of their names, both as ranges of the file.
struct TSymbolTable
{
    std::uint64_t Offset = 0;
    std::uint64_t Count = 0;
    std::uint64_t NamesOffset = 0;
    std::uint64_t NamesSize = 0;
};

class TElfReader
{
public:
    TElfReader(TModuleBytes& bytes, bool is64Bit) : FBytes(bytes), F64(is64Bit) {}

    void ReadExports(std::vector<std::string>& names)
    {
        auto table = TableFromSections();
        if (!table)
            table = TableFromDynamicSegment();
        if (table)
            CollectNames(*table, names);
    }

private:
    // A field that is 4 bytes wide at one offset in 32-bit files and 8 bytes wide at another in 64-bit files.
    [[nodiscard]] std::uint64_t Word(std::uint64_t base, unsigned offset32, unsigned offset64)
    {
        return FBytes.NumberOrZero(base + (F64 ? offset64 : offset32), F64 ? 8 : 4);
    }
    // A field that is equally wide in both.
    [[nodiscard]] std::uint64_t Field(std::uint64_t base, unsigned offset32, unsigned offset64, unsigned size)
    {
        return FBytes.NumberOrZero(base + (F64 ? offset64 : offset32), size);
    }
    [[nodiscard]] std::uint64_t SymbolSize() const noexcept { return F64 ? 24 : 16; }

    std::optional<TSymbolTable> TableFromSections()
    {
        const std::uint64_t headers = Word(0, 32, 40);
        const std::uint64_t entrySize = Field(0, 46, 58, 2);
        std::uint64_t count = Field(0, 48, 60, 2);
        if (headers == 0 || entrySize < (F64 ? 64u : 40u))
            return std::nullopt;
        if (count == 0) // more sections than the field can say: the number is the size of section 0
            count = std::min<std::uint64_t>(Word(headers, 20, 32), 0xFFFFFF);
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t section = headers + i * entrySize;
            const auto type = FBytes.Number(section + 4, 4);
            if (!type)
                break;
            if (*type != sectionDynSym)
                continue;
            const std::uint64_t link = Field(section, 24, 40, 4);
            const std::uint64_t names = headers + link * entrySize;
            if (link == 0 || link >= count)
                return std::nullopt;
            return TSymbolTable{Word(section, 16, 24), Word(section, 20, 32) / SymbolSize(), Word(names, 16, 24),
                                Word(names, 20, 32)};
        }
        return std::nullopt;
    }

    std::optional<TSymbolTable> TableFromDynamicSegment()
    {
        const std::uint64_t dynamic = ReadSegments();
        if (dynamic == 0)
            return std::nullopt;
        std::uint64_t hash = 0;
        std::uint64_t gnuHash = 0;
        std::uint64_t symbols = 0;
        std::uint64_t names = 0;
        std::uint64_t namesSize = 0;
        const std::uint64_t entrySize = F64 ? 16 : 8;
        for (std::uint64_t i = 0; i < mostDynamicEntries; ++i) {
            const std::uint64_t entry = dynamic + i * entrySize;
            const std::uint64_t tag = Word(entry, 0, 0);
            const std::uint64_t value = Word(entry, 4, 8);
            if (tag == tagNull)
                break;
            if (tag == tagHash)
                hash = value;
            else if (tag == tagGnuHash)
                gnuHash = value;
            else if (tag == tagSymTab)
                symbols = value;
            else if (tag == tagStrTab)
                names = value;
            else if (tag == tagStrSize)
                namesSize = value;
        }
        const auto symbolsOffset = OffsetOf(symbols);
        const auto namesOffset = OffsetOf(names);
        if (!symbolsOffset || !namesOffset)
            return std::nullopt;
        const std::uint64_t count = hash != 0 ? CountFromHash(hash) : CountFromGnuHash(gnuHash);
        return TSymbolTable{*symbolsOffset, count, *namesOffset, namesSize};
    }

    /// Collects the loaded segments; returns the offset of the dynamic one, or 0.
    std::uint64_t ReadSegments()
    {
        const std::uint64_t headers = Word(0, 28, 32);
        const std::uint64_t entrySize = Field(0, 42, 54, 2);
        const std::uint64_t count = Field(0, 44, 56, 2);
        std::uint64_t dynamic = 0;
        if (headers == 0 || entrySize < (F64 ? 56u : 32u))
            return 0;
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint64_t segment = headers + i * entrySize;
            const auto type = FBytes.Number(segment, 4);
            if (!type)
                break;
            const std::uint64_t offset = Word(segment, 4, 8);
            if (*type == segmentLoad)
                FSegments.push_back({Word(segment, 8, 16), Word(segment, 16, 32), offset});
            else if (*type == segmentDynamic)
                dynamic = offset;
        }
        return dynamic;
    }

    [[nodiscard]] std::optional<std::uint64_t> OffsetOf(std::uint64_t address) const noexcept
    {
        for (const TSegment& segment : FSegments)
            if (address >= segment.Address && address - segment.Address < segment.Size)
                return segment.Offset + (address - segment.Address);
        return std::nullopt;
    }

    // The dynamic segment does not say how many symbols there are; the hash tables do.
    std::uint64_t CountFromHash(std::uint64_t address)
    {
        const auto offset = OffsetOf(address);
        return offset ? FBytes.NumberOrZero(*offset + 4, 4) : 0;
    }

    std::uint64_t CountFromGnuHash(std::uint64_t address)
    {
        const auto offset = address != 0 ? OffsetOf(address) : std::nullopt;
        if (!offset)
            return 0;
        const std::uint64_t buckets = FBytes.NumberOrZero(*offset, 4);
        const std::uint64_t firstHashed = FBytes.NumberOrZero(*offset + 4, 4);
        const std::uint64_t bucketTable = *offset + 16 + FBytes.NumberOrZero(*offset + 8, 4) * (F64 ? 8 : 4);
        std::uint64_t last = 0;
        for (std::uint64_t i = 0; i < std::min(buckets, mostBuckets); ++i) {
            const auto symbol = FBytes.Number(bucketTable + i * 4, 4);
            if (!symbol)
                return 0;
            last = std::max(last, *symbol);
        }
        if (last < firstHashed)
            return firstHashed;
        const std::uint64_t chains = bucketTable + buckets * 4;
        for (; last < mostSymbols; ++last) {
            const auto chain = FBytes.Number(chains + (last - firstHashed) * 4, 4);
            if (!chain)
                return 0;
            if ((*chain & 1) != 0)
                break;
        }
        return last + 1;
    }

    void CollectNames(const TSymbolTable& table, std::vector<std::string>& names)
    {
        TExportList exports(names, mostExportText);
        for (std::uint64_t i = 1; i < std::min(table.Count, mostSymbols) && names.size() < mostExports; ++i) {
            const std::uint64_t symbol = table.Offset + i * SymbolSize();
            const auto nameOffset = FBytes.Number(symbol, 4);
            if (!nameOffset)
                break;
            if (*nameOffset >= table.NamesSize || !IsExported(symbol))
                continue;
            auto name = FBytes.Text(table.NamesOffset + *nameOffset);
            if (name && !exports.Add(std::move(*name)))
                break;
        }
    }

    /// Defined, global (or weak or unique), visible, and a function or an object.
    bool IsExported(std::uint64_t symbol)
    {
        const std::uint64_t info = Field(symbol, 12, 4, 1);
        const std::uint64_t visibility = Field(symbol, 13, 5, 1) & 3;
        const std::uint64_t section = Field(symbol, 14, 6, 2);
        const std::uint64_t binding = info >> 4;
        const std::uint64_t type = info & 15;
        const bool global = binding == 1 || binding == 2 || binding == 10;
        const bool visible = visibility == 0 || visibility == 3;
        const bool named =
            type <= 2 || type == 6 || type == 10; // none, object, function, thread-local, indirect function
        return section != 0 && global && visible && named;
    }

    struct TSegment
    {
        std::uint64_t Address;
        std::uint64_t Size;
        std::uint64_t Offset;
    };

    TModuleBytes& FBytes;
    bool F64;
    std::vector<TSegment> FSegments;
};

} // namespace

bool ReadElfModule(TModuleBytes& bytes, TKwModuleInfo& info)
{
    bytes.SetBigEndian(false);
    if (bytes.NumberOrZero(0, 4) != elfSignature)
        return false;
    const std::uint64_t fileClass = bytes.NumberOrZero(4, 1);
    const std::uint64_t order = bytes.NumberOrZero(5, 1);
    if ((fileClass != 1 && fileClass != 2) || (order != 1 && order != 2))
        return false;
    bytes.SetBigEndian(order == 2);
    const auto machine = bytes.Number(18, 2);
    if (!machine)
        return false;
    info.FileFormat = TKwModuleInfo::Format::ELF;
    info.Is64Bit = fileClass == 2;
    info.Machine = static_cast<std::uint16_t>(*machine);
    TElfReader(bytes, info.Is64Bit).ReadExports(info.Exports);
    return true;
}

} // namespace deftmapi::modules
