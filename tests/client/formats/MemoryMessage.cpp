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
HRESULT Faulty(TFaults& faults, Body&& body) noexcept
{
    LastError last;
    return faults.Next() ? faults.Code : Guard(last, std::forward<Body>(body));
}

class TMemoryAttach final : public TMemoryProps<IAttach>
{
public:
    TMemoryAttach(TFaults& faults, std::shared_ptr<std::shared_ptr<TAttachmentState>> slot)
        : TMemoryProps(faults), FSlot(std::move(slot))
    {}

    HRESULT DEFTMAPI_STDCALL SaveChanges(ULONG) noexcept override
    {
        return Faulty(FFaults, [&] {
            auto state = std::make_shared<TAttachmentState>();
            state->Values = FValues;
            state->Message = FMessage;
            *FSlot = std::move(state);
        });
    }
    [[nodiscard]] bool Implements(const IID& iid) const noexcept override
    {
        return iid == IID_IAttachment || iid == IID_IMAPIProp;
    }

private:
    HRESULT OpenObject(ULONG flags, LPUNKNOWN* object) override
    {
        const auto method = FValues.find(0x37050003);
        if ((flags & MAPI_CREATE) == 0 || method == FValues.end() ||
            method->second.Number != static_cast<LONG>(ATTACH_EMBEDDED_MSG))
            return MAPI_E_INVALID_PARAMETER;
        FMessage = std::make_shared<TMessageState>();
        *object = TKwComPtr<IUnknown>(new TMemoryMessage(FFaults, FMessage)).Detach();
        return S_OK;
    }

    std::shared_ptr<std::shared_ptr<TAttachmentState>> FSlot;
    std::shared_ptr<TMessageState> FMessage;
};

} // namespace

HRESULT TMemoryStream::Read(void* pv, ULONG cb, ULONG* pcbRead) noexcept
{
    if (FFaults != nullptr && FFaults->Next())
        return FFaults->Code;
    const std::size_t got = std::min<std::size_t>(cb, FBytes.size() - std::min(FPosition, FBytes.size()));
    if (got > 0)
        std::memcpy(pv, FBytes.data() + FPosition, got);
    FPosition += got;
    if (pcbRead != nullptr)
        *pcbRead = static_cast<ULONG>(got);
    return S_OK;
}

HRESULT TMemoryStream::Write(const void* pv, ULONG cb, ULONG* pcbWritten) noexcept
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

HRESULT TMemoryStream::Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) noexcept
{
    if (!CanSeek)
        return E_NOTIMPL;
    if (FFaults != nullptr && FFaults->Next())
        return FFaults->Code;
    const std::size_t origin = dwOrigin == STREAM_SEEK_SET   ? 0
                               : dwOrigin == STREAM_SEEK_CUR ? FPosition
                                                             : FBytes.size();
    FPosition = origin + static_cast<std::size_t>(dlibMove.QuadPart);
    if (plibNewPosition != nullptr)
        plibNewPosition->QuadPart = FPosition;
    return S_OK;
}

HRESULT TMemoryStream::SetSize(ULARGE_INTEGER libNewSize) noexcept
{
    LastError last;
    if (FFaults != nullptr && FFaults->Next())
        return FFaults->Code;
    return Guard(last, [&] { FBytes.resize(libNewSize.QuadPart); });
}

HRESULT TMemoryStream::Commit(DWORD) noexcept
{
    LastError last;
    if (FFaults != nullptr && FFaults->Next())
        return FFaults->Code;
    return Guard(last, [&] {
        if (OnCommit)
            OnCommit(FBytes);
    });
}

TValues CopyValues(ULONG count, const SPropValue* values)
{
    TValues result;
    for (ULONG i = 0; i < count; ++i) {
        const UPV& from = values[i].Value;
        TValue value;
        switch (PROP_TYPE(values[i].ulPropTag)) {
        case PT_LONG:
            value.Number = from.l;
            break;
        case PT_BOOLEAN:
            value.Number = from.b;
            break;
        case PT_SYSTIME:
            value.Time = (std::uint64_t{from.ft.dwHighDateTime} << 32) | from.ft.dwLowDateTime;
            break;
        case PT_UNICODE:
            value.Text = from.lpszW;
            break;
        case PT_BINARY:
            value.Bytes.assign(reinterpret_cast<const char*>(from.bin.lpb), from.bin.cb);
            break;
        default:
            Fail(MAPI_E_UNEXPECTED_TYPE, u"A property type that this message does not keep.");
        }
        result[values[i].ulPropTag] = std::move(value);
    }
    return result;
}

