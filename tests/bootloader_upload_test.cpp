// BootLoader_Send against a scripted boot loader: the order of its commands,
// its progress reports, message boxes and last-error codes. Each upload takes
// seconds (the close's and the settle's pauses), so the cases are few and full.
#include "bootloader/boot_loader_state.h"
#include "bootloader/checksum.h"
#include "bootloader/file_table.h"
#include "bootloader/ole_date.h"
#include "support/commands.h"
#include "support/scripted_board.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace xdsp;
using namespace xdsp::test;
bootloader::FileDescriptor *const fileTable = bootloader::processBootLoader().fileTable;

namespace {
std::vector<int32_t> progress;

int32_t XDSP_API recordProgress(int32_t percent, uint32_t context) {
    EXPECT_EQ(context, 77u);
    progress.push_back(percent);
    return 0;
}

// A table whose entry k holds the sectors given, and no file records.
Bytes tableReply(uint16_t startSector, uint16_t endSector) {
    Bytes entries(160, 0);
    for (size_t k = 0; k < 15; ++k) {
        entries[k * 10 + 3] = static_cast<uint8_t>(startSector);
        entries[k * 10 + 5] = static_cast<uint8_t>(endSector);
    }
    Bytes reply = bootReply(0x2B, entries);
    reply[7] = 0x4B;
    return reply;
}

// Answers as a willing boot loader: echoes every command, reports the table
// and the checksum the test sets, no file records.
struct WillingBootLoader {
    uint16_t checksum = 0;
    uint8_t refuse = 0; // a code left unacknowledged
    bool tableReadable = true;

    Bytes operator()(const Bytes &command, const SpiTransfer &) const {
        uint8_t code = command.at(4);
        if (code == refuse)
            return bootReply(0x00);
        switch (code) {
        case 0x2B:
            return tableReadable ? tableReply(32, 40) : Bytes{};
        case 0x2F:
            return {0x00, 0x00, 'B', 'O', 'O', 'T', 0xAF, 0x01};
        case 0x29:
            return bootReply(0x29, {0x00, 0x00, static_cast<uint8_t>(checksum >> 8),
                                    static_cast<uint8_t>(checksum)});
        default:
            return bootReply(code);
        }
    }
};

// The command codes in the order the boot loader heard them (flushes and
// reads left out).
std::vector<uint8_t> commandCodes(const ScriptedPeer &peer) {
    std::vector<uint8_t> codes;
    for (const SpiTransfer &transfer : peer.commandTransfers())
        if (transfer.written.size() > 4 && transfer.written[0] == 'B')
            codes.push_back(transfer.written[4]);
    return codes;
}

std::vector<uint8_t> withRecords(std::vector<uint8_t> before, std::vector<uint8_t> after) {
    before.insert(before.end(), 15, 0x2F);
    before.insert(before.end(), after.begin(), after.end());
    return before;
}

std::vector<Text> boxTexts(const Capture &capture) {
    std::vector<Text> texts;
    for (const MessageBoxCall &box : capture.messageBoxes()) {
        EXPECT_EQ(box.caption, WIDE(""));
        EXPECT_EQ(box.style, 0x30u);
        texts.push_back(box.text);
    }
    return texts;
}

Bytes sample(size_t length) {
    Bytes data(length);
    for (size_t i = 0; i < length; ++i)
        data[i] = static_cast<uint8_t>(i * 13 + 5);
    return data;
}
} // namespace

TEST(BootUpload, NewAllocationAndTypeThenEverythingInOrder) {
    ScriptedBoard scripted(true);
    ASSERT_TRUE(scripted.opened());
    WillingBootLoader bootLoader;
    Bytes data = sample(601);
    // The board sums what it got: the odd last byte never travels.
    bootLoader.checksum = bootloader::byteSum(data.data(), 600);
    scripted.peer.respond(bootLoader);
    fileTable[2] = {};
    fileTable[2].startSector = 16;
    fileTable[2].endSector = 18;
    progress.clear();

    EXPECT_EQ(BootLoader_Send(2, 1, 0x20000, 0x28000, WIDE("app.ldr"), data.data(), 601, 1,
                              recordProgress, 77),
              1);
    EXPECT_EQ(os::lastError(), 0u);
    EXPECT_EQ(progress, (std::vector<int32_t>{10, 15, 20, 25, 48, 80, 85, 90, 95, 100}));
    EXPECT_EQ(commandCodes(scripted.peer),
              withRecords({0x2D, 0x2A, 0x28, 0x33, 0x2B},
                          {0x30, 0x31, 0x31, 0x31, 0x32, 0x2C, 0x33, 0x29}));
    EXPECT_TRUE(boxTexts(scripted.capture).empty());
    std::vector<SpiTransfer> sent = scripted.peer.commandTransfers();
    EXPECT_EQ(sent[2].written,
              (Bytes{'B', 'O', 'O', 'T', 0x2A, 0x03, 0x00, 0x03, 0x00, 0x20, 0x00, 0x08}));
    // The table re-read gave the new sectors; name and date are the upload's.
    EXPECT_EQ(fileTable[2].startSector, 32);
    EXPECT_EQ(Text(fileTable[2].name), WIDE("app.ldr"));
    EXPECT_LT(std::fabs(fileTable[2].modificationDate - bootloader::oleDateNow()) * 86400, 30.0);
    EXPECT_EQ(fileTable[2].creationDate, fileTable[2].modificationDate);
}

