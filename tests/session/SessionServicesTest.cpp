// What a session reaches besides its stores: entries, sections, the spooler, facts about itself, message files; and
// several sessions side by side.
#include "mapi/DeftMAPI.hpp"
#include "mapi/headers/uKwEdkGuidH.hpp"
#include "tests/session/FailureNames.hpp"
#include "tests/session/ScriptedClient.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <thread>

namespace deftmapi::test
{
namespace
{

constexpr auto GlobalSection = "13DBB0C8AA05101A9BB000AA002FC45A";

class TFlushSink final : public TQuietSessionSink
{
public:
    std::string Log;
    void OutlookFlushQueus(IKwMAPISession& session, mapi::ULONG flags) override
    {
        Log += (session.Get_Active() ? "active " : "inactive ") + Hex(flags);
    }
};

class TSessionServicesTest : public TScriptedClientTest
{
protected:
    /// A profile that works with Exchange.
    void ConnectToExchange()
    {
        Client->Services = TKwComPtr<TScriptedServiceAdmin>(new TScriptedServiceAdmin(Calls));
        Client->Services->Services->AddRow({TextValue(GetPropTag(PR_SERVICE_NAME_A), "MSEMS")});
    }
    void AddStatusRow(std::int32_t type, std::string_view id, const char16_t* name = u"")
    {
        Client->Status->AddRow({LongValue(GetPropTag(PR_RESOURCE_TYPE), type), BinaryValue(GetPropTag(PR_ENTRYID), id),
                                TextValue(GetPropTag(PR_DISPLAY_NAME), name)});
    }
    void AddSpooler()
    {
        AddStatusRow(33, "\x01");
        AddStatusRow(37, "\x02");
        Client->Entries["\x02"] = {mapi::MAPI_STATUS, TKwComPtr<mapi::IUnknown>(new TScriptedSpooler(Calls))};
    }
    [[nodiscard]] std::string Flushes() const
    {
        std::string text;
        for (const std::string& line : Calls->Lines())
            if (line.starts_with("FlushQueues"))
                text += line;
        return text;
    }
};

// ---- Options

TEST_F(TSessionServicesTest, LogonFlagsOfEveryCombination)
{
    using TSetter = void (IKwMAPILogonInfo::*)(WordBool) noexcept;
    // In the order of the bits of a combination. NTService comes first because it changes others when it is set.
    constexpr TSetter setters[] = {&IKwMAPILogonInfo::Set_NTService,        &IKwMAPILogonInfo::Set_UseExtendedMAPI,
                                   &IKwMAPILogonInfo::Set_ForceDownload,    &IKwMAPILogonInfo::Set_NewSession,
                                   &IKwMAPILogonInfo::Set_ProfileRequired,  &IKwMAPILogonInfo::Set_NoMail,
                                   &IKwMAPILogonInfo::Set_ShortTimeOut,     &IKwMAPILogonInfo::Set_ShowLogonDialog,
                                   &IKwMAPILogonInfo::Set_Shared,           &IKwMAPILogonInfo::Set_ShowPasswordDialog,
                                   &IKwMAPILogonInfo::Set_ShowServiceDialog};
    // flag, then the options that must be on ("+x") and off ("-x"), by their place above.
    struct TRule
    {
        mapi::ULONG Flag;
        const char* On;
        const char* Off;
    };
    constexpr TRule rules[] = {{0x00000020, "1", ""},   {0x00001000, "12", ""},  {0x00000002, "13", ""},
                               {0x00000010, "14", ""},  {0x00000040, "1", "4"},  {0x00008000, "15", ""},
                               {0x00100000, "16", ""},  {0x00010000, "10", ""},  {0x00000001, "7", "0"},
                               {0x00000008, "18", "0"}, {0x00020000, "19", "0"}, {0x00002000, "1:", "0"}};
    const auto info = Session->Get_LogonInfo();
    for (unsigned combination = 0; combination < 1u << std::size(setters); ++combination) {
        const auto isOn = [combination](char option) { return (combination >> (option - '0') & 1) != 0; };
        char option = '0';
        for (const TSetter set : setters)
            (info.Get()->*set)(isOn(option++));
        mapi::ULONG expected = 0;
        for (const TRule& rule : rules) {
            const std::string_view on = rule.On;
            const std::string_view off = rule.Off;
            if (std::all_of(on.begin(), on.end(), isOn) && std::none_of(off.begin(), off.end(), isOn))
                expected |= rule.Flag;
        }
        ASSERT_EQ(Hex(info->Flags()), Hex(expected)) << "combination " << combination;
    }
}

// ---- Entries

TEST_F(TSessionServicesTest, EntriesBecomeTheirWrappers)
{
    const TKwMAPIEntryID store = StrToEntryID(u"01");
    const TKwMAPIEntryID folder = StrToEntryID(u"02");
    const TKwMAPIEntryID message = StrToEntryID(u"03");
    const TKwMAPIEntryID user = StrToEntryID(u"04");
    Client->Entries["\x01"] = {mapi::MAPI_STORE, TKwComPtr<mapi::IUnknown>(Client->Store.Get())};
    Client->Entries["\x02"] = {mapi::MAPI_FOLDER, TKwComPtr<mapi::IUnknown>(new TScriptedFolder(Calls, "F", u"Mine"))};
    Client->Entries["\x03"] = {mapi::MAPI_MESSAGE, TKwComPtr<mapi::IUnknown>(new TScriptedMessage(Calls))};
    Client->Entries["\x04"] = {mapi::MAPI_MAILUSER, TKwComPtr<mapi::IUnknown>(new TScriptedMessage(Calls))};

    LogonQuietly();
    EXPECT_NE(KwAs<IKwMAPIMsgStore>(Session->OpenEntry(store, alReadOnly)), nullptr);
    const auto opened = KwAs<IKwMAPIFolder>(Session->OpenEntry(folder, alReadWrite));
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(opened->Get_AccessLevel(), alReadWrite);
    EXPECT_EQ(Calls->Count("OpenEntry"), 2u);
    EXPECT_NE(Take().find("OpenEntry(02,,0x00000001)"), std::string::npos);
    EXPECT_NE(KwAs<IKwMAPIMessage>(Session->OpenEntry(message, alBestAccess)), nullptr);
    EXPECT_EQ(Catch([&] { return Session->OpenEntry(user, alReadOnly); }),
              (TCaught{"EMAPI_CALL_FAILED", "The given EntryID can't be opened!", 0x80004005}));

    TKwMAPIObjectType type = otUnknown;
    EXPECT_NE(Session->OpenEntryEx(user, nullptr, 0, type), nullptr);
    EXPECT_EQ(type, otRecipient);
    for (const TKwMAPIEntryID& empty : {TKwMAPIEntryID(TKwNull{}), TKwMAPIEntryID(TKwBytes{})}) {
        const TCaught refused{"EMAPI_INVALID_PARAMETER", "An invalid (empty) EntryID was specified!", 0x80070057};
        EXPECT_EQ(Catch([&] { return Session->OpenEntryEx(empty, nullptr, 0, type); }), refused);
        TKwComPtr<mapi::IUnknown> object;
        EXPECT_EQ(Catch([&] { Session->FindEntryEx(empty, nullptr, 0, type, object); }), refused);
    }
    const std::pair<mapi::HRESULT, const char*> failures[] = {
        {mapi::MAPI_E_NOT_FOUND, "There is not an object associated with the entry identifier passed in lpEntryID."},
        {mapi::MAPI_E_NO_ACCESS,
         "An attempt was made to modify a read-only object or an attempt was made to access an object for "
         "which the user has insufficient permissions."}};
    ExpectTexts(*Calls, "OpenEntry", "TSession.OpenEntry failed!\r\n", failures,
                [&] { return Session->OpenEntry(folder, alReadOnly); });
}

TEST_F(TSessionServicesTest, FindingAsksEveryStoreAndSaysNo)
{
    Client->Stores->AddRow({BinaryValue(GetPropTag(PR_ENTRYID), "\x0A")});
    Client->Stores->AddRow({BinaryValue(GetPropTag(PR_ENTRYID), "\x0B")});
    Client->Store->Entries["\x02"] = {mapi::MAPI_FOLDER,
                                      TKwComPtr<mapi::IUnknown>(new TScriptedFolder(Calls, "F", u"Mine"))};
    LogonQuietly();
    TKwRef<IKwMAPIProp> found;
    Calls->Next("OpenMsgStore", mapi::MAPI_E_FAILONEPROVIDER); // the first store is out of reach
    EXPECT_TRUE(Session->FindEntry(StrToEntryID(u"02"), alReadOnly, found));
    EXPECT_NE(KwAs<IKwMAPIFolder>(found), nullptr);
    EXPECT_EQ(Calls->Count("OpenMsgStore"), 2u);
    EXPECT_NE(Take().find("OpenMsgStore(0,0A,0x00000011)"), std::string::npos) << "best access, and no dialog";

    EXPECT_FALSE(Session->FindEntry(StrToEntryID(u"77"), alReadOnly, found));
    EXPECT_EQ(found, nullptr);
    Calls->Next("OpenEntry", mapi::MAPI_E_NO_ACCESS); // it is there
    EXPECT_EQ(Catch([&] { Session->FindEntry(StrToEntryID(u"02"), alReadOnly, found); }).ClassName, "EMAPI_NO_ACCESS");
}

TEST_F(TSessionServicesTest, PublicFoldersAreTheStoreOfTheirProvider)
{
    LogonQuietly();
    EXPECT_TRUE(Session->GetPublicFoldersMsgStoreID().IsNull());
    const auto row = [](std::string_view id, std::string_view provider) {
        return std::vector{BinaryValue(GetPropTag(PR_ENTRYID), id), BinaryValue(GetPropTag(PR_MDB_PROVIDER), provider)};
    };
    const std::string_view publicFolders("\x78\xB2\xFA\x70\xAF\xF7\x11\xCD\x9B\xC8\x00\xAA\x00\x2F\xC4\x5A", 16);
    Client->Stores->AddRow(row("\x01", "0123456789ABCDEF"));
    Client->Stores->AddRow(row("\x02", publicFolders));
    EXPECT_EQ(EntryIDToStr(Session->GetPublicFoldersMsgStoreID()), u"02");
}

// ---- Exchange

TEST_F(TSessionServicesTest, CachedModeNeedsBothBitsOrALocalStore)
{
    ConnectToExchange();
    Client->Stores->AddRow(
        {BinaryValue(GetPropTag(PR_ENTRYID), "\x01"), BoolValue(GetPropTag(PR_DEFAULT_STORE), true)});
    const auto cached = [&] {
        Session->Logon();
        const bool result = Session->Get_CachedExchangeMode();
        EXPECT_EQ(Session->GetSessionInfo()->Get_CachedExchangeMode(), result);
        Session->Logoff();
        return result;
    };
    EXPECT_FALSE(cached()) << "no section";
    TScriptedBag& section = Client->Sections.Add(GlobalSection).Bag;
    const std::int32_t settings[][3] = {{0x8000, 0x4000, true},
                                        {0x8000, 0, false},
                                        {0, 0x4000, false},
                                        {0x7FFF, 0xBFFF, false},
                                        {0xFFFF, 0xFFFF, true}};
    for (const auto& [connect, state, expected] : settings) {
        section.Set(LongValue(GetPropTag(PR_PROFILE_CONNECT_FLAGS), connect));
        section.Set(LongValue(GetPropTag(PR_PROFILE_UI_STATE), state));
        EXPECT_EQ(cached(), expected != 0) << Hex(static_cast<std::uint32_t>(connect));
    }
    section.Remove(GetPropTag(PR_PROFILE_CONNECT_FLAGS));
    EXPECT_FALSE(cached());
    const mapi::ULONG support = GetPropTag(PR_STORE_SUPPORT_MASK);
    Client->Store->Bag.Set(LongValue(support, 0x00040000 | 0x00080000));
    EXPECT_TRUE(cached()) << "the store says that it is a local one";
    for (const mapi::HRESULT failure : {mapi::MAPI_E_FAILONEPROVIDER, mapi::MAPI_E_USER_CANCEL}) {
        Calls->Next("OpenMsgStore", failure);
        static_cast<void>(Take());
        Session->Logon();
        EXPECT_FALSE(Session->Get_CachedExchangeMode())
            << "a store that cannot be opened is no reason to refuse the logon";
        EXPECT_NE(Take().find("OpenMsgStore(0,01,0x00000001)"), std::string::npos) << "nobody is asked anything";
        EXPECT_TRUE(Session->GetSessionInfo()->Get_CachedExchangeMode()) << "now it can";
        Session->Logoff();
    }
}

TEST_F(TSessionServicesTest, FactsAboutTheSession)
{
    AddStatusRow(33, "\x01", u"a store");
    AddStatusRow(39, "\x02", u"Profil Ä");
    LogonQuietly();
    const auto info = Session->GetSessionInfo();
    EXPECT_EQ(info->Get_ProfileName(), u"Profil Ä");
    EXPECT_EQ(
        Catch([&] { return info->ServerName(); }),
        (TCaught{"EMAPI_NOT_SUPPORTED", "The ServerName can only be used when connected to an Exchange Server!", 26}));
    EXPECT_EQ(Catch([&] { return info->Get_Identity(); }).ClassName, "EMAPI_NOT_FOUND");
    Client->Identity = "\x04";
    const TKwComPtr<TScriptedMessage> user(new TScriptedMessage(Calls));
    user->Bag.Set(TextValue(GetPropTag(PR_DISPLAY_NAME), u"Anna"));
    Client->Entries["\x04"] = {mapi::MAPI_MAILUSER, TKwComPtr<mapi::IUnknown>(user.Get())};
    EXPECT_EQ(info->Get_Identity()->PropByName(PR_DISPLAY_NAME)->Get_AsString(), u"Anna");
    Client->Entries["\x04"].Type = mapi::MAPI_DISTLIST;
    EXPECT_EQ(Catch([&] { return info->Get_Identity(); }),
              (TCaught{"EMAPI_CALL_FAILED", "TSession.QueryIdentity failed, because the wrong object was returned (8)!",
                       0x80004005}));
    Session->Logoff();
    EXPECT_EQ(Catch([&] { return info->Get_ProfileName(); }).Message,
              "You must logon before you can execute Get_ProfileName!");
    Session.Reset();
    EXPECT_EQ(Catch([&] { return info->Get_ProfileName(); }).ClassName, "EMAPI_NO_ACCESS");
}

TEST_F(TSessionServicesTest, TheMailboxOfAnotherUser)
{
    Client->Stores->AddRow(
        {BinaryValue(GetPropTag(PR_ENTRYID), "\x01"), BoolValue(GetPropTag(PR_DEFAULT_STORE), true)});
    ConnectToExchange();
    TScriptedBag& section = Client->Sections.Add(GlobalSection).Bag;
    section.Set(TextValue(GetPropTag(PR_PROFILE_HOME_SERVER), u"MAIL1"));
    LogonQuietly();
    EXPECT_EQ(Session->GetSessionInfo()->ServerName(), u"MAIL1");
    EXPECT_EQ(Catch([&] { return Session->OpenOtherUsersMsgStore(u"bob", alReadOnly); }).ClassName, "EMAPI_NOT_FOUND");
    section.Set(TextValue(GetPropTag(PR_PROFILE_MAILBOX), u"/o=Org/ou=Site/cn=Recipients/cn=anna"));
    EXPECT_EQ(Catch([&] { return Session->OpenOtherUsersMsgStore(u"bob", alReadOnly); }).ClassName,
              "EMAPI_INTERFACE_NOT_SUPPORTED")
        << "a store that is none of Exchange";
    Client->Store->Other = TKwComPtr<mapi::IUnknown>(new TScriptedManageStore(Calls));
    static_cast<void>(Take());
    static_cast<void>(Session->OpenOtherUsersMsgStore(u"bob", alReadOnly));
    EXPECT_NE(
        Take().find("\nCreateStoreEntryID(/o=Org/ou=Site/cn=Configuration/cn=Servers/cn=MAIL1/cn=Microsoft Private "
                    "MDB,/o=Org/ou=Site/cn=Recipients/cn=bob,0x0000000C)\nOpenMsgStore(0,55,0x00000000)\n"),
        std::string::npos);
    section.Set(TextValue(GetPropTag(PR_PROFILE_MAILBOX), u"/O=ORG/OU=SITE/CN=RECIPIENTS/CN=ANNA"));
    static_cast<void>(Session->OpenOtherUsersMsgStore(u"bob", alReadOnly));
    EXPECT_NE(Take().find("CreateStoreEntryID(/O=ORG/OU=SITE/cn=Configuration"), std::string::npos);
    static_cast<void>(Session->OpenOtherUsersMsgStore(u"/o=X/cn=y", alReadOnly));
    EXPECT_NE(Take().find(",/o=X/cn=y,"), std::string::npos);
}

// ---- Spooler

TEST_F(TSessionServicesTest, FlushQueuesOfTheSpooler)
{
    AddSpooler();
    Session->Set_ParentWindow(5);
    LogonQuietly();
    Session->FlushQueues(0x2);
    EXPECT_EQ(Flushes(), "FlushQueues(5,,0x00000002)");
    EXPECT_NE(Take().find("OpenEntry(02,IMAPIStatus,0x00000000)"), std::string::npos);

    const TCaught noSpooler{"EMAPI_NO_SUPPORT",
                            "TSession.FlushQueues failed. The MAPI Spoolerstatus can't be retrieved!", 0x80040102};
    const std::tuple<const char*, mapi::HRESULT, TCaught> failures[] = {
        {"FlushQueues",
         mapi::MAPI_E_BUSY,
         {"EMAPI_BUSY",
          "TSession.FlushQueues failed!\r\nAnother operation is in progress that prevents the column setting operation "
          "from starting.\r\nEither the operation in progress should be allowed to complete or it should be stopped",
          0x8004010B}},
        {"FlushQueues",
         mapi::MAPI_E_NO_SUPPORT,
         {"EMAPI_NO_SUPPORT", "TSession.FlushQueues failed!\r\nThe MAPI Spooler does not support this operation!",
          0x80040102}},
        {"OpenEntry", mapi::MAPI_E_NO_ACCESS, noSpooler},
        {"GetStatusTable", mapi::MAPI_E_NO_SUPPORT, noSpooler}};
    const auto flush = [&] { Session->FlushQueues(0); };
    for (const auto& [call, code, expected] : failures) {
        Calls->Next(call, code);
        EXPECT_EQ(Catch(flush), expected) << call;
    }
    Calls->Next("FlushQueues", mapi::MAPI_E_TIMEOUT);
    EXPECT_EQ(Catch(flush).ClassName, "EMAPI_TIMEOUT");
    Client->Status->Rows.pop_back();
    EXPECT_EQ(Catch(flush), noSpooler);
}

TEST_F(TSessionServicesTest, OutlookFlushesThroughItself)
{
    AddSpooler();
    // Outlook 2016 as its registration shows it.
    Platform.SetValue(TKwRegistryRoot::rrLocalMachine, u"SOFTWARE\\Classes\\Outlook.Application\\CurVer", u"",
                      u"Outlook.Application.16");
    Platform.SetValue(TKwRegistryRoot::rrLocalMachine, u"SOFTWARE\\Microsoft\\Office\\16.0\\Outlook\\InstallRoot",
                      u"Path", u"C:\\Office16\\");
    ASSERT_GT(static_cast<int>(KwGetOutlookInfo().Version), 4);
    LogonQuietly();
    EXPECT_EQ(Catch([&] { Session->FlushQueues(0); }).Message,
              "TSession.FlushQueues failed!\r\nThe MAPI Spooler does not support this operation!")
        << "another client than Outlook";
    EXPECT_EQ(Flushes(), "") << "the spooler is not asked";
    Session->Logoff();

    RegisterClient(u"MICROSOFT Outlook");
    const auto sink = KwMake<TFlushSink>();
    Session->DEventConnect(sink, true);
    const auto flush = [&] {
        sink->Log.clear();
        Session->Logon();
        Session->FlushQueues(7);
        Session->Logoff();
        return sink->Log;
    };

    Session->Set_MAPIClient(u"MICROSOFT Outlook");
    EXPECT_EQ(flush(), "active 0x00000007");
    Session->Set_MAPIClient(u"");
    Platform.SetValue(TKwRegistryRoot::rrCurrentUser, u"Software\\Clients\\Mail", u"", u"microsoft Outlook");
    EXPECT_EQ(flush(), "active 0x00000007") << "the system's default client";
    Session->Get_LogonInfo()->Set_NTService(true);
    EXPECT_EQ(flush(), "") << "a service has nobody to do it";
    Session->Get_LogonInfo()->Set_Shared(true);
    EXPECT_EQ(flush(), "active 0x00000007");
    ConnectToExchange();
    static_cast<void>(Take());
    EXPECT_EQ(flush(), "") << "with Exchange the spooler does it";
    EXPECT_EQ(Flushes(), "FlushQueues(0,,0x00000007)");
}

// ---- Sections, forms, dialogs

TEST_F(TSessionServicesTest, ProfileSections)
{
    LogonQuietly();
    const TKwMAPIEntryID global = StrToEntryID(u"13DBB0C8AA05101A9BB000AA002FC45A");
    for (const TKwMAPIEntryID& bad : {TKwMAPIEntryID(TKwNull{}), StrToEntryID(u"0102")})
        EXPECT_EQ(Catch([&] { return Session->OpenProfileSection(bad, alReadOnly); }),
                  (TCaught{"EMAPI_INVALID_PARAMETER", "An invalid ProfileUID was provided!", 0x80070057}));
    EXPECT_EQ(Catch([&] { return Session->OpenProfileSection(global, alReadOnly); }).ClassName, "EMAPI_NOT_FOUND");
    const auto section = Session->OpenProfileSection(global, alReadWrite);
    section->PropByName(PR_PROFILE_CONFIG_FLAGS)->Set_AsInteger(6);
    section->SaveChanges();
    EXPECT_EQ(Client->Sections.Add(GlobalSection).Bag.Text(), "0x66010003=6");
    static_cast<void>(Take());
    EXPECT_EQ(Session->OpenProfileSection(global, alBestAccess)->Get_AccessLevel(), alReadWrite);
    Calls->Next("OpenProfileSection", std::nullopt);
    Calls->Next("OpenProfileSection", mapi::MAPI_E_NO_ACCESS);
    static_cast<void>(Take());
    EXPECT_EQ(Session->OpenProfileSection(global, alBestAccess)->Get_AccessLevel(), alReadOnly);
    EXPECT_EQ(Take(), "OpenProfileSection(13DBB0C8AA05101A9BB000AA002FC45A,0x00000000)\n"
                      "OpenProfileSection(13DBB0C8AA05101A9BB000AA002FC45A,0x00000001)");
    const TKwMAPIEntryID mistyped = StrToEntryID(u"23DBB0C8AA05101A9BB000AA002FC45A");
    EXPECT_EQ(Catch([&] { return Session->OpenProfileSection(mistyped, alBestAccess); }).ClassName, "EMAPI_NOT_FOUND");
    EXPECT_EQ(Take(), "OpenProfileSection(23DBB0C8AA05101A9BB000AA002FC45A,0x00000000)") << "none is made";
}

TEST_F(TSessionServicesTest, WhatOnlyOthersOffer)
{
    EXPECT_EQ(Catch([&] { return Session->CreateFolderDialog(); }),
              (TCaught{"EMAPI_NOT_SUPPORTED",
                       "In order to use the CreateFolderDialog you must either add the VCL.fKwMAPIFolderDialog or "
                       "FMX.fKwMAPIFolderDialog to your uses clause!",
                       26}));
    const auto dialog = KwMake<TFlushSink>();
    SetCreateFolderDialogProc([&](IKwMAPISession& session) {
        EXPECT_EQ(&session, Session.Get());
        return TKwRef<IKwInterface>(dialog.Get());
    });
    EXPECT_EQ(Session->CreateFolderDialog().Get(), static_cast<IKwInterface*>(dialog.Get()));
    SetCreateFolderDialogProc({});

    LogonQuietly();
    EXPECT_EQ(Catch([&] { return Session->GetFormManager(); }),
              (TCaught{"EMAPI_NOT_SUPPORTED", "The FormManager is only supported by Microsoft Outlook!!", 26}));
    EXPECT_EQ(Catch([&] { return Session->OpenAddressBook(); }).ClassName, "EMAPI_NO_SUPPORT");
    EXPECT_EQ(Session->RegisterProp(u"PR_OF_THIS_TEST", std::uint16_t(0x6FD7), mapi::PT_LONG),
              GetProp(0x6FD70003, true).Hash);
}

TEST_F(TSessionServicesTest, ListsDefinitionsAndMemory)
{
    const auto ids = Session->CreateEntryIDList();
    EXPECT_EQ(ids->Get_Count(), 0);
    EXPECT_NE(Session->CreateEntryIDList(), ids) << "a new one each time";
    EXPECT_EQ(Session->CreatePropList()->Get_Count(), 0);
    EXPECT_EQ(Session->CreateValueList()->Get_Count(), 0);

    constexpr mapi::GUID set{0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
    const TKwMAPIPropDef named = Session->RegisterProp(u"NPR_NAMED_OF_THIS_TEST", set, u"Colour", mapi::PT_UNICODE);
    EXPECT_EQ(GetProp(set, u"Colour", mapi::PT_UNICODE, true).Hash, named);
    const TKwMAPIPropDef numbered = Session->RegisterProp(u"NPR_NUMBER_OF_THIS_TEST", set, 0x8123u, mapi::PT_LONG);
    EXPECT_EQ(GetProp(set, 0x8123u, mapi::PT_LONG, true).Hash, numbered);

    LogonQuietly();
    void* buffer = Session->AllocateBuffer(16);
    std::memset(Session->AllocateMore(1000, buffer), 1, 1000);
    EXPECT_EQ(TScriptedAllocator::Live(), 1u);
    Session->FreeBuffer(buffer);
    Session->FreeBuffer(nullptr);
    EXPECT_EQ(TScriptedAllocator::Live(), 0u);
}

// ---- Sessions side by side

TEST_F(TSessionServicesTest, TwoSessionsOnOneThreadAndOneOnAnother)
{
    const std::int32_t before = TKwMAPIAutoObjectFactory::LiveSessions();
    TKwRef<IKwMAPISession> second = CoSessionCreate();
    EXPECT_EQ(TKwMAPIAutoObjectFactory::LiveSessions(), before + 1);
    second->Set_MAPIClient(ClientName);
    Session->Logon();
    second->Logon();
    EXPECT_EQ(Calls->Count("MAPIInitialize"), 1u);
    static_cast<void>(Take());
    second.Reset();
    EXPECT_EQ(Calls->Count("MAPIUninitialize"), 0u) << "the thread has another session";
    EXPECT_TRUE(Session->Get_Active());
    EXPECT_TRUE(KwMAPIInitialized());

    std::thread([this] {
        const auto other = TSession::Create();
        other->Set_MAPIClient(ClientName);
        other->Logon();
        EXPECT_EQ(Calls->Count("MAPIInitialize"), 1u) << "each thread for itself";
    }).join();
    EXPECT_EQ(Calls->Count("MAPIUninitialize"), 1u);
    EXPECT_TRUE(Session->Get_Active());
    Session->Logoff();
    EXPECT_EQ(TKwMAPIAutoObjectFactory::LiveSessions(), before);
}

TEST_F(TSessionServicesTest, TheLibraryWithoutASession)
{
    const auto proxy = KwMake<TKwMAPISessionProxy>();
    EXPECT_FALSE(proxy->MAPILoaded());
    WordBool extended = false;
    WordBool loaded = false;
    proxy->MAPILoad(DllName, extended, loaded);
    EXPECT_TRUE(extended && loaded);
    proxy->MAPIInitialize();
    EXPECT_TRUE(proxy->MAPIInitialized());
    EXPECT_EQ(Take(), "MAPIInitialize(0x00000008)");
    const auto info = Session->Get_MAPIInfo();
    EXPECT_EQ(info->Get_DllFileName(), DllName);
    EXPECT_TRUE(info->Get_ExtendedMAPI());
    EXPECT_EQ(info->GetClients(), std::vector<WideString>{ClientName});
    proxy->MAPIUnitialize();
    KwMAPIInitialize(false, false, false, true);
    static_cast<void>(Take());
    proxy->MAPIInitialize();
    EXPECT_EQ(Take(), "MAPIInitialize(0x00000008)") << "Simple MAPI had not called it";
    proxy->MAPIUnitialize();
    proxy->MAPIUnload();
    EXPECT_FALSE(proxy->MAPILoaded());
}

// ---- Streams

TEST(StreamAdapter, ReadsWritesAndSeeksLikeAFile)
{
    const auto text = std::make_shared<std::stringstream>("0123456789");
    text->seekg(2);
    const auto stream = TKwMAPIStreamAdapter::Create(text);
    const auto seek = [&](std::int64_t move, mapi::DWORD origin) {
        mapi::LARGE_INTEGER distance{};
        distance.QuadPart = move;
        mapi::ULARGE_INTEGER position{};
        const mapi::HRESULT hr = stream->Seek(distance, origin, &position);
        return hr == mapi::S_OK ? static_cast<std::int64_t>(position.QuadPart) : hr;
    };
    char buffer[16] = {};
    mapi::ULONG done = 0;
    EXPECT_EQ(stream->Read(buffer, 3, &done), mapi::S_OK);
    EXPECT_EQ(std::string_view(buffer, done), "234");
    EXPECT_EQ(stream->Read(buffer, 16, &done), mapi::S_FALSE);
    EXPECT_EQ(std::string_view(buffer, done), "56789");
    EXPECT_EQ(stream->Read(buffer, 16, &done), mapi::S_FALSE);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(seek(-1, 2), 9);
    EXPECT_EQ(stream->Write("xy", 2, &done), mapi::S_OK);
    EXPECT_EQ(seek(1, 1), 12);
    EXPECT_EQ(stream->Write("z", 1, &done), mapi::S_OK);
    EXPECT_EQ(text->str(), std::string("012345678xy\0z", 13)) << "a gap is filled with zeros";
    EXPECT_EQ(seek(std::int64_t{1} << 40, 0), std::int64_t{1} << 40);
    EXPECT_EQ(stream->Write("z", 1, &done), mapi::STG_E_WRITEFAULT) << "nobody has that many zeros";
    EXPECT_EQ(text->str().size(), 13u);
    EXPECT_EQ(seek(13, 0), 13);
    EXPECT_EQ(seek(-14, 1), static_cast<std::int64_t>(mapi::STG_E_INVALIDFUNCTION));
    EXPECT_EQ(seek(0, 3), static_cast<std::int64_t>(mapi::STG_E_INVALIDFUNCTION));
    mapi::STATSTG stat{};
    EXPECT_EQ(stream->Stat(&stat, 0), mapi::S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, 13u);

    const auto target = std::make_shared<std::stringstream>();
    EXPECT_EQ(seek(0, 0), 0);
    mapi::ULARGE_INTEGER all{};
    all.QuadPart = 5;
    mapi::ULARGE_INTEGER read{};
    mapi::ULARGE_INTEGER written{};
    EXPECT_EQ(stream->CopyTo(TKwMAPIStreamAdapter::Create(target).Get(), all, &read, &written), mapi::S_OK);
    EXPECT_EQ(target->str(), "01234");
    EXPECT_EQ(written.QuadPart, 5u);
    text->setstate(std::ios::failbit);
    EXPECT_EQ(seek(0, 0), 0);
    EXPECT_EQ(stream->Read(buffer, 1, &done), mapi::S_OK) << "a failure before is not this one's";
    text->exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
    EXPECT_EQ(stream->Read(buffer, 16, &done), mapi::S_FALSE) << "the end is no failure, even where streams throw";
    EXPECT_EQ(done, 12u);
    EXPECT_EQ(stream->SetSize(all), mapi::STG_E_INVALIDFUNCTION);
}

TEST(StreamAdapter, WhatItCannotDoItSays)
{
    const auto stream = TKwMAPIStreamAdapter::Create(std::make_shared<std::stringstream>("0123"));
    char buffer[4] = {};
    mapi::ULONG done = 9;
    EXPECT_EQ(stream->Read(nullptr, 1, &done), mapi::STG_E_INVALIDPOINTER);
    EXPECT_EQ(done, 0u);
    done = 9;
    EXPECT_EQ(stream->Write(nullptr, 1, &done), mapi::STG_E_INVALIDPOINTER);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(stream->Stat(nullptr, 0), mapi::STG_E_INVALIDPOINTER);
    EXPECT_EQ(stream->Read(buffer, 4, nullptr), mapi::S_OK) << "nobody needs to know how much";
    EXPECT_EQ(stream->Revert(), mapi::STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->LockRegion({}, {}, 1), mapi::STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->UnlockRegion({}, {}, 1), mapi::STG_E_INVALIDFUNCTION);
    mapi::IStream* clone = stream.Get();
    EXPECT_EQ(stream->Clone(&clone), mapi::STG_E_INVALIDFUNCTION);
    EXPECT_EQ(clone, nullptr);

    // Commit flushes, and tells what became of it.
    struct TBuffer final : std::stringbuf
    {
        int Flushed = 0;
        bool Full = false;
        int sync() override
        {
            ++Flushed;
            return Full ? -1 : 0;
        }
    } bytes;
    const auto flushed = TKwMAPIStreamAdapter::Create(std::make_shared<std::iostream>(&bytes));
    const int before = bytes.Flushed;
    EXPECT_EQ(flushed->Commit(0), mapi::S_OK);
    EXPECT_GT(bytes.Flushed, before);
    bytes.Full = true;
    EXPECT_EQ(flushed->Commit(0), mapi::STG_E_WRITEFAULT);
}

} // namespace
} // namespace deftmapi::test
