#include "LogSettings.h"

#include "platform/system/Environment.h"

#include <charconv>
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

/// Puts the variable's value into `number` when it is a decimal number from `lowest` to `highest`.
template <typename Number>
void ReadNumber(const char* szName, Number lowest, Number highest, Number& number,
                std::vector<std::string>& vecComplaints)
{
    const std::string strValue = Variable(szName);
    if (strValue.empty()) {
        return;
    }
    Number parsed{};
    const char* const pEnd = strValue.data() + strValue.size();
    const auto [pStop, error] = std::from_chars(strValue.data(), pEnd, parsed);
    if (error == std::errc() && pStop == pEnd && parsed >= lowest && parsed <= highest) {
        number = parsed;
        return;
    }
    vecComplaints.push_back(std::string(szName) + "=\"" + strValue + "\" is no number from " +
                            std::to_string(lowest) + " to " + std::to_string(highest) + "; " +
                            std::to_string(number) + " is in force");
}

} // namespace

LogSettings ReadLogSettings()
{
    LogSettings settings;
    settings.pathFolder = LogFolder();
    ReadNumber("CLOG_LEVEL", 0, 4, settings.nLevel, settings.vecComplaints);
    ReadNumber<std::size_t>("CLOG_FILE_BYTES", 1, 1'000'000'000'000, settings.nFileBytes,
                            settings.vecComplaints);
    ReadNumber<std::size_t>("CLOG_FILES", 0, 1000, settings.nFiles, settings.vecComplaints);
    return settings;
}
