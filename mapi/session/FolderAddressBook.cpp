// Contacts folders in Outlook's own address book. That address book is a container with one entry for each folder that
// it shows; the entry's identifier carries the folder's.
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPISessionH.hpp"
#include "mapi/session/AccessLevel.hpp"
#include "mapi/session/AddressBookEntry.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/SpecialFolders.hpp"
#include "mapi/session/uKwMAPIFolder.hpp"
#include "mapi/table/uKwMAPITable.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sOnlyContacts = u"The Set_OutlookAddressbookFolder can only be used for folders of type IPF.Contact!";
constexpr auto sNoSession = u"%s.%s failed!\r\nThe session of the folder has no address book.";
constexpr auto sNoOutlookAddressBook = u"%s.%s failed!\r\nThe profile does not have the Outlook address book.";

} // namespace

TKwComPtr<mapi::IAddrBook> TKwMAPIFolder::OpenAddressBook(WideView methodName)
{
    auto* session = dynamic_cast<IKwMAPISession*>(Session());
    if (session == nullptr)
        CreateKwMAPIException(KwNotSupported, sNoSession, {GetClassName(), methodName})->Raise();
    return session->OpenAddressBook();
}

TKwComPtr<mapi::IABContainer> TKwMAPIFolder::OpenABContainer(WideView methodName, mapi::IAddrBook& addressBook,
                                                             const TKwMAPIEntryID& entryID,
                                                             TKwMAPIAccessLevel accessLevel)
{
    TKwMAPIEntryIDArg id(entryID);
    mapi::ULONG type = 0;
    TKwComPtr<mapi::IUnknown> object;
    CheckMAPIResult(*this, methodName,
                    addressBook.OpenEntry(id.Size(), id.Get(), &mapi::IID_IABContainer, AccessFlag(accessLevel), &type,
                                          Out(object)));
    return TKwComPtr<mapi::IABContainer>(static_cast<mapi::IABContainer*>(object.Get()));
}

TKwMAPIEntryID TKwMAPIFolder::FindInAddressBook(WideView methodName, mapi::IAddrBook& addressBook,
                                                TKwMAPIEntryID& container)
{
    const auto root = KwMake<TKwMAPIContainer>(static_cast<TKwMAPIWrapper&>(*this));
    root->SetMAPIOBJECT(OpenABContainer(methodName, addressBook, TKwNull{}, alReadOnly).Get());
    const auto rows = root->GetHierarchyTable(true);
    rows->Get_Fields()->Add(PR_ENTRYID);
    const TKwBytes wanted = EntryIDToArr(Get_EntryID());
    TKwMAPIEntryID found = TKwNull{};
    container = TKwNull{};
    for (rows->First(); !rows->Get_EOF(); rows->Next()) {
        const TKwMAPIEntryID id = rows->GetFieldValue(PR_ENTRYID);
        const auto entry = KwParseContactEntry(EntryIDToArr(id));
        if (!entry)
            continue;
        if (entry->Type == TKwContactEntryType::Folder && entry->EntryID == wanted)
            found = id;
        else if (entry->Type != TKwContactEntryType::Folder && container.IsNull())
            container = id;
    }
    return found;
}

WordBool TKwMAPIFolder::Get_OutlookAddressbookFolder()
{
    constexpr auto method = u"Get_OutlookAddressbookFolder";
    CheckActive(method);
    CheckExtendedMAPI(method);
    TKwMAPIEntryID container = TKwNull{};
    return !FindInAddressBook(method, *OpenAddressBook(method), container).IsNull();
}

void TKwMAPIFolder::Set_OutlookAddressbookFolder(WordBool value)
{
    constexpr auto method = u"Set_OutlookAddressbookFolder";
    CheckActive(method);
    CheckExtendedMAPI(method);
    if (!KwSameText(Get_ContainerClass(), FindSpecialFolder(ftContact)->ContainerClass))
        CreateKwMAPIException(KwNotSupported, sOnlyContacts)->Raise();
    const TKwComPtr<mapi::IAddrBook> addressBook = OpenAddressBook(method);
    TKwMAPIEntryID containerID = TKwNull{};
    const TKwMAPIEntryID found = FindInAddressBook(method, *addressBook, containerID);
    if (value != found.IsNull())
        return;
    if (containerID.IsNull())
        CreateKwMAPIException(mapi::MAPI_E_NOT_FOUND, sNoOutlookAddressBook, {GetClassName(), method})->Raise();
    const auto container = OpenABContainer(method, *addressBook, containerID, alReadWrite);
    if (value) {
        TKwMAPIEntryIDArg id(Get_EntryID());
        TKwComPtr<mapi::IMAPIProp> entry;
        CheckMAPIResult(*this, u"Set_OutlookAddressbookFolder::CreateEntry",
                        container->CreateEntry(id.Size(), id.Get(), 0, Out(entry)));
        CheckMAPIResult(*this, u"Set_OutlookAddressbookFolder::CopyTo",
                        MAPIProp().CopyTo(0, nullptr, nullptr, GetParentWindow(), nullptr, &mapi::IID_IMAPIProp,
                                          entry.Get(), 0, nullptr));
        CheckMAPIResult(*this, u"Set_OutlookAddressbookFolder::SaveChanges", entry->SaveChanges(0));
    } else {
        TKwMAPIEntryIDArg id(found);
        mapi::SBinary binary = id.Binary();
        mapi::SBinaryArray list{1, &binary};
        CheckMAPIResult(*this, u"Set_OutlookAddressbookFolder::DeleteEntries", container->DeleteEntries(&list, 0));
    }
}

} // namespace deftmapi
