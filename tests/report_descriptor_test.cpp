#include "os/report_descriptor.h"

#include <array>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
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

// The input, output and feature report lengths; none when the descriptor is refused.
using Lengths = std::array<uint32_t, 3>;

std::optional<Lengths> parse(const std::vector<uint8_t> &descriptor, bool *ids = nullptr) {
    xdsp::os::ReportLengths lengths;
    if (!xdsp::os::parseReportDescriptor(descriptor.data(), descriptor.size(), &lengths, ids))
        return std::nullopt;
    return Lengths{lengths.input, lengths.output, lengths.feature};
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
        EXPECT_EQ(parse(fromHex(hex)), (Lengths{input, output, feature})) << name;
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
    EXPECT_EQ(parse(withIds, &ids), (Lengths{33, 3, 5}));
    EXPECT_TRUE(ids);

    // Push saves Report Size 8 / Count 64; the pushed state's count of 1 is popped away.
    const std::vector<uint8_t> pushPop = {0x75, 0x08, 0x95, 0x40, 0xA4, 0x95, 0x01, 0xB4,
                                          0x81, 0x02, 0x96, 0x00, 0x01, 0x91, 0x02};
    EXPECT_EQ(parse(pushPop, &ids), (Lengths{65, 257, 0})) << "a two-byte Report Count of 256";
    EXPECT_FALSE(ids);

    // Lengths stay within 16 bits, ID byte counted: 65534 data bytes are the most.
    EXPECT_EQ(parse({0x75, 0x08, 0x96, 0xFE, 0xFF, 0x81, 0x02}), (Lengths{65535, 0, 0}));
    const std::vector<uint8_t> refused[] = {
        {0x75, 0x08, 0x96, 0x00},                   // truncated
        {0xB4},                                     // pop without push
        {0x75, 0x08, 0x96, 0xFF, 0xFF, 0x81, 0x02}, // one byte more than the most
        // A 32-bit count that would wrap the bit sum.
        {0x77, 0x00, 0x00, 0x00, 0x80, 0x97, 0x00, 0x00, 0x00, 0x80, 0x81, 0x02, 0x81, 0x02}};
    for (const std::vector<uint8_t> &descriptor : refused)
        EXPECT_FALSE(parse(descriptor).has_value()) << descriptor.size();
}
