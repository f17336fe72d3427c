// The store's layout beside the obvious one, a row per property, with the same messages: what creating, opening,
// walking, filtering and marking cost, and how the cost grows from 10,000 to 100,000 messages of 28 properties each.
//
// The plain database answers the same questions and does the same duties: an index finds the properties of a message
// and one finds messages by any property (contents table by time, search key, beginnings of subjects), the counters of
// the folder are kept, and a journal tells listeners, both once per transaction as the store does it. It writes in
// transactions of the same size with the same settings. All take turns: of times the best one counts, of ratios
// the middle one of what each turn says, and of writing, which cannot be repeated, what the process computed for all.
// DEFTMAPI_BENCH_SHUFFLED: delivered in no order. DEFTMAPI_BENCH_SHORT: 2,000 and 20,000. Ends with 1 when a limit is
// missed.
#include "bench/client/Folders.hpp"

#include "client/table/RowBuilder.hpp"

#include <cstring>

namespace
{

using namespace deftmapi;
using namespace deftmapi::bench;

constexpr double TimesFaster = 4;
constexpr double GrowthLimit = 12; // for ten times the messages
constexpr std::int64_t Marked = 2000;
constexpr mapi::LONG Batch = 500; // rows that a walk reads at once

/// One row per property, as schemas of that kind have it: an index finds the properties of a message.
class PlainStore
{
public:
    explicit PlainStore(const std::filesystem::path& file) : FDatabase(file, Database::Mode::Create)
    {
        FDatabase.Execute("PRAGMA journal_mode = WAL");
        FDatabase.Execute("PRAGMA synchronous = FULL");
        FDatabase.Execute("PRAGMA cache_size = -32000");
        FDatabase.Execute("PRAGMA wal_autocheckpoint = 8000");
        FDatabase.Execute("CREATE TABLE objects (id INTEGER PRIMARY KEY, parent INTEGER NOT NULL)");
        FDatabase.Execute("CREATE INDEX objects_parent ON objects (parent)");
        FDatabase.Execute("CREATE TABLE properties (object INTEGER NOT NULL, tag INTEGER NOT NULL, value, "
                          "PRIMARY KEY (object, tag)) WITHOUT ROWID");
        FDatabase.Execute("CREATE INDEX properties_value ON properties (tag, value)");
        FDatabase.Execute("CREATE TABLE folders (id INTEGER PRIMARY KEY, contents INTEGER NOT NULL, "
                          "unread INTEGER NOT NULL)");
        FDatabase.Execute("INSERT INTO folders VALUES (1, 0, 0)");
        FDatabase.Execute("CREATE TABLE journal (seq INTEGER PRIMARY KEY AUTOINCREMENT, folder INTEGER NOT NULL)");
    }

