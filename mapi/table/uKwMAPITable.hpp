// Tables as record cursors: choose fields, open, walk with First and Next until Get_EOF, read the fields of the current
// row. Rows come from MAPI in batches and are kept, so a walk costs one QueryRows a batch.
//
// A table keeps the object that produced it alive. Its MAPI table is released at logoff like that of any wrapper; from
// then on the table is without rows. Fields and field lists only know their table: they fail once it is gone.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/table/uKwMAPIRestrictions.hpp"

#include <atomic>
#include <functional>
#include <memory>
#include <span>
#include <vector>

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
    void Set_Value(const TKwVariant& value) override;
    [[nodiscard]] std::int32_t Get_AsInteger() override { return Get_Value().AsInteger(); }
    [[nodiscard]] WideString Get_AsString() override { return Get_Value().AsStringW(); }
    [[nodiscard]] WordBool Get_AsBoolean() override { return Get_Value().AsBoolean(); }
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
    /// It is no column any more: taken out of the list, but perhaps still held by the application.
    void Forget() noexcept { FIndex = FAnsiIndex = FWideIndex = -1; }
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
    /// Adds a column whose definition and tag are both known.
    TKwRef<TKwMAPITableField> AddField(const TKwMAPIPropInfo& info, mapi::ULONG tag);
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
    /// The same; there must be one. @throws as FieldByName
    [[nodiscard]] TKwMAPITableField& GetField(TKwMAPIPropDef def) const;
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

    [[nodiscard]] TKwRef<IKwMAPIObject> Get_Owner() const override;
    [[nodiscard]] TKwRef<IKwMAPITableFields> Get_Fields() override;
    [[nodiscard]] TKwVariant GetFieldValue(TKwMAPIPropDef def) override;
    /// @throws EMAPI_NOT_SUPPORTED  no procedure is set
    void DisplayFields() override;

    // Refused here, offered by the kinds that can. @throws EMAPI_NOT_SUPPORTED
    void SeekRow(TKwMapiTableBookmark bookmark, std::int32_t rows, WordBool& found) override;
    void Sort(TKwMAPIPropDef def, WordBool descending) override;
    void Sort(const std::vector<TKwMAPISortKey>& keys) override;
    [[nodiscard]] TKwRef<IKwMAPIRestriction> CreateRestriction(TKwMAPIRestrictionType type) override;
    void Filter(const TKwRef<IKwMAPIRestriction>& restriction) override;
    void FindFirst(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) override;
    void FindLast(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) override;
    void FindNext(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) override;
    void FindPrevious(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) override;
    void FindRow(const TKwRef<IKwMAPIRestriction>& restriction, TKwMapiTableBookmark origin, WordBool forward,
                 WordBool& found) override;
    void Advise() override;
    void DEventConnect(const TKwRef<IKwMAPITableDEvents>& sink, WordBool connect) override;
    void Insert() override;
    void Delete() override;

    void UnAdvise() override {}
    [[nodiscard]] WordBool Get_Advised() const noexcept override { return false; }
    [[nodiscard]] WordBool HasDEventSinks() const override { return false; }
    /// @throws EMAPI_NO_ACCESS  "The table is readonly!"
    void SetFieldValue(TKwMAPIPropDef def, const TKwVariant& value) override;
    /// @throws EMAPI_NO_ACCESS  "The CursorType is a readonly property!"
    void Set_CursorType(TKwMAPICursorType cursorType) override;
    /// @throws EMAPI_CALL_FAILED  "The table is EOF!"
    void CheckEOF();

    /// The value of a field in the current row. Points into the cached row: valid until the cursor leaves the batch.
    /// @throws EMAPI_CALL_FAILED        there is no current row
    /// @throws EMAPI_INVALID_PARAMETER  the table has no such column
    virtual const mapi::SPropValue& GetFieldValueEx(TKwMAPITableField& field) = 0;

    /// The tag of a definition for the store of the owner.
    [[nodiscard]] mapi::ULONG GetPropTag(const TKwMAPIPropInfo& info);

