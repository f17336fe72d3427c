// TKwMAPIMsgStoreEvents: the events of one store as functions of the application.
//
//     TKwMAPIMsgStoreEvents events;
//     events.OnNewMessage = [](IKwMAPIMsgStore&, const TKwMAPIEntryID&, const TKwMAPIEntryID& id, const WideString&) {
//     … }; events.Start(*store); while (…)
//         HrDispatchNotifications(0); // unless multi-threaded notifications were asked for
#pragma once

#include "mapi/uKwMAPIInterfaces.hpp"
#include "support/uKwExport.hpp"

#include <functional>
#include <mutex>

namespace deftmapi
{

using TKwMAPIStoreEvent = std::function<void(IKwMAPIMsgStore& store)>;
using TKwMAPINewMessageEvent = std::function<void(IKwMAPIMsgStore& store, const TKwMAPIEntryID& folderID,
                                                  const TKwMAPIEntryID& messageID, const WideString& messageClass)>;
/// An identifier that the store did not tell is Null.
using TKwMAPIObjectEvent = std::function<void(
    IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType, const TKwMAPIEntryID& parentID,
    const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties)>;

/// Connects functions to the events of a store, which it keeps alive between Start and Stop. A function may stop the
/// events, start them on another store, or destroy this object.
/// Threads: Start and Stop on the thread of the store; the functions are set before Start and are called where the
/// client delivers notifications (see IKwMAPIMsgStoreDEvents). Stop waits for a function that is running on another
/// thread.
class DEFTMAPI_API TKwMAPIMsgStoreEvents
{
public:
    TKwMAPIMsgStoreEvents();
    TKwMAPIMsgStoreEvents(const TKwMAPIMsgStoreEvents&) = delete;
    TKwMAPIMsgStoreEvents& operator=(const TKwMAPIMsgStoreEvents&) = delete;
    /// Stops. What that raises goes to KwReportServerException.
    ~TKwMAPIMsgStoreEvents();

    // Called when set.
    TKwMAPIStoreEvent OnSessionLogoff;
    TKwMAPINewMessageEvent OnNewMessage;
    TKwMAPIObjectEvent OnObjectCreated;
    TKwMAPIObjectEvent OnObjectDeleted;
    TKwMAPIObjectEvent OnObjectModified;
    TKwMAPIObjectEvent OnObjectMoved;
    TKwMAPIObjectEvent OnObjectCopied;

    /// Connects to the store; stops first when it is connected already.
    /// @throws EMAPI_NOT_SUPPORTED and others  the store cannot be listened to; nothing is connected then
    void Start(IKwMAPIMsgStore& store);
    /// Disconnects. Does nothing when it is not connected.
    void Stop();
    /// True while connected to a store that is notified: not after the session has ended.
    [[nodiscard]] bool GetActive() const;
    /// The store, or null while not connected.
    [[nodiscard]] TKwRef<IKwMAPIMsgStore> GetMsgStore() const;

    // Called by the store: each calls the application's function.
    void _OnSessionLogoff(IKwMAPIMsgStore& store);
    void _OnNewMessage(IKwMAPIMsgStore& store, const TKwMAPIEntryID& folderID, const TKwMAPIEntryID& messageID,
                       const WideString& messageClass);
    void _OnObjectCreated(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                          const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                          const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties);
    void _OnObjectDeleted(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                          const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                          const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties);
    void _OnObjectModified(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                           const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID,
                           const TKwMAPIEntryID& oldParentID, IKwMAPIPropList& properties);
    void _OnObjectMoved(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                        const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID,
                        IKwMAPIPropList& properties);
    void _OnObjectCopied(IKwMAPIMsgStore& store, const TKwMAPIEntryID& entryID, TKwMAPIObjectType objectType,
                         const TKwMAPIEntryID& parentID, const TKwMAPIEntryID& oldID, const TKwMAPIEntryID& oldParentID,
                         IKwMAPIPropList& properties);

private:
    class TSink;

    mutable std::mutex FLock;       // for the two below, as a function may stop the events
    TKwRef<IKwMAPIMsgStore> FStore; // null while not connected
    TKwRef<TSink> FSink;            // the last one, to be waited for
};

} // namespace deftmapi
