#include "CommandLine.h"

#include "Demo.h"
#include "Endpoints.h"
#include "Exchange.h"
#include "OperationCommand.h"
#include "StatsCommand.h"
#include "doctor/DoctorCommand.h"
#include "doctor/Versions.h"
#include "fleet/FleetCommand.h"
#include "outbox/OutboxCommand.h"

#include "platform/text/Escaping.h"

#include <CLI/CLI.hpp>

namespace
{

/// The arguments in the order that CLI11 expects: the last one first. "--t=" is passed as "--t" and an empty
/// text, because CLI11 would use the next argument as the value.
std::vector<std::string> CommandLineArguments(const std::vector<std::string>& vecGiven)
{
    std::vector<std::string> vecArguments;
    for (std::size_t i = vecGiven.size() - 1; i > 0; --i) {
        const std::string& strArgument = vecGiven[i];
        const bool bEmptyValue =
            strArgument.rfind("--", 0) == 0 && strArgument.find('=') == strArgument.size() - 1;
        if (bEmptyValue) {
            vecArguments.emplace_back();
            vecArguments.push_back(strArgument.substr(0, strArgument.size() - 1));
        } else {
            vecArguments.push_back(strArgument);
        }
    }
    return vecArguments;
}

} // namespace

void DescribeCommandLine(CLI::App& app, int& nExit)
{
    app.name("ktsagent");
    app.description("Talks to a laboratory server through the agent, as a host does.");
    app.footer(
        "Exit status: 0 success, 1 the server said no or the exchange failed, 2 wrong usage, 3 no answer "
        "in time; \"doctor\" has others of its own.\nA value that begins with \"-\" is written "
        "--option=-value.");
    // Escaped, because the message repeats arguments.
    app.failure_message([](const CLI::App* pApp, const CLI::Error& error) {
        return CLI::FailureMessage::simple(
            pApp, CLI::Error(error.get_name(), EscapeUnsafe(error.what()), error.get_exit_code()));
    });
    app.require_subcommand(0,
                           1); // a missing one is refused after the parse, so that CLI11 names an unknown one
    AddOperationCommands(app, nExit);
    AddEndpointsCommand(app, nExit);
    AddDemoCommand(app, nExit);
    AddDoctorCommand(app, nExit);
    AddStatsCommand(app, nExit);
    AddFleetCommand(app, nExit);
    AddOutboxCommand(app, nExit);
    app.set_version_flag("--version", VersionLine, "print the versions of the library and of those under it");
}

int RunCommandLine(const std::vector<std::string>& vecGiven)
{
    CLI::App app;
    int nExit = ExitSuccess;
    DescribeCommandLine(app, nExit);
    try {
        app.parse(CommandLineArguments(vecGiven));
        if (app.get_subcommands().empty()) {
            throw CLI::RequiredError("A subcommand");
        }
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? ExitSuccess : ExitUsage; // help is not an error
    }
    return nExit;
}
