// Exchange interfaces and structures: other mailboxes, rules and permissions, synchronisation, fast transfer.
#pragma once

#include "mapi/headers/uKwEdkConstantsH.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace mapi
{

/// One change of a rule or permission table.
struct ROWENTRY
{
    ULONG ulRowFlags;
    ULONG cValues;
    LPSPropValue rgPropVals;
};
using LPROWENTRY = ROWENTRY*;

/// Open-ended: cEntries changes follow.
struct ROWLIST
{
    ULONG cEntries;
    ROWENTRY aEntries[1];
};
using LPROWLIST = ROWLIST*;

/// One action of a rule. Which union member counts follows from acttype.
struct ACTION
{
    // OP_MOVE, OP_COPY
    struct MoveCopy
    {
        ULONG cbStoreEntryId;
        LPENTRYID lpStoreEntryId;
        ULONG cbFldEntryId;
        LPENTRYID lpFldEntryId;
    };

    // OP_REPLY, OP_OOF_REPLY
    struct Reply
    {
        ULONG cbEntryId;
        LPENTRYID lpEntryId;
        GUID guidReplyTemplate;
    };

    // OP_DEFER_ACTION
    struct DeferAction
    {
        ULONG cbData;
        BYTE* pbData;
    };

    ACTTYPE acttype;
    ULONG ulActionFlavor;
    LPSRestriction lpRes;
    LPSPropTagArray lpPropTagArray;
    ULONG ulFlags;
    ULONG dwAlignPad;
    union
    {
        MoveCopy actMoveCopy;
        Reply actReply;
        DeferAction actDeferAction;
        SCODE scBounceCode;
        LPADRLIST lpadrlist;
        SPropValue propTag;
    };
};
using LPACTION = ACTION*;

/// The actions of a rule (PT_ACTIONS).
struct ACTIONS
{
    ULONG ulVersion;
    UINT cActions;
    LPACTION lpAction;
};
using LPACTIONS = ACTIONS*;

/// Read state of one message in a synchronisation.
struct READSTATE
{
    ULONG cbSourceKey;
    BYTE* pbSourceKey;
    ULONG ulFlags;
};
using LPREADSTATE = READSTATE*;

/// Opens other mailboxes and lists what a server has. Each numbered successor appends to the one before.
struct IExchangeManageStore : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL CreateStoreEntryID(LPCSTR lpszMsgStoreDN, LPCSTR lpszMailboxDN, ULONG ulFlags,
                                                        ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL EntryIDFromSourceKey(ULONG cFolderKeySize, BYTE* lpFolderSourceKey,
                                                          ULONG cMessageKeySize, BYTE* lpMessageSourceKey,
                                                          ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetRights(ULONG cbUserEntryID, LPENTRYID lpUserEntryID, ULONG cbEntryID,
                                               LPENTRYID lpEntryID, ULONG* lpulRights) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetMailboxTable(LPSTR lpszServerName, LPMAPITABLE* lppTable, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetPublicFolderTable(LPSTR lpszServerName, LPMAPITABLE* lppTable,
                                                          ULONG ulFlags) = 0;

protected:
    ~IExchangeManageStore() = default;
};

/// Adds newsgroups.
struct IExchangeManageStore2 : IExchangeManageStore
{
    virtual HRESULT DEFTMAPI_STDCALL CreateNewsgroupNameEntryID(LPSTR lpszNewsgroupName, ULONG* lpcbEntryID,
                                                                LPENTRYID* lppEntryID) = 0;

protected:
    ~IExchangeManageStore2() = default;
};

/// Adds the mailbox table from an offset.
struct IExchangeManageStore3 : IExchangeManageStore2
{
    virtual HRESULT DEFTMAPI_STDCALL GetMailboxTableOffset(LPSTR lpszServerName, LPMAPITABLE* lppTable, ULONG ulFlags,
                                                           UINT uOffset) = 0;

protected:
    ~IExchangeManageStore3() = default;
};

/// Adds the public folder table from an offset.
struct IExchangeManageStore4 : IExchangeManageStore3
{
    virtual HRESULT DEFTMAPI_STDCALL GetPublicFolderTableOffset(LPSTR lpszServerName, LPMAPITABLE* lppTable,
                                                                ULONG ulFlags, UINT uOffset) = 0;

protected:
    ~IExchangeManageStore4() = default;
};

/// Adds the tables of one database.
struct IExchangeManageStore5 : IExchangeManageStore4
{
    virtual HRESULT DEFTMAPI_STDCALL GetMailboxTableEx(LPSTR lpszServerName, LPGUID lpguidMdb, LPMAPITABLE* lppTable,
                                                       ULONG ulFlags, UINT uOffset) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetPublicFolderTableEx(LPSTR lpszServerName, LPGUID lpguidMdb,
                                                            LPMAPITABLE* lppTable, ULONG ulFlags, UINT uOffset) = 0;

protected:
    ~IExchangeManageStore5() = default;
};

/// Adds entry identifiers from properties. It continues IExchangeManageStore, not its numbered successors.
struct IExchangeManageStoreEx : IExchangeManageStore
{
    virtual HRESULT DEFTMAPI_STDCALL CreateStoreEntryID2(ULONG cValues, LPSPropValue lpPropArray, ULONG ulFlags,
                                                         ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;

protected:
    ~IExchangeManageStoreEx() = default;
};

/// Hands out what changed since a state.
struct IExchangeExportChanges : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Config(LPSTREAM lpStream, ULONG ulFlags, LPUNKNOWN lpUnk,
                                            LPSRestriction lpRestriction, LPSPropTagArray lpIncludeProps,
                                            LPSPropTagArray lpExcludeProps, ULONG ulBufferSize) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Synchronize(ULONG* lpulSteps, ULONG* lpulProgress) = 0;
    virtual HRESULT DEFTMAPI_STDCALL UpdateState(LPSTREAM lpStream) = 0;

protected:
    ~IExchangeExportChanges() = default;
};

/// Adds messages as converted streams.
struct IExchangeExportChanges2 : IExchangeExportChanges
{
    virtual HRESULT DEFTMAPI_STDCALL ConfigForConversionStream(LPSTREAM lpStream, ULONG ulFlags, LPUNKNOWN lpUnk,
                                                               LPSRestriction lpRestriction, ULONG cValuesConversion,
                                                               LPSPropValue lpPropArrayConversion,
                                                               ULONG ulBufferSize) = 0;

protected:
    ~IExchangeExportChanges2() = default;
};

/// Adds a selection of messages.
struct IExchangeExportChanges3 : IExchangeExportChanges2
{
    virtual HRESULT DEFTMAPI_STDCALL ConfigForSelectiveSync(LPSTREAM lpStream, ULONG ulFlags, LPUNKNOWN lpUnk,
                                                            LPENTRYLIST lpMsgList, LPSRestriction lpRestriction,
                                                            LPSPropTagArray lpIncludeProps,
                                                            LPSPropTagArray lpExcludeProps, ULONG ulBufferSize) = 0;

protected:
    ~IExchangeExportChanges3() = default;
};

/// Takes in changes of messages.
struct IExchangeImportContentsChanges : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Config(LPSTREAM lpStream, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL UpdateState(LPSTREAM lpStream) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ImportMessageChange(ULONG cpvalChanges, LPSPropValue ppvalChanges, ULONG ulFlags,
                                                         LPMESSAGE* lppmessage) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ImportMessageDeletion(ULONG ulFlags, LPENTRYLIST lpSrcEntryList) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ImportPerUserReadStateChange(ULONG cElements, LPREADSTATE lpReadState) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ImportMessageMove(ULONG cbSourceKeySrcFolder, BYTE* pbSourceKeySrcFolder,
                                                       ULONG cbSourceKeySrcMessage, BYTE* pbSourceKeySrcMessage,
                                                       ULONG cbPCLMessage, BYTE* pbPCLMessage,
                                                       ULONG cbSourceKeyDestMessage, BYTE* pbSourceKeyDestMessage,
                                                       ULONG cbChangeNumDestMessage, BYTE* pbChangeNumDestMessage) = 0;

protected:
    ~IExchangeImportContentsChanges() = default;
};

/// Adds messages as converted streams.
struct IExchangeImportContentsChanges2 : IExchangeImportContentsChanges
{
    virtual HRESULT DEFTMAPI_STDCALL ConfigForConversionStream(LPSTREAM lpStream, ULONG ulFlags,
                                                               ULONG cValuesConversion,
                                                               LPSPropValue lpPropArrayConversion) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ImportMessageChangeAsAStream(ULONG cpvalChanges, LPSPropValue ppvalChanges,
                                                                  ULONG ulFlags, LPSTREAM* lppstream) = 0;

protected:
    ~IExchangeImportContentsChanges2() = default;
};

/// Takes in changes of folders.
struct IExchangeImportHierarchyChanges : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Config(LPSTREAM lpStream, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL UpdateState(LPSTREAM lpStream) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ImportFolderChange(ULONG cpvalChanges, LPSPropValue ppvalChanges) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ImportFolderDeletion(ULONG ulFlags, LPENTRYLIST lpSrcEntryList) = 0;

protected:
    ~IExchangeImportHierarchyChanges() = default;
};

/// The rules or permissions of a folder.
struct IExchangeModifyTable : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ModifyTable(ULONG ulFlags, LPROWLIST lpMods) = 0;

protected:
    ~IExchangeModifyTable() = default;
};

/// The actions of a deferred rule.
struct IExchangeRuleAction : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL ActionCount(ULONG* lpcActions) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetAction(ULONG ulActionNumber, LARGE_INTEGER* lpruleid, LPACTION* lppAction) = 0;

protected:
    ~IExchangeRuleAction() = default;
};

/// Copies as a byte stream.
struct IExchangeFastTransfer : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL Config(ULONG ulFlags, ULONG ulTransferMethod) = 0;
    virtual HRESULT DEFTMAPI_STDCALL TransferBuffer(ULONG cb, LPBYTE lpb, ULONG* lpcbProcessed) = 0;
    virtual BOOL DEFTMAPI_STDCALL IsInterfaceOk(ULONG ulTransferMethod, REFIID refiid, LPSPropTagArray lpptagList,
                                                ULONG ulFlags) = 0;

protected:
    ~IExchangeFastTransfer() = default;
};

