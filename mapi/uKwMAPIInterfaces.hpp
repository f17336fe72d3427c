// Every public enumeration and interface of the library, and nothing else: this file is what breaks would-be include
// circles.
//
// Interfaces are inherited virtually and implemented by the TKw… classes; an application holds TKwRef<IKw…>. An
// operation with one result returns it; several results are reference out-parameters in the order given. Failures are
// exceptions (mapi/core/uKwMAPIExceptions.hpp). A returned TKwRef carries a reference of its own; a returned plain
// pointer adds none.
#pragma once

#include "mapi/headers/uKwMAPIdefsH.hpp"
#include "support/uKwRef.hpp"
#include "support/uKwVariant.hpp"

#include <functional>
#include <span>
#include <vector>

namespace mapi
{
struct IExchangeExportChanges; // Exchange's own, see uKwEdkMdbH.hpp
struct IExchangeManageStore;
} // namespace mapi

namespace deftmapi
{

// ---- Values
// ----------------------------------------------------------------------------------------------------------

/// A property definition: 1 to 4866 predefined, then those that the application registers; 0 is never valid.
using TKwMAPIPropDef = std::uint64_t;
struct TKwMAPIPropInfo;

/// Null, or the bytes of an entry identifier. See mapi/core/uKwMAPIEntryID.hpp.
using TKwMAPIEntryID = TKwVariant;

/// One bit per special folder, see TKwMAPIFolderTypeBits.
using TKwMAPIFolderType = std::uint32_t;
/// Any of those bits.
using TKwMAPIFolderTypes = TKwMAPIFolderType;

/// What a provider says of a failure beyond its code.
struct TKwMAPIError
{
    WideString Error;     ///< the provider's text
    WideString Component; ///< who reported it
    std::int32_t LowLevelError = 0;
    std::int32_t Context = 0;
};

// ---- Enumerations (element names and ordinals are part of the interface)
// ---------------------------------------------

enum TKwMAPIAccessLevel : std::int32_t
{
    alReadOnly,
    alReadWrite,
    alBestAccess
};

enum TKwMAPIObjectType : std::int32_t
{
    otUnknown,
    otMessageStore,
    otAddressBook,
    otFolder,
    otAddressbookContainer,
    otMessage,
    otRecipient,
    otAttachment,
    otDistributionList,
    otProfileSection,
    otStatus,
    otSession,
    otFormInfo
};

/// Kinds of rows in the status table; the values are MAPI's (PR_RESOURCE_TYPE).
enum TKwMAPIResourceType : std::int32_t
{
    mrtStore = 33,
    mrtAddressBook = 34,
    mrtAddressBookProvider = 35,
    mrtTransport = 36,
    mrtSpooler = 37,
    mrtProfile = 38,
    mrtSubsystem = 39,
    mrtHook = 40
};

enum TKwMAPIContainerType : std::int32_t
{
    ctUnknown,
    ctFolder,
    ctABContainer,
    ctDistList
};

enum TKwMAPIRecipientType : std::int32_t
{
    rtOrig,
    rtTo,
    rtCC,
    rtBCC
};

enum TKwMAPIBodyFormat : std::int32_t
{
    fmtUnspecified,
    fmtPlainText,
    fmtHTML,
    fmtRichText
};

/// What SaveChanges leaves the object open for; the values are not the platform's flags (those are in the comments).
enum TKwMAPISaveMethod : std::int32_t
{
    smClose,         ///< no flag: the object is not used any more
    smKeepReadOnly,  ///< KEEP_OPEN_READONLY
    smKeepReadWrite, ///< KEEP_OPEN_READWRITE
    smForceSave      ///< FORCE_SAVE and KEEP_OPEN_READWRITE: overwrites changes made by others meanwhile
};

/// Equal to BOOKMARK_BEGINNING, BOOKMARK_CURRENT and BOOKMARK_END.
enum TKwMapiTableBookmark : std::int32_t
{
    tbkBeginning,
    tbkCurrentRelative,
    tbkEnd
};

enum TKwMAPICursorType : std::int32_t
{
    ctOpenForwardOnly,
    ctDynamic
};

/// Equal to the platform's kinds of restrictions, RES_AND to RES_SUBRESTRICTION.
enum TKwMAPIRestrictionType : std::int32_t
{
    rtAnd,
    rtOr,
    rtNot,
    rtContent,
    rtProperty,
    rtCompareProps,
    rtBitmask,
    rtSize,
    rtExists,
    rtSub
};

/// Equal to RELOP_LT to RELOP_RE.
enum TKwMAPIOperator : std::int32_t
{
    oSmallerThan,
    oSmallerOrEqual,
    oGreaterThan,
    oGreaterOrEqual,
    oEqual,
    oNotEqual,
    oLike ///< a regular expression; few clients can
};

/// Equal to BMR_EQZ and BMR_NEZ.
enum TKwMAPIBitmaskOperator : std::int32_t
{
    bmoEqualsZero,
    bmoNotZero
};

/// Equal to FL_FULLSTRING, FL_SUBSTRING and FL_PREFIX.
enum TKwMAPIStringMatchType : std::int32_t
{
    smtFullString,
    smtSubString,
    smtPrefix
};

enum TKwMAPIRestrictionSubObjectType : std::int32_t
{
    rsotRecipients,
    rsotAttachments
};

/// The special folders of a store. ftPlain is a folder of no special kind.
enum TKwMAPIFolderTypeBits : TKwMAPIFolderType
{
    ftPlain = 0x1,
    ftInbox = 0x2,
    ftOutbox = 0x4,
    ftDeleted = 0x8,
    ftSentItems = 0x10,
    ftIPMRoot = 0x20,
    ftSearch = 0x40,
    ftCommon = 0x80,
    ftPersonal = 0x100,
    ftContact = 0x200,
    ftAppointment = 0x400,
    ftJournal = 0x800,
    ftStickyNote = 0x1000,
    ftTask = 0x2000,
    ftDraft = 0x4000,
    ftSyncIssues = 0x8000,
    ftJunkFolder = 0x10000
};

/// What a store is on an Exchange server, by its provider (PR_MDB_PROVIDER).
enum TKwMAPIExchangeType : std::int32_t
{
    etNone,           ///< not a store of Exchange
    etPrimaryMailbox, ///< the mailbox of the profile's user
    etOtherMailbox,   ///< another user's mailbox
    etPublicFolders
};

// ---- Objects and wrappers
// --------------------------------------------------------------------------------------------

class IKwMAPIAdminServices;
class IKwMAPIEntryIDList;
class IKwMAPIFolder;
class IKwMAPIMemoryTable;
class IKwMAPIMessage;
class IKwMAPIMsgStore;
class IKwMAPIOOF;
class IKwMAPIProfileAdmin;
class IKwMAPIProfSect;
class IKwMAPIProp;
class IKwMAPIPropList;
class IKwMAPIPropValueList;
class IKwMAPISession;
class IKwMAPISessionBase;
class IKwMAPIStatusTable;
class IKwMAPITable;
class IKwMAPIValueList;
class IKwMAPIWrapper;

// The owners of MAPI memory that results come in; mapi/core/uKwMAPIMemory.hpp defines them.
template <typename T, void (*Free)(IKwMAPIWrapper*, T*) noexcept>
class TKwMAPIOwner;
template <typename T>
void KwFreeMAPIBufferOf(IKwMAPIWrapper* wrapper, T* buffer) noexcept;
/// One block; what was allocated with AllocateMore on it goes with it.
template <typename T>
using TKwMAPIBuffer = TKwMAPIOwner<T, &KwFreeMAPIBufferOf<T>>;

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

// ---- Properties
// ------------------------------------------------------------------------------------------------------

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

