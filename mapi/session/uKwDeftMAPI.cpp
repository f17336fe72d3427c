// The session apart from logging on and off: the client library, errors, lists and events.
#include "mapi/session/uKwDeftMAPI.hpp"

#include "mapi/core/ConnectSink.hpp"
#include "mapi/core/FirstFailure.hpp"
#include "mapi/core/MAPIModule.hpp"
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/session/SessionSink.hpp"
#include "support/platform/uKwPlatform.hpp"
#include "support/uKwFormat.hpp"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace deftmapi
{

namespace
{

constexpr auto sMustLogon = u"You must logon before you can execute %s!";
constexpr auto sNeedsExtendedMAPI = u"The %s can only be used in combination with Extended MAPI!";
constexpr auto sLoadFailed = u"Failed to load the MAPI library (%s)!";
constexpr auto sNoExtendedMAPI = u"Extended MAPI is not supported by the loaded MAPI library (%s)!";
constexpr auto sClientWhileActive =
    u"%s.SetMAPIClient failed, because the session is already active. Please logoff first!";
constexpr auto sClientNotInstalled = u"%s.SetMAPIClient failed. \"%s\" is not installed on this system!";
constexpr auto sVersion = u"%d.%d.%d.%d 64-bit";

// The last session object of a thread uninitialises MAPI for it.
TKwThreadCounts& ThreadSessions()
{
    static TKwThreadCounts& counts = *new TKwThreadCounts; // for ever: a session in a global may end after the statics
    return counts;
}
constinit std::atomic<std::int32_t> AllSessions = 0;

constinit std::atomic<mapi::ULONG_PTR> AppHandle = 0;

// The sessions that may have MAPI objects without being logged on.
struct TUsers
{
    std::recursive_mutex Lock; // an object that is dropped may be the last one of its session
    std::vector<TSession*> Sessions;

    /// For ever: a session in a global may end after the statics.
    static TUsers& Instance()
    {
        static TUsers& users = *new TUsers;
        return users;
    }
    void Add(TSession& session)
    {
        const std::lock_guard lock(Lock);
        if (std::find(Sessions.begin(), Sessions.end(), &session) == Sessions.end())
            Sessions.push_back(&session);
    }
    void Remove(TSession& session) noexcept
    {
        const std::lock_guard lock(Lock);
        std::erase(Sessions, &session);
    }
};

} // namespace

TSession::TSession()
    : FLogoffInfo(KwMake<TKwMAPILogoffInfoImpl>()), FLogonInfo(KwMake<TKwMAPILogonInfoImpl>(FLogoffInfo)),
      FMAPIInfo(KwMake<TKwMAPIInfo>())
{
    ThreadSessions().Raise();
    ++AllSessions;
}

TSession::~TSession() = default;

void SetAppHandle(mapi::ULONG_PTR window) noexcept
{
    AppHandle = window;
}

mapi::ULONG_PTR TSession::GetAppHandle() const
{
    return AppHandle;
}

TKwRef<IKwMAPISession> TSession::Create()
{
    return KwMake<TSession>();
}

TKwRef<IKwMAPISession> TKwMAPIAutoObjectFactory::CreateComObject()
{
    return TSession::Create();
}

std::int32_t TKwMAPIAutoObjectFactory::LiveSessions() noexcept
{
    return AllSessions;
}

TKwRef<IKwMAPISession> CoSessionCreate()
{
    return TKwMAPIAutoObjectFactory::CreateComObject();
}

void TSession::BeforeDestruction() noexcept
{
    const bool last = ThreadSessions().Lower(FHomeThread) == 0;
    --AllSessions;
    FDestroying = true;
    TUsers::Instance().Remove(*this);
    // What fails here has no caller left to go to, and keeps nothing after it from being done.
    const auto attempt = [](auto&& step) {
        try {
            step();
        } catch (...) {
            KwReportServerException(std::current_exception());
        }
    };
    DetachSink(); // waits for a notification that is under way: it may be logging off
    attempt([this] { Set_Active(false); });
    FMAPIInfo.Reset();
    attempt([&] {
        if (last && FHomeThread == KwMAPIThread() && KwMAPIInitialized())
            KwMAPIUninitialize(false);
    });
    TKwMAPISessionBase::BeforeDestruction();
}

mapi::HRESULT TSession::CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error)
{
    return Get_MAPIOBJECT() != nullptr ? MAPISession().GetLastError(result, flags, error) : mapi::S_OK;
}

