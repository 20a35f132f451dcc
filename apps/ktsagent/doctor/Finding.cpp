#include "Finding.h"

#include <algorithm>
#include <array>

const char* WordOf(Mark eMark)
{
    static constexpr std::array WORDS{"ok", "skipped", "warning", "FAILED"};
    return WORDS.at(static_cast<std::size_t>(eMark));
}

Mark WorstOf(const Findings& vecFindings)
{
    Mark eWorst = Mark::Ok;
    for (const Finding& finding : vecFindings) {
        eWorst = std::max(eWorst, finding.eMark);
    }
    return eWorst;
}
