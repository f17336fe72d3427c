#include "client/store/ContentsOrder.hpp"

#include "client/notify/Journal.hpp"
#include "client/table/VectorOrder.hpp"

#include <algorithm>
#include <cstring>
#include <set>
#include <unordered_set>

namespace deftmapi::client
{
namespace
{

/// Rows per statement when many are read, and the first and largest number of rows that a search looks at at once.
constexpr std::size_t ReadPiece = 1000;
constexpr std::size_t FirstSearchPiece = 64;
constexpr std::size_t LastSearchPiece = 16384;
/// Packed subjects that are searched in the time of one row.
constexpr std::size_t SubjectsPerRow = 64;
/// Finding the place of a changed row costs about as much as making this many rows anew.
constexpr std::size_t RowsPerUpdate = 100;

const Prop* FindInBag(StoreFile& store, std::span<const std::uint8_t> packed, ULONG id, Prop& room)
{
    bool found = false;
    store.Unpack(
        packed, [id](ULONG each) { return each == id; },
        [&](Prop prop) {
            room = std::move(prop);
            found = true;
        });
    return found ? &room : nullptr;
}

/// deft_call(this, packed list): the positions of the values of a multiple property, as a JSON array; a row without
/// values has one position all the same.
class InstanceList final : public SqlCallable
{
public:
    InstanceList(const MessageRows& rows, ULONG tag) : FRows(rows), FId(tag >> 16) {}
    void Call(const SqlArguments& arguments, const SqlResult& result) const override
    {
        Prop room;
        const Prop* prop = FindInBag(*FRows.store, arguments.Blob(0), FId, room);
        const std::size_t count = prop ? std::max<std::size_t>(1, ElementsOf(*prop).size()) : 1;
        std::string list = "[0";
        for (std::size_t i = 1; i < count; ++i)
            list.append(",").append(std::to_string(i));
        result.SetText(list.append("]"));
    }

private:
    const MessageRows& FRows;
    ULONG FId;
};

/// deft_call(this, packed list, position): what a property without a column sorts by; of a multiple one the value at
/// the position. Of a text no more than the row shows.
class SortValue final : public SqlCallable
{
public:
    SortValue(const MessageRows& rows, ULONG tag) : FRows(rows), FId(tag >> 16) {}
    void Call(const SqlArguments& arguments, const SqlResult& result) const override
    {
        Prop room;
        const Prop* prop = FindInBag(*FRows.store, arguments.Blob(0), FId, room);
        if (!prop)
            return;
        auto elements = ElementsOf(*prop);
        const auto at = static_cast<std::size_t>(arguments.Number(1));
        if (at < elements.size())
            room = std::move(elements[at]);
        Put(room, result);
    }

private:
    static void Put(const Prop& value, const SqlResult& result)
    {
        if (const auto* number = std::get_if<std::int64_t>(&value.data)) {
            result.Set(*number);
        } else if (const auto* real = std::get_if<double>(&value.data)) {
            result.SetReal(*real);
        } else if (const auto* text = std::get_if<WideString>(&value.data)) {
            result.SetText(PackText(WideView(*text).substr(0, limits::TableText)));
        } else if (const auto* bytes = std::get_if<Bytes>(&value.data)) {
            result.SetBlob(*bytes);
        } else if (const auto* blob = std::get_if<BlobPtr>(&value.data)) {
            Bytes head(limits::TableText * 2);
            head.resize((*blob)->Read(0, head.data(), head.size()));
            if (value.Type() != mapi::PT_UNICODE)
                return result.SetBlob(head);
            WideString start(head.size() / 2, u'\0');
            std::memcpy(start.data(), head.data(), start.size() * 2);
            result.SetText(PackText(start));
        }
    }

