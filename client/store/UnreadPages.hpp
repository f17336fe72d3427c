// Which messages of folders are unread: a row of table unread_pages has a bit for each of 64 messages of a list. It
// alone says so; column flags of these messages always has MSGFLAG_READ. Marking thousands of messages writes a few
// rows.
#pragma once

#include "client/store/MessagePages.hpp"

#include <string>
#include <vector>

namespace deftmapi::client
{

/// 1 or 0 as alias m of table messages is unread or not; m.folder may be NULL, then it is not.
inline constexpr auto UnreadExpression = "ifnull((SELECT (u.unread >> (m.id & 63)) & 1 FROM unread_pages u "
                                         "WHERE u.id = (((m.folder * 2 + m.associated) << 34) | (m.id >> 6))), 0)";
/// PR_MESSAGE_FLAGS of alias m. Never destroyed, as all statements that the client's own thread makes: sessions may
/// outlive the static objects.
inline const std::string& FlagsExpression =
    *new std::string(std::string("(m.flags & ~").append(UnreadExpression).append(")"));

/// Reads and changes the bits, page by page: who has many messages asks in the order of their row identifiers.
/// REQUIRES: a transaction is open, when something is changed
class UnreadPages
{
public:
    explicit UnreadPages(Database& database) : FDatabase(database) {}

    [[nodiscard]] bool IsUnread(const MessageList& list, std::int64_t row);
    void Set(const MessageList& list, std::int64_t row, bool unread);
    /// Writes what has been set; without it some of that is lost.
    void Write();

private:
    void MoveTo(const MessageList& list, std::int64_t row);

    Database& FDatabase;
    std::int64_t FNumber = -1; // of the page
    std::uint64_t FUnread = 0;
    std::uint64_t FStored = 0; // what the database has of it
};

/// Remembers the pages that readers of rows have asked for, as long as the messages of the list stay what they are.
class UnreadLookup
{
public:
    /// @param stamp  another number after any change of a message of the list
    [[nodiscard]] bool IsUnread(Database& database, const MessageList& list, std::int64_t row, std::int64_t stamp);

private:
    struct Page
    {
        std::int64_t number = -1;
        std::uint64_t unread = 0;
    };
    [[nodiscard]] Page& PlaceOf(std::int64_t number);

    std::int64_t FStamp = -1;
    std::vector<Page> FPages; // each at the last bits of its number; a walk through a large folder asks for all of them
};

/// The unread messages of a list, in the order of their row identifiers.
[[nodiscard]] std::vector<std::int64_t> UnreadRows(Database& database, const MessageList& list);
[[nodiscard]] std::int64_t CountUnread(Database& database, const MessageList& list);

} // namespace deftmapi::client
