// The boot loader's pure helpers: command strings and the reply dump, the
// name-and-date block both ways, packet progress, and the front end's
// checksum, type names, settings and argument refusals.
#include "bootloader/boot_loader_state.h"
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "bootloader/send_file.h"
#include "support/capture.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

using namespace xdsp;
using namespace xdsp::bootloader;
using namespace xdsp::test;

namespace {
using Bytes = std::vector<uint8_t>;

// Encoded from an exactly sized copy: a read past the terminator shows under ASan.
Bytes encoded(const Text &text) {
    std::vector<Char16> exact(text.begin(), text.end());
    exact.push_back(0);
    uint8_t output[commandBytes + 16];
    std::fill(std::begin(output), std::end(output), uint8_t{0xEE});
    size_t count = encodeBootCommand(output, exact.data());
    EXPECT_EQ(output[count], 0) << "terminated";
    EXPECT_EQ(count, encodeBootCommand(nullptr, exact.data())) << "counting agrees";
    return Bytes(output, output + count);
}

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

TEST(BootCommandEncoding, EveryEscapeRuleAndTheOutputLimit) {
    // A doubled backslash: the first stands for itself, the second starts \n.
    EXPECT_EQ(encoded(WIDE("A\\\\nB")), (Bytes{0x41, 0x5C, 0x0A, 0x42}));
    EXPECT_EQ(encoded(WIDE("\\r\\n")), (Bytes{0x0D, 0x0A}));
    EXPECT_EQ(encoded(WIDE("A\\")), (Bytes{0x41, 0x5C}));
    EXPECT_EQ(encoded(WIDE("\\q")), (Bytes{0x5C, 'q'}));
    EXPECT_EQ(encoded(WIDE("\\xab\\xCD")), (Bytes{0xAB, 0xCD}));
    EXPECT_EQ(encoded(WIDE("\\xZZ!")), (Bytes{0x00, '!'}));
    // Digits are read up to the first that is not one; both characters are taken.
    EXPECT_EQ(encoded(WIDE("\\x4GH")), (Bytes{0x04, 'H'}));
    // A short one stops at the terminator.
    EXPECT_EQ(encoded(WIDE("\\x")), Bytes{0x00});
    EXPECT_EQ(encoded(WIDE("\\x7")), Bytes{0x07});
    // Only the low 8 bits of a character travel.
    EXPECT_EQ(encoded(Text{Char16(0x0141), Char16(0x20AC)}), (Bytes{0x41, 0xAC}));

    // The output stops at 511 bytes, the count does not.
    Text text(600, Char16('A'));
    text += WIDE("\\x01");
    EXPECT_EQ(encodeBootCommand(nullptr, text.c_str()), 601u);
    uint8_t output[commandBytes + 8];
    std::fill(std::begin(output), std::end(output), uint8_t{0xEE});
    EXPECT_EQ(encodeBootCommand(output, text.c_str()), 511u);
    EXPECT_EQ(output[510], 'A');
    EXPECT_EQ(output[511], 0);
    EXPECT_EQ(output[512], 0xEE) << "nothing past the 512-byte buffer";
}

TEST(BootReplyDump, LongDumpIsCutAt1023Characters) {
    Capture capture;
    uint8_t many[300] = {};
    dumpBootReply(0x2B, 0x2B4B, 6, many, sizeof many);
    Text line = capture.pieces().at(0);
    EXPECT_EQ(line.rfind(WIDE("Command: 0x2B :: Want: 0x2B4B@6  :: 0x00 "), 0), 0u);
    EXPECT_EQ(line.size(), 1023u);
}

TEST(NameDateBlock, BuiltWithFillerAndNoZeroByteAndReadBackWithin63Characters) {
    // The modification date's text and the travelling order show in
    // BootWire.NameAndDatesGoToTheTableFirst.
    uint8_t block[blockBytes];
    buildNameDateBlock(named(WIDE("AB"), 45352.5, -1.25), block);
    EXPECT_EQ(textAt(block, 0, 64), "AB" + std::string(62, '*'));
    EXPECT_EQ(textAt(block, 84, 44), "1899-12-29 06:00:00" + std::string(25, '*'));

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

    // Read back, a name field without a zero byte ends inside the descriptor.
    std::fill(std::begin(block), std::end(block), uint8_t{'q'});
    FileDescriptor read{};
    decodeNameDateBlock(block, &read);
    EXPECT_EQ(Text(read.name), Text(63, Char16('q')));
}

TEST(DataPackets, ProgressTruncates) {
    // The regular steps show in BootTable.FilesGoInNumberedPackets.
    EXPECT_EQ(packetProgress(0, 100, 767, 768), 99) << "truncated, not rounded";
    EXPECT_EQ(packetProgress(80, 25, 256, 1000), 65) << "a falling range truncates toward zero";
    EXPECT_EQ(packetProgress(INT32_MIN, INT32_MAX, 1, 2), 0);
}

TEST(BootLoaderSettings, ReadPrefixOnlyOneSwitchesOn) {
    EXPECT_EQ(XMOSSPI_GetReadPrefix(), 1) << "on at load";
    for (int32_t off : {2, -1, 0}) {
        XMOSSPI_SetReadPrefix(1);
        XMOSSPI_SetReadPrefix(off);
        EXPECT_EQ(XMOSSPI_GetReadPrefix(), 0) << off;
    }
    XMOSSPI_SetReadPrefix(1);
    EXPECT_EQ(XMOSSPI_GetReadPrefix(), 1);
}

TEST(FrontEndHelpers, ChecksumsTypeNamesDescriptorsAndRefusedIndexes) {
    EXPECT_EQ(BootLoader_ComputeFileChecksum(reinterpret_cast<const uint8_t *>("abc"), 3), 0x0126);
    const std::vector<uint8_t> ones(65536, 0x01), high(256, 0xFF);
    EXPECT_EQ(BootLoader_ComputeFileChecksum(high.data(), 256), 0xFF00);
    EXPECT_EQ(BootLoader_ComputeFileChecksum(ones.data(), 65536), 0x0000);
    EXPECT_EQ(BootLoader_ComputeFileChecksum(ones.data(), 65535), 0xFFFF);
    EXPECT_EQ(BootLoader_ComputeFileChecksum(ones.data(), 0), 0);
    EXPECT_EQ(BootLoader_ComputeFileChecksum(nullptr, 10), 0);

    // Types past the name table read as empty names, never past it.
    for (int16_t type : {int16_t{-1}, int16_t{4}})
        EXPECT_EQ(Text(BootLoader_GetTypeName(type)), WIDE("")) << type;

    FileDescriptor &entry = processBootLoader().fileTable[14];
    entry = FileDescriptor{2, 7, 16, 48, 9, 3, {}, 45352.5, 45000.25};
    const Text name = WIDE("firmware.ldr");
    std::copy(name.begin(), name.end(), entry.name);
    uint16_t type = 0xEEEE;
    uint32_t start = 1, end = 1, fai = 1;
    double created = 1.0, modified = 1.0;
    Char16 buffer[8];
    std::fill(std::begin(buffer), std::end(buffer), Char16('#'));
    auto describe = [&](int32_t index, uint32_t *startOut, Char16 *nameOut, uint32_t capacity) {
        return BootLoader_GetFileDesc(index, &type, startOut, &end, &fai, nameOut, capacity,
                                      &created, &modified);
    };
    ASSERT_EQ(describe(14, &start, buffer, 4), 1);
    EXPECT_EQ(Text(buffer), WIDE("fir"));
    EXPECT_EQ(buffer[4], Char16('#')) << "nothing past the capacity";
    EXPECT_EQ(std::tuple(type, start, end, fai, created, modified),
              std::tuple(uint16_t{2}, 16u * 4096, 48u * 4096, 3u * 4096, 45000.25, 45352.5));

    // Out of range, or an output missing: nothing written.
    type = 0xEEEE;
    EXPECT_EQ(describe(15, &start, buffer, 8), 0);
    EXPECT_EQ(describe(-1, &start, buffer, 8), 0);
    EXPECT_EQ(describe(14, nullptr, buffer, 8), 0);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(type, 0xEEEE);
    EXPECT_EQ(Text(buffer), WIDE("fir"));
    // Capacity 0 leaves the name alone, even a null one.
    EXPECT_EQ(describe(14, &start, nullptr, 0), 1);

    // Out-of-range indexes, and missing data at index 0, are refused by the send.
    const uint8_t data[4] = {1, 2, 3, 4};
    for (int32_t index : {15, -1, 31414, 300, 0}) {
        os::setLastError(0);
        const uint8_t *bytes = index == 0 ? nullptr : data;
        EXPECT_EQ(BootLoader_Send(index, 0, 0, 4096, WIDE("x"), bytes, 4, 0, nullptr, 0), 0);
        EXPECT_EQ(os::lastError(), XDSP_ERROR_INVALID_PARAMETER) << index;
    }
    EXPECT_EQ(XMOSBoot_SendFile(0, nullptr, 10, 25, 80, nullptr, 0), 0);
}
