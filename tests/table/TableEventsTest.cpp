// Table events: from the client's notifications to sinks and functions, whatever these do meanwhile, on one thread and
// on several.
#include "mapi/headers/uKwMAPIConstantsH.hpp"
#include "mapi/table/uKwMAPIMemoryTable.hpp"
#include "mapi/table/uKwMAPITableEvents.hpp"
#include "tests/table/TableFixture.hpp"

#include <algorithm>
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <thread>

namespace deftmapi::test
{
namespace
{

mapi::NOTIFICATION TableEvent(mapi::ULONG event)
{
    mapi::NOTIFICATION notification{};
    notification.ulEventType = mapi::fnevTableModified;
    notification.info.tab.ulTableEvent = event;
    return notification;
}

/// Notes what it is told, and does what a test wants then.
class TSink final : public TKwAutoIntfObject, public virtual IKwMAPITableDEvents
{
public:
    std::vector<std::string> Told;
    std::function<void(IKwMAPITable& table)> Then;

    void _OnChanged(IKwMAPITable& table) override { Note("changed", table); }
    void _OnError(IKwMAPITable& table) override { Note("error", table); }
    void _OnReload(IKwMAPITable& table) override { Note("reload", table); }
    void _OnRestrictDone(IKwMAPITable& table) override { Note("restricted", table); }
    void _OnSetColDone(IKwMAPITable& table) override { Note("columns", table); }
    void _OnSortDone(IKwMAPITable& table) override { Note("sorted", table); }
    void _OnRowAdded(IKwMAPITable& table, const TKwBytes&, IKwMAPIMemoryTable&) override { Note("added", table); }
    void _OnRowDeleted(IKwMAPITable& table, const TKwBytes&, IKwMAPIMemoryTable&) override { Note("deleted", table); }
    void _OnRowModified(IKwMAPITable& table, const TKwBytes&, IKwMAPIMemoryTable&) override { Note("modified", table); }
    void _OnClose(IKwMAPITable& table) override { Note("close", table); }

private:
    void Note(const char* event, IKwMAPITable& table)
    {
        Told.push_back(event);
        if (Then)
            Then(table);
    }
};

class TTableEventsTest : public TTableTest
{
protected:
    void SetUp() override
    {
        KwSetServerExceptionHandler(
            [](std::exception_ptr exception, void* context) {
                auto& texts = *static_cast<std::vector<std::string>*>(context);
                texts.push_back(Catch([&] { std::rethrow_exception(exception); }).Message);
            },
            &Reported);
    }
    void TearDown() override { KwSetServerExceptionHandler(nullptr, nullptr); }

    /// The client delivers events, all in one call.
    void Notify(std::vector<mapi::NOTIFICATION> events)
    {
        const TKwComPtr<mapi::IMAPIAdviseSink> sink(Object->Sink); // a client keeps the sink while it calls it
        ASSERT_TRUE(sink);
        sink->OnNotify(static_cast<mapi::ULONG>(events.size()), events.data());
    }
    TKwRef<TSink> Connect()
    {
        const auto sink = KwMake<TSink>();
        Table->DEventConnect(sink, true);
        return sink;
    }

