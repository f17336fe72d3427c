// Tables whose rows are in memory: recipients while they are edited, the rows of table events, copies of other tables.
//
// A row has values for property definitions, not for columns: fields may come and go, a value stays with its row.
// Values are kept in their MAPI form and converted when they are set, so that a value which does not fit its property
// is refused there and not when the rows are used.
#pragma once

#include "mapi/table/uKwMAPITable.hpp"

#include <memory>
#include <vector>

namespace deftmapi
{

/// Rows in memory. It is open from the beginning; after Close every operation opens it again.
///
/// A derived class overrides Edit to refuse or prepare changes, and Open to bring rows (it calls the base first).
class DEFTMAPI_API TKwMAPIMemoryTable : public TKwMAPITableBase, public virtual IKwMAPIMemoryTable
{
public:
    /// @param owner  resolves named properties and is kept alive; may be null
    explicit TKwMAPIMemoryTable(TKwMAPIObject* owner = nullptr);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIMemoryTable"; }

    void Open() override;
    /// The rows stay.
    void Close() override;
    [[nodiscard]] WordBool Get_Active() const noexcept override { return FActive; }
    void First() override;
    void Next() override { MoveBy(tbkCurrentRelative, 1); }
    void Previous() override { MoveBy(tbkCurrentRelative, -1); }
    void Last() override { MoveBy(tbkEnd, 0); }
    void MoveBy(TKwMapiTableBookmark origin, std::int32_t count) override;
    void SeekRow(TKwMapiTableBookmark bookmark, std::int32_t rows, WordBool& found) override;
    [[nodiscard]] WordBool Get_EOF() override;
    /// The shown rows.
    [[nodiscard]] std::int32_t Get_RowCount() override;
    /// Without effect: nothing is read in batches.
    [[nodiscard]] std::int32_t Get_BatchSize() const noexcept override { return FBatchSize; }
    void Set_BatchSize(std::int32_t rows) noexcept override { FBatchSize = rows; }
    [[nodiscard]] TKwMAPICursorType Get_CursorType() const noexcept override { return ctDynamic; }
    /// The fields are the table's own columns already.
    void QueryColumns() override {}
    /// Sorts the rows once and goes to the first. Rows without a value come before those with one; texts are compared
    /// without regard to case; rows that are equal keep their order.
    void Sort(TKwMAPIPropDef def, WordBool descending) override;
    void Sort(const std::vector<TKwMAPISortKey>& keys) override;

    /// Valid until the value is set again or the row is deleted. A row without the value gives PT_ERROR with
    /// MAPI_E_NOT_FOUND, in a record that lasts until the next call.
    [[nodiscard]] const mapi::SPropValue& GetFieldValueEx(TKwMAPITableField& field) override;

    void Edit() override {}
    [[nodiscard]] WordBool GetModified() const noexcept override { return FModified; }
    void SetModified(WordBool modified) override { FModified = modified; }
    void Insert() override;
    void Delete() override;
    void SetFieldValue(TKwMAPIPropDef def, const TKwVariant& value) override;
    void SetFieldValue(TKwMAPITableField& field, const TKwVariant& value);
    void Clear() override;
    void Locate(const std::vector<TKwMAPIFieldValue>& values, WordBool& found) override;
    void Locate(TKwMAPIPropDef def, const TKwVariant& value, WordBool& found) override;
    void FilterRows(TKwMAPIRowPredicate predicate) override;
    /// All or, when a row can not be read or converted, nothing: the table stays as it was.
    void CopyFrom(IKwMAPITable& table) override;
    /// All rows or, when one of them can not be read or converted, none.
    void CopyDataFrom(IKwMAPITable& table) override;

protected:
    ~TKwMAPIMemoryTable() override;

private:
    class TRow;
    class TRowView;
    using TRows = std::vector<std::unique_ptr<TRow>>;
    /// A field of another table, and what its values become here. The tag is only there when there are values.
    struct TColumn
    {
        TKwRef<IKwMAPITableField> From;
        const TKwMAPIPropInfo* Info;
        mapi::ULONG Tag;
    };

    void EnsureActive();
    void GoTo(std::int64_t index, bool beyondIsEOF);
    [[nodiscard]] TRow& CurrentRow() const;
    [[nodiscard]] static TRows ReadRows(IKwMAPITable& table, const std::vector<TColumn>& columns);
    void AddRows(TRows rows);
    [[nodiscard]] std::int32_t ShownRows() const noexcept { return static_cast<std::int32_t>(FShown.size()); }

    TRows FRows;
    std::vector<TRow*> FShown; // those that the filter lets through, in the order of FRows
    std::int32_t FCurrent = -1;
    bool FEOF = true;
    bool FActive = true;
    bool FModified = false;
    std::int32_t FBatchSize = 20;
    mapi::SPropValue FAbsent{}; // what GetFieldValueEx returns for a row without the value
};

} // namespace deftmapi
