#include "Demo.h"

#include "Exchange.h"

#include "labserver/LabServer.h"
#include "platform/text/Escaping.h"

#include <ktshttpagent/IVelClientSDk.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <iomanip>
#include <iostream>
#include <memory>
#include <numeric>
#include <optional>

namespace
{

/// Far more than a call to a server in the same process takes, so whoever waits this long waits in vain.
constexpr int PATIENCE_MS = 20000;

/// The patience of a call that is to run into its time-out.
constexpr int SHORT_TIMEOUT_MS = 300;

/// The expected status of a call that sends nothing.
constexpr int NO_REQUEST = 0;

/// One call of the demo and what is to come of it.
struct DemoCall {
    std::string strOperation;
    std::function<void(Arguments&)> fnFill; ///< the arguments beside the server's address
    EOutcome eExpected;
    int nExpectedStatus; ///< the server's HTTP status; `NO_REQUEST` when none is to arrive
    std::optional<LabFault> optFault = std::nullopt; ///< what is to befall it; the path is that of the call
};

struct DemoRow {
    DemoCall call;
    Exchange exchange;
    std::vector<LabExchange> vecSeen; ///< what the server saw of the call
    bool bAsExpected;
};

void FillChlStatus(Arguments& a)
{
    a.t = "1.1.0";
    KTSStartPlugin::tagRepoChlStatusInfo& info = a.chlStatus;
    info.PEXAVer = "1.1.0";
    info.action = "start";
    info.action_desc = "Cycle life test started";
    info.backup_dir = "/data/backup/KTS-0007";
    info.box = "1";
    info.chl = "2"; // the third channel: reported counted from 1
    info.com = "2.1";
    info.current = 1.5;
    info.deviceId = "KTS-0007";
    info.disch_capacity = 3.17;
    info.disch_retention = 98.6;
    info.dxtm = "CELL-0001";
    info.stepStatus = "running";
    info.ver = "1.1.0";
    info.voltage = 3.65;
    info.wtNumId = 1201;
    info.xmNameId = 107;
}

void FillChannelCheck(Arguments& a)
{
    a.channelCheck = {1201, 107, "CELL-0001", "KTS-0007", "8", "cycle life"};
}

void FillSharedBarcode(Arguments& a)
{
    a.dxtm = "CELL-0099";
}

void FillTestData(Arguments& a)
{
    a.batteryTestData = {"S1", "B2405-17", "R-12", "3.21", "3.17", "3.65", "2024-05-17 08:30:00"};
}

void FillCycle(Arguments& a)
{
    a.strData = R"({"dxtm":"CELL-0001","cycle":1})";
}

void FillStep(Arguments& a)
{
    a.strData = R"({"dxtm":"CELL-0001","step":1})";
}

LabFault BadGateway()
{
    LabFault fault;
    fault.eKind = LabFaultKind::Reply;
    fault.nStatus = 502;
    fault.strBody = "<html><body><h1>502 Bad Gateway</h1></body></html>";
    fault.strContentType = "text/html";
    return fault;
}

/// Far slower than whoever waits for `SHORT_TIMEOUT_MS`.
LabFault SlowServer()
{
    LabFault fault;
    fault.nDelayMs = 800;
    return fault;
}

/// Every asynchronous sender once, in the order of the ids, and then two calls that are meant to fail.
std::vector<DemoCall> AsyncCalls()
{
    using Args = Arguments;
    return {
        {"user-info", [](Args& a) { a.userId = 7; }, EOutcome::Success, 200},
        {"report-chl-status", FillChlStatus, EOutcome::Success, 200},
        {"report-incubator",
         [](Args& a) {
             a.incubatorStatus = {"INC-01", true, 25.5F};
         },
         EOutcome::Success, 200},
        {"projects",
         [](Args& a) {
             a.dxtmList = QStringList{"CELL-0001", "CELL-0002"};
             a.t = "1.1.0";
         },
         EOutcome::Success, 200},
        {"support-ver", [](Args& a) { a.t = "1.1.0"; }, EOutcome::Success, 200},
        {"batt-status", [](Args& a) { a.t = "1.1.0"; }, EOutcome::Success, 200},
        {"auto-export",
         [](Args& a) {
             a.bjtzser = "B01";
             a.csxmser = "C02";
             a.dxtm = "CELL-0001";
         },
         EOutcome::Success, 200},
        {"ftp-path",
         [](Args& a) {
             a.bjtzser = "B01";
             a.csxmser = "C03";
             a.supplier = "Harbour Storage";
             a.batteryStatus = "2";
         },
         EOutcome::Success, 200},
        {"channel-up-down", [](Args&) {}, EOutcome::NothingSent, NO_REQUEST},
        {"channel-check", FillChannelCheck, EOutcome::Success, 200},
        {"in-common", FillSharedBarcode, EOutcome::Success, 200},
        {"cdlx-files", [](Args& a) { a.dxtmList = QStringList{"CELL-0001"}; }, EOutcome::NothingSent,
         NO_REQUEST},
        {"upload-data", FillTestData, EOutcome::Sent, 200},
        {"report-cycle", FillCycle, EOutcome::Sent, 200},
        {"report-step", FillStep, EOutcome::Sent, 200},
        {"support-ver", [](Args& a) { a.t = "0.9.0"; }, EOutcome::RefusedOrFailed, 200},
        {"batt-status", [](Args& a) { a.t = "1.1.0"; }, EOutcome::RefusedOrFailed, 502, BadGateway()},
    };
}

/// Every blocking sender once. The one that is to run into its time-out is none of the reports, which pause
/// when they fail.
std::vector<DemoCall> SyncCalls()
{
    return {
        {"channel-check", FillChannelCheck, EOutcome::Success, 200},
        {"in-common", FillSharedBarcode, EOutcome::NoAnswerInTime, 200, SlowServer()},
        {"upload-data", FillTestData, EOutcome::NeverTrue, 200},
        {"report-cycle", FillCycle, EOutcome::Success, 200},
        {"report-step", FillStep, EOutcome::Success, 200},
        {"report-step-orn", FillStep, EOutcome::Success, 200},
    };
}

/// Runs the thread's event loop until the condition holds or patience is at its end.
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

/// @param bSync  whether by the operation's blocking sender
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
    const int nTimeoutMs = call.eExpected == EOutcome::NoAnswerInTime ? SHORT_TIMEOUT_MS : PATIENCE_MS;
    const Exchange exchange = (bSync ? RunSync : RunAsync)(session, operation, arguments, nTimeoutMs);
    if (operation.answer.bSends) {
        WaitUntil([&] { return server.Exchanges().size() > nSeenBefore; });
    }
    const std::vector<LabExchange> vecSeen = SeenSince(server, nSeenBefore);
    return {call, exchange, vecSeen, IsAsExpected(call, exchange, vecSeen)};
}

