// Rows of a hierarchy table: the folders below one folder, in the order of their names, parents before their children.
#include "client/notify/Journal.hpp"
#include "client/notify/RowTracker.hpp"
#include "client/store/Folder.hpp"
#include "client/table/Table.hpp"
#include "client/table/VectorOrder.hpp"

#include <algorithm>
#include <atomic>

namespace deftmapi::client
{
namespace
{

const std::vector<ULONG> DefaultTags = {tag::EntryId,       tag::InstanceKey,    tag::DisplayName,     tag::FolderType,
                                        tag::ContentCount,  tag::ContentUnread,  tag::Subfolders,      tag::Depth,
                                        tag::ObjectType,    tag::FolderStatus,   tag::ContainerClass,  tag::Comment,
                                        tag::ParentEntryId, tag::RecordKey,      tag::Access,          tag::AccessLevel,
                                        tag::StoreEntryId,  tag::StoreRecordKey, tag::MappingSignature};

/// Counts down from here: numbers that no journal has.
constexpr std::int64_t FirstInside = -1000;

class HierarchySource final : public ScanSource, public LiveRows
{
public:
    HierarchySource(StorePtr store, std::int64_t folder, bool deep)
        : FStore(std::move(store)), FFolder(folder), FDeep(deep)
    {}

    std::recursive_mutex& Lock() override { return FStore->Lock(); }
    std::int64_t Stamp() override
    {
        static std::atomic<std::int64_t> inside = FirstInside;
        // The counters of a folder are columns too: what happens to its messages changes its row. All of it is in the
        // journal. What a transaction has done may be taken back, and its numbers be given to something else.
        return FStore->Db().InTransaction() ? inside-- : LastJournalNumber(FStore->Db());
    }
    std::vector<ULONG> DefaultColumns() override { return DefaultTags; }

    void Consistently(const std::function<void()>& body) override
    {
        const Snapshot snapshot(FStore->Db());
        body();
    }

    void Scan(std::span<const ULONG> tags, const Visit& visit) override
    {
        FDepths.clear();
        std::vector<RowKey> rows;
        {
            // Deeper rows first out of the queue: each folder is followed by what is below it.
            Query query = FStore->Db().Prepare(
                "WITH RECURSIVE below(id, depth, name_key) AS (SELECT id, 1, name_key FROM folders WHERE parent = ?1 "
                "UNION ALL SELECT f.id, b.depth + 1, f.name_key FROM below b JOIN folders f ON f.parent = b.id "
                "WHERE ?2 ORDER BY 2 DESC, 3) SELECT id, depth FROM below");
            query.Bind(1, FFolder).Bind(2, FDeep);
            while (query.Step()) {
                rows.push_back(query.Number(0));
                FDepths[rows.back()] = query.Number(1);
            }
        }
        Props values;
        for (const RowKey row : rows) {
            if (tags.empty() || Fetch(row, tags, values)) // their order alone needs none of them
                visit(row, values);
        }
    }

    bool Fetch(RowKey key, std::span<const ULONG> tags, Props& values) override
    {
        FolderRow folder;
        try {
            folder = LoadFolder(*FStore, key);
        } catch (const Failure& failure) {
            if (failure.Code() != mapi::MAPI_E_NOT_FOUND)
                throw;
            return false;
        }
        values.clear();
        for (const ULONG tag : tags) {
            std::optional<Prop> value;
            if (tag >> 16 == tag::Depth >> 16)
                value = LongProp(tag::Depth, FDepths[key]);
            else if (const Prop* stored = folder.props.Find(tag >> 16))
                value = *stored;
            else
                value = FolderProperty(*FStore, folder, true, tag >> 16);
            values.push_back(value ? std::move(*value) : ErrorProp(tag, mapi::MAPI_E_NOT_FOUND));
        }
        return true;
    }

    const StorePtr& LiveStore() const override { return FStore; }
    std::shared_ptr<LiveRows> Over(StorePtr store) const override
    {
        return std::make_shared<HierarchySource>(std::move(store), FFolder, FDeep);
    }
    void Touched(const JournalEntry& entry, TouchedRows& rows) const override
    {
        if (entry.kind == JournalKind::NewMail || entry.kind == JournalKind::SearchDone ||
            entry.kind == JournalKind::StoreModified)
            return; // what they tell of changes nothing
        // What happens in a folder changes its counters, what happens below it PR_SUBFOLDERS.
        for (const std::int64_t folder : {entry.folder, entry.other}) {
            if (FDepths.contains(folder))
                rows.Add(folder, true);
        }
        if (entry.IsMessage())
            return;
        rows.natural = true;
        if (FDepths.contains(entry.object))
            rows.Add(entry.object, true);
    }
    std::unique_ptr<RowTracker> Follow() override { return TrackAllRows(*this); }

private:
    StorePtr FStore;
    std::int64_t FFolder;
    bool FDeep;
    std::unordered_map<RowKey, std::int64_t> FDepths;
};

} // namespace

TKwComPtr<mapi::IMAPITable> OpenHierarchyTable(const StorePtr& store, std::int64_t folder, bool deep, bool unicode)
{
    return {new Table(std::make_shared<HierarchySource>(store, folder, deep), unicode)};
}

} // namespace deftmapi::client
