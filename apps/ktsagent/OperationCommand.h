#pragma once

#include <CLI/CLI.hpp>

/// Adds a subcommand for each operation. It calls the asynchronous sender, or with --sync the blocking one,
/// waits for the answer and prints it.
/// @param nExit  set to the exit status after a subcommand has run; must outlive the parse
void AddOperationCommands(CLI::App& app, int& nExit);
