// Initialising per thread, its counting, and what happens when the last thread ends.
#include "tests/core/FakeClient.hpp"

#include <future>
#include <thread>

namespace deftmapi::test
{

namespace
{

using TCalls = std::vector<std::string>;

class LibraryInitialize : public LibraryTest
{
protected:
    static TCaught Initialize(bool multiThread = false, bool service = false, bool call = true, bool noCoInit = false)
    {
        return Catch([=] { KwMAPIInitialize(multiThread, service, call, noCoInit); });
    }
};

TEST_F(LibraryInitialize, LoadsTheDefaultAndUnloadsItInTheEnd)
{
    const TFakeModule& client = AddClient(u"MAPI32.dll");
    EXPECT_FALSE(KwMAPIInitialized());
    EXPECT_EQ(Initialize(), TCaught{});
    EXPECT_TRUE(KwMAPIInitialized());
    EXPECT_EQ(KwCurrentMAPIDllFileName(), u"MAPI32.dll");
    EXPECT_EQ(Log.Take(), TCalls{"MAPIInitialize(null)"});

    KwMAPIUninitialize(false);
    EXPECT_FALSE(KwMAPIInitialized());
    EXPECT_EQ(Log.Take(), TCalls{"MAPIUninitialize"});
    EXPECT_EQ(client.Open(), 0) << "the load was ours";
    EXPECT_EQ(client.Loads, 1);
}

TEST_F(LibraryInitialize, KeepsALibraryThatTheApplicationLoaded)
{
    const TFakeModule& client = AddClient(u"B.dll");
    Load(u"B.dll", false);
    Initialize();
    KwMAPIUninitialize(false);
    EXPECT_EQ(client.Open(), 1);
    Initialize();
    KwMAPIUninitialize(true);
    EXPECT_EQ(client.Open(), 0);
    Load(u"B.dll", true);
    Initialize();
    KwMAPIUninitialize(false);
    EXPECT_EQ(client.Open(), 0);

    // Loading what is loaded changes nothing, not even whether it is unloaded in the end.
    for (const bool unload : {true, false}) {
        Load(u"B.dll", unload);
        Load(u"B.dll", !unload);
        Initialize();
        KwMAPIUninitialize(false);
        EXPECT_EQ(client.Open(), unload ? 0 : 1);
    }
}

TEST_F(LibraryInitialize, TwiceWithTheSameOptionsIsOnce)
{
    const TFakeModule& client = AddClient(u"MAPI32.dll");
    EXPECT_EQ(Initialize(true, false, true, true), TCaught{});
    EXPECT_EQ(Log.Take(), TCalls{"MAPIInitialize(flags 0x9)"});
    EXPECT_EQ(Initialize(true, false, true, true), TCaught{});
    EXPECT_EQ(Initialize(true, false, false, true), TCaught{}) << "whether MAPI is called is no option of the thread";
    EXPECT_TRUE(Log.Take().empty());
    KwMAPIUninitialize(false);
    EXPECT_EQ(client.Open(), 0) << "the count was one";
}

TEST_F(LibraryInitialize, WithAnyOptionOtherStartsOver)
{
    const TFakeModule& client = AddClient(u"MAPI32.dll");
    Initialize();
    Log.Take();
    const struct
    {
        bool MultiThread, Service, NoCoInit;
        const char* Call;
    } steps[] = {
        {true, false, false, "MAPIInitialize(flags 0x1)"}, // one more or one less than in the step before
        {false, false, false, "MAPIInitialize(null)"},        {false, true, false, "MAPIInitialize(flags 0x10000)"},
        {false, false, false, "MAPIInitialize(null)"},        {false, false, true, "MAPIInitialize(flags 0x8)"},
        {false, true, true, "MAPIInitialize(flags 0x10008)"}, {true, true, true, "MAPIInitialize(flags 0x10009)"}};
    for (const auto& step : steps) {
        for (const bool again : {false, true}) {
            EXPECT_EQ(Initialize(step.MultiThread, step.Service, true, step.NoCoInit), TCaught{});
            EXPECT_EQ(Log.Take(), again ? TCalls{} : (TCalls{"MAPIUninitialize", step.Call}));
        }
    }
    EXPECT_EQ(client.Loads, 1) << "the library stays in between";
    KwMAPISessionOpened();
    EXPECT_EQ(Initialize(false).Code, 0x80004005u) << "a session is open";
    EXPECT_TRUE(KwMAPIInitialized());
    KwMAPISessionClosed();
    KwMAPIUninitialize(false);
    EXPECT_EQ(client.Open(), 0);
}

TEST_F(LibraryInitialize, NeedsAClient)
{
    const TCaught notLoaded{"EMAPI_CALL_FAILED", "MAPI hasn't been loaded yet!\r\nYou must first load the MAPI dll.",
                            0x80004005};
    EXPECT_EQ(Initialize().Code, 0x80004005u) << "nothing can be loaded";

    const TFakeModule& simple = AddSimpleClient(u"MAPI32.dll");
    EXPECT_EQ(Initialize(), notLoaded);
    EXPECT_EQ(simple.Loads, 1);
    EXPECT_EQ(simple.Open(), 0);
    EXPECT_FALSE(KwMAPIInitialized());

    EXPECT_EQ(Initialize(false, false, false), TCaught{}) << "Simple MAPI will do";
    EXPECT_TRUE(KwMAPIInitialized());
    KwMAPIUninitialize(false);
    EXPECT_TRUE(Log.Take().empty()) << "neither function was called";
    EXPECT_EQ(simple.Open(), 0);
}

TEST_F(LibraryInitialize, ExplainsTheResultOfMAPIInitialize)
{
    AddClient(u"B.dll");
    Load(u"B.dll");
    const struct
    {
        std::uint32_t Result;
        const char* ClassName;
        const char* Text;
    } cases[] = {
        {0x80070057, "EMAPI_INVALID_PARAMETER",
         "KwLoadMAPI failed!\r\nThe Caller passed an invalid parameter or flag."},
        {0x80040106, "EMAPI_UNKNOWN_FLAGS", "KwLoadMAPI failed!\r\nThe Caller passed an invalid parameter or flag."},
        {0x80040117, "EMAPI_TOO_COMPLEX",
         "KwLoadMAPI failed!\r\n(Windows NT only) The calling process is an NT service and registry keys required by "
         "MAPI could not be initialized.\r\nAdditional information may be available in the application event log."},
        {0x80040110, "EMAPI_VERSION",
         "KwLoadMAPI failed!\r\nThe version of OLE installed on the workstation is not compatible with this version of "
         "MAPI."},
        {0x80040112, "EMAPI_SESSION_LIMIT",
         "KwLoadMAPI failed!\r\nMAPI sets up context specific to the current process.\r\nFailures may occur on Win16 "
         "if the number of processes exceeds a certain number, or on any system if available memory is exhausted."},
        {0x8004010E, "EMAPI_NOT_ENOUGH_RESOURCES",
         "KwLoadMAPI failed!\r\nNot enough system resources were available to complete the operation."},
        {0x80040108, "EMAPI_INVALID_OBJECT", "KwLoadMAPI failed!\r\nCheck if system resources are exhausted."},
        {0x80040605, "EMAPI_NOT_INITIALIZED", "KwLoadMAPI failed!\r\nThe profile provider has encountered an error."},
        {0x80004005, "EMAPI_CALL_FAILED",
         "There is no MAPI Client Library (like MS Outlook) installed, or it is not the default MAPI client!\r\nThe "
         "loaded dll is: B.dll"},
        {0x80040115, "EMAPI_NETWORK_ERROR",
         "uKwMAPILib.KwInitializeMAPI has raised the following exception:\r\nMAPI_E_NETWORK_ERROR "
         "(-2147221227=0x80040115)"},
    };
    for (const auto& row : cases) {
        Log.InitializeResult = static_cast<mapi::HRESULT>(row.Result);
        EXPECT_EQ(Initialize(), (TCaught{row.ClassName, row.Text, row.Result}));
        EXPECT_FALSE(KwMAPIInitialized());
    }
    EXPECT_EQ(Catch([] { KwUnloadDLL(); }), TCaught{}) << "a failure does not count";
}

TEST_F(LibraryInitialize, OpenSessionsHoldTheThread)
{
    AddClient(u"MAPI32.dll");
    KwMAPISessionOpened();
    Initialize();
    EXPECT_EQ(KwMAPISessionOpened(), 1) << "initialising starts the count";
    EXPECT_EQ(Catch([] { KwMAPIUninitialize(false); }),
              (TCaught{"EMAPI_CALL_FAILED",
                       "There are still active MAPI sessions in this thread. You must close these sessions first!",
                       0x80004005}));
    EXPECT_TRUE(KwMAPIInitialized());
    EXPECT_EQ(KwMAPISessionClosed(), 0);
    EXPECT_EQ(KwMAPISessionClosed(), 0);
    KwMAPIUninitialize(false);
    EXPECT_FALSE(KwMAPIInitialized());
}

TEST_F(LibraryInitialize, RunsTheCallbacksBeforeMAPIIsLeft)
{
    const TKwMAPICallback first = [] { Log.Calls.emplace_back("first"); };
    const TKwMAPICallback leaving = [] {
        EXPECT_TRUE(KwMAPIInitialized());
        Log.Calls.emplace_back("leaving");
    };
    const TKwMAPICallback unload = [] { Log.Calls.emplace_back("unload"); };
    KwRegisterOnUninit(first);
    KwRegisterOnUninit(leaving);
    KwRegisterOnUnload(unload);
    AddClient(u"MAPI32.dll");
    Initialize();
    Log.Take();
    KwMAPIUninitialize(false);
    EXPECT_EQ(Log.Take(), (TCalls{"first", "leaving", "MAPIUninitialize", "unload"}));
    KwMAPIUninitialize(true);
    EXPECT_TRUE(Log.Take().empty()) << "the thread is not initialised and nothing is loaded";

    KwUnRegisterOnUninit(first);
    Initialize();
    Log.Take();
    KwMAPIUninitialize(false);
    EXPECT_EQ(Log.Take(), (TCalls{"leaving", "MAPIUninitialize", "unload"}));
    KwUnRegisterOnUninit(leaving);
    KwUnRegisterOnUnload(unload);
}

TEST_F(LibraryInitialize, ACallbackThatUninitialisesDoesNotBeginAnew)
{
    const TKwMAPICallback again = [] {
        Log.Calls.emplace_back("again");
        KwMAPIUninitialize(true);
        EXPECT_TRUE(KwMAPIInitialized());
        EXPECT_EQ(Catch([] { KwUnloadDLL(); }).Message.substr(0, 26), "MAPI is still initialized!");
        EXPECT_EQ(Initialize(), TCaught{}) << "it is initialised so";
        EXPECT_EQ(Initialize(true),
                  (TCaught{"EMAPI_CALL_FAILED",
                           "MAPI is being uninitialized for this thread!\r\nIt cannot be initialized with other "
                           "options meanwhile.",
                           0x80004005}));
    };
    const TFakeModule& client = AddClient(u"B.dll");
    Load(u"B.dll", false);
    Initialize();
    Log.Take();
    KwRegisterOnUninit(again);
    KwMAPIUninitialize(false);
    EXPECT_EQ(Log.Take(), (TCalls{"again", "MAPIUninitialize"}));
    EXPECT_FALSE(KwMAPIInitialized());
    EXPECT_EQ(client.Open(), 0) << "unloaded as the callback asked";
    KwUnRegisterOnUninit(again);

    const TKwMAPICallback open = [] { KwMAPISessionOpened(); };
    KwRegisterOnUninit(open);
    Load(u"B.dll", false);
    Initialize();
    EXPECT_EQ(Catch([] { KwMAPIUninitialize(false); }).Message.substr(0, 37), "There are still active MAPI sessions ");
    EXPECT_TRUE(KwMAPIInitialized());
    KwUnRegisterOnUninit(open);
    KwMAPISessionClosed();

    const TKwMAPICallback raise = [] { throw EKwException(u"stop", 1); };
    KwRegisterOnUninit(raise);
    EXPECT_EQ(Catch([] { KwMAPIUninitialize(false); }).Message, "stop");
    KwUnRegisterOnUninit(raise);
    KwMAPIUninitialize(true);
    EXPECT_FALSE(KwMAPIInitialized()) << "the round that was broken off has ended";
    EXPECT_EQ(client.Open(), 0);
}

TEST_F(LibraryInitialize, ACallbackThatUnloadsOrInitialisesMeanwhile)
{
    const TKwMAPICallback again = [] {
        Log.Calls.emplace_back("again");
        KwUnloadDLL();
        KwMAPIUninitialize(true);
        EXPECT_NE(KwMAPIModule(), nullptr);
    };
    const TFakeModule& client = AddClient(u"B.dll");
    KwRegisterOnUnload(again);
    Load(u"B.dll", true);
    KwUnloadDLL();
    EXPECT_EQ(Log.Take(), TCalls{"again"});
    EXPECT_EQ(client.Open(), 0);
    KwUnRegisterOnUnload(again);

    const TKwMAPICallback briefly = [] {
        Initialize();
        KwMAPIUninitialize(false);
    };
    KwRegisterOnUnload(briefly);
    Load(u"B.dll", true);
    KwUnloadDLL();
    EXPECT_EQ(Log.Take(), (TCalls{"MAPIInitialize(null)", "MAPIUninitialize"}));
    EXPECT_EQ(client.Open(), 0);
    KwUnRegisterOnUnload(briefly);

    const TKwMAPICallback keep = [] { Initialize(); };
    KwRegisterOnUnload(keep);
    Load(u"B.dll", true);
    EXPECT_EQ(Catch([] { KwUnloadDLL(); }).Message.substr(0, 26), "MAPI is still initialized!");
    EXPECT_TRUE(KwMAPIInitialized());
    EXPECT_EQ(Catch([] { KwMAPIUninitialize(false); }), TCaught{}) << "this thread's was undone as asked";
    EXPECT_TRUE(KwMAPIInitialized()) << "and the callback's is a new one";
    EXPECT_EQ(client.Open(), 1);
    KwUnRegisterOnUnload(keep);
    KwMAPIUninitialize(false);
    EXPECT_EQ(client.Open(), 0);
}

TEST_F(LibraryInitialize, EachThreadCounts)
{
    const TFakeModule& client = AddClient(u"MAPI32.dll");
    Initialize();
    std::thread([] {
        EXPECT_FALSE(KwMAPIInitialized());
        KwMAPISessionOpened();
        KwMAPIInitialize(true, false, true, false);
        EXPECT_EQ(Log.Take(), (TCalls{"MAPIInitialize(null)", "MAPIInitialize(flags 0x1)"}));
        EXPECT_EQ(
            Catch([] { KwUnloadDLL(); }),
            (TCaught{"EMAPI_CALL_FAILED",
                     "MAPI is still initialized!\r\nYou must first unitialize MAPI on all threads!", 0x80004005}));
        KwMAPIUninitialize(true);
        EXPECT_EQ(Log.Take(), TCalls{"MAPIUninitialize"});
    }).join();
    EXPECT_EQ(client.Open(), 1) << "this thread is still initialised";
    EXPECT_TRUE(KwMAPIInitialized());
    KwMAPIUninitialize(false);
    EXPECT_TRUE(Log.Take().empty()) << "the process's call was undone by the other thread";
    EXPECT_EQ(client.Open(), 0);
}

TEST_F(LibraryInitialize, TheLatestInitialisationTellsWhetherMAPIIsLeft)
{
    const TFakeModule& client = AddClient(u"MAPI32.dll");
    for (const bool other : {false, true}) {
        Initialize(false, false, !other);
        std::promise<void> ready, end;
        std::thread thread([&] {
            Initialize(false, false, other);
            ready.set_value();
            end.get_future().wait();
            KwMAPIUninitialize(false);
        });
        ready.get_future().wait();
        EXPECT_EQ(Log.Take(), TCalls{"MAPIInitialize(null)"}) << "by one of the two";
        KwMAPIUninitialize(false);
        EXPECT_EQ(Log.Take(), other ? TCalls{"MAPIUninitialize"} : TCalls{});
        EXPECT_EQ(client.Open(), 1) << "the other thread counts, too";
        end.set_value();
        thread.join();
        EXPECT_TRUE(Log.Take().empty()) << "it is left once";
        EXPECT_EQ(client.Open(), 0);
    }
}

TEST_F(LibraryInitialize, AThreadThatIsNotInitialisedEndsTheProcessesCallToo)
{
    const TFakeModule& client = AddClient(u"MAPI32.dll");
    Initialize();
    std::thread([] { KwMAPIUninitialize(true); }).join();
    EXPECT_EQ(client.Open(), 1);
    Log.Take();
    KwMAPIUninitialize(false);
    EXPECT_TRUE(Log.Take().empty());
}

TEST_F(LibraryInitialize, AThreadThatWasNeverInitialisedUnloads)
{
    const TFakeModule& client = AddClient(u"B.dll");
    Load(u"B.dll", true);
    KwMAPIUninitialize(false);
    EXPECT_EQ(client.Open(), 0);
    Load(u"B.dll", false);
    KwMAPIUninitialize(false);
    EXPECT_EQ(client.Open(), 1) << "nobody asked for it";
    EXPECT_TRUE(Log.Take().empty());
}

TEST_F(LibraryInitialize, ManyThreadsAtOnce)
{
    const TFakeModule& client = AddClient(u"MAPI32.dll");
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round) {
                KwMAPIInitialize(false, false, true, false);
                EXPECT_NE(KwMAPIModule(), nullptr);
                KwMAPIUninitialize(false);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(client.Open(), 0);
    EXPECT_EQ(KwMAPIModule(), nullptr);
}

TEST_F(LibraryInitialize, AHostMayKeepMAPI)
{
    EXPECT_EQ(Catch([] { KwDisableMAPIUnitialize(); }).Message, "Assertion failure (uKwMAPILib)");
    AddClient(u"MAPI32.dll");
    Initialize();
    Log.Take();
    KwDisableMAPIUnitialize();
    KwMAPIUninitialize(false);
    EXPECT_TRUE(Log.Take().empty());
    EXPECT_FALSE(KwMAPIInitialized());
    EXPECT_EQ(KwMAPIModule(), nullptr);
    Initialize();
    Log.Take();
    KwMAPIUninitialize(false);
    EXPECT_EQ(Log.Take(), TCalls{"MAPIUninitialize"}) << "it held for one initialisation";
}

} // namespace

} // namespace deftmapi::test
