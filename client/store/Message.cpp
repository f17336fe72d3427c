#include "client/store/Message.hpp"

#include "client/store/Attachment.hpp"
#include "client/table/MemorySource.hpp"
#include "client/table/Table.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr auto sDeleted = u"The message has been deleted since it was opened.";
constexpr auto sAttachmentDeleted = u"The attachment has been deleted since it was opened.";
constexpr auto sNoAttachment = u"The message has no attachment of this number.";
constexpr auto sNoTransport = u"This session has no transport provider that could send the message.";
constexpr auto sNoRow = u"A recipient to be changed or removed needs PR_ROWID of an existing recipient.";
constexpr auto sNoTable = u"The property can only be opened as a table.";

constexpr ULONG DisplayType = 0x39000003;
constexpr ULONG SendRichInfo = 0x3A40000B;

/// Bits of PR_MESSAGE_FLAGS that the caller decides before the first save; the others follow from the message.
constexpr std::int64_t SettableFlags =
    mapi::MSGFLAG_READ | mapi::MSGFLAG_UNMODIFIED | mapi::MSGFLAG_SUBMIT | mapi::MSGFLAG_UNSENT | mapi::MSGFLAG_FROMME |
    mapi::MSGFLAG_RESEND | mapi::MSGFLAG_RN_PENDING | mapi::MSGFLAG_NRN_PENDING | mapi::MSGFLAG_ORIGIN_X400 |
    mapi::MSGFLAG_ORIGIN_INTERNET | mapi::MSGFLAG_ORIGIN_MISC_EXT;

constexpr ULONG ReadOnlyTags[] = {
    tag::EntryId,     tag::RecordKey,        tag::ParentEntryId,    tag::StoreEntryId,       tag::StoreRecordKey,
    tag::ObjectType,  tag::Access,           tag::AccessLevel,      tag::MessageSize,        tag::HasAttach,
    tag::DisplayTo,   tag::DisplayCc,        tag::DisplayBcc,       tag::NormalizedSubject,  tag::MessageRecipients,
    tag::InstanceKey, tag::MappingSignature, tag::StoreSupportMask, tag::MessageAttachments, tag::MessageStatus};

constexpr ULONG ComputedOnly[] = {tag::ParentEntryId, tag::Access, tag::AccessLevel, tag::MessageRecipients,
                                  tag::MessageAttachments};

const std::vector<ULONG> RecipientColumns = {
    tag::RowId,     tag::RecipientType, tag::DisplayName, tag::AddrType, tag::EmailAddress,   tag::EntryId,
    tag::SearchKey, tag::ObjectType,    DisplayType,      SendRichInfo,  tag::Responsibility, tag::InstanceKey};

const std::vector<ULONG> AttachmentColumns = {tag::AttachNum,          tag::InstanceKey,  tag::RecordKey,
                                              tag::RenderingPosition,  tag::AttachMethod, tag::AttachFileName,
                                              tag::AttachLongFileName, tag::DisplayName,  tag::AttachSize};

PropertyBag RecipientProps(const mapi::ADRENTRY& entry)
{
    PropertyBag props;
    if (entry.cValues)
        Require(entry.rgPropVals, u"rgPropVals");
    for (ULONG i = 0; i < entry.cValues; ++i) {
        const ULONG type = mapi::PROP_TYPE(entry.rgPropVals[i].ulPropTag);
        if (type == mapi::PT_NULL || type == mapi::PT_ERROR || type == mapi::PT_OBJECT)
            continue;
        props.Set(FromInterface(entry.rgPropVals[i]));
    }
    if (!props.Find(tag::RecipientType >> 16))
        props.Set(LongProp(tag::RecipientType, mapi::MAPI_TO));
    if (!props.Find(tag::ObjectType >> 16))
        props.Set(LongProp(tag::ObjectType, mapi::MAPI_MAILUSER));
    if (!props.Find(DisplayType >> 16))
        props.Set(LongProp(DisplayType, 0));
    return props;
}

template <typename Part>
std::vector<Props> ShownRows(const std::vector<Part>& parts)
{
    std::vector<Props> rows;
    for (const Part& part : parts) {
        Props& row = rows.emplace_back();
        for (const auto& [id, prop] : part.Shown())
            row.push_back(prop);
    }
    return rows;
}

} // namespace

MessageObject::MessageObject(StorePtr store, MessageState state, bool writable, TKwComPtr<AttachmentObject> parent)
    : PropertyObject(std::move(store), writable), FState(std::move(state)), FParent(std::move(parent))
{}

