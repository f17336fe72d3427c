// The records that the generated sources fill and test_abi compares: what the published facts say and what the compiler
// made of our declarations. The slot of a method is read from the representation of a pointer to it, which the Itanium
// C++ ABI (g++ and clang++, mingw-w64 included) defines; no object is needed and nothing is called.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace deftmapi::abi
{

/// Of the facts for 32-bit and 64-bit platforms, the one for this build.
constexpr std::size_t ByPlatform(std::size_t on32, std::size_t on64)
{
    return sizeof(void*) == 8 ? on64 : on32;
}

struct LayoutFact
{
    const char* name;
    std::size_t offset;
    std::size_t size;
    std::size_t expectedOffset;
    std::size_t expectedSize;
    bool sameType;
};

struct ConstantFact
{
    const char* name;
    std::uint32_t pattern;
    std::uint32_t expectedPattern;
    bool isResult;
    bool isNegative;
};

struct GuidFact
{
    const char* name;
    const void* value;
    std::size_t size;
    const char* expectedBytes; ///< upper-case hexadecimal, in memory order
};

struct TextFact
{
    const char* name;
    std::u16string_view text;
    std::u16string_view expectedText;
};

struct InterfaceFact
{
    const char* name;
    const char* base;
    bool derivesFromBase;
    std::size_t slots;
    std::size_t expectedSlots;
    std::size_t size;
};

struct MethodFact
{
    const char* name;
    std::size_t slot;
    std::size_t expectedSlot;
    bool sameSignature;
};

struct FunctionFact
{
    const char* name;
    bool sameSignature;
};

/// One method in our interface and in that of the platform headers.
struct SlotPair
{
    const char* name;
    std::size_t ours;
    std::size_t theirs;
};

std::span<const LayoutFact> LayoutFacts();
std::span<const ConstantFact> ConstantFacts();
std::span<const GuidFact> GuidFacts();
std::span<const TextFact> TextFacts();
std::span<const InterfaceFact> InterfaceFacts();
std::span<const MethodFact> MethodFacts();
std::span<const FunctionFact> FunctionFacts();

/// Only where the platform headers of mingw-w64 are at hand.
std::span<const SlotPair> MingwSlots();

/// Position in the method table, or NotVirtual.
inline constexpr std::size_t NotVirtual = static_cast<std::size_t>(-1);

template <typename MemberFunction>
std::size_t SlotOf(MemberFunction method)
{
    struct
    {
        std::uintptr_t pointer;
        std::uintptr_t adjustment;
    } representation{};
    static_assert(sizeof(method) == sizeof(representation), "not the Itanium C++ ABI");
    std::memcpy(&representation, &method, sizeof(method));
#if defined(__arm__) || defined(__aarch64__)
    // Code addresses may be odd there, so the mark of a virtual function is in the other word.
    if ((representation.adjustment & 1) == 0)
        return NotVirtual;
    return representation.pointer / sizeof(void*);
#else
    if ((representation.pointer & 1) == 0)
        return NotVirtual;
    return (representation.pointer - 1) / sizeof(void*);
#endif
}

/// Number of slots of an interface: a method appended to it would take the slot of that number. A virtual destructor, a
/// forgotten or an additional method, and a wrong base all show here.
template <typename Interface>
std::size_t SlotCount()
{
    struct Extended : Interface
    {
        virtual void AppendedMethod() = 0;

    protected:
        ~Extended() = default;
    };
    return SlotOf(&Extended::AppendedMethod);
}

} // namespace deftmapi::abi
