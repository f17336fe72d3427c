#include "client/notify/Journal.hpp"

namespace deftmapi::client
{

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
        if (!visit(entry))
            return true;
    }
    return true;
}

} // namespace deftmapi::client
