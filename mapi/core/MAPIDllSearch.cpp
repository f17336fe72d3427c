// Where the client library is: the registrations of the mail clients, and the places where Outlook puts its library
// when no registration leads to it. The same code runs everywhere; on POSIX the registry is empty and the places do not
// exist.
#include "mapi/core/MAPIDllSearch.hpp"

#include "mapi/core/MAPIModule.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr auto sNotLocated =
    u"Failed to locate the MAPI dll for the client \"%0:s\"!\r\nCheck the value of the "
    u"\"\\Software\\Clients\\Mail\\%0:s\\DllPath\" or \"\\Software\\Clients\\Mail\\%0:s\\DllPathEx\" registry key.";
constexpr auto sBitnessNoFile = u"Failed to check the bitness of the given MAPI dll (%s)!\r\nThe file does not exist.";

constexpr WideView clientsKey = u"Software\\Clients\\Mail";
constexpr auto subsystemKey = u"Software\\Microsoft\\Windows Messaging Subsystem";
constexpr WideView packagedMail = u"PackagedMail";
constexpr WideView stubName = u"olmapi32.dll";
constexpr auto realName = u"msmapi32.dll";
constexpr WideView officeFolder = u"Office\\";

// Version of the MAPI subsystem where it registered none.
constexpr auto simpleVersion = u"1.0.0.0";
constexpr auto extendedVersion = u"1.0.0.1";

// Where each edition keeps its library, for a 64-bit and for a 32-bit process.
struct TPlaces
{
    const char16_t* Process64;
    const char16_t* Process32;
};
constexpr TPlaces streamed2013 = {
    u"C:\\Program Files\\Microsoft Office 15\\root\\vfs\\ProgramFilesCommonX64\\SYSTEM\\MSMAPI\\1033\\msmapi32.dll",
    u"C:\\Program Files (x86)\\Microsoft Office 15\\root\\vfs\\ProgramFilesCommonX86\\SYSTEM\\MSMAPI\\1033\\"
    u"msmapi32.dll"};
constexpr TPlaces streamed2016 = {
    u"C:\\Program Files\\Microsoft Office\\root\\VFS\\ProgramFilesCommonX64\\system\\msmapi\\1033\\msmapi32.dll",
    u"C:\\Program Files (x86)\\Microsoft Office\\root\\VFS\\ProgramFilesCommonX86\\system\\msmapi\\1033\\msmapi32.dll"};
constexpr TPlaces classic = {u"C:\\Program Files\\Common Files\\System\\MSMAPI\\1033\\msmapi32.dll",
                             u"C:\\Program Files (x86)\\Common Files\\System\\MSMAPI\\1033\\msmapi32.dll"};

WideString Number(std::uint32_t number)
{
    return KwFormat(u"%d", {number});
}

WideString ClientKey(WideView client)
{
    WideString key(clientsKey);
    if (!client.empty())
        key.append(u"\\").append(client);
    return key;
}

bool ExportsExtendedMAPI(const TKwModuleInfo& info)
{
    return info.HasExport("MAPIInitialize") && info.HasExport("MAPILogonEx");
}

// A library that this process can load and that offers extended MAPI.
bool PassesCheck(const WideString& fileName)
{
    const TKwModuleInfo info = KwReadModuleInfo(fileName);
    return info.FileFormat != TKwModuleInfo::Format::None && info.Is64Bit == KwPlatform().Is64BitProcess() &&
           ExportsExtendedMAPI(info);
}

// Outlook registers a stub that looks for the library of the user's language at each call; this looks for it once.
WideString BehindStub(const WideString& fileName)
{
    const std::size_t separator = fileName.find_last_of(u"\\/");
    const WideView name = WideView(fileName).substr(separator == WideString::npos ? 0 : separator + 1);
    const std::size_t office = fileName.find(officeFolder); // with this case only, unlike the file's name
    if (!KwSameText(name, stubName) || office == WideView::npos)
        return fileName;
    IKwPlatform& platform = KwPlatform();
    const std::vector<WideString> found =
        platform.FindFiles(fileName.substr(0, office + officeFolder.size()), realName);
    if (found.empty())
        return fileName;
    const WideString locale = Number(platform.DefaultLocale());
    const auto localized = std::find_if(found.begin(), found.end(), [&locale](const WideString& path) {
        return path.find(locale) != WideString::npos;
    });
    return localized != found.end() ? *localized : found.front();
}

// The well-known place of the installed Outlook, when a library is there that this process can load.
WideString InWellKnownPlace(const TKwOutlookInfo& outlook)
{
    const TPlaces* places = &classic;
    if (outlook.Mode == olmClickToRun) {
        if (outlook.Version == OL2013)
            places = &streamed2013;
        else if (outlook.Version == OL2016 || outlook.Version == OL2019)
            places = &streamed2016;
        else
            return {};
    }
    WideString candidate = KwPlatform().Is64BitProcess() ? places->Process64 : places->Process32;
    if (!KwPlatform().FileExists(candidate) || !PassesCheck(candidate))
        candidate.clear();
    return candidate;
}

WideString LocateClient(WideView client)
{
    // KwFindMAPIDll drops what this process cannot use; here that is just what the caller wants to learn of.
    WideString fileName = KwFindMAPIDll(client);
    for (const TKwRegistryRoot root : {TKwRegistryRoot::rrCurrentUser, TKwRegistryRoot::rrLocalMachine})
        if (fileName.empty())
            fileName = KwRegisteredMAPIDll(root, TKwRegistryView::rvProcess, client);
    if (fileName.empty())
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sNotLocated, {client})->Raise();
    return fileName;
}

