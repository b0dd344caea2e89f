// What the boot loader says about itself, the board, its DSP and its flash.
#include "bootloader/identification.h"
#include "bootloader/framing.h"
#include "frame/bounded_string.h"
#include "frame/debug.h"

#include <cstring>

namespace xdsp::bootloader {

namespace {
constexpr size_t resultChars = IdentificationAnswers::chars;

struct Product {
    uint32_t code;
    const Char16 *name;
};
constexpr Product products[] = {
    {0x00005000, WIDE("korvalt 21469")},       {0x00045000, WIDE("korvalt 21469 Ext. Temp.")},
    {0x00105010, WIDE("korvalt 21469 + USB")}, {0x00145010, WIDE("korvalt 21469 + USB Ext. Temp.")},
    {0x00407020, WIDE("korvalt 21479")},       {0x00306020, WIDE("korvalt 21489")},
    {0x00206020, WIDE("korvalt 21489 + RAM")},
};

struct MemoryChip {
    uint8_t id;
    uint32_t kibibytes;
};
constexpr MemoryChip memoryChips[] = {
    {0x49, 128},  {0x43, 256},  {0x04, 512},  {0x44, 512},  {0x48, 512},
    {0x8D, 512},  {0x80, 1024}, {0x8E, 1024}, {0xC7, 1024}, {0x20, 2048},
    {0x40, 2048}, {0x41, 2048}, {0x46, 2048}, {0x61, 2048}, {0x47, 4096},
};
constexpr uint8_t noChip = 0xFF;
constexpr size_t chipIdOffset = 10;
constexpr uint8_t memoryCommand[6] = {'B', 'O', 'O', 'T', 0x0A, 0x00};

// Reply bytes 8 to 11 all 0xCC: the boot loader had no answer ready yet.
bool fillerReply(const uint8_t *reply) {
    for (size_t i = dataOffset; i < dataOffset + 4; ++i)
        if (reply[i] != 0xCC)
            return false;
    return true;
}

void queryCommand(BootLoaderState &state, const Char16 *text, uint8_t *reply,
                  uint32_t replyLength) {
    uint8_t command[commandBytes];
    size_t length = encodeBootCommand(command, text);
    std::memset(reply, 0, replyBytes);
    standardExchange(state, command, static_cast<uint32_t>(length), reply, replyLength);
}

// The four identification bytes of the DSP or the flash chip, as text and as a
// debug line of three pieces.
const Char16 *identificationBytes(BootLoaderState &state, const Char16 *command,
                                  const Char16 *label, Char16 *text) {
    uint8_t reply[replyBytes];
    queryCommand(state, command, reply, 12);
    boundedFormat(text, resultChars, WIDE("%02X %02X %02X %02X"), reply[8], reply[9], reply[10],
                  reply[11]);
    debugWrite(label);
    debugWrite(text);
    debugWrite(WIDE("\n"));
    return text;
}

void readMemoryReply(BootLoaderState &state, uint8_t *reply) {
    std::memset(reply, 0, replyBytes);
    uint16_t mask = busyMask(state);
    if (readPrefixOn(state)) {
        transfer(state, mask, settingSlow, memoryCommand, sizeof memoryCommand, nullptr, 0);
        waitWhileBootLoaderBusy(state, mask);
        transfer(state, mask, settingSlow, readPrefixBytes, sizeof readPrefixBytes, reply, 22);
    } else {
        transfer(state, mask, settingSlow, memoryCommand, sizeof memoryCommand, reply, 22);
    }
}

bool plausibleChip(const uint8_t *reply) {
    return !fillerReply(reply) && reply[chipIdOffset] != 0x00 && reply[chipIdOffset] != noChip;
}
} // namespace

const Char16 *versionText(BootLoaderState &state) {
    flush(state);
    uint8_t reply[replyBytes];
    queryCommand(state, WIDE("BOOT\\x0B\\x00"), reply, 14);
    if (fillerReply(reply))
        queryCommand(state, WIDE("BOOT\\x0B\\x00"), reply, 14);
    // compat: whatever the second attempt brought is shown, 0xCC filler included
    // ("524.28").
    unsigned value = bigEndian16(reply + dataOffset);
    boundedFormat(state.answers.version, resultChars, WIDE("%d.%02d"), value / 100, value % 100);
    return state.answers.version;
}

const Char16 *productText(BootLoaderState &state) {
    uint8_t reply[replyBytes];
    queryCommand(state, WIDE("BOOT\\x08\\x00"), reply, 12);
    uint32_t code = bigEndian32(reply + dataOffset);
    for (const Product &product : products)
        if (product.code == code) {
            boundedCopy(state.answers.product, resultChars, product.name);
            return state.answers.product;
        }
    boundedFormat(state.answers.product, resultChars, WIDE("%02X %02X %02X %02X [%08X]"), reply[8],
                  reply[9], reply[10], reply[11], code);
    return state.answers.product;
}

const Char16 *dspText(BootLoaderState &state) {
    return identificationBytes(state, WIDE("BOOT\\x09\\x00"), WIDE("GetDSPType() :: "),
                               state.answers.dsp);
}

const Char16 *memoryText(BootLoaderState &state) {
    return identificationBytes(state, WIDE("BOOT\\x0A\\x00"), WIDE("GetMemoryType() :: "),
                               state.answers.memory);
}

uint32_t memorySize(BootLoaderState &state) {
    for (int i = 0; i < 3; ++i)
        flush(state);
    uint8_t reply[replyBytes];
    constexpr int attempts = 3;
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        readMemoryReply(state, reply);
        // The last attempt's reply stands whatever it holds.
        if (attempt < attempts && plausibleChip(reply))
            break;
    }
    uint8_t id = reply[chipIdOffset];
    for (const MemoryChip &chip : memoryChips)
        if (chip.id == id) {
            uint32_t size = chip.kibibytes * 1024;
            debugFormat(WIDE("GetMemorySize() :: %lu\n"), size);
            return size;
        }
    debugWrite(id == noChip ? WIDE("Memory: No Chip!\n") : WIDE("Memory: Unknown Chip\n"));
    dumpBootReply(0x0A, 0x40, 10, reply, 12);
    return 0;
}

} // namespace xdsp::bootloader
