// The messages of a folder: creating, importing, copying, finding and deleting.
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwConverterSessionH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/message/ConverterSession.hpp"
#include "mapi/message/FileStream.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"
#include "mapi/session/AccessLevel.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/session/MessageFiles.hpp"
#include "mapi/session/uKwMAPIFolder.hpp"
#include "mapi/table/uKwMAPITable.hpp"

#include <array>

namespace deftmapi
{

namespace
{

constexpr auto sNoMessagesHere = u"It is not possible to create messages in the selected folder!";
constexpr auto sSimpleMAPINote = u"Simple MAPI only supports messages of type IPM.Note!";
constexpr auto sNoSimpleMAPINote = u"%s.CreateMessage is not available in combination with Simple MAPI!";
constexpr auto sImportFailed = u"%s.%s failed!\r\nThe file %s could not be imported: %s";

/// What a copy in another store gets a value of its own for.
constexpr std::array OfTheOriginal = {PR_ENTRYID, PR_RECORD_KEY, PR_PARENT_ENTRYID, PR_STORE_ENTRYID,
                                      PR_STORE_RECORD_KEY};
constexpr mapi::ULONG AllStatusBits = 0xFFFFFFFF;

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

TKwRef<IKwMAPIMessage> TKwMAPIFolder::ReadMessageFile(TKwMAPIWrapper& asker, WideView methodName,
                                                      const WideString& fileName)
{
    CheckActive(methodName);
    CheckExtendedMAPI(methodName);
    const bool compound = KwIsCompoundFile(fileName);
    const auto converter = compound ? nullptr : KwCreateConverterSession();

    const auto object = CreateMAPIMessage(0);
    try {
        if (compound) {
            const auto saved = KwOpenMsgFile(asker, methodName, fileName, alReadOnly);
            std::vector<mapi::ULONG> excluded;
            for (const TKwMAPIPropDef def : OfTheOriginal)
                excluded.push_back(deftmapi::GetPropTag(def));
            auto& from = *static_cast<mapi::IMessage*>(saved->Get_MAPIOBJECT());
            CheckMAPIResult(*this, u"CopyTo",
                            from.CopyTo(0, nullptr, TKwMAPITagArray(excluded).Get(), GetParentWindow(), nullptr,
                                        &mapi::IID_IMessage, object.Get(), 0, nullptr));
        } else {
            CheckMAPIResult(
                GetClassName(), u"MIMEToMAPI",
                converter->MIMEToMAPI(TMAPIFileStream::Open(fileName).Get(), object.Get(), nullptr, mapi::CCSF_SMTP));
        }
        const auto message = CreateMessageObjectFromIntf(this, Session(), object.Get(), alReadWrite);
        message->SetNewMessage(true);
        // What was read is a message that somebody sent, not a draft of the user's. A compound file says which it is.
        if (!compound) {
            const auto flags = message->PropByName(PR_MESSAGE_FLAGS);
            flags->Set_AsInteger(flags->Get_AsInteger() & ~static_cast<std::int32_t>(mapi::MSGFLAG_UNSENT));
        }
        return message;
    } catch (const EKwMAPIException& failure) {
        CreateKwMAPIException(failure.ErrorCode(), sImportFailed,
                              {asker.GetClassName(), methodName, fileName, failure.Message()})
            ->Raise();
    }
}

TKwRef<IKwMAPIMessage> TKwMAPIFolder::ImportMessage(const WideString& fileName)
{
    // Nothing is saved before all of it has succeeded; a message that was not saved leaves no trace.
    const auto message = ReadMessageFile(*this, u"ImportMessage", fileName);
    try {
        message->SaveChanges(smKeepReadWrite);
    } catch (const EKwMAPIException& failure) {
        CreateKwMAPIException(failure.ErrorCode(), sImportFailed,
                              {GetClassName(), u"ImportMessage", fileName, failure.Message()})
            ->Raise();
    }
    return message;
}

void TKwMAPIFolder::CopyMessage(const TKwMAPIEntryID& entryID, IKwMAPIFolder& destination, WordBool move)
{
    CheckActive(u"CopyMessage");
    CheckExtendedMAPI(u"CopyMessage");
    const auto target = DestinationOf(destination, u"CopyMessage");
    TKwMAPIEntryIDArg id(entryID);
    mapi::SBinary entry = id.Binary();
    mapi::SBinaryArray list{1, &entry};
    CheckMAPIResult(*this, u"CopyMessage",
                    MAPIFolder().CopyMessages(&list, &mapi::IID_IMAPIFolder, target.Get(), GetParentWindow(), nullptr,
                                              move ? mapi::MESSAGE_MOVE : 0));
}

TKwMAPIEntryID TKwMAPIFolder::FindBySearchKey(const TKwVariant& searchKey)
{
    CheckActive(u"SearchMessage");
    CheckExtendedMAPI(u"SearchMessage");
    if (KwAsEntryID(searchKey).IsNull())
        return TKwNull{};
    const auto contents = GetContentsTable();
    contents->Get_Fields()->Add(PR_ENTRYID);
    const auto restriction = contents->CreateRestriction(rtProperty);
    const auto equal = KwAs<IKwMAPIRestrictionProperty>(restriction);
    equal->Set_PropDef(PR_SEARCH_KEY);
    equal->Set_Operator(oEqual);
    equal->Set_Value(searchKey);
    WordBool found;
    contents->FindFirst(restriction, found);
    return found ? contents->GetFieldValue(PR_ENTRYID) : TKwNull{};
}

WordBool TKwMAPIFolder::SearchMessage(const TKwVariant& searchKey, TKwMAPIAccessLevel accessLevel,
                                      TKwRef<IKwMAPIMessage>& message)
{
    message.Reset();
    const TKwMAPIEntryID id = FindBySearchKey(searchKey);
    if (id.IsNull())
        return false;
    TKwMAPIObjectType type = otUnknown;
    const auto object = OpenEntry(id, &mapi::IID_IMessage, AccessFlag(accessLevel), type);
    message = CreateMessageObjectFromIntf(this, Session(), static_cast<mapi::IMessage*>(object.Get()), accessLevel);
    return true;
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

mapi::ULONG TKwMAPIFolder::Get_MessageStatus(const TKwMAPIEntryID& entryID)
{
    CheckActive(u"Get_MessageStatus");
    CheckExtendedMAPI(u"Get_MessageStatus");
    TKwMAPIEntryIDArg id(entryID);
    mapi::ULONG status = 0;
    CheckMAPIResult(*this, u"GetMessageStatus", MAPIFolder().GetMessageStatus(id.Size(), id.Get(), 0, &status));
    return status;
}

void TKwMAPIFolder::Set_MessageStatus(const TKwMAPIEntryID& entryID, mapi::ULONG status)
{
    CheckActive(u"Set_MessageStatus");
    CheckExtendedMAPI(u"Set_MessageStatus");
    TKwMAPIEntryIDArg id(entryID);
    mapi::ULONG old = 0;
    CheckMAPIResult(*this, u"SetMessageStatus",
                    MAPIFolder().SetMessageStatus(id.Size(), id.Get(), status, AllStatusBits, &old));
}

} // namespace deftmapi
