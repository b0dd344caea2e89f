#include "commands/argument_checks.h"
#include "frame/debug.h"
#include "os/os.h"

namespace xdsp::commands {

namespace {
bool refuse() {
    os::setLastError(os::error::invalidParameter);
    return false;
}
} // namespace

bool argumentFits(const Char16 *operation, const Char16 *argument, size_t value, size_t limit) {
    if (value <= limit)
        return true;
    debugFormat(WIDE("%s: %s %llu refused, at most %llu.\n"), operation, argument,
                static_cast<unsigned long long>(value), static_cast<unsigned long long>(limit));
    return refuse();
}

bool reportHolds(const Char16 *operation, size_t outputLength, size_t end) {
    if (end <= outputLength)
        return true;
    debugFormat(WIDE("%s: refused, the output report of %llu bytes cannot hold its %llu.\n"),
                operation, static_cast<unsigned long long>(outputLength),
                static_cast<unsigned long long>(end));
    return refuse();
}

bool bufferGiven(const Char16 *operation, const Char16 *argument, const void *buffer,
                 size_t count) {
    if (buffer != nullptr || count == 0)
        return true;
    debugFormat(WIDE("%s: %s is null, refused.\n"), operation, argument);
    return refuse();
}

} // namespace xdsp::commands
