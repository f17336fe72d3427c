// Messages apart from their bodies: the registry of message classes, wrapping, recipients, attachments.
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "tests/session/StoreFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

template <int Number>
class TTestMessage final : public TKwMAPIMessage
{
public:
    using TKwMAPIMessage::TKwMAPIMessage;
    static TKwRef<TKwMAPIMessage> Make(TKwMAPIObject* owner, TKwMAPIAccessLevel accessLevel)
    {
        return KwMake<TTestMessage>(owner, accessLevel);
    }
    [[nodiscard]] WideString GetClassName() const override { return u"TTestMessage"; }
};
constexpr TKwMAPIMessageClass First{u"First", &TTestMessage<1>::Make};
constexpr TKwMAPIMessageClass Second{u"Second", &TTestMessage<2>::Make};
constexpr TKwMAPIMessageClass Third{u"Third", &TTestMessage<3>::Make};

// The registry is the process's: each test registers classes of its own names.

TEST(TMessageClassTest, EqualClassesWinOverBaseClasses)
{
    KwRegisterMessageClass(First, u"IPM.Test.Note", 1);
    KwRegisterMessageClass(Second, u"IPM.Test", 1);
    const std::pair<const char16_t*, const TKwMAPIMessageClass*> expected[] = {
        {u"ipm.test.NOTE", &First},
        {u"IPM.Test.Note.SMIME.MultipartSigned", &First}, // the first registered, not the longest
        {u"IPM.TEST.other", &Second},
        {u"IPM.Test", &Second},
        {u"IPM.Tests", &KwMAPIMessageClass},
        {u"IPM.Test.Notes", &Second},
        {u"IPM", &KwMAPIMessageClass},
        {u"", &KwMAPIMessageClass}};
    for (const auto& [messageClass, wrapperClass] : expected)
        EXPECT_EQ(&KwFindMessageClass(messageClass), wrapperClass) << KwToUtf8(messageClass);
    KwRegisterMessageClass(Third, u"IPM.Test.Note.SMIME", 1);
    EXPECT_EQ(&KwFindMessageClass(u"IPM.Test.Note.SMIME.x"), &First);
    EXPECT_EQ(&KwFindMessageClass(u"IPM.Test.Note.SMIME"), &Third);
}

TEST(TMessageClassTest, OnlyAHigherPriorityReplaces)
{
    KwRegisterMessageClass(First, u"IPM.Priority", 1);
    KwRegisterMessageClass(Second, u"ipm.priority", 1);
    EXPECT_EQ(&KwFindMessageClass(u"IPM.Priority"), &First);
    KwRegisterMessageClass(Second, u"IPM.PRIORITY", 2);
    EXPECT_EQ(&KwFindMessageClass(u"IPM.Priority"), &Second);
    KwRegisterMessageClass(Third, u"IPM.Priority", 1);
    EXPECT_EQ(&KwFindMessageClass(u"IPM.Priority"), &Second);
}

class TMessageTest : public TStoreTest
{
protected:
    TMessageTest() : Object(new TScriptedMessage(Calls, "")) {}
    [[nodiscard]] TKwRef<TKwMAPIMessage> Wrap(TKwMAPIAccessLevel accessLevel = alReadWrite)
    {
        auto message = CreateMessageObjectFromIntf(Store.Get(), Session.Get(), Object.Get(), accessLevel);
        static_cast<void>(Take());
        return message;
    }
    void SetClass(const char16_t* messageClass)
    {
        Object->Bag.Set(TextValue(GetPropTag(PR_MESSAGE_CLASS), messageClass));
    }

    TKwComPtr<TScriptedMessage> Object;
};

