#include "link/link.h"
#include "link/report_format.h"
#include "support/commands.h"

#include <cstring>
#include <gtest/gtest.h>

using namespace xdsp;
using namespace xdsp::test;

TEST(OutputReports, InitTwiceThenCommandsWithTheirSequenceBytes) {
    Capture capture;
    EmulatedBoard emulated;
    uint16_t firstSequence = link::processLink().shared.sequenceCounter.load();
    ASSERT_TRUE(emulated.openAndSettle(capture));
    Lines start = capture.pieces();
    start.resize(3);
    EXPECT_EQ(start, (Lines{WIDE("Opening HID.\n"), WIDE("HID: Starting Poll Loop.\n"),
                            WIDE("HID: Sending INIT Command.\n")}));

    auto commands = emulated.board().receivedCommands();
    ASSERT_GE(commands.size(), 2u);
    EXPECT_EQ(slice(commands[0], 0, 13),
              (Bytes{0x00, 0x52, 0x44, static_cast<uint8_t>(firstSequence), 0x00, 0x00, 0x00, 0x00,
                     0x00, 0x00, 0xF0, 0xAD, 0xCB}));
    EXPECT_EQ(commands[0].size(), 512u) << "every write is one whole output report";
    EXPECT_EQ(commands[1][3], static_cast<uint8_t>(firstSequence + 1));
    EXPECT_EQ(link::readWord(commands[1].data(), 9), 0xF000);

    SendCommand(0xFFFF);
    ASSERT_TRUE(eventually([&] { return emulated.board().receivedCommands().size() == 3; }));
    auto gpio = emulated.board().receivedCommands()[2];
    EXPECT_EQ(link::readWord(gpio.data(), 11), 0xBBAE);
    EXPECT_EQ(gpio[3], static_cast<uint8_t>(firstSequence + 2));

    // The byte is the counter's low byte: 255 further commands wrap it past 0xFF.
    for (int i = 0; i < 255; ++i)
        SendCommand(0xFFFF);
    ASSERT_TRUE(eventually([&] {
        auto last = emulated.board().receivedCommands().back();
        return link::readWord(last.data(), 9) == 0xFFFF &&
               last[3] == static_cast<uint8_t>(firstSequence + 257) &&
               emulated.board().receivedCommands().size() > 3;
    }));
    EXPECT_EQ(link::processLink().shared.sequenceCounter.load(),
              static_cast<uint16_t>(firstSequence + 258));
}

TEST(OutputReports, ProductNameRecordArrivesThroughTheInitAnswers) {
    Capture capture;
    emu::BoardOptions options;
    options.productName = "Bench Board 7";
    EmulatedBoard emulated(options);
    ASSERT_TRUE(emulated.openAndSettle(capture));

    uint8_t record[190];
    std::memset(record, 0xEE, sizeof record);
    GetProductNameStruct(record);
    EXPECT_STREQ(reinterpret_cast<const char *>(record + 16), "Bench Board 7");
    EXPECT_NE(record[0], 0);
    EXPECT_EQ(record[XDSP_PRODUCT_NAME_RECORD_SIZE], 0xEE) << "exactly 188 bytes are copied";
    EXPECT_LE(emulated.board().receivedCommands().size(), 2u)
        << "a stored record is returned without asking again";
}
