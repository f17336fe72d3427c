// Message stores: Unicode, special folders, paths, and opening.
#include "mapi/headers/uKwEdkGuidH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "tests/session/StoreFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TMsgStoreTest : public TStoreTest
{
protected:
    void SetFolderProperty(TScriptedBag& bag, TKwMAPIPropDef def, const std::string& id)
    {
        bag.Set(BinaryValue(GetPropTag(def), id));
        Object->AddFolder(id);
    }
    [[nodiscard]] std::string NameOf(const TKwRef<IKwMAPIFolder>& folder)
    {
        return KwToUtf8(folder->PropByName(PR_DISPLAY_NAME)->Get_AsString());
    }
    [[nodiscard]] std::string IDOf(TKwMAPIFolderType type)
    {
        const TKwBytes bytes = EntryIDToArr(Store->GetFolderID(type));
        return std::string(bytes.begin(), bytes.end());
    }
};

TEST_F(TMsgStoreTest, AStoreWithoutUnicodeIsAskedInEightBitText)
{
    EXPECT_FALSE(Store->DisableUnicode());
    Object->Bag.Set(LongValue(GetPropTag(PR_STORE_SUPPORT_MASK), 0x100));
    const auto store = OpenStore(alReadOnly);
    EXPECT_TRUE(store->DisableUnicode());
    const auto inbox = store->OpenFolderByType(ftInbox, alReadOnly);
    EXPECT_EQ(Calls->Lines().front(), "GetReceiveFolder(null,0x00000000)");
    static_cast<void>(Take());
    static_cast<void>(inbox->GetContentsTable());
    EXPECT_EQ(Take(), "GetContentsTable(0x00000000)");
}

TEST_F(TMsgStoreTest, FolderIDsOfTheStoreAndTheInbox)
{
    AddSpecialFolders();
    EXPECT_EQ(IDOf(ftInbox), "INBOX");
    for (TKwMAPIFolderType type = ftOutbox; type <= ftJunkFolder; type *= 2)
        EXPECT_EQ(IDOf(type), "F" + std::to_string(type));
    EXPECT_EQ(Store->GetOutboxFolderID(), ID("F4"));
    EXPECT_EQ(Store->GetDeletedFolderID(), ID("F8"));
    EXPECT_EQ(Store->GetSentItemsFolderID(), ID("F16"));
    EXPECT_EQ(Store->GetIPMRootFolderID(), ID("F32"));
    EXPECT_EQ(Store->GetSearchFolderID(), ID("F64"));
    EXPECT_EQ(Store->GetCommonFolderID(), ID("F128"));
    EXPECT_EQ(Store->GetPersonalFolderID(), ID("F256"));
    EXPECT_EQ(Store->GetContactFolderID(), ID("F512"));
    EXPECT_EQ(Store->Get_FolderID(ftTask), ID("F8192"));

    const std::pair<const char16_t*, TKwMAPIFolderType> keywords[] = {
        {u"Inbox", 0x2},         {u"Outbox", 0x4},    {u"Deleted", 0x8},       {u"SentItems", 0x10},
        {u"IPMRoot", 0x20},      {u"Search", 0x40},   {u"Common", 0x80},       {u"Personal", 0x100},
        {u"Contact", 0x200},     {u"Journal", 0x800}, {u"Task", 0x2000},       {u"Appointment", 0x400},
        {u"StickyNote", 0x1000}, {u"Draft", 0x4000},  {u"searchfolder", 0x40}, {u"SYNCISSUES", 0x8000},
        {u"JunkFolder", 0x10000}};
    for (const auto& [keyword, type] : keywords) {
        const auto folder = Store->OpenFolderByPath(u"//[" + WideString(keyword) + u"]", alReadOnly);
        EXPECT_EQ(folder->Get_EntryID(), Store->GetFolderID(type)) << type;
    }
    for (const TKwMAPIFolderType invalid : {0x0u, 0x1u, 0x6u, 0x20000u})
        EXPECT_EQ(Catch([&] { return Store->GetFolderID(invalid); }),
                  Failure("EMAPI_INVALID_PARAMETER", 0x80070057, "You have specified an invalid FolderType"));
}

