#include "labserver/LabWatch.h"

#include <utility>

void LabWatch::Add(LabSeen seen)
{
    rates.Add(LabRates::Now(), seen.duration, OutcomeOf(seen) != LabOutcome::Answered);
    traffic.Add(std::move(seen));
}
