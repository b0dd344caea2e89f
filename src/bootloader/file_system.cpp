// The flash file system's commands: one boot-loader command each, judged by
// the code the boot loader echoes.
#include "bootloader/file_system.h"
#include "bootloader/framing.h"
#include "frame/bounded_string.h"
#include "frame/debug.h"
#include "os/os.h"

#include <cstdarg>
#include <cstring>

namespace xdsp::bootloader {

namespace {
constexpr uint32_t closePauseMs = 2000;
constexpr uint32_t formatSecondsLimit = 60;
constexpr uint32_t checksumPollMs = 100;
constexpr uint32_t checksumPolls = 30;
constexpr uint32_t slowReplyLength = 22;

// The boot loader counts files from 1; sent as the low 16 bits.
uint16_t fileNumber(uint32_t index) {
    return static_cast<uint16_t>(index + 1);
}

// Close and checksum name the boot file by 300 itself, not by 301.
uint16_t closingNumber(uint32_t index) {
    return index == XDSP_BOOT_FILE_NUMBER ? static_cast<uint16_t>(index) : fileNumber(index);
}

// A raw command: "BOOT", the code, one argument word, high byte first.
void rawCommand(uint8_t *command, uint8_t code, uint16_t argument) {
    std::memcpy(command, "BOOT", 4);
    command[4] = code;
    command[5] = 0x01;
    command[6] = static_cast<uint8_t>(argument >> 8);
    command[7] = static_cast<uint8_t>(argument & 0xFF);
}

// Formats, encodes and sends a command string with the standard exchange into
// a cleared reply; true when reply[6] echoes code.
bool standardCommand(BootLoaderState &state, uint8_t code, uint8_t *reply, uint32_t replyLength,
                     const Char16 *format, ...) {
    Char16 text[commandTextChars];
    va_list arguments;
    va_start(arguments, format);
    boundedFormatV(text, commandTextChars, format, arguments);
    va_end(arguments);
    uint8_t command[commandBytes];
    uint32_t length = static_cast<uint32_t>(encodeBootCommand(command, text));
    std::memset(reply, 0, replyBytes);
    standardExchange(state, command, length, reply, replyLength);
    return reply[echoOffset] == code;
}

bool acknowledgedOrDumped(uint8_t code, const uint8_t *reply, size_t count) {
    if (reply[echoOffset] == code)
        return true;
    dumpBootReply(code, code, 6, reply, count);
    return false;
}

// Without the read prefix the reply is clocked in by a transfer that writes nothing.
void readReply(BootLoaderState &state, uint16_t mask, uint8_t *reply, uint32_t replyLength) {
    if (readPrefixOn(state))
        transfer(state, mask, settingSlow, readPrefixBytes, sizeof readPrefixBytes, reply,
                 replyLength);
    else
        transfer(state, mask, settingSlow, nullptr, 0, reply, replyLength);
}
} // namespace

bool eraseFile(BootLoaderState &state, uint32_t fileIndex) {
    uint16_t number = fileNumber(fileIndex);
    uint8_t reply[replyBytes];
    return standardCommand(state, 0x2D, reply, 12, WIDE("BOOT\\x2D\\x01\\x%02X\\x%02X"),
                           number >> 8, number & 0xFF);
}

bool allocateFile(BootLoaderState &state, uint32_t fileIndex, uint32_t startAddress,
                  uint32_t endAddress) {
    uint16_t number = fileNumber(fileIndex);
    uint32_t startSector = startAddress >> 12;
    uint32_t sectorCount = (endAddress >> 12) - startSector;
    uint8_t reply[replyBytes];
    return standardCommand(state, 0x2A, reply, 12,
                           WIDE("BOOT\\x2A\\x03\\x%02X\\x%02X\\x%02X\\x%02X\\x%02X\\x%02X"),
                           number >> 8, number & 0xFF, (startSector >> 8) & 0xFF,
                           startSector & 0xFF, (sectorCount >> 8) & 0xFF, sectorCount & 0xFF);
}

bool setFileType(BootLoaderState &state, uint32_t fileIndex, int16_t type) {
    // A file number past one byte, or a negative type, would format into
    // something else than the command: refused, nothing sent. A type above
    // 255 goes out as it formats, its third digit as a byte of its own.
    uint32_t number = fileIndex + 1;
    if (fileIndex > 0xFE || type < 0)
        return false;
    uint8_t reply[replyBytes];
    if (standardCommand(state, 0x28, reply, 14, WIDE("BOOT\\x28\\x02\\x00\\x%02X\\x00\\x%02X"),
                        number, static_cast<unsigned>(type)))
        return true;
    dumpBootReply(0x28, 0x28, 6, reply, 14);
    return false;
}

bool commit(BootLoaderState &state) {
    uint8_t reply[replyBytes];
    if (standardCommand(state, 0x33, reply, 8, WIDE("BOOT\\x33\\x00")))
        return true;
    dumpBootReply(0x33, 0x33, 6, reply, 8);
    return false;
}

bool run(BootLoaderState &state) {
    uint8_t command[commandBytes];
    uint32_t length = static_cast<uint32_t>(encodeBootCommand(command, WIDE("BOOT\\x03\\x00")));
    standardExchange(state, command, length, nullptr, 0);
    // compat: always 1: the command has no answer to judge.
    return true;
}

bool formatBootFile(BootLoaderState &state, int32_t value) {
    flush(state);
    uint8_t reply[replyBytes] = {};
    uint8_t command[8];
    rawCommand(command, 0x3A, static_cast<uint16_t>(value & 0xFFFF));
    slowExchange(state, command, sizeof command, reply, slowReplyLength);
    return acknowledgedOrDumped(0x3A, reply, slowReplyLength);
}

bool closeFile(BootLoaderState &state, uint32_t fileIndex) {
    // compat: flush, 2000 ms, flush before every close: the settling time the boot
    // loader has always been given after the last packet.
    flush(state);
    os::sleepMs(closePauseMs);
    flush(state);
    uint8_t reply[replyBytes] = {};
    uint8_t command[8];
    rawCommand(command, 0x32, closingNumber(fileIndex));
    // compat: the same text whatever the file, as logs have always shown it.
    debugWrite(WIDE("Send SPI Command: BOOT\\x32\\x01\\x00\\x01\n"));
    slowExchange(state, command, sizeof command, reply, slowReplyLength);
    if (reply[echoOffset] == 0x32)
        return true;
    // At once, without a flush, and over the first reply's bytes.
    slowExchange(state, command, sizeof command, reply, slowReplyLength);
    return acknowledgedOrDumped(0x32, reply, slowReplyLength);
}

bool formatFile(BootLoaderState &state, uint32_t fileIndex) {
    flush(state);
    uint8_t reply[replyBytes] = {};
    uint8_t command[8];
    rawCommand(command, 0x30, fileNumber(fileIndex));
    // compat: the same text whatever the file, as logs have always shown it.
    debugWrite(WIDE("Send SPI Command: BOOT\\x30\\x01\\x00\\x01\n"));
    transfer(state, 0, settingSlow, command, sizeof command, nullptr, 0);
    // compat: erasing flash takes seconds; the busy line is looked at once a second
    // (at most 60), so the format lasts whole seconds and logs them.
    uint32_t seconds = 0;
    while (bootLoaderBusy(state) && seconds < formatSecondsLimit) {
        os::sleepMs(1000);
        ++seconds;
    }
    debugFormat(WIDE("Format took %d seconds...\n"), static_cast<int>(seconds));
    if (readPrefixOn(state))
        waitWhileBootLoaderBusy(state, busyMask(state));
    readReply(state, busyMask(state), reply, slowReplyLength);
    return acknowledgedOrDumped(0x30, reply, slowReplyLength);
}

uint16_t checksumOf(BootLoaderState &state, uint32_t fileIndex) {
    uint8_t reply[replyBytes] = {};
    uint8_t command[8];
    rawCommand(command, 0x29, closingNumber(fileIndex));
    // compat: the same text whatever the file, as logs have always shown it.
    debugWrite(WIDE("Send SPI Command: BOOT\\x29\\x01\\x00\\x01\n"));
    transfer(state, 0, settingSlow, command, sizeof command, nullptr, 0);
    for (uint32_t polls = 0; bootLoaderBusy(state) && polls < checksumPolls; ++polls)
        os::sleepMs(checksumPollMs);
    readReply(state, 0, reply, 12);
    // compat: the echo is not looked at, so an unanswered request reads as checksum 0;
    // the upload asks again on 0.
    return bigEndian16(reply + 10);
}

} // namespace xdsp::bootloader
