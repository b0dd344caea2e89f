// The file table read from a scripted boot loader, files sent to it in
// packets, and BootLoader_Send: the order of its commands, its progress
// reports, message boxes and last-error codes. Each upload takes seconds (the
// close's and the settle's pauses), so those cases are few and full.
#include "bootloader/boot_loader_state.h"
#include "bootloader/checksum.h"
#include "bootloader/file_table.h"
#include "bootloader/ole_date.h"
#include "support/commands.h"
#include "support/sample_bytes.h"
#include "support/scripted_board.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace xdsp;
using namespace xdsp::test;
bootloader::FileDescriptor *const fileTable = bootloader::processBootLoader().fileTable;

namespace {
constexpr double march = 45352.54524305555; // 2024-03-01 13:05:09
constexpr uint32_t context = 0xC0FFEE;

// FAI entry k: words k + 1, 16 + 2k, 18 + 2k, "A0" + k, k.
Bytes tableReply() {
    Bytes entries;
    for (uint16_t k = 0; k < 15; ++k)
        for (uint16_t word : {uint16_t(k + 1), uint16_t(16 + 2 * k), uint16_t(18 + 2 * k),
                              uint16_t(0x4130 + k), k}) {
            entries.push_back(static_cast<uint8_t>(word >> 8));
            entries.push_back(static_cast<uint8_t>(word));
        }
    entries.resize(160, 0);
    Bytes reply = bootReply(0x2B, entries);
    reply[7] = 0x4B;
    return reply;
}

// A file's record: its type at byte 17, then the name-and-date block as it
// travels, or erased flash.
Bytes record(uint8_t type, const Text &name = {}, double modified = 0, double created = 0) {
    Bytes reply = bootReply(0x2F, Bytes(130, 0));
    reply[7] = 0x81;
    reply[17] = type;
    if (name.empty()) {
        reply.resize(278, 0xFF);
        return reply;
    }
    bootloader::FileDescriptor named{};
    std::copy(name.begin(), name.end(), named.name);
    named.modificationDate = modified;
    named.creationDate = created;
    uint8_t block[bootloader::blockBytes];
    bootloader::buildNameDateBlock(named, block);
    bootloader::swapPairs(block, sizeof block);
    reply.insert(reply.end(), block, block + sizeof block);
    reply.resize(278, 0);
    return reply;
}

const Bytes absentRecord = {0x00, 0x00, 'B', 'O', 'O', 'T', 0xAF, 0x01, 0x00, 0x01};

std::vector<int32_t> progress;

int32_t XDSP_API recordProgress(int32_t percent, uint32_t given) {
    EXPECT_EQ(given, context);
    progress.push_back(percent);
    return 0;
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
            return tableReadable ? tableReply() : Bytes{};
        case 0x2F:
            return absentRecord;
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

// The texts of the message boxes, each without a caption and with the warning icon.
Lines boxTexts(const Capture &capture) {
    return errorBoxTexts(capture, WIDE(""), 0x30);
}

// A table entry with these sectors and type, and nothing else.
bootloader::FileDescriptor withSectors(uint16_t start, uint16_t end, uint32_t type = 0) {
    return {type, 0, start, end, 0, 0, {}, 0.0, 0.0};
}

class BootTable : public BothModesTest {};

// An upload against a willing boot loader, in read-prefix mode unless the case
// switches it off.
class BootUpload : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(scripted.opened());
        progress.clear();
    }
    ScriptedBoard scripted{true};
    WillingBootLoader bootLoader;
};
} // namespace

