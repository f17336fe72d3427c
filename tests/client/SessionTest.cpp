// Logging on, stores of a session, entry identifiers through the session, message services.
#include "client/store/Database.hpp"
#include "tests/client/FolderFixture.hpp"
#include "tests/client/SessionFixture.hpp"

#include <array>
#include <atomic>
#include <gmock/gmock.h>
#include <thread>

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

constexpr ULONG PstPath = 0x6700001F;

/// Counts what it is told.
class Sink final : public ComObject<IMAPIAdviseSink>
{
public:
    [[nodiscard]] bool Implements(const IID& iid) const noexcept override { return iid == IID_IMAPIAdviseSink; }
    ULONG DEFTMAPI_STDCALL OnNotify(ULONG, LPNOTIFICATION) noexcept override { return 0; }
};

TEST_F(SessionTest, LogonTakesTheNameThatIsGivenElseTheDefault)
{
    constexpr ULONG Default = Logon | MAPI_USE_DEFAULT;
    EXPECT_EQ(TryLogOn(nullptr, nullptr, Default), MAPI_E_LOGON_FAILED); // no profile at all
    ASSERT_EQ(Create(u"one"), S_OK);
    ASSERT_EQ(Create(u"two"), S_OK);
    Ptr<IMAPISession> session;
    ASSERT_EQ(MAPILogonEx(0, nullptr, nullptr, Default, Out(session)), S_OK);
    const auto byDefault = Stores(*session).at(0).id;
    EXPECT_EQ(byDefault, Stores(*LogOnTo(u"ONE")).at(0).id);
    ASSERT_EQ(MAPILogonEx(0, W(u"two"), nullptr, Default | MAPI_LOGON_UI | MAPI_TIMEOUT_SHORT, Out(session)), S_OK);
    EXPECT_NE(Stores(*session).at(0).id, byDefault);
    ASSERT_EQ(MAPILogonEx(0, A("two"), nullptr, MAPI_EXTENDED, Out(session)), S_OK); // 8-bit

    EXPECT_EQ(TryLogOn(nullptr, nullptr, Logon), MAPI_E_LOGON_FAILED);
    EXPECT_EQ(TryLogOn(u"", nullptr, Logon | MAPI_LOGON_UI), MAPI_E_LOGON_FAILED);
    EXPECT_EQ(TryLogOn(nullptr, nullptr, Logon | MAPI_EXPLICIT_PROFILE), MAPI_E_LOGON_FAILED);
    EXPECT_EQ(TryLogOn(u"three", nullptr), MAPI_E_LOGON_FAILED);
    EXPECT_EQ(TryLogOn(u"one", nullptr, Logon | 0x04000000), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(MAPILogonEx(0, W(u"one"), nullptr, Logon, nullptr), MAPI_E_INVALID_PARAMETER);
}

TEST_F(SessionTest, TheWholeRoadFromLogonToTheContentsTable)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    {
        auto session = LogOnTo(u"p");
        const auto stores = Stores(*session);
        ASSERT_EQ(stores.size(), 1u);
        EXPECT_EQ(stores[0].name, u"Personal Folders");
        EXPECT_TRUE(stores[0].isDefault);
        auto store = OpenStore(*session, stores[0].id);
        EXPECT_EQ(Get(*store, tag::EntryId).Blob(), stores[0].id);
        EXPECT_EQ(Get(*store, tag::DisplayName).Wide(), u"Personal Folders");
        ULONG size = 0;
        MapiBuffer<ENTRYID> inboxId;
        ASSERT_EQ(store->GetReceiveFolder(nullptr, 0, &size, inboxId.Out(), nullptr), S_OK);
        ULONG type = 0;
        Ptr<IUnknown> object;
        ASSERT_EQ(session->OpenEntry(size, inboxId.Get(), nullptr, MAPI_MODIFY, &type, Out(object)), S_OK);
        ASSERT_EQ(type, MAPI_FOLDER);
        Ptr<IMAPIFolder> inbox;
        ASSERT_EQ(object->QueryInterface(IID_IMAPIFolder, OutVoid(inbox)), S_OK);
        Ptr<IMessage> message;
        ASSERT_EQ(inbox->CreateMessage(nullptr, 0, Out(message)), S_OK);
        Set(*message, {Text(tag::Subject, u"hello")});
        ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READONLY), S_OK);
        ASSERT_EQ(session->Logoff(0, 0, 0), S_OK);
    }
    auto session = LogOnTo(u"p");
    auto store = OpenStore(*session, Stores(*session)[0].id, 0);
    ULONG size = 0;
    MapiBuffer<ENTRYID> inboxId;
    ASSERT_EQ(store->GetReceiveFolder(nullptr, 0, &size, inboxId.Out(), nullptr), S_OK);
    ULONG type = 0;
    Ptr<IMAPIFolder> inbox;
    ASSERT_EQ(store->OpenEntry(size, inboxId.Get(), nullptr, 0, &type, reinterpret_cast<LPUNKNOWN*>(Out(inbox))), S_OK);
    Ptr<IMAPITable> contents;
    ASSERT_EQ(inbox->GetContentsTable(Unicode, Out(contents)), S_OK);
    const auto rows = Rows(*contents, {tag::Subject, tag::EntryId});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(WideAt(rows[0], 0), u"hello");

    // The message through the session: without the right to change it, then with it.
    const Bytes id = std::get<Bytes>(rows[0][1].data);
    Ptr<IUnknown> message;
    const auto open = [&](ULONG flags, LPCIID iid) {
        return session->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), iid, flags, &type, Out(message));
    };
    ASSERT_EQ(open(0, &IID_IMessage), S_OK);
    EXPECT_EQ(type, MAPI_MESSAGE);
    SPropValue subject = Text(tag::Subject, u"changed");
    EXPECT_EQ(static_cast<IMessage*>(message.Get())->SetProps(1, &subject, nullptr), MAPI_E_NO_ACCESS);
    ASSERT_EQ(open(MAPI_BEST_ACCESS, nullptr), S_OK);
    EXPECT_EQ(static_cast<IMessage*>(message.Get())->SetProps(1, &subject, nullptr), S_OK);
    EXPECT_EQ(open(0, &IID_IMAPIFolder), MAPI_E_INTERFACE_NOT_SUPPORTED);
    EXPECT_EQ(open(0x10000000, nullptr), MAPI_E_UNKNOWN_FLAGS);
}

