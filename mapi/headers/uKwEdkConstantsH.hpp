// Constants of Exchange: profile sections, rights, rules, synchronisation.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// Version of an Exchange profile section (PR_PROFILE_VERSION).
inline constexpr ULONG PROFILE_VERSION = 0x00000501;

// Configuration of the Exchange service (PR_PROFILE_CONFIG_FLAGS).
inline constexpr ULONG CONFIG_SERVICE                = 0x00000001;
inline constexpr ULONG CONFIG_SHOW_STARTUP_UI        = 0x00000002;
inline constexpr ULONG CONFIG_SHOW_CONNECT_UI        = 0x00000004;
inline constexpr ULONG CONFIG_PROMPT_FOR_CREDENTIALS = 0x00000008;
inline constexpr ULONG CONFIG_NO_AUTO_DETECT         = 0x00000010;
inline constexpr ULONG CONFIG_OST_CACHE_ONLY         = 0x00000020;
inline constexpr ULONG CONFIG_OST_CACHE_PRIVATE      = 0x00000180;
inline constexpr ULONG CONFIG_OST_CACHE_PUBLIC       = 0x00000400;
inline constexpr ULONG CONFIG_USE_SMTP_ADDRESSES     = 0x00000040;

// How the service connects (PR_PROFILE_CONNECT_FLAGS).
inline constexpr ULONG CONNECT_USE_ADMIN_PRIVILEGE       = 0x00000001;
inline constexpr ULONG CONNECT_NO_RPC_ENCRYPTION         = 0x00000002;
inline constexpr ULONG CONNECT_USE_SEPARATE_CONNECTION   = 0x00000004;
inline constexpr ULONG CONNECT_NO_UNDER_COVER_CONNECTION = 0x00000008;
inline constexpr ULONG CONNECT_ANONYMOUS_ACCESS          = 0x00000010;
inline constexpr ULONG CONNECT_NO_NOTIFICATIONS          = 0x00000020;
inline constexpr ULONG CONNECT_NO_TABLE_NOTIFICATIONS    = 0x00000020;
inline constexpr ULONG CONNECT_NO_ADDRESS_RESOLUTION     = 0x00000040;
inline constexpr ULONG CONNECT_RESTORE_DATABASE          = 0x00000080;
inline constexpr ULONG CONNECT_IGNORE_NO_PF              = 0x00008000;

// What the remote transport does (PR_PROFILE_TRANSPORT_FLAGS).
inline constexpr ULONG TRANSPORT_DOWNLOAD = 0x00000001;
inline constexpr ULONG TRANSPORT_UPLOAD   = 0x00000002;

// Store open flags (PR_PROFILE_OPEN_FLAGS, CreateStoreEntryID).
inline constexpr ULONG OPENSTORE_USE_ADMIN_PRIVILEGE              = 0x00000001;
inline constexpr ULONG OPENSTORE_PUBLIC                           = 0x00000002;
inline constexpr ULONG OPENSTORE_HOME_LOGON                       = 0x00000004;
inline constexpr ULONG OPENSTORE_TAKE_OWNERSHIP                   = 0x00000008;
inline constexpr ULONG OPENSTORE_OVERRIDE_HOME_MDB                = 0x00000010;
inline constexpr ULONG OPENSTORE_TRANSPORT                        = 0x00000020;
inline constexpr ULONG OPENSTORE_REMOTE_TRANSPORT                 = 0x00000040;
inline constexpr ULONG OPENSTORE_INTERNET_ANONYMOUS               = 0x00000080;
inline constexpr ULONG OPENSTORE_ALTERNATE_SERVER                 = 0x00000100;
inline constexpr ULONG OPENSTORE_IGNORE_HOME_MDB                  = 0x00000200;
inline constexpr ULONG OPENSTORE_NO_MAIL                          = 0x00000400;
inline constexpr ULONG OPENSTORE_OVERRIDE_LAST_MODIFIER           = 0x00000800;
inline constexpr ULONG OPENSTORE_CALLBACK_LOGON                   = 0x00001000;
inline constexpr ULONG OPENSTORE_LOCAL                            = 0x00002000;
inline constexpr ULONG OPENSTORE_FAIL_IF_NO_MAILBOX               = 0x00004000;
inline constexpr ULONG OPENSTORE_CACHE_EXCHANGE                   = 0x00008000;
inline constexpr ULONG OPENSTORE_CLI_WITH_NAMEDPROP_FIX           = 0x00010000;
inline constexpr ULONG OPENSTORE_ENABLE_LAZY_LOGGING              = 0x00020000;
inline constexpr ULONG OPENSTORE_CLI_WITH_REPLID_GUID_MAPPING_FIX = 0x00040000;
inline constexpr ULONG OPENSTORE_NO_LOCALIZATION                  = 0x00080000;
inline constexpr ULONG OPENSTORE_RESTORE_DATABASE                 = 0x00100000;
inline constexpr ULONG OPENSTORE_XFOREST_MOVE                     = 0x00200000;

