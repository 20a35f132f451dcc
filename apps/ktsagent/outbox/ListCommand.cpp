#include "Exchange.h"
#include "FolderOption.h"
#include "ShownReport.h"
#include "Subcommands.h"

#include "platform/text/Escaping.h"

#include <iostream>
#include <memory>
#include <optional>
#include <string>

namespace
{

struct ListCall {
    std::string strFolder;
    bool bDead = false;
    bool bJson = false;
};

/// Writes a list of reports, as JSON or as lines.
class ReportList
{
public:
    explicit ReportList(bool bJson) : m_bJson(bJson) { m_writer.StartList(); }

    void Add(const outbox::Report& report, const outbox::DeadLetter* pLetter)
    {
        if (!m_bJson) {
            std::cout << LineOf(report) << (pLetter == nullptr ? "" : "  " + CauseOf(*pLetter)) << "\n";
            return;
        }
        m_writer.StartObject();
        WriteHead(m_writer, report);
        if (pLetter != nullptr) {
            WriteCause(m_writer, *pLetter);
        }
        m_writer.EndObject();
    }

    void Print()
    {
        m_writer.EndList();
        std::cout << (m_bJson ? m_writer.Result() + "\n" : "") << std::flush;
    }

private:
    const bool m_bJson;
    JsonWriter m_writer;
};

/// @return whether all could be read
bool AddWaiting(outbox::Inspection& inspection, ReportList& list)
{
    const std::string strWhyNot = inspection.ForEachWaiting([&list](const outbox::InspectedReport& report) {
        list.Add(report.record.report, nullptr);
        return true;
    });
    if (!strWhyNot.empty()) {
        std::cerr << "ktsagent: " << EscapeUnsafe(strWhyNot) << std::endl;
    }
    return strWhyNot.empty();
}

/// @return whether all could be read
bool AddDead(const outbox::Inspection& inspection, ReportList& list)
{
    bool bAll = true;
    for (const std::string& strName : inspection.ListDead()) {
        if (const std::optional<outbox::DeadLetter> optLetter = inspection.ReadDead(strName)) {
            list.Add(optLetter->record.report, &*optLetter);
        } else {
            bAll = false;
            std::cerr << "ktsagent: the dead letter " << EscapeUnsafe(strName)
                      << " can't be read, or is damaged" << std::endl;
        }
    }
    return bAll;
}

int PrintList(const ListCall& call)
{
    const std::unique_ptr<outbox::Inspection> pInspection = OpenToInspect(call.strFolder);
    ReportList list(call.bJson);
    const bool bAll = call.bDead ? AddDead(*pInspection, list) : AddWaiting(*pInspection, list);
    list.Print();
    return bAll ? ExitSuccess : ExitNo;
}

} // namespace

void AddListCommand(CLI::App& parent, int& nExit)
{
    CLI::App& command = *parent.add_subcommand(
        "list", "A line for each report that waits: key, operation, age, size of the body, URL");
    const auto pCall = std::make_shared<ListCall>();
    AddFolderOption(command, pCall->strFolder);
    command.add_flag("--dead", pCall->bDead, "the dead letters instead, with why and when they ended");
    command.add_flag("--json", pCall->bJson, "print a JSON list");
    command.callback([pCall, &nExit] { nExit = PrintList(*pCall); });
}
