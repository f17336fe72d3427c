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

/// Copies that wait for their thread.
class WaitingNotifications final : public Listener
{
public:
    void Add(NotificationBatch&& batch)
    {
        const std::lock_guard lock(FLock);
        FBatch.Append(std::move(batch));
    }
    NotificationBatch Collect() noexcept override
    {
        const std::lock_guard lock(FLock);
        return std::exchange(FBatch, {});
    }

private:
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
