// Internal: counts that belong to a thread but that any thread may lower. What is counted may end on another thread
// than the one it began on, and the count of its own thread must be right all the same.
#pragma once

#include "mapi/core/uKwMAPILib.hpp"

#include <map>
#include <mutex>

namespace deftmapi
{

/// Thread-safe; calls nothing while its lock is held.
class TKwThreadCounts
{
public:
    /// Counts one more on the calling thread. Returns the new count.
    std::int32_t Raise();
    /// Counts one less on that thread. Returns the new count, never below 0.
    std::int32_t Lower(TKwMAPIThread thread) noexcept;
    [[nodiscard]] std::int32_t Of(TKwMAPIThread thread) const noexcept;
    /// The count of that thread is 0.
    void Clear(TKwMAPIThread thread) noexcept;

private:
    mutable std::mutex FLock;
    std::map<TKwMAPIThread, std::int32_t> FCounts; // those above 0
};

} // namespace deftmapi
