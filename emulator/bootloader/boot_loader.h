// The DSP's resident boot loader: the SPI peer of a board whose DSP waits to be
// loaded. It keeps 15 files and a boot file in the board's flash.
//
// On the wire:
// - A transfer that writes "BOOT", a code, an argument count and the arguments
//   (16-bit words, high byte first) is a command; one that writes "STAT" asks
//   for the status record. The reply is ready at once: a read in the same
//   transfer clocks it in from its first byte (the host's pattern without the
//   read prefix); otherwise it waits for a later read.
// - A later read is a transfer that writes the read prefix "RD", nothing, or
//   only zeros (the host's flush). It clocks in the reply from where the last
//   read stopped; past its end the port clocks in zeros. A status record
//   fetched this way comes after the port's fill bytes (statFiller).
// - The busy line is high while a command is being carried out: a format for
//   formatBusyMillis, any other command for commandBusyMicros. Meanwhile no
//   command is heard, and every read clocks in the not-ready filler 0xCC and
//   leaves the reply where it is.
// - A read that finds nothing left to send re-arms the SPI port, which holds
//   the busy line high for idleReadBusyMicros. The host's flush stops at the
//   busy line, so a flush of a drained port costs one transfer instead of 61.
//   With 0 the line stays low and every flush makes all 61 of its transfers.
// - Any other transfer is not for the boot loader: it goes to otherTraffic,
//   by default a loopback such as the board has without a boot loader.
#pragma once

#include "bootloader/boot_loader_options.h"
#include "bootloader/flash_file_system.h"
#include "bootloader/reply.h"
#include "bootloader/reply_port.h"
#include "spi_master.h"
#include "spi_peer.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace xdsp::emu {

// How many transfers transfers() keeps.
inline constexpr size_t spiTransferLogLimit = 4096;

// One transfer as the boot loader saw it.
struct SpiExchange {
    SpiSettings settings;
    std::vector<uint8_t> written;
    std::vector<uint8_t> read; // what was clocked in, readLength bytes
};

// The memory chip's size in bytes by its identifier; 0 for no chip or an unknown one.
uint32_t memorySizeForChip(uint8_t chipId);

class BootLoader : public SpiPeer {
  public:
    // Throws std::runtime_error when the flash image cannot be used.
    explicit BootLoader(BootLoaderOptions options, SpiPeer *otherTraffic = nullptr);

    void transfer(const SpiSettings &settings, const uint8_t *written, size_t writeLength,
                  uint8_t *read, size_t readLength, Clock::time_point now) override;
    uint16_t busyLines(Clock::time_point now) const override;

    BootLoaderFaults &faults() { return faults_; }
    const FlashFileSystem &fileSystem() const { return fileSystem_; }
    uint32_t flashSize() const { return static_cast<uint32_t>(fileSystem_.flash().size()); }
    // Every transfer it was handed, oldest first, the last spiTransferLogLimit.
    const std::deque<SpiExchange> &transfers() const { return transfers_; }
    void clearTransfers() { transfers_.clear(); }
    uint32_t programStarts() const { return programStarts_; }
    // File data packets heard, whether or not they were taken.
    uint32_t dataPackets() const { return dataPackets_; }

  private:
    // A command as heard: the count byte as sent, and every argument byte that
    // came with it (the count does not always match: see file_commands.cpp).
    struct Frame {
        uint8_t code;
        uint8_t count;
        const uint8_t *arguments;
        size_t length;
        bool has(size_t words) const { return length >= 2 * words; }
        uint16_t word(size_t index) const; // after has(index + 1)
    };
    using Handler = Reply (BootLoader::*)(const Frame &);
    struct CommandEntry {
        uint8_t code;
        Handler handler;
        bool formats; // busy for the format time rather than the command time
    };
    static const CommandEntry commandTable[];

    bool working(Clock::time_point now) const;
    void hearCommand(const uint8_t *written, size_t length, Clock::time_point now);
    void hearStatusQuery(bool readLater);
    void record(const SpiSettings &settings, const uint8_t *written, size_t writeLength,
                const uint8_t *read, size_t readLength);
    std::vector<uint8_t> statusRecord() const;

    // Identification.
    Reply sendProductCode(const Frame &frame);
    Reply sendDspId(const Frame &frame);
    Reply sendMemoryId(const Frame &frame);
    Reply sendVersion(const Frame &frame);
    // File system.
    Reply runProgram(const Frame &frame);
    Reply setFileType(const Frame &frame);
    Reply sendChecksum(const Frame &frame);
    Reply allocateFile(const Frame &frame);
    Reply sendFaiTable(const Frame &frame);
    Reply setFileNameDate(const Frame &frame);
    Reply eraseFile(const Frame &frame);
    Reply sendFileRecord(const Frame &frame);
    Reply formatFile(const Frame &frame);
    Reply writeData(const Frame &frame);
    Reply closeFile(const Frame &frame);
    Reply commitTable(const Frame &frame);
    Reply formatBootFile(const Frame &frame);

    const BootLoaderOptions options_;
    BootLoaderFaults faults_;
    FlashFileSystem fileSystem_;
    LoopbackPeer loopback_;
    SpiPeer *otherTraffic_;

    ReplyPort port_;
    Clock::time_point busyUntil_{};
    std::deque<SpiExchange> transfers_;

    // What the status record reports.
    uint32_t programStarts_ = 0;
    uint32_t dataPackets_ = 0;
    uint8_t lastCode_ = 0;
    uint32_t commandsCarriedOut_ = 0;
    uint32_t commandsRefused_ = 0;
    uint32_t transfersHeard_ = 0;
};

} // namespace xdsp::emu
