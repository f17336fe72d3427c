// The base classes of every object that stands for a MAPI object. A wrapper holds one MAPI interface, belongs to a
// session, checks before every operation that it is usable, and turns results into exceptions.
//
// A wrapper lives as long as the application holds it, whatever becomes of the object that created it; only at logoff
// does its session take the MAPI object away, and from then on every operation says that the object is not active.
//
// Threads (all classes here): used on the thread that created the object; no locks. The walk at logoff runs on the
// thread that logs off.
#pragma once

#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPIMemory.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIConstantsH.hpp"
#include "mapi/uKwMAPIInterfaces.hpp"
#include "support/uKwComObj.hpp"

#include <atomic>
#include <functional>
#include <span>
#include <unordered_map>
#include <vector>

namespace deftmapi
{

class TKwMAPIPropItem;
class TKwMAPIPropItems;
class TKwMAPISessionBase;
/// Stands between a client's notifications and the sinks of their owner (mapi/core/Advised.hpp).
template <class Owner, class Events>
class TKwAdvised;

/// Any object of the library that has a parent object. The parent is Owner().
class DEFTMAPI_API TKwMAPIObject : public TKwAutoIntfObject, public virtual IKwMAPIObject
{
public:
    /// Fails once the parent has been destroyed. An object that never had one passes.
    /// @throws EMAPI_NO_ACCESS  "Failed to execute …! The parentobject of this instance has been destroyed!"
    virtual void CheckActive(WideView methodName) const;

    /// True when the object's store cannot handle wide text: text is asked for and written in its 8-bit form.
    [[nodiscard]] virtual bool DisableUnicode() const noexcept { return FDisableUnicode; }
    /// Applies to this object and to what it creates later, which starts with its parent's setting.
    void SetDisableUnicode(bool disable) noexcept { FDisableUnicode = disable; }
    /// MAPI_UNICODE, or 0 when Unicode is disabled.
    [[nodiscard]] mapi::ULONG UnicodeFlag() const noexcept;

    /// The record of a definition as this object uses it: the 8-bit twin of a text definition when Unicode is disabled.
    /// @throws as GetPropInfo
    [[nodiscard]] const TKwMAPIPropInfo& PI(TKwMAPIPropDef def) const;

protected:
    explicit TKwMAPIObject(TKwAutoIntfObject* parent, TKwKeepAlive keepAlive = TKwKeepAlive::kaNone);
    ~TKwMAPIObject() override;

private:
    bool FDisableUnicode = false;
};

/// Holds a MAPI object and the session that it belongs to.
///
/// A derived class overrides GetClassName, and where it needs to SetMAPIOBJECT (to reset its own state; it calls the
/// base), NeedsMAPIObject, CheckActive and CallGetLastError. An override of BeforeDestruction calls the base last.
class DEFTMAPI_API TKwMAPIWrapper : public TKwMAPIObject, public virtual IKwMAPIWrapper
{
public:
    [[nodiscard]] TKwRef<IKwMAPIObject> Get_CreatedBy() const override;
    [[nodiscard]] mapi::IUnknown* Get_MAPIOBJECT() const noexcept override { return FMAPIObject.Get(); }
    [[nodiscard]] IKwMAPISessionBase* Get_Session() const noexcept override;
    /// The same as its class. Adds no reference.
    [[nodiscard]] virtual TKwMAPISessionBase* Session() const noexcept { return FSession.Get(); }

    /// Binds the wrapper to a session, moves it to another, or (null) unbinds it. The wrapper holds a reference on its
    /// session while bound and stands in its logoff list once, however often it is bound.
    void SetSession(TKwMAPISessionBase* session);
    /// Replaces the MAPI object; null makes the wrapper inactive. Adds a reference to the new one and drops that on the
    /// old one.
    /// REQUIRES: the pointer is that of the interface which the class works with (for a TKwMAPIProp one that derives
    /// from IMAPIProp), not of some other interface of the object: the class casts it back.
    virtual void SetMAPIOBJECT(mapi::IUnknown* object);

    /// CheckActive(methodName, NeedsMAPIObject()).
    void CheckActive(WideView methodName) const override;
    /// @throws EMAPI_UNCONFIGURED  "No session has been Assigned (…)!"
    /// @throws EMAPI_NO_ACCESS  needsMAPIObject and there is none: "… The object is not, or no longer, active!"
    void CheckActive(WideView methodName, bool needsMAPIObject) const;
    /// @throws EMAPI_NOT_SUPPORTED  the session runs on Simple MAPI: "… is not supported by Simple MAPI!"
    void CheckExtendedMAPI(WideView methodName) const;

