#include "client/table/Table.hpp"

#include "client/store/Schema.hpp"
#include "client/table/RowBuilder.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr auto sNoColumns = u"The set of columns is empty.";
constexpr auto sInstances = u"The values of one multi-valued property only can make rows of their own.";
constexpr auto sSortObjects = u"Objects have no order.";
constexpr auto sSortOrder = u"A sort order is ascending or descending.";
constexpr auto sNoBookmark = u"The bookmark does not exist.";
constexpr auto sNotFound = u"No row fits the restriction.";
constexpr auto sZeroRows = u"The number of rows must not be zero.";
constexpr auto sZeroDenominator = u"The denominator must not be zero.";
constexpr auto sCategories = u"Tables of this store are not grouped into categories.";

} // namespace

Table::Table(std::shared_ptr<RowSource> source, bool unicode)
    : FSource(std::move(source)), FUnicode(unicode), FColumns(FSource->DefaultColumns()), FOrder(FSource->Order(FView))
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

template <typename Body>
mapi::HRESULT Table::RunOnRows(Body&& body) noexcept
{
    return Run([&] {
        mapi::HRESULT result = mapi::S_OK;
        FSource->Consistently([&] {
            FOrder->Refresh();
            FOrder->Settle(FPosition);
            if constexpr (std::is_void_v<std::invoke_result_t<Body>>)
                body();
            else
                result = body();
        });
        return result;
    });
}

mapi::HRESULT Table::NoSupport(WideView text) noexcept
{
    return Guard(FLast, [&] { Fail(mapi::MAPI_E_NO_SUPPORT, text); });
}

ULONG Table::InstancesOf(const std::vector<ULONG>& columns, const std::vector<mapi::SSortOrder>& sort)
{
    ULONG instances = 0;
    const auto add = [&](ULONG tag) {
        if (!(tag & mapi::MV_INSTANCE))
            return;
        if (instances && instances >> 16 != tag >> 16)
            Fail(mapi::MAPI_E_TOO_COMPLEX, sInstances);
        instances = tag;
    };
    for (const ULONG column : columns)
        add(column);
    for (const auto& key : sort)
        add(key.ulPropTag);
    return instances;
}

void Table::SetView(TableView view)
{
    FOrder = FSource->Order(view);
    FView = std::move(view);
    FBookmarks.clear();
    FPosition = Mark();
}

Mark Table::Resolve(mapi::BOOKMARK bookmark, bool& moved)
{
    Mark mark;
    switch (bookmark) {
    case mapi::BOOKMARK_BEGINNING:
        return mark;
    case mapi::BOOKMARK_CURRENT:
        return FPosition;
    case mapi::BOOKMARK_END:
        mark.kind = Mark::Kind::End;
        return mark;
    default:
        break;
    }
    const auto it = FBookmarks.find(bookmark);
    if (it == FBookmarks.end())
        Fail(mapi::MAPI_E_INVALID_BOOKMARK, sNoBookmark);
    moved = !FOrder->Settle(it->second);
    mark = it->second;
    mark.gone = false; // the position that it becomes was never anywhere else
    return mark;
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
        const ULONG instances = InstancesOf(columns, FView.sort);
        const bool otherRows = instances >> 16 != FView.instances >> 16;
        if (otherRows) {
            TableView view = FView;
            view.instances = instances;
            SetView(std::move(view));
        }
        FColumns = std::move(columns);
        ViewChanged(otherRows, flags, mapi::TABLE_SETCOL_DONE);
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
    return RunOnRows([&] {
        Require(count, u"lpulCount");
        *count = 0;
        RequireFlags(flags, mapi::TBL_NOWAIT);
        *count = static_cast<ULONG>(FOrder->Count());
    });
}

mapi::HRESULT Table::SeekRow(mapi::BOOKMARK origin, mapi::LONG count, mapi::LONG* sought) noexcept
{
    return RunOnRows([&] {
        if (sought)
            *sought = 0;
        bool moved = false;
        Mark mark = Resolve(origin, moved);
        const std::int64_t rows = count ? FOrder->Move(mark, count) : 0;
        FPosition = mark;
        if (sought)
            *sought = static_cast<mapi::LONG>(rows);
        return moved ? mapi::MAPI_W_POSITION_CHANGED : mapi::S_OK;
    });
}

