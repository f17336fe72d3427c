// Filtering and searching.
//
// A search that finds a row leaves two bookmarks on the MAPI table: on that row, where FindPrevious goes on, and behind
// it, where FindNext does. When the found row is deleted meanwhile, neither misses one; when the one behind it is, the
// client cannot tell FindNext where to go on, and it finds nothing.
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
    const auto restrict = [this](mapi::SRestriction* record) {
        const mapi::HRESULT hr = Restrict(record);
        if (hr == mapi::MAPI_E_BUSY)
            RaiseBusy(sFilterBusy);
        if (hr == mapi::MAPI_E_TOO_COMPLEX)
            CreateKwMAPIException(hr, sFilterTooComplex, {GetClassName()})->Raise();
        CheckMAPIResult(GetClassName(), u"Restrict", hr, FMAPISide.Get());
    };
    if (FFilter) {
        restrict(nullptr);
        FFilter.Reset();
    }
    if (FActive)
        CheckMAPIResult(GetClassName(), u"FreeBookmark", CloseCursor(), FMAPISide.Get());
    if (filter) {
        // Held once the MAPI table has taken it: a table without a filter can be searched and filtered again.
        restrict(filter->GetMAPIRestriction());
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

void TKwMAPITable::FindFirst(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found)
{
    Search(restriction, mapi::BOOKMARK_BEGINNING, true, found);
}

void TKwMAPITable::FindLast(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found)
{
    Search(restriction, mapi::BOOKMARK_END, false, found);
}

void TKwMAPITable::FindNext(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found)
{
    Search(restriction, FSearchBookmark != 0 ? FSearchBookmark : mapi::BOOKMARK_BEGINNING, true, found);
}

void TKwMAPITable::FindPrevious(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found)
{
    found = false;
    if (FFoundBookmark == 0)
        return Search(restriction, mapi::BOOKMARK_END, false, found);
    CheckUnfiltered();
    // A search backwards begins before its origin. Of the row found last only the place counts: it may be gone.
    std::int32_t sought = 0;
    FEOF = false;
    SeekMAPI(FFoundBookmark, 0, sought, true);
    if (!FEOF)
        Search(restriction, mapi::BOOKMARK_CURRENT, false, found);
}

void TKwMAPITable::FindRow(const TKwRef<IKwMAPIRestriction>& restriction, TKwMapiTableBookmark origin, WordBool forward,
                           WordBool& found)
{
    if (origin == tbkCurrentRelative && FRowSet) {
        CheckUnfiltered();
        std::int32_t sought = 0;
        if (!FIsFound)
            SeekMAPI(mapi::BOOKMARK_CURRENT, DistanceTo(tbkCurrentRelative, 0), sought);
        else if (!forward) // forward the MAPI position is already where the next search begins
            SeekMAPI(FFoundBookmark, 0, sought, true);
    }
    Search(restriction, static_cast<mapi::BOOKMARK>(origin), forward, found);
}

void TKwMAPITable::Search(const TKwRef<IKwMAPIRestriction>& restriction, mapi::BOOKMARK origin, bool forward,
                          WordBool& found)
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
    FEOF = false;
    ReadFoundRow();
    found = FEOF || FFoundBookmark != 0;
    if (!found) { // the session ended before the row was read: this is the first one of the table that was fetched then
        ClearRowSet();
        ReplaceBookmark(FSearchBookmark, false);
        FIsFound = false;
    }
}

void TKwMAPITable::ReadFoundRow()
{
    ReplaceBookmark(FFoundBookmark, true);
    if (!GetRowset(1, true, true))
        FEOF = true;
    if (FEOF)
        ReplaceBookmark(FFoundBookmark, false);
    ReplaceBookmark(FSearchBookmark, !FEOF);
    FIsFound = !FEOF;
}

void TKwMAPITable::ReplaceBookmark(mapi::BOOKMARK& bookmark, bool create)
{
    CheckMAPIResult(GetClassName(), u"FreeBookmark", FreeBookmark(bookmark), FMAPISide.Get());
    if (create)
        CheckMAPIResult(GetClassName(), u"CreateBookmark", MAPITable()->CreateBookmark(&bookmark), FMAPISide.Get());
}

mapi::HRESULT TKwMAPITable::FreeBookmark(mapi::BOOKMARK& held)
{
    const mapi::BOOKMARK bookmark = std::exchange(held, 0);
    if (bookmark == 0 || MAPITable() == nullptr)
        return mapi::S_OK;
    const mapi::HRESULT hr = MAPITable()->FreeBookmark(bookmark);
    return hr == mapi::MAPI_E_INVALID_BOOKMARK ? mapi::S_OK : hr; // the client has dropped it already
}

mapi::HRESULT TKwMAPITable::FreeBookmarks()
{
    const mapi::HRESULT found = FreeBookmark(FFoundBookmark);
    const mapi::HRESULT behind = FreeBookmark(FSearchBookmark);
    return found != mapi::S_OK ? found : behind;
}

} // namespace deftmapi
