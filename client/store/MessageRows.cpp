#include "client/store/MessageRows.hpp"

#include "client/store/StoreObjects.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace deftmapi::client
{
namespace
{

constexpr ULONG LongTermEntryId = 0x66700102;
constexpr ULONG RowType = 0x0FF50003;
/// Counts down from here: numbers that no folder has.
constexpr std::int64_t FirstInside = -1000;

/// Every identifier of ours ends with the row.
void PutIdentity(Bytes& id, std::int64_t row)
{
    std::memcpy(id.data() + id.size() - sizeof row, &row, sizeof row);
}

} // namespace

SqlPiece& SqlPiece::Add(std::string_view text)
{
    sql += text;
    return *this;
}

SqlPiece& SqlPiece::AddValue(SqlValue value)
{
    values.push_back(std::move(value));
    return *this;
}

SqlPiece& SqlPiece::Add(const SqlPiece& other)
{
    sql += other.sql;
    values.insert(values.end(), other.values.begin(), other.values.end());
    return *this;
}

bool MessageRows::IsComputed(ULONG id)
{
    const auto identity = IdentityTags();
    return id == 0 || id == tag::ParentEntryId >> 16 || id == tag::Access >> 16 || id == tag::AccessLevel >> 16 ||
           id == LongTermEntryId >> 16 || id == RowType >> 16 || id == tag::Depth >> 16 ||
           std::any_of(identity.begin(), identity.end(), [id](ULONG t) { return t >> 16 == id; });
}

bool MessageRows::IsIdentity(ULONG id) const
{
    if (!IsComputed(id))
        return false;
    const auto one = Computed(1, id);
    const auto two = Computed(2, id);
    return one && two && one->data != two->data;
}

std::optional<Prop> MessageRows::Computed(std::int64_t row, ULONG id) const
{
    switch (id) {
    case tag::ParentEntryId >> 16:
        return BinaryProp(tag::ParentEntryId, store->EntryIdOf(EntryKind::Folder, isSearch ? FolderOf(row) : folder));
    case LongTermEntryId >> 16:
        return BinaryProp(LongTermEntryId, store->EntryIdOf(EntryKind::Message, row));
    case tag::Access >> 16:
        return LongProp(tag::Access, mapi::MAPI_ACCESS_MODIFY | mapi::MAPI_ACCESS_READ | mapi::MAPI_ACCESS_DELETE);
    case tag::AccessLevel >> 16:
        return LongProp(tag::AccessLevel, mapi::MAPI_MODIFY);
    case RowType >> 16:
        return LongProp(RowType, mapi::TBL_LEAF_ROW);
    case tag::Depth >> 16:
        return LongProp(tag::Depth, 0);
    default:
        return IdentityProperty(*store, EntryKind::Message, row, id);
    }
}

bool MessageRows::IsUnread(std::int64_t row) const
{
    // Outside a call that reads of one piece nothing says whether what is remembered is still so.
    return state ? unread.IsUnread(store->Db(), {folder, associated}, row, state->changes)
                 : UnreadPages(store->Db()).IsUnread({folder, associated}, row);
}

std::int64_t MessageRows::FolderOf(std::int64_t row) const
{
    Query query = store->Db().Prepare("SELECT folder FROM messages WHERE id = ?1");
    return query.Bind(1, row).Step() ? query.Number(0) : 0;
}

SqlPiece MessageRows::Membership() const
{
    if (isSearch)
        return {"m.id IN (SELECT message FROM search_links WHERE search = ?)", {folder}};
    return {"m.folder = ? AND m.associated = ?", {folder, std::int64_t{associated}}};
}

Query MessageRows::StateQuery() const
{
    Query query =
        store->Db().Prepare("SELECT changes, content_count, associated_count, unread_count FROM folders WHERE id = ?1");
    query.Bind(1, folder);
    return query;
}

FolderState MessageRows::ReadState(Query& query) const
{
    static std::atomic<std::int64_t> inside = FirstInside;
    if (!query.Step())
        return {};
    // What a transaction has done may be taken back, and its numbers be given to something else.
    const std::int64_t changes = store->Db().InTransaction() ? inside-- : query.Number(0);
    return {changes, query.Number(associated ? 2 : 1), query.Number(3)};
}

FolderState MessageRows::State() const
{
    if (state)
        return *state;
    Query query = StateQuery();
    return ReadState(query);
}

Query MessageRows::Start(const SqlPiece& statement) const
{
    Query query = store->Db().Prepare(statement.sql);
    query.BindAll(statement.values);
    return query;
}

RowReader::RowReader(const MessageRows& rows, std::span<const ULONG> tags, int first, bool whole)
    : FRows(rows), FWhole(whole)
{
    bool bag = false;
    for (const ULONG tag : tags) {
        const ULONG id = tag >> 16;
        if (id == tag::MessageFlags >> 16 && !rows.isSearch) { // much faster than the expression
            FSelect.append(", m.flags");
            FPlaces.push_back({tag, Kind::Flags, nullptr, first++, {}});
        } else if (const MessageColumn* column = FindMessageColumn(id)) {
            FSelect.append(", ").append(ExpressionOf(*column));
            FPlaces.push_back({tag, Kind::Column, column, first++, {}});
        } else if (rows.isSearch && id == tag::ParentEntryId >> 16) {
            FSelect.append(", m.folder");
            FPlaces.push_back({tag, Kind::Parent, nullptr, first++, {}});
        } else if (!MessageRows::IsComputed(id)) {
            FPlaces.push_back({tag, Kind::Bag, nullptr, 0, {}});
            bag = true;
        } else {
            auto one = rows.Computed(1, id);
            const Kind kind = rows.IsIdentity(id) ? Kind::Identity : Kind::Constant;
            FPlaces.push_back({tag, kind, nullptr, 0, one ? std::move(*one) : ErrorProp(tag, mapi::MAPI_E_NOT_FOUND)});
        }
    }
    if (bag) {
        FBag = first;
        FSelect.append(", ").append(BagExpression);
    }
}

Props RowReader::ReadBag(std::span<const std::uint8_t> packed) const
{
    Props found(FPlaces.size());
    const auto wanted = [this](ULONG id) {
        return std::any_of(FPlaces.begin(), FPlaces.end(),
                           [id](const Place& place) { return place.kind == Kind::Bag && place.tag >> 16 == id; });
    };
    FRows.store->Unpack(packed, wanted, [&](const Prop& prop) {
        for (std::size_t i = 0; i < found.size(); ++i) {
            if (FPlaces[i].tag >> 16 == prop.Id())
                found[i] = prop;
        }
    });
    return found;
}

std::optional<Prop> RowReader::ReadWhole(std::int64_t row, ULONG tag) const
{
    Query bag = FRows.store->Db().Prepare(BagOfMessage);
    std::optional<Prop> whole;
    if (bag.Bind(1, row).Step())
        FRows.store->Unpack(
            bag.Blob(0), [tag](ULONG id) { return id == tag >> 16; }, [&whole](Prop prop) { whole = std::move(prop); });
    return whole;
}

void RowReader::PutColumn(const Query& query, std::int64_t row, std::size_t at, RowSink& sink) const
{
    const Place& place = FPlaces[at];
    const ULONG tag = place.column->tag;
    const auto missing = [&] { sink.Value(at, ErrorProp(place.tag, mapi::MAPI_E_NOT_FOUND)); };
    switch (tag & 0xFFFF) {
    case mapi::PT_UNICODE: {
        const auto text = query.Text(place.index);
        if (FWhole && text.size() >= WholeBytes) {
            if (auto value = ReadWhole(row, tag))
                return sink.Value(at, std::move(*value));
        }
        return text.data() ? sink.Text(at, tag, text) : missing();
    }
    case mapi::PT_BINARY: {
        const auto bytes = query.Blob(place.index);
        if (bytes.empty() && query.IsNull(place.index))
            return missing();
        if (bytes.empty()) { // really so, or too large for the column
            if (auto whole = ReadWhole(row, tag))
                return sink.Value(at, std::move(*whole));
        }
        return sink.Binary(at, tag, bytes);
    }
    default: {
        const std::int64_t number = query.Number(place.index);
        return number != 0 || !query.IsNull(place.index) ? sink.Number(at, tag, number) : missing();
    }
    }
}

void RowReader::Read(const Query& query, std::int64_t row, RowSink& sink)
{
    Props bag;
    if (FBag)
        bag = ReadBag(query.Blob(FBag));
    for (std::size_t i = 0; i < FPlaces.size(); ++i) {
        Place& place = FPlaces[i];
        switch (place.kind) {
        case Kind::Column:
            PutColumn(query, row, i, sink);
            break;
        case Kind::Flags: {
            const std::int64_t flags = query.Number(place.index);
            sink.Number(i, tag::MessageFlags, FRows.IsUnread(row) ? flags & ~std::int64_t{mapi::MSGFLAG_READ} : flags);
            break;
        }
        case Kind::Bag:
            sink.Value(i, bag[i].tag ? std::move(bag[i]) : ErrorProp(place.tag, mapi::MAPI_E_NOT_FOUND));
            break;
        case Kind::Parent:
            sink.Binary(i, tag::ParentEntryId, FRows.store->EntryIdOf(EntryKind::Folder, query.Number(place.index)));
            break;
        case Kind::Identity:
            PutIdentity(std::get<Bytes>(place.value.data), row);
            sink.Binary(i, place.value.tag, std::get<Bytes>(place.value.data));
            break;
        default:
            sink.Value(i, place.value);
        }
    }
    sink.EndRow();
}

} // namespace deftmapi::client
