// Sources over a COM stream and over a temporary file.
#include "client/formats/ByteSource.hpp"

#include "client/formats/MapiCalls.hpp"

#include <algorithm>
#include <array>
#include <limits>

namespace deftmapi::client::mime
{

namespace
{

constexpr auto sReadFailed = u"The stream reported more bytes than were asked for.";
constexpr auto sNoTemporaryFile = u"No temporary file can be created.";
constexpr auto sTemporaryFileFull = u"A temporary file cannot be written.";
constexpr auto sTemporaryFileLost = u"A temporary file cannot be read.";
constexpr std::size_t copySize = 64 * 1024;

/// Reads until the buffer is full or the stream ends: Read may return less than was asked for at any time.
std::size_t ReadFully(mapi::IStream& stream, std::span<char> buffer)
{
    std::size_t total = 0;
    while (total < buffer.size()) {
        const auto wanted = static_cast<mapi::ULONG>(std::min<std::size_t>(buffer.size() - total, 1u << 30));
        mapi::ULONG got = 0;
        CheckCall(stream.Read(buffer.data() + total, wanted, &got), u"IStream::Read");
        if (got == 0)
            break;
        if (got > wanted)
            Fail(mapi::MAPI_E_CALL_FAILED, sReadFailed);
        total += got;
    }
    return total;
}

class TStreamSource final : public TByteSource
{
public:
    TStreamSource(mapi::IStream& stream, std::uint64_t base, std::uint64_t size)
        : FStream(&stream), FBase(base), FSize(size), FPosition(std::numeric_limits<std::uint64_t>::max())
    {}

    [[nodiscard]] std::uint64_t Size() const noexcept override { return FSize; }

    std::size_t Read(std::uint64_t offset, std::span<char> buffer) override
    {
        if (offset >= FSize)
            return 0;
        buffer = buffer.first(static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), FSize - offset)));
        if (FPosition != offset) {
            mapi::LARGE_INTEGER target{};
            target.QuadPart = static_cast<std::int64_t>(FBase + offset);
            CheckCall(FStream->Seek(target, mapi::STREAM_SEEK_SET, nullptr), u"IStream::Seek");
        }
        const std::size_t got = ReadFully(*FStream, buffer);
        FPosition = offset + got;
        return got;
    }

private:
    TKwComPtr<mapi::IStream> FStream;
    std::uint64_t FBase;
    std::uint64_t FSize;
    std::uint64_t FPosition;
};

} // namespace

TSpoolSource::TSpoolSource() : FFile(std::tmpfile())
{
    if (!FFile)
        Fail(mapi::MAPI_E_DISK_ERROR, sNoTemporaryFile);
}

void TSpoolSource::Write(std::span<const char> bytes)
{
    if (std::fseek(FFile.get(), 0, SEEK_END) != 0 ||
        std::fwrite(bytes.data(), 1, bytes.size(), FFile.get()) != bytes.size() || std::fflush(FFile.get()) != 0)
        Fail(mapi::MAPI_E_NOT_ENOUGH_DISK, sTemporaryFileFull);
    FSize += bytes.size();
}

std::size_t TSpoolSource::Read(std::uint64_t offset, std::span<char> buffer)
{
    if (offset >= FSize)
        return 0;
    if (std::fseek(FFile.get(), static_cast<long>(offset), SEEK_SET) != 0)
        Fail(mapi::MAPI_E_DISK_ERROR, sTemporaryFileLost);
    const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), FFile.get());
    if (got < buffer.size() && std::ferror(FFile.get()) != 0)
        Fail(mapi::MAPI_E_DISK_ERROR, sTemporaryFileLost);
    return got;
}

std::unique_ptr<TByteSource> OpenByteSource(mapi::IStream& stream)
{
    const mapi::LARGE_INTEGER zero{};
    mapi::ULARGE_INTEGER start{};
    const mapi::HRESULT seekable = stream.Seek(zero, mapi::STREAM_SEEK_CUR, &start);
    if (seekable != mapi::E_NOTIMPL && seekable != mapi::STG_E_INVALIDFUNCTION && seekable != mapi::MAPI_E_NO_SUPPORT) {
        mapi::ULARGE_INTEGER end{};
        CheckCall(seekable, u"IStream::Seek");
        CheckCall(stream.Seek(zero, mapi::STREAM_SEEK_END, &end), u"IStream::Seek");
        const std::uint64_t size = end.QuadPart > start.QuadPart ? end.QuadPart - start.QuadPart : 0;
        return std::make_unique<TStreamSource>(stream, start.QuadPart, size);
    }

    auto spool = std::make_unique<TSpoolSource>();
    std::array<char, copySize> buffer{};
    while (const std::size_t got = ReadFully(stream, buffer))
        spool->Write(std::span(buffer).first(got));
    return spool;
}

} // namespace deftmapi::client::mime