    const MessageRows& FRows;
    ULONG FId;
};

bool DistinguishesInstances(const TableView& view)
{
    return view.restriction && InstanceRestriction::Distinguishes(*view.restriction, view.instances);
}

/// What rows are sorted by, and how: a collation, a direction.
struct SortColumn
{
    SqlPiece value;
    std::string how;
};

class SqlVectorOrder final : public VectorOrder
{
public:
    SqlVectorOrder(const MessageRows& rows, const TableView& view, std::unique_ptr<MessageCondition> condition)
        : FRows(rows), FCondition(std::move(condition)), FInstances(view.instances),
          FIsNatural(view.sort.empty() && !view.instances)
    {
        FStatement.Add("SELECT m.id").Add(FInstances ? ", j.value" : "");
        if (DistinguishesInstances(view)) {
            FRestriction.emplace(view.restriction, FInstances);
            FReader.emplace(FRows, FRestriction->Tags(), 2, true);
            FStatement.Add(FReader->Select());
        }
        // Nothing but the keys is asked for where they are sorted afterwards.
        FStatement.Add(" FROM ").Add(FIsNatural ? FCondition->CountingSource() : FCondition->Source());
        if (FInstances) {
            FCalls.push_back(std::make_unique<InstanceList>(FRows, FInstances));
            FStatement.Add(" CROSS JOIN json_each(deft_call(?, ").Add(BagExpression).Add(")) j");
            FStatement.AddValue(FCalls.back().get());
        }
        FStatement.Add(" WHERE ").Add(FRows.Membership()).Add(FCondition->Sql());
        if (FIsNatural)
            return;
        for (const auto& sort : view.sort)
            AddKey(sort);
        FDescending = !view.sort.empty() && view.sort.front().ulOrder == mapi::TABLE_SORT_DESCEND;
        FOrder.Add(" ORDER BY ");
        for (const SortColumn& column : FSortColumns)
            FOrder.Add(column.value).Add(column.how).Add(", ");
        FOrder.Add("m.id").Add(FDescending ? " DESC" : "").Add(FInstances ? ", j.value" : "");
        FStatement.Add(FOrder);
    }

protected:
    std::int64_t Stamp() override { return FRows.State().changes; }

    std::optional<std::int64_t> CountAlone() override { return FInstances ? std::nullopt : FCondition->CountParts(); }

    Rows Build() override
    {
        FSeen = Seen(LastJournalNumber(FRows.store->Db()));
        Rows rows;
        if (FCondition->IsEmpty() && !FInstances) // as much as is needed, and no more while it grows
            rows.keys.reserve(static_cast<std::size_t>(FRows.State().rows));
        Query query = FRows.Start(FStatement);
        while (query.Step()) {
            const RowKey key = query.Number(0);
            const auto instance = FInstances ? static_cast<std::uint32_t>(query.Number(1)) : 0;
            if (FRestriction && !Fits(*FRestriction, *FReader, query, key, instance))
                continue;
            rows.keys.push_back(key);
            if (FInstances)
                rows.instances.push_back(instance);
        }
        if (FIsNatural)
            std::sort(rows.keys.begin(), rows.keys.end());
        return rows;
    }

    bool Update(std::vector<RowKey>& keys) override
    {
        const auto touched = Touched(keys.size() / RowsPerUpdate);
        if (!touched)
            return false;
        std::erase_if(keys, [&touched](RowKey key) { return touched->contains(key); });
        for (const RowKey key : *touched) {
            if (!IsRow(key))
                continue;
            const auto before = [this](RowKey row, RowKey other) { return IsBefore(row, other); };
            keys.insert(std::lower_bound(keys.begin(), keys.end(), key, before), key);
        }
        return true;
    }

    bool KeepsSortKeys() const override { return true; }

    std::vector<SqlValue> SortKeys(std::size_t index) override
    {
        std::vector<SqlValue> keys;
        if (FSortColumns.empty())
            return keys;
        Query query = FRows.Start(SelectSortKeys("", KeyAt(index), InstanceAt(index)));
        const bool there = query.Step();
        for (std::size_t i = 0; i < FSortColumns.size(); ++i)
            keys.push_back(there ? query.Value(static_cast<int>(i)) : SqlValue());
        return keys;
    }

    std::size_t Behind(const Mark& mark) override
    {
        std::size_t first = 0;
        std::size_t last = Keys().size();
        while (first < last) {
            const std::size_t middle = first + (last - first) / 2;
            const bool behind = FSortColumns.empty() ? IsKeyBehind(middle, mark) : StandsBehind(middle, mark);
            (behind ? last : first) = behind ? middle : middle + 1;
        }
        return first;
    }

