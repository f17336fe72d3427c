// The registry of property definitions. What the predefined definitions need at run time is one hash and one comparison
// per look-up: their indexes are written by the generator.
#include "mapi/core/PropRegistry.hpp"

#include "mapi/core/PropHash.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "support/uKwEncoding.hpp"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace deftmapi
{

namespace
{

#include "mapi/core/PropRecords.inc"

constexpr auto sInvalidDef = u"The PropDef.ID contains an invalid ID!";
constexpr auto sNoIdentifier = u"The given PropDef does not have an ID";
constexpr auto sHashTaken = u"%s is equal to %s";
constexpr auto sZeroDef = u"PropDef must not be 0";
constexpr auto sUnit = u"uKwMAPIProps";

/// Handles from here on are hashes.
constexpr TKwMAPIPropDef firstHashedDef = 0xF000000000000000;

static_assert(prophash::Text(5, u"PR_SUBJECT") == hashOfSubject,
              "PropHash.hpp and generate_property_definitions.py differ");
static_assert(std::size(predefinedProps) == PredefinedPropCount);
static_assert(numberBits + setBits + typeBits + 32 <= 64);

WideView PoolText(std::uint32_t offset, std::size_t length) noexcept
{
    return {&textPool[offset / textPoolRow][offset % textPoolRow], length};
}

bool SameText(WideView a, WideView b) noexcept
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0;
}

/// The place of a property set in the generated tables; 0 when no predefined definition is of it.
std::uint32_t SetNumber(const mapi::GUID& set) noexcept
{
    const std::uint64_t product = static_cast<std::uint32_t>(set.Data1 * setMultiplier);
    const std::uint32_t number = setIndex[product * std::size(setIndex) >> 32];
    return propSets[number] == set ? number : 0;
}

// The generated indexes: open addressing, linear probing, 0 is an empty slot.

/// A slot is the key with the definition's number below it, so that a look-up touches no more than the slot.
const TKwMAPIPropInfo* FindNumeric(std::uint64_t key) noexcept
{
    constexpr std::size_t mask = std::size(numericIndex) - 1;
    for (std::size_t slot = prophash::Mix(key) & mask; numericIndex[slot] != 0; slot = (slot + 1) & mask)
        if (numericIndex[slot] >> numberBits == key)
            return &predefinedProps[(numericIndex[slot] & ((1u << numberBits) - 1)) - 1];
    return nullptr;
}

/// A slot is the definition's number with 16 bits of the hash above it, which spare a look at most other definitions.
template <std::size_t Size, typename Matches>
const TKwMAPIPropInfo* FindText(const std::uint32_t (&index)[Size], std::uint64_t hash, Matches matches) noexcept
{
    const std::uint64_t fingerprint = hash >> 48;
    for (std::size_t slot = hash & (Size - 1); index[slot] != 0; slot = (slot + 1) & (Size - 1)) {
        const TKwMAPIPropInfo& info = predefinedProps[(index[slot] & 0xFFFF) - 1];
        if (index[slot] >> 16 == fingerprint && matches(info))
            return &info;
    }
    return nullptr;
}

const TKwMAPIPropInfo* FindPredefined(const TKwMAPIPropIdentity& identity) noexcept
{
    const std::uint64_t set = identity.Named ? SetNumber(identity.Set) : 0;
    if ((identity.Named && set == 0) || identity.Type >> typeBits != 0)
        return nullptr;
    if (identity.Kind != mapi::MNID_STRING)
        return FindNumeric(identity.Identifier | static_cast<std::uint64_t>(identity.Type) << 32 |
                           set << (32 + typeBits));
    return FindText(namedTextIndex, prophash::Text(identity.Type | set << 32, identity.StringName),
                    [&](const TKwMAPIPropInfo& info) {
                        return info.PropType == identity.Type && SameText(info.StringName(), identity.StringName) &&
                               SameGuid(info.PropSet(), identity.Set);
                    });
}

const TKwMAPIRegisteredProp& AsRegistered(const TKwMAPIPropInfo& info) noexcept
{
    return static_cast<const TKwMAPIRegisteredProp&>(info);
}

std::uint64_t HashOfAnsiTexts(WideView name, const TKwMAPIPropIdentity& identity)
{
    WideString text =
        identity.Kind == mapi::MNID_STRING ? WideString(identity.StringName) : KwFormat(u"%d", {identity.Identifier});
    text += KwFormat(u"%d", {identity.Type});
    text += KwGuidToStr(identity.Set);
    text += name;
    std::uint64_t hash = 0xCBF29CE484222325; // FNV-1a
    for (const char c : TKwEncoding().FromWide(text))
        hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3;
    return hash;
}

} // namespace

