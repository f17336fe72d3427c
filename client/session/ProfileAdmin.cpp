#include "client/session/ProfileAdmin.hpp"

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"
#include "client/session/ServiceAdmin.hpp"
#include "client/table/MemorySource.hpp"
#include "client/table/Table.hpp"

namespace deftmapi::client
{
namespace
{

class ProfileAdmin final : public ComObject<mapi::IProfAdmin>
{
public:
    explicit ProfileAdmin(ProfilesPtr profiles) : FProfiles(std::move(profiles)) {}

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override { return iid == mapi::IID_IProfAdmin; }
    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT code, ULONG flags,
                                                mapi::LPMAPIERROR* error) noexcept override
    {
        return FLast.Get(code, flags, error);
    }

    mapi::HRESULT DEFTMAPI_STDCALL GetProfileTable(ULONG flags, mapi::LPMAPITABLE* table) noexcept override
    {
        return Guard(FLast, [&] {
            Require(table, u"lppTable");
            *table = nullptr;
            RequireFlags(flags, mapi::MAPI_UNICODE);
            std::vector<Props> rows;
            for (const ProfileEntry& entry : FProfiles->List())
                rows.push_back(
                    {TextProp(tag::DisplayName, entry.name), LongProp(tag::DefaultProfile, entry.isDefault)});
            auto source = std::make_shared<MemorySource>(std::vector<ULONG>{tag::DisplayName, tag::DefaultProfile},
                                                         std::move(rows));
            const bool unicode = (flags & mapi::MAPI_UNICODE) != 0;
            *table = TKwComPtr<mapi::IMAPITable>(new Table(std::move(source), unicode)).Detach();
        });
    }

    mapi::HRESULT DEFTMAPI_STDCALL CreateProfile(mapi::LPTSTR name, mapi::LPTSTR password, mapi::ULONG_PTR,
                                                 ULONG flags) noexcept override
    {
        return Guard(FLast, [&] {
            Require(name, u"lpszProfileName");
            RequireFlags(flags, mapi::MAPI_DEFAULT_SERVICES | mapi::MAPI_DIALOG | mapi::MAPI_UNICODE);
            FProfiles->Create(TextParameter(name, flags), TextParameter(password, flags),
                              (flags & mapi::MAPI_DEFAULT_SERVICES) != 0);
        });
    }

    mapi::HRESULT DEFTMAPI_STDCALL DeleteProfile(mapi::LPTSTR name, ULONG flags) noexcept override
    {
        return Guard(FLast, [&] {
            Require(name, u"lpszProfileName");
            RequireFlags(flags, mapi::MAPI_UNICODE);
            FProfiles->Delete(TextParameter(name, flags));
        });
    }

    mapi::HRESULT DEFTMAPI_STDCALL ChangeProfilePassword(mapi::LPTSTR name, mapi::LPTSTR oldPassword,
                                                         mapi::LPTSTR newPassword, ULONG flags) noexcept override
    {
        return Guard(FLast, [&] {
            Require(name, u"lpszProfileName");
            RequireFlags(flags, mapi::MAPI_UNICODE);
            FProfiles->ChangePassword(TextParameter(name, flags), TextParameter(oldPassword, flags),
                                      TextParameter(newPassword, flags));
        });
    }

    mapi::HRESULT DEFTMAPI_STDCALL CopyProfile(mapi::LPTSTR name, mapi::LPTSTR password, mapi::LPTSTR newName,
                                               mapi::ULONG_PTR, ULONG flags) noexcept override
    {
        return Guard(FLast, [&] {
            Require(name, u"lpszOldProfileName");
            Require(newName, u"lpszNewProfileName");
            RequireFlags(flags, mapi::MAPI_DIALOG | mapi::MAPI_UNICODE);
            FProfiles->Copy(TextParameter(name, flags), TextParameter(password, flags), TextParameter(newName, flags));
        });
    }

    mapi::HRESULT DEFTMAPI_STDCALL RenameProfile(mapi::LPTSTR name, mapi::LPTSTR password, mapi::LPTSTR newName,
                                                 mapi::ULONG_PTR, ULONG flags) noexcept override
    {
        return Guard(FLast, [&] {
            Require(name, u"lpszOldProfileName");
            Require(newName, u"lpszNewProfileName");
            RequireFlags(flags, mapi::MAPI_DIALOG | mapi::MAPI_UNICODE);
            FProfiles->Rename(TextParameter(name, flags), TextParameter(password, flags),
                              TextParameter(newName, flags));
        });
    }

    mapi::HRESULT DEFTMAPI_STDCALL SetDefaultProfile(mapi::LPTSTR name, ULONG flags) noexcept override
    {
        return Guard(FLast, [&] {
            RequireFlags(flags, mapi::MAPI_UNICODE);
            FProfiles->SetDefault(TextParameter(name, flags)); // null: documented as "no default profile"
        });
    }

    mapi::HRESULT DEFTMAPI_STDCALL AdminServices(mapi::LPTSTR name, mapi::LPTSTR password, mapi::ULONG_PTR, ULONG flags,
                                                 mapi::LPSERVICEADMIN* admin) noexcept override
    {
        return Guard(FLast, [&] {
            Require(admin, u"lppServiceAdmin");
            *admin = nullptr;
            Require(name, u"lpszProfileName");
            RequireFlags(flags, mapi::MAPI_DIALOG | mapi::MAPI_SERVICE_UI_ALWAYS | mapi::MAPI_UNICODE);
            const ProfileId profile = FProfiles->LogOn(TextParameter(name, flags), TextParameter(password, flags));
            *admin = NewServiceAdmin(FProfiles, profile).Detach();
        });
    }

private:
    ProfilesPtr FProfiles;
    LastError FLast;
};

} // namespace

TKwComPtr<mapi::IProfAdmin> NewProfileAdmin(ProfilesPtr profiles)
{
    return {new ProfileAdmin(std::move(profiles))};
}

} // namespace deftmapi::client
