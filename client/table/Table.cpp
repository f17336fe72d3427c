#include "client/table/Table.hpp"

#include "client/store/Schema.hpp"

#include <algorithm>
#include <cstring>
#include <unordered_map>

namespace deftmapi::client
{
namespace
{

constexpr auto sNoColumns = u"The set of columns is empty.";
constexpr auto sBadColumn = u"A table has no rows per value of a multi-valued column.";
constexpr auto sNoBookmark = u"The bookmark does not exist.";
constexpr auto sNotFound = u"No row fits the restriction.";
constexpr auto sZeroRows = u"The number of rows must not be zero.";
constexpr auto sZeroDenominator = u"The denominator must not be zero.";
constexpr auto sCategories = u"Tables of this store are not grouped into categories.";

// Stands for the key of a bookmark behind the last row; no source has it.
constexpr RowKey AtEnd = -1;

} // namespace

Table::Table(std::shared_ptr<RowSource> source, bool unicode)
    : FSource(std::move(source)), FUnicode(unicode), FColumns(FSource->DefaultColumns())
{
    if (!unicode) {
        for (ULONG& tag : FColumns) {
            const ULONG type = tag & 0xFFFF;
            if (type == mapi::PT_UNICODE || type == mapi::PT_MV_UNICODE)
                --tag;
        }
    }
}

template <typename Body>
mapi::HRESULT Table::Run(Body&& body) noexcept
{
    const mapi::HRESULT result = [&] {
        const std::lock_guard lock(FSource->Lock());
        return Guard(FLast, std::forward<Body>(body));
    }();
    Dispatcher::Instance().DeliverInPassing(); // at last: a sink may release the table
    return result;
}

mapi::HRESULT Table::NoSupport(WideView text) noexcept
{
    return Guard(FLast, [&] { Fail(mapi::MAPI_E_NO_SUPPORT, text); });
}

void Table::Refresh()
{
    const bool membershipOnly = !FRestriction && FSort.empty();
    const std::int64_t stamp = FSource->Stamp(membershipOnly);
    if (FBuilt && stamp == FStamp)
        return;
    const bool hadRow = FBuilt && FPosition < FOrder.size();
    const RowKey current = hadRow ? FOrder[FPosition] : 0;
    Rebuild();
    FStamp = stamp;
    if (!hadRow) {
        FPosition = std::min(FPosition, FOrder.size());
    } else if (FPosition >= FOrder.size() || FOrder[FPosition] != current) {
        const auto it = std::find(FOrder.begin(), FOrder.end(), current);
        FPosition =
            it != FOrder.end() ? static_cast<std::size_t>(it - FOrder.begin()) : std::min(FPosition, FOrder.size());
    }
    if (FBookmarks.empty())
        return;
    std::unordered_map<RowKey, std::size_t> places;
    for (std::size_t i = 0; i < FOrder.size(); ++i)
        places.emplace(FOrder[i], i);
    for (auto& [id, bookmark] : FBookmarks) {
        if (bookmark.key == AtEnd) {
            bookmark.position = FOrder.size();
            continue;
        }
        const auto it = places.find(bookmark.key);
        bookmark.changed = it == places.end();
        bookmark.position = bookmark.changed ? std::min(bookmark.position, FOrder.size()) : it->second;
    }
}

void Table::Rebuild()
{
    std::vector<ULONG> tags;
    for (const auto& sort : FSort)
        tags.push_back(sort.ulPropTag);
    std::set<ULONG> asked;
    if (FRestriction)
        FRestriction->CollectTags(asked);
    tags.insert(tags.end(), asked.begin(), asked.end());

    std::vector<RowKey> order;
    std::vector<std::pair<RowKey, Props>> keyed;
    FSource->Scan(tags, [&](RowKey key, const Props& values) {
        if (FRestriction) {
            const auto lookup = [&](ULONG tag) -> const Prop& {
                const auto it = std::find(tags.begin() + static_cast<std::ptrdiff_t>(FSort.size()), tags.end(), tag);
                return values[static_cast<std::size_t>(it - tags.begin())];
            };
            if (!FRestriction->Matches(lookup))
                return;
        }
        if (FSort.empty()) {
            order.push_back(key);
            return;
        }
        Props sortKeys(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(FSort.size()));
        std::for_each(sortKeys.begin(), sortKeys.end(), ShortenValue);
        keyed.emplace_back(key, std::move(sortKeys));
    });
    std::stable_sort(keyed.begin(), keyed.end(),
                     [this](const auto& a, const auto& b) { return IsRowBefore(a.second, b.second, FSort); });
    for (const auto& [key, values] : keyed)
        order.push_back(key);
    FOrder = std::move(order);
    FBuilt = true;
}

std::size_t Table::Resolve(mapi::BOOKMARK bookmark, bool& moved) const
{
    switch (bookmark) {
    case mapi::BOOKMARK_BEGINNING:
        return 0;
    case mapi::BOOKMARK_CURRENT:
        return FPosition;
    case mapi::BOOKMARK_END:
        return FOrder.size();
    default:
        break;
    }
    const auto it = FBookmarks.find(bookmark);
    if (it == FBookmarks.end())
        Fail(mapi::MAPI_E_INVALID_BOOKMARK, sNoBookmark);
    moved = it->second.changed;
    return it->second.position;
}

mapi::HRESULT Table::GetLastError(mapi::HRESULT code, ULONG flags, mapi::LPMAPIERROR* error) noexcept
{
    return FLast.Get(code, flags, error);
}

mapi::HRESULT Table::GetStatus(ULONG* status, ULONG* type) noexcept
{
    return Run([&] {
        Require(status, u"lpulTableStatus");
        Require(type, u"lpulTableType");
        *status = mapi::TBLSTAT_COMPLETE;
        *type = mapi::TBLTYPE_DYNAMIC;
    });
}

mapi::HRESULT Table::SetColumns(mapi::LPSPropTagArray tags, ULONG flags) noexcept
{
    return Run([&] {
        Require(tags, u"lpPropTagArray");
        RequireFlags(flags, mapi::TBL_ASYNC | mapi::TBL_BATCH);
        if (tags->cValues == 0)
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoColumns);
        std::vector<ULONG> columns(tags->aulPropTag, tags->aulPropTag + tags->cValues);
        for (const ULONG column : columns) {
            if (column & mapi::MV_INSTANCE)
                Fail(mapi::MAPI_E_TOO_COMPLEX, sBadColumn);
        }
        FColumns = std::move(columns);
        ViewChanged(false, flags, mapi::TABLE_SETCOL_DONE);
    });
}

