// What FORCE_SAVE does when somebody else has saved the message meanwhile: the changes of this state are put onto what
// the store has by now. What was not changed here stays as the other left it; what both changed becomes as it is here.
#pragma once

#include "client/store/MessageState.hpp"
#include "client/store/StoreFile.hpp"

namespace deftmapi::client
{

/// Whether the stored message is another version than the one that was loaded. False when there is none.
[[nodiscard]] bool IsOutdated(StoreFile& store, const MessageState& message);

/// The same message as one of which nothing has been written: neither it nor what it contains has a row.
[[nodiscard]] std::shared_ptr<const MessageState> AsNew(const MessageState& message);

/// The message as the store has it, with the changes of `message` put onto it. Recipients count as one value.
/// Attachments are the same if their rows are. One that the other has deleted comes back when its changed state has
/// everything of it: large values that lay in the store are gone, and no half of an attachment is written. A new one
/// whose number the other has used gets a free number.
/// REQUIRES: a transaction is open; the message has a row
[[nodiscard]] MessageState OntoStored(StoreFile& store, const MessageState& message);

} // namespace deftmapi::client
