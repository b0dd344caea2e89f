// The emulated DSP boot loader driven byte for byte over SPI, as the host's
// boot-loader commands carry it in both transfer patterns.
#include "support/boot_loader_wire.h"

#include <gtest/gtest.h>

namespace {

using namespace bootwire;
using xdsp::emu::BootLoaderOptions;

class EmulatorBootLoaderWire : public testing::TestWithParam<Pattern> {
  protected:
    Bytes exchange(const Bytes &command, size_t replyLength) {
        return wire.exchange(GetParam(), command, replyLength);
    }

    Wire wire;
};

TEST_P(EmulatorBootLoaderWire, SendsItsStatusRecord) {
    exchange(boot(0x0B, {}), 14);
    Bytes status;
    if (GetParam() == Pattern::readPrefix) {
        wire.transfer({'S', 'T', 'A', 'T'}, 0, 50);
        wire.transfer({0, 0, 0, 0}, 0, 50);
        status = wire.transfer({'R', 'D'}, 72, 50);
        EXPECT_EQ(Bytes(status.begin(), status.begin() + 10),
                  (Bytes{0xAA, 0xAA, 0x33, 0x33, 0x00, 0x00, 'S', 'T', 'A', 'T'}));
        // The host's alignment: drop pairs while offset 2 holds filler.
        while (status[2] == 0x00 || status[2] == 0xAA || status[2] == 0x33)
            status.erase(status.begin(), status.begin() + 2);
    } else {
        status = wire.transfer({'S', 'T', 'A', 'T'}, 70, 50);
        EXPECT_EQ(Bytes(status.begin(), status.begin() + 2), (Bytes{0, 0}));
    }
    ASSERT_GE(status.size(), 66u);
    EXPECT_EQ(Bytes(status.begin() + 2, status.begin() + 6), (Bytes{'S', 'T', 'A', 'T'}));
    EXPECT_EQ(longAt(status, 6), 261u);
    EXPECT_EQ(longAt(status, 10), 0x00105010u);
    EXPECT_EQ(longAt(status, 14), 0x21469001u);
    EXPECT_EQ(longAt(status, 18), 0xBF254101u);
    EXPECT_EQ(longAt(status, 22), 2u * 1024 * 1024);
    EXPECT_EQ(longAt(status, 30), 0x0Bu) << "last command";
    EXPECT_EQ(longAt(status, 34), 1u) << "commands carried out";
}

INSTANTIATE_TEST_SUITE_P(Patterns, EmulatorBootLoaderWire,
                         testing::Values(Pattern::readPrefix, Pattern::noPrefix),
                         [](const testing::TestParamInfo<Pattern> &test) {
                             return patternName(test.param);
                         });

TEST(EmulatorBootLoader, RefusesWhatItCannotDo) {
    BootLoaderOptions options = wireOptions();
    options.memoryId[2] = 0x49; // 128 KiB: sectors 16 to 31 for files
    Wire wire(options);
    auto echo = [&](const Bytes &command) { return wire.transfer(command, 10)[6]; };
    EXPECT_EQ(echo(boot(0x2A, {1, 16, 17})), 0xAA) << "past the end of the chip";
    EXPECT_EQ(echo(boot(0x2A, {1, 15, 2})), 0xAA) << "over the file table";
    EXPECT_EQ(echo(boot(0x2A, {1, 16, 0})), 0xAA) << "no sectors";
    EXPECT_EQ(echo(boot(0x2A, {0, 16, 1})), 0xAA) << "file number 0";
    EXPECT_EQ(echo(boot(0x2A, {16, 16, 1})), 0xAA) << "file number 16";
    EXPECT_EQ(echo(boot(0x2A, {1, 16})), 0xAA) << "an argument missing";
    EXPECT_EQ(echo(boot(0x2A, {1, 16, 16})), 0x2A) << "exactly the whole chip";
    EXPECT_EQ(echo(boot(0x2A, {1, 20, 1})), 0xAA) << "already allocated";
    EXPECT_EQ(echo(boot(0x2A, {2, 31, 1})), 0xAA) << "overlaps file 1";
    EXPECT_EQ(echo(boot(0x28, {1, 4})), 0xA8) << "no type 4";
    EXPECT_EQ(echo(boot(0x28, {2, 1})), 0xA8) << "file 2 has no allocation";
    EXPECT_EQ(echo(boot(0x32, {1})), 0xB2) << "close before a format";

    Bytes file(300, 0x11);
    EXPECT_EQ(echo(dataPacket(file, 0)), 0xB1) << "data before a format";
    Bytes shortPacket = dataPacket(file, 0);
    shortPacket.resize(6 + 255);
    EXPECT_EQ(echo(shortPacket), 0xB1) << "fewer bytes than its word count";
    Bytes nameDate = boot(0x2C, {1});
    nameDate.resize(nameDate.size() + 127, '*');
    EXPECT_EQ(echo(nameDate), 0xAC) << "a block one byte short";

    ASSERT_EQ(echo(boot(0x30, {1})), 0x30);
    Bytes full(16 * 4096, 0x22);
    for (size_t offset = 0; offset < full.size(); offset += 256)
        ASSERT_EQ(echo(dataPacket(full, offset)), 0x31) << offset;
    EXPECT_EQ(echo(dataPacket(full, 0)), 0xB1) << "the file's sectors are full";

    EXPECT_EQ(wire.transfer({'B', 'O', 'O', 'T', 0x0B}, 8), Bytes(8, 0))
        << "a frame cut short is not heard";
}

TEST(EmulatorBootLoader, LogsEveryTransferAsItWasClocked) {
    Wire wire;
    wire.transfer(boot(0x0B, {}), 0, 100);
    wire.transfer({'R', 'D'}, 14, 100);
    wire.transfer({0x01, 0x02, 0x03}, 3, 10); // not for the boot loader: looped back
    const auto &log = wire.loader.transfers();
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[0].written, (Bytes{'B', 'O', 'O', 'T', 0x0B, 0x00}));
    EXPECT_TRUE(log[0].read.empty());
    EXPECT_EQ(log[0].settings.settingB, 100);
    EXPECT_EQ(log[0].settings.modeWord, 0x0101);
    EXPECT_EQ(log[1].written, (Bytes{'R', 'D'}));
    EXPECT_EQ(log[1].read.size(), 14u);
    EXPECT_EQ(log[1].read[6], 0x0B);
    EXPECT_EQ(log[2].read, (Bytes{0x01, 0x02, 0x03}));
    EXPECT_EQ(log[2].settings.settingB, 10);
}

} // namespace
