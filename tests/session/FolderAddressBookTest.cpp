// Contacts folders in Outlook's own address book, and the public folders that do not notify: what a store and its
// folders need a whole session for.
#include "mapi/DeftMAPI.hpp"
#include "mapi/headers/uKwEdkGuidH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "tests/session/ScriptedClient.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

using mapi::HRESULT;
using mapi::ULONG;

/// An entry identifier of that address book.
std::string Entry(char type, const std::string& rest)
{
    const TKwBytes prefix = EntryIDToArr(StrToEntryID(u"00000000FE42AA0A18C71A10E8850B651C24000003000000"));
    return std::string(prefix.begin(), prefix.end()) + type + std::string(3, '\0') + std::string(16, 'i') + rest;
}

class TScriptedABContainer final : public TScriptedPropOf<mapi::IABContainer>
{
public:
    TScriptedABContainer(TCallsRef calls, std::string label)
        : TScriptedPropOf(calls, {mapi::IID_IMAPIProp, mapi::IID_IMAPIContainer, mapi::IID_IABContainer}, label),
          Hierarchy(new TScriptedTable(calls)), NewEntry(new TScriptedProp(calls, "entry."))
    {
        Bag.Set(LongValue(GetPropTag(PR_OBJECT_TYPE), static_cast<std::int32_t>(mapi::MAPI_ABCONT)));
    }
    TKwComPtr<TScriptedTable> Hierarchy;
    TKwComPtr<TScriptedProp> NewEntry;

    DEFTMAPI_REFUSED(GetContentsTable, ULONG, mapi::LPMAPITABLE*)
    HRESULT DEFTMAPI_STDCALL GetHierarchyTable(ULONG flags, mapi::LPMAPITABLE* table) override
    {
        Bag.Enter("GetHierarchyTable", Hex(flags));
        return Give(Hierarchy, table);
    }
    DEFTMAPI_REFUSED(OpenEntry, ULONG, mapi::LPENTRYID, mapi::LPCIID, ULONG, ULONG*, mapi::LPUNKNOWN*)
    DEFTMAPI_REFUSED(SetSearchCriteria, mapi::LPSRestriction, mapi::LPENTRYLIST, ULONG)
    DEFTMAPI_REFUSED(GetSearchCriteria, ULONG, mapi::LPSRestriction*, mapi::LPENTRYLIST*, ULONG*)
    HRESULT DEFTMAPI_STDCALL CreateEntry(ULONG size, mapi::LPENTRYID id, ULONG flags, mapi::LPMAPIPROP* entry) override
    {
        if (const auto result = Bag.Enter("CreateEntry", HexOf(size, id) + "," + Hex(flags)))
            return *result;
        return Give(NewEntry, entry);
    }
    DEFTMAPI_REFUSED(CopyEntries, mapi::LPENTRYLIST, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, ULONG)
    HRESULT DEFTMAPI_STDCALL DeleteEntries(mapi::LPENTRYLIST list, ULONG flags) override
    {
        return Bag.Enter("DeleteEntries", HexOf(list->lpbin[0].cb, list->lpbin[0].lpb) + "," + Hex(flags))
            .value_or(mapi::S_OK);
    }
    DEFTMAPI_REFUSED(ResolveNames, mapi::LPSPropTagArray, ULONG, mapi::LPADRLIST, mapi::LPFlagList)

private:
    HRESULT Refused(const char* method) { return Bag.Refuse(method, ""); }
};

/// Opens two containers.
class TBookOfContainers final : public TScriptedAddressBook
{
public:
    explicit TBookOfContainers(TCallsRef calls)
        : TScriptedAddressBook(calls), Root(new TScriptedABContainer(calls, "root.")),
          Outlook(new TScriptedABContainer(calls, "outlook."))
    {}
    TKwComPtr<TScriptedABContainer> Root;
    TKwComPtr<TScriptedABContainer> Outlook; ///< every other container

