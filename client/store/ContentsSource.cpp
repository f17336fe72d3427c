// Rows of a contents table. What has a column is read from the column; the packed lists are read only when a property
// is asked for that has none.
#include "client/notify/LiveRows.hpp"
#include "client/store/MessageRecords.hpp"
#include "client/store/StoreObjects.hpp"
#include "client/table/Table.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr ULONG LongTermEntryId = 0x66700102;
constexpr ULONG RowType = 0x0FF50003;

const std::vector<ULONG> DefaultTags = {
    tag::EntryId,          tag::InstanceKey,      tag::RecordKey,         tag::ParentEntryId,    tag::ObjectType,
    tag::MessageClass,     tag::Subject,          tag::NormalizedSubject, tag::SenderName,       tag::SentRepName,
    tag::DisplayTo,        tag::DisplayCc,        tag::DisplayBcc,        tag::ClientSubmitTime, tag::DeliveryTime,
    tag::CreationTime,     tag::LastModification, tag::MessageFlags,      tag::MessageStatus,    tag::MessageSize,
    tag::Importance,       tag::Priority,         tag::Sensitivity,       tag::HasAttach,        tag::SearchKey,
    tag::MappingSignature, tag::StoreEntryId,     tag::StoreRecordKey};

class ContentsSource final : public RowSource, public LiveRows
{
public:
    ContentsSource(StorePtr store, std::int64_t folder, bool associated)
        : FStore(std::move(store)), FFolder(folder), FAssociated(associated)
    {}

    std::recursive_mutex& Lock() override { return FStore->Lock(); }

    std::int64_t Stamp(bool membershipOnly) override
    {
        Query query = FStore->Db().Prepare("SELECT membership, changes FROM folders WHERE id = ?1");
        return query.Bind(1, FFolder).Step() ? query.Number(membershipOnly ? 0 : 1) : -1;
    }

    std::vector<ULONG> DefaultColumns() override { return DefaultTags; }

    std::vector<ULONG> AllColumns() override
    {
        std::vector<ULONG> tags = DefaultTags;
        for (const auto& column : MessageColumns()) {
            if (std::find(tags.begin(), tags.end(), column.tag) == tags.end())
                tags.push_back(column.tag);
        }
        return tags;
    }

    void Scan(std::span<const ULONG> tags, const Visit& visit) override
    {
        const Plan plan(tags);
        Query query = FStore->Db().Prepare(plan.select + " WHERE m.folder = ?1 AND m.associated = ?2 ORDER BY m.id");
        query.Bind(1, FFolder).Bind(2, FAssociated);
        Props values;
        while (query.Step()) {
            ReadRow(query, plan, tags, values);
            visit(query.Number(0), values);
        }
    }

    bool Fetch(RowKey key, std::span<const ULONG> tags, Props& values) override
    {
        if (!FFetchPlan || !std::equal(tags.begin(), tags.end(), FFetchTags.begin(), FFetchTags.end())) {
            FFetchTags.assign(tags.begin(), tags.end());
            FFetchPlan.emplace(tags);
            FFetchPlan->select += " WHERE m.id = ?1 AND m.folder = ?2";
        }
        Query query = FStore->Db().Prepare(FFetchPlan->select);
        if (!query.Bind(1, key).Bind(2, FFolder).Step())
            return false;
        ReadRow(query, *FFetchPlan, tags, values);
        return true;
    }

    void Consistently(const std::function<void()>& body) override
    {
        const Snapshot snapshot(FStore->Db());
        body();
    }

