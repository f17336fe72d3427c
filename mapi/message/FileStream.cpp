// A file as an IStream; see FileStream.hpp.
#include "mapi/message/FileStream.hpp"

#include "mapi/core/StreamCopy.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"

#include <algorithm>
#include <filesystem>

namespace deftmapi
{

namespace
{

constexpr auto sNoSuchFile = u"The file %s does not exist!";
constexpr auto sIsFolder = u"%s is a folder and not a file!";
constexpr auto sCannotRead = u"The file %s cannot be opened for reading!";

// Values of the seek origin and of STATSTG::type.
constexpr mapi::DWORD SeekSet = 0;
constexpr mapi::DWORD SeekCurrent = 1;
constexpr mapi::DWORD SeekEnd = 2;
constexpr mapi::DWORD TypeStream = 2;

[[noreturn]] void Refuse(WideView text, const WideString& fileName)
{
    CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, text, {fileName})->Raise();
}

} // namespace

TMAPIFileStream::TMAPIFileStream(WideString fileName, std::ifstream file, std::uint64_t size)
    : FFileName(std::move(fileName)), FFile(std::move(file)), FSize(size)
{}

TKwComPtr<TMAPIFileStream> TMAPIFileStream::Open(const WideString& fileName)
{
    const std::filesystem::path path(fileName);
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        Refuse(sNoSuchFile, fileName);
    if (std::filesystem::is_directory(status))
        Refuse(sIsFolder, fileName);
    std::ifstream file(path, std::ios::binary);
    const std::uint64_t size = std::filesystem::file_size(path, error);
    if (!file || error)
        Refuse(sCannotRead, fileName);
    return TKwComPtr<TMAPIFileStream>(new TMAPIFileStream(fileName, std::move(file), size));
}

bool TMAPIFileStream::StartsWith(std::string_view bytes)
{
    std::string start(bytes.size(), '\0');
    const std::uint64_t position = std::exchange(FPosition, 0);
    mapi::ULONG read = 0;
    const mapi::HRESULT hr = ReadSome(start.data(), static_cast<mapi::ULONG>(start.size()), read);
    FPosition = position;
    return hr == mapi::S_OK && read == bytes.size() && start == bytes;
}

mapi::HRESULT TMAPIFileStream::ReadSome(void* buffer, mapi::ULONG count, mapi::ULONG& read) noexcept
{
    read = 0;
    try {
        FFile.clear();
        FFile.seekg(static_cast<std::streamoff>(FPosition));
        FFile.read(static_cast<char*>(buffer), static_cast<std::streamsize>(count));
        if (FFile.bad())
            return mapi::STG_E_READFAULT;
    } catch (...) {
        return mapi::STG_E_READFAULT; // a stream may be told by its owner's locale to throw
    }
    read = static_cast<mapi::ULONG>(FFile.gcount());
    FPosition += read;
    return mapi::S_OK;
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::Read(void* buffer, mapi::ULONG count, mapi::ULONG* read)
{
    if (buffer == nullptr)
        return mapi::STG_E_INVALIDPOINTER;
    mapi::ULONG done = 0;
    const mapi::HRESULT hr = ReadSome(buffer, count, done);
    if (read != nullptr)
        *read = done;
    // S_FALSE: the end came before all that was asked for.
    return hr == mapi::S_OK && done < count ? mapi::S_FALSE : hr;
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::Seek(mapi::LARGE_INTEGER move, mapi::DWORD origin,
                                                     mapi::ULARGE_INTEGER* newPosition)
{
    std::uint64_t base = 0;
    if (origin == SeekCurrent)
        base = FPosition;
    else if (origin == SeekEnd)
        base = FSize;
    else if (origin != SeekSet)
        return mapi::STG_E_INVALIDFUNCTION;
    return KwSeekFrom(base, move, FPosition, newPosition);
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::CopyTo(mapi::IStream* target, mapi::ULARGE_INTEGER count,
                                                       mapi::ULARGE_INTEGER* read, mapi::ULARGE_INTEGER* written)
{
    return KwCopyStream(*this, target, count, read, written);
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::Stat(mapi::STATSTG* stat, mapi::DWORD)
{
    if (stat == nullptr)
        return mapi::STG_E_INVALIDPOINTER;
    *stat = mapi::STATSTG{};
    stat->type = TypeStream;
    stat->cbSize.QuadPart = FSize;
    stat->grfMode = mapi::STGM_READ;
    return mapi::S_OK;
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::Clone(mapi::IStream** stream)
{
    if (stream == nullptr)
        return mapi::STG_E_INVALIDPOINTER;
    *stream = nullptr;
    try {
        TKwComPtr<TMAPIFileStream> copy = Open(FFileName);
        copy->FPosition = FPosition;
        *stream = copy.Detach();
        return mapi::S_OK;
    } catch (...) {
        return mapi::STG_E_ACCESSDENIED;
    }
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::Write(const void*, mapi::ULONG, mapi::ULONG* written)
{
    if (written != nullptr)
        *written = 0;
    return mapi::STG_E_ACCESSDENIED;
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::SetSize(mapi::ULARGE_INTEGER)
{
    return mapi::STG_E_ACCESSDENIED;
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::Commit(mapi::DWORD)
{
    return mapi::S_OK; // nothing was written
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::Revert()
{
    return mapi::S_OK;
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::LockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER, mapi::DWORD)
{
    return mapi::STG_E_INVALIDFUNCTION;
}

mapi::HRESULT DEFTMAPI_STDCALL TMAPIFileStream::UnlockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER, mapi::DWORD)
{
    return mapi::STG_E_INVALIDFUNCTION;
}

} // namespace deftmapi
