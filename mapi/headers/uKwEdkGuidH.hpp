// Identifiers of the Exchange interfaces, providers and property sets.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// Exchange interfaces.
inline constexpr IID IID_IExchangeBadItemCallback        = MakeGuid(0x1DF85AB7, 0x4D20, 0x4A57, 0xB170, 0x2F062136C1D6);
inline constexpr IID IID_IExchangeChangeAdvisor          = MakeGuid(0x1E300720, 0xA839, 0x11CF, 0xBDE0, 0x00004C7531E3);
inline constexpr IID IID_IExchangeExportChanges          = MakeGuid(0xA3EA9CC0, 0xD1B2, 0x11CD, 0x80FC, 0x00AA004BBA0B);
inline constexpr IID IID_IExchangeExportChanges2         = MakeGuid(0x387CEBE0, 0xF53F, 0x11CF, 0xA48F, 0x00C04FD65595);
inline constexpr IID IID_IExchangeExportChanges3         = MakeGuid(0x702E7F86, 0x50A6, 0x11D1, 0xABD6, 0x00A0C905660A);
inline constexpr IID IID_IExchangeFastTransfer           = MakeGuid(0xFF7DB070, 0xA88A, 0x11CD, 0x9BC8, 0x00AA002FC45A);
inline constexpr IID IID_IExchangeFavorites              = MakeGuid(0xCF4F3BC0, 0xEC66, 0x11CE, 0xB31C, 0x00AA00574CC6);
inline constexpr IID IID_IExchangeImportContentsChanges  = MakeGuid(0xF75ABFA0, 0xD0E0, 0x11CD, 0x80FC, 0x00AA004BBA0B);
inline constexpr IID IID_IExchangeImportContentsChanges2 = MakeGuid(0x7DFDD720, 0xF53F, 0x11CF, 0xA48F, 0x00C04FD65595);
inline constexpr IID IID_IExchangeImportHierarchyChanges = MakeGuid(0x85A66CF0, 0xD0E0, 0x11CD, 0x80FC, 0x00AA004BBA0B);
inline constexpr IID IID_IExchangeManageStore            = MakeGuid(0x559D10B0, 0xA772, 0x11CD, 0x9BC8, 0x00AA002FC45A);
inline constexpr IID IID_IExchangeManageStore2           = MakeGuid(0xB6DCA470, 0x0FF3, 0x11D0, 0xA409, 0x00C04FD7BD87);
inline constexpr IID IID_IExchangeManageStore3           = MakeGuid(0x166D9BC2, 0xDB75, 0x44A9, 0x8A93, 0x9F3FFC994D76);
inline constexpr IID IID_IExchangeManageStore4           = MakeGuid(0x2590FF87, 0xC431, 0x4F9C, 0xB1A8, 0xCD69D760CD10);
inline constexpr IID IID_IExchangeManageStore5           = MakeGuid(0x7907DD18, 0xF141, 0x4676, 0xB102, 0x37C9D9363430);
inline constexpr IID IID_IExchangeManageStoreEx          = MakeGuid(0x7FE3C629, 0x4D9A, 0x4510, 0xA479, 0x56962B246DC6);
inline constexpr IID IID_IExchangeMessageConversion      = MakeGuid(0x3532B360, 0xD114, 0x11CF, 0xA83B, 0x00C04FD65597);
inline constexpr IID IID_IExchangeMessageCpid0           = MakeGuid(0x00000000, 0x1AE9, 0x11CF, 0x84E0, 0x00AA006B4FAE);
inline constexpr IID IID_IExchangeModifyTable            = MakeGuid(0x2D734CB0, 0x53FD, 0x101B, 0xB19D, 0x08002B3056E3);
inline constexpr IID IID_IExchangeMoveUserProgress       = MakeGuid(0xEF2FB44A, 0x8DAC, 0x4E4E, 0xB1E3, 0xA3B926355617);
inline constexpr IID IID_IExchangeNntpNewsfeed           = MakeGuid(0x380F41C0, 0x3CDC, 0x11D0, 0x9792, 0x00C04FD6551D);
inline constexpr IID IID_IExchangeRuleAction             = MakeGuid(0x74BBA840, 0xC93A, 0x11CE, 0x9581, 0x00AA005742F7);

// Property sets.
inline constexpr GUID PS_EXCHFORM      = OleGuid(0x00020D0C);
inline constexpr GUID PSETID_Exchange1 = MakeGuid(0x48862A09, 0xF786, 0x0114, 0x0281, 0x000000000000);

// Providers and stores.
inline constexpr MAPIUID MUID_LONGTERM_NONPRIVATE           = MakeUid(0x1A447390AA6611CD, 0x9BC800AA002FC45A);
inline constexpr MAPIUID MUID_STORE_PRIVATE                 = MakeUid(0x1B55FA20AA6611CD, 0x9BC800AA002FC45A);
inline constexpr MAPIUID MUID_STORE_PUBLIC                  = MakeUid(0x1C830210AA6611CD, 0x9BC800AA002FC45A);
inline constexpr MAPIUID MUIDEMSAB                          = MakeUid(0xDCA740C8C042101A, 0xB4B908002B2FE182);
inline constexpr MAPIUID pbExchangeProviderDelegateGuid     = MakeUid(0x9EB4770074E411CE, 0x8C5E00AA004254E2);
inline constexpr MAPIUID pbExchangeProviderLocalStoreGuid   = MakeUid(0x2DE56BA1646E11D2, 0x8D4E00C04FAE2371);
inline constexpr MAPIUID pbExchangeProviderPersistStoreGuid = MakeUid(0x98A23D6762CF4D34, 0x8279DBFA6A508B31);
inline constexpr MAPIUID pbExchangeProviderPrimaryUserGuid  = MakeUid(0x5494A1C0297F101B, 0xA58708002B2A2517);
inline constexpr MAPIUID pbExchangeProviderPublicGuid       = MakeUid(0x78B2FA70AFF711CD, 0x9BC800AA002FC45A);
inline constexpr MAPIUID pbExchangeProviderXportGuid        = MakeUid(0xA90640E0D69311CD, 0xAF9500AA004A35C3);
// clang-format on

} // namespace mapi
