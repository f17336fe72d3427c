// Simple MAPI, and the memory functions that both interfaces share: the exception classes of Simple MAPI's result
// numbers, their checker, and one thin entry per function. An entry has the name and the parameters of the MAPI
// function; it looks the function up in the loaded client library on first use (see uKwMAPILib.hpp for loading).
#pragma once

#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPIFunctionsH.hpp"

namespace deftmapi
{

// The classes of Simple MAPI's result numbers: X(class, direct base). Their codes stand in ExceptionRegistry.cpp; the
// number 26 is served by EMAPI_NOT_SUPPORTED. EMAPI_LOGIN_FAILURE is not registered.
// clang-format off
#define DEFTMAPI_SIMPLE_MAPI_EXCEPTIONS(X)                                                                             \
    X(EMAPI_USER_ABORT, EKwMAPIException)                                                                              \
    X(EMAPI_FAILURE, EKwMAPIException)                                                                                 \
    X(EMAPI_LOGON_FAILURE, EKwMAPIException)                                                                           \
    X(EMAPI_LOGIN_FAILURE, EKwMAPIException)                                                                           \
    X(EMAPI_DISK_FULL, EKwMAPIException)                                                                               \
    X(EMAPI_INSUFFICIENT_MEMORY, EKwMAPIException)                                                                     \
    X(EMAPI_ACCESS_DENIED, EKwMAPIException)                                                                           \
    X(EMAPI_TOO_MANY_SESSIONS, EKwMAPIException)                                                                       \
    X(EMAPI_TOO_MANY_FILES, EKwMAPIException)                                                                          \
    X(EMAPI_TOO_MANY_RECIPIENTS, EKwMAPIException)                                                                     \
    X(EMAPI_ATTACHMENT_NOT_FOUND, EKwMAPIException)                                                                    \
    X(EMAPI_ATTACHMENT_OPEN_FAILURE, EKwMAPIException)                                                                 \
    X(EMAPI_ATTACHMENT_WRITE_FAILURE, EKwMAPIException)                                                                \
    X(EMAPI_UNKNOWN_RECIPIENT, EKwMAPIException)                                                                       \
    X(EMAPI_BAD_RECIPTYPE, EKwMAPIException)                                                                           \
    X(EMAPI_NO_MESSAGES, EKwMAPIException)                                                                             \
    X(EMAPI_INVALID_MESSAGE, EKwMAPIException)                                                                         \
    X(EMAPI_TEXT_TOO_LARGE, EKwMAPIException)                                                                          \
    X(EMAPI_INVALID_SESSION, EKwMAPIException)                                                                         \
    X(EMAPI_TYPE_NOT_SUPPORTED, EKwMAPIException)                                                                      \
    X(EMAPI_AMBIGUOUS_RECIPIENT, EKwMAPIException)                                                                     \
    X(EMAPI_MESSAGE_IN_USE, EKwMAPIException)                                                                          \
    X(EMAPI_NETWORK_FAILURE, EKwMAPIException)                                                                         \
    X(EMAPI_INVALID_EDITFIELDS, EKwMAPIException)                                                                      \
    X(EMAPI_INVALID_RECIPS, EKwMAPIException)
// clang-format on
DEFTMAPI_SIMPLE_MAPI_EXCEPTIONS(DEFTMAPI_DECLARE_MAPI_EXCEPTION)

/// What CheckSimpleMAPIResult does with a code that is not 0.
DEFTMAPI_API void RaiseSimpleMAPIResult(mapi::ULONG code);

/// Returns for 0, and for 0x80004005: a client that answers a Simple MAPI call with that HRESULT is let through. Every
/// other code raises the class registered for it (EKwMAPIException for 7 and other numbers without a class).
inline void CheckSimpleMAPIResult(mapi::ULONG code)
{
    if (code != 0) [[unlikely]]
        RaiseSimpleMAPIResult(code);
}

// ---- Memory
// -------------------------------------------------------------------------------------------------------------- All
// three return the client's result, which is 0: anything else raises the class of that result.

/// A block of cbSize bytes; the caller frees it with MAPIFreeBuffer.
DEFTMAPI_API mapi::SCODE MAPIAllocateBuffer(mapi::ULONG cbSize, mapi::LPVOID* lppBuffer);
/// A block that is freed together with lpObject, which MAPIAllocateBuffer gave.
DEFTMAPI_API mapi::SCODE MAPIAllocateMore(mapi::ULONG cbSize, mapi::LPVOID lpObject, mapi::LPVOID* lppBuffer);
/// Null is allowed.
DEFTMAPI_API mapi::ULONG MAPIFreeBuffer(mapi::LPVOID lpBuffer);

// ---- Entry points
// -------------------------------------------------------------------------------------------------------- Each raises
// EMAPI_CALL_FAILED when the loaded library does not have the function.

/// The index of a reply (of a new conversation when there is no parent). Hands the result back unchecked; the caller
/// frees the index with MAPIFreeBuffer.
DEFTMAPI_API mapi::SCODE ScCreateConversationIndex(mapi::ULONG cbParent, mapi::LPBYTE lpbParent,
                                                   mapi::ULONG* lpcbConvIndex, mapi::LPBYTE* lppbConvIndex);

// Simple MAPI: texts are in the system ANSI code page. The result goes through CheckSimpleMAPIResult, so what is
// returned is 0 or 0x80004005. Structures that a function delivers are freed with MAPIFreeBuffer.

/// @throws EMAPI_CALL_FAILED  the client reports success and delivers no session handle
DEFTMAPI_API mapi::ULONG MAPILogon(mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszProfileName, mapi::LPSTR lpszPassword,
                                   mapi::FLAGS flFlags, mapi::ULONG ulReserved, mapi::LPLHANDLE lplhSession);
DEFTMAPI_API mapi::ULONG MAPILogoff(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::FLAGS flFlags,
                                    mapi::ULONG ulReserved);
DEFTMAPI_API mapi::ULONG MAPISendMail(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::lpMapiMessage lpMessage,
                                      mapi::FLAGS flFlags, mapi::ULONG ulReserved);
DEFTMAPI_API mapi::ULONG MAPISendDocuments(mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszDelimChar,
                                           mapi::LPSTR lpszFilePaths, mapi::LPSTR lpszFileNames,
                                           mapi::ULONG ulReserved);
/// Raises EMAPI_NO_MESSAGES after the last message.
DEFTMAPI_API mapi::ULONG MAPIFindNext(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszMessageType,
                                      mapi::LPSTR lpszSeedMessageID, mapi::FLAGS flFlags, mapi::ULONG ulReserved,
                                      mapi::LPSTR lpszMessageID);
DEFTMAPI_API mapi::ULONG MAPIReadMail(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszMessageID,
                                      mapi::FLAGS flFlags, mapi::ULONG ulReserved, mapi::lpMapiMessage* lppMessage);
DEFTMAPI_API mapi::ULONG MAPISaveMail(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::lpMapiMessage lpMessage,
                                      mapi::FLAGS flFlags, mapi::ULONG ulReserved, mapi::LPSTR lpszMessageID);
DEFTMAPI_API mapi::ULONG MAPIDeleteMail(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszMessageID,
                                        mapi::FLAGS flFlags, mapi::ULONG ulReserved);
DEFTMAPI_API mapi::ULONG MAPIAddress(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszCaption,
                                     mapi::ULONG nEditFields, mapi::LPSTR lpszLabels, mapi::ULONG nRecips,
                                     mapi::lpMapiRecipDesc lpRecips, mapi::FLAGS flFlags, mapi::ULONG ulReserved,
                                     mapi::LPULONG lpnNewRecips, mapi::lpMapiRecipDesc* lppNewRecips);
DEFTMAPI_API mapi::ULONG MAPIDetails(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::lpMapiRecipDesc lpRecip,
                                     mapi::FLAGS flFlags, mapi::ULONG ulReserved);
DEFTMAPI_API mapi::ULONG MAPIResolveName(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszName,
                                         mapi::FLAGS flFlags, mapi::ULONG ulReserved, mapi::lpMapiRecipDesc* lppRecip);

} // namespace deftmapi
