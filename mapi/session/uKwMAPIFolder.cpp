// Folders: their kind, subfolders and tables. Messages are in FolderMessages.cpp.
#include "mapi/session/uKwMAPIFolder.hpp"

#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/session/AccessLevel.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/SpecialFolders.hpp"
#include "mapi/session/TextArg.hpp"
#include "mapi/table/uKwMAPITable.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sFolderExists = u"%s.CreateFolder failed!\r\nA folder with the name given in the AFolderName parameter "
                               u"already exists. Folder names must be unique.";
constexpr auto sHasFolders =
    u"%s.DeleteFolder failed!\r\nThe subfolder being deleted contains subfolders, and the ADeleteSubFolders flag was "
    u"not set. The subfolder was not deleted.";
constexpr auto sHasMessages = u"%s.DeleteFolder failed!\r\nThe subfolder being deleted contains messages, and the "
                              u"ADeleteMessages flag was not set. The subfolder was not deleted.";
constexpr auto sPartlyDeleted =
    u"%s.DeleteFolder failed!\r\nThe call succeeded, but not all of the entries were successfully deleted.";

/// The kinds that a folder is recognised by through its class alone.
constexpr TKwMAPIFolderType TypesByClass[] = {ftJournal, ftStickyNote, ftContact, ftTask, ftAppointment};
/// The kinds that only the store's identifiers tell, in the order in which they are compared.
constexpr TKwMAPIFolderType TypesByIdentifier[] = {ftInbox,    ftOutbox,     ftCommon,    ftIPMRoot,
                                                   ftPersonal, ftSearch,     ftSentItems, ftDeleted,
                                                   ftDraft,    ftJunkFolder, ftSyncIssues};

} // namespace

TKwMAPIFolder::TKwMAPIFolder(TKwMAPIWrapper& createdBy) : TKwMAPIContainer(&createdBy)
{
    SetSession(createdBy.Session());
}

void TKwMAPIFolder::SetMAPIOBJECT(mapi::IUnknown* object)
{
    FFolderType = ftPlain;
    TKwMAPIContainer::SetMAPIOBJECT(object);
}

void TKwMAPIFolder::SetOpenedAs(TKwMAPIAccessLevel accessLevel)
{
    SetOpenedAccess(*this, accessLevel);
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
    const auto store = GetMsgStore();
    const TKwMAPIEntryID id = Get_EntryID();
    if (!store || id.IsEmptyOrNull())
        return ftPlain;
    for (const TKwMAPIFolderType type : TypesByIdentifier)
        if (store->CompareEntryIDs(id, store->GetFolderID(type)))
            return type;
    return ftPlain;
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
                                                  bool openIfExists)
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
        CreateKwMAPIException(hr, sFolderExists, {GetClassName()})->Raise();
    CheckMAPIResult(*this, u"CreateFolder", hr);

    // A folder belongs to the store that it is in, not to its parent.
    auto* store = dynamic_cast<TKwMAPIWrapper*>(Owner());
    const auto folder = KwMake<TKwMAPIFolder>(store != nullptr ? *store : *this);
    folder->SetMAPIOBJECT(object.Get());
    folder->SetAccessLevel(alReadWrite);
    if (!containerClass.empty() && (!openIfExists || folder->Get_ContainerClass().empty())) {
        folder->Set_ContainerClass(containerClass);
        folder->SaveChanges(smKeepReadWrite);
    }
    return folder;
}

void TKwMAPIFolder::DeleteFolder(const TKwMAPIEntryID& entryID, bool ADeleteMessages, bool ADeleteSubFolders,
                                 bool showProgress)
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
        CreateKwMAPIException(hr, sPartlyDeleted, {GetClassName()})->Raise();
    default:
        CheckMAPIResult(*this, u"DeleteFolder", hr);
    }
}

// ---- Tables

TKwRef<IKwMAPITable> TKwMAPIFolder::GetAssociatedContentsTable()
{
    const auto open = [this] { return OpenContentsTable(u"GetAssociatedContentsTable", mapi::MAPI_ASSOCIATED); };
    return KwMake<TKwMAPITable>(*this, open().Get(), open);
}

} // namespace deftmapi
