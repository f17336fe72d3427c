#include "client/store/MessageRows.hpp"

#include "client/store/StoreObjects.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr ULONG LongTermEntryId = 0x66700102;
constexpr ULONG RowType = 0x0FF50003;

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

std::optional<Prop> MessageRows::Computed(std::int64_t row, ULONG id) const
{
    switch (id) {
    case tag::ParentEntryId >> 16:
        return BinaryProp(tag::ParentEntryId, store->EntryIdOf(EntryKind::Folder, folder));
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

SqlPiece MessageRows::Membership() const
{
    return {"m.folder = ? AND m.associated = ?", {folder, std::int64_t{associated}}};
}

Query MessageRows::Start(const SqlPiece& statement) const
{
    Query query = store->Db().Prepare(statement.sql);
    query.BindAll(statement.values);
    return query;
}

RowReader::RowReader(const MessageRows& rows, std::span<const ULONG> tags, int first) : FRows(rows)
{
    bool bag = false;
    for (const ULONG tag : tags) {
        const MessageColumn* column = FindMessageColumn(tag >> 16);
        FPlaces.push_back({tag, column, column ? first++ : 0});
        if (column)
            FSelect.append(", m.").append(column->name);
        else
            bag = bag || !MessageRows::IsComputed(tag >> 16);
    }
    if (bag) {
        FBag = first;
        FSelect.append(", ").append(BagExpression);
    }
}

void RowReader::Read(const Query& query, std::int64_t row, Props& values) const
{
    PropertyBag bag;
    if (FBag) {
        const auto wanted = [this](ULONG id) {
            return std::any_of(FPlaces.begin(), FPlaces.end(),
                               [id](const Place& place) { return !place.column && place.tag >> 16 == id; });
        };
        FRows.store->Unpack(query.Blob(FBag), wanted, [&](Prop prop) { bag.Set(std::move(prop)); });
    }
    values.clear();
    for (const Place& place : FPlaces) {
        std::optional<Prop> value;
        if (place.column)
            value = ReadColumn(query, place.index, *place.column);
        else if (const Prop* stored = bag.Find(place.tag >> 16))
            value = *stored;
        else
            value = FRows.Computed(row, place.tag >> 16);
        values.push_back(value ? std::move(*value) : ErrorProp(place.tag, mapi::MAPI_E_NOT_FOUND));
    }
}

} // namespace deftmapi::client
