// Sessions that others join, and how all of them are told that one has ended the session for all.
#pragma once

#include "client/notify/Dispatcher.hpp"
#include "client/session/Profiles.hpp"

namespace deftmapi::client
{

/// A session that was logged on with MAPI_ALLOW_OTHERS, and those that joined it. A COM pointer does not cross
/// processes, so a session is shared within one process.
class SharedSession
{
public:
    SharedSession(ProfilesPtr profiles, ProfileId profile, WideString name, std::vector<StoreService> services)
        : FProfiles(std::move(profiles)), FProfile(profile), FName(std::move(name)), FServices(std::move(services))
    {}

    [[nodiscard]] const ProfilesPtr& ProfilesOf() const { return FProfiles; }
    [[nodiscard]] ProfileId Profile() const { return FProfile; }
    /// The profile's name at the logon.
    [[nodiscard]] const WideString& Name() const { return FName; }
    /// The profile's services at the logon.
    [[nodiscard]] const std::vector<StoreService>& ServicesAtLogon() const { return FServices; }

    /// What a member's connection listens to; told at once when the session has ended already.
    /// @param member  who listens; he is not told of his own end
    /// @param mask    the events of the connection
    [[nodiscard]] std::shared_ptr<Listener> NewListener(const void* member, ULONG mask);
    /// The member ends the session for all: the others are told (fnevExtended), nobody joins any more.
    void End(const void* member);

    /// The session that can be joined in a data folder, or null.
    [[nodiscard]] static std::shared_ptr<SharedSession> Find(const std::filesystem::path& home);
    /// Lets others join a session, unless there is one that can be joined already. It is forgotten with its last
    /// member.
    static void Offer(const std::filesystem::path& home, const std::shared_ptr<SharedSession>& session);

private:
    class EndListener;

    ProfilesPtr FProfiles;
    ProfileId FProfile;
    WideString FName;
    std::vector<StoreService> FServices;
    std::mutex FLock;
    std::vector<std::weak_ptr<EndListener>> FListeners;
    std::atomic<bool> FEnded{false};
};
using SharedSessionPtr = std::shared_ptr<SharedSession>;

} // namespace deftmapi::client
