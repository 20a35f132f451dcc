#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The value of an environment variable, in UTF-8; nothing when it is not set, or when rights are raised.
std::optional<std::string> EnvironmentVariable(const char* szName);

/// Whether the process has rights that the user who started it may lack: its program is set-user-id,
/// set-group-id or has capabilities. Its environment, which that user controls, is then ignored. The system
/// determines this when the program starts, and it does not change when rights are given up later. Always
/// false on Windows.
bool RightsAreRaised();

/// When rights are raised, removes a variable that some library reads without checking for them. Another
/// thread that looks up a variable at the same moment may not find it.
void RemoveVariableIfRightsAreRaised(const char* szName);

struct SNumberRange {
    std::int64_t nMin;
    std::int64_t nMax;
};

/// The decimal number that a variable holds, if it lies in the range; otherwise the default.
/// @param vecComplaints  gets a sentence about a value that can't be used
std::int64_t EnvironmentNumber(const char* szName, std::int64_t nDefault, SNumberRange range,
                               std::vector<std::string>& vecComplaints);
