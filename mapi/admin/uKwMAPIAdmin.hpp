// Administration of profiles. Works without a logon: the profiles belong to the machine's user, not to a session.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwMAPISessionH.hpp"

namespace deftmapi
{

/// Lists, creates and deletes profiles. Its MAPI object is made when it is first needed, and again after a logoff of
/// the session took it away.
class DEFTMAPI_API TKwMAPIProfileAdmin final : public TKwMAPIWrapper, public virtual IKwMAPIProfileAdmin
{
public:
    /// REQUIRES: MAPI is initialised on this thread.
    explicit TKwMAPIProfileAdmin(TKwMAPISessionBase& session);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIProfileAdmin"; }

    /// The client's default services are added to the profile; nothing is shown.
    /// @throws EMAPI_NO_ACCESS, EMAPI_COLLISION  "The specified new profile already exists."
    void CreateProfile(WideView name, WideView password) override;
    /// @throws EMAPI_NOT_FOUND  "The specified profile does not exist."
    void DeleteProfile(WideView name) override;
    /// @throws EMAPI_NOT_FOUND  "The specified profile does not exist."
    void SetDefaultProfile(WideView name) override;
    [[nodiscard]] WideString GetDefaultProfile() override;
    [[nodiscard]] bool HasDefaultProfile() override;
    [[nodiscard]] std::vector<WideString> GetProfiles() override;
    /// The profiles as rows (PR_DISPLAY_NAME, PR_DEFAULT_PROFILE); a new table each time.
    [[nodiscard]] TKwRef<IKwMAPITable> GetProfileTable();

protected:
    [[nodiscard]] bool NeedsMAPIObject() const noexcept override { return false; }
    mapi::HRESULT CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error) override;

private:
    [[nodiscard]] mapi::IProfAdmin& Admin();
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenProfileTable(WideView methodName);
    [[nodiscard]] TKwRef<IKwMAPITable> Profiles(WideView methodName);
};

} // namespace deftmapi