    /// Asks in the wide form (unless Unicode is disabled) and once more in the other form when that width is refused.
    void GetExtendedErrorInfo(mapi::HRESULT result, TKwMAPIError& error) override;
    /// Asks for the error text of the last failure in the wide or the 8-bit form. Returns the result of GetLastError;
    /// the record is empty when the object has no text.
    mapi::HRESULT FormatExtendedErrorInfo(bool unicode, mapi::HRESULT result, TKwMAPIError& error);
    /// Returns when the result is 0. Otherwise raises it with the MAPI object's own text, "Component … caused: …", or
    /// through CheckMAPIResult when the object has none.
    void CheckLastError(WideView methodName, mapi::HRESULT result);

    [[nodiscard]] void* AllocateBuffer(mapi::ULONG size) override;
    [[nodiscard]] void* AllocateMore(mapi::ULONG size, void* parent) override;
    void FreeBuffer(void* buffer) override;
    [[nodiscard]] void* GetMAPIEntryID(const TKwMAPIEntryID& entryID, mapi::ULONG& size) override;
    /// The same where the size is known.
    [[nodiscard]] void* GetMAPIEntryID(const TKwMAPIEntryID& entryID);
    [[nodiscard]] mapi::ULONG_PTR GetParentWindow() const override;
    [[nodiscard]] mapi::ULONG_PTR GetAppHandle() const override;

    /// The MAPI object as the interface that the class works with, see SetMAPIOBJECT. REQUIRES: there is one.
    template <typename Interface>
    [[nodiscard]] Interface& MAPIObjectAs() const noexcept
    {
        return *static_cast<Interface*>(Get_MAPIOBJECT());
    }

    /// Makes a call that takes MAPI_UNICODE among its flags: with the flag as UnicodeFlag says, and when that is
    /// refused with MAPI_E_BAD_CHARWIDTH once more with the flag flipped.
    ///
    ///     hr = WithCharWidth(MAPI_MODIFY, [&](ULONG flags) { return store.GetReceiveFolderTable(flags, Out(table));
    ///     });
    template <typename Call>
    mapi::HRESULT WithCharWidth(mapi::ULONG flags, Call&& call) const
    {
        flags |= UnicodeFlag();
        const mapi::HRESULT hr = call(flags);
        return hr == mapi::MAPI_E_BAD_CHARWIDTH ? call(flags ^ mapi::MAPI_UNICODE) : hr;
    }

protected:
    /// @param createdBy  the object that opens this one; may be null. With kaOwner it is kept alive.
    explicit TKwMAPIWrapper(TKwAutoIntfObject* createdBy, TKwKeepAlive keepAlive = TKwKeepAlive::kaNone);
    ~TKwMAPIWrapper() override;
    /// Clears the MAPI object through SetMAPIOBJECT and unbinds from the session. What SetMAPIOBJECT raises then is
    /// passed to KwReportServerException.
    void BeforeDestruction() noexcept override;

    /// Whether operations need a MAPI object. True unless overridden.
    [[nodiscard]] virtual bool NeedsMAPIObject() const noexcept { return true; }
    /// GetLastError of the MAPI object. The base asks the object for IMAPIProp and gives S_OK without a record when it
    /// is none; classes over other interfaces (sessions, tables) override it.
    virtual mapi::HRESULT CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error);

private:
    void Unbind() noexcept;

    TKwComPtr<mapi::IUnknown> FMAPIObject;
    TKwRef<TKwMAPISessionBase> FSession;
};

/// Wrappers in the order of their addition, each at most once. Adding, removing and looking up take constant time: a
/// session may have very many.
class DEFTMAPI_API TKwMAPIWrapperList
{
public:
    /// Returns false when it is there already.
    bool Add(TKwMAPIWrapper& wrapper);
    /// Does nothing when it is not there. Only the address counts.
    void Remove(const TKwMAPIWrapper* wrapper) noexcept;
    [[nodiscard]] bool Contains(const TKwMAPIWrapper* wrapper) const noexcept { return FIndex.contains(wrapper); }
    [[nodiscard]] std::size_t Count() const noexcept { return FIndex.size(); }
    [[nodiscard]] std::vector<TKwMAPIWrapper*> Snapshot() const;

private:
    std::vector<TKwMAPIWrapper*> FOrder; // null where one was removed
    std::unordered_map<const TKwMAPIWrapper*, std::size_t> FIndex;
};

