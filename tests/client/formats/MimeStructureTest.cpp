// What becomes the body and what becomes an attachment, and how attachments are named and marked.
#include "client/formats/AttachmentNames.hpp"
#include "client/formats/MimeTags.hpp"
#include "tests/client/formats/MimeFixture.hpp"

namespace deftmapi::client::mime::test
{

namespace
{

struct TPart
{
    std::string Header;
    std::string Content;
};

std::string Multipart(const std::string& subtype, const std::vector<TPart>& parts, const std::string& boundary = "x")
{
    std::string text = "Content-Type: multipart/" + subtype + "; boundary=" + boundary + "\n\n";
    for (const TPart& part : parts)
        text += "--" + boundary + "\n" + part.Header + (part.Header.empty() ? "\n" : "\n\n") + part.Content + "\n";
    return text + "--" + boundary + "--\n";
}

/// A multipart as a part of another one.
TPart Inner(const std::string& subtype, const std::vector<TPart>& parts, const std::string& boundary)
{
    const std::string text = Multipart(subtype, parts, boundary);
    const std::size_t end = text.find("\n\n");
    return {text.substr(0, end), text.substr(end + 2)};
}

const TPart plain{"Content-Type: text/plain", "plain"};
const TPart html{"Content-Type: text/html", "<p>html"};
const TPart picture{"Content-Type: image/png\nContent-ID: <p1@x>", "png"};

class MimeStructure : public MimeTest
{
protected:
    /// "body | html | attachment types", "-" where there is none.
    std::string Shape(const std::string& text)
    {
        const TResult result = Convert(text);
        EXPECT_EQ(result.Code, S_OK);
        std::string shape = result.Has(tag::Body) ? KwToUtf8(result.Text(tag::Body)) : "-";
        shape += " | " + (result.Has(tag::Html) ? result.Bytes(tag::Html) : "-") + " |";
        for (const auto& attachment : result.Message.Attachments)
            shape += ' ' + KwToUtf8(attachment->Values.at(tag::AttachMimeTag).Text) +
                     (attachment->Values.at(tag::AttachmentHidden).Number != 0 ? "(hidden)" : "");
        return shape;
    }
};

} // namespace

TEST_F(MimeStructure, Alternatives)
{
    const TPart calendar{"Content-Type: text/calendar", "BEGIN"};
    EXPECT_EQ(Shape(Multipart("alternative", {plain, html})), "plain | <p>html |");
    EXPECT_EQ(Shape(Multipart("alternative", {html, plain})), "plain | <p>html |");
    EXPECT_EQ(Shape(Multipart("alternative", {plain, html, calendar})), "plain | <p>html | text/calendar");
    EXPECT_EQ(Shape(Multipart("alternative", {plain, {"Content-Type: text/plain", "better"}})),
              "better | - | text/plain");
    EXPECT_EQ(Shape(Multipart("alternative",
                              {plain, Inner("related", {{html.Header, "<img src='cid:p1@x'>"}, picture}, "r")})),
              "plain | <img src='cid:p1@x'> | image/png(hidden)");
    // HTML in pieces around a file: the first piece is the body, the rest must not be lost.
    EXPECT_EQ(Shape(Multipart("alternative",
                              {plain, Inner("mixed", {html, {"Content-Type: application/pdf", "pdf"}, html}, "m")})),
              "plain | <p>html | application/pdf text/html");
}

TEST_F(MimeStructure, MixedTexts)
{
    EXPECT_EQ(Shape(Multipart("mixed", {plain, plain})), "plain\r\nplain | - |");
    EXPECT_EQ(Shape(Multipart("mixed", {html, plain})), "- | <p>html | text/plain");
    EXPECT_EQ(Shape(Multipart("mixed", {plain, html})), "plain | - | text/html");
    EXPECT_EQ(Shape(Multipart("mixed", {Inner("alternative", {plain, html}, "a"), plain})),
              "plain | <p>html | text/plain");
    EXPECT_EQ(Shape(Multipart("mixed", {plain, Inner("alternative", {plain, html}, "a")})),
              "plain\r\nplain | - | text/html");
    EXPECT_EQ(Shape(Multipart("mixed", {picture, plain})), "plain | - | image/png");
    EXPECT_EQ(Shape(Multipart("unheard-of", {plain, picture})), "plain | - | image/png");
    EXPECT_EQ(Shape(Multipart("digest", {{"", "Subject: a\n\nb"}})), "- | - | message/rfc822");
}

TEST_F(MimeStructure, TextFiles)
{
    const TPart attached{"Content-Type: text/plain\nContent-Disposition: attachment", "file"};
    const TPart named{"Content-Type: text/plain; name=readme.txt", "file"};
    const TPart inlineNamed{"Content-Type: text/plain\nContent-Disposition: inline; filename=readme.txt", "file"};
    EXPECT_EQ(Shape(Multipart("mixed", {attached, plain})), "plain | - | text/plain");
    EXPECT_EQ(Shape(Multipart("mixed", {plain, named})), "plain | - | text/plain");
    EXPECT_EQ(Shape(Multipart("mixed", {inlineNamed, plain})), "plain | - | text/plain");
    EXPECT_EQ(Shape(named.Header + "\n\nfile"), "file | - |");
    EXPECT_EQ(Shape(attached.Header + "\n\nfile"), "- | - | text/plain");
    EXPECT_EQ(Shape("Content-Type: application/pdf\n\npdf"), "- | - | application/pdf");
    EXPECT_EQ(Shape("Subject: x\n\nno type"), "no type | - |");
    EXPECT_EQ(Shape(Multipart("signed", {plain, {"Content-Type: text/plain", "a signature of an odd type"}})),
              "plain | - | text/plain");
    EXPECT_EQ(Shape(Multipart("encrypted", {plain, {"Content-Type: application/octet-stream", "secret"}})),
              "- | - | text/plain application/octet-stream");
}

TEST_F(MimeStructure, RelatedRoots)
{
    const TPart page{"Content-Type: text/html\nContent-ID: <root@x>", "<img src=3D\"cid:p1@x\">"};
    EXPECT_EQ(Shape(Multipart("related; start=\"<root@x>\"", {picture, page})),
              "- | " + page.Content + " | image/png(hidden)");
    EXPECT_EQ(Shape(Multipart("related", {picture, page})), "- | " + page.Content + " | image/png(hidden)");
    // Nothing refers to the picture: a reader must be able to see it among the attachments.
    EXPECT_EQ(Shape(Multipart("related", {html, picture})), "- | <p>html | image/png");
    // Identifiers are escaped in addresses.
    EXPECT_EQ(Shape(Multipart("related", {{html.Header, "<img src='CID:a%2Bb@x'>"},
                                          {"Content-Type: image/gif\nContent-ID: <a+b@x>", "gif"}})),
              "- | <img src='CID:a%2Bb@x'> | image/gif(hidden)");
    // By location; the HTML is UTF-16.
    const std::string wide = "PABpAG0AZwAgAHMAcgBjAD0AIgBsAG8AZwBvAC4AcABuAGcAIgA+AA=="; // <img src="logo.png">
    const TResult result = Convert(
        Multipart("related", {{"Content-Type: text/html; charset=utf-16le\nContent-Transfer-Encoding: base64", wide},
                              {"Content-Type: image/png\nContent-Location:\n logo.png", "png"}}));
    ASSERT_EQ(result.Message.Attachments.size(), 1u);
    EXPECT_EQ(result.Attached(tag::AttachmentHidden).Number, 1);
    EXPECT_EQ(result.Attached(tag::AttachFlags).Number, tag::attMhtmlRef);
    EXPECT_EQ(result.Attached(tag::AttachContentLocation).Text, u"logo.png");
    EXPECT_EQ(result.Number(tag::InternetCodePage), 1200);
}

TEST_F(MimeStructure, AttachedMessagesBehindAnEncoding)
{
    const std::string message = "Content-Type: message/rfc822\nContent-Transfer-Encoding: quoted-printable\n\n";
    TResult result = Convert(message + "Subject: =3D?utf-8?Q?=3DC3=3DA4?=3D\n\nt=C3=A4xt\n");
    ASSERT_EQ(result.Message.Attachments.size(), 1u);
    ASSERT_NE(result.Message.Attachments[0]->Message, nullptr);
    EXPECT_EQ(result.Message.Attachments[0]->Message->Values.at(tag::Subject).Text, u"ä");
    EXPECT_EQ(result.Attached(tag::DisplayName).Text, u"ä");
    EXPECT_EQ(result.Message.Attachments[0]->Message->Values.at(tag::MessageFlags).Number,
              static_cast<LONG>(MSGFLAG_READ | MSGFLAG_UNMODIFIED));

    // What is no message stays a file.
    result = Convert(message + "\n\nonly text\n");
    ASSERT_EQ(result.Message.Attachments.size(), 1u);
    EXPECT_EQ(result.Message.Attachments[0]->Message, nullptr);
    EXPECT_EQ(result.Attached(tag::AttachLongFileName).Text, u"ATT00001.eml");
    EXPECT_NE(result.Damage & mdEmbedded, 0u);
}

TEST(MimeAttachmentName, LongAndShort)
{
    struct TCase
    {
        const char* FileName;
        const char16_t* Long;
        const char16_t* Short;
        const char16_t* Extension;
    };
    const TCase cases[] = {
        {"readme.txt", u"readme.txt", u"readme.txt", u".txt"},
        {"12345678.123", u"12345678.123", u"12345678.123", u".123"},
        {"123456789.txt", u"123456789.txt", u"123456~1.TXT", u".txt"},
        {"photo.jpeg", u"photo.jpeg", u"PHOTO~1.JPE", u".jpeg"},
        {"two words.doc", u"two words.doc", u"TWOWOR~1.DOC", u".doc"},
        {"archive.tar.gz", u"archive.tar.gz", u"ARCHIV~1.GZ", u".gz"},
        {"r\xC3\xA9sum\xC3\xA9.pdf", u"résumé.pdf", u"R_SUM_~1.PDF", u".pdf"},
        {"\xF0\x9F\x91\x8B.png", u"👋.png", u"_~1.PNG", u".png"},
        {"Makefile", u"Makefile", u"Makefile", u""},
        {".profile", u".profile", u"ATT~1.PRO", u".profile"},
        {"../../etc/passwd", u"passwd", u"passwd", u""},
        {"C:\\Temp\\a.b", u"a.b", u"a.b", u".b"},
        {"what?.txt", u"what_.txt", u"what_.txt", u".txt"},
        {"line\r\nbreak.txt", u"linebreak.txt", u"LINEBR~1.TXT", u".txt"},
        {"dir/", u"ATT00007.pdf", u"ATT00007.pdf", u".pdf"},
        {"..", u"ATT00007.pdf", u"ATT00007.pdf", u".pdf"},
        {"", u"ATT00007.pdf", u"ATT00007.pdf", u".pdf"},
    };
    TMimePart part;
    part.Type = "application";
    part.Subtype = "pdf";
    for (const TCase& one : cases) {
        part.FileName = one.FileName;
        const TAttachmentName name = NameAttachment(part, 6);
        EXPECT_EQ(KwToUtf8(name.LongName), KwToUtf8(one.Long));
        EXPECT_EQ(KwToUtf8(name.ShortName), KwToUtf8(one.Short)) << one.FileName;
        EXPECT_EQ(KwToUtf8(name.Extension), KwToUtf8(one.Extension)) << one.FileName;
    }

    part.FileName = std::string(300, 'n') + ".docx";
    const TAttachmentName name = NameAttachment(part, 0);
    EXPECT_EQ(name.LongName, WideString(250, u'n') + u".docx");

    part.Subtype = "x-unknown";
    part.FileName.clear();
    EXPECT_EQ(NameAttachment(part, 123'455).LongName, u"ATT123456.dat");
}

} // namespace deftmapi::client::mime::test
