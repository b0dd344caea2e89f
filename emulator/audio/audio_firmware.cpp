#include "audio/audio_firmware.h"

#include "audio/name_date_block.h"
#include "bootloader/big_endian.h"
#include "bootloader/boot_loader_options.h"
#include "bootloader/reply.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace xdsp::emu {

namespace {
constexpr uint8_t readPrefix[2] = {'R', 'D'};
constexpr size_t frameHeaderLength = 6; // magic, code, count
constexpr uint16_t noResult = 0xFFFF;

constexpr uint8_t echoCode = 0x38;
constexpr uint8_t fileNameCode = 0x39;
constexpr uint8_t sourceCode = 0x3A;
constexpr uint8_t lineOutCode = 0x3B;
constexpr uint8_t muteCode = 0x3C;
constexpr uint8_t filterCode = 0x3D;
constexpr uint8_t algorithmCode = 0x3E;
constexpr uint8_t resetCode = 0x3F;

bool startsWith(const uint8_t *bytes, size_t length, const uint8_t *magic, size_t magicLength) {
    return length >= magicLength && std::memcmp(bytes, magic, magicLength) == 0;
}

bool isRead(const uint8_t *written, size_t length) {
    return startsWith(written, length, readPrefix, sizeof readPrefix) ||
           std::all_of(written, written + length, [](uint8_t b) { return b == 0; });
}

std::vector<uint8_t> refusal(uint8_t code) {
    return Reply(static_cast<uint8_t>(code | refusedBit), userFamily).word(noResult).bytes();
}
} // namespace

AudioFirmware::AudioFirmware(AudioFirmwareOptions options)
    : options_(std::move(options)), faults_(options_.faults), port_(options_.idleReadBusyMicros) {}

uint16_t AudioFirmware::busyLines(Clock::time_point now) const {
    bool busy = now < busyUntil_ || port_.drainedPulse(now);
    return busy ? options_.busyLine : 0;
}

void AudioFirmware::transfer(const SpiSettings &settings, const uint8_t *written,
                             size_t writeLength, uint8_t *read, size_t readLength,
                             Clock::time_point now) {
    if (written == nullptr)
        writeLength = 0;
    if (read == nullptr)
        readLength = 0;
    if (startsWith(written, writeLength, userFamily.data(), userFamily.size())) {
        // A frame cut short of its header cannot be told from noise.
        if (writeLength >= frameHeaderLength) {
            port_.load(answer(written[4], written[5], written + frameHeaderLength,
                              writeLength - frameHeaderLength));
            busyUntil_ = now + std::chrono::microseconds(options_.commandBusyMicros);
        }
        port_.shiftOut(read, readLength);
    } else if (isRead(written, writeLength)) {
        port_.readLater(read, readLength, now < busyUntil_, now);
    } else {
        loopback_.transfer(settings, written, writeLength, read, readLength, now);
    }
}

std::vector<uint8_t> AudioFirmware::answer(uint8_t code, uint8_t count, const uint8_t *arguments,
                                           size_t length) {
    std::vector<uint8_t> reply;
    switch (code) {
    case echoCode:
        reply = echo(count, arguments, length);
        break;
    case fileNameCode:
        reply = sendFileName(arguments, length);
        break;
    case sourceCode:
        reply = setValue(code, &state_.source, 9, arguments, length);
        break;
    case lineOutCode:
        reply = setValue(code, &state_.lineOut, 1, arguments, length);
        break;
    case muteCode:
        reply = setValue(code, &state_.mute, 1, arguments, length);
        break;
    case filterCode:
        reply = setValue(code, &state_.filter, 9, arguments, length);
        break;
    case algorithmCode:
        reply = setValue(code, &state_.algorithm, 0xFF, arguments, length);
        break;
    case resetCode:
        state_ = AudioState{};
        return {};
    default:
        reply = refusal(code);
        break;
    }
    if (spoil(faults_.noMagicReplies))
        std::copy(bootFamily.begin(), bootFamily.end(), reply.begin() + 2);
    return reply;
}

// Takes the first word whatever the count says; bytes beyond it are ignored,
// as a host that prints "\x0%d" with 10 or more sends one.
std::vector<uint8_t> AudioFirmware::setValue(uint8_t code, uint16_t *value, uint16_t limit,
                                             const uint8_t *arguments, size_t length) {
    if (length < 2 || bigEndian::word(arguments) > limit)
        return refusal(code);
    *value = bigEndian::word(arguments);
    return Reply(code, userFamily).word(*value).bytes();
}

std::vector<uint8_t> AudioFirmware::sendFileName(const uint8_t *arguments, size_t length) {
    if (length < 2)
        return refusal(fileNameCode);
    uint16_t number = bigEndian::word(arguments);
    auto file = std::find_if(options_.files.begin(), options_.files.end(),
                             [&](const AudioFile &each) { return each.number == number; });
    if (file == options_.files.end())
        return refusal(fileNameCode);
    auto block = travelledNameDateBlock(file->name, file->modified, file->created);
    Reply reply(fileNameCode, userFamily);
    reply.word(number).data(block.data(), block.size());
    if (spoil(faults_.badLengthReplies))
        --reply.bytes()[replyLengthOffset];
    return std::move(reply.bytes());
}

std::vector<uint8_t> AudioFirmware::echo(uint8_t count, const uint8_t *arguments, size_t length) {
    size_t echoed = std::min<size_t>(2u * count, length);
    Reply reply(echoCode, userFamily);
    reply.data(arguments, echoed);
    std::vector<uint8_t> bytes = std::move(reply.bytes());
    size_t spoilt = replyDataOffset + faults_.corruptEchoIndex;
    if (spoilt < bytes.size() && spoil(faults_.corruptEchoReplies))
        bytes[spoilt] = static_cast<uint8_t>(~bytes[spoilt]);
    return bytes;
}

} // namespace xdsp::emu
