// The events of one table as functions. The table holds a sink of its own, which outlives the component by as long as a
// call is running.
#include "mapi/table/uKwMAPITableEvents.hpp"

#include "support/uKwComObj.hpp"

#include <mutex>

namespace deftmapi
{

class TKwMAPITableEvents::TSink final : public TKwAutoIntfObject, public virtual IKwMAPITableDEvents
{
public:
    explicit TSink(TKwMAPITableEvents& events) : FEvents(&events) {}

    void Detach() noexcept
    {
        const std::lock_guard lock(FLock);
        FEvents = nullptr;
    }

    void _OnChanged(IKwMAPITable& table) override { Pass(&TKwMAPITableEvents::_OnChanged, table); }
    void _OnError(IKwMAPITable& table) override { Pass(&TKwMAPITableEvents::_OnError, table); }
    void _OnReload(IKwMAPITable& table) override { Pass(&TKwMAPITableEvents::_OnReload, table); }
    void _OnRestrictDone(IKwMAPITable& table) override { Pass(&TKwMAPITableEvents::_OnRestrictDone, table); }
    void _OnSetColDone(IKwMAPITable& table) override { Pass(&TKwMAPITableEvents::_OnSetColDone, table); }
    void _OnSortDone(IKwMAPITable& table) override { Pass(&TKwMAPITableEvents::_OnSortDone, table); }
    void _OnClose(IKwMAPITable& table) override { Pass(&TKwMAPITableEvents::_OnClose, table); }
    void _OnRowAdded(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row) override
    {
        Pass(&TKwMAPITableEvents::_OnRowAdded, table, key, row);
    }
    void _OnRowDeleted(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row) override
    {
        Pass(&TKwMAPITableEvents::_OnRowDeleted, table, key, row);
    }
    void _OnRowModified(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row) override
    {
        Pass(&TKwMAPITableEvents::_OnRowModified, table, key, row);
    }

private:
    template <typename Method, typename... Args>
    void Pass(Method method, Args&... args)
    {
        const TKwRef<TSink> self(this);
        const std::lock_guard lock(FLock);
        if (FEvents != nullptr)
            (FEvents->*method)(args...);
    }

    std::recursive_mutex FLock; // a function may stop the events that it is called for
    TKwMAPITableEvents* FEvents;
};

namespace
{

/// Calls a copy: the function may destroy the object that holds it.
template <typename Event, typename... Args>
void Call(const Event& event, Args&... args)
{
    if (const Event copy = event)
        copy(args...);
}

} // namespace

TKwMAPITableEvents::TKwMAPITableEvents() = default;

TKwMAPITableEvents::~TKwMAPITableEvents()
{
    try {
        Stop();
    } catch (...) {
        KwReportServerException(std::current_exception());
    }
}

void TKwMAPITableEvents::Start(IKwMAPITable& table)
{
    const TKwRef<IKwMAPITable> held(&table); // Stop may drop the last reference on it
    Stop();
    const TKwRef<TSink> sink = KwMake<TSink>(*this);
    table.DEventConnect(sink, true);
    {
        const std::lock_guard lock(FLock);
        FTable = held;
        FSink = sink;
    }
    try {
        if (!table.Get_Advised())
            table.Advise();
    } catch (...) {
        Disconnect();
        throw;
    }
}

TKwRef<IKwMAPITable> TKwMAPITableEvents::Disconnect()
{
    TKwRef<TSink> sink;
    TKwRef<IKwMAPITable> table;
    {
        const std::lock_guard lock(FLock);
        sink = FSink;
        table = std::exchange(FTable, nullptr);
    }
    if (sink)
        sink->Detach(); // also when its function has stopped the events itself: it may still be running
    if (table)
        table->DEventConnect(sink, false);
    return table;
}

void TKwMAPITableEvents::Stop()
{
    const TKwRef<IKwMAPITable> table = Disconnect();
    if (table && !table->HasDEventSinks())
        table->UnAdvise();
}

bool TKwMAPITableEvents::GetActive() const
{
    const TKwRef<IKwMAPITable> table = Table();
    return table && table->Get_Advised();
}

TKwRef<IKwMAPIFolder> TKwMAPITableEvents::GetFolder() const
{
    const TKwRef<IKwMAPITable> table = Table();
    return table ? KwAs<IKwMAPIFolder>(table->Get_Owner()) : nullptr;
}

TKwRef<IKwMAPITable> TKwMAPITableEvents::Table() const
{
    const std::lock_guard lock(FLock);
    return FTable;
}

void TKwMAPITableEvents::_OnChanged(IKwMAPITable& table)
{
    Call(OnChanged, table);
}

void TKwMAPITableEvents::_OnError(IKwMAPITable& table)
{
    Call(OnError, table);
}

void TKwMAPITableEvents::_OnReload(IKwMAPITable& table)
{
    Call(OnReload, table);
}

void TKwMAPITableEvents::_OnRestrictDone(IKwMAPITable& table)
{
    Call(OnRestrictDone, table);
}

void TKwMAPITableEvents::_OnSetColDone(IKwMAPITable& table)
{
    Call(OnSetColDone, table);
}

void TKwMAPITableEvents::_OnSortDone(IKwMAPITable& table)
{
    Call(OnSortDone, table);
}

void TKwMAPITableEvents::_OnRowAdded(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    Call(OnRowAdded, table, key, row);
}

void TKwMAPITableEvents::_OnRowDeleted(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    Call(OnRowDeleted, table, key, row);
}

void TKwMAPITableEvents::_OnRowModified(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    Call(OnRowModified, table, key, row);
}

void TKwMAPITableEvents::_OnClose(IKwMAPITable& table)
{
    Call(OnClose, table);
}

} // namespace deftmapi