TEST_F(SessionTest, EntryIdentifiersOfOthersAreTold)
{
    ASSERT_EQ(Create(u"one"), S_OK);
    ASSERT_EQ(Create(u"two"), S_OK);
    auto session = LogOnTo(u"one");
    const Bytes own = Stores(*session)[0].id;
    const Bytes other = Stores(*LogOnTo(u"two"))[0].id;
    Ptr<IMsgStore> store;
    const auto open = [&](const Bytes& id, ULONG flags = 0, LPCIID iid = nullptr) {
        return session->OpenMsgStore(0, static_cast<ULONG>(id.size()), AsEntry(id), iid, flags, Out(store));
    };
    EXPECT_EQ(open(own, MAPI_BEST_ACCESS | MDB_NO_DIALOG, &IID_IMsgStore), S_OK);
    EXPECT_EQ(open(own, 0, &IID_IMessage), MAPI_E_INTERFACE_NOT_SUPPORTED);
    EXPECT_EQ(open(own, 0x40000000), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(open(other), MAPI_E_NOT_FOUND);
    EXPECT_EQ(open(Bytes(own.begin(), own.end() - 1)), MAPI_E_INVALID_ENTRYID);
    EXPECT_EQ(open({}), MAPI_E_INVALID_ENTRYID);
    Bytes foreign = own;
    foreign[5] ^= 1;
    EXPECT_EQ(open(foreign), MAPI_E_INVALID_ENTRYID);
    ULONG type = 0;
    Ptr<IUnknown> object;
    EXPECT_EQ(session->OpenEntry(static_cast<ULONG>(foreign.size()), AsEntry(foreign), nullptr, 0, &type, Out(object)),
              MAPI_E_UNKNOWN_ENTRYID);
    ASSERT_EQ(
        session->OpenEntry(static_cast<ULONG>(own.size()), AsEntry(own), nullptr, MAPI_MODIFY, &type, Out(object)),
        S_OK);
    EXPECT_EQ(type, MAPI_STORE);

    ULONG same = 7;
    const auto compare = [&](const Bytes& a, const Bytes& b) {
        return session->CompareEntryIDs(static_cast<ULONG>(a.size()), AsEntry(a), static_cast<ULONG>(b.size()),
                                        AsEntry(b), 0, &same);
    };
    EXPECT_EQ(compare(own, own), S_OK);
    EXPECT_EQ(same, 1u);
    EXPECT_EQ(compare(own, other), S_OK);
    EXPECT_EQ(same, 0u);
    EXPECT_EQ(compare(own, foreign), S_OK);
    EXPECT_EQ(same, 0u);
    EXPECT_EQ(compare(foreign, foreign), MAPI_E_UNKNOWN_ENTRYID);
    EXPECT_EQ(compare(own, {}), MAPI_E_INVALID_ENTRYID);
}

TEST_F(SessionTest, AfterLogoffTheSessionRefusesWorkAndLetsItsSinksGo)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    auto session = LogOnTo(u"p");
    auto store = OpenStore(*session, Stores(*session)[0].id);
    Ptr<Sink> sink(new Sink);
    const auto count = [&] {
        sink->AddRef();
        return sink->Release();
    };
    ULONG_PTR first = 0;
    ULONG_PTR second = 0;
    ASSERT_EQ(session->Advise(0, nullptr, fnevExtended, sink.Get(), &first), S_OK);
    ASSERT_EQ(session->Advise(0, nullptr, fnevExtended | fnevCriticalError, sink.Get(), &second), S_OK);
    EXPECT_NE(first, second);
    EXPECT_NE(first, 0u);
    EXPECT_EQ(count(), 3u);
    EXPECT_EQ(session->Unadvise(first), S_OK);
    EXPECT_EQ(session->Unadvise(first), MAPI_E_NOT_FOUND);
    EXPECT_EQ(session->Advise(0, nullptr, fnevNewMail, sink.Get(), &first), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(session->Advise(0, nullptr, fnevExtended, nullptr, &first), MAPI_E_INVALID_PARAMETER);

    EXPECT_EQ(session->Logoff(0, 0x80, 0), MAPI_E_UNKNOWN_FLAGS);
    ASSERT_EQ(session->Logoff(0, MAPI_LOGOFF_SHARED, 0), S_OK);
    EXPECT_EQ(count(), 1u);
    Ptr<IMAPITable> table;
    EXPECT_EQ(session->GetMsgStoresTable(0, Out(table)), MAPI_E_INVALID_OBJECT);
    EXPECT_EQ(session->Logoff(0, 0, 0), MAPI_E_INVALID_OBJECT);
    EXPECT_EQ(Get(*store, tag::DisplayName).Wide(), u"Personal Folders"); // what is open stays open
}

TEST_F(SessionTest, WhatTheSessionCannotDoItSays)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    auto session = LogOnTo(u"p");
    Ptr<IAddrBook> book;
    EXPECT_EQ(session->OpenAddressBook(0, nullptr, 0, Out(book)), MAPI_E_NO_SUPPORT);
    MapiBuffer<MAPIERROR> error;
    ASSERT_EQ(session->GetLastError(MAPI_E_NO_SUPPORT, Unicode, error.Out()), S_OK);
    ASSERT_TRUE(error);
    EXPECT_EQ(std::u16string(static_cast<const char16_t*>(error->lpszError)), u"There is no address book.");
    ULONG size = 5;
    MapiBuffer<ENTRYID> id;
    EXPECT_EQ(session->QueryIdentity(&size, id.Out()), MAPI_E_NOT_FOUND);
    EXPECT_EQ(size, 0u);
    ULONG count = 5;
    MapiBuffer<LPTSTR> types;
    EXPECT_EQ(session->EnumAdrTypes(Unicode, &count, types.Out()), S_OK);
    EXPECT_EQ(count, 0u);
    Ptr<IUnknown> wrong;
    EXPECT_EQ(session->QueryInterface(IID_IMsgStore, OutVoid(wrong)), MAPI_E_INTERFACE_NOT_SUPPORTED);
}

