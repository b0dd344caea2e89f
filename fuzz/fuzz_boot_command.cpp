// Command strings of any content (UTF-16 code units, little-endian pairs)
// through the boot-loader encoder with its escapes, both counting and
// encoding: both must agree on the count up to the encoder's limit, and the
// encoded bytes must fit and be terminated.
#include "bootloader/framing.h"
#include "fuzz_support.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace xdsp::bootloader;
    std::vector<xdsp::Char16> text = xdsp::fuzz::wideText(data, size);
    size_t counted = encodeBootCommand(nullptr, text.data());
    // Exactly commandBytes long, so that AddressSanitizer sees any write past it.
    std::vector<uint8_t> encoded(commandBytes, 0xEE);
    size_t length = encodeBootCommand(encoded.data(), text.data());
    FUZZ_REQUIRE(length < commandBytes);
    FUZZ_REQUIRE(encoded[length] == 0);
    FUZZ_REQUIRE(counted <= text.size() - 1);
    FUZZ_REQUIRE(length == (counted < commandBytes - 1 ? counted : commandBytes - 1));
    return 0;
}
