// Real messages, where the samples are at hand: DEFTMAPI_SAMPLES names their folder. Every one converts, or is refused
// as no message; nothing else is allowed. Some are checked more closely.
#include "client/formats/MimeTags.hpp"
#include "tests/client/formats/MimeFixture.hpp"

#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace deftmapi::client::mime::test
{

namespace
{

class MimeSamples : public MimeTest
{
protected:
    void SetUp() override
    {
        const char* folder = std::getenv("DEFTMAPI_SAMPLES");
        if (folder == nullptr)
            GTEST_SKIP() << "DEFTMAPI_SAMPLES does not name the folder of the samples";
        FFolder = std::string(folder) + "/eml/";
        if (!std::filesystem::is_directory(FFolder))
            GTEST_SKIP() << FFolder << " does not exist";
    }

    TResult Sample(const std::string& name)
    {
        const std::string text = ReadFile(FFolder + name);
        EXPECT_FALSE(text.empty()) << name;
        return Convert(text);
    }

    std::string FFolder;
};

} // namespace

TEST_F(MimeSamples, EveryMessageConvertsOrIsRefused)
{
    std::size_t messages = 0;
    std::size_t refused = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(FFolder)) {
        const std::string extension = entry.path().extension().string();
        if (!entry.is_regular_file() || (extension != ".eml" && extension != ".msg" && extension != ".txt") ||
            entry.path().filename().string().find("_decoded") != std::string::npos)
            continue;
        const TResult result = Convert(ReadFile(entry.path().string()));
        EXPECT_TRUE(result.Code == S_OK || result.Code == MAPI_E_CORRUPT_DATA) << entry.path();
        ++(result.Code == S_OK ? messages : refused);
        if (std::getenv("DEFTMAPI_LIST_SAMPLES") != nullptr)
            std::cout << "==== " << entry.path().string() << "\nresult: " << std::hex << result.Code << std::dec
                      << "\ndamage: " << DamageText(result.Damage) << '\n'
                      << ListMessage(result.Message);
        if (result.Code == S_OK) {
            EXPECT_TRUE(result.Has(tag::TransportHeaders)) << entry.path();
            EXPECT_TRUE(result.Has(tag::MessageDeliveryTime)) << entry.path();
        }
    }
    EXPECT_GT(messages, 0u);
    RecordProperty("messages", static_cast<int>(messages));
    RecordProperty("refused", static_cast<int>(refused));
}

TEST_F(MimeSamples, KnownMessages)
{
    struct TCase
    {
        const char* Name;
        WideView Subject;
        std::size_t Attachments;
        bool Text;
        bool Html;
    };
    const TCase cases[] = {
        {"jstedfast-MimeKit-messages/japanese.txt", u"日本語メールテスト (testing Japanese emails)", 0, true, false},
        {"jstedfast-MimeKit-messages/bounce.txt", u"Undelivered Mail Returned to Sender", 2, true, false},
        {"jstedfast-MimeKit-messages/body.3.txt", u"MimeMessage.TextBody and HtmlBody tests", 0, true, true},
        {"mikel-mail-mime_emails/raw_email7.eml", u"testing", 3, true, false},
        {"mikel-mail-mime_emails/raw_email_encoded_stack_level_too_deep.eml",
         u"Nicolas Fouché has accepted your invitation to Gmail", 0, true, true},
        {"mikel-mail-plain_emails/raw_email_with_partially_quoted_subject.eml", u"Re: Test: \"漢字\" mid \"漢字\" tail",
         0, true, false},
        {"apache-james-mime4j-testmsgs/simple-attachment.msg", u"Here is the attachment I was waiting for.", 1, true,
         false},
        {"apache-tika-test-documents/testRFC822_multipart_attachments.eml", u"EML 1", 2, true, true},
        {"stalwartlabs-mail-parser-rfc/003.eml", u"Formatted text mail", 2, true, false},
        {"stalwartlabs-mail-parser-thirdparty/006.eml", u"Hide and seek", 1, true, true},
    };
    for (const TCase& one : cases) {
        const TResult result = Sample(one.Name);
        EXPECT_EQ(result.Code, S_OK) << one.Name;
        EXPECT_EQ(KwToUtf8(result.Text(tag::Subject)), KwToUtf8(one.Subject)) << one.Name;
        EXPECT_EQ(result.Message.Attachments.size(), one.Attachments) << one.Name;
        EXPECT_EQ(result.Has(tag::Body), one.Text) << one.Name;
        EXPECT_EQ(result.Has(tag::Html), one.Html) << one.Name;
    }
}

TEST_F(MimeSamples, MessagesInMessagesBehindBase64)
{
    TResult result = Sample("apache-james-mime4j-testmsgs/base64encoded-rfc822message-nested.msg");
    const TMessageState* message = &result.Message;
    for (int level = 0; level < 2; ++level) {
        ASSERT_EQ(message->Attachments.size(), 1u);
        ASSERT_NE(message->Attachments[0]->Message, nullptr);
        message = message->Attachments[0]->Message.get();
    }
    EXPECT_EQ(message->Values.at(tag::Body).Text, u"Text body\r\n\r\n");
}

} // namespace deftmapi::client::mime::test
