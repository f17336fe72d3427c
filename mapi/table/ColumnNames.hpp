// The property names behind the named columns of a table. A table shows a named property under an identifier of its
// store; only the store knows the name.
#pragma once

#include "mapi/table/uKwMAPITable.hpp"

#include <span>
#include <vector>

namespace deftmapi
{

/// Names of columns, asked for in one call. REQUIRES: the table outlives it.
class TKwMAPIColumnNames
{
public:
    /// @param prop  an object of the store; null: no column has a name
    TKwMAPIColumnNames(TKwMAPITable& table, IKwMAPIProp* prop, std::span<const mapi::ULONG> columns);

    /// The name, or null when the store has none for the tag.
    [[nodiscard]] const mapi::MAPINAMEID* NameOf(mapi::ULONG tag) const noexcept;

    [[nodiscard]] static constexpr bool IsNamed(mapi::ULONG tag) noexcept { return tag >= 0x80000000; }

private:
    std::vector<mapi::ULONG> FTags;
    TKwMAPIBuffer<mapi::LPMAPINAMEID> FNames;
};

} // namespace deftmapi
