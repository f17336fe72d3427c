// Loading and unloading the client library, and initialising it per thread.
#include "mapi/core/uKwMAPILib.hpp"

#include "mapi/core/MAPIDllSearch.hpp"
#include "mapi/core/MAPIModule.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPIxH.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIdefsH.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr auto sUnloadFirst = u"Failed to load (%s)! You must first unload %s.";
constexpr auto sNoSuchFile = u"Failed to load the given MAPI dll (%s)!\r\nThe file does not exist.";
constexpr auto sLoadFailed =
    u"Failed to load the MAPI DLL (%s)!\r\nCheck if the the Microsoft Visual C++ Redistributable is installed "
    u"(VC_redist.x64.exe/VC_redist.x86.exe), install the latest version if this is not the case.\r\nIn some cases it "
    u"may be "
    u"necessary to repair the Outlook installation.";
constexpr auto sStillInitialized = u"MAPI is still initialized!\r\nYou must first unitialize MAPI on all threads!";
constexpr auto sNotLoaded = u"MAPI hasn't been loaded yet!\r\nYou must first load the MAPI dll.";
constexpr auto sSessionsOpen =
    u"There are still active MAPI sessions in this thread. You must close these sessions first!";
constexpr auto sUninitializing =
    u"MAPI is being uninitialized for this thread!\r\nIt cannot be initialized with other options meanwhile.";
constexpr auto sAssertion = u"Assertion failure";

// Results of MAPIInitialize.
constexpr auto sInitParameter = u"KwLoadMAPI failed!\r\nThe Caller passed an invalid parameter or flag.";
constexpr auto sInitService =
    u"KwLoadMAPI failed!\r\n(Windows NT only) The calling process is an NT service and registry keys required by MAPI "
    u"could "
    u"not be initialized.\r\nAdditional information may be available in the application event log.";
constexpr auto sInitVersion = u"KwLoadMAPI failed!\r\nThe version of OLE installed on the workstation is not "
                              u"compatible with this version of MAPI.";
constexpr auto sInitSessionLimit =
    u"KwLoadMAPI failed!\r\nMAPI sets up context specific to the current process.\r\nFailures may occur on Win16 if "
    u"the "
    u"number of processes exceeds a certain number, or on any system if available memory is exhausted.";
constexpr auto sInitResources =
    u"KwLoadMAPI failed!\r\nNot enough system resources were available to complete the operation.";
constexpr auto sInitObject = u"KwLoadMAPI failed!\r\nCheck if system resources are exhausted.";
constexpr auto sInitProfile = u"KwLoadMAPI failed!\r\nThe profile provider has encountered an error.";
constexpr auto sInitNoClient =
    u"There is no MAPI Client Library (like MS Outlook) installed, or it is not the default MAPI client!\r\n"
    u"The loaded dll is: %s";

constexpr WideView unitName = u"uKwMAPILib";
constexpr WideView initializeName = u"KwInitializeMAPI";
constexpr auto systemLibrary = u"MAPI32.dll";

struct TInitializeText
{
    mapi::HRESULT Result;
    const char16_t* Text; // takes the library's file name
};

constexpr TInitializeText initializeTexts[] = {
    {mapi::MAPI_E_INVALID_PARAMETER, sInitParameter}, {mapi::MAPI_E_UNKNOWN_FLAGS, sInitParameter},
    {mapi::MAPI_E_TOO_COMPLEX, sInitService},         {mapi::MAPI_E_VERSION, sInitVersion},
    {mapi::MAPI_E_SESSION_LIMIT, sInitSessionLimit},  {mapi::MAPI_E_NOT_ENOUGH_RESOURCES, sInitResources},
    {mapi::MAPI_E_INVALID_OBJECT, sInitObject},       {mapi::MAPI_E_NOT_INITIALIZED, sInitProfile},
    {mapi::MAPI_E_CALL_FAILED, sInitNoClient},
};

[[noreturn]] void Fail(mapi::HRESULT code, WideView format, std::initializer_list<TKwFormatArg> args)
{
    CreateKwMAPIException(code, format, args)->Raise();
}

[[noreturn]] void Fail(WideView message)
{
    CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, message)->Raise();
}

// A callback may register and unregister others; the round goes over those that were there when it began.
// REQUIRES: the library lock is held, and no round of the kind is under way.
void Run(const std::vector<TKwMAPICallback>& callbacks, bool& running)
{
    struct TRunning
    {
        explicit TRunning(bool& flag) : Flag(flag) { Flag = true; }
        ~TRunning() { Flag = false; }
        TRunning(const TRunning&) = delete;
        TRunning& operator=(const TRunning&) = delete;
        bool& Flag;
    } const underway(running);
    const std::vector<TKwMAPICallback> round = callbacks;
    for (const TKwMAPICallback callback : round)
        callback();
}

