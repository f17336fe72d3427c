// Logon and logoff options and the MAPI flags that they stand for.
#include "mapi/session/uKwDeftMAPI.hpp"

#include "mapi/headers/uKwMAPIConstantsH.hpp"

namespace deftmapi
{

namespace
{

// Older than MAPI_SERVICE_UI_ALWAYS, by which name the platform knows the same bit.
constexpr mapi::ULONG ServiceUI = mapi::MAPI_SERVICE_UI_ALWAYS;

} // namespace

TKwMAPILogonInfoImpl::TKwMAPILogonInfoImpl(TKwRef<TKwMAPILogoffInfoImpl> logoffInfo)
    : TKwMAPIObject(nullptr), FLogoffInfo(std::move(logoffInfo))
{}

void TKwMAPILogonInfoImpl::Set_Shared(WordBool value) noexcept
{
    FShared = value;
    FLogoffInfo->Set_Shared(value);
}

void TKwMAPILogonInfoImpl::Set_NTService(WordBool value) noexcept
{
    FNTService = value;
    if (!value)
        return;
    // A service has no desktop to show a dialog on and shares its session with nobody.
    Set_Shared(false);
    FShowLogonDialog = false;
    FShowPasswordDialog = false;
    FShowServiceDialog = false;
    FNoMail = true;
}

mapi::ULONG TKwMAPILogonInfoImpl::Flags() const noexcept
{
    mapi::ULONG flags = 0;
    const auto add = [&flags](bool condition, mapi::ULONG flag) {
        if (condition)
            flags |= flag;
    };
    const bool extended = FUseExtendedMAPI;
    const bool interactive = extended && !FNTService;

    add(extended, mapi::MAPI_EXTENDED);
    add(extended && FForceDownload, mapi::MAPI_FORCE_DOWNLOAD);
    add(extended && FNewSession, mapi::MAPI_NEW_SESSION);
    add(extended && FProfileRequired, mapi::MAPI_EXPLICIT_PROFILE);
    add(extended && !FProfileRequired, mapi::MAPI_USE_DEFAULT);
    add(extended && FNoMail, mapi::MAPI_NO_MAIL);
    add(extended && FShortTimeOut, mapi::MAPI_TIMEOUT_SHORT);
    add(extended && FNTService, mapi::MAPI_NT_SERVICE);
    // The one flag that Simple MAPI shares.
    add(FShowLogonDialog && !FNTService, mapi::MAPI_LOGON_UI);
    add(interactive && FShared, mapi::MAPI_ALLOW_OTHERS);
    add(interactive && FShowPasswordDialog, mapi::MAPI_PASSWORD_UI);
    add(interactive && FShowServiceDialog, ServiceUI);
    return flags;
}

TKwVariant TKwMAPILogoffInfoImpl::Flags() const
{
    mapi::ULONG flags = 0;
    if (FShared)
        flags |= mapi::MAPI_LOGOFF_SHARED;
    if (FShowLogoffDialog)
        flags |= mapi::MAPI_LOGOFF_UI;
    return TKwVariant(static_cast<std::int32_t>(flags));
}

} // namespace deftmapi
