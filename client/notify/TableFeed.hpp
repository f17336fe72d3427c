// What one advise connection of a table has been told, and what it is to be told next. Changes come from the journal
// and are read through a connection of their own, so that an event is never about something uncommitted and never waits
// for a call that an application has in progress.
#pragma once

#include "client/notify/RowFeed.hpp"

namespace deftmapi::client
{

class TableFeed final : public RowFeed
{
public:
    /// @param rows  over a connection that no table uses
    /// @throws Failure  the rows could not be read
    TableFeed(std::shared_ptr<LiveRows> rows, ShownView view);

    void SetView(ShownView view, bool otherRows) override;
    void Done(ULONG event) override;
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
