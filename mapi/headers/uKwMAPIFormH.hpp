// Forms: their manager, their libraries, and the conversation between a form and its viewer.
#pragma once

#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace mapi
{

// clang-format off
// Form manager flags.
inline constexpr ULONG MAPIFORM_SELECT_ALL_REGISTRIES           = 0x00000000;
inline constexpr ULONG MAPIFORM_SELECT_FOLDER_REGISTRY_ONLY     = 0x00000001;
inline constexpr ULONG MAPIFORM_SELECT_NON_FOLDER_REGISTRY_ONLY = 0x00000002;
inline constexpr ULONG FORMPROPSET_UNION                        = 0x00000000;
inline constexpr ULONG FORMPROPSET_INTERSECTION                 = 0x00000001;
inline constexpr ULONG MAPIFORM_EXACTMATCH                      = 0x00000020;
inline constexpr ULONG MAPIFORM_INSTALL_DIALOG                  = 0x00000008;
inline constexpr ULONG MAPIFORM_INSTALL_OVERWRITEONCONFLICT     = 0x00000010;

// Form registries (IMAPIFormMgr::OpenFormContainer).
inline constexpr ULONG HFRMREG_DEFAULT  = 0;
inline constexpr ULONG HFRMREG_LOCAL    = 1;
inline constexpr ULONG HFRMREG_PERSONAL = 2;
inline constexpr ULONG HFRMREG_FOLDER   = 3;

// Form save options.
inline constexpr ULONG SAVEOPTS_SAVEIFDIRTY = 0;
inline constexpr ULONG SAVEOPTS_NOSAVE      = 1;
inline constexpr ULONG SAVEOPTS_PROMPTSAVE  = 2;

// Form save formats.
inline constexpr ULONG SAVE_FORMAT_TEXT     = 0x00000001;
inline constexpr ULONG SAVE_FORMAT_RICHTEXT = 0x00000002;

// State of a view (IMAPIViewContext::GetViewStatus).
inline constexpr ULONG VCSTATUS_NEXT           = 0x00000001;
inline constexpr ULONG VCSTATUS_PREV           = 0x00000002;
inline constexpr ULONG VCSTATUS_MODAL          = 0x00000004;
inline constexpr ULONG VCSTATUS_INTERACTIVE    = 0x00000008;
inline constexpr ULONG VCSTATUS_READONLY       = 0x00000010;
inline constexpr ULONG VCSTATUS_DELETE         = 0x00010000;
inline constexpr ULONG VCSTATUS_COPY           = 0x00020000;
inline constexpr ULONG VCSTATUS_MOVE           = 0x00040000;
inline constexpr ULONG VCSTATUS_SUBMIT         = 0x00080000;
inline constexpr ULONG VCSTATUS_DELETE_IS_MOVE = 0x00100000;
inline constexpr ULONG VCSTATUS_SAVE           = 0x00200000;
inline constexpr ULONG VCSTATUS_NEW_MESSAGE    = 0x00400000;

// Where a view goes next.
inline constexpr ULONG VCDIR_NEXT   = 0x00000001;
inline constexpr ULONG VCDIR_PREV   = 0x00000002;
inline constexpr ULONG VCDIR_DELETE = 0x00010000;
inline constexpr ULONG VCDIR_MOVE   = 0x00040000;

// Form property special types.
inline constexpr ULONG FPST_VANILLA   = 0;
inline constexpr ULONG FPST_ENUM_PROP = 1;

// Message behaviour of a form.
inline constexpr ULONG MAPI_MESSAGE_BEHAVIOR_IPM    = 0;
inline constexpr ULONG MAPI_MESSAGE_BEHAVIOR_FOLDER = 1;

// Platforms of a form: processor and operating system.
inline constexpr ULONG MAPIFORM_CPU_X86     = 1;
inline constexpr ULONG MAPIFORM_CPU_MIP     = 2;
inline constexpr ULONG MAPIFORM_CPU_AXP     = 3;
inline constexpr ULONG MAPIFORM_CPU_PPC     = 4;
inline constexpr ULONG MAPIFORM_CPU_M68     = 5;
inline constexpr ULONG MAPIFORM_CPU_X64     = 6;
inline constexpr ULONG MAPIFORM_OS_WIN_31   = 1;
inline constexpr ULONG MAPIFORM_OS_WINNT_35 = 2;
inline constexpr ULONG MAPIFORM_OS_WIN_95   = 3;
inline constexpr ULONG MAPIFORM_OS_MAC_7x   = 4;
inline constexpr ULONG MAPIFORM_OS_WINNT_40 = 5;
inline constexpr ULONG MAPIFORM_OS_WINNT_50 = 6;
inline constexpr ULONG MAPIFORM_OS_WINNT_60 = 7;
// clang-format on

/// How a form shall print.
struct FORMPRINTSETUP
{
    ULONG ulFlags;
    HGLOBAL hDevMode;
    HGLOBAL hDevNames;
    ULONG ulFirstPageNumber;
    ULONG fPrintAttachments;
};
using LPFORMPRINTSETUP = FORMPRINTSETUP*;

/// One named value of an enumerated form property.
struct SMAPIFormPropEnumVal
{
    LPTSTR pszDisplayName;
    ULONG nVal;
};
using LPMAPIFORMPROPENUMVAL = SMAPIFormPropEnumVal*;

/// One property that a form publishes.
struct SMAPIFormProp
{
    // FPST_ENUM_PROP
    struct EnumProp
    {
        MAPINAMEID nmidIdx;
        ULONG cfpevAvailable;
        LPMAPIFORMPROPENUMVAL pfpevAvailable;
    };

    ULONG ulFlags;
    ULONG nPropType;
    MAPINAMEID nmid;
    LPTSTR pszDisplayName;
    FORMPROPSPECIALTYPE nSpecialType;
    union
    {
        EnumProp s1;
    } u;
};
using LPMAPIFORMPROP = SMAPIFormProp*;

/// Open-ended: cProps properties follow.
struct SMAPIFormPropArray
{
    ULONG cProps;
    ULONG ulPad;
    SMAPIFormProp aFormProp[1];
};
using LPMAPIFORMPROPARRAY = SMAPIFormPropArray*;

/// One verb of a form.
struct SMAPIVerb
{
    LONG lVerb;
    LPTSTR szVerbname;
    DWORD fuFlags;
    DWORD grfAttribs;
    ULONG ulFlags;
};
using LPMAPIVERB = SMAPIVerb*;

/// Open-ended: cMAPIVerb verbs follow.
struct SMAPIVerbArray
{
    ULONG cMAPIVerb;
    SMAPIVerb aMAPIVerb[1];
};
using LPMAPIVERBARRAY = SMAPIVerbArray*;

/// Open-ended: cValues message classes follow.
struct SMessageClassArray
{
    ULONG cValues;
    LPCSTR aMessageClass[1];
};
using LPSMESSAGECLASSARRAY = SMessageClassArray*;

/// Open-ended: cForms descriptions follow.
struct SMAPIFormInfoArray
{
    ULONG cForms;
    LPMAPIFORMINFO aFormInfo[1];
};
using LPSMAPIFORMINFOARRAY = SMAPIFormInfoArray*;

/// Finds and starts forms.
struct IMAPIFormMgr : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL LoadForm(ULONG_PTR ulUIParam, ULONG ulFlags, LPCSTR lpszMessageClass,
                                              ULONG ulMessageStatus, ULONG ulMessageFlags, LPMAPIFOLDER pFolderFocus,
                                              LPMAPIMESSAGESITE pMessageSite, LPMESSAGE pmsg,
                                              LPMAPIVIEWCONTEXT pViewContext, REFIID riid, LPVOID* ppvObj) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ResolveMessageClass(LPCSTR szMsgClass, ULONG ulFlags, LPMAPIFOLDER pFolderFocus,
                                                         LPMAPIFORMINFO* ppResult) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ResolveMultipleMessageClasses(LPSMESSAGECLASSARRAY pMsgClasses, ULONG ulFlags,
                                                                   LPMAPIFOLDER pFolderFocus,
                                                                   LPSMAPIFORMINFOARRAY* pfrminfoarray) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CalcFormPropSet(LPSMAPIFORMINFOARRAY pfrminfoarray, ULONG ulFlags,
                                                     LPMAPIFORMPROPARRAY* ppResults) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateForm(ULONG_PTR ulUIParam, ULONG ulFlags, LPMAPIFORMINFO pfrminfoToActivate,
                                                REFIID refiidToAsk, LPVOID* ppvObj) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SelectForm(ULONG_PTR ulUIParam, ULONG ulFlags, LPCTSTR pszTitle, LPMAPIFOLDER pfld,
                                                LPMAPIFORMINFO* ppfrminfoReturned) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SelectMultipleForms(ULONG_PTR ulUIParam, ULONG ulFlags, LPCTSTR pszTitle,
                                                         LPMAPIFOLDER pfld, LPSMAPIFORMINFOARRAY pfrminfoarray,
                                                         LPSMAPIFORMINFOARRAY* ppfrminfoarray) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SelectFormContainer(ULONG_PTR ulUIParam, ULONG ulFlags,
                                                         LPMAPIFORMCONTAINER* lppfcnt) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenFormContainer(HFRMREG hfrmreg, LPUNKNOWN lpunk,
                                                       LPMAPIFORMCONTAINER* lppfcnt) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PrepareForm(ULONG_PTR ulUIParam, ULONG ulFlags, LPMAPIFORMINFO pfrminfo) = 0;
    virtual HRESULT DEFTMAPI_STDCALL IsInConflict(ULONG ulMessageFlags, ULONG ulMessageStatus, LPCSTR szMessageClass,
                                                  LPMAPIFOLDER pFolderFocus) = 0;

protected:
    ~IMAPIFormMgr() = default;
};

