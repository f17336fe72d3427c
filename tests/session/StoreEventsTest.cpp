// Store events: when a store asks to be notified, what sinks and functions get, and what ends it.
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "tests/session/StoreFixture.hpp"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <thread>

namespace deftmapi::test
{
namespace
{

constexpr auto StoreMask = static_cast<std::int32_t>(mapi::STORE_UNICODE_OK | mapi::STORE_NOTIFY_OK);

std::string Text(const TKwMAPIEntryID& id)
{
    const TKwBytes bytes = EntryIDToArr(id);
    return id.IsNull() ? "-" : std::string(bytes.begin(), bytes.end());
}

std::string Described(const std::string& event, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                      const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID,
                      IKwMAPIPropList& properties)
{
    std::string text = event + " " + Text(entryID) + " " + std::to_string(objectType) + " " + Text(parentID) + " " +
                       Text(oldID) + " " + Text(oldParentID);
    for (properties.First(); !properties.Get_EOF(); properties.Next())
        text += " " + KwToUtf8(GetPropName(properties.Get_CurrentRecord()));
    return text;
}

std::string Described(const std::string& event, const TKwMAPIEntryID& folderID, const TKwMAPIEntryID& messageID,
                      const WideString& messageClass)
{
    return event + " " + Text(folderID) + " " + Text(messageID) + " " + KwToUtf8(messageClass);
}

/// Notes what it is told, and does what a test wants then.
class TSink final : public TKwAutoIntfObject, public virtual IKwMAPIMsgStoreDEvents
{
public:
    std::vector<std::string> Told;
    std::function<void(IKwMAPIMsgStore& store)> Then;

    void _OnSessionLogoff(IKwMAPIMsgStore& store) override { Note("logoff", store); }
    void _OnNewMessage(IKwMAPIMsgStore& store, const TKwMAPIEntryID& folderID, const TKwMAPIEntryID& messageID,
                       const WideString& messageClass) override
    {
        Note(Described("mail", folderID, messageID, messageClass), store);
    }
#define DEFTMAPI_NOTED(Event)                                                                                          \
    void _OnObject##Event(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,         \
                          const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,                                 \
                          const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) override                     \
    {                                                                                                                  \
        const std::string text = Described(#Event, entryID, objectType, parentID, oldID, oldParentID, properties);     \
        properties.Clear(); /* a list of its own */                                                                    \
        Note(text, store);                                                                                             \
    }
    DEFTMAPI_NOTED(Created)
    DEFTMAPI_NOTED(Deleted)
    DEFTMAPI_NOTED(Modified)
    DEFTMAPI_NOTED(Moved)
    DEFTMAPI_NOTED(Copied)
#undef DEFTMAPI_NOTED

private:
    void Note(const std::string& event, IKwMAPIMsgStore& store)
    {
        Told.push_back(event);
        if (Then)
            Then(store);
    }
};

class TStoreEventsTest : public TStoreTest
{
protected:
    TStoreEventsTest()
    {
        Object->Bag.Set(LongValue(GetPropTag(PR_STORE_SUPPORT_MASK), StoreMask));
        Store = OpenStore(alReadWrite);
        KwSetServerExceptionHandler(
            [](std::exception_ptr exception, void* context) {
                auto& texts = *static_cast<std::vector<std::string>*>(context);
                texts.push_back(Catch([&] { std::rethrow_exception(exception); }).Message);
            },
            &Reported);
    }
    ~TStoreEventsTest() override { KwSetServerExceptionHandler(nullptr, nullptr); }

    TKwRef<TSink> Connect()
    {
        const auto sink = KwMake<TSink>();
        Store->DEventConnect(sink, true);
        return sink;
    }
    /// The client delivers events, all in one call.
    void Notify(std::vector<mapi::NOTIFICATION> events)
    {
        const TKwComPtr<mapi::IMAPIAdviseSink> sink(Object->Sink); // a client keeps the sink while it calls it
        ASSERT_TRUE(sink);
        sink->OnNotify(static_cast<mapi::ULONG>(events.size()), events.data());
    }
    /// The calls about notifications.
    [[nodiscard]] std::string TakeCalls()
    {
        return TakeLines(
            *Calls, [](const std::string& line) { return line.find("dvise(") != std::string::npos; }, " ");
    }

