// Table notifications: asking for them, and handing each to the sinks.
//
// A sink may end the notifications, close the table or destroy it. Nothing here touches the table after a sink has been
// called without looking whether it is still there; the lock keeps other threads from destroying it meanwhile.
#include "mapi/table/TableNotify.hpp"

#include "mapi/core/ConnectSink.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPIPropValue.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIConstantsH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "mapi/headers/uKwMAPITableConstantsH.hpp"
#include "mapi/table/MAPISide.hpp"
#include "mapi/table/uKwMAPIMemoryTable.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi
{

namespace
{

constexpr auto sAlreadyAdvised = u"The table notification system has already been activated!";
constexpr auto sNoNotifications = u"The given table does not support notifications!";
constexpr auto sNoTableNotification = u"TKwMAPITable.OnNotify; ulEventType <> fnevTableModified";
constexpr auto unit = u"uKwMAPITable";

/// The bytes of a row's key. Clients use binary keys; a number counts with its bytes as they are.
TKwBytes KeyOf(const mapi::SPropValue& index)
{
    switch (mapi::PROP_TYPE(index.ulPropTag)) {
    case mapi::PT_BINARY:
        return KwPropValueToVariant(index).AsBytes();
    case mapi::PT_LONG:
    case mapi::PT_I8: {
        TKwBytes bytes(mapi::PROP_TYPE(index.ulPropTag) == mapi::PT_LONG ? sizeof index.Value.l
                                                                         : sizeof index.Value.li);
        std::memcpy(bytes.data(), std::addressof(index.Value), bytes.size());
        return bytes;
    }
    default:
        return {};
    }
}

/// The column behind the value at a place of a row. A value need not have the column's type: where a row lacks the
/// property it is an error, and of a multiple one it is a single value.
TEventColumn ColumnOf(const TEventColumns& columns, mapi::ULONG place, mapi::ULONG tag)
{
    const auto same = [tag](const TEventColumn& column) { return mapi::PROP_ID(column.Tag) == mapi::PROP_ID(tag); };
    auto column = columns.begin() + std::min<std::ptrdiff_t>(place, std::ssize(columns));
    if (column == columns.end() || !same(*column))
        column = std::find_if(columns.begin(), columns.end(), same);
    if (column == columns.end())
        return {&GetProp(tag, true), tag};
    return {column->Info, mapi::PROP_TYPE(tag) == mapi::PT_ERROR ? column->Tag : tag};
}

/// A memory table of one row. It has no owner: it is made on the client's thread and belongs to whoever keeps it.
TKwRef<TKwMAPIMemoryTable> TableOf(const mapi::SRow& row, const TEventColumns& columns)
{
    const auto table = KwMake<TKwMAPIMemoryTable>();
    const auto fields = table->Get_Fields();
    table->Insert();
    for (mapi::ULONG i = 0; row.lpProps != nullptr && i < row.cValues; ++i) {
        const mapi::SPropValue& value = row.lpProps[i];
        const TEventColumn column = ColumnOf(columns, i, value.ulPropTag);
        const auto field = dynamic_cast<TKwMAPITableFields&>(*fields).AddField(*column.Info, column.Tag);
        table->SetFieldValue(*field, KwPropValueToVariant(value));
    }
    table->SetModified(false);
    return table;
}

} // namespace

// ---- TAdviseSink

mapi::ULONG DEFTMAPI_STDCALL TKwMAPITable::TAdviseSink::OnNotify(mapi::ULONG count, mapi::LPNOTIFICATION notifications)
{
    const TKwComPtr<TAdviseSink> self(this);
    const std::lock_guard lock(FEvents->Lock);
    for (mapi::ULONG i = 0; i < count && IsConnected(); ++i) {
        // Nothing may be thrown through the client's code.
        try {
            FEvents->Table->OnNotify(1, &notifications[i]);
        } catch (...) {
            KwReportServerException(std::current_exception());
        }
    }
    return 0;
}

bool TKwMAPITable::TAdviseSink::IsConnected() const noexcept
{
    if (FEvents->Table == nullptr)
        return false;
    const std::lock_guard lock(FEvents->AdviseLock);
    return FEvents->Table->FAdviseSink.Get() == this;
}

// ---- Asking for notifications

void TKwMAPITable::Advise()
{
    const TKwComPtr<TAdviseSink> sink(new TAdviseSink(FEvents));
    {
        const std::lock_guard lock(FEvents->AdviseLock);
        if (FAdviseSink != nullptr)
            CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sAlreadyAdvised)->Raise();
        if (MAPITable() == nullptr)
            RaiseNoMAPIObject();
        FAdviseSink = sink;
    }
    mapi::ULONG_PTR connection = 0;
    const mapi::HRESULT hr = MAPITable()->Advise(mapi::fnevTableModified, sink.Get(), &connection);
    bool ended = false;
    {
        const std::lock_guard lock(FEvents->AdviseLock);
        ended = FAdviseSink != sink;
        if (!ended && mapi::Failed(hr))
            FAdviseSink = nullptr;
        else if (!ended)
            FConnection = connection;
    }
    if (hr == mapi::MAPI_E_NO_SUPPORT)
        CreateKwMAPIException(hr, sNoNotifications)->Raise();
    CheckMAPIResult(GetClassName(), u"Advise", hr, FMAPISide.Get());
    if (ended) // by a sink that was called before the client had answered
        CheckMAPIResult(GetClassName(), u"UnAdvise", MAPITable()->Unadvise(connection), FMAPISide.Get());
}

WordBool TKwMAPITable::Get_Advised() const noexcept
{
    const std::lock_guard lock(FEvents->AdviseLock);
    return FAdviseSink != nullptr;
}