void TSession::CheckActive(WideView methodName) const
{
    if (!FActive)
        RaiseMustLogon(methodName);
}

void TSession::RaiseMustLogon(WideView methodName)
{
    CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sMustLogon, {methodName})->Raise();
}

void TSession::CheckUsingExtendedMAPI(WideView methodName) const
{
    if (!UsesExtendedMAPI())
        CreateKwMAPIException(KwNotSupported, sNeedsExtendedMAPI, {methodName})->Raise();
}

void TSession::CheckReady(WideView methodName) const
{
    CheckActive(methodName);
    CheckUsingExtendedMAPI(methodName);
}

mapi::IMAPISession& TSession::MAPISession() const
{
    if (Get_MAPIOBJECT() == nullptr)
        CheckUsingExtendedMAPI(u"MAPIOBJECT");
    if (Get_MAPIOBJECT() == nullptr)
        RaiseMustLogon(u"MAPIOBJECT");
    return MAPIObjectAs<mapi::IMAPISession>();
}

mapi::ULONG_PTR TSession::GetParentWindow() const
{
    const mapi::ULONG_PTR kept = FLogonWindow;
    return FActive && kept != 0 ? kept : FreshWindow();
}

mapi::ULONG_PTR TSession::FreshWindow() const
{
    const mapi::ULONG_PTR set = FParentWindow;
    return set != 0 ? set : GetAppHandle();
}

void TSession::Set_ParentWindow(mapi::ULONG_PTR window)
{
    FParentWindow = window;
    FLogonWindow = FreshWindow();
}

WideString TSession::Get_Version() const
{
    return KwFormat(sVersion, {DEFTMAPI_VERSION_NUMBERS});
}

// ---- The client library

void TSession::MAPILoad(const WideString& fileName, WordBool& extendedMAPI, WordBool& loaded)
{
    // The library stays loaded between sessions: clients are slow to load and some do not survive being loaded twice.
    WideString name = fileName;
    bool extended = false;
    extendedMAPI = false;
    loaded = KwTryLoadMAPIDLL(name, extended, false);
    extendedMAPI = extended;
}

WordBool TSession::MAPILoaded() const
{
    return KwMAPIModule() != nullptr;
}

void TSession::MAPIInitialize()
{
    const bool extended = UsesExtendedMAPI();
    // What was initialised for Simple MAPI is no initialisation for Extended MAPI, though its options are the same.
    if (extended && KwMAPIInitialized() && !KwMAPIThreadState().Extended)
        KwMAPIUninitialize(false);
    // With nothing loaded the one below would take the system's library.
    if (!FMAPIClient.empty())
        EnsureLibrary();
    KwMAPIInitialize(FActive ? WordBool(FMultiThreadedLogon) : FLogonInfo->Get_MultiThreadedNotifications(),
                     IsService(), extended, true);
}

WordBool TSession::MAPIInitialized() const
{
    return KwMAPIInitialized();
}

void TSession::MAPIUnitialize()
{
    KwMAPIUninitialize(false);
}

void TSession::MAPIUnload()
{
    KwUnloadDLL();
}

/// The code of MAPI objects is about to go: those of profile administrations and message files, which work without a
/// logon, go before it.
void TSession::BeforeUnload()
{
    TUsers& users = TUsers::Instance();
    const std::lock_guard lock(users.Lock);
    const std::vector<TSession*> sessions = users.Sessions;
    for (TSession* session : sessions) {
        if (std::find(users.Sessions.begin(), users.Sessions.end(), session) == users.Sessions.end())
            continue; // it went with an object of another one
        // Only one that has wrappers, which hold it, may be held here: another may be ending on its own thread.
        if (session->FActive || session->LogoffList().Count() == 0)
            continue;
        const TKwRef<TSession> held(session);
        try {
            session->TKwMAPISessionBase::Set_Active(false);
        } catch (...) {
            KwReportServerException(std::current_exception()); // all the objects are dropped
        }
    }
}

void TSession::EnsureLibrary()
{
    static std::once_flag registered;
    std::call_once(registered, [] { KwRegisterOnUnload(&TSession::BeforeUnload); });
    TUsers::Instance().Add(*this);
    if (!MAPILoaded())
        LoadLibrary(KwFindMAPIDll(FMAPIClient));
}

