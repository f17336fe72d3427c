// Messages and their expected listings. A new case is two files: NAME.eml in golden/ or in examples/messages/, and
// golden/NAME.txt. With DEFTMAPI_UPDATE_GOLDEN=1 the listings are written instead of compared; read the difference
// before committing it.
#include "tests/client/formats/MimeFixture.hpp"

#include <cstdlib>
#include <filesystem>

namespace deftmapi::client::mime::test
{

namespace
{

const std::string sourceFolder = DEFTMAPI_SOURCE_DIR;
const std::string goldenFolder = sourceFolder + "/tests/client/formats/golden";

std::vector<std::string> Messages()
{
    std::vector<std::string> result;
    for (const std::string& folder : {sourceFolder + "/examples/messages", goldenFolder})
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().extension() == ".eml")
                result.push_back(entry.path().string());
    std::sort(result.begin(), result.end());
    return result;
}

std::string CaseName(const testing::TestParamInfo<std::string>& info)
{
    std::string name = std::filesystem::path(info.param).stem().string();
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

} // namespace

class MimeGolden : public MimeTest, public testing::WithParamInterface<std::string>
{};

TEST_P(MimeGolden, IsListedAsExpected)
{
    const TResult result = Convert(ReadFile(GetParam()));
    ASSERT_EQ(result.Code, S_OK);
    const std::string listing = "damage: " + DamageText(result.Damage) + '\n' + ListMessage(result.Message);
    const std::string goldenName = goldenFolder + '/' + std::filesystem::path(GetParam()).stem().string() + ".txt";
    if (std::getenv("DEFTMAPI_UPDATE_GOLDEN") != nullptr)
        std::ofstream(goldenName, std::ios::binary) << listing;
    EXPECT_EQ(listing, ReadFile(goldenName)) << goldenName;

    // An example must be well-formed.
    if (GetParam().find("/examples/") != std::string::npos) {
        EXPECT_EQ(DamageText(result.Damage), "none");
    }
}

INSTANTIATE_TEST_SUITE_P(Messages, MimeGolden, testing::ValuesIn(Messages()), CaseName);

} // namespace deftmapi::client::mime::test
