// Folders: kinds, default classes, subfolders, messages and tables.
#include "tests/session/FailureNames.hpp"
#include "tests/session/StoreFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TFolderTest : public TStoreTest
{
protected:
    /// A folder of the store with the given class, opened for writing.
    [[nodiscard]] TKwRef<IKwMAPIFolder> Open(const std::string& id, const char16_t* containerClass)
    {
        if (!Object->Entries.contains(id))
            Object->AddFolder(id);
        static_cast<TScriptedFolder*>(FolderOf(id))->Bag.Set(TextValue(GetPropTag(PR_CONTAINER_CLASS), containerClass));
        auto folder = Store->OpenFolder(ID(id), alReadWrite);
        static_cast<void>(Take());
        return folder;
    }
};

TEST_F(TFolderTest, KindByClassThenByIdentifier)
{
    const std::pair<const char16_t*, TKwMAPIFolderType> byClass[] = {{u"IPF.Journal", ftJournal},
                                                                     {u"IPF.StickyNote", ftStickyNote},
                                                                     {u"ipf.contact", ftContact},
                                                                     {u"ipf.task", ftTask},
                                                                     {u"IPF.Appointment", ftAppointment}};
    for (const auto& [containerClass, type] : byClass) {
        const auto folder = Open("X", containerClass);
        EXPECT_EQ(folder->Get_FolderType(), type);
        static_cast<void>(Take());
        EXPECT_EQ(folder->Get_FolderType(), type);
        EXPECT_EQ(Take(), ""); // kept
    }
    const std::string deleted = "DELETED";
    Object->Bag.Set(BinaryValue(GetPropTag(PR_IPM_WASTEBASKET_ENTRYID), deleted));
    Store = OpenStore(alReadWrite);
    EXPECT_EQ(Open("DELETED", u"IPF.Note")->Get_FolderType(), ftDeleted);
    EXPECT_EQ(Open("INBOX", u"IPF.Note")->Get_FolderType(), ftInbox);
    const auto plain = Open("Y", u"IPF.Note");
    EXPECT_EQ(plain->Get_FolderType(), ftPlain);
    EXPECT_EQ(Calls->Count("OpenEntry"), 1u) << "the Inbox is opened once for all that it knows";

    const TKwComPtr<TScriptedFolder> lonely(new TScriptedFolder(Calls, "INBOX"));
    const auto wrapped = WrapMAPIFolder(*Session, lonely.Get());
    EXPECT_EQ(wrapped->GetMsgStore(), nullptr);
    EXPECT_EQ(wrapped->Get_FolderType(), ftPlain); // no store to ask
    EXPECT_EQ(wrapped->Get_ContainerType(), ctFolder);
}

