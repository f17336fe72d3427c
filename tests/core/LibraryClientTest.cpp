// The road from the search to an initialised thread with real client libraries, on the real platform.
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/core/uKwMAPILib.hpp"
#include "mapi/core/uKwMAPIxH.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace deftmapi::test
{

namespace
{

TEST(LibraryClient, IsFoundLoadedAndInitialised)
{
    const std::optional<WideString> named = KwSystemPlatform().Environment(u"DEFTMAPI_CLIENT");
    if (!named || named->empty())
        GTEST_SKIP() << "DEFTMAPI_CLIENT names no client library";

    EXPECT_EQ(KwFindMAPIDll(u""), *named);
    WideString fileName;
    EXPECT_EQ(KwMAPIClientDLLBitness(u"", fileName), sizeof(void*) * 8);
    const TKwModuleInfo info = KwReadModuleInfo(fileName);
    EXPECT_TRUE(info.HasExport("MAPIInitialize"));
    EXPECT_TRUE(info.HasExport("MAPILogonEx"));

    KwMAPIInitialize(false, false, true, true);
    EXPECT_EQ(KwCurrentMAPIDllFileName(), *named);
    EXPECT_TRUE(KwExtendedMAPIAvailable());
    void* block = nullptr;
    MAPIAllocateBuffer(100, &block);
    ASSERT_NE(block, nullptr);
    std::memset(block, 0xA5, 100);
    void* more = nullptr;
    MAPIAllocateMore(50, block, &more);
    ASSERT_NE(more, nullptr);
    MAPIFreeBuffer(block);
    MAPIFreeBuffer(nullptr);
    KwMAPIUninitialize(false);
    EXPECT_EQ(KwMAPIModule(), nullptr);
}

TEST(LibraryClient, TheSystemsOwnLibraryExportsWhatIsAskedFor)
{
    WideString fileName = u"MAPI32.dll";
    WideString reason;
    const TKwModule module = KwSystemPlatform().LoadModule(fileName, reason);
    if (module == nullptr)
        GTEST_SKIP() << "this system has no MAPI library of its own";
    KwSystemPlatform().FreeModule(module);

    bool isExtendedMAPI = false;
    KwLoadMAPIDLL(fileName, isExtendedMAPI, false);
    EXPECT_TRUE(isExtendedMAPI);
    void* block = nullptr;
    MAPIAllocateBuffer(100, &block);
    EXPECT_NE(block, nullptr);
    MAPIFreeBuffer(block);
    FreeProws(nullptr);
    FreePadrlist(nullptr);
    KwUnloadDLL();
}

} // namespace

} // namespace deftmapi::test