    [[nodiscard]] virtual bool GetModified() const noexcept = 0;
    /// @throws EMAPI_INVALID_PARAMETER  true for a property that is an object, which cannot be written
    virtual void SetModified(bool modified) = 0;

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
    [[nodiscard]] virtual bool Get_AsBoolean() = 0;
    virtual void Set_AsBoolean(bool value) = 0;
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
    virtual TKwRef<IKwMAPIProperty> PropByTag(mapi::ULONG tag, bool create) = 0;
    /// The item of a tag of this object's store in the named range, whose name is given. Created when it is not there.
    virtual TKwRef<IKwMAPIProperty> PropByTag(mapi::ULONG tag, const mapi::MAPINAMEID& nameID) = 0;
    [[nodiscard]] virtual bool HasProp(TKwMAPIPropDef def) = 0;
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
    [[nodiscard]] virtual bool HasProp(TKwMAPIPropDef def) = 0;
    /// The same; prop receives the property when the object has it, else null.
    [[nodiscard]] virtual bool HasProp(TKwMAPIPropDef def, TKwRef<IKwMAPIProperty>& prop) = 0;
    /// Marks the property for deletion at the next save.
    virtual void DeleteProperty(TKwMAPIPropDef def) = 0;
    /// The tag for this object's store. @throws EMAPI_NO_SUPPORT and others, see _GetPropTag
    [[nodiscard]] virtual mapi::ULONG GetPropTag(TKwMAPIPropDef def) = 0;
    [[nodiscard]] virtual TKwMAPIAccessLevel Get_AccessLevel() const = 0;
    /// @throws EMAPI_NO_ACCESS  level is alReadWrite and the object was not opened with write access: "You don't have
    ///                          readwrite access!"
    virtual void CheckAccessLevel(TKwMAPIAccessLevel level) const = 0;
    /// True while a property is modified and not yet written.
    [[nodiscard]] virtual bool GetModified() const = 0;

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
                                                                   bool create) = 0;
    /// A property as an interface, for example PR_ATTACH_DATA_OBJ as IID_IMessage.
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenIntfProperty(TKwMAPIPropDef def, const mapi::GUID& iid,
                                                                     mapi::ULONG interfaceOptions,
                                                                     TKwMAPIAccessLevel accessLevel, bool create) = 0;
    /// The same by tag. (No overload: a number would fit both.)
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenIntfPropertyByTag(mapi::ULONG tag, const mapi::GUID& iid,
                                                                          mapi::ULONG interfaceOptions,
                                                                          TKwMAPIAccessLevel accessLevel,
                                                                          bool create) = 0;
    /// Shows the properties through the procedure set with SetShowPropertiesProc.
    virtual void DisplayProperties() = 0;
};

/// What a wrapper can be bound to: a session on a profile, or one for messages in structured storage.
class IKwMAPISessionBase : public virtual IKwMAPIWrapper
{
public:
    [[nodiscard]] virtual bool Get_Active() const noexcept = 0;
    /// True when the session runs on Extended MAPI.
    [[nodiscard]] virtual bool UsesExtendedMAPI() const noexcept = 0;
    [[nodiscard]] virtual bool Get_ConnectedToExchange() const noexcept = 0;
};

/// The session of messages kept in structured storage.
class IKwMAPIStorageSession : public virtual IKwMAPISessionBase
{
public:
    [[nodiscard]] virtual mapi::IMalloc* GetMemAllocIntf() = 0;
    [[nodiscard]] virtual mapi::LPMSGSESS GetMsgSession() = 0;
};

// ---- Lists
// -----------------------------------------------------------------------------------------------------------

