// Bodies of messages: which one is read, how it is decoded, and what is written.
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "tests/session/StoreFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

constexpr mapi::ULONG Body8 = 0x1000001E;
constexpr mapi::ULONG BodyW = 0x1000001F;
constexpr mapi::ULONG Html8 = 0x1013001E;
constexpr mapi::ULONG HtmlW = 0x1013001F;
constexpr mapi::ULONG HtmlB = 0x10130102;

class TMessageBodyTest : public TStoreTest
{
protected:
    TMessageBodyTest() : Object(new TScriptedMessage(Calls, "")), Message(Wrap()) {}

    [[nodiscard]] TKwRef<TKwMAPIMessage> Wrap()
    {
        return CreateMessageObjectFromMsgClass(u"IPM.Note", Store.Get(), Session.Get(), nullptr, nullptr, Object.Get(),
                                               alReadWrite);
    }
    /// Empties the message and wraps it anew.
    void Reset()
    {
        Object = TKwComPtr<TScriptedMessage>(new TScriptedMessage(Calls, ""));
        Message = Wrap();
    }
    void Set(TKwMAPIPropDef def, std::int32_t number) { Object->Bag.Set(LongValue(GetPropTag(def), number)); }
    [[nodiscard]] std::pair<TKwMAPIBodyFormat, std::string> Read()
    {
        Message->ResetProperties();
        TKwMAPIBodyFormat format = fmtUnspecified;
        WideString text = u"left over";
        Message->GetMessageText(format, text);
        EXPECT_EQ(Message->BodyFormat(), format);
        return {format, KwToUtf8(text)};
    }
    using TBody = std::pair<TKwMAPIBodyFormat, std::string>;

    TKwComPtr<TScriptedMessage> Object;
    TKwRef<TKwMAPIMessage> Message;
};

TEST_F(TMessageBodyTest, TheFormatIsWhatTheMessageSaysThenWhatItHas)
{
    EXPECT_EQ(Read(), TBody(fmtPlainText, ""));
    Object->Bag.Set(TextValue(BodyW, u"plain"));
    EXPECT_EQ(Read(), TBody(fmtPlainText, "plain"));

    Object->Bag.Set(TextValue(HtmlW, u"<p>html"));
    EXPECT_EQ(Read(), TBody(fmtHTML, "<p>html"));
    Set(PR_MSG_EDITOR_FORMAT, 1); // says plain text, which counts less than the HTML that is there
    EXPECT_EQ(Read(), TBody(fmtHTML, "<p>html"));
    Set(PR_MSG_EDITOR_FORMAT, 3); // RTF, which there is none of
    EXPECT_EQ(Read(), TBody(fmtHTML, "<p>html"));
    Object->Bag.Remove(HtmlW);
    EXPECT_EQ(Read(), TBody(fmtPlainText, "plain"));
    for (const auto& [def, value] : {std::pair(PR_MSG_EDITOR_FORMAT, 2), std::pair(PR_NATIVE_BODY_INFO, 3)}) {
        Reset();
        Object->Bag.Set(TextValue(BodyW, u"plain"));
        Set(def, value); // HTML, which there is none of
        EXPECT_EQ(Read(), TBody(fmtPlainText, "plain"));
        Object->Bag.Set(TextValue(BodyW, u" \r\n<HTML>in the wrong place"));
        EXPECT_EQ(Read(), TBody(fmtHTML, " \r\n<HTML>in the wrong place"));
        Object->Bag.Set(TextValue(BodyW, u"<Meta x>"));
        EXPECT_EQ(Read(), TBody(fmtHTML, "<Meta x>"));
    }
    Reset();
    Object->Bag.Set(TextValue(BodyW, u"<html>but nobody said so"));
    EXPECT_EQ(Read().first, fmtPlainText);
}

TEST_F(TMessageBodyTest, HtmlBytesAreDecoded)
{
    const auto html = [&](std::string_view bytes) {
        Object->Bag.Set(BinaryValue(HtmlB, bytes));
        return Read().second;
    };
    EXPECT_EQ(html("<p>\xE4"), "<p>ä"); // the system's code page
    EXPECT_EQ(html("<meta charset=utf-8>\xC3\xA4"), "<meta charset=utf-8>ä");
    EXPECT_EQ(html("\xEF\xBB\xBF<p>\xC3\xA4"), "<p>ä");
    Set(PR_INTERNET_CPID, 1251);
    EXPECT_EQ(html("<p>\xC4\xE0"), "<p>Да");
    EXPECT_EQ(html("<meta charset=utf-8>\xC4\xE0"), "<meta charset=utf-8>Да"); // the message knows better
    EXPECT_EQ(html("\xEF\xBB\xBF<p>\xC3\xA4"), "<p>ä");
    Set(PR_INTERNET_CPID, 99999);
    EXPECT_EQ(html("<META http-equiv='x' content=\"text/html; CHARSET = 'windows-1251'\">\xC4\xE0").substr(67), "Да");
}

TEST_F(TMessageBodyTest, EightBitTextIsInTheCodePageOfTheMessage)
{
    Store->SetDisableUnicode(true);
    Reset();
    ASSERT_TRUE(Message->DisableUnicode());
    Object->Bag.Set(TextValue(Body8, "\xC4\xE0"));
    EXPECT_EQ(Read(), TBody(fmtPlainText, "Äà"));
    Set(PR_INTERNET_CPID, 1251);
    EXPECT_EQ(Read(), TBody(fmtPlainText, "Да"));
    Object->Bag.Set(TextValue(Html8, "<b>\xC4\xE0"));
    EXPECT_EQ(Read(), TBody(fmtHTML, "<b>Да"));

    Message->SetMessageText(u"Да", fmtPlainText);
    EXPECT_EQ(Read(), TBody(fmtPlainText, "Да"));
    EXPECT_EQ(TextOf(*Object->Bag.Find(Body8)), TextOf(TextValue(Body8, "\xC4\xE0")));
}

