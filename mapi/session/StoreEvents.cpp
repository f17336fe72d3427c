// The events of a store: asking the client for notifications while somebody listens, and handing each to the sinks.
//
// A sink may end the notifications or drop the last reference on the store. Nothing here touches the store after a sink
// has been called without looking whether it is still there; the lock keeps other threads from destroying it meanwhile.
#include "mapi/core/Advised.hpp"
#include "mapi/core/ConnectSink.hpp"
#include "mapi/core/uKwMAPIEntryID.hpp"
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"
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

void TKwMAPIMsgStore::DEventConnect(const TKwRef<IKwMAPIMsgStoreDEvents>& sink, WordBool connect)
{
    if (!KwConnectSink(FAdvised->Sinks, sink, connect, GetClassName()))
        return;
    try {
        EventSinkChanged(connect);
    } catch (...) {
        if (connect && FAdvised->Sinks.Connect(sink, false))
            EventSinkChanged(false);
        throw;
    }
}

void TKwMAPIMsgStore::EventSinkChanged(bool connected)
{
    const std::int32_t count = FSinkCount += connected ? 1 : -1;
    const bool begin = count >= 1 && !Get_Advised();
    const bool end = count == 0 && Get_Advised();
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

    const auto answer = FAdvised->Advise([this](mapi::IMAPIAdviseSink* sink, mapi::ULONG_PTR* connection) {
        const auto advise = [&](mapi::ULONG mask) { return MsgStore().Advise(0, nullptr, mask, sink, connection); };
        const mapi::HRESULT hr = advise(StoreEvents | ExtendedEvents);
        return hr == mapi::MAPI_E_UNKNOWN_FLAGS ? advise(StoreEvents) : hr;
    });
    if (!answer)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sAlreadyAdvised)->Raise();
    if (answer->Ended) {
        if (answer->Connection != 0)
            CheckMAPIResult(*this, u"UnAdvise", EndConnection(answer->Connection));
        return;
    }
    try {
        CheckMAPIResult(*this, u"Start", answer->Result);
        static_cast<void>(PropByName(PR_TEST_LINE_SPEED)->Get_Value());
        if (answer->Connection == 0)
            CreateKwMAPIException(KwNotSupported, sNoNotifications)->Raise();
    } catch (...) {
        EndAdviseQuietly();
        throw;
    }
}

mapi::HRESULT TKwMAPIMsgStore::EndConnection(mapi::ULONG_PTR connection)
{
    return Get_MAPIOBJECT() != nullptr ? MsgStore().Unadvise(connection) : mapi::S_OK;
}

mapi::HRESULT TKwMAPIMsgStore::EndAdvise()
{
    return FAdvised->End([this](mapi::ULONG_PTR connection) { return EndConnection(connection); });
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
    return FAdvised->IsAdvised();
}

void TKwMAPIMsgStore::BeforeDestruction() noexcept
{
    EndAdviseQuietly();
    FAdvised->Forget();
    TKwMAPIProp::BeforeDestruction();
}

// ---- Handing them to the sinks

void TKwMAPIMsgStore::OnNotify(mapi::ULONG count, const mapi::NOTIFICATION* notifications)
{
    const TLoudSinks loud;
    FAdvised->ForEach(count, notifications,
                      [](TKwMAPIMsgStore& store, const mapi::NOTIFICATION& told) { store.OnStoreEvent(told); });
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

void TKwMAPIMsgStore::DoOnSessionLogoff()
{
    FAdvised->Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) { sink._OnSessionLogoff(store); });
}

void TKwMAPIMsgStore::DoOnNewMessage(const TKwMAPIEntryID& folderID, const TKwMAPIEntryID& messageID,
                                     const WideString& messageClass)
{
    FAdvised->Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnNewMessage(store, folderID, messageID, messageClass);
    });
}

void TKwMAPIMsgStore::DoOnObjectCreated(const TObjectEvent& e)
{
    FAdvised->Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnObjectCreated(store, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                              *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectDeleted(const TObjectEvent& e)
{
    FAdvised->Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnObjectDeleted(store, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                              *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectModified(const TObjectEvent& e)
{
    FAdvised->Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnObjectModified(store, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                               *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectMoved(const TObjectEvent& e)
{
    FAdvised->Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnObjectMoved(store, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID, *CopyOf(*e.Properties));
    });
}

void TKwMAPIMsgStore::DoOnObjectCopied(const TObjectEvent& e)
{
    FAdvised->Dispatch([&](IKwMAPIMsgStoreDEvents& sink, IKwMAPIMsgStore& store) {
        sink._OnObjectCopied(store, e.EntryID, e.ObjectType, e.ParentID, e.OldID, e.OldParentID,
                             *CopyOf(*e.Properties));
    });
}

} // namespace deftmapi
