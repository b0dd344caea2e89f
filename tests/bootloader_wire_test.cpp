// Boot-loader commands on the SPI wire against a scripted boot loader, in both
// read-prefix modes: the exact bytes and settings, acknowledgement, retries on
// the 0xCC filler, reply dumps, the status record, the flush and the busy wait.
#include "bootloader/boot_loader_state.h"
#include "bootloader/file_table.h"
#include "link/gpio_signal.h"
#include "link/link.h"
#include "support/commands.h"
#include "support/scripted_board.h"

#include <gtest/gtest.h>

#include <thread>

using namespace xdsp;
using namespace xdsp::test;

namespace {
Bytes boot(const Bytes &tail) {
    return concat(bytesOf("BOOT"), tail);
}

// Acknowledges every command; data bytes as the test sets them per code.
Bytes acknowledge(const Bytes &command, const SpiTransfer &) {
    return command.size() > 4 ? bootReply(command[4]) : Bytes{};
}

class BootWire : public BothModesTest {
  protected:
    ScriptedPeer &peer = scripted.peer;
};
} // namespace

TEST_P(BootWire, IdentificationQueries) {
    int versionAsks = 0;
    Bytes productBytes = {0x00, 0x14, 0x50, 0x10};
    uint8_t chip = 0x40;
    peer.respond([&](const Bytes &command, const SpiTransfer &) -> Bytes {
        switch (command.at(4)) {
        case 0x0B: // not ready at the first ask
            return bootReply(0x0B, ++versionAsks == 1 ? Bytes{0xCC, 0xCC, 0xCC, 0xCC}
                                                      : Bytes{0x01, 0x05, 0x00, 0x00});
        case 0x08:
            return bootReply(0x08, productBytes);
        case 0x09:
            return bootReply(0x09, {0x21, 0x46, 0x90, 0x01});
        case 0x0A:
            return bootReply(0x0A, {0xBF, 0x25, chip, 0x01});
        default:
            return {};
        }
    });

    EXPECT_EQ(Text(XMOSBoot_GetVersionType()), WIDE("2.61"));
    // Asked twice.
    expectExchanges(peer, prefix(), 100, {{boot({0x0B, 0x00}), 14}, {boot({0x0B, 0x00}), 14}});
    peer.clear();
    EXPECT_EQ(Text(XMOSBoot_GetVersionType()), WIDE("2.61"));
    EXPECT_EQ(peer.commandTransfers().size(), prefix() ? 2u : 1u) << "one ask when ready";

    peer.clear();
    EXPECT_EQ(Text(XMOSBoot_GetProductType()), WIDE("korvalt 21469 + USB Ext. Temp."));
    if (prefix()) {
        EXPECT_EQ(peer.transfers().size(), 2u) << "no flush before the product query";
    }
    productBytes = {0x12, 0x34, 0x56, 0x78};
    EXPECT_EQ(Text(XMOSBoot_GetProductType()), WIDE("12 34 56 78 [12345678]"));

    scripted.capture.clear();
    EXPECT_EQ(Text(XMOSBoot_GetDSPType()), WIDE("21 46 90 01"));
    EXPECT_EQ(Text(XMOSBoot_GetMemoryType()), WIDE("BF 25 40 01"));
    EXPECT_TRUE(
        hasPieces(scripted.capture, {WIDE("GetDSPType() :: "), WIDE("21 46 90 01"), WIDE("\n")}));
    EXPECT_TRUE(hasPieces(scripted.capture,
                          {WIDE("GetMemoryType() :: "), WIDE("BF 25 40 01"), WIDE("\n")}));

    peer.clear();
    EXPECT_EQ(XMOSBoot_GetMemorySize(), 2097152u);
    EXPECT_EQ(scripted.capture.count(WIDE("GetMemorySize() :: 2097152\n")), 1u);
    expectExchanges(peer, prefix(), 50, {{boot({0x0A, 0x00}), 22}});

    // No chip: three asks, then the line and the dump of 12 bytes.
    chip = 0xFF;
    peer.clear();
    scripted.capture.clear();
    EXPECT_EQ(XMOSBoot_GetMemorySize(), 0u);
    EXPECT_EQ(peer.commandTransfers().size(), prefix() ? 6u : 3u);
    Text dump = WIDE("Command: 0x0A :: Want: 0x40@10  :: 0x00 0x00 0x42 0x4F 0x4F 0x54 0x0A "
                     "0x02 0xBF 0x25 0xFF 0x01 \r\n");
    EXPECT_TRUE(hasPieces(scripted.capture, {WIDE("Memory: No Chip!\n"), dump}));
    chip = 0x03;
    EXPECT_EQ(XMOSBoot_GetMemorySize(), 0u);
    EXPECT_EQ(scripted.capture.count(WIDE("Memory: Unknown Chip\n")), 1u);
}

