// Objects, wrappers of MAPI objects, their properties, and the lists of values and definitions.
#pragma once

#include "mapi/interfaces/Types.hpp"

#include <span>
#include <vector>

namespace deftmapi
{

/// Any object of the library. REQUIRES (all interfaces): used on the thread that created it, unless it says otherwise.
class IKwMAPIObject : public virtual IKwInterface
{
public:
    /// The name used in messages, for example "TKwMAPIFolder".
    [[nodiscard]] virtual WideString GetClassName() const = 0;
};

/// An object that stands for a MAPI object.
class IKwMAPIWrapper : public virtual IKwMAPIObject
{
public:
    /// The object that created this one, or null.
    [[nodiscard]] virtual TKwRef<IKwMAPIObject> Get_CreatedBy() const = 0;
    /// The wrapped MAPI object, or null when there is none (any more). Adds no reference.
    [[nodiscard]] virtual mapi::IUnknown* Get_MAPIOBJECT() const noexcept = 0;
    /// The session, or null.
    [[nodiscard]] virtual IKwMAPISessionBase* Get_Session() const noexcept = 0;

    /// Fills the record from the MAPI object's GetLastError; empty texts when it has none.
    /// @throws  whatever the failing GetLastError call stands for
    virtual void GetExtendedErrorInfo(mapi::HRESULT result, TKwMAPIError& error) = 0;

    /// MAPI memory through the session. The caller frees with FreeBuffer of the same session's objects.
    [[nodiscard]] virtual void* AllocateBuffer(mapi::ULONG size) = 0;
    /// Freed together with its parent.
    [[nodiscard]] virtual void* AllocateMore(mapi::ULONG size, void* parent) = 0;
    /// Null is allowed.
    virtual void FreeBuffer(void* buffer) = 0;
    /// The identifier's bytes in MAPI memory; size in bytes. The caller frees the buffer with FreeBuffer.
    [[nodiscard]] virtual void* GetMAPIEntryID(const TKwMAPIEntryID& entryID, mapi::ULONG& size) = 0;

    /// The window handle that MAPI dialogs get as parent; 0 is none.
    [[nodiscard]] virtual mapi::ULONG_PTR GetParentWindow() const = 0;
    [[nodiscard]] virtual mapi::ULONG_PTR GetAppHandle() const = 0;
};

// Properties.

/// One cached property. A value that the object does not have reads as Empty.
class IKwMAPIProperty : public virtual IKwMAPIObject
{
public:
    [[nodiscard]] virtual mapi::ULONG Get_PropTag() = 0;
    /// The MAPI type, for example 0x001F.
    [[nodiscard]] virtual mapi::ULONG Get_DataType() const = 0;
    /// The definition's handle; 0 when no definition has this tag.
    [[nodiscard]] virtual TKwMAPIPropDef Get_PropDef() const = 0;
    [[nodiscard]] virtual WideString Get_PropName() const = 0;

    [[nodiscard]] virtual TKwVariant Get_Value() = 0;
    /// Marks the property modified, also when the value is equal. Empty or Null: the next save deletes the property.
    virtual void Set_Value(const TKwVariant& value) = 0;

    [[nodiscard]] virtual WordBool GetModified() const noexcept = 0;
    /// @throws EMAPI_INVALID_PARAMETER  true for a property that is an object, which cannot be written
    virtual void SetModified(WordBool modified) = 0;

    /// The MAPI form of the value; for a property without a value one of type PT_ERROR with MAPI_E_NOT_FOUND. Owned by
    /// the property and valid until its value changes, it is read again, or it leaves the cache.
    [[nodiscard]] virtual const mapi::SPropValue& GetMAPIValue() = 0;
    /// Set_Value with a copy of what the SPropValue holds, whose type may differ from the property's. PT_NULL deletes.
    /// @throws EMAPI_INVALID_PARAMETER  the value is of type PT_ERROR or of a type without variant form
    virtual void SetMAPIValue(const mapi::SPropValue& value) = 0;

