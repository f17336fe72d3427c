// The in-memory objects.
#include "tests/client/formats/MemoryMessage.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::client::mime::test
{

namespace
{

/// Runs a body, unless it is this call's turn to fail.
template <typename Body>
mapi::HRESULT Faulty(TFaults& faults, Body&& body) noexcept
{
    LastError last;
    return faults.Next() ? faults.Code : Guard(last, std::forward<Body>(body));
}

class TMemoryAttach final : public TMemoryProps<mapi::IAttach>
{
public:
    TMemoryAttach(TFaults& faults, std::shared_ptr<std::shared_ptr<TAttachmentState>> slot)
        : TMemoryProps(faults), FSlot(std::move(slot))
    {}

    mapi::HRESULT DEFTMAPI_STDCALL SaveChanges(mapi::ULONG) noexcept override
    {
        return Faulty(FFaults, [&] {
            auto state = std::make_shared<TAttachmentState>();
            state->Values = FValues;
            state->Message = FMessage;
            *FSlot = std::move(state);
        });
    }
    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IAttachment || iid == mapi::IID_IMAPIProp;
    }

private:
    mapi::HRESULT OpenObject(mapi::ULONG flags, mapi::LPUNKNOWN* object) override
    {
        const auto method = FValues.find(0x37050003);
        if ((flags & mapi::MAPI_CREATE) == 0 || method == FValues.end() ||
            method->second.Number != static_cast<mapi::LONG>(mapi::ATTACH_EMBEDDED_MSG))
            return mapi::MAPI_E_INVALID_PARAMETER;
        FMessage = std::make_shared<TMessageState>();
        *object = TKwComPtr<mapi::IUnknown>(new TMemoryMessage(FFaults, FMessage)).Detach();
        return mapi::S_OK;
    }

    std::shared_ptr<std::shared_ptr<TAttachmentState>> FSlot;
    std::shared_ptr<TMessageState> FMessage;
};

} // namespace

mapi::HRESULT TMemoryStream::Read(void* pv, mapi::ULONG cb, mapi::ULONG* pcbRead) noexcept
{
    if (FFaults != nullptr && FFaults->Next())
        return FFaults->Code;
    LargestRead = std::max<std::size_t>(LargestRead, cb);
    const std::size_t got = std::min<std::size_t>(cb, FBytes.size() - std::min(FPosition, FBytes.size()));
    if (got > 0)
        std::memcpy(pv, FBytes.data() + FPosition, got);
    FPosition += got;
    if (pcbRead != nullptr)
        *pcbRead = static_cast<mapi::ULONG>(got);
    return mapi::S_OK;
}

mapi::HRESULT TMemoryStream::Write(const void* pv, mapi::ULONG cb, mapi::ULONG* pcbWritten) noexcept
{
    LastError last;
    if (FFaults != nullptr && FFaults->Next())
        return FFaults->Code;
    return Guard(last, [&] {
        *pcbWritten = cb;
        if (FFaults != nullptr && FFaults->Discard) {
            FFaults->Discarded += cb;
            return;
        }
        FBytes.resize(FPosition);
        FBytes.append(static_cast<const char*>(pv), cb);
        FPosition += cb;
    });
}

mapi::HRESULT TMemoryStream::Seek(mapi::LARGE_INTEGER dlibMove, mapi::DWORD dwOrigin,
                                  mapi::ULARGE_INTEGER* plibNewPosition) noexcept
{
    if (!CanSeek)
        return mapi::E_NOTIMPL;
    if (FFaults != nullptr && FFaults->Next())
        return FFaults->Code;
    const std::size_t origin = dwOrigin == mapi::STREAM_SEEK_SET   ? 0
                               : dwOrigin == mapi::STREAM_SEEK_CUR ? FPosition
                                                                   : FBytes.size();
    FPosition = origin + static_cast<std::size_t>(dlibMove.QuadPart);
    if (plibNewPosition != nullptr)
        plibNewPosition->QuadPart = FPosition;
    return mapi::S_OK;
}

mapi::HRESULT TMemoryStream::SetSize(mapi::ULARGE_INTEGER libNewSize) noexcept
{
    LastError last;
    if (FFaults != nullptr && FFaults->Next())
        return FFaults->Code;
    return Guard(last, [&] { FBytes.resize(libNewSize.QuadPart); });
}

mapi::HRESULT TMemoryStream::Commit(mapi::DWORD) noexcept
{
    LastError last;
    if (FFaults != nullptr && FFaults->Next())
        return FFaults->Code;
    return Guard(last, [&] {
        if (OnCommit)
            OnCommit(FBytes);
    });
}

TValues CopyValues(mapi::ULONG count, const mapi::SPropValue* values)
{
    TValues result;
    for (mapi::ULONG i = 0; i < count; ++i) {
        const mapi::UPV& from = values[i].Value;
        TValue value;
        switch (mapi::PROP_TYPE(values[i].ulPropTag)) {
        case mapi::PT_LONG:
            value.Number = from.l;
            break;
        case mapi::PT_BOOLEAN:
            value.Number = from.b;
            break;
        case mapi::PT_SYSTIME:
            value.Time = (std::uint64_t{from.ft.dwHighDateTime} << 32) | from.ft.dwLowDateTime;
            break;
        case mapi::PT_UNICODE:
            value.Text = from.lpszW;
            break;
        case mapi::PT_BINARY:
            value.Bytes.assign(reinterpret_cast<const char*>(from.bin.lpb), from.bin.cb);
            break;
        default:
            Fail(mapi::MAPI_E_UNEXPECTED_TYPE, u"A property type that this message does not keep.");
        }
        result[values[i].ulPropTag] = std::move(value);
    }
    return result;
}

