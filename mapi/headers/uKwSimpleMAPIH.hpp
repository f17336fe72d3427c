// Simple MAPI: structures, flags and results. The entry points are in uKwMAPIFunctionsH.hpp.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// Simple MAPI call flags.
inline constexpr LHANDLE lhSessionNull        = 0;
inline constexpr ULONG MAPI_UNREAD_ONLY     = 0x00000020;
inline constexpr ULONG MAPI_GUARANTEE_FIFO  = 0x00000100;
inline constexpr ULONG MAPI_LONG_MSGID      = 0x00004000;
inline constexpr ULONG MAPI_PEEK            = 0x00000080;
inline constexpr ULONG MAPI_SUPPRESS_ATTACH = 0x00000800;
inline constexpr ULONG MAPI_ENVELOPE_ONLY   = 0x00000040;
inline constexpr ULONG MAPI_BODY_AS_FILE    = 0x00000200;
inline constexpr ULONG MAPI_AB_NOMODIFY     = 0x00000400;
inline constexpr ULONG MAPI_DIALOG_MODELESS = 0x0000000C;
inline constexpr ULONG MAPI_FORCE_UNICODE   = 0x00040000;

// Simple MAPI file flags.
inline constexpr ULONG MAPI_OLE        = 0x00000001;
inline constexpr ULONG MAPI_OLE_STATIC = 0x00000002;

// Simple MAPI message flags.
inline constexpr ULONG MAPI_UNREAD            = 0x00000001;
inline constexpr ULONG MAPI_RECEIPT_REQUESTED = 0x00000002;
inline constexpr ULONG MAPI_SENT              = 0x00000004;

// Results of Simple MAPI calls. They are plain numbers, not HRESULTs.
inline constexpr ULONG MAPI_USER_ABORT                 = 1;
inline constexpr ULONG MAPI_E_USER_ABORT               = 1;
inline constexpr ULONG MAPI_E_FAILURE                  = 2;
inline constexpr ULONG MAPI_E_LOGON_FAILURE            = 3;
inline constexpr ULONG MAPI_E_LOGIN_FAILURE            = 3;
inline constexpr ULONG MAPI_E_DISK_FULL                = 4;
inline constexpr ULONG MAPI_E_INSUFFICIENT_MEMORY      = 5;
inline constexpr ULONG MAPI_E_ACCESS_DENIED            = 6;
inline constexpr ULONG MAPI_E_TOO_MANY_SESSIONS        = 8;
inline constexpr ULONG MAPI_E_TOO_MANY_FILES           = 9;
inline constexpr ULONG MAPI_E_TOO_MANY_RECIPIENTS      = 10;
inline constexpr ULONG MAPI_E_ATTACHMENT_NOT_FOUND     = 11;
inline constexpr ULONG MAPI_E_ATTACHMENT_OPEN_FAILURE  = 12;
inline constexpr ULONG MAPI_E_ATTACHMENT_WRITE_FAILURE = 13;
inline constexpr ULONG MAPI_E_UNKNOWN_RECIPIENT        = 14;
inline constexpr ULONG MAPI_E_BAD_RECIPTYPE            = 15;
inline constexpr ULONG MAPI_E_NO_MESSAGES              = 16;
inline constexpr ULONG MAPI_E_INVALID_MESSAGE          = 17;
inline constexpr ULONG MAPI_E_TEXT_TOO_LARGE           = 18;
inline constexpr ULONG MAPI_E_INVALID_SESSION          = 19;
inline constexpr ULONG MAPI_E_TYPE_NOT_SUPPORTED       = 20;
inline constexpr ULONG MAPI_E_AMBIGUOUS_RECIPIENT      = 21;
inline constexpr ULONG MAPI_E_AMBIG_RECIP              = 21;
inline constexpr ULONG MAPI_E_MESSAGE_IN_USE           = 22;
inline constexpr ULONG MAPI_E_NETWORK_FAILURE          = 23;
inline constexpr ULONG MAPI_E_INVALID_EDITFIELDS       = 24;
inline constexpr ULONG MAPI_E_INVALID_RECIPS           = 25;
inline constexpr ULONG MAPI_E_NOT_SUPPORTED            = 26;
// clang-format on

/// An attachment of a Simple MAPI message.
struct MapiFileDesc
{
    ULONG ulReserved;
    ULONG flFlags;
    ULONG nPosition;
    LPSTR lpszPathName;
    LPSTR lpszFileName;
    LPVOID lpFileType;
};
using lpMapiFileDesc = MapiFileDesc*;

/// Type and encoding of an attachment; MapiFileDesc.lpFileType points to it.
struct MapiFileTagExt
{
    ULONG ulReserved;
    ULONG cbTag;
    LPBYTE lpTag;
    ULONG cbEncoding;
    LPBYTE lpEncoding;
};
using lpMapiFileTagExt = MapiFileTagExt*;

/// A recipient or the originator.
struct MapiRecipDesc
{
    ULONG ulReserved;
    ULONG ulRecipClass;
    LPSTR lpszName;
    LPSTR lpszAddress;
    ULONG ulEIDSize;
    LPVOID lpEntryID;
};
using lpMapiRecipDesc = MapiRecipDesc*;

/// A message.
struct MapiMessage
{
    ULONG ulReserved;
    LPSTR lpszSubject;
    LPSTR lpszNoteText;
    LPSTR lpszMessageType;
    LPSTR lpszDateReceived;
    LPSTR lpszConversationID;
    FLAGS flFlags;
    lpMapiRecipDesc lpOriginator;
    ULONG nRecipCount;
    lpMapiRecipDesc lpRecips;
    ULONG nFileCount;
    lpMapiFileDesc lpFiles;
};
using lpMapiMessage = MapiMessage*;

// The same with UTF-16 text.

struct MapiFileDescW
{
    ULONG ulReserved;
    ULONG flFlags;
    ULONG nPosition;
    PWSTR lpszPathName;
    PWSTR lpszFileName;
    PVOID lpFileType;
};
using lpMapiFileDescW = MapiFileDescW*;

struct MapiRecipDescW
{
    ULONG ulReserved;
    ULONG ulRecipClass;
    PWSTR lpszName;
    PWSTR lpszAddress;
    ULONG ulEIDSize;
    PVOID lpEntryID;
};
using lpMapiRecipDescW = MapiRecipDescW*;

struct MapiMessageW
{
    ULONG ulReserved;
    PWSTR lpszSubject;
    PWSTR lpszNoteText;
    PWSTR lpszMessageType;
    PWSTR lpszDateReceived;
    PWSTR lpszConversationID;
    FLAGS flFlags;
    lpMapiRecipDescW lpOriginator;
    ULONG nRecipCount;
    lpMapiRecipDescW lpRecips;
    ULONG nFileCount;
    lpMapiFileDescW lpFiles;
};
using lpMapiMessageW = MapiMessageW*;

} // namespace mapi
