// The road from the search to an initialised thread with the real client library, on the real platform.
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/core/uKwMAPILib.hpp"

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

} // namespace

} // namespace deftmapi::test