/// A running form.
struct IMAPIForm : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetViewContext(LPMAPIVIEWCONTEXT pViewContext) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetViewContext(LPMAPIVIEWCONTEXT* ppViewContext) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ShutdownForm(ULONG ulSaveOptions) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DoVerb(LONG iVerb, LPMAPIVIEWCONTEXT lpViewContext, ULONG_PTR hwndParent,
                                            LPCRECT lprcPosRect) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Advise(LPMAPIVIEWADVISESINK pAdvise, ULONG_PTR* pdwStatus) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Unadvise(ULONG_PTR ulConnection) = 0;

protected:
    ~IMAPIForm() = default;
};

/// A form's way to its message and folder.
struct IMAPIMessageSite : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetSession(LPMAPISESSION* ppSession) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetStore(LPMDB* ppStore) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetFolder(LPMAPIFOLDER* ppFolder) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetMessage(LPMESSAGE* ppmsg) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetFormManager(LPMAPIFORMMGR* ppFormMgr) = 0;
    virtual HRESULT DEFTMAPI_STDCALL NewMessage(ULONG fComposeInFolder, LPMAPIFOLDER pFolderFocus,
                                                LPPERSISTMESSAGE pPersistMessage, LPMESSAGE* ppMessage,
                                                LPMAPIMESSAGESITE* ppMessageSite, LPMAPIVIEWCONTEXT* ppViewContext) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CopyMessage(LPMAPIFOLDER pFolderDestination) = 0;
    virtual HRESULT DEFTMAPI_STDCALL MoveMessage(LPMAPIFOLDER pFolderDestination, LPMAPIVIEWCONTEXT pViewContext,
                                                 LPCRECT prcPosRect) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteMessage(LPMAPIVIEWCONTEXT pViewContext, LPCRECT prcPosRect) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SaveMessage() = 0;
    virtual HRESULT DEFTMAPI_STDCALL SubmitMessage(ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetSiteStatus(LPULONG lpulStatus) = 0;

protected:
    ~IMAPIMessageSite() = default;
};

