// A stream of the application's as an IStream.
#include "mapi/core/StreamCopy.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"

#include <algorithm>
#include <array>
#include <iostream>

namespace deftmapi
{

namespace
{

// Values of the seek origin and of STATSTG::type.
constexpr mapi::DWORD SeekSet = 0;
constexpr mapi::DWORD SeekCurrent = 1;
constexpr mapi::DWORD SeekEnd = 2;
constexpr mapi::DWORD TypeStream = 2;

/// What a stream says of itself as a result: streams may be told to throw.
template <typename Body>
mapi::HRESULT Guarded(mapi::HRESULT failure, Body&& body) noexcept
{
    try {
        return body() ? mapi::S_OK : failure;
    } catch (...) {
        return failure;
    }
}

/// The size of the stream; false when it cannot tell.
bool SizeOf(std::iostream& stream, std::uint64_t& size)
{
    stream.clear();
    const std::streamoff end = stream.seekg(0, std::ios::end).tellg();
    size = end < 0 ? 0 : static_cast<std::uint64_t>(end);
    return end >= 0;
}

/// Writes the zeros that a file has between its end and what is written behind it. A stream in memory would take any
/// number of them until there is no memory left.
bool FillGap(std::iostream& stream, std::uint64_t size)
{
    constexpr std::uint64_t mostZeros = 256ull << 20;
    static constexpr std::array<char, 4096> zeros{};
    if (size > mostZeros)
        return false;
    for (std::uint64_t piece = 0; size > 0 && stream.good(); size -= piece) {
        piece = std::min<std::uint64_t>(size, zeros.size());
        stream.write(zeros.data(), static_cast<std::streamsize>(piece));
    }
    return stream.good();
}

} // namespace

TKwMAPIStreamAdapter::TKwMAPIStreamAdapter(std::shared_ptr<std::iostream> stream) : FStream(std::move(stream))
{
    const std::streamoff position = FStream->tellg();
    FPosition = position < 0 ? 0 : static_cast<std::uint64_t>(position);
}

TKwComPtr<TKwMAPIStreamAdapter> TKwMAPIStreamAdapter::Create(std::shared_ptr<std::iostream> stream)
{
    return TKwComPtr<TKwMAPIStreamAdapter>(new TKwMAPIStreamAdapter(std::move(stream)));
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::Read(void* buffer, mapi::ULONG count, mapi::ULONG* read)
{
    if (read != nullptr)
        *read = 0;
    if (buffer == nullptr)
        return mapi::STG_E_INVALIDPOINTER;
    std::uint64_t size = 0;
    mapi::ULONG done = 0;
    const mapi::HRESULT hr = Guarded(mapi::STG_E_READFAULT, [&] {
        if (!SizeOf(*FStream, size))
            return false;
        if (FPosition >= size)
            return true;
        // No more than there is: a stream may be told to throw at its end.
        const std::uint64_t wanted = std::min<std::uint64_t>(count, size - FPosition);
        FStream->seekg(static_cast<std::streamoff>(FPosition));
        FStream->read(static_cast<char*>(buffer), static_cast<std::streamsize>(wanted));
        done = static_cast<mapi::ULONG>(FStream->gcount());
        return FStream->good();
    });
    FPosition += done;
    if (read != nullptr)
        *read = done;
    // S_FALSE: the end came before all that was asked for.
    return hr == mapi::S_OK && done < count ? mapi::S_FALSE : hr;
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::Write(const void* buffer, mapi::ULONG count, mapi::ULONG* written)
{
    if (written != nullptr)
        *written = 0;
    if (buffer == nullptr)
        return mapi::STG_E_INVALIDPOINTER;
    const mapi::HRESULT hr = Guarded(mapi::STG_E_WRITEFAULT, [&] {
        std::uint64_t size = 0;
        if (!SizeOf(*FStream, size))
            return false;
        FStream->seekp(static_cast<std::streamoff>(std::min(size, FPosition)));
        if (size < FPosition && !FillGap(*FStream, FPosition - size))
            return false;
        FStream->write(static_cast<const char*>(buffer), static_cast<std::streamsize>(count));
        return FStream->good();
    });
    if (hr != mapi::S_OK)
        return hr;
    FPosition += count;
    if (written != nullptr)
        *written = count;
    return hr;
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::Seek(mapi::LARGE_INTEGER move, mapi::DWORD origin,
                                                          mapi::ULARGE_INTEGER* newPosition)
{
    std::uint64_t base = 0;
    if (origin == SeekCurrent)
        base = FPosition;
    else if (origin != SeekSet && origin != SeekEnd)
        return mapi::STG_E_INVALIDFUNCTION;
    const mapi::HRESULT hr =
        Guarded(mapi::STG_E_SEEKERROR, [&] { return origin != SeekEnd || SizeOf(*FStream, base); });
    if (hr != mapi::S_OK)
        return hr;
    return KwSeekFrom(base, move, FPosition, newPosition);
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::CopyTo(mapi::IStream* target, mapi::ULARGE_INTEGER count,
                                                            mapi::ULARGE_INTEGER* read, mapi::ULARGE_INTEGER* written)
{
    return KwCopyStream(*this, target, count, read, written);
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::Commit(mapi::DWORD)
{
    return Guarded(mapi::STG_E_WRITEFAULT, [&] { return FStream->flush().good(); });
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::Stat(mapi::STATSTG* stat, mapi::DWORD)
{
    if (stat == nullptr)
        return mapi::STG_E_INVALIDPOINTER;
    *stat = mapi::STATSTG{};
    stat->type = TypeStream;
    std::uint64_t size = 0;
    const mapi::HRESULT hr = Guarded(mapi::STG_E_SEEKERROR, [&] { return SizeOf(*FStream, size); });
    stat->cbSize.QuadPart = size;
    return hr;
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::SetSize(mapi::ULARGE_INTEGER)
{
    return mapi::STG_E_INVALIDFUNCTION;
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::Revert()
{
    return mapi::STG_E_INVALIDFUNCTION;
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::LockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER, mapi::DWORD)
{
    return mapi::STG_E_INVALIDFUNCTION;
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::UnlockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER,
                                                                  mapi::DWORD)
{
    return mapi::STG_E_INVALIDFUNCTION;
}

mapi::HRESULT DEFTMAPI_STDCALL TKwMAPIStreamAdapter::Clone(mapi::IStream** stream)
{
    if (stream != nullptr)
        *stream = nullptr;
    return mapi::STG_E_INVALIDFUNCTION;
}

} // namespace deftmapi
