// Constants of the address book, of entry identifiers and of delivery reports.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// Display types (PR_DISPLAY_TYPE) of address book entries, folders and templates.
inline constexpr ULONG DT_ROOM             = 0x00000007;
inline constexpr ULONG DT_EQUIPMENT        = 0x00000008;
inline constexpr ULONG DT_SEC_DISTLIST     = 0x00000009;
inline constexpr ULONG DT_MAILUSER         = 0x00000000;
inline constexpr ULONG DT_DISTLIST         = 0x00000001;
inline constexpr ULONG DT_FORUM            = 0x00000002;
inline constexpr ULONG DT_AGENT            = 0x00000003;
inline constexpr ULONG DT_ORGANIZATION     = 0x00000004;
inline constexpr ULONG DT_PRIVATE_DISTLIST = 0x00000005;
inline constexpr ULONG DT_REMOTE_MAILUSER  = 0x00000006;
inline constexpr ULONG DT_MODIFIABLE       = 0x00010000;
inline constexpr ULONG DT_GLOBAL           = 0x00020000;
inline constexpr ULONG DT_LOCAL            = 0x00030000;
inline constexpr ULONG DT_WAN              = 0x00040000;
inline constexpr ULONG DT_NOT_SPECIFIC     = 0x00050000;
inline constexpr ULONG DT_FOLDER           = 0x01000000;
inline constexpr ULONG DT_FOLDER_LINK      = 0x02000000;
inline constexpr ULONG DT_FOLDER_SPECIAL   = 0x04000000;
inline constexpr ULONG DT_CONTAINER        = 0x00000100;
inline constexpr ULONG DT_TEMPLATE         = 0x00000101;
inline constexpr ULONG DT_ADDRESS_TEMPLATE = 0x00000102;
inline constexpr ULONG DT_SEARCH           = 0x00000200;

// Extended display types (PR_DISPLAY_TYPE_EX): flags and masks around a display type.
inline constexpr ULONG DTE_FLAG_REMOTE_VALID = 0x80000000;
inline constexpr ULONG DTE_FLAG_ACL_CAPABLE  = 0x40000000;
inline constexpr ULONG DTE_MASK_REMOTE       = 0x0000FF00;
inline constexpr ULONG DTE_MASK_LOCAL        = 0x000000FF;

// Address book open flags.
inline constexpr ULONG AB_SHOW_PHANTOMS      = 0x00000002;
inline constexpr ULONG AB_SHOW_OTHERS        = 0x00000004;
inline constexpr ULONG EMS_AB_ADDRESS_LOOKUP = 0x00000001;
inline constexpr ULONG AB_NO_DIALOG          = 0x00000001;
inline constexpr ULONG AB_UNICODEUI          = 0x00000040;
inline constexpr ULONG AB_UNICODE_OK         = 0x00000040;

// Address book container flags.
inline constexpr ULONG AB_RECIPIENTS    = 0x00000001;
inline constexpr ULONG AB_SUBCONTAINERS = 0x00000002;
inline constexpr ULONG AB_MODIFIABLE    = 0x00000004;
inline constexpr ULONG AB_UNMODIFIABLE  = 0x00000008;
inline constexpr ULONG AB_FIND_ON_OPEN  = 0x00000010;
inline constexpr ULONG AB_NOT_DEFAULT   = 0x00000020;

// Address book entry create flags.
inline constexpr ULONG CREATE_CHECK_DUP_STRICT = 0x00000001;
inline constexpr ULONG CREATE_CHECK_DUP_LOOSE  = 0x00000002;
inline constexpr ULONG CREATE_REPLACE          = 0x00000004;

// Result of name resolution, one for each recipient (FlagList).
inline constexpr ULONG MAPI_UNRESOLVED = 0;
inline constexpr ULONG MAPI_AMBIGUOUS  = 1;
inline constexpr ULONG MAPI_RESOLVED   = 2;

// Flags of CreateOneOff.
inline constexpr ULONG MAPI_SEND_NO_RICH_INFO = 0x00010000;

// Flags of the address dialog (ADRPARM).
inline constexpr ULONG ADRPARM_HELP_CTX = 0x00000000;
inline constexpr ULONG DIALOG_MODAL     = 0x00000001;
inline constexpr ULONG DIALOG_SDI       = 0x00000002;
inline constexpr ULONG DIALOG_OPTIONS   = 0x00000004;
inline constexpr ULONG ADDRESS_ONE      = 0x00000008;
inline constexpr ULONG AB_SELECTONLY    = 0x00000010;
inline constexpr ULONG AB_RESOLVE       = 0x00000020;

// Flags in the first byte of an entry identifier.
inline constexpr ULONG MAPI_SHORTTERM   = 0x00000080;
inline constexpr ULONG MAPI_NOTRECIP    = 0x00000040;
inline constexpr ULONG MAPI_THISSESSION = 0x00000020;
inline constexpr ULONG MAPI_NOW         = 0x00000010;
inline constexpr ULONG MAPI_NOTRESERVED = 0x00000008;

