// A page: the number of its messages, for each its number within the page and the size of its text, then the texts one
// behind the other, so that one search goes through all of them.
#include "client/store/SubjectPages.hpp"

#include "client/entry/Guard.hpp"
#include "client/store/PropertyBag.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace deftmapi::client
{
namespace
{

constexpr auto sDamaged = u"The stored subjects of a folder are damaged.";

constexpr auto Slots = static_cast<std::size_t>(pages::Slots);

// Sizes that are none. A text that was cut for its column has at least a byte for each of 254 units, in upper case too.
constexpr std::uint8_t Unknown = 255;
constexpr std::uint8_t Absent = 254;

/// So many changes are written before there are more: a transaction of any size keeps few in memory.
constexpr std::size_t MostEdits = 8192;

struct PackedPage;

/// A page taken apart; the texts stay where they are.
struct Page
{
    struct Entry
    {
        const char* text = nullptr;
        std::uint8_t size = Absent;
    };
    std::array<Entry, Slots> entries;

    void Read(const PackedPage& page);
    [[nodiscard]] Bytes Pack() const;
};

/// The parts of a packed page. Taking it apart checks that it is whole.
struct PackedPage
{
    /// @throws Failure  MAPI_E_CORRUPT_STORE
    explicit PackedPage(std::span<const std::uint8_t> packed)
    {
        count = packed.empty() ? 0 : packed[0];
        if (count == 0 || count > Slots || packed.size() < 1 + 2 * count)
            Fail(mapi::MAPI_E_CORRUPT_STORE, sDamaged);
        heads = packed.data() + 1;
        text = reinterpret_cast<const char*>(heads + 2 * count);
        std::size_t end = 0;
        for (std::size_t i = 0; i < count; ++i) {
            if (Slot(i) >= Slots || Size(i) == Absent)
                Fail(mapi::MAPI_E_CORRUPT_STORE, sDamaged);
            hasUnknown = hasUnknown || IsUnknown(i);
            end += IsUnknown(i) ? 0 : Size(i);
            ends[i] = static_cast<std::uint32_t>(end);
        }
        if (1 + 2 * count + end != packed.size())
            Fail(mapi::MAPI_E_CORRUPT_STORE, sDamaged);
    }
    [[nodiscard]] std::uint8_t Slot(std::size_t i) const { return heads[2 * i]; }
    [[nodiscard]] std::uint8_t Size(std::size_t i) const { return heads[2 * i + 1]; }
    [[nodiscard]] bool IsUnknown(std::size_t i) const { return Size(i) == Unknown; }

    std::size_t count;
    const std::uint8_t* heads;
    const char* text;
    bool hasUnknown = false;
    std::array<std::uint32_t, Slots> ends; // of the texts
};

void Page::Read(const PackedPage& page)
{
    std::size_t start = 0;
    for (std::size_t i = 0; i < page.count; ++i) {
        entries[page.Slot(i)] = {page.text + start, page.Size(i)};
        start = page.ends[i];
    }
}

Bytes Page::Pack() const
{
    Bytes packed(1);
    for (std::size_t slot = 0; slot < Slots; ++slot) {
        if (entries[slot].size == Absent)
            continue;
        ++packed[0];
        packed.push_back(static_cast<std::uint8_t>(slot));
        packed.push_back(entries[slot].size);
    }
    for (const Entry& entry : entries) {
        if (entry.size < Absent)
            packed.insert(packed.end(), entry.text, entry.text + entry.size);
    }
    return packed;
}

/// How common a byte is in subjects, roughly; the search goes from one rare byte to the next.
int Commonness(char c)
{
    constexpr std::string_view Common = " EATOINRSLDHCUMPFGYBW0123456789VKXJQZ";
    const std::size_t at = Common.find(c);
    return at == std::string_view::npos ? (static_cast<unsigned char>(c) >= 0xC0 ? 1000 : 0)
                                        : static_cast<int>(Common.size() - at);
}

/// What is looked for.
class Needle
{
public:
    explicit Needle(std::string_view text) : FText(text)
    {
        for (std::size_t i = 1; i < text.size(); ++i) {
            if (Commonness(text[i]) < Commonness(text[FRare]))
                FRare = i;
        }
    }

    /// Visits the messages of a page; false when the visitor said so.
    template <typename Visit>
    bool Search(const PackedPage& page, const Visit& visit) const
    {
        for (std::size_t i = 0; page.hasUnknown && i < page.count; ++i) {
            if (page.IsUnknown(i) && !visit(page.Slot(i), false))
                return false;
        }
        const std::size_t end = page.ends[page.count - 1];
        std::size_t at = 0;
        for (std::size_t from = FRare; from < end;) {
            const auto* rare = static_cast<const char*>(std::memchr(page.text + from, FText[FRare], end - from));
            if (!rare)
                break;
            const auto start = static_cast<std::size_t>(rare - page.text) - FRare;
            if (start + FText.size() > end)
                break;
            from = start + FRare + 1;
            if (page.text[start] != FText.front() || page.text[start + FText.size() - 1] != FText.back() ||
                std::memcmp(page.text + start, FText.data(), FText.size()) != 0)
                continue;
            while (page.ends[at] <= start)
                ++at;
            if (start + FText.size() > page.ends[at]) // the end of one subject and the beginning of another
                continue;
            if (!visit(page.Slot(at), true))
                return false;
            from = page.ends[at] + FRare;
        }
        return true;
    }

private:
    std::string_view FText;
    std::size_t FRare = 0;
};

/// Nothing for damaged text: who reads its row is told.
std::optional<std::string> Fold(std::string_view subject)
{
    try {
        return FoldSubject(subject);
    } catch (const Failure&) {
        return std::nullopt;
    }
}

void WritePage(Database& database, std::int64_t number, const Bytes& packed)
{
    if (packed[0] == 0) {
        database.Prepare("DELETE FROM subject_pages WHERE id = ?1").Bind(1, number).Run();
        return;
    }
    Query write = database.Prepare("INSERT INTO subject_pages (id, texts) VALUES (?1, ?2) "
                                   "ON CONFLICT (id) DO UPDATE SET texts = excluded.texts");
    write.Bind(1, number).BindBlob(2, packed).Run();
}

/// The page as the rows of its messages say.
Bytes MakePage(Database& database, std::int64_t number)
{
    const MessageList list = pages::ListOf(number);
    const std::int64_t first = pages::FirstRow(number);
    Page page;
    std::array<std::string, Slots> texts;
    Query query = database.Prepare("SELECT id, subject FROM messages WHERE id BETWEEN ?1 AND ?2 AND folder = ?3 AND "
                                   "associated = ?4 AND typeof(subject) = 'text'");
    query.Bind(1, first)
        .Bind(2, first + static_cast<std::int64_t>(Slots) - 1)
        .Bind(3, list.folder)
        .Bind(4, list.associated);
    while (query.Step()) {
        const auto slot = static_cast<std::size_t>(query.Number(0) - first);
        const auto folded = Fold(query.Text(1));
        if (folded && folded->size() < Absent)
            texts[slot] = *folded;
        page.entries[slot] = {texts[slot].data(),
                              folded && folded->size() < Absent ? static_cast<std::uint8_t>(folded->size()) : Unknown};
    }
    return page.Pack();
}

/// The parts of a page; of a damaged one those that it should have, which `made` keeps. Nothing for an empty one.
std::optional<PackedPage> TakeApart(Database& database, std::int64_t number, std::span<const std::uint8_t> packed,
                                    Bytes& made)
{
    try {
        return PackedPage(packed);
    } catch (const Failure&) {
        made = MakePage(database, number);
        return made[0] == 0 ? std::nullopt : std::optional(PackedPage(made));
    }
}

} // namespace

std::string FoldSubject(std::string_view packed)
{
    std::string folded(packed);
    for (char& c : folded) {
        if (c & 0x80)
            return PackText(KwUpperCase(UnpackText(packed)));
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    }
    return folded;
}

void SubjectPages::Add(const MessageList& list, std::int64_t row, std::string_view text, std::uint8_t size)
{
    if (FEdits.size() >= MostEdits)
        Flush();
    const std::int64_t page = pages::PageOf(list, row);
    const std::size_t start = FTexts.size();
    FTexts += text;
    FEdits.push_back({page, start, pages::SlotOf(row), size});
}

void SubjectPages::Put(const MessageList& list, std::int64_t row, std::string_view subject)
{
    const auto folded = Fold(subject);
    if (folded && folded->size() < Absent)
        Add(list, row, *folded, static_cast<std::uint8_t>(folded->size()));
    else
        Add(list, row, {}, Unknown);
}

void SubjectPages::Remove(const MessageList& list, std::int64_t row)
{
    Add(list, row, {}, Absent);
}

void SubjectPages::Flush()
{
    if (FEdits.empty())
        return;
    std::stable_sort(FEdits.begin(), FEdits.end(), [](const Edit& a, const Edit& b) { return a.page < b.page; });
    Query read = FDatabase.Prepare("SELECT texts FROM subject_pages WHERE id = ?1");
    for (auto edit = FEdits.begin(); edit != FEdits.end();) {
        const std::int64_t number = edit->page;
        Page page;
        Bytes made;
        read.Reset();
        if (read.Bind(1, number).Step()) {
            if (const auto parts = TakeApart(FDatabase, number, read.Blob(0), made))
                page.Read(*parts);
        }
        for (; edit != FEdits.end() && edit->page == number; ++edit)
            page.entries[edit->slot] = {FTexts.data() + edit->text, edit->size};
        const Bytes packed = page.Pack();
        read.Reset();
        WritePage(FDatabase, number, packed);
    }
    Discard();
}

void SubjectPages::Discard() noexcept
{
    FEdits.clear();
    FTexts.clear();
}

void SearchSubjects(Database& database, const MessageList& list, std::string_view folded,
                    const std::function<bool(std::int64_t row, bool sure)>& visit)
{
    const Needle needle(folded);
    Query query = database.Prepare("SELECT id, texts FROM subject_pages WHERE id BETWEEN ?1 AND ?2");
    query.Bind(1, pages::First(list)).Bind(2, pages::Last(list));
    while (query.Step()) {
        const std::int64_t row = pages::FirstRow(query.Number(0));
        Bytes made;
        const auto page = TakeApart(database, query.Number(0), query.Blob(1), made);
        if (page && !needle.Search(*page, [&](std::uint8_t slot, bool sure) { return visit(row + slot, sure); }))
            return;
    }
}

void FillSubjectPages(Database& database)
{
    SubjectPages pages(database);
    Query query =
        database.Prepare("SELECT id, folder, associated, subject FROM messages INDEXED BY messages_folder "
                         "WHERE folder IS NOT NULL AND typeof(subject) = 'text' ORDER BY folder, associated, id");
    while (query.Step())
        pages.Put({query.Number(1), query.Number(2) != 0}, query.Number(0), query.Text(3));
    pages.Flush();
}

} // namespace deftmapi::client
