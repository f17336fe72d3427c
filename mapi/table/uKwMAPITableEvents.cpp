// The events of one table as functions. The table holds a sink of its own, which outlives the component by as long as a
// call is running.
#include "mapi/table/uKwMAPITableEvents.hpp"

#include "mapi/core/FunctionSink.hpp"

namespace deftmapi
{

class TKwMAPITableEvents::TSink final : public TKwFunctionSink<TKwMAPITableEvents, IKwMAPITableDEvents>
{
public:
    using TKwFunctionSink::TKwFunctionSink;

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
};

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
    KwCallFunction(OnChanged, table);
}

void TKwMAPITableEvents::_OnError(IKwMAPITable& table)
{
    KwCallFunction(OnError, table);
}

void TKwMAPITableEvents::_OnReload(IKwMAPITable& table)
{
    KwCallFunction(OnReload, table);
}

void TKwMAPITableEvents::_OnRestrictDone(IKwMAPITable& table)
{
    KwCallFunction(OnRestrictDone, table);
}

void TKwMAPITableEvents::_OnSetColDone(IKwMAPITable& table)
{
    KwCallFunction(OnSetColDone, table);
}

void TKwMAPITableEvents::_OnSortDone(IKwMAPITable& table)
{
    KwCallFunction(OnSortDone, table);
}

void TKwMAPITableEvents::_OnRowAdded(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    KwCallFunction(OnRowAdded, table, key, row);
}

void TKwMAPITableEvents::_OnRowDeleted(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    KwCallFunction(OnRowDeleted, table, key, row);
}

void TKwMAPITableEvents::_OnRowModified(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    KwCallFunction(OnRowModified, table, key, row);
}

void TKwMAPITableEvents::_OnClose(IKwMAPITable& table)
{
    KwCallFunction(OnClose, table);
}

} // namespace deftmapi
