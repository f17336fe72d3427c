// What one advise connection of a store tells: an event for every entry of the journal that its sink wants to know of,
// in the order in which the changes became durable, in this process or another.
#pragma once

#include "client/notify/Dispatcher.hpp"
#include "client/notify/Journal.hpp"
#include "client/store/StoreFile.hpp"

namespace deftmapi::client
{

/// What a sink of a store may ask for.
inline constexpr mapi::ULONG StoreEvents = mapi::fnevCriticalError | mapi::fnevNewMail | mapi::fnevObjectCreated |
                                           mapi::fnevObjectDeleted | mapi::fnevObjectModified | mapi::fnevObjectMoved |
                                           mapi::fnevObjectCopied | mapi::fnevSearchComplete;

/// A copy is told as copied, not as created besides. What happens to messages of a folder changes its counters: the
/// folder is told as modified, once for all that is collected together, with the tags of its counters. When more has
/// happened than the journal keeps, the store itself is told as modified: whoever shows it reads it anew. The same is
/// told, to sinks for the whole store, when its own properties were changed, be it its name. More than 512
/// changes of a folder in one transaction are the event of the folder alone: a sink that asks for created, deleted and
/// moved objects, but not for modified ones, does not hear of them. A sink for one message hears of it in any case.
class StoreFeed final : public Listener
{
public:
    /// @param store   over a connection that no object uses
    /// @param object  the message to be told of; or the folder, with what lies in it; or nothing: the whole store
    /// @throws Failure  the journal could not be read
    StoreFeed(StorePtr store, mapi::ULONG mask, std::optional<EntryReference> object);

    NotificationBatch Collect() noexcept override;

private:
    void CollectChanges(NotificationBatch& batch);
    void Tell(const JournalEntry& entry, NotificationBatch& batch);
    void TellStore(NotificationBatch& batch) const;
    void TellNewMail(const JournalEntry& entry, NotificationBatch& batch);
    void TellCounters(NotificationBatch& batch);
    [[nodiscard]] bool Wants(EntryKind kind, std::int64_t row, std::int64_t parent, std::int64_t oldParent) const;

    /// A message as a sink that asked for it alone last knew it.
    struct Mark
    {
        std::int64_t folder = 0; // 0: it is gone
        std::int64_t version = 0;
        std::int64_t flags = 0;
        std::int64_t status = 0;

        friend bool operator==(const Mark&, const Mark&) = default;
    };
    [[nodiscard]] Mark LookAtMessage() const;
    /// What has become of the message when one entry stands for the changes of its folder.
    void TellMessage(const Mark& now, NotificationBatch& batch);
    [[nodiscard]] bool IsForMessage() const { return FObject && FObject->kind == EntryKind::Message; }
    [[nodiscard]] Bytes FolderId(std::int64_t row) const;

    std::mutex FLock; // taken before that of the connection
    StorePtr FStore;
    mapi::ULONG FMask;
    std::optional<EntryReference> FObject;
    std::int64_t FSeen = 0;
    std::map<std::int64_t, bool> FCounted; // folders whose counters have changed, and whether of ordinary messages
    Mark FMark;                            // of a sink for one message
    bool FBulk = false;                    // what is being collected has entries that stand for many messages,
    mapi::ULONG FOwn = 0;                  // and these events of the message by itself
    bool FFailing = false;
};

} // namespace deftmapi::client
