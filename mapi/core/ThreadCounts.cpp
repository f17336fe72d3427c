#include "mapi/core/ThreadCounts.hpp"

#include <atomic>

namespace deftmapi
{

namespace
{

constinit std::atomic<TKwMAPIThread> lastThread = 0;
// Trivially destructible: see TKwMAPIThreadState.
constinit thread_local TKwMAPIThread ownThread = 0;

} // namespace

TKwMAPIThread KwMAPIThread() noexcept
{
    if (ownThread == 0)
        ownThread = ++lastThread;
    return ownThread;
}

std::int32_t TKwThreadCounts::Raise()
{
    const std::lock_guard lock(FLock);
    return ++FCounts[KwMAPIThread()];
}

std::int32_t TKwThreadCounts::Lower(TKwMAPIThread thread) noexcept
{
    const std::lock_guard lock(FLock);
    const auto found = FCounts.find(thread);
    if (found == FCounts.end())
        return 0;
    const std::int32_t left = --found->second;
    if (left == 0)
        FCounts.erase(found);
    return left;
}

std::int32_t TKwThreadCounts::Of(TKwMAPIThread thread) const noexcept
{
    const std::lock_guard lock(FLock);
    const auto found = FCounts.find(thread);
    return found != FCounts.end() ? found->second : 0;
}

void TKwThreadCounts::Clear(TKwMAPIThread thread) noexcept
{
    const std::lock_guard lock(FLock);
    FCounts.erase(thread);
}

} // namespace deftmapi
