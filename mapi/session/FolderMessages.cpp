// The messages of a folder: creating, importing and deleting.
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwConverterSessionH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/message/ConverterSession.hpp"
#include "mapi/message/FileStream.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/uKwMAPIFolder.hpp"

#include <array>

namespace deftmapi
{

namespace
{

constexpr auto sNoMessagesHere = u"It is not possible to create messages in the selected folder!";
constexpr auto sSimpleMAPINote = u"Simple MAPI only supports messages of type IPM.Note!";
constexpr auto sNoSimpleMAPINote = u"%s.CreateMessage is not available in combination with Simple MAPI!";
constexpr auto sImportFailed = u"%s.ImportMessage failed!\r\nThe file %s could not be imported: %s";
constexpr auto sCompoundFile = u"%s.ImportMessage failed!\r\n%s is a message in a compound file (.msg). Only MIME "
                               u"messages (.eml) can be imported.";

/// Messages that the store keeps beside the contents of the folder.
constexpr std::array AssociatedClasses = {u"IPM.Note.Rules.OofTemplate.Microsoft",
                                          u"IPM.Note.Rules.ExternalOofTemplate.Microsoft",
                                          u"IPM.Configuration.Velmora"};

bool IsAssociatedClass(WideView messageClass)
{
    for (const char16_t* associated : AssociatedClasses)
        if (KwSameText(messageClass, associated))
            return true;
    return false;
}

} // namespace

TKwComPtr<mapi::IMessage> TKwMAPIFolder::CreateMAPIMessage(mapi::ULONG flags)
{
    TKwComPtr<mapi::IMessage> message;
    CheckMAPIResult(*this, u"CreateMessage", MAPIFolder().CreateMessage(nullptr, flags, Out(message)));
    return message;
}

TKwRef<IKwMAPIMessage> TKwMAPIFolder::CreateMessage(WideView messageClass)
{
    CheckActive(u"CreateMessage");
    WideString wanted(messageClass);
    if (wanted.empty()) {
        switch (Get_FolderType()) {
        case ftInbox:
        case ftOutbox:
        case ftDeleted:
        case ftSentItems:
        case ftDraft:
        case ftJunkFolder:
        case ftContact:
        case ftAppointment:
        case ftStickyNote:
        case ftTask:
        case ftPlain:
            wanted = Get_DefaultMessageClass();
            break;
        default:
            CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sNoMessagesHere)->Raise();
        }
    }
    if (!Session()->UsesExtendedMAPI()) {
        if (!KwSameText(wanted, u"IPM.Note"))
            CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sSimpleMAPINote)->Raise();
        CreateKwMAPIException(KwNotSupported, sNoSimpleMAPINote, {GetClassName()})->Raise();
    }
    const auto object = CreateMAPIMessage(IsAssociatedClass(wanted) ? mapi::MAPI_ASSOCIATED : 0);
    const auto message =
        CreateMessageObjectFromMsgClass(wanted, this, Session(), nullptr, nullptr, object.Get(), alReadWrite);
    message->SetNewMessage(true);
    message->PropByName(PR_MESSAGE_CLASS)->Set_AsString(wanted);
    return message;
}

TKwRef<IKwMAPIMessage> TKwMAPIFolder::ImportMessage(const WideString& fileName)
{
    CheckActive(u"ImportMessage");
    CheckExtendedMAPI(u"ImportMessage");
    const TKwComPtr<TMAPIFileStream> file = TMAPIFileStream::Open(fileName);
    if (file->StartsWith("\xD0\xCF\x11\xE0"))
        CreateKwMAPIException(KwNotSupported, sCompoundFile, {GetClassName(), fileName})->Raise();
    const auto converter = KwCreateConverterSession();

    // Nothing is saved before all of it has succeeded; a message that was not saved leaves no trace.
    const auto object = CreateMAPIMessage(0);
    try {
        CheckMAPIResult(GetClassName(), u"MIMEToMAPI",
                        converter->MIMEToMAPI(file.Get(), object.Get(), nullptr, mapi::CCSF_SMTP));
        const auto message = CreateMessageObjectFromIntf(this, Session(), object.Get(), alReadWrite);
        // What was imported is a message that somebody sent, not a draft of the user's.
        const auto flags = message->PropByName(PR_MESSAGE_FLAGS);
        flags->Set_AsInteger(flags->Get_AsInteger() & ~static_cast<std::int32_t>(mapi::MSGFLAG_UNSENT));
        message->SaveChanges(smKeepReadWrite);
        return message;
    } catch (const EKwMAPIException& failure) {
        CreateKwMAPIException(failure.ErrorCode(), sImportFailed, {GetClassName(), fileName, failure.Message()})
            ->Raise();
    }
}

void TKwMAPIFolder::DeleteMessage(const TKwMAPIEntryID& entryID)
{
    CheckActive(u"DeleteMessage");
    CheckExtendedMAPI(u"DeleteMessage");
    TKwMAPIEntryIDArg id(entryID);
    mapi::SBinary entry = id.Binary();
    mapi::SBinaryArray list{1, &entry};
    CheckMAPIResult(*this, u"DeleteMessage", MAPIFolder().DeleteMessages(&list, GetParentWindow(), nullptr, 0));
}

} // namespace deftmapi
