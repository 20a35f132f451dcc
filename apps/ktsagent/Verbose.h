#pragma once

#include <ktshttpagent/KtsTrace.h>

#include <CLI/CLI.hpp>

#include <string_view>

/// Adds `--verbose`, which prints each exchange of the command on standard error.
void AddVerboseOption(CLI::App& command);

/// Whether the user asked for that.
bool IsVerbose();

/// Prints a part of an exchange that the command makes without the library, if the user asked for that.
void ShowPart(EKtsTrace ePart, std::string_view strBytes, const void* pExchange);
