#include "client/notify/Journal.hpp"

#include <utility>

namespace deftmapi::client
{
namespace
{

/// Copies and links are what readers of the journal take them for, with a mark.
void Translate(JournalEntry& entry)
{
    switch (entry.kind) {
    case JournalKind::MessageCopied:
    case JournalKind::FolderCopied:
        entry.source = std::exchange(entry.other, 0);
        entry.kind = entry.kind == JournalKind::MessageCopied ? JournalKind::MessageAdded : JournalKind::FolderAdded;
        break;
    case JournalKind::LinkAdded:
    case JournalKind::LinkDeleted:
    case JournalKind::LinkModified:
        if (entry.folder == 0) {
            entry.kind = JournalKind::StoreModified;
            break;
        }
        entry.isLink = true;
        entry.kind = entry.kind == JournalKind::LinkAdded     ? JournalKind::MessageAdded
                     : entry.kind == JournalKind::LinkDeleted ? JournalKind::MessageDeleted
                                                              : JournalKind::MessageModified;
        break;
    default:
        break;
    }
}

} // namespace

void MarkFolderCopied(Database& database, std::int64_t folder, std::int64_t source)
{
    Query update =
        database.Prepare("UPDATE journal SET kind = ?1, other = ?2 WHERE seq = (SELECT max(seq) FROM journal "
                         "WHERE kind = ?3 AND object = ?4)");
    update.Bind(1, static_cast<std::int64_t>(JournalKind::FolderCopied)).Bind(2, source);
    update.Bind(3, static_cast<std::int64_t>(JournalKind::FolderAdded)).Bind(4, folder).Run();
}

void AddToJournal(Database& database, JournalKind kind, std::int64_t object, std::int64_t folder)
{
    Query insert = database.Prepare("INSERT INTO journal (kind, object, folder) VALUES (?1, ?2, ?3)");
    insert.Bind(1, static_cast<std::int64_t>(kind)).Bind(2, object).Bind(3, folder).Run();
}

void AddStoreModified(Database& database)
{
    AddToJournal(database, JournalKind::LinkModified, 0, 0);
}

std::int64_t LastJournalNumber(Database& database)
{
    return database.Scalar("SELECT max(seq) FROM journal");
}

bool ReadJournal(Database& database, std::int64_t seen, const std::function<bool(const JournalEntry& entry)>& visit)
{
    Query query = database.Prepare("SELECT seq, kind, object, folder, other, associated FROM journal "
                                   "WHERE seq > ?1 ORDER BY seq");
    query.Bind(1, seen);
    std::int64_t expected = seen + 1; // a rollback takes its numbers back, so there are no holes
    while (query.Step()) {
        JournalEntry entry;
        entry.number = query.Number(0);
        if (entry.number != expected++)
            return false;
        entry.kind = static_cast<JournalKind>(query.Number(1));
        entry.object = query.Number(2);
        entry.folder = query.Number(3);
        entry.other = query.Number(4);
        entry.associated = query.Number(5) != 0;
        Translate(entry);
        if (!visit(entry))
            return true;
    }
    return true;
}

} // namespace deftmapi::client
