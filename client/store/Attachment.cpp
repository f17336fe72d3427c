#include "client/store/Attachment.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr auto sNoEmbedded = u"The attachment has no embedded message.";
constexpr auto sNoStorage =
    u"Attachment data can be opened as IID_IStream or, for an embedded message, as IID_IMessage.";

constexpr ULONG ReadOnlyTags[] = {tag::AttachNum,   tag::AttachSize,       tag::RecordKey,        tag::ObjectType,
                                  tag::AccessLevel, tag::StoreSupportMask, tag::MappingSignature, tag::InstanceKey};
constexpr ULONG DataId = tag::AttachDataBin >> 16;

} // namespace

AttachmentObject::AttachmentObject(TKwComPtr<MessageObject> parent, AttachmentState state, bool writable)
    : PropertyObject(parent->SharedStore(), writable), FParent(std::move(parent)), FState(std::move(state))
{}

AttachmentObject::~AttachmentObject() = default;

void AttachmentObject::Changed(std::span<const ULONG> ids)
{
    FState.changed = true;
    FState.changedProps.insert(ids.begin(), ids.end());
    // Data written over an embedded message takes its place.
    if (std::find(ids.begin(), ids.end(), DataId) != ids.end()) {
        FState.embedded = nullptr;
        FState.embeddedRow = 0;
    }
}

std::optional<Prop> AttachmentObject::Computed(ULONG id)
{
    switch (id) {
    case tag::AttachNum >> 16:
        return LongProp(tag::AttachNum, FState.num);
    case tag::AttachSize >> 16:
        if (FState.props.Find(id) && !FState.changed)
            return std::nullopt;
        return LongProp(tag::AttachSize, static_cast<std::int64_t>(FState.props.Size()));
    case tag::RecordKey >> 16:
    case tag::InstanceKey >> 16: {
        const auto* raw = reinterpret_cast<const std::uint8_t*>(&FState.num);
        return BinaryProp(id << 16 | mapi::PT_BINARY, Bytes(raw, raw + sizeof FState.num));
    }
    case tag::ObjectType >> 16:
        return LongProp(tag::ObjectType, mapi::MAPI_ATTACH);
    case tag::AccessLevel >> 16:
        return LongProp(tag::AccessLevel, FWritable ? mapi::MAPI_MODIFY : 0);
    case DataId:
        if (HasObject(id))
            return Prop{tag::AttachDataObj, {}};
        return std::nullopt;
    case tag::EntryId >> 16:
        return std::nullopt;
    default:
        return IdentityProperty(*FStore, EntryKind::Message, 0, id);
    }
}

std::vector<ULONG> AttachmentObject::ComputedTags() const
{
    std::vector<ULONG> tags(std::begin(ReadOnlyTags), std::end(ReadOnlyTags));
    tags.push_back(tag::AttachDataObj);
    return tags;
}

mapi::HRESULT AttachmentObject::CheckChange(ULONG tag, bool)
{
    const bool readOnly =
        std::any_of(std::begin(ReadOnlyTags), std::end(ReadOnlyTags), [tag](ULONG t) { return t >> 16 == tag >> 16; });
    return readOnly ? mapi::MAPI_E_COMPUTED : mapi::S_OK;
}

TKwComPtr<mapi::IUnknown> AttachmentObject::OpenObject(ULONG tag, const mapi::IID& iid, ULONG options, ULONG flags)
{
    if (tag >> 16 != DataId)
        return PropertyObject::OpenObject(tag, iid, options, flags);
    if (iid == mapi::IID_IStream) {
        TKwComPtr<mapi::IUnknown> stream;
        DoOpenProperty(tag::AttachDataBin, &iid, options, flags, Out(stream));
        return stream;
    }
    if (iid != mapi::IID_IMessage)
        Fail(mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, sNoStorage);
    const bool create = (flags & mapi::MAPI_CREATE) != 0;
    const bool writable = FWritable && (create || (flags & mapi::MAPI_MODIFY) != 0);
    MessageState state;
    if (create)
        state = NewMessage(0, false);
    else if (FState.embedded)
        state = *FState.embedded;
    else if (FState.embeddedRow)
        state = LoadStored(writable);
    else
        Fail(mapi::MAPI_E_NOT_FOUND, sNoEmbedded);
    return {new MessageObject(FStore, std::move(state), writable, TKwComPtr<AttachmentObject>(this))};
}

MessageState AttachmentObject::LoadStored(bool whole) const
{
    const Snapshot snapshot(FStore->Db());
    MessageState state = LoadMessage(*FStore, FState.embeddedRow);
    if (whole) { // what is changed may have to be written when somebody else has deleted all of it
        LoadRecipients(*FStore, state);
        LoadAttachments(*FStore, state);
    }
    return state;
}

void AttachmentObject::PutEmbedded(const MessageState& message)
{
    FState.embedded = std::make_shared<MessageState>(message);
    FState.props.Erase(DataId);
    FState.changedProps.insert(DataId);
    FState.changed = true;
}

void AttachmentObject::Save(ULONG flags)
{
    RequireFlags(flags,
                 mapi::KEEP_OPEN_READONLY | mapi::KEEP_OPEN_READWRITE | mapi::FORCE_SAVE | mapi::MAPI_DEFERRED_ERRORS);
    RequireWritable();
    Refresh();
    if (FState.changed || FState.row == 0) {
        FState.props.Set(LongProp(tag::LastModification, Now()));
        FState.changedProps.insert(tag::LastModification >> 16);
        FParent->PutAttachment(FState);
        FState.changedProps.clear(); // the message has them
    }
    if (flags & mapi::KEEP_OPEN_READONLY)
        FWritable = false;
}

} // namespace deftmapi::client
