// A store with one large folder for the benchmarks, written once, and races whose ratio has a limit. Each race is a
// benchmark of its own; whoever is slower than the limit allows makes the program end with 1.
#pragma once

#include "client/store/MessageRecords.hpp"
#include "client/store/StoreObjects.hpp"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace deftmapi::bench
{

using namespace deftmapi::client;

inline void Check(mapi::HRESULT hr)
{
    if (mapi::Failed(hr))
        throw std::runtime_error("MAPI call failed: " + std::to_string(static_cast<mapi::ULONG>(hr)));
}

/// When message `number` was delivered, in 100-nanosecond intervals since 1601: one each minute, as mail comes, but
/// every tenth is of the 30 days before and was filed late. With DEFTMAPI_BENCH_SHUFFLED in no order at all.
inline std::int64_t DeliveryTimeOf(std::int64_t number, std::int64_t mixed)
{
    constexpr std::int64_t Minute = 600000000;
    constexpr std::int64_t LateMinutes = 30 * 24 * 60;
    static const bool isShuffled = std::getenv("DEFTMAPI_BENCH_SHUFFLED") != nullptr;
    const std::int64_t late = number % 10 == 7 ? mixed % LateMinutes : 0;
    return 133500000000000000 + (isShuffled ? mixed : number - late) * Minute;
}

/// The properties of message `number`, which with those of a new message make 28, as a short letter that was imported
/// has: 2 % have the subject that the prefix search finds, 10 % are unread.
inline std::vector<Prop> PropsOf(std::int64_t number)
{
    const std::int64_t mixed = number * 7919 % 1000003;
    const std::int64_t delivered = DeliveryTimeOf(number, mixed);
    const std::string digits = std::to_string(mixed);
    const WideString wide(digits.begin(), digits.end());
    Bytes key(16, 0);
    for (int i = 0; i < 8; ++i)
        key[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>((mixed * 2654435761) >> (i * 8));
    key[15] = static_cast<std::uint8_t>(number >> 40);
    std::copy_n(reinterpret_cast<const std::uint8_t*>(&number), 5, key.begin() + 8);
    return {TextProp(tag::Subject, (number % 50 == 3 ? u"Invoice " : u"About the matter of ") + wide),
            TextProp(tag::SenderName, u"Sender " + wide.substr(0, 2)),
            TextProp(tag::SenderEmail, u"sender" + wide.substr(0, 2) + u"@example.org"),
            TextProp(tag::ConversationTopic, u"About the matter of " + wide),
            LongProp(tag::DeliveryTime, delivered),
            LongProp(tag::MessageFlags, number % 10 ? mapi::MSGFLAG_READ : 0),
            BinaryProp(tag::SearchKey, std::move(key)),
            TextProp(0x6700001F, u"a value of ordinary length " + wide),
            TextProp(tag::SenderAddrType, u"SMTP"),
            TextProp(tag::SentRepName, u"Sender " + wide.substr(0, 2)),
            TextProp(tag::NormalizedSubject, (number % 50 == 3 ? u"Invoice " : u"About the matter of ") + wide),
            LongProp(tag::ClientSubmitTime, delivered - 50000000),
            TextProp(tag::InternetMessageId, u"<" + wide + u".letter@mail.example.org>"),
            LongProp(tag::InternetCodePage, 65001),
            BinaryProp(tag::ConversationIndex, Bytes(22, static_cast<std::uint8_t>(mixed))),
            TextProp(tag::SubjectPrefix, u"")};
}

inline MessageState MessageOf(std::int64_t number, std::int64_t folder)
{
    MessageState message = NewMessage(folder, false);
    for (Prop& prop : PropsOf(number))
        message.props.Set(std::move(prop));
    message.changed = true;
    return message;
}

/// Messages that one transaction writes.
inline constexpr std::int64_t PerTransaction = 10000;

class Folder
{
public:
    explicit Folder(const std::filesystem::path& path) : file(path), store(StoreFile::Open(path))
    {
        folder = OpenFolderRow(store, Inbox, true);
        count = store->Db().Scalar("SELECT content_count FROM folders WHERE id = " + std::to_string(Inbox));
    }

    static StorePtr Make(const std::filesystem::path& path)
    {
        std::filesystem::remove(path);
        CreateStoreFile(path, ToBytes(NewUid()), u"Bench");
        return StoreFile::Open(path);
    }

    /// Writes a new store of so many messages, through the store's own writer. @returns messages per second
    static double Build(const std::filesystem::path& path, std::int64_t messages)
    {
        const StorePtr made = Make(path);
        const auto start = std::chrono::steady_clock::now();
        for (std::int64_t number = 0; number < messages;) {
            Transaction transaction(made->Db());
            for (const std::int64_t end = std::min(messages, number + PerTransaction); number < end; ++number) {
                MessageState message = MessageOf(number, Inbox);
                SaveMessage(*made, message, false);
            }
            transaction.Commit();
        }
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        return static_cast<double>(messages) / taken.count();
    }

    [[nodiscard]] TKwComPtr<mapi::IMAPITable> Open() const
    {
        TKwComPtr<mapi::IMAPITable> table;
        Check(folder->GetContentsTable(mapi::MAPI_UNICODE, Out(table)));
        struct
        {
            ULONG size = 8;
            ULONG tags[8] = {tag::EntryId,      tag::Subject,     tag::SenderName,   tag::DeliveryTime,
                             tag::MessageFlags, tag::MessageSize, tag::MessageClass, tag::Importance};
        } columns;
        Check(table->SetColumns(reinterpret_cast<mapi::LPSPropTagArray>(&columns), 0));
        return table;
    }

    std::filesystem::path file;
    StorePtr store;
    TKwComPtr<mapi::IMAPIFolder> folder;
    std::int64_t count = 0;
    static constexpr auto Inbox = static_cast<std::int64_t>(SpecialFolder::Inbox);
};

inline ULONG ReadRows(mapi::IMAPITable& table, mapi::LONG count)
{
    RowSet rows;
    Check(table.QueryRows(count, 0, rows.Out()));
    return rows->cRows;
}

inline void SortByTime(mapi::IMAPITable& table, ULONG direction)
{
    mapi::SSortOrderSet order{1, 0, 0, {{tag::DeliveryTime, direction}}};
    Check(table.SortTable(&order, 0));
}

/// Milliseconds of the best of some turns: the one that nothing else on the machine interrupted.
inline double Best(int turns, const std::function<void()>& body)
{
    double best = std::numeric_limits<double>::infinity();
    for (int turn = 0; turn < turns; ++turn) {
        const auto start = std::chrono::steady_clock::now();
        body();
        const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
        best = std::min(best, taken.count());
    }
    return best;
}

/// Milliseconds that the process has computed: on a busy machine the others do not count.
inline double Computed()
{
    return static_cast<double>(std::clock()) * 1000 / CLOCKS_PER_SEC;
}

/// The middle one: of pairs of turns, each of which met the same machine, it tells how they compare. Of the best turns
/// the short ones would be those of a quieter moment.
inline double Middle(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The short mode shows on any busy machine that the benchmarks run and that nothing is off by far: it fails only what
/// misses its limit this many times over.
inline constexpr double ShortTolerance = 3;

/// Prints each result beside its limit and remembers whether one was missed.
class Report
{
public:
    void Line(const std::string& name, double value, double limit, bool atMost, const std::string& detail = {})
    {
        const bool met = atMost ? value <= limit : value >= limit;
        const bool held = atMost ? value <= limit * FTolerance : value * FTolerance >= limit;
        FMissed = FMissed || !held;
        std::cout << std::left << std::setw(44) << name << std::right << std::setw(12) << std::fixed
                  << std::setprecision(3) << value << (atMost ? "  <= " : "  >= ") << std::setw(10) << limit
                  << (met    ? "  ok      "
                      : held ? "  over    "
                             : "  MISSED  ")
                  << detail << '\n';
    }
    /// Ours may take `limit` times as long as the other way; both take turns in one run.
    void Race(benchmark::State& state, const std::string& name, double limit, int turns,
              const std::function<void()>& ours, const std::function<void()>& plain)
    {
        double mine = std::numeric_limits<double>::infinity();
        double other = mine;
        for (auto _ : state) {
            for (int turn = 0; turn < turns; ++turn) {
                mine = std::min(mine, Best(1, ours));
                other = std::min(other, Best(1, plain));
            }
        }
        state.counters["ours_ms"] = mine;
        state.counters["plain_ms"] = other;
        state.counters["ratio"] = mine / other;
        Line(name, mine / other, limit, true, std::to_string(mine) + " ms, plain " + std::to_string(other) + " ms");
    }
    [[nodiscard]] int ExitStatus() const { return FMissed ? 1 : 0; }

private:
    double FTolerance = std::getenv("DEFTMAPI_BENCH_SHORT") ? ShortTolerance : 1;
    bool FMissed = false;
};

/// The one report of the program.
inline Report& TheReport()
{
    static Report report;
    return report;
}

/// Runs what the command line selects. @returns the exit status of the program
inline int RunBenchmarks(int count, char** arguments)
{
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return TheReport().ExitStatus();
}

/// The peak of resident memory in MiB since the last call of ForgetPeak (Linux; 0 elsewhere).
inline double PeakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0)
            return std::atof(line.c_str() + 6) / 1024;
    }
    return 0;
}
inline void ForgetPeak()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

/// A folder for the files of one run, gone with the object.
class Scratch
{
public:
    Scratch()
    {
        std::string name = (std::filesystem::temp_directory_path() / "deftmapi-bench-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("mkdtemp");
        path = name;
    }
    ~Scratch()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    std::filesystem::path path;
};

} // namespace deftmapi::bench
