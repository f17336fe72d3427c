// The subjects of folders, packed for searches inside them: a row of table subject_pages holds the texts of up to 64
// messages in upper case, so that a search reads one row where an index has 64, and looks at bytes.
//
// All of it follows from column subject. A text that is long, and with it every one that was cut for its column, is
// not kept: such a message may contain anything, and its row decides.
#pragma once

#include "client/store/MessagePages.hpp"

#include <functional>
#include <optional>

namespace deftmapi::client
{

/// What a page keeps of a subject, and what is looked for in it: in upper case, UTF-8.
[[nodiscard]] std::string FoldSubject(std::string_view packed);

/// Collects what a transaction does to subjects and writes each page that is concerned once.
/// REQUIRES, but for Discard: a transaction is open.
class SubjectPages
{
public:
    explicit SubjectPages(Database& database) : FDatabase(database) {}

    /// @param subject  as the column has it
    void Put(const MessageList& list, std::int64_t row, std::string_view subject);
    void Remove(const MessageList& list, std::int64_t row);

    /// When it fails, what is not written yet is kept; the transaction must not be committed without it.
    void Flush();
    void Discard() noexcept;

private:
    struct Edit
    {
        std::int64_t page;
        std::size_t text; // where it begins in FTexts
        std::uint8_t slot;
        std::uint8_t size; // of the text, or Absent or Unknown
    };
    void Add(const MessageList& list, std::int64_t row, std::string_view text, std::uint8_t size);

    Database& FDatabase;
    std::vector<Edit> FEdits; // in their order: of one message the last one counts
    std::string FTexts;
};

/// Visits the messages of a list whose subjects contain the text or may do so, until the visitor returns false.
/// @param folded  as FoldSubject gives it; not empty
/// @param visit  `sure`: the subject in upper case contains it; else the row must be asked
void SearchSubjects(Database& database, const MessageList& list, std::string_view folded,
                    const std::function<bool(std::int64_t row, bool sure)>& visit);

/// Makes the pages of a file that has none yet. REQUIRES: a transaction is open.
void FillSubjectPages(Database& database);

} // namespace deftmapi::client
