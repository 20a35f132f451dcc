#include "AgentSession.h"
#include "CommandOptions.h"
#include "Exchange.h"
#include "FolderOption.h"
#include "ProgressLine.h"
#include "SetVariable.h"
#include "Subcommands.h"

#include "outbox/OutboxSettings.h"

#include <ktshttpagent/KtsOutbox.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using SteadyClock = std::chrono::steady_clock;

constexpr int DRAIN_SECONDS = 300;
constexpr std::chrono::milliseconds LOOK_EACH{100};

struct DrainCall {
    std::string strFolder;
    std::chrono::seconds timeout{DRAIN_SECONDS};
};

/// What became of reports; counted on the outbox's threads.
struct DrainTally {
    std::atomic<std::uint64_t> nSent{0};
    std::atomic<std::uint64_t> nDead{0};
};

/// @throws std::runtime_error if that is impossible
void OpenOutbox(const std::string& strFolder)
{
    const bool bOpen = KtsOpenOutbox(strFolder);
    const SKtsOutboxStatus status = KtsOutboxStatus();
    if (!bOpen) {
        throw std::runtime_error(status.strWhyNotOpen);
    }
    if (status.strFolder != strFolder) {
        throw std::runtime_error("the settings of this machine name another outbox: " + status.strFolder);
    }
}

/// Waits until nothing waits any more of what this process owns, and of the runs that it found without an
/// owner. Before it has taken these over, only the second condition tells them.
void AwaitEmptiness(outbox::Inspection& inspection, const std::vector<std::string>& vecRuns,
                    SteadyClock::time_point tpEnd)
{
    while (SteadyClock::now() < tpEnd &&
           (KtsOutboxStatus().nWaiting > 0 || inspection.MeasureWaiting(vecRuns).nWaiting > 0)) {
        std::this_thread::sleep_for(LOOK_EACH);
    }
}

/// What nobody else sends. For a moment after the end of the outbox its locks may still be held, so the runs
/// that were found count in any case.
outbox::WaitingUse MeasureLeft(outbox::Inspection& inspection, const std::vector<std::string>& vecFound)
{
    const std::vector<std::string> vecNow = inspection.ListAbandoned();
    std::set<std::string> setRuns(vecFound.begin(), vecFound.end());
    setRuns.insert(vecNow.begin(), vecNow.end());
    return inspection.MeasureWaiting({setRuns.begin(), setRuns.end()});
}

int Drain(const DrainCall& call)
{
    const std::string strFolder = FolderOf(call.strFolder);
    const std::unique_ptr<outbox::Inspection> pInspection = OpenToInspect(strFolder);
    const std::vector<std::string> vecRuns = pInspection->ListAbandoned();
    const auto pTally = std::make_shared<DrainTally>();
    KtsSetOutboxObserver([pTally](const SKtsReportEnding& ending) {
        ++(ending.eEnding == EKtsReportEnding::Acknowledged ? pTally->nSent : pTally->nDead);
    });
    SetVariable(outbox::FOLDER_VARIABLE, strFolder); // wins over a profile
    {
        const AgentSession session;
        OpenOutbox(strFolder);
        const auto Progress = [pTally] {
            return std::to_string(KtsOutboxStatus().nWaiting) + " wait, " + std::to_string(pTally->nSent) +
                   " sent";
        };
        const ProgressLine progress(Progress, call.timeout);
        AwaitEmptiness(*pInspection, vecRuns, SteadyClock::now() + call.timeout);
        KtsCloseOutbox();
    }
    const outbox::WaitingUse left = MeasureLeft(*pInspection, vecRuns);
    std::cout << "sent: " << pTally->nSent << "\nnew dead letters: " << pTally->nDead
              << "\nleft: " << left.nWaiting << std::endl;
    if (!left.strWhyNot.empty()) {
        throw std::runtime_error(left.strWhyNot);
    }
    return left.nWaiting == 0 ? ExitSuccess : ExitNo;
}

} // namespace

void AddDrainCommand(CLI::App& parent, int& nExit)
{
    CLI::App& command = *parent.add_subcommand(
        "drain", "Takes over what hosts that ended have left, and sends it as a host does");
    command.footer("It ends when nothing of that waits any more. Reports of running hosts are left to them, "
                   "and not counted.\nExit status: 1 if something is left; otherwise 0.");
    const auto pCall = std::make_shared<DrainCall>();
    AddFolderOption(command, pCall->strFolder);
    AddInteger(
        command, "--timeout", "seconds after which it ends; by default " + std::to_string(DRAIN_SECONDS),
        [pCall](int nValue) { pCall->timeout = std::chrono::seconds(nValue); }, 1);
    command.callback([pCall, &nExit] { nExit = Drain(*pCall); });
}