    std::vector<std::string> Reported;
};

using TTold = std::vector<std::string>;

mapi::NOTIFICATION Event(mapi::ULONG type)
{
    mapi::NOTIFICATION event{};
    event.ulEventType = type;
    return event;
}

mapi::LPENTRYID EntryOf(const char* text)
{
    return reinterpret_cast<mapi::LPENTRYID>(const_cast<char*>(text));
}

TEST_F(TStoreEventsTest, TheFirstSinkAdvisesAndTheLastEndsIt)
{
    EXPECT_FALSE(Store->Get_Advised());
    const auto first = Connect();
    EXPECT_NE(Calls->Count("OpenEntry"), 0u) << "the Inbox was looked at";
    EXPECT_NE(Calls->Lines().back().find("store.GetProps([0x662B0102]"), std::string::npos) << "PR_TEST_LINE_SPEED";
    EXPECT_EQ(TakeCalls(), "store.Advise(,0x2000007E) ");
    const auto second = Connect();
    Store->DEventConnect(first, false);
    Store->DEventConnect(first, false); // it is not connected any more
    EXPECT_TRUE(Store->Get_Advised());
    EXPECT_EQ(TakeCalls(), "");
    EXPECT_EQ(
        Catch([&] { Store->Advise(); }),
        Failure("EMAPI_CALL_FAILED", 0x80004005, "The messagestore notification system has already been activated!"));
    Store->DEventConnect(second, false);
    EXPECT_EQ(TakeCalls(), "store.Unadvise(5) ");
    EXPECT_FALSE(Store->Get_Advised());

    Calls->Next("store.Advise", mapi::MAPI_E_UNKNOWN_FLAGS);
    Calls->Next("GetReceiveFolder", mapi::MAPI_E_NO_SUPPORT); // a store without an Inbox can notify
    const auto third = Connect();
    EXPECT_EQ(TakeCalls(), "store.Advise(,0x2000007E) store.Advise(,0x0000007E) ");
    Store.Reset(); // a store that nobody holds any more tells its sinks nothing
    EXPECT_EQ(TakeCalls(), "store.Unadvise(5) ");
    EXPECT_TRUE(third->Told.empty());
    EXPECT_EQ(third->RefCount(), 1u);
}

TEST_F(TStoreEventsTest, StoresThatDoNotNotify)
{
    const auto connect = [&] { return Connect(); };
    const TCaught refusal = Failure("EMAPI_NOT_SUPPORTED", 26, "This messagestore does not support notifications!");
    Calls->Next("store.Advise", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Catch(connect).Message.substr(0, 21), "TKwMAPIMsgStore.Start");
    EXPECT_FALSE(Store->Get_Advised());
    Object->Connection = 0;
    EXPECT_EQ(Catch(connect), refusal);
    EXPECT_FALSE(Store->Get_Advised());
    Object->Bag.Set(LongValue(GetPropTag(PR_STORE_SUPPORT_MASK), static_cast<std::int32_t>(mapi::STORE_UNICODE_OK)));
    Store = OpenStore(alReadWrite);
    EXPECT_EQ(Catch(connect), refusal);
    EXPECT_EQ(Calls->Count("store.Advise"), 0u);

    // A sink that was refused does not count: the next one asks again.
    Object->Bag.Set(LongValue(GetPropTag(PR_STORE_SUPPORT_MASK), StoreMask));
    Object->Connection = 5;
    Store = OpenStore(alReadWrite);
    Calls->Next("store.Advise", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch(connect).ClassName, "EMAPI_NETWORK_ERROR");
    const auto sink = Connect();
    EXPECT_TRUE(Store->Get_Advised());
    Store->DEventConnect(sink, false);
    EXPECT_FALSE(Store->Get_Advised());
}

TEST_F(TStoreEventsTest, EventsInOrderToEverySinkAndFunction)
{
    const auto first = Connect();
    const auto second = Connect();
    TTold told;
    TKwMAPIMsgStoreEvents functions;
    const auto note = [&](const char* event) {
        return [&told, event](IKwMAPIMsgStore&, auto&&... args) { told.push_back(Described(event, args...)); };
    };
    functions.OnNewMessage = note("mail");
    functions.OnObjectCreated = note("Created");
    functions.OnObjectDeleted = note("Deleted");
    functions.OnObjectModified = note("Modified");
    functions.OnObjectMoved = note("Moved");
    functions.OnObjectCopied = note("Copied");
    functions.Start(*Store);
    mapi::NOTIFICATION wide = Event(mapi::fnevNewMail);
    wide.info.newmail = {1, EntryOf("M"), 1, EntryOf("F"), mapi::MAPI_UNICODE, const_cast<char16_t*>(u"IPM.Ä"), 0};
    mapi::NOTIFICATION narrow = wide;
    narrow.info.newmail.ulFlags = 0;
    narrow.info.newmail.lpszMessageClass = const_cast<char*>("IPM.\xC4");
    TKwMAPITagArray tags(std::vector<mapi::ULONG>{0x0037001F, 0x6F5D0003});
    mapi::NOTIFICATION object{};
    object.info.obj = {1, EntryOf("O"),   mapi::MAPI_MESSAGE, 1, EntryOf("P"), 0, EntryOf("never"),
                       3, EntryOf("OLD"), tags.Get()};
    std::vector<mapi::NOTIFICATION> events{wide, narrow};
    for (const mapi::ULONG type : {0x4u, 0x8u, 0x10u, 0x20u, 0x40u}) {
        object.ulEventType = type;
        events.push_back(object);
    }
    events.push_back(Event(mapi::fnevSearchComplete)); // none of ours
    object.info.obj.lpPropTagArray = nullptr;
    events.push_back(object);
    Notify(events);

    const std::string rest = " O 5 P - OLD PR_SUBJECT 0x6F5D0003";
    const TTold all{"mail F M IPM.Ä",  "mail F M IPM.Ä", "Created" + rest, "Deleted" + rest,
                    "Modified" + rest, "Moved" + rest,   "Copied" + rest,  "Copied O 5 P - OLD"};
    for (const TTold& each : {first->Told, second->Told, told})
        EXPECT_EQ(each, all);
    EXPECT_TRUE(Reported.empty());
}

TEST_F(TStoreEventsTest, SinksThatThrowOrLeave)
{
    const auto first = Connect();
    first->Then = [](IKwMAPIMsgStore&) {
        EXPECT_FALSE(KwSilentServerExceptionsEnabled());
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, u"no")->Raise();
    };
    const auto second = Connect();
    Notify({Event(mapi::fnevObjectCreated), Event(mapi::fnevObjectDeleted)});
    EXPECT_EQ(first->Told.size(), 2u) << "one failure does not cost the next notification";
    EXPECT_EQ(second->Told.size(), 2u) << "nor what is told to others";
    EXPECT_EQ(Reported.size(), 2u);
    EXPECT_TRUE(KwSilentServerExceptionsEnabled());

