// Constants of sessions, profiles, services, status objects and display tables, and those that many methods share.
// Several groups use the same bits: a flag means something only for the call that its group names.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// Flags shared by many methods; a bit means only what the called method documents for it.
inline constexpr ULONG MAPI_RESERVED1         = 0x00010000;
inline constexpr ULONG MDB_OPEN_MSG_NO_BLOCK  = 0x00000020;
inline constexpr ULONG MAPI_EXTENDEDCALLBACKS = 0x00000400;
inline constexpr ULONG MAPI_NO_CACHE          = 0x00000200;
inline constexpr ULONG MAPI_CACHE_ONLY        = 0x00004000;
inline constexpr ULONG MAPI_MODIFY            = 0x00000001;
inline constexpr ULONG MAPI_UNICODE           = 0x80000000;
inline constexpr ULONG MAPI_TOP_LEVEL         = 0x00000001;
inline constexpr ULONG MAPI_ERROR_VERSION     = 0x00000000;
inline constexpr ULONG MAPI_CREATE            = 0x00000002;
inline constexpr ULONG STREAM_APPEND          = 0x00000004;
inline constexpr ULONG MAPI_MOVE              = 0x00000001;
inline constexpr ULONG MAPI_NOREPLACE         = 0x00000002;
inline constexpr ULONG MAPI_DECLINE_OK        = 0x00000004;
inline constexpr ULONG MAPI_DIALOG            = 0x00000008;
inline constexpr ULONG MAPI_BEST_ACCESS       = 0x00000010;
inline constexpr ULONG MAPI_DEFERRED_ERRORS   = 0x00000008;
inline constexpr ULONG MAPI_ASSOCIATED        = 0x00000040;
inline constexpr ULONG MAPI_FORCE_ACCESS      = 0x00080000;
inline constexpr ULONG MAPI_GAL_ONLY          = 0x00000080;

// Version and flags of MAPIINIT_0.
inline constexpr ULONG MAPI_NO_COINIT                 = 0x00000008;
inline constexpr ULONG MAPI_INIT_VERSION              = 0x00000000;
inline constexpr ULONG MAPI_MULTITHREAD_NOTIFICATIONS = 0x00000001;

// Logon flags.
inline constexpr ULONG MAPI_BG_SESSION        = 0x00200000;
inline constexpr ULONG MAPI_NT_SERVICE        = 0x00010000;
inline constexpr ULONG MAPI_USE_DEFAULT       = 0x00000040;
inline constexpr ULONG MAPI_LOGON_UI          = 0x00000001;
inline constexpr ULONG MAPI_NEW_SESSION       = 0x00000002;
inline constexpr ULONG MAPI_APP_PROFILE       = 0x00000004;
inline constexpr ULONG MAPI_ALLOW_OTHERS      = 0x00000008;
inline constexpr ULONG MAPI_EXPLICIT_PROFILE  = 0x00000010;
inline constexpr ULONG MAPI_EXTENDED          = 0x00000020;
inline constexpr ULONG MAPI_FORCE_DOWNLOAD    = 0x00001000;
inline constexpr ULONG MAPI_SERVICE_UI_ALWAYS = 0x00002000;
inline constexpr ULONG MAPI_NO_MAIL           = 0x00008000;
inline constexpr ULONG MAPI_PASSWORD_UI       = 0x00020000;
inline constexpr ULONG MAPI_TIMEOUT_SHORT     = 0x00100000;
inline constexpr ULONG MAPI_SIMPLE_DEFAULT    = 0x00001009;
inline constexpr ULONG MAPI_SIMPLE_EXPLICIT   = 0x00001012;

// Logoff flags.
inline constexpr ULONG MAPI_LOGOFF_SHARED = 0x00000001;
inline constexpr ULONG MAPI_LOGOFF_UI     = 0x00000002;

