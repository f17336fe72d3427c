// Walking a folder of 100,000 messages in five columns through TKwMAPITable against the same walk with bare IMAPITable
// calls on the same table of the embedded client, at equal batch sizes. Both read the same values: in the form that
// MAPI returns, and as variants. The best turn of each counts, in processor time. The program fails when a walk costs
// more than 1.3 times the bare one.
//
// DEFTMAPI_BENCH_SHORT: 10,000 messages.
#include "client/entry/Allocator.hpp"
#include "client/store/Schema.hpp"
#include "client/store/StoreFile.hpp"
#include "client/store/StoreObjects.hpp"
#include "mapi/core/uKwMAPIPropValue.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "mapi/table/uKwMAPITable.hpp"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>

namespace
{

using namespace deftmapi;

constexpr double Limit = 1.3;
constexpr double ShortLimit = 2.5; // one quick pass on a busy machine
constexpr int Turns = 5;

bool failed = false;

mapi::ULONG MessageCount()
{
    return std::getenv("DEFTMAPI_BENCH_SHORT") != nullptr ? 10'000 : 100'000;
}

void Check(mapi::HRESULT hr)
{
    if (mapi::Failed(hr))
        throw std::runtime_error("MAPI call failed: " + std::to_string(static_cast<mapi::ULONG>(hr)));
}

/// A session over the memory of the client that is linked in.
class TBenchSession final : public TKwMAPISessionBase
{
public:
    [[nodiscard]] WideString GetClassName() const override { return u"TBenchSession"; }
    [[nodiscard]] WordBool Get_Active() const noexcept override { return true; }
    [[nodiscard]] WordBool UsesExtendedMAPI() const noexcept override { return true; }
    [[nodiscard]] WordBool Get_ConnectedToExchange() const noexcept override { return false; }
    [[nodiscard]] void* AllocateBuffer(mapi::ULONG size) override
    {
        void* buffer = nullptr;
        Check(client::AllocateBuffer(size, &buffer));
        return buffer;
    }
    void FreeBuffer(void* buffer) override { client::FreeBuffer(buffer); }
};

/// What the table belongs to.
class TBenchOwner final : public TKwMAPIProp
{
public:
    explicit TBenchOwner(TKwMAPISessionBase& session) : TKwMAPIProp(&session) { SetSession(&session); }
    [[nodiscard]] WideString GetClassName() const override { return u"TBenchOwner"; }
};

/// A store with one folder of messages, gone with this object.
class TFolder
{
public:
    TFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "deftmapi-bench-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("mkdtemp");
        FPath = name;
        client::CreateStoreFile(FPath / "bench.store", client::ToBytes(client::NewUid()), u"Bench");
        FFile = client::StoreFile::Open(FPath / "bench.store");
        FFolder = client::OpenFolderRow(FFile, static_cast<std::int64_t>(client::SpecialFolder::Inbox), true);
        client::Transaction transaction(FFile->Db()); // one for all: filling is not what is measured
        for (mapi::ULONG i = 0; i < MessageCount(); ++i)
            AddMessage(i);
        transaction.Commit();
    }
    ~TFolder()
    {
        FFolder.Reset();
        FFile.reset();
        std::error_code ignored;
        std::filesystem::remove_all(FPath, ignored);
    }
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> Contents() const
    {
        TKwComPtr<mapi::IMAPITable> table;
        Check(FFolder->GetContentsTable(mapi::MAPI_UNICODE, Out(table)));
        return table;
    }

private:
    void AddMessage(mapi::ULONG number) const
    {
        const std::string digits = std::to_string(number * 7919 % 1000003);
        std::u16string subject = u"The subject of message " + std::u16string(digits.begin(), digits.end());
        std::u16string sender = u"A. Sender";
        mapi::SPropValue values[3]{};
        values[0].ulPropTag = client::tag::Subject;
        values[0].Value.lpszW = subject.data();
        values[1].ulPropTag = client::tag::SenderName;
        values[1].Value.lpszW = sender.data();
        values[2].ulPropTag = client::tag::DeliveryTime;
        values[2].Value.ft = {number, 0x01DA0000};
        TKwComPtr<mapi::IMessage> message;
        Check(FFolder->CreateMessage(nullptr, 0, Out(message)));
        Check(message->SetProps(3, values, nullptr));
        Check(message->SaveChanges(0));
    }

    std::filesystem::path FPath;
    client::StorePtr FFile;
    TKwComPtr<mapi::IMAPIFolder> FFolder;
};

/// What a walk has seen: the compiler may leave nothing out, and both walks must see the same.
struct TSeen
{
    std::size_t Rows = 0;
    std::uint64_t Sum = 0;
    bool operator==(const TSeen&) const = default;
};