// ---- TKwMAPIPropInfo

TKwVariant TKwMAPIPropInfo::PropID() const
{
    if (PropKind == mapi::MNID_STRING)
        return StringName();
    const std::uint32_t id = Identifier();
    if (!Named && id <= 0x7FFF)
        return static_cast<std::int16_t>(id);
    return static_cast<std::int32_t>(id);
}

WideView TKwMAPIPropInfo::PropName() const noexcept
{
    return DisposePropDef() ? WideView(AsRegistered(*this).Name) : PoolText(FPosition.Name, FPosition.NameLength);
}

WideView TKwMAPIPropInfo::StringName() const noexcept
{
    return DisposePropDef() ? WideView(AsRegistered(*this).String)
                            : PoolText(FPosition.StringName, FPosition.StringNameLength);
}

const mapi::GUID& TKwMAPIPropInfo::PropSet() const noexcept
{
    return DisposePropDef() ? AsRegistered(*this).Set : propSets[FPosition.Set];
}

// ---- TKwMAPIPropIdentity

TKwMAPIPropIdentity TKwMAPIPropIdentity::Of(const mapi::MAPINAMEID& nameID, std::uint32_t type) noexcept
{
    const mapi::GUID& set = nameID.lpguid != nullptr ? *nameID.lpguid : IID_EMPTY;
    if (nameID.ulKind != mapi::MNID_STRING)
        return NamedById(set, static_cast<std::uint32_t>(nameID.Kind.lID), type);
    return NamedByText(set, nameID.Kind.lpwstrName != nullptr ? WideView(nameID.Kind.lpwstrName) : WideView(), type);
}

TKwMAPIPropIdentity TKwMAPIPropIdentity::Of(const TKwMAPIPropInfo& info) noexcept
{
    return {.Named = info.Named,
            .Set = info.PropSet(),
            .Kind = info.PropKind,
            .Identifier = info.Identifier(),
            .StringName = info.StringName(),
            .Type = info.PropType};
}

std::uint64_t TKwMAPIPropIdentity::Hash() const noexcept
{
    const std::uint64_t set = prophash::Mix(Set.Data1 | static_cast<std::uint64_t>(Type) << 32);
    return prophash::Text(prophash::Mix(set ^ Identifier), StringName);
}

bool TKwMAPIPropIdentity::Describes(const TKwMAPIPropInfo& info) const noexcept
{
    if (info.PropType != Type || info.Identifier() != Identifier || info.Named != Named || info.PropKind != Kind)
        return false;
    return !Named || (SameGuid(info.PropSet(), Set) && (Kind != mapi::MNID_STRING || info.StringName() == StringName));
}

std::uint32_t KwTwinTextType(std::uint32_t type) noexcept
{
    switch (type) {
    case mapi::PT_STRING8:
    case mapi::PT_UNICODE:
    case mapi::PT_MV_STRING8:
    case mapi::PT_MV_UNICODE:
        return type ^ (mapi::PT_STRING8 ^ mapi::PT_UNICODE);
    default:
        return type;
    }
}

bool KwIsWideTextType(std::uint32_t type) noexcept
{
    return type == mapi::PT_UNICODE || type == mapi::PT_MV_UNICODE;
}

WideString KwHexText(std::uint64_t number, int digits)
{
    WideString text;
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        text.push_back(u"0123456789ABCDEF"[(number >> shift) & 0xF]);
    return text;
}

