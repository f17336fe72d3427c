// Rows held in memory: profiles, services, recipients, attachments. The rows are a snapshot of when the table
// was made.
#pragma once

#include "client/table/VectorOrder.hpp"

namespace deftmapi::client
{

class MemorySource final : public ScanSource
{
public:
    MemorySource(std::vector<ULONG> columns, std::vector<Props> rows)
        : FColumns(std::move(columns)), FRows(std::move(rows))
    {}

    [[nodiscard]] std::recursive_mutex& Lock() override { return FLock; }
    [[nodiscard]] std::int64_t Stamp() override { return 0; }
    [[nodiscard]] std::vector<ULONG> DefaultColumns() override { return FColumns; }
    [[nodiscard]] std::vector<ULONG> AllColumns() override;
    void Scan(std::span<const ULONG> tags, const Visit& visit) override;
    bool Fetch(RowKey key, std::span<const ULONG> tags, Props& values) override;

private:
    std::recursive_mutex FLock;
    std::vector<ULONG> FColumns;
    std::vector<Props> FRows;
};

} // namespace deftmapi::client
