#include "client/store/StoreFile.hpp"

#include "client/entry/Guard.hpp"

#include <algorithm>
#include <cstring>
#include <set>

namespace deftmapi::client
{
namespace
{

constexpr auto sOtherStore = u"The entry identifier names an object of another store.";
constexpr auto sWrongKind = u"The entry identifier names an object of another kind.";
constexpr auto sValueGone = u"The value was changed or deleted by another user of the store.";
constexpr auto sIncomplete = u"The store file lacks its identity record.";

constexpr int ChunkBits = 20;

} // namespace

/// A large value in the chunks table. Values are never changed in place, so a reader sees one version of it or none.
class SavedBlob final : public Blob
{
public:
    SavedBlob(StorePtr store, const LargeReference& reference) : FStore(std::move(store)), FReference(reference) {}

    [[nodiscard]] std::uint64_t Size() const override { return FReference.size; }
    [[nodiscard]] const LargeReference& Reference() const { return FReference; }
    [[nodiscard]] bool IsIn(const StoreFile& store) const { return FStore.get() == &store; }

    std::size_t Read(std::uint64_t offset, void* to, std::size_t count) const override
    {
        if (offset >= FReference.size)
            return 0;
        count = static_cast<std::size_t>(std::min<std::uint64_t>(count, FReference.size - offset));
        const std::lock_guard lock(FStore->Lock());
        Query query = FStore->Db().Prepare("SELECT data FROM chunks WHERE id = ?1");
        std::size_t done = 0;
        while (done < count) {
            const std::uint64_t at = offset + done;
            query.Reset();
            query.Bind(1, (FReference.valueId << ChunkBits) + static_cast<std::int64_t>(at / limits::Chunk));
            if (!query.Step())
                Fail(mapi::MAPI_E_OBJECT_CHANGED, sValueGone);
            const auto data = query.Blob(0);
            const auto skip = static_cast<std::size_t>(at % limits::Chunk);
            if (skip >= data.size())
                Fail(mapi::MAPI_E_CORRUPT_DATA, sValueGone);
            const std::size_t piece = std::min(count - done, data.size() - skip);
            std::memcpy(static_cast<char*>(to) + done, data.data() + skip, piece);
            done += piece;
        }
        return done;
    }

private:
    StorePtr FStore;
    LargeReference FReference;
};

StorePtr StoreFile::Open(const std::filesystem::path& file)
{
    return std::make_shared<StoreFile>(file);
}

StoreFile::StoreFile(const std::filesystem::path& file)
    : FFile(file), FFolder(file.parent_path()), FUse(file), FDatabase(file, Database::Mode::Open)
{
    PrepareConnection(FDatabase);
    Query query = FDatabase.Prepare("SELECT uid FROM store");
    if (!query.Step() || query.Blob(0).size() != sizeof FId)
        Fail(mapi::MAPI_E_CORRUPT_STORE, sIncomplete);
    std::memcpy(&FId, query.Blob(0).data(), sizeof FId);
    FChanges.SetLinkWork(&FSearches);
    FDatabase.SetCommitWork(&FChanges);
}

StorePtr StoreFile::ForListeners()
{
    StorePtr store = FForListeners.lock();
    if (!store)
        FForListeners = store = Open(FFile);
    return store;
}

std::int64_t StoreFile::RowOf(ULONG size, const mapi::ENTRYID* id, EntryKind kind) const
{
    const EntryReference reference = RequireEntryId(size, id);
    if (reference.store != FId)
        Fail(mapi::MAPI_E_UNKNOWN_ENTRYID, sOtherStore);
    if (reference.kind != kind)
        Fail(mapi::MAPI_E_INVALID_ENTRYID, sWrongKind);
    return reference.row;
}

void StoreFile::Unpack(std::span<const std::uint8_t> packed, const std::function<bool(ULONG id)>& wanted,
                       const std::function<void(Prop)>& sink)
{
    UnpackProps(
        packed,
        [this](const LargeReference& reference) -> BlobPtr {
            return std::make_shared<SavedBlob>(shared_from_this(), reference);
        },
        wanted, sink);
}

void StoreFile::Unpack(std::span<const std::uint8_t> packed, PropertyBag& bag)
{
    Unpack(packed, nullptr, [&bag](Prop prop) { bag.Set(std::move(prop)); });
}

LargeReference StoreFile::WriteLarge(const LargeOwner& owner, const Blob& blob)
{
    Query insert = FDatabase.Prepare("INSERT INTO large_values (owner, size) VALUES (?1, ?2)");
    insert.Bind(1, owner.Key()).Bind(2, static_cast<std::int64_t>(blob.Size())).Run();
    const LargeReference reference{FDatabase.LastRow(), blob.Size()};
    Bytes piece(limits::Chunk);
    Query chunk = FDatabase.Prepare("INSERT INTO chunks (id, data) VALUES (?1, ?2)");
    std::int64_t id = reference.valueId << ChunkBits;
    for (std::uint64_t at = 0; at < reference.size; at += limits::Chunk) {
        const std::size_t got = blob.Read(at, piece.data(), piece.size());
        chunk.Reset();
        chunk.Bind(1, id++).BindBlob(2, std::span(piece).first(got)).Run();
    }
    return reference;
}

void StoreFile::DropValue(std::int64_t valueId)
{
    Query chunks = FDatabase.Prepare("DELETE FROM chunks WHERE id >= ?1 AND id < ?2");
    chunks.Bind(1, valueId << ChunkBits).Bind(2, (valueId + 1) << ChunkBits).Run();
    Query value = FDatabase.Prepare("DELETE FROM large_values WHERE id = ?1");
    value.Bind(1, valueId).Run();
}

WideString StoreFile::DisplayName()
{
    Query query = FDatabase.Prepare("SELECT props FROM store");
    PropertyBag bag;
    if (query.Step())
        Unpack(query.Blob(0), bag);
    return bag.Text(tag::DisplayName);
}

Bytes StoreFile::Pack(const LargeOwner& owner, const PropertyBag& bag, const std::function<bool(const Prop&)>& take,
                      bool isNew)
{
    Bytes packed;
    packed.reserve(1024);
    std::set<std::int64_t> kept;
    for (const auto& [id, prop] : bag) {
        if (take && !take(prop))
            continue;
        if (!IsStreamType(prop.Type()) || DataSize(prop) <= limits::Inline) {
            PackProp(prop, packed);
            continue;
        }
        LargeReference reference{};
        if (const auto* blob = std::get_if<BlobPtr>(&prop.data)) {
            const auto* saved = dynamic_cast<const SavedBlob*>(blob->get());
            Query mine = FDatabase.Prepare("SELECT 1 FROM large_values WHERE id = ?1 AND owner = ?2");
            const bool stays =
                saved && saved->IsIn(*this) && mine.Bind(1, saved->Reference().valueId).Bind(2, owner.Key()).Step();
            reference = stays ? saved->Reference() : WriteLarge(owner, **blob);
        } else if (const auto* text = std::get_if<WideString>(&prop.data)) {
            const auto* raw = reinterpret_cast<const std::uint8_t*>(text->data());
            reference = WriteLarge(owner, MemoryBlob(Bytes(raw, raw + text->size() * 2)));
        } else {
            reference = WriteLarge(owner, MemoryBlob(std::get<Bytes>(prop.data)));
        }
        kept.insert(reference.valueId);
        PackLarge(prop.tag, reference, packed);
    }
    if (isNew)
        return packed;
    std::vector<std::int64_t> unused;
    Query query = FDatabase.Prepare("SELECT id FROM large_values WHERE owner = ?1");
    query.Bind(1, owner.Key());
    while (query.Step()) {
        if (!kept.contains(query.Number(0)))
            unused.push_back(query.Number(0));
    }
    for (const std::int64_t id : unused)
        DropValue(id);
    return packed;
}

bool StoreFile::IsThere(const Prop& prop)
{
    const auto* blob = std::get_if<BlobPtr>(&prop.data);
    const auto* saved = blob ? dynamic_cast<const SavedBlob*>(blob->get()) : nullptr;
    if (!saved || !saved->IsIn(*this))
        return true;
    return FDatabase.Prepare("SELECT 1 FROM large_values WHERE id = ?1").Bind(1, saved->Reference().valueId).Step();
}

void StoreFile::DropLargeValues(const LargeOwner& owner)
{
    std::vector<std::int64_t> ids;
    Query query = FDatabase.Prepare("SELECT id FROM large_values WHERE owner = ?1");
    query.Bind(1, owner.Key());
    while (query.Step())
        ids.push_back(query.Number(0));
    for (const std::int64_t id : ids)
        DropValue(id);
}

} // namespace deftmapi::client
