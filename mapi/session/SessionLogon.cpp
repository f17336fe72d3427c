// Logging on and off. The order of the steps, and of the events between them, is what applications rely on.
#include "mapi/admin/uKwMAPIAdmin.hpp"
#include "mapi/core/FirstFailure.hpp"
#include "mapi/core/uKwMAPILib.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/session/SessionSink.hpp"
#include "mapi/table/uKwMAPITable.hpp"

#include <unordered_set>

namespace deftmapi
{

namespace
{

constexpr auto sNoExtendedMAPI = u"Extended MAPI is not supported by the loaded MAPI library (%s)!";

constexpr auto ExchangeClient = u"ExchangeMAPI";
constexpr auto ExchangeService = u"MSEMS";

// Both set: the profile works with a local copy of its mailbox.
constexpr std::int32_t ConnectedWithCache = 0x8000; // in PR_PROFILE_CONNECT_FLAGS
constexpr std::int32_t StateWithCache = 0x4000;     // in PR_PROFILE_UI_STATE

} // namespace

void TSession::Set_Active(WordBool active)
{
    // A sink may drop the last reference in the middle.
    const TKwRef<TSession> self(this);
    if (active)
        DoLogon();
    else
        DoLogoff(false);
}

/// Only the session's own thread waits: the client's thread may be what a logoff on that one waits for.
void TSession::AwaitLogoffElsewhere(std::unique_lock<std::mutex>& lock)
{
    const TKwMAPIThread own = KwMAPIThread();
    if (own == FHomeThread)
        FLogoffDone.wait(lock, [&] { return !FLoggingOff || FLogoffThread == own; });
}

void TSession::DoLogon()
{
    {
        std::unique_lock lock(FStateLock);
        AwaitLogoffElsewhere(lock);
        // A sink that asks for what is just being done gets it without a second round.
        if (FActive || FLoggingOn)
            return;
        FLoggingOn = true;
        FLogoffAsked = false;
    }
    const auto finish = [this](bool loggedOn) {
        const std::lock_guard lock(FStateLock);
        FLoggingOn = false;
        FLoggedOnInLogoff = FLoggingOff && loggedOn;
        return std::exchange(FLogoffAsked, false);
    };
    try {
        TKwMAPISessionBase::Set_Active(true);
        InternalLogon();
    } catch (...) {
        finish(false);
        throw;
    }
    if (finish(true))
        DoLogoff(false);
}

void TSession::DoLogoff(bool fromClient)
{
    {
        std::unique_lock lock(FStateLock);
        if (!fromClient)
            AwaitLogoffElsewhere(lock);
        if (!FActive)
            return;
        if (FLoggingOn) {
            FLogoffAsked = true; // the logon has calls under way that need what a logoff clears
            return;
        }
        if (FLoggingOff) {
            // What is logged on now is what is being logged off, unless a sink has logged on once more.
            FLogoffAsked = FLogoffAsked || FLoggedOnInLogoff;
            return;
        }
        FLoggingOff = true;
        FLogoffThread = KwMAPIThread();
    }
    TFirstFailure failure;
    for (bool again = true; again;) {
        failure.Keep([this] { TKwMAPISessionBase::Set_Active(false); });
        failure.Keep([this] { InternalLogoff(); });
        const std::lock_guard lock(FStateLock);
        FLoggedOnInLogoff = false;
        again = std::exchange(FLogoffAsked, false);
        FLoggingOff = again;
        // Under the lock: whoever waits may end the session.
        if (!again)
            FLogoffDone.notify_all();
    }
    failure.Raise();
}

// ---- Logon

void TSession::InternalLogon()
{
    std::vector<TKwRef<TKwMAPIWrapper>> openBefore;
    try {
        LogonSteps(openBefore);
    } catch (...) {
        TFirstFailure failure;
        failure.Keep([] { throw; });
        if (FActive) // what a sink has opened already
            failure.Keep([&] { DropOpenedSince(openBefore); });
        failure.Keep([this] { InternalLogoff2(); });
        ForgetLogon();
        if (FCounted.exchange(false))
            KwMAPISessionClosed();
        failure.Raise();
    }
}

/// What the failed logon leaves alone is kept alive by the caller, so that its addresses are nobody else's.
void TSession::DropOpenedSince(const std::vector<TKwRef<TKwMAPIWrapper>>& before)
{
    std::unordered_set<const TKwMAPIWrapper*> kept;
    for (const auto& wrapper : before)
        kept.insert(wrapper.Get());
    TFirstFailure failure;
    const std::vector<TKwMAPIWrapper*> wrappers = LogoffList().Snapshot();
    for (auto it = wrappers.rbegin(); it != wrappers.rend(); ++it) {
        if (kept.contains(*it) || !LogoffList().Contains(*it))
            continue;
        const TKwRef<TKwMAPIWrapper> wrapper(*it);
        failure.Keep([&] { wrapper->SetMAPIOBJECT(nullptr); });
        failure.Keep([&] { wrapper->TKwMAPIWrapper::SetMAPIOBJECT(nullptr); }); // inactive all the same
    }
    failure.Raise();
}

void TSession::LogonSteps(std::vector<TKwRef<TKwMAPIWrapper>>& openBefore)
{
    DoBeforeLogon();
    EnsureLibrary();
    MAPIInitialize();
    FLogonWindow = FreshWindow();

    mapi::ULONG flags = FLogonInfo->Flags();
    if (GetCanUseUnicode())
        flags |= mapi::MAPI_UNICODE;
    SetMAPIOBJECT(nullptr);
    TKwComPtr<mapi::IMAPISession> session;
    KwMAPILogon(FLogonWindow, FLogonInfo->Get_ProfileName(), FLogonInfo->Get_Password(), flags, session,
                FSessionHandle);
    if (FLogonInfo->Get_UseExtendedMAPI() && !session)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNoExtendedMAPI, {KwCurrentMAPIDllFileName()})->Raise();
    SetMAPIOBJECT(session.Get());
    FExtendedLogon = session != nullptr;
    FMultiThreadedLogon = FLogonInfo->Get_MultiThreadedNotifications();
    FServiceLogon = FLogonInfo->Get_NTService();
    for (TKwMAPIWrapper* wrapper : LogoffList().Snapshot())
        openBefore.emplace_back(wrapper);
    FActive = true;
    FLogonThread = KwMAPIThread();
    FJoinedSession = !FLogonInfo->Get_NewSession();
    FServiceAlone = FServiceLogon && !FLogonInfo->Get_Shared();
    KwMAPISessionOpened();
    FCounted = true;

