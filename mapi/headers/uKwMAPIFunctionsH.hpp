// Pointer types of the entry points of a MAPI client library, which are looked up by name at run time. Each type is
// called LP and the name of the function in capitals.
#pragma once

#include "mapi/headers/uKwMAPISessionH.hpp"
#include "mapi/headers/uKwMAPIUtilH.hpp"
#include "mapi/headers/uKwSimpleMAPIH.hpp"

namespace mapi
{

// Initialisation and log-on.
using LPMAPIINITIALIZE = HRESULT(DEFTMAPI_STDCALL*)(LPVOID lpMapiInit);
using LPMAPIUNINITIALIZE = void(DEFTMAPI_STDCALL*)();
using LPMAPILOGONEX = HRESULT(DEFTMAPI_STDCALL*)(ULONG_PTR ulUIParam, LPTSTR lpszProfileName, LPTSTR lpszPassword,
                                                 ULONG ulFlags, LPMAPISESSION* lppSession);
using LPMAPIADMINPROFILES = HRESULT(DEFTMAPI_STDCALL*)(ULONG ulFlags, LPPROFADMIN* lppProfAdmin);

// Memory.
using LPMAPIALLOCATEBUFFER = SCODE(DEFTMAPI_STDCALL*)(ULONG cbSize, LPVOID* lppBuffer);
using LPMAPIALLOCATEMORE = SCODE(DEFTMAPI_STDCALL*)(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer);
using LPMAPIFREEBUFFER = ULONG(DEFTMAPI_STDCALL*)(LPVOID lpBuffer);
using LPFREEPROWS = void(DEFTMAPI_STDCALL*)(LPSRowSet lpRows);
using LPFREEPADRLIST = void(DEFTMAPI_STDCALL*)(LPADRLIST lpAdrlist);
using LPMAPIGETDEFAULTMALLOC = LPMALLOC(DEFTMAPI_STDCALL*)();

// Utilities.
using LPHRQUERYALLROWS = HRESULT(DEFTMAPI_STDCALL*)(LPMAPITABLE lpTable, LPSPropTagArray lpPropTags,
                                                    LPSRestriction lpRestriction, LPSSortOrderSet lpSortOrderSet,
                                                    LONG crowsMax, LPSRowSet* lppRows);
using LPHRDISPATCHNOTIFICATIONS = HRESULT(DEFTMAPI_STDCALL*)(ULONG ulFlags);
using LPWRAPCOMPRESSEDRTFSTREAM = HRESULT(DEFTMAPI_STDCALL*)(LPSTREAM lpCompressedRTFStream, ULONG ulFlags,
                                                             LPSTREAM* lpUncompressedRTFStream);
using LPRTFSYNC = HRESULT(DEFTMAPI_STDCALL*)(LPMESSAGE lpMessage, ULONG ulFlags, BOOL* lpfMessageUpdated);
using LPSCCREATECONVERSATIONINDEX = SCODE(DEFTMAPI_STDCALL*)(ULONG cbParent, LPBYTE lpbParent, ULONG* lpcbConvIndex,
                                                             LPBYTE* lppbConvIndex);

// Messages on structured storage.
using LPOPENIMSGSESSION = SCODE(DEFTMAPI_STDCALL*)(LPMALLOC lpMalloc, ULONG ulFlags, LPMSGSESS* lppMsgSess);
using LPCLOSEIMSGSESSION = void(DEFTMAPI_STDCALL*)(LPMSGSESS lpMsgSess);
using LPOPENIMSGONISTG = SCODE(DEFTMAPI_STDCALL*)(LPMSGSESS lpMsgSess, LPALLOCATEBUFFER lpAllocateBuffer,
                                                  LPALLOCATEMORE lpAllocateMore, LPFREEBUFFER lpFreeBuffer,
                                                  LPMALLOC lpMalloc, LPVOID lpMapiSup, LPSTORAGE lpStg,
                                                  MSGCALLRELEASE* lpfMsgCallRelease, ULONG ulCallerData, ULONG ulFlags,
                                                  LPMESSAGE* lppMsg);
using LPGETATTRIBIMSGONISTG = HRESULT(DEFTMAPI_STDCALL*)(LPVOID lpObject, LPSPropTagArray lpPropTagArray,
                                                         LPSPropAttrArray* lppPropAttrArray);
using LPSETATTRIBIMSGONISTG = HRESULT(DEFTMAPI_STDCALL*)(LPVOID lpObject, LPSPropTagArray lpPropTags,
                                                         LPSPropAttrArray lpPropAttrs,
                                                         LPSPropProblemArray* lppPropProblems);
using LPMAPSTORAGESCODE = SCODE(DEFTMAPI_STDCALL*)(SCODE StgSCode);

// Simple MAPI.
using LPMAPILOGON = ULONG(DEFTMAPI_STDCALL*)(ULONG_PTR ulUIParam, LPSTR lpszProfileName, LPSTR lpszPassword,
                                             FLAGS flFlags, ULONG ulReserved, LPLHANDLE lplhSession);
using LPMAPILOGOFF = ULONG(DEFTMAPI_STDCALL*)(LHANDLE lhSession, ULONG_PTR ulUIParam, FLAGS flFlags, ULONG ulReserved);
using LPMAPISENDMAIL = ULONG(DEFTMAPI_STDCALL*)(LHANDLE lhSession, ULONG_PTR ulUIParam, lpMapiMessage lpMessage,
                                                FLAGS flFlags, ULONG ulReserved);
using LPMAPISENDDOCUMENTS = ULONG(DEFTMAPI_STDCALL*)(ULONG_PTR ulUIParam, LPSTR lpszDelimChar, LPSTR lpszFilePaths,
                                                     LPSTR lpszFileNames, ULONG ulReserved);
using LPMAPIFINDNEXT = ULONG(DEFTMAPI_STDCALL*)(LHANDLE lhSession, ULONG_PTR ulUIParam, LPSTR lpszMessageType,
                                                LPSTR lpszSeedMessageID, FLAGS flFlags, ULONG ulReserved,
                                                LPSTR lpszMessageID);
using LPMAPIREADMAIL = ULONG(DEFTMAPI_STDCALL*)(LHANDLE lhSession, ULONG_PTR ulUIParam, LPSTR lpszMessageID,
                                                FLAGS flFlags, ULONG ulReserved, lpMapiMessage* lppMessage);
using LPMAPISAVEMAIL = ULONG(DEFTMAPI_STDCALL*)(LHANDLE lhSession, ULONG_PTR ulUIParam, lpMapiMessage lpMessage,
                                                FLAGS flFlags, ULONG ulReserved, LPSTR lpszMessageID);
using LPMAPIDELETEMAIL = ULONG(DEFTMAPI_STDCALL*)(LHANDLE lhSession, ULONG_PTR ulUIParam, LPSTR lpszMessageID,
                                                  FLAGS flFlags, ULONG ulReserved);
using LPMAPIADDRESS = ULONG(DEFTMAPI_STDCALL*)(LHANDLE lhSession, ULONG_PTR ulUIParam, LPSTR lpszCaption,
                                               ULONG nEditFields, LPSTR lpszLabels, ULONG nRecips,
                                               lpMapiRecipDesc lpRecips, FLAGS flFlags, ULONG ulReserved,
                                               LPULONG lpnNewRecips, lpMapiRecipDesc* lppNewRecips);
using LPMAPIDETAILS = ULONG(DEFTMAPI_STDCALL*)(LHANDLE lhSession, ULONG_PTR ulUIParam, lpMapiRecipDesc lpRecip,
                                               FLAGS flFlags, ULONG ulReserved);
using LPMAPIRESOLVENAME = ULONG(DEFTMAPI_STDCALL*)(LHANDLE lhSession, ULONG_PTR ulUIParam, LPSTR lpszName,
                                                   FLAGS flFlags, ULONG ulReserved, lpMapiRecipDesc* lppRecip);

} // namespace mapi
