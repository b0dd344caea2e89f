// Refusals of arguments that would run past the staging report, a response
// store or a caller's buffer, made before anything is staged or sent. Each
// check is false after a refusal, which writes "<operation>: ..." to the debug
// output and sets last-error 87.
#pragma once

#include "frame/text.h"

#include <cstddef>

namespace xdsp::commands {

bool argumentFits(const Char16 *operation, const Char16 *argument, size_t value, size_t limit);
// The output report must hold the command's fixed fields, which end at end.
bool reportHolds(const Char16 *operation, size_t outputLength, size_t end);
// Room in the output report from offset on.
inline size_t roomFrom(size_t outputLength, size_t offset) {
    return outputLength > offset ? outputLength - offset : 0;
}
// A buffer pointer must not be null when count bytes go through it.
bool bufferGiven(const Char16 *operation, const Char16 *argument, const void *buffer, size_t count);

} // namespace xdsp::commands
