#pragma once

#include <string>

/// What it takes a host until it can send its first request.
struct StartUpCosts {
    double fMilliseconds = 0; ///< since its process was made
    double fResidentBytes = 0;
};

/// Starts a host that prints its resident bytes as soon as it is ready, and lets it end.
/// @throws std::runtime_error when it can't be started, or says nothing
StartUpCosts MeasureStartUp(const std::string& strProgram);
