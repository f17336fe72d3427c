// What one transaction does to the messages of folders: tallied here as it happens and written in one go before the
// commit, one statement per folder instead of two per row. A rollback takes the tally with it; nothing else writes the
// counters of folders, the journal entries of messages, the packed subjects or the tables that stand in for indexes.
#pragma once

#include "client/notify/Journal.hpp"
#include "client/store/SortedIndexes.hpp"
#include "client/store/SubjectPages.hpp"
#include "client/store/UnreadPages.hpp"

#include <optional>
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

/// Messages as they were before the transaction first changed them, by row.
using TouchedMessages = std::unordered_map<std::int64_t, CountedMessage>;

/// Who keeps links to messages that depend on what the messages are.
class LinkWork
{
public:
    virtual ~LinkWork() = default;
    /// Whether anybody links to messages. Asked once in a transaction.
    [[nodiscard]] virtual bool IsNeeded() = 0;
    /// Brings the links to these messages up to date.
    virtual void Follow(const TouchedMessages& touched) = 0;
};

/// REQUIRES for the first six: a transaction of the database is open.
class StoreChanges final : public CommitWork
{
public:
    explicit StoreChanges(Database& database) : FDatabase(database), FSubjects(database), FIndexes(database) {}

    /// What `values` refer to is needed no longer than the call.
    void Added(const CountedMessage& message, const IndexedValues& values);
    /// The message that was added last is a copy of the other one.
    void Copied(std::int64_t row, std::int64_t source);
    void Removed(const CountedMessage& message, const IndexedValues& values);
    /// @param flags  where these say something else of being read, UnreadPages has been told
    void Changed(const CountedMessage& before, std::int64_t flags);
    /// Besides Changed.
    void Reindex(const CountedMessage& message, const IndexedValues& before, const IndexedValues& after);
    void Moved(const CountedMessage& before, std::int64_t folder, const IndexedValues& values);
    /// The message is where it was, but that lies elsewhere now.
    void Rescoped(const CountedMessage& message) { Touch(message); }

    /// Told of every changed message, when the transaction is about to end. @param links  outlives this
    void SetLinkWork(LinkWork* links) { FLinks = links; }
    /// The same for the links, whose folder shows messages of others. REQUIRES: called by LinkWork
    void LinkAdded(std::int64_t folder, const CountedMessage& message);
    void LinkRemoved(std::int64_t folder, const CountedMessage& message);
    void LinkChanged(std::int64_t folder, const CountedMessage& before, std::int64_t flags);

    struct Counts
    {
        std::int64_t contents = 0;
        std::int64_t unread = 0;
        std::int64_t associated = 0;
    };
    /// What the counters of the folder in the database do not include yet.
    [[nodiscard]] Counts Pending(std::int64_t folder) const;
    /// All links of a folder have been made anew: the difference to those before.
    void Relinked(std::int64_t folder, const Counts& difference);

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
    void Touch(const CountedMessage& before);
    /// Enters a message into everything that finds messages of its list, or takes it out.
    void Enlist(const CountedMessage& message, const IndexedValues& values);
    void Delist(const CountedMessage& message, const IndexedValues& values);
    void SetUnread(const CountedMessage& message, bool unread);

    Database& FDatabase;
    SubjectPages FSubjects;
    SortedIndexes FIndexes;
    LinkWork* FLinks = nullptr;
    std::optional<bool> FLinksNeeded; // in this transaction
    TouchedMessages FTouched;         // since the last flush; empty when nobody links
    std::unordered_map<std::int64_t, Tally> FTallies;
    std::vector<JournalEntry> FEntries;
};

} // namespace deftmapi::client
