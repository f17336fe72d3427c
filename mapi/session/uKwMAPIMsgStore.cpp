// Message stores: opening entries, folders and messages. The special folders are in StoreFolders.cpp.
#include "mapi/session/uKwMAPIMsgStore.hpp"

#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"
#include "mapi/session/AccessLevel.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/uKwMAPIFolder.hpp"

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

} // namespace

TKwMAPIMsgStore::TKwMAPIMsgStore(TKwMAPISessionBase& session) : TKwMAPIProp(&session)
{
    SetSession(&session);
}

void TKwMAPIMsgStore::SetMAPIOBJECT(mapi::IUnknown* object)
{
    TKwMAPIProp::SetMAPIOBJECT(object);
    if (object == nullptr)
        return;
    const auto mask = static_cast<mapi::ULONG>(PropByName(PR_STORE_SUPPORT_MASK)->Get_AsInteger());
    SetDisableUnicode((mask & mapi::STORE_UNICODE_OK) == 0);
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
    if ((flags & mapi::MAPI_MODIFY) != 0 && !WriteGranted())
        CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sStoreReadOnly, {GetClassName()})->Raise();
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
    const auto object = OpenObject(u"OpenFolder", entryID, mapi::IID_IMAPIFolder, accessLevel, mapi::MAPI_FOLDER);
    const auto folder = KwMake<TKwMAPIFolder>(*this);
    folder->SetMAPIOBJECT(object.Get());
    folder->SetOpenedAs(accessLevel);
    // What every caller asks of a folder next.
    for (const TKwMAPIPropDef def : {PR_ENTRYID, PR_DISPLAY_NAME, PR_FOLDER_TYPE})
        static_cast<void>(folder->PropByName(def)->Get_Value());
    return folder;
}

TKwRef<IKwMAPIMessage> TKwMAPIMsgStore::OpenMessage(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel)
{
    const auto object = OpenObject(u"OpenMessage", entryID, mapi::IID_IMessage, accessLevel, mapi::MAPI_MESSAGE);
    return CreateMessageObjectFromIntf(this, Session(), static_cast<mapi::IMessage*>(object.Get()), accessLevel);
}

bool TKwMAPIMsgStore::CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b)
{
    CheckActive(u"CompareEntryIDs");
    return TKwMAPIEntryIDArg::Equal(a, b, [this](TKwMAPIEntryIDArg& first, TKwMAPIEntryIDArg& second) {
        mapi::ULONG equal = 0;
        CheckMAPIResult(*this, u"CompareEntryIDs",
                        MsgStore().CompareEntryIDs(first.Size(), first.Get(), second.Size(), second.Get(), 0, &equal));
        return equal != 0;
    });
}

} // namespace deftmapi
