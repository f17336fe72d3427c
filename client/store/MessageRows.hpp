// The messages of one folder as rows: which column of a statement holds which property, what is computed, and how a
// restriction becomes a condition of a statement.
#pragma once

#include "client/store/MessageRecords.hpp"
#include "client/table/Restriction.hpp"

namespace deftmapi::client
{

/// A piece of a statement and the values of its parameters, in their order.
struct SqlPiece
{
    std::string sql;
    std::vector<SqlValue> values;

    // Out of line: optimising g++ 12 takes the other alternatives of a moved variant for read.
    SqlPiece& Add(std::string_view text);
    SqlPiece& Add(const SqlPiece& other);
    SqlPiece& AddValue(SqlValue value);
};

/// Which folder, and which of its two lists.
struct MessageRows
{
    StorePtr store;
    std::int64_t folder = 0;
    bool associated = false;

    /// What is not stored: identity, parent, access; nothing for other identifiers.
    [[nodiscard]] std::optional<Prop> Computed(std::int64_t row, ULONG id) const;
    [[nodiscard]] static bool IsComputed(ULONG id);
    /// "m.folder = ? AND m.associated = ?"
    [[nodiscard]] SqlPiece Membership() const;
    /// Runs the statement.
    [[nodiscard]] Query Start(const SqlPiece& statement) const;
};

/// Reads the columns of a table from a statement.
class RowReader
{
public:
    /// @param first  the number of the first column of the statement that is the reader's
    RowReader(const MessageRows& rows, std::span<const ULONG> tags, int first);
    /// ", m.subject, …" for the list of results; alias m is the message.
    [[nodiscard]] const std::string& Select() const { return FSelect; }
    /// @param row  the row identifier of the message
    void Read(const Query& query, std::int64_t row, Props& values) const;

private:
    struct Place
    {
        ULONG tag;
        const MessageColumn* column; // null: in the packed list, or computed
        int index;
    };
    const MessageRows& FRows;
    std::vector<Place> FPlaces;
    std::string FSelect;
    int FBag = 0; // number of the column with the packed list, 0 when nothing is wanted from it
};

/// A restriction as a condition on alias m.
class MessageCondition
{
public:
    /// The index that finds the rows, best first.
    enum class Path
    {
        Row,       ///< an entry identifier, record key or instance key is given
        SearchKey, ///< messages_search_key
        Subject,   ///< messages_subject: a beginning or the whole is given
        Unread,    ///< messages_unread
        None
    };

    /// @param restriction  null: every row fits
    MessageCondition(const MessageRows& rows, std::shared_ptr<const Restriction> restriction);

    [[nodiscard]] bool IsEmpty() const { return !FRestriction; }
    [[nodiscard]] Path BestPath() const { return FPath; }
    /// " INDEXED BY …" for the best path, or nothing.
    [[nodiscard]] static std::string_view IndexOf(Path path);
    /// " AND …" the whole condition with what the index of the best path needs to see; or nothing.
    [[nodiscard]] const SqlPiece& Sql() const { return FSql; }

private:
    void FindPath(const Restriction& restriction);
    void Consider(Path path, std::string_view sql, std::vector<SqlValue> values);
    /// @param positive  where NULL counts as false
    [[nodiscard]] SqlPiece Compile(const Restriction& restriction, bool positive, int depth);
    [[nodiscard]] SqlPiece CallEvaluator(const Restriction& restriction);

    const MessageRows& FRows;
    std::shared_ptr<const Restriction> FRestriction;
    std::vector<std::unique_ptr<SqlCallable>> FCalls;
    SqlPiece FSql;
    SqlPiece FNarrowing;
    Path FPath = Path::None;
};

/// The packed properties of the message as an expression.
inline constexpr std::string_view BagExpression = "(SELECT props FROM bags WHERE message = m.id)";

} // namespace deftmapi::client