mapi::HRESULT Table::QueryColumns(ULONG flags, mapi::LPSPropTagArray* tags) noexcept
{
    return Run([&] {
        Require(tags, u"lpPropTagArray");
        *tags = nullptr;
        RequireFlags(flags, mapi::TBL_ALL_COLUMNS);
        std::vector<ULONG> columns = flags & mapi::TBL_ALL_COLUMNS ? FSource->AllColumns() : FColumns;
        *tags = MakeTagArray(columns).Detach();
    });
}

mapi::HRESULT Table::GetRowCount(ULONG flags, ULONG* count) noexcept
{
    return Run([&] {
        Require(count, u"lpulCount");
        *count = 0;
        RequireFlags(flags, mapi::TBL_NOWAIT);
        Refresh();
        *count = static_cast<ULONG>(FOrder.size());
    });
}

mapi::HRESULT Table::SeekRow(mapi::BOOKMARK origin, mapi::LONG count, mapi::LONG* sought) noexcept
{
    return Run([&] {
        if (sought)
            *sought = 0;
        Refresh();
        bool moved = false;
        const auto base = static_cast<std::int64_t>(Resolve(origin, moved));
        const auto target = std::clamp<std::int64_t>(base + count, 0, static_cast<std::int64_t>(FOrder.size()));
        FPosition = static_cast<std::size_t>(target);
        if (sought)
            *sought = static_cast<mapi::LONG>(target - base);
        return moved ? mapi::MAPI_W_POSITION_CHANGED : mapi::S_OK;
    });
}

