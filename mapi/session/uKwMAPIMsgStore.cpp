// Message stores: opening entries, containers and folders. The special folders are in StoreFolders.cpp, messages in
// StoreMessages.cpp, events in StoreEvents.cpp, what only Exchange and Outlook have in StoreExchange.cpp.
#include "mapi/session/uKwMAPIMsgStore.hpp"

#include "mapi/core/Advised.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/session/AccessLevel.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/SimpleObjects.hpp"
#include "mapi/session/uKwMAPIFolder.hpp"
#include "mapi/table/uKwSimpleMAPITables.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sEntryNotFound = u"%s.OpenEntry failed!\r\nThere is no object with the given EntryID!";
constexpr auto sEntryNoAccess =
    u"%s.OpenEntry failed!\r\nAn attempt was made to modify a read-only object or to access "
    u"an object for which the user has insufficient permissions!";
constexpr auto sStoreReadOnly = u"%s.OpenEntry failed!\r\nAn attempt was made to open an object in read/write mode but "
                                u"the messagestore is opened in Read Only mode!";
constexpr auto sEmptyEntryID = u"An invalid (empty) EntryID was specified!";
constexpr auto sNotInSimpleMAPI = u"The specified FolderID cannot be used in combination with Simple MAPI!";
constexpr auto sNoContainerID = u"%s.OpenContainer failed!\r\nThere is no PtrEntryID!";
constexpr auto sNoContainer = u"%s.OpenContainer failed, because the object that was opened is not a container.";

} // namespace

TKwMAPIMsgStore::TKwMAPIMsgStore(TKwMAPISessionBase& session)
    : TKwMAPIProp(&session), FAdvised(std::make_shared<TKwAdvised<TKwMAPIMsgStore, IKwMAPIMsgStoreDEvents>>(*this))
{
    SetSession(&session);
}

TKwMAPIMsgStore::~TKwMAPIMsgStore() = default;

void TKwMAPIMsgStore::SetMAPIOBJECT(mapi::IUnknown* object)
{
    const bool leaving = Get_MAPIOBJECT() != nullptr && object == nullptr;
    if (leaving)
        EndAdviseQuietly();
    TKwMAPIProp::SetMAPIOBJECT(object);
    if (object != nullptr && Session()->UsesExtendedMAPI())
        SetDisableUnicode((SupportMask() & mapi::STORE_UNICODE_OK) == 0);
    if (leaving)
        DoOnSessionLogoff();
}

std::uint32_t TKwMAPIMsgStore::SupportMask()
{
    return static_cast<std::uint32_t>(PropByName(PR_STORE_SUPPORT_MASK)->Get_AsInteger());
}

void TKwMAPIMsgStore::SetOpenedAs(TKwMAPIAccessLevel accessLevel)
{
    SetOpenedAccess(*this, accessLevel);
}

TKwComPtr<mapi::IUnknown> TKwMAPIMsgStore::OpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                     mapi::ULONG flags, mapi::ULONG& objectType)
{
    CheckActive(u"OpenEntry");
    CheckExtendedMAPI(u"OpenEntry");
    CheckStoreAccess((flags & mapi::MAPI_MODIFY) != 0);
    TKwMAPIEntryIDArg id(entryID);
    TKwComPtr<mapi::IUnknown> object;
    const mapi::HRESULT hr = MsgStore().OpenEntry(id.Size(), id.Get(), iid, flags, &objectType, Out(object));
    if (hr == mapi::MAPI_E_NOT_FOUND)
        CreateKwMAPIException(hr, sEntryNotFound, {GetClassName()})->Raise();
    if (hr == mapi::MAPI_E_NO_ACCESS)
        CreateKwMAPIException(hr, sEntryNoAccess, {GetClassName()})->Raise();
    CheckMAPIResult(*this, u"OpenEntry", hr);
    return object;
}

void TKwMAPIMsgStore::CheckStoreAccess(bool write)
{
    if (write && !WriteGranted())
        CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sStoreReadOnly, {GetClassName()})->Raise();
}

