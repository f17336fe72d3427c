// IMAPIProp over a property bag: the part that stores, folders, messages and attachments have in common.
// PropertyCore holds the logic and is no template; PropertyObject puts it behind the interface of the derived object.
#pragma once

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"
#include "client/store/StoreFile.hpp"

namespace deftmapi::client
{

/// The property with its value in memory. REQUIRES: a blob is of acceptable size
[[nodiscard]] Prop Materialize(const Prop& prop);

class PropertyCore
{
public:
    PropertyCore(const PropertyCore&) = delete;
    PropertyCore& operator=(const PropertyCore&) = delete;

    /// Puts the value that a stream has written into the object. REQUIRES: the lock of its home is held.
    void SetStreamValue(ULONG tag, PropData data);
    [[nodiscard]] StoreFile& Store() const { return *FStore; }
    [[nodiscard]] const StorePtr& SharedStore() const { return FStore; }
    [[nodiscard]] const std::shared_ptr<PropertyHome>& Home() const { return FHome; }
    [[nodiscard]] bool IsWritable() const { return FWritable; }
    /// The most bytes that one value may have; more are MAPI_E_TOO_BIG, in a stream STG_E_MEDIUMFULL. What the
    /// interface can say unless an object has a limit of its own.
    [[nodiscard]] virtual std::uint64_t ValueLimit() const { return 0xFFFFFFFF; }
    /// Whether the object has what a stream wrote only after Commit, or when the stream is released: for objects that
    /// keep every change at once.
    [[nodiscard]] virtual bool WaitsForCommit() const { return false; }

protected:
    PropertyCore(StorePtr store, bool writable) : FStore(std::move(store)), FWritable(writable), FHome(FStore) {}
    /// An object of no store: it has no named properties.
    PropertyCore(std::shared_ptr<PropertyHome> home, bool writable) : FWritable(writable), FHome(std::move(home)) {}
    virtual ~PropertyCore() = default;

    /// Called at the beginning of every property method: brings what is in memory up to date.
    virtual void Refresh() {}
    /// The properties as they are now.
    virtual const PropertyBag& Read() = 0;
    /// The same, to be changed; Changed() follows.
    virtual PropertyBag& Write() = 0;
    /// Called after properties were set or deleted, with their identifiers.
    virtual void Changed(std::span<const ULONG> ids) = 0;
    /// A property that is not stored, or nothing.
    [[nodiscard]] virtual std::optional<Prop> Computed(ULONG id);
    /// The tags of Computed that the object has.
    [[nodiscard]] virtual std::vector<ULONG> ComputedTags() const;
    /// S_OK, or the problem with setting (or deleting) this property.
    [[nodiscard]] virtual mapi::HRESULT CheckChange(ULONG tag, bool deleting);
    /// Whether the object has this property as an object, so that deleting it is a change without a value in the bag.
    [[nodiscard]] virtual bool HasObject(ULONG) const { return false; }
    /// OpenProperty for everything but streams. @throws Failure  MAPI_E_INTERFACE_NOT_SUPPORTED
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> OpenObject(ULONG tag, const mapi::IID& iid, ULONG options,
                                                               ULONG flags);
    /// The object itself, for those that must keep it alive.
    [[nodiscard]] virtual TKwComPtr<mapi::IUnknown> Self() = 0;

    /// Runs the body of a method under the store's lock and the exception guard.
    template <typename Body>
    mapi::HRESULT Run(Body&& body) noexcept
    {
        const std::lock_guard lock(FHome->Lock());
        return Guard(FLast, std::forward<Body>(body));
    }
    void RequireWritable() const;
    /// Brings what is in memory up to date and puts the changed properties onto it: another process may have changed
    /// the others. For objects whose changes are written at once. REQUIRES: a transaction is open
    void PutOntoStored(std::span<const ULONG> ids);
    /// The stored or computed property in the type of the tag; an error property when there is none.
    [[nodiscard]] Prop GetOne(ULONG tag, bool unicode);

    mapi::HRESULT DoGetProps(const mapi::SPropTagArray* tags, ULONG flags, ULONG* count, mapi::LPSPropValue* values);
    void DoGetPropList(ULONG flags, mapi::LPSPropTagArray* tags);
    void DoOpenProperty(ULONG tag, mapi::LPCIID iid, ULONG options, ULONG flags, mapi::LPUNKNOWN* object);
    void DoSetProps(ULONG count, const mapi::SPropValue* values, mapi::LPSPropProblemArray* problems);
    void DoDeleteProps(const mapi::SPropTagArray* tags, mapi::LPSPropProblemArray* problems);
    mapi::HRESULT DoGetNamesFromIDs(mapi::LPSPropTagArray* tags, const mapi::GUID* set, ULONG flags, ULONG* count,
                                    mapi::LPMAPINAMEID** names);
    mapi::HRESULT DoGetIDsFromNames(ULONG count, mapi::LPMAPINAMEID* names, ULONG flags, mapi::LPSPropTagArray* tags);

