#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process, and so fails the input at hand, when something that must hold doesn't. In every build,
/// unlike assert.
inline void Require(bool bHolds, const char* szRule)
{
    if (!bHolds) {
        std::fprintf(stderr, "broken: %s\n", szRule);
        std::abort();
    }
}
