// Message stores: Unicode, special folders, paths, and opening.
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
    const std::pair<TKwMAPIFolderType, TKwMAPIPropDef> ofStore[] = {
        {ftOutbox, PR_IPM_OUTBOX_ENTRYID},      {ftDeleted, PR_IPM_WASTEBASKET_ENTRYID},
        {ftSentItems, PR_IPM_SENTMAIL_ENTRYID}, {ftIPMRoot, PR_IPM_SUBTREE_ENTRYID},
        {ftSearch, PR_FINDER_ENTRYID},          {ftCommon, PR_COMMON_VIEWS_ENTRYID},
        {ftPersonal, PR_VIEWS_ENTRYID}};
    const std::pair<TKwMAPIFolderType, TKwMAPIPropDef> ofInbox[] = {
        {ftContact, PR_IPM_CONTACT_ENTRYID}, {ftAppointment, PR_IPM_APPOINTMENT_ENTRYID},
        {ftJournal, PR_IPM_JOURNAL_ENTRYID}, {ftStickyNote, PR_IPM_NOTE_ENTRYID},
        {ftTask, PR_IPM_TASK_ENTRYID},       {ftDraft, PR_IPM_DRAFTS_ENTRYID}};
    for (const auto& [type, def] : ofStore)
        Object->Bag.Set(BinaryValue(GetPropTag(def), "S" + std::to_string(type)));
    for (const auto& [type, def] : ofInbox)
        InboxObject->Bag.Set(BinaryValue(GetPropTag(def), "I" + std::to_string(type)));
    Store = OpenStore(alReadWrite);
    EXPECT_EQ(IDOf(ftInbox), "INBOX");
    for (const auto& [type, def] : ofStore)
        EXPECT_EQ(IDOf(type), "S" + std::to_string(type));
    for (const auto& [type, def] : ofInbox)
        EXPECT_EQ(IDOf(type), "I" + std::to_string(type));
    for (const TKwMAPIFolderType invalid : {0x0u, 0x1u, 0x6u, 0x20000u})
        EXPECT_EQ(Catch([&] { static_cast<void>(Store->GetFolderID(invalid)); }),
                  Failure("EMAPI_INVALID_PARAMETER", 0x80070057, "You have specified an invalid FolderType"));
}

TEST_F(TMsgStoreTest, AdditionalFoldersAreElementsOfAList)
{
    std::string ids[] = {"CONFLICTS", "SYNC", "LOCAL", "SERVER", "JUNK"};
    mapi::SBinary elements[5];
    for (int i = 0; i < 5; ++i)
        elements[i] = {static_cast<mapi::ULONG>(ids[i].size()), reinterpret_cast<mapi::BYTE*>(ids[i].data())};
    mapi::SPropValue list{};
    list.ulPropTag = GetPropTag(PR_ADDITIONAL_REN_ENTRYIDS);
    list.Value.MVbin = {4, elements};
    EXPECT_TRUE(Store->GetFolderID(ftSyncIssues).IsNull());
    InboxObject->Bag.Set(list);
    EXPECT_EQ(IDOf(ftSyncIssues), "SYNC");
    EXPECT_TRUE(Store->GetFolderID(ftJunkFolder).IsNull()); // the list ends before it
    list.Value.MVbin.cValues = 5;
    InboxObject->Bag.Set(list);
    EXPECT_EQ(IDOf(ftJunkFolder), "JUNK");
    elements[1].cb = 0; // a missing folder leaves an empty place
    InboxObject->Bag.Set(list);
    EXPECT_TRUE(Store->GetFolderID(ftSyncIssues).IsNull());
}

