// What one advise connection of a table knows of it: the order of the rows as its sink was last told, 8 bytes a row.
// Changes come from the journal and are read through a connection of their own, so that an event is never about
// something uncommitted and never waits for a call that an application has in progress.
#pragma once

#include "client/notify/Dispatcher.hpp"
#include "client/notify/LiveRows.hpp"
#include "client/table/RowValues.hpp"

namespace deftmapi::client
{

class TableFeed final : public Listener
{
public:
    /// With more row events than this at once the sink is told to reload the table instead.
    static constexpr std::size_t MaximumRowEvents = 512;

    /// @param rows  over a connection that no table uses
    TableFeed(std::shared_ptr<LiveRows> rows, ShownView view);

    /// The table has been given other columns, rows or order. Events that were not collected yet are told in the new
    /// columns; when rows or order are new, what happened before is part of the new state and not told.
    /// @throws Failure  the rows could not be read; the sink will be told to reload
    void SetView(ShownView view, bool otherRows);
    /// An asynchronous operation of the table has ended.
    void Done(ULONG event);
    NotificationBatch Collect() noexcept override;

private:
    using Keys = std::vector<RowKey>;
    static constexpr std::int64_t Unknown = -1; // FSeen of a feed that must begin anew

    void Synchronize();
    [[nodiscard]] Keys Scan();
    /// Rows that are equal in a descending order stand in it from the newest to the oldest.
    [[nodiscard]] bool TiesDescend() const;
    void CollectChanges(NotificationBatch& batch);
    void CollectRows(const TouchedRows& touched, NotificationBatch& batch);
    /// The order after the change of some rows, by looking at these and at the rows that decide their places.
    [[nodiscard]] Keys OrderAfter(const std::set<RowKey>& changed);
    /// The sort keys of a row; nothing when it is gone or does not fit the restriction.
    [[nodiscard]] std::optional<Props> SortKeys(RowKey key);
    void Reload(NotificationBatch& batch);
    [[nodiscard]] Bytes InstanceKey(RowKey key) const;
    void AddRow(ULONG event, RowKey key, const RowKey* prior, NotificationBatch& batch);

    std::mutex FLock; // taken before that of the connection
    std::shared_ptr<LiveRows> FRows;
    Database& FDatabase;
    ShownView FView;
    std::vector<ULONG> FTags; // of the sort keys, then what the restriction asks for
    Keys FOrder;
    std::int64_t FSeen = 0;
    NotificationBatch FDone;
    bool FFailing = false;
};

} // namespace deftmapi::client
