// Folders: their kind, subfolders and tables. Messages are in FolderMessages.cpp.
#include "mapi/session/uKwMAPIFolder.hpp"

#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/SimpleObjects.hpp"
#include "mapi/session/SpecialFolders.hpp"
#include "mapi/session/TextArg.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"
#include "mapi/table/uKwMAPITable.hpp"
#include "mapi/table/uKwSimpleMAPITables.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sFolderExists = u"%s.%s failed!\r\nA folder with the name given in the AFolderName parameter "
                               u"already exists. Folder names must be unique.";
constexpr auto sCopyCharWidth = u"%s.CopyFolder failed!\r\nEither the MAPI_UNICODE flag was set and the implementation "
                                u"does not support Unicode, or "
                                u"MAPI_UNICODE was not set and the implementation only supports Unicode.";
constexpr auto sCopyDeclined =
    u"%s.CopyFolder failed!\r\nThe provider implements this method by calling a support object "
    u"method and the caller has passed the MAPI_DECLINE_OK flag.";
constexpr auto sHasFolders =
    u"%s.DeleteFolder failed!\r\nThe subfolder being deleted contains subfolders, and the ADeleteSubFolders flag was "
    u"not set. The subfolder was not deleted.";
constexpr auto sHasMessages = u"%s.DeleteFolder failed!\r\nThe subfolder being deleted contains messages, and the "
                              u"ADeleteMessages flag was not set. The subfolder was not deleted.";
constexpr auto sPartlyDeleted =
    u"%s.%s failed!\r\nThe call succeeded, but not all of the entries were successfully deleted.";
constexpr auto sNoDestination = u"%s.%s failed!\r\nThe destination is no folder of MAPI.";
constexpr auto sNeedsExchange = u"This ICS functionality is only available when connected to an Exchange server!";

/// The class of the folders that CreateFolderByType makes for types that have no line here.
constexpr auto MailClass = u"IPF.Note";
constexpr TKwMAPIFolderType TypesWithClass[] = {ftAppointment, ftJournal, ftStickyNote, ftTask};

/// The kinds that a folder is recognised by through its class alone.
constexpr TKwMAPIFolderType TypesByClass[] = {ftJournal, ftStickyNote, ftContact, ftTask, ftAppointment};

} // namespace

TKwMAPIFolder::TKwMAPIFolder(TKwMAPIWrapper& createdBy) : TKwMAPIContainer(createdBy) {}

void TKwMAPIFolder::SetMAPIOBJECT(mapi::IUnknown* object)
{
    FFolderType = ftPlain;
    TKwMAPIContainer::SetMAPIOBJECT(object);
}

TKwRef<IKwMAPIFolder> WrapMAPIFolder(TKwMAPIWrapper& owner, mapi::IMAPIFolder* folder)
{
    const auto wrapper = KwMake<TKwMAPIFolder>(owner);
    wrapper->SetMAPIOBJECT(folder);
    wrapper->SetOpenedAs(alBestAccess);
    return wrapper;
}

TKwRef<IKwMAPIMsgStore> TKwMAPIFolder::GetMsgStore()
{
    return TKwRef<IKwMAPIMsgStore>(dynamic_cast<IKwMAPIMsgStore*>(Owner()));
}

// ---- Kind

TKwMAPIFolderType TKwMAPIFolder::Get_FolderType()
{
    CheckActive(u"Get_FolderType");
    if (!Session()->UsesExtendedMAPI())
        return static_cast<TKwMAPIFolderType>(PropByName(PR_FOLDER_TYPE)->Get_AsInteger());
    if (FFolderType == ftPlain)
        FFolderType = TypeByClass();
    if (FFolderType == ftPlain)
        FFolderType = TypeByIdentifier();
    return FFolderType;
}

TKwMAPIFolderType TKwMAPIFolder::TypeByClass()
{
    const WideString containerClass = Get_ContainerClass();
    for (const TKwMAPIFolderType type : TypesByClass)
        if (KwSameText(containerClass, FindSpecialFolder(type)->ContainerClass))
            return type;
    return ftPlain;
}

TKwMAPIFolderType TKwMAPIFolder::TypeByIdentifier()
{
    const auto store = KwAs<TKwMAPIMsgStore>(GetMsgStore());
    const TKwMAPIEntryID id = Get_EntryID();
    return store && !id.IsEmptyOrNull() ? store->FindFolderType(id) : ftPlain;
}

WideString TKwMAPIFolder::ClassFromContainer()
{
    return KwReplaceFirstText(Get_ContainerClass(), u"IPF.", u"IPM.");
}

