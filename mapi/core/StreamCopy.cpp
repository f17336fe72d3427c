#include "mapi/core/StreamCopy.hpp"

#include "mapi/headers/uKwMAPICodeH.hpp"

#include <algorithm>
#include <array>

namespace deftmapi
{

mapi::HRESULT KwCopyStream(mapi::IStream& source, mapi::IStream* target, mapi::ULARGE_INTEGER count,
                           mapi::ULARGE_INTEGER* read, mapi::ULARGE_INTEGER* written)
{
    if (target == nullptr)
        return mapi::STG_E_INVALIDPOINTER;
    std::array<char, 64 * 1024> buffer;
    std::uint64_t totalRead = 0;
    std::uint64_t totalWritten = 0;
    mapi::HRESULT hr = mapi::S_OK;
    while (mapi::Succeeded(hr) && totalRead < count.QuadPart) {
        const std::uint64_t wanted = std::min<std::uint64_t>(buffer.size(), count.QuadPart - totalRead);
        mapi::ULONG got = 0;
        hr = source.Read(buffer.data(), static_cast<mapi::ULONG>(wanted), &got);
        if (mapi::Failed(hr) || got == 0)
            break;
        totalRead += got;
        mapi::ULONG put = 0;
        hr = target->Write(buffer.data(), got, &put);
        totalWritten += put;
    }
    if (read != nullptr)
        read->QuadPart = totalRead;
    if (written != nullptr)
        written->QuadPart = totalWritten;
    return mapi::Failed(hr) ? hr : mapi::S_OK;
}

} // namespace deftmapi
