#include "client/store/PropertyStream.hpp"

#include "support/uKwEncoding.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace deftmapi::client
{
namespace
{

constexpr std::size_t CopyPiece = 64 * 1024;
constexpr auto sNoWayBack = u"The object already has what was written to the stream.";
constexpr auto sTooBig = u"A value of this property cannot be that large.";

/// Streams speak the result codes of storages.
mapi::HRESULT StorageResult(mapi::HRESULT code)
{
    switch (code) {
    case mapi::MAPI_E_NOT_ENOUGH_MEMORY:
        return mapi::STG_E_INSUFFICIENTMEMORY;
    case mapi::MAPI_E_NOT_ENOUGH_DISK:
        return mapi::STG_E_MEDIUMFULL;
    case mapi::MAPI_E_DISK_ERROR:
        return mapi::STG_E_READFAULT;
    case mapi::MAPI_E_OBJECT_CHANGED:
    case mapi::MAPI_E_OBJECT_DELETED:
        return mapi::STG_E_REVERTED;
    default:
        return code;
    }
}

} // namespace

BlobPtr StreamContent(const Prop& value)
{
    Bytes bytes;
    const auto append = [&bytes](const void* from, std::size_t size) {
        const auto* raw = static_cast<const std::uint8_t*>(from);
        bytes.assign(raw, raw + size);
    };
    if (const auto* wide = std::get_if<WideString>(&value.data))
        append(wide->data(), wide->size() * 2);
    else if (const auto* narrow = std::get_if<std::string>(&value.data))
        append(narrow->data(), narrow->size());
    else if (const auto* binary = std::get_if<Bytes>(&value.data))
        bytes = *binary;
    return std::make_shared<MemoryBlob>(std::move(bytes));
}

PropertyStream::PropertyStream(TKwComPtr<mapi::IUnknown> owner, PropertyCore& core, ULONG tag, BlobPtr content,
                               bool writable)
    : FOwner(std::move(owner)), FCore(core), FHome(core.Home()), FTag(tag), FContent(std::move(content)),
      FWritable(writable)
{
    if (!FContent)
        FContent = std::make_shared<MemoryBlob>(Bytes());
}

PropertyStream::~PropertyStream()
{
    if (FUnpublished)
        Run([this] { Publish(true); });
}

template <typename Body>
mapi::HRESULT PropertyStream::Run(Body&& body) noexcept
{
    const std::lock_guard lock(FHome->Lock());
    return StorageResult(Guard(FLast, std::forward<Body>(body)));
}

std::uint64_t PropertyStream::Size() const
{
    return FSpool ? FSpool->Size() : FContent->Size();
}

std::uint64_t PropertyStream::MaximumSize() const
{
    return IsNarrow() ? FCore.ValueLimit() / 2 : FCore.ValueLimit(); // it is kept as wide text
}

Spool& PropertyStream::Writable()
{
    if (!FWritable)
        Fail(mapi::STG_E_ACCESSDENIED, u"The stream was opened for reading only.");
    if (!FSpool) {
        auto spool = FHome->NewSpool();
        spool->Append(*FContent);
        FOpened = FContent;
        FSpool = std::move(spool);
        FContent = FSpool;
    }
    return *FSpool;
}

void PropertyStream::Publish(bool final)
{
    FUnpublished = true; // also when what follows fails: another Commit tries again
    if (!final && (IsNarrow() || FCore.WaitsForCommit()))
        return;
    if (!IsNarrow()) {
        FCore.SetStreamValue(FTag, BlobPtr(FSpool));
    } else {
        const Bytes bytes = FSpool->ReadAll();
        FCore.SetStreamValue(WideTag(FTag),
                             TKwEncoding().ToWide({reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
    }
    FUnpublished = false;
    FOpened = nullptr;
}

void PropertyStream::Start()
{
    Writable();
    Publish(!FCore.WaitsForCommit());
}

mapi::HRESULT PropertyStream::Read(void* to, ULONG count, ULONG* read) noexcept
{
    if (read)
        *read = 0;
    return Run([&] {
        if (!to)
            Fail(mapi::STG_E_INVALIDPOINTER, u"There is no buffer to read into.");
        const std::size_t got = FContent->Read(FPosition, to, count);
        FPosition += got;
        if (read)
            *read = static_cast<ULONG>(got);
        return got == count ? mapi::S_OK : mapi::S_FALSE;
    });
}

mapi::HRESULT PropertyStream::Write(const void* from, ULONG count, ULONG* written) noexcept
{
    if (written)
        *written = 0;
    return Run([&] {
        if (!from && count)
            Fail(mapi::STG_E_INVALIDPOINTER, u"There is no data to write.");
        Spool& spool = Writable();
        if (FPosition + count > MaximumSize())
            Fail(mapi::STG_E_MEDIUMFULL, sTooBig);
        spool.Write(FPosition, from, count);
        FPosition += count;
        Publish(false);
        if (written)
            *written = count;
    });
}

mapi::HRESULT PropertyStream::Seek(mapi::LARGE_INTEGER move, mapi::DWORD origin,
                                   mapi::ULARGE_INTEGER* position) noexcept
{
    return Run([&] {
        const std::uint64_t base =
            origin == mapi::STREAM_SEEK_CUR ? FPosition : (origin == mapi::STREAM_SEEK_END ? Size() : 0);
        const auto target = static_cast<std::int64_t>(base) + move.QuadPart;
        if (origin > mapi::STREAM_SEEK_END || target < 0)
            Fail(mapi::STG_E_INVALIDFUNCTION, u"The position lies before the beginning of the stream.");
        FPosition = static_cast<std::uint64_t>(target);
        if (position)
            position->QuadPart = FPosition;
    });
}

mapi::HRESULT PropertyStream::SetSize(mapi::ULARGE_INTEGER size) noexcept
{
    return Run([&] {
        if (size.QuadPart > MaximumSize())
            Fail(mapi::STG_E_MEDIUMFULL, sTooBig);
        Writable().Resize(size.QuadPart);
        Publish(false);
    });
}

mapi::HRESULT PropertyStream::CopyTo(mapi::IStream* to, mapi::ULARGE_INTEGER count, mapi::ULARGE_INTEGER* read,
                                     mapi::ULARGE_INTEGER* written) noexcept
{
    std::uint64_t done = 0;
    // Without the lock around the writes: the target may belong to another store.
    const auto result = StorageResult(Guard(FLast, [&] {
        if (!to)
            Fail(mapi::STG_E_INVALIDPOINTER, u"There is no stream to copy to.");
        Bytes piece(CopyPiece);
        while (done < count.QuadPart) {
            ULONG got = 0;
            const auto want = static_cast<ULONG>(std::min<std::uint64_t>(piece.size(), count.QuadPart - done));
            const auto readResult = Read(piece.data(), want, &got);
            if (mapi::Failed(readResult))
                Fail(readResult, u"The stream could not be read.");
            if (got == 0)
                break;
            const auto writeResult = to->Write(piece.data(), got, nullptr);
            if (mapi::Failed(writeResult))
                Fail(writeResult, u"The target stream could not be written.");
            done += got;
        }
    }));
    if (read)
        read->QuadPart = done;
    if (written)
        written->QuadPart = done;
    return result;
}

mapi::HRESULT PropertyStream::Commit(mapi::DWORD) noexcept
{
    return Run([&] {
        if (FUnpublished)
            Publish(true);
    });
}

mapi::HRESULT PropertyStream::Revert() noexcept
{
    return Run([&] {
        if (!FCore.WaitsForCommit() || (FUnpublished && !FOpened))
            Fail(mapi::STG_E_INVALIDFUNCTION, sNoWayBack);
        if (!FUnpublished)
            return;
        FContent = std::exchange(FOpened, nullptr);
        FSpool = nullptr;
        FUnpublished = false;
    });
}

mapi::HRESULT PropertyStream::LockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER, mapi::DWORD) noexcept
{
    return mapi::STG_E_INVALIDFUNCTION;
}

mapi::HRESULT PropertyStream::UnlockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER, mapi::DWORD) noexcept
{
    return mapi::STG_E_INVALIDFUNCTION;
}

mapi::HRESULT PropertyStream::Stat(mapi::STATSTG* stat, mapi::DWORD) noexcept
{
    return Run([&] {
        if (!stat)
            Fail(mapi::STG_E_INVALIDPOINTER, u"There is no place for the description.");
        *stat = {};
        stat->type = mapi::STGTY_STREAM;
        stat->cbSize.QuadPart = Size();
        stat->grfMode = FWritable ? mapi::STGM_READWRITE : mapi::STGM_READ;
    });
}

mapi::HRESULT PropertyStream::Clone(mapi::IStream** clone) noexcept
{
    return Run([&] {
        if (!clone)
            Fail(mapi::STG_E_INVALIDPOINTER, u"There is no place for the clone.");
        *clone = nullptr;
        TKwComPtr<PropertyStream> copy(new PropertyStream(FOwner, FCore, FTag, FContent, FWritable));
        copy->FSpool = FSpool; // both write to one value
        copy->FPosition = FPosition;
        *clone = copy.Detach();
    });
}

} // namespace deftmapi::client
