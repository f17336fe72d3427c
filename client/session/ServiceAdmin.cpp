#include "client/session/ServiceAdmin.hpp"

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"
#include "client/session/ProfileSection.hpp"
#include "client/table/MemorySource.hpp"
#include "client/table/Table.hpp"

#include <cstring>

namespace deftmapi::client
{
namespace
{

constexpr auto sUnknownService = u"There is no message service of this name; the one that there is is DEFTSTORE.";
constexpr auto sNoCopy = u"Message services are not copied; copy the profile.";
constexpr auto sNoRename = u"Message services are not renamed.";
constexpr auto sNoTransports = u"There are no transports whose order could be set.";
constexpr auto sNoService = u"The profile has no message service of this identifier.";
constexpr auto sNoProvider = u"The message service has no provider of this identifier.";
constexpr auto sFixedProviders = u"A message service has the one provider that it comes with.";
constexpr auto sNoPersonalFolders =
    u"Personal-folders files (.pst) cannot be opened by this client; import their messages as .eml or .msg files.";
constexpr auto sNoIdentity = u"No message service supplies an identity.";

constexpr auto PersonalFolders = u"MSPST MS";

constexpr ULONG PstPath = 0x6700001F;
constexpr ULONG ProviderOrdinal = 0x300D0003;

constexpr ULONG ServiceColumns[] = {tag::InstanceKey, tag::RowId,      tag::DisplayName,
                                    tag::ServiceName, tag::ServiceUid, tag::ResourceFlags};
constexpr ULONG ProviderColumns[] = {tag::InstanceKey,   tag::RowId,       tag::DisplayName, tag::ProviderDisplay,
                                     tag::ProviderUid,   ProviderOrdinal,  tag::ServiceName, tag::ServiceUid,
                                     tag::ResourceFlags, tag::ResourceType};

constexpr ULONG DialogFlags =
    mapi::SERVICE_UI_ALWAYS | mapi::SERVICE_UI_ALLOWED | mapi::MSG_SERVICE_UI_READ_ONLY | mapi::MAPI_UNICODE;

class ServiceAdmin final : public ComObject<mapi::IMsgServiceAdmin2>
{
public:
    ServiceAdmin(ProfilesPtr profiles, ProfileId profile) : FProfiles(std::move(profiles)), FProfile(profile) {}

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMsgServiceAdmin || iid == mapi::IID_IMsgServiceAdmin2;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT code, ULONG flags,
                                                mapi::LPMAPIERROR* error) noexcept override
    {
        return FLast.Get(code, flags, error);
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetMsgServiceTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateMsgService(mapi::LPTSTR service, mapi::LPTSTR displayName,
                                                    mapi::ULONG_PTR window, ULONG flags) noexcept override
    {
        return CreateMsgServiceEx(service, displayName, window, flags, nullptr);
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteMsgService(mapi::LPMAPIUID uid) noexcept override
    {
        return Guard(FLast, [&] {
            Require(uid, u"lpUID");
            FProfiles->DeleteService(FProfile, *uid);
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL CopyMsgService(mapi::LPMAPIUID, mapi::LPTSTR, mapi::LPCIID, mapi::LPCIID,
                                                  mapi::LPVOID, mapi::ULONG_PTR, ULONG) noexcept override
    {
        return NoSupport(sNoCopy);
    }
    mapi::HRESULT DEFTMAPI_STDCALL RenameMsgService(mapi::LPMAPIUID, ULONG, mapi::LPTSTR) noexcept override
    {
        return NoSupport(sNoRename);
    }
    mapi::HRESULT DEFTMAPI_STDCALL ConfigureMsgService(mapi::LPMAPIUID uid, mapi::ULONG_PTR, ULONG flags, ULONG count,
                                                       mapi::LPSPropValue props) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenProfileSection(mapi::LPMAPIUID uid, mapi::LPCIID iid, ULONG flags,
                                                      mapi::LPPROFSECT* section) noexcept override
    {
        return Guard(FLast, [&] {
            Require(section, u"lppProfSect");
            *section = nullptr;
            *section = OpenSection(FProfiles, FProfile, uid, iid, flags).Detach();
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL MsgServiceTransportOrder(ULONG, mapi::LPMAPIUID, ULONG) noexcept override
    {
        return NoSupport(sNoTransports);
    }
    mapi::HRESULT DEFTMAPI_STDCALL AdminProviders(mapi::LPMAPIUID uid, ULONG flags,
                                                  mapi::LPPROVIDERADMIN* admin) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetPrimaryIdentity(mapi::LPMAPIUID, ULONG) noexcept override
    {
        return NoSupport(sNoIdentity);
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetProviderTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateMsgServiceEx(mapi::LPTSTR service, mapi::LPTSTR displayName, mapi::ULONG_PTR,
                                                      ULONG flags, mapi::LPMAPIUID uid) noexcept override;

private:
    mapi::HRESULT NoSupport(WideView text) noexcept
    {
        return Guard(FLast, [&] { Fail(mapi::MAPI_E_NO_SUPPORT, text); });
    }

    ProfilesPtr FProfiles;
    ProfileId FProfile;
    LastError FLast;
};

/// What a row of either table begins with.
Props StartRow(const StoreService& service, std::size_t number)
{
    const auto* raw = reinterpret_cast<const std::uint8_t*>(&service.row);
    return {BinaryProp(tag::InstanceKey, Bytes(raw, raw + sizeof service.row)),
            LongProp(tag::RowId, static_cast<std::int64_t>(number)), TextProp(tag::ServiceName, StoreServiceName),
            BinaryProp(tag::ServiceUid, ToBytes(service.service))};
}

void Return(std::span<const ULONG> columns, std::vector<Props> rows, ULONG flags, mapi::LPMAPITABLE* table)
{
    auto source = std::make_shared<MemorySource>(std::vector<ULONG>(columns.begin(), columns.end()), std::move(rows));
    const bool unicode = (flags & mapi::MAPI_UNICODE) != 0;
    *table = TKwComPtr<mapi::IMAPITable>(new Table(std::move(source), unicode)).Detach();
}

void ReturnProviders(const std::vector<StoreService>& services, ULONG flags, mapi::LPMAPITABLE* table)
{
    std::vector<Props> rows;
    for (const StoreService& service : services) {
        Props row = StartRow(service, rows.size());
        row.push_back(TextProp(tag::DisplayName, service.store ? service.store->displayName : service.displayName));
        row.push_back(TextProp(tag::ProviderDisplay, StoreServiceDisplay));
        row.push_back(BinaryProp(tag::ProviderUid, ToBytes(service.provider)));
        row.push_back(LongProp(ProviderOrdinal, static_cast<std::int64_t>(rows.size())));
        row.push_back(LongProp(tag::ResourceFlags, mapi::STATUS_NO_PRIMARY_IDENTITY |
                                                       (service.isDefault ? mapi::STATUS_DEFAULT_STORE : 0)));
        row.push_back(LongProp(tag::ResourceType, mapi::MAPI_STORE_PROVIDER));
        rows.push_back(std::move(row));
    }
    Return(ProviderColumns, std::move(rows), flags, table);
}

/// The provider of one service.
class ProviderAdmin final : public ComObject<mapi::IProviderAdmin>
{
public:
    /// @throws Failure  MAPI_E_NOT_FOUND no such service
    ProviderAdmin(ProfilesPtr profiles, ProfileId profile, const Uid& service)
        : FProfiles(std::move(profiles)), FProfile(profile), FService(service)
    {
        static_cast<void>(Service());
    }

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IProviderAdmin;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT code, ULONG flags,
                                                mapi::LPMAPIERROR* error) noexcept override
    {
        return FLast.Get(code, flags, error);
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetProviderTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override
    {
        return Guard(FLast, [&] {
            Require(table, u"lppTable");
            *table = nullptr;
            RequireFlags(flags, mapi::MAPI_UNICODE);
            ReturnProviders({Service()}, flags, table);
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL CreateProvider(mapi::LPTSTR, ULONG, mapi::LPSPropValue, mapi::ULONG_PTR, ULONG,
                                                  mapi::MAPIUID*) noexcept override
    {
        return Guard(FLast, [] { Fail(mapi::MAPI_E_NO_SUPPORT, sFixedProviders); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteProvider(mapi::LPMAPIUID) noexcept override
    {
        return Guard(FLast, [] { Fail(mapi::MAPI_E_NO_SUPPORT, sFixedProviders); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenProfileSection(mapi::LPMAPIUID uid, mapi::LPCIID iid, ULONG flags,
                                                      mapi::LPPROFSECT* section) noexcept override
    {
        return Guard(FLast, [&] {
            Require(section, u"lppProfSect");
            *section = nullptr;
            Require(uid, u"lpUID");
            const StoreService service = Service();
            if (*uid != service.provider && *uid != service.service)
                Fail(mapi::MAPI_E_NOT_FOUND, sNoProvider);
            *section = OpenSection(FProfiles, FProfile, uid, iid, flags).Detach();
        });
    }

private:
    [[nodiscard]] StoreService Service()
    {
        for (StoreService& service : FProfiles->Services(FProfile))
            if (service.service == FService)
                return std::move(service);
        Fail(mapi::MAPI_E_NOT_FOUND, sNoService);
    }

    ProfilesPtr FProfiles;
    ProfileId FProfile;
    Uid FService;
    LastError FLast;
};

mapi::HRESULT ServiceAdmin::GetMsgServiceTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept
{
    return Guard(FLast, [&] {
        Require(table, u"lppTable");
        *table = nullptr;
        RequireFlags(flags, mapi::MAPI_UNICODE);
        std::vector<Props> rows;
        for (const StoreService& service : FProfiles->Services(FProfile)) {
            Props row = StartRow(service, rows.size());
            row.push_back(TextProp(tag::DisplayName, service.displayName));
            row.push_back(LongProp(tag::ResourceFlags, mapi::SERVICE_NO_PRIMARY_IDENTITY |
                                                           (service.isDefault ? mapi::SERVICE_DEFAULT_STORE : 0)));
            rows.push_back(std::move(row));
        }
        Return(ServiceColumns, std::move(rows), flags, table);
    });
}

mapi::HRESULT ServiceAdmin::GetProviderTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept
{
    return Guard(FLast, [&] {
        Require(table, u"lppTable");
        *table = nullptr;
        RequireFlags(flags, mapi::MAPI_UNICODE);
        ReturnProviders(FProfiles->Services(FProfile), flags, table);
    });
}

mapi::HRESULT ServiceAdmin::AdminProviders(mapi::LPMAPIUID uid, ULONG flags, mapi::LPPROVIDERADMIN* admin) noexcept
{
    return Guard(FLast, [&] {
        Require(admin, u"lppProviderAdmin");
        *admin = nullptr;
        Require(uid, u"lpUID");
        RequireFlags(flags, mapi::MAPI_UNICODE);
        TKwComPtr<mapi::IProviderAdmin> providers(new ProviderAdmin(FProfiles, FProfile, *uid));
        *admin = providers.Detach();
    });
}

mapi::HRESULT ServiceAdmin::CreateMsgServiceEx(mapi::LPTSTR service, mapi::LPTSTR displayName, mapi::ULONG_PTR,
                                               ULONG flags, mapi::LPMAPIUID uid) noexcept
{
    return Guard(FLast, [&] {
        Require(service, u"lpszService");
        RequireFlags(flags, DialogFlags);
        if (KwSameText(TextParameter(service, flags), PersonalFolders))
            Fail(mapi::MAPI_E_EXTENDED_ERROR, sNoPersonalFolders); // the code by which callers ask for the text
        if (!KwSameText(TextParameter(service, flags), StoreServiceName))
            Fail(mapi::MAPI_E_NOT_FOUND, sUnknownService);
        const WideString name = TextParameter(displayName, flags);
        const Uid created = FProfiles->AddService(FProfile, name.empty() ? StoreServiceDisplay : name);
        if (uid)
            *uid = created;
    });
}

mapi::HRESULT ServiceAdmin::ConfigureMsgService(mapi::LPMAPIUID uid, mapi::ULONG_PTR, ULONG flags, ULONG count,
                                                mapi::LPSPropValue props) noexcept
{
    return Guard(FLast, [&] {
        Require(uid, u"lpUID");
        RequireFlags(flags, DialogFlags);
        if (count)
            Require(props, u"lpProps");
        WideString place;
        WideString name;
        for (const mapi::SPropValue& value : std::span(props, count)) {
            // Properties that the service does not know are those of other services: they are passed over, as
            // documented.
            const bool isPath = WideTag(value.ulPropTag) == PstPath;
            if (isPath || WideTag(value.ulPropTag) == tag::DisplayName)
                (isPath ? place : name) = std::get<WideString>(FromInterface(value).data);
        }
        FProfiles->SetStore(FProfile, *uid, place, name);
    });
}

} // namespace

TKwComPtr<mapi::IMsgServiceAdmin> NewServiceAdmin(ProfilesPtr profiles, ProfileId profile)
{
    return {new ServiceAdmin(std::move(profiles), profile)};
}

} // namespace deftmapi::client
