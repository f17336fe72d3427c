// Entries of extended MAPI. The decorated names are the 32-bit exports of client libraries that offer no plain one.
#include "mapi/core/uKwMAPIxH.hpp"

#include "mapi/core/MAPIModule.hpp"

namespace deftmapi
{

namespace
{

constinit TKwMAPIFunction<mapi::LPFREEPROWS> entryFreeProws("FreeProws", "FreeProws@4");
constinit TKwMAPIFunction<mapi::LPFREEPADRLIST> entryFreePadrlist("FreePadrlist", "FreePadrlist@4");
constinit TKwMAPIFunction<mapi::LPWRAPCOMPRESSEDRTFSTREAM> entryWrapCompressedRTFStream("WrapCompressedRTFStream",
                                                                                        "WrapCompressedRTFStream@12");
constinit TKwMAPIFunction<mapi::LPRTFSYNC> entryRTFSync("RTFSync", "RTFSync@12");
constinit TKwMAPIFunction<mapi::LPHRQUERYALLROWS> entryHrQueryAllRows("HrQueryAllRows", "HrQueryAllRows@24");
constinit TKwMAPIFunction<mapi::LPHRDISPATCHNOTIFICATIONS> entryHrDispatchNotifications("HrDispatchNotifications",
                                                                                        "HrDispatchNotifications@4");
constinit TKwMAPIFunction<mapi::LPMAPIGETDEFAULTMALLOC> entryMAPIGetDefaultMalloc("MAPIGetDefaultMalloc",
                                                                                  "MAPIGetDefaultMalloc@0");
constinit TKwMAPIFunction<mapi::LPMAPIINITIALIZE> entryMAPIInitialize("MAPIInitialize");
constinit TKwMAPIFunction<mapi::LPMAPIUNINITIALIZE> entryMAPIUninitialize("MAPIUninitialize");
constinit TKwMAPIFunction<mapi::LPMAPILOGONEX> entryMAPILogonEx("MAPILogonEx");
constinit TKwMAPIFunction<mapi::LPMAPIADMINPROFILES> entryMAPIAdminProfiles("MAPIAdminProfiles");

} // namespace

void FreeProws(mapi::LPSRowSet lpRows)
{
    entryFreeProws(lpRows);
}

void FreePadrlist(mapi::LPADRLIST lpAdrlist)
{
    entryFreePadrlist(lpAdrlist);
}

mapi::HRESULT WrapCompressedRTFStream(mapi::LPSTREAM lpCompressedRTFStream, mapi::ULONG ulFlags,
                                      mapi::LPSTREAM* lpUncompressedRTFStream)
{
    return entryWrapCompressedRTFStream(lpCompressedRTFStream, ulFlags, lpUncompressedRTFStream);
}

mapi::HRESULT RTFSync(mapi::LPMESSAGE lpMessage, mapi::ULONG ulFlags, mapi::BOOL* lpfMessageUpdated)
{
    return entryRTFSync(lpMessage, ulFlags, lpfMessageUpdated);
}

mapi::HRESULT HrQueryAllRows(mapi::LPMAPITABLE lpTable, mapi::LPSPropTagArray lpPropTags,
                             mapi::LPSRestriction lpRestriction, mapi::LPSSortOrderSet lpSortOrderSet,
                             mapi::LONG crowsMax, mapi::LPSRowSet* lppRows)
{
    return entryHrQueryAllRows(lpTable, lpPropTags, lpRestriction, lpSortOrderSet, crowsMax, lppRows);
}

mapi::HRESULT HrDispatchNotifications(mapi::ULONG ulFlags)
{
    return entryHrDispatchNotifications(ulFlags);
}

mapi::LPMALLOC MAPIGetDefaultMalloc()
{
    return entryMAPIGetDefaultMalloc();
}

mapi::HRESULT MAPIInitialize(mapi::LPVOID lpMapiInit)
{
    return entryMAPIInitialize(lpMapiInit);
}

void MAPIUninitialize()
{
    entryMAPIUninitialize();
}

mapi::HRESULT MAPILogonEx(mapi::ULONG_PTR ulUIParam, mapi::LPTSTR lpszProfileName, mapi::LPTSTR lpszPassword,
                          mapi::ULONG ulFlags, mapi::LPMAPISESSION* lppSession)
{
    return entryMAPILogonEx(ulUIParam, lpszProfileName, lpszPassword, ulFlags, lppSession);
}

mapi::HRESULT MAPIAdminProfiles(mapi::ULONG ulFlags, mapi::LPPROFADMIN* lppProfAdmin)
{
    return entryMAPIAdminProfiles(ulFlags, lppProfAdmin);
}

} // namespace deftmapi