    const StorePtr& LiveStore() const override { return FStore; }
    std::shared_ptr<LiveRows> Over(StorePtr store) const override
    {
        return std::make_shared<ContentsSource>(std::move(store), FFolder, FAssociated);
    }
    void Touched(const JournalEntry& entry, TouchedRows& rows) const override
    {
        if (entry.IsMessage() && entry.associated == FAssociated && (entry.folder == FFolder || entry.other == FFolder))
            rows.Add(entry.object, entry.kind == JournalKind::MessageMoved ? entry.other == FFolder
                                                                           : entry.kind != JournalKind::MessageAdded);
    }
    bool IsOrderedByKey() const override { return true; }

private:
    /// Which column of the statement holds which property.
    struct Plan
    {
        explicit Plan(std::span<const ULONG> tags)
        {
            int next = 1;
            select = "SELECT m.id";
            for (const ULONG tag : tags) {
                const MessageColumn* column = FindMessageColumn(tag >> 16);
                columns.push_back(column ? next++ : 0);
                if (column)
                    select.append(", m.").append(column->name);
                else if (!IsIdentity(tag))
                    fromBag.push_back(tag >> 16);
            }
            if (!fromBag.empty()) {
                bagColumn = next;
                select += ", b.props";
            }
            select += " FROM messages m";
            if (bagColumn)
                select += " LEFT JOIN bags b ON b.message = m.id";
        }

        static bool IsIdentity(ULONG tag)
        {
            const ULONG id = tag >> 16;
            const auto identity = IdentityTags();
            return id == 0 || id == tag::ParentEntryId >> 16 || id == tag::Access >> 16 ||
                   id == tag::AccessLevel >> 16 || id == LongTermEntryId >> 16 || id == RowType >> 16 ||
                   id == tag::Depth >> 16 ||
                   std::any_of(identity.begin(), identity.end(), [id](ULONG t) { return t >> 16 == id; });
        }

        std::string select;
        std::vector<int> columns; // of each tag; 0: it has none
        std::vector<ULONG> fromBag;
        int bagColumn = 0;
    };

    std::optional<Prop> Identity(std::int64_t row, ULONG id) const
    {
        switch (id) {
        case tag::ParentEntryId >> 16:
            return BinaryProp(tag::ParentEntryId, FStore->EntryIdOf(EntryKind::Folder, FFolder));
        case LongTermEntryId >> 16:
            return BinaryProp(LongTermEntryId, FStore->EntryIdOf(EntryKind::Message, row));
        case tag::Access >> 16:
            return LongProp(tag::Access, mapi::MAPI_ACCESS_MODIFY | mapi::MAPI_ACCESS_READ | mapi::MAPI_ACCESS_DELETE);
        case tag::AccessLevel >> 16:
            return LongProp(tag::AccessLevel, mapi::MAPI_MODIFY);
        case RowType >> 16:
            return LongProp(RowType, mapi::TBL_LEAF_ROW);
        case tag::Depth >> 16:
            return LongProp(tag::Depth, 0);
        default:
            return IdentityProperty(*FStore, EntryKind::Message, row, id);
        }
    }

    void ReadRow(const Query& query, const Plan& plan, std::span<const ULONG> tags, Props& values)
    {
        PropertyBag bag;
        if (plan.bagColumn) {
            FStore->Unpack(
                query.Blob(plan.bagColumn),
                [&](ULONG id) { return std::find(plan.fromBag.begin(), plan.fromBag.end(), id) != plan.fromBag.end(); },
                [&](Prop prop) { bag.Set(std::move(prop)); });
        }
        values.clear();
        const std::int64_t row = query.Number(0);
        for (std::size_t i = 0; i < tags.size(); ++i) {
            std::optional<Prop> value;
            if (plan.columns[i])
                value = ReadColumn(query, plan.columns[i], *FindMessageColumn(tags[i] >> 16));
            else if (const Prop* stored = bag.Find(tags[i] >> 16))
                value = *stored;
            else
                value = Identity(row, tags[i] >> 16);
            values.push_back(value ? std::move(*value) : ErrorProp(tags[i], mapi::MAPI_E_NOT_FOUND));
        }
    }

    StorePtr FStore;
    std::int64_t FFolder;
    bool FAssociated;
    std::vector<ULONG> FFetchTags;
    std::optional<Plan> FFetchPlan;
};

} // namespace

TKwComPtr<mapi::IMAPITable> OpenContentsTable(const StorePtr& store, std::int64_t folder, bool associated, bool unicode)
{
    return {new Table(std::make_shared<ContentsSource>(store, folder, associated), unicode)};
}

} // namespace deftmapi::client
