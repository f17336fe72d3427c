#include "client/notify/AdviseSinks.hpp"

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"
#include "client/notify/Dispatcher.hpp"

namespace deftmapi::client
{
namespace
{

class SinkObject : public ComObject<mapi::IMAPIAdviseSink>
{
public:
    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMAPIAdviseSink;
    }
};

class CallbackSink final : public SinkObject
{
public:
    CallbackSink(mapi::LPNOTIFCALLBACK callback, void* context) : FCallback(callback), FContext(context) {}

    ULONG DEFTMAPI_STDCALL OnNotify(ULONG count, mapi::LPNOTIFICATION notifications) noexcept override
    {
        return static_cast<ULONG>(FCallback(FContext, count, notifications));
    }

private:
    mapi::LPNOTIFCALLBACK FCallback;
    void* FContext;
};

constexpr auto sTooMany = u"The thread of the sink does not dispatch its notifications.";

/// Notifications that wait at most, but for one to reload. A thread that never dispatches must not fill the memory.
constexpr ULONG MaximumWaiting = 2048;

/// Copies that wait for their thread. When they become too many, one event to reload stands for all events of tables.
class WaitingNotifications final : public Listener
{
public:
    /// @throws Failure  MAPI_E_TOO_BIG there are too many that nothing can stand for
    void Add(NotificationBatch&& batch)
    {
        const std::lock_guard lock(FLock);
        if (FBatch.Count() + batch.Count() <= MaximumWaiting)
            return FBatch.Append(std::move(batch));
        NotificationBatch fewer;
        bool tables = TakeOthers(FBatch, fewer);
        NotificationBatch others;
        tables = TakeOthers(batch, others) || tables;
        const bool fits = fewer.Count() + others.Count() <= MaximumWaiting;
        if (fits)
            fewer.Append(std::move(others));
        if (tables) // at last, and whether or not the others fit: nothing else would tell of these rows
            fewer.AddTableEvent(mapi::TABLE_RELOAD);
        FBatch = std::move(fewer);
        if (!fits)
            Fail(mapi::MAPI_E_TOO_BIG, sTooMany);
    }
    NotificationBatch Collect() noexcept override
    {
        const std::lock_guard lock(FLock);
        return std::exchange(FBatch, {});
    }

private:
    /// Copies the events that are not of tables. @returns whether there are others
    static bool TakeOthers(NotificationBatch& from, NotificationBatch& to)
    {
        bool tables = false;
        for (ULONG i = 0; i < from.Count(); ++i) {
            if (from.Data()[i].ulEventType == mapi::fnevTableModified)
                tables = true;
            else
                to.AddCopy(from.Data()[i]);
        }
        return tables;
    }

    std::mutex FLock;
    NotificationBatch FBatch;
};

class ThreadSink final : public SinkObject
{
public:
    explicit ThreadSink(mapi::IMAPIAdviseSink* sink)
        : FSink(sink), FThread(std::this_thread::get_id()), FWaiting(std::make_shared<WaitingNotifications>()),
          FConnection(Dispatcher::Instance().AddForThisThread(FWaiting, sink))
    {}
    ~ThreadSink() override { Dispatcher::Instance().Remove(FConnection); }

    ULONG DEFTMAPI_STDCALL OnNotify(ULONG count, mapi::LPNOTIFICATION notifications) noexcept override
    {
        if (std::this_thread::get_id() == FThread)
            return FSink->OnNotify(count, notifications);
        LastError failure;
        return static_cast<ULONG>(Guard(failure, [&] {
            NotificationBatch copies;
            for (ULONG i = 0; i < count; ++i)
                copies.AddCopy(notifications[i]);
            FWaiting->Add(std::move(copies));
            Dispatcher::Instance().Wake();
        }));
    }

private:
    TKwComPtr<mapi::IMAPIAdviseSink> FSink;
    std::thread::id FThread;
    std::shared_ptr<WaitingNotifications> FWaiting;
    Dispatcher::Connection FConnection;
};

} // namespace

TKwComPtr<mapi::IMAPIAdviseSink> NewCallbackSink(mapi::LPNOTIFCALLBACK callback, void* context)
{
    return {new CallbackSink(callback, context)};
}

TKwComPtr<mapi::IMAPIAdviseSink> NewThreadSink(mapi::IMAPIAdviseSink* sink)
{
    return {new ThreadSink(sink)};
}

} // namespace deftmapi::client
