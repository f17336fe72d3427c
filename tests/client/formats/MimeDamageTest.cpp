// Damaged texts: each fault is named, costs nothing else, and is refused when reading is strict.
#include "client/formats/MimeTags.hpp"
#include "tests/client/formats/MimeFixture.hpp"

#include <random>

namespace deftmapi::client::mime::test
{

namespace
{

class MimeDamaged : public MimeTest
{
protected:
    /// Converts; the damage must be exactly this, and a strict reader must refuse the text.
    TResult Damaged(const std::string& text, TMimeDamage damage)
    {
        Options.Strict = true;
        EXPECT_EQ(Convert(text).Code, MAPI_E_CORRUPT_DATA) << text;
        Options.Strict = false;
        TResult result = Convert(text);
        EXPECT_EQ(result.Code, S_OK) << text;
        EXPECT_EQ(DamageText(result.Damage), DamageText(damage)) << text;
        return result;
    }
};

} // namespace

TEST_F(MimeDamaged, NoMessageAtAll)
{
    for (const std::string& text :
         {std::string(), std::string("\n\n\n"), std::string("just words"), std::string("a\nb\nSubject: late\n\n"),
          std::string("word\n\nSubject: too late\n\n"), std::string("\0\x01\x02", 3), std::string(": no name\n\n"),
          std::string("\x7F"
                      "ELF\x02\x01\x01\0\nName: value\n\n",
                      21),
          std::string(" folded: onto nothing\n\n"), std::string("\xFF\xD8\xFF\xE0 JFIF \x01\nSubject: in a picture\n")})
    {
        const TResult result = Convert(text);
        EXPECT_EQ(result.Code, MAPI_E_CORRUPT_DATA) << text;
        EXPECT_TRUE(result.Message.Values.empty());
    }
    std::mt19937 random(7);
    for (int i = 0; i < 200; ++i) {
        std::string junk(4096, '\0');
        for (char& c : junk)
            c = static_cast<char>(random());
        EXPECT_EQ(Convert(junk).Code, MAPI_E_CORRUPT_DATA) << i;
    }
}

TEST_F(MimeDamaged, BeforeTheHeader)
{
    const std::string text = "Subject: found\n\nbody";
    for (const std::string before :
         {"\n\r\n \n", "\xEF\xBB\xBF", "From a@b.c Fri Dec 16 12:00:00 2022\n", "\xEF\xBB\xBF\n>From a@b.c\n"})
    {
        const TResult result = Damaged(before + text, mdLeadingData);
        EXPECT_EQ(result.Text(tag::Subject), u"found");
        EXPECT_EQ(result.Text(tag::Body), u"body");
        EXPECT_EQ(result.Text(tag::TransportHeaders), u"Subject: found\r\n");
    }
    EXPECT_EQ(Damaged("+OK 20 octets\n" + text, mdHeaderSyntax).Text(tag::Body), u"body");
}

TEST_F(MimeDamaged, Headers)
{
    TResult result = Damaged("From: a@b.c\nthis is no field\nSubject: still read\n\nbody", mdHeaderSyntax);
    EXPECT_EQ(result.Text(tag::Subject), u"still read");
    EXPECT_EQ(result.Text(tag::SenderEmailAddress), u"a@b.c");
    EXPECT_EQ(result.Text(tag::Body), u"body");

    result = Damaged("Subject: first\nFrom: a@b.c\nFrom: d@e.f\n\n", mdDuplicateField);
    EXPECT_EQ(result.Text(tag::SenderEmailAddress), u"a@b.c");
    EXPECT_EQ(Convert("Cc: a@b.c\nCc: d@e.f\n\n").Message.Recipients.size(), 2u);

    EXPECT_EQ(Damaged("Subject: gr\xC3\xBC\xC3\x9F\n\n", mdHeader8Bit).Text(tag::Subject), u"grüß");
    EXPECT_EQ(Damaged("Subject: gr\xFC\xDF\n\n", mdHeader8Bit).Text(tag::Subject), u"grüß");
    EXPECT_EQ(Damaged("Subject: =?utf-8?B?eHk?= z\n\n", mdEncodedWord).Text(tag::Subject), u"xy z");
    EXPECT_EQ(Damaged("Date: soon\nSubject: x\n\n", mdDate).Text(tag::Subject), u"x");

    result = Damaged("To: Name <a@b.c> left over, d@e.f\nCc: g@h.i\n\n", mdAddress);
    EXPECT_GE(result.Message.Recipients.size(), 2u);
    EXPECT_EQ(result.Message.Recipients.back().at(tag::EmailAddress).Text, u"g@h.i");
}

TEST_F(MimeDamaged, Multiparts)
{
    // No boundary, or one that never comes: what is there is shown.
    TResult result = Damaged("Content-Type: multipart/mixed\n\nall the text\n", mdMultipart);
    EXPECT_EQ(result.Text(tag::Body), u"all the text\r\n");
    result = Convert("Content-Type: multipart/mixed; boundary=x\n\nall the text\n");
    EXPECT_EQ(result.Text(tag::Body), u"all the text\r\n");
    EXPECT_NE(result.Damage & mdMultipart, 0u);

    // The end is missing.
    result = Damaged("Content-Type: multipart/mixed; boundary=x\n\n--x\n\nbody\n--x\nContent-Type: image/png\n\npng",
                     mdTruncated);
    EXPECT_EQ(result.Text(tag::Body), u"body");
    ASSERT_EQ(result.Message.Attachments.size(), 1u);
    EXPECT_EQ(result.Attached(tag::AttachDataBin).Bytes, "png");

    // A type that is none.
    result = Damaged("Content-Type: nonsense\n\ndata", mdContentType);
    EXPECT_TRUE(result.Has(tag::Body) || result.Message.Attachments.size() == 1);
}

TEST_F(MimeDamaged, Contents)
{
    TResult result = Damaged("Content-Transfer-Encoding: base64\n\naGVsbG8*gd29ybGQ", mdTransferEncoding);
    EXPECT_EQ(result.Text(tag::Body), u"hello world");
    result = Damaged("Content-Transfer-Encoding: quoted-printable\n\n100=% =41\n", mdTransferEncoding);
    EXPECT_EQ(result.Text(tag::Body), u"100=% A\r\n");
    result = Damaged("Content-Transfer-Encoding: rot13\n\nuryyb", mdUnknownTransferEncoding);
    EXPECT_EQ(result.Text(tag::Body), u"uryyb");
    result = Damaged("Content-Type: text/plain; charset=x-none\n\nh\xE9llo", mdUnknownCharset);
    EXPECT_EQ(result.Text(tag::Body), u"héllo");
}

TEST_F(MimeDamaged, CutAnywhere)
{
    // However short a message is cut, it is read or refused; what was there before the cut stays.
    const std::string text = ReadFile(std::string(DEFTMAPI_SOURCE_DIR) + "/examples/messages/forwarded-messages.eml");
    const std::size_t subjectEnd = text.find("Date:");
    for (std::size_t size = 0; size <= text.size(); ++size) {
        const TResult result = Convert(text.substr(0, size));
        ASSERT_TRUE(result.Code == S_OK || result.Code == MAPI_E_CORRUPT_DATA) << size;
        if (size >= subjectEnd) {
            ASSERT_EQ(result.Text(tag::Subject), u"Fwd: the whole story") << size;
        }
    }
}

TEST_F(MimeDamaged, ChangedAnywhere)
{
    std::mt19937 random(4711);
    for (const char* name :
         {"forwarded-messages", "mixed-attachments", "related-pictures", "encoded-headers", "iso2022jp"}) {
        const std::string text = ReadFile(std::string(DEFTMAPI_SOURCE_DIR) + "/examples/messages/" + name + ".eml");
        for (int i = 0; i < 400; ++i) {
            std::string changed = text;
            for (int k = 0; k < 1 + i % 8; ++k) {
                const std::size_t at = random() % changed.size();
                switch (random() % 3) {
                case 0:
                    changed[at] = static_cast<char>(random());
                    break;
                case 1:
                    changed.erase(at, 1 + random() % 20);
                    break;
                default:
                    changed.insert(at, changed.substr(random() % changed.size(), random() % 40));
                    break;
                }
            }
            const TResult result = Convert(changed);
            ASSERT_TRUE(result.Code == S_OK || result.Code == MAPI_E_CORRUPT_DATA) << changed;
        }
    }
}

} // namespace deftmapi::client::mime::test
