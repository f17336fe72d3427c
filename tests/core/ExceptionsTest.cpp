// Every MAPI and Simple MAPI code, what it raises and what it says.
#include "tests/core/Caught.hpp"

#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "tests/support/TestPlatform.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <type_traits>

namespace deftmapi::test
{

namespace
{

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

/// The codes with a class and the name that it has: the published list, but for what stands here.
const std::map<std::uint32_t, std::string>& RegisteredClasses()
{
    static const std::map<std::uint32_t, std::string> classes = [] {
        std::map<std::uint32_t, std::string> result;
        std::ifstream file(DEFTMAPI_TEST_CONSTANTS_CSV); // group,name,value
        for (std::string line; std::getline(file, line);) {
            const std::size_t name = line.find(",MAPI_E_");
            const std::size_t value = line.rfind(',');
            if (name != std::string::npos) // the first of a number's names
                result.try_emplace(static_cast<std::uint32_t>(std::stoul(line.substr(value + 1), nullptr, 16)),
                                   "EMAPI_" + line.substr(name + 8, value - name - 8));
        }
        for (const std::uint32_t without : {0x80040125u, 0x80040126u})
            result.erase(without);
        result[0x8004060C] = "EMAPI_LOGON_FAILED";
        result[0x81002746] = "EMAPI_INVALID_PARAMETER";
        return result;
    }();
    return classes;
}

/// What the check raises for the codes that it knows.
std::map<std::uint32_t, TCaught> KnownCodes()
{
    std::map<std::uint32_t, TCaught> known;
    for (const auto& [code, name] : RegisteredClasses()) // without Simple MAPI's, which this check does not know
        if (code > std::size(simpleTexts) && code != 0x80040119)
            known[code] = {name, Raised(code, "MAPI_E_" + name.substr(6)), code};
    for (const TOwnText& row : ownTexts)
        known[row.Code] = Expected(row);
    return known;
}

TCaught ExpectedWithoutText(std::uint32_t code)
{
    return {"EKwMAPIException",
            "TKwThing.DoIt raised an exception with errorcode " + std::to_string(static_cast<std::int32_t>(code)) +
                " / " + Hex(code) + "!",
            code};
}

TCaught Check(std::uint32_t code)
{
    return Catch([=] { CheckMAPIResult(u"TKwThing", u"DoIt", static_cast<mapi::HRESULT>(code), nullptr); });
}

EKwMAPIExceptionClass ClassOf(std::uint32_t code)
{
    return GetMAPIExceptionClass(static_cast<mapi::HRESULT>(code), false);
}

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
    EXPECT_EQ(RegisteredClasses().size(), 95u);
    for (const auto& [code, name] : RegisteredClasses()) {
        const EKwMAPIExceptionClass found = ClassOf(code);
        ASSERT_NE(found, nullptr) << Hex(code);
        EXPECT_EQ(KwToUtf8(found->Name), name) << Hex(code);
        const TCaught created = Catch(
            [code = code] { CreateKwMAPIException(static_cast<mapi::HRESULT>(code), u"%s stays as it is")->Raise(); });
        EXPECT_EQ(created, (TCaught{name, "%s stays as it is", code, code == 0x80040113}));
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

TEST_F(Exceptions, KnownCodesShowTheirOwnTextOrTheirClass)
{
    // What the system knows of these codes is not asked for.
    for (const auto& [code, caught] : KnownCodes())
        Platform.Messages[static_cast<std::int32_t>(code)] = u"The system's text.";
    for (const auto& [code, caught] : KnownCodes())
        EXPECT_EQ(Check(code), caught);
    EXPECT_EQ(Check(0x80004005).Message, "TKwThing.DoIt has raised the following exception:\r\n"
                                         "MAPI_E_CALL_FAILED (-2147467259=0x80004005)");
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
    const std::map<std::uint32_t, TCaught> known = KnownCodes();
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
        for (const auto& [code, registered] : RegisteredClasses())
            EXPECT_NE(ClassOf(code), unregistered) << name;
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

} // namespace

} // namespace deftmapi::test
