// The interfaces of stores, folders, messages and tables. The order of the methods is the order of the method table; a
// PlaceHolder method anywhere in these headers only keeps the following slots in place and is never called.
#pragma once

#include "mapi/headers/uKwMAPIComH.hpp"
#include "mapi/headers/uKwMAPIForwardH.hpp"
#include "mapi/headers/uKwMAPIStructuresH.hpp"

namespace mapi
{

/// Receives notifications. Implemented by the client.
struct IMAPIAdviseSink : IUnknown
{
    virtual ULONG DEFTMAPI_STDCALL OnNotify(ULONG cNotif, LPNOTIFICATION lpNotifications) = 0;

protected:
    ~IMAPIAdviseSink() = default;
};

/// Progress of a long operation. Implemented by the client.
struct IMAPIProgress : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL Progress(ULONG ulValue, ULONG ulCount, ULONG ulTotal) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetFlags(ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetMax(ULONG* lpulMax) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetMin(ULONG* lpulMin) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetLimits(LPULONG lpulMin, LPULONG lpulMax, LPULONG lpulFlags) = 0;

protected:
    ~IMAPIProgress() = default;
};

/// Any object with properties.
struct IMAPIProp : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SaveChanges(ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetProps(LPSPropTagArray lpPropTagArray, ULONG ulFlags, ULONG* lpcValues,
                                              LPSPropValue* lppPropArray) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetPropList(ULONG ulFlags, LPSPropTagArray* lppPropTagArray) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenProperty(ULONG ulPropTag, LPCIID lpiid, ULONG ulInterfaceOptions,
                                                  ULONG ulFlags, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetProps(ULONG cValues, LPSPropValue lpPropArray,
                                              LPSPropProblemArray* lppProblems) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteProps(LPSPropTagArray lpPropTagArray, LPSPropProblemArray* lppProblems) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyTo(ULONG ciidExclude, LPCIID rgiidExclude, LPSPropTagArray lpExcludeProps,
                                            ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress, LPCIID lpInterface,
                                            LPVOID lpDestObj, ULONG ulFlags, LPSPropProblemArray* lppProblems) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyProps(LPSPropTagArray lpIncludeProps, ULONG_PTR ulUIParam,
                                               LPMAPIPROGRESS lpProgress, LPCIID lpInterface, LPVOID lpDestObj,
                                               ULONG ulFlags, LPSPropProblemArray* lppProblems) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetNamesFromIDs(LPSPropTagArray* lppPropTags, LPGUID lpPropSetGuid, ULONG ulFlags,
                                                     ULONG* lpcPropNames, LPMAPINAMEID** lpppPropNames) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetIDsFromNames(ULONG cPropNames, LPMAPINAMEID* lppPropNames, ULONG ulFlags,
                                                     LPSPropTagArray* lppPropTags) = 0;

protected:
    ~IMAPIProp() = default;
};

/// Rows and columns over the contents of a container or of an administrative list.
struct IMAPITable : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Advise(ULONG ulEventMask, LPMAPIADVISESINK lpAdviseSink,
                                            ULONG_PTR* lpulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Unadvise(ULONG_PTR ulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetStatus(ULONG* lpulTableStatus, ULONG* lpulTableType) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetColumns(LPSPropTagArray lpPropTagArray, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL QueryColumns(ULONG ulFlags, LPSPropTagArray* lpPropTagArray) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetRowCount(ULONG ulFlags, ULONG* lpulCount) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG* lplRowsSought) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SeekRowApprox(ULONG ulNumerator, ULONG ulDenominator) = 0;
    virtual HRESULT DEFTMAPI_STDCALL QueryPosition(ULONG* lpulRow, ULONG* lpulNumerator, ULONG* lpulDenominator) = 0;
    virtual HRESULT DEFTMAPI_STDCALL FindRow(LPSRestriction lpRestriction, BOOKMARK bkOrigin, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Restrict(LPSRestriction lpRestriction, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateBookmark(BOOKMARK* lpbkPosition) = 0;
    virtual HRESULT DEFTMAPI_STDCALL FreeBookmark(BOOKMARK bkPosition) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SortTable(LPSSortOrderSet lpSortCriteria, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL QuerySortOrder(LPSSortOrderSet* lppSortCriteria) = 0;
    virtual HRESULT DEFTMAPI_STDCALL QueryRows(LONG lRowCount, ULONG ulFlags, LPSRowSet* lppRows) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Abort() = 0;
    virtual HRESULT DEFTMAPI_STDCALL ExpandRow(ULONG cbInstanceKey, LPBYTE pbInstanceKey, ULONG ulRowCount,
                                               ULONG ulFlags, LPSRowSet* lppRows, ULONG* lpulMoreRows) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CollapseRow(ULONG cbInstanceKey, LPBYTE pbInstanceKey, ULONG ulFlags,
                                                 ULONG* lpulRowCount) = 0;
    virtual HRESULT DEFTMAPI_STDCALL WaitForCompletion(ULONG ulFlags, ULONG ulTimeout, ULONG* lpulTableStatus) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetCollapseState(ULONG ulFlags, ULONG cbInstanceKey, LPBYTE lpbInstanceKey,
                                                      ULONG* lpcbCollapseState, LPBYTE* lppbCollapseState) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetCollapseState(ULONG ulFlags, ULONG cbCollapseState, LPBYTE pbCollapseState,
                                                      BOOKMARK* lpbkLocation) = 0;

protected:
    ~IMAPITable() = default;
};

/// Folders, address book containers and distribution lists.
struct IMAPIContainer : IMAPIProp
{
    virtual HRESULT DEFTMAPI_STDCALL GetContentsTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetHierarchyTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags,
                                               ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetSearchCriteria(LPSRestriction lpRestriction, LPENTRYLIST lpContainerList,
                                                       ULONG ulSearchFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetSearchCriteria(ULONG ulFlags, LPSRestriction* lppRestriction,
                                                       LPENTRYLIST* lppContainerList, ULONG* lpulSearchState) = 0;

protected:
    ~IMAPIContainer() = default;
};

/// A message folder.
struct IMAPIFolder : IMAPIContainer
{
    virtual HRESULT DEFTMAPI_STDCALL CreateMessage(LPCIID lpInterface, ULONG ulFlags, LPMESSAGE* lppMessage) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyMessages(LPENTRYLIST lpMsgList, LPCIID lpInterface, LPVOID lpDestFolder,
                                                  ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteMessages(LPENTRYLIST lpMsgList, ULONG_PTR ulUIParam,
                                                    LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateFolder(ULONG ulFolderType, LPTSTR lpszFolderName, LPTSTR lpszFolderComment,
                                                  LPCIID lpInterface, ULONG ulFlags, LPMAPIFOLDER* lppFolder) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyFolder(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface,
                                                LPVOID lpDestFolder, LPTSTR lpszNewFolderName, ULONG_PTR ulUIParam,
                                                LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteFolder(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG_PTR ulUIParam,
                                                  LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetReadFlags(LPENTRYLIST lpMsgList, ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress,
                                                  ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetMessageStatus(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulFlags,
                                                      ULONG* lpulMessageStatus) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetMessageStatus(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulNewStatus,
                                                      ULONG ulNewStatusMask, ULONG* lpulOldStatus) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SaveContentsSort(LPSSortOrderSet lpSortCriteria, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL EmptyFolder(ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;

protected:
    ~IMAPIFolder() = default;
};

/// An address book container.
struct IABContainer : IMAPIContainer
{
    virtual HRESULT DEFTMAPI_STDCALL CreateEntry(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulCreateFlags,
                                                 LPMAPIPROP* lppMAPIPropEntry) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyEntries(LPENTRYLIST lpEntries, ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress,
                                                 ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteEntries(LPENTRYLIST lpEntries, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ResolveNames(LPSPropTagArray lpPropTagArray, ULONG ulFlags, LPADRLIST lpAdrList,
                                                  LPFlagList lpFlagList) = 0;

protected:
    ~IABContainer() = default;
};

/// A distribution list. It repeats the methods of IABContainer but does not derive from it.
struct IDistList : IMAPIContainer
{
    virtual HRESULT DEFTMAPI_STDCALL CreateEntry(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulCreateFlags,
                                                 LPMAPIPROP* lppMAPIPropEntry) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyEntries(LPENTRYLIST lpEntries, ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress,
                                                 ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteEntries(LPENTRYLIST lpEntries, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ResolveNames(LPSPropTagArray lpPropTagArray, ULONG ulFlags, LPADRLIST lpAdrList,
                                                  LPFlagList lpFlagList) = 0;

protected:
    ~IDistList() = default;
};

/// A messaging user; only properties.
struct IMailUser : IMAPIProp
{
protected:
    ~IMailUser() = default;
};

/// A message.
struct IMessage : IMAPIProp
{
    virtual HRESULT DEFTMAPI_STDCALL GetAttachmentTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenAttach(ULONG ulAttachmentNum, LPCIID lpInterface, ULONG ulFlags,
                                                LPATTACH* lppAttach) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateAttach(LPCIID lpInterface, ULONG ulFlags, ULONG* lpulAttachmentNum,
                                                  LPATTACH* lppAttach) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteAttach(ULONG ulAttachmentNum, ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress,
                                                  ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetRecipientTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ModifyRecipients(ULONG ulFlags, LPADRLIST lpMods) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SubmitMessage(ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetReadFlag(ULONG ulFlags) = 0;

protected:
    ~IMessage() = default;
};

/// An attachment; only properties. Its identifier is IID_IAttachment.
struct IAttach : IMAPIProp
{
protected:
    ~IAttach() = default;
};

/// A message store.
struct IMsgStore : IMAPIProp
{
    virtual HRESULT DEFTMAPI_STDCALL Advise(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulEventMask,
                                            LPMAPIADVISESINK lpAdviseSink, ULONG_PTR* lpulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Unadvise(ULONG_PTR ulConnection) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2,
                                                     LPENTRYID lpEntryID2, ULONG ulFlags, ULONG* lpulResult) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags,
                                               ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetReceiveFolder(LPTSTR lpszMessageClass, ULONG ulFlags, ULONG cbEntryID,
                                                      LPENTRYID lpEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetReceiveFolder(LPTSTR lpszMessageClass, ULONG ulFlags, ULONG* lpcbEntryID,
                                                      LPENTRYID* lppEntryID, LPTSTR* lppszExplicitClass) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetReceiveFolderTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL StoreLogoff(ULONG* lpulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL AbortSubmit(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetOutgoingQueue(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetLockState(LPMESSAGE lpMessage, ULONG ulLockState) = 0;
    virtual HRESULT DEFTMAPI_STDCALL FinishedMsg(ULONG ulFlags, ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL NotifyNewMail(LPNOTIFICATION lpNotification) = 0;

protected:
    ~IMsgStore() = default;
};

} // namespace mapi
