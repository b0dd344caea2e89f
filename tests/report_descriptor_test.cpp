#include "os/report_descriptor.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace {
std::vector<uint8_t> fromHex(const std::string &hex) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

xdsp::os::ReportLengths parse(const std::vector<uint8_t> &descriptor, bool *ids = nullptr) {
    xdsp::os::ReportLengths lengths;
    EXPECT_TRUE(
        xdsp::os::parseReportDescriptor(descriptor.data(), descriptor.size(), &lengths, ids));
    return lengths;
}
} // namespace

TEST(ReportDescriptor, ReproducesTheLengthsWindowsComputedForRealDevices) {
    std::ifstream table(XDSP_TEST_DATA "/hid-descriptors.tsv");
    ASSERT_TRUE(table.good());
    std::string line;
    int checked = 0;
    while (std::getline(table, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream fields(line);
        std::string name, hex;
        uint32_t input = 0, output = 0, feature = 0;
        fields >> name >> hex >> input >> output >> feature;
        xdsp::os::ReportLengths lengths = parse(fromHex(hex));
        EXPECT_EQ(lengths.input, input) << name;
        EXPECT_EQ(lengths.output, output) << name;
        EXPECT_EQ(lengths.feature, feature) << name;
        ++checked;
    }
    EXPECT_EQ(checked, 25);
}

TEST(ReportDescriptor, CountsIdsPushPopAndRefusesTruncatedItems) {
    // ID 1: input 8 bits, output 16 bits; ID 2: input 32 bits; ID 3: feature 4 bytes.
    const std::vector<uint8_t> withIds = {0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01, 0x85,
                                          0x01, 0x75, 0x08, 0x95, 0x01, 0x81, 0x02, 0x95,
                                          0x02, 0x91, 0x02, 0x85, 0x02, 0x95, 0x20, 0x81,
                                          0x02, 0x85, 0x03, 0x95, 0x04, 0xB1, 0x02, 0xC0};
    bool ids = false;
    xdsp::os::ReportLengths lengths = parse(withIds, &ids);
    EXPECT_EQ(lengths.input, 33u);
    EXPECT_EQ(lengths.output, 3u);
    EXPECT_EQ(lengths.feature, 5u);
    EXPECT_TRUE(ids);

    // Push saves Report Size 8 / Count 64; the pushed state's count of 1 is popped away.
    const std::vector<uint8_t> pushPop = {0x75, 0x08, 0x95, 0x40, 0xA4, 0x95, 0x01, 0xB4,
                                          0x81, 0x02, 0x96, 0x00, 0x01, 0x91, 0x02};
    lengths = parse(pushPop, &ids);
    EXPECT_EQ(lengths.input, 65u);
    EXPECT_EQ(lengths.output, 257u) << "a two-byte Report Count of 256";
    EXPECT_FALSE(ids);

    const std::vector<uint8_t> truncated = {0x75, 0x08, 0x96, 0x00};
    EXPECT_FALSE(
        xdsp::os::parseReportDescriptor(truncated.data(), truncated.size(), &lengths, nullptr));
    const std::vector<uint8_t> popWithoutPush = {0xB4};
    EXPECT_FALSE(xdsp::os::parseReportDescriptor(popWithoutPush.data(), popWithoutPush.size(),
                                                 &lengths, nullptr));

    // Lengths stay within 16 bits, ID byte counted: 65534 data bytes are the
    // most; a 32-bit count that would wrap the bit sum is refused too.
    const std::vector<uint8_t> longest = {0x75, 0x08, 0x96, 0xFE, 0xFF, 0x81, 0x02};
    EXPECT_EQ(parse(longest).input, 65535u);
    const std::vector<uint8_t> oneMore = {0x75, 0x08, 0x96, 0xFF, 0xFF, 0x81, 0x02};
    EXPECT_FALSE(
        xdsp::os::parseReportDescriptor(oneMore.data(), oneMore.size(), &lengths, nullptr));
    const std::vector<uint8_t> wrapping = {0x77, 0x00, 0x00, 0x00, 0x80, 0x97, 0x00,
                                           0x00, 0x00, 0x80, 0x81, 0x02, 0x81, 0x02};
    EXPECT_FALSE(
        xdsp::os::parseReportDescriptor(wrapping.data(), wrapping.size(), &lengths, nullptr));
}
