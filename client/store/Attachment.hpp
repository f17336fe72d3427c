// IAttach. It works on a copy of the attachment; SaveChanges puts the copy into the message, which is saved on its own.
#pragma once

#include "client/store/Message.hpp"

namespace deftmapi::client
{

class AttachmentObject final : public PropertyObject<mapi::IAttach>
{
public:
    AttachmentObject(TKwComPtr<MessageObject> parent, AttachmentState state, bool writable);

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IAttachment || iid == mapi::IID_IMAPIProp;
    }
    /// Takes over what an embedded message has saved. REQUIRES: the store's lock is held.
    void PutEmbedded(const MessageState& message);

protected:
    ~AttachmentObject() override;
    void Refresh() override { FState.Locate(); }
    const PropertyBag& Read() override { return FState.props; }
    PropertyBag& Write() override { return FState.props; }
    void Changed(std::span<const ULONG> ids) override;
    std::optional<Prop> Computed(ULONG id) override;
    std::vector<ULONG> ComputedTags() const override;
    mapi::HRESULT CheckChange(ULONG tag, bool deleting) override;
    bool HasObject(ULONG id) const override
    {
        return id == tag::AttachDataObj >> 16 &&
               (FState.embedded || (FState.embeddedRow != 0 && !FState.props.Find(id)));
    }
    TKwComPtr<mapi::IUnknown> OpenObject(ULONG tag, const mapi::IID& iid, ULONG options, ULONG flags) override;
    void Save(ULONG flags) override;

private:
    /// The embedded message of the store. @param whole  with recipients and attachments
    [[nodiscard]] MessageState LoadStored(bool whole) const;

    TKwComPtr<MessageObject> FParent;
    AttachmentState FState;
};

} // namespace deftmapi::client
