// Sections of profiles, the status table and its objects, and sessions that others join.
#include "tests/client/SessionFixture.hpp"

#include "client/notify/Dispatcher.hpp"
#include "client/store/Database.hpp"

#include <array>
#include <cstring>

namespace deftmapi::client::test
{
namespace
{

constexpr MAPIUID Global = {
    {0x13, 0xDB, 0xB0, 0xC8, 0xAA, 0x05, 0x10, 0x1A, 0x9B, 0xB0, 0x00, 0xAA, 0x00, 0x2F, 0xC4, 0x5A}};
constexpr ULONG ConfigFlags = 0x66010003;
constexpr ULONG ProfileName = 0x3D12001F;
constexpr ULONG Settings = 0x67F00102;

MAPIUID Other(std::uint8_t number)
{
    MAPIUID uid{};
    uid.ab[15] = number;
    return uid;
}

class ProfileSectionTest : public SessionTest
{
protected:
    [[nodiscard]] static Ptr<IProfSect> Section(IMAPISession& session, MAPIUID uid, ULONG flags,
                                                HRESULT expected = S_OK)
    {
        Ptr<IProfSect> section;
        EXPECT_EQ(session.OpenProfileSection(&uid, nullptr, flags, Out(section)), expected);
        return section;
    }
    static HRESULT SetLong(IMAPIProp& prop, ULONG tag, LONG number)
    {
        SPropValue value = Long(tag, number);
        return prop.SetProps(1, &value, nullptr);
    }
    static std::uint64_t SizeOf(IStream& stream)
    {
        STATSTG stat{};
        EXPECT_EQ(stream.Stat(&stat, STATFLAG_NONAME), S_OK);
        return stat.cbSize.QuadPart;
    }
    [[nodiscard]] static MAPIUID FirstService(IMAPISession& session, ULONG column)
    {
        Ptr<IMAPITable> table;
        EXPECT_EQ(Services(session)->GetProviderTable(0, Out(table)), S_OK);
        const Bytes bytes = std::get<Bytes>(Rows(*table, {column}).at(0)[0].data);
        MAPIUID uid{};
        std::memcpy(&uid, bytes.data(), sizeof uid);
        return uid;
    }
};

TEST_F(ProfileSectionTest, SettingsAreKeptAtOnceAndForTheirProfile)
{
    auto session = LogOnToNew(u"p");
    ASSERT_EQ(Create(u"q"), S_OK);
    EXPECT_FALSE(Section(*session, Other(1), 0, MAPI_E_NOT_FOUND));
    {
        const auto global = Section(*session, Global, 0);
        EXPECT_EQ(Get(*global, ProfileName).Wide(), u"p");
        EXPECT_EQ(SetLong(*global, ConfigFlags, 1), MAPI_E_NO_ACCESS);
    }
    const auto written = Section(*session, Global, MAPI_MODIFY);
    ASSERT_EQ(SetLong(*written, ConfigFlags, 6), S_OK);
    const auto read = Section(*LogOnTo(u"p"), Global, 0);
    EXPECT_EQ(Get(*read, ConfigFlags).Number(), 6) << "without SaveChanges, by another session";
    ASSERT_EQ(SetLong(*written, ConfigFlags, 7), S_OK);
    EXPECT_EQ(Get(*read, ConfigFlags).Number(), 7) << "also when the section is open already";
    EXPECT_EQ(Get(*Section(*LogOnTo(u"q"), Global, 0), ConfigFlags).Error(), MAPI_E_NOT_FOUND);

    // One of the application's own, with a value that is written as a stream.
    const auto own = Section(*session, Other(1), MAPI_MODIFY);
    auto stream = OpenStream(*own, Settings, MAPI_CREATE | MAPI_MODIFY);
    const auto kept = [&] {
        const Bytes bytes = Get(*Section(*LogOnTo(u"p"), Other(1), 0), Settings).Blob();
        return std::string(bytes.begin(), bytes.end());
    };
    ASSERT_EQ(stream->Write("set", 3, nullptr), S_OK);
    ASSERT_EQ(stream->Write("ting", 4, nullptr), S_OK);
    EXPECT_EQ(kept(), "") << "pieces are no transactions";
    ASSERT_EQ(stream->Commit(0), S_OK);
    EXPECT_EQ(kept(), "setting");
    ASSERT_EQ(stream->Write("s", 1, nullptr), S_OK);
    stream.Reset();
    EXPECT_EQ(kept(), "settings") << "the end of the stream keeps the rest";
    ASSERT_EQ(own->DeleteProps(Tags{Settings}, nullptr), S_OK);
    EXPECT_EQ(Get(*Section(*session, Other(1), 0), Settings).Error(), MAPI_E_NOT_FOUND);
    GUID set = PS_PUBLIC_STRINGS;
    MAPINAMEID name{&set, MNID_ID, {}};
    LPMAPINAMEID names = &name;
    MapiBuffer<SPropTagArray> tags;
    EXPECT_EQ(own->GetIDsFromNames(1, &names, 0, tags.Out()), MAPI_E_NO_SUPPORT);
}

TEST_F(ProfileSectionTest, AValueHasAtMostAMegabyteByEitherRoad)
{
    auto session = LogOnToNew(u"p");
    const auto section = Section(*session, Other(1), MAPI_MODIFY);
    constexpr std::size_t limit = 1024 * 1024;
    Bytes large(limit + 1, 7);
    SPropValue values[2] = {Binary(Settings, large), Long(ConfigFlags, 0)};
    values[0].Value.bin.cb = limit;
    MapiBuffer<SPropProblemArray> problems;
    ASSERT_EQ(section->SetProps(2, values, problems.Out()), S_OK);
    EXPECT_FALSE(problems);

    const auto size = [&] { return SizeOf(*OpenStream(*section, Settings, 0)); };
    EXPECT_EQ(size(), limit);

    values[0].Value.bin.cb = limit + 1;
    values[1].Value.l = 5;
    ASSERT_EQ(section->SetProps(2, values, problems.Out()), S_OK);
    ASSERT_TRUE(problems);
    ASSERT_EQ(problems->cProblem, 1u);
    EXPECT_EQ(problems->aProblem[0].ulIndex, 0u);
    EXPECT_EQ(problems->aProblem[0].scode, MAPI_E_TOO_BIG);
    EXPECT_EQ(size(), limit) << "the old value stays";
    EXPECT_EQ(Get(*section, ConfigFlags).Number(), 5) << "and the other property is set";

    const auto stream = OpenStream(*section, Settings, MAPI_CREATE | MAPI_MODIFY);
    EXPECT_EQ(stream->Write(large.data(), limit + 1, nullptr), STG_E_MEDIUMFULL);
    EXPECT_EQ(stream->Write(large.data(), limit, nullptr), S_OK);
    EXPECT_EQ(stream->Write(large.data(), 1, nullptr), STG_E_MEDIUMFULL);
    ULARGE_INTEGER tooLarge{};
    tooLarge.QuadPart = limit + 1;
    EXPECT_EQ(stream->SetSize(tooLarge), STG_E_MEDIUMFULL);
    ASSERT_EQ(stream->Commit(0), S_OK);
    EXPECT_EQ(size(), limit);
    // Narrow text is kept as wide text.
    const auto text = OpenStream(*section, tag::Comment - 1, MAPI_CREATE | MAPI_MODIFY);
    EXPECT_EQ(text->Write(large.data(), limit / 2, nullptr), S_OK);
    EXPECT_EQ(text->Write(large.data(), 1, nullptr), STG_E_MEDIUMFULL);
    EXPECT_EQ(text->Commit(0), S_OK);
}

TEST_F(ProfileSectionTest, AStreamIsRevertedToWhatTheSectionHas)
{
    auto session = LogOnToNew(u"p");
    const auto section = Section(*session, Other(1), MAPI_MODIFY);
    const auto kept = [&](ULONG tag) { return Get(*Section(*LogOnTo(u"p"), Other(1), 0), tag); };
    const auto write = [](IStream& stream, const char* text) {
        EXPECT_EQ(stream.Write(text, static_cast<ULONG>(std::strlen(text)), nullptr), S_OK);
    };
    // One that was never there, and is not by the stream's end.
    auto stream = OpenStream(*section, Settings, MAPI_CREATE | MAPI_MODIFY);
    write(*stream, "new");
    EXPECT_EQ(stream->Revert(), S_OK);
    stream.Reset();
    EXPECT_EQ(kept(Settings).Error(), MAPI_E_NOT_FOUND);
    // What somebody else has set meanwhile stays; what was read at the beginning comes back to the stream.
    Set(*section, {Binary(Settings, {1, 2, 3}), Text(tag::Comment, u"old")});
    for (const ULONG flags : {MAPI_MODIFY, MAPI_CREATE | MAPI_MODIFY}) {
        stream = OpenStream(*section, Settings, flags);
        write(*stream, "new");
        Set(*Section(*LogOnTo(u"p"), Other(1), MAPI_MODIFY), {Binary(Settings, {4, 5})});
        EXPECT_EQ(stream->Revert(), S_OK);
        EXPECT_EQ(SizeOf(*stream), flags & MAPI_CREATE ? 0u : 3u);
        stream.Reset();
        EXPECT_EQ(kept(Settings).Blob(), (Bytes{4, 5}));
        Set(*section, {Binary(Settings, {1, 2, 3})});
    }
    stream = OpenStream(*section, tag::Comment - 1, MAPI_MODIFY); // narrow, of a text that is kept wide
    write(*stream, "new");
    EXPECT_EQ(stream->Revert(), S_OK);
    stream.Reset();
    EXPECT_EQ(kept(tag::Comment).Wide(), u"old");
    // A commit is final, and the stream says so of what is written after it.
    stream = OpenStream(*section, Settings, MAPI_MODIFY);
    write(*stream, "new");
    ASSERT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(stream->Revert(), S_OK);
    EXPECT_EQ(kept(Settings).Blob(), (Bytes{'n', 'e', 'w'}));
    write(*stream, "er");
    EXPECT_EQ(stream->Revert(), STG_E_INVALIDFUNCTION);
    stream.Reset();
    EXPECT_EQ(kept(Settings).Blob(), (Bytes{'n', 'e', 'w', 'e', 'r'}));
}

TEST_F(ProfileSectionTest, SectionsGoWithTheirServiceAndCopyWithTheirProfile)
{
    auto session = LogOnToNew(u"p");
    const MAPIUID service = FirstService(*session, tag::ServiceUid);
    const MAPIUID provider = FirstService(*session, tag::ProviderUid);
    ASSERT_EQ(SetLong(*Section(*session, service, MAPI_MODIFY), ConfigFlags, 1), S_OK);
    ASSERT_EQ(SetLong(*Section(*session, provider, MAPI_MODIFY), ConfigFlags, 2), S_OK);
    ASSERT_EQ(SetLong(*Section(*session, Other(9), MAPI_MODIFY), ConfigFlags, 3), S_OK);

    // The administration of the service's providers opens the same sections.
    auto services = Services(*session);
    Ptr<IProviderAdmin> providers;
    MAPIUID uid = Other(5);
    EXPECT_EQ(services->AdminProviders(&uid, 0, Out(providers)), MAPI_E_NOT_FOUND);
    uid = service;
    ASSERT_EQ(services->AdminProviders(&uid, Unicode, Out(providers)), S_OK);
    Ptr<IMAPITable> table;
    ASSERT_EQ(providers->GetProviderTable(0, Out(table)), S_OK);
    EXPECT_EQ(Rows(*table, {tag::ProviderUid}).size(), 1u);
    Ptr<IProfSect> section;
    uid = provider;
    ASSERT_EQ(providers->OpenProfileSection(&uid, &IID_IProfSect, 0, Out(section)), S_OK);
    EXPECT_EQ(Get(*section, ConfigFlags).Number(), 2);
    EXPECT_EQ(providers->DeleteProvider(&uid), MAPI_E_NO_SUPPORT);
    for (MAPIUID foreign : {Other(9), Other(7)})
        EXPECT_EQ(providers->OpenProfileSection(&foreign, nullptr, MAPI_MODIFY, Out(section)), MAPI_E_NOT_FOUND)
            << "it is of no provider of the service";
    EXPECT_FALSE(Section(*session, Other(7), 0, MAPI_E_NOT_FOUND)) << "and none is made";

    ASSERT_EQ(Admin()->CopyProfile(W(u"p"), nullptr, W(u"copy"), 0, Unicode), S_OK);
    auto copy = LogOnTo(u"copy");
    EXPECT_EQ(Get(*Section(*copy, FirstService(*copy, tag::ServiceUid), 0), ConfigFlags).Number(), 1);
    EXPECT_EQ(Get(*Section(*copy, FirstService(*copy, tag::ProviderUid), 0), ConfigFlags).Number(), 2);
    EXPECT_EQ(Get(*Section(*copy, Other(9), 0), ConfigFlags).Number(), 3);

    uid = service;
    ASSERT_EQ(services->DeleteMsgService(&uid), S_OK);
    EXPECT_FALSE(Section(*session, service, 0, MAPI_E_NOT_FOUND));
    EXPECT_FALSE(Section(*session, provider, 0, MAPI_E_NOT_FOUND));
    ASSERT_EQ(Admin()->DeleteProfile(W(u"p"), Unicode), S_OK);
    ASSERT_EQ(Create(u"p"), S_OK);
    EXPECT_FALSE(Section(*LogOnTo(u"p"), Other(9), 0, MAPI_E_NOT_FOUND)) << "a new profile of the old name";
}

TEST_F(ProfileSectionTest, AFileOfTheFirstVersionGetsSections)
{
    ASSERT_EQ(Create(u"p", u"pw"), S_OK);
    for (const char* sql : {"DROP TABLE sections", "PRAGMA user_version = 1"})
        Database(Home() / "profiles.db", Database::Mode::Open).Execute(sql);
    EXPECT_EQ(TryLogOn(u"p", u"wrong"), MAPI_E_LOGON_FAILED);
    Ptr<IMAPISession> session;
    ASSERT_EQ(MAPILogonEx(0, W(u"p"), W(u"pw"), Logon, Out(session)), S_OK);
    EXPECT_EQ(SetLong(*Section(*session, Global, MAPI_MODIFY), ConfigFlags, 1), S_OK);
}

TEST_F(ProfileSectionTest, TheStatusTableAndTheSpooler)
{
    auto session = LogOnToNew(u"Profil Ä");
    Ptr<IMAPITable> table;
    ASSERT_EQ(session->GetStatusTable(Unicode, Out(table)), S_OK);
    const auto rows = Rows(*table, {tag::ResourceType, tag::EntryId, tag::DisplayName});
    ASSERT_EQ(rows.size(), 3u);
    ULONG type = 0;
    const auto open = [&](const Bytes& id, LPCIID iid, HRESULT expected) {
        Ptr<IUnknown> object;
        EXPECT_EQ(session->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), iid, 0, &type, Out(object)), expected);
        return object;
    };
    const ULONG types[] = {MAPI_SUBSYSTEM, MAPI_SPOOLER, MAPI_STORE_PROVIDER};
    const std::u16string names[] = {u"Profil Ä", u"Deft MAPI spooler", u"Personal Folders"};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(NumberAt(rows[i], 0), types[i]);
        EXPECT_EQ(WideAt(rows[i], 2), names[i]);
        const auto object = open(std::get<Bytes>(rows[i][1].data), &IID_IMAPIStatus, S_OK);
        ASSERT_TRUE(object);
        EXPECT_EQ(type, MAPI_STATUS);
        Ptr<IMAPIStatus> status;
        ASSERT_EQ(object->QueryInterface(IID_IMAPIStatus, OutVoid(status)), S_OK);
        EXPECT_EQ(Get(*status, tag::DisplayName).Wide(), names[i]);
        EXPECT_EQ(status->ValidateState(0, 0), S_OK);
        EXPECT_EQ(status->FlushQueues(0, 0, nullptr, FLUSH_UPLOAD),
                  types[i] == MAPI_SPOOLER ? S_OK : MAPI_E_NO_SUPPORT);
        EXPECT_EQ(SetLong(*status, ConfigFlags, 1), MAPI_E_NO_ACCESS);
    }
    EXPECT_FALSE(open(MakeEntryId({Other(1), EntryKind::Status, MAPI_STORE_PROVIDER}), nullptr, MAPI_E_NOT_FOUND));
}

