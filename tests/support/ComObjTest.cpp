// Reference counting, owners and children, event connections, the silent-exception switch and the counted pointers.
#include "support/uKwComObj.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

using namespace deftmapi;

namespace
{

struct TLog
{
    std::vector<std::string> Entries;
};

class TNode : public TKwAutoIntfObject
{
public:
    TNode(TLog& log, std::string name, TKwAutoIntfObject* owner = nullptr,
          TKwKeepAlive keepAlive = TKwKeepAlive::kaNone)
        : TKwAutoIntfObject(owner, keepAlive), FLog(log), FName(std::move(name))
    {}
    ~TNode() override { FLog.Entries.push_back("~" + FName); }
    using TKwAutoIntfObject::NotifyChildren;

    TKwRef<TNode> Victim; ///< dropped when the owner goes
    std::function<void()> OnOwnerDestroyed;

protected:
    void BeforeDestruction() noexcept override
    {
        // A reference taken and dropped on the way out must not destroy a second time.
        const TKwRef<TNode> self(this);
        FLog.Entries.push_back("before " + FName);
    }
    void DoOwnerDestroyed() noexcept override
    {
        FLog.Entries.push_back(FName + " orphaned");
        Victim.Reset();
        if (OnOwnerDestroyed)
            OnOwnerDestroyed();
    }

private:
    TLog& FLog;
    std::string FName;
};

class ComObjTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(TKwAutoIntfObject::LiveObjects(), FLiveBefore); }
    TLog Log;

private:
    std::size_t FLiveBefore = TKwAutoIntfObject::LiveObjects();
};

using TEntries = std::vector<std::string>;

class ISink : public virtual IKwInterface
{
public:
    virtual void Fire() = 0;
};

class TSink : public TKwAutoIntfObject, public virtual ISink
{
public:
    void Fire() override
    {
        ++Count;
        if (OnFire)
            OnFire();
    }
    std::atomic<int> Count{0};
    std::function<void()> OnFire;
};

} // namespace

TEST_F(ComObjTest, CountsReferences)
{
    TKwRef<TNode> a = KwMake<TNode>(Log, "a");
    EXPECT_EQ(a->RefCount(), 1u);
    {
        const TKwRef<TNode> b = a;
        const TKwRef<TKwAutoIntfObject> base = b;
        const TKwRef<IKwInterface> interface = base;
        EXPECT_EQ(a->RefCount(), 4u);
        EXPECT_EQ(KwAs<TNode>(interface), a);
        EXPECT_EQ(KwAs<ISink>(interface), nullptr);
    }
    EXPECT_EQ(a->RefCount(), 1u);
    TKwRef<TNode> moved = std::move(a);
    EXPECT_EQ(moved->RefCount(), 1u);
    *Out(moved) = KwMake<TNode>(Log, "c").Detach(); // Out drops what was held, the callee's reference is adopted
    EXPECT_EQ(Log.Entries, (TEntries{"before a", "~a"}));
    EXPECT_EQ(moved->RefCount(), 1u);
    const TKwRef<TNode>& same = moved;
    moved = same;
    EXPECT_EQ(moved->RefCount(), 1u);
}

TEST_F(ComObjTest, ChildrenLearnOfTheOwnersEndInOrder)
{
    TKwRef<TNode> owner = KwMake<TNode>(Log, "owner");
    const TKwRef<TNode> first = KwMake<TNode>(Log, "first", owner.Get());
    TKwRef<TNode> gone = KwMake<TNode>(Log, "gone", owner.Get());
    const TKwRef<TNode> second = KwMake<TNode>(Log, "second", owner.Get());
    EXPECT_EQ(owner->RefCount(), 1u); // no keep-alive: no reference
    EXPECT_EQ(first->Owner(), owner.Get());
    gone.Reset();
    owner.Reset();
    EXPECT_EQ(Log.Entries,
              (TEntries{"before gone", "~gone", "before owner", "~owner", "first orphaned", "second orphaned"}));
    EXPECT_EQ(first->Owner(), nullptr);
    EXPECT_TRUE(first->OwnerDestroyed());
    EXPECT_FALSE(KwMake<TNode>(Log, "free")->OwnerDestroyed());
}

TEST_F(ComObjTest, KeepAliveHoldsTheOwner)
{
    TKwRef<TNode> owner = KwMake<TNode>(Log, "owner");
    TKwRef<TNode> child = KwMake<TNode>(Log, "child", owner.Get(), TKwKeepAlive::kaOwner);
    EXPECT_EQ(owner->RefCount(), 2u);
    owner.Reset();
    EXPECT_TRUE(Log.Entries.empty());
    EXPECT_FALSE(child->OwnerDestroyed());
    child.Reset();
    EXPECT_EQ(Log.Entries, (TEntries{"before child", "~child", "before owner", "~owner"}));
}

TEST_F(ComObjTest, ChildrenMayGoAndComeWhileTheyAreTold)
{
    TKwRef<TNode> owner = KwMake<TNode>(Log, "owner");
    const TKwRef<TNode> first = KwMake<TNode>(Log, "first", owner.Get());
    first->Victim = KwMake<TNode>(Log, "victim", owner.Get());
    const TKwRef<TNode> last = KwMake<TNode>(Log, "last", owner.Get());
    TKwRef<TNode> late;
    TNode* raw = owner.Get();
    last->OnOwnerDestroyed = [&] { late = KwMake<TNode>(Log, "late", raw); };
    // Early notification: the owner itself still exists.
    owner->NotifyChildren();
    EXPECT_EQ(Log.Entries, (TEntries{"first orphaned", "before victim", "~victim", "last orphaned", "late orphaned"}));
    EXPECT_TRUE(late->OwnerDestroyed());
    owner.Reset();
    EXPECT_EQ(Log.Entries.size(), 7u); // nobody is told twice
}

