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

} // namespace deftmapi
