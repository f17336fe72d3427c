// The base of the tests of logging on, profiles and entry points: a data folder of its own, MAPI initialised,
// everything reached through the exported functions. Each test ends with no object and no MAPI buffer alive.
#pragma once

#include "client/entry/EntryPoints.hpp"
#include "tests/client/StoreFixture.hpp"

namespace deftmapi::client::test
{

/// A text parameter of a call, which takes it as if it wrote to it.
inline mapi::LPTSTR W(const char16_t* text)
{
    return const_cast<char16_t*>(text);
}
inline mapi::LPTSTR A(const char* text)
{
    return const_cast<char*>(text);
}

class SessionTest : public ::testing::Test
{
protected:
    static constexpr ULONG Unicode = mapi::MAPI_UNICODE;
    /// What an application passes that names its profile.
    static constexpr ULONG Logon = mapi::MAPI_EXTENDED | mapi::MAPI_NEW_SESSION | Unicode;

    void SetUp() override
    {
        ASSERT_EQ(LiveBuffers(), 0u);
        ASSERT_EQ(LiveObjects(), 0u);
        ::setenv("DEFTMAPI_HOME", Home().c_str(), 1);
        ASSERT_EQ(MAPIInitialize(nullptr), mapi::S_OK);
    }
    void TearDown() override
    {
        MAPIUninitialize();
        ::unsetenv("DEFTMAPI_HOME");
        EXPECT_EQ(LiveObjects(), 0u) << "objects are left";
        EXPECT_EQ(LiveBuffers(), 0u) << "MAPI buffers are left";
    }

    [[nodiscard]] std::filesystem::path Home() const { return FFolder.Path() / "home"; }
    [[nodiscard]] static Ptr<mapi::IProfAdmin> Admin()
    {
        Ptr<mapi::IProfAdmin> admin;
        EXPECT_EQ(MAPIAdminProfiles(0, Out(admin)), mapi::S_OK);
        return admin;
    }
    static mapi::HRESULT Create(const char16_t* name, const char16_t* password = nullptr)
    {
        return Admin()->CreateProfile(W(name), W(password), 0, Unicode | mapi::MAPI_DEFAULT_SERVICES);
    }
    [[nodiscard]] static Ptr<mapi::IMAPISession> LogOnTo(const char16_t* profile)
    {
        Ptr<mapi::IMAPISession> session;
        EXPECT_EQ(MAPILogonEx(0, W(profile), nullptr, Logon, Out(session)), mapi::S_OK);
        return session;
    }
    [[nodiscard]] static mapi::HRESULT TryLogOn(const char16_t* profile, const char16_t* password, ULONG flags = Logon)
    {
        Ptr<mapi::IMAPISession> session;
        const auto hr = MAPILogonEx(0, W(profile), W(password), flags, Out(session));
        EXPECT_EQ(mapi::Succeeded(hr), static_cast<bool>(session));
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
    [[nodiscard]] static std::vector<StoreRow> Stores(mapi::IMAPISession& session)
    {
        Ptr<mapi::IMAPITable> table;
        EXPECT_EQ(session.GetMsgStoresTable(Unicode, Out(table)), mapi::S_OK);
        std::vector<StoreRow> stores;
        for (const Props& row : Rows(*table, {tag::EntryId, tag::DisplayName, tag::DefaultStore}))
            stores.push_back({std::get<Bytes>(row[0].data), WideAt(row, 1), NumberAt(row, 2) == 1});
        return stores;
    }
    [[nodiscard]] static Ptr<mapi::IMsgStore> OpenStore(mapi::IMAPISession& session, const Bytes& id,
                                                        ULONG flags = mapi::MDB_WRITE)
    {
        Ptr<mapi::IMsgStore> store;
        EXPECT_EQ(session.OpenMsgStore(0, static_cast<ULONG>(id.size()), AsEntry(id), nullptr, flags, Out(store)),
                  mapi::S_OK);
        return store;
    }
    /// "name" for each profile in the order of the table, the default one as "*name".
    [[nodiscard]] static std::vector<std::u16string> Names()
    {
        Ptr<mapi::IMAPITable> table;
        EXPECT_EQ(Admin()->GetProfileTable(Unicode, Out(table)), mapi::S_OK);
        std::vector<std::u16string> names;
        for (const Props& row : Rows(*table, {tag::DisplayName, tag::DefaultProfile}))
            names.push_back((NumberAt(row, 1) == 1 ? u"*" : u"") + WideAt(row, 0));
        return names;
    }

    TemporaryFolder FFolder;
};

} // namespace deftmapi::client::test