// Flags in the second byte of an entry identifier.
inline constexpr ULONG MAPI_COMPOUND = 0x00000080;

// Flag word of a one-off entry identifier.
inline constexpr ULONG MAPI_ONE_OFF_UNICODE      = 0x00008000;
inline constexpr ULONG MAPI_ONE_OFF_NO_RICH_INFO = 0x00000001;
inline constexpr ULONG MAPI_ONE_OFF_NOLOOKUP     = 0x00001000;
inline constexpr ULONG MAPI_ONE_OFF_MAEMASK      = 0x00000060;
inline constexpr ULONG MAPI_ONE_OFF_BINHEX       = 0x00000000;
inline constexpr ULONG MAPI_ONE_OFF_UUENCODE     = 0x00000020;
inline constexpr ULONG MAPI_ONE_OFF_APPLESINGLE  = 0x00000040;
inline constexpr ULONG MAPI_ONE_OFF_APPLEDOUBLE  = 0x00000060;
inline constexpr ULONG MAPI_ONE_OFF_FMTMASK      = 0x0000001E;
inline constexpr ULONG MAPI_ONE_OFF_TEXTONLY     = 0x00000006;
inline constexpr ULONG MAPI_ONE_OFF_HTMLONLY     = 0x0000000E;
inline constexpr ULONG MAPI_ONE_OFF_TEXTANDHTML  = 0x00000016;

// Entry types of the contacts address book, and which address of the contact is meant.
inline constexpr ULONG CONTAB_CONTAINER     = 3;
inline constexpr ULONG CONTAB_DISTLIST      = 5;
inline constexpr ULONG CONTAB_ROOT          = 1;
inline constexpr ULONG CONTAB_SUBROOT       = 2;
inline constexpr ULONG CONTAB_USER          = 4;
inline constexpr ULONG CONTAB_VERSION       = 3;
inline constexpr ULONG EEI_EMAIL_1          = 0;
inline constexpr ULONG EEI_EMAIL_2          = 1;
inline constexpr ULONG EEI_EMAIL_3          = 2;
inline constexpr ULONG EEI_FAX_1            = 3;
inline constexpr ULONG EEI_FAX_2            = 4;
inline constexpr ULONG EEI_FAX_3            = 5;
inline constexpr ULONG EMAIL_TYPE_UNDEFINED = 255;

// Types of a contact entry identifier that wraps another one.
inline constexpr ULONG BFLAGS_EXTERNAL_DISTLIST = 0x00000006;
inline constexpr ULONG BFLAGS_EXTERNAL_MAILUSER = 0x00000005;
inline constexpr ULONG BFLAGS_INTERNAL_DISTLIST = 0x00000004;
inline constexpr ULONG BFLAGS_INTERNAL_MAILUSER = 0x00000003;
inline constexpr ULONG BFLAGS_MASK_OUTLOOK      = 0x00000080;

// Recipient flags (PR_RECIPIENT_FLAGS).
inline constexpr ULONG RECIP_EXCEPTIONAL_DELETED  = 0x00000020;
inline constexpr ULONG RECIP_EXCEPTIONAL_RESPONSE = 0x00000010;
inline constexpr ULONG RECIP_ORGANIZER            = 0x00000002;
inline constexpr ULONG RECIP_ORIGINAL             = 0x00000100;
inline constexpr ULONG RECIP_SENDABLE             = 0x00000001;
inline constexpr ULONG RECIP_UNSENDABLE           = 0x00000000;

// Kinds of delivery point (PR_DELIVERY_POINT).
inline constexpr ULONG MAPI_MH_DP_PUBLIC_UA  = 0;
inline constexpr ULONG MAPI_MH_DP_PRIVATE_UA = 1;
inline constexpr ULONG MAPI_MH_DP_MS         = 2;
inline constexpr ULONG MAPI_MH_DP_ML         = 3;
inline constexpr ULONG MAPI_MH_DP_PDAU       = 4;
inline constexpr ULONG MAPI_MH_DP_PDS_PATRON = 5;
inline constexpr ULONG MAPI_MH_DP_OTHER_AU   = 6;

