#pragma once

#include <string>
#include <vector>

/// How good or bad a finding is; the worst one of a stage is the stage's.
enum class Mark { Ok, Skipped, Warning, Failed };

/// What a check found out.
struct Finding {
    Mark eMark;
    std::string strSays;      ///< one sentence: what holds, or what does not
    std::string strToDo = {}; ///< one sentence: what to do about it; empty if nothing is to be done
};

using Findings = std::vector<Finding>;

/// The word for a mark: "ok", "skipped", "warning" or "FAILED".
const char* WordOf(Mark eMark);

/// The worst mark of some findings.
Mark WorstOf(const Findings& vecFindings);
