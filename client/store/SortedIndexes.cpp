#include "client/store/SortedIndexes.hpp"

#include "client/store/SubjectPages.hpp"
#include "client/store/UnreadPages.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

/// So much is collected before it is written: a transaction of any size keeps little in memory.
constexpr std::size_t MostText = std::size_t{4} << 20;
constexpr std::size_t MostEdits = 32768;

} // namespace

void SortedIndexes::Enter(const MessageList& list, std::int64_t row, const IndexedValues& values, bool add)
{
    if (FTexts.size() >= MostText || FSubjects.size() >= MostEdits)
        Flush();
    Append(FSubjects, {row, list, 0, 0, values.subject.has_value(), add}, values.subject.value_or(std::string_view()));
    const auto& key = values.searchKey;
    if (!key.empty())
        Append(FKeys, {row, list, 0, 0, true, add}, {reinterpret_cast<const char*>(key.data()), key.size()});
}

void SortedIndexes::Append(std::vector<Edit>& edits, Edit edit, std::string_view text)
{
    edit.text = FTexts.size();
    edit.size = static_cast<std::uint32_t>(text.size());
    FTexts += text;
    edits.push_back(edit);
}

void SortedIndexes::Flush()
{
    // For one message and value the order in which things happened stays.
    std::stable_sort(FSubjects.begin(), FSubjects.end(), [this](const Edit& a, const Edit& b) {
        if (a.list.folder != b.list.folder || a.list.associated != b.list.associated)
            return a.list.folder != b.list.folder ? a.list.folder < b.list.folder : b.list.associated;
        if (a.hasText != b.hasText)
            return b.hasText;
        const int order = CollateFolded(TextOf(a), TextOf(b));
        return order != 0 ? order < 0 : a.row < b.row;
    });
    for (const Edit& edit : FSubjects) {
        Query write = FDatabase.Prepare(edit.isAdded ? "INSERT OR REPLACE INTO subjects VALUES (?1, ?2, ?3, ?4)"
                                                     : "DELETE FROM subjects WHERE folder = ?1 AND associated = ?2 AND "
                                                       "subject = ?3 AND id = ?4");
        write.Bind(1, edit.list.folder).Bind(2, edit.list.associated).Bind(4, edit.row);
        if (edit.hasText)
            write.BindLastingText(3, TextOf(edit));
        else
            write.Bind(3, NoSubject);
        write.Run();
    }
    FSubjects.clear();
    std::stable_sort(FKeys.begin(), FKeys.end(), [this](const Edit& a, const Edit& b) {
        const int order = TextOf(a).compare(TextOf(b));
        return order != 0 ? order < 0 : a.row < b.row;
    });
    for (const Edit& edit : FKeys) {
        Query write = FDatabase.Prepare(edit.isAdded ? "INSERT OR REPLACE INTO search_keys VALUES (?1, ?2)"
                                                     : "DELETE FROM search_keys WHERE search_key = ?1 AND id = ?2");
        const std::string_view key = TextOf(edit);
        write.BindBlob(1, {reinterpret_cast<const std::uint8_t*>(key.data()), key.size()}).Bind(2, edit.row).Run();
    }
    Discard();
}

void SortedIndexes::Discard() noexcept
{
    FSubjects.clear();
    FKeys.clear();
    FTexts.clear();
}

void FillIndexes(Database& database)
{
    for (const char* sql :
         {"DELETE FROM subjects", "DELETE FROM search_keys", "DELETE FROM subject_pages",
          "INSERT INTO subjects SELECT folder, associated, iif(typeof(subject) = 'text', subject, 0) AS subject, id "
          "FROM messages WHERE folder IS NOT NULL ORDER BY folder, associated, subject COLLATE deft_fold, id",
          "INSERT INTO search_keys SELECT search_key, id FROM messages "
          "WHERE folder IS NOT NULL AND typeof(search_key) = 'blob' AND length(search_key) > 0 ORDER BY search_key, "
          "id"})
        database.Execute(sql);
    FillSubjectPages(database);
    {
        UnreadPages pages(database);
        Query unread = database.Prepare("SELECT id, folder, associated FROM messages WHERE folder IS NOT NULL AND "
                                        "(flags & 1) = 0 ORDER BY folder, associated, id");
        while (unread.Step())
            pages.Set({unread.Number(1), unread.Number(2) != 0}, unread.Number(0), true);
        pages.Write();
    }
    database.Execute("UPDATE messages SET flags = flags | 1 WHERE folder IS NOT NULL AND (flags & 1) = 0");
}

} // namespace deftmapi::client
