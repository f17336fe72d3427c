// Copies of messages and folders, within a store or into another one. A copy within a store is one transaction. Between
// two stores the copies are one transaction of the other store; a move then deletes in one transaction here what nobody
// has changed meanwhile, so that a failure in between leaves both but never neither.
#pragma once

#include "client/store/Folder.hpp"
#include "client/store/Progress.hpp"

namespace deftmapi::client
{

/// The locks of two stores, which may be the same.
class BothLocks
{
public:
    BothLocks(StoreFile& one, StoreFile& other) : FLocks(one.Lock(), other.Lock()) {}

private:
    std::scoped_lock<std::recursive_mutex, std::recursive_mutex> FLocks;
};

/// These folders and the messages in them: the steps of copying or deleting them.
[[nodiscard]] std::int64_t CountSteps(StoreFile& store, const std::vector<std::int64_t>& folders);

/// Copies into `to` what lies in `from`: the same object twice, or two stores. REQUIRES: a transaction of `to` is open,
/// and a snapshot of `from` when it is another store.
class Transfer
{
public:
    Transfer(StoreFile& from, StoreFile& to, ProgressMeter& meter) : FFrom(from), FTo(to), FMeter(meter) {}

    /// @returns false when no folder has the message
    bool CopyMessage(std::int64_t row, std::int64_t folder);
    /// Copies a folder with its messages and associated ones under a new name, with `deep` what is below it as well.
    /// A search folder takes its criteria along, but only within the store.
    /// @returns the row of the copy. @throws Failure  MAPI_E_NO_SUPPORT a search folder for another store
    std::int64_t CopyFolder(std::int64_t row, std::int64_t parent, const WideString& name, bool deep);

    /// Removes from `from` the messages that were copied, in a transaction of its own. REQUIRES: the copies are
    /// durable. Whoever hears of a failure now tries again and has everything twice; so nothing is thrown.
    /// @returns how many stay: they have been changed since, or are gone, or none could be removed
    [[nodiscard]] std::size_t RemoveMessages() noexcept;
    /// Removes the folder that was copied; the rest as above. @returns false: something in or below it has changed
    /// since, or it could not be removed, and all of it stays
    [[nodiscard]] bool RemoveFolder() noexcept;

private:
    /// A row as it was when it was copied.
    struct Seen
    {
        std::int64_t row;
        std::int64_t version;
        std::int64_t changes;   // of a folder: of what lies in it
        std::int64_t flags = 0; // of a message: these and the status change without a new version
        std::int64_t status = 0;

        friend bool operator==(const Seen&, const Seen&) = default;
    };

    /// A folder with its messages, without what is below it.
    std::int64_t CopyOne(std::int64_t row, std::int64_t parent, const WideString& name);
    /// Criteria and links of a search folder.
    void CopySearch(std::int64_t row, std::int64_t copy);
    [[nodiscard]] bool IsWithin() const { return &FFrom == &FTo; }
    void MapNames(MessageState& message);
    [[nodiscard]] PropertyBag MapNames(const PropertyBag& props);
    /// The identifier that the name of a property has in the other store, 0 when it has no name.
    [[nodiscard]] ULONG MapId(ULONG id);
    [[nodiscard]] Seen Look(std::int64_t folder) const;
    /// Nothing when no folder has the message.
    [[nodiscard]] std::optional<Seen> LookAtMessage(std::int64_t row) const;

    StoreFile& FFrom;
    StoreFile& FTo;
    ProgressMeter& FMeter;
    std::unordered_map<ULONG, ULONG> FIds; // of named properties
    std::vector<Seen> FMessages;
    std::vector<Seen> FFolders;
};

} // namespace deftmapi::client
