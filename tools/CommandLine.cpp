#include "CommandLine.hpp"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdint>
#include <utility>

namespace deftmapi::tool
{

const Option& Option::Required() const
{
    FOption->required();
    return *this;
}

const Option& Option::SeparatedByCommas() const
{
    FOption->delimiter(',');
    return *this;
}

const Option& Option::NotNegative() const
{
    FOption->check(CLI::Validator(
        [](const std::string& text) {
            std::int64_t number = -1;
            const char* const end = text.data() + text.size();
            const bool isNumber = std::from_chars(text.data(), end, number) == std::from_chars_result{end, {}};
            return isNumber && number >= 0 ? std::string() : "a number from 0 on expected instead of '" + text + "'";
        },
        "", "NotNegative"));
    return *this;
}

const Option& Option::ShowsDefault() const
{
    FOption->capture_default_str();
    return *this;
}

const Option& Option::Needs(const Option& other) const
{
    FOption->needs(other.FOption);
    return *this;
}

const Option& Option::Excludes(const Option& other) const
{
    FOption->excludes(other.FOption);
    return *this;
}

bool Option::Given() const
{
    return FOption->count() != 0;
}

Command Command::AddCommand(const char* name, const char* help) const
{
    return Command(*FApp->add_subcommand(name, help));
}

void Command::RequireCommand() const
{
    FApp->require_subcommand(1);
    FApp->fallthrough();
}

Command Command::AddChoice(const char* name) const
{
    CLI::Option_group& group = *FApp->add_option_group(name);
    group.require_option(0, 1);
    return Command(group);
}

Option Command::AddOption(const char* name, std::string& value, const char* help) const
{
    return Option(*FApp->add_option(name, value, help));
}

Option Command::AddOption(const char* name, std::vector<std::string>& values, const char* help) const
{
    return Option(*FApp->add_option(name, values, help));
}

Option Command::AddOption(const char* name, std::int64_t& value, const char* help) const
{
    return Option(*FApp->add_option(name, value, help));
}

Option Command::AddFlag(const char* name, bool& value, const char* help) const
{
    return Option(*FApp->add_flag(name, value, help));
}

void Command::SetFooter(const char* text) const
{
    FApp->footer(text);
}

void Command::OnRun(std::function<void()> action) const
{
    FApp->callback(std::move(action));
}

CommandLine::CommandLine(const char* name, const char* description)
    : CommandLine(std::make_unique<CLI::App>(description, name))
{}

CommandLine::CommandLine(std::unique_ptr<CLI::App> app) : Command(*app), FOwn(std::move(app))
{
    RequireCommand();
}

CommandLine::~CommandLine() = default;

void CommandLine::SetVersion(const char* name, std::function<std::string()> version)
{
    FOwn->set_version_flag(name, std::move(version));
}

void CommandLine::Run(int argc, char** argv)
{
    try {
        FOwn->parse(argc, argv); // runs the command, too
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() != 0)
            throw CommandLineError(e.what());
        FOwn->exit(e); // help is an exception, too
    }
}

} // namespace deftmapi::tool