/// A form's way to the next message and to printing.
struct IMAPIViewContext : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetAdviseSink(LPMAPIFORMADVISESINK pmvns) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ActivateNext(ULONG ulDir, LPCRECT prcPosRect) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetPrintSetup(ULONG ulFlags, LPFORMPRINTSETUP* lppFormPrintSetup) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetSaveStream(ULONG* pulFlags, ULONG* pulFormat, LPSTREAM* ppstm) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetViewStatus(LPULONG lpulStatus) = 0;

protected:
    ~IMAPIViewContext() = default;
};

/// Loads and saves the message of a form.
struct IPersistMessage : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetClassID(LPCLSID lpClassID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL IsDirty() = 0;
    virtual HRESULT DEFTMAPI_STDCALL InitNew(LPMAPIMESSAGESITE pMessageSite, LPMESSAGE pMessage) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Load(LPMAPIMESSAGESITE pMessageSite, LPMESSAGE pMessage, ULONG ulMessageStatus,
                                          ULONG ulMessageFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Save(LPMESSAGE pMessage, ULONG fSameAsLoad) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SaveCompleted(LPMESSAGE pMessage) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HandsOffMessage() = 0;

protected:
    ~IPersistMessage() = default;
};

/// A library of forms.
struct IMAPIFormContainer : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL InstallForm(ULONG_PTR ulUIParam, ULONG ulFlags, LPCTSTR szCfgPathName) = 0;
    virtual HRESULT DEFTMAPI_STDCALL RemoveForm(LPCSTR szMessageClass) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ResolveMessageClass(LPCSTR szMessageClass, ULONG ulFlags,
                                                         LPMAPIFORMINFO* pforminfo) = 0;
    virtual HRESULT DEFTMAPI_STDCALL ResolveMultipleMessageClasses(LPSMESSAGECLASSARRAY pMsgClassArray, ULONG ulFlags,
                                                                   LPSMAPIFORMINFOARRAY* ppfrminfoarray) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CalcFormPropSet(ULONG ulFlags, LPMAPIFORMPROPARRAY* ppResults) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetDisplay(ULONG ulFlags, LPTSTR* pszDisplayName) = 0;

protected:
    ~IMAPIFormContainer() = default;
};

