// What a row source offers besides when its table can be listened to: the same rows over another connection, and which
// rows an entry of the journal concerns.
#pragma once

#include "client/notify/Journal.hpp"
#include "client/store/StoreFile.hpp"
#include "client/table/RowSource.hpp"

#include <set>

namespace deftmapi::client
{

/// Rows that may have come, gone or changed.
struct TouchedRows
{
    std::set<RowKey> keys;
    bool natural = false; ///< rows besides them may have come or gone, or stand elsewhere in the natural order
};

class LiveRows
{
public:
    /// The store that the rows are read from.
    [[nodiscard]] virtual const StorePtr& LiveStore() const = 0;
    /// The same rows read through another connection to the same store.
    [[nodiscard]] virtual std::shared_ptr<RowSource> Over(StorePtr store) const = 0;
    virtual void Touched(const JournalEntry& entry, TouchedRows& rows) const = 0;
    /// True when the natural order is that of the keys, so that the place of a row can be found without reading all.
    [[nodiscard]] virtual bool IsOrderedByKey() const = 0;

protected:
    LiveRows() = default;
    LiveRows(const LiveRows&) = default;
    LiveRows& operator=(const LiveRows&) = default;
    ~LiveRows() = default;
};

} // namespace deftmapi::client
