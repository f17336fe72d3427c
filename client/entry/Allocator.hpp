// The MAPI allocator: buffers that carry blocks allocated "more" and go with them in one free.
// Every live buffer is registered, so that a free or a link with a pointer that is not ours is refused instead of
// corrupting memory; the counters let tests prove that nothing is left.
#pragma once

#include "mapi/headers/uKwMAPIHeaders.hpp"

#include <cstddef>
#include <utility>

namespace deftmapi::client
{

/// Allocates a buffer. @returns S_OK, MAPI_E_NOT_ENOUGH_MEMORY or MAPI_E_INVALID_PARAMETER (no place for the result)
mapi::SCODE AllocateBuffer(mapi::ULONG size, void** buffer) noexcept;
/// Allocates a block that is freed with `parent`. @returns MAPI_E_INVALID_PARAMETER when parent is not a live buffer
mapi::SCODE AllocateMore(mapi::ULONG size, void* parent, void** buffer) noexcept;
/// Frees a buffer and what was linked to it. Null is allowed. @returns MAPI_E_INVALID_PARAMETER for a foreign pointer
mapi::ULONG FreeBuffer(void* buffer) noexcept;
/// Frees a row set: every row's property array, then the set.
void FreeRows(mapi::LPSRowSet rows) noexcept;
/// Frees an address list: every entry's property array, then the list.
void FreeAddressList(mapi::LPADRLIST list) noexcept;

/// Buffers of this allocator that are alive in the process (blocks linked to a buffer are not counted).
[[nodiscard]] std::size_t LiveBuffers() noexcept;
/// Lets the n-th allocation from now on (1 is the next) fail once; 0 switches it off. For tests.
void FailAllocation(long n) noexcept;

/// Owns one MAPI buffer.
template <typename T>
class MapiBuffer
{
public:
    MapiBuffer() noexcept = default;
    explicit MapiBuffer(T* buffer) noexcept : FBuffer(buffer) {}
    MapiBuffer(MapiBuffer&& other) noexcept : FBuffer(std::exchange(other.FBuffer, nullptr)) {}
    MapiBuffer& operator=(MapiBuffer&& other) noexcept
    {
        std::swap(FBuffer, other.FBuffer);
        return *this;
    }
    ~MapiBuffer() { FreeBuffer(FBuffer); }
    MapiBuffer* operator&() = delete;

    [[nodiscard]] T* Get() const noexcept { return FBuffer; }
    T* operator->() const noexcept { return FBuffer; }
    explicit operator bool() const noexcept { return FBuffer != nullptr; }
    [[nodiscard]] T* Detach() noexcept { return std::exchange(FBuffer, nullptr); }
    /// The address of an out-parameter; frees what was held.
    [[nodiscard]] T** Out() noexcept
    {
        FreeBuffer(std::exchange(FBuffer, nullptr));
        return &FBuffer;
    }

private:
    T* FBuffer = nullptr;
};

/// Owns one row set.
class RowSet
{
public:
    RowSet() noexcept = default;
    RowSet(RowSet&& other) noexcept : FRows(std::exchange(other.FRows, nullptr)) {}
    RowSet& operator=(RowSet&& other) noexcept
    {
        std::swap(FRows, other.FRows);
        return *this;
    }
    ~RowSet() { FreeRows(FRows); }
    RowSet* operator&() = delete;

    [[nodiscard]] mapi::LPSRowSet Get() const noexcept { return FRows; }
    mapi::LPSRowSet operator->() const noexcept { return FRows; }
    [[nodiscard]] mapi::LPSRowSet Detach() noexcept { return std::exchange(FRows, nullptr); }
    [[nodiscard]] mapi::LPSRowSet* Out() noexcept
    {
        FreeRows(std::exchange(FRows, nullptr));
        return &FRows;
    }

private:
    mapi::LPSRowSet FRows = nullptr;
};

/// A zeroed buffer of at least sizeof(T) bytes. @throws std::bad_alloc
void* AllocateOrThrow(std::size_t size);
template <typename T>
[[nodiscard]] MapiBuffer<T> AllocateAs(std::size_t size)
{
    return MapiBuffer<T>(static_cast<T*>(AllocateOrThrow(size)));
}

} // namespace deftmapi::client