TEST_P(BootWire, FileSystemCommandBytes) {
    peer.respond([](const Bytes &command, const SpiTransfer &transfer) -> Bytes {
        if (command.at(4) == 0x29)
            return bootReply(0x29, {0x00, 0x00, 0x12, 0x34});
        return acknowledge(command, transfer);
    });
    EXPECT_EQ(XMOSBoot_EraseFile(0), 1);
    EXPECT_EQ(XMOSBoot_AllocateFile(2, 65536, 196608), 1);
    EXPECT_EQ(XMOSBoot_SetFileType(14, 3), 1);
    EXPECT_EQ(XMOSBoot_Commit(), 1);
    EXPECT_EQ(XMOSBoot_Run(), 1);
    // A transfer without a read returns before the board has carried it out.
    size_t expected = prefix() ? 9 : 5;
    EXPECT_TRUE(eventually([&] { return peer.commandTransfers().size() >= expected; }));
    expectExchanges(peer, prefix(), 100,
                    {{boot({0x2D, 0x01, 0x00, 0x01}), 12},
                     {boot({0x2A, 0x03, 0x00, 0x03, 0x00, 0x10, 0x00, 0x20}), 12},
                     {boot({0x28, 0x02, 0x00, 0x0F, 0x00, 0x03}), 14},
                     {boot({0x33, 0x00}), 8},
                     {boot({0x03, 0x00}), 0}});

    // The slow commands: setting 50, the checksum request without a busy mask.
    // The line stays low throughout, so the format counts no second.
    peer.setDrainBusyMicros(0);
    peer.clear();
    EXPECT_EQ(XMOSBoot_FormatBootFile(31415), 1);
    EXPECT_EQ(XMOSBoot_GetChecksum(300), 0x1234);
    EXPECT_EQ(XMOSBoot_FormatFile(4), 1);
    std::vector<SpiTransfer> sent = peer.commandTransfers();
    size_t at = expectExchange(sent, 0, prefix(), boot({0x3A, 0x01, 0x7A, 0xB7}), 22, 2, 50);
    ASSERT_EQ(sent.size(), at + 4);
    Bytes replyWrite = prefix() ? readPrefix : Bytes{};
    expectTransfer(sent[at], boot({0x29, 0x01, 0x01, 0x2C}), 0, 0, 50);
    expectTransfer(sent[at + 1], replyWrite, 12, 0, 50);
    expectTransfer(sent[at + 2], boot({0x30, 0x01, 0x00, 0x05}), 0, 0, 50);
    expectTransfer(sent[at + 3], replyWrite, 22, 2, 50);
    EXPECT_EQ(scripted.capture.count(WIDE("Send SPI Command: BOOT\\x29\\x01\\x00\\x01\n")), 1u);
    EXPECT_EQ(scripted.capture.count(WIDE("Send SPI Command: BOOT\\x30\\x01\\x00\\x01\n")), 1u);
    EXPECT_EQ(scripted.capture.count(WIDE("Format took 0 seconds...\n")), 1u);

    // Not acknowledged: 0; some write a dump, erase and allocate do not.
    peer.setDrainBusyMicros(3000);
    peer.respond([](const Bytes &, const SpiTransfer &) { return bootReply(0x99); });
    scripted.capture.clear();
    peer.clear();
    EXPECT_EQ(XMOSBoot_EraseFile(300), 0);
    EXPECT_EQ(peer.commandTransfers().at(0).written, boot({0x2D, 0x01, 0x01, 0x2D}))
        << "only close and checksum keep 300";
    EXPECT_EQ(XMOSBoot_AllocateFile(0, 0, 4096), 0);
    EXPECT_EQ(XMOSBoot_GetChecksum(0), 0);
    EXPECT_EQ(scripted.capture.joined().find(WIDE("Command: 0x")), Text::npos);
    EXPECT_EQ(XMOSBoot_Commit(), 0);
    EXPECT_EQ(scripted.capture.count(WIDE("Command: 0x33 :: Want: 0x33@6  :: 0x00 0x00 0x42 0x4F "
                                          "0x4F 0x54 0x99 0x00 \r\n")),
              1u);

    // Arguments that do not fit their byte: refused, nothing sent.
    peer.clear();
    EXPECT_EQ(XMOSBoot_SetFileType(0, -1), 0);
    EXPECT_EQ(XMOSBoot_SetFileType(255, 1), 0);
    EXPECT_EQ(XMOSBoot_SetFileNameDate(15, WIDE("x"), 45000.0), 0);
    EXPECT_TRUE(peer.transfers().empty());

    // A type past one byte goes out as it formats: "\x100" is 0x10 and '0'.
    peer.respond(acknowledge);
    EXPECT_EQ(XMOSBoot_SetFileType(0, 256), 1);
    EXPECT_EQ(peer.commandTransfers().at(0).written,
              boot({0x28, 0x02, 0x00, 0x01, 0x00, 0x10, '0'}));

    // The front end's checksum refuses only indexes past the table; a negative
    // one is asked for as it converts (file number 0).
    peer.clear();
    EXPECT_EQ(BootLoader_GetFileChecksum(15), 0xFFFF);
    EXPECT_EQ(BootLoader_GetFileChecksum(31415), 0xFFFF);
    EXPECT_TRUE(peer.transfers().empty());
    BootLoader_GetFileChecksum(-1);
    ASSERT_FALSE(peer.commandTransfers().empty());
    EXPECT_EQ(peer.commandTransfers().at(0).written, boot({0x29, 0x01, 0x00, 0x00}));
}

