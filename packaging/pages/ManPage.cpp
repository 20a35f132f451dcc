#include "ManPage.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace
{

/// A text as roff prints it.
std::string Text(const std::string& strText)
{
    std::string strRoff;
    for (const char c : strText) {
        if (c == '\\') {
            strRoff += "\\e";
        } else if (c == '-') {
            strRoff += "\\-"; // a dash that a user may copy into a shell
        } else if (strRoff.empty() && (c == '.' || c == '\'')) {
            strRoff += std::string("\\&") + c;
        } else {
            strRoff += c;
        }
    }
    return strRoff;
}

std::string Bold(const std::string& strText)
{
    return "\\fB" + Text(strText) + "\\fR";
}

std::string Italic(const std::string& strText)
{
    return "\\fI" + Text(strText) + "\\fR";
}

std::string Upper(std::string strText)
{
    std::transform(strText.begin(), strText.end(), strText.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return strText;
}

bool EndsASentence(const std::string& strText)
{
    return !strText.empty() && std::string(".:;?!").find(strText.back()) != std::string::npos;
}

/// A short description as a sentence.
std::string Sentence(const std::string& strText)
{
    return Text(Upper(strText.substr(0, 1)) + strText.substr(1)) + (EndsASentence(strText) ? "" : ".");
}

/// How an option is written: its names, and what stands for its value.
std::string Spelling(const CommandOption& option)
{
    std::string strSpelling;
    for (const std::string& strName : option.vecNames) {
        strSpelling += (strSpelling.empty() ? "" : ", ") + Bold(strName);
    }
    if (option.strValue.empty()) {
        return strSpelling;
    }
    return strSpelling + (strSpelling.empty() ? "" : " ") + Italic(option.strValue);
}

void WriteOption(std::ostream& out, const CommandOption& option)
{
    std::string strHelp = option.strHelp;
    if (!option.strRange.empty()) {
        strHelp += "; " + option.strRange;
    }
    if (!option.strDefault.empty()) {
        strHelp += "; by default " + option.strDefault;
    }
    if (option.bRequired) {
        strHelp += "; required";
    }
    out << ".TP\n" << Spelling(option) << '\n' << Sentence(strHelp) << '\n';
}

/// The options under their headings; those without a heading of their own come first.
void WriteOptions(std::ostream& out, const Command& command)
{
    std::string strHeading = "Options";
    for (const CommandOption& option : command.vecOptions) {
        if (option.strGroup != strHeading) {
            strHeading = option.strGroup;
            out << ".PP\n" << Text(strHeading) << ":\n";
        }
        WriteOption(out, option);
    }
}

/// Text whose lines stand by themselves, except for one that goes on where the line before it was full.
void WriteLines(std::ostream& out, const std::string& strText)
{
    std::istringstream lines(strText);
    std::string strBefore;
    for (std::string strLine; std::getline(lines, strLine);) {
        const bool bInTable = strLine[0] == ' ';
        if (!strBefore.empty() && (bInTable || strBefore[0] == ' ' || EndsASentence(strBefore))) {
            out << (bInTable && strBefore[0] == ' ' ? ".br\n" : ".PP\n");
        }
        out << Text(strLine.substr(strLine.find_first_not_of(' '))) << '\n';
        strBefore = strLine;
    }
}

/// How the command is called: what it requires, and that there is more.
std::string Usage(const std::string& strPath, const Command& command)
{
    std::string strUsage = Bold(strPath);
    std::string strArguments;
    for (const CommandOption& option : command.vecOptions) {
        if (option.IsArgument()) {
            strArguments += " " + (option.bRequired ? Spelling(option) : "[" + Spelling(option) + "]");
        } else if (option.bRequired) {
            strUsage += " " + Bold(option.vecNames.back()) + " " + Italic(option.strValue);
        }
    }
    return strUsage + " [" + Italic("options") + "]" + strArguments;
}

void WriteCommand(std::ostream& out, const std::string& strPath, const Command& command)
{
    if (command.vecCommands.empty()) {
        out << ".SS " << Text(strPath) << '\n' << Usage(strPath, command) << "\n.PP\n";
        out << Sentence(command.strHelp) << '\n';
        WriteOptions(out, command);
        if (!command.strFooter.empty()) {
            out << ".PP\n";
            WriteLines(out, command.strFooter);
        }
    }
    for (const Command& below : command.vecCommands) {
        WriteCommand(out, strPath + " " + below.strName, below);
    }
}

void WriteHead(std::ostream& out, const Command& program, const ManPageFacts& facts)
{
    const std::string strHelp = program.strHelp.substr(0, program.strHelp.find('.'));
    out << ".\\\" Made from the program's own description of its command line.\n";
    out << ".TH " << Text(Upper(program.strName)) << " 1 " << facts.strDate << " \"ktshttpagent "
        << facts.strVersion << "\" \"User Commands\"\n";
    out << ".SH NAME\n" << Text(program.strName) << " \\- " << Text(strHelp) << '\n';
    out << ".SH SYNOPSIS\n" << Bold(program.strName) << " [" << Italic("options") << "]";
    out << (program.vecCommands.empty() ? "" : " " + Italic("command") + " [" + Italic("options") + "]");
    out << "\n.SH DESCRIPTION\n" << Text(program.strHelp) << '\n';
}

} // namespace

std::string ManPage(const Command& program, const ManPageFacts& facts)
{
    std::ostringstream out;
    WriteHead(out, program, facts);
    out << ".SH OPTIONS\n";
    WriteOptions(out, program);
    if (!program.vecCommands.empty()) {
        out << ".SH COMMANDS\nEach command prints its options with " << Bold("--help") << ".\n";
        for (const Command& command : program.vecCommands) {
            WriteCommand(out, program.strName + " " + command.strName, command);
        }
    }
    out << ".SH NOTES\n";
    WriteLines(out, program.strFooter);
    out << ".SH EXAMPLES\n.nf\n" << Text(facts.strExample) << "\n.fi\n";
    out << ".SH SEE ALSO\n"
        << Bold(facts.strSeeAlso) << "(1)\n.PP\nThe documentation is in " << Text(facts.strDocuments)
        << ".\n";
    return out.str();
}
