#pragma once

#include <CLI/CLI.hpp>

/// Adds the subcommand that starts a lab server in this process, calls every sender of the agent with it and
/// prints what came back and what the server received; then it shows what an outbox is for. It succeeds if
/// everything had the expected result.
/// @param nExit  set to the exit status after the subcommand has run; must outlive the parse
void AddDemoCommand(CLI::App& app, int& nExit);