    /// REQUIRES: a transaction is open
    void Add(std::int64_t id, MessageState& message)
    {
        message.props.Set(LongProp(tag::MessageSize, static_cast<std::int64_t>(message.props.Size())));
        FDatabase.Prepare("INSERT INTO objects VALUES (?1, 1)").Bind(1, id).Run();
        Query insert = FDatabase.Prepare("INSERT INTO properties VALUES (?1, ?2, ?3)");
        for (const auto& [tag, prop] : message.props) {
            insert.Reset();
            insert.Bind(1, id).Bind(2, tag);
            if (const auto* value = std::get_if<std::int64_t>(&prop.data))
                insert.Bind(3, *value);
            else if (const auto* text = std::get_if<WideString>(&prop.data))
                insert.BindText(3, PackText(*text));
            else
                insert.BindBlob(3, std::get<Bytes>(prop.data));
            insert.Run();
        }
        ++FContents;
        FUnread += (message.props.Number(tag::MessageFlags) & mapi::MSGFLAG_READ) == 0;
    }
    void Mark(std::int64_t first, bool read)
    {
        Transaction transaction(FDatabase);
        Query update = FDatabase.Prepare(read ? "UPDATE properties SET value = value | 1 "
                                                "WHERE object = ?1 AND tag = 3591 AND (value & 1) = 0"
                                              : "UPDATE properties SET value = value & ~1 "
                                                "WHERE object = ?1 AND tag = 3591 AND (value & 1) = 1");
        for (std::int64_t id = first; id < first + Marked; ++id) {
            update.Reset();
            update.Bind(1, id).Run();
            FUnread += read ? -FDatabase.Changes() : FDatabase.Changes();
        }
        WriteCounters();
        transaction.Commit();
    }
    /// The last thing in each transaction.
    void WriteCounters()
    {
        FDatabase.Prepare("UPDATE folders SET contents = contents + ?1, unread = unread + ?2 WHERE id = 1")
            .Bind(1, FContents)
            .Bind(2, FUnread)
            .Run();
        FDatabase.Prepare("INSERT INTO journal (folder) VALUES (1)").Run();
        FContents = 0;
        FUnread = 0;
    }
    /// Of the folder's counters.
    [[nodiscard]] std::int64_t Counter(const char* name)
    {
        return FDatabase.Scalar(std::string("SELECT ") + name + " FROM folders WHERE id = 1");
    }
    /// Reads the rows of messages as a table gives them to its caller: seven stored columns and the identifier.
    std::size_t Columns(const std::string& objects)
    {
        static constexpr ULONG tags[] = {tag::EntryId,      tag::Subject,     tag::SenderName,   tag::DeliveryTime,
                                         tag::MessageFlags, tag::MessageSize, tag::MessageClass, tag::Importance};
        std::string select = "SELECT o.id";
        for (const ULONG tag : std::span(tags).subspan(1))
            select.append(", (SELECT value FROM properties p WHERE p.object = o.id AND p.tag = ")
                .append(std::to_string(tag >> 16))
                .append(")");
        Query query = FDatabase.Prepare(select + " FROM " + objects);
        std::size_t rows = 0;
        Bytes id(48, 0);
        std::optional<RowBuilder> builder;
        while (query.Step()) {
            if (rows++ % Batch == 0)
                builder.emplace(tags, true);
            const std::int64_t row = query.Number(0);
            std::memcpy(id.data() + id.size() - sizeof row, &row, sizeof row);
            builder->Binary(0, tag::EntryId, id);
            for (int i = 1; i < static_cast<int>(std::size(tags)); ++i) {
                if ((tags[i] & 0xFFFF) == mapi::PT_UNICODE)
                    builder->Text(static_cast<std::size_t>(i), tags[i], query.Text(i));
                else
                    builder->Number(static_cast<std::size_t>(i), tags[i], query.Number(i));
            }
            builder->EndRow();
            if (rows % Batch == 0)
                static_cast<void>(builder->Finish());
        }
        if (builder)
            static_cast<void>(builder->Finish());
        return rows;
    }
    Database& Db() { return FDatabase; }

private:
    Database FDatabase;
    std::int64_t FContents = 0; // not in the counters yet
    std::int64_t FUnread = 0;
};

/// Writes a transaction of messages that are ready; only what the database costs is on the clock.
/// @returns milliseconds that were computed
template <typename Save>
double WritePiece(Database& database, std::int64_t from, std::int64_t to, std::int64_t folder, const Save& save)
{
    constexpr std::int64_t Ready = 1000;
    double taken = 0;
    Transaction transaction(database);
    while (from < to) {
        std::vector<MessageState> messages;
        for (const std::int64_t end = std::min(to, from + Ready); from < end; ++from)
            messages.push_back(MessageOf(from, folder));
        const double start = Computed();
        for (MessageState& message : messages)
            save(message);
        taken += Computed() - start;
    }
    const double start = Computed();
    save.Finish();
    transaction.Commit();
    return taken + Computed() - start;
}

/// Puts what is only in the log into the file, which creating costs sooner or later; a small store would not pay it.
/// @returns milliseconds that were computed
double CopyLog(Database& database)
{
    const double start = Computed();
    database.Execute("PRAGMA wal_checkpoint(TRUNCATE)");
    return Computed() - start;
}

struct SaveOurs
{
    StoreFile& store;
    void operator()(MessageState& message) const { SaveMessage(store, message, false); }
    void Finish() const {}
};

struct SavePlain
{
    PlainStore& store;
    std::int64_t& id;
    void operator()(MessageState& message) const { store.Add(++id, message); }
    void Finish() const { store.WriteCounters(); }
};

std::int64_t Few()
{
    return std::getenv("DEFTMAPI_BENCH_SHORT") != nullptr ? 2000 : 10000;
}

std::int64_t Many()
{
    return Few() * 10;
}

/// The stores that all races are about, and what writing them took. A small store of its own is written after each
/// piece of the large ones, so that all meet the same machine; the last one stays for the other races.
struct Stores
{
    Stores()
    {
        plain = std::make_unique<PlainStore>(scratch.path / "plain.db");
        const StorePtr store = Folder::Make(scratch.path / "large.store");
        std::int64_t id = 0;
        std::int64_t pieces = 0;
        std::filesystem::path smallFile;
        for (std::int64_t from = 0; from < Many(); from += PerTransaction, ++pieces) {
            const std::int64_t to = std::min(Many(), from + PerTransaction);
            const auto start = std::chrono::steady_clock::now();
            createOurs += WritePiece(store->Db(), from, to, Folder::Inbox, SaveOurs{*store});
            seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            createPlain += WritePiece(plain->Db(), from, to, 1, SavePlain{*plain, id});
            smallFile = scratch.path / ("small" + std::to_string(pieces) + ".store");
            createSmall += WriteSmall(smallFile);
        }
        createSmall /= static_cast<double>(pieces);
        createOurs += CopyLog(store->Db());
        createPlain += CopyLog(plain->Db());
        large = std::make_unique<Folder>(scratch.path / "large.store");
        small = std::make_unique<Folder>(smallFile);
    }
    static double WriteSmall(const std::filesystem::path& file)
    {
        const StorePtr store = Folder::Make(file);
        const double written = WritePiece(store->Db(), 0, Few(), Folder::Inbox, SaveOurs{*store});
        return written + CopyLog(store->Db());
    }
    static Stores& Instance()
    {
        static Stores stores;
        return stores;
    }