// Kinds of Exchange profile section.
inline constexpr ULONG PROFILE_PRIMARY_USER = 1;
inline constexpr ULONG PROFILE_DELEGATE     = 2;
inline constexpr ULONG PROFILE_PUBLIC_STORE = 3;
inline constexpr ULONG PROFILE_SUBSCRIPTION = 4;

// State of the service user interface (PR_PROFILE_UI_STATE).
inline constexpr ULONG EDK_PROFILEUISTATE_ENCRYPTNETWORK = 0x00004000;

// Rights on a folder (PR_RIGHTS, permission table), and the usual combinations.
inline constexpr ULONG frightsReadAny          = 0x00000001;
inline constexpr ULONG frightsCreate           = 0x00000002;
inline constexpr ULONG frightsEditOwned        = 0x00000008;
inline constexpr ULONG frightsDeleteOwned      = 0x00000010;
inline constexpr ULONG frightsEditAny          = 0x00000020;
inline constexpr ULONG frightsDeleteAny        = 0x00000040;
inline constexpr ULONG frightsCreateSubfolder  = 0x00000080;
inline constexpr ULONG frightsOwner            = 0x00000100;
inline constexpr ULONG frightsContact          = 0x00000200;
inline constexpr ULONG frightsVisible          = 0x00000400;
inline constexpr ULONG frightsFreeBusySimple   = 0x00000800;
inline constexpr ULONG frightsFreeBusyDetailed = 0x00001000;
inline constexpr ULONG rightsNone              = 0x00000000;
inline constexpr ULONG rightsReadOnly          = 0x00000001;
inline constexpr ULONG rightsReadWrite         = 0x00000021;
inline constexpr ULONG rightsAll               = 0x000005FB;

// Distribution list report flags.
inline constexpr ULONG PRIV_DL_HIDE_MEMBERS    = 0x00000001;
inline constexpr ULONG PRIV_DL_REPORT_TO_ORIG  = 0x00000002;
inline constexpr ULONG PRIV_DL_REPORT_TO_OWNER = 0x00000004;
inline constexpr ULONG PRIV_DL_ALLOW_OOF       = 0x00000008;

// Availability of a folder offline, and synchronisation at start.
inline constexpr ULONG OF_AVAILABLE_OFFLINE    = 0x00000001;
inline constexpr ULONG OF_FORCE                = 0x80000000;
inline constexpr ULONG SF_DISABLE_STARTUP_SYNC = 0x00000001;

// Rule action types.
inline constexpr ULONG OP_MOVE         = 1;
inline constexpr ULONG OP_COPY         = 2;
inline constexpr ULONG OP_REPLY        = 3;
inline constexpr ULONG OP_OOF_REPLY    = 4;
inline constexpr ULONG OP_DEFER_ACTION = 5;
inline constexpr ULONG OP_BOUNCE       = 6;
inline constexpr ULONG OP_FORWARD      = 7;
inline constexpr ULONG OP_DELEGATE     = 8;
inline constexpr ULONG OP_TAG          = 9;
inline constexpr ULONG OP_DELETE       = 10;
inline constexpr ULONG OP_MARK_AS_READ = 11;

// Details of reply, forward and bounce actions (ulActionFlavor).
inline constexpr ULONG DO_NOT_SEND_TO_ORIGINATOR     = 0x00000001;
inline constexpr ULONG STOCK_REPLY_TEMPLATE          = 0x00000002;
inline constexpr ULONG FWD_PRESERVE_SENDER           = 0x00000001;
inline constexpr ULONG FWD_DO_NOT_MUNGE_MSG          = 0x00000002;
inline constexpr ULONG FWD_AS_ATTACHMENT             = 0x00000004;
inline constexpr ULONG BOUNCE_MESSAGE_SIZE_TOO_LARGE = 0x0000000D;
inline constexpr ULONG BOUNCE_FORMS_MISMATCH         = 0x0000001F;
inline constexpr ULONG BOUNCE_ACCESS_DENIED          = 0x00000026;
inline constexpr ULONG FWD_AS_SMS_ALERT              = 0x00000008;

