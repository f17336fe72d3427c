// CopyTo and CopyProps between objects of any providers. Only published methods are used on both sides: what GetProps
// does not give is copied as a stream, recipients and attachments through their tables, names of named properties by
// their names.
#include "client/store/PropertyObject.hpp"

#include "client/store/Folder.hpp"
#include "client/store/StoreObjects.hpp"

#include <algorithm>
#include <cstring>

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
    Copier(mapi::IMAPIProp& from, mapi::IMAPIProp& to, ULONG flags) : FFrom(from), FTo(to), FFlags(flags) {}

    void CopyTags(const std::vector<ULONG>& tags)
    {
        for (std::size_t i = 0; i < tags.size(); ++i)
            CopyTag(static_cast<ULONG>(i), tags[i]);
    }

    void AddProblem(ULONG tag, mapi::HRESULT code) { FProblems.push_back({0, tag, code}); }
    [[nodiscard]] std::span<const mapi::SPropProblem> Problems() const { return FProblems; }
    /// Whether the destination kept a value of its own (MAPI_NOREPLACE).
    [[nodiscard]] bool WasKept(ULONG tag) const { return std::find(FKept.begin(), FKept.end(), tag) != FKept.end(); }

private:
    void CopyTag(ULONG index, ULONG tag)
    {
        mapi::SPropTagArray wanted{1, {tag}};
        ULONG count = 0;
        MapiBuffer<mapi::SPropValue> value;
        const mapi::HRESULT got = FFrom.GetProps(&wanted, mapi::MAPI_UNICODE, &count, value.Out());
        Check(got);
        const ULONG target = TargetTag(value->ulPropTag);
        if (mapi::PROP_TYPE(value->ulPropTag) == mapi::PT_ERROR) {
            if (value->Value.err == mapi::MAPI_E_NOT_ENOUGH_MEMORY)
                CopyStream(tag, TargetTag(tag));
            else if (value->Value.err != mapi::MAPI_E_NOT_FOUND)
                FProblems.push_back({index, tag, value->Value.err});
            return;
        }
        if (mapi::PROP_TYPE(value->ulPropTag) == mapi::PT_OBJECT)
            return; // recipients, attachments and embedded messages have their own ways
        if (FFlags & mapi::MAPI_NOREPLACE && Exists(target)) {
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

    bool Exists(ULONG tag)
    {
        mapi::SPropTagArray wanted{1, {tag}};
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
        if (FFlags & mapi::MAPI_NOREPLACE && Exists(target)) {
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
        Check(from->CopyTo(to.Get(), all, nullptr, nullptr));
        Check(to->Commit(mapi::STGC_DEFAULT));
    }

    mapi::IMAPIProp& FFrom;
    mapi::IMAPIProp& FTo;
    ULONG FFlags;
    std::vector<mapi::SPropProblem> FProblems;
    std::vector<ULONG> FKept;
};

void CopyRecipients(mapi::IMessage& from, mapi::IMessage& to)
{
    TKwComPtr<mapi::IMAPITable> table;
    Check(from.GetRecipientTable(mapi::MAPI_UNICODE, Out(table)));
    MapiBuffer<mapi::SPropTagArray> columns;
    Check(table->QueryColumns(mapi::TBL_ALL_COLUMNS, columns.Out()));
    Check(table->SetColumns(columns.Get(), 0));
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

void CopyEmbedded(mapi::IAttach& from, mapi::IAttach& to)
{
    TKwComPtr<mapi::IMessage> source;
    TKwComPtr<mapi::IMessage> target;
    const mapi::HRESULT opened = from.OpenProperty(tag::AttachDataObj, &mapi::IID_IMessage, 0, 0,
                                                   reinterpret_cast<mapi::LPUNKNOWN*>(Out(source)));
    if (opened == mapi::MAPI_E_NOT_FOUND)
        return;
    Check(opened);
    Check(to.OpenProperty(tag::AttachDataObj, &mapi::IID_IMessage, 0, mapi::MAPI_CREATE | mapi::MAPI_MODIFY,
                          reinterpret_cast<mapi::LPUNKNOWN*>(Out(target))));
    const mapi::HRESULT copied =
        source->CopyTo(0, nullptr, nullptr, 0, nullptr, &mapi::IID_IMessage, target.Get(), 0, nullptr);
    Check(copied);
    Check(target->SaveChanges(0));
}

void CopyAttachments(mapi::IMessage& from, mapi::IMessage& to)
{
    TKwComPtr<mapi::IMAPITable> table;
    Check(from.GetAttachmentTable(mapi::MAPI_UNICODE, Out(table)));
    mapi::SPropTagArray columns{1, {tag::AttachNum}};
    Check(table->SetColumns(&columns, 0));
    for (;;) {
        RowSet rows;
        Check(table->QueryRows(100, 0, rows.Out()));
        if (rows->cRows == 0)
            return;
        for (ULONG i = 0; i < rows->cRows; ++i) {
            TKwComPtr<mapi::IAttach> source;
            TKwComPtr<mapi::IAttach> target;
            ULONG num = 0;
            Check(from.OpenAttach(rows->aRow[i].lpProps[0].Value.ul, nullptr, 0, Out(source)));
            Check(to.CreateAttach(nullptr, 0, &num, Out(target)));
            Check(source->CopyTo(0, nullptr, nullptr, 0, nullptr, &mapi::IID_IAttachment, target.Get(), 0, nullptr));
            Check(target->SaveChanges(0));
        }
    }
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

std::vector<Bytes> EntriesOf(mapi::IMAPITable& table)
{
    mapi::SPropTagArray columns{1, {tag::EntryId}};
    Check(table.SetColumns(&columns, 0));
    std::vector<Bytes> entries;
    for (;;) {
        RowSet rows;
        Check(table.QueryRows(RowsAtOnce, 0, rows.Out()));
        if (rows->cRows == 0)
            return entries;
        for (ULONG i = 0; i < rows->cRows; ++i) {
            const mapi::SBinary& id = rows->aRow[i].lpProps[0].Value.bin;
            entries.emplace_back(id.lpb, id.lpb + id.cb);
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

/// @returns S_OK or MAPI_W_PARTIAL_COMPLETION
mapi::HRESULT CopyContents(mapi::IMAPIFolder& from, mapi::IMAPIFolder& to, bool associated, bool move)
{
    TKwComPtr<mapi::IMAPITable> table;
    Check(from.GetContentsTable(associated ? mapi::MAPI_ASSOCIATED : 0, Out(table)));
    std::vector<Bytes> entries = EntriesOf(*table);
    if (entries.empty())
        return mapi::S_OK;
    std::vector<mapi::SBinary> ids;
    for (Bytes& entry : entries)
        ids.push_back({static_cast<ULONG>(entry.size()), entry.data()});
    mapi::ENTRYLIST list{static_cast<ULONG>(ids.size()), ids.data()};
    const mapi::HRESULT copied =
        from.CopyMessages(&list, &mapi::IID_IMAPIFolder, &to, 0, nullptr, move ? mapi::MESSAGE_MOVE : 0);
    Check(copied);
    return copied;
}

mapi::HRESULT CopyHierarchy(mapi::IMAPIFolder& from, mapi::IMAPIFolder& to, bool move)
{
    TKwComPtr<mapi::IMAPITable> table;
    Check(from.GetHierarchyTable(0, Out(table)));
    mapi::HRESULT result = mapi::S_OK;
    for (Bytes& entry : EntriesOf(*table)) {
        const mapi::HRESULT copied =
            from.CopyFolder(static_cast<ULONG>(entry.size()), AsEntry(entry), &mapi::IID_IMAPIFolder, &to, nullptr, 0,
                            nullptr, mapi::COPY_SUBFOLDERS | (move ? mapi::FOLDER_MOVE : 0));
        Check(copied);
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

} // namespace

void CopyObject(mapi::IMAPIProp& from, const mapi::SPropTagArray* tags, const mapi::SPropTagArray* excluded,
                std::span<const mapi::IID> excludedInterfaces, mapi::LPCIID interfaceId, mapi::LPVOID destination,
                ULONG flags, mapi::LPSPropProblemArray* problems)
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
    if (fromFolder && toFolder && takes(tag::ContainerHierarchy, mapi::IID_IMAPITable))
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
    Copier copier(from, *to.Get(), flags);
    copier.CopyTags(wanted);

    if (fromFolder && toFolder) {
        const bool move = (flags & mapi::MAPI_MOVE) != 0;
        const auto note = [&copier](ULONG tag, mapi::HRESULT result) {
            if (result != mapi::S_OK)
                copier.AddProblem(tag, result);
        };
        // Subfolders first: their names may be taken, and then nothing has been copied.
        if (takes(tag::ContainerHierarchy, mapi::IID_IMAPITable))
            note(tag::ContainerHierarchy, CopyHierarchy(*fromFolder, *toFolder, move));
        if (takes(tag::ContainerContents, mapi::IID_IMAPITable))
            note(tag::ContainerContents, CopyContents(*fromFolder, *toFolder, false, move));
        if (takes(tag::AssociatedContents, mapi::IID_IMAPITable))
            note(tag::AssociatedContents, CopyContents(*fromFolder, *toFolder, true, move));
    }
    const auto fromMessage = As<mapi::IMessage>(from, mapi::IID_IMessage);
    const auto toMessage = As<mapi::IMessage>(unknown, mapi::IID_IMessage);
    if (fromMessage && toMessage) {
        if (takes(tag::MessageRecipients, mapi::IID_IMAPITable))
            CopyRecipients(*fromMessage, *toMessage);
        if (takes(tag::MessageAttachments, mapi::IID_IMAPITable))
            CopyAttachments(*fromMessage, *toMessage);
    }
    const auto fromAttach = As<mapi::IAttach>(from, mapi::IID_IAttachment);
    const auto toAttach = As<mapi::IAttach>(unknown, mapi::IID_IAttachment);
    if (fromAttach && toAttach && takes(tag::AttachDataObj, mapi::IID_IMessage))
        CopyEmbedded(*fromAttach, *toAttach);
    if (problems)
        *problems = MakeProblems(copier.Problems()).Detach();
    // What the destination did not take stays where it is.
    std::erase_if(wanted, [&](ULONG tag) { return copier.WasKept(tag); });
    if (flags & mapi::MAPI_MOVE && copier.Problems().empty() && !wanted.empty())
        Check(from.DeleteProps(MakeTagArray(wanted).Get(), nullptr));
}

} // namespace deftmapi::client
