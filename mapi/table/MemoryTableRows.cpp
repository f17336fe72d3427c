// Tables in memory: the order of the rows, which of them are shown, finding one, and copying them from other tables.
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/table/MemoryTableRow.hpp"

#include <algorithm>
#include <map>

namespace deftmapi
{

namespace
{

template <typename T>
int Order(const T& a, const T& b)
{
    return a < b ? -1 : b < a ? 1 : 0;
}

bool IsText(const TKwVariant& value)
{
    return value.Kind() == TKwVarKind::vkWideString || value.Kind() == TKwVarKind::vkAnsiString;
}

/// The order of two values of one property: negative, 0 or positive.
int Compare(const TKwVariant& a, const TKwVariant& b)
{
    if (a.IsEmptyOrNull() || b.IsEmptyOrNull())
        return Order(!a.IsEmptyOrNull(), !b.IsEmptyOrNull());
    if (IsText(a))
        return Order(KwLowerCase(a.AsStringW()), KwLowerCase(b.AsStringW()));
    switch (a.Kind()) {
    case TKwVarKind::vkBytes:
        return Order(a.AsBytes(), b.AsBytes());
    case TKwVarKind::vkArray: {
        const TKwVariant::Array& left = *a.TryGet<TKwVariant::Array>();
        const TKwVariant::Array right = b.AsArray();
        for (std::size_t i = 0; i < std::min(left.size(), right.size()); ++i)
            if (const int order = Compare(left[i], right[i]))
                return order;
        return Order(left.size(), right.size());
    }
    case TKwVarKind::vkFileTime:
        return Order(a.AsFileTime().Ticks, b.AsFileTime().Ticks);
    case TKwVarKind::vkBoolean:
        return Order(a.AsBoolean(), b.AsBoolean());
    case TKwVarKind::vkCurrency:
        return Order(a.AsCurrency().Units, b.AsCurrency().Units);
    case TKwVarKind::vkSingle:
    case TKwVarKind::vkDouble:
    case TKwVarKind::vkDate:
        return Order(a.AsFloat(), b.AsFloat());
    default:
        return Order(a.AsLargeInteger(), b.AsLargeInteger());
    }
}

} // namespace

void TKwMAPIMemoryTable::Sort(TKwMAPIPropDef def, WordBool descending)
{
    Sort(std::vector<TKwMAPISortKey>{{def, descending}});
}

void TKwMAPIMemoryTable::Sort(const std::vector<TKwMAPISortKey>& keys)
{
    EnsureActive();
    // Values are fetched once a row, not once a comparison.
    std::map<const TRow*, std::vector<TKwVariant>> values;
    for (const TKwMAPISortKey& key : keys) {
        const TKwMAPIPropInfo& info = Fields().GetField(key.PropDef).PropInfo();
        for (const auto& row : FRows)
            values[row.get()].push_back(row->Get(info));
    }
    const auto before = [&](const TRow* a, const TRow* b) {
        const std::vector<TKwVariant>& left = values[a];
        const std::vector<TKwVariant>& right = values[b];
        for (std::size_t i = 0; i < keys.size(); ++i)
            if (const int order = Compare(left[i], right[i]))
                return keys[i].Descending ? order > 0 : order < 0;
        return false;
    };
    std::stable_sort(FRows.begin(), FRows.end(),
                     [&](const auto& a, const auto& b) { return before(a.get(), b.get()); });
    std::stable_sort(FShown.begin(), FShown.end(), before);
    GoTo(0, true);
}

void TKwMAPIMemoryTable::FilterRows(TKwMAPIRowPredicate predicate)
{
    EnsureActive();
    std::vector<TRow*> shown;
    for (const auto& row : FRows)
        if (!predicate || predicate(TRowView(Fields(), *row)))
            shown.push_back(row.get());
    FShown = std::move(shown);
    GoTo(0, true);
}

void TKwMAPIMemoryTable::Locate(TKwMAPIPropDef def, const TKwVariant& value, WordBool& found)
{
    Locate(std::vector<TKwMAPIFieldValue>{{def, value}}, found);
}

void TKwMAPIMemoryTable::Locate(const std::vector<TKwMAPIFieldValue>& values, WordBool& found)
{
    EnsureActive();
    found = false;
    struct TWanted
    {
        const TKwMAPIPropInfo* Info;
        TKwVariant Value;
    };
    std::vector<TWanted> wanted;
    for (const auto& [def, value] : values) {
        TKwMAPITableField& field = Fields().GetField(def);
        wanted.push_back(
            {&field.PropInfo(), value.IsEmptyOrNull() ? TKwVariant() : TRow::AsKept(field.GetPropTag(), value)});
    }
    const auto matches = [&wanted](const TRow* row) {
        return std::all_of(wanted.begin(), wanted.end(),
                           [row](const TWanted& one) { return row->Get(*one.Info) == one.Value; });
    };
    const auto row = std::find_if(FShown.begin(), FShown.end(), matches);
    found = row != FShown.end();
    if (found)
        GoTo(row - FShown.begin(), true);
}

// Both copies read first and change then: a table may be copied into itself, and what fails half-way has changed
// nothing.

void TKwMAPIMemoryTable::CopyFrom(IKwMAPITable& table)
{
    if (&table == static_cast<IKwMAPITable*>(this))
        return;
    EnsureActive();
    Edit();
    table.Open(); // a table without fields chosen gets its columns now; one whose session has ended says so
    table.First();
    const bool empty = table.Get_EOF();
    std::vector<TColumn> columns;
    const TKwRef<IKwMAPITableFields> fields = table.Get_Fields();
    for (std::int32_t i = 0, count = fields->Get_Count(); i < count; ++i) {
        const TKwRef<IKwMAPITableField> field = fields->Get_Item(i);
        const TKwMAPIPropInfo& info = GetPropInfo(field->Get_PropDef());
        // The tag of a named property comes along: it may be of a store that this table does not know.
        auto* known = dynamic_cast<TKwMAPITableField*>(field.Get());
        columns.push_back({field, &info, known != nullptr ? known->GetPropTag() : empty ? 0 : GetPropTag(info)});
    }
    auto rows = ReadRows(table, columns);
    Clear();
    Fields().Clear();
    for (const TColumn& column : columns)
        Fields().AddField(*column.Info, column.Tag);
    AddRows(std::move(rows));
}

void TKwMAPIMemoryTable::CopyDataFrom(IKwMAPITable& table)
{
    EnsureActive();
    table.First(); // before its fields are looked at: opening it may choose them
    const bool empty = table.Get_EOF();
    std::vector<TColumn> columns;
    const TKwRef<IKwMAPITableFields> fields = table.Get_Fields();
    for (std::int32_t i = 0, count = fields->Get_Count(); i < count; ++i) {
        const TKwRef<IKwMAPITableField> field = fields->Get_Item(i);
        if (TKwMAPITableField* own = Fields().FindField(GetPropInfo(field->Get_PropDef())))
            columns.push_back({field, &own->PropInfo(), empty ? 0 : own->GetPropTag()});
    }
    auto rows = ReadRows(table, columns);
    Edit();
    AddRows(std::move(rows));
}

TKwMAPIMemoryTable::TRows TKwMAPIMemoryTable::ReadRows(IKwMAPITable& table, const std::vector<TColumn>& columns)
{
    TRows rows;
    for (; !table.Get_EOF(); table.Next()) {
        rows.push_back(std::make_unique<TRow>());
        for (const TColumn& column : columns)
            rows.back()->Set(*column.Info, column.Tag, column.From->Get_Value());
    }
    return rows;
}

void TKwMAPIMemoryTable::AddRows(TRows rows)
{
    FShown.reserve(FShown.size() + rows.size());
    FRows.reserve(FRows.size() + rows.size());
    for (auto& row : rows) {
        FShown.push_back(row.get());
        FRows.push_back(std::move(row));
    }
    FModified = true;
    GoTo(0, true);
}

} // namespace deftmapi
