// Entries of a session: any object by its identifier, and the stores that only some profiles have.
#include "mapi/admin/uKwMAPIAdmin.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPIMemory.hpp"
#include "mapi/headers/uKwEdkConstantsH.hpp"
#include "mapi/headers/uKwEdkGuidH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"
#include "mapi/session/AccessLevel.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"
#include "mapi/session/uKwMAPIFolder.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"
#include "support/uKwEncoding.hpp"
#include "support/uKwFormat.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sEmptyEntryID = u"An invalid (empty) EntryID was specified!";
constexpr auto sCannotBeOpened = u"The given EntryID can't be opened!";
constexpr auto sNotFound =
    u"%s.OpenEntry failed!\r\nThere is not an object associated with the entry identifier passed in lpEntryID.";
constexpr auto sNoAccess =
    u"%s.OpenEntry failed!\r\nAn attempt was made to modify a read-only object or an attempt was made to access an "
    u"object for which the user has insufficient permissions.";
constexpr auto sNoMailbox = u"%s.OpenOtherUsersMsgStore failed!\r\nThe profile does not name the mailbox of its user.";

// Distinguished names on an Exchange server: below the organisation and site, which are those of the user's mailbox.
constexpr auto sServerStore = u"/cn=Configuration/cn=Servers/cn=%s/cn=Microsoft Private MDB";
constexpr auto sMailbox = u"/cn=Recipients/cn=%s";

constexpr auto sOpenEntry = u"OpenEntry";

/// The codes by which a provider says that it does not know an identifier.
bool IsUnknownEntry(mapi::HRESULT hr)
{
    return hr == mapi::MAPI_E_NOT_FOUND || hr == mapi::MAPI_E_UNKNOWN_ENTRYID || hr == mapi::MAPI_E_INVALID_ENTRYID;
}

} // namespace

// ---- Entries

mapi::HRESULT TSession::CallOpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid, mapi::ULONG flags,
                                      mapi::ULONG& objectType, TKwComPtr<mapi::IUnknown>& object)
{
    TKwMAPIEntryIDArg id(entryID);
    if (id.Empty())
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sEmptyEntryID)->Raise();
    return CallSession(sOpenEntry, [&](auto& session) {
        return session.OpenEntry(id.Size(), id.Get(), iid, flags, &objectType, Out(object));
    });
}

TKwComPtr<mapi::IUnknown> TSession::OpenEntryEx(const TKwMAPIEntryID& entryID, const mapi::GUID* iid, mapi::ULONG flags,
                                                TKwMAPIObjectType& objectType)
{
    CheckReady(u"OpenEntryEx");
    return OpenObject(entryID, iid, flags, objectType);
}

TKwComPtr<mapi::IUnknown> TSession::OpenObject(const TKwMAPIEntryID& entryID, const mapi::GUID* iid, mapi::ULONG flags,
                                               TKwMAPIObjectType& objectType)
{
    TKwComPtr<mapi::IUnknown> object;
    mapi::ULONG type = 0;
    const mapi::HRESULT hr = CallOpenEntry(entryID, iid, flags, type, object);
    switch (hr) {
    case mapi::MAPI_E_NOT_FOUND:
        CreateKwMAPIException(hr, sNotFound, {GetClassName()})->Raise();
    case mapi::MAPI_E_NO_ACCESS:
        CreateKwMAPIException(hr, sNoAccess, {GetClassName()})->Raise();
    default:
        CheckMAPIResult(*this, sOpenEntry, hr);
    }
    objectType = static_cast<TKwMAPIObjectType>(type);
    return object;
}

TKwRef<IKwMAPIProp> TSession::OpenEntry(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel)
{
    CheckReady(sOpenEntry);
    TKwMAPIObjectType type = otUnknown;
    const auto object = OpenObject(entryID, nullptr, AccessFlag(accessLevel), type);
    return WrapEntry(type, *object, accessLevel);
}

TKwRef<IKwMAPIProp> TSession::WrapEntry(TKwMAPIObjectType objectType, mapi::IUnknown& object,
                                        TKwMAPIAccessLevel accessLevel)
{
    const auto as = [&]<typename Interface>(TKwComPtr<Interface> wanted, const mapi::IID& iid) {
        CheckMAPIResult(*this, u"QueryInterface", object.QueryInterface(iid, OutVoid(wanted)));
        return wanted;
    };
    switch (objectType) {
    case otMessageStore: {
        const auto store = KwMake<TKwMAPIMsgStore>(*this);
        store->SetMAPIOBJECT(as(TKwComPtr<mapi::IMsgStore>(), mapi::IID_IMsgStore).Get());
        store->SetOpenedAs(accessLevel);
        return store;
    }
    case otFolder: {
        const auto found = as(TKwComPtr<mapi::IMAPIFolder>(), mapi::IID_IMAPIFolder);
        const auto wrap = [&](TKwMAPIWrapper& createdBy) {
            const auto folder = KwMake<TKwMAPIFolder>(createdBy);
            folder->SetMAPIOBJECT(found.Get());
            return folder;
        };
        auto folder = wrap(*this);
        // What kind of folder it is only its store can tell.
        const TKwMAPIEntryID storeID = KwAsEntryID(folder->PropByName(PR_STORE_ENTRYID)->Get_Value());
        if (!storeID.IsEmptyOrNull()) {
            try {
                folder = wrap(*KwAs<TKwMAPIMsgStore>(OpenStore(storeID, alBestAccess, mapi::MDB_NO_DIALOG)));
            } catch (const EKwMAPIException&) {
                // The folder is open all the same; without its store it is a plain one.
            }
        }
        folder->SetOpenedAs(accessLevel);
        return folder;
    }
    case otMessage:
        return CreateMessageObjectFromIntf(this, this, as(TKwComPtr<mapi::IMessage>(), mapi::IID_IMessage).Get(),
                                           accessLevel);
    default:
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sCannotBeOpened)->Raise();
    }
}

