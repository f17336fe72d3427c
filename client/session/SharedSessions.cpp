#include "client/session/SharedSessions.hpp"

#include <map>

namespace deftmapi::client
{
namespace
{

struct Registry
{
    std::mutex lock;
    std::map<std::filesystem::path, std::weak_ptr<SharedSession>> offered;
};

Registry& Offers()
{
    static Registry& registry = *new Registry; // for ever: a session in a global may end after the statics
    return registry;
}

/// Two spellings of one folder are one.
std::filesystem::path Key(const std::filesystem::path& home)
{
    return std::filesystem::weakly_canonical(home / "");
}

} // namespace

class SharedSession::EndListener final : public Listener
{
public:
    explicit EndListener(const void* member) : FMember(member) {}

    [[nodiscard]] const void* Member() const { return FMember; }
    void Tell() { FPending = true; }
    NotificationBatch Collect() noexcept override
    {
        NotificationBatch batch;
        if (FPending.exchange(false)) {
            mapi::NOTIFICATION end{};
            end.ulEventType = mapi::fnevExtended; // without parameters: the session ends
            batch.AddCopy(end);
        }
        return batch;
    }

private:
    const void* FMember;
    std::atomic<bool> FPending{false};
};

std::shared_ptr<Listener> SharedSession::NewListener(const void* member, ULONG mask)
{
    auto listener = std::make_shared<EndListener>(member);
    if ((mask & mapi::fnevExtended) == 0)
        return listener; // of what the others are told of there is nothing yet
    const std::lock_guard lock(FLock);
    std::erase_if(FListeners, [](const auto& known) { return known.expired(); });
    FListeners.push_back(listener);
    if (FEnded)
        listener->Tell();
    return listener;
}

void SharedSession::End(const void* member)
{
    {
        const std::lock_guard lock(FLock);
        FEnded = true;
        for (const auto& known : FListeners)
            if (const auto listener = known.lock(); listener && listener->Member() != member)
                listener->Tell();
    }
    Dispatcher::Instance().Wake();
}

SharedSessionPtr SharedSession::Find(const std::filesystem::path& home)
{
    Registry& registry = Offers();
    const std::lock_guard lock(registry.lock);
    const auto found = registry.offered.find(Key(home));
    SharedSessionPtr session = found != registry.offered.end() ? found->second.lock() : nullptr;
    return session && !session->FEnded ? session : nullptr;
}

void SharedSession::Offer(const std::filesystem::path& home, const SharedSessionPtr& session)
{
    Registry& registry = Offers();
    const std::lock_guard lock(registry.lock);
    std::weak_ptr<SharedSession>& offered = registry.offered[Key(home)];
    const SharedSessionPtr there = offered.lock();
    if (!there || there->FEnded)
        offered = session;
}

} // namespace deftmapi::client
