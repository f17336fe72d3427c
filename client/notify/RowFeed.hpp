// What tells one advise connection of a table what becomes of the table's rows.
#pragma once

#include "client/notify/Dispatcher.hpp"
#include "client/notify/RowTracker.hpp"

namespace deftmapi::client
{

class RowFeed : public Listener
{
public:
    /// The table has been given other columns, rows or order. Events that were not collected yet are told in the new
    /// columns; when rows or order are new, what happened before is part of the new state and not told.
    /// @throws Failure  the rows could not be read; the sink will be told to reload
    virtual void SetView(ShownView view, bool otherRows) = 0;
    /// An asynchronous operation of the table has ended.
    virtual void Done(ULONG event) = 0;
};

/// A row source whose table can be listened to although it reads no store (those are LiveRows).
class FeedingRows
{
public:
    virtual ~FeedingRows() = default;
    /// @throws Failure  the rows could not be read
    [[nodiscard]] virtual std::shared_ptr<RowFeed> NewFeed(ShownView view) const = 0;
    /// What Dispatcher::RemoveAll knows the connections by.
    [[nodiscard]] virtual const void* FeedOwner() const = 0;

protected:
    FeedingRows() = default;
    FeedingRows(const FeedingRows&) = default;
    FeedingRows& operator=(const FeedingRows&) = default;
};

} // namespace deftmapi::client
