// Reading and writing messages in the database, and the list of properties that have columns of their own.
#pragma once

#include "client/store/MessageState.hpp"
#include "client/store/StoreFile.hpp"

namespace deftmapi::client
{

/// A property of messages that has a column in table messages.
struct MessageColumn
{
    ULONG tag;
    const char* name;
};
[[nodiscard]] std::span<const MessageColumn> MessageColumns();
/// The column of the property, or null.
[[nodiscard]] const MessageColumn* FindMessageColumn(ULONG id);
/// The property as an expression of alias m: the column, but for what is kept apart from it (UnreadPages).
[[nodiscard]] std::string ExpressionOf(const MessageColumn& column);
/// Reads column number `index` of a running query as that property; nothing for NULL.
[[nodiscard]] std::optional<Prop> ReadColumn(const Query& query, int index, const MessageColumn& column);

/// Row identifiers as the JSON array that statements take.
[[nodiscard]] std::string ListOf(std::span<const std::int64_t> rows);

/// @throws Failure  MAPI_E_NOT_FOUND there is no such message
[[nodiscard]] MessageState LoadMessage(StoreFile& store, std::int64_t row);
void LoadRecipients(StoreFile& store, MessageState& message);
void LoadAttachments(StoreFile& store, MessageState& message);

/// Writes what has changed of a message and everything inside it, in one transaction. Afterwards message.row and
/// .version are those of the store, but the rest of the state must be loaded again.
/// @param force  puts the changes onto what another user saved meanwhile (OntoStored)
/// @throws Failure  MAPI_E_OBJECT_DELETED, MAPI_E_OBJECT_CHANGED (another user saved it meanwhile and `force` is not
/// set)
void SaveMessage(StoreFile& store, MessageState& message, bool force);
/// Removes a message with its attachments and embedded messages. REQUIRES: a transaction is open.
/// @returns false when there was no such message
bool DeleteMessageRow(StoreFile& store, std::int64_t row);
/// The message with everything in it in memory (large values stay where they are), as a new one for another folder.
[[nodiscard]] MessageState CopyOfMessage(StoreFile& store, std::int64_t row, std::int64_t folder);

/// What flags of SetReadFlag and SetReadFlags do to PR_MESSAGE_FLAGS. Receipts are not sent, since there is no
/// transport: one that is asked for stays pending, for a transport to come, until it is suppressed or its flag cleared.
struct ReadFlagChange
{
    /// @throws Failure  MAPI_E_INVALID_PARAMETER flags that contradict each other; MAPI_E_NO_SUPPORT a receipt and
    /// nothing else is wanted
    explicit ReadFlagChange(ULONG flags);
    [[nodiscard]] std::int64_t Apply(std::int64_t messageFlags) const { return (messageFlags & ~clear) | set; }
    std::int64_t set = 0;
    std::int64_t clear = 0;
};
/// Changes the flags of messages; what is right already is left alone. REQUIRES: a transaction is open.
/// @returns how many do not exist
std::size_t SetReadFlagsOf(StoreFile& store, std::vector<std::int64_t> rows, const ReadFlagChange& change);
/// The same for all ordinary messages of a folder. REQUIRES: a transaction is open.
void SetReadFlagsIn(StoreFile& store, std::int64_t folder, const ReadFlagChange& change);
/// Changes the bits of `mask` in PR_MSG_STATUS. REQUIRES: a transaction is open. @returns the value before
/// @throws Failure  MAPI_E_NOT_FOUND
std::int64_t SetStatusOf(StoreFile& store, std::int64_t row, std::int64_t status, std::int64_t mask);
/// Moves a message to another folder. REQUIRES: a transaction is open. @returns false when no folder has the message
/// @throws Failure  MAPI_E_OBJECT_DELETED the other folder does not exist
bool MoveMessage(StoreFile& store, std::int64_t row, std::int64_t folder);

} // namespace deftmapi::client
