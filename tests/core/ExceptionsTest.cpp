// Every MAPI and Simple MAPI code, what it raises and what it says.
#include "tests/core/Caught.hpp"

#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/uKwMAPIInterfaces.hpp"
#include "support/uKwComObj.hpp"
#include "tests/support/TestPlatform.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <type_traits>

namespace deftmapi::test
{

namespace
{

struct TCodeClass
{
    std::uint32_t Code;
    const char* ClassName;
    bool ShowsClassName; // the check's message shows the class's name
};

constexpr TCodeClass registeredClasses[] = {
    {0x80004002, "EMAPI_INTERFACE_NOT_SUPPORTED", true},
    {0x80004005, "EMAPI_CALL_FAILED", true},
    {0x80040102, "EMAPI_NO_SUPPORT", true},
    {0x80040103, "EMAPI_BAD_CHARWIDTH", false},
    {0x80040105, "EMAPI_STRING_TOO_LONG", true},
    {0x80040106, "EMAPI_UNKNOWN_FLAGS", false},
    {0x80040107, "EMAPI_INVALID_ENTRYID", false},
    {0x80040108, "EMAPI_INVALID_OBJECT", false},
    {0x80040109, "EMAPI_OBJECT_CHANGED", true},
    {0x8004010A, "EMAPI_OBJECT_DELETED", true},
    {0x8004010B, "EMAPI_BUSY", true},
    {0x8004010D, "EMAPI_NOT_ENOUGH_DISK", true},
    {0x8004010E, "EMAPI_NOT_ENOUGH_RESOURCES", false},
    {0x8004010F, "EMAPI_NOT_FOUND", false},
    {0x80040110, "EMAPI_VERSION", true},
    {0x80040111, "EMAPI_LOGON_FAILED", false},
    {0x80040112, "EMAPI_SESSION_LIMIT", true},
    {0x80040113, "EMAPI_USER_CANCEL", false},
    {0x80040114, "EMAPI_UNABLE_TO_ABORT", true},
    {0x80040115, "EMAPI_NETWORK_ERROR", true},
    {0x80040116, "EMAPI_DISK_ERROR", true},
    {0x80040117, "EMAPI_TOO_COMPLEX", true},
    {0x80040118, "EMAPI_BAD_COLUMN", true},
    {0x80040119, "EMAPI_EXTENDED_ERROR", false},
    {0x8004011A, "EMAPI_COMPUTED", true},
    {0x8004011B, "EMAPI_CORRUPT_DATA", true},
    {0x8004011C, "EMAPI_UNCONFIGURED", true},
    {0x8004011D, "EMAPI_FAILONEPROVIDER", true},
    {0x8004011E, "EMAPI_UNKNOWN_CPID", false},
    {0x8004011F, "EMAPI_UNKNOWN_LCID", false},
    {0x80040120, "EMAPI_PASSWORD_CHANGE_REQUIRED", true},
    {0x80040121, "EMAPI_PASSWORD_EXPIRED", true},
    {0x80040122, "EMAPI_INVALID_WORKSTATION_ACCOUNT", true},
    {0x80040123, "EMAPI_INVALID_ACCESS_TIME", true},
    {0x80040124, "EMAPI_ACCOUNT_DISABLED", true},
    {0x80040200, "EMAPI_END_OF_SESSION", true},
    {0x80040201, "EMAPI_UNKNOWN_ENTRYID", false},
    {0x80040202, "EMAPI_MISSING_REQUIRED_COLUMN", true},
    {0x80040301, "EMAPI_BAD_VALUE", true},
    {0x80040302, "EMAPI_INVALID_TYPE", true},
    {0x80040303, "EMAPI_TYPE_NO_SUPPORT", true},
    {0x80040304, "EMAPI_UNEXPECTED_TYPE", true},
    {0x80040305, "EMAPI_TOO_BIG", true},
    {0x80040306, "EMAPI_DECLINE_COPY", true},
    {0x80040307, "EMAPI_UNEXPECTED_ID", true},
    {0x80040400, "EMAPI_UNABLE_TO_COMPLETE", true},
    {0x80040401, "EMAPI_TIMEOUT", false},
    {0x80040402, "EMAPI_TABLE_EMPTY", true},
    {0x80040403, "EMAPI_TABLE_TOO_BIG", true},
    {0x80040405, "EMAPI_INVALID_BOOKMARK", true},
    {0x80040500, "EMAPI_WAIT", true},
    {0x80040501, "EMAPI_CANCEL", true},
    {0x80040502, "EMAPI_NOT_ME", true},
    {0x80040600, "EMAPI_CORRUPT_STORE", true},
    {0x80040601, "EMAPI_NOT_IN_QUEUE", true},
    {0x80040602, "EMAPI_NO_SUPPRESS", true},
    {0x80040604, "EMAPI_COLLISION", true},
    {0x80040605, "EMAPI_NOT_INITIALIZED", true},
    {0x80040606, "EMAPI_NON_STANDARD", true},
    {0x80040607, "EMAPI_NO_RECIPIENTS", true},
    {0x80040608, "EMAPI_SUBMITTED", true},
    {0x80040609, "EMAPI_HAS_FOLDERS", true},
    {0x8004060A, "EMAPI_HAS_MESSAGES", true},
    {0x8004060B, "EMAPI_FOLDER_CYCLE", true},
    {0x80040700, "EMAPI_AMBIGUOUS_RECIP", true},
    {0x8007000E, "EMAPI_NOT_ENOUGH_MEMORY", false},
    {0x80070005, "EMAPI_NO_ACCESS", false},
    {0x80070057, "EMAPI_INVALID_PARAMETER", false},
    {0x81002746, "EMAPI_INVALID_PARAMETER", false},
    {0x8004060C, "EMAPI_LOGON_FAILED", true},
    {1, "EMAPI_USER_ABORT", false},
    {2, "EMAPI_FAILURE", false},
    {3, "EMAPI_LOGON_FAILURE", false},
    {4, "EMAPI_DISK_FULL", false},
    {5, "EMAPI_INSUFFICIENT_MEMORY", false},
    {6, "EMAPI_ACCESS_DENIED", false},
    {8, "EMAPI_TOO_MANY_SESSIONS", false},
    {9, "EMAPI_TOO_MANY_FILES", false},
    {10, "EMAPI_TOO_MANY_RECIPIENTS", false},
    {11, "EMAPI_ATTACHMENT_NOT_FOUND", false},
    {12, "EMAPI_ATTACHMENT_OPEN_FAILURE", false},
    {13, "EMAPI_ATTACHMENT_WRITE_FAILURE", false},
    {14, "EMAPI_UNKNOWN_RECIPIENT", false},
    {15, "EMAPI_BAD_RECIPTYPE", false},
    {16, "EMAPI_NO_MESSAGES", false},
    {17, "EMAPI_INVALID_MESSAGE", false},
    {18, "EMAPI_TEXT_TOO_LARGE", false},
    {19, "EMAPI_INVALID_SESSION", false},
    {20, "EMAPI_TYPE_NOT_SUPPORTED", false},
    {21, "EMAPI_AMBIGUOUS_RECIPIENT", false},
    {22, "EMAPI_MESSAGE_IN_USE", false},
    {23, "EMAPI_NETWORK_FAILURE", false},
    {24, "EMAPI_INVALID_EDITFIELDS", false},
    {25, "EMAPI_INVALID_RECIPS", false},
    {26, "EMAPI_NOT_SUPPORTED", false},
    {0x80040119, "EMAPI_EXTENDED_ERROR", false},
};

struct TOwnText
{
    std::uint32_t Code;
    const char* ClassName;
    const char* Text;
};

constexpr TOwnText ownTexts[] = {
    {0x00040203, "EMAPI_W_NO_SERVICE", "MAPI_W_NO_SERVICE"},
    {0x00040380, "EMAPI_W_ERRORS_RETURNED", "MAPI_W_ERRORS_RETURNED"},
    {0x00040481, "EMAPI_W_POSITION_CHANGED", "MAPI_W_POSITION_CHANGED"},
    {0x00040482, "EMAPI_W_APPROX_COUNT", "MAPI_W_APPROX_COUNT"},
    {0x00040580, "EMAPI_W_CANCEL_MESSAGE", "MAPI_W_CANCEL_MESSAGE"},
    {0x00040680, "EMAPI_W_PARTIAL_COMPLETION", "MAPI_W_PARTIAL_COMPLETION"},
    {0x80040103, "EMAPI_BAD_CHARWIDTH",
     "Either the MAPI_UNICODE flag was set and the implementation does not support Unicode,\r\nor MAPI_UNICODE was not "
     "set and the implementation only supports Unicode."},
    {0x80040106, "EMAPI_UNKNOWN_FLAGS", "The caller passed an invalid parameter or flag."},
    {0x80040107, "EMAPI_INVALID_ENTRYID", "The given EntryID is not a valid EntryID!"},
    {0x80040108, "EMAPI_INVALID_OBJECT", "MAPI_INVALID_OBJECT"},
    {0x8004010E, "EMAPI_NOT_ENOUGH_RESOURCES", "Not enough system resources were available to complete the operation."},
    {0x8004010F, "EMAPI_NOT_FOUND", "The requested object does not exist."},
    {0x80040111, "EMAPI_LOGON_FAILED",
     "The logon did not succeed, either because one or more of the logon-parameters were invalid \r\nor because there "
     "were too many sessions open already."},
    {0x80040113, "EMAPI_USER_CANCEL",
     "The user canceled the operation, typically by clicking the Cancel button in a dialog box."},
    {0x8004011E, "EMAPI_UNKNOWN_CPID", "The server is not configured to support the client''s code page."},
    {0x8004011F, "EMAPI_UNKNOWN_LCID", "The server is not configured to support the client''s locale information."},
    {0x80040201, "EMAPI_UNKNOWN_ENTRYID", "The given EntryID could not be located."},
    {0x80040401, "EMAPI_TIMEOUT", "A TimeOut has occurred."},
    {0x8007000E, "EMAPI_NOT_ENOUGH_MEMORY", "MAPI_E_NOT_ENOUGH_MEMORY"},
    {0x80070005, "EMAPI_NO_ACCESS",
     "The caller does not have sufficient access rights to perform the requested operation."},
    {0x80070057, "EMAPI_INVALID_PARAMETER", "The caller passed an invalid parameter or flag."},
    {0x81002746, "EMAPI_INVALID_PARAMETER",
     "The name specified for PR_PROFILE_UNRESOLVED_NAME is incorrect, invalid, or otherwise not found."},
};

// From 1 on; 7 has none.
constexpr const char* simpleTexts[] = {
    "The user cancelled the action.",
    "One or more errors occurred while executing this action.",
    "Failed to logon.",
    "The action failed, because there is not enough free space on the disk.",
    "The action failed, because there is not enough free memory.",
    "The action failed, because access was denied.",
    nullptr,
    "The action failed, because there are too may sessions open.",
    "The action failed, because there are too many files open.",
    "The action failed, because there are too many recipients.",
    "The action failed, because the given attachment was not found.",
    "The action failed, because the given attachment could not be opened.",
    "The action failed, because the given attachment coult not be saved.",
    "The action failed, because there is an unresolved recipient.",
    "The action failed, because of an invalid recipienttype",
    "The action failed, because there are no messages.",
    "The action failed, because of an invalid message.",
    "The action failed, because the messagetext is too large.",
    "The action failed, because of an invalid session.",
    "The action failed, because of an unsupported type.",
    "The action failed, because of an ambiguous recipient.",
    "The action failed, because the message is in use.",
    "The action failed, because of a network failure.",
    "The action failed, because of invalid editfields.",
    "The action failed, because of invalid recipients.",
    "The action is not supported by Simple MAPI.",
};

std::string Hex(std::uint32_t code)
{
    return KwToUtf8(KwFormat(u"0x%.8x", {code}));
}

std::string Raised(std::uint32_t code, const std::string& text)
{
    return "TKwThing.DoIt has raised the following exception:\r\n" + text + " (" +
           std::to_string(static_cast<std::int32_t>(code)) + "=" + Hex(code) + ")";
}

TCaught Expected(const TOwnText& row)
{
    return {row.ClassName,
            std::string("TKwThing.DoIt has raised the following exception:\r\n") + row.Text + " (" +
                std::to_string(static_cast<std::int32_t>(row.Code)) + ")",
            row.Code, row.Code == 0x80040113};
}

// REQUIRES: the row shows its class's name.
TCaught Expected(const TCodeClass& row)
{
    return {row.ClassName, Raised(row.Code, std::string("MAPI_E_") + (row.ClassName + 6)), row.Code};
}

TCaught ExpectedWithoutText(std::uint32_t code)
{
    return {"EKwMAPIException",
            "TKwThing.DoIt raised an exception with errorcode " + std::to_string(static_cast<std::int32_t>(code)) +
                " / " + Hex(code) + "!",
            code};
}

TCaught Check(std::uint32_t code, IKwMAPIWrapper* wrapper = nullptr)
{
    return Catch([=] { CheckMAPIResult(u"TKwThing", u"DoIt", static_cast<mapi::HRESULT>(code), wrapper); });
}

EKwMAPIExceptionClass ClassOf(std::uint32_t code)
{
    return GetMAPIExceptionClass(static_cast<mapi::HRESULT>(code), false);
}

// A wrapper whose object knows more about its failure.
class TExplainingWrapper : public TKwAutoIntfObject, public virtual IKwMAPIWrapper
{
public:
    TKwMAPIError Error;
    bool Fails = false;