TEST_F(SessionTest, ServicesBringStoresNewAndOld)
{
    auto admin = Admin();
    ASSERT_EQ(admin->CreateProfile(W(u"p"), nullptr, 0, Unicode), S_OK); // without the default services
    auto session = LogOnTo(u"p");
    EXPECT_TRUE(Stores(*session).empty());
    Ptr<IMsgServiceAdmin> services;
    ASSERT_EQ(session->AdminServices(0, Out(services)), S_OK);
    EXPECT_EQ(services->CreateMsgService(W(u"MSPST MS"), nullptr, 0, Unicode), MAPI_E_EXTENDED_ERROR);
    EXPECT_EQ(services->CreateMsgService(W(u"CONTAB"), nullptr, 0, Unicode), MAPI_E_NOT_FOUND);

    Ptr<IMsgServiceAdmin2> services2;
    ASSERT_EQ(services->QueryInterface(IID_IMsgServiceAdmin2, OutVoid(services2)), S_OK);
    MAPIUID first{};
    ASSERT_EQ(services2->CreateMsgServiceEx(W(u"DeftStore"), W(u"Mail"), 0, Unicode, &first), S_OK);
    EXPECT_TRUE(Stores(*session).empty()); // not configured yet
    ASSERT_EQ(services->ConfigureMsgService(&first, 0, 0, 0, nullptr), S_OK);
    const auto stores = Stores(*session);
    ASSERT_EQ(stores.size(), 1u);
    EXPECT_TRUE(stores[0].isDefault);

    // A store at a place of one's own; it is found again by that place after its service is gone.
    const auto place = (FFolder.Path() / "elsewhere" / "archive.db").u16string();
    SPropValue config[] = {Text(PstPath, place.c_str()), Text(tag::DisplayName, u"Archive"), Long(0x66010003, 1)};
    MAPIUID second{};
    ASSERT_EQ(services2->CreateMsgServiceEx(W(u"DEFTSTORE"), nullptr, 0, Unicode, &second), S_OK);
    ASSERT_EQ(services->ConfigureMsgService(&second, 0, 0, 3, config), S_OK);
    EXPECT_EQ(services->ConfigureMsgService(&second, 0, 0, 3, config), S_OK); // the same again changes nothing
    const auto both = Stores(*session);
    ASSERT_EQ(both.size(), 2u);
    EXPECT_EQ(both[1].name, u"Archive");
    EXPECT_FALSE(both[1].isDefault);
    EXPECT_EQ(Get(*OpenStore(*session, both[1].id), tag::DisplayName).Wide(), u"Archive");
    MAPIUID third{};
    ASSERT_EQ(services2->CreateMsgServiceEx(W(u"DEFTSTORE"), nullptr, 0, Unicode, &third), S_OK);
    EXPECT_EQ(services->ConfigureMsgService(&third, 0, 0, 1, config), MAPI_E_COLLISION);
    ASSERT_EQ(services->DeleteMsgService(&third), S_OK);
    ASSERT_EQ(services->DeleteMsgService(&second), S_OK);
    EXPECT_EQ(services->DeleteMsgService(&second), MAPI_E_NOT_FOUND);
    EXPECT_EQ(services->ConfigureMsgService(&second, 0, 0, 0, nullptr), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Stores(*session).size(), 1u);
    ASSERT_EQ(services2->CreateMsgServiceEx(W(u"DEFTSTORE"), nullptr, 0, Unicode, &third), S_OK);
    ASSERT_EQ(services->ConfigureMsgService(&third, 0, 0, 1, config), S_OK);
    EXPECT_EQ(Stores(*session).at(1).id, both[1].id);
    EXPECT_EQ(Stores(*session).at(1).name, u"Archive");

    // Configured once more: another name is taken over, by the store and by who else has it; another place is not.
    ASSERT_EQ(admin->CopyProfile(W(u"p"), nullptr, W(u"copy"), 0, Unicode), S_OK);
    config[1] = Text(tag::DisplayName, u"Old mail");
    ASSERT_EQ(services->ConfigureMsgService(&third, 0, 0, 2, config), S_OK);
    EXPECT_EQ(Stores(*session).at(1).name, u"Old mail");
    EXPECT_EQ(Get(*OpenStore(*session, both[1].id), tag::DisplayName).Wide(), u"Old mail");
    EXPECT_EQ(Stores(*LogOnTo(u"copy")).at(1).name, u"Old mail");
    config[0] = Text(PstPath, u"somewhere else.db");
    config[1] = Text(tag::DisplayName, u"Other");
    EXPECT_EQ(services->ConfigureMsgService(&third, 0, 0, 2, config), MAPI_E_NO_ACCESS);
    config[0] = Text(PstPath, place.c_str());
    ASSERT_EQ(services->ConfigureMsgService(&third, 0, 0, 1, config), S_OK);
    EXPECT_EQ(Stores(*session).at(1).name, u"Old mail");
    // So is one that comes with a store that was there before.
    ASSERT_EQ(services->DeleteMsgService(&third), S_OK);
    ASSERT_EQ(services2->CreateMsgServiceEx(W(u"DEFTSTORE"), nullptr, 0, Unicode, &third), S_OK);
    ASSERT_EQ(services->ConfigureMsgService(&third, 0, 0, 2, config), S_OK);
    EXPECT_EQ(Stores(*session).at(1).name, u"Other");
    EXPECT_EQ(Get(*OpenStore(*session, both[1].id), tag::DisplayName).Wide(), u"Other");

    ASSERT_EQ(session->SetDefaultStore(MAPI_DEFAULT_STORE, static_cast<ULONG>(both[1].id.size()), AsEntry(both[1].id)),
              S_OK);
    EXPECT_FALSE(Stores(*session)[0].isDefault);
    EXPECT_TRUE(Stores(*session)[1].isDefault);
    const auto defaults = [&] {
        std::string marks;
        for (const StoreRow& store : Stores(*session))
            marks += store.isDefault ? '*' : '-';
        return marks;
    };
    Bytes unknown = both[1].id;
    unknown[10] ^= 0xFF;
    EXPECT_NE(session->SetDefaultStore(MAPI_DEFAULT_STORE, static_cast<ULONG>(unknown.size()), AsEntry(unknown)), S_OK);
    const Bytes folder = Get(*OpenStore(*session, both[0].id), tag::IpmSubtree).Blob();
    EXPECT_EQ(session->SetDefaultStore(MAPI_DEFAULT_STORE, static_cast<ULONG>(folder.size()), AsEntry(folder)),
              MAPI_E_INVALID_ENTRYID)
        << "an entry of the store is not the store";
    EXPECT_EQ(session->SetDefaultStore(MAPI_SIMPLE_STORE_PERMANENT, 0, nullptr), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(defaults(), "-*");
    ASSERT_EQ(session->SetDefaultStore(MAPI_DEFAULT_STORE, 0, nullptr), S_OK) << "no store is the default one";
    EXPECT_EQ(defaults(), "--");
    ASSERT_EQ(session->SetDefaultStore(MAPI_DEFAULT_STORE, static_cast<ULONG>(both[1].id.size()), AsEntry(both[1].id)),
              S_OK);

    Ptr<IMAPITable> table;
    ASSERT_EQ(services->GetMsgServiceTable(0, Out(table)), S_OK);
    const auto rows = Rows(*table, {tag::ServiceName - 1, tag::ServiceUid, tag::ResourceFlags, tag::DisplayName});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(WideAt(rows[0], 0), u"DEFTSTORE");
    EXPECT_EQ(std::get<Bytes>(rows[1][1].data), ToBytes(third));
    EXPECT_EQ(NumberAt(rows[0], 2), SERVICE_NO_PRIMARY_IDENTITY);
    EXPECT_EQ(NumberAt(rows[1], 2), SERVICE_NO_PRIMARY_IDENTITY | SERVICE_DEFAULT_STORE);
    EXPECT_EQ(WideAt(rows[0], 3), u"Mail");
    ASSERT_EQ(services->GetProviderTable(Unicode, Out(table)), S_OK);
    EXPECT_EQ(Rows(*table, {tag::ProviderUid}).size(), 2u);
    EXPECT_EQ(services->RenameMsgService(&third, 0, A("x")), MAPI_E_NO_SUPPORT);

    // The default store goes with its service, and another one takes the role.
    ASSERT_EQ(services->DeleteMsgService(&third), S_OK);
    EXPECT_EQ(defaults(), "*");
    ASSERT_EQ(services2->CreateMsgServiceEx(W(u"DEFTSTORE"), nullptr, 0, Unicode, &third), S_OK);
    ASSERT_EQ(services->ConfigureMsgService(&third, 0, 0, 1, config), S_OK);
    EXPECT_EQ(defaults(), "*-");
}

/// Writes down the events of a table: "+name<before" for a row that came, "*name" for a changed one, "-" for one that
/// went.
class RowSink final : public ComObject<IMAPIAdviseSink>
{
public:
    [[nodiscard]] bool Implements(const IID& iid) const noexcept override { return iid == IID_IMAPIAdviseSink; }
    ULONG DEFTMAPI_STDCALL OnNotify(ULONG count, LPNOTIFICATION notifications) noexcept override
    {
        for (ULONG i = 0; i < count; ++i) {
            const TABLE_NOTIFICATION& event = notifications[i].info.tab;
            text += event.ulTableEvent == TABLE_ROW_ADDED      ? '+'
                    : event.ulTableEvent == TABLE_ROW_MODIFIED ? '*'
                    : event.ulTableEvent == TABLE_ROW_DELETED  ? '-'
                                                               : '?';
            if (event.ulTableEvent != TABLE_ROW_DELETED && event.row.cValues > 0)
                text += KwToUtf8(static_cast<const char16_t*>(event.row.lpProps[0].Value.lpszW));
            text += ' ';
        }
        return 0;
    }
    std::string text;
};

TEST_F(SessionTest, TheTablesOfStoresAndResourcesTellOfChanges)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    auto session = LogOnTo(u"p");
    Ptr<IMAPITable> tables[2];
    ASSERT_EQ(session->GetMsgStoresTable(Unicode, Out(tables[0])), S_OK);
    ASSERT_EQ(session->GetStatusTable(Unicode, Out(tables[1])), S_OK);
    Ptr<RowSink> sinks[2];
    for (int i = 0; i < 2; ++i) {
        ULONG columns[] = {3, tag::DisplayName, tag::DefaultStore, tag::ResourceFlags};
        ASSERT_EQ(tables[i]->SetColumns(reinterpret_cast<LPSPropTagArray>(columns), 0), S_OK);
        sinks[i] = Ptr<RowSink>(new RowSink);
        ULONG_PTR connection = 0;
        ASSERT_EQ(tables[i]->Advise(fnevTableModified, sinks[i].Get(), &connection), S_OK);
    }
    const auto told = [&] {
        EXPECT_EQ(HrDispatchNotifications(0), S_OK);
        return std::array{std::exchange(sinks[0]->text, {}), std::exchange(sinks[1]->text, {})};
    };
    const auto both = [](const char* text) { return std::array{std::string(text), std::string(text)}; };
    EXPECT_EQ(told(), both(""));

    // By another session of the process.
    auto other = LogOnTo(u"p");
    Ptr<IMsgServiceAdmin> services;
    ASSERT_EQ(other->AdminServices(0, Out(services)), S_OK);
    Ptr<IMsgServiceAdmin2> services2;
    ASSERT_EQ(services->QueryInterface(IID_IMsgServiceAdmin2, OutVoid(services2)), S_OK);
    MAPIUID uid{};
    ASSERT_EQ(services2->CreateMsgServiceEx(W(u"DEFTSTORE"), nullptr, 0, Unicode, &uid), S_OK);
    EXPECT_EQ(told(), both("")) << "it has no store yet";
    SPropValue name = Text(tag::DisplayName, u"Archive");
    ASSERT_EQ(services->ConfigureMsgService(&uid, 0, 0, 1, &name), S_OK);
    EXPECT_EQ(told(), both("+Archive "));
    EXPECT_EQ(Rows(*tables[0], {tag::DisplayName}).size(), 2u) << "the table that was open has it, too";
    name = Text(tag::DisplayName, u"Old mail");
    ASSERT_EQ(services->ConfigureMsgService(&uid, 0, 0, 1, &name), S_OK);
    EXPECT_EQ(told(), both("*Old mail "));
    const auto stores = Stores(*session);
    ASSERT_EQ(
        session->SetDefaultStore(MAPI_DEFAULT_STORE, static_cast<ULONG>(stores[1].id.size()), AsEntry(stores[1].id)),
        S_OK);
    EXPECT_EQ(told(), both("*Personal Folders *Old mail "));
    ASSERT_EQ(Create(u"another"), S_OK);
    EXPECT_EQ(told(), both("")) << "a profile that is none of the session's";
    ASSERT_EQ(services->DeleteMsgService(&uid), S_OK);
    EXPECT_EQ(told(), both("- *Personal Folders ")) << "which is the default store now";
    ASSERT_EQ(Admin()->DeleteProfile(W(u"p"), Unicode), S_OK);
    EXPECT_EQ(told(), both("")) << "the session keeps the stores that it had";
    ASSERT_EQ(session->Logoff(0, 0, 0), S_OK);
    EXPECT_EQ(sinks[0]->AddRef(), 2u) << "the logoff ends the connections";
    sinks[0]->Release();
}

