// Result codes of COM, structured storage and MAPI. Those of Exchange synchronisation, of the account manager and of
// Simple MAPI stand with their interfaces.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

/// True when the call failed. (FAILED and SUCCEEDED are macro names on Windows.)
constexpr bool Failed(HRESULT hr)
{
    return hr < 0;
}

/// True when the call did what it was asked, perhaps with a warning.
constexpr bool Succeeded(HRESULT hr)
{
    return hr >= 0;
}

// clang-format off
// COM result codes.
inline constexpr HRESULT E_UNEXPECTED   = HRESULT(0x8000FFFF);
inline constexpr HRESULT E_NOTIMPL      = HRESULT(0x80004001);
inline constexpr HRESULT E_OUTOFMEMORY  = HRESULT(0x8007000E);
inline constexpr HRESULT E_INVALIDARG   = HRESULT(0x80070057);
inline constexpr HRESULT E_NOINTERFACE  = HRESULT(0x80004002);
inline constexpr HRESULT E_POINTER      = HRESULT(0x80004003);
inline constexpr HRESULT E_HANDLE       = HRESULT(0x80070006);
inline constexpr HRESULT E_ABORT        = HRESULT(0x80004004);
inline constexpr HRESULT E_FAIL         = HRESULT(0x80004005);
inline constexpr HRESULT E_ACCESSDENIED = HRESULT(0x80070005);
inline constexpr HRESULT E_PENDING      = HRESULT(0x8000000A);
inline constexpr HRESULT S_OK           = 0x00000000;
inline constexpr HRESULT S_FALSE        = 0x00000001;

// Results of structured storage and of streams.
inline constexpr HRESULT STG_E_INVALIDFUNCTION    = HRESULT(0x80030001);
inline constexpr HRESULT STG_E_FILENOTFOUND       = HRESULT(0x80030002);
inline constexpr HRESULT STG_E_PATHNOTFOUND       = HRESULT(0x80030003);
inline constexpr HRESULT STG_E_ACCESSDENIED       = HRESULT(0x80030005);
inline constexpr HRESULT STG_E_INVALIDHANDLE      = HRESULT(0x80030006);
inline constexpr HRESULT STG_E_INSUFFICIENTMEMORY = HRESULT(0x80030008);
inline constexpr HRESULT STG_E_INVALIDPOINTER     = HRESULT(0x80030009);
inline constexpr HRESULT STG_E_SEEKERROR          = HRESULT(0x80030019);
inline constexpr HRESULT STG_E_WRITEFAULT         = HRESULT(0x8003001D);
inline constexpr HRESULT STG_E_READFAULT          = HRESULT(0x8003001E);
inline constexpr HRESULT STG_E_SHAREVIOLATION     = HRESULT(0x80030020);
inline constexpr HRESULT STG_E_FILEALREADYEXISTS  = HRESULT(0x80030050);
inline constexpr HRESULT STG_E_INVALIDPARAMETER   = HRESULT(0x80030057);
inline constexpr HRESULT STG_E_MEDIUMFULL         = HRESULT(0x80030070);
inline constexpr HRESULT STG_E_INVALIDNAME        = HRESULT(0x800300FC);
inline constexpr HRESULT STG_E_INVALIDFLAG        = HRESULT(0x800300FF);
inline constexpr HRESULT STG_E_NOTCURRENT         = HRESULT(0x80030101);
inline constexpr HRESULT STG_E_REVERTED           = HRESULT(0x80030102);
inline constexpr HRESULT STG_E_CANTSAVE           = HRESULT(0x80030103);
inline constexpr HRESULT STG_E_EXTANTMARSHALLINGS = HRESULT(0x80030108);
inline constexpr HRESULT STG_E_TERMINATED         = HRESULT(0x80030202);