void Register(std::vector<TKwMAPICallback> TKwMAPIModuleState::*list, TKwMAPICallback callback)
{
    TKwMAPIModuleState& state = KwMAPIModuleState();
    const TKwMAPILibraryGuard guard(state.Lock);
    (state.*list).push_back(callback);
}

void UnRegister(std::vector<TKwMAPICallback> TKwMAPIModuleState::*list, TKwMAPICallback callback)
{
    TKwMAPIModuleState& state = KwMAPIModuleState();
    const TKwMAPILibraryGuard guard(state.Lock);
    std::vector<TKwMAPICallback>& callbacks = state.*list;
    const auto found = std::find(callbacks.begin(), callbacks.end(), callback);
    if (found != callbacks.end())
        callbacks.erase(found);
}

bool HasFolder(WideView fileName)
{
    return fileName.find_first_of(u"\\/:") != WideView::npos;
}

// A file that does not tell was loaded by the system, so it fits.
bool FitsProcess(const WideString& fileName)
{
    if (!HasFolder(fileName)) // found along the system's search path, not in the current folder
        return true;
    const TKwModuleInfo info = KwReadModuleInfo(fileName);
    return info.FileFormat == TKwModuleInfo::Format::None || info.Is64Bit == KwPlatform().Is64BitProcess();
}

// REQUIRES: the library lock is held, and no on-uninit callback is running.
void UninitializeThread(TKwMAPIModuleState& state, TKwMAPIThreadState& thread)
{
    if (thread.Initialized) {
        if (state.Sessions.Of(KwMAPIThread()) > 0)
            Fail(sSessionsOpen);
        Run(state.OnUninit, state.RunningOnUninit);
        if (state.Sessions.Of(KwMAPIThread()) > 0) // a callback may have logged on
            Fail(sSessionsOpen);
        if (thread.MAPIInitializeCalled && state.MAPIInitializeCalled)
            MAPIUninitialize();
        thread.MAPIInitializeCalled = false;
        --state.InitializeCount;
    }
    thread.Initialized = false;
    state.MAPIInitializeCalled = false;
}

// Returns false when the library stays because a callback has initialised it anew.
// REQUIRES: the library lock is held.
bool Unload(TKwMAPIModuleState& state)
{
    if (state.Module == nullptr || state.RunningOnUnload)
        return true;
    Run(state.OnUnload, state.RunningOnUnload);
    if (state.InitializeCount > 0)
        return false;
    TKwMAPISlot::ForgetAll();
    KwPlatform().FreeModule(std::exchange(state.Module, nullptr));
    state.FileName.clear();
    state.ExtendedAvailable = false;
    return true;
}

void CallMAPIInitialize(mapi::ULONG flags, const WideString& libraryName)
{
    mapi::MAPIINIT_0 options{0, flags};
    const mapi::HRESULT result = MAPIInitialize(flags != 0 ? &options : nullptr);
    if (result == 0)
        return;
    for (const TInitializeText& text : initializeTexts)
        if (text.Result == result)
            Fail(result, text.Text, {libraryName});
    CheckMAPIResult(unitName, initializeName, result);
}

} // namespace

void KwLoadMAPIDLL(WideString& fileName, bool& isExtendedMAPI, bool unloadWithLastUninit)
{
    if (!KwTryLoadMAPIDLL(fileName, isExtendedMAPI, unloadWithLastUninit))
        Fail(mapi::MAPI_E_CALL_FAILED, sLoadFailed, {fileName});
}

bool KwTryLoadMAPIDLL(WideString& fileName, bool& isExtendedMAPI, bool unloadWithLastUninit)
{
    isExtendedMAPI = false;
    TKwMAPIModuleState& state = KwMAPIModuleState();
    const TKwMAPILibraryGuard guard(state.Lock);
    IKwPlatform& platform = KwPlatform();

    fileName = WideString(KwTrim(fileName));
    if (fileName.empty()) {
        fileName = KwFindMAPIDll(KwOutlookClientName);
        if (fileName.empty() || !platform.FileExists(fileName))
            fileName = systemLibrary;
    }

    if (state.Module != nullptr) {
        if (!KwSameText(fileName, state.FileName))
            Fail(mapi::MAPI_E_CALL_FAILED, sUnloadFirst, {fileName, state.FileName});
        isExtendedMAPI = state.ExtendedAvailable;
        return true;
    }

    if (HasFolder(fileName) && !platform.FileExists(fileName))
        Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoSuchFile, {fileName});
    WideString reason;
    const TKwModule module = platform.LoadModule(fileName, reason);
    if (module == nullptr)
        return false;

    state.Module = module;
    state.ExtendedAvailable = FitsProcess(fileName) && platform.FindExport(module, "MAPIInitialize") != nullptr &&
                              platform.FindExport(module, "MAPILogonEx") != nullptr;
    state.FileName = fileName;
    state.UnloadWithLastUninit = unloadWithLastUninit;
    isExtendedMAPI = state.ExtendedAvailable;
    return true;
}