TEST_F(SessionTest, AStoreThatCannotBeAddedLeavesNothing)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    auto session = LogOnTo(u"p");
    Ptr<IMsgServiceAdmin> services;
    ASSERT_EQ(session->AdminServices(0, Out(services)), S_OK);
    Ptr<IMsgServiceAdmin2> services2;
    ASSERT_EQ(services->QueryInterface(IID_IMsgServiceAdmin2, OutVoid(services2)), S_OK);
    MAPIUID uid{};
    ASSERT_EQ(services2->CreateMsgServiceEx(W(u"DEFTSTORE"), nullptr, 0, Unicode, &uid), S_OK);
    const auto place = FFolder.Path() / "new.db";
    const std::u16string placeText = place.u16string();
    {
        // The store file is made before the profile has it; the profile refuses.
        Database database(Home() / "profiles.db", Database::Mode::Open);
        database.Execute("CREATE TRIGGER refuse BEFORE UPDATE OF store_uid ON services "
                         "BEGIN SELECT RAISE(ABORT, 'refused'); END");
    }
    SPropValue config = Text(PstPath, placeText.c_str());
    EXPECT_EQ(services->ConfigureMsgService(&uid, 0, 0, 1, &config), MAPI_E_COLLISION);
    EXPECT_FALSE(std::filesystem::exists(place)) << "the new file goes again";
    const auto other = OnlyStoreFile();
    const std::u16string otherText = other.u16string();
    config = Text(PstPath, otherText.c_str());
    EXPECT_NE(services->ConfigureMsgService(&uid, 0, 0, 1, &config), S_OK);
    EXPECT_TRUE(std::filesystem::exists(other)) << "one that was there stays";
    EXPECT_EQ(Stores(*session).size(), 1u);
    {
        Database database(Home() / "profiles.db", Database::Mode::Open);
        database.Execute("DROP TRIGGER refuse");
    }
    config = Text(PstPath, placeText.c_str());
    EXPECT_EQ(services->ConfigureMsgService(&uid, 0, 0, 1, &config), S_OK) << "tried again";
    EXPECT_EQ(Stores(*session).size(), 2u);
}

