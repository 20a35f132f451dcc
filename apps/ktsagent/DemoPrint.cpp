#include "DemoPrint.h"

#include "platform/text/Escaping.h"

#include <algorithm>
#include <functional>
#include <iomanip>
#include <iostream>
#include <string>

namespace
{

std::string Verdict(const DemoRow& row)
{
    const OutcomeInfo& info = InfoOf(row.exchange.eOutcome);
    if (!row.bAsExpected) {
        return std::string("NOT AS EXPECTED: ") + info.szWord;
    }
    if (info.eOutcome == Outcome::NoAnswerInTime) {
        return "time-out, as intended";
    }
    // A call that never succeeds did not fail on purpose.
    const bool bIntended = info.eExit != ExitSuccess && info.eOutcome != Outcome::NeverTrue;
    return bIntended ? "no, as intended" : info.szWord;
}

/// The operation as it is written on a command line.
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

const char* OutboxVerdict(const OutboxDemo& outbox)
{
    return outbox.bAsExpected ? "no report lost, none twice" : "NOT AS EXPECTED";
}

void WriteOutbox(ValueWriter& writer, const OutboxDemo& outbox)
{
    writer.StartObject();
    writer.Key("operation");
    writer.Text("outbox");
    writer.Key("reports");
    writer.Integer(outbox.nReports);
    writer.Key("arrived");
    writer.Integer(outbox.nArrived);
    writer.Key("twice");
    writer.Integer(outbox.nTwice);
    writer.Key("verdict");
    writer.Text(OutboxVerdict(outbox));
    writer.Key("asExpected");
    writer.Bool(outbox.bAsExpected);
    writer.EndObject();
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

} // namespace

void PrintAsJson(const std::vector<DemoRow>& vecRows, const OutboxDemo& outbox)
{
    JsonWriter writer;
    writer.StartList();
    for (const DemoRow& row : vecRows) {
        WriteRow(writer, row);
    }
    WriteOutbox(writer, outbox);
    writer.EndList();
    std::cout << writer.Result() << std::endl;
}

void PrintAsTable(const std::vector<DemoRow>& vecRows, const OutboxDemo& outbox)
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
    std::cout << "outbox                        " << OutboxVerdict(outbox) << "\n";
    for (const std::string& strStep : outbox.vecSteps) {
        std::cout << "    " << strStep << "\n";
    }
    std::cout << vecRows.size() << " calls and the outbox, " << nAsExpected + (outbox.bAsExpected ? 1 : 0)
              << " as expected" << std::endl;
}
