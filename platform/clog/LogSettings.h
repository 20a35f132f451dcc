#pragma once

#include "platform/system/LogLevel.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

/// The settings of the log; clog.h says what they mean.
struct LogSettings {
    std::filesystem::path pathFolder; ///< absolute; empty when the environment names none
    int nLevel = DEFAULT_LOG_LEVEL;
    std::size_t nFileBytes = 5242880;
    std::size_t nFiles = 5;
    std::vector<std::string> vecComplaints; ///< a sentence for each variable whose value is not in force
};

/// Reads the settings from the environment. An invalid value leaves the default in force and is reported in
/// vecComplaints.
LogSettings ReadLogSettings();