/// Base of what wrappers are bound to. It is its own session. A derived class implements Get_Active, UsesExtendedMAPI
/// and Get_ConnectedToExchange.
class DEFTMAPI_API TKwMAPISessionBase : public TKwMAPIWrapper, public virtual IKwMAPISessionBase
{
public:
    [[nodiscard]] IKwMAPISessionBase* Get_Session() const noexcept override;
    [[nodiscard]] TKwMAPISessionBase* Session() const noexcept override;

    /// Adds the wrapper to the logoff list unless it is there. SetSession does it for every wrapper that it binds. No
    /// reference is taken.
    /// REQUIRES: the wrapper is bound to this session, or is taken out with RemoveLogoffNotification before it ends;
    /// only a bound one takes itself out.
    void LogoffNotification(TKwMAPIWrapper& wrapper);
    void RemoveLogoffNotification(const TKwMAPIWrapper& wrapper) noexcept;
    [[nodiscard]] const TKwMAPIWrapperList& LogoffList() const noexcept { return FLogoffList; }
    /// The wrappers whose creator is the session itself.
    [[nodiscard]] const TKwMAPIWrapperList& DirectWrappers() const noexcept { return FDirectWrappers; }

    /// False: tells every wrapper that is bound to the session, from the last bound to the first, to drop its MAPI
    /// object; one that went away while others were told is skipped. All are told even when one raises; the first
    /// exception is then raised. They stay bound. True does nothing here: logging on is the derived class's.
    virtual void Set_Active(WordBool active);

    /// Set while the session calls its event sinks. Calls nest: as many false as true.
    void SetExecutingEvents(bool executing) noexcept;
    /// True while event sinks are being called: whoever is called now is in the middle of an operation of the session.
    [[nodiscard]] bool Get_ExecutingEvents() const noexcept { return FExecutingEvents > 0; }

    /// The MAPI allocator of the client library. All wrappers allocate through their session.
    /// @throws  what the result of the allocation stands for
    [[nodiscard]] void* AllocateBuffer(mapi::ULONG size) override;
    [[nodiscard]] void* AllocateMore(mapi::ULONG size, void* parent) override;
    void FreeBuffer(void* buffer) override;
    /// 0 unless overridden.
    [[nodiscard]] mapi::ULONG_PTR GetParentWindow() const override { return 0; }
    [[nodiscard]] mapi::ULONG_PTR GetAppHandle() const override { return 0; }

protected:
    explicit TKwMAPISessionBase(TKwAutoIntfObject* createdBy = nullptr, TKwKeepAlive keepAlive = TKwKeepAlive::kaNone);
    ~TKwMAPISessionBase() override;
    [[nodiscard]] bool NeedsMAPIObject() const noexcept override { return false; }

private:
    friend class TKwMAPIWrapper;

    TKwMAPIWrapperList FDirectWrappers;
    TKwMAPIWrapperList FLogoffList;
    std::atomic<int> FExecutingEvents{0}; // a logoff on the client's thread fires events, too
};

/// Wraps an object with properties (IMAPIProp or an interface derived from it).
class DEFTMAPI_API TKwMAPIProp : public TKwMAPIWrapper, public virtual IKwMAPIProp
{
public:
    /// Also drops the cache: its values belong to the old object.
    void SetMAPIOBJECT(mapi::IUnknown* object) override;
    /// REQUIRES: active.
    [[nodiscard]] mapi::IMAPIProp& MAPIProp() const noexcept { return MAPIObjectAs<mapi::IMAPIProp>(); }

    // Access.
    [[nodiscard]] TKwMAPIAccessLevel Get_AccessLevel() const override;
    /// Set by whoever opened the object. Without writeGranted, write access counts as granted for alReadWrite only.
    void SetAccessLevel(TKwMAPIAccessLevel level) noexcept { SetAccessLevel(level, level == alReadWrite); }
    void SetAccessLevel(TKwMAPIAccessLevel level, bool writeGranted) noexcept;
    [[nodiscard]] bool WriteGranted() const noexcept { return FWriteGranted; }
    /// @throws EMAPI_NO_ACCESS  level is alReadWrite and write access was not granted: "You don't have readwrite
    /// access!"
    void CheckAccessLevel(TKwMAPIAccessLevel level) const override;

