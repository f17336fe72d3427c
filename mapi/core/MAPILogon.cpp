// Logging on and off through whichever interface the loaded library offers.
#include "mapi/core/MAPIModule.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/core/uKwMAPIxH.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIdefsH.hpp"
#include "support/uKwEncoding.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNotLoaded = u"MAPI hasn't been loaded yet!\r\nYou must first load the MAPI dll.";
constexpr auto sNotInitialized =
    u"MAPI hasn't been initialized yet!\r\nYou must initialize MAPI before calling any MAPI functions.";

constexpr WideView unitName = u"uKwMAPILib";

// A text parameter of a MAPI call, in either width. The calls do not write to it, though they take it as if they did.
class TTextParameter
{
public:
    TTextParameter(WideView text, bool wide)
    {
        if (wide)
            FWide = text;
        else if (!text.empty())
            FNarrow = TKwEncoding().FromWide(text);
    }

    /// Null for an empty text.
    mapi::LPTSTR Either() { return FWide.empty() ? static_cast<void*>(Narrow()) : FWide.data(); }
    char* Narrow() { return FNarrow.empty() ? nullptr : FNarrow.data(); }

private:
    WideString FWide;
    std::string FNarrow;
};

} // namespace

void KwMAPILogon(mapi::ULONG_PTR parentWindow, WideView profileName, WideView password, mapi::ULONG flags,
                 TKwComPtr<mapi::IMAPISession>& session, mapi::LHANDLE& sessionHandle)
{
    if (KwMAPIModule() == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNotLoaded)->Raise();
    if (!KwMAPIInitialized())
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNotInitialized)->Raise();

    session.Reset();
    sessionHandle = 0;
    if (KwExtendedMAPIAvailable() && (flags & mapi::MAPI_EXTENDED) != 0) {
        const bool wide = (flags & mapi::MAPI_UNICODE) != 0;
        TTextParameter profile(profileName, wide);
        TTextParameter secret(password, wide);
        TKwComPtr<mapi::IMAPISession> opened;
        const mapi::HRESULT result = MAPILogonEx(parentWindow, profile.Either(), secret.Either(), flags, Out(opened));
        CheckMAPIResult(unitName, u"KwMAPILogon", result);
        session = opened;
        return;
    }
    TTextParameter profile(profileName, false);
    TTextParameter secret(password, false);
    MAPILogon(parentWindow, profile.Narrow(), secret.Narrow(), flags & ~(mapi::MAPI_EXTENDED | mapi::MAPI_UNICODE), 0,
              &sessionHandle);
}

void KwMAPILogoff(mapi::ULONG_PTR parentWindow, mapi::ULONG flags, TKwComPtr<mapi::IMAPISession>& session,
                  mapi::LHANDLE& sessionHandle)
{
    const mapi::LHANDLE handle = std::exchange(sessionHandle, 0);
    if (session) {
        const mapi::HRESULT result = session->Logoff(parentWindow, flags, 0);
        session.Reset();
        CheckMAPIResult(unitName, u"KwMAPILogoff", result);
    } else if (handle != 0)
        MAPILogoff(handle, parentWindow, flags, 0);
}

} // namespace deftmapi
