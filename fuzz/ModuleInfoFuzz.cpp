// Fuzzes the reading of module files: whatever the bytes are, reading ends, stays inside the file and takes a bounded
// amount of memory.
#include "tests/support/TestPlatform.hpp"

#include <cstdlib>

using namespace deftmapi;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t mostText = std::size_t{64} << 20;

    test::TTestPlatform platform;
    const TKwPlatformOverride override(platform);
    platform.SetFile(u"module", std::string(reinterpret_cast<const char*>(data), size));
    const TKwModuleInfo info = KwReadModuleInfo(u"module");

    std::size_t text = 0;
    for (const std::string& name : info.Exports) {
        if (name.empty() || !info.HasExport(info.Exports.front()))
            std::abort();
        text += name.size();
    }
    if (text > mostText || (info.FileFormat == TKwModuleInfo::Format::None && !info.Exports.empty()))
        std::abort();
    return 0;
}
