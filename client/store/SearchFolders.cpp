#include "client/store/SearchFolders.hpp"

#include "client/store/Folder.hpp"
#include "client/store/MessageRows.hpp"
#include "client/store/SearchCriteria.hpp"

#include <algorithm>
#include <set>

namespace deftmapi::client
{
namespace
{

/// Bits of searches.state.
constexpr std::int64_t Running = 1;
constexpr std::int64_t Recursive = 2;
constexpr std::int64_t Foreground = 4;
constexpr std::int64_t Static = 8;

std::string KeysOf(const TouchedMessages& messages)
{
    std::vector<std::int64_t> rows;
    rows.reserve(messages.size());
    for (const auto& [row, message] : messages)
        rows.push_back(row);
    return ListOf(rows);
}

} // namespace

struct SearchFolders::Search
{
    std::int64_t folder = 0;
    SearchCriteria criteria;
    std::shared_ptr<const Restriction> restriction; // null: it cannot be read, and finds nothing more
};

std::optional<SearchCriteria> SearchFolders::Load(std::int64_t search)
{
    SearchCriteria criteria;
    {
        Query query = FStore.Db().Prepare("SELECT restriction, state FROM searches WHERE folder = ?1");
        if (!query.Bind(1, search).Step())
            return std::nullopt;
        const auto packed = query.Blob(0);
        criteria.restriction.assign(packed.begin(), packed.end());
        criteria.running = (query.Number(1) & Running) != 0;
        criteria.recursive = (query.Number(1) & Recursive) != 0;
        criteria.foreground = (query.Number(1) & Foreground) != 0;
        criteria.isStatic = (query.Number(1) & Static) != 0;
    }
    criteria.folders =
        FStore.Db().Prepare("SELECT folder FROM search_scopes WHERE search = ?1").Bind(1, search).Numbers();
    return criteria;
}

void SearchFolders::Save(std::int64_t search, const SearchCriteria& criteria)
{
    Database& database = FStore.Db();
    const std::int64_t state = (criteria.running ? Running : 0) | (criteria.recursive ? Recursive : 0) |
                               (criteria.foreground ? Foreground : 0) | (criteria.isStatic ? Static : 0);
    Query save = database.Prepare("INSERT OR REPLACE INTO searches (folder, restriction, state) VALUES (?1, ?2, ?3)");
    save.Bind(1, search).BindBlob(2, criteria.restriction).Bind(3, state).Run();
    database.Prepare("DELETE FROM search_scopes WHERE search = ?1").Bind(1, search).Run();
    Query scope = database.Prepare("INSERT OR IGNORE INTO search_scopes (search, folder) VALUES (?1, ?2)");
    for (const std::int64_t folder : criteria.folders) {
        scope.Reset();
        scope.Bind(1, search).Bind(2, folder).Run();
    }
}

StoreChanges::Counts SearchFolders::Count(std::int64_t search)
{
    static const std::string sql = std::string("SELECT count(*), total(") + UnreadExpression +
                                   ") FROM search_links l JOIN messages m ON m.id = l.message WHERE l.search = ?1";
    Query query = FStore.Db().Prepare(sql);
    query.Bind(1, search).Step();
    return {query.Number(0), query.Number(1), 0};
}

void SearchFolders::Fill(std::int64_t search)
{
    const auto criteria = Load(search);
    if (!criteria)
        return;
    FStore.Changes().Flush(); // what has been counted until now is counted in what is found here
    Database& database = FStore.Db();
    const auto restriction =
        std::make_shared<const Restriction>(Restriction::Parse(*UnpackRestriction(criteria->restriction, true).Get()));
    std::set<std::int64_t> folders;
    for (const std::int64_t folder : criteria->folders) {
        const auto searched = criteria->recursive ? Subtree(FStore, {folder}) : std::vector{folder};
        folders.insert(searched.begin(), searched.end());
    }
    const StoreChanges::Counts before = Count(search);
    database.Prepare("DELETE FROM search_links WHERE search = ?1").Bind(1, search).Run();
    for (const std::int64_t folder : folders) {
        MessageRows rows{FStore.shared_from_this(), folder, false};
        rows.tolerant = true;
        rows.state = rows.State(); // nobody changes it meanwhile
        MessageCondition condition(rows, restriction);
        condition.TakePartIfFew();
        SqlPiece statement{"INSERT INTO search_links (search, message) SELECT ?, m.id FROM ", {search}};
        statement.Add(condition.Source()).Add(" WHERE ").Add(rows.Membership()).Add(condition.Sql());
        Query query = rows.Start(statement);
        query.Run();
    }
    const StoreChanges::Counts after = Count(search);
    FStore.Changes().Relinked(search, {after.contents - before.contents, after.unread - before.unread, 0});
    AddToJournal(database, JournalKind::SearchDone, search,
                 database.Scalar("SELECT parent FROM folders WHERE id = " + std::to_string(search)));
}

void SearchFolders::Drop(std::int64_t folder)
{
    for (const char* sql : {"DELETE FROM search_links WHERE search = ?1", "DELETE FROM searches WHERE folder = ?1",
                            "DELETE FROM search_scopes WHERE search = ?1 OR folder = ?1"})
        FStore.Db().Prepare(sql).Bind(1, folder).Run();
}

void SearchFolders::FolderMoved(std::int64_t folder)
{
    if (!IsNeeded())
        return;
    for (const std::int64_t below : Subtree(FStore, {folder})) {
        static const std::string sql =
            "SELECT m.id, " + FlagsExpression + " FROM messages m WHERE m.folder = ?1 AND m.associated = 0";
        Query query = FStore.Db().Prepare(sql);
        query.Bind(1, below);
        while (query.Step())
            FStore.Changes().Rescoped({query.Number(0), below, false, query.Number(1)});
    }
}

std::vector<std::int64_t> SearchFolders::Messages(std::int64_t search)
{
    return FStore.Db().Prepare("SELECT message FROM search_links WHERE search = ?1").Bind(1, search).Numbers();
}

bool SearchFolders::IsNeeded()
{
    return FStore.Db().Scalar("SELECT EXISTS (SELECT 1 FROM searches)") != 0;
}

std::vector<SearchFolders::Search> SearchFolders::LoadAll()
{
    std::vector<Search> searches;
    for (const std::int64_t folder : FStore.Db().Prepare("SELECT folder FROM searches").Numbers())
        searches.push_back({folder, {}, nullptr});
    for (Search& search : searches) {
        if (auto criteria = Load(search.folder))
            search.criteria = std::move(*criteria);
        try {
            const auto packed = UnpackRestriction(search.criteria.restriction, true);
            search.restriction = std::make_shared<const Restriction>(Restriction::Parse(*packed.Get()));
        } catch (const Failure&) {
            search.criteria.running = false; // nobody could save a message any more because of it
        }
    }
    return searches;
}

bool SearchFolders::IsSearched(const SearchCriteria& criteria, std::int64_t folder)
{
    const auto isNamed = [&](std::int64_t row) {
        return std::find(criteria.folders.begin(), criteria.folders.end(), row) != criteria.folders.end();
    };
    while (folder != 0 && !isNamed(folder)) {
        if (!criteria.recursive)
            return false;
        Query query = FStore.Db().Prepare("SELECT parent FROM folders WHERE id = ?1");
        folder = query.Bind(1, folder).Step() ? query.Number(0) : 0;
    }
    return folder != 0;
}

void SearchFolders::Follow(const TouchedMessages& touched)
{
    Database& database = FStore.Db();
    const std::string list = KeysOf(touched);
    TouchedMessages now;
    std::unordered_map<std::int64_t, std::vector<std::int64_t>> shown;
    {
        static const std::string sql = "SELECT m.id, m.folder, " + FlagsExpression +
                                       " FROM messages m WHERE m.id IN (SELECT value FROM json_each(?1)) AND "
                                       "m.folder IS NOT NULL AND m.associated = 0";
        Query query = database.Prepare(sql);
        query.BindText(1, list);
        while (query.Step())
            now.emplace(query.Number(0), CountedMessage{query.Number(0), query.Number(1), false, query.Number(2)});
    }
    {
        Query query = database.Prepare(
            "SELECT search, message FROM search_links WHERE message IN (SELECT value FROM json_each(?1))");
        query.BindText(1, list);
        while (query.Step())
            shown[query.Number(0)].push_back(query.Number(1));
    }
    for (const Search& search : LoadAll())
        Follow(search, shown[search.folder], touched, now);
}

std::vector<std::int64_t> SearchFolders::Fitting(const Search& search, const TouchedMessages& now)
{
    std::unordered_map<std::int64_t, bool> searched; // by folder
    std::vector<std::int64_t> rows;
    for (const auto& [row, message] : now) {
        const auto [it, isNew] = searched.try_emplace(message.folder, false);
        if (isNew)
            it->second = IsSearched(search.criteria, message.folder);
        if (it->second)
            rows.push_back(row);
    }
    if (rows.empty())
        return rows;
    MessageRows all{FStore.shared_from_this(), search.folder, false};
    all.isSearch = true;
    all.tolerant = true; // else nobody could change a message of which something else is damaged
    const MessageCondition condition(all, search.restriction);
    SqlPiece statement{"SELECT m.id FROM messages m NOT INDEXED WHERE m.id IN (SELECT value FROM json_each(?))",
                       {ListOf(rows)}};
    return all.Start(statement.Add(condition.Sql())).Numbers();
}

void SearchFolders::Follow(const Search& search, const std::vector<std::int64_t>& shown, const TouchedMessages& before,
                           const TouchedMessages& now)
{
    std::vector<std::int64_t> fitting;
    if (search.criteria.running)
        fitting = Fitting(search, now);
    const std::set<std::int64_t> fits(fitting.begin(), fitting.end());
    const std::set<std::int64_t> had(shown.begin(), shown.end());
    StoreChanges& changes = FStore.Changes();
    for (const std::int64_t row : had) {
        const CountedMessage& old = before.at(row);
        const auto it = now.find(row);
        if (it != now.end() && (!search.criteria.running || fits.contains(row))) {
            changes.LinkChanged(search.folder, old, it->second.flags);
            continue;
        }
        Query remove = FStore.Db().Prepare("DELETE FROM search_links WHERE search = ?1 AND message = ?2");
        remove.Bind(1, search.folder).Bind(2, row).Run();
        changes.LinkRemoved(search.folder, old);
    }
    for (const std::int64_t row : fits) {
        if (had.contains(row))
            continue;
        Query add = FStore.Db().Prepare("INSERT INTO search_links (search, message) VALUES (?1, ?2)");
        add.Bind(1, search.folder).Bind(2, row).Run();
        changes.LinkAdded(search.folder, now.at(row));
    }
}

} // namespace deftmapi::client
