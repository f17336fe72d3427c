// What a tree of 20,000 folders on 12 levels costs: opening and walking it, reading it as one table, deleting it with a
// message in every folder. Each must grow as the tree does: ten times the folders may take twelve times as long.
// DEFTMAPI_BENCH_SHORT: 200 and 2,000 folders. Ends with 1 when a limit is missed.
#include "bench/client/Folders.hpp"

#include "client/store/Folder.hpp"

namespace
{

using namespace deftmapi;
using namespace deftmapi::bench;

constexpr double GrowthLimit = 12.0;
constexpr std::size_t Levels = 12;
constexpr mapi::LONG Batch = 50;

/// A store with a tree of so many folders below the Inbox.
class Tree
{
public:
    Tree(const std::filesystem::path& file, std::size_t folders, bool withMessages) : FStore(Folder::Make(file))
    {
        std::vector<std::int64_t> levels[Levels];
        Transaction transaction(FStore->Db());
        FTop = InsertFolder(*FStore, Folder::Inbox, mapi::FOLDER_GENERIC, u"top", {});
        levels[0].push_back(FTop);
        for (std::size_t i = 1; i < folders; ++i) {
            const std::size_t level = 1 + (i - 1) % (Levels - 1);
            const auto& above = levels[level - 1];
            const std::int64_t parent = above[i * 7919 % above.size()];
            const std::string digits = std::to_string(i);
            const std::int64_t row = InsertFolder(*FStore, parent, mapi::FOLDER_GENERIC,
                                                  u"folder " + WideString(digits.begin(), digits.end()), {});
            levels[level].push_back(row);
            if (!withMessages)
                continue;
            MessageState message = MessageOf(static_cast<std::int64_t>(i), row);
            SaveMessage(*FStore, message, false);
        }
        transaction.Commit();
    }

    /// Opens every folder by the table of the one above it. @returns how many
    [[nodiscard]] std::size_t Walk() const { return Walk(*OpenFolderRow(FStore, FTop, false)); }

    /// Reads one table of all levels. @returns its rows
    [[nodiscard]] std::size_t ReadDeep() const
    {
        TKwComPtr<mapi::IMAPITable> table;
        Check(OpenFolderRow(FStore, FTop, false)
                  ->GetHierarchyTable(mapi::MAPI_UNICODE | mapi::CONVENIENT_DEPTH, Out(table)));
        std::size_t rows = 0;
        for (ULONG got = 1; got != 0; rows += got)
            got = ReadRows(*table.Get(), Batch);
        return rows;
    }

    void Delete() const
    {
        Bytes id = FStore->EntryIdOf(EntryKind::Folder, FTop);
        Check(OpenFolderRow(FStore, Folder::Inbox, true)
                  ->DeleteFolder(static_cast<ULONG>(id.size()), reinterpret_cast<mapi::LPENTRYID>(id.data()), 0,
                                 nullptr, mapi::DEL_FOLDERS | mapi::DEL_MESSAGES));
        if (FStore->Db().Scalar("SELECT count(*) FROM messages") != 0)
            throw std::runtime_error("messages are left");
    }

private:
    [[nodiscard]] static std::size_t Walk(mapi::IMAPIFolder& folder)
    {
        TKwComPtr<mapi::IMAPITable> table;
        Check(folder.GetHierarchyTable(mapi::MAPI_UNICODE, Out(table)));
        mapi::SPropTagArray columns{1, {tag::EntryId}};
        Check(table->SetColumns(&columns, 0));
        std::size_t count = 1;
        for (;;) {
            RowSet rows;
            Check(table->QueryRows(Batch, 0, rows.Out()));
            if (rows->cRows == 0)
                return count;
            for (ULONG i = 0; i < rows->cRows; ++i) {
                const mapi::SBinary& id = rows->aRow[i].lpProps[0].Value.bin;
                TKwComPtr<mapi::IMAPIFolder> child;
                ULONG type = 0;
                Check(folder.OpenEntry(id.cb, reinterpret_cast<mapi::LPENTRYID>(id.lpb), nullptr, 0, &type,
                                       reinterpret_cast<mapi::LPUNKNOWN*>(Out(child))));
                count += Walk(*child.Get());
            }
        }
    }

    StorePtr FStore;
    std::int64_t FTop = 0;
};

std::size_t LargeCount()
{
    return std::getenv("DEFTMAPI_BENCH_SHORT") ? 2000 : 20000;
}

void Expect(bool truth)
{
    if (!truth)
        throw std::runtime_error("the tree does not show what was made");
}

/// Times the same work on a large tree and on ten small ones, turn by turn, and compares.
void Grow(benchmark::State& state, const std::string& name, int turns,
          const std::function<double(std::size_t folders)>& milliseconds)
{
    constexpr int Times = 10;
    double small = std::numeric_limits<double>::infinity();
    double large = small;
    std::vector<double> growths;
    for (auto _ : state) {
        for (int turn = 0; turn < turns; ++turn) {
            const double one = milliseconds(LargeCount());
            double ten = 0;
            for (int i = 0; i < Times; ++i)
                ten += milliseconds(LargeCount() / Times);
            large = std::min(large, one);
            small = std::min(small, ten / Times);
            growths.push_back(one * Times / ten);
        }
    }
    state.counters["small_ms"] = small;
    state.counters["large_ms"] = large;
    TheReport().Line(name, Middle(growths), GrowthLimit, true,
                     std::to_string(small) + " ms, ten times the folders " + std::to_string(large) + " ms");
}

void Walking(benchmark::State& state, bool deep)
{
    const Scratch scratch;
    const Tree small(scratch.path / "small.store", LargeCount() / 10, false);
    const Tree large(scratch.path / "large.store", LargeCount(), false);
    Grow(state, deep ? "one table of the whole tree" : "opening and walking the tree", 5, [&](std::size_t folders) {
        const Tree& tree = folders == LargeCount() ? large : small;
        const double before = Computed(); // nothing is written, so that computing is all there is
        Expect(deep ? tree.ReadDeep() == folders - 1 : tree.Walk() == folders);
        return Computed() - before;
    });
}

void Deleting(benchmark::State& state)
{
    Grow(state, "deleting the tree with its messages", 5, [](std::size_t folders) {
        const Scratch scratch;
        const Tree tree(scratch.path / "tree.store", folders, true);
        const double before = Computed();
        tree.Delete();
        return Computed() - before;
    });
}

} // namespace

int main(int count, char** arguments)
{
    benchmark::RegisterBenchmark("walk", [](benchmark::State& state) { Walking(state, false); })
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("deep_table", [](benchmark::State& state) { Walking(state, true); })
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("delete", Deleting)->Iterations(1)->Unit(benchmark::kMillisecond);
    return RunBenchmarks(count, arguments);
}
