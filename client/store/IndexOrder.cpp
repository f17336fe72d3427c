// Contents in the order of an index. What lies before or after a place is at most three ranges of the index (the rows
// of equal value, those beyond, those without a value), each read in its turn.
#include "client/store/ContentsOrder.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr IndexedKey Keys[] = {
    {0, nullptr, nullptr, " INDEXED BY messages_folder"},
    {tag::DeliveryTime, "m.delivery_time", "m.delivery_time", " INDEXED BY messages_delivery"},
    {tag::Subject, "m.subject", "m.subject COLLATE deft_fold", " INDEXED BY messages_subject"},
};

/// Characters that a statement has about, for its text to grow without copies.
constexpr std::size_t StatementSize = 768;
/// A search looks through this many rows in the order of the table when its own index finds at least so many that fit.
constexpr std::int64_t Near = 4096;
constexpr std::int64_t Many = 64;
/// Packed subjects that are searched in the time of one row.
constexpr std::int64_t SubjectsPerRow = 64;

class IndexOrder final : public RowOrder
{
public:
    IndexOrder(const MessageRows& rows, const TableView& view, const IndexedKey& key,
               std::unique_ptr<MessageCondition> condition)
        : FRows(rows), FKey(key), FCondition(std::move(condition)),
          FDescending(!view.sort.empty() && view.sort.front().ulOrder == mapi::TABLE_SORT_DESCEND)
    {
        FIndex = FKey.tag == tag::DeliveryTime && FCondition->BestPath() == MessageCondition::Path::Unread
                     ? MessageCondition::IndexOf(MessageCondition::Path::Unread)
                     : FKey.index;
    }

    void Refresh() override
    {
        const FolderState state = FRows.State();
        if (state.changes != FStamp)
            FCount = FCondition->IsEmpty() ? state.rows : -1;
        FStamp = state.changes;
    }

    std::int64_t Count() override
    {
        if (FCount < 0) {
            // Nothing has to be in order: the index of the condition, or the rows as they lie in the file.
            const auto best = FCondition->CountingIndex();
            const auto counted = FCondition->CountParts();
            FCount = counted ? *counted
                             : Number(Statement("count(*)", best.empty() ? Keys[0].index : best, nullptr, {}, ""));
        }
        return FCount;
    }

    bool Settle(Mark& mark) override
    {
        if (mark.stamp == FStamp)
            return !mark.gone;
        mark.stamp = FStamp;
        mark.rank = -1;
        mark.atEnd = false;
        if (mark.kind == Mark::Kind::Before)
            mark.gone = !Load(mark.key, mark);
        return !mark.gone;
    }

    void Anchor(Mark& mark) override
    {
        Settle(mark);
        if (mark.kind == Mark::Kind::End || (mark.kind == Mark::Kind::Before && !mark.gone))
            return;
        const std::int64_t rank = mark.rank;
        std::int64_t passed = 0;
        Mark next;
        if (Skip(mark, true, 0, next, passed))
            mark = next;
        else
            mark = EndMark();
        mark.rank = rank;
    }

    std::int64_t Rank(Mark& mark) override
    {
        Settle(mark);
        if (mark.kind == Mark::Kind::Beginning)
            mark.rank = 0;
        else if (mark.kind == Mark::Kind::End)
            mark.rank = Count();
        else if (mark.rank < 0)
            mark.rank = CountBeside(mark, false);
        return mark.rank;
    }

    std::int64_t Move(Mark& mark, std::int64_t rows) override
    {
        Settle(mark);
        if (mark.kind == Mark::Kind::Beginning)
            mark.rank = 0;
        else if (mark.kind == Mark::Kind::End && FCount >= 0)
            mark.rank = FCount;
        if (mark.rank >= 0 && FCount >= 0) // both ends are known: the way may be shorter from one of them
            return MoveTo(mark, std::clamp<std::int64_t>(mark.rank + rows, 0, FCount));
        const std::int64_t rank = mark.rank;
        std::int64_t moved = 0;
        if (rows > 0)
            moved = Forward(mark, rows);
        else if (rows < 0)
            moved = -Backward(mark, -rows);
        if (rank >= 0)
            mark.rank = rank + moved;
        return moved;
    }