WideString KwGuidToStr(const mapi::GUID& guid)
{
    const std::uint64_t tail = std::accumulate(std::begin(guid.Data4), std::end(guid.Data4), std::uint64_t{0},
                                               [](std::uint64_t sum, std::uint8_t byte) { return sum << 8 | byte; });
    WideString text(1, u'{');
    text.append(KwHexText(guid.Data1, 8)).push_back(u'-');
    text.append(KwHexText(guid.Data2, 4)).push_back(u'-');
    text.append(KwHexText(guid.Data3, 4)).push_back(u'-');
    text.append(KwHexText(tail >> 48, 4)).push_back(u'-');
    text.append(KwHexText(tail, 12)).push_back(u'}');
    return text;
}

// ---- TKwMAPIRegisteredProp

TKwMAPIRegisteredProp::TKwMAPIRegisteredProp(TKwMAPIPropDef hash, WideView name, const TKwMAPIPropIdentity& identity)
    : TKwMAPIPropInfo(hash, identity.Type, identity.Kind, identity.Named,
                      {identity.Identifier, 0, 0, 0, 0, Registered}),
      Name(name), String(identity.StringName), Set(identity.Set)
{}

// ---- TKwMAPIPropRegistry

TKwMAPIPropRegistry& TKwMAPIPropRegistry::Instance()
{
    // Never destroyed: a session that an application keeps in a global ends after all of the library's own statics.
    static TKwMAPIPropRegistry& registry = *new TKwMAPIPropRegistry;
    return registry;
}

const TKwMAPIPropInfo& TKwMAPIPropRegistry::Item(std::size_t index) const noexcept
{
    if (index < PredefinedPropCount)
        return predefinedProps[index];
    const std::lock_guard lock(FLock);
    return *FRegistered[index - PredefinedPropCount];
}

const TKwMAPIPropInfo* TKwMAPIPropRegistry::FindDef(TKwMAPIPropDef def) const noexcept
{
    if (def - 1 < Count()) {
        // A sequence number, unless a definition at that place was given a hash instead.
        const TKwMAPIPropInfo& info = Item(def - 1);
        return info.Hash == def ? &info : nullptr;
    }
    if (def < firstHashedDef)
        return nullptr;
    const std::lock_guard lock(FLock);
    const auto found = std::ranges::find_if(FRegistered, [&](const auto& info) { return info->Hash == def; });
    return found != FRegistered.end() ? found->get() : nullptr;
}

const TKwMAPIPropInfo* TKwMAPIPropRegistry::FindName(WideView name) const noexcept
{
    const auto matches = [&](const TKwMAPIPropInfo& info) { return SameText(info.PropName(), name); };
    const TKwMAPIPropInfo* predefined = FindText(nameIndex, prophash::Text(0, name), matches);
    if (predefined != nullptr || NothingRegistered())
        return predefined;
    const std::lock_guard lock(FLock);
    const auto found = FNames.find(name);
    return found != FNames.end() ? found->second : nullptr;
}

const TKwMAPIPropInfo* TKwMAPIPropRegistry::FindIdentity(const TKwMAPIPropIdentity& identity) const noexcept
{
    const TKwMAPIPropInfo* predefined = FindPredefined(identity);
    if (predefined != nullptr || NothingRegistered())
        return predefined;
    const std::lock_guard lock(FLock);
    const auto found = FIdentities.find(identity);
    return found != FIdentities.end() ? *found : nullptr;
}

const TKwMAPIPropInfo* TKwMAPIPropRegistry::FindIdentity(const TKwMAPIPropIdentity& identity,
                                                         bool unicode) const noexcept
{
    const TKwMAPIPropInfo* exact = FindIdentity(identity);
    const std::uint32_t twinType = KwTwinTextType(identity.Type);
    if (unicode || twinType == identity.Type)
        return exact;
    TKwMAPIPropIdentity twinIdentity = identity;
    twinIdentity.Type = twinType;
    const TKwMAPIPropInfo* twin = FindIdentity(twinIdentity);
    if (exact == nullptr || twin == nullptr)
        return exact != nullptr ? exact : twin;
    return exact->Hash < twin->Hash ? exact : twin;
}

