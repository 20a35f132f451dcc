#pragma once

#include "FleetSchedule.h"
#include "FleetTally.h"

#include <cstdint>
#include <map>
#include <string>

/// The result of a fleet's run.
struct FleetResult {
    FleetPlan plan;
    std::string strUrl;        ///< of the server
    std::int64_t nPlanned = 0; ///< how many reports the plan has
    bool bComplete = true;     ///< whether no signal ended the run early
    FleetFigures figures;
    std::int64_t nNo = 0;                          ///< reports that the server answered with a no
    std::map<std::string, std::int64_t> mapFailed; ///< the others, by the name of the cause

    /// Whether each report that was sent got a yes, and any was.
    bool IsAllYes() const { return figures.nSent > 0 && figures.nYes == figures.nSent; }
};

/// One line about the run so far.
std::string FleetLine(int nSecond, const FleetFigures& figures);

/// The result for people, several lines.
std::string TableOf(const FleetResult& result);

/// The result as a JSON object on one line.
std::string JsonOf(const FleetResult& result);