mapi::HRESULT TKwMAPITable::EndAdvise()
{
    TKwComPtr<TAdviseSink> sink; // released when nothing is locked any more
    mapi::ULONG_PTR connection = 0;
    {
        const std::lock_guard lock(FEvents->AdviseLock);
        sink = std::exchange(FAdviseSink, nullptr); // from here on it hands on nothing
        connection = std::exchange(FConnection, 0);
    }
    FAdviseAgain = false;
    mapi::HRESULT hr = mapi::S_OK;
    if (connection != 0 && MAPITable() != nullptr)
        hr = MAPITable()->Unadvise(connection);
    // Not before: a client may wait in Unadvise for what it is delivering. A sink may still be running, also when it
    // has ended the notifications itself.
    const std::lock_guard wait(FEvents->Lock);
    return hr;
}

void TKwMAPITable::EndAdviseQuietly() noexcept
{
    try {
        CheckMAPIResult(GetClassName(), u"UnAdvise", EndAdvise(), FMAPISide.Get());
    } catch (...) {
        KwReportServerException(std::current_exception());
    }
}

void TKwMAPITable::UnAdvise()
{
    CheckMAPIResult(GetClassName(), u"UnAdvise", EndAdvise(), FMAPISide.Get());
}

void TKwMAPITable::BeforeDestruction() noexcept
{
    EndAdviseQuietly();
    {
        const std::lock_guard lock(FEvents->Lock);
        FEvents->Table = nullptr;
    }
    // The client may keep its sink, and with it the events, for longer: the application's sinks go now.
    FEvents->Sinks.DisconnectAll();
    TKwMAPITableBase::BeforeDestruction();
}

void TKwMAPITable::TellColumns()
{
    const std::vector<mapi::ULONG> tags = Fields().CreatePropTagArray();
    TEventColumns columns;
    for (std::int32_t i = 0; i < Fields().Get_Count(); ++i)
        columns.push_back({&GetPropInfo(Fields().Get_Item(i)->Get_PropDef()), tags[static_cast<std::size_t>(i) + 1]});
    const std::lock_guard lock(FEvents->AdviseLock);
    FEvents->Columns = std::move(columns);
}

void TKwMAPITable::DEventConnect(const TKwRef<IKwMAPITableDEvents>& sink, WordBool connect)
{
    KwConnectSink(FEvents->Sinks, sink, connect, GetClassName());
}

WordBool TKwMAPITable::HasDEventSinks() const
{
    return FEvents->Sinks.Count() != 0;
}

// ---- Handing them to the sinks

template <typename Call>
void TKwMAPITable::Dispatch(Call call)
{
    const std::shared_ptr<TEvents> events = FEvents;
    const std::lock_guard lock(events->Lock);
    events->Sinks.ForEach([&](IKwMAPITableDEvents& sink) {
        if (events->Table != nullptr) // a sink before may have destroyed it
            KwCallServerSink([&] { call(sink, *events->Table); });
    });
}

void TKwMAPITable::OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications)
{
    const std::shared_ptr<TEvents> events = FEvents;
    const std::lock_guard lock(events->Lock);
    for (mapi::ULONG i = 0; i < count && events->Table != nullptr; ++i) {
        KwAssert(notifications[i].ulEventType == mapi::fnevTableModified, sNoTableNotification, unit);
        events->Table->OnTableEvent(notifications[i].info.tab);
    }
}

void TKwMAPITable::OnTableEvent(const mapi::TABLE_NOTIFICATION& event)
{
    const auto columns = [this] {
        const std::lock_guard lock(FEvents->AdviseLock);
        return FEvents->Columns;
    };
    switch (event.ulTableEvent) {
    case mapi::TABLE_CHANGED:
        return DoChanged();
    case mapi::TABLE_ERROR:
        return DoError();
    case mapi::TABLE_ROW_ADDED:
        return DoRowAdded(KeyOf(event.propIndex), *TableOf(event.row, columns()));
    case mapi::TABLE_ROW_DELETED:
        return DoRowDeleted(KeyOf(event.propIndex), *TableOf(event.row, columns()));
    case mapi::TABLE_ROW_MODIFIED:
        return DoRowModified(KeyOf(event.propIndex), *TableOf(event.row, columns()));
    case mapi::TABLE_SORT_DONE:
        return DoSortDone();
    case mapi::TABLE_RESTRICT_DONE:
        return DoRestrictDone();
    case mapi::TABLE_SETCOL_DONE:
        return DoSetColDone();
    case mapi::TABLE_RELOAD:
        return DoReload();
    default:
        return;
    }
}

void TKwMAPITable::DoChanged()
{
    Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnChanged(table); });
}

void TKwMAPITable::DoError()
{
    Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnError(table); });
}

void TKwMAPITable::DoReload()
{
    Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnReload(table); });
}

void TKwMAPITable::DoRestrictDone()
{
    Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnRestrictDone(table); });
}

void TKwMAPITable::DoSetColDone()
{
    Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnSetColDone(table); });
}

void TKwMAPITable::DoSortDone()
{
    Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnSortDone(table); });
}

void TKwMAPITable::DoRowAdded(const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    Dispatch([&](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnRowAdded(table, key, row); });
}

void TKwMAPITable::DoRowModified(const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    Dispatch([&](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnRowModified(table, key, row); });
}

void TKwMAPITable::DoRowDeleted(const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    Dispatch([&](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnRowDeleted(table, key, row); });
}

void TKwMAPITable::DoClose()
{
    Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnClose(table); });
}

} // namespace deftmapi