TEST_F(SessionTest, AFailedStoreAndALogoffKeepTheSinksOfTheThread)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    struct Told
    {
        static LONG DEFTMAPI_STDCALL Count(LPVOID context, ULONG, LPNOTIFICATION)
        {
            return ++*static_cast<int*>(context);
        }
    };
    int told = 0;
    Ptr<IMAPIAdviseSink> sink;
    ASSERT_EQ(HrAllocAdviseSink(&Told::Count, &told, Out(sink)), S_OK);
    Ptr<IMAPIAdviseSink> wrapped;
    ASSERT_EQ(HrThisThreadAdviseSink(sink.Get(), Out(wrapped)), S_OK);
    auto session = LogOnTo(u"p");
    const auto store = Stores(*session).at(0);
    std::filesystem::remove(OnlyStoreFile());
    Ptr<IMsgStore> opened;
    EXPECT_NE(session->OpenMsgStore(0, static_cast<ULONG>(store.id.size()), AsEntry(store.id), nullptr, 0, Out(opened)),
              S_OK);
    ASSERT_EQ(session->Logoff(0, 0, 0), S_OK);
    NOTIFICATION event{};
    event.ulEventType = fnevExtended;
    std::thread([&] { wrapped->OnNotify(1, &event); }).join();
    EXPECT_EQ(HrDispatchNotifications(0), S_OK);
    EXPECT_EQ(told, 1);
}