protected:
    [[nodiscard]] TKwMAPITableFields& Fields() noexcept { return *FFields; }
    [[nodiscard]] TKwMAPIObject* TableOwner() const noexcept { return FTableOwner.Get(); }

private:
    TKwRef<TKwMAPIObject> FTableOwner;
    TKwRef<TKwMAPITableFields> FFields;
};

/// Shows the fields of a table; belongs to the application's user interface.
using TKwShowFieldsProc = std::function<void(IKwMAPITable& table)>;
/// Sets the procedure of DisplayFields; an empty one removes it. Process-wide, set before it is used.
DEFTMAPI_API void SetShowFieldsProc(TKwShowFieldsProc proc);

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
    [[nodiscard]] WordBool Get_Active() const noexcept override { return FActive; }
    void First() override;
    void Next() override { MoveBy(tbkCurrentRelative, 1); }
    void Previous() override { MoveBy(tbkCurrentRelative, -1); }
    void Last() override { MoveBy(tbkEnd, 0); }
    void MoveBy(TKwMapiTableBookmark origin, std::int32_t count) override;
    void SeekRow(TKwMapiTableBookmark bookmark, std::int32_t rows, WordBool& found) override;
    [[nodiscard]] WordBool Get_EOF() override;
    [[nodiscard]] std::int32_t Get_RowCount() override;
    [[nodiscard]] std::int32_t Get_BatchSize() const noexcept override { return FBatchSize; }
    void Set_BatchSize(std::int32_t rows) noexcept override { FBatchSize = rows; }
    [[nodiscard]] TKwMAPICursorType Get_CursorType() const noexcept override { return ctDynamic; }
    void QueryColumns() override;
    void Sort(TKwMAPIPropDef def, WordBool descending) override;
    void Sort(const std::vector<TKwMAPISortKey>& keys) override;
    [[nodiscard]] const mapi::SPropValue& GetFieldValueEx(TKwMAPITableField& field) override;

    /// @throws EMAPI_NOT_SUPPORTED  "Unsupported RestrictionType"
    [[nodiscard]] TKwRef<IKwMAPIRestriction> CreateRestriction(TKwMAPIRestrictionType type) override;
    /// @throws EMAPI_BUSY, EMAPI_TOO_COMPLEX and others; the table is closed and shows all rows then
    void Filter(const TKwRef<IKwMAPIRestriction>& restriction) override;
    void FindFirst(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) override;
    void FindLast(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) override;
    void FindNext(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) override;
    void FindPrevious(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) override;
    /// tbkCurrentRelative searches from the current row: forward it counts as the first, unless a search has found it;
    /// backward it is left out.
    void FindRow(const TKwRef<IKwMAPIRestriction>& restriction, TKwMapiTableBookmark origin, WordBool forward,
                 WordBool& found) override;

    /// @throws EMAPI_NO_SUPPORT  "The given table does not support notifications!"
    void Advise() override;
    void UnAdvise() override;
    [[nodiscard]] WordBool Get_Advised() const noexcept override;
    void DEventConnect(const TKwRef<IKwMAPITableDEvents>& sink, WordBool connect) override;
    [[nodiscard]] WordBool HasDEventSinks() const override;

    /// What the client calls through the advise sink: hands each notification to its dispatcher.
    /// @throws EKwAssertionFailed  a notification that is none of tables
    void OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications);
    // The dispatchers: each calls every connected sink, unless one of them destroys the table. What a sink throws stays
    // there (see KwCallServerSink). Nothing of the table may be used afterwards without a reference on it.
    void DoChanged();
    void DoError();
    void DoReload();
    void DoRestrictDone();
    void DoSetColDone();
    void DoSortDone();
    void DoRowAdded(const TKwBytes& key, IKwMAPIMemoryTable& row);
    void DoRowModified(const TKwBytes& key, IKwMAPIMemoryTable& row);
    void DoRowDeleted(const TKwBytes& key, IKwMAPIMemoryTable& row);
    void DoClose();

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
    /// Frees the MAPI memory that the table gets.
    [[nodiscard]] IKwMAPIWrapper& MemoryOwner();

