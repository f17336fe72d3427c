// Stores and folders on the embedded client: copies and moves, search keys, status, names, and the walk through it all.
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "tests/session/EmbeddedFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TEmbeddedStoreTest : public TEmbeddedTest
{
protected:
    void SetUp() override
    {
        TEmbeddedTest::SetUp();
        if (IsSkipped())
            return;
        Store = OpenStore();
        Root = Store->OpenFolderByType(ftIPMRoot, alReadWrite);
    }
    void TearDown() override
    {
        Root.Reset();
        Store.Reset();
        TEmbeddedTest::TearDown();
    }
    [[nodiscard]] static TKwRef<IKwMAPIMessage> AddMessage(IKwMAPIFolder& folder, const char16_t* subject)
    {
        auto message = folder.CreateMessage(u"IPM.Note");
        message->Set_Subject(subject);
        message->SaveChanges();
        return message;
    }
    [[nodiscard]] std::string Walk(const TKwRef<IKwMAPIFolder>& folder)
    {
        std::string text;
        TKwMAPIMsgStoreParser parser;
        parser.OnParseSubFolder = [&](auto&, auto&, IKwMAPIFolder&, IKwMAPIFolder& sub, bool&) {
            text += "[" + KwToUtf8(sub.PropByName(PR_DISPLAY_NAME)->Get_AsString()) + "]";
        };
        parser.OnParseMessage = [&](auto&, auto&, auto&, const TKwMAPIEntryID&, const WideString& subject) {
            text += KwToUtf8(subject) + " ";
        };
        parser.Start(*Store, folder);
        return text;
    }

    TKwRef<IKwMAPIMsgStore> Store;
    TKwRef<IKwMAPIFolder> Root;
};

TEST_F(TEmbeddedStoreTest, CopiesMovesAndWhatIsLeft)
{
    const auto from = Root->CreateFolder(u"IPF.Note", u"From", u"", false);
    const auto to = Root->CreateFolder(u"IPF.Note", u"To", u"", false);
    const auto project = from->CreateFolder(u"IPF.Note", u"Project", u"", false);
    static_cast<void>(AddMessage(*project->CreateFolder(u"IPF.Note", u"Sub", u"", false), u"deep"));
    static_cast<void>(AddMessage(*project, u"one"));

    from->CopyFolder(project->Get_EntryID(), *to, u"Copy", false, true, false);
    from->CopyFolder(project->Get_EntryID(), *to, u"Alone", false, false, false);
    EXPECT_EQ(Walk(from), "[Project][Sub]deep one ");
    EXPECT_EQ(Walk(to), "[Alone]one [Copy][Sub]deep one ");
    from->CopyFolder(project->Get_EntryID(), *to, u"", true, false, false);
    EXPECT_EQ(Walk(from), "");
    EXPECT_EQ(Walk(Store->OpenFolderByPath(u"To/Project", alReadOnly)), "[Sub]deep one ");

    static_cast<void>(AddMessage(*to, u"last"));
    to->EmptyFolder(false, false);
    EXPECT_EQ(Walk(to), "");
}

TEST_F(TEmbeddedStoreTest, SearchingStatusAndNames)
{
    const auto folder =
        Root->CreateFolder(u"IPF.Note", u"Ablage", u"", false)->CreateFolder(u"IPF.Note", u"Tief", u"", false);
    static_cast<void>(AddMessage(*folder, u"other"));
    const auto message = AddMessage(*folder, u"wanted");
    const TKwVariant key = message->Get_SearchKey();
    TKwRef<IKwMAPIMessage> found;
    ASSERT_TRUE(Store->SearchMessage(key, alReadWrite, found));
    EXPECT_EQ(found->Get_Subject(), u"wanted");
    EXPECT_TRUE(Store->FindMessage(message->Get_EntryID(), alReadOnly, found));
    EXPECT_EQ(found->Get_Subject(), u"wanted");
    EXPECT_EQ(Store->OpenRawMessage(message->Get_EntryID(), alReadOnly)->SaveChanges(0), mapi::MAPI_E_NO_ACCESS);

    EXPECT_EQ(folder->Get_MessageStatus(message->Get_EntryID()), 0u);
    folder->Set_MessageStatus(message->Get_EntryID(), mapi::MSGSTATUS_TAGGED | mapi::MSGSTATUS_HIGHLIGHTED);
    folder->Set_MessageStatus(message->Get_EntryID(), mapi::MSGSTATUS_TAGGED);
    EXPECT_EQ(folder->Get_MessageStatus(message->Get_EntryID()), mapi::MSGSTATUS_TAGGED);

    const TKwMAPIEntryID id = message->Get_EntryID();
    folder->DeleteMessage(id);
    EXPECT_FALSE(Store->FindMessage(id, alReadOnly, found));
    EXPECT_EQ(found, nullptr);
    EXPECT_FALSE(Store->SearchMessage(key, alReadOnly, found));

    EXPECT_EQ(Store->OpenFolderByName(u"TIEF", alReadOnly)->Get_EntryID(), folder->Get_EntryID());
    EXPECT_EQ(Store->OpenFolderByName(u"SentItems", alReadOnly)->Get_FolderType(), ftSentItems);
    EXPECT_EQ(
        Catch([&] { return Store->OpenFolderByName(u"Nichts", alReadOnly); }).Message,
        "TKwMAPIMsgStore.OpenFolderByName failed, because the message store does not have a folder of the type you "
        "requested!");
    EXPECT_EQ(Store->OpenContainer(folder->Get_EntryID(), alReadOnly)->Get_ContainerType(), ctFolder);
    EXPECT_EQ(Store->CreateMessage(ftDraft, u"")->Get_MessageClass(), u"IPM.Note");
}

