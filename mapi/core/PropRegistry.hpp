// The registry of property definitions: the predefined ones in constant tables, the application's own behind them.
//
// The library uses one instance; it is a class so that a test can have a registry of its own that nobody registered
// anything with. Every instance begins with the same predefined definitions at no cost.
#pragma once

#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace deftmapi
{

/// What makes two definitions the same property.
struct TKwMAPIPropIdentity
{
    bool Named = false;
    mapi::GUID Set{};
    std::uint32_t Kind = 0;
    std::uint32_t Identifier = 0;
    WideView StringName{}; ///< of kind MNID_STRING; must outlive the identity
    std::uint32_t Type = 0;

    [[nodiscard]] static TKwMAPIPropIdentity Tagged(std::uint16_t id, std::uint32_t type) noexcept
    {
        return {.Identifier = id, .Type = type};
    }
    [[nodiscard]] static TKwMAPIPropIdentity NamedById(const mapi::GUID& set, std::uint32_t id,
                                                       std::uint32_t type) noexcept
    {
        return {.Named = true, .Set = set, .Kind = mapi::MNID_ID, .Identifier = id, .Type = type};
    }
    [[nodiscard]] static TKwMAPIPropIdentity NamedByText(const mapi::GUID& set, WideView name,
                                                         std::uint32_t type) noexcept
    {
        return {.Named = true, .Set = set, .Kind = mapi::MNID_STRING, .StringName = name, .Type = type};
    }
    /// Null pointers inside stand for IID_EMPTY and for an empty name.
    [[nodiscard]] static TKwMAPIPropIdentity Of(const mapi::MAPINAMEID& nameID, std::uint32_t type) noexcept;
    [[nodiscard]] static TKwMAPIPropIdentity Of(const TKwMAPIPropInfo& info) noexcept;

    [[nodiscard]] std::uint64_t Hash() const noexcept;
    [[nodiscard]] bool Describes(const TKwMAPIPropInfo& info) const noexcept;
};

/// The 8-bit twin of a wide text type and the other way round; other types as they are.
[[nodiscard]] std::uint32_t KwTwinTextType(std::uint32_t type) noexcept;
/// True for 0x001F and 0x101F.
[[nodiscard]] bool KwIsWideTextType(std::uint32_t type) noexcept;
/// Upper-case hexadecimal digits.
[[nodiscard]] WideString KwHexText(std::uint64_t number, int digits);
/// "{00062008-0000-0000-C000-000000000046}"
[[nodiscard]] WideString KwGuidToStr(const mapi::GUID& guid);

/// A definition of the application's.
struct TKwMAPIRegisteredProp final : TKwMAPIPropInfo
{
    TKwMAPIRegisteredProp(TKwMAPIPropDef hash, WideView name, const TKwMAPIPropIdentity& identity);

    WideString Name;
    WideString String;
    mapi::GUID Set;
};

class TKwMAPIPropRegistry
{
public:
    enum class THashMode
    {
        Sequential,
        Hashed
    };

    TKwMAPIPropRegistry() = default;
    TKwMAPIPropRegistry(const TKwMAPIPropRegistry&) = delete;
    TKwMAPIPropRegistry& operator=(const TKwMAPIPropRegistry&) = delete;

    /// The library's own.
    [[nodiscard]] static TKwMAPIPropRegistry& Instance();

    [[nodiscard]] std::size_t Count() const noexcept { return PredefinedPropCount + FCount.load(std::memory_order_acquire); }
    /// In the order of registration. REQUIRES: index < Count()
    [[nodiscard]] const TKwMAPIPropInfo& Item(std::size_t index) const noexcept;

    // The first in the order of registration, or null.
    [[nodiscard]] const TKwMAPIPropInfo* FindDef(TKwMAPIPropDef def) const noexcept;
    [[nodiscard]] const TKwMAPIPropInfo* FindName(WideView name) const noexcept;
    [[nodiscard]] const TKwMAPIPropInfo* FindIdentity(const TKwMAPIPropIdentity& identity) const noexcept;
    /// The same with both widths of text taken for equal unless unicode is true.
    [[nodiscard]] const TKwMAPIPropInfo* FindIdentity(const TKwMAPIPropIdentity& identity, bool unicode) const noexcept;
    /// The same for a tagged property.
    [[nodiscard]] const TKwMAPIPropInfo* FindTagged(std::uint16_t id, std::uint32_t type, bool unicode) const noexcept;

    /// See GetPropInfo.
    [[nodiscard]] const TKwMAPIPropInfo& Info(TKwMAPIPropDef def, bool unicode) const;
    /// The definition of this identity, made when it is not there.
    const TKwMAPIPropInfo& Register(WideView name, const TKwMAPIPropIdentity& identity);
    /// Makes a definition whatever is there already.
    /// @throws EMAPI_INVALID_PARAMETER  the handle that it would get is taken
    const TKwMAPIPropInfo& Add(WideView name, const TKwMAPIPropIdentity& identity, THashMode mode);
    /// The handle for a new definition. @throws EMAPI_INVALID_PARAMETER  it is taken
    [[nodiscard]] TKwMAPIPropDef CalcHash(WideView name, const TKwMAPIPropIdentity& identity, THashMode mode) const;

private:
    struct TIdentityHash
    {
        using is_transparent = void;
        std::size_t operator()(const TKwMAPIPropIdentity& identity) const noexcept;
        std::size_t operator()(const TKwMAPIPropInfo* info) const noexcept;
    };
    struct TIdentityEqual
    {
        using is_transparent = void;
        bool operator()(const TKwMAPIPropInfo* a, const TKwMAPIPropInfo* b) const noexcept;
        bool operator()(const TKwMAPIPropIdentity& a, const TKwMAPIPropInfo* b) const noexcept
        {
            return a.Describes(*b);
        }
        bool operator()(const TKwMAPIPropInfo* a, const TKwMAPIPropIdentity& b) const noexcept
        {
            return b.Describes(*a);
        }
    };

    /// True when look-ups need not go past the predefined definitions; spares them the lock.
    [[nodiscard]] bool NothingRegistered() const noexcept { return FCount.load(std::memory_order_acquire) == 0; }

    // The library registers by itself (a table with columns that no definition knows), on whatever thread that happens.
    mutable std::recursive_mutex FLock; // of the three below
    std::atomic<std::size_t> FCount{0}; // FRegistered.size()
    std::vector<std::unique_ptr<const TKwMAPIRegisteredProp>> FRegistered;
    // The first definition of each name and identity among the registered ones; keys are views into the records.
    std::unordered_map<WideView, const TKwMAPIPropInfo*> FNames;
    std::unordered_set<const TKwMAPIPropInfo*, TIdentityHash, TIdentityEqual> FIdentities;
};

} // namespace deftmapi
