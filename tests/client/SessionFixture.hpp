// The base of the tests of logging on, profiles and entry points: a data folder of its own, MAPI initialised,
// everything reached through the exported functions. Each test ends with no object and no MAPI buffer alive.
#pragma once

#include "client/entry/EntryPoints.hpp"
#include "tests/client/StoreFixture.hpp"

#include <atomic>

namespace deftmapi::client::test
{

/// A text parameter of a call, which takes it as if it wrote to it.
inline LPTSTR W(const char16_t* text)
{
    return const_cast<char16_t*>(text);
}
inline LPTSTR A(const char* text)
{
    return const_cast<char*>(text);
}

/// Counts the ends of sessions that it is told of.
class EndSink final : public ComObject<IMAPIAdviseSink>
{
public:
    [[nodiscard]] bool Implements(const IID& iid) const noexcept override { return iid == IID_IMAPIAdviseSink; }
    ULONG DEFTMAPI_STDCALL OnNotify(ULONG count, LPNOTIFICATION notifications) noexcept override
    {
        for (ULONG i = 0; i < count; ++i)
            if (notifications[i].ulEventType == fnevExtended && notifications[i].info.ext.cb == 0)
                ++ends;
        return 0;
    }
    std::atomic<int> ends{0};
};

class SessionTest : public ::testing::Test
{
protected:
    static constexpr ULONG Unicode = MAPI_UNICODE;
    /// What an application passes that names its profile.
    static constexpr ULONG Logon = MAPI_EXTENDED | MAPI_NEW_SESSION | Unicode;

    void SetUp() override
    {
        ASSERT_EQ(LiveBuffers(), 0u);
        ASSERT_EQ(LiveObjects(), 0u);
        ::setenv("DEFTMAPI_HOME", Home().c_str(), 1);
        ASSERT_EQ(MAPIInitialize(nullptr), S_OK);
    }
    void TearDown() override
    {
        MAPIUninitialize();
        ::unsetenv("DEFTMAPI_HOME");
        EXPECT_EQ(LiveObjects(), 0u) << "objects are left";
        EXPECT_EQ(LiveBuffers(), 0u) << "MAPI buffers are left";
    }

    [[nodiscard]] std::filesystem::path Home() const { return FFolder.Path() / "home"; }
    [[nodiscard]] static Ptr<IProfAdmin> Admin()
    {
        Ptr<IProfAdmin> admin;
        EXPECT_EQ(MAPIAdminProfiles(0, Out(admin)), S_OK);
        return admin;
    }
    static HRESULT Create(const char16_t* name, const char16_t* password = nullptr)
    {
        return Admin()->CreateProfile(W(name), W(password), 0, Unicode | MAPI_DEFAULT_SERVICES);
    }
    [[nodiscard]] static Ptr<IMAPISession> LogOnTo(const char16_t* profile)
    {
        Ptr<IMAPISession> session;
        EXPECT_EQ(MAPILogonEx(0, W(profile), nullptr, Logon, Out(session)), S_OK);
        return session;
    }
    /// With a new profile.
    [[nodiscard]] static Ptr<IMAPISession> LogOnToNew(const char16_t* profile)
    {
        EXPECT_EQ(Create(profile), S_OK);
        return LogOnTo(profile);
    }
    [[nodiscard]] static Ptr<IMsgServiceAdmin2> Services(IMAPISession& session)
    {
        Ptr<IMsgServiceAdmin> services;
        EXPECT_EQ(session.AdminServices(0, Out(services)), S_OK);
        Ptr<IMsgServiceAdmin2> services2;
        EXPECT_EQ(services->QueryInterface(IID_IMsgServiceAdmin2, OutVoid(services2)), S_OK);
        return services2;
    }
    /// A service of a store that is not configured yet.
    [[nodiscard]] static MAPIUID AddService(IMsgServiceAdmin2& services, const char16_t* name = nullptr)
    {
        MAPIUID uid{};
        EXPECT_EQ(services.CreateMsgServiceEx(W(u"DEFTSTORE"), W(name), 0, Unicode, &uid), S_OK);
        return uid;
    }
    [[nodiscard]] static HRESULT TryLogOn(const char16_t* profile, const char16_t* password, ULONG flags = Logon)
    {
        Ptr<IMAPISession> session;
        const auto hr = MAPILogonEx(0, W(profile), W(password), flags, Out(session));
        EXPECT_EQ(Succeeded(hr), static_cast<bool>(session));
        return hr;
    }

    /// Of a data folder with one store.
    [[nodiscard]] std::filesystem::path OnlyStoreFile() const
    {
        for (const auto& entry : std::filesystem::directory_iterator(Home() / "stores"))
            if (entry.path().extension() == ".db")
                return entry.path();
        ADD_FAILURE() << "there is no store";
        return {};
    }

    struct StoreRow
    {
        Bytes id;
        std::u16string name;
        bool isDefault;
    };
    [[nodiscard]] static Ptr<IMAPITable> StoresTable(IMAPISession& session)
    {
        Ptr<IMAPITable> table;
        EXPECT_EQ(session.GetMsgStoresTable(Unicode, Out(table)), S_OK);
        return table;
    }
    [[nodiscard]] static std::vector<StoreRow> Stores(IMAPISession& session)
    {
        std::vector<StoreRow> stores;
        for (const Props& row : Rows(*StoresTable(session), {tag::EntryId, tag::DisplayName, tag::DefaultStore}))
            stores.push_back({std::get<Bytes>(row[0].data), WideAt(row, 1), NumberAt(row, 2) == 1});
        return stores;
    }
    [[nodiscard]] static Ptr<IMsgStore> OpenStore(IMAPISession& session, const Bytes& id, ULONG flags = MDB_WRITE,
                                                  HRESULT expected = S_OK)
    {
        Ptr<IMsgStore> store;
        EXPECT_EQ(session.OpenMsgStore(0, static_cast<ULONG>(id.size()), AsEntry(id), nullptr, flags, Out(store)),
                  expected);
        return store;
    }
    [[nodiscard]] static Ptr<IMsgStore> OpenFirstStore(IMAPISession& session, ULONG flags = MDB_WRITE)
    {
        return OpenStore(session, Stores(session).at(0).id, flags);
    }
    /// "name" for each profile in the order of the table, the default one as "*name".
    [[nodiscard]] static std::vector<std::u16string> Names()
    {
        Ptr<IMAPITable> table;
        EXPECT_EQ(Admin()->GetProfileTable(Unicode, Out(table)), S_OK);
        std::vector<std::u16string> names;
        for (const Props& row : Rows(*table, {tag::DisplayName, tag::DefaultProfile}))
            names.push_back((NumberAt(row, 1) == 1 ? u"*" : u"") + WideAt(row, 0));
        return names;
    }

    TemporaryFolder FFolder;
};

} // namespace deftmapi::client::test
