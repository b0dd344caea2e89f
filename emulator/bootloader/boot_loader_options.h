// What the DSP's resident boot loader reports about itself, how long its work
// takes, and the faults a test can switch on.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace xdsp::emu {

// A fault counter at this value never runs down.
inline constexpr uint32_t always = 0xFFFFFFFF;

// True while a fault counter has replies left to spoil, and counts one off.
inline bool spoil(uint32_t &counter) {
    if (counter == 0)
        return false;
    if (counter != always)
        --counter;
    return true;
}

// Faults on demand. Counters run down by one per reply they spoil; a code or
// file number of 0 means any.
struct BootLoaderFaults {
    // The command is misheard: not carried out, and its reply echoes a wrong code.
    uint8_t unacknowledgedCode = 0;
    uint32_t unacknowledgedReplies = 0;
    // Replies whose data bytes read as the not-ready filler 0xCC.
    uint8_t notReadyCode = 0;
    uint32_t notReadyReplies = 0;
    // File-record queries answered "no such file" although the file exists.
    uint16_t missingRecordFile = 0;
    uint32_t missingRecordReplies = 0;
    // File-record queries answered with garbage.
    uint32_t garbledRecordReplies = 0;
    // Checksum replies one more than the true sum.
    uint32_t wrongChecksumReplies = 0;
    // The command is carried out but its reply is scrambled on the way, echo included.
    uint8_t garbledCode = 0;
    uint32_t garbledReplies = 0;
    bool busyStuck = false; // the busy line never drops
    bool silent = false;    // nothing is heard and every read clocks in zeros
};

inline constexpr std::array<uint8_t, 4> defaultStatFiller = {0xAA, 0xAA, 0x33, 0x33};

struct BootLoaderOptions {
    uint16_t version = 261;            // reads 2.61
    uint32_t productCode = 0x00105010; // the 21469 board with USB
    std::array<uint8_t, 4> dspId = {0x21, 0x46, 0x90, 0x01};
    // The third byte is the chip identifier that sets the flash size; 0x41 is a 2 MiB chip.
    std::array<uint8_t, 4> memoryId = {0xBF, 0x25, 0x41, 0x01};
    uint16_t busyLine = 0x0002; // the GPIO-word bit the boot loader drives
    // Format of a file or of the boot file. A host that reads the reply too
    // early is held by the SPI master until the line drops.
    uint32_t formatBusyMillis = 100;
    uint32_t commandBusyMicros = 0; // every other command
    // After a read that finds nothing to send; see boot_loader.h.
    uint32_t idleReadBusyMicros = 2000;
    // Bytes the SPI port shifts out ahead of a status record fetched by a later read.
    std::vector<uint8_t> statFiller{defaultStatFiller.begin(), defaultStatFiller.end()};
    std::string flashImagePath; // empty: the flash lives in memory only
    BootLoaderFaults faults;
};

} // namespace xdsp::emu
