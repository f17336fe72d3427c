// Counted references: TKwRef for the library's own interfaces, TKwComPtr for COM interfaces of the platform.
// Both delete operator&: a COM out-parameter is written through Out(pointer), so that no reference is lost unseen.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace deftmapi
{

/// Root of the library's reference-counted interfaces. An object starts with a count of zero; the first TKwRef takes it
/// to one.
class IKwInterface
{
public:
    /// Adds one reference. Thread-safe.
    virtual void AddRef() const noexcept = 0;
    /// Drops one reference; the last one destroys the object. Thread-safe.
    virtual void Release() const noexcept = 0;

protected:
    IKwInterface() = default;
    IKwInterface(const IKwInterface&) = delete;
    IKwInterface& operator=(const IKwInterface&) = delete;
    virtual ~IKwInterface() = default;
};

/// Tag: the pointer already carries the reference that the smart pointer is to own.
struct TKwAdopt
{};
inline constexpr TKwAdopt KwAdopt{};

/// Owns one reference of a T that has AddRef and Release. The common ground of TKwRef and TKwComPtr.
template <typename T>
class TKwCounted
{
public:
    constexpr TKwCounted() noexcept = default;
    constexpr TKwCounted(std::nullptr_t) noexcept {}
    /// Adds a reference.
    TKwCounted(T* pointer) noexcept : FPointer(pointer)
    {
        if (FPointer)
            FPointer->AddRef();
    }
    /// Takes over the reference that the caller holds.
    TKwCounted(T* pointer, TKwAdopt) noexcept : FPointer(pointer) {}
    TKwCounted(const TKwCounted& other) noexcept : TKwCounted(other.FPointer) {}
    TKwCounted(TKwCounted&& other) noexcept : FPointer(std::exchange(other.FPointer, nullptr)) {}
    template <typename U>
    requires(!std::is_same_v<U, T> && std::is_convertible_v<U*, T*>) TKwCounted(const TKwCounted<U>& other)
    noexcept : TKwCounted(static_cast<T*>(other.Get())) {}
    ~TKwCounted() { Reset(); }

    TKwCounted& operator=(TKwCounted other) noexcept
    {
        std::swap(FPointer, other.FPointer);
        return *this;
    }

    [[nodiscard]] T* Get() const noexcept { return FPointer; }
    T* operator->() const noexcept { return FPointer; }
    T& operator*() const noexcept { return *FPointer; }
    explicit operator bool() const noexcept { return FPointer != nullptr; }
    TKwCounted* operator&() = delete;

    /// Drops the reference, if any.
    void Reset() noexcept
    {
        if (T* old = std::exchange(FPointer, nullptr))
            old->Release();
    }
    /// Hands the reference to the caller.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(FPointer, nullptr); }

    friend bool operator==(const TKwCounted& a, const TKwCounted& b) noexcept { return a.FPointer == b.FPointer; }
    friend bool operator==(const TKwCounted& a, std::nullptr_t) noexcept { return a.FPointer == nullptr; }

protected:
    template <typename U>
    friend U** Out(TKwCounted<U>& pointer) noexcept;
    template <typename U>
    friend void** OutVoid(TKwCounted<U>& pointer) noexcept;

    T* FPointer = nullptr;
};

template <typename T>
using TKwRef = TKwCounted<T>;
template <typename T>
using TKwComPtr = TKwCounted<T>;

/// The address of an out-parameter: drops what the pointer holds first; the callee stores a counted reference there.
template <typename T>
[[nodiscard]] T** Out(TKwCounted<T>& pointer) noexcept
{
    pointer.Reset();
    return &pointer.FPointer;
}

/// The same for calls that take void** (QueryInterface and its like).
template <typename T>
[[nodiscard]] void** OutVoid(TKwCounted<T>& pointer) noexcept
{
    pointer.Reset();
    return reinterpret_cast<void**>(&pointer.FPointer);
}

/// Creates a T and returns the first reference to it.
template <typename T, typename... Args>
[[nodiscard]] TKwRef<T> KwMake(Args&&... args)
{
    return TKwRef<T>(new T(std::forward<Args>(args)...));
}

/// Another interface of the same object, or null. Adds a reference to what it returns.
template <typename To, typename From>
[[nodiscard]] TKwRef<To> KwAs(const TKwRef<From>& from) noexcept
{
    return TKwRef<To>(dynamic_cast<To*>(from.Get()));
}

} // namespace deftmapi
