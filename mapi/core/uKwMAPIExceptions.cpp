// The road from a MAPI result to an exception: some codes have a class and a text of their own, some show the name of
// their class, the rest show what the operating system knows about them.
#include "mapi/core/uKwMAPIExceptions.hpp"

#include "mapi/core/ExceptionRegistry.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/uKwMAPIInterfaces.hpp"
#include "support/platform/uKwPlatform.hpp"

#include <algorithm>
#include <iterator>

namespace deftmapi
{

namespace
{

// The messages. Arguments: class name, method name, text, code, code; sNoText has no text.
constexpr auto sRaised = u"%s.%s has raised the following exception:\r\n%s (%d)";
constexpr auto sRaisedHex = u"%s.%s has raised the following exception:\r\n%s (%d=0x%3:.8x)";
constexpr auto sNoText = u"%s.%s raised an exception with errorcode %d / 0x%3:.8x!";
constexpr auto sExtendedText = u"%s (%s)";
constexpr auto sCodeAsText = u"0x%.8x";
constexpr WideView sResultPrefix = u"MAPI_E_";
constexpr WideView sClassPrefix = u"EMAPI_";

constexpr auto sNoService = u"MAPI_W_NO_SERVICE";
constexpr auto sErrorsReturned = u"MAPI_W_ERRORS_RETURNED";
constexpr auto sPositionChanged = u"MAPI_W_POSITION_CHANGED";
constexpr auto sApproxCount = u"MAPI_W_APPROX_COUNT";
constexpr auto sCancelMessage = u"MAPI_W_CANCEL_MESSAGE";
constexpr auto sPartialCompletion = u"MAPI_W_PARTIAL_COMPLETION";
constexpr auto sBadCharWidth =
    u"Either the MAPI_UNICODE flag was set and the implementation does not support Unicode,\r\n"
    u"or MAPI_UNICODE was not set and the implementation only supports Unicode.";
constexpr auto sInvalidParameter = u"The caller passed an invalid parameter or flag.";
constexpr auto sInvalidEntryID = u"The given EntryID is not a valid EntryID!";
constexpr auto sInvalidObject = u"MAPI_INVALID_OBJECT";
constexpr auto sNotEnoughResources = u"Not enough system resources were available to complete the operation.";
constexpr auto sNotFound = u"The requested object does not exist.";
constexpr auto sLogonFailed =
    u"The logon did not succeed, either because one or more of the logon-parameters were invalid \r\n"
    u"or because there were too many sessions open already.";
constexpr auto sUserCancel =
    u"The user canceled the operation, typically by clicking the Cancel button in a dialog box.";
constexpr auto sUnknownCodePage = u"The server is not configured to support the client''s code page.";
constexpr auto sUnknownLocale = u"The server is not configured to support the client''s locale information.";
constexpr auto sUnknownEntryID = u"The given EntryID could not be located.";
constexpr auto sTimeOut = u"A TimeOut has occurred.";
constexpr auto sNotEnoughMemory = u"MAPI_E_NOT_ENOUGH_MEMORY";
constexpr auto sNoAccess = u"The caller does not have sufficient access rights to perform the requested operation.";
constexpr auto sUnresolvedName =
    u"The name specified for PR_PROFILE_UNRESOLVED_NAME is incorrect, invalid, or otherwise not found.";

// Codes with a class and a text of their own. The class is fixed, whatever is registered for the code.
struct TOwnText
{
    mapi::HRESULT Code;
    const TKwExceptionClass& (*Class)() noexcept;
    const char16_t* Text;
};

constexpr TOwnText ownTexts[] = {
    {mapi::MAPI_W_NO_SERVICE, &EMAPI_W_NO_SERVICE::Class, sNoService},
    {mapi::MAPI_W_ERRORS_RETURNED, &EMAPI_W_ERRORS_RETURNED::Class, sErrorsReturned},
    {mapi::MAPI_W_POSITION_CHANGED, &EMAPI_W_POSITION_CHANGED::Class, sPositionChanged},
    {mapi::MAPI_W_APPROX_COUNT, &EMAPI_W_APPROX_COUNT::Class, sApproxCount},
    {mapi::MAPI_W_CANCEL_MESSAGE, &EMAPI_W_CANCEL_MESSAGE::Class, sCancelMessage},
    {mapi::MAPI_W_PARTIAL_COMPLETION, &EMAPI_W_PARTIAL_COMPLETION::Class, sPartialCompletion},
    {mapi::MAPI_E_BAD_CHARWIDTH, &EMAPI_BAD_CHARWIDTH::Class, sBadCharWidth},
    {mapi::MAPI_E_UNKNOWN_FLAGS, &EMAPI_UNKNOWN_FLAGS::Class, sInvalidParameter},
    {mapi::MAPI_E_INVALID_ENTRYID, &EMAPI_INVALID_ENTRYID::Class, sInvalidEntryID},
    {mapi::MAPI_E_INVALID_OBJECT, &EMAPI_INVALID_OBJECT::Class, sInvalidObject},
    {mapi::MAPI_E_NOT_ENOUGH_RESOURCES, &EMAPI_NOT_ENOUGH_RESOURCES::Class, sNotEnoughResources},
    {mapi::MAPI_E_NOT_FOUND, &EMAPI_NOT_FOUND::Class, sNotFound},
    {mapi::MAPI_E_LOGON_FAILED, &EMAPI_LOGON_FAILED::Class, sLogonFailed},
    {mapi::MAPI_E_USER_CANCEL, &EMAPI_USER_CANCEL::Class, sUserCancel},
    {mapi::MAPI_E_UNKNOWN_CPID, &EMAPI_UNKNOWN_CPID::Class, sUnknownCodePage},
    {mapi::MAPI_E_UNKNOWN_LCID, &EMAPI_UNKNOWN_LCID::Class, sUnknownLocale},
    {mapi::MAPI_E_UNKNOWN_ENTRYID, &EMAPI_UNKNOWN_ENTRYID::Class, sUnknownEntryID},
    {mapi::MAPI_E_TIMEOUT, &EMAPI_TIMEOUT::Class, sTimeOut},
    {mapi::MAPI_E_NOT_ENOUGH_MEMORY, &EMAPI_NOT_ENOUGH_MEMORY::Class, sNotEnoughMemory},
    {mapi::MAPI_E_NO_ACCESS, &EMAPI_NO_ACCESS::Class, sNoAccess},
    {mapi::MAPI_E_INVALID_PARAMETER, &EMAPI_INVALID_PARAMETER::Class, sInvalidParameter},
    {static_cast<mapi::HRESULT>(0x81002746), &EMAPI_INVALID_PARAMETER::Class, sUnresolvedName},
};

// Codes whose text is the name of the class that is registered for them: first and last of each run, as bit patterns.
struct TCodeRange
{
    std::uint32_t First;
    std::uint32_t Last;
};

constexpr TCodeRange classNameCodes[] = {
    {0x80004002, 0x80004002}, {0x80004005, 0x80004005}, {0x80040102, 0x80040102}, {0x80040105, 0x80040105},
    {0x80040109, 0x8004010B}, {0x8004010D, 0x8004010D}, {0x80040110, 0x80040110}, {0x80040112, 0x80040112},
    {0x80040114, 0x80040118}, {0x8004011A, 0x8004011D}, {0x80040120, 0x80040124}, {0x80040200, 0x80040200},
    {0x80040202, 0x80040202}, {0x80040301, 0x80040307}, {0x80040400, 0x80040400}, {0x80040402, 0x80040403},
    {0x80040405, 0x80040405}, {0x80040500, 0x80040502}, {0x80040600, 0x80040602}, {0x80040604, 0x8004060C},
    {0x80040700, 0x80040700},
};

bool ShowsClassName(mapi::HRESULT result)
{
    const auto code = static_cast<std::uint32_t>(result);
    return std::any_of(std::begin(classNameCodes), std::end(classNameCodes),
                       [code](const TCodeRange& range) { return code >= range.First && code <= range.Last; });
}

[[noreturn]] void RaiseWithSystemText(WideView className, WideView methodName, mapi::HRESULT result,
                                      const WideString& text)
{
    if (text.empty())
        throw EKwMAPIException(sNoText, {className, methodName, result, result}, result);
    throw EKwMAPIException(sRaisedHex, {className, methodName, text, result, result}, result);
}

[[noreturn]] void RaiseExtendedError(WideView className, WideView methodName, mapi::HRESULT result,
                                     IKwMAPIWrapper& wrapper)
{
    TKwMAPIError error;
    wrapper.GetExtendedErrorInfo(result, error);
    const WideString text = error.Error.empty() ? KwPlatform().SystemMessage(result)
                                                : KwFormat(sExtendedText, {error.Error, error.Component});
    throw EKwMAPIException(sRaisedHex, {className, methodName, text, result, result}, result);
}

[[noreturn]] void RaiseWithClassName(WideView className, WideView methodName, mapi::HRESULT result)
{
    WideString text;
    if (const EKwMAPIExceptionClass exceptionClass = GetMAPIExceptionClass(result, false)) {
        text = sResultPrefix;
        text +=
            WideView(exceptionClass->Name).substr(std::min(sClassPrefix.size(), WideView(exceptionClass->Name).size()));
    } else
        text = KwFormat(sCodeAsText, {result});
    CreateKwMAPIException(result, sRaisedHex, {className, methodName, text, result, result})->Raise();
}

} // namespace

DEFTMAPI_EXCEPTION_CLASS(EKwMAPIException, &EKwException::Class())
DEFTMAPI_EXCEPTION_CLASS(EKwMAPIAbort, &EKwAbort::Class())

#define DEFTMAPI_DEFINE_MAPI_EXCEPTION(Self, Base) DEFTMAPI_EXCEPTION_CLASS(Self, &Base::Class())
DEFTMAPI_EXTENDED_MAPI_EXCEPTIONS(DEFTMAPI_DEFINE_MAPI_EXCEPTION)
#undef DEFTMAPI_DEFINE_MAPI_EXCEPTION

EKwMAPIExceptionClass GetMAPIExceptionClass(mapi::HRESULT code)
{
    return GetMAPIExceptionClass(code, false);
}

EKwMAPIExceptionClass GetMAPIExceptionClass(mapi::HRESULT code, bool inherited)
{
    KwRegisterMAPIExceptions();
    return KwGetExceptionClass(KwMAPIExceptionCategory, code, inherited);
}

std::unique_ptr<EKwExceptionBase> CreateKwMAPIException(mapi::HRESULT code, WideView message)
{
    KwRegisterMAPIExceptions();
    return KwCreateException(KwMAPIExceptionCategory, code, WideString(message));
}

std::unique_ptr<EKwExceptionBase> CreateKwMAPIException(mapi::HRESULT code, WideView format,
                                                        std::initializer_list<TKwFormatArg> args)
{
    KwRegisterMAPIExceptions();
    return KwCreateException(KwMAPIExceptionCategory, code, format, args);
}

void RaiseMAPIResult(WideView className, WideView methodName, mapi::HRESULT result, IKwMAPIWrapper* wrapper)
{
    const auto own = std::find_if(std::begin(ownTexts), std::end(ownTexts),
                                  [result](const TOwnText& candidate) { return candidate.Code == result; });
    if (own != std::end(ownTexts))
        own->Class().Create(KwFormat(sRaised, {className, methodName, own->Text, result}), result)->Raise();
    if (result == mapi::MAPI_E_EXTENDED_ERROR && wrapper != nullptr)
        RaiseExtendedError(className, methodName, result, *wrapper);
    if (ShowsClassName(result))
        RaiseWithClassName(className, methodName, result);
    RaiseWithSystemText(className, methodName, result, KwPlatform().SystemMessage(result));
}

void RaiseMAPIResult(IKwMAPIWrapper& wrapper, WideView methodName, mapi::HRESULT result)
{
    RaiseMAPIResult(wrapper.GetClassName(), methodName, result, &wrapper);
}

} // namespace deftmapi
