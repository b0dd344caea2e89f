// The descriptor corpus holds the descriptors of real devices, each in a file
// named after its row of the table: every seed must equal its row's bytes. The
// unit tests check that the parser gives each row's report lengths.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

int main() {
    std::ifstream table(XDSP_DESCRIPTOR_TABLE);
    int checked = 0;
    int failed = 0;
    for (std::string line; std::getline(table, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        ++checked;
        std::istringstream fields(line);
        std::string name, hex, expected;
        fields >> name >> hex;
        for (size_t i = 0; i + 1 < hex.size(); i += 2)
            expected += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
        std::ifstream seed(std::string(XDSP_DESCRIPTOR_SEEDS) + "/" + name, std::ios::binary);
        if (std::string(std::istreambuf_iterator<char>(seed), {}) != expected) {
            std::fprintf(stderr, "%s: seed missing or different from its row\n", name.c_str());
            ++failed;
        }
    }
    std::printf("descriptor seeds: %d checked, %d failed\n", checked, failed);
    return failed == 0 && checked > 0 ? 0 : 1;
}
