// Entries for messages on structured storage. The decorated names are the 32-bit exports of libraries without plain
// ones.
#include "mapi/core/uKwMAPIIMessageH.hpp"

#include "mapi/core/MAPIModule.hpp"

namespace deftmapi
{

namespace
{

constinit TKwMAPIFunction<mapi::LPOPENIMSGSESSION> entryOpenIMsgSession("OpenIMsgSession", "OpenIMsgSession@12");
constinit TKwMAPIFunction<mapi::LPCLOSEIMSGSESSION> entryCloseIMsgSession("CloseIMsgSession", "CloseIMsgSession@4");
constinit TKwMAPIFunction<mapi::LPOPENIMSGONISTG> entryOpenIMsgOnIStg("OpenIMsgOnIStg", "OpenIMsgOnIStg@44");
constinit TKwMAPIFunction<mapi::LPGETATTRIBIMSGONISTG> entryGetAttribIMsgOnIStg("GetAttribIMsgOnIStg",
                                                                                "GetAttribIMsgOnIStg@12");
constinit TKwMAPIFunction<mapi::LPSETATTRIBIMSGONISTG> entrySetAttribIMsgOnIStg("SetAttribIMsgOnIStg",
                                                                                "SetAttribIMsgOnIStg@16");
constinit TKwMAPIFunction<mapi::LPMAPSTORAGESCODE> entryMapStorageSCode("MapStorageSCode", "MapStorageSCode@4");

} // namespace

mapi::SCODE OpenIMsgSession(mapi::LPMALLOC lpMalloc, mapi::ULONG ulFlags, mapi::LPMSGSESS* lppMsgSess)
{
    return entryOpenIMsgSession(lpMalloc, ulFlags, lppMsgSess);
}

void CloseIMsgSession(mapi::LPMSGSESS lpMsgSess)
{
    entryCloseIMsgSession(lpMsgSess);
}

mapi::SCODE OpenIMsgOnIStg(mapi::LPMSGSESS lpMsgSess, mapi::LPALLOCATEBUFFER lpAllocateBuffer,
                           mapi::LPALLOCATEMORE lpAllocateMore, mapi::LPFREEBUFFER lpFreeBuffer,
                           mapi::LPMALLOC lpMalloc, mapi::LPVOID lpMapiSup, mapi::LPSTORAGE lpStg,
                           mapi::MSGCALLRELEASE* lpfMsgCallRelease, mapi::ULONG ulCallerData, mapi::ULONG ulFlags,
                           mapi::LPMESSAGE* lppMsg)
{
    return entryOpenIMsgOnIStg(lpMsgSess, lpAllocateBuffer, lpAllocateMore, lpFreeBuffer, lpMalloc, lpMapiSup, lpStg,
                               lpfMsgCallRelease, ulCallerData, ulFlags, lppMsg);
}

mapi::HRESULT GetAttribIMsgOnIStg(mapi::LPVOID lpObject, mapi::LPSPropTagArray lpPropTagArray,
                                  mapi::LPSPropAttrArray* lppPropAttrArray)
{
    return entryGetAttribIMsgOnIStg(lpObject, lpPropTagArray, lppPropAttrArray);
}

mapi::HRESULT SetAttribIMsgOnIStg(mapi::LPVOID lpObject, mapi::LPSPropTagArray lpPropTags,
                                  mapi::LPSPropAttrArray lpPropAttrs, mapi::LPSPropProblemArray* lppPropProblems)
{
    return entrySetAttribIMsgOnIStg(lpObject, lpPropTags, lpPropAttrs, lppPropProblems);
}

mapi::SCODE MapStorageSCode(mapi::SCODE StgSCode)
{
    return entryMapStorageSCode(StgSCode);
}

} // namespace deftmapi