mapi::HRESULT Table::SeekRowApprox(ULONG numerator, ULONG denominator) noexcept
{
    return Run([&] {
        if (denominator == 0)
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sZeroDenominator);
        Refresh();
        const std::uint64_t rows = FOrder.size();
        FPosition = numerator >= denominator ? FOrder.size() : static_cast<std::size_t>(rows * numerator / denominator);
    });
}

mapi::HRESULT Table::QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) noexcept
{
    return Run([&] {
        Require(row, u"lpulRow");
        Require(numerator, u"lpulNumerator");
        Require(denominator, u"lpulDenominator");
        Refresh();
        *row = static_cast<ULONG>(FPosition);
        *numerator = static_cast<ULONG>(FPosition);
        *denominator = std::max<ULONG>(1, static_cast<ULONG>(FOrder.size()));
    });
}

mapi::HRESULT Table::FindRow(mapi::LPSRestriction restriction, mapi::BOOKMARK origin, ULONG flags) noexcept
{
    return Run([&] {
        Require(restriction, u"lpRestriction");
        RequireFlags(flags, mapi::DIR_BACKWARD);
        const Restriction wanted = Restriction::Parse(*restriction);
        Refresh();
        bool moved = false;
        const std::size_t start = Resolve(origin, moved);
        std::set<ULONG> asked;
        wanted.CollectTags(asked);
        const std::vector<ULONG> tags(asked.begin(), asked.end());
        Props values;
        const auto fits = [&](std::size_t at) {
            return FSource->Fetch(FOrder[at], tags, values) && wanted.Matches([&](ULONG tag) -> const Prop& {
                return values[static_cast<std::size_t>(std::lower_bound(tags.begin(), tags.end(), tag) - tags.begin())];
            });
        };
        std::optional<std::size_t> found;
        FSource->Consistently([&] {
            if (flags & mapi::DIR_BACKWARD) {
                for (std::size_t at = start; at > 0 && !found; --at)
                    if (fits(at - 1))
                        found = at - 1;
            } else {
                for (std::size_t at = start; at < FOrder.size() && !found; ++at)
                    if (fits(at))
                        found = at;
            }
        });
        if (!found)
            Fail(mapi::MAPI_E_NOT_FOUND, sNotFound);
        FPosition = *found;
        return moved ? mapi::MAPI_W_POSITION_CHANGED : mapi::S_OK;
    });
}

mapi::HRESULT Table::Restrict(mapi::LPSRestriction restriction, ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::TBL_ASYNC | mapi::TBL_BATCH);
        std::optional<Restriction> parsed;
        if (restriction)
            parsed = Restriction::Parse(*restriction);
        FRestriction = std::move(parsed);
        FBookmarks.clear();
        FBuilt = false;
        FPosition = 0;
        ViewChanged(true, flags, mapi::TABLE_RESTRICT_DONE);
    });
}

mapi::HRESULT Table::CreateBookmark(mapi::BOOKMARK* bookmark) noexcept
{
    return Run([&] {
        Require(bookmark, u"lpbkPosition");
        *bookmark = 0;
        Refresh();
        const RowKey key = FPosition < FOrder.size() ? FOrder[FPosition] : AtEnd;
        FBookmarks.emplace(FNextBookmark, Bookmark{FPosition, key});
        *bookmark = FNextBookmark++;
    });
}

mapi::HRESULT Table::FreeBookmark(mapi::BOOKMARK bookmark) noexcept
{
    return Run([&] {
        if (bookmark <= mapi::BOOKMARK_END)
            return; // documented: freeing a predefined bookmark is ignored
        if (FBookmarks.erase(bookmark) == 0)
            Fail(mapi::MAPI_E_INVALID_BOOKMARK, sNoBookmark);
    });
}

