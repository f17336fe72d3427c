// The events of a store: asking the client for notifications while somebody listens, and handing each to the sinks.
//
// A sink may end the notifications or drop the last reference on the store; the lock of the advise sink keeps other
// threads from destroying the store while one is being called.
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

// ---- Asking for notifications

void TKwMAPIMsgStore::DEventConnect(const TKwRef<IKwMAPIMsgStoreDEvents>& sink, bool connect)
{
    if (!FSinks.Connect(sink, connect))
        return;
    try {
        EventSinkChanged(connect);
    } catch (...) {
        if (connect && FSinks.Connect(sink, false))
            EventSinkChanged(false);
        throw;
    }
}

void TKwMAPIMsgStore::EventSinkChanged(bool connected)
{
    bool begin = false;
    bool end = false;
    {
        const std::lock_guard lock(FAdviseLock);
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

    const TKwComPtr<TSink> sink(new TSink(*this));
    {
        const std::lock_guard lock(FAdviseLock);
        FSink = sink;
    }
    mapi::ULONG_PTR connection = 0;
    const auto advise = [&](mapi::ULONG mask) { return MsgStore().Advise(0, nullptr, mask, sink.Get(), &connection); };
    mapi::HRESULT hr = advise(StoreEvents | ExtendedEvents);
    if (hr == mapi::MAPI_E_UNKNOWN_FLAGS)
        hr = advise(StoreEvents);
    bool ended = false;
    {
        const std::lock_guard lock(FAdviseLock);
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
    TKwComPtr<TSink> sink;
    mapi::ULONG_PTR connection = 0;
    {
        const std::lock_guard lock(FAdviseLock);
        sink = std::exchange(FSink, nullptr);
        connection = std::exchange(FConnection, 0);
    }
    mapi::HRESULT hr = mapi::S_OK;
    if (connection != 0 && Get_MAPIOBJECT() != nullptr)
        hr = MsgStore().Unadvise(connection);
    // Not before: a client may wait in Unadvise for what it is delivering.
    if (sink)
        sink->Detach();
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

bool TKwMAPIMsgStore::Get_Advised() const noexcept
{
    const std::lock_guard lock(FAdviseLock);
    return FSink != nullptr;
}

void TKwMAPIMsgStore::BeforeDestruction() noexcept
{
    EndAdviseQuietly();
    try {
        for (const TKwRef<IKwMAPIMsgStoreDEvents>& sink : FSinks.Snapshot())
            FSinks.Connect(sink, false);
    } catch (...) {
        KwReportServerException(std::current_exception());
    }
    TKwMAPIProp::BeforeDestruction();
}

// ---- Handing them to the sinks

void TKwMAPIMsgStore::OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications)
{
    const TKwRef<TKwMAPIMsgStore> self(this); // a sink may drop the application's last reference
    const TLoudSinks loud;
    for (mapi::ULONG i = 0; i < count; ++i) {
        const mapi::NOTIFICATION& told = notifications[i];
        switch (told.ulEventType) {
        case mapi::fnevNewMail: {
            const mapi::NEWMAIL_NOTIFICATION& mail = told.info.newmail;
            DoOnNewMessage(EntryIDOf(mail.cbParentID, mail.lpParentID), EntryIDOf(mail.cbEntryID, mail.lpEntryID),
                           MessageClassOf(mail));
            break;
        }
        case mapi::fnevObjectCreated:
            DoOnObjectCreated(EventOf(told.info.obj));
            break;
        case mapi::fnevObjectDeleted:
            DoOnObjectDeleted(EventOf(told.info.obj));
            break;
        case mapi::fnevObjectModified:
            DoOnObjectModified(EventOf(told.info.obj));
            break;
        case mapi::fnevObjectMoved:
            DoOnObjectMoved(EventOf(told.info.obj));
            break;
        case mapi::fnevObjectCopied:
            DoOnObjectCopied(EventOf(told.info.obj));
            break;
        default:
            break;
        }
    }
}

template <typename Call>
void TKwMAPIMsgStore::Dispatch(Call call)
{
    const TKwRef<TKwMAPIMsgStore> self(this);
    // A sink that fails takes nothing from the others.
    std::exception_ptr failure;
    for (const TKwRef<IKwMAPIMsgStoreDEvents>& sink : FSinks.Snapshot()) {
        try {
            KwCallServerSink([&] { call(*sink); });
        } catch (...) {
            if (failure)
                KwReportServerException(failure);
            failure = std::current_exception();
        }
    }
    if (failure)
        std::rethrow_exception(failure);
}

void TKwMAPIMsgStore::DoOnSessionLogoff()
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink) { sink._OnSessionLogoff(*this); });
}

void TKwMAPIMsgStore::DoOnNewMessage(const TKwMAPIEntryID& folderID, const TKwMAPIEntryID& messageID,
                                     const WideString& messageClass)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink) { sink._OnNewMessage(*this, folderID, messageID, messageClass); });
}

void TKwMAPIMsgStore::DoOnObjectCreated(const TObjectEvent& e)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink) {
        sink._OnObjectCreated(*this, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                              *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectDeleted(const TObjectEvent& e)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink) {
        sink._OnObjectDeleted(*this, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                              *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectModified(const TObjectEvent& e)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink) {
        sink._OnObjectModified(*this, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                               *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectMoved(const TObjectEvent& e)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink) {
        sink._OnObjectMoved(*this, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID, *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectCopied(const TObjectEvent& e)
{
    Dispatch([&](IKwMAPIMsgStoreDEvents& sink) {
        sink._OnObjectCopied(*this, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                             *CopyOf(*e.Properties));
    });
}

} // namespace deftmapi
