// Where a table gets its rows. A row has a key that stays the same while it lives; the order of Scan is the natural
// order.
#pragma once

#include "client/store/PropertyValues.hpp"

#include <functional>
#include <mutex>

namespace deftmapi::client
{

using RowKey = std::int64_t;

class RowSource
{
public:
    virtual ~RowSource() = default;
    /// Held by the table for the length of each call.
    [[nodiscard]] virtual std::recursive_mutex& Lock() = 0;
    /// A number that is another one after rows came or went, and, unless `membershipOnly`, after a row changed.
    [[nodiscard]] virtual std::int64_t Stamp(bool membershipOnly) = 0;
    /// The columns of a new table.
    [[nodiscard]] virtual std::vector<ULONG> DefaultColumns() = 0;
    /// Every column that some row may have (TBL_ALL_COLUMNS).
    [[nodiscard]] virtual std::vector<ULONG> AllColumns() { return DefaultColumns(); }

    /// Visits all rows. Values stand in the order of `tags`, in their stored type (text wide, large ones as blobs); an
    /// error property stands for what a row does not have.
    using Visit = std::function<void(RowKey key, const Props& values)>;
    virtual void Scan(std::span<const ULONG> tags, const Visit& visit) = 0;
    /// The values of one row. @returns false when the row is gone
    virtual bool Fetch(RowKey key, std::span<const ULONG> tags, Props& values) = 0;
    /// Runs the body so that all its fetches see one state of the data.
    virtual void Consistently(const std::function<void()>& body) { body(); }
};

} // namespace deftmapi::client
