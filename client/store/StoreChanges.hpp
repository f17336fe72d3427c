// What one transaction does to the messages of folders: tallied here as it happens and written in one go before the
// commit, one statement per folder instead of two per row. A rollback takes the tally with it; nothing else writes the
// counters of folders or the journal entries of messages.
#pragma once

#include "client/notify/Journal.hpp"

#include <unordered_map>

namespace deftmapi::client
{

/// A message as the counters of its folder see it.
struct CountedMessage
{
    std::int64_t row = 0;
    std::int64_t folder = 0; ///< 0 for an embedded message, which nobody counts
    bool associated = false;
    std::int64_t flags = 0;
};

/// REQUIRES for the first five: a transaction of the database is open.
class StoreChanges final : public CommitWork
{
public:
    explicit StoreChanges(Database& database) : FDatabase(database) {}

    void Added(const CountedMessage& message);
    /// The message that was added last is a copy of the other one.
    void Copied(std::int64_t row, std::int64_t source);
    void Removed(const CountedMessage& message);
    void Changed(const CountedMessage& before, std::int64_t flags);
    void Moved(const CountedMessage& before, std::int64_t folder);

    struct Counts
    {
        std::int64_t contents = 0;
        std::int64_t unread = 0;
        std::int64_t associated = 0;
    };
    /// What the counters of the folder in the database do not include yet.
    [[nodiscard]] Counts Pending(std::int64_t folder) const;

    void Flush() override;
    void Discard() noexcept override;

private:
    struct Tally
    {
        Counts counts;
        std::int64_t membership = 0;
        std::int64_t changes = 0;
        std::size_t entries[2] = {}; // of this transaction: ordinary messages, associated ones
        bool bulk[2] = {};           // an entry for all of them is to be written
    };

    Tally& Of(std::int64_t folder);
    static void Count(Tally& tally, const CountedMessage& message, std::int64_t sign);
    void Enter(JournalKind kind, const CountedMessage& message, std::int64_t folder, std::int64_t other);
    /// Whether the folder has had so many changes that they are not entered one by one.
    [[nodiscard]] bool IsBulk(std::int64_t folder, bool associated) const;
    void NoteEntry(std::int64_t folder, bool associated);
    void DropEntries();

    Database& FDatabase;
    std::unordered_map<std::int64_t, Tally> FTallies;
    std::vector<JournalEntry> FEntries;
};

} // namespace deftmapi::client
