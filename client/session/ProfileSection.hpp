// Sections of a profile: settings as properties, kept in the file of the profiles.
#pragma once

#include "client/session/Profiles.hpp"
#include "support/uKwRef.hpp"

namespace deftmapi::client
{

/// The section that every service of a profile shares; there in every profile.
inline constexpr Uid GlobalSection = {
    {0x13, 0xDB, 0xB0, 0xC8, 0xAA, 0x05, 0x10, 0x1A, 0x9B, 0xB0, 0x00, 0xAA, 0x00, 0x2F, 0xC4, 0x5A}};

/// The bytes that one value of a section has at most; text counts two bytes a character. More are the problem
/// MAPI_E_TOO_BIG of SetProps; a stream refuses to grow further (STG_E_MEDIUMFULL).
inline constexpr std::uint64_t SectionValueLimit = 1024 * 1024;

/// OpenProfileSection of sessions and administrations. The global section and those of the profile's services and
/// providers are there; any other one is made when it is opened with MAPI_MODIFY. Changes are kept at once, as MAPI
/// has it for sections: SaveChanges has nothing to do. What a stream writes is kept with its Commit, or when it is
/// released.
/// @param uid  not null
/// @throws Failure  MAPI_E_NOT_FOUND there is no such section, or the profile was deleted; MAPI_E_UNKNOWN_FLAGS;
/// MAPI_E_INTERFACE_NOT_SUPPORTED
[[nodiscard]] TKwComPtr<mapi::IProfSect> OpenSection(ProfilesPtr profiles, ProfileId profile, const mapi::MAPIUID* uid,
                                                     mapi::LPCIID iid, ULONG flags);

} // namespace deftmapi::client
