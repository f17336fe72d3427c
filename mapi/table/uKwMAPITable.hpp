// Tables as record cursors: choose fields, open, walk with First and Next until Get_EOF, read the fields of the current
// row. Rows come from MAPI in batches and are kept, so a walk costs one QueryRows a batch.
//
// A table keeps the object that produced it alive. Its MAPI table is released at logoff like that of any wrapper; from
// then on the table is without rows. Fields and field lists only know their table: they fail once it is gone.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/core/uKwMAPIProps.hpp"

#include <functional>
#include <optional>
#include <span>

namespace deftmapi
{

class TKwMAPITableBase;
class TKwMAPITableFields;

/// One column. REQUIRES: its table lives; every use fails otherwise.
class DEFTMAPI_API TKwMAPITableField : public TKwMAPIObject, public virtual IKwMAPITableField
{
public:
    /// @param tag  the column's property tag, or 0 when it is to be resolved from the definition
    TKwMAPITableField(TKwMAPITableBase& table, const TKwMAPIPropInfo& info, mapi::ULONG tag);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPITableField"; }
    [[nodiscard]] TKwMAPIPropDef Get_PropDef() const override;
    [[nodiscard]] WideString Get_PropName() const override;
    [[nodiscard]] TKwVariant Get_Value() override;
    [[nodiscard]] std::int32_t Get_AsInteger() override { return Get_Value().AsInteger(); }
    [[nodiscard]] WideString Get_AsString() override { return Get_Value().AsStringW(); }
    [[nodiscard]] bool Get_AsBoolean() override { return Get_Value().AsBoolean(); }
    [[nodiscard]] TKwDate Get_AsDateTime() override { return Get_Value().AsDateTime(); }

    [[nodiscard]] const TKwMAPIPropInfo& PropInfo() const noexcept { return *FInfo; }
    /// The tag for the table's store; resolved on first use.
    [[nodiscard]] mapi::ULONG GetPropTag();

    // Where the column stands in a row: under its own tag, and for a text property under the 8-bit and the wide form
    // of that tag. -1: it does not stand there.
    [[nodiscard]] std::int32_t Index() const noexcept { return FIndex; }
    [[nodiscard]] std::int32_t AnsiIndex() const noexcept { return FAnsiIndex; }
    [[nodiscard]] std::int32_t WideIndex() const noexcept { return FWideIndex; }
    /// Finds the three indexes among the columns of the open table.
    void LocateIn(std::span<const mapi::ULONG> columns);
    /// The table, or null when it has been destroyed.
    [[nodiscard]] const TKwMAPITableBase* Table() const noexcept { return FTable; }

protected:
    void DoOwnerDestroyed() noexcept override { FTable = nullptr; }

private:
    TKwMAPITableBase& CheckTable() const;

    TKwMAPITableBase* FTable;
    const TKwMAPIPropInfo* FInfo;
    mapi::ULONG FTag;
    std::int32_t FIndex = -1;
    std::int32_t FAnsiIndex = -1;
    std::int32_t FWideIndex = -1;
};

/// The columns of one table, in their order. REQUIRES: the table lives; every use fails otherwise.
class DEFTMAPI_API TKwMAPITableFields : public TKwMAPIObject, public virtual IKwMAPITableFields
{
public:
    explicit TKwMAPITableFields(TKwMAPITableBase& table);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPITableFields"; }
    TKwRef<IKwMAPITableField> Add(TKwMAPIPropDef def) override;
    /// Adds a column by its definition's record.
    TKwRef<IKwMAPITableField> Add2(const TKwMAPIPropInfo& info);
    /// Adds a column of the table by its tag; a tag without a definition gets one.
    TKwRef<IKwMAPITableField> Add3(mapi::ULONG tag, const mapi::MAPINAMEID* nameID);
    void Delete(std::int32_t index) override;
    void Remove(IKwMAPITableField& field) override;
    void Clear() override;
    [[nodiscard]] std::int32_t Get_Count() const override;
    [[nodiscard]] TKwRef<IKwMAPITableField> Get_Item(std::int32_t index) const override;
    /// @throws EMAPI_INVALID_PARAMETER  "There is no field %s!"
    [[nodiscard]] TKwRef<IKwMAPITableField> FieldByName(TKwMAPIPropDef def) const override;

