// The registry of message classes, and the making of message wrappers.
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"
#include "mapi/session/AccessLevel.hpp"

#include <array>
#include <memory>

namespace deftmapi
{

namespace
{

struct TRegistration
{
    WideString MessageClass;
    const TKwMAPIMessageClass* WrapperClass;
    std::int32_t Priority;
};

/// In the order of registration, which decides between several base classes.
std::vector<TRegistration>& Registrations()
{
    // Never destroyed: a session that an application keeps in a global ends after all of the library's own statics.
    static std::vector<TRegistration>& registrations = *new std::vector<TRegistration>;
    return registrations;
}

bool IsSubclass(WideView messageClass, WideView baseClass)
{
    return messageClass.size() > baseClass.size() && messageClass[baseClass.size()] == u'.' &&
           KwStartsText(baseClass, messageClass);
}

/// Empty for a message without a class.
WideString ReadMessageClass(mapi::IMessage& message, TKwMAPISessionBase& session)
{
    for (const TKwMAPIPropDef def : {PR_MESSAGE_CLASS_W, PR_MESSAGE_CLASS_A}) {
        std::array<mapi::ULONG, 2> tags{1, GetPropTag(def)};
        TKwMAPIBuffer<mapi::SPropValue> value(session);
        mapi::ULONG count = 0;
        const mapi::HRESULT hr =
            message.GetProps(reinterpret_cast<mapi::SPropTagArray*>(tags.data()), 0, &count, Out(value));
        if (hr == mapi::MAPI_E_BAD_CHARWIDTH)
            continue; // the other form may be there
        if (hr != mapi::MAPI_W_ERRORS_RETURNED)
            CheckMAPIResult(u"TKwMAPIMessage", u"GetProps", hr);
        if (count != 1)
            CheckMAPIResult(u"TKwMAPIMessage", u"GetProps", mapi::MAPI_E_CALL_FAILED);
        if (mapi::PROP_TYPE(value->ulPropTag) != mapi::PT_ERROR)
            return KwPropValueToVariant(*value).AsStringW();
        // Only what is not there has no class: wrapping by guess would hand out a wrapper of the wrong kind.
        if (value->Value.err != mapi::MAPI_E_NOT_FOUND)
            CheckMAPIResult(u"TKwMAPIMessage", u"GetProps", value->Value.err);
    }
    return {};
}

} // namespace

const TKwMAPIMessageClass KwMAPIMessageClass{
    u"TKwMAPIMessage", [](TKwMAPIObject* owner, TKwMAPIAccessLevel accessLevel) -> TKwRef<TKwMAPIMessage> {
        return KwMake<TKwMAPIMessage>(owner, accessLevel);
    }};

void KwRegisterMessageClass(const TKwMAPIMessageClass& wrapperClass, WideView messageClass, std::int32_t priority)
{
    auto& registrations = Registrations();
    for (auto it = registrations.rbegin(); it != registrations.rend(); ++it) {
        if (!KwSameText(it->MessageClass, messageClass))
            continue;
        if (it->Priority < priority) {
            it->WrapperClass = &wrapperClass;
            it->Priority = priority;
        }
        return;
    }
    registrations.push_back({WideString(messageClass), &wrapperClass, priority});
}

const TKwMAPIMessageClass& KwFindMessageClass(WideView messageClass)
{
    for (const TRegistration& registration : Registrations())
        if (KwSameText(registration.MessageClass, messageClass))
            return *registration.WrapperClass;
    for (const TRegistration& registration : Registrations())
        if (IsSubclass(messageClass, registration.MessageClass))
            return *registration.WrapperClass;
    return KwMAPIMessageClass;
}

TKwRef<TKwMAPIMessage> CreateMessageObjectFromMsgClass(WideView messageClass, TKwMAPIObject* owner,
                                                       TKwMAPISessionBase* session,
                                                       TKwRef<IKwMAPIStorageSession> storageSession,
                                                       mapi::IStorage* storage, mapi::IMessage* message,
                                                       TKwMAPIAccessLevel accessLevel)
{
    TKwRef<TKwMAPIMessage> wrapper = KwFindMessageClass(messageClass).Create(owner, accessLevel);
    wrapper->SetSession(session);
    wrapper->SetStorageSession(std::move(storageSession), storage);
    wrapper->SetMAPIOBJECT(message);
    SetOpenedAccess(*wrapper, accessLevel);
    return wrapper;
}

TKwRef<TKwMAPIMessage> CreateMessageObjectFromIntf(TKwMAPIObject* owner, TKwMAPISessionBase* session,
                                                   mapi::IMessage* message, TKwMAPIAccessLevel accessLevel)
{
    return CreateMessageObjectFromMsgClass(ReadMessageClass(*message, *session), owner, session, nullptr, nullptr,
                                           message, accessLevel);
}

TKwRef<TKwMAPIMessage> CreateMessageObjectFromStorage(TKwMAPISessionBase* session,
                                                      TKwRef<IKwMAPIStorageSession> storageSession,
                                                      mapi::IStorage* storage, mapi::IMessage* message,
                                                      TKwMAPIAccessLevel accessLevel)
{
    return CreateMessageObjectFromMsgClass(ReadMessageClass(*message, *session), nullptr, session,
                                           std::move(storageSession), storage, message, accessLevel);
}

TKwRef<IKwMAPIMessage> WrapMAPIMessage(TKwMAPISessionBase& session, mapi::IMessage* message)
{
    return CreateMessageObjectFromIntf(&session, &session, message, alBestAccess);
}

} // namespace deftmapi
