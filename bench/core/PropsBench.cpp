// Look-ups of property definitions against a plain search from the first definition on.
//
// The plain search runs over copies of the records with everything it compares in place, so that it does not pay for
// the packed form in which the library keeps them. Both sides ask in one shuffled order: the indexed look-up for every
// definition, the plain search for each sixteenth.
#include "bench/core/Timing.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"

#include <cstdio>
#include <random>
#include <vector>

namespace
{

using namespace deftmapi;
using deftmapi::bench::Compare;

constexpr double timesFaster = 50; // than the plain search, for each kind of look-up

struct TPlain
{
    WideView Name;
    WideView StringName;
    std::uint32_t Identifier;
    std::uint32_t Type;
    std::uint32_t Kind;
    bool Named;
    mapi::GUID Set;
    TKwMAPIPropDef Def;
};

/// All definitions, as the plain search reads them.
const std::vector<TPlain>& Plain()
{
    static const std::vector<TPlain> all = [] {
        std::vector<TPlain> result;
        for (TKwMAPIPropDef def = 1; def <= PredefinedPropCount; ++def) {
            const TKwMAPIPropInfo& info = GetPropInfo(def);
            result.push_back({info.PropName(), info.StringName(), info.Identifier(), info.PropType, info.PropKind,
                              info.Named, info.PropSet(), def});
        }
        return result;
    }();
    return all;
}

/// What is asked for: definitions that the predicate selects, shuffled.
template <typename Predicate>
std::vector<TPlain> Questions(Predicate selects)
{
    std::vector<TPlain> result;
    std::ranges::copy_if(Plain(), std::back_inserter(result), selects);
    std::ranges::shuffle(result, std::mt19937(4866)); // the same order in every run
    return result;
}

template <typename Predicate>
TKwMAPIPropDef Search(Predicate matches)
{
    const auto found = std::ranges::find_if(Plain(), matches);
    return found != Plain().end() ? found->Def : 0;
}

/// Times both and fails when they do not find the same.
template <typename Indexed, typename Linear>
void Run(benchmark::State& state, const char* name, const std::vector<TPlain>& questions, Indexed indexed,
         Linear linear)
{
    for (const TPlain& question : questions) {
        const TKwMAPIPropInfo* info = indexed(question);
        if (info == nullptr || info->Hash != linear(question))
            return deftmapi::bench::Fail(state, "the indexed look-up and the plain search differ");
    }
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(indexed(questions[next]));
        next = next + 1 < questions.size() ? next + 1 : 0;
    }
    // The plain search is asked every sixteenth question, so that its turns are as short as ours.
    Compare(
        state, {name, timesFaster}, questions.size(),
        [&](std::size_t i) { benchmark::DoNotOptimize(indexed(questions[i])); }, questions.size() / 16,
        [&](std::size_t i) { benchmark::DoNotOptimize(linear(questions[i * 16])); });
}

void FindByName(benchmark::State& state)
{
    Run(
        state, "FindByName", Questions([](const TPlain&) { return true; }),
        [](const TPlain& q) { return FindProp(q.Name); },
        [](const TPlain& q) { return Search([&](const TPlain& p) { return p.Name == q.Name; }); });
}
BENCHMARK(FindByName);

void FindByTag(benchmark::State& state)
{
    Run(
        state, "FindByTag", Questions([](const TPlain& p) { return !p.Named; }),
        [](const TPlain& q) { return FindProp(mapi::PROP_TAG(q.Type, q.Identifier), true); },
        [](const TPlain& q) {
            return Search(
                [&](const TPlain& p) { return p.Identifier == q.Identifier && p.Type == q.Type && !p.Named; });
        });
}
BENCHMARK(FindByTag);

void FindByNamedIdentifier(benchmark::State& state)
{
    Run(
        state, "FindByNamedIdentifier", Questions([](const TPlain& p) { return p.Named && p.Kind == mapi::MNID_ID; }),
        [](const TPlain& q) { return FindProp(q.Set, q.Identifier, q.Type, true); },
        [](const TPlain& q) {
            return Search([&](const TPlain& p) {
                return p.Identifier == q.Identifier && p.Type == q.Type && p.Named && p.Kind == mapi::MNID_ID &&
                       SameGuid(p.Set, q.Set);
            });
        });
}
BENCHMARK(FindByNamedIdentifier);

void FindByNamedText(benchmark::State& state)
{
    Run(
        state, "FindByNamedText", Questions([](const TPlain& p) { return p.Named && p.Kind == mapi::MNID_STRING; }),
        [](const TPlain& q) { return FindProp(q.Set, q.StringName, q.Type, true); },
        [](const TPlain& q) {
            return Search([&](const TPlain& p) {
                return p.Type == q.Type && p.Named && p.Kind == mapi::MNID_STRING && p.StringName == q.StringName &&
                       SameGuid(p.Set, q.Set);
            });
        });
}
BENCHMARK(FindByNamedText);

/// From handle to record: the look-up that every property access begins with.
void InfoOfHandle(benchmark::State& state)
{
    TKwMAPIPropDef def = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&GetPropInfo(def + 1));
        def = (def + 61) % PredefinedPropCount;
    }
}
BENCHMARK(InfoOfHandle);

} // namespace

int main(int argc, char** argv)
{
    // Before anything else has touched the definitions: page faults and the set-up of the registry are in this number.
    const TKwMAPIPropInfo* subject = nullptr;
    const double first =
        deftmapi::bench::NanosecondsPerCall(1, [&](std::size_t) { subject = FindProp(u"PR_SUBJECT"); });
    const double second = deftmapi::bench::NanosecondsPerCall(1, [&](std::size_t) { subject = FindProp(u"PR_BODY"); });
    std::printf("first look-up of the process: %.0f ns, second: %.0f ns (found: %s)\n", first, second,
                subject != nullptr ? "yes" : "no");

    return deftmapi::bench::Verdict(argc, argv);
}
