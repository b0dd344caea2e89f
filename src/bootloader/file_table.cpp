// Reading the boot loader's directory into the file table: the allocation
// table (FAI) first, then one record per file.
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "frame/bounded_string.h"
#include "frame/debug.h"
#include "os/os.h"

#include <cstring>

namespace xdsp::bootloader {

namespace {
constexpr uint8_t tableRequest[6] = {'B', 'O', 'O', 'T', 0x2B, 0x00};
constexpr uint32_t tableReplyLength = 168;
constexpr uint16_t tableGood = 0x2B4B;
constexpr size_t tableDumpLength = 158;
constexpr size_t faiEntryBytes = 10;
constexpr size_t faiPayloadBytes = 160;
constexpr size_t dumpBytesPerLine = 16;

constexpr uint32_t recordReplyLength = 278;
constexpr size_t recordBufferBytes = 1024;
constexpr uint16_t recordPresent = 0x2F81;
constexpr uint16_t recordAbsent = 0xAF01;
constexpr size_t recordTypeOffset = 17;
constexpr size_t recordBlockOffset = 138;
constexpr size_t recordDumpLength = 70;

uint16_t replyCode(const uint8_t *reply) {
    return bigEndian16(reply + echoOffset);
}

bool readTable(BootLoaderState &state, uint8_t *reply) {
    std::memset(reply, 0, tableReplyLength);
    // The request goes out without a busy mask, unlike what bootExchange passes.
    transfer(state, 0, settingSlow, tableRequest, sizeof tableRequest, nullptr, 0);
    bool delivered;
    if (readPrefixOn(state)) {
        waitWhileBootLoaderBusy(state, busyMask(state));
        delivered = transfer(state, busyMask(state), settingSlow, readPrefixBytes,
                             sizeof readPrefixBytes, reply, tableReplyLength);
    } else {
        delivered =
            transfer(state, busyMask(state), settingSlow, nullptr, 0, reply, tableReplyLength);
    }
    return delivered && replyCode(reply) == tableGood;
}

void reportTableFailure(const uint8_t *reply) {
    debugWrite(WIDE("Send SPI Command: BOOT\\x2B\\x00\n"));
    dumpBootReply(0x2B, tableGood, 6, reply, tableDumpLength);
}

bool isAlphanumeric(uint8_t byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z');
}

void dumpTable(const uint8_t *payload) {
    debugWrite(WIDE("FAI Data: \n"));
    for (size_t first = 0; first < faiPayloadBytes; first += dumpBytesPerLine) {
        Char16 line[commandTextChars];
        size_t length =
            boundedFormat(line, commandTextChars, WIDE("%3d:   "), static_cast<int>(first));
        for (size_t i = 0; i < dumpBytesPerLine; ++i) {
            length += boundedFormat(line + length, commandTextChars - length, WIDE("%02X "),
                                    static_cast<unsigned>(payload[first + i]));
            if (i == 7 || i == 15)
                length += boundedFormat(line + length, commandTextChars - length, WIDE("  "));
        }
        length += boundedFormat(line + length, commandTextChars - length, WIDE("      "));
        for (size_t i = 0; i < dumpBytesPerLine && length + 1 < commandTextChars; ++i) {
            uint8_t byte = payload[first + i];
            line[length++] = isAlphanumeric(byte) ? byte : Char16{' '};
        }
        boundedFormat(line + length, commandTextChars - length, WIDE("\n"));
        debugWrite(line);
    }
    debugWrite(WIDE("\n"));
}

void storeAllocations(const uint8_t *payload, FileDescriptor *table) {
    for (size_t k = 0; k < fileCount; ++k) {
        const uint8_t *entry = payload + k * faiEntryBytes;
        FileDescriptor &descriptor = table[k];
        descriptor.faiWord1 = bigEndian16(entry);
        descriptor.startSector = bigEndian16(entry + 2);
        descriptor.endSector = bigEndian16(entry + 4);
        descriptor.faiWord4 = bigEndian16(entry + 6);
        descriptor.faiWord5 = bigEndian16(entry + 8);
    }
}

} // namespace

void decodeAllocationTable(const uint8_t *reply, FileDescriptor *table) {
    dumpTable(reply + dataOffset);
    storeAllocations(reply + dataOffset, table);
}

namespace {
void queryRecord(BootLoaderState &state, const Char16 *query, uint8_t *reply) {
    uint8_t command[commandBytes];
    uint32_t length = static_cast<uint32_t>(encodeBootCommand(command, query));
    std::memset(reply, 0, recordBufferBytes);
    if (readPrefixOn(state)) {
        bootExchange(state, spiSelect(state), busyMask(state), settingFast, command, length, reply,
                     recordReplyLength);
        return;
    }
    flush(state);
    transfer(state, busyMask(state), settingFast, command, length, reply, recordReplyLength);
}

} // namespace

void decodeFileRecord(const uint8_t *reply, FileDescriptor *descriptor) {
    decodeNameDateBlock(reply + recordBlockOffset, descriptor);
    descriptor->type = reply[recordTypeOffset];
}

namespace {
void clearRecord(FileDescriptor *descriptor) {
    descriptor->type = 0;
    descriptor->name[0] = 0;
    descriptor->modificationDate = 0.0;
    descriptor->creationDate = 0.0;
}

void readRecord(BootLoaderState &state, unsigned fileNumber, FileDescriptor *descriptor) {
    Char16 query[commandTextChars];
    size_t queryLength =
        boundedFormat(query, commandTextChars, WIDE("BOOT\\x2F\\x01\\x00\\x%02X"), fileNumber);
    uint8_t reply[recordBufferBytes];
    queryRecord(state, query, reply);
    uint16_t code = replyCode(reply);
    if (code == recordAbsent) {
        clearRecord(descriptor);
        return;
    }
    if (code != recordPresent) {
        queryRecord(state, query, reply);
        if (replyCode(reply) != recordPresent) {
            // An absent file at the second try counts as a failure too.
            boundedFormat(query + queryLength, commandTextChars - queryLength, WIDE("\n"));
            debugWrite(WIDE("Send SPI Command: "));
            debugWrite(query);
            dumpBootReply(0x2F, recordPresent, 6, reply, recordDumpLength);
            return;
        }
    }
    decodeFileRecord(reply, descriptor);
}
} // namespace

bool buildFileTable(BootLoaderState &state) {
    for (int i = 0; i < 3; ++i)
        flush(state);
    std::memset(state.fileTable, 0, sizeof state.fileTable);
    uint8_t reply[tableReplyLength];
    if (!readTable(state, reply)) {
        reportTableFailure(reply);
        if (!readTable(state, reply)) {
            reportTableFailure(reply);
            // compat: shown whatever BootLoader_Send's show-errors flag says, with no
            // caption (the system's default one), as it has always been shown.
            showMessage(WIDE("FAI Error"), nullptr, os::messageStyle::exclamation);
            return false;
        }
    }
    decodeAllocationTable(reply, state.fileTable);
    for (unsigned number = 1; number <= fileCount; ++number)
        readRecord(state, number, &state.fileTable[number - 1]);
    return true;
}

} // namespace xdsp::bootloader
