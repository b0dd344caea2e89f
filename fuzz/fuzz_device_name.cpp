// Device paths of any content (UTF-16 code units, little-endian pairs), as
// the enumeration hands them to the path parser.
#include "discovery/parse_device_name.h"
#include "fuzz_support.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::vector<xdsp::Char16> path = xdsp::fuzz::wideText(data, size);
    uint16_t vendorId = 1;
    uint16_t productId = 1;
    uint16_t interfaceNumber = 1;
    const xdsp::Char16 *instance =
        xdsp::discovery::parseDeviceName(path.data(), &vendorId, &productId, &interfaceNumber);
    if (instance != nullptr) {
        // The instance lies inside the path, just past a '#'.
        FUZZ_REQUIRE(instance > path.data() && instance <= path.data() + path.size() - 1);
        FUZZ_REQUIRE(instance[-1] == '#');
        xdsp::fuzz::textLength(instance);
    }
    return 0;
}