TEST_P(BootTable, RecordsPresentAbsentErasedAndGarbled) {
    int fourthAsks = 0;
    scripted.peer.respond([&](const Bytes &command, const SpiTransfer &) -> Bytes {
        if (command.at(4) == 0x2B)
            return tableReply();
        switch (command.at(7)) {
        case 1:
            return record(2, WIDE("alpha"), march, 45000.5);
        case 2:
            return record(1);
        case 3: // garbled every time
            return bootReply(0x12, {0x34});
        case 4: // garbled at the first ask only
            return ++fourthAsks == 1 ? Bytes{} : record(3, WIDE("delta"), 0.0, march);
        default:
            return absentRecord;
        }
    });
    EXPECT_EQ(XMOSBoot_BuildFAI(), 1);

    EXPECT_EQ(fileTable[0].type, 2u);
    EXPECT_EQ(Text(fileTable[0].name), WIDE("alpha"));
    EXPECT_NEAR(fileTable[0].modificationDate, march, 1e-9);
    EXPECT_EQ(fileTable[0].creationDate, 45000.5);
    EXPECT_EQ(fileTable[1].type, 1u);
    EXPECT_EQ(fileTable[1].name[0], 0) << "erased flash, no name";
    EXPECT_EQ(fileTable[1].modificationDate, 0.0);
    EXPECT_EQ(fileTable[1].creationDate, 0.0);
    EXPECT_EQ(fileTable[2].type, 0u) << "garbled twice: left empty";
    EXPECT_EQ(fileTable[3].type, 3u);
    EXPECT_EQ(Text(fileTable[3].name), WIDE("delta"));
    // "1899-12-30 00:00:00" reads back as the epoch itself, 0.0.
    EXPECT_EQ(fileTable[3].modificationDate, 0.0);
    for (uint16_t k = 0; k < 15; ++k) {
        EXPECT_EQ(fileTable[k].faiWord1, k + 1);
        EXPECT_EQ(fileTable[k].startSector, 16 + 2 * k);
        EXPECT_EQ(fileTable[k].endSector, 18 + 2 * k);
        EXPECT_EQ(fileTable[k].faiWord4, 0x4130 + k);
        EXPECT_EQ(fileTable[k].faiWord5, k);
    }
    EXPECT_EQ(fileTable[14].type, 0u);
    EXPECT_EQ(fileTable[14].name[0], 0);

    // On the wire: the request without a busy mask, then 15 queries; 3 and 4 twice.
    std::vector<SpiTransfer> sent = scripted.peer.commandTransfers();
    ASSERT_EQ(sent.size(), prefix() ? 2u + 2 * 17 : 2u + 17);
    expectTransfer(sent[0], {'B', 'O', 'O', 'T', 0x2B, 0x00}, 0, 0, 50);
    expectTransfer(sent[1], prefix() ? readPrefix : Bytes{}, 168, 2, 50);
    expectExchange(sent, 2, prefix(), {'B', 'O', 'O', 'T', 0x2F, 0x01, 0x00, 0x01}, 278, 2, 100);

    // The garbled file: the query text and a dump of 70 bytes.
    Text dump = WIDE("Command: 0x2F :: Want: 0x2F81@6  :: 0x00 0x00 0x42 0x4F 0x4F 0x54 0x12 "
                     "0x00 0x34 ");
    for (int i = 9; i < 70; ++i)
        dump += WIDE("0x00 ");
    EXPECT_TRUE(
        hasPieces(scripted.capture, {WIDE("Send SPI Command: "), WIDE("BOOT\\x2F\\x01\\x00\\x03\n"),
                                     dump + WIDE("\r\n")}));
    EXPECT_EQ(scripted.capture.count(WIDE("Send SPI Command: ")), 1u);

    // The table dump: a heading, 10 lines of 16 bytes, an empty line.
    std::vector<Text> pieces = scripted.capture.pieces();
    auto heading = std::find(pieces.begin(), pieces.end(), Text(WIDE("FAI Data: \n")));
    ASSERT_GE(std::distance(heading, pieces.end()), 12);
    EXPECT_EQ(narrow(*(heading + 1)), "  0:   00 01 00 10 00 12 41 30   00 00 00 02 00 12 00 14"
                                      "         "
                                      "      A0        \n");
    EXPECT_EQ(narrow(*(heading + 10)).substr(0, 7), "144:   ");
    EXPECT_EQ(*(heading + 11), WIDE("\n"));
    EXPECT_TRUE(scripted.capture.messageBoxes().empty());
}

