// What the DSP's audio firmware holds when it starts, how long its work takes,
// and the faults a test can switch on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace xdsp::emu {

// One of the firmware's files as it names it: a number and the name and two
// date texts ("YYYY-MM-DD hh:mm:ss") that travel in its name-and-date block.
// An empty date text travels as "none".
struct AudioFile {
    uint16_t number;
    std::string name;
    std::string modified;
    std::string created;
};

// Faults on demand; counters run down by one per reply they spoil.
struct AudioFaults {
    uint32_t noMagicReplies = 0;   // "BOOT" where the reply's "USER" belongs
    uint32_t badLengthReplies = 0; // file replies whose length byte is not 0x41
    // Echo replies with the data byte at corruptEchoIndex inverted.
    uint32_t corruptEchoReplies = 0;
    uint16_t corruptEchoIndex = 0;
};

struct AudioFirmwareOptions {
    std::vector<AudioFile> files = {
        {1, "Concert Hall", "2024-03-01 13:05:09", "2023-12-25 08:00:00"},
        {2, "Studio B", "2024-06-30 23:59:58", "2024-06-30 08:15:00"},
        {3, "Impulse response", "", ""},
    };
    uint16_t busyLine = 0x0002;     // the GPIO-word bit the DSP drives
    uint32_t commandBusyMicros = 0; // busy line held this long by every command
    // After a read that finds nothing to send, as the boot loader's port does.
    uint32_t idleReadBusyMicros = 2000;
    AudioFaults faults;
};

} // namespace xdsp::emu
