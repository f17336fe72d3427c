// Notifications on the client's own thread: callbacks that unadvise, release and log off, other threads that do so
// meanwhile, changes by another process, and the sinks that change threads.
#include "tests/client/NotifyFixture.hpp"

#include <atomic>
#include <future>
#include <gmock/gmock.h>

namespace deftmapi::client::test
{
namespace
{

using Lines = std::vector<std::u16string>;

TEST_F(NotifyTest, TheClientsThreadDeliversByItself)
{
    Start(true);
    auto table = Contents();
    const auto connection = Advise(*table, FSink.Get());
    AddMessage(u"a");
    ASSERT_TRUE(FSink->WaitFor(1));
    const auto events = FSink->Take();
    EXPECT_EQ(Describe(events), Lines{u"added a"});
    EXPECT_NE(events[0].thread, std::this_thread::get_id());
    EXPECT_EQ(table->Unadvise(connection), S_OK);
    EXPECT_TRUE(Dispatcher::Instance().Rest()); // nobody listens: the thread has ended
    Advise(*table, FSink.Get());
    AddMessage(u"b");
    EXPECT_EQ(Heard(1), Lines{u"added b"});
    table.Reset(); // ends the connection, too
    EXPECT_TRUE(Dispatcher::Instance().Rest());
}

TEST_F(NotifyTest, ASinkMayDoAnythingWithTheTable)
{
    Start(true);
    auto table = Contents();
    auto twin = Contents();
    const auto connection = Advise(*table, FSink.Get());
    Advise(*twin, FSink.Get());
    std::atomic<int> calls = 0;
    FSink->onNotify = [&] {
        if (++calls != 1)
            return;
        EXPECT_EQ(RowCount(*table), 1u);
        AddMessage(u"from inside");
        EXPECT_EQ(SortBy(*table, tag::Subject, 0), S_OK);
        EXPECT_EQ(table->Unadvise(connection), S_OK);
        table.Reset();
        twin.Reset();
        EXPECT_EQ(FSession->Logoff(0, 0, 0), S_OK);
    };
    AddMessage(u"a");
    ASSERT_TRUE(FSink->WaitFor(1));
    // No connection is left, so the thread ends; until it has, the callback may still be at work.
    while (!Dispatcher::Instance().Rest())
        std::this_thread::yield();
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(table);
}

TEST_F(NotifyTest, UnadvisingWaitsForTheCallback)
{
    Start(true);
    auto table = Contents();
    const auto connection = Advise(*table, FSink.Get());
    std::promise<void> entered;
    std::promise<void> unadvising;
    std::atomic<bool> left = false;
    FSink->onNotify = [&] {
        entered.set_value();
        unadvising.get_future().wait();
        RowCount(*table); // the waiting call holds no lock
        left = true;
    };
    AddMessage(u"a");
    entered.get_future().wait();
    std::thread other([&] {
        unadvising.set_value();
        EXPECT_EQ(table->Unadvise(connection), S_OK);
        EXPECT_TRUE(left);
    });
    other.join();
    EXPECT_EQ(Told(), Lines{u"added a"});
}

TEST_F(NotifyTest, CallbacksThatUnadviseEachOtherDoNotWaitForever)
{
    Start(true);
    auto table = Contents();
    const auto own = Advise(*table, FSink.Get());
    // A sink of this thread beside that of the client's thread.
    Ptr<RecordingSink> here(new RecordingSink);
    Ptr<IMAPIAdviseSink> wrapped;
    ASSERT_EQ(HrThisThreadAdviseSink(here.Get(), Out(wrapped)), S_OK);
    auto twin = Contents();
    const auto other = Advise(*twin, wrapped.Get());
    std::promise<void> ownEntered;
    std::promise<void> hereEntered;
    FSink->onNotify = [&] {
        ownEntered.set_value();
        hereEntered.get_future().wait();
        wrapped.Reset();
        EXPECT_EQ(twin->Unadvise(other), S_OK); // the last reference to the wrapper, whose sink runs
    };
    here->onNotify = [&] {
        hereEntered.set_value();
        EXPECT_EQ(table->Unadvise(own), S_OK);
    };
    NOTIFICATION notification{};
    notification.ulEventType = fnevTableModified;
    notification.info.tab.ulTableEvent = TABLE_CHANGED;
    notification.info.tab.propPrior.ulPropTag = PT_NULL;
    notification.info.tab.propIndex.ulPropTag = PT_NULL;
    std::thread([&] { wrapped->OnNotify(1, &notification); }).join();
    AddMessage(u"a");
    ownEntered.get_future().wait();
    Dispatch();
    while (!Dispatcher::Instance().Rest())
        std::this_thread::yield();
}

TEST_F(NotifyTest, LoggingOffEndsTheConnectionsOfItsTables)
{
    for (const bool multiThreaded : {false, true}) {
        Start(multiThreaded);
        auto table = Contents();
        const auto connection = Advise(*table, FSink.Get());
        ASSERT_EQ(FSession->Logoff(0, 0, 0), S_OK);
        AddMessage(u"a"); // the objects work on, but tell nothing
        EXPECT_EQ(Dispatched(), Lines());
        EXPECT_TRUE(Dispatcher::Instance().Rest());
        EXPECT_EQ(table->Unadvise(connection), S_OK);
        Admin()->DeleteProfile(W(u"p"), Unicode);
    }
}

TEST_F(NotifyTest, TheLastInitialisationDecidesAndAThreadThatHasEndedTakesNothing)
{
    Start(false);
    auto table = Watched();
    // One that has initialised MAPI and ended without a word; then one that has not initialised it.
    std::promise<void> ended; // before it the other one is there already, so that they have not the same identity
    std::thread uninitialized([&] {
        ended.get_future().wait();
        auto own = Contents();
        const Ptr<RecordingSink> sink(new RecordingSink);
        Advise(*own, sink.Get());
        AddMessage(u"a");
        Dispatch();
        EXPECT_EQ(Describe(sink->Take()), Lines{u"added a"});
    });
    std::thread([] { EXPECT_EQ(MAPIInitialize(nullptr), S_OK); }).join();
    ended.set_value();
    uninitialized.join();
    EXPECT_TRUE(FSink->Take().empty()) << "that of another thread";
    EXPECT_EQ(Dispatched(), Lines{u"added a"});
    table.Reset();
    // Initialised once more, without having been uninitialised.
    MAPIINIT_0 options{MAPI_INIT_VERSION, MAPI_MULTITHREAD_NOTIFICATIONS};
    ASSERT_EQ(MAPIInitialize(&options), S_OK);
    table = Contents();
    Advise(*table, FSink.Get());
    AddMessage(u"b");
    ASSERT_TRUE(FSink->WaitFor(1));
    EXPECT_NE(FSink->Take()[0].thread, std::this_thread::get_id());
    table.Reset();
    MAPIUninitialize();
    MAPIUninitialize(); // the other thread's
}

TEST_F(NotifyTest, TheLastUninitialisationEndsAll)
{
    Start(true);
    auto table = Contents();
    const auto connection = Advise(*table, FSink.Get());
    MAPIUninitialize();
    EXPECT_TRUE(Dispatcher::Instance().Rest());
    AddMessage(u"a");
    ASSERT_EQ(MAPIInitialize(nullptr), S_OK);
    EXPECT_EQ(Dispatched(), Lines());
    EXPECT_EQ(table->Unadvise(connection), S_OK);
}

TEST_F(NotifyTest, TheClientsThreadEndsAndBeginsWithoutWaitingForever)
{
    Start(true);
    auto table = Contents();
    // Each of the two often takes away the last connection while the other adds the first.
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            Ptr<RecordingSink> sink(new RecordingSink);
            for (int round = 0; round < 300; ++round)
                EXPECT_EQ(table->Unadvise(Advise(*table, sink.Get())), S_OK);
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_TRUE(Dispatcher::Instance().Rest());
}

TEST_F(NotifyTest, ManyThreadsMayAdviseAndChangeAtOnce)
{
    Start(true);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 8; ++round) {
                auto table = Contents(i % 2 == 0);
                Ptr<RecordingSink> sink(new RecordingSink);
                const auto connection = Advise(*table, sink.Get());
                AddMessage(u"x");
                EXPECT_TRUE(sink->WaitFor(1));
                if (round % 2 == 0) { // else it ends with the table
                    EXPECT_EQ(table->Unadvise(connection), S_OK);
                }
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
}

/// What a sink of this thread was given: the thread, kinds of table events, and the first value of a row as it came.
struct Given
{
    std::thread::id thread;
    std::vector<ULONG> events;
    ULONG columns = 0;
    std::u16string wide;
    std::string narrow;
};

LONG DEFTMAPI_STDCALL Keep(LPVOID context, ULONG count, LPNOTIFICATION notifications)
{
    auto& given = *static_cast<Given*>(context);
    given.thread = std::this_thread::get_id();
    for (ULONG i = 0; i < count; ++i) {
        const TABLE_NOTIFICATION& table = notifications[i].info.tab;
        given.events.push_back(table.ulTableEvent);
        given.columns = table.row.cValues;
        if (given.columns != 0 && PROP_TYPE(table.row.lpProps[0].ulPropTag) == PT_STRING8)
            given.narrow = table.row.lpProps[0].Value.lpszA;
        else if (given.columns != 0)
            given.wide = table.row.lpProps[0].Value.lpszW;
    }
    return 0;
}

TEST_F(NotifyTest, AFunctionOnThisThreadThoughTheClientsThreadIsTold)
{
    Start(true);
    Given given;
    Ptr<IMAPIAdviseSink> inner;
    Ptr<IMAPIAdviseSink> outer;
    ASSERT_EQ(HrAllocAdviseSink(Keep, &given, Out(inner)), S_OK);
    ASSERT_EQ(HrThisThreadAdviseSink(inner.Get(), Out(outer)), S_OK);
    EXPECT_EQ(HrAllocAdviseSink(nullptr, nullptr, Out(inner)), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(HrThisThreadAdviseSink(nullptr, Out(inner)), MAPI_E_INVALID_PARAMETER);
    auto table = Contents();
    const auto first = Advise(*table, outer.Get());
    Advise(*table, FSink.Get());
    AddMessage(u"a");
    ASSERT_TRUE(FSink->WaitFor(1));
    EXPECT_TRUE(given.events.empty());
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (given.events.empty() && std::chrono::steady_clock::now() < limit) { // the second may be told a round before
        Dispatch();
        std::this_thread::yield();
    }
    EXPECT_EQ(given.events.size(), 1u);
    EXPECT_EQ(given.thread, std::this_thread::get_id());
    EXPECT_EQ(given.columns, 2u);
    EXPECT_EQ(given.wide, u"a");
    EXPECT_EQ(table->Unadvise(first), S_OK);
}

TEST_F(NotifyTest, WhatWaitsForAThreadKeepsItsFormAndDoesNotGrowForever)
{
    Start(true);
    Given given;
    Ptr<IMAPIAdviseSink> inner;
    Ptr<IMAPIAdviseSink> outer;
    ASSERT_EQ(HrAllocAdviseSink(Keep, &given, Out(inner)), S_OK);
    ASSERT_EQ(HrThisThreadAdviseSink(inner.Get(), Out(outer)), S_OK);
    std::string narrow = "narrow";
    SPropValue value{};
    value.ulPropTag = (tag::Subject & 0xFFFF0000u) | PT_STRING8;
    value.Value.lpszA = narrow.data();
    NOTIFICATION event{};
    event.ulEventType = fnevTableModified;
    event.info.tab.ulTableEvent = TABLE_ROW_MODIFIED; // its keys have no type at all
    event.info.tab.row = {0, 1, &value};
    const auto tell = [&](int times, HRESULT result = S_OK) {
        std::thread([&] {
            for (int i = 0; i < times; ++i)
                EXPECT_EQ(outer->OnNotify(1, &event), static_cast<ULONG>(result));
        }).join();
    };
    tell(2);
    EXPECT_TRUE(given.events.empty());
    Dispatch();
    EXPECT_EQ(given.events, (std::vector<ULONG>{TABLE_ROW_MODIFIED, TABLE_ROW_MODIFIED}));
    EXPECT_EQ(given.narrow, "narrow");

    const auto dispatched = [&] {
        given.events.clear();
        Dispatch();
        return given.events;
    };
    tell(2049); // one more than may wait
    EXPECT_EQ(dispatched(), std::vector<ULONG>{TABLE_RELOAD});
    tell(1);
    EXPECT_EQ(dispatched(), std::vector<ULONG>{TABLE_ROW_MODIFIED});

    // Events that nothing can stand for do not push aside the one that stands for those of tables.
    const NOTIFICATION ofRow = event;
    NOTIFICATION ofObject{};
    ofObject.ulEventType = fnevObjectCreated;
    event = ofObject;
    tell(2048);
    event = ofRow;
    tell(1);
    event = ofObject;
    tell(1, MAPI_E_TOO_BIG);
    event = ofRow;
    tell(1);
    const auto all = dispatched();
    ASSERT_EQ(all.size(), 2049u);
    EXPECT_EQ(all.back(), ULONG{TABLE_RELOAD});
}

} // namespace
} // namespace deftmapi::client::test