TEST_F(TFolderTest, DefaultMessageClassesByKind)
{
    const auto refused =
        Failure("EMAPI_NO_ACCESS", 0x80070005, "It is not possible to create messages in the selected folder!");
    const auto create = [](IKwMAPIFolder& folder) { return folder.CreateMessage(u"")->Get_MessageClass(); };
    struct TByClass
    {
        const char16_t* ContainerClass;
        const char16_t* MessageClass;
        bool Creates = true;
    };
    const TByClass byClass[] = {{u"IPF.Contact", u"IPM.Contact"},
                                {u"IPF.Appointment", u"IPM.Appointment"},
                                {u"ipf.stickynote", u"IPM.StickyNote"},
                                {u"IPF.Task", u"IPM.Task"},
                                {u"IPF.Journal", u"IPM.Journal", false},
                                {u"ipf.Note.Custom", u"IPM.Note.Custom"},
                                {u"IPF.IPF.x", u"IPM.IPF.x"},
                                {u"Note.IPF.x", u"Note.IPM.x"},
                                {u"Other", u"Other"},
                                {u"", u""}};
    for (const TByClass& kind : byClass) {
        const auto folder = Open("X", kind.ContainerClass);
        EXPECT_EQ(folder->Get_DefaultMessageClass(), kind.MessageClass);
        if (kind.Creates) {
            EXPECT_EQ(create(*folder), kind.MessageClass);
        } else {
            EXPECT_EQ(Catch([&] { create(*folder); }), refused);
        }
    }

    AddSpecialFolders();
    const TKwMAPIFolderType mail[] = {ftOutbox, ftDeleted, ftSentItems, ftDraft, ftJunkFolder};
    for (const TKwMAPIFolderType type : mail) {
        const auto folder = Open("F" + std::to_string(type), u"IPF.Own");
        EXPECT_EQ(folder->Get_FolderType(), type);
        EXPECT_EQ(folder->Get_DefaultMessageClass(), u"IPM.Note");
        EXPECT_EQ(create(*folder), u"IPM.Note");
    }
    EXPECT_EQ(create(*Open("INBOX", u"IPF.Own")), u"IPM.Note");
    for (const TKwMAPIFolderType type : {ftIPMRoot, ftSearch, ftCommon, ftPersonal, ftSyncIssues}) {
        const auto folder = Open("F" + std::to_string(type), u"IPF.Own");
        EXPECT_EQ(folder->Get_FolderType(), type);
        EXPECT_EQ(folder->Get_DefaultMessageClass(), u"IPM.Own");
        EXPECT_EQ(Catch([&] { create(*folder); }), refused);
        EXPECT_EQ(folder->CreateMessage(u"IPM.Note")->Get_MessageClass(), u"IPM.Note") << "who names a class may";
    }
}

TEST_F(TFolderTest, CreateMessage)
{
    const auto inbox = OpenInbox();
    const auto note = inbox->CreateMessage(u"IPM.Note.Secret");
    EXPECT_EQ(Take(), "CreateMessage(null,0x00000000)");
    EXPECT_EQ(note->Get_MessageClass(), u"IPM.Note.Secret");
    EXPECT_TRUE(note->GetModified());
    EXPECT_EQ(note->Get_AccessLevel(), alReadWrite);
    EXPECT_TRUE(KwAs<TKwMAPIMessage>(note)->NewMessage());
    note->SaveChanges();
    EXPECT_FALSE(KwAs<TKwMAPIMessage>(note)->NewMessage());
    EXPECT_EQ(InboxObject->NewMessage->Bag.Text().find("IPM.Note.Secret") != std::string::npos, true);

    for (const char16_t* associated : {u"IPM.Note.Rules.OofTemplate.Microsoft", u"ipm.configuration.velmora",
                                       u"IPM.Note.Rules.ExternalOofTemplate.Microsoft"})
    {
        static_cast<void>(Take());
        static_cast<void>(inbox->CreateMessage(associated));
        EXPECT_EQ(Take(), "CreateMessage(null,0x00000040)");
    }
    Session->ExtendedMAPI = false;
    EXPECT_EQ(Catch([&] { return inbox->CreateMessage(u"IPM.Task"); }),
              Failure("EMAPI_INVALID_PARAMETER", 0x80070057, "Simple MAPI only supports messages of type IPM.Note!"));
}

