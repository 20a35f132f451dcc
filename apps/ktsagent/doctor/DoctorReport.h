#pragma once

#include "Stages.h"

#include <cstdint>
#include <string>
#include <vector>

/// A stage and what it found.
struct StageReport {
    const Stage* pStage;
    Findings vecFindings;
    std::int64_t nMilliseconds;
};

/// The first stage that failed; null if none did.
const Stage* FirstFailed(const std::vector<StageReport>& vecReports);

/// One stage for users: a line for each finding, and one for what to do about it.
std::string TextOf(const StageReport& report);

/// All stages as one JSON object.
std::string JsonOf(const Context& context, const std::vector<StageReport>& vecReports);
