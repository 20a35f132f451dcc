#pragma once

#include <CLI/CLI.hpp>

/// Adds the subcommand for operators, which looks into an outbox and works on it.
/// @param nExit  set to the exit status after the subcommand has run; must outlive the parse
void AddOutboxCommand(CLI::App& app, int& nExit);