    if (UsesExtendedMAPI() && Get_MAPIOBJECT() != nullptr) {
        AdviseSession();
        FConnectedToExchange = DetectExchange();
        FCachedExchangeMode = FConnectedToExchange && DetectCachedMode();
    }
    DoAfterLogon();
}

void TSession::AdviseSession()
{
    const TKwComPtr<TSink> sink(new TSink(*this));
    {
        const std::lock_guard lock(FSinkLock);
        FSink = sink;
    }
    mapi::ULONG_PTR connection = 0;
    const mapi::HRESULT hr = MAPISession().Advise(0, nullptr, mapi::fnevExtended, sink.Get(), &connection);
    {
        const std::lock_guard lock(FSinkLock);
        FConnection = connection;
    }
    // Without support for it there is no shared session whose end could be told.
    if (hr == mapi::MAPI_E_NO_SUPPORT)
        UnadviseSession();
    else
        CheckMAPIResult(*this, u"Advise", hr);
}

WideString TSession::ClientName() const
{
    return FMAPIClient.empty() ? KwGetMAPIInfo().DefaultClient : FMAPIClient;
}

bool TSession::DetectExchange()
{
    if (KwSameText(ClientName(), ExchangeClient))
        return true;
    TKwComPtr<mapi::IMsgServiceAdmin> admin;
    const mapi::HRESULT hr = MAPISession().AdminServices(0, Out(admin));
    if (hr == mapi::MAPI_E_NO_SUPPORT)
        return false; // a client without message services has none for Exchange
    CheckMAPIResult(*this, u"AdminServices", hr);
    const auto services = KwMake<TKwMAPIAdminServices>(*this, admin.Get(), true)->GetMsgServiceTable();
    services->Get_Fields()->Add(PR_SERVICE_NAME_A);
    for (services->First(); !services->Get_EOF(); services->Next())
        if (services->GetFieldValue(PR_SERVICE_NAME_A).AsStringW() == ExchangeService)
            return true;
    return false;
}

