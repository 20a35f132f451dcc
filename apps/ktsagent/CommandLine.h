#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
}

/// Describes the program and all of its commands, and thereby how the command line is parsed.
/// @param nExit  the exit status, which the command that ran sets; must outlive the parse
void DescribeCommandLine(CLI::App& app, int& nExit);

/// Parses the command line and runs its command.
/// @param vecGiven  the program's name and its arguments in UTF-8
/// @return the exit status
int RunCommandLine(const std::vector<std::string>& vecGiven);
