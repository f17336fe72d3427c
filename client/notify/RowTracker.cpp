#include "client/notify/RowTracker.hpp"

#include "client/table/RowValues.hpp"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <set>
#include <unordered_set>

namespace deftmapi::client
{
namespace
{

using Keys = std::vector<RowKey>;

Bytes InstanceKey(RowKey key)
{
    const auto* raw = reinterpret_cast<const std::uint8_t*>(&key);
    return Bytes(raw, raw + sizeof key);
}

/// The key of a row that was read with its instance key as the first column.
RowKey KeyOf(const Props& values)
{
    RowKey key = 0;
    if (const auto* bytes = std::get_if<Bytes>(&values.at(0).data); bytes && bytes->size() == sizeof key)
        std::memcpy(&key, bytes->data(), sizeof key);
    return key;
}

Keys KeysOf(RowOrder& order)
{
    constexpr ULONG Column[] = {tag::InstanceKey};
    Keys keys;
    Mark mark;
    order.Read(mark, order.Count(), Column, [&keys](const Props& values) { keys.push_back(KeyOf(values)); });
    return keys;
}

/// The state of one touched row.
struct RowNow
{
    RowKey prior = 0;
    bool hasPrior = false;
    bool wasThere = false;
    Props values; // as the table shows them
};

class Tracker : public RowTracker
{
public:
    explicit Tracker(RowSource& source) : FSource(source) {}

protected:
    void MakeOrder(const TableView& view)
    {
        FOrder = FSource.Order(view);
        FOrder->Refresh();
    }

    /// Nothing when the table does not show the row.
    [[nodiscard]] std::optional<RowNow> Look(RowKey key, const ShownView& view)
    {
        constexpr ULONG Column[] = {tag::InstanceKey};
        Mark mark;
        if (!FOrder->Place(key, mark))
            return std::nullopt;
        RowNow now;
        Mark before = mark;
        FOrder->Read(before, -1, Column, [&now](const Props& values) {
            now.prior = KeyOf(values);
            now.hasPrior = true;
        });
        FOrder->Read(mark, 1, view.columns, [&](const Props& values) {
            for (std::size_t i = 0; i < values.size(); ++i)
                now.values.push_back(ShownValue(view.columns[i], values[i], view.unicode));
        });
        return now;
    }

    /// Tells of the rows so that the row before each is in its place already: one that follows another one here comes
    /// after it.
    static void AddEvents(const std::map<RowKey, RowNow>& rows, const Keys& gone, NotificationBatch& batch)
    {
        for (const RowKey key : gone)
            batch.AddRowEvent(mapi::TABLE_ROW_DELETED, InstanceKey(key), nullptr, nullptr);
        std::map<RowKey, RowKey> followers;
        Keys heads;
        for (const auto& [key, row] : rows) {
            if (row.hasPrior && rows.contains(row.prior))
                followers.emplace(row.prior, key);
            else
                heads.push_back(key);
        }
        for (RowKey key : heads) {
            for (;;) {
                const RowNow& row = rows.at(key);
                const Bytes prior = InstanceKey(row.prior);
                batch.AddRowEvent(row.wasThere ? mapi::TABLE_ROW_MODIFIED : mapi::TABLE_ROW_ADDED, InstanceKey(key),
                                  row.hasPrior ? &prior : nullptr, &row.values);
                const auto next = followers.find(key);
                if (next == followers.end())
                    break;
                key = next->second;
            }
        }
    }

    std::unique_ptr<RowOrder> FOrder;

private:
    RowSource& FSource;
};

class NamedRows final : public Tracker
{
public:
    using Tracker::Tracker;

    void Begin(const ShownView& view) override
    {
        MakeOrder(view.rows);
        FMembers.reset();
        if (view.rows.restriction && !view.rows.instances) {
            FMembers = KeysOf(*FOrder);
            std::sort(FMembers->begin(), FMembers->end());
        }
    }

    bool Tell(const TouchedRows& touched, const ShownView& view, NotificationBatch& batch) override
    {
        if (view.rows.instances)
            return touched.keys.empty(); // one message is several rows: not worth telling them apart
        FOrder->Refresh();
        std::map<RowKey, RowNow> rows;
        Keys gone;
        for (const auto& [key, wasInFolder] : touched.keys) {
            const bool had = FMembers ? std::binary_search(FMembers->begin(), FMembers->end(), key) : wasInFolder;
            if (auto now = Look(key, view)) {
                now->wasThere = had;
                rows.emplace(key, std::move(*now));
            } else if (had) {
                gone.push_back(key);
            }
        }
        if (FMembers)
            Update(gone, rows);
        AddEvents(rows, gone, batch);
        return true;
    }

private:
    void Update(const Keys& gone, const std::map<RowKey, RowNow>& rows)
    {
        for (const RowKey key : gone)
            FMembers->erase(std::lower_bound(FMembers->begin(), FMembers->end(), key));
        for (const auto& [key, row] : rows) {
            if (!row.wasThere)
                FMembers->insert(std::lower_bound(FMembers->begin(), FMembers->end(), key), key);
        }
    }

    std::optional<Keys> FMembers; // sorted
};

class AllRows final : public Tracker
{
public:
    using Tracker::Tracker;

    void Begin(const ShownView& view) override
    {
        MakeOrder(view.rows);
        FKeys = KeysOf(*FOrder);
    }

    bool Tell(const TouchedRows& touched, const ShownView& view, NotificationBatch& batch) override
    {
        FOrder->Refresh();
        const bool same = !touched.natural && view.rows.sort.empty() && !view.rows.restriction;
        Keys keys = same ? FKeys : KeysOf(*FOrder);
        const std::unordered_set<RowKey> before(FKeys.begin(), FKeys.end());
        const std::unordered_set<RowKey> after(keys.begin(), keys.end());
        std::set<RowKey> changed;
        for (const auto& [key, wasThere] : touched.keys)
            changed.insert(key);
        std::copy_if(FKeys.begin(), FKeys.end(), std::inserter(changed, changed.end()),
                     [&after](RowKey key) { return !after.contains(key); });
        std::copy_if(keys.begin(), keys.end(), std::inserter(changed, changed.end()),
                     [&before](RowKey key) { return !before.contains(key); });
        const auto others = [&changed](Keys all) {
            std::erase_if(all, [&changed](RowKey key) { return changed.contains(key); });
            return all;
        };
        // A folder took its subfolders to another place: their rows have moved, but no entry names them.
        if (changed.size() > MaximumRowEvents || (!same && others(FKeys) != others(keys)))
            return false;
        std::map<RowKey, RowNow> rows;
        Keys gone;
        for (const RowKey key : changed) {
            if (auto now = Look(key, view)) {
                now->wasThere = before.contains(key);
                rows.emplace(key, std::move(*now));
            } else if (before.contains(key)) {
                gone.push_back(key);
            }
        }
        AddEvents(rows, gone, batch);
        FKeys = std::move(keys);
        return true;
    }

private:
    Keys FKeys; // in the order of the table
};

} // namespace

std::unique_ptr<RowTracker> TrackNamedRows(RowSource& source)
{
    return std::make_unique<NamedRows>(source);
}

std::unique_ptr<RowTracker> TrackAllRows(RowSource& source)
{
    return std::make_unique<AllRows>(source);
}

} // namespace deftmapi::client