TEST_F(TMessageBodyTest, PlainTextIsWrittenAfterAllBodiesAreDeleted)
{
    Object->Bag.Set(LongValue(GetPropTag(PR_STORE_SUPPORT_MASK), static_cast<std::int32_t>(mapi::STORE_UNICODE_OK)));
    Object->Bag.Set(TextValue(HtmlW, u"<p>old"));
    Object->Bag.Set(BinaryValue(GetPropTag(PR_RTF_COMPRESSED), "old"));
    Message->PropByName(PR_BODY)->Set_AsString(u"set and not saved");
    static_cast<void>(Take());
    Message->SetMessageText(u"neu ä", fmtPlainText);
    EXPECT_EQ(Calls->Lines().front().substr(0, 12), "DeleteProps(");
    EXPECT_EQ(Message->GetBodyText(), u"neu ä");
    EXPECT_EQ(Message->GetHtmlText(), u"");
    EXPECT_EQ(Object->Bag.Find(GetPropTag(PR_RTF_COMPRESSED)), nullptr);
    Message->SaveChanges();
    EXPECT_EQ(TextOf(*Object->Bag.Find(BodyW)), TextOf(TextValue(BodyW, u"neu ä"))); // not what was pending
    for (const auto& [def, value] :
         {std::pair(PR_SEND_INTERNET_ENCODING, 0x60000), std::pair(PR_INETMAIL_OVERRIDE_FORMAT, 0x60000),
          std::pair(PR_MSG_EDITOR_FORMAT, 1), std::pair(PR_NATIVE_BODY_INFO, 1)})
        EXPECT_EQ(Object->Bag.Find(GetPropTag(def))->Value.l, value);
}

TEST_F(TMessageBodyTest, HtmlIsWrittenAsHtml)
{
    for (const TKwMAPIBodyFormat format : {fmtHTML, fmtUnspecified}) {
        Reset();
        Message->SetMessageText(u"<p>ä €", format);
        Message->SaveChanges();
        // Without a store that tells what it can do, everything is taken to be possible.
        EXPECT_EQ(TextOf(*Object->Bag.Find(HtmlW)), TextOf(TextValue(HtmlW, u"<p>ä €")));
        EXPECT_EQ(Object->Bag.Find(GetPropTag(PR_MSG_EDITOR_FORMAT))->Value.l, 2);
        EXPECT_EQ(Object->Bag.Find(GetPropTag(PR_NATIVE_BODY_INFO))->Value.l, 3);
        EXPECT_EQ(Read(), TBody(fmtHTML, "<p>ä €"));
    }
    Reset();
    Object->Bag.Set(LongValue(GetPropTag(PR_STORE_SUPPORT_MASK), 0));
    Message->SetMessageText(u"<p>ä €", fmtHTML);
    EXPECT_EQ(TextOf(*Object->Bag.Find(Html8)), TextOf(TextValue(Html8, "<p>\xE4 \x80")));
}

TEST_F(TMessageBodyTest, EmptyTextLeavesNoBody)
{
    for (const TKwMAPIBodyFormat format : {fmtUnspecified, fmtPlainText, fmtHTML, fmtRichText}) {
        Object->Bag.Set(TextValue(BodyW, u"old"));
        Object->Bag.Set(TextValue(HtmlW, u"old"));
        Message->SetMessageText(u"", format);
        EXPECT_EQ(Object->Bag.Find(BodyW), nullptr);
        EXPECT_EQ(Object->Bag.Find(HtmlW), nullptr);
        EXPECT_FALSE(Message->GetModified());
    }
}

TEST_F(TMessageBodyTest, RtfIsNotTakenForSomethingElse)
{
    EXPECT_EQ(Catch([&] { Message->SetMessageText(u"{\\rtf1 x}", fmtHTML); }),
              Failure("EMAPI_CORRUPT_DATA", 0x8004011B,
                      "The specified messageformat is mfHTML, but an RTF message was supplied"));
    for (const TKwMAPIBodyFormat format : {fmtPlainText, fmtUnspecified})
        EXPECT_EQ(Catch([&] { Message->SetMessageText(u"{\\rtf1 x}", format); }),
                  Failure("EMAPI_CORRUPT_DATA", 0x8004011B,
                          "The specified messageformat is mfPlainText, but an RTF message was supplied"));
    Object->Bag.Set(TextValue(BodyW, u"old"));
    EXPECT_EQ(Catch([&] { Message->SetMessageText(u"{\\rtf1 x}", fmtRichText); }).ClassName, "EMAPI_NOT_SUPPORTED");
    EXPECT_EQ(Read(), TBody(fmtPlainText, "old")); // nothing was touched
    Session->ExtendedMAPI = false;
    EXPECT_EQ(Catch([&] { Message->SetMessageText(u"{\\rtf1 x}", fmtRichText); }),
              Failure("EMAPI_NOT_SUPPORTED", 26, "RichtText messages are not supported by Simple MAPI"));
}

TEST_F(TMessageBodyTest, CallsThatFailWhileABodyIsWrittenAreRaised)
{
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 30);
        Reset();
        Calls->FailNth(n, mapi::MAPI_E_NOT_ENOUGH_DISK);
        const TCaught caught = Catch([&] {
            Message->SetMessageText(u"text", fmtPlainText);
            Message->SaveChanges();
        });
        if (!Calls->Failed())
            break;
        EXPECT_EQ(caught.ClassName, "EMAPI_NOT_ENOUGH_DISK") << n;
    }
}

} // namespace
} // namespace deftmapi::test
