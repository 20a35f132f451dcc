#include "LogSettings.h"

#include "platform/system/Environment.h"

#include <system_error>

namespace
{

/// @return the variable's value, empty when it is not set
std::string Variable(const char* szName)
{
    return EnvironmentVariable(szName).value_or("");
}

/// The variable's value, which is UTF-8, as a path.
std::filesystem::path PathVariable(const char* szName)
{
    return std::filesystem::u8path(Variable(szName));
}

/// @return the folder below which this user's programs keep their logs; empty when the environment names none
std::filesystem::path StateFolder()
{
#if defined(_WIN32)
    return PathVariable("LOCALAPPDATA");
#else
    // By the convention that defines this variable, a relative path in it is ignored.
    std::filesystem::path pathState = PathVariable("XDG_STATE_HOME");
    if (pathState.is_absolute()) {
        return pathState;
    }
    const std::filesystem::path pathHome = PathVariable("HOME");
    return pathHome.empty() ? pathHome : pathHome / ".local" / "state";
#endif
}

std::filesystem::path LogFolder()
{
    if (RightsAreRaised()) {
        // Found without the environment, and under no ordinary user's control. In a user's home, a symbolic
        // link could lead a host with raised rights anywhere.
        return "/var/log/ktshttpagent";
    }
    const std::filesystem::path pathNamed = PathVariable("CLOG_DIR");
    if (!pathNamed.empty()) {
        std::error_code error;
        const std::filesystem::path pathAbsolute = std::filesystem::absolute(pathNamed, error);
        return error ? pathNamed : pathAbsolute;
    }
    std::filesystem::path pathState = StateFolder();
    return pathState.empty() ? pathState : pathState / "ktshttpagent";
}

/// Puts the variable's value into `number` when it is a decimal number of the range. An empty value is none.
template <typename Number>
void ReadNumber(const char* szName, NumberRange range, Number& number,
                std::vector<std::string>& vecComplaints)
{
    constexpr ComplaintWords WORDS{"=\"", "\" is no number from ", " is in force"};
    if (!Variable(szName).empty()) {
        number = EnvironmentNumber(szName, number, range, vecComplaints, WORDS);
    }
}

} // namespace

LogSettings ReadLogSettings()
{
    LogSettings settings;
    settings.pathFolder = LogFolder();
    ReadNumber("CLOG_LEVEL", {0, 4}, settings.nLevel, settings.vecComplaints);
    ReadNumber("CLOG_FILE_BYTES", {1, 1'000'000'000'000}, settings.nFileBytes, settings.vecComplaints);
    ReadNumber("CLOG_FILES", {0, 1000}, settings.nFiles, settings.vecComplaints);
    return settings;
}
