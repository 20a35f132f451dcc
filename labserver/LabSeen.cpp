#include "labserver/LabSeen.h"

LabOutcome OutcomeOf(const LabSeen& seen)
{
    if (!seen.optFault) {
        return seen.nStatus < 400 ? LabOutcome::Answered : LabOutcome::Refused;
    }
    switch (seen.optFault->eKind) {
    case LabFaultKind::Truncate:
        return LabOutcome::Truncated;
    case LabFaultKind::Reset:
        return LabOutcome::Reset;
    case LabFaultKind::Silence:
        return LabOutcome::Silence;
    case LabFaultKind::Delay:
    case LabFaultKind::Reply:
        break;
    }
    return LabOutcome::Fault;
}

const char* NameOf(LabOutcome eOutcome)
{
    switch (eOutcome) {
    case LabOutcome::Answered:
        return "answered";
    case LabOutcome::Refused:
        return "refused";
    case LabOutcome::Fault:
        return "fault";
    case LabOutcome::Truncated:
        return "truncated";
    case LabOutcome::Reset:
        return "reset";
    case LabOutcome::Silence:
        return "silence";
    }
    return "";
}
