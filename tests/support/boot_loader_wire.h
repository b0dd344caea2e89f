// Drives the emulated boot loader as the microcontroller's SPI master does, on
// a clock the test moves by hand, with the host's two transfer patterns.
#pragma once

#include "bootloader/boot_loader.h"

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace bootwire {

using Bytes = std::vector<uint8_t>;
using Clock = xdsp::emu::SpiPeer::Clock;

enum class Pattern { readPrefix, noPrefix };

inline std::string patternName(Pattern pattern) {
    return pattern == Pattern::readPrefix ? "ReadPrefix" : "NoPrefix";
}

inline void PrintTo(Pattern pattern, std::ostream *out) {
    *out << patternName(pattern);
}

// "BOOT", code, word count, the words high byte first.
inline Bytes boot(uint8_t code, std::initializer_list<uint16_t> words) {
    Bytes bytes{'B', 'O', 'O', 'T', code, static_cast<uint8_t>(words.size())};
    for (uint16_t w : words) {
        bytes.push_back(static_cast<uint8_t>(w >> 8));
        bytes.push_back(static_cast<uint8_t>(w));
    }
    return bytes;
}

inline uint16_t wordAt(const Bytes &bytes, size_t offset) {
    return static_cast<uint16_t>(bytes.at(offset) << 8 | bytes.at(offset + 1));
}

inline uint32_t longAt(const Bytes &bytes, size_t offset) {
    return static_cast<uint32_t>(wordAt(bytes, offset)) << 16 | wordAt(bytes, offset + 2);
}

// A data packet as the host sends it: word count, then 256 bytes with each
// pair of file bytes exchanged and zeros after the data.
inline Bytes dataPacket(const Bytes &file, size_t offset) {
    size_t count = std::min<size_t>(256, file.size() - offset);
    Bytes packet(6 + 256, 0);
    const uint8_t head[6] = {'B', 'O', 'O', 'T', 0x31, static_cast<uint8_t>(count / 2)};
    std::copy(head, head + 6, packet.begin());
    for (size_t i = 0; i + 1 < count; i += 2) {
        packet[6 + i] = file[offset + i + 1];
        packet[6 + i + 1] = file[offset + i];
    }
    return packet;
}

inline uint16_t byteSum(const Bytes &bytes, size_t from = 0) {
    uint16_t sum = 0;
    for (size_t i = from; i < bytes.size(); ++i)
        sum = static_cast<uint16_t>(sum + bytes[i]);
    return sum;
}

// Options for a boot loader driven straight over the wire: with no SPI master
// in between to hold a read until its line drops, formats finish at once unless
// a case asks otherwise.
inline xdsp::emu::BootLoaderOptions wireOptions() {
    xdsp::emu::BootLoaderOptions options;
    options.formatBusyMillis = 0;
    return options;
}

class Wire {
  public:
    explicit Wire(xdsp::emu::BootLoaderOptions options = wireOptions())
        : loader(std::move(options)) {}

    Bytes transfer(const Bytes &written, size_t readLength, uint16_t settingB = 100,
                   uint16_t modeWord = 0x0101) {
        Bytes read(readLength, 0xEE);
        loader.transfer({modeWord, 3, settingB, 2, 2}, written.data(), written.size(), read.data(),
                        read.size(), now);
        return read;
    }

    bool busy() const { return (loader.busyLines(now) & 0x0002) != 0; }
    void wait(std::chrono::microseconds time) { now += time; }
    // The host's busy wait, in steps of one report period, at most 3 s.
    void waitWhileBusy() {
        for (int step = 0; step < 3000 && busy(); ++step)
            wait(std::chrono::milliseconds(1));
    }

    // One command and its reply as the host carries it in either pattern.
    Bytes exchange(Pattern pattern, const Bytes &command, size_t replyLength) {
        if (pattern == Pattern::noPrefix)
            return transfer(command, replyLength);
        transfer(command, 0);
        if (replyLength == 0)
            return {};
        waitWhileBusy();
        return transfer({'R', 'D'}, replyLength);
    }

    xdsp::emu::BootLoader loader;
    Clock::time_point now = Clock::time_point{} + std::chrono::hours(1);
};

} // namespace bootwire