TEST_F(SessionTest, ADamagedOrMissingStoreFileIsToldWhenTheStoreOpens)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    auto session = LogOnTo(u"p");
    const Bytes id = Stores(*session)[0].id;
    std::filesystem::path file;
    for (const auto& entry : std::filesystem::directory_iterator(Home() / "stores"))
        file = entry.path();
    const auto open = [&] {
        Ptr<IMsgStore> store;
        return session->OpenMsgStore(0, static_cast<ULONG>(id.size()), AsEntry(id), nullptr, MDB_WRITE, Out(store));
    };
    std::filesystem::rename(file, file.string() + ".away");
    EXPECT_EQ(open(), MAPI_E_NOT_FOUND);
    EXPECT_FALSE(std::filesystem::exists(file)); // not made anew
    CreateStoreFile(file, NewUid().ab, u"another");
    EXPECT_EQ(open(), MAPI_E_NOT_FOUND);
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(open(), MAPI_E_CORRUPT_STORE);
    std::filesystem::remove_all(file);
    std::filesystem::rename(file.string() + ".away", file);
    EXPECT_EQ(open(), S_OK);
}

TEST_F(SessionTest, ASessionOutlivesItsProfile)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    auto session = LogOnTo(u"p");
    const Bytes id = Stores(*session)[0].id;
    ASSERT_EQ(Admin()->DeleteProfile(W(u"p"), Unicode), S_OK);
    EXPECT_EQ(Stores(*session).size(), 1u);
    EXPECT_TRUE(OpenStore(*session, id));
    Ptr<IMsgServiceAdmin> services;
    ASSERT_EQ(session->AdminServices(0, Out(services)), S_OK);
    EXPECT_EQ(services->CreateMsgService(W(u"DEFTSTORE"), nullptr, 0, Unicode), MAPI_E_NOT_FOUND);
    Ptr<IMAPITable> status;
    EXPECT_EQ(session->GetStatusTable(Unicode, Out(status)), S_OK);
    EXPECT_EQ(Rows(*status, {tag::DisplayName}).size(), 3u);
}