    // Typed views: the conversions of TKwVariant. @throws EKwConvertError
    [[nodiscard]] virtual std::int32_t Get_AsInteger() = 0;
    virtual void Set_AsInteger(std::int32_t value) = 0;
    [[nodiscard]] virtual std::int64_t Get_AsLargeInteger() = 0;
    virtual void Set_AsLargeInteger(std::int64_t value) = 0;
    [[nodiscard]] virtual WideString Get_AsString() = 0;
    virtual void Set_AsString(WideView value) = 0;
    [[nodiscard]] virtual std::string Get_AsStringA() = 0;
    virtual void Set_AsStringA(std::string_view value) = 0;
    [[nodiscard]] virtual WideString Get_AsStringW() = 0;
    virtual void Set_AsStringW(WideView value) = 0;
    [[nodiscard]] virtual WordBool Get_AsBoolean() = 0;
    virtual void Set_AsBoolean(WordBool value) = 0;
    [[nodiscard]] virtual TKwDate Get_AsDateTime() = 0;
    virtual void Set_AsDateTime(TKwDate value) = 0;
    [[nodiscard]] virtual mapi::SYSTEMTIME Get_AsSystemTime() = 0;
    virtual void Set_AsSystemTime(const mapi::SYSTEMTIME& value) = 0;
    [[nodiscard]] virtual double Get_AsFloat() = 0;
    virtual void Set_AsFloat(double value) = 0;
    [[nodiscard]] virtual mapi::GUID Get_AsGUID() = 0;
    virtual void Set_AsGUID(const mapi::GUID& value) = 0;
    /// A new list of the values of a multi-valued property (one entry for a single value).
    [[nodiscard]] virtual TKwRef<IKwMAPIValueList> Get_AsList() = 0;
    virtual void Set_AsList(IKwMAPIValueList& list) = 0;
};

/// The properties of one object that the application has touched.
class IKwMAPIProperties : public virtual IKwMAPIObject
{
public:
    [[nodiscard]] virtual std::int32_t Get_Count() = 0;
    /// @throws EKwListError  index outside 0 to Get_Count() - 1
    [[nodiscard]] virtual TKwRef<IKwMAPIProperty> Get_Item(std::int32_t index) = 0;
    /// The cached item, created when it is not there. @throws  a named property that the store cannot resolve
    [[nodiscard]] virtual TKwRef<IKwMAPIProperty> PropByName(TKwMAPIPropDef def) = 0;
    /// The cached item, or null.
    [[nodiscard]] virtual TKwRef<IKwMAPIProperty> FindPropByDef(TKwMAPIPropDef def) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIProperty> FindPropByTag(mapi::ULONG tag) = 0;
    /// The cached item of a plain tag; created when it is not there and create is true, else null.
    /// @throws EMAPI_INVALID_PARAMETER  the tag is in the named range (0x8000 and above)
    virtual TKwRef<IKwMAPIProperty> PropByTag(mapi::ULONG tag, WordBool create) = 0;
    /// The item of a tag of this object's store in the named range, whose name is given. Created when it is not there.
    virtual TKwRef<IKwMAPIProperty> PropByTag(mapi::ULONG tag, const mapi::MAPINAMEID& nameID) = 0;
    [[nodiscard]] virtual WordBool HasProp(TKwMAPIPropDef def) = 0;
    /// PropByName(def); the property stays unread and unmodified.
    virtual TKwRef<IKwMAPIProperty> Add(TKwMAPIPropDef def) = 0;
    /// Takes an item out of the cache; a change that was not written is lost, the object keeps the property.
    /// @throws EKwListError  index outside 0 to Get_Count() - 1
    virtual void Delete(std::int32_t index) = 0;
    /// Marks the property for deletion at the next save.
    virtual void DeleteProperty(TKwMAPIPropDef def) = 0;
    /// Takes all items out of the cache, modified ones included.
    virtual void Clear() = 0;
};

/// An object with properties.
class IKwMAPIProp : public virtual IKwMAPIWrapper
{
public:
    [[nodiscard]] virtual TKwRef<IKwMAPIProperties> Get_Properties() = 0;
    /// The property, read from the object on its first access.
    [[nodiscard]] virtual TKwRef<IKwMAPIProperty> PropByName(TKwMAPIPropDef def) = 0;
    /// True when the object has the property (a value too large to be read at once counts).
    [[nodiscard]] virtual WordBool HasProp(TKwMAPIPropDef def) = 0;
    /// The same; prop receives the property when the object has it, else null.
    [[nodiscard]] virtual WordBool HasProp(TKwMAPIPropDef def, TKwRef<IKwMAPIProperty>& prop) = 0;
    /// Marks the property for deletion at the next save.
    virtual void DeleteProperty(TKwMAPIPropDef def) = 0;
    /// The tag for this object's store. @throws EMAPI_NO_SUPPORT and others, see _GetPropTag
    [[nodiscard]] virtual mapi::ULONG GetPropTag(TKwMAPIPropDef def) = 0;
    [[nodiscard]] virtual TKwMAPIAccessLevel Get_AccessLevel() const = 0;
    /// @throws EMAPI_NO_ACCESS  level is alReadWrite and the object was not opened with write access: "You don't have
    ///                          readwrite access!"
    virtual void CheckAccessLevel(TKwMAPIAccessLevel level) const = 0;
    /// True while a property is modified and not yet written.
    [[nodiscard]] virtual WordBool GetModified() const = 0;