TEST_F(TMessageTest, TheWrapperClassComesFromTheMessage)
{
    KwRegisterMessageClass(First, u"IPM.Wrapped", 1);
    EXPECT_EQ(Wrap()->GetClassName(), u"TKwMAPIMessage"); // a message without a class
    SetClass(u"IPM.Wrapped.Deep");
    EXPECT_EQ(Wrap()->GetClassName(), u"TTestMessage");
    Object->Bag.EightBitOnly = true;
    Object->Bag.Set(TextValue(GetPropTag(PR_MESSAGE_CLASS_A), "IPM.Wrapped"));
    EXPECT_EQ(Wrap()->GetClassName(), u"TTestMessage");
    Object->Bag.EightBitOnly = false;

    Object->Bag.Refused[mapi::PROP_ID(GetPropTag(PR_MESSAGE_CLASS))] = mapi::MAPI_E_NO_ACCESS;
    EXPECT_EQ(Catch([&] { static_cast<void>(Wrap()); }).ClassName, "EMAPI_NO_ACCESS") << "it may well have a class";
    Object->Bag.Refused.clear();
    Calls->Next("GetProps", mapi::MAPI_E_OBJECT_DELETED);
    EXPECT_EQ(Catch([&] { static_cast<void>(Wrap()); }).ClassName, "EMAPI_OBJECT_DELETED");
    const auto wrapped = WrapMAPIMessage(*Session, Object.Get());
    EXPECT_EQ(wrapped->Get_AccessLevel(), alBestAccess);
    const auto unbound = KwMake<TKwMAPIMessage>(nullptr, alReadOnly);
    EXPECT_EQ(Catch([&] { unbound->SetMAPIOBJECT(Object.Get()); }).Message, "The session is not a MAPI session!");
}

TEST_F(TMessageTest, RecipientAndAttachmentTables)
{
    const auto message = Wrap();
    Object->Recipients->AddRow({TextValue(GetPropTag(PR_DISPLAY_NAME), u"Ann")});
    Calls->Next("GetRecipientTable", mapi::MAPI_E_BAD_CHARWIDTH);
    const auto recipients = message->GetRecipientTable();
    EXPECT_EQ(Take(), "GetRecipientTable(0x80000000)\nGetRecipientTable(0x00000000)");
    recipients->Get_Fields()->Add(PR_DISPLAY_NAME);
    EXPECT_EQ(recipients->GetFieldValue(PR_DISPLAY_NAME).AsStringW(), u"Ann");
    Calls->Next("GetRecipientTable", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { static_cast<void>(message->GetRecipientTable()); }),
              Failure("EMAPI_NO_ACCESS", 0x80070005,
                      "TKwMAPIMessage.GetRecipientTable failed!\r\nYou don't have acces to the recipient table!"));
    static_cast<void>(Take());
    EXPECT_EQ(message->Get_Attachments()->Get_RowCount(), 0);
    EXPECT_EQ(Calls->Lines().front(), "GetAttachmentTable(0x80000000)");
    Calls->Next("GetAttachmentTable", mapi::MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(Catch([&] { static_cast<void>(message->Get_Attachments()); }).ClassName, "EMAPI_NETWORK_ERROR");
}

TEST_F(TMessageTest, AttachmentsAndTheMessagesInThem)
{
    const TKwComPtr<TScriptedAttachment> object(new TScriptedAttachment(Calls));
    Object->Attached[3] = TKwComPtr<mapi::IAttach>(object.Get());
    const auto message = Wrap();
    auto attachment = message->OpenAttachment(3, alReadWrite);
    EXPECT_EQ(Calls->Lines().front(), "OpenAttach(3,0x00000001)");
    object->Bag.Set(LongValue(GetPropTag(PR_ATTACH_METHOD), static_cast<std::int32_t>(mapi::ATTACH_BY_VALUE)));
    EXPECT_EQ(Catch([&] { static_cast<void>(attachment->GetEmbeddedMessage()); }).ClassName, "EMAPI_INVALID_PARAMETER");

    const TKwComPtr<TScriptedMessage> inner(new TScriptedMessage(Calls, "inner."));
    inner->Bag.Set(TextValue(GetPropTag(PR_SUBJECT), u"inside"));
    object->Bag.Set(LongValue(GetPropTag(PR_ATTACH_METHOD), static_cast<std::int32_t>(mapi::ATTACH_EMBEDDED_MSG)));
    object->Bag.OpenStream = [&](TScriptedBag&, mapi::ULONG, bool) {
        return TKwComPtr<mapi::IUnknown>(inner.Get()).Detach();
    };
    attachment = message->OpenAttachment(3, alBestAccess);
    const auto embedded = attachment->GetEmbeddedMessage();
    EXPECT_EQ(embedded->Get_Subject(), u"inside");
    EXPECT_EQ(Catch([&] { static_cast<void>(Wrap(alReadOnly)->OpenAttachment(3, alReadWrite)); }).Message,
              "You don't have readwrite access!");
    Calls->Next("OpenAttach", mapi::MAPI_E_NOT_FOUND);
    EXPECT_EQ(Catch([&] { static_cast<void>(message->OpenAttachment(4, alReadOnly)); }).ClassName, "EMAPI_NOT_FOUND");
}

} // namespace
} // namespace deftmapi::test
