#include "Command.h"

#include <CLI/CLI.hpp>

namespace
{

/// Splits what CLI11 makes of a type and the range that a check allows: "INT:INT in [1 - 9]".
void SplitRange(CommandOption& option)
{
    const std::string strType = option.strValue.substr(0, option.strValue.find(':'));
    const std::string strBetween = ":" + strType + " in [";
    if (option.strValue.compare(strType.size(), strBetween.size(), strBetween) == 0) {
        option.strRange = option.strValue.substr(strType.size() + strBetween.size());
        option.strRange.pop_back(); // the bracket
        option.strValue = strType;
    }
}

CommandOption DescribeOption(const CLI::Option& option)
{
    CommandOption described;
    for (const std::string& strName : option.get_snames()) {
        described.vecNames.push_back("-" + strName);
    }
    for (const std::string& strName : option.get_lnames()) {
        described.vecNames.push_back("--" + strName);
    }
    if (described.IsArgument()) {
        described.strValue = option.get_name();
    } else if (option.get_items_expected_max() > 0) {
        described.strValue = option.get_type_name();
    }
    SplitRange(described);
    described.strDefault = option.get_default_str();
    described.strHelp = option.get_description();
    described.strGroup = option.get_group();
    described.bRequired = option.get_required();
    described.bRepeatable = option.get_items_expected_max() > 1;
    return described;
}

Command DescribeCommand(const CLI::App& app, const std::string& strFooterOfProgram)
{
    Command command;
    command.strName = app.get_name();
    command.strHelp = app.get_description();
    command.strFooter = app.get_footer();
    if (command.strFooter.rfind(strFooterOfProgram, 0) == 0) { // inherited, perhaps with a line more
        const std::size_t nMore = command.strFooter.find_first_not_of('\n', strFooterOfProgram.size());
        command.strFooter.erase(0, nMore);
    }
    for (const CLI::Option* const pOption : app.get_options()) {
        if (!pOption->get_group().empty()) {
            command.vecOptions.push_back(DescribeOption(*pOption));
        }
    }
    for (const CLI::App* const pCommand : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (!pCommand->get_group().empty()) {
            command.vecCommands.push_back(DescribeCommand(*pCommand, strFooterOfProgram));
        }
    }
    return command;
}

} // namespace

Command Describe(const CLI::App& app)
{
    Command program = DescribeCommand(app, app.get_footer());
    program.strFooter = app.get_footer();
    return program;
}