    using RowOrder::Read;
    void Read(Mark& mark, std::int64_t count, std::span<const ULONG> columns, RowSink& sink) override
    {
        Settle(mark);
        const bool forward = count > 0;
        if (forward && mark.atEnd)
            return;
        if (!FReader || !std::equal(columns.begin(), columns.end(), FColumns.begin(), FColumns.end())) {
            FReader.reset();
            FColumns.assign(columns.begin(), columns.end());
            FReader.emplace(FRows, FColumns, 2);
        }
        const std::string select = KeyColumns() + FReader->Select();
        const std::string tail = Order(forward) + " LIMIT ?";
        std::int64_t left = forward ? count : -count;
        Mark last = mark;
        SqlPiece range;
        for (int n = 0; left > 0 && Range(mark, forward, n, range); ++n) {
            const std::int64_t before = left;
            Query query = FRows.Start(Statement(select, FIndex, nullptr, range, tail).AddValue(left));
            while (query.Step()) {
                last.key = query.Number(0);
                FReader->Read(query, last.key, sink);
                if (--left == 0) {
                    last.sortKey = query.Value(1);
                    break; // the statement knows no more
                }
            }
            if (left > 0 && left < before) // the range has ended: the row that was its last is gone from the statement
                Load(last.key, last);
        }
        if (left < std::abs(count))
            last.kind = forward ? Mark::Kind::After : Mark::Kind::Before;
        if (!forward)
            sink.Reverse();
        const std::int64_t rank = mark.kind == Mark::Kind::Beginning ? 0 : mark.rank;
        const std::int64_t read = (forward ? count : -count) - left;
        mark = last;
        mark.gone = mark.gone && read == 0;
        mark.stamp = FStamp;
        mark.rank = rank < 0 ? -1 : rank + (forward ? read : -read);
        mark.atEnd = forward ? left > 0 : (mark.atEnd && read == 0);
        if (mark.atEnd && mark.rank >= 0)
            FCount = mark.rank;
        if (!forward && left > 0)
            mark = BeginningMark();
    }

    bool Find(Mark& mark, bool backward, const std::shared_ptr<const Restriction>& wanted) override
    {
        Settle(mark);
        MessageCondition condition(FRows, wanted);
        if (condition.AsksForPart()) { // one of many is near
            const std::int64_t near = std::clamp<std::int64_t>(FRows.State().rows / SubjectsPerRow, Many, Near);
            if (const auto found = FindNear(mark, !backward, condition, near)) {
                mark = *found;
                return true;
            }
            condition.TakePartIfFew();
        }
        std::string_view index = MessageCondition::IndexOf(condition.BestPath());
        if (index.empty() || (condition.BestPath() == MessageCondition::Path::Unread && FKey.tag != tag::DeliveryTime))
            index = FIndex;
        // An index that finds many rows would have all of them sorted for the first one. Where there are many, one of
        // them is near in the order of the table.
        if (condition.BestPath() > MessageCondition::Path::SearchKey &&
            condition.BestPath() != MessageCondition::Path::Part && index != FIndex &&
            CountUpTo(Many, &condition, index, {}) == Many)
        {
            if (const auto found = FindNear(mark, !backward, condition, Near)) {
                mark = *found;
                return true;
            }
        }
        SqlPiece range;
        for (int n = 0; Range(mark, !backward, n, range); ++n) {
            Query query = FRows.Start(Statement(KeyColumns(), index, &condition, range, Order(!backward) + " LIMIT 1"));
            if (query.Step()) {
                mark = MarkOf(query);
                return true;
            }
        }
        return false;
    }

    bool Place(RowKey key, Mark& mark) override
    {
        Mark found;
        if (!Load(key, found))
            return false;
        found.kind = Mark::Kind::Before;
        found.stamp = FStamp;
        mark = found;
        return true;
    }

private:
    [[nodiscard]] std::string KeyColumns() const
    {
        return std::string("m.id, ") + (FKey.column ? FKey.column : "NULL");
    }

    /// SELECT … with the conditions of the folder, of the table, of a search and of a range of the index.
    [[nodiscard]] SqlPiece Statement(std::string_view select, std::string_view index, const MessageCondition* wanted,
                                     const SqlPiece& range, std::string_view tail) const
    {
        SqlPiece piece;
        piece.sql.reserve(StatementSize);
        piece.Add("SELECT ").Add(select).Add(" FROM messages m").Add(index).Add(" WHERE ").Add(FRows.Membership());
        piece.Add(FCondition->Sql());
        if (wanted)
            piece.Add(wanted->Sql());
        return piece.Add(range).Add(tail);
    }

    [[nodiscard]] std::int64_t Number(const SqlPiece& statement) const
    {
        Query query = FRows.Start(statement);
        return query.Step() ? query.Number(0) : 0;
    }

