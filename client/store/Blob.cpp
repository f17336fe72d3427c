#include "client/store/Blob.hpp"

#include "client/entry/Guard.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <unistd.h>

namespace deftmapi::client
{
namespace
{

constexpr auto sSpool = "temporary file of an unsaved value";
constexpr std::size_t CopyPiece = 256 * 1024;

[[noreturn]] void FailSpool()
{
    throw std::system_error(errno, std::generic_category(), sSpool);
}

} // namespace

Bytes Blob::ReadAll() const
{
    Bytes bytes(static_cast<std::size_t>(Size()));
    bytes.resize(Read(0, bytes.data(), bytes.size()));
    return bytes;
}

std::size_t MemoryBlob::Read(std::uint64_t offset, void* to, std::size_t count) const
{
    if (offset >= FBytes.size())
        return 0;
    count = std::min<std::size_t>(count, FBytes.size() - static_cast<std::size_t>(offset));
    if (count)
        std::memcpy(to, FBytes.data() + offset, count);
    return count;
}

Spool::~Spool()
{
    if (FFile >= 0)
        ::close(FFile);
}

std::size_t Spool::Read(std::uint64_t offset, void* to, std::size_t count) const
{
    if (offset >= FSize)
        return 0;
    count = static_cast<std::size_t>(std::min<std::uint64_t>(count, FSize - offset));
    if (FFile < 0) {
        if (count)
            std::memcpy(to, FMemory.data() + offset, count);
        return count;
    }
    std::size_t done = 0;
    while (done < count) {
        const auto got = ::pread(FFile, static_cast<char*>(to) + done, count - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            FailSpool();
        if (got == 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

void Spool::Spill()
{
    std::string name = (FFolder / "spool-XXXXXX").string();
    const int file = ::mkstemp(name.data());
    if (file < 0)
        FailSpool();
    ::unlink(name.c_str()); // the file goes with its last descriptor, whatever ends the process
    FFile = file;
    const Bytes memory = std::move(FMemory);
    FMemory = {};
    const std::uint64_t size = FSize;
    if (!memory.empty())
        Write(0, memory.data(), memory.size());
    FSize = size;
}

void Spool::Write(std::uint64_t offset, const void* from, std::size_t count)
{
    if (count == 0)
        return;
    const std::uint64_t end = offset + count;
    if (FFile < 0 && end > MemoryLimit)
        Spill();
    if (FFile < 0) {
        if (end > FMemory.size())
            FMemory.resize(static_cast<std::size_t>(end));
        std::memcpy(FMemory.data() + offset, from, count);
    } else {
        std::size_t done = 0;
        while (done < count) {
            const auto put =
                ::pwrite(FFile, static_cast<const char*>(from) + done, count - done, static_cast<off_t>(offset + done));
            if (put < 0 && errno == EINTR)
                continue;
            if (put < 0)
                FailSpool();
            done += static_cast<std::size_t>(put);
        }
    }
    FSize = std::max(FSize, end);
}

void Spool::Resize(std::uint64_t size)
{
    if (FFile < 0 && size > MemoryLimit)
        Spill();
    if (FFile < 0)
        FMemory.resize(static_cast<std::size_t>(size));
    else if (::ftruncate(FFile, static_cast<off_t>(size)) != 0)
        FailSpool();
    FSize = size;
}

void Spool::Append(const Blob& other)
{
    Bytes piece(static_cast<std::size_t>(std::min<std::uint64_t>(CopyPiece, other.Size())));
    for (std::uint64_t at = 0; at < other.Size();) {
        const std::size_t got = other.Read(at, piece.data(), piece.size());
        if (got == 0)
            break;
        Write(FSize, piece.data(), got);
        at += got;
    }
}

} // namespace deftmapi::client
