#pragma once

#include "ServerAddress.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <limits>
#include <string>

/// Adds an option with an integer value. CLI11's own conversion would read an empty text as 0.
/// @param strName  with its dashes; further names after commas
CLI::Option& AddInteger(CLI::App& command, const std::string& strName, const std::string& strHelp,
                        std::function<void(int)> fnTake, int nMin = std::numeric_limits<int>::min());

/// Which URLs a command takes for a server.
enum class ServerUrls {
    WithoutPath, ///< only the server itself
    WithPath,    ///< also a folder on it
};

/// Adds the option that names the server, which the command requires.
/// @param server  where its value is put; must outlive the parse
void AddServerOption(CLI::App& command, const std::string& strName, const std::string& strHelp,
                     ServerAddress& server, ServerUrls eUrls);
