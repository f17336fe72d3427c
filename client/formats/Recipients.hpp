// Internet addresses as MAPI sees them: one-off entry identifiers, search keys, recipient rows, reply lists.
#pragma once

#include "client/formats/MapiCalls.hpp"
#include "client/formats/MimeTree.hpp"

#include <vector>

namespace deftmapi::client::mime
{

/// An address with its display name, both wide. The name is never empty: without one it is the address.
struct TRecipient
{
    WideString Name;
    WideString Address;
};

[[nodiscard]] TRecipient MakeRecipient(const TMimeAddress& address);

/// One-off entry identifier of an SMTP address: wide texts, not to be looked up, no rich information (flag word
/// 0x9001).
[[nodiscard]] std::string OneOffEntryId(const TRecipient& recipient);

/// "SMTP:" and the address in upper case, zero-terminated.
[[nodiscard]] std::string SmtpSearchKey(const TRecipient& recipient);

/// FLATENTRYLIST of one-off entry identifiers, as PR_REPLY_RECIPIENT_ENTRIES holds it.
[[nodiscard]] std::string FlatEntryList(const std::vector<TRecipient>& recipients);

/// Adds recipients of one type (MAPI_TO, MAPI_CC, MAPI_BCC) to the message. @param rowId  number of the first one;
/// advanced
void AddRecipients(mapi::IMessage& message, const std::vector<TMimeAddress>& addresses, mapi::LONG type,
                   mapi::LONG& rowId);

} // namespace deftmapi::client::mime
