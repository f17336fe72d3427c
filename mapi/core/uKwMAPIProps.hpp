// Property definitions: one 64-bit handle for every MAPI property, tagged or named, with the process-wide registry
// behind it.
//
// The predefined definitions are constant data that the generator wrote from property-definitions.csv: loading the
// library does nothing for them. All look-ups behave as a search from the first definition on (the lowest number wins,
// so PR_SUBJECT is found and never its twin PR_SUBJECT_W) and run on indexes.
//
// Threads: looking up and registering are safe on any thread at any time.
#pragma once

#include "mapi/core/uKwMAPIPropDefs.hpp"
#include "mapi/headers/uKwEdkGuidH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/uKwMAPIInterfaces.hpp"
#include "support/uKwExport.hpp"

namespace deftmapi
{

// ---- Property sets

using mapi::GUID_PKMDocSummaryInformation;
using mapi::IID_EMPTY;
using mapi::PS_INTERNET_HEADERS;
using mapi::PS_MAPI;
using mapi::PS_PUBLIC_STRINGS;
using mapi::PSETID_Address;
using mapi::PSETID_AirSync;
using mapi::PSETID_Appointment;
using mapi::PSETID_Attachment;
using mapi::PSETID_CalendarAssistant;
using mapi::PSETID_Common;
using mapi::PSETID_Exchange1;
using mapi::PSETID_InternetHeaders;
using mapi::PSETID_Log;
using mapi::PSETID_MAPI;
using mapi::PSETID_Meeting;
using mapi::PSETID_Messaging;
using mapi::PSETID_Note;
using mapi::PSETID_PostRss;
using mapi::PSETID_PublicStrings;
using mapi::PSETID_Sharing;
using mapi::PSETID_Task;
using mapi::PSETID_UnifiedMessaging;
/// The library's own set.
inline constexpr mapi::GUID PSETID_Velmora = mapi::MakeGuid(0x52A474EE, 0xE1A3, 0x4E63, 0x8FFC, 0xFCDACB06A7FC);

/// True when the identifiers are byte-for-byte equal.
[[nodiscard]] DEFTMAPI_API bool SameGuid(const mapi::GUID& a, const mapi::GUID& b) noexcept;

// ---- Definitions

/// What the registry knows of one definition. Owned by the registry and valid until the library is unloaded; compare
/// addresses to compare definitions. Hash, PropType, PropKind and Named are stored; everything else is computed from
/// the record's position in the constant tables, which therefore need no pointers.
struct DEFTMAPI_API TKwMAPIPropInfo
{
    /// Where the rest of the record lies. Of no meaning to applications.
    struct TPosition
    {
        std::uint32_t Identifier;
        std::uint32_t Name;       ///< in the text pool
        std::uint32_t StringName; ///< in the text pool
        std::uint8_t NameLength;
        std::uint8_t StringNameLength;
        std::uint8_t Set; ///< in the table of sets
    };

    constexpr TKwMAPIPropInfo(TKwMAPIPropDef hash, std::uint32_t type, std::uint32_t kind, bool named,
                              const TPosition& position) noexcept
        : Hash(hash), PropType(type), PropKind(kind), Named(named), FPosition(position)
    {}
    TKwMAPIPropInfo(const TKwMAPIPropInfo&) = delete;
    TKwMAPIPropInfo& operator=(const TKwMAPIPropInfo&) = delete;

    TKwMAPIPropDef Hash;    ///< the handle
    std::uint32_t PropType; ///< MAPI type, for example 0x001F
    std::uint32_t PropKind; ///< MNID_ID (also for tagged properties) or MNID_STRING
    bool Named;

    /// The 16-bit identifier of a tagged property, the numeric identifier of a named one, or the name of a string-named
    /// one. A small integer for a tagged property up to 0x7FFF, else a long integer.
    [[nodiscard]] TKwVariant PropID() const;
    /// "PR_SUBJECT". A zero follows the text.
    [[nodiscard]] WideView PropName() const noexcept;
    /// The property set of a named property, else IID_EMPTY.
    [[nodiscard]] const mapi::GUID& PropSet() const noexcept;
    /// The cell that holds the handle. A constant has no address before somebody takes it, so this is the record's
    /// Hash.
    [[nodiscard]] const TKwMAPIPropDef* PropDef() const noexcept { return &Hash; }
    /// True when the application registered the definition, so that the registry frees it.
    [[nodiscard]] bool DisposePropDef() const noexcept { return FPosition.Set == Registered; }

    /// PropID without the variant: the number; 0 for a string-named property.
    [[nodiscard]] std::uint32_t Identifier() const noexcept { return FPosition.Identifier; }
    /// PropID without the variant: the name; empty unless the property is string-named. A zero follows the text.
    [[nodiscard]] WideView StringName() const noexcept;

