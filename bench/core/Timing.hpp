// Two ways of doing one thing, timed in turns in the same run: the ratio is worth more than either number.
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <limits>

namespace deftmapi::bench
{

/// Nanoseconds per call of `function` over `calls` calls.
template <typename Function>
double NanosecondsPerCall(std::size_t calls, Function&& function)
{
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < calls; ++i)
        function(i);
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count() / static_cast<double>(calls);
}

/// Sets the counters "ours_ns", "plain_ns" and "times_faster". Both take turns, and the best turn of each counts: the
/// one that nothing else on the machine interrupted.
template <typename Ours, typename Plain>
void Compare(benchmark::State& state, std::size_t oursCalls, Ours&& ours, std::size_t plainCalls, Plain&& plain)
{
    double oursBest = std::numeric_limits<double>::infinity();
    double plainBest = oursBest;
    for (int turn = 0; turn < 20; ++turn) {
        oursBest = std::min(oursBest, NanosecondsPerCall(oursCalls, ours));
        plainBest = std::min(plainBest, NanosecondsPerCall(plainCalls, plain));
    }
    state.counters["ours_ns"] = oursBest;
    state.counters["plain_ns"] = plainBest;
    state.counters["times_faster"] = plainBest / oursBest;
}

} // namespace deftmapi::bench
