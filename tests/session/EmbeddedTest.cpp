// The whole road on the embedded client: profiles, logon, folders, messages, import, and what stays on disk.
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "tests/session/EmbeddedFixture.hpp"
#include "tests/session/ScriptedClient.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace deftmapi::test
{
namespace
{

/// Lets go of a session when that has logged off, and says on which thread that was.
class TLastReference final : public TQuietSessionSink
{
public:
    TKwRef<IKwMAPISession> Session;
    std::promise<std::thread::id> Ended;

    void AfterLogoff(IKwMAPISession&) override
    {
        Session.Reset();
        Ended.set_value(std::this_thread::get_id());
    }
};

class TEmbeddedSessionTest : public TEmbeddedTest
{
protected:
    [[nodiscard]] static std::int32_t Flags(IKwMAPIMessage& message)
    {
        return message.PropByName(PR_MESSAGE_FLAGS)->Get_AsInteger();
    }
    /// Logs on with notifications on the client's thread, and off again: one who has joined is told on that thread.
    void EndASharedSession()
    {
        const auto log = [](IKwMAPISession& session, bool joins) {
            session.Get_LogonInfo()->Set_MultiThreadedNotifications(true);
            session.Get_LogonInfo()->Set_NewSession(!joins);
            session.Get_LogonInfo()->Set_Shared(true);
            session.Logon();
        };
        log(*Session, false);
        const auto sink = KwMake<TLastReference>();
        sink->Session = TSession::Create();
        sink->Session->DEventConnect(sink, true);
        log(*sink->Session, true);
        Session->Logoff(); // for all
        auto ended = sink->Ended.get_future();
        ASSERT_EQ(ended.wait_for(std::chrono::seconds(60)), std::future_status::ready);
        EXPECT_NE(ended.get(), std::this_thread::get_id());
    }
    /// Ends the session and waits for the client's own thread, which has yet to return from the sink whose call a test
    /// has seen: it has to let go of its session before (a thread is uninitialised by its last session only where that
    /// goes on the thread itself), and the client joins it at the end.
    void EndWithTheClientsThread()
    {
        using TCanUnload = mapi::HRESULT(DEFTMAPI_STDCALL*)();
        const auto canUnload = reinterpret_cast<TCanUnload>(KwPlatform().FindExport(KwMAPIModule(), "DllCanUnloadNow"));
        ASSERT_NE(canUnload, nullptr);
        EXPECT_TRUE(Comes([] { return TKwMAPIAutoObjectFactory::LiveSessions() == 1; }));
        Session.Reset();
        EXPECT_TRUE(Comes([&] { return canUnload() == mapi::S_OK; })) << "something keeps the client";
    }

private:
    [[nodiscard]] static bool Comes(const std::function<bool()>& state)
    {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!state()) {
            if (std::chrono::steady_clock::now() > limit)
                return false;
            std::this_thread::yield();
        }
        return true;
    }
};

TEST_F(TEmbeddedSessionTest, TheEndOfASharedSessionArrivesOnTheClientsThread)
{
    EndASharedSession();
    Session->Logon(); // nothing of the other one is left in this thread's counts
    EndWithTheClientsThread();
}

TEST_F(TEmbeddedSessionTest, TheLastLogonDecidesOnWhichThreadNotificationsArrive)
{
    Session->Logon();
    std::thread([] {
        const auto other = TSession::Create();
        other->Get_LogonInfo()->Set_ProfileName(u"Test");
        other->Logon();
    }).join();
    Session->Logoff(); // whose thread is not uninitialised in the client: the other one has been
    EndASharedSession();
    MAPIUninitialize(); // the one that was left out above: the client counts for the whole process and would never end
    EndWithTheClientsThread();
}

TEST_F(TEmbeddedSessionTest, ProfilesChangeTheirNamesPasswordsAndDefaultStores)
{
    const auto profiles = Session->GetProfileAdmin();
    profiles->CopyProfile(u"Test", u"", u"Copy");
    profiles->ChangeProfilePassword(u"Copy", u"", u"geheim");
    EXPECT_EQ(Catch([&] { profiles->RenameProfile(u"Copy", u"", u"Other"); }).ClassName, "EMAPI_LOGON_FAILED");
    profiles->RenameProfile(u"Copy", u"geheim", u"Other");
    EXPECT_EQ(profiles->GetProfiles(), (std::vector<WideString>{u"Other", u"Test"}));
    EXPECT_EQ(Catch([&] { profiles->SetDefaultProfile(u"Nobody"); }).Message, "The specified profile does not exist.");
    profiles->SetDefaultProfile(u"Other");
    EXPECT_EQ(Catch([&] { Session->Logon(); }).ClassName, "EMAPI_LOGON_FAILED") << "the password is missing";
    EXPECT_FALSE(Session->Get_Active());
    Session->Get_LogonInfo()->Set_Password(u"geheim");

    Session->Logon();
    EXPECT_EQ(profiles->GetDefaultProfile(), u"Other") << "also while logged on";
    EXPECT_FALSE(Session->Get_ConnectedToExchange());
    const auto services = Session->GetAdminServices();
    const auto configuration = Session->CreatePropValueList();
    configuration->AddValue(PR_DISPLAY_NAME, u"Archive");
    services->ConfigureMsgService(services->CreateMsgService(u"DEFTSTORE", u"", false), {}, *configuration);
    const TKwMAPIEntryID first = Session->GetDefaultMsgStoreID();
    const auto stores = Session->GetMsgStoresTable();
    stores->Get_Fields()->Add(PR_ENTRYID);
    stores->Last();
    Session->SetDefaultMsgStore(stores->GetFieldValue(PR_ENTRYID));
    EXPECT_EQ(Session->OpenDefaultMsgStore(alReadOnly)->PropByName(PR_DISPLAY_NAME)->Get_AsString(), u"Archive");
    EXPECT_FALSE(Session->GetDefaultMsgStoreID() == first);
    Session->SetDefaultMsgStore(TKwNull{});
    EXPECT_EQ(Catch([&] { return Session->GetDefaultMsgStoreID(); }).Message,
              "Failed to determine the default messagestore!");
}

TEST_F(TEmbeddedSessionTest, AStoreIsRenamedWhereverItsNameIsShown)
{
    Session->GetProfileAdmin()->CopyProfile(u"Test", u"", u"Twin");
    const auto store = OpenStore();
    const auto stores = Session->GetMsgStoresTable();
    EXPECT_EQ(Column(*stores, PR_DISPLAY_NAME), std::vector<std::string>{"Personal Folders"});
    const auto rename = [](IKwMAPIMsgStore& which, const char16_t* name) {
        which.PropByName(PR_DISPLAY_NAME)->Set_AsString(name);
        which.SaveChanges();
    };
    rename(*store, u"Büro");
    EXPECT_EQ(Column(*stores, PR_DISPLAY_NAME), std::vector<std::string>{"Büro"}) << "a table that is open";
    const auto status = Column(*Session->GetStatusTable(), PR_DISPLAY_NAME);
    EXPECT_NE(std::find(status.begin(), status.end(), "Büro"), status.end());
    Session->Logoff();
    Session->Get_LogonInfo()->Set_ProfileName(u"Twin");
    Session->Get_LogonInfo()->Set_ProfileRequired(true);
    Session->Logon();
    EXPECT_EQ(Column(*Session->GetMsgStoresTable(), PR_DISPLAY_NAME), std::vector<std::string>{"Büro"});
    Session->Logoff();

    // By a profile of another data folder: it is seen when the store is opened.
    std::filesystem::path file;
    for (const auto& entry : std::filesystem::directory_iterator(Home / "stores"))
        if (entry.path().extension() == ".db")
            file = entry.path();
    setenv("DEFTMAPI_HOME", (Home / "other").c_str(), 1);
    Session->GetProfileAdmin()->CreateProfile(u"Twin", u"", false);
    Session->Logon();
    const auto services = Session->GetAdminServices();
    const auto settings = Session->CreatePropValueList();
    settings->AddValue(PR_PST_PATH, file.u16string());
    services->ConfigureMsgService(services->CreateMsgService(u"DEFTSTORE", u"", false), {}, *settings);
    rename(*Session->OpenDefaultMsgStore(alReadWrite), u"Anderswo");
    Session->Logoff();
    setenv("DEFTMAPI_HOME", Home.c_str(), 1);
    Session->Logon();
    EXPECT_EQ(Column(*Session->GetMsgStoresTable(), PR_DISPLAY_NAME), std::vector<std::string>{"Büro"});
    static_cast<void>(Session->OpenDefaultMsgStore(alReadOnly));
    EXPECT_EQ(Column(*Session->GetMsgStoresTable(), PR_DISPLAY_NAME), std::vector<std::string>{"Anderswo"});
}

TEST_F(TEmbeddedSessionTest, ALogonWaitsForTheLockOfTheProfilesNotForEver)
{
    // As another process locks it, in the bytes that SQLite's file format names for that.
    int ready[2];
    int leave[2];
    ASSERT_TRUE(::pipe(ready) == 0 && ::pipe(leave) == 0);
    const ::pid_t process = ::fork();
    if (process == 0) {
        const int file = ::open((Home / "profiles.db").c_str(), O_RDWR);
        struct ::flock lock
        {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        lock.l_start = 0x40000000;
        lock.l_len = 512;
        char byte = ::fcntl(file, F_SETLK, &lock) == 0 ? 'y' : 'n';
        ::close(leave[1]);
        static_cast<void>(!::write(ready[1], &byte, 1));
        static_cast<void>(!::read(leave[0], &byte, 1)); // until the test closes it
        ::_exit(0);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    EXPECT_EQ(byte, 'y');
    EXPECT_EQ(Catch([&] { Session->Logon(); }).ClassName, "EMAPI_TIMEOUT") << "ShortTimeOut: after three seconds";
    EXPECT_FALSE(Session->Get_Active());
    ::close(leave[1]);
    ::waitpid(process, nullptr, 0);
    for (const int end : {ready[0], ready[1], leave[0]})
        ::close(end);
    Session->Logon();
    EXPECT_TRUE(Session->Get_Active());
}

TEST_F(TEmbeddedSessionTest, ServicesSectionsAndStatus)
{
    Session->Logon();
    EXPECT_EQ(Session->GetSessionInfo()->Get_ProfileName(), u"Test");
    EXPECT_EQ(Catch([&] { return Session->GetSessionInfo()->Get_Identity(); }).ClassName, "EMAPI_NOT_FOUND");
    Session->FlushQueues(0);
    const TKwMAPIEntryID global = StrToEntryID(KwGlobalProfileSection);
    Session->OpenProfileSection(global, alReadWrite)->SetPropValues(*[&] {
        auto values = Session->CreatePropValueList();
        values->AddValue(PR_PROFILE_UI_STATE, 3);
        return values;
    }());

    const auto services = Session->GetAdminServices();
    const TKwMAPIEntryID second = services->CreateMsgService(u"DEFTSTORE", u"Archiv", false);
    const WideString pst = WriteFile("old.pst", "!BDN");
    EXPECT_EQ(services->OpenProfileSection(second, alReadWrite)->Get_AccessLevel(), alReadWrite);
    const auto providers = services->GetProviderTable();
    providers->Get_Fields()->Add(PR_PROVIDER_UID);
    providers->Last();
    const TKwMAPIEntryID provider = providers->GetFieldValue(PR_PROVIDER_UID);
    const auto section = services->OpenProviderProfileSection(provider, alReadWrite);
    section->PropByName(PR_COMMENT)->Set_AsString(u"of the provider");
    section->SaveChanges();
    EXPECT_EQ(services->OpenProviderProfileSection(provider, alReadOnly)->PropByName(PR_COMMENT)->Get_AsString(),
              u"of the provider");
    EXPECT_EQ(Catch([&] { return services->OpenProviderProfileSection(second, alReadOnly); }).ClassName,
              "EMAPI_NOT_FOUND")
        << "a service is no provider";

    // By another logon, and without one.
    Session->Logoff();
    const auto named = Session->GetProfileAdmin()->GetAdminServices(u"Test", u"", false);
    EXPECT_EQ(named->OpenProfileSection(global, alReadOnly)->PropByName(PR_PROFILE_UI_STATE)->Get_AsInteger(), 3);
    named->DeleteMsgService(second);
    Session->Logon();
    EXPECT_EQ(Session->GetMsgStoresTable()->Get_RowCount(), 1);
    EXPECT_EQ(Catch([&] { return Session->OpenMsgFile(pst, alReadOnly); }).ClassName, "EMAPI_NO_SUPPORT")
        << "the client has no structured storage";
}

TEST_F(TEmbeddedSessionTest, EntriesAreFoundByTheirIdentifier)
{
    TKwMAPIEntryID id;
    {
        const auto message = OpenInbox()->CreateMessage(u"");
        message->Set_Subject(u"Found");
        message->SaveChanges();
        id = message->Get_EntryID();
    }
    const auto mail = Session->CreateMailMessage();
    EXPECT_EQ(mail->Get_MessageClass(), u"IPM.Note");
    EXPECT_EQ(Session->CreateMessage(ftContact, u"")->Get_MessageClass(), u"IPM.Contact");
    const auto task = Session->CreateMessage(ftTask, u"IPM.Task.Mine");
    task->SaveChanges();
    EXPECT_EQ(task->Get_MessageClass(), u"IPM.Task.Mine");
    EXPECT_EQ(Session->OpenDefaultMsgStore(alReadOnly)
                  ->OpenFolderByType(ftTask, alReadOnly)
                  ->GetContentsTable()
                  ->Get_RowCount(),
              1);
    EXPECT_EQ(KwAs<IKwMAPIMessage>(Session->OpenEntry(id, alReadOnly))->Get_Subject(), u"Found");
    TKwRef<IKwMAPIProp> found;
    EXPECT_TRUE(Session->FindEntry(id, alBestAccess, found));
    TKwBytes bytes = EntryIDToArr(id);
    bytes[bytes.size() - 8] ^= 0x40; // a row that is not there
    EXPECT_FALSE(Session->FindEntry(ArrToEntryID(bytes), alReadOnly, found));
    EXPECT_EQ(Catch([&] { return Session->OpenEntry(ArrToEntryID(bytes), alReadOnly); }).Message,
              "TSession.OpenEntry failed!\r\nThere is not an object associated with the entry identifier passed in "
              "lpEntryID.");
}

TEST_F(TEmbeddedSessionTest, TheEndOfASharedSessionLogsOffThoseWhoJoinedIt)
{
    Session->Get_LogonInfo()->Set_Shared(true);
    Session->Logon();
    const auto joined = TSession::Create();
    joined->Get_LogonInfo()->Set_NewSession(false);
    joined->Get_LogonInfo()->Set_ProfileName(u"of no meaning");
    joined->Logon();
    EXPECT_EQ(joined->GetSessionInfo()->Get_ProfileName(), u"Test");
    const auto store = joined->OpenDefaultMsgStore(alReadOnly);
    Session->Logoff();
    EXPECT_EQ(HrDispatchNotifications(0), mapi::S_OK);
    EXPECT_FALSE(joined->Get_Active());
    EXPECT_EQ(Catch([&] { return store->GetInboxFolderID(); }).ClassName, "EMAPI_NO_ACCESS");
}

TEST_F(TEmbeddedSessionTest, SpecialFoldersHaveTheirKind)
{
    const auto store = OpenStore();
    for (TKwMAPIFolderType type = ftInbox; type <= ftJunkFolder; type *= 2)
        EXPECT_EQ(store->OpenFolderByType(type, alBestAccess)->Get_FolderType(), type);
    for (const char16_t* path : {u"//[Inbox]", u"[Draft]", u"[SyncIssues]", u"[JunkFolder]", u"//"})
        EXPECT_EQ(store->OpenFolderByPath(path, alReadWrite)->Get_AccessLevel(), alReadWrite);
}

TEST_F(TEmbeddedSessionTest, FoldersAreMadeFoundAndDeleted)
{
    const auto store = OpenStore();
    const auto inbox = store->OpenFolderByType(ftInbox, alReadWrite);
    const auto project = inbox->CreateFolder(u"IPF.Note.Custom", u"Projekt Ä", u"about it", false);
    static_cast<void>(project->CreateFolder(u"IPF.Task", u"To do", u"", false));
    EXPECT_EQ(Catch([&] { return inbox->CreateFolder(u"", u"PROJEKT ä", u"", false); }).ClassName, "EMAPI_COLLISION");
    EXPECT_TRUE(store->CompareEntryIDs(inbox->CreateFolder(u"IPF.Task", u"Projekt Ä", u"", true)->Get_EntryID(),
                                       project->Get_EntryID()));

    const auto found = store->OpenFolderByPath(u"[Inbox]/projekt ä/TO DO", alReadWrite);
    EXPECT_EQ(found->Get_FolderType(), ftTask);
    EXPECT_EQ(found->CreateMessage(u"")->Get_MessageClass(), u"IPM.Task");
    EXPECT_EQ(store->OpenFolderByPath(u"[Inbox]/Projekt Ä", alReadOnly)->Get_DefaultMessageClass(), u"IPM.Note.Custom");
    EXPECT_EQ(Column(*inbox->GetHierarchyTable(true), PR_DISPLAY_NAME),
              (std::vector<std::string>{"Projekt Ä", "To do"}));
}

TEST_F(TEmbeddedSessionTest, WhatIsSavedIsThereAfterANewLogon)
{
    TKwMAPIEntryID id;
    {
        const auto inbox = OpenInbox();
        const auto draft = inbox->CreateMessage(u"IPM.Note");
        draft->Set_Subject(u"never saved");
        const auto message = inbox->CreateMessage(u"IPM.Note");
        message->Set_Subject(u"Grüße, 世界 👋");
        message->SetMessageText(u"<html><body>Zeile 1<br>Zeile 2</body></html>", fmtHTML);
        message->PropByName(NPR_COMMON_REMINDER_DATE)->Set_AsDateTime({45000.5});
        message->SaveChanges();
        id = message->Get_EntryID();
        EXPECT_EQ(inbox->GetContentsTable()->Get_RowCount(), 1);
    }
    Session->Logoff();
    const auto store = OpenStore();
    const auto message = store->OpenMessage(StrToEntryID(EntryIDToStr(id)), alReadOnly);
    EXPECT_EQ(message->Get_Subject(), u"Grüße, 世界 👋");
    TKwMAPIBodyFormat format{};
    WideString text;
    message->GetMessageText(format, text);
    EXPECT_EQ(format, fmtHTML);
    EXPECT_EQ(text, u"<html><body>Zeile 1<br>Zeile 2</body></html>");
    EXPECT_DOUBLE_EQ(message->PropByName(NPR_COMMON_REMINDER_DATE)->Get_AsDateTime().Days, 45000.5);
    store->OpenFolderByType(ftInbox, alReadWrite)->DeleteMessage(id);
    EXPECT_EQ(Catch([&] { return store->OpenMessage(id, alReadOnly); }).ClassName, "EMAPI_NOT_FOUND");
}

TEST_F(TEmbeddedSessionTest, TablesOfManyMessages)
{
    const auto inbox = OpenInbox();
    for (int i = 1; i <= 45; ++i) {
        const auto message = inbox->CreateMessage(u"IPM.Note");
        message->PropByName(PR_IMPORTANCE)->Set_AsInteger(i);
        message->SaveChanges();
    }
    const auto table = inbox->GetContentsTable();
    const auto importance = table->Get_Fields()->Add(PR_IMPORTANCE);
    table->Sort(PR_IMPORTANCE, true);
    EXPECT_EQ(table->Get_RowCount(), 45);
    std::int32_t expected = 45;
    for (table->First(); !table->Get_EOF(); table->Next())
        EXPECT_EQ(importance->Get_AsInteger(), expected--);
    EXPECT_EQ(expected, 0);
    table->First();
    table->MoveBy(tbkCurrentRelative, 22);
    EXPECT_EQ(importance->Get_AsInteger(), 23);
    table->Previous();
    EXPECT_EQ(importance->Get_AsInteger(), 24);
    table->Last();
    EXPECT_EQ(importance->Get_AsInteger(), 1);
}

TEST_F(TEmbeddedSessionTest, EveryExampleMessageIsImported)
{
    const auto inbox = OpenInbox();
    int imported = 0;
    for (const auto& file : std::filesystem::directory_iterator(DEFTMAPI_TEST_EXAMPLE_MESSAGES)) {
        if (file.path().extension() != ".eml")
            continue;
        const auto message = inbox->ImportMessage(file.path().u16string());
        ++imported;
        EXPECT_FALSE(message->GetModified());
        EXPECT_EQ(Flags(*message) & static_cast<std::int32_t>(mapi::MSGFLAG_UNSENT), 0) << file.path();
        EXPECT_FALSE(message->Get_EntryID().IsEmptyOrNull());
        const auto reopened = inbox->GetMsgStore()->OpenMessage(message->Get_EntryID(), alReadOnly);
        EXPECT_EQ(reopened->Get_Subject(), message->Get_Subject());
        EXPECT_EQ(reopened->GetRecipientTable()->Get_RowCount(), message->GetRecipientTable()->Get_RowCount());
        // Every attachment opens, and every message in a message, however deep.
        const std::function<void(IKwMAPIMessage&)> walk = [&](IKwMAPIMessage& parent) {
            const auto attachments = parent.Get_Attachments();
            const auto number = attachments->Get_Fields()->Add(PR_ATTACH_NUM);
            const auto method = attachments->Get_Fields()->Add(PR_ATTACH_METHOD);
            for (attachments->First(); !attachments->Get_EOF(); attachments->Next()) {
                const auto attachment = parent.OpenAttachment(number->Get_AsInteger(), alReadOnly);
                if (method->Get_AsInteger() == static_cast<std::int32_t>(mapi::ATTACH_EMBEDDED_MSG))
                    walk(*attachment->GetEmbeddedMessage());
                else
                    EXPECT_EQ(Catch([&] { return attachment->GetEmbeddedMessage(); }).Message,
                              "TKwMAPIAttachment.GetEmbeddedMessage failed!\r\nThe attachment is not an embedded "
                              "message.");
            }
        };
        walk(*reopened);
    }
    EXPECT_GE(imported, 10);
    EXPECT_EQ(inbox->GetContentsTable()->Get_RowCount(), imported);
}

TEST_F(TEmbeddedSessionTest, ImportOfWhatIsNoMessageLeavesNothing)
{
    const auto inbox = OpenInbox();
    const auto failure = [&](const WideString& fileName) {
        return Catch([&] { return inbox->ImportMessage(fileName); });
    };
    const WideString missing = (Home / "missing.eml").u16string();
    EXPECT_EQ(failure(missing), (TCaught{"EMAPI_INVALID_PARAMETER",
                                         "The file " + KwToUtf8(missing) + " does not exist!", 0x80070057, false}));
    EXPECT_EQ(failure(Home.u16string()).Message, Home.string() + " is a folder and not a file!");
    const WideString junk = WriteFile("junk.eml", std::string("\x00\x01\x02\xFF", 4));
    const TCaught caught = failure(junk);
    EXPECT_EQ(caught.ClassName, "EMAPI_CORRUPT_DATA");
    EXPECT_NE(caught.Message.find(KwToUtf8(junk)), std::string::npos) << caught.Message;
    EXPECT_EQ(failure(WriteFile("x.msg", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1 and so on")).ClassName,
              "EMAPI_NO_SUPPORT"); // of compound files
    EXPECT_EQ(inbox->GetContentsTable()->Get_RowCount(), 0);
}

} // namespace
} // namespace deftmapi::test
