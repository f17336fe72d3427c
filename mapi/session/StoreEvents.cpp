// The events of a store: asking the client for notifications while somebody listens, and handing each to the sinks.
//
// A sink may end the notifications or drop the last reference on the store. Nothing here touches the store after a sink
// has been called without looking whether it is still there; the lock keeps other threads from destroying it meanwhile.
#include "mapi/core/ConnectSink.hpp"
#include "mapi/core/FirstFailure.hpp"
#include "mapi/core/uKwMAPIEntryID.hpp"
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/session/StoreSink.hpp"
#include "support/uKwEncoding.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sAlreadyAdvised = u"The messagestore notification system has already been activated!";
constexpr auto sNoNotifications = u"This messagestore does not support notifications!";
constexpr auto sPublicFolders = u"The public folders messagestore does not support notifications!";

constexpr mapi::ULONG StoreEvents = mapi::fnevNewMail | mapi::fnevObjectCreated | mapi::fnevObjectDeleted |
                                    mapi::fnevObjectModified | mapi::fnevObjectMoved | mapi::fnevObjectCopied;
// A bit that some clients take to tell more of an event, and others do not know.
constexpr mapi::ULONG ExtendedEvents = 0x20000000;

class TLoudSinks
{
public:
    TLoudSinks() { KwDisableSilentServerExceptions(); }
    ~TLoudSinks() { KwEnableSilentServerExceptions(); }
    TLoudSinks(const TLoudSinks&) = delete;
    TLoudSinks& operator=(const TLoudSinks&) = delete;
};

TKwMAPIEntryID EntryIDOf(mapi::ULONG size, const mapi::ENTRYID* id)
{
    return id != nullptr ? BinToEntryID(static_cast<std::int32_t>(size), id) : TKwNull{};
}

TKwMAPIMsgStore::TObjectEvent EventOf(const mapi::OBJECT_NOTIFICATION& told)
{
    TKwMAPIMsgStore::TObjectEvent event;
    const auto properties = KwMake<TKwMAPIPropList>();
    if (told.lpPropTagArray != nullptr)
        for (mapi::ULONG i = 0; i < told.lpPropTagArray->cValues; ++i)
            properties->Add(GetProp(told.lpPropTagArray->aulPropTag[i], true));
    event.Properties = properties;
    event.EntryID = EntryIDOf(told.cbEntryID, told.lpEntryID);
    event.ParentID = EntryIDOf(told.cbParentID, told.lpParentID);
    event.OldID = EntryIDOf(told.cbOldID, told.lpOldID);
    event.OldParentID = EntryIDOf(told.cbOldParentID, told.lpOldParentID);
    event.ObjectType = static_cast<TKwMAPIObjectType>(told.ulObjType);
    return event;
}

/// A sink may do with its list what it likes: the next one gets another.
TKwRef<IKwMAPIPropList> CopyOf(const IKwMAPIPropList& properties)
{
    const auto copy = KwMake<TKwMAPIPropList>();
    properties.AssignTo(*copy);
    return copy;
}

WideString MessageClassOf(const mapi::NEWMAIL_NOTIFICATION& told)
{
    if (told.lpszMessageClass == nullptr)
        return {};
    if ((told.ulFlags & mapi::MAPI_UNICODE) != 0)
        return static_cast<const char16_t*>(told.lpszMessageClass);
    return TKwEncoding().ToWide(static_cast<const char*>(told.lpszMessageClass));
}

} // namespace

// ---- TSink

mapi::ULONG DEFTMAPI_STDCALL TKwMAPIMsgStore::TSink::OnNotify(mapi::ULONG count, mapi::LPNOTIFICATION notifications)
{
    const TKwComPtr<TSink> self(this);
    const std::lock_guard lock(FEvents->Lock);
    for (mapi::ULONG i = 0; i < count && IsConnected(); ++i) {
        // Nothing may be thrown through the client's code.
        try {
            FEvents->Store->OnNotify(1, &notifications[i]);
        } catch (...) {
            KwReportServerException(std::current_exception());
        }
    }
    return 0;
}