MessageObject::~MessageObject() = default;

void MessageObject::Refresh()
{
    if (!FStale) {
        for (AttachmentState& attachment : FState.attachments) // the message around may have been saved
            attachment.Locate();
        return;
    }
    const ULONG nextAttachment = FState.nextAttachment;
    try {
        FState = LoadMessage(*FStore, FState.row);
        FState.nextAttachment = nextAttachment; // numbers are not used again while the message is open
    } catch (const Failure& failure) {
        if (failure.Code() != mapi::MAPI_E_NOT_FOUND)
            throw;
        Fail(mapi::MAPI_E_OBJECT_DELETED, sDeleted);
    }
    FStale = false;
}

void MessageObject::Changed(std::span<const ULONG> ids)
{
    FState.changed = true;
    FState.changedProps.insert(ids.begin(), ids.end());
    const auto has = [ids](ULONG tag) { return std::find(ids.begin(), ids.end(), tag >> 16) != ids.end(); };
    if (has(tag::SubjectPrefix))
        FPrefixGiven = FState.props.Find(tag::SubjectPrefix >> 16) != nullptr;
    if (has(tag::Subject) || has(tag::SubjectPrefix))
        DeriveSubject(FState.props, FPrefixGiven);
    if (has(tag::MessageFlags)) {
        const std::int64_t own = (FState.associated ? mapi::MSGFLAG_ASSOCIATED : 0) |
                                 (FState.props.Number(tag::HasAttach) ? mapi::MSGFLAG_HASATTACH : 0);
        FState.props.Set(LongProp(tag::MessageFlags, (FState.props.Number(tag::MessageFlags) & SettableFlags) | own));
    }
}

std::optional<Prop> MessageObject::Computed(ULONG id)
{
    switch (id) {
    case tag::ParentEntryId >> 16:
        if (FState.folder == 0 || FState.row == 0)
            return std::nullopt;
        return BinaryProp(tag::ParentEntryId, FStore->EntryIdOf(EntryKind::Folder, FState.folder));
    case tag::Access >> 16:
        return LongProp(tag::Access, FWritable
                                         ? mapi::MAPI_ACCESS_MODIFY | mapi::MAPI_ACCESS_READ | mapi::MAPI_ACCESS_DELETE
                                         : mapi::MAPI_ACCESS_READ);
    case tag::AccessLevel >> 16:
        return LongProp(tag::AccessLevel, FWritable ? mapi::MAPI_MODIFY : 0);
    case tag::MessageRecipients >> 16:
        return Prop{tag::MessageRecipients, {}};
    case tag::MessageAttachments >> 16:
        return Prop{tag::MessageAttachments, {}};
    default:
        return IdentityProperty(*FStore, EntryKind::Message, FParent ? 0 : FState.row, id);
    }
}

std::vector<ULONG> MessageObject::ComputedTags() const
{
    std::vector<ULONG> tags(std::begin(ComputedOnly), std::end(ComputedOnly));
    const auto identity = IdentityTags();
    tags.insert(tags.end(), identity.begin(), identity.end());
    return tags;
}

mapi::HRESULT MessageObject::CheckChange(ULONG tag, bool deleting)
{
    const ULONG id = tag >> 16;
    if (std::any_of(std::begin(ReadOnlyTags), std::end(ReadOnlyTags), [id](ULONG t) { return t >> 16 == id; }))
        return mapi::MAPI_E_COMPUTED;
    if (id == tag::MessageFlags >> 16 && (deleting || FState.row != 0))
        return mapi::MAPI_E_COMPUTED; // SetReadFlag and SubmitMessage change it from now on
    const MessageColumn* column = FindMessageColumn(id);
    if (column && !deleting && column->tag != tag)
        return mapi::MAPI_E_UNEXPECTED_TYPE;
    return mapi::S_OK;
}

TKwComPtr<mapi::IUnknown> MessageObject::OpenObject(ULONG tag, const mapi::IID& iid, ULONG options, ULONG flags)
{
    if (tag != tag::MessageRecipients && tag != tag::MessageAttachments)
        return PropertyObject::OpenObject(tag, iid, options, flags);
    if (iid != mapi::IID_IMAPITable)
        Fail(mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, sNoTable);
    const bool unicode = (options & mapi::MAPI_UNICODE) != 0;
    return tag == tag::MessageRecipients ? RecipientTable(unicode) : AttachmentTable(unicode);
}

