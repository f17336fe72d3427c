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
    session.MAPIInitialize();
    const Json document{{"version", KwToUtf8(session.Get_Version())},
                        {"client", KwToUtf8(KwCurrentMAPIDllFileName())},
                        {"extended", KwExtendedMAPIAvailable()},
                        {"mapi", KwToUtf8(session.Get_MAPIInfo()->Get_Version())},
                        {"profile", KwToUtf8(session.GetDefaultProfile())},
                        {"definitions", PropDefCount()}};
    if (context.Options.Json)
        return PrintJson(document);
    fmt::print("Deft MAPI       {}\n", document["version"].get<std::string>());
    fmt::print("MAPI client     {}\n", document["client"].get<std::string>());
    fmt::print("Extended MAPI   {}\n", document["extended"].get<bool>() ? "yes" : "no");
    fmt::print("MAPI version    {}\n", document["mapi"].get<std::string>());
    const std::string profile = document["profile"].get<std::string>();
    fmt::print("Default profile {}\n", profile.empty() ? "none" : profile);
    fmt::print("Definitions     {}\n", document["definitions"].get<TKwMAPIPropDef>());
}

} // namespace

void AddInfo(CLI::App& app, Context& context)
{
    CLI::App* command =
        app.add_subcommand("info", "library and client versions, client path, extended MAPI or not, default profile");
    command->callback([&context] { Info(context); });
}

} // namespace deftmapi::tool
