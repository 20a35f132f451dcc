// A replacement of libclog that does nothing, for the test of ./dev abi: its binary interface is that of
// libclog.

#include <ktshttpagent/clog.h>

void Log_Write(int, const std::string&, int, const char*, ...) {}

const char* Log_Folder()
{
    return "";
}
