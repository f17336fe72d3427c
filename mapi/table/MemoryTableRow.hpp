// A row of a memory table: the values that it has, each under its property definition.
#pragma once

#include "mapi/core/uKwMAPIPropValue.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "mapi/table/uKwMAPIMemoryTable.hpp"

#include <algorithm>

namespace deftmapi
{

class TKwMAPIMemoryTable::TRow
{
public:
    /// Null when the row has no value for the definition.
    [[nodiscard]] const mapi::SPropValue* Find(const TKwMAPIPropInfo& info) const noexcept
    {
        for (const TCell& cell : FCells)
            if (cell.Info == &info)
                return &cell.Value.Value();
        return nullptr;
    }
    [[nodiscard]] TKwVariant Get(const TKwMAPIPropInfo& info) const
    {
        const mapi::SPropValue* value = Find(info);
        return value != nullptr ? KwPropValueToVariant(*value) : TKwVariant();
    }
    /// Empty and Null remove the value. Nothing changes when the value does not convert.
    void Set(const TKwMAPIPropInfo& info, mapi::ULONG tag, const TKwVariant& value)
    {
        const auto found =
            std::find_if(FCells.begin(), FCells.end(), [&](const TCell& cell) { return cell.Info == &info; });
        if (value.IsEmptyOrNull()) {
            if (found != FCells.end())
                FCells.erase(found);
            return;
        }
        TKwMAPIPropValue converted = Converted(tag, value);
        if (found != FCells.end())
            found->Value = std::move(converted);
        else
            FCells.push_back({&info, std::move(converted)});
    }

    /// A value as Get gives it once Set has taken it. REQUIRES: it is neither Empty nor Null.
    [[nodiscard]] static TKwVariant AsKept(mapi::ULONG tag, const TKwVariant& value)
    {
        return KwPropValueToVariant(Converted(tag, value).Value());
    }

private:
    /// A column of one value per row holds a single value here, too.
    [[nodiscard]] static TKwMAPIPropValue Converted(mapi::ULONG tag, const TKwVariant& value)
    {
        return {(tag & mapi::MV_INSTANCE) != 0 ? tag & ~mapi::MVI_FLAG : tag, value};
    }

    struct TCell
    {
        const TKwMAPIPropInfo* Info; // owned by the registry
        TKwMAPIPropValue Value;
    };
    std::vector<TCell> FCells;
};

/// A row with the fields through which it is looked at.
class TKwMAPIMemoryTable::TRowView final : public IKwMAPIMemoryRow
{
public:
    TRowView(const TKwMAPITableFields& fields, const TRow& row) : FFields(fields), FRow(row) {}
    [[nodiscard]] TKwVariant GetFieldValue(TKwMAPIPropDef def) const override
    {
        return FRow.Get(FFields.GetField(def).PropInfo());
    }

private:
    const TKwMAPITableFields& FFields;
    const TRow& FRow;
};

} // namespace deftmapi