    [[nodiscard]] virtual TKwMAPIEntryID Get_EntryID() = 0;
    [[nodiscard]] virtual TKwVariant Get_RecordKey() = 0;
    [[nodiscard]] virtual TKwVariant Get_SearchKey() = 0;
    virtual void Set_SearchKey(const TKwVariant& value) = 0;
    /// @throws EMAPI_NOT_SUPPORTED  outside Exchange
    [[nodiscard]] virtual TKwVariant Get_SourceKey() = 0;

    /// The object's property tags, in the object's order.
    [[nodiscard]] virtual std::vector<mapi::ULONG> GetPropList() = 0;
    /// Makes a cache item of every property that the object has.
    virtual void RetrieveAllProperties() = 0;
    /// Drops the cache, changes that were not saved included.
    virtual void ResetProperties() = 0;

    /// One GetProps call; values in the order of the definitions, those that the object does not have as PT_ERROR. The
    /// owner of the values is that of mapi/core/uKwMAPIMemory.hpp, which a caller includes.
    /// @param returned  receives the number of values
    /// @throws EKwAssertionFailed  no definition: "You must specify at least 1 property definition!"
    [[nodiscard]] virtual TKwMAPIBuffer<mapi::SPropValue> GetPropValueArray(std::span<const TKwMAPIPropDef> defs,
                                                                            mapi::ULONG& returned) = 0;
    /// Values in the order of the definitions, Empty for what the object does not have. One call to the object.
    [[nodiscard]] virtual std::vector<TKwVariant> GetPropValues(const std::vector<TKwMAPIPropDef>& defs) = 0;
    virtual void GetPropValues(IKwMAPIPropValueList& list) = 0;
    /// Writes at once, without the cache.
    virtual void SetPropValues(IKwMAPIPropValueList& list) = 0;

    /// Writes the modified properties to the MAPI object; SaveChanges makes them permanent.
    virtual void PersistPendingChanges() = 0;
    virtual void SaveChanges(TKwMAPISaveMethod saveMethod = smKeepReadWrite) = 0;