std::string Verdict(const DemoRow& row)
{
    const OutcomeInfo& info = InfoOf(row.exchange.eOutcome);
    if (!row.bAsExpected) {
        return std::string("NOT AS EXPECTED: ") + info.szWord;
    }
    if (info.eOutcome == EOutcome::NoAnswerInTime) {
        return "time-out, as intended";
    }
    // What never succeeds needs no intention to fail.
    const bool bIntended = info.eExit != ExitSuccess && info.eOutcome != EOutcome::NeverTrue;
    return bIntended ? "no, as intended" : info.szWord;
}

/// The operation as it stands on a command line.
std::string Title(const DemoRow& row)
{
    return row.call.strOperation + (row.exchange.optBlocking ? " --sync" : "");
}

void WriteSeen(ValueWriter& writer, const LabExchange& seen)
{
    writer.StartObject();
    writer.Key("method");
    writer.Text(seen.strMethod);
    writer.Key("target");
    writer.Text(seen.strTarget);
    writer.Key("body");
    writer.Text(seen.strBody);
    writer.Key("status");
    writer.Integer(seen.nStatus);
    writer.Key("reply");
    writer.Text(seen.strReply);
    writer.EndObject();
}

void WriteRow(ValueWriter& writer, const DemoRow& row)
{
    writer.StartObject();
    WriteExchangeMembers(writer, row.exchange);
    writer.Key("verdict");
    writer.Text(Verdict(row));
    writer.Key("asExpected");
    writer.Bool(row.bAsExpected);
    writer.Key("server");
    writer.StartList();
    for (const LabExchange& seen : row.vecSeen) {
        WriteSeen(writer, seen);
    }
    writer.EndList();
    writer.EndObject();
}

void PrintJson(const std::vector<DemoRow>& vecRows)
{
    JsonWriter writer;
    writer.StartList();
    for (const DemoRow& row : vecRows) {
        WriteRow(writer, row);
    }
    writer.EndList();
    std::cout << writer.Result() << std::endl;
}

void PrintColumns(const std::string& strOperation, const std::string& strId, const std::string& strOutcome,
                  const std::string& strMilliseconds)
{
    std::cout << std::left << std::setw(24) << strOperation << std::setw(6) << strId << std::setw(36)
              << strOutcome << std::right << std::setw(4) << strMilliseconds << "\n";
}

/// The client's JSON bodies end in a line feed.
std::string WithoutLineFeed(const std::string& strText)
{
    return strText.substr(0, strText.find_last_not_of('\n') + 1);
}

void PrintSeen(const LabExchange& seen)
{
    std::cout << "    server  " << EscapeUnsafe(seen.strMethod + " " + seen.strTarget) << "\n";
    if (!seen.strBody.empty()) {
        std::cout << "      got   " << EscapeUnsafe(WithoutLineFeed(seen.strBody)) << "\n";
    }
    std::cout << "      said  " << seen.nStatus << " " << EscapeUnsafe(WithoutLineFeed(seen.strReply))
              << "\n";
}

void PrintTable(const std::vector<DemoRow>& vecRows)
{
    PrintColumns("operation", "id", "outcome", "ms");
    for (const DemoRow& row : vecRows) {
        PrintColumns(Title(row), std::to_string(IdOf(row.exchange)), Verdict(row),
                     std::to_string(row.exchange.nMilliseconds));
        if (row.exchange.optAnswer) {
            JsonWriter answer;
            WriteAnswer(answer, row.exchange.optAnswer);
            std::cout << "    " << AnswerKind(row.exchange) << "  " << answer.Result() << "\n";
        }
        for (const LabExchange& seen : row.vecSeen) {
            PrintSeen(seen);
        }
    }
    const auto nAsExpected =
        std::count_if(vecRows.begin(), vecRows.end(), std::mem_fn(&DemoRow::bAsExpected));
    std::cout << vecRows.size() << " calls, " << nAsExpected << " as expected" << std::endl;
}

int RunDemo(bool bJson)
{
    // The demo shows the same on every machine: past the site's proxy, without the site's TLS, which the lab
    // server does not speak, and without the site's endpoint paths.
    qputenv("no_proxy", "127.0.0.1");
    qputenv("KTSHTTPAGENT_TLS", "off");
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
    (bJson ? PrintJson : PrintTable)(vecRows);
    const bool bAsExpected = std::all_of(vecRows.begin(), vecRows.end(), std::mem_fn(&DemoRow::bAsExpected));
    // A request that should not have been sent may arrive after its call is over.
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
    command.callback([pJson, &nExit] { nExit = RunDemo(*pJson); });
}