TEST_P(BootTable, TableReadTwiceThenGivenUp) {
    int asks = 0;
    bool ever = true;
    scripted.peer.respond([&](const Bytes &command, const SpiTransfer &) -> Bytes {
        if (command.at(4) == 0x2B)
            return ++asks == 1 || !ever ? bootReply(0x2B) : tableReply();
        return absentRecord;
    });
    EXPECT_EQ(XMOSBoot_BuildFAI(), 1);
    EXPECT_EQ(scripted.capture.count(WIDE("Send SPI Command: BOOT\\x2B\\x00\n")), 1u);
    EXPECT_NE(
        scripted.capture.joined().find(WIDE("Command: 0x2B :: Want: 0x2B4B@6  :: 0x00 0x00 0x42 ")),
        Text::npos);
    EXPECT_TRUE(scripted.capture.messageBoxes().empty());
    EXPECT_EQ(fileTable[14].faiWord1, 15);

    // Never good: two reports, the box, an empty table.
    ever = false;
    scripted.capture.clear();
    scripted.peer.clear();
    EXPECT_EQ(XMOSBoot_BuildFAI(), 0);
    EXPECT_EQ(scripted.capture.count(WIDE("Send SPI Command: BOOT\\x2B\\x00\n")), 2u);
    EXPECT_EQ(boxTexts(scripted.capture), (std::vector<Text>{WIDE("FAI Error")}));
    EXPECT_EQ(fileTable[14].faiWord1, 0);
    EXPECT_EQ(scripted.peer.commandTransfers().size(), 4u) << "no record asked for";
}

TEST_P(BootTable, FilesGoInNumberedPackets) {
    scripted.peer.respond([](const Bytes &, const SpiTransfer &) { return bootReply(0x31); });
    Bytes file = sampleBytes(1001, 5);
    progress.clear();
    EXPECT_EQ(XMOSBoot_SendFile(3, file.data(), 1001, 25, 80, recordProgress, context), 1);
    EXPECT_EQ(progress, (std::vector<int32_t>{25, 39, 53, 80}));
    EXPECT_EQ(scripted.capture.count(WIDE("XMOSBoot_SendFile::Packet 1::00000000/000003E9\n")), 1u);
    EXPECT_EQ(scripted.capture.count(WIDE("XMOSBoot_SendFile::Packet 4::00000300/000003E9\n")), 1u);

    std::vector<SpiTransfer> sent = scripted.peer.transfers();
    EXPECT_EQ(scripted.peer.commandTransfers().size(), sent.size()) << "no flush";
    ASSERT_EQ(sent.size(), prefix() ? 8u : 4u);
    size_t step = prefix() ? 2 : 1;
    for (size_t packet = 0; packet < 4; ++packet) {
        const SpiTransfer &carried = sent[packet * step];
        EXPECT_EQ(carried.written.size(), 262u);
        EXPECT_EQ(carried.written[5], packet < 3 ? 0x80 : 116) << "the odd last byte stays home";
        EXPECT_EQ(carried.written[6], file[packet * 256 + 1]);
        EXPECT_EQ(carried.written[7], file[packet * 256]);
        EXPECT_EQ(carried.settings.settingB, 50);
        if (prefix())
            expectTransfer(sent[packet * 2 + 1], readPrefix, 8, 2, 50);
        else
            EXPECT_EQ(carried.readLength, 8u);
    }
    EXPECT_EQ(sent[3 * step].written[6 + 231], file[998]);
    EXPECT_EQ(sent[3 * step].written[6 + 232], 0);

    // 256 bytes: one full-count packet, one report; nothing: no packet, one report.
    progress.clear();
    scripted.peer.clear();
    EXPECT_EQ(XMOSBoot_SendFile(0, file.data(), 256, 25, 80, recordProgress, context), 1);
    EXPECT_EQ(XMOSBoot_SendFile(0, nullptr, 0, 25, 80, recordProgress, context), 1);
    EXPECT_EQ(XMOSBoot_SendFile(0, file.data(), 257, 25, 80, nullptr, 3), 1);
    EXPECT_EQ(progress, (std::vector<int32_t>{80, 80}));
    sent = scripted.peer.commandTransfers();
    ASSERT_EQ(sent.size(), prefix() ? 6u : 3u);
    EXPECT_EQ(sent[0].written[5], 0x80);
    EXPECT_EQ(sent[2 * step].written[5], 0) << "257: one byte left, no whole word";
    EXPECT_EQ(Bytes(sent[2 * step].written.begin() + 6, sent[2 * step].written.end()),
              Bytes(256, 0));
}

INSTANTIATE_TEST_SUITE_P(BothModes, BootTable, ::testing::Bool(), modeName);

