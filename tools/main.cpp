// deftmapi: how a person looks at a store without writing a program, and how scripts drive the library.
// Errors are one line on standard error (a JSON object with --json).
#include "Command.hpp"
#include "Output.hpp"

#include <fmt/core.h>

#include <iostream>

namespace
{

using namespace deftmapi;
using namespace deftmapi::tool;

ExitStatus ReportError(bool json, const std::string& message, std::int32_t code, const std::string& className)
{
    if (json) {
        const Json document{{"error", message},
                            {"code", fmt::format("0x{:08X}", static_cast<std::uint32_t>(code))},
                            {"class", className}};
        std::cerr << document.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
    } else
        std::cerr << "deftmapi: " << OneLine(message) << '\n';
    return exitFailure;
}

} // namespace

int main(int argc, char** argv)
{
    Context context;
    CLI::App app{"Looks at a messaging store through the Deft MAPI library", "deftmapi"};
    app.require_subcommand(1);
    app.fallthrough();
    app.set_version_flag("--version", [] { return KwToUtf8(TSession::Create()->Get_Version()); });
    app.add_option("--profile", context.Options.Profile, "the profile to log on to (default: the default profile)");
    app.add_option("--password", context.Options.Password, "the password of the profile");
    app.add_option("--home", context.Options.Home, "the data folder of the embedded client");
    app.add_option("--client", context.Options.Client, "the MAPI client library to load");
    app.add_flag("--json", context.Options.Json, "one JSON document instead of text");
    AddInfo(app, context);
    AddProfiles(app, context);
    AddServices(app, context);
    AddTree(app, context);
    AddList(app, context);
    AddShow(app, context);
    AddImport(app, context);
    AddFolders(app, context);
    AddMove(app, context);
    AddWatch(app, context);
    AddDefinitions(app, context);

    try {
        app.parse(argc, argv); // runs the command, too
        return exitSuccess;
    } catch (const CLI::ParseError& e) {
        const int status = app.exit(e);
        return status == 0 ? exitSuccess : exitUsage;
    } catch (const UsageError& e) {
        std::cerr << "deftmapi: " << OneLine(e.what()) << '\n';
        return exitUsage;
    } catch (const ExitWith& e) {
        return e.Status;
    } catch (const EKwExceptionBase& e) {
        return ReportError(context.Options.Json, e.what(), e.ErrorCode(), KwToUtf8(e.ClassType().Name));
    } catch (const std::exception& e) {
        return ReportError(context.Options.Json, e.what(), mapi::MAPI_E_CALL_FAILED, "");
    }
}
