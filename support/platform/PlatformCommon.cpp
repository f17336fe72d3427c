// The platform in use, and the parts of it that need no operating system.
#include "support/platform/PlatformCommon.hpp"

#include <algorithm>
#include <atomic>

namespace deftmapi
{

namespace
{

std::atomic<IKwPlatform*> current{nullptr};

} // namespace

IKwPlatform& KwPlatform() noexcept
{
    IKwPlatform* platform = current.load(std::memory_order_acquire);
    return platform != nullptr ? *platform : KwSystemPlatform();
}

TKwPlatformOverride::TKwPlatformOverride(IKwPlatform& platform) noexcept : FPrevious(current.exchange(&platform)) {}

TKwPlatformOverride::~TKwPlatformOverride()
{
    current.store(FPrevious);
}

bool TKwModuleInfo::HasExport(std::string_view name) const noexcept
{
    return std::find(Exports.begin(), Exports.end(), name) != Exports.end();
}

WideString KwExpandPercentNames(IKwPlatform& platform, const WideString& text)
{
    WideString result;
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t begin = text.find(u'%', position);
        const std::size_t end = begin == WideString::npos ? begin : text.find(u'%', begin + 1);
        if (end == WideString::npos)
            break;
        result.append(text, position, begin - position);
        const auto value = platform.Environment(text.substr(begin + 1, end - begin - 1));
        if (value)
            result.append(*value);
        else
            result.append(text, begin, end - begin); // the second sign may open the next name
        position = value ? end + 1 : end;
    }
    return result.append(text, std::min(position, text.size()));
}

} // namespace deftmapi
