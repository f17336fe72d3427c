// What a contents table costs beside SQL written by hand over the same file.
// usage: bench_contents [FILE] [BENCHMARK-ARGUMENT...]   FILE: a store made by scripts/build-million; else one is made
//                                                        and removed
//        bench_contents --build FILE N                   writes a store of N messages and tells the rate
// DEFTMAPI_BENCH_SHUFFLED: delivered in no order. DEFTMAPI_BENCH_SHORT: 20,000 messages. Ends with 1 when a limit is
// missed.
#include "bench/client/Folders.hpp"

#include <cstring>

namespace
{

using namespace deftmapi;
using namespace deftmapi::bench;

const std::string Columns =
    "m.id, m.subject, m.sender_name, m.delivery_time, " + FlagsExpression + ", m.size, m.message_class, m.importance";
constexpr double SqlLimit = 3.0;
constexpr double MemoryLimit = 64.0;
constexpr double FlatLimit = 3.0;
constexpr mapi::LONG Batch = 50;

/// Runs a statement and takes the values out of it, text as UTF-16, as a program would that shows them.
std::int64_t Take(Query& query)
{
    std::int64_t rows = 0;
    std::vector<WideString> texts;
    while (query.Step()) {
        texts.clear();
        for (const int text : {1, 2, 6})
            texts.push_back(UnpackText(query.Text(text)));
        ++rows;
    }
    return rows;
}

std::string From(const std::string& what, const std::string& rest)
{
    return "SELECT " + what + " FROM messages m WHERE m.folder = " + std::to_string(Folder::Inbox) +
           " AND m.associated = 0 " + rest;
}

void Expect(bool truth)
{
    if (!truth)
        throw std::runtime_error("the table does not give what the statement gives");
}

mapi::SRestriction Unread()
{
    mapi::SRestriction unread{};
    unread.rt = mapi::RES_BITMASK;
    unread.res.resBitMask = {mapi::BMR_EQZ, tag::MessageFlags, mapi::MSGFLAG_READ};
    return unread;
}

void FirstBatch(const Folder& folder)
{
    const auto table = folder.Open();
    SortByTime(*table.Get(), mapi::TABLE_SORT_DESCEND);
    Expect(ReadRows(*table.Get(), Batch) == Batch);
}

/// The large folder and a small one, SQL's connection to the large one, and a table of it. Made when the first race
/// runs.
class Arena
{
public:
    explicit Arena(const std::filesystem::path& given)
        : FFile(given.empty() ? FScratch.path / "large.store" : given), FSmallFile(FScratch.path / "small.store")
    {
        const bool isShort = std::getenv("DEFTMAPI_BENCH_SHORT") != nullptr;
        if (given.empty()) {
            const std::int64_t messages = isShort ? 20000 : 1000000;
            std::cout << "writing " << messages
                      << " messages: " << static_cast<std::int64_t>(Folder::Build(FFile, messages)) << " a second\n";
        }
        Folder::Build(FSmallFile, isShort ? 2000 : 10000);
        large = std::make_unique<Folder>(FFile);
        small = std::make_unique<Folder>(FSmallFile);
        plain = std::make_unique<Database>(FFile, Database::Mode::Open);
        plain->Execute("PRAGMA cache_size = -16000");
        ForgetPeak();
        memory = PeakMemory();
        table = large->Open();
        SortByTime(*table.Get(), mapi::TABLE_SORT_DESCEND);
    }

