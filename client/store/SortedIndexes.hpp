// Tables of ours that stand in for indexes whose order has nothing to do with the order in which messages come:
// subjects (what contents tables sort by and find beginnings with) and search_keys. What a transaction does to them is
// collected and written in their own order, so that a page of the file is met once instead of once for each message.
#pragma once

#include "client/store/MessagePages.hpp"

#include <optional>
#include <string>

namespace deftmapi::client
{

/// What subjects has for a message without one: it stands before every text, as NULL does.
inline constexpr std::int64_t NoSubject = 0;

/// What the columns of a message have that is indexed here.
struct IndexedValues
{
    std::optional<std::string_view> subject = {}; ///< nothing for NULL
    std::span<const std::uint8_t> searchKey = {}; ///< empty: none, or one that the column does not hold
};

/// REQUIRES, but for Discard: a transaction is open.
class SortedIndexes
{
public:
    explicit SortedIndexes(Database& database) : FDatabase(database) {}

    void Add(const MessageList& list, std::int64_t row, const IndexedValues& values) { Enter(list, row, values, true); }
    /// @param values  with which it was added
    void Remove(const MessageList& list, std::int64_t row, const IndexedValues& values)
    {
        Enter(list, row, values, false);
    }

    /// When it fails, the transaction must not be committed.
    void Flush();
    void Discard() noexcept;

private:
    struct Edit
    {
        std::int64_t row;
        MessageList list;
        std::size_t text; // where it begins in FTexts
        std::uint32_t size;
        bool hasText; // a subject, of whatever size
        bool isAdded;
    };
    void Enter(const MessageList& list, std::int64_t row, const IndexedValues& values, bool add);
    void Append(std::vector<Edit>& edits, Edit edit, std::string_view text);
    [[nodiscard]] std::string_view TextOf(const Edit& edit) const
    {
        return std::string_view(FTexts).substr(edit.text, edit.size);
    }

    Database& FDatabase;
    std::vector<Edit> FSubjects; // as they came, like FKeys: the last one of a message and a value counts
    std::vector<Edit> FKeys;
    std::string FTexts;
};

/// Makes what follows from table messages anew, the tables of this file and the packed subjects, and takes what flags
/// say of unread messages over into their pages.
/// REQUIRES: a transaction is open.
void FillIndexes(Database& database);

} // namespace deftmapi::client
