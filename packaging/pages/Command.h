#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
}

/// What a user may write on a command line, as the program itself describes it.

/// An option, or an argument without a name of its own.
struct CommandOption {
    std::vector<std::string> vecNames; ///< with their dashes, short ones first; none for an argument
    std::string strValue;              ///< what stands for its value in texts; empty if it has none
    std::string strRange;              ///< as in "1 - 9"; empty if the description tells none
    std::string strDefault;            ///< empty if the description tells none
    std::string strHelp;
    std::string strGroup; ///< the heading under which the program's help lists it
    bool bRequired = false;
    bool bRepeatable = false;

    bool IsArgument() const { return vecNames.empty(); }
    bool TakesFile() const { return strValue == "FILE"; }
    bool TakesFolder() const { return strValue == "FOLDER"; }
};

/// A program or one of its commands.
struct Command {
    std::string strName;
    std::string strHelp;
    std::string strFooter; ///< without that of the program, which its commands inherit
    std::vector<CommandOption> vecOptions;
    std::vector<Command> vecCommands;
};

/// Reads a program's description, without what its help does not show.
Command Describe(const CLI::App& app);