TValue StreamedValue(ULONG propTag, const std::string& bytes)
{
    TValue value;
    if (PROP_TYPE(propTag) == PT_BINARY)
        value.Bytes = bytes;
    for (std::size_t i = 0; PROP_TYPE(propTag) == PT_UNICODE && i + 1 < bytes.size(); i += 2)
        value.Text.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                                   (static_cast<unsigned char>(bytes[i + 1]) << 8)));
    return value;
}

template <typename Interface>
HRESULT TMemoryProps<Interface>::OpenProperty(ULONG ulPropTag, LPCIID lpiid, ULONG, ULONG ulFlags,
                                              LPUNKNOWN* lppUnk) noexcept
{
    return Faulty(FFaults, [&]() -> HRESULT {
        *lppUnk = nullptr;
        if (ulPropTag == 0x3701000D && *lpiid == IID_IMessage)
            return OpenObject(ulFlags, lppUnk);
        if (*lpiid != IID_IStream || (ulFlags & MAPI_CREATE) == 0)
            return MAPI_E_INTERFACE_NOT_SUPPORTED;
        if (PROP_TYPE(ulPropTag) != PT_UNICODE && PROP_TYPE(ulPropTag) != PT_BINARY)
            return MAPI_E_INTERFACE_NOT_SUPPORTED;
        TKwComPtr<TMemoryStream> stream(new TMemoryStream({}, &FFaults));
        // The values live as long as this object, which the stream keeps alive.
        stream->OnCommit = [self = TKwComPtr<TMemoryProps>(this), ulPropTag](const std::string& bytes) {
            self->FValues[ulPropTag] = StreamedValue(ulPropTag, bytes);
        };
        *lppUnk = stream.Detach();
        return S_OK;
    });
}

template <typename Interface>
HRESULT TMemoryProps<Interface>::SetProps(ULONG cValues, LPSPropValue lpPropArray,
                                          LPSPropProblemArray* lppProblems) noexcept
{
    return Faulty(FFaults, [&] {
        std::vector<SPropProblem> problems;
        TValues values = CopyValues(cValues, lpPropArray);
        for (ULONG i = 0; i < cValues; ++i) {
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
        auto list = AllocateAs<SPropProblemArray>(sizeof(SPropProblemArray) + problems.size() * sizeof(SPropProblem));
        list->cProblem = static_cast<ULONG>(problems.size());
        std::copy(problems.begin(), problems.end(), list->aProblem);
        *lppProblems = list.Detach();
    });
}

template class TMemoryProps<IMessage>;
template class TMemoryProps<IAttach>;

HRESULT TMemoryMessage::SaveChanges(ULONG) noexcept
{
    return Faulty(FFaults, [&] {
        FTarget->Values = FValues;
        FTarget->Recipients = FRecipients;
        FTarget->Attachments.clear();
        for (const auto& slot : FAttachments)
            FTarget->Attachments.push_back(*slot);
    });
}

HRESULT TMemoryMessage::CreateAttach(LPCIID, ULONG, ULONG* lpulAttachmentNum, LPATTACH* lppAttach) noexcept
{
    return Faulty(FFaults, [&] {
        auto slot = std::make_shared<std::shared_ptr<TAttachmentState>>();
        FAttachments.push_back(slot);
        *lpulAttachmentNum = static_cast<ULONG>(FAttachments.size() - 1);
        *lppAttach = TKwComPtr<IAttach>(new TMemoryAttach(FFaults, std::move(slot))).Detach();
    });
}

HRESULT TMemoryMessage::ModifyRecipients(ULONG ulFlags, LPADRLIST lpMods) noexcept
{
    return Faulty(FFaults, [&] {
        if (ulFlags != MODRECIP_ADD)
            Fail(MAPI_E_UNKNOWN_FLAGS, u"Recipients can only be added here.");
        for (ULONG i = 0; i < lpMods->cEntries; ++i)
            FRecipients.push_back(CopyValues(lpMods->aEntries[i].cValues, lpMods->aEntries[i].rgPropVals));
    });
}

} // namespace deftmapi::client::mime::test
