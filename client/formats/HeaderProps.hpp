// The header of a message as properties: subject, identifiers, dates, senders, reply list, importance, and the raw
// text.
#pragma once

#include "client/formats/MapiCalls.hpp"
#include "client/formats/MimeTree.hpp"

namespace deftmapi::client::mime
{

/// A subject and the prefix ("RE: ") that it begins with: one to three characters other than digits and blanks, a
/// colon, a blank. Only the first prefix is split off.
struct TSubject
{
    WideView Prefix;
    WideView Normalized;
};

[[nodiscard]] TSubject SplitSubject(WideView subject) noexcept;

/// Adds the properties of the header. @param embedded  the message is attached to another one and so counts as read
void AddHeaderProps(const TMimeMessage& message, bool embedded, TPropList& props, TMimeState& state);

/// Adds the recipients of To, Cc and Bcc, groups resolved into their members.
void AddHeaderRecipients(const TMimeMessage& message, mapi::IMessage& target, TMimeState& state);

} // namespace deftmapi::client::mime
