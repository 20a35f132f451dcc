#pragma once

#include <CLI/CLI.hpp>

/// Adds a subcommand for each operation. It sends, by the asynchronous sender or with --sync by the blocking
/// one, waits for the answer and prints it.
/// @param nExit  gets the exit status when a subcommand has run; must outlive the parse
void AddOperationCommands(CLI::App& app, int& nExit);
