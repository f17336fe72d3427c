// What only stores on an Exchange server have, and what leads from Outlook's address book into a store.
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/session/AddressBookEntry.hpp"
#include "mapi/session/AssociatedMessages.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"
#include "mapi/session/uKwMAPIOOF.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr auto sNoContactEntry = u"The provided ABContainer must ben an Outlook Addressbook Container!";
constexpr auto sOtherStore = u"The provided ABContainer belongs to a different messagestore!";
constexpr auto sUnexpectedEntry = u"The provided ABContainer contains an unexpected EntryID!";
constexpr auto sNoMailbox =
    u"%s.OpenOOF failed!\r\nOnly a mailbox on an Exchange server has an out-of-office assistant.";

constexpr auto RetentionClass = u"IPM.Configuration.MRM";
constexpr mapi::ULONG ConfigurationXml = 0x7C080102; // the text of a configuration message, in UTF-8

// Where an identifier carries the unique identifier of its store.
constexpr std::size_t StoreUIDAt = 4;
constexpr std::size_t StoreUIDEnd = 20;

bool SameBytes(const TKwBytes& bytes, const mapi::MAPIUID& uid)
{
    const auto* first = reinterpret_cast<const std::uint8_t*>(&uid);
    return std::equal(bytes.begin(), bytes.end(), first, first + sizeof uid);
}

} // namespace

TKwRef<IKwMAPIMessage> KwFindAssociatedMessage(IKwMAPIMsgStore& store, IKwMAPIFolder& folder, WideView messageClass,
                                               TKwMAPIAccessLevel accessLevel)
{
    const auto hidden = folder.GetAssociatedContentsTable();
    hidden->Get_Fields()->Add(PR_ENTRYID);
    hidden->Get_Fields()->Add(PR_MESSAGE_CLASS);
    for (hidden->First(); !hidden->Get_EOF(); hidden->Next())
        if (KwSameText(hidden->GetFieldValue(PR_MESSAGE_CLASS).AsStringW(), messageClass))
            return store.OpenMessage(hidden->GetFieldValue(PR_ENTRYID), accessLevel);
    return nullptr;
}

// ---- Exchange

TKwComPtr<mapi::IExchangeManageStore> TKwMAPIMsgStore::Get_AsExchangeManageStore()
{
    CheckActive(u"Get_AsExchangeManageStore");
    CheckExtendedMAPI(u"Get_AsExchangeManageStore");
    TKwComPtr<mapi::IExchangeManageStore> manage;
    CheckMAPIResult(*this, u"Get_AsExchangeManageStore",
                    MsgStore().QueryInterface(mapi::IID_IExchangeManageStore, OutVoid(manage)));
    return manage;
}

TKwMAPIExchangeType TKwMAPIMsgStore::Get_ExchangeStoreType()
{
    CheckActive(u"Get_ExchangeStoreType");
    CheckExtendedMAPI(u"Get_ExchangeStoreType");
    const TKwBytes provider = EntryIDToArr(KwAsEntryID(PropByName(PR_MDB_PROVIDER)->Get_Value()));
    if (SameBytes(provider, mapi::pbExchangeProviderPrimaryUserGuid))
        return etPrimaryMailbox;
    if (SameBytes(provider, mapi::pbExchangeProviderDelegateGuid))
        return etOtherMailbox;
    return SameBytes(provider, mapi::pbExchangeProviderPublicGuid) ? etPublicFolders : etNone;
}

TKwRef<IKwMAPIOOF> TKwMAPIMsgStore::OpenOOF()
{
    const TKwMAPIExchangeType type = Get_ExchangeStoreType();
    if (type != etPrimaryMailbox && type != etOtherMailbox)
        CreateKwMAPIException(KwNotSupported, sNoMailbox, {GetClassName()})->Raise();
    return KwMake<TKwMAPIOOF>(*this);
}

WideString TKwMAPIMsgStore::GetMRMConfig()
{
    CheckActive(u"GetMRMConfig");
    CheckExtendedMAPI(u"GetMRMConfig");
    const TKwMAPIEntryID inbox = GetReceiveFolderID();
    if (inbox.IsNull())
        return {};
    const auto config = KwFindAssociatedMessage(*this, *OpenFolder(inbox, alReadOnly), RetentionClass, alReadOnly);
    if (!config)
        return {};
    const TKwBytes xml = EntryIDToArr(config->Get_Properties()->PropByTag(ConfigurationXml, true)->Get_Value());
    return KwFromUtf8({reinterpret_cast<const char*>(xml.data()), xml.size()});
}

// ---- Outlook's address book

TKwMAPIEntryID TKwMAPIMsgStore::FromAddressBook(WideView methodName, const TKwMAPIEntryID& entryID,
                                                TKwContactEntryType type)
{
    CheckActive(methodName);
    CheckExtendedMAPI(methodName);
    const auto refuse = [](WideView text) { CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, text)->Raise(); };
    const auto entry = KwParseContactEntry(EntryIDToArr(entryID));
    if (!entry || entry->Type != type)
        refuse(sNoContactEntry);
    const TKwBytes& id = entry->EntryID;
    if (id.size() < StoreUIDEnd)
        refuse(sUnexpectedEntry);
    // All identifiers of a store carry the same unique identifier.
    const TKwBytes own = EntryIDToArr(GetIPMRootFolderID());
    if (own.size() >= StoreUIDEnd &&
        !std::equal(own.begin() + StoreUIDAt, own.begin() + StoreUIDEnd, id.begin() + StoreUIDAt))
        refuse(sOtherStore);
    return ArrToEntryID(id);
}

TKwRef<IKwMAPIFolder> TKwMAPIMsgStore::FindABFolder(const TKwMAPIEntryID& containerID, TKwMAPIAccessLevel accessLevel)
{
    return OpenFolder(FromAddressBook(u"FindABFolder", containerID, TKwContactEntryType::Folder), accessLevel);
}

TKwRef<IKwMAPIMessage> TKwMAPIMsgStore::FindABContact(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel)
{
    return OpenMessage(FromAddressBook(u"FindABContact", entryID, TKwContactEntryType::Contact), accessLevel);
}

TKwRef<IKwMAPIMessage> TKwMAPIMsgStore::FindABDistList(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel)
{
    return OpenMessage(FromAddressBook(u"FindABDistList", entryID, TKwContactEntryType::DistList), accessLevel);
}

} // namespace deftmapi