TEST_F(TMsgStoreTest, AdditionalFoldersAreElementsOfAList)
{
    EXPECT_TRUE(Store->GetFolderID(ftSyncIssues).IsNull());
    SetAdditionalFolders({"CONFLICTS"});
    EXPECT_TRUE(Store->GetFolderID(ftSyncIssues).IsNull());
    SetAdditionalFolders({"CONFLICTS", "SYNC", "LOCAL", "SERVER"});
    EXPECT_EQ(IDOf(ftSyncIssues), "SYNC");
    EXPECT_TRUE(Store->GetFolderID(ftJunkFolder).IsNull()); // the list ends before it
    SetAdditionalFolders({"CONFLICTS", "", "LOCAL", "SERVER", "JUNK"});
    EXPECT_EQ(IDOf(ftJunkFolder), "JUNK");
    EXPECT_TRUE(Store->GetFolderID(ftSyncIssues).IsNull()); // a missing folder leaves an empty place
}

TEST_F(TMsgStoreTest, WithoutAnInboxFoldersAreFoundByTheirClass)
{
    SetFolderProperty(Object->Bag, PR_IPM_SUBTREE_ENTRYID, "ROOT");
    auto* root = static_cast<TScriptedFolder*>(FolderOf("ROOT"));
    root->AddChild("A", u"Mail", u"IPF.Note");
    root->AddChild("B", u"People", u"ipf.contact");
    root->AddChild("C", u"More people", u"IPF.Contact");
    Store = OpenStore(alReadWrite);
    const auto find = [&](TKwMAPIFolderType type) {
        Calls->Next("GetReceiveFolder", mapi::MAPI_E_NO_SUPPORT);
        return Store->GetFolderID(type);
    };
    EXPECT_EQ(find(ftContact), ID("B"));
    EXPECT_TRUE(find(ftTask).IsNull());
    EXPECT_TRUE(find(ftJunkFolder).IsNull()); // has no class to go by
    const std::pair<TKwMAPIFolderType, const char16_t*> classes[] = {{0x400, u"IPF.Appointment"},
                                                                     {0x800, u"IPF.Journal"},
                                                                     {0x1000, u"IPF.StickyNote"},
                                                                     {0x2000, u"IPF.Task"},
                                                                     {0x4000, u"IPF.Draft"}};
    for (const auto& [type, containerClass] : classes)
        root->AddChild("T" + std::to_string(type), u"", containerClass);
    for (const auto& [type, containerClass] : classes)
        EXPECT_EQ(find(type), ID("T" + std::to_string(type)));

    Calls->Next("GetReceiveFolder", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(
        Catch([&] { return Store->OpenFolderByType(ftInbox, alReadOnly); }),
        Failure("EMAPI_NOT_FOUND", 0x8004010F,
                "TKwMAPIMsgStore.OpenFolderByType failed, because the message store does not have a folder of the "
                "type you requested!"));
    Calls->Next("GetReceiveFolder", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch([&] { return Store->GetInboxFolderID(); }).Message.substr(0, 32),
              "TKwMAPIMsgStore.GetInboxFolderID");
    Calls->Next("GetReceiveFolder", mapi::MAPI_E_BAD_CHARWIDTH);
    static_cast<void>(Take());
    EXPECT_EQ(EntryIDToArr(Store->GetInboxFolderID()).size(), 5u);
    EXPECT_EQ(Take(), "GetReceiveFolder(null,0x80000000)\nGetReceiveFolder(null,0x00000000)");
}

TEST_F(TMsgStoreTest, Paths)
{
    SetFolderProperty(Object->Bag, PR_IPM_SUBTREE_ENTRYID, "ROOT");
    SetFolderProperty(Object->Bag, PR_FINDER_ENTRYID, "FINDER");
    Store = OpenStore(alReadWrite);
    auto* root = static_cast<TScriptedFolder*>(FolderOf("ROOT"));
    root->AddChild("A", u"Übung");
    root->AddChild("B", u"übung");
    InboxObject->AddChild("P", u"Project A");
    Object->AddFolder("A", u"Übung")->AddChild("A1", u"Sub");
    Object->AddFolder("P", u"Project A");
    Object->AddFolder("A1", u"Sub");
    const auto open = [&](const char16_t* path) { return NameOf(Store->OpenFolderByPath(path, alReadWrite)); };

    EXPECT_EQ(open(u"//[Inbox]/Project A"), "Project A");
    EXPECT_EQ(open(u"[inbox]/PROJECT a"), "Project A");
    EXPECT_EQ(open(u"//[INBOX]"), "Inbox");
    EXPECT_EQ(open(u"ÜBUNG/sub"), "Sub"); // the first of equal names
    EXPECT_EQ(open(u"//Übung/"), "Übung");
    EXPECT_EQ(open(u""), "Folder");
    EXPECT_EQ(Store->OpenFolderByPath(u"[Search]", alReadOnly)->Get_EntryID(),
              Store->OpenFolderByPath(u"//[searchFolder]", alReadOnly)->Get_EntryID());
    static_cast<void>(Take());
    static_cast<void>(open(u"Übung/Sub"));
    std::string opened;
    for (const std::string& line : Calls->Lines())
        if (line.starts_with("OpenEntry"))
            opened += line;
    EXPECT_EQ(opened, "OpenEntry(ROOT,0x00000000)OpenEntry(A,0x00000000)OpenEntry(A1,0x00000001)");

    const std::pair<const char16_t*, const char*> failures[] = {
        {u"//Nothing/Sub", "The given path //Nothing/Sub does not exist!"},
        {u"Übung//Sub", "The given path Übung//Sub does not exist!"},
        {u"[Attic]/x", "There is no special folder Attic"}};
    for (const auto& failure : failures)
        EXPECT_EQ(Catch([&] { return Store->OpenFolderByPath(failure.first, alReadOnly); }),
                  Failure("EMAPI_INVALID_PARAMETER", 0x80070057, failure.second));
}

TEST_F(TMsgStoreTest, OpeningAndItsFailures)
{
    const std::pair<TKwMAPIAccessLevel, const char*> access[] = {{alReadOnly, "OpenEntry(INBOX,0x00000000)"},
                                                                 {alReadWrite, "OpenEntry(INBOX,0x00000001)"},
                                                                 {alBestAccess, "OpenEntry(INBOX,0x00000010)"}};
    InboxObject->Bag.Set(LongValue(GetPropTag(PR_FOLDER_TYPE), 1));
    for (const auto& [level, call] : access) {
        const auto folder = Store->OpenFolder(ID("INBOX"), level);
        EXPECT_EQ(Calls->Lines().front(), call);
        EXPECT_EQ(folder->Get_AccessLevel(), level);
        static_cast<void>(Take());
        static_cast<void>(folder->Get_EntryID());
        static_cast<void>(folder->PropByName(PR_DISPLAY_NAME)->Get_Value());
        EXPECT_EQ(folder->PropByName(PR_FOLDER_TYPE)->Get_AsInteger(), 1);
        EXPECT_EQ(Take(), ""); // read while opening
    }
    EXPECT_EQ(Catch([&] { return Store->OpenFolder(ID("X"), alReadOnly); }),
              Failure("EMAPI_NOT_FOUND", 0x8004010F,
                      "TKwMAPIMsgStore.OpenEntry failed!\r\nThere is no object with the given EntryID!"));
    Calls->Next("OpenEntry", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { return Store->OpenFolder(ID("INBOX"), alReadWrite); }),
              Failure("EMAPI_NO_ACCESS", 0x80070005,
                      "TKwMAPIMsgStore.OpenEntry failed!\r\nAn attempt was made to modify a read-only object or to "
                      "access an object for which the user has insufficient permissions!"));
    EXPECT_EQ(Catch([&] { return Store->OpenMessage(ID("INBOX"), alReadOnly); }).ClassName, "EMAPI_INVALID_OBJECT");
    EXPECT_EQ(Catch([&] { return Store->OpenFolder(TKwNull{}, alReadOnly); }).Message,
              "An invalid (empty) EntryID was specified!");

    const auto readOnly = OpenStore(alReadOnly);
    EXPECT_EQ(Catch([&] { return readOnly->OpenFolder(ID("INBOX"), alReadWrite); }),
              Failure("EMAPI_NO_ACCESS", 0x80070005,
                      "TKwMAPIMsgStore.OpenEntry failed!\r\nAn attempt was made to open an object in read/write mode "
                      "but the messagestore is opened in Read Only mode!"));
    EXPECT_EQ(Catch([&] { return readOnly->OpenFolderByPath(u"[Inbox]", alReadWrite); }).Message,
              "You don't have readwrite access!");
    TKwRef<IKwMAPIMessage> message;
    EXPECT_EQ(Catch([&] { readOnly->FindMessage(ID("M"), alReadWrite, message); }).Message,
              "TKwMAPIMsgStore.OpenEntry failed!\r\nAn attempt was made to open an object in read/write mode "
              "but the messagestore is opened in Read Only mode!");
}

