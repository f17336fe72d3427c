// Simple MAPI: its exception classes, its checker and its entries.
#include "mapi/core/uKwMAPIH.hpp"

#include "mapi/core/MAPIModule.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"

#include <algorithm>
#include <iterator>

namespace deftmapi
{

namespace
{

constexpr auto sAllocateFailed = u"An error occurred while allocating MAPI memory!";
constexpr auto sAllocateMoreFailed = u"An error occurred while allocating more MAPI memory!";
constexpr auto sFreeFailed = u"An error occurred while freeing a MAPI buffer!";
constexpr auto sInvalidHandle =
    u"The MAPILogon returned an invalid session handle.\r\nPlease verify your account configuration!";

// The results of Simple MAPI. Spelling and missing full stops are part of the texts.
constexpr auto sUserAbort = u"The user cancelled the action.";
constexpr auto sFailure = u"One or more errors occurred while executing this action.";
constexpr auto sLogonFailure = u"Failed to logon.";
constexpr auto sDiskFull = u"The action failed, because there is not enough free space on the disk.";
constexpr auto sInsufficientMemory = u"The action failed, because there is not enough free memory.";
constexpr auto sAccessDenied = u"The action failed, because access was denied.";
constexpr auto sTooManySessions = u"The action failed, because there are too may sessions open.";
constexpr auto sTooManyFiles = u"The action failed, because there are too many files open.";
constexpr auto sTooManyRecipients = u"The action failed, because there are too many recipients.";
constexpr auto sAttachmentNotFound = u"The action failed, because the given attachment was not found.";
constexpr auto sAttachmentOpenFailure = u"The action failed, because the given attachment could not be opened.";
constexpr auto sAttachmentWriteFailure = u"The action failed, because the given attachment coult not be saved.";
constexpr auto sUnknownRecipient = u"The action failed, because there is an unresolved recipient.";
constexpr auto sBadReciptype = u"The action failed, because of an invalid recipienttype";
constexpr auto sNoMessages = u"The action failed, because there are no messages.";
constexpr auto sInvalidMessage = u"The action failed, because of an invalid message.";
constexpr auto sTextTooLarge = u"The action failed, because the messagetext is too large.";
constexpr auto sInvalidSession = u"The action failed, because of an invalid session.";
constexpr auto sTypeNotSupported = u"The action failed, because of an unsupported type.";
constexpr auto sAmbiguousRecipient = u"The action failed, because of an ambiguous recipient.";
constexpr auto sMessageInUse = u"The action failed, because the message is in use.";
constexpr auto sNetworkFailure = u"The action failed, because of a network failure.";
constexpr auto sInvalidEditfields = u"The action failed, because of invalid editfields.";
constexpr auto sInvalidRecips = u"The action failed, because of invalid recipients.";
constexpr auto sNotSupported = u"The action is not supported by Simple MAPI.";
constexpr auto sUnknownError = u"Unknown error";

struct TSimpleText
{
    mapi::ULONG Code;
    const char16_t* Text;
};

constexpr TSimpleText simpleTexts[] = {
    {mapi::MAPI_E_USER_ABORT, sUserAbort},
    {mapi::MAPI_E_FAILURE, sFailure},
    {mapi::MAPI_E_LOGON_FAILURE, sLogonFailure},
    {mapi::MAPI_E_DISK_FULL, sDiskFull},
    {mapi::MAPI_E_INSUFFICIENT_MEMORY, sInsufficientMemory},
    {mapi::MAPI_E_ACCESS_DENIED, sAccessDenied},
    {mapi::MAPI_E_TOO_MANY_SESSIONS, sTooManySessions},
    {mapi::MAPI_E_TOO_MANY_FILES, sTooManyFiles},
    {mapi::MAPI_E_TOO_MANY_RECIPIENTS, sTooManyRecipients},
    {mapi::MAPI_E_ATTACHMENT_NOT_FOUND, sAttachmentNotFound},
    {mapi::MAPI_E_ATTACHMENT_OPEN_FAILURE, sAttachmentOpenFailure},
    {mapi::MAPI_E_ATTACHMENT_WRITE_FAILURE, sAttachmentWriteFailure},
    {mapi::MAPI_E_UNKNOWN_RECIPIENT, sUnknownRecipient},
    {mapi::MAPI_E_BAD_RECIPTYPE, sBadReciptype},
    {mapi::MAPI_E_NO_MESSAGES, sNoMessages},
    {mapi::MAPI_E_INVALID_MESSAGE, sInvalidMessage},
    {mapi::MAPI_E_TEXT_TOO_LARGE, sTextTooLarge},
    {mapi::MAPI_E_INVALID_SESSION, sInvalidSession},
    {mapi::MAPI_E_TYPE_NOT_SUPPORTED, sTypeNotSupported},
    {mapi::MAPI_E_AMBIGUOUS_RECIPIENT, sAmbiguousRecipient},
    {mapi::MAPI_E_MESSAGE_IN_USE, sMessageInUse},
    {mapi::MAPI_E_NETWORK_FAILURE, sNetworkFailure},
    {mapi::MAPI_E_INVALID_EDITFIELDS, sInvalidEditfields},
    {mapi::MAPI_E_INVALID_RECIPS, sInvalidRecips},
    {mapi::MAPI_E_NOT_SUPPORTED, sNotSupported},
};

constinit TKwMAPIFunction<mapi::LPSCCREATECONVERSATIONINDEX>
    entryScCreateConversationIndex("ScCreateConversationIndex", "ScCreateConversationIndex@16");
constinit TKwMAPIFunction<mapi::LPMAPILOGON> entryMAPILogon("MAPILogon");
constinit TKwMAPIFunction<mapi::LPMAPILOGOFF> entryMAPILogoff("MAPILogoff");
constinit TKwMAPIFunction<mapi::LPMAPIALLOCATEBUFFER> entryMAPIAllocateBuffer("MAPIAllocateBuffer");
constinit TKwMAPIFunction<mapi::LPMAPIALLOCATEMORE> entryMAPIAllocateMore("MAPIAllocateMore");
constinit TKwMAPIFunction<mapi::LPMAPIFREEBUFFER> entryMAPIFreeBuffer("MAPIFreeBuffer");
constinit TKwMAPIFunction<mapi::LPMAPISENDMAIL> entryMAPISendMail("MAPISendMail");
constinit TKwMAPIFunction<mapi::LPMAPISENDDOCUMENTS> entryMAPISendDocuments("MAPISendDocuments");
constinit TKwMAPIFunction<mapi::LPMAPIFINDNEXT> entryMAPIFindNext("MAPIFindNext");
constinit TKwMAPIFunction<mapi::LPMAPIREADMAIL> entryMAPIReadMail("MAPIReadMail");
constinit TKwMAPIFunction<mapi::LPMAPISAVEMAIL> entryMAPISaveMail("MAPISaveMail");
constinit TKwMAPIFunction<mapi::LPMAPIDELETEMAIL> entryMAPIDeleteMail("MAPIDeleteMail");
constinit TKwMAPIFunction<mapi::LPMAPIADDRESS> entryMAPIAddress("MAPIAddress");
constinit TKwMAPIFunction<mapi::LPMAPIDETAILS> entryMAPIDetails("MAPIDetails");
constinit TKwMAPIFunction<mapi::LPMAPIRESOLVENAME> entryMAPIResolveName("MAPIResolveName");

template <typename Result>
Result CheckMemory(Result result, const char16_t* message)
{
    if (result != 0) [[unlikely]]
        CreateKwMAPIException(static_cast<mapi::HRESULT>(result), message)->Raise();
    return result;
}

mapi::ULONG Checked(mapi::ULONG result)
{
    CheckSimpleMAPIResult(result);
    return result;
}

} // namespace

#define DEFTMAPI_DEFINE_MAPI_EXCEPTION(Self, Base) DEFTMAPI_EXCEPTION_CLASS(Self, &Base::Class())
DEFTMAPI_SIMPLE_MAPI_EXCEPTIONS(DEFTMAPI_DEFINE_MAPI_EXCEPTION)
#undef DEFTMAPI_DEFINE_MAPI_EXCEPTION

void RaiseSimpleMAPIResult(mapi::ULONG code)
{
    const auto result = static_cast<mapi::HRESULT>(code);
    if (result == mapi::MAPI_E_CALL_FAILED)
        return;
    const auto found = std::find_if(std::begin(simpleTexts), std::end(simpleTexts),
                                    [code](const TSimpleText& candidate) { return candidate.Code == code; });
    CreateKwMAPIException(result, found != std::end(simpleTexts) ? found->Text : sUnknownError)->Raise();
}

mapi::SCODE ScCreateConversationIndex(mapi::ULONG cbParent, mapi::LPBYTE lpbParent, mapi::ULONG* lpcbConvIndex,
                                      mapi::LPBYTE* lppbConvIndex)
{
    return entryScCreateConversationIndex(cbParent, lpbParent, lpcbConvIndex, lppbConvIndex);
}

mapi::ULONG MAPILogon(mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszProfileName, mapi::LPSTR lpszPassword,
                      mapi::FLAGS flFlags, mapi::ULONG ulReserved, mapi::LPLHANDLE lplhSession)
{
    if (lplhSession != nullptr)
        *lplhSession = 0;
    const mapi::ULONG result =
        Checked(entryMAPILogon(ulUIParam, lpszProfileName, lpszPassword, flFlags, ulReserved, lplhSession));
    if (lplhSession != nullptr && *lplhSession == 0)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sInvalidHandle)->Raise();
    return result;
}