// State of a rule (PR_RULE_STATE), and the version of the rules.
inline constexpr ULONG ST_DISABLED            = 0x00000000;
inline constexpr ULONG ST_ENABLED             = 0x00000001;
inline constexpr ULONG ST_ERROR               = 0x00000002;
inline constexpr ULONG ST_ONLY_WHEN_OOF       = 0x00000004;
inline constexpr ULONG ST_KEEP_OOF_HIST       = 0x00000008;
inline constexpr ULONG ST_EXIT_LEVEL          = 0x00000010;
inline constexpr ULONG ST_SKIP_IF_SCL_IS_SAFE = 0x00000020;
inline constexpr ULONG ST_RULE_PARSE_ERROR    = 0x00000040;
inline constexpr ULONG ST_CLEAR_OOF_HIST      = 0x80000000;
inline constexpr ULONG NULL_RESTRICTION       = 0x000000FF;
inline constexpr ULONG EDK_RULES_VERSION      = 0x00000001;

// Rule errors.
inline constexpr ULONG RULE_ERR_UNKNOWN           = 1;
inline constexpr ULONG RULE_ERR_LOAD              = 2;
inline constexpr ULONG RULE_ERR_DELIVERY          = 3;
inline constexpr ULONG RULE_ERR_PARSING           = 4;
inline constexpr ULONG RULE_ERR_CREATE_DAE        = 5;
inline constexpr ULONG RULE_ERR_NO_FOLDER         = 6;
inline constexpr ULONG RULE_ERR_NO_RIGHTS         = 7;
inline constexpr ULONG RULE_ERR_CREATE_DAM        = 8;
inline constexpr ULONG RULE_ERR_NO_SENDAS         = 9;
inline constexpr ULONG RULE_ERR_NO_TEMPLATE       = 10;
inline constexpr ULONG RULE_ERR_EXECUTION         = 11;
inline constexpr ULONG RULE_ERR_QUOTA_EXCEEDED    = 12;
inline constexpr ULONG RULE_ERR_TOO_MANY_RECIPS   = 13;
inline constexpr ULONG RULE_ERR_FIRST             = 1;
inline constexpr ULONG RULE_ERR_LAST              = 13;
inline constexpr ULONG RULE_ERR_FOLDER_OVER_QUOTA = 14;

// IExchangeModifyTable: flags of ModifyTable and GetTable, kinds of change in a ROWENTRY.
inline constexpr ULONG ROWLIST_REPLACE   = 1;
inline constexpr ULONG ROW_ADD           = 1;
inline constexpr ULONG ROW_MODIFY        = 2;
inline constexpr ULONG ROW_REMOVE        = 4;
inline constexpr ULONG ROW_EMPTY         = 5;
inline constexpr ULONG ACLTABLE_FREEBUSY = 2;

// Columns of the mailbox and public folder tables.
inline constexpr ULONG MDB_FOLDER_IPM          = 0x00000001;
inline constexpr ULONG MDB_FOLDER_SEARCH       = 0x00000002;
inline constexpr ULONG MDB_FOLDER_NORMAL       = 0x00000004;
inline constexpr ULONG MDB_FOLDER_RULES        = 0x00000008;
inline constexpr ULONG MDB_NON_IPM             = 0x00000010;
inline constexpr ULONG MDB_IPM                 = 0x00000020;
inline constexpr ULONG MDB_LIMIT_BELOW         = 0x00000001;
inline constexpr ULONG MDB_LIMIT_ISSUE_WARNING = 0x00000002;
inline constexpr ULONG MDB_LIMIT_PROHIBIT_SEND = 0x00000004;
inline constexpr ULONG MDB_LIMIT_NO_CHECK      = 0x00000008;
inline constexpr ULONG MDB_LIMIT_DISABLED      = 0x00000010;
inline constexpr ULONG MDB_QUOTA_NOQUOTA       = 0xFFFFFFFF;

// Fast transfer methods.
inline constexpr ULONG TRANSFER_COPYTO       = 1;
inline constexpr ULONG TRANSFER_COPYPROPS    = 2;
inline constexpr ULONG TRANSFER_COPYMESSAGES = 3;
inline constexpr ULONG TRANSFER_COPYFOLDER   = 4;

