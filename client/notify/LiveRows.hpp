// What a row source offers besides when its table can be listened to: the same rows over another connection, and which
// rows an entry of the journal concerns.
#pragma once

#include "client/notify/Journal.hpp"
#include "client/store/StoreFile.hpp"
#include "client/table/RowSource.hpp"

#include <map>

namespace deftmapi::client
{

/// Rows that may have come, gone or changed.
struct TouchedRows
{
    std::map<RowKey, bool> keys; ///< and whether the row was there before the first entry about it
    bool natural = false;        ///< rows besides them may have come or gone, or stand elsewhere in the natural order

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
    /// True when the natural order is that of the keys, so that the place of a row can be found without reading all.
    [[nodiscard]] virtual bool IsOrderedByKey() const = 0;

    /// Visits all rows in their natural order, with the values of the properties asked for.
    virtual void Scan(std::span<const ULONG> tags,
                      const std::function<void(RowKey key, const Props& values)>& visit) = 0;
    /// The values of one row. @returns false when the row is gone
    virtual bool Fetch(RowKey key, std::span<const ULONG> tags, Props& values) = 0;

protected:
    LiveRows() = default;
    LiveRows(const LiveRows&) = default;
    LiveRows& operator=(const LiveRows&) = default;
};

} // namespace deftmapi::client
