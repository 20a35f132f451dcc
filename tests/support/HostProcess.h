#pragma once

#include <string>
#include <vector>

/// How a host program ended, and what it printed.
struct Departure {
    bool bInTime = false;
    int nStatus = -1; ///< 0 after success; else as the system reports it, waitpid or GetExitCodeProcess
    std::vector<std::string> vecLines;
};

/// Runs a host program to its end; one that does not come to it within 120 s is killed. The end is where
/// nobody holds its standard output any more, the children that it left included.
Departure Watch(const std::string& strProgram, std::vector<std::string> vecArguments);
