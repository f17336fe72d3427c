// IMessage. Everything happens on a MessageState in memory; SaveChanges writes it in one transaction, or, for an
// embedded message, puts a copy into the attachment that holds it.
#pragma once

#include "client/store/MessageRecords.hpp"
#include "client/store/StoreObjects.hpp"

namespace deftmapi::client
{

class AttachmentObject;

class MessageObject final : public PropertyObject<mapi::IMessage>
{
public:
    /// @param parent  the attachment that holds an embedded message, else null
    MessageObject(StorePtr store, MessageState state, bool writable, TKwComPtr<AttachmentObject> parent);

    mapi::HRESULT DEFTMAPI_STDCALL GetAttachmentTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenAttach(ULONG num, mapi::LPCIID iid, ULONG flags,
                                              mapi::LPATTACH* attachment) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateAttach(mapi::LPCIID iid, ULONG flags, ULONG* num,
                                                mapi::LPATTACH* attachment) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL DeleteAttach(ULONG num, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS,
                                                ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetRecipientTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL ModifyRecipients(ULONG flags, mapi::LPADRLIST list) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SubmitMessage(ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetReadFlag(ULONG flags) noexcept override;

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMessage || iid == mapi::IID_IMAPIProp;
    }
    /// Takes over what an attachment has saved. REQUIRES: the store's lock is held.
    void PutAttachment(const AttachmentState& attachment);
    /// The attachment as the message has it now, or null.
    [[nodiscard]] const AttachmentState* PeekAttachment(ULONG num);

protected:
    ~MessageObject() override;
    void Refresh() override;
    const PropertyBag& Read() override { return FState.props; }
    PropertyBag& Write() override { return FState.props; }
    void Changed(std::span<const ULONG> ids) override;
    std::optional<Prop> Computed(ULONG id) override;
    std::vector<ULONG> ComputedTags() const override;
    mapi::HRESULT CheckChange(ULONG tag, bool deleting) override;
    TKwComPtr<mapi::IUnknown> OpenObject(ULONG tag, const mapi::IID& iid, ULONG options, ULONG flags) override;
    void Save(ULONG flags) override;

private:
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> RecipientTable(bool unicode);
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> AttachmentTable(bool unicode);
    void ApplyRecipients(ULONG flags, const mapi::ADRLIST& list);

    MessageState FState;
    TKwComPtr<AttachmentObject> FParent;
    bool FStale = false;       // saved: the next use loads again
    bool FPrefixGiven = false; // PR_SUBJECT_PREFIX was set by the caller
};

} // namespace deftmapi::client
