// The rows of TKwMAPITable: reading batches, seeking the MAPI position, and values of the current row.
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "mapi/headers/uKwMAPITableConstantsH.hpp"
#include "mapi/table/MAPISide.hpp"
#include "mapi/table/TableTexts.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sQueryRowsBusy =
    u"%s.QueryRows failed!\r\nAnother operation is in progress that prevents the row retrieval operation from "
    u"starting. \r\nEither the operation in progress should be allowed to complete or it should be stopped!";
constexpr auto sQueryRowsBadField =
    u"%s.QueryRows failed!\r\nThe rows could not be read, because of an invalid Fieldname\r\nThe RowCount is set to "
    u"zero.";
constexpr auto sQueryRowsCorrupt =
    u"%s.QueryRows failed because of corrupt data!\r\nThis can happen when the contents of the GAL is read from an "
    u"Exchange Server on which Outlook is installed.\r\nIn this case the problem can be solved by uninstalling Outlook "
    u"on the Exchange Server.\r\nIt can also happen when using unpatched versions of Outlook 2003 or 2007.\r\nIn this "
    u"case the problem can be solved by installing the servicepacks.";
constexpr auto sSeekRowBusy =
    u"%s.MAPISeekRow failed!\r\nAnother operation is in progress that prevents the row seeking operation from "
    u"starting.\r\nEither the operation in progress should be allowed to complete or it should be stopped.";
constexpr auto sBadFieldIndex = u"Field %s has an invalid FieldIndex!";

const mapi::SPropValue& ValueAt(const mapi::SRow& row, std::int32_t index, const TKwMAPITableField& field)
{
    if (index < 0 || static_cast<mapi::ULONG>(index) >= row.cValues)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sBadFieldIndex, {field.PropInfo().PropName()})->Raise();
    return row.lpProps[index];
}

} // namespace

void TKwMAPITable::ClearRowSet() noexcept
{
    FRowSet.Reset();
    FCurrentIndex = -1;
    FBeyondFirst = 0;
    FIsFound = false;
}

bool TKwMAPITable::Refetch()
{
    if (!FReopen)
        return false;
    const bool advised = Get_Advised() || FAdviseAgain;
    FMAPISide->SetMAPIOBJECT(FReopen().Get());
    if (MAPITable() == nullptr)
        return false;
    FRowCount = -1;
    FMustRestore = true;
    FAdviseAgain = advised;
    try {
        RestoreView();
        if (Fields().Get_Count() != 0)
            SetColumns();
        RestoreAdvise();
    } catch (...) {
        FActive = false; // opening restores the rest before any row is read
        throw;
    }
    return true;
}

void TKwMAPITable::RestoreView()
{
    if (!FMustRestore)
        return;
    // A new table knows nothing of what was set on the old one, and stands at its beginning.
    if (!FSortOrder.empty())
        CheckMAPIResult(GetClassName(), u"Sort", ApplySortOrder(), FMAPISide.Get());
    if (FFilter)
        CheckMAPIResult(GetClassName(), u"Restrict", Restrict(FFilter->GetMAPIRestriction()), FMAPISide.Get());
    FMustRestore = false;
}

void TKwMAPITable::RestoreAdvise()
{
    if (FAdviseAgain.exchange(false) && !Get_Advised())
        Advise();
}

mapi::HRESULT TKwMAPITable::QueryRows(std::int32_t count, mapi::ULONG flags)
{
    return MAPITable()->QueryRows(count, flags, Out(FRowSet));
}

bool TKwMAPITable::GetRowset(std::int32_t count, bool advance, bool raiseErrors)
{
    if (MAPITable() == nullptr)
        return false;
    const mapi::ULONG flags = advance ? 0 : mapi::TBL_NOADVANCE;
    ClearRowSet();

    mapi::HRESULT hr = QueryRows(count, flags);
    if (hr == mapi::MAPI_E_END_OF_SESSION && Refetch())
        hr = QueryRows(count, flags);
    if (hr != mapi::S_OK)
        RaiseQueryRows(hr);
    const bool atEnd = CachedRows() == 0;
    if (atEnd) {
        // One row back is the last row.
        hr = QueryRows(-1, flags);
        FEOF = true;
        if (hr == mapi::MAPI_E_BUSY)
            RaiseQueryRows(hr);
        if (hr == mapi::MAPI_E_INVALID_PARAMETER)
            FRowSet.Reset();
        else if (hr != mapi::S_OK && raiseErrors)
            CheckMAPIResult(GetClassName(), u"QueryRows", hr, FMAPISide.Get());
    }
    if (CachedRows() == 0) {
        ClearRowSet();
        return false;
    }
    FCurrentIndex = 0;
    // A read that advances leaves the position behind its rows, or backwards on the first of them.
    FBeyondFirst = advance == atEnd ? 0 : static_cast<std::int32_t>(CachedRows());
    return true;
}

