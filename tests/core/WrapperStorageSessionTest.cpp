// The session of messages in structured storage, and the memory of sessions, on a client library of the test's own.
#include "mapi/core/uKwMAPILib.hpp"
#include "mapi/headers/uKwMAPIComH.hpp"
#include "tests/core/WrapperFixture.hpp"
#include "tests/support/TestPlatform.hpp"

namespace deftmapi::test
{

namespace
{

class TScriptedMalloc final : public TScriptedUnknown<mapi::IMalloc>
{
public:
    TScriptedMalloc() : TScriptedUnknown({}) {}
    void* DEFTMAPI_STDCALL Alloc(mapi::SIZE_T cb) override { return std::malloc(cb); }
    void* DEFTMAPI_STDCALL Realloc(void* pv, mapi::SIZE_T cb) override { return std::realloc(pv, cb); }
    void DEFTMAPI_STDCALL Free(void* pv) override { std::free(pv); }
    mapi::SIZE_T DEFTMAPI_STDCALL GetSize(void*) override { return 0; }
    int DEFTMAPI_STDCALL DidAlloc(void*) override { return -1; }
    void DEFTMAPI_STDCALL HeapMinimize() override {}
};

std::shared_ptr<TScriptedCalls> calls;
bool noMalloc = false;
int messageSession = 0; // its address is the handle

mapi::LPMALLOC DEFTMAPI_STDCALL GetDefaultMalloc()
{
    calls->Enter("MAPIGetDefaultMalloc", "");
    if (noMalloc)
        return nullptr;
    auto* allocator = new TScriptedMalloc;
    allocator->AddRef();
    return allocator;
}

mapi::SCODE DEFTMAPI_STDCALL OpenSession(mapi::LPMALLOC allocator, mapi::ULONG flags, mapi::LPMSGSESS* session)
{
    *session = &messageSession;
    return calls->Enter("OpenIMsgSession", (allocator != nullptr ? "malloc," : "null,") + Hex(flags))
        .value_or(mapi::S_OK);
}

void DEFTMAPI_STDCALL CloseSession(mapi::LPMSGSESS session)
{
    calls->Enter("CloseIMsgSession", session == &messageSession ? "the session" : "something else");
}

mapi::SCODE DEFTMAPI_STDCALL FailToAllocate(mapi::ULONG, void**)
{
    return mapi::MAPI_E_NOT_ENOUGH_RESOURCES;
}

class WrapperStorageSessionTest : public TLeakChecked
{
protected:
    WrapperStorageSessionTest()
    {
        calls = std::make_shared<TScriptedCalls>();
        noMalloc = false;
        TFakeModule& client = Platform.AddModule(u"client.dll");
        client.Export("MAPIGetDefaultMalloc", &GetDefaultMalloc);
        client.Export("OpenIMsgSession", &OpenSession);
        client.Export("CloseIMsgSession", &CloseSession);
        client.Export("MAPIAllocateBuffer", &TScriptedAllocator::MAPIAllocateBuffer);
        client.Export("MAPIAllocateMore", &TScriptedAllocator::MAPIAllocateMore);
        client.Export("MAPIFreeBuffer", &TScriptedAllocator::MAPIFreeBuffer);
        Load();
    }
    ~WrapperStorageSessionTest() override
    {
        KwUnloadDLL();
        calls.reset();
    }
    static void Load()
    {
        WideString name = u"client.dll";
        bool extended = false;
        KwLoadMAPIDLL(name, extended, false);
    }