TEST_P(BootWire, CloseAsksTwiceThenDumps) {
    peer.respond(acknowledge);
    EXPECT_EQ(XMOSBoot_CloseFile(300), 1);
    EXPECT_EQ(scripted.capture.count(WIDE("Send SPI Command: BOOT\\x32\\x01\\x00\\x01\n")), 1u);

    peer.respond([](const Bytes &, const SpiTransfer &) { return Bytes{}; });
    peer.clear();
    EXPECT_EQ(XMOSBoot_CloseFile(0), 0);
    expectExchanges(peer, prefix(), 50,
                    {{boot({0x32, 0x01, 0x00, 0x01}), 22}, {boot({0x32, 0x01, 0x00, 0x01}), 22}});
    Text dump = WIDE("Command: 0x32 :: Want: 0x32@6  :: ");
    for (int i = 0; i < 22; ++i)
        dump += WIDE("0x00 ");
    EXPECT_EQ(scripted.capture.count(dump + WIDE("\r\n")), 1u);
}

TEST_P(BootWire, NameAndDatesGoToTheTableFirst) {
    peer.respond(acknowledge);
    bootloader::processBootLoader().fileTable[0] = {};
    double march = 45352.54524305555; // 2024-03-01 13:05:09
    EXPECT_EQ(XMOSBoot_SetFileNameDate(0, WIDE("AB"), march), 1);
    std::vector<SpiTransfer> sent = peer.commandTransfers();
    ASSERT_EQ(sent.size(), prefix() ? 2u : 1u);
    const Bytes &command = sent[0].written;
    ASSERT_EQ(command.size(), 136u);
    EXPECT_EQ(Bytes(command.begin(), command.begin() + 12),
              boot({0x2C, 0x3F, 0x00, 0x01, 'B', 'A', '*', '*'}));
    Bytes dateText(command.begin() + 72, command.begin() + 92);
    bootloader::swapPairs(dateText.data(), dateText.size());
    EXPECT_EQ(std::string(dateText.begin(), dateText.end()), "2024-03-01 13:05:09*");
    EXPECT_EQ(sent.back().readLength, 22u);
    EXPECT_EQ(Text(bootloader::processBootLoader().fileTable[0].name), WIDE("AB"));
    EXPECT_EQ(bootloader::processBootLoader().fileTable[0].creationDate, march);
    EXPECT_EQ(bootloader::processBootLoader().fileTable[0].modificationDate, march);

    // A date of 1.0 or less sets only a missing creation date; a null name keeps the name.
    bootloader::processBootLoader().fileTable[1] = {};
    EXPECT_EQ(XMOSBoot_SetFileNameDate(1, WIDE("C"), 0.5), 1);
    EXPECT_EQ(bootloader::processBootLoader().fileTable[1].creationDate, 0.5);
    EXPECT_EQ(bootloader::processBootLoader().fileTable[1].modificationDate, 0.0);
    EXPECT_EQ(XMOSBoot_SetFileNameDate(1, nullptr, 0.0), 1);
    EXPECT_EQ(bootloader::processBootLoader().fileTable[1].creationDate, 0.5);
    EXPECT_EQ(Text(bootloader::processBootLoader().fileTable[1].name), WIDE("C"));
    Text longName(80, Char16('z'));
    EXPECT_EQ(XMOSBoot_SetFileNameDate(1, longName.c_str(), 0.0), 1);
    EXPECT_EQ(Text(bootloader::processBootLoader().fileTable[1].name), Text(62, Char16('z')));

    // Not acknowledged: asked once more, the table keeps the new values.
    peer.respond([](const Bytes &, const SpiTransfer &) { return bootReply(0x2D); });
    peer.clear();
    scripted.capture.clear();
    EXPECT_EQ(XMOSBoot_SetFileNameDate(2, WIDE("D"), march), 0);
    EXPECT_EQ(peer.commandTransfers().size(), prefix() ? 4u : 2u);
    EXPECT_EQ(Text(bootloader::processBootLoader().fileTable[2].name), WIDE("D"));
    EXPECT_EQ(scripted.capture.joined().find(WIDE("Command: 0x")), Text::npos) << "no dump";
}

