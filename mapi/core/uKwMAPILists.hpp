// Lists of entry identifiers, values, property definitions and property/value pairs, with index access and a cursor
// (First, Next, Previous, Last, EOF).
//
// The cursor is a record, not a number: it stays on its record when others come and go. What is added becomes current.
#pragma once

#include "mapi/core/uKwMAPIProps.hpp"
#include "support/uKwComObj.hpp"

#include <memory>
#include <vector>

namespace deftmapi
{

/// What the records of all lists have in common. Owned by their list.
struct TKwMAPIListRecord
{
    TKwMAPIListRecord() = default;
    TKwMAPIListRecord(const TKwMAPIListRecord&) = delete;
    TKwMAPIListRecord& operator=(const TKwMAPIListRecord&) = delete;
    virtual ~TKwMAPIListRecord() = default;

    TKwMAPIListRecord* Previous = nullptr;
    TKwMAPIListRecord* Next = nullptr;
};

struct TKwMAPIEntryIDRecord final : TKwMAPIListRecord
{
    TKwMAPIEntryID EntryID;
};

struct TKwMAPIValueRecord final : TKwMAPIListRecord
{
    TKwVariant Value;
};

struct TKwMAPIPropRecord final : TKwMAPIListRecord
{
    const TKwMAPIPropInfo* Info = nullptr; ///< owned by the registry
};

struct TKwMAPIPropValueRecord final : TKwMAPIListRecord
{
    const TKwMAPIPropInfo* Info = nullptr; ///< owned by the registry
    TKwVariant Value;
};

/// The records, their order and the cursor. Pointers to records are valid until the record is removed.
class DEFTMAPI_API TKwMAPIList : public TKwAutoIntfObject, public virtual IKwMAPIList
{
public:
    void Clear() override;
    [[nodiscard]] std::int32_t Get_Count() const override { return static_cast<std::int32_t>(FIndex.size()); }
    [[nodiscard]] WordBool Get_EOF() const override { return FCurrent == nullptr; }
    /// Makes the first record current; none in an empty list.
    void First() override;
    /// Nothing changes at EOF.
    void Next() override;
    void Previous() override;
    void Last() override;
    void Delete(std::int32_t index) override;
    void DeleteRecord() override;

    // Records; null when there is none.
    [[nodiscard]] TKwMAPIListRecord* GetFirstItem() const noexcept;
    [[nodiscard]] TKwMAPIListRecord* GetLastItem() const noexcept;
    [[nodiscard]] TKwMAPIListRecord* GetCurrentItem() const noexcept { return FCurrent; }
    /// @throws EKwListError  index out of range
    [[nodiscard]] TKwMAPIListRecord& GetRecord(std::int32_t index) const;
    /// Frees the record; when it is the current one, the next becomes current.
    /// @throws EKwAssertionFailed  record is null or not of this list
    void RemoveRecord(TKwMAPIListRecord* record);

protected:
    explicit TKwMAPIList(TKwAutoIntfObject* owner) : TKwAutoIntfObject(owner) {}
    ~TKwMAPIList() override;

    /// An empty record of the list's own type.
    [[nodiscard]] virtual std::unique_ptr<TKwMAPIListRecord> CreateNewRecord() const = 0;
    /// Appends the record and makes it current. Returns it.
    TKwMAPIListRecord& AddRecord(std::unique_ptr<TKwMAPIListRecord> record);
    /// @throws EMAPI_CALL_FAILED  "The list is EOF!"
    void CheckEOF() const;

private:
    void RemoveAt(std::size_t position);

    std::vector<std::unique_ptr<TKwMAPIListRecord>> FIndex;
    TKwMAPIListRecord* FCurrent = nullptr;
};

/// What a list of one record type adds.
template <typename Record>
class TKwMAPITypedList : public TKwMAPIList
{
protected:
    using TKwMAPIList::TKwMAPIList;

    [[nodiscard]] std::unique_ptr<TKwMAPIListRecord> CreateNewRecord() const override
    {
        return std::make_unique<Record>();
    }
    /// @throws EKwListError  index out of range
    [[nodiscard]] Record& At(std::int32_t index) const { return static_cast<Record&>(GetRecord(index)); }
    /// @throws EMAPI_CALL_FAILED  "The list is EOF!"
    [[nodiscard]] Record& Current() const
    {
        CheckEOF();
        return static_cast<Record&>(*GetCurrentItem());
    }
    /// Appends a record that `fill` has completed; nothing is appended when it fails.
    template <typename Fill>
    void Append(Fill fill)
    {
        auto record = CreateNewRecord();
        fill(static_cast<Record&>(*record));
        AddRecord(std::move(record));
    }
};

/// Holds no identifier twice; identifiers are equal when their bytes are.
class DEFTMAPI_API TKwMAPIEntryIDList final : public TKwMAPITypedList<TKwMAPIEntryIDRecord>,
                                              public virtual IKwMAPIEntryIDList
{
public:
    explicit TKwMAPIEntryIDList(TKwAutoIntfObject* owner = nullptr) : TKwMAPITypedList(owner) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIEntryIDList"; }

    void IndexOf(const TKwMAPIEntryID& entryID, std::int32_t& index) const override;
    void Add(const TKwMAPIEntryID& entryID) override;
    void Remove(const TKwMAPIEntryID& entryID) override;
    [[nodiscard]] TKwMAPIEntryID Get_CurrentRecord() const override;
    [[nodiscard]] TKwMAPIEntryID Get_Item(std::int32_t index) const override;
    /// Replaces the content; entries that are there twice are taken once, entries without bytes become Null.
    void Import(const mapi::SBinaryArray& binaryArray) override;
    void AssignTo(IKwMAPIEntryIDList& other) const override;
};

/// Holds no value twice; values are equal as variants are, arrays element by element.
class DEFTMAPI_API TKwMAPIValueList final : public TKwMAPITypedList<TKwMAPIValueRecord>, public virtual IKwMAPIValueList
{
public:
    explicit TKwMAPIValueList(TKwAutoIntfObject* owner = nullptr) : TKwMAPITypedList(owner) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIValueList"; }

