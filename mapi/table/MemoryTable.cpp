// The cursor of tables in memory, and the changing of their rows. Sorting, filtering, searching and copying are in
// MemoryTableRows.cpp.
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "mapi/table/MemoryTableRow.hpp"
#include "mapi/table/TableTexts.hpp"

#include <algorithm>

namespace deftmapi
{

TKwMAPIMemoryTable::TKwMAPIMemoryTable(TKwMAPIObject* owner) : TKwMAPITableBase(owner) {}

TKwMAPIMemoryTable::~TKwMAPIMemoryTable() = default;

void TKwMAPIMemoryTable::Open()
{
    if (FActive)
        return;
    FActive = true;
    First();
}

void TKwMAPIMemoryTable::Close()
{
    FActive = false;
    FCurrent = -1;
    FEOF = false;
}

void TKwMAPIMemoryTable::EnsureActive()
{
    if (!FActive)
        Open();
}

void TKwMAPIMemoryTable::GoTo(std::int64_t index, bool beyondIsEOF)
{
    const std::int64_t last = ShownRows() - 1;
    FEOF = last < 0 || (index > last && beyondIsEOF);
    FCurrent = static_cast<std::int32_t>(std::clamp<std::int64_t>(index, last < 0 ? -1 : 0, last));
}

void TKwMAPIMemoryTable::First()
{
    EnsureActive();
    GoTo(0, true);
}

void TKwMAPIMemoryTable::MoveBy(TKwMapiTableBookmark origin, std::int32_t count)
{
    EnsureActive();
    switch (origin) {
    case tbkBeginning:
        return GoTo(count, true);
    case tbkCurrentRelative:
        if (count != 0 && (count < 0 || !FEOF))
            GoTo(std::int64_t{FCurrent} + count, true);
        return;
    case tbkEnd:
        return GoTo(std::int64_t{ShownRows()} + count, false);
    }
}

void TKwMAPIMemoryTable::SeekRow(TKwMapiTableBookmark bookmark, std::int32_t rows, WordBool& found)
{
    found = false;
    if (bookmark != tbkBeginning && bookmark != tbkCurrentRelative && bookmark != tbkEnd)
        CheckMAPIResult(GetClassName(), u"SeekRow", mapi::MAPI_E_INVALID_PARAMETER);
    EnsureActive();
    const std::int64_t base = bookmark == tbkBeginning ? 0 : bookmark == tbkEnd ? ShownRows() : FCurrent;
    const std::int64_t target = base + rows;
    GoTo(target, true);
    found = target >= 0 && target < ShownRows();
}

WordBool TKwMAPIMemoryTable::Get_EOF()
{
    EnsureActive();
    return FEOF;
}

std::int32_t TKwMAPIMemoryTable::Get_RowCount()
{
    EnsureActive();
    return ShownRows();
}

TKwMAPIMemoryTable::TRow& TKwMAPIMemoryTable::CurrentRow() const
{
    if (FCurrent < 0)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNoRecord)->Raise();
    return *FShown[static_cast<std::size_t>(FCurrent)];
}

const mapi::SPropValue& TKwMAPIMemoryTable::GetFieldValueEx(TKwMAPITableField& field)
{
    EnsureActive();
    if (field.Table() != this)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNotAField, {field.PropInfo().PropName()})->Raise();
    if (const mapi::SPropValue* value = CurrentRow().Find(field.PropInfo()))
        return *value;
    FAbsent.ulPropTag = mapi::CHANGE_PROP_TYPE(field.GetPropTag(), mapi::PT_ERROR);
    FAbsent.Value.err = mapi::MAPI_E_NOT_FOUND;
    return FAbsent;
}

void TKwMAPIMemoryTable::Insert()
{
    EnsureActive();
    Edit();
    FShown.reserve(FShown.size() + 1);
    FRows.push_back(std::make_unique<TRow>());
    FShown.push_back(FRows.back().get());
    FModified = true;
    GoTo(ShownRows() - 1, true);
}

void TKwMAPIMemoryTable::Delete()
{
    CheckEOF();
    Edit();
    const TRow* row = &CurrentRow();
    FShown.erase(FShown.begin() + FCurrent);
    FRows.erase(std::find_if(FRows.begin(), FRows.end(), [row](const auto& held) { return held.get() == row; }));
    FModified = true;
    GoTo(FCurrent, true);
}

void TKwMAPIMemoryTable::SetFieldValue(TKwMAPIPropDef def, const TKwVariant& value)
{
    SetFieldValue(Fields().GetField(def), value);
}

void TKwMAPIMemoryTable::SetFieldValue(TKwMAPITableField& field, const TKwVariant& value)
{
    if (field.Table() != this)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNotAField, {field.PropInfo().PropName()})->Raise();
    CheckEOF();
    Edit();
    CurrentRow().Set(field.PropInfo(), field.GetPropTag(), value);
    FModified = true;
}

void TKwMAPIMemoryTable::Clear()
{
    EnsureActive();
    Edit();
    FShown.clear();
    FRows.clear();
    FModified = true;
    GoTo(0, true);
}

} // namespace deftmapi
