// deftmapi info: what is loaded, and from where.
#include "Command.hpp"
#include "Output.hpp"

#include <fmt/core.h>

namespace deftmapi::tool
{

namespace
{

void Info(Context& context)
{
    IKwMAPISession& session = context.Session();
    if (!session.MAPILoaded()) {
        WideString fileName;
        bool extended = false;
        KwLoadMAPIDLL(fileName, extended, false);
    }
    // A library without Extended MAPI cannot be initialised for it; the default profile is the system's then.
    session.Get_LogonInfo()->Set_UseExtendedMAPI(KwExtendedMAPIAvailable());
    const auto info = session.Get_MAPIInfo();
    Json clients = Json::array();
    for (const WideString& name : info->GetClients())
        clients.push_back(KwToUtf8(name));
    const Json document{{"version", KwToUtf8(session.Get_Version())},
                        {"client", KwToUtf8(KwCurrentMAPIDllFileName())},
                        {"extended", KwExtendedMAPIAvailable()},
                        {"mapi", KwToUtf8(info->Get_Version())},
                        {"clients", clients},
                        {"default_client", KwToUtf8(info->Get_DefaultClient())},
                        {"outlook", KwToUtf8(info->Get_OutlookVersion())},
                        {"profile", KwToUtf8(session.GetDefaultProfile())},
                        {"definitions", PropDefCount()}};
    if (context.Options.Json)
        return PrintJson(document);
    fmt::print("Deft MAPI       {}\n", document["version"].get<std::string>());
    fmt::print("MAPI client     {}\n", document["client"].get<std::string>());
    fmt::print("Extended MAPI   {}\n", document["extended"].get<bool>() ? "yes" : "no");
    fmt::print("MAPI version    {}\n", document["mapi"].get<std::string>());
    std::string names;
    for (const Json& name : document["clients"])
        names += (names.empty() ? "" : ", ") + name.get<std::string>();
    const auto orNone = [](const std::string& text) { return text.empty() ? std::string("none") : text; };
    fmt::print("Mail clients    {}\n", orNone(names));
    fmt::print("Default client  {}\n", orNone(document["default_client"].get<std::string>()));
    fmt::print("Outlook         {}\n", orNone(document["outlook"].get<std::string>()));
    fmt::print("Default profile {}\n", orNone(document["profile"].get<std::string>()));
    fmt::print("Definitions     {}\n", document["definitions"].get<TKwMAPIPropDef>());
}

} // namespace

void AddInfo(const Command& app, Context& context)
{
    const Command command =
        app.AddCommand("info", "library and client versions, client path, extended MAPI or not, the mail clients "
                               "that are installed, default profile");
    command.OnRun([&context] { Info(context); });
}

} // namespace deftmapi::tool
