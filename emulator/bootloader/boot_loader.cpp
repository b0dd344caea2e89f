#include "bootloader/boot_loader.h"

#include "bootloader/big_endian.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace xdsp::emu {

namespace {
constexpr uint8_t bootMagic[4] = {'B', 'O', 'O', 'T'};
constexpr uint8_t statMagic[4] = {'S', 'T', 'A', 'T'};
constexpr uint8_t readPrefix[2] = {'R', 'D'};
constexpr size_t frameHeaderLength = 6; // magic, code, count

template <size_t N>
bool startsWith(const uint8_t *bytes, size_t length, const uint8_t (&magic)[N]) {
    return length >= N && std::memcmp(bytes, magic, N) == 0;
}

// Noise on the line: every byte flipped in its top bit at least, so that no
// echo survives.
void scramble(std::vector<uint8_t> &bytes) {
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] ^= static_cast<uint8_t>(0x80 | (i * 37));
}

// The read prefix, nothing, or zeros only: a transfer that just clocks the port.
bool isRead(const uint8_t *written, size_t length) {
    return startsWith(written, length, readPrefix) ||
           std::all_of(written, written + length, [](uint8_t b) { return b == 0; });
}
} // namespace

// The commands this boot loader carries out; any other code is refused.
const BootLoader::CommandEntry BootLoader::commandTable[] = {
    {0x03, &BootLoader::runProgram, false},    {0x08, &BootLoader::sendProductCode, false},
    {0x09, &BootLoader::sendDspId, false},     {0x0A, &BootLoader::sendMemoryId, false},
    {0x0B, &BootLoader::sendVersion, false},   {0x28, &BootLoader::setFileType, false},
    {0x29, &BootLoader::sendChecksum, false},  {0x2A, &BootLoader::allocateFile, false},
    {0x2B, &BootLoader::sendFaiTable, false},  {0x2C, &BootLoader::setFileNameDate, false},
    {0x2D, &BootLoader::eraseFile, false},     {0x2F, &BootLoader::sendFileRecord, false},
    {0x30, &BootLoader::formatFile, true},     {0x31, &BootLoader::writeData, false},
    {0x32, &BootLoader::closeFile, false},     {0x33, &BootLoader::commitTable, false},
    {0x3A, &BootLoader::formatBootFile, true},
};

uint16_t BootLoader::Frame::word(size_t index) const {
    return bigEndian::word(arguments + 2 * index);
}

BootLoader::BootLoader(BootLoaderOptions options, SpiPeer *otherTraffic)
    : options_(std::move(options)), faults_(options_.faults),
      fileSystem_(memorySizeForChip(options_.memoryId[2]), options_.flashImagePath),
      otherTraffic_(otherTraffic != nullptr ? otherTraffic : &loopback_),
      port_(options_.idleReadBusyMicros) {}

bool BootLoader::working(Clock::time_point now) const {
    return now < busyUntil_;
}

uint16_t BootLoader::busyLines(Clock::time_point now) const {
    uint16_t lines = otherTraffic_->busyLines(now);
    if (faults_.busyStuck || working(now) || port_.drainedPulse(now))
        lines = static_cast<uint16_t>(lines | options_.busyLine);
    return lines;
}

void BootLoader::transfer(const SpiSettings &settings, const uint8_t *written, size_t writeLength,
                          uint8_t *read, size_t readLength, Clock::time_point now) {
    if (written == nullptr)
        writeLength = 0;
    if (read == nullptr)
        readLength = 0;
    ++transfersHeard_;
    bool command = startsWith(written, writeLength, bootMagic);
    bool statusQuery = startsWith(written, writeLength, statMagic);
    if (faults_.silent) {
        std::fill_n(read, readLength, uint8_t{0});
    } else if ((command || statusQuery) && working(now)) {
        // Deaf while it works: the command is lost.
        std::fill_n(read, readLength, notReadyFiller);
    } else if (command || statusQuery) {
        if (command)
            hearCommand(written, writeLength, now);
        else
            hearStatusQuery(readLength == 0);
        port_.shiftOut(read, readLength);
    } else if (isRead(written, writeLength)) {
        port_.readLater(read, readLength, working(now), now);
    } else {
        otherTraffic_->transfer(settings, written, writeLength, read, readLength, now);
    }
    record(settings, written, writeLength, read, readLength);
}

void BootLoader::hearCommand(const uint8_t *written, size_t length, Clock::time_point now) {
    // A frame cut short of its header cannot be told from noise.
    if (length < frameHeaderLength)
        return;
    Frame frame{written[4], written[5], written + frameHeaderLength, length - frameHeaderLength};
    lastCode_ = frame.code;
    bool codeMatches = faults_.unacknowledgedCode == 0 || faults_.unacknowledgedCode == frame.code;
    if (codeMatches && spoil(faults_.unacknowledgedReplies)) {
        port_.load(Reply(static_cast<uint8_t>(~frame.code)).bytes());
        return;
    }
    auto entry = std::find_if(std::begin(commandTable), std::end(commandTable),
                              [&](const CommandEntry &e) { return e.code == frame.code; });
    bool known = entry != std::end(commandTable);
    Reply reply = known ? (this->*entry->handler)(frame)
                        : Reply::refusal(frame.code, Refusal::unknownCommand);
    if (!known || reply.echo() != frame.code) {
        ++commandsRefused_;
    } else {
        ++commandsCarriedOut_;
        if (entry->formats)
            busyUntil_ = now + std::chrono::milliseconds(options_.formatBusyMillis);
        else
            busyUntil_ = now + std::chrono::microseconds(options_.commandBusyMicros);
    }
    bool notReadyMatches = faults_.notReadyCode == 0 || faults_.notReadyCode == frame.code;
    if (notReadyMatches && spoil(faults_.notReadyReplies))
        std::fill(reply.bytes().begin() + replyDataOffset, reply.bytes().end(), notReadyFiller);
    bool garbledMatches = faults_.garbledCode == 0 || faults_.garbledCode == frame.code;
    if (garbledMatches && spoil(faults_.garbledReplies))
        scramble(reply.bytes());
    port_.load(std::move(reply.bytes()));
}

void BootLoader::hearStatusQuery(bool readLater) {
    std::vector<uint8_t> output;
    if (readLater)
        output = options_.statFiller;
    std::vector<uint8_t> status = statusRecord();
    output.insert(output.end(), status.begin(), status.end());
    port_.load(std::move(output));
}

void BootLoader::record(const SpiSettings &settings, const uint8_t *written, size_t writeLength,
                        const uint8_t *read, size_t readLength) {
    if (transfers_.size() == spiTransferLogLimit)
        transfers_.pop_front();
    transfers_.push_back(
        SpiExchange{settings, {written, written + writeLength}, {read, read + readLength}});
}

Reply BootLoader::runProgram(const Frame &frame) {
    // No DSP program runs here: the start is counted and the boot loader stays.
    ++programStarts_;
    return Reply(frame.code);
}

} // namespace xdsp::emu
