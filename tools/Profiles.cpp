// deftmapi profile list | create | delete | default | rename | copy | password. The password of a profile is that of
// the option --password; a new one can be read from standard input, so that it need not stand in a command line that
// others can see.
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
void Report(const Context& context, const std::string& name, const char* done)
{
    if (context.Options.Json)
        PrintJson({{"name", name}, {done, true}});
}

void AddOn(const Command& parent, Context& context, const char* name, const char* help, const char* done,
           void (IKwMAPIProfileAdmin::*action)(WideView))
{
    const auto profile = std::make_shared<std::string>();
    const Command command = parent.AddCommand(name, help);
    command.AddOption("NAME", *profile, "the profile's name").Required();
    command.OnRun([&context, profile, done, action] {
        const auto admin = context.Session().GetProfileAdmin();
        (admin.Get()->*action)(KwFromUtf8(*profile));
        Report(context, *profile, done);
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
void AddFromTo(const Command& parent, Context& context, const char* name, const char* help, const char* done,
               void (IKwMAPIProfileAdmin::*action)(WideView, WideView, WideView))
{
    struct Arguments
    {
        std::string Old;
        std::string New;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = parent.AddCommand(name, help);
    command.AddOption("OLD", arguments->Old, "the profile's name").Required();
    command.AddOption("NEW", arguments->New, "the new name").Required();
    command.OnRun([&context, arguments, done, action] {
        const auto admin = context.Session().GetProfileAdmin();
        (admin.Get()->*action)(KwFromUtf8(arguments->Old), KwFromUtf8(context.Options.Password),
                               KwFromUtf8(arguments->New));
        if (context.Options.Json)
            PrintJson({{"name", arguments->New}, {"from", arguments->Old}, {done, true}});
    });
}

/// A profile and its new password, for create and password.
struct NewPassword
{
    std::string Profile;
    std::string New;
    bool Ask = false;
};

void AddCreate(const Command& parent, Context& context)
{
    const auto arguments = std::make_shared<NewPassword>();
    const Command command = parent.AddCommand(
        "create", "a new profile with a store of its own; its password is that of --password unless --new or --ask "
                  "gives another one");
    command.AddOption("NAME", arguments->Profile, "the profile's name").Required();
    const Option given = command.AddOption("--new", arguments->New, "the profile's password");
    command.AddFlag("--ask", arguments->Ask, "read the password from standard input").Excludes(given);
    command.OnRun([&context, arguments, given] {
        std::string password = given.Given() ? arguments->New : context.Options.Password;
        if (arguments->Ask)
            password = ReadPassword();
        context.Session().GetProfileAdmin()->CreateProfile(KwFromUtf8(arguments->Profile), KwFromUtf8(password));
        Report(context, arguments->Profile, "created");
    });
}

void AddPassword(const Command& parent, Context& context)
{
    const auto arguments = std::make_shared<NewPassword>();
    const Command command =
        parent.AddCommand("password", "changes the password of a profile; the present one is given with --password");
    command.AddOption("NAME", arguments->Profile, "the profile's name").Required();
    const Option given = command.AddOption("--new", arguments->New,
                                           "the new password, empty for none (default: read from standard input)");
    command.OnRun([&context, arguments, given] {
        const std::string password = given.Given() ? arguments->New : ReadPassword();
        context.Session().GetProfileAdmin()->ChangeProfilePassword(
            KwFromUtf8(arguments->Profile), KwFromUtf8(context.Options.Password), KwFromUtf8(password));
        Report(context, arguments->Profile, "changed");
    });
}

} // namespace

void AddProfiles(const Command& app, Context& context)
{
    const Command profile = app.AddCommand("profile", "the profiles of the MAPI client library");
    profile.RequireCommand();
    profile.AddCommand("list", "all profiles; * marks the default one").OnRun([&context] { List(context); });
    AddCreate(profile, context);
    AddOn(profile, context, "delete", "removes a profile", "deleted", &IKwMAPIProfileAdmin::DeleteProfile);
    AddOn(profile, context, "default", "makes a profile the default one", "default",
          &IKwMAPIProfileAdmin::SetDefaultProfile);
    AddFromTo(profile, context, "rename", "gives a profile another name", "renamed",
              &IKwMAPIProfileAdmin::RenameProfile);
    AddFromTo(profile, context, "copy", "a new profile with the services, stores and password of another one", "copied",
              &IKwMAPIProfileAdmin::CopyProfile);
    AddPassword(profile, context);
}

} // namespace deftmapi::tool
