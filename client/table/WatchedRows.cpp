#include "client/table/WatchedRows.hpp"

#include "client/entry/Guard.hpp"
#include "client/store/PropertyTags.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::client
{
namespace
{

Bytes Packed(const Props& row)
{
    Bytes packed;
    for (const Prop& prop : row)
        PackProp(prop, packed);
    return packed;
}

RowKey KeyOf(const Props& row)
{
    RowKey key = 0;
    for (const Prop& prop : row)
        if (const auto* bytes = std::get_if<Bytes>(&prop.data); bytes && prop.tag == tag::InstanceKey)
            std::memcpy(&key, bytes->data(), std::min(bytes->size(), sizeof key));
    return key;
}

} // namespace

/// Compares the rows with those that were told of last.
class WatchedRows::Feed final : public RowFeed
{
public:
    Feed(std::shared_ptr<const Origin> origin, ShownView view) : FRows(std::move(origin)), FTracker(TrackAllRows(FRows))
    {
        SetView(std::move(view), true);
    }

    void SetView(ShownView view, bool otherRows) override
    {
        const std::lock_guard lock(FLock);
        FView = std::move(view);
        if (otherRows)
            Begin();
    }
    void Done(ULONG event) override
    {
        const std::lock_guard lock(FLock);
        FDone.AddTableEvent(event);
    }
    NotificationBatch Collect() noexcept override
    {
        const std::lock_guard lock(FLock);
        NotificationBatch batch = std::exchange(FDone, {});
        LastError failure;
        const mapi::HRESULT hr = Guard(failure, [&] {
            NotificationBatch changes; // all of them or none
            CollectChanges(changes);
            FFailing = false;
            batch.Append(std::move(changes));
        });
        if (mapi::Failed(hr) && !std::exchange(FFailing, true)) // once, not at every look
            Guard(failure, [&] { batch.AddTableEvent(mapi::TABLE_ERROR, hr); });
        return batch;
    }

private:
    void Begin()
    {
        FKnown = false; // should the rest fail
        const std::lock_guard rows(FRows.Lock());
        static_cast<void>(FRows.Stamp());
        FTracker->Begin(FView);
        FKnown = true;
    }
    void CollectChanges(NotificationBatch& batch)
    {
        const std::lock_guard rows(FRows.Lock());
        if (FKnown && FRows.FStamp == FRows.FOrigin->stamp())
            return;
        const Rows before = FRows.FRows;
        static_cast<void>(FRows.Stamp());
        TouchedRows touched;
        for (const auto& [key, row] : before) {
            const Props* now = FRows.Find(key);
            touched.natural = touched.natural || !now;
            if (!now || Packed(*now) != Packed(row))
                touched.Add(key, true);
        }
        for (const auto& [key, row] : FRows.FRows) {
            const auto same = [key = key](const auto& other) { return other.first == key; };
            if (std::find_if(before.begin(), before.end(), same) != before.end())
                continue;
            touched.Add(key, false);
            touched.natural = true;
        }
        if (FKnown && touched.keys.empty())
            return;
        const bool told = std::exchange(FKnown, false) && FTracker->Tell(touched, FView, batch);
        FKnown = told;
        if (told)
            return;
        batch = {};
        batch.AddTableEvent(mapi::TABLE_RELOAD);
        Begin();
    }

    std::mutex FLock; // taken before that of the rows
    WatchedRows FRows;
    std::unique_ptr<RowTracker> FTracker;
    ShownView FView;
    NotificationBatch FDone;
    bool FKnown = false; // what the tracker knows is what was told
    bool FFailing = false;
};

WatchedRows::WatchedRows(std::shared_ptr<const Origin> origin) : FOrigin(std::move(origin))
{
    Read();
}

void WatchedRows::Read()
{
    const std::int64_t stamp = FOrigin->stamp(); // before: what changes meanwhile is seen the next time
    Rows rows;
    for (Props& row : FOrigin->read()) {
        const RowKey key = KeyOf(row);
        rows.emplace_back(key, std::move(row));
    }
    FRows = std::move(rows);
    FStamp = stamp;
}

std::int64_t WatchedRows::Stamp()
{
    if (FStamp != FOrigin->stamp())
        Read();
    return FStamp;
}

const Props* WatchedRows::Find(RowKey key) const
{
    const auto found = std::find_if(FRows.begin(), FRows.end(), [key](const auto& row) { return row.first == key; });
    return found == FRows.end() ? nullptr : &found->second;
}

void WatchedRows::Pick(const Props& row, std::span<const ULONG> tags, Props& values)
{
    values.clear();
    for (const ULONG tag : tags) {
        const auto it =
            std::find_if(row.begin(), row.end(), [tag](const Prop& prop) { return prop.Id() == tag >> 16; });
        values.push_back(it == row.end() ? ErrorProp(tag, mapi::MAPI_E_NOT_FOUND) : *it);
    }
}

void WatchedRows::Scan(std::span<const ULONG> tags, const Visit& visit)
{
    Props values;
    for (const auto& [key, row] : FRows) {
        Pick(row, tags, values);
        visit(key, values);
    }
}

bool WatchedRows::Fetch(RowKey key, std::span<const ULONG> tags, Props& values)
{
    const Props* row = Find(key);
    if (row)
        Pick(*row, tags, values);
    return row != nullptr;
}

std::shared_ptr<RowFeed> WatchedRows::NewFeed(ShownView view) const
{
    return std::make_shared<Feed>(FOrigin, std::move(view));
}

} // namespace deftmapi::client
