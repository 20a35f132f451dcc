#pragma once

#include <CLI/CLI.hpp>

// The subcommands of "outbox", each in a file of its own: AddStatusCommand in StatusCommand.cpp; "requeue"
// and "drop" together in LetterCommands.cpp. Each sets nExit to the exit status after it has run.

void AddStatusCommand(CLI::App& parent, int& nExit);
void AddListCommand(CLI::App& parent, int& nExit);
void AddShowCommand(CLI::App& parent, int& nExit);
void AddVerifyCommand(CLI::App& parent, int& nExit);
void AddLetterCommands(CLI::App& parent, int& nExit);
void AddDrainCommand(CLI::App& parent, int& nExit);
