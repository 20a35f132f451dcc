#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process if a rule does not hold, and so fails the current input. Unlike assert, it does so in
/// every build.
inline void Require(bool bHolds, const char* szRule)
{
    if (!bHolds) {
        std::fprintf(stderr, "broken: %s\n", szRule);
        std::abort();
    }
}
