#include "DoctorCommand.h"

#include "AgentSession.h"
#include "CommandOptions.h"
#include "DoctorReport.h"
#include "Exchange.h"
#include "ProgressLine.h"
#include "Verbose.h"
#include "WithoutOutbox.h"

#include "platform/text/Escaping.h"

#include <QElapsedTimer>

#include <iostream>
#include <memory>

namespace
{

/// What the command line asks for.
struct DoctorCall {
    ServerAddress server;
    std::vector<std::string> vecPaths;
    int nTimeoutMs = 5000;
    bool bJson = false;
};

Context ContextOf(const DoctorCall& call)
{
    Context context;
    context.server = call.server;
    context.timeout = std::chrono::milliseconds(call.nTimeoutMs);
    context.vecPaths = call.vecPaths.empty() ? QueryPaths() : ChosenPaths(call.vecPaths);
    context.vecSettings = KtsSettingsInForce();
    context.vecProfiles = KtsProfiles();
    context.strBaseUrl = BaseUrl(call.server, IsTlsOn(context.vecSettings));
    return context;
}

StageReport RunTimed(const Stage& stage, Context& context)
{
    QElapsedTimer clock;
    clock.start();
    const ProgressLine progress(std::string("stage ") + stage.szName, context.timeout);
    Findings vecFindings = Run(stage, context);
    return {&stage, std::move(vecFindings), clock.elapsed()};
}

/// A session without an outbox: only queries are to be sent.
std::unique_ptr<AgentSession> OpenSession(const DoctorCall& call)
{
    const WithoutOutbox withoutOutbox;
    return std::make_unique<AgentSession>(call.server.optTls);
}

int RunDoctor(const DoctorCall& call)
{
    const std::unique_ptr<AgentSession> pSession = OpenSession(call);
    Context context = ContextOf(call);
    if (!call.bJson) {
        std::cout << "ktsagent doctor " << EscapeUnsafe(context.strBaseUrl) << "\n\n" << std::flush;
    }
    std::vector<StageReport> vecReports;
    for (const Stage& stage : Stages()) {
        vecReports.push_back(RunTimed(stage, context));
        if (!call.bJson) {
            std::cout << TextOf(vecReports.back()) << std::flush;
        }
    }
    const Stage* const pFailed = FirstFailed(vecReports);
    const int nExit = pFailed == nullptr ? ExitSuccess : pFailed->nExit;
    if (call.bJson) {
        std::cout << JsonOf(context, vecReports) << std::endl;
    } else if (pFailed == nullptr) {
        std::cout << "\nNothing failed." << std::endl;
    } else {
        std::cout << "\nThe first stage that failed is \"" << pFailed->szName << "\" (exit status " << nExit
                  << ")." << std::endl;
    }
    return nExit;
}

std::string Footer()
{
    std::string strFooter =
        "Exit status: 0 if nothing failed, 2 for wrong usage, otherwise by the first stage that "
        "failed:\n";
    for (const Stage& stage : Stages()) {
        strFooter += "  " + std::to_string(stage.nExit) + "  " + stage.szName + ": " + stage.szHelp + "\n";
    }
    return strFooter + "Only queries are sent, never a report; each is printed.";
}

} // namespace

void AddDoctorCommand(CLI::App& app, int& nExit)
{
    CLI::App& command = *app.add_subcommand(
        "doctor", "Finds out why a host and a server do not talk to each other, from the inside out");
    command.footer(Footer());
    const auto pCall = std::make_shared<DoctorCall>();
    AddServerOption(command, "--server", "the server that hosts use; https://HOST:PORT with TLS",
                    pCall->server, ServerUrls::WithPath);
    const auto fnPaths = [pCall](const std::vector<std::string>& vecNames) {
        try {
            ChosenPaths(vecNames);
        } catch (const std::invalid_argument& e) {
            throw CLI::ValidationError("--paths", e.what());
        }
        pCall->vecPaths = vecNames;
    };
    command
        .add_option_function<std::vector<std::string>>(
            "--paths", fnPaths, "which queries to send, by their operations, with commas; by default all")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("OPERATION,...");
    AddInteger(
        command, "--timeout", "milliseconds that each stage may wait; by default 5000",
        [pCall](int nValue) { pCall->nTimeoutMs = nValue; }, 1);
    command.add_flag("--json", pCall->bJson, "print one JSON object");
    AddVerboseOption(command);
    command.callback([pCall, &nExit] { nExit = RunDoctor(*pCall); });
}
