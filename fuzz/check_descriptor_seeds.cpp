// The descriptor corpus holds the descriptors of real devices, each in a file
// named after its row of the table: every seed must equal its row's bytes and
// the parser must still give the report lengths that Windows computed for it.
#include "os/report_descriptor.h"

#include <cstdio>
#include <fstream>
#include <iterator>
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

std::vector<uint8_t> readSeed(const std::string &name) {
    std::ifstream file(std::string(XDSP_DESCRIPTOR_SEEDS) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
} // namespace

int main() {
    std::ifstream table(XDSP_DESCRIPTOR_TABLE);
    if (!table.good()) {
        std::fprintf(stderr, "cannot read %s\n", XDSP_DESCRIPTOR_TABLE);
        return 1;
    }
    int checked = 0;
    int failed = 0;
    std::string line;
    while (std::getline(table, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream fields(line);
        std::string name, hex;
        uint32_t input = 0, output = 0, feature = 0;
        fields >> name >> hex >> input >> output >> feature;
        std::vector<uint8_t> descriptor = fromHex(hex);
        xdsp::os::ReportLengths lengths;
        bool parsed = xdsp::os::parseReportDescriptor(descriptor.data(), descriptor.size(),
                                                      &lengths, nullptr);
        bool good = readSeed(name) == descriptor && parsed && lengths.input == input &&
                    lengths.output == output && lengths.feature == feature;
        if (!good) {
            std::fprintf(stderr,
                         "%s: seed missing or different, or lengths %u/%u/%u not %u/%u/%u\n",
                         name.c_str(), lengths.input, lengths.output, lengths.feature, input,
                         output, feature);
            ++failed;
        }
        ++checked;
    }
    std::printf("descriptor seeds: %d checked, %d failed\n", checked, failed);
    return failed == 0 && checked > 0 ? 0 : 1;
}
