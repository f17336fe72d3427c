#include "client/table/VectorOrder.hpp"

#include <algorithm>
#include <numeric>

namespace deftmapi::client
{
namespace
{

// Sorting all keys costs about as much as this many walks through them.
constexpr int SearchesWithoutIndex = 50;

} // namespace

void VectorOrder::Make()
{
    if (FGeneration != 0 && FWanted == FSourceStamp)
        return;
    const bool made = std::exchange(FGeneration, 0) != 0; // should this fail
    if (!made || !FInstances.empty() || !Update(FKeys)) {
        Rows rows = Build();
        FPrevious = {std::move(FKeys), std::move(FInstances)};
        FKeys = std::move(rows.keys);
        FInstances = std::move(rows.instances);
        if (KeepsSortKeys())
            FPrevious = {};
    }
    FByKey = {};
    FSearches = 0;
    FSourceStamp = FWanted;
    FGeneration = ++FGenerations;
}

std::int64_t VectorOrder::Count()
{
    if (FGeneration == 0 || FWanted != FSourceStamp) {
        if (const auto count = CountAlone())
            return *count;
    }
    Make();
    return static_cast<std::int64_t>(FKeys.size());
}

bool VectorOrder::Update(std::vector<RowKey>&)
{
    return false;
}

Mark VectorOrder::MarkAt(std::size_t index)
{
    if (index == FKeys.size())
        return index == 0 ? Mark() : MarkAfter(index - 1);
    Mark mark;
    mark.kind = Mark::Kind::Before;
    mark.key = FKeys[index];
    mark.instance = InstanceAt(index);
    mark.sortKeys = SortKeys(index);
    mark.index = index;
    mark.stamp = FGeneration;
    return mark;
}

Mark VectorOrder::MarkAfter(std::size_t index)
{
    Mark mark = MarkAt(index);
    mark.kind = Mark::Kind::After;
    mark.index = index + 1;
    return mark;
}

std::size_t VectorOrder::PlaceOf(const Mark& mark)
{
    if (KeepsSortKeys())
        return Behind(mark);
    if (mark.stamp == FGeneration - 1) {
        for (std::size_t before = std::min(mark.index, FPrevious.keys.size()); before > 0; --before) {
            const std::size_t at = Search(FPrevious.keys[before - 1], FPrevious.InstanceAt(before - 1));
            if (at < FKeys.size())
                return at + 1;
        }
        return 0;
    }
    return std::min(mark.index, FKeys.size());
}

std::size_t VectorOrder::Search(RowKey key, std::optional<std::uint32_t> instance)
{
    const auto fits = [&](std::size_t at) { return !instance || InstanceAt(at) == *instance; };
    if (FByKey.empty() && ++FSearches > SearchesWithoutIndex)
        IndexKeys();
    if (FByKey.empty()) {
        for (auto it = FKeys.begin(); (it = std::find(it, FKeys.end(), key)) != FKeys.end(); ++it) {
            const auto at = static_cast<std::size_t>(it - FKeys.begin());
            if (fits(at))
                return at;
        }
        return FKeys.size();
    }
    const auto before = [this](std::uint32_t at, RowKey wanted) { return FKeys[at] < wanted; };
    for (auto it = std::lower_bound(FByKey.begin(), FByKey.end(), key, before); it != FByKey.end() && FKeys[*it] == key;
         ++it)
    {
        if (fits(*it))
            return *it;
    }
    return FKeys.size();
}

void VectorOrder::IndexKeys()
{
    FByKey.resize(FKeys.size());
    std::iota(FByKey.begin(), FByKey.end(), 0u);
    std::sort(FByKey.begin(), FByKey.end(),
              [this](std::uint32_t a, std::uint32_t b) { return FKeys[a] != FKeys[b] ? FKeys[a] < FKeys[b] : a < b; });
}

bool VectorOrder::Settle(Mark& mark)
{
    if (mark.kind == Mark::Kind::Beginning || mark.kind == Mark::Kind::End)
        return !mark.gone;
    Make();
    if (mark.stamp == FGeneration)
        return !mark.gone;
    if (mark.kind == Mark::Kind::After) { // what came since in front of it was passed, the rest follows
        mark.index = PlaceOf(mark);
        mark.stamp = FGeneration;
        return true;
    }
    const bool stays =
        mark.index < FKeys.size() && FKeys[mark.index] == mark.key && InstanceAt(mark.index) == mark.instance;
    const std::size_t found = stays ? mark.index : Search(mark.key, mark.instance);
    if (found == FKeys.size()) {
        mark.index = PlaceOf(mark); // of the lost row it stays a mark: whoever asks again is told again
        mark.stamp = FGeneration;
        mark.gone = true;
        return false;
    }
    mark = MarkAt(found);
    return true;
}

std::size_t VectorOrder::IndexOf(Mark& mark)
{
    if (mark.kind == Mark::Kind::Beginning)
        return 0;
    Make();
    if (mark.kind == Mark::Kind::End)
        return FKeys.size();
    Settle(mark);
    return mark.index;
}

void VectorOrder::Anchor(Mark& mark)
{
    Make();
    const std::size_t index = IndexOf(mark);
    mark = MarkAt(index);
    if (index == FKeys.size())
        mark.kind = Mark::Kind::End;
}

std::int64_t VectorOrder::Move(Mark& mark, std::int64_t rows)
{
    Make();
    const auto from = static_cast<std::int64_t>(IndexOf(mark));
    const auto to = std::clamp<std::int64_t>(from + rows, 0, Count());
    mark = MarkAt(static_cast<std::size_t>(to));
    return to - from;
}

void VectorOrder::Read(Mark& mark, std::int64_t count, std::span<const ULONG> columns, RowSink& sink)
{
    Make();
    const auto from = static_cast<std::int64_t>(IndexOf(mark));
    const auto to = std::clamp<std::int64_t>(from + count, 0, Count());
    if (from == to)
        return;
    ReadRows(static_cast<std::size_t>(std::min(from, to)), static_cast<std::size_t>(std::max(from, to)), columns, sink);
    mark = from < to ? MarkAfter(static_cast<std::size_t>(to) - 1) : MarkAt(static_cast<std::size_t>(to));
}

bool VectorOrder::Find(Mark& mark, bool backward, const std::shared_ptr<const Restriction>& wanted)
{
    Make();
    const std::size_t found = FindFrom(IndexOf(mark), backward, wanted);
    if (found == FKeys.size())
        return false;
    mark = MarkAt(found);
    return true;
}

bool VectorOrder::Place(RowKey key, Mark& mark)
{
    Make();
    const std::size_t at = Search(key, std::nullopt);
    if (at == FKeys.size())
        return false;
    mark = MarkAt(at);
    return true;
}

} // namespace deftmapi::client
