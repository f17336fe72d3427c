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

[[maybe_unused]] std::size_t VisibleAttachments(const TResult& result)
{
    return static_cast<std::size_t>(
        std::count_if(result.Message.Attachments.begin(), result.Message.Attachments.end(),
                      [](const auto& attachment) { return attachment->Values.at(tag::AttachmentHidden).Number == 0; }));
}

} // namespace

TEST_F(MimeSamples, EveryMessageConvertsOrIsRefused)
{
    std::size_t messages = 0;
    std::size_t refused = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(FFolder)) {
        const std::string extension = entry.path().extension().string();
        if (!entry.is_regular_file() || (extension != ".eml" && extension != ".msg" && extension != ".txt"))
            continue;
        const TResult result = Convert(ReadFile(entry.path().string()));
        EXPECT_TRUE(result.Code == mapi::S_OK || result.Code == mapi::MAPI_E_CORRUPT_DATA) << entry.path();
        ++(result.Code == mapi::S_OK ? messages : refused);
        if (std::getenv("DEFTMAPI_LIST_SAMPLES") != nullptr)
            std::cout << "==== " << entry.path().string() << "\nresult: " << std::hex << result.Code << std::dec
                      << "\ndamage: " << DamageText(result.Damage) << '\n'
                      << ListMessage(result.Message);
        if (result.Code == mapi::S_OK) {
            EXPECT_TRUE(result.Has(tag::TransportHeaders)) << entry.path();
            EXPECT_TRUE(result.Has(tag::MessageDeliveryTime)) << entry.path();
        }
    }
    EXPECT_GT(messages, 0u);
    RecordProperty("messages", static_cast<int>(messages));
    RecordProperty("refused", static_cast<int>(refused));
}

} // namespace deftmapi::client::mime::test
