// IMAPITable over rows in memory, with the position rules of the platform. Every call is logged and can be given a
// result of the test's choice.
#pragma once

#include "mapi/headers/uKwMAPITableConstantsH.hpp"
#include "tests/support/ScriptedMAPI.hpp"
#include "tests/table/RestrictionText.hpp"

#include <algorithm>
#include <cstring>
#include <set>

/// In a double: a method that no test has work for, with the types of its parameters. The class says by Refused(name)
/// what becomes of such calls.
#define DEFTMAPI_REFUSED(Method, ...)                                                                                  \
    mapi::HRESULT DEFTMAPI_STDCALL Method(__VA_ARGS__) override                                                        \
    {                                                                                                                  \
        return Refused(#Method);                                                                                       \
    }

namespace deftmapi::test
{

class TScriptedTable final : public TScriptedUnknown<mapi::IMAPITable>
{
public:
    using TRow = std::vector<TOwnedValue>;

    explicit TScriptedTable(std::shared_ptr<TScriptedCalls> calls)
        : TScriptedUnknown({mapi::IID_IMAPITable}), FCalls(std::move(calls))
    {}

    std::vector<TRow> Rows;
    std::vector<mapi::ULONG> Columns;               ///< as set, or the table's own at first
    bool KnowsOnlyColumns = false;                  ///< SetColumns refuses tags that are not among the table's own
    mapi::ULONG ValuesKeptBack = 0;                 ///< how many values each row lacks at its end
    mapi::LONG MostRows = 0;                        ///< a read returns no more than these; 0: as many as asked for
    TKwComPtr<mapi::IMAPIAdviseSink> Sink;          ///< while advised
    std::function<bool(const TRow&)> Matches;       ///< the rows that FindRow finds, whatever the restriction
    std::map<mapi::BOOKMARK, mapi::LONG> Bookmarks; ///< and the positions they mark
    std::function<void()> OnUnadvise;               ///< called by Unadvise before it does its work; may be empty

    void AddRow(std::vector<mapi::SPropValue> values)
    {
        TRow row;
        for (const mapi::SPropValue& value : values)
            row.emplace_back(value);
        Rows.push_back(std::move(row));
    }

    /// Somebody deletes a row: what stands on it then stands on the next one.
    void Delete(mapi::LONG row)
    {
        Rows.erase(Rows.begin() + row);
        FPosition -= FPosition > row ? 1 : 0;
        for (auto& [bookmark, position] : Bookmarks)
            if (position > row)
                --position;
            else if (position == row)
                FMoved.insert(bookmark);
    }

    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR* error) override
    {
        *error = nullptr;
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL SetColumns(mapi::LPSPropTagArray tags, mapi::ULONG flags) override
    {
        if (const auto result = FCalls->Enter("SetColumns", TextOf(tags) + "," + std::to_string(flags)))
            return *result;
        const std::vector<mapi::ULONG> wanted(tags->aulPropTag, tags->aulPropTag + tags->cValues);
        for (const mapi::ULONG tag : wanted)
            if (KnowsOnlyColumns && std::find(Columns.begin(), Columns.end(), tag) == Columns.end())
                return mapi::MAPI_E_INVALID_PARAMETER;
        Columns = wanted;
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL QueryColumns(mapi::ULONG flags, mapi::LPSPropTagArray* tags) override
    {
        if (const auto result = FCalls->Enter("QueryColumns", std::to_string(flags)))
            return *result;
        auto* array = static_cast<mapi::SPropTagArray*>(
            TScriptedAllocator::Allocate(static_cast<mapi::ULONG>((Columns.size() + 1) * sizeof(mapi::ULONG))));
        array->cValues = static_cast<mapi::ULONG>(Columns.size());
        std::copy(Columns.begin(), Columns.end(), array->aulPropTag);
        *tags = array;
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetRowCount(mapi::ULONG flags, mapi::ULONG* count) override
    {
        if (const auto result = FCalls->Enter("GetRowCount", std::to_string(flags)))
            return *result;
        *count = static_cast<mapi::ULONG>(Rows.size());
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL SeekRow(mapi::BOOKMARK origin, mapi::LONG rows, mapi::LONG* sought) override
    {
        if (const auto result = FCalls->Enter("SeekRow", std::to_string(origin) + "," + std::to_string(rows)))
            return *result;
        const auto size = static_cast<mapi::LONG>(Rows.size());
        if (origin > mapi::BOOKMARK_END && !Bookmarks.contains(origin))
            return mapi::MAPI_E_INVALID_BOOKMARK;
        const mapi::LONG base = PositionOf(origin);
        FPosition = static_cast<mapi::LONG>(std::clamp<std::int64_t>(std::int64_t{base} + rows, 0, size));
        if (sought != nullptr)
            *sought = FPosition - base;
        return FMoved.contains(origin) ? mapi::MAPI_W_POSITION_CHANGED : mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL QueryRows(mapi::LONG count, mapi::ULONG flags, mapi::LPSRowSet* rows) override
    {
        if (const auto result = FCalls->Enter("QueryRows", std::to_string(count) + "," + std::to_string(flags)))
            return *result;
        const auto size = static_cast<mapi::LONG>(Rows.size());
        if (MostRows != 0)
            count = std::clamp(count, -MostRows, MostRows);
        const auto end = static_cast<mapi::LONG>(std::clamp<std::int64_t>(std::int64_t{FPosition} + count, 0, size));
        const mapi::LONG first = std::min(FPosition, end);
        const mapi::LONG last = std::max(FPosition, end);
        if ((flags & mapi::TBL_NOADVANCE) == 0)
            FPosition = end;
        *rows = RowSet(first, last);
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL SortTable(mapi::LPSSortOrderSet order, mapi::ULONG flags) override
    {
        std::string keys;
        for (mapi::ULONG i = 0; i < order->cSorts; ++i)
            keys +=
                (i == 0 ? "" : " ") + Hex(order->aSort[i].ulPropTag) + ":" + std::to_string(order->aSort[i].ulOrder);
        if (const auto result = FCalls->Enter("SortTable", keys + "," + std::to_string(flags)))
            return *result;
        Bookmarks.clear();
        FPosition = 0;
        return mapi::S_OK;
    }

    mapi::HRESULT DEFTMAPI_STDCALL Restrict(mapi::LPSRestriction restriction, mapi::ULONG flags) override
    {
        if (const auto result = FCalls->Enter("Restrict", TextOf(restriction) + "," + std::to_string(flags)))
            return *result;
        FPosition = 0;
        return mapi::S_OK;
    }
    /// Forward from the row at the origin, backward from the one before it.
    mapi::HRESULT DEFTMAPI_STDCALL FindRow(mapi::LPSRestriction restriction, mapi::BOOKMARK origin,
                                           mapi::ULONG flags) override
    {
        if (const auto result = FCalls->Enter("FindRow", TextOf(restriction) + "," + std::to_string(origin) + "," +
                                                             std::to_string(flags)))
            return *result;
        if (origin > mapi::BOOKMARK_END && !Bookmarks.contains(origin))
            return mapi::MAPI_E_INVALID_BOOKMARK;
        const bool back = (flags & mapi::DIR_BACKWARD) != 0;
        for (mapi::LONG at = PositionOf(origin) - (back ? 1 : 0); at >= 0 && at < static_cast<mapi::LONG>(Rows.size());
             at += back ? -1 : 1)
            if (Matches(Rows[static_cast<std::size_t>(at)])) {
                FPosition = at;
                return mapi::S_OK;
            }
        return mapi::MAPI_E_NOT_FOUND;
    }
    mapi::HRESULT DEFTMAPI_STDCALL CreateBookmark(mapi::BOOKMARK* bookmark) override
    {
        if (const auto result = FCalls->Enter("CreateBookmark", ""))
            return *result;
        Bookmarks[*bookmark = FNextBookmark++] = FPosition;
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL FreeBookmark(mapi::BOOKMARK bookmark) override
    {
        if (const auto result = FCalls->Enter("FreeBookmark", std::to_string(bookmark)))
            return *result;
        return Bookmarks.erase(bookmark) != 0 ? mapi::S_OK : mapi::MAPI_E_INVALID_BOOKMARK;
    }

    mapi::HRESULT DEFTMAPI_STDCALL Advise(mapi::ULONG mask, mapi::LPMAPIADVISESINK sink,
                                          mapi::ULONG_PTR* connection) override
    {
        const mapi::HRESULT result = FCalls->Enter("Advise", Hex(mask)).value_or(mapi::S_OK);
        if (mapi::Failed(result))
            return result;
        Sink = TKwComPtr<mapi::IMAPIAdviseSink>(sink);
        *connection = 77;
        return result;
    }
    mapi::HRESULT DEFTMAPI_STDCALL Unadvise(mapi::ULONG_PTR connection) override
    {
        if (const auto result = FCalls->Enter("Unadvise", std::to_string(connection)))
            return *result;
        if (OnUnadvise)
            OnUnadvise();
        Sink.Reset();
        return mapi::S_OK;
    }

    // What the cursor does not call.
    DEFTMAPI_REFUSED(GetStatus, mapi::ULONG*, mapi::ULONG*)
    DEFTMAPI_REFUSED(SeekRowApprox, mapi::ULONG, mapi::ULONG)
    DEFTMAPI_REFUSED(QueryPosition, mapi::ULONG*, mapi::ULONG*, mapi::ULONG*)
    DEFTMAPI_REFUSED(QuerySortOrder, mapi::LPSSortOrderSet*)
    DEFTMAPI_REFUSED(Abort)
    DEFTMAPI_REFUSED(ExpandRow, mapi::ULONG, mapi::LPBYTE, mapi::ULONG, mapi::ULONG, mapi::LPSRowSet*, mapi::ULONG*)
    DEFTMAPI_REFUSED(CollapseRow, mapi::ULONG, mapi::LPBYTE, mapi::ULONG, mapi::ULONG*)
    DEFTMAPI_REFUSED(WaitForCompletion, mapi::ULONG, mapi::ULONG, mapi::ULONG*)
    DEFTMAPI_REFUSED(GetCollapseState, mapi::ULONG, mapi::ULONG, mapi::LPBYTE, mapi::ULONG*, mapi::LPBYTE*)
    DEFTMAPI_REFUSED(SetCollapseState, mapi::ULONG, mapi::ULONG, mapi::LPBYTE, mapi::BOOKMARK*)

private:
    mapi::HRESULT Refused(const char* method) { return FCalls->Enter(method, "").value_or(mapi::MAPI_E_NO_SUPPORT); }
    mapi::LONG PositionOf(mapi::BOOKMARK origin) const
    {
        if (origin > mapi::BOOKMARK_END)
            return Bookmarks.at(origin);
        return origin == mapi::BOOKMARK_BEGINNING ? 0
               : origin == mapi::BOOKMARK_END     ? static_cast<mapi::LONG>(Rows.size())
                                                  : FPosition;
    }
    mapi::SRowSet* RowSet(mapi::LONG first, mapi::LONG last) const
    {
        const auto count = static_cast<mapi::ULONG>(last - first);
        auto* rows = static_cast<mapi::SRowSet*>(
            TScriptedAllocator::Allocate(static_cast<mapi::ULONG>(sizeof(mapi::SRowSet) + count * sizeof(mapi::SRow))));
        rows->cRows = count;
        for (mapi::ULONG i = 0; i < count; ++i)
            FillRow(Rows[static_cast<std::size_t>(first) + i], rows->aRow[i]);
        return rows;
    }
    void FillRow(const TRow& from, mapi::SRow& to) const
    {
        to.ulAdrEntryPad = 0;
        to.cValues = static_cast<mapi::ULONG>(Columns.size()) - ValuesKeptBack;
        to.lpProps = static_cast<mapi::SPropValue*>(
            TScriptedAllocator::Allocate(static_cast<mapi::ULONG>((Columns.size() + 1) * sizeof(mapi::SPropValue))));
        for (mapi::ULONG c = 0; c < to.cValues; ++c) {
            const auto found = std::find_if(from.begin(), from.end(), [&](const TOwnedValue& value) {
                return value.Value().ulPropTag == Columns[c];
            });
            if (found == from.end())
                to.lpProps[c] = ErrorValue(Columns[c], mapi::MAPI_E_NOT_FOUND);
            else
                CopyValue(found->Value(), to.lpProps[c], [&](std::size_t size) {
                    return TScriptedAllocator::AllocateMore(static_cast<mapi::ULONG>(size), to.lpProps);
                });
        }
    }

    std::shared_ptr<TScriptedCalls> FCalls;
    mapi::LONG FPosition = 0;
    mapi::BOOKMARK FNextBookmark = 3;
    std::set<mapi::BOOKMARK> FMoved; // their rows are gone
};

} // namespace deftmapi::test
