// A log as a site may put it in the place of ours: it has what the library calls, and no more.

#include <ktshttpagent/clog.h>

#include <cstdio>

void Log_Write(int /*level*/, const std::string& where, int line, const char* /*format*/, ...)
{
    static_cast<void>(std::fprintf(stderr, "a log of the site's own: %s:%d\n", where.c_str(), line));
}
