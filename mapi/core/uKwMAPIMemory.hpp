// Owners of MAPI memory: a buffer, a row set, an address list. Each frees what it holds through the object whose
// session allocated it, so that memory never goes back to another allocator than it came from.
//
// They are for memory that a MAPI call handed out; arguments of a call are built in ordinary memory. What a
// release raises on the way out of a scope goes to KwReportServerException.
#pragma once

#include "mapi/uKwMAPIInterfaces.hpp"
#include "support/uKwExport.hpp"

#include <memory>
#include <span>
#include <type_traits>
#include <vector>

namespace deftmapi
{

/// Frees a MAPI buffer through the wrapper (its session's allocator), or through the entry point when wrapper is null.
/// Never raises. Null buffers are allowed.
DEFTMAPI_API void KwFreeMAPIBuffer(IKwMAPIWrapper* wrapper, void* buffer) noexcept;
/// Frees the property array of each row, then the set.
DEFTMAPI_API void KwFreeMAPIRows(IKwMAPIWrapper* wrapper, mapi::SRowSet* rows) noexcept;
/// Frees the property array of each entry, then the list.
DEFTMAPI_API void KwFreeMAPIAdrList(IKwMAPIWrapper* wrapper, mapi::ADRLIST* list) noexcept;

/// Owns one block of MAPI memory and a reference on the object through which it is freed (the wrapper's session where
/// there is one, so that a buffer may outlive the wrapper). Movable.
///
///     TKwMAPIBuffer<mapi::SPropValue> values(*this);
///     CheckMAPIResult(*this, u"GetProps", prop.GetProps(tags, 0, &count, Out(values)));
template <typename T, void (*Free)(IKwMAPIWrapper*, T*) noexcept>
class TKwMAPIOwner
{
public:
    /// Frees through the entry points of the loaded client library.
    TKwMAPIOwner() noexcept = default;
    /// REQUIRES: the wrapper is complete (not called from a constructor); it must have a session when memory is freed.
    explicit TKwMAPIOwner(IKwMAPIWrapper& wrapper) noexcept : FWrapper(OwnerOf(wrapper)) {}
    /// Takes over the block.
    TKwMAPIOwner(IKwMAPIWrapper& wrapper, T* block) noexcept : FWrapper(OwnerOf(wrapper)), FBlock(block) {}
    TKwMAPIOwner(TKwMAPIOwner&& other) noexcept
        : FWrapper(std::move(other.FWrapper)), FBlock(std::exchange(other.FBlock, nullptr))
    {}
    TKwMAPIOwner& operator=(TKwMAPIOwner&& other) noexcept
    {
        if (this != std::addressof(other)) {
            Reset();
            FWrapper = std::move(other.FWrapper);
            FBlock = std::exchange(other.FBlock, nullptr);
        }
        return *this;
    }
    ~TKwMAPIOwner() { Reset(); }
    TKwMAPIOwner* operator&() = delete;

    [[nodiscard]] T* Get() const noexcept { return FBlock; }
    T* operator->() const noexcept { return FBlock; }
    std::add_lvalue_reference_t<T> operator*() const noexcept { return *FBlock; }
    explicit operator bool() const noexcept { return FBlock != nullptr; }

    /// Frees the block, if any.
    void Reset() noexcept
    {
        if (T* block = std::exchange(FBlock, nullptr))
            Free(FWrapper.Get(), block);
    }
    /// Hands the block to the caller, who frees it.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(FBlock, nullptr); }

    /// The address of an out-parameter: frees what is held first.
    [[nodiscard]] friend T** Out(TKwMAPIOwner& owner) noexcept
    {
        owner.Reset();
        return &owner.FBlock;
    }

private:
    static IKwMAPIWrapper* OwnerOf(IKwMAPIWrapper& wrapper) noexcept
    {
        IKwMAPISessionBase* session = wrapper.Get_Session();
        return session != nullptr ? session : &wrapper;
    }

    TKwRef<IKwMAPIWrapper> FWrapper;
    T* FBlock = nullptr;
};

template <typename T>
void KwFreeMAPIBufferOf(IKwMAPIWrapper* wrapper, T* buffer) noexcept
{
    KwFreeMAPIBuffer(wrapper, buffer);
}

/// What QueryRows and its like return.
using TKwMAPIRowSet = TKwMAPIOwner<mapi::SRowSet, &KwFreeMAPIRows>;
/// Recipients.
using TKwMAPIAdrList = TKwMAPIOwner<mapi::ADRLIST, &KwFreeMAPIAdrList>;

/// Tags as an argument of a MAPI call, in ordinary memory.
///
///     TKwMAPITagArray columns({mapi::…});
///     table.SetColumns(columns.Get(), 0);
class TKwMAPITagArray
{
public:
    explicit TKwMAPITagArray(std::span<const mapi::ULONG> tags)
    {
        FWords.reserve(tags.size() + 2);
        FWords.push_back(static_cast<mapi::ULONG>(tags.size()));
        FWords.insert(FWords.end(), tags.begin(), tags.end());
        FWords.push_back(0); // an empty array still has the size of the structure
    }

    /// Valid while this object lives.
    [[nodiscard]] mapi::SPropTagArray* Get() noexcept { return reinterpret_cast<mapi::SPropTagArray*>(FWords.data()); }

private:
    std::vector<mapi::ULONG> FWords; // the count, then the tags
};

} // namespace deftmapi
