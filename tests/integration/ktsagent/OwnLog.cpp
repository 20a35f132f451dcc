// A log with which a site may replace ours: it has only the function that the library calls.

#include <ktshttpagent/clog.h>

#include <cstdio>

void Log_Write(int /*level*/, const std::string& where, int line, const char* /*format*/, ...)
{
    static_cast<void>(std::fprintf(stderr, "a log of the site's own: %s:%d\n", where.c_str(), line));
}
