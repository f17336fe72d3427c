// What a session reaches besides stores: administration, the status table and the spooler, forms, new messages.
#include "mapi/admin/SectionOpener.hpp"
#include "mapi/core/MAPIModule.hpp"
#include "mapi/core/OutlookInfo.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNoSpooler = u"%s.FlushQueues failed. The MAPI Spoolerstatus can't be retrieved!";
constexpr auto sFlushNotSupported = u"%s.FlushQueues failed!\r\nThe MAPI Spooler does not support this operation!";
constexpr auto sFlushBusy =
    u"%s.FlushQueues failed!\r\nAnother operation is in progress that prevents the column setting operation from "
    u"starting.\r\nEither the operation in progress should be allowed to complete or it should be stopped";
constexpr auto sNoFormManager = u"The FormManager is only supported by Microsoft Outlook!!";
constexpr auto sNoFolderDialog =
    u"In order to use the CreateFolderDialog you must either add the VCL.fKwMAPIFolderDialog or "
    u"FMX.fKwMAPIFolderDialog to your uses clause!";

constexpr auto OutlookClient = u"Microsoft Outlook";

// Outlook 2002 and older flush through MAPI's spooler; later ones have none unless they work with Exchange.
constexpr TKwOutlookMajorVersion LastWithSpooler = OL2002;

constexpr auto MailClass = u"IPM.Note";

using TOpenFormMgr = mapi::HRESULT(DEFTMAPI_STDCALL*)(mapi::LPMAPISESSION session, mapi::IMAPIFormMgr** manager);
constinit TKwMAPIFunction<TOpenFormMgr> entryOpenFormMgr("MAPIOpenFormMgr", "MAPIOpenFormMgr@8");

TKwCreateFolderDialogProc& CreateFolderDialogProc()
{
    static TKwCreateFolderDialogProc proc;
    return proc;
}

} // namespace

void SetCreateFolderDialogProc(TKwCreateFolderDialogProc proc)
{
    CreateFolderDialogProc() = std::move(proc);
}

TKwRef<IKwMAPISessionInfo> TSession::GetSessionInfo()
{
    CheckActive(u"GetSessionInfo");
    if (!FSessionInfo)
        FSessionInfo = KwMake<TKwMAPISessionInfo>(*this);
    return FSessionInfo;
}

// ---- Administration

TKwRef<IKwMAPIProfileAdmin> TSession::GetProfileAdmin()
{
    if (UsesExtendedMAPI()) {
        EnsureLibrary();
        MAPIInitialize();
    }
    return KwMake<TKwMAPIProfileAdmin>(*this);
}

WideString TSession::GetDefaultProfile()
{
    return GetProfileAdmin()->GetDefaultProfile();
}

WideString TSession::GetProfiles(WideView separator)
{
    return GetProfileAdmin()->GetProfiles(separator);
}

WordBool TSession::HasDefaultProfile()
{
    return GetProfileAdmin()->HasDefaultProfile();
}

TKwRef<IKwMAPIAdminServices> TSession::GetAdminServices()
{
    CheckReady(u"GetAdminServices");
    TKwComPtr<mapi::IMsgServiceAdmin> admin;
    CheckMAPIResult(*this, u"GetAdminServices", CallSession(u"GetAdminServices", [&](auto& session) {
        return session.AdminServices(0, Out(admin));
    }));
    return KwMake<TKwMAPIAdminServices>(*this, admin.Get(), true);
}

TKwRef<IKwMAPIProfSect> TSession::OpenProfileSection(const TKwMAPIEntryID& uid, TKwMAPIAccessLevel accessLevel)
{
    CheckReady(u"OpenProfileSection");
    return OpenSection(uid, accessLevel, false);
}

TKwRef<IKwMAPIProfSect> TSession::FindGlobalSection()
{
    return OpenSection(StrToEntryID(KwGlobalProfileSection), alReadOnly, true);
}

TKwRef<IKwMAPIProfSect> TSession::OpenSection(const TKwMAPIEntryID& uid, TKwMAPIAccessLevel accessLevel,
                                              bool mayBeMissing)
{
    return OpenSectionWith(*this, u"OpenProfileSection", uid, accessLevel, mayBeMissing,
                           [this](mapi::MAPIUID* id, mapi::ULONG flags, mapi::IProfSect** section) {
                               return CallSession(u"OpenProfileSection", [&](auto& session) {
                                   return session.OpenProfileSection(id, nullptr, flags, section);
                               });
                           });
}

// ---- Status and spooler

TKwComPtr<mapi::IMAPITable> TSession::OpenStatusTable()
{
    CheckReady(u"GetStatusTable");
    TKwComPtr<mapi::IMAPITable> table;
    CheckMAPIResult(*this, u"GetStatusTable", WithCharWidth(0, [&](mapi::ULONG flags) {
        return CallSession(u"GetStatusTable", [&](auto& session) { return session.GetStatusTable(flags, Out(table)); });
    }));
    return table;
}

