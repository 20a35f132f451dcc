#pragma once

#include <CLI/CLI.hpp>

/// Adds the subcommand that prints the figures that a host writes to a file.
/// @param nExit  set to the exit status after the subcommand has run; must outlive the parse
void AddStatsCommand(CLI::App& app, int& nExit);
