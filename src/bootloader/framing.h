// What every boot-loader command shares: the board's settings, the
// command-string encoder, the transfers with their two patterns, the wait on
// the boot loader's busy line and the reply dump.
#pragma once

#include "bootloader/boot_loader_state.h"
#include "frame/text.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {

// ---- settings -----------------------------------------------------------------

bool readPrefixOn(const BootLoaderState &state);
void setReadPrefix(BootLoaderState &state, bool on);
uint16_t spiSelect(const BootLoaderState &state);
uint16_t busyMask(const BootLoaderState &state);
void setSelectAndMask(BootLoaderState &state, uint16_t select, uint16_t mask);

// ---- encoding -----------------------------------------------------------------

inline constexpr size_t commandTextChars = 4096; // formatted command strings
inline constexpr size_t commandBytes = 512;      // encoded commands
inline constexpr size_t replyBytes = 256;        // replies of the file-system commands

// Turns an escaped command string into bytes: \n, \r, \xHH and plain
// characters (their low 8 bits). With output (at least commandBytes long) at
// most 511 bytes are produced and a 0 is appended; without, the bytes are only
// counted. Returns the number of bytes, the 0 not counted.
size_t encodeBootCommand(uint8_t *output, const Char16 *text);

// ---- reply fields -------------------------------------------------------------

inline constexpr size_t echoOffset = 6; // the command code as the boot loader echoes it
inline constexpr size_t dataOffset = 8;

inline uint16_t bigEndian16(const uint8_t *bytes) {
    return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}
inline uint32_t bigEndian32(const uint8_t *bytes) {
    return static_cast<uint32_t>(bytes[0]) << 24 | static_cast<uint32_t>(bytes[1]) << 16 |
           static_cast<uint32_t>(bytes[2]) << 8 | bytes[3];
}

// ---- transfers ----------------------------------------------------------------

inline constexpr uint8_t readPrefixBytes[2] = {0x52, 0x44}; // "RD"
inline constexpr uint16_t settingFast = 100;
inline constexpr uint16_t settingSlow = 50;
inline constexpr uint32_t busyLineTimeoutMs = 3000;

// One SPI transfer with the boot loader's select, mode flag 0 and setting A 3.
bool transfer(const BootLoaderState &state, uint16_t mask, uint16_t settingB,
              const uint8_t *writeData, uint32_t writeLength, uint8_t *readData,
              uint32_t readLength);

// Waits up to 3000 ms while a bit of the busy mask is set in the GPIO word;
// running out of time is not an error.
void waitWhileBootLoaderBusy(const BootLoaderState &state, uint16_t mask);
bool bootLoaderBusy(const BootLoaderState &state);

// Drains reply bytes the boot loader may still hold (at most 136 bytes, ending
// early when its busy line rises).
void flush(BootLoaderState &state);

// Read-prefix pattern: the command (if any), then, when a reply is wanted, the
// busy wait and "RD" with the read.
void bootExchange(const BootLoaderState &state, uint16_t select, uint16_t mask, uint16_t settingB,
                  const uint8_t *command, uint32_t commandLength, uint8_t *reply,
                  uint32_t replyLength);

// The standard exchange: with the read prefix bootExchange at setting 100,
// without it a flush and one transfer that writes and reads.
void standardExchange(BootLoaderState &state, const uint8_t *command, uint32_t commandLength,
                      uint8_t *reply, uint32_t replyLength);
// With the read prefix the command, the busy wait and "RD"; without it one
// transfer that writes and reads, and no flush.
void directExchange(BootLoaderState &state, uint16_t settingB, const uint8_t *command,
                    uint32_t commandLength, uint8_t *reply, uint32_t replyLength);
// The slow exchange: directExchange at setting 50.
void slowExchange(BootLoaderState &state, const uint8_t *command, uint32_t commandLength,
                  uint8_t *reply, uint32_t replyLength);

// ---- diagnostics --------------------------------------------------------------

// "Command: 0x.. :: Want: 0x..@n  :: " and the bytes, in a 1024-character line.
void dumpBootReply(unsigned code, unsigned wanted, int position, const uint8_t *bytes,
                   size_t count);

} // namespace xdsp::bootloader
