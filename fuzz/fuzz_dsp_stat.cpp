// The DSP's status record of any content, read with the read prefix (72
// bytes, filler pairs dropped) or without it (70 bytes) into the zeroed work
// buffer. The first byte chooses the mode.
#include "bootloader/dsp_stat.h"
#include "bootloader/framing.h"
#include "fuzz_support.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {
constexpr size_t prefixedReadBytes = 72;
constexpr size_t directReadBytes = 70;
constexpr size_t wordCount = 16;

void takeRecord(uint8_t choice, const uint8_t *data, size_t size) {
    using namespace xdsp::bootloader;
    bool prefixed = (choice & 1) != 0;
    size_t readBytes = prefixed ? prefixedReadBytes : directReadBytes;
    std::vector<uint8_t> work(statWorkBytes, 0);
    std::copy(data, data + std::min(size, readBytes), work.begin());
    uint32_t status[wordCount + 1];
    std::fill(std::begin(status), std::end(status), 0xA5A5A5A5u);
    bool good = decodeStatRecord(work.data(), prefixed, status);
    // Words only when the record carries its magic, and never one past the 16.
    FUZZ_REQUIRE(status[wordCount] == 0xA5A5A5A5u);
    if (good)
        FUZZ_REQUIRE(std::memcmp(work.data() + 2, "STAT", 4) == 0);
    else
        FUZZ_REQUIRE(status[0] == 0xA5A5A5A5u);
    FUZZ_REQUIRE(decodeStatRecord(work.data(), false, nullptr) == good);
}
} // namespace

FUZZ_CHOOSING_TARGET(takeRecord)