// MAPI result codes. A warning (MAPI_W_...) is a success: the call delivered something.
inline constexpr HRESULT SUCCESS_SUCCESS                    = 0x00000000;
inline constexpr HRESULT MAPI_E_CALL_FAILED                 = HRESULT(0x80004005);
inline constexpr HRESULT MAPI_E_NOT_ENOUGH_MEMORY           = HRESULT(0x8007000E);
inline constexpr HRESULT MAPI_E_INVALID_PARAMETER           = HRESULT(0x80070057);
inline constexpr HRESULT MAPI_E_INTERFACE_NOT_SUPPORTED     = HRESULT(0x80004002);
inline constexpr HRESULT MAPI_E_NO_ACCESS                   = HRESULT(0x80070005);
inline constexpr HRESULT MAPI_E_NO_SUPPORT                  = HRESULT(0x80040102);
inline constexpr HRESULT MAPI_E_BAD_CHARWIDTH               = HRESULT(0x80040103);
inline constexpr HRESULT MAPI_E_STRING_TOO_LONG             = HRESULT(0x80040105);
inline constexpr HRESULT MAPI_E_UNKNOWN_FLAGS               = HRESULT(0x80040106);
inline constexpr HRESULT MAPI_E_INVALID_ENTRYID             = HRESULT(0x80040107);
inline constexpr HRESULT MAPI_E_INVALID_OBJECT              = HRESULT(0x80040108);
inline constexpr HRESULT MAPI_E_OBJECT_CHANGED              = HRESULT(0x80040109);
inline constexpr HRESULT MAPI_E_OBJECT_DELETED              = HRESULT(0x8004010A);
inline constexpr HRESULT MAPI_E_BUSY                        = HRESULT(0x8004010B);
inline constexpr HRESULT MAPI_E_NOT_ENOUGH_DISK             = HRESULT(0x8004010D);
inline constexpr HRESULT MAPI_E_NOT_ENOUGH_RESOURCES        = HRESULT(0x8004010E);
inline constexpr HRESULT MAPI_E_NOT_FOUND                   = HRESULT(0x8004010F);
inline constexpr HRESULT MAPI_E_VERSION                     = HRESULT(0x80040110);
inline constexpr HRESULT MAPI_E_LOGON_FAILED                = HRESULT(0x80040111);
inline constexpr HRESULT MAPI_E_SESSION_LIMIT               = HRESULT(0x80040112);
inline constexpr HRESULT MAPI_E_USER_CANCEL                 = HRESULT(0x80040113);
inline constexpr HRESULT MAPI_E_UNABLE_TO_ABORT             = HRESULT(0x80040114);
inline constexpr HRESULT MAPI_E_NETWORK_ERROR               = HRESULT(0x80040115);
inline constexpr HRESULT MAPI_E_DISK_ERROR                  = HRESULT(0x80040116);
inline constexpr HRESULT MAPI_E_TOO_COMPLEX                 = HRESULT(0x80040117);
inline constexpr HRESULT MAPI_E_BAD_COLUMN                  = HRESULT(0x80040118);
inline constexpr HRESULT MAPI_E_EXTENDED_ERROR              = HRESULT(0x80040119);
inline constexpr HRESULT MAPI_E_COMPUTED                    = HRESULT(0x8004011A);
inline constexpr HRESULT MAPI_E_CORRUPT_DATA                = HRESULT(0x8004011B);
inline constexpr HRESULT MAPI_E_UNCONFIGURED                = HRESULT(0x8004011C);
inline constexpr HRESULT MAPI_E_FAILONEPROVIDER             = HRESULT(0x8004011D);
inline constexpr HRESULT MAPI_E_UNKNOWN_CPID                = HRESULT(0x8004011E);
inline constexpr HRESULT MAPI_E_UNKNOWN_LCID                = HRESULT(0x8004011F);
inline constexpr HRESULT MAPI_E_PASSWORD_CHANGE_REQUIRED    = HRESULT(0x80040120);
inline constexpr HRESULT MAPI_E_PASSWORD_EXPIRED            = HRESULT(0x80040121);
inline constexpr HRESULT MAPI_E_INVALID_WORKSTATION_ACCOUNT = HRESULT(0x80040122);
inline constexpr HRESULT MAPI_E_INVALID_ACCESS_TIME         = HRESULT(0x80040123);
inline constexpr HRESULT MAPI_E_ACCOUNT_DISABLED            = HRESULT(0x80040124);
inline constexpr HRESULT MAPI_E_END_OF_SESSION              = HRESULT(0x80040200);
inline constexpr HRESULT MAPI_E_UNKNOWN_ENTRYID             = HRESULT(0x80040201);
inline constexpr HRESULT MAPI_E_MISSING_REQUIRED_COLUMN     = HRESULT(0x80040202);
inline constexpr HRESULT MAPI_W_NO_SERVICE                  = 0x00040203;
inline constexpr HRESULT MAPI_E_BAD_VALUE                   = HRESULT(0x80040301);
inline constexpr HRESULT MAPI_E_INVALID_TYPE                = HRESULT(0x80040302);
inline constexpr HRESULT MAPI_E_TYPE_NO_SUPPORT             = HRESULT(0x80040303);
inline constexpr HRESULT MAPI_E_UNEXPECTED_TYPE             = HRESULT(0x80040304);
inline constexpr HRESULT MAPI_E_TOO_BIG                     = HRESULT(0x80040305);
inline constexpr HRESULT MAPI_E_DECLINE_COPY                = HRESULT(0x80040306);
inline constexpr HRESULT MAPI_E_UNEXPECTED_ID               = HRESULT(0x80040307);
inline constexpr HRESULT MAPI_W_ERRORS_RETURNED             = 0x00040380;
inline constexpr HRESULT MAPI_E_UNABLE_TO_COMPLETE          = HRESULT(0x80040400);
inline constexpr HRESULT MAPI_E_TIMEOUT                     = HRESULT(0x80040401);
inline constexpr HRESULT MAPI_E_TABLE_EMPTY                 = HRESULT(0x80040402);
inline constexpr HRESULT MAPI_E_TABLE_TOO_BIG               = HRESULT(0x80040403);
inline constexpr HRESULT MAPI_E_INVALID_BOOKMARK            = HRESULT(0x80040405);
inline constexpr HRESULT MAPI_W_POSITION_CHANGED            = 0x00040481;
inline constexpr HRESULT MAPI_W_APPROX_COUNT                = 0x00040482;
inline constexpr HRESULT MAPI_E_WAIT                        = HRESULT(0x80040500);
inline constexpr HRESULT MAPI_E_CANCEL                      = HRESULT(0x80040501);
inline constexpr HRESULT MAPI_E_NOT_ME                      = HRESULT(0x80040502);
inline constexpr HRESULT MAPI_W_CANCEL_MESSAGE              = 0x00040580;
inline constexpr HRESULT MAPI_E_CORRUPT_STORE               = HRESULT(0x80040600);
inline constexpr HRESULT MAPI_E_NOT_IN_QUEUE                = HRESULT(0x80040601);
inline constexpr HRESULT MAPI_E_NO_SUPPRESS                 = HRESULT(0x80040602);
inline constexpr HRESULT MAPI_E_COLLISION                   = HRESULT(0x80040604);
inline constexpr HRESULT MAPI_E_NOT_INITIALIZED             = HRESULT(0x80040605);
inline constexpr HRESULT MAPI_E_NON_STANDARD                = HRESULT(0x80040606);
inline constexpr HRESULT MAPI_E_NO_RECIPIENTS               = HRESULT(0x80040607);
inline constexpr HRESULT MAPI_E_SUBMITTED                   = HRESULT(0x80040608);
inline constexpr HRESULT MAPI_E_HAS_FOLDERS                 = HRESULT(0x80040609);
inline constexpr HRESULT MAPI_E_HAS_MESSAGES                = HRESULT(0x8004060A);
inline constexpr HRESULT MAPI_E_FOLDER_CYCLE                = HRESULT(0x8004060B);
inline constexpr HRESULT MAPI_W_PARTIAL_COMPLETION          = 0x00040680;
inline constexpr HRESULT MAPI_E_AMBIGUOUS_RECIP             = HRESULT(0x80040700);
inline constexpr HRESULT hrSuccess                          = 0x00000000;
inline constexpr HRESULT MAPI_E_RECONNECTED                 = HRESULT(0x80040125);
inline constexpr HRESULT MAPI_E_OFFLINE                     = HRESULT(0x80040126);
inline constexpr HRESULT MAPI_E_STORE_FULL                  = HRESULT(0x8004060C);
// clang-format on

} // namespace mapi

