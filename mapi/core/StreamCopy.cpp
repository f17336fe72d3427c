#include "mapi/core/StreamCopy.hpp"

#include "mapi/headers/uKwMAPICodeH.hpp"

#include <algorithm>
#include <array>
#include <limits>

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

mapi::HRESULT KwSeekFrom(std::uint64_t base, mapi::LARGE_INTEGER move, std::uint64_t& position,
                         mapi::ULARGE_INTEGER* newPosition) noexcept
{
    constexpr auto limit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const auto distance = static_cast<std::uint64_t>(move.QuadPart);
    const bool invalid = move.QuadPart < 0 ? base < 0 - distance : base + distance > limit;
    if (invalid)
        return mapi::STG_E_INVALIDFUNCTION;
    position = base + distance;
    if (newPosition != nullptr)
        newPosition->QuadPart = position;
    return mapi::S_OK;
}

} // namespace deftmapi
