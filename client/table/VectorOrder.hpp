// Orders that keep the keys of all their rows in a vector, 8 bytes a row (12 when a multiple property makes the rows),
// and make it again when the source says that it has changed.
#pragma once

#include "client/table/RowSource.hpp"

namespace deftmapi::client
{

class VectorOrder : public RowOrder
{
public:
    /// The vector is made when something asks for rows or places.
    void Refresh() override { FWanted = Stamp(); }
    std::int64_t Count() override;
    bool Settle(Mark& mark) override;
    void Anchor(Mark& mark) override;
    std::int64_t Rank(Mark& mark) override { return static_cast<std::int64_t>(IndexOf(mark)); }
    std::int64_t Move(Mark& mark, std::int64_t rows) override;
    using RowOrder::Read;
    void Read(Mark& mark, std::int64_t count, std::span<const ULONG> columns, RowSink& sink) override;
    bool Find(Mark& mark, bool backward, const std::shared_ptr<const Restriction>& wanted) override;
    bool Place(RowKey key, Mark& mark) override;

protected:
    /// The keys of the rows; `instances` stays empty unless a multiple property makes the rows.
    struct Rows
    {
        std::vector<RowKey> keys;
        std::vector<std::uint32_t> instances;
        [[nodiscard]] std::uint32_t InstanceAt(std::size_t index) const
        {
            return instances.empty() ? 0 : instances[index];
        }
    };
    /// A number that is another one when the vector has to be made again.
    [[nodiscard]] virtual std::int64_t Stamp() = 0;
    [[nodiscard]] virtual Rows Build() = 0;
    /// The number of rows, if it costs less than the rows.
    [[nodiscard]] virtual std::optional<std::int64_t> CountAlone() { return std::nullopt; }
    /// Whether marks keep what their rows sort by, so that a place is found again whatever becomes of the row. Else the
    /// rows that stood before it tell.
    [[nodiscard]] virtual bool KeepsSortKeys() const { return false; }
    /// What the row at a place sorts by.
    [[nodiscard]] virtual std::vector<SqlValue> SortKeys(std::size_t) { return {}; }
    /// The number of rows that stand before the row of the mark, or are it, by what it sorted by when the mark was
    /// made.
    [[nodiscard]] virtual std::size_t Behind(const Mark&) { return 0; }
    /// Brings the keys that Build gave to what it would give now, when that costs less.
    /// @returns false: it does not, or cannot be told; the keys are made again whatever was done to them
    [[nodiscard]] virtual bool Update(std::vector<RowKey>& keys);
    /// Hands out the rows from `first` to before `last`. Rows deleted meanwhile are left out.
    virtual void ReadRows(std::size_t first, std::size_t last, std::span<const ULONG> columns, RowSink& sink) = 0;
    /// The first index from `first` on (backward: the last one before it) whose row fits, or Count().
    [[nodiscard]] virtual std::size_t FindFrom(std::size_t first, bool backward,
                                               const std::shared_ptr<const Restriction>& wanted) = 0;

    [[nodiscard]] RowKey KeyAt(std::size_t index) const { return FKeys[index]; }
    [[nodiscard]] std::uint32_t InstanceAt(std::size_t index) const
    {
        return FInstances.empty() ? 0 : FInstances[index];
    }
    [[nodiscard]] std::span<const RowKey> Keys() const { return FKeys; }

private:
    void Make();
    [[nodiscard]] Mark MarkAt(std::size_t index);
    [[nodiscard]] Mark MarkAfter(std::size_t index);
    /// Where the row of a mark was, or the place behind it if it is there.
    [[nodiscard]] std::size_t PlaceOf(const Mark& mark);
    [[nodiscard]] std::size_t IndexOf(Mark& mark);
    /// The first row of a key, or the one that shows this value; Count() when there is none.
    [[nodiscard]] std::size_t Search(RowKey key, std::optional<std::uint32_t> instance);
    void IndexKeys();

    std::vector<RowKey> FKeys;
    Rows FPrevious; // of the generation before, for an order that does not tell Behind
    std::vector<std::uint32_t> FInstances;
    std::vector<std::uint32_t> FByKey; // places sorted by key, empty until many have been searched
    int FSearches = 0;                 // since the vector was made
    std::int64_t FWanted = 0;          // the stamp of the source when it was asked last
    std::int64_t FSourceStamp = 0;     // the same for the vector
    std::int64_t FGenerations = 0;
    std::int64_t FGeneration = 0; // 0: not made yet
};

/// A source whose rows are few enough to be visited one by one: memory, folders.
class ScanSource : public RowSource
{
public:
    using Visit = std::function<void(RowKey key, const Props& values)>;
    /// A number that is another one after a row came, went or changed.
    [[nodiscard]] virtual std::int64_t Stamp() = 0;
    /// Visits all rows in their natural order, with the values of the properties asked for.
    virtual void Scan(std::span<const ULONG> tags, const Visit& visit) = 0;
    /// The values of one row. @returns false when the row is gone
    virtual bool Fetch(RowKey key, std::span<const ULONG> tags, Props& values) = 0;

    /// REQUIRES: the source outlives the order.
    std::unique_ptr<RowOrder> Order(const TableView& view) final;
};

/// The single value that stands for the multiple property in a row of its own, and what makes the row's instance key
/// another one than that of its siblings. Changes the values in place.
void TakeInstance(std::span<const ULONG> columns, ULONG instances, std::uint32_t instance, Props& values);

/// A restriction on rows each of which shows one value of a multiple property. Named as a single property, or with
/// MV_INSTANCE, it is the value of the row; named as a multiple one it is all values, of which any may fit.
class InstanceRestriction
{
public:
    /// @param instances  the property; 0: rows show no single values
    InstanceRestriction(std::shared_ptr<const Restriction> restriction, ULONG instances);

    /// Whether rows of the same values may be decided differently: the value of the row or its key is asked for.
    [[nodiscard]] static bool Distinguishes(const Restriction& restriction, ULONG instances);
    /// What Fits must be given of a row.
    [[nodiscard]] std::span<const ULONG> Tags() const { return FTags; }
    /// @param values  those of Tags(), multiple ones whole; they are changed
    [[nodiscard]] bool Fits(std::uint32_t instance, Props& values, const Restriction::SubRows& subRows = nullptr) const;

private:
    std::shared_ptr<const Restriction> FRestriction;
    ULONG FInstances;
    std::vector<ULONG> FTags;  // as the restriction names them
    std::vector<ULONG> FShown; // with MV_INSTANCE where the value of the row is meant
};

} // namespace deftmapi::client