    // Properties through the cache.
    [[nodiscard]] TKwRef<IKwMAPIProperties> Get_Properties() override;
    [[nodiscard]] TKwRef<IKwMAPIProperty> PropByName(TKwMAPIPropDef def) override;
    [[nodiscard]] TKwRef<IKwMAPIProperty> PropByName(const TKwMAPIPropInfo& info);
    /// A property marked for deletion counts as absent, one set but not saved as present.
    [[nodiscard]] WordBool HasProp(TKwMAPIPropDef def) override;
    /// The same; prop receives the item when the object has the property, else null.
    [[nodiscard]] WordBool HasProp(TKwMAPIPropDef def, TKwRef<IKwMAPIProperty>& prop) override;
    void DeleteProperty(TKwMAPIPropDef def) override;
    [[nodiscard]] WordBool GetModified() const override;
    /// The tag for this object's store; a text type is the 8-bit one when Unicode is disabled.
    [[nodiscard]] mapi::ULONG GetPropTag(TKwMAPIPropDef def) override;
    [[nodiscard]] mapi::ULONG GetPropTag(const TKwMAPIPropInfo& info);

    [[nodiscard]] TKwMAPIEntryID Get_EntryID() override;
    [[nodiscard]] TKwVariant Get_RecordKey() override;
    [[nodiscard]] TKwVariant Get_SearchKey() override;
    void Set_SearchKey(const TKwVariant& value) override;
    [[nodiscard]] TKwVariant Get_SourceKey() override;

    [[nodiscard]] std::vector<mapi::ULONG> GetPropList() override;
    /// Makes an item of the cache for each property that the object lists, in its order, with two calls at most: the
    /// list, and the names of the named ones. Each value is read when somebody asks for it. Properties that are in the
    /// cache already keep their state.
    void RetrieveAllProperties() override;
    /// Frees every item's value buffer, then the items.
    void ResetProperties() override;

    // Properties past the cache. Values set there and not yet persisted are not seen here.

    [[nodiscard]] TKwMAPIBuffer<mapi::SPropValue> GetPropValueArray(std::span<const TKwMAPIPropDef> defs,
                                                                    mapi::ULONG& returned) override;
    /// A value that could not be had for another reason than its absence reads as TKwErrorCode (too large for one call:
    /// MAPI_E_NOT_ENOUGH_MEMORY; read it with PropByName or OpenBinProperty).
    /// @throws EMAPI_CALL_FAILED  the object returned fewer values than asked for
    [[nodiscard]] std::vector<TKwVariant> GetPropValues(const std::vector<TKwMAPIPropDef>& defs) override;
    /// Sets the values of the list; an empty list asks nothing.
    void GetPropValues(IKwMAPIPropValueList& list) override;
    /// Empty and Null values delete the property. What the cache holds of these properties is dropped unless modified.
    void SetPropValues(IKwMAPIPropValueList& list) override;

    // Saving.

    /// One SetProps call with all values, then one DeleteProps call; none when there is nothing for it.
    /// A property to be deleted that is not there counts as deleted.
    /// @throws  what the result of the call stands for; its properties stay modified then. What the first problem
    /// stands
    ///          for that the object reports of a single property; those properties alone stay modified then.
    void PersistPendingChanges() override;
    /// After smKeepReadOnly the access level is alReadOnly.
    /// @throws EMAPI_OBJECT_CHANGED, EMAPI_OBJECT_DELETED, EMAPI_CORRUPT_DATA, EMAPI_NO_ACCESS and others
    void SaveChanges(TKwMAPISaveMethod saveMethod = smKeepReadWrite) override;

    // Properties as interfaces. alReadWrite asks for MAPI_MODIFY; alBestAccess does, too, and asks again for reading
    // only when that is refused with MAPI_E_NO_ACCESS. create adds MAPI_CREATE, which needs MAPI_MODIFY. The cache
    // forgets a property that is opened for writing: read it there again only when the interface has been committed.

