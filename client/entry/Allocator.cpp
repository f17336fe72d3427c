// Buffers are registered in shards so that threads seldom meet; a block allocated "more" hangs on the chain of its
// root.
#include "client/entry/Allocator.hpp"

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <unordered_set>

namespace deftmapi::client
{
namespace
{

struct alignas(std::max_align_t) Header
{
    Header* next;
};

struct Shard
{
    std::mutex lock;
    std::unordered_set<void*> roots;
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
        shard.roots.insert(data);
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
    if (!shard.roots.contains(parent))
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
        if (shard.roots.erase(buffer) == 0)
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
