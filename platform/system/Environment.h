#pragma once

#include <optional>
#include <string>

/// The value of a variable of the process's environment, in UTF-8; nothing when it is not set.
std::optional<std::string> EnvironmentVariable(const char* szName);