    void IndexOf(const TKwVariant& value, std::int32_t& index) const override;
    void Add(const TKwVariant& value) override;
    void Remove(const TKwVariant& value) override;
    [[nodiscard]] TKwVariant Get_CurrentRecord() const override;
    [[nodiscard]] TKwVariant Get_Item(std::int32_t index) const override;
    void AssignTo(IKwMAPIValueList& other) const override;
};

/// Definitions in the order added; one may be there more than once. IndexOf and Remove take a definition and its 8-bit
/// or wide twin for the same.
class DEFTMAPI_API TKwMAPIPropList final : public TKwMAPITypedList<TKwMAPIPropRecord>, public virtual IKwMAPIPropList
{
public:
    explicit TKwMAPIPropList(TKwAutoIntfObject* owner = nullptr) : TKwMAPITypedList(owner) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIPropList"; }

    /// @throws EMAPI_INVALID_PARAMETER  (all operations that take a handle) no definition has it
    void Add(TKwMAPIPropDef def) override;
    void Add(const TKwMAPIPropInfo& info);
    void Remove(TKwMAPIPropDef def) override;
    void Remove(const TKwMAPIPropInfo& info);
    void IndexOf(TKwMAPIPropDef def, std::int32_t& index) const override;
    void IndexOf(const TKwMAPIPropInfo& info, std::int32_t& index) const;
    [[nodiscard]] const TKwMAPIPropInfo& GetItem(std::int32_t index) const;
    [[nodiscard]] TKwMAPIPropDef Get_Item(std::int32_t index) const override { return GetItem(index).Hash; }
    [[nodiscard]] const TKwMAPIPropInfo& GetCurrentRecord() const;
    [[nodiscard]] TKwMAPIPropDef Get_CurrentRecord() const override { return GetCurrentRecord().Hash; }
    void AssignTo(IKwMAPIPropList& other) const override;
    /// @throws as _GetPropTag with raiseOnError; nothing stays allocated then
    [[nodiscard]] mapi::SPropTagArray* CreatePropTagArray(IKwMAPIProp& prop) const override;
};

/// Definitions with a value each, in the order added. As in TKwMAPIPropList one may be there more than once, also with
/// different values; IndexOf, PropByName and Remove take the first, and equality is the same.
class DEFTMAPI_API TKwMAPIPropValueList final : public TKwMAPITypedList<TKwMAPIPropValueRecord>,
                                                public virtual IKwMAPIPropValueList
{
public:
    explicit TKwMAPIPropValueList(TKwAutoIntfObject* owner = nullptr) : TKwMAPITypedList(owner) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIPropValueList"; }

    /// The value is Empty.
    void Add(TKwMAPIPropDef def) override;
    void Add(const TKwMAPIPropInfo& info);
    void AddValue(TKwMAPIPropDef def, const TKwVariant& value) override;
    void AddValue(const TKwMAPIPropInfo& info, const TKwVariant& value);
    void Remove(TKwMAPIPropDef def) override;
    void Remove(const TKwMAPIPropInfo& info);
    void IndexOf(TKwMAPIPropDef def, std::int32_t& index) const override;
    void IndexOf(const TKwMAPIPropInfo& info, std::int32_t& index) const;
    /// The first record of the definition, or null. The value may be changed in place.
    [[nodiscard]] TKwMAPIPropValueRecord* PropByName(const TKwMAPIPropInfo& info) const;
    [[nodiscard]] const TKwMAPIPropInfo& GetItem(std::int32_t index) const;
    [[nodiscard]] TKwMAPIPropDef Get_Item(std::int32_t index) const override { return GetItem(index).Hash; }
    [[nodiscard]] TKwVariant Get_Value(std::int32_t index) const override;
    void Set_Value(std::int32_t index, const TKwVariant& value) override;
    [[nodiscard]] const TKwMAPIPropInfo& GetCurrentRecord() const;
    [[nodiscard]] TKwMAPIPropDef Get_CurrentRecord() const override { return GetCurrentRecord().Hash; }
    [[nodiscard]] TKwVariant Get_CurrentValue() const override;
    void Set_CurrentValue(const TKwVariant& value) override;
};

} // namespace deftmapi
