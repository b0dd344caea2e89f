// The name-and-date block both ways, and the progress arithmetic of the data
// packets (their bytes are checked on the wire).
#include "bootloader/file_table.h"
#include "bootloader/ole_date.h"
#include "bootloader/send_file.h"
#include "support/capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using namespace xdsp;
using namespace xdsp::bootloader;
using namespace xdsp::test;

namespace {
FileDescriptor named(const Text &name, double modified, double created) {
    FileDescriptor descriptor{};
    std::copy(name.begin(), name.end(), descriptor.name);
    descriptor.modificationDate = modified;
    descriptor.creationDate = created;
    return descriptor;
}

std::string textAt(const uint8_t *block, size_t offset, size_t count) {
    return std::string(reinterpret_cast<const char *>(block + offset), count);
}
} // namespace

TEST(NameDateBlock, BuiltWithFillerAndNoZeroByte) {
    double march = 45352.54524305555; // 2024-03-01 13:05:09
    uint8_t block[blockBytes];
    buildNameDateBlock(named(WIDE("AB"), march, -1.25), block);
    EXPECT_EQ(textAt(block, 0, 2), "AB");
    EXPECT_EQ(textAt(block, 2, 62), std::string(62, '*'));
    EXPECT_EQ(textAt(block, 64, 20), "2024-03-01 13:05:09*");
    EXPECT_EQ(textAt(block, 84, 20), "1899-12-29 06:00:00*");
    EXPECT_EQ(textAt(block, 104, 24), std::string(24, '*'));
    // In travelling order the name arrives as B, A, *, *.
    swapPairs(block, blockBytes);
    EXPECT_EQ(textAt(block, 0, 4), "BA**");

    // Characters without an 8-bit form become '?'; those that would read as
    // 0xCC or 0xFF cannot travel and become '*'; a date outside the range
    // prints as zeros.
    Text name = {Char16('x'),  Char16(0x20AC), Char16(0xE9),
                 Char16(0xCC), Char16(0xFF),   Char16('y')};
    buildNameDateBlock(named(name, 1e9, 0.0), block);
    EXPECT_EQ(textAt(block, 0, 7), "x?\xE9**y*");
    EXPECT_EQ(textAt(block, 64, 20), "0000-00-00 00:00:00*");
    EXPECT_EQ(textAt(block, 84, 20), "1899-12-30 00:00:00*");
    for (uint8_t byte : block)
        EXPECT_TRUE(byte != 0x00 && byte != 0xCC && byte != 0xFF);

    // The longest name keeps its terminator inside the field.
    buildNameDateBlock(named(Text(70, Char16('n')), 0.0, 0.0), block);
    EXPECT_EQ(textAt(block, 0, 64), std::string(63, 'n') + "*");
}

TEST(NameDateBlock, DecodedAsItTravelled) {
    double march = 45352.54524305555;
    uint8_t block[blockBytes];
    buildNameDateBlock(named(WIDE("report.bin"), march, 45000.5), block);
    swapPairs(block, blockBytes);
    FileDescriptor read{};
    decodeNameDateBlock(block, &read);
    EXPECT_EQ(Text(read.name), WIDE("report.bin")) << "no filler left";
    EXPECT_NEAR(read.modificationDate, march, 1e-9);
    EXPECT_EQ(read.creationDate, 45000.5);

    // Erased flash: 0xFF first bytes give no name and no dates.
    uint8_t erased[blockBytes];
    std::fill(std::begin(erased), std::end(erased), uint8_t{0xFF});
    std::fill(std::begin(read.name), std::end(read.name), Char16('#'));
    decodeNameDateBlock(erased, &read);
    EXPECT_EQ(read.name[0], 0);
    EXPECT_EQ(read.modificationDate, 0.0);
    EXPECT_EQ(read.creationDate, 0.0);

    // A name field without a zero byte ends inside the descriptor's 64 characters.
    uint8_t full[blockBytes];
    std::fill(std::begin(full), std::end(full), uint8_t{'q'});
    decodeNameDateBlock(full, &read);
    EXPECT_EQ(Text(read.name), Text(63, Char16('q')));
    EXPECT_EQ(read.modificationDate, 36494.0)
        << "no number in the text: all fields 0, which the conversion reads as 1999-11-30";
}

TEST(DataPackets, ProgressArithmetic) {
    EXPECT_EQ(packetProgress(25, 80, 0, 1000), 25);
    EXPECT_EQ(packetProgress(25, 80, 256, 1000), 39);
    EXPECT_EQ(packetProgress(25, 80, 512, 1000), 53);
    EXPECT_EQ(packetProgress(0, 100, 767, 768), 99) << "truncated, not rounded";
    EXPECT_EQ(packetProgress(80, 25, 256, 1000), 65) << "a falling range truncates toward zero";
    EXPECT_EQ(packetProgress(INT32_MIN, INT32_MAX, 1, 2), 0);
}