    StorePtr FStore; // null for an object of no store
    bool FWritable;
    LastError FLast;

private:
    std::shared_ptr<PropertyHome> FHome;
    [[nodiscard]] std::vector<ULONG> AllTags(bool unicode);
    [[nodiscard]] std::optional<Prop> ConvertHtml(const Prop& stored, ULONG type);
};

template <typename Interface>
class PropertyObject : public ComObject<Interface>, public PropertyCore
{
public:
    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT code, ULONG flags,
                                                mapi::LPMAPIERROR* error) noexcept override
    {
        return FLast.Get(code, flags, error);
    }
    mapi::HRESULT DEFTMAPI_STDCALL SaveChanges(ULONG flags) noexcept override
    {
        return Run([&] { Save(flags); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetProps(mapi::LPSPropTagArray tags, ULONG flags, ULONG* count,
                                            mapi::LPSPropValue* values) noexcept override
    {
        return Run([&] { return DoGetProps(tags, flags, count, values); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetPropList(ULONG flags, mapi::LPSPropTagArray* tags) noexcept override
    {
        return Run([&] { DoGetPropList(flags, tags); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenProperty(ULONG tag, mapi::LPCIID iid, ULONG options, ULONG flags,
                                                mapi::LPUNKNOWN* object) noexcept override
    {
        return Run([&] { DoOpenProperty(tag, iid, options, flags, object); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL SetProps(ULONG count, mapi::LPSPropValue values,
                                            mapi::LPSPropProblemArray* problems) noexcept override
    {
        return Run([&] { DoSetProps(count, values, problems); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteProps(mapi::LPSPropTagArray tags,
                                               mapi::LPSPropProblemArray* problems) noexcept override
    {
        return Run([&] { DoDeleteProps(tags, problems); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL CopyTo(ULONG excludedCount, mapi::LPCIID excludedInterfaces,
                                          mapi::LPSPropTagArray excluded, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS,
                                          mapi::LPCIID interfaceId, mapi::LPVOID destination, ULONG flags,
                                          mapi::LPSPropProblemArray* problems) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyProps(mapi::LPSPropTagArray included, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS,
                                             mapi::LPCIID interfaceId, mapi::LPVOID destination, ULONG flags,
                                             mapi::LPSPropProblemArray* problems) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetNamesFromIDs(mapi::LPSPropTagArray* tags, mapi::LPGUID set, ULONG flags,
                                                   ULONG* count, mapi::LPMAPINAMEID** names) noexcept override
    {
        return Run([&] { return DoGetNamesFromIDs(tags, set, flags, count, names); });
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetIDsFromNames(ULONG count, mapi::LPMAPINAMEID* names, ULONG flags,
                                                   mapi::LPSPropTagArray* tags) noexcept override
    {
        return Run([&] { return DoGetIDsFromNames(count, names, flags, tags); });
    }

protected:
    using PropertyCore::PropertyCore;

    /// SaveChanges. Objects whose changes are written at once have nothing to do.
    virtual void Save(ULONG flags)
    {
        RequireFlags(flags, mapi::KEEP_OPEN_READONLY | mapi::KEEP_OPEN_READWRITE | mapi::FORCE_SAVE |
                                mapi::MAPI_DEFERRED_ERRORS);
    }
    [[nodiscard]] TKwComPtr<mapi::IUnknown> Self() override
    {
        return TKwComPtr<mapi::IUnknown>(static_cast<Interface*>(this));
    }
};

/// What CopyTo and CopyProps do, through the published interface of both objects, so that the destination may be of any
/// provider. `tags` null copies everything but `excluded`. Between folders of one connection all of it is one
/// transaction; else each step is one, and what a message or attachment was given counts when it is saved.
/// @param progress  may be null; properties, attachments, messages and folders are its steps
void CopyObject(mapi::IMAPIProp& from, const mapi::SPropTagArray* tags, const mapi::SPropTagArray* excluded,
                std::span<const mapi::IID> excludedInterfaces, mapi::IMAPIProgress* progress, mapi::LPCIID interfaceId,
                mapi::LPVOID destination, ULONG flags, mapi::LPSPropProblemArray* problems);

template <typename Interface>
mapi::HRESULT
PropertyObject<Interface>::CopyTo(ULONG excludedCount, mapi::LPCIID excludedInterfaces, mapi::LPSPropTagArray excluded,
                                  mapi::ULONG_PTR, mapi::LPMAPIPROGRESS progress, mapi::LPCIID interfaceId,
                                  mapi::LPVOID destination, ULONG flags, mapi::LPSPropProblemArray* problems) noexcept
{
    // Without the lock: the destination takes that of its own store, and two copies in opposite directions must not
    // meet.
    return Guard(FLast, [&] {
        if (flags & mapi::MAPI_MOVE)
            RequireWritable();
        CopyObject(*this, nullptr, excluded, std::span(excludedInterfaces, excludedInterfaces ? excludedCount : 0),
                   progress, interfaceId, destination, flags, problems);
    });
}

template <typename Interface>
mapi::HRESULT PropertyObject<Interface>::CopyProps(mapi::LPSPropTagArray included, mapi::ULONG_PTR,
                                                   mapi::LPMAPIPROGRESS progress, mapi::LPCIID interfaceId,
                                                   mapi::LPVOID destination, ULONG flags,
                                                   mapi::LPSPropProblemArray* problems) noexcept
{
    return Guard(FLast, [&] {
        Require(included, u"lpIncludeProps");
        if (flags & mapi::MAPI_MOVE)
            RequireWritable();
        CopyObject(*this, included, nullptr, {}, progress, interfaceId, destination, flags, problems);
    });
}

} // namespace deftmapi::client
