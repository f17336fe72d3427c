// Where a table gets its rows, and the order in which it shows them. A row has a key that stays the same while it
// lives; the table keeps places between rows (marks), which an order keeps right while rows come, go and change.
#pragma once

#include "client/store/Database.hpp"
#include "client/table/Restriction.hpp"

#include <memory>
#include <mutex>

namespace deftmapi::client
{

using RowKey = std::int64_t;

/// What decides which rows a table shows and how.
struct TableView
{
    std::shared_ptr<const Restriction> restriction; ///< null: all rows
    std::vector<mapi::SSortOrder> sort;             ///< empty: the natural order of the source
    /// The multiple property (tag with MV_INSTANCE) of whose values each makes a row of its own; 0: none.
    ULONG instances = 0;
};

/// A place in an order: before or after a row, or at one end. Which members beyond the kind mean something is the
/// order's affair; a mark belongs to the order that made it.
struct Mark
{
    enum class Kind
    {
        Beginning,
        Before,
        After,
        End
    };
    Kind kind = Kind::Beginning;
    RowKey key = 0;
    std::uint32_t instance = 0; ///< which value of the multiple property
    SqlValue sortKey;
    std::vector<SqlValue> sortKeys; ///< the same in an order by anything
    std::size_t index = 0;
    std::int64_t rank = -1; ///< rows before it, -1 while nobody asked
    std::int64_t stamp = 0; ///< the state of the rows that index, rank and atEnd are about
    bool atEnd = false;     ///< nothing follows
    bool gone = false;      ///< the row it stood before was there and is no more
};

/// Takes rows value by value, so that what the database has goes to where it is wanted without a stop.
/// Of a row each column is given once, as one of the first four; tags are those of the stored properties.
class RowSink
{
public:
    RowSink() = default;
    virtual ~RowSink() = default;
    RowSink(const RowSink&) = delete;
    RowSink& operator=(const RowSink&) = delete;

    virtual void Number(std::size_t column, ULONG tag, std::int64_t value) = 0;
    virtual void Text(std::size_t column, ULONG tag, std::string_view utf8) = 0;
    virtual void Binary(std::size_t column, ULONG tag, std::span<const std::uint8_t> bytes) = 0;
    /// Any value in its stored type (text wide, large ones as blobs); an error property for what the row does not have.
    virtual void Value(std::size_t column, Prop value) = 0;
    virtual void EndRow() = 0;
    /// The rows came from the last to the first.
    virtual void Reverse() = 0;
};

/// Keeps the rows as properties.
class RowCollector final : public RowSink
{
public:
    explicit RowCollector(std::size_t columns) : FRow(columns) {}

    void Number(std::size_t column, ULONG tag, std::int64_t value) override;
    void Text(std::size_t column, ULONG tag, std::string_view utf8) override;
    void Binary(std::size_t column, ULONG tag, std::span<const std::uint8_t> bytes) override;
    void Value(std::size_t column, Prop value) override;
    void EndRow() override;
    void Reverse() override;

    std::vector<Props> rows;

private:
    Props FRow;
};

/// Hands a row with its values in the order of the columns; they are moved.
void PutRow(Props& values, RowSink& sink);

/// REQUIRES: Refresh was called since the lock of the source was taken.
class RowOrder
{
public:
    RowOrder() = default;
    virtual ~RowOrder() = default;
    RowOrder(const RowOrder&) = delete;
    RowOrder& operator=(const RowOrder&) = delete;

    /// Takes notice of what has changed in the source.
    virtual void Refresh() = 0;
    [[nodiscard]] virtual std::int64_t Count() = 0;
    /// Brings a mark up to date: it goes where its row has gone. @returns false when the row is gone; the mark is where
    /// the row was
    virtual bool Settle(Mark& mark) = 0;
    /// Ties a mark to the row that follows it, or to the end.
    virtual void Anchor(Mark& mark) = 0;
    /// The number of rows before the mark.
    [[nodiscard]] virtual std::int64_t Rank(Mark& mark) = 0;
    /// Moves a mark by rows, at most to an end. @returns by how many, with the sign of the direction
    virtual std::int64_t Move(Mark& mark, std::int64_t rows) = 0;
    /// Hands out up to |count| rows that follow the mark, or with a negative count stand before it, in the order of the
    /// table, and moves the mark past them.
    virtual void Read(Mark& mark, std::int64_t count, std::span<const ULONG> columns, RowSink& sink) = 0;
    /// The same with each row as a whole, for who reads few.
    using RowVisit = std::function<void(Props& values)>;
    void Read(Mark& mark, std::int64_t count, std::span<const ULONG> columns, const RowVisit& visit);
    /// Moves the mark before the next row that fits, from the row that follows it on, or backwards from the one before
    /// it. @returns false, with the mark left alone, when there is none
    virtual bool Find(Mark& mark, bool backward, const std::shared_ptr<const Restriction>& wanted) = 0;
    /// The place before the (first) row of this key. @returns false when the order does not have it
    virtual bool Place(RowKey key, Mark& mark) = 0;
};

class RowSource
{
public:
    virtual ~RowSource() = default;
    /// Held by the table for the length of each call.
    [[nodiscard]] virtual std::recursive_mutex& Lock() = 0;
    /// The columns of a new table.
    [[nodiscard]] virtual std::vector<ULONG> DefaultColumns() = 0;
    /// Every column that some row may have (TBL_ALL_COLUMNS).
    [[nodiscard]] virtual std::vector<ULONG> AllColumns() { return DefaultColumns(); }
    /// Runs the body so that all it reads is of one state of the data.
    virtual void Consistently(const std::function<void()>& body) { body(); }
    /// @throws Failure  MAPI_E_TOO_COMPLEX the source cannot show its rows so
    [[nodiscard]] virtual std::unique_ptr<RowOrder> Order(const TableView& view) = 0;
};

} // namespace deftmapi::client
