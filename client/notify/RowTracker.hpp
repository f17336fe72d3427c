// What the sink of a table knows of its rows, and the events that bring it up to date.
#pragma once

#include "client/notify/Batch.hpp"
#include "client/notify/LiveRows.hpp"

namespace deftmapi::client
{

/// What a table shows: its columns, which rows and in which order, and the width of text whose column was named without
/// a type.
struct ShownView
{
    std::vector<ULONG> columns;
    TableView rows;
    bool unicode = false;
};

/// With more row events than this at once a sink is told to reload the table instead.
inline constexpr std::size_t MaximumRowEvents = JournalBulk;

/// REQUIRES for all methods: the lock of the store is held, and one snapshot of it.
class RowTracker
{
public:
    virtual ~RowTracker() = default;
    /// Takes the rows as they are now for what the sink knows.
    virtual void Begin(const ShownView& view) = 0;
    /// Adds the events about the rows that were touched since; told one by one they make what the sink knows what the
    /// table shows now. @returns false when the sink must reload the table; Begin follows
    virtual bool Tell(const TouchedRows& touched, const ShownView& view, NotificationBatch& batch) = 0;
};

/// For rows that only come, go or change with an entry of the journal that names them. Keeps nothing, under a
/// restriction the keys of the rows that fit. @param source  must outlive it
[[nodiscard]] std::unique_ptr<RowTracker> TrackNamedRows(RowSource& source);
/// For rows that others take along: keeps the keys in their order. @param source  must outlive it
[[nodiscard]] std::unique_ptr<RowTracker> TrackAllRows(RowSource& source);

} // namespace deftmapi::client
