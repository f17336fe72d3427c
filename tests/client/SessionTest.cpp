// Logging on, stores of a session, entry identifiers through the session, message services.
#include "client/store/Database.hpp"
#include "tests/client/FolderFixture.hpp"
#include "tests/client/SessionFixture.hpp"

#include <atomic>
#include <thread>

namespace deftmapi::client::test
{
namespace
{

constexpr ULONG PstPath = 0x6700001F;

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
        auto message = EmptyMessage(*Opened<IMAPIFolder>(*session, InboxIdOf(*store)));
        Set(*message, {Text(tag::Subject, u"hello")});
        ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READONLY), S_OK);
        ASSERT_EQ(session->Logoff(0, 0, 0), S_OK);
    }
    auto session = LogOnTo(u"p");
    auto store = OpenFirstStore(*session, 0);
    const auto rows =
        Rows(*ContentsTable(*Opened<IMAPIFolder>(*store, InboxIdOf(*store), 0)), {tag::Subject, tag::EntryId});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(WideAt(rows[0], 0), u"hello");

    // The message through the session: without the right to change it, then with it.
    const Bytes id = std::get<Bytes>(rows[0][1].data);
    ULONG type = 0;
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
    auto session = LogOnToNew(u"one");
    const Bytes own = Stores(*session)[0].id;
    const Bytes other = Stores(*LogOnToNew(u"two"))[0].id;
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

    const auto compare = [&](const Bytes& a, const Bytes& b, HRESULT expected = S_OK) {
        ULONG same = 7;
        EXPECT_EQ(session->CompareEntryIDs(static_cast<ULONG>(a.size()), AsEntry(a), static_cast<ULONG>(b.size()),
                                           AsEntry(b), 0, &same),
                  expected);
        return same;
    };
    EXPECT_EQ(compare(own, own), 1u);
    EXPECT_EQ(compare(own, other), 0u);
    EXPECT_EQ(compare(own, foreign), 0u);
    compare(foreign, foreign, MAPI_E_UNKNOWN_ENTRYID);
    compare(own, {}, MAPI_E_INVALID_ENTRYID);
}