void KwUnloadDLL()
{
    TKwMAPIModuleState& state = KwMAPIModuleState();
    const TKwMAPILibraryGuard guard(state.Lock);
    if (state.InitializeCount > 0 || !Unload(state))
        Fail(sStillInitialized);
}

TKwModule KwMAPIModule()
{
    TKwMAPIModuleState& state = KwMAPIModuleState();
    const TKwMAPILibraryGuard guard(state.Lock);
    return state.Module;
}

WideString KwCurrentMAPIDllFileName()
{
    TKwMAPIModuleState& state = KwMAPIModuleState();
    const TKwMAPILibraryGuard guard(state.Lock);
    return state.FileName;
}

bool KwExtendedMAPIAvailable()
{
    TKwMAPIModuleState& state = KwMAPIModuleState();
    const TKwMAPILibraryGuard guard(state.Lock);
    return state.ExtendedAvailable;
}

void KwMAPIInitialize(bool multiThreadNotifications, bool ntService, bool callMAPIInitialize, bool noCoInit)
{
    TKwMAPIModuleState& state = KwMAPIModuleState();
    const TKwMAPILibraryGuard guard(state.Lock);
    TKwMAPIThreadState& thread = KwMAPIThreadState();

    if (state.Module == nullptr) {
        WideString fileName;
        bool isExtendedMAPI = false;
        KwLoadMAPIDLL(fileName, isExtendedMAPI, true);
        if (callMAPIInitialize && !isExtendedMAPI)
            KwUnloadDLL();
    }
    if (state.Module == nullptr)
        Fail(sNotLoaded);

    if (thread.Initialized) {
        if (thread.MultiThreadNotifications == multiThreadNotifications && thread.NTService == ntService &&
            thread.NoCoInit == noCoInit)
            return;
        if (state.RunningOnUninit)
            Fail(sUninitializing);
        // The library stays even when this was the last thread: it is needed again at once.
        UninitializeThread(state, thread);
    }

    if (callMAPIInitialize) {
        mapi::ULONG flags = 0;
        if (multiThreadNotifications)
            flags |= mapi::MAPI_MULTITHREAD_NOTIFICATIONS;
        if (ntService)
            flags |= mapi::MAPI_NT_SERVICE;
        if (noCoInit)
            flags |= mapi::MAPI_NO_COINIT;
        CallMAPIInitialize(flags, state.FileName);
    }

    state.Sessions.Clear(KwMAPIThread());
    thread = {true, multiThreadNotifications, ntService, noCoInit, true, callMAPIInitialize};
    state.MAPIInitializeCalled = callMAPIInitialize;
    ++state.InitializeCount;
}

void KwMAPIUninitialize(bool unloadDll)
{
    TKwMAPIModuleState& state = KwMAPIModuleState();
    const TKwMAPILibraryGuard guard(state.Lock);
    if (state.RunningOnUninit) {
        state.UnloadAfterUninit |= unloadDll;
        return;
    }
    state.UnloadAfterUninit = unloadDll;
    UninitializeThread(state, KwMAPIThreadState());
    if ((state.UnloadWithLastUninit || state.UnloadAfterUninit) && state.InitializeCount == 0)
        Unload(state);
}

bool KwMAPIInitialized()
{
    return KwMAPIThreadState().Initialized;
}

void KwDisableMAPIUnitialize()
{
    TKwMAPIThreadState& thread = KwMAPIThreadState();
    KwAssert(thread.Initialized, sAssertion, unitName);
    thread.MAPIInitializeCalled = false;
}

std::int32_t KwMAPISessionOpened()
{
    return KwMAPIModuleState().Sessions.Raise();
}

std::int32_t KwMAPISessionClosed() noexcept
{
    return KwMAPISessionClosed(KwMAPIThread());
}

std::int32_t KwMAPISessionClosed(TKwMAPIThread thread) noexcept
{
    return KwMAPIModuleState().Sessions.Lower(thread);
}

void KwRegisterOnUninit(TKwMAPICallback callback)
{
    Register(&TKwMAPIModuleState::OnUninit, callback);
}

void KwUnRegisterOnUninit(TKwMAPICallback callback)
{
    UnRegister(&TKwMAPIModuleState::OnUninit, callback);
}

void KwRegisterOnUnload(TKwMAPICallback callback)
{
    Register(&TKwMAPIModuleState::OnUnload, callback);
}

void KwUnRegisterOnUnload(TKwMAPICallback callback)
{
    UnRegister(&TKwMAPIModuleState::OnUnload, callback);
}

} // namespace deftmapi
