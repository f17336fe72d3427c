// The command line: commands, what they take and what they run. It is parsed by CLI11, which costs a compiler more than
// all the rest of a command: one source reads it, the commands read this.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace deftmapi::tool
{

/// The command line is wrong in a way that the parser cannot see (an unknown property name, for example).
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The command line is wrong in the eyes of the parser.
class CommandLineError : public UsageError
{
public:
    using UsageError::UsageError;
};

/// An argument, option or flag of a command. Copies are the same one; it lives as long as its CommandLine.
class Option
{
public:
    const Option& Required() const;
    /// One text may bring several values.
    const Option& SeparatedByCommas() const;
    const Option& NotNegative() const;
    /// The help tells the value that it has before anything is parsed.
    const Option& ShowsDefault() const;
    const Option& Needs(const Option& other) const;
    const Option& Excludes(const Option& other) const;
    /// Whether the command line has it.
    [[nodiscard]] bool Given() const;

private:
    friend class Command;
    explicit Option(CLI::Option& option) : FOption(&option) {}
    CLI::Option* FOption;
};

/// One command, and what can stand behind it. Copies are the same one; it lives as long as its CommandLine.
/// Whatever receives a value must live until the command has run, and holds the default before.
class Command
{
public:
    [[nodiscard]] Command AddCommand(const char* name, const char* help) const;
    /// One of its commands must follow; options of the command around it may stand behind that one, too.
    void RequireCommand() const;
    /// A group of flags of which at most one may be given.
    [[nodiscard]] Command AddChoice(const char* name) const;
    Option AddOption(const char* name, std::string& value, const char* help) const;
    Option AddOption(const char* name, std::vector<std::string>& values, const char* help) const;
    Option AddOption(const char* name, std::int64_t& value, const char* help) const;
    Option AddFlag(const char* name, bool& value, const char* help) const;
    /// What the help ends with.
    void SetFooter(const char* text) const;
    /// What the command does.
    void OnRun(std::function<void()> action) const;

protected:
    explicit Command(CLI::App& app) : FApp(&app) {}
    CLI::App* FApp;
};

/// The program itself, with the options that may stand before a command.
class CommandLine : public Command
{
public:
    CommandLine(const char* name, const char* description);
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    void SetVersion(const char* name, std::function<std::string()> version);
    /// Runs the command, or prints the help or the version that is asked for instead.
    /// @throws CommandLineError  before any command has run
    /// @throws whatever the command throws
    void Run(int argc, char** argv);

private:
    explicit CommandLine(std::unique_ptr<CLI::App> app);
    std::unique_ptr<CLI::App> FOwn;
};

} // namespace deftmapi::tool
