#include "client/notify/Dispatcher.hpp"

#include <algorithm>
#include <utility>

namespace deftmapi::client
{
namespace
{

// Plain data: a thread-local object with a destructor would keep an unloaded module alive.
thread_local bool GDelivering = false;
thread_local int GQuiet = 0; // QuietDispatch objects of the thread
thread_local std::uint64_t GSeen = 0;
thread_local std::chrono::steady_clock::time_point GLooked{};

} // namespace

Dispatcher& Dispatcher::Instance()
{
    static auto& dispatcher = *new Dispatcher; // sessions may outlive the static objects
    return dispatcher;
}

void Dispatcher::ThreadInitialized(bool multiThreaded)
{
    const std::lock_guard lock(FLock);
    const auto self = std::this_thread::get_id();
    const auto it = std::find_if(FThreads.begin(), FThreads.end(), [self](const auto& t) { return t.thread == self; });
    ThreadRecord record{self, 0, multiThreaded};
    if (it != FThreads.end()) {
        record.count = it->count;
        FThreads.erase(it);
    }
    ++record.count;
    FThreads.push_back(record);
}

void Dispatcher::ThreadUninitialized()
{
    const std::lock_guard lock(FLock);
    const auto self = std::this_thread::get_id();
    auto it = std::find_if(FThreads.begin(), FThreads.end(), [self](const auto& t) { return t.thread == self; });
    if (it == FThreads.end() && !FThreads.empty())
        it = FThreads.end() - 1; // a thread may take back what another one did
    if (it != FThreads.end() && --it->count == 0)
        FThreads.erase(it);
}

Dispatcher::Connection Dispatcher::Add(std::shared_ptr<Listener> listener, mapi::IMAPIAdviseSink* sink,
                                       const void* owner)
{
    const std::thread::id self = std::this_thread::get_id();
    std::thread::id thread = self;
    {
        const std::lock_guard lock(FLock);
        auto it = std::find_if(FThreads.begin(), FThreads.end(), [self](const auto& t) { return t.thread == self; });
        if (it == FThreads.end() && !FThreads.empty())
            it = FThreads.end() - 1;
        if (it != FThreads.end())
            thread = it->multiThreaded ? std::thread::id() : it->thread;
    }
    return AddFor(thread, std::move(listener), sink, owner);
}

Dispatcher::Connection Dispatcher::AddForThisThread(std::shared_ptr<Listener> listener, mapi::IMAPIAdviseSink* sink)
{
    return AddFor(std::this_thread::get_id(), std::move(listener), sink, nullptr);
}

Dispatcher::Connection Dispatcher::AddFor(std::thread::id thread, std::shared_ptr<Listener> listener,
                                          mapi::IMAPIAdviseSink* sink, const void* owner)
{
    auto entry = std::make_shared<Entry>();
    entry->listener = std::move(listener);
    entry->sink = TKwComPtr<mapi::IMAPIAdviseSink>(sink);
    entry->owner = owner;
    entry->thread = thread;
    entry->adder = std::this_thread::get_id();
    const std::lock_guard lock(FLock);
    if (thread == std::thread::id())
        StartThread();
    FEntries.emplace(FNext, std::move(entry));
    if (thread == std::thread::id())
        ++FOwnCount;
    else
        ++FBoundCount;
    return FNext++;
}

bool Dispatcher::WaitsForThis(std::thread::id runner) const
{
    const auto self = std::this_thread::get_id();
    for (auto it = FWaiting.find(runner); it != FWaiting.end(); it = FWaiting.find(it->second)) {
        if (it->second == self)
            return true;
    }
    return false;
}

bool Dispatcher::Remove(Connection connection) noexcept
{
    const auto self = std::this_thread::get_id();
    std::shared_ptr<Listener> listener; // these end without the lock
    TKwComPtr<mapi::IMAPIAdviseSink> sink;
    WorkerPtr idle;
    {
        std::unique_lock lock(FLock);
        auto node = FEntries.extract(connection);
        if (node.empty())
            return false;
        const EntryPtr& entry = node.mapped();
        entry->removed = true;
        const bool own = entry->thread == std::thread::id();
        if (own)
            --FOwnCount;
        else
            --FBoundCount;
        while (entry->runner != std::thread::id() && entry->runner != self && !WaitsForThis(entry->runner)) {
            FWaiting.insert_or_assign(self, entry->runner);
            FReturned.wait(lock);
        }
        FWaiting.erase(self);
        if (entry->runner == std::thread::id()) {
            listener = std::move(entry->listener);
            sink = std::move(entry->sink);
        } else {
            entry->orphaned = true; // who runs it lets go of them
        }
        if (own && FOwnCount == 0) {
            if (FWorker)
                FWorker->stop = true;
            FWake.notify_all();
            idle = TakeIdleWorker();
        }
    }
    if (idle)
        idle->thread.join();
    return true;
}

void Dispatcher::RemoveAll(const void* owner) noexcept
{
    if (!owner)
        return; // null is no owner but the lack of one
    for (;;) {
        Connection connection = 0;
        {
            const std::lock_guard lock(FLock);
            const auto it = std::find_if(FEntries.begin(), FEntries.end(),
                                         [owner](const auto& item) { return item.second->owner == owner; });
            if (it == FEntries.end())
                return;
            connection = it->first;
        }
        Remove(connection);
    }
}

void Dispatcher::End() noexcept
{
    {
        const std::lock_guard lock(FLock);
        FThreads.clear(); // those that ended without a word
    }
    for (;;) {
        Connection connection = 0;
        {
            const std::lock_guard lock(FLock);
            if (FEntries.empty())
                break;
            connection = FEntries.begin()->first;
        }
        Remove(connection);
    }
    Rest();
}

bool Dispatcher::IsRemoved(const Entry& entry)
{
    const std::lock_guard lock(FLock);
    return entry.removed;
}

void Dispatcher::Run(const EntryPtr& entry, Worker* worker) noexcept
{
    {
        const std::lock_guard lock(FLock);
        if (entry->removed || entry->runner != std::thread::id() || (worker && worker->stop))
            return;
        entry->runner = std::this_thread::get_id();
        if (worker)
            worker->busy = true;
    }
    {
        NotificationBatch batch = entry->listener->Collect();
        if (!batch.IsEmpty() && !IsRemoved(*entry))
            entry->sink->OnNotify(batch.Count(), batch.Data());
    }
    std::shared_ptr<Listener> listener;
    TKwComPtr<mapi::IMAPIAdviseSink> sink;
    std::unique_lock lock(FLock);
    entry->runner = std::thread::id();
    if (entry->orphaned) {
        listener = std::move(entry->listener);
        sink = std::move(entry->sink);
    }
    FReturned.notify_all();
    if (!worker)
        return;
    if (sink) { // its end may wait for others as a callback may
        lock.unlock();
        listener.reset();
        sink.Reset();
        lock.lock();
    }
    worker->busy = false;
}

void Dispatcher::DeliverTo(std::thread::id thread, Worker* worker) noexcept
{
    if (GDelivering)
        return;
    std::vector<EntryPtr> entries;
    try {
        const std::lock_guard lock(FLock);
        for (const auto& [connection, entry] : FEntries) {
            if (entry->thread == thread || (entry->adder == thread && entry->thread != std::thread::id()))
                entries.push_back(entry);
        }
    } catch (...) {
        return; // no memory: the events stay where they are until the next time
    }
    GDelivering = true;
    for (const EntryPtr& entry : entries)
        Run(entry, worker);
    GDelivering = false;
}

void Dispatcher::Deliver() noexcept
{
    GSeen = FGeneration.load();
    GLooked = std::chrono::steady_clock::now();
    DeliverTo(std::this_thread::get_id(), nullptr);
}

void Dispatcher::DeliverInPassing() noexcept
{
    if (FBoundCount.load(std::memory_order_relaxed) == 0 || GDelivering || GQuiet != 0)
        return;
    if (FGeneration.load() != GSeen || std::chrono::steady_clock::now() - GLooked >= Period)
        Deliver();
}

void Dispatcher::Wake() noexcept
{
    const std::lock_guard lock(FLock); // the client's thread must not be between looking and waiting
    ++FGeneration;
    if (FOwnCount != 0)
        FWake.notify_all();
}

void Dispatcher::StartThread()
{
    if (FWorker && !FWorker->ended) {
        FWorker->stop = false; // it may have been told to end but has not yet
        return;
    }
    if (FWorker)
        FWorker->thread.join();
    FWorker = std::make_shared<Worker>();
    FWorker->thread = std::thread([this, self = FWorker] { Work(*self); });
}

void Dispatcher::Work(Worker& self) noexcept
{
    std::uint64_t seen = 0;
    std::unique_lock lock(FLock);
    while (!self.stop) {
        FWake.wait_for(lock, Period, [&] { return self.stop || FGeneration.load() != seen; });
        if (self.stop)
            break;
        seen = FGeneration.load();
        lock.unlock();
        DeliverTo(std::thread::id(), &self);
        lock.lock();
    }
    self.ended = true;
}

Dispatcher::WorkerPtr Dispatcher::TakeIdleWorker()
{
    // A callback that runs may wait for this thread; then the client's thread ends by itself and is joined later.
    if (!FWorker || FWorker->busy || FWorker->thread.get_id() == std::this_thread::get_id())
        return nullptr;
    return std::exchange(FWorker, nullptr);
}

bool Dispatcher::Rest() noexcept
{
    WorkerPtr idle;
    {
        const std::lock_guard lock(FLock);
        if (FWorker && FWorker->stop)
            idle = TakeIdleWorker();
        if (FWorker)
            return false;
    }
    if (idle)
        idle->thread.join();
    return true;
}

QuietDispatch::QuietDispatch() noexcept
{
    ++GQuiet;
}

QuietDispatch::~QuietDispatch()
{
    --GQuiet;
}

} // namespace deftmapi::client