// Object types (PR_OBJECT_TYPE, OpenEntry).
inline constexpr ULONG MAPI_STORE    = 1;
inline constexpr ULONG MAPI_ADDRBOOK = 2;
inline constexpr ULONG MAPI_FOLDER   = 3;
inline constexpr ULONG MAPI_ABCONT   = 4;
inline constexpr ULONG MAPI_MESSAGE  = 5;
inline constexpr ULONG MAPI_MAILUSER = 6;
inline constexpr ULONG MAPI_ATTACH   = 7;
inline constexpr ULONG MAPI_DISTLIST = 8;
inline constexpr ULONG MAPI_PROFSECT = 9;
inline constexpr ULONG MAPI_STATUS   = 10;
inline constexpr ULONG MAPI_SESSION  = 11;
inline constexpr ULONG MAPI_FORMINFO = 12;

// Events that can be advised for, and ulEventType of a notification.
inline constexpr ULONG fnevCriticalError        = 0x00000001;
inline constexpr ULONG fnevNewMail              = 0x00000002;
inline constexpr ULONG fnevObjectCreated        = 0x00000004;
inline constexpr ULONG fnevObjectDeleted        = 0x00000008;
inline constexpr ULONG fnevObjectModified       = 0x00000010;
inline constexpr ULONG fnevObjectMoved          = 0x00000020;
inline constexpr ULONG fnevObjectCopied         = 0x00000040;
inline constexpr ULONG fnevSearchComplete       = 0x00000080;
inline constexpr ULONG fnevTableModified        = 0x00000100;
inline constexpr ULONG fnevStatusObjectModified = 0x00000200;
inline constexpr ULONG fnevReservedForMapi      = 0x40000000;
inline constexpr ULONG fnevExtended             = 0x80000000;
inline constexpr ULONG fnevIndexing             = 0x00010000;

// What the user may do with an object (PR_ACCESS).
inline constexpr ULONG MAPI_ACCESS_MODIFY            = 0x00000001;
inline constexpr ULONG MAPI_ACCESS_READ              = 0x00000002;
inline constexpr ULONG MAPI_ACCESS_DELETE            = 0x00000004;
inline constexpr ULONG MAPI_ACCESS_CREATE_HIERARCHY  = 0x00000008;
inline constexpr ULONG MAPI_ACCESS_CREATE_CONTENTS   = 0x00000010;
inline constexpr ULONG MAPI_ACCESS_CREATE_ASSOCIATED = 0x00000020;

// SaveChanges flags.
inline constexpr ULONG MDB_SAVE_MSG_UNLOCK = 0x00000040;
inline constexpr ULONG SPAMFILTER_ONSAVE   = 0x00000080;
inline constexpr ULONG ITEMPROC_FORCE      = 0x00000800;
inline constexpr ULONG NON_EMS_XP_SAVE     = 0x00001000;
inline constexpr ULONG KEEP_OPEN_READONLY  = 0x00000001;
inline constexpr ULONG KEEP_OPEN_READWRITE = 0x00000002;
inline constexpr ULONG FORCE_SAVE          = 0x00000004;

// OpenMsgStore flags.
inline constexpr ULONG MDB_ONLINE            = 0x00000100;
inline constexpr ULONG MDB_NO_DIALOG         = 0x00000001;
inline constexpr ULONG MDB_WRITE             = 0x00000004;
inline constexpr ULONG MDB_TEMPORARY         = 0x00000020;
inline constexpr ULONG MDB_NO_MAIL           = 0x00000080;
inline constexpr ULONG MDB_OST_LOGON_UNICODE = 0x00000800;
inline constexpr ULONG MDB_OST_LOGON_ANSI    = 0x00001000;

// SetDefaultStore flags.
inline constexpr ULONG MAPI_DEFAULT_STORE          = 1;
inline constexpr ULONG MAPI_SIMPLE_STORE_TEMPORARY = 2;
inline constexpr ULONG MAPI_SIMPLE_STORE_PERMANENT = 3;
inline constexpr ULONG MAPI_PRIMARY_STORE          = 4;
inline constexpr ULONG MAPI_SECONDARY_STORE        = 5;

// ShowForm flags.
inline constexpr ULONG MAPI_POST_MESSAGE = 0x00000001;
inline constexpr ULONG MAPI_NEW_MESSAGE  = 0x00000002;

