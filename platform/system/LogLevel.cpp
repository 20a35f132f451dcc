#include "LogLevel.h"

#include "Environment.h"

int LogLevelOfEnvironment()
{
    std::vector<std::string> vecComplaints;
    return EnvironmentNumber("CLOG_LEVEL", DEFAULT_LOG_LEVEL, {0, 4}, vecComplaints);
}
