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

// For 70 bytes.
constexpr double timesFaster = 100; // than byte by byte
constexpr double printNanoseconds = 100;
constexpr double scanNanoseconds = 200;

TKwMAPIEntryID Sample()
{
    TKwBytes bytes(70);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 37 + 5);
    return bytes;
}

template <typename Text>
Text PrintByteByByte(const TKwMAPIEntryID& entryID)
{
    const TKwBytes* bytes = entryID.TryGet<TKwBytes>();
    Text text;
    text.reserve(bytes->size() * 2);
    for (const std::uint8_t byte : *bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", byte);
        text.push_back(static_cast<typename Text::value_type>(digits[0]));
        text.push_back(static_cast<typename Text::value_type>(digits[1]));
    }
    return text;
}

template <typename Text>
TKwMAPIEntryID ScanByteByByte(const Text& text)
{
    const auto isDigit = [](auto c) { return c > 0 && c <= 0x7F && std::isxdigit(static_cast<int>(c)) != 0; };
    TKwBytes bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        const char digits[] = {static_cast<char>(text[i]), static_cast<char>(text[i + 1]), '\0'};
        unsigned value = 0;
        if (!isDigit(text[i]) || !isDigit(text[i + 1]) || std::sscanf(digits, "%2x", &value) != 1)
            throw std::runtime_error("no digit");
        bytes.push_back(static_cast<std::uint8_t>(value));
    }
    return bytes;
}

template <typename Text>
void PrintedBy(benchmark::State& state, const char* name, Text (*print)(const TKwMAPIEntryID&))
{
    const TKwMAPIEntryID entryID = Sample();
    if (print(entryID) != PrintByteByByte<Text>(entryID))
        return deftmapi::bench::Fail(state, "the texts differ");
    for (auto _ : state)
        benchmark::DoNotOptimize(print(entryID));
    Compare(
        state, {name, timesFaster, printNanoseconds}, 2000,
        [&](std::size_t) { benchmark::DoNotOptimize(print(entryID)); }, 100,
        [&](std::size_t) { benchmark::DoNotOptimize(PrintByteByByte<Text>(entryID)); });
}

template <typename Text>
void Scanned(benchmark::State& state, const char* name, const Text& text)
{
    const std::basic_string_view<typename Text::value_type> view = text;
    if (!(StrToEntryID(view) == ScanByteByByte(text)))
        return deftmapi::bench::Fail(state, "the identifiers differ");
    for (auto _ : state)
        benchmark::DoNotOptimize(StrToEntryID(view));
    Compare(
        state, {name, timesFaster, scanNanoseconds}, 2000,
        [&](std::size_t) { benchmark::DoNotOptimize(StrToEntryID(view)); }, 100,
        [&](std::size_t) { benchmark::DoNotOptimize(ScanByteByByte(text)); });
}

void ToText(benchmark::State& state)
{
    PrintedBy(state, "ToText", &EntryIDToStrW);
}
BENCHMARK(ToText);

void ToEightBitText(benchmark::State& state)
{
    PrintedBy(state, "ToEightBitText", &EntryIDToStrA);
}
BENCHMARK(ToEightBitText);

void FromText(benchmark::State& state)
{
    Scanned(state, "FromText", EntryIDToStrW(Sample()));
}
BENCHMARK(FromText);

void FromEightBitText(benchmark::State& state)
{
    Scanned(state, "FromEightBitText", EntryIDToStrA(Sample()));
}
BENCHMARK(FromEightBitText);

} // namespace

int main(int argc, char** argv)
{
    return deftmapi::bench::Verdict(argc, argv);
}