TEST_F(ProfileSectionTest, SessionsAreJoinedAndEndedForAll)
{
    ASSERT_EQ(Create(u"p", u"pw"), S_OK);
    ASSERT_EQ(Create(u"q"), S_OK);
    constexpr ULONG join = MAPI_EXTENDED | Unicode;
    const auto profileOf = [](IMAPISession& session) { return Get(*Section(session, Global, 0), ProfileName).Wide(); };
    const auto logOn = [](const char16_t* profile, const char16_t* password, ULONG flags) {
        Ptr<IMAPISession> session;
        EXPECT_EQ(MAPILogonEx(0, W(profile), W(password), flags, Out(session)), S_OK);
        return session;
    };
    EXPECT_EQ(TryLogOn(u"p", nullptr, join), MAPI_E_LOGON_FAILED) << "nothing to join, and no password";
    auto alone = logOn(u"p", u"pw", Logon);
    EXPECT_EQ(profileOf(*logOn(u"q", nullptr, join)), u"q") << "a session that allows nobody is not joined";

    auto first = logOn(u"p", u"pw", Logon | MAPI_ALLOW_OTHERS);
    auto second = logOn(u"q", nullptr, join);
    EXPECT_EQ(profileOf(*second), u"p") << "whatever profile is named";
    EXPECT_EQ(profileOf(*logOn(u"q", nullptr, Logon)), u"q") << "who wants a session of his own gets it";
    auto late = logOn(u"q", nullptr, Logon | MAPI_ALLOW_OTHERS);
    EXPECT_EQ(profileOf(*logOn(nullptr, nullptr, join)), u"p") << "there is one to be joined already";

    Ptr<EndSink> sinks[] = {Ptr<EndSink>(new EndSink), Ptr<EndSink>(new EndSink), Ptr<EndSink>(new EndSink)};
    IMAPISession* const sessions[] = {first.Get(), second.Get(), alone.Get()};
    ULONG_PTR connection = 0;
    for (std::size_t i = 0; i < std::size(sessions); ++i)
        ASSERT_EQ(sessions[i]->Advise(0, nullptr, fnevExtended, sinks[i].Get(), &connection), S_OK);
    const auto ends = [&] {
        HrDispatchNotifications(0);
        return std::array{sinks[0]->ends.load(), sinks[1]->ends.load(), sinks[2]->ends.load()};
    };
    ASSERT_EQ(logOn(u"q", nullptr, join)->Logoff(0, 0, 0), S_OK);
    EXPECT_EQ(ends(), (std::array{0, 0, 0})) << "one of them has gone";
    Ptr<EndSink> critical(new EndSink);
    ASSERT_EQ(first->Advise(0, nullptr, fnevCriticalError, critical.Get(), &connection), S_OK);
    auto third = logOn(u"q", nullptr, join);
    ASSERT_EQ(second->Logoff(0, MAPI_LOGOFF_SHARED, 0), S_OK);
    EXPECT_EQ(ends(), (std::array{1, 0, 0})) << "the others of that session, and not the one that ended it";
    EXPECT_EQ(critical->ends, 0) << "it did not ask for that";
    Ptr<EndSink> late2(new EndSink);
    ASSERT_EQ(third->Advise(0, nullptr, fnevExtended, late2.Get(), &connection), S_OK);
    EXPECT_EQ(ends()[0], 1);
    EXPECT_EQ(late2->ends, 1) << "who advises after the end is told, too";
    EXPECT_EQ(profileOf(*first), u"p") << "it works until it is logged off";
    EXPECT_EQ(profileOf(*logOn(u"q", nullptr, join)), u"q") << "nobody joins what has ended";
    ASSERT_EQ(first->Logoff(0, MAPI_LOGOFF_SHARED, 0), S_OK);
    EXPECT_EQ(ends(), (std::array{1, 0, 0}));

    // What is logged off is not joined, although somebody still holds it.
    auto held = logOn(u"p", u"pw", Logon | MAPI_ALLOW_OTHERS);
    ASSERT_EQ(held->Logoff(0, 0, 0), S_OK);
    EXPECT_EQ(profileOf(*logOn(u"q", nullptr, join)), u"q");
    // The last reference ends the offer as a logoff does.
    logOn(u"p", u"pw", Logon | MAPI_ALLOW_OTHERS).Reset();
    EXPECT_EQ(profileOf(*logOn(u"q", nullptr, join)), u"q");
}

} // namespace
} // namespace deftmapi::client::test
