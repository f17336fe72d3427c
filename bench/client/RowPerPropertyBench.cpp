// The store's layout beside the obvious one, a row per property, with the same messages: what opening, walking,
// filtering, creating and marking cost, and how the cost grows from 10,000 to 100,000 messages.
// DEFTMAPI_BENCH_SHORT: 2,000 and 20,000. Ends with 1 when a limit is missed.
#include "bench/client/Folders.hpp"

namespace
{

using namespace deftmapi;
using namespace deftmapi::bench;

constexpr double TimesFaster = 4;
constexpr double GrowthLimit = 12; // for ten times the messages
constexpr std::int64_t Marked = 2000;

/// One row per property, as schemas of that kind have it: an index finds the properties of a message.
class PlainStore
{
public:
    explicit PlainStore(const std::filesystem::path& file) : FDatabase(file, Database::Mode::Create)
    {
        FDatabase.Execute("PRAGMA journal_mode = WAL");
        FDatabase.Execute("PRAGMA synchronous = FULL");
        FDatabase.Execute("PRAGMA cache_size = -16000");
        FDatabase.Execute("CREATE TABLE objects (id INTEGER PRIMARY KEY, parent INTEGER NOT NULL)");
        FDatabase.Execute("CREATE INDEX objects_parent ON objects (parent)");
        FDatabase.Execute("CREATE TABLE properties (object INTEGER NOT NULL, tag INTEGER NOT NULL, value, "
                          "PRIMARY KEY (object, tag)) WITHOUT ROWID");
        FDatabase.Execute("CREATE INDEX properties_value ON properties (tag, value)");
    }

    void Add(std::int64_t number)
    {
        FDatabase.Prepare("INSERT INTO objects VALUES (?1, 1)").Bind(1, number + 1).Run();
        MessageState message = NewMessage(1, false); // the same first values as a message of the store has
        for (Prop& prop : PropsOf(number))
            message.props.Set(std::move(prop));
        message.props.Set(LongProp(tag::MessageSize, static_cast<std::int64_t>(message.props.Size())));
        Query insert = FDatabase.Prepare("INSERT INTO properties VALUES (?1, ?2, ?3)");
        for (const auto& [id, prop] : message.props) {
            insert.Reset();
            insert.Bind(1, number + 1).Bind(2, id);
            if (const auto* value = std::get_if<std::int64_t>(&prop.data))
                insert.Bind(3, *value);
            else if (const auto* text = std::get_if<WideString>(&prop.data))
                insert.BindText(3, PackText(*text));
            else
                insert.BindBlob(3, std::get<Bytes>(prop.data));
            insert.Run();
        }
    }
    void Mark(std::int64_t first)
    {
        Transaction transaction(FDatabase);
        for (std::int64_t id = first; id < first + Marked; ++id)
            FDatabase.Prepare("UPDATE properties SET value = value | 1 WHERE object = ?1 AND tag = 3591")
                .Bind(1, id)
                .Run();
        transaction.Commit();
    }
    std::size_t Rows(const std::string& sql)
    {
        Query query = FDatabase.Prepare(sql);
        std::size_t rows = 0;
        while (query.Step())
            ++rows;
        return rows;
    }
    /// Reads the seven stored columns of messages as a table shows them.
    std::size_t Columns(const std::string& objects)
    {
        std::string select = "SELECT o.id";
        for (const ULONG tag : {tag::Subject, tag::SenderName, tag::DeliveryTime, tag::MessageFlags, tag::MessageSize,
                                tag::MessageClass, tag::Importance})
            select.append(", (SELECT value FROM properties p WHERE p.object = o.id AND p.tag = ")
                .append(std::to_string(tag >> 16))
                .append(")");
        Query query = FDatabase.Prepare(select + " FROM " + objects);
        std::size_t rows = 0;
        std::vector<WideString> texts;
        while (query.Step()) {
            texts.clear();
            for (const int text : {1, 2, 6})
                texts.push_back(UnpackText(query.Text(text)));
            ++rows;
        }
        return rows;
    }
    Database& Db() { return FDatabase; }

private:
    Database FDatabase;
};

struct Costs
{
    double create = 0; // milliseconds
    double openAndSort = 0;
    double firstRows = 0;
    double walk = 0;
    double unread = 0;
    double substring = 0;
    double mark = 0;
};

Costs Measure(const std::filesystem::path& file, std::int64_t count)
{
    Costs costs;
    costs.create = static_cast<double>(count) / Folder::Build(file, count) * 1000;
    const Folder folder(file);
    TKwComPtr<mapi::IMAPITable> table;
    ULONG rows = 0;
    costs.openAndSort = Best(5, [&] {
        table = folder.Open();
        SortByTime(*table.Get(), mapi::TABLE_SORT_DESCEND);
        Check(table->GetRowCount(0, &rows));
    });
    costs.firstRows = Best(20, [&] {
        Check(table->SeekRow(mapi::BOOKMARK_BEGINNING, 0, nullptr));
        ReadRows(*table.Get(), 50);
    });
    costs.walk = Best(2, [&] {
        Check(table->SeekRow(mapi::BOOKMARK_BEGINNING, 0, nullptr));
        while (ReadRows(*table.Get(), 500) > 0) {
        }
    });
    mapi::SRestriction unread{};
    unread.rt = mapi::RES_BITMASK;
    unread.res.resBitMask = {mapi::BMR_EQZ, tag::MessageFlags, mapi::MSGFLAG_READ};
    costs.unread = Best(5, [&] {
        Check(table->Restrict(&unread, 0));
        Check(table->GetRowCount(0, &rows));
    });
    std::u16string text = u"of 77";
    mapi::SPropValue value{};
    value.ulPropTag = tag::Subject;
    value.Value.lpszW = text.data();
    mapi::SRestriction substring{};
    substring.rt = mapi::RES_CONTENT;
    substring.res.resContent = {mapi::FL_SUBSTRING | mapi::FL_IGNORECASE, tag::Subject, &value};
    costs.substring = Best(3, [&] {
        Check(table->Restrict(&substring, 0));
        Check(table->GetRowCount(0, &rows));
    });
    std::vector<Bytes> ids;
    std::vector<mapi::SBinary> entries;
    for (std::int64_t id = 1; id <= Marked; ++id)
        ids.push_back(folder.store->EntryIdOf(EntryKind::Message, id));
    for (Bytes& id : ids)
        entries.push_back({static_cast<ULONG>(id.size()), id.data()});
    mapi::ENTRYLIST list{static_cast<ULONG>(entries.size()), entries.data()};
    // Back and forth, so that each turn changes all of them; half the time of both is one change.
    costs.mark = Best(3,
                      [&] {
                          Check(folder.folder->SetReadFlags(&list, 0, nullptr, mapi::CLEAR_READ_FLAG));
                          Check(folder.folder->SetReadFlags(&list, 0, nullptr, 0));
                      }) /
                 2;
    return costs;
}

Costs MeasurePlain(const std::filesystem::path& file, std::int64_t count)
{
    PlainStore store(file);
    Costs costs;
    costs.create = Best(1, [&] {
        for (std::int64_t number = 0; number < count;) {
            Transaction transaction(store.Db());
            for (const std::int64_t end = std::min<std::int64_t>(count, number + 10000); number < end; ++number)
                store.Add(number);
            transaction.Commit();
        }
    });
    const std::string order = "objects o JOIN properties s ON s.object = o.id AND s.tag = 3590 WHERE o.parent = 1 "
                              "ORDER BY s.value DESC, o.id DESC";
    costs.openAndSort = Best(3, [&] { store.Rows("SELECT o.id FROM " + order); });
    costs.firstRows = Best(3, [&] { store.Columns(order + " LIMIT 50"); });
    costs.walk = Best(1, [&] { store.Columns(order); });
    costs.unread = Best(3, [&] {
        store.Rows("SELECT o.id FROM objects o JOIN properties f ON f.object = o.id AND f.tag = 3591 "
                   "WHERE o.parent = 1 AND (f.value & 1) = 0");
    });
    costs.substring = Best(3, [&] {
        store.Rows("SELECT o.id FROM objects o JOIN properties f ON f.object = o.id AND f.tag = 55 "
                   "WHERE o.parent = 1 AND f.value LIKE '%of 77%'");
    });
    costs.mark = Best(3, [&] { store.Mark(1); });
    return costs;
}

} // namespace

