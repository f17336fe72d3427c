// What stands between the client's notifications and the sinks of a store.
#pragma once

#include "mapi/core/ComObject.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"

#include <mutex>

namespace deftmapi
{

/// The sinks of a store. They outlive the store while a notification is being delivered, so that a sink may destroy the
/// store, and nobody needs a reference that would make the client's thread destroy it.
struct TKwMAPIMsgStore::TEvents
{
    explicit TEvents(TKwMAPIMsgStore& store) : Store(&store) {}

    std::recursive_mutex Lock; ///< held while sinks are called, which may call back
    TKwMAPIMsgStore* Store;    ///< null once it is being destroyed; under Lock
    std::mutex AdviseLock;     ///< for what Advise keeps; not held during calls of the client
    TKwEventConnections<IKwMAPIMsgStoreDEvents> Sinks;
};

/// The object that the client calls. The client may keep it and call it after the store has ended its notifications or
/// is gone: nothing happens then.
/// Threads: called on any thread of the client.
class TKwMAPIMsgStore::TSink final : public TKwComObject<mapi::IMAPIAdviseSink, mapi::IID_IMAPIAdviseSink>
{
public:
    explicit TSink(std::shared_ptr<TEvents> events) : FEvents(std::move(events)) {}

    mapi::ULONG DEFTMAPI_STDCALL OnNotify(mapi::ULONG count, mapi::LPNOTIFICATION notifications) override;

private:
    ~TSink() override = default;
    /// Whether the store lives and still has this as its sink. REQUIRES: the events are locked.
    [[nodiscard]] bool IsConnected() const;

    const std::shared_ptr<TEvents> FEvents;
};

} // namespace deftmapi
