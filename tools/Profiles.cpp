// deftmapi profile list | create | delete | default | rename | copy | password. The password of an existing profile is
// that of the option --password; a new one is read from standard input unless it is given, so that it need not stand in
// a command line that others can see.
#include "Command.hpp"
#include "Output.hpp"

#include <fmt/core.h>

#include <iostream>
#include <memory>
#include <termios.h>
#include <unistd.h>

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

/// A terminal that does not show what is typed.
class Hidden
{
public:
    Hidden()
    {
        if (tcgetattr(STDIN_FILENO, &FShown) != 0)
            throw std::runtime_error("the terminal cannot be asked for a password");
        termios hidden = FShown;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        if (tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden) != 0)
            throw std::runtime_error("the terminal cannot be kept from showing the password");
    }
    ~Hidden() { tcsetattr(STDIN_FILENO, TCSAFLUSH, &FShown); }
    Hidden(const Hidden&) = delete;
    Hidden& operator=(const Hidden&) = delete;

private:
    termios FShown{};
};

std::string ReadLine()
{
    std::string line;
    if (!std::getline(std::cin, line))
        throw UsageError("there is no new password on standard input");
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

/// One line of standard input; a person is asked twice and sees nothing of what he types.
std::string ReadPassword()
{
    if (isatty(STDIN_FILENO) == 0)
        return ReadLine();
    const auto ask = [](const char* prompt) {
        std::cerr << prompt << std::flush;
        const Hidden hidden;
        std::string line = ReadLine();
        std::cerr << '\n';
        return line;
    };
    std::string password = ask("New password (empty for none): ");
    if (ask("Once more: ") != password)
        throw UsageError("the two passwords are not the same");
    return password;
}

/// rename and copy: from one name to another.
void AddFromTo(CLI::App& parent, Context& context, const char* name, const char* help, const char* done,
               void (IKwMAPIProfileAdmin::*action)(WideView, WideView, WideView))
{
    struct Arguments
    {
        std::string Old;
        std::string New;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command = parent.add_subcommand(name, help);
    command->add_option("OLD", arguments->Old, "the profile's name")->required();
    command->add_option("NEW", arguments->New, "the new name")->required();
    command->callback([&context, arguments, done, action] {
        const auto admin = context.Session().GetProfileAdmin();
        (admin.Get()->*action)(KwFromUtf8(arguments->Old), KwFromUtf8(context.Options.Password),
                               KwFromUtf8(arguments->New));
        if (context.Options.Json)
            PrintJson({{"name", arguments->New}, {"from", arguments->Old}, {done, true}});
    });
}

void AddPassword(CLI::App& parent, Context& context)
{
    struct Arguments
    {
        std::string Name;
        std::string New;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command = parent.add_subcommand(
        "password", "changes the password of a profile; the present one is given with --password");
    command->add_option("NAME", arguments->Name, "the profile's name")->required();
    const CLI::Option* given = command->add_option(
        "--new", arguments->New, "the new password, empty for none (default: read from standard input)");
    command->callback([&context, arguments, given] {
        const std::string password = given->count() != 0 ? arguments->New : ReadPassword();
        context.Session().GetProfileAdmin()->ChangeProfilePassword(
            KwFromUtf8(arguments->Name), KwFromUtf8(context.Options.Password), KwFromUtf8(password));
        if (context.Options.Json)
            PrintJson({{"name", arguments->Name}, {"changed", true}});
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
    AddFromTo(*profile, context, "rename", "gives a profile another name", "renamed",
              &IKwMAPIProfileAdmin::RenameProfile);
    AddFromTo(*profile, context, "copy", "a new profile with the services, stores and password of another one",
              "copied", &IKwMAPIProfileAdmin::CopyProfile);
    AddPassword(*profile, context);
}

} // namespace deftmapi::tool