    // A sink that an earlier one disconnects is told nothing more, one that it connects nothing yet.
    const auto third = KwMake<TSink>();
    first->Then = [&](IKwMAPIMsgStore& store) {
        store.DEventConnect(second, false);
        if (first->Told.size() == 3)
            store.DEventConnect(third, true);
    };
    Notify({Event(mapi::fnevObjectCreated), Event(mapi::fnevObjectDeleted)});
    EXPECT_EQ(first->Told.size(), 4u);
    EXPECT_EQ(second->Told.size(), 2u);
    EXPECT_EQ(third->Told.size(), 1u);

    first->Then = [&](IKwMAPIMsgStore&) { Store.Reset(); };
    Notify({Event(mapi::fnevObjectCreated), Event(mapi::fnevObjectDeleted)});
    EXPECT_EQ(first->Told.size(), 5u) << "the store is gone";
    EXPECT_EQ(third->Told.size(), 1u);
    EXPECT_EQ(first->RefCount(), 1u);
    EXPECT_EQ(TakeCalls(), "store.Advise(,0x2000007E) store.Unadvise(5) ");
}

TEST_F(TStoreEventsTest, TheStoreEndsOnTheThreadThatDropsIt)
{
    const auto sink = KwMake<TSink>();
    Store.Reset();
    const std::size_t objects = TKwAutoIntfObject::LiveObjects();
    for (int round = 0; round < 300; ++round) {
        Store = OpenStore(alReadWrite);
        Store->DEventConnect(sink, true);
        const TKwComPtr<mapi::IMAPIAdviseSink> advised(Object->Sink);
        std::promise<void> entered;
        sink->Then = [&](IKwMAPIMsgStore& store) {
            const auto& held = dynamic_cast<TKwMAPIMsgStore&>(store);
            const std::uint32_t references = held.RefCount();
            entered.set_value();
            while (held.RefCount() == references) // until the other thread drops its own
                std::this_thread::yield();
        };
        std::thread client([&] {
            mapi::NOTIFICATION mail = Event(mapi::fnevNewMail);
            advised->OnNotify(1, &mail);
        });
        entered.get_future().wait();
        Store.Reset();
        ASSERT_EQ(TKwAutoIntfObject::LiveObjects(), objects) << round;
        client.join();
        static_cast<void>(Take());
    }
    EXPECT_EQ(sink->Told.size(), 300u);
    EXPECT_EQ(sink->RefCount(), 1u);
}

TEST_F(TStoreEventsTest, LogoffIsToldLast)
{
    const auto sink = Connect();
    bool active = true;
    sink->Then = [&](IKwMAPIMsgStore& store) {
        active = store.Get_Advised() || store.Get_MAPIOBJECT() != nullptr;
        EXPECT_EQ(TakeCalls(), "store.Advise(,0x2000007E) store.Unadvise(5) ");
    };
    Session->Set_Active(false);
    EXPECT_EQ(sink->Told, TTold{"logoff"});
    EXPECT_FALSE(active);
    EXPECT_EQ(Catch([&] { Store->DEventConnect(KwMake<TSink>(), true); }).ClassName, "EMAPI_NO_ACCESS");
    Store->DEventConnect(sink, false);
}

TEST_F(TStoreEventsTest, WhateverFailsNothingStaysConnected)
{
    int failed = 0;
    for (int n = 1;; ++n) {
        Calls->FailNth(n, mapi::MAPI_E_NETWORK_ERROR);
        const auto sink = KwMake<TSink>();
        const TCaught caught = Catch([&] { Store->DEventConnect(sink, true); });
        if (!Calls->Failed()) {
            Calls->FailNth(0, mapi::S_OK);
            EXPECT_EQ(caught.ClassName, "");
            Store->DEventConnect(sink, false);
            break;
        }
        if (caught.ClassName.empty()) { // asking for the Inbox may fail
            Store->DEventConnect(sink, false);
        } else {
            ++failed;
            EXPECT_EQ(caught.ClassName, "EMAPI_NETWORK_ERROR") << n;
        }
        EXPECT_FALSE(Store->Get_Advised()) << n;
        EXPECT_EQ(sink->RefCount(), 1u) << n;
        EXPECT_EQ(Object->Sink.Get(), nullptr) << n;
    }
    EXPECT_GE(failed, 3);
}

TEST_F(TStoreEventsTest, StoppingWaitsForASinkOnTheClientsThread)
{
    const auto sink = Connect();
    std::promise<void> entered;
    std::promise<void> go;
    std::atomic<bool> done = false;
    sink->Then = [&](IKwMAPIMsgStore&) {
        entered.set_value();
        go.get_future().wait();
        done = true;
    };
    std::thread client([&] { Notify({Event(mapi::fnevObjectCreated)}); });
    entered.get_future().wait();
    std::thread main([&] { go.set_value(); });
    Store->DEventConnect(sink, false);
    EXPECT_TRUE(done);
    main.join();
    client.join();
    EXPECT_EQ(sink->Told.size(), 1u);
}

TEST_F(TStoreEventsTest, TheComponentStartsAndStops)
{
    TTold told;
    TKwMAPIMsgStoreEvents events;
    events.OnObjectModified = [&](auto&&...) { told.push_back("modified"); };
    events.OnSessionLogoff = [&](IKwMAPIMsgStore&) { told.push_back("logoff"); };
    events.Stop();
    events.Start(*Store);
    EXPECT_TRUE(events.GetActive());
    EXPECT_EQ(events.GetMsgStore().Get(), Store.Get());
    std::vector<mapi::NOTIFICATION> all{Event(mapi::fnevNewMail)};
    for (const mapi::ULONG type : {0x4u, 0x8u, 0x10u, 0x20u, 0x40u})
        all.push_back(Event(type));
    Notify(all);
    EXPECT_EQ(told, TTold{"modified"}) << "nobody listens to the others";
    EXPECT_TRUE(Reported.empty());

    events.OnObjectCreated = [&](auto&&...) { events.Stop(); };
    Notify(all);
    EXPECT_EQ(told, TTold{"modified"});
    EXPECT_FALSE(events.GetActive());
    EXPECT_FALSE(Store->Get_Advised());

    events.Start(*Store);
    Session->Set_Active(false);
    EXPECT_EQ(told.back(), "logoff");
    EXPECT_FALSE(events.GetActive());
    EXPECT_EQ(Catch([&] { events.Start(*Store); }).ClassName, "EMAPI_NO_ACCESS");
    EXPECT_EQ(events.GetMsgStore(), nullptr);
}

} // namespace
} // namespace deftmapi::test
