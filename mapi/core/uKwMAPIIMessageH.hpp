// The functions for messages on structured storage (.msg files), one thin entry each with the function's own name and
// parameters. An entry looks its function up in the loaded client library on first use and hands the result back
// unchanged: the caller checks it. Each one raises EMAPI_CALL_FAILED when the loaded library does not have the
// function.
#pragma once

#include "mapi/headers/uKwMAPIFunctionsH.hpp"
#include "support/uKwExport.hpp"

namespace deftmapi
{

/// A session groups messages opened on storages, so that closing it closes them all. The caller closes it with
/// CloseIMsgSession.
DEFTMAPI_API mapi::SCODE OpenIMsgSession(mapi::LPMALLOC lpMalloc, mapi::ULONG ulFlags, mapi::LPMSGSESS* lppMsgSess);
DEFTMAPI_API void CloseIMsgSession(mapi::LPMSGSESS lpMsgSess);
/// Opens a message on lpStg; the session may be null. The message comes with one reference and holds one on the
/// storage.
DEFTMAPI_API mapi::SCODE OpenIMsgOnIStg(mapi::LPMSGSESS lpMsgSess, mapi::LPALLOCATEBUFFER lpAllocateBuffer,
                                        mapi::LPALLOCATEMORE lpAllocateMore, mapi::LPFREEBUFFER lpFreeBuffer,
                                        mapi::LPMALLOC lpMalloc, mapi::LPVOID lpMapiSup, mapi::LPSTORAGE lpStg,
                                        mapi::MSGCALLRELEASE* lpfMsgCallRelease, mapi::ULONG ulCallerData,
                                        mapi::ULONG ulFlags, mapi::LPMESSAGE* lppMsg);
/// The attributes (read-only, required …) of properties; the caller frees the array with MAPIFreeBuffer.
DEFTMAPI_API mapi::HRESULT GetAttribIMsgOnIStg(mapi::LPVOID lpObject, mapi::LPSPropTagArray lpPropTagArray,
                                               mapi::LPSPropAttrArray* lppPropAttrArray);
/// lppPropProblems may be null; the caller frees what it receives with MAPIFreeBuffer.
DEFTMAPI_API mapi::HRESULT SetAttribIMsgOnIStg(mapi::LPVOID lpObject, mapi::LPSPropTagArray lpPropTags,
                                               mapi::LPSPropAttrArray lpPropAttrs,
                                               mapi::LPSPropProblemArray* lppPropProblems);
/// The MAPI code for a structured-storage code.
DEFTMAPI_API mapi::SCODE MapStorageSCode(mapi::SCODE StgSCode);

} // namespace deftmapi
