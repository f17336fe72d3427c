// Where the bytes of a message come from: random access to a COM stream or to a temporary file. Nothing above needs the
// message in memory; parts are ranges of a source.
#pragma once

#include "mapi/headers/uKwMAPIComH.hpp"
#include "support/uKwRef.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

namespace deftmapi::client::mime
{

/// Bytes at random positions. Not thread-safe.
class TByteSource
{
public:
    TByteSource() = default;
    TByteSource(const TByteSource&) = delete;
    TByteSource& operator=(const TByteSource&) = delete;
    virtual ~TByteSource() = default;

    [[nodiscard]] virtual std::uint64_t Size() const noexcept = 0;
    /// Reads up to buffer.size() bytes at `offset`; less only at the end. @throws Failure  the medium fails
    virtual std::size_t Read(std::uint64_t offset, std::span<char> buffer) = 0;
};

/// A temporary file without a name: gone when the object goes, even if the process is killed.
class TSpoolSource final : public TByteSource
{
public:
    TSpoolSource();

    /// Appends. @throws Failure  MAPI_E_NOT_ENOUGH_DISK
    void Write(std::span<const char> bytes);

    [[nodiscard]] std::uint64_t Size() const noexcept override { return FSize; }
    std::size_t Read(std::uint64_t offset, std::span<char> buffer) override;

private:
    struct TClose
    {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, TClose> FFile;
    std::uint64_t FSize = 0;
};

/// The bytes of `stream` from its current position to its end. Adds a reference to the stream; a stream that cannot
/// seek is copied to a temporary file first. @throws Failure  the stream cannot be read
[[nodiscard]] std::unique_ptr<TByteSource> OpenByteSource(mapi::IStream& stream);

} // namespace deftmapi::client::mime