TEST_F(TFolderTest, CreateFolder)
{
    const auto inbox = OpenInbox();
    InboxObject->Created = Object->AddFolder("NEW");
    const auto created = inbox->CreateFolder(u"IPF.Note", u"Ä", u"comment", false);
    EXPECT_EQ(Calls->Lines().front(), "CreateFolder(1,\"Ä\",\"comment\",0x80000000)");
    EXPECT_EQ(Calls->Count("NEW.SaveChanges"), 1u);
    EXPECT_EQ(created->Get_ContainerClass(), u"IPF.Note");
    EXPECT_EQ(created->GetMsgStore(), inbox->GetMsgStore());

    // An existing folder keeps the class that it has.
    EXPECT_EQ(inbox->CreateFolder(u"IPF.Task", u"Ä", u"", true)->Get_ContainerClass(), u"IPF.Note");
    static_cast<void>(Take());
    Calls->Next("CreateFolder", mapi::MAPI_E_BAD_CHARWIDTH);
    static_cast<void>(inbox->CreateFolder(u"", u"Ä", u"", true));
    EXPECT_EQ(Calls->Lines()[0], "CreateFolder(1,\"Ä\",null,0x80000001)");
    EXPECT_EQ(Calls->Lines()[1], "CreateFolder(1,'\xC4',null,0x00000001)");
    Calls->Next("CreateFolder", mapi::MAPI_E_COLLISION);
    EXPECT_EQ(Catch([&] { return inbox->CreateFolder(u"", u"Ä", u"", false); }),
              Failure("EMAPI_COLLISION", 0x80040604,
                      "TKwMAPIFolder.CreateFolder failed!\r\nA folder with the name given in the AFolderName parameter "
                      "already exists. Folder names must be unique."));

    // A folder that cannot get its class is taken back.
    static_cast<void>(Take());
    Calls->Next("NEW.SaveChanges", mapi::MAPI_E_NOT_ENOUGH_DISK);
    EXPECT_EQ(Catch([&] { return inbox->CreateFolder(u"IPF.Task", u"B", u"", false); }).Code,
              static_cast<std::uint32_t>(mapi::MAPI_E_NOT_ENOUGH_DISK));
    EXPECT_EQ(Calls->Count("DeleteFolder"), 1u);
}

TEST_F(TFolderTest, DeleteFolderAndMessage)
{
    const auto inbox = OpenInbox();
    Session->Window = 77;
    inbox->DeleteFolder(ID("X"), false, false, false);
    inbox->DeleteFolder(ID("X"), true, false, false);
    inbox->DeleteFolder(ID("X"), false, true, false);
    inbox->DeleteFolder(ID("X"), true, true, true);
    inbox->DeleteMessage(ID("YZ"));
    EXPECT_EQ(Take(), "DeleteFolder(58,77,0x00000000)\nDeleteFolder(58,77,0x00000001)\nDeleteFolder(58,77,0x00000004)\n"
                      "DeleteFolder(58,77,0x00000007)\nDeleteMessages(595A,77,0x00000000)");
    const std::pair<mapi::HRESULT, const char*> failures[] = {
        {mapi::MAPI_E_HAS_FOLDERS,
         "The subfolder being deleted contains subfolders, and the ADeleteSubFolders flag was "
         "not set. The subfolder was not deleted."},
        {mapi::MAPI_E_HAS_MESSAGES, "The subfolder being deleted contains messages, and the ADeleteMessages flag was "
                                    "not set. The subfolder was not deleted."},
        {mapi::MAPI_W_PARTIAL_COMPLETION, "The call succeeded, but not all of the entries were successfully deleted."},
    };
    ExpectTexts(*Calls, "DeleteFolder", "TKwMAPIFolder.DeleteFolder failed!\r\n", failures,
                [&] { inbox->DeleteFolder(ID("X"), false, false, false); });
    Calls->Next("DeleteMessages", mapi::MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Catch([&] { inbox->DeleteMessage(ID("X")); }).ClassName, "EMAPI_W_PARTIAL_COMPLETION");
}