TEST(BootUpload, UnchangedEntryCloseFailureAndChecksumMismatchGoOn) {
    ScriptedBoard scripted(false);
    ASSERT_TRUE(scripted.opened());
    WillingBootLoader bootLoader;
    bootLoader.checksum = 0x1234;
    bootLoader.refuse = 0x32;
    scripted.peer.respond(bootLoader);
    fileTable[0] = {};
    fileTable[0].type = 3;
    fileTable[0].startSector = 16;
    fileTable[0].endSector = 20;
    progress.clear();

    // After a mismatch the sum is taken once more without the last byte: the
    // message shows that second sum, "abc".
    const uint8_t abcd[] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(
        BootLoader_Send(0, 3, 16 * 4096, 20 * 4096, WIDE("abcd"), abcd, 4, 1, recordProgress, 77),
        1);
    EXPECT_EQ(os::lastError(), 0x8009700Du);
    // Nothing before the format: the entry already has these sectors and type.
    EXPECT_EQ(commandCodes(scripted.peer),
              (std::vector<uint8_t>{0x30, 0x31, 0x32, 0x32, 0x2C, 0x33, 0x29}));
    EXPECT_EQ(boxTexts(scripted.capture),
              (std::vector<Text>{WIDE("Error in Closing the File."),
                                 WIDE("Checksums do not match!\n1234 != 0126")}));
    EXPECT_EQ(scripted.capture.count(WIDE("Checksums do not match!\n1234 != 0126\n")), 1u);
    EXPECT_EQ(progress, (std::vector<int32_t>{10, 15, 20, 80, 85, 90, 95, 100}));
}

TEST(BootUpload, BootFileSkipsTheTableAndItsHeader) {
    ScriptedBoard scripted(true);
    ASSERT_TRUE(scripted.opened());
    WillingBootLoader bootLoader; // reports checksum 0: asked twice, compared with 0
    scripted.peer.respond(bootLoader);
    Bytes data = sample(200);
    progress.clear();
    EXPECT_EQ(BootLoader_Send(31415, 0, 0, 0, nullptr, data.data(), 200, 1, recordProgress, 77), 1);
    EXPECT_EQ(os::lastError(), 0u) << "under 256 bytes the library's sum is 0";
    EXPECT_EQ(commandCodes(scripted.peer), (std::vector<uint8_t>{0x3A, 0x31, 0x32, 0x29, 0x29}));
    std::vector<SpiTransfer> sent = scripted.peer.commandTransfers();
    EXPECT_EQ(sent[0].written, (Bytes{'B', 'O', 'O', 'T', 0x3A, 0x01, 0x7A, 0xB7}));
    auto closeAt = std::find_if(sent.begin(), sent.end(), [](const SpiTransfer &t) {
        return t.written.size() == 8 && t.written[4] == 0x32;
    });
    ASSERT_NE(closeAt, sent.end());
    EXPECT_EQ(closeAt->written[6], 0x01);
    EXPECT_EQ(closeAt->written[7], 0x2C);
    EXPECT_EQ(progress, (std::vector<int32_t>{10, 15, 20, 80, 85, 90, 95, 100}));
    EXPECT_TRUE(boxTexts(scripted.capture).empty());
}

TEST(BootUpload, EarlyStopsWithTheirCodes) {
    ScriptedBoard scripted(true);
    ASSERT_TRUE(scripted.opened());
    WillingBootLoader bootLoader;
    bootLoader.refuse = 0x30;
    scripted.peer.respond(bootLoader);
    Bytes data = sample(10);
    fileTable[5] = {};
    fileTable[5].startSector = 16;
    fileTable[5].endSector = 17;
    progress.clear();

    // A format that fails: code 11, its box only when asked for.
    EXPECT_EQ(BootLoader_Send(5, 0, 16 * 4096, 17 * 4096, WIDE("f"), data.data(), 10, 0,
                              recordProgress, 77),
              0);
    EXPECT_EQ(os::lastError(), 11u);
    EXPECT_TRUE(scripted.capture.messageBoxes().empty());
    EXPECT_EQ(BootLoader_Send(5, 0, 16 * 4096, 17 * 4096, WIDE("f"), data.data(), 10, 1,
                              recordProgress, 77),
              0);
    EXPECT_EQ(boxTexts(scripted.capture),
              (std::vector<Text>{WIDE("Error in Format.\nCancelling Upload.")}));
    EXPECT_EQ(progress, (std::vector<int32_t>{10, 15, 10, 15}));

    // A type that is refused and a table that cannot be read again: code 7;
    // the table's own box shows whatever the flag says.
    bootLoader.refuse = 0x28;
    bootLoader.tableReadable = false;
    scripted.peer.respond(bootLoader);
    scripted.capture.clear();
    scripted.peer.clear();
    EXPECT_EQ(
        BootLoader_Send(5, 2, 16 * 4096, 17 * 4096, WIDE("f"), data.data(), 10, 0, nullptr, 0), 0);
    EXPECT_EQ(os::lastError(), 7u);
    EXPECT_EQ(boxTexts(scripted.capture), (std::vector<Text>{WIDE("FAI Error")}));
    EXPECT_EQ(commandCodes(scripted.peer), (std::vector<uint8_t>{0x28, 0x33, 0x2B, 0x2B}));
}
