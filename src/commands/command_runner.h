// The one handshake of the board's commands: link check, opening line, fresh
// report, bounded busy wait, response reset, payload staged under the link
// lock, store cleared, command sent, next report, error check. What differs
// between commands is their description (command_table.h).
#pragma once

#include "commands/command_description.h"
#include "link/transaction.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::commands {

inline constexpr size_t responseBufferSize = 1024;

// The output report length of the running link; 0, with last-error 6, when no
// poll thread runs. Commands call it first, then check their arguments.
size_t requireLink(link::Link &link);

struct CommandOutcome {
    // False: the command stopped with its last-error set, and the export
    // returns failureResult.
    bool sent;
    int32_t failureResult;
};

// The steps up to the staging of the payload.
void beginCommand(link::Link &link, const CommandDescription &command, uint32_t openingValue);
// The steps from the clearing of the store on.
CommandOutcome completeCommand(link::Link &link, const CommandDescription &command);
// A link that went away between requireLink(link) and the staging: last-error 6.
CommandOutcome linkLost();

// Runs the handshake; stagePayload writes the payload, which ends at
// payloadEnd, into the staging report under the link lock.
template <typename StagePayload>
CommandOutcome runCommand(link::Link &link, const CommandDescription &command,
                          uint32_t openingValue, size_t payloadEnd, StagePayload stagePayload) {
    beginCommand(link, command, openingValue);
    {
        link::StagingAccess staging(link);
        // A link that went away, or came back with a shorter report, since
        // requireLink(link).
        if (staging.bytes() == nullptr || payloadEnd > staging.length())
            return linkLost();
        stagePayload(staging.bytes());
    }
    return completeCommand(link, command);
}

// A command without payload stages nothing and takes no lock.
inline CommandOutcome runCommand(link::Link &link, const CommandDescription &command) {
    beginCommand(link, command, 0);
    return completeCommand(link, command);
}

// Waits up to 10000 ms for the response event and tests it once more; when it
// is not set, writes "Invalid SPI Response.\n" and "SPI Complete.\n" and sets
// last-error 1359.
bool responseArrived(link::Link &link);

// The command's pause, then last-error 0.
void succeed(const CommandDescription &command);

} // namespace xdsp::commands
