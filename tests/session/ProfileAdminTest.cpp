// Administration of profiles: what is asked of the client library, and what its refusals become.
#include "mapi/DeftMAPI.hpp"
#include "tests/session/FailureNames.hpp"
#include "tests/session/ScriptedClient.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TProfileAdminTest : public TScriptedClientTest
{
protected:
    TProfileAdminTest()
    {
        Profiles = Session->GetProfileAdmin();
        static_cast<void>(Take());
    }

    TKwRef<IKwMAPIProfileAdmin> Profiles;
};

TEST_F(TProfileAdminTest, ProfilesAreCreatedWithTheDefaultServices)
{
    Session->Set_ParentWindow(77);
    Profiles->CreateProfile(u"Größe", u"geheim");
    EXPECT_EQ(Take(), "CreateProfile(\"Größe\",\"geheim\",77,0x80000001)");
    Calls->Next("CreateProfile", mapi::MAPI_E_BAD_CHARWIDTH);
    Profiles->CreateProfile(u"Größe", u"");
    EXPECT_EQ(Take(), "CreateProfile(\"Größe\",null,77,0x80000001)\nCreateProfile('Gr\xF6\xDF"
                      "e',null,77,0x00000001)");
    Profiles->CreateProfile(u"x", u"", false, true);
    EXPECT_EQ(Take(), "CreateProfile(\"x\",null,77,0x80000008)");
}

TEST_F(TProfileAdminTest, ProfilesAreRenamedAndCopiedAndGetOtherPasswords)
{
    Session->Set_ParentWindow(77);
    Profiles->RenameProfile(u"Alt", u"pw", u"Neu");
    Profiles->CopyProfile(u"Neu", u"", u"Kopie");
    Profiles->ChangeProfilePassword(u"Kopie", u"", u"geheim");
    EXPECT_EQ(Take(), "RenameProfile(\"Alt\",\"pw\",\"Neu\",77,0x80000000)\n"
                      "CopyProfile(\"Neu\",null,\"Kopie\",77,0x80000000)\n"
                      "ChangeProfilePassword(\"Kopie\",null,\"geheim\",0x80000000)");
}

TEST_F(TProfileAdminTest, TheClientIsAskedForItWhenTheSessionIsSet)
{
    auto entry = Module().Exports.extract("MAPIAdminProfiles");
    Profiles.Reset();
    Session->MAPIUnitialize();
    Session->MAPIUnload(); // forgets the entry point
    EXPECT_EQ(Catch([&] { return Session->GetProfileAdmin(); }).Message,
              "The loaded MAPI library does not support \"MAPIAdminProfiles\"!");
    Session->Get_LogonInfo()->Set_UseExtendedMAPI(false);
    EXPECT_NE(Session->GetProfileAdmin(), nullptr);
    Session->Get_LogonInfo()->Set_UseExtendedMAPI(true);
    Module().Exports.insert(std::move(entry));
    const auto admin = KwMake<TKwMAPIProfileAdmin>(*Session);
    EXPECT_EQ(admin->Get_MAPIOBJECT(), ProfAdmin.Get());
    admin->SetSession(nullptr);
    EXPECT_EQ(admin->Get_MAPIOBJECT(), nullptr);
    EXPECT_EQ(Catch([&] { return admin->GetProfiles(); }).ClassName, "EMAPI_UNCONFIGURED");
}

TEST_F(TProfileAdminTest, ProfilesAndTheDefaultOneAreRowsOfTheTable)
{
    EXPECT_FALSE(Session->HasDefaultProfile()) << "no profiles";
    EXPECT_EQ(Session->GetProfiles(u";"), u"");
    const auto row = [](const char16_t* name, bool isDefault) {
        return std::vector{TextValue(GetPropTag(PR_DISPLAY_NAME), name),
                           BoolValue(GetPropTag(PR_DEFAULT_PROFILE), isDefault)};
    };
    ProfAdmin->Profiles->AddRow(row(u"Anna", false));
    EXPECT_FALSE(Profiles->HasDefaultProfile());
    EXPECT_EQ(Profiles->GetDefaultProfile(), u"");
    ProfAdmin->Profiles->AddRow(row(u"Bert", true));
    ProfAdmin->Profiles->AddRow(row(u"Carl", false));
    EXPECT_TRUE(Session->HasDefaultProfile());
    EXPECT_EQ(Session->GetDefaultProfile(), u"Bert");
    EXPECT_EQ(Session->GetProfiles(u", "), u"Anna, Bert, Carl");
    EXPECT_EQ(Profiles->GetProfileTable()->Get_RowCount(), 3);
}

TEST_F(TProfileAdminTest, NothingOfALibraryIsKeptWhenItGoes)
{
    const auto table = Profiles->GetProfileTable();
    AddOther();
    Session->Set_MAPIClient(u"Other");
    EXPECT_EQ(Module().Open(), 0);
    EXPECT_EQ(ProfAdmin->RefCount(), 1u);
    EXPECT_EQ(ProfAdmin->Profiles->RefCount(), 1u);
    KwMAPIInitialize(false, false, true, true);
    EXPECT_EQ(Profiles->GetProfiles().size(), 0u) << "asked of the other one from now on";
}

