// The detection reads what Office's installers leave in the registry. Both halves are read, because a 64-bit process
// may meet a 32-bit Outlook and the other way round.
#include "mapi/core/OutlookInfo.hpp"

#include "mapi/core/MAPIDllSearch.hpp"
#include "support/platform/uKwPlatform.hpp"
#include "support/uKwFormat.hpp"

#include <algorithm>
#include <iterator>
#include <optional>
#include <vector>

#ifndef DEFTMAPI_CLIENT_FILE_NAME
#error                                                                                                                 \
    "The build names the embedded client's file: DEFTMAPI_CLIENT_FILE_NAME, and DEFTMAPI_INSTALL_LIBDIR for its folder."
#endif

namespace deftmapi
{

namespace
{

struct TEdition
{
    const char16_t* Number; // the key below Software\Microsoft\Office
    TKwOutlookMajorVersion Version;
};

// Newest first: where several are installed and the registry does not say which one is current, the newest counts.
constexpr TEdition editions[] = {
    {u"16.0", OL2016}, {u"15.0", OL2013}, {u"14.0", OL2010}, {u"12.0", OL2007}, {u"11.0", OL2003},
    {u"10.0", OL2002}, {u"9.0", OL2000},  {u"8.5", OL98},    {u"8.0", OL97},
};

constexpr WideView officeKey = u"SOFTWARE\\Microsoft\\Office\\";
constexpr auto currentKey = u"SOFTWARE\\Classes\\Outlook.Application\\CurVer";
constexpr WideView currentPrefix = u"Outlook.Application.";
constexpr WideView streamedFolder = u"\\root\\";
constexpr WideView storeFolder = u"\\WindowsApps\\";
constexpr unsigned firstSixtyFourBitEdition = OL2010;
constexpr unsigned firstYearAfter2016 = 2019;

using TViews = TKwRegistryView[2];
constexpr TViews bothViews = {TKwRegistryView::rvProcess, TKwRegistryView::rvOther};

std::optional<WideString> MachineValue(TKwRegistryView view, const WideString& key, const char16_t* valueName)
{
    return KwPlatform().RegistryValue(TKwRegistryRoot::rrLocalMachine, view, key, valueName);
}

// From either half of the registry; an empty value counts as none.
WideString MachineValue(const WideString& key, const char16_t* valueName)
{
    for (const TKwRegistryView view : bothViews)
        if (std::optional<WideString> value = MachineValue(view, key, valueName); value && !value->empty())
            return *std::move(value);
    return {};
}

WideString Join(WideView folder, WideView name, char16_t separator)
{
    WideString path(folder);
    if (!path.empty() && path.back() != u'\\' && path.back() != u'/')
        path += separator;
    return path.append(name);
}

// ---- The installed edition
// -------------------------------------------------------------------------------------------

struct TInstallation
{
    const TEdition* Edition = nullptr;
    TKwRegistryView View{};
    WideString Root;
};

WideString StreamingKey(const TEdition& edition)
{
    // Office 2013 kept it below its own number; from 2016 on there is one for all.
    WideString key(officeKey);
    if (edition.Version == OL2013)
        key.append(edition.Number).append(u"\\");
    return key.append(u"ClickToRun");
}

bool FindEdition(const TEdition& edition, TInstallation& installation)
{
    const WideString tail = WideString(edition.Number) + u"\\Outlook\\InstallRoot";
    std::vector<WideString> keys = {WideString(officeKey) + tail};
    if (edition.Version >= OL2013)
        keys.push_back(StreamingKey(edition) + u"\\REGISTRY\\MACHINE\\Software\\Microsoft\\Office\\" + tail);
    for (const WideString& key : keys)
        for (const TKwRegistryView view : bothViews)
            if (std::optional<WideString> path = MachineValue(view, key, u"Path"); path && !path->empty()) {
                installation = {&edition, view, *std::move(path)};
                return true;
            }
    return false;
}

bool FindInstallation(TInstallation& installation)
{
    const WideString current = MachineValue(currentKey, u"");
    if (KwStartsText(currentPrefix, current)) {
        const WideString number = current.substr(currentPrefix.size()) + u".";
        for (const TEdition& edition : editions)
            if (WideView(edition.Number).starts_with(number) && FindEdition(edition, installation))
                return true;
    }
    return std::any_of(std::begin(editions), std::end(editions),
                       [&installation](const TEdition& edition) { return FindEdition(edition, installation); });
}

// True when a product of the list ("Outlook2019Volume,ProofingTools") has a year of 2019 or later in its name.
bool HasLaterYear(WideView products)
{
    constexpr std::size_t yearDigits = 4;
    for (std::size_t i = 0; i + yearDigits <= products.size(); ++i) {
        unsigned year = 0;
        const WideView digits = products.substr(i, yearDigits);
        if (!std::all_of(digits.begin(), digits.end(), [](char16_t c) { return c >= u'0' && c <= u'9'; }))
            continue;
        for (const char16_t digit : digits)
            year = year * 10 + static_cast<unsigned>(digit - u'0');
        if (year >= firstYearAfter2016)
            return true;
    }
    return false;
}

unsigned BitnessOf(const TInstallation& installation, const WideString& streamedPlatform)
{
    const WideString key = WideString(officeKey) + installation.Edition->Number + u"\\Outlook";
    WideString text = MachineValue(installation.View, key, u"Bitness").value_or(WideString());
    if (text.empty())
        text = streamedPlatform;
    if (KwSameText(text, u"x64"))
        return 64;
    if (KwSameText(text, u"x86") || static_cast<unsigned>(installation.Edition->Version) < firstSixtyFourBitEdition)
        return 32;
    return KwPlatform().Is64BitProcess() == (installation.View == TKwRegistryView::rvProcess) ? 64 : 32;
}

TKwOutlookMode ModeOf(const TInstallation& installation, const WideString& products)
{
    if (KwPosText(storeFolder, installation.Root) != WideView::npos)
        return olmWindowsStoreApp;
    if (!products.empty() && KwPosText(streamedFolder, installation.Root) != WideView::npos)
        return olmClickToRun;
    if (installation.Edition->Version == OL98 || installation.Edition->Version == OL2000) {
        const WideString mailSupport =
            MachineValue(WideString(officeKey) + installation.Edition->Number + u"\\Outlook\\Setup", u"MailSupport");
        if (mailSupport == u"1")
            return olmCW;
        if (mailSupport == u"0")
            return olmIMO;
    }
    return olmNA;
}

// ---- Its library
// -----------------------------------------------------------------------------------------------------

// The folder that holds the library's folder, for Outlook's own bitness.
WideString CommonFolder(const TKwOutlookInfo& info)
{
    if (info.Mode == olmClickToRun) {
        const std::size_t root = KwPosText(streamedFolder, info.InstallRoot);
        return info.InstallRoot.substr(0, root + streamedFolder.size()) +
               (info.Bitness == 64 ? u"VFS\\ProgramFilesCommonX64" : u"VFS\\ProgramFilesCommonX86");
    }
    IKwPlatform& platform = KwPlatform();
    const std::optional<WideString> folder =
        platform.Environment(info.Bitness == 64 ? u"CommonProgramW6432" : u"CommonProgramFiles(x86)");
    return folder ? *folder : platform.Environment(u"CommonProgramFiles").value_or(WideString());
}

WideString LibraryOf(const TKwOutlookInfo& info)
{
    for (const TKwRegistryRoot root : {TKwRegistryRoot::rrCurrentUser, TKwRegistryRoot::rrLocalMachine})
        for (const TKwRegistryView view : bothViews)
            if (WideString registered = KwRegisteredMAPIDll(root, view, KwOutlookClientName); !registered.empty())
                return registered;

    IKwPlatform& platform = KwPlatform();
    std::vector<WideString> candidates;
    if (const WideString common = CommonFolder(info); !common.empty())
        for (const std::uint32_t locale : {platform.DefaultLocale(), std::uint32_t{1033}})
            candidates.push_back(Join(common, KwFormat(u"System\\MSMAPI\\%d\\msmapi32.dll", {locale}), u'\\'));
    candidates.push_back(Join(info.InstallRoot, u"olmapi32.dll", u'\\'));
    for (const WideString& candidate : candidates)
        if (platform.FileExists(candidate))
            return candidate;
    return {};
}

// ---- Where there is no Outlook
// ---------------------------------------------------------------------------------------

WideString EmbeddedClient()
{
    IKwPlatform& platform = KwPlatform();
    if (std::optional<WideString> named = platform.Environment(u"DEFTMAPI_CLIENT"); named && !named->empty())
        return *std::move(named);

    // Any address in the library finds the module: the shared library, or the program that it is linked into.
    static const char anchor = 0;
    const WideString module = platform.ModuleFileNameOf(&anchor);
    const WideString fileName = KwFromUtf8(DEFTMAPI_CLIENT_FILE_NAME);
    std::vector<WideString> candidates;
    if (const std::size_t separator = module.find_last_of(u"\\/"); separator != WideString::npos) {
        const WideString folder = module.substr(0, separator + 1);
        candidates.push_back(folder + fileName);
        candidates.push_back(folder + u"../lib/" + fileName);
    }
    candidates.push_back(Join(KwFromUtf8(DEFTMAPI_INSTALL_LIBDIR), fileName, u'/'));
    for (const WideString& candidate : candidates)
        if (platform.FileExists(candidate))
            return candidate;
    return {};
}

} // namespace

TKwOutlookInfo KwGetOutlookInfo()
{
    TKwOutlookInfo info;
    TInstallation installation;
    if (!FindInstallation(installation)) {
        info.MAPIDLL = EmbeddedClient();
        return info;
    }

    const TEdition& edition = *installation.Edition;
    WideString products;
    WideString streamedPlatform;
    WideString build;
    if (edition.Version >= OL2013) {
        const WideString key = StreamingKey(edition) + u"\\Configuration";
        products = MachineValue(key, u"ProductReleaseIds");
        streamedPlatform = MachineValue(key, u"Platform");
        build = MachineValue(key, u"VersionToReport");
    }
    info.InstallRoot = installation.Root;
    info.Mode = ModeOf(installation, products);
    const bool streamed = info.Mode == olmClickToRun;
    info.Version = edition.Version == OL2016 && streamed && HasLaterYear(products) ? OL2019 : edition.Version;
    info.VersionNumber = edition.Number;
    if (!streamed)
        build = MachineValue(WideString(officeKey) + edition.Number + u"\\Common\\ProductVersion", u"LastProduct");
    info.VersionNumberEx = build.empty() ? info.VersionNumber : build;
    info.Bitness = BitnessOf(installation, streamed ? streamedPlatform : WideString());
    info.MAPIDLL = LibraryOf(info);
    return info;
}

} // namespace deftmapi
