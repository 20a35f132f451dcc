#include "Exchange.h"
#include "FolderOption.h"
#include "Subcommands.h"

#include "platform/text/Escaping.h"

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace
{

struct LetterCall {
    std::string strFolder;
    std::string strKey;
    bool bAll = false;
    bool bYes = false;
};

void Complain(const std::string& strText)
{
    std::cerr << "ktsagent: " << EscapeUnsafe(strText) << std::endl;
}

/// @throws CLI::ValidationError if the call does not say which letters are meant
void CheckWhich(const LetterCall& call)
{
    if (call.bAll == !call.strKey.empty()) {
        throw CLI::ValidationError("KEY", "name either a key or --all");
    }
}

/// The file names of the letters that are meant. A damaged letter, which has no key, is meant only if its own
/// file name is given: a host may be writing it.
std::vector<std::string> Chosen(const outbox::Inspection& inspection, const LetterCall& call)
{
    std::vector<std::string> vecChosen;
    for (const std::string& strName : inspection.ListDead()) {
        const std::optional<outbox::DeadLetter> optLetter = inspection.ReadDead(strName);
        const bool bNamed = strName == call.strKey;
        if (bNamed || (optLetter && (call.bAll || optLetter->record.report.strKey == call.strKey))) {
            vecChosen.push_back(strName);
        } else if (!optLetter && call.bAll) {
            Complain("left out, because it can't be read or is damaged: " + strName);
        }
    }
    if (vecChosen.empty() && !call.bAll) {
        Complain("no dead letter has the key " + call.strKey);
    }
    return vecChosen;
}

int RequeueLetters(const LetterCall& call)
{
    const std::unique_ptr<outbox::Inspection> pInspection = OpenToInspect(call.strFolder);
    const std::vector<std::string> vecChosen = Chosen(*pInspection, call);
    const outbox::Requeued requeued = pInspection->Requeue(vecChosen);
    for (const std::string& strFailure : requeued.vecFailures) {
        Complain(strFailure);
    }
    std::cout << "requeued: " << requeued.vecDone.size() << std::endl;
    return requeued.vecFailures.empty() && (call.bAll || !vecChosen.empty()) ? ExitSuccess : ExitNo;
}

int DropLetters(const LetterCall& call)
{
    const std::unique_ptr<outbox::Inspection> pInspection = OpenToInspect(call.strFolder);
    const std::vector<std::string> vecChosen = Chosen(*pInspection, call);
    std::size_t nDropped = 0;
    for (const std::string& strName : vecChosen) {
        const std::string strWhyNot = pInspection->DropDead(strName);
        nDropped += strWhyNot.empty() ? 1 : 0;
        if (!strWhyNot.empty()) {
            Complain(std::string(strName).append(": ").append(strWhyNot));
        }
    }
    std::cout << "dropped: " << nDropped << std::endl;
    return nDropped == vecChosen.size() && (call.bAll || nDropped > 0) ? ExitSuccess : ExitNo;
}

CLI::App& AddLetterCommand(CLI::App& parent, const char* szName, const char* szHelp,
                           const std::shared_ptr<LetterCall>& pCall)
{
    CLI::App& command = *parent.add_subcommand(szName, szHelp);
    AddFolderOption(command, pCall->strFolder);
    command.add_option("KEY", pCall->strKey, "the report's key, as \"list --dead\" prints it");
    command.add_flag("--all", pCall->bAll, "all dead letters, parked ones included");
    return command;
}

} // namespace

void AddLetterCommands(CLI::App& parent, int& nExit)
{
    const auto pRequeue = std::make_shared<LetterCall>();
    CLI::App& requeue = AddLetterCommand(parent, "requeue",
                                         "Puts dead letters back into the queue, with their keys", pRequeue);
    requeue.footer("The next host that looks takes them over; a running one does so within 30 seconds.");
    requeue.callback([pRequeue, &nExit] {
        CheckWhich(*pRequeue);
        nExit = RequeueLetters(*pRequeue);
    });

    const auto pDrop = std::make_shared<LetterCall>();
    CLI::App& drop = AddLetterCommand(parent, "drop", "Removes dead letters for good", pDrop);
    drop.footer("What waits is never dropped.\nA damaged letter has no key; its file name stands for it.");
    drop.add_flag("--yes", pDrop->bYes, "needed with --all");
    drop.callback([pDrop, &nExit] {
        CheckWhich(*pDrop);
        if (pDrop->bAll && !pDrop->bYes) {
            throw CLI::ValidationError("--all", "removes every dead letter for good: add --yes");
        }
        nExit = DropLetters(*pDrop);
    });
}
