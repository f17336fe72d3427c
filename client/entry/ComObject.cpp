#include "client/entry/ComObject.hpp"

namespace deftmapi::client
{
namespace
{

std::atomic<std::size_t> GObjects{0};

} // namespace

std::size_t LiveObjects() noexcept
{
    return GObjects.load();
}

void CountObject(int change) noexcept
{
    GObjects += static_cast<std::size_t>(change);
}

} // namespace deftmapi::client
