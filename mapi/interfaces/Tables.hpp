// Tables: fields, restrictions, the cursor, rows in memory, and the sinks of their events.
#pragma once

#include "mapi/interfaces/Properties.hpp"

#include <functional>
#include <vector>

namespace deftmapi
{

/// A column of a table. Fails once its table is gone.
class IKwMAPITableField : public virtual IKwMAPIObject
{
public:
    [[nodiscard]] virtual TKwMAPIPropDef Get_PropDef() const = 0;
    [[nodiscard]] virtual WideString Get_PropName() const = 0;
    /// The value in the current row; Empty when the row has none.
    [[nodiscard]] virtual TKwVariant Get_Value() = 0;
    /// As IKwMAPITable::SetFieldValue.
    virtual void Set_Value(const TKwVariant& value) = 0;
    [[nodiscard]] virtual std::int32_t Get_AsInteger() = 0;
    [[nodiscard]] virtual WideString Get_AsString() = 0;
    [[nodiscard]] virtual WordBool Get_AsBoolean() = 0;
    [[nodiscard]] virtual TKwDate Get_AsDateTime() = 0;
};

/// The columns of a table, in their order.
class IKwMAPITableFields : public virtual IKwMAPIObject
{
public:
    virtual TKwRef<IKwMAPITableField> Add(TKwMAPIPropDef def) = 0;
    virtual void Delete(std::int32_t index) = 0;
    virtual void Remove(IKwMAPITableField& field) = 0;
    virtual void Clear() = 0;
    [[nodiscard]] virtual std::int32_t Get_Count() const = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPITableField> Get_Item(std::int32_t index) const = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPITableField> FieldByName(TKwMAPIPropDef def) const = 0;
};

/// A node of a filter expression. It belongs to the table that made it (IKwMAPITable::CreateRestriction), combines with
/// nodes of that table only, and is of use while that table lives. KwAs gives the interface of its kind.
class IKwMAPIRestriction : public virtual IKwMAPIObject
{
public:
    [[nodiscard]] virtual TKwMAPIRestrictionType Get_RestrictionType() const noexcept = 0;
};

/// A node that has a MAPI form.
class IKwMAPIRestrictionEx : public virtual IKwMAPIRestriction
{
public:
    /// Builds the record from the node's present state. It and all that it points to belong to the nodes: valid until a
    /// node of the tree is built again, changed or destroyed.
    /// @throws EMAPI_CALL_FAILED        the table has been destroyed
    /// @throws EMAPI_INVALID_PARAMETER  a node needs a child and has none, or contains itself
    /// @throws EKwConvertError          a value does not convert to the type of its property
    [[nodiscard]] virtual mapi::SRestriction* GetMAPIRestriction() = 0;
};

/// All of its children; true when it has none. Children are not kept alive: the application does, and a child that is
/// destroyed is no longer one.
class IKwMAPIRestrictionAnd : public virtual IKwMAPIRestrictionEx
{
public:
    /// @throws EMAPI_INVALID_PARAMETER  (all operations that take a node) the node is of another table
    virtual void AddRestriction(const TKwRef<IKwMAPIRestriction>& restriction) = 0;
    /// Does nothing when it is no child.
    virtual void RemoveRestriction(const TKwRef<IKwMAPIRestriction>& restriction) = 0;
};

/// Any of its children. They are held as in IKwMAPIRestrictionAnd.
class IKwMAPIRestrictionOr : public virtual IKwMAPIRestrictionEx
{
public:
    virtual void AddRestriction(const TKwRef<IKwMAPIRestriction>& restriction) = 0;
    virtual void RemoveRestriction(const TKwRef<IKwMAPIRestriction>& restriction) = 0;
};

/// The opposite of its one child, which it keeps alive.
class IKwMAPIRestrictionNot : public virtual IKwMAPIRestrictionEx
{
public:
    /// Replaces the child; null clears it.
    virtual void SetRestriction(const TKwRef<IKwMAPIRestriction>& restriction) = 0;
};

/// A text in a text property; in a multi-valued one, in any of its values.
class IKwMAPIRestrictionContent : public virtual IKwMAPIRestrictionEx
{
public:
    [[nodiscard]] virtual TKwMAPIPropDef Get_PropDef() const noexcept = 0;
    virtual void Set_PropDef(TKwMAPIPropDef def) = 0;
    [[nodiscard]] virtual WideString Get_Value() const = 0;
    virtual void Set_Value(WideView value) = 0;
    [[nodiscard]] virtual TKwMAPIStringMatchType Get_MatchType() const noexcept = 0;
    virtual void Set_MatchType(TKwMAPIStringMatchType matchType) = 0;
    [[nodiscard]] virtual WordBool Get_CaseInsensitive() const noexcept = 0;
    virtual void Set_CaseInsensitive(WordBool value) = 0;
    [[nodiscard]] virtual WordBool Get_AccentInsensitive() const noexcept = 0;
    virtual void Set_AccentInsensitive(WordBool value) = 0;
    [[nodiscard]] virtual WordBool Get_LooseCompare() const noexcept = 0;
    virtual void Set_LooseCompare(WordBool value) = 0;
};

/// A property compared with a value.
class IKwMAPIRestrictionProperty : public virtual IKwMAPIRestrictionEx
{
public:
    [[nodiscard]] virtual TKwMAPIPropDef Get_PropDef() const noexcept = 0;
    /// @throws EMAPI_NO_SUPPORT  no value of the property's type can be compared; the definition is set nevertheless
    virtual void Set_PropDef(TKwMAPIPropDef def) = 0;
    [[nodiscard]] virtual TKwMAPIOperator Get_Operator() const noexcept = 0;
    virtual void Set_Operator(TKwMAPIOperator value) = 0;
    [[nodiscard]] virtual TKwVariant Get_Value() const = 0;
    /// Converted to the property's type when the record is built.
    virtual void Set_Value(const TKwVariant& value) = 0;
};

/// Two properties of a row compared with each other.
class IKwMAPIRestrictionCompareProps : public virtual IKwMAPIRestrictionEx
{
public:
    [[nodiscard]] virtual TKwMAPIPropDef Get_PropDef1() const noexcept = 0;
    virtual void Set_PropDef1(TKwMAPIPropDef def) = 0;
    [[nodiscard]] virtual TKwMAPIPropDef Get_PropDef2() const noexcept = 0;
    virtual void Set_PropDef2(TKwMAPIPropDef def) = 0;
    [[nodiscard]] virtual TKwMAPIOperator Get_Operator() const noexcept = 0;
    virtual void Set_Operator(TKwMAPIOperator value) = 0;
};

/// The bits of a mask in a 32-bit property: all of them clear, or any of them set.
class IKwMAPIRestrictionBitMask : public virtual IKwMAPIRestrictionEx
{
public:
    [[nodiscard]] virtual TKwMAPIPropDef Get_PropDef() const noexcept = 0;
    virtual void Set_PropDef(TKwMAPIPropDef def) = 0;
    [[nodiscard]] virtual TKwMAPIBitmaskOperator Get_Operator() const noexcept = 0;
    virtual void Set_Operator(TKwMAPIBitmaskOperator value) = 0;
    [[nodiscard]] virtual std::int32_t Get_BitMask() const noexcept = 0;
    virtual void Set_BitMask(std::int32_t value) = 0;
};

/// The size of a property's value in bytes.
class IKwMAPIRestrictionSize : public virtual IKwMAPIRestrictionEx
{
public:
    [[nodiscard]] virtual TKwMAPIPropDef Get_PropDef() const noexcept = 0;
    virtual void Set_PropDef(TKwMAPIPropDef def) = 0;
    [[nodiscard]] virtual TKwMAPIOperator Get_Operator() const noexcept = 0;
    virtual void Set_Operator(TKwMAPIOperator value) = 0;
    [[nodiscard]] virtual std::int32_t Get_Size() const noexcept = 0;
    virtual void Set_Size(std::int32_t value) = 0;
};

/// The row has the property.
class IKwMAPIRestrictionExists : public virtual IKwMAPIRestrictionEx
{
public:
    [[nodiscard]] virtual TKwMAPIPropDef Get_PropDef() const noexcept = 0;
    virtual void Set_PropDef(TKwMAPIPropDef def) = 0;
};

/// Any of the message's recipients or attachments satisfies the one child, which is kept alive.
class IKwMAPIRestrictionSub : public virtual IKwMAPIRestrictionEx
{
public:
    [[nodiscard]] virtual TKwMAPIRestrictionSubObjectType Get_SubObjectType() const noexcept = 0;
    virtual void Set_SubObjectType(TKwMAPIRestrictionSubObjectType value) = 0;
    /// Replaces the child; null clears it.
    virtual void SetRestriction(const TKwRef<IKwMAPIRestriction>& restriction) = 0;
};

/// The one restriction of Simple MAPI tables: read or unread. It has no MAPI form.
class IKwSimpleMAPIRestrictionBitMask : public virtual IKwMAPIRestriction
{
public:
    [[nodiscard]] virtual TKwMAPIPropDef Get_PropDef() const noexcept = 0;
    /// @throws EMAPI_NOT_SUPPORTED  anything but PR_MESSAGE_FLAGS
    virtual void Set_PropDef(TKwMAPIPropDef def) = 0;
    [[nodiscard]] virtual TKwMAPIBitmaskOperator Get_Operator() const noexcept = 0;
    virtual void Set_Operator(TKwMAPIBitmaskOperator value) = 0;
    [[nodiscard]] virtual std::int32_t Get_BitMask() const noexcept = 0;
    /// @throws EMAPI_NOT_SUPPORTED  anything but mmfRead (1)
    virtual void Set_BitMask(std::int32_t value) = 0;
};

/// One key of a sort order.
struct TKwMAPISortKey
{
    TKwMAPIPropDef PropDef = 0;
    WordBool Descending = false;
};

/// Sinks of table events. Each call names the table. The row of a row event is a memory table of one row, which the
/// sink may keep and use on any one thread; the key is the row's instance key. Threads: called on the thread on which
/// the client delivers notifications. That is the thread which initialised MAPI, while it dispatches them, unless
/// multi-threaded notifications were asked for. A sink may disconnect itself or others and end the notifications; on
/// the thread of the table it may also close the table and drop the last reference on it, which a sink on the client's
/// own thread must leave to the table's thread.
class IKwMAPITableDEvents : public virtual IKwInterface
{
public:
    /// Something has changed that no other event describes: read the table anew.
    virtual void _OnChanged(IKwMAPITable& table) = 0;
    virtual void _OnError(IKwMAPITable& table) = 0;
    /// The rows have changed as a whole: read the table anew.
    virtual void _OnReload(IKwMAPITable& table) = 0;
    virtual void _OnRestrictDone(IKwMAPITable& table) = 0;
    virtual void _OnSetColDone(IKwMAPITable& table) = 0;
    virtual void _OnSortDone(IKwMAPITable& table) = 0;
    virtual void _OnRowAdded(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row) = 0;
    /// The row has no columns, or those that the client still knows.
    virtual void _OnRowDeleted(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row) = 0;
    virtual void _OnRowModified(IKwMAPITable& table, const TKwBytes& key, IKwMAPIMemoryTable& row) = 0;
    /// The table is being closed; no further events until it is advised again.
    virtual void _OnClose(IKwMAPITable& table) = 0;
};

/// A record cursor over a MAPI table. Choose fields, Open, First; then Next until Get_EOF. A kind of table that does
/// not offer an operation refuses it with EMAPI_NOT_SUPPORTED.
class IKwMAPITable : public virtual IKwMAPIObject
{
public:
    /// The object that the table shows (a folder, a message, …), or null.
    [[nodiscard]] virtual TKwRef<IKwMAPIObject> Get_Owner() const = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPITableFields> Get_Fields() = 0;
    virtual void Open() = 0;
    /// Also ends notifications.
    virtual void Close() = 0;
    [[nodiscard]] virtual WordBool Get_Active() const noexcept = 0;
    virtual void First() = 0;
    virtual void Next() = 0;
    virtual void Previous() = 0;
    virtual void Last() = 0;
    virtual void MoveBy(TKwMapiTableBookmark origin, std::int32_t count) = 0;
    virtual void SeekRow(TKwMapiTableBookmark bookmark, std::int32_t rows, WordBool& found) = 0;
    [[nodiscard]] virtual WordBool Get_EOF() = 0;
    [[nodiscard]] virtual std::int32_t Get_RowCount() = 0;
    /// Rows per read from the client; 20 unless set.
    [[nodiscard]] virtual std::int32_t Get_BatchSize() const noexcept = 0;
    virtual void Set_BatchSize(std::int32_t rows) noexcept = 0;
    [[nodiscard]] virtual TKwMAPICursorType Get_CursorType() const noexcept = 0;
    /// @throws EMAPI_NO_ACCESS  always: the kind of a table is what it is
    virtual void Set_CursorType(TKwMAPICursorType cursorType) = 0;
    /// The value of a column in the current row; Empty when the row has none.
    [[nodiscard]] virtual TKwVariant GetFieldValue(TKwMAPIPropDef def) = 0;
    /// Replaces the fields by the table's own columns.
    virtual void QueryColumns() = 0;
    /// Shows the fields through the procedure set with SetShowFieldsProc.
    virtual void DisplayFields() = 0;

