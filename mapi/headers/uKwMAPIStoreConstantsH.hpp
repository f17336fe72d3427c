// Constants of message stores, folders, messages and attachments.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// What a store can do (PR_STORE_SUPPORT_MASK).
inline constexpr ULONG STORE_UNICODE_OK        = 0x00040000;
inline constexpr ULONG STORE_ITEMPROC          = 0x00200000;
inline constexpr ULONG STORE_ENTRYID_UNIQUE    = 0x00000001;
inline constexpr ULONG STORE_READONLY          = 0x00000002;
inline constexpr ULONG STORE_SEARCH_OK         = 0x00000004;
inline constexpr ULONG STORE_MODIFY_OK         = 0x00000008;
inline constexpr ULONG STORE_CREATE_OK         = 0x00000010;
inline constexpr ULONG STORE_ATTACH_OK         = 0x00000020;
inline constexpr ULONG STORE_OLE_OK            = 0x00000040;
inline constexpr ULONG STORE_SUBMIT_OK         = 0x00000080;
inline constexpr ULONG STORE_NOTIFY_OK         = 0x00000100;
inline constexpr ULONG STORE_MV_PROPS_OK       = 0x00000200;
inline constexpr ULONG STORE_CATEGORIZE_OK     = 0x00000400;
inline constexpr ULONG STORE_RTF_OK            = 0x00000800;
inline constexpr ULONG STORE_RESTRICTION_OK    = 0x00001000;
inline constexpr ULONG STORE_SORT_OK           = 0x00002000;
inline constexpr ULONG STORE_PUBLIC_FOLDERS    = 0x00004000;
inline constexpr ULONG STORE_UNCOMPRESSED_RTF  = 0x00008000;
inline constexpr ULONG STORE_ANSI_OK           = 0x00020000;
inline constexpr ULONG STORE_FILTER_SEARCH_OK  = 0x04000000;
inline constexpr ULONG STORE_FULLTEXT_QUERY_OK = 0x02000000;
inline constexpr ULONG STORE_HTML_OK           = 0x00010000;
inline constexpr ULONG STORE_LOCALSTORE        = 0x00080000;
inline constexpr ULONG STORE_PUSHER_OK         = 0x00800000;
inline constexpr ULONG STORE_RULES_OK          = 0x10000000;

// State of a store (PR_STORE_STATE).
inline constexpr ULONG STORE_HAS_SEARCHES = 0x01000000;

// StoreLogoff flags.
inline constexpr ULONG LOGOFF_NO_WAIT        = 0x00000001;
inline constexpr ULONG LOGOFF_ORDERLY        = 0x00000002;
inline constexpr ULONG LOGOFF_PURGE          = 0x00000004;
inline constexpr ULONG LOGOFF_ABORT          = 0x00000008;
inline constexpr ULONG LOGOFF_QUIET          = 0x00000010;
inline constexpr ULONG LOGOFF_COMPLETE       = 0x00010000;
inline constexpr ULONG LOGOFF_INBOUND        = 0x00020000;
inline constexpr ULONG LOGOFF_OUTBOUND       = 0x00040000;
inline constexpr ULONG LOGOFF_OUTBOUND_QUEUE = 0x00080000;

// Which special folders a store has (PR_VALID_FOLDER_MASK).
inline constexpr ULONG FOLDER_IPM_SUBTREE_VALID     = 0x00000001;
inline constexpr ULONG FOLDER_IPM_INBOX_VALID       = 0x00000002;
inline constexpr ULONG FOLDER_IPM_OUTBOX_VALID      = 0x00000004;
inline constexpr ULONG FOLDER_IPM_WASTEBASKET_VALID = 0x00000008;
inline constexpr ULONG FOLDER_IPM_SENTMAIL_VALID    = 0x00000010;
inline constexpr ULONG FOLDER_VIEWS_VALID           = 0x00000020;
inline constexpr ULONG FOLDER_COMMON_VIEWS_VALID    = 0x00000040;
inline constexpr ULONG FOLDER_FINDER_VALID          = 0x00000080;

// Selectors and answers of IMSCapabilities.
inline constexpr ULONG MSCAP_SEL_RESERVED1           = 0;
inline constexpr ULONG MSCAP_SEL_RESERVED2           = 1;
inline constexpr ULONG MSCAP_SEL_FOLDER              = 2;
inline constexpr ULONG MSCAP_SEL_RESERVED3           = 3;
inline constexpr ULONG MSCAP_SEL_RESTRICTION         = 4;
inline constexpr ULONG MSCAP_SECURE_FOLDER_HOMEPAGES = 1;
inline constexpr ULONG MSCAP_RES_ANNOTATION          = 1;

