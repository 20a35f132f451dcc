#pragma once

#include <CLI/CLI.hpp>

/// Adds the subcommand that loads a server with the reports of many simulated hosts.
/// @param nExit  set to the exit status after the subcommand has run; must outlive the parse
void AddFleetCommand(CLI::App& app, int& nExit);
