#include "OperationCommand.h"

#include "CommandOptions.h"
#include "Exchange.h"
#include "LogFolder.h"
#include "Operations.h"
#include "ProgressLine.h"
#include "ReportFile.h"
#include "Verbose.h"

#include "platform/text/Escaping.h"

#include <ktshttpagent/KtsMetrics.h>

#include <QUrl>

#include <chrono>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>

namespace
{

/// Longer than the transport waits for a reply, so that if a server is silent, the transport's failure comes
/// first.
constexpr int DEFAULT_TIMEOUT_MS = 70000;

/// Shorter, because a blocking call blocks its caller.
constexpr int DEFAULT_SYNC_TIMEOUT_MS = 10000;

/// What the command line asks for.
struct OperationCall {
    Arguments arguments;
    std::string strFile;
    std::vector<std::pair<FieldSlot, std::string>> vecFieldTexts;
    std::optional<int> optTimeoutMs;
    bool bSync = false;
    bool bJson = false;
};

using Call = std::shared_ptr<OperationCall>;

void AddArgument(CLI::App& command, const OperationOption& option, ServerAddress& server)
{
    AddServerOption(command, option.strName, option.strHelp, server, ServerUrls::WithoutPath);
}

void AddArgument(CLI::App& command, const OperationOption& option, QString& strArgument)
{
    const auto fnSet = [&](const std::string& strText) { strArgument = QString::fromStdString(strText); };
    command.add_option_function<std::string>(option.strName, fnSet, option.strHelp)->required();
}

void AddArgument(CLI::App& command, const OperationOption& option, QStringList& lstArgument)
{
    const auto fnSet = [&](const std::vector<std::string>& vecTexts) {
        for (const std::string& strText : vecTexts) {
            lstArgument += QString::fromStdString(strText);
        }
    };
    command.add_option_function<std::vector<std::string>>(option.strName, fnSet, option.strHelp)
        ->delimiter(',')
        ->allow_extra_args(false);
}

void AddArgument(CLI::App& command, const OperationOption& option, int& nArgument)
{
    AddInteger(command, option.strName, option.strHelp, [&](int nValue) { nArgument = nValue; }).required();
}

void AddRecord(CLI::App& command, const std::vector<FieldSlot>& vecSlots, const Call& pCall)
{
    command
        .add_option("--file", pCall->strFile,
                    "JSON file with an object of the record's fields; the options below win over it")
        ->type_name("FILE");
    for (const FieldSlot& slot : vecSlots) {
        const auto fnSet = [pCall, slot](const std::string& strText) {
            pCall->vecFieldTexts.emplace_back(slot, strText);
        };
        command.add_option_function<std::string>("--" + slot.strName, fnSet, slot.strExpected)
            ->group("Fields of the record");
    }
}

void FillRecord(OperationCall& call, const std::vector<FieldSlot>& vecSlots)
{
    if (!call.strFile.empty()) {
        try {
            ReadReportFile(call.strFile, vecSlots);
        } catch (const std::runtime_error& e) {
            throw CLI::ValidationError(e.what());
        }
    }
    for (const auto& [slot, strText] : call.vecFieldTexts) {
        if (!slot.fnSet(strText)) {
            throw CLI::ValidationError("--" + slot.strName, "'" + strText + "': must be " + slot.strExpected);
        }
    }
}

void Print(const Exchange& exchange, bool bJson)
{
    if (bJson) {
        JsonWriter writer;
        WriteExchange(writer, exchange);
        std::cout << writer.Result() << std::endl;
    } else {
        TextWriter writer;
        WriteExchange(writer, exchange);
        std::cout << writer.Result() << std::flush;
    }
}

/// Prints why the one request of this process failed, in the words of the log, unless the remark says it.
void PrintCause(const OutcomeInfo& info, const std::string& strRemark)
{
    const std::string strCause = info.eExit == ExitSuccess ? "" : KtsMetrics().strLastFailure;
    if (strRemark.find(strCause) == std::string::npos) {
        std::cerr << "ktsagent: cause: " << EscapeUnsafe(strCause) << std::endl;
    }
}

/// Where the request goes, without a password.
std::string TargetOf(const Arguments& arguments)
{
    if (!arguments.server.strIp.isEmpty()) {
        return arguments.server.strIp.toStdString() + ':' + std::to_string(arguments.server.nPort);
    }
    return QUrl(arguments.strUrl).authority().section('@', -1).toStdString();
}

Exchange RunWithProgress(const AgentSession& session, const Operation& operation, OperationCall& call,
                         int nTimeoutMs)
{
    const ProgressLine progress("waiting for " + TargetOf(call.arguments),
                                std::chrono::milliseconds(nTimeoutMs));
    return (call.bSync ? RunSync : RunAsync)(session, operation, call.arguments, nTimeoutMs);
}

int RunCall(const Operation& operation, OperationCall& call)
{
    if (operation.fnRecord) {
        FillRecord(call, operation.fnRecord(call.arguments));
    }
    const AgentSession session(call.arguments.server.optTls);
    const int nTimeoutMs =
        call.optTimeoutMs.value_or(call.bSync ? DEFAULT_SYNC_TIMEOUT_MS : DEFAULT_TIMEOUT_MS);
    const Exchange exchange = RunWithProgress(session, operation, call, nTimeoutMs);
    Print(exchange, call.bJson);
    const OutcomeInfo& info = InfoOf(exchange.eOutcome);
    const std::string strRemark = RemarkOf(exchange);
    PrintCause(info, strRemark);
    if (!strRemark.empty()) {
        const bool bLogged = info.bLogged && !exchange.optBlocking;
        const std::string strLog = bLogged ? WhereTheLogIs().toStdString() : "";
        std::cerr << "ktsagent: " << operation.strName << ": " << EscapeUnsafe(strRemark + strLog)
                  << std::endl;
    }
    return info.eExit;
}

void AddSync(CLI::App& command, const Operation& operation, OperationCall& call)
{
    const bool bOnlyBlocking = !operation.fnSend;
    call.bSync = bOnlyBlocking;
    command.add_flag("--sync", call.bSync,
                     bOnlyBlocking ? "call the blocking sender; always so, there is no other"
                                   : "call the blocking sender and print what it returns");
    if (!operation.optSync->bEverTrue) {
        command.footer(command.get_footer() +
                       "\nWith --sync the exit status is never 0, since no reply counts as a success here.");
    }
}

void AddTimeout(CLI::App& command, const Operation& operation, OperationCall& call)
{
    std::string strHelp = "milliseconds to wait for an answer, where there is one";
    if (operation.answer.signal) {
        strHelp += "; by default " + std::to_string(DEFAULT_TIMEOUT_MS);
    }
    if (operation.optSync) {
        strHelp += "; with --sync by default " + std::to_string(DEFAULT_SYNC_TIMEOUT_MS);
    }
    AddInteger(
        command, "--timeout", strHelp, [&](int nValue) { call.optTimeoutMs = nValue; }, 1);
}

void AddOperationCommand(CLI::App& app, const Operation& operation, int& nExit)
{
    CLI::App& command = *app.add_subcommand(operation.strName, operation.strHelp);
    const auto pCall = std::make_shared<OperationCall>();
    for (const OperationOption& option : operation.vecOptions) {
        std::visit([&](auto pArgument) { AddArgument(command, option, pCall->arguments.*pArgument); },
                   option.pArgument);
    }
    if (operation.fnRecord) {
        AddRecord(command, operation.fnRecord(pCall->arguments), pCall);
    }
    if (operation.optSync) {
        AddSync(command, operation, *pCall);
    }
    AddTimeout(command, operation, *pCall);
    command.add_flag("--json", pCall->bJson, "print one JSON object");
    AddVerboseOption(command);
    command.callback([&operation, pCall, &nExit] { nExit = RunCall(operation, *pCall); });
}

} // namespace

void AddOperationCommands(CLI::App& app, int& nExit)
{
    for (const Operation& operation : Operations()) {
        AddOperationCommand(app, operation, nExit);
    }
}