WordBool TSession::FindEntryEx(const TKwMAPIEntryID& entryID, const mapi::GUID* iid, mapi::ULONG flags,
                               TKwMAPIObjectType& objectType, TKwComPtr<mapi::IUnknown>& object)
{
    CheckReady(u"FindEntryEx");
    object.Reset();
    objectType = otUnknown;
    mapi::ULONG type = 0;
    mapi::HRESULT hr = CallOpenEntry(entryID, iid, flags, type, object);
    if (IsUnknownEntry(hr)) {
        // The session passes an identifier only to providers that are running: the stores that are open.
        const auto stores = GetMsgStoresTable();
        stores->Get_Fields()->Add(PR_ENTRYID);
        TKwMAPIEntryIDArg id(entryID);
        for (stores->First(); !stores->Get_EOF() && IsUnknownEntry(hr); stores->Next()) {
            TKwMAPIEntryIDArg storeID(stores->GetFieldValue(PR_ENTRYID));
            TKwComPtr<mapi::IMsgStore> store;
            hr = CallSession(u"FindEntryEx", [&](auto& session) {
                const mapi::HRESULT opened =
                    session.OpenMsgStore(GetParentWindow(), storeID.Size(), storeID.Get(), &mapi::IID_IMsgStore,
                                         mapi::MAPI_BEST_ACCESS | mapi::MDB_NO_DIALOG, Out(store));
                if (mapi::Failed(opened))
                    return hr; // a store that is out of reach hides its entries, and the others are still to be asked
                return store->OpenEntry(id.Size(), id.Get(), iid, flags, &type, Out(object));
            });
        }
    }
    if (IsUnknownEntry(hr))
        return false;
    CheckMAPIResult(*this, sOpenEntry, hr);
    objectType = static_cast<TKwMAPIObjectType>(type);
    return true;
}

WordBool TSession::FindEntry(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel, TKwRef<IKwMAPIProp>& object)
{
    CheckReady(u"FindEntry");
    object.Reset();
    TKwMAPIObjectType type = otUnknown;
    TKwComPtr<mapi::IUnknown> found;
    if (!FindEntryEx(entryID, nullptr, AccessFlag(accessLevel), type, found))
        return false;
    object = WrapEntry(type, *found, accessLevel);
    return true;
}

// ---- Stores on an Exchange server

TKwMAPIEntryID TSession::GetPublicFoldersMsgStoreID()
{
    CheckReady(u"GetPublicFoldersMsgStoreID");
    const auto* uid = reinterpret_cast<const std::uint8_t*>(&mapi::pbExchangeProviderPublicGuid);
    return FindMsgStore(PR_MDB_PROVIDER, TKwBytes(uid, uid + sizeof mapi::pbExchangeProviderPublicGuid));
}

TKwComPtr<mapi::IExchangeManageStore> TSession::OpenExchangeManageStore()
{
    CheckReady(u"OpenExchangeManageStore");
    const auto store = OpenDefaultMsgStore(alBestAccess);
    TKwComPtr<mapi::IExchangeManageStore> manage;
    CheckMAPIResult(*this, u"OpenExchangeManageStore",
                    store->Get_MAPIOBJECT()->QueryInterface(mapi::IID_IExchangeManageStore, OutVoid(manage)));
    return manage;
}

TKwRef<IKwMAPIMsgStore> TSession::OpenOtherUsersMsgStore(WideView userName, TKwMAPIAccessLevel accessLevel)
{
    CheckReady(u"OpenOtherUsersMsgStore");
    const WideString server = GetSessionInfo()->ServerName();
    const auto global = FindGlobalSection();
    const WideString own = global ? global->PropByName(PR_PROFILE_MAILBOX)->Get_Value().AsStringW() : WideString();
    const std::size_t site = KwUpperCase(own).find(u"/CN=");
    if (site == WideString::npos)
        CreateKwMAPIException(mapi::MAPI_E_NOT_FOUND, sNoMailbox, {GetClassName()})->Raise();
    const WideString place = own.substr(0, site);
    const auto name = [](const WideString& text) { return TKwEncoding().FromWide(text); };
    const std::string storeDN = name(place + KwFormat(sServerStore, {server}));
    const std::string mailboxDN =
        name(userName.starts_with(u'/') ? WideString(userName) : place + KwFormat(sMailbox, {userName}));

    const auto manage = OpenExchangeManageStore();
    mapi::ULONG size = 0;
    TKwMAPIBuffer<mapi::ENTRYID> id(*this);
    CheckMAPIResult(*this, u"CreateStoreEntryID",
                    manage->CreateStoreEntryID(storeDN.c_str(), mailboxDN.c_str(),
                                               mapi::OPENSTORE_HOME_LOGON | mapi::OPENSTORE_TAKE_OWNERSHIP, &size,
                                               Out(id)));
    return OpenMsgStore(BinToEntryID(static_cast<std::int32_t>(size), id.Get()), accessLevel);
}

} // namespace deftmapi
