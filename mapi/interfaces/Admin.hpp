// Administration of profiles: services, sections, and the status table.
#pragma once

#include "mapi/interfaces/Tables.hpp"

namespace deftmapi
{

/// Profiles of the MAPI client library. Works without a logon. A session that is set to Simple MAPI knows the profiles
/// from the system's registry and can only list them.
class IKwMAPIProfileAdmin : public virtual IKwMAPIWrapper
{
public:
    /// The message services of a profile.
    /// @param showDialog  a missing or wrong password is asked for
    [[nodiscard]] virtual TKwRef<IKwMAPIAdminServices> GetAdminServices(WideView profileName, WideView password,
                                                                        WordBool showDialog) = 0;
    /// @param defaultServices  the client's default services are added
    /// @param showDialog       they may show their dialogs
    virtual void CreateProfile(WideView name, WideView password, WordBool defaultServices = true,
                               WordBool showDialog = false) = 0;
    virtual void DeleteProfile(WideView name) = 0;
    virtual void SetDefaultProfile(WideView name) = 0;
    /// @param password  the profile's; empty when it has none
    virtual void RenameProfile(WideView name, WideView password, WideView newName) = 0;
    /// The copy has the settings, the services and the password of the profile.
    virtual void CopyProfile(WideView name, WideView password, WideView newName) = 0;
    /// @param newPassword  empty: from now on the profile has none
    virtual void ChangeProfilePassword(WideView name, WideView oldPassword, WideView newPassword) = 0;
    /// Empty when there is none.
    [[nodiscard]] virtual WideString GetDefaultProfile() = 0;
    [[nodiscard]] virtual WordBool HasDefaultProfile() = 0;
    [[nodiscard]] virtual std::vector<WideString> GetProfiles() = 0;
    /// Their names, one after the other.
    [[nodiscard]] virtual WideString GetProfiles(WideView separator) = 0;
    /// One row for each (PR_DISPLAY_NAME, PR_DEFAULT_PROFILE); a new table each time.
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetProfileTable() = 0;
};

/// How a message service may show its configuration; any of the three.
struct TKwMAPIServiceDialogs
{
    WordBool Show = false;     ///< always, filled with the properties given
    WordBool Allow = false;    ///< when something is missing
    WordBool ReadOnly = false; ///< shown, but not to be changed
};

/// The message services of one profile. A service, a provider or a section is named by its identifier of 16 bytes.
class IKwMAPIAdminServices : public virtual IKwMAPIWrapper
{
public:
    /// The columns of interest are PR_SERVICE_UID, PR_SERVICE_NAME, PR_DISPLAY_NAME and PR_RESOURCE_FLAGS.
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetMsgServiceTable() = 0;
    /// The columns of interest are PR_PROVIDER_UID, PR_SERVICE_UID, PR_PROVIDER_DISPLAY and PR_RESOURCE_TYPE.
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetProviderTable() = 0;
    /// Adds a service and returns its identifier. MAPI does not tell it: it is the first one in the table of services
    /// that was not there before, so a service that another process adds at the same time may be taken for it.
    [[nodiscard]] virtual TKwMAPIEntryID CreateMsgService(WideView serviceName, WideView displayName,
                                                          WordBool showDialog) = 0;
    /// Gives a service its settings. Those of the profile itself (PR_PROFILE_CONFIG_FLAGS, PR_PROFILE_CONNECT_FLAGS,
    /// PR_PROFILE_UI_STATE) are written to the profile's global section, too, where it has one.
    virtual void ConfigureMsgService(const TKwMAPIEntryID& serviceUID, const TKwMAPIServiceDialogs& dialogs,
                                     IKwMAPIPropValueList& properties) = 0;
    virtual void DeleteMsgService(const TKwMAPIEntryID& serviceUID) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIProfSect> OpenProfileSection(const TKwMAPIEntryID& uid,
                                                                     TKwMAPIAccessLevel accessLevel) = 0;
    /// The section of a provider, which the administration of the provider's service opens.
    [[nodiscard]] virtual TKwRef<IKwMAPIProfSect> OpenProviderProfileSection(const TKwMAPIEntryID& uid,
                                                                             TKwMAPIAccessLevel accessLevel) = 0;
    /// Adds a personal-folders file as a service and returns the service's identifier.
    /// @param showDialog  the service may show its dialog
    [[nodiscard]] virtual TKwMAPIEntryID AddPstFileToCurrentProfile(const WideString& fileName, WideView displayName,
                                                                    WordBool showDialog) = 0;
};

/// A section of a profile: settings as properties. What is set is kept by SaveChanges.
class IKwMAPIProfSect : public virtual IKwMAPIProp
{};

/// The resources of a session: its providers, the spooler, the MAPI subsystem.
class IKwMAPIStatusTable : public virtual IKwMAPITable
{
public:
    /// The entry of the first row of that kind; Null when there is none. Moves the table.
    [[nodiscard]] virtual TKwMAPIEntryID GetEntryID(TKwMAPIResourceType resourceType) = 0;
};

} // namespace deftmapi