    [[nodiscard]] TKwComPtr<mapi::IStream> OpenBinProperty(TKwMAPIPropDef def, TKwMAPIAccessLevel accessLevel,
                                                           WordBool create) override;
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenIntfProperty(TKwMAPIPropDef def, const mapi::GUID& iid,
                                                             mapi::ULONG interfaceOptions,
                                                             TKwMAPIAccessLevel accessLevel, WordBool create) override;
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenIntfPropertyByTag(mapi::ULONG tag, const mapi::GUID& iid,
                                                                  mapi::ULONG interfaceOptions,
                                                                  TKwMAPIAccessLevel accessLevel,
                                                                  WordBool create) override;
    /// @throws EMAPI_NOT_SUPPORTED  no procedure is set
    void DisplayProperties() override;

protected:
    explicit TKwMAPIProp(TKwAutoIntfObject* createdBy, TKwKeepAlive keepAlive = TKwKeepAlive::kaNone);
    ~TKwMAPIProp() override;
    mapi::HRESULT CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error) override;
    /// The cache; made on first use.
    [[nodiscard]] TKwMAPIPropItems& Items();

private:
    friend class TKwMAPIPropItem;
    friend class TKwMAPIPropItems;

    [[nodiscard]] std::vector<mapi::ULONG> TagsOf(std::span<const TKwMAPIPropDef> defs);
    /// @param tags  receives the tags that the object took: the text types of the other width where it refused these
    [[nodiscard]] TKwMAPIBuffer<mapi::SPropValue> ReadTags(std::vector<mapi::ULONG>& tags, mapi::ULONG& returned);
    [[nodiscard]] TKwMAPIBuffer<mapi::SPropValue> ReadExactly(std::vector<mapi::ULONG>& tags);
    // Both return what the object could not do, by index; an entry with S_OK is none.
    [[nodiscard]] TKwMAPIBuffer<mapi::SPropProblemArray> WriteValues(std::vector<mapi::SPropValue>& values);
    [[nodiscard]] TKwMAPIBuffer<mapi::SPropProblemArray> DeleteTags(const std::vector<mapi::ULONG>& tags);
    void CheckProblems(WideView methodName, const TKwMAPIBuffer<mapi::SPropProblemArray>& problems);
    [[nodiscard]] TKwMAPIBuffer<mapi::MAPINAMEID*> NamesOf(const std::vector<mapi::ULONG>& tags, mapi::ULONG& count);
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenProperty(mapi::ULONG tag, const mapi::GUID& iid,
                                                         mapi::ULONG writeOptions, mapi::ULONG readOptions,
                                                         TKwMAPIAccessLevel accessLevel, bool create);
    [[nodiscard]] TKwComPtr<mapi::IStream> OpenStream(mapi::ULONG tag, TKwMAPIAccessLevel accessLevel, bool create);

    TKwRef<TKwMAPIPropItems> FItems;
    TKwMAPIAccessLevel FAccessLevel = alReadOnly;
    bool FWriteGranted = false;
};

/// Shows the properties of an object; belongs to the application's user interface.
using TKwShowPropertiesProc = std::function<void(IKwMAPIProp& prop)>;
/// Sets the procedure of DisplayProperties; an empty one removes it. Process-wide, set before it is used.
DEFTMAPI_API void SetShowPropertiesProc(TKwShowPropertiesProc proc);

/// The session of messages in structured storage: always active, on the loaded client library's OpenIMsgSession.
/// Being destroyed while references are left is a broken invariant, which a destructor cannot raise: EKwAssertionFailed
/// "TKwMAPIStorageSession.Destroy; Recount <> 0" goes to KwReportServerException.
class DEFTMAPI_API TKwMAPIStorageSession : public TKwMAPISessionBase, public virtual IKwMAPIStorageSession
{
public:
    explicit TKwMAPIStorageSession(TKwAutoIntfObject* createdBy = nullptr,
                                   TKwKeepAlive keepAlive = TKwKeepAlive::kaNone);

    [[nodiscard]] WideString GetClassName() const override;
    [[nodiscard]] WordBool Get_Active() const noexcept override { return true; }
    [[nodiscard]] WordBool UsesExtendedMAPI() const noexcept override { return true; }
    [[nodiscard]] WordBool Get_ConnectedToExchange() const noexcept override { return false; }

    /// MAPI's default allocator, fetched on first use. Adds no reference for the caller.
    [[nodiscard]] mapi::IMalloc* GetMemAllocIntf() override;
    /// The message session, opened on first use and closed with this object.
    [[nodiscard]] mapi::LPMSGSESS GetMsgSession() override;

protected:
    ~TKwMAPIStorageSession() override;

private:
    TKwComPtr<mapi::IMalloc> FMalloc;
    mapi::LPMSGSESS FMsgSession = nullptr;
};

} // namespace deftmapi

#include "mapi/core/uKwMAPIPropItems.hpp"
