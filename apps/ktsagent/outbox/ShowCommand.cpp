#include "Exchange.h"
#include "FolderOption.h"
#include "ShownReport.h"
#include "Subcommands.h"

#include "platform/system/Terminal.h"
#include "platform/text/Escaping.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

namespace
{

struct ShowCall {
    std::string strFolder;
    std::string strKey;
    bool bJson = false;
};

struct FoundReport {
    outbox::Report report;
    std::optional<outbox::DeadLetter> optLetter; ///< nothing if it waits
};

std::optional<FoundReport> Find(outbox::Inspection& inspection, const std::string& strKey)
{
    std::optional<FoundReport> optFound;
    const std::string strWhyNot = inspection.ForEachWaiting([&](const outbox::InspectedReport& report) {
        if (report.record.report.strKey == strKey) {
            optFound = FoundReport{report.record.report, std::nullopt};
        }
        return !optFound;
    });
    if (!strWhyNot.empty()) {
        std::cerr << "ktsagent: " << EscapeUnsafe(strWhyNot) << std::endl;
    }
    const auto vecNames = optFound ? std::vector<std::string>() : inspection.ListDead();
    for (const std::string& strName : vecNames) {
        std::optional<outbox::DeadLetter> optLetter = inspection.ReadDead(strName);
        if (optLetter && optLetter->record.report.strKey == strKey) {
            return FoundReport{optLetter->record.report, optLetter};
        }
    }
    return optFound;
}

void WriteAll(ValueWriter& writer, const FoundReport& found, bool bBody)
{
    writer.StartObject();
    WriteHead(writer, found.report);
    writer.Key("waiting");
    writer.Bool(!found.optLetter);
    if (found.optLetter) {
        WriteCause(writer, *found.optLetter);
    }
    if (bBody) {
        writer.Key("body");
        writer.Text(found.report.strBody);
    }
    writer.EndObject();
}

/// On a terminal everything is escaped. Elsewhere the body is printed byte for byte, without a line end.
void PrintBody(const std::string& strBody)
{
    std::cout << std::flush;
    if (IsTerminal(stdout)) {
        std::cout << EscapeUnsafe(strBody) << std::endl;
        return;
    }
#if defined(_WIN32)
    ::_setmode(::_fileno(stdout), _O_BINARY);
#endif
    std::cout << strBody << std::flush;
}

int PrintReport(const ShowCall& call)
{
    const std::unique_ptr<outbox::Inspection> pInspection = OpenToInspect(call.strFolder);
    const std::optional<FoundReport> optFound = Find(*pInspection, call.strKey);
    if (!optFound) {
        std::cerr << "ktsagent: no report has the key " << EscapeUnsafe(call.strKey) << std::endl;
        return ExitNo;
    }
    if (call.bJson) {
        JsonWriter writer;
        WriteAll(writer, *optFound, true);
        std::cout << writer.Result() << std::endl;
        return ExitSuccess;
    }
    TextWriter writer;
    WriteAll(writer, *optFound, false);
    std::cout << writer.Result() << "\n";
    PrintBody(optFound->report.strBody);
    return ExitSuccess;
}

} // namespace

void AddShowCommand(CLI::App& parent, int& nExit)
{
    CLI::App& command = *parent.add_subcommand("show", "One report that waits or is dead, with its body");
    command.footer("Behind an empty line the body follows: escaped on a terminal, otherwise byte for byte.");
    const auto pCall = std::make_shared<ShowCall>();
    AddFolderOption(command, pCall->strFolder);
    command.add_option("KEY", pCall->strKey, "the report's key, as \"list\" prints it")->required();
    command.add_flag("--json", pCall->bJson, "print one JSON object");
    command.callback([pCall, &nExit] { nExit = PrintReport(*pCall); });
}
