#include "client/entry/Utilities.hpp"

#include "client/entry/Guard.hpp"
#include "client/store/EntryIds.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace deftmapi::client
{
namespace
{

constexpr auto sNegative = u"The number of rows is negative.";

/// Stands before each block of the COM allocator, which must be able to tell a block's size.
struct alignas(std::max_align_t) BlockHeader
{
    std::size_t size;
};

class ComAllocator final : public mapi::IMalloc
{
public:
    mapi::HRESULT DEFTMAPI_STDCALL QueryInterface(mapi::REFIID iid, void** object) noexcept override
    {
        if (!object)
            return mapi::MAPI_E_INVALID_PARAMETER;
        const bool known = iid == mapi::IID_IUnknown || iid == mapi::IID_IMalloc;
        *object = known ? this : nullptr;
        return known ? mapi::S_OK : mapi::MAPI_E_INTERFACE_NOT_SUPPORTED;
    }
    ULONG DEFTMAPI_STDCALL AddRef() noexcept override { return 1; }
    ULONG DEFTMAPI_STDCALL Release() noexcept override { return 1; }

    void* DEFTMAPI_STDCALL Alloc(mapi::SIZE_T size) noexcept override { return Resize(nullptr, size); }
    void* DEFTMAPI_STDCALL Realloc(void* block, mapi::SIZE_T size) noexcept override
    {
        if (block && size == 0) {
            Free(block);
            return nullptr;
        }
        return Resize(block ? static_cast<BlockHeader*>(block) - 1 : nullptr, size);
    }
    void DEFTMAPI_STDCALL Free(void* block) noexcept override
    {
        if (block)
            std::free(static_cast<BlockHeader*>(block) - 1);
    }
    mapi::SIZE_T DEFTMAPI_STDCALL GetSize(void* block) noexcept override
    {
        return block ? (static_cast<BlockHeader*>(block) - 1)->size : ~mapi::SIZE_T{0};
    }
    // -1 is "cannot tell": blocks are not registered.
    int DEFTMAPI_STDCALL DidAlloc(void*) noexcept override { return -1; }
    void DEFTMAPI_STDCALL HeapMinimize() noexcept override {}

private:
    static void* Resize(BlockHeader* header, mapi::SIZE_T size) noexcept
    {
        if (size > SIZE_MAX - sizeof(BlockHeader))
            return nullptr;
        auto* block = static_cast<BlockHeader*>(std::realloc(header, sizeof(BlockHeader) + size));
        if (!block)
            return nullptr;
        block->size = size;
        return block + 1;
    }
};

void Check(mapi::HRESULT result)
{
    if (result < 0)
        Fail(result, u"");
}

/// Puts the rows of `more` behind those of `all`.
void Append(RowSet& all, RowSet& more)
{
    const std::size_t before = all.Get() ? all->cRows : 0;
    const std::size_t count = before + more->cRows;
    RowSet joined;
    *joined.Out() = AllocateAs<mapi::SRowSet>(sizeof(mapi::SRowSet) + count * sizeof(mapi::SRow)).Detach();
    if (before)
        std::copy_n(all->aRow, before, joined->aRow);
    std::copy_n(more->aRow, more->cRows, joined->aRow + before);
    joined->cRows = static_cast<ULONG>(count);
    // The property arrays belong to the joined set now.
    if (before)
        all->cRows = 0;
    more->cRows = 0;
    all = std::move(joined);
}

constexpr std::size_t HeaderSize = 22;
constexpr std::size_t ChildSize = 5;

bool IsConversationIndex(std::span<const std::uint8_t> index)
{
    return index.size() >= HeaderSize && (index.size() - HeaderSize) % ChildSize == 0;
}

/// The time of the header with its low 16 bits zero: bytes 0 to 5 are the top 48 bits of a present-day FILETIME.
std::int64_t HeaderTime(std::span<const std::uint8_t> index)
{
    // The other form has bits 63 to 24 at offset 1, so that 1 stands there twice.
    const std::size_t first = index[1] == 1 ? 1 : 0;
    const std::size_t bytes = first == 1 ? 5 : 6;
    std::uint64_t time = 0;
    for (std::size_t i = 0; i < bytes; ++i)
        time = time << 8 | index[first + i];
    return static_cast<std::int64_t>(time << (64 - 8 * bytes));
}

} // namespace

mapi::IMalloc& DefaultMalloc() noexcept
{
    static ComAllocator allocator;
    return allocator;
}

mapi::HRESULT QueryAllRows(mapi::IMAPITable* table, mapi::LPSPropTagArray columns, mapi::LPSRestriction restriction,
                           mapi::LPSSortOrderSet order, mapi::LONG maximum, mapi::LPSRowSet* rows) noexcept
{
    LastError last;
    return Guard(last, [&] {
        Require(rows, u"lppRows");
        *rows = nullptr;
        Require(table, u"lpTable");
        if (maximum < 0)
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sNegative);
        if (columns)
            Check(table->SetColumns(columns, mapi::TBL_BATCH));
        if (restriction)
            Check(table->Restrict(restriction, mapi::TBL_BATCH));
        if (order)
            Check(table->SortTable(order, mapi::TBL_BATCH));
        Check(table->SeekRow(mapi::BOOKMARK_BEGINNING, 0, nullptr));
        // A provider may give fewer rows than it is asked for; only none at all is the end.
        constexpr mapi::LONG Portion = 1000;
        RowSet all;
        for (;;) {
            RowSet portion;
            Check(table->QueryRows(Portion, 0, portion.Out()));
            const bool end = !portion.Get() || portion->cRows == 0;
            if (!end || !all.Get()) {
                if (!portion.Get())
                    *portion.Out() = AllocateAs<mapi::SRowSet>(sizeof(mapi::SRowSet)).Detach();
                Append(all, portion);
            }
            if (maximum > 0 && all->cRows > static_cast<ULONG>(maximum))
                Fail(mapi::MAPI_E_TABLE_TOO_BIG, u"");
            if (end)
                break;
        }
        *rows = all.Detach();
    });
}

Bytes NextConversationIndex(std::span<const std::uint8_t> parent, std::int64_t now)
{
    const Uid random = NewUid();
    if (!IsConversationIndex(parent)) {
        Bytes index = {1};
        for (int shift = 48; shift >= 16; shift -= 8)
            index.push_back(static_cast<std::uint8_t>(now >> shift));
        index.insert(index.end(), random.ab, random.ab + sizeof random.ab);
        return index;
    }
    Bytes index(parent.begin(), parent.end());
    const auto age = static_cast<std::uint64_t>(std::max<std::int64_t>(0, now - HeaderTime(parent)));
    const bool old = age >= std::uint64_t{1} << 49;
    const std::uint64_t value = (old ? std::uint64_t{1} << 31 : 0) | ((age >> (old ? 23 : 18)) & 0x7FFFFFFF);
    for (int shift = 24; shift >= 0; shift -= 8)
        index.push_back(static_cast<std::uint8_t>(value >> shift));
    index.push_back(random.ab[0]);
    return index;
}

} // namespace deftmapi::client