TEST_F(TMsgStoreTest, ShortWaysToFolderIDs)
{
    mapi::ULONG size = 0;
    TKwMAPIBuffer<mapi::ENTRYID> id;
    Store->GetReceiveFolder(size, id);
    EXPECT_EQ(HexOf(size, id.Get()), "494E424F58");
    Calls->Next("GetReceiveFolder", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Store->GetReceiveFolder(), mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Store->GetReceiveFolder(), mapi::S_OK);
    Calls->Next("GetReceiveFolder", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Catch([&] { Store->GetReceiveFolder(size, id); }).Message.substr(0, 32),
              "TKwMAPIMsgStore.GetReceiveFolder");

    InboxObject->Bag.Set(BinaryValue(GetPropTag(PR_IPM_CONTACT_ENTRYID), "PEOPLE"));
    EXPECT_EQ(Store->GetContactFolderID(), ID("PEOPLE"));
    Calls->Next("GetReceiveFolder", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_TRUE(Store->GetContactFolderID().IsNull());
    EXPECT_TRUE(Store->GetPersonalFolderID().IsNull());
}

TEST_F(TMsgStoreTest, ContainersAndMessages)
{
    Object->AddFolder("DL")->Bag.Set(
        LongValue(GetPropTag(PR_OBJECT_TYPE), static_cast<std::int32_t>(mapi::MAPI_DISTLIST)));
    Object->Entries["DL"].Type = mapi::MAPI_DISTLIST;
    Object->Entries["M"] = {mapi::MAPI_MESSAGE, TKwComPtr<mapi::IUnknown>(new TScriptedMessage(Calls))};
    EXPECT_EQ(Store->OpenContainer(ID("DL"), alReadOnly)->Get_ContainerType(), ctDistList);
    EXPECT_EQ(Store->OpenContainer(ID("INBOX"), alReadWrite)->GetClassName(), u"TKwMAPIFolder");
    EXPECT_EQ(Catch([&] { return Store->OpenContainer(ID("M"), alReadOnly); }).Message,
              "TKwMAPIMsgStore.OpenContainer failed, because the object that was opened is not a container.");
    EXPECT_EQ(Catch([&] { return Store->OpenContainer(TKwNull{}, alReadOnly); }),
              Failure("EMAPI_INVALID_PARAMETER", 0x80070057,
                      "TKwMAPIMsgStore.OpenContainer failed!\r\nThere is no PtrEntryID!"));

    TKwRef<IKwMAPIMessage> message;
    EXPECT_TRUE(Store->FindMessage(ID("M"), alReadWrite, message));
    EXPECT_EQ(message->Get_MAPIOBJECT(), Object->Entries["M"].Object.Get());
    EXPECT_EQ(Store->OpenRawMessage(ID("M"), alReadOnly).Get(), Object->Entries["M"].Object.Get());
    EXPECT_FALSE(Store->FindMessage(ID("X"), alReadOnly, message));
    EXPECT_EQ(message, nullptr);
    for (const mapi::HRESULT unknown :
         {mapi::MAPI_E_UNKNOWN_ENTRYID, mapi::MAPI_E_INVALID_ENTRYID, mapi::MAPI_E_OBJECT_DELETED})
    {
        Calls->Next("OpenEntry", unknown);
        EXPECT_FALSE(Store->FindMessage(ID("M"), alReadOnly, message));
    }
    Calls->Next("OpenEntry", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { Store->FindMessage(ID("M"), alReadOnly, message); }).ClassName, "EMAPI_NO_ACCESS");
    EXPECT_EQ(Store->CreateMessage(ftInbox, u"IPM.Note.X")->Get_MessageClass(), u"IPM.Note.X");
}

