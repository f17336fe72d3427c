// Attachments; see uKwMAPIAttachment.hpp.
#include "mapi/message/uKwMAPIAttachment.hpp"

#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNoEmbeddedMessage = u"%s.GetEmbeddedMessage failed!\r\nThe attachment is not an embedded message.";

} // namespace

TKwMAPIAttachment::TKwMAPIAttachment(TKwMAPIWrapper& message) : TKwMAPIProp(&message, TKwKeepAlive::kaOwner)
{
    SetSession(message.Session());
}

TKwRef<IKwMAPIMessage> TKwMAPIAttachment::GetEmbeddedMessage()
{
    CheckActive(u"GetEmbeddedMessage");
    const auto method = static_cast<mapi::ULONG>(PropByName(PR_ATTACH_METHOD)->Get_AsInteger());
    if (method != mapi::ATTACH_EMBEDDED_MSG)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoEmbeddedMessage, {GetClassName()})->Raise();
    const auto object = OpenIntfProperty(PR_ATTACH_DATA_OBJ, mapi::IID_IMessage, 0, Get_AccessLevel(), false);
    return CreateMessageObjectFromIntf(this, Session(), static_cast<mapi::IMessage*>(object.Get()), Get_AccessLevel());
}

} // namespace deftmapi