void MessageObject::Save(ULONG flags)
{
    RequireFlags(flags, mapi::KEEP_OPEN_READONLY | mapi::KEEP_OPEN_READWRITE | mapi::FORCE_SAVE |
                            mapi::MAPI_DEFERRED_ERRORS | mapi::MDB_SAVE_MSG_UNLOCK | mapi::SPAMFILTER_ONSAVE |
                            mapi::ITEMPROC_FORCE | mapi::NON_EMS_XP_SAVE);
    RequireWritable();
    Refresh();
    if (FState.IsChanged()) {
        if (FState.row != 0) {
            const std::int64_t messageFlags = FState.props.Number(tag::MessageFlags);
            FState.props.Set(LongProp(tag::MessageFlags, messageFlags & ~std::int64_t{mapi::MSGFLAG_UNMODIFIED}));
        }
        if (FParent) {
            FParent->PutEmbedded(FState);
        } else {
            SaveMessage(*FStore, FState, (flags & mapi::FORCE_SAVE) != 0);
            FStale = true;
        }
    }
    if (flags & mapi::KEEP_OPEN_READONLY)
        FWritable = false;
}

void MessageObject::PutAttachment(const AttachmentState& attachment)
{
    Refresh();
    LoadAttachments(*FStore, FState);
    const auto own = std::find_if(FState.attachments.begin(), FState.attachments.end(),
                                  [&attachment](const auto& other) { return other.IsSame(attachment); });
    if (own != FState.attachments.end()) {
        own->TakeChanges(attachment);
    } else if (attachment.row != 0) {
        Fail(mapi::MAPI_E_OBJECT_DELETED, sAttachmentDeleted);
    } else {
        AttachmentState added = attachment;
        added.changed = true;
        if (FState.FindAttachment(added.num)) // somebody else's, since the message has been loaded again
            added.num = FState.nextAttachment++;
        FState.attachments.push_back(std::move(added));
    }
    DeriveHasAttach(FState);
    FState.changed = true;
}

const AttachmentState* MessageObject::PeekAttachment(ULONG num)
{
    Refresh();
    LoadAttachments(*FStore, FState);
    return FState.FindAttachment(num);
}

TKwComPtr<mapi::IMAPITable> MessageObject::RecipientTable(bool unicode)
{
    LoadRecipients(*FStore, FState);
    return {new Table(std::make_shared<MemorySource>(RecipientColumns, ShownRows(FState.recipients)), unicode)};
}

TKwComPtr<mapi::IMAPITable> MessageObject::AttachmentTable(bool unicode)
{
    LoadAttachments(*FStore, FState);
    return {new Table(std::make_shared<MemorySource>(AttachmentColumns, ShownRows(FState.attachments)), unicode)};
}

mapi::HRESULT MessageObject::GetAttachmentTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept
{
    return Run([&] {
        Require(table, u"lppTable");
        *table = nullptr;
        RequireFlags(flags, mapi::MAPI_UNICODE | mapi::MAPI_DEFERRED_ERRORS);
        Refresh();
        *table = AttachmentTable((flags & mapi::MAPI_UNICODE) != 0).Detach();
    });
}

mapi::HRESULT MessageObject::OpenAttach(ULONG num, mapi::LPCIID iid, ULONG flags, mapi::LPATTACH* attachment) noexcept
{
    return Run([&] {
        Require(attachment, u"lppAttach");
        *attachment = nullptr;
        RequireFlags(flags, mapi::MAPI_MODIFY | mapi::MAPI_BEST_ACCESS | mapi::MAPI_DEFERRED_ERRORS);
        RequireInterface(iid, {&mapi::IID_IAttachment, &mapi::IID_IMAPIProp});
        if (flags & mapi::MAPI_MODIFY)
            RequireWritable();
        const AttachmentState* state = PeekAttachment(num);
        if (!state)
            Fail(mapi::MAPI_E_NOT_FOUND, sNoAttachment);
        const bool writable = FWritable && (flags & (mapi::MAPI_MODIFY | mapi::MAPI_BEST_ACCESS)) != 0;
        *attachment =
            TKwComPtr<mapi::IAttach>(new AttachmentObject(TKwComPtr<MessageObject>(this), *state, writable)).Detach();
    });
}

