// Names of the interfaces and the pointer types that the method signatures use, so that structures and interfaces can
// name each other in any order.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// Interfaces.
struct IUnknown;
struct IMalloc;
struct IStream;
struct IStorage;
struct IClassFactory;
struct IMAPIProp;
struct IMAPITable;
struct IMAPIContainer;
struct IMAPIFolder;
struct IABContainer;
struct IDistList;
struct IMailUser;
struct IMessage;
struct IAttach;
struct IMsgStore;
struct IMAPISession;
struct IAddrBook;
struct IMAPIStatus;
struct IProfSect;
struct IProfAdmin;
struct IMsgServiceAdmin;
struct IMsgServiceAdmin2;
struct IProviderAdmin;
struct IMAPIAdviseSink;
struct IMAPIProgress;
struct IMAPIControl;
struct ITableData;
struct IPropData;
struct IMAPIFormMgr;
struct IMAPIForm;
struct IMAPIMessageSite;
struct IMAPIViewContext;
struct IPersistMessage;
struct IMAPIFormContainer;
struct IMAPIFormInfo;
struct IMAPIFormAdviseSink;
struct IMAPIViewAdviseSink;
struct IMAPIFormFactory;
struct IExchangeChangeAdviseSink;
struct IMAPISupport;
struct IMSProvider;
struct IMSLogon;
struct IABProvider;
struct IABLogon;
struct IXPProvider;
struct IXPLogon;
struct ISpoolerHook;

// Pointers to them. Some of the names are older than those of the interfaces (LPMDB, LPADRBOOK, LPSERVICEADMIN,
// LPMAPISUP).
using LPUNKNOWN = IUnknown*;
using LPMALLOC = IMalloc*;
using LPSTREAM = IStream*;
using LPSTORAGE = IStorage*;
using LPCLASSFACTORY = IClassFactory*;
using LPMAPIPROP = IMAPIProp*;
using LPMAPITABLE = IMAPITable*;
using LPMAPICONTAINER = IMAPIContainer*;
using LPMAPIFOLDER = IMAPIFolder*;
using LPABCONT = IABContainer*;
using LPDISTLIST = IDistList*;
using LPMAILUSER = IMailUser*;
using LPMESSAGE = IMessage*;
using LPATTACH = IAttach*;
using LPMDB = IMsgStore*;
using LPMAPISESSION = IMAPISession*;
using LPADRBOOK = IAddrBook*;
using LPMAPISTATUS = IMAPIStatus*;
using LPPROFSECT = IProfSect*;
using LPPROFADMIN = IProfAdmin*;
using LPSERVICEADMIN = IMsgServiceAdmin*;
using LPSERVICEADMIN2 = IMsgServiceAdmin2*;
using LPPROVIDERADMIN = IProviderAdmin*;
using LPMAPIADVISESINK = IMAPIAdviseSink*;
using LPMAPIPROGRESS = IMAPIProgress*;
using LPMAPICONTROL = IMAPIControl*;
using LPTABLEDATA = ITableData*;
using LPPROPDATA = IPropData*;
using LPMAPIFORMMGR = IMAPIFormMgr*;
using LPMAPIFORM = IMAPIForm*;
using LPMAPIMESSAGESITE = IMAPIMessageSite*;
using LPMAPIVIEWCONTEXT = IMAPIViewContext*;
using LPPERSISTMESSAGE = IPersistMessage*;
using LPMAPIFORMCONTAINER = IMAPIFormContainer*;
using LPMAPIFORMINFO = IMAPIFormInfo*;
using LPMAPIFORMADVISESINK = IMAPIFormAdviseSink*;
using LPMAPIVIEWADVISESINK = IMAPIViewAdviseSink*;
using LPMAPIFORMFACTORY = IMAPIFormFactory*;
using LPEXCHANGECHANGEADVISESINK = IExchangeChangeAdviseSink*;
using LPMAPISUP = IMAPISupport*;
using LPMSPROVIDER = IMSProvider*;
using LPMSLOGON = IMSLogon*;
using LPABPROVIDER = IABProvider*;
using LPABLOGON = IABLogon*;
using LPXPPROVIDER = IXPProvider*;
using LPXPLOGON = IXPLogon*;
using LPSPOOLERHOOK = ISpoolerHook*;

} // namespace mapi
