#pragma once

#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

/// Whether a stream goes to a terminal, where a person may read along.
inline bool IsTerminal(std::FILE* pStream)
{
#if defined(_WIN32)
    return ::_isatty(::_fileno(pStream)) != 0;
#else
    return ::isatty(::fileno(pStream)) != 0;
#endif
}