    WideString GetClassName() const override { return u"TKwThing"; }
    void GetExtendedErrorInfo(mapi::HRESULT result, TKwMAPIError& error) override
    {
        EXPECT_EQ(result, mapi::MAPI_E_EXTENDED_ERROR);
        if (Fails)
            CheckMAPIResult(*this, u"GetExtendedErrorInfo", mapi::MAPI_E_NO_SUPPORT);
        error = Error;
    }
    TKwRef<IKwMAPIObject> Get_CreatedBy() const override { return nullptr; }
    mapi::IUnknown* Get_MAPIOBJECT() const noexcept override { return nullptr; }
    IKwMAPISessionBase* Get_Session() const noexcept override { return nullptr; }
    void* AllocateBuffer(mapi::ULONG) override { return nullptr; }
    void* AllocateMore(mapi::ULONG, void*) override { return nullptr; }
    void FreeBuffer(void*) override {}
    void* GetMAPIEntryID(const TKwMAPIEntryID&, mapi::ULONG&) override { return nullptr; }
    mapi::ULONG_PTR GetParentWindow() const override { return 0; }
    mapi::ULONG_PTR GetAppHandle() const override { return 0; }
};

class Exceptions : public testing::Test
{
protected:
    TTestPlatform Platform;

private:
    TKwPlatformOverride FOverride{Platform};
};

TEST_F(Exceptions, SuccessReturns)
{
    EXPECT_EQ(Check(0), TCaught{});
    EXPECT_EQ(Catch([] { CheckSimpleMAPIResult(0); }), TCaught{});
}

TEST_F(Exceptions, EveryRegisteredCodeHasItsClass)
{
    for (const TCodeClass& row : registeredClasses) {
        const EKwMAPIExceptionClass found = ClassOf(row.Code);
        ASSERT_NE(found, nullptr) << Hex(row.Code);
        EXPECT_EQ(KwToUtf8(found->Name), row.ClassName) << Hex(row.Code);
        const TCaught created =
            Catch([&] { CreateKwMAPIException(static_cast<mapi::HRESULT>(row.Code), u"%s stays as it is")->Raise(); });
        EXPECT_EQ(created, (TCaught{row.ClassName, "%s stays as it is", row.Code, row.Code == 0x80040113}));
    }
}

TEST_F(Exceptions, CodesWithoutAClassUseTheBase)
{
    for (const std::uint32_t code : {0u, 7u, 27u, 0x80004001u, 0x80040104u, 0x8004010Cu, 0x80040125u, 0x80040404u,
                                     0x80040603u, 0x8004060Du, 0x00040380u})
    {
        EXPECT_EQ(ClassOf(code), nullptr) << Hex(code);
        EXPECT_EQ(GetMAPIExceptionClass(static_cast<mapi::HRESULT>(code)), nullptr) << Hex(code);
        EXPECT_EQ(GetMAPIExceptionClass(static_cast<mapi::HRESULT>(code), true), &EKwMAPIException::Class())
            << Hex(code);
        const TCaught created = Catch([=] {
            CreateKwMAPIException(static_cast<mapi::HRESULT>(code), u"%s %d", {u"a", 5})->Raise();
        });
        EXPECT_EQ(created, (TCaught{"EKwMAPIException", "a 5", code}));
    }
}

TEST_F(Exceptions, CodesWithAClassAndATextOfTheirOwn)
{
    for (const TOwnText& row : ownTexts)
        EXPECT_EQ(Check(row.Code), Expected(row));
}

TEST_F(Exceptions, CodesThatShowTheirClass)
{
    // What the system knows of these codes is not asked for.
    for (const TCodeClass& row : registeredClasses)
        Platform.Messages[static_cast<std::int32_t>(row.Code)] = u"The system's text.";
    for (const TCodeClass& row : registeredClasses)
        if (row.ShowsClassName) {
            EXPECT_EQ(Check(row.Code), Expected(row));
        }
    EXPECT_EQ(Check(0x80004005).Message, "TKwThing.DoIt has raised the following exception:\r\n"
                                         "MAPI_E_CALL_FAILED (-2147467259=0x80004005)");
    EXPECT_EQ(Check(0x8004060C).ClassName, "EMAPI_LOGON_FAILED");
}

TEST_F(Exceptions, OtherCodesShowTheSystemsText)
{
    // Simple MAPI's numbers and codes between the known ones, though some have a class.
    for (const std::uint32_t code : {1u, 2u, 26u, 0x80004001u, 0x80040104u, 0x8004010Cu, 0x80040119u, 0x80040125u,
                                     0x80040404u, 0x80040406u, 0x80040503u, 0x80040603u, 0x8004060Du, 0x80040308u})
    {
        Platform.Messages.clear();
        EXPECT_EQ(Check(code), ExpectedWithoutText(code));
        Platform.Messages[static_cast<std::int32_t>(code)] = u"100% of the system\u2019s text.";
        EXPECT_EQ(Check(code), (TCaught{"EKwMAPIException", Raised(code, "100% of the system\u2019s text."), code}));
    }
}

TEST_F(Exceptions, NoOtherCodeTakesTheRoadOfItsNeighbour)
{
    std::map<std::uint32_t, TCaught> known;
    for (const TOwnText& row : ownTexts)
        known[row.Code] = Expected(row);
    for (const TCodeClass& row : registeredClasses)
        if (row.ShowsClassName)
            known[row.Code] = Expected(row);
    std::map<std::uint32_t, TCaught> expected;
    for (std::uint32_t code = 0x80040100; code <= 0x80040701; ++code) // all of MAPI's own errors, and between them
        expected[code] = ExpectedWithoutText(code);
    for (const auto& [code, caught] : known)
        for (const std::uint32_t near : {code - 1, code, code + 1})
            expected[near] = ExpectedWithoutText(near);
    for (const auto& [code, caught] : known)
        expected[code] = caught;
    for (const auto& [code, caught] : expected)
        EXPECT_EQ(Check(code), caught);
}

TEST_F(Exceptions, ExtendedErrorsShowTheProvidersText)
{
    constexpr std::uint32_t code = 0x80040119;
    const TKwRef<TExplainingWrapper> wrapper = KwMake<TExplainingWrapper>();
    wrapper->Error = {u"Bad", u"Store", 1, 2};
    EXPECT_EQ(
        Check(code, wrapper.Get()),
        (TCaught{"EKwMAPIException",
                 "TKwThing.DoIt has raised the following exception:\r\nBad (Store) (-2147221223=0x80040119)", code}));
    EXPECT_EQ(Catch([&] { CheckMAPIResult(*wrapper, u"DoIt", mapi::MAPI_E_EXTENDED_ERROR); }),
              Check(code, wrapper.Get()))
        << "the wrapper's own class name";

    wrapper->Error = {u"", u"Store", 1, 2};
    EXPECT_EQ(Check(code, wrapper.Get()).Message, Raised(code, ""));
    Platform.Messages[static_cast<std::int32_t>(code)] = u"The system's text.";
    EXPECT_EQ(Check(code, wrapper.Get()).Message, Raised(code, "The system's text."));
    EXPECT_EQ(Check(code).Message, Raised(code, "The system's text.")) << "without a wrapper";

    wrapper->Fails = true;
    const TCaught replaced = Check(code, wrapper.Get());
    EXPECT_EQ(replaced.ClassName, "EMAPI_NO_SUPPORT");
    EXPECT_EQ(replaced.Code, 0x80040102u);

    wrapper->Error = {u"Bad", u"Store", 1, 2};
    EXPECT_EQ(Check(0x80040102, wrapper.Get()).Message, Raised(0x80040102, "MAPI_E_NO_SUPPORT"))
        << "other codes do not ask the wrapper";
}

TEST_F(Exceptions, SimpleMAPICodes)
{
    for (std::uint32_t code = 1; code <= std::size(simpleTexts); ++code) {
        const bool known = simpleTexts[code - 1] != nullptr;
        EXPECT_EQ(Catch([=] { CheckSimpleMAPIResult(code); }),
                  (TCaught{known ? KwToUtf8(ClassOf(code)->Name) : "EKwMAPIException",
                           known ? simpleTexts[code - 1] : "Unknown error", code}));
    }
    EXPECT_EQ(std::size(simpleTexts), 26u);
    EXPECT_EQ(Catch([] { CheckSimpleMAPIResult(27); }), (TCaught{"EKwMAPIException", "Unknown error", 27}));
    EXPECT_EQ(Catch([] { CheckSimpleMAPIResult(0x80004005); }), TCaught{});
    EXPECT_EQ(Catch([] { CheckSimpleMAPIResult(0x8004010F); }),
              (TCaught{"EMAPI_NOT_FOUND", "Unknown error", 0x8004010F}));
}

TEST_F(Exceptions, AreCaughtByKind)
{
    EXPECT_THROW(CheckMAPIResult(u"A", u"B", mapi::MAPI_E_NOT_FOUND), EMAPI_NOT_FOUND);
    EXPECT_THROW(CheckMAPIResult(u"A", u"B", mapi::MAPI_E_NOT_FOUND), EKwMAPIException);
    EXPECT_THROW(CheckMAPIResult(u"A", u"B", mapi::MAPI_W_ERRORS_RETURNED), EMAPI_W_ERRORS_RETURNED);
    EXPECT_THROW(CreateKwMAPIException(mapi::MAPI_E_STORE_FULL, u"")->Raise(), EMAPI_LOGON_FAILED);
    EXPECT_THROW(throw EMAPI_NO_ACCESS_READONLY(u"", 0), EMAPI_NO_ACCESS);
    // A Cancel passes by everything that catches errors.
    EXPECT_THROW(CheckMAPIResult(u"A", u"B", mapi::MAPI_E_USER_CANCEL), EKwMAPIAbort);
    EXPECT_FALSE((std::is_base_of_v<EKwException, EMAPI_USER_CANCEL>));
    EXPECT_TRUE(EMAPI_NO_ACCESS_READONLY::Class().InheritsFrom(EMAPI_NO_ACCESS::Class()));
    EXPECT_TRUE(EMAPI_NO_ACCESS_READONLY::Class().InheritsFrom(EKwException::Class()));
    EXPECT_FALSE(EMAPI_USER_CANCEL::Class().InheritsFrom(EKwMAPIException::Class()));
}

TEST_F(Exceptions, EveryClassHasItsParent)
{
    const auto check = [](const TKwExceptionClass& self, const TKwExceptionClass& parent) {
        EXPECT_EQ(self.Parent, &parent) << KwToUtf8(self.Name);
        // What it makes is of that class for a catch, too.
        EXPECT_TRUE(self.Create(u"", 0)->ClassType().InheritsFrom(parent)) << KwToUtf8(self.Name);
    };
    const std::map<WideView, const TKwExceptionClass*> others = {
        {u"EMAPI_USER_CANCEL", &EKwMAPIAbort::Class()}, {u"EMAPI_NO_ACCESS_READONLY", &EMAPI_NO_ACCESS::Class()}};
#define CHECK_CLASS(Self, Base)                                                                                        \
    {                                                                                                                  \
        const auto other = others.find(Self::Class().Name);                                                            \
        check(Self::Class(), other != others.end() ? *other->second : EKwMAPIException::Class());                      \
        EXPECT_EQ((std::is_base_of_v<EKwMAPIException, Self>), Self::Class().InheritsFrom(EKwMAPIException::Class())); \
        EXPECT_EQ((std::is_base_of_v<EKwMAPIAbort, Self>), Self::Class().InheritsFrom(EKwMAPIAbort::Class()));         \
    }
    DEFTMAPI_EXTENDED_MAPI_EXCEPTIONS(CHECK_CLASS)
    DEFTMAPI_SIMPLE_MAPI_EXCEPTIONS(CHECK_CLASS)
#undef CHECK_CLASS
#define COUNT_CLASS(Self, Base) +1
    EXPECT_EQ(2 DEFTMAPI_EXTENDED_MAPI_EXCEPTIONS(COUNT_CLASS), 82) << "with the two bases";
    EXPECT_EQ(DEFTMAPI_SIMPLE_MAPI_EXCEPTIONS(COUNT_CLASS), 25);
#undef COUNT_CLASS
    check(EKwMAPIException::Class(), EKwException::Class());
    check(EKwMAPIAbort::Class(), EKwAbort::Class());
}

TEST_F(Exceptions, ClassesWithoutACode)
{
    for (const TKwExceptionClass* unregistered :
         {&EMAPI_STORE_FULL::Class(), &EMAPI_NO_ACCESS_READONLY::Class(), &EMAPI_W_NO_SERVICE::Class(),
          &EMAPI_W_ERRORS_RETURNED::Class(), &EMAPI_W_POSITION_CHANGED::Class(), &EMAPI_W_APPROX_COUNT::Class(),
          &EMAPI_W_CANCEL_MESSAGE::Class(), &EMAPI_W_PARTIAL_COMPLETION::Class(), &EMAPI_MAPI_W_NO_SERVICE::Class(),
          &EMAPI_MAPI_W_ERRORS_RETURNED::Class(), &EMAPI_MAPI_W_CANCEL_MESSAGE::Class(), &EMAPI_LOGIN_FAILURE::Class()})
    {
        const std::string name = KwToUtf8(unregistered->Name);
        EXPECT_TRUE(std::none_of(std::begin(registeredClasses), std::end(registeredClasses),
                                 [&](const TCodeClass& row) { return ClassOf(row.Code) == unregistered; }))
            << name;
        // They can be made through their reference all the same.
        EXPECT_EQ(Catch([=] { unregistered->Create(u"by name", 3)->Raise(); }), (TCaught{name, "by name", 3}));
    }
}

class EKwShort : public EKwMAPIException
{
    DEFTMAPI_EXCEPTION(EKwShort, EKwMAPIException)
};
const TKwExceptionClass& EKwShort::Class() noexcept
{
    static const TKwExceptionClass record{
        u"Odd", &EKwMAPIException::Class(), [](WideString message, std::int32_t code) {
            return std::unique_ptr<EKwExceptionBase>(std::make_unique<EKwShort>(std::move(message), code));
        }};
    return record;
}

TEST_F(Exceptions, AnApplicationsClassReplacesOurs)
{
    KwRegisterExceptionClass(u"MAPI", mapi::MAPI_E_BUSY, EKwShort::Class());
    KwRegisterExceptionClass(u"MAPI", mapi::MAPI_E_NOT_FOUND, EKwShort::Class());
    EXPECT_THROW(CreateKwMAPIException(mapi::MAPI_E_NOT_FOUND, u"")->Raise(), EKwShort);
    EXPECT_EQ(Check(0x8004010B), (TCaught{"Odd", Raised(0x8004010B, "MAPI_E_"), 0x8004010B}))
        << "a name without our prefix";
    EXPECT_EQ(Check(0x8004010F).ClassName, "EMAPI_NOT_FOUND") << "its class is fixed";
    KwRegisterExceptionClass(u"MAPI", mapi::MAPI_E_BUSY, EMAPI_BUSY::Class());
    KwRegisterExceptionClass(u"MAPI", mapi::MAPI_E_NOT_FOUND, EMAPI_NOT_FOUND::Class());
}

TEST_F(Exceptions, TheSystemsOwnPlatformHasATextForOne)
{
    const WideString text = KwSystemPlatform().SystemMessage(1);
    ASSERT_FALSE(text.empty());
    Platform.Messages[1] = text;
    EXPECT_EQ(Check(1), (TCaught{"EKwMAPIException", Raised(1, KwToUtf8(text)), 1}));
}

} // namespace

} // namespace deftmapi::test
