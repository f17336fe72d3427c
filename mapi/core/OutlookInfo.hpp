// Which Outlook is installed, and how. A part of the utilities (mapi/text/uKwMAPIUtils.hpp offers it to applications)
// that lives on this floor because the search for the client library asks it.
#pragma once

#include "support/uKwText.hpp"

#include <cstdint>

namespace deftmapi
{

enum TKwOutlookMajorVersion : std::int32_t
{
    NoOutlookInstalled,
    OL97,
    OL98,
    OL2000,
    OL2002,
    OL2003,
    OL2007,
    OL2010,
    OL2013,
    OL2016,
    OL2019
};

/// How Outlook is set up. Outlook 98 and 2000 work in Internet-mail-only or corporate/workgroup mode; later ones are
/// installed by streaming (click-to-run), as a package of the Windows store, or classically (not applicable).
enum TKwOutlookMode : std::int32_t
{
    olmNA,
    olmIMO,
    olmCW,
    olmClickToRun,
    olmWindowsStoreApp
};

struct TKwOutlookInfo
{
    TKwOutlookMajorVersion Version = NoOutlookInstalled;
    WideString VersionNumber;   ///< "16.0"
    WideString VersionNumberEx; ///< with the build where it is known: "16.0.10356.20006"
    unsigned Bitness = 0;       ///< 32 or 64; 0 when there is no Outlook
    TKwOutlookMode Mode = olmNA;
    WideString InstallRoot; ///< the program folder
    /// The MAPI library: Outlook's, else the embedded client's; empty when neither is found. It may be of the other
    /// bitness than the process, which KwMAPIClientDLLBitness tells.
    WideString MAPIDLL;
};

/// Detects Outlook from the registry, both halves of it. Where there is none, MAPIDLL is the embedded client: what the
/// environment variable DEFTMAPI_CLIENT names, whether it exists or not, else the one beside the library or in ../lib
/// of it, else the one in the install folder. A name that leads nowhere is reported by a session's logon, which loads
/// just this file; KwLoadMAPIDLL without a name takes MAPI32.dll then. Reads afresh at each call.
[[nodiscard]] DEFTMAPI_API TKwOutlookInfo KwGetOutlookInfo();

} // namespace deftmapi