/// What every list has: a count and a cursor. EOF: there is no current record.
class IKwMAPIList : public virtual IKwMAPIObject
{
public:
    virtual void Clear() = 0;
    [[nodiscard]] virtual std::int32_t Get_Count() const = 0;
    [[nodiscard]] virtual bool Get_EOF() const = 0;
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

// ---- Tables
// ----------------------------------------------------------------------------------------------------------

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
    [[nodiscard]] virtual bool Get_AsBoolean() = 0;
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
    bool Descending = false;
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
    [[nodiscard]] virtual bool Get_Active() const noexcept = 0;
    virtual void First() = 0;
    virtual void Next() = 0;
    virtual void Previous() = 0;
    virtual void Last() = 0;
    virtual void MoveBy(TKwMapiTableBookmark origin, std::int32_t count) = 0;
    virtual void SeekRow(TKwMapiTableBookmark bookmark, std::int32_t rows, bool& found) = 0;
    [[nodiscard]] virtual bool Get_EOF() = 0;
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

    virtual void Sort(TKwMAPIPropDef def, bool descending) = 0;
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
    virtual void FindFirst(const TKwRef<IKwMAPIRestriction>& restriction, bool& found) = 0;
    virtual void FindLast(const TKwRef<IKwMAPIRestriction>& restriction, bool& found) = 0;
    virtual void FindNext(const TKwRef<IKwMAPIRestriction>& restriction, bool& found) = 0;
    virtual void FindPrevious(const TKwRef<IKwMAPIRestriction>& restriction, bool& found) = 0;
    virtual void FindRow(const TKwRef<IKwMAPIRestriction>& restriction, TKwMapiTableBookmark origin, bool forward,
                         bool& found) = 0;

    /// Asks the client for notifications; connected sinks get them. @throws EMAPI_CALL_FAILED  they are on already
    virtual void Advise() = 0;
    /// Ends them. On return no sink is being called on another thread, and none will be. Does nothing when they are
    /// off.
    virtual void UnAdvise() = 0;
    [[nodiscard]] virtual bool Get_Advised() const noexcept = 0;
    /// Connects or disconnects a sink; the table holds a reference while it is connected. Any thread. An event that is
    /// being delivered on another thread may still reach a sink that has just been disconnected; UnAdvise waits for it.
    virtual void DEventConnect(const TKwRef<IKwMAPITableDEvents>& sink, bool connect) = 0;
    /// True while a sink is connected.
    [[nodiscard]] virtual bool HasDEventSinks() const = 0;

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
    [[nodiscard]] virtual bool GetModified() const noexcept = 0;
    virtual void SetModified(bool modified) = 0;
    /// Deletes all rows, hidden ones included. The fields stay.
    virtual void Clear() = 0;
    /// Makes the first shown row with these values current. When there is none, nothing moves.
    virtual void Locate(const std::vector<TKwMAPIFieldValue>& values, bool& found) = 0;
    virtual void Locate(TKwMAPIPropDef def, const TKwVariant& value, bool& found) = 0;
    /// Hides the rows for which the predicate is false and goes to the first; an empty predicate shows all rows.
    virtual void FilterRows(TKwMAPIRowPredicate predicate) = 0;
    /// Replaces fields and rows by those of another table, which is walked from its first row to its end.
    virtual void CopyFrom(IKwMAPITable& table) = 0;
    /// Appends the rows of another table, in the fields that both have.
    virtual void CopyDataFrom(IKwMAPITable& table) = 0;
};

// ---- Messages, attachments, containers, stores
// ------------------------------------------------------------------------

class IKwMAPIAttachment : public virtual IKwMAPIProp
{
public:
    /// The message of an embedded-message attachment. @throws EMAPI_…  the attachment holds none
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> GetEmbeddedMessage() = 0;
};

class IKwMAPIMessage : public virtual IKwMAPIProp
{
public:
    /// The best body and its format: HTML where there is any, else plain text. RTF is not converted: a message that has
    /// its text as RTF and as plain text reads as plain text.
    virtual void GetMessageText(TKwMAPIBodyFormat& format, WideString& text) = 0;
    virtual void SetMessageText(WideView text, TKwMAPIBodyFormat format) = 0;
    /// One representation each; empty when the message has none.
    [[nodiscard]] virtual WideString GetBodyText() = 0;
    [[nodiscard]] virtual WideString GetHtmlText() = 0;

    [[nodiscard]] virtual WideString Get_Subject() = 0;
    virtual void Set_Subject(WideView subject) = 0;
    [[nodiscard]] virtual WideString Get_MessageClass() = 0;

    /// The recipients as rows; a new table each time.
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetRecipientTable() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPITable> Get_Attachments() = 0;
    /// @param number  PR_ATTACH_NUM of the attachment's row
    [[nodiscard]] virtual TKwRef<IKwMAPIAttachment> OpenAttachment(std::int32_t number,
                                                                   TKwMAPIAccessLevel accessLevel) = 0;
};

class IKwMAPIContainer : public virtual IKwMAPIProp
{
public:
    [[nodiscard]] virtual TKwMAPIContainerType Get_ContainerType() = 0;
    [[nodiscard]] virtual WideString Get_ContainerClass() = 0;
    virtual void Set_ContainerClass(WideView containerClass) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetContentsTable() = 0;
    /// @param deep  all levels below the container in one table, each folder before its own subfolders
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetHierarchyTable(bool deep) = 0;
    /// An object of the container as it comes from MAPI.
    /// @param iid         the interface asked for; null for the standard one of the object
    /// @param flags       MAPI_MODIFY, MAPI_BEST_ACCESS, …
    /// @param objectType  receives its kind
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                              mapi::ULONG flags, TKwMAPIObjectType& objectType) = 0;
};