    /// A binary or text property as a stream, for values of any size. create: an absent property is created (needs
    /// write access).
    [[nodiscard]] virtual TKwComPtr<mapi::IStream> OpenBinProperty(TKwMAPIPropDef def, TKwMAPIAccessLevel accessLevel,
                                                                   WordBool create) = 0;
    /// A property as an interface, for example PR_ATTACH_DATA_OBJ as IID_IMessage.
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenIntfProperty(TKwMAPIPropDef def, const mapi::GUID& iid,
                                                                     mapi::ULONG interfaceOptions,
                                                                     TKwMAPIAccessLevel accessLevel,
                                                                     WordBool create) = 0;
    /// The same by tag. (No overload: a number would fit both.)
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenIntfPropertyByTag(mapi::ULONG tag, const mapi::GUID& iid,
                                                                          mapi::ULONG interfaceOptions,
                                                                          TKwMAPIAccessLevel accessLevel,
                                                                          WordBool create) = 0;
    /// Shows the properties through the procedure set with SetShowPropertiesProc.
    virtual void DisplayProperties() = 0;
};

/// What a wrapper can be bound to: a session on a profile, or one for messages in structured storage.
class IKwMAPISessionBase : public virtual IKwMAPIWrapper
{
public:
    [[nodiscard]] virtual WordBool Get_Active() const noexcept = 0;
    /// True when the session runs on Extended MAPI.
    [[nodiscard]] virtual WordBool UsesExtendedMAPI() const noexcept = 0;
    [[nodiscard]] virtual WordBool Get_ConnectedToExchange() const noexcept = 0;
};

/// The session of messages kept in structured storage.
class IKwMAPIStorageSession : public virtual IKwMAPISessionBase
{
public:
    [[nodiscard]] virtual mapi::IMalloc* GetMemAllocIntf() = 0;
    [[nodiscard]] virtual mapi::LPMSGSESS GetMsgSession() = 0;
};

// Lists.

/// What every list has: a count and a cursor. EOF: there is no current record.
class IKwMAPIList : public virtual IKwMAPIObject
{
public:
    virtual void Clear() = 0;
    [[nodiscard]] virtual std::int32_t Get_Count() const = 0;
    [[nodiscard]] virtual WordBool Get_EOF() const = 0;
    virtual void First() = 0;
    virtual void Next() = 0;
    virtual void Previous() = 0;
    virtual void Last() = 0;
    /// @throws EKwListError  index out of range
    virtual void Delete(std::int32_t index) = 0;
    /// Deletes the current record; the following one becomes current. @throws EMAPI_CALL_FAILED  "The list is EOF!"
    virtual void DeleteRecord() = 0;
};

class IKwMAPIEntryIDList : public virtual IKwMAPIList
{
public:
    /// -1 when absent.
    virtual void IndexOf(const TKwMAPIEntryID& entryID, std::int32_t& index) const = 0;
    virtual void Add(const TKwMAPIEntryID& entryID) = 0;
    virtual void Remove(const TKwMAPIEntryID& entryID) = 0;
    [[nodiscard]] virtual TKwMAPIEntryID Get_CurrentRecord() const = 0;
    [[nodiscard]] virtual TKwMAPIEntryID Get_Item(std::int32_t index) const = 0;
    virtual void Import(const mapi::SBinaryArray& binaryArray) = 0;
    virtual void AssignTo(IKwMAPIEntryIDList& other) const = 0;
};

class IKwMAPIValueList : public virtual IKwMAPIList
{
public:
    virtual void IndexOf(const TKwVariant& value, std::int32_t& index) const = 0;
    virtual void Add(const TKwVariant& value) = 0;
    virtual void Remove(const TKwVariant& value) = 0;
    [[nodiscard]] virtual TKwVariant Get_CurrentRecord() const = 0;
    [[nodiscard]] virtual TKwVariant Get_Item(std::int32_t index) const = 0;
    virtual void AssignTo(IKwMAPIValueList& other) const = 0;
};

class IKwMAPIPropList : public virtual IKwMAPIList
{
public:
    virtual void Add(TKwMAPIPropDef def) = 0;
    virtual void Remove(TKwMAPIPropDef def) = 0;
    virtual void IndexOf(TKwMAPIPropDef def, std::int32_t& index) const = 0;
    [[nodiscard]] virtual TKwMAPIPropDef Get_Item(std::int32_t index) const = 0;
    [[nodiscard]] virtual TKwMAPIPropDef Get_CurrentRecord() const = 0;
    virtual void AssignTo(IKwMAPIPropList& other) const = 0;
    /// Tags for the object, in MAPI memory that the caller frees with the object's FreeBuffer.
    [[nodiscard]] virtual mapi::SPropTagArray* CreatePropTagArray(IKwMAPIProp& prop) const = 0;
};

class IKwMAPIPropValueList : public virtual IKwMAPIList
{
public:
    virtual void Add(TKwMAPIPropDef def) = 0;
    virtual void AddValue(TKwMAPIPropDef def, const TKwVariant& value) = 0;
    virtual void Remove(TKwMAPIPropDef def) = 0;
    virtual void IndexOf(TKwMAPIPropDef def, std::int32_t& index) const = 0;
    [[nodiscard]] virtual TKwMAPIPropDef Get_Item(std::int32_t index) const = 0;
    [[nodiscard]] virtual TKwVariant Get_Value(std::int32_t index) const = 0;
    virtual void Set_Value(std::int32_t index, const TKwVariant& value) = 0;
    [[nodiscard]] virtual TKwMAPIPropDef Get_CurrentRecord() const = 0;
    [[nodiscard]] virtual TKwVariant Get_CurrentValue() const = 0;
    virtual void Set_CurrentValue(const TKwVariant& value) = 0;
};

} // namespace deftmapi