TEST_P(BootWire, StatusRecordAlignment) {
    Bytes record = {0x00, 0x00, 'S', 'T', 'A', 'T'};
    for (uint32_t word = 0; word < 16; ++word)
        for (int shift = 24; shift >= 0; shift -= 8)
            record.push_back(static_cast<uint8_t>((0x01020304u * word) >> shift));
    bool filler = true;
    peer.respond([&](const Bytes &, const SpiTransfer &) {
        return filler ? concat({0xAA, 0xAA, 0x33, 0x33}, record) : record;
    });
    uint32_t status[16] = {};
    // The port's filler ahead of the record is dropped only in read-prefix mode.
    EXPECT_EQ(XMOS_DSP_STAT(status), prefix() ? 1 : 0);
    EXPECT_EQ(status[3], prefix() ? 0x0306090Cu : 0u);
    std::vector<SpiTransfer> sent = peer.commandTransfers();
    if (prefix()) {
        ASSERT_EQ(sent.size(), 3u);
        expectTransfer(sent[0], bytesOf("STAT"), 0, 2, 50);
        expectTransfer(sent[1], Bytes(4, 0), 0, 2, 50);
        expectTransfer(sent[2], readPrefix, 72, 2, 50);
    } else {
        ASSERT_EQ(sent.size(), 1u);
        expectTransfer(sent[0], bytesOf("STAT"), 70, 2, 50);
    }
    EXPECT_EQ(peer.transfers().size(), sent.size()) << "no flush";
    filler = false;
    EXPECT_EQ(XMOS_DSP_STAT(status), 1);
    EXPECT_EQ(status[15], 0x0F1E2D3Cu);
}

