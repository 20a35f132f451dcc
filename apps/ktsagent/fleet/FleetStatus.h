#pragma once

#include "FleetSchedule.h"

#include <ktshttpagent/RequestRecords.h>

#include <chrono>
#include <string>

/// What a channel of a simulated host reports. The same report is the same in each run.
KTSStartPlugin::tagRepoChlStatusInfo StatusOf(const DueReport& report);

/// The report's tick count, `t`: microseconds from the start to the moment when it is due. The answer brings
/// it back.
std::string TickCount(const DueReport& report);

/// The moment that a tick count is. @param strTick  made by `TickCount`
std::chrono::microseconds DueAt(const std::string& strTick);