    void ReadRows(std::size_t first, std::size_t last, std::span<const ULONG> columns, RowSink& sink) override
    {
        RowReader reader(FRows, columns, 2);
        const std::string select = "SELECT m.id, j.key" + reader.Select() +
                                   " FROM json_each(?) j CROSS JOIN messages m "
                                   "ON m.id = j.value";
        for (; first < last; first += ReadPiece) {
            const std::size_t end = std::min(last, first + ReadPiece);
            Query query = FRows.Start({select, {List(first, end, false)}});
            while (query.Step()) {
                if (!FInstances) {
                    reader.Read(query, query.Number(0), sink);
                    continue;
                }
                RowCollector one(columns.size());
                reader.Read(query, query.Number(0), one);
                const std::size_t at = first + static_cast<std::size_t>(query.Number(1));
                TakeInstance(columns, FInstances, InstanceAt(at), one.rows.front());
                PutRow(one.rows.front(), sink);
            }
        }
    }

    std::size_t FindFrom(std::size_t first, bool backward, const std::shared_ptr<const Restriction>& wanted) override
    {
        if (InstanceRestriction::Distinguishes(*wanted, FInstances))
            return FindRowByRow(first, backward, wanted);
        MessageCondition condition(FRows, wanted);
        if (condition.MayBeFew()) { // one of many is near
            const std::size_t near = FirstSearchPiece + Keys().size() / SubjectsPerRow;
            if (const std::size_t found = FindInTurn(first, backward, condition, near); found != Keys().size())
                return found;
            condition.TakePartIfFew();
        }
        return condition.BestPath() != MessageCondition::Path::None
                   ? FindByIndex(first, backward, condition)
                   : FindInTurn(first, backward, condition, Keys().size());
    }

private:
    /// The rows that may have come, gone or changed since the journal was read last; nothing when they are more than
    /// `most` or cannot be told.
    [[nodiscard]] std::optional<std::set<RowKey>> Touched(std::size_t most)
    {
        Database& database = FRows.store->Db();
        const std::int64_t last = LastJournalNumber(database);
        const std::int64_t seen = std::exchange(FSeen, Seen(last));
        if (seen < 0)
            return std::nullopt;
        std::set<RowKey> touched;
        bool all = false;
        const bool complete = ReadJournal(database, seen, [&](const JournalEntry& entry) {
            const bool here = entry.folder == FRows.folder || entry.other == FRows.folder;
            if (here && entry.kind == JournalKind::FolderBulk)
                all = true;
            else if (here && entry.IsMessage())
                touched.insert(entry.object);
            return !all && touched.size() <= most;
        });
        if (!complete || all || touched.size() > most)
            return std::nullopt;
        return touched;
    }

    /// Entries of a transaction may be taken back: nobody can go on from there.
    [[nodiscard]] std::int64_t Seen(std::int64_t last) const { return FRows.store->Db().InTransaction() ? -1 : last; }
    /// Whether the table shows the row.
    [[nodiscard]] bool IsRow(RowKey key) const
    {
        SqlPiece statement{"SELECT 1 FROM messages m NOT INDEXED WHERE ", {}};
        statement.Add(FRows.Membership()).Add(" AND m.id = ?").AddValue(key).Add(FCondition->SqlOfRow());
        return FRows.Start(statement).Step();
    }

    /// Whether one row stands before another: the database says it, by the words in which it orders all.
    [[nodiscard]] bool IsBefore(RowKey row, RowKey other) const
    {
        if (FIsNatural)
            return row < other;
        SqlPiece statement{"SELECT m.id FROM messages m NOT INDEXED WHERE m.id IN (?, ?)", {row, other}};
        Query query = FRows.Start(statement.Add(FOrder));
        return query.Step() && query.Number(0) == row;
    }

    void AddKey(const mapi::SSortOrder& sort)
    {
        const ULONG id = sort.ulPropTag >> 16;
        const std::string direction = sort.ulOrder == mapi::TABLE_SORT_DESCEND ? " DESC" : "";
        if (const MessageColumn* column = FindMessageColumn(id)) {
            const bool isText = (column->tag & 0xFFFF) == mapi::PT_UNICODE;
            FSortColumns.push_back({{ExpressionOf(*column), {}}, (isText ? " COLLATE deft_fold" : "") + direction});
        } else if (!MessageRows::IsComputed(id)) {
            FCalls.push_back(std::make_unique<SortValue>(FRows, sort.ulPropTag));
            SqlPiece value{"deft_call(?, ", {FCalls.back().get()}};
            value.Add(BagExpression).Add(sort.ulPropTag & mapi::MV_INSTANCE ? ", j.value)" : ", 0)");
            FSortColumns.push_back({std::move(value), " COLLATE deft_fold" + direction});
        }
        if (FRows.isSearch && id == tag::ParentEntryId >> 16)
            FSortColumns.push_back({{"m.folder", {}}, direction});
        else if (FRows.IsIdentity(id))
            FSortColumns.push_back({{"m.id", {}}, direction});
        // Other computed properties are the same for all rows.
    }

