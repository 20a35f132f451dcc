#include "FleetCommand.h"

#include "FleetOutput.h"
#include "FleetRun.h"

#include "AgentSession.h"
#include "CommandOptions.h"
#include "Exchange.h"
#include "NumberText.h"

#include "platform/system/Terminal.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/KtsMetrics.h>

#include <iostream>
#include <memory>

namespace
{

constexpr double LOWEST_RATE = 1e-6;
constexpr double HIGHEST_RATE = 1e6;
constexpr std::int64_t MOST_CHANNELS = 10'000'000;

/// What the command line asks for.
struct FleetCall {
    ServerAddress server;
    FleetPlan plan;
    int nPatience = 70; ///< seconds; the transport's own time-out is 60 s
    bool bJson = false;
};

/// Takes how the reports ended from the figures of the library, which knows the causes.
void AddOutcomes(FleetResult& result)
{
    for (const SKtsRequestMetrics& metrics : KtsMetrics().vecRequests) { // this process sends nothing else
        result.nNo = static_cast<std::int64_t>(metrics.nRefused);
        for (std::size_t nCause = 0; nCause < metrics.arFailed.size(); ++nCause) {
            if (metrics.arFailed.at(nCause) > 0) {
                result.mapFailed[KtsFailureName(static_cast<EKtsFailure>(nCause))] =
                    static_cast<std::int64_t>(metrics.arFailed.at(nCause));
            }
        }
    }
}

FleetResult Run(const FleetCall& call)
{
    FleetResult result;
    result.plan = call.plan;
    result.nPlanned = CountReports(call.plan);
    const EndSignals ends; // before the transport's threads
    const bool bShown = IsTerminal(stderr);
    FleetRun run(ends, [bShown](int nSecond, const FleetFigures& figures) {
        if (bShown) {
            std::cerr << FleetLine(nSecond, figures) << std::endl;
        }
    });
    {
        const AgentSession session(call.server.optTls); // its end is that of the reports without an answer
        VelCSDK::IVelClientSDk& client = *VelCSDK::SDKFactory::GetInstance();
        result.strUrl = BaseUrl(call.server, IsTlsOn(KtsSettingsInForce()));
        client.SetServerUrl(result.strUrl);
        result.bComplete = run.Send(client, call.plan, std::chrono::seconds(call.nPatience));
    }
    result.figures = run.Figures();
    AddOutcomes(result);
    return result;
}

int RunFleet(const FleetCall& call)
{
    // A proxy would get the load as well, or instead. libcurl reads this when the first request is sent.
    qputenv("no_proxy", "*");
    const FleetResult result = Run(call);
    std::cout << (call.bJson ? JsonOf(result) + '\n' : TableOf(result)) << std::flush;
    return result.IsAllYes() ? ExitSuccess : ExitNo;
}

void AddRate(CLI::App& command, FleetPlan& plan)
{
    const auto fnSet = [&plan](const std::string& strText) {
        if (!ParseNumber(strText, plan.dRate, LOWEST_RATE) || plan.dRate > HIGHEST_RATE) {
            throw CLI::ValidationError("--rate",
                                       "'" + strText + "': must be a number from 0.000001 to 1000000");
        }
    };
    command
        .add_option_function<std::string>("--rate", fnSet,
                                          "reports per second of each channel; by default 0.1")
        ->type_name("NUMBER");
}

void AddPlan(CLI::App& command, FleetPlan& plan)
{
    AddInteger(
        command, "--hosts", "how many hosts to simulate; by default 1000",
        [&plan](int nValue) { plan.nHosts = nValue; }, 1);
    AddInteger(
        command, "--channels", "channels of each host; by default 8",
        [&plan](int nValue) { plan.nChannels = nValue; }, 1);
    AddRate(command, plan);
    AddInteger(
        command, "--seconds", "how long reports are sent; by default 10",
        [&plan](int nValue) { plan.nSeconds = nValue; }, 1);
    AddInteger(
        command, "--seed", "decides when each channel reports; by default 1",
        [&plan](int nValue) { plan.nSeed = nValue; }, 0);
}

} // namespace

void AddFleetCommand(CLI::App& app, int& nExit)
{
    CLI::App& command = *app.add_subcommand(
        "fleet", "Loads a server with the status reports of many simulated hosts, and measures its answers");
    command.footer(
        "Exit status: 0 if every report was answered yes, 1 if not, 2 for wrong usage. Ctrl+C ends the\n"
        "run and prints the result so far. Proxies are not used.");
    const auto pCall = std::make_shared<FleetCall>();
    AddServerOption(command, "--server", "the server that gets the reports", pCall->server,
                    ServerUrls::WithPath);
    AddPlan(command, pCall->plan);
    AddInteger(
        command, "--wait", "seconds to wait for the last answers; by default 70",
        [pCall](int nValue) { pCall->nPatience = nValue; }, 0);
    command.add_flag("--json", pCall->bJson, "print a JSON object");
    command.callback([pCall, &nExit] {
        if (pCall->plan.AllChannels() > MOST_CHANNELS) {
            throw CLI::ValidationError("--hosts and --channels",
                                       "more than " + std::to_string(MOST_CHANNELS) + " channels in all");
        }
        nExit = RunFleet(*pCall);
    });
}
