// The columns that the rows of a table's events are read by.
#pragma once

#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPITypesH.hpp"
#include "mapi/table/uKwMAPIMemoryTable.hpp"
#include "mapi/table/uKwMAPITable.hpp"

#include <mutex>
#include <vector>

namespace deftmapi
{

struct TEventColumn
{
    const TKwMAPIPropInfo* Info; // owned by the registry
    mapi::ULONG Tag;
};

/// As last set on the MAPI table, in their order. Threads: any.
class TKwMAPITable::TEventColumns
{
public:
    void Set(std::vector<TEventColumn> columns)
    {
        const std::lock_guard lock(FLock);
        FColumns = std::move(columns);
    }
    /// A memory table of one row. It has no owner: it is made on the client's thread and belongs to whoever keeps it.
    [[nodiscard]] TKwRef<TKwMAPIMemoryTable> TableOf(const mapi::SRow& row) const;

private:
    [[nodiscard]] std::vector<TEventColumn> Get() const
    {
        const std::lock_guard lock(FLock);
        return FColumns;
    }

    mutable std::mutex FLock;
    std::vector<TEventColumn> FColumns;
};

} // namespace deftmapi
