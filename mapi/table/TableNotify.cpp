// Table notifications: asking for them, and handing each to the sinks.
//
// A sink may end the notifications, close the table or destroy it. Nothing here touches the table after a sink has been
// called without looking whether it is still there; the lock keeps other threads from destroying it meanwhile.
#include "mapi/table/TableNotify.hpp"

#include "mapi/core/Advised.hpp"
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
TEventColumn ColumnOf(const std::vector<TEventColumn>& columns, mapi::ULONG place, mapi::ULONG tag)
{
    const auto same = [tag](const TEventColumn& column) { return mapi::PROP_ID(column.Tag) == mapi::PROP_ID(tag); };
    auto column = columns.begin() + std::min<std::ptrdiff_t>(place, std::ssize(columns));
    if (column == columns.end() || !same(*column))
        column = std::find_if(columns.begin(), columns.end(), same);
    if (column == columns.end())
        return {&GetProp(tag, true), tag};
    return {column->Info, mapi::PROP_TYPE(tag) == mapi::PT_ERROR ? column->Tag : tag};
}

} // namespace

TKwRef<TKwMAPIMemoryTable> TKwMAPITable::TEventColumns::TableOf(const mapi::SRow& row) const
{
    const std::vector<TEventColumn> columns = Get();
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

// ---- Asking for notifications

void TKwMAPITable::Advise()
{
    if (MAPITable() == nullptr && !Get_Advised())
        RaiseNoMAPIObject();
    const auto answer = FAdvised->Advise([this](mapi::IMAPIAdviseSink* sink, mapi::ULONG_PTR* connection) {
        return MAPITable()->Advise(mapi::fnevTableModified, sink, connection);
    });
    if (!answer)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sAlreadyAdvised)->Raise();
    if (answer->Ended && answer->Connection != 0)
        CheckMAPIResult(GetClassName(), u"UnAdvise", EndConnection(answer->Connection), FMAPISide.Get());
    if (answer->Result == mapi::MAPI_E_NO_SUPPORT)
        CreateKwMAPIException(answer->Result, sNoNotifications)->Raise();
    try {
        CheckMAPIResult(GetClassName(), u"Advise", answer->Result, FMAPISide.Get());
    } catch (...) {
        if (!answer->Ended && !mapi::Failed(answer->Result))
            EndAdviseQuietly(); // a warning came with a connection
        throw;
    }
}

mapi::HRESULT TKwMAPITable::EndConnection(mapi::ULONG_PTR connection)
{
    return MAPITable() != nullptr ? MAPITable()->Unadvise(connection) : mapi::S_OK;
}

WordBool TKwMAPITable::Get_Advised() const noexcept
{
    return FAdvised->IsAdvised();
}

mapi::HRESULT TKwMAPITable::EndAdvise()
{
    FAdviseAgain = false;
    return FAdvised->End([this](mapi::ULONG_PTR connection) { return EndConnection(connection); });
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
    FAdvised->Forget();
    TKwMAPITableBase::BeforeDestruction();
}

void TKwMAPITable::TellColumns()
{
    const std::vector<mapi::ULONG> tags = Fields().CreatePropTagArray();
    std::vector<TEventColumn> columns;
    for (std::int32_t i = 0; i < Fields().Get_Count(); ++i)
        columns.push_back({&GetPropInfo(Fields().Get_Item(i)->Get_PropDef()), tags[static_cast<std::size_t>(i) + 1]});
    FEventColumns->Set(std::move(columns));
}

void TKwMAPITable::DEventConnect(const TKwRef<IKwMAPITableDEvents>& sink, WordBool connect)
{
    KwConnectSink(FAdvised->Sinks, sink, connect, GetClassName());
}

WordBool TKwMAPITable::HasDEventSinks() const
{
    return FAdvised->Sinks.Count() != 0;
}

// ---- Handing them to the sinks

void TKwMAPITable::OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications)
{
    FAdvised->ForEach(count, notifications, [](TKwMAPITable& table, const mapi::NOTIFICATION& told) {
        KwAssert(told.ulEventType == mapi::fnevTableModified, sNoTableNotification, unit);
        table.OnTableEvent(told.info.tab);
    });
}

void TKwMAPITable::OnTableEvent(const mapi::TABLE_NOTIFICATION& event)
{
    switch (event.ulTableEvent) {
    case mapi::TABLE_CHANGED:
        return DoChanged();
    case mapi::TABLE_ERROR:
        return DoError();
    case mapi::TABLE_ROW_ADDED:
        return DoRowAdded(KeyOf(event.propIndex), *FEventColumns->TableOf(event.row));
    case mapi::TABLE_ROW_DELETED:
        return DoRowDeleted(KeyOf(event.propIndex), *FEventColumns->TableOf(event.row));
    case mapi::TABLE_ROW_MODIFIED:
        return DoRowModified(KeyOf(event.propIndex), *FEventColumns->TableOf(event.row));
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
    FAdvised->Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnChanged(table); });
}

void TKwMAPITable::DoError()
{
    FAdvised->Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnError(table); });
}

void TKwMAPITable::DoReload()
{
    FAdvised->Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnReload(table); });
}

void TKwMAPITable::DoRestrictDone()
{
    FAdvised->Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnRestrictDone(table); });
}

void TKwMAPITable::DoSetColDone()
{
    FAdvised->Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnSetColDone(table); });
}

void TKwMAPITable::DoSortDone()
{
    FAdvised->Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnSortDone(table); });
}

void TKwMAPITable::DoRowAdded(const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    FAdvised->Dispatch([&](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnRowAdded(table, key, row); });
}

void TKwMAPITable::DoRowModified(const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    FAdvised->Dispatch([&](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnRowModified(table, key, row); });
}

void TKwMAPITable::DoRowDeleted(const TKwBytes& key, IKwMAPIMemoryTable& row)
{
    FAdvised->Dispatch([&](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnRowDeleted(table, key, row); });
}

void TKwMAPITable::DoClose()
{
    FAdvised->Dispatch([](IKwMAPITableDEvents& sink, IKwMAPITable& table) { sink._OnClose(table); });
}

} // namespace deftmapi
