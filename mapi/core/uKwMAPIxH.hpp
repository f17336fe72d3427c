// The functions of extended MAPI, one thin entry each with the function's own name and parameters. An entry looks its
// function up in the loaded client library on first use and hands the result back unchanged: the caller checks it. Each
// one raises EMAPI_CALL_FAILED when the loaded library does not have the function.
#pragma once

#include "mapi/headers/uKwMAPIFunctionsH.hpp"
#include "support/uKwExport.hpp"

namespace deftmapi
{

// Initialisation and log-on. Applications use KwMAPIInitialize and KwMAPILogon, which keep count.
/// lpMapiInit is null or points to a MAPIINIT_0.
DEFTMAPI_API mapi::HRESULT MAPIInitialize(mapi::LPVOID lpMapiInit);
DEFTMAPI_API void MAPIUninitialize();
/// The texts are wide when ulFlags contains MAPI_UNICODE. The session comes with one reference.
DEFTMAPI_API mapi::HRESULT MAPILogonEx(mapi::ULONG_PTR ulUIParam, mapi::LPTSTR lpszProfileName,
                                       mapi::LPTSTR lpszPassword, mapi::ULONG ulFlags, mapi::LPMAPISESSION* lppSession);
/// The administration object comes with one reference.
DEFTMAPI_API mapi::HRESULT MAPIAdminProfiles(mapi::ULONG ulFlags, mapi::LPPROFADMIN* lppProfAdmin);

// Memory.
/// Frees a row set with all its rows; null is allowed.
DEFTMAPI_API void FreeProws(mapi::LPSRowSet lpRows);
/// Frees an address list with all its entries; null is allowed.
DEFTMAPI_API void FreePadrlist(mapi::LPADRLIST lpAdrlist);
/// The allocator comes with one reference.
DEFTMAPI_API mapi::LPMALLOC MAPIGetDefaultMalloc();

// Utilities.
/// All rows of the table into one row set, which the caller frees with FreeProws; crowsMax 0 is no limit.
DEFTMAPI_API mapi::HRESULT HrQueryAllRows(mapi::LPMAPITABLE lpTable, mapi::LPSPropTagArray lpPropTags,
                                          mapi::LPSRestriction lpRestriction, mapi::LPSSortOrderSet lpSortOrderSet,
                                          mapi::LONG crowsMax, mapi::LPSRowSet* lppRows);
/// Delivers the notifications that wait for this thread.
DEFTMAPI_API mapi::HRESULT HrDispatchNotifications(mapi::ULONG ulFlags);
/// The stream of uncompressed RTF comes with one reference and keeps the compressed one alive.
DEFTMAPI_API mapi::HRESULT WrapCompressedRTFStream(mapi::LPSTREAM lpCompressedRTFStream, mapi::ULONG ulFlags,
                                                   mapi::LPSTREAM* lpUncompressedRTFStream);
/// Brings the RTF and the plain text of a message into step.
DEFTMAPI_API mapi::HRESULT RTFSync(mapi::LPMESSAGE lpMessage, mapi::ULONG ulFlags, mapi::BOOL* lpfMessageUpdated);

} // namespace deftmapi