    HRESULT DEFTMAPI_STDCALL OpenEntry(ULONG size, mapi::LPENTRYID, mapi::LPCIID, ULONG flags, ULONG* type,
                                       mapi::LPUNKNOWN* object) override
    {
        if (const auto result = Bag.Enter("OpenEntry", std::to_string(size) + "," + Hex(flags)))
            return *result;
        *type = mapi::MAPI_ABCONT;
        return Give(size == 0 ? Root : Outlook, object);
    }
};

class TFolderAddressBookTest : public TScriptedClientTest
{
protected:
    TFolderAddressBookTest() : Book(new TBookOfContainers(Calls))
    {
        Client->AddressBook = TKwComPtr<mapi::IAddrBook>(Book.Get());
        Client->Stores->AddRow({BinaryValue(GetPropTag(PR_ENTRYID), "STORE"),
                                BoolValue(GetPropTag(PR_DEFAULT_STORE), true),
                                BinaryValue(GetPropTag(PR_MDB_PROVIDER), Provider)});
        Session->Logon();
        Store = Session->OpenDefaultMsgStore(alReadWrite);
        Inbox = Store->OpenFolderByType(ftInbox, alReadWrite);
        Inbox->Set_ContainerClass(u"ipf.contact");
        static_cast<void>(Take());
    }
    void List(const std::string& id) { Book->Root->Hierarchy->AddRow({BinaryValue(GetPropTag(PR_ENTRYID), id)}); }
    /// The calls that change the address book.
    [[nodiscard]] std::string Changes()
    {
        return TakeLines(*Calls, [](const std::string& line) {
            return (line.find("Entry(") != std::string::npos || line.find("Entries(") != std::string::npos ||
                    line.find("CopyTo(") != std::string::npos || line.find("entry.") != std::string::npos) &&
                   !line.starts_with("book.OpenEntry(0,");
        });
    }

    std::string Provider = std::string(16, 'p');
    TKwComPtr<TBookOfContainers> Book;
    TKwRef<IKwMAPIMsgStore> Store;
    TKwRef<IKwMAPIFolder> Inbox;
};

