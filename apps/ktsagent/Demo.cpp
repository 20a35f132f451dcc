#include "Demo.h"

#include "DemoCalls.h"
#include "DemoOutbox.h"
#include "DemoPrint.h"
#include "Verbose.h"

#include "labserver/LabServer.h"

#include <ktshttpagent/IVelClientSDk.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>
#include <numeric>

namespace
{

/// Far longer than a call to a server in the same process takes: if something does not happen within this
/// time, it never will.
constexpr int PATIENCE_MS = 20000;

/// Runs the thread's event loop until the condition is true or `PATIENCE_MS` has passed.
void WaitUntil(const std::function<bool()>& fnCondition)
{
    QElapsedTimer clock;
    clock.start();
    QEventLoop loop;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        if (fnCondition() || clock.hasExpired(PATIENCE_MS)) {
            loop.quit();
        }
    });
    timer.start(1);
    loop.exec();
}

std::vector<LabExchange> SeenSince(const LabServer& server, std::size_t nSeenBefore)
{
    const std::vector<LabExchange> vecAll = server.Exchanges();
    return {vecAll.begin() + static_cast<std::ptrdiff_t>(nSeenBefore), vecAll.end()};
}

std::string PathOf(int nId)
{
    return VelCSDK::SDKFactory::GetInstance()->GetUrl(nId);
}

bool IsAsExpected(const DemoCall& call, const Exchange& exchange, const std::vector<LabExchange>& vecSeen)
{
    if (exchange.eOutcome != call.eExpected) {
        return false;
    }
    if (call.nExpectedStatus == NO_REQUEST) {
        return vecSeen.empty();
    }
    return vecSeen.size() == 1 && vecSeen[0].nStatus == call.nExpectedStatus &&
           vecSeen[0].strTarget.rfind("/" + PathOf(IdOf(exchange)), 0) == 0;
}

/// @param bSync  whether to use the operation's blocking sender
DemoRow RunCall(const AgentSession& session, LabServer& server, const DemoCall& call, bool bSync)
{
    const Operation& operation = FindOperation(call.strOperation);
    Arguments arguments;
    arguments.server = {"127.0.0.1", server.Port()};
    arguments.strUrl = QString("http://127.0.0.1:%1/").arg(server.Port());
    call.fnFill(arguments);
    if (call.optFault) {
        LabFault fault = *call.optFault;
        fault.strPath = PathOf(bSync ? operation.optSync->nId : operation.nId);
        server.AddFault(fault);
    }

    const std::size_t nSeenBefore = server.Exchanges().size();
    const int nTimeoutMs = call.eExpected == Outcome::NoAnswerInTime ? SHORT_TIMEOUT_MS : PATIENCE_MS;
    const Exchange exchange = (bSync ? RunSync : RunAsync)(session, operation, arguments, nTimeoutMs);
    if (operation.answer.bSends) {
        WaitUntil([&] { return server.Exchanges().size() > nSeenBefore; });
    }
    const std::vector<LabExchange> vecSeen = SeenSince(server, nSeenBefore);
    return {call, exchange, vecSeen, IsAsExpected(call, exchange, vecSeen)};
}

int RunDemo(bool bJson)
{
    // The demo shows the same on every machine: it ignores the site's proxy, the site's endpoint paths, the
    // user's outbox, and the site's TLS setting, because the lab server does not support TLS.
    qputenv("no_proxy", "127.0.0.1");
    qputenv("KTSHTTPAGENT_TLS", "off");
    qunsetenv("KTSHTTPAGENT_OUTBOX");
    LabServer server;
    server.Start();
    const AgentSession session;
    VelCSDK::SDKFactory::GetInstance()->SetUrlMap({});
    std::vector<DemoRow> vecRows;
    for (const DemoCall& call : AsyncCalls()) {
        vecRows.push_back(RunCall(session, server, call, false));
    }
    for (const DemoCall& call : SyncCalls()) {
        vecRows.push_back(RunCall(session, server, call, true));
    }
    const OutboxDemo outbox = RunOutboxDemo();
    (bJson ? PrintAsJson : PrintAsTable)(vecRows, outbox);
    const bool bAsExpected =
        outbox.bAsExpected && std::all_of(vecRows.begin(), vecRows.end(), std::mem_fn(&DemoRow::bAsExpected));
    // Compares the totals too, because a request that should not have been sent may arrive after its call is
    // over.
    const std::size_t nSeen =
        std::accumulate(vecRows.begin(), vecRows.end(), std::size_t{0},
                        [](std::size_t nSum, const DemoRow& row) { return nSum + row.vecSeen.size(); });
    const bool bLate = server.Exchanges().size() != nSeen;
    if (bLate) {
        std::cerr << "ktsagent: demo: the server got a request that belongs to no call" << std::endl;
    }
    return bAsExpected && !bLate ? ExitSuccess : ExitNo;
}

} // namespace

void AddDemoCommand(CLI::App& app, int& nExit)
{
    CLI::App& command =
        *app.add_subcommand("demo", "Call every sender of the agent against a lab server in this process");
    const auto pJson = std::make_shared<bool>(false);
    command.add_flag("--json", *pJson, "print a JSON list");
    AddVerboseOption(command);
    command.callback([pJson, &nExit] { nExit = RunDemo(*pJson); });
    AddDemoHostCommand(app, nExit);
}