TEST_F(TMsgStoreTest, FromOutlooksAddressBook)
{
    const std::string uid = "0123456789ABCDEF";
    const std::string root = std::string(4, '\0') + uid + "ROOT";
    const std::string people = std::string(4, '\0') + uid + "PEOPLE";
    SetFolderProperty(Object->Bag, PR_IPM_SUBTREE_ENTRYID, root);
    Object->AddFolder(people, u"People");
    Object->Entries[people + "1"] = {mapi::MAPI_MESSAGE, TKwComPtr<mapi::IUnknown>(new TScriptedMessage(Calls))};
    Store = OpenStore(alReadWrite);
    const auto entry = [](char type, const std::string& rest) {
        const TKwBytes prefix = EntryIDToArr(StrToEntryID(u"00000000FE42AA0A18C71A10E8850B651C24000003000000"));
        return ID(std::string(prefix.begin(), prefix.end()) + type + std::string(3, '\0') + rest);
    };
    const auto person = [](const std::string& id) {
        return std::string(4, '\0') + static_cast<char>(id.size()) + std::string(3, '\0') + id;
    };
    const std::string instance(16, 'i');
    EXPECT_EQ(NameOf(Store->FindABFolder(entry(3, instance + people), alReadOnly)), "People");
    EXPECT_EQ(Store->FindABContact(entry(4, person(people + "1")), alReadOnly)->Get_MAPIOBJECT(),
              Object->Entries[people + "1"].Object.Get());
    EXPECT_EQ(Store->FindABDistList(entry(5, person(people + "1")), alReadOnly)->Get_AccessLevel(), alReadOnly);

    const auto failure = [&](const TKwMAPIEntryID& id) {
        const TCaught caught = Catch([&] { return Store->FindABFolder(id, alReadOnly); });
        EXPECT_EQ(caught.Code, 0x80070057u);
        return caught.Message;
    };
    EXPECT_EQ(failure(ID("other")), "The provided ABContainer must ben an Outlook Addressbook Container!");
    EXPECT_EQ(failure(entry(4, person(people))), "The provided ABContainer must ben an Outlook Addressbook Container!");
    EXPECT_EQ(failure(entry(3, instance + "short")), "The provided ABContainer contains an unexpected EntryID!");
    EXPECT_EQ(failure(entry(3, instance + std::string(24, 'x'))),
              "The provided ABContainer belongs to a different messagestore!");
    EXPECT_EQ(Catch([&] { return Store->FindABContact(entry(4, person(people).substr(0, 20)), alReadOnly); }).Message,
              "The provided ABContainer contains an unexpected EntryID!");
}