TEST_F(BootUpload, NewAllocationAndTypeThenEverythingInOrder) {
    Bytes data = sampleBytes(601, 5);
    // The board sums what it got: the odd last byte never travels.
    bootLoader.checksum = bootloader::byteSum(data.data(), 600);
    scripted.peer.respond(bootLoader);
    fileTable[2] = withSectors(16, 18);

    EXPECT_EQ(BootLoader_Send(2, 1, 0x20000, 0x28000, WIDE("app.ldr"), data.data(), 601, 1,
                              recordProgress, context),
              1);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS);
    EXPECT_EQ(progress, (std::vector<int32_t>{10, 15, 20, 25, 48, 80, 85, 90, 95, 100}));
    EXPECT_EQ(commandCodes(scripted.peer),
              withRecords({0x2D, 0x2A, 0x28, 0x33, 0x2B},
                          {0x30, 0x31, 0x31, 0x31, 0x32, 0x2C, 0x33, 0x29}));
    EXPECT_TRUE(boxTexts(scripted.capture).empty());
    std::vector<SpiTransfer> sent = scripted.peer.commandTransfers();
    EXPECT_EQ(sent[2].written,
              (Bytes{'B', 'O', 'O', 'T', 0x2A, 0x03, 0x00, 0x03, 0x00, 0x20, 0x00, 0x08}));
    // The table re-read gave the new sectors; name and date are the upload's.
    EXPECT_EQ(fileTable[2].startSector, 20);
    EXPECT_EQ(Text(fileTable[2].name), WIDE("app.ldr"));
    EXPECT_LT(std::fabs(fileTable[2].modificationDate - bootloader::oleDateNow()) * 86400, 30.0);
    EXPECT_EQ(fileTable[2].creationDate, fileTable[2].modificationDate);
}

TEST_F(BootUpload, UnchangedEntryCloseFailureAndChecksumMismatchGoOn) {
    XMOSSPI_SetReadPrefix(0);
    bootLoader.checksum = 0x1234;
    bootLoader.refuse = 0x32;
    scripted.peer.respond(bootLoader);
    fileTable[0] = withSectors(16, 20, 3);

    // After a mismatch the sum is taken once more without the last byte: the
    // message shows that second sum, "abc".
    const uint8_t abcd[] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(BootLoader_Send(0, 3, 16 * 4096, 20 * 4096, WIDE("abcd"), abcd, 4, 1, recordProgress,
                              context),
              1);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_CHECKSUM_MISMATCH);
    // Nothing before the format: the entry already has these sectors and type.
    EXPECT_EQ(commandCodes(scripted.peer),
              (std::vector<uint8_t>{0x30, 0x31, 0x32, 0x32, 0x2C, 0x33, 0x29}));
    EXPECT_EQ(boxTexts(scripted.capture),
              (std::vector<Text>{WIDE("Error in Closing the File."),
                                 WIDE("Checksums do not match!\n1234 != 0126")}));
    EXPECT_EQ(scripted.capture.count(WIDE("Checksums do not match!\n1234 != 0126\n")), 1u);
    EXPECT_EQ(progress, (std::vector<int32_t>{10, 15, 20, 80, 85, 90, 95, 100}));
}

TEST_F(BootUpload, BootFileSkipsTheTableAndItsHeader) {
    // The boot loader reports checksum 0: asked twice, compared with 0.
    scripted.peer.respond(bootLoader);
    Bytes data = sampleBytes(200, 5);
    EXPECT_EQ(
        BootLoader_Send(31415, 0, 0, 0, nullptr, data.data(), 200, 1, recordProgress, context), 1);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS) << "under 256 bytes the library's sum is 0";
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

TEST_F(BootUpload, EarlyStopsWithTheirCodes) {
    bootLoader.refuse = 0x30;
    scripted.peer.respond(bootLoader);
    Bytes data = sampleBytes(10, 5);
    fileTable[5] = withSectors(16, 17);

    // A format that fails: code 11, its box only when asked for.
    for (int32_t boxes : {0, 1}) {
        EXPECT_EQ(BootLoader_Send(5, 0, 16 * 4096, 17 * 4096, WIDE("f"), data.data(), 10, boxes,
                                  recordProgress, context),
                  0);
        EXPECT_EQ(os::lastError(), XDSP_ERROR_FORMAT_FAILED);
        EXPECT_EQ(scripted.capture.messageBoxes().size(), static_cast<size_t>(boxes));
    }
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
    EXPECT_EQ(os::lastError(), XDSP_ERROR_FILE_TABLE_LOST);
    EXPECT_EQ(boxTexts(scripted.capture), (std::vector<Text>{WIDE("FAI Error")}));
    EXPECT_EQ(commandCodes(scripted.peer), (std::vector<uint8_t>{0x28, 0x33, 0x2B, 0x2B}));
}
