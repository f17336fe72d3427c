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

using namespace mapi;

/// Lets the n-th call into any object of this file fail. One for each test.
struct TFaults
{
    long FailAt = 0; ///< 0: never
    long Calls = 0;
    HRESULT Code = MAPI_E_DISK_ERROR;
    bool Discard = false; ///< streams only count what is written
    std::uint64_t Discarded = 0;

    [[nodiscard]] bool Next() noexcept { return ++Calls == FailAt; }
};

struct TValue
{
    LONG Number = 0;
    std::uint64_t Time = 0;
    WideString Text;
    std::string Bytes;
};
using TValues = std::map<ULONG, TValue>;
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

/// What a stream need not have for the reader.
class TStreamDouble : public ComObject<IStream>
{
public:
    HRESULT DEFTMAPI_STDCALL Write(const void*, ULONG, ULONG*) noexcept override { return E_NOTIMPL; }
    HRESULT DEFTMAPI_STDCALL SetSize(ULARGE_INTEGER) noexcept override { return E_NOTIMPL; }
    HRESULT DEFTMAPI_STDCALL Commit(DWORD) noexcept override { return E_NOTIMPL; }
    HRESULT DEFTMAPI_STDCALL CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) noexcept override
    {
        return E_NOTIMPL;
    }
    HRESULT DEFTMAPI_STDCALL Revert() noexcept override { return E_NOTIMPL; }
    HRESULT DEFTMAPI_STDCALL LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override { return E_NOTIMPL; }
    HRESULT DEFTMAPI_STDCALL UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override { return E_NOTIMPL; }
    HRESULT DEFTMAPI_STDCALL Stat(STATSTG*, DWORD) noexcept override { return E_NOTIMPL; }
    HRESULT DEFTMAPI_STDCALL Clone(IStream**) noexcept override { return E_NOTIMPL; }
    [[nodiscard]] bool Implements(const IID& iid) const noexcept override { return iid == IID_IStream; }
};

/// A stream over its own bytes.
class TMemoryStream final : public TStreamDouble
{
public:
    explicit TMemoryStream(std::string bytes, TFaults* faults = nullptr) : FBytes(std::move(bytes)), FFaults(faults) {}

    bool CanSeek = true;
    /// Receives the bytes at Commit.
    std::function<void(const std::string&)> OnCommit;

    HRESULT DEFTMAPI_STDCALL Read(void* pv, ULONG cb, ULONG* pcbRead) noexcept override;
    HRESULT DEFTMAPI_STDCALL Write(const void* pv, ULONG cb, ULONG* pcbWritten) noexcept override;
    HRESULT DEFTMAPI_STDCALL Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin,
                                  ULARGE_INTEGER* plibNewPosition) noexcept override;
    HRESULT DEFTMAPI_STDCALL SetSize(ULARGE_INTEGER libNewSize) noexcept override;
    HRESULT DEFTMAPI_STDCALL Commit(DWORD grfCommitFlags) noexcept override;

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
    HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT, ULONG, LPMAPIERROR*) noexcept override { return MAPI_E_NO_SUPPORT; }
    HRESULT DEFTMAPI_STDCALL GetProps(LPSPropTagArray, ULONG, ULONG*, LPSPropValue*) noexcept override
    {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT DEFTMAPI_STDCALL GetPropList(ULONG, LPSPropTagArray*) noexcept override { return MAPI_E_NO_SUPPORT; }
    HRESULT DEFTMAPI_STDCALL OpenProperty(ULONG ulPropTag, LPCIID lpiid, ULONG ulInterfaceOptions, ULONG ulFlags,
                                          LPUNKNOWN* lppUnk) noexcept override;
    HRESULT DEFTMAPI_STDCALL SetProps(ULONG cValues, LPSPropValue lpPropArray,
                                      LPSPropProblemArray* lppProblems) noexcept override;
    HRESULT DEFTMAPI_STDCALL DeleteProps(LPSPropTagArray, LPSPropProblemArray*) noexcept override
    {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT DEFTMAPI_STDCALL CopyTo(ULONG, LPCIID, LPSPropTagArray, ULONG_PTR, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG,
                                    LPSPropProblemArray*) noexcept override
    {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT DEFTMAPI_STDCALL CopyProps(LPSPropTagArray, ULONG_PTR, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG,
                                       LPSPropProblemArray*) noexcept override
    {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT DEFTMAPI_STDCALL GetNamesFromIDs(LPSPropTagArray*, LPGUID, ULONG, ULONG*, LPMAPINAMEID**) noexcept override
    {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT DEFTMAPI_STDCALL GetIDsFromNames(ULONG, LPMAPINAMEID*, ULONG, LPSPropTagArray*) noexcept override
    {
        return MAPI_E_NO_SUPPORT;
    }

    /// Tags that SetProps refuses with this code each, as a problem.
    std::map<ULONG, SCODE> Refused;

protected:
    explicit TMemoryProps(TFaults& faults) : FFaults(faults) {}
    virtual HRESULT OpenObject(ULONG, LPUNKNOWN*) { return MAPI_E_INTERFACE_NOT_SUPPORTED; }

    TFaults& FFaults;
    TValues FValues;
};

class TMemoryMessage final : public TMemoryProps<IMessage>
{
public:
    /// @param target  receives the state at SaveChanges
    TMemoryMessage(TFaults& faults, std::shared_ptr<TMessageState> target)
        : TMemoryProps(faults), FTarget(std::move(target))
    {}

    HRESULT DEFTMAPI_STDCALL SaveChanges(ULONG ulFlags) noexcept override;
    HRESULT DEFTMAPI_STDCALL CreateAttach(LPCIID lpInterface, ULONG ulFlags, ULONG* lpulAttachmentNum,
                                          LPATTACH* lppAttach) noexcept override;
    HRESULT DEFTMAPI_STDCALL ModifyRecipients(ULONG ulFlags, LPADRLIST lpMods) noexcept override;
    HRESULT DEFTMAPI_STDCALL GetAttachmentTable(ULONG, LPMAPITABLE*) noexcept override { return MAPI_E_NO_SUPPORT; }
    HRESULT DEFTMAPI_STDCALL OpenAttach(ULONG, LPCIID, ULONG, LPATTACH*) noexcept override { return MAPI_E_NO_SUPPORT; }
    HRESULT DEFTMAPI_STDCALL DeleteAttach(ULONG, ULONG_PTR, LPMAPIPROGRESS, ULONG) noexcept override
    {
        return MAPI_E_NO_SUPPORT;
    }
    HRESULT DEFTMAPI_STDCALL GetRecipientTable(ULONG, LPMAPITABLE*) noexcept override { return MAPI_E_NO_SUPPORT; }
    HRESULT DEFTMAPI_STDCALL SubmitMessage(ULONG) noexcept override { return MAPI_E_NO_SUPPORT; }
    HRESULT DEFTMAPI_STDCALL SetReadFlag(ULONG) noexcept override { return MAPI_E_NO_SUPPORT; }
    [[nodiscard]] bool Implements(const IID& iid) const noexcept override
    {
        return iid == IID_IMessage || iid == IID_IMAPIProp;
    }

private:
    std::vector<TRow> FRecipients;
    std::vector<std::shared_ptr<std::shared_ptr<TAttachmentState>>> FAttachments;
    std::shared_ptr<TMessageState> FTarget;
};

/// Stores the values of a row or of SetProps.
[[nodiscard]] TValues CopyValues(ULONG count, const SPropValue* values);
/// The value that a stream has.
[[nodiscard]] TValue StreamedValue(ULONG propTag, const std::string& bytes);

} // namespace deftmapi::client::mime::test
