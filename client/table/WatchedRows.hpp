// A few rows that are read again when they may have changed, and told of then: the stores and the resources of a
// profile.
#pragma once

#include "client/notify/RowFeed.hpp"
#include "client/table/VectorOrder.hpp"

namespace deftmapi::client
{

class WatchedRows final : public ScanSource, public FeedingRows
{
public:
    /// Where the rows come from. Used by the table and by its feeds, on any thread.
    struct Origin
    {
        std::vector<ULONG> columns;
        /// All rows; each has a PR_INSTANCE_KEY of 8 bytes, which is the row's key. Thread-safe.
        std::function<std::vector<Props>()> read;
        /// A number that is another one when the rows may have changed.
        std::int64_t (*stamp)() noexcept;
        const void* owner; ///< of the connections; see FeedingRows
    };
    /// @throws Failure  the rows could not be read
    explicit WatchedRows(std::shared_ptr<const Origin> origin);

    [[nodiscard]] std::recursive_mutex& Lock() override { return FLock; }
    /// Reads the rows again when they may have changed. @throws Failure  they could not be read
    [[nodiscard]] std::int64_t Stamp() override;
    [[nodiscard]] std::vector<ULONG> DefaultColumns() override { return FOrigin->columns; }
    void Scan(std::span<const ULONG> tags, const Visit& visit) override;
    bool Fetch(RowKey key, std::span<const ULONG> tags, Props& values) override;

    [[nodiscard]] std::shared_ptr<RowFeed> NewFeed(ShownView view) const override;
    [[nodiscard]] const void* FeedOwner() const override { return FOrigin->owner; }

private:
    class Feed;
    using Rows = std::vector<std::pair<RowKey, Props>>;
    void Read();
    [[nodiscard]] const Props* Find(RowKey key) const;
    static void Pick(const Props& row, std::span<const ULONG> tags, Props& values);

    std::recursive_mutex FLock;
    std::shared_ptr<const Origin> FOrigin;
    Rows FRows;
    std::int64_t FStamp = 0;
};

} // namespace deftmapi::client
