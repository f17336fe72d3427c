// Administration of profiles and of their message services, sections of a profile, and the status table.
//
// Profiles belong to the machine's user, not to a session: their administration works without a logon. Services are
// those of one profile, either the one that the session is logged on to or one that is named.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwMAPISessionH.hpp"
#include "mapi/table/uKwMAPITable.hpp"

namespace deftmapi
{

/// "13DBB0C8AA05101A9BB000AA002FC45A", the section of a profile that is the same for all of its services.
inline constexpr auto KwGlobalProfileSection = u"13DBB0C8AA05101A9BB000AA002FC45A";

/// Lists, creates and deletes profiles. Its MAPI object is made when the session is set, and again after a logoff of
/// the session took it away. A session that is set to Simple MAPI needs none.
class DEFTMAPI_API TKwMAPIProfileAdmin final : public TKwMAPIWrapper, public virtual IKwMAPIProfileAdmin
{
public:
    /// REQUIRES: MAPI is initialised on this thread.
    explicit TKwMAPIProfileAdmin(TKwMAPISessionBase& session);
    /// The session to work for; null for none. @throws  what MAPIAdminProfiles fails with
    void SetSession(TKwMAPISessionBase* session);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIProfileAdmin"; }

    // What a session that is set to Simple MAPI can do: tell the default profile and list them. The others
    // @throw EMAPI_NOT_SUPPORTED  "… is not supported by Simple MAPI!"

    /// @throws EMAPI_LOGON_FAILED  no such profile, or the password is wrong
    [[nodiscard]] TKwRef<IKwMAPIAdminServices> GetAdminServices(WideView profileName, WideView password,
                                                                WordBool showDialog) override;
    /// @throws EMAPI_NO_ACCESS, EMAPI_COLLISION  "The specified new profile already exists."
    /// @throws EMAPI_NO_ACCESS  with the client's own text: the profiles cannot be changed
    void CreateProfile(WideView name, WideView password, WordBool defaultServices, WordBool showDialog) override;
    /// @throws EMAPI_NOT_FOUND  "The specified profile does not exist."
    void DeleteProfile(WideView name) override;
    /// @throws EMAPI_NOT_FOUND  "The specified profile does not exist."
    void SetDefaultProfile(WideView name) override;
    // @throws EMAPI_NOT_FOUND     "The specified profile does not exist."
    // @throws EMAPI_LOGON_FAILED  the password is wrong
    // @throws EMAPI_NO_ACCESS, EMAPI_COLLISION  as CreateProfile, for the new name
    void RenameProfile(WideView name, WideView password, WideView newName) override;
    void CopyProfile(WideView name, WideView password, WideView newName) override;
    void ChangeProfilePassword(WideView name, WideView oldPassword, WideView newPassword) override;
    [[nodiscard]] WideString GetDefaultProfile() override;
    [[nodiscard]] WordBool HasDefaultProfile() override;
    [[nodiscard]] std::vector<WideString> GetProfiles() override;
    [[nodiscard]] WideString GetProfiles(WideView separator) override;
    [[nodiscard]] TKwRef<IKwMAPITable> GetProfileTable() override;

protected:
    [[nodiscard]] bool NeedsMAPIObject() const noexcept override { return false; }
    mapi::HRESULT CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error) override;

private:
    [[nodiscard]] mapi::IProfAdmin& Admin();
    void CheckName(WideView methodName, mapi::HRESULT result, WideView newName);
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenProfileTable(WideView methodName);
    [[nodiscard]] TKwRef<IKwMAPITable> Profiles(WideView methodName);
};

/// Lists, creates, configures and deletes the message services of one profile, and opens the profile's sections.
class DEFTMAPI_API TKwMAPIAdminServices final : public TKwMAPIWrapper, public virtual IKwMAPIAdminServices
{
public:
    /// @param session        the session it works for
    /// @param admin          a reference is added
    /// @param ofSession      the services are those of the profile that the session is logged on to
    TKwMAPIAdminServices(TKwMAPISessionBase& session, mapi::IMsgServiceAdmin* admin, bool ofSession);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIAdminServices"; }

