// What a row source offers besides when its table can be listened to: the same rows over another connection, and which
// rows an entry of the journal concerns.
#pragma once

#include "client/notify/Journal.hpp"
#include "client/store/StoreFile.hpp"
#include "client/table/RowSource.hpp"

#include <map>
#include <memory>

namespace deftmapi::client
{

class RowTracker;

/// Rows that may have come, gone or changed.
struct TouchedRows
{
    std::map<RowKey, bool> keys; ///< and whether the row was there before the first entry about it
    bool natural = false;        ///< rows besides them may have come or gone, or stand elsewhere in the natural order
    bool all = false;            ///< any row may have come, gone or changed

    /// Only the first entry about a row tells what was before.
    void Add(RowKey key, bool wasThere) { keys.emplace(key, wasThere); }
};

/// REQUIRES: the lock of the store is held.
class LiveRows
{
public:
    virtual ~LiveRows() = default;
    /// The store that the rows are read from.
    [[nodiscard]] virtual const StorePtr& LiveStore() const = 0;
    /// The same rows read through another connection to the same store.
    [[nodiscard]] virtual std::shared_ptr<LiveRows> Over(StorePtr store) const = 0;
    virtual void Touched(const JournalEntry& entry, TouchedRows& rows) const = 0;
    /// What follows the rows for a sink. REQUIRES: this outlives it
    [[nodiscard]] virtual std::unique_ptr<RowTracker> Follow() = 0;

protected:
    LiveRows() = default;
    LiveRows(const LiveRows&) = default;
    LiveRows& operator=(const LiveRows&) = default;
};

} // namespace deftmapi::client
