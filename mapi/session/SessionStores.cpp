// The stores of a session.
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/SimpleObjects.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"
#include "mapi/table/uKwMAPITable.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNoDefaultStore = u"Failed to determine the default messagestore!";
constexpr auto sEmptyEntryID = u"An invalid (empty) EntryID was specified!";
constexpr auto sStoreNotFound = u"%s.OpenMsgStore failed!\r\nThe message store indicated by MsgStoreID does not exist.";
constexpr auto sStoreNoAccess =
    u"%s.OpenMsgStore failed!\r\nAn attempt was made to access a message store for which the user has insufficient "
    u"permissions.";
constexpr auto sStoreUnconfigured =
    u"%s.OpenMsgStore failed!\r\nOpenMsgStore has insufficient configuration information to open the message store "
    u"without the user's help.";
constexpr auto sStoreNotCached =
    u"%s.OpenMsgStore failed!\r\nCheck if the Cached Exchange Mode has been enabled. If not, enable the cache and try "
    u"it again!.";

} // namespace

TKwComPtr<mapi::IMAPITable> TSession::OpenMsgStoresTable()
{
    CheckReady(u"GetMsgStoresTable");
    TKwComPtr<mapi::IMAPITable> table;
    CheckMAPIResult(*this, u"GetMsgStoresTable", WithCharWidth(0, [&](mapi::ULONG flags) {
        return CallSession(u"GetMsgStoresTable",
                           [&](auto& session) { return session.GetMsgStoresTable(flags, Out(table)); });
    }));
    return table;
}

TKwRef<IKwMAPITable> TSession::GetMsgStoresTable()
{
    return KwMake<TKwMAPITable>(*this, OpenMsgStoresTable().Get(), [this] { return OpenMsgStoresTable(); });
}

TKwMAPIEntryID TSession::FindMsgStore(TKwMAPIPropDef def, const TKwVariant& value)
{
    const auto stores = GetMsgStoresTable();
    stores->Get_Fields()->Add(PR_ENTRYID);
    stores->Get_Fields()->Add(def);
    for (stores->First(); !stores->Get_EOF(); stores->Next())
        if (stores->GetFieldValue(def) == value)
            return stores->GetFieldValue(PR_ENTRYID);
    return TKwNull{};
}

TKwMAPIEntryID TSession::GetDefaultMsgStoreID()
{
    CheckReady(u"GetDefaultMsgStoreID");
    const TKwMAPIEntryID id = FindMsgStore(PR_DEFAULT_STORE, true);
    if (id.IsNull())
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNoDefaultStore)->Raise();
    return id;
}

void TSession::SetDefaultMsgStore(const TKwMAPIEntryID& entryID)
{
    CheckReady(u"SetDefaultMsgStore");
    TKwMAPIEntryIDArg id(entryID);
    CheckMAPIResult(*this, u"SetDefaultStore", CallSession(u"SetDefaultMsgStore", [&](auto& session) {
        return session.SetDefaultStore(mapi::MAPI_DEFAULT_STORE, id.Size(), id.Get());
    }));
}

TKwRef<IKwMAPIMsgStore> TSession::OpenMsgStore(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel)
{
    CheckReady(u"OpenMsgStore");
    return OpenStore(entryID, accessLevel, IsService() ? mapi::MDB_NO_DIALOG : 0);
}

TKwRef<IKwMAPIMsgStore> TSession::OpenStore(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel,
                                            mapi::ULONG options)
{
    TKwMAPIEntryIDArg id(entryID);
    if (id.Empty())
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sEmptyEntryID)->Raise();

    mapi::ULONG flags = accessLevel == alReadWrite ? mapi::MDB_WRITE : 0;
    if (accessLevel == alBestAccess)
        flags = mapi::MAPI_BEST_ACCESS;
    flags |= options;
    TKwComPtr<mapi::IMsgStore> object;
    const mapi::HRESULT hr = CallSession(u"OpenMsgStore", [&](auto& session) {
        return session.OpenMsgStore(GetParentWindow(), id.Size(), id.Get(), &mapi::IID_IMsgStore, flags, Out(object));
    });
    const auto raise = [&](WideView text) { CreateKwMAPIException(hr, text, {GetClassName()})->Raise(); };
    switch (hr) {
    case mapi::MAPI_E_NOT_FOUND:
        raise(sStoreNotFound);
        break;
    case mapi::MAPI_E_NO_ACCESS:
        raise(sStoreNoAccess);
        break;
    case mapi::MAPI_E_UNCONFIGURED:
        raise(sStoreUnconfigured);
        break;
    case mapi::MAPI_E_FAILONEPROVIDER: // what a client answers that cannot reach its server and keeps no copy
        raise(sStoreNotCached);
        break;
    case mapi::MAPI_W_ERRORS_RETURNED: // the store is open; its provider has a remark
        break;
    default:
        CheckMAPIResult(*this, u"OpenMsgStore", hr);
    }
    const auto store = KwMake<TKwMAPIMsgStore>(*this);
    store->SetMAPIOBJECT(object.Get());
    store->SetOpenedAs(accessLevel);
    // Whoever shows a store shows its name: it is in the cache from the beginning.
    static_cast<void>(store->PropByName(PR_DISPLAY_NAME)->Get_Value());
    return store;
}

TKwRef<IKwMAPIMsgStore> TSession::OpenDefaultMsgStore(TKwMAPIAccessLevel accessLevel)
{
    CheckActive(u"OpenDefaultMsgStore");
    if (!UsesExtendedMAPI())
        return KwOpenSimpleStore(*this, accessLevel);
    return OpenMsgStore(GetDefaultMsgStoreID(), accessLevel);
}

WordBool TSession::CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b)
{
    CheckReady(u"CompareEntryIDs");
    return TKwMAPIEntryIDArg::Equal(a, b, [this](TKwMAPIEntryIDArg& first, TKwMAPIEntryIDArg& second) {
        mapi::ULONG equal = 0;
        CheckMAPIResult(*this, u"CompareEntryIDs", CallSession(u"CompareEntryIDs", [&](auto& session) {
            return session.CompareEntryIDs(first.Size(), first.Get(), second.Size(), second.Get(), 0, &equal);
        }));
        return equal != 0;
    });
}

} // namespace deftmapi
