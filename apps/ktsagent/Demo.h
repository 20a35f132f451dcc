#pragma once

#include <CLI/CLI.hpp>

/// Adds the subcommand that starts a lab server in this process, calls every sender of the agent against it
/// and prints what came back and what the server saw. It succeeds exactly when every call went as expected.
/// @param nExit  gets the exit status when the subcommand has run; must outlive the parse
void AddDemoCommand(CLI::App& app, int& nExit);
