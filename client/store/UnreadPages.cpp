#include "client/store/UnreadPages.hpp"

#include <bit>
#include <utility>

namespace deftmapi::client
{
namespace
{

/// Pages that are remembered; powers of two, for finding them by a mask.
constexpr std::size_t FewestPages = 64;
constexpr std::size_t MostPages = 16384;

std::uint64_t BitOf(std::int64_t row)
{
    return std::uint64_t{1} << pages::SlotOf(row);
}

std::uint64_t ReadPage(Database& database, std::int64_t number)
{
    Query read = database.Prepare("SELECT unread FROM unread_pages WHERE id = ?1");
    return read.Bind(1, number).Step() ? static_cast<std::uint64_t>(read.Number(0)) : 0;
}

template <typename Visit>
void VisitPages(Database& database, const MessageList& list, const Visit& visit)
{
    Query query = database.Prepare("SELECT id, unread FROM unread_pages WHERE id BETWEEN ?1 AND ?2");
    query.Bind(1, pages::First(list)).Bind(2, pages::Last(list));
    while (query.Step())
        visit(query.Number(0), static_cast<std::uint64_t>(query.Number(1)));
}

} // namespace

bool UnreadPages::IsUnread(const MessageList& list, std::int64_t row)
{
    MoveTo(list, row);
    return (FUnread & BitOf(row)) != 0;
}

void UnreadPages::Set(const MessageList& list, std::int64_t row, bool unread)
{
    MoveTo(list, row);
    if (unread)
        FUnread |= BitOf(row);
    else
        FUnread &= ~BitOf(row);
}

void UnreadPages::MoveTo(const MessageList& list, std::int64_t row)
{
    const std::int64_t number = pages::PageOf(list, row);
    if (number == FNumber)
        return;
    Write();
    FStored = ReadPage(FDatabase, number);
    FUnread = FStored;
    FNumber = number;
}

void UnreadPages::Write()
{
    if (FUnread == FStored)
        return;
    if (FUnread == 0) {
        FDatabase.Prepare("DELETE FROM unread_pages WHERE id = ?1").Bind(1, FNumber).Run();
    } else {
        Query write = FDatabase.Prepare("INSERT OR REPLACE INTO unread_pages (id, unread) VALUES (?1, ?2)");
        write.Bind(1, FNumber).Bind(2, static_cast<std::int64_t>(FUnread)).Run();
    }
    FStored = FUnread;
}

bool UnreadLookup::IsUnread(Database& database, const MessageList& list, std::int64_t row, std::int64_t stamp)
{
    if (stamp != std::exchange(FStamp, stamp) || FPages.empty())
        FPages.assign(FewestPages, {});
    const std::int64_t number = pages::PageOf(list, row);
    Page& page = PlaceOf(number);
    if (page.number != number) {
        page.unread = ReadPage(database, number);
        page.number = number;
    }
    return (page.unread & BitOf(row)) != 0;
}

UnreadLookup::Page& UnreadLookup::PlaceOf(std::int64_t number)
{
    const auto place = [number, this]() -> Page& {
        return FPages[static_cast<std::size_t>(number) & (FPages.size() - 1)];
    };
    if (place().number < 0 || place().number == number || FPages.size() >= MostPages)
        return place();
    std::vector<Page> more(FPages.size() * 2); // what had places of their own has them there, too
    for (const Page& page : FPages) {
        if (page.number >= 0)
            more[static_cast<std::size_t>(page.number) & (more.size() - 1)] = page;
    }
    FPages = std::move(more);
    return place();
}

std::vector<std::int64_t> UnreadRows(Database& database, const MessageList& list)
{
    std::vector<std::int64_t> rows;
    VisitPages(database, list, [&rows](std::int64_t number, std::uint64_t unread) {
        for (const std::int64_t first = pages::FirstRow(number); unread != 0; unread &= unread - 1)
            rows.push_back(first + std::countr_zero(unread));
    });
    return rows;
}

std::int64_t CountUnread(Database& database, const MessageList& list)
{
    std::int64_t count = 0;
    VisitPages(database, list, [&count](std::int64_t, std::uint64_t unread) { count += std::popcount(unread); });
    return count;
}

} // namespace deftmapi::client
