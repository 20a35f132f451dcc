#include "CommandOptions.h"
#include "Exchange.h"
#include "FolderOption.h"
#include "ShownReport.h"
#include "Subcommands.h"
#include "ValueWriter.h"

#include "platform/text/Escaping.h"

#include <iostream>
#include <memory>
#include <optional>
#include <string>

namespace
{

/// How old the oldest report may be. A server that is restarted is back long before, and a backlog of an hour
/// with a report a second is sent in two minutes.
constexpr int MOST_SECONDS = 900;

struct StatusCall {
    std::string strFolder;
    int nMaxAge = MOST_SECONDS;
    bool bJson = false;
};

/// What is known about an outbox without its hosts.
struct OutboxFacts {
    std::string strFolder;
    outbox::WaitingUse waiting;
    outbox::FolderUse use;
    std::optional<std::int64_t> optOldestSeconds;
    bool bWell = false;
};

OutboxFacts Ask(const StatusCall& call)
{
    OutboxFacts facts;
    facts.strFolder = FolderOf(call.strFolder);
    const std::unique_ptr<outbox::Inspection> pInspection = OpenToInspect(call.strFolder);
    facts.waiting = pInspection->MeasureWaiting();
    facts.use = pInspection->Measure();
    if (facts.waiting.optOldestMs) {
        facts.optOldestSeconds = SecondsSince(*facts.waiting.optOldestMs);
    }
    facts.bWell = facts.use.nDead == 0 && facts.optOldestSeconds.value_or(0) <= call.nMaxAge &&
                  facts.waiting.strWhyNot.empty();
    return facts;
}

void PrintFactsAsJson(const OutboxFacts& facts)
{
    JsonWriter writer;
    const auto Count = [&writer](const char* szName, std::uint64_t nCount) {
        writer.Key(szName);
        writer.Integer(static_cast<std::int64_t>(nCount));
    };
    writer.StartObject();
    writer.Key("folder");
    writer.Text(facts.strFolder);
    Count("waiting", facts.waiting.nWaiting);
    Count("bytes", facts.use.nBytes);
    writer.Key("oldestSeconds");
    facts.optOldestSeconds ? writer.Integer(*facts.optOldestSeconds) : writer.Null();
    Count("dead", facts.use.nDead);
    Count("bad", facts.use.nBad);
    for (const char* szUnknown : {"unprotected", "lastError"}) {
        writer.Key(szUnknown);
        writer.Null();
    }
    writer.Key("well");
    writer.Bool(facts.bWell);
    writer.EndObject();
    std::cout << writer.Result() << std::endl;
}

void PrintFacts(const OutboxFacts& facts)
{
    std::cout << "waiting: " << facts.waiting.nWaiting;
    if (facts.optOldestSeconds) {
        std::cout << ", the oldest for " << *facts.optOldestSeconds << " s";
    }
    std::cout << "\ndead letters, parked ones included: " << facts.use.nDead
              << "\ndamaged pieces that were set aside: " << facts.use.nBad
              << "\nbytes of the folder's files: " << facts.use.nBytes
              << "\nOnly the running host knows how many reports were sent unprotected, and what last went "
                 "wrong with storing."
              << std::endl;
}

int PrintStatus(const StatusCall& call)
{
    const OutboxFacts facts = Ask(call);
    (call.bJson ? PrintFactsAsJson : PrintFacts)(facts);
    if (!facts.waiting.strWhyNot.empty()) {
        std::cerr << "ktsagent: " << EscapeUnsafe(facts.waiting.strWhyNot) << std::endl;
    }
    return facts.bWell ? ExitSuccess : ExitNo;
}

} // namespace

void AddStatusCommand(CLI::App& parent, int& nExit)
{
    CLI::App& command = *parent.add_subcommand("status", "How much waits, how long, and what is dead");
    command.footer("Exit status: 1 if there are dead letters, if the oldest report waits for too long, or if "
                   "something can't be read; otherwise 0.");
    const auto pCall = std::make_shared<StatusCall>();
    AddFolderOption(command, pCall->strFolder);
    AddInteger(
        command, "--max-age",
        "seconds that the oldest report may wait; by default " + std::to_string(MOST_SECONDS),
        [pCall](int nValue) { pCall->nMaxAge = nValue; }, 0);
    command.add_flag("--json", pCall->bJson, "print one JSON object");
    command.callback([pCall, &nExit] { nExit = PrintStatus(*pCall); });
}
