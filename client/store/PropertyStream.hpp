// IStream over one text or binary property. Reading goes to the stored chunks; the first write makes a spool that the
// object sees at once (8-bit text, and objects that ask for it: at Commit or when the stream is released). On disk it
// is only when the object is saved.
#pragma once

#include "client/store/PropertyObject.hpp"

namespace deftmapi::client
{

/// The bytes of a value as a stream gives them: text without its terminator.
[[nodiscard]] BlobPtr StreamContent(const Prop& value);

class PropertyStream final : public ComObject<mapi::IStream>
{
public:
    /// @param owner keeps `core` alive. @param content  null: empty
    PropertyStream(TKwComPtr<mapi::IUnknown> owner, PropertyCore& core, ULONG tag, BlobPtr content, bool writable);

    /// Makes the property exist, empty: at once, or at the latest when the stream is released, as the object takes what
    /// is written. @throws Failure
    void Start();
    void MoveToEnd() { FPosition = Size(); }

    mapi::HRESULT DEFTMAPI_STDCALL Read(void* to, ULONG count, ULONG* read) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Write(const void* from, ULONG count, ULONG* written) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Seek(mapi::LARGE_INTEGER move, mapi::DWORD origin,
                                        mapi::ULARGE_INTEGER* position) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetSize(mapi::ULARGE_INTEGER size) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyTo(mapi::IStream* to, mapi::ULARGE_INTEGER count, mapi::ULARGE_INTEGER* read,
                                          mapi::ULARGE_INTEGER* written) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Commit(mapi::DWORD flags) noexcept override;
    /// Back to what the stream was opened with, unless that has been written over at the object: STG_E_INVALIDFUNCTION.
    mapi::HRESULT DEFTMAPI_STDCALL Revert() noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL LockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER,
                                              mapi::DWORD) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL UnlockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER,
                                                mapi::DWORD) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Stat(mapi::STATSTG* stat, mapi::DWORD flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Clone(mapi::IStream** clone) noexcept override;

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IStream || iid == mapi::IID_ISequentialStream;
    }

protected:
    ~PropertyStream() override;

private:
    template <typename Body>
    mapi::HRESULT Run(Body&& body) noexcept;
    [[nodiscard]] bool IsNarrow() const { return (FTag & 0xFFFF) == mapi::PT_STRING8; }
    [[nodiscard]] std::uint64_t Size() const;
    [[nodiscard]] std::uint64_t MaximumSize() const;
    Spool& Writable();
    void Publish(bool final);

    TKwComPtr<mapi::IUnknown> FOwner;
    PropertyCore& FCore;
    std::shared_ptr<PropertyHome> FHome;
    ULONG FTag;
    BlobPtr FContent;
    std::shared_ptr<Spool> FSpool; // once written
    BlobPtr FOpened;               // what it was before; null again once the object has the other
    bool FWritable;
    bool FUnpublished = false; // written but not yet handed to the object
    std::uint64_t FPosition = 0;
    LastError FLast;
};

} // namespace deftmapi::client
