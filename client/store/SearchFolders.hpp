// Search folders. What one shows is kept as links, a row of search_links for each message, which follow every change of
// messages inside the same transaction. So its counters, its journal entries and its contents table are those of any
// other folder, in this process and in others.
#pragma once

#include "client/store/PropertyValues.hpp"
#include "client/store/StoreChanges.hpp"

#include <optional>
#include <vector>

namespace deftmapi::client
{

class StoreFile;

/// What a search folder looks for, and where.
struct SearchCriteria
{
    Bytes restriction;                 ///< packed
    std::vector<std::int64_t> folders; ///< of those that were named, the ones that are still there
    bool recursive = false;
    bool foreground = false;
    bool running = false;  ///< it follows changes; else it shows what it has until that is deleted
    bool isStatic = false; ///< it is never running
};

/// REQUIRES for all that change something: a transaction is open.
class SearchFolders final : public LinkWork
{
public:
    explicit SearchFolders(StoreFile& store) : FStore(store) {}

    /// Nothing for a folder that was never given criteria.
    [[nodiscard]] std::optional<SearchCriteria> Load(std::int64_t search);
    void Save(std::int64_t search, const SearchCriteria& criteria);
    /// What the search folder shows.
    [[nodiscard]] StoreChanges::Counts Count(std::int64_t search);
    /// Finds the messages anew, and tells that it is done.
    void Fill(std::int64_t search);
    /// The folder is being deleted, be it a search folder or one that is searched.
    void Drop(std::int64_t folder);
    /// A folder has another parent: its messages, and those below it, may be found or not now.
    void FolderMoved(std::int64_t folder);
    /// The messages that it shows.
    [[nodiscard]] std::vector<std::int64_t> Messages(std::int64_t search);

    [[nodiscard]] bool IsNeeded() override;
    void Follow(const TouchedMessages& touched) override;

private:
    struct Search;

    [[nodiscard]] std::vector<Search> LoadAll();
    void Follow(const Search& search, const std::vector<std::int64_t>& shown, const TouchedMessages& before,
                const TouchedMessages& now);
    [[nodiscard]] std::vector<std::int64_t> Fitting(const Search& search, const TouchedMessages& now);
    [[nodiscard]] bool IsSearched(const SearchCriteria& criteria, std::int64_t folder);

    StoreFile& FStore;
};

} // namespace deftmapi::client
