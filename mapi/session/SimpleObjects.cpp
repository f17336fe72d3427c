// The objects of a Simple MAPI session; see SimpleObjects.hpp.
#include "mapi/session/SimpleObjects.hpp"

#include "mapi/core/ComObject.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/session/SpecialFolders.hpp"
#include "mapi/table/uKwSimpleMAPITables.hpp"

namespace deftmapi
{

namespace
{

constexpr auto StoreName = u"Simple MAPI";
constexpr auto MailClass = u"IPF.Note";
constexpr mapi::HRESULT Refused = mapi::MAPI_E_NO_SUPPORT;

/// By which a folder of this kind is known.
constexpr mapi::IID IID_SimpleFolder = mapi::MakeGuid(0x0F7A3C2E, 0x5B1D, 0x4E88, 0x9C47, 0x21D06BE5A9F3);

using mapi::HRESULT;
using mapi::LPCIID;
using mapi::LPENTRYID;
using mapi::LPENTRYLIST;
using mapi::LPMAPIPROGRESS;
using mapi::LPMAPITABLE;
using mapi::LPTSTR;
using mapi::ULONG;
using mapi::ULONG_PTR;

/// The methods that folders and stores have in common. (One parameter list per line keeps them readable.)
template <typename Interface, const mapi::IID&... IIDs>
class TSimpleProp : public TKwComObject<Interface, mapi::IID_IMAPIProp, IIDs...>
{
public:
    HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT, ULONG, mapi::LPMAPIERROR* error) override
    {
        *error = nullptr;
        return mapi::S_OK;
    }
    HRESULT DEFTMAPI_STDCALL SaveChanges(ULONG) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL GetProps(mapi::LPSPropTagArray, ULONG, ULONG*, mapi::LPSPropValue*) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL GetPropList(ULONG, mapi::LPSPropTagArray*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL OpenProperty(ULONG, LPCIID, ULONG, ULONG, mapi::LPUNKNOWN*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL SetProps(ULONG, mapi::LPSPropValue, mapi::LPSPropProblemArray*) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL DeleteProps(mapi::LPSPropTagArray, mapi::LPSPropProblemArray*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL CopyTo(ULONG, LPCIID, mapi::LPSPropTagArray, ULONG_PTR, LPMAPIPROGRESS, LPCIID,
                                    mapi::LPVOID, ULONG, mapi::LPSPropProblemArray*) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL CopyProps(mapi::LPSPropTagArray, ULONG_PTR, LPMAPIPROGRESS, LPCIID, mapi::LPVOID, ULONG,
                                       mapi::LPSPropProblemArray*) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL GetNamesFromIDs(mapi::LPSPropTagArray*, mapi::LPGUID, ULONG, ULONG*,
                                             mapi::LPMAPINAMEID**) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL GetIDsFromNames(ULONG, mapi::LPMAPINAMEID*, ULONG, mapi::LPSPropTagArray*) override
    {
        return Refused;
    }
};

class TSimpleFolder final
    : public TSimpleProp<mapi::IMAPIFolder, mapi::IID_IMAPIContainer, mapi::IID_IMAPIFolder, IID_SimpleFolder>
{
public:
    HRESULT DEFTMAPI_STDCALL GetContentsTable(ULONG, LPMAPITABLE*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL GetHierarchyTable(ULONG, LPMAPITABLE*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, mapi::LPUNKNOWN*) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL SetSearchCriteria(mapi::LPSRestriction, LPENTRYLIST, ULONG) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL GetSearchCriteria(ULONG, mapi::LPSRestriction*, LPENTRYLIST*, ULONG*) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL CreateMessage(LPCIID, ULONG, mapi::LPMESSAGE*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL CopyMessages(LPENTRYLIST, LPCIID, mapi::LPVOID, ULONG_PTR, LPMAPIPROGRESS, ULONG) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL DeleteMessages(LPENTRYLIST, ULONG_PTR, LPMAPIPROGRESS, ULONG) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL CreateFolder(ULONG, LPTSTR, LPTSTR, LPCIID, ULONG, mapi::LPMAPIFOLDER*) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL CopyFolder(ULONG, LPENTRYID, LPCIID, mapi::LPVOID, LPTSTR, ULONG_PTR, LPMAPIPROGRESS,
                                        ULONG) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL DeleteFolder(ULONG, LPENTRYID, ULONG_PTR, LPMAPIPROGRESS, ULONG) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL SetReadFlags(LPENTRYLIST, ULONG_PTR, LPMAPIPROGRESS, ULONG) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL GetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL SetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG, ULONG*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL SaveContentsSort(mapi::LPSSortOrderSet, ULONG) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL EmptyFolder(ULONG_PTR, LPMAPIPROGRESS, ULONG) override { return Refused; }
};

class TSimpleStore final : public TSimpleProp<mapi::IMsgStore, mapi::IID_IMsgStore>
{
public:
    HRESULT DEFTMAPI_STDCALL Advise(ULONG, LPENTRYID, ULONG, mapi::LPMAPIADVISESINK, ULONG_PTR*) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL Unadvise(ULONG_PTR) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL CompareEntryIDs(ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, ULONG*) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, mapi::LPUNKNOWN*) override
    {
        return Refused;
    }
    HRESULT DEFTMAPI_STDCALL SetReceiveFolder(LPTSTR, ULONG, ULONG, LPENTRYID) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL GetReceiveFolder(LPTSTR, ULONG, ULONG*, LPENTRYID*, LPTSTR*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL GetReceiveFolderTable(ULONG, LPMAPITABLE*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL StoreLogoff(ULONG*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL AbortSubmit(ULONG, LPENTRYID, ULONG) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL GetOutgoingQueue(ULONG, LPMAPITABLE*) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL SetLockState(mapi::LPMESSAGE, ULONG) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL FinishedMsg(ULONG, ULONG, LPENTRYID) override { return Refused; }
    HRESULT DEFTMAPI_STDCALL NotifyNewMail(mapi::LPNOTIFICATION) override { return Refused; }
};

void Know(TKwMAPIProp& prop, TKwMAPIPropDef def, const TKwVariant& value)
{
    const auto item = prop.PropByName(def);
    item->Set_Value(value);
    item->SetModified(false);
}

} // namespace

TKwRef<IKwMAPIMsgStore> KwOpenSimpleStore(TKwMAPISessionBase& session, TKwMAPIAccessLevel accessLevel)
{
    const auto store = KwMake<TKwMAPIMsgStore>(session);
    store->SetMAPIOBJECT(TKwComPtr<TSimpleStore>(new TSimpleStore).Get());
    Know(*store, PR_DISPLAY_NAME, WideString(StoreName));
    Know(*store, PR_STORE_SUPPORT_MASK, 0);
    store->SetAccessLevel(accessLevel);
    return store;
}

TKwRef<IKwMAPIFolder> KwOpenSimpleFolder(TKwMAPIMsgStore& store, TKwMAPIFolderType folderType,
                                         TKwMAPIAccessLevel accessLevel)
{
    const auto folder = KwMake<TKwMAPIFolder>(store);
    folder->SetMAPIOBJECT(TKwComPtr<TSimpleFolder>(new TSimpleFolder).Get());
    Know(*folder, PR_ENTRYID, KwSimpleMAPIFolderID(folderType));
    Know(*folder, PR_DISPLAY_NAME, WideString(FindSpecialFolder(folderType)->Keyword));
    Know(*folder, PR_FOLDER_TYPE, static_cast<std::int32_t>(folderType));
    Know(*folder, PR_CONTAINER_CLASS, WideString(MailClass));
    folder->SetAccessLevel(accessLevel);
    return folder;
}

bool KwIsSimpleFolder(mapi::IUnknown* object) noexcept
{
    TKwComPtr<mapi::IMAPIFolder> folder;
    return object != nullptr && !mapi::Failed(object->QueryInterface(IID_SimpleFolder, OutVoid(folder)));
}

} // namespace deftmapi
