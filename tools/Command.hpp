// What the commands of the deftmapi program share: the options that stand before the command, the exit statuses, and
// one function per command that adds it to the command line.
#pragma once

#include "Context.hpp"

#include <CLI/CLI.hpp>

#include <stdexcept>

namespace deftmapi::tool
{

enum ExitStatus
{
    exitSuccess = 0,
    exitFailure = 1,
    exitUsage = 2,
    exitNo = 3 ///< a question answered with "no"
};

/// The command line is wrong in a way that the parser cannot see (an unknown property name, for example).
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A command has done its work and reported it, but answers with this status.
struct ExitWith
{
    ExitStatus Status;
};

void AddInfo(CLI::App& app, Context& context);
void AddProfiles(CLI::App& app, Context& context);
void AddServices(CLI::App& app, Context& context);
void AddTree(CLI::App& app, Context& context);
void AddList(CLI::App& app, Context& context);
void AddShow(CLI::App& app, Context& context);
void AddImport(CLI::App& app, Context& context);
void AddFolders(CLI::App& app, Context& context);
void AddMove(CLI::App& app, Context& context);
void AddWatch(CLI::App& app, Context& context);
void AddDefinitions(CLI::App& app, Context& context);

} // namespace deftmapi::tool
