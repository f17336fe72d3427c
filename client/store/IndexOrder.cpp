// Contents in the order of an index. What lies before or after a place is at most three ranges of the index (the rows
// of equal value, those beyond, those without a value), each read in its turn.
#include "client/store/ContentsOrder.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr IndexedKey Keys[] = {
    {0, source::ByFolder, source::ByFolder, nullptr, nullptr, false},
    {tag::DeliveryTime, source::ByDelivery, source::ByDelivery, "m.delivery_time", "m.delivery_time", true},
    {tag::Subject, source::BySubject, source::SubjectAlone, "m.subject_key",
     "iif(typeof(m.subject) = 'text', m.subject, 0) COLLATE deft_fold", false},
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
          FDescending(!view.sort.empty() && view.sort.front().ulOrder == mapi::TABLE_SORT_DESCEND),
          FPlaces(FCondition->AsksOnlyFor("subject") ? FKey.alone : FKey.source)
    {}

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
            const auto counted = FCondition->CountParts();
            FCount = counted ? *counted : Number(Statement("count(*)", FCondition->CountingSource(), nullptr, {}, ""));
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
        const std::string select = KeyColumns(FKey.source) + FReader->Select();
        const std::string tail = Order(FKey.source, forward) + " LIMIT ?";
        std::int64_t left = forward ? count : -count;
        Mark last = mark;
        SqlPiece range;
        for (int n = 0; left > 0 && Range(FKey.source, mark, forward, n, range); ++n) {
            const std::int64_t before = left;
            Query query = FRows.Start(Statement(select, FKey.source, nullptr, range, tail).AddValue(left));
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
        if (condition.MayBeFew()) { // one of many is near
            const std::int64_t near = std::clamp<std::int64_t>(FRows.State().rows / SubjectsPerRow, Many, Near);
            if (const auto found = FindNear(mark, !backward, condition, near)) {
                mark = *found;
                return true;
            }
            condition.TakePartIfFew();
        }
        const auto path = condition.BestPath();
        const std::string_view from = path == MessageCondition::Path::None ? FKey.source : condition.Source();
        // An index that finds many rows would have all of them sorted for the first one. Where there are many, one of
        // them is near in the order of the table.
        if (path == MessageCondition::Path::Subject && from != FKey.source &&
            CountUpTo(Many, &condition, from, {}) == Many) {
            if (const auto found = FindNear(mark, !backward, condition, Near)) {
                mark = *found;
                return true;
            }
        }
        SqlPiece range;
        for (int n = 0; Range(from, mark, !backward, n, range); ++n) {
            Query query =
                FRows.Start(Statement(KeyColumns(from), from, &condition, range, Order(from, !backward) + " LIMIT 1"));
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
    /// What the rows are sorted by, as that source has it; null: by the row identifier.
    [[nodiscard]] const char* KeyOf(std::string_view from) const
    {
        return from == FKey.source || from == FKey.alone ? FKey.column : FKey.anywhere;
    }
    [[nodiscard]] std::string KeyColumns(std::string_view from) const
    {
        return std::string("m.id, ") + (FKey.column ? KeyOf(from) : "NULL");
    }

    /// SELECT … with the conditions of the folder, of the table, of a search and of a range of the index.
    /// @param from  the source of the order, of the table's condition, or of `wanted`
    [[nodiscard]] SqlPiece Statement(std::string_view select, std::string_view from, const MessageCondition* wanted,
                                     const SqlPiece& range, std::string_view tail) const
    {
        const bool isMine = from == FKey.source || !wanted;
        SqlPiece piece;
        piece.sql.reserve(StatementSize);
        piece.Add("SELECT ").Add(select).Add(" FROM ").Add(from).Add(" WHERE ").Add(FRows.Membership());
        piece.Add(isMine ? FCondition->Sql() : FCondition->SqlOfRow());
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
        SqlPiece statement{"SELECT ", {}};
        statement.Add(KeyColumns(source::ByRow)).Add(" FROM ").Add(source::ByRow).Add(" WHERE ");
        statement.Add(FRows.Membership()).Add(FCondition->SqlOfRow()).Add(" AND m.id = ?").AddValue(key);
        Query query = FRows.Start(statement);
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

    [[nodiscard]] std::string Order(std::string_view from, bool forward) const
    {
        const std::string direction = forward != FDescending ? " ASC" : " DESC";
        return (FKey.column ? std::string(" ORDER BY ") + KeyOf(from) + direction + ", m.id" : " ORDER BY m.id") +
               direction;
    }

    /// The n-th range of the order on one side of the mark, the nearest first. @returns false: there are no more
    [[nodiscard]] bool Range(std::string_view from, const Mark& mark, bool forward, int n, SqlPiece& range) const
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
        if (!FKey.column) {
            range.Add(beyond).AddValue(mark.key);
            return n == 0;
        }
        const std::string_view key = KeyOf(from);
        const bool withoutValue = std::holds_alternative<std::monostate>(mark.sortKey);
        if (n == 0 && withoutValue)
            range.Add(" AND ").Add(key).Add(" IS NULL").Add(beyond).AddValue(mark.key);
        else if (n == 0)
            range.Add(" AND ").Add(key).Add(" = ?").AddValue(mark.sortKey).Add(beyond).AddValue(mark.key);
        else if (n == 1 && withoutValue && up)
            range.Add(" AND ").Add(key).Add(" IS NOT NULL");
        else if (n == 1 && !withoutValue)
            range.Add(" AND ").Add(key).Add(up ? " > ?" : " < ?").AddValue(mark.sortKey);
        else if (n == 2 && !withoutValue && !up && FKey.hasNull)
            range.Add(" AND ").Add(key).Add(" IS NULL");
        else
            return false;
        return true;
    }

    /// Counts rows, but no more than so many.
    [[nodiscard]] std::int64_t CountUpTo(std::int64_t most, const MessageCondition* condition, std::string_view from,
                                         const SqlPiece& range) const
    {
        SqlPiece statement;
        statement.Add("SELECT count(*) FROM (").Add(Statement("1", from, condition, range, " LIMIT ?"));
        return Number(statement.AddValue(most).Add(")"));
    }

    /// Looks at the next rows in the order of the table, so many of them.
    [[nodiscard]] std::optional<Mark> FindNear(const Mark& mark, bool forward, const MessageCondition& condition,
                                               std::int64_t left) const
    {
        SqlPiece range;
        for (int n = 0; left > 0 && Range(FKey.source, mark, forward, n, range); ++n) {
            // The inner statement gives its rows one by one, so that the first that fits ends it.
            SqlPiece fits;
            fits.Add("m.id AS id, ").Add(FKey.column ? FKey.column : "NULL").Add(" AS sort_key, (1");
            fits.Add(condition.SqlOfRow()).Add(") AS fits");
            SqlPiece statement{"SELECT id, sort_key FROM (SELECT ", {}};
            statement.Add(fits).Add(" FROM ").Add(FKey.source).Add(" WHERE ").Add(FRows.Membership());
            statement.Add(FCondition->Sql()).Add(range).Add(Order(FKey.source, forward));
            statement.Add(" LIMIT ?").AddValue(left).Add(") WHERE fits LIMIT 1");
            Query query = FRows.Start(statement);
            if (query.Step())
                return MarkOf(query);
            left -= CountUpTo(left, nullptr, FPlaces, range);
        }
        return std::nullopt;
    }

    [[nodiscard]] std::int64_t CountRange(const SqlPiece& range) const
    {
        return Number(Statement("count(*)", FPlaces, nullptr, range, ""));
    }
    [[nodiscard]] std::int64_t CountBeside(const Mark& mark, bool forward) const
    {
        std::int64_t count = 0;
        SqlPiece range;
        for (int n = 0; Range(FKey.source, mark, forward, n, range); ++n)
            count += CountRange(range);
        return count;
    }

    /// Finds the row that lies `rows` rows beyond the nearest one; false when there are too few, `passed` of them.
    bool Skip(const Mark& mark, bool forward, std::int64_t rows, Mark& found, std::int64_t& passed) const
    {
        passed = 0;
        SqlPiece range;
        for (int n = 0; Range(FKey.source, mark, forward, n, range); ++n) {
            {
                Query query = FRows.Start(Statement(KeyColumns(FPlaces), FPlaces, nullptr, range,
                                                    Order(FPlaces, forward) + " LIMIT 1 OFFSET ?")
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
    std::string_view FPlaces; // the source of statements that ask for places only
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
