#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

/// The last part of the demo: what became of the reports of a host that was killed while the server was away.
struct OutboxDemo {
    int nReports = 0;                  ///< that the host was given
    int nArrived = 0;                  ///< that the server has
    int nTwice = 0;                    ///< that the server got more than once
    std::vector<std::string> vecSteps; ///< what happened, in plain words
    bool bAsExpected = false;
};

/// Starts a host with an outbox while its server is away, kills it, starts another one and then the server.
/// The hosts are processes of this program; everything that they store is in a temporary folder.
OutboxDemo RunOutboxDemo();

/// Adds the subcommand of these hosts, which the help does not mention.
/// @param nExit  set to the exit status after the subcommand has run; must outlive the parse
void AddDemoHostCommand(CLI::App& app, int& nExit);
