#pragma once

#include "FleetSchedule.h"
#include "FleetTally.h"

#include "platform/system/EndSignals.h"

#include <ktshttpagent/IVelClientSDk.h>

#include <chrono>
#include <functional>
#include <string>

/// Sends the reports of a fleet, each at the moment when it is due, whether or not earlier ones were
/// answered.
class FleetRun
{
public:
    using Clock = std::chrono::steady_clock;

    /// Shows how far a run is: the seconds since its start, and the figures so far.
    using ShowFunction = std::function<void(int, const FleetFigures&)>;

    /// @param ends    a signal ends the run early
    /// @param fnShow  called once a second
    FleetRun(const EndSignals& ends, ShowFunction fnShow);

    /// Sends all reports of a plan, then waits for the answers. Call it once.
    /// @param client    has its server; gets this object's response callback, so it must end before the
    /// object is
    ///                  destroyed
    /// @param patience  how long to wait for answers after the last report
    /// @return whether the run was not ended early
    bool Send(VelCSDK::IVelClientSDk& client, const FleetPlan& plan, std::chrono::seconds patience);

    /// The figures so far. May be called from any thread.
    FleetFigures Figures() const { return m_tally.Figures(); }

private:
    bool WaitUntil(Clock::time_point tpEnd);
    void SendOne(VelCSDK::IVelClientSDk& client, const DueReport& report);
    void OnAnswer(const std::string& strTick, int nCode);

    const EndSignals& m_ends;
    const ShowFunction m_fnShow;
    Clock::time_point m_tpStart; ///< set before the first report is sent
    int m_nSecond = 0;           ///< the latest one that was shown
    FleetTally m_tally;
};
