// What a contents table costs beside SQL written by hand over the same file.
// usage: bench_contents [FILE]          FILE: a store made by scripts/build-million; else one is made and removed
//        bench_contents --build FILE N  writes a store of N messages and tells the rate
// DEFTMAPI_BENCH_SHORT: 20,000 messages. Ends with 1 when a limit is missed.
#include "bench/client/Folders.hpp"

#include <cstring>

namespace
{

using namespace deftmapi;
using namespace deftmapi::bench;

constexpr auto Columns =
    "m.id, m.subject, m.sender_name, m.delivery_time, m.flags, m.size, m.message_class, m.importance";
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

/// The index is named: without statistics SQLite does not find the best one by itself.
std::string From(const std::string& what, const std::string& rest, const std::string& index = "")
{
    return "SELECT " + what + " FROM messages m " + (index.empty() ? "" : "INDEXED BY " + index) +
           " WHERE m.folder = " + std::to_string(Folder::Inbox) + " AND m.associated = 0 " + rest;
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

void RaceAll(const Folder& folder, Report& report)
{
    Database plain(folder.file, Database::Mode::Open);
    plain.Execute("PRAGMA cache_size = -16000");
    const auto run = [&](const std::string& sql) {
        Query query = plain.Prepare(sql);
        return Take(query);
    };
    const std::string byTime = " ORDER BY m.delivery_time DESC, m.id DESC ";
    const std::string batch = " LIMIT " + std::to_string(Batch);
    ForgetPeak();
    const double before = PeakMemory();

    report.Race(
        "open, sort by time, first 50", SqlLimit, 30, [&] { FirstBatch(folder); },
        [&] { run(From(Columns, byTime + batch)); });

    const auto table = folder.Open();
    std::u16string begin = u"invoice";
    mapi::SPropValue value{};
    value.ulPropTag = tag::Subject;
    value.Value.lpszW = begin.data();
    mapi::SRestriction prefix{};
    prefix.rt = mapi::RES_CONTENT;
    prefix.res.resContent = {mapi::FL_PREFIX | mapi::FL_IGNORECASE, tag::Subject, &value};
    ULONG count = 0;
    const auto restrict = [&](mapi::SRestriction& restriction) {
        Check(table->Restrict(&restriction, 0));
        Check(table->GetRowCount(0, &count));
        Expect(ReadRows(*table.Get(), Batch) == Batch);
    };
    const std::string beginning =
        " AND m.subject COLLATE deft_fold >= 'invoice' AND m.subject COLLATE deft_fold < 'invoicf' ";
    report.Race(
        "subject begins with, count and first 50", SqlLimit, 10, [&] { restrict(prefix); },
        [&] {
            Expect(plain.Scalar(From("count(*)", beginning, "messages_subject")) == count);
            run(From(Columns, beginning + " ORDER BY m.id " + batch, "messages_subject"));
        });
    Check(table->Restrict(nullptr, 0));
    SortByTime(*table.Get(), mapi::TABLE_SORT_DESCEND);
    mapi::SRestriction unread = Unread();
    report.Race(
        "unread by time, count and first 50", SqlLimit, 10, [&] { restrict(unread); },
        [&] {
            Expect(plain.Scalar(From("count(*)", " AND (m.flags & 1) = 0 ", "messages_unread")) == count);
            run(From(Columns, " AND (m.flags & 1) = 0 " + byTime + batch, "messages_unread"));
        });
    Check(table->Restrict(nullptr, 0));

    std::int64_t number = 1;
    mapi::SRestriction search{};
    search.rt = mapi::RES_PROPERTY;
    search.res.resProperty = {mapi::RELOP_EQ, tag::SearchKey, &value};
    Bytes key;
    report.Race(
        "find by search key, read the row", SqlLimit, 200,
        [&] {
            number = (number * 48271) % folder.count;
            key = std::get<Bytes>(PropsOf(number)[6].data);
            value.ulPropTag = tag::SearchKey;
            value.Value.bin = {static_cast<ULONG>(key.size()), key.data()};
            Check(table->FindRow(&search, mapi::BOOKMARK_BEGINNING, 0));
            Expect(ReadRows(*table.Get(), 1) == 1);
        },
        [&] {
            number = (number * 48271) % folder.count;
            key = std::get<Bytes>(PropsOf(number)[6].data);
            std::int64_t row = 0;
            {
                Query find = plain.Prepare(From("m.id", " AND m.search_key = ?1", "messages_search_key"));
                Expect(find.BindBlob(1, key).Step());
                row = find.Number(0);
            }
            Query read = plain.Prepare("SELECT " + std::string(Columns) + " FROM messages m WHERE m.id = ?1");
            Expect(Take(read.Bind(1, row)) == 1);
        });
    report.Race(
        "seek to the middle, read a row", SqlLimit, 5,
        [&] {
            Check(table->SeekRow(mapi::BOOKMARK_BEGINNING, static_cast<mapi::LONG>(folder.count / 2), nullptr));
            Expect(ReadRows(*table.Get(), 1) == 1);
        },
        [&] { run(From(Columns, byTime + " LIMIT 1 OFFSET " + std::to_string(folder.count / 2))); });
    report.Race(
        "seek to the end, read 50 rows", SqlLimit, 30,
        [&] {
            Check(table->SeekRow(mapi::BOOKMARK_END, -Batch, nullptr));
            Expect(ReadRows(*table.Get(), Batch) == Batch);
        },
        [&] { run(From(Columns, " ORDER BY m.delivery_time ASC, m.id ASC " + batch)); });
    report.Line("peak memory growth, MiB", PeakMemory() - before, MemoryLimit, true);
}

} // namespace

int main(int count, char** arguments)
try {
    if (count == 4 && std::strcmp(arguments[1], "--build") == 0) {
        const std::int64_t messages = std::atoll(arguments[3]);
        const double rate = Folder::Build(arguments[2], messages);
        std::cout << messages << " messages, " << static_cast<std::int64_t>(rate) << " a second\n";
        return 0;
    }
    const bool isShort = std::getenv("DEFTMAPI_BENCH_SHORT") != nullptr;
    const bool given = count > 1 && arguments[1][0] != '-';
    Scratch scratch;
    std::filesystem::path file = given ? std::filesystem::path(arguments[1]) : scratch.path / "large.store";
    if (!given) {
        const std::int64_t messages = isShort ? 20000 : 1000000;
        std::cout << "writing " << messages << " messages: " << static_cast<std::int64_t>(Folder::Build(file, messages))
                  << " a second\n";
    }
    const auto small = scratch.path / "small.store";
    Folder::Build(small, isShort ? 2000 : 10000);
    Report report;
    const Folder large(file);
    RaceAll(large, report);
    const Folder few(small);
    report.Race(
        "first batch, large folder beside a small one", FlatLimit, 30, [&] { FirstBatch(large); },
        [&] { FirstBatch(few); });
    return report.ExitStatus();
} catch (const std::exception& failure) {
    std::cerr << "bench_contents: " << failure.what() << '\n';
    return 2;
}