TEST_F(TEmbeddedStoreTest, FoldersOfTheSessionAndIdentifiersOfTables)
{
    const auto inbox = Store->OpenFolderByType(ftInbox, alReadWrite);
    const auto same = KwAs<IKwMAPIFolder>(Session->OpenEntry(inbox->Get_EntryID(), alReadWrite));
    EXPECT_EQ(same->Get_FolderType(), ftInbox);
    static_cast<void>(AddMessage(*same, u"in a table"));
    TKwRef<IKwMAPIProp> root;
    ASSERT_TRUE(Session->FindEntry(Root->Get_EntryID(), alReadOnly, root));
    EXPECT_EQ(KwAs<IKwMAPIFolder>(root)->Get_FolderType(), ftIPMRoot);

    const auto contents = inbox->GetContentsTable();
    const auto id = contents->Get_Fields()->Add(PR_LONGTERM_ENTRYID_FROM_TABLE);
    contents->First();
    EXPECT_EQ(Store->OpenMessage(id->Get_Value(), alReadOnly)->Get_Subject(), u"in a table");
}

TEST_F(TEmbeddedStoreTest, ASavedMessageIsLookedAtAndGone)
{
    const WideString file = WriteFile("a.eml", "From: a@b.example\r\nSubject: In a file\r\n\r\nText\r\n");
    auto message = Store->OpenSavedMessage(file, alReadOnly);
    EXPECT_EQ(message->Get_Subject(), u"In a file");
    const auto inbox = Store->OpenFolderByType(ftInbox, alReadOnly);
    message.Reset();
    EXPECT_EQ(inbox->GetContentsTable()->Get_RowCount(), 0);
    Store->OpenSavedMessage(file, alReadOnly)->SaveChanges();
    EXPECT_EQ(inbox->GetContentsTable()->Get_RowCount(), 1);
    EXPECT_EQ(Catch([&] { return Store->OpenSavedMessage(file + u"x", alReadOnly); }).ClassName,
              "EMAPI_INVALID_PARAMETER");
    const WideString junk = WriteFile("junk.eml", std::string("\x00\x01\x02\xFF", 4));
    EXPECT_TRUE(Catch([&] {
                    return Store->OpenSavedMessage(junk, alReadOnly);
                }).Message.starts_with("TKwMAPIMsgStore.OpenSavedMessage failed!"));
}

TEST_F(TEmbeddedStoreTest, EventsOfTheStore)
{
    std::vector<TKwMAPIEntryID> told;
    bool ended = false;
    TKwMAPIMsgStoreEvents events;
    events.OnObjectCreated = [&](IKwMAPIMsgStore&, const TKwMAPIEntryID& id, TKwMAPIObjectType type, auto&&...) {
        if (type == otMessage)
            told.push_back(id);
    };
    events.OnSessionLogoff = [&](IKwMAPIMsgStore&) { ended = true; };
    events.Start(*Store);
    const auto message = AddMessage(*Root, u"one");
    EXPECT_EQ(HrDispatchNotifications(0), 0);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_TRUE(Store->CompareEntryIDs(told[0], message->Get_EntryID()));
    events.Stop();
    static_cast<void>(AddMessage(*Root, u"two"));
    EXPECT_EQ(HrDispatchNotifications(0), 0);
    EXPECT_EQ(told.size(), 1u);
    events.Start(*Store);
    Session->Logoff();
    EXPECT_TRUE(ended);
}

} // namespace
} // namespace deftmapi::test