TEST_F(TFolderTest, Tables)
{
    const auto inbox = OpenInbox();
    Calls->Next("GetHierarchyTable", mapi::MAPI_E_BAD_CHARWIDTH);
    static_cast<void>(inbox->GetHierarchyTable(true));
    static_cast<void>(inbox->GetHierarchyTable(false));
    static_cast<void>(inbox->GetAssociatedContentsTable());
    EXPECT_EQ(Take(), "GetHierarchyTable(0x80000001)\nGetHierarchyTable(0x00000001)\nGetHierarchyTable(0x80000000)\n"
                      "GetContentsTable(0x80000040)");
    for (int i = 0; i < 2; ++i)
        Calls->Next("GetHierarchyTable", mapi::MAPI_E_BAD_CHARWIDTH);
    EXPECT_EQ(Catch([&] { return inbox->GetHierarchyTable(false); }).Message.substr(0, 32),
              "TKwMAPIFolder.GetHierarchyTable ");
    for (int i = 0; i < 2; ++i) {
        Calls->Next("GetContentsTable", mapi::MAPI_E_BAD_CHARWIDTH);
        static_cast<void>(i == 0 ? inbox->GetContentsTable() : inbox->GetAssociatedContentsTable());
    }
    EXPECT_EQ(Take(), "GetHierarchyTable(0x80000000)\nGetHierarchyTable(0x00000000)\n"
                      "GetContentsTable(0x80000000)\nGetContentsTable(0x00000000)\n"
                      "GetContentsTable(0x80000040)\nGetContentsTable(0x00000040)");
    Calls->Next("GetContentsTable", mapi::MAPI_E_UNKNOWN_ENTRYID);
    EXPECT_EQ(
        Catch([&] { return inbox->GetContentsTable(); }),
        Failure("EMAPI_UNKNOWN_ENTRYID", 0x80040201,
                "TKwMAPIFolder.GetContentsTable has raised the following exception:\r\nThe given EntryID could not "
                "be located. (-2147220991)\r\nThis exception can be raised if you are trying to open an Outlook "
                "contacts folder that has not been marked as an Addressbook folder!"));
    const auto table = inbox->GetContentsTable();
    table->Open();
    Calls->Next("QueryRows", mapi::MAPI_E_END_OF_SESSION);
    static_cast<void>(Take());
    table->First();
    EXPECT_EQ(Calls->Count("GetContentsTable"), 1u); // fetched again from the folder
    Session->ExtendedMAPI = false;
    EXPECT_EQ(Catch([&] { return inbox->GetContentsTable(); }),
              Failure("EMAPI_NOT_SUPPORTED", 26, "This action is not supported by Simple MAPI!"));
}

TEST_F(TFolderTest, FailuresNameTheirOperation)
{
    const auto inbox = OpenInbox();
    const TNamedOperation operations[] = {
        {"CreateFolder", "CreateFolder", [&] { return inbox->CreateFolder(u"", u"N", u"", false); }},
        {"CreateMessage", "CreateMessage", [&] { return inbox->CreateMessage(u"IPM.Note"); }},
        {"CopyFolder", "CopyFolder", [&] { inbox->CopyFolder(ID("X"), *inbox, u"", false, false, false); }},
        {"CopyMessages", "CopyMessage", [&] { inbox->CopyMessage(ID("X"), *inbox, true); }},
        {"DeleteFolder", "DeleteFolder", [&] { inbox->DeleteFolder(ID("X"), false, false, false); }},
        {"EmptyFolder", "EmptyFolder", [&] { inbox->EmptyFolder(false, false); }},
        {"DeleteMessages", "DeleteMessage", [&] { inbox->DeleteMessage(ID("X")); }},
        {"GetMessageStatus", "GetMessageStatus", [&] { return inbox->Get_MessageStatus(ID("X")); }},
        {"SetMessageStatus", "SetMessageStatus", [&] { inbox->Set_MessageStatus(ID("X"), 0); }},
        {"GetContentsTable", "GetContentsTable", [&] { return inbox->GetContentsTable(); }},
        {"GetContentsTable", "GetAssociatedContentsTable", [&] { return inbox->GetAssociatedContentsTable(); }},
        {"GetHierarchyTable", "GetHierarchyTable", [&] { return inbox->GetHierarchyTable(true); }}};
    ExpectFailuresNameTheOperation(*Calls, "TKwMAPIFolder", operations);
}

} // namespace
} // namespace deftmapi::test
