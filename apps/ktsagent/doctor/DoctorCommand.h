#pragma once

#include <CLI/CLI.hpp>

/// Adds the subcommand that finds out why a host and a server do not talk to each other.
/// @param nExit  set to the exit status after the subcommand has run; must outlive the parse
void AddDoctorCommand(CLI::App& app, int& nExit);