mapi::ULONG MAPILogoff(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::FLAGS flFlags, mapi::ULONG ulReserved)
{
    return Checked(entryMAPILogoff(lhSession, ulUIParam, flFlags, ulReserved));
}

mapi::SCODE MAPIAllocateBuffer(mapi::ULONG cbSize, mapi::LPVOID* lppBuffer)
{
    return CheckMemory(entryMAPIAllocateBuffer(cbSize, lppBuffer), sAllocateFailed);
}

mapi::SCODE MAPIAllocateMore(mapi::ULONG cbSize, mapi::LPVOID lpObject, mapi::LPVOID* lppBuffer)
{
    return CheckMemory(entryMAPIAllocateMore(cbSize, lpObject, lppBuffer), sAllocateMoreFailed);
}

mapi::ULONG MAPIFreeBuffer(mapi::LPVOID lpBuffer)
{
    return CheckMemory(entryMAPIFreeBuffer(lpBuffer), sFreeFailed);
}

mapi::ULONG MAPISendMail(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::lpMapiMessage lpMessage,
                         mapi::FLAGS flFlags, mapi::ULONG ulReserved)
{
    return Checked(entryMAPISendMail(lhSession, ulUIParam, lpMessage, flFlags, ulReserved));
}

mapi::ULONG MAPISendDocuments(mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszDelimChar, mapi::LPSTR lpszFilePaths,
                              mapi::LPSTR lpszFileNames, mapi::ULONG ulReserved)
{
    return Checked(entryMAPISendDocuments(ulUIParam, lpszDelimChar, lpszFilePaths, lpszFileNames, ulReserved));
}