WideString TKwMAPIFolder::Get_DefaultMessageClass()
{
    CheckActive(u"Get_DefaultMessageClass");
    switch (Get_FolderType()) {
    case ftInbox:
    case ftOutbox:
    case ftDeleted:
    case ftSentItems:
    case ftDraft:
    case ftJunkFolder:
        return u"IPM.Note";
    case ftContact:
        return u"IPM.Contact";
    case ftAppointment:
        return u"IPM.Appointment";
    case ftStickyNote:
        return u"IPM.StickyNote";
    case ftTask:
        return u"IPM.Task";
    default:
        return ClassFromContainer();
    }
}

// ---- Subfolders

TKwRef<IKwMAPIFolder> TKwMAPIFolder::CreateFolder(WideView containerClass, WideView AFolderName, WideView comment,
                                                  WordBool openIfExists)
{
    CheckActive(u"CreateFolder");
    CheckExtendedMAPI(u"CreateFolder");
    TKwComPtr<mapi::IMAPIFolder> object;
    const mapi::HRESULT hr = WithCharWidth(openIfExists ? mapi::OPEN_IF_EXISTS : 0, [&](mapi::ULONG flags) {
        return MAPIFolder().CreateFolder(mapi::FOLDER_GENERIC, TKwMAPITextArg(AFolderName, flags).Get(),
                                         TKwMAPITextArg(comment, flags).Get(), &mapi::IID_IMAPIFolder, flags,
                                         Out(object));
    });
    if (hr == mapi::MAPI_E_COLLISION)
        CreateKwMAPIException(hr, sFolderExists, {GetClassName(), u"CreateFolder"})->Raise();
    CheckMAPIResult(*this, u"CreateFolder", hr);

    // A folder belongs to the store that it is in, not to its parent.
    auto* store = dynamic_cast<TKwMAPIWrapper*>(Owner());
    const auto folder = KwMake<TKwMAPIFolder>(store != nullptr ? *store : *this);
    folder->SetMAPIOBJECT(object.Get());
    folder->SetAccessLevel(alReadWrite);
    if (containerClass.empty() || (openIfExists && !folder->Get_ContainerClass().empty()))
        return folder;
    try {
        folder->Set_ContainerClass(containerClass);
        folder->SaveChanges(smKeepReadWrite);
    } catch (...) {
        // A folder of no class is not what was asked for, and it would be in the way of the next try.
        if (!openIfExists) {
            try {
                DeleteFolder(folder->Get_EntryID(), false, false, false);
            } catch (...) {
                KwReportServerException(std::current_exception());
            }
        }
        throw;
    }
    return folder;
}

TKwRef<IKwMAPIFolder> TKwMAPIFolder::CreateFolderByType(TKwMAPIFolderType folderType, WideView AFolderName,
                                                        WideView comment, WordBool openIfExists)
{
    WideView containerClass = MailClass;
    for (const TKwMAPIFolderType type : TypesWithClass)
        if (type == folderType)
            containerClass = FindSpecialFolder(type)->ContainerClass;
    return CreateFolder(containerClass, AFolderName, comment, openIfExists);
}

TKwComPtr<mapi::IMAPIFolder> TKwMAPIFolder::DestinationOf(IKwMAPIFolder& destination, WideView methodName)
{
    TKwComPtr<mapi::IMAPIFolder> folder;
    mapi::IUnknown* object = destination.Get_MAPIOBJECT();
    if (object == nullptr || mapi::Failed(object->QueryInterface(mapi::IID_IMAPIFolder, OutVoid(folder))))
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoDestination, {GetClassName(), methodName})->Raise();
    return folder;
}

void TKwMAPIFolder::CopyFolder(const TKwMAPIEntryID& entryID, IKwMAPIFolder& destination, WideView newName,
                               WordBool move, WordBool copySubFolders, WordBool showProgress)
{
    CheckActive(u"CopyFolder");
    CheckExtendedMAPI(u"CopyFolder");
    const auto target = DestinationOf(destination, u"CopyFolder");
    mapi::ULONG options = 0;
    if (move)
        options |= mapi::FOLDER_MOVE;
    if (copySubFolders)
        options |= mapi::COPY_SUBFOLDERS;
    if (showProgress)
        options |= mapi::FOLDER_DIALOG;
    TKwMAPIEntryIDArg id(entryID);
    const mapi::HRESULT hr = WithCharWidth(options, [&](mapi::ULONG flags) {
        return MAPIFolder().CopyFolder(id.Size(), id.Get(), &mapi::IID_IMAPIFolder, target.Get(),
                                       TKwMAPITextArg(newName, flags).Get(), GetParentWindow(), nullptr, flags);
    });
    switch (hr) {
    case mapi::MAPI_E_COLLISION:
        CreateKwMAPIException(hr, sFolderExists, {GetClassName(), u"CopyFolder"})->Raise();
    case mapi::MAPI_E_BAD_CHARWIDTH:
        CreateKwMAPIException(hr, sCopyCharWidth, {GetClassName()})->Raise();
    case mapi::MAPI_E_DECLINE_COPY:
        CreateKwMAPIException(hr, sCopyDeclined, {GetClassName()})->Raise();
    default:
        CheckMAPIResult(*this, u"CopyFolder", hr);
    }
}

