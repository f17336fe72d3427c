// Entries of Outlook's own address book, which shows contacts folders of message stores. Their identifiers carry the
// identifier of what they show.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"
#include "support/uKwVariant.hpp"

#include <optional>

namespace deftmapi
{

/// What an identifier of that address book leads to.
enum class TKwContactEntryType : mapi::ULONG
{
    Root = 1,
    SubRoot = 2,
    Folder = 3,
    Contact = 4,
    DistList = 5
};

struct TKwContactEntry
{
    TKwContactEntryType Type;
    TKwBytes EntryID; ///< of the folder or message in its store; empty for the roots, and when it is damaged
};

/// Nothing for an identifier of another address book.
[[nodiscard]] std::optional<TKwContactEntry> KwParseContactEntry(const TKwBytes& bytes);

} // namespace deftmapi
