// A session on the embedded client with a data folder of its own, which is empty at first and gone afterwards.
#pragma once

#include "mapi/DeftMAPI.hpp"
#include "tests/core/Caught.hpp"
#include "tests/support/LeakChecked.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace deftmapi::test
{

/// Skips where no embedded client was built.
class TEmbeddedTest : public TLeakChecked
{
protected:
    void SetUp() override
    {
        if (std::getenv("DEFTMAPI_CLIENT") == nullptr)
            GTEST_SKIP() << "DEFTMAPI_CLIENT does not name the embedded client";
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        Home = std::filesystem::temp_directory_path() /
               (std::string("deftmapi-") + test->test_suite_name() + "-" + test->name() + "-" +
                std::to_string(reinterpret_cast<std::uintptr_t>(this)));
        std::filesystem::remove_all(Home);
        std::filesystem::create_directories(Home);
        setenv("DEFTMAPI_HOME", Home.c_str(), 1);
        Session = TSession::Create();
        const auto profiles = Session->GetProfileAdmin();
        profiles->CreateProfile(u"Test", u"");
        profiles->SetDefaultProfile(u"Test");
    }
    void TearDown() override
    {
        Session.Reset();
        EXPECT_FALSE(KwMAPIInitialized()) << "something keeps the session";
        KwUnloadDLL();
        std::error_code ignored;
        std::filesystem::remove_all(Home, ignored);
    }

    [[nodiscard]] TKwRef<IKwMAPIMsgStore> OpenStore()
    {
        Session->Logon();
        return Session->OpenDefaultMsgStore(alReadWrite);
    }
    [[nodiscard]] TKwRef<IKwMAPIFolder> OpenInbox() { return OpenStore()->OpenFolderByType(ftInbox, alReadWrite); }
    /// The texts of a column, in the order of the table.
    [[nodiscard]] static std::vector<std::string> Column(IKwMAPITable& table, TKwMAPIPropDef def)
    {
        table.Close(); // columns are set when a table opens
        const auto field = table.Get_Fields()->Add(def);
        std::vector<std::string> texts;
        for (table.First(); !table.Get_EOF(); table.Next())
            texts.push_back(KwToUtf8(field->Get_AsString()));
        return texts;
    }
    /// A file in the data folder's neighbourhood.
    [[nodiscard]] WideString WriteFile(const std::string& name, const std::string& content)
    {
        const std::filesystem::path path = Home / name;
        std::ofstream(path, std::ios::binary) << content;
        return path.u16string();
    }

    std::filesystem::path Home;
    TKwRef<IKwMAPISession> Session;
};

} // namespace deftmapi::test
