#include "Stages.h"
#include "WritableFolder.h"

#include "../outbox/FolderOption.h"

#include <QFileInfo>

#include <chrono>
#include <string>

namespace
{

/// A server that is restarted is back long before.
constexpr std::chrono::minutes LONG_WAIT{15};

std::string Count(std::uint64_t nCount, const char* szOne, const char* szMore)
{
    return std::to_string(nCount) + ' ' + (nCount == 1 ? szOne : szMore);
}

std::chrono::seconds AgeOf(const outbox::WaitingUse& waiting)
{
    using namespace std::chrono;
    if (!waiting.optOldestMs) {
        return seconds(0);
    }
    const auto age = system_clock::now().time_since_epoch() - milliseconds(*waiting.optOldestMs);
    return duration_cast<seconds>(age);
}

Finding Waiting(const outbox::WaitingUse& waiting, const std::string& strFolder)
{
    const std::chrono::seconds age = AgeOf(waiting);
    std::string strSays = "In the outbox " + strFolder + ' ' +
                          Count(waiting.nWaiting, "report waits", "reports wait") + " for the server";
    if (waiting.nWaiting > 0) {
        strSays += ", the oldest for " + std::to_string(age.count()) + " s";
    }
    if (age > LONG_WAIT) {
        return {Mark::Warning, strSays + ".",
                "Mend what the stages below find; if no host runs any more, run \"ktsagent outbox drain\"."};
    }
    return {Mark::Ok, strSays + "."};
}

Findings Inspect(const std::string& strFolder)
{
    const auto pInspection = OpenToInspect(strFolder);
    const outbox::WaitingUse waiting = pInspection->MeasureWaiting();
    const outbox::FolderUse use = pInspection->Measure();
    Findings vecFindings{Waiting(waiting, strFolder)};
    if (!waiting.strWhyNot.empty()) {
        vecFindings.push_back({Mark::Failed, "Not all of it can be read: " + waiting.strWhyNot + ".",
                               "Give this user the right to read it, or look at the disk."});
    }
    if (use.nDead > 0) {
        vecFindings.push_back({Mark::Warning,
                               Count(use.nDead, "report is a dead letter", "reports are dead letters") + ".",
                               "See why with \"ktsagent outbox list --dead\", and requeue or drop them."});
    }
    if (use.nBad > 0) {
        vecFindings.push_back({Mark::Warning,
                               Count(use.nBad, "damaged piece was", "damaged pieces were") + " set aside.",
                               "Look at the disk; the pieces are in the folder \"bad\"."});
    }
    return vecFindings;
}

} // namespace

Findings CheckOutbox(Context& context)
{
    const SKtsSetting* const pSetting = FindFolderSetting(context.vecSettings);
    if (pSetting == nullptr) {
        return {{Mark::Ok, "There is no outbox: each report is sent once."}};
    }
    const std::string& strFolder = pSetting->strValue;
    const QString strPath = QString::fromStdString(strFolder);
    if (const std::string strWhy = WhyNothingCanBeMade(strPath); !strWhy.empty()) {
        return {{Mark::Failed, "The outbox in " + strFolder + " can't be used: " + strWhy + ".",
                 "Correct " + pSetting->strName + ", or let the hosts' user write there."}};
    }
    if (!QFileInfo::exists(strPath)) {
        return {
            {Mark::Ok, "The outbox's folder " + strFolder + " does not exist yet; the first host makes it."}};
    }
    try {
        return Inspect(strFolder);
    } catch (const std::runtime_error& e) {
        return {{Mark::Failed, std::string("The outbox can't be used: ") + e.what() + ".",
                 "Correct " + pSetting->strName + ": it must name a folder of its own on a local disk."}};
    }
}
