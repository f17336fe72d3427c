#include "client/session/Status.hpp"

#include "client/session/DataFolder.hpp"
#include "client/store/PropertyObject.hpp"
#include "client/store/StoreObjects.hpp"

namespace deftmapi::client
{
namespace
{

constexpr auto sNoResource = u"The session has no resource of this entry identifier.";
constexpr auto sNoSettings = u"The resource has no settings to show.";
constexpr auto sNoPassword = u"The resource has no password.";
constexpr auto sNoQueues = u"The resource has no queues; the spooler has.";
constexpr auto sComponent = u"Deft MAPI";
constexpr auto sSpooler = u"Deft MAPI spooler";
constexpr auto sAvailable = u"Available";

constexpr ULONG ResourceMethods = 0x3E020003;
constexpr ULONG StatusCode = 0x3E040003;
constexpr ULONG StatusString = 0x3E08001F;
constexpr ULONG ProviderDllName = 0x300A001F;

constexpr std::int64_t StatusAvailable = 1; // STATUS_AVAILABLE

constexpr ULONG FlushFlags =
    mapi::FLUSH_UPLOAD | mapi::FLUSH_DOWNLOAD | mapi::FLUSH_FORCE | mapi::FLUSH_NO_UI | mapi::FLUSH_ASYNC_OK;

// Keys of the rows that no service stands for.
constexpr std::int64_t SubsystemKey = -2;
constexpr std::int64_t SpoolerKey = -1;

Props Row(std::size_t number, std::int64_t key, const EntryReference& entry, const WideString& name,
          const WideString& provider, std::int64_t methods, std::int64_t resourceFlags)
{
    const Bytes id = MakeEntryId(entry);
    const auto* raw = reinterpret_cast<const std::uint8_t*>(&key);
    return {BinaryProp(tag::InstanceKey, Bytes(raw, raw + sizeof key)),
            LongProp(tag::RowId, static_cast<std::int64_t>(number)),
            BinaryProp(tag::EntryId, id),
            LongProp(tag::ObjectType, mapi::MAPI_STATUS),
            TextProp(tag::DisplayName, name),
            TextProp(tag::ProviderDisplay, provider),
            TextProp(ProviderDllName, u""),
            LongProp(tag::ResourceType, entry.row),
            LongProp(tag::ResourceFlags, resourceFlags),
            LongProp(ResourceMethods, methods),
            LongProp(StatusCode, StatusAvailable),
            TextProp(StatusString, sAvailable)};
}

EntryReference Resource(std::int64_t type, const Uid& store = {})
{
    return {store, EntryKind::Status, type};
}

class StatusHome final : public PropertyHome
{
public:
    [[nodiscard]] std::shared_ptr<Spool> NewSpool() const override { return std::make_shared<Spool>(DataFolder()); }
};

class Status final : public PropertyObject<mapi::IMAPIStatus>
{
public:
    Status(const Props& row, std::int64_t type) : PropertyObject(std::make_shared<StatusHome>(), false), FType(type)
    {
        for (const Prop& prop : row)
            FBag.Set(prop);
    }

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMAPIStatus || iid == mapi::IID_IMAPIProp;
    }
    mapi::HRESULT DEFTMAPI_STDCALL ValidateState(mapi::ULONG_PTR, ULONG) noexcept override
    {
        return Run([] {}); // what the table says is what it is: nothing here goes out of service
    }
    mapi::HRESULT DEFTMAPI_STDCALL SettingsDialog(mapi::ULONG_PTR, ULONG) noexcept override
    {
        return Run([] { Fail(mapi::MAPI_E_NO_SUPPORT, sNoSettings); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL ChangePassword(mapi::LPTSTR, mapi::LPTSTR, ULONG) noexcept override
    {
        return Run([] { Fail(mapi::MAPI_E_NO_SUPPORT, sNoPassword); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL FlushQueues(mapi::ULONG_PTR, ULONG, mapi::LPENTRYID, ULONG flags) noexcept override
    {
        return Run([&] {
            if (FType != mapi::MAPI_SPOOLER)
                Fail(mapi::MAPI_E_NO_SUPPORT, sNoQueues);
            RequireFlags(flags, FlushFlags);
        });
    }

protected:
    const PropertyBag& Read() override { return FBag; }
    PropertyBag& Write() override { return FBag; }
    void Changed(std::span<const ULONG>) override {} // never: the object is opened for reading only

private:
    std::int64_t FType;
    PropertyBag FBag;
};

} // namespace

std::vector<ULONG> StatusColumns()
{
    std::vector<ULONG> columns;
    for (const Prop& prop : Row(0, 0, {}, {}, {}, 0, 0))
        columns.push_back(prop.tag);
    return columns;
}

std::vector<Props> StatusRows(const WideString& profile, const std::vector<StoreService>& services)
{
    std::vector<Props> rows;
    rows.push_back(
        Row(0, SubsystemKey, Resource(mapi::MAPI_SUBSYSTEM), profile, sComponent, mapi::STATUS_VALIDATE_STATE, 0));
    rows.push_back(Row(1, SpoolerKey, Resource(mapi::MAPI_SPOOLER), sSpooler, sComponent,
                       mapi::STATUS_VALIDATE_STATE | mapi::STATUS_FLUSH_QUEUES, 0));
    for (const StoreService& service : services) {
        if (!service.store)
            continue;
        const std::int64_t flags =
            mapi::STATUS_NO_PRIMARY_IDENTITY | (service.isDefault ? mapi::STATUS_DEFAULT_STORE : 0);
        rows.push_back(Row(rows.size(), service.row, Resource(mapi::MAPI_STORE_PROVIDER, service.store->uid),
                           service.store->displayName, StoreServiceDisplay, mapi::STATUS_VALIDATE_STATE, flags));
    }
    return rows;
}

TKwComPtr<mapi::IUnknown> OpenStatus(const WideString& profile, const std::vector<StoreService>& services,
                                     const EntryReference& entry, mapi::LPCIID iid)
{
    RequireInterface(iid, {&mapi::IID_IMAPIStatus, &mapi::IID_IMAPIProp});
    const Bytes id = MakeEntryId(entry);
    for (const Props& row : StatusRows(profile, services)) {
        for (const Prop& prop : row)
            if (prop.tag == tag::EntryId && std::get<Bytes>(prop.data) == id)
                return {static_cast<mapi::IMAPIStatus*>(new Status(row, entry.row))};
    }
    Fail(mapi::MAPI_E_NOT_FOUND, sNoResource);
}

} // namespace deftmapi::client
