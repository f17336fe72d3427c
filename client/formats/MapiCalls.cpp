// Property lists and streamed properties.
#include "client/formats/MapiCalls.hpp"

#include <algorithm>

namespace deftmapi::client::mime
{

namespace
{

constexpr auto sCallFailed = u" failed.";
constexpr auto sShortWrite = u"The property stream did not take all bytes.";
constexpr std::size_t writeSize = 1u << 20;

} // namespace

void CheckCall(mapi::HRESULT result, WideView operation)
{
    if (result < 0)
        Fail(result, WideString(operation).append(sCallFailed));
}

mapi::FILETIME ToFileTime(std::uint64_t ticks) noexcept
{
    return {static_cast<mapi::DWORD>(ticks), static_cast<mapi::DWORD>(ticks >> 32)};
}

WideString WithoutZeros(WideString text)
{
    std::erase(text, u'\0');
    return text;
}

mapi::SPropValue& TPropList::Add(mapi::ULONG tag)
{
    mapi::SPropValue& value = FValues.emplace_back();
    value.ulPropTag = tag;
    return value;
}

void TPropList::AddLong(mapi::ULONG tag, mapi::LONG value)
{
    Add(tag).Value.l = value;
}

void TPropList::AddBool(mapi::ULONG tag, bool value)
{
    Add(tag).Value.b = value ? 1 : 0;
}

void TPropList::AddTime(mapi::ULONG tag, std::uint64_t ticks)
{
    Add(tag).Value.ft = ToFileTime(ticks);
}

void TPropList::AddText(mapi::ULONG tag, WideView text)
{
    WideString& kept = FTexts.emplace_back(WithoutZeros(WideString(text)));
    Add(tag).Value.lpszW = kept.data();
}

void TPropList::AddBinary(mapi::ULONG tag, std::string_view bytes)
{
    std::string& kept = FBinaries.emplace_back(bytes);
    mapi::SPropValue& value = Add(tag);
    value.Value.bin.cb = static_cast<mapi::ULONG>(kept.size());
    value.Value.bin.lpb = reinterpret_cast<mapi::BYTE*>(kept.data());
}

void TPropList::ApplyTo(mapi::IMAPIProp& object)
{
    std::vector<mapi::SPropValue> small;
    std::vector<std::pair<mapi::ULONG, std::span<const char>>> large;
    for (const mapi::SPropValue& value : FValues) {
        std::span<const char> bytes;
        if (mapi::PROP_TYPE(value.ulPropTag) == mapi::PT_BINARY)
            bytes = {reinterpret_cast<const char*>(value.Value.bin.lpb), value.Value.bin.cb};
        else if (mapi::PROP_TYPE(value.ulPropTag) == mapi::PT_UNICODE)
            bytes = {reinterpret_cast<const char*>(value.Value.lpszW),
                     WideView(value.Value.lpszW).size() * sizeof(char16_t)};
        if (bytes.size() > maxInlineBytes)
            large.emplace_back(value.ulPropTag, bytes);
        else
            small.push_back(value);
    }

    if (!small.empty()) {
        MapiBuffer<mapi::SPropProblemArray> problems;
        CheckCall(object.SetProps(static_cast<mapi::ULONG>(small.size()), small.data(), problems.Out()), u"SetProps");
        for (mapi::ULONG i = 0; problems && i < problems->cProblem; ++i)
            if (problems->aProblem[i].scode != mapi::MAPI_E_COMPUTED)
                CheckCall(problems->aProblem[i].scode, u"SetProps");
    }
    for (const auto& [tag, bytes] : large) {
        TPropWriter writer(object, tag);
        writer.Write(bytes);
        writer.Commit();
    }
}

TPropWriter::TPropWriter(mapi::IMAPIProp& object, mapi::ULONG tag)
{
    TKwComPtr<mapi::IUnknown> opened;
    CheckCall(object.OpenProperty(tag, &mapi::IID_IStream, mapi::STGM_READWRITE | mapi::STGM_TRANSACTED,
                                  mapi::MAPI_CREATE | mapi::MAPI_MODIFY, Out(opened)),
              u"OpenProperty");
    CheckCall(opened->QueryInterface(mapi::IID_IStream, OutVoid(FStream)), u"QueryInterface");
    CheckCall(FStream->SetSize(mapi::ULARGE_INTEGER{}), u"IStream::SetSize");
}

void TPropWriter::Write(std::span<const char> bytes)
{
    while (!bytes.empty()) {
        const auto piece = static_cast<mapi::ULONG>(std::min(bytes.size(), writeSize));
        mapi::ULONG written = 0;
        CheckCall(FStream->Write(bytes.data(), piece, &written), u"IStream::Write");
        if (written != piece)
            Fail(mapi::MAPI_E_NOT_ENOUGH_DISK, sShortWrite);
        bytes = bytes.subspan(piece);
    }
}

void TPropWriter::Commit()
{
    CheckCall(FStream->Commit(mapi::STGC_DEFAULT), u"IStream::Commit");
}

} // namespace deftmapi::client::mime
