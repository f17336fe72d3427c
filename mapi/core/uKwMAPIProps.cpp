// The public face of the registry: every overload names an identity and asks the one registry of the library.
#include "mapi/core/uKwMAPIProps.hpp"

#include "mapi/core/PropRegistry.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNoSuchName = u"There is no registered property with the name \"%s\"!";
constexpr auto sStandardOnly = u"This overloaded version of SameProp will only work on Standard Properties";
constexpr auto sUnit = u"uKwMAPIProps";

TKwMAPIPropRegistry& Registry()
{
    return TKwMAPIPropRegistry::Instance();
}

TKwMAPIPropIdentity TaggedIdentity(mapi::ULONG tag) noexcept
{
    return TKwMAPIPropIdentity::Tagged(static_cast<std::uint16_t>(mapi::PROP_ID(tag)), mapi::PROP_TYPE(tag));
}

WideString NameAfter(const TKwMAPIPropIdentity& identity)
{
    const auto number = [](std::uint32_t value, int digits) {
        return WideString(u"0x").append(KwHexText(value, digits));
    };
    if (!identity.Named)
        return number(mapi::PROP_TAG(identity.Type, identity.Identifier), 8);
    WideString name = KwGuidToStr(identity.Set);
    name.push_back(u':');
    if (identity.Kind == mapi::MNID_STRING)
        return name.append(identity.StringName);
    return name.append(number(identity.Identifier, identity.Identifier > 0xFFFF ? 8 : 4));
}

const TKwMAPIPropInfo& FindOrRegister(const TKwMAPIPropIdentity& identity, bool unicode)
{
    const TKwMAPIPropInfo* info = Registry().FindIdentity(identity, unicode);
    return info != nullptr ? *info : Registry().Register(NameAfter(identity), identity);
}

bool Same(TKwMAPIPropIdentity a, const TKwMAPIPropInfo& b, bool unicode) noexcept
{
    if (a.Describes(b))
        return true;
    if (unicode)
        return false;
    a.Type = KwTwinTextType(a.Type);
    return a.Describes(b);
}

} // namespace

bool SameGuid(const mapi::GUID& a, const mapi::GUID& b) noexcept
{
    return a == b;
}

// ---- Registering

const TKwMAPIPropInfo& RegisterProp(WideView name, std::uint16_t id, std::uint32_t type)
{
    return Registry().Register(name, TKwMAPIPropIdentity::Tagged(id, type));
}

const TKwMAPIPropInfo& RegisterProp(const mapi::GUID& set, WideView name, WideView stringName, std::uint32_t type)
{
    return Registry().Register(name, TKwMAPIPropIdentity::NamedByText(set, stringName, type));
}

const TKwMAPIPropInfo& RegisterProp(const mapi::GUID& set, WideView name, std::uint32_t numericId, std::uint32_t type)
{
    return Registry().Register(name, TKwMAPIPropIdentity::NamedById(set, numericId, type));
}

TKwMAPIPropDef PropDefCount() noexcept
{
    return Registry().Count();
}

// ---- Handles and names

TKwMAPIPropDef GetPropDef(WideView name)
{
    const TKwMAPIPropInfo* info = Registry().FindName(name);
    if (info == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoSuchName, {name})->Raise();
    return info->Hash;
}

WideString GetPropName(TKwMAPIPropDef def)
{
    return WideString(GetPropInfo(def).PropName());
}

const TKwMAPIPropInfo& GetPropInfo(TKwMAPIPropDef def, bool unicode)
{
    return Registry().Info(def, unicode);
}

// ---- Searching

const TKwMAPIPropInfo* FindProp(WideView name) noexcept
{
    return Registry().FindName(name);
}

const TKwMAPIPropInfo* FindProp(std::uint16_t id, std::uint32_t type, bool unicode) noexcept
{
    return Registry().FindTagged(id, type, unicode);
}