TEST_F(SessionTest, ACallThatTellsItsProgressUsesTheSessionWhileOthersOpenItsStore)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    auto session = LogOnTo(u"p");
    const Bytes id = Stores(*session).at(0).id;
    auto store = OpenStore(*session, id);
    const Bytes outbox = Get(*store, tag::IpmOutbox).Blob();
    const auto open = [&](const Bytes& entry) {
        ULONG type = 0;
        Ptr<IUnknown> object;
        EXPECT_EQ(session->OpenEntry(static_cast<ULONG>(entry.size()), AsEntry(entry), nullptr, MAPI_MODIFY, &type,
                                     Out(object)),
                  S_OK);
        return object;
    };
    const Ptr<IUnknown> folder = open(outbox);
    std::atomic<int> opening{0};
    std::vector<std::thread> others;
    Ptr<RecordingProgress> progress(new RecordingProgress);
    progress->onReport = [&](std::size_t) {
        if (!others.empty())
            return;
        others.emplace_back([&] { // both wait until the call is over
            ++opening;
            EXPECT_TRUE(OpenStore(*session, id));
        });
        others.emplace_back([&] {
            ++opening;
            EXPECT_TRUE(open(outbox));
        });
        while (opening < 2)
            std::this_thread::yield();
        for (int i = 0; i < 3000; ++i)
            EXPECT_EQ(session->Unadvise(7), MAPI_E_NOT_FOUND);
    };
    EXPECT_EQ(static_cast<IMAPIFolder*>(folder.Get())->EmptyFolder(0, progress.Get(), 0), S_OK);
    for (auto& other : others)
        other.join();
    EXPECT_EQ(others.size(), 2u);
}