TEST_P(BootWire, FlushDrainsUntilTheBusyLine) {
    Bytes pattern(16, 0);
    if (prefix())
        pattern[0] = 'R', pattern[1] = 'D';
    // A drained port raises its busy line: one transfer.
    XMOSBoot_Flush();
    std::vector<SpiTransfer> sent = peer.transfers();
    ASSERT_EQ(sent.size(), 1u);
    expectTransfer(sent[0], pattern, 16, 0, 100, 0x0303);
    // A port that keeps it low: 16 bytes and 60 short transfers.
    peer.setDrainBusyMicros(0);
    peer.clear();
    XMOSBoot_Flush();
    sent = peer.transfers();
    ASSERT_EQ(sent.size(), 61u);
    expectTransfer(sent[60], Bytes(pattern.begin(), pattern.begin() + 2), 2, 0, 100, 0x0303);
}

INSTANTIATE_TEST_SUITE_P(BothModes, BootWire, ::testing::Bool(), modeName);

TEST(BootBusyWait, EndsWhenTheLineClearsAndGivesUpAfterThreeSeconds) {
    ScriptedBoard scripted(true);
    ASSERT_TRUE(scripted.opened());
    scripted.peer.respond(acknowledge);
    scripted.peer.setBusyStuck(true);
    std::thread release([&] {
        os::sleepMs(300);
        scripted.peer.setBusyStuck(false);
    });
    uint32_t start = os::tickMs();
    EXPECT_EQ(XMOSBoot_Commit(), 1);
    uint32_t took = elapsedMs(start);
    release.join();
    EXPECT_GE(took, 290u);
    EXPECT_LT(took, 1000u) << "the wait ends with the line, long before its deadline";

    // A line that stays up: the wait gives up after 3000 ms and burns no core
    // meanwhile (the poll thread's reports keep coming, the word never changes).
    scripted.emulated.board().setGpioInputs(busyLine);
    ASSERT_TRUE(eventually([] { return (GetGPIOIn() & busyLine) != 0; }));
    start = os::tickMs();
    EXPECT_FALSE(link::waitWhileGpioSet(link::processLink().shared, busyLine, 3000));
    took = elapsedMs(start);
    EXPECT_GE(took, 3000u);
    EXPECT_LT(took, 3500u);

    // A status query whose wait took longer than 2500 ms is refused, good
    // record or not.
    Bytes record = {0x00, 0x00, 'S', 'T', 'A', 'T'};
    record.resize(70, 0x11);
    scripted.peer.respond([&](const Bytes &, const SpiTransfer &) { return record; });
    scripted.emulated.board().setGpioInputs(0);
    ASSERT_TRUE(eventually([] { return (GetGPIOIn() & busyLine) == 0; }));
    EXPECT_EQ(XMOS_DSP_STAT(nullptr), 1) << "the same record in time";
    scripted.emulated.board().setGpioInputs(busyLine);
    ASSERT_TRUE(eventually([] { return (GetGPIOIn() & busyLine) != 0; }));
    std::thread clear([&] {
        os::sleepMs(2700);
        scripted.emulated.board().setGpioInputs(0);
    });
    EXPECT_EQ(XMOS_DSP_STAT(nullptr), 0);
    clear.join();
}