TEST_F(TMsgStoreTest, WhatExchangeStoresHave)
{
    const TKwComPtr<TScriptedManageStore> manage(new TScriptedManageStore(Calls));
    Object->Other = TKwComPtr<mapi::IUnknown>(manage.Get());
    EXPECT_EQ(Store->Get_AsExchangeManageStore().Get(), manage.Get());
    EXPECT_EQ(manage->RefCount(), 2u);
    const auto bytes = [](const mapi::MAPIUID& uid) {
        return std::string(reinterpret_cast<const char*>(&uid), sizeof uid);
    };
    const auto reopen = [&](const mapi::MAPIUID& provider) {
        Object->Bag.Set(BinaryValue(GetPropTag(PR_MDB_PROVIDER), bytes(provider)));
        Store = OpenStore(alReadWrite);
        return Store->Get_ExchangeStoreType();
    };
    EXPECT_EQ(Store->Get_ExchangeStoreType(), etNone);
    EXPECT_EQ(reopen(mapi::pbExchangeProviderPublicGuid), etPublicFolders);
    EXPECT_EQ(Catch([&] { return Store->OpenOOF(); }).Code, 26u);
    EXPECT_EQ(reopen(mapi::pbExchangeProviderDelegateGuid), etOtherMailbox);
    EXPECT_EQ(reopen(mapi::pbExchangeProviderPrimaryUserGuid), etPrimaryMailbox);

    const auto oof = Store->OpenOOF();
    EXPECT_FALSE(oof->Get_OutOfOffice());
    oof->Set_OutOfOffice(true);
    EXPECT_TRUE(oof->Get_OutOfOffice());
    EXPECT_EQ(oof->Get_Text(), u"");
    oof->Set_Text(u"Away");
    const std::string reply = InboxObject->NewMessage->Bag.Text();
    EXPECT_NE(reply.find("\"IPM.Note.Rules.OofTemplate.Microsoft\""), std::string::npos);
    EXPECT_NE(reply.find("\"Away\""), std::string::npos);
    EXPECT_EQ(Calls->Count("message.SaveChanges"), 1u);
    EXPECT_EQ(Store->GetMRMConfig(), u"");
    const TKwComPtr<TScriptedMessage> config(new TScriptedMessage(Calls));
    config->Bag.Set(BinaryValue(0x7C080102, "<Retention\xC3\x84/>"));
    Object->Entries["C"] = {mapi::MAPI_MESSAGE, TKwComPtr<mapi::IUnknown>(config.Get())};
    InboxObject->Associated->AddRow(
        {BinaryValue(GetPropTag(PR_ENTRYID), "C"), TextValue(GetPropTag(PR_MESSAGE_CLASS), u"ipm.configuration.mrm")});
    EXPECT_EQ(Store->GetMRMConfig(), u"<RetentionÄ/>");
}

TEST_F(TMsgStoreTest, ObjectsKeepWhatTheyComeFromAlive)
{
    const auto folder = OpenInbox();
    Store.Reset();
    EXPECT_EQ(folder->GetMsgStore()->PropByName(PR_DISPLAY_NAME)->Get_AsString(), u"Store");
    EXPECT_EQ(folder->Get_FolderType(), ftInbox);
}

} // namespace
} // namespace deftmapi::test