mapi::HRESULT MessageObject::CreateAttach(mapi::LPCIID iid, ULONG flags, ULONG* num,
                                          mapi::LPATTACH* attachment) noexcept
{
    return Run([&] {
        Require(num, u"lpulAttachmentNum");
        Require(attachment, u"lppAttach");
        *attachment = nullptr;
        RequireFlags(flags, mapi::MAPI_DEFERRED_ERRORS);
        RequireInterface(iid, {&mapi::IID_IAttachment, &mapi::IID_IMAPIProp});
        RequireWritable();
        Refresh();
        LoadAttachments(*FStore, FState);
        AttachmentState state;
        state.num = FState.nextAttachment;
        state.place = std::make_shared<AttachmentPlace>();
        state.props.Set(LongProp(tag::RenderingPosition, -1));
        state.props.Set(LongProp(tag::CreationTime, Now()));
        *attachment =
            TKwComPtr<mapi::IAttach>(new AttachmentObject(TKwComPtr<MessageObject>(this), state, true)).Detach();
        *num = FState.nextAttachment++;
    });
}

mapi::HRESULT MessageObject::DeleteAttach(ULONG num, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::ATTACH_DIALOG);
        RequireWritable();
        const AttachmentState* state = PeekAttachment(num);
        if (!state)
            Fail(mapi::MAPI_E_NOT_FOUND, sNoAttachment);
        if (state->row != 0)
            FState.removedAttachments.push_back(state->row);
        std::erase_if(FState.attachments, [num](const auto& a) { return a.num == num; });
        DeriveHasAttach(FState);
        FState.changed = true;
    });
}

mapi::HRESULT MessageObject::GetRecipientTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept
{
    return Run([&] {
        Require(table, u"lppTable");
        *table = nullptr;
        RequireFlags(flags, mapi::MAPI_UNICODE | mapi::MAPI_DEFERRED_ERRORS);
        Refresh();
        *table = RecipientTable((flags & mapi::MAPI_UNICODE) != 0).Detach();
    });
}

void MessageObject::ApplyRecipients(ULONG flags, const mapi::ADRLIST& list)
{
    std::vector<Recipient> recipients;
    if (flags != 0)
        recipients = FState.recipients;
    ULONG next = 0;
    for (const Recipient& recipient : recipients)
        next = std::max(next, recipient.rowId + 1);
    for (ULONG i = 0; i < list.cEntries; ++i) {
        PropertyBag props = RecipientProps(list.aEntries[i]);
        if (flags == 0 || flags & mapi::MODRECIP_ADD) {
            recipients.push_back({next++, std::move(props)});
            continue;
        }
        const Prop* rowId = props.Find(tag::RowId >> 16);
        const auto it = std::find_if(recipients.begin(), recipients.end(), [&](const Recipient& recipient) {
            return rowId && recipient.rowId == static_cast<ULONG>(props.Number(tag::RowId));
        });
        if (it == recipients.end())
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoRow);
        if (flags & mapi::MODRECIP_REMOVE)
            recipients.erase(it);
        else
            it->props = std::move(props);
    }
    FState.recipients = std::move(recipients);
}

mapi::HRESULT MessageObject::ModifyRecipients(ULONG flags, mapi::LPADRLIST list) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::MODRECIP_ADD | mapi::MODRECIP_MODIFY | mapi::MODRECIP_REMOVE);
        Require(list, u"lpMods");
        RequireWritable();
        Refresh();
        LoadRecipients(*FStore, FState);
        ApplyRecipients(flags, *list);
        DeriveDisplayNames(FState);
        FState.recipientsChanged = true;
        FState.changed = true;
    });
}

mapi::HRESULT MessageObject::SubmitMessage(ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::FORCE_SUBMIT);
        Fail(mapi::MAPI_E_NO_SUPPORT, sNoTransport);
    });
}

mapi::HRESULT MessageObject::SetReadFlag(ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::CLEAR_READ_FLAG | mapi::SUPPRESS_RECEIPT | mapi::GENERATE_RECEIPT_ONLY |
                                mapi::CLEAR_RN_PENDING | mapi::CLEAR_NRN_PENDING | mapi::MAPI_DEFERRED_ERRORS);
        RequireWritable();
        Refresh();
        const ReadFlagChange change(flags);
        if (FState.row != 0 && !FParent) {
            Transaction transaction(FStore->Db());
            if (SetReadFlagsOf(*FStore, {FState.row}, change) != 0)
                Fail(mapi::MAPI_E_OBJECT_DELETED, sDeleted);
            transaction.Commit();
        } else {
            FState.changed = true;
            FState.changedProps.insert(tag::MessageFlags >> 16);
        }
        FState.props.Set(LongProp(tag::MessageFlags, change.Apply(FState.props.Number(tag::MessageFlags))));
    });
}

} // namespace deftmapi::client
