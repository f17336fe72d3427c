// deftmapi profile list | create | delete | default.
#include "Command.hpp"
#include "Output.hpp"

#include <fmt/core.h>

#include <memory>

namespace deftmapi::tool
{

namespace
{

void List(Context& context)
{
    const auto admin = context.Session().GetProfileAdmin();
    const WideString defaultName = admin->GetDefaultProfile();
    Json document = Json::array();
    for (const WideString& name : admin->GetProfiles())
        document.push_back({{"name", KwToUtf8(name)}, {"default", name == defaultName}});
    if (context.Options.Json)
        return PrintJson(document);
    for (const Json& profile : document)
        fmt::print("{} {}\n", profile["default"].get<bool>() ? "*" : " ", profile["name"].get<std::string>());
}

/// The commands on one profile report what they did in the same way.
void AddOn(CLI::App& parent, Context& context, const char* name, const char* help, const char* done,
           void (*action)(IKwMAPIProfileAdmin&, const WideString&, const WideString&), bool withPassword)
{
    struct Arguments
    {
        std::string Name;
        std::string Password;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command = parent.add_subcommand(name, help);
    command->add_option("NAME", arguments->Name, "the profile's name")->required();
    if (withPassword)
        command->add_option("--password", arguments->Password, "the profile's password");
    command->callback([&context, arguments, done, action] {
        const auto admin = context.Session().GetProfileAdmin();
        action(*admin, KwFromUtf8(arguments->Name), KwFromUtf8(arguments->Password));
        if (context.Options.Json)
            PrintJson({{"name", arguments->Name}, {done, true}});
    });
}

} // namespace

void AddProfiles(CLI::App& app, Context& context)
{
    CLI::App* profile = app.add_subcommand("profile", "the profiles of the MAPI client library");
    profile->require_subcommand(1);
    profile->fallthrough();
    profile->add_subcommand("list", "all profiles; * marks the default one")->callback([&context] { List(context); });
    AddOn(
        *profile, context, "create", "a new profile with a store of its own", "created",
        [](IKwMAPIProfileAdmin& admin, const WideString& name, const WideString& password) {
            admin.CreateProfile(name, password);
        },
        true);
    AddOn(
        *profile, context, "delete", "removes a profile", "deleted",
        [](IKwMAPIProfileAdmin& admin, const WideString& name, const WideString&) { admin.DeleteProfile(name); },
        false);
    AddOn(
        *profile, context, "default", "makes a profile the default one", "default",
        [](IKwMAPIProfileAdmin& admin, const WideString& name, const WideString&) { admin.SetDefaultProfile(name); },
        false);
}

} // namespace deftmapi::tool
