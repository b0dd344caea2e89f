// Booting and suspending the board; the outcome is the last-error alone.
#include "commands/board_commands.h"
#include "commands/command_runner.h"
#include "commands/command_table.h"

namespace xdsp::commands {

namespace {
void runPowerCommand(link::Link &link, const CommandDescription &command) {
    if (requireLink(link) == 0)
        return;
    if (runCommand(link, command).sent)
        succeed(command);
}
} // namespace

void bootBoard(link::Link &link, bool firstForm) {
    runPowerCommand(link, firstForm ? bootCommand : bootSecondFormCommand);
}

void suspendBoard(link::Link &link) {
    runPowerCommand(link, suspendCommand);
}

} // namespace xdsp::commands
