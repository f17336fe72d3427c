// Rows of a contents table. What has a column is read from the column; the packed lists are read only when a property
// is asked for that has none.
#include "client/notify/RowTracker.hpp"
#include "client/store/ContentsOrder.hpp"
#include "client/store/StoreObjects.hpp"
#include "client/table/Table.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

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
    explicit ContentsSource(MessageRows rows) : FRows(std::move(rows)) {}

    std::recursive_mutex& Lock() override { return FRows.store->Lock(); }
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

    void Consistently(const std::function<void()>& body) override
    {
        FRows.store->Db().FlushCommitWork();
        // A statement that has a row holds its snapshot of the file as a transaction does, and this one is needed
        // anyway.
        Query query = FRows.StateQuery();
        struct Reading
        {
            MessageRows& rows;
            ~Reading() { rows.state.reset(); }
        } reading{FRows};
        FRows.state = FRows.ReadState(query);
        body();
    }

    std::unique_ptr<RowOrder> Order(const TableView& view) override { return MakeContentsOrder(FRows, view); }

    const StorePtr& LiveStore() const override { return FRows.store; }
    std::shared_ptr<LiveRows> Over(StorePtr store) const override
    {
        return std::make_shared<ContentsSource>(
            MessageRows{std::move(store), FRows.folder, FRows.associated, FRows.isSearch});
    }
    void Touched(const JournalEntry& entry, TouchedRows& rows) const override
    {
        if (!entry.IsMessage() || entry.associated != FRows.associated ||
            (entry.folder != FRows.folder && entry.other != FRows.folder))
            return;
        if (entry.kind == JournalKind::FolderBulk)
            rows.all = true;
        else
            rows.Add(entry.object, entry.kind == JournalKind::MessageMoved ? entry.other == FRows.folder
                                                                           : entry.kind != JournalKind::MessageAdded);
    }
    std::unique_ptr<RowTracker> Follow() override { return TrackNamedRows(*this); }

private:
    MessageRows FRows;
};

} // namespace

TKwComPtr<mapi::IMAPITable> OpenContentsTable(const StorePtr& store, std::int64_t folder, Contents contents,
                                              bool unicode)
{
    MessageRows rows{store, folder, contents == Contents::Associated, contents == Contents::Found};
    return {new Table(std::make_shared<ContentsSource>(std::move(rows)), unicode)};
}

} // namespace deftmapi::client
