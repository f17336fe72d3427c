// IMAPITable over a row source: what the platform says about columns, position, bookmarks and results stands here once;
// the source's order says how rows are found.
#pragma once

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"
#include "client/notify/RowFeed.hpp"
#include "client/table/Restriction.hpp"
#include "client/table/RowSource.hpp"

#include <map>
#include <memory>

namespace deftmapi::client
{

class Table final : public ComObject<mapi::IMAPITable>
{
public:
    /// @param unicode  the width of text whose column was named without a type, and of the default columns
    Table(std::shared_ptr<RowSource> source, bool unicode);
    ~Table() override;

    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT code, ULONG flags,
                                                mapi::LPMAPIERROR* error) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Advise(ULONG mask, mapi::LPMAPIADVISESINK sink,
                                          mapi::ULONG_PTR* connection) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Unadvise(mapi::ULONG_PTR connection) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetStatus(ULONG* status, ULONG* type) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetColumns(mapi::LPSPropTagArray tags, ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL QueryColumns(ULONG flags, mapi::LPSPropTagArray* tags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetRowCount(ULONG flags, ULONG* count) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SeekRow(mapi::BOOKMARK origin, mapi::LONG count,
                                           mapi::LONG* sought) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SeekRowApprox(ULONG numerator, ULONG denominator) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL FindRow(mapi::LPSRestriction restriction, mapi::BOOKMARK origin,
                                           ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Restrict(mapi::LPSRestriction restriction, ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateBookmark(mapi::BOOKMARK* bookmark) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL FreeBookmark(mapi::BOOKMARK bookmark) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SortTable(mapi::LPSSortOrderSet order, ULONG flags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL QuerySortOrder(mapi::LPSSortOrderSet* order) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL QueryRows(mapi::LONG count, ULONG flags, mapi::LPSRowSet* rows) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL Abort() noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL ExpandRow(ULONG, mapi::LPBYTE, ULONG, ULONG, mapi::LPSRowSet*,
                                             ULONG*) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CollapseRow(ULONG, mapi::LPBYTE, ULONG, ULONG*) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL WaitForCompletion(ULONG, ULONG, ULONG* status) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetCollapseState(ULONG, ULONG, mapi::LPBYTE, ULONG*,
                                                    mapi::LPBYTE*) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetCollapseState(ULONG, ULONG, mapi::LPBYTE, mapi::BOOKMARK*) noexcept override;

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override { return iid == mapi::IID_IMAPITable; }

private:
    using Feeds = std::map<mapi::ULONG_PTR, std::shared_ptr<RowFeed>>; // by connection

    template <typename Body>
    mapi::HRESULT Run(Body&& body) noexcept;
    /// Run for a body that looks at rows: it sees one state of them, and the position is up to date.
    template <typename Body>
    mapi::HRESULT RunOnRows(Body&& body) noexcept;
    mapi::HRESULT NoSupport(WideView text) noexcept;
    /// Shows the rows in another way, from the beginning. @throws Failure  MAPI_E_TOO_COMPLEX; nothing has changed
    void SetView(TableView view);
    /// Finds the multiple property that makes rows of its own in the columns and the sort order.
    /// @throws Failure  MAPI_E_TOO_COMPLEX there are several
    [[nodiscard]] static ULONG InstancesOf(const std::vector<ULONG>& columns,
                                           const std::vector<mapi::SSortOrder>& sort);
    /// The place of a bookmark; sets `moved` when the row that it stood on is gone.
    [[nodiscard]] Mark Resolve(mapi::BOOKMARK bookmark, bool& moved);
    [[nodiscard]] ShownView View() const;
    /// Tells those who are advised that columns, rows or order are others, and of the end of an asynchronous call.
    void ViewChanged(bool otherRows, ULONG flags, ULONG doneEvent);

    std::shared_ptr<RowSource> FSource;
    bool FUnicode;
    std::vector<ULONG> FColumns;
    TableView FView;
    std::unique_ptr<RowOrder> FOrder;
    Mark FPosition;
    std::map<mapi::BOOKMARK, Mark> FBookmarks;
    mapi::BOOKMARK FNextBookmark = 3; // after the predefined ones
    Feeds FFeeds;
    LastError FLast;
};

} // namespace deftmapi::client