bool TKwMAPIMsgStore::TSink::IsConnected() const
{
    if (FEvents->Store == nullptr)
        return false;
    const std::lock_guard lock(FEvents->AdviseLock);
    return FEvents->Store->FSink.Get() == this;
}

// ---- Asking for notifications

void TKwMAPIMsgStore::DEventConnect(const TKwRef<IKwMAPIMsgStoreDEvents>& sink, WordBool connect)
{
    if (!KwConnectSink(FEvents->Sinks, sink, connect, GetClassName()))
        return;
    try {
        EventSinkChanged(connect);
    } catch (...) {
        if (connect && FEvents->Sinks.Connect(sink, false))
            EventSinkChanged(false);
        throw;
    }
}

void TKwMAPIMsgStore::EventSinkChanged(bool connected)
{
    bool begin = false;
    bool end = false;
    {
        const std::lock_guard lock(FEvents->AdviseLock);
        FSinkCount += connected ? 1 : -1;
        begin = FSinkCount >= 1 && FSink == nullptr;
        end = FSinkCount == 0 && FSink != nullptr;
    }
    if (begin && connected)
        Advise();
    else if (end)
        UnAdvise();
}

void TKwMAPIMsgStore::CheckCanAdvise()
{
    if ((SupportMask() & mapi::STORE_NOTIFY_OK) == 0)
        CreateKwMAPIException(KwNotSupported, sNoNotifications)->Raise();
    if (auto* session = dynamic_cast<IKwMAPISession*>(Session())) {
        const TKwMAPIEntryID publicFolders = session->GetPublicFoldersMsgStoreID();
        if (!publicFolders.IsNull() && session->CompareEntryIDs(Get_EntryID(), publicFolders))
            CreateKwMAPIException(KwNotSupported, sPublicFolders)->Raise();
    }
}

void TKwMAPIMsgStore::Advise()
{
    CheckActive(u"Advise");
    CheckExtendedMAPI(u"Advise");
    if (Get_Advised())
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sAlreadyAdvised)->Raise();
    CheckCanAdvise();
    // What notifications are mostly about: a store that cannot show it says so here, before anybody waits for events.
    mapi::ULONG size = 0;
    TKwMAPIBuffer<mapi::ENTRYID> inbox(*this);
    if (CallGetReceiveFolder(size, inbox) == mapi::S_OK)
        static_cast<void>(
            OpenFolder(EntryIDOf(size, inbox.Get()), alBestAccess)->PropByName(PR_DISPLAY_NAME)->Get_Value());

    const TKwComPtr<TSink> sink(new TSink(FEvents));
    {
        const std::lock_guard lock(FEvents->AdviseLock);
        FSink = sink;
    }
    mapi::ULONG_PTR connection = 0;
    const auto advise = [&](mapi::ULONG mask) { return MsgStore().Advise(0, nullptr, mask, sink.Get(), &connection); };
    mapi::HRESULT hr = advise(StoreEvents | ExtendedEvents);
    if (hr == mapi::MAPI_E_UNKNOWN_FLAGS)
        hr = advise(StoreEvents);
    bool ended = false;
    {
        const std::lock_guard lock(FEvents->AdviseLock);
        ended = FSink != sink;
        if (!ended)
            FConnection = connection;
    }
    if (ended) { // by a sink that was called before the client had answered
        if (connection != 0)
            CheckMAPIResult(*this, u"UnAdvise", MsgStore().Unadvise(connection));
        return;
    }
    try {
        CheckMAPIResult(*this, u"Start", hr);
        static_cast<void>(PropByName(PR_TEST_LINE_SPEED)->Get_Value());
        if (connection == 0)
            CreateKwMAPIException(KwNotSupported, sNoNotifications)->Raise();
    } catch (...) {
        EndAdviseQuietly();
        throw;
    }
}

mapi::HRESULT TKwMAPIMsgStore::EndAdvise()
{
    TKwComPtr<TSink> sink; // released when nothing is locked any more
    mapi::ULONG_PTR connection = 0;
    {
        const std::lock_guard lock(FEvents->AdviseLock);
        sink = std::exchange(FSink, nullptr); // from here on it hands on nothing
        connection = std::exchange(FConnection, 0);
    }
    mapi::HRESULT hr = mapi::S_OK;
    if (connection != 0 && Get_MAPIOBJECT() != nullptr)
        hr = MsgStore().Unadvise(connection);
    // Not before: a client may wait in Unadvise for what it is delivering. A sink may still be running, also when it
    // has ended the notifications itself.
    const std::lock_guard wait(FEvents->Lock);
    return hr;
}

