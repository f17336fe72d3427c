// What a folder of many messages costs: writing them one by one, walking, sorting and filtering the table, opening.
// DEFTMAPI_BENCH_MESSAGES sets their number (10,000 by default). Each message has 28 properties.
#include "client/store/Schema.hpp"
#include "client/store/StoreFile.hpp"
#include "client/store/StoreObjects.hpp"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace
{

using namespace deftmapi;
using namespace deftmapi::client;

void Check(mapi::HRESULT hr)
{
    if (mapi::Failed(hr))
        throw std::runtime_error("MAPI call failed: " + std::to_string(static_cast<mapi::ULONG>(hr)));
}

int MessageCount()
{
    const char* text = std::getenv("DEFTMAPI_BENCH_MESSAGES");
    return text ? std::atoi(text) : 10000;
}

mapi::SPropValue Text(ULONG tag, std::u16string& text)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.lpszW = text.data();
    return value;
}

void WriteMessage(mapi::IMAPIFolder& folder, int number)
{
    const std::string digits = std::to_string(number * 7919 % 1000003);
    const std::u16string wide(digits.begin(), digits.end());
    std::u16string subject = u"Re: Offer " + wide;
    std::u16string sender = u"Sender " + wide.substr(0, 2);
    std::u16string address = u"sender" + wide.substr(0, 2) + u"@example.org";
    std::u16string type = u"SMTP";
    std::u16string filler = u"a value of ordinary length " + wide;
    std::u16string body(600, u'b');
    std::vector<mapi::SPropValue> values = {
        Text(tag::Subject, subject),           Text(tag::SenderName, sender),        Text(tag::SenderEmail, address),
        Text(tag::SenderAddrType, type),       Text(tag::SentRepName, sender),       Text(tag::SentRepEmail, address),
        Text(tag::ConversationTopic, subject), Text(tag::InternetMessageId, filler), Text(tag::Body, body)};
    for (ULONG i = 0; i < 16; ++i)
        values.push_back(Text(((0x6700 + i) << 16) | mapi::PT_UNICODE, filler));
    mapi::SPropValue time{};
    time.ulPropTag = tag::DeliveryTime;
    time.Value.ft = {static_cast<mapi::DWORD>(number * 7919 % 1000003), 0x01DA0000};
    values.push_back(time);
    time.ulPropTag = tag::ClientSubmitTime;
    values.push_back(time);
    mapi::SPropValue flags{};
    flags.ulPropTag = tag::MessageFlags;
    flags.Value.ul = number % 10 ? mapi::MSGFLAG_READ : 0;
    values.push_back(flags);
    TKwComPtr<mapi::IMessage> message;
    Check(folder.CreateMessage(nullptr, 0, Out(message)));
    Check(message->SetProps(static_cast<ULONG>(values.size()), values.data(), nullptr));
    Check(message->SaveChanges(0));
}

