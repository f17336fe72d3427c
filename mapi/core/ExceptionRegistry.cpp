// Which class stands for which code. The table is filled into the registry when the library is loaded, so that an
// application's own registration for a code, made later, replaces ours; each look-up makes sure of it once more,
// because a look-up may come from an initialiser that runs before this source's.
#include "mapi/core/ExceptionRegistry.hpp"

#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"

namespace deftmapi
{

namespace
{

// The name of the class by way of its record, which exists once the first look-up made it.
using TClassOf = const TKwExceptionClass& (*)() noexcept;

struct TRegistration
{
    mapi::HRESULT Code;
    TClassOf Class;
};

// A result that a socket library leaves in a profile's failure: WSAECONNRESET under an unusual severity and facility.
constexpr auto unresolvedName = static_cast<mapi::HRESULT>(0x81002746);

constexpr TRegistration registrations[] = {
    {mapi::MAPI_E_USER_ABORT, &EMAPI_USER_ABORT::Class},
    {mapi::MAPI_E_FAILURE, &EMAPI_FAILURE::Class},
    {mapi::MAPI_E_LOGON_FAILURE, &EMAPI_LOGON_FAILURE::Class},
    {mapi::MAPI_E_DISK_FULL, &EMAPI_DISK_FULL::Class},
    {mapi::MAPI_E_INSUFFICIENT_MEMORY, &EMAPI_INSUFFICIENT_MEMORY::Class},
    {mapi::MAPI_E_ACCESS_DENIED, &EMAPI_ACCESS_DENIED::Class},
    {mapi::MAPI_E_TOO_MANY_SESSIONS, &EMAPI_TOO_MANY_SESSIONS::Class},
    {mapi::MAPI_E_TOO_MANY_FILES, &EMAPI_TOO_MANY_FILES::Class},
    {mapi::MAPI_E_TOO_MANY_RECIPIENTS, &EMAPI_TOO_MANY_RECIPIENTS::Class},
    {mapi::MAPI_E_ATTACHMENT_NOT_FOUND, &EMAPI_ATTACHMENT_NOT_FOUND::Class},
    {mapi::MAPI_E_ATTACHMENT_OPEN_FAILURE, &EMAPI_ATTACHMENT_OPEN_FAILURE::Class},
    {mapi::MAPI_E_ATTACHMENT_WRITE_FAILURE, &EMAPI_ATTACHMENT_WRITE_FAILURE::Class},
    {mapi::MAPI_E_UNKNOWN_RECIPIENT, &EMAPI_UNKNOWN_RECIPIENT::Class},
    {mapi::MAPI_E_BAD_RECIPTYPE, &EMAPI_BAD_RECIPTYPE::Class},
    {mapi::MAPI_E_NO_MESSAGES, &EMAPI_NO_MESSAGES::Class},
    {mapi::MAPI_E_INVALID_MESSAGE, &EMAPI_INVALID_MESSAGE::Class},
    {mapi::MAPI_E_TEXT_TOO_LARGE, &EMAPI_TEXT_TOO_LARGE::Class},
    {mapi::MAPI_E_INVALID_SESSION, &EMAPI_INVALID_SESSION::Class},
    {mapi::MAPI_E_TYPE_NOT_SUPPORTED, &EMAPI_TYPE_NOT_SUPPORTED::Class},
    {mapi::MAPI_E_AMBIGUOUS_RECIPIENT, &EMAPI_AMBIGUOUS_RECIPIENT::Class},
    {mapi::MAPI_E_MESSAGE_IN_USE, &EMAPI_MESSAGE_IN_USE::Class},
    {mapi::MAPI_E_NETWORK_FAILURE, &EMAPI_NETWORK_FAILURE::Class},
    {mapi::MAPI_E_INVALID_EDITFIELDS, &EMAPI_INVALID_EDITFIELDS::Class},
    {mapi::MAPI_E_INVALID_RECIPS, &EMAPI_INVALID_RECIPS::Class},

    {mapi::MAPI_E_NOT_SUPPORTED, &EMAPI_NOT_SUPPORTED::Class},
    {mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, &EMAPI_INTERFACE_NOT_SUPPORTED::Class},
    {mapi::MAPI_E_CALL_FAILED, &EMAPI_CALL_FAILED::Class},
    {mapi::MAPI_E_NO_SUPPORT, &EMAPI_NO_SUPPORT::Class},
    {mapi::MAPI_E_BAD_CHARWIDTH, &EMAPI_BAD_CHARWIDTH::Class},
    {mapi::MAPI_E_STRING_TOO_LONG, &EMAPI_STRING_TOO_LONG::Class},
    {mapi::MAPI_E_UNKNOWN_FLAGS, &EMAPI_UNKNOWN_FLAGS::Class},
    {mapi::MAPI_E_INVALID_ENTRYID, &EMAPI_INVALID_ENTRYID::Class},
    {mapi::MAPI_E_INVALID_OBJECT, &EMAPI_INVALID_OBJECT::Class},
    {mapi::MAPI_E_OBJECT_CHANGED, &EMAPI_OBJECT_CHANGED::Class},
    {mapi::MAPI_E_OBJECT_DELETED, &EMAPI_OBJECT_DELETED::Class},
    {mapi::MAPI_E_BUSY, &EMAPI_BUSY::Class},
    {mapi::MAPI_E_NOT_ENOUGH_DISK, &EMAPI_NOT_ENOUGH_DISK::Class},
    {mapi::MAPI_E_NOT_ENOUGH_RESOURCES, &EMAPI_NOT_ENOUGH_RESOURCES::Class},
    {mapi::MAPI_E_NOT_FOUND, &EMAPI_NOT_FOUND::Class},
    {mapi::MAPI_E_VERSION, &EMAPI_VERSION::Class},
    {mapi::MAPI_E_LOGON_FAILED, &EMAPI_LOGON_FAILED::Class},
    {mapi::MAPI_E_SESSION_LIMIT, &EMAPI_SESSION_LIMIT::Class},
    {mapi::MAPI_E_USER_CANCEL, &EMAPI_USER_CANCEL::Class},
    {mapi::MAPI_E_UNABLE_TO_ABORT, &EMAPI_UNABLE_TO_ABORT::Class},
    {mapi::MAPI_E_NETWORK_ERROR, &EMAPI_NETWORK_ERROR::Class},
    {mapi::MAPI_E_DISK_ERROR, &EMAPI_DISK_ERROR::Class},
    {mapi::MAPI_E_TOO_COMPLEX, &EMAPI_TOO_COMPLEX::Class},
    {mapi::MAPI_E_BAD_COLUMN, &EMAPI_BAD_COLUMN::Class},
    {mapi::MAPI_E_EXTENDED_ERROR, &EMAPI_EXTENDED_ERROR::Class},
    {mapi::MAPI_E_COMPUTED, &EMAPI_COMPUTED::Class},
    {mapi::MAPI_E_CORRUPT_DATA, &EMAPI_CORRUPT_DATA::Class},
    {mapi::MAPI_E_UNCONFIGURED, &EMAPI_UNCONFIGURED::Class},
    {mapi::MAPI_E_FAILONEPROVIDER, &EMAPI_FAILONEPROVIDER::Class},
    {mapi::MAPI_E_UNKNOWN_CPID, &EMAPI_UNKNOWN_CPID::Class},
    {mapi::MAPI_E_UNKNOWN_LCID, &EMAPI_UNKNOWN_LCID::Class},
    {mapi::MAPI_E_PASSWORD_CHANGE_REQUIRED, &EMAPI_PASSWORD_CHANGE_REQUIRED::Class},
    {mapi::MAPI_E_PASSWORD_EXPIRED, &EMAPI_PASSWORD_EXPIRED::Class},
    {mapi::MAPI_E_INVALID_WORKSTATION_ACCOUNT, &EMAPI_INVALID_WORKSTATION_ACCOUNT::Class},
    {mapi::MAPI_E_INVALID_ACCESS_TIME, &EMAPI_INVALID_ACCESS_TIME::Class},
    {mapi::MAPI_E_ACCOUNT_DISABLED, &EMAPI_ACCOUNT_DISABLED::Class},
    {mapi::MAPI_E_END_OF_SESSION, &EMAPI_END_OF_SESSION::Class},
    {mapi::MAPI_E_UNKNOWN_ENTRYID, &EMAPI_UNKNOWN_ENTRYID::Class},
    {mapi::MAPI_E_MISSING_REQUIRED_COLUMN, &EMAPI_MISSING_REQUIRED_COLUMN::Class},
    {mapi::MAPI_E_BAD_VALUE, &EMAPI_BAD_VALUE::Class},
    {mapi::MAPI_E_INVALID_TYPE, &EMAPI_INVALID_TYPE::Class},
    {mapi::MAPI_E_TYPE_NO_SUPPORT, &EMAPI_TYPE_NO_SUPPORT::Class},
    {mapi::MAPI_E_UNEXPECTED_TYPE, &EMAPI_UNEXPECTED_TYPE::Class},
    {mapi::MAPI_E_TOO_BIG, &EMAPI_TOO_BIG::Class},
    {mapi::MAPI_E_DECLINE_COPY, &EMAPI_DECLINE_COPY::Class},
    {mapi::MAPI_E_UNEXPECTED_ID, &EMAPI_UNEXPECTED_ID::Class},
    {mapi::MAPI_E_UNABLE_TO_COMPLETE, &EMAPI_UNABLE_TO_COMPLETE::Class},
    {mapi::MAPI_E_TIMEOUT, &EMAPI_TIMEOUT::Class},
    {mapi::MAPI_E_TABLE_EMPTY, &EMAPI_TABLE_EMPTY::Class},
    {mapi::MAPI_E_TABLE_TOO_BIG, &EMAPI_TABLE_TOO_BIG::Class},
    {mapi::MAPI_E_INVALID_BOOKMARK, &EMAPI_INVALID_BOOKMARK::Class},
    {mapi::MAPI_E_WAIT, &EMAPI_WAIT::Class},
    {mapi::MAPI_E_CANCEL, &EMAPI_CANCEL::Class},
    {mapi::MAPI_E_NOT_ME, &EMAPI_NOT_ME::Class},
    {mapi::MAPI_E_CORRUPT_STORE, &EMAPI_CORRUPT_STORE::Class},
    {mapi::MAPI_E_NOT_IN_QUEUE, &EMAPI_NOT_IN_QUEUE::Class},
    {mapi::MAPI_E_NO_SUPPRESS, &EMAPI_NO_SUPPRESS::Class},
    {mapi::MAPI_E_COLLISION, &EMAPI_COLLISION::Class},
    {mapi::MAPI_E_NOT_INITIALIZED, &EMAPI_NOT_INITIALIZED::Class},
    {mapi::MAPI_E_NON_STANDARD, &EMAPI_NON_STANDARD::Class},
    {mapi::MAPI_E_NO_RECIPIENTS, &EMAPI_NO_RECIPIENTS::Class},
    {mapi::MAPI_E_SUBMITTED, &EMAPI_SUBMITTED::Class},
    {mapi::MAPI_E_HAS_FOLDERS, &EMAPI_HAS_FOLDERS::Class},
    {mapi::MAPI_E_HAS_MESSAGES, &EMAPI_HAS_MESSAGES::Class},
    {mapi::MAPI_E_FOLDER_CYCLE, &EMAPI_FOLDER_CYCLE::Class},
    {mapi::MAPI_E_AMBIGUOUS_RECIP, &EMAPI_AMBIGUOUS_RECIP::Class},
    {mapi::MAPI_E_NOT_ENOUGH_MEMORY, &EMAPI_NOT_ENOUGH_MEMORY::Class},
    {mapi::MAPI_E_NO_ACCESS, &EMAPI_NO_ACCESS::Class},
    {mapi::MAPI_E_INVALID_PARAMETER, &EMAPI_INVALID_PARAMETER::Class},
    {unresolvedName, &EMAPI_INVALID_PARAMETER::Class},
    // Applications catch a full store as a failed logon; EMAPI_STORE_FULL has no code.
    {mapi::MAPI_E_STORE_FULL, &EMAPI_LOGON_FAILED::Class},
};

bool FillRegistry()
{
    KwRegisterExceptionBase(KwMAPIExceptionCategory, EKwMAPIException::Class());
    for (const TRegistration& registration : registrations)
        KwRegisterExceptionClass(KwMAPIExceptionCategory, registration.Code, registration.Class());
    return true;
}

[[maybe_unused]] const bool filledAtLoad = (KwRegisterMAPIExceptions(), true);

} // namespace

void KwRegisterMAPIExceptions()
{
    [[maybe_unused]] static const bool filled = FillRegistry();
}

} // namespace deftmapi
