// What tells one board command's handshake from another's. Every command runs
// the same steps in the same order (command_runner.h); the defaults are the
// common handshake, and each command's differences are listed side by side in
// command_table.h.
#pragma once

#include "frame/text.h"

#include <cstdint>

namespace xdsp::commands {

// The store cleared after staging and before the command goes out, so that a
// short or missing answer reads as zeros.
enum class ClearedStore : uint8_t { none, responseBuffer, tedsBuffer };

struct CommandDescription {
    uint16_t code = 0;
    // Written before anything else; may format one unsigned value. Null: none.
    const Char16 *openingLine = nullptr;
    bool awaitsFreshReport = true;
    // The busy wait's bound; the command goes out after it either way.
    uint32_t busyBoundMs = 1000;
    // False: the busy wait ends with "Done.\n" even when the bound ran out.
    bool showsBusyTimeout = true;
    bool resetsResponse = true;
    ClearedStore clears = ClearedStore::none;
    bool awaitsNextReport = true;
    // Written after the next report; null: none.
    const Char16 *sentLine = nullptr;
    // Then a pause and one more fresh report before the error check; 0: none.
    uint32_t settleMs = 0;
    // The message-box text of the command-error check; null: no check.
    const Char16 *errorBoxText = nullptr;
    // What the export returns after a command error.
    int32_t errorResult = 0;
    // The pause before a success is reported.
    uint32_t successPauseMs = 0;
};

} // namespace xdsp::commands
