// CopyTo and CopyProps between objects of any providers. Only published methods are used on both sides: what GetProps
// does not give is copied as a stream, recipients and attachments through their tables, names of named properties by
// their names. Recipients and attachments are each one property: the destination's are replaced, or kept.
#include "client/store/PropertyObject.hpp"

#include "client/notify/Dispatcher.hpp"
#include "client/store/Folder.hpp"
#include "client/store/Progress.hpp"
#include "client/store/StoreObjects.hpp"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace deftmapi::client
{
namespace
{

constexpr auto sNoDestination = u"The destination object does not support the interface that was named.";
constexpr auto sStepFailed = u"The destination or source object refused a step of the copy.";
constexpr auto sCycle = u"A folder cannot be copied into itself or below itself.";

/// Rows of a table that are read at once.
constexpr mapi::LONG RowsAtOnce = 500;

void Check(mapi::HRESULT code)
{
    if (mapi::Failed(code))
        Fail(code, sStepFailed);
}

bool IsIn(const mapi::SPropTagArray* tags, ULONG tag)
{
    if (!tags)
        return false;
    return std::any_of(tags->aulPropTag, tags->aulPropTag + tags->cValues,
                       [tag](ULONG other) { return other >> 16 == tag >> 16; });
}

/// Properties that name an object or describe the place where it lies: they never travel.
bool IsIdentity(ULONG tag)
{
    const ULONG id = tag >> 16;
    const auto identity = IdentityTags();
    return id == tag::ParentEntryId >> 16 || id == tag::Access >> 16 || id == tag::AccessLevel >> 16 ||
           id == tag::MessageSize >> 16 || id == tag::HasAttach >> 16 || id == tag::NormalizedSubject >> 16 ||
           id == tag::DisplayTo >> 16 || id == tag::DisplayCc >> 16 || id == tag::DisplayBcc >> 16 ||
           id == tag::AttachNum >> 16 || id == tag::AttachSize >> 16 || id == tag::MessageStatus >> 16 ||
           std::any_of(identity.begin(), identity.end(), [id](ULONG t) { return t >> 16 == id; });
}

/// What a folder does not take from another one besides: its name, by which its parent knows it, its times and counts.
bool StaysWithFolder(ULONG tag)
{
    constexpr ULONG Tags[] = {tag::DisplayName,        tag::CreationTime,      tag::LastModification,
                              tag::FolderType,         tag::ContentCount,      tag::ContentUnread,
                              tag::Subfolders,         tag::FolderStatus,      tag::AssociatedCount,
                              tag::ContainerHierarchy, tag::ContainerContents, tag::AssociatedContents};
    return std::any_of(std::begin(Tags), std::end(Tags), [tag](ULONG own) { return own >> 16 == tag >> 16; });
}

class Copier
{
public:
    Copier(mapi::IMAPIProp& from, mapi::IMAPIProp& to, ULONG flags, ProgressMeter& meter)
        : FFrom(from), FTo(to), FFlags(flags), FMeter(meter)
    {}

    void CopyTags(const std::vector<ULONG>& tags)
    {
        for (std::size_t i = 0; i < tags.size(); ++i) {
            CopyTag(static_cast<ULONG>(i), tags[i]);
            FMeter.Step();
        }
    }

    void AddProblem(ULONG tag, mapi::HRESULT code) { FProblems.push_back({0, tag, code}); }
    [[nodiscard]] std::span<const mapi::SPropProblem> Problems() const { return FProblems; }
    /// Whether the destination has taken the value as a property: the source had one, and the destination neither kept
    /// its own (MAPI_NOREPLACE) nor refused it.
    [[nodiscard]] bool WasTaken(ULONG tag) const
    {
        return std::find(FKept.begin(), FKept.end(), tag) == FKept.end() &&
               std::none_of(FProblems.begin(), FProblems.end(), [tag](const auto& p) { return p.ulPropTag == tag; });
    }
    /// Whether the destination keeps what it has of this property.
    bool Keeps(ULONG tag) { return (FFlags & mapi::MAPI_NOREPLACE) != 0 && Exists(tag); }

private:
    void CopyTag(ULONG index, ULONG tag)
    {
        mapi::SPropTagArray wanted{1, {tag}};
        ULONG count = 0;
        MapiBuffer<mapi::SPropValue> value;
        const mapi::HRESULT got = FFrom.GetProps(&wanted, mapi::MAPI_UNICODE, &count, value.Out());
        Check(got);
        if (mapi::PROP_TYPE(value->ulPropTag) == mapi::PT_ERROR) {
            if (value->Value.err == mapi::MAPI_E_NOT_ENOUGH_MEMORY)
                CopyStream(tag, TargetTag(tag));
            else if (value->Value.err == mapi::MAPI_E_NOT_FOUND)
                FKept.push_back(tag); // it may be there with another type
            else
                FProblems.push_back({index, tag, value->Value.err});
            return;
        }
        if (mapi::PROP_TYPE(value->ulPropTag) == mapi::PT_OBJECT) {
            FKept.push_back(tag); // recipients, attachments and embedded messages have their own ways
            return;
        }
        const ULONG target = TargetTag(value->ulPropTag);
        if (Keeps(target)) {
            FKept.push_back(tag);
            return;
        }
        value->ulPropTag = target;
        MapiBuffer<mapi::SPropProblemArray> problems;
        const mapi::HRESULT set = FTo.SetProps(1, value.Get(), problems.Out());
        Check(set);
        if (problems && problems->cProblem)
            FProblems.push_back({index, tag, problems->aProblem[0].scode});
    }

    /// Whether the destination has a value of this identifier, of whatever type.
    bool Exists(ULONG tag)
    {
        mapi::SPropTagArray wanted{1, {mapi::PROP_TAG(mapi::PT_UNSPECIFIED, mapi::PROP_ID(tag))}};
        ULONG count = 0;
        MapiBuffer<mapi::SPropValue> value;
        const mapi::HRESULT got = FTo.GetProps(&wanted, mapi::MAPI_UNICODE, &count, value.Out());
        return mapi::Succeeded(got) && (mapi::PROP_TYPE(value->ulPropTag) != mapi::PT_ERROR ||
                                        value->Value.err == mapi::MAPI_E_NOT_ENOUGH_MEMORY);
    }

    /// A named property may have another identifier at the destination.
    ULONG TargetTag(ULONG tag)
    {
        const ULONG id = mapi::PROP_ID(tag);
        if (id < 0x8000)
            return tag;
        mapi::SPropTagArray one{1, {tag}};
        mapi::LPSPropTagArray source = &one;
        ULONG count = 0;
        MapiBuffer<mapi::LPMAPINAMEID> names;
        if (FFrom.GetNamesFromIDs(&source, nullptr, 0, &count, names.Out()) != mapi::S_OK || count != 1)
            return tag;
        MapiBuffer<mapi::SPropTagArray> ids;
        Check(FTo.GetIDsFromNames(1, names.Get(), mapi::MAPI_CREATE, ids.Out()));
        return mapi::PROP_TAG(mapi::PROP_TYPE(tag), mapi::PROP_ID(ids->aulPropTag[0]));
    }

    void CopyStream(ULONG tag, ULONG target)
    {
        if (Keeps(target)) {
            FKept.push_back(tag);
            return;
        }
        TKwComPtr<mapi::IStream> from;
        TKwComPtr<mapi::IStream> to;
        Check(FFrom.OpenProperty(tag, &mapi::IID_IStream, mapi::STGM_READ, 0,
                                 reinterpret_cast<mapi::LPUNKNOWN*>(Out(from))));
        Check(FTo.OpenProperty(target, &mapi::IID_IStream, mapi::STGM_READWRITE, mapi::MAPI_CREATE | mapi::MAPI_MODIFY,
                               reinterpret_cast<mapi::LPUNKNOWN*>(Out(to))));
        mapi::ULARGE_INTEGER all;
        all.QuadPart = ~0ULL;
        const mapi::HRESULT copied = from->CopyTo(to.Get(), all, nullptr, nullptr);
        if (mapi::Failed(copied))
            (void)to->Revert(); // where it can, no piece of a value takes the place of the whole one
        Check(copied);
        Check(to->Commit(mapi::STGC_DEFAULT));
    }

    mapi::IMAPIProp& FFrom;
    mapi::IMAPIProp& FTo;
    ULONG FFlags;
    ProgressMeter& FMeter;
    std::vector<mapi::SPropProblem> FProblems;
    std::vector<ULONG> FKept;
};

TKwComPtr<mapi::IMAPITable> RecipientsOf(mapi::IMessage& message)
{
    TKwComPtr<mapi::IMAPITable> table;
    Check(message.GetRecipientTable(mapi::MAPI_UNICODE, Out(table)));
    return table;
}

bool HasRecipients(mapi::IMessage& message)
{
    ULONG count = 0;
    Check(RecipientsOf(message)->GetRowCount(0, &count));
    return count != 0;
}

void RemoveRecipients(mapi::IMessage& message)
{
    mapi::ADRLIST none{};
    if (HasRecipients(message))
        Check(message.ModifyRecipients(0, &none));
}

void CopyRecipients(mapi::IMessage& from, mapi::IMessage& to)
{
    const auto table = RecipientsOf(from);
    MapiBuffer<mapi::SPropTagArray> columns;
    Check(table->QueryColumns(mapi::TBL_ALL_COLUMNS, columns.Out()));
    Check(table->SetColumns(columns.Get(), 0));
    RemoveRecipients(to);
    for (;;) {
        RowSet rows;
        Check(table->QueryRows(100, 0, rows.Out()));
        if (rows->cRows == 0)
            return;
        // A row set and an address list are laid out alike.
        static_assert(sizeof(mapi::SRow) == sizeof(mapi::ADRENTRY));
        Check(to.ModifyRecipients(mapi::MODRECIP_ADD, reinterpret_cast<mapi::LPADRLIST>(rows.Get())));
    }
}

/// @returns whether there was one
bool CopyEmbedded(mapi::IAttach& from, mapi::IAttach& to)
{
    TKwComPtr<mapi::IMessage> source;
    TKwComPtr<mapi::IMessage> target;
    const mapi::HRESULT opened = from.OpenProperty(tag::AttachDataObj, &mapi::IID_IMessage, 0, 0,
                                                   reinterpret_cast<mapi::LPUNKNOWN*>(Out(source)));
    if (opened == mapi::MAPI_E_NOT_FOUND)
        return false;
    Check(opened);
    Check(to.OpenProperty(tag::AttachDataObj, &mapi::IID_IMessage, 0, mapi::MAPI_CREATE | mapi::MAPI_MODIFY,
                          reinterpret_cast<mapi::LPUNKNOWN*>(Out(target))));
    const mapi::HRESULT copied =
        source->CopyTo(0, nullptr, nullptr, 0, nullptr, &mapi::IID_IMessage, target.Get(), 0, nullptr);
    Check(copied);
    Check(target->SaveChanges(0));
    return true;
}

std::vector<ULONG> AttachmentsOf(mapi::IMessage& message)
{
    TKwComPtr<mapi::IMAPITable> table;
    Check(message.GetAttachmentTable(mapi::MAPI_UNICODE, Out(table)));
    mapi::SPropTagArray columns{1, {tag::AttachNum}};
    Check(table->SetColumns(&columns, 0));
    std::vector<ULONG> numbers;
    for (;;) {
        RowSet rows;
        Check(table->QueryRows(RowsAtOnce, 0, rows.Out()));
        if (rows->cRows == 0)
            return numbers;
        for (ULONG i = 0; i < rows->cRows; ++i)
            numbers.push_back(rows->aRow[i].lpProps[0].Value.ul);
    }
}

void RemoveAttachments(mapi::IMessage& message, const std::vector<ULONG>& numbers)
{
    for (const ULONG number : numbers)
        Check(message.DeleteAttach(number, 0, nullptr, 0));
}

void CopyAttachments(mapi::IMessage& from, const std::vector<ULONG>& numbers, mapi::IMessage& to, ProgressMeter& meter)
{
    const std::vector<ULONG> replaced = AttachmentsOf(to);
    for (const ULONG number : numbers) {
        TKwComPtr<mapi::IAttach> source;
        TKwComPtr<mapi::IAttach> target;
        ULONG num = 0;
        Check(from.OpenAttach(number, nullptr, 0, Out(source)));
        Check(to.CreateAttach(nullptr, 0, &num, Out(target)));
        Check(source->CopyTo(0, nullptr, nullptr, 0, nullptr, &mapi::IID_IAttachment, target.Get(), 0, nullptr));
        Check(target->SaveChanges(0));
        meter.Step();
    }
    RemoveAttachments(to, replaced);
}

Bytes BinaryOf(mapi::IMAPIProp& object, ULONG tag)
{
    mapi::SPropTagArray wanted{1, {tag}};
    ULONG count = 0;
    MapiBuffer<mapi::SPropValue> value;
    Check(object.GetProps(&wanted, 0, &count, value.Out()));
    if (value->ulPropTag != tag)
        Fail(value->Value.err, sStepFailed);
    return {value->Value.bin.lpb, value->Value.bin.lpb + value->Value.bin.cb};
}

/// What a folder is to copy: entry identifiers of messages or folders.
struct Entries
{
    std::vector<Bytes> ids;
    std::vector<ULONG> steps; ///< what each is worth: a folder counts its messages
    [[nodiscard]] ULONG Steps() const { return std::accumulate(steps.begin(), steps.end(), ULONG{0}); }
};

Entries EntriesOf(mapi::IMAPITable& table, bool folders)
{
    struct
    {
        ULONG count;
        ULONG tags[3] = {tag::EntryId, tag::ContentCount, tag::AssociatedCount};
    } columns{folders ? 3U : 1U};
    Check(table.SetColumns(reinterpret_cast<mapi::LPSPropTagArray>(&columns), 0));
    Entries entries;
    for (;;) {
        RowSet rows;
        Check(table.QueryRows(RowsAtOnce, 0, rows.Out()));
        if (rows->cRows == 0)
            return entries;
        for (ULONG i = 0; i < rows->cRows; ++i) {
            const mapi::SRow& row = rows->aRow[i];
            const mapi::SBinary& id = row.lpProps[0].Value.bin;
            entries.ids.emplace_back(id.lpb, id.lpb + id.cb);
            entries.steps.push_back(1);
            for (ULONG column = 1; column < row.cValues; ++column) {
                if (mapi::PROP_TYPE(row.lpProps[column].ulPropTag) == mapi::PT_LONG)
                    entries.steps.back() += row.lpProps[column].Value.ul;
            }
        }
    }
}

mapi::LPENTRYID AsEntry(Bytes& id)
{
    return reinterpret_cast<mapi::LPENTRYID>(id.data());
}

/// @throws Failure  MAPI_E_FOLDER_CYCLE `to` is `from` or lies below it
void CheckCycle(mapi::IMAPIFolder& from, mapi::IMAPIFolder& to)
{
    const Bytes source = BinaryOf(from, tag::EntryId);
    Bytes at = BinaryOf(to, tag::EntryId);
    Bytes parent = BinaryOf(to, tag::ParentEntryId);
    for (;;) {
        if (at == source)
            Fail(mapi::MAPI_E_FOLDER_CYCLE, sCycle);
        if (at == parent) // the root folder is its own parent
            return;
        ULONG type = 0;
        TKwComPtr<mapi::IMAPIFolder> folder;
        Check(to.OpenEntry(static_cast<ULONG>(parent.size()), AsEntry(parent), &mapi::IID_IMAPIFolder, 0, &type,
                           reinterpret_cast<mapi::LPUNKNOWN*>(Out(folder))));
        at = std::exchange(parent, BinaryOf(*folder, tag::ParentEntryId));
    }
}

/// Runs a call with a progress object that is worth so many steps, or with none when nobody watches.
/// @returns S_OK or MAPI_W_PARTIAL_COMPLETION
template <typename Call>
mapi::HRESULT WithProgress(ProgressMeter& meter, ULONG steps, Call&& call)
{
    TKwComPtr<mapi::IMAPIProgress> progress;
    if (meter.IsShown())
        progress = TKwComPtr<mapi::IMAPIProgress>(new InnerProgress(meter, steps));
    const mapi::HRESULT result = call(progress.Get());
    Check(result);
    return result;
}

mapi::HRESULT CopyContents(mapi::IMAPIFolder& from, Entries& entries, mapi::IMAPIFolder& to, bool move,
                           ProgressMeter& meter)
{
    std::vector<mapi::SBinary> ids;
    for (Bytes& entry : entries.ids)
        ids.push_back({static_cast<ULONG>(entry.size()), entry.data()});
    mapi::ENTRYLIST list{static_cast<ULONG>(ids.size()), ids.data()};
    return WithProgress(meter, entries.Steps(), [&](mapi::IMAPIProgress* progress) {
        return from.CopyMessages(&list, &mapi::IID_IMAPIFolder, &to, 0, progress, move ? mapi::MESSAGE_MOVE : 0);
    });
}

mapi::HRESULT CopyHierarchy(mapi::IMAPIFolder& from, Entries& entries, mapi::IMAPIFolder& to, bool move,
                            ProgressMeter& meter)
{
    mapi::HRESULT result = mapi::S_OK;
    for (std::size_t i = 0; i < entries.ids.size(); ++i) {
        Bytes& entry = entries.ids[i];
        const auto copied = WithProgress(meter, entries.steps[i], [&](mapi::IMAPIProgress* progress) {
            return from.CopyFolder(static_cast<ULONG>(entry.size()), AsEntry(entry), &mapi::IID_IMAPIFolder, &to,
                                   nullptr, 0, progress, mapi::COPY_SUBFOLDERS | (move ? mapi::FOLDER_MOVE : 0));
        });
        if (copied != mapi::S_OK)
            result = copied;
    }
    return result;
}

template <typename T>
TKwComPtr<T> As(mapi::IUnknown& object, const mapi::IID& iid)
{
    TKwComPtr<T> result;
    if (mapi::Failed(object.QueryInterface(iid, OutVoid(result))))
        return nullptr;
    return result;
}

/// Whether both are known to lie in different store files. The identifiers of a file and of its copy are the same.
bool LieInTwoFiles(mapi::IMAPIFolder& from, mapi::IMAPIFolder& to)
{
    const auto source = As<mapi::IMAPIFolder>(from, IID_OwnFolder);
    const auto target = As<mapi::IMAPIFolder>(to, IID_OwnFolder);
    return source && target &&
           !static_cast<FolderObject&>(*source).SharedStore()->IsSameFile(
               *static_cast<FolderObject&>(*target).SharedStore());
}

/// All that is done to two folders of one connection, done or not done as one.
class OneTransaction
{
public:
    OneTransaction(mapi::IUnknown& from, mapi::IUnknown& to)
    {
        const auto source = As<mapi::IMAPIFolder>(from, IID_OwnFolder);
        const auto target = As<mapi::IMAPIFolder>(to, IID_OwnFolder);
        if (!source || !target)
            return;
        const StorePtr& store = static_cast<FolderObject&>(*source).SharedStore();
        if (store != static_cast<FolderObject&>(*target).SharedStore())
            return; // each connection would wait for the other
        FStore = store;
        FQuiet.emplace();
        FLock = std::unique_lock(FStore->Lock());
        FTransaction.emplace(FStore->Db());
    }
    /// What the application's progress object must not write to.
    [[nodiscard]] std::vector<Database*> Stores() const
    {
        return FStore ? std::vector{&FStore->Db()} : std::vector<Database*>();
    }
    void Commit()
    {
        if (FTransaction)
            FTransaction->Commit();
    }

private:
    StorePtr FStore;
    std::optional<QuietDispatch> FQuiet; // tables are read on the way
    std::unique_lock<std::recursive_mutex> FLock;
    std::optional<Transaction> FTransaction;
};

/// Recipients and attachments.
class MessageParts
{
public:
    MessageParts(mapi::IMAPIProp& from, mapi::IUnknown& to, bool recipients, bool attachments, ULONG flags)
        : FFrom(As<mapi::IMessage>(from, mapi::IID_IMessage)), FTo(As<mapi::IMessage>(to, mapi::IID_IMessage))
    {
        if (!FFrom || !FTo)
            return;
        const bool keep = (flags & mapi::MAPI_NOREPLACE) != 0;
        FRecipients = recipients && !(keep && HasRecipients(*FTo));
        FAttachments = attachments && !(keep && !AttachmentsOf(*FTo).empty());
        if (FAttachments)
            FNumbers = AttachmentsOf(*FFrom);
    }
    [[nodiscard]] std::int64_t Steps() const { return FRecipients + static_cast<std::int64_t>(FNumbers.size()); }
    void Copy(ProgressMeter& meter)
    {
        if (FRecipients) {
            CopyRecipients(*FFrom, *FTo);
            meter.Step();
        }
        if (FAttachments)
            CopyAttachments(*FFrom, FNumbers, *FTo, meter);
    }
    /// Takes from the source what has been copied.
    void Remove()
    {
        if (FRecipients)
            RemoveRecipients(*FFrom);
        if (FAttachments)
            RemoveAttachments(*FFrom, FNumbers);
    }

private:
    TKwComPtr<mapi::IMessage> FFrom;
    TKwComPtr<mapi::IMessage> FTo;
    bool FRecipients = false;
    bool FAttachments = false;
    std::vector<ULONG> FNumbers;
};

/// What lies in a folder and below it.
class FolderParts
{
public:
    /// @param takes  which of the three, by the tags of their tables
    template <typename Takes>
    FolderParts(mapi::IMAPIFolder* from, mapi::IMAPIFolder* to, Takes&& takes) : FFrom(from), FTo(to)
    {
        if (!from || !to)
            return;
        for (Part& part : FParts) {
            if (!takes(part.tag, mapi::IID_IMAPITable))
                continue;
            const bool folders = part.tag == tag::ContainerHierarchy;
            const ULONG flags = part.tag == tag::AssociatedContents ? mapi::MAPI_ASSOCIATED : 0;
            TKwComPtr<mapi::IMAPITable> table;
            Check(folders ? from->GetHierarchyTable(0, Out(table)) : from->GetContentsTable(flags, Out(table)));
            part.entries = EntriesOf(*table, folders);
        }
    }
    [[nodiscard]] std::int64_t Steps() const
    {
        std::int64_t steps = 0;
        for (const Part& part : FParts)
            steps += part.entries.Steps();
        return steps;
    }
    void Copy(bool move, ProgressMeter& meter, Copier& copier)
    {
        for (Part& part : FParts) {
            if (part.entries.ids.empty())
                continue;
            const auto result = part.tag == tag::ContainerHierarchy
                                    ? CopyHierarchy(*FFrom, part.entries, *FTo, move, meter)
                                    : CopyContents(*FFrom, part.entries, *FTo, move, meter);
            if (result != mapi::S_OK)
                copier.AddProblem(part.tag, result);
        }
    }

private:
    struct Part
    {
        ULONG tag;
        Entries entries;
    };
    mapi::IMAPIFolder* FFrom;
    mapi::IMAPIFolder* FTo;
    // Subfolders first: their names may be taken, and then nothing has been copied.
    Part FParts[3] = {{tag::ContainerHierarchy, {}}, {tag::ContainerContents, {}}, {tag::AssociatedContents, {}}};
};

} // namespace

void CopyObject(mapi::IMAPIProp& from, const mapi::SPropTagArray* tags, const mapi::SPropTagArray* excluded,
                std::span<const mapi::IID> excludedInterfaces, mapi::IMAPIProgress* progress, mapi::LPCIID interfaceId,
                mapi::LPVOID destination, ULONG flags, mapi::LPSPropProblemArray* problems)
{
    if (problems)
        *problems = nullptr;
    Require(destination, u"lpDestObj");
    Require(interfaceId, u"lpInterface");
    RequireFlags(flags, mapi::MAPI_MOVE | mapi::MAPI_NOREPLACE | mapi::MAPI_DECLINE_OK | mapi::MAPI_DIALOG);
    auto& unknown = *static_cast<mapi::IUnknown*>(destination);
    const auto to = As<mapi::IMAPIProp>(unknown, mapi::IID_IMAPIProp);
    if (!to || !As<mapi::IUnknown>(unknown, *interfaceId))
        Fail(mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, sNoDestination);
    const auto fromFolder = As<mapi::IMAPIFolder>(from, mapi::IID_IMAPIFolder);
    const auto toFolder = As<mapi::IMAPIFolder>(unknown, mapi::IID_IMAPIFolder);
    if (!tags && fromFolder && !toFolder)
        Fail(mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, sNoDestination);
    const auto takes = [&](ULONG tag, const mapi::IID& iid) {
        const bool out =
            std::any_of(excludedInterfaces.begin(), excludedInterfaces.end(), [&](const auto& x) { return x == iid; });
        return !out && (tags ? IsIn(tags, tag) : !IsIn(excluded, tag));
    };
    OneTransaction transaction(from, unknown);
    if (fromFolder && toFolder && takes(tag::ContainerHierarchy, mapi::IID_IMAPITable) &&
        !LieInTwoFiles(*fromFolder, *toFolder))
        CheckCycle(*fromFolder, *toFolder);

    MapiBuffer<mapi::SPropTagArray> list;
    if (!tags)
        Check(from.GetPropList(mapi::MAPI_UNICODE, list.Out()));
    const mapi::SPropTagArray& all = tags ? *tags : *list.Get();
    const bool hasFolders = fromFolder || As<mapi::IMsgStore>(from, mapi::IID_IMsgStore);
    const auto stays = [&](ULONG tag) {
        return IsIdentity(tag) || (fromFolder && StaysWithFolder(tag)) || (hasFolders && NamesSpecialFolder(tag >> 16));
    };
    std::vector<ULONG> wanted;
    for (ULONG i = 0; i < all.cValues; ++i) {
        const ULONG tag = all.aulPropTag[i];
        if (!IsIn(excluded, tag) && (tags || !stays(tag)))
            wanted.push_back(tag);
    }
    MessageParts parts(from, unknown, takes(tag::MessageRecipients, mapi::IID_IMAPITable),
                       takes(tag::MessageAttachments, mapi::IID_IMAPITable), flags);
    FolderParts folder(fromFolder.Get(), toFolder.Get(), takes);
    ProgressMeter meter(progress, static_cast<std::int64_t>(wanted.size()) + parts.Steps() + folder.Steps(),
                        transaction.Stores());
    Copier copier(from, *to, flags, meter);
    copier.CopyTags(wanted);
    folder.Copy((flags & mapi::MAPI_MOVE) != 0, meter, copier);
    parts.Copy(meter);
    // What the destination did not take stays where it is.
    std::erase_if(wanted, [&](ULONG tag) { return !copier.WasTaken(tag); });
    const auto fromAttach = As<mapi::IAttach>(from, mapi::IID_IAttachment);
    const auto toAttach = As<mapi::IAttach>(unknown, mapi::IID_IAttachment);
    if (fromAttach && toAttach && takes(tag::AttachDataObj, mapi::IID_IMessage) && !copier.Keeps(tag::AttachDataObj) &&
        CopyEmbedded(*fromAttach, *toAttach))
        wanted.push_back(tag::AttachDataObj);
    if (flags & mapi::MAPI_MOVE) {
        parts.Remove();
        if (!wanted.empty())
            Check(from.DeleteProps(MakeTagArray(wanted).Get(), nullptr));
    }
    transaction.Commit();
    if (problems)
        *problems = MakeProblems(copier.Problems()).Detach();
}

} // namespace deftmapi::client
