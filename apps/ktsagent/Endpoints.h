#pragma once

#include <CLI/CLI.hpp>

/// Adds the subcommand that prints the endpoint path in force for every request type id.
/// @param nExit  gets the exit status when the subcommand has run; must outlive the parse
void AddEndpointsCommand(CLI::App& app, int& nExit);
