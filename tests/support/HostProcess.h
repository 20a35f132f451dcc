#pragma once

#include <string>
#include <vector>

/// How a host program ended, and what it printed.
struct Departure {
    bool bInTime = false;
    int nStatus = -1; ///< 0 after success; else as reported by waitpid or GetExitCodeProcess
    std::vector<std::string> vecLines;
};

/// Runs a host program to its end; it is killed after 120 s. It has ended when no process holds its standard
/// output any more, including children that it left running.
Departure Watch(const std::string& strProgram, std::vector<std::string> vecArguments);