    /// The column of a definition: the field of that very definition, else one with the same tag, else the other text
    /// form of it; null when there is none. Adds no reference.
    [[nodiscard]] TKwMAPITableField* FindField(const TKwMAPIPropInfo& info) const;
    /// An SPropTagArray of the fields in their order, for SetColumns: the count, then the tags.
    [[nodiscard]] std::vector<mapi::ULONG> CreatePropTagArray();
    /// Tells every field the columns that the open table has.
    void LocateIn(std::span<const mapi::ULONG> columns);

protected:
    void DoOwnerDestroyed() noexcept override { FTable = nullptr; }

private:
    TKwMAPITableBase& CheckTable() const;
    void CheckIndex(std::int32_t index) const;

    TKwMAPITableBase* FTable;
    std::vector<TKwRef<TKwMAPITableField>> FFields;
};

/// The base of every kind of table: fields, the owner that resolves property tags, and operations that refuse.
class DEFTMAPI_API TKwMAPITableBase : public TKwMAPIObject, public virtual IKwMAPITable
{
public:
    /// @param owner  the object that produced the table; kept alive
    explicit TKwMAPITableBase(TKwMAPIObject* owner);

    [[nodiscard]] TKwRef<IKwMAPITableFields> Get_Fields() override;
    [[nodiscard]] TKwVariant GetFieldValue(TKwMAPIPropDef def) override;

    // Refused here, offered by the kinds that can. @throws EMAPI_NOT_SUPPORTED
    void SeekRow(TKwMapiTableBookmark bookmark, std::int32_t rows, bool& found) override;
    void Sort(TKwMAPIPropDef def, bool descending) override;
    virtual void Insert();
    virtual void Delete();
    /// @throws EMAPI_NO_ACCESS  "The table is readonly!"
    virtual void SetFieldValue(TKwMAPIPropDef def, const TKwVariant& value);
    /// @throws EMAPI_NO_ACCESS  "The CursorType is a readonly property!"
    virtual void Set_CursorType(TKwMAPICursorType cursorType);
    /// @throws EMAPI_CALL_FAILED  "The table is EOF!"
    void CheckEOF();

    /// The value of a field in the current row. Points into the cached row: valid until the cursor leaves the batch.
    /// @throws EMAPI_CALL_FAILED        there is no current row
    /// @throws EMAPI_INVALID_PARAMETER  the table has no such column
    virtual const mapi::SPropValue& GetFieldValueEx(TKwMAPITableField& field) = 0;

    /// The tag of a definition for the store of the owner.
    [[nodiscard]] mapi::ULONG GetPropTag(const TKwMAPIPropInfo& info);
    /// Frees the MAPI memory that the table gets.
    [[nodiscard]] virtual IKwMAPIWrapper& MemoryOwner() = 0;

protected:
    [[nodiscard]] TKwMAPITableFields& Fields() noexcept { return *FFields; }
    [[nodiscard]] TKwMAPIObject* TableOwner() const noexcept { return FTableOwner.Get(); }

private:
    TKwRef<TKwMAPIObject> FTableOwner;
    TKwRef<TKwMAPITableFields> FFields;
};

/// Gets the MAPI table (again): from a fresh MAPI object's method, checked.
using TKwMAPITableOpener = std::function<TKwComPtr<mapi::IMAPITable>()>;

/// A cursor over an IMAPITable.
class DEFTMAPI_API TKwMAPITable : public TKwMAPITableBase
{
public:
    /// @param owner   the property object that produced the table; kept alive
    /// @param table   the table; a reference is added
    /// @param reopen  makes a new table when the client reports the end of its session; may be empty
    TKwMAPITable(TKwMAPIWrapper& owner, mapi::IMAPITable* table, TKwMAPITableOpener reopen);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPITable"; }

