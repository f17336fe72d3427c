// The service provider interface: what MAPI expects of stores, address books and transports, and what it offers them.
#pragma once

#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace mapi
{

// clang-format off
// Service provider interface: versions, hooks, transport and spooler flags.
inline constexpr ULONG HOOK_DELETE                 = 0x00000001;
inline constexpr ULONG HOOK_CANCEL                 = 0x00000002;
inline constexpr ULONG CURRENT_SPI_VERSION         = 0x00010010;
inline constexpr ULONG PDK1_SPI_VERSION            = 0x00010000;
inline constexpr ULONG PDK2_SPI_VERSION            = 0x00010008;
inline constexpr ULONG PDK3_SPI_VERSION            = 0x00010010;
inline constexpr ULONG NOTIFY_SYNC                 = 0x40000000;
inline constexpr ULONG NOTIFY_CANCELED             = 0x80000000;
inline constexpr ULONG CALLBACK_DISCONTINUE        = 0x80000000;
inline constexpr ULONG NOTIFY_NEWMAIL              = 0x00000001;
inline constexpr ULONG NOTIFY_READYTOSEND          = 0x00000002;
inline constexpr ULONG NOTIFY_SENTDEFERRED         = 0x00000004;
inline constexpr ULONG NOTIFY_CRITSEC              = 0x00001000;
inline constexpr ULONG NOTIFY_NONCRIT              = 0x00002000;
inline constexpr ULONG NOTIFY_CONFIG_CHANGE        = 0x00004000;
inline constexpr ULONG NOTIFY_CRITICAL_ERROR       = 0x10000000;
inline constexpr ULONG NOTIFY_NEWMAIL_RECEIVED     = 0x20000000;
inline constexpr ULONG STATUSROW_UPDATE            = 0x10000000;
inline constexpr ULONG STGSTRM_RESET               = 0x00000000;
inline constexpr ULONG STGSTRM_CURRENT             = 0x10000000;
inline constexpr ULONG STGSTRM_MODIFY              = 0x00000002;
inline constexpr ULONG STGSTRM_CREATE              = 0x00001000;
inline constexpr ULONG MAPI_NON_READ               = 0x00000001;
inline constexpr ULONG FILL_ENTRY                  = 0x00000001;
inline constexpr ULONG DEINIT_NORMAL               = 0x00000001;
inline constexpr ULONG DEINIT_HURRY                = 0x80000000;
inline constexpr ULONG LOGON_NO_DIALOG             = 0x00000001;
inline constexpr ULONG LOGON_NO_CONNECT            = 0x00000004;
inline constexpr ULONG LOGON_NO_INBOUND            = 0x00000008;
inline constexpr ULONG LOGON_NO_OUTBOUND           = 0x00000010;
inline constexpr ULONG LOGON_SP_IDLE               = 0x00010000;
inline constexpr ULONG LOGON_SP_POLL               = 0x00020000;
inline constexpr ULONG LOGON_SP_RESOLVE            = 0x00040000;
inline constexpr ULONG OPTION_TYPE_RECIPIENT       = 0x00000001;
inline constexpr ULONG OPTION_TYPE_MESSAGE         = 0x00000002;
inline constexpr ULONG NOTIFY_ABORT_DEFERRED       = 0x40000000;
inline constexpr ULONG NOTIFY_CANCEL_MESSAGE       = 0x80000000;
inline constexpr ULONG NOTIFY_BEGIN_INBOUND        = 0x00000001;
inline constexpr ULONG NOTIFY_END_INBOUND          = 0x00010000;
inline constexpr ULONG NOTIFY_BEGIN_OUTBOUND       = 0x00000002;
inline constexpr ULONG NOTIFY_END_OUTBOUND         = 0x00020000;
inline constexpr ULONG NOTIFY_BEGIN_INBOUND_FLUSH  = 0x00000004;
inline constexpr ULONG NOTIFY_END_INBOUND_FLUSH    = 0x00040000;
inline constexpr ULONG NOTIFY_BEGIN_OUTBOUND_FLUSH = 0x00000008;
inline constexpr ULONG NOTIFY_END_OUTBOUND_FLUSH   = 0x00080000;
inline constexpr ULONG BEGIN_DEFERRED              = 0x00000001;
inline constexpr ULONG END_RESEND_NOW              = 0x00010000;
inline constexpr ULONG END_RESEND_LATER            = 0x00020000;
inline constexpr ULONG END_DONT_RESEND             = 0x00040000;
inline constexpr ULONG LOGON_SP_TRANSPORT          = 0x00000001;
inline constexpr ULONG LOGON_SP_PROMPT             = 0x00000002;
inline constexpr ULONG LOGON_SP_NEWPW              = 0x00000004;
inline constexpr ULONG LOGON_CHANGED               = 0x00000008;
inline constexpr ULONG DIALOG_FOLDER               = 0x00000001;
inline constexpr ULONG DIALOG_MESSAGE              = 0x00000002;
inline constexpr ULONG DIALOG_PROP                 = 0x00000004;
inline constexpr ULONG DIALOG_ATTACH               = 0x00000008;
inline constexpr ULONG DIALOG_MOVE                 = 0x00000010;
inline constexpr ULONG DIALOG_COPY                 = 0x00000020;
inline constexpr ULONG DIALOG_DELETE               = 0x00000040;
inline constexpr ULONG DIALOG_ALLOW_CANCEL         = 0x00000080;
inline constexpr ULONG DIALOG_CONFIRM_CANCEL       = 0x00000100;
inline constexpr ULONG NEEDS_PREPROCESSING         = 0x00000001;
inline constexpr ULONG NEEDS_SPOOLER               = 0x00000002;
inline constexpr ULONG CHECK_SENDER                = 0x00000001;
inline constexpr ULONG NON_STANDARD                = 0x00010000;

// Transport logoff flags.
inline constexpr ULONG LOGOFF_NORMAL = 0x00000001;
inline constexpr ULONG LOGOFF_HURRY  = 0x80000000;

// ulContext of a message service entry point.
inline constexpr ULONG MSG_SERVICE_INSTALL         = 1;
inline constexpr ULONG MSG_SERVICE_CREATE          = 2;
inline constexpr ULONG MSG_SERVICE_CONFIGURE       = 3;
inline constexpr ULONG MSG_SERVICE_DELETE          = 4;
inline constexpr ULONG MSG_SERVICE_UNINSTALL       = 5;
inline constexpr ULONG MSG_SERVICE_PROVIDER_CREATE = 6;
inline constexpr ULONG MSG_SERVICE_PROVIDER_DELETE = 7;
// clang-format on

/// What MAPI offers to a provider. Its identifier is IID_IMAPISup.
struct IMAPISupport : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetMemAllocRoutines(LPALLOCATEBUFFER* lpAllocateBuffer,
                                                         LPALLOCATEMORE* lpAllocateMore,
                                                         LPFREEBUFFER* lpFreeBuffer) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Subscribe(LPNOTIFKEY lpKey, ULONG ulEventMask, ULONG ulFlags,
                                               LPMAPIADVISESINK lpAdviseSink, ULONG_PTR* lpulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Unsubscribe(ULONG_PTR ulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Notify(LPNOTIFKEY lpKey, ULONG cNotification, LPNOTIFICATION lpNotifications,
                                            ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ModifyStatusRow(ULONG cValues, LPSPropValue lpColumnVals, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenProfileSection(LPMAPIUID lpUid, ULONG ulFlags, LPPROFSECT* lppProfileObj) = 0;
    virtual HRESULT DEFTMAPI_STDCALL RegisterPreprocessor(LPMAPIUID lpMuid, LPTSTR lpszAdrType, LPTSTR lpszDLLName,
                                                          LPSTR lpszPreprocess, LPSTR lpszRemovePreprocessInfo,
                                                          ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL NewUID(LPMAPIUID lpMuid) = 0;
    virtual HRESULT DEFTMAPI_STDCALL MakeInvalid(ULONG ulFlags, LPVOID lpObject, ULONG ulRefCount, ULONG cMethods) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SpoolerYield(ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SpoolerNotify(ULONG ulFlags, LPVOID lpvData) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateOneOff(LPTSTR lpszName, LPTSTR lpszAdrType, LPTSTR lpszAddress,
                                                  ULONG ulFlags, ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetProviderUID(LPMAPIUID lpProviderID, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CompareEntryIDs(ULONG cbEntry1, LPENTRYID lpEntry1, ULONG cbEntry2,
                                                     LPENTRYID lpEntry2, ULONG ulCompareFlags, ULONG* lpulResult) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenTemplateID(ULONG cbTemplateID, LPENTRYID lpTemplateID, ULONG ulTemplateFlags,
                                                    LPMAPIPROP lpMAPIPropData, LPCIID lpInterface,
                                                    LPMAPIPROP* lppMAPIPropNew, LPMAPIPROP lpMAPIPropSibling) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface,
                                               ULONG ulOpenFlags, ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetOneOffTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Address(ULONG_PTR* lpulUIParam, LPADRPARM lpAdrParms, LPADRLIST* lppAdrList) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Details(ULONG_PTR* lpulUIParam, LPFNDISMISS lpfnDismiss, LPVOID lpvDismissContext,
                                             ULONG cbEntryID, LPENTRYID lpEntryID, LPFNBUTTON lpfButtonCallback,
                                             LPVOID lpvButtonContext, LPTSTR lpszButtonText, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL NewEntry(ULONG_PTR ulUIParam, ULONG ulFlags, ULONG cbEIDContainer,
                                              LPENTRYID lpEIDContainer, ULONG cbEIDNewEntryTpl,
                                              LPENTRYID lpEIDNewEntryTpl, ULONG* lpcbEIDNewEntry,
                                              LPENTRYID* lppEIDNewEntry) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DoConfigPropsheet(ULONG_PTR ulUIParam, ULONG ulFlags, LPTSTR lpszTitle,
                                                       LPMAPITABLE lpDisplayTable, LPMAPIPROP lpCOnfigData,
                                                       ULONG ulTopPage) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyMessages(LPCIID lpSrcInterface, LPVOID lpSrcFolder, LPENTRYLIST lpMsgList,
                                                  LPCIID lpDestInterface, LPVOID lpDestFolder, ULONG_PTR ulUIParam,
                                                  LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyFolder(LPCIID lpSrcInterface, LPVOID lpSrcFolder, ULONG cbEntryID,
                                                LPENTRYID lpEntryID, LPCIID lpDestInterface, LPVOID lpDestFolder,
                                                LPTSTR lszNewFolderName, ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress,
                                                ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DoCopyTo(LPCIID lpSrcInterface, LPVOID lpSrcObj, ULONG ciidExclude,
                                              LPCIID rgiidExclude, LPSPropTagArray lpExcludeProps, ULONG_PTR ulUIParam,
                                              LPMAPIPROGRESS lpProgress, LPCIID lpDestInterface, LPVOID lpDestObj,
                                              ULONG ulFlags, LPSPropProblemArray* lppProblems) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DoCopyProps(LPCIID lpSrcInterface, LPVOID lpSrcObj, LPSPropTagArray lpIncludeProps,
                                                 ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress, LPCIID lpDestInterface,
                                                 LPVOID lpDestObj, ULONG ulFlags, LPSPropProblemArray* lppProblems) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DoProgressDialog(ULONG_PTR ulUIParam, ULONG ulFlags,
                                                      LPMAPIPROGRESS* lppProgress) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ReadReceipt(ULONG ulFlags, LPMESSAGE lpReadMessage,
                                                 LPMESSAGE* lppEmptyMessage) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PrepareSubmit(LPMESSAGE lpMessage, ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ExpandRecips(LPMESSAGE lpMessage, ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL UpdatePAB(ULONG ulFlags, LPMESSAGE lpMessage) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DoSentMail(ULONG ulFlags, LPMESSAGE lpMessage) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenAddressBook(LPCIID lpInterface, ULONG ulFlags, LPADRBOOK* lppAdrBook) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Preprocess(ULONG ulFlags, ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CompleteMsg(ULONG ulFlags, ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL StoreLogoffTransports(ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL StatusRecips(LPMESSAGE lpMessage, LPADRLIST lpRecipList) = 0;
    virtual HRESULT DEFTMAPI_STDCALL WrapStoreEntryID(ULONG cbOrigEntry, LPENTRYID lpOrigEntry, ULONG* lpcbWrappedEntry,
                                                      LPENTRYID* lppWrappedEntry) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ModifyProfile(ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL IStorageFromStream(LPUNKNOWN lpUnkIn, LPCIID lpInterface, ULONG ulFlags,
                                                        LPSTORAGE* lppStorageOut) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetSvcConfigSupportObj(ULONG ulFlags, LPMAPISUP* lppSvcSupport) = 0;

protected:
    ~IMAPISupport() = default;
};

/// Message store provider.
struct IMSProvider : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL Shutdown(ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Logon(LPMAPISUP lpMAPISup, ULONG_PTR ulUIParam, LPTSTR lpszProfileName,
                                           ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulFlags, LPCIID lpInterface,
                                           ULONG* lpcbSpoolSecurity, LPBYTE* lppbSpoolSecurity,
                                           LPMAPIERROR* lppMAPIError, LPMSLOGON* lppMSLogon, LPMDB* lppMDB) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SpoolerLogon(LPMAPISUP lpMAPISup, ULONG_PTR ulUIParam, LPTSTR lpszProfileName,
                                                  ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulFlags,
                                                  LPCIID lpInterface, ULONG cbSpoolSecurity, LPBYTE lpbSpoolSecurity,
                                                  LPMAPIERROR* lppMAPIError, LPMSLOGON* lppMSLogon, LPMDB* lppMDB) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CompareStoreIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2,
                                                     LPENTRYID lpEntryID2, ULONG ulFlags, ULONG* lpulResult) = 0;

protected:
    ~IMSProvider() = default;
};

/// A log-on to a store, as MAPI sees it.
struct IMSLogon : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Logoff(ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags,
                                               ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2,
                                                     LPENTRYID lpEntryID2, ULONG ulFlags, ULONG* lpulResult) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Advise(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulEventMask,
                                            LPMAPIADVISESINK lpAdviseSink, ULONG_PTR* lpulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Unadvise(ULONG_PTR ulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenStatusEntry(LPCIID lpInterface, ULONG ulFlags, ULONG* lpulObjType,
                                                     LPVOID* lppEntry) = 0;

protected:
    ~IMSLogon() = default;
};

/// Address book provider.
struct IABProvider : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL Shutdown(ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Logon(LPMAPISUP lpMAPISup, ULONG_PTR ulUIParam, LPTSTR lpszProfileName,
                                           ULONG ulFlags, ULONG* lpulpcbSecurity, LPBYTE* lppbSecurity,
                                           LPMAPIERROR* lppMAPIError, LPABLOGON* lppABLogon) = 0;

protected:
    ~IABProvider() = default;
};

/// A log-on to an address book.
struct IABLogon : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Logoff(ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags,
                                               ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2,
                                                     LPENTRYID lpEntryID2, ULONG ulFlags, ULONG* lpulResult) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Advise(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulEventMask,
                                            LPMAPIADVISESINK lpAdviseSink, ULONG_PTR* lpulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Unadvise(ULONG_PTR ulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenStatusEntry(LPCIID lpInterface, ULONG ulFlags, ULONG* lpulObjType,
                                                     LPMAPISTATUS* lppEntry) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenTemplateID(ULONG cbTemplateID, LPENTRYID lpTemplateID, ULONG ulTemplateFlags,
                                                    LPMAPIPROP lpMAPIPropData, LPCIID lpInterface,
                                                    LPMAPIPROP* lppMAPIPropNew, LPMAPIPROP lpMAPIPropSibling) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetOneOffTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PrepareRecips(ULONG ulFlags, LPSPropTagArray lpPropTagArray,
                                                   LPADRLIST lpRecipList) = 0;

protected:
    ~IABLogon() = default;
};

/// Transport provider.
struct IXPProvider : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL Shutdown(ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL TransportLogon(LPMAPISUP lpMAPISup, ULONG_PTR ulUIParam, LPTSTR lpszProfileName,
                                                    ULONG* lpulFlags, LPMAPIERROR* lppMAPIError,
                                                    LPXPLOGON* lppXPLogon) = 0;

protected:
    ~IXPProvider() = default;
};

/// A log-on to a transport.
struct IXPLogon : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL AddressTypes(ULONG* lpulFlags, ULONG* lpcAdrType, LPTSTR** lpppAdrTypeArray,
                                                  ULONG* lpcMAPIUID, LPMAPIUID** lpppUIDArray) = 0;
    virtual HRESULT DEFTMAPI_STDCALL RegisterOptions(ULONG* lpulFlags, ULONG* lpcOptions, LPOPTIONDATA* lppOptions) = 0;
    virtual HRESULT DEFTMAPI_STDCALL TransportNotify(ULONG* lpulFlags, LPVOID* lppvData) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Idle(ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL TransportLogoff(ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SubmitMessage(ULONG ulFlags, LPMESSAGE lpMessage, ULONG_PTR* lpulMsgRef,
                                                   ULONG_PTR* lpulReturnParm) = 0;
    virtual HRESULT DEFTMAPI_STDCALL EndMessage(ULONG_PTR ulMsgRef, ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Poll(ULONG* lpulIncoming) = 0;
    virtual HRESULT DEFTMAPI_STDCALL StartMessage(ULONG ulFlags, LPMESSAGE lpMessage, ULONG_PTR* lpulMsgRef) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenStatusEntry(LPCIID lpInterface, ULONG ulFlags, ULONG* lpulObjType,
                                                     LPMAPISTATUS* lppEntry) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ValidateState(ULONG_PTR ulUIParam, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL FlushQueues(ULONG_PTR ulUIParam, ULONG cbTargetTransport,
                                                 LPENTRYID lpTargetTransport, ULONG ulFlags) = 0;

protected:
    ~IXPLogon() = default;
};

/// Sees messages on their way in and out.
struct ISpoolerHook : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL InboundMsgHook(LPMESSAGE lpMessage, LPMAPIFOLDER lpFolder, LPMDB lpMDB,
                                                    ULONG* lpulFlags, ULONG* lpcbEntryID, LPBYTE* lppEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OutboundMsgHook(LPMESSAGE lpMessage, LPMAPIFOLDER lpFolder, LPMDB lpMDB,
                                                     ULONG* lpulFlags, ULONG* lpcbEntryID, LPBYTE* lppEntryID) = 0;

protected:
    ~ISpoolerHook() = default;
};

} // namespace mapi
