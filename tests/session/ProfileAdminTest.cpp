// Administration of profiles: what is asked of the client library, and what its refusals become.
#include "mapi/admin/uKwMAPIAdmin.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"
#include "tests/session/ScriptedClient.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

/// Logs what it is asked; nothing else happens unless a result is set.
class TScriptedProfAdmin final : public TScriptedUnknown<mapi::IProfAdmin>
{
public:
    explicit TScriptedProfAdmin(TCallsRef calls) : TScriptedUnknown({mapi::IID_IProfAdmin}), FCalls(std::move(calls)) {}
    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR* error) override
    {
        *error = nullptr;
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetProfileTable(mapi::ULONG flags, mapi::LPMAPITABLE*) override
    {
        return Refuse("GetProfileTable", Hex(flags));
    }
    mapi::HRESULT DEFTMAPI_STDCALL CreateProfile(mapi::LPTSTR profile, mapi::LPTSTR password, mapi::ULONG_PTR window,
                                                 mapi::ULONG flags) override
    {
        return Enter("CreateProfile", TextArgument(profile, flags) + "," + TextArgument(password, flags) + "," +
                                          std::to_string(window) + "," + Hex(flags));
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteProfile(mapi::LPTSTR profile, mapi::ULONG flags) override
    {
        return Enter("DeleteProfile", TextArgument(profile, flags) + "," + Hex(flags));
    }
    mapi::HRESULT DEFTMAPI_STDCALL ChangeProfilePassword(mapi::LPTSTR, mapi::LPTSTR, mapi::LPTSTR, mapi::ULONG) override
    {
        return Refuse("ChangeProfilePassword", "");
    }
    mapi::HRESULT DEFTMAPI_STDCALL CopyProfile(mapi::LPTSTR, mapi::LPTSTR, mapi::LPTSTR, mapi::ULONG_PTR,
                                               mapi::ULONG) override
    {
        return Refuse("CopyProfile", "");
    }
    mapi::HRESULT DEFTMAPI_STDCALL RenameProfile(mapi::LPTSTR, mapi::LPTSTR, mapi::LPTSTR, mapi::ULONG_PTR,
                                                 mapi::ULONG) override
    {
        return Refuse("RenameProfile", "");
    }
    mapi::HRESULT DEFTMAPI_STDCALL SetDefaultProfile(mapi::LPTSTR profile, mapi::ULONG flags) override
    {
        return Enter("SetDefaultProfile", TextArgument(profile, flags) + "," + Hex(flags));
    }
    mapi::HRESULT DEFTMAPI_STDCALL AdminServices(mapi::LPTSTR, mapi::LPTSTR, mapi::ULONG_PTR, mapi::ULONG,
                                                 mapi::LPSERVICEADMIN*) override
    {
        return Refuse("AdminServices", "");
    }

private:
    mapi::HRESULT Enter(const std::string& method, const std::string& arguments)
    {
        return FCalls->Enter(method, arguments).value_or(mapi::S_OK);
    }
    mapi::HRESULT Refuse(const std::string& method, const std::string& arguments)
    {
        return FCalls->Enter(method, arguments).value_or(mapi::MAPI_E_NO_SUPPORT);
    }
    TCallsRef FCalls;
};

/// What MAPIAdminProfiles gives; set for the life of a fixture.
TScriptedProfAdmin* CurrentAdmin = nullptr;

mapi::HRESULT DEFTMAPI_STDCALL AdminProfiles(mapi::ULONG, mapi::LPPROFADMIN* admin)
{
    CurrentAdmin->AddRef();
    *admin = CurrentAdmin;
    return mapi::S_OK;
}

class TProfileAdminTest : public TScriptedClientTest
{
protected:
    TProfileAdminTest() : Admin(new TScriptedProfAdmin(Calls)), Session(KwMake<TSession>())
    {
        CurrentAdmin = Admin.Get();
        Module().Export("MAPIAdminProfiles", &AdminProfiles);
        Session->Set_MAPIClient(ClientName);
        Profiles = Session->GetProfileAdmin();
        static_cast<void>(Take());
    }

    TKwComPtr<TScriptedProfAdmin> Admin;
    TKwRef<TSession> Session;
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
}

TEST_F(TProfileAdminTest, RefusalsSayWhichProfileIsMeant)
{
    const std::pair<mapi::HRESULT, const char*> taken[] = {{mapi::MAPI_E_NO_ACCESS, "EMAPI_NO_ACCESS"},
                                                           {mapi::MAPI_E_COLLISION, "EMAPI_COLLISION"}};
    for (const auto& [code, className] : taken) {
        Calls->Next("CreateProfile", code);
        EXPECT_EQ(Catch([&] { Profiles->CreateProfile(u"x", u""); }),
                  (TCaught{className, "The specified new profile already exists.", static_cast<std::uint32_t>(code)}));
    }
    Calls->Next("CreateProfile", mapi::MAPI_E_LOGON_FAILED);
    EXPECT_EQ(Catch([&] { Profiles->CreateProfile(u"x", u""); }).ClassName, "EMAPI_LOGON_FAILED");

    const TCaught missing{"EMAPI_NOT_FOUND", "The specified profile does not exist.", 0x8004010F};
    Calls->Next("DeleteProfile", mapi::MAPI_E_NOT_FOUND);
    EXPECT_EQ(Catch([&] { Profiles->DeleteProfile(u"x"); }), missing);
    Calls->Next("SetDefaultProfile", mapi::MAPI_E_NOT_FOUND);
    EXPECT_EQ(Catch([&] { Profiles->SetDefaultProfile(u"x"); }), missing);
    Calls->Next("SetDefaultProfile", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { Profiles->SetDefaultProfile(u"x"); }).ClassName, "EMAPI_NO_ACCESS");
    EXPECT_EQ(Catch([&] { static_cast<void>(Profiles->GetProfiles()); }).ClassName, "EMAPI_NO_SUPPORT");
}

} // namespace
} // namespace deftmapi::test