void TSession::LoadLibrary(const WideString& path)
{
    WordBool extended;
    WordBool loaded;
    MAPILoad(path, extended, loaded);
    if (!loaded)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sLoadFailed, {path})->Raise();
    if (UsesExtendedMAPI() && !extended) {
        const WideString name = KwCurrentMAPIDllFileName();
        MAPIUnload();
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNoExtendedMAPI, {name})->Raise();
    }
}

void TSession::Set_MAPIClient(WideView client)
{
    if (FActive)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sClientWhileActive, {GetClassName()})->Raise();
    const WideString path = KwFindMAPIDll(client);
    if (path.empty() && !client.empty())
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sClientNotInstalled, {GetClassName(), client})->Raise();
    if (MAPILoaded() && !path.empty() && !KwSameText(path, KwCurrentMAPIDllFileName())) {
        TKwMAPIModuleState& state = KwMAPIModuleState();
        const TKwMAPILibraryGuard guard(state.Lock);
        // Where another thread is initialised the unloading is refused: this thread must not lose its own for it.
        if (KwMAPIInitialized() && state.InitializeCount == 1)
            KwMAPIUninitialize(false);
        if (MAPILoaded()) // it may have gone with its last thread
            MAPIUnload();
        LoadLibrary(path);
    }
    FMAPIClient = client;
}

// ---- Lists and definitions

TKwRef<IKwMAPIEntryIDList> TSession::CreateEntryIDList()
{
    return KwMake<TKwMAPIEntryIDList>();
}

TKwRef<IKwMAPIPropList> TSession::CreatePropList()
{
    return KwMake<TKwMAPIPropList>();
}

TKwRef<IKwMAPIValueList> TSession::CreateValueList()
{
    return KwMake<TKwMAPIValueList>();
}

TKwRef<IKwMAPIPropValueList> TSession::CreatePropValueList()
{
    return KwMake<TKwMAPIPropValueList>();
}

TKwMAPIPropDef TSession::RegisterProp(WideView name, std::uint16_t id, std::uint32_t type)
{
    return ::deftmapi::RegisterProp(name, id, type).Hash;
}

TKwMAPIPropDef TSession::RegisterProp(WideView name, const mapi::GUID& set, WideView stringName, std::uint32_t type)
{
    return ::deftmapi::RegisterProp(set, name, stringName, type).Hash;
}

TKwMAPIPropDef TSession::RegisterProp(WideView name, const mapi::GUID& set, std::uint32_t numericId, std::uint32_t type)
{
    return ::deftmapi::RegisterProp(set, name, numericId, type).Hash;
}

// ---- Events

void TSession::DEventConnect(const TKwRef<IKwMAPISessionDEvents>& sink, WordBool connect)
{
    KwConnectSink(FEvents, sink, connect, GetClassName());
}

void TSession::TriggerEvent(TEventHandler handler, void* data)
{
    if (FDestroying)
        return;
    // A sink may drop the application's last reference, and it may raise.
    struct TExecuting
    {
        explicit TExecuting(TSession& session) : FSession(&session) { session.SetExecutingEvents(true); }
        ~TExecuting() { FSession->SetExecutingEvents(false); }
        TExecuting(const TExecuting&) = delete;
        TExecuting& operator=(const TExecuting&) = delete;
        TKwRef<TSession> FSession;
    } const executing(*this);
    TFirstFailure failure;
    FEvents.ForEach([&](IKwMAPISessionDEvents& sink) { failure.Keep([&] { handler(sink, *this, data); }); });
    failure.Raise();
}

void TSession::DoBeforeLogon()
{
    TriggerEvent([](IKwMAPISessionDEvents& sink, TSession& session, void*) { sink.BeforeLogon(session); });
}

void TSession::DoAfterLogon()
{
    TriggerEvent([](IKwMAPISessionDEvents& sink, TSession& session, void*) { sink.AfterLogon(session); });
}

void TSession::DoBeforeLogoff()
{
    TriggerEvent([](IKwMAPISessionDEvents& sink, TSession& session, void*) { sink.BeforeLogoff(session); });
}

void TSession::DoAfterLogoff()
{
    TriggerEvent([](IKwMAPISessionDEvents& sink, TSession& session, void*) { sink.AfterLogoff(session); });
}

void TSession::OutlookFlushQueusEvent(mapi::ULONG flags)
{
    TOutlookFlushQueusEventParams params{flags};
    TriggerEvent(
        [](IKwMAPISessionDEvents& sink, TSession& session, void* data) {
            sink.OutlookFlushQueus(session, static_cast<POutlookFlushQueusEventParams>(data)->Flags);
        },
        &params);
}

} // namespace deftmapi