    /// Runs a statement of plain SQL and takes its values. @returns the number of rows
    std::int64_t Run(const std::string& sql) const
    {
        Query query = plain->Prepare(sql);
        return Take(query);
    }

private:
    Scratch FScratch;
    std::filesystem::path FFile;
    std::filesystem::path FSmallFile;

public:
    std::unique_ptr<Folder> large;
    std::unique_ptr<Folder> small;
    std::unique_ptr<Database> plain;
    TKwComPtr<mapi::IMAPITable> table; ///< by time, the latest first; unrestricted between the races
    double memory = 0;                 ///< of the process before the races
};

/// Restricts a table and reads its count and first rows. @returns the count
ULONG Restrict(mapi::IMAPITable& table, mapi::SRestriction& restriction)
{
    ULONG count = 0;
    Check(table.Restrict(&restriction, 0));
    Check(table.GetRowCount(0, &count));
    Expect(ReadRows(table, Batch) == Batch);
    return count;
}

std::filesystem::path givenFile; // from the command line; empty: one is made

const Arena& TheArena()
{
    static const Arena arena(givenFile);
    return arena;
}

const std::string ByTime = " ORDER BY m.delivery_time DESC, m.id DESC ";
const std::string Limit50 = " LIMIT " + std::to_string(Batch);

void OpenAndSort(benchmark::State& state)
{
    const Arena& arena = TheArena();
    TheReport().Race(
        state, "open, sort by time, first 50", SqlLimit, 30, [&] { FirstBatch(*arena.large); },
        [&] { arena.Run(From(Columns, ByTime + Limit50)); });
}

void SubjectPrefix(benchmark::State& state)
{
    const Arena& arena = TheArena();
    const auto table = arena.large->Open(); // in no order of its own
    std::u16string begin = u"invoice";
    mapi::SPropValue value{};
    value.ulPropTag = tag::Subject;
    value.Value.lpszW = begin.data();
    mapi::SRestriction prefix{};
    prefix.rt = mapi::RES_CONTENT;
    prefix.res.resContent = {mapi::FL_PREFIX | mapi::FL_IGNORECASE, tag::Subject, &value};
    const std::string beginning = " WHERE s.folder = " + std::to_string(Folder::Inbox) +
                                  " AND s.associated = 0 AND s.subject >= 'invoice' AND s.subject < 'invoicf'";
    ULONG count = 0;
    TheReport().Race(
        state, "subject begins with, count and first 50", SqlLimit, 10, [&] { count = Restrict(*table.Get(), prefix); },
        [&] {
            Expect(arena.plain->Scalar("SELECT count(*) FROM subjects s" + beginning) == count);
            arena.Run("SELECT " + Columns + " FROM messages m WHERE m.id IN (SELECT s.id FROM subjects s" + beginning +
                      ") ORDER BY m.id " + Limit50);
        });
}

void UnreadByTime(benchmark::State& state)
{
    const Arena& arena = TheArena();
    mapi::SRestriction unread = Unread();
    ULONG count = 0;
    TheReport().Race(
        state, "unread by time, count and first 50", SqlLimit, 10,
        [&] { count = Restrict(*arena.table.Get(), unread); },
        [&] {
            Expect(arena.plain->Scalar("SELECT unread_count FROM folders WHERE id = " +
                                       std::to_string(Folder::Inbox)) == count);
            arena.Run(From(Columns, std::string(" AND ") + UnreadExpression + " = 1 " + ByTime + Limit50));
        });
    Check(arena.table->Restrict(nullptr, 0));
}

void FindBySearchKey(benchmark::State& state)
{
    const Arena& arena = TheArena();
    std::int64_t number = 1;
    Bytes key;
    const auto next = [&] {
        number = (number * 48271) % arena.large->count;
        key = std::get<Bytes>(PropsOf(number)[6].data);
    };
    mapi::SPropValue value{};
    value.ulPropTag = tag::SearchKey;
    mapi::SRestriction search{};
    search.rt = mapi::RES_PROPERTY;
    search.res.resProperty = {mapi::RELOP_EQ, tag::SearchKey, &value};
    TheReport().Race(
        state, "find by search key, read the row", SqlLimit, 200,
        [&] {
            next();
            value.Value.bin = {static_cast<ULONG>(key.size()), key.data()};
            Check(arena.table->FindRow(&search, mapi::BOOKMARK_BEGINNING, 0));
            Expect(ReadRows(*arena.table.Get(), 1) == 1);
        },
        [&] {
            next();
            std::int64_t row = 0;
            {
                Query find = arena.plain->Prepare("SELECT id FROM search_keys WHERE search_key = ?1");
                Expect(find.BindBlob(1, key).Step());
                row = find.Number(0);
            }
            Query read = arena.plain->Prepare("SELECT " + Columns + " FROM messages m WHERE m.id = ?1");
            Expect(Take(read.Bind(1, row)) == 1);
        });
}

void SeekToTheMiddle(benchmark::State& state)
{
    const Arena& arena = TheArena();
    const auto middle = static_cast<mapi::LONG>(arena.large->count / 2);
    TheReport().Race(
        state, "seek to the middle, read a row", SqlLimit, 5,
        [&] {
            Check(arena.table->SeekRow(mapi::BOOKMARK_BEGINNING, middle, nullptr));
            Expect(ReadRows(*arena.table.Get(), 1) == 1);
        },
        [&] { arena.Run(From(Columns, ByTime + " LIMIT 1 OFFSET " + std::to_string(middle))); });
}

void SeekToTheEnd(benchmark::State& state)
{
    const Arena& arena = TheArena();
    TheReport().Race(
        state, "seek to the end, read 50 rows", SqlLimit, 30,
        [&] {
            Check(arena.table->SeekRow(mapi::BOOKMARK_END, -Batch, nullptr));
            Expect(ReadRows(*arena.table.Get(), Batch) == Batch);
        },
        [&] { arena.Run(From(Columns, " ORDER BY m.delivery_time ASC, m.id ASC " + Limit50)); });
    TheReport().Line("peak memory growth, MiB", PeakMemory() - arena.memory, MemoryLimit, true);
}

void FirstBatchGrowth(benchmark::State& state)
{
    const Arena& arena = TheArena();
    TheReport().Race(
        state, "first batch, large folder beside a small one", FlatLimit, 30, [&] { FirstBatch(*arena.large); },
        [&] { FirstBatch(*arena.small); });
}

BENCHMARK(OpenAndSort)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(SubjectPrefix)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(UnreadByTime)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(FindBySearchKey)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(SeekToTheMiddle)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(SeekToTheEnd)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(FirstBatchGrowth)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int count, char** arguments)
try {
    if (count == 4 && std::strcmp(arguments[1], "--build") == 0) {
        const std::int64_t messages = std::atoll(arguments[3]);
        const double rate = Folder::Build(arguments[2], messages);
        std::cout << messages << " messages, " << static_cast<std::int64_t>(rate) << " a second\n";
        return 0;
    }
    if (count > 1 && arguments[1][0] != '-') {
        givenFile = arguments[1];
        arguments[1] = arguments[0];
        --count;
        ++arguments;
    }
    return RunBenchmarks(count, arguments);
} catch (const std::exception& failure) {
    std::cerr << "bench_contents: " << failure.what() << '\n';
    return 2;
}
