#pragma once

#include <CLI/CLI.hpp>

/// Adds the subcommand that prints the current endpoint path of every request type id.
/// @param nExit  set to the exit status after the subcommand has run; must outlive the parse
void AddEndpointsCommand(CLI::App& app, int& nExit);
