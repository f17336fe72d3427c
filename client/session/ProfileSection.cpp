#include "client/session/ProfileSection.hpp"

#include "client/session/DataFolder.hpp"
#include "client/store/PropertyObject.hpp"
#include "client/store/StoreObjects.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr auto sNoSection = u"The profile has no section of this identifier.";
constexpr ULONG ProfileName = 0x3D12001F;

constexpr ULONG OpenFlags = mapi::MAPI_MODIFY | mapi::MAPI_DEFERRED_ERRORS | mapi::MAPI_FORCE_ACCESS;

/// Streams on a section's values wait in the data folder.
class SectionHome final : public PropertyHome
{
public:
    [[nodiscard]] std::shared_ptr<Spool> NewSpool() const override { return std::make_shared<Spool>(DataFolder()); }
};

class ProfileSection final : public PropertyObject<mapi::IProfSect>
{
public:
    ProfileSection(ProfilesPtr profiles, ProfileId profile, const Uid& uid, bool writable)
        : PropertyObject(std::make_shared<SectionHome>(), writable), FProfiles(std::move(profiles)), FProfile(profile),
          FUid(uid)
    {}

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IProfSect || iid == mapi::IID_IMAPIProp;
    }
    [[nodiscard]] std::uint64_t ValueLimit() const override { return SectionValueLimit; }
    // One transaction for a stream, not one for each piece that is written.
    [[nodiscard]] bool WaitsForCommit() const override { return true; }

protected:
    void Refresh() override { FBag = FProfiles->Section(FProfile, FUid).value_or(PropertyBag()); }
    const PropertyBag& Read() override { return FBag; }
    PropertyBag& Write() override { return FBag; }
    void Changed(std::span<const ULONG> ids) override
    {
        // Only what was changed, and onto what is there now: another process may have changed the rest.
        Props changed;
        for (const ULONG id : ids)
            if (const Prop* prop = FBag.Find(id))
                changed.push_back(Materialize(*prop)); // settings are small: they lie in memory
        FProfiles->ChangeSection(FProfile, FUid, [&](PropertyBag& bag) {
            for (const ULONG id : ids)
                bag.Erase(id);
            for (Prop& prop : changed)
                bag.Set(std::move(prop));
        });
    }
    [[nodiscard]] std::optional<Prop> Computed(ULONG id) override
    {
        if (id == tag::ObjectType >> 16)
            return LongProp(tag::ObjectType, mapi::MAPI_PROFSECT);
        if (id == ProfileName >> 16 && FUid == GlobalSection)
            return TextProp(ProfileName, FProfiles->Name(FProfile));
        return std::nullopt;
    }
    [[nodiscard]] std::vector<ULONG> ComputedTags() const override { return {tag::ObjectType, ProfileName}; }
    [[nodiscard]] mapi::HRESULT CheckChange(ULONG tag, bool) override
    {
        return Computed(tag >> 16) ? mapi::MAPI_E_COMPUTED : mapi::S_OK;
    }

private:
    ProfilesPtr FProfiles;
    ProfileId FProfile;
    Uid FUid;
    PropertyBag FBag;
};

} // namespace

TKwComPtr<mapi::IProfSect> OpenSection(ProfilesPtr profiles, ProfileId profile, const mapi::MAPIUID* uid,
                                       mapi::LPCIID iid, ULONG flags)
{
    Require(uid, u"lpUID");
    RequireFlags(flags, OpenFlags);
    RequireInterface(iid, {&mapi::IID_IProfSect, &mapi::IID_IMAPIProp});
    const bool writable = (flags & mapi::MAPI_MODIFY) != 0;
    const auto services = profiles->Services(profile);
    const bool isKnown =
        *uid == GlobalSection || std::any_of(services.begin(), services.end(), [uid](const StoreService& service) {
            return service.service == *uid || service.provider == *uid;
        });
    if (!isKnown && !profiles->Section(profile, *uid)) {
        if (!writable)
            Fail(mapi::MAPI_E_NOT_FOUND, sNoSection);
        profiles->ChangeSection(profile, *uid, [](PropertyBag&) {});
    }
    return {new ProfileSection(std::move(profiles), profile, *uid, writable)};
}

} // namespace deftmapi::client