unsigned BitnessOf(const TKwModuleInfo& info)
{
    if (info.FileFormat == TKwModuleInfo::Format::None)
        return 0;
    return info.Is64Bit ? 64 : 32;
}

// A mail application of the Windows store registers itself for its links; its library can be loaded by no other
// process.
bool IsPackaged(TKwRegistryRoot root, TKwRegistryView view, const WideString& client)
{
    return KwSameText(client, packagedMail) ||
           KwPlatform().RegistryValue(root, view, ClientKey(client), WideString(packagedMail)).has_value();
}

WideString DefaultClient()
{
    for (const TKwRegistryRoot root : {TKwRegistryRoot::rrCurrentUser, TKwRegistryRoot::rrLocalMachine}) {
        std::optional<WideString> name =
            KwPlatform().RegistryValue(root, TKwRegistryView::rvProcess, WideString(clientsKey), {});
        if (name && !name->empty())
            return *std::move(name);
    }
    return {};
}

void AddClients(TKwRegistryRoot root, TKwRegistryView view, WideView defaultClient, std::vector<TKwMAPIClient>& clients)
{
    for (const WideString& name : KwPlatform().RegistrySubKeys(root, view, WideString(clientsKey))) {
        const bool known = std::any_of(clients.begin(), clients.end(),
                                       [&name](const TKwMAPIClient& client) { return KwSameText(client.Name, name); });
        if (known || IsPackaged(root, view, name))
            continue;
        const bool isOutlook = KwSameText(name, KwOutlookClientName);
        TKwMAPIClient client;
        client.DllFileName = isOutlook && view == TKwRegistryView::rvProcess ? KwFindMAPIDll(root, name)
                                                                             : KwRegisteredMAPIDll(root, view, name);
        if (client.DllFileName.empty())
            continue;
        const TKwModuleInfo info = KwReadModuleInfo(client.DllFileName);
        client.Name = name;
        client.API = isOutlook || ExportsExtendedMAPI(info) ? ciExtendedMAPI : ciSimpleMAPI;
        client.Bitness = BitnessOf(info);
        client.Root = root;
        client.View = view;
        client.IsDefault = KwSameText(name, defaultClient);
        clients.push_back(std::move(client));
    }
}

} // namespace

WideString KwRegisteredMAPIDll(TKwRegistryRoot root, TKwRegistryView view, WideView client)
{
    IKwPlatform& platform = KwPlatform();
    const WideString key = ClientKey(client);
    if (!platform.RegistryKeyExists(root, view, key))
        return {};
    for (const char16_t* const value : {u"DLLPathEx", u"DLLPath"}) {
        WideString path =
            platform.ExpandEnvironment(platform.RegistryValue(root, view, key, value).value_or(WideString()));
        if (!path.empty() && platform.FileExists(path))
            return path;
    }
    return {};
}

WideString KwFindMAPIDll(TKwRegistryRoot root, WideView client)
{
    const bool isOutlook = KwSameText(client, KwOutlookClientName);
    WideString found = KwRegisteredMAPIDll(root, TKwRegistryView::rvProcess, client);
    if (!found.empty())
        found = BehindStub(found);
    // Outlook's own registration is trusted.
    if (!found.empty() && !isOutlook && !PassesCheck(found))
        found.clear();
    if (!found.empty() || !(isOutlook || client.empty()))
        return found;

    const TKwOutlookInfo outlook = KwGetOutlookInfo();
    found = InWellKnownPlace(outlook);
    return found.empty() ? outlook.MAPIDLL : found;
}

WideString KwFindMAPIDll(WideView client)
{
    WideString found = KwFindMAPIDll(TKwRegistryRoot::rrCurrentUser, client);
    return found.empty() ? KwFindMAPIDll(TKwRegistryRoot::rrLocalMachine, client) : found;
}

unsigned KwMAPIClientDLLBitness(WideView client, WideString& dllFileName)
{
    dllFileName = LocateClient(client);
    if (!KwPlatform().FileExists(dllFileName))
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sBitnessNoFile, {dllFileName})->Raise();
    return BitnessOf(KwReadModuleInfo(dllFileName));
}

void KwLoadMAPIClientDLL(WideView client, WideString& dllFileName, bool& isExtendedMAPI, bool unloadWithLastUninit)
{
    dllFileName = LocateClient(client);
    KwLoadMAPIDLL(dllFileName, isExtendedMAPI, unloadWithLastUninit);
}

std::vector<TKwMAPIClient> KwGetMAPIClients()
{
    std::vector<TKwMAPIClient> clients;
    const WideString defaultClient = DefaultClient();
    for (const TKwRegistryRoot root : {TKwRegistryRoot::rrCurrentUser, TKwRegistryRoot::rrLocalMachine})
        for (const TKwRegistryView view : {TKwRegistryView::rvProcess, TKwRegistryView::rvOther})
            AddClients(root, view, defaultClient, clients);
    return clients;
}

TKwMAPILibraryInfo KwGetMAPIInfo()
{
    TKwMAPILibraryInfo info;
    info.DefaultClient = DefaultClient();
    {
        TKwMAPIModuleState& state = KwMAPIModuleState();
        const TKwMAPILibraryGuard guard(state.Lock);
        info.Loaded = state.Module != nullptr;
        info.ExtendedMAPI = state.ExtendedAvailable;
        info.DllFileName = state.FileName;
    }
    info.Version =
        KwPlatform()
            .RegistryValue(TKwRegistryRoot::rrLocalMachine, TKwRegistryView::rvProcess, subsystemKey, u"MAPIXVER")
            .value_or(info.ExtendedMAPI ? extendedVersion : simpleVersion);
    return info;
}

} // namespace deftmapi
