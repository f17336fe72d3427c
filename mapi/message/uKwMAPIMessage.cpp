// Messages apart from their body: life, subject, recipients and attachments. Bodies are in MessageBody.cpp.
#include "mapi/message/uKwMAPIMessage.hpp"

#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/message/uKwMAPIAttachment.hpp"
#include "mapi/session/AccessLevel.hpp"
#include "mapi/table/uKwMAPITable.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNoSession = u"The session is not a MAPI session!";
constexpr auto sNotActive = u"%s.%s failed.\r\nThe object is not, or no longer, active!\r\nPlease note that you cannot "
                            u"access a mailmessage after submitting it!";
constexpr auto sNoRecipientAccess = u"%s.GetRecipientTable failed!\r\nYou don't have acces to the recipient table!";

} // namespace

TKwMAPIMessage::TKwMAPIMessage(TKwMAPIObject* owner, TKwMAPIAccessLevel accessLevel)
    : TKwMAPIProp(owner, owner != nullptr ? TKwKeepAlive::kaOwner : TKwKeepAlive::kaNone)
{
    SetAccessLevel(accessLevel);
}

void TKwMAPIMessage::SetMAPIOBJECT(mapi::IUnknown* object)
{
    if (object != nullptr && Session() == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_UNCONFIGURED, sNoSession)->Raise();
    TKwMAPIProp::SetMAPIOBJECT(object);
    if (object == nullptr) {
        FStorage.Reset(); // before the session that it was opened in
        FStorageSession.Reset();
    }
}

void TKwMAPIMessage::SetStorageSession(TKwRef<IKwMAPIStorageSession> session, mapi::IStorage* storage)
{
    FStorageSession = std::move(session);
    FStorage = TKwComPtr<mapi::IStorage>(storage);
}

void TKwMAPIMessage::CheckActive(WideView methodName) const
{
    if (Session() != nullptr && Get_MAPIOBJECT() == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sNotActive, {GetClassName(), methodName})->Raise();
    TKwMAPIProp::CheckActive(methodName);
}

void TKwMAPIMessage::SaveChanges(TKwMAPISaveMethod saveMethod)
{
    TKwMAPIProp::SaveChanges(saveMethod);
    FNewMessage = false;
}

WideString TKwMAPIMessage::Get_Subject()
{
    CheckActive(u"Get_Subject");
    return PropByName(PR_SUBJECT)->Get_AsString();
}

void TKwMAPIMessage::Set_Subject(WideView subject)
{
    CheckActive(u"Set_Subject");
    PropByName(PR_SUBJECT)->Set_AsString(subject);
}

WideString TKwMAPIMessage::Get_MessageClass()
{
    CheckActive(u"Get_MessageClass");
    return PropByName(PR_MESSAGE_CLASS)->Get_AsString();
}

// ---- Recipients and attachments

TKwComPtr<mapi::IMAPITable> TKwMAPIMessage::OpenRecipientTable()
{
    CheckActive(u"GetRecipientTable");
    CheckExtendedMAPI(u"GetRecipientTable");
    TKwComPtr<mapi::IMAPITable> table;
    const mapi::HRESULT hr =
        WithCharWidth(0, [&](mapi::ULONG flags) { return Message().GetRecipientTable(flags, Out(table)); });
    if (hr == mapi::MAPI_E_NO_ACCESS)
        CreateKwMAPIException(hr, sNoRecipientAccess, {GetClassName()})->Raise();
    CheckMAPIResult(*this, u"GetRecipientTable", hr);
    return table;
}

TKwRef<IKwMAPITable> TKwMAPIMessage::GetRecipientTable()
{
    return KwMake<TKwMAPITable>(*this, OpenRecipientTable().Get(), [this] { return OpenRecipientTable(); });
}

TKwComPtr<mapi::IMAPITable> TKwMAPIMessage::OpenAttachmentTable()
{
    CheckActive(u"Get_Attachments");
    CheckExtendedMAPI(u"Get_Attachments");
    TKwComPtr<mapi::IMAPITable> table;
    CheckMAPIResult(*this, u"Get_Attachments", WithCharWidth(0, [&](mapi::ULONG flags) {
        return Message().GetAttachmentTable(flags, Out(table));
    }));
    return table;
}

TKwRef<IKwMAPITable> TKwMAPIMessage::Get_Attachments()
{
    return KwMake<TKwMAPITable>(*this, OpenAttachmentTable().Get(), [this] { return OpenAttachmentTable(); });
}

TKwRef<IKwMAPIAttachment> TKwMAPIMessage::OpenAttachment(std::int32_t number, TKwMAPIAccessLevel accessLevel)
{
    CheckActive(u"OpenAttachment");
    CheckExtendedMAPI(u"OpenAttachment");
    CheckAccessLevel(accessLevel);
    TKwComPtr<mapi::IAttach> object;
    CheckMAPIResult(
        *this, u"OpenAttachment",
        Message().OpenAttach(static_cast<mapi::ULONG>(number), nullptr, AccessFlag(accessLevel), Out(object)));
    const auto attachment = KwMake<TKwMAPIAttachment>(*this);
    attachment->SetMAPIOBJECT(object.Get());
    SetOpenedAccess(*attachment, accessLevel);
    return attachment;
}

} // namespace deftmapi