void See(TSeen& seen, const mapi::SPropValue& value)
{
    // Texts and identifiers lie elsewhere each time; of them the size counts.
    const mapi::ULONG type = mapi::PROP_TYPE(value.ulPropTag);
    seen.Sum += type == mapi::PT_LONG ? value.Value.ul : type == mapi::PT_BINARY ? value.Value.bin.cb : type;
    benchmark::DoNotOptimize(&value);
}

void See(TSeen& seen, const TKwVariant& value)
{
    const auto* number = value.TryGet<std::int32_t>();
    seen.Sum += number != nullptr ? static_cast<std::uint32_t>(*number) : static_cast<std::uint64_t>(value.Kind());
    benchmark::DoNotOptimize(&value);
}

/// What the process computes meanwhile; others on the machine do not count.
template <typename Function>
double CpuNanoseconds(Function function)
{
    const std::clock_t start = std::clock();
    function();
    return static_cast<double>(std::clock() - start) * 1e9 / CLOCKS_PER_SEC;
}

template <bool AsVariants>
TSeen WalkBare(mapi::IMAPITable& table, mapi::LONG batch)
{
    TSeen seen;
    mapi::LONG sought = 0;
    Check(table.SeekRow(mapi::BOOKMARK_BEGINNING, 0, &sought));
    for (;;) {
        mapi::SRowSet* rows = nullptr;
        Check(table.QueryRows(batch, 0, &rows));
        const mapi::ULONG count = rows->cRows;
        for (mapi::ULONG r = 0; r < count; ++r) {
            ++seen.Rows;
            for (mapi::ULONG c = 0; c < rows->aRow[r].cValues; ++c) {
                if constexpr (AsVariants)
                    See(seen, KwPropValueToVariant(rows->aRow[r].lpProps[c]));
                else
                    See(seen, rows->aRow[r].lpProps[c]);
            }
            client::FreeBuffer(rows->aRow[r].lpProps);
        }
        client::FreeBuffer(rows);
        if (count == 0)
            return seen;
    }
}

template <bool AsVariants>
TSeen WalkTable(TKwMAPITable& table, const std::vector<TKwRef<IKwMAPITableField>>& fields)
{
    std::vector<TKwMAPITableField*> columns;
    for (const auto& field : fields)
        columns.push_back(dynamic_cast<TKwMAPITableField*>(field.Get()));
    TSeen seen;
    for (table.First(); !table.Get_EOF(); table.Next()) {
        ++seen.Rows;
        if constexpr (AsVariants) {
            for (const auto& field : fields)
                See(seen, field->Get_Value());
        } else {
            for (TKwMAPITableField* column : columns)
                See(seen, table.GetFieldValueEx(*column));
        }
    }
    return seen;
}

template <bool AsVariants>
void Walk(benchmark::State& state)
{
    static const TFolder folder;
    const auto batch = static_cast<std::int32_t>(state.range(0));
    const auto session = KwMake<TBenchSession>();
    const auto owner = KwMake<TBenchOwner>(*session);
    const TKwComPtr<mapi::IMAPITable> bare = folder.Contents();
    const auto table = KwMake<TKwMAPITable>(*owner, bare.Get(), nullptr);
    table->Set_BatchSize(batch);
    std::vector<TKwRef<IKwMAPITableField>> fields;
    for (const TKwMAPIPropDef def : {PR_SUBJECT, PR_SENDER_NAME, PR_MESSAGE_DELIVERY_TIME, PR_MESSAGE_SIZE, PR_ENTRYID})
        fields.push_back(table->Get_Fields()->Add(def));
    table->Open(); // sets the columns, for both

    double ours = std::numeric_limits<double>::infinity();
    double plain = ours;
    for (auto _ : state)
        for (int turn = 0; turn < Turns; ++turn) {
            TSeen seen;
            TSeen expected;
            ours = std::min(ours, CpuNanoseconds([&] { seen = WalkTable<AsVariants>(*table, fields); }));
            plain = std::min(plain, CpuNanoseconds([&] { expected = WalkBare<AsVariants>(*bare, batch); }));
            if (expected.Rows != MessageCount() || seen != expected) {
                failed = true;
                return state.SkipWithError("the walks differ");
            }
        }
    const double ratio = ours / plain;
    state.counters["ratio"] = ratio;
    std::printf("%s, batches of %d: %.0f ns a row, bare %.0f ns, ratio %.3f (limit %.1f)\n",
                AsVariants ? "variants" : "MAPI values", batch, ours / MessageCount(), plain / MessageCount(), ratio,
                Limit);
    failed = failed || ratio > (std::getenv("DEFTMAPI_BENCH_SHORT") ? ShortLimit : Limit);
}
BENCHMARK(Walk<false>)->Name("WalkMAPIValues")->Arg(20)->Arg(500)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(Walk<true>)->Name("WalkVariants")->Arg(20)->Arg(500)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (failed)
        std::fprintf(stderr, "A walk through the table costs more than %.1f times the bare one, or differs from it.\n",
                     Limit);
    return failed ? 1 : 0;
}
