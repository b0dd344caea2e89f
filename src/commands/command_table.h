// The board commands that run the handshake, side by side. A field left out
// takes the common value (command_description.h); every field written out is a
// difference that existing applications can see.
#pragma once

#include "commands/command_description.h"
#include "link/report_format.h"

namespace xdsp::commands {

// compat: 200 ms before a command reports success, the timing callers have always had.
inline constexpr uint32_t successPauseMs = 200;

// compat: five commands show the flash error text in their message box.
inline constexpr const Char16 *flashErrorText = WIDE("Error in WriteFLASH\n");

inline constexpr CommandDescription spiTransferCommand{
    .code = link::command::spiTransfer,
    .openingLine = WIDE("Writing to SPI...\n"),
    .clears = ClearedStore::responseBuffer,
};

// The batch writes its "Command Sent." line itself: only when it reads.
inline constexpr CommandDescription spiBatchCommand{
    .code = link::command::spiBatch,
    .openingLine = WIDE("Writing to Batch SPI...\n"),
    .clears = ClearedStore::responseBuffer,
};

inline constexpr CommandDescription bootCommand{
    .code = link::command::boot,
    .openingLine = WIDE("BootDevice()\r\n"),
    .errorBoxText = WIDE("Error in BootDevice\n"),
    .successPauseMs = successPauseMs,
};

inline constexpr CommandDescription bootSecondFormCommand{
    .code = link::command::bootSecondForm,
    .openingLine = WIDE("BootDevice()\r\n"),
    .errorBoxText = WIDE("Error in BootDevice\n"),
    .successPauseMs = successPauseMs,
};

inline constexpr CommandDescription suspendCommand{
    .code = link::command::suspend,
    .openingLine = WIDE("SuspendDevice()\r\n"),
    .errorBoxText = WIDE("Error in SuspendDevice\n"),
    .successPauseMs = successPauseMs,
};

inline constexpr CommandDescription writeFlashCommand{
    .code = link::command::writeFlash,
    .openingLine = WIDE("Writing to FLASH at %08X...\n"),
    .errorBoxText = flashErrorText,
    .successPauseMs = successPauseMs,
};

// compat: the read clears no buffer, and checks for an error only after a pause
// and a further report. It leaves out the response-event reset before the busy
// wait, but sending the command resets that event anyway, so only an answer to
// this read sets it.
inline constexpr CommandDescription readFlashCommand{
    .code = link::command::readFlash,
    .openingLine = WIDE("Reading from FLASH...\n"),
    .busyBoundMs = 500,
    .resetsResponse = false,
    .sentLine = WIDE("Command Sent.  Waiting for FLASH Response...\n"),
    .settleMs = 100,
    .errorBoxText = flashErrorText,
};

inline constexpr CommandDescription setPinCommand{
    .code = link::command::setPin,
    .openingLine = WIDE("Setting PINs %04X...\n"),
    .errorBoxText = flashErrorText,
    .successPauseMs = successPauseMs,
};

inline constexpr CommandDescription getPinCommand{
    .code = link::command::getPin,
    .errorBoxText = flashErrorText,
    .errorResult = 0xFFFF,
    .successPauseMs = successPauseMs,
};

// compat: TEDS makes no error check, and its busy wait always reports
// "Done.\n", also when our bound ran out.
inline constexpr CommandDescription tedsCommand{
    .code = link::command::tedsTransfer,
    .openingLine = WIDE("Writing to TEDS...\n"),
    .showsBusyTimeout = false,
    .clears = ClearedStore::tedsBuffer,
};

inline constexpr CommandDescription writeCalibrationCommand{
    .code = link::command::writeCalibration,
    .openingLine = WIDE("Setting Calibrate...\n"),
    .errorBoxText = WIDE("Error in WriteCalibrate\n"),
    .successPauseMs = successPauseMs,
};

inline constexpr CommandDescription readCalibrationCommand{
    .code = link::command::readCalibration,
    .errorBoxText = flashErrorText,
    .errorResult = -1,
    .successPauseMs = successPauseMs,
};

// compat: the Pellix record goes out without waiting for a fresh report or
// for any report after it, and reports nothing.
inline constexpr CommandDescription writePellixCommand{
    .code = link::command::writePellix,
    .awaitsFreshReport = false,
    .resetsResponse = false,
    .awaitsNextReport = false,
};

} // namespace xdsp::commands
