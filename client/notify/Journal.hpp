// The journal of a store: what changed in which order, written inside the transaction that changes it: about messages
// by StoreChanges, about folders by triggers.
// Whoever listens remembers the last number he has seen; so changes of this and of other processes reach him by the
// same road, and one that was not committed leaves nothing behind.
#pragma once

#include "client/store/Database.hpp"

#include <functional>

namespace deftmapi::client
{

/// Stands in the store file: a number that has been published keeps its meaning.
enum class JournalKind : std::int64_t
{
    MessageAdded = 1,
    MessageDeleted = 2,
    MessageModified = 3,
    MessageMoved = 4,
    FolderAdded = 5,
    FolderDeleted = 6,
    FolderModified = 7,
    FolderMoved = 8,
    FolderBulk = 9,     ///< more messages of the folder changed at once than are worth an entry each
    MessageCopied = 10, ///< read as MessageAdded with a source
    FolderCopied = 11,  ///< read as FolderAdded with a source
    NewMail = 12,       ///< a message has been delivered
    SearchDone = 13,    ///< a search folder has been filled
    LinkAdded = 14,     ///< these three are read as those of the message, with the search folder as its folder
    LinkDeleted = 15,
    LinkModified = 16,
    StoreModified = 17 ///< properties of the store; in the file it is LinkModified of nothing, which programs that do
                       ///< not know this kind pass over
};

struct JournalEntry
{
    std::int64_t number = 0;
    JournalKind kind = JournalKind::MessageAdded;
    std::int64_t object = 0; ///< row of the message or folder; 0 for many messages
    std::int64_t folder = 0; ///< the folder that it lies in, after the change; for what was deleted, before it
    std::int64_t other = 0;  ///< for what was moved, the folder that it came from; else 0
    bool associated = false; ///< of a message
    std::int64_t source = 0; ///< for what was copied, the row that it is a copy of; else 0
    bool isLink = false;     ///< the folder is a search folder that shows, or showed, the message

    [[nodiscard]] bool IsMessage() const
    {
        return kind <= JournalKind::MessageMoved || kind == JournalKind::FolderBulk;
    }
};

/// When one transaction changes more messages of a folder than this, one entry stands for all of them.
inline constexpr std::size_t JournalBulk = 512;

/// Entries that a journal keeps at least; older ones are trimmed. The trigger in the store file has the same number.
inline constexpr std::int64_t JournalKept = 16384;

/// Makes the entry of the folder that was added last say that it is a copy. REQUIRES: the transaction that added it.
void MarkFolderCopied(Database& database, std::int64_t folder, std::int64_t source);
/// Adds an entry of kind NewMail or SearchDone. REQUIRES: a transaction is open.
void AddToJournal(Database& database, JournalKind kind, std::int64_t object, std::int64_t folder);
/// Adds an entry of kind StoreModified. REQUIRES: a transaction is open.
void AddStoreModified(Database& database);

/// The number of the latest entry, 0 in a journal that never had one.
[[nodiscard]] std::int64_t LastJournalNumber(Database& database);

/// Visits the entries after number `seen` in their order, until the visitor returns false.
/// @returns false when entries after `seen` have been trimmed: what happened since then cannot be told
bool ReadJournal(Database& database, std::int64_t seen, const std::function<bool(const JournalEntry& entry)>& visit);

} // namespace deftmapi::client