TEST_F(TProfileAdminTest, SimpleMAPIReadsTheRegistry)
{
    Session->Get_LogonInfo()->Set_UseExtendedMAPI(false);
    static_cast<void>(Take());
    EXPECT_FALSE(Session->HasDefaultProfile());
    EXPECT_EQ(Session->GetProfiles(u";"), u"");
    const auto user = TKwRegistryRoot::rrCurrentUser;
    const WideString old = u"SOFTWARE\\Microsoft\\Windows Messaging Subsystem\\Profiles";
    const WideString nt = u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Windows Messaging Subsystem\\Profiles";
    Platform.SetValue(user, old, u"DefaultProfile", u"Old");
    EXPECT_FALSE(Session->HasDefaultProfile()) << "the older family's place means nothing";
    Platform.WindowsNT = false;
    EXPECT_EQ(Session->GetDefaultProfile(), u"Old");
    Platform.WindowsNT = true;
    Platform.AddKey(user, nt + u"\\Anna");
    Platform.AddKey(user, nt + u"\\Bert");
    Platform.SetValue(user, nt, u"DefaultProfile", u"");
    EXPECT_FALSE(Session->HasDefaultProfile()) << "empty is none";
    Platform.SetValue(user, nt, u"DefaultProfile", u"Bert");
    EXPECT_TRUE(Session->HasDefaultProfile());
    EXPECT_EQ(Session->GetProfiles(u";"), u"Anna;Bert");
    EXPECT_EQ(Take(), "") << "MAPI is not asked";
    EXPECT_EQ(
        Catch([&] { Profiles->CreateProfile(u"x", u""); }),
        (TCaught{"EMAPI_NOT_SUPPORTED", "TKwMAPIProfileAdmin.CreateProfile is not supported by Simple MAPI!", 26}));
}

TEST_F(TProfileAdminTest, FailuresNameTheOperationAndTheClientsText)
{
    const TNamedOperation operations[] = {
        {"CreateProfile", "CreateProfile", [&] { Profiles->CreateProfile(u"x", u""); }},
        {"DeleteProfile", "DeleteProfile", [&] { Profiles->DeleteProfile(u"x"); }},
        {"GetProfileTable", "GetProfileTable", [&] { return Profiles->GetProfileTable(); }},
        {"GetProfileTable", "HasDefaultProfile", [&] { return Profiles->HasDefaultProfile(); }},
        {"GetProfileTable", "GetProfiles", [&] { return Profiles->GetProfiles(); }},
        {"profile.AdminServices", "GetAdminServices", [&] { return Profiles->GetAdminServices(u"x", u"", false); }}};
    ExpectFailuresNameTheOperation(*Calls, "TKwMAPIProfileAdmin", operations);
    ProfAdmin->Error = u"No room";
    EXPECT_EQ(Catch([&] {
                  KwMake<TKwMAPIProfileAdmin>(*Session)->CheckLastError(u"CopyProfile", mapi::MAPI_E_BUSY);
              }).Message,
              "Component Profiles caused: No room (TKwMAPIProfileAdmin.CopyProfile)");
}

TEST_F(TProfileAdminTest, RefusalsSayWhichProfileIsMeant)
{
    ProfAdmin->Profiles->AddRow({TextValue(GetPropTag(PR_DISPLAY_NAME), u"X")});
    const std::pair<mapi::HRESULT, const char*> taken[] = {{mapi::MAPI_E_NO_ACCESS, "EMAPI_NO_ACCESS"},
                                                           {mapi::MAPI_E_COLLISION, "EMAPI_COLLISION"}};
    const std::pair<const char*, std::function<void(WideView)>> calls[] = {
        {"CreateProfile", [&](WideView name) { Profiles->CreateProfile(name, u""); }},
        {"RenameProfile", [&](WideView name) { Profiles->RenameProfile(u"old", u"", name); }},
        {"CopyProfile", [&](WideView name) { Profiles->CopyProfile(u"old", u"", name); }}};
    for (const auto& [code, className] : taken)
        for (const auto& [method, action] : calls) {
            const auto& call = action;
            Calls->Next(method, code);
            EXPECT_EQ(Catch([&] { call(u"x"); }), (TCaught{className, "The specified new profile already exists.",
                                                           static_cast<std::uint32_t>(code)}));
        }
    for (const auto& [method, action] : calls) {
        const auto& call = action;
        Calls->Next(method, mapi::MAPI_E_NO_ACCESS);
        const TCaught caught = Catch([&] { call(u"y"); });
        EXPECT_EQ(caught.ClassName, "EMAPI_NO_ACCESS");
        EXPECT_EQ(caught.Message.find("already exists"), std::string::npos) << "no such name: it is something else";
    }
    const TCaught missing{"EMAPI_NOT_FOUND", "The specified profile does not exist.", 0x8004010F};
    Calls->Next("DeleteProfile", mapi::MAPI_E_NOT_FOUND);
    EXPECT_EQ(Catch([&] { Profiles->DeleteProfile(u"x"); }), missing);
    Calls->Next("SetDefaultProfile", mapi::MAPI_E_NOT_FOUND);
    EXPECT_EQ(Catch([&] { Profiles->SetDefaultProfile(u"x"); }), missing);
    Calls->Next("RenameProfile", mapi::MAPI_E_NOT_FOUND);
    EXPECT_EQ(Catch([&] { Profiles->RenameProfile(u"x", u"", u"z"); }), missing);
    Calls->Next("ChangeProfilePassword", mapi::MAPI_E_NOT_FOUND);
    EXPECT_EQ(Catch([&] { Profiles->ChangeProfilePassword(u"x", u"", u"z"); }), missing);
    Calls->Next("ChangeProfilePassword", mapi::MAPI_E_LOGON_FAILED);
    EXPECT_EQ(Catch([&] { Profiles->ChangeProfilePassword(u"x", u"", u"z"); }).ClassName, "EMAPI_LOGON_FAILED");
    Calls->Next("SetDefaultProfile", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { Profiles->SetDefaultProfile(u"x"); }).ClassName, "EMAPI_NO_ACCESS");
}

} // namespace
} // namespace deftmapi::test