/// The description of a form.
struct IMAPIFormInfo : IMAPIProp
{
    virtual HRESULT DEFTMAPI_STDCALL CalcFormPropSet(ULONG ulFlags, LPMAPIFORMPROPARRAY* ppFormPropArray) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CalcVerbSet(ULONG ulFlags, LPMAPIVERBARRAY* ppMAPIVerbArray) = 0;
    virtual HRESULT DEFTMAPI_STDCALL MakeIconFromBinary(ULONG nPropID, HICON* phicon) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SaveForm(LPCTSTR szFileName) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OpenFormContainer(LPMAPIFORMCONTAINER* ppformcontainer) = 0;

protected:
    ~IMAPIFormInfo() = default;
};

/// Tells a form about changes in its view.
struct IMAPIFormAdviseSink : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL OnChange(ULONG ulDir) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OnActivateNext(LPCSTR lpszMessageClass, ULONG ulMessageStatus,
                                                    ULONG ulMessageFlags, LPPERSISTMESSAGE* ppPersistMessage) = 0;

protected:
    ~IMAPIFormAdviseSink() = default;
};

/// Tells a view about changes in its form.
struct IMAPIViewAdviseSink : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL OnShutdown() = 0;
    virtual HRESULT DEFTMAPI_STDCALL OnNewMessage() = 0;
    virtual HRESULT DEFTMAPI_STDCALL OnPrint(ULONG dwPageNumber, HRESULT hrStatus) = 0;
    virtual HRESULT DEFTMAPI_STDCALL OnSubmitted() = 0;
    virtual HRESULT DEFTMAPI_STDCALL OnSaved() = 0;

protected:
    ~IMAPIViewAdviseSink() = default;
};

/// Class factories for forms.
struct IMAPIFormFactory : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
    virtual HRESULT DEFTMAPI_STDCALL CreateClassFactory(REFCLSID clsidForm, ULONG ulFlags,
                                                        LPCLASSFACTORY* lppClassFactory) = 0;
    virtual HRESULT DEFTMAPI_STDCALL LockServer(ULONG ulFlags, ULONG fLockServer) = 0;

protected:
    ~IMAPIFormFactory() = default;
};

} // namespace mapi