class IKwMAPIFolder : public virtual IKwMAPIContainer
{
public:
    /// The store that this folder was opened from, or null for a folder wrapped on its own.
    [[nodiscard]] virtual TKwRef<IKwMAPIMsgStore> GetMsgStore() = 0;
    [[nodiscard]] virtual TKwMAPIFolderType Get_FolderType() = 0;
    [[nodiscard]] virtual WideString Get_DefaultMessageClass() = 0;

    // Subfolders. They are named by their entry identifiers; showProgress lets the store show a dialog.

    /// @param openIfExists  an existing folder of the name is opened instead of failing
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> CreateFolder(WideView containerClass, WideView AFolderName,
                                                             WideView comment, bool openIfExists) = 0;
    /// The same with the container class of a kind of folder.
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> CreateFolderByType(TKwMAPIFolderType folderType, WideView AFolderName,
                                                                   WideView comment, bool openIfExists) = 0;
    /// Copies a subfolder with its messages into another folder, which may be one of another store.
    /// @param newName         empty: the copy has the name of the original
    /// @param move            the original goes
    /// @param copySubFolders  the folders below it go with it; those of a folder that is moved always do
    virtual void CopyFolder(const TKwMAPIEntryID& entryID, IKwMAPIFolder& destination, WideView newName, bool move,
                            bool copySubFolders, bool showProgress) = 0;
    virtual void DeleteFolder(const TKwMAPIEntryID& entryID, bool ADeleteMessages, bool ADeleteSubFolders,
                              bool showProgress) = 0;
    /// Deletes all messages and subfolders of this folder.
    /// @param deleteAssociated  and the hidden messages that are kept beside its contents
    virtual void EmptyFolder(bool deleteAssociated, bool showProgress) = 0;

    // Messages.

    /// Not on disk until SaveChanges. An empty class means the folder's default.
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> CreateMessage(WideView messageClass) = 0;
    /// Reads a message file (.eml or .msg) into a new message of this folder, which is saved before it is returned;
    /// when reading fails nothing is left behind.
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> ImportMessage(const WideString& fileName) = 0;
    /// Copies a message into another folder. @param move  the original goes
    virtual void CopyMessage(const TKwMAPIEntryID& entryID, IKwMAPIFolder& destination, bool move) = 0;
    /// Looks for a message of this folder by its search key, which a copy shares with its original.
    /// @param message  receives the first one, or null
    /// @return false when there is none
    virtual bool SearchMessage(const TKwVariant& searchKey, TKwMAPIAccessLevel accessLevel,
                               TKwRef<IKwMAPIMessage>& message) = 0;
    virtual void DeleteMessage(const TKwMAPIEntryID& entryID) = 0;
    /// MSGSTATUS_… bits, which belong to the message's row in this folder.
    [[nodiscard]] virtual mapi::ULONG Get_MessageStatus(const TKwMAPIEntryID& entryID) = 0;
    /// Replaces all bits.
    virtual void Set_MessageStatus(const TKwMAPIEntryID& entryID, mapi::ULONG status) = 0;

    /// The hidden messages that are kept beside the contents.
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetAssociatedContentsTable() = 0;

    // Incremental change synchronisation with an Exchange server: the exporter that the server offers for this folder.
    [[nodiscard]] virtual TKwComPtr<mapi::IExchangeExportChanges> GetContentsSynchronizer() = 0;
    [[nodiscard]] virtual TKwComPtr<mapi::IExchangeExportChanges> GetHierarchySynchronizer() = 0;

    /// Whether this contacts folder is shown in Outlook's address book.
    [[nodiscard]] virtual bool Get_OutlookAddressbookFolder() = 0;
    virtual void Set_OutlookAddressbookFolder(bool value) = 0;
};

/// Sinks of store events, in the order of their methods. Each call names the store. An identifier that the store did
/// not tell is Null. Threads: called on the thread on which the client delivers notifications. That is the thread which
/// initialised MAPI, while it dispatches them, unless multi-threaded notifications were asked for. A sink may
/// disconnect itself or others, and on the thread of the store drop the last reference on it.
class IKwMAPIMsgStoreDEvents : public virtual IKwInterface
{
public:
    /// The session ended: the store is not active any more.
    virtual void _OnSessionLogoff(IKwMAPIMsgStore& store) = 0;
    virtual void _OnNewMessage(IKwMAPIMsgStore& store, const TKwMAPIEntryID& folderID, const TKwMAPIEntryID& messageID,
                               const WideString& messageClass) = 0;
    // The object, its folder, where it was before (of what was moved or copied), and the properties that changed, as
    // far as the store tells.
    virtual void _OnObjectCreated(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                                  const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                                  const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) = 0;
    virtual void _OnObjectDeleted(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                                  const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                                  const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) = 0;
    virtual void _OnObjectModified(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                                   const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                                   const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) = 0;
    virtual void _OnObjectMoved(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                                const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                                const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) = 0;
    virtual void _OnObjectCopied(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                                 const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                                 const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) = 0;
};

class IKwMAPIMsgStore : public virtual IKwMAPIProp
{
public:
    // Special folders: their identifiers, Null when the store has none of the kind.

    /// The folder that new messages of no special class arrive in, in MAPI memory.
    /// @param size  receives the number of bytes
    virtual void GetReceiveFolder(mapi::ULONG& size, TKwMAPIBuffer<mapi::ENTRYID>& entryID) = 0;
    /// Whether the store tells that folder: the result of asking, which is not raised.
    [[nodiscard]] virtual mapi::HRESULT GetReceiveFolder() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetReceiveFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetInboxFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetOutboxFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetIPMRootFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetCommonFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetPersonalFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetSearchFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetSentItemsFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetDeletedFolderID() = 0;
    /// What the Inbox names; unlike GetFolderID it does not look for a folder of the class in a store without an Inbox.
    [[nodiscard]] virtual TKwMAPIEntryID GetContactFolderID() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetFolderID(TKwMAPIFolderType folderType) = 0;
    /// The same.
    [[nodiscard]] virtual TKwMAPIEntryID Get_FolderID(TKwMAPIFolderType folderType) = 0;

