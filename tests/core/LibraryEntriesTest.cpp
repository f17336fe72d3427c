// The entry points: which export each one calls, and what becomes of the result.
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/core/uKwMAPIIMessageH.hpp"
#include "mapi/core/uKwMAPIxH.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "tests/core/FakeClient.hpp"

#include <functional>

namespace deftmapi::test
{

namespace
{

using LibraryEntries = LibraryTest;

int plainCalls;
int decoratedCalls;
std::uint64_t nextResult;

// Stands in for the client's function of one type.
template <typename Function>
struct TStandIn;

template <typename Result, typename... Args>
struct TStandIn<Result (*)(Args...)>
{
    static Result DEFTMAPI_STDCALL Plain(Args...)
    {
        ++plainCalls;
        if constexpr (std::is_integral_v<Result>)
            return static_cast<Result>(nextResult);
        else
            return Result();
    }
    static Result DEFTMAPI_STDCALL Decorated(Args... args)
    {
        ++decoratedCalls;
        --plainCalls;
        return Plain(args...);
    }
    static std::uint64_t CallEntry(Result (*entry)(Args...))
    {
        if constexpr (std::is_integral_v<Result>)
            return static_cast<std::uint32_t>(entry(Args()...));
        else {
            static_cast<void>(entry(Args()...));
            return 0;
        }
    }
};

struct TEntry
{
    std::string Name;
    std::string Decorated; // empty: only the plain name is looked for
    void* PlainFunction;
    void* DecoratedFunction;
    std::function<std::uint64_t()> Call;
};

template <typename Function>
TEntry Entry(const char* name, const char* decorated, Function function)
{
    using TStand = TStandIn<Function>;
    return {name, decorated, reinterpret_cast<void*>(&TStand::Plain), reinterpret_cast<void*>(&TStand::Decorated),
            [function] { return TStand::CallEntry(function); }};
}

std::vector<TEntry> Entries()
{
    return {
        Entry("FreeProws", "FreeProws@4", &FreeProws),
        Entry("FreePadrlist", "FreePadrlist@4", &FreePadrlist),
        Entry("WrapCompressedRTFStream", "WrapCompressedRTFStream@12", &WrapCompressedRTFStream),
        Entry("RTFSync", "RTFSync@12", &RTFSync),
        Entry("HrQueryAllRows", "HrQueryAllRows@24", &HrQueryAllRows),
        Entry("HrDispatchNotifications", "HrDispatchNotifications@4", &HrDispatchNotifications),
        Entry("MAPIGetDefaultMalloc", "MAPIGetDefaultMalloc@0", &MAPIGetDefaultMalloc),
        Entry("MAPIInitialize", "", &MAPIInitialize),
        Entry("MAPIUninitialize", "", &MAPIUninitialize),
        Entry("MAPILogonEx", "", &MAPILogonEx),
        Entry("MAPIAdminProfiles", "", &MAPIAdminProfiles),
        Entry("OpenIMsgSession", "OpenIMsgSession@12", &OpenIMsgSession),
        Entry("CloseIMsgSession", "CloseIMsgSession@4", &CloseIMsgSession),
        Entry("OpenIMsgOnIStg", "OpenIMsgOnIStg@44", &OpenIMsgOnIStg),
        Entry("GetAttribIMsgOnIStg", "GetAttribIMsgOnIStg@12", &GetAttribIMsgOnIStg),
        Entry("SetAttribIMsgOnIStg", "SetAttribIMsgOnIStg@16", &SetAttribIMsgOnIStg),
        Entry("MapStorageSCode", "MapStorageSCode@4", &MapStorageSCode),
        Entry("ScCreateConversationIndex", "ScCreateConversationIndex@16", &ScCreateConversationIndex),
        Entry("MAPILogon", "", &MAPILogon),
        Entry("MAPILogoff", "", &MAPILogoff),
        Entry("MAPIAllocateBuffer", "", &MAPIAllocateBuffer),
        Entry("MAPIAllocateMore", "", &MAPIAllocateMore),
        Entry("MAPIFreeBuffer", "", &MAPIFreeBuffer),
        Entry("MAPISendMail", "", &MAPISendMail),
        Entry("MAPISendDocuments", "", &MAPISendDocuments),
        Entry("MAPIFindNext", "", &MAPIFindNext),
        Entry("MAPIReadMail", "", &MAPIReadMail),
        Entry("MAPISaveMail", "", &MAPISaveMail),
        Entry("MAPIDeleteMail", "", &MAPIDeleteMail),
        Entry("MAPIAddress", "", &MAPIAddress),
        Entry("MAPIDetails", "", &MAPIDetails),
        Entry("MAPIResolveName", "", &MAPIResolveName),
    };
}

TEST_F(LibraryEntries, LookForTheDecoratedNameFirst)
{
    for (const TEntry& entry : Entries()) {
        const TCaught missing{"EMAPI_CALL_FAILED", "The loaded MAPI library does not support \"" + entry.Name + "\"!",
                              0x80004005};
        const WideString library = KwFromUtf8(entry.Name) + u".dll";
        TFakeModule& client = Platform.AddModule(library);
        plainCalls = decoratedCalls = 0;
        nextResult = 0;
        EXPECT_EQ(Catch(entry.Call), missing) << "nothing is loaded";
        Load(library);
        EXPECT_EQ(Catch(entry.Call), missing);

        // Once found, an export is not looked for again.
        client.Exports[entry.Name] = entry.PlainFunction;
        EXPECT_EQ(Catch(entry.Call), TCaught{}) << entry.Name;
        client.Exports.clear();
        EXPECT_EQ(Catch(entry.Call), TCaught{}) << entry.Name;
        EXPECT_EQ(plainCalls, 2) << entry.Name;
        KwUnloadDLL();
        EXPECT_EQ(Catch(entry.Call), missing) << "it went with its library";

        client.Exports[entry.Name] = entry.PlainFunction;
        client.Exports[entry.Decorated.empty() ? entry.Name + "@4" : entry.Decorated] = entry.DecoratedFunction;
        Load(library);
        plainCalls = 0;
        static_cast<void>(entry.Call());
        EXPECT_EQ(decoratedCalls, entry.Decorated.empty() ? 0 : 1) << entry.Name;
        EXPECT_EQ(plainCalls, entry.Decorated.empty() ? 1 : 0) << entry.Name;
        KwUnloadDLL();
    }
}

TEST_F(LibraryEntries, HandleResultsByTheirKind)
{
    const std::map<std::string, std::string> memoryTexts = {
        {"MAPIAllocateBuffer", "An error occurred while allocating MAPI memory!"},
        {"MAPIAllocateMore", "An error occurred while allocating more MAPI memory!"},
        {"MAPIFreeBuffer", "An error occurred while freeing a MAPI buffer!"}};
    constexpr std::uint32_t failure = 0x8007000E;
    TFakeModule& client = Platform.AddModule(u"B.dll");
    Load(u"B.dll");
    for (const TEntry& entry : Entries()) {
        client.Exports[entry.Name] = entry.PlainFunction;
        const bool returnsNothing = entry.Name == "FreeProws" || entry.Name == "FreePadrlist" ||
                                    entry.Name == "MAPIUninitialize" || entry.Name == "CloseIMsgSession" ||
                                    entry.Name == "MAPIGetDefaultMalloc";
        // The Simple MAPI functions are those that stand behind the conversation index and are no memory functions.
        const bool isSimple = entry.Decorated.empty() && entry.Name != "MAPIInitialize" &&
                              entry.Name != "MAPILogonEx" && entry.Name != "MAPIAdminProfiles" &&
                              !memoryTexts.contains(entry.Name) && !returnsNothing;
        std::uint64_t result = 0;
        const auto call = [&] { result = entry.Call(); };
        nextResult = failure;
        if (const auto text = memoryTexts.find(entry.Name); text != memoryTexts.end()) {
            EXPECT_EQ(Catch(call), (TCaught{"EMAPI_NOT_ENOUGH_MEMORY", text->second, failure}));
        } else if (isSimple) {
            nextResult = 16;
            EXPECT_EQ(Catch(call),
                      (TCaught{"EMAPI_NO_MESSAGES", "The action failed, because there are no messages.", 16}))
                << entry.Name;
            nextResult = 0x80004005;
            EXPECT_EQ(Catch(call), TCaught{}) << entry.Name;
            EXPECT_EQ(result, 0x80004005u) << entry.Name;
        } else {
            EXPECT_EQ(Catch(call), TCaught{}) << entry.Name;
            EXPECT_EQ(result, returnsNothing ? 0 : failure) << entry.Name;
        }
    }
}

TEST_F(LibraryEntries, ALogonWithoutAHandleFails)
{
    AddSimpleClient(u"B.dll");
    Load(u"B.dll");
    mapi::LHANDLE handle = 7;
    const auto logon = [&handle] { static_cast<void>(MAPILogon(0, nullptr, nullptr, 0, 0, &handle)); };
    const TCaught noHandle{
        "EMAPI_CALL_FAILED",
        "The MAPILogon returned an invalid session handle.\r\nPlease verify your account configuration!", 0x80004005};
    EXPECT_EQ(Catch(logon), noHandle) << "what the variable held before is no handle";
    Log.SimpleResult = 0x80004005;
    EXPECT_EQ(Catch(logon), noHandle);
    Log.SimpleResult = 3;
    EXPECT_EQ(Catch(logon), (TCaught{"EMAPI_LOGON_FAILURE", "Failed to logon.", 3}));
    Log.SimpleResult = 0;
    Log.SimpleHandle = 42;
    EXPECT_EQ(Catch(logon), TCaught{});
    EXPECT_EQ(handle, 42u);
}

} // namespace

} // namespace deftmapi::test