// Diagnostics of a non-delivery report (PR_NDR_DIAG_CODE).
inline constexpr ULONG MAPI_DIAG_NO_DIAGNOSTIC             = 0xFFFFFFFF;
inline constexpr ULONG MAPI_DIAG_OR_NAME_UNRECOGNIZED      = 0;
inline constexpr ULONG MAPI_DIAG_OR_NAME_AMBIGUOUS         = 1;
inline constexpr ULONG MAPI_DIAG_MTS_CONGESTED             = 2;
inline constexpr ULONG MAPI_DIAG_LOOP_DETECTED             = 3;
inline constexpr ULONG MAPI_DIAG_RECIPIENT_UNAVAILABLE     = 4;
inline constexpr ULONG MAPI_DIAG_MAXIMUM_TIME_EXPIRED      = 5;
inline constexpr ULONG MAPI_DIAG_EITS_UNSUPPORTED          = 6;
inline constexpr ULONG MAPI_DIAG_CONTENT_TOO_LONG          = 7;
inline constexpr ULONG MAPI_DIAG_IMPRACTICAL_TO_CONVERT    = 8;
inline constexpr ULONG MAPI_DIAG_PROHIBITED_TO_CONVERT     = 9;
inline constexpr ULONG MAPI_DIAG_CONVERSION_UNSUBSCRIBED   = 10;
inline constexpr ULONG MAPI_DIAG_PARAMETERS_INVALID        = 11;
inline constexpr ULONG MAPI_DIAG_CONTENT_SYNTAX_IN_ERROR   = 12;
inline constexpr ULONG MAPI_DIAG_LENGTH_CONSTRAINT_VIOLATD = 13;
inline constexpr ULONG MAPI_DIAG_NUMBER_CONSTRAINT_VIOLATD = 14;
inline constexpr ULONG MAPI_DIAG_CONTENT_TYPE_UNSUPPORTED  = 15;
inline constexpr ULONG MAPI_DIAG_TOO_MANY_RECIPIENTS       = 16;
inline constexpr ULONG MAPI_DIAG_NO_BILATERAL_AGREEMENT    = 17;
inline constexpr ULONG MAPI_DIAG_CRITICAL_FUNC_UNSUPPORTED = 18;
inline constexpr ULONG MAPI_DIAG_CONVERSION_LOSS_PROHIB    = 19;
inline constexpr ULONG MAPI_DIAG_LINE_TOO_LONG             = 20;
inline constexpr ULONG MAPI_DIAG_PAGE_TOO_LONG             = 21;
inline constexpr ULONG MAPI_DIAG_PICTORIAL_SYMBOL_LOST     = 22;
inline constexpr ULONG MAPI_DIAG_PUNCTUATION_SYMBOL_LOST   = 23;
inline constexpr ULONG MAPI_DIAG_ALPHABETIC_CHARACTER_LOST = 24;
inline constexpr ULONG MAPI_DIAG_MULTIPLE_INFO_LOSSES      = 25;
inline constexpr ULONG MAPI_DIAG_REASSIGNMENT_PROHIBITED   = 26;
inline constexpr ULONG MAPI_DIAG_REDIRECTION_LOOP_DETECTED = 27;
inline constexpr ULONG MAPI_DIAG_EXPANSION_PROHIBITED      = 28;
inline constexpr ULONG MAPI_DIAG_SUBMISSION_PROHIBITED     = 29;
inline constexpr ULONG MAPI_DIAG_EXPANSION_FAILED          = 30;
inline constexpr ULONG MAPI_DIAG_RENDITION_UNSUPPORTED     = 31;
inline constexpr ULONG MAPI_DIAG_MAIL_ADDRESS_INCORRECT    = 32;
inline constexpr ULONG MAPI_DIAG_MAIL_OFFICE_INCOR_OR_INVD = 33;
inline constexpr ULONG MAPI_DIAG_MAIL_ADDRESS_INCOMPLETE   = 34;
inline constexpr ULONG MAPI_DIAG_MAIL_RECIPIENT_UNKNOWN    = 35;
inline constexpr ULONG MAPI_DIAG_MAIL_RECIPIENT_DECEASED   = 36;
inline constexpr ULONG MAPI_DIAG_MAIL_ORGANIZATION_EXPIRED = 37;
inline constexpr ULONG MAPI_DIAG_MAIL_REFUSED              = 38;
inline constexpr ULONG MAPI_DIAG_MAIL_UNCLAIMED            = 39;
inline constexpr ULONG MAPI_DIAG_MAIL_RECIPIENT_MOVED      = 40;
inline constexpr ULONG MAPI_DIAG_MAIL_RECIPIENT_TRAVELLING = 41;
inline constexpr ULONG MAPI_DIAG_MAIL_RECIPIENT_DEPARTED   = 42;
inline constexpr ULONG MAPI_DIAG_MAIL_NEW_ADDRESS_UNKNOWN  = 43;
inline constexpr ULONG MAPI_DIAG_MAIL_FORWARDING_UNWANTED  = 44;
inline constexpr ULONG MAPI_DIAG_MAIL_FORWARDING_PROHIB    = 45;
inline constexpr ULONG MAPI_DIAG_SECURE_MESSAGING_ERROR    = 46;
inline constexpr ULONG MAPI_DIAG_DOWNGRADING_IMPOSSIBLE    = 47;
// clang-format on

} // namespace mapi
