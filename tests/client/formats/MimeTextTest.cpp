// Character sets of bodies, flowed text, subjects, times, senders and the binary forms of addresses.
#include "client/formats/BodyText.hpp"
#include "client/formats/HeaderProps.hpp"
#include "client/formats/MimeTags.hpp"
#include "client/formats/Recipients.hpp"
#include "tests/client/formats/MimeFixture.hpp"

namespace deftmapi::client::mime::test
{

namespace
{

class MimeText : public MimeTest
{
protected:
    void CheckDecoded(const std::string& bytes, const std::string& charset, WideView text, unsigned codePage,
                      TMimeDamage damage)
    {
        TMimeState state(Options);
        const TDecodedText decoded = DecodeText(bytes, charset, state);
        EXPECT_EQ(KwToUtf8(decoded.Text), KwToUtf8(text)) << charset;
        EXPECT_EQ(decoded.CodePage, codePage) << charset;
        EXPECT_EQ(DamageText(state.Damage), DamageText(damage)) << charset;
    }
    unsigned PageOfHtml(const std::string& bytes, const std::string& charset, TMimeDamage damage = 0)
    {
        TMimeState state(Options);
        const unsigned codePage = HtmlCodePage(bytes, charset, state);
        EXPECT_EQ(DamageText(state.Damage), DamageText(damage)) << bytes;
        return codePage;
    }
};

} // namespace

TEST_F(MimeText, CharacterSets)
{
    CheckDecoded("plain", "", u"plain", 20127, 0);
    CheckDecoded("plain", "us-ascii", u"plain", 20127, 0);
    CheckDecoded("\xC3\xA4", "utf-8", u"ä", 65001, 0);
    CheckDecoded("\xEF\xBB\xBF"
                 "x",
                 "utf-8", u"x", 65001, 0);
    CheckDecoded("\xE4 \x80", "iso-8859-1", u"ä €", 28591, 0); // no mail contains the control characters of 8859-1
    CheckDecoded("\xA4", "ISO-8859-15", u"€", 28605, 0);
    CheckDecoded("\xCF\xF0", "windows-1251", u"Пр", 1251, 0);
    CheckDecoded("\x93\xFA", "Shift_JIS", u"日", 932, 0);
    CheckDecoded("\x1B$BF|\x1B(B", "iso-2022-jp", u"日", 50220, 0);
    CheckDecoded("\xC4\xE3", "gb2312", u"你", 936, 0);
    CheckDecoded(std::string("a\0b\0", 4), "utf-16le", u"ab", 1200, 0);
    CheckDecoded("\xFE\xFF" + std::string("\0a", 2), "utf-16", u"a", 1201, 0);
}

TEST_F(MimeText, CharacterSetsThatAreWrong)
{
    CheckDecoded("\xC3\xA4", "", u"ä", 65001, mdUnknownCharset);
    CheckDecoded("\xE4", "", u"ä", 1252, mdUnknownCharset);
    CheckDecoded("\xC3\xA4", "x-my-own", u"ä", 65001, mdUnknownCharset);
    CheckDecoded("\x80\xE4", "x-my-own", u"€ä", 1252, mdUnknownCharset);
    CheckDecoded("plain", "x-my-own", u"plain", 20127, mdUnknownCharset);
    CheckDecoded("\xE4", "us-ascii", u"ä", 1252, mdCharsetMismatch);
    CheckDecoded("gr\xFC\xDF", "utf-8", u"grüß", 1252, mdCharsetMismatch);
    // Mostly UTF-8, cut off at the end.
    CheckDecoded("\xC3\xA4\xC3\xB6\xC3\xBC\xC3", "utf-8", u"äöü\xFFFD", 65001, mdCharsetMismatch);
    // Overlong forms, surrogates and what lies beyond the last character are not UTF-8.
    for (const char* bytes : {"\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80"}) {
        TMimeState state(Options);
        EXPECT_EQ(DecodeText(bytes, "utf-8", state).CodePage, 1252u);
    }
}

TEST_F(MimeText, HtmlKeepsItsBytes)
{
    EXPECT_EQ(PageOfHtml("<p>\xE4", "iso-8859-1"), 28591u);
    EXPECT_EQ(PageOfHtml("<META HTTP-EQUIV=Content-Type CONTENT=\"text/html; charset=windows-1250\"><p>\xE4", ""),
              1250u);
    EXPECT_EQ(PageOfHtml("<meta charset='koi8-r'>\xC1", ""), 20866u);
    EXPECT_EQ(PageOfHtml("<meta charset='koi8-r'>\xC1", "utf-8", mdCharsetMismatch), 1252u);
    EXPECT_EQ(PageOfHtml("<meta name=x><p>\xC3\xA4", "", mdUnknownCharset), 65001u);
    EXPECT_EQ(PageOfHtml("\xFF\xFE<\0", ""), 1200u);
    const std::string bytes = "<p>caf\xE9</p>\n";
    const TResult result = Convert("Content-Type: text/html; charset=iso-8859-1\n\n" + bytes);
    EXPECT_EQ(result.Bytes(tag::Html), bytes);
    EXPECT_EQ(result.Number(tag::InternetCodePage), 28591);
}

TEST_F(MimeText, LongBodiesGoThroughStreams)
{
    // Both forms lie around the size from which values are streamed.
    for (const std::size_t size :
         {TPropList::maxInlineBytes / 2, TPropList::maxInlineBytes / 2 + 1, std::size_t{200'000}}) {
        const std::string text(size, 'x');
        EXPECT_EQ(Convert("Subject: s\n\n" + text).Text(tag::Body), WideString(size, u'x'));
        EXPECT_EQ(Convert("Content-Type: text/html\n\n" + text + text).Bytes(tag::Html), text + text);
    }
    // A zero character would end the text too early for whoever reads it.
    EXPECT_EQ(Convert("Subject: s\n\na" + std::string(1, '\0') + "b").Text(tag::Body), u"ab");
}

TEST_F(MimeText, LineEndsAndFlowedText)
{
    EXPECT_EQ(WithCrLf(u"a\nb\r\nc\rd\n\r"), u"a\r\nb\r\nc\r\nd\r\n\r\n");
    EXPECT_EQ(Unflow(u"one \ntwo\nthree\n", false), u"one two\r\nthree\r\n");
    EXPECT_EQ(Unflow(u"jap \r\nanese\r\n", true), u"japanese\r\n");
    EXPECT_EQ(Unflow(u"> a \n> b\n>> c \n> d\n e\n", false), u"> a b\r\n>> c \r\n> d\r\ne\r\n");
    EXPECT_EQ(Unflow(u"text \n-- \nname \nplace", false), u"text \r\n-- \r\nname place");
    EXPECT_EQ(Unflow(u"  indented\n > not a quote\n", false), u" indented\r\n> not a quote\r\n");
    EXPECT_EQ(Unflow(u"ends softly ", false), u"ends softly ");
    const TResult result = Convert("Content-Type: text/plain; format=Flowed\n\nsoft \nend\n");
    EXPECT_EQ(result.Text(tag::Body), u"soft end\r\n");
}

TEST_F(MimeText, SubjectPrefixes)
{
    const auto check = [](WideView subject, WideView prefix, WideView normalized) {
        const TSubject split = SplitSubject(subject);
        EXPECT_EQ(KwToUtf8(split.Prefix), KwToUtf8(prefix));
        EXPECT_EQ(KwToUtf8(split.Normalized), KwToUtf8(normalized));
    };
    check(u"RE: x", u"RE: ", u"x");
    check(u"Fwd: Re: x", u"Fwd: ", u"Re: x");
    check(u"V: x", u"V: ", u"x");
    check(u"答复: x", u"答复: ", u"x");
    check(u"RE:x", u"", u"RE:x");
    check(u"RE:", u"", u"RE:");
    check(u"RE: ", u"RE: ", u"");
    check(u"Note: x", u"", u"Note: x");
    check(u"R2: x", u"", u"R2: x");
    check(u"a b: x", u"", u"a b: x");
    check(u": x", u"", u": x");
    check(u"", u"", u"");
}

TEST_F(MimeText, Times)
{
    const auto time = [this](const std::string& header, ULONG propTag) {
        return Convert(header + "\n\n").Value(propTag).Time;
    };
    constexpr std::uint64_t second = 10'000'000;
    constexpr std::uint64_t noon = 133'156'224'000'000'000 + 12 * 3600 * second; // 2022-12-16
    EXPECT_EQ(time("Date: Fri, 16 Dec 2022 12:00:00 +0000", tag::ClientSubmitTime), noon);
    EXPECT_EQ(time("Date: Fri, 16 Dec 2022 07:00:01 EST", tag::ClientSubmitTime), noon + second);
    EXPECT_EQ(time("Date: 16 Dec 22 13:00:00 +0100 (winter)", tag::ClientSubmitTime), noon);
    EXPECT_EQ(time("Date: yesterday", tag::ClientSubmitTime), 0u);
    EXPECT_EQ(time("Date: Fri, 16 Dec 2022 12:00:00 +0000", tag::MessageDeliveryTime), noon);
    EXPECT_EQ(
        time(
            "Received: from a; by b; Fri, 16 Dec 2022 12:00:05 +0000\nReceived: by c; Fri, 16 Dec 2022 12:00:02 +0000\n"
            "Date: Fri, 16 Dec 2022 12:00:00 +0000",
            tag::MessageDeliveryTime),
        noon + 5 * second);
    EXPECT_EQ(time("Received: without a date\nDate: Fri, 16 Dec 2022 12:00:00 +0000", tag::MessageDeliveryTime), noon);
    EXPECT_EQ(time("Subject: no date at all", tag::MessageDeliveryTime), Options.Now());
    Options.Now = nullptr;
    EXPECT_GT(time("Subject: the clock", tag::MessageDeliveryTime), noon);
}

TEST_F(MimeText, Importance)
{
    const auto check = [this](const std::string& header, LONG importance, LONG priority) {
        const TResult result = Convert(header + "\nSubject: x\n\n");
        EXPECT_EQ(result.Number(tag::Importance), importance) << header;
        EXPECT_EQ(result.Message.Values.at(tag::Priority).Number, priority) << header;
    };
    check("X-Other: 1", 1, 0);
    check("Importance: HIGH", 2, 1);
    check("Importance: low", 0, -1);
    check("Importance: nonsense\nX-Priority: 5", 0, -1);
    check("X-Priority: 2 (High)", 2, 1);
    check("X-Priority: 3", 1, 0);
    check("X-Priority: 9", 1, 0);
    check("X-MSMail-Priority: High", 2, 1);
    check("Priority: non-urgent", 0, -1);
    check("Priority: urgent\nImportance: low", 0, 1);
    EXPECT_EQ(Convert("Sensitivity: Private\n\n").Number(tag::Sensitivity), 2);
    EXPECT_EQ(Convert("Sensitivity: personal\n\n").Number(tag::Sensitivity), 1);
}

TEST_F(MimeText, Senders)
{
    TResult result = Convert("From: A <a@x.com>\nSender: S <s@x.com>\n\n");
    EXPECT_EQ(result.Text(tag::SenderEmailAddress), u"s@x.com");
    EXPECT_EQ(result.Text(tag::SentReprEmailAddress), u"a@x.com");
    result = Convert("Sender: S <s@x.com>\n\n");
    EXPECT_EQ(result.Text(tag::SentReprEmailAddress), u"s@x.com");
    result = Convert("From: Big Bug bug@x.com\n\n");
    EXPECT_EQ(result.Text(tag::SenderName), u"Big Bug");
    EXPECT_EQ(result.Text(tag::SenderEmailAddress), u"bug@x.com");
    EXPECT_EQ(result.Damage, mdAddress);
    result = Convert("From: Nobody in Particular\n\n");
    EXPECT_EQ(result.Text(tag::SenderName), u"Nobody in Particular");
    EXPECT_FALSE(result.Has(tag::SenderEntryId));
    result = Convert("To: undisclosed-recipients:;\nCc:\n\n");
    EXPECT_TRUE(result.Message.Recipients.empty());
    EXPECT_EQ(result.Damage, 0u);
}

TEST_F(MimeText, BinaryFormsOfAddresses)
{
    const TRecipient recipient = MakeRecipient({"", "\xC3\xA4@x.de"});
    EXPECT_EQ(recipient.Name, u"ä@x.de");
    EXPECT_EQ(SmtpSearchKey(recipient), std::string("SMTP:\xC3\x84@X.DE\0", 13));

    const std::string id = OneOffEntryId({u"A", u"b@c"});
    const std::string expected("\0\0\0\0\x81\x2B\x1F\xA4\xBE\xA3\x10\x19\x9D\x6E\x00\xDD\x01\x0F\x54\x02\0\0\x01\x90"
                               "A\0\0\0S\0M\0T\0P\0\0\0b\0@\0c\0\0\0",
                               24 + 4 + 10 + 8);
    EXPECT_EQ(id, expected);

    // 46 bytes, so two bytes of filler after each entry.
    const std::string list = FlatEntryList({{u"A", u"b@c"}, {u"A", u"b@c"}});
    ASSERT_EQ(list.size(), 8u + 2 * (4 + 48));
    EXPECT_EQ(list.substr(0, 12), std::string("\x02\0\0\0\x68\0\0\0\x2E\0\0\0", 12));
    EXPECT_EQ(list.substr(12, 46), id);
    EXPECT_EQ(list.substr(58, 6), std::string("\0\0\x2E\0\0\0", 6));
}

TEST_F(MimeText, ManyRecipientsAreAddedInSeveralCalls)
{
    std::string to = "To: x@y";
    for (int i = 0; i < 1200; ++i)
        to += ", \"N\" <a@b.c>";
    const TResult result = Convert(to + "\nBcc: z@z\n\n");
    ASSERT_EQ(result.Message.Recipients.size(), 1202u);
    EXPECT_EQ(result.Message.Recipients.back().at(tag::RowId).Number, 1201);
    EXPECT_EQ(result.Message.Recipients.back().at(tag::RecipientType).Number, LONG{MAPI_BCC});
}

TEST_F(MimeText, HeaderTextsStayOnOneLine)
{
    const TResult result =
        Convert("Subject: =?utf-8?Q?a=0D=0Ab=09c=00d?=\n\tfolded\nFrom: =?utf-8?B?eA0KeQ==?= <a@b.c>\n\n");
    EXPECT_EQ(result.Text(tag::Subject).find_first_of(u"\r\n\t"), WideString::npos);
    EXPECT_TRUE(result.Text(tag::Subject).starts_with(u"a  b c"));
    EXPECT_EQ(result.Text(tag::SenderName), u"x  y");
}

TEST_F(MimeText, TheHeaderIsKept)
{
    const TResult result = Convert("Subject: a\n b\nX-Odd:value\nContent-Type: text/plain\nX-Last: \xE4\n\nbody\n");
    EXPECT_EQ(KwToUtf8(result.Text(tag::TransportHeaders)),
              "Subject: a\r\n b\r\nX-Odd:value\r\nContent-Type: text/plain\r\nX-Last: \xC3\xA4\r\n");
    EXPECT_EQ(result.Text(tag::Subject), u"a b");
    EXPECT_EQ(result.Damage & ~mdHeader8Bit, 0u);
}

} // namespace deftmapi::client::mime::test
