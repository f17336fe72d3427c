#include "client/notify/TableFeed.hpp"

#include "client/entry/Guard.hpp"

#include <algorithm>
#include <unordered_set>

namespace deftmapi::client
{

TableFeed::TableFeed(std::shared_ptr<LiveRows> rows, ShownView view)
    : FRows(std::move(rows)), FDatabase(FRows->LiveStore()->Db())
{
    SetView(std::move(view), true);
}

void TableFeed::SetView(ShownView view, bool otherRows)
{
    const std::lock_guard lock(FLock);
    FView = std::move(view);
    FTags.clear();
    for (const auto& key : FView.sort)
        FTags.push_back(key.ulPropTag);
    if (FView.restriction) {
        std::set<ULONG> asked;
        FView.restriction->CollectTags(asked);
        FTags.insert(FTags.end(), asked.begin(), asked.end());
    }
    if (otherRows)
        Synchronize();
}

void TableFeed::Done(ULONG event)
{
    const std::lock_guard lock(FLock);
    FDone.AddTableEvent(event);
}

void TableFeed::Synchronize()
{
    FSeen = Unknown; // should the rest fail
    const std::lock_guard rows(FRows->LiveStore()->Lock());
    const Snapshot snapshot(FDatabase);
    const std::int64_t last = LastJournalNumber(FDatabase);
    FOrder = Scan();
    FSeen = last;
}

TableFeed::Keys TableFeed::Scan()
{
    Keys order;
    std::vector<std::pair<RowKey, Props>> keyed;
    const auto sortCount = static_cast<std::ptrdiff_t>(FView.sort.size());
    FRows->Scan(FTags, [&](RowKey key, const Props& values) {
        const auto lookup = [&](ULONG tag) -> const Prop& {
            const auto it = std::find(FTags.begin() + sortCount, FTags.end(), tag);
            return values[static_cast<std::size_t>(it - FTags.begin())];
        };
        if (FView.restriction && !FView.restriction->Matches(lookup))
            return;
        if (FView.sort.empty()) {
            order.push_back(key);
            return;
        }
        Props sortKeys(values.begin(), values.begin() + sortCount);
        std::for_each(sortKeys.begin(), sortKeys.end(), ShortenValue);
        keyed.emplace_back(key, std::move(sortKeys));
    });
    if (TiesDescend())
        std::reverse(keyed.begin(), keyed.end());
    std::stable_sort(keyed.begin(), keyed.end(),
                     [this](const auto& a, const auto& b) { return IsRowBefore(a.second, b.second, FView.sort); });
    for (const auto& [key, values] : keyed)
        order.push_back(key);
    return order;
}

bool TableFeed::TiesDescend() const
{
    return FRows->IsOrderedByKey() && !FView.sort.empty() && FView.sort.front().ulOrder == mapi::TABLE_SORT_DESCEND;
}

NotificationBatch TableFeed::Collect() noexcept
{
    const std::lock_guard lock(FLock);
    NotificationBatch batch = std::exchange(FDone, {});
    LastError failure;
    const mapi::HRESULT hr = Guard(failure, [&] {
        NotificationBatch changes; // all of them or none: a failure in the middle must not tell half
        CollectChanges(changes);
        FFailing = false;
        batch.Append(std::move(changes));
    });
    if (mapi::Failed(hr) && !std::exchange(FFailing, true)) // once, not four times a second
        Guard(failure, [&] { batch.AddTableEvent(mapi::TABLE_ERROR, hr); });
    return batch;
}

void TableFeed::CollectChanges(NotificationBatch& batch)
{
    const std::lock_guard rows(FRows->LiveStore()->Lock());
    const Snapshot snapshot(FDatabase);
    const std::int64_t last = LastJournalNumber(FDatabase);
    if (last == FSeen)
        return;
    TouchedRows touched;
    const bool known = FSeen != Unknown && ReadJournal(FDatabase, FSeen, [&](const JournalEntry& entry) {
                           FRows->Touched(entry, touched);
                           return touched.keys.size() <= MaximumRowEvents;
                       });
    if (!known || touched.keys.size() > MaximumRowEvents) {
        Reload(batch);
        return;
    }
    if (!touched.keys.empty() || touched.natural)
        CollectRows(touched, batch);
    FSeen = last;
}

void TableFeed::Reload(NotificationBatch& batch)
{
    batch.AddTableEvent(mapi::TABLE_RELOAD);
    Synchronize();
}

void TableFeed::CollectRows(const TouchedRows& touched, NotificationBatch& batch)
{
    std::set<RowKey> changed;
    for (const auto& [key, wasThere] : touched.keys)
        changed.insert(key);
    Keys order;
    if (FRows->IsOrderedByKey()) {
        order = OrderAfter(changed);
    } else if (!touched.natural && FView.sort.empty() && !FView.restriction) {
        order = FOrder;
    } else {
        order = Scan();
        const std::unordered_set<RowKey> before(FOrder.begin(), FOrder.end());
        const std::unordered_set<RowKey> now(order.begin(), order.end());
        for (const RowKey key : FOrder)
            if (!now.contains(key))
                changed.insert(key);
        for (const RowKey key : order)
            if (!before.contains(key))
                changed.insert(key);
        const auto others = [&changed](Keys keys) {
            std::erase_if(keys, [&changed](RowKey key) { return changed.contains(key); });
            return keys;
        };
        // A folder took its subfolders to another place: their rows have moved, but no entry names them.
        if (changed.size() > MaximumRowEvents || others(FOrder) != others(order)) {
            Reload(batch);
            return;
        }
    }
    std::set<RowKey> gone;
    for (const RowKey key : FOrder)
        if (changed.contains(key))
            gone.insert(key);
    const std::set<RowKey> had = gone;
    for (const RowKey key : order)
        gone.erase(key);
    for (const RowKey key : gone)
        AddRow(mapi::TABLE_ROW_DELETED, key, nullptr, batch);
    // From the top down, so that the row before is always in its place already when a row is told.
    for (std::size_t at = 0; at < order.size(); ++at) {
        if (changed.contains(order[at]))
            AddRow(had.contains(order[at]) ? mapi::TABLE_ROW_MODIFIED : mapi::TABLE_ROW_ADDED, order[at],
                   at == 0 ? nullptr : &order[at - 1], batch);
    }
    FOrder = std::move(order);
}

std::optional<Props> TableFeed::SortKeys(RowKey key)
{
    Props values;
    if (!FRows->Fetch(key, FTags, values))
        return std::nullopt;
    const auto sortCount = static_cast<std::ptrdiff_t>(FView.sort.size());
    const auto lookup = [&](ULONG tag) -> const Prop& {
        const auto it = std::find(FTags.begin() + sortCount, FTags.end(), tag);
        return values[static_cast<std::size_t>(it - FTags.begin())];
    };
    if (FView.restriction && !FView.restriction->Matches(lookup))
        return std::nullopt;
    values.resize(FView.sort.size());
    std::for_each(values.begin(), values.end(), ShortenValue);
    return values;
}

TableFeed::Keys TableFeed::OrderAfter(const std::set<RowKey>& changed)
{
    Keys order;
    order.reserve(FOrder.size() + changed.size());
    std::copy_if(FOrder.begin(), FOrder.end(), std::back_inserter(order),
                 [&changed](RowKey key) { return !changed.contains(key); });
    for (const RowKey key : changed) {
        const std::optional<Props> own = SortKeys(key);
        if (!own)
            continue;
        const auto stands = [&](RowKey other, RowKey row) {
            if (FView.sort.empty())
                return other < row;
            const Props theirs = SortKeys(other).value_or(Props(FView.sort.size()));
            if (IsRowBefore(theirs, *own, FView.sort))
                return true;
            return !IsRowBefore(*own, theirs, FView.sort) && (TiesDescend() ? row < other : other < row);
        };
        order.insert(std::lower_bound(order.begin(), order.end(), key, stands), key);
    }
    return order;
}

Bytes TableFeed::InstanceKey(RowKey key) const
{
    const auto* raw = reinterpret_cast<const std::uint8_t*>(&key);
    return Bytes(raw, raw + sizeof key);
}

void TableFeed::AddRow(ULONG event, RowKey key, const RowKey* prior, NotificationBatch& batch)
{
    Bytes before;
    if (prior)
        before = InstanceKey(*prior);
    if (event == mapi::TABLE_ROW_DELETED) {
        batch.AddRowEvent(event, InstanceKey(key), nullptr, nullptr);
        return;
    }
    Props values;
    if (!FRows->Fetch(key, FView.columns, values))
        return; // a hierarchy row whose folder went with the same change
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = ShownValue(FView.columns[i], values[i], FView.unicode);
    batch.AddRowEvent(event, InstanceKey(key), prior ? &before : nullptr, &values);
}

} // namespace deftmapi::client
