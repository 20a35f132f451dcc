#include "Exchange.h"
#include "FolderOption.h"
#include "Subcommands.h"

#include "platform/text/Escaping.h"

#include <iostream>
#include <memory>
#include <string>

namespace
{

int PrintVerdict(const std::string& strFolder)
{
    const std::unique_ptr<outbox::Inspection> pInspection = OpenToInspect(strFolder);
    const outbox::Verdict verdict = pInspection->Verify();
    for (const outbox::DamagedPlace& place : verdict.vecDamages) {
        std::cout << "damaged: " << EscapeUnsafe(place.strFile) << ", offset " << place.nOffset << "\n";
    }
    for (const std::string& strError : verdict.vecErrors) {
        std::cout << "not readable: " << EscapeUnsafe(strError) << "\n";
    }
    std::cout << "runs: " << verdict.nRuns << ", waiting: " << verdict.nWaiting
              << ", dead letters: " << verdict.nDead << ", damaged: " << verdict.vecDamages.size()
              << ", not readable: " << verdict.vecErrors.size()
              << "\nhalf-written when a process ended, which is no damage: " << verdict.nTorn
              << "\ndamaged pieces that were set aside before: " << pInspection->Measure().nBad << std::endl;
    return verdict.vecDamages.empty() && verdict.vecErrors.empty() ? ExitSuccess : ExitNo;
}

} // namespace

void AddVerifyCommand(CLI::App& parent, int& nExit)
{
    CLI::App& command = *parent.add_subcommand(
        "verify", "Reads everything, and names what is damaged; changes and moves nothing");
    command.footer("Exit status: 1 if anything is damaged or can't be read; otherwise 0.");
    const auto pFolder = std::make_shared<std::string>();
    AddFolderOption(command, *pFolder);
    command.callback([pFolder, &nExit] { nExit = PrintVerdict(*pFolder); });
}