const TKwMAPIPropInfo* TKwMAPIPropRegistry::FindTagged(std::uint16_t id, std::uint32_t type,
                                                       bool unicode) const noexcept
{
    // Tags are looked up for every column of every table: the usual case takes the short way.
    if (type >> typeBits == 0 && (unicode || KwTwinTextType(type) == type)) {
        const TKwMAPIPropInfo* predefined = FindNumeric(id | static_cast<std::uint64_t>(type) << 32);
        if (predefined != nullptr || NothingRegistered())
            return predefined;
    }
    return FindIdentity(TKwMAPIPropIdentity::Tagged(id, type), unicode);
}

const TKwMAPIPropInfo& TKwMAPIPropRegistry::Info(TKwMAPIPropDef def, bool unicode) const
{
    const TKwMAPIPropInfo* info = FindDef(def);
    if (info == nullptr) {
        KwAssert(def != 0, sZeroDef, sUnit);
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sInvalidDef)->Raise();
    }
    if (unicode || !KwIsWideTextType(info->PropType))
        return *info;
    TKwMAPIPropIdentity twin = TKwMAPIPropIdentity::Of(*info);
    if (twin.Kind == mapi::MNID_STRING && twin.StringName.empty())
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoIdentifier)->Raise();
    twin.Type = KwTwinTextType(twin.Type);
    const TKwMAPIPropInfo* found = FindIdentity(twin);
    return found != nullptr ? *found : *info;
}

const TKwMAPIPropInfo& TKwMAPIPropRegistry::Register(WideView name, const TKwMAPIPropIdentity& identity)
{
    const std::lock_guard lock(FLock); // nobody registers the same between the two
    const TKwMAPIPropInfo* info = FindIdentity(identity);
    return info != nullptr ? *info : Add(name, identity, THashMode::Sequential);
}

const TKwMAPIPropInfo& TKwMAPIPropRegistry::Add(WideView name, const TKwMAPIPropIdentity& identity, THashMode mode)
{
    const std::lock_guard lock(FLock);
    const TKwMAPIPropDef hash = CalcHash(name, identity, mode);
    auto record = std::make_unique<const TKwMAPIRegisteredProp>(hash, name, identity);
    const TKwMAPIRegisteredProp& info = *record;
    if (FRegistered.size() == FRegistered.capacity())
        FRegistered.reserve(FRegistered.size() * 2 + 16); // what can fail comes before the record is in place
    // Keep what is there: the first of a name or an identity is the one that searches find.
    const auto byName = FNames.try_emplace(info.Name, &info);
    try {
        FIdentities.insert(&info);
    } catch (...) {
        if (byName.second)
            FNames.erase(byName.first);
        throw;
    }
    FRegistered.push_back(std::move(record));
    FCount.store(FRegistered.size(), std::memory_order_release);
    return info;
}

TKwMAPIPropDef TKwMAPIPropRegistry::CalcHash(WideView name, const TKwMAPIPropIdentity& identity, THashMode mode) const
{
    const TKwMAPIPropDef hash =
        mode == THashMode::Sequential ? Count() + 1 : HashOfAnsiTexts(name, identity) | firstHashedDef;
    if (const TKwMAPIPropInfo* taken = FindDef(hash))
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sHashTaken, {name, taken->PropName()})->Raise();
    return hash;
}

std::size_t TKwMAPIPropRegistry::TIdentityHash::operator()(const TKwMAPIPropIdentity& identity) const noexcept
{
    return static_cast<std::size_t>(identity.Hash());
}

std::size_t TKwMAPIPropRegistry::TIdentityHash::operator()(const TKwMAPIPropInfo* info) const noexcept
{
    return static_cast<std::size_t>(TKwMAPIPropIdentity::Of(*info).Hash());
}

bool TKwMAPIPropRegistry::TIdentityEqual::operator()(const TKwMAPIPropInfo* a, const TKwMAPIPropInfo* b) const noexcept
{
    return TKwMAPIPropIdentity::Of(*a).Describes(*b);
}

} // namespace deftmapi
