// TKwMAPITableEvents: the events of one table as functions of the application.
//
//     TKwMAPITableEvents events;
//     events.OnRowAdded = [](IKwMAPITable&, const TKwBytes&, IKwMAPIMemoryTable& row) { … };
//     events.Start(*folder->GetContentsTable());
//     while (…)
//         HrDispatchNotifications(0); // unless multi-threaded notifications were asked for
#pragma once

#include "mapi/uKwMAPIInterfaces.hpp"
#include "support/uKwExport.hpp"

#include <functional>
#include <mutex>

namespace deftmapi
{

using TKwMAPITableEvent = std::function<void(IKwMAPITable& table)>;
using TKwMAPITableRowEvent = std::function<void(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row)>;

/// Connects functions to the events of a table, which it keeps alive between Start and Stop. A function may stop the
/// events, start them on another table, or destroy this object.
/// Threads: Start and Stop on the thread of the table; the functions are set before Start and are called where the
/// client delivers notifications (see IKwMAPITableDEvents). Stop waits for a function that is running on another
/// thread.
class DEFTMAPI_API TKwMAPITableEvents
{
public:
    TKwMAPITableEvents();
    TKwMAPITableEvents(const TKwMAPITableEvents&) = delete;
    TKwMAPITableEvents& operator=(const TKwMAPITableEvents&) = delete;
    /// Stops. What that raises goes to KwReportServerException.
    ~TKwMAPITableEvents();

    // Called when set.
    TKwMAPITableEvent OnChanged;
    TKwMAPITableEvent OnError;
    TKwMAPITableEvent OnReload;
    TKwMAPITableEvent OnRestrictDone;
    TKwMAPITableEvent OnSetColDone;
    TKwMAPITableEvent OnSortDone;
    TKwMAPITableRowEvent OnRowAdded;
    TKwMAPITableRowEvent OnRowDeleted;
    TKwMAPITableRowEvent OnRowModified;
    TKwMAPITableEvent OnClose;

    /// Connects to the table and turns its notifications on unless they are; stops first when it is connected already.
    /// @throws as IKwMAPITable::Advise; nothing is connected then
    void Start(IKwMAPITable& table);
    /// Disconnects; the notifications of the table end with its last sink. Does nothing when it is not connected.
    void Stop();
    /// True while connected to a table that gets notifications: not after the table was closed.
    [[nodiscard]] bool GetActive() const;
    /// The folder whose table it is; null for tables of other objects, and while not connected.
    [[nodiscard]] TKwRef<IKwMAPIFolder> GetFolder() const;

    // Called by the table: each calls the application's function.
    void _OnChanged(IKwMAPITable& table);
    void _OnError(IKwMAPITable& table);
    void _OnReload(IKwMAPITable& table);
    void _OnRestrictDone(IKwMAPITable& table);
    void _OnSetColDone(IKwMAPITable& table);
    void _OnSortDone(IKwMAPITable& table);
    void _OnRowAdded(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row);
    void _OnRowDeleted(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row);
    void _OnRowModified(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row);
    void _OnClose(IKwMAPITable& table);

private:
    class TSink;

    TKwRef<IKwMAPITable> Disconnect();
    [[nodiscard]] TKwRef<IKwMAPITable> Table() const;

    mutable std::mutex FLock;    // for the two below, as a function may stop the events
    TKwRef<IKwMAPITable> FTable; // null while not connected
    TKwRef<TSink> FSink;         // the last one, to be waited for
};

} // namespace deftmapi
