// What one advise connection of a table has been told, and what it is to be told next. Changes come from the journal
// and are read through a connection of their own, so that an event is never about something uncommitted and never waits
// for a call that an application has in progress.
#pragma once

#include "client/notify/Dispatcher.hpp"
#include "client/notify/RowTracker.hpp"

namespace deftmapi::client
{

class TableFeed final : public Listener
{
public:
    /// @param rows  over a connection that no table uses
    /// @throws Failure  the rows could not be read
    TableFeed(std::shared_ptr<LiveRows> rows, ShownView view);

    /// The table has been given other columns, rows or order. Events that were not collected yet are told in the new
    /// columns; when rows or order are new, what happened before is part of the new state and not told.
    /// @throws Failure  the rows could not be read; the sink will be told to reload
    void SetView(ShownView view, bool otherRows);
    /// An asynchronous operation of the table has ended.
    void Done(ULONG event);
    NotificationBatch Collect() noexcept override;

private:
    static constexpr std::int64_t Unknown = -1; // FSeen of a feed that must begin anew

    void Synchronize();
    void CollectChanges(NotificationBatch& batch);

    std::mutex FLock; // taken before that of the connection
    std::shared_ptr<LiveRows> FRows;
    std::unique_ptr<RowTracker> FTracker;
    Database& FDatabase;
    ShownView FView;
    std::int64_t FSeen = Unknown;
    NotificationBatch FDone;
    bool FFailing = false;
};

} // namespace deftmapi::client