mapi::HRESULT Table::SeekRowApprox(ULONG numerator, ULONG denominator) noexcept
{
    return RunOnRows([&] {
        if (denominator == 0)
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sZeroDenominator);
        Mark mark;
        if (numerator >= denominator) {
            mark.kind = Mark::Kind::End;
        } else {
            // Both are 32 bits wide, so that the product of the first two is exact.
            const auto row = static_cast<std::uint64_t>(FOrder->Count()) * numerator / denominator;
            FOrder->Move(mark, static_cast<std::int64_t>(row));
        }
        FPosition = mark;
    });
}

mapi::HRESULT Table::QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) noexcept
{
    return RunOnRows([&] {
        Require(row, u"lpulRow");
        Require(numerator, u"lpulNumerator");
        Require(denominator, u"lpulDenominator");
        *row = static_cast<ULONG>(FOrder->Rank(FPosition));
        *numerator = *row;
        *denominator = std::max<ULONG>(1, static_cast<ULONG>(FOrder->Count()));
    });
}

mapi::HRESULT Table::FindRow(mapi::LPSRestriction restriction, mapi::BOOKMARK origin, ULONG flags) noexcept
{
    return RunOnRows([&] {
        Require(restriction, u"lpRestriction");
        RequireFlags(flags, mapi::DIR_BACKWARD);
        const auto wanted = std::make_shared<const Restriction>(Restriction::Parse(*restriction));
        bool moved = false;
        Mark mark = Resolve(origin, moved);
        if (!FOrder->Find(mark, (flags & mapi::DIR_BACKWARD) != 0, wanted))
            Fail(mapi::MAPI_E_NOT_FOUND, sNotFound);
        FPosition = mark;
        return moved ? mapi::MAPI_W_POSITION_CHANGED : mapi::S_OK;
    });
}

mapi::HRESULT Table::Restrict(mapi::LPSRestriction restriction, ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::TBL_ASYNC | mapi::TBL_BATCH);
        TableView view = FView;
        view.restriction.reset();
        if (restriction)
            view.restriction = std::make_shared<const Restriction>(Restriction::Parse(*restriction));
        SetView(std::move(view));
        ViewChanged(true, flags, mapi::TABLE_RESTRICT_DONE);
    });
}

mapi::HRESULT Table::CreateBookmark(mapi::BOOKMARK* bookmark) noexcept
{
    return RunOnRows([&] {
        Require(bookmark, u"lpbkPosition");
        *bookmark = 0;
        Mark mark = FPosition;
        FOrder->Anchor(mark);
        FBookmarks.emplace(FNextBookmark, mark);
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
        TableView view = FView;
        view.sort.assign(order->aSort, order->aSort + order->cSorts);
        for (auto& key : view.sort) {
            if (key.ulOrder > mapi::TABLE_SORT_DESCEND)
                Fail(mapi::MAPI_E_TOO_COMPLEX, sSortOrder);
            if (mapi::PROP_TYPE(key.ulPropTag) == mapi::PT_OBJECT)
                Fail(mapi::MAPI_E_TOO_COMPLEX, sSortObjects);
        }
        view.instances = InstancesOf(FColumns, view.sort);
        SetView(std::move(view));
        ViewChanged(true, flags, mapi::TABLE_SORT_DONE);
    });
}

mapi::HRESULT Table::QuerySortOrder(mapi::LPSSortOrderSet* order) noexcept
{
    return Run([&] {
        Require(order, u"lppSortCriteria");
        *order = nullptr;
        auto result =
            AllocateAs<mapi::SSortOrderSet>(sizeof(mapi::SSortOrderSet) + FView.sort.size() * sizeof(mapi::SSortOrder));
        result->cSorts = static_cast<ULONG>(FView.sort.size());
        std::copy(FView.sort.begin(), FView.sort.end(), result->aSort);
        *order = result.Detach();
    });
}

mapi::HRESULT Table::QueryRows(mapi::LONG count, ULONG flags, mapi::LPSRowSet* rows) noexcept
{
    return RunOnRows([&] {
        Require(rows, u"lppRows");
        *rows = nullptr;
        RequireFlags(flags, mapi::TBL_NOADVANCE);
        if (count == 0)
            Fail(mapi::MAPI_E_INVALID_PARAMETER, sZeroRows);
        Mark mark = FPosition;
        RowBuilder builder(FColumns, FUnicode);
        FOrder->Read(mark, count, FColumns, builder);
        RowSet set = builder.Finish();
        if (!(flags & mapi::TBL_NOADVANCE))
            FPosition = mark;
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
