// A session on the embedded client with a data folder of its own, which is empty at first and gone afterwards.
#pragma once

#include "mapi/DeftMAPI.hpp"
#include "tests/core/Caught.hpp"
#include "tests/support/LeakChecked.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <cstdlib>

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
        return Folder.Write(name, content).u16string();
    }

    const TemporaryFolder Folder;
    const std::filesystem::path Home = Folder.Path();
    TKwRef<IKwMAPISession> Session;
};

} // namespace deftmapi::test
