// The messages of one folder as rows: which column of a statement holds which property, what is computed, and how a
// restriction becomes a condition of a statement.
#pragma once

#include "client/store/MessageRecords.hpp"
#include "client/store/SubjectPart.hpp"
#include "client/store/UnreadPart.hpp"
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
    std::int64_t unread = 0; ///< of the ordinary messages
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
    mutable UnreadLookup unread = {};

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
    /// Whether a message is unread. REQUIRES: not isSearch
    [[nodiscard]] bool IsUnread(std::int64_t row) const;
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
        Flags,    // the column, and unread apart from it
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
    /// What finds the rows, best first.
    enum class Path
    {
        Row,       ///< an entry identifier, record key or instance key is given
        SearchKey, ///< search_keys
        Subject,   ///< subjects: a beginning or the whole is given
        Part,      ///< subject_pages: few subjects contain what is given
        Unread,    ///< unread_pages: few messages are unread
        None
    };

    /// @param restriction  null: every row fits
    MessageCondition(const MessageRows& rows, std::shared_ptr<const Restriction> restriction);

    [[nodiscard]] bool IsEmpty() const { return !FRestriction; }
    [[nodiscard]] Path BestPath() const { return FPath; }
    /// What stands behind FROM for the best path: alias m and what gives the rows that it finds, or all of them.
    [[nodiscard]] std::string_view Source() const;
    /// The same for a statement that counts the rows or takes their keys, in any order: it need not look at the
    /// messages themselves when all that the condition asks for is in the index.
    [[nodiscard]] std::string_view CountingSource() const;
    /// Whether Sql() asks for no other column of the messages than this one and what tells them and their list.
    [[nodiscard]] bool AsksOnlyFor(std::string_view column) const;
    /// " AND …" the whole condition, for Source and, when the path is none, every other source; or nothing.
    [[nodiscard]] const SqlPiece& Sql() const { return FSql; }
    /// The same for every source of messages: nothing has to find the row.
    [[nodiscard]] const SqlPiece& SqlOfRow() const { return FSqlOfRow; }

    /// Whether the rows may be few, though not even the first of them is known where they are: a part of the subject
    /// is asked for, or unread messages.
    [[nodiscard]] bool MayBeFew() const { return FPath == Path::None && (FPart || FUnread); }
    /// Counts what is asked for there; when it is little, it becomes the best path. Else there is nothing to do.
    void TakePartIfFew();
    /// The number of rows that fit, when the packed subjects or the unread messages tell it all.
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
    SqlPiece FSqlOfRow;
    SqlPiece FNarrowing;
    Path FPath = Path::None;
    const Restriction* FExact = nullptr;
    std::unique_ptr<SubjectPart> FPart;
    std::unique_ptr<UnreadPart> FUnread;
    std::size_t FBudget = 0; // parts that may still become SQL
};

/// Sources of alias m. The last two give the messages of a folder in the order of their subjects and have column
/// subject_key, which they are sorted by; SubjectAlone has no other columns than it, subject and what all places are
/// told by, and looks at no message.
namespace source
{
inline constexpr std::string_view ByRow = "messages m NOT INDEXED";
inline constexpr std::string_view ByFolder = "messages m INDEXED BY messages_folder";
inline constexpr std::string_view ByDelivery = "messages m INDEXED BY messages_delivery";
inline constexpr std::string_view BySubject = "messages_by_subject m";
inline constexpr std::string_view SubjectAlone =
    "(SELECT id, folder, associated, subject AS subject_key, iif(typeof(subject) = 'text', subject, NULL) AS subject "
    "FROM subjects) m";
} // namespace source

/// A text of fewer bytes was not cut for its column: it was, then it has at least one byte for each of 254 units.
inline constexpr std::size_t WholeBytes = 254;

/// The packed properties of a message, and the same of alias m as an expression.
inline constexpr auto BagOfMessage = "SELECT props FROM bags WHERE message = ?1";
inline constexpr std::string_view BagExpression = "(SELECT props FROM bags WHERE message = m.id)";

} // namespace deftmapi::client
