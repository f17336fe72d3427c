// The cursor of TKwMAPITable: opening, moving, counting and sorting. Reading rows is in TableRows.cpp.
//
// The MAPI table has a position of its own, and after a batch it is not where the cursor is: behind the batch when the
// read advanced, at its first row when it did not. FBeyondFirst keeps that distance, so that a relative move that
// leaves the batch counts from the cursor and not from wherever the last read left the MAPI position.
#include "mapi/core/Advised.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPITableConstantsH.hpp"
#include "mapi/table/ColumnNames.hpp"
#include "mapi/table/MAPISide.hpp"
#include "mapi/table/TableNotify.hpp"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace deftmapi
{

namespace
{

constexpr auto sNoMAPIObject = u"Cannot open the table. There is no MAPIOBJECT!";
constexpr auto sOpenBusy =
    u"%s.Open failed!\r\nAnother operation is in progress that prevents the Field setting operation from starting.\r\n"
    u"Either the operation in progress should be allowed to complete or it should be stopped";
constexpr auto sNoRowCount = u"%s.Open failed!\r\nThe table cannot calculate the number of rows.";
constexpr auto sRowCountBusy =
    u"%s.Open failed!\r\nAnother operation is in progress that prevents the row count retrieval operation from "
    u"starting. \r\nEither the operation in progress should be allowed to complete or it should be stopped.";

constexpr std::int32_t CountingStep = 20;

} // namespace

TKwMAPITable::TKwMAPITable(TKwMAPIWrapper& owner, mapi::IMAPITable* table, TKwMAPITableOpener reopen)
    : TKwMAPITableBase(&owner), FAdvised(std::make_shared<TKwAdvised<TKwMAPITable, IKwMAPITableDEvents>>(*this)),
      FEventColumns(std::make_unique<TEventColumns>()), FMAPISide(KwMake<TMAPISide>(*this, owner, table)),
      FReopen(std::move(reopen)), FRowSet(*FMAPISide)
{}

TKwMAPITable::~TKwMAPITable()
{
    ClearRowSet();
    FMAPISide->Detach();
}

mapi::IMAPITable* TKwMAPITable::MAPITable() const noexcept
{
    return FMAPISide->Table();
}

IKwMAPIWrapper& TKwMAPITable::MemoryOwner()
{
    return *FMAPISide;
}

void TKwMAPITable::MAPIObjectReplaced(bool active) noexcept
{
    EndAdviseQuietly();
    FMustRestore = false;
    ClearRowSet();
    FFoundBookmark = FSearchBookmark = 0; // they go with the old object
    FActive = FActive && active;
}

void TKwMAPITable::Open()
{
    if (MAPITable() == nullptr)
        RaiseNoMAPIObject();
    if (FActive)
        return;
    ClearRowSet(); // what was read before has other columns
    FEOF = false;
    RestoreView();
    if (Fields().Get_Count() == 0)
        QueryColumns();
    else
        SetColumns();
    FRowCount = -1;
    ReadRowCount(u"Open");
    FActive = true;
    RestoreAdvise();
}

mapi::HRESULT TKwMAPITable::CloseCursor()
{
    ClearRowSet();
    FActive = false;
    return FreeBookmarks();
}

void TKwMAPITable::Close()
{
    const TKwRef<TKwMAPITable> self(this); // a sink may drop the last other reference
    const bool tellSinks = FActive || Get_Advised();
    const mapi::HRESULT freed = CloseCursor();
    const mapi::HRESULT ended = EndAdvise();
    if (tellSinks)
        DoClose();
    CheckMAPIResult(GetClassName(), u"FreeBookmark", freed, FMAPISide.Get());
    CheckMAPIResult(GetClassName(), u"UnAdvise", ended, FMAPISide.Get());
}

void TKwMAPITable::SetColumns()
{
    mapi::HRESULT hr = ApplyColumns();
    if (hr == mapi::MAPI_E_INVALID_PARAMETER) {
        // A field that this table does not know: take the columns that it has.
        QueryColumns();
        hr = ApplyColumns();
    }
    if (hr == mapi::MAPI_E_BUSY)
        RaiseBusy(sOpenBusy);
    CheckMAPIResult(GetClassName(), u"Open", hr, FMAPISide.Get());
}

mapi::HRESULT TKwMAPITable::ApplyColumns()
{
    std::vector<mapi::ULONG> tags = Fields().CreatePropTagArray();
    const mapi::HRESULT hr = MAPITable()->SetColumns(reinterpret_cast<mapi::SPropTagArray*>(tags.data()), 0);
    if (hr == mapi::S_OK) {
        Fields().LocateIn(std::span(tags).subspan(1));
        TellColumns();
    }
    return hr;
}

void TKwMAPITable::QueryColumns()
{
    if (MAPITable() == nullptr)
        RaiseNoMAPIObject();
    TKwMAPIBuffer<mapi::SPropTagArray> tags(MemoryOwner());
    CheckMAPIResult(GetClassName(), u"QueryColumns", MAPITable()->QueryColumns(0, Out(tags)), FMAPISide.Get());
    const std::span<const mapi::ULONG> columns(tags->aulPropTag, tags->cValues);
    const TKwMAPIColumnNames names(*this, dynamic_cast<IKwMAPIProp*>(TableOwner()), columns);
    Fields().Clear();
    for (const mapi::ULONG tag : columns)
        if (!TKwMAPIColumnNames::IsNamed(tag))
            Fields().Add3(tag, nullptr);
        else if (const mapi::MAPINAMEID* name = names.NameOf(tag))
            Fields().Add3(tag, name);
    Fields().LocateIn(columns);
    TellColumns();
}

void TKwMAPITable::First()
{
    if (MAPITable() == nullptr)
        return;
    if (!FActive)
        Open();
    FEOF = false;
    MoveBy(tbkBeginning, 0);
}

void TKwMAPITable::MoveBy(TKwMapiTableBookmark origin, std::int32_t count)
{
    // A step inside the batch, which is what most moves are. Cached rows imply a MAPI table.
    if (origin == tbkCurrentRelative && count == 1 && FCurrentIndex >= 0 && !FEOF && FActive &&
        FCurrentIndex + 1 < static_cast<std::int32_t>(CachedRows())) [[likely]]
    {
        ++FCurrentIndex;
        return;
    }
    if (MAPITable() == nullptr)
        return;
    if (!FActive) {
        First();
        if (origin == tbkBeginning)
            return;
    }
    const bool relative = origin == tbkCurrentRelative;
    if ((relative && count == 0 && FRowSet) || FEOF)
        return;

    if (relative && FRowSet) {
        // The first cached row is not served from the cache: moving back onto it reads again.
        const std::int64_t target = std::int64_t{FCurrentIndex} + count;
        if (target > 0 && target < std::int64_t{CachedRows()}) {
            FCurrentIndex = static_cast<std::int32_t>(target);
            return;
        }
    }
    const bool next = relative && count == 1;
    const bool forward = next || origin == tbkBeginning;
    // One row on from nowhere is the row at the MAPI position.
    const std::int32_t distance = next && !FRowSet ? 0 : DistanceTo(origin, count);
    const bool seek = !next || distance != 0;
    ClearRowSet();

    std::int32_t sought = 0;
    if (seek)
        MAPISeekRow(origin, distance, sought);
    if (forward) {
        if (!GetRowset(FBatchSize, true, false)) {
            if (origin != tbkBeginning)
                MoveBy(origin, -1);
            FEOF = true;
        }
        return;
    }
    if (relative)
        FEOF = std::abs(std::int64_t{sought}) != std::abs(std::int64_t{distance});
    if (FEOF) {
        MAPISeekRow(count > 0 ? tbkEnd : tbkBeginning, 0, sought);
        FEOF = count > 0;
    }
    if (!GetRowset(FBatchSize, false, false))
        FEOF = true;
}

std::int32_t TKwMAPITable::DistanceTo(TKwMapiTableBookmark origin, std::int32_t count) const noexcept
{
    if (origin != tbkCurrentRelative || !FRowSet)
        return count;
    const std::int64_t distance = std::int64_t{FCurrentIndex} + count - FBeyondFirst;
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(distance, Limits::min(), Limits::max()));
}