    virtual void Sort(TKwMAPIPropDef def, WordBool descending) = 0;
    /// The first key counts most.
    virtual void Sort(const std::vector<TKwMAPISortKey>& keys) = 0;

    /// A new node for a filter expression of this table.
    [[nodiscard]] virtual TKwRef<IKwMAPIRestriction> CreateRestriction(TKwMAPIRestrictionType type) = 0;
    /// Shows only the rows that satisfy the restriction, which the table holds from then on; null shows all rows. The
    /// table is opened anew: no row is current until First or Next. Notifications go on.
    virtual void Filter(const TKwRef<IKwMAPIRestriction>& restriction) = 0;
    // Searches. A row that is found becomes the current one; when none is, the table is at its end. FindNext and
    // FindPrevious go on from the row found last.
    // @throws EMAPI_CALL_FAILED  the table is filtered
    virtual void FindFirst(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) = 0;
    virtual void FindLast(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) = 0;
    virtual void FindNext(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) = 0;
    virtual void FindPrevious(const TKwRef<IKwMAPIRestriction>& restriction, WordBool& found) = 0;
    virtual void FindRow(const TKwRef<IKwMAPIRestriction>& restriction, TKwMapiTableBookmark origin, WordBool forward,
                         WordBool& found) = 0;

    /// Asks the client for notifications; connected sinks get them. @throws EMAPI_CALL_FAILED  they are on already
    virtual void Advise() = 0;
    /// Ends them. On return no sink is being called on another thread, and none will be. Does nothing when they are
    /// off.
    virtual void UnAdvise() = 0;
    [[nodiscard]] virtual WordBool Get_Advised() const noexcept = 0;
    /// Connects or disconnects a sink; the table holds a reference while it is connected. Any thread. An event that is
    /// being delivered on another thread may still reach a sink that has just been disconnected; UnAdvise waits for it.
    /// @throws EMAPI_INVALID_PARAMETER  null is to be connected
    virtual void DEventConnect(const TKwRef<IKwMAPITableDEvents>& sink, WordBool connect) = 0;
    /// True while a sink is connected.
    [[nodiscard]] virtual WordBool HasDEventSinks() const = 0;