// Longest profile name and password, in characters.
inline constexpr ULONG cchProfileNameMax = 64;
inline constexpr ULONG cchProfilePassMax = 64;

// CreateProfile flags.
inline constexpr ULONG MAPI_DEFAULT_SERVICES = 0x00000001;

// Properties of a message service (PR_RESOURCE_FLAGS of its row).
inline constexpr ULONG SERVICE_DEFAULT_STORE       = 0x00000001;
inline constexpr ULONG SERVICE_SINGLE_COPY         = 0x00000002;
inline constexpr ULONG SERVICE_CREATE_WITH_STORE   = 0x00000004;
inline constexpr ULONG SERVICE_PRIMARY_IDENTITY    = 0x00000008;
inline constexpr ULONG SERVICE_NO_PRIMARY_IDENTITY = 0x00000020;

// Service user-interface flags.
inline constexpr ULONG UI_SERVICE                = 0x00000002;
inline constexpr ULONG SERVICE_UI_ALWAYS         = 0x00000002;
inline constexpr ULONG SERVICE_UI_ALLOWED        = 0x00000010;
inline constexpr ULONG UI_CURRENT_PROVIDER_FIRST = 0x00000004;
inline constexpr ULONG MSG_SERVICE_UI_READ_ONLY  = 0x00000008;
inline constexpr ULONG SERVICE_LOGON_FAILED      = 0x00000020;

// Kinds of a status table row (PR_RESOURCE_TYPE).
inline constexpr ULONG MAPI_STORE_PROVIDER     = 33;
inline constexpr ULONG MAPI_AB                 = 34;
inline constexpr ULONG MAPI_AB_PROVIDER        = 35;
inline constexpr ULONG MAPI_TRANSPORT_PROVIDER = 36;
inline constexpr ULONG MAPI_SPOOLER            = 37;
inline constexpr ULONG MAPI_PROFILE_PROVIDER   = 38;
inline constexpr ULONG MAPI_SUBSYSTEM          = 39;
inline constexpr ULONG MAPI_HOOK_PROVIDER      = 40;

// Methods of IMAPIStatus that a resource supports (PR_RESOURCE_METHODS).
inline constexpr ULONG STATUS_VALIDATE_STATE  = 0x00000001;
inline constexpr ULONG STATUS_SETTINGS_DIALOG = 0x00000002;
inline constexpr ULONG STATUS_CHANGE_PASSWORD = 0x00000004;
inline constexpr ULONG STATUS_FLUSH_QUEUES    = 0x00000008;

// Properties of a provider (PR_RESOURCE_FLAGS).
inline constexpr ULONG STATUS_DEFAULT_OUTBOUND    = 0x00000001;
inline constexpr ULONG STATUS_DEFAULT_STORE       = 0x00000002;
inline constexpr ULONG STATUS_PRIMARY_IDENTITY    = 0x00000004;
inline constexpr ULONG STATUS_SIMPLE_STORE        = 0x00000008;
inline constexpr ULONG STATUS_XP_PREFER_LAST      = 0x00000010;
inline constexpr ULONG STATUS_NO_PRIMARY_IDENTITY = 0x00000020;
inline constexpr ULONG STATUS_NO_DEFAULT_STORE    = 0x00000040;
inline constexpr ULONG STATUS_TEMP_SECTION        = 0x00000080;
inline constexpr ULONG STATUS_OWN_STORE           = 0x00000100;
inline constexpr ULONG STATUS_NEED_IPM_TREE       = 0x00000800;
inline constexpr ULONG STATUS_PRIMARY_STORE       = 0x00001000;
inline constexpr ULONG STATUS_SECONDARY_STORE     = 0x00002000;
inline constexpr ULONG HOOK_INBOUND               = 0x00000200;
inline constexpr ULONG HOOK_OUTBOUND              = 0x00000400;

