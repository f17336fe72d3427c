// The special folders of a store, and folders by type, name and path.
#include "mapi/core/uKwMAPIEntryID.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/SpecialFolders.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"
#include "mapi/table/uKwSimpleMAPITables.hpp"

#include <optional>

namespace deftmapi
{

namespace
{

constexpr auto sSimpleMAPIFolders = u"When using Simple MAPI, you can only open the Inbox, Outbox or IPMRoot.";
constexpr auto sInvalidFolderType = u"You have specified an invalid FolderType";
constexpr auto sNoSuchFolder =
    u"%s.OpenFolderByType failed, because the message store does not have a folder of the type you requested!";
constexpr auto sNoSuchName =
    u"%s.OpenFolderByName failed, because the message store does not have a folder of the type you requested!";
constexpr auto sNoSpecialFolder = u"There is no special folder %s";
constexpr auto sNoSuchPath = u"The given path %s does not exist!";

/// The kinds that only the store's identifiers tell, in the order in which they are compared.
constexpr TKwMAPIFolderType TypesByIdentifier[] = {ftInbox,    ftOutbox,     ftCommon,    ftIPMRoot,
                                                   ftPersonal, ftSearch,     ftSentItems, ftDeleted,
                                                   ftDraft,    ftJunkFolder, ftSyncIssues};

} // namespace

mapi::HRESULT TKwMAPIMsgStore::CallGetReceiveFolder(mapi::ULONG& size, TKwMAPIBuffer<mapi::ENTRYID>& entryID)
{
    return WithCharWidth(0, [&](mapi::ULONG flags) {
        return MsgStore().GetReceiveFolder(nullptr, flags, &size, Out(entryID), nullptr);
    });
}

void TKwMAPIMsgStore::GetReceiveFolder(mapi::ULONG& size, TKwMAPIBuffer<mapi::ENTRYID>& entryID)
{
    CheckActive(u"GetReceiveFolder");
    CheckExtendedMAPI(u"GetReceiveFolder");
    size = 0;
    entryID = TKwMAPIBuffer<mapi::ENTRYID>(*this);
    CheckMAPIResult(*this, u"GetReceiveFolder", CallGetReceiveFolder(size, entryID));
}

mapi::HRESULT TKwMAPIMsgStore::GetReceiveFolder()
{
    CheckActive(u"GetReceiveFolder");
    CheckExtendedMAPI(u"GetReceiveFolder");
    mapi::ULONG size = 0;
    TKwMAPIBuffer<mapi::ENTRYID> id(*this);
    return CallGetReceiveFolder(size, id);
}

TKwMAPIEntryID TKwMAPIMsgStore::ReceiveFolderID(WideView methodName)
{
    CheckActive(methodName);
    if (!Session()->UsesExtendedMAPI())
        return KwSimpleMAPIFolderID(ftInbox);
    mapi::ULONG size = 0;
    TKwMAPIBuffer<mapi::ENTRYID> id(*this);
    const mapi::HRESULT hr = CallGetReceiveFolder(size, id);
    if (hr == mapi::MAPI_E_NO_SUPPORT)
        return TKwNull{};
    CheckMAPIResult(*this, methodName, hr);
    return BinToEntryID(static_cast<std::int32_t>(size), id.Get());
}

TKwMAPIEntryID TKwMAPIMsgStore::GetInboxFolderID()
{
    return ReceiveFolderID(u"GetInboxFolderID");
}

TKwMAPIEntryID TKwMAPIMsgStore::GetReceiveFolderID()
{
    return ReceiveFolderID(u"GetReceiveFolderID");
}

TKwMAPIEntryID TKwMAPIMsgStore::GetContactFolderID()
{
    CheckActive(u"GetContactFolderID");
    if (!Session()->UsesExtendedMAPI())
        return KwSimpleMAPIFolderID(ftContact);
    const TKwMAPIEntryID inbox = GetInboxFolderID();
    if (inbox.IsNull())
        return inbox;
    return KwAsEntryID(OpenFolder(inbox, alBestAccess)->PropByName(PR_IPM_CONTACT_ENTRYID)->Get_Value());
}

TKwMAPIEntryID TKwMAPIMsgStore::GetFolderID(TKwMAPIFolderType folderType)
{
    CheckActive(u"GetFolderID");
    if (!Session()->UsesExtendedMAPI()) {
        if (folderType != ftInbox && folderType != ftOutbox && folderType != ftIPMRoot)
            CreateKwMAPIException(KwNotSupported, sSimpleMAPIFolders)->Raise();
        return KwSimpleMAPIFolderID(folderType);
    }
    const TKwMAPISpecialFolder* special = FindSpecialFolder(folderType);
    if (special == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sInvalidFolderType)->Raise();
    switch (special->Place) {
    case TKwMAPIFolderPlace::ReceiveFolder:
        return GetReceiveFolderID();
    case TKwMAPIFolderPlace::StoreProperty:
        return KwAsEntryID(PropByName(special->Property)->Get_Value());
    default:
        return FolderIDFromInbox(*special, OpenReceiveFolder().Get());
    }
}

TKwRef<IKwMAPIFolder> TKwMAPIMsgStore::OpenReceiveFolder()
{
    const TKwMAPIEntryID id = GetReceiveFolderID();
    return id.IsEmptyOrNull() ? nullptr : OpenFolder(id, alBestAccess);
}

TKwMAPIFolderType TKwMAPIMsgStore::FindFolderType(const TKwMAPIEntryID& entryID)
{
    CheckActive(u"FindFolderType");
    std::optional<TKwRef<IKwMAPIFolder>> inbox; // opened once for all that it knows
    for (const TKwMAPIFolderType type : TypesByIdentifier) {
        const TKwMAPISpecialFolder& special = *FindSpecialFolder(type);
        const bool ofInbox =
            special.Place == TKwMAPIFolderPlace::InboxProperty || special.Place == TKwMAPIFolderPlace::AdditionalFolder;
        if (ofInbox && !inbox)
            inbox = OpenReceiveFolder();
        if (CompareEntryIDs(entryID, ofInbox ? FolderIDFromInbox(special, inbox->Get()) : GetFolderID(type)))
            return type;
    }
    return ftPlain;
}

TKwMAPIEntryID TKwMAPIMsgStore::FolderIDFromInbox(const TKwMAPISpecialFolder& special, IKwMAPIFolder* inbox)
{
    if (inbox == nullptr)
        return special.ContainerClass != nullptr ? FindFolderOfClass(special.ContainerClass) : TKwNull{};
    const TKwVariant value = inbox->PropByName(special.Property)->Get_Value();
    if (special.Place != TKwMAPIFolderPlace::AdditionalFolder)
        return KwAsEntryID(value);
    const TKwVariant::Array list = value.IsEmptyOrNull() ? TKwVariant::Array{} : value.AsArray();
    return special.Element < list.size() ? KwAsEntryID(list[special.Element]) : TKwNull{};
}

TKwMAPIEntryID TKwMAPIMsgStore::FindFolderOfClass(WideView containerClass)
{
    const TKwMAPIEntryID root = GetIPMRootFolderID();
    if (root.IsNull())
        return root;
    const auto folders = OpenFolder(root, alBestAccess)->GetHierarchyTable(false);
    folders->Get_Fields()->Add(PR_ENTRYID);
    folders->Get_Fields()->Add(PR_CONTAINER_CLASS);
    for (folders->First(); !folders->Get_EOF(); folders->Next())
        if (KwSameText(folders->GetFieldValue(PR_CONTAINER_CLASS).AsStringW(), containerClass))
            return folders->GetFieldValue(PR_ENTRYID);
    return TKwNull{};
}

TKwRef<IKwMAPIFolder> TKwMAPIMsgStore::OpenFolderByType(TKwMAPIFolderType folderType, TKwMAPIAccessLevel accessLevel)
{
    const TKwMAPIEntryID id = GetFolderID(folderType);
    if (id.IsEmptyOrNull())
        CreateKwMAPIException(mapi::MAPI_E_NOT_FOUND, sNoSuchFolder, {GetClassName()})->Raise();
    return OpenFolder(id, accessLevel);
}

TKwRef<IKwMAPIFolder> TKwMAPIMsgStore::OpenFolderByName(WideView name, TKwMAPIAccessLevel accessLevel)
{
    CheckActive(u"OpenFolderByName");
    CheckAccessLevel(accessLevel);
    const auto folders = OpenFolderByType(ftIPMRoot, alReadOnly)->GetHierarchyTable(true);
    folders->Get_Fields()->Add(PR_ENTRYID);
    folders->Get_Fields()->Add(PR_DISPLAY_NAME);
    for (folders->First(); !folders->Get_EOF(); folders->Next())
        if (KwSameText(folders->GetFieldValue(PR_DISPLAY_NAME).AsStringW(), name))
            return OpenFolder(folders->GetFieldValue(PR_ENTRYID), accessLevel);
    const TKwMAPISpecialFolder* special = FindSpecialFolder(name);
    const TKwMAPIEntryID id = special != nullptr ? GetFolderID(special->Type) : TKwNull{};
    if (id.IsNull())
        CreateKwMAPIException(mapi::MAPI_E_NOT_FOUND, sNoSuchName, {GetClassName()})->Raise();
    return OpenFolder(id, accessLevel);
}

TKwRef<IKwMAPIFolder> TKwMAPIMsgStore::OpenFolderByPath(WideView path, TKwMAPIAccessLevel accessLevel)
{
    CheckActive(u"OpenFolderByPath");
    CheckAccessLevel(accessLevel);
    WideView rest = path;
    if (rest.starts_with(u"//"))
        rest.remove_prefix(2);
    TKwMAPIFolderType start = ftIPMRoot;
    if (rest.starts_with(u'[')) {
        const std::size_t end = std::min(rest.find(u']'), rest.size());
        const WideView keyword = rest.substr(1, end - 1);
        const TKwMAPISpecialFolder* special = FindSpecialFolder(keyword);
        if (special == nullptr)
            CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoSpecialFolder, {keyword})->Raise();
        start = special->Type;
        rest.remove_prefix(std::min(end + 2, rest.size())); // the bracket and the separator after it
    }
    // Only the folder that the caller gets needs the caller's access.
    const auto access = [&] { return rest.empty() ? accessLevel : alReadOnly; };
    TKwRef<IKwMAPIFolder> folder = OpenFolderByType(start, access());
    while (!rest.empty()) {
        const std::size_t separator = std::min(rest.find(u'/'), rest.size());
        const WideView name = rest.substr(0, separator);
        rest.remove_prefix(std::min(separator + 1, rest.size()));

        const auto children = folder->GetHierarchyTable(false);
        children->Get_Fields()->Add(PR_ENTRYID);
        children->Get_Fields()->Add(PR_DISPLAY_NAME);
        children->First();
        while (!children->Get_EOF() && !KwSameText(children->GetFieldValue(PR_DISPLAY_NAME).AsStringW(), name))
            children->Next();
        if (children->Get_EOF())
            CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoSuchPath, {path})->Raise();
        folder = OpenFolder(children->GetFieldValue(PR_ENTRYID), access());
    }
    return folder;
}

} // namespace deftmapi
