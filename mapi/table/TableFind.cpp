// Filtering and searching.
//
// After a search that finds a row the MAPI table has a bookmark behind that row, where the next search goes on. A
// search backwards begins with the row before its origin, which from that bookmark would be the row found last;
// FindPrevious steps over it first.
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPITableConstantsH.hpp"
#include "mapi/table/MAPISide.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sFilterBusy =
    u"%s.SetFiltered failed!\r\nAnother operation is in progress that prevents the Field setting operation from "
    u"starting.\r\nEither the operation in progress should be allowed to complete or it should be stopped";
constexpr auto sFilterTooComplex =
    u"%s.SetFiltered failed!\r\nThe table cannot perform the operation, because the restiction is too complicated.";
constexpr auto sAlreadyFiltered = u"The table is already filtered!";

/// @throws EMAPI_INVALID_PARAMETER  null, or a node that has no MAPI form
IKwMAPIRestrictionEx& MAPIFormOf(const TKwRef<IKwMAPIRestriction>& restriction, WideView className, WideView methodName)
{
    auto* node = dynamic_cast<IKwMAPIRestrictionEx*>(restriction.Get());
    if (node == nullptr)
        RaiseMAPIResult(className, methodName, mapi::MAPI_E_INVALID_PARAMETER, nullptr);
    return *node;
}

} // namespace

mapi::HRESULT TKwMAPITable::Restrict(mapi::SRestriction* restriction)
{
    return MAPITable()->Restrict(restriction, 0);
}

void TKwMAPITable::Filter(const TKwRef<IKwMAPIRestriction>& restriction)
{
    if (MAPITable() == nullptr)
        RaiseNoMAPIObject();
    const TKwRef<IKwMAPIRestrictionEx> filter(restriction ? &MAPIFormOf(restriction, GetClassName(), u"Filter")
                                                          : nullptr);
    if (FFilter) {
        CheckMAPIResult(GetClassName(), u"Restrict", Restrict(nullptr), FMAPISide.Get());
        FFilter.Reset();
    }
    if (FActive)
        CheckMAPIResult(GetClassName(), u"FreeBookmark", CloseCursor(), FMAPISide.Get());
    if (filter) {
        // Held once the MAPI table has taken it: a table without a filter can be searched and filtered again.
        const mapi::HRESULT hr = Restrict(filter->GetMAPIRestriction());
        if (hr == mapi::MAPI_E_BUSY)
            RaiseBusy(sFilterBusy);
        if (hr == mapi::MAPI_E_TOO_COMPLEX)
            CreateKwMAPIException(hr, sFilterTooComplex, {GetClassName()})->Raise();
        CheckMAPIResult(GetClassName(), u"Restrict", hr, FMAPISide.Get());
        FFilter = filter;
    }
    FEOF = false;
    FRowCount = -1;
    Open();
}

void TKwMAPITable::CheckUnfiltered() const
{
    if (FFilter)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sAlreadyFiltered)->Raise();
}

void TKwMAPITable::FindFirst(const TKwRef<IKwMAPIRestriction>& restriction, bool& found)
{
    Search(restriction, mapi::BOOKMARK_BEGINNING, true, found);
}

void TKwMAPITable::FindLast(const TKwRef<IKwMAPIRestriction>& restriction, bool& found)
{
    Search(restriction, mapi::BOOKMARK_END, false, found);
}

void TKwMAPITable::FindNext(const TKwRef<IKwMAPIRestriction>& restriction, bool& found)
{
    Search(restriction, FSearchBookmark != 0 ? FSearchBookmark : mapi::BOOKMARK_BEGINNING, true, found);
}

void TKwMAPITable::FindPrevious(const TKwRef<IKwMAPIRestriction>& restriction, bool& found)
{
    found = false;
    if (FSearchBookmark == 0)
        return Search(restriction, mapi::BOOKMARK_END, false, found);
    CheckUnfiltered();
    std::int32_t sought = 0;
    FEOF = false;
    SeekMAPI(FSearchBookmark, -1, sought);
    if (!FEOF)
        Search(restriction, mapi::BOOKMARK_CURRENT, false, found);
}

void TKwMAPITable::FindRow(const TKwRef<IKwMAPIRestriction>& restriction, TKwMapiTableBookmark origin, bool forward,
                           bool& found)
{
    if (origin == tbkCurrentRelative && FRowSet) {
        CheckUnfiltered();
        std::int32_t sought = 0;
        SeekMAPI(mapi::BOOKMARK_CURRENT, DistanceTo(tbkCurrentRelative, 0), sought);
    }
    Search(restriction, static_cast<mapi::BOOKMARK>(origin), forward, found);
}

void TKwMAPITable::Search(const TKwRef<IKwMAPIRestriction>& restriction, mapi::BOOKMARK origin, bool forward,
                          bool& found)
{
    found = false;
    if (MAPITable() == nullptr)
        return;
    CheckUnfiltered();
    if (!FActive)
        Open();
    ClearRowSet();
    IKwMAPIRestrictionEx& node = MAPIFormOf(restriction, GetClassName(), u"FindFirst");
    const mapi::HRESULT hr = MAPITable()->FindRow(node.GetMAPIRestriction(), origin, forward ? 0 : mapi::DIR_BACKWARD);
    switch (hr) {
    case mapi::MAPI_E_NOT_FOUND:
    case mapi::MAPI_E_INVALID_BOOKMARK:
        FEOF = true;
        return;
    case mapi::MAPI_W_POSITION_CHANGED:
        return;
    default:
        CheckMAPIResult(GetClassName(), u"FindFirst", hr, FMAPISide.Get());
    }
    found = true;
    FEOF = false;
    if (!GetRowset(1, true, true))
        FEOF = true;
    MarkFoundRow();
}

void TKwMAPITable::MarkFoundRow()
{
    CheckMAPIResult(GetClassName(), u"FreeBookmark", FreeSearchBookmark(), FMAPISide.Get());
    if (!FEOF)
        CheckMAPIResult(GetClassName(), u"CreateBookmark", MAPITable()->CreateBookmark(&FSearchBookmark),
                        FMAPISide.Get());
}

mapi::HRESULT TKwMAPITable::FreeSearchBookmark()
{
    const mapi::BOOKMARK bookmark = std::exchange(FSearchBookmark, 0);
    if (bookmark == 0 || MAPITable() == nullptr)
        return mapi::S_OK;
    const mapi::HRESULT hr = MAPITable()->FreeBookmark(bookmark);
    return hr == mapi::MAPI_E_INVALID_BOOKMARK ? mapi::S_OK : hr; // the client has dropped it already
}

} // namespace deftmapi