    /// TPosition::Set of definitions that the application registered; their texts lie in the derived record.
    static constexpr std::uint8_t Registered = 0xFF;

private:
    TPosition FPosition;
};

/// The library's name of a MAPI property type ("dtWideString" for 0x001F); "Invalid PropType" for a code that is none.
[[nodiscard]] DEFTMAPI_API WideView PropTypeToStr(std::uint32_t type) noexcept;

// ---- Registering. A definition with the same identity (identifier or name, type, set, kind) is returned as it is,
// under its own name and handle; otherwise a new one gets the next handle. The first after start-up is 4867.

DEFTMAPI_API const TKwMAPIPropInfo& RegisterProp(WideView name, std::uint16_t id, std::uint32_t type);
DEFTMAPI_API const TKwMAPIPropInfo& RegisterProp(const mapi::GUID& set, WideView name, WideView stringName,
                                                 std::uint32_t type);
DEFTMAPI_API const TKwMAPIPropInfo& RegisterProp(const mapi::GUID& set, WideView name, std::uint32_t numericId,
                                                 std::uint32_t type);

/// How many definitions there are, predefined and registered. Their handles are 1 to this number.
[[nodiscard]] DEFTMAPI_API TKwMAPIPropDef PropDefCount() noexcept;

// ---- Handles, names and tags

/// The handle of the first definition of exactly this name (case counts).
/// @throws EMAPI_INVALID_PARAMETER  there is none
[[nodiscard]] DEFTMAPI_API TKwMAPIPropDef GetPropDef(WideView name);

/// The name, for example u"PR_SUBJECT". @throws as GetPropInfo
[[nodiscard]] DEFTMAPI_API WideString GetPropName(TKwMAPIPropDef def);

/// The record of a handle. With unicode false a text definition is replaced by its 8-bit twin (same identity, type
/// 0x001E or 0x101E); one without a twin is returned as it is.
/// @throws EMAPI_INVALID_PARAMETER  no definition has this handle; or (unicode false) a string-named text definition
/// whose
///                                  name is empty
/// @throws EKwAssertionFailed  the handle is 0
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo& GetPropInfo(TKwMAPIPropDef def, bool unicode = true);

/// (identifier shifted left 16) OR type. @throws EMAPI_INVALID_PARAMETER  the property is named, see _GetPropTag
[[nodiscard]] DEFTMAPI_API mapi::ULONG GetPropTag(const TKwMAPIPropInfo& info);
[[nodiscard]] DEFTMAPI_API mapi::ULONG GetPropTag(TKwMAPIPropDef def);

/// The tag of a definition for one object. A named property's identifier is asked of the object's store
/// (GetIDsFromNames with MAPI_CREATE, one call each time: nothing is cached here, and the tag holds for that store
/// only).
/// @param prop  the object; needed for named properties only. No reference is taken.
/// @return 0 when the tag cannot be had and raiseOnError is false
/// @throws EMAPI_NO_SUPPORT  a named property without prop; and whatever the object's result stands for, warnings
/// included
[[nodiscard]] DEFTMAPI_API mapi::ULONG _GetPropTag(const TKwMAPIPropInfo& info, IKwMAPIProp* prop, bool raiseOnError);

// ---- Searching. Null when there is none. With unicode true the type must be equal; with unicode false 0x001E and
// 0x001F (and 0x101E and 0x101F) count as equal, as in SameProp.

[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo* FindProp(WideView name) noexcept;
/// A tagged property.
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo* FindProp(std::uint16_t id, std::uint32_t type, bool unicode) noexcept;
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo* FindProp(mapi::ULONG tag, bool unicode) noexcept;
/// A named property.
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo* FindProp(const mapi::GUID& set, WideView stringName,
                                                           std::uint32_t type, bool unicode) noexcept;
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo* FindProp(const mapi::GUID& set, std::uint32_t numericId,
                                                           std::uint32_t type, bool unicode) noexcept;
/// The named property that GetNamesFromIDs reported for a tag: the type is the tag's, its identifier does not count.
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo* FindProp(mapi::ULONG tag, const mapi::MAPINAMEID& nameID,
                                                           bool unicode) noexcept;
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo* FindProp(const mapi::MAPINAMEID& nameID, std::uint32_t type,
                                                           bool unicode) noexcept;

// The same, registering what is not there. A definition made here is named after its identity: "0x6F00001F", or the
// braced set, a colon, and the name or "0x…" with the numeric identifier.

[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo& GetProp(std::uint16_t id, std::uint32_t type, bool unicode);
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo& GetProp(mapi::ULONG tag, bool unicode);
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo& GetProp(const mapi::GUID& set, WideView stringName,
                                                          std::uint32_t type, bool unicode);
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo& GetProp(const mapi::GUID& set, std::uint32_t numericId,
                                                          std::uint32_t type, bool unicode);
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo& GetProp(mapi::ULONG tag, const mapi::MAPINAMEID& nameID,
                                                          bool unicode);
[[nodiscard]] DEFTMAPI_API const TKwMAPIPropInfo& GetProp(const mapi::MAPINAMEID& nameID, std::uint32_t type,
                                                          bool unicode);

// ---- Identity. Identifier or name, type, set and kind are equal; with unicode false an 8-bit and a wide text type
// are, too.

[[nodiscard]] DEFTMAPI_API bool SameProp(const TKwMAPIPropInfo& a, const TKwMAPIPropInfo& b, bool unicode) noexcept;
/// @throws EKwAssertionFailed  info is named
[[nodiscard]] DEFTMAPI_API bool SameProp(const TKwMAPIPropInfo& info, mapi::ULONG tag, bool unicode);
/// A named property and the name behind a tag of some store: the tag's type counts, its identifier does not.
[[nodiscard]] DEFTMAPI_API bool SameProp(const TKwMAPIPropInfo& info, mapi::ULONG tag, const mapi::MAPINAMEID& nameID,
                                         bool unicode) noexcept;
[[nodiscard]] DEFTMAPI_API bool SameProp(const TKwMAPIPropInfo& info, const mapi::MAPINAMEID& nameID, mapi::ULONG tag,
                                         bool unicode) noexcept;

/// The handle that a definition gets. Sequential (what all definitions use): the number of definitions plus 1.
/// Otherwise a 64-bit hash of identifier, type, set and name with the top four bits set.
/// @throws EMAPI_INVALID_PARAMETER  a definition has this handle already
[[nodiscard]] DEFTMAPI_API TKwMAPIPropDef CalcPropHash(const TKwMAPIPropInfo& info, bool sequential);

} // namespace deftmapi