TEST_F(TMsgStoreTest, WithoutAnInboxFoldersAreFoundByTheirClass)
{
    SetFolderProperty(Object->Bag, PR_IPM_SUBTREE_ENTRYID, "ROOT");
    auto* root = static_cast<TScriptedFolder*>(FolderOf("ROOT"));
    root->AddChild("A", u"Mail", u"IPF.Note");
    root->AddChild("B", u"People", u"ipf.contact");
    root->AddChild("C", u"More people", u"IPF.Contact");
    Store = OpenStore(alReadWrite);
    for (int i = 0; i < 3; ++i)
        Calls->Next("GetReceiveFolder", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(IDOf(ftContact), "B");
    EXPECT_TRUE(Store->GetFolderID(ftTask).IsNull());
    EXPECT_TRUE(Store->GetFolderID(ftJunkFolder).IsNull()); // has no class to go by

    Calls->Next("GetReceiveFolder", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(
        Catch([&] { static_cast<void>(Store->OpenFolderByType(ftInbox, alReadOnly)); }),
        Failure("EMAPI_NOT_FOUND", 0x8004010F,
                "TKwMAPIMsgStore.OpenFolderByType failed, because the message store does not have a folder of the "
                "type you requested!"));
    Calls->Next("GetReceiveFolder", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch([&] { static_cast<void>(Store->GetInboxFolderID()); }).Message.substr(0, 32),
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
        EXPECT_EQ(Catch([&] { static_cast<void>(Store->OpenFolderByPath(failure.first, alReadOnly)); }),
                  Failure("EMAPI_INVALID_PARAMETER", 0x80070057, failure.second));
}

TEST_F(TMsgStoreTest, OpeningAndItsFailures)
{
    const std::pair<TKwMAPIAccessLevel, const char*> access[] = {{alReadOnly, "OpenEntry(INBOX,0x00000000)"},
                                                                 {alReadWrite, "OpenEntry(INBOX,0x00000001)"},
                                                                 {alBestAccess, "OpenEntry(INBOX,0x00000010)"}};
    for (const auto& [level, call] : access) {
        const auto folder = Store->OpenFolder(ID("INBOX"), level);
        EXPECT_EQ(Calls->Lines().front(), call);
        EXPECT_EQ(folder->Get_AccessLevel(), level);
        static_cast<void>(Take());
        static_cast<void>(folder->Get_EntryID());
        static_cast<void>(folder->PropByName(PR_DISPLAY_NAME)->Get_Value());
        EXPECT_EQ(Take(), ""); // read while opening
    }
    EXPECT_EQ(Catch([&] { static_cast<void>(Store->OpenFolder(ID("X"), alReadOnly)); }),
              Failure("EMAPI_NOT_FOUND", 0x8004010F,
                      "TKwMAPIMsgStore.OpenEntry failed!\r\nThere is no object with the given EntryID!"));
    Calls->Next("OpenEntry", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { static_cast<void>(Store->OpenFolder(ID("INBOX"), alReadWrite)); }),
              Failure("EMAPI_NO_ACCESS", 0x80070005,
                      "TKwMAPIMsgStore.OpenEntry failed!\r\nAn attempt was made to modify a read-only object or to "
                      "access an object for which the user has insufficient permissions!"));
    EXPECT_EQ(Catch([&] { static_cast<void>(Store->OpenMessage(ID("INBOX"), alReadOnly)); }).ClassName,
              "EMAPI_INVALID_OBJECT");
    EXPECT_EQ(Catch([&] { static_cast<void>(Store->OpenFolder(TKwNull{}, alReadOnly)); }).Message,
              "An invalid (empty) EntryID was specified!");

    const auto readOnly = OpenStore(alReadOnly);
    EXPECT_EQ(Catch([&] { static_cast<void>(readOnly->OpenFolder(ID("INBOX"), alReadWrite)); }),
              Failure("EMAPI_NO_ACCESS", 0x80070005,
                      "TKwMAPIMsgStore.OpenEntry failed!\r\nAn attempt was made to open an object in read/write mode "
                      "but the messagestore is opened in Read Only mode!"));
    EXPECT_EQ(Catch([&] { static_cast<void>(readOnly->OpenFolderByPath(u"[Inbox]", alReadWrite)); }).Message,
              "You don't have readwrite access!");
}

TEST_F(TMsgStoreTest, ObjectsKeepWhatTheyComeFromAlive)
{
    const auto folder = OpenInbox();
    Store.Reset();
    EXPECT_EQ(folder->GetMsgStore()->PropByName(PR_DISPLAY_NAME)->Get_AsString(), u"Store");
    EXPECT_EQ(folder->Get_FolderType(), ftInbox);
}

TEST_F(TMsgStoreTest, SimpleMAPIHasThreeFolders)
{
    Session->ExtendedMAPI = false;
    EXPECT_EQ(EntryIDToStr(Store->GetFolderID(ftOutbox)), u"04000000");
    EXPECT_EQ(EntryIDToStr(Store->GetInboxFolderID()), u"02000000");
    EXPECT_EQ(
        Catch([&] { static_cast<void>(Store->GetFolderID(ftSentItems)); }),
        Failure("EMAPI_NOT_SUPPORTED", 26, "When using Simple MAPI, you can only open the Inbox, Outbox or IPMRoot."));
}

} // namespace
} // namespace deftmapi::test