    /// Reads the sort value of a row of the table into the mark; false when the table does not have the row.
    bool Load(RowKey key, Mark& mark) const
    {
        SqlPiece range{" AND m.id = ?", {key}};
        Query query = FRows.Start(Statement(KeyColumns(), " NOT INDEXED", nullptr, range, ""));
        if (!query.Step())
            return false;
        mark.key = key;
        mark.sortKey = query.Value(1);
        return true;
    }

    [[nodiscard]] Mark MarkOf(const Query& query) const
    {
        Mark mark;
        mark.kind = Mark::Kind::Before;
        mark.key = query.Number(0);
        mark.sortKey = query.Value(1);
        mark.stamp = FStamp;
        return mark;
    }
    [[nodiscard]] Mark BeginningMark() const
    {
        Mark mark;
        mark.rank = 0;
        mark.stamp = FStamp;
        return mark;
    }
    [[nodiscard]] Mark EndMark() const
    {
        Mark mark;
        mark.kind = Mark::Kind::End;
        mark.stamp = FStamp;
        return mark;
    }

    [[nodiscard]] std::string Order(bool forward) const
    {
        const std::string direction = forward != FDescending ? " ASC" : " DESC";
        return (FKey.key ? " ORDER BY " + std::string(FKey.key) + direction + ", m.id" : " ORDER BY m.id") + direction;
    }

    /// The n-th range of the index on one side of the mark, the nearest first. @returns false: there are no more
    [[nodiscard]] bool Range(const Mark& mark, bool forward, int n, SqlPiece& range) const
    {
        if (mark.kind == (forward ? Mark::Kind::End : Mark::Kind::Beginning))
            return false;
        range = SqlPiece();
        if (mark.kind == Mark::Kind::Beginning || mark.kind == Mark::Kind::End)
            return n == 0; // the whole index, which has rows without a value before all others
        const bool up = forward != FDescending;
        const bool inclusive = (mark.kind == Mark::Kind::Before) == forward;
        const std::string_view beyond =
            up ? (inclusive ? " AND m.id >= ?" : " AND m.id > ?") : (inclusive ? " AND m.id <= ?" : " AND m.id < ?");
        if (!FKey.key) {
            range.Add(beyond).AddValue(mark.key);
            return n == 0;
        }
        const bool withoutValue = std::holds_alternative<std::monostate>(mark.sortKey);
        if (n == 0 && withoutValue)
            range.Add(" AND ").Add(FKey.column).Add(" IS NULL").Add(beyond).AddValue(mark.key);
        else if (n == 0)
            range.Add(" AND ").Add(FKey.key).Add(" = ?").AddValue(mark.sortKey).Add(beyond).AddValue(mark.key);
        else if (n == 1 && withoutValue && up)
            range.Add(" AND ").Add(FKey.column).Add(" IS NOT NULL");
        else if (n == 1 && !withoutValue)
            range.Add(" AND ").Add(FKey.key).Add(up ? " > ?" : " < ?").AddValue(mark.sortKey);
        else if (n == 2 && !withoutValue && !up)
            range.Add(" AND ").Add(FKey.column).Add(" IS NULL");
        else
            return false;
        return true;
    }

    /// Counts rows, but no more than so many.
    [[nodiscard]] std::int64_t CountUpTo(std::int64_t most, const MessageCondition* condition, std::string_view index,
                                         const SqlPiece& range) const
    {
        SqlPiece statement;
        statement.Add("SELECT count(*) FROM (").Add(Statement("1", index, condition, range, " LIMIT ?"));
        return Number(statement.AddValue(most).Add(")"));
    }

    /// Looks at the next rows in the order of the table, so many of them.
    [[nodiscard]] std::optional<Mark> FindNear(const Mark& mark, bool forward, const MessageCondition& condition,
                                               std::int64_t left) const
    {
        SqlPiece range;
        for (int n = 0; left > 0 && Range(mark, forward, n, range); ++n) {
            // The inner statement gives its rows one by one, so that the first that fits ends it.
            SqlPiece fits;
            fits.Add("m.id AS id, ").Add(FKey.column ? FKey.column : "NULL").Add(" AS sort_key, (1");
            fits.Add(condition.SqlOfRow()).Add(") AS fits");
            SqlPiece statement;
            statement.Add("SELECT id, sort_key FROM (SELECT ").Add(fits).Add(" FROM messages m").Add(FIndex);
            statement.Add(" WHERE ").Add(FRows.Membership()).Add(FCondition->Sql()).Add(range);
            statement.Add(Order(forward)).Add(" LIMIT ?").AddValue(left).Add(") WHERE fits LIMIT 1");
            Query query = FRows.Start(statement);
            if (query.Step())
                return MarkOf(query);
            left -= CountUpTo(left, nullptr, FIndex, range);
        }
        return std::nullopt;
    }

