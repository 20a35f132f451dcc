#pragma once

#include "Folder.h"

#include <string>
#include <vector>

namespace outbox
{

/// What became of dead letters that were to wait again.
struct Requeued {
    std::vector<std::string> vecDone;     ///< names of the letters whose reports wait again
    std::vector<std::string> vecFailures; ///< why the others don't: "NAME: REASON"
};

/// Makes the reports of dead letters wait again, with their old keys, in a new run that hosts take over, and
/// removes the letters. A letter is removed only when its report is on the disk in that run: whenever the
/// process is killed or the power fails, each report is there once, or twice under the same key.
/// @param vecNames  file names, in the order in which the reports are to be sent
Requeued Requeue(Folder& folder, const std::vector<std::string>& vecNames);

} // namespace outbox
