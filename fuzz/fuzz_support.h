// What every fuzz target shares: a broken property aborts, so that libFuzzer
// keeps the input, and every debug line is read to its end, so that a line
// without its terminator shows up under AddressSanitizer.
#pragma once

#include "frame/text.h"
#include "os/os.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace xdsp::fuzz {

[[noreturn]] inline void fail(const char *file, int line, const char *what) {
    std::fprintf(stderr, "%s:%d: property broken: %s\n", file, line, what);
    std::abort();
}

#define FUZZ_REQUIRE(condition)                                                                    \
    ((condition) ? static_cast<void>(0) : ::xdsp::fuzz::fail(__FILE__, __LINE__, #condition))

// Longer than any line the library formats (its largest buffer is 4096 characters).
inline constexpr size_t longestLine = 4096;

inline size_t textLength(const Char16 *text) {
    size_t length = 0;
    while (text[length] != 0)
        ++length;
    return length;
}

inline void readDebugLine(const Char16 *text, void *) {
    FUZZ_REQUIRE(textLength(text) < longestLine);
}

inline int pressOk(const Char16 *text, const Char16 *caption, uint32_t, void *) {
    FUZZ_REQUIRE(textLength(text) < longestLine);
    FUZZ_REQUIRE(caption == nullptr || textLength(caption) < longestLine);
    return 1;
}

inline void installSinks() {
    os::setDebugSink(readDebugLine, nullptr);
    os::setMessageSink(pressOk, nullptr);
}

// Bytes as UTF-16 code units, little-endian pairs, with a terminator.
inline std::vector<Char16> wideText(const uint8_t *data, size_t size) {
    std::vector<Char16> text(size / 2 + 1, 0);
    for (size_t i = 0; i + 1 < size; i += 2)
        text[i / 2] = static_cast<Char16>(data[i] | data[i + 1] << 8);
    return text;
}

// The entry points of a target that reads every debug line and message box
// and whose first input byte chooses how the rest is taken: run(choice, data, size).
#define FUZZ_CHOOSING_TARGET(run)                                                                  \
    extern "C" int LLVMFuzzerInitialize(int *, char ***) {                                         \
        ::xdsp::fuzz::installSinks();                                                              \
        return 0;                                                                                  \
    }                                                                                              \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {                      \
        if (size > 0)                                                                              \
            run(data[0], data + 1, size - 1);                                                      \
        return 0;                                                                                  \
    }

} // namespace xdsp::fuzz