// Where the Windows headers had these as macros, their own names keep working.
#ifdef DEFTMAPI_GLOBAL_RESULT_CODES
using mapi::E_ABORT;
using mapi::E_ACCESSDENIED;
using mapi::E_FAIL;
using mapi::E_HANDLE;
using mapi::E_INVALIDARG;
using mapi::E_NOINTERFACE;
using mapi::E_NOTIMPL;
using mapi::E_OUTOFMEMORY;
using mapi::E_PENDING;
using mapi::E_POINTER;
using mapi::E_UNEXPECTED;
using mapi::S_FALSE;
using mapi::S_OK;
using mapi::STG_E_ACCESSDENIED;
using mapi::STG_E_CANTSAVE;
using mapi::STG_E_EXTANTMARSHALLINGS;
using mapi::STG_E_FILEALREADYEXISTS;
using mapi::STG_E_FILENOTFOUND;
using mapi::STG_E_INSUFFICIENTMEMORY;
using mapi::STG_E_INVALIDFLAG;
using mapi::STG_E_INVALIDFUNCTION;
using mapi::STG_E_INVALIDHANDLE;
using mapi::STG_E_INVALIDNAME;
using mapi::STG_E_INVALIDPARAMETER;
using mapi::STG_E_INVALIDPOINTER;
using mapi::STG_E_MEDIUMFULL;
using mapi::STG_E_NOTCURRENT;
using mapi::STG_E_PATHNOTFOUND;
using mapi::STG_E_READFAULT;
using mapi::STG_E_REVERTED;
using mapi::STG_E_SEEKERROR;
using mapi::STG_E_SHAREVIOLATION;
using mapi::STG_E_TERMINATED;
using mapi::STG_E_WRITEFAULT;
#endif