// Folder types (PR_FOLDER_TYPE).
inline constexpr ULONG FOLDER_ROOT    = 0;
inline constexpr ULONG FOLDER_GENERIC = 1;
inline constexpr ULONG FOLDER_SEARCH  = 2;

// Status of a folder in a hierarchy table (PR_STATUS).
inline constexpr ULONG FLDSTATUS_HIGHLIGHTED = 0x00000001;
inline constexpr ULONG FLDSTATUS_TAGGED      = 0x00000002;
inline constexpr ULONG FLDSTATUS_HIDDEN      = 0x00000004;
inline constexpr ULONG FLDSTATUS_DELMARKED   = 0x00000008;

// Folder support masks.
inline constexpr ULONG FS_NONE             = 0;
inline constexpr ULONG FS_SUPPORTS_SHARING = 1;

// CreateFolder flags.
inline constexpr ULONG OPEN_IF_EXISTS = 0x00000001;

// CopyFolder flags.
inline constexpr ULONG FOLDER_MOVE     = 0x00000001;
inline constexpr ULONG COPY_SUBFOLDERS = 0x00000010;

// SaveContentsSort flags.
inline constexpr ULONG RECURSIVE_SORT = 0x00000002;

// DeleteFolder and EmptyFolder flags.
inline constexpr ULONG DELETE_HARD_DELETE = 0x00000010;
inline constexpr ULONG DEL_MESSAGES       = 0x00000001;
inline constexpr ULONG FOLDER_DIALOG      = 0x00000002;
inline constexpr ULONG DEL_FOLDERS        = 0x00000004;
inline constexpr ULONG DEL_ASSOCIATED     = 0x00000008;

// Flags of GetContentsTable and GetHierarchyTable.
inline constexpr ULONG SHOW_SOFT_DELETES                   = 0x00000002;
inline constexpr ULONG SHOW_SUBFOLDERS                     = 0x00000004;
inline constexpr ULONG SUPRESS_NOTIFICATIONS_ON_MY_ACTIONS = 0x00001000;
inline constexpr ULONG CONVENIENT_DEPTH                    = 0x00000001;

// Status of a message in a contents table (PR_MSG_STATUS).
inline constexpr ULONG MSGSTATUS_IN_CONFLICT     = 0x00000800;
inline constexpr ULONG MSGSTATUS_MDNSENT         = 0x00004000;
inline constexpr ULONG MSGSTATUS_HIGHLIGHTED     = 0x00000001;
inline constexpr ULONG MSGSTATUS_TAGGED          = 0x00000002;
inline constexpr ULONG MSGSTATUS_HIDDEN          = 0x00000004;
inline constexpr ULONG MSGSTATUS_DELMARKED       = 0x00000008;
inline constexpr ULONG MSGSTATUS_REMOTE_DOWNLOAD = 0x00001000;
inline constexpr ULONG MSGSTATUS_REMOTE_DELETE   = 0x00002000;
inline constexpr ULONG MSGSTATUS_ANSWERED        = 0x00000200;
inline constexpr ULONG MSGSTATUS_DRAFT           = 0x00000100;

// Lock states of a submitted message (SetLockState).
inline constexpr ULONG MSG_LOCKED   = 1;
inline constexpr ULONG MSG_UNLOCKED = 0;

// Message flags (PR_MESSAGE_FLAGS).
inline constexpr ULONG MSGFLAG_READ               = 0x00000001;
inline constexpr ULONG MSGFLAG_UNMODIFIED         = 0x00000002;
inline constexpr ULONG MSGFLAG_SUBMIT             = 0x00000004;
inline constexpr ULONG MSGFLAG_UNSENT             = 0x00000008;
inline constexpr ULONG MSGFLAG_HASATTACH          = 0x00000010;
inline constexpr ULONG MSGFLAG_FROMME             = 0x00000020;
inline constexpr ULONG MSGFLAG_ASSOCIATED         = 0x00000040;
inline constexpr ULONG MSGFLAG_RESEND             = 0x00000080;
inline constexpr ULONG MSGFLAG_RN_PENDING         = 0x00000100;
inline constexpr ULONG MSGFLAG_NRN_PENDING        = 0x00000200;
inline constexpr ULONG MSGFLAG_ORIGIN_INTERNET    = 0x00002000;
inline constexpr ULONG MSGFLAG_ORIGIN_MISC_EXT    = 0x00008000;
inline constexpr ULONG MSGFLAG_ORIGIN_X400        = 0x00001000;
inline constexpr ULONG MSGFLAG_OUTLOOK_NON_EMS_XP = 0x00010000;

