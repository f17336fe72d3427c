// The exported functions: initialisation, memory, the COM allocator, tables read whole, conversation indexes, and the
// module itself as an application loads it.
#include "client/entry/Utilities.hpp"
#include "client/formats/ClassObjects.hpp"
#include "client/table/MemorySource.hpp"
#include "client/table/Table.hpp"
#include "tests/client/SessionFixture.hpp"
#include "tests/client/TableConditions.hpp"

#include <cstring>
#include <dlfcn.h>
#include <random>

namespace deftmapi::client::test
{
namespace
{

using EntryPointsTest = SessionTest;

TEST_F(EntryPointsTest, NothingWorksBeforeInitialisation)
{
    MAPIUninitialize();
    Ptr<IProfAdmin> admin;
    EXPECT_EQ(MAPIAdminProfiles(0, Out(admin)), MAPI_E_NOT_INITIALIZED);
    EXPECT_EQ(TryLogOn(u"p", nullptr), MAPI_E_NOT_INITIALIZED);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    MAPIUninitialize(); // one too many does no harm
    MAPIINIT_0 options{MAPI_INIT_VERSION, MAPI_MULTITHREAD_NOTIFICATIONS | MAPI_NO_COINIT};
    ASSERT_EQ(MAPIInitialize(&options), S_OK);
    options.ulFlags = 0x40000000;
    EXPECT_EQ(MAPIInitialize(&options), MAPI_E_UNKNOWN_FLAGS);
    options = {1, 0};
    EXPECT_EQ(MAPIInitialize(&options), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(MAPIAdminProfiles(0, Out(admin)), S_OK);
    EXPECT_EQ(MAPIAdminProfiles(1, Out(admin)), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_FALSE(admin);
}

TEST_F(EntryPointsTest, MemoryOfOthersIsRefused)
{
    void* buffer = nullptr;
    void* more = nullptr;
    void* foreign = &buffer;
    ASSERT_EQ(MAPIAllocateBuffer(10, &buffer), S_OK);
    ASSERT_EQ(MAPIAllocateMore(1000, buffer, &more), S_OK);
    std::memset(more, 0xAB, 1000);
    EXPECT_EQ(MAPIAllocateMore(10, foreign, &more), MAPI_E_INVALID_PARAMETER);
    EXPECT_EQ(more, nullptr);
    EXPECT_EQ(MAPIFreeBuffer(foreign), static_cast<ULONG>(MAPI_E_INVALID_PARAMETER));
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(MAPIFreeBuffer(buffer), 0u);
    EXPECT_EQ(MAPIFreeBuffer(nullptr), 0u);
    EXPECT_EQ(MAPIAllocateBuffer(10, nullptr), MAPI_E_INVALID_PARAMETER);
    FreeProws(nullptr);
    FreePadrlist(nullptr);
}

TEST_F(EntryPointsTest, BuffersAreKnownInAnyNumberAndOrder)
{
    const std::size_t before = LiveBuffers();
    std::mt19937 random(7);
    std::vector<void*> alive;
    for (int step = 0; step < 30000; ++step) {
        // Grows to some thousands, shrinks to a few, and grows again.
        const bool grows = (step / 10000) % 2 == 0;
        if (alive.empty() || random() % 4 < (grows ? 3u : 1u)) {
            void* buffer = nullptr;
            ASSERT_EQ(MAPIAllocateBuffer(static_cast<ULONG>(1 + random() % 600), &buffer), S_OK);
            alive.push_back(buffer);
            continue;
        }
        std::swap(alive[random() % alive.size()], alive.back());
        ASSERT_EQ(MAPIFreeBuffer(alive.back()), 0u) << step;
        ASSERT_EQ(MAPIFreeBuffer(alive.back()), static_cast<ULONG>(MAPI_E_INVALID_PARAMETER)) << step;
        alive.pop_back();
        ASSERT_EQ(LiveBuffers(), before + alive.size());
    }
    for (void* buffer : alive) {
        void* more = nullptr;
        ASSERT_EQ(MAPIAllocateMore(8, buffer, &more), S_OK);
        ASSERT_EQ(MAPIFreeBuffer(buffer), 0u);
    }
    EXPECT_EQ(LiveBuffers(), before);
}

TEST_F(EntryPointsTest, TheComAllocatorKnowsTheSizeOfItsBlocks)
{
    IMalloc* allocator = MAPIGetDefaultMalloc();
    ASSERT_TRUE(allocator);
    Ptr<IMalloc> again;
    ASSERT_EQ(allocator->QueryInterface(IID_IMalloc, OutVoid(again)), S_OK);
    void* block = allocator->Alloc(3);
    ASSERT_TRUE(block);
    EXPECT_EQ(allocator->GetSize(block), 3u);
    std::memcpy(block, "abc", 3);
    block = allocator->Realloc(block, 100'000);
    ASSERT_TRUE(block);
    EXPECT_EQ(allocator->GetSize(block), 100'000u);
    EXPECT_EQ(std::memcmp(block, "abc", 3), 0);
    EXPECT_EQ(allocator->Alloc(SIZE_MAX), nullptr);
    EXPECT_EQ(allocator->Realloc(block, 0), nullptr); // frees
    allocator->Free(nullptr);
}

Ptr<IMAPITable> NumberTable(int count)
{
    std::vector<Props> rows;
    for (int i = 0; i < count; ++i)
        rows.push_back({LongProp(tag::RowId, i), LongProp(tag::Importance, i % 2)});
    auto source = std::make_shared<MemorySource>(std::vector<ULONG>{tag::RowId}, std::move(rows));
    return Ptr<IMAPITable>(new Table(std::move(source), true));
}

TEST_F(EntryPointsTest, AllRowsAreReadInOneSet)
{
    auto table = NumberTable(2501);
    ASSERT_EQ(table->SeekRow(BOOKMARK_END, 0, nullptr), S_OK); // where it stands does not matter
    RowSet rows;
    ASSERT_EQ(HrQueryAllRows(table.Get(), nullptr, nullptr, nullptr, 0, rows.Out()), S_OK);
    ASSERT_EQ(rows->cRows, 2501u);
    for (ULONG i = 0; i < rows->cRows; ++i)
        ASSERT_EQ(rows->aRow[i].lpProps[0].Value.l, static_cast<LONG>(i));

    ASSERT_EQ(HrQueryAllRows(table.Get(), Tags{tag::Importance, tag::RowId}, Is(Long(tag::Importance, 1)),
                             SortKeys{{tag::RowId, TABLE_SORT_DESCEND}}, 1250, rows.Out()),
              S_OK);
    ASSERT_EQ(rows->cRows, 1250u);
    EXPECT_EQ(rows->aRow[0].cValues, 2u);
    EXPECT_EQ(rows->aRow[0].lpProps[1].Value.l, 2499);
    EXPECT_EQ(HrQueryAllRows(table.Get(), nullptr, nullptr, nullptr, 1249, rows.Out()), MAPI_E_TABLE_TOO_BIG);
    EXPECT_FALSE(rows.Get());
    EXPECT_EQ(HrQueryAllRows(nullptr, nullptr, nullptr, nullptr, 0, rows.Out()), MAPI_E_INVALID_PARAMETER);
    ASSERT_EQ(HrQueryAllRows(NumberTable(0).Get(), nullptr, nullptr, nullptr, 0, rows.Out()), S_OK);
    EXPECT_EQ(rows->cRows, 0u);

    // Whichever allocation fails, the rows read so far are freed.
    int failures = 0;
    for (long n = 1;; ++n) {
        FailAllocation(n);
        const HRESULT hr = HrQueryAllRows(table.Get(), nullptr, nullptr, nullptr, 0, rows.Out());
        FailAllocation(0);
        if (hr == S_OK)
            break;
        ASSERT_EQ(hr, MAPI_E_NOT_ENOUGH_MEMORY);
        ++failures;
        n += 97; // there are thousands
    }
    EXPECT_GT(failures, 10);
}

TEST_F(EntryPointsTest, ConversationIndexesGrowByAnswers)
{
    constexpr std::int64_t Start = 0x01D9'1234'5678'9ABC;
    const Bytes header = NextConversationIndex({}, Start);
    ASSERT_EQ(header.size(), 22u);
    EXPECT_EQ(Bytes(header.begin(), header.begin() + 6), (Bytes{0x01, 0xD9, 0x12, 0x34, 0x56, 0x78}));

    // One hour later: 36,000,000,000 units and the 16 bits that the header lacks, in steps of 2^18.
    constexpr std::int64_t Hour = 36'000'000'000;
    const auto blockOf = [&](std::int64_t later) {
        const Bytes child = NextConversationIndex(header, Start + later);
        EXPECT_EQ(child.size(), 27u);
        EXPECT_TRUE(std::equal(header.begin(), header.end(), child.begin()));
        return std::uint32_t{child[22]} << 24 | std::uint32_t{child[23]} << 16 | std::uint32_t{child[24]} << 8 |
               child[25];
    };
    EXPECT_EQ(blockOf(Hour), (Hour + 0x9ABC) >> 18);
    EXPECT_EQ(blockOf(-Hour), 0u);
    constexpr std::int64_t Years = std::int64_t{1} << 50;
    EXPECT_EQ(blockOf(Years), 0x80000000u | static_cast<std::uint32_t>((Years + 0x9ABC) >> 23));
    constexpr std::int64_t Edge = (std::int64_t{1} << 49) - 0x9ABC;
    EXPECT_EQ(blockOf(Edge - 1), 0x7FFFFFFFu);
    EXPECT_EQ(blockOf(Edge), 0x80000000u | 1u << 26);

    // The form that repeats the first byte has bits 63 to 24 of the time.
    Bytes other = header;
    other.erase(other.begin() + 6);
    other.insert(other.begin(), 1);
    const Bytes child = NextConversationIndex(other, Start + Hour);
    EXPECT_EQ(std::uint32_t{child[24]} << 8 | child[25], ((Hour + 0x78'9ABC) >> 18) & 0xFFFF);

    for (const std::size_t size : {1u, 21u, 23u, 28u}) {
        BYTE* index = nullptr;
        ULONG length = 0;
        Bytes damaged(size, 1);
        ASSERT_EQ(ScCreateConversationIndex(static_cast<ULONG>(size), damaged.data(), &length, &index), S_OK);
        EXPECT_EQ(length, 22u) << size;
        EXPECT_EQ(MAPIFreeBuffer(index), 0u);
    }
    ULONG length = 0;
    BYTE* index = nullptr;
    EXPECT_EQ(ScCreateConversationIndex(5, nullptr, &length, &index), MAPI_E_INVALID_PARAMETER);
}

TEST_F(EntryPointsTest, ClassesAreCreatedOrToldUnknown)
{
    void* factory = &factory;
    EXPECT_EQ(DllGetClassObject(IID_IUnknown, IID_IClassFactory, &factory), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(factory, nullptr);
    EXPECT_EQ(HrDispatchNotifications(0), S_OK);
}

TEST_F(EntryPointsTest, TheDataFolderFollowsTheEnvironment)
{
    ::unsetenv("DEFTMAPI_HOME");
    ::setenv("XDG_DATA_HOME", FFolder.Path().c_str(), 1);
    EXPECT_EQ(Create(u"xdg"), S_OK);
    EXPECT_TRUE(std::filesystem::exists(FFolder.Path() / "deftmapi" / "profiles.db"));
    EXPECT_EQ(std::filesystem::status(FFolder.Path() / "deftmapi").permissions(), std::filesystem::perms::owner_all);
    ::setenv("XDG_DATA_HOME", "relative", 1);
    const std::string home = ::getenv("HOME") ? ::getenv("HOME") : "";
    ::setenv("HOME", (FFolder.Path() / "user").c_str(), 1);
    EXPECT_EQ(Create(u"home"), S_OK);
    EXPECT_TRUE(std::filesystem::exists(FFolder.Path() / "user/.local/share/deftmapi/profiles.db"));
    ::unsetenv("HOME");
    Ptr<IProfAdmin> admin;
    EXPECT_EQ(MAPIAdminProfiles(0, Out(admin)), MAPI_E_UNCONFIGURED);
    ::setenv("HOME", home.c_str(), 1);
    ::unsetenv("XDG_DATA_HOME");
}

// What is not offered is not exported, so that an application can tell.
TEST(Module, ExportsWhatItOffersAndNothingElse)
{
    const char* file = ::getenv("DEFTMAPI_CLIENT");
    if (!file)
        GTEST_SKIP() << "DEFTMAPI_CLIENT does not name the module";
    void* module = ::dlopen(file, RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(module) << ::dlerror();
    for (const char* name : {"DllCanUnloadNow", "DllGetClassObject", "FreePadrlist", "FreeProws", "HrAllocAdviseSink",
                             "HrDispatchNotifications", "HrQueryAllRows", "HrThisThreadAdviseSink", "MAPIAdminProfiles",
                             "MAPIAllocateBuffer", "MAPIAllocateMore", "MAPIFreeBuffer", "MAPIGetDefaultMalloc",
                             "MAPIInitialize", "MAPILogonEx", "MAPIUninitialize", "ScCreateConversationIndex"})
        EXPECT_TRUE(::dlsym(module, name)) << name;
    for (const char* name : {"MAPILogon", "WrapCompressedRTFStream", "OpenIMsgOnIStg"})
        EXPECT_FALSE(::dlsym(module, name)) << name;
    ::dlclose(module);
}

} // namespace
} // namespace deftmapi::client::test
