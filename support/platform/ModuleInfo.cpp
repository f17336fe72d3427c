// The byte reader under the module formats, and the choice between them.
#include "support/platform/ModuleBytes.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi
{

namespace modules
{

namespace
{

constexpr std::uint64_t pageSize = 64 * 1024;
constexpr std::size_t longestName = 4096;

} // namespace

const std::string& TModuleBytes::Page(std::uint64_t number)
{
    static const std::string none;
    if (FLastPage && number > *FLastPage)
        return none;
    const auto found = FPages.find(number);
    if (found != FPages.end())
        return found->second;
    std::string page = KwPlatform().ReadFile(FFileName, number * pageSize, pageSize).value_or(std::string());
    if (page.size() < pageSize && (!FLastPage || number < *FLastPage))
        FLastPage = number;
    if (page.empty())
        return none;
    return FPages.emplace(number, std::move(page)).first->second;
}

bool TModuleBytes::Read(std::uint64_t offset, void* buffer, std::size_t count)
{
    auto* out = static_cast<char*>(buffer);
    while (count > 0) {
        const std::string& page = Page(offset / pageSize);
        const auto within = static_cast<std::size_t>(offset % pageSize);
        if (within >= page.size())
            return false;
        const std::size_t part = std::min(count, page.size() - within);
        std::memcpy(out, page.data() + within, part);
        out += part;
        offset += part;
        count -= part;
    }
    return true;
}

std::optional<std::uint64_t> TModuleBytes::Number(std::uint64_t offset, unsigned size)
{
    unsigned char buffer[8] = {};
    if (size > sizeof buffer || !Read(offset, buffer, size))
        return std::nullopt;
    std::uint64_t value = 0;
    for (unsigned i = 0; i < size; ++i)
        value = (value << 8) | buffer[FBigEndian ? i : size - 1 - i];
    return value;
}

std::optional<std::string> TModuleBytes::Text(std::uint64_t offset)
{
    std::string result;
    for (;;) {
        const std::string& page = Page(offset / pageSize);
        const auto within = static_cast<std::size_t>(offset % pageSize);
        if (within >= page.size())
            return std::nullopt;
        const std::size_t end = page.find('\0', within);
        const std::size_t part = std::min(end, page.size()) - within;
        if (result.size() + part > longestName)
            return std::nullopt;
        result.append(page, within, part);
        if (end != std::string::npos)
            return result;
        offset += part;
    }
}

bool TExportList::Add(std::string name)
{
    if (name.empty())
        return true;
    if (name.size() > FRoom)
        return false;
    FRoom -= name.size();
    FExports.push_back(std::move(name));
    return true;
}

} // namespace modules

TKwModuleInfo KwReadModuleInfo(const WideString& fileName)
{
    TKwModuleInfo info;
    modules::TModuleBytes bytes(fileName);
    if (!modules::ReadPeModule(bytes, info))
        static_cast<void>(modules::ReadElfModule(bytes, info)); // neither: Format::None says so
    return info;
}

} // namespace deftmapi
