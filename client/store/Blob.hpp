// Large values that are read piece by piece: a blob is immutable to its readers, a spool is one that is being written.
// A spool keeps the first 256 KiB in memory and the rest in a nameless file of the data folder (not of /tmp, which may
// be memory itself), so that a 2 GiB attachment is never in memory whole.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace deftmapi::client
{

using Bytes = std::vector<std::uint8_t>;

class Blob
{
public:
    virtual ~Blob() = default;
    [[nodiscard]] virtual std::uint64_t Size() const = 0;
    /// Reads up to `count` bytes from `offset`; fewer only at the end. @throws Failure  the data is gone or unreadable
    virtual std::size_t Read(std::uint64_t offset, void* to, std::size_t count) const = 0;
    /// The whole value. REQUIRES: it is small enough for memory.
    [[nodiscard]] Bytes ReadAll() const;
};
using BlobPtr = std::shared_ptr<const Blob>;

class MemoryBlob final : public Blob
{
public:
    explicit MemoryBlob(Bytes bytes) : FBytes(std::move(bytes)) {}
    [[nodiscard]] std::uint64_t Size() const override { return FBytes.size(); }
    std::size_t Read(std::uint64_t offset, void* to, std::size_t count) const override;

private:
    Bytes FBytes;
};

class Spool final : public Blob
{
public:
    /// Bytes that stay in memory.
    static constexpr std::size_t MemoryLimit = 256 * 1024;

    explicit Spool(std::filesystem::path folder) : FFolder(std::move(folder)) {}
    ~Spool() override;
    Spool(const Spool&) = delete;
    Spool& operator=(const Spool&) = delete;

    [[nodiscard]] std::uint64_t Size() const override { return FSize; }
    std::size_t Read(std::uint64_t offset, void* to, std::size_t count) const override;
    /// Writes at `offset`, which may lie beyond the end: the gap reads as zero.
    void Write(std::uint64_t offset, const void* from, std::size_t count);
    void Resize(std::uint64_t size);
    void Append(const Blob& other);

private:
    void Spill();

    std::filesystem::path FFolder;
    Bytes FMemory;
    int FFile = -1;
    std::uint64_t FSize = 0;
};

} // namespace deftmapi::client