// Flags of the synchronisation interfaces.
inline constexpr ULONG ulHierChanged                       = 0x00000001;
inline constexpr ULONG SYNC_UNICODE                        = 0x00000001;
inline constexpr ULONG SYNC_NO_DELETIONS                   = 0x00000002;
inline constexpr ULONG SYNC_NO_SOFT_DELETIONS              = 0x00000004;
inline constexpr ULONG SYNC_READ_STATE                     = 0x00000008;
inline constexpr ULONG SYNC_ASSOCIATED                     = 0x00000010;
inline constexpr ULONG SYNC_NORMAL                         = 0x00000020;
inline constexpr ULONG SYNC_NO_CONFLICTS                   = 0x00000040;
inline constexpr ULONG SYNC_ONLY_SPECIFIED_PROPS           = 0x00000080;
inline constexpr ULONG SYNC_NO_FOREIGN_KEYS                = 0x00000100;
inline constexpr ULONG SYNC_LIMITED_IMESSAGE               = 0x00000200;
inline constexpr ULONG SYNC_CATCHUP                        = 0x00000400;
inline constexpr ULONG SYNC_NEW_MESSAGE                    = 0x00000800;
inline constexpr ULONG SYNC_MSG_SELECTIVE                  = 0x00001000;
inline constexpr ULONG SYNC_BEST_BODY                      = 0x00002000;
inline constexpr ULONG SYNC_IGNORE_SPECIFIED_ON_ASSOCIATED = 0x00004000;
inline constexpr ULONG SYNC_PROGRESS_MODE                  = 0x00008000;
inline constexpr ULONG SYNC_FXRECOVERMODE                  = 0x00010000;
inline constexpr ULONG SYNC_DEFER_CONFIG                   = 0x00020000;
inline constexpr ULONG SYNC_FORCE_UNICODE                  = 0x00040000;
inline constexpr ULONG SYNC_SOFT_DELETE                    = 0x00000001;
inline constexpr ULONG SYNC_EXPIRY                         = 0x00000002;
inline constexpr ULONG SYNC_READ                           = 0x00000001;
inline constexpr ULONG SYNC_NO_DB_CHANGES                  = 0x00080000;

// Results of the synchronisation interfaces.
inline constexpr HRESULT SYNC_E_UNKNOWN_FLAGS       = HRESULT(0x80040106);
inline constexpr HRESULT SYNC_E_INVALID_PARAMETER   = HRESULT(0x80070057);
inline constexpr HRESULT SYNC_E_ERROR               = HRESULT(0x80004005);
inline constexpr HRESULT SYNC_E_OBJECT_DELETED      = HRESULT(0x80040800);
inline constexpr HRESULT SYNC_E_IGNORE              = HRESULT(0x80040801);
inline constexpr HRESULT SYNC_E_CONFLICT            = HRESULT(0x80040802);
inline constexpr HRESULT SYNC_E_NO_PARENT           = HRESULT(0x80040803);
inline constexpr HRESULT SYNC_E_CYCLE               = HRESULT(0x80040804);
inline constexpr HRESULT SYNC_E_UNSYNCHRONIZED      = HRESULT(0x80040805);
inline constexpr HRESULT SYNC_W_PROGRESS            = 0x00040820;
inline constexpr HRESULT SYNC_W_CLIENT_CHANGE_NEWER = 0x00040821;

// CopyMessages flags.
inline constexpr ULONG MESSAGE_BEST_BODY    = 0x00000010;
inline constexpr ULONG MESSAGE_SEND_ENTRYID = 0x00000020;
inline constexpr ULONG MESSAGE_MOVE         = 0x00000001;
inline constexpr ULONG MESSAGE_DIALOG       = 0x00000002;

// Exchange over HTTP: connection flags and authentication.
inline constexpr ULONG ROHFLAGS_USE_ROH            = 0x00000001;
inline constexpr ULONG ROHFLAGS_SSL_ONLY           = 0x00000002;
inline constexpr ULONG ROHFLAGS_MUTUAL_AUTH        = 0x00000004;
inline constexpr ULONG ROHFLAGS_HTTP_FIRST_ON_FAST = 0x00000008;
inline constexpr ULONG ROHFLAGS_HTTP_FIRST_ON_SLOW = 0x00000020;
inline constexpr ULONG ROHAUTH_BASIC               = 0x00000001;
inline constexpr ULONG ROHAUTH_NTLM                = 0x00000002;
// clang-format on

} // namespace mapi