mapi::HRESULT Table::SortTable(mapi::LPSSortOrderSet order, ULONG flags) noexcept
{
    return Run([&] {
        Require(order, u"lpSortCriteria");
        RequireFlags(flags, mapi::TBL_ASYNC | mapi::TBL_BATCH);
        if (order->cCategories || order->cExpanded)
            Fail(mapi::MAPI_E_TOO_COMPLEX, sCategories);
        std::vector<mapi::SSortOrder> sort(order->aSort, order->aSort + order->cSorts);
        for (auto& key : sort) {
            if (key.ulOrder > mapi::TABLE_SORT_DESCEND)
                Fail(mapi::MAPI_E_TOO_COMPLEX, sCategories);
            if (key.ulPropTag & mapi::MV_INSTANCE)
                Fail(mapi::MAPI_E_TOO_COMPLEX, sBadColumn);
        }
        FSort = std::move(sort);
        FBookmarks.clear();
        FBuilt = false;
        FPosition = 0;
        ViewChanged(true, flags, mapi::TABLE_SORT_DONE);
    });
}

mapi::HRESULT Table::QuerySortOrder(mapi::LPSSortOrderSet* order) noexcept
{
    return Run([&] {
        Require(order, u"lppSortCriteria");
        *order = nullptr;
        auto result =
            AllocateAs<mapi::SSortOrderSet>(sizeof(mapi::SSortOrderSet) + FSort.size() * sizeof(mapi::SSortOrder));
        result->cSorts = static_cast<ULONG>(FSort.size());
        std::copy(FSort.begin(), FSort.end(), result->aSort);
        *order = result.Detach();
    });
}

mapi::HRESULT Table::QueryRows(mapi::LONG count, ULONG flags, mapi::LPSRowSet* rows) noexcept
{
    return Run([&] {
        Require(rows, u"lppRows");
        *rows = nullptr;
        RequireFlags(flags, mapi::TBL_NOADVANCE);
        if (count == 0)
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sZeroRows);
        Refresh();
        const auto distance = static_cast<std::size_t>(count < 0 ? -static_cast<std::int64_t>(count) : count);
        const std::size_t first = count < 0 ? FPosition - std::min(FPosition, distance) : FPosition;
        const std::size_t last = count < 0 ? FPosition : FPosition + std::min(distance, FOrder.size() - FPosition);

        RowSet set;
        const std::size_t size = sizeof(mapi::SRowSet) + (last - first) * sizeof(mapi::SRow);
        *set.Out() = AllocateAs<mapi::SRowSet>(size).Detach();
        FSource->Consistently([&] {
            Props values;
            Props out;
            for (std::size_t at = first; at < last; ++at) {
                if (!FSource->Fetch(FOrder[at], FColumns, values))
                    continue; // deleted by another process since the order was made
                out.clear();
                for (std::size_t i = 0; i < FColumns.size(); ++i)
                    out.push_back(ShownValue(FColumns[i], values[i], FUnicode));
                mapi::SRow& row = set->aRow[set->cRows];
                row.lpProps = ToInterface(out).Detach();
                row.cValues = static_cast<ULONG>(out.size());
                ++set->cRows;
            }
        });
        if (!(flags & mapi::TBL_NOADVANCE))
            FPosition = count < 0 ? first : last;
        *rows = set.Detach();
    });
}

mapi::HRESULT Table::Abort() noexcept
{
    return mapi::S_OK; // every operation is complete when its call returns
}

mapi::HRESULT Table::ExpandRow(ULONG, mapi::LPBYTE, ULONG, ULONG, mapi::LPSRowSet* rows, ULONG*) noexcept
{
    if (rows)
        *rows = nullptr;
    return NoSupport(sCategories);
}

mapi::HRESULT Table::CollapseRow(ULONG, mapi::LPBYTE, ULONG, ULONG*) noexcept
{
    return NoSupport(sCategories);
}

mapi::HRESULT Table::WaitForCompletion(ULONG, ULONG, ULONG* status) noexcept
{
    if (status)
        *status = mapi::TBLSTAT_COMPLETE;
    return mapi::S_OK;
}

mapi::HRESULT Table::GetCollapseState(ULONG, ULONG, mapi::LPBYTE, ULONG*, mapi::LPBYTE*) noexcept
{
    return NoSupport(sCategories);
}

mapi::HRESULT Table::SetCollapseState(ULONG, ULONG, mapi::LPBYTE, mapi::BOOKMARK*) noexcept
{
    return NoSupport(sCategories);
}

} // namespace deftmapi::client
