// The store of a Simple MAPI session: three folders without objects of MAPI, and the messages of one of them.
#include "mapi/DeftMAPI.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/headers/uKwSimpleMAPIH.hpp"
#include "tests/session/ScriptedClient.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace deftmapi::test
{
namespace
{

TScriptedCalls* Log = nullptr;
constexpr mapi::ULONG NoMessages = 16;

struct TMail
{
    const char* Id;
    const char* Subject;
    const char* Class;
    const char* Date;
    mapi::FLAGS Flags;
};
constexpr TMail Mails[] = {{"id one",
                            "Gr\xFC\xDF"
                            "e",
                            "IPM.Note.X", "2024/05/31 09:30", 0},
                           {"id two", "second", nullptr, "yesterday", mapi::MAPI_UNREAD}};

mapi::ULONG DEFTMAPI_STDCALL FindNext(mapi::LHANDLE session, mapi::ULONG_PTR, mapi::LPSTR, mapi::LPSTR seed,
                                      mapi::FLAGS flags, mapi::ULONG, mapi::LPSTR id)
{
    if (const auto result = Log->Enter("MAPIFindNext", std::to_string(session) + "," +
                                                           (seed != nullptr ? seed : "null") + "," + Hex(flags)))
        return static_cast<mapi::ULONG>(*result);
    std::size_t next = 0;
    for (std::size_t i = 0; seed != nullptr && i < std::size(Mails); ++i)
        if (std::strcmp(Mails[i].Id, seed) == 0)
            next = i + 1;
    if (next == std::size(Mails))
        return NoMessages;
    std::strcpy(id, Mails[next].Id);
    return 0;
}

mapi::ULONG DEFTMAPI_STDCALL ReadMail(mapi::LHANDLE, mapi::ULONG_PTR, mapi::LPSTR id, mapi::FLAGS flags, mapi::ULONG,
                                      mapi::lpMapiMessage* message)
{
    if (const auto result = Log->Enter("MAPIReadMail", id + std::string(",") + Hex(flags)))
        return static_cast<mapi::ULONG>(*result);
    for (const TMail& mail : Mails)
        if (std::strcmp(mail.Id, id) == 0) {
            *message = static_cast<mapi::lpMapiMessage>(TScriptedAllocator::Allocate(sizeof(mapi::MapiMessage)));
            **message = {};
            (*message)->lpszSubject = const_cast<char*>(mail.Subject);
            (*message)->lpszMessageType = const_cast<char*>(mail.Class);
            (*message)->lpszDateReceived = const_cast<char*>(mail.Date);
            (*message)->flFlags = mail.Flags;
        }
    return 0;
}

class TSimpleStoreTest : public TScriptedClientTest
{
protected:
    TSimpleStoreTest()
    {
        Log = Calls.get();
        Module().Export("MAPIFindNext", &FindNext);
        Module().Export("MAPIReadMail", &ReadMail);
        Session->Get_LogonInfo()->Set_UseExtendedMAPI(false);
        Session->Logon();
        Store = Session->OpenDefaultMsgStore(alReadWrite);
        static_cast<void>(Take());
    }
    static std::string Column(IKwMAPITable& table, TKwMAPIPropDef def)
    {
        std::string text;
        for (table.First(); !table.Get_EOF(); table.Next())
            text += KwToUtf8(table.GetFieldValue(def).AsStringW()) + "|";
        return text;
    }

    TKwRef<IKwMAPIMsgStore> Store;
};

TEST_F(TSimpleStoreTest, ThreeFolders)
{
    const auto root = Store->OpenFolderByType(ftIPMRoot, alReadOnly);
    EXPECT_EQ(root->Get_FolderType(), ftIPMRoot);
    EXPECT_EQ(root->Get_ContainerType(), ctFolder);
    const auto folders = root->GetHierarchyTable(false);
    EXPECT_EQ(Column(*folders, PR_DISPLAY_NAME), "Inbox|Outbox|");
    EXPECT_EQ(Catch([&] { folders->Insert(); }).Message, "The table is readonly!");
    folders->Last();
    const auto outbox = Store->OpenFolder(folders->GetFieldValue(PR_ENTRYID), alReadOnly);
    EXPECT_EQ(outbox->Get_FolderType(), ftOutbox);
    EXPECT_EQ(outbox->GetHierarchyTable(true)->Get_RowCount(), 0);
    EXPECT_EQ(Catch([&] { return outbox->GetContentsTable(); }).Message,
              "This action is not supported by Simple MAPI!");
    const auto inbox = Store->OpenFolderByPath(u"//inbox", alReadOnly);
    EXPECT_TRUE(Store->CompareEntryIDs(inbox->Get_EntryID(), Store->GetInboxFolderID()));
    EXPECT_EQ(inbox->Get_DefaultMessageClass(), u"IPM.Note");

    EXPECT_EQ(EntryIDToStr(Store->GetFolderID(ftOutbox)), u"04000000");
    EXPECT_EQ(EntryIDToStr(Store->GetInboxFolderID()), u"02000000");
    EXPECT_EQ(Catch([&] { return Store->GetFolderID(ftSentItems); }),
              (TCaught{"EMAPI_NOT_SUPPORTED", "When using Simple MAPI, you can only open the Inbox, Outbox or IPMRoot.",
                       26}));
    EXPECT_EQ(EntryIDToStr(Store->GetContactFolderID()), u"00020000");
    const auto contacts = Catch([&] { return Store->OpenFolder(Store->GetContactFolderID(), alReadOnly); });
    EXPECT_EQ(contacts.Message, "The specified FolderID cannot be used in combination with Simple MAPI!");
    EXPECT_EQ(contacts.Code, 26u);
    EXPECT_EQ(Catch([&] { inbox->EmptyFolder(false, false); }).Message,
              "TKwMAPIFolder.EmptyFolder is not supported by Simple MAPI!");
    EXPECT_EQ(Catch([&] { return inbox->PropByName(PR_COMMENT)->Get_Value(); }).ClassName, "EMAPI_NO_SUPPORT");
    Session->Logoff();
    EXPECT_EQ(Catch([&] { return inbox->Get_FolderType(); }).ClassName, "EMAPI_NO_ACCESS");
    EXPECT_EQ(Catch([&] { return Store->GetInboxFolderID(); }).ClassName, "EMAPI_NO_ACCESS");
}

TEST_F(TSimpleStoreTest, MessagesOfTheInbox)
{
    const auto contents = Store->OpenFolderByType(ftInbox, alReadOnly)->GetContentsTable();
    EXPECT_EQ(Take(), "") << "read when somebody asks for rows";
    EXPECT_EQ(Column(*contents, PR_SUBJECT), "Grüße|second|");
    EXPECT_EQ(Take(), "MAPIFindNext(42,null,0x00004100)\nMAPIReadMail(id one,0x000008C0)\n"
                      "MAPIFindNext(42,id one,0x00004100)\nMAPIReadMail(id two,0x000008C0)\n"
                      "MAPIFindNext(42,id two,0x00004100)");
    EXPECT_EQ(Column(*contents, PR_MESSAGE_CLASS), "IPM.Note.X|IPM.Note|");
    contents->First();
    EXPECT_EQ(EntryIDToStr(contents->GetFieldValue(PR_ENTRYID)), u"6964206F6E65");
    EXPECT_NEAR(contents->GetFieldValue(PR_MESSAGE_DELIVERY_TIME).AsDateTime().Days, 45443.4, 0.6);
    contents->Next();
    EXPECT_TRUE(contents->GetFieldValue(PR_MESSAGE_DELIVERY_TIME).IsEmpty());

    const auto restriction = contents->CreateRestriction(rtBitmask);
    const auto read = KwAs<IKwSimpleMAPIRestrictionBitMask>(restriction);
    contents->Filter(restriction); // as it is made: the messages that have not been read
    EXPECT_EQ(Column(*contents, PR_SUBJECT), "second|");
    read->Set_Operator(bmoNotZero);
    contents->Filter(restriction);
    EXPECT_EQ(Column(*contents, PR_SUBJECT), "Grüße|");
    contents->Close();
    EXPECT_EQ(Column(*contents, PR_SUBJECT), "Grüße|") << "still filtered";
    contents->Filter(nullptr);
    EXPECT_EQ(contents->Get_RowCount(), 2);
    EXPECT_EQ(Catch([&] { return contents->CreateRestriction(rtAnd); }).Message,
              "Simple MAPI only supports the bitmask filter");
    EXPECT_EQ(Catch([&] { contents->Delete(); }).Message, "The table is readonly!");

    contents->Close();
    Calls->Next("MAPIReadMail", 2); // MAPI_E_FAILURE
    EXPECT_EQ(Catch([&] { contents->First(); }).ClassName, "EMAPI_FAILURE");
    EXPECT_FALSE(contents->Get_Active());
    contents->First();
    EXPECT_EQ(contents->Get_RowCount(), 2);
}

} // namespace
} // namespace deftmapi::test