TEST_F(SessionTest, AfterLogoffTheSessionRefusesWorkAndLetsItsSinksGo)
{
    auto session = LogOnToNew(u"p");
    auto store = OpenFirstStore(*session);
    Ptr<EndSink> sink(new EndSink);
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
    auto session = LogOnToNew(u"p");
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
    auto services = Services(*session);
    EXPECT_EQ(services->CreateMsgService(W(u"MSPST MS"), nullptr, 0, Unicode), MAPI_E_EXTENDED_ERROR);
    EXPECT_EQ(services->CreateMsgService(W(u"CONTAB"), nullptr, 0, Unicode), MAPI_E_NOT_FOUND);

    MAPIUID first{};
    ASSERT_EQ(services->CreateMsgServiceEx(W(u"DeftStore"), W(u"Mail"), 0, Unicode, &first), S_OK);
    EXPECT_TRUE(Stores(*session).empty()); // not configured yet
    ASSERT_EQ(services->ConfigureMsgService(&first, 0, 0, 0, nullptr), S_OK);
    const auto stores = Stores(*session);
    ASSERT_EQ(stores.size(), 1u);
    EXPECT_TRUE(stores[0].isDefault);

    // A store at a place of one's own; it is found again by that place after its service is gone.
    const auto place = (FFolder.Path() / "elsewhere" / "archive.db").u16string();
    SPropValue config[] = {Text(PstPath, place.c_str()), Text(tag::DisplayName, u"Archive"), Long(0x66010003, 1)};
    MAPIUID second = AddService(*services);
    const auto configure = [&](MAPIUID service, ULONG count) {
        return services->ConfigureMsgService(&service, 0, 0, count, config);
    };
    ASSERT_EQ(configure(second, 3), S_OK);
    EXPECT_EQ(configure(second, 3), S_OK); // the same again changes nothing
    const auto both = Stores(*session);
    ASSERT_EQ(both.size(), 2u);
    EXPECT_FALSE(both[1].isDefault);
    const auto expectName = [&](const char16_t* name) {
        EXPECT_EQ(Stores(*session).at(1).name, name);
        EXPECT_EQ(Get(*OpenStore(*session, both[1].id), tag::DisplayName).Wide(), name);
    };
    expectName(u"Archive");
    MAPIUID third = AddService(*services);
    EXPECT_EQ(configure(third, 1), MAPI_E_COLLISION);
    ASSERT_EQ(services->DeleteMsgService(&third), S_OK);
    ASSERT_EQ(services->DeleteMsgService(&second), S_OK);
    EXPECT_EQ(services->DeleteMsgService(&second), MAPI_E_NOT_FOUND);
    EXPECT_EQ(services->ConfigureMsgService(&second, 0, 0, 0, nullptr), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Stores(*session).size(), 1u);
    third = AddService(*services);
    ASSERT_EQ(configure(third, 1), S_OK);
    EXPECT_EQ(Stores(*session).at(1).id, both[1].id);
    expectName(u"Archive");

    // Configured once more: another name is taken over, by the store and by who else has it; another place is not.
    ASSERT_EQ(admin->CopyProfile(W(u"p"), nullptr, W(u"copy"), 0, Unicode), S_OK);
    config[1] = Text(tag::DisplayName, u"Old mail");
    ASSERT_EQ(configure(third, 2), S_OK);
    expectName(u"Old mail");
    EXPECT_EQ(Stores(*LogOnTo(u"copy")).at(1).name, u"Old mail");
    config[0] = Text(PstPath, u"somewhere else.db");
    config[1] = Text(tag::DisplayName, u"Other");
    EXPECT_EQ(configure(third, 2), MAPI_E_NO_ACCESS);
    config[0] = Text(PstPath, place.c_str());
    ASSERT_EQ(configure(third, 1), S_OK);
    expectName(u"Old mail");
    // So is one that comes with a store that was there before.
    ASSERT_EQ(services->DeleteMsgService(&third), S_OK);
    third = AddService(*services);
    ASSERT_EQ(configure(third, 2), S_OK);
    expectName(u"Other");

    const auto setDefault = [&](const Bytes& id) {
        return session->SetDefaultStore(MAPI_DEFAULT_STORE, static_cast<ULONG>(id.size()), AsEntry(id));
    };
    const auto defaults = [&] {
        std::string marks;
        for (const StoreRow& store : Stores(*session))
            marks += store.isDefault ? '*' : '-';
        return marks;
    };
    ASSERT_EQ(setDefault(both[1].id), S_OK);
    EXPECT_EQ(defaults(), "-*");
    Bytes unknown = both[1].id;
    unknown[10] ^= 0xFF;
    EXPECT_NE(setDefault(unknown), S_OK);
    EXPECT_EQ(setDefault(Get(*OpenStore(*session, both[0].id), tag::IpmSubtree).Blob()), MAPI_E_INVALID_ENTRYID)
        << "an entry of the store is not the store";
    EXPECT_EQ(session->SetDefaultStore(MAPI_SIMPLE_STORE_PERMANENT, 0, nullptr), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(defaults(), "-*");
    ASSERT_EQ(session->SetDefaultStore(MAPI_DEFAULT_STORE, 0, nullptr), S_OK) << "no store is the default one";
    EXPECT_EQ(defaults(), "--");
    ASSERT_EQ(setDefault(both[1].id), S_OK);

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
    third = AddService(*services);
    ASSERT_EQ(configure(third, 1), S_OK);
    EXPECT_EQ(defaults(), "*-");
}

TEST_F(SessionTest, AStoreThatCannotBeAddedLeavesNothing)
{
    auto session = LogOnToNew(u"p");
    auto services = Services(*session);
    MAPIUID uid = AddService(*services);
    const auto place = FFolder.Path() / "new.db";
    const auto configure = [&](const std::u16string& path) {
        SPropValue config = Text(PstPath, path.c_str());
        return services->ConfigureMsgService(&uid, 0, 0, 1, &config);
    };
    // The store file is made before the profile has it; the profile refuses.
    Database(Home() / "profiles.db", Database::Mode::Open)
        .Execute("CREATE TRIGGER refuse BEFORE UPDATE OF store_uid ON services "
                 "BEGIN SELECT RAISE(ABORT, 'refused'); END");
    EXPECT_EQ(configure(place.u16string()), MAPI_E_COLLISION);
    EXPECT_FALSE(std::filesystem::exists(place)) << "the new file goes again";
    const auto other = OnlyStoreFile();
    EXPECT_NE(configure(other.u16string()), S_OK);
    EXPECT_TRUE(std::filesystem::exists(other)) << "one that was there stays";
    EXPECT_EQ(Stores(*session).size(), 1u);
    Database(Home() / "profiles.db", Database::Mode::Open).Execute("DROP TRIGGER refuse");
    EXPECT_EQ(configure(place.u16string()), S_OK) << "tried again";
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
    std::filesystem::remove(OnlyStoreFile());
    EXPECT_FALSE(OpenStore(*session, Stores(*session).at(0).id, 0, MAPI_E_NOT_FOUND));
    ASSERT_EQ(session->Logoff(0, 0, 0), S_OK);
    NOTIFICATION event{};
    event.ulEventType = fnevExtended;
    std::thread([&] { wrapped->OnNotify(1, &event); }).join();
    EXPECT_EQ(HrDispatchNotifications(0), S_OK);
    EXPECT_EQ(told, 1);
}

TEST_F(SessionTest, ADamagedOrMissingStoreFileIsToldWhenTheStoreOpens)
{
    auto session = LogOnToNew(u"p");
    const auto file = OnlyStoreFile();
    const auto open = [&, id = Stores(*session)[0].id](HRESULT expected) {
        EXPECT_EQ(static_cast<bool>(OpenStore(*session, id, MDB_WRITE, expected)), expected == S_OK);
    };
    std::filesystem::rename(file, file.string() + ".away");
    open(MAPI_E_NOT_FOUND);
    EXPECT_FALSE(std::filesystem::exists(file)); // not made anew
    CreateStoreFile(file, NewUid().ab, u"another");
    open(MAPI_E_NOT_FOUND);
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    open(MAPI_E_CORRUPT_STORE);
    std::filesystem::remove_all(file);
    std::filesystem::rename(file.string() + ".away", file);
    open(S_OK);
}

TEST_F(SessionTest, ASessionOutlivesItsProfile)
{
    auto session = LogOnToNew(u"p");
    const Bytes id = Stores(*session)[0].id;
    ASSERT_EQ(Admin()->DeleteProfile(W(u"p"), Unicode), S_OK);
    EXPECT_EQ(Stores(*session).size(), 1u);
    EXPECT_TRUE(OpenStore(*session, id));
    auto services = Services(*session);
    EXPECT_EQ(services->CreateMsgService(W(u"DEFTSTORE"), nullptr, 0, Unicode), MAPI_E_NOT_FOUND);
    Ptr<IMAPITable> status;
    EXPECT_EQ(session->GetStatusTable(Unicode, Out(status)), S_OK);
    EXPECT_EQ(Rows(*status, {tag::DisplayName}).size(), 3u);
}

TEST_F(SessionTest, ACallThatTellsItsProgressUsesTheSessionWhileOthersOpenItsStore)
{
    auto session = LogOnToNew(u"p");
    const Bytes id = Stores(*session).at(0).id;
    auto store = OpenStore(*session, id);
    const Bytes outbox = Get(*store, tag::IpmOutbox).Blob();
    const auto folder = Opened<IMAPIFolder>(*session, outbox);
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
            EXPECT_TRUE(Opened<IMAPIFolder>(*session, outbox));
        });
        while (opening < 2)
            std::this_thread::yield();
        for (int i = 0; i < 3000; ++i)
            EXPECT_EQ(session->Unadvise(7), MAPI_E_NOT_FOUND);
    };
    EXPECT_EQ(folder->EmptyFolder(0, progress.Get(), 0), S_OK);
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
                auto inbox = Opened<IMAPIFolder>(*session, InboxIdOf(*OpenFirstStore(*session)));
                for (int i = 0; i < Messages; ++i)
                    saved += EmptyMessage(*inbox)->SaveChanges(0) == S_OK;
            }
            MAPIUninitialize();
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(saved.load(), Threads * Messages);
    auto session = LogOnTo(u"p");
    auto store = OpenFirstStore(*session, 0);
    EXPECT_EQ(Get(*Opened<IMAPIFolder>(*store, InboxIdOf(*store), 0), tag::ContentCount).Number(), Threads * Messages);
}

} // namespace
} // namespace deftmapi::client::test