// What a provider is doing (PR_STATUS_CODE).
inline constexpr ULONG STATUS_AVAILABLE        = 0x00000001;
inline constexpr ULONG STATUS_OFFLINE          = 0x00000002;
inline constexpr ULONG STATUS_FAILURE          = 0x00000004;
inline constexpr ULONG STATUS_INBOUND_ENABLED  = 0x00010000;
inline constexpr ULONG STATUS_INBOUND_ACTIVE   = 0x00020000;
inline constexpr ULONG STATUS_INBOUND_FLUSH    = 0x00040000;
inline constexpr ULONG STATUS_OUTBOUND_ENABLED = 0x00100000;
inline constexpr ULONG STATUS_OUTBOUND_ACTIVE  = 0x00200000;
inline constexpr ULONG STATUS_OUTBOUND_FLUSH   = 0x00400000;
inline constexpr ULONG STATUS_REMOTE_ACCESS    = 0x00800000;

// ValidateState flags.
inline constexpr ULONG SUPPRESS_UI               = 0x00000001;
inline constexpr ULONG REFRESH_XP_HEADER_CACHE   = 0x00010000;
inline constexpr ULONG PROCESS_XP_HEADER_CACHE   = 0x00020000;
inline constexpr ULONG FORCE_XP_CONNECT          = 0x00040000;
inline constexpr ULONG FORCE_XP_DISCONNECT       = 0x00080000;
inline constexpr ULONG CONFIG_CHANGED            = 0x00100000;
inline constexpr ULONG ABORT_XP_HEADER_OPERATION = 0x00200000;
inline constexpr ULONG SHOW_XP_SESSION_UI        = 0x00400000;

// SettingsDialog flags.
inline constexpr ULONG UI_READONLY = 0x00000001;

// FlushQueues flags.
inline constexpr ULONG FLUSH_UPLOAD   = 0x00000002;
inline constexpr ULONG FLUSH_DOWNLOAD = 0x00000004;
inline constexpr ULONG FLUSH_FORCE    = 0x00000008;
inline constexpr ULONG FLUSH_NO_UI    = 0x00000010;
inline constexpr ULONG FLUSH_ASYNC_OK = 0x00000020;

// State of a display table button (IMAPIControl::GetState).
inline constexpr ULONG MAPI_ENABLED  = 0;
inline constexpr ULONG MAPI_DISABLED = 1;

// Flags of display table controls.
inline constexpr ULONG DT_MULTILINE     = 0x00000001;
inline constexpr ULONG DT_EDITABLE      = 0x00000002;
inline constexpr ULONG DT_REQUIRED      = 0x00000004;
inline constexpr ULONG DT_SET_IMMEDIATE = 0x00000008;
inline constexpr ULONG DT_PASSWORD_EDIT = 0x00000010;
inline constexpr ULONG DT_ACCEPT_DBCS   = 0x00000020;
inline constexpr ULONG DT_SET_SELECTION = 0x00000040;

// Control types (PR_CONTROL_TYPE).
inline constexpr ULONG DTCT_LABEL       = 0;
inline constexpr ULONG DTCT_EDIT        = 1;
inline constexpr ULONG DTCT_LBX         = 2;
inline constexpr ULONG DTCT_COMBOBOX    = 3;
inline constexpr ULONG DTCT_DDLBX       = 4;
inline constexpr ULONG DTCT_CHECKBOX    = 5;
inline constexpr ULONG DTCT_GROUPBOX    = 6;
inline constexpr ULONG DTCT_BUTTON      = 7;
inline constexpr ULONG DTCT_PAGE        = 8;
inline constexpr ULONG DTCT_RADIOBUTTON = 9;
inline constexpr ULONG DTCT_MVLISTBOX   = 11;
inline constexpr ULONG DTCT_MVDDLBX     = 12;

// Flags of display table lists: no scroll bar.
inline constexpr ULONG MAPI_NO_HBAR = 0x00000001;
inline constexpr ULONG MAPI_NO_VBAR = 0x00000002;

// OpenStreamOnFile flags.
inline constexpr ULONG SOF_UNIQUEFILENAME = 0x80000000;

// HrValidateIPMSubtree flags.
inline constexpr ULONG MAPI_FORCE_CREATE  = 0x00000001;
inline constexpr ULONG MAPI_FULL_IPM_TREE = 0x00000002;
// clang-format on

} // namespace mapi