// Submit flags (PR_SUBMIT_FLAGS).
inline constexpr ULONG SUBMITFLAG_LOCKED     = 0x00000001;
inline constexpr ULONG SUBMITFLAG_PREPROCESS = 0x00000002;

// SubmitMessage flags.
inline constexpr ULONG FORCE_SUBMIT = 0x00000001;

// Recipient types (PR_RECIPIENT_TYPE); MAPI_P1 and MAPI_SUBMITTED are flags beside the type.
inline constexpr ULONG MAPI_ORIG      = 0;
inline constexpr ULONG MAPI_TO        = 1;
inline constexpr ULONG MAPI_CC        = 2;
inline constexpr ULONG MAPI_BCC       = 3;
inline constexpr ULONG MAPI_P1        = 268435456;
inline constexpr ULONG MAPI_SUBMITTED = 2147483648;

// ModifyRecipients flags.
inline constexpr ULONG MODRECIP_ADD    = 0x00000002;
inline constexpr ULONG MODRECIP_MODIFY = 0x00000004;
inline constexpr ULONG MODRECIP_REMOVE = 0x00000008;

// SetReadFlag flags.
inline constexpr ULONG SUPPRESS_RECEIPT      = 0x00000001;
inline constexpr ULONG CLEAR_READ_FLAG       = 0x00000004;
inline constexpr ULONG GENERATE_RECEIPT_ONLY = 0x00000010;
inline constexpr ULONG CLEAR_RN_PENDING      = 0x00000020;
inline constexpr ULONG CLEAR_NRN_PENDING     = 0x00000040;

// DeleteAttach flags.
inline constexpr ULONG ATTACH_DIALOG = 0x00000001;

// Where the content of an attachment is (PR_ATTACH_METHOD).
inline constexpr ULONG NO_ATTACHMENT          = 0;
inline constexpr ULONG ATTACH_BY_VALUE        = 1;
inline constexpr ULONG ATTACH_BY_REFERENCE    = 2;
inline constexpr ULONG ATTACH_BY_REF_RESOLVE  = 3;
inline constexpr ULONG ATTACH_BY_REF_ONLY     = 4;
inline constexpr ULONG ATTACH_EMBEDDED_MSG    = 5;
inline constexpr ULONG ATTACH_OLE             = 6;
inline constexpr ULONG ATTACH_BY_WEBREFERENCE = 7;
inline constexpr ULONG ATTACH_BY_WEB_REF      = 7;

// Message security (PR_SECURITY).
inline constexpr ULONG SECURITY_SIGNED    = 0x00000001;
inline constexpr ULONG SECURITY_ENCRYPTED = 0x00000002;

// Priority (PR_PRIORITY).
inline constexpr LONG PRIO_URGENT    = 1;
inline constexpr LONG PRIO_NORMAL    = 0;
inline constexpr LONG PRIO_NONURGENT = -1;

// Sensitivity (PR_SENSITIVITY).
inline constexpr ULONG SENSITIVITY_NONE                 = 0;
inline constexpr ULONG SENSITIVITY_PERSONAL             = 1;
inline constexpr ULONG SENSITIVITY_PRIVATE              = 2;
inline constexpr ULONG SENSITIVITY_COMPANY_CONFIDENTIAL = 3;

// Importance (PR_IMPORTANCE).
inline constexpr ULONG IMPORTANCE_LOW    = 0;
inline constexpr ULONG IMPORTANCE_NORMAL = 1;
inline constexpr ULONG IMPORTANCE_HIGH   = 2;

// Which body a message was written in, as the store tells it.
inline constexpr ULONG MAPI_NATIVE_BODY                = 0x00010000;
inline constexpr ULONG MAPI_NATIVE_BODY_TYPE_RTF       = 0x00000001;
inline constexpr ULONG MAPI_NATIVE_BODY_TYPE_HTML      = 0x00000002;
inline constexpr ULONG MAPI_NATIVE_BODY_TYPE_PLAINTEXT = 0x00000004;

// RTFSync flags.
inline constexpr ULONG RTF_SYNC_RTF_CHANGED  = 0x00000001;
inline constexpr ULONG RTF_SYNC_BODY_CHANGED = 0x00000002;

// OpenIMsgOnIStg flags.
inline constexpr ULONG IMSG_NO_ISTG_COMMIT = 0x00000001;

// Property attributes of a message on a storage.
inline constexpr ULONG PROPATTR_MANDATORY   = 0x00000001;
inline constexpr ULONG PROPATTR_READABLE    = 0x00000002;
inline constexpr ULONG PROPATTR_WRITEABLE   = 0x00000004;
inline constexpr ULONG PROPATTR_NOT_PRESENT = 0x00000008;
// clang-format on

} // namespace mapi
