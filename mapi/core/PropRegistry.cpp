// The registry of property definitions. What the predefined definitions need at run time is one hash and one comparison
// per look-up: their indexes are written by the generator.
#include "mapi/core/PropRegistry.hpp"

#include "mapi/core/PropHash.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "support/uKwEncoding.hpp"

#include <algorithm>

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

static_assert(prophash::Text(prophash::Seed, u"PR_SUBJECT") == hashOfSubject,
              "PropHash.hpp and generate_property_definitions.py differ");
static_assert(std::size(predefinedProps) == PredefinedPropCount);

WideView PoolText(std::uint32_t offset, std::size_t length) noexcept
{
    return {&textPool[offset / textPoolRow][offset % textPoolRow], length};
}

/// Walks the slots that the generator filled: open addressing, linear probing, 0 is empty.
template <std::size_t Size, typename Matches>
const TKwMAPIPropInfo* FindPredefined(const std::uint16_t (&index)[Size], std::uint64_t hash, Matches matches) noexcept
{
    static_assert((Size & (Size - 1)) == 0);
    for (std::size_t slot = hash & (Size - 1); index[slot] != 0; slot = (slot + 1) & (Size - 1)) {
        const TKwMAPIPropInfo& info = predefinedProps[index[slot] - 1];
        if (matches(info))
            return &info;
    }
    return nullptr;
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

TKwMAPIPropIdentity TKwMAPIPropIdentity::Tagged(std::uint16_t id, std::uint32_t type) noexcept
{
    return {.Identifier = id, .Type = type};
}

TKwMAPIPropIdentity TKwMAPIPropIdentity::NamedById(const mapi::GUID& set, std::uint32_t id, std::uint32_t type) noexcept
{
    return {.Named = true, .Set = set, .Kind = mapi::MNID_ID, .Identifier = id, .Type = type};
}

TKwMAPIPropIdentity TKwMAPIPropIdentity::NamedByText(const mapi::GUID& set, WideView name, std::uint32_t type) noexcept
{
    return {.Named = true, .Set = set, .Kind = mapi::MNID_STRING, .StringName = name, .Type = type};
}

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
    if (!Named)
        return prophash::Step(prophash::Seed, mapi::PROP_TAG(Type, Identifier));
    const std::uint64_t state = prophash::Named(Set, Kind, Type);
    return Kind == mapi::MNID_STRING ? prophash::Text(state, StringName) : prophash::Step(state, Identifier);
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
    WideString text =
        u"{" + KwHexText(guid.Data1, 8) + u"-" + KwHexText(guid.Data2, 4) + u"-" + KwHexText(guid.Data3, 4);
    for (unsigned i = 0; i < 8; ++i)
        text += (i == 0 || i == 2 ? u"-" : u"") + KwHexText(guid.Data4[i], 2);
    return text + u"}";
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
    static TKwMAPIPropRegistry registry;
    return registry;
}

const TKwMAPIPropInfo& TKwMAPIPropRegistry::Item(std::size_t index) const noexcept
{
    return index < PredefinedPropCount ? predefinedProps[index] : *FRegistered[index - PredefinedPropCount];
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
    const auto found = std::ranges::find_if(FRegistered, [&](const auto& info) { return info->Hash == def; });
    return found != FRegistered.end() ? found->get() : nullptr;
}

const TKwMAPIPropInfo* TKwMAPIPropRegistry::FindName(WideView name) const noexcept
{
    const auto matches = [&](const TKwMAPIPropInfo& info) { return info.PropName() == name; };
    if (const auto* info = FindPredefined(nameIndex, prophash::Text(prophash::Seed, name), matches))
        return info;
    const auto found = FNames.find(name);
    return found != FNames.end() ? found->second : nullptr;
}

const TKwMAPIPropInfo* TKwMAPIPropRegistry::FindIdentity(const TKwMAPIPropIdentity& identity) const noexcept
{
    const auto matches = [&](const TKwMAPIPropInfo& info) { return identity.Describes(info); };
    if (const auto* info = FindPredefined(identityIndex, identity.Hash(), matches))
        return info;
    const auto found = FIdentities.find(identity);
    return found != FIdentities.end() ? *found : nullptr;
}

const TKwMAPIPropInfo* TKwMAPIPropRegistry::FindIdentity(TKwMAPIPropIdentity identity, bool unicode) const noexcept
{
    const TKwMAPIPropInfo* exact = FindIdentity(identity);
    const std::uint32_t twinType = KwTwinTextType(identity.Type);
    if (unicode || twinType == identity.Type)
        return exact;
    identity.Type = twinType;
    const TKwMAPIPropInfo* twin = FindIdentity(identity);
    if (exact == nullptr || twin == nullptr)
        return exact != nullptr ? exact : twin;
    return exact->Hash < twin->Hash ? exact : twin;
}

const TKwMAPIPropInfo& TKwMAPIPropRegistry::Info(TKwMAPIPropDef def, bool unicode) const
{
    KwAssert(def != 0, sZeroDef, sUnit);
    const TKwMAPIPropInfo* info = FindDef(def);
    if (info == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sInvalidDef)->Raise();
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
    const TKwMAPIPropInfo* info = FindIdentity(identity);
    return info != nullptr ? *info : Add(name, identity, THashMode::Sequential);
}

const TKwMAPIPropInfo& TKwMAPIPropRegistry::Add(WideView name, const TKwMAPIPropIdentity& identity, THashMode mode)
{
    const TKwMAPIPropDef hash = CalcHash(name, identity, mode);
    const TKwMAPIRegisteredProp& info =
        *FRegistered.emplace_back(std::make_unique<const TKwMAPIRegisteredProp>(hash, name, identity));
    // Keep what is there: the first of a name or an identity is the one that searches find.
    FNames.try_emplace(info.Name, &info);
    FIdentities.insert(&info);
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