    [[nodiscard]] bool IsKeyBehind(std::size_t at, const Mark& mark) const
    {
        if (KeyAt(at) != mark.key)
            return (KeyAt(at) > mark.key) != FDescending;
        return InstanceAt(at) > mark.instance;
    }

    /// SELECT … of what one row sorts by: its values, named k0, k1, …
    [[nodiscard]] SqlPiece SelectSortKeys(std::string_view before, RowKey key, std::uint32_t instance) const
    {
        SqlPiece statement{"SELECT ", {}};
        statement.Add(before);
        for (std::size_t i = 0; i < FSortColumns.size(); ++i)
            statement.Add(i ? ", " : "").Add(FSortColumns[i].value).Add(" AS k").Add(std::to_string(i));
        statement.Add(" FROM messages m NOT INDEXED CROSS JOIN (SELECT ? AS value) j WHERE m.id = ?");
        return statement.AddValue(std::int64_t{instance}).AddValue(key);
    }

    /// Whether the row at a place stands behind the one of the mark, as that was: the database says it.
    [[nodiscard]] bool StandsBehind(std::size_t at, const Mark& mark) const
    {
        SqlPiece both{"SELECT mine FROM (", {}};
        both.Add(SelectSortKeys("0 AS mine, m.id AS id, j.value AS instance, ", KeyAt(at), InstanceAt(at)));
        both.Add(" UNION ALL SELECT 1, ?, ?").AddValue(mark.key).AddValue(std::int64_t{mark.instance});
        for (const SqlValue& value : mark.sortKeys)
            both.Add(", ?").AddValue(value);
        both.Add(") ORDER BY ");
        for (std::size_t i = 0; i < FSortColumns.size(); ++i)
            both.Add("k").Add(std::to_string(i)).Add(FSortColumns[i].how).Add(", ");
        Query query = FRows.Start(both.Add("id").Add(FDescending ? " DESC" : "").Add(", instance, mine LIMIT 1"));
        return query.Step() && query.Number(0) == 1;
    }

    /// The keys of some rows as a JSON array.
    [[nodiscard]] std::string List(std::size_t first, std::size_t last, bool reversed) const
    {
        std::string list = "[";
        for (std::size_t i = first; i < last; ++i)
            list.append(i == first ? "" : ",").append(std::to_string(KeyAt(reversed ? last - 1 - (i - first) : i)));
        return list.append("]");
    }

    /// Few rows fit, and an index finds them: the first of them in the order.
    [[nodiscard]] std::size_t FindByIndex(std::size_t first, bool backward, const MessageCondition& condition) const
    {
        SqlPiece statement;
        statement.Add("SELECT m.id FROM ")
            .Add(condition.Source())
            .Add(" WHERE ")
            .Add(FRows.Membership())
            .Add(condition.Sql());
        std::unordered_set<RowKey> fitting;
        Query query = FRows.Start(statement);
        while (query.Step())
            fitting.insert(query.Number(0));
        const auto keys = Keys();
        const auto fits = [&](RowKey key) { return fitting.contains(key); };
        if (fitting.empty())
            return keys.size();
        if (!backward) {
            const auto from = keys.begin() + static_cast<std::ptrdiff_t>(first);
            return static_cast<std::size_t>(std::find_if(from, keys.end(), fits) - keys.begin());
        }
        const auto from = keys.rend() - static_cast<std::ptrdiff_t>(first);
        const auto it = std::find_if(from, keys.rend(), fits);
        return it == keys.rend() ? keys.size() : static_cast<std::size_t>(keys.rend() - it) - 1;
    }

