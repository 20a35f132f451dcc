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

#include <QCoreApplication>
#include <QLoggingCategory>

#include <CLI/CLI.hpp>

#if defined(Q_OS_WIN)
#include <windows.h>
#endif

#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace
{

/// The program's name and its arguments in UTF-8.
std::vector<std::string> GivenArguments([[maybe_unused]] int argc, [[maybe_unused]] char** argv)
{
#if defined(Q_OS_WIN)
    std::vector<std::string> vecGiven; // argv has a code page that may lack some letters
    for (const QString& strArgument : QCoreApplication::arguments()) {
        vecGiven.push_back(strArgument.toStdString());
    }
    return vecGiven;
#else
    return {argv, argv + argc};
#endif
}

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

QtMessageHandler g_fnPrintMessage = nullptr; ///< Qt's own

/// Prints a log line of the agent or of Qt, escaped because it may contain text from a server.
void PrintMessage(QtMsgType eType, const QMessageLogContext& context, const QString& strMessage)
{
    g_fnPrintMessage(eType, context, QString::fromStdString(EscapeUnsafe(strMessage.toStdString())));
}

int RunCommandLine(int argc, char** argv)
{
    CLI::App app("Talks to a laboratory server through the agent, as a host does.", "ktsagent");
    app.footer(
        "Exit status: 0 success, 1 the server said no or the exchange failed, 2 wrong usage, 3 no answer "
        "in time; \"doctor\" has others of its own.\nA value that begins with \"-\" is written "
        "--option=-value.");
    // Escaped, because the message repeats arguments.
    app.failure_message([](const CLI::App* pApp, const CLI::Error& error) {
        return CLI::FailureMessage::simple(
            pApp, CLI::Error(error.get_name(), EscapeUnsafe(error.what()), error.get_exit_code()));
    });
    app.require_subcommand(0, 1); // a missing subcommand is refused below, so that CLI11 names an unknown one
    int nExit = ExitSuccess;
    AddOperationCommands(app, nExit);
    AddEndpointsCommand(app, nExit);
    AddDemoCommand(app, nExit);
    AddDoctorCommand(app, nExit);
    AddStatsCommand(app, nExit);
    AddFleetCommand(app, nExit);
    AddOutboxCommand(app, nExit);
    app.set_version_flag("--version", VersionLine, "print the versions of the library and of those under it");
    try {
        app.parse(CommandLineArguments(GivenArguments(argc, argv)));
        if (app.get_subcommands().empty()) {
            throw CLI::RequiredError("A subcommand");
        }
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? ExitSuccess : ExitUsage; // help is not an error
    }
    return nExit;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
#if defined(Q_OS_WIN)
    ::SetConsoleOutputCP(CP_UTF8);
#endif
    g_fnPrintMessage = qInstallMessageHandler(&PrintMessage);
    // The user of a command does not need the agent's debug lines. QT_LOGGING_RULES overrides this.
    QLoggingCategory::setFilterRules("ktshttpagent.reply.debug=false");
    try {
        return RunCommandLine(argc, argv);
    } catch (const std::exception& e) {
        std::cerr << "ktsagent: " << EscapeUnsafe(e.what()) << std::endl;
        return ExitNo;
    }
}
