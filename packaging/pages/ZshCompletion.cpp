#include "ZshCompletion.h"

#include <sstream>

namespace
{

/// A text within single quotes, in which some characters have a meaning for zsh's completion.
std::string Quoted(const std::string& strText, const std::string& strSpecial)
{
    std::string strQuoted;
    for (const char c : strText) {
        if (strSpecial.find(c) != std::string::npos) {
            strQuoted += '\\';
        }
        strQuoted += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return strQuoted;
}

std::string ActionOf(const CommandOption& option)
{
    return option.TakesFile() ? "_files" : option.TakesFolder() ? "_files -/" : "";
}

/// Writes one argument of _arguments for each name of an option, or one for an argument.
void WriteSpec(std::ostream& out, const CommandOption& option)
{
    const std::string strValue = Quoted(option.strValue, ":\\");
    const std::string strHelp = Quoted(option.strHelp, "[]:\\");
    if (option.IsArgument()) {
        out << " \\\n        ':" << strValue << ":" << ActionOf(option) << "'";
        return;
    }
    std::string strAll;
    for (const std::string& strName : option.vecNames) {
        strAll += (strAll.empty() ? "" : " ") + strName;
    }
    for (const std::string& strName : option.vecNames) {
        out << " \\\n        '" << (option.bRepeatable ? "*" : "(" + strAll + ")") << strName;
        out << (option.strValue.empty()       ? ""
                : strName.rfind("--", 0) == 0 ? "="
                                              : "+")
            << "[" << strHelp << "]";
        out << (option.strValue.empty() ? "" : ":" + strValue + ":" + ActionOf(option)) << "'";
    }
}

/// Writes the function of a command, after those of the commands below it.
void WriteFunction(std::ostream& out, const std::string& strFunction, const Command& command)
{
    for (const Command& below : command.vecCommands) {
        WriteFunction(out, strFunction + "_" + below.strName, below);
    }
    out << strFunction << "()\n{\n    local curcontext=$curcontext state line\n    typeset -A opt_args\n";
    if (!command.vecCommands.empty()) {
        out << "    local -a commands=(\n";
        for (const Command& below : command.vecCommands) {
            out << "        '" << below.strName << ":" << Quoted(below.strHelp, ":\\") << "'\n";
        }
        out << "    )\n";
    }
    out << "    _arguments -C";
    for (const CommandOption& option : command.vecOptions) {
        WriteSpec(out, option);
    }
    if (!command.vecCommands.empty()) {
        out << " \\\n        '1:command:{_describe -t commands command commands}'"
            << " \\\n        '*::argument:->arguments'\n"
            << "    [[ $state = arguments ]] && (( $+functions[" << strFunction << "_$line[1]] )) && "
            << strFunction << "_$line[1]";
    }
    out << "\n}\n\n";
}

} // namespace

std::string ZshCompletion(const Command& program)
{
    std::ostringstream out;
    out << "#compdef " << program.strName
        << "\n# Made from the program's own description of its command line.\n\n";
    WriteFunction(out, "_" + program.strName, program);
    out << "_" << program.strName << " \"$@\"\n";
    return out.str();
}