    [[nodiscard]] bool Fits(const InstanceRestriction& restriction, RowReader& reader, const Query& query, RowKey key,
                            std::uint32_t instance) const
    {
        RowCollector collector(restriction.Tags().size());
        reader.Read(query, key, collector);
        return restriction.Fits(instance, collector.rows.front(), [&](ULONG tag) { return FRows.SubRows(key, tag); });
    }

    /// Cuts the rows between two places into pieces that grow, from the first place on, which may be the higher one.
    template <typename Visit>
    static void VisitPieces(std::size_t first, std::size_t end, std::size_t piece, std::size_t growth,
                            const Visit& visit)
    {
        while (first != end) {
            const std::size_t size = std::min(piece, first < end ? end - first : first - end);
            const std::size_t next = first < end ? first + size : first - size;
            if (!visit(std::min(first, next), std::max(first, next)))
                return;
            first = next;
            piece = std::min(piece * growth, LastSearchPiece);
        }
    }

    /// Rows of one message are decided one by one.
    [[nodiscard]] std::size_t FindRowByRow(std::size_t first, bool backward,
                                           const std::shared_ptr<const Restriction>& wanted) const
    {
        const std::size_t count = Keys().size();
        const InstanceRestriction restriction(wanted, FInstances);
        RowReader reader(FRows, restriction.Tags(), 2, true);
        SqlPiece statement;
        statement.Add("SELECT m.id, j.key").Add(reader.Select());
        statement.Add(" FROM json_each(?) j CROSS JOIN messages m ON m.id = j.value").AddValue(std::monostate());
        std::size_t found = count;
        VisitPieces(first, backward ? 0 : count, ReadPiece, 1, [&](std::size_t from, std::size_t to) {
            statement.values.front() = List(from, to, backward);
            Query query = FRows.Start(statement);
            while (found == count && query.Step()) {
                const auto offset = static_cast<std::size_t>(query.Number(1));
                const std::size_t at = backward ? to - 1 - offset : from + offset;
                if (Fits(restriction, reader, query, KeyAt(at), InstanceAt(at)))
                    found = at;
            }
            return found == count;
        });
        return found;
    }

    /// Looks at so many rows in the order of the table, in pieces that grow.
    [[nodiscard]] std::size_t FindInTurn(std::size_t first, bool backward, const MessageCondition& condition,
                                         std::size_t most) const
    {
        const std::size_t count = Keys().size();
        const std::size_t end = backward ? first - std::min(first, most) : first + std::min(count - first, most);
        SqlPiece statement;
        statement.Add("SELECT j.key FROM json_each(?) j CROSS JOIN messages m ON m.id = j.value WHERE ");
        statement.AddValue(std::monostate()).Add(FRows.Membership()).Add(condition.SqlOfRow()).Add(" LIMIT 1");
        std::size_t found = count;
        VisitPieces(first, end, FirstSearchPiece, 4, [&](std::size_t from, std::size_t to) {
            statement.values.front() = List(from, to, backward);
            Query query = FRows.Start(statement);
            if (query.Step()) {
                const auto at = static_cast<std::size_t>(query.Number(0));
                found = backward ? to - 1 - at : from + at;
            }
            return found == count;
        });
        return found;
    }

    const MessageRows& FRows;
    std::unique_ptr<MessageCondition> FCondition;
    ULONG FInstances;
    bool FIsNatural; // the order of the row identifiers, which need no sorter of the database
    std::vector<std::unique_ptr<SqlCallable>> FCalls;
    SqlPiece FStatement;
    std::vector<SortColumn> FSortColumns;
    bool FDescending = false;
    SqlPiece FOrder;                                 // the end of the statement
    std::int64_t FSeen = 0;                          // of the journal, when the rows were made
    std::optional<InstanceRestriction> FRestriction; // what the statement cannot decide
    std::optional<RowReader> FReader;
};

} // namespace

std::unique_ptr<RowOrder> MakeContentsOrder(const MessageRows& rows, const TableView& view)
{
    auto condition =
        std::make_unique<MessageCondition>(rows, DistinguishesInstances(view) ? nullptr : view.restriction);
    condition->TakePartIfFew();
    const IndexedKey* key = rows.isSearch ? nullptr : FindIndexedKey(view, condition->BestPath());
    if (key)
        return MakeIndexOrder(rows, view, *key, std::move(condition));
    return std::make_unique<SqlVectorOrder>(rows, view, std::move(condition));
}

} // namespace deftmapi::client
