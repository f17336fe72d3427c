// Builders of module files: the smallest PE and ELF images that carry a machine type and a list of exports. They are
// not meant to be loaded, only to be read.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

namespace deftmapi::test
{

inline constexpr std::uint16_t machineX86 = 0x014C;  // IMAGE_FILE_MACHINE_I386
inline constexpr std::uint16_t machineX64 = 0x8664;  // IMAGE_FILE_MACHINE_AMD64
inline constexpr std::uint16_t machineElf386 = 3;    // EM_386
inline constexpr std::uint16_t machineElfX64 = 62;   // EM_X86_64
inline constexpr std::uint16_t machineElfPpc64 = 21; // EM_PPC64, a big-endian one

/// Bytes that are written at places of one's choice, in either byte order.
class TImageWriter
{
public:
    explicit TImageWriter(bool bigEndian = false) : FBigEndian(bigEndian) {}

    void Put(std::size_t offset, std::uint64_t value, unsigned size)
    {
        Grow(offset + size);
        for (unsigned i = 0; i < size; ++i)
            FBytes[offset + (FBigEndian ? size - 1 - i : i)] = static_cast<char>(value >> (8 * i));
    }
    void PutText(std::size_t offset, const std::string& text)
    {
        Grow(offset + text.size() + 1);
        std::copy(text.begin(), text.end(), FBytes.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    void Grow(std::size_t size)
    {
        if (FBytes.size() < size)
            FBytes.resize(size);
    }
    [[nodiscard]] const std::string& Bytes() const noexcept { return FBytes; }

private:
    std::string FBytes;
    bool FBigEndian;
};

/// A DLL of Windows: one section with the export directory, mapped at another address than its place in the file.
inline std::string MakePeImage(bool is64Bit, const std::vector<std::string>& exports)
{
    constexpr std::size_t peHeader = 0x80;
    constexpr std::size_t optional = peHeader + 24;
    constexpr std::size_t fileOffset = 0x400;
    constexpr std::size_t address = 0x1000;
    const std::size_t optionalSize = is64Bit ? 0xF0 : 0xE0;
    const std::size_t count = exports.size();

    TImageWriter image;
    image.Put(0, 0x5A4D, 2);
    image.Put(0x3C, peHeader, 4);
    image.Put(peHeader, 0x4550, 4);
    image.Put(peHeader + 4, is64Bit ? machineX64 : machineX86, 2);
    image.Put(peHeader + 6, 1, 2); // sections
    image.Put(peHeader + 20, optionalSize, 2);
    image.Put(peHeader + 22, 0x2022, 2); // a DLL
    image.Put(optional, is64Bit ? 0x20B : 0x10B, 2);
    image.Put(optional + 60, fileOffset, 4);
    image.Put(optional + (is64Bit ? 108 : 92), 16, 4); // data directories

    // Export directory, then functions, names, ordinals, then the texts.
    constexpr std::size_t functions = 40;
    const std::size_t names = functions + 4 * count;
    const std::size_t ordinals = names + 4 * count;
    std::size_t text = ordinals + 2 * count;
    image.Put(fileOffset + 12, address + text, 4);
    image.PutText(fileOffset + text, "module.dll");
    text += sizeof "module.dll";
    image.Put(fileOffset + 16, 1, 4);
    image.Put(fileOffset + 20, count, 4);
    image.Put(fileOffset + 24, count, 4);
    image.Put(fileOffset + 28, address + functions, 4);
    image.Put(fileOffset + 32, address + names, 4);
    image.Put(fileOffset + 36, address + ordinals, 4);
    std::vector<std::string> sorted = exports;
    std::sort(sorted.begin(), sorted.end());
    for (std::size_t i = 0; i < count; ++i) {
        image.Put(fileOffset + functions + 4 * i, 0x10 + i, 4);
        image.Put(fileOffset + names + 4 * i, address + text, 4);
        image.Put(fileOffset + ordinals + 2 * i, i, 2);
        image.PutText(fileOffset + text, sorted[i]);
        text += sorted[i].size() + 1;
    }
    image.Grow((fileOffset + text + 0x1FF) / 0x200 * 0x200);
    const std::size_t sectionSize = image.Bytes().size() - fileOffset;

    image.Put(optional + (is64Bit ? 112 : 96), address, 4);
    image.Put(optional + (is64Bit ? 116 : 100), text, 4);
    const std::size_t section = optional + optionalSize;
    image.PutText(section, ".edata");
    image.Put(section + 8, text, 4);
    image.Put(section + 12, address, 4);
    image.Put(section + 16, sectionSize, 4);
    image.Put(section + 20, fileOffset, 4);
    return image.Bytes();
}

/// How an ELF image tells where its symbols are.
enum class TElfSymbols
{
    Sections, ///< section headers only
    Hash,     ///< a dynamic segment with a hash table
    GnuHash   ///< a dynamic segment with a GNU hash table
};

struct TElfOptions
{
    bool Is64Bit = true;
    bool BigEndian = false;
    std::uint16_t Machine = machineElfX64;
    TElfSymbols Symbols = TElfSymbols::Sections;
};

/// A shared object. Besides the exports its symbol table holds one imported and one hidden symbol, "imported" and
/// "hidden".
inline std::string MakeElfImage(const TElfOptions& options, const std::vector<std::string>& exports)
{
    const bool wide = options.Is64Bit;
    const unsigned word = wide ? 8 : 4;
    const std::size_t symbolSize = wide ? 24 : 16;
    constexpr std::size_t segmentAddress = 0x10000; // where offset 0 of the file is mapped
    TImageWriter image(options.BigEndian);
    image.PutText(0, "\x7F"
                     "ELF");
    image.Put(4, wide ? 2 : 1, 1);
    image.Put(5, options.BigEndian ? 2 : 1, 1);
    image.Put(6, 1, 1);
    image.Put(16, 3, 2); // a shared object
    image.Put(18, options.Machine, 2);
    image.Put(20, 1, 4);
    image.Put(wide ? 52 : 40, wide ? 64 : 52, 2);

    const auto putWord = [&](std::size_t offset, std::uint64_t value) { image.Put(offset, value, word); };
    struct TSymbol
    {
        std::string Name;
        std::uint64_t Info;
        std::uint64_t Visibility;
        std::uint64_t Section;
    };
    std::vector<TSymbol> symbols{{"", 0, 0, 0}, {"imported", 0x12, 0, 0}, {"hidden", 0x12, 2, 1}};
    for (const std::string& name : exports)
        symbols.push_back({name, 0x12, 0, 1}); // a global function of section 1

    const std::size_t symbolTable = 0x200;
    const std::size_t nameTable = symbolTable + symbols.size() * symbolSize;
    std::size_t nameSize = 1;
    for (std::size_t i = 0; i < symbols.size(); ++i) {
        const std::size_t symbol = symbolTable + i * symbolSize;
        image.Put(symbol, i == 0 ? 0 : nameSize, 4);
        image.Put(symbol + (wide ? 4 : 12), symbols[i].Info, 1);
        image.Put(symbol + (wide ? 5 : 13), symbols[i].Visibility, 1);
        image.Put(symbol + (wide ? 6 : 14), symbols[i].Section, 2);
        if (i == 0)
            continue;
        image.PutText(nameTable + nameSize, symbols[i].Name);
        nameSize += symbols[i].Name.size() + 1;
    }
    image.Grow((nameTable + nameSize + 16) / 16 * 16);
    const std::size_t after = image.Bytes().size();

    if (options.Symbols == TElfSymbols::Sections) {
        const std::size_t headerSize = wide ? 64 : 40;
        putWord(wide ? 40 : 32, after);
        image.Put(wide ? 58 : 46, headerSize, 2);
        image.Put(wide ? 60 : 48, 3, 2);
        image.Grow(after + 3 * headerSize);
        const auto putSection = [&](std::size_t index, std::uint64_t type, std::size_t offset, std::size_t size,
                                    std::uint64_t link) {
            const std::size_t header = after + index * headerSize;
            image.Put(header + 4, type, 4);
            putWord(header + (wide ? 24 : 16), offset);
            putWord(header + (wide ? 32 : 20), size);
            image.Put(header + (wide ? 40 : 24), link, 4);
        };
        putSection(1, 11, symbolTable, symbols.size() * symbolSize, 2);
        putSection(2, 3, nameTable, nameSize, 0);
        return image.Bytes();
    }

    const std::size_t programHeaders = wide ? 64 : 52;
    const std::size_t programHeaderSize = wide ? 56 : 32;
    putWord(wide ? 32 : 28, programHeaders);
    image.Put(wide ? 54 : 42, programHeaderSize, 2);
    image.Put(wide ? 56 : 44, 2, 2);

    const std::size_t hash = after;
    std::size_t dynamic = 0;
    if (options.Symbols == TElfSymbols::Hash) {
        image.Put(hash, 1, 4);
        image.Put(hash + 4, symbols.size(), 4);
        dynamic = hash + 16;
    } else {
        // One bucket; the first three symbols are not hashed; the chain's last entry has its lowest bit set.
        const std::size_t hashed = symbols.size() - 3;
        image.Put(hash, 1, 4);
        image.Put(hash + 4, 3, 4);
        image.Put(hash + 8, 1, 4);
        const std::size_t bucket = hash + 16 + word;
        image.Put(bucket, hashed == 0 ? 0 : 3, 4);
        for (std::size_t i = 0; i < hashed; ++i)
            image.Put(bucket + 4 + 4 * i, i + 1 == hashed ? 1 : 2, 4);
        dynamic = (bucket + 4 + 4 * hashed + 15) / 16 * 16;
    }
    const bool gnu = options.Symbols == TElfSymbols::GnuHash;
    const std::uint64_t entries[][2] = {{gnu ? 0x6FFFFEF5u : 4u, segmentAddress + hash},
                                        {5, segmentAddress + nameTable},
                                        {6, segmentAddress + symbolTable},
                                        {10, nameSize},
                                        {0, 0}};
    for (std::size_t i = 0; i < std::size(entries); ++i) {
        putWord(dynamic + i * 2 * word, entries[i][0]);
        putWord(dynamic + i * 2 * word + word, entries[i][1]);
    }
    const std::size_t end = image.Bytes().size();
    const auto putSegment = [&](std::size_t index, std::uint64_t type, std::size_t offset, std::size_t size) {
        const std::size_t header = programHeaders + index * programHeaderSize;
        image.Put(header, type, 4);
        putWord(header + (wide ? 8 : 4), offset);
        putWord(header + (wide ? 16 : 8), segmentAddress + offset);
        putWord(header + (wide ? 32 : 16), size);
    };
    putSegment(0, 1, 0, end);
    putSegment(1, 2, dynamic, std::size(entries) * 2 * word);
    return image.Bytes();
}

} // namespace deftmapi::test
