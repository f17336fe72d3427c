// The events of one store as functions. The store holds a sink of its own, which outlives the component by as long as a
// call is running.
#include "mapi/session/uKwMAPIMsgStoreEvents.hpp"

#include "mapi/core/FunctionSink.hpp"

namespace deftmapi
{

class TKwMAPIMsgStoreEvents::TSink final : public TKwFunctionSink<TKwMAPIMsgStoreEvents, IKwMAPIMsgStoreDEvents>
{
public:
    using TKwFunctionSink::TKwFunctionSink;

    void _OnSessionLogoff(IKwMAPIMsgStore& store) override { Pass(&TKwMAPIMsgStoreEvents::_OnSessionLogoff, store); }
    void _OnNewMessage(IKwMAPIMsgStore& store, const TKwMAPIEntryID& folderID, const TKwMAPIEntryID& messageID,
                       const WideString& messageClass) override
    {
        Pass(&TKwMAPIMsgStoreEvents::_OnNewMessage, store, folderID, messageID, messageClass);
    }
    void _OnObjectCreated(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                          const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                          const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) override
    {
        Pass(&TKwMAPIMsgStoreEvents::_OnObjectCreated, store, entryID, objectType, parentID, oldID, oldParentID,
             properties);
    }
    void _OnObjectDeleted(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                          const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                          const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) override
    {
        Pass(&TKwMAPIMsgStoreEvents::_OnObjectDeleted, store, entryID, objectType, parentID, oldID, oldParentID,
             properties);
    }
    void _OnObjectModified(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                           const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                           const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties) override
    {
        Pass(&TKwMAPIMsgStoreEvents::_OnObjectModified, store, entryID, objectType, parentID, oldID, oldParentID,
             properties);
    }
    void _OnObjectMoved(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                        const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID,
                        IKwMAPIPropList& properties) override
    {
        Pass(&TKwMAPIMsgStoreEvents::_OnObjectMoved, store, entryID, objectType, parentID, oldID, oldParentID,
             properties);
    }
    void _OnObjectCopied(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                         const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID,
                         IKwMAPIPropList& properties) override
    {
        Pass(&TKwMAPIMsgStoreEvents::_OnObjectCopied, store, entryID, objectType, parentID, oldID, oldParentID,
             properties);
    }
};

TKwMAPIMsgStoreEvents::TKwMAPIMsgStoreEvents() = default;

TKwMAPIMsgStoreEvents::~TKwMAPIMsgStoreEvents()
{
    try {
        Stop();
    } catch (...) {
        KwReportServerException(std::current_exception());
    }
}

void TKwMAPIMsgStoreEvents::Start(IKwMAPIMsgStore& store)
{
    const TKwRef<IKwMAPIMsgStore> held(&store); // Stop may drop the last reference on it
    Stop();
    const TKwRef<TSink> sink = KwMake<TSink>(*this);
    {
        const std::lock_guard lock(FLock);
        FStore = held;
        FSink = sink;
    }
    try {
        store.DEventConnect(sink, true);
    } catch (...) {
        sink->Detach();
        const std::lock_guard lock(FLock);
        FStore = nullptr;
        throw;
    }
}

void TKwMAPIMsgStoreEvents::Stop()
{
    TKwRef<TSink> sink;
    TKwRef<IKwMAPIMsgStore> store;
    {
        const std::lock_guard lock(FLock);
        sink = FSink;
        store = std::exchange(FStore, nullptr);
    }
    if (sink)
        sink->Detach(); // also when its function has stopped the events itself: it may still be running
    if (store)
        store->DEventConnect(sink, false);
}

bool TKwMAPIMsgStoreEvents::GetActive() const
{
    const TKwRef<IKwMAPIMsgStore> store = GetMsgStore();
    return store && store->Get_Advised();
}

TKwRef<IKwMAPIMsgStore> TKwMAPIMsgStoreEvents::GetMsgStore() const
{
    const std::lock_guard lock(FLock);
    return FStore;
}

void TKwMAPIMsgStoreEvents::_OnSessionLogoff(IKwMAPIMsgStore& store)
{
    KwCallFunction(OnSessionLogoff, store);
}

void TKwMAPIMsgStoreEvents::_OnNewMessage(IKwMAPIMsgStore& store, const TKwMAPIEntryID& folderID,
                                          const TKwMAPIEntryID& messageID, const WideString& messageClass)
{
    KwCallFunction(OnNewMessage, store, folderID, messageID, messageClass);
}

void TKwMAPIMsgStoreEvents::_OnObjectCreated(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID,
                                             TKwMAPIObjectType objectType, const TKwMAPIEntryID& parentID,
                                             const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID,
                                             IKwMAPIPropList& properties)
{
    KwCallFunction(OnObjectCreated, store, entryID, objectType, parentID, oldID, oldParentID, properties);
}

void TKwMAPIMsgStoreEvents::_OnObjectDeleted(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID,
                                             TKwMAPIObjectType objectType, const TKwMAPIEntryID& parentID,
                                             const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID,
                                             IKwMAPIPropList& properties)
{
    KwCallFunction(OnObjectDeleted, store, entryID, objectType, parentID, oldID, oldParentID, properties);
}

void TKwMAPIMsgStoreEvents::_OnObjectModified(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID,
                                              TKwMAPIObjectType objectType, const TKwMAPIEntryID& parentID,
                                              const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID,
                                              IKwMAPIPropList& properties)
{
    KwCallFunction(OnObjectModified, store, entryID, objectType, parentID, oldID, oldParentID, properties);
}

void TKwMAPIMsgStoreEvents::_OnObjectMoved(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID,
                                           TKwMAPIObjectType objectType, const TKwMAPIEntryID& parentID,
                                           const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID,
                                           IKwMAPIPropList& properties)
{
    KwCallFunction(OnObjectMoved, store, entryID, objectType, parentID, oldID, oldParentID, properties);
}

void TKwMAPIMsgStoreEvents::_OnObjectCopied(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID,
                                            TKwMAPIObjectType objectType, const TKwMAPIEntryID& parentID,
                                            const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID,
                                            IKwMAPIPropList& properties)
{
    KwCallFunction(OnObjectCopied, store, entryID, objectType, parentID, oldID, oldParentID, properties);
}

} // namespace deftmapi