bool TSession::DetectCachedMode()
{
    const auto global = FindGlobalSection();
    const auto isSet = [&](TKwMAPIPropDef def, std::int32_t bit) {
        const TKwVariant value = global ? global->PropByName(def)->Get_Value() : TKwVariant();
        return !value.IsEmptyOrNull() && (value.AsInteger() & bit) != 0;
    };
    if (isSet(PR_PROFILE_CONNECT_FLAGS, ConnectedWithCache) && isSet(PR_PROFILE_UI_STATE, StateWithCache))
        return true;
    // A store that cannot be opened now has no local copy. Whoever needs the store is told when he opens it.
    try {
        const auto store = OpenStore(GetDefaultMsgStoreID(), alReadOnly, mapi::MDB_NO_DIALOG);
        const TKwVariant support = store->PropByName(PR_STORE_SUPPORT_MASK)->Get_Value();
        return !support.IsEmptyOrNull() &&
               (static_cast<mapi::ULONG>(support.AsInteger()) & mapi::STORE_LOCALSTORE) != 0;
    } catch (const EKwMAPIException&) {
        return false;
    } catch (const EKwMAPIAbort&) { // somebody was asked all the same, and said no
        return false;
    }
}

// ---- Logoff

void TSession::InternalLogoff()
{
    if (!FActive)
        return;
    FSessionInfo.Reset();
    TFirstFailure failure;
    failure.Keep([this] { DoBeforeLogoff(); });
    failure.Keep([this] { TKwMAPISessionBase::Set_Active(false); }); // what a sink has opened once more
    failure.Keep([this] { InternalLogoff2(); });
    const bool counted = FCounted.exchange(false);
    const TKwMAPIThread thread = FLogonThread;
    const bool elsewhere = thread != KwMAPIThread();
    ForgetLogon();
    if (counted && !elsewhere)
        KwMAPISessionClosed(thread);
    failure.Keep([this] { DoAfterLogoff(); });
    // Not while sinks run here: the session's thread may uninitialise MAPI from now on.
    if (counted && elsewhere)
        KwMAPISessionClosed(thread);
    failure.Raise();
}

void TSession::InternalLogoff2()
{
    TFirstFailure failure;
    mapi::ULONG flags = 0;
    if (Get_MAPIOBJECT() != nullptr) {
        failure.Keep([this] { UnadviseSession(); });
        flags = static_cast<mapi::ULONG>(FLogoffInfo->Flags().AsLargeInteger());
    }
    TKwComPtr<mapi::IMAPISession> session(static_cast<mapi::IMAPISession*>(Get_MAPIOBJECT()));
    if (session || FSessionHandle != 0) {
        SetMAPIOBJECT(nullptr);
        failure.Keep([&] { KwMAPILogoff(FLogonWindow, flags, session, FSessionHandle); });
    }
    failure.Raise();
}

void TSession::UnadviseSession()
{
    DetachSink();
    mapi::ULONG_PTR connection = 0;
    {
        const std::lock_guard lock(FSinkLock);
        connection = std::exchange(FConnection, 0);
    }
    if (connection != 0)
        CheckMAPIResult(*this, u"Unadvise", MAPISession().Unadvise(connection));
}

void TSession::DetachSink() noexcept
{
    TKwComPtr<TSink> sink;
    {
        const std::lock_guard lock(FSinkLock);
        sink = FSink;
    }
    if (sink)
        sink->Detach();
}

void TSession::ForgetLogon() noexcept
{
    {
        const std::lock_guard lock(FSinkLock);
        FConnection = 0;
    }
    FConnectedToExchange = false;
    FCachedExchangeMode = false;
    FSessionHandle = 0;
    FLogonWindow = 0;
    FSessionInfo.Reset(); // a sink may have asked for it once more
    FActive = false;
}

void TSession::OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications)
{
    const TKwRef<TSession> self(this); // a sink of the logoff may drop the last reference
    for (mapi::ULONG i = 0; i < count; ++i)
        if (notifications[i].ulEventType == mapi::fnevExtended && FJoinedSession)
            DoLogoff(true);
}

} // namespace deftmapi
