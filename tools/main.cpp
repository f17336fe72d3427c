// deftmapi: how a person looks at a store without writing a program, and how scripts drive the library.
// Errors are one line on standard error (a JSON object with --json).
#include "Command.hpp"
#include "Output.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <iostream>
#include <string_view>

namespace
{

using namespace deftmapi;
using namespace deftmapi::tool;

constexpr auto UsageErrorClass = "UsageError"; // of mistakes in the command line, where others have the exception's

ExitStatus ReportError(bool json, const std::string& message, std::int32_t code, const std::string& className,
                       ExitStatus status = exitFailure)
{
    if (json) {
        const Json document{{"error", message},
                            {"code", fmt::format("0x{:08X}", static_cast<std::uint32_t>(code))},
                            {"class", className}};
        std::cerr << document.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
    } else
        std::cerr << "deftmapi: " << OneLine(message) << '\n';
    return status;
}

/// Whether the command line asks for JSON: a mistake in it may have kept the parser from taking the option.
bool AsksForJson(int argc, char** argv)
{
    const auto is = [](std::string_view option) { return [option](const char* a) { return option == a; }; };
    return std::any_of(argv + 1, std::find_if(argv + 1, argv + argc, is("--")), is("--json"));
}

} // namespace

int main(int argc, char** argv)
{
    Context context;
    CommandLine app("deftmapi", "Looks at a messaging store through the Deft MAPI library");
    app.SetVersion("--version", [] { return KwToUtf8(TSession::Create()->Get_Version()); });
    app.AddOption("--profile", context.Options.Profile, "the profile to log on to (default: the default profile)");
    app.AddOption("--password", context.Options.Password, "the password of the profile");
    app.AddOption("--home", context.Options.Home, "the data folder of the embedded client");
    app.AddOption("--client", context.Options.Client, "the MAPI client library to load");
    app.AddFlag("--json", context.Options.Json, "one JSON document instead of text");
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
        app.Run(argc, argv);
        return exitSuccess;
    } catch (const CommandLineError& e) {
        const bool json = AsksForJson(argc, argv);
        return ReportError(json, std::string(e.what()) + (json ? "" : " (see --help)"), mapi::MAPI_E_INVALID_PARAMETER,
                           UsageErrorClass, exitUsage);
    } catch (const UsageError& e) {
        return ReportError(context.Options.Json, e.what(), mapi::MAPI_E_INVALID_PARAMETER, UsageErrorClass, exitUsage);
    } catch (const ExitWith& e) {
        return e.Status;
    } catch (const EKwExceptionBase& e) {
        return ReportError(context.Options.Json, e.what(), e.ErrorCode(), KwToUtf8(e.ClassType().Name));
    } catch (const std::exception& e) {
        return ReportError(context.Options.Json, e.what(), mapi::MAPI_E_CALL_FAILED, "");
    }
}
