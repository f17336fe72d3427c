// Reading of module files: real ones, crafted ones in every layout, and damaged ones.
#include "tests/support/ModuleImages.hpp"
#include "tests/support/TestPlatform.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

using namespace deftmapi;
using namespace deftmapi::test;
using Format = TKwModuleInfo::Format;

namespace
{

const std::vector<std::string> exports{"MAPIInitialize", "MAPILogonEx", "FreeProws@4", "x"};

TKwModuleInfo Read(const std::string& image)
{
    TTestPlatform platform;
    const TKwPlatformOverride override(platform);
    platform.SetFile(u"m", image);
    return KwReadModuleInfo(u"m");
}

std::vector<TElfOptions> ElfLayouts()
{
    std::vector<TElfOptions> result;
    for (const auto symbols : {TElfSymbols::Sections, TElfSymbols::Hash, TElfSymbols::GnuHash})
        for (const bool is64Bit : {false, true})
            for (const bool bigEndian : {false, true})
                result.push_back({is64Bit, bigEndian,
                                  bigEndian ? machineElfPpc64
                                  : is64Bit ? machineElfX64
                                            : machineElf386,
                                  symbols});
    return result;
}

std::vector<std::string> AllImages()
{
    std::vector<std::string> result{MakePeImage(false, exports), MakePeImage(true, exports)};
    for (const TElfOptions& layout : ElfLayouts())
        result.push_back(MakeElfImage(layout, exports));
    return result;
}

} // namespace

TEST(ModuleInfoTest, PeImages)
{
    for (const bool is64Bit : {false, true}) {
        const TKwModuleInfo info = Read(MakePeImage(is64Bit, exports));
        EXPECT_EQ(info.FileFormat, Format::PE);
        EXPECT_EQ(info.Is64Bit, is64Bit);
        EXPECT_EQ(info.Machine, is64Bit ? machineX64 : machineX86);
        EXPECT_THAT(info.Exports, testing::UnorderedElementsAreArray(exports));
        EXPECT_TRUE(info.HasExport("MAPILogonEx"));
        EXPECT_FALSE(info.HasExport("MAPILogon"));
        EXPECT_TRUE(Read(MakePeImage(is64Bit, {})).Exports.empty());
    }
}

TEST(ModuleInfoTest, ElfImagesInEveryLayout)
{
    for (const TElfOptions& layout : ElfLayouts()) {
        const TKwModuleInfo info = Read(MakeElfImage(layout, exports));
        EXPECT_EQ(info.FileFormat, Format::ELF);
        EXPECT_EQ(info.Is64Bit, layout.Is64Bit);
        EXPECT_EQ(info.Machine, layout.Machine);
        // Neither what it imports nor what it hides.
        EXPECT_THAT(info.Exports, testing::UnorderedElementsAreArray(exports));
        EXPECT_TRUE(Read(MakeElfImage(layout, {})).Exports.empty());
    }
}

TEST(ModuleInfoTest, RealModules)
{
    WideString reason;
    const TKwModuleInfo own =
        KwReadModuleInfo(KwPlatform().ModuleFileNameOf(reinterpret_cast<const void*>(&AllImages)));
    EXPECT_EQ(own.FileFormat, Format::ELF);
    EXPECT_EQ(own.Is64Bit, sizeof(void*) == 8);

    const TKwModuleInfo module = KwReadModuleInfo(KwFromUtf8(TEST_MODULE));
    EXPECT_TRUE(module.HasExport("DeftmapiTestAnswer"));
    EXPECT_FALSE(module.HasExport("DeftmapiTestHidden"));
    EXPECT_EQ(module.Machine, own.Machine);

    const WideString libc = KwPlatform().ModuleFileNameOf(reinterpret_cast<const void*>(&std::abort));
    const TKwModuleInfo info = KwReadModuleInfo(libc);
    EXPECT_TRUE(info.HasExport("abort")) << KwToUtf8(libc);
    EXPECT_TRUE(info.HasExport("malloc"));
    EXPECT_GT(info.Exports.size(), 1000u);
}

TEST(ModuleInfoTest, ForeignFiles)
{
    for (const std::string& content :
         {std::string(), std::string("MZ"),
          std::string("\x7F"
                      "ELF"),
          std::string("#!/bin/sh\n"), std::string(100000, '\0'), "MZ" + std::string(0x3A, '\0') + "\xFF\xFF\xFF\xFF"})
        EXPECT_EQ(Read(content).FileFormat, Format::None);
    TTestPlatform platform;
    const TKwPlatformOverride override(platform);
    EXPECT_EQ(KwReadModuleInfo(u"missing").FileFormat, Format::None);
}

TEST(ModuleInfoTest, TruncatedImagesAtEveryLength)
{
    for (const std::string& image : AllImages())
        for (std::size_t length = 0; length < image.size(); ++length) {
            const TKwModuleInfo info = Read(image.substr(0, length));
            ASSERT_LE(info.Exports.size(), exports.size());
        }
}

TEST(ModuleInfoTest, DamagedBytesNeverLeadOutOfTheFile)
{
    // A fixed seed: a failure can be repeated. What is checked is that reading ends, stays inside the file (the
    // sanitizer watches) and gives back no more than a small multiple of the file.
    std::mt19937 random(12345);
    for (const std::string& image : AllImages())
        for (std::size_t position = 0; position < image.size(); ++position) {
            std::string damaged = image;
            damaged[position] = static_cast<char>(random());
            if (position % 3 == 0)
                damaged[random() % damaged.size()] = static_cast<char>(0xFF);
            const TKwModuleInfo info = Read(damaged);
            std::size_t text = 0;
            for (const std::string& name : info.Exports)
                text += name.size();
            ASSERT_LE(text, damaged.size() * 4) << position;
        }
}

TEST(ModuleInfoTest, HugeCountsEndWithTheFile)
{
    std::string image = MakePeImage(true, exports);
    image.replace(0x400 + 24, 4, "\xFF\xFF\xFF\xFF"); // the number of names
    EXPECT_TRUE(Read(image).HasExport("MAPILogonEx"));

    // A hash table with 2^32 - 1 buckets and a symbol table of 2^32 - 1 entries.
    for (const auto symbols : {TElfSymbols::Hash, TElfSymbols::GnuHash}) {
        std::string elf = MakeElfImage({true, false, machineElfX64, symbols}, exports);
        const std::size_t symbolsEnd = 0x200 + (exports.size() + 3) * 24;
        const std::size_t hash = elf.find(std::string("\x01\0\0\0", 4), symbolsEnd);
        ASSERT_NE(hash, std::string::npos);
        elf.replace(hash, 8, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
        EXPECT_EQ(Read(elf).FileFormat, Format::ELF);
    }
}
