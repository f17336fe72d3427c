// Logging on and off. The order of the steps, and of the events between them, is what applications rely on.
#include "mapi/core/uKwMAPILib.hpp"
#include "mapi/session/SessionSink.hpp"
#include "mapi/table/uKwMAPITable.hpp"

namespace deftmapi
{

namespace
{

constexpr auto ExchangeClient = u"ExchangeMAPI";
constexpr auto ExchangeService = u"MSEMS";

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

/// Sets a flag for its life.
class TUnderway
{
public:
    explicit TUnderway(bool& flag) noexcept : FFlag(flag) { FFlag = true; }
    ~TUnderway() { FFlag = false; }
    TUnderway(const TUnderway&) = delete;
    TUnderway& operator=(const TUnderway&) = delete;

private:
    bool& FFlag;
};

} // namespace

void TSession::Set_Active(bool active)
{
    // A sink that asks for what is just being done gets it without a second round.
    bool& underway = active ? FLoggingOn : FLoggingOff;
    if (active == FActive || underway)
        return;
    // A sink may drop the last reference in the middle.
    const TKwRef<TSession> self(this);
    const TUnderway guard(underway);
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
        failure.Raise();
    }
}

void TSession::LogonSteps()
{
    TriggerEvent(&IKwMAPISessionDEvents::BeforeLogon);
    EnsureLibrary();
    ReleaseSessionCount();
    MAPIInitialize();
    FLogonWindow = GetParentWindow();

    mapi::ULONG flags = FLogonInfo->Flags();
    if (GetCanUseUnicode())
        flags |= mapi::MAPI_UNICODE;
    SetMAPIOBJECT(nullptr);
    TKwComPtr<mapi::IMAPISession> session;
    KwMAPILogon(FLogonWindow, FLogonInfo->Get_ProfileName(), FLogonInfo->Get_Password(), flags, session,
                FSessionHandle);
    SetMAPIOBJECT(session.Get());
    FActive = true;
    FLogonThread = std::this_thread::get_id();
    FJoinedSession = !FLogonInfo->Get_NewSession();
    KwMAPISessionOpened();
    FCounted = true;

    if (UsesExtendedMAPI() && Get_MAPIOBJECT() != nullptr) {
        AdviseSession();
        FConnectedToExchange = DetectExchange();
    }
    TriggerEvent(&IKwMAPISessionDEvents::AfterLogon);
}

void TSession::AdviseSession()
{
    FSink = TKwComPtr<TSink>(new TSink(*this));
    const mapi::HRESULT hr = MAPISession().Advise(0, nullptr, mapi::fnevExtended, FSink.Get(), &FConnection);
    // Without support for it there is no shared session whose end could be told.
    if (hr == mapi::MAPI_E_NO_SUPPORT)
        UnadviseSession();
    else
        CheckMAPIResult(*this, u"Advise", hr);
}

bool TSession::DetectExchange()
{
    const WideString client = FMAPIClient.empty() ? KwGetMAPIInfo().DefaultClient : FMAPIClient;
    return KwSameText(client, ExchangeClient) || HasMessageService(ExchangeService);
}

bool TSession::HasMessageService(WideView serviceName)
{
    TKwComPtr<mapi::IMsgServiceAdmin> admin;
    mapi::HRESULT hr = MAPISession().AdminServices(0, Out(admin));
    TKwComPtr<mapi::IMAPITable> object;
    if (hr == mapi::S_OK)
        hr = admin->GetMsgServiceTable(0, Out(object));
    if (hr == mapi::MAPI_E_NO_SUPPORT)
        return false; // a client without message services has none for Exchange
    CheckMAPIResult(*this, u"GetMsgServiceTable", hr);

    const auto services = KwMake<TKwMAPITable>(*this, object.Get(), nullptr);
    services->Get_Fields()->Add(PR_SERVICE_NAME_A);
    for (services->First(); !services->Get_EOF(); services->Next())
        if (services->GetFieldValue(PR_SERVICE_NAME_A).AsStringW() == serviceName)
            return true;
    return false;
}

// ---- Logoff

void TSession::InternalLogoff()
{
    if (!FActive)
        return;
    TFirstFailure failure;
    failure.Keep([this] { TriggerEvent(&IKwMAPISessionDEvents::BeforeLogoff); });
    failure.Keep([this] { InternalLogoff2(); });
    ForgetLogon();
    failure.Keep([this] { TriggerEvent(&IKwMAPISessionDEvents::AfterLogoff); });
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
    if (const auto sink = std::exchange(FSink, nullptr))
        sink->Detach();
    if (const mapi::ULONG_PTR connection = std::exchange(FConnection, 0))
        CheckMAPIResult(*this, u"Unadvise", MAPISession().Unadvise(connection));
}

void TSession::ForgetLogon() noexcept
{
    FConnection = 0;
    FConnectedToExchange = false;
    FSessionHandle = 0;
    FLogonWindow = 0;
    FActive = false;
    ReleaseSessionCount();
}

void TSession::ReleaseSessionCount() noexcept
{
    // The count belongs to the thread that logged on. A logoff on the client's thread leaves it to that thread's next
    // logon or to the session's end.
    if (FCounted && FLogonThread == std::this_thread::get_id()) {
        FCounted = false;
        KwMAPISessionClosed();
    }
}

void TSession::OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications)
{
    const TKwRef<TSession> self(this); // a sink of the logoff may drop the last reference
    for (mapi::ULONG i = 0; i < count; ++i)
        if (notifications[i].ulEventType == mapi::fnevExtended && FJoinedSession)
            Set_Active(false);
}

} // namespace deftmapi