void TKwMAPITable::SeekRow(TKwMapiTableBookmark bookmark, std::int32_t rows, WordBool& found)
{
    found = false;
    if (bookmark != tbkBeginning && bookmark != tbkCurrentRelative && bookmark != tbkEnd)
        CheckMAPIResult(GetClassName(), u"SeekRow", mapi::MAPI_E_INVALID_PARAMETER);
    if (MAPITable() == nullptr)
        return;
    RestoreView();
    const std::int32_t distance = DistanceTo(bookmark, rows);
    std::int32_t sought = 0;
    FEOF = false;
    MAPISeekRow(bookmark, distance, sought);
    found = GetRowset(1, true, true) && !FEOF && sought == distance;
}

WordBool TKwMAPITable::Get_EOF()
{
    return FEOF || (!FRowSet && MAPITable() == nullptr); // cached rows imply a MAPI table
}

std::int32_t TKwMAPITable::Get_RowCount()
{
    if (MAPITable() == nullptr)
        return 0;
    if (!FActive)
        First();
    if (FRowCount == -1)
        ReadRowCount(u"Get_RowCount");
    return FRowCount;
}

void TKwMAPITable::ReadRowCount(WideView methodName)
{
    FRowCount = 0;
    mapi::ULONG count = 0;
    const mapi::HRESULT hr = MAPITable()->GetRowCount(0, &count);
    switch (hr) {
    case mapi::MAPI_W_APPROX_COUNT:
        FRowCount = CountByWalking();
        return;
    case mapi::MAPI_E_NO_SUPPORT:
        CreateKwMAPIException(hr, sNoRowCount, {GetClassName()})->Raise();
    case mapi::MAPI_E_BUSY:
        RaiseBusy(sRowCountBusy);
    default:
        CheckMAPIResult(GetClassName(), methodName, hr, FMAPISide.Get());
        FRowCount = static_cast<std::int32_t>(count);
    }
}

