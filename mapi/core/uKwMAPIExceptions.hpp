// MAPI results as exceptions: the class family of extended MAPI, the look-up of a class by its code, and the one
// routine that every result of a platform call goes through. A user's Cancel is an EKwMAPIAbort, not an
// EKwMAPIException: an application's catch of MAPI errors does not see it.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"
#include "support/uKwExceptions.hpp"

#include <initializer_list>
#include <memory>

namespace deftmapi
{

class IKwMAPIWrapper;

/// The base of all MAPI errors; raised itself for codes that have no class of their own.
class DEFTMAPI_API EKwMAPIException : public EKwException
{
    DEFTMAPI_EXCEPTION(EKwMAPIException, EKwException)
};

/// The base of MAPI's silent aborts.
class DEFTMAPI_API EKwMAPIAbort : public EKwAbort
{
    DEFTMAPI_EXCEPTION(EKwMAPIAbort, EKwAbort)
};

/// The code of EMAPI_NOT_SUPPORTED: the class is registered under Simple MAPI's number.
inline constexpr mapi::HRESULT KwNotSupported = 26;

/// A class reference to an exception of category "MAPI". EMAPI_USER_CANCEL is such a class without deriving from
/// EKwMAPIException, so the reference is that of the common base.
using EKwMAPIExceptionClass = const TKwExceptionClass*;

// The classes of extended MAPI: X(class, direct base). Each adds nothing to its base; they exist to be caught by kind.
// The code under which a class is registered stands in ExceptionRegistry.cpp; the last two groups are not registered
// and are raised by name only.
// clang-format off
#define DEFTMAPI_EXTENDED_MAPI_EXCEPTIONS(X)                                                                           \
    X(EMAPI_NOT_SUPPORTED, EKwMAPIException)                                                                           \
    X(EMAPI_INTERFACE_NOT_SUPPORTED, EKwMAPIException)                                                                 \
    X(EMAPI_CALL_FAILED, EKwMAPIException)                                                                             \
    X(EMAPI_NO_SUPPORT, EKwMAPIException)                                                                              \
    X(EMAPI_BAD_CHARWIDTH, EKwMAPIException)                                                                           \
    X(EMAPI_STRING_TOO_LONG, EKwMAPIException)                                                                         \
    X(EMAPI_UNKNOWN_FLAGS, EKwMAPIException)                                                                           \
    X(EMAPI_INVALID_ENTRYID, EKwMAPIException)                                                                         \
    X(EMAPI_INVALID_OBJECT, EKwMAPIException)                                                                          \
    X(EMAPI_OBJECT_CHANGED, EKwMAPIException)                                                                          \
    X(EMAPI_OBJECT_DELETED, EKwMAPIException)                                                                          \
    X(EMAPI_BUSY, EKwMAPIException)                                                                                    \
    X(EMAPI_NOT_ENOUGH_DISK, EKwMAPIException)                                                                         \
    X(EMAPI_NOT_ENOUGH_RESOURCES, EKwMAPIException)                                                                    \
    X(EMAPI_NOT_FOUND, EKwMAPIException)                                                                               \
    X(EMAPI_VERSION, EKwMAPIException)                                                                                 \
    X(EMAPI_LOGON_FAILED, EKwMAPIException)                                                                            \
    X(EMAPI_SESSION_LIMIT, EKwMAPIException)                                                                           \
    X(EMAPI_USER_CANCEL, EKwMAPIAbort)                                                                                 \
    X(EMAPI_UNABLE_TO_ABORT, EKwMAPIException)                                                                         \
    X(EMAPI_NETWORK_ERROR, EKwMAPIException)                                                                           \
    X(EMAPI_DISK_ERROR, EKwMAPIException)                                                                              \
    X(EMAPI_TOO_COMPLEX, EKwMAPIException)                                                                             \
    X(EMAPI_BAD_COLUMN, EKwMAPIException)                                                                              \
    X(EMAPI_EXTENDED_ERROR, EKwMAPIException)                                                                          \
    X(EMAPI_COMPUTED, EKwMAPIException)                                                                                \
    X(EMAPI_CORRUPT_DATA, EKwMAPIException)                                                                            \
    X(EMAPI_UNCONFIGURED, EKwMAPIException)                                                                            \
    X(EMAPI_FAILONEPROVIDER, EKwMAPIException)                                                                         \
    X(EMAPI_UNKNOWN_CPID, EKwMAPIException)                                                                            \
    X(EMAPI_UNKNOWN_LCID, EKwMAPIException)                                                                            \
    X(EMAPI_PASSWORD_CHANGE_REQUIRED, EKwMAPIException)                                                                \
    X(EMAPI_PASSWORD_EXPIRED, EKwMAPIException)                                                                        \
    X(EMAPI_INVALID_WORKSTATION_ACCOUNT, EKwMAPIException)                                                             \
    X(EMAPI_INVALID_ACCESS_TIME, EKwMAPIException)                                                                     \
    X(EMAPI_ACCOUNT_DISABLED, EKwMAPIException)                                                                        \
    X(EMAPI_END_OF_SESSION, EKwMAPIException)                                                                          \
    X(EMAPI_UNKNOWN_ENTRYID, EKwMAPIException)                                                                         \
    X(EMAPI_MISSING_REQUIRED_COLUMN, EKwMAPIException)                                                                 \
    X(EMAPI_BAD_VALUE, EKwMAPIException)                                                                               \
    X(EMAPI_INVALID_TYPE, EKwMAPIException)                                                                            \
    X(EMAPI_TYPE_NO_SUPPORT, EKwMAPIException)                                                                         \
    X(EMAPI_UNEXPECTED_TYPE, EKwMAPIException)                                                                         \
    X(EMAPI_TOO_BIG, EKwMAPIException)                                                                                 \
    X(EMAPI_DECLINE_COPY, EKwMAPIException)                                                                            \
    X(EMAPI_UNEXPECTED_ID, EKwMAPIException)                                                                           \
    X(EMAPI_UNABLE_TO_COMPLETE, EKwMAPIException)                                                                      \
    X(EMAPI_TIMEOUT, EKwMAPIException)                                                                                 \
    X(EMAPI_TABLE_EMPTY, EKwMAPIException)                                                                             \
    X(EMAPI_TABLE_TOO_BIG, EKwMAPIException)                                                                           \
    X(EMAPI_INVALID_BOOKMARK, EKwMAPIException)                                                                        \
    X(EMAPI_WAIT, EKwMAPIException)                                                                                    \
    X(EMAPI_CANCEL, EKwMAPIException)                                                                                  \
    X(EMAPI_NOT_ME, EKwMAPIException)                                                                                  \
    X(EMAPI_CORRUPT_STORE, EKwMAPIException)                                                                           \
    X(EMAPI_NOT_IN_QUEUE, EKwMAPIException)                                                                            \
    X(EMAPI_NO_SUPPRESS, EKwMAPIException)                                                                             \
    X(EMAPI_COLLISION, EKwMAPIException)                                                                               \
    X(EMAPI_NOT_INITIALIZED, EKwMAPIException)                                                                         \
    X(EMAPI_NON_STANDARD, EKwMAPIException)                                                                            \
    X(EMAPI_NO_RECIPIENTS, EKwMAPIException)                                                                           \
    X(EMAPI_SUBMITTED, EKwMAPIException)                                                                               \
    X(EMAPI_HAS_FOLDERS, EKwMAPIException)                                                                             \
    X(EMAPI_HAS_MESSAGES, EKwMAPIException)                                                                            \
    X(EMAPI_FOLDER_CYCLE, EKwMAPIException)                                                                            \
    X(EMAPI_AMBIGUOUS_RECIP, EKwMAPIException)                                                                         \
    X(EMAPI_NOT_ENOUGH_MEMORY, EKwMAPIException)                                                                       \
    X(EMAPI_NO_ACCESS, EKwMAPIException)                                                                               \
    X(EMAPI_INVALID_PARAMETER, EKwMAPIException)                                                                       \
    /* errors without a code of their own */                                                                           \
    X(EMAPI_STORE_FULL, EKwMAPIException)                                                                              \
    X(EMAPI_NO_ACCESS_READONLY, EMAPI_NO_ACCESS)                                                                       \
    /* warnings */                                                                                                     \
    X(EMAPI_W_NO_SERVICE, EKwMAPIException)                                                                            \
    X(EMAPI_W_ERRORS_RETURNED, EKwMAPIException)                                                                       \
    X(EMAPI_W_POSITION_CHANGED, EKwMAPIException)                                                                      \
    X(EMAPI_W_APPROX_COUNT, EKwMAPIException)                                                                          \
    X(EMAPI_W_CANCEL_MESSAGE, EKwMAPIException)                                                                        \
    X(EMAPI_W_PARTIAL_COMPLETION, EKwMAPIException)                                                                    \
    X(EMAPI_MAPI_W_NO_SERVICE, EKwMAPIException)                                                                       \
    X(EMAPI_MAPI_W_ERRORS_RETURNED, EKwMAPIException)                                                                  \
    X(EMAPI_MAPI_W_CANCEL_MESSAGE, EKwMAPIException)
// clang-format on

#define DEFTMAPI_DECLARE_MAPI_EXCEPTION(Self, Base)                                                                    \
    class DEFTMAPI_API Self : public Base                                                                              \
    {                                                                                                                  \
        DEFTMAPI_EXCEPTION(Self, Base)                                                                                 \
    };
DEFTMAPI_EXTENDED_MAPI_EXCEPTIONS(DEFTMAPI_DECLARE_MAPI_EXCEPTION)

/// The class registered for the code under category "MAPI" (extended and Simple MAPI codes), or null.
[[nodiscard]] DEFTMAPI_API EKwMAPIExceptionClass GetMAPIExceptionClass(mapi::HRESULT code);
/// The same; with inherited true EKwMAPIException stands in for codes without a class.
[[nodiscard]] DEFTMAPI_API EKwMAPIExceptionClass GetMAPIExceptionClass(mapi::HRESULT code, bool inherited);

/// Creates (does not raise) an exception of the class registered for the code, EKwMAPIException when there is none. The
/// caller raises it: `CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, u"…")->Raise();`
[[nodiscard]] DEFTMAPI_API std::unique_ptr<EKwExceptionBase> CreateKwMAPIException(mapi::HRESULT code,
                                                                                   WideView message);
/// The same with a message formatted by KwFormat.
/// @throws EKwConvertError  the arguments do not fit the pattern
[[nodiscard]] DEFTMAPI_API std::unique_ptr<EKwExceptionBase>
CreateKwMAPIException(mapi::HRESULT code, WideView format, std::initializer_list<TKwFormatArg> args);

/// What CheckMAPIResult does with a result that is not 0.
[[noreturn]] DEFTMAPI_API void RaiseMAPIResult(WideView className, WideView methodName, mapi::HRESULT result,
                                               IKwMAPIWrapper* wrapper);
/// The same under the wrapper's own class name.
[[noreturn]] DEFTMAPI_API void RaiseMAPIResult(IKwMAPIWrapper& wrapper, WideView methodName, mapi::HRESULT result);

/// Returns when the result is 0 and raises otherwise. Warnings raise, too: a caller that expects one tests for it
/// first. The message names class and method, then the explanation, then the code in decimal and hexadecimal.
/// @param wrapper  asked for the provider's own text when the result is MAPI_E_EXTENDED_ERROR; may be null. What its
///                 GetExtendedErrorInfo throws replaces the exception that was being built. No reference is taken.
/// @throws the class registered for the code, else EKwMAPIException; ErrorCode() is the result
inline void CheckMAPIResult(WideView className, WideView methodName, mapi::HRESULT result,
                            IKwMAPIWrapper* wrapper = nullptr)
{
    if (result != 0) [[unlikely]]
        RaiseMAPIResult(className, methodName, result, wrapper);
}

/// The same under the wrapper's own class name; the wrapper supplies extended error information.
inline void CheckMAPIResult(IKwMAPIWrapper& wrapper, WideView methodName, mapi::HRESULT result)
{
    if (result != 0) [[unlikely]]
        RaiseMAPIResult(wrapper, methodName, result);
}

} // namespace deftmapi