    // Opening.

    /// The object behind an identifier as it comes from the store; its MAPI object type in objectType.
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                              mapi::ULONG flags, mapi::ULONG& objectType) = 0;
    /// A folder, address-book container or distribution list.
    [[nodiscard]] virtual TKwRef<IKwMAPIContainer> OpenContainer(const TKwMAPIEntryID& entryID,
                                                                 TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> OpenFolder(const TKwMAPIEntryID& entryID,
                                                           TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> OpenFolderByType(TKwMAPIFolderType folderType,
                                                                 TKwMAPIAccessLevel accessLevel) = 0;
    /// The first folder of that name below the IPM root, at any depth; else the special folder with that keyword
    /// ("SentItems"). Both without regard to case.
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> OpenFolderByName(WideView name, TKwMAPIAccessLevel accessLevel) = 0;
    /// "//[Inbox]/Project A": an optional "//", an optional special-folder keyword in brackets, then display names.
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> OpenFolderByPath(WideView path, TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual bool CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b) = 0;

    // Messages.

    /// A new message in a special folder; not on disk until it is saved.
    /// @param messageClass  empty for the default of the folder
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> CreateMessage(TKwMAPIFolderType folderType, WideView messageClass) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> OpenMessage(const TKwMAPIEntryID& entryID,
                                                             TKwMAPIAccessLevel accessLevel) = 0;
    /// The message as it comes from the store.
    [[nodiscard]] virtual TKwComPtr<mapi::IMessage> OpenRawMessage(const TKwMAPIEntryID& entryID,
                                                                   TKwMAPIAccessLevel accessLevel) = 0;
    /// OpenMessage for an identifier that may be stale. False, and a null message, when the store does not know it.
    virtual bool FindMessage(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel,
                             TKwRef<IKwMAPIMessage>& message) = 0;
    /// Looks for a message by its search key, folder by folder from the IPM root on: a message keeps that key when it
    /// is moved and gets another identifier. False, and a null message, when there is none.
    virtual bool SearchMessage(const TKwVariant& searchKey, TKwMAPIAccessLevel accessLevel,
                               TKwRef<IKwMAPIMessage>& message) = 0;
    /// A message file. A compound file (.msg) is opened itself. A MIME message (.eml) is read into a new message of the
    /// Inbox, which is there to be looked at and gone unless it is saved.
    /// @param accessLevel  of the compound file
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> OpenSavedMessage(const WideString& fileName,
                                                                  TKwMAPIAccessLevel accessLevel) = 0;
    // A message that was dropped on the application: the structured storage that the data object of a drag operation
    // gives as its file contents.
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> OpenDroppedMessage(mapi::IStorage& storage,
                                                                    TKwMAPIAccessLevel accessLevel) = 0;
    /// Writes it to a compound file (.msg), which must not exist yet.
    virtual void SaveDroppedMessage(mapi::IStorage& storage, const WideString& fileName) = 0;

    // Outlook's address book shows contacts folders of stores. These lead from its entries back into this store.

    /// @param containerID  a container of that address book
    [[nodiscard]] virtual TKwRef<IKwMAPIFolder> FindABFolder(const TKwMAPIEntryID& containerID,
                                                             TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> FindABContact(const TKwMAPIEntryID& entryID,
                                                               TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> FindABDistList(const TKwMAPIEntryID& entryID,
                                                                TKwMAPIAccessLevel accessLevel) = 0;

    // Exchange.

    /// The store's own management interface.
    [[nodiscard]] virtual TKwComPtr<mapi::IExchangeManageStore> Get_AsExchangeManageStore() = 0;
    [[nodiscard]] virtual TKwMAPIExchangeType Get_ExchangeStoreType() = 0;
    /// The out-of-office assistant of this mailbox.
    [[nodiscard]] virtual TKwRef<IKwMAPIOOF> OpenOOF() = 0;
    /// The retention policy of this mailbox as the server describes it (XML); empty when there is none.
    [[nodiscard]] virtual WideString GetMRMConfig() = 0;

    // Events.

    /// Connects or disconnects a sink; the store holds a reference while it is connected. The store is notified by MAPI
    /// while at least one sink is connected. A sink whose connecting fails is not connected.
    virtual void DEventConnect(const TKwRef<IKwMAPIMsgStoreDEvents>& sink, bool connect) = 0;
    /// True while MAPI notifies the store.
    [[nodiscard]] virtual bool Get_Advised() const noexcept = 0;
};

/// The out-of-office assistant: whether replies are sent, and what they say.
class IKwMAPIOOF : public virtual IKwMAPIObject
{
public:
    [[nodiscard]] virtual bool Get_OutOfOffice() = 0;
    /// Takes effect at once.
    virtual void Set_OutOfOffice(bool value) = 0;
    /// The text of the replies; empty when none was ever set.
    [[nodiscard]] virtual WideString Get_Text() = 0;
    virtual void Set_Text(WideView text) = 0;
};

// ---- Session
// ---------------------------------------------------------------------------------------------------------

/// Logon options. Their effect on each other: see TKwMAPILogonInfoImpl.
class IKwMAPILogonInfo : public virtual IKwMAPIObject
{
public:
#define DEFTMAPI_OPTION(Name)                                                                                          \
    [[nodiscard]] virtual bool Get_##Name() const noexcept = 0;                                                        \
    virtual void Set_##Name(bool value) noexcept = 0;
    DEFTMAPI_OPTION(Shared)
    DEFTMAPI_OPTION(ProfileRequired)
    DEFTMAPI_OPTION(UseExtendedMAPI)
    DEFTMAPI_OPTION(ForceDownload)
    DEFTMAPI_OPTION(ShowLogonDialog)
    DEFTMAPI_OPTION(NewSession)
    DEFTMAPI_OPTION(NoMail)
    DEFTMAPI_OPTION(NTService)
    DEFTMAPI_OPTION(ShowPasswordDialog)
    DEFTMAPI_OPTION(ShowServiceDialog)
    DEFTMAPI_OPTION(ShortTimeOut)
    DEFTMAPI_OPTION(MultiThreadedNotifications)
#undef DEFTMAPI_OPTION
    [[nodiscard]] virtual WideString Get_ProfileName() const = 0;
    virtual void Set_ProfileName(WideView name) = 0;
    [[nodiscard]] virtual WideString Get_Password() const = 0;
    virtual void Set_Password(WideView password) = 0;
    /// The MAPILogonEx flags of these options, without MAPI_UNICODE.
    [[nodiscard]] virtual mapi::ULONG Flags() const noexcept = 0;
};

class IKwMAPILogoffInfo : public virtual IKwMAPIObject
{
public:
    [[nodiscard]] virtual bool Get_Shared() const noexcept = 0;
    virtual void Set_Shared(bool value) noexcept = 0;
    [[nodiscard]] virtual bool Get_ShowLogoffDialog() const noexcept = 0;
    virtual void Set_ShowLogoffDialog(bool value) noexcept = 0;
    /// An integer value: MAPI_LOGOFF_SHARED and MAPI_LOGOFF_UI as the options say.
    [[nodiscard]] virtual TKwVariant Flags() const = 0;
};

/// Sinks of session events. Each call names the session.
class IKwMAPISessionDEvents : public virtual IKwInterface
{
public:
    /// FlushQueues could not make MAPI flush, and the client is Outlook: the application may do it through Outlook.
    /// @param flags  as given to FlushQueues
    virtual void OutlookFlushQueus(IKwMAPISession& session, mapi::ULONG flags) = 0;
    virtual void BeforeLogon(IKwMAPISession& session) = 0;
    virtual void AfterLogon(IKwMAPISession& session) = 0;
    virtual void BeforeLogoff(IKwMAPISession& session) = 0;
    virtual void AfterLogoff(IKwMAPISession& session) = 0;
};

/// Facts about the MAPI clients of this machine, each read when it is asked for. Needs no logon.
class IKwMAPIInfo : public virtual IKwMAPIObject
{
public:
    /// Of the MAPI subsystem, for example "1.0.0.1".
    [[nodiscard]] virtual WideString Get_Version() const = 0;
    /// The client library that is loaded; empty when none is.
    [[nodiscard]] virtual WideString Get_DllFileName() const = 0;
    /// True when the loaded library offers Extended MAPI.
    [[nodiscard]] virtual bool Get_ExtendedMAPI() const = 0;
    /// The system's default mail client; empty where none is set.
    [[nodiscard]] virtual WideString Get_DefaultClient() const = 0;
    /// The installed mail clients; Set_MAPIClient of the session takes those whose library offers what it needs.
    [[nodiscard]] virtual std::vector<WideString> GetClients() const = 0;
    /// For example "16.0"; empty when Outlook is not installed.
    [[nodiscard]] virtual WideString Get_OutlookVersion() const = 0;
};

/// Facts about a session that is logged on. It belongs to the session: of no use once that has ended.
class IKwMAPISessionInfo : public virtual IKwMAPIObject
{
public:
    [[nodiscard]] virtual WideString Get_ProfileName() = 0;
    [[nodiscard]] virtual bool Get_ConnectedToExchange() = 0;
    /// True when Outlook keeps a local copy of the Exchange mailbox and works with that.
    [[nodiscard]] virtual bool Get_CachedExchangeMode() = 0;
    /// The Exchange server of the mailbox. @throws EMAPI_NOT_SUPPORTED  not connected to Exchange
    [[nodiscard]] virtual WideString ServerName() = 0;
    /// The address-book entry of the profile's user.
    /// @throws EMAPI_NOT_FOUND    no message service of the profile supplies an identity
    /// @throws EMAPI_CALL_FAILED  it names something else than a user
    [[nodiscard]] virtual TKwRef<IKwMAPIProp> Get_Identity() = 0;
};

/// Loading of the MAPI client library and its initialisation for the calling thread.
class IKwMAPISessionProxy : public virtual IKwMAPIObject
{
public:
    /// @param fileName  empty finds the default library
    /// @param loaded    receives false when the system cannot load it
    virtual void MAPILoad(const WideString& fileName, bool& extendedMAPI, bool& loaded) = 0;
    [[nodiscard]] virtual bool MAPILoaded() const = 0;
    virtual void MAPIInitialize() = 0;
    [[nodiscard]] virtual bool MAPIInitialized() const = 0;
    virtual void MAPIUnitialize() = 0;
    virtual void MAPIUnload() = 0;
};

/// The object an application creates first (TSession::Create in mapi/session/uKwDeftMAPI.hpp).
class IKwMAPISession : public virtual IKwMAPISessionBase, public virtual IKwMAPISessionProxy
{
public:
    virtual void Logon() = 0;
    virtual void Logoff() = 0;
    virtual void Set_Active(bool active) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPILogonInfo> Get_LogonInfo() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPILogoffInfo> Get_LogoffInfo() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIInfo> Get_MAPIInfo() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPISessionInfo> GetSessionInfo() = 0;
    virtual void Set_ParentWindow(mapi::ULONG_PTR window) = 0;
    [[nodiscard]] virtual WideString Get_MAPIClient() const = 0;
    virtual void Set_MAPIClient(WideView client) = 0;
    /// For example "8.2.3.13 64-bit".
    [[nodiscard]] virtual WideString Get_Version() const = 0;

    // Stores and entries.

    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetMsgStoresTable() = 0;
    [[nodiscard]] virtual TKwMAPIEntryID GetDefaultMsgStoreID() = 0;
    /// Makes a store the default store of the profile; Null leaves the profile without one.
    virtual void SetDefaultMsgStore(const TKwMAPIEntryID& entryID) = 0;
    /// Null when the profile has no public folders.
    [[nodiscard]] virtual TKwMAPIEntryID GetPublicFoldersMsgStoreID() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIMsgStore> OpenMsgStore(const TKwMAPIEntryID& entryID,
                                                               TKwMAPIAccessLevel accessLevel) = 0;
    /// On Simple MAPI a store with the Inbox, the Outbox and the IPM root, of which the Inbox alone can be looked into.
    [[nodiscard]] virtual TKwRef<IKwMAPIMsgStore> OpenDefaultMsgStore(TKwMAPIAccessLevel accessLevel) = 0;
    /// The mailbox of another user on the same Exchange server.
    /// @param userName  the mailbox's alias, or its distinguished name ("/o=…")
    [[nodiscard]] virtual TKwRef<IKwMAPIMsgStore> OpenOtherUsersMsgStore(WideView userName,
                                                                         TKwMAPIAccessLevel accessLevel) = 0;
    /// Store management of the default store's Exchange server.
    [[nodiscard]] virtual TKwComPtr<mapi::IExchangeManageStore> OpenExchangeManageStore() = 0;
    /// The store, folder or message of an identifier.
    [[nodiscard]] virtual TKwRef<IKwMAPIProp> OpenEntry(const TKwMAPIEntryID& entryID,
                                                        TKwMAPIAccessLevel accessLevel) = 0;
    /// Any object, as it comes from the client.
    /// @param iid         the interface asked for; null for the standard one of the object
    /// @param objectType  receives its kind
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenEntryEx(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                                mapi::ULONG flags, TKwMAPIObjectType& objectType) = 0;
    /// OpenEntry for an identifier that may be stale, or of a store that the session has not opened yet: every store of
    /// the profile is asked. False, and a null object, when none knows it.
    virtual bool FindEntry(const TKwMAPIEntryID& entryID, TKwMAPIAccessLevel accessLevel,
                           TKwRef<IKwMAPIProp>& object) = 0;
    virtual bool FindEntryEx(const TKwMAPIEntryID& entryID, const mapi::GUID* iid, mapi::ULONG flags,
                             TKwMAPIObjectType& objectType, TKwComPtr<mapi::IUnknown>& object) = 0;
    [[nodiscard]] virtual bool CompareEntryIDs(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b) = 0;

    // Other services.

    [[nodiscard]] virtual TKwComPtr<mapi::IAddrBook> OpenAddressBook() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIStatusTable> GetStatusTable() = 0;
    /// Profile administration; works without a logon.
    [[nodiscard]] virtual TKwRef<IKwMAPIProfileAdmin> GetProfileAdmin() = 0;
    /// The message services of the profile that is logged on to.
    [[nodiscard]] virtual TKwRef<IKwMAPIAdminServices> GetAdminServices() = 0;
    /// A section of the profile. With alReadWrite a section that is missing is made by the client.
    /// @param uid  its 16 bytes
    [[nodiscard]] virtual TKwRef<IKwMAPIProfSect> OpenProfileSection(const TKwMAPIEntryID& uid,
                                                                     TKwMAPIAccessLevel accessLevel) = 0;
    // The same as those of the profile administration; without a logon, too.
    [[nodiscard]] virtual WideString GetDefaultProfile() = 0;
    [[nodiscard]] virtual WideString GetProfiles(WideView separator) = 0;
    [[nodiscard]] virtual bool HasDefaultProfile() = 0;
    [[nodiscard]] virtual TKwComPtr<mapi::IMAPIFormMgr> GetFormManager() = 0;
    /// Asks the spooler to send and fetch mail at once. @param flags  FLUSH_… of MAPI
    virtual void FlushQueues(mapi::ULONG flags) = 0;
    /// The folder dialog of the application's user interface, made by the procedure set with SetCreateFolderDialogProc.
    [[nodiscard]] virtual TKwRef<IKwInterface> CreateFolderDialog() = 0;

    // Factories.

    /// A new message in a special folder of the default store; not on disk until it is saved.
    /// @param messageClass  empty for the default of the folder
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> CreateMessage(TKwMAPIFolderType folderType, WideView messageClass) = 0;
    /// A new mail ("IPM.Note") in the Outbox of the default store, to be filled and submitted.
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> CreateMailMessage() = 0;
    /// A new message in a compound file (.msg), which must not exist yet. It is written when the message is saved.
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> CreateMsgFile(const WideString& fileName, WideView messageClass) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> OpenMsgFile(const WideString& fileName,
                                                             TKwMAPIAccessLevel accessLevel) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIEntryIDList> CreateEntryIDList() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIPropList> CreatePropList() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIValueList> CreateValueList() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIPropValueList> CreatePropValueList() = 0;
    /// Registers the definition of a property, as the functions of uKwMAPIProps do: by tag, by name, by number.
    virtual TKwMAPIPropDef RegisterProp(WideView name, std::uint16_t id, std::uint32_t type) = 0;
    virtual TKwMAPIPropDef RegisterProp(WideView name, const mapi::GUID& set, WideView stringName,
                                        std::uint32_t type) = 0;
    virtual TKwMAPIPropDef RegisterProp(WideView name, const mapi::GUID& set, std::uint32_t numericId,
                                        std::uint32_t type) = 0;

    // Errors.

    /// @throws EMAPI_NO_ACCESS  not logged on
    virtual void CheckActive(WideView methodName) const = 0;
    /// @throws EMAPI_NOT_SUPPORTED  the session runs on Simple MAPI
    virtual void CheckUsingExtendedMAPI(WideView methodName) const = 0;
    /// Returns when the result is 0. @throws what it stands for, with the client's own text where it has one
    virtual void CheckLastError(WideView methodName, mapi::HRESULT result) = 0;

    /// Connects or disconnects a sink; the session holds a reference while it is connected.
    virtual void DEventConnect(const TKwRef<IKwMAPISessionDEvents>& sink, bool connect) = 0;
};

// ---- Administration
// --------------------------------------------------------------------------------------------------

/// Profiles of the MAPI client library. Works without a logon. A session that is set to Simple MAPI knows the profiles
/// from the system's registry and can only list them.
class IKwMAPIProfileAdmin : public virtual IKwMAPIWrapper
{
public:
    /// The message services of a profile.
    /// @param showDialog  a missing or wrong password is asked for
    [[nodiscard]] virtual TKwRef<IKwMAPIAdminServices> GetAdminServices(WideView profileName, WideView password,
                                                                        bool showDialog) = 0;
    /// @param defaultServices  the client's default services are added
    /// @param showDialog       they may show their dialogs
    virtual void CreateProfile(WideView name, WideView password, bool defaultServices = true,
                               bool showDialog = false) = 0;
    virtual void DeleteProfile(WideView name) = 0;
    virtual void SetDefaultProfile(WideView name) = 0;
    /// @param password  the profile's; empty when it has none
    virtual void RenameProfile(WideView name, WideView password, WideView newName) = 0;
    /// The copy has the settings, the services and the password of the profile.
    virtual void CopyProfile(WideView name, WideView password, WideView newName) = 0;
    /// @param newPassword  empty: from now on the profile has none
    virtual void ChangeProfilePassword(WideView name, WideView oldPassword, WideView newPassword) = 0;
    /// Empty when there is none.
    [[nodiscard]] virtual WideString GetDefaultProfile() = 0;
    [[nodiscard]] virtual bool HasDefaultProfile() = 0;
    [[nodiscard]] virtual std::vector<WideString> GetProfiles() = 0;
    /// Their names, one after the other.
    [[nodiscard]] virtual WideString GetProfiles(WideView separator) = 0;
    /// One row for each (PR_DISPLAY_NAME, PR_DEFAULT_PROFILE); a new table each time.
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetProfileTable() = 0;
};

/// How a message service may show its configuration; any of the three.
struct TKwMAPIServiceDialogs
{
    bool Show = false;     ///< always, filled with the properties given
    bool Allow = false;    ///< when something is missing
    bool ReadOnly = false; ///< shown, but not to be changed
};

/// The message services of one profile. A service, a provider or a section is named by its identifier of 16 bytes.
class IKwMAPIAdminServices : public virtual IKwMAPIWrapper
{
public:
    /// The columns of interest are PR_SERVICE_UID, PR_SERVICE_NAME, PR_DISPLAY_NAME and PR_RESOURCE_FLAGS.
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetMsgServiceTable() = 0;
    /// The columns of interest are PR_PROVIDER_UID, PR_SERVICE_UID, PR_PROVIDER_DISPLAY and PR_RESOURCE_TYPE.
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetProviderTable() = 0;
    /// Adds a service and returns its identifier. MAPI does not tell it: it is the first one in the table of services
    /// that was not there before, so a service that another process adds at the same time may be taken for it.
    [[nodiscard]] virtual TKwMAPIEntryID CreateMsgService(WideView serviceName, WideView displayName,
                                                          bool showDialog) = 0;
    /// Gives a service its settings. Those of the profile itself (PR_PROFILE_CONFIG_FLAGS, PR_PROFILE_CONNECT_FLAGS,
    /// PR_PROFILE_UI_STATE) are written to the profile's global section, too, where it has one.
    virtual void ConfigureMsgService(const TKwMAPIEntryID& serviceUID, const TKwMAPIServiceDialogs& dialogs,
                                     IKwMAPIPropValueList& properties) = 0;
    virtual void DeleteMsgService(const TKwMAPIEntryID& serviceUID) = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPIProfSect> OpenProfileSection(const TKwMAPIEntryID& uid,
                                                                     TKwMAPIAccessLevel accessLevel) = 0;
    /// The section of a provider, which the administration of the provider's service opens.
    [[nodiscard]] virtual TKwRef<IKwMAPIProfSect> OpenProviderProfileSection(const TKwMAPIEntryID& uid,
                                                                             TKwMAPIAccessLevel accessLevel) = 0;
    /// Adds a personal-folders file as a service and returns the service's identifier.
    /// @param showDialog  the service may show its dialog
    [[nodiscard]] virtual TKwMAPIEntryID AddPstFileToCurrentProfile(const WideString& fileName, WideView displayName,
                                                                    bool showDialog) = 0;
};

/// A section of a profile: settings as properties. What is set is kept by SaveChanges.
class IKwMAPIProfSect : public virtual IKwMAPIProp
{};

/// The resources of a session: its providers, the spooler, the MAPI subsystem.
class IKwMAPIStatusTable : public virtual IKwMAPITable
{
public:
    /// The entry of the first row of that kind; Null when there is none. Moves the table.
    [[nodiscard]] virtual TKwMAPIEntryID GetEntryID(TKwMAPIResourceType resourceType) = 0;
};

} // namespace deftmapi
