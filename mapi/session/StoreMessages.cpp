// The messages of a store: creating, opening and finding them, and those in files.
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"
#include "mapi/session/AccessLevel.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/MessageFiles.hpp"
#include "mapi/session/uKwMAPIFolder.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sEmptyEntryID = u"An invalid (empty) EntryID was specified!";

} // namespace

TKwRef<IKwMAPIMessage> TKwMAPIMsgStore::CreateMessage(TKwMAPIFolderType folderType, WideView messageClass)
{
    CheckActive(u"CreateMessage");
    return OpenFolderByType(folderType, alBestAccess)->CreateMessage(messageClass);
}

TKwComPtr<mapi::IMessage> TKwMAPIMsgStore::OpenRawMessage(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel)
{
    const auto object = OpenObject(u"OpenRawMessage", entryID, mapi::IID_IMessage, accessLevel, mapi::MAPI_MESSAGE);
    return TKwComPtr<mapi::IMessage>(static_cast<mapi::IMessage*>(object.Get()));
}

TKwRef<IKwMAPIMessage> TKwMAPIMsgStore::OpenMessage(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel)
{
    const auto object = OpenObject(u"OpenMessage", entryID, mapi::IID_IMessage, accessLevel, mapi::MAPI_MESSAGE);
    return CreateMessageObjectFromIntf(this, Session(), static_cast<mapi::IMessage*>(object.Get()), accessLevel);
}

WordBool TKwMAPIMsgStore::FindMessage(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel,
                                      TKwRef<IKwMAPIMessage>& message)
{
    message.Reset();
    CheckActive(u"FindMessage");
    CheckExtendedMAPI(u"FindMessage");
    CheckStoreAccess(accessLevel == alReadWrite);
    TKwMAPIEntryIDArg id(entryID);
    if (id.Empty())
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sEmptyEntryID)->Raise();
    mapi::ULONG type = 0;
    TKwComPtr<mapi::IUnknown> object;
    const mapi::HRESULT hr =
        MsgStore().OpenEntry(id.Size(), id.Get(), &mapi::IID_IMessage, AccessFlag(accessLevel), &type, Out(object));
    switch (hr) {
    case mapi::MAPI_E_NOT_FOUND: // how stores say that they do not know an identifier
    case mapi::MAPI_E_UNKNOWN_ENTRYID:
    case mapi::MAPI_E_INVALID_ENTRYID:
    case mapi::MAPI_E_OBJECT_DELETED:
        return false;
    default:
        CheckMAPIResult(*this, u"FindMessage", hr);
    }
    if (type != mapi::MAPI_MESSAGE)
        CheckMAPIResult(*this, u"FindMessage", mapi::MAPI_E_INVALID_OBJECT);
    message = CreateMessageObjectFromIntf(this, Session(), static_cast<mapi::IMessage*>(object.Get()), accessLevel);
    return true;
}

TKwMAPIEntryID TKwMAPIMsgStore::_SearchMessage(IKwMAPIFolder& folder, const TKwVariant& searchKey)
{
    const TKwMAPIEntryID found = dynamic_cast<TKwMAPIFolder&>(folder).FindBySearchKey(searchKey);
    if (!found.IsNull())
        return found;
    const auto children = folder.GetHierarchyTable(false);
    children->Get_Fields()->Add(PR_ENTRYID);
    for (children->First(); !children->Get_EOF(); children->Next()) {
        const auto child = OpenFolder(children->GetFieldValue(PR_ENTRYID), alReadOnly);
        const TKwMAPIEntryID foundBelow = _SearchMessage(*child, searchKey);
        if (!foundBelow.IsNull())
            return foundBelow;
    }
    return TKwNull{};
}

WordBool TKwMAPIMsgStore::SearchMessage(const TKwVariant& searchKey, TKwMAPIAccessLevel accessLevel,
                                        TKwRef<IKwMAPIMessage>& message)
{
    message.Reset();
    CheckActive(u"SearchMessage");
    CheckExtendedMAPI(u"SearchMessage");
    CheckStoreAccess(accessLevel == alReadWrite);
    const TKwMAPIEntryID found = _SearchMessage(*OpenFolderByType(ftIPMRoot, alReadOnly), searchKey);
    if (found.IsNull())
        return false;
    message = OpenMessage(found, accessLevel);
    return true;
}

// ---- Files

TKwRef<IKwMAPIMessage> TKwMAPIMsgStore::OpenSavedMessage(const WideString& fileName, TKwMAPIAccessLevel accessLevel)
{
    CheckActive(u"OpenSavedMessage");
    CheckExtendedMAPI(u"OpenSavedMessage");
    if (KwIsCompoundFile(fileName))
        return KwOpenMsgFile(*this, u"OpenSavedMessage", fileName, accessLevel);
    const TKwMAPIEntryID inbox = GetReceiveFolderID();
    const auto folder = inbox.IsNull() ? OpenFolderByType(ftIPMRoot, alBestAccess) : OpenFolder(inbox, alBestAccess);
    return KwAs<TKwMAPIFolder>(folder)->ReadMessageFile(*this, u"OpenSavedMessage", fileName);
}

TKwRef<IKwMAPIMessage> TKwMAPIMsgStore::OpenDroppedMessage(mapi::IStorage& storage, TKwMAPIAccessLevel accessLevel)
{
    CheckActive(u"OpenDroppedMessage");
    CheckExtendedMAPI(u"OpenDroppedMessage");
    return KwOpenMessageOn(*this, storage, accessLevel == alReadOnly ? alReadOnly : alReadWrite);
}

void TKwMAPIMsgStore::SaveDroppedMessage(mapi::IStorage& storage, const WideString& fileName)
{
    CheckActive(u"SaveDroppedMessage");
    CheckExtendedMAPI(u"SaveDroppedMessage");
    KwSaveStorage(*this, u"SaveDroppedMessage", storage, fileName);
}

} // namespace deftmapi
