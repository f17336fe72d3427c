// A MAPI client library made of functions that log their calls and answer what the test told them, on a platform in
// memory.
#pragma once

#include "mapi/core/uKwMAPILib.hpp"
#include "mapi/headers/uKwMAPIFunctionsH.hpp"
#include "tests/core/Caught.hpp"
#include "tests/support/ModuleImages.hpp"
#include "tests/support/TestPlatform.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace deftmapi::test
{

/// The calls in order ("MAPIInitialize(flags 0x9)"), and the next results.
struct TClientLog
{
    std::vector<std::string> Calls;
    mapi::HRESULT InitializeResult = 0;
    mapi::HRESULT LogonResult = 0;
    mapi::ULONG SimpleResult = 0;
    mapi::LHANDLE SimpleHandle = 0;
    mapi::IMAPISession* Session = nullptr; // handed out with a reference of its own

    /// The calls since the last Take.
    std::vector<std::string> Take() { return std::exchange(Calls, {}); }
};

class LibraryTest : public testing::Test
{
public:
    static TClientLog Log;

protected:
    static constexpr auto Root = TKwRegistryRoot::rrLocalMachine;

    void SetUp() override { Log = {}; }
    // Every test leaves nothing loaded.
    void TearDown() override
    {
        while (KwMAPISessionClosed() > 0) {
        }
        KwMAPIUninitialize(true);
        EXPECT_EQ(KwMAPIModule(), nullptr);
        EXPECT_EQ(Platform.OpenModules(), 0);
    }

    /// A library that offers extended and Simple MAPI.
    TFakeModule& AddClient(const WideString& fileName)
    {
        TFakeModule& module = AddSimpleClient(fileName);
        module.Export("MAPIInitialize", &Initialize);
        module.Export("MAPIUninitialize", &Uninitialize);
        module.Export("MAPILogonEx", &LogonEx);
        return module;
    }
    TFakeModule& AddSimpleClient(const WideString& fileName)
    {
        TFakeModule& module = Platform.AddModule(fileName);
        module.Export("MAPILogon", &Logon);
        module.Export("MAPILogoff", &Logoff);
        return module;
    }
    /// A file that passes the check of a library for a 64-bit process, or fails it in one way.
    void AddFile(const WideString& fileName, bool is64Bit = true,
                 const std::vector<std::string>& exports = {"MAPIInitialize", "MAPILogonEx"})
    {
        Platform.SetFile(fileName, MakePeImage(is64Bit, exports));
    }
    static TCaught Load(WideString fileName, bool unloadWithLastUninit = false)
    {
        bool isExtendedMAPI = false;
        return Catch([&] { KwLoadMAPIDLL(fileName, isExtendedMAPI, unloadWithLastUninit); });
    }

    TTestPlatform Platform;

private:
    static mapi::HRESULT DEFTMAPI_STDCALL Initialize(mapi::LPVOID options);
    static void DEFTMAPI_STDCALL Uninitialize();
    static mapi::HRESULT DEFTMAPI_STDCALL LogonEx(mapi::ULONG_PTR parent, mapi::LPTSTR profile, mapi::LPTSTR password,
                                                  mapi::ULONG flags, mapi::LPMAPISESSION* session);
    static mapi::ULONG DEFTMAPI_STDCALL Logon(mapi::ULONG_PTR parent, mapi::LPSTR profile, mapi::LPSTR password,
                                              mapi::FLAGS flags, mapi::ULONG reserved, mapi::LPLHANDLE handle);
    static mapi::ULONG DEFTMAPI_STDCALL Logoff(mapi::LHANDLE handle, mapi::ULONG_PTR parent, mapi::FLAGS flags,
                                               mapi::ULONG reserved);

    TKwPlatformOverride FOverride{Platform};
};

} // namespace deftmapi::test