/// The favourite public folders.
struct IExchangeFavorites : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL AddFavorites(LPENTRYLIST lpEntryList) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DelFavorites(LPENTRYLIST lpEntryList) = 0;

protected:
    ~IExchangeFavorites() = default;
};

/// Receives change advice. No identifier is published.
struct IExchangeChangeAdviseSink : IUnknown
{
    virtual ULONG DEFTMAPI_STDCALL OnNotify(ULONG ulFlags, LPENTRYLIST lpEntryList) = 0;

protected:
    ~IExchangeChangeAdviseSink() = default;
};

/// Advises of changes in a set of folders.
struct IExchangeChangeAdvisor : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Config(LPSTREAM lpStream, LPGUID lpGUID, LPEXCHANGECHANGEADVISESINK lpAdviseSink,
                                            ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL UpdateState(LPSTREAM lpStream) = 0;
    virtual HRESULT DEFTMAPI_STDCALL AddKeys(LPENTRYLIST lpEntryList) = 0;
    virtual HRESULT DEFTMAPI_STDCALL RemoveKeys(LPENTRYLIST lpEntryList) = 0;

protected:
    ~IExchangeChangeAdvisor() = default;
};

/// A message as a converted stream.
struct IExchangeMessageConversion : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL OpenStream(ULONG cValues, LPSPropValue lpPropArray, LPSTREAM* lppStream) = 0;

protected:
    ~IExchangeMessageConversion() = default;
};

/// Is told of items that could not be moved.
struct IExchangeBadItemCallback : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL BadItem(HRESULT hResult, ULONG ulFlags, LPWSTR lpwszFolderName,
                                             LPSBinary lpsbFolderEid, ULONG cValues, LPSPropValue lpPropArray) = 0;

protected:
    ~IExchangeBadItemCallback() = default;
};

/// Progress of a mailbox move.
struct IExchangeMoveUserProgress : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL NextFolder(ULONG ulFlags, LPWSTR lpwszFolderName) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Progress(ULONG ulFlags, ULONG ulCount, ULONG ulTotal) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Restart(ULONG ulFlags) = 0;

protected:
    ~IExchangeMoveUserProgress() = default;
};

/// News articles into public folders.
struct IExchangeNntpNewsfeed : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL Configure(LPSTR lpszNewsfeedDN, ULONG cValues, LPSPropValue lpIMailPropArray) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CheckMsgIds(LPSTR lpszMsgIds, ULONG* lpcfWanted, BYTE** lppfWanted) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenArticleStream(LPSTREAM* lppStream) = 0;

protected:
    ~IExchangeNntpNewsfeed() = default;
};

} // namespace mapi