bool TKwMAPITable::OwnerIsExchangeAddressBook() const
{
    auto* container = dynamic_cast<IKwMAPIContainer*>(TableOwner());
    const IKwMAPISessionBase* session = FMAPISide->Session();
    return container != nullptr && container->Get_ContainerType() == ctABContainer && session != nullptr &&
           session->Get_ConnectedToExchange();
}

void TKwMAPITable::RaiseQueryRows(mapi::HRESULT hr)
{
    FRowSet.Reset();
    switch (hr) {
    case mapi::MAPI_E_BUSY:
        RaiseBusy(sQueryRowsBusy);
    case mapi::MAPI_E_INVALID_PARAMETER:
        FRowCount = 0;
        CreateKwMAPIException(hr, sQueryRowsBadField, {GetClassName()})->Raise();
    case mapi::MAPI_E_CORRUPT_DATA:
        if (OwnerIsExchangeAddressBook())
            CreateKwMAPIException(hr, sQueryRowsCorrupt, {GetClassName()})->Raise();
        [[fallthrough]];
    default:
        RaiseMAPIResult(GetClassName(), u"QueryRows", hr, FMAPISide.Get());
    }
}

void TKwMAPITable::MAPISeekRow(TKwMapiTableBookmark origin, std::int32_t rows, std::int32_t& sought)
{
    SeekMAPI(static_cast<mapi::BOOKMARK>(origin), rows, sought);
}

void TKwMAPITable::SeekMAPI(mapi::BOOKMARK origin, std::int32_t rows, std::int32_t& sought, bool mayHaveMoved)
{
    sought = 0;
    if (MAPITable() == nullptr)
        return;
    ClearRowSet(); // whatever comes of it
    const auto seek = [&] { return MAPITable()->SeekRow(origin, rows, &sought); };
    mapi::HRESULT hr = seek();
    if (hr == mapi::MAPI_E_END_OF_SESSION) {
        if (origin == mapi::BOOKMARK_BEGINNING && rows == 0)
            hr = mapi::S_OK; // the read that follows fetches a table that stands there anyway
        else if (Refetch())
            hr = seek();
    }
    switch (hr) {
    case mapi::MAPI_E_BUSY:
        RaiseBusy(sSeekRowBusy);
    case mapi::MAPI_E_INVALID_BOOKMARK:
        FEOF = true;
        sought = 0;
        return;
    case mapi::MAPI_W_POSITION_CHANGED:
        if (mayHaveMoved)
            return;
        if (auto* prop = dynamic_cast<TKwMAPIProp*>(TableOwner()))
            prop->CheckLastError(u"MAPISeekRow", hr);
        else
            CheckMAPIResult(GetClassName(), u"MAPISeekRow", hr, FMAPISide.Get());
        return;
    default:
        CheckMAPIResult(GetClassName(), u"MAPISeekRow", hr, FMAPISide.Get());
    }
}

const mapi::SPropValue& TKwMAPITable::GetFieldValueEx(TKwMAPITableField& field)
{
    // A value in the column's own form: nearly all are.
    if (FRowSet) [[likely]] {
        const mapi::SRow& current = FRowSet->aRow[FCurrentIndex];
        const auto own = static_cast<mapi::ULONG>(field.Index());
        if (own < current.cValues && mapi::PROP_TYPE(current.lpProps[own].ulPropTag) != mapi::PT_ERROR) [[likely]]
            return current.lpProps[own];
    }
    if (!FRowSet && FCurrentIndex == -1)
        MoveBy(tbkBeginning, 0);
    if (!FRowSet)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNoRecord)->Raise();

    const std::int32_t ansi = field.AnsiIndex();
    const std::int32_t wide = field.WideIndex();
    std::int32_t index = field.Index();
    if (index == -1)
        index = wide != -1 ? wide : ansi; // the own form of a text is one of the two: only the other one can be there
    if (index == -1)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNotAField, {field.PropInfo().PropName()})->Raise();

    const mapi::SRow& row = FRowSet->aRow[FCurrentIndex];
    const mapi::SPropValue* value = &ValueAt(row, index, field);
    if (mapi::PROP_TYPE(value->ulPropTag) == mapi::PT_ERROR) {
        const std::int32_t other = index == wide ? ansi : wide;
        if (other != -1 && other != index)
            value = &ValueAt(row, other, field);
    }
    return *value;
}

} // namespace deftmapi
