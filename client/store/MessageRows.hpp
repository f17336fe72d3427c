// The messages of one folder as rows: which column of a statement holds which property, what is computed, and how a
// restriction becomes a condition of a statement.
#pragma once

#include "client/store/MessageRecords.hpp"
#include "client/store/SubjectPart.hpp"
#include "client/table/Restriction.hpp"
#include "client/table/RowSource.hpp"

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

/// Counters of a folder.
struct FolderState
{
    /// Another number after any change of its messages, and at each look inside a transaction (negative);
    /// -1: the folder is gone.
    std::int64_t changes = -1;
    std::int64_t rows = 0;
};

/// Which folder, and which of its two lists.
struct MessageRows
{
    StorePtr store;
    std::int64_t folder = 0;
    bool associated = false;
    bool isSearch = false;                 ///< the messages are those that a search folder shows
    std::optional<FolderState> state = {}; ///< of the snapshot in which a call reads, while there is one
    bool tolerant = false; ///< a row of which a condition cannot read what it asks for does not fit; else that fails

    /// A statement whose first row is the state.
    [[nodiscard]] Query StateQuery() const;
    [[nodiscard]] FolderState ReadState(Query& query) const;
    /// The state, read when it is not known.
    [[nodiscard]] FolderState State() const;

    /// What is not stored: identity, parent, access; nothing for other identifiers.
    [[nodiscard]] std::optional<Prop> Computed(std::int64_t row, ULONG id) const;
    [[nodiscard]] static bool IsComputed(ULONG id);
    /// Computed, of every row another value, in the order of the rows' identifiers.
    [[nodiscard]] bool IsIdentity(ULONG id) const;
    /// The folder in which a message lies.
    [[nodiscard]] std::int64_t FolderOf(std::int64_t row) const;
    /// The recipients or attachments of a message, as a restriction on them asks.
    [[nodiscard]] std::vector<PropertyBag> SubRows(std::int64_t row, ULONG tag) const;
    /// "m.folder = ? AND m.associated = ?", or that the search folder shows the message
    [[nodiscard]] SqlPiece Membership() const;
    /// Runs the statement.
    [[nodiscard]] Query Start(const SqlPiece& statement) const;
};

/// Reads the columns of a table from a statement.
class RowReader
{
public:
    /// @param first  the number of the first column of the statement that is the reader's
    /// @param whole  texts that were cut for their columns are read whole, for who decides on them
    RowReader(const MessageRows& rows, std::span<const ULONG> tags, int first, bool whole = false);
    /// ", m.subject, …" for the list of results; alias m is the message.
    [[nodiscard]] const std::string& Select() const { return FSelect; }
    /// @param row  the row identifier of the message
    void Read(const Query& query, std::int64_t row, RowSink& sink);

private:
    enum class Kind
    {
        Column,
        Bag,      // in the packed list
        Constant, // computed, the same for all rows
        Identity, // computed: constant bytes and then the row
        Parent    // computed from the message's folder
    };
    struct Place
    {
        ULONG tag;
        Kind kind;
        const MessageColumn* column;
        int index;
        Prop value; // of computed ones
    };
    void PutColumn(const Query& query, std::int64_t row, std::size_t at, RowSink& sink) const;
    /// What the packed list has of a property whose column did not take it.
    [[nodiscard]] std::optional<Prop> ReadWhole(std::int64_t row, ULONG tag) const;
    /// What the packed list has, place by place; tag 0 where it has nothing.
    [[nodiscard]] Props ReadBag(std::span<const std::uint8_t> packed) const;

    const MessageRows& FRows;
    std::vector<Place> FPlaces;
    std::string FSelect;
    int FBag = 0; // number of the column with the packed list, 0 when nothing is wanted from it
    bool FWhole;
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
        Part,      ///< subject_pages: few subjects contain what is given
        Unread,    ///< messages_unread
        None
    };

    /// @param restriction  null: every row fits
    MessageCondition(const MessageRows& rows, std::shared_ptr<const Restriction> restriction);

    [[nodiscard]] bool IsEmpty() const { return !FRestriction; }
    [[nodiscard]] Path BestPath() const { return FPath; }
    /// " INDEXED BY …" for the best path, or nothing.
    [[nodiscard]] static std::string_view IndexOf(Path path);
    /// " INDEXED BY …" for a statement that counts the rows in any order: it need not look at the messages themselves
    /// when all that the condition asks for is in the index. Or nothing.
    [[nodiscard]] std::string_view CountingIndex() const;
    /// " AND …" the whole condition with what the index of the best path needs to see; or nothing.
    [[nodiscard]] const SqlPiece& Sql() const { return FSql; }
    /// The same for a statement that has its row: nothing has to find it.
    [[nodiscard]] const SqlPiece& SqlOfRow() const { return FPath == Path::Part ? FSqlOfRow : FSql; }

    /// Whether a part of the subject is asked for and nothing better than the index of unread messages finds the rows.
    [[nodiscard]] bool AsksForPart() const { return FPart && FPath >= Path::Unread; }
    /// Looks how many subjects contain that part; when they are few, they become the best path.
    /// REQUIRES: AsksForPart()
    void TakePartIfFew();
    /// The number of rows that fit, when the subjects in upper case tell it all.
    [[nodiscard]] std::optional<std::int64_t> CountParts() const;

private:
    void Compose();
    void FindPath(const Restriction& restriction);
    /// @param exact  the restriction, when the statement with the index decides it whole
    void Consider(Path path, std::string_view sql, std::vector<SqlValue> values, const Restriction* exact);
    /// @param positive  where NULL counts as false
    [[nodiscard]] SqlPiece Compile(const Restriction& restriction, bool positive, int depth);
    [[nodiscard]] SqlPiece CallEvaluator(const Restriction& restriction);

    const MessageRows& FRows;
    std::shared_ptr<const Restriction> FRestriction;
    std::vector<std::unique_ptr<SqlCallable>> FCalls;
    SqlPiece FSql;
    SqlPiece FSqlOfRow; // without the narrowing
    SqlPiece FNarrowing;
    Path FPath = Path::None;
    const Restriction* FExact = nullptr;
    std::unique_ptr<SubjectPart> FPart;
    std::size_t FBudget = 0; // parts that may still become SQL
};

/// A text of fewer bytes was not cut for its column: it was, then it has at least one byte for each of 254 units.
inline constexpr std::size_t WholeBytes = 254;

/// The packed properties of a message, and the same of alias m as an expression.
inline constexpr auto BagOfMessage = "SELECT props FROM bags WHERE message = ?1";
inline constexpr std::string_view BagExpression = "(SELECT props FROM bags WHERE message = m.id)";

} // namespace deftmapi::client
