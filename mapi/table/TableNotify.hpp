// What stands between the client's notifications and the sinks of a table.
#pragma once

#include "mapi/core/ComObject.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"
#include "mapi/table/uKwMAPITable.hpp"

#include <mutex>
#include <vector>

namespace deftmapi
{

/// What the rows of events are read by: definitions and tags of a table's columns, in their order.
struct TEventColumn
{
    const TKwMAPIPropInfo* Info; // owned by the registry
    mapi::ULONG Tag;
};
using TEventColumns = std::vector<TEventColumn>;

/// The sinks of a table. It outlives the table while a notification is being delivered, so that a sink may destroy the
/// table.
struct TKwMAPITable::TEvents
{
    explicit TEvents(TKwMAPITable& table) : Table(&table) {}

    std::recursive_mutex Lock; ///< held while sinks are called, which may call back
    TKwMAPITable* Table;       ///< null once it is destroyed; under Lock
    std::mutex
        AdviseLock; ///< for what Advise keeps, as a sink may end notifications; not held during calls of the client
    TEventColumns Columns; ///< as last set on the MAPI table; under AdviseLock
    TKwEventConnections<IKwMAPITableDEvents> Sinks;
};

/// The object that the client calls. The client may keep it and call it after the table has ended its notifications or
/// is gone: nothing happens then.
/// Threads: called on any thread of the client.
class TKwMAPITable::TAdviseSink final : public TKwComObject<mapi::IMAPIAdviseSink, mapi::IID_IMAPIAdviseSink>
{
public:
    explicit TAdviseSink(std::shared_ptr<TEvents> events) : FEvents(std::move(events)) {}

    mapi::ULONG DEFTMAPI_STDCALL OnNotify(mapi::ULONG count, mapi::LPNOTIFICATION notifications) override;

private:
    /// Whether the table lives and still has this as its sink. REQUIRES: the events are locked.
    [[nodiscard]] bool IsConnected() const noexcept;

    const std::shared_ptr<TEvents> FEvents;
};

} // namespace deftmapi