    TTestPlatform Platform;
    TKwPlatformOverride Override{Platform};
};

TEST_F(WrapperStorageSessionTest, OpensOnFirstUseAndClosesAtTheEnd)
{
    TKwRef<TKwMAPIStorageSession> session = KwMake<TKwMAPIStorageSession>();
    EXPECT_TRUE(session->Get_Active());
    EXPECT_EQ(calls->Take(), "");
    EXPECT_EQ(session->GetMsgSession(), &messageSession);
    EXPECT_EQ(session->GetMsgSession(), &messageSession);
    EXPECT_EQ(session->GetMemAllocIntf(), session->GetMemAllocIntf());
    EXPECT_EQ(calls->Take(), "MAPIGetDefaultMalloc()\nOpenIMsgSession(malloc,0x00000000)");
    session.Reset();
    EXPECT_EQ(calls->Take(), "CloseIMsgSession(the session)");

    session = KwMake<TKwMAPIStorageSession>();
    session.Reset();
    EXPECT_EQ(calls->Take(), "") << "what was never opened is not closed";
}

TEST_F(WrapperStorageSessionTest, AFailedOpenIsRaisedAndTriedAgain)
{
    const TKwRef<TKwMAPIStorageSession> session = KwMake<TKwMAPIStorageSession>();
    calls->Next("OpenIMsgSession", mapi::MAPI_E_NOT_ENOUGH_RESOURCES);
    EXPECT_EQ(Catch([&] { (void)session->GetMsgSession(); }).ClassName, "EMAPI_NOT_ENOUGH_RESOURCES");
    EXPECT_EQ(session->GetMsgSession(), &messageSession);
    EXPECT_EQ(calls->Count("OpenIMsgSession"), 2u);

    noMalloc = true;
    EXPECT_EQ(Catch([] { (void)KwMake<TKwMAPIStorageSession>()->GetMemAllocIntf(); }),
              Failure("EMAPI_CALL_FAILED", 0x80004005,
                      "TKwMAPIStorageSession.GetMemAllocIntf failed.\r\nThe MAPI library gave no memory allocator!"));
}

TEST_F(WrapperStorageSessionTest, DestructionWithReferencesLeftIsReported)
{
    static TCaught reported;
    reported = {};
    KwSetServerExceptionHandler(
        [](std::exception_ptr exception, void*) { reported = Catch([&] { std::rethrow_exception(exception); }); },
        nullptr);
    struct TDeletedPastTheCount final : TKwMAPIStorageSession
    {
        static void Delete(std::uint32_t references)
        {
            auto* session = new TDeletedPastTheCount;
            while (references-- > 0)
                session->AddRef();
            delete session;
        }
    };
    struct TKeptInItsDestruction final : TKwMAPIStorageSession
    {
        void BeforeDestruction() noexcept override
        {
            TKwMAPIStorageSession::BeforeDestruction();
            AddRef();
        }
    };
    KwMake<TKwMAPIStorageSession>().Reset();
    TDeletedPastTheCount::Delete(0);
    EXPECT_EQ(reported.ClassName, "") << "nobody is left with a reference";
    TDeletedPastTheCount::Delete(1);
    EXPECT_EQ(reported.ClassName, "EKwAssertionFailed");
    reported = {};
    KwMake<TKeptInItsDestruction>().Reset();
    KwSetServerExceptionHandler(nullptr, nullptr);
    EXPECT_EQ(reported.ClassName, "EKwAssertionFailed");
    EXPECT_EQ(reported.Message, "TKwMAPIStorageSession.Destroy; Recount <> 0");
}

TEST_F(WrapperStorageSessionTest, WrappersUseTheLoadedLibrarysMemory)
{
    const TKwRef<TKwMAPIStorageSession> session = KwMake<TKwMAPIStorageSession>();
    const TKwRef<TTestProp> prop = KwMake<TTestProp>(session.Get());
    prop->SetSession(session.Get());
    {
        const TKwMAPIBuffer<void> block(*prop, prop->AllocateBuffer(8));
        EXPECT_NE(prop->AllocateMore(8, block.Get()), nullptr);
        EXPECT_EQ(TScriptedAllocator::Live(), 1u);
    }
    {
        // Memory of a call that no wrapper stands behind.
        TKwMAPIBuffer<void> block;
        *Out(block) = TScriptedAllocator::Allocate(8);
    }
    EXPECT_EQ(TScriptedAllocator::Live(), 0u);

    KwUnloadDLL();
    Platform.AddModule(u"client.dll").Export("MAPIAllocateBuffer", &FailToAllocate);
    Load();
    EXPECT_EQ(Catch([&] { (void)prop->AllocateBuffer(8); }).ClassName, "EMAPI_NOT_ENOUGH_RESOURCES");
}

} // namespace

} // namespace deftmapi::test
