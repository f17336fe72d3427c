#include "client/notify/TableFeed.hpp"

#include "client/entry/Guard.hpp"

namespace deftmapi::client
{

TableFeed::TableFeed(std::shared_ptr<LiveRows> rows, ShownView view)
    : FRows(std::move(rows)), FTracker(FRows->Follow()), FDatabase(FRows->LiveStore()->Db())
{
    SetView(std::move(view), true);
}

void TableFeed::SetView(ShownView view, bool otherRows)
{
    const std::lock_guard lock(FLock);
    FView = std::move(view);
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
    FTracker->Begin(FView);
    FSeen = last;
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
    const auto tooMuch = [&touched] { return touched.all || touched.keys.size() > MaximumRowEvents; };
    // Numbers go back only when the file has been put in the place of a newer one.
    bool known = FSeen != Unknown && FSeen < last && ReadJournal(FDatabase, FSeen, [&](const JournalEntry& entry) {
                     FRows->Touched(entry, touched);
                     return !tooMuch();
                 });
    known = known && !tooMuch();
    if (known && (!touched.keys.empty() || touched.natural)) {
        const std::int64_t seen = std::exchange(FSeen, Unknown); // should this fail
        known = FTracker->Tell(touched, FView, batch);
        FSeen = seen;
    }
    if (!known) {
        batch = {};
        batch.AddTableEvent(mapi::TABLE_RELOAD);
        Synchronize();
    }
    FSeen = last;
}

} // namespace deftmapi::client