const TKwMAPIPropInfo* FindProp(mapi::ULONG tag, bool unicode) noexcept
{
    return Registry().FindTagged(static_cast<std::uint16_t>(mapi::PROP_ID(tag)), mapi::PROP_TYPE(tag), unicode);
}

const TKwMAPIPropInfo* FindProp(const mapi::GUID& set, WideView stringName, std::uint32_t type, bool unicode) noexcept
{
    return Registry().FindIdentity(TKwMAPIPropIdentity::NamedByText(set, stringName, type), unicode);
}

const TKwMAPIPropInfo* FindProp(const mapi::GUID& set, std::uint32_t numericId, std::uint32_t type,
                                bool unicode) noexcept
{
    return Registry().FindIdentity(TKwMAPIPropIdentity::NamedById(set, numericId, type), unicode);
}

const TKwMAPIPropInfo* FindProp(mapi::ULONG tag, const mapi::MAPINAMEID& nameID, bool unicode) noexcept
{
    return FindProp(nameID, mapi::PROP_TYPE(tag), unicode);
}

const TKwMAPIPropInfo* FindProp(const mapi::MAPINAMEID& nameID, std::uint32_t type, bool unicode) noexcept
{
    return Registry().FindIdentity(TKwMAPIPropIdentity::Of(nameID, type), unicode);
}

const TKwMAPIPropInfo& GetProp(std::uint16_t id, std::uint32_t type, bool unicode)
{
    return FindOrRegister(TKwMAPIPropIdentity::Tagged(id, type), unicode);
}

const TKwMAPIPropInfo& GetProp(mapi::ULONG tag, bool unicode)
{
    return FindOrRegister(TaggedIdentity(tag), unicode);
}

const TKwMAPIPropInfo& GetProp(const mapi::GUID& set, WideView stringName, std::uint32_t type, bool unicode)
{
    return FindOrRegister(TKwMAPIPropIdentity::NamedByText(set, stringName, type), unicode);
}

const TKwMAPIPropInfo& GetProp(const mapi::GUID& set, std::uint32_t numericId, std::uint32_t type, bool unicode)
{
    return FindOrRegister(TKwMAPIPropIdentity::NamedById(set, numericId, type), unicode);
}

const TKwMAPIPropInfo& GetProp(mapi::ULONG tag, const mapi::MAPINAMEID& nameID, bool unicode)
{
    return GetProp(nameID, mapi::PROP_TYPE(tag), unicode);
}

const TKwMAPIPropInfo& GetProp(const mapi::MAPINAMEID& nameID, std::uint32_t type, bool unicode)
{
    return FindOrRegister(TKwMAPIPropIdentity::Of(nameID, type), unicode);
}

// ---- Identity

bool SameProp(const TKwMAPIPropInfo& a, const TKwMAPIPropInfo& b, bool unicode) noexcept
{
    return &a == &b || Same(TKwMAPIPropIdentity::Of(a), b, unicode);
}

bool SameProp(const TKwMAPIPropInfo& info, mapi::ULONG tag, bool unicode)
{
    KwAssert(!info.Named, sStandardOnly, sUnit);
    return Same(TaggedIdentity(tag), info, unicode);
}

bool SameProp(const TKwMAPIPropInfo& info, mapi::ULONG tag, const mapi::MAPINAMEID& nameID, bool unicode) noexcept
{
    return Same(TKwMAPIPropIdentity::Of(nameID, mapi::PROP_TYPE(tag)), info, unicode);
}

bool SameProp(const TKwMAPIPropInfo& info, const mapi::MAPINAMEID& nameID, mapi::ULONG tag, bool unicode) noexcept
{
    return SameProp(info, tag, nameID, unicode);
}

TKwMAPIPropDef CalcPropHash(const TKwMAPIPropInfo& info, bool sequential)
{
    using enum TKwMAPIPropRegistry::THashMode;
    return Registry().CalcHash(info.PropName(), TKwMAPIPropIdentity::Of(info), sequential ? Sequential : Hashed);
}

} // namespace deftmapi
