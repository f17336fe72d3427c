#include "client/table/MemorySource.hpp"

#include <algorithm>

namespace deftmapi::client
{

std::vector<ULONG> MemorySource::AllColumns()
{
    std::vector<ULONG> columns = FColumns;
    for (const Props& row : FRows) {
        for (const Prop& prop : row) {
            if (std::find(columns.begin(), columns.end(), prop.tag) == columns.end())
                columns.push_back(prop.tag);
        }
    }
    return columns;
}

void MemorySource::Scan(std::span<const ULONG> tags, const Visit& visit)
{
    Props values;
    for (std::size_t i = 0; i < FRows.size(); ++i) {
        const auto key = static_cast<RowKey>(i);
        Fetch(key, tags, values);
        visit(key, values);
    }
}

bool MemorySource::Fetch(RowKey key, std::span<const ULONG> tags, Props& values)
{
    values.clear();
    if (key < 0 || static_cast<std::size_t>(key) >= FRows.size())
        return false;
    const Props& row = FRows[static_cast<std::size_t>(key)];
    for (const ULONG tag : tags) {
        const auto it =
            std::find_if(row.begin(), row.end(), [tag](const Prop& prop) { return prop.Id() == tag >> 16; });
        values.push_back(it == row.end() ? ErrorProp(tag, mapi::MAPI_E_NOT_FOUND) : *it);
    }
    return true;
}

} // namespace deftmapi::client
