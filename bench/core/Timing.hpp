// Two ways of doing one thing, timed in turns in the same run: the ratio is worth more than either number. A program
// ends with Verdict(), which fails when a ratio or a time that was promised is not reached.
//
// The promises hold for an optimised build on a machine that does little else. In the short mode
// (DEFTMAPI_BENCH_SHORT), which runs beside other work, a quarter of the ratio and four times the time pass: it is
// there to see that nothing has become slower by an order of magnitude.
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <string>
#include <vector>

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

/// What a benchmark promises.
struct TPromise
{
    const char* Name;
    double TimesFaster = 0;                                       ///< at least
    double Nanoseconds = std::numeric_limits<double>::infinity(); ///< of ours, at most
};

/// A promise and the best of all turns; the framework calls a benchmark several times.
struct TOutcome
{
    TPromise Promise;
    double Ours = std::numeric_limits<double>::infinity();
    double Plain = std::numeric_limits<double>::infinity();
};

inline std::map<std::string, TOutcome>& Outcomes()
{
    static std::map<std::string, TOutcome> outcomes;
    return outcomes;
}

/// Benchmarks that could not be run, in words.
inline std::vector<std::string>& Failures()
{
    static std::vector<std::string> failures;
    return failures;
}

/// Says on standard error what was not kept. True when everything was.
inline bool Kept(const TOutcome& outcome)
{
    const double margin = std::getenv("DEFTMAPI_BENCH_SHORT") != nullptr ? 4 : 1;
    const double leastRatio = outcome.Promise.TimesFaster / margin;
    const double mostTime = outcome.Promise.Nanoseconds * margin;
    const double ratio = outcome.Plain / outcome.Ours;
    if (ratio < leastRatio)
        std::fprintf(stderr, "%s is %.1f times faster than the plain way; at least %.1f was promised\n",
                     outcome.Promise.Name, ratio, leastRatio);
    if (outcome.Ours > mostTime)
        std::fprintf(stderr, "%s takes %.0f ns; at most %.0f were promised\n", outcome.Promise.Name, outcome.Ours,
                     mostTime);
    return ratio >= leastRatio && outcome.Ours <= mostTime;
}

/// Runs the benchmarks that the command line selects. The exit status of the program: 1 when one failed or did not keep
/// its promise.
inline int Verdict(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    bool kept = true;
    for (const auto& [name, outcome] : Outcomes())
        kept = Kept(outcome) && kept;
    for (const std::string& failure : Failures())
        std::fprintf(stderr, "%s\n", failure.c_str());
    return kept && Failures().empty() ? 0 : 1;
}

/// Marks the benchmark as failed, for the program's exit status, too.
inline void Fail(benchmark::State& state, const char* why)
{
    Failures().emplace_back(why);
    state.SkipWithError(why);
}

/// Sets the counters "ours_ns", "plain_ns" and "times_faster", and notes whether they keep the promise. Both take
/// turns, and the best turn of each counts: the one that nothing else on the machine interrupted.
template <typename Ours, typename Plain>
void Compare(benchmark::State& state, const TPromise& promise, std::size_t oursCalls, Ours&& ours,
             std::size_t plainCalls, Plain&& plain)
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
    TOutcome& outcome = Outcomes()[promise.Name];
    outcome.Promise = promise;
    outcome.Ours = std::min(outcome.Ours, oursBest);
    outcome.Plain = std::min(outcome.Plain, plainBest);
}

} // namespace deftmapi::bench
