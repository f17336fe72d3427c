#include "tests/core/FakeClient.hpp"

#include "mapi/headers/uKwMAPIdefsH.hpp"

namespace deftmapi::test
{

namespace
{

std::string Hex(std::uint64_t number)
{
    return KwToUtf8(KwFormat(u"0x%x", {number}));
}

std::string Text(const char* text)
{
    return text != nullptr ? "'" + std::string(text) + "'" : "null";
}

std::string Text(const void* text, bool wide)
{
    if (!wide || text == nullptr)
        return Text(static_cast<const char*>(text));
    return "L'" + KwToUtf8(static_cast<const char16_t*>(text)) + "'";
}

} // namespace

TClientLog LibraryTest::Log;

mapi::HRESULT LibraryTest::Initialize(mapi::LPVOID options)
{
    const auto* const given = static_cast<const mapi::MAPIINIT_0*>(options);
    EXPECT_EQ(given != nullptr ? given->ulVersion : 0, 0u);
    Log.Calls.push_back("MAPIInitialize(" + (given != nullptr ? "flags " + Hex(given->ulFlags) : "null") + ")");
    return Log.InitializeResult;
}

void LibraryTest::Uninitialize()
{
    Log.Calls.push_back("MAPIUninitialize");
}

mapi::HRESULT LibraryTest::LogonEx(mapi::ULONG_PTR parent, mapi::LPTSTR profile, mapi::LPTSTR password,
                                   mapi::ULONG flags, mapi::LPMAPISESSION* session)
{
    const bool wide = (flags & mapi::MAPI_UNICODE) != 0;
    Log.Calls.push_back("MAPILogonEx(" + Hex(parent) + ", " + Text(profile, wide) + ", " + Text(password, wide) + ", " +
                        Hex(flags) + ")");
    *session = TKwComPtr<mapi::IMAPISession>(Log.Session).Detach();
    return Log.LogonResult;
}

mapi::ULONG LibraryTest::Logon(mapi::ULONG_PTR parent, mapi::LPSTR profile, mapi::LPSTR password, mapi::FLAGS flags,
                               mapi::ULONG reserved, mapi::LPLHANDLE handle)
{
    EXPECT_EQ(reserved, 0u);
    Log.Calls.push_back("MAPILogon(" + Hex(parent) + ", " + Text(profile) + ", " + Text(password) + ", " + Hex(flags) +
                        ")");
    if (Log.SimpleHandle != 0)
        *handle = Log.SimpleHandle;
    return Log.SimpleResult;
}

mapi::ULONG LibraryTest::Logoff(mapi::LHANDLE handle, mapi::ULONG_PTR parent, mapi::FLAGS flags, mapi::ULONG reserved)
{
    EXPECT_EQ(reserved, 0u);
    Log.Calls.push_back("MAPILogoff(" + Hex(handle) + ", " + Hex(parent) + ", " + Hex(flags) + ")");
    return Log.SimpleResult;
}

} // namespace deftmapi::test