    std::vector<std::string> Reported;
};

using TTold = std::vector<std::string>;

TEST_F(TTableEventsTest, AdviseAndUnAdvise)
{
    Table->Advise();
    EXPECT_TRUE(Table->Get_Advised());
    EXPECT_EQ(Calls->Take(), "Advise(0x00000100)");
    EXPECT_EQ(Catch([&] { Table->Advise(); }),
              Failure("EMAPI_CALL_FAILED", 0x80004005, "The table notification system has already been activated!"));
    Calls->Next("Unadvise", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch([&] { Table->UnAdvise(); }).Message.substr(0, 30), "TKwMAPITable.UnAdvise has rais");
    EXPECT_FALSE(Table->Get_Advised());
    Table->UnAdvise();
    EXPECT_EQ(Calls->Take(), "Unadvise(77)");

    Calls->Next("Advise", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Catch([&] { Table->Advise(); }),
              Failure("EMAPI_NO_SUPPORT", 0x80040102, "The given table does not support notifications!"));
    Calls->Next("Advise", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch([&] { Table->Advise(); }).Message.substr(0, 28), "TKwMAPITable.Advise has rais");
    EXPECT_FALSE(Table->Get_Advised());
    Calls->Next("Advise", mapi::MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(Catch([&] { Table->Advise(); }).Code, mapi::MAPI_W_ERRORS_RETURNED);
    EXPECT_FALSE(Table->Get_Advised());
    EXPECT_EQ(Calls->Take(), "Advise(0x00000100)\nAdvise(0x00000100)\nAdvise(0x00000100)\nUnadvise(77)")
        << "what raises leaves no connection behind";
    Table->Advise();
    Session->Set_Active(false); // takes the MAPI table away
    EXPECT_FALSE(Table->Get_Advised());
    EXPECT_EQ(Calls->Count("Unadvise"), 1u);
    EXPECT_EQ(Catch([&] { Table->Advise(); }).ClassName, "EMAPI_CALL_FAILED");
}

TEST_F(TTableEventsTest, EachEventHasItsDispatcherAndItsFunction)
{
    Table->Advise();
    const auto first = Connect();
    const auto second = Connect();
    TTold told;
    const auto note = [&](const char* event) {
        return [&, event](IKwMAPITable& table, auto&&...) {
            EXPECT_EQ(&table, static_cast<IKwMAPITable*>(Table.Get()));
            told.push_back(event);
        };
    };
    TKwMAPITableEvents functions;
    functions.OnChanged = note("changed");
    functions.OnError = note("error");
    functions.OnReload = note("reload");
    functions.OnRestrictDone = note("restricted");
    functions.OnSetColDone = note("columns");
    functions.OnSortDone = note("sorted");
    functions.OnRowAdded = note("added");
    functions.OnRowDeleted = note("deleted");
    functions.OnRowModified = note("modified");
    functions.OnClose = note("close");
    functions.Start(*Table);
    std::vector<mapi::NOTIFICATION> events;
    for (mapi::ULONG event = 0; event <= 10; ++event) // 0 and 10 are none
        events.push_back(TableEvent(event));
    Notify(events);
    const TTold all{"changed", "error", "added", "deleted", "modified", "sorted", "restricted", "columns", "reload"};
    for (const TTold& each : {first->Told, second->Told, told})
        EXPECT_EQ(each, all);
    Table->Close();
    EXPECT_EQ(first->Told.back(), "close");
    EXPECT_EQ(told.back(), "close");
    EXPECT_FALSE(Table->Get_Advised());

    EXPECT_TRUE(Reported.empty());
    mapi::NOTIFICATION mail{};
    mail.ulEventType = mapi::fnevNewMail;
    EXPECT_EQ(Catch([&] { Table->OnNotify(1, &mail); }).ClassName, "EKwAssertionFailed");
    Table->Advise();
    Notify({mail, TableEvent(mapi::TABLE_CHANGED)}); // the client sees nothing of the failure
    EXPECT_EQ(Reported.size(), 1u);
    EXPECT_EQ(first->Told.back(), "changed");
}

TEST_F(TTableEventsTest, RowEventsCarryTheKeyAndTheRow)
{
    TKwBytes key{9, 8, 7};
    TKwBytes given;
    TKwRef<IKwMAPIMemoryTable> kept;
    TKwMAPITableEvents events;
    events.OnRowAdded = [&](IKwMAPITable& table, const TKwBytes& rowKey, IKwMAPIMemoryTable& row) {
        EXPECT_EQ(&table, static_cast<IKwMAPITable*>(Table.Get()));
        given = rowKey;
        kept = TKwRef<IKwMAPIMemoryTable>(&row);
    };
    events.Start(*Table);
    EXPECT_TRUE(events.GetActive());
    EXPECT_FALSE(events.GetFolder()); // the owner is none

    std::vector<mapi::SPropValue> values{
        LongValue(GetPropTag(PR_MESSAGE_SIZE), 5), TextValue(GetPropTag(PR_SUBJECT), u"Größe"),
        ErrorValue(GetPropTag(PR_IMPORTANCE), mapi::MAPI_E_NOT_FOUND), LongValue(0x6A90003, 6)};
    mapi::NOTIFICATION added = TableEvent(mapi::TABLE_ROW_ADDED);
    added.info.tab.propIndex.ulPropTag = GetPropTag(PR_INSTANCE_KEY);
    added.info.tab.propIndex.Value.bin = {static_cast<mapi::ULONG>(key.size()), key.data()};
    added.info.tab.row = {0, static_cast<mapi::ULONG>(values.size()), values.data()};
    Notify({added});
    EXPECT_EQ(given, key);
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->Get_RowCount(), 1);
    EXPECT_EQ(kept->Get_Fields()->Get_Count(), 4);
    EXPECT_EQ(kept->GetFieldValue(PR_MESSAGE_SIZE).AsInteger(), 5);
    EXPECT_EQ(kept->GetFieldValue(PR_SUBJECT).AsStringW(), u"Größe");
    EXPECT_EQ(kept->Get_Fields()->Get_Item(3)->Get_AsInteger(), 6);
    EXPECT_FALSE(kept->GetModified());

    added.info.tab.propIndex = LongValue(GetPropTag(PR_ROWID), 0x01020304);
    added.info.tab.row = {};
    Notify({added});
    EXPECT_EQ(given, (TKwBytes{4, 3, 2, 1}));
    EXPECT_EQ(kept->Get_Fields()->Get_Count(), 0);
    Table.Reset(); // the events keep the table, and the row is independent of both
    EXPECT_TRUE(events.GetActive());
    events.Stop();
    EXPECT_FALSE(events.GetActive());
    EXPECT_EQ(kept->Get_RowCount(), 1);
}

TEST_F(TTableEventsTest, RowsOfEventsAreReadByTheColumnsOfTheTable)
{
    const mapi::ULONG named = 0x8000001F; // the first that the owner's store gives
    Table->Get_Fields()->Add(PR_SENDER_NAME);
    Table->Get_Fields()->Add(NPR_NAMEINTERNETKEYWORDS);
    Table->Open();
    TKwRef<IKwMAPIMemoryTable> row;
    TKwMAPITableEvents events;
    events.OnRowModified = [&](IKwMAPITable&, const TKwBytes&, IKwMAPIMemoryTable& given) {
        row = TKwRef<IKwMAPIMemoryTable>(&given);
    };
    events.Start(*Table);
    std::vector<mapi::SPropValue> values{LongValue(GetPropTag(PR_MESSAGE_SIZE), 5),
                                         ErrorValue(GetPropTag(PR_SENDER_NAME), mapi::MAPI_E_NOT_FOUND),
                                         TextValue(named, u"word")};
    for (int turn = 0; turn < 2; ++turn) { // in the order of the columns and in another one
        mapi::NOTIFICATION modified = TableEvent(mapi::TABLE_ROW_MODIFIED);
        modified.info.tab.row = {0, static_cast<mapi::ULONG>(values.size()), values.data()};
        row.Reset();
        Notify({modified});
        ASSERT_TRUE(row);
        EXPECT_EQ(row->GetFieldValue(PR_MESSAGE_SIZE).AsInteger(), 5);
        EXPECT_TRUE(row->GetFieldValue(PR_SENDER_NAME).IsEmpty());
        EXPECT_EQ(row->GetFieldValue(NPR_NAMEINTERNETKEYWORDS).AsStringW(), u"word");
        std::reverse(values.begin(), values.end());
    }
}

TEST_F(TTableEventsTest, SinksMayDisconnectWhileTheyAreCalled)
{
    Table->Advise();
    const auto first = Connect();
    const auto second = Connect();
    first->Then = [&](IKwMAPITable& table) {
        table.DEventConnect(first, false);
        table.DEventConnect(second, false);
        first->Then = nullptr;
    };
    Notify({TableEvent(mapi::TABLE_CHANGED), TableEvent(mapi::TABLE_RELOAD)});
    EXPECT_EQ(first->Told, TTold{"changed"});
    EXPECT_TRUE(second->Told.empty()) << "whoever was disconnected is told nothing more";
    EXPECT_FALSE(Table->HasDEventSinks());
}

TEST_F(TTableEventsTest, WhatASinkThrowsHarmsNobody)
{
    Table->Advise();
    const auto first = Connect();
    const auto second = Connect();
    first->Then = [](IKwMAPITable&) { CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, u"sink")->Raise(); };
    Notify({TableEvent(mapi::TABLE_CHANGED)});
    EXPECT_EQ(second->Told, TTold{"changed"});
    EXPECT_EQ(Reported, TTold{"sink"});
}

TEST_F(TTableEventsTest, ASinkMayCloseTheTable)
{
    Table->Advise();
    Start();
    const auto first = Connect();
    const auto second = Connect();
    first->Then = [&](IKwMAPITable& table) {
        first->Then = nullptr;
        table.Close();
    };
    Notify({TableEvent(mapi::TABLE_CHANGED), TableEvent(mapi::TABLE_RELOAD)});
    EXPECT_EQ(first->Told, (TTold{"changed", "close"}));
    EXPECT_EQ(second->Told, (TTold{"close", "changed"}));
    EXPECT_FALSE(Table->Get_Active());
    EXPECT_EQ(Calls->Count("Unadvise"), 1u);
}

TEST_F(TTableEventsTest, ASinkMayDropTheLastReferenceOnTheTable)
{
    for (const mapi::ULONG event : {mapi::TABLE_CHANGED, mapi::TABLE_ROW_MODIFIED}) {
        Table = KwMake<TKwMAPITable>(*Prop, Object.Get(), nullptr);
        Table->Advise();
        const auto first = Connect();
        const auto second = Connect();
        first->Then = [&](IKwMAPITable&) { Table.Reset(); };
        const std::size_t before = TKwAutoIntfObject::LiveObjects();
        Notify({TableEvent(event), TableEvent(mapi::TABLE_RELOAD)});
        EXPECT_EQ(first->Told.size(), 1u);
        EXPECT_TRUE(second->Told.empty());
        EXPECT_LT(TKwAutoIntfObject::LiveObjects(), before);
    }
    Table = KwMake<TKwMAPITable>(*Prop, Object.Get(), nullptr);
    Table->Open();
    const auto sink = Connect();
    sink->Then = [&](IKwMAPITable&) { Table.Reset(); };
    Table->Close();
    EXPECT_FALSE(Table);
}

TEST_F(TTableEventsTest, LateNotificationsAreHarmless)
{
    Table->Advise();
    const auto sink = Connect();
    const TKwComPtr<mapi::IMAPIAdviseSink> client(Object->Sink);
    Table->UnAdvise();
    mapi::NOTIFICATION event = TableEvent(mapi::TABLE_CHANGED);
    client->OnNotify(1, &event);
    Table->Advise(); // with a sink of its own: the old one stays dead
    client->OnNotify(1, &event);
    EXPECT_TRUE(sink->Told.empty());
    const TKwComPtr<mapi::IMAPIAdviseSink> second(Object->Sink);
    EXPECT_EQ(sink->RefCount(), 2u);
    Table.Reset();
    EXPECT_EQ(sink->RefCount(), 1u); // though the client still has its own
    second->OnNotify(1, &event);
    EXPECT_TRUE(sink->Told.empty());
    EXPECT_FALSE(Object->Sink);
}

TEST_F(TTableEventsTest, AFetchedTableIsAdvisedAgain)
{
    const TKwComPtr<TScriptedTable> fresh = NewTable(3);
    Table = KwMake<TKwMAPITable>(*Prop, Object.Get(), [&] { return TKwComPtr<mapi::IMAPITable>(fresh.Get()); });
    const auto sink = Connect();
    Table->Advise();
    Table->First();
    Calls->Next("SeekRow", mapi::MAPI_E_END_OF_SESSION);
    Table->Last();
    ASSERT_TRUE(fresh->Sink);
    mapi::NOTIFICATION event = TableEvent(mapi::TABLE_RELOAD);
    fresh->Sink->OnNotify(1, &event);
    EXPECT_EQ(sink->Told, TTold{"reload"});

    // A table that could not be set up is advised when it is opened, unless the notifications were ended meanwhile.
    for (const bool ended : {false, true}) {
        Table->First();
        Calls->Next("SeekRow", mapi::MAPI_E_END_OF_SESSION);
        Calls->Next("SetColumns", mapi::MAPI_E_NO_ACCESS);
        EXPECT_EQ(Catch([&] { Table->MoveBy(tbkEnd, 0); }).ClassName, "EMAPI_NO_ACCESS");
        EXPECT_FALSE(Table->Get_Advised());
        if (ended)
            Table->UnAdvise();
        Table->First();
        EXPECT_EQ(Table->Get_Advised(), !ended);
    }
}

TEST_F(TTableEventsTest, ComponentsShareTheNotificationsOfATable)
{
    int firstCalls = 0;
    int secondCalls = 0;
    TKwMAPITableEvents first;
    auto second = std::make_unique<TKwMAPITableEvents>();
    first.OnReload = [&](IKwMAPITable&) { ++firstCalls; };
    second->OnReload = [&](IKwMAPITable&) { ++secondCalls; };
    first.Start(*Table);
    second->Start(*Table);
    EXPECT_EQ(Calls->Take(), "Advise(0x00000100)");
    Notify({TableEvent(mapi::TABLE_RELOAD), TableEvent(mapi::TABLE_CHANGED)});
    first.Stop();
    Notify({TableEvent(mapi::TABLE_RELOAD)});
    EXPECT_EQ(firstCalls, 1);
    EXPECT_EQ(secondCalls, 2);
    EXPECT_TRUE(second->GetActive());
    second.reset();
    EXPECT_EQ(Calls->Take(), "Unadvise(77)");

    first.Start(*Table);
    first.Start(*Table); // once more is the same
    Notify({TableEvent(mapi::TABLE_RELOAD)});
    EXPECT_EQ(firstCalls, 2);
    Table->Close();
    EXPECT_FALSE(first.GetActive());
    first.Stop();
    Calls->Next("Advise", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Catch([&] { first.Start(*Table); }).ClassName, "EMAPI_NO_SUPPORT");
    EXPECT_FALSE(Table->HasDEventSinks());
}

TEST_F(TTableEventsTest, AFunctionMayDestroyItsComponentAndTheTable)
{
    auto events = std::make_unique<TKwMAPITableEvents>();
    std::string text = "a text too long to be kept in place";
    std::string seen;
    events->OnChanged = [&, text](IKwMAPITable&) {
        Table.Reset();
        events.reset();
        seen = text; // what the function captured is still there
    };
    events->Start(*Table);
    Notify({TableEvent(mapi::TABLE_CHANGED), TableEvent(mapi::TABLE_CHANGED)});
    EXPECT_EQ(seen, text);
    EXPECT_FALSE(events);
    EXPECT_FALSE(Object->Sink);
}

TEST_F(TTableEventsTest, NotificationsOnTheThreadOfTheClient)
{
    // A client thread keeps delivering while this one connects, disconnects and in the end destroys the table.
    std::atomic<int> calls = 0;
    std::promise<void> delivering;
    Table->Advise();
    const auto sink = KwMake<TSink>();
    sink->Then = [&](IKwMAPITable&) {
        sink->Told.clear();
        if (++calls == 1)
            delivering.set_value();
    };
    Table->DEventConnect(sink, true);
    std::atomic<bool> done = false;
    std::thread client([&, advised = TKwComPtr<mapi::IMAPIAdviseSink>(Object->Sink)] {
        std::int32_t number = 0;
        while (!done) {
            mapi::SPropValue value = LongValue(GetPropTag(PR_MESSAGE_SIZE), ++number);
            mapi::NOTIFICATION events[2]{TableEvent(mapi::TABLE_ROW_ADDED), TableEvent(mapi::TABLE_CHANGED)};
            events[0].info.tab.row = {0, 1, &value};
            advised->OnNotify(2, events);
        }
    });
    delivering.get_future().wait();
    for (int i = 0; i < 50; ++i) {
        TKwMAPITableEvents events;
        TKwRef<IKwMAPIMemoryTable> row;
        std::promise<void> called;
        events.OnRowAdded = [&](IKwMAPITable&, const TKwBytes&, IKwMAPIMemoryTable& added) {
            if (!row) {
                row = TKwRef<IKwMAPIMemoryTable>(&added);
                called.set_value();
            }
        };
        events.Start(*Table);
        called.get_future().wait();
        events.Stop();
        EXPECT_GT(row->GetFieldValue(PR_MESSAGE_SIZE).AsInteger(), 0);
    }
    Table->DEventConnect(sink, false);
    Table.Reset();
    const int last = calls;
    done = true;
    client.join();
    EXPECT_EQ(calls, last); // nothing came after the table was gone
}

TEST_F(TTableEventsTest, UnAdviseWaitsForTheCallInProgress)
{
    Table->Advise();
    const auto sink = Connect();
    std::promise<void> entered;
    std::promise<void> leave;
    std::atomic<bool> left = false;
    sink->Then = [&](IKwMAPITable&) {
        entered.set_value();
        leave.get_future().wait();
        left = true;
    };
    std::thread client([&, advised = TKwComPtr<mapi::IMAPIAdviseSink>(Object->Sink)] {
        mapi::NOTIFICATION event = TableEvent(mapi::TABLE_CHANGED);
        advised->OnNotify(1, &event);
    });
    entered.get_future().wait();
    leave.set_value();
    Table->UnAdvise();
    EXPECT_TRUE(left);
    client.join();
}

TEST_F(TTableEventsTest, ASinkAndTheTablesThreadMayEndTheNotificationsAtOnce)
{
    // The client answers Unadvise when all that it delivers on other threads has been delivered.
    for (const bool sinkFirst : {false, true}) {
        Table->Advise();
        const auto sink = Connect();
        std::promise<void> entered, ending, delivered;
        std::atomic<bool> left = false;
        sink->Then = [&](IKwMAPITable& table) {
            entered.set_value();
            if (!sinkFirst)
                ending.get_future().wait();
            table.UnAdvise();
            left = true;
        };
        Object->OnUnadvise = [&, tablesThread = std::this_thread::get_id()] {
            ending.set_value();
            if (std::this_thread::get_id() == tablesThread)
                delivered.get_future().wait();
        };
        std::thread client([&, advised = TKwComPtr<mapi::IMAPIAdviseSink>(Object->Sink)] {
            mapi::NOTIFICATION events[2]{TableEvent(mapi::TABLE_CHANGED), TableEvent(mapi::TABLE_RELOAD)};
            advised->OnNotify(2, events);
            delivered.set_value();
        });
        entered.get_future().wait();
        if (sinkFirst)
            ending.get_future().wait();
        Table->UnAdvise();
        EXPECT_TRUE(left) << "a sink is still running";
        client.join();
        EXPECT_EQ(sink->Told, TTold{"changed"}) << "nothing after the end";
        EXPECT_FALSE(Table->Get_Advised());
        EXPECT_FALSE(Object->Sink);
        EXPECT_EQ(Calls->Take(), "Advise(0x00000100)\nUnadvise(77)");
        Table->DEventConnect(sink, false);
        Object->OnUnadvise = nullptr;
    }
}

} // namespace
} // namespace deftmapi::test
