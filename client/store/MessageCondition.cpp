// Restrictions as conditions of a statement. What compares a column with a number or a text becomes SQL, so that
// indexes are used; everything else calls the evaluator from inside the statement, with the columns it asks for and,
// where one of its properties has no column, the packed list.
#include "client/entry/Guard.hpp"
#include "client/store/MessageRows.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace deftmapi::client
{
namespace
{

using namespace mapi;

// Columns hold at least this many UTF-16 units of a text, so that comparing with a shorter one decides alike.
constexpr std::size_t WholeText = limits::TableText;
// SQL's own limits on nesting and on the depth of a tree are near; beyond these the evaluator takes the whole branch.
constexpr int SqlDepth = 12;
constexpr std::size_t SqlChildren = 200;
constexpr std::size_t SqlParts =
    400; // of the whole restriction: 1,000 are the levels of a statement, and each part of a chain is one
// Behind every text that begins with what precedes it.
constexpr WideView Last = u"\uFFFF\uFFFF\uFFFF\uFFFF";
constexpr std::size_t SearchKeySize = 256;

constexpr std::string_view Letters = "abcdefghijklmnopqrstuvwxyz_"; // of names of columns

constexpr std::array<const char*, 6> Operators = {"<", "<=", ">", ">=", "=", "<>"};

/// Where the texts end that begin with this one, in the order of the column.
std::string Behind(const WideString& text)
{
    // Comparing ASCII is much faster: the character behind the last one, if it has no other case.
    if (!text.empty() && text.back() < 0x7F) {
        WideString end = KwUpperCase(text);
        end.back() = end.back() == u'`' ? u'{' : static_cast<char16_t>(end.back() + 1);
        return PackText(end);
    }
    return PackText(WideString(text).append(Last));
}

/// The column that a restriction asks for; null when there is none of that type.
const MessageColumn* ColumnAsked(const Restriction& restriction)
{
    const MessageColumn* column = FindMessageColumn(restriction.Tag() >> 16);
    return column && IsOfType(column->tag, restriction.Tag()) ? column : nullptr;
}

/// No literal: SQLite drops a condition that it knows to be false, and with it what the index in the statement needs.
SqlPiece Constant(bool value)
{
    return {value ? "+m.folder > 0" : "+m.folder < 0", {}};
}

std::vector<PropertyBag> RecipientRows(const MessageRows& rows, std::int64_t message)
{
    std::vector<PropertyBag> result;
    Query query = rows.store->Db().Prepare("SELECT recipients FROM bags WHERE message = ?1");
    if (!query.Bind(1, message).Step())
        return result;
    for (Recipient& recipient : UnpackRecipients(query.Blob(0)))
        result.push_back(recipient.Shown());
    return result;
}

std::vector<PropertyBag> AttachmentRows(const MessageRows& rows, std::int64_t message)
{
    std::vector<PropertyBag> result;
    Query query = rows.store->Db().Prepare("SELECT num, props FROM attachments WHERE message = ?1 ORDER BY num");
    query.Bind(1, message);
    while (query.Step()) {
        AttachmentState attachment;
        attachment.num = static_cast<ULONG>(query.Number(0));
        rows.store->Unpack(query.Blob(1), attachment.props);
        result.push_back(attachment.Shown());
    }
    return result;
}

Prop ColumnValue(const MessageColumn& column, const SqlArguments& arguments, int index)
{
    switch (column.tag & 0xFFFF) {
    case PT_UNICODE:
        return TextProp(column.tag, UnpackText(arguments.Text(index)));
    case PT_BINARY: {
        const auto bytes = arguments.Blob(index);
        return BinaryProp(column.tag, Bytes(bytes.begin(), bytes.end()));
    }
    default:
        return LongProp(column.tag, arguments.Number(index));
    }
}

/// A value that is damaged, or whose row another user has taken away.
bool TellsOfDamage(const Failure& failure)
{
    return failure.Code() == MAPI_E_CORRUPT_DATA || failure.Code() == MAPI_E_CORRUPT_STORE ||
           failure.Code() == MAPI_E_OBJECT_CHANGED;
}

/// Decides on a row. Where damage is tolerated it leaves no result, which is NULL: neither this nor the opposite.
template <typename Decision>
void Decide(const MessageRows& rows, Decision decision)
{
    try {
        decision();
    } catch (const Failure& failure) {
        if (!rows.tolerant || !TellsOfDamage(failure))
            throw;
    }
}

/// deft_call(this, row, packed list or NULL, columns…): whether the row fits.
class Evaluator final : public SqlCallable
{
public:
    Evaluator(const MessageRows& rows, const Restriction& restriction) : FRows(rows), FRestriction(restriction)
    {
        std::set<ULONG> tags;
        restriction.CollectTags(tags);
        int next = 2;
        for (const ULONG tag : tags) {
            const MessageColumn* column = FindMessageColumn(tag >> 16);
            FPlaces.push_back({tag, column, column ? next++ : 0});
        }
    }

    struct Place
    {
        ULONG tag;
        const MessageColumn* column;
        int argument;
    };
    [[nodiscard]] const std::vector<Place>& Places() const { return FPlaces; }

    void Call(const SqlArguments& arguments, const SqlResult& result) const override
    {
        Decide(FRows, [&] { result.Set(std::int64_t{Fits(arguments)}); });
    }

private:
    [[nodiscard]] bool Fits(const SqlArguments& arguments) const
    {
        const std::int64_t row = arguments.Number(0);
        PropertyBag bag;
        if (!arguments.IsNull(1)) {
            const auto wanted = [this](ULONG id) {
                return std::any_of(FPlaces.begin(), FPlaces.end(),
                                   [id](const Place& place) { return place.tag >> 16 == id; });
            };
            FRows.store->Unpack(arguments.Blob(1), wanted, [&](Prop prop) { bag.Set(std::move(prop)); });
        }
        Props values;
        for (const Place& place : FPlaces) {
            const ULONG id = place.tag >> 16;
            if (const Prop* stored = bag.Find(id)) // before the column: what was cut there is whole here
                values.push_back(*stored);
            else if (place.column && !arguments.IsNull(place.argument))
                values.push_back(ColumnValue(*place.column, arguments, place.argument));
            else if (auto computed = place.column ? std::nullopt : FRows.Computed(row, id))
                values.push_back(std::move(*computed));
            else
                values.push_back(ErrorProp(place.tag, MAPI_E_NOT_FOUND));
        }
        const auto lookup = [&](ULONG tag) -> const Prop& {
            std::size_t at = 0;
            while (FPlaces[at].tag != tag)
                ++at;
            return values[at];
        };
        const auto subRows = [&](ULONG tag) { return FRows.SubRows(row, tag); };
        return FRestriction.Matches(lookup, subRows);
    }

    const MessageRows& FRows;
    const Restriction& FRestriction;
    std::vector<Place> FPlaces;
};

/// deft_call(this, text): whether a text column fits, NULL when it may have been cut. Searches look at every row: this
/// is all that they do for nearly all of them.
class TextSearch final : public SqlCallable
{
public:
    TextSearch(const MessageRows& rows, const Restriction& restriction) : FRows(rows), FRestriction(restriction) {}

    /// The column when the restriction looks for a text in one, else null.
    [[nodiscard]] static const MessageColumn* ColumnOf(const Restriction& restriction)
    {
        const MessageColumn* column = ColumnAsked(restriction);
        const bool fits = restriction.Kind() == RES_CONTENT && column && (column->tag & 0xFFFF) == PT_UNICODE &&
                          restriction.Value().Type() == PT_UNICODE;
        return fits ? column : nullptr;
    }

    void Call(const SqlArguments& arguments, const SqlResult& result) const override
    {
        const std::string_view text = arguments.Text(0);
        if (text.size() >= WholeBytes)
            return;
        // The evaluator says the same of what is damaged.
        Decide(FRows, [&] { result.Set(std::int64_t{text.data() && FRestriction.MatchesPackedText(text)}); });
    }

private:
    const MessageRows& FRows;
    const Restriction& FRestriction;
};

bool AsksForReadFlag(const Restriction& restriction)
{
    const MessageColumn* column = ColumnAsked(restriction);
    return restriction.Kind() == RES_BITMASK && column && column->tag == tag::MessageFlags &&
           restriction.Number() == MSGFLAG_READ;
}

/// deft_call(this, row): whether a message of the folder is unread. What has been asked once is remembered: a search
/// for unread messages by time looks at many rows for each that it shows.
class UnreadTest final : public SqlCallable
{
public:
    explicit UnreadTest(const MessageRows& rows) : FRows(rows) {}

    void Call(const SqlArguments& arguments, const SqlResult& result) const override
    {
        Decide(FRows, [&] { result.Set(std::int64_t{FRows.IsUnread(arguments.Number(0))}); });
    }

private:
    const MessageRows& FRows;
};

bool IsShortText(const Prop& value)
{
    const auto* text = std::get_if<WideString>(&value.data);
    return text && text->size() < WholeText;
}

/// RES_PROPERTY on a column as SQL; nothing when SQL would not decide as the evaluator does.
std::optional<SqlPiece> CompareColumn(const MessageColumn& column, const Restriction& restriction)
{
    const Prop& value = restriction.Value();
    if (value.Type() != (column.tag & 0xFFFF))
        return Constant(false);
    const std::string name = ExpressionOf(column);
    const std::string op = std::string(" ") + Operators[restriction.Operator()] + " ?";
    if (const auto* number = std::get_if<std::int64_t>(&value.data))
        return SqlPiece{name + op, {*number}};
    if (IsShortText(value))
        return SqlPiece{name + " COLLATE deft_fold" + op, {PackText(std::get<WideString>(value.data))}};
    const auto* bytes = std::get_if<Bytes>(&value.data);
    if (bytes && !bytes->empty() && restriction.Operator() == RELOP_EQ) // columns are empty for what they cannot hold
        return bytes->size() <= SearchKeySize ? std::optional(SqlPiece{name + op, {*bytes}}) : std::nullopt;
    return std::nullopt;
}

/// Restrictions on one column that SQL decides as the evaluator does.
std::optional<SqlPiece> ColumnCondition(const Restriction& restriction)
{
    const MessageColumn* column = ColumnAsked(restriction);
    if (!column)
        return std::nullopt;
    const std::string name = ExpressionOf(*column);
    const ULONG type = column->tag & 0xFFFF;
    switch (restriction.Kind()) {
    case RES_EXIST:
        return SqlPiece{name + " IS NOT NULL", {}};
    case RES_BITMASK:
        if (type == PT_UNICODE || type == PT_BINARY)
            return Constant(false);
        if (AsksForReadFlag(restriction)) // needs no column of the message
            return SqlPiece{UnreadExpression + std::string(restriction.Operator() == BMR_NEZ ? " = 0" : " = 1"), {}};
        return SqlPiece{"(" + name + " & ?)" + (restriction.Operator() == BMR_NEZ ? " <> 0" : " = 0"),
                        {std::int64_t{restriction.Number()}}};
    case RES_PROPERTY:
        return CompareColumn(*column, restriction);
    case RES_CONTENT:
        if (type != restriction.Value().Type())
            return Constant(false);
        if (restriction.Operator() == (FL_FULLSTRING | FL_IGNORECASE) && IsShortText(restriction.Value()))
            return SqlPiece{name + " COLLATE deft_fold = ?",
                            {PackText(std::get<WideString>(restriction.Value().data))}};
        if (restriction.Operator() == (FL_PREFIX | FL_IGNORECASE) && IsShortText(restriction.Value())) {
            const auto& text = std::get<WideString>(restriction.Value().data);
            return SqlPiece{"(" + name + " COLLATE deft_fold >= ? AND " + name + " COLLATE deft_fold < ?)",
                            {PackText(text), Behind(text)}};
        }
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

/// What a restriction asks for whose operators have one part each.
const Restriction& OnlyPart(const Restriction& restriction)
{
    const ULONG kind = restriction.Kind();
    const bool passes = kind == RES_AND || kind == RES_OR || kind == RES_COMMENT;
    return passes && restriction.Children().size() == 1 ? OnlyPart(restriction.Children().front()) : restriction;
}

/// The row that an identifying property names, 0 when it names none.
std::int64_t RowNamed(const MessageRows& rows, const Restriction& restriction)
{
    const auto* bytes = std::get_if<Bytes>(&restriction.Value().data);
    if (restriction.Kind() != RES_PROPERTY || restriction.Operator() != RELOP_EQ || !bytes ||
        restriction.Value().Type() != PT_BINARY || bytes->size() < sizeof(std::int64_t) ||
        !MessageRows::IsComputed(restriction.Tag() >> 16))
        return 0;
    // Every identifier of ours ends with the row.
    std::int64_t row = 0;
    std::memcpy(&row, bytes->data() + bytes->size() - sizeof row, sizeof row);
    const auto computed = rows.Computed(row, restriction.Tag() >> 16);
    if (row <= 0 || !computed || !IsOfType(computed->tag, restriction.Tag()) ||
        computed->data != restriction.Value().data)
        return 0;
    // What is the same for every row (the parent's identifier, the store's) names none of them.
    const auto other = rows.Computed(row == 1 ? 2 : 1, restriction.Tag() >> 16);
    return other && other->data != computed->data ? row : 0;
}

} // namespace

std::vector<PropertyBag> MessageRows::SubRows(std::int64_t row, ULONG tag) const
{
    return tag == tag::MessageRecipients ? RecipientRows(*this, row) : AttachmentRows(*this, row);
}

MessageCondition::MessageCondition(const MessageRows& rows, std::shared_ptr<const Restriction> restriction)
    : FRows(rows), FRestriction(std::move(restriction))
{
    if (!FRestriction)
        return;
    if (!FRows.isSearch) // the indexes are by folder, and the rows of a search lie in many
        FindPath(*FRestriction);
    Compose();
}

void MessageCondition::Compose()
{
    const auto compile = [this] {
        FBudget = SqlParts;
        SqlPiece piece;
        if (FExact != FRestriction.get())
            piece.Add(" AND (").Add(Compile(*FRestriction, true, 0)).Add(")");
        return piece;
    };
    FCalls.clear();
    FSql = FNarrowing;
    const Restriction* exact = std::exchange(FExact, nullptr);
    FSqlOfRow = compile();
    FExact = exact;
    FSql.Add(FExact ? compile() : FSqlOfRow);
}

void MessageCondition::TakePartIfFew()
{
    if (!MayBeFew())
        return;
    if (FPart && FPart->IsFew()) {
        FPath = Path::Part;
        FNarrowing = {" AND m.id IN (SELECT value FROM json_each(deft_call(?)))", {FPart.get()}};
    } else if (FUnread && FUnread->IsFew()) {
        FPath = Path::Unread;
        FExact = &FUnread->Asked();
        FNarrowing = {" AND m.id IN (SELECT value FROM json_each(deft_call(?)))", {FUnread.get()}};
    } else {
        return;
    }
    Compose();
}

std::optional<std::int64_t> MessageCondition::CountParts() const
{
    if (FUnread && &OnlyPart(*FRestriction) == &FUnread->Asked())
        return FUnread->Count();
    if (!FPart || &OnlyPart(*FRestriction) != &FPart->Asked())
        return std::nullopt;
    const auto tally = FPart->Count();
    if (!tally || tally->doubtful.empty())
        return tally ? std::optional(tally->sure) : std::nullopt;
    SqlPiece statement{"SELECT count(*) FROM ", {}};
    statement.Add(source::ByRow).Add(" WHERE ").Add(FRows.Membership());
    statement.Add(" AND m.id IN (SELECT value FROM json_each(?))").AddValue(ListOf(tally->doubtful)).Add(FSqlOfRow);
    Query query = FRows.Start(statement);
    return query.Step() ? tally->sure + query.Number(0) : tally->sure;
}

std::string_view MessageCondition::Source() const
{
    switch (FPath) {
    case Path::Subject:
        return source::BySubject;
    case Path::None:
        return FRows.isSearch ? source::ByRow : source::ByFolder;
    default:
        return source::ByRow;
    }
}

bool MessageCondition::AsksOnlyFor(std::string_view column) const
{
    // The statement itself says it: what it compares with is bound, so that "m." is nothing but the alias.
    const std::string_view sql = FSql.sql;
    for (std::size_t at = sql.find("m."); at != std::string_view::npos; at = sql.find("m.", at)) {
        at += 2;
        const std::string_view name = sql.substr(at, sql.find_first_not_of(Letters, at) - at);
        if (name != column && name != "subject_key" && name != "id" && name != "folder" && name != "associated")
            return false;
    }
    return true;
}

std::string_view MessageCondition::CountingSource() const
{
    const bool isFree = FPath == Path::None && FRestriction && !FRows.isSearch;
    if (isFree && AsksOnlyFor("")) // what is looked up for each row lies in their order
        return source::ByFolder;
    if ((isFree || FPath == Path::Subject) && AsksOnlyFor("subject"))
        return source::SubjectAlone;
    return isFree && AsksOnlyFor("delivery_time") ? source::ByDelivery : Source();
}

void MessageCondition::Consider(Path path, std::string_view sql, std::vector<SqlValue> values, const Restriction* exact)
{
    if (path >= FPath)
        return;
    FPath = path;
    FExact = exact;
    FNarrowing = {" AND " + std::string(sql), std::move(values)};
}

void MessageCondition::FindPath(const Restriction& restriction)
{
    const ULONG id = restriction.Tag() >> 16;
    switch (restriction.Kind()) {
    case RES_AND:
    case RES_COMMENT:
        for (const Restriction& child : restriction.Children())
            FindPath(child);
        return;
    default:
        break;
    }
    if (FindMessageColumn(id) && !ColumnAsked(restriction))
        return;
    switch (restriction.Kind()) {
    case RES_BITMASK:
        if (auto unread = UnreadPart::Of(FRows, restriction))
            FUnread = std::move(unread);
        return;
    case RES_PROPERTY:
        if (const std::int64_t row = RowNamed(FRows, restriction)) {
            Consider(Path::Row, "m.id = ?", {row}, &restriction);
        } else if (id == tag::SearchKey >> 16 && restriction.Operator() == RELOP_EQ) {
            const auto* bytes = std::get_if<Bytes>(&restriction.Value().data);
            if (bytes && restriction.Value().Type() == PT_BINARY && !bytes->empty() && bytes->size() <= SearchKeySize)
                Consider(Path::SearchKey, "m.id IN (SELECT id FROM search_keys WHERE search_key = ?)", {*bytes},
                         &restriction);
        }
        break;
    case RES_CONTENT:
        if (auto part = SubjectPart::Of(FRows, restriction); part && (!FPart || part->Size() > FPart->Size()))
            FPart = std::move(part);
        break;
    default:
        return;
    }
    if (id != tag::Subject >> 16 || !IsShortText(restriction.Value()))
        return;
    const auto& text = std::get<WideString>(restriction.Value().data);
    const bool whole = restriction.Kind() == RES_PROPERTY ? restriction.Operator() == RELOP_EQ
                                                          : (restriction.Operator() & ~FL_IGNORECASE) == FL_FULLSTRING;
    const bool beginning =
        restriction.Kind() == RES_CONTENT && (restriction.Operator() & ~FL_IGNORECASE) == FL_PREFIX && !text.empty();
    const Restriction* exact =
        restriction.Kind() == RES_PROPERTY || restriction.Operator() & FL_IGNORECASE ? &restriction : nullptr;
    if (whole)
        Consider(Path::Subject, "m.subject_key = ?", {PackText(text)}, exact);
    else if (beginning)
        Consider(Path::Subject, "m.subject_key >= ? AND m.subject_key < ?", {PackText(text), Behind(text)}, exact);
}

SqlPiece MessageCondition::CallEvaluator(const Restriction& restriction)
{
    auto evaluator = std::make_unique<Evaluator>(FRows, restriction);
    SqlPiece piece;
    bool wholeBag = false;
    std::string cut;
    std::string columns;
    for (const auto& place : evaluator->Places()) {
        if (!place.column) {
            wholeBag = wholeBag || !MessageRows::IsComputed(place.tag >> 16);
            continue;
        }
        const std::string name = ExpressionOf(*place.column);
        columns.append(", ").append(name);
        const ULONG type = place.column->tag & 0xFFFF;
        if (type == PT_UNICODE)
            cut.append(cut.empty() ? "" : " OR ")
                .append("length(CAST(") // of text SQL counts the characters before a NUL
                .append(name)
                .append(" AS BLOB)) >= ")
                .append(std::to_string(WholeBytes));
        else if (type == PT_BINARY)
            cut.append(cut.empty() ? "" : " OR ").append("length(").append(name).append(") = 0");
    }
    std::string bag = "NULL";
    if (wholeBag)
        bag = BagExpression;
    else if (!cut.empty())
        bag = "CASE WHEN " + cut + " THEN " + std::string(BagExpression) + " END";
    const MessageColumn* column = TextSearch::ColumnOf(restriction);
    if (column) {
        FCalls.push_back(std::make_unique<TextSearch>(FRows, restriction));
        piece.Add("ifnull(deft_call(?, m.").Add(column->name).Add("), ").AddValue(FCalls.back().get());
    }
    piece.Add("deft_call(?, m.id, ").Add(bag).Add(columns).Add(column ? "))" : ")").AddValue(evaluator.get());
    FCalls.push_back(std::move(evaluator));
    return piece;
}

SqlPiece MessageCondition::Compile(const Restriction& restriction, bool positive, int depth)
{
    if (&restriction == FExact)
        return Constant(true);
    const auto& children = restriction.Children();
    switch (restriction.Kind()) {
    case RES_AND:
    case RES_OR: {
        const bool isAnd = restriction.Kind() == RES_AND;
        if (children.empty())
            return Constant(isAnd);
        if (depth >= SqlDepth || children.size() > std::min(SqlChildren, FBudget))
            return CallEvaluator(restriction);
        FBudget -= children.size();
        SqlPiece piece;
        for (const Restriction& child : children)
            piece.Add(piece.sql.empty() ? "(" : (isAnd ? " AND " : " OR ")).Add(Compile(child, positive, depth + 1));
        return piece.Add(")");
    }
    case RES_NOT:
        if (depth >= SqlDepth)
            return CallEvaluator(restriction);
        return SqlPiece{"NOT ", {}}.Add(Compile(children.front(), false, depth + 1));
    case RES_COMMENT:
        return children.empty() ? Constant(true) : Compile(children.front(), positive, depth);
    default:
        break;
    }
    if (!FRows.isSearch && AsksForReadFlag(restriction)) {
        FCalls.push_back(std::make_unique<UnreadTest>(FRows));
        SqlPiece piece{"deft_call(?, m.id) = ", {FCalls.back().get()}};
        return piece.Add(restriction.Operator() == BMR_NEZ ? "0" : "1");
    }
    if (auto piece = ColumnCondition(restriction))
        return positive ? *piece : SqlPiece{"ifnull(", {}}.Add(*piece).Add(", 0)");
    return CallEvaluator(restriction);
}

} // namespace deftmapi::client
