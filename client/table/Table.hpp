// IMAPITable over a row source. The table keeps a vector of row keys in its order and fetches rows by key; when the
// source says that it has changed, the vector is made again and the position stays at its row.
#pragma once

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"
#include "client/notify/TableFeed.hpp"
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
    using Feeds = std::map<mapi::ULONG_PTR, std::shared_ptr<TableFeed>>; // by connection
    struct Bookmark
    {
        std::size_t position;
        RowKey key;           // of the row it stands on; unused at the end
        bool changed = false; // the row is gone
    };

    template <typename Body>
    mapi::HRESULT Run(Body&& body) noexcept;
    mapi::HRESULT NoSupport(WideView text) noexcept;
    void Refresh();
    void Rebuild();
    /// The position of a bookmark; sets `moved` when the row that it stood on is gone.
    [[nodiscard]] std::size_t Resolve(mapi::BOOKMARK bookmark, bool& moved) const;
    [[nodiscard]] ShownView View() const;
    /// Tells those who are advised that columns, rows or order are others, and of the end of an asynchronous call.
    void ViewChanged(bool otherRows, ULONG flags, ULONG doneEvent);

    std::shared_ptr<RowSource> FSource;
    bool FUnicode;
    std::vector<ULONG> FColumns;
    std::optional<Restriction> FRestriction;
    std::vector<mapi::SSortOrder> FSort;
    std::vector<RowKey> FOrder;
    bool FBuilt = false;
    std::int64_t FStamp = 0;
    std::size_t FPosition = 0;
    std::map<mapi::BOOKMARK, Bookmark> FBookmarks;
    mapi::BOOKMARK FNextBookmark = 3; // after the predefined ones
    Feeds FFeeds;
    LastError FLast;
};

} // namespace deftmapi::client