    Scratch scratch;
    std::unique_ptr<PlainStore> plain;
    std::unique_ptr<Folder> large;
    std::unique_ptr<Folder> small;
    double createOurs = 0;
    double createPlain = 0;
    double createSmall = 0;
    double seconds = 0; // of ours, by the clock on the wall, with making the messages
};

/// What doing something costs, in milliseconds.
struct Costs
{
    double ours;
    double plain;
    double timesFaster; // ours than plain
    double growth;      // of ours, from the small store
};

struct Limits
{
    const char* name;
    double milliseconds; // of ours; 0: none
    bool inShort;        // far enough from its limit to be held on a busy machine
};

void Judge(benchmark::State& state, const Limits& limits, const Costs& costs)
{
    const bool isShort = std::getenv("DEFTMAPI_BENCH_SHORT") != nullptr;
    const std::string name = limits.name;
    state.counters["ours_ms"] = costs.ours;
    state.counters["plain_ms"] = costs.plain;
    state.counters["times_faster"] = costs.timesFaster;
    state.counters["growth"] = costs.growth;
    if (limits.milliseconds > 0 && !isShort)
        TheReport().Line(name + ", ms", costs.ours, limits.milliseconds, true);
    if (isShort && !limits.inShort)
        return;
    TheReport().Line(name + ", times faster", costs.timesFaster, TimesFaster, false,
                     std::to_string(costs.ours) + " ms, a row per property " + std::to_string(costs.plain) + " ms");
    TheReport().Line(name + ", growth", costs.growth, GrowthLimit, true);
}

/// What is asked and answered: how many rows there are, and how many of them were read.
struct Answer
{
    std::int64_t count = 0;
    std::size_t read = 0;
    bool operator==(const Answer&) const = default;
};

/// The body of ours is given the folder that it works on.
void Race(benchmark::State& state, const Limits& limits, int turns, const std::function<Answer(const Folder&)>& ours,
          const std::function<Answer(PlainStore&)>& plain)
{
    Stores& stores = Stores::Instance();
    constexpr double Never = std::numeric_limits<double>::infinity();
    Costs costs{Never, Never, 0, 0};
    std::vector<double> growths;
    std::vector<double> ratios;
    if (ours(*stores.large) != plain(*stores.plain))
        throw std::runtime_error(std::string(limits.name) + ": both sides answer differently");
    for (auto _ : state) {
        for (int turn = 0; turn < turns; ++turn) {
            const double large = Best(1, [&] { ours(*stores.large); });
            const double other = Best(1, [&] { plain(*stores.plain); });
            const double small = Best(1, [&] { ours(*stores.small); });
            costs.ours = std::min(costs.ours, large);
            costs.plain = std::min(costs.plain, other);
            ratios.push_back(other / large);
            growths.push_back(large / small);
        }
    }
    costs.timesFaster = Middle(ratios);
    costs.growth = Middle(growths);
    Judge(state, limits, costs);
}

TKwComPtr<mapi::IMAPITable> SortedTable(const Folder& folder)
{
    auto table = folder.Open();
    SortByTime(*table.Get(), mapi::TABLE_SORT_DESCEND);
    return table;
}

const std::string PlainOrder = "objects o JOIN properties s ON s.object = o.id AND s.tag = 3590 WHERE o.parent = 1 "
                               "ORDER BY s.value DESC, o.id DESC";

// In the order of time until 50 are found; left to itself the database would sort all that are unread.
const std::string PlainUnread =
    "objects o JOIN properties s ON s.object = o.id AND s.tag = 3590 WHERE o.parent = 1 AND "
    "(SELECT f.value & 1 FROM properties f WHERE f.object = o.id AND f.tag = 3591) = 0 "
    "ORDER BY s.value DESC, o.id DESC LIMIT 50";

const std::string PlainCount = "SELECT count(*) FROM objects o JOIN properties f ON f.object = o.id AND f.tag = 55 "
                               "WHERE o.parent = 1 AND f.value LIKE '%of 77%'";
const std::string PlainSubject = "objects o JOIN properties s ON s.object = o.id AND s.tag = 3590 WHERE o.parent = 1 "
                                 "AND (SELECT f.value FROM properties f WHERE f.object = o.id AND f.tag = 55) LIKE "
                                 "'%of 77%' ORDER BY s.value DESC, o.id DESC LIMIT 50";

void Create(benchmark::State& state)
{
    for (auto _ : state)
        Stores::Instance();
    const Stores& stores = Stores::Instance();
    Judge(state, {"create", 0, true},
          {stores.createOurs, stores.createPlain, stores.createPlain / stores.createOurs,
           stores.createOurs / stores.createSmall});
    const double rate = static_cast<double>(Many()) / stores.seconds;
    state.counters["per_second"] = rate;
    if (std::getenv("DEFTMAPI_BENCH_SHORT") == nullptr)
        TheReport().Line("messages created a second", rate, 15000, false);
}

/// What a list needs to show itself: how many there are, and the first of them.
Answer ReadScreen(mapi::IMAPITable& table)
{
    ULONG rows = 0;
    Check(table.GetRowCount(0, &rows));
    return {rows, ReadRows(table, 50)};
}

void OpenAndSort(benchmark::State& state)
{
    Race(
        state, {"open, sort, count and first 50", 60, false}, 99,
        [&](const Folder& folder) { return ReadScreen(*SortedTable(folder).Get()); },
        [](PlainStore& plain) {
            return Answer{plain.Counter("contents"), plain.Columns(PlainOrder + " LIMIT 50")};
        });
}

/// One table per folder, opened before the clock runs.
class Tables
{
public:
    Tables() : FLarge(SortedTable(*Stores::Instance().large)), FSmall(SortedTable(*Stores::Instance().small)) {}
    [[nodiscard]] mapi::IMAPITable& Of(const Folder& folder) const
    {
        return &folder == Stores::Instance().large.get() ? *FLarge.Get() : *FSmall.Get();
    }

private:
    TKwComPtr<mapi::IMAPITable> FLarge;
    TKwComPtr<mapi::IMAPITable> FSmall;
};

void FirstRows(benchmark::State& state)
{
    const Tables tables;
    Race(
        state, {"first 50 rows", 1, false}, 99,
        [&](const Folder& folder) {
            Check(tables.Of(folder).SeekRow(mapi::BOOKMARK_BEGINNING, 0, nullptr));
            return Answer{0, ReadRows(tables.Of(folder), 50)};
        },
        [](PlainStore& plain) {
            return Answer{0, plain.Columns(PlainOrder + " LIMIT 50")};
        });
}

void WholeWalk(benchmark::State& state)
{
    const Tables tables;
    Race(
        state, {"whole walk", 1000, false}, 9,
        [&](const Folder& folder) {
            Check(tables.Of(folder).SeekRow(mapi::BOOKMARK_BEGINNING, 0, nullptr));
            Answer answer;
            while (const ULONG read = ReadRows(tables.Of(folder), Batch))
                answer.read += read;
            return answer;
        },
        [](PlainStore& plain) {
            return Answer{0, plain.Columns(PlainOrder)};
        });
}

void UnreadFilter(benchmark::State& state)
{
    const Tables tables;
    mapi::SRestriction unread{};
    unread.rt = mapi::RES_BITMASK;
    unread.res.resBitMask = {mapi::BMR_EQZ, tag::MessageFlags, mapi::MSGFLAG_READ};
    Race(
        state, {"unread filter, count and first 50", 10, true}, 49,
        [&](const Folder& folder) {
            Check(tables.Of(folder).Restrict(&unread, 0));
            return ReadScreen(tables.Of(folder));
        },
        [](PlainStore& plain) {
            return Answer{plain.Counter("unread"), plain.Columns(PlainUnread)};
        });
}

void SubstringFilter(benchmark::State& state)
{
    const Tables tables;
    std::u16string text = u"of 77";
    mapi::SPropValue value{};
    value.ulPropTag = tag::Subject;
    value.Value.lpszW = text.data();
    mapi::SRestriction substring{};
    substring.rt = mapi::RES_CONTENT;
    substring.res.resContent = {mapi::FL_SUBSTRING | mapi::FL_IGNORECASE, tag::Subject, &value};
    Race(
        state, {"substring filter, count and first 50", 150, false}, 9,
        [&](const Folder& folder) {
            Check(tables.Of(folder).Restrict(&substring, 0));
            return ReadScreen(tables.Of(folder));
        },
        [](PlainStore& plain) {
            return Answer{plain.Db().Scalar(PlainCount), plain.Columns(PlainSubject)};
        });
}

void MarkRead(benchmark::State& state)
{
    std::vector<Bytes> ids[2];
    std::vector<mapi::SBinary> entries[2];
    const Folder* folders[2] = {Stores::Instance().large.get(), Stores::Instance().small.get()};
    for (int which = 0; which < 2; ++which) {
        for (std::int64_t id = 1; id <= Marked; ++id)
            ids[which].push_back(folders[which]->store->EntryIdOf(EntryKind::Message, id));
        for (Bytes& id : ids[which])
            entries[which].push_back({static_cast<ULONG>(id.size()), id.data()});
    }
    // Back and forth, so that each turn changes all of them.
    Race(
        state, {"mark 2,000 as unread and read", 0, false}, 10,
        [&](const Folder& folder) {
            auto& mine = entries[&folder == folders[0] ? 0 : 1];
            mapi::ENTRYLIST list{static_cast<ULONG>(mine.size()), mine.data()};
            Check(folder.folder->SetReadFlags(&list, 0, nullptr, mapi::CLEAR_READ_FLAG));
            Check(folder.folder->SetReadFlags(&list, 0, nullptr, 0));
            return Answer{};
        },
        [](PlainStore& plain) {
            plain.Mark(1, false);
            plain.Mark(1, true);
            return Answer{};
        });
}

BENCHMARK(Create)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(OpenAndSort)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(FirstRows)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(WholeWalk)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(UnreadFilter)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(SubstringFilter)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(MarkRead)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int count, char** arguments)
try {
    return RunBenchmarks(count, arguments);
} catch (const std::exception& failure) {
    std::cerr << "bench_layout: " << failure.what() << '\n';
    return 2;
}
