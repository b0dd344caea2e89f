// The audio-module exports against the emulated audio firmware, through the
// public API, in both read-prefix modes: switches that keep their state, the
// reset, file names and dates end to end, the echo, and the firmware's faults.
#include "audio/audio_firmware.h"
#include "support/commands.h"
#include "support/emulated_board.h"

#include <gtest/gtest.h>

#include <functional>

using namespace xdsp;
using namespace xdsp::test;

namespace {
emu::BoardOptions audioBoard() {
    emu::BoardOptions options;
    options.audioFirmware = emu::AudioFirmwareOptions{};
    options.audioFirmware->files.push_back({4, "", "2024-01-01 00:00:00", ""});
    return options;
}

class AudioEmulator : public ::testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        XMOSSPI_SetReadPrefix(GetParam() ? 1 : 0);
        ASSERT_TRUE(emulated.openAndSettle(capture));
    }

    emu::AudioState state() {
        emu::AudioState seen;
        emulated.board().inspectAudioFirmware(
            [&](emu::AudioFirmware &firmware) { seen = firmware.state(); });
        return seen;
    }
    void withFaults(const std::function<void(emu::AudioFaults &)> &set) {
        emulated.board().inspectAudioFirmware(
            [&](emu::AudioFirmware &firmware) { set(firmware.faults()); });
    }

    Capture capture;
    EmulatedBoard emulated{audioBoard()};
};

std::string modeName(const ::testing::TestParamInfo<bool> &info) {
    return info.param ? "ReadPrefix" : "NoPrefix";
}
} // namespace

TEST_P(AudioEmulator, SwitchesKeepTheirValuesUntilTheReset) {
    EXPECT_EQ(Halvio_Mute(7), 1);
    EXPECT_EQ(Halvio_LineOut(1), 1);
    EXPECT_EQ(Halvio_Source(3), 3);
    EXPECT_EQ(Halvio_LoadFilter(8), 8);
    EXPECT_EQ(Halvio_LoadAlgorithm(0xAB), 0xAB);
    emu::AudioState set = state();
    EXPECT_EQ(set.mute, 1);
    EXPECT_EQ(set.lineOut, 1);
    EXPECT_EQ(set.source, 3);
    EXPECT_EQ(set.filter, 8);
    EXPECT_EQ(set.algorithm, 0xAB);
    // The extra '2' that 12 sends is ignored by the firmware: source 1.
    EXPECT_EQ(Halvio_Source(12), 1);
    EXPECT_EQ(Halvio_Mute(0), 0);

    Halvio_Reset();
    ASSERT_TRUE(eventually([&] {
        uint32_t resets = 0;
        emulated.board().inspectAudioFirmware(
            [&](emu::AudioFirmware &firmware) { resets = firmware.resets(); });
        return resets == 1;
    }));
    EXPECT_EQ(state().algorithm, 0);
    EXPECT_EQ(state().lineOut, 0);
    // The reset left no reply behind for the next command to read.
    EXPECT_EQ(Halvio_LoadFilter(2), 2);
}

TEST_P(AudioEmulator, FileNamesAndDatesComeThroughWhole) {
    Char16 name[64] = {};
    double created = -1.0;
    double modified = -1.0;
    Halvio_LoadFilename(1, name, 64, &created, &modified);
    EXPECT_EQ(Text(name), WIDE("Concert Hall"));
    EXPECT_NEAR(modified, 45352.54524305555, 1e-6); // 2024-03-01 13:05:09
    EXPECT_NEAR(created, 45285.333333333, 1e-6);    // 2023-12-25 08:00:00

    // Erased fields: no dates, no name.
    Halvio_LoadFilename(3, name, 64, &created, &modified);
    EXPECT_EQ(Text(name), WIDE("Impulse response"));
    EXPECT_EQ(modified, 0.0);
    EXPECT_EQ(created, 0.0);
    Halvio_LoadFilename(4, name, 64, &created, &modified);
    EXPECT_EQ(name[0], 0);
    EXPECT_EQ(modified, 45292.0);

    // An unknown file is refused; so is a reply with the wrong length byte.
    Halvio_LoadFilename(0x42, name, 64, &created, &modified);
    EXPECT_EQ(name[0], 0);
    withFaults([](emu::AudioFaults &faults) { faults.badLengthReplies = 1; });
    Halvio_LoadFilename(2, name, 64, &created, &modified);
    EXPECT_EQ(name[0], 0);
    EXPECT_EQ(created, 0.0);
    Halvio_LoadFilename(2, name, 64, &created, &modified);
    EXPECT_EQ(Text(name), WIDE("Studio B"));
    EXPECT_NEAR(modified, 45473.99998, 1e-4); // 2024-06-30 23:59:58
}

TEST_P(AudioEmulator, EchoAndTheFirmwaresFaults) {
    uint8_t data[400];
    for (size_t i = 0; i < sizeof data; ++i)
        data[i] = static_cast<uint8_t>(i * 7 + 1);
    EXPECT_EQ(Halvio_Echo(data, 400), 1);
    EXPECT_EQ(Halvio_Echo(data, 33), 1);

    withFaults([](emu::AudioFaults &faults) {
        faults.corruptEchoReplies = 1;
        faults.corruptEchoIndex = 7;
    });
    capture.clear();
    EXPECT_EQ(Halvio_Echo(data, 64), 0);
    EXPECT_NE(capture.joined().find(WIDE("byteRecv:   7: CD 39 ")), Text::npos)
        << narrow(capture.joined());
    EXPECT_NE(capture.joined().find(WIDE("  lpData:   7: 32 39 ")), Text::npos);
    EXPECT_EQ(Halvio_Echo(data, 64), 1) << "one reply spoilt";

    withFaults([](emu::AudioFaults &faults) { faults.noMagicReplies = 1; });
    EXPECT_EQ(Halvio_LineOut(1), 0xFFFF);
    EXPECT_EQ(Halvio_LineOut(1), 1);
}

INSTANTIATE_TEST_SUITE_P(BothModes, AudioEmulator, ::testing::Bool(), modeName);