protected:
    ~TKwMAPITable() override;
    /// Ends notifications; waits for one that is being delivered on another thread.
    void BeforeDestruction() noexcept override;

private:
    class TMAPISide;
    class TEventColumns;

    void MAPIObjectReplaced(bool active) noexcept;
    [[nodiscard]] bool Refetch();
    void RestoreView();
    void RestoreAdvise();
    [[nodiscard]] mapi::HRESULT CloseCursor();
    void SetColumns();
    [[nodiscard]] mapi::HRESULT ApplyColumns();
    [[nodiscard]] mapi::HRESULT ApplySortOrder();
    [[nodiscard]] mapi::HRESULT Restrict(mapi::SRestriction* restriction);
    void CheckUnfiltered() const;
    void Search(const TKwRef<IKwMAPIRestriction>& restriction, mapi::BOOKMARK origin, bool forward, WordBool& found);
    void ReadFoundRow();
    void ReplaceBookmark(mapi::BOOKMARK& bookmark, bool create);
    [[nodiscard]] mapi::HRESULT FreeBookmark(mapi::BOOKMARK& bookmark);
    [[nodiscard]] mapi::HRESULT FreeBookmarks();
    [[nodiscard]] mapi::HRESULT EndConnection(mapi::ULONG_PTR connection);
    [[nodiscard]] mapi::HRESULT EndAdvise();
    void EndAdviseQuietly() noexcept;
    void OnTableEvent(const mapi::TABLE_NOTIFICATION& event);
    void SeekMAPI(mapi::BOOKMARK origin, std::int32_t rows, std::int32_t& sought, bool mayHaveMoved = false);
    void TellColumns();
    void ReadRowCount(WideView methodName);
    [[nodiscard]] std::int32_t CountByWalking();
    [[nodiscard]] std::int32_t DistanceTo(TKwMapiTableBookmark origin, std::int32_t count) const noexcept;
    [[nodiscard]] mapi::HRESULT QueryRows(std::int32_t count, mapi::ULONG flags);
    [[noreturn]] void RaiseQueryRows(mapi::HRESULT hr);
    [[nodiscard]] bool OwnerIsExchangeAddressBook() const;
    [[nodiscard]] mapi::ULONG CachedRows() const noexcept { return FRowSet ? FRowSet->cRows : 0; }
    [[noreturn]] void RaiseBusy(WideView pattern) const;
    [[noreturn]] void RaiseNoMAPIObject() const;

    const std::shared_ptr<TKwAdvised<TKwMAPITable, IKwMAPITableDEvents>> FAdvised;
    const std::unique_ptr<TEventColumns> FEventColumns;
    TKwRef<TMAPISide> FMAPISide;
    TKwMAPITableOpener FReopen;
    bool FActive = false;
    bool FEOF = false;
    TKwMAPIRowSet FRowSet;
    std::int32_t FCurrentIndex = -1;
    std::int32_t FRowCount = -1;
    std::int32_t FBatchSize = 20;
    std::int32_t FBeyondFirst = 0; // MAPI position less the position of the first cached row
    std::vector<mapi::SSortOrder> FSortOrder;
    TKwRef<IKwMAPIRestrictionEx> FFilter;
    bool FIsFound = false;                  // a search found the current row
    mapi::BOOKMARK FFoundBookmark = 0;      // on the row found last; 0: none
    mapi::BOOKMARK FSearchBookmark = 0;     // behind it; 0: none
    bool FMustRestore = false;              // the table was fetched again and does not have its order and filter yet
    std::atomic<bool> FAdviseAgain = false; // nor its notifications
};

} // namespace deftmapi