int main()
try {
    const bool isShort = std::getenv("DEFTMAPI_BENCH_SHORT") != nullptr;
    const std::int64_t few = isShort ? 2000 : 10000;
    const std::int64_t many = few * 10;
    Scratch scratch;
    const Costs small = Measure(scratch.path / "small.store", few);
    const Costs ours = Measure(scratch.path / "large.store", many);
    const Costs plain = MeasurePlain(scratch.path / "plain.db", many);
    Report report;
    if (!isShort) { // in milliseconds; the ratios below hold on any machine
        report.Line("open and sort, ms", ours.openAndSort, 60, true);
        report.Line("first 50 rows, ms", ours.firstRows, 1, true);
        report.Line("whole walk, ms", ours.walk, 1000, true);
        report.Line("unread filter, ms", ours.unread, 10, true);
        report.Line("substring filter, ms", ours.substring, 150, true);
        report.Line("messages created a second", static_cast<double>(many) / ours.create * 1000, 15000, false);
    }
    struct Cost
    {
        const char* name;
        double Costs::*value;
        bool inShort; // far enough from its limit to be held on a busy machine
    };
    constexpr Cost all[] = {{"create", &Costs::create, false},           {"open and sort", &Costs::openAndSort, true},
                            {"first 50 rows", &Costs::firstRows, false}, {"whole walk", &Costs::walk, false},
                            {"unread filter", &Costs::unread, true},     {"substring filter", &Costs::substring, false},
                            {"mark 2,000 as read", &Costs::mark, false}};
    for (const Cost& cost : all) {
        if (isShort && !cost.inShort)
            continue;
        const double mine = ours.*cost.value;
        const double other = plain.*cost.value;
        report.Line(std::string(cost.name) + ", times faster", other / mine, TimesFaster, false,
                    std::to_string(mine) + " ms, a row per property " + std::to_string(other) + " ms");
        report.Line(std::string(cost.name) + ", growth", mine / (small.*cost.value), GrowthLimit, true);
    }
    return report.ExitStatus();
} catch (const std::exception& failure) {
    std::cerr << "bench_layout: " << failure.what() << '\n';
    return 2;
}
