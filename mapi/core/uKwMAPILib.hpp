// The MAPI client library at run time: finding it, loading it, initialising it per thread, logging on. MAPI is never
// linked.
//
// One client library is loaded at a time and cannot be swapped: unload first. Everything here takes one process-wide
// lock, which is held while MAPIInitialize, MAPIUninitialize and the registered callbacks run. The lock is recursive: a
// callback may call what is here (what it may not begin anew stands with KwRegisterOnUninit), but must not wait for
// another thread that does. Initialisation belongs to the calling thread: a thread that ends without
// KwMAPIUninitialize keeps the library loaded for good.
#pragma once

#include "mapi/core/OutlookInfo.hpp"
#include "mapi/headers/uKwMAPISessionH.hpp"
#include "support/platform/uKwPlatform.hpp"
#include "support/uKwRef.hpp"

#include <cstdint>
#include <vector>

namespace deftmapi
{

/// The interface that a client library offers.
enum TKwMAPIClientAPI : std::int32_t
{
    ciSimpleMAPI,
    ciExtendedMAPI
};

// ---- Finding
// ---------------------------------------------------------------------------------------------------------

/// Full path of a mail client's MAPI library, or an empty text. Searches under the current user's root; under the
/// machine's when that yields nothing.
/// @param client  the name under Software\Clients\Mail. Empty takes what is registered there for no client in
///                particular, else what Outlook's detection gives
[[nodiscard]] DEFTMAPI_API WideString KwFindMAPIDll(WideView client);
/// The same under one registry root. A library that this process cannot load, or that offers no extended MAPI, is
/// dropped, except that Outlook's own registration is trusted. For Outlook and the empty client the well-known places
/// and KwGetOutlookInfo are asked when nothing usable is registered under this root; where no Outlook is installed that
/// is the embedded client.
[[nodiscard]] DEFTMAPI_API WideString KwFindMAPIDll(TKwRegistryRoot root, WideView client);

/// 32 or 64, of the client's library file; 0 when the file is no library. `dllFileName` receives the file's name: what
/// KwFindMAPIDll gives, else the registered file that it dropped (of the other bitness, or for Simple MAPI only).
/// @throws EMAPI_CALL_FAILED        KwFindMAPIDll gives nothing, and no existing file is registered for the client
/// @throws EMAPI_INVALID_PARAMETER  the file does not exist
DEFTMAPI_API unsigned KwMAPIClientDLLBitness(WideView client, WideString& dllFileName);

/// A mail client that is registered on this machine and has a library.
struct TKwMAPIClient
{
    WideString Name; ///< as in the registry, for KwFindMAPIDll
    TKwMAPIClientAPI API = ciSimpleMAPI;
    WideString DllFileName; ///< the library, with a full path
    unsigned Bitness = 0;   ///< 32, 64, or 0 when the file does not tell
    TKwRegistryRoot Root{}; ///< where it is registered
    TKwRegistryView View{}; ///< in which half of the registry
    bool IsDefault = false; ///< the user's (else the machine's) default mail client
};

/// The registered mail clients: the current user's, then the machine's, each in the process's own half of the registry
/// and then in the other one. A client that is registered several times appears once, as found first. Clients that have
/// no library file are left out, and so are packaged (store) mail applications, which no other process can load.
/// Outlook always offers extended MAPI; in the process's own half it is looked for as KwFindMAPIDll does, in the other
/// one its registration counts.
[[nodiscard]] DEFTMAPI_API std::vector<TKwMAPIClient> KwGetMAPIClients();

/// What is loaded and what is configured.
struct TKwMAPILibraryInfo
{
    bool Loaded = false;
    bool ExtendedMAPI = false;
    WideString DllFileName;   ///< of the loaded library; empty when none is
    WideString DefaultClient; ///< the default mail client's name; empty where none is set
    WideString Version;       ///< of the MAPI subsystem: as registered, else "1.0.0.1" (extended MAPI) or "1.0.0.0"
};
[[nodiscard]] DEFTMAPI_API TKwMAPILibraryInfo KwGetMAPIInfo();

// ---- Loading
// ---------------------------------------------------------------------------------------------------------

/// Loads a client library. Loading the one that is loaded already does nothing but report. Names are compared without
/// regard to case.
/// @param fileName              empty finds the default; receives the name that was loaded
/// @param isExtendedMAPI        receives whether the library exports MAPIInitialize and MAPILogonEx
/// @param unloadWithLastUninit  unload when the last thread uninitialises
/// @throws EMAPI_CALL_FAILED        another library is loaded, or loading failed
/// @throws EMAPI_INVALID_PARAMETER  the name has a folder and there is no such file
DEFTMAPI_API void KwLoadMAPIDLL(WideString& fileName, bool& isExtendedMAPI, bool unloadWithLastUninit);
/// The same for a client by its registered name; `dllFileName` receives the library's name, which is found as
/// KwMAPIClientDLLBitness does. So the library of a client for Simple MAPI only is loaded, and one of the other bitness
/// fails to load.
/// @throws EMAPI_CALL_FAILED  there is no such library; or as above
DEFTMAPI_API void KwLoadMAPIClientDLL(WideView client, WideString& dllFileName, bool& isExtendedMAPI,
                                      bool unloadWithLastUninit);
/// Unloads. The entry points forget the addresses they have looked up. Does nothing when nothing is loaded, and when an
/// on-unload callback calls it.
/// REQUIRES: no thread is inside a call of the library, and no object of it is alive.
/// @throws EMAPI_CALL_FAILED  a thread is still initialised, or an on-unload callback has initialised one (and not
///                            uninitialised it again): the library stays loaded
DEFTMAPI_API void KwUnloadDLL();

/// The loaded module, or null.
[[nodiscard]] DEFTMAPI_API TKwModule KwMAPIModule();
/// The name it was loaded by, or an empty text.
[[nodiscard]] DEFTMAPI_API WideString KwCurrentMAPIDllFileName();
/// True when the loaded library offers extended MAPI.
[[nodiscard]] DEFTMAPI_API bool KwExtendedMAPIAvailable();

// ---- Initialising
// ----------------------------------------------------------------------------------------------------

/// Initialises MAPI for the calling thread, and loads the default library first when none is loaded (it is then
/// unloaded with the last uninitialisation). Does nothing when the thread is initialised with the same options; with
/// others it is uninitialised first, without unloading. callMAPIInitialize is none of the compared options: a thread
/// that was initialised for Simple MAPI must be uninitialised (KwMAPIUninitialize) before it is initialised for
/// extended MAPI.
/// @param multiThreadNotifications  notifications come on the client's own thread
/// @param ntService                 the process is a Windows service
/// @param callMAPIInitialize        false for Simple MAPI, which needs no MAPIInitialize
/// @param noCoInit                  the thread has initialised COM itself
/// @throws the class of MAPIInitialize's result, with a text that explains it
DEFTMAPI_API void KwMAPIInitialize(bool multiThreadNotifications, bool ntService, bool callMAPIInitialize,
                                   bool noCoInit);
/// Undoes KwMAPIInitialize. Unloads the library when this was the last initialised thread and either unloadDll is set
/// or the library was loaded to be unloaded with the last one. The record that this process called MAPIInitialize ends
/// with the first thread that uninitialises: later ones no longer call MAPIUninitialize. The library stays without an
/// error when an on-unload callback has initialised a thread anew. Called by an on-uninit callback this does nothing
/// but remember unloadDll for the uninitialisation that is under way.
/// @throws EMAPI_CALL_FAILED  sessions are open on this thread, which stays initialised
DEFTMAPI_API void KwMAPIUninitialize(bool unloadDll);
/// True when the calling thread is initialised.
[[nodiscard]] DEFTMAPI_API bool KwMAPIInitialized();
/// From now on the calling thread's uninitialisation leaves out the call of MAPIUninitialize: for a host (an add-in in
/// the mail client, say) whose own MAPI objects on this thread must outlive the library's.
/// @throws EKwAssertionFailed  the thread is not initialised
DEFTMAPI_API void KwDisableMAPIUnitialize();

/// Names a thread of the process; unlike the system's identifiers never used twice.
using TKwMAPIThread = std::uint64_t;
/// The calling thread. Never 0.
[[nodiscard]] DEFTMAPI_API TKwMAPIThread KwMAPIThread() noexcept;

/// Counts a session that was logged on, on the calling thread. While the count is above 0 the thread cannot be
/// uninitialised; KwMAPIInitialize sets it to 0. Returns the new count.
DEFTMAPI_API std::int32_t KwMAPISessionOpened();
/// Counts it off at logoff. Returns the new count, never below 0.
DEFTMAPI_API std::int32_t KwMAPISessionClosed() noexcept;
/// The same for a session of another thread: a logoff that a notification causes runs on the client's thread.
DEFTMAPI_API std::int32_t KwMAPISessionClosed(TKwMAPIThread thread) noexcept;

/// A callback without parameters. It runs under the library lock; what it throws ends the operation and reaches its
/// caller. No round of callbacks begins inside another one of its kind: see KwMAPIUninitialize and KwUnloadDLL.
using TKwMAPICallback = void (*)();
/// Runs before each thread's MAPI is uninitialised, in the order of registration. The thread is still initialised while
/// it runs: KwUnloadDLL fails, and so does KwMAPIInitialize with other options than the thread has. A session that it
/// leaves open ends the uninitialisation as one that was open before.
DEFTMAPI_API void KwRegisterOnUninit(TKwMAPICallback callback);
/// Removes one registration; unknown callbacks are ignored.
DEFTMAPI_API void KwUnRegisterOnUninit(TKwMAPICallback callback);
/// Runs before the library is unloaded, in the order of registration. It may initialise the thread and uninitialise it
/// again; when it leaves it initialised, the library stays loaded.
DEFTMAPI_API void KwRegisterOnUnload(TKwMAPICallback callback);
/// Removes one registration; unknown callbacks are ignored.
DEFTMAPI_API void KwUnRegisterOnUnload(TKwMAPICallback callback);

// ---- Logging on
// ------------------------------------------------------------------------------------------------------

/// Logs on: through MAPILogonEx when the library offers extended MAPI and the flags contain MAPI_EXTENDED, else through
/// Simple MAPI's MAPILogon.
/// @param profileName,password  empty is passed as null. They go out as wide text when the flags contain MAPI_UNICODE
/// and
///                              the call is MAPILogonEx, else in the system ANSI code page
/// @param flags          go to the client as they are; Simple MAPI gets them without MAPI_EXTENDED and MAPI_UNICODE,
/// which
///                       mean something else there
/// @param session        receives the session with one reference (extended MAPI), else null
/// @param sessionHandle  receives the handle (Simple MAPI), else 0
/// @throws EMAPI_CALL_FAILED  no library is loaded, this thread is not initialised, or the handle is 0
/// @throws the class of the client's result
DEFTMAPI_API void KwMAPILogon(mapi::ULONG_PTR parentWindow, WideView profileName, WideView password, mapi::ULONG flags,
                              TKwComPtr<mapi::IMAPISession>& session, mapi::LHANDLE& sessionHandle);
/// Logs off what KwMAPILogon gave: the session (IMAPISession::Logoff, then its reference is dropped), else the handle,
/// else nothing. Both are cleared, also when the client reports a failure.
/// @throws the class of the client's result
DEFTMAPI_API void KwMAPILogoff(mapi::ULONG_PTR parentWindow, mapi::ULONG flags, TKwComPtr<mapi::IMAPISession>& session,
                               mapi::LHANDLE& sessionHandle);

} // namespace deftmapi
