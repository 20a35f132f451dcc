#pragma once

#include <unistd.h>

#include <cstddef>
#include <fstream>

/// The bytes of this process that are in memory.
inline double ResidentBytes()
{
    std::ifstream file("/proc/self/statm");
    double fTotalPages = 0;
    double fResidentPages = 0;
    file >> fTotalPages >> fResidentPages;
    return fResidentPages * static_cast<double>(::sysconf(_SC_PAGESIZE));
}
