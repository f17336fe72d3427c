// The exception bases, class records and the registry.
#include "support/uKwExceptions.hpp"

#include <gtest/gtest.h>

using namespace deftmapi;

namespace
{

class ETestBase : public EKwException
{
    DEFTMAPI_EXCEPTION(ETestBase, EKwException)
};
class ETestSpecial : public ETestBase
{
    DEFTMAPI_EXCEPTION(ETestSpecial, ETestBase)
};
class ETestOther : public ETestBase
{
    DEFTMAPI_EXCEPTION(ETestOther, ETestBase)
};

DEFTMAPI_EXCEPTION_CLASS(ETestBase, &EKwException::Class())
DEFTMAPI_EXCEPTION_CLASS(ETestSpecial, &ETestBase::Class())
DEFTMAPI_EXCEPTION_CLASS(ETestOther, &ETestBase::Class())

} // namespace

TEST(ExceptionTest, CarriesMessageCodeAndClass)
{
    const ETestSpecial e(u"Gr\u00FC\u00DFe, %s", {u"you"}, -5);
    EXPECT_EQ(e.Message(), u"Gr\u00FC\u00DFe, you");
    EXPECT_STREQ(e.what(), "Gr\xC3\xBC\xC3\x9F"
                           "e, you");
    EXPECT_EQ(e.ErrorCode(), -5);
    EXPECT_EQ(e.ClassType().Name, std::u16string_view(u"ETestSpecial"));
    EXPECT_TRUE(e.ClassType().InheritsFrom(ETestBase::Class()));
    EXPECT_TRUE(e.ClassType().InheritsFrom(EKwException::Class()));
    EXPECT_FALSE(e.ClassType().InheritsFrom(ETestOther::Class()));
    EXPECT_FALSE(ETestBase::Class().InheritsFrom(ETestSpecial::Class()));
    EXPECT_FALSE(EKwAbort::Class().InheritsFrom(EKwException::Class()));
}

TEST(ExceptionTest, RaiseKeepsTheDynamicType)
{
    std::unique_ptr<EKwExceptionBase> e = ETestSpecial::Class().Create(u"text", 7);
    try {
        e->Raise();
        FAIL() << "Raise returned";
    } catch (const ETestOther&) {
        FAIL() << "the wrong sibling";
    } catch (const ETestSpecial& caught) {
        EXPECT_EQ(caught.Message(), u"text");
        EXPECT_EQ(caught.ErrorCode(), 7);
        EXPECT_NE(&caught, e.get()); // a copy: the original still belongs to its owner
    }
    EXPECT_THROW(EKwAbort::Class().Create(u"", 0)->Raise(), EKwAbort);
}

TEST(ExceptionTest, RegistryChoosesByCategoryAndCode)
{
    KwRegisterExceptionBase(u"Test", ETestBase::Class());
    KwRegisterExceptionClass(u"Test", 10, ETestSpecial::Class());
    KwRegisterExceptionClass(u"Test", 11, ETestSpecial::Class());
    KwRegisterExceptionClass(u"Test", 11, ETestOther::Class()); // the later one counts

    EXPECT_EQ(KwGetExceptionClass(u"Test", 10, false), &ETestSpecial::Class());
    EXPECT_EQ(KwGetExceptionClass(u"Test", 11, false), &ETestOther::Class());
    EXPECT_EQ(KwGetExceptionClass(u"Test", 12, false), nullptr);
    EXPECT_EQ(KwGetExceptionClass(u"Test", 12, true), &ETestBase::Class());
    EXPECT_EQ(KwGetExceptionClass(u"Elsewhere", 10, true), nullptr);

    EXPECT_EQ(&KwCreateException(u"Test", 10, u"m")->ClassType(), &ETestSpecial::Class());
    const auto unregistered = KwCreateException(u"Test", 12, u"%s=%d", {u"code", 12});
    EXPECT_EQ(&unregistered->ClassType(), &ETestBase::Class());
    EXPECT_EQ(unregistered->Message(), u"code=12");
    EXPECT_EQ(unregistered->ErrorCode(), 12);
    EXPECT_EQ(&KwCreateException(u"Elsewhere", 1, u"m")->ClassType(), &EKwException::Class());
    // A plain message is no pattern.
    EXPECT_EQ(KwCreateException(u"Test", 10, u"100%")->Message(), u"100%");
}