    [[nodiscard]] std::int64_t CountRange(const SqlPiece& range) const
    {
        return Number(Statement("count(*)", FIndex, nullptr, range, ""));
    }
    [[nodiscard]] std::int64_t CountBeside(const Mark& mark, bool forward) const
    {
        std::int64_t count = 0;
        SqlPiece range;
        for (int n = 0; Range(mark, forward, n, range); ++n)
            count += CountRange(range);
        return count;
    }

    /// Finds the row that lies `rows` rows beyond the nearest one; false when there are too few, `passed` of them.
    bool Skip(const Mark& mark, bool forward, std::int64_t rows, Mark& found, std::int64_t& passed) const
    {
        passed = 0;
        SqlPiece range;
        for (int n = 0; Range(mark, forward, n, range); ++n) {
            {
                Query query =
                    FRows.Start(Statement(KeyColumns(), FIndex, nullptr, range, Order(forward) + " LIMIT 1 OFFSET ?")
                                    .AddValue(rows - passed));
                if (query.Step()) {
                    found = MarkOf(query);
                    return true;
                }
            }
            passed += CountRange(range);
        }
        return false;
    }

    std::int64_t Forward(Mark& mark, std::int64_t rows) const
    {
        std::int64_t passed = 0;
        Mark found;
        if (Skip(mark, true, rows, found, passed)) {
            mark = found;
            return rows;
        }
        // To the end, but as a place after the last row: rows that come later follow it.
        std::int64_t ignored = 0;
        if (Skip(EndMark(), false, 0, found, ignored)) {
            mark = found;
            mark.kind = Mark::Kind::After;
        }
        return passed;
    }

    std::int64_t Backward(Mark& mark, std::int64_t rows) const
    {
        std::int64_t passed = 0;
        Mark found;
        if (Skip(mark, false, rows - 1, found, passed)) {
            mark = found;
            return rows;
        }
        mark = BeginningMark();
        return passed;
    }

    std::int64_t MoveTo(Mark& mark, std::int64_t target) const
    {
        const std::int64_t from = mark.rank;
        const std::int64_t distance = std::abs(target - from);
        if (distance == 0)
            return 0;
        if (target == 0) {
            mark = BeginningMark();
        } else if (target == FCount) {
            Forward(mark = EndMark(), 0);
        } else if (target <= distance) {
            Forward(mark = BeginningMark(), target);
        } else if (FCount - target <= distance) {
            Backward(mark = EndMark(), FCount - target);
        } else if (target > from) {
            Forward(mark, target - from);
        } else {
            Backward(mark, from - target);
        }
        mark.rank = target;
        return target - from;
    }

    const MessageRows& FRows;
    const IndexedKey& FKey;
    std::unique_ptr<MessageCondition> FCondition;
    bool FDescending;
    std::string_view FIndex;
    std::int64_t FStamp = -2;
    std::int64_t FCount = -1; // -1: not known
    std::vector<ULONG> FColumns;
    std::optional<RowReader> FReader;
};

} // namespace

const IndexedKey* FindIndexedKey(const TableView& view, MessageCondition::Path path)
{
    if (view.instances || view.sort.size() > 1)
        return nullptr;
    const ULONG id = view.sort.empty() ? 0 : view.sort.front().ulPropTag >> 16;
    for (const IndexedKey& key : Keys) {
        if (key.tag >> 16 != id)
            continue;
        // Where a condition has an index that finds its rows, it must be the one that gives the order.
        const bool fits = path == MessageCondition::Path::None ||
                          (path == MessageCondition::Path::Unread && key.tag == tag::DeliveryTime) ||
                          (path == MessageCondition::Path::Subject && key.tag == tag::Subject);
        return fits ? &key : nullptr;
    }
    return nullptr;
}

std::unique_ptr<RowOrder> MakeIndexOrder(const MessageRows& rows, const TableView& view, const IndexedKey& key,
                                         std::unique_ptr<MessageCondition> condition)
{
    return std::make_unique<IndexOrder>(rows, view, key, std::move(condition));
}

} // namespace deftmapi::client