TEST_F(SessionTest, ThreadsWorkWithSessionsOfTheirOwn)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    constexpr int Threads = 3;
    constexpr int Messages = 8;
    std::atomic<int> saved{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < Threads; ++t) {
        threads.emplace_back([&] {
            ASSERT_EQ(MAPIInitialize(nullptr), S_OK);
            {
                auto session = LogOnTo(u"p");
                auto store = OpenStore(*session, Stores(*session).at(0).id);
                ULONG size = 0;
                ULONG type = 0;
                MapiBuffer<ENTRYID> id;
                Ptr<IMAPIFolder> inbox;
                ASSERT_EQ(store->GetReceiveFolder(nullptr, 0, &size, id.Out(), nullptr), S_OK);
                ASSERT_EQ(session->OpenEntry(size, id.Get(), nullptr, MAPI_MODIFY, &type,
                                             reinterpret_cast<LPUNKNOWN*>(Out(inbox))),
                          S_OK);
                for (int i = 0; i < Messages; ++i) {
                    Ptr<IMessage> message;
                    ASSERT_EQ(inbox->CreateMessage(nullptr, 0, Out(message)), S_OK);
                    saved += message->SaveChanges(0) == S_OK;
                }
            }
            MAPIUninitialize();
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(saved.load(), Threads * Messages);
    auto session = LogOnTo(u"p");
    auto store = OpenStore(*session, Stores(*session).at(0).id, 0);
    ULONG size = 0;
    ULONG type = 0;
    MapiBuffer<ENTRYID> id;
    ASSERT_EQ(store->GetReceiveFolder(nullptr, 0, &size, id.Out(), nullptr), S_OK);
    Ptr<IUnknown> object;
    ASSERT_EQ(store->OpenEntry(size, id.Get(), nullptr, 0, &type, Out(object)), S_OK);
    EXPECT_EQ(Get(*static_cast<IMAPIFolder*>(object.Get()), tag::ContentCount).Number(), Threads * Messages);
}

} // namespace
} // namespace deftmapi::client::test
