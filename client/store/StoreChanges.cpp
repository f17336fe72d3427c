#include "client/store/StoreChanges.hpp"

#include "mapi/headers/uKwMAPIHeaders.hpp"

#include <algorithm>
#include <utility>

namespace deftmapi::client
{
namespace
{

/// Entries of one transaction that are worth writing one by one: the journal would not keep more of them.
constexpr std::size_t MostEntries = JournalKept;

bool IsUnread(const CountedMessage& message)
{
    return !message.associated && (message.flags & mapi::MSGFLAG_READ) == 0;
}

} // namespace

StoreChanges::Tally& StoreChanges::Of(std::int64_t folder)
{
    return FTallies[folder];
}

void StoreChanges::Count(Tally& tally, const CountedMessage& message, std::int64_t sign)
{
    ++tally.membership;
    ++tally.changes;
    if (message.associated)
        tally.counts.associated += sign;
    else
        tally.counts.contents += sign;
    if (IsUnread(message))
        tally.counts.unread += sign;
}

bool StoreChanges::IsBulk(std::int64_t folder, bool associated) const
{
    const auto it = FTallies.find(folder);
    return it != FTallies.end() && it->second.entries[associated] > JournalBulk;
}

void StoreChanges::NoteEntry(std::int64_t folder, bool associated)
{
    Tally& tally = Of(folder);
    if (++tally.entries[associated] > JournalBulk)
        tally.bulk[associated] = true;
}

/// Drops the entries of folders that one entry stands for. When more are left than the journal would keep, so that
/// nobody could read them one by one, the same is done for all folders.
void StoreChanges::DropEntries()
{
    std::erase_if(FEntries, [this](const JournalEntry& entry) {
        const std::int64_t other = entry.kind == JournalKind::MessageMoved ? entry.other : 0;
        return IsBulk(entry.folder, entry.associated) && (!other || IsBulk(other, entry.associated));
    });
    if (FEntries.size() <= MostEntries)
        return;
    for (const JournalEntry& entry : FEntries) {
        for (const std::int64_t folder : {entry.folder, entry.kind == JournalKind::MessageMoved ? entry.other : 0}) {
            if (folder) {
                Of(folder).entries[entry.associated] = JournalBulk;
                NoteEntry(folder, entry.associated);
            }
        }
    }
    FEntries.clear();
}

void StoreChanges::Enter(JournalKind kind, const CountedMessage& message, std::int64_t folder, std::int64_t other)
{
    NoteEntry(folder, message.associated);
    if (other)
        NoteEntry(other, message.associated);
    if (IsBulk(folder, message.associated) && (!other || IsBulk(other, message.associated)))
        return;
    FEntries.push_back({0, kind, message.row, folder, other, message.associated});
    if (FEntries.size() > 2 * MostEntries)
        DropEntries();
}

void StoreChanges::Touch(const CountedMessage& before)
{
    if (!FLinks || before.associated)
        return;
    if (!FLinksNeeded)
        FLinksNeeded = FLinks->IsNeeded();
    if (*FLinksNeeded)
        FTouched.emplace(before.row, before);
}

void StoreChanges::LinkAdded(std::int64_t folder, const CountedMessage& message)
{
    Count(Of(folder), message, 1);
    Enter(JournalKind::LinkAdded, message, folder, 0);
}

void StoreChanges::LinkRemoved(std::int64_t folder, const CountedMessage& message)
{
    Count(Of(folder), message, -1);
    Enter(JournalKind::LinkDeleted, message, folder, 0);
}

void StoreChanges::LinkChanged(std::int64_t folder, const CountedMessage& before, std::int64_t flags)
{
    CountedMessage after = before;
    after.flags = flags;
    Tally& tally = Of(folder);
    ++tally.changes;
    tally.counts.unread += int{IsUnread(after)} - int{IsUnread(before)};
    Enter(JournalKind::LinkModified, before, folder, 0);
}

void StoreChanges::Relinked(std::int64_t folder, const Counts& difference)
{
    Tally& tally = Of(folder);
    ++tally.membership;
    ++tally.changes;
    tally.counts.contents += difference.contents;
    tally.counts.unread += difference.unread;
    tally.bulk[0] = true;
}

void StoreChanges::SetUnread(const CountedMessage& message, bool unread)
{
    if ((message.flags & mapi::MSGFLAG_READ) != 0)
        return;
    UnreadPages pages(FDatabase);
    pages.Set({message.folder, message.associated}, message.row, unread);
    pages.Write();
}

void StoreChanges::Enlist(const CountedMessage& message, const IndexedValues& values)
{
    const MessageList list{message.folder, message.associated};
    if (values.subject)
        FSubjects.Put(list, message.row, *values.subject);
    FIndexes.Add(list, message.row, values);
    SetUnread(message, true);
}

void StoreChanges::Delist(const CountedMessage& message, const IndexedValues& values)
{
    const MessageList list{message.folder, message.associated};
    if (values.subject)
        FSubjects.Remove(list, message.row);
    FIndexes.Remove(list, message.row, values);
    SetUnread(message, false);
}

void StoreChanges::Reindex(const CountedMessage& message, const IndexedValues& before, const IndexedValues& after)
{
    if (!message.folder)
        return;
    const MessageList list{message.folder, message.associated};
    if (after.subject)
        FSubjects.Put(list, message.row, *after.subject);
    else
        FSubjects.Remove(list, message.row);
    FIndexes.Remove(list, message.row, before);
    FIndexes.Add(list, message.row, after);
}

void StoreChanges::Added(const CountedMessage& message, const IndexedValues& values)
{
    if (!message.folder)
        return;
    Enlist(message, values);
    Touch(message);
    Count(Of(message.folder), message, 1);
    Enter(JournalKind::MessageAdded, message, message.folder, 0);
}

void StoreChanges::Copied(std::int64_t row, std::int64_t source)
{
    if (FEntries.empty() || FEntries.back().kind != JournalKind::MessageAdded || FEntries.back().object != row)
        return; // one entry stands for all of its folder
    FEntries.back().kind = JournalKind::MessageCopied;
    FEntries.back().other = source;
}

void StoreChanges::Removed(const CountedMessage& message, const IndexedValues& values)
{
    if (!message.folder)
        return;
    Touch(message);
    Delist(message, values);
    Count(Of(message.folder), message, -1);
    Enter(JournalKind::MessageDeleted, message, message.folder, 0);
}

void StoreChanges::Changed(const CountedMessage& before, std::int64_t flags)
{
    if (!before.folder)
        return;
    Touch(before);
    CountedMessage after = before;
    after.flags = flags;
    Tally& tally = Of(before.folder);
    ++tally.changes;
    tally.counts.unread += int{IsUnread(after)} - int{IsUnread(before)};
    Enter(JournalKind::MessageModified, before, before.folder, 0);
}

void StoreChanges::Moved(const CountedMessage& before, std::int64_t folder, const IndexedValues& values)
{
    if (folder == before.folder)
        return Changed(before, before.flags);
    Touch(before);
    CountedMessage after = before;
    after.folder = folder;
    Delist(before, values);
    Enlist(after, values);
    Count(Of(before.folder), before, -1);
    Count(Of(folder), before, 1);
    Enter(JournalKind::MessageMoved, before, folder, before.folder);
}

StoreChanges::Counts StoreChanges::Pending(std::int64_t folder) const
{
    const auto it = FTallies.find(folder);
    return it == FTallies.end() ? Counts() : it->second.counts;
}

void StoreChanges::Flush()
{
    FSubjects.Flush();
    FIndexes.Flush();
    if (!FTouched.empty())
        FLinks->Follow(std::exchange(FTouched, {}));
    if (FTallies.empty())
        return;
    {
        Query entry = FDatabase.Prepare("INSERT INTO journal (kind, object, folder, other, associated) "
                                        "VALUES (?1, ?2, ?3, nullif(?4, 0), ?5)");
        const auto write = [&entry](JournalKind kind, std::int64_t object, std::int64_t folder, std::int64_t other,
                                    bool associated) {
            entry.Reset();
            entry.Bind(1, static_cast<std::int64_t>(kind)).Bind(2, object).Bind(3, folder).Bind(4, other);
            entry.Bind(5, associated).Run();
        };
        DropEntries();
        for (const JournalEntry& one : FEntries)
            write(one.kind, one.object, one.folder, one.other, one.associated);
        FEntries.clear();
        for (auto& [folder, tally] : FTallies) {
            for (const bool associated : {false, true}) {
                if (std::exchange(tally.bulk[associated], false))
                    write(JournalKind::FolderBulk, 0, folder, 0, associated);
            }
        }
    }
    Query update = FDatabase.Prepare(
        "UPDATE folders SET content_count = content_count + ?2, unread_count = unread_count + ?3, "
        "associated_count = associated_count + ?4, membership = membership + ?5, changes = changes + ?6 WHERE id = ?1");
    for (auto& [folder, tally] : FTallies) {
        if (tally.changes == 0)
            continue;
        update.Reset();
        update.Bind(1, folder).Bind(2, tally.counts.contents).Bind(3, tally.counts.unread);
        update.Bind(4, tally.counts.associated).Bind(5, tally.membership).Bind(6, tally.changes).Run();
        tally.counts = {};
        tally.membership = 0;
        tally.changes = 0;
    }
}

void StoreChanges::Discard() noexcept
{
    FSubjects.Discard();
    FIndexes.Discard();
    FTallies.clear();
    FEntries.clear();
    FTouched.clear();
    FLinksNeeded.reset();
}

} // namespace deftmapi::client
