#pragma once

#include "Context.h"
#include "Finding.h"

#include <vector>

/// One thing to check.
struct Stage {
    const char* szName;
    int nExit;          ///< the exit status of the program if this is the first stage that fails
    const char* szHelp; ///< what it checks
    /// Checks it; writes into the context what later stages need. May throw.
    Findings (*fnCheck)(Context& context);
};

/// All stages, from the inside of the host's machine to the server.
const std::vector<Stage>& Stages();

/// Runs a stage. An exception of it is a finding.
Findings Run(const Stage& stage, Context& context);

// The checks, each in a file of its own: CheckLibrary in LibraryStage.cpp.
Findings CheckLibrary(Context& context);
Findings CheckSettings(Context& context);
Findings CheckEnvironment(Context& context);
Findings CheckLog(Context& context);
Findings CheckOutbox(Context& context);
Findings CheckProxy(Context& context);
Findings CheckName(Context& context);
Findings CheckConnection(Context& context);
Findings CheckTls(Context& context);
Findings CheckHttp(Context& context);
Findings CheckPaths(Context& context);
Findings CheckClock(Context& context);
