// The interfaces of a session: log-on, address book, status, profiles and message services.
#pragma once

#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace mapi
{

/// What a log-on gives.
struct IMAPISession : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetMsgStoresTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenMsgStore(ULONG_PTR ulUIParam, ULONG cbEntryID, LPENTRYID lpEntryID,
                                                  LPCIID lpInterface, ULONG ulFlags, LPMDB* lppMDB) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenAddressBook(ULONG_PTR ulUIParam, LPCIID lpInterface, ULONG ulFlags,
                                                     LPADRBOOK* lppAdrBook) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenProfileSection(LPMAPIUID lpUID, LPCIID lpInterface, ULONG ulFlags,
                                                        LPPROFSECT* lppProfSect) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetStatusTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags,
                                               ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2,
                                                     LPENTRYID lpEntryID2, ULONG ulFlags, ULONG* lpulResult) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Advise(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulEventMask,
                                            LPMAPIADVISESINK lpAdviseSink, ULONG_PTR* lpulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Unadvise(ULONG_PTR ulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL MessageOptions(ULONG_PTR ulUIParam, ULONG ulFlags, LPTSTR lpszAdrType,
                                                    LPMESSAGE lpMessage) = 0;
    virtual HRESULT DEFTMAPI_STDCALL QueryDefaultMessageOpt(LPTSTR lpszAdrType, ULONG ulFlags, ULONG* lpcValues,
                                                            LPSPropValue* lppOptions) = 0;
    virtual HRESULT DEFTMAPI_STDCALL EnumAdrTypes(ULONG ulFlags, ULONG* lpcAdrTypes, LPTSTR** lpppszAdrTypes) = 0;
    virtual HRESULT DEFTMAPI_STDCALL QueryIdentity(ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Logoff(ULONG_PTR ulUIParam, ULONG ulFlags, ULONG ulReserved) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetDefaultStore(ULONG ulFlags, ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL AdminServices(ULONG ulFlags, LPSERVICEADMIN* lppServiceAdmin) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ShowForm(ULONG_PTR ulUIParam, LPMDB lpMsgStore, LPMAPIFOLDER lpParentFolder,
                                              LPCIID lpInterface, ULONG_PTR ulMessageToken, LPMESSAGE lpMessageSent,
                                              ULONG ulFlags, ULONG ulMessageStatus, ULONG ulMessageFlags,
                                              ULONG ulAccess, LPSTR lpszMessageClass) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PrepareForm(LPCIID lpInterface, LPMESSAGE lpMessage,
                                                 ULONG_PTR* lpulMessageToken) = 0;

protected:
    ~IMAPISession() = default;
};

/// The address book over all providers.
struct IAddrBook : IMAPIProp
{
    virtual HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags,
                                               ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2,
                                                     LPENTRYID lpEntryID2, ULONG ulFlags, ULONG* lpulResult) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Advise(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulEventMask,
                                            LPMAPIADVISESINK lpAdviseSink, ULONG_PTR* lpulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Unadvise(ULONG_PTR ulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateOneOff(LPTSTR lpszName, LPTSTR lpszAdrType, LPTSTR lpszAddress,
                                                  ULONG ulFlags, ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL NewEntry(ULONG_PTR ulUIParam, ULONG ulFlags, ULONG cbEIDContainer,
                                              LPENTRYID lpEIDContainer, ULONG cbEIDNewEntryTpl,
                                              LPENTRYID lpEIDNewEntryTpl, ULONG* lpcbEIDNewEntry,
                                              LPENTRYID* lppEIDNewEntry) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ResolveName(ULONG_PTR ulUIParam, ULONG ulFlags, LPTSTR lpszNewEntryTitle,
                                                 LPADRLIST lpAdrList) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Address(ULONG_PTR* lpulUIParam, LPADRPARM lpAdrParms, LPADRLIST* lppAdrList) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Details(ULONG_PTR* lpulUIParam, LPFNDISMISS lpfnDismiss, LPVOID lpvDismissContext,
                                             ULONG cbEntryID, LPENTRYID lpEntryID, LPFNBUTTON lpfButtonCallback,
                                             LPVOID lpvButtonContext, LPTSTR lpszButtonText, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL RecipOptions(ULONG_PTR ulUIParam, ULONG ulFlags, LPADRENTRY lpRecip) = 0;
    virtual HRESULT DEFTMAPI_STDCALL QueryDefaultRecipOpt(LPTSTR lpszAdrType, ULONG ulFlags, ULONG* lpcValues,
                                                          LPSPropValue* lppOptions) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetPAB(ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetPAB(ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetDefaultDir(ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetDefaultDir(ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetSearchPath(ULONG ulFlags, LPSRowSet* lppSearchPath) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetSearchPath(ULONG ulFlags, LPSRowSet lpSearchPath) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PrepareRecips(ULONG ulFlags, LPSPropTagArray lpPropTagArray,
                                                   LPADRLIST lpRecipList) = 0;

protected:
    ~IAddrBook() = default;
};

/// A row of the status table, opened.
struct IMAPIStatus : IMAPIProp
{
    virtual HRESULT DEFTMAPI_STDCALL ValidateState(ULONG_PTR ulUIParam, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SettingsDialog(ULONG_PTR ulUIParam, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ChangePassword(LPTSTR lpOldPass, LPTSTR lpNewPass, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL FlushQueues(ULONG_PTR ulUIParam, ULONG cbTargetTransport,
                                                 LPENTRYID lpTargetTransport, ULONG ulFlags) = 0;

protected:
    ~IMAPIStatus() = default;
};

/// A section of a profile; only properties.
struct IProfSect : IMAPIProp
{
protected:
    ~IProfSect() = default;
};

/// Creates, deletes and lists profiles.
struct IProfAdmin : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetProfileTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateProfile(LPTSTR lpszProfileName, LPTSTR lpszPassword, ULONG_PTR ulUIParam,
                                                   ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteProfile(LPTSTR lpszProfileName, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ChangeProfilePassword(LPTSTR lpszProfileName, LPTSTR lpszOldPassword,
                                                           LPTSTR lpszNewPassword, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyProfile(LPTSTR lpszOldProfileName, LPTSTR lpszOldPassword,
                                                 LPTSTR lpszNewProfileName, ULONG_PTR ulUIParam, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL RenameProfile(LPTSTR lpszOldProfileName, LPTSTR lpszOldPassword,
                                                   LPTSTR lpszNewProfileName, ULONG_PTR ulUIParam, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetDefaultProfile(LPTSTR lpszProfileName, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL AdminServices(LPTSTR lpszProfileName, LPTSTR lpszPassword, ULONG_PTR ulUIParam,
                                                   ULONG ulFlags, LPSERVICEADMIN* lppServiceAdmin) = 0;

protected:
    ~IProfAdmin() = default;
};

/// The message services of one profile.
struct IMsgServiceAdmin : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetMsgServiceTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateMsgService(LPTSTR lpszService, LPTSTR lpszDisplayName, ULONG_PTR ulUIParam,
                                                      ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteMsgService(LPMAPIUID lpUID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyMsgService(LPMAPIUID lpUID, LPTSTR lpszDisplayName, LPCIID lpInterfaceToCopy,
                                                    LPCIID lpInterfaceDst, LPVOID lpObjectDst, ULONG_PTR ulUIParam,
                                                    ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL RenameMsgService(LPMAPIUID lpUID, ULONG ulFlags, LPTSTR lpszDisplayName) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ConfigureMsgService(LPMAPIUID lpUID, ULONG_PTR ulUIParam, ULONG ulFlags,
                                                         ULONG cValues, LPSPropValue lpProps) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenProfileSection(LPMAPIUID lpUID, LPCIID lpInterface, ULONG ulFlags,
                                                        LPPROFSECT* lppProfSect) = 0;
    virtual HRESULT DEFTMAPI_STDCALL MsgServiceTransportOrder(ULONG cUID, LPMAPIUID lpUIDList, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL AdminProviders(LPMAPIUID lpUID, ULONG ulFlags,
                                                    LPPROVIDERADMIN* lppProviderAdmin) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetPrimaryIdentity(LPMAPIUID lpUID, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetProviderTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;

protected:
    ~IMsgServiceAdmin() = default;
};

/// Adds the creation of a service that returns its identifier.
struct IMsgServiceAdmin2 : IMsgServiceAdmin
{
    virtual HRESULT DEFTMAPI_STDCALL CreateMsgServiceEx(LPTSTR lpszService, LPTSTR lpszDisplayName, ULONG_PTR ulUIParam,
                                                        ULONG ulFlags, LPMAPIUID lpuidService) = 0;

protected:
    ~IMsgServiceAdmin2() = default;
};

/// The providers of one message service.
struct IProviderAdmin : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetProviderTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateProvider(LPTSTR lpszProvider, ULONG cValues, LPSPropValue lpProps,
                                                    ULONG_PTR ulUIParam, ULONG ulFlags, MAPIUID* lpUID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteProvider(LPMAPIUID lpUID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenProfileSection(LPMAPIUID lpUID, LPCIID lpInterface, ULONG ulFlags,
                                                        LPPROFSECT* lppProfSect) = 0;

protected:
    ~IProviderAdmin() = default;
};

} // namespace mapi