TKwRef<IKwMAPIStatusTable> TSession::GetStatusTable()
{
    return KwMake<TKwMAPIStatusTable>(*this, OpenStatusTable().Get(), [this] { return OpenStatusTable(); });
}

TKwComPtr<mapi::IMAPIStatus> TSession::OpenSpooler()
{
    TKwComPtr<mapi::IMAPIStatus> spooler;
    try {
        TKwMAPIEntryIDArg id(GetStatusTable()->GetEntryID(mrtSpooler));
        mapi::ULONG type = 0;
        mapi::HRESULT hr = mapi::MAPI_E_NOT_FOUND;
        TKwComPtr<mapi::IUnknown> object;
        if (!id.Empty())
            hr = CallSession(u"FlushQueues", [&](auto& session) {
                return session.OpenEntry(id.Size(), id.Get(), &mapi::IID_IMAPIStatus, 0, &type, Out(object));
            });
        if (mapi::Succeeded(hr))
            hr = object->QueryInterface(mapi::IID_IMAPIStatus, OutVoid(spooler));
        if (mapi::Failed(hr))
            spooler.Reset();
    } catch (const EKwMAPIException&) {
        spooler.Reset(); // whatever the reason: there is no spooler to ask
    }
    if (!spooler)
        CreateKwMAPIException(mapi::MAPI_E_NO_SUPPORT, sNoSpooler, {GetClassName()})->Raise();
    return spooler;
}

void TSession::FlushQueues(mapi::ULONG flags)
{
    CheckUsingExtendedMAPI(u"FlushQueues");
    CheckActive(u"FlushQueues");
    mapi::HRESULT hr = mapi::MAPI_E_NO_SUPPORT;
    if (FConnectedToExchange || KwGetOutlookInfo().Version <= LastWithSpooler)
        hr = OpenSpooler()->FlushQueues(GetParentWindow(), 0, nullptr, flags);
    switch (hr) {
    case mapi::MAPI_E_NO_SUPPORT:
        if (FServiceAlone)
            return;
        if (!KwSameText(ClientName(), OutlookClient))
            CreateKwMAPIException(hr, sFlushNotSupported, {GetClassName()})->Raise();
        OutlookFlushQueusEvent(flags);
        return;
    case mapi::MAPI_E_BUSY:
        CreateKwMAPIException(hr, sFlushBusy, {GetClassName()})->Raise();
    default:
        CheckMAPIResult(*this, u"FlushQueues", hr);
    }
}

// ---- Address book, forms, dialogs

TKwComPtr<mapi::IAddrBook> TSession::OpenAddressBook()
{
    CheckReady(u"OpenAddressBook");
    TKwComPtr<mapi::IAddrBook> book;
    const mapi::ULONG flags = IsService() ? mapi::AB_NO_DIALOG : 0;
    const mapi::HRESULT hr = CallSession(u"OpenAddressBook", [&](auto& session) {
        return session.OpenAddressBook(GetParentWindow(), nullptr, flags, Out(book));
    });
    // The warning says that one of several providers of it failed; the others are there.
    if (hr != mapi::MAPI_W_ERRORS_RETURNED)
        CheckMAPIResult(*this, u"OpenAddressBook", hr);
    return book;
}

TKwComPtr<mapi::IMAPIFormMgr> TSession::GetFormManager()
{
    CheckReady(u"GetFormManager");
    if (!KwSameText(ClientName(), OutlookClient))
        CreateKwMAPIException(KwNotSupported, sNoFormManager)->Raise();
    TKwComPtr<mapi::IMAPIFormMgr> manager;
    CheckMAPIResult(*this, u"GetFormManager", CallSession(u"GetFormManager", [&](auto& session) {
        return entryOpenFormMgr(&session, Out(manager));
    }));
    return manager;
}

TKwRef<IKwInterface> TSession::CreateFolderDialog()
{
    const TKwCreateFolderDialogProc& create = CreateFolderDialogProc();
    if (!create)
        CreateKwMAPIException(KwNotSupported, sNoFolderDialog)->Raise();
    return create(*this);
}

// ---- New messages

TKwRef<IKwMAPIMessage> TSession::CreateMessage(TKwMAPIFolderType folderType, WideView messageClass)
{
    CheckActive(u"CreateMessage");
    const auto folder = OpenDefaultMsgStore(alBestAccess)->OpenFolderByType(folderType, alBestAccess);
    return folder->CreateMessage(messageClass);
}

TKwRef<IKwMAPIMessage> TSession::CreateMailMessage()
{
    CheckActive(u"CreateMailMessage");
    return CreateMessage(ftOutbox, MailClass);
}

} // namespace deftmapi