mapi::ULONG MAPIFindNext(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszMessageType,
                         mapi::LPSTR lpszSeedMessageID, mapi::FLAGS flFlags, mapi::ULONG ulReserved,
                         mapi::LPSTR lpszMessageID)
{
    return Checked(entryMAPIFindNext(lhSession, ulUIParam, lpszMessageType, lpszSeedMessageID, flFlags, ulReserved,
                                     lpszMessageID));
}

mapi::ULONG MAPIReadMail(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszMessageID,
                         mapi::FLAGS flFlags, mapi::ULONG ulReserved, mapi::lpMapiMessage* lppMessage)
{
    return Checked(entryMAPIReadMail(lhSession, ulUIParam, lpszMessageID, flFlags, ulReserved, lppMessage));
}

mapi::ULONG MAPISaveMail(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::lpMapiMessage lpMessage,
                         mapi::FLAGS flFlags, mapi::ULONG ulReserved, mapi::LPSTR lpszMessageID)
{
    return Checked(entryMAPISaveMail(lhSession, ulUIParam, lpMessage, flFlags, ulReserved, lpszMessageID));
}

mapi::ULONG MAPIDeleteMail(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszMessageID,
                           mapi::FLAGS flFlags, mapi::ULONG ulReserved)
{
    return Checked(entryMAPIDeleteMail(lhSession, ulUIParam, lpszMessageID, flFlags, ulReserved));
}

mapi::ULONG MAPIAddress(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszCaption,
                        mapi::ULONG nEditFields, mapi::LPSTR lpszLabels, mapi::ULONG nRecips,
                        mapi::lpMapiRecipDesc lpRecips, mapi::FLAGS flFlags, mapi::ULONG ulReserved,
                        mapi::LPULONG lpnNewRecips, mapi::lpMapiRecipDesc* lppNewRecips)
{
    return Checked(entryMAPIAddress(lhSession, ulUIParam, lpszCaption, nEditFields, lpszLabels, nRecips, lpRecips,
                                    flFlags, ulReserved, lpnNewRecips, lppNewRecips));
}

mapi::ULONG MAPIDetails(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::lpMapiRecipDesc lpRecip,
                        mapi::FLAGS flFlags, mapi::ULONG ulReserved)
{
    return Checked(entryMAPIDetails(lhSession, ulUIParam, lpRecip, flFlags, ulReserved));
}

mapi::ULONG MAPIResolveName(mapi::LHANDLE lhSession, mapi::ULONG_PTR ulUIParam, mapi::LPSTR lpszName,
                            mapi::FLAGS flFlags, mapi::ULONG ulReserved, mapi::lpMapiRecipDesc* lppRecip)
{
    return Checked(entryMAPIResolveName(lhSession, ulUIParam, lpszName, flFlags, ulReserved, lppRecip));
}

} // namespace deftmapi
