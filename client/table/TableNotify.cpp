// Advising on tables. Each connection has a feed of its own, which follows the columns, restriction and sort order of
// the table; the table keeps the feeds alive only as long as it lives itself.
#include "client/notify/TableFeed.hpp"
#include "client/table/Table.hpp"

namespace deftmapi::client
{
namespace
{

constexpr auto sNoNotifications = u"The rows of this table stay as they are: there is nothing to notify of.";
constexpr auto sNoEvents = u"A table tells only of changes of tables.";
constexpr auto sNoConnection = u"There is no notification of this connection number.";

} // namespace

Table::~Table()
{
    for (const auto& [connection, feed] : FFeeds)
        Dispatcher::Instance().Remove(connection);
}

mapi::HRESULT Table::Advise(ULONG mask, mapi::LPMAPIADVISESINK sink, mapi::ULONG_PTR* connection) noexcept
{
    const std::lock_guard lock(FSource->Lock());
    return Guard(FLast, [&] {
        Require(connection, u"lpulConnection");
        *connection = 0;
        Require(sink, u"lpAdviseSink");
        const auto* live = dynamic_cast<const LiveRows*>(FSource.get());
        const auto* feeding = dynamic_cast<const FeedingRows*>(FSource.get());
        if (!live && !feeding)
            Fail(mapi::MAPI_E_NO_SUPPORT, sNoNotifications);
        if (mask != mapi::fnevTableModified)
            Fail(mapi::MAPI_E_NO_SUPPORT, sNoEvents);
        std::shared_ptr<RowFeed> feed;
        if (live)
            feed = std::make_shared<TableFeed>(live->Over(live->LiveStore()->ForListeners()), View());
        else
            feed = feeding->NewFeed(View());
        const void* owner = live ? live->LiveStore().get() : feeding->FeedOwner();
        Feeds prepared; // so that nothing can fail after the sink is known
        prepared.emplace(0, feed);
        const mapi::ULONG_PTR number = Dispatcher::Instance().Add(std::move(feed), sink, owner);
        auto node = prepared.extract(prepared.begin());
        node.key() = number;
        FFeeds.insert(std::move(node));
        *connection = number;
    });
}

mapi::HRESULT Table::Unadvise(mapi::ULONG_PTR connection) noexcept
{
    Feeds::node_type feed; // ends without the lock
    const mapi::HRESULT result = Guard(FLast, [&] {
        const std::lock_guard lock(FSource->Lock());
        feed = FFeeds.extract(connection);
        if (feed.empty())
            Fail(mapi::MAPI_E_NOT_FOUND, sNoConnection);
    });
    // Waits for a callback, which may want the lock. After the log-off the connection is gone already.
    if (result == mapi::S_OK)
        Dispatcher::Instance().Remove(connection);
    return result;
}

ShownView Table::View() const
{
    return {FColumns, FView, FUnicode};
}

void Table::ViewChanged(bool otherRows, ULONG flags, ULONG doneEvent)
{
    for (const auto& [connection, feed] : FFeeds) {
        feed->SetView(View(), otherRows);
        if (flags & mapi::TBL_ASYNC)
            feed->Done(doneEvent);
    }
    if (!FFeeds.empty() && flags & mapi::TBL_ASYNC)
        Dispatcher::Instance().Wake();
}

} // namespace deftmapi::client