void TKwMAPIFolder::EmptyFolder(WordBool deleteAssociated, WordBool showProgress)
{
    CheckActive(u"EmptyFolder");
    CheckExtendedMAPI(u"EmptyFolder");
    mapi::ULONG flags = 0;
    if (deleteAssociated)
        flags |= mapi::DEL_ASSOCIATED;
    if (showProgress)
        flags |= mapi::FOLDER_DIALOG;
    const mapi::HRESULT hr = MAPIFolder().EmptyFolder(GetParentWindow(), nullptr, flags);
    if (hr == mapi::MAPI_W_PARTIAL_COMPLETION)
        CreateKwMAPIException(hr, sPartlyDeleted, {GetClassName(), u"EmptyFolder"})->Raise();
    CheckMAPIResult(*this, u"EmptyFolder", hr);
}

void TKwMAPIFolder::DeleteFolder(const TKwMAPIEntryID& entryID, WordBool ADeleteMessages, WordBool ADeleteSubFolders,
                                 WordBool showProgress)
{
    CheckActive(u"DeleteFolder");
    CheckExtendedMAPI(u"DeleteFolder");
    mapi::ULONG flags = 0;
    if (ADeleteSubFolders)
        flags |= mapi::DEL_FOLDERS;
    if (ADeleteMessages)
        flags |= mapi::DEL_MESSAGES;
    if (showProgress)
        flags |= mapi::FOLDER_DIALOG;
    TKwMAPIEntryIDArg id(entryID);
    const mapi::HRESULT hr = MAPIFolder().DeleteFolder(id.Size(), id.Get(), GetParentWindow(), nullptr, flags);
    switch (hr) {
    case mapi::MAPI_E_HAS_FOLDERS:
        CreateKwMAPIException(hr, sHasFolders, {GetClassName()})->Raise();
    case mapi::MAPI_E_HAS_MESSAGES:
        CreateKwMAPIException(hr, sHasMessages, {GetClassName()})->Raise();
    case mapi::MAPI_W_PARTIAL_COMPLETION:
        CreateKwMAPIException(hr, sPartlyDeleted, {GetClassName(), u"DeleteFolder"})->Raise();
    default:
        CheckMAPIResult(*this, u"DeleteFolder", hr);
    }
}

// ---- Tables

TKwRef<IKwMAPITable> TKwMAPIFolder::GetContentsTable()
{
    CheckActive(u"GetContentsTable");
    const auto* session = dynamic_cast<TSession*>(Session());
    if (session != nullptr && KwIsSimpleFolder(Get_MAPIOBJECT()) && Get_FolderType() == ftInbox)
        return KwMake<TKwSimpleMAPIFolderContentTable>(*this, session->SimpleMAPIHandle(), GetParentWindow());
    return TKwMAPIContainer::GetContentsTable();
}

TKwRef<IKwMAPITable> TKwMAPIFolder::GetAssociatedContentsTable()
{
    const auto open = [this] { return OpenContentsTable(u"GetAssociatedContentsTable", mapi::MAPI_ASSOCIATED); };
    return KwMake<TKwMAPITable>(*this, open().Get(), open);
}

// ---- Synchronisation

TKwComPtr<mapi::IExchangeExportChanges> TKwMAPIFolder::OpenSynchronizer(WideView methodName, TKwMAPIPropDef def)
{
    CheckActive(methodName);
    if (!Session()->Get_ConnectedToExchange())
        CreateKwMAPIException(KwNotSupported, sNeedsExchange)->Raise();
    const auto object = OpenIntfProperty(def, mapi::IID_IExchangeExportChanges, 0, alReadOnly, false);
    return TKwComPtr<mapi::IExchangeExportChanges>(static_cast<mapi::IExchangeExportChanges*>(object.Get()));
}

TKwComPtr<mapi::IExchangeExportChanges> TKwMAPIFolder::GetContentsSynchronizer()
{
    return OpenSynchronizer(u"GetContentsSynchronizer", PR_CONTENTS_SYNCHRONIZER);
}

TKwComPtr<mapi::IExchangeExportChanges> TKwMAPIFolder::GetHierarchySynchronizer()
{
    return OpenSynchronizer(u"GetHierarchySynchronizer", PR_HIERARCHY_SYNCHRONIZER);
}

} // namespace deftmapi