TEST_F(ComObjTest, ManyChildrenInAnyOrder)
{
    TKwRef<TNode> owner = KwMake<TNode>(Log, "owner");
    std::vector<TKwRef<TNode>> kept;
    for (int round = 0; round < 50; ++round) {
        std::vector<TKwRef<TNode>> passing;
        for (int i = 0; i < 40; ++i)
            passing.push_back(KwMake<TNode>(Log, "x", owner.Get()));
        kept.push_back(passing[static_cast<std::size_t>(round) % passing.size()]);
    }
    Log.Entries.clear();
    owner.Reset();
    for (const auto& child : kept)
        EXPECT_TRUE(child->OwnerDestroyed());
    EXPECT_EQ(Log.Entries.size(), 2 + kept.size());
}

TEST_F(ComObjTest, CountingFromSeveralThreads)
{
    TKwRef<TNode> shared = KwMake<TNode>(Log, "shared");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([copy = shared] {
            for (int i = 0; i < 5000; ++i) {
                const TKwRef<TNode> mine = copy;
                const TKwRef<IKwInterface> also = mine;
            }
        });
    shared.Reset(); // the last reference goes on one of the threads
    for (auto& thread : threads)
        thread.join();
    threads.clear();
    EXPECT_EQ(Log.Entries, (TEntries{"before shared", "~shared"}));
}

TEST_F(ComObjTest, EventConnections)
{
    TKwEventConnections<ISink> connections;
    const TKwRef<TSink> a = KwMake<TSink>();
    const TKwRef<TSink> b = KwMake<TSink>();
    EXPECT_FALSE(connections.Connect(a, false));
    connections.Connect(a, true);
    connections.Connect(b, true);
    connections.Connect(a, true);
    const auto fire = [&] { connections.ForEach([](ISink& sink) { sink.Fire(); }); };
    fire();
    EXPECT_EQ(a->Count, 2);
    EXPECT_EQ(b->Count, 1);
    // A sink may connect and disconnect others while it is called: who has gone is not called, who has come not yet.
    const TKwRef<TSink> c = KwMake<TSink>();
    a->OnFire = [&] {
        if (connections.Connect(b, false))
            connections.Connect(c, true);
    };
    fire();
    EXPECT_EQ(a->Count, 4);
    EXPECT_EQ(b->Count, 1);
    EXPECT_EQ(c->Count, 0);
    EXPECT_EQ(connections.Count(), 3u);
    EXPECT_TRUE(connections.Connect(c, false));
    EXPECT_TRUE(connections.Connect(a, false));
    EXPECT_EQ(connections.Count(), 1u);
    EXPECT_EQ(a->RefCount(), 2u); // a connection holds a reference
    connections.DisconnectAll();
    EXPECT_EQ(a->RefCount(), 1u);
}

TEST_F(ComObjTest, ConnectingAndFiringFromSeveralThreads)
{
    TKwEventConnections<ISink> connections;
    const TKwRef<TSink> constant = KwMake<TSink>();
    connections.Connect(constant, true);
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                const TKwRef<TSink> sink = KwMake<TSink>();
                connections.Connect(sink, true);
                connections.ForEach([](ISink& each) { each.Fire(); });
                EXPECT_TRUE(connections.Connect(sink, false));
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(constant->Count, 1500);
    EXPECT_EQ(connections.Count(), 1u);
}

TEST(SilentServerExceptionsTest, CountsPerThread)
{
    EXPECT_TRUE(KwSilentServerExceptionsEnabled());
    KwDisableSilentServerExceptions();
    KwDisableSilentServerExceptions();
    KwEnableSilentServerExceptions();
    EXPECT_FALSE(KwSilentServerExceptionsEnabled());
    std::thread([] { EXPECT_TRUE(KwSilentServerExceptionsEnabled()); }).join();
    KwEnableSilentServerExceptions();
    EXPECT_TRUE(KwSilentServerExceptionsEnabled());
    KwEnableSilentServerExceptions(); // one too many does not tip the balance
    KwDisableSilentServerExceptions();
    EXPECT_FALSE(KwSilentServerExceptionsEnabled());
    KwEnableSilentServerExceptions();
}

TEST(SilentServerExceptionsTest, SwallowsAndReportsOrPassesOn)
{
    std::string reported;
    KwSetServerExceptionHandler(
        [](std::exception_ptr exception, void* context) {
            try {
                std::rethrow_exception(exception);
            } catch (const std::runtime_error& e) {
                *static_cast<std::string*>(context) = e.what();
            }
            throw std::runtime_error("the handler's own failure stops there");
        },
        &reported);
    const auto fail = [] { throw std::runtime_error("sink"); };
    EXPECT_FALSE(KwCallServerSink(fail));
    EXPECT_EQ(reported, "sink");
    EXPECT_TRUE(KwCallServerSink([] {}));
    KwDisableSilentServerExceptions();
    EXPECT_THROW(KwCallServerSink(fail), std::runtime_error);
    KwEnableSilentServerExceptions();
    KwSetServerExceptionHandler(nullptr, nullptr);
    EXPECT_FALSE(KwCallServerSink(fail));
}