    [[nodiscard]] TKwRef<IKwMAPITable> GetMsgServiceTable() override;
    [[nodiscard]] TKwRef<IKwMAPITable> GetProviderTable() override;
    /// The services of the session's own profile are read again through an administration of its own, as some clients
    /// show in one administration only what was there when it was opened.
    /// @throws EMAPI_CALL_FAILED  "… Unable to locate the newly created service"
    [[nodiscard]] TKwMAPIEntryID CreateMsgService(WideView serviceName, WideView displayName,
                                                  WordBool showDialog) override;
    /// @throws EMAPI_INVALID_PARAMETER  "An invalid ServiceUID was provided!"
    /// @throws EMAPI_NOT_FOUND          there is no such service
    /// @throws EMAPI_NOT_INITIALIZED    the service cannot be configured
    /// @throws EMAPI_EXTENDED_ERROR     the service says more in its error text
    void ConfigureMsgService(const TKwMAPIEntryID& serviceUID, const TKwMAPIServiceDialogs& dialogs,
                             IKwMAPIPropValueList& properties) override;
    /// @throws EMAPI_INVALID_PARAMETER  "An invalid ServiceUID was provided!"
    void DeleteMsgService(const TKwMAPIEntryID& serviceUID) override;
    /// @throws EMAPI_INVALID_PARAMETER  "An invalid ProfileUID was provided!"
    [[nodiscard]] TKwRef<IKwMAPIProfSect> OpenProfileSection(const TKwMAPIEntryID& uid,
                                                             TKwMAPIAccessLevel accessLevel) override;
    [[nodiscard]] TKwRef<IKwMAPIProfSect> OpenProviderProfileSection(const TKwMAPIEntryID& uid,
                                                                     TKwMAPIAccessLevel accessLevel) override;
    /// @throws EMAPI_INVALID_PARAMETER  the file does not exist; no service has been created then
    [[nodiscard]] TKwMAPIEntryID AddPstFileToCurrentProfile(const WideString& fileName, WideView displayName,
                                                            WordBool showDialog) override;

    /// Services of the session's profile need a session that is logged on.
    void CheckActive(WideView methodName) const override;
    /// @param loggedOn  the session must be logged on
    /// @throws EMAPI_UNCONFIGURED  "No session has been assigned (TKwMAPIAdminServices.…)!"
    /// @throws EMAPI_NO_ACCESS     "The session is not active!"
    void CheckActive(WideView methodName, bool loggedOn) const;

protected:
    mapi::HRESULT CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error) override;

private:
    [[nodiscard]] mapi::IMsgServiceAdmin& Admin() const noexcept { return MAPIObjectAs<mapi::IMsgServiceAdmin>(); }
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenMsgServiceTable();
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenProviderTable();
    [[nodiscard]] std::vector<TKwMAPIEntryID> ServiceUIDs();
    [[nodiscard]] TKwRef<IKwMAPIProfSect> FindGlobalSection(TKwMAPIAccessLevel accessLevel);
    [[nodiscard]] TKwRef<IKwMAPIProfSect> OpenSection(const TKwMAPIEntryID& uid, TKwMAPIAccessLevel accessLevel,
                                                      bool mayBeMissing);
    void Configure(const TKwMAPIEntryID& serviceUID, mapi::ULONG flags, IKwMAPIPropValueList& properties);

    bool FOfSession;
};

/// Wraps an IProfSect.
class DEFTMAPI_API TKwMAPIProfSect final : public TKwMAPIProp, public virtual IKwMAPIProfSect
{
public:
    /// @param createdBy  the session or the services that opened it; it belongs to the session of that
    TKwMAPIProfSect(TKwMAPIWrapper& createdBy, mapi::IProfSect* section, TKwMAPIAccessLevel accessLevel);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIProfSect"; }
};

/// A cursor over the session's status table.
class DEFTMAPI_API TKwMAPIStatusTable final : public TKwMAPITable, public virtual IKwMAPIStatusTable
{
public:
    using TKwMAPITable::TKwMAPITable;

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIStatusTable"; }
    [[nodiscard]] TKwMAPIEntryID GetEntryID(TKwMAPIResourceType resourceType) override;
};

} // namespace deftmapi
