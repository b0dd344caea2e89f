// Booting and suspending the board; the outcome is the last-error alone.
#include "commands/board_commands.h"
#include "commands/command_runner.h"
#include "commands/command_table.h"

namespace xdsp::commands {

namespace {
void runPowerCommand(const CommandDescription &command) {
    if (requireLink() == 0)
        return;
    if (runCommand(command).sent)
        succeed(command);
}
} // namespace

void bootBoard(bool firstForm) {
    runPowerCommand(firstForm ? bootCommand : bootSecondFormCommand);
}

void suspendBoard() {
    runPowerCommand(suspendCommand);
}

} // namespace xdsp::commands
