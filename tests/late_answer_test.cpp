// Boards that answer differently from ours by default: one that answers SPI
// transfers without a read phase too, one report later, and one whose answers
// come reports late. Every read phase must get the answer to its own command,
// at report periods from 125 us to 8 ms. Without the guard, an answer to the
// write-only half of a boot-loader command woke the read that followed and
// identification read "0.00" and "00 00 00 00".
#include "support/commands.h"
#include "support/sample_bytes.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

using namespace xdsp;
using namespace xdsp::test;

namespace {
struct Answering {
    uint32_t reportPeriodMicros;
    bool answersWriteOnly;
    uint32_t lateAnswerReports;
};

std::string caseName(const ::testing::TestParamInfo<Answering> &info) {
    const auto &[period, writeOnly, late] = info.param;
    return "Period" + std::to_string(period) + "us" + (writeOnly ? "WriteOnlyAnswered" : "") +
           (late != 0 ? "Late" + std::to_string(late) : "");
}

class LateAnswers : public ::testing::TestWithParam<Answering> {
  protected:
    // A read phase that missed its own answer would wait it out and may be
    // retried into a pass; none may.
    void TearDown() override { EXPECT_EQ(capture.count(WIDE("Invalid SPI Response.\n")), 0u); }
    // Opens without waiting for the INIT answers, which the guard must hold
    // for too, late as they may come; only until the poll thread has staged its
    // second INIT, which would otherwise replace a command staged before it.
    void open(emu::BoardOptions options) {
        options.reportPeriodMicros = GetParam().reportPeriodMicros;
        options.answersWriteOnly = GetParam().answersWriteOnly;
        options.lateAnswerReports = GetParam().lateAnswerReports;
        emulated_ = std::make_unique<EmulatedBoard>(std::move(options));
        ASSERT_TRUE(InitializeHIDUSBPacketPath(emulated_->path().c_str()));
        ASSERT_TRUE(eventually([&] { return emulated_->board().outputReportCount() >= 2; }));
    }

    Capture capture;
    std::unique_ptr<EmulatedBoard> emulated_;
};

TEST_P(LateAnswers, BootLoaderIdentifiesUploadsAndReadsItsTable) {
    emu::BoardOptions options;
    options.bootLoader = emu::BootLoaderOptions{};
    open(std::move(options));
    for (int round = 0; round < 4; ++round) {
        ASSERT_EQ(BootLoader_Init(2, 2), 1);
        EXPECT_EQ(Text(BootLoader_GetVersion()), WIDE("2.61")) << "round " << round;
        EXPECT_EQ(Text(BootLoader_GetProduct()), WIDE("korvalt 21469 + USB"));
        EXPECT_EQ(Text(BootLoader_GetDSP()), WIDE("21 46 90 01"));
    }

    Bytes data = sampleBytes(700, 5);
    ASSERT_EQ(BootLoader_Send(3, 2, 0x30000, 0x32000, WIDE("late.bin"), data.data(),
                              static_cast<uint32_t>(data.size()), 0, nullptr, 0),
              1);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS) << "the board's checksum agrees";
    EXPECT_TRUE(capture.messageBoxes().empty());
    EXPECT_EQ(BootLoader_GetFileChecksum(3),
              BootLoader_ComputeFileChecksum(data.data(), static_cast<uint32_t>(data.size())));

    ASSERT_EQ(BootLoader_Init(2, 2), 1);
    uint16_t type = 0;
    uint32_t start = 0, end = 0, fai = 0;
    Char16 name[64] = {};
    double created = 0, modified = 0;
    ASSERT_EQ(BootLoader_GetFileDesc(3, &type, &start, &end, &fai, name, 64, &created, &modified),
              1);
    EXPECT_EQ(std::tuple(Text(name), type, start, end),
              std::tuple(Text(WIDE("late.bin")), uint16_t{2}, 0x30000u, 0x32000u));
}

// Each read follows a write-only transfer whose answer may still be on its way.
TEST_P(LateAnswers, TransfersFlashAndTedsReadTheirOwnAnswers) {
    open({});
    for (uint8_t round = 0; round < 6; ++round) {
        Bytes written = sampleBytes(24, round);
        ASSERT_EQ(WriteSPIEx(2, 0, 0, 3, 50, written.data(), 24, nullptr, 0), 1);
        Bytes read(24, 0xEE);
        ASSERT_EQ(WriteSPIEx(2, 0, 0, 3, 50, nullptr, 0, read.data(), 24), 1);
        EXPECT_EQ(read, written) << "round " << int{round};
    }

    Bytes flash = sampleBytes(64, 9);
    ASSERT_EQ(WriteFLASH(0x4000, 0, flash.data(), 64), 1);
    const uint8_t poke[] = {1, 2, 3, 4};
    ASSERT_EQ(WriteSPIEx(2, 0, 0, 3, 50, poke, 4, nullptr, 0), 1);
    Bytes readBack(64, 0xEE);
    ASSERT_EQ(ReadFLASH(0x4000, readBack.data(), 64), 1);
    EXPECT_EQ(readBack, flash);

    Bytes teds = sampleBytes(32, 77);
    ASSERT_EQ(WriteTEDS(0x10, teds.data(), 32, nullptr, 0), 1);
    ASSERT_EQ(WriteSPIEx(2, 0, 0, 3, 50, poke, 4, nullptr, 0), 1);
    Bytes tedsRead(32, 0xEE);
    ASSERT_EQ(WriteTEDS(0x10, nullptr, 0, tedsRead.data(), 32), 1);
    EXPECT_EQ(tedsRead, teds);
}

TEST_P(LateAnswers, AudioCommandsReadTheirOwnAnswers) {
    emu::BoardOptions options;
    options.audioFirmware = emu::AudioFirmwareOptions{};
    open(std::move(options));
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(Halvio_Mute(1), 1);
        EXPECT_EQ(Halvio_Source(3 + round), 3 + round);
        EXPECT_EQ(Halvio_LineOut(0), 0);
        EXPECT_EQ(Halvio_Mute(0), 0);
    }
    Char16 name[32] = {};
    double created = 0, modified = 0;
    Halvio_LoadFilename(2, name, 32, &created, &modified);
    EXPECT_EQ(Text(name), WIDE("Studio B"));
    Bytes echoed = sampleBytes(40, 3);
    EXPECT_EQ(Halvio_Echo(echoed.data(), 40), 1);
}

INSTANTIATE_TEST_SUITE_P(Boards, LateAnswers,
                         ::testing::Values(Answering{125, true, 0}, Answering{500, true, 0},
                                           Answering{8000, true, 0}, Answering{500, true, 2},
                                           Answering{125, false, 3}),
                         caseName);
} // namespace
