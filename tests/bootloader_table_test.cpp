// The file table read from a scripted boot loader, and files sent to it in
// packets, in both read-prefix modes.
#include "bootloader/boot_loader_state.h"
#include "bootloader/file_table.h"
#include "support/commands.h"
#include "support/scripted_board.h"

#include <gtest/gtest.h>

using namespace xdsp;
using namespace xdsp::test;
bootloader::FileDescriptor *const fileTable = bootloader::processBootLoader().fileTable;

namespace {
constexpr double march = 45352.54524305555; // 2024-03-01 13:05:09

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

Bytes record(uint8_t type, const bootloader::FileDescriptor &named) {
    Bytes reply = bootReply(0x2F, Bytes(130, 0));
    reply[7] = 0x81;
    reply[17] = type;
    uint8_t block[bootloader::blockBytes];
    bootloader::buildNameDateBlock(named, block);
    bootloader::swapPairs(block, sizeof block);
    reply.insert(reply.end(), block, block + sizeof block);
    reply.resize(278, 0);
    return reply;
}

Bytes erasedRecord(uint8_t type) {
    Bytes reply = bootReply(0x2F, Bytes(130, 0));
    reply[7] = 0x81;
    reply[17] = type;
    reply.resize(278, 0xFF);
    return reply;
}

bootloader::FileDescriptor named(const Text &name, double modified, double created) {
    bootloader::FileDescriptor descriptor{};
    std::copy(name.begin(), name.end(), descriptor.name);
    descriptor.modificationDate = modified;
    descriptor.creationDate = created;
    return descriptor;
}

struct Reports {
    std::vector<int32_t> percents;
    std::vector<uint32_t> contexts;
};
Reports reports;

int32_t XDSP_API callback(int32_t percent, uint32_t context) {
    reports.percents.push_back(percent);
    reports.contexts.push_back(context);
    return 0;
}

class BootTable : public BothModesTest {};
} // namespace

TEST_P(BootTable, RecordsPresentAbsentErasedAndGarbled) {
    ASSERT_TRUE(scripted.opened());
    int fourthAsks = 0;
    scripted.peer.respond([&](const Bytes &command, const SpiTransfer &) -> Bytes {
        if (command.at(4) == 0x2B)
            return tableReply();
        switch (command.at(7)) {
        case 1:
            return record(2, named(WIDE("alpha"), march, 45000.5));
        case 2:
            return erasedRecord(1);
        case 3: // garbled every time
            return bootReply(0x12, {0x34});
        case 4: // garbled at the first ask only
            return ++fourthAsks == 1 ? Bytes{} : record(3, named(WIDE("delta"), 0.0, march));
        default:
            return {0x00, 0x00, 'B', 'O', 'O', 'T', 0xAF, 0x01, 0x00, 0x01};
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
    const Bytes query = {'B', 'O', 'O', 'T', 0x2F, 0x01, 0x00, 0x01};
    if (prefix()) {
        expectTransfer(sent[2], query, 0, 2, 100);
        expectTransfer(sent[3], readPrefix, 278, 2, 100);
    } else {
        expectTransfer(sent[2], query, 278, 2, 100);
    }

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
    ASSERT_TRUE(scripted.opened());
    int asks = 0;
    bool ever = true;
    scripted.peer.respond([&](const Bytes &command, const SpiTransfer &) -> Bytes {
        if (command.at(4) == 0x2B)
            return ++asks == 1 || !ever ? bootReply(0x2B) : tableReply();
        return {0x00, 0x00, 'B', 'O', 'O', 'T', 0xAF, 0x01};
    });
    EXPECT_EQ(XMOSBoot_BuildFAI(), 1);
    EXPECT_EQ(scripted.capture.count(WIDE("Send SPI Command: BOOT\\x2B\\x00\n")), 1u);
    Text dumpStart = WIDE("Command: 0x2B :: Want: 0x2B4B@6  :: 0x00 0x00 0x42 ");
    Text all = scripted.capture.joined();
    EXPECT_NE(all.find(dumpStart), Text::npos);
    EXPECT_TRUE(scripted.capture.messageBoxes().empty());
    EXPECT_EQ(fileTable[14].faiWord1, 15);

    // Never good: two reports, the box, an empty table.
    ever = false;
    scripted.capture.clear();
    scripted.peer.clear();
    EXPECT_EQ(XMOSBoot_BuildFAI(), 0);
    EXPECT_EQ(scripted.capture.count(WIDE("Send SPI Command: BOOT\\x2B\\x00\n")), 2u);
    std::vector<MessageBoxCall> boxes = scripted.capture.messageBoxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].text, WIDE("FAI Error"));
    EXPECT_EQ(boxes[0].caption, WIDE(""));
    EXPECT_EQ(boxes[0].style, 0x30u);
    EXPECT_EQ(fileTable[14].faiWord1, 0);
    EXPECT_EQ(scripted.peer.commandTransfers().size(), 4u) << "no record asked for";
}

TEST_P(BootTable, FilesGoInNumberedPackets) {
    ASSERT_TRUE(scripted.opened());
    scripted.peer.respond([](const Bytes &, const SpiTransfer &) { return bootReply(0x31); });
    Bytes file(1001);
    for (size_t i = 0; i < file.size(); ++i)
        file[i] = static_cast<uint8_t>(i * 7);
    EXPECT_EQ(XMOSBoot_SendFile(3, file.data(), 1001, 25, 80, callback, 0xC0FFEE), 1);
    EXPECT_EQ(reports.percents, (std::vector<int32_t>{25, 39, 53, 80}));
    EXPECT_EQ(reports.contexts, std::vector<uint32_t>(4, 0xC0FFEE));
    EXPECT_TRUE(
        hasPieces(scripted.capture, {WIDE("XMOSBoot_SendFile::Packet 1::00000000/000003E9\n")}));
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
    reports = {};
    scripted.peer.clear();
    EXPECT_EQ(XMOSBoot_SendFile(0, file.data(), 256, 25, 80, callback, 1), 1);
    EXPECT_EQ(XMOSBoot_SendFile(0, nullptr, 0, 25, 80, callback, 2), 1);
    EXPECT_EQ(XMOSBoot_SendFile(0, file.data(), 257, 25, 80, nullptr, 3), 1);
    EXPECT_EQ(reports.percents, (std::vector<int32_t>{80, 80}));
    sent = scripted.peer.commandTransfers();
    ASSERT_EQ(sent.size(), prefix() ? 6u : 3u);
    EXPECT_EQ(sent[0].written[5], 0x80);
    EXPECT_EQ(sent[2 * step].written[5], 0) << "257: one byte left, no whole word";
    EXPECT_EQ(Bytes(sent[2 * step].written.begin() + 6, sent[2 * step].written.end()),
              Bytes(256, 0));
}

INSTANTIATE_TEST_SUITE_P(BothModes, BootTable, ::testing::Bool(), modeName);
