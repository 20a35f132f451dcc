#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The value of a variable of the process's environment, in UTF-8; nothing when it is not set, and nothing
/// where rights are raised.
std::optional<std::string> EnvironmentVariable(const char* szName);

/// Whether the process has rights that whoever started it may lack: its program is set-user-id, set-group-id
/// or has capabilities. Its environment is then somebody else's and decides nothing. So the system says as
/// the program starts, and it stays so, whatever rights are given up later. Never on Windows.
bool RightsAreRaised();

/// Where rights are raised, removes a variable that a library reads without asking whether they are. Another
/// thread that looks for a variable at the same moment may miss it.
void RemoveVariableIfRightsAreRaised(const char* szName);

struct SNumberRange {
    std::int64_t nMin;
    std::int64_t nMax;
};

/// The decimal number that a variable holds, if it lies in the range; or else the default.
/// @param vecComplaints  gets a sentence about a value that can't be used
std::int64_t EnvironmentNumber(const char* szName, std::int64_t nDefault, SNumberRange range,
                               std::vector<std::string>& vecComplaints);