void TKwMAPIMsgStore::EndAdviseQuietly() noexcept
{
    try {
        UnAdvise();
    } catch (...) {
        KwReportServerException(std::current_exception());
    }
}

void TKwMAPIMsgStore::UnAdvise()
{
    CheckMAPIResult(*this, u"UnAdvise", EndAdvise());
}

WordBool TKwMAPIMsgStore::Get_Advised() const noexcept
{
    const std::lock_guard lock(FEvents->AdviseLock);
    return FSink != nullptr;
}

void TKwMAPIMsgStore::BeforeDestruction() noexcept
{
    EndAdviseQuietly();
    {
        const std::lock_guard lock(FEvents->Lock);
        FEvents->Store = nullptr;
    }
    // The client may keep its sink, and with it the events, for longer: the application's sinks go now.
    FEvents->Sinks.DisconnectAll();
    TKwMAPIProp::BeforeDestruction();
}

// ---- Handing them to the sinks

void TKwMAPIMsgStore::OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications)
{
    const std::shared_ptr<TEvents> events = FEvents;
    const std::lock_guard lock(events->Lock);
    const TLoudSinks loud;
    for (mapi::ULONG i = 0; i < count && events->Store != nullptr; ++i)
        events->Store->OnStoreEvent(notifications[i]);
}

void TKwMAPIMsgStore::OnStoreEvent(const mapi::NOTIFICATION& told)
{
    switch (told.ulEventType) {
    case mapi::fnevNewMail: {
        const mapi::NEWMAIL_NOTIFICATION& mail = told.info.newmail;
        return DoOnNewMessage(EntryIDOf(mail.cbParentID, mail.lpParentID), EntryIDOf(mail.cbEntryID, mail.lpEntryID),
                              MessageClassOf(mail));
    }
    case mapi::fnevObjectCreated:
        return DoOnObjectCreated(EventOf(told.info.obj));
    case mapi::fnevObjectDeleted:
        return DoOnObjectDeleted(EventOf(told.info.obj));
    case mapi::fnevObjectModified:
        return DoOnObjectModified(EventOf(told.info.obj));
    case mapi::fnevObjectMoved:
        return DoOnObjectMoved(EventOf(told.info.obj));
    case mapi::fnevObjectCopied:
        return DoOnObjectCopied(EventOf(told.info.obj));
    default:
        return;
    }
}

template <typename Call>
void TKwMAPIMsgStore::Dispatch(Call call)
{
    const std::shared_ptr<TEvents> events = FEvents;
    const std::lock_guard lock(events->Lock);
    // A sink that fails takes nothing from the others.
    TFirstFailure failure;
    events->Sinks.ForEach([&](IKwMAPIMsgStoreDEvents& sink) {
        if (events->Store != nullptr) // else a sink before destroyed it
            failure.Keep([&] { KwCallServerSink([&] { call(sink, *events->Store); }); });
    });
    failure.Raise();
}

void TKwMAPIMsgStore::DoOnSessionLogoff()
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) { sink._OnSessionLogoff(store); });
}

void TKwMAPIMsgStore::DoOnNewMessage(const TKwMAPIEntryID& folderID, const TKwMAPIEntryID& messageID,
                                     const WideString& messageClass)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnNewMessage(store, folderID, messageID, messageClass);
    });
}

void TKwMAPIMsgStore::DoOnObjectCreated(const TObjectEvent& e)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnObjectCreated(store, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                              *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectDeleted(const TObjectEvent& e)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnObjectDeleted(store, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                              *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectModified(const TObjectEvent& e)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnObjectModified(store, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                               *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectMoved(const TObjectEvent& e)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnObjectMoved(store, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID, *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectCopied(const TObjectEvent& e)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnObjectCopied(store, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                             *CopyOf(*e.Properties));
    });
}

} // namespace deftmapi