/// One store for all benchmarks of the run.
struct Store
{
    Store()
    {
        std::string name = (std::filesystem::temp_directory_path() / "deftmapi-bench-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("mkdtemp");
        path = name;
        CreateStoreFile(path / "bench.store", ToBytes(NewUid()), u"Bench");
        file = StoreFile::Open(path / "bench.store");
        inbox = OpenFolderRow(file, static_cast<std::int64_t>(SpecialFolder::Inbox), true);
    }
    ~Store()
    {
        inbox.Reset();
        file.reset();
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    static Store& Filled()
    {
        static Store store;
        static const bool filled = [] {
            // One transaction around all: filling is not what the readers measure.
            Transaction transaction(store.file->Db());
            for (int i = 0; i < MessageCount(); ++i)
                WriteMessage(*store.inbox.Get(), i);
            transaction.Commit();
            return true;
        }();
        static_cast<void>(filled);
        return store;
    }

    std::filesystem::path path;
    StorePtr file;
    TKwComPtr<mapi::IMAPIFolder> inbox;
};

template <std::size_t N>
struct TagList
{
    ULONG count = N;
    ULONG tags[N];
    operator mapi::LPSPropTagArray() { return reinterpret_cast<mapi::LPSPropTagArray>(this); }
};

TKwComPtr<mapi::IMAPITable> OpenTable(mapi::IMAPIFolder& folder)
{
    TKwComPtr<mapi::IMAPITable> table;
    Check(folder.GetContentsTable(mapi::MAPI_UNICODE, Out(table)));
    TagList<6> columns{
        6, {tag::EntryId, tag::Subject, tag::SenderName, tag::DeliveryTime, tag::MessageFlags, tag::MessageSize}};
    Check(table->SetColumns(columns, 0));
    return table;
}

void SaveOne(benchmark::State& state)
{
    Store store;
    int number = 0;
    for (auto _ : state)
        WriteMessage(*store.inbox.Get(), number++);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(SaveOne)->Unit(benchmark::kMicrosecond);

void OpenFolderTable(benchmark::State& state)
{
    Store& store = Store::Filled();
    for (auto _ : state) {
        auto table = OpenTable(*store.inbox.Get());
        ULONG count = 0;
        Check(table->GetRowCount(0, &count));
        if (count != static_cast<ULONG>(MessageCount()))
            state.SkipWithError("wrong count");
    }
}
BENCHMARK(OpenFolderTable)->Unit(benchmark::kMillisecond);

void WalkAll(benchmark::State& state)
{
    Store& store = Store::Filled();
    for (auto _ : state) {
        auto table = OpenTable(*store.inbox.Get());
        for (;;) {
            RowSet rows;
            Check(table->QueryRows(100, 0, rows.Out()));
            if (rows->cRows == 0)
                break;
        }
    }
    state.SetItemsProcessed(state.iterations() * MessageCount());
}
BENCHMARK(WalkAll)->Unit(benchmark::kMillisecond);

void SortByTime(benchmark::State& state)
{
    Store& store = Store::Filled();
    auto table = OpenTable(*store.inbox.Get());
    mapi::SSortOrderSet order{1, 0, 0, {{tag::DeliveryTime, mapi::TABLE_SORT_DESCEND}}};
    for (auto _ : state) {
        Check(table->SortTable(&order, 0));
        ULONG count = 0;
        Check(table->GetRowCount(0, &count));
    }
}
BENCHMARK(SortByTime)->Unit(benchmark::kMillisecond);

void FilterUnread(benchmark::State& state)
{
    Store& store = Store::Filled();
    auto table = OpenTable(*store.inbox.Get());
    mapi::SRestriction unread{};
    unread.rt = mapi::RES_BITMASK;
    unread.res.resBitMask = {mapi::BMR_EQZ, tag::MessageFlags, mapi::MSGFLAG_READ};
    for (auto _ : state) {
        Check(table->Restrict(&unread, 0));
        ULONG count = 0;
        Check(table->GetRowCount(0, &count));
    }
}
BENCHMARK(FilterUnread)->Unit(benchmark::kMillisecond);

void OpenMessage(benchmark::State& state)
{
    Store& store = Store::Filled();
    const Bytes id = store.file->EntryIdOf(EntryKind::Message, MessageCount() / 2);
    for (auto _ : state) {
        ULONG type = 0;
        TKwComPtr<mapi::IUnknown> object;
        Check(store.inbox->OpenEntry(static_cast<ULONG>(id.size()),
                                     reinterpret_cast<mapi::LPENTRYID>(const_cast<std::uint8_t*>(id.data())), nullptr,
                                     0, &type, Out(object)));
        ULONG count = 0;
        MapiBuffer<mapi::SPropValue> values;
        Check(static_cast<mapi::IMessage*>(object.Get())->GetProps(nullptr, mapi::MAPI_UNICODE, &count, values.Out()));
    }
}
BENCHMARK(OpenMessage)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
