// Name-and-date blocks of any content, as read back from the board. The
// decoded name must end inside the descriptor, and the block built from the
// decoded descriptor must decode to the same dates (to the second; those the
// calendar cannot hold are written as zeros) and, unless the name holds a byte
// that never travels (0xCC, 0xFF), to the same name.
#include "bootloader/file_table.h"
#include "bootloader/ole_date.h"
#include "fuzz_support.h"
#include "os/os.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace {
bool survives(double date, double again) {
    xdsp::os::DateFields time{};
    if (!xdsp::os::fieldsFromOleDate(date, &time))
        return again == 36494.0; // "0000-00-00 00:00:00" reads as 1999-11-30
    return std::fabs(again - date) < 0.5 / 86400;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace xdsp::bootloader;
    if (size != blockBytes)
        return 0;
    std::vector<uint8_t> travelled(data, data + size);
    FileDescriptor decoded{};
    decodeNameDateBlock(travelled.data(), &decoded);
    FUZZ_REQUIRE(xdsp::fuzz::textLength(decoded.name) < nameChars);

    std::vector<uint8_t> rebuilt(blockBytes);
    buildNameDateBlock(decoded, rebuilt.data());
    swapPairs(rebuilt.data(), rebuilt.size());
    FileDescriptor again{};
    decodeNameDateBlock(rebuilt.data(), &again);
    bool travels = true;
    for (size_t i = 0; decoded.name[i] != 0; ++i)
        travels = travels && decoded.name[i] != 0xCC && decoded.name[i] != 0xFF;
    if (travels)
        FUZZ_REQUIRE(std::memcmp(again.name, decoded.name, sizeof decoded.name) == 0);
    FUZZ_REQUIRE(survives(decoded.modificationDate, again.modificationDate));
    FUZZ_REQUIRE(survives(decoded.creationDate, again.creationDate));
    return 0;
}
