// Transfer encodings and encoded words, whole and damaged, in one piece and byte by byte.
#include "client/formats/EncodedWords.hpp"
#include "client/formats/TransferDecoder.hpp"

#include <gtest/gtest.h>

namespace deftmapi::client::mime::test
{

namespace
{

struct TCase
{
    const char* Encoding;
    std::string Encoded;
    std::string Decoded;
    TMimeDamage Damage;
};

std::string Decode(const TCase& one, std::size_t piece, TMimeDamage& damage)
{
    TTransferDecoder decoder(one.Encoding);
    std::string out;
    for (std::size_t at = 0; at < one.Encoded.size(); at += piece)
        decoder.Feed(std::string_view(one.Encoded).substr(at, piece), out);
    decoder.Finish(out);
    damage = decoder.Damage();
    return out;
}

void Check(const std::vector<TCase>& cases)
{
    for (const TCase& one : cases) {
        for (const std::size_t piece : {std::size_t{1}, std::size_t{3}, std::size_t{1000}}) {
            TMimeDamage damage = 0;
            EXPECT_EQ(Decode(one, piece, damage), one.Decoded) << one.Encoding << ": " << one.Encoded;
            EXPECT_EQ(damage, one.Damage) << one.Encoding << ": " << one.Encoded;
        }
    }
}

} // namespace

TEST(MimeDecoder, Base64)
{
    Check({
        {"base64", "", "", 0},
        {"BASE64", "Zg==", "f", 0},
        {" base64\t", "Zm8=", "fo", 0},
        {"base64", "Zm9v\r\n YmFy\r\n", "foobar", 0},
        {"base64", "Zg", "f", mdTransferEncoding}, // no padding
        {"base64", "Zm8", "fo", mdTransferEncoding},
        {"base64", "Zm9vY", "foo", mdTransferEncoding}, // a lone character
        {"base64", "Zm9v=", "foo", mdTransferEncoding}, // padding without need
        {"base64", "Zm*9v!", "foo", mdTransferEncoding},
        {"base64", "Zg==Zg==", "ff", mdTransferEncoding}, // two texts in a row
        {"base64", "/+8=", "\xFF\xEF", 0},
    });
}

TEST(MimeDecoder, QuotedPrintable)
{
    Check({
        {"Quoted-Printable", "a=3Db=\r\nc =\nd=  \r\ne", "a=bc de", 0},
        {"quoted-printable", "soft at the end=", "soft at the end", 0},
        {"quoted-printable", "=c3=A4", "\xC3\xA4", 0},
        {"quoted-printable", "blanks  \t\r\nend \n", "blanks\r\nend\n", 0},
        {"quoted-printable", "in  side=20\n", "in  side \n", 0},
        {"quoted-printable", "1=2", "1=2", mdTransferEncoding},
        {"quoted-printable", "=XY=A", "=XY=A", mdTransferEncoding},
        {"quoted-printable", "x= y", "x= y", mdTransferEncoding},
        {"quoted-printable", "==41", "=A", mdTransferEncoding},
        {"quoted-printable", std::string(3000, ' ') + "x", std::string(3000, ' ') + "x", 0},
    });
}

TEST(MimeDecoder, UUEncode)
{
    Check({
        {"x-uuencode", "begin 644 cat\n#0V%T\n`\nend\n", "Cat", 0},
        {"uuencode", "text before\nbegin 644 cat\r\n#0V%T\r\n \r\nend\r\nafter\n", "Cat", 0},
        {"x-uue", "begin 644 zero\n#    \nend\n", std::string(3, '\0'), 0},
        {"x-uue", "begin 644 zero\n#\nend\n", std::string(3, '\0'), 0}, // the blanks were lost
        {"x-uuencode", "begin 644 cat\n#0V%T\n", "Cat", mdTransferEncoding},
        {"x-uuencode", "#0V%T\n", "", mdTransferEncoding},
        {"x-uuencode", "begin 644 cat\n#0v%T\nend\n", "Aat", mdTransferEncoding}, // outside the alphabet
    });
}

TEST(MimeDecoder, IdentityAndUnknown)
{
    Check({
        {"", "a=20b", "a=20b", 0},
        {"7bit", "x", "x", 0},
        {"8BIT", "\xE4", "\xE4", 0},
        {"binary", std::string("\0\r", 2), std::string("\0\r", 2), 0},
        {"x-homemade", "as it is", "as it is", mdUnknownTransferEncoding},
    });
}

TEST(MimeDecoder, EncodedWordsAreRewrittenByteForByte)
{
    TMimeDamage damage = 0;
    EXPECT_EQ(RewriteEncodedWords("a =?utf-8?B?w6Q=?= =?UTF-8?b?eA==?= b", damage),
              "a =?utf-8?Q?=C3=A4?= =?UTF-8?Q?x?= b");
    EXPECT_EQ(RewriteEncodedWords("=?iso-8859-1?q?=E4_?= =?x", damage), "=?iso-8859-1?q?=E4_?= =?x");
    EXPECT_EQ(RewriteEncodedWords("=?utf-8*de?B?eA==?=", damage), "=?utf-8*de?Q?x?=");
    EXPECT_EQ(RewriteEncodedWords("=?utf-8?X?eA==?= =?utf-8 ?B?eA==?= =??B?x?= =?", damage),
              "=?utf-8?X?eA==?= =?utf-8 ?B?eA==?= =??B?x?= =?");
    EXPECT_EQ(damage, 0u);

    EXPECT_EQ(RewriteEncodedWords("=?utf-8?B?eHk?=", damage), "=?utf-8?Q?xy?="); // no padding
    EXPECT_EQ(damage, mdEncodedWord);
    damage = 0;
    EXPECT_EQ(RewriteEncodedWords("=?klingon?B?eA==?=", damage), "=?klingon?Q?x?=");
    EXPECT_EQ(damage, mdEncodedWord);
}

} // namespace deftmapi::client::mime::test