std::int32_t TKwMAPITable::CountByWalking()
{
    std::int32_t count = 0;
    std::int32_t sought = 0;
    MAPISeekRow(tbkBeginning, 0, sought);
    do {
        MAPISeekRow(tbkCurrentRelative, CountingStep, sought);
        count += sought;
    } while (sought != 0);
    return count;
}

void TKwMAPITable::Sort(TKwMAPIPropDef def, WordBool descending)
{
    Sort(std::vector<TKwMAPISortKey>{{def, descending}});
}

void TKwMAPITable::Sort(const std::vector<TKwMAPISortKey>& keys)
{
    if (MAPITable() == nullptr)
        RaiseNoMAPIObject();
    std::vector<mapi::SSortOrder> order;
    for (const TKwMAPISortKey& key : keys)
        order.push_back({GetPropTag(GetPropInfo(key.PropDef)),
                         key.Descending ? mapi::TABLE_SORT_DESCEND : mapi::TABLE_SORT_ASCEND});
    order.swap(FSortOrder);
    const mapi::HRESULT hr = ApplySortOrder();
    if (hr != mapi::S_OK)
        order.swap(FSortOrder); // the rows are as they were
    CheckMAPIResult(GetClassName(), u"Sort", hr, FMAPISide.Get());
    ClearRowSet();
    FEOF = false;
    // A sort takes the meaning of bookmarks: with them the next search would find nothing.
    CheckMAPIResult(GetClassName(), u"FreeBookmark", FreeBookmarks(), FMAPISide.Get());
    ReadRowCount(u"Sort");
}

mapi::HRESULT TKwMAPITable::ApplySortOrder()
{
    // The structure ends with its first key; the others follow it.
    std::vector<mapi::ULONG> order{static_cast<mapi::ULONG>(FSortOrder.size()), 0, 0};
    for (const mapi::SSortOrder& key : FSortOrder)
        order.insert(order.end(), {key.ulPropTag, key.ulOrder});
    order.resize(std::max(order.size(), sizeof(mapi::SSortOrderSet) / sizeof(mapi::ULONG)));
    return MAPITable()->SortTable(reinterpret_cast<mapi::SSortOrderSet*>(order.data()), 0);
}

void TKwMAPITable::RaiseNoMAPIObject() const
{
    CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNoMAPIObject)->Raise();
}

void TKwMAPITable::RaiseBusy(WideView pattern) const
{
    CreateKwMAPIException(mapi::MAPI_E_BUSY, pattern, {GetClassName()})->Raise();
}

} // namespace deftmapi
