// A message, attachments and streams in memory, behind the published interfaces and nothing else. It is as strict as a
// store: attachments, embedded messages and streamed values count only after SaveChanges or Commit. Any call can be
// made to fail.
#pragma once

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace deftmapi::client::mime::test
{

/// Lets the n-th call into any object of this file fail. One for each test.
struct TFaults
{
    long FailAt = 0; ///< 0: never
    long Calls = 0;
    mapi::HRESULT Code = mapi::MAPI_E_DISK_ERROR;
    bool Discard = false; ///< streams only count what is written
    std::uint64_t Discarded = 0;

    [[nodiscard]] bool Next() noexcept { return ++Calls == FailAt; }
};

struct TValue
{
    mapi::LONG Number = 0;
    std::uint64_t Time = 0;
    WideString Text;
    std::string Bytes;
};
using TValues = std::map<mapi::ULONG, TValue>;
using TRow = TValues;

struct TAttachmentState;

/// What was saved of a message.
struct TMessageState
{
    TValues Values;
    std::vector<TRow> Recipients;
    std::vector<std::shared_ptr<TAttachmentState>> Attachments; ///< null: created and never saved
};
struct TAttachmentState
{
    TValues Values;
    std::shared_ptr<TMessageState> Message;
};

/// A stream over its own bytes.
class TMemoryStream final : public ComObject<mapi::IStream>
{
public:
    explicit TMemoryStream(std::string bytes, TFaults* faults = nullptr) : FBytes(std::move(bytes)), FFaults(faults) {}

    bool CanSeek = true;
    std::size_t LargestRead = 0;
    /// Receives the bytes at Commit.
    std::function<void(const std::string&)> OnCommit;

    mapi::HRESULT DEFTMAPI_STDCALL Read(void* pv, mapi::ULONG cb, mapi::ULONG* pcbRead) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Write(const void* pv, mapi::ULONG cb, mapi::ULONG* pcbWritten) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Seek(mapi::LARGE_INTEGER dlibMove, mapi::DWORD dwOrigin,
                                        mapi::ULARGE_INTEGER* plibNewPosition) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetSize(mapi::ULARGE_INTEGER libNewSize) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Commit(mapi::DWORD grfCommitFlags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyTo(mapi::IStream*, mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER*,
                                          mapi::ULARGE_INTEGER*) noexcept override
    {
        return mapi::E_NOTIMPL;
    }
    mapi::HRESULT DEFTMAPI_STDCALL Revert() noexcept override { return mapi::E_NOTIMPL; }
    mapi::HRESULT DEFTMAPI_STDCALL LockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER, mapi::DWORD) noexcept override
    {
        return mapi::E_NOTIMPL;
    }
    mapi::HRESULT DEFTMAPI_STDCALL UnlockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER,
                                                mapi::DWORD) noexcept override
    {
        return mapi::E_NOTIMPL;
    }
    mapi::HRESULT DEFTMAPI_STDCALL Stat(mapi::STATSTG*, mapi::DWORD) noexcept override { return mapi::E_NOTIMPL; }
    mapi::HRESULT DEFTMAPI_STDCALL Clone(mapi::IStream**) noexcept override { return mapi::E_NOTIMPL; }
    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override { return iid == mapi::IID_IStream; }

private:
    std::string FBytes;
    std::size_t FPosition = 0;
    TFaults* FFaults;
};

/// What messages and attachments share: a property map.
template <typename Interface>
class TMemoryProps : public ComObject<Interface>
{
public:
    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR*) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetProps(mapi::LPSPropTagArray, mapi::ULONG, mapi::ULONG*,
                                            mapi::LPSPropValue*) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetPropList(mapi::ULONG, mapi::LPSPropTagArray*) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenProperty(mapi::ULONG ulPropTag, mapi::LPCIID lpiid,
                                                mapi::ULONG ulInterfaceOptions, mapi::ULONG ulFlags,
                                                mapi::LPUNKNOWN* lppUnk) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetProps(mapi::ULONG cValues, mapi::LPSPropValue lpPropArray,
                                            mapi::LPSPropProblemArray* lppProblems) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL DeleteProps(mapi::LPSPropTagArray, mapi::LPSPropProblemArray*) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL CopyTo(mapi::ULONG, mapi::LPCIID, mapi::LPSPropTagArray, mapi::ULONG_PTR,
                                          mapi::LPMAPIPROGRESS, mapi::LPCIID, mapi::LPVOID, mapi::ULONG,
                                          mapi::LPSPropProblemArray*) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL CopyProps(mapi::LPSPropTagArray, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, mapi::LPCIID,
                                             mapi::LPVOID, mapi::ULONG, mapi::LPSPropProblemArray*) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetNamesFromIDs(mapi::LPSPropTagArray*, mapi::LPGUID, mapi::ULONG, mapi::ULONG*,
                                                   mapi::LPMAPINAMEID**) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetIDsFromNames(mapi::ULONG, mapi::LPMAPINAMEID*, mapi::ULONG,
                                                   mapi::LPSPropTagArray*) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }

    /// Tags that SetProps refuses with this code each, as a problem.
    std::map<mapi::ULONG, mapi::SCODE> Refused;

protected:
    explicit TMemoryProps(TFaults& faults) : FFaults(faults) {}
    virtual mapi::HRESULT OpenObject(mapi::ULONG, mapi::LPUNKNOWN*) { return mapi::MAPI_E_INTERFACE_NOT_SUPPORTED; }

    TFaults& FFaults;
    TValues FValues;
};

class TMemoryMessage final : public TMemoryProps<mapi::IMessage>
{
public:
    /// @param target  receives the state at SaveChanges
    TMemoryMessage(TFaults& faults, std::shared_ptr<TMessageState> target)
        : TMemoryProps(faults), FTarget(std::move(target))
    {}

    mapi::HRESULT DEFTMAPI_STDCALL SaveChanges(mapi::ULONG ulFlags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateAttach(mapi::LPCIID lpInterface, mapi::ULONG ulFlags,
                                                mapi::ULONG* lpulAttachmentNum,
                                                mapi::LPATTACH* lppAttach) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL ModifyRecipients(mapi::ULONG ulFlags, mapi::LPADRLIST lpMods) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetAttachmentTable(mapi::ULONG, mapi::LPMAPITABLE*) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenAttach(mapi::ULONG, mapi::LPCIID, mapi::ULONG, mapi::LPATTACH*) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteAttach(mapi::ULONG, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS,
                                                mapi::ULONG) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetRecipientTable(mapi::ULONG, mapi::LPMAPITABLE*) noexcept override
    {
        return mapi::MAPI_E_NO_SUPPORT;
    }
    mapi::HRESULT DEFTMAPI_STDCALL SubmitMessage(mapi::ULONG) noexcept override { return mapi::MAPI_E_NO_SUPPORT; }
    mapi::HRESULT DEFTMAPI_STDCALL SetReadFlag(mapi::ULONG) noexcept override { return mapi::MAPI_E_NO_SUPPORT; }
    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMessage || iid == mapi::IID_IMAPIProp;
    }

private:
    std::vector<TRow> FRecipients;
    std::vector<std::shared_ptr<std::shared_ptr<TAttachmentState>>> FAttachments;
    std::shared_ptr<TMessageState> FTarget;
};

/// Stores the values of a row or of SetProps.
[[nodiscard]] TValues CopyValues(mapi::ULONG count, const mapi::SPropValue* values);

} // namespace deftmapi::client::mime::test