    // Editing, for tables held in memory.
    /// Appends a row without values and makes it current.
    virtual void Insert() = 0;
    /// Deletes the current row; the following one becomes current.
    virtual void Delete() = 0;
    /// Empty and Null leave the row without the value.
    /// @throws EKwConvertError  the value does not convert to the type of the field
    /// @throws EMAPI_NO_ACCESS  "The table is readonly!"
    virtual void SetFieldValue(TKwMAPIPropDef def, const TKwVariant& value) = 0;
};

/// A row as a filter of a memory table sees it.
class IKwMAPIMemoryRow
{
public:
    /// The row's value of a field; Empty when it has none.
    [[nodiscard]] virtual TKwVariant GetFieldValue(TKwMAPIPropDef def) const = 0;

protected:
    ~IKwMAPIMemoryRow() = default;
};

/// True for rows to be shown. Called for each row when the filter is set; what is inserted or changed later is shown.
using TKwMAPIRowPredicate = std::function<bool(const IKwMAPIMemoryRow& row)>;

/// A definition and the value that a row has for it.
struct TKwMAPIFieldValue
{
    TKwMAPIPropDef PropDef = 0;
    TKwVariant Value;
};

/// Rows of property values in memory. It moves as a MAPI table does, with two differences: on the last row after Last
/// it is not at its end, and it can move back from its end. It has no restrictions and no searches by them: FilterRows
/// and Locate take their place. What changes a row needs one: @throws EMAPI_CALL_FAILED  "The table is EOF!"
class IKwMAPIMemoryTable : public virtual IKwMAPITable
{
public:
    /// Prepares the table for changes; each change calls it first.
    virtual void Edit() = 0;
    /// True once a row has been added, changed or removed.
    [[nodiscard]] virtual WordBool GetModified() const noexcept = 0;
    virtual void SetModified(WordBool modified) = 0;
    /// Deletes all rows, hidden ones included. The fields stay.
    virtual void Clear() = 0;
    /// Makes the first shown row with these values current; when there is none, nothing moves. The values are converted
    /// as SetFieldValue does it, and refused as there.
    virtual void Locate(const std::vector<TKwMAPIFieldValue>& values, WordBool& found) = 0;
    virtual void Locate(TKwMAPIPropDef def, const TKwVariant& value, WordBool& found) = 0;
    /// Hides the rows for which the predicate is false and goes to the first; an empty predicate shows all rows.
    virtual void FilterRows(TKwMAPIRowPredicate predicate) = 0;
    /// Replaces fields and rows by those of another table, which is walked from its first row to its end.
    virtual void CopyFrom(IKwMAPITable& table) = 0;
    /// Appends the rows of another table, in the fields that both have.
    virtual void CopyDataFrom(IKwMAPITable& table) = 0;
};

} // namespace deftmapi