TEST_F(TFolderAddressBookTest, AContactsFolderIsListedAndNotAnyMore)
{
    EXPECT_FALSE(Inbox->Get_OutlookAddressbookFolder());
    EXPECT_EQ(Catch([&] { Inbox->Set_OutlookAddressbookFolder(true); }).ClassName, "EMAPI_NOT_FOUND");
    List("somebody else's");
    List(Entry(1, ""));
    List(Entry(3, "OTHER"));
    static_cast<void>(Take());
    Inbox->Set_OutlookAddressbookFolder(false);
    EXPECT_EQ(Changes(), "") << "it is not there: the address book is not opened for writing";
    const auto failure = [&](bool value) {
        return Catch([&] { Inbox->Set_OutlookAddressbookFolder(value); }).Message.substr(0, 56);
    };
    Calls->Next("outlook.CreateEntry", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(failure(true), "TKwMAPIFolder.Set_OutlookAddressbookFolder::CreateEntry ");
    Calls->Next("INBOX.CopyTo", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(failure(true).substr(0, 51), "TKwMAPIFolder.Set_OutlookAddressbookFolder::CopyTo ");
    static_cast<void>(Take());
    Calls->Next("INBOX.CopyTo", mapi::S_OK);
    Inbox->Set_OutlookAddressbookFolder(true);
    EXPECT_EQ(Changes(), "book.OpenEntry(44,0x00000001)\noutlook.CreateEntry(494E424F58,0x00000000)\n"
                         "INBOX.CopyTo(all,0x00000000)\nentry.SaveChanges(0x00000000)\n");

    List(Entry(3, "INBOX"));
    EXPECT_TRUE(Inbox->Get_OutlookAddressbookFolder());
    static_cast<void>(Take());
    Inbox->Set_OutlookAddressbookFolder(true);
    EXPECT_EQ(Changes(), "");
    Inbox->Set_OutlookAddressbookFolder(false);
    EXPECT_NE(Changes().find("outlook.DeleteEntries("), std::string::npos);
    Calls->Next("outlook.DeleteEntries", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { Inbox->Set_OutlookAddressbookFolder(false); }).Message.substr(0, 58),
              "TKwMAPIFolder.Set_OutlookAddressbookFolder::DeleteEntries ");
    Inbox->Set_ContainerClass(u"IPF.Note");
    EXPECT_EQ(Catch([&] { Inbox->Set_OutlookAddressbookFolder(true); }).Message,
              "The Set_OutlookAddressbookFolder can only be used for folders of type IPF.Contact!");
}

TEST_F(TFolderAddressBookTest, PublicFoldersDoNotNotify)
{
    Client->Store->Bag.Set(LongValue(GetPropTag(PR_STORE_SUPPORT_MASK),
                                     static_cast<std::int32_t>(mapi::STORE_UNICODE_OK | mapi::STORE_NOTIFY_OK)));
    Client->Store->Bag.Set(BinaryValue(GetPropTag(PR_ENTRYID), "STORE"));
    const auto* uid = reinterpret_cast<const char*>(&mapi::pbExchangeProviderPublicGuid);
    const std::string provider(uid, sizeof mapi::pbExchangeProviderPublicGuid);
    TKwMAPIMsgStoreEvents events;
    Store = Session->OpenDefaultMsgStore(alReadWrite);
    events.Start(*Store);
    EXPECT_TRUE(events.GetActive());
    events.Stop();
    Client->Stores->AddRow(
        {BinaryValue(GetPropTag(PR_ENTRYID), "PUBLIC"), BinaryValue(GetPropTag(PR_MDB_PROVIDER), provider)});
    const TCaught caught = Catch([&] { events.Start(*Store); }); // this client calls all identifiers the same
    EXPECT_EQ(caught.Message, "The public folders messagestore does not support notifications!");
    EXPECT_EQ(caught.Code, 26u);
    EXPECT_FALSE(events.GetActive());
    Client->SameIDs = 0;
    events.Start(*Store);
    EXPECT_TRUE(events.GetActive()) << "a store beside the public folders";
}

TEST_F(TFolderAddressBookTest, ThereIsNoSinkToConnect)
{
    const auto table = Inbox->GetHierarchyTable(false);
    EXPECT_EQ(Catch([&] { Session->DEventConnect(nullptr, true); }).Message,
              "TSession.DEventConnect failed!\r\nThere is no sink to connect.");
    for (const TCaught& caught :
         {Catch([&] { Store->DEventConnect(nullptr, true); }), Catch([&] { table->DEventConnect(nullptr, true); })})
    {
        EXPECT_EQ(caught.ClassName, "EMAPI_INVALID_PARAMETER");
        EXPECT_NE(caught.Message.find("There is no sink to connect."), std::string::npos) << caught.Message;
    }
    Store->DEventConnect(nullptr, false);
    EXPECT_FALSE(Store->Get_Advised());
}

TEST_F(TFolderAddressBookTest, AFolderThatTheSessionOpensKnowsItsStore)
{
    auto& object = dynamic_cast<TScriptedFolder&>(*Client->Store->Entries["INBOX"].Object);
    Client->Entries["INBOX"] = Client->Store->Entries["INBOX"];
    object.Bag.Remove(GetPropTag(PR_CONTAINER_CLASS));
    const auto open = [&] {
        const TKwBytes id{'I', 'N', 'B', 'O', 'X'};
        return KwAs<IKwMAPIFolder>(Session->OpenEntry(ArrToEntryID(id), alReadOnly));
    };
    EXPECT_EQ(open()->GetMsgStore(), nullptr) << "it does not say in which it is";
    EXPECT_EQ(open()->Get_FolderType(), ftPlain);
    object.Bag.Set(BinaryValue(GetPropTag(PR_STORE_ENTRYID), "STORE"));
    static_cast<void>(Take());
    const auto folder = open();
    EXPECT_NE(Take().find("OpenMsgStore(0,53544F5245,0x00000011)"), std::string::npos);
    EXPECT_EQ(folder->Get_FolderType(), ftInbox);
    EXPECT_EQ(folder->Get_DefaultMessageClass(), u"IPM.Note");
    EXPECT_EQ(folder->Get_AccessLevel(), alReadOnly);
    Calls->Next("OpenMsgStore", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(open()->GetMsgStore(), nullptr) << "the folder is open all the same";
}

} // namespace
} // namespace deftmapi::test
