// Buffers are registered in shards so that threads seldom meet; a block allocated "more" hangs on the chain of its
// root.
#include "client/entry/Allocator.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

namespace deftmapi::client
{
namespace
{

struct alignas(std::max_align_t) Header
{
    Header* next;
};

/// The addresses of buffers, one in each slot or none: every row of a table comes and goes here, so that a set with an
/// allocation for each of its members would cost as much as the rows. At most half of the slots are taken.
class Addresses
{
public:
    /// @throws std::bad_alloc  nothing has changed
    void Insert(void* address)
    {
        if ((FCount + 1) * 2 > FSlots.size())
            Grow();
        Put(address);
        ++FCount;
    }
    [[nodiscard]] bool Contains(void* address) const { return !FSlots.empty() && FSlots[Find(address)] == address; }
    /// @returns false when it is not there
    bool Erase(void* address)
    {
        if (!Contains(address))
            return false;
        // What follows moves up unless it would then stand before its own slot, so that no search ends too early.
        const std::size_t mask = FSlots.size() - 1;
        std::size_t hole = Find(address);
        for (std::size_t at = (hole + 1) & mask; FSlots[at]; at = (at + 1) & mask) {
            if (((at - SlotOf(FSlots[at])) & mask) >= ((at - hole) & mask)) {
                FSlots[hole] = FSlots[at];
                hole = at;
            }
        }
        FSlots[hole] = nullptr;
        --FCount;
        return true;
    }

private:
    static constexpr std::size_t FirstSize = 64; // sizes are powers of two

    [[nodiscard]] std::size_t SlotOf(const void* address) const
    {
        const std::uint64_t mixed = std::uint64_t{reinterpret_cast<std::uintptr_t>(address)} * 0x9E3779B97F4A7C15u;
        return static_cast<std::size_t>(mixed >> 32) & (FSlots.size() - 1);
    }
    /// The slot of the address, or the free one where it belongs. REQUIRES: a slot is free.
    [[nodiscard]] std::size_t Find(const void* address) const
    {
        std::size_t at = SlotOf(address);
        while (FSlots[at] && FSlots[at] != address)
            at = (at + 1) & (FSlots.size() - 1);
        return at;
    }
    void Put(void* address) { FSlots[Find(address)] = address; }
    void Grow()
    {
        std::vector<void*> old(std::max(FirstSize, FSlots.size() * 2));
        old.swap(FSlots);
        for (void* address : old) {
            if (address)
                Put(address);
        }
    }

    std::vector<void*> FSlots;
    std::size_t FCount = 0;
};

struct Shard
{
    std::mutex lock;
    Addresses roots;
};

constexpr std::size_t ShardCount = 16;
constexpr mapi::ULONG FailureCode = static_cast<mapi::ULONG>(mapi::MAPI_E_INVALID_PARAMETER);

std::atomic<std::size_t> GLive{0};
std::atomic<long> GFailAt{0};

Shard& ShardOf(const void* pointer)
{
    // Never destroyed: applications free buffers while static objects of the process are being torn down.
    static auto& shards = *new std::array<Shard, ShardCount>;
    return shards[(reinterpret_cast<std::uintptr_t>(pointer) >> 5) % ShardCount];
}

Header* HeaderOf(void* buffer)
{
    return static_cast<Header*>(buffer) - 1;
}

Header* NewBlock(mapi::ULONG size)
{
    if (GFailAt.load(std::memory_order_relaxed) > 0 && GFailAt.fetch_sub(1) == 1)
        return nullptr;
    auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
    if (header)
        header->next = nullptr;
    return header;
}

} // namespace

mapi::SCODE AllocateBuffer(mapi::ULONG size, void** buffer) noexcept
{
    if (!buffer)
        return mapi::MAPI_E_INVALID_PARAMETER;
    *buffer = nullptr;
    Header* header = NewBlock(size);
    if (!header)
        return mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    void* data = header + 1;
    try {
        Shard& shard = ShardOf(data);
        const std::lock_guard guard(shard.lock);
        shard.roots.Insert(data);
    } catch (...) {
        std::free(header);
        return mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    }
    ++GLive;
    *buffer = data;
    return mapi::S_OK;
}

mapi::SCODE AllocateMore(mapi::ULONG size, void* parent, void** buffer) noexcept
{
    if (!buffer)
        return mapi::MAPI_E_INVALID_PARAMETER;
    *buffer = nullptr;
    if (!parent)
        return mapi::MAPI_E_INVALID_PARAMETER;
    Shard& shard = ShardOf(parent);
    const std::lock_guard guard(shard.lock);
    if (!shard.roots.Contains(parent))
        return mapi::MAPI_E_INVALID_PARAMETER;
    Header* header = NewBlock(size);
    if (!header)
        return mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    Header* root = HeaderOf(parent);
    header->next = root->next;
    root->next = header;
    *buffer = header + 1;
    return mapi::S_OK;
}

mapi::ULONG FreeBuffer(void* buffer) noexcept
{
    if (!buffer)
        return 0;
    {
        Shard& shard = ShardOf(buffer);
        const std::lock_guard guard(shard.lock);
        if (!shard.roots.Erase(buffer))
            return FailureCode;
    }
    for (Header* block = HeaderOf(buffer); block;) {
        Header* next = block->next;
        std::free(block);
        block = next;
    }
    --GLive;
    return 0;
}

void FreeRows(mapi::LPSRowSet rows) noexcept
{
    if (!rows)
        return;
    for (mapi::ULONG i = 0; i < rows->cRows; ++i)
        FreeBuffer(rows->aRow[i].lpProps);
    FreeBuffer(rows);
}

void FreeAddressList(mapi::LPADRLIST list) noexcept
{
    if (!list)
        return;
    for (mapi::ULONG i = 0; i < list->cEntries; ++i)
        FreeBuffer(list->aEntries[i].rgPropVals);
    FreeBuffer(list);
}

std::size_t LiveBuffers() noexcept
{
    return GLive.load();
}

void FailAllocation(long n) noexcept
{
    GFailAt = n;
}

void* AllocateOrThrow(std::size_t size)
{
    void* buffer = nullptr;
    if (size > 0xFFFFFFFFu || AllocateBuffer(static_cast<mapi::ULONG>(size), &buffer) != mapi::S_OK)
        throw std::bad_alloc();
    std::memset(buffer, 0, size);
    return buffer;
}

} // namespace deftmapi::client
