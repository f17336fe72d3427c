// What the commands of the deftmapi program share: the options that stand before the command, the exit statuses, and
// one function per command that adds it to the command line.
#pragma once

#include "CommandLine.hpp"
#include "Context.hpp"

namespace deftmapi::tool
{

enum ExitStatus
{
    exitSuccess = 0,
    exitFailure = 1,
    exitUsage = 2,
    exitNo = 3 ///< a question answered with "no"
};

/// A command has done its work and reported it, but answers with this status.
struct ExitWith
{
    ExitStatus Status;
};

void AddInfo(const Command& app, Context& context);
void AddProfiles(const Command& app, Context& context);
void AddServices(const Command& app, Context& context);
void AddTree(const Command& app, Context& context);
void AddList(const Command& app, Context& context);
void AddShow(const Command& app, Context& context);
void AddImport(const Command& app, Context& context);
void AddFolders(const Command& app, Context& context);
void AddMove(const Command& app, Context& context);
void AddWatch(const Command& app, Context& context);
void AddDefinitions(const Command& app, Context& context);

} // namespace deftmapi::tool
