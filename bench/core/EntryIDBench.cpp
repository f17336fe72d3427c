// The text form of a 70-byte identifier (the usual length of a message's) against formatting and scanning byte by byte.
// Every way allocates its result, validates what it reads, and turns a variant into text or text into a variant.
#include "bench/core/Timing.hpp"
#include "mapi/core/uKwMAPIEntryID.hpp"

#include <cctype>
#include <cstdio>
#include <stdexcept>

namespace
{

using namespace deftmapi;
using deftmapi::bench::Compare;

TKwMAPIEntryID Sample()
{
    TKwBytes bytes(70);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 37 + 5);
    return bytes;
}

WideString PrintByteByByte(const TKwMAPIEntryID& entryID)
{
    const TKwBytes* bytes = entryID.TryGet<TKwBytes>();
    WideString text;
    text.reserve(bytes->size() * 2);
    for (const std::uint8_t byte : *bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", byte);
        text.push_back(static_cast<char16_t>(digits[0]));
        text.push_back(static_cast<char16_t>(digits[1]));
    }
    return text;
}

TKwMAPIEntryID ScanByteByByte(WideView text)
{
    TKwBytes bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        const char digits[] = {static_cast<char>(text[i]), static_cast<char>(text[i + 1]), '\0'};
        unsigned value = 0;
        if (text[i] > 0x7F || text[i + 1] > 0x7F || !std::isxdigit(digits[0]) || !std::isxdigit(digits[1]) ||
            std::sscanf(digits, "%2x", &value) != 1)
            throw std::runtime_error("no digit");
        bytes.push_back(static_cast<std::uint8_t>(value));
    }
    return bytes;
}

void ToText(benchmark::State& state)
{
    const TKwMAPIEntryID entryID = Sample();
    if (EntryIDToStrW(entryID) != PrintByteByByte(entryID))
        return state.SkipWithError("the texts differ");
    for (auto _ : state)
        benchmark::DoNotOptimize(EntryIDToStrW(entryID));
    Compare(
        state, 2000, [&](std::size_t) { benchmark::DoNotOptimize(EntryIDToStrW(entryID)); }, 100,
        [&](std::size_t) { benchmark::DoNotOptimize(PrintByteByByte(entryID)); });
}
BENCHMARK(ToText);

void FromText(benchmark::State& state)
{
    const WideString text = EntryIDToStrW(Sample());
    if (!(StrToEntryID(text) == ScanByteByByte(text)))
        return state.SkipWithError("the identifiers differ");
    for (auto _ : state)
        benchmark::DoNotOptimize(StrToEntryID(text));
    Compare(
        state, 2000, [&](std::size_t) { benchmark::DoNotOptimize(StrToEntryID(text)); }, 100,
        [&](std::size_t) { benchmark::DoNotOptimize(ScanByteByByte(text)); });
}
BENCHMARK(FromText);

} // namespace

BENCHMARK_MAIN();
