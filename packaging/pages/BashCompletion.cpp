#include "BashCompletion.h"

#include <functional>
#include <sstream>

namespace
{

const char* const SCRIPT =
    R"(# Completion of NAME for bash, made from the program's own description of its command line.

# Sets what may follow a command: its commands, options, the options with a value, and those whose value is a file or
# a folder; "file" among the files means an argument.
_NAME_words()
{
    commands='' options='' valued='' files='' folders=''
    case $1 in
TABLE    esac
}

_NAME()
{
    local cur prev words cword split commands options valued files folders
    _init_completion -s -n : || return
    local command='' word before=${words[0]}
    _NAME_words ''
    for word in "${words[@]:1:cword-1}"; do
        if [[ " $valued " != *" $before "* && " $commands " == *" $word "* ]]; then
            command="$command $word"
            _NAME_words "$command"
        fi
        before=$word
    done
    if [[ " $files " == *" $prev "* ]]; then
        _filedir
    elif [[ " $folders " == *" $prev "* ]]; then
        _filedir -d
    elif [[ $split == true || " $valued " == *" $prev "* ]]; then
        return # a value that nobody can guess
    elif [[ $cur == -* || ( -z $commands && " $files " != *' file '* ) ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
    elif [[ -n $commands ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$cur")
    else
        _filedir
    fi
} &&
    complete -F _NAME NAME
)";

/// The names of the options that a condition selects, with blanks between them.
std::string Names(const Command& command, const std::function<bool(const CommandOption&)>& fnTakes)
{
    std::string strNames;
    for (const CommandOption& option : command.vecOptions) {
        if (fnTakes(option)) {
            for (const std::string& strName : option.vecNames) {
                strNames += (strNames.empty() ? "" : " ") + strName;
            }
            strNames += option.IsArgument() ? (strNames.empty() ? "file" : " file") : "";
        }
    }
    return strNames;
}

void WriteRows(std::ostream& out, const std::string& strPath, const Command& command)
{
    std::string strCommands;
    for (const Command& below : command.vecCommands) {
        strCommands += (strCommands.empty() ? "" : " ") + below.strName;
    }
    const auto bNamed = [](const CommandOption& option) { return !option.IsArgument(); };
    const auto bValued = [](const CommandOption& option) {
        return !option.IsArgument() && !option.strValue.empty();
    };
    out << "        '" << strPath << "')\n";
    out << "            commands='" << strCommands << "'\n";
    out << "            options='" << Names(command, bNamed) << "'\n";
    out << "            valued='" << Names(command, bValued) << "'\n";
    out << "            files='" << Names(command, std::mem_fn(&CommandOption::TakesFile)) << "'\n";
    out << "            folders='" << Names(command, std::mem_fn(&CommandOption::TakesFolder)) << "'\n";
    out << "            ;;\n";
    for (const Command& below : command.vecCommands) {
        WriteRows(out, strPath + " " + below.strName, below);
    }
}

void ReplaceAll(std::string& strText, const std::string& strOld, const std::string& strNew)
{
    for (std::size_t n = strText.find(strOld); n != std::string::npos;
         n = strText.find(strOld, n + strNew.size())) {
        strText.replace(n, strOld.size(), strNew);
    }
}

} // namespace

std::string BashCompletion(const Command& program)
{
    std::ostringstream rows;
    WriteRows(rows, "", program);
    std::string strScript = SCRIPT;
    ReplaceAll(strScript, "NAME", program.strName);
    ReplaceAll(strScript, "TABLE", rows.str());
    return strScript;
}