TKwRef<IKwMAPIContainer> TKwMAPIMsgStore::OpenContainer(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel)
{
    CheckActive(u"OpenContainer");
    if (TKwMAPIEntryIDArg(entryID).Empty())
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoContainerID, {GetClassName()})->Raise();
    mapi::ULONG type = 0;
    const auto object = OpenEntry(entryID, nullptr, AccessFlag(accessLevel), type);
    const auto wrap = [&](const TKwRef<TKwMAPIContainer>& container, const mapi::IID& iid) {
        TKwComPtr<mapi::IMAPIContainer> wanted;
        CheckMAPIResult(*this, u"OpenContainer", object->QueryInterface(iid, OutVoid(wanted)));
        container->SetMAPIOBJECT(wanted.Get());
        container->SetOpenedAs(accessLevel);
        return container;
    };
    switch (type) {
    case mapi::MAPI_FOLDER:
        return wrap(KwMake<TKwMAPIFolder>(*this), mapi::IID_IMAPIFolder);
    case mapi::MAPI_ABCONT:
    case mapi::MAPI_DISTLIST:
        return wrap(KwMake<TKwMAPIContainer>(*this), mapi::IID_IMAPIContainer);
    default:
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoContainer, {GetClassName()})->Raise();
    }
}

TKwComPtr<mapi::IUnknown> TKwMAPIMsgStore::OpenObject(WideView methodName, const TKwMAPIEntryID& entryID,
                                                      const mapi::GUID& iid, TKwMAPIAccessLevel accessLevel,
                                                      mapi::ULONG objectType)
{
    CheckActive(methodName);
    // No identifier would mean the root folder, which nobody asks for by leaving something out.
    if (TKwMAPIEntryIDArg(entryID).Empty())
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sEmptyEntryID)->Raise();
    mapi::ULONG opened = 0;
    auto object = OpenEntry(entryID, &iid, AccessFlag(accessLevel), opened);
    if (opened != objectType)
        CheckMAPIResult(*this, methodName, mapi::MAPI_E_INVALID_OBJECT);
    return object;
}

TKwRef<IKwMAPIFolder> TKwMAPIMsgStore::OpenFolder(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel)
{
    CheckActive(u"OpenFolder");
    if (!Session()->UsesExtendedMAPI()) {
        const TKwMAPIFolderType type = KwSimpleMAPIFolderType(entryID);
        if (type != ftInbox && type != ftOutbox && type != ftIPMRoot)
            CreateKwMAPIException(KwNotSupported, sNotInSimpleMAPI)->Raise();
        return KwOpenSimpleFolder(*this, type, accessLevel);
    }
    const auto object = OpenObject(u"OpenFolder", entryID, mapi::IID_IMAPIFolder, accessLevel, mapi::MAPI_FOLDER);
    const auto folder = KwMake<TKwMAPIFolder>(*this);
    folder->SetMAPIOBJECT(object.Get());
    folder->SetOpenedAs(accessLevel);
    // What every caller asks of a folder next.
    for (const TKwMAPIPropDef def : {PR_ENTRYID, PR_DISPLAY_NAME, PR_FOLDER_TYPE})
        static_cast<void>(folder->PropByName(def)->Get_Value());
    return folder;
}

WordBool TKwMAPIMsgStore::CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b)
{
    CheckActive(u"CompareEntryIDs");
    if (!Session()->UsesExtendedMAPI())
        return EntryIDToArr(a) == EntryIDToArr(b);
    return TKwMAPIEntryIDArg::Equal(a, b, [this](TKwMAPIEntryIDArg& first, TKwMAPIEntryIDArg& second) {
        mapi::ULONG equal = 0;
        CheckMAPIResult(*this, u"CompareEntryIDs",
                        MsgStore().CompareEntryIDs(first.Size(), first.Get(), second.Size(), second.Get(), 0, &equal));
        return equal != 0;
    });
}

} // namespace deftmapi
