// Logging on and off. The order of the steps, and of the events between them, is what applications rely on.
#include "mapi/admin/uKwMAPIAdmin.hpp"
#include "mapi/core/uKwMAPILib.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/session/SessionSink.hpp"
#include "mapi/table/uKwMAPITable.hpp"

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

/// A session ends whatever fails on the way; the caller learns of the first failure when it has ended.
class TFirstFailure
{
public:
    template <typename Step>
    void Keep(Step&& step) noexcept
    {
        try {
            step();
        } catch (...) {
            if (!FFailure)
                FFailure = std::current_exception();
        }
    }
    void Raise() const
    {
        if (FFailure)
            std::rethrow_exception(FFailure);
    }

private:
    std::exception_ptr FFailure;
};

/// Clears a flag at the end of its life.
class TUnderway
{
public:
    /// REQUIRES: the flag is set
    explicit TUnderway(std::atomic<bool>& flag) noexcept : FFlag(flag) {}
    ~TUnderway() { FFlag = false; }
    TUnderway(const TUnderway&) = delete;
    TUnderway& operator=(const TUnderway&) = delete;

private:
    std::atomic<bool>& FFlag;
};

} // namespace

void TSession::Set_Active(bool active)
{
    // A sink that asks for what is just being done gets it without a second round.
    std::atomic<bool>& underway = active ? FLoggingOn : FLoggingOff;
    if (active == FActive || underway.exchange(true))
        return;
    // A sink may drop the last reference in the middle.
    const TKwRef<TSession> self(this);
    const TUnderway guard(underway);
    if (active == FActive)
        return; // another thread was first
    if (active) {
        TKwMAPISessionBase::Set_Active(true);
        InternalLogon();
        return;
    }
    TFirstFailure failure;
    failure.Keep([this] { TKwMAPISessionBase::Set_Active(false); });
    failure.Keep([this] { InternalLogoff(); });
    failure.Raise();
}

// ---- Logon

void TSession::InternalLogon()
{
    try {
        LogonSteps();
    } catch (...) {
        TFirstFailure failure;
        failure.Keep([] { throw; });
        failure.Keep([this] { TKwMAPISessionBase::Set_Active(false); }); // what a sink has opened already
        failure.Keep([this] { InternalLogoff2(); });
        ForgetLogon();
        if (FCounted.exchange(false))
            KwMAPISessionClosed();
        failure.Raise();
    }
}

void TSession::LogonSteps()
{
    DoBeforeLogon();
    EnsureLibrary();
    MAPIInitialize();
    FLogonWindow = GetParentWindow();

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
    FActive = true;
    FLogonThread = KwMAPIThread();
    FJoinedSession = !FLogonInfo->Get_NewSession();
    FServiceAlone = FLogonInfo->Get_NTService() && !FLogonInfo->Get_Shared();
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
    try {
        const auto store = OpenMsgStore(GetDefaultMsgStoreID(), alReadOnly);
        const TKwVariant support = store->PropByName(PR_STORE_SUPPORT_MASK)->Get_Value();
        return !support.IsEmptyOrNull() &&
               (static_cast<mapi::ULONG>(support.AsInteger()) & mapi::STORE_LOCALSTORE) != 0;
    } catch (const EKwMAPIException&) {
        // A store that cannot be opened now has no local copy. Whoever needs the store is told when he opens it.
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
    // A notification under way on the client's thread may be doing the same.
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
        std::swap(sink, FSink);
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
    FActive = false;
}

void TSession::OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications)
{
    const TKwRef<TSession> self(this); // a sink of the logoff may drop the last reference
    for (mapi::ULONG i = 0; i < count; ++i)
        if (notifications[i].ulEventType == mapi::fnevExtended && FJoinedSession)
            Set_Active(false);
}

} // namespace deftmapi
