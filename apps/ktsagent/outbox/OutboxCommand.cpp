#include "OutboxCommand.h"

#include "Subcommands.h"

void AddOutboxCommand(CLI::App& app, int& nExit)
{
    CLI::App& command = *app.add_subcommand(
        "outbox", "Looks into the outbox of hosts, whether they run or not, and works on its dead letters");
    command.require_subcommand(1);
    AddStatusCommand(command, nExit);
    AddListCommand(command, nExit);
    AddShowCommand(command, nExit);
    AddLetterCommands(command, nExit);
    AddDrainCommand(command, nExit);
    AddVerifyCommand(command, nExit);
}