template <typename Interface>
mapi::HRESULT TMemoryProps<Interface>::OpenProperty(mapi::ULONG ulPropTag, mapi::LPCIID lpiid, mapi::ULONG,
                                                    mapi::ULONG ulFlags, mapi::LPUNKNOWN* lppUnk) noexcept
{
    return Faulty(FFaults, [&]() -> mapi::HRESULT {
        *lppUnk = nullptr;
        if (ulPropTag == 0x3701000D && *lpiid == mapi::IID_IMessage)
            return OpenObject(ulFlags, lppUnk);
        if (*lpiid != mapi::IID_IStream || (ulFlags & mapi::MAPI_CREATE) == 0)
            return mapi::MAPI_E_INTERFACE_NOT_SUPPORTED;
        const bool text = mapi::PROP_TYPE(ulPropTag) == mapi::PT_UNICODE;
        if (!text && mapi::PROP_TYPE(ulPropTag) != mapi::PT_BINARY)
            return mapi::MAPI_E_INTERFACE_NOT_SUPPORTED;
        TKwComPtr<TMemoryStream> stream(new TMemoryStream({}, &FFaults));
        // The values live as long as this object, which the stream keeps alive.
        stream->OnCommit = [self = TKwComPtr<TMemoryProps>(this), ulPropTag, text](const std::string& bytes) {
            TValue& value = self->FValues[ulPropTag];
            value = {};
            if (!text)
                value.Bytes = bytes;
            for (std::size_t i = 0; text && i + 1 < bytes.size(); i += 2)
                value.Text.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                                           (static_cast<unsigned char>(bytes[i + 1]) << 8)));
        };
        *lppUnk = stream.Detach();
        return mapi::S_OK;
    });
}

template <typename Interface>
mapi::HRESULT TMemoryProps<Interface>::SetProps(mapi::ULONG cValues, mapi::LPSPropValue lpPropArray,
                                                mapi::LPSPropProblemArray* lppProblems) noexcept
{
    return Faulty(FFaults, [&] {
        std::vector<mapi::SPropProblem> problems;
        TValues values = CopyValues(cValues, lpPropArray);
        for (mapi::ULONG i = 0; i < cValues; ++i) {
            const auto refused = Refused.find(lpPropArray[i].ulPropTag);
            if (refused == Refused.end())
                continue;
            problems.push_back({i, refused->first, refused->second});
            values.erase(refused->first);
        }
        values.merge(FValues);
        FValues = std::move(values);
        if (lppProblems == nullptr || problems.empty())
            return;
        auto list = AllocateAs<mapi::SPropProblemArray>(sizeof(mapi::SPropProblemArray) +
                                                        problems.size() * sizeof(mapi::SPropProblem));
        list->cProblem = static_cast<mapi::ULONG>(problems.size());
        std::copy(problems.begin(), problems.end(), list->aProblem);
        *lppProblems = list.Detach();
    });
}

template class TMemoryProps<mapi::IMessage>;
template class TMemoryProps<mapi::IAttach>;

mapi::HRESULT TMemoryMessage::SaveChanges(mapi::ULONG) noexcept
{
    return Faulty(FFaults, [&] {
        FTarget->Values = FValues;
        FTarget->Recipients = FRecipients;
        FTarget->Attachments.clear();
        for (const auto& slot : FAttachments)
            FTarget->Attachments.push_back(*slot);
    });
}

mapi::HRESULT TMemoryMessage::CreateAttach(mapi::LPCIID, mapi::ULONG, mapi::ULONG* lpulAttachmentNum,
                                           mapi::LPATTACH* lppAttach) noexcept
{
    return Faulty(FFaults, [&] {
        auto slot = std::make_shared<std::shared_ptr<TAttachmentState>>();
        FAttachments.push_back(slot);
        *lpulAttachmentNum = static_cast<mapi::ULONG>(FAttachments.size() - 1);
        *lppAttach = TKwComPtr<mapi::IAttach>(new TMemoryAttach(FFaults, std::move(slot))).Detach();
    });
}

mapi::HRESULT TMemoryMessage::ModifyRecipients(mapi::ULONG ulFlags, mapi::LPADRLIST lpMods) noexcept
{
    return Faulty(FFaults, [&] {
        if (ulFlags != mapi::MODRECIP_ADD)
            Fail(mapi::MAPI_E_UNKNOWN_FLAGS, u"Recipients can only be added here.");
        for (mapi::ULONG i = 0; i < lpMods->cEntries; ++i)
            FRecipients.push_back(CopyValues(lpMods->aEntries[i].cValues, lpMods->aEntries[i].rgPropVals));
    });
}

} // namespace deftmapi::client::mime::test
