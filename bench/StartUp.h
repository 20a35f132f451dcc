#pragma once

#include <string>

/// What a host needs until it can send its first request.
struct StartUpCosts {
    double fMilliseconds = 0; ///< since its process was started
    double fResidentBytes = 0;
};

/// Starts a host that prints its resident bytes as soon as it is ready, and lets it end.
/// @throws std::runtime_error if it can't be started, or prints nothing
StartUpCosts MeasureStartUp(const std::string& strProgram);
