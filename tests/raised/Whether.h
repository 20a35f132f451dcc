#pragma once

#include <cstdio>
#include <cstdlib>

#include <sys/auxv.h>

/// Prints whether the system takes this program for one with raised rights.
inline void PrintWhether()
{
    std::puts(::getauxval(AT_SECURE) != 0 ? "raised" : "as usual");
}

/// Ends the program without what sanitizers do then, which the system does not let such a program do.
[[noreturn]] inline void Leave()
{
    std::fflush(stdout);
    std::_Exit(0);
}