    void Open() override;
    void Close() override;
    [[nodiscard]] bool Get_Active() const noexcept override { return FActive; }
    void First() override;
    void Next() override { MoveBy(tbkCurrentRelative, 1); }
    void Previous() override { MoveBy(tbkCurrentRelative, -1); }
    void Last() override { MoveBy(tbkEnd, 0); }
    void MoveBy(TKwMapiTableBookmark origin, std::int32_t count) override;
    void SeekRow(TKwMapiTableBookmark bookmark, std::int32_t rows, bool& found) override;
    [[nodiscard]] bool Get_EOF() override;
    [[nodiscard]] std::int32_t Get_RowCount() override;
    [[nodiscard]] std::int32_t Get_BatchSize() const noexcept override { return FBatchSize; }
    void Set_BatchSize(std::int32_t rows) noexcept override { FBatchSize = rows; }
    [[nodiscard]] TKwMAPICursorType Get_CursorType() const noexcept override { return ctDynamic; }
    void QueryColumns() override;
    void Sort(TKwMAPIPropDef def, bool descending) override;
    [[nodiscard]] const mapi::SPropValue& GetFieldValueEx(TKwMAPITableField& field) override;

    /// Moves the MAPI position and drops the cached rows. @param sought  rows really moved, negative backwards
    void MAPISeekRow(TKwMapiTableBookmark origin, std::int32_t rows, std::int32_t& sought);
    /// Reads up to count rows from the MAPI position into the cache, where the first is current; at the end the last
    /// row of the table, with EOF set. False: nothing came back.
    /// @param advance      the MAPI position moves past the rows
    /// @param raiseErrors  errors of the read at the end are raised instead of setting EOF
    bool GetRowset(std::int32_t count, bool advance, bool raiseErrors);
    void ClearRowSet() noexcept;
    /// The MAPI table, or null after logoff. Adds no reference.
    [[nodiscard]] mapi::IMAPITable* MAPITable() const noexcept;
    [[nodiscard]] IKwMAPIWrapper& MemoryOwner() override;

protected:
    ~TKwMAPITable() override;

private:
    class TMAPISide;

    void MAPIObjectReplaced(bool active) noexcept;
    [[nodiscard]] bool Refetch();
    void SetColumns();
    [[nodiscard]] mapi::HRESULT ApplyColumns();
    void ReadRowCount(WideView methodName);
    [[nodiscard]] std::int32_t CountByWalking();
    [[nodiscard]] std::int32_t DistanceTo(TKwMapiTableBookmark origin, std::int32_t count) const noexcept;
    [[nodiscard]] mapi::HRESULT QueryRows(std::int32_t count, mapi::ULONG flags);
    [[noreturn]] void RaiseQueryRows(mapi::HRESULT hr);
    [[nodiscard]] bool OwnerIsExchangeAddressBook() const;
    [[nodiscard]] mapi::ULONG CachedRows() const noexcept { return FRowSet ? FRowSet->cRows : 0; }
    [[noreturn]] void RaiseBusy(WideView pattern) const;

    TKwRef<TMAPISide> FMAPISide;
    TKwMAPITableOpener FReopen;
    bool FActive = false;
    bool FEOF = false;
    TKwMAPIRowSet FRowSet;
    std::int32_t FCurrentIndex = -1;
    std::int32_t FRowCount = -1;
    std::int32_t FBatchSize = 20;
    std::int32_t FBeyondFirst = 0; // MAPI position less the position of the first cached row
    std::optional<mapi::SSortOrder> FSortOrder;
};

} // namespace deftmapi
