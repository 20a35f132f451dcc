#include "FleetRun.h"

#include "FleetStatus.h"

#include <algorithm>
#include <utility>

FleetRun::FleetRun(const EndSignals& ends, ShowFunction fnShow) : m_ends(ends), m_fnShow(std::move(fnShow)) {}

bool FleetRun::Send(VelCSDK::IVelClientSDk& client, const FleetPlan& plan, std::chrono::seconds patience)
{
    constexpr std::chrono::milliseconds LOOK{10};
    FleetSchedule schedule(plan);
    client.SetResponseCallBack(
        [this](int /*nType*/, const void* pContext, const void* /*pHeader*/, int nCode) {
            OnAnswer(*static_cast<const std::string*>(pContext), nCode);
        });
    m_tpStart = Clock::now();
    while (const auto optReport = schedule.Next()) {
        if (!WaitUntil(m_tpStart + optReport->due)) {
            return false;
        }
        SendOne(client, *optReport);
    }
    const Clock::time_point tpEnd = Clock::now() + patience;
    while (Figures().Outstanding() > 0 && Clock::now() < tpEnd) {
        if (!WaitUntil(Clock::now() + LOOK)) {
            return false;
        }
    }
    return true;
}

/// Waits, and shows the progress meanwhile. If the moment has passed, only looks for a signal.
/// @return false if a signal came
bool FleetRun::WaitUntil(Clock::time_point tpEnd)
{
    for (;;) {
        const Clock::time_point tpNow = Clock::now();
        const Clock::time_point tpSecond = m_tpStart + std::chrono::seconds(m_nSecond + 1);
        const auto wait = std::max(std::min(tpEnd, tpSecond) - tpNow, Clock::duration(0));
        if (m_ends.WaitFor(wait)) {
            return false;
        }
        if (Clock::now() >= tpSecond) {
            m_fnShow(++m_nSecond, Figures());
        }
        if (Clock::now() >= tpEnd) {
            return true;
        }
    }
}

void FleetRun::SendOne(VelCSDK::IVelClientSDk& client, const DueReport& report)
{
    KTSStartPlugin::tagRepoChlStatusInfo status = StatusOf(report);
    m_tally.NoteSent(Clock::now() - (m_tpStart + report.due)); // before the answer can come
    client.ReportChlStatus(TickCount(report), status);
}

void FleetRun::OnAnswer(const std::string& strTick, int nCode)
{
    m_tally.NoteEnded(Clock::now() - (m_tpStart + DueAt(strTick)), nCode == 0);
}
