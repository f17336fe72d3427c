// Who is told, and on which thread. A listener collects its events itself when it is asked to: on a thread that
// dispatches notifications they are collected there, so that nothing piles up for a thread that never does; for the
// others one thread of the client asks, after each commit of this process and every quarter of a second for other ones.
#pragma once

#include "client/notify/Batch.hpp"
#include "support/uKwRef.hpp"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace deftmapi::client
{

/// What one advise connection listens to.
class Listener
{
public:
    virtual ~Listener() = default;
    /// The events since the last call. Called by one thread at a time, which holds no lock of the client.
    virtual NotificationBatch Collect() noexcept = 0;
};

class Dispatcher
{
public:
    using Connection = mapi::ULONG_PTR;
    /// How often changes by other processes are looked for.
    static constexpr std::chrono::milliseconds Period{250};

    [[nodiscard]] static Dispatcher& Instance();

    /// MAPIInitialize on this thread. The last one of a thread decides how the thread is notified by connections that
    /// are added from then on: MAPIUninitialize may have been left out, by this thread or by one whose id it has.
    void ThreadInitialized(bool multiThreaded);
    /// MAPIUninitialize on this thread.
    void ThreadUninitialized();

    /// Adds a connection; keeps a reference to the sink. Its events come to this thread when this thread has
    /// initialised MAPI without multi-threaded notifications. A thread that has not shares the choice of the one that
    /// did so last: its events come to whichever of the two dispatches first, as the other may have ended. Never 0.
    /// @param owner  what RemoveAll knows the connection by
    [[nodiscard]] Connection Add(std::shared_ptr<Listener> listener, mapi::IMAPIAdviseSink* sink, const void* owner);
    /// The same, always for this thread.
    [[nodiscard]] Connection AddForThisThread(std::shared_ptr<Listener> listener, mapi::IMAPIAdviseSink* sink);
    /// Ends a connection: waits until a call of its sink on another thread has returned, then releases the sink. Inside
    /// a call of the sink itself it does not wait, nor where two callbacks would wait for each other.
    /// REQUIRES: no lock of the client is held. @returns false when there is no such connection
    bool Remove(Connection connection) noexcept;
    /// Removes all connections of an owner.
    void RemoveAll(const void* owner) noexcept;

    /// The last MAPIUninitialize: forgets all threads and removes all connections, so that the module can be unloaded.
    void End() noexcept;

    /// HrDispatchNotifications: delivers what there is for this thread. Inside a callback it does nothing.
    void Deliver() noexcept;
    /// The same at the end of calls that dispatch in passing; nearly free when nothing can have happened. Does nothing
    /// on a thread that has a QuietDispatch.
    void DeliverInPassing() noexcept;
    /// After a commit, and when a listener has something of its own to say.
    void Wake() noexcept;

    /// Joins the client's thread when it has nothing to do any more. @returns false when it is still needed
    bool Rest() noexcept;

private:
    struct Entry
    {
        std::shared_ptr<Listener> listener;
        TKwComPtr<mapi::IMAPIAdviseSink> sink;
        const void* owner = nullptr;
        std::thread::id thread; // none: the client's own thread
        std::thread::id adder;  // may take the events, too, unless they are for the client's own
        std::thread::id runner; // the thread that calls the sink now
        bool removed = false;
        bool orphaned = false; // removed, and nobody waits for the runner
    };
    using EntryPtr = std::shared_ptr<Entry>;
    struct ThreadRecord
    {
        std::thread::id thread;
        long count;
        bool multiThreaded;
    };

    /// The client's own thread. Each has its state to itself: one that is being joined does not mind the next one.
    struct Worker
    {
        std::thread thread;
        bool stop = false;
        bool ended = false; // it has left the lock for good
        bool busy = false;  // it collects events or is inside a sink
    };
    using WorkerPtr = std::shared_ptr<Worker>;

    Dispatcher() = default;
    Connection AddFor(std::thread::id thread, std::shared_ptr<Listener> listener, mapi::IMAPIAdviseSink* sink,
                      const void* owner);
    /// @param worker  the client's own thread when it is the caller, else null
    void DeliverTo(std::thread::id thread, Worker* worker) noexcept;
    void Run(const EntryPtr& entry, Worker* worker) noexcept;
    [[nodiscard]] bool IsRemoved(const Entry& entry);
    /// Whether waiting for a callback on that thread would close a circle of callbacks that wait.
    [[nodiscard]] bool WaitsForThis(std::thread::id runner) const;
    void StartThread();
    void Work(Worker& self) noexcept;
    /// The worker to join, if it has ended or is told to now; from then on it is the caller's. REQUIRES: FLock is held
    [[nodiscard]] WorkerPtr TakeIdleWorker();

    std::mutex FLock;
    std::condition_variable FWake;     // for the client's thread
    std::condition_variable FReturned; // a sink has returned
    std::map<Connection, EntryPtr> FEntries;
    std::map<std::thread::id, std::thread::id> FWaiting; // inside a callback: which thread's callback it waits for
    std::vector<ThreadRecord> FThreads;                  // the one that initialised last is the last
    Connection FNext = 1;
    std::size_t FOwnCount = 0;               // connections of the client's own thread
    WorkerPtr FWorker;                       // null: there is no thread of the client's own
    std::atomic<std::size_t> FBoundCount{0}; // connections of other threads
    std::atomic<std::uint64_t> FGeneration{1};
};

/// While it exists, calls on this thread deliver nothing in passing: no sink may run inside a transaction or a lock of
/// the client, also when that makes calls that a thread of the application would make.
class QuietDispatch
{
public:
    QuietDispatch() noexcept;
    ~QuietDispatch();
    QuietDispatch(const QuietDispatch&) = delete;
    QuietDispatch& operator=(const QuietDispatch&) = delete;
};

} // namespace deftmapi::client
