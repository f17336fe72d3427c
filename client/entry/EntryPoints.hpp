// The functions that the client library exports, under the names and with the parameters of the platform. An
// application looks them up by name; this header is for the module itself and for its tests.
#pragma once

#include "mapi/headers/uKwMAPIHeaders.hpp"

#ifdef _WIN32
#define DEFTMAPI_ENTRY extern "C" __declspec(dllexport)
#else
#define DEFTMAPI_ENTRY extern "C" __attribute__((visibility("default")))
#endif

/// Must succeed once before MAPILogonEx and MAPIAdminProfiles; each success asks for one MAPIUninitialize. Any thread
/// may do it for the process. Per thread it decides where notifications arrive: with MAPI_MULTITHREAD_NOTIFICATIONS on
/// a thread of the client, else on this thread when it calls HrDispatchNotifications, a session or a table. The first
/// initialisation of a thread counts; a thread without one shares the choice of the thread that came first.
/// @param options  MAPIINIT_0, or null
DEFTMAPI_ENTRY mapi::HRESULT DEFTMAPI_STDCALL MAPIInitialize(mapi::LPVOID options) noexcept;
/// The last one ends all notifications.
DEFTMAPI_ENTRY void DEFTMAPI_STDCALL MAPIUninitialize() noexcept;
DEFTMAPI_ENTRY mapi::HRESULT DEFTMAPI_STDCALL MAPILogonEx(mapi::ULONG_PTR window, mapi::LPTSTR profile,
                                                          mapi::LPTSTR password, mapi::ULONG flags,
                                                          mapi::LPMAPISESSION* session) noexcept;
DEFTMAPI_ENTRY mapi::HRESULT DEFTMAPI_STDCALL MAPIAdminProfiles(mapi::ULONG flags, mapi::LPPROFADMIN* admin) noexcept;

DEFTMAPI_ENTRY mapi::SCODE DEFTMAPI_STDCALL MAPIAllocateBuffer(mapi::ULONG size, mapi::LPVOID* buffer) noexcept;
DEFTMAPI_ENTRY mapi::SCODE DEFTMAPI_STDCALL MAPIAllocateMore(mapi::ULONG size, mapi::LPVOID parent,
                                                             mapi::LPVOID* buffer) noexcept;
DEFTMAPI_ENTRY mapi::ULONG DEFTMAPI_STDCALL MAPIFreeBuffer(mapi::LPVOID buffer) noexcept;
DEFTMAPI_ENTRY void DEFTMAPI_STDCALL FreeProws(mapi::LPSRowSet rows) noexcept;
DEFTMAPI_ENTRY void DEFTMAPI_STDCALL FreePadrlist(mapi::LPADRLIST list) noexcept;
DEFTMAPI_ENTRY mapi::LPMALLOC DEFTMAPI_STDCALL MAPIGetDefaultMalloc() noexcept;

DEFTMAPI_ENTRY mapi::HRESULT DEFTMAPI_STDCALL HrQueryAllRows(mapi::LPMAPITABLE table, mapi::LPSPropTagArray columns,
                                                             mapi::LPSRestriction restriction,
                                                             mapi::LPSSortOrderSet order, mapi::LONG maximum,
                                                             mapi::LPSRowSet* rows) noexcept;
/// Delivers the notifications that wait for this thread. Inside a callback it does nothing.
DEFTMAPI_ENTRY mapi::HRESULT DEFTMAPI_STDCALL HrDispatchNotifications(mapi::ULONG flags) noexcept;
/// A sink that calls `callback` with `context`.
DEFTMAPI_ENTRY mapi::HRESULT DEFTMAPI_STDCALL HrAllocAdviseSink(mapi::LPNOTIFCALLBACK callback, mapi::LPVOID context,
                                                                mapi::LPMAPIADVISESINK* sink) noexcept;
/// A sink that passes its notifications on to `sink` on the calling thread, whichever thread they come from: those from
/// other threads arrive when the calling thread dispatches.
DEFTMAPI_ENTRY mapi::HRESULT DEFTMAPI_STDCALL HrThisThreadAdviseSink(mapi::LPMAPIADVISESINK sink,
                                                                     mapi::LPMAPIADVISESINK* wrapped) noexcept;
DEFTMAPI_ENTRY mapi::SCODE DEFTMAPI_STDCALL ScCreateConversationIndex(mapi::ULONG parentSize, mapi::LPBYTE parent,
                                                                      mapi::ULONG* size, mapi::LPBYTE* index) noexcept;

/// The class factory of the MIME converter (CLSID_IConverterSession), when the client was built with it.
DEFTMAPI_ENTRY mapi::HRESULT DEFTMAPI_STDCALL DllGetClassObject(mapi::REFCLSID clsid, mapi::REFIID iid,
                                                                mapi::LPVOID* object) noexcept;
/// S_OK when no object and no buffer is alive, MAPI is not initialised and no thread of the client runs.
DEFTMAPI_ENTRY mapi::HRESULT DEFTMAPI_STDCALL DllCanUnloadNow() noexcept;
